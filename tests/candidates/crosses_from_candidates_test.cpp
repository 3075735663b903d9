#include "qvstreet/candidates/canonical_cross.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/candidates/literal_cross.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

/// Candidates of four lines each, the crossing of number i in (xs[i], 50): streets of width 8 and 4.
struct Row {
    std::vector<qv_ridgeLine> lines;
    std::vector<qv_stCand> candidates;
};

Row rowOfCrosses(const std::vector<double>& xs) {
    Row row;
    std::vector<LiteralLine> literals;
    for (const double x : xs) {
        const long key = static_cast<long>(literals.size());
        literals.push_back({x - 32.0, 48.0, x + 32.0, 48.0});
        literals.push_back({x - 32.0, 52.0, x + 32.0, 52.0});
        literals.push_back({x - 4.0, 18.0, x - 4.0, 82.0});
        literals.push_back({x + 4.0, 18.0, x + 4.0, 82.0});
        row.candidates.push_back(candidateOfKeys({key + 2, key + 3, key + 2, key + 3, key, key, key + 1, key + 1}));
        row.candidates.back().score = 100.0 + static_cast<double>(row.candidates.size());
    }
    row.lines = flatLines(literals);
    return row;
}

/// Fits all candidates, then sorts, then walks.
std::vector<CrossResult> slowCrosses(long limit, const std::vector<qv_stCand>& candidates,
                                     const std::vector<qv_ridgeLine>& lines, bool useResidualScore, bool separate) {
    std::vector<CrossResult> results(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i)
        fitCanonicalCross(candidates[i], lines, results[i], useResidualScore);
    if (useResidualScore)
        std::stable_sort(results.begin(), results.end(),
                         [](const CrossResult& a, const CrossResult& b) { return a.score() < b.score(); });
    std::vector<CrossResult> kept;
    for (const CrossResult& result : results) {
        if (static_cast<long>(kept.size()) == limit) break;
        bool far = true;
        for (const CrossResult& other : kept) far = far && other.crossing().distance(result.crossing()) >= 5.0;
        if (far || !separate) kept.push_back(result);
    }
    return kept;
}

}  // namespace

TEST(CrossesFromCandidates, KeepTheOrderAndTheCostOfTheCandidates) {
    const Row row = rowOfCrosses({400.0, 100.0, 300.0});
    std::vector<CrossResult> results(7);
    crossesFromCandidates(results, 10, row.candidates, row.lines, false, true);
    ASSERT_EQ(results.size(), 3u);
    expectNear(results[0].crossing(), 400.0, 50.0);
    expectNear(results[1].crossing(), 100.0, 50.0);
    expectNear(results[2].crossing(), 300.0, 50.0);
    EXPECT_EQ(results[0].score(), 101.0);
    EXPECT_EQ(results[2].score(), 103.0);
}

TEST(CrossesFromCandidates, CrossingsFourPointNineApartAreOne) {
    const Row row = rowOfCrosses({104.875, 100.0, 109.75});
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 10, row.candidates, row.lines, false, true);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].score(), 101.0);
}

TEST(CrossesFromCandidates, CrossingsExactlyFiveApartAreTwo) {
    const Row row = rowOfCrosses({100.0, 105.0});
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 10, row.candidates, row.lines, false, true);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].crossing().distance(results[1].crossing()), 5.0);
}

TEST(CrossesFromCandidates, DistanceCountsFromKeptCrossesOnly) {
    // The second falls to the first; the third is near the second but far from the first.
    const Row row = rowOfCrosses({100.0, 104.0, 108.0});
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 10, row.candidates, row.lines, false, true);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[1].score(), 103.0);
}

TEST(CrossesFromCandidates, LimitCountsAfterSeparation) {
    const Row row = rowOfCrosses({100.0, 101.0, 102.0, 200.0, 300.0});
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 2, row.candidates, row.lines, false, true);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[1].score(), 104.0);
}

TEST(CrossesFromCandidates, LimitOfZeroGivesNone) {
    const Row row = rowOfCrosses({100.0, 200.0});
    for (const bool separate : {true, false}) {
        std::vector<CrossResult> results(3);
        crossesFromCandidates(results, 0, row.candidates, row.lines, false, separate);
        EXPECT_TRUE(results.empty());
    }
}

TEST(CrossesFromCandidates, WithoutSeparationOnlyTheLimitCuts) {
    const Row row = rowOfCrosses({100.0, 101.0, 102.0});
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 2, row.candidates, row.lines, false, false);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[1].score(), 102.0);
    crossesFromCandidates(results, 9, row.candidates, row.lines, false, false);
    EXPECT_EQ(results.size(), 3u);
}

