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

}  // namespace

TEST(RidgeTrace, ParamsDefaults) {
    const qv_ridgeTraceParams params;
    EXPECT_EQ(params.peakSense, 1);
    EXPECT_EQ(params.traceThreshold, 1.0);
    EXPECT_EQ(params.traceFlags, 10);
    EXPECT_EQ(params.traceAngle, qvRadian(0.0));
    EXPECT_EQ(params.searchVector, qvVector<2>(0.0, 1.0));
    EXPECT_EQ(params.searchHalfSteps, 10);
    EXPECT_EQ(params.maxSteps, 2147483647);
    EXPECT_EQ(params.guideLine.pos(), qvVector<2>(0.0, 0.0));
    EXPECT_NEAR(params.guideLine.dir().x(), 0.0, 1e-15);
    EXPECT_EQ(params.guideLine.dir().y(), 1.0);
    EXPECT_EQ(params.stepLength, 1.0);
    EXPECT_EQ(params.startPoint, qvVector<2>(0.0, 0.0));
    const qv_ridgeTraceResult result;
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.points.empty());
}

TEST(RidgeTrace, BitsOfFlagsAndStatus) {
    EXPECT_EQ(eStopAtLowPeak, 2);
    EXPECT_EQ(eKeepCentreAtLowPeak, 4);
    EXPECT_EQ(eStopAtEdgePeak, 8);
    EXPECT_EQ(eKeepCentreAtEdgePeak, 16);
    EXPECT_EQ(eTraceStarted, 1);
    EXPECT_EQ(eTraceLeftImage, 8);
    EXPECT_EQ(eTraceLowPeak, 16);
    EXPECT_EQ(eTraceEdgePeak, 32);
}

// ---- one walk ----

TEST(RidgeTrace, WalkEndsWhereTheImageEnds) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    const auto result = traced(image, rightwards());
    EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
    // At 7.5 the limit of 7.4 is passed.
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}});
}

TEST(RidgeTrace, StartStaysAsItWasGiven) {
    const auto image = equalColumns({0, 0, 100, 50, 0}, 6);
    const auto result = traced(image, rightwards(2.5, 2.3));
    ASSERT_GE(result.points.size(), 2u);
    expectPoint(result.points[0], 2.5, 2.3);
    // At 2.3: nothing a pel above, 80 at the centre, 60 below.
    expectPoint(result.points[1], 3.5, 2.3 + 0.5 * 60.0 / (160.0 - 60.0), 1e-6);
}

TEST(RidgeTrace, RefusedStartLeavesNothing) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    qv_ridgeTraceResult result;
    const auto expectRefused = [&](const qv_ridgeTraceParams& params) {
        result.status = 57;
        result.points.assign(3, qvVector<2>());
        const qv_traceMask mask = maskFor(image);
        traceRidge(image, params, mask, 1, result);
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.points.empty());
        EXPECT_TRUE(markedPels(mask, 1).empty());
    };
    expectRefused(rightwards(2.5, 1.5));   // above the limit of 1.6
    expectRefused(rightwards(0.5, 2.5));   // left of the limit of 0.6
    expectRefused(rightwards(kNan, 2.5));  //
    qv_ridgeTraceParams params = rightwards();
    params.maxSteps = 0;
    expectRefused(params);
    params = rightwards();
    params.guideLine = qvLine(qvDegree(0.0), qvVector<2>(0.0, 2.5));
    expectRefused(params);
}

TEST(RidgeTrace, StartThatCannotStepIsStillALineOfOnePoint) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    const auto result = traced(image, rightwards(7.0, 2.5));
    EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
    expectPoints(result.points, {{7.0, 2.5}});
}

TEST(RidgeTrace, NumberOfStepsIsNoLimitUnlessZero) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    qv_ridgeTraceParams params = rightwards();
    params.maxSteps = 1;
    EXPECT_EQ(traced(image, params).points.size(), 5u);
}

TEST(RidgeTrace, GuideLineMattersAtTheStartOnly) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    qv_ridgeTraceParams params = rightwards();
    params.guideLine = qvLine(qvDegree(90.0), qvVector<2>(4.5, 0.0));
    EXPECT_EQ(traced(image, params).points.size(), 5u);
}

