#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "bench/running_histogram.h"
#include "bench/strip_images.h"
#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/blankregion/regional_images.h"

// The two images that the blank region search derives from a strip, and the whole search. Arguments are the strip's
// width and height; the window is 64 by 75. `per_value` is the time for one value of the window's image, so that
// peers which write an image of another size can stand beside it.

namespace {

using qvbench::kWindowHeight;
using qvbench::kWindowWidth;
using qvbench::stripImage;

// What the search asks for.
constexpr std::int32_t kScale = 10;
constexpr double kRowWeight = 0.8;

void countValues(benchmark::State& state, long width, long height) {
    state.counters["per_value"] =
        benchmark::Counter(static_cast<double>(width * height),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void countWindows(benchmark::State& state) {
    countValues(state, state.range(0) - kWindowWidth + 1, state.range(1) - kWindowHeight + 1);
}

void foregroundImage(benchmark::State& state) {
    const qvPelBuffer_const<unsigned char>& image = stripImage(state.range(0), state.range(1));
    qvPelBuffer<unsigned char> foreground;
    for (auto _ : state) computeForegroundImage(image, kWindowWidth, kWindowHeight, foreground);
    countWindows(state);
}

/// The step from modes to foreground by the shortest code that gives the same pels, so that the peer is the whole
/// image.
void subtractModes(const qvPelBuffer_const<unsigned char>& image, const qvPelBuffer<unsigned char>& modes,
                   qvPelBuffer<unsigned char>& foreground) {
    const long half = kWindowWidth / 2;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = modes.pointToRow(std::clamp(y - kWindowHeight / 2, 0L, modes.height() - 1));
        long column = 0;
        for (long x = 0; x < image.width(); ++x) {
            if (x > half && x < modes.width() - half - 1) ++column;
            *foreground.pointToPel(x, y) = static_cast<unsigned char>(std::abs(*image.pointToPel(x, y) - row[column]));
        }
    }
}

void foregroundByRunningHistogram(benchmark::State& state) {
    const qvPelBuffer_const<unsigned char>& image = stripImage(state.range(0), state.range(1));
    qvPelBuffer<unsigned char> modes(image.width() - kWindowWidth + 1, image.height() - kWindowHeight + 1);
    qvPelBuffer<unsigned char> foreground(image.width(), image.height());
    for (auto _ : state) {
        qvbench::runningHistogramModes(image, kWindowWidth, kWindowHeight, modes);
        subtractModes(image, modes, foreground);
        benchmark::ClobberMemory();
    }
    countWindows(state);

    // A peer that gives other values would be none.
    qvPelBuffer<unsigned char> ours;
    computeForegroundImage(image, kWindowWidth, kWindowHeight, ours);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            if (ours.get(x, y) != foreground.get(x, y)) return state.SkipWithError("the values differ");
        }
    }
}

void regionalDeviationImage(benchmark::State& state) {
    const qvPelBuffer_const<unsigned char>& image = stripImage(state.range(0), state.range(1));
    qvPelBuffer<unsigned char> deviation;
    for (auto _ : state)
        computeRegionalDeviationImage(image, kWindowWidth, kWindowHeight, deviation, kScale, kRowWeight);
    countWindows(state);
}

void blankRegions(benchmark::State& state) {
    const qvPelBuffer_const<unsigned char>& image = stripImage(state.range(0), state.range(1));
    const qvStreetBlankRegionFinderParams params(100, kWindowWidth, 10, std::vector<double>(256, 1.0),
                                                 qvStreetBlankRegionFinderDefs::eHorizontal);
    qvStreetBlankRegionFinderResultSet found;
    for (auto _ : state) qfStreetBlankRegionFinderRun(image, params, found, nullptr, 0);
    state.counters["regions"] = static_cast<double>(found.numResults());
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Args({2048, 100})->Args({4096, 200});
}

BENCHMARK(foregroundImage)->Apply(sizes);
BENCHMARK(foregroundByRunningHistogram)->Apply(sizes);
BENCHMARK(regionalDeviationImage)->Apply(sizes);
BENCHMARK(blankRegions)->Apply(sizes);

}  // namespace
