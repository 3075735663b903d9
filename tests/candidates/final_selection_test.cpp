#include "qvstreet/candidates/final_selection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/candidates/scored_cross.h"

using qvtest::bareLine;
using qvtest::crossTolerances;
using qvtest::evenImage;
using qvtest::kCrossLength;
using qvtest::kCrossLengths;
using qvtest::kCrossSegments;
using qvtest::scoredCross;
using qvtest::seg;

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;
using Crosses = std::vector<CrossResult>;

/// 300 by 400 pels: four diagonals are 2000.
qv_candidateContext contextFor(long maxResults) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = {300, 400};
    context.tolerances = crossTolerances();
    return context;
}

/// The scored cross moved by (dx, dy), its lower right arm longer by `longer`, which betters its score.
CrossResult crossOf(double dx, double dy, double longer = 0.0) {
    CrossResult cross = scoredCross(dx, dy);
    const auto& s = kCrossSegments[7];
    Access::lineSegs(cross)[7] = seg(s[0] + dx, s[1] + dy, s[2] + dx + longer, s[3] + dy);
    return cross;
}

void select(Crosses& out, Crosses pairCrosses, Crosses quadCrosses, long maxResults = 20,
            const qv_streetFinderImpl& impl = evenImage(), const qv_candidateContext* context = nullptr) {
    const qv_candidateContext standard = contextFor(maxResults);
    selectFinalCrosses(out, pairCrosses, quadCrosses, context != nullptr ? *context : standard, impl, nullptr);
}

/// The x of the crossings, rounded.
std::vector<long> columnsOf(const Crosses& crosses) {
    std::vector<long> columns;
    for (const CrossResult& cross : crosses) columns.push_back(std::lround(cross.crossing().x()));
    return columns;
}

using Columns = std::vector<long>;

/// Whether a stub of that length in the lower left arm is replaced by a line that lies `gap` further left, in an image
/// with this client transform.
bool recoversIn(const qvXform<2>& clientFromImage, double stubLength, double gap) {
    qv_streetFinderImpl impl = evenImage();
    impl.clientFromImage = clientFromImage;
    const qvLineFinderResults line = bareLine(qvVector<2>(95.0 - gap, 70.0), qvVector<2>(95.0 - gap, 110.0));
    impl.lines[1] = {line};
    qv_candidateContext context = contextFor(1);
    context.tolerances.widthUpper = {1000.0, 1000.0};
    CrossResult cross = scoredCross();
    Access::lineSegs(cross)[2] = seg(95, 63, 95, 63 + stubLength);
    Crosses out;
    select(out, {}, {cross}, 1, impl, &context);
    return out.at(0).lineSegs()[2] == line.segment();
}

}  // namespace

TEST(FinalSelection, TwoEmptyListsLeaveTheResultsAsTheyWere) {
    Crosses out;
    select(out, {}, {});
    EXPECT_TRUE(out.empty());
    out = {crossOf(0, 0)};
    select(out, {}, {});
    EXPECT_EQ(columnsOf(out), Columns({100}));
    EXPECT_EQ(out[0].score(), 0.0);
}

TEST(FinalSelection, LengthsAreSetAgainstFourDiagonalsInPels) {
    // (2000 - 450) / 2000, twice, in seven parts, whatever a pel measures.
    for (const double scale : {1.0, 0.1, 25.0}) {
        qv_streetFinderImpl impl = evenImage();
        impl.clientFromImage = qvXform<2>(qvMatrix<2>(scale, 0.0, 0.0, scale), qvVector<2>());
        Crosses out;
        select(out, {}, {crossOf(0, 0)}, 1, impl);
        ASSERT_EQ(out.size(), 1u);
        EXPECT_NEAR(out[0].score(), std::exp(-1.55 / 7.0), 1e-14);
    }
}

TEST(FinalSelection, BothKindsAreScoredAlike) {
    Crosses pairCrosses = {crossOf(0, 0)};
    Crosses quadCrosses = {crossOf(50, 0)};
    Crosses out;
    selectFinalCrosses(out, pairCrosses, quadCrosses, contextFor(2), evenImage(), nullptr);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_NEAR(out[0].score(), std::exp(-1.55 / 7.0), 1e-14);
    EXPECT_EQ(out[0].score(), out[1].score());
}

