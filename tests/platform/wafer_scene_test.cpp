#include "tests/support/wafer_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace qvtest;

constexpr double exact = 1e-9;
/// Direction of (4, 3): cosine 0.8, sine 0.6.
constexpr double angle345 = 36.86989764584402;

void expectPoint(const Point2& p, double x, double y) {
    EXPECT_NEAR(p.x, x, exact);
    EXPECT_NEAR(p.y, y, exact);
}

Scene sceneOf(long width, long height, const StreetFamily& horizontal, const StreetFamily& vertical) {
    Scene scene;
    scene.width = width;
    scene.height = height;
    scene.families = {horizontal, vertical};
    return scene;
}

Scene uprightScene() { return sceneOf(1000, 700, {0.0, {-50.0}, 30.0, 60.0}, {90.0, {100.0}, 18.0, 60.0}); }

Scene leaningScene() { return sceneOf(400, 200, {angle345, {10.0}, 4.0, 60.0}, {90.0 + angle345, {5.0}, 6.0, 60.0}); }

TEST(WaferTruth, OffsetsGrowDownwardsAndRightwardsFromTheImageCentre) {
    const SceneTruth truth = truthOf(uprightScene());
    ASSERT_EQ(truth.crossings.size(), 1u);
    expectPoint(truth.crossings[0].crossing, 600.0, 300.0);
}

TEST(WaferTruth, CornersTakeEachDirectionsOwnWidth) {
    const SceneTruth truth = truthOf(uprightScene());
    ASSERT_EQ(truth.crossings.size(), 1u);
    expectPoint(truth.crossings[0].ul, 591.0, 285.0);
    expectPoint(truth.crossings[0].ur, 609.0, 285.0);
    expectPoint(truth.crossings[0].ll, 591.0, 315.0);
    expectPoint(truth.crossings[0].lr, 609.0, 315.0);
}

TEST(WaferTruth, RotatedOblongSceneByHand) {
    const SceneTruth truth = truthOf(leaningScene());
    ASSERT_EQ(truth.crossings.size(), 1u);
    expectPoint(truth.crossings[0].crossing, 198.0, 111.0);
    expectPoint(truth.crossings[0].ul, 196.8, 107.6);
    expectPoint(truth.crossings[0].ur, 201.6, 111.2);
    expectPoint(truth.crossings[0].ll, 194.4, 110.8);
    expectPoint(truth.crossings[0].lr, 199.2, 114.4);
    EXPECT_NEAR(truth.crossings[0].horizontalAngleDegrees, angle345, exact);
    EXPECT_NEAR(truth.crossings[0].verticalAngleDegrees, 90.0 + angle345, exact);
}

TEST(WaferTruth, FamiliesOutOfSquareKeepWidthsAtRightAnglesToTheStreets) {
    const SceneTruth truth =
        truthOf(sceneOf(400, 200, {0.0, {20.0}, 8.0, 60.0}, {135.0, {0.0}, 14.142135623730951, 60.0}));
    ASSERT_EQ(truth.crossings.size(), 1u);
    expectPoint(truth.crossings[0].crossing, 180.0, 120.0);
    expectPoint(truth.crossings[0].ul, 174.0, 116.0);
    expectPoint(truth.crossings[0].ur, 194.0, 116.0);
    expectPoint(truth.crossings[0].ll, 166.0, 124.0);
    expectPoint(truth.crossings[0].lr, 186.0, 124.0);
}

TEST(WaferTruth, SegmentIsTheCentreLineWithinTheImage) {
    const SceneTruth truth = truthOf(leaningScene());
    const StreetTruth& street = truth.streets[0].at(0);
    ASSERT_TRUE(street.visible);
    expectPoint(street.segment.p1, 50.0, 0.0);
    expectPoint(street.segment.p2, 950.0 / 3.0, 200.0);
    const StreetTruth& upright = truth.streets[1].at(0);
    ASSERT_TRUE(upright.visible);
    expectPoint(upright.segment.p1, 281.25, 0.0);
    expectPoint(upright.segment.p2, 131.25, 200.0);
}

TEST(WaferTruth, StreetBeyondTheImageIsNotVisible) {
    Scene scene = uprightScene();
    scene.families[0].offsets = {-351.0, 349.0};
    const SceneTruth truth = truthOf(scene);
    EXPECT_FALSE(truth.streets[0].at(0).visible);
    EXPECT_TRUE(truth.streets[0].at(1).visible);
    EXPECT_FALSE(truth.crossings.at(0).insideImage);
    EXPECT_TRUE(truth.crossings.at(1).insideImage);
}

TEST(WaferTruth, ExpectedMeansFurtherInsideThanTheWiderStreetIsWide) {
    // Widths 30 and 18: at 30 pels from the border a crossing is not asked for, at 30.5 it is, whichever side it is.
    Scene scene = uprightScene();
    scene.families[0].offsets = {-320.0, -319.5, 319.5, 320.0};
    scene.families[1].offsets = {-500.0, -470.0, -469.5, 469.5, 470.0};
    const SceneTruth truth = truthOf(scene);
    EXPECT_EQ(truth.insideCount(), 16u);
    ASSERT_EQ(truth.expectedCount(), 4u);
    for (const CrossingTruth& crossing : truth.crossings) {
        const bool wanted =
            (crossing.street0 == 1 || crossing.street0 == 2) && (crossing.street1 == 2 || crossing.street1 == 3);
        EXPECT_EQ(crossing.expected, wanted);
    }
}

