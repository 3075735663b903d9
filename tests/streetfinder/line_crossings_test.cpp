#include "qvstreet/streetfinder/line_crossings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/streetfinder/painted_wafer.h"

namespace {

using Access = qv_streetResultAccess;
using Cross = qvStreetFinderStreetCrossResult;
using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
// Of two lines of 200 and 100 units in 400 by 300 pels: twice the perimeter is 2800, so exp(-(2500 / 2800) / 3).
constexpr double lengthOnlyScore = 0.7425841750805116;
// The same with one more unit of cost: a crossing beyond an end, or streets of grey value 255.
constexpr double oneMoreScore = 0.5320848121817952;

/// A record of 400 by 300 pels with an image deviation of 20.
qv_streetFinderImpl record() {
    qv_streetFinderImpl impl;
    impl.imageSize = qvPair<long>(400, 300);
    impl.imageDeviation = 20.0;
    return impl;
}

qvLineFinderResults line(const Point& p1, const Point& p2, double mean = 100.0, double deviation = 0.0,
                         long count = 10) {
    qvLineFinderResults result(qvLineSeg(p1, p2), 0.0, false);
    result.statistics(mean, 0.0, deviation, count);
    return result;
}

/// 200 units of a flat street, and 100 of an upright one that crosses it at (120, 100).
qvLineFinderResults flatLine() { return line(Point(50.0, 100.0), Point(250.0, 100.0)); }
qvLineFinderResults uprightLine() { return line(Point(120.0, 40.0), Point(120.0, 140.0)); }

Cross scored(const qvLineFinderResults& line0, double grey0, const qvLineFinderResults& line1, double grey1,
             const qv_streetFinderImpl& impl) {
    Cross result;
    scoreLineCrossing(result, line0, grey0, line1, grey1, impl);
    return result;
}

double scoreOf(const qvLineFinderResults& line0, const qvLineFinderResults& line1) {
    return scored(line0, 0.0, line1, 0.0, record()).score();
}

Cross crossingAt(const Point& point, double score) {
    Cross result;
    Access::crossing(result) = point;
    Access::score(result) = score;
    return result;
}

std::vector<double> scoresOf(const std::vector<Cross>& results) {
    std::vector<double> scores;
    for (const Cross& result : results) scores.push_back(result.score());
    return scores;
}

std::vector<double> selectedScores(std::vector<Cross> results, long maxResults) {
    selectTopCrossings(results, maxResults);
    return scoresOf(results);
}

qvStreetFinderParams paramsFor(Defs::streetPolarity polarity, long maxResults) {
    return qvStreetFinderParams(qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0),
                                Defs::eCoarseRidgeWafer, 5.0, polarity, maxResults);
}

}  // namespace

TEST(LineCrossings, AnglesAreThoseOfTheSegmentsFromFirstToSecondEnd) {
    const Cross down = scored(flatLine(), 0.0, uprightLine(), 0.0, record());
    EXPECT_DOUBLE_EQ(down.horizontalAngle().toDouble(), 0.0);
    EXPECT_DOUBLE_EQ(down.verticalAngle().toDouble(), 1.5707963267948966);
    const Cross up = scored(line(Point(250.0, 100.0), Point(50.0, 100.0)), 0.0,
                            line(Point(120.0, 140.0), Point(120.0, 40.0)), 0.0, record());
    EXPECT_DOUBLE_EQ(up.horizontalAngle().toDouble(), 3.141592653589793);
    EXPECT_DOUBLE_EQ(up.verticalAngle().toDouble(), -1.5707963267948966);
    EXPECT_EQ(up.score(), down.score());
}

TEST(LineCrossings, CrossingIsWhereTheLinesMeetAndStandsForAllFourCorners) {
    // y = 85 + x / 10 and x = 114 + y / 10 meet at x = 122.5 / 0.99.
    const Cross result = scored(line(Point(50.0, 90.0), Point(250.0, 110.0)), 0.0,
                                line(Point(118.0, 40.0), Point(128.0, 140.0)), 0.0, record());
    EXPECT_NEAR(result.crossing().x(), 123.73737373737373, 1e-9);
    EXPECT_NEAR(result.crossing().y(), 97.37373737373737, 1e-9);
    for (const Point& corner : {result.ulCorner(), result.urCorner(), result.llCorner(), result.lrCorner()})
        EXPECT_EQ(corner, result.crossing());
}

