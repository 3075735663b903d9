#include "qvstreet/candidates/line_merging.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/candidates/literal_lines.h"

namespace {

using Point = qvVector<2>;
using Band = qvPair<double>;

// 10 across and 27 along.
const Band kBand(10.0, 27.0);

std::vector<qv_ridgeLine> merge(std::vector<qv_ridgeLine> merged, const qv_ridgeLine& line, const Band& band = kBand) {
    mergeOrAppendLine(merged, line, band);
    return merged;
}

}  // namespace

TEST(LineMerging, FirstLineIsAppendedWhole) {
    const qv_ridgeLine line = ridgeLine(60.0, 100.0, 120.0, 101.0, 7);
    const std::vector<qv_ridgeLine> merged = merge({}, line);
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].p1, line.p1);
    EXPECT_EQ(merged[0].p2, line.p2);
    EXPECT_EQ(merged[0].lineKey, 7);
    EXPECT_EQ(merged[0].extent, line.extent);
}

TEST(LineMerging, PieceBehindTheEndMovesTheEnd) {
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(0.0, 100.0, 50.0, 100.0)}, ridgeLine(60.0, 100.0, 120.0, 100.0));
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].p1, Point(0.0, 100.0));
    EXPECT_EQ(merged[0].p2, Point(120.0, 100.0));
    EXPECT_EQ(merged[0].startAlong, 0.0);
    EXPECT_EQ(merged[0].endAlong, 120.0);
    EXPECT_EQ(merged[0].extent, 120.0);
}

TEST(LineMerging, PieceBeforeTheStartMovesTheStart) {
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(60.0, 100.0, 120.0, 100.0)}, ridgeLine(5.0, 100.0, 50.0, 100.0));
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].p1, Point(5.0, 100.0));
    EXPECT_EQ(merged[0].p2, Point(120.0, 100.0));
    EXPECT_EQ(merged[0].startAlong, 5.0);
    EXPECT_EQ(merged[0].endAlong, 120.0);
    EXPECT_EQ(merged[0].extent, 115.0);
}

TEST(LineMerging, UprightPiecesRunUpwardsAndTheirExtentIsALength) {
    for (const bool lowerFirst : {false, true}) {
        const qv_ridgeLine upper = ridgeLine(100.0, 4.0, 100.0, 50.0);
        const qv_ridgeLine lower = ridgeLine(100.0, 60.0, 100.0, 120.0);
        ASSERT_EQ(upper.extent, -46.0);
        const std::vector<qv_ridgeLine> merged = lowerFirst ? merge({lower}, upper) : merge({upper}, lower);
        ASSERT_EQ(merged.size(), 1U);
        EXPECT_EQ(merged[0].p1, Point(100.0, 4.0));
        EXPECT_EQ(merged[0].p2, Point(100.0, 120.0));
        EXPECT_EQ(merged[0].startAlong, -4.0);
        EXPECT_EQ(merged[0].endAlong, -120.0);
        EXPECT_EQ(merged[0].extent, 116.0);
    }
}

TEST(LineMerging, MergedLineIsFittedToAllFourEnds) {
    // Heights 100, 100, 102, 102 at x = 0, 50, 60, 110: the fit passes through (55, 101), and its slope m solves
    // tan(2a) = 2 Sxy / (Sxx - Syy) with Sxx = 6100, Sxy = 120, Syy = 4.
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(0.0, 100.0, 50.0, 100.0)}, ridgeLine(60.0, 102.0, 110.0, 102.0));
    ASSERT_EQ(merged.size(), 1U);
    const qvFLine& line = merged[0].line;
    EXPECT_NEAR(line.distanceFrom(Point(55.0, 101.0)), 0.0, 1e-12);
    EXPECT_NEAR(line.angle().toDouble(), 0.5 * std::atan2(240.0, 6096.0), 1e-12);
    // The ends are those of the pieces; their positions are taken on the fitted line.
    EXPECT_EQ(merged[0].p1, Point(0.0, 100.0));
    EXPECT_EQ(merged[0].p2, Point(110.0, 102.0));
    EXPECT_EQ(merged[0].startAlong, line.distanceAlong(Point(0.0, 100.0)));
    EXPECT_EQ(merged[0].endAlong, line.distanceAlong(Point(110.0, 102.0)));
    EXPECT_NEAR(merged[0].extent, 110.018, 1e-3);
}

TEST(LineMerging, KeyQualityAndAngleStay) {
    qv_ridgeLine first = ridgeLine(0.0, 100.0, 50.0, 101.0, 3);
    first.lineQuality = 0.75;
    qv_ridgeLine second = ridgeLine(60.0, 103.0, 110.0, 104.0, 8);
    second.lineQuality = 0.25;
    const std::vector<qv_ridgeLine> merged = merge({first}, second);
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].lineKey, 3);
    EXPECT_EQ(merged[0].lineQuality, 0.75);
    EXPECT_EQ(merged[0].angle, first.angle);
    EXPECT_NE(merged[0].line.angle(), first.angle);
}

