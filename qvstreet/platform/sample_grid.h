/// @file
/// Where the samples of a parallelogram lie in the source's window, in 32.32 fixed point.
///
/// Sample (i, j) lies at start + i * xStep + j * yStep, in units of 2^-32 pel from the window's upper left corner. That
/// is exact integer arithmetic, so loops may walk a grid in any order and in any number of lanes.
///
/// Room: positions stay within 2^30 pels, 2^62 units, and the largest multiple of a step spans at most twice that, just
/// below 2^63.
#ifndef QVSTREET_PLATFORM_SAMPLE_GRID_H
#define QVSTREET_PLATFORM_SAMPLE_GRID_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "qvstreet/platform/sampling.h"

/// The interpolations of the sampling parameters.
constexpr long kInterpolationNearest = 1;
constexpr long kInterpolationBilinear = 2;

/// One pel in units of the fixed point.
constexpr std::int64_t kFixedOne = std::int64_t{1} << 32;

/// A position or a step in the source, in 2^-32 pel.
struct qv_FixedVector {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

inline qv_FixedVector operator+(const qv_FixedVector& a, const qv_FixedVector& b) { return {a.x + b.x, a.y + b.y}; }
inline qv_FixedVector operator*(long factor, const qv_FixedVector& v) { return {factor * v.x, factor * v.y}; }

/// The samples of a parallelogram.
struct qv_SampleGrid {
    /// False when every sample is outside: the source has no pels, or a position is not finite or too far away for the
    /// fixed point. The positions are all 0 then.
    bool reachesSource = false;
    qv_FixedVector start;
    qv_FixedVector xStep;
    qv_FixedVector yStep;
    long xCount = 0;
    long yCount = 0;
};

/// @throws qvPel::UnboundWindow for an unbound source, qvMatrixErr::Singular for a client transform without inverse
qv_SampleGrid qf_sampleGrid(const qv_PelBuffer& source, const qvAffineSamplingParams& params);

/// From destination coordinates, in samples, to the client frame of the source.
qvXform<2> qf_clientFromSamples(const qvAffineSamplingParams& params);

/// The pels of a window, as the sampling loops see them.
struct qv_PelSource {
    const unsigned char* pels = nullptr;
    std::ptrdiff_t rowUpdate = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
};

inline qv_PelSource qf_pelSource(const qvPelBuffer_const<unsigned char>& image) {
    // No sample reaches beyond 2^30 pels; a window that does counts as that wide, so that its limits fit 64 bits.
    constexpr long kFurthestPel = (1L << 30) + 2;
    return {image.pointToOffset(), image.rowUpdate(), std::min(image.width(), kFurthestPel),
            std::min(image.height(), kFurthestPel)};
}

/// Samples `begin` up to, not including, `end` of a straight walk; begin <= end.
struct qv_Span {
    long begin = 0;
    long end = 0;
};

inline qv_Span qf_intersection(const qv_Span& a, const qv_Span& b) {
    const long begin = std::max(a.begin, b.begin);
    return {begin, std::max(begin, std::min(a.end, b.end))};
}

/// The k from 0 to count - 1 with lowest <= start + k * step <= highest.
inline qv_Span qf_spanBetween(std::int64_t start, std::int64_t step, long count, std::int64_t lowest,
                              std::int64_t highest) {
    const std::int64_t last = start + (count - 1) * step;
    // A straight walk is inside as a whole when both its ends are.
    if (std::min(start, last) >= lowest && std::max(start, last) <= highest) return {0, count};
    if (std::max(start, last) < lowest || std::min(start, last) > highest) return {0, 0};

    // The step cannot be 0 here. below <= k * step <= above; no multiple exceeds 2^63, so `above` may saturate.
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    std::int64_t below = lowest - start;
    std::int64_t above = start < 0 && highest > most + start ? most : highest - start;
    if (step < 0) {
        step = -step;
        const std::int64_t formerAbove = above;
        above = -below;
        below = -formerAbove;
    }
    const std::int64_t first = below <= 0 ? 0 : (below - 1) / step + 1;
    const std::int64_t end = above < 0 ? 0 : std::min<std::int64_t>(above / step, count - 1) + 1;
    return {static_cast<long>(std::min(first, end)), static_cast<long>(end)};
}

#endif
