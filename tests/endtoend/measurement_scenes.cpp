#include "tests/endtoend/measurement_scenes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "qvstreet/streetfinder/street_finder.h"
#include "tests/support/scene_match.h"
#include "tests/support/wafer_random.h"

namespace qvtest {

namespace {

constexpr double kDegrees = 57.29577951308232;
constexpr double kPi = 3.141592653589793;

/// Streets that share the image, unequal in x and y, at places that no pel grid knows.
Scene threeByThree(long side, double tilt, std::uint64_t seed) {
    Scene scene;
    scene.width = side;
    scene.height = side;
    const double size = static_cast<double>(side);
    const double phase = 0.37 * static_cast<double>(seed % 17);
    scene.families[0] =
        centredFamily(tilt, size / 3.15 + 0.13, 3, 0.031 * size / 3.15 + phase, 14.0 + size / 80.0, 0.0);
    scene.families[1] =
        centredFamily(90.0 + tilt, size / 3.25 + 0.29, 3, -0.043 * size / 3.25 - 0.7 * phase, 12.0 + size / 90.0, 0.0);
    scene.seed = seed * 101 + static_cast<std::uint64_t>(side);
    return scene;
}

void setGreys(Scene& scene, double dies, double streets) {
    scene.dieGrey = dies;
    scene.families[0].grey = streets;
    scene.families[1].grey = streets;
}

std::string rowName(long side, double tilt, const char* kind) {
    char text[80];
    std::snprintf(text, sizeof text, "%ld, %g degrees, %s", side, tilt, kind);
    return text;
}

double rowSigma(const Scene& scene) {
    const double contrast = std::fabs(scene.dieGrey - scene.families[0].grey);
    const double noise = std::sqrt(scene.noiseSigma * scene.noiseSigma + 1.0 / 12.0);
    const double blur = std::sqrt(scene.blurSigma * scene.blurSigma + 1.0 / 12.0);
    return noise / contrast * std::sqrt(2.0 * std::sqrt(kPi) * blur);
}

/// Rows that one edge of a street has: the image's width less the crossing streets.
double rowsAlong(const Scene& scene, std::size_t direction) {
    const double length = static_cast<double>(direction == 0 ? scene.width : scene.height);
    const StreetFamily& other = scene.families[1 - direction];
    return length - static_cast<double>(other.offsets.size()) * other.widthPels;
}

double angleError(qvRadian measured, double trueDegrees) {
    return std::remainder(measured.toDouble() * kDegrees - trueDegrees, 180.0);
}

}  // namespace

Scene cleanMeasurementScene(long side, double tilt, bool light, std::uint64_t seed) {
    Scene scene = threeByThree(side, tilt, seed);
    setGreys(scene, light ? 90.0 : 150.0, light ? 150.0 : 90.0);
    scene.blurSigma = 0.8;
    scene.noiseSigma = 3.0;
    return scene;
}

Scene hardMeasurementScene(long side, double tilt, std::uint64_t seed) {
    Scene scene = threeByThree(side, tilt, seed);
    for (StreetFamily& family : scene.families) family.widthPels += 10.0;
    setGreys(scene, 120.0, 95.0);
    scene.blurSigma = 1.4;
    scene.noiseSigma = 10.0;
    scene.dieArtwork = DieArtwork::circuit;
    scene.dieArtworkContrast = 1.0;
    scene.streetArtwork = StreetArtwork::manyPads;
    scene.streetArtworkContrast = 0.7;
    scene.gradientX = 0.12;
    scene.gradientY = -0.07;
    scene.vignette = 0.08;
    return scene;
}

Scene denseMeasurementScene(std::uint64_t seed) {
    Scene scene;
    scene.width = 2048;
    scene.height = 2048;
    scene.families[0] = centredFamily(1.3, 151.0, 13, 3.7, 20.0, 90.0);
    scene.families[1] = centredFamily(91.3, 128.0 * 2048.0 / 2304.0, 17, -2.3, 16.0, 90.0);
    scene.dieGrey = 150.0;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 3.0;
    scene.seed = seed;
    return scene;
}

Scene randomMeasurementScene(std::uint64_t seed) {
    RandomStream random(seed);
    const auto between = [&random](double low, double high) { return random.uniform(low, high); };
    Scene scene;
    scene.width = static_cast<long>(between(300.0, 800.0));
    scene.height = static_cast<long>(between(300.0, 800.0));
    const double tilt = between(-8.0, 8.0);
    const double outOfSquare = between(-0.5, 0.5);
    for (std::size_t k = 0; k < 2; ++k) {
        const int count = static_cast<int>(between(1.0, 4.999));
        const double pitch = static_cast<double>(k == 0 ? scene.height : scene.width) / (count + 0.2);
        const double shift = between(-20.0, 20.0);
        const double width = std::min(between(8.0, 40.0), 0.3 * pitch);
        scene.families[k] = centredFamily(k == 0 ? tilt : 90.0 + tilt + outOfSquare, pitch, count, shift, width, 0.0);
    }
    const double contrast = between(20.0, 80.0);
    const bool light = between(0.0, 1.0) < 0.5;
    const double dies = light ? between(60.0, 120.0) : between(120.0, 200.0);
    setGreys(scene, dies, light ? dies + contrast : dies - contrast);
    scene.noiseSigma = between(1.0, std::min(10.0, contrast / 4.0));
    scene.blurSigma = between(0.5, 2.2);
    scene.dieArtwork = static_cast<DieArtwork>(static_cast<std::int32_t>(between(0.0, 2.999)));
    scene.dieArtworkContrast = between(0.2, 1.0);
    scene.streetArtwork = static_cast<StreetArtwork>(static_cast<std::int32_t>(between(0.0, 2.999)));
    scene.streetArtworkContrast = between(0.2, 0.8);
    scene.gradientX = between(-0.1, 0.1);
    scene.gradientY = between(-0.1, 0.1);
    scene.vignette = between(0.0, 0.1);
    scene.seed = seed;
    return scene;
}

std::vector<MeasurementGroup> measurementGroups() {
    constexpr double kNone = 1e9;
    std::vector<MeasurementGroup> groups{
        {"clean", {0.02, 0.05, 0.002}, {0.006, 0.012, 0.0007}, {}, {}},
        {"clean, 512", {0.02, 0.05, 0.004}, {0.006, 0.015, 0.0015}, {}, {}},
        {"dense", {0.03, kNone, kNone}, {0.006, kNone, kNone}, {}, {}},
        {"hard, 1024", {0.10, 0.30, 0.01}, {0.065, 0.15, 0.004}, {}, {}},
        {"hard, 2048", {0.10, 0.30, 0.01}, {0.045, 0.15, 0.004}, {}, {}},
    };
    std::uint64_t seed = 3;
    for (const long side : {512L, 1024L, 2048L, 4096L})
        for (const double tilt : {0.0, 1.3, -2.7, 7.0})
            for (const bool light : {false, true}) {
                MeasurementGroup& group = groups[side == 512 ? 1 : 0];
                group.rowNames.push_back(rowName(side, tilt, light ? "light" : "dark"));
                group.scenes.push_back(cleanMeasurementScene(side, tilt, light, seed++));
            }
    groups[2].rowNames.push_back("2048, 13 by 17 streets");
    groups[2].scenes.push_back(denseMeasurementScene(11));
    for (const double tilt : {0.0, 1.3, -2.7, 7.0})
        for (std::size_t k = 3; k < 5; ++k) {
            const long side = k == 3 ? 1024 : 2048;
            groups[k].rowNames.push_back(rowName(side, tilt, "dark"));
            groups[k].scenes.push_back(hardMeasurementScene(side, tilt, seed++));
        }
    return groups;
}

double MeasurementOutcome::rms() const {
    double sum = 0.0;
    for (const CrossingError& one : errors) sum += one.error.x * one.error.x + one.error.y * one.error.y;
    return errors.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(errors.size()));
}