TEST(LineCrossings, SegmentOfDirectionOneComesFirst) {
    const Cross result = scored(flatLine(), 0.0, uprightLine(), 0.0, record());
    ASSERT_EQ(result.lineSegs().size(), 2U);
    EXPECT_EQ(result.lineSegs()[0], uprightLine().segment());
    EXPECT_EQ(result.lineSegs()[1], flatLine().segment());
    EXPECT_EQ(result.statusFlags(), Defs::eStreetFromLine);
}

TEST(LineCrossings, EveryFieldOfTheResultIsReplaced) {
    Cross result = crossingAt(Point(-1.0, -2.0), 99.0);
    Access::lineSegs(result).resize(8);
    scoreLineCrossing(result, flatLine(), 0.0, uprightLine(), 0.0, record());
    EXPECT_EQ(result.crossing(), Point(120.0, 100.0));
    EXPECT_EQ(result.lineSegs().size(), 2U);
    EXPECT_NEAR(result.score(), lengthOnlyScore, 1e-15);
}

TEST(LineCrossings, LengthTermIsTheMissingPartOfTwicePerimeter) {
    EXPECT_NEAR(scoreOf(flatLine(), uprightLine()), lengthOnlyScore, 1e-15);
    // 1400 + 1400 units leave nothing out.
    EXPECT_NEAR(scoreOf(line(Point(-700.0, 100.0), Point(700.0, 100.0)), line(Point(0.0, -700.0), Point(0.0, 700.0))),
                1.0, 1e-15);
}

TEST(LineCrossings, PerimeterIsInClientUnits) {
    qv_streetFinderImpl impl = record();
    impl.clientFromImage = qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, -2.0), qvVector<2>(7.0, 8.0));
    // 200 by 600 units: exp(-(2900 / 3200) / 3).
    EXPECT_NEAR(scored(flatLine(), 0.0, uprightLine(), 0.0, impl).score(), 0.7392764559511992, 1e-15);
}

TEST(LineCrossings, FourTermsAreDividedByThree) {
    // Length 0.892857, a tenth of texture 0.4690415, grey 0.2352941: the sum 1.1750554 divided by 3.
    const qvLineFinderResults line0 = line(Point(50.0, 100.0), Point(250.0, 100.0), 100.0, 3.0, 10);
    const qvLineFinderResults line1 = line(Point(120.0, 40.0), Point(120.0, 140.0), 80.0, 5.0, 30);
    EXPECT_NEAR(scored(line0, 50.0, line1, 70.0, record()).score(), 0.6759169006109621, 1e-15);
}

TEST(LineCrossings, PooledDeviationCrossesIndices) {
    // 9 + 80² with the count 30 and 25 + 100² with the count 10, less 85²: 88. With its own mean and count each spread
    // would give 96 and a score of 0.67545.
    const qvLineFinderResults line0 = line(Point(50.0, 100.0), Point(250.0, 100.0), 100.0, 3.0, 10);
    const qvLineFinderResults line1 = line(Point(120.0, 40.0), Point(120.0, 140.0), 80.0, 5.0, 30);
    const double score = scored(line0, 50.0, line1, 70.0, record()).score();
    EXPECT_NEAR(score, 0.6759169006109621, 1e-15);
    const double texture = -3.0 * std::log(score) - 2500.0 / 2800.0 - 60.0 / 255.0;
    EXPECT_NEAR(texture * 10.0 * 20.000001, std::sqrt(88.0), 1e-9);
}

TEST(LineCrossings, VarianceBelowZeroAndNoNumberCountAsNoTexture) {
    // (170.8 + 2 * 170.8) / 3 rounds so that the variance comes out as -1.1e-11.
    const auto scoreWith = [](double mean, double deviation, long count0, long count1) {
        return scoreOf(line(Point(50.0, 100.0), Point(250.0, 100.0), mean, deviation, count0),
                       line(Point(120.0, 40.0), Point(120.0, 140.0), mean, deviation, count1));
    };
    EXPECT_NEAR(scoreWith(170.8, 0.0, 1, 2), lengthOnlyScore, 1e-15);
    EXPECT_NEAR(scoreWith(100.0, notANumber, 10, 10), lengthOnlyScore, 1e-15);
    EXPECT_NEAR(scoreWith(100.0, 5.0, 0, 0), lengthOnlyScore, 1e-15);
}

