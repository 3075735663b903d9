#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "qvstreet/frontend/ridge_trace.h"
#include "tests/frontend/ridge_images.h"

namespace {

using namespace qvtest;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The cross-section of an upright ridge: one pel to the left and right.
qv_ridgeTraceParams acrossColumns(double reach = 1.0, long halfSteps = 1) {
    qv_ridgeTraceParams params;
    params.traceAngle = qvDegree(90.0);
    params.searchVector = qvVector<2>(reach, 0.0);
    params.searchHalfSteps = halfSteps;
    return params;
}

void expectStill(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params, double x, double y) {
    EXPECT_EQ(refineCrossSection(image, params, qvVector<2>(x, y)), qvVector<2>(x, y)) << x << ' ' << y;
}

}  // namespace

// ---- one cross-section ----

TEST(RidgeCrossSection, ParabolaThroughThePeakAndItsNeighbours) {
    // 40, 100, 80: 0.5 * (80 - 40) / (200 - 120).
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(3.5, 2.25)), 3.75, 2.25);
}

TEST(RidgeCrossSection, SamplesAreInterpolatedBetweenPelCentres) {
    // At x = 2, 3 and 4 the means of two columns each: 20, 70, 90; the last is the edge.
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(3.0, 2.5)), 4.0, 2.5);
    // At x = 2.75, 3.75, 4.75: 40 + 0.25 * 60 = 55, 95, 60.
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(3.75, 2.5)), 3.75 + 0.5 * 5.0 / (190.0 - 115.0),
                2.5);
}

TEST(RidgeCrossSection, SamplesAreInterpolatedInBothAxes) {
    // At (3.25, 2.75) between rows 2 and 3, a quarter of the way, and columns 2 and 3, three quarters.
    qvPelBuffer<double> image = filled(7, 6, 0.0);
    image.put(2, 2, 16.0);
    image.put(3, 2, 32.0);
    image.put(2, 3, 48.0);
    image.put(3, 3, 64.0);
    image.put(4, 2, 0.0);
    // Row 2: 28 there, 3/4 * 16 = 12 a pel to the left, 1/4 * 32 = 8 to the right; row 3: 60, 36, 16.
    // Together 36, 18, 10.
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(3.25, 2.75)),
                3.25 + 0.5 * (10.0 - 18.0) / (72.0 - 28.0), 2.75);
}

TEST(RidgeCrossSection, InterpolatesInSinglePrecision) {
    // The two pels differ by one in 2^24, which a float can't hold: the first of equal samples is the peak.
    const auto image = equalRows({0, 0, 16777216, 16777217, 0, 0, 0}, 5);
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(3.5, 2.5)), 2.5, 2.5);
}

