#include "qvstreet/streetfinder/street_drawing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "qvstreet/platform/xform.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using Cross = qvStreetFinderStreetCrossResult;
using Point = qvVector<2>;
using Shapes = std::vector<qvShape>;

const qvColor kRed(255, 0, 0);
const qvColor kGreen(0, 255, 0);
const qvColor kBlue(0, 0, 255);

void expectShape(const qvShape& shape, qvShape::qeKind kind, const qvColor& color, const Point& at) {
    EXPECT_EQ(shape.kind, kind);
    EXPECT_EQ(shape.color, color);
    EXPECT_EQ(shape.layer, 0);
    EXPECT_NEAR(shape.p1.x(), at.x(), 1e-9);
    EXPECT_NEAR(shape.p1.y(), at.y(), 1e-9);
    EXPECT_TRUE(shape.text.empty());
}

void expectSegment(const qvShape& shape, const qvColor& color, const Point& from, const Point& to) {
    expectShape(shape, qvShape::eLineSeg, color, from);
    EXPECT_NEAR(shape.p2.x(), to.x(), 1e-9);
    EXPECT_NEAR(shape.p2.y(), to.y(), 1e-9);
}

/// An arm: a red segment, and a red circle at its far end whose radius of 3 is one of the display.
void expectArm(const Shapes& shapes, std::size_t first, const Point& from, const Point& to) {
    SCOPED_TRACE(first);
    expectSegment(shapes[first], kRed, from, to);
    expectShape(shapes[first + 1], qvShape::eCircle, kRed, to);
    EXPECT_EQ(shapes[first + 1].radius, 3.0);
    EXPECT_TRUE(shapes[first + 1].hasDisplaySize);
    EXPECT_FALSE(shapes[first + 1].isFilled);
}

/// Corners and segments of a crossing at (115, 210) of an upright street 30 wide and a flat one 20 wide. Every segment
/// lies on its edge, and each ends elsewhere.
Cross crossFromEdges() {
    Cross result;
    Access::crossing(result) = Point(115.0, 210.0);
    Access::ulCorner(result) = Point(100.0, 200.0);
    Access::urCorner(result) = Point(130.0, 200.0);
    Access::llCorner(result) = Point(100.0, 220.0);
    Access::lrCorner(result) = Point(130.0, 220.0);
    Access::lineSegs(result) = {
        qvLineSeg(Point(100.0, 50.0), Point(100.0, 188.0)),  qvLineSeg(Point(130.0, 60.0), Point(130.0, 195.0)),
        qvLineSeg(Point(100.0, 230.0), Point(100.0, 290.0)), qvLineSeg(Point(130.0, 225.0), Point(130.0, 280.0)),
        qvLineSeg(Point(20.0, 200.0), Point(90.0, 200.0)),   qvLineSeg(Point(140.0, 200.0), Point(240.0, 200.0)),
        qvLineSeg(Point(25.0, 220.0), Point(95.0, 220.0)),   qvLineSeg(Point(135.0, 220.0), Point(230.0, 220.0))};
    return result;
}

Cross crossFromLines() {
    Cross result;
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
    Access::crossing(result) = Point(50.0, 70.0);
    Access::setCorners(result, Point(50.0, 70.0));
    // Their cosines and sines are 0.8, 0.6 and 0, -1.
    Access::horizontalAngle(result) = qvRadian(std::atan2(3.0, 4.0));
    Access::verticalAngle(result) = qvRadian(qvDegree(-90.0));
    Access::lineSegs(result) = {qvLineSeg(Point(50.0, 10.0), Point(50.0, 130.0)),
                                qvLineSeg(Point(10.0, 40.0), Point(90.0, 100.0))};
    return result;
}

Shapes drawnBy(void (*draw)(qvUITablet&, const Cross&), const Cross& result) {
    qvUITablet tablet;
    draw(tablet, result);
    return tablet.sketch().shapes();
}

}  // namespace

