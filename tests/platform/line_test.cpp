#include "qvstreet/platform/line.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectNear(const qvVector<2>& actual, double x, double y, double tolerance = 1e-12) {
    EXPECT_NEAR(actual.x(), x, tolerance);
    EXPECT_NEAR(actual.y(), y, tolerance);
}

double degrees(qvRadian angle) { return qvDegree(angle).toDouble(); }

/// The line through (10, 20) and the point (dx, dy) beyond it.
qvFLine through(double dx, double dy) { return qvFLine(qvVector<2>(10.0, 20.0), qvVector<2>(10.0 + dx, 20.0 + dy)); }

// Runs at -36.87 degrees through (10, 20): cosine 0.8, sine -0.6, foot of the origin (13.2, 17.6), distance 22.
const qvFLine kLeaning(qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0));

struct Fold {
    double dx;
    double dy;
    double angleDegrees;
};

TEST(FLineThroughTwoPoints, FoldsTheAngleIntoMinus135UpToButNotIncluding45InEveryOctant) {
    const Fold folds[] = {
        {4.0, 1.0, 14.036243467926479},     // 14 degrees: stays
        {1.0, 4.0, -104.03624346792648},    // 76 degrees: turned round
        {-1.0, 4.0, -75.963756532073523},   // 104 degrees: turned round
        {-4.0, 1.0, -14.036243467926479},   // 166 degrees: turned round
        {-4.0, -1.0, 14.036243467926479},   // -166 degrees: turned round
        {-1.0, -4.0, -104.03624346792648},  // -104 degrees: stays
        {1.0, -4.0, -75.963756532073523},   // -76 degrees: stays
        {4.0, -1.0, -14.036243467926479},   // -14 degrees: stays
    };
    for (const Fold& fold : folds) {
        SCOPED_TRACE(testing::Message() << fold.dx << ", " << fold.dy);
        const qvFLine line = through(fold.dx, fold.dy);
        EXPECT_NEAR(degrees(line.angle()), fold.angleDegrees, 1e-12);
        EXPECT_NEAR(line.cosAngle(), qfCos(qvDegree(fold.angleDegrees)), 1e-15);
        EXPECT_NEAR(line.sinAngle(), qfSin(qvDegree(fold.angleDegrees)), 1e-15);
        EXPECT_NEAR(line.distanceFrom(qvVector<2>(10.0, 20.0)), 0.0, 1e-14);
    }
}

TEST(FLineThroughTwoPoints, FoldsExactlyAtTheLimits) {
    EXPECT_DOUBLE_EQ(degrees(through(3.0, 3.0).angle()), -135.0) << "45 degrees is excluded";
    EXPECT_DOUBLE_EQ(degrees(through(-3.0, -3.0).angle()), -135.0) << "-135 degrees is included";
    EXPECT_LT(through(-3.0, -3.0).cosAngle(), 0.0);
    EXPECT_LT(through(3.0, 3.0).sinAngle(), 0.0);
    EXPECT_DOUBLE_EQ(degrees(through(3.0, -3.0).angle()), -45.0);
    EXPECT_DOUBLE_EQ(degrees(through(-3.0, 3.0).angle()), -45.0);
}

TEST(FLineThroughTwoPoints, FoldsWithinAHairOfTheLimits) {
    EXPECT_NEAR(degrees(through(3.0, 3.0 - 1e-9).angle()), 45.0, 1e-7);
    EXPECT_NEAR(degrees(through(3.0, 3.0 + 1e-9).angle()), -135.0, 1e-7);
    EXPECT_NEAR(degrees(through(-3.0, -3.0 + 1e-9).angle()), 45.0, 1e-7);
    EXPECT_NEAR(degrees(through(-3.0, -3.0 - 1e-9).angle()), -135.0, 1e-7);
}

TEST(FLineThroughTwoPoints, UprightLinesRunTowardsGrowingXAndShrinkingYExactly) {
    for (const double step : {5.0, -5.0}) {
        const qvFLine horizontal = through(step, 0.0);
        EXPECT_EQ(horizontal.dir(), qvVector<2>(1.0, 0.0));
        EXPECT_EQ(horizontal.angle().toDouble(), 0.0);
        EXPECT_EQ(horizontal.distance(), 20.0);
        const qvFLine vertical = through(0.0, step);
        EXPECT_EQ(vertical.dir(), qvVector<2>(0.0, -1.0));
        EXPECT_DOUBLE_EQ(degrees(vertical.angle()), -90.0);
        EXPECT_EQ(vertical.distance(), 10.0);
    }
}

