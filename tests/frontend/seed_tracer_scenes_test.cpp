// The two ways to extract lines, ridge scan and seed tracer, on drawn wafers: both must see the same streets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>
#include <vector>

#include "qvstreet/frontend/line_finder.h"
#include "qvstreet/streetfinder/line_sets.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/support/wafer_render.h"
#include "tests/support/wafer_scene.h"

namespace {

using Defs = qvStreetFinderDefs;
using Lines = std::vector<qvLineFinderResults>;

constexpr long kRidgeScan = 1;
constexpr long kSeedTracer = 0;
/// All in sample pels: how far the two may be apart, and how far a line may be from the true one that it belongs to.
constexpr double kAgreement = 0.5;
constexpr double kBelongs = 3.0;
constexpr double kEdgeSharpnessPels = 5.0;
/// Lines shorter than this fraction of the image's shorter side are no evidence of a street.
constexpr double kShortest = 0.15;
constexpr double kRadiansPerDegree = qvPi / 180.0;

struct WaferCase {
    std::string name;
    qvtest::Scene scene;
};

void PrintTo(const WaferCase& wafer, std::ostream* stream) { *stream << wafer.name; }

/// Three horizontal and `vertical` vertical streets of unequal widths, pels.
qvtest::Scene wafer(long width, long height, double tilt, double widthX, double widthY, int vertical) {
    qvtest::Scene scene;
    scene.width = width;
    scene.height = height;
    const double pitchY = static_cast<double>(height) / 3.15;
    const double pitchX = static_cast<double>(width) / (vertical + 0.25);
    scene.families[0] = qvtest::centredFamily(tilt, pitchY, 3, 0.03 * pitchY, widthY, 60.0);
    scene.families[1] = qvtest::centredFamily(90.0 + tilt, pitchX, vertical, -0.04 * pitchX, widthX, 60.0);
    scene.noiseSigma = 3.0;
    return scene;
}

qvtest::Scene withLightStreets(qvtest::Scene scene) {
    scene.families[0].grey = 200.0;
    scene.families[1].grey = 200.0;
    scene.dieGrey = 95.0;
    return scene;
}

qvtest::Scene outOfSquare(qvtest::Scene scene, double degrees) {
    scene.families[1].angleDegrees += degrees;
    return scene;
}

/// Mirrored in y, turned, and in units of a quarter pel.
qvtest::Scene inClientFrame(qvtest::Scene scene) {
    scene.clientFromImage = qvtest::ClientTransform::rotated(3.0, 900.0, -300.0);
    for (double* const element : {&scene.clientFromImage.a, &scene.clientFromImage.c}) *element *= 4.0;
    for (double* const element : {&scene.clientFromImage.b, &scene.clientFromImage.d}) *element *= -4.0;
    return scene;
}

std::vector<WaferCase> wafers() {
    return {{"square", wafer(512, 512, 1.3, 16, 18, 3)},
            {"light", withLightStreets(wafer(640, 640, -2.1, 18, 24, 2))},
            {"straight", wafer(768, 768, 0.0, 20, 26, 3)},
            {"large", wafer(1024, 1024, 2.4, 24, 30, 4)},
            {"tilted", wafer(800, 800, -9.0, 22, 18, 2)},
            {"lightTilted", withLightStreets(wafer(1024, 1024, 11.0, 26, 22, 3))},
            {"wide", withLightStreets(wafer(1280, 800, 2.7, 24, 20, 4))},
            {"tall", wafer(640, 1024, -1.6, 22, 30, 2)},
            {"outOfSquare", outOfSquare(wafer(900, 900, 4.0, 20, 24, 3), -1.5)},
            {"clientFrame", inClientFrame(wafer(700, 900, 1.9, 20, 26, 3))}};
}

class SeedTracerScenes : public testing::TestWithParam<WaferCase> {
 protected:
    /// The lines of one direction by one of the two ways, without the short ones.
    static Lines linesOf(const qv_streetFinderImpl& record, const qv_gaborSpec& spec, std::size_t direction,
                         long responseSelect, double shortestClient) {
        qv_ridgeFinderParams request;
        request.spec = spec;
        request.lineGroup = record.ridgeParams.lineGroup;
        request.lineGroup.responseSelect = responseSelect;
        std::vector<std::vector<qvLineFinderResults>> found;
        runLineFinder(record.spectrum, request, {record.streetAngles[direction]}, found);
        Lines kept;
        filterShortLines(found.at(0), shortestClient, kept);
        return kept;
    }

    /// The true lines that the mode looks for, in the sample frame: both edges of each street or its centre.
    static std::vector<qvFLine> trueLines(const std::vector<qvtest::StreetTruth>& streets, Defs::waferType mode,
                                          const qvXform<2>& sampleFromImage) {
        std::vector<qvFLine> lines;
        const auto add = [&](const qvtest::Line2& line) {
            const qvVector<2> point(line.point.x, line.point.y);
            const qvVector<2> along(1.0, qvRadian(line.angleDegrees * kRadiansPerDegree));
            lines.emplace_back(sampleFromImage * point, sampleFromImage * (point + along));
        };
        for (const qvtest::StreetTruth& street : streets) {
            if (!street.visible) continue;
            if (mode != Defs::eEdgePairWafer) {
                add(street.centre);
            } else {
                for (const qvtest::Line2& edge : street.edges) add(edge);
            }
        }
        return lines;
    }

