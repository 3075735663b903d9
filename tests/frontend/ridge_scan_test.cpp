#include "qvstreet/frontend/ridge_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Rows = std::vector<std::vector<double>>;
using Points = std::vector<std::pair<double, double>>;

qvPelBuffer<double> imageOf(const Rows& rows) {
    qvPelBuffer<double> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    return image;
}

Rows transposed(const Rows& rows) {
    Rows result(rows.front().size(), std::vector<double>(rows.size()));
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (std::size_t x = 0; x < rows[y].size(); ++x) result[x][y] = rows[y][x];
    return result;
}

/// An image of `width` columns with one ridge down column `x`, row by row.
Rows columnRidge(std::size_t width, std::size_t x, const std::vector<double>& values) {
    Rows rows;
    for (const double value : values) {
        rows.emplace_back(width, 0.0);
        rows.back()[x] = value;
    }
    return rows;
}

qv_ridgeScanParams paramsFor(double lineAngle, double acrossAngle) {
    qv_ridgeScanParams params;
    params.highThreshold = 50.0;
    params.lowThreshold = 20.0;
    params.thresholdRatio = 0.5;
    params.lineAngle = qvDegree(lineAngle);
    params.acrossAngle = qvDegree(acrossAngle);
    return params;
}

/// Upright lines; the neighbour behind is the left one, the neighbour ahead the right one.
const qv_ridgeScanParams kUpright = paramsFor(-90.0, 0.0);
/// Flat lines; behind is above, ahead is below.
const qv_ridgeScanParams kFlat = paramsFor(0.0, 90.0);

std::vector<qv_ridgeLine> scan(const qvPelBuffer_const<double>& image, const qv_ridgeScanParams& params) {
    std::vector<qv_ridgeLine> lines;
    scanRidges(image, params, lines);
    return lines;
}
std::vector<qv_ridgeLine> scan(const Rows& rows, const qv_ridgeScanParams& params) {
    return scan(imageOf(rows), params);
}

void expectPoints(const qv_ridgeLine& line, const Points& expected) {
    ASSERT_EQ(line.points.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(line.points[i].x(), expected[i].first, 1e-12) << i;
        EXPECT_NEAR(line.points[i].y(), expected[i].second, 1e-12) << i;
    }
}

qv_ridgeScanParams withSubPixel(qv_ridgeScanParams params) {
    params.subPixel = true;
    return params;
}

qv_ridgeScanParams peakRelative(double ratio) {
    qv_ridgeScanParams params = kUpright;
    params.peakRelativeMode = 1;
    params.thresholdRatio = ratio;
    return params;
}

/// Rows of the points of a chain down a column.
std::vector<double> rowsOf(const qv_ridgeLine& line) {
    std::vector<double> rows;
    for (const qvVector<2>& point : line.points) rows.push_back(point.y() - 0.5);
    return rows;
}

}  // namespace

// ---- the scan's two orientations ----

TEST(RidgeScan, UprightRidgeIsFollowedDownTheRows) {
    const auto lines = scan(columnRidge(5, 3, {90, 90, 80, 70, 60, 90, 90}), kUpright);
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{3.5, 1.5}, {3.5, 2.5}, {3.5, 3.5}, {3.5, 4.5}, {3.5, 5.5}});
}

TEST(RidgeScan, FlatRidgeIsFollowedAlongTheColumns) {
    const auto lines = scan(transposed(columnRidge(5, 3, {90, 90, 80, 70, 60, 90, 90})), kFlat);
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{1.5, 3.5}, {2.5, 3.5}, {3.5, 3.5}, {4.5, 3.5}, {5.5, 3.5}});
}

TEST(RidgeScan, FlatRidgeAt180DegreesIsTransposedToo) {
    const auto lines = scan(transposed(columnRidge(5, 1, {90, 90, 80, 90, 90})), paramsFor(-178.0, -88.0));
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{1.5, 1.5}, {2.5, 1.5}, {3.5, 1.5}});
}