TEST(FLineThroughTwoPoints, TheOrderOfThePointsPlaysNoPart) {
    const qvVector<2> p(10.0, 20.0);
    const qvVector<2> q(13.0, 45.0);
    EXPECT_EQ(qvFLine(p, q).dir(), qvFLine(q, p).dir());
    EXPECT_NEAR(qvFLine(p, q).distance(), qvFLine(q, p).distance(), 1e-12);
}

TEST(FLineThroughTwoPoints, TwoEqualPointsGiveAHorizontalLineThroughThem) {
    const qvFLine line = through(0.0, 0.0);
    EXPECT_EQ(line.dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ(line.distance(), 20.0);
}

TEST(FLineFromAngle, KeepsTheAngleWhateverItIs) {
    for (const double angle : {100.0, 45.0, 200.0, -136.0, -350.0, 725.0}) {
        SCOPED_TRACE(angle);
        const qvFLine line(qvDegree(angle), qvVector<2>(3.0, 5.0));
        EXPECT_DOUBLE_EQ(degrees(line.angle()), angle);
        EXPECT_DOUBLE_EQ(line.cosAngle(), qfCos(qvDegree(angle)));
        EXPECT_DOUBLE_EQ(line.sinAngle(), qfSin(qvDegree(angle)));
        EXPECT_NEAR(line.distanceFrom(qvVector<2>(3.0, 5.0)), 0.0, 1e-14);
    }
}

TEST(FLineFromAngle, DistanceFollowsTheRunningDirection) {
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(0.0), qvVector<2>(3.0, 5.0)).distance(), 5.0);
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(180.0), qvVector<2>(3.0, 5.0)).distance(), -5.0);
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(90.0), qvVector<2>(3.0, 5.0)).distance(), -3.0);
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(-90.0), qvVector<2>(3.0, 5.0)).distance(), 3.0);
}

TEST(FLine, DefaultIsTheXAxis) {
    EXPECT_EQ(qvFLine().dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ(qvFLine().angle().toDouble(), 0.0);
    EXPECT_EQ(qvFLine().distance(), 0.0);
}

TEST(FLine, FootOfTheOriginIsDistanceTimesTheNormal) {
    EXPECT_DOUBLE_EQ(kLeaning.cosAngle(), 0.8);
    EXPECT_DOUBLE_EQ(kLeaning.sinAngle(), -0.6);
    EXPECT_NEAR(kLeaning.distance(), 22.0, 1e-14);
    expectNear(kLeaning.pointAt(0.0), 13.2, 17.6);
    expectNear(kLeaning.pointAt(5.0), 17.2, 14.6);
}

TEST(FLine, DistanceFromIsPositiveOnTheLeftOfTheRunningDirectionAsSeen) {
    EXPECT_NEAR(kLeaning.distanceFrom(qvVector<2>(0.0, 0.0)), 22.0, 1e-12);
    EXPECT_NEAR(kLeaning.distanceFrom(qvVector<2>(12.6, 16.8)), 1.0, 1e-12);
    EXPECT_NEAR(kLeaning.distanceFrom(qvVector<2>(14.4, 19.2)), -2.0, 1e-12);
    const qvVector<2> origin;
    const qvVector<2> aboveRight(7.0, -2.0);
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(0.0), origin).distanceFrom(aboveRight), 2.0) << "above a line to the right";
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(180.0), origin).distanceFrom(aboveRight), -2.0) << "above a line to the left";
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(90.0), origin).distanceFrom(aboveRight), 7.0) << "right of a line downwards";
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(-90.0), origin).distanceFrom(aboveRight), -7.0) << "right of a line upwards";
}

