#include "qvstreet/projection/street_measurement.h"

#include <gtest/gtest.h>

#include "tests/projection/measured_wafer.h"

using namespace qvtest;

TEST(StreetMeasurementStatus, parallelStreetsGiveNoCrossing) {
    const Wafer wafer;
    // Both streets of the result are said to be the horizontal one.
    const qvStreetMeasurement m =
        measure(drawn(wafer), {told(wafer.crossing(0, 0), wafer.horizontalAngle(), wafer.horizontalAngle())},
                qvStreetMeasureParams(qvStreetFinderParams({22.0, 22.0}, {12.0, 32.0}, {12.0, 32.0})))[0];
    EXPECT_EQ(m.status(), Defs::ePartlyMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoCrossing);
    EXPECT_TRUE(isNowhere(m.crossing()));
    EXPECT_TRUE(isNowhere(m.crossingDeviation()));
    EXPECT_EQ(m.horizontal().status(), Defs::eMeasured);
    EXPECT_EQ(m.vertical().status(), Defs::eMeasured);
}

TEST(StreetMeasurementStatus, oneStreetOfTwoIsPartlyMeasured) {
    Wafer wafer;
    const Cross result = toldOf(wafer, 0, 0);
    wafer.vertical.clear();
    qvStreetMeasurement m = measure(drawn(wafer), {result})[0];
    EXPECT_EQ(m.status(), Defs::ePartlyMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoEdges);
    EXPECT_EQ(m.horizontal().status(), Defs::eMeasured);
    expectNothing(m.vertical(), Defs::eNoEdges);
    EXPECT_TRUE(isNowhere(m.crossing()));
    EXPECT_TRUE(isNowhere(m.crossingDeviation()));
    EXPECT_FALSE(std::isnan(m.horizontalWidth()));

    wafer = Wafer();
    wafer.horizontal.clear();
    m = measure(drawn(wafer), {result})[0];
    EXPECT_EQ(m.status(), Defs::ePartlyMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoEdges);
    EXPECT_EQ(m.vertical().status(), Defs::eMeasured);

    wafer.vertical.clear();
    m = measure(drawn(wafer), {result})[0];
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoEdges);
}

TEST(StreetMeasurementStatus, theReasonIsThatOfTheHorizontalStreetFirst) {
    // Its lower edge is missing, and so is the whole vertical street.
    Wafer wafer;
    const Cross result = toldOf(wafer, 1, 0);
    wafer.horizontal = {{230.7, 1e4, 0.02}};
    wafer.vertical.clear();
    const qvStreetMeasurement m = measure(drawn(wafer), {result})[0];
    EXPECT_EQ(m.status(), Defs::ePartlyMeasured);
    EXPECT_EQ(m.reason(), Defs::eOneEdge);
    EXPECT_EQ(m.vertical().reason(), Defs::eNoEdges);
}

TEST(StreetMeasurementStatus, oneEdgeHasAnAngleAndItself) {
    const DrawnStreet upper{159.3, 1e4, 0.01};
    qvStreetLineMeasurement m = measureAlongRows(drawn([&](long x, long y) { return upper.grey(x, y); }));
    EXPECT_EQ(m.status(), Defs::ePartlyMeasured);
    EXPECT_EQ(m.reason(), Defs::eOneEdge);
    EXPECT_NEAR(m.angle().toDouble(), std::atan(0.01), 1e-4);
    EXPECT_GT(m.angleDeviation().toDouble(), 0.0);
    EXPECT_NEAR(m.edge(0).p1().y(), 159.3 + 0.01 * m.edge(0).p1().x(), 0.03);
    EXPECT_GT(m.edgeDeviation(0), 0.0);
    EXPECT_TRUE(isNowhere(m.edge(1)));
    EXPECT_TRUE(std::isnan(m.edgeDeviation(1)));
    EXPECT_TRUE(isNowhere(m.centre()));
    EXPECT_TRUE(std::isnan(m.centreDeviation()));
    EXPECT_TRUE(std::isnan(m.width()));
    EXPECT_TRUE(std::isnan(m.widthDeviation()));
    EXPECT_GT(m.usedPoints(), 10);
    // The lower one of a dark street.
    const DrawnStreet lower{-1e4, 181.2, 0.01};
    m = measureAlongRows(drawn([&](long x, long y) { return lower.grey(x, y); }));
    EXPECT_EQ(m.reason(), Defs::eOneEdge);
    EXPECT_TRUE(isNowhere(m.edge(0)));
    EXPECT_NEAR(m.edge(1).p2().y(), 181.2 + 0.01 * m.edge(1).p2().x(), 0.03);
}

