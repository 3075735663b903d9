#include <gtest/gtest.h>

#include <cmath>

#include "qvstreet/streetfinder/street_finder.h"
#include "tests/endtoend/measurement_scenes.h"

// The measurement on whole images with exact truth: what is reached, what is refused, and whether the deviations are true.

namespace {

using namespace qvtest;
using Defs = qvStreetMeasureDefs;

constexpr double kDegrees = 57.29577951308232;

qvPelBuffer_const<unsigned char> bufferOf(const GreyImage& image) {
    return {image.pels.data(), image.width, image.height, image.stride};
}

struct Measured {
    std::vector<qvStreetFinderStreetCrossResult> found;
    std::vector<qvStreetMeasurement> crosses;
};

Measured measure(const Scene& scene, const GreyImage& image,
                 qvStreetFinderDefs::waferType mode = qvStreetFinderDefs::eCoarseRidgeWafer) {
    const qvStreetFinderParams params = measurementFinderParams(scene, mode);
    qvStreetFinder finder(params);
    finder.setImage(bufferOf(image));
    Measured result;
    finder.find(result.found);
    qfStreetMeasureCrosses(bufferOf(image), result.found, qvStreetMeasureParams(params), result.crosses);
    return result;
}

void expectWithin(const MeasurementOutcome& outcome, const MeasurementLimits& limits, const std::string& name) {
    EXPECT_EQ(outcome.measured, outcome.expected) << name;
    EXPECT_EQ(outcome.falseMeasured, 0) << name;
    EXPECT_LE(outcome.rms(), limits.rms) << name;
    EXPECT_LE(outcome.worst(), limits.worst) << name;
    EXPECT_LE(outcome.worstAngle(), limits.angle) << name;
}

/// The rows up to 1024 pels, and of the larger ones those at 1.3 degrees: the others say the same and take long to draw.
void expectGates(const std::string& groups) {
    int rows = 0;
    for (const MeasurementGroup& group : measurementGroups()) {
        if (group.name.rfind(groups, 0) != 0) continue;
        for (std::size_t i = 0; i < group.scenes.size(); ++i) {
            const bool large = group.scenes[i].width > 1024;
            const bool usual = group.scenes[i].families[0].angleDegrees == 1.3 && group.scenes[i].width <= 2048;
            if (large && !usual) continue;
            expectWithin(
                runMeasurement(group.scenes[i], renderScene(group.scenes[i]), qvStreetFinderDefs::eCoarseRidgeWafer),
                group.gate, group.rowNames[i]);
            ++rows;
        }
    }
    EXPECT_GE(rows, 5);
}

TEST(MeasurementEndToEnd, cleanImagesAreWithinAFiftiethOfAPel) { expectGates("clean"); }

TEST(MeasurementEndToEnd, noisyImagesFullOfPadsAreWithinATenthOfAPel) { expectGates("hard"); }

TEST(MeasurementEndToEnd, aDenseImageKeepsAll221Crossings) {
    const Scene scene = denseMeasurementScene(11);
    const MeasurementOutcome outcome = runMeasurement(scene, renderScene(scene), qvStreetFinderDefs::eCoarseRidgeWafer);
    EXPECT_EQ(outcome.expected, 221);
    expectWithin(outcome, {0.03, 0.1, 0.01}, "dense");
}

TEST(MeasurementEndToEnd, takesResultsOfEveryRunMode) {
    const Scene scene = cleanMeasurementScene(640, 1.7, false, 4);
    const GreyImage image = renderScene(scene);
    for (const auto mode :
         {qvStreetFinderDefs::eEdgePairWafer, qvStreetFinderDefs::eRidgeWafer, qvStreetFinderDefs::eCoarseRidgeWafer}) {
        const MeasurementOutcome outcome = runMeasurement(scene, image, mode);
        EXPECT_EQ(outcome.found, 9) << mode;
        EXPECT_EQ(outcome.measured, 9) << mode;
        EXPECT_LE(outcome.worst(), 0.03) << mode;
    }
}

TEST(MeasurementEndToEnd, inAMirroredScaledAndTurnedClientFrameTheTruthIsMetInItsUnits) {
    Scene scene = cleanMeasurementScene(640, -1.1, true, 9);
    scene.height = 480;
    // Half a unit per pel, turned by 2 degrees, y up, far from the origin.
    const double c = 0.5 * std::cos(2.0 / kDegrees);
    const double s = 0.5 * std::sin(2.0 / kDegrees);
    scene.clientFromImage.a = c;
    scene.clientFromImage.b = s;
    scene.clientFromImage.c = s;
    scene.clientFromImage.d = -c;
    scene.clientFromImage.tx = 12345.5;
    scene.clientFromImage.ty = -777.25;
    const MeasurementOutcome outcome = runMeasurement(scene, renderScene(scene), qvStreetFinderDefs::eCoarseRidgeWafer);
    EXPECT_GE(outcome.measured, 4);
    EXPECT_EQ(outcome.measured, outcome.found);
    EXPECT_LE(outcome.worst(), 0.015);
    EXPECT_LE(outcome.worstAngle(), 0.006);
    for (const CrossingError& error : outcome.errors) {
        EXPECT_LE(std::fabs(error.width[0]), 0.02);
        EXPECT_LE(std::fabs(error.width[1]), 0.02);
    }
}

TEST(MeasurementEndToEnd, statedDeviationsAreWhatErrorsScatterBy) {
    double crossing = 0.0;
    double angle = 0.0;
    double width = 0.0;
    double count = 0.0;
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        const Scene scene = randomMeasurementScene(seed);
        for (const CrossingError& error :
             runMeasurement(scene, renderScene(scene), qvStreetFinderDefs::eCoarseRidgeWafer).errors) {
            crossing += 0.5 * (error.normalised.x * error.normalised.x + error.normalised.y * error.normalised.y);
            for (std::size_t k = 0; k < 2; ++k) {
                angle += 0.5 * error.normalisedAngle[k] * error.normalisedAngle[k];
                width += 0.5 * error.normalisedWidth[k] * error.normalisedWidth[k];
            }
            count += 1.0;
        }
    }
    ASSERT_GT(count, 100.0);
    for (const double squares : {crossing, angle, width}) {
        EXPECT_GT(std::sqrt(squares / count), 0.7);
        EXPECT_LT(std::sqrt(squares / count), 1.4);
    }
}

