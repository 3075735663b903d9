#include <benchmark/benchmark.h>

#include "bench/bench_images.h"
#include "qvstreet/streetfinder/street_finder.h"

// What a host sees: the two calls, whole. Run in coarse and in edge mode.

namespace {

using qvbench::waferImage;
using qvbench::waferParams;

void setImage(benchmark::State& state, qvStreetFinderDefs::waferType mode) {
    const long side = state.range(0);
    const qvPelBuffer_const<unsigned char>& image = waferImage(side);
    qvStreetFinder finder(waferParams(side, mode));
    for (auto _ : state) finder.setImage(image);
}

void setImageAndFind(benchmark::State& state, qvStreetFinderDefs::waferType mode) {
    const long side = state.range(0);
    const qvPelBuffer_const<unsigned char>& image = waferImage(side);
    qvStreetFinder finder(waferParams(side, mode));
    std::size_t found = 0;
    for (auto _ : state) {
        std::vector<qvStreetFinderStreetCrossResult> results;
        finder.setImage(image);
        finder.find(results);
        found = results.size();
    }
    state.counters["crossings"] = static_cast<double>(found);
}

void find(benchmark::State& state, qvStreetFinderDefs::waferType mode) {
    const long side = state.range(0);
    qvStreetFinder finder(waferParams(side, mode));
    finder.setImage(waferImage(side));
    for (auto _ : state) {
        std::vector<qvStreetFinderStreetCrossResult> results;
        finder.find(results);
        benchmark::DoNotOptimize(results.data());
    }
}

void findSingleStreet(benchmark::State& state, qvStreetFinderDefs::waferType mode) {
    const long side = state.range(0);
    qvStreetFinder finder(waferParams(side, mode));
    finder.setImage(waferImage(side));
    for (auto _ : state) {
        std::vector<qvStreetFinderSingleStreetResult> results;
        finder.findSingleStreet(results);
        benchmark::DoNotOptimize(results.data());
    }
}

void sides(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond);
    for (const long side : {512L, 1024L, 2048L, 4096L}) bench->Arg(side);
}

BENCHMARK_CAPTURE(setImage, coarse, qvStreetFinderDefs::eCoarseRidgeWafer)->Apply(sides);
BENCHMARK_CAPTURE(setImage, edge, qvStreetFinderDefs::eEdgePairWafer)->Apply(sides);
BENCHMARK_CAPTURE(setImageAndFind, coarse, qvStreetFinderDefs::eCoarseRidgeWafer)->Apply(sides);
BENCHMARK_CAPTURE(setImageAndFind, edge, qvStreetFinderDefs::eEdgePairWafer)->Apply(sides);
BENCHMARK_CAPTURE(find, coarse, qvStreetFinderDefs::eCoarseRidgeWafer)->Apply(sides);
BENCHMARK_CAPTURE(find, edge, qvStreetFinderDefs::eEdgePairWafer)->Apply(sides);
BENCHMARK_CAPTURE(findSingleStreet, coarse, qvStreetFinderDefs::eCoarseRidgeWafer)->Apply(sides);
BENCHMARK_CAPTURE(findSingleStreet, edge, qvStreetFinderDefs::eEdgePairWafer)->Apply(sides);

}  // namespace
