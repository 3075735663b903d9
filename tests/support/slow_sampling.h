/// @file
/// Resampling as plainly as it can be said, one sample at a time and every test at every sample: what the fast versions
/// must equal to the bit.
#ifndef QVSTREET_TESTS_SUPPORT_SLOW_SAMPLING_H
#define QVSTREET_TESTS_SUPPORT_SLOW_SAMPLING_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "qvstreet/platform/sampling.h"

namespace qvtest {

using Image8 = qvPelBuffer_const<unsigned char>;

/// What a resampling gives, row by row.
struct SlowSamples {
    long width = 0;
    long height = 0;
    std::vector<int> values;
    std::vector<bool> inside;
    bool partial = false;
    int value(long x, long y) const { return values[static_cast<std::size_t>(y * width + x)]; }
    bool isInside(long x, long y) const { return inside[static_cast<std::size_t>(y * width + x)]; }
};

/// Sampling positions of one axis in 2^-32 pel: start, step along x, step along y.
struct SlowAxis {
    double start, xStep, yStep;
    bool isUsable() const {
        const double limit = std::ldexp(1.0, 30);
        return std::fabs(start) <= limit && std::fabs(xStep) <= limit && std::fabs(yStep) <= limit;
    }
    static std::int64_t fixed(double v) { return static_cast<std::int64_t>(std::floor(std::ldexp(v, 32) + 0.5)); }
    std::int64_t at(long i, long j) const { return fixed(start) + i * fixed(xStep) + j * fixed(yStep); }
};

inline int slowPel(const Image8& image, std::int64_t x, std::int64_t y) {
    const std::int64_t column = std::clamp<std::int64_t>(x, 0, image.width() - 1);
    const std::int64_t row = std::clamp<std::int64_t>(y, 0, image.height() - 1);
    return image.get(static_cast<long>(column), static_cast<long>(row));
}

/// Largest integer not above value / divisor.
inline std::int64_t slowFloorDiv(std::int64_t value, std::int64_t divisor) {
    const std::int64_t quotient = value / divisor;
    return quotient * divisor > value ? quotient - 1 : quotient;
}

/// The value at a position in 2^-32 pel from the window's upper left corner.
inline int slowValue(const Image8& image, std::int64_t x, std::int64_t y, long interpolation) {
    const std::int64_t one = std::int64_t{1} << 32;
    if (interpolation == 1) return slowPel(image, slowFloorDiv(x, one), slowFloorDiv(y, one));
    const std::int64_t step = one / 256;
    const std::int64_t qx = slowFloorDiv(x - one / 2 + step / 2, step);
    const std::int64_t qy = slowFloorDiv(y - one / 2 + step / 2, step);
    const std::int64_t ix = slowFloorDiv(qx, 256);
    const std::int64_t iy = slowFloorDiv(qy, 256);
    const std::int64_t fx = qx - ix * 256;
    const std::int64_t fy = qy - iy * 256;
    const std::int64_t sum = slowPel(image, ix, iy) * (256 - fx) * (256 - fy) +
                             slowPel(image, ix + 1, iy) * fx * (256 - fy) +
                             slowPel(image, ix, iy + 1) * (256 - fx) * fy + slowPel(image, ix + 1, iy + 1) * fx * fy;
    return static_cast<int>(slowFloorDiv(sum + 32768, 65536));
}

inline bool slowIsInside(std::int64_t position, long size) {
    const std::int64_t tolerance = std::int64_t{1} << 24;
    return position >= -tolerance && position <= (static_cast<std::int64_t>(size) << 32) + tolerance;
}

inline SlowSamples slowTransform(const Image8& image, const qvAffineSamplingParams& params) {
    const qvXform<2> imageFromClient = image.imageFromClientXform();
    const qvVector<2> offset(static_cast<double>(image.offset().first), static_cast<double>(image.offset().second));
    const qvVector<2> corner = imageFromClient.mapPoint(params.affineRectangle().cornerPo()) - offset;
    const qvVector<2> xSide = imageFromClient.mapVector(params.affineRectangle().xSide());
    const qvVector<2> ySide = imageFromClient.mapVector(params.affineRectangle().ySide());
    const qvVector<2> xStep = xSide / static_cast<double>(params.xNumSamples());
    const qvVector<2> yStep = ySide / static_cast<double>(params.yNumSamples());
    const qvVector<2> start = corner + xStep * 0.5 + yStep * 0.5;
    const SlowAxis x{start.x(), xStep.x(), yStep.x()};
    const SlowAxis y{start.y(), xStep.y(), yStep.y()};
    bool isUsable = x.isUsable() && y.isUsable() && image.width() > 0 && image.height() > 0;
    for (const qvVector<2>& p : {corner, corner + xSide, corner + ySide, corner + xSide + ySide})
        isUsable = isUsable && std::fabs(p.x()) <= std::ldexp(1.0, 30) && std::fabs(p.y()) <= std::ldexp(1.0, 30);

    SlowSamples samples;
    samples.width = params.xNumSamples();
    samples.height = params.yNumSamples();
    for (long j = 0; j < samples.height; ++j)
        for (long i = 0; i < samples.width; ++i) {
            const bool inside =
                isUsable && slowIsInside(x.at(i, j), image.width()) && slowIsInside(y.at(i, j), image.height());
            samples.inside.push_back(inside);
            samples.values.push_back(inside ? slowValue(image, x.at(i, j), y.at(i, j), params.interpolation()) : 0);
            samples.partial = samples.partial || !inside;
        }
    return samples;
}

/// Gaussian reduction in real numbers, x first, then y, rounded half up once at the end.
inline std::vector<double> slowGaussTaps(long factor, double smoothing, long& first) {
    const double sigma = 0.35 * static_cast<double>(factor) * smoothing;
    const double centre = static_cast<double>(factor) / 2.0;
    std::vector<double> weights;
    double sum = 0.0;
    for (long k = -40 * factor; k <= 41 * factor; ++k) {
        const double distance = static_cast<double>(k) + 0.5 - centre;
        if (std::fabs(distance) > 3.0 * sigma + 1e-9) continue;
        if (weights.empty()) first = k;
        weights.push_back(std::exp(-distance * distance / (2.0 * sigma * sigma)));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

/// Before rounding; one value for each block, row by row.
inline std::vector<double> slowGauss(const Image8& image, long fx, long fy, double smoothing) {
    const long columns = (image.width() + fx - 1) / fx;
    const long rows = (image.height() + fy - 1) / fy;
    long firstX = 0;
    long firstY = 0;
    const std::vector<double> wx = slowGaussTaps(fx, smoothing, firstX);
    const std::vector<double> wy = slowGaussTaps(fy, smoothing, firstY);
    std::vector<double> result;
    for (long r = 0; r < rows; ++r)
        for (long c = 0; c < columns; ++c) {
            double sum = 0.0;
            for (std::size_t j = 0; j < wy.size(); ++j) {
                double alongRow = 0.0;
                for (std::size_t i = 0; i < wx.size(); ++i)
                    alongRow += wx[i] * slowPel(image, c * fx + firstX + static_cast<long>(i),
                                                r * fy + firstY + static_cast<long>(j));
                sum += wy[j] * alongRow;
            }
            result.push_back(sum);
        }
    return result;
}

}  // namespace qvtest

#endif
