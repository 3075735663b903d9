#include <benchmark/benchmark.h>

#include "bench/bench_images.h"
#include "qvstreet/frontend/gabor_stage.h"
#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/ridge_scan.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/streetfinder/line_sets.h"
#include "qvstreet/streetfinder/street_finder_access.h"

// The stages from pixels to lines, one by one, as a finder in coarse mode calls them.

namespace {

using qvbench::waferImage;
using qvbench::waferParams;

constexpr auto kMode = qvStreetFinderDefs::eCoarseRidgeWafer;

/// A finder that has an image of `side` pels bound.
struct Bound {
    explicit Bound(long side) : finder(waferParams(side, kMode)) { finder.setImage(waferImage(side)); }
    const qv_streetFinderImpl& record() const { return qf_finderRecord(finder); }
    qvStreetFinder finder;
};

void prepareSpectrumStage(benchmark::State& state) {
    qv_spectrumState spectrum;
    for (auto _ : state) prepareSpectrum(spectrum, waferImage(state.range(0)), qv_spectrumParams());
}

void findDominantAnglesStage(benchmark::State& state) {
    const Bound bound(1024);
    std::vector<qvDegree> angles;
    std::vector<double> scores;
    for (auto _ : state) findDominantAngles(bound.record().spectrum, bound.record().angleParams, angles, scores);
}

void polarSampleStage(benchmark::State& state) {
    const Bound bound(1024);
    const qvPelBuffer<double> magnitude = bound.record().spectrum.spectrum.getMagnitudeImage(true);
    for (auto _ : state) benchmark::DoNotOptimize(polarSampleMagnitude(magnitude, 540, 32, 95).pointToOffset());
}

/// Both directions: filter, inverse transform, magnitude, scan, fit, statistics.
void buildLineSetsStage(benchmark::State& state) {
    const Bound bound(1024);
    const qvStreetFinderParams params = waferParams(1024, kMode);
    std::vector<std::vector<qvLineFinderResults>> lines;
    for (auto _ : state)
        buildLineSets(bound.record(), params.nominalStreetWidth(), kMode, params.edgeSharpness(), 1.0, lines);
}

void scanRidgesStage(benchmark::State& state) {
    const Bound bound(1024);
    const qvPelBuffer<double> response = bound.record().spectrum.spectrum.getMagnitudeImage(false);
    normalizeAbsTo255(response);
    qv_ridgeScanParams params;
    params.highThreshold = 80.0;
    params.lowThreshold = 48.0;
    params.thresholdRatio = 0.6;
    params.lineAngle = qvDegree(static_cast<double>(state.range(0)));
    params.acrossAngle = params.lineAngle + qvDegree(90.0);
    params.subPixel = true;
    for (auto _ : state) {
        std::vector<qv_ridgeLine> lines;
        scanRidges(response, params, lines);
        benchmark::DoNotOptimize(lines.data());
    }
}

BENCHMARK(prepareSpectrumStage)->Unit(benchmark::kMillisecond)->Arg(512)->Arg(1024)->Arg(2048)->Arg(4096);
BENCHMARK(findDominantAnglesStage)->Unit(benchmark::kMillisecond);
BENCHMARK(polarSampleStage)->Unit(benchmark::kMillisecond);
BENCHMARK(buildLineSetsStage)->Unit(benchmark::kMillisecond);
BENCHMARK(scanRidgesStage)->Unit(benchmark::kMillisecond)->Arg(0)->Arg(90);

}  // namespace