TEST(RidgeScan, DiagonalRidgeIsComparedWithItsDiagonalNeighbours) {
    // Lines down to the right: of eight neighbours that stand higher, only the two across the line count.
    const auto centreIsRidge = [](std::size_t column, std::size_t row) {
        Rows rows(5, std::vector<double>(6, 0.0));
        rows[2][2] = 90.0;
        rows[row][column] = 95.0;
        for (const qv_ridgeLine& line : scan(rows, paramsFor(44.0, 134.0)))
            for (const qvVector<2>& point : line.points)
                if (point == qvVector<2>(2.5, 2.5)) return true;
        return false;
    };
    EXPECT_FALSE(centreIsRidge(3, 1));
    EXPECT_FALSE(centreIsRidge(1, 3));
    EXPECT_TRUE(centreIsRidge(1, 1));
    EXPECT_TRUE(centreIsRidge(3, 3));
    EXPECT_TRUE(centreIsRidge(2, 1));
    EXPECT_TRUE(centreIsRidge(2, 3));
    EXPECT_TRUE(centreIsRidge(1, 2));
    EXPECT_TRUE(centreIsRidge(3, 2));
}

TEST(RidgeScan, AnAngleOfExactly45DegreesIsTransposed) {
    // On the ridge 100, ahead of it (left and below) 80, behind 40: a quarter of a step. Only the transposed scan
    // shifts to the wrong side, away from the stronger neighbour.
    const Rows rows = {{0, 0, 40, 0, 0, 0},  //
                       {0, 100, 0, 40, 0, 0},
                       {80, 0, 100, 0, 40, 0},
                       {0, 80, 0, 100, 0, 0},
                       {0, 0, 80, 0, 0, 0}};
    const double shift = 0.25 * std::sqrt(0.5);
    const auto at45 = scan(rows, withSubPixel(paramsFor(45.0, 135.0)));
    ASSERT_EQ(at45.size(), 1u);
    expectPoints(at45[0], {{1.5 + shift, 1.5 - shift}, {2.5 + shift, 2.5 - shift}, {3.5 + shift, 3.5 - shift}});
    const auto steeper = scan(rows, withSubPixel(paramsFor(45.001, 135.001)));
    ASSERT_EQ(steeper.size(), 1u);
    ASSERT_EQ(steeper[0].points.size(), 3u);
    EXPECT_NEAR(steeper[0].points[1].x(), 2.5 - shift, 1e-5);
    EXPECT_NEAR(steeper[0].points[1].y(), 2.5 + shift, 1e-5);
}

TEST(RidgeScan, AnAngleOf135DegreesIsTransposedAndNegativeAnglesCountByMagnitude) {
    const Rows flat = transposed(columnRidge(5, 2, {90, 90, 80, 90, 90}));
    const Rows upright = columnRidge(5, 2, {90, 90, 80, 90, 90});
    EXPECT_EQ(scan(flat, paramsFor(-20.0, 70.0)).size(), 1u);
    EXPECT_EQ(scan(flat, paramsFor(160.0, 250.0)).size(), 1u);
    EXPECT_EQ(scan(upright, paramsFor(-70.0, 20.0)).size(), 1u);
    EXPECT_EQ(scan(upright, paramsFor(110.0, 200.0)).size(), 1u);
}

TEST(RidgeScan, RowUpdateOfAWindowIsHonoured) {
    qvPelBuffer<double> large(11, 12, 32);
    qfPelSet(large, 1e6);
    const Rows upright = columnRidge(5, 3, {90, 90, 80, 70, 60, 90, 90});
    qvPelBuffer<double> window = large;
    window.window(4, 3, 5, 7, false);
    for (long y = 0; y < 7; ++y)
        for (long x = 0; x < 5; ++x)
            window.put(x, y, upright[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    const auto lines = scan(window, kUpright);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].points.size(), 5u);
    EXPECT_EQ(lines[0].points[0], qvVector<2>(3.5, 1.5));
}

// ---- which pels are on a ridge ----

