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

/// Row 2 of seven is 100 in columns `first` to `last`, 1 beyond.
qvPelBuffer<double> ridgeOfColumns(long width, long first, long last) {
    qvPelBuffer<double> image = filled(width, 7, 0.0);
    for (long x = 0; x < width; ++x) image.put(x, 2, x >= first && x <= last ? 100.0 : 1.0);
    return image;
}

std::vector<qv_ridgeLine> tracedBothWays(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params) {
    std::vector<qv_ridgeLine> lines;
    traceBothWays(image, params, maskFor(image), 1, lines);
    return lines;
}

}  // namespace

TEST(TraceBothWays, LineRunsFromTheBackwardEndToTheForwardOne) {
    qv_ridgeTraceParams params = rightwards(5.5, 2.5);
    params.traceThreshold = 50.0;
    const auto lines = tracedBothWays(ridgeOfColumns(20, 3, 9), params);
    ASSERT_EQ(lines.size(), 1u);
    // Backward from 5.5 to 3.5, forward to 9.5; the start once.
    expectPoints(lines[0].points, {{3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}, {7.5, 2.5}, {8.5, 2.5}, {9.5, 2.5}},
                 1e-6);
    EXPECT_EQ(lines[0].points[2], qvVector<2>(5.5, 2.5));
    EXPECT_EQ(lines[0].angle, qvRadian(0.0));
    EXPECT_EQ(lines[0].lineKey, -1);
}

TEST(TraceBothWays, LineKeepsTheAngleAndRunsAlongIt) {
    const qvVector<2> middle(20.0, 31.0);
    const auto image = ridgeAlong(40, 60, middle, 70.0);
    for (const double degrees : {70.0, -110.0}) {
        qv_ridgeTraceParams params = rightwards(middle.x(), middle.y());
        params.traceAngle = qvDegree(degrees);
        params.searchVector = qvVector<2>(1.0, qvDegree(degrees + 90.0));
        params.traceThreshold = 100.0;
        const auto lines = tracedBothWays(image, params);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].angle, qvRadian(qvDegree(degrees)));
        const qvVector<2> along = lines[0].points.back() - lines[0].points.front();
        EXPECT_NEAR(std::cos(along.angle().toDouble() - lines[0].angle.toDouble()), 1.0, 1e-5);
        EXPECT_GT(along.len(), 50.0);
    }
}

TEST(TraceBothWays, SixPointsMakeALine) {
    qv_ridgeTraceParams params = rightwards(5.5, 2.5);
    params.traceThreshold = 50.0;
    // Two points backward, the start among them, and three forward.
    EXPECT_TRUE(tracedBothWays(ridgeOfColumns(20, 4, 7), params).empty());
    // Four forward: six in all, and as the start counts twice, a line of five.
    const auto lines = tracedBothWays(ridgeOfColumns(20, 4, 8), params);
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0].points, {{4.5, 2.5}, {5.5, 2.5}, {6.5, 2.5}, {7.5, 2.5}, {8.5, 2.5}}, 1e-6);
}

TEST(TraceBothWays, RidgeOnOneSideOnlyIsALine) {
    qv_ridgeTraceParams params = rightwards(5.5, 2.5);
    params.traceThreshold = 50.0;
    const auto forward = tracedBothWays(ridgeOfColumns(20, 5, 9), params);
    ASSERT_EQ(forward.size(), 1u);
    expectPoints(forward[0].points, {{5.5, 2.5}, {6.5, 2.5}, {7.5, 2.5}, {8.5, 2.5}, {9.5, 2.5}});
    const auto backward = tracedBothWays(ridgeOfColumns(20, 1, 5), params);
    ASSERT_EQ(backward.size(), 1u);
    expectPoints(backward[0].points, {{1.5, 2.5}, {2.5, 2.5}, {3.5, 2.5}, {4.5, 2.5}, {5.5, 2.5}}, 1e-6);
}

TEST(TraceBothWays, RefusedStartMakesNoLine) {
    EXPECT_TRUE(tracedBothWays(filled(30, 30, 100.0), rightwards(15.0, 1.5)).empty());
}

TEST(TraceBothWays, LineIsAppended) {
    qv_ridgeTraceParams params = rightwards(5.5, 2.5);
    params.traceThreshold = 50.0;
    const auto image = ridgeOfColumns(20, 3, 9);
    std::vector<qv_ridgeLine> lines(2);
    lines[0].angle = qvRadian(0.25);
    traceBothWays(image, params, maskFor(image), 1, lines);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].angle, qvRadian(0.25));
    EXPECT_EQ(lines[2].points.size(), 7u);
}

TEST(TraceBothWays, BothWalksMarkAlsoWhenNoLineIsKept) {
    qv_ridgeTraceParams params = rightwards(5.5, 2.5);
    params.traceThreshold = 50.0;
    const auto image = ridgeOfColumns(20, 5, 6);
    const qv_traceMask mask = maskFor(image);
    std::vector<qv_ridgeLine> lines;
    traceBothWays(image, params, mask, 9, lines);
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(mask.get(4, 2), 9);
    EXPECT_EQ(mask.get(5, 2), 0);
    EXPECT_EQ(mask.get(6, 2), 9);
    EXPECT_EQ(mask.get(7, 2), 9);
    EXPECT_EQ(markedPels(mask, 9).size(), 9u);
}

TEST(TraceBothWays, BackwardWalkSearchesOneUnitWhateverTheForwardOneDoes) {
    // At 1.9 the forward search, 2 pels up and down, does not fit; the backward one of 1 pel does. The start, which
    // only the forward walk would have given, is missing then.
    auto image = filled(20, 7, 0.0);
    for (long x = 0; x < 20; ++x) image.put(x, 1, 100.0);
    qv_ridgeTraceParams params = rightwards(9.5, 1.9);
    params.searchVector = qvVector<2>(0.0, 2.0);
    params.traceFlags = eKeepCentreAtLowPeak;
    params.traceThreshold = 1000.0;
    const auto lines = tracedBothWays(image, params);
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0].points,
                 {{1.5, 1.9}, {2.5, 1.9}, {3.5, 1.9}, {4.5, 1.9}, {5.5, 1.9}, {6.5, 1.9}, {7.5, 1.9}, {8.5, 1.9}});
}
