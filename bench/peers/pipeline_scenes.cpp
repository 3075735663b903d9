#include "bench/peers/pipeline_scenes.h"

#include <cstdint>
#include <random>

#include "bench/bench_images.h"
#include "bench/peers/task_settings.h"

namespace qvbench {

namespace {

constexpr double kDieGrey = 150.0;
/// The hard one: streets hardly darker than the dies, in noise of 10 grey levels.
constexpr double kFaintContrast = 25.0;
constexpr double kFaintNoise = 10.0;
constexpr double kCircuitNoise = 25.0;
constexpr long kHardSide = 1024;
/// 2.5 pels of the reduced image of the one pipeline, 1.2 samples of our square.
constexpr long kThinSide = 2048;
constexpr double kThinWidth = 10.0;
/// Wafers that nothing was tuned on.
constexpr long kMixedSide = 1024;
constexpr int kMixedWafers = 24;
constexpr std::uint32_t kMixedSeed = 1;
constexpr long kSurplusResults = 4;
constexpr long kMaxResults = 9 + kSurplusResults;
constexpr long kDenseMaxResults = 300;

PipelineWafer waferOf(const qvtest::Scene& scene, long maxResults) {
    PipelineWafer wafer;
    wafer.scene = scene;
    wafer.streetWidth = scene.families[0].widthPels;
    wafer.maxResults = maxResults;
    return wafer;
}

PipelineWafer threeStreets(long side) { return waferOf(usualScene(side), kMaxResults); }

PipelineWafer denseStreets() { return waferOf(denseScene(), kDenseMaxResults); }

PipelineWafer thinStreets() {
    PipelineWafer wafer = threeStreets(kThinSide);
    wafer.streetWidth = kThinWidth;
    for (qvtest::StreetFamily& family : wafer.scene.families) family.widthPels = kThinWidth;
    return wafer;
}

PipelineWafer faintStreets() {
    PipelineWafer wafer = threeStreets(kHardSide);
    for (qvtest::StreetFamily& family : wafer.scene.families) family.grey = kDieGrey - kFaintContrast;
    wafer.scene.noiseSigma = kFaintNoise;
    return wafer;
}

PipelineWafer circuits() {
    PipelineWafer wafer = threeStreets(kHardSide);
    wafer.scene.dieArtwork = qvtest::DieArtwork::circuit;
    wafer.scene.noiseSigma = kCircuitNoise;
    return wafer;
}

/// A wafer like no other: everything that differs between wafers and cameras is drawn by lot.
PipelineWafer mixedWafer(std::mt19937& random) {
    const auto between = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
    };
    const auto oneOf = [&](int count) { return static_cast<int>(between(0.0, count)); };
    constexpr qvtest::DieArtwork kDies[] = {qvtest::DieArtwork::plain, qvtest::DieArtwork::blocks,
                                            qvtest::DieArtwork::circuit};
    constexpr qvtest::StreetArtwork kPads[] = {qvtest::StreetArtwork::none, qvtest::StreetArtwork::fewPads,
                                               qvtest::StreetArtwork::manyPads};
    PipelineWafer wafer;
    qvtest::Scene& scene = wafer.scene;
    const double side = static_cast<double>(kMixedSide);
    scene.width = kMixedSide;
    scene.height = kMixedSide;
    wafer.streetWidth = between(0.01, 0.035) * side;
    const double tilt = between(-12.0, 12.0);
    const double outOfSquare = between(-1.0, 1.0);
    const double grey = kDieGrey - between(25.0, 100.0);
    long crossings = 1;
    for (const int d : {0, 1}) {
        const int streets = 2 + oneOf(4);
        const double pitch = between(0.75, 0.95) * side / streets;
        const double angle = d == 0 ? tilt : 90.0 + tilt + outOfSquare;
        scene.families[static_cast<std::size_t>(d)] =
            qvtest::centredFamily(angle, pitch, streets, between(-0.05, 0.05) * pitch, wafer.streetWidth, grey);
        crossings *= streets;
    }
    wafer.maxResults = crossings + kSurplusResults;
    scene.dieGrey = kDieGrey;
    scene.dieArtwork = kDies[oneOf(3)];
    scene.dieArtworkContrast = between(0.2, 1.0);
    scene.streetArtwork = kPads[oneOf(3)];
    scene.streetArtworkContrast = between(0.2, 1.0);
    scene.blurSigma = between(0.6, 2.5);
    scene.noiseSigma = between(2.0, 20.0);
    scene.gradientX = between(-0.25, 0.25);
    scene.gradientY = between(-0.25, 0.25);
    scene.seed = random();
    return wafer;
}

std::vector<PipelineWafer> mixedWafers() {
    std::mt19937 random(kMixedSeed);
    std::vector<PipelineWafer> wafers;
    for (int i = 0; i < kMixedWafers; ++i) wafers.push_back(mixedWafer(random));
    return wafers;
}

}  // namespace

std::vector<PipelineScene> pipelineScenes() {
    const auto sideText = [](long side) { return std::to_string(side); };
    std::vector<PipelineScene> scenes;
    for (const long side : kSides)
        scenes.push_back({"pipelines_" + sideText(side), sideText(side) + ", clean", {threeStreets(side)}});
    scenes.push_back(
        {"pipelines_dense_" + sideText(kDenseSide), sideText(kDenseSide) + ", 13 x 17 streets", {denseStreets()}});
    scenes.push_back(
        {"pipelines_thin_" + sideText(kThinSide), sideText(kThinSide) + ", streets of 10 pels", {thinStreets()}});
    scenes.push_back(
        {"pipelines_faint_" + sideText(kHardSide), sideText(kHardSide) + ", contrast 25, noise 10", {faintStreets()}});
    scenes.push_back({"pipelines_circuit_" + sideText(kHardSide),
                      sideText(kHardSide) + ", circuits on the dies, noise 25",
                      {circuits()}});
    scenes.push_back({"pipelines_mixed_" + sideText(kMixedSide),
                      sideText(kMixedSide) + ", " + std::to_string(kMixedWafers) + " mixed wafers", mixedWafers()});
    return scenes;
}

}  // namespace qvbench