void MeasurementOutcome::add(const MeasurementOutcome& other) {
    expected += other.expected;
    found += other.found;
    measured += other.measured;
    falseMeasured += other.falseMeasured;
    errors.insert(errors.end(), other.errors.begin(), other.errors.end());
    foundErrors.insert(foundErrors.end(), other.foundErrors.begin(), other.foundErrors.end());
}

double MeasurementOutcome::normalisedRms(Quantity quantity) const {
    double sum = 0.0;
    for (const CrossingError& one : errors) {
        const double a = quantity == Quantity::crossing ? one.normalised.x
                         : quantity == Quantity::angle  ? one.normalisedAngle[0]
                                                        : one.normalisedWidth[0];
        const double b = quantity == Quantity::crossing ? one.normalised.y
                         : quantity == Quantity::angle  ? one.normalisedAngle[1]
                                                        : one.normalisedWidth[1];
        sum += 0.5 * (a * a + b * b);
    }
    return errors.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(errors.size()));
}

double MeasurementOutcome::foundRms() const {
    double sum = 0.0;
    for (const double error : foundErrors) sum += error * error;
    return foundErrors.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(foundErrors.size()));
}

double MeasurementOutcome::worst() const {
    double most = 0.0;
    for (const CrossingError& one : errors) most = std::max(most, std::hypot(one.error.x, one.error.y));
    return most;
}

double MeasurementOutcome::worstAngle() const {
    double most = 0.0;
    for (const CrossingError& one : errors) most = std::max({most, std::fabs(one.angle[0]), std::fabs(one.angle[1])});
    return most;
}

qvStreetFinderParams measurementFinderParams(const Scene& scene, qvStreetFinderDefs::waferType mode) {
    const SceneTruth truth = mapTruth(truthOf(scene), scene.clientFromImage);
    const double y = truth.streets[0].empty() ? 10.0 : truth.streets[0].front().width;
    const double x = truth.streets[1].empty() ? 10.0 : truth.streets[1].front().width;
    qvStreetFinderParams params({x, y}, {0.5 * x, 1.5 * x}, {0.5 * y, 1.5 * y}, mode);
    params.maxResults(static_cast<long>(truth.expectedCount()) + 4);
    return params;
}

