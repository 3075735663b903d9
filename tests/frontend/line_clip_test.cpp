#include <gtest/gtest.h>

#include <limits>

#include "qvstreet/frontend/line_finder.h"

// Clipping of a line's ends to the image.

namespace {

struct Clipped {
    bool returned;
    qvVector<2> p1;
    qvVector<2> p2;
};

/// Clips the line between two points to 101 by 51 pels.
Clipped clip(double x1, double y1, double x2, double y2, long maxX = 100, long maxY = 50) {
    qv_ridgeLine line;
    line.p1 = qvVector<2>(x1, y1);
    line.p2 = qvVector<2>(x2, y2);
    Clipped clipped{false, qvVector<2>(-7.0, -7.0), qvVector<2>(-7.0, -7.0)};
    clipped.returned = clipSegmentToImage(maxX, maxY, line, clipped.p1, clipped.p2);
    return clipped;
}

void expectClipped(const Clipped& clipped, bool returned, double x1, double y1, double x2, double y2) {
    EXPECT_EQ(clipped.returned, returned);
    EXPECT_NEAR(clipped.p1.x(), x1, 1e-9);
    EXPECT_NEAR(clipped.p1.y(), y1, 1e-9);
    EXPECT_NEAR(clipped.p2.x(), x2, 1e-9);
    EXPECT_NEAR(clipped.p2.y(), y2, 1e-9);
}

}  // namespace

TEST(LineClip, SegmentInsideStaysAsItIs) { expectClipped(clip(10.0, 20.0, 99.5, 49.0), true, 10.0, 20.0, 99.5, 49.0); }

TEST(LineClip, FirstEndBeyondTheLeftBorderIsMovedAThousandthInside) {
    expectClipped(clip(-10.0, 20.0, 40.0, 45.0), true, 0.001, 25.0005, 40.0, 45.0);
}

TEST(LineClip, SecondEndBeyondTheRightBorderIsMovedAndTheOrderKept) {
    expectClipped(clip(50.0, 20.0, 150.0, 40.0), true, 50.0, 20.0, 99.999, 29.9998);
}

TEST(LineClip, EndsBeyondTopAndBottom) {
    expectClipped(clip(20.0, -10.0, 45.0, 40.0), true, 25.0005, 0.001, 45.0, 40.0);
    expectClipped(clip(20.0, 10.0, 60.0, 90.0), true, 20.0, 10.0, 39.9995, 49.999);
}

TEST(LineClip, EndBeyondACornerIsMovedTwice) {
    // First to x = 0.001 at y = -14.9985, then along the same line to y = 0.001.
    expectClipped(clip(-10.0, -30.0, 40.0, 45.0), true, 10.0 + 0.002 / 3.0, 0.001, 40.0, 45.0);
    expectClipped(clip(60.0, 20.0, 140.0, 100.0), true, 60.0, 20.0, 89.999, 49.999);
}

TEST(LineClip, LargestCoordinatesAreInsideAndZeroIsOutside) {
    expectClipped(clip(100.0, 50.0, 30.0, 20.0), true, 100.0, 50.0, 30.0, 20.0);
    // An end at exactly 0 is outside, but nothing moves it.
    expectClipped(clip(0.0, 20.0, 30.0, 40.0), true, 0.0, 20.0, 30.0, 40.0);
    // With the other end outside, too, both stay where they are.
    expectClipped(clip(0.0, 20.0, 150.0, 40.0), true, 0.0, 20.0, 150.0, 40.0);
    // An end at the largest coordinate is inside, so the other one is moved.
    expectClipped(clip(100.0, 20.0, -100.0, 40.0), true, 100.0, 20.0, 0.001, 29.9999);
    expectClipped(clip(30.0, 50.0, 40.0, -50.0), true, 30.0, 50.0, 34.9999, 0.001);
}

TEST(LineClip, SegmentWithBothEndsOutsideThatCrossesTheImageKeepsThem) {
    expectClipped(clip(-10.0, 20.0, 150.0, 30.0), true, -10.0, 20.0, 150.0, 30.0);
    expectClipped(clip(20.0, -5.0, 70.0, 51.0), true, 20.0, -5.0, 70.0, 51.0);
}

TEST(LineClip, SegmentBeyondOneBorderBecomesAPointAtZero) {
    expectClipped(clip(-10.0, 20.0, -1.0, 30.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(20.0, -10.0, 30.0, -1.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(101.0, 20.0, 130.0, 30.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(20.0, 60.0, 30.0, 51.0), false, 0.0, 0.0, 0.0, 0.0);
}

TEST(LineClip, SegmentOnABorderIsBeyondIt) {
    expectClipped(clip(0.0, 20.0, 0.0, 30.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(20.0, 0.0, 30.0, 0.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(100.0, 20.0, 100.0, 30.0), false, 0.0, 0.0, 0.0, 0.0);
    expectClipped(clip(20.0, 50.0, 30.0, 50.0), false, 0.0, 0.0, 0.0, 0.0);
}

TEST(LineClip, EndThatCannotBeMovedInsideNearACornerIsClamped) {
    // On x + y = 0.0007 the point at x = 0.001 lies above the image and the one at y = 0.001 left of it: to and fro.
    expectClipped(clip(-1.0, 1.0007, 0.0005, 0.0002), true, 0.0, 0.001, 0.0005, 0.0002);
    expectClipped(clip(0.0005, 0.0002, -1.0, 1.0007), true, 0.0005, 0.0002, 0.0, 0.001);
}

TEST(LineClip, NanEndsDoNotHang) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Clipped clipped = clip(nan, nan, 40.0, 30.0);
    EXPECT_TRUE(clipped.returned);
    EXPECT_EQ(clipped.p2, qvVector<2>(40.0, 30.0));
    EXPECT_TRUE(clip(-5.0, nan, 40.0, 30.0).returned);
}

TEST(LineClip, ImageOfOnePelHasNoInside) {
    EXPECT_FALSE(clip(0.2, 0.3, 0.7, 0.8, 0, 0).returned);
    EXPECT_FALSE(clip(-3.0, 2.0, 5.0, 0.8, 0, 0).returned);
}