TEST(RidgeTrace, EachStepGoesFromTheCorrectedPoint) {
    // A ridge that descends by one row every second column; the walk itself goes level.
    Rows rows(9, std::vector<double>(12, 0.0));
    for (std::size_t x = 0; x < 12; ++x) {
        rows[1 + x / 2][x] = 60.0;
        rows[2 + x / 2][x] = 100.0;
        rows[3 + x / 2][x] = 60.0;
    }
    const auto result = traced(imageOf(rows), rightwards(1.5, 2.5));
    // A peak a row further down is at the edge of the cross-section, taken whole.
    expectPoints(result.points, {{1.5, 2.5},
                                 {2.5, 3.5},
                                 {3.5, 3.5},
                                 {4.5, 4.5},
                                 {5.5, 4.5},
                                 {6.5, 5.5},
                                 {7.5, 5.5},
                                 {8.5, 6.5},
                                 {9.5, 6.5},
                                 {10.5, 7.5}});
    // From row 7.5 on the cross-section leaves the image at the bottom.
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak | eTraceLeftImage);
}

TEST(RidgeTrace, StepLengthIsInClientUnits) {
    auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    qv_ridgeTraceParams params = rightwards();
    params.stepLength = 2.5;
    expectPoints(traced(image, params).points, {{2.5, 2.5}, {5.0, 2.5}});

    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 2.0), qvVector<2>(30.0, 10.0)));
    params = rightwards(31.25, 15.0);
    params.searchVector = qvVector<2>(0.0, 2.0);
    // A client unit is two pels here: pels 2.5, 4.5 and 6.5.
    expectPoints(traced(image, params).points, {{31.25, 15.0}, {32.25, 15.0}, {33.25, 15.0}});
}

// ---- directions and frames ----

TEST(RidgeTrace, FollowsRidgesOfEveryDirectionToTheBorder) {
    const qvVector<2> middle(40.2, 19.7);
    for (const double degrees : {0.0, 7.0, 30.0, 45.0, 90.0, 118.0, 180.0, 203.0, 270.0, -35.0}) {
        SCOPED_TRACE(degrees);
        const auto image = ridgeAlong(80, 40, middle, degrees);
        qv_ridgeTraceParams params = rightwards(middle.x(), middle.y());
        params.traceAngle = qvDegree(degrees);
        params.searchVector = qvVector<2>(1.0, qvDegree(degrees + 90.0));
        params.traceThreshold = 100.0;
        const auto result = traced(image, params);
        EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
        const qvLine ridge(qvDegree(degrees), middle);
        for (std::size_t i = 0; i < result.points.size(); ++i) {
            EXPECT_LT(std::fabs(ridge.distToPoint(result.points[i])), 0.06);
            EXPECT_NEAR((result.points[i] - middle) * ridge.dir(), static_cast<double>(i), 1e-9);
        }
        // Another step would come nearer to the border than 2 pels.
        const qvVector<2> beyond = result.points.back() + ridge.dir();
        const double toBorder =
            std::min(std::min(beyond.x(), 80.0 - beyond.x()), std::min(beyond.y(), 40.0 - beyond.y()));
        EXPECT_LT(toBorder, 1.7);
    }
}

TEST(RidgeTrace, FollowsARidgeThatRunsAslantToTheWalk) {
    // 20 degrees off: each step is brought back by 0.36 pels.
    const qvVector<2> middle(12.0, 10.0);
    const auto image = ridgeAlong(80, 40, middle, 20.0);
    qv_ridgeTraceParams params = rightwards(middle.x(), middle.y());
    params.traceThreshold = 100.0;
    const auto result = traced(image, params);
    EXPECT_EQ(result.points.size(), 68u);
    const qvLine ridge(qvDegree(20.0), middle);
    for (std::size_t i = 5; i < result.points.size(); ++i)
        EXPECT_LT(std::fabs(ridge.distToPoint(result.points[i])), 0.15) << i;
}