MeasurementOutcome runMeasurement(const Scene& scene, const GreyImage& image, qvStreetFinderDefs::waferType mode) {
    qvPelBuffer_const<unsigned char> buffer(image.pels.data(), image.width, image.height, image.stride);
    const ClientTransform& client = scene.clientFromImage;
    buffer.clientFromImageXform(
        qvXform<2>(qvMatrix<2>(client.a, client.b, client.c, client.d), qvVector<2>(client.tx, client.ty)));
    const qvStreetFinderParams params = measurementFinderParams(scene, mode);
    qvStreetFinder finder(params);
    finder.setImage(buffer);
    std::vector<qvStreetFinderStreetCrossResult> found;
    finder.find(found);

    MeasurementOutcome outcome;
    qfStreetMeasureCrosses(buffer, found, qvStreetMeasureParams(params), outcome.measurements);
    std::vector<FoundCrossing> positions;
    for (const auto& one : found)
        positions.push_back({{one.crossing().x(), one.crossing().y()},
                             one.horizontalAngle().toDouble() * kDegrees,
                             one.verticalAngle().toDouble() * kDegrees});
    const MatchReport report = matchCrossings(scene, positions);
    const SceneTruth truth = mapTruth(truthOf(scene), client);
    outcome.expected = report.expected;
    outcome.found = report.found;
    for (const std::size_t index : report.falseIndices)
        if (outcome.measurements[index].status() == qvStreetMeasureDefs::eMeasured) ++outcome.falseMeasured;
    for (const CrossingMatch& match : report.matches) {
        if (match.expected) outcome.foundErrors.push_back(match.errorPels);
        const qvStreetMeasurement& measured = outcome.measurements[match.found];
        if (measured.status() != qvStreetMeasureDefs::eMeasured) continue;
        if (match.expected) ++outcome.measured;
        const CrossingTruth& crossing = truth.crossings[match.truth];
        const StreetTruth& street0 = truth.streets[0][static_cast<std::size_t>(crossing.street0)];
        const StreetTruth& street1 = truth.streets[1][static_cast<std::size_t>(crossing.street1)];
        CrossingError error;
        error.error = {measured.crossing().x() - crossing.crossing.x, measured.crossing().y() - crossing.crossing.y};
        error.normalised = {error.error.x / measured.crossingDeviation().x(),
                            error.error.y / measured.crossingDeviation().y()};
        error.angle = {angleError(measured.horizontalAngle(), crossing.horizontalAngleDegrees),
                       angleError(measured.verticalAngle(), crossing.verticalAngleDegrees)};
        error.normalisedAngle = {error.angle[0] / (measured.horizontalAngleDeviation().toDouble() * kDegrees),
                                 error.angle[1] / (measured.verticalAngleDeviation().toDouble() * kDegrees)};
        error.width = {measured.horizontalWidth() - street0.width, measured.verticalWidth() - street1.width};
        error.normalisedWidth = {error.width[0] / measured.horizontalWidthDeviation(),
                                 error.width[1] / measured.verticalWidthDeviation()};
        outcome.errors.push_back(error);
    }
    return outcome;
}

std::vector<PhaseError> phaseErrors() {
    std::vector<PhaseError> errors;
    for (int step = 0; step < 32; ++step) {
        const double phase = static_cast<double>(step) / 32.0;
        Scene scene;
        scene.width = 512;
        scene.height = 512;
        scene.families[0] = centredFamily(0.0, 170.0, 1, 0.0, 20.37, 90.0);
        scene.families[1] = centredFamily(90.0, 170.0, 1, 0.0, 24.0, 90.0);
        // The first edge at a whole pel and `phase`.
        scene.families[0].offsets[0] = -60.0 + phase + 0.5 * scene.families[0].widthPels;
        scene.dieGrey = 150.0;
        scene.blurSigma = 0.8;
        // Enough for the rounding of the grey levels to average out.
        scene.noiseSigma = 0.5;
        scene.seed = 77;
        const GreyImage image = renderScene(scene);
        const MeasurementOutcome outcome = runMeasurement(scene, image, qvStreetFinderDefs::eCoarseRidgeWafer);
        for (const qvStreetMeasurement& one : outcome.measurements) {
            if (one.horizontal().status() != qvStreetMeasureDefs::eMeasured) continue;
            const StreetTruth truth = truthOf(scene).streets[0].front();
            const auto error = [&](long edge) {
                const qvLineSeg line = one.horizontal().edge(edge);
                return 0.5 * (line.p1().y() + line.p2().y()) - truth.edges[static_cast<std::size_t>(edge)].point.y;
            };
            errors.push_back({phase, {error(0), error(1)}, 0.5 * (error(0) + error(1))});
            break;
        }
    }
    return errors;
}

double crossingBound(const Scene& scene) {
    // Two edges a street.
    const double sigma = rowSigma(scene);
    return sigma * std::sqrt(0.5 / rowsAlong(scene, 0) + 0.5 / rowsAlong(scene, 1));
}

double angleBound(const Scene& scene) {
    const double rows = rowsAlong(scene, 0);
    return rowSigma(scene) * std::sqrt(0.5 * 12.0 / (rows * rows * rows)) * kDegrees;
}

}  // namespace qvtest