TEST(FLine, DistanceAlongGrowsInTheRunningDirection) {
    EXPECT_NEAR(kLeaning.distanceAlong(qvVector<2>(10.0, 20.0)), -4.0, 1e-12);
    EXPECT_NEAR(kLeaning.distanceAlong(qvVector<2>(14.0, 17.0)), 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(qvFLine(qvDegree(180.0), qvVector<2>()).distanceAlong(qvVector<2>(6.0, 9.0)), -6.0);
}

TEST(FLine, ClosestPointIsTheFootOfThePerpendicular) {
    expectNear(kLeaning.closestPoint(qvVector<2>(12.6, 16.8)), 13.2, 17.6);
    expectNear(kLeaning.closestPoint(qvVector<2>(16.0, 28.0)), 10.0, 20.0);
    expectNear(kLeaning.closestPoint(qvVector<2>(14.0, 17.0)), 14.0, 17.0);
}

TEST(FLineIntersection, CrossingLinesShareOnePoint) {
    const qvFLine vertical(qvDegree(90.0), qvVector<2>(14.0, -3.0));
    ASSERT_EQ(kLeaning.intersection(vertical).size(), 1u);
    expectNear(kLeaning.intersection(vertical)[0], 14.0, 17.0);
    ASSERT_EQ(vertical.intersection(kLeaning).size(), 1u);
    expectNear(vertical.intersection(kLeaning)[0], 14.0, 17.0);
}

TEST(FLineIntersection, TheRunningDirectionPlaysNoPart) {
    const qvFLine up(qvDegree(-90.0), qvVector<2>(14.0, -3.0));
    const qvFLine leftwards(kLeaning.angle() + qvDegree(180.0), qvVector<2>(10.0, 20.0));
    expectNear(leftwards.intersection(up).at(0), 14.0, 17.0);
}

TEST(FLineIntersection, ParallelLinesShareNone) {
    const qvFLine shifted(kLeaning.angle(), qvVector<2>(0.0, 0.0));
    EXPECT_TRUE(kLeaning.intersection(shifted).empty());
    const qvFLine opposite(kLeaning.angle() + qvDegree(180.0), qvVector<2>(0.0, 0.0));
    EXPECT_TRUE(kLeaning.intersection(opposite).empty());
    EXPECT_TRUE(kLeaning.intersection(kLeaning).empty()) << "a line with itself";
}

TEST(FLineIntersection, LinesAreParallelBelowACrossProductOf1em12) {
    const qvFLine axis;
    EXPECT_TRUE(axis.intersection(qvFLine(qvRadian(0.9e-12), qvVector<2>(0.0, 1.0))).empty());
    EXPECT_TRUE(axis.intersection(qvFLine(qvRadian(-0.9e-12), qvVector<2>(0.0, 1.0))).empty());
    const auto crossing = axis.intersection(qvFLine(qvRadian(1.25e-12), qvVector<2>(0.0, 1.0)));
    ASSERT_EQ(crossing.size(), 1u);
    EXPECT_NEAR(crossing[0].x(), -8e11, 1.0);
    EXPECT_EQ(axis.intersection(qvFLine(qvRadian(-1.25e-12), qvVector<2>(0.0, 1.0))).size(), 1u);
}

TEST(FLineIntersection, ALineThatIsNotANumberCrossesNone) {
    EXPECT_TRUE(kLeaning.intersection(qvFLine(qvRadian(kNaN), qvVector<2>())).empty());
}

TEST(FLineIntersection, StaysExactFarFromTheOrigin) {
    const qvFLine a(qvVector<2>(1e6, -2e6), qvVector<2>(1e6 + 40.0, -2e6 - 30.0));
    const qvFLine b(qvVector<2>(1e6 + 8.0, -2e6), qvVector<2>(1e6 + 8.0, -2e6 + 70.0));
    expectNear(a.intersection(b).at(0), 1e6 + 8.0, -2e6 - 6.0, 1e-8);
}

TEST(FLineIntersect, StoresTheCrossingThatTheListHolds) {
    const qvFLine lines[] = {kLeaning, qvFLine(qvDegree(90.0), qvVector<2>(14.0, -3.0)),
                             qvFLine(qvVector<2>(3.0, 5.0), qvVector<2>(60.0, 9.0)),
                             qvFLine(qvVector<2>(1e6, -2e6), qvVector<2>(1e6 + 40.0, -2e6 - 35.0))};
    for (const qvFLine& a : lines)
        for (const qvFLine& b : lines) {
            if (&a == &b) continue;
            qvVector<2> point(-1.0, -2.0);
            ASSERT_TRUE(a.intersect(b, point));
            ASSERT_EQ(a.intersection(b).size(), 1u);
            EXPECT_EQ(point, a.intersection(b)[0]);
            EXPECT_NEAR(a.distanceFrom(point), 0.0, 1e-8);
            EXPECT_NEAR(b.distanceFrom(point), 0.0, 1e-8);
        }
    qvVector<2> point;
    ASSERT_TRUE(kLeaning.intersect(lines[1], point));
    expectNear(point, 14.0, 17.0);
}

TEST(FLineIntersect, LinesAtRightAnglesAlongTheAxesCrossExactly) {
    const qvFLine flat(qvVector<2>(20.0, 150.5), qvVector<2>(400.0, 150.5));
    const qvFLine upright(qvVector<2>(200.25, 10.0), qvVector<2>(200.25, 290.0));
    qvVector<2> point;
    ASSERT_TRUE(flat.intersect(upright, point));
    EXPECT_EQ(point, qvVector<2>(200.25, 150.5));
    ASSERT_TRUE(upright.intersect(flat, point));
    EXPECT_EQ(point, qvVector<2>(200.25, 150.5));
}

TEST(FLineIntersect, ParallelLinesAndLinesThatAreNoNumbersLeaveThePointAlone) {
    const qvFLine axis;
    for (const qvFLine& other :
         {axis, qvFLine(qvRadian(0.9e-12), qvVector<2>(0.0, 1.0)), qvFLine(qvDegree(180.0), qvVector<2>(0.0, 7.0)),
          qvFLine(qvRadian(kNaN), qvVector<2>())}) {
        qvVector<2> point(3.0, 4.0);
        EXPECT_FALSE(axis.intersect(other, point));
        EXPECT_EQ(point, qvVector<2>(3.0, 4.0));
    }
    qvVector<2> point;
    EXPECT_TRUE(axis.intersect(qvFLine(qvRadian(1.25e-12), qvVector<2>(0.0, 1.0)), point));
}

TEST(MappedFLine, KeepsItsRunningDirectionInsteadOfFolding) {
    const qvFLine downwards(qvDegree(100.0), qvVector<2>(3.0, 5.0));
    EXPECT_NEAR(degrees((qvXform<2>() * downwards).angle()), 100.0, 1e-12);
    const qvXform<2> quarterTurn(qvMatrix<2>(0.0, -1.0, 1.0, 0.0), qvVector<2>(100.0, 7.0));
    const qvFLine turned = quarterTurn * kLeaning;
    EXPECT_NEAR(degrees(turned.angle()), 53.13010235415598, 1e-12) << "past 45 degrees and not folded";
    EXPECT_NEAR(degrees((quarterTurn * turned).angle()), 143.13010235415598, 1e-12);
}

TEST(MappedFLine, GoesThroughTheMappedPoints) {
    const qvXform<2> oblong(qvMatrix<2>(3.0, 0.5, 0.0, 0.25), qvVector<2>(-7.0, 11.0));
    const qvFLine mapped = oblong * kLeaning;
    for (const qvVector<2>& point : {qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0), qvVector<2>(-30.0, 50.0)})
        EXPECT_NEAR(mapped.distanceFrom(oblong * point), 0.0, 1e-12);
    // (4, -3) becomes (10.5, -0.75), whose length is the root of 110.8125.
    EXPECT_NEAR(degrees(mapped.angle()), -4.0856167799748771, 1e-12);
    EXPECT_NEAR(
        mapped.distanceAlong(oblong * qvVector<2>(14.0, 17.0)) - mapped.distanceAlong(oblong * qvVector<2>(10.0, 20.0)),
        10.526751635713648, 1e-12);
}

