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

/// Row 2 is 100 up to column 4; from column 5 on, row 3 is 100 and row 2 is 50.
qvPelBuffer<double> jumpingRidge() {
    Rows rows(7, std::vector<double>(9, 0.0));
    for (std::size_t x = 0; x < 9; ++x) {
        rows[2][x] = x < 5 ? 100.0 : 50.0;
        rows[3][x] = x < 5 ? 0.0 : 100.0;
    }
    return imageOf(rows);
}

qv_ridgeTraceResult tracedWith(const qvPelBuffer_const<double>& image, double threshold, long flags) {
    qv_ridgeTraceParams params = rightwards();
    params.traceThreshold = threshold;
    params.traceFlags = flags;
    return traced(image, params);
}

}  // namespace

TEST(RidgeLowPeaks, LowPeakStopsTheWalkBeforeIt) {
    const auto result = tracedWith(fadingRidge(), 50.0, eStopAtLowPeak);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLowPeak);
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}});
}

TEST(RidgeLowPeaks, PeakAtTheThresholdIsNotLow) {
    const auto image = equalColumns({0, 0, 10, 0, 0}, 9);
    EXPECT_EQ(tracedWith(image, 10.0, eStopAtLowPeak).status, eTraceStarted | eTraceLeftImage);
    EXPECT_EQ(tracedWith(image, 10.001, eStopAtLowPeak).status, eTraceStarted | eTraceLowPeak);
}

TEST(RidgeLowPeaks, LowPeakMayKeepTheCentre) {
    const auto result = tracedWith(fadingRidge(), 50.0, eKeepCentreAtLowPeak);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLowPeak | eTraceLeftImage);
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}, {7.5, 2.5}});
}

TEST(RidgeLowPeaks, LowPeakWithoutAFlagIsFollowed) {
    const auto result = tracedWith(fadingRidge(), 50.0, 0);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLowPeak | eTraceLeftImage);
    ASSERT_EQ(result.points.size(), 6u);
    // 4, 10, 7 across.
    expectPoint(result.points[3], 5.5, 2.5 + 0.5 * 3.0 / (20.0 - 11.0), 1e-6);
}

TEST(RidgeLowPeaks, EdgePeakStopsTheWalkBeforeIt) {
    const auto result = tracedWith(jumpingRidge(), 1.0, eStopAtEdgePeak);
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak);
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}});
}

TEST(RidgeLowPeaks, EdgePeakMayKeepTheCentre) {
    const auto result = tracedWith(jumpingRidge(), 1.0, eKeepCentreAtEdgePeak);
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak | eTraceLeftImage);
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}, {7.5, 2.5}});
}

TEST(RidgeLowPeaks, EdgePeakWithoutAFlagIsTakenWhole) {
    const auto result = tracedWith(jumpingRidge(), 1.0, 0);
    EXPECT_EQ(result.status, eTraceStarted | eTraceEdgePeak | eTraceLeftImage);
    // Then, at row 3.5, 50, 100 and 0 across.
    ASSERT_EQ(result.points.size(), 6u);
    expectPoint(result.points[3], 5.5, 3.5);
    expectPoint(result.points[4], 6.5, 3.5 - 0.5 * 50.0 / 150.0, 1e-6);
}

TEST(RidgeLowPeaks, LowPeakThatStopsIsNotAskedWhetherItIsAtTheEdge) {
    EXPECT_EQ(tracedWith(jumpingRidge(), 100.5, eStopAtLowPeak | eStopAtEdgePeak).status,
              eTraceStarted | eTraceLowPeak);
}

TEST(RidgeLowPeaks, LowPeakAtTheEdgeHasBothBits) {
    // Low everywhere, at the edge from column 5 on.
    const auto stopped = tracedWith(jumpingRidge(), 100.5, eKeepCentreAtLowPeak | eStopAtEdgePeak);
    EXPECT_EQ(stopped.status, eTraceStarted | eTraceLowPeak | eTraceEdgePeak);
    EXPECT_EQ(stopped.points.size(), 3u);
    // Keeping the centre for the one reason is enough.
    const auto kept = tracedWith(jumpingRidge(), 100.5, eKeepCentreAtLowPeak);
    EXPECT_EQ(kept.status, eTraceStarted | eTraceLowPeak | eTraceEdgePeak | eTraceLeftImage);
    expectPoint(kept.points.back(), 7.5, 2.5);
    const auto followed = tracedWith(jumpingRidge(), 100.5, 0);
    expectPoint(followed.points[3], 5.5, 3.5);
}

TEST(RidgeLowPeaks, PeakThatIsNoNumberIsLow) {
    auto image = equalColumns({0, 0, 100, 0, 0}, 9);
    for (long y = 0; y < 5; ++y) image.put(5, y, kNan);
    const auto result = tracedWith(image, 0.0, eStopAtLowPeak);
    EXPECT_EQ(result.status, eTraceStarted | eTraceLowPeak);
    // The samples at 4.5 read column 5 as well.
    expectPoints(result.points, {{2.5, 2.5}, {3.5, 2.5}});
}

TEST(RidgeLowPeaks, WalkThroughPelsThatAreNoNumbersEndsAndHasFinitePoints) {
    for (long hole = 0; hole < 5; ++hole)
        for (const long flags : {0L, 2L, 4L, 8L, 16L, 20L, 30L}) {
            auto image = equalColumns({0, 0, 100, 0, 0}, 9);
            image.put(5, hole, kNan);
            image.put(6, hole, kInfinity);
            for (const qvVector<2>& point : tracedWith(image, 1.0, flags).points) {
                EXPECT_TRUE(std::isfinite(point.x()) && std::isfinite(point.y())) << hole << ' ' << flags;
            }
        }
}