TEST(FinalSelection, ACostFromBeforeIsNotLookedAt) {
    CrossResult better = crossOf(0, 0, 20);
    CrossResult worse = crossOf(50, 0, 10);
    Access::score(better) = 0.0;
    Access::score(worse) = 99.0;
    Crosses out;
    select(out, {}, {worse, better});
    EXPECT_EQ(columnsOf(out), Columns({100, 150}));
}

TEST(FinalSelection, TheListsAreMergedBestFirst) {
    Crosses out;
    select(out, {crossOf(0, 0, 10), crossOf(20, 0, 40), crossOf(40, 0, 20)},
           {crossOf(60, 0, 15), crossOf(80, 0, 50), crossOf(100, 0, 5), crossOf(120, 0, 30)});
    EXPECT_EQ(columnsOf(out), Columns({180, 120, 220, 140, 160, 100, 200}));
    for (std::size_t i = 1; i < out.size(); ++i) EXPECT_GT(out[i - 1].score(), out[i].score());
}

TEST(FinalSelection, OnEqualScoresTheEightLineCrossComesFirst) {
    Crosses out;
    select(out, {crossOf(0, 0), crossOf(20, 0, 8)}, {crossOf(40, 0), crossOf(60, 0, 8)});
    EXPECT_EQ(columnsOf(out), Columns({160, 120, 140, 100}));
    EXPECT_EQ(out[0].score(), out[1].score());
    EXPECT_EQ(out[2].score(), out[3].score());
}

TEST(FinalSelection, EqualScoresOfOneListKeepTheirOrder) {
    Crosses out;
    select(out, {crossOf(30, 0), crossOf(10, 0), crossOf(20, 0)}, {crossOf(60, 0), crossOf(40, 0), crossOf(50, 0)});
    EXPECT_EQ(columnsOf(out), Columns({160, 140, 150, 130, 110, 120}));
}

TEST(FinalSelection, CrossesThatLieNearABetterOneAreSkippedAndTheNextIsTried) {
    Crosses out;
    select(out, {crossOf(4.9, 0, 20)}, {crossOf(0, 0, 30), crossOf(3.5, 3.5, 10), crossOf(40, 0)}, 2);
    EXPECT_EQ(columnsOf(out), Columns({100, 140}));
}

TEST(FinalSelection, CrossesExactlyFiveApartAreBothKept) {
    CrossResult earlier;
    Access::crossing(earlier) = qvVector<2>(103.0, 64.0);
    Crosses out = {earlier};
    select(out, {}, {crossOf(0, 0)});
    EXPECT_EQ(columnsOf(out), Columns({103, 100}));
    Access::crossing(earlier) = qvVector<2>(103.0, 63.999);
    out = {earlier};
    select(out, {}, {crossOf(0, 0)});
    EXPECT_EQ(columnsOf(out), Columns({103}));
}

TEST(FinalSelection, FiveClientUnitsAreNotMapped) {
    for (const double scale : {0.1, 10.0}) {
        qv_streetFinderImpl impl = evenImage();
        impl.clientFromImage = qvXform<2>(qvMatrix<2>(scale, 0.0, 0.0, scale), qvVector<2>());
        Crosses out;
        select(out, {}, {crossOf(0, 0, 30), crossOf(3, 4.001, 20), crossOf(0, 4.9, 10)}, 20, impl);
        EXPECT_EQ(columnsOf(out), Columns({100, 103}));
    }
}

TEST(FinalSelection, TheWalkEndsAtTheNumberAskedFor) {
    const Crosses crosses = {crossOf(0, 0, 30), crossOf(20, 0, 20), crossOf(40, 0, 10)};
    for (const std::size_t asked : {0u, 1u, 2u, 3u, 4u}) {
        Crosses out;
        select(out, crosses, {}, static_cast<long>(asked));
        EXPECT_EQ(out.size(), std::min<std::size_t>(asked, 3)) << asked;
    }
}