TEST(MappedFLine, KeepsItsRunningDirectionUnderAMirroredTransform) {
    const qvXform<2> mirroredX(qvMatrix<2>(-1.0, 0.0, 0.0, 1.0), qvVector<2>(50.0, 0.0));
    const qvXform<2> mirroredY(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), qvVector<2>(0.0, 60.0));
    EXPECT_NEAR(degrees((mirroredX * kLeaning).angle()), -143.13010235415598, 1e-12);
    EXPECT_NEAR(degrees((mirroredY * kLeaning).angle()), 36.86989764584402, 1e-12);
    const qvFLine vertical = through(0.0, 5.0);
    EXPECT_NEAR(degrees((mirroredY * vertical).angle()), 90.0, 1e-12) << "towards growing y now";
    EXPECT_NEAR((mirroredY * kLeaning).distanceFrom(qvVector<2>(10.0, 40.0)), 0.0, 1e-12);
    EXPECT_NEAR((mirroredX * kLeaning).distanceFrom(qvVector<2>(36.0, 17.0)), 0.0, 1e-12);
}

TEST(MappedFLine, DistancesChangeSignUnderAMirroredTransform) {
    const qvXform<2> mirroredY(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), qvVector<2>());
    EXPECT_NEAR((mirroredY * kLeaning).distanceFrom(qvVector<2>(12.6, -16.8)), -1.0, 1e-12);
}

