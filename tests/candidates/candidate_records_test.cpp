#include "qvstreet/candidates/candidate_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <vector>

#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/candidates/literal_lines.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

qvStreetFinderStreetCrossResult crossingAt(double x, double y) {
    qvStreetFinderStreetCrossResult result;
    qv_streetResultAccess::crossing(result) = qvVector<2>(x, y);
    return result;
}

qvStreetFinderStreetCrossResult crossingOfScore(double score) {
    qvStreetFinderStreetCrossResult result;
    qv_streetResultAccess::score(result) = score;
    return result;
}

/// A line that runs along x at height y has the signed distance y.
qv_ridgeLine lineAtHeight(double y) {
    qv_ridgeLine line;
    line.line = qvFLine(qvDegree(0.0), qvVector<2>(0.0, y));
    return line;
}

/// Lines whose extents are, in this order, 40, -90, 15, 40 and -30.
std::vector<qv_ridgeLine> linesOfSeveralExtents() {
    return flatLines({{5.0, 0.0, 45.0, 0.0},
                      {7.0, 10.0, 7.0, 100.0},
                      {0.0, 20.0, 15.0, 20.0},
                      {0.0, 30.0, 40.0, 30.0},
                      {9.0, 0.0, 9.0, 30.0}});
}

std::vector<long> keysOf(const std::vector<const qv_ridgeLine*>& lines) {
    std::vector<long> keys;
    for (const qv_ridgeLine* const line : lines) keys.push_back(line->lineKey);
    return keys;
}

}  // namespace

TEST(CandidateRecords, RidgeLineStartsWithoutKeyPointsAndPolarity) {
    const qv_ridgeLine line;
    EXPECT_EQ(line.lineKey, -1);
    EXPECT_TRUE(line.points.empty());
    EXPECT_FALSE(line.polarity);
    EXPECT_EQ(line.angle.toDouble(), 0.0);
    EXPECT_EQ(line.lineQuality, 0.0);
    EXPECT_EQ(line.startAlong, 0.0);
    EXPECT_EQ(line.endAlong, 0.0);
    EXPECT_EQ(line.extent, 0.0);
    EXPECT_EQ(line.p1, qvVector<2>(0.0, 0.0));
    EXPECT_EQ(line.p2, qvVector<2>(0.0, 0.0));
}

TEST(CandidateRecords, DefaultedPairCornerAndCrossPairHaveNoLines) {
    EXPECT_EQ(qv_candPair().line1, -1);
    EXPECT_EQ(qv_candPair().line2, -1);
    EXPECT_EQ(qv_candPair().score, 0.0);
    EXPECT_EQ(qv_candCorner().line1, -1);
    EXPECT_EQ(qv_candCorner().line2, -1);
    EXPECT_EQ(qv_candCorner().score, 0.0);
    EXPECT_EQ(qv_candQuad().first.line1, -1);
    EXPECT_EQ(qv_candQuad().second.line2, -1);
    EXPECT_EQ(qv_candPairOfCrossPair().score, 0.0);
}

TEST(CandidateRecords, MissingLinesOfACrossHoldMinusOne) {
    const qv_stCand candidate;
    for (const long line : candidate.lines) EXPECT_EQ(line, -1);
    EXPECT_EQ(candidate.score, 0.0);
    EXPECT_TRUE(candidate.components.empty());
}

TEST(CandidateRecords, ContextDefaults) {
    const qv_candidateContext context;
    EXPECT_EQ(context.nominalWidth, qvPair<double>(0.0, 0.0));
    EXPECT_EQ(context.maxPairs, 1000);
    EXPECT_EQ(context.maxQuads, 100);
    EXPECT_EQ(context.polarityInset, 0.1);
    EXPECT_EQ(context.polaritySideWidth, 0.4);
    EXPECT_EQ(context.polarityMargin, 0.05);
    EXPECT_EQ(context.reserved, qvPair<long>(0, 0));
}

TEST(CandidateRecords, StageFlagBits) {
    EXPECT_EQ(eMergeLines, 1);
    EXPECT_EQ(eWidthsKnown, 2);
    EXPECT_EQ(eKeepBest, 4);
}

TEST(CandidateRecords, StoreStartsEmpty) {
    const qv_candidateStore store;
    EXPECT_TRUE(store.vpairs_.empty() && store.hpairs_.empty());
    EXPECT_TRUE(store.vquads_.empty() && store.hquads_.empty());
    EXPECT_TRUE(store.ulCorners_.empty() && store.urCorners_.empty());
    EXPECT_TRUE(store.dlCorners_.empty() && store.drCorners_.empty());
}