TEST(LineCrossings, TextureIsRelativeToTheImageDeviation) {
    const qvLineFinderResults line0 = line(Point(50.0, 100.0), Point(250.0, 100.0), 100.0, 20.0, 10);
    const qvLineFinderResults line1 = line(Point(120.0, 40.0), Point(120.0, 140.0), 100.0, 20.0, 10);
    EXPECT_NEAR(scored(line0, 0.0, line1, 0.0, record()).score(), 0.7182393712980851, 1e-15);
    qv_streetFinderImpl flat = record();
    flat.imageDeviation = 0.0;
    // 20 / 1e-6 is a cost beyond every number's exponential.
    EXPECT_EQ(scored(line0, 0.0, line1, 0.0, flat).score(), 0.0);
    EXPECT_NEAR(scored(flatLine(), 0.0, uprightLine(), 0.0, flat).score(), lengthOnlyScore, 1e-15);
}

TEST(LineCrossings, GreyTermIsTheMeanGreyOf255) {
    EXPECT_NEAR(scored(flatLine(), 255.0, uprightLine(), 255.0, record()).score(), oneMoreScore, 1e-15);
    EXPECT_NEAR(scored(flatLine(), 510.0, uprightLine(), 0.0, record()).score(), oneMoreScore, 1e-15);
    EXPECT_NEAR(scored(flatLine(), 0.0, uprightLine(), 510.0, record()).score(), oneMoreScore, 1e-15);
}

TEST(LineCrossings, CrossingOnAnEndOfASegmentLiesWithinIt) {
    const auto flat = [](double x1, double x2) { return line(Point(x1, 100.0), Point(x2, 100.0)); };
    const auto upright = [](double y1, double y2) { return line(Point(120.0, y1), Point(120.0, y2)); };
    EXPECT_NEAR(scoreOf(flat(120.0, 320.0), upright(100.0, 200.0)), lengthOnlyScore, 1e-15);
    EXPECT_NEAR(scoreOf(flat(-80.0, 120.0), upright(0.0, 100.0)), lengthOnlyScore, 1e-15);
    EXPECT_NEAR(scoreOf(flat(320.0, 120.0), upright(200.0, 100.0)), lengthOnlyScore, 1e-15);
}

TEST(LineCrossings, CrossingBeyondAnEndCostsOneOnceAndStillCounts) {
    const auto flat = [](double x1, double x2) { return line(Point(x1, 100.0), Point(x2, 100.0)); };
    const auto upright = [](double y1, double y2) { return line(Point(120.0, y1), Point(120.0, y2)); };
    EXPECT_NEAR(scoreOf(flat(120.5, 320.5), upright(40.0, 140.0)), oneMoreScore, 1e-15);
    EXPECT_NEAR(scoreOf(flat(-80.5, 119.5), upright(40.0, 140.0)), oneMoreScore, 1e-15);
    EXPECT_NEAR(scoreOf(flat(50.0, 250.0), upright(100.5, 200.5)), oneMoreScore, 1e-15);
    EXPECT_NEAR(scoreOf(flat(50.0, 250.0), upright(99.5, -0.5)), oneMoreScore, 1e-15);
    const Cross both = scored(flat(120.5, 320.5), 0.0, upright(100.5, 200.5), 0.0, record());
    EXPECT_NEAR(both.score(), oneMoreScore, 1e-15);
    EXPECT_EQ(both.crossing(), Point(120.0, 100.0));
}

TEST(LineCrossings, ParallelLinesCrossMidwayBetweenTheirFirstEnds) {
    const Cross result = scored(line(Point(50.0, 100.0), Point(250.0, 100.0)), 0.0,
                                line(Point(60.0, 140.0), Point(160.0, 140.0)), 0.0, record());
    EXPECT_EQ(result.crossing(), Point(55.0, 120.0));
    EXPECT_GT(result.score(), 0.0);
}

TEST(LineCrossings, LineWithoutStatisticsIsABrokenPromise) {
    const qvLineFinderResults bare(qvLineSeg(Point(50.0, 100.0), Point(250.0, 100.0)), 0.0, false);
    EXPECT_THROW(scored(bare, 0.0, uprightLine(), 0.0, record()), qvInvariantFailure);
    EXPECT_THROW(scored(flatLine(), 0.0, bare, 0.0, record()), qvInvariantFailure);
}

