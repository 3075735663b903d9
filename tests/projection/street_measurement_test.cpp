#include "qvstreet/projection/street_measurement.h"

#include <gtest/gtest.h>

#include "qvstreet/projection/street_measurement_access.h"
#include "tests/projection/measured_wafer.h"
#include "tests/support/refusal.h"

using namespace qvtest;

TEST(StreetMeasureParams, areThoseOfTheFinderTheWholeImageAndThreeGreyLevels) {
    const qvStreetMeasureParams defaults;
    EXPECT_EQ(defaults.reach(), 1e30);
    EXPECT_EQ(defaults.leastContrast(), 3.0);
    EXPECT_EQ(defaults.streets().nominalStreetWidth(), qvPair<double>(10.0, 10.0));
    const qvStreetMeasureParams given(qvStreetFinderParams({16.0, 22.0}, {8.0, 24.0}, {12.0, 32.0}), 70.0, 12.5);
    EXPECT_EQ(given.streets().nominalStreetWidthRangeY(), qvPair<double>(12.0, 32.0));
    EXPECT_EQ(given.reach(), 70.0);
    EXPECT_EQ(given.leastContrast(), 12.5);
}

TEST(StreetMeasureParams, takeNewValues) {
    qvStreetMeasureParams values;
    values.reach(12.0);
    values.leastContrast(0.25);
    values.streets(qvStreetFinderParams({3.0, 4.0}, {1.0, 5.0}, {2.0, 6.0}));
    EXPECT_EQ(values.reach(), 12.0);
    EXPECT_EQ(values.leastContrast(), 0.25);
    EXPECT_EQ(values.streets().nominalStreetWidth(), qvPair<double>(3.0, 4.0));
}

TEST(StreetMeasureParams, refuseWhatIsNotPositive) {
    for (const double bad : {0.0, -0.0, -1.0, -kInfinity, kNaN}) {
        qvStreetMeasureParams values(qvStreetFinderParams(), 5.0, 6.0);
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { values.reach(bad); }), L"reach must be positive.");
        EXPECT_EQ(values.reach(), 5.0);
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { values.leastContrast(bad); }),
                  L"leastContrast must be positive.");
        EXPECT_EQ(values.leastContrast(), 6.0);
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { qvStreetMeasureParams(qvStreetFinderParams(), bad); }),
                  L"reach must be positive.");
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { qvStreetMeasureParams(qvStreetFinderParams(), 1.0, bad); }),
                  L"leastContrast must be positive.");
    }
    EXPECT_NO_THROW(qvStreetMeasureParams(qvStreetFinderParams(), 1e-300, 1e-300));
    EXPECT_NO_THROW(qvStreetMeasureParams(qvStreetFinderParams(), kInfinity, kInfinity));
}

TEST(StreetMeasurement, reasonsHaveTexts) {
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eNoReason), L"measured");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eOutsideImage), L"too little of the street in the image");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eNoEdges), L"no edges");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eOneEdge), L"one edge only");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eAmbiguousEdges), L"several pairs of edges");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eTooFewPoints), L"too few edge points");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eUnsteadyEdges), L"edges not straight");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eElsewhere), L"edges lead elsewhere");
    EXPECT_EQ(qfStreetMeasureReasonText(Defs::eNoCrossing), L"the streets do not cross");
    EXPECT_EQ(qfStreetMeasureReasonText(static_cast<Defs::measureReason>(9)), L"unknown");
    EXPECT_EQ(qfStreetMeasureReasonText(static_cast<Defs::measureReason>(-1)), L"unknown");
}

TEST(StreetMeasurement, numbersOfTheEnumerationsStay) {
    EXPECT_EQ(static_cast<int>(Defs::eNotMeasured), 0);
    EXPECT_EQ(static_cast<int>(Defs::ePartlyMeasured), 1);
    EXPECT_EQ(static_cast<int>(Defs::eMeasured), 2);
    EXPECT_EQ(static_cast<int>(Defs::eNoReason), 0);
    EXPECT_EQ(static_cast<int>(Defs::eOneEdge), 3);
    EXPECT_EQ(static_cast<int>(Defs::eNoCrossing), 8);
}