TEST(StreetMeasurementStatus, doubleEdgesAreAmbiguous) {
    // Two steps on either side, so that three widths fit as well as one another.
    const DrawnStreet inner{160.0, 180.0, 0.0};
    const DrawnStreet outer{154.0, 186.0, 0.0};
    const qvPelBuffer<unsigned char> image =
        drawn([&](long x, long y) { return 0.5 * (inner.grey(x, y) + outer.grey(x, y)); });
    const qvStreetMeasureParams with(qvStreetFinderParams({26.0, 26.0}, {12.0, 40.0}, {12.0, 40.0}));
    expectNothing(measureAlongRows(image, with), Defs::eAmbiguousEdges);
}

TEST(StreetMeasurementStatus, aDirectionThatIsTooFarOffLeadsElsewhere) {
    // 2.6 degrees from what is told.
    const DrawnStreet street{149.0, 171.0, 0.045};
    const qvStreetLineMeasurement m = measureAlongRows(drawn([&](long x, long y) { return street.grey(x, y); }));
    expectNothing(m, Defs::eElsewhere);
    EXPECT_GT(m.usedPoints(), 0);
}

TEST(StreetMeasurementStatus, aStreetThatBreaksOffIsNotMeasured) {
    // A fifth of the image long, and circuits stronger than the street beside it.
    const DrawnStreet street{159.0, 181.0, 0.0};
    Noise noise(4);
    const qvStreetLineMeasurement m = measureAlongRows(drawn(
        [&](long x, long y) { return x > 180 && x < 280 ? street.grey(x, y) : 120.0 + noise.real(-60.0, 60.0); }));
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), Defs::eTooFewPoints);
}

TEST(StreetMeasurementStatus, aMeanderingStreetIsNotMeasured) {
    const qvStreetLineMeasurement m = measureAlongRows(drawn([](long x, long y) {
        const double aside = 2.5 * std::sin(0.1 * static_cast<double>(x));
        return DrawnStreet{159.0 + aside, 181.0 + aside, 0.0}.grey(x, y);
    }));
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_TRUE(m.reason() == Defs::eUnsteadyEdges || m.reason() == Defs::eTooFewPoints) << m.reason();
}

TEST(StreetMeasurementStatus, aStreetAtTheImagesSideIsNotMeasured) {
    // Its upper edge lies outside; the lower one too near to the side.
    const DrawnStreet street{-10.0, 8.0, 0.0};
    const qvStreetLineMeasurement m =
        measureAlongRows(drawn([&](long x, long y) { return street.grey(x, y); }), params(), 1.0);
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_TRUE(std::isnan(m.width()));
}

TEST(StreetMeasurementStatus, aStreetThatLeavesTheImageIsMeasuredWhereItIsInside) {
    // Its upper edge comes within 9 pels of the image's side in column 250.
    const DrawnStreet street{34.0, 56.0, -0.1};
    const qvPelBuffer<unsigned char> image = drawn([&](long x, long y) { return street.grey(x, y); });
    const qvStreetLineMeasurement m =
        measureSingle(image, toldSingle(std::atan(-0.1), {qvLineSeg(Point(20.0, 43.0), Point(180.0, 27.0))}));
    ASSERT_EQ(m.status(), Defs::eMeasured);
    EXPECT_NEAR(m.angle().toDouble(), std::atan(-0.1), 2e-4);
    EXPECT_NEAR(m.width(), 22.0 / std::sqrt(1.01), 0.05);
}