TEST(StreetDrawing, CornersAreBlueCrossesDownTheLeftAndUpTheRight) {
    const Shapes shapes = drawnBy(drawCornerResult, crossFromEdges());
    ASSERT_EQ(shapes.size(), 29U);
    const Point corners[4] = {{100.0, 200.0}, {100.0, 220.0}, {130.0, 220.0}, {130.0, 200.0}};
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        expectShape(shapes[i], qvShape::eCross, kBlue, corners[i]);
        EXPECT_EQ(shapes[i].angle.toDouble(), 0.0);
    }
}

TEST(StreetDrawing, TheSegmentsFollowInGreenAndThenTheCrossingInRed) {
    const Cross result = crossFromEdges();
    const Shapes shapes = drawnBy(drawCornerResult, result);
    ASSERT_EQ(shapes.size(), 29U);
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        expectSegment(shapes[4 + i], kGreen, result.lineSegs()[i].p1(), result.lineSegs()[i].p2());
    }
    expectShape(shapes[12], qvShape::ePointIcon, kRed, Point(115.0, 210.0));
}

TEST(StreetDrawing, TheFittedCrossComesLastArmByArm) {
    const Shapes shapes = drawnBy(drawCornerResult, crossFromEdges());
    ASSERT_EQ(shapes.size(), 29U);
    // Half widths of 15 and 10, so that arms of 4 half widths end 75 and 50 from the crossing.
    const Point ends[8][2] = {{{100.0, 200.0}, {100.0, 160.0}}, {{130.0, 200.0}, {130.0, 160.0}},
                              {{100.0, 220.0}, {100.0, 260.0}}, {{130.0, 220.0}, {130.0, 260.0}},
                              {{100.0, 200.0}, {40.0, 200.0}},  {{130.0, 200.0}, {190.0, 200.0}},
                              {{100.0, 220.0}, {40.0, 220.0}},  {{130.0, 220.0}, {190.0, 220.0}}};
    for (std::size_t i = 0; i < 8; ++i) expectArm(shapes, 13 + 2 * i, ends[i][0], ends[i][1]);
}

TEST(StreetDrawing, TheFittedCrossComesFromTheSegmentsNotFromTheCorners) {
    Cross result = crossFromEdges();
    Access::setCorners(result, Point(7.0, 8.0));
    Access::crossing(result) = Point(9.0, 10.0);
    const Shapes shapes = drawnBy(drawCornerResult, result);
    ASSERT_EQ(shapes.size(), 29U);
    for (std::size_t i = 0; i < 4; ++i) expectShape(shapes[i], qvShape::eCross, kBlue, Point(7.0, 8.0));
    expectShape(shapes[12], qvShape::ePointIcon, kRed, Point(9.0, 10.0));
    expectArm(shapes, 13, Point(100.0, 200.0), Point(100.0, 160.0));
}

TEST(StreetDrawing, WithoutEightSegmentsThereIsNoFittedCross) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{3}, std::size_t{7}, std::size_t{9}}) {
        Cross result = crossFromEdges();
        Access::lineSegs(result).resize(count);
        const Shapes shapes = drawnBy(drawCornerResult, result);
        ASSERT_EQ(shapes.size(), 4U + count + 1U);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(shapes[4 + i].kind, qvShape::eLineSeg);
            EXPECT_EQ(shapes[4 + i].color, kGreen);
        }
        expectShape(shapes.back(), qvShape::ePointIcon, kRed, Point(115.0, 210.0));
    }
}

TEST(StreetDrawing, SegmentsWithoutAFitAreDrawnBeforeTheErrorPasses) {
    Cross result = crossFromEdges();
    for (qvLineSeg& segment : Access::lineSegs(result)) segment = qvLineSeg(Point(1.0, 2.0), Point(1.0, 2.0));
    qvUITablet tablet;
    EXPECT_THROW(drawCornerResult(tablet, result), qvMatrixErr::Singular);
    EXPECT_EQ(tablet.sketch().shapes().size(), 13U);
}