TEST(LineCrossings, MappedSideLengthsAreThoseOfWidthAndHeight) {
    const qvXform<2> transform(qvMatrix<2>(3.0, 5.0, 4.0, -12.0), qvVector<2>(1000.0, 2000.0));
    const qvPair<double> sides = mappedSideLengths(qvPair<long>(400, 300), transform);
    EXPECT_EQ(sides.first, 2000.0);
    EXPECT_EQ(sides.second, 3900.0);
}

TEST(LineCrossings, BestScoreComesFirstAndEqualOnesKeepTheirOrder) {
    std::vector<Cross> results = {crossingAt(Point(0.0, 0.0), 0.5), crossingAt(Point(10.0, 0.0), 0.7),
                                  crossingAt(Point(20.0, 0.0), 0.5), crossingAt(Point(30.0, 0.0), 0.7)};
    selectTopCrossings(results, 10);
    ASSERT_EQ(results.size(), 4U);
    const double places[] = {10.0, 30.0, 0.0, 20.0};
    for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(results[k].crossing().x(), places[k]);
}

TEST(LineCrossings, CrossingsNearerThanFiveAreOneAndTheWalkGoesOn) {
    const std::vector<Cross> results = {crossingAt(Point(0.0, 0.0), 0.9), crossingAt(Point(4.9, 0.0), 0.8),
                                        crossingAt(Point(0.0, -4.9), 0.7), crossingAt(Point(50.0, 0.0), 0.6)};
    EXPECT_EQ(selectedScores(results, 2), (std::vector<double>{0.9, 0.6}));
    EXPECT_EQ(selectedScores(results, 100), (std::vector<double>{0.9, 0.6}));
}

TEST(LineCrossings, ExactlyFiveApartIsKept) {
    const std::vector<Cross> results = {crossingAt(Point(1.0, 1.0), 0.9), crossingAt(Point(4.0, 5.0), 0.8),
                                        crossingAt(Point(8.9, 5.0), 0.7)};
    EXPECT_EQ(selectedScores(results, 3), (std::vector<double>{0.9, 0.8}));
}

TEST(LineCrossings, DroppedCrossingsKeepNothingAway) {
    // 4 units apart in a row: the second is near the first, the third only near the second.
    const std::vector<Cross> results = {crossingAt(Point(0.0, 0.0), 0.9), crossingAt(Point(4.0, 0.0), 0.8),
                                        crossingAt(Point(8.0, 0.0), 0.7)};
    EXPECT_EQ(selectedScores(results, 3), (std::vector<double>{0.9, 0.7}));
}

TEST(LineCrossings, WalkStopsAtMaxResults) {
    const std::vector<Cross> results = {crossingAt(Point(0.0, 0.0), 0.2), crossingAt(Point(50.0, 0.0), 0.4),
                                        crossingAt(Point(0.0, 50.0), 0.3)};
    EXPECT_EQ(selectedScores(results, 1), (std::vector<double>{0.4}));
    EXPECT_EQ(selectedScores(results, 2), (std::vector<double>{0.4, 0.3}));
    EXPECT_EQ(selectedScores(results, 2147483647), (std::vector<double>{0.4, 0.3, 0.2}));
    EXPECT_TRUE(selectedScores({}, 5).empty());
}

TEST(LineCrossings, NanScoresRankLastAndNanPlacesAreNearEverything) {
    std::vector<Cross> results;
    for (int k = 0; k < 40; ++k)
        results.push_back(crossingAt(Point(10.0 * k, 0.0), k % 3 == 0 ? notANumber : 0.01 * k));
    selectTopCrossings(results, 100);
    ASSERT_EQ(results.size(), 40U);
    for (std::size_t k = 0; k < 40; ++k) EXPECT_EQ(std::isnan(results[k].score()), k >= 26) << k;
    EXPECT_EQ(results[0].score(), 0.38);
    EXPECT_EQ(results[26].crossing().x(), 0.0);

    EXPECT_EQ(selectedScores({crossingAt(Point(0.0, 0.0), 0.9), crossingAt(Point(notANumber, 50.0), 0.8),
                              crossingAt(Point(50.0, 0.0), 0.7)},
                             3),
              (std::vector<double>{0.9, 0.7}));
}