TEST(MeasurementEndToEnd, edgesDoNotLeanTowardsThePelGrid) {
    const std::vector<PhaseError> errors = phaseErrors();
    ASSERT_EQ(errors.size(), 32u);
    for (const PhaseError& one : errors) {
        EXPECT_LT(std::fabs(one.centre), 0.0025) << one.phase;
        EXPECT_LT(std::fabs(one.edge[0]), 0.005) << one.phase;
        EXPECT_LT(std::fabs(one.edge[1]), 0.005) << one.phase;
    }
}

TEST(MeasurementEndToEnd, theSamePelsElsewhereInMemoryGiveTheSameBits) {
    const Scene scene = cleanMeasurementScene(512, 2.2, false, 6);
    Scene padded = scene;
    padded.rowPadding = 37;
    const Measured a = measure(scene, renderScene(scene));
    const Measured b = measure(padded, renderScene(padded));
    ASSERT_EQ(a.crosses.size(), b.crosses.size());
    ASSERT_EQ(a.crosses.size(), 9u);
    for (std::size_t i = 0; i < a.crosses.size(); ++i) {
        EXPECT_EQ(a.crosses[i].crossing(), b.crosses[i].crossing());
        EXPECT_EQ(a.crosses[i].horizontalAngle().toDouble(), b.crosses[i].horizontalAngle().toDouble());
        EXPECT_EQ(a.crosses[i].verticalWidth(), b.crosses[i].verticalWidth());
    }
}

