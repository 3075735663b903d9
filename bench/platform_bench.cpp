#include <benchmark/benchmark.h>

#include "bench/bench_images.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/gabor.h"
#include "qvstreet/platform/sampling.h"

// The operations of the platform layer that a run spends its time in.

namespace {

using qvbench::waferImage;

const qv_spectrumState& preparedState() {
    static const qv_spectrumState state = [] {
        qv_spectrumState prepared;
        prepareSpectrum(prepared, waferImage(1024), qv_spectrumParams());
        return prepared;
    }();
    return state;
}

void gaussSample(benchmark::State& state) {
    const long side = state.range(0);
    const qvPelBuffer_const<unsigned char>& image = waferImage(side);
    const qvGaussSampleParams params(qvPair<long>(1, 1), qvPair<long>(side / 256, side / 256), 1.0, true);
    for (auto _ : state) benchmark::DoNotOptimize(qfGaussSample(image, params).pointToOffset());
}

void forwardTransform(benchmark::State& state) {
    qvFrequencyBuffer spectrum(256, 256);
    for (auto _ : state) qf_ForwardFFT(preparedState().fftImage, spectrum);
}

void gaborFilter(benchmark::State& state) {
    qvFrequencyFilterGabor filter;
    filter.set(qvPair<double>(0.03, 0.005), qvPair<double>(0.0, 0.0), qvRadian(0.0), 0.08, qvPair<long>(256, 256), 1);
    qvFrequencyBuffer filtered(256, 256);
    double angle = 0.0;
    for (auto _ : state) {
        filter.angle(qvDegree(angle += 1.0));
        filter.apply(preparedState().spectrum, filtered);
    }
}

void inverseTransform(benchmark::State& state) {
    qvPelBuffer<double> real;
    qvPelBuffer<double> imaginary;
    for (auto _ : state) qfInverseFFT(preparedState().spectrum, real, imaginary);
}

BENCHMARK(gaussSample)->Unit(benchmark::kMillisecond)->Arg(512)->Arg(1024)->Arg(2048)->Arg(4096);
BENCHMARK(forwardTransform)->Unit(benchmark::kMillisecond);
BENCHMARK(gaborFilter)->Unit(benchmark::kMillisecond);
BENCHMARK(inverseTransform)->Unit(benchmark::kMillisecond);

}  // namespace