TEST(RidgeTrace, WalksInAnAnisotropicClientFrame) {
    const qvVector<2> middle(30.3, 17.6);
    auto image = ridgeAlong(70, 36, middle, 25.0);
    const qvXform<2> clientFromImage(qvMatrix<2>(2.0, 0.3, -0.1, 0.7), qvVector<2>(500.0, -90.0));
    image.clientFromImageXform(clientFromImage);
    const qvVector<2> direction(1.0, qvDegree(25.0));
    const qvVector<2> clientStep = clientFromImage.mapVector(direction);

    qv_ridgeTraceParams params;
    params.traceFlags = eStopAtLowPeak;
    params.traceThreshold = 100.0;
    params.searchHalfSteps = 1;
    params.traceAngle = clientStep.angle();
    params.stepLength = clientStep.len();
    params.searchVector = clientFromImage.mapVector(qvVector<2>(1.0, qvDegree(115.0)));
    params.startPoint = clientFromImage * middle;
    const auto result = traced(image, params);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
    // From y = 17.6 down to 34.49 in steps of 0.4226.
    ASSERT_EQ(result.points.size(), 40u);
    const qvLine ridge(qvDegree(25.0), middle);
    for (std::size_t i = 0; i < result.points.size(); ++i) {
        const qvVector<2> pel = clientFromImage.inverse() * result.points[i];
        EXPECT_LT(std::fabs(ridge.distToPoint(pel)), 0.06) << i;
        EXPECT_NEAR((pel - middle) * direction, static_cast<double>(i), 1e-9) << i;
    }
}

TEST(RidgeTrace, OblongOffsetWindowIsWalkedInImageCoordinates) {
    auto whole = filled(40, 30, 0.0);
    for (long x = 0; x < 40; ++x) whole.put(x, 12, 100.0);
    whole.offset(-100, 1000);
    ASSERT_TRUE(whole.window(-90, 1008, 9, 8, false));
    const auto result = traced(whole, rightwards(-85.5, 1012.5));
    EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
    expectPoints(result.points, {{-85.5, 1012.5}, {-84.5, 1012.5}, {-83.5, 1012.5}, {-82.5, 1012.5}});
}

// ---- a walk always ends ----

TEST(RidgeTrace, WalkWithoutHeadwayIsRefused) {
    const auto image = filled(20, 20, 5.0);
    qv_ridgeTraceParams params = rightwards(9.5, 9.5);
    const auto expectRefused = [&] {
        const auto result = traced(image, params);
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.points.empty());
    };
    // Uniform: each step to the right is taken back by the re-centring on the first sample.
    params.searchVector = qvVector<2>(1.0, 0.0);
    expectRefused();
    params = rightwards(9.5, 9.5);
    params.stepLength = 0.0009;
    expectRefused();
    params.stepLength = 1e-300;
    expectRefused();
    params = rightwards(9.5, 9.5);
    params.traceAngle = qvRadian(kNan);
    expectRefused();
    params = rightwards(9.5, 9.5);
    params.searchVector = qvVector<2>(0.0, kNan);
    expectRefused();
}

TEST(RidgeTrace, SmallestHeadwayLeavesTheImage) {
    const auto image = filled(5, 5, 5.0);
    qv_ridgeTraceParams params = rightwards(2.5, 2.5);
    params.searchVector = qvVector<2>(0.0, 0.5);
    params.traceFlags = eKeepCentreAtEdgePeak;
    params.stepLength = 0.0011;
    const auto result = traced(image, params);
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak | eTraceLeftImage);
    // From 2.5 to 4.4.
    EXPECT_EQ(result.points.size(), 1728u);
}

TEST(RidgeTrace, WalkWithoutACrossSectionRunsStraight) {
    const auto image = filled(8, 5, 5.0);
    qv_ridgeTraceParams params = rightwards();
    params.searchVector = qvVector<2>();
    const auto result = traced(image, params);
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak | eTraceLeftImage);
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}});
}

TEST(RidgeTrace, EndlessStepLeavesTheImageAtOnce) {
    qv_ridgeTraceParams params = rightwards(2.5, 2.5);
    params.stepLength = 1e300;
    const auto result = traced(filled(8, 5, 5.0), params);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLeftImage);
    EXPECT_EQ(result.points.size(), 1u);
}

