/// @file
/// Images of streets whose edges are known exactly, for the tests of the measurement.
#ifndef QVSTREET_TESTS_PROJECTION_DRAWN_STREET_H
#define QVSTREET_TESTS_PROJECTION_DRAWN_STREET_H

#include <cmath>

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/projection/street_axes.h"

namespace qvtest {

/// The pels of a new image, each as `grey(x, y)` of its column and row, rounded and cut to 0 to 255.
template <typename Grey>
qvPelBuffer<unsigned char> drawnImage(long width, long height, const Grey& grey) {
    qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const double value = std::floor(static_cast<double>(grey(x, y)) + 0.5);
            image.put(x, y, static_cast<unsigned char>(value < 0.0 ? 0.0 : value > 255.0 ? 255.0 : value));
        }
    return image;
}

/// The same image with x and y exchanged.
inline qvPelBuffer<unsigned char> transposed(const qvPelBuffer_const<unsigned char>& image) {
    return drawnImage(image.height(), image.width(), [&image](long x, long y) { return image.get(y, x); });
}

/// An image seen along a street nearer the horizontal, and nearer the vertical.
inline qv_UvPels alongRows(const qvPelBuffer_const<unsigned char>& image) {
    return qf_uvPels(image, qvVector<2>(1.0, 0.0));
}
inline qv_UvPels alongColumns(const qvPelBuffer_const<unsigned char>& image) {
    return qf_uvPels(image, qvVector<2>(0.0, 1.0));
}

/// Share of the normal distribution below `z`.
inline double normalBelow(double z) { return 0.5 * std::erfc(-z * 0.7071067811865476); }

/// Two edges, each a step blurred by a Gaussian of `blur` pels along v: v = first + slope * u and v = second + slope * u.
struct DrawnStreet {
    double first;
    double second;
    double slope;
    double dieGrey = 150.0;
    double streetGrey = 90.0;
    double blur = 1.0;

    /// Of the pel in column u and row v.
    double grey(long u, long v) const {
        const double line = slope * (static_cast<double>(u) + 0.5);
        const double at = static_cast<double>(v) + 0.5;
        const double inside = normalBelow((at - first - line) / blur) - normalBelow((at - second - line) / blur);
        return dieGrey + (streetGrey - dieGrey) * inside;
    }
};

}  // namespace qvtest

#endif