TEST(RidgeScan, OfTwoEqualPelsTheOneFurtherAlongTheAcrossDirectionIsTheMaximum) {
    const Rows rows(4, {0, 0, 90, 90, 0, 0, 0});
    const auto rightward = scan(rows, paramsFor(-90.0, 0.0));
    ASSERT_EQ(rightward.size(), 1u);
    expectPoints(rightward[0], {{3.5, 1.5}, {3.5, 2.5}});
    const auto leftward = scan(rows, paramsFor(90.0, 180.0));
    ASSERT_EQ(leftward.size(), 1u);
    expectPoints(leftward[0], {{2.5, 1.5}, {2.5, 2.5}});
}

TEST(RidgeScan, PlateauOfThreePelsHasItsMaximumAtItsEnd) {
    const auto lines = scan(Rows(3, {0, 90, 90, 90, 0, 0}), kUpright);
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{3.5, 1.5}});
}

TEST(RidgeScan, SlopesAndFlatGroundAreNoRidge) {
    EXPECT_TRUE(scan(Rows(5, {60, 70, 80, 90, 100, 110}), kUpright).empty());
    EXPECT_TRUE(scan(Rows(5, {110, 100, 90, 80, 70, 60}), kUpright).empty());
    EXPECT_TRUE(scan(Rows(5, {90, 90, 90, 90, 90, 90}), kUpright).empty());
}

TEST(RidgeScan, BorderPelsAreNeverOnARidge) {
    EXPECT_TRUE(scan(Rows(5, {90, 0, 0, 0, 90}), kUpright).empty());
    EXPECT_TRUE(scan(columnRidge(5, 2, {90, 0, 0, 0, 90}), kUpright).empty());
}

// ---- thresholds and chains ----

TEST(RidgeScan, NoPelAboveTheHighThresholdGivesNoLine) {
    EXPECT_TRUE(scan(columnRidge(5, 2, {0, 49, 50, 49, 30, 50, 0}), kUpright).empty());
}

TEST(RidgeScan, ChainStartsAtTheFirstPelAboveTheHighThresholdAndFollowsDownToTheLowOne) {
    const auto lines = scan(columnRidge(5, 2, {0, 30, 40, 50, 50.5, 30, 20.5, 25, 0}), kUpright);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{4, 5, 6, 7}));
}

TEST(RidgeScan, PelOfExactlyTheLowThresholdEndsTheChain) {
    const auto lines = scan(columnRidge(5, 2, {0, 60, 20.5, 20, 60, 30, 0}), kUpright);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{1, 2}));
    EXPECT_EQ(rowsOf(lines[1]), (std::vector<double>{4, 5}));
}

TEST(RidgeScan, LabelsDoNotOutliveARowWithoutRidge) {
    const auto lines = scan(columnRidge(5, 2, {0, 60, 0, 30, 40, 0}), kUpright);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{1}));
}

TEST(RidgeScan, ChainContinuesInTheSameColumnOrOneBesideIt) {
    const Rows rows = {{0, 0, 0, 0, 0, 0, 0},  //
                       {0, 0, 0, 60, 0, 0, 0}, {0, 0, 30, 0, 0, 0, 0}, {0, 0, 0, 30, 0, 0, 0}, {0, 0, 0, 30, 0, 0, 0},
                       {0, 0, 0, 0, 30, 0, 0}, {0, 0, 60, 0, 0, 0, 0},  // two columns away: another chain
                       {0, 0, 0, 0, 0, 0, 0}};
    const auto lines = scan(rows, kUpright);
    ASSERT_EQ(lines.size(), 2u);
    expectPoints(lines[0], {{3.5, 1.5}, {2.5, 2.5}, {3.5, 3.5}, {3.5, 4.5}, {4.5, 5.5}});
    expectPoints(lines[1], {{2.5, 6.5}});
}

TEST(RidgeScan, LaterColumnOverwritesTheLabelOfTheOneBeforeIt) {
    const Rows rows = {{0, 0, 0, 0, 0, 0, 0},  //
                       {0, 0, 60, 0, 70, 0, 0},
                       {0, 0, 0, 80, 0, 0, 0},
                       {0, 0, 0, 0, 0, 0, 0}};
    const auto lines = scan(rows, kUpright);
    ASSERT_EQ(lines.size(), 2u);
    expectPoints(lines[0], {{2.5, 1.5}});
    expectPoints(lines[1], {{4.5, 1.5}, {3.5, 2.5}});
}