TEST(LineMerging, OnEqualLengthsTheNewLineGivesTheStart) {
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(0.0, 100.0, 50.0, 100.0)}, ridgeLine(0.0, 101.0, 50.0, 101.0), Band(10.0, 60.0));
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].p1, Point(0.0, 101.0));
    EXPECT_EQ(merged[0].p2, Point(50.0, 100.0));
}

TEST(LineMerging, LimitAlongIsStrict) {
    const qv_ridgeLine m = ridgeLine(0.0, 100.0, 50.0, 100.0);
    EXPECT_EQ(merge({m}, ridgeLine(76.999, 100.0, 120.0, 100.0)).size(), 1U);
    EXPECT_EQ(merge({m}, ridgeLine(77.0, 100.0, 120.0, 100.0)).size(), 2U);
}

TEST(LineMerging, LimitAcrossIsStrict) {
    const qv_ridgeLine m = ridgeLine(0.0, 100.0, 50.0, 100.0);
    EXPECT_EQ(merge({m}, ridgeLine(60.0, 109.999, 120.0, 109.999)).size(), 1U);
    EXPECT_EQ(merge({m}, ridgeLine(60.0, 110.0, 120.0, 110.0)).size(), 2U);
    EXPECT_EQ(merge({m}, ridgeLine(60.0, 90.0, 120.0, 90.0)).size(), 2U);
}

TEST(LineMerging, NearerEndCountsAcross) {
    // From 4 below the first line to 16 below it.
    EXPECT_EQ(merge({ridgeLine(0.0, 100.0, 50.0, 100.0)}, ridgeLine(60.0, 104.0, 120.0, 116.0)).size(), 1U);
    EXPECT_EQ(merge({ridgeLine(0.0, 100.0, 50.0, 100.0)}, ridgeLine(60.0, 116.0, 120.0, 104.0)).size(), 1U);
}

TEST(LineMerging, ErrorOfTheFitMustBeBelowTheLimitAcross) {
    // A line along x and one along y from near its end: 0 across, 2 along, and no line fits both. The error is 4.53,
    // the root of a quarter of 82.16, the smaller eigenvalue of ((99, 210), (210, 2700)).
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(0.0, 0.0, 10.0, 0.0)}, ridgeLine(12.0, 0.0, 12.0, 60.0), Band(4.5, 27.0));
    EXPECT_EQ(merged.size(), 2U);
    EXPECT_EQ(merge({ridgeLine(0.0, 0.0, 10.0, 0.0)}, ridgeLine(12.0, 0.0, 12.0, 60.0), Band(4.6, 27.0)).size(), 1U);
}

TEST(LineMerging, ErrorOfTheFitEqualToTheLimitIsTooLarge) {
    // The second line goes on where the first ends and falls back: its start is 0.03 from the first one's line, and
    // the line fitted to the two leaves more.
    const qv_ridgeLine m = ridgeLine(0.0, 0.0, 60.0, 2.0);
    const qv_ridgeLine next = ridgeLine(61.0, 2.0, 121.0, 0.0);
    double error = 0.0;
    ASSERT_TRUE(qvLSLineFitter({next.p1, next.p2, m.p1, m.p2}).fitAndError(nullptr, &error));
    ASSERT_LT(std::fabs(m.line.distanceFrom(next.p1)), error);
    EXPECT_EQ(merge({m}, next, Band(error, 27.0)).size(), 2U);
    EXPECT_EQ(merge({m}, next, Band(std::nextafter(error, 9.0), 27.0)).size(), 1U);
}

TEST(LineMerging, FitThatIsTooBadDoesNotEndTheWalk) {
    // The upright line is nearest, 2 from the new one's start, and does not fit; the next one does.
    const qv_ridgeLine upright = ridgeLine(48.0, 60.0, 48.0, 100.0, 0);
    const qv_ridgeLine flat = ridgeLine(0.0, 101.0, 40.0, 101.0, 1);
    const std::vector<qv_ridgeLine> merged =
        merge({upright, flat}, ridgeLine(50.0, 100.0, 110.0, 100.0), Band(3.0, 27.0));
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].p2, upright.p2);
    EXPECT_EQ(merged[0].extent, upright.extent);
    EXPECT_EQ(merged[1].p1, flat.p1);
    EXPECT_EQ(merged[1].p2, Point(110.0, 100.0));
}