TEST(StreetDrawing, ALineResultShowsTwoSegmentsTheCrossingAndFourArmsOfTwenty) {
    const Shapes shapes = drawnBy(drawLineResult, crossFromLines());
    ASSERT_EQ(shapes.size(), 11U);
    expectSegment(shapes[0], kGreen, Point(50.0, 10.0), Point(50.0, 130.0));
    expectSegment(shapes[1], kGreen, Point(10.0, 40.0), Point(90.0, 100.0));
    expectShape(shapes[2], qvShape::ePointIcon, kRed, Point(50.0, 70.0));
    const Point crossing(50.0, 70.0);
    expectArm(shapes, 3, crossing, Point(66.0, 82.0));
    expectArm(shapes, 5, crossing, Point(34.0, 58.0));
    expectArm(shapes, 7, crossing, Point(50.0, 50.0));
    expectArm(shapes, 9, crossing, Point(50.0, 90.0));
}

TEST(StreetDrawing, ALineResultShowsTheFirstTwoSegmentsThatExist) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
        Cross result = crossFromLines();
        Access::lineSegs(result).resize(count);
        const Shapes shapes = drawnBy(drawLineResult, result);
        const std::size_t shown = count < 2 ? count : 2;
        ASSERT_EQ(shapes.size(), shown + 9U);
        EXPECT_EQ(shapes[shown].kind, qvShape::ePointIcon);
    }
}

TEST(StreetDrawing, ACrossResultIsDrawnTheWayItWasBuilt) {
    EXPECT_EQ(drawnBy(drawCrossResult, crossFromEdges())[0].kind, qvShape::eCross);
    EXPECT_EQ(drawnBy(drawCrossResult, crossFromEdges()).size(), 29U);
    EXPECT_EQ(drawnBy(drawCrossResult, crossFromLines())[0].kind, qvShape::eLineSeg);
    EXPECT_EQ(drawnBy(drawCrossResult, crossFromLines()).size(), 11U);

    // The status decides, not what the result holds.
    Cross result = crossFromEdges();
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
    EXPECT_EQ(drawnBy(drawCrossResult, result).size(), 11U);
}

TEST(StreetDrawing, ADefaultCrossResultTakesTheCornerPath) {
    const Shapes shapes = drawnBy(drawCrossResult, Cross());
    ASSERT_EQ(shapes.size(), 5U);
    for (std::size_t i = 0; i < 4; ++i) expectShape(shapes[i], qvShape::eCross, kBlue, Point());
    expectShape(shapes[4], qvShape::ePointIcon, kRed, Point());
}

TEST(StreetDrawing, ASingleStreetShowsAllItsSegmentsInRed) {
    qvStreetFinderSingleStreetResult street;
    qvUITablet tablet;
    drawSingleResult(tablet, street);
    EXPECT_TRUE(tablet.sketch().isEmpty());

    Access::lineSegs(street) = {qvLineSeg(Point(1.0, 2.0), Point(3.0, 4.0)),
                                qvLineSeg(Point(5.0, 6.0), Point(7.0, 9.0)),
                                qvLineSeg(Point(-1.0, -2.0), Point(-3.0, -5.0))};
    drawSingleResult(tablet, street);
    const Shapes& shapes = tablet.sketch().shapes();
    ASSERT_EQ(shapes.size(), 3U);
    expectSegment(shapes[0], kRed, Point(1.0, 2.0), Point(3.0, 4.0));
    expectSegment(shapes[1], kRed, Point(5.0, 6.0), Point(7.0, 9.0));
    expectSegment(shapes[2], kRed, Point(-1.0, -2.0), Point(-3.0, -5.0));
}

TEST(StreetDrawing, DrawingAddsToTheTablet) {
    qvUITablet tablet;
    drawLineResult(tablet, crossFromLines());
    drawCornerResult(tablet, crossFromEdges());
    EXPECT_EQ(tablet.sketch().shapes().size(), 11U + 29U);
}