TEST(RidgeScan, EachPelContinuesWhicheverLabelItFinds) {
    // Both ridges move right by one: the first one's pel finds the second chain's label.
    const Rows rows = {{0, 0, 0, 0, 0, 0, 0},  //
                       {0, 0, 60, 0, 70, 0, 0},
                       {0, 0, 0, 30, 0, 40, 0},
                       {0, 0, 0, 0, 0, 0, 0}};
    const auto lines = scan(rows, kUpright);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].points.size(), 1u);
    expectPoints(lines[1], {{4.5, 1.5}, {3.5, 2.5}, {5.5, 2.5}});
}

TEST(RidgeScan, TwoRidgesSideBySideStayApart) {
    const auto lines = scan(Rows(6, {0, 0, 60, 0, 70, 0, 0}), kUpright);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].points.size(), 4u);
    EXPECT_EQ(lines[0].points[3], qvVector<2>(2.5, 4.5));
    EXPECT_EQ(lines[1].points[3], qvVector<2>(4.5, 4.5));
}

TEST(RidgeScan, StaleLabelsInTheOuterColumnsAreFollowedByNobody) {
    // Chains in columns 1 and 4 of 6 put labels into columns 0 and 5, which are never cleared.
    const Rows rows = {{0, 0, 0, 0, 0, 0},    //
                       {0, 60, 0, 0, 70, 0},  //
                       {0, 0, 0, 0, 0, 0},    //
                       {0, 30, 0, 0, 30, 0},  // too weak to start
                       {0, 40, 0, 0, 40, 0},  //
                       {0, 0, 0, 0, 0, 0}};
    const auto lines = scan(rows, kUpright);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].points.size(), 1u);
    EXPECT_EQ(lines[1].points.size(), 1u);
}

TEST(RidgeScan, RidgeThatLeavesAtTheSideIsNotTakenUpAtTheOtherSide) {
    const Rows rows = {{0, 0, 0, 0, 0},                     //
                       {0, 0, 0, 60, 0}, {0, 0, 0, 0, 60},  // in the border column
                       {0, 0, 0, 30, 0}, {0, 30, 0, 0, 0}, {0, 0, 0, 0, 0}};
    const auto lines = scan(rows, kUpright);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].points.size(), 1u);
}

TEST(RidgeScan, ImageOfThreeRowsGivesChainsOfOnePoint) {
    const auto lines = scan(Rows(3, {0, 60, 0, 70, 0, 0, 80, 0}), kUpright);
    ASSERT_EQ(lines.size(), 3u);
    for (const qv_ridgeLine& line : lines) EXPECT_EQ(line.points.size(), 1u);
}

TEST(RidgeScan, ImagesWithoutInteriorGiveNothing) {
    for (const auto& params : {kUpright, kFlat}) {
        EXPECT_TRUE(scan(Rows(1, {90}), params).empty());
        EXPECT_TRUE(scan(Rows(2, {90, 0, 90, 0, 90}), params).empty());
        EXPECT_TRUE(scan(Rows(6, {0, 90}), params).empty());
        EXPECT_TRUE(scan(Rows(1, {0, 90, 0, 90, 0}), params).empty());
    }
    EXPECT_EQ(scan(Rows{{0, 0, 0}, {0, 90, 0}, {0, 0, 0}}, kUpright).size(), 1u);
    EXPECT_EQ(scan(Rows{{0, 0, 0}, {0, 90, 0}, {0, 0, 0}}, kFlat).size(), 1u);
}

TEST(RidgeScan, LinesAreAppendedInTheOrderInWhichTheyStart) {
    const Rows rows = {{0, 0, 0, 0, 0, 0, 0, 0},  //
                       {0, 0, 0, 0, 0, 0, 60, 0},
                       {0, 60, 0, 70, 0, 0, 30, 0},
                       {0, 0, 0, 0, 0, 0, 0, 0}};
    std::vector<qv_ridgeLine> lines(2);
    lines[1].lineKey = 77;
    scanRidges(imageOf(rows), kUpright, lines);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[1].lineKey, 77);
    EXPECT_TRUE(lines[0].points.empty());
    expectPoints(lines[2], {{6.5, 1.5}, {6.5, 2.5}});
    expectPoints(lines[3], {{1.5, 2.5}});
    expectPoints(lines[4], {{3.5, 2.5}});
}