TEST(RidgeCrossSection, FirstOfTheStrongestSamplesIsThePeak) {
    expectPoint(refineCrossSection(equalRows({0, 0, 50, 100, 100, 0, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)),
                4.0, 2.5);
    expectPoint(refineCrossSection(equalRows({0, 0, 100, 100, 50, 0, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)),
                2.5, 2.5);
}

TEST(RidgeCrossSection, EdgePeakIsTakenWithoutTheParabola) {
    expectPoint(refineCrossSection(equalRows({0, 0, 90, 60, 50, 0, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)), 2.5,
                2.5);
    expectPoint(refineCrossSection(equalRows({0, 0, 50, 60, 90, 0, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)), 4.5,
                2.5);
    // Of a uniform cross-section the first sample is the peak.
    expectPoint(refineCrossSection(filled(7, 5, 3.0), acrossColumns(), qvVector<2>(3.5, 2.5)), 2.5, 2.5);
}

TEST(RidgeCrossSection, MoreSamplesReachFurther) {
    // Five samples from x = 1.5 to 5.5: 10, 20, 30, 90, 50; the peak has index 3.
    const auto image = equalRows({0, 10, 20, 30, 90, 50, 0}, 5);
    expectPoint(refineCrossSection(image, acrossColumns(2.0, 2), qvVector<2>(3.5, 2.5)),
                4.5 + 0.5 * (50.0 - 30.0) / (180.0 - 80.0), 2.5);
    // Five samples half a pel apart, from 2.5 to 4.5: 20, 25, 30, 60, 90.
    expectPoint(refineCrossSection(image, acrossColumns(1.0, 2), qvVector<2>(3.5, 2.5)), 4.5, 2.5);
}

TEST(RidgeCrossSection, SearchVectorMayPointTheOtherWay) {
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    expectPoint(refineCrossSection(image, acrossColumns(-1.0), qvVector<2>(3.5, 2.5)), 3.75, 2.5);
    // And then the other one of two equal samples comes first.
    expectPoint(
        refineCrossSection(equalRows({0, 0, 100, 100, 50, 0, 0}, 5), acrossColumns(-1.0), qvVector<2>(3.5, 2.5)), 3.0,
        2.5);
}

TEST(RidgeCrossSection, PointsOutsideTheLimitsStay) {
    // The limits are 1.6 and 5.4 in x, 0.6 and 3.4 in y.
    const auto image = equalRows({9, 8, 7, 6, 5, 4, 3}, 4);
    const qv_ridgeTraceParams params = acrossColumns();
    for (const double inside : {1.601, 5.399})
        expectPoint(refineCrossSection(image, params, {inside, 2.0}), inside - 1, 2);
    for (const double outside : {1.599, 5.401, -3.0, 1e9, -kInfinity, kInfinity})
        expectStill(image, params, outside, 2);
    for (const double inside : {0.601, 3.399}) expectPoint(refineCrossSection(image, params, {3.0, inside}), 2, inside);
    for (const double outside : {0.599, 3.401, -1e9, 1e300}) expectStill(image, params, 3, outside);
    // A limit itself is inside.
    expectPoint(refineCrossSection(image, params, {0.5 + 1.0 + 0.1, 0.5 + 0.1}), 0.6, 0.6);
    expectPoint(refineCrossSection(image, params, {7.0 - 0.5 - 1.0 - 0.1, 4.0 - 0.5 - 0.1}), 4.4, 3.4);
}

TEST(RidgeCrossSection, LimitsFollowBothComponentsOfTheSearchVector) {
    const auto image = filled(9, 8, 1.0);
    qv_ridgeTraceParams params = acrossColumns();
    params.searchVector = qvVector<2>(-0.5, 1.5);
    expectStill(image, params, 1.099, 4.0);
    expectPoint(refineCrossSection(image, params, {1.101, 4.0}), 1.601, 2.5);
    expectStill(image, params, 7.901, 4.0);
    expectPoint(refineCrossSection(image, params, {7.899, 4.0}), 8.399, 2.5);
    expectStill(image, params, 4.0, 2.099);
    expectPoint(refineCrossSection(image, params, {4.0, 2.101}), 4.5, 0.601);
    expectStill(image, params, 4.0, 5.901);
}

TEST(RidgeCrossSection, PointThatIsNoNumberStays) {
    const qvVector<2> refined = refineCrossSection(filled(9, 8, 1.0), acrossColumns(), qvVector<2>(kNan, 4.0));
    EXPECT_TRUE(std::isnan(refined.x()));
    EXPECT_EQ(refined.y(), 4.0);
}

TEST(RidgeCrossSection, NoStepsAllowedMeansNoMove) {
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    qv_ridgeTraceParams params = acrossColumns();
    params.maxSteps = 0;
    expectStill(image, params, 3.5, 2.5);
    params.maxSteps = 1;
    expectPoint(refineCrossSection(image, params, qvVector<2>(3.5, 2.5)), 3.75, 2.5);
}

TEST(RidgeCrossSection, PointsOnTheGuideLineStay) {
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    qv_ridgeTraceParams params = acrossColumns();
    params.guideLine = qvLine(qvDegree(90.0), qvVector<2>(3.5, -20.0));
    for (const double x : {3.5, 3.5009, 3.4991}) expectStill(image, params, x, 2.5);
    for (const double x : {3.5011, 3.4989}) EXPECT_NE(refineCrossSection(image, params, {x, 2.5}).x(), x);
}

TEST(RidgeCrossSection, GuideLineIsMappedIntoTheImage) {
    // The default line, client x = 0, is column 3.5 of this image.
    auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), qvVector<2>(-7.0, 0.0)));
    expectStill(image, acrossColumns(2.0), 0.0, 5.0);
    // Distances from it are in pels: 0.001 of one is 0.002 here.
    expectStill(image, acrossColumns(2.0), 0.0018, 5.0);
    EXPECT_NE(refineCrossSection(image, acrossColumns(2.0), {0.0022, 5.0}).x(), 0.0022);
}

TEST(RidgeCrossSection, CrossSectionRunsInTheClientFrame) {
    auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 0.5), qvVector<2>(10.0, -3.0)));
    // Client (17, -2) is pel (3.5, 2); client (2, 0) one pel to the right.
    expectPoint(refineCrossSection(image, acrossColumns(2.0), qvVector<2>(17.0, -2.0)), 17.5, -2.0);
}