TEST(LineMerging, FitThatFailsDoesNotEndTheWalk) {
    // All four ends of the nearest couple are one point, to which no line can be fitted.
    const qv_ridgeLine dot = ridgeLine(50.0, 100.0, 50.0, 100.0, 0);
    const qv_ridgeLine flat = ridgeLine(0.0, 101.0, 40.0, 101.0, 1);
    const std::vector<qv_ridgeLine> merged = merge({dot, flat}, ridgeLine(50.0, 100.0, 50.0, 100.0));
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[1].p2, Point(50.0, 100.0));
    EXPECT_EQ(merge({dot}, dot).size(), 2U);
}

TEST(LineMerging, NearestOfSeveralIsExtended) {
    const qv_ridgeLine far = ridgeLine(0.0, 100.0, 40.0, 100.0, 0);
    const qv_ridgeLine near = ridgeLine(0.0, 101.0, 45.0, 101.0, 1);
    const std::vector<qv_ridgeLine> merged = merge({far, near}, ridgeLine(50.0, 100.0, 110.0, 100.0));
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].p2, far.p2);
    EXPECT_EQ(merged[1].p2, Point(110.0, 100.0));
}

TEST(LineMerging, FirstOfTwoEquallyNearIsExtended) {
    const qv_ridgeLine above = ridgeLine(0.0, 99.0, 45.0, 99.0, 0);
    const qv_ridgeLine below = ridgeLine(0.0, 101.0, 45.0, 101.0, 1);
    const std::vector<qv_ridgeLine> merged = merge({above, below}, ridgeLine(50.0, 100.0, 110.0, 100.0));
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].p2, Point(110.0, 100.0));
    EXPECT_EQ(merged[1].p2, below.p2);
}

TEST(LineMerging, PositionsAlongAreTakenWithoutTheirSign) {
    // 20 apart on either side of the origin: both ends are 10 from it.
    const std::vector<qv_ridgeLine> merged =
        merge({ridgeLine(-60.0, 0.0, -10.0, 0.0)}, ridgeLine(10.0, 0.0, 50.0, 0.0), Band(18.0, 15.0));
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged[0].p2, Point(50.0, 0.0));
    EXPECT_EQ(merge({ridgeLine(40.0, 0.0, 90.0, 0.0)}, ridgeLine(110.0, 0.0, 150.0, 0.0), Band(18.0, 15.0)).size(), 2U);
}

TEST(LineMerging, WalkEndsBeyondTheReachOfTheBand) {
    // The same gap of 20, whose square is 400 = 16 * 16 + 12 * 12.
    const qv_ridgeLine m = ridgeLine(-60.0, 0.0, -10.0, 0.0);
    const qv_ridgeLine line = ridgeLine(10.0, 0.0, 50.0, 0.0);
    EXPECT_EQ(merge({m}, line, Band(16.0, 12.0)).size(), 1U);
    EXPECT_EQ(merge({m}, line, Band(16.0, 11.999)).size(), 2U);
}

TEST(LineMerging, LineThatIsNotANumberStaysAlone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const qv_ridgeLine m = ridgeLine(0.0, 100.0, 50.0, 100.0);
    const qv_ridgeLine lost = ridgeLine(nan, 100.0, 120.0, 100.0);
    EXPECT_EQ(merge({m}, lost).size(), 2U);
    const std::vector<qv_ridgeLine> merged = merge({lost, m}, ridgeLine(60.0, 100.0, 120.0, 100.0));
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[1].p2, Point(120.0, 100.0));
}

TEST(LineMerging, RunMergesItsLinesInOrder) {
    const std::vector<qv_ridgeLine> lines = flatLines({{900.0, 0.0, 950.0, 0.0},
                                                       {0.0, 100.0, 50.0, 100.0},
                                                       {0.0, 200.0, 50.0, 200.0},
                                                       {60.0, 100.0, 120.0, 100.0},
                                                       {140.0, 100.0, 200.0, 100.0},
                                                       {960.0, 0.0, 990.0, 0.0}});
    std::vector<qv_ridgeLine> merged;
    mergeLineRun(merged, lines, 1, 4, kBand);
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].p1, Point(0.0, 100.0));
    EXPECT_EQ(merged[0].p2, Point(200.0, 100.0));
    EXPECT_EQ(merged[0].lineKey, 1);
    EXPECT_EQ(merged[1].p1, Point(0.0, 200.0));
    EXPECT_EQ(merged[1].lineKey, 2);
}

TEST(LineMerging, RunOfNoLinesAddsNothing) {
    std::vector<qv_ridgeLine> merged;
    mergeLineRun(merged, flatLines({{0.0, 0.0, 9.0, 0.0}}), 1, 0, kBand);
    EXPECT_TRUE(merged.empty());
}