TEST(StreetMeasurement, aNewOneHasMeasuredNothingForNoReason) {
    const qvStreetMeasurement m;
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), Defs::eNoReason);
    EXPECT_TRUE(isNowhere(m.crossing()));
    EXPECT_TRUE(isNowhere(m.crossingDeviation()));
    EXPECT_EQ(m.usedPoints(), 0);
    EXPECT_EQ(m.refusedPoints(), 0);
    expectNothing(m.horizontal(), Defs::eNoReason);
    expectNothing(m.vertical(), Defs::eNoReason);
    expectNothing(qvStreetLineMeasurement(), Defs::eNoReason);
}

TEST(StreetMeasurement, onlyEdges0And1Exist) {
    const qvStreetLineMeasurement m;
    for (const long bad : {-1L, 2L, 2147483647L}) {
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { m.edge(bad); }), L"index must be 0 or 1.");
        EXPECT_EQ(refusalOf<FinderDefs::BadParams>([&] { m.edgeDeviation(bad); }), L"index must be 0 or 1.");
    }
    EXPECT_NO_THROW(m.edge(0));
    EXPECT_NO_THROW(m.edgeDeviation(1));
}

TEST(StreetMeasurement, aCrossingIsFoundToAFiftiethOfAPel) {
    const Wafer wafer;
    const std::vector<qvStreetMeasurement> measured = measure(drawn(wafer), {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)});
    for (std::size_t h = 0; h < 2; ++h) {
        const qvStreetMeasurement& m = measured[h];
        EXPECT_EQ(m.status(), Defs::eMeasured);
        EXPECT_EQ(m.reason(), Defs::eNoReason);
        expectNear(m.crossing(), wafer.crossing(h, 0), 0.02);
        EXPECT_NEAR(m.horizontalAngle().toDouble(), wafer.horizontalAngle(), 1e-4);
        EXPECT_NEAR(m.verticalAngle().toDouble(), wafer.verticalAngle(), 1e-4);
        // At right angles to the streets.
        EXPECT_NEAR(m.horizontalWidth(), 22.0 / std::sqrt(1.0 + 0.02 * 0.02), 0.03);
        EXPECT_NEAR(m.verticalWidth(), 16.0 / std::sqrt(1.0 + 0.025 * 0.025), 0.03);
        for (const double deviation : {m.crossingDeviation().x(), m.crossingDeviation().y(),
                                       m.horizontalWidthDeviation(), m.verticalWidthDeviation()}) {
            EXPECT_GE(deviation, 0.001);
            EXPECT_LE(deviation, 0.05);
        }
        EXPECT_GT(m.horizontalAngleDeviation().toDouble(), 1e-6);
        EXPECT_LT(m.horizontalAngleDeviation().toDouble(), 1e-4);
        EXPECT_GT(m.usedPoints(), 50);
    }
}

TEST(StreetMeasurement, aCrossingRepeatsWhatItsStreetsSay) {
    const Wafer wafer;
    const qvStreetMeasurement m = measure(drawn(wafer), {toldOf(wafer, 1, 0)})[0];
    EXPECT_EQ(m.horizontalAngle().toDouble(), m.horizontal().angle().toDouble());
    EXPECT_EQ(m.horizontalAngleDeviation().toDouble(), m.horizontal().angleDeviation().toDouble());
    EXPECT_EQ(m.verticalAngle().toDouble(), m.vertical().angle().toDouble());
    EXPECT_EQ(m.verticalAngleDeviation().toDouble(), m.vertical().angleDeviation().toDouble());
    EXPECT_EQ(m.horizontalWidth(), m.horizontal().width());
    EXPECT_EQ(m.horizontalWidthDeviation(), m.horizontal().widthDeviation());
    EXPECT_EQ(m.verticalWidth(), m.vertical().width());
    EXPECT_EQ(m.verticalWidthDeviation(), m.vertical().widthDeviation());
    EXPECT_EQ(m.usedPoints(), m.horizontal().usedPoints() + m.vertical().usedPoints());
    EXPECT_EQ(m.refusedPoints(), m.horizontal().refusedPoints() + m.vertical().refusedPoints());
    EXPECT_NE(m.horizontalWidth(), m.verticalWidth());
}