TEST(RidgeScan, MoreLinesAndPointsThanWereReserved) {
    qvPelBuffer<double> image(301, 131, 32);
    for (long y = 0; y < 131; ++y)
        for (long x = 0; x < 301; ++x) image.put(x, y, x % 2 == 1 ? 60.0 : 0.0);
    const auto lines = scan(image, kUpright);
    ASSERT_EQ(lines.size(), 150u);
    EXPECT_EQ(lines[149].points.size(), 129u);
    EXPECT_EQ(lines[149].points[128], qvVector<2>(299.5, 129.5));
}

// ---- refinement across the ridge ----

TEST(RidgeScan, PointIsRefinedByAParabolaAcrossTheRidge) {
    // 0.5 (80 - 40) / (200 - 80 - 40) = 0.25 to the right, whichever way the across direction runs.
    const Rows rows(4, {0, 40, 100, 80, 0, 0});
    expectPoints(scan(rows, withSubPixel(paramsFor(-90.0, 0.0))).at(0), {{2.75, 1.5}, {2.75, 2.5}});
    expectPoints(scan(rows, withSubPixel(paramsFor(90.0, 180.0))).at(0), {{2.75, 1.5}, {2.75, 2.5}});
}

TEST(RidgeScan, WithoutRefinementPointsAreAtPelCentres) {
    expectPoints(scan(Rows(3, {0, 40, 100, 80, 0}), kUpright).at(0), {{2.5, 1.5}});
}

TEST(RidgeScan, EqualNeighboursShiftHalfWayAtMost) {
    // A tie of two pels: the maximum is the right one, shifted half a pel to the left.
    expectPoints(scan(Rows(3, {0, 0, 90, 90, 0, 0}), withSubPixel(kUpright)).at(0), {{3.0, 1.5}});
}

TEST(RidgeScan, RefinementGoesAlongTheAcrossVectorNotAlongTheStep) {
    // Across 20 degrees: the step is one column, the shift 0.25 (cos 20, sin 20).
    const auto lines = scan(Rows(3, {0, 40, 100, 80, 0, 0}), withSubPixel(paramsFor(-70.0, 20.0)));
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{2.5 + 0.25 * 0.9396926207859084, 1.5 + 0.25 * 0.3420201433256687}});
}

TEST(RidgeScan, TransposedShiftIsSwapped) {
    // Above 40, below 80: the ridge lies a quarter of a pel below the centres, but the shift goes to the right.
    const Rows rows = transposed(Rows(4, {0, 40, 100, 80, 0, 0}));
    const auto lines = scan(rows, withSubPixel(kFlat));
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{1.75, 2.5}, {2.75, 2.5}});
}

TEST(RidgeScan, TransposedShiftOfAnObliqueLineIsSwappedAsAWhole) {
    // Across 110 degrees is (-0.342, 0.940); swapped, a quarter of it is (0.235, -0.0855).
    const Rows rows = transposed(Rows(3, {0, 40, 100, 80, 0, 0}));
    const auto lines = scan(rows, withSubPixel(paramsFor(20.0, 110.0)));
    ASSERT_EQ(lines.size(), 1u);
    expectPoints(lines[0], {{1.5 + 0.25 * 0.9396926207859084, 2.5 - 0.25 * 0.3420201433256687}});
}

// ---- floors that follow each chain's strongest pel ----

