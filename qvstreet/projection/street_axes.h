/// @file
/// An image seen along a street: u runs along it, v across it, both in pels of the window.
///
///     street nearer the horizontal            street nearer the vertical
///     u = x, v = y                            u = y, v = x
///
/// so that a street is a line v = v0 + slope * (u - u0) with a slope of at most 1 in magnitude. (0, 0) is the upper
/// left corner of the window's upper left pel, whatever the image's offset; the pel (i, k) has its centre at (i + 0.5,
/// k + 0.5).
#ifndef QVSTREET_PROJECTION_STREET_AXES_H
#define QVSTREET_PROJECTION_STREET_AXES_H

#include <cmath>
#include <cstddef>

#include "qvstreet/platform/line.h"
#include "qvstreet/platform/pel_buffer.h"

/// A line along a street, in pels: v = v0 + slope * (u - u0).
struct qv_UvLine {
    double u0 = 0.0;
    double v0 = 0.0;
    double slope = 0.0;

    double at(double u) const { return v0 + slope * (u - u0); }
    /// Cosine of its angle with the u axis: a distance along v times this is the distance at right angles.
    double cosine() const { return 1.0 / std::sqrt(1.0 + slope * slope); }
    /// The same line, `offset` pels further along v.
    qv_UvLine moved(double offset) const { return {u0, v0 + offset, slope}; }
};

/// The pels of a window by u and v. Holds no reference: the image must outlive it.
struct qv_UvPels {
    const unsigned char* first = nullptr;
    /// Bytes from a pel to the next along u and along v.
    std::ptrdiff_t uStep = 0;
    std::ptrdiff_t vStep = 0;
    long uSize = 0;
    long vSize = 0;
    /// u is y, and v is x.
    bool swapped = false;

    const unsigned char* pel(long u, long v) const {
        return first + static_cast<std::ptrdiff_t>(u) * uStep + static_cast<std::ptrdiff_t>(v) * vStep;
    }
    /// Between window coordinates (x, y) and (u, v); the two are the same swap.
    qvVector<2> exchange(const qvVector<2>& point) const { return swapped ? qvVector<2>(point.y(), point.x()) : point; }
};

/// u is x if `alongStreet`, a direction of any length, is nearer the horizontal, or just between.
inline qv_UvPels qf_uvPels(const qvPelBuffer_const<unsigned char>& image, const qvVector<2>& alongStreet) {
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(image.rowUpdate());
    const double x = alongStreet.x();
    const double y = alongStreet.y();
    if (x * x >= y * y) return {image.pointToPel(0, 0), 1, row, image.width(), image.height(), false};
    return {image.pointToPel(0, 0), row, 1, image.height(), image.width(), true};
}

#endif