TEST(CrossesFromCandidates, NoCandidatesGiveNoneAndClearTheList) {
    std::vector<CrossResult> results(3);
    crossesFromCandidates(results, 5, {}, {}, false, true);
    EXPECT_TRUE(results.empty());
}

TEST(CrossesFromCandidates, ResidualScoreRanksBeforeTheCut) {
    Row row = rowOfCrosses({100.0, 200.0});
    row.lines[0].p1 += qvVector<2>(0.0, 1.0);
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 1, row.candidates, row.lines, true, true);
    ASSERT_EQ(results.size(), 1u);
    expectNear(results[0].crossing(), 200.0, 50.0);
    EXPECT_NEAR(results[0].score(), 0.0, 1e-9);
}

TEST(CrossesFromCandidates, EqualResidualsKeepTheOrderOfTheCandidates) {
    std::vector<double> xs;
    for (int i = 0; i < 64; ++i) xs.push_back(64.0 * ((i * 37) % 64));
    const Row row = rowOfCrosses(xs);
    std::vector<CrossResult> results;
    crossesFromCandidates(results, 64, row.candidates, row.lines, true, true);
    const std::vector<CrossResult> slow = slowCrosses(64, row.candidates, row.lines, true, true);
    ASSERT_EQ(results.size(), 64u);
    ASSERT_EQ(slow.size(), 64u);
    // The same figure all along the row: the residuals are roundings and take few values.
    std::size_t ties = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        expectSameResult(results[i], slow[i]);
        if (i > 0 && results[i].score() == results[i - 1].score()) ++ties;
    }
    EXPECT_GT(ties, 32u);
}

TEST(CrossesFromCandidates, AreTheSameAsFittingAllThenSortingThenCutting) {
    LiteralRandom random(7);
    std::vector<LiteralLine> literals;
    std::vector<qv_stCand> candidates;
    for (long i = 0; i < 300; ++i) {
        const double x = random.uniform(0.0, 60.0);
        const double y = random.uniform(0.0, 40.0);
        const long key = static_cast<long>(literals.size());
        literals.push_back({x - 50.0, y - random.uniform(3.0, 5.0), x + 40.0, y - random.uniform(3.0, 5.0)});
        literals.push_back({x - 45.0, y + random.uniform(3.0, 5.0), x + 50.0, y + random.uniform(3.0, 5.0)});
        literals.push_back({x - random.uniform(6.0, 9.0), y - 60.0, x - random.uniform(6.0, 9.0), y + 50.0});
        literals.push_back({x + random.uniform(6.0, 9.0), y - 55.0, x + random.uniform(6.0, 9.0), y + 70.0});
        candidates.push_back(candidateOfKeys({key + 2, key + 3, key + 2, key + 3, key, key, key + 1, key + 1}));
        candidates.back().score = static_cast<double>(random.below(5));
        // Every second one twice, so that residuals tie.
        if (i % 2 == 0) candidates.push_back(candidates.back());
    }
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    for (const bool useResidualScore : {false, true})
        for (const bool separate : {false, true})
            for (const long limit : {0L, 1L, 2L, 17L, 60L, 10000L}) {
                SCOPED_TRACE(testing::Message() << useResidualScore << separate << " limit " << limit);
                std::vector<CrossResult> results(2);
                crossesFromCandidates(results, limit, candidates, lines, useResidualScore, separate);
                const std::vector<CrossResult> slow = slowCrosses(limit, candidates, lines, useResidualScore, separate);
                ASSERT_EQ(results.size(), slow.size());
                for (std::size_t i = 0; i < results.size(); ++i) expectSameResult(results[i], slow[i]);
            }
}

TEST(CrossesFromCandidates, ACandidateWithoutAFitThrowsOnlyWhenItIsReached) {
    Row row = rowOfCrosses({100.0, 200.0, 300.0});
    row.candidates[1] = candidateOfKeys({-1, -1, -1, -1, -1, -1, -1, -1});
    std::vector<CrossResult> results;
    EXPECT_THROW(crossesFromCandidates(results, 2, row.candidates, row.lines, false, true), qvMatrixErr::Singular);
    EXPECT_THROW(crossesFromCandidates(results, 1, row.candidates, row.lines, true, true), qvMatrixErr::Singular);
    crossesFromCandidates(results, 1, row.candidates, row.lines, false, true);
    EXPECT_EQ(results.size(), 1u);
}