TEST(CandidateRecords, LinesAreOrderedBySignedDistance) {
    const qv_ridgeLine above = lineAtHeight(-7.0);
    const qv_ridgeLine below = lineAtHeight(3.0);
    EXPECT_TRUE(qf_byDistance(above, below));  // -7 before 3, although 7 lies further from the origin
    EXPECT_FALSE(qf_byDistance(below, above));
}

TEST(CandidateRecords, EqualDistancesCompareFalseBothWays) {
    const qv_ridgeLine a = lineAtHeight(3.0);
    qv_ridgeLine b = lineAtHeight(3.0);
    b.extent = 50.0;
    EXPECT_FALSE(qf_byDistance(a, b));
    EXPECT_FALSE(qf_byDistance(b, a));
}

TEST(CandidateRecords, LinesAreOrderedByExtentShortestFirst) {
    qv_ridgeLine backwards;
    backwards.extent = -40.0;
    qv_ridgeLine shortLine;
    shortLine.extent = 12.0;
    EXPECT_TRUE(qf_byExtent(backwards, shortLine));
    EXPECT_FALSE(qf_byExtent(shortLine, backwards));
    EXPECT_FALSE(qf_byExtent(shortLine, shortLine));
}

TEST(CandidateRecords, SortKeysCompareTheValueAlone) {
    EXPECT_TRUE((qvIDPair{9, 1.5} < qvIDPair{2, 2.5}));
    EXPECT_FALSE((qvIDPair{2, 1.5} < qvIDPair{9, 1.5}));
    EXPECT_TRUE((qvDIPair{1.5, 9} < qvDIPair{2.5, 2}));
    EXPECT_FALSE((qvDIPair{1.5, 2} < qvDIPair{1.5, 9}));
    EXPECT_TRUE((qvDIJPair{1.5, 1, 9} < qvDIJPair{2.5, 0, 2}));
    EXPECT_FALSE((qvDIJPair{1.5, 0, 2} < qvDIJPair{1.5, 1, 9}));
}

TEST(CandidateRecords, CostsOfCandidatesSortAscending) {
    qv_stCand cheap;
    cheap.score = 0.2;
    qv_stCand dear;
    dear.score = 0.7;
    EXPECT_TRUE(cheap < dear);
    EXPECT_FALSE(dear < cheap);

    qv_candCrossPair cheapCross;
    cheapCross.score = -1.0;
    EXPECT_TRUE(cheapCross < qv_candCrossPair());
    EXPECT_FALSE(qv_candCrossPair() < cheapCross);

    qv_candPairOfCrossPair dearPair;
    dearPair.score = 4.0;
    EXPECT_TRUE(qv_candPairOfCrossPair() < dearPair);
    EXPECT_FALSE(dearPair < qv_candPairOfCrossPair());
}

TEST(CandidateRecords, ResultsSortByCostAscendingAndByScoreDescending) {
    const qvStreetFinderStreetCrossResult low = crossingOfScore(0.25);
    const qvStreetFinderStreetCrossResult high = crossingOfScore(0.75);
    EXPECT_TRUE(qf_costOrder(low, high));
    EXPECT_FALSE(qf_costOrder(high, low));
    EXPECT_TRUE(qf_scoreOrder(high, low));
    EXPECT_FALSE(qf_scoreOrder(low, high));
    EXPECT_FALSE(qf_scoreOrder(low, low));
}

TEST(CandidateRecords, NanRanksLastInBothOrders) {
    EXPECT_TRUE(qf_ascending(1e300, kNan));
    EXPECT_FALSE(qf_ascending(kNan, -1e300));
    EXPECT_FALSE(qf_ascending(kNan, kNan));
    EXPECT_TRUE(qf_descending(-1e300, kNan));
    EXPECT_FALSE(qf_descending(kNan, 1e300));
    EXPECT_FALSE(qf_descending(kNan, kNan));

    std::vector<qvDIPair> keys = {{kNan, 0}, {3.0, 1}, {kNan, 2}, {-2.0, 3}, {3.0, 4}};
    std::stable_sort(keys.begin(), keys.end());
    EXPECT_EQ(keys[0].index, 3);
    EXPECT_EQ(keys[1].index, 1);
    EXPECT_EQ(keys[2].index, 4);
    EXPECT_EQ(keys[3].index, 0);
    EXPECT_EQ(keys[4].index, 2);
}