TEST(StreetMeasurement, deviationsOfCentreWidthAndEdgesBelongTogether) {
    // With e0 and e1 the errors of the edges, the centre's is (e0 + e1) / 2 and the width's e1 - e0, so the variances of
    // centre and a quarter of the width's are together the mean of the edges'. A thousandth of a pel, at right angles to
    // the street, comes on top of each.
    const Wafer wafer;
    const qvStreetMeasurement m = measure(drawn(wafer), {toldOf(wafer, 0, 0)})[0];
    const auto squared = [](double value) { return value * value; };
    for (const qvStreetLineMeasurement& street : {m.horizontal(), m.vertical()}) {
        const double centre = squared(street.centreDeviation());
        const double width = squared(street.widthDeviation());
        const double edges = squared(street.edgeDeviation(0)) + squared(street.edgeDeviation(1));
        EXPECT_NEAR(centre + 0.25 * width - 0.5 * edges, 0.25e-6, 0.001e-6);
        EXPECT_GT(centre, 2e-6);
    }
}

TEST(StreetMeasurement, theDeviationOfASkewedCrossingIsThatOfBothStreetsThroughTheirDirections) {
    Wafer wafer;
    wafer.horizontal = {{60.3, 82.3, 0.4}};
    wafer.vertical = {{120.4, 136.4, 0.5}};
    const double s = 0.4;
    const double t = 0.5;
    const qvStreetMeasurement m =
        measure(drawn(wafer), {told(wafer.crossing(0, 0), wafer.horizontalAngle(), wafer.verticalAngle())})[0];
    ASSERT_EQ(m.status(), Defs::eMeasured);
    // Errors of the streets along y and along x. The crossing solves y - s * x = a and x - t * y = b.
    const double inY = m.horizontal().centreDeviation() * std::sqrt(1.0 + s * s);
    const double inX = m.vertical().centreDeviation() * std::sqrt(1.0 + t * t);
    EXPECT_NEAR(m.crossingDeviation().x() * (1.0 - s * t), std::hypot(inX, t * inY), 1e-6);
    EXPECT_NEAR(m.crossingDeviation().y() * (1.0 - s * t), std::hypot(inY, s * inX), 1e-6);
    EXPECT_GT(std::fabs(inX - inY), 1e-5);
}

TEST(StreetMeasurement, twoStreetsThatBothLieNearerTheHorizontalCrossAsWell) {
    Wafer wafer;
    wafer.horizontal = {{150.3, 172.3, 0.05}, {20.4, 40.4, 0.65}};
    wafer.vertical.clear();
    // y = a + s * x and y = b + t * x.
    const double s = 0.05;
    const double t = 0.65;
    const double x = (161.3 - 30.4) / (t - s);
    const Point at(x, 161.3 + s * x);
    const qvStreetMeasureParams widths(qvStreetFinderParams({20.0, 22.0}, {12.0, 30.0}, {12.0, 32.0}));
    const qvStreetMeasurement m = measure(drawn(wafer), {told(at, std::atan(s), std::atan(t))}, widths)[0];
    ASSERT_EQ(m.status(), Defs::eMeasured);
    expectNear(m.crossing(), at, 0.05);
    const double first = m.horizontal().centreDeviation() * std::sqrt(1.0 + s * s);
    const double second = m.vertical().centreDeviation() * std::sqrt(1.0 + t * t);
    EXPECT_NEAR(m.crossingDeviation().x() * (t - s), std::hypot(first, second), 1e-5);
    EXPECT_NEAR(m.crossingDeviation().y() * (t - s), std::hypot(t * first, s * second), 1e-5);
}

TEST(StreetMeasurement, theWidthOfAWedgeIsJudgedWhereItWasAskedFor) {
    // 16 pels wide at the left side and 25.2 at the right one; 16.8 at x = 40, where at most 18 are allowed, and 20.6 in
    // the middle.
    const Image image = drawn([](long x, long y) {
        const DrawnStreet upper{150.3, 1e3, 0.0};
        const DrawnStreet lower{-1e3, 166.3, 0.02};
        return std::max(upper.grey(x, y), lower.grey(x, y));
    });
    const qvStreetMeasureParams narrow(qvStreetFinderParams({17.0, 17.0}, {14.0, 18.0}, {14.0, 18.0}));
    const auto asked = [&](double x) {
        const double y = 0.5 * (150.3 + 166.3 + 0.02 * x);
        return measureSingle(image, toldSingle(0.01, {qvLineSeg(Point(x - 20.0, y), Point(x + 20.0, y))}), narrow);
    };
    const qvStreetLineMeasurement m = asked(40.0);
    ASSERT_EQ(m.status(), Defs::eMeasured);
    EXPECT_NEAR(m.width(), 16.8, 0.05);
    EXPECT_EQ(asked(400.0).reason(), Defs::eOneEdge);
}