TEST(MappedFLine, DirectionThatIsMappedToNothingBecomesTheXAxis) {
    const qvXform<2> toAPoint(qvMatrix<2>(0.0, 0.0, 0.0, 0.0), qvVector<2>(4.0, 9.0));
    EXPECT_EQ((toAPoint * kLeaning).dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ((toAPoint * kLeaning).distance(), 9.0);
}

TEST(Line, RunsFromTheFirstPointToTheSecondUnfolded) {
    const Fold all[] = {{4.0, 1.0, 14.036243467926479},
                        {1.0, 4.0, 75.963756532073523},
                        {-1.0, 4.0, 104.03624346792648},
                        {-4.0, -1.0, -165.96375653207352},
                        {3.0, 3.0, 45.0},
                        {-3.0, 0.0, 180.0}};
    for (const Fold& one : all) {
        const qvLine line(qvVector<2>(10.0, 20.0), qvVector<2>(10.0 + one.dx, 20.0 + one.dy));
        EXPECT_NEAR(degrees(line.angle()), one.angleDegrees, 1e-12);
        EXPECT_NEAR(line.dir().len(), 1.0, 1e-15);
        EXPECT_EQ(line.pos(), qvVector<2>(10.0, 20.0));
    }
}

TEST(Line, FromAngleKeepsDirectionAndPoint) {
    const qvLine line(qvDegree(150.0), qvVector<2>(3.0, 5.0));
    expectNear(line.dir(), -0.86602540378443871, 0.5);
    EXPECT_EQ(line.pos(), qvVector<2>(3.0, 5.0));
}

TEST(Line, DefaultAndEqualPointsRunAlongX) {
    EXPECT_EQ(qvLine().dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ(qvLine().pos(), qvVector<2>());
    const qvVector<2> same(7.0, 8.0);
    EXPECT_EQ(qvLine(same, same).dir(), qvVector<2>(1.0, 0.0));
}

TEST(Line, MapTurnsTheDirectionAndMovesThePosition) {
    const qvXform<2> mirrored(qvMatrix<2>(2.0, 0.0, 0.0, -1.0), qvVector<2>(5.0, 60.0));
    const qvLine mapped = qvLine(qvVector<2>(10.0, 20.0), qvVector<2>(13.0, 12.0)).map(mirrored);
    expectNear(mapped.dir(), 0.6, 0.8);
    EXPECT_EQ(mapped.pos(), qvVector<2>(25.0, 40.0));
}

TEST(Line, IntersectFindsTheCrossing) {
    const qvLine a(qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0));
    const qvLine b(qvVector<2>(18.0, 90.0), qvVector<2>(18.0, 80.0));
    expectNear(a.intersect(b), 18.0, 14.0);
    expectNear(b.intersect(a), 18.0, 14.0);
}

TEST(Line, IntersectOfParallelLinesIsMidwayBetweenTheirPositions) {
    const qvLine a(qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0));
    const qvLine same(qvVector<2>(2.0, 6.0), qvVector<2>(6.0, 3.0));
    const qvLine opposite(qvVector<2>(6.0, 3.0), qvVector<2>(2.0, 6.0));
    EXPECT_EQ(a.intersect(same), qvVector<2>(6.0, 13.0));
    EXPECT_EQ(a.intersect(opposite), qvVector<2>(8.0, 11.5));
    EXPECT_EQ(qvLine().intersect(qvLine(qvRadian(0.9e-12), qvVector<2>(0.0, 1.0))), qvVector<2>(0.0, 0.5));
    EXPECT_LT(qvLine().intersect(qvLine(qvRadian(1.25e-12), qvVector<2>(0.0, 1.0))).x(), -7e11);
}