TEST(LineCrossings, EveryFlatLineMeetsEveryUprightOneFlatOnesInTheOuterLoop) {
    qv_streetFinderImpl impl = record();
    impl.lines = {{line(Point(0.0, 100.0), Point(400.0, 100.0)), line(Point(0.0, 200.0), Point(400.0, 200.0))},
                  {line(Point(120.0, 0.0), Point(120.0, 300.0)), line(Point(60.0, 0.0), Point(60.0, 300.0)),
                   line(Point(180.0, 0.0), Point(180.0, 300.0))}};
    std::vector<Cross> results(9, crossingAt(Point(-1.0, -1.0), 99.0));
    crossStreetLines(impl, paramsFor(Defs::eAnyPolarity, 50), results);
    // All scores are equal, so the order is that of the loops.
    ASSERT_EQ(results.size(), 6U);
    const Point places[] = {Point(120.0, 100.0), Point(60.0, 100.0), Point(180.0, 100.0),
                            Point(120.0, 200.0), Point(60.0, 200.0), Point(180.0, 200.0)};
    for (std::size_t k = 0; k < 6; ++k) EXPECT_EQ(results[k].crossing(), places[k]) << k;
    // The grey term is 0 where any polarity will do: exp(-((2800 - 700) / 2800) / 3) is exp(-0.25).
    EXPECT_NEAR(results[0].score(), 0.7788007830714049, 1e-15);
}

TEST(LineCrossings, NoLineInOneDirectionGivesNoCrossing) {
    for (const bool flatMissing : {true, false}) {
        qv_streetFinderImpl impl = record();
        impl.lines.resize(2);
        impl.lines[flatMissing ? 1 : 0] = {flatLine(), uprightLine()};
        std::vector<Cross> results(3);
        crossStreetLines(impl, paramsFor(Defs::eAnyPolarity, 50), results);
        EXPECT_TRUE(results.empty());
    }
}

TEST(LineCrossings, RecordWithoutLineListsGivesNoCrossing) {
    std::vector<Cross> results(3);
    crossStreetLines(record(), paramsFor(Defs::eDarkOnLight, 50), results);
    EXPECT_TRUE(results.empty());
}

TEST(LineCrossings, MappingWithoutAnOffsetKeepsEveryBit) {
    const qv_streetFinderImpl impl = record();
    for (int k = 0; k < 100; ++k) {
        const qvLineFinderResults line0 = line(Point(0.1 * k, 90.0 + k), Point(399.7, 100.3));
        const qvLineFinderResults line1 = line(Point(120.0 + 0.3 * k, 0.7), Point(119.0, 299.1));
        std::vector<Cross> results = {scored(line0, 1.0, line1, 2.0, impl)};
        const Cross before = results[0];
        mapResultsToClient(results, impl);
        EXPECT_EQ(results[0].horizontalAngle(), before.horizontalAngle());
        EXPECT_EQ(results[0].verticalAngle(), before.verticalAngle());
        EXPECT_EQ(results[0].crossing(), before.crossing());
        EXPECT_EQ(results[0].lrCorner(), before.lrCorner());
        EXPECT_EQ(results[0].lineSegs(), before.lineSegs());
        EXPECT_EQ(results[0].score(), before.score());
    }
}

TEST(LineCrossings, MappingAddsTheOffsetToEveryPoint) {
    qv_streetFinderImpl impl = record();
    impl.imageOffset = qvPair<long>(10, -20);
    std::vector<Cross> results(2, scored(flatLine(), 0.0, uprightLine(), 0.0, impl));
    Access::ulCorner(results[1]) = Point(1.0, 2.0);
    Access::urCorner(results[1]) = Point(3.0, 4.0);
    Access::llCorner(results[1]) = Point(5.0, 6.0);
    Access::lrCorner(results[1]) = Point(7.0, 8.0);
    mapResultsToClient(results, impl);
    EXPECT_EQ(results[0].crossing(), Point(130.0, 80.0));
    EXPECT_EQ(results[1].ulCorner(), Point(11.0, -18.0));
    EXPECT_EQ(results[1].urCorner(), Point(13.0, -16.0));
    EXPECT_EQ(results[1].llCorner(), Point(15.0, -14.0));
    EXPECT_EQ(results[1].lrCorner(), Point(17.0, -12.0));
    EXPECT_EQ(results[1].lineSegs()[0], qvLineSeg(Point(130.0, 20.0), Point(130.0, 120.0)));
    EXPECT_EQ(results[1].lineSegs()[1], qvLineSeg(Point(60.0, 80.0), Point(260.0, 80.0)));
    EXPECT_NEAR(results[1].verticalAngle().toDouble(), 1.5707963267948966, 1e-15);
    EXPECT_NEAR(results[1].horizontalAngle().toDouble(), 0.0, 1e-15);
}