TEST(StreetMeasurement, aStreetOfWhichOneEdgeWavesIsFollowedOverAPart) {
    // Waves of a quarter of a pel, 150 pels long, in the upper or in the lower edge.
    const DrawnStreet straight{150.3, 172.3, 0.0};
    for (const int waving : {0, 1}) {
        const Image image = drawn([&](long x, long y) {
            const double wave = 0.25 * std::sin((static_cast<double>(x) + 0.5) * 2.0 * kPi / 150.0);
            const DrawnStreet street{straight.first + (waving == 0 ? wave : 0.0),
                                     straight.second + (waving == 1 ? wave : 0.0), 0.0};
            return street.grey(x, y);
        });
        std::vector<qvStreetLineMeasurement> measured;
        std::vector<qv_MeasuredTrack> tracks;
        qf_measureStreets(image, {toldSingle(0.0, {qvLineSeg(Point(20.0, 161.3), Point(440.0, 161.3))})}, params(),
                          measured, &tracks);
        ASSERT_EQ(tracks.size(), 1u);
        EXPECT_TRUE(tracks[0].isLocal) << waving;
        EXPECT_LT(tracks[0].track.extent.high - tracks[0].track.extent.low, 250.0) << waving;
    }
}

TEST(StreetMeasurement, edge0IsTheUpperOneAndTheLeftOne) {
    const Wafer wafer;
    const qvStreetMeasurement m = measure(drawn(wafer), {toldOf(wafer, 0, 0)})[0];
    const qvLineSeg upper = m.horizontal().edge(0);
    EXPECT_NEAR(upper.p1().y(), 80.3 + 0.02 * upper.p1().x(), 0.03);
    EXPECT_NEAR(upper.p2().y(), 80.3 + 0.02 * upper.p2().x(), 0.03);
    const qvLineSeg lower = m.horizontal().edge(1);
    EXPECT_NEAR(lower.p1().y(), 102.3 + 0.02 * lower.p1().x(), 0.03);
    const qvLineSeg left = m.vertical().edge(0);
    EXPECT_NEAR(left.p1().x(), 170.4 - 0.025 * left.p1().y(), 0.03);
    const qvLineSeg right = m.vertical().edge(1);
    EXPECT_NEAR(right.p2().x(), 186.4 - 0.025 * right.p2().y(), 0.03);
    // Midway between them; from the first block to the last.
    expectNear(m.horizontal().centre().p1(), (upper.p1() + lower.p1()) * 0.5, 1e-9);
    EXPECT_LT(upper.p1().x(), 30.0);
    EXPECT_GT(upper.p2().x(), 430.0);
    EXPECT_LT(left.p1().y(), 30.0);
    EXPECT_GT(left.p2().y(), 310.0);
    EXPECT_GT(m.horizontal().edgeDeviation(0), m.horizontal().centreDeviation());
}

TEST(StreetMeasurement, anglesRunTheWayTheResultsDo) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    for (const double turns : {-2.0, -1.0, 1.0, 4.0}) {
        Cross result = toldOf(wafer, 0, 0);
        Access::horizontalAngle(result) = qvRadian(wafer.horizontalAngle() + 0.003 + turns * kPi);
        Access::verticalAngle(result) = qvRadian(wafer.verticalAngle() - 0.003 + turns * kPi);
        const qvStreetMeasurement m = measure(image, {result})[0];
        ASSERT_EQ(m.status(), Defs::eMeasured);
        EXPECT_NEAR(m.horizontalAngle().toDouble(), wafer.horizontalAngle() + turns * kPi, 1e-4);
        EXPECT_NEAR(m.verticalAngle().toDouble(), wafer.verticalAngle() + turns * kPi, 1e-4);
    }
}

TEST(StreetMeasurement, twoCrossingsOfOneStreetHaveItsAngleToTheBit) {
    const Wafer wafer;
    const std::vector<qvStreetMeasurement> measured = measure(drawn(wafer), {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)});
    EXPECT_EQ(measured[0].verticalAngle().toDouble(), measured[1].verticalAngle().toDouble());
    EXPECT_EQ(measured[0].verticalAngleDeviation().toDouble(), measured[1].verticalAngleDeviation().toDouble());
    EXPECT_EQ(measured[0].vertical().centre().p1(), measured[1].vertical().centre().p1());
    EXPECT_NE(measured[0].horizontal().centre().p1(), measured[1].horizontal().centre().p1());
}