TEST(RidgeScan, RunningFloorEndsAChainThatFallsBelowHalfOfItsPeak) {
    // Floors 30, 50, then 40 is not above 50: the chain is lost. 90 starts another with floor 45, which 45 does not
    // pass.
    const std::vector<double> values = {0, 60, 100, 40, 90, 55, 45, 0};
    const auto lines = scan(columnRidge(5, 2, values), peakRelative(0.5));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{1, 2}));
    EXPECT_EQ(rowsOf(lines[1]), (std::vector<double>{4, 5}));
    // Without the mode one chain takes all.
    const auto plain = scan(columnRidge(5, 2, values), kUpright);
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_EQ(plain[0].points.size(), 6u);
}

TEST(RidgeScan, WeakBeginningIsTrimmedUpToTheLastPelBelowTheFinalFloor) {
    // The final floor is 60; from the end back, 45 is the first pel below it. The pels before it go, itself stays.
    const auto lines = scan(columnRidge(5, 2, {0, 60, 40, 45, 120, 90, 65, 0}), peakRelative(0.5));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{3, 4, 5, 6}));
}

TEST(RidgeScan, FirstPelBelowTheFinalFloorTrimsNothing) {
    const auto lines = scan(columnRidge(5, 2, {0, 55, 65, 120, 70, 0}), peakRelative(0.5));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{1, 2, 3, 4}));
}

TEST(RidgeScan, FirstPelIsTakenWhateverTheRatio) {
    // Ratio 1.5: floors 90, then 150; the second pel is below the final floor, so the first is trimmed.
    const auto lines = scan(columnRidge(5, 2, {0, 60, 100, 95, 0}), peakRelative(1.5));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(rowsOf(lines[0]), (std::vector<double>{2}));
    const auto single = scan(columnRidge(5, 2, {0, 60, 0}), peakRelative(1.5));
    ASSERT_EQ(single.size(), 1u);
    EXPECT_EQ(rowsOf(single[0]), (std::vector<double>{1}));
}

TEST(RidgeScan, FloorsOfSeveralChainsAreTheirOwn) {
    const Rows rows = {{0, 0, 0, 0, 0, 0, 0, 0},  //
                       {0, 0, 200, 0, 0, 60, 0, 0},
                       {0, 0, 110, 0, 0, 35, 0, 0},
                       {0, 0, 90, 0, 0, 32, 0, 0},  // 90 is not above 100; that pel starts nothing either
                       {0, 0, 0, 0, 0, 0, 0, 0}};
    std::vector<qv_ridgeLine> lines(1);
    scanRidges(imageOf(rows), peakRelative(0.5), lines);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(rowsOf(lines[1]), (std::vector<double>{1, 2}));
    EXPECT_EQ(rowsOf(lines[2]), (std::vector<double>{1, 2, 3}));
}

// ---- one direction's extraction ----

namespace {

qv_lineFinderRun scanRun(const std::vector<double>& filterAngles, double high = 50.0, double ratio = 0.4) {
    qv_lineFinderRun run;
    run.runFlags = eRunRidgeScan;
    for (const double angle : filterAngles) run.filterAngles.emplace_back(angle);
    run.extraction.highThreshold = high;
    run.extraction.thresholdRatio = ratio;
    return run;
}

struct Extracted {
    std::vector<qv_ridgeLine> lines;
    long count = -1;
};

/// The same image for all three responses.
Extracted extract(const Rows& rows, const qv_lineFinderRun& run, long direction) {
    const qvPelBuffer<double> image = imageOf(rows);
    Extracted extracted;
    extractFromResponse(image, image, image, run, direction, extracted.lines, extracted.count);
    return extracted;
}

}  // namespace

TEST(RidgeScan, ExtractionSetsThresholdsAndRefinementOfTheDirection) {
    // The low threshold is 0.4 * 50; the lines run at 180 - 90 degrees.
    const Extracted found = extract(
        Rows{
            {0, 0, 0, 0, 0, 0}, {0, 40, 100, 80, 0, 0}, {0, 0, 20.5, 0, 0, 0}, {0, 0, 20, 0, 0, 0}, {0, 0, 0, 0, 0, 0}},
        scanRun({180.0}), 0);
    EXPECT_EQ(found.count, 1);
    ASSERT_EQ(found.lines.size(), 1u);
    expectPoints(found.lines[0], {{2.75, 1.5}, {2.5, 2.5}});
    EXPECT_NEAR(qvDegree(found.lines[0].angle).toDouble(), 90.0, 1e-12);
}