TEST(CandidateRecords, OverlapLengthOfTwoIntervals) {
    EXPECT_EQ(overlapLength(2.0, 9.0, 5.0, 30.0), 4.0);
    EXPECT_EQ(overlapLength(2.0, 9.0, -4.0, 5.5), 3.5);
    EXPECT_EQ(overlapLength(2.0, 9.0, 3.0, 6.0), 3.0);
    EXPECT_EQ(overlapLength(2.0, 9.0, 9.0, 12.0), 0.0);
    EXPECT_EQ(overlapLength(2.0, 9.0, 20.0, 31.0), 0.0);
}

TEST(CandidateRecords, OverlapLengthReversesBothIntervals) {
    EXPECT_EQ(overlapLength(5.0, 1.0, 0.0, 3.0), 0.0);  // (1, 5) and (3, 0)
    EXPECT_EQ(overlapLength(5.0, 1.0, 3.0, 0.0), 2.0);  // (1, 5) and (0, 3)
    EXPECT_EQ(overlapLength(5.0, 1.0, 4.5, 2.0), 2.5);  // (1, 5) and (2, 4.5)
}

TEST(CandidateRecords, OverlapLengthDoesNotNormaliseTheSecondInterval) {
    EXPECT_EQ(overlapLength(1.0, 5.0, 3.0, 0.0), 0.0);  // min(5, 0) - max(1, 3)
    EXPECT_EQ(overlapLength(1.0, 5.0, 4.0, 2.0), 0.0);
}

TEST(CandidateRecords, PointAlongALineStartsAtTheFootOfTheOrigin) {
    // Direction (0.8, 0.6) in effect: foot point d (-0.6, 0.8).
    const qvFLine line(qvVector<2>(1.0, 2.0), qvVector<2>(9.0, 8.0));
    EXPECT_NEAR(line.distance(), 1.0, 1e-15);
    const qvVector<2> foot = pointAlong(line, 0.0);
    EXPECT_NEAR(foot.x(), -0.6, 1e-15);
    EXPECT_NEAR(foot.y(), 0.8, 1e-15);
    const qvVector<2> further = pointAlong(line, 10.0);
    EXPECT_NEAR(further.x(), 7.4, 1e-14);
    EXPECT_NEAR(further.y(), 6.8, 1e-14);
}

TEST(CandidateRecords, FarFromFirstLooksAtThatManyResultsOnly) {
    const std::vector<qvStreetFinderStreetCrossResult> results = {crossingAt(0.0, 0.0), crossingAt(50.0, 0.0)};
    EXPECT_TRUE(isFarFromFirst(results, 0, qvVector<2>(0.0, 0.0), 5.0));
    EXPECT_TRUE(isFarFromFirst(results, 1, qvVector<2>(50.0, 0.0), 5.0));
    EXPECT_FALSE(isFarFromFirst(results, 2, qvVector<2>(50.0, 0.0), 5.0));
}

TEST(CandidateRecords, FarFromAllHoldsForAnEmptyList) { EXPECT_TRUE(isFarFromAll({}, qvVector<2>(1.0, 2.0), 1e9)); }

TEST(CandidateRecords, ExactlyTheLimitApartIsFar) {
    const std::vector<qvStreetFinderStreetCrossResult> results = {crossingAt(100.0, 20.0), crossingAt(10.0, 40.0)};
    EXPECT_TRUE(isFarFromAll(results, qvVector<2>(13.0, 44.0), 5.0));
    EXPECT_FALSE(isFarFromAll(results, qvVector<2>(13.0, 44.0), 5.0000001));
    EXPECT_FALSE(isFarFromAll(results, qvVector<2>(99.0, 20.0), 5.0));
}

TEST(CandidateRecords, NanCoordinateIsNearEverything) {
    EXPECT_FALSE(isFarFromAll({crossingAt(0.0, 0.0)}, qvVector<2>(kNan, 1000.0), 5.0));
    EXPECT_FALSE(isFarFromAll({crossingAt(1000.0, kNan)}, qvVector<2>(0.0, 0.0), 5.0));
}

