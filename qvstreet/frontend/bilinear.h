/// @file
/// Bilinear interpolation in single precision, as line statistics and polarity votes take it.
#ifndef QVSTREET_FRONTEND_BILINEAR_H
#define QVSTREET_FRONTEND_BILINEAR_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "qvstreet/platform/geometry.h"

/// A coordinate as the whole number below it and what is left.
struct qv_bilinearCell {
    long index;
    float rest;
};

inline qv_bilinearCell qf_bilinearCell(float coordinate) {
    // Where 32 bits hold it, the conversion and one comparison give the same without a call.
    constexpr float kMostDirect = 2.0e9f;
    if (coordinate > -kMostDirect && coordinate < kMostDirect) {
        const auto cut = static_cast<std::int32_t>(coordinate);
        const std::int32_t below = static_cast<float>(cut) > coordinate ? cut - 1 : cut;
        return {below, coordinate - static_cast<float>(below)};
    }
    const float below = std::floor(coordinate);
    // One pel on, it still is a number of 32 bits.
    return {std::min(qfTruncate(static_cast<double>(below)), 2147483646L), coordinate - below};
}

/// The value at `point`, pel (i, j) having its centre at (i + 0.5, j + 0.5). `pel(column, row)` answers for every whole
/// coordinate, those beyond the border included.
template <typename PelAt>
double qf_bilinearSingle(const qvVector<2>& point, PelAt pel) {
    const qv_bilinearCell column = qf_bilinearCell(static_cast<float>(point.x()) - 0.5f);
    const qv_bilinearCell row = qf_bilinearCell(static_cast<float>(point.y()) - 0.5f);

    const auto rowValue = [&](long y) {
        const float a = static_cast<float>(pel(column.index, y));
        const float b = static_cast<float>(pel(column.index + 1, y));
        return a + column.rest * (b - a);
    };
    const float upper = rowValue(row.index);
    const float lower = rowValue(row.index + 1);
    return static_cast<double>(upper + row.rest * (lower - upper));
}

#endif
