/// @file
/// Bilinear interpolation in single precision, as line statistics and polarity votes take it.
#ifndef QVSTREET_FRONTEND_BILINEAR_H
#define QVSTREET_FRONTEND_BILINEAR_H

#include <cmath>

#include "qvstreet/platform/geometry.h"

/// The value at `point`, pel (i, j) having its centre at (i + 0.5, j + 0.5). `pel(column, row)` answers for every whole
/// coordinate, those beyond the border included.
template <typename PelAt>
double qf_bilinearSingle(const qvVector<2>& point, PelAt pel) {
    const float x = static_cast<float>(point.x()) - 0.5f;
    const float y = static_cast<float>(point.y()) - 0.5f;
    const float left = std::floor(x);
    const float top = std::floor(y);
    const float fx = x - left;
    const float fy = y - top;
    const long ix = qfTruncate(static_cast<double>(left));
    const long iy = qfTruncate(static_cast<double>(top));

    const auto rowValue = [&](long row) {
        const float a = static_cast<float>(pel(ix, row));
        const float b = static_cast<float>(pel(ix + 1, row));
        return a + fx * (b - a);
    };
    const float upper = rowValue(iy);
    const float lower = rowValue(iy + 1);
    return static_cast<double>(upper + fy * (lower - upper));
}

#endif
