#include <benchmark/benchmark.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/bench_images.h"

// The yardstick W: one bilinear warp of the whole image, turned by 1.3 degrees, on one thread.

namespace {

void warpAffine(benchmark::State& state) {
    cv::setNumThreads(1);
    const long side = state.range(0);
    const qvPelBuffer_const<unsigned char>& image = qvbench::waferImage(side);
    const cv::Mat source(static_cast<int>(side), static_cast<int>(side), CV_8UC1,
                         const_cast<unsigned char*>(image.pointToOffset()),
                         static_cast<std::size_t>(image.rowUpdate()));
    const float middle = static_cast<float>(side) / 2.0f;
    const cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(middle, middle), 1.3, 1.0);
    cv::Mat destination;
    for (auto _ : state) cv::warpAffine(source, destination, turn, source.size(), cv::INTER_LINEAR);
    state.SetLabel("OpenCV " CV_VERSION);
}

BENCHMARK(warpAffine)->Unit(benchmark::kMillisecond)->Arg(512)->Arg(1024)->Arg(2048)->Arg(4096);

}  // namespace
