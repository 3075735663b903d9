#include "tests/support/scene_match.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace qvtest;

/// 1230 by 492 pels, so that a sample pel is 5 pels in x and 2 pels in y. Crossings at x = 315, 915 and y = 146, 346;
/// streets 18 (vertical) and 30 pels wide.
Scene oblongScene() {
    Scene scene;
    scene.width = 1230;
    scene.height = 492;
    scene.families[0] = {0.0, {-100.0, 100.0}, 30.0, 60.0};
    scene.families[1] = {90.0, {-300.0, 300.0}, 18.0, 60.0};
    return scene;
}

FoundCrossing at(double x, double y) { return {{x, y}, 0.0, 90.0}; }

TEST(SceneMatch, CountsFoundMissedAndFalse) {
    const MatchReport report = matchCrossings(oblongScene(), {at(315.0, 146.0), at(916.0, 346.0), at(600.0, 246.0)});
    EXPECT_EQ(report.expected, 4);
    EXPECT_EQ(report.found, 2);
    EXPECT_EQ(report.missed, 2);
    EXPECT_EQ(report.falseFound, 1);
    EXPECT_EQ(report.falseIndices, (std::vector<std::size_t>{2}));
    EXPECT_EQ(report.missedTruth.size(), 2u);
    EXPECT_EQ(report.surplus, 0);
    EXPECT_EQ(report.duplicates, 0);
}

TEST(SceneMatch, SamplePelsDifferInXAndY) {
    const MatchReport report = matchCrossings(oblongScene(), {at(318.0, 150.0)});
    ASSERT_EQ(report.found, 1);
    EXPECT_NEAR(report.worstErrorPels, 5.0, 1e-9);
    EXPECT_NEAR(report.worstErrorSamplePels, std::hypot(0.6, 2.0), 1e-9);
    EXPECT_NEAR(report.matches.at(0).offset.x, 3.0, 1e-9);
    EXPECT_NEAR(report.matches.at(0).offset.y, 4.0, 1e-9);
}

TEST(SceneMatch, ToleranceIsThreeSamplePelsOrHalfAStreet) {
    // 3 sample pels are 15 pels in x; in y half the wider street, 15 pels, reaches further than 6 pels.
    EXPECT_EQ(matchCrossings(oblongScene(), {at(315.0 + 14.9, 146.0)}).found, 1);
    EXPECT_EQ(matchCrossings(oblongScene(), {at(315.0 + 15.1, 146.0)}).falseFound, 1);
    EXPECT_EQ(matchCrossings(oblongScene(), {at(315.0, 146.0 + 14.9)}).found, 1);
    EXPECT_EQ(matchCrossings(oblongScene(), {at(315.0, 146.0 + 15.1)}).falseFound, 1);
    Scene narrow = oblongScene();
    narrow.families[0].widthPels = 8.0;
    narrow.families[1].widthPels = 8.0;
    EXPECT_EQ(matchCrossings(narrow, {at(315.0, 146.0 + 5.9)}).found, 1);
    EXPECT_EQ(matchCrossings(narrow, {at(315.0, 146.0 + 6.1)}).falseFound, 1);
    EXPECT_EQ(matchCrossings(narrow, {at(315.0 + 14.9, 146.0)}).found, 1);
}

TEST(SceneMatch, NearestTakesTheTruthAndTheOtherIsADuplicate) {
    const MatchReport report = matchCrossings(oblongScene(), {at(322.0, 146.0), at(314.0, 146.0)});
    EXPECT_EQ(report.found, 1);
    EXPECT_EQ(report.duplicates, 1);
    EXPECT_EQ(report.falseFound, 0);
    ASSERT_EQ(report.matches.size(), 1u);
    EXPECT_EQ(report.matches[0].found, 1u);
    EXPECT_NEAR(report.worstErrorPels, 1.0, 1e-9);
}