TEST(MeasurementEndToEnd, anOffsetMovesTheMeasuredCrossingsAlong) {
    const Scene scene = cleanMeasurementScene(512, 2.2, false, 6);
    const GreyImage image = renderScene(scene);
    const Measured a = measure(scene, image);
    const qvStreetFinderParams params = measurementFinderParams(scene, qvStreetFinderDefs::eCoarseRidgeWafer);
    qvPelBuffer_const<unsigned char> moved = bufferOf(image);
    moved.offset(700, -300);
    qvStreetFinder finder(params);
    finder.setImage(moved);
    std::vector<qvStreetFinderStreetCrossResult> found;
    finder.find(found);
    std::vector<qvStreetMeasurement> measured;
    qfStreetMeasureCrosses(moved, found, qvStreetMeasureParams(params), measured);
    ASSERT_EQ(measured.size(), a.crosses.size());
    for (const qvStreetMeasurement& one : measured) {
        double nearest = 1e9;
        for (const qvStreetMeasurement& other : a.crosses)
            nearest = std::min(nearest, (one.crossing() - other.crossing() - qvVector<2>(700.0, -300.0)).len());
        EXPECT_LT(nearest, 1e-3);
    }
}

TEST(MeasurementEndToEnd, withoutStreetsNothingIsMeasured) {
    Scene scene = cleanMeasurementScene(512, 1.3, false, 8);
    const Measured withStreets = measure(scene, renderScene(scene));
    for (StreetFamily& family : scene.families) family.offsets.clear();
    const GreyImage empty = renderScene(scene);
    std::vector<qvStreetMeasurement> measured;
    qfStreetMeasureCrosses(bufferOf(empty), withStreets.found,
                           qvStreetMeasureParams(measurementFinderParams(cleanMeasurementScene(512, 1.3, false, 8),
                                                                         qvStreetFinderDefs::eCoarseRidgeWafer)),
                           measured);
    ASSERT_EQ(measured.size(), 9u);
    for (const qvStreetMeasurement& one : measured) {
        EXPECT_EQ(one.status(), Defs::eNotMeasured);
        EXPECT_EQ(one.reason(), Defs::eNoEdges);
        EXPECT_TRUE(std::isnan(one.crossing().x()));
        EXPECT_TRUE(std::isnan(one.horizontalWidth()));
        EXPECT_EQ(one.usedPoints(), 0);
    }
}

TEST(MeasurementEndToEnd, singleStreetsAreMeasuredAtTheirMiddle) {
    const Scene scene = cleanMeasurementScene(640, -1.9, false, 12);
    const GreyImage image = renderScene(scene);
    const qvStreetFinderParams params = measurementFinderParams(scene, qvStreetFinderDefs::eCoarseRidgeWafer);
    qvStreetFinder finder(params);
    finder.setImage(bufferOf(image));
    std::vector<qvStreetFinderSingleStreetResult> found;
    finder.findSingleStreet(found);
    std::vector<qvStreetLineMeasurement> measured;
    qfStreetMeasureStreets(bufferOf(image), found, qvStreetMeasureParams(params), measured);
    ASSERT_EQ(measured.size(), found.size());
    const SceneTruth truth = truthOf(scene);
    int near = 0;
    for (const qvStreetLineMeasurement& one : measured) {
        if (one.status() != Defs::eMeasured) continue;
        for (const auto& family : truth.streets)
            for (const StreetTruth& street : family) {
                const qvVector<2> p = one.centre().p1();
                if (distanceToLine({p.x(), p.y()}, street.centre) > 0.05) continue;
                ++near;
                EXPECT_NEAR(one.width(), street.width, 0.05);
                EXPECT_LE(lineAngleDifference(one.angle().toDouble() * kDegrees, street.centre.angleDegrees), 0.005);
                const qvVector<2> q = one.centre().p2();
                EXPECT_LE(distanceToLine({q.x(), q.y()}, street.centre), 0.05);
            }
    }
    EXPECT_EQ(near, 6);
}

}  // namespace