TEST(CandidateRecords, KeyIsTheSubscriptOfItsLine) {
    const std::vector<qv_ridgeLine> lines = linesOfSeveralExtents();
    for (long key = 0; key < 5; ++key) EXPECT_EQ(lineAt(lines, key).lineKey, key);
    EXPECT_EQ(&lineAt(lines, 3), &lines[3]);
}

TEST(CandidateRecords, LinesOfARangeAreReferencesInTheirOrder) {
    const std::vector<qv_ridgeLine> lines = linesOfSeveralExtents();
    EXPECT_EQ(keysOf(linesOfRange(lines, 1, 3)), (std::vector<long>{1, 2, 3}));
    EXPECT_EQ(linesOfRange(lines, 4, 1)[0], &lines[4]);
    EXPECT_TRUE(linesOfRange(lines, 5, 0).empty());
    EXPECT_TRUE(linesOfRange({}, 0, 0).empty());
}

TEST(CandidateRecords, RangeBeyondTheListIsRefused) {
    EXPECT_THROW(linesOfRange(linesOfSeveralExtents(), 3, 3), std::out_of_range);
}

TEST(CandidateRecords, LinesByExtentComeShortestFirstAndLinesThatRunBackwardsBeforeAll) {
    const std::vector<qv_ridgeLine> lines = linesOfSeveralExtents();
    EXPECT_EQ(keysOf(linesByExtent(lines, 0, 5)), (std::vector<long>{1, 4, 2, 0, 3}));
    EXPECT_EQ(keysOf(linesByExtent(lines, 2, 2)), (std::vector<long>{2, 3}));
    EXPECT_EQ(lines[0].lineKey, 0) << "the list itself stays as it is";
}

TEST(CandidateRecords, LineWhoseExtentIsNotANumberComesLast) {
    std::vector<qv_ridgeLine> lines = linesOfSeveralExtents();
    lines[1].extent = kNan;
    EXPECT_EQ(keysOf(linesByExtent(lines, 0, 5)), (std::vector<long>{4, 2, 0, 3, 1}));
}

TEST(CandidateRecords, SquaredDistanceOfTwoPoints) {
    EXPECT_EQ(squaredDistance(qvVector<2>(1.0, -2.0), qvVector<2>(4.0, 2.0)), 25.0);
}

TEST(CandidateRecords, SidesAreMappedWithoutTheTranslation) {
    // Columns (3, 4) and (-5, 12): 5 units per pel along x, 13 along y.
    const qvXform<2> transform(qvMatrix<2>(3.0, -5.0, 4.0, 12.0), qvVector<2>(1000.0, -700.0));
    EXPECT_EQ(mappedSideLengths(qvPair<long>(420, 300), transform), qvPair<double>(2100.0, 3900.0));
    EXPECT_EQ(mappedSideLengths(qvPair<double>(0.5, 0.25), transform), qvPair<double>(2.5, 3.25));
    EXPECT_EQ(mappedSideLengths(qvPair<long>(420, 300), qvXform<2>()), qvPair<double>(420.0, 300.0));
}

TEST(CandidateRecords, ClientLengthIsTheMeanOverBothAxes) {
    const qvXform<2> transform(qvMatrix<2>(3.0, -5.0, 4.0, 12.0), qvVector<2>(1000.0, -700.0));
    EXPECT_EQ(clientLength(3.0, transform), 27.0);
    EXPECT_EQ(clientLength(3.0, qvXform<2>()), 3.0);
    const qvXform<2> mirrored(qvMatrix<2>(0.5, 0.0, 0.0, -0.25), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(clientLength(4.0, mirrored), 1.5);
}

TEST(CandidateRecords, MultipleOfTheResultsDoesNotOverflow) {
    EXPECT_EQ(resultMultiple(10, 7), 70);
    EXPECT_EQ(resultMultiple(3, 1), 3);
    constexpr long kMost = std::numeric_limits<long>::max();
    EXPECT_EQ(resultMultiple(10, kMost), kMost);
    EXPECT_EQ(resultMultiple(10, kMost / 10), kMost / 10 * 10);
    EXPECT_EQ(resultMultiple(10, kMost / 10 + 1), kMost);
    EXPECT_EQ(resultMultiple(10, 0), 0);
    EXPECT_EQ(resultMultiple(10, -3), 0);
    EXPECT_EQ(resultMultiple(10, std::numeric_limits<long>::min()), 0);
    if (sizeof(long) > 4) {
        EXPECT_EQ(resultMultiple(10, 2147483647), 21474836470);
    }
}