TEST(Line, ProjIsTheFootOfThePerpendicular) {
    const qvLine line(qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0));
    expectNear(line.proj(qvVector<2>(16.0, 28.0)), 10.0, 20.0);
    expectNear(line.proj(qvVector<2>(0.0, 0.0)), 13.2, 17.6);
}

TEST(Line, DistToPointHasTheSignOfDistanceFrom) {
    const qvLine line(qvVector<2>(10.0, 20.0), qvVector<2>(14.0, 17.0));
    EXPECT_NEAR(line.distToPoint(qvVector<2>(12.6, 16.8)), 1.0, 1e-12);
    EXPECT_NEAR(line.distToPoint(qvVector<2>(14.4, 19.2)), -2.0, 1e-12);
    EXPECT_NEAR(line.distToPoint(qvVector<2>()), kLeaning.distanceFrom(qvVector<2>()), 1e-12);
    const qvLine opposite(qvVector<2>(14.0, 17.0), qvVector<2>(10.0, 20.0));
    EXPECT_NEAR(opposite.distToPoint(qvVector<2>(12.6, 16.8)), -1.0, 1e-12);
}

TEST(LineSeg, LineRunsFromP1ToP2Unfolded) {
    const qvLineSeg segment(qvVector<2>(10.0, 20.0), qvVector<2>(7.0, 24.0));
    expectNear(segment.line().dir(), -0.6, 0.8);
    EXPECT_EQ(segment.line().pos(), qvVector<2>(10.0, 20.0));
    const qvLineSeg reversed(segment.p2(), segment.p1());
    expectNear(reversed.line().dir(), 0.6, -0.8);
    EXPECT_EQ(reversed.line().pos(), qvVector<2>(7.0, 24.0));
}

TEST(LineSeg, SettersChangeOneEnd) {
    qvLineSeg segment;
    EXPECT_EQ(segment.p1(), qvVector<2>());
    EXPECT_EQ(segment.p2(), qvVector<2>());
    segment.p1(qvVector<2>(1.0, 2.0));
    segment.p2(qvVector<2>(9.0, 17.0));
    EXPECT_EQ(segment, qvLineSeg(qvVector<2>(1.0, 2.0), qvVector<2>(9.0, 17.0)));
    EXPECT_EQ(segment.len(), 17.0);
    EXPECT_NE(segment, qvLineSeg(qvVector<2>(9.0, 17.0), qvVector<2>(1.0, 2.0))) << "the ends are in order";
}

TEST(Point, ConvertsFromAndToAVector) {
    const qvPoint point(3.0, 4.0);
    const qvVector<2> position = point;
    EXPECT_EQ(position, qvVector<2>(3.0, 4.0));
    EXPECT_EQ(qvPoint(qvVector<2>(5.0, 6.0)).y(), 6.0);
    EXPECT_EQ(point.vect().x(), 3.0);
    EXPECT_EQ(qvPoint().distToPoint(qvPoint(8.0, 15.0)), 17.0);
}

TEST(Point, BisectIsThePerpendicularThroughTheMidpoint) {
    const qvLine bisector = qvPoint(2.0, 1.0).bisect(qvPoint(10.0, 7.0));
    EXPECT_EQ(bisector.pos(), qvVector<2>(6.0, 4.0));
    expectNear(bisector.dir(), -0.6, 0.8);
    const qvVector<2> onIt(6.0 - 6.0, 4.0 + 8.0);
    EXPECT_DOUBLE_EQ(onIt.distance(qvVector<2>(2.0, 1.0)), onIt.distance(qvVector<2>(10.0, 7.0)));
    EXPECT_NEAR(bisector.distToPoint(onIt), 0.0, 1e-12);
}

TEST(Point, BisectRunsTheOtherWayFromTheOtherPoint) {
    expectNear(qvPoint(10.0, 7.0).bisect(qvPoint(2.0, 1.0)).dir(), 0.6, -0.8);
}