    /// Per true line, the signed distances of the middles of the lines that belong to it, in their order. The middle of
    /// a line lies on its ridge, also where the common angle of all lines is a little off.
    static std::vector<std::vector<double>> placesOf(const Lines& found, const std::vector<qvFLine>& truth,
                                                     const qvXform<2>& sampleFromClient, std::size_t& strays) {
        std::vector<std::vector<double>> places(truth.size());
        strays = 0;
        for (const qvLineFinderResults& line : found) {
            const qvVector<2> middle = sampleFromClient * ((line.segment().p1() + line.segment().p2()) / 2.0);
            std::size_t nearest = 0;
            for (std::size_t i = 1; i < truth.size(); ++i)
                if (std::fabs(truth[i].distanceFrom(middle)) < std::fabs(truth[nearest].distanceFrom(middle)))
                    nearest = i;
            const double distance = truth[nearest].distanceFrom(middle);
            if (std::fabs(distance) <= kBelongs) {
                places[nearest].push_back(distance);
            } else {
                ++strays;
            }
        }
        return places;
    }

    static void expectSameStreets(const WaferCase& wafer, Defs::waferType mode) {
        const qvtest::Scene& scene = wafer.scene;
        const qvtest::GreyImage pels = qvtest::renderScene(scene);
        const qvtest::ClientTransform& c = scene.clientFromImage;
        qvPelBuffer_const<unsigned char> image(pels.pels.data(), pels.width, pels.height, pels.stride);
        image.clientFromImageXform(qvXform<2>(qvMatrix<2>(c.a, c.b, c.c, c.d), qvVector<2>(c.tx, c.ty)));

        const double unitsPerPel = std::sqrt(std::fabs(c.a * c.d - c.b * c.c));
        const qvPair<double> widths(scene.families[1].widthPels * unitsPerPel,
                                    scene.families[0].widthPels * unitsPerPel);
        const double sharpness = kEdgeSharpnessPels * unitsPerPel;
        qvStreetFinder finder(qvStreetFinderParams(widths, qvPair<double>(0.5 * widths.first, 1.5 * widths.first),
                                                   qvPair<double>(0.5 * widths.second, 1.5 * widths.second), mode,
                                                   sharpness, Defs::eAnyPolarity, 20));
        finder.setImage(image);

        const qv_streetFinderImpl& record = qf_finderRecord(finder);
        const auto specs = filterSpecs(record, widths, mode, record.streetAngles, sharpness, record.filterScale);
        const qvXform<2> sampleFromImage = record.spectrum.imageFromSample.inverse();
        const qvXform<2> sampleFromClient = sampleFromImage * record.clientFromImage.inverse();
        const double shortest = kShortest * static_cast<double>(std::min(scene.width, scene.height)) * unitsPerPel;
        const qvtest::SceneTruth truth = qvtest::truthOf(scene);
        for (std::size_t direction = 0; direction < 2; ++direction) {
            SCOPED_TRACE(direction);
            const std::vector<qvFLine> trueOnes = trueLines(truth.streets[direction], mode, sampleFromImage);
            std::size_t scanStrays = 0;
            std::size_t tracerStrays = 0;
            const auto scanned = placesOf(linesOf(record, specs[direction], direction, kRidgeScan, shortest), trueOnes,
                                          sampleFromClient, scanStrays);
            const auto traced = placesOf(linesOf(record, specs[direction], direction, kSeedTracer, shortest), trueOnes,
                                         sampleFromClient, tracerStrays);
            EXPECT_LE(tracerStrays, scanStrays);
            ASSERT_EQ(trueOnes.size(), scanned.size());
            for (std::size_t i = 0; i < trueOnes.size(); ++i) {
                SCOPED_TRACE(i);
                ASSERT_FALSE(scanned[i].empty());
                ASSERT_FALSE(traced[i].empty());
                // The line of a street's strongest seed comes first.
                double apart = kBelongs;
                for (const double place : scanned[i]) apart = std::min(apart, std::fabs(place - traced[i].front()));
                EXPECT_LE(apart, kAgreement);
            }
        }
    }
};

}  // namespace

TEST_P(SeedTracerScenes, EdgesAreThoseOfTheRidgeScan) { expectSameStreets(GetParam(), Defs::eEdgePairWafer); }

TEST_P(SeedTracerScenes, RidgesAreThoseOfTheRidgeScan) { expectSameStreets(GetParam(), Defs::eRidgeWafer); }

INSTANTIATE_TEST_SUITE_P(Wafers, SeedTracerScenes, testing::ValuesIn(wafers()),
                         [](const testing::TestParamInfo<WaferCase>& wafer) { return wafer.param.name; });