TEST(RidgeCrossSection, OffsetMovesThePelsInTheClientFrame) {
    auto image = equalRows({0, 0, 40, 100, 80, 0, 0}, 5);
    image.offset(200, -50);
    expectPoint(refineCrossSection(image, acrossColumns(), qvVector<2>(203.5, -47.5)), 203.75, -47.5);
    expectStill(image, acrossColumns(), 3.5, 2.5);
}

TEST(RidgeCrossSection, NeighbourThatIsNoNumberLeavesThePeakInItsPlace) {
    // Samples 40, 100 and none: the last one reads column 5 as well.
    expectPoint(refineCrossSection(equalRows({0, 0, 40, 100, 80, kNan, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)),
                3.5, 2.5);
}

TEST(RidgeCrossSection, FirstSampleThatIsNoNumberIsExceededByNone) {
    expectPoint(refineCrossSection(equalRows({0, 0, kNan, 100, 80, 0, 0}, 5), acrossColumns(), qvVector<2>(3.5, 2.5)),
                2.5, 2.5);
}

TEST(RidgeCrossSection, ParamsOutOfRangeAreABrokenPromise) {
    const auto image = filled(9, 8, 1.0);
    const auto refuses = [&](const qv_ridgeTraceParams& params) {
        EXPECT_THROW(refineCrossSection(image, params, qvVector<2>(4.0, 4.0)), qvInvariantFailure);
        EXPECT_THROW(traced(image, params), qvInvariantFailure);
    };
    qv_ridgeTraceParams params = acrossColumns();
    params.traceThreshold = -1e-9;
    refuses(params);
    params.traceThreshold = kNan;
    refuses(params);
    params = acrossColumns();
    params.searchHalfSteps = 0;
    refuses(params);
    params = acrossColumns();
    params.maxSteps = -1;
    refuses(params);
    params = acrossColumns();
    params.stepLength = 0.0;
    refuses(params);
    params.stepLength = kNan;
    refuses(params);
    params = acrossColumns();
    params.traceThreshold = 0.0;
    params.stepLength = 1e-9;
    EXPECT_NO_THROW(refineCrossSection(image, params, qvVector<2>(4.0, 4.0)));
}

TEST(RidgeCrossSection, FlatClientFrameIsSingular) {
    auto image = filled(9, 8, 1.0);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 0.0, 1.0, 0.0), qvVector<2>()));
    EXPECT_THROW(refineCrossSection(image, acrossColumns(), qvVector<2>(4.0, 4.0)), qvMatrixErr::Singular);
}

// ---- seeds ----

TEST(RidgeCrossSection, SeedClimbsToTheRidge) {
    // Three rounds of a pel each, then parabolas between the two strong columns.
    const auto image = equalRows({0, 0, 40, 100, 80, 0, 0, 0, 0}, 5);
    const qvVector<2> seed = refineSeedPoint(image, acrossColumns(), qvVector<2>(6.5, 2.5));
    // At rest where a pel to the left, 40 + 60 t, is as strong as one to the right, 80 - 80 t.
    EXPECT_NEAR(seed.x(), 3.5 + 2.0 / 7.0, 1e-4);
    EXPECT_EQ(seed.y(), 2.5);
}

TEST(RidgeCrossSection, SeedRestsWhenARoundHardlyMovesIt) {
    const auto image = ridgeAlong(20, 10, qvVector<2>(7.3, 5.0), 90.0);
    qvVector<2> expected(9.1, 5.0);
    int rounds = 0;
    for (double move = 1.0; move >= 1e-5; ++rounds) {
        const qvVector<2> next = refineCrossSection(image, acrossColumns(), expected);
        move = next.distance(expected);
        expected = next;
    }
    ASSERT_LT(rounds, 10);
    ASSERT_NE(refineCrossSection(image, acrossColumns(), expected), expected);
    // The last point computed, not the one before the round that hardly moved.
    EXPECT_EQ(refineSeedPoint(image, acrossColumns(), qvVector<2>(9.1, 5.0)), expected);
    EXPECT_NEAR(expected.x(), 7.3, 0.05);
}

TEST(RidgeCrossSection, SeedMovesTenTimesAtMost) {
    std::vector<double> ramp;
    for (int x = 0; x < 30; ++x) ramp.push_back(x);
    expectPoint(refineSeedPoint(equalRows(ramp, 5), acrossColumns(), qvVector<2>(3.5, 2.5)), 13.5, 2.5);
}

TEST(RidgeCrossSection, SeedStopsAtTheLimits) {
    std::vector<double> ramp;
    for (int x = 0; x < 9; ++x) ramp.push_back(x);
    // From 7.5 the cross-section would end beyond the image.
    expectPoint(refineSeedPoint(equalRows(ramp, 5), acrossColumns(), qvVector<2>(3.5, 2.5)), 7.5, 2.5);
}