TEST(Point, BisectKeepsItsDirectionFarFromTheOrigin) {
    const qvLine bisector = qvPoint(1e6, -2e6).bisect(qvPoint(1e6 + 8.0, -2e6 + 6.0));
    EXPECT_EQ(bisector.pos(), qvVector<2>(1000004.0, -1999997.0));
    expectNear(bisector.dir(), -0.6, 0.8, 1e-15);
}

TEST(Point, BisectOfEqualPointsRunsAlongY) {
    const qvLine bisector = qvPoint(2.0, 1.0).bisect(qvPoint(2.0, 1.0));
    EXPECT_EQ(bisector.pos(), qvVector<2>(2.0, 1.0));
    EXPECT_EQ(bisector.dir(), qvVector<2>(0.0, 1.0));
}

// Four points at -10, -5, 5 and 10 along (4, -3) / 5 from the base, 5 to the left, right, right and left of it: the fit
// is the base line itself, with a root mean square distance of 5.
std::vector<qvVector<2>> scattered(double baseX, double baseY) {
    return {{baseX - 8.0 - 3.0, baseY + 6.0 - 4.0},
            {baseX - 4.0 + 3.0, baseY + 3.0 + 4.0},
            {baseX + 4.0 + 3.0, baseY - 3.0 + 4.0},
            {baseX + 8.0 - 3.0, baseY - 6.0 - 4.0}};
}

/// The same points after an exchange or a change of sign of coordinates.
std::vector<qvVector<2>> mapped(std::vector<qvVector<2>> points, const qvMatrix<2>& matrix) {
    for (qvVector<2>& point : points) point = matrix * point;
    return points;
}

struct Fit {
    qvMatrix<2> fromScattered;
    double cosine;
    double sine;
};

const Fit kFits[] = {
    {qvMatrix<2>(1.0, 0.0, 0.0, 1.0), 0.8, -0.6},    // near the horizontal, leaning up
    {qvMatrix<2>(1.0, 0.0, 0.0, -1.0), 0.8, 0.6},    // near the horizontal, leaning down
    {qvMatrix<2>(0.0, 1.0, 1.0, 0.0), 0.6, -0.8},    // near the vertical, leaning to the right
    {qvMatrix<2>(0.0, -1.0, 1.0, 0.0), -0.6, -0.8},  // near the vertical, leaning to the left
};

TEST(LSLineFitter, FitsEveryLeaningFoldedLikeALineThroughTwoPoints) {
    for (const Fit& expected : kFits) {
        const qvVector<2> base = expected.fromScattered * qvVector<2>(100.0, 50.0);
        const qvLSLineFitter fitter(mapped(scattered(100.0, 50.0), expected.fromScattered));
        qvFLine line;
        double error = -1.0;
        ASSERT_TRUE(fitter.fitAndError(&line, &error));
        expectNear(line.dir(), expected.cosine, expected.sine, 1e-14);
        EXPECT_NEAR(line.distanceFrom(base), 0.0, 1e-12);
        EXPECT_NEAR(error, 5.0, 1e-12);
    }
}

TEST(LSLineFitter, KeepsItsDigitsFarFromTheOrigin) {
    for (const Fit& expected : kFits) {
        const qvVector<2> base = expected.fromScattered * qvVector<2>(1e6, -2e6);
        const qvLSLineFitter fitter(mapped(scattered(1e6, -2e6), expected.fromScattered));
        qvFLine line;
        double error = -1.0;
        ASSERT_TRUE(fitter.fitAndError(&line, &error));
        expectNear(line.dir(), expected.cosine, expected.sine, 1e-14);
        EXPECT_NEAR(line.distanceFrom(base), 0.0, 1e-9);
        EXPECT_NEAR(error, 5.0, 1e-9);
    }
}

