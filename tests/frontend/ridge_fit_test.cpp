#include <gtest/gtest.h>

#include <vector>

#include "qvstreet/frontend/ridge_scan.h"
#include "qvstreet/platform/pel_ops.h"

// From chains of points to straight lines.

namespace {

qvPelBuffer<double> imageOf(const std::vector<std::vector<double>>& rows) {
    qvPelBuffer<double> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    return image;
}

/// A chain of `count` points down from (x, 1.5), in steps of `step`.
qv_ridgeLine chain(double x, std::size_t count, double angle, const qvVector<2>& step = qvVector<2>(0.0, 1.0)) {
    qv_ridgeLine line;
    line.angle = qvDegree(angle);
    for (std::size_t i = 0; i < count; ++i) line.points.push_back(qvVector<2>(x, 1.5) + step * static_cast<double>(i));
    return line;
}

qvPelBuffer<double> constantImage(double value) {
    qvPelBuffer<double> image(40, 40, 32);
    qfPelSet(image, value);
    return image;
}

qv_lineFinderRun fitRun(const qvXform<2>& imageFromSample = qvXform<2>(), long flags = 0) {
    qv_lineFinderRun run;
    run.imageFromSample = imageFromSample;
    run.runFlags = flags;
    return run;
}

constexpr double kDegrees = 180.0 / qvPi;

}  // namespace

TEST(RidgeFit, FivePointsGiveNoLineAndSixDo) {
    std::vector<qv_ridgeLine> lines = {chain(3.5, 5, -90.0), chain(8.5, 6, -90.0)};
    std::vector<long> counts = {2};
    fitRidgeLines(lines, counts, fitRun(), {constantImage(0.0)});
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(counts[0], 1);
    EXPECT_EQ(lines[0].lineKey, 0);
    EXPECT_NEAR(lines[0].p1.x(), 8.5, 1e-12);
}

TEST(RidgeFit, DirectionComesFromTheAngleAndPositionFromTheMeanPoint) {
    // Points that lean by 1 in 10; the line stays upright through their mean x, 10.25.
    std::vector<qv_ridgeLine> lines = {chain(10.0, 6, -90.0, qvVector<2>(0.1, 1.0))};
    lines[0].lineQuality = 5.0;
    std::vector<long> counts = {1};
    fitRidgeLines(lines, counts, fitRun(), {constantImage(0.0)});
    ASSERT_EQ(lines.size(), 1u);
    const qv_ridgeLine& line = lines[0];
    EXPECT_NEAR(line.line.angle().toDouble() * kDegrees, -90.0, 1e-9);
    EXPECT_NEAR(line.p1.x(), 10.25, 1e-12);
    EXPECT_NEAR(line.p1.y(), 1.5, 1e-12);
    EXPECT_NEAR(line.p2.x(), 10.25, 1e-12);
    EXPECT_NEAR(line.p2.y(), 6.5, 1e-12);
    EXPECT_EQ(line.lineQuality, 0.0);
}

TEST(RidgeFit, LineThatRunsAgainstItsPointsHasANegativeExtent) {
    // The points go down, the folded line up.
    std::vector<qv_ridgeLine> lines = {chain(10.0, 8, 90.0)};
    std::vector<long> counts = {1};
    fitRidgeLines(lines, counts, fitRun(), {constantImage(0.0)});
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NEAR(lines[0].line.angle().toDouble() * kDegrees, -90.0, 1e-9);
    EXPECT_NEAR(lines[0].startAlong, -1.5, 1e-12);
    EXPECT_NEAR(lines[0].endAlong, -8.5, 1e-12);
    EXPECT_NEAR(lines[0].extent, -7.0, 1e-12);
    EXPECT_NEAR(lines[0].angle.toDouble() * kDegrees, 90.0, 1e-12);  // the angle itself is not folded
}