TEST(StreetMeasurementStatus, saturatedPadsDoNotPullTheEdges) {
    const Wafer wafer;
    // White and black pads over a third of each edge of the horizontal street.
    const qvPelBuffer<unsigned char> image = drawn([&](long x, long y) {
        const long in = x % 90;
        if (y >= 70 && y < 100 && in < 30) return x / 90 % 2 == 0 ? 300.0 : -40.0;
        return wafer.grey(x, y);
    });
    const qvStreetMeasurement m = measure(image, {toldOf(wafer, 0, 0)})[0];
    ASSERT_EQ(m.status(), Defs::eMeasured);
    expectNear(m.crossing(), wafer.crossing(0, 0), 0.1);
    EXPECT_GT(m.refusedPoints(), 5);
}

TEST(StreetMeasurementStatus, thePolarityIsKept) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    EXPECT_EQ(measure(image, {toldOf(wafer, 0, 0)}, params(1e30, FinderDefs::eDarkOnLight))[0].status(),
              Defs::eMeasured);
    EXPECT_EQ(measure(image, {toldOf(wafer, 0, 0)}, params(1e30, FinderDefs::eLightOnDark))[0].status(),
              Defs::eNotMeasured);
}

TEST(StreetMeasurementStatus, edgesBelowTheLeastContrastAreNone) {
    const Wafer wafer;
    qvStreetMeasureParams with = params();
    with.leastContrast(70.0);
    const qvStreetMeasurement m = measure(drawn(wafer), {toldOf(wafer, 0, 0)}, with)[0];
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoEdges);
    with.leastContrast(30.0);
    EXPECT_EQ(measure(drawn(wafer), {toldOf(wafer, 0, 0)}, with)[0].status(), Defs::eMeasured);
}

TEST(StreetMeasurementStatus, aSingleStreetWithoutSegmentsHasNoPlace) {
    expectNothing(measureSingle(drawn(Wafer()), toldSingle(0.0, {})), Defs::eOutsideImage);
    expectNothing(measureSingle(drawn(Wafer()), Single()), Defs::eOutsideImage);
}

TEST(StreetMeasurementStatus, placesOutsideTheImageAreSaidToBe) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    for (const Point& at : {Point(kNaN, 90.0), Point(100.0, kNaN), Point(kInfinity, 90.0), Point(100.0, -1e9),
                            Point(-3000.0, -3000.0), Point(2e6, 100.0)}) {
        const qvStreetMeasurement m = measure(image, {told(at, 0.02, 1.6)})[0];
        EXPECT_EQ(m.status(), Defs::eNotMeasured);
        EXPECT_EQ(m.reason(), Defs::eOutsideImage) << at.x() << ", " << at.y();
        EXPECT_EQ(m.vertical().reason(), Defs::eOutsideImage);
    }
    for (const double angle : {kNaN, kInfinity, -kInfinity}) {
        const qvStreetMeasurement m = measure(image, {told(wafer.crossing(0, 0), angle, 1.6)})[0];
        EXPECT_EQ(m.status(), Defs::eNotMeasured);
        EXPECT_EQ(m.reason(), Defs::eOutsideImage);
    }
}

TEST(StreetMeasurementStatus, anImageTooSmallForBlocksHasTooLittleOfTheStreet) {
    const qvPelBuffer<unsigned char> image = noiseImage(30, 30, 2);
    const qvStreetMeasurement m = measure(image, {told(Point(15.0, 15.0), 0.0, 0.5 * kPi)})[0];
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), Defs::eOutsideImage);
}