TEST(FinalSelection, ResultsFromBeforeStayInFrontCountAndKeepOthersAway) {
    CrossResult earlier;
    Access::crossing(earlier) = qvVector<2>(120.0, 64.9);
    Access::score(earlier) = 0.125;
    Crosses out = {earlier};
    // The best lies 4.9 from the earlier one.
    const Crosses crosses = {crossOf(20, 0, 30), crossOf(40, 0, 20), crossOf(60, 0, 10)};
    select(out, {}, crosses, 2);
    EXPECT_EQ(columnsOf(out), Columns({120, 140}));
    EXPECT_EQ(out[0].score(), 0.125);
    EXPECT_TRUE(out[0].lineSegs().empty());

    select(out, {}, crosses, 2);
    EXPECT_EQ(out.size(), 2u);
    select(out, {}, crosses, 1);
    EXPECT_EQ(out.size(), 2u);
}

TEST(FinalSelection, AScoreOfZeroComesLastAndIsKept) {
    // The first lies outside both profiles.
    Crosses out;
    select(out, {}, {crossOf(2000, 2000, 50), crossOf(0, 0), crossOf(40, 0, 9)});
    EXPECT_EQ(columnsOf(out), Columns({140, 100, 2100}));
    EXPECT_EQ(out[2].score(), 0.0);
}

TEST(FinalSelection, ScoresThatAreNoNumbersComeBehindZeroAndAreKept) {
    // Both width ranges end at the nominal width: 10 meets it (0 / 0), 12 lies beyond it, 9 before it.
    qv_candidateContext context = contextFor(20);
    context.tolerances.widthLower.first = context.tolerances.widthUpper.first = 10.0;
    const auto widerBy = [](double dx, double wider) {
        CrossResult cross = scoredCross(dx, 0);
        Access::urCorner(cross) = qvVector<2>(105.0 + dx + wider, 57.0);
        Access::lrCorner(cross) = qvVector<2>(105.0 + dx + wider, 63.0);
        return cross;
    };
    Crosses out;
    select(out, {widerBy(0, 0), widerBy(20, 2)}, {widerBy(40, 0), widerBy(60, -1)}, 20, evenImage(), &context);
    EXPECT_EQ(columnsOf(out), Columns({160, 120, 140, 100}));
    EXPECT_EQ(out[0].score(), 0.0);
    EXPECT_EQ(out[1].score(), 0.0);
    EXPECT_TRUE(std::isnan(out[2].score()));
    EXPECT_TRUE(std::isnan(out[3].score()));
}

TEST(FinalSelection, NotANumberRanksBehindRegularScoresInBothLists) {
    // An evenly grey street with its partner outside the profile leaves a negative variance.
    qv_streetFinderImpl impl = evenImage();
    impl.projectionAlong0 = qvtest::literalProfile(std::vector<double>(100, 50.0), qvtest::binsAlongY());
    Crosses out;
    select(out, {crossOf(0, 200), crossOf(20, 0)}, {crossOf(40, 200), crossOf(60, 0)}, 20, impl);
    EXPECT_EQ(columnsOf(out), Columns({160, 120, 140, 100}));
    EXPECT_GT(out[1].score(), 0.5);
    EXPECT_TRUE(std::isnan(out[2].score()));
    EXPECT_TRUE(std::isnan(out[3].score()));
}

TEST(FinalSelection, TheScoreIsThatFromBeforeTheRecovery) {
    qv_streetFinderImpl impl = evenImage();
    impl.lines[1] = {bareLine(qvVector<2>(94.0, 70.0), qvVector<2>(94.0, 110.0))};
    CrossResult cross = scoredCross();
    Access::lineSegs(cross)[2] = seg(95, 63, 95, 63.0005);
    Crosses out;
    select(out, {}, {cross}, 1, impl);
    EXPECT_EQ(out.at(0).lineSegs()[2], seg(94, 70, 94, 110));
    EXPECT_NEAR(out[0].score(), std::exp(-2.0 * (2000.0 - 400.0005) / 2000.0 / 7.0), 1e-14);
}