TEST(StreetMeasurement, parallelStreetsTellEachOtherTheirDirection) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    const qvStreetMeasurement alone0 = measure(image, {toldOf(wafer, 0, 0)})[0];
    const qvStreetMeasurement alone1 = measure(image, {toldOf(wafer, 1, 0)})[0];
    const std::vector<qvStreetMeasurement> together = measure(image, {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)});
    EXPECT_GT(std::fabs(alone0.horizontalAngle().toDouble() - alone1.horizontalAngle().toDouble()), 1e-6);
    EXPECT_NEAR(together[0].horizontalAngle().toDouble(), together[1].horizontalAngle().toDouble(), 1e-6);
    EXPECT_LT(together[0].horizontalAngleDeviation().toDouble(), 0.95 * alone0.horizontalAngleDeviation().toDouble());
    EXPECT_LT(together[1].horizontalAngleDeviation().toDouble(), 0.95 * alone1.horizontalAngleDeviation().toDouble());
}

TEST(StreetMeasurement, streetsThatAreNotParallelKeepTheirOwnDirections) {
    Wafer wafer;
    wafer.horizontal[1].slope = 0.012;
    const std::vector<qvStreetMeasurement> measured = measure(drawn(wafer), {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)});
    EXPECT_NEAR(measured[0].horizontalAngle().toDouble(), std::atan(0.020), 1e-4);
    EXPECT_NEAR(measured[1].horizontalAngle().toDouble(), std::atan(0.012), 1e-4);
}

TEST(StreetMeasurement, eachStreetIsFollowedOnce) {
    const Wafer wafer;
    std::vector<qvStreetMeasurement> measured;
    std::vector<qv_MeasuredTrack> tracks;
    qf_measureCrosses(drawn(wafer), {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)}, params(), measured, &tracks);
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_FALSE(tracks[0].pels.swapped);
    EXPECT_TRUE(tracks[1].pels.swapped);
    EXPECT_FALSE(tracks[2].pels.swapped);
    for (const qv_MeasuredTrack& track : tracks) EXPECT_EQ(track.reason, Defs::eNoReason);
}

TEST(StreetMeasurement, theReachShortensTheSegments) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    const Point at = wafer.crossing(0, 0);
    for (const double reach : {70.0, 100.0}) {
        const qvStreetMeasurement m = measure(image, {toldOf(wafer, 0, 0)}, params(reach))[0];
        ASSERT_EQ(m.status(), Defs::eMeasured) << reach;
        expectNear(m.crossing(), at, 0.05);
        EXPECT_GT(m.horizontal().centre().p1().x(), at.x() - reach - 2.0);
        EXPECT_LT(m.horizontal().centre().p2().x(), at.x() + reach + 2.0);
        EXPECT_GT(m.horizontal().centre().len(), reach);
        EXPECT_LT(m.vertical().centre().len(), 2.0 * reach + 2.0);
    }
    // A reach in which there are no six blocks.
    EXPECT_EQ(measure(image, {toldOf(wafer, 0, 0)}, params(15.0))[0].reason(), Defs::eOutsideImage);
}

TEST(StreetMeasurement, streetsFollowedOverAPartAreEachCrossingsOwn) {
    const Wafer wafer;
    std::vector<qvStreetMeasurement> measured;
    std::vector<qv_MeasuredTrack> tracks;
    qf_measureCrosses(drawn(wafer), {toldOf(wafer, 0, 0), toldOf(wafer, 1, 0)}, params(100.0), measured, &tracks);
    EXPECT_EQ(tracks.size(), 4u);
    EXPECT_NE(measured[0].verticalAngle().toDouble(), measured[1].verticalAngle().toDouble());
}

TEST(StreetMeasurement, cornersTellTheWidthBetterThanTheParameters) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    // Narrower than the streets are.
    const qvStreetMeasureParams narrow(qvStreetFinderParams({6.0, 6.0}, {4.0, 9.0}, {4.0, 9.0}));
    Cross result = toldOf(wafer, 0, 0);
    EXPECT_NE(measure(image, {result}, narrow)[0].status(), Defs::eMeasured);
    Access::statusFlags(result) = FinderDefs::eStreetFromEdges;
    const Point c = wafer.crossing(0, 0);
    Access::ulCorner(result) = c + Point(-8.5, -10.5);
    Access::urCorner(result) = c + Point(8.0, -10.5);
    Access::llCorner(result) = c + Point(-8.5, 12.0);
    Access::lrCorner(result) = c + Point(8.0, 12.0);
    const qvStreetMeasurement m = measure(image, {result}, narrow)[0];
    EXPECT_EQ(m.status(), Defs::eMeasured);
    expectNear(m.crossing(), c, 0.03);
}