TEST(LSLineFitter, PointsInARowOrAColumnGiveExactlyThat) {
    const qvFLine row = qvLSLineFitter({{7.0, 3.0}, {1.0, 3.0}, {2.0, 3.0}}).fit();
    EXPECT_EQ(row.dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ(row.distance(), 3.0);
    const qvFLine column = qvLSLineFitter({{4.0, 1e6}, {4.0, 1e6 - 3.0}, {4.0, 1e6 + 9.0}}).fit();
    EXPECT_EQ(column.dir(), qvVector<2>(0.0, -1.0));
    EXPECT_EQ(column.distance(), 4.0);
}

TEST(LSLineFitter, MinimisesPerpendicularDistances) {
    // The distances in y alone would be least for the slope 0.4: (0, 0), (0, 2), (4, 2), (4, 4) lie about (2, 2) with
    // moments 16, 8, 8; the main axis is at half the arc tangent of 2 * 8 / (16 - 8).
    const qvFLine line = qvLSLineFitter({{0.0, 0.0}, {0.0, 2.0}, {4.0, 2.0}, {4.0, 4.0}}).fit();
    EXPECT_NEAR(degrees(line.angle()), 31.717474411461005, 1e-12);
    EXPECT_NEAR(line.distanceFrom(qvVector<2>(2.0, 2.0)), 0.0, 1e-14);
}

TEST(LSLineFitter, FoldsAFitAt45Degrees) {
    const qvFLine line = qvLSLineFitter({{0.0, 0.0}, {1.0, 1.0}, {2.0, 2.0}}).fit();
    EXPECT_NEAR(std::abs(degrees(line.angle())), 135.0, 1e-12);
}

TEST(LSLineFitter, UpdateAddsToThePointsGiven) {
    qvLSLineFitter fitter({{0.0, 1.0}});
    fitter.update(qvVector<2>(4.0, 4.0));
    expectNear(fitter.fit().dir(), 0.8, 0.6);
    fitter.update(qvVector<2>(8.0, 1.0));
    expectNear(fitter.fit().dir(), 1.0, 0.0);
    EXPECT_NEAR(fitter.fit().distance(), 2.0, 1e-12);
}

TEST(LSLineFitter, FewerThanTwoDistinctPointsThrow) {
    EXPECT_THROW(qvLSLineFitter().fit(), qvLSLineFitter::UnstableErr);
    EXPECT_THROW(qvLSLineFitter({{3.0, 4.0}}).fit(), qvLSLineFitter::UnstableErr);
    EXPECT_THROW(qvLSLineFitter({{3.0, 4.0}, {3.0, 4.0}, {3.0, 4.0}}).fit(), qvLSLineFitterErr::Errors);
    EXPECT_NO_THROW(qvLSLineFitter({{3.0, 4.0}, {3.0, 4.0}, {3.0, 4.5}}).fit());
}

TEST(LSLineFitter, AFailedFitStoresNothing) {
    qvFLine line = kLeaning;
    double error = 77.0;
    EXPECT_FALSE(qvLSLineFitter({{3.0, 4.0}, {3.0, 4.0}}).fitAndError(&line, &error));
    EXPECT_EQ(line.distance(), kLeaning.distance());
    EXPECT_EQ(error, 77.0);
}

TEST(LSLineFitter, EitherOutputMayBeLeftOut) {
    const qvLSLineFitter fitter(scattered(100.0, 50.0));
    qvFLine line;
    double error = 0.0;
    EXPECT_TRUE(fitter.fitAndError(&line, nullptr));
    EXPECT_TRUE(fitter.fitAndError(nullptr, &error));
    EXPECT_NEAR(line.cosAngle(), 0.8, 1e-14);
    EXPECT_NEAR(error, 5.0, 1e-12);
    EXPECT_TRUE(fitter.fitAndError(nullptr, nullptr));
}

TEST(LSLineFitter, ErrorIsTheRootMeanSquareDistanceFromAnyLine) {
    // Distances 1, 1 and -5 from the x axis: 27 / 3.
    EXPECT_DOUBLE_EQ(qvLSLineFitter({{0.0, -1.0}, {30.0, -1.0}, {7.0, 5.0}}).error(qvFLine()), 3.0);
    EXPECT_EQ(qvLSLineFitter().error(kLeaning), 0.0) << "without points";
}

TEST(LSLineFitter, PointsWithoutAPreferredDirectionGiveAHorizontalLine) {
    const qvFLine line = qvLSLineFitter({{1.0, 2.0}, {5.0, 2.0}, {5.0, 6.0}, {1.0, 6.0}}).fit();
    EXPECT_EQ(line.dir(), qvVector<2>(1.0, 0.0));
    EXPECT_EQ(line.distance(), 4.0);
}

}  // namespace