TEST(WaferTruth, EdgesAreUpperAndLeftFirst) {
    const SceneTruth truth = truthOf(uprightScene());
    EXPECT_NEAR(truth.streets[0].at(0).edges[0].point.y, 285.0, exact);
    EXPECT_NEAR(truth.streets[0].at(0).edges[1].point.y, 315.0, exact);
    EXPECT_NEAR(truth.streets[1].at(0).edges[0].point.x, 591.0, exact);
    EXPECT_NEAR(truth.streets[1].at(0).edges[1].point.x, 609.0, exact);
}

TEST(WaferTruth, HalfUnitsHalveWidthsAndPoints) {
    const ClientTransform client = ClientTransform::scaled(0.5);
    const SceneTruth truth = mapTruth(truthOf(uprightScene()), client);
    expectPoint(truth.crossings.at(0).crossing, 300.0, 150.0);
    expectPoint(truth.crossings.at(0).ul, 295.5, 142.5);
    EXPECT_NEAR(truth.streets[0].at(0).width, 15.0, exact);
    EXPECT_NEAR(truth.streets[1].at(0).width, 9.0, exact);
}

TEST(WaferTruth, FrameMirroredInYTurnsAnglesAroundAndKeepsTheImagesCornerNames) {
    ClientTransform client;
    client.d = -1.0;
    client.ty = 700.0;
    Scene scene = uprightScene();
    const SceneTruth upright = mapTruth(truthOf(scene), client);
    expectPoint(upright.crossings.at(0).crossing, 600.0, 400.0);
    expectPoint(upright.crossings.at(0).ul, 591.0, 415.0);
    EXPECT_NEAR(client.mapAngle(30.0), -30.0, exact);
    EXPECT_NEAR(upright.crossings.at(0).verticalAngleDegrees, -90.0, exact);
}

TEST(WaferTruth, RotatedFrameAddsItsAngle) {
    const ClientTransform client = ClientTransform::rotated(3.0, 100.0, -20.0);
    EXPECT_NEAR(client.mapAngle(1.3), 4.3, exact);
    EXPECT_NEAR(client.mapAngle(-91.3), -88.3, exact);
    const Point2 mapped = ClientTransform::rotated(90.0, 5.0, 7.0).map({10.0, 0.0});
    expectPoint(mapped, 5.0, 17.0);
    const SceneTruth truth = mapTruth(truthOf(uprightScene()), client);
    EXPECT_NEAR(truth.streets[0].at(0).width, 30.0, exact);
}

TEST(WaferTruth, InverseTransformLeadsBack) {
    ClientTransform client;
    client.a = 0.4;
    client.b = -0.1;
    client.c = 0.2;
    client.d = -0.6;
    client.tx = 31.0;
    client.ty = -7.0;
    const Point2 there = client.map({12.5, -3.25});
    expectPoint(there, 0.4 * 12.5 + 0.325 + 31.0, 2.5 + 1.95 - 7.0);
    expectPoint(client.inverse().map(there), 12.5, -3.25);
    client.d = -0.05;  // the rows are now multiples of each other
    EXPECT_THROW(client.inverse(), std::invalid_argument);
}

TEST(WaferTruth, LineAnglesAreComparedWithoutDirection) {
    EXPECT_NEAR(lineAngleDifference(-178.7, 1.3), 0.0, exact);
    EXPECT_NEAR(lineAngleDifference(89.5, -89.5), 1.0, exact);
    EXPECT_NEAR(lineAngleDifference(0.0, 90.0), 90.0, exact);
    EXPECT_NEAR(lineAngleDifference(3.0, 361.5), 1.5, exact);
}

TEST(WaferTruth, ParallelLinesHaveNoIntersection) {
    EXPECT_THROW(intersection({{0.0, 0.0}, 20.0}, {{0.0, 5.0}, -160.0}), std::invalid_argument);
}

TEST(WaferTruth, FamiliesOfOneDirectionAreRefused) {
    EXPECT_THROW(truthOf(sceneOf(100, 100, {0.0, {0.0}, 8.0, 60.0}, {10.0, {0.0}, 8.0, 60.0})), std::invalid_argument);
}

TEST(WaferFamilies, EvenAndCentredOffsets) {
    EXPECT_EQ(evenFamily(1.0, -30.0, 25.0, 3, 8.0, 60.0).offsets, (std::vector<double>{-30.0, -5.0, 20.0}));
    EXPECT_EQ(centredFamily(1.0, 100.0, 4, 7.0, 8.0, 60.0).offsets, (std::vector<double>{-143.0, -43.0, 57.0, 157.0}));
    EXPECT_TRUE(centredFamily(1.0, 100.0, 0, 7.0, 8.0, 60.0).offsets.empty());
}

TEST(WaferLattice, LeadsThereAndBack) {
    const Scene scene = sceneOf(400, 200, {3.0, {}, 8.0, 60.0}, {95.0, {}, 8.0, 60.0});
    const Lattice lattice(scene);
    const Point2 p = lattice.toImage(-31.0, 12.0);
    EXPECT_NEAR(lattice.s(p), -31.0, exact);
    EXPECT_NEAR(lattice.t(p), 12.0, exact);
    expectPoint(lattice.toImage(0.0, 0.0), 200.0, 100.0);
}

}  // namespace