TEST(StreetMeasurement, aSingleStreetIsMeasuredAtTheMiddleOfItsSegments) {
    const Wafer wafer;
    const Image image = drawn(wafer);
    // Two edges of the vertical street, told with their width; the parameters would not fit.
    const Single result = toldSingle(
        wafer.verticalAngle() + 0.004,
        {qvLineSeg(Point(168.0, 60.0), Point(165.0, 200.0)), qvLineSeg(Point(184.5, 60.0), Point(181.5, 200.0))},
        FinderDefs::eStreetFromEdges);
    const qvStreetMeasureParams narrow(qvStreetFinderParams({6.0, 6.0}, {4.0, 9.0}, {4.0, 9.0}));
    const qvStreetLineMeasurement m = measureSingle(image, result, narrow);
    ASSERT_EQ(m.status(), Defs::eMeasured);
    EXPECT_NEAR(m.width(), 16.0, 0.04);
    EXPECT_NEAR(m.angle().toDouble(), wafer.verticalAngle(), 2e-4);
    EXPECT_NEAR(m.centre().p1().x(), 178.4 - 0.025 * m.centre().p1().y(), 0.02);
}

TEST(StreetMeasurement, withoutResultsTheListIsEmpty) {
    std::vector<qvStreetMeasurement> crosses(3);
    qfStreetMeasureCrosses(drawn(Wafer()), {}, params(), crosses);
    EXPECT_TRUE(crosses.empty());
    std::vector<qvStreetLineMeasurement> streets(2);
    qfStreetMeasureStreets(drawn(Wafer()), {}, params(), streets);
    EXPECT_TRUE(streets.empty());
}

TEST(StreetMeasurement, anUnboundImageIsRefusedAndTheListsStay) {
    std::vector<qvStreetMeasurement> crosses(3);
    std::vector<qvStreetLineMeasurement> streets(2);
    EXPECT_EQ(
        refusalOf<FinderDefs::UnboundImage>([&] { qfStreetMeasureCrosses(Image(), {Cross()}, params(), crosses); }),
        L"Image is unbound.");
    EXPECT_EQ(
        refusalOf<FinderDefs::UnboundImage>([&] { qfStreetMeasureStreets(Image(), {Single()}, params(), streets); }),
        L"Image is unbound.");
    EXPECT_EQ(crosses.size(), 3u);
    EXPECT_EQ(streets.size(), 2u);
    // Also without results.
    EXPECT_THROW(qfStreetMeasureCrosses(Image(), {}, params(), crosses), FinderDefs::UnboundImage);
}

TEST(StreetMeasurement, aSingularClientTransformIsRefusedAndTheListsStay) {
    qvPelBuffer<unsigned char> image = drawn(Wafer());
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 2.0, 2.0, 4.0), Point(0.0, 0.0)));
    std::vector<qvStreetMeasurement> crosses(3);
    std::vector<qvStreetLineMeasurement> streets(2);
    EXPECT_THROW(qfStreetMeasureCrosses(image, {Cross()}, params(), crosses), qvMatrixErr::Singular);
    EXPECT_THROW(qfStreetMeasureStreets(image, {Single()}, params(), streets), qvMatrixErr::Singular);
    EXPECT_EQ(crosses.size(), 3u);
    EXPECT_EQ(streets.size(), 2u);
}