TEST(RidgeFit, LineIsFoldedInTheSampleFrameAndThenMappedByTheStretch) {
    // 100 degrees folds to -80, direction (0.17365, -0.98481); stretched by (2, 0.5) it runs at atan2(-0.49240,
    // 0.34730).
    const qvXform<2> stretch(qvMatrix<2>(2.0, 0.0, 0.0, 0.5), qvVector<2>(2.5, 7.0));
    const qvVector<2> along(-0.17364817766693041, 0.98480775301220802);
    std::vector<qv_ridgeLine> lines = {chain(20.0, 7, 100.0, along)};
    std::vector<long> counts = {1};
    fitRidgeLines(lines, counts, fitRun(stretch), {constantImage(0.0)});
    ASSERT_EQ(lines.size(), 1u);
    const qv_ridgeLine& line = lines[0];
    EXPECT_NEAR(line.line.angle().toDouble() * kDegrees, -54.8042, 1e-3);
    // The points lie on the line, so the ends are the mapped points: (20, 1.5) and (18.958, 7.409).
    EXPECT_NEAR(line.p1.x(), 42.5, 1e-9);
    EXPECT_NEAR(line.p1.y(), 7.75, 1e-9);
    EXPECT_NEAR(line.p2.x(), 40.41622186799683, 1e-9);
    EXPECT_NEAR(line.p2.y(), 10.70442325903662, 1e-9);
    EXPECT_NEAR(line.line.distanceFrom(line.p1), 0.0, 1e-9);
    EXPECT_NEAR(line.line.distanceFrom(line.p2), 0.0, 1e-9);
    // Lengths in image pels: sqrt(2.08378^2 + 2.95442^2), against the line's direction.
    EXPECT_NEAR(line.extent, -3.615349, 1e-6);
    EXPECT_NEAR(line.endAlong - line.startAlong, line.extent, 1e-15);
    EXPECT_NEAR(line.startAlong, line.line.distanceAlong(line.p1), 1e-12);
}

TEST(RidgeFit, MirroredFrameKeepsTheRunningDirection) {
    const qvXform<2> mirror(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), qvVector<2>(0.0, 100.0));
    std::vector<qv_ridgeLine> lines = {chain(20.0, 6, -90.0)};
    std::vector<long> counts = {1};
    fitRidgeLines(lines, counts, fitRun(mirror), {constantImage(0.0)});
    EXPECT_NEAR(lines.at(0).line.angle().toDouble() * kDegrees, 90.0, 1e-9);
    EXPECT_NEAR(lines.at(0).p1.y(), 98.5, 1e-12);
    EXPECT_NEAR(lines.at(0).extent, -5.0, 1e-12);
}

TEST(RidgeFit, AllCountsAreRewrittenAlsoToZeroAndKeysNumberTheKeptLines) {
    std::vector<qv_ridgeLine> lines = {chain(3.0, 6, -90.0), chain(4.0, 5, -90.0), chain(5.0, 2, -90.0),
                                       chain(6.0, 5, -90.0), chain(7.0, 1, -90.0), chain(8.0, 9, -90.0)};
    std::vector<long> counts = {2, 3, 1, 0};
    const qvPelBuffer<double> votes = constantImage(0.0);
    fitRidgeLines(lines, counts, fitRun(), {votes, votes, votes, votes});
    EXPECT_EQ(counts, (std::vector<long>{1, 0, 1, 0}));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].lineKey, 0);
    EXPECT_EQ(lines[1].lineKey, 1);
    EXPECT_NEAR(lines[1].p1.x(), 8.0, 1e-12);
}

TEST(RidgeFit, PolarityIsVotedOnTheImageOfTheLinesOwnDirection) {
    std::vector<qv_ridgeLine> lines = {chain(3.0, 4, -90.0), chain(4.0, 6, -90.0), chain(5.0, 6, -90.0)};
    std::vector<long> counts = {2, 1};
    fitRidgeLines(lines, counts, fitRun(), {constantImage(-1.0), constantImage(0.25)});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_FALSE(lines[0].polarity);
    EXPECT_TRUE(lines[1].polarity);
}