TEST(RidgeTrace, ImagesTooSmallForACrossSectionHaveNoTrace) {
    for (const auto& [width, height] : std::vector<std::pair<long, long>>{{1, 1}, {2, 5000}, {40000, 3}}) {
        qv_ridgeTraceParams params =
            rightwards(static_cast<double>(width) / 2.0 + 0.01, static_cast<double>(height) / 2.0);
        params.searchVector = qvVector<2>(1.0, 1.0);
        EXPECT_TRUE(traced(filled(width, height, 9.0), params).points.empty());
    }
    EXPECT_TRUE(traced(qvPelBuffer_const<double>(qf_newPels<double>(0, 0)), rightwards()).points.empty());
}

TEST(RidgeTrace, LongImageIsWalkedToItsEnd) {
    const auto image = filled(40000, 4, 9.0);
    qv_ridgeTraceParams params = rightwards(0.75, 2.0);
    params.traceFlags = eKeepCentreAtEdgePeak;
    const auto result = traced(image, params);
    // To 39998.75, short of 39999.4.
    EXPECT_EQ(result.points.size(), 39999u);
    EXPECT_EQ(result.points.back(), qvVector<2>(39998.75, 2.0));
}

// ---- marks ----

TEST(RidgeTrace, MarksThePelsThatItSamples) {
    const auto image = equalColumns({0, 0, 100, 0, 0, 0}, 6);
    const qv_traceMask mask = maskFor(image);
    qv_ridgeTraceResult result;
    traceRidge(image, rightwards(2.5, 2.5), mask, 7, result);
    // Columns 3 and 4 at the steps to 3.5 and 4.5; nothing at the start.
    EXPECT_EQ(markedPels(mask, 7),
              (std::vector<std::pair<long, long>>{{3, 1}, {4, 1}, {3, 2}, {4, 2}, {3, 3}, {4, 3}}));
}

TEST(RidgeTrace, MarksTheUpperLeftOfTheFourPelsBetweenWhichItSamples) {
    const auto image = equalColumns({0, 0, 100, 100, 0, 0, 0}, 6);
    const qv_traceMask mask = maskFor(image);
    qv_ridgeTraceResult result;
    // Steps to x = 3.25 and 4.25, half a pel less 2.75 and 3.75; y = 2.9, less half a pel 1.4, 2.4, 3.4.
    qv_ridgeTraceParams params = rightwards(2.25, 2.9);
    params.traceThreshold = 1000.0;
    params.traceFlags = eKeepCentreAtLowPeak;
    traceRidge(image, params, mask, 65535, result);
    EXPECT_EQ(markedPels(mask, 65535), (std::vector<std::pair<long, long>>{
                                           {2, 1}, {3, 1}, {4, 1}, {2, 2}, {3, 2}, {4, 2}, {2, 3}, {3, 3}, {4, 3}}));
    EXPECT_EQ(result.points.size(), 4u);
}

TEST(RidgeTrace, TheLowPeakThatStopsItIsMarked) {
    const auto image = fadingRidge();
    const qv_traceMask mask = maskFor(image);
    qv_ridgeTraceParams params = rightwards();
    params.traceThreshold = 50.0;
    qv_ridgeTraceResult result;
    traceRidge(image, params, mask, 3, result);
    EXPECT_EQ(result.points.size(), 3u);
    EXPECT_EQ(markedPels(mask, 3).size(), 9u);
    EXPECT_EQ(mask.get(5, 1), 3);
    EXPECT_EQ(mask.get(6, 2), 0);
}

TEST(RidgeTrace, MaskThatIsTooSmallIsNotWrittenBeyondItsEnd) {
    const auto image = equalColumns({0, 0, 100, 0, 0}, 8);
    const qv_traceMask whole = maskFor(image);
    qv_traceMask mask = whole;
    ASSERT_TRUE(mask.window(0, 0, 5, 3, false));
    qv_ridgeTraceResult result;
    traceRidge(image, rightwards(), mask, 1, result);
    EXPECT_EQ(result.points.size(), 5u);
    EXPECT_EQ(markedPels(whole, 1), (std::vector<std::pair<long, long>>{{3, 1}, {4, 1}, {3, 2}, {4, 2}}));
}