TEST(SceneMatch, CrossingsOfTrueStreetsThatNobodyAskedForAreNotFalse) {
    Scene scene = oblongScene();
    scene.families[0].offsets = {-260.0, -230.0, 100.0};  // outside the image, in its border zone, inside
    const MatchReport report = matchCrossings(scene, {at(315.0, -14.0), at(915.0, 16.0), at(315.0, 346.0)});
    EXPECT_EQ(report.expected, 2);
    EXPECT_EQ(report.found, 1);
    EXPECT_EQ(report.surplus, 2);
    EXPECT_EQ(report.falseFound, 0);
    EXPECT_EQ(report.missed, 1);
}

TEST(SceneMatch, ErrorsOfSurplusCrossingsDoNotCount) {
    Scene scene = oblongScene();
    scene.families[0].offsets = {-230.0, 100.0};
    const MatchReport report = matchCrossings(scene, {{{315.0, 20.0}, 7.0, 90.0}, at(315.0, 346.5)});
    EXPECT_NEAR(report.worstErrorPels, 0.5, 1e-9);
    EXPECT_NEAR(report.worstAngleErrorDegrees, 0.0, 1e-9);
}

TEST(SceneMatch, AnglesAreComparedAsLinesInTheClientFrame) {
    Scene scene = oblongScene();
    scene.clientFromImage = ClientTransform::rotated(3.0, 10.0, 20.0);
    const Point2 p = scene.clientFromImage.map({315.0, 146.0});
    EXPECT_NEAR(matchCrossings(scene, {{p, -176.9, -87.0}}).worstAngleErrorDegrees, 0.1, 1e-9);
    EXPECT_NEAR(matchCrossings(scene, {{p, 3.0, 92.6}}).worstAngleErrorDegrees, 0.4, 1e-9);
}

TEST(SceneMatch, ErrorsAreInPelsWhateverTheClientUnit) {
    Scene scene = oblongScene();
    scene.clientFromImage = ClientTransform::scaled(0.5);
    const MatchReport report = matchCrossings(scene, {at(157.5 + 1.0, 73.0)});
    EXPECT_EQ(report.found, 1);
    EXPECT_NEAR(report.worstErrorPels, 2.0, 1e-9);
}

TEST(SceneMatch, MirroredFrameIsMappedBack) {
    Scene scene = oblongScene();
    scene.clientFromImage.d = -1.0;
    scene.clientFromImage.ty = 492.0;
    const MatchReport report = matchCrossings(scene, {at(315.0, 492.0 - 147.0)});
    ASSERT_EQ(report.found, 1);
    EXPECT_NEAR(report.matches.at(0).offset.y, 1.0, 1e-9);
}

TEST(SceneMatch, NotANumberIsFalseAndItsAngleIsAsWrongAsCanBe) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(matchCrossings(oblongScene(), {at(nan, 146.0)}).falseFound, 1);
    EXPECT_EQ(matchCrossings(oblongScene(), {{{315.0, 146.0}, nan, 90.0}}).worstAngleErrorDegrees, 90.0);
}

TEST(SceneMatch, MedianOfTheExpectedOnes) {
    const Scene scene = oblongScene();
    EXPECT_NEAR(matchCrossings(scene, {at(315.0, 147.0), at(915.0, 150.0)}).medianErrorSamplePels, 1.25, 1e-9);
    EXPECT_NEAR(matchCrossings(scene, {at(315.0, 147.0), at(915.0, 150.0), at(315.0, 349.0)}).medianErrorSamplePels,
                1.5, 1e-9);
    EXPECT_EQ(matchCrossings(scene, {}).medianErrorSamplePels, 0.0);
}

TEST(SceneMatch, SceneWithoutStreetsHasOnlyFalseOnes) {
    Scene scene = oblongScene();
    scene.families[0].offsets.clear();
    const MatchReport report = matchCrossings(scene, {at(315.0, 146.0)});
    EXPECT_EQ(report.expected, 0);
    EXPECT_EQ(report.falseFound, 1);
}

TEST(SceneMatch, SummaryInOneLine) {
    EXPECT_EQ(summary(matchCrossings(oblongScene(), {at(318.0, 150.0), at(600.0, 246.0)})),
              "expected 4 found 1 missed 3 false 1 surplus 0 duplicates 0 worst 5.00 pel 2.09 sample pel angle 0.000 "
              "deg");
}

}  // namespace
