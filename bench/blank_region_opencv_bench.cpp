#include <benchmark/benchmark.h>

#include <opencv2/imgproc.hpp>

#include "bench/strip_images.h"

// The yardstick of the regional deviation: the plain standard deviation of every window by box filters, on one
// thread. It writes a value for every pel of the image, the library one for every whole window, hence `per_value`.

namespace {

void boxFilterDeviation(benchmark::State& state) {
    cv::setNumThreads(1);
    const qvPelBuffer_const<unsigned char>& image = qvbench::stripImage(state.range(0), state.range(1));
    const cv::Mat source(static_cast<int>(image.height()), static_cast<int>(image.width()), CV_8UC1,
                         const_cast<unsigned char*>(image.pointToOffset()),
                         static_cast<std::size_t>(image.rowUpdate()));
    const cv::Size window(static_cast<int>(qvbench::kWindowWidth), static_cast<int>(qvbench::kWindowHeight));
    cv::Mat mean;
    cv::Mat squaredMean;
    cv::Mat meanSquare;
    cv::Mat variance;
    cv::Mat deviation;
    for (auto _ : state) {
        cv::boxFilter(source, mean, CV_32F, window);
        cv::sqrBoxFilter(source, meanSquare, CV_32F, window);
        cv::multiply(mean, mean, squaredMean);
        cv::subtract(meanSquare, squaredMean, variance);
        cv::max(variance, 0.0, variance);
        cv::sqrt(variance, deviation);
    }
    state.counters["per_value"] =
        benchmark::Counter(static_cast<double>(image.width() * image.height()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetLabel("OpenCV " CV_VERSION);
}

BENCHMARK(boxFilterDeviation)->Unit(benchmark::kMillisecond)->Args({2048, 100})->Args({4096, 200});

}  // namespace