TEST(FinalSelection, LaterCrossesKeepTheirDistanceFromTheFittedCrossing) {
    // The first claims a crossing far away from its segments; its fit brings it back to (100, 60).
    CrossResult first = crossOf(0, 0, 30);
    Access::crossing(first) = qvVector<2>(900.0, 900.0);
    Crosses out;
    select(out, {}, {first, crossOf(4, 0, 20), crossOf(40, 0, 10)});
    EXPECT_EQ(columnsOf(out), Columns({100, 140}));
    // And it is admitted by the crossing that it claims.
    out.clear();
    select(out, {}, {crossOf(4, 0, 40), first});
    EXPECT_EQ(columnsOf(out), Columns({104, 100}));
}

TEST(FinalSelection, TheSearchLimitIsThreePelsInClientUnits) {
    const qvXform<2> identity;
    EXPECT_TRUE(recoversIn(identity, 0.0005, 3.0));
    EXPECT_FALSE(recoversIn(identity, 0.0005, 3.01));
    const qvXform<2> stretched(qvMatrix<2>(2.0, 0.0, 0.0, 4.0), qvVector<2>(7.0, -3.0));
    EXPECT_TRUE(recoversIn(stretched, 0.0005, 9.0));  // mean of 6 and 12
    EXPECT_FALSE(recoversIn(stretched, 0.0005, 9.01));
    const qvXform<2> turned(qvMatrix<2>(0.0, -2.0, 2.0, 0.0), qvVector<2>(500.0, 0.0));
    EXPECT_TRUE(recoversIn(turned, 0.0005, 6.0));
    EXPECT_FALSE(recoversIn(turned, 0.0005, 6.01));
    const qvXform<2> mirrored(qvMatrix<2>(1.5, 0.0, 0.0, -1.5), qvVector<2>(0.0, 600.0));
    EXPECT_TRUE(recoversIn(mirrored, 0.0005, 4.5));
    EXPECT_FALSE(recoversIn(mirrored, 0.0005, 4.51));
    const qvXform<2> shrunk(qvMatrix<2>(0.36, 0.48, -0.48, 0.36), qvVector<2>());  // by 0.6, turned
    EXPECT_TRUE(recoversIn(shrunk, 0.0005, 1.799));
    EXPECT_FALSE(recoversIn(shrunk, 0.0005, 1.801));
}

TEST(FinalSelection, AStubIsShorterThanAThousandthOfAPelInClientUnits) {
    EXPECT_TRUE(recoversIn(qvXform<2>(), 0.00099, 1.0));
    EXPECT_FALSE(recoversIn(qvXform<2>(), 0.00101, 1.0));
    const qvXform<2> stretched(qvMatrix<2>(2.0, 0.0, 0.0, 4.0), qvVector<2>(7.0, -3.0));
    EXPECT_TRUE(recoversIn(stretched, 0.00299, 1.0));
    EXPECT_FALSE(recoversIn(stretched, 0.00301, 1.0));
    const qvXform<2> mirrored(qvMatrix<2>(50.0, 0.0, 0.0, -50.0), qvVector<2>(0.0, 600.0));
    EXPECT_TRUE(recoversIn(mirrored, 0.0499, 1.0));
    EXPECT_FALSE(recoversIn(mirrored, 0.0501, 1.0));
}

TEST(FinalSelection, TheListsAreLeftScoredAndSorted) {
    Crosses pairCrosses = {crossOf(0, 0, 10), crossOf(20, 0, 40)};
    Crosses quadCrosses = {crossOf(60, 0, 15), crossOf(80, 0, 50)};
    Crosses out;
    selectFinalCrosses(out, pairCrosses, quadCrosses, contextFor(0), evenImage(), nullptr);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(columnsOf(pairCrosses), Columns({120, 100}));
    EXPECT_EQ(columnsOf(quadCrosses), Columns({180, 160}));
    EXPECT_NEAR(quadCrosses[0].score(), std::exp(-1.5 / 7.0), 1e-14);
}
