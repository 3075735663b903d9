// What a user of OpenCV would write in place of a stage, on one thread. Where there are several ways, the fastest one
// measured stands here.
#include <cmath>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "bench/bench_images.h"
#include "bench/peers/opencv_view.h"
#include "bench/peers/rows.h"
#include "bench/peers/task_settings.h"
#include "bench/strip_images.h"

namespace qvbench {

namespace {

using Run = std::function<void()>;

// Smoothing of the reduction, in blocks; the same as the library's.
constexpr double kSigmaPerFactor = 0.35;

cv::Mat turnOf(const cv::Mat& image, double degrees) {
    const cv::Point2f middle(static_cast<float>(image.cols) / 2.0f, static_cast<float>(image.rows) / 2.0f);
    return cv::getRotationMatrix2D(middle, degrees, 1.0);
}

/// The yardstick W: one bilinear warp of the whole image.
Run warpRun(long side) {
    const cv::Mat source = viewOf(waferImage(side));
    const cv::Mat turn = turnOf(source, kUsualTilt);
    cv::Mat destination;
    return [=]() mutable { cv::warpAffine(source, destination, turn, source.size(), cv::INTER_LINEAR); };
}

/// For each street direction the image is turned upright, and its rows are summed and square-summed.
Run projectionsRun(long side) {
    const cv::Mat source = viewOf(waferImage(side));
    const std::vector<cv::Mat> turns = {turnOf(source, kUsualTilt), turnOf(source, kUsualTilt + 90.0)};
    cv::Mat turned;
    cv::Mat squares;
    std::vector<cv::Mat> sums(2);
    std::vector<cv::Mat> squareSums(2);
    return [=]() mutable {
        for (std::size_t i = 0; i < turns.size(); ++i) {
            cv::warpAffine(source, turned, turns[i], source.size(), cv::INTER_LINEAR);
            cv::reduce(turned, sums[i], 1, cv::REDUCE_SUM, CV_32S);
            cv::multiply(turned, turned, squares, 1.0, CV_32F);
            cv::reduce(squares, squareSums[i], 1, cv::REDUCE_SUM, CV_64F);
        }
    };
}

Run gaussRun(long side) {
    const cv::Mat source = viewOf(waferImage(side));
    const int factor = static_cast<int>(side / kTransformSide);
    const cv::Size taps(4 * factor + 1, 4 * factor + 1);
    cv::Mat smooth;
    cv::Mat reduced;
    return [=]() mutable {
        cv::GaussianBlur(source, smooth, taps, kSigmaPerFactor * factor, 0.0, cv::BORDER_REPLICATE);
        cv::resize(smooth, reduced, cv::Size(kTransformSide, kTransformSide), 0.0, 0.0, cv::INTER_NEAREST);
    };
}

/// The ring of a spectrum's magnitude, unrolled and summed along the radius. Neither the magnitude nor the table of
/// positions is timed.
Run polarRun() {
    constexpr int kSide = static_cast<int>(kTransformSide);
    constexpr int kRadii = static_cast<int>(kPolarOuter - kPolarInner);
    cv::Mat magnitude(kSide, kSide, CV_32F);
    cv::randu(magnitude, 0.0, 1000.0);
    cv::Mat mapX(kRadii, kPolarAngles, CV_32F);
    cv::Mat mapY(kRadii, kPolarAngles, CV_32F);
    for (int j = 0; j < kRadii; ++j)
        for (int i = 0; i < kPolarAngles; ++i) {
            const double degrees = kPolarStart + (kPolarEnd - kPolarStart) * (i + 0.5) / kPolarAngles;
            const double angle = degrees * CV_PI / 180.0;
            const double radius = static_cast<double>(kPolarInner) + j + 0.5;
            mapX.at<float>(j, i) = static_cast<float>(kSide / 2 + radius * std::cos(angle));
            mapY.at<float>(j, i) = static_cast<float>(kSide / 2 + radius * std::sin(angle));
        }
    cv::Mat positions;
    cv::Mat weights;
    cv::convertMaps(mapX, mapY, positions, weights, CV_16SC2);
    cv::Mat ring;
    cv::Mat profile;
    return [=]() mutable {
        cv::remap(magnitude, ring, positions, weights, cv::INTER_LINEAR);
        cv::reduce(ring, profile, 0, cv::REDUCE_SUM, CV_32F);
    };
}

/// The plain standard deviation of the window around every pel.
Run slidingDeviationRun(const StripSize& size) {
    const cv::Mat source = viewOf(stripImage(size.width, size.height));
    const cv::Size window(static_cast<int>(kWindowWidth), static_cast<int>(kWindowHeight));
    cv::Mat mean;
    cv::Mat squaredMean;
    cv::Mat meanSquare;
    cv::Mat variance;
    cv::Mat deviation;
    return [=]() mutable {
        cv::boxFilter(source, mean, CV_32F, window);
        cv::sqrBoxFilter(source, meanSquare, CV_32F, window);
        cv::multiply(mean, mean, squaredMean);
        cv::subtract(meanSquare, squaredMean, variance);
        cv::max(variance, 0.0, variance);
        cv::sqrt(variance, deviation);
    };
}

}  // namespace

void addOpenCvTasks(std::vector<Task>& tasks) {
    cv::setNumThreads(1);
    for (const long side : kSides)
        tasks.push_back({"opencv/warp/" + std::to_string(side), [=] { return warpRun(side); }});
    tasks.push_back({"opencv/projections/1024", [] { return projectionsRun(1024); }});
    tasks.push_back({"opencv/gauss/2048", [] { return gaussRun(2048); }});
    tasks.push_back({"opencv/polar/256", polarRun});
    for (const StripSize& size : kStripSizes)
        tasks.push_back({"opencv/sliding_deviation/" + stripName(size), [=] { return slidingDeviationRun(size); }});
}

std::string openCvVersion() { return CV_VERSION; }

}  // namespace qvbench
