#include <benchmark/benchmark.h>

#include "bench/bench_images.h"
#include "qvstreet/projection/tiled_projection.h"

// The two projections of a run, and how they depend on the angle. The argument pairs are (side, tilt in tenths of a degree).

namespace {

qv_projectionParams request(double primaryDegrees, double crossDegrees) {
    qv_projectionParams params;
    params.mode = 1;
    params.primaryAngle = qvDegree(primaryDegrees);
    params.crossAngle = qvDegree(crossDegrees);
    params.tileCounts = qvPair<long>(1, 1);
    params.overlap = 0.4;
    return params;
}

void projectionAlong0(benchmark::State& state) {
    const double tilt = static_cast<double>(state.range(1)) / 10.0;
    const qv_projectionParams params = request(tilt - 90.0, tilt);
    qvTiledProjectionResult result;
    for (auto _ : state) computeStreetProjection(qvbench::waferImage(state.range(0)), params, result, nullptr);
}

void projectionAlong1(benchmark::State& state) {
    const double tilt = static_cast<double>(state.range(1)) / 10.0;
    const qv_projectionParams params = request(tilt, tilt - 90.0);
    qvTiledProjectionResult result;
    for (auto _ : state) computeStreetProjection(qvbench::waferImage(state.range(0)), params, result, nullptr);
}

void sidesAndTilts(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond);
    for (const long side : {512L, 1024L, 2048L, 4096L}) bench->Args({side, 13});
    for (const long tilt : {0L, 37L, 70L, 120L, 300L}) bench->Args({1024L, tilt});
}

BENCHMARK(projectionAlong0)->Apply(sidesAndTilts);
BENCHMARK(projectionAlong1)->Apply(sidesAndTilts);

}  // namespace
