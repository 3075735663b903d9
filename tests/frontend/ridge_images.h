#ifndef QVSTREET_TESTS_FRONTEND_RIDGE_IMAGES_H
#define QVSTREET_TESTS_FRONTEND_RIDGE_IMAGES_H

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "qvstreet/frontend/ridge_trace.h"
#include "qvstreet/platform/pel_ops.h"

// Small responses with ridges written out, and short ways to walk along them.

namespace qvtest {

using Rows = std::vector<std::vector<double>>;
using Points = std::vector<std::pair<double, double>>;

inline qvPelBuffer<double> imageOf(const Rows& rows) {
    qvPelBuffer<double> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    return image;
}

inline qvPelBuffer<double> filled(long width, long height, double value) {
    qvPelBuffer<double> image(width, height, 32);
    qfPelSet(image, value);
    return image;
}

/// `height` equal rows.
inline qvPelBuffer<double> equalRows(const std::vector<double>& row, std::size_t height) {
    return imageOf(Rows(height, row));
}

/// Equal columns, `column` from top to bottom.
inline qvPelBuffer<double> equalColumns(const std::vector<double>& column, std::size_t width) {
    Rows rows;
    for (const double value : column) rows.emplace_back(width, value);
    return imageOf(rows);
}

inline qv_traceMask maskFor(const qvPelBuffer_const<double>& image) {
    const qv_traceMask mask = qf_newPels<std::uint16_t>(image.width(), image.height());
    qfPelSet(mask, std::uint16_t{0});
    return mask;
}

/// The marked pels, row by row.
inline std::vector<std::pair<long, long>> markedPels(const qv_traceMask& mask, std::uint16_t id) {
    std::vector<std::pair<long, long>> pels;
    for (long y = 0; y < mask.height(); ++y)
        for (long x = 0; x < mask.width(); ++x) {
            if (mask.get(x, y) == 0) continue;
            EXPECT_EQ(mask.get(x, y), id);
            pels.emplace_back(x, y);
        }
    return pels;
}

/// To the right, looking one pel up and down.
inline qv_ridgeTraceParams rightwards(double x = 2.5, double y = 2.5) {
    qv_ridgeTraceParams params;
    params.traceFlags = eStopAtLowPeak;
    params.searchHalfSteps = 1;
    params.startPoint = qvVector<2>(x, y);
    return params;
}

inline qv_ridgeTraceResult traced(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params) {
    qv_ridgeTraceResult result;
    traceRidge(image, params, maskFor(image), 1, result);
    return result;
}

inline void expectPoint(const qvVector<2>& point, double x, double y, double tolerance = 1e-12) {
    EXPECT_NEAR(point.x(), x, tolerance);
    EXPECT_NEAR(point.y(), y, tolerance);
}

inline void expectPoints(const std::vector<qvVector<2>>& points, const Points& expected, double tolerance = 1e-12) {
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        SCOPED_TRACE(i);
        expectPoint(points[i], expected[i].first, expected[i].second, tolerance);
    }
}

/// A straight ridge through `point` with a rounded profile of 3 pels' width.
inline qvPelBuffer<double> ridgeAlong(long width, long height, const qvVector<2>& point, double degrees) {
    const qvLine ridge(qvDegree(degrees), point);
    qvPelBuffer<double> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const double d = ridge.distToPoint(qvVector<2>(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5));
            image.put(x, y, 200.0 * std::exp(-d * d / 4.5));
        }
    return image;
}

/// Row 2 is 100 up to column 4, and then 10 between 4 above and 7 below.
inline qvPelBuffer<double> fadingRidge() {
    Rows rows(5, std::vector<double>(9, 0.0));
    for (std::size_t x = 0; x < 9; ++x) {
        rows[1][x] = x < 5 ? 0.0 : 4.0;
        rows[2][x] = x < 5 ? 100.0 : 10.0;
        rows[3][x] = x < 5 ? 0.0 : 7.0;
    }
    return imageOf(rows);
}

}  // namespace qvtest

#endif