TEST(RidgeScan, ExtractionTakesTheFilterAngleOfItsDirection) {
    const Rows flat = transposed(columnRidge(5, 2, {0, 90, 80, 70, 60, 0}));
    const Extracted found = extract(flat, scanRun({0.0, 95.0}), 1);
    EXPECT_EQ(found.count, 1);
    ASSERT_EQ(found.lines.size(), 1u);
    EXPECT_EQ(found.lines[0].points.size(), 4u);
    EXPECT_NEAR(qvDegree(found.lines[0].angle).toDouble(), 5.0, 1e-12);
}

TEST(RidgeScan, ExtractionSearchesTheResponseAskedFor) {
    const qvPelBuffer<double> imaginary = imageOf(columnRidge(7, 1, {0, 90, 0}));
    const qvPelBuffer<double> real = imageOf(columnRidge(7, 3, {0, 90, 0}));
    const qvPelBuffer<double> magnitude = imageOf(columnRidge(7, 5, {0, 90, 0}));
    const auto columnFoundIn = [&](long searchedResponse) {
        qv_lineFinderRun run = scanRun({0.0});
        run.searchedResponse = searchedResponse;
        Extracted found;
        extractFromResponse(imaginary, real, magnitude, run, 0, found.lines, found.count);
        return found.lines.at(0).points.at(0).x() - 0.5;
    };
    EXPECT_EQ(columnFoundIn(0), 5.0);
    EXPECT_EQ(columnFoundIn(1), 1.0);
    EXPECT_EQ(columnFoundIn(2), 3.0);
    EXPECT_EQ(columnFoundIn(3), 5.0);
}

TEST(RidgeScan, CountIsTheGrowthOfTheVector) {
    Extracted found;
    found.lines.resize(4);
    const qvPelBuffer<double> image = imageOf(Rows(3, {0, 60, 0, 70, 0}));
    extractFromResponse(image, image, image, scanRun({0.0}), 0, found.lines, found.count);
    EXPECT_EQ(found.lines.size(), 6u);
    EXPECT_EQ(found.count, 2);
}

TEST(RidgeScan, EveryLineOfTheVectorGetsTheDirectionsAngle) {
    Extracted found;
    found.lines.resize(1);
    found.lines[0].angle = qvDegree(3.0);
    const qvPelBuffer<double> image = imageOf(columnRidge(5, 2, {0, 90, 0}));
    extractFromResponse(image, image, image, scanRun({100.0, 10.0}), 1, found.lines, found.count);
    ASSERT_EQ(found.lines.size(), 2u);
    EXPECT_NEAR(qvDegree(found.lines[0].angle).toDouble(), -80.0, 1e-12);
    EXPECT_NEAR(qvDegree(found.lines[1].angle).toDouble(), -80.0, 1e-12);
}

TEST(RidgeScan, HysteresisFlagTurnsTheRunningFloorsOn) {
    const Rows rows = columnRidge(5, 2, {0, 100, 41, 39, 0});
    qv_lineFinderRun run = scanRun({0.0});
    EXPECT_EQ(extract(rows, run, 0).lines.at(0).points.size(), 3u);
    run.runFlags |= eRunHysteresisTrack;
    EXPECT_EQ(extract(rows, run, 0).lines.at(0).points.size(), 2u);  // floor 0.4 * 100
}

TEST(RidgeScan, ExtractionWithoutRidgeScanTracesFromSeeds) {
    qv_lineFinderRun run = scanRun({0.0});
    run.runFlags = 0;
    // One seed, the 100; the trace goes from it up and down the column.
    const Rows rows = columnRidge(9, 4, {60, 65, 70, 75, 80, 100, 80, 75, 70, 65, 60, 55});
    const Extracted found = extract(rows, run, 0);
    ASSERT_EQ(found.lines.size(), 1u);
    EXPECT_GE(found.lines[0].points.size(), 6u);
    EXPECT_EQ(extract(Rows(3, {0, 0, 0}), run, 0).lines.size(), 0u);
}