TEST(RidgeFit, EqualVotesGiveFalseAndZeroVotesNegative) {
    // Rows 0 to 4 hold the first value, row 4 on the second; the points stand at the centres of rows 1 to 6.
    const auto polarityWith = [](double upper, double lower, long firstLowerRow) {
        qvPelBuffer<double> votes(20, 20, 32);
        for (long y = 0; y < 20; ++y)
            for (long x = 0; x < 20; ++x) votes.put(x, y, y < firstLowerRow ? upper : lower);
        std::vector<qv_ridgeLine> lines = {chain(10.5, 6, -90.0)};
        std::vector<long> counts = {1};
        fitRidgeLines(lines, counts, fitRun(), {votes});
        return lines.at(0).polarity;
    };
    EXPECT_FALSE(polarityWith(1.0, -1.0, 4));  // 3 to 3
    EXPECT_TRUE(polarityWith(1.0, -1.0, 5));   // 4 to 2
    EXPECT_FALSE(polarityWith(1.0, -1.0, 3));  // 2 to 4
    EXPECT_FALSE(polarityWith(1.0, 0.0, 4));   // 0 is not above 0
    EXPECT_TRUE(polarityWith(1.0, 0.0, 5));
    EXPECT_FALSE(polarityWith(0.0, 0.0, 5));
}

TEST(RidgeFit, PointsAreKeptInTheSampleFrameOnlyWhenAskedFor) {
    const qvXform<2> stretch(qvMatrix<2>(2.0, 0.0, 0.0, 0.5), qvVector<2>(2.5, 7.0));
    const qvPelBuffer<double> votes = constantImage(0.0);
    std::vector<qv_ridgeLine> lines = {chain(3.0, 2, -90.0), chain(20.0, 6, -90.0)};
    std::vector<long> counts = {2};
    fitRidgeLines(lines, counts, fitRun(stretch, eRunKeepPoints), {votes});
    ASSERT_EQ(lines.size(), 1u);
    ASSERT_EQ(lines[0].points.size(), 6u);
    EXPECT_EQ(lines[0].points[5], qvVector<2>(20.0, 6.5));

    std::vector<qv_ridgeLine> inPlace = {chain(20.0, 6, -90.0)};
    counts = {1};
    fitRidgeLines(inPlace, counts, fitRun(stretch), {votes});
    EXPECT_TRUE(inPlace.at(0).points.empty());

    std::vector<qv_ridgeLine> moved = {chain(3.0, 2, -90.0), chain(20.0, 6, -90.0)};
    counts = {2};
    fitRidgeLines(moved, counts, fitRun(stretch), {votes});
    EXPECT_TRUE(moved.at(0).points.empty());
}

TEST(RidgeFit, NothingToFit) {
    std::vector<qv_ridgeLine> lines;
    std::vector<long> counts = {0, 0};
    const qvPelBuffer<double> votes = constantImage(0.0);
    fitRidgeLines(lines, counts, fitRun(), {votes, votes});
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(counts, (std::vector<long>{0, 0}));
}

// ---- interpolation ----

TEST(RidgeFit, BilinearDoubleInterpolatesBetweenPelCentres) {
    const qvPelBuffer<double> image = imageOf({{10, 20, 40}, {50, 80, -100}});
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(0.5, 0.5)), 10.0);
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(1.25, 0.5)), 17.5);
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(1.0, 1.0)), 40.0);    // (10 + 20 + 50 + 80) / 4
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(2.25, 0.75)), 12.5);  // rows 35 and -55, a quarter of the way down
}

TEST(RidgeFit, BilinearDoubleRepeatsTheBorder) {
    const qvPelBuffer<double> image = imageOf({{10, 20, 40}, {50, 80, -100}});
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(0.0, 0.0)), 10.0);
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(3.0, 2.0)), -100.0);
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(1.0, -5.0)), 15.0);
    EXPECT_EQ(bilinearDouble(image, qvVector<2>(90.0, 1.0)), -30.0);
}

TEST(RidgeFit, BilinearDoubleWorksInSinglePrecision) {
    // 2^24 + 1 has no single; the coordinate 0.1 loses its last digits.
    EXPECT_EQ(bilinearDouble(imageOf({{16777217.0}}), qvVector<2>(0.5, 0.5)), 16777216.0);
    const qvPelBuffer<double> step = imageOf({{0.0, 1.0}});
    EXPECT_EQ(bilinearDouble(step, qvVector<2>(0.6, 0.5)), static_cast<double>(0.6f - 0.5f));
    EXPECT_NE(bilinearDouble(step, qvVector<2>(0.6, 0.5)), 0.6 - 0.5);
}