TEST(StreetMeasurement, inAStretchedMirroredClientFrameEverythingIsInItsUnits) {
    const Wafer wafer;
    qvPelBuffer<unsigned char> image = drawn(wafer);
    const qvStreetMeasurement inPels = measure(image, {toldOf(wafer, 1, 0)})[0];
    // Half a unit a pel along x, two along y, y up.
    const qvXform<2> client(qvMatrix<2>(0.5, 0.0, 0.0, -2.0), Point(1000.0, 700.0));
    image.clientFromImageXform(client);
    const auto mappedAngle = [](double angle) { return std::atan2(-2.0 * std::sin(angle), 0.5 * std::cos(angle)); };
    const Cross result = told(client * (wafer.crossing(1, 0) + Point(0.8, -0.6)),
                              mappedAngle(wafer.horizontalAngle() + 0.006), mappedAngle(wafer.verticalAngle() - 0.006));
    const qvStreetMeasureParams with(qvStreetFinderParams({8.0, 44.0}, {4.0, 12.0}, {24.0, 64.0}));
    const qvStreetMeasurement m = measure(image, {result}, with)[0];
    ASSERT_EQ(m.status(), Defs::eMeasured);
    expectNear(m.crossing(), client * inPels.crossing(), 0.004);
    EXPECT_NEAR(m.crossingDeviation().x(), 0.5 * inPels.crossingDeviation().x(), 2e-4);
    EXPECT_NEAR(m.crossingDeviation().y(), 2.0 * inPels.crossingDeviation().y(), 2e-4);
    EXPECT_NEAR(m.horizontalAngle().toDouble(), mappedAngle(inPels.horizontalAngle().toDouble()), 1e-5);
    EXPECT_NEAR(m.verticalAngle().toDouble(), mappedAngle(inPels.verticalAngle().toDouble()), 1e-5);
    // Edges 22 pels apart along y are 44 units so; at right angles to a slope of -2 * 0.02 / 0.5.
    EXPECT_NEAR(m.horizontalWidth(), 44.0 / std::sqrt(1.0 + 0.08 * 0.08), 0.06);
    EXPECT_NEAR(m.verticalWidth(), 8.0 / std::sqrt(1.0 + 0.00625 * 0.00625), 0.02);
    // A small turn counts by the units across over the units along.
    EXPECT_NEAR(m.horizontalAngleDeviation().toDouble(), 4.0 * inPels.horizontalAngleDeviation().toDouble(),
                0.2 * inPels.horizontalAngleDeviation().toDouble());
    // Edge 0 is the upper one in the image, above in the client frame.
    EXPECT_GT(m.horizontal().edge(0).p1().y(), m.horizontal().edge(1).p1().y());
}

TEST(StreetMeasurement, theWindowsOffsetMovesEverything) {
    const Wafer wafer;
    qvPelBuffer<unsigned char> image = drawn(wafer);
    const qvStreetMeasurement before = measure(image, {toldOf(wafer, 0, 0)})[0];
    image.offset(-300, 1000);
    Cross result = toldOf(wafer, 0, 0);
    Access::crossing(result) = Access::crossing(result) + Point(-300.0, 1000.0);
    const qvStreetMeasurement after = measure(image, {result})[0];
    expectNear(after.crossing(), before.crossing() + Point(-300.0, 1000.0), 1e-6);
    expectNear(after.horizontal().centre().p2(), before.horizontal().centre().p2() + Point(-300.0, 1000.0), 1e-6);
}

TEST(StreetMeasurement, whereThePelsLieInMemoryDoesNotMatter) {
    const Wafer wafer;
    const qvPelBuffer<unsigned char> image = drawn(wafer);
    const std::vector<Cross> results{toldOf(wafer, 0, 0)};
    const qvStreetMeasurement first = measure(image, results)[0];
    for (long alignment = 0; alignment < 64; ++alignment) {
        const long stride = kWidth + (alignment * 5) % 67;
        std::vector<unsigned char> memory(static_cast<std::size_t>(stride * kHeight + 128), 255);
        unsigned char* start = memory.data();
        while (reinterpret_cast<std::uintptr_t>(start) % 64 != static_cast<std::uintptr_t>(alignment)) ++start;
        for (long y = 0; y < kHeight; ++y) std::copy_n(image.pointToRow(y), kWidth, start + y * stride);
        const qvStreetMeasurement m = measure(Image(start, kWidth, kHeight, stride), results)[0];
        EXPECT_TRUE(sameBits(m.crossing(), first.crossing())) << alignment;
        EXPECT_TRUE(sameBits(m.crossingDeviation(), first.crossingDeviation())) << alignment;
        EXPECT_TRUE(sameBits(m.horizontalAngle(), first.horizontalAngle())) << alignment;
        EXPECT_TRUE(sameBits(m.verticalWidth(), first.verticalWidth())) << alignment;
        EXPECT_EQ(m.usedPoints(), first.usedPoints());
    }
    EXPECT_TRUE(sameBits(measure(asBottomUp(image), results)[0].crossing(), first.crossing()));
    EXPECT_TRUE(sameBits(measure(asWindow(image, 7, 3), results)[0].crossing(), first.crossing()));
}
