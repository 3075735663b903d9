/// @file
/// Bilinear samples along a straight walk through 8-bit pels: added up as they are made, or stored.
#ifndef QVSTREET_PLATFORM_PROJECTION_KERNELS_H
#define QVSTREET_PLATFORM_PROJECTION_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// How often a position that moves in equal steps comes to a border between pels.
struct qv_BorderRhythm {
    /// Magnitude of the movement in one step, in 2^-32 pel; 0 never comes to a border.
    std::uint64_t movement = 0;
    /// 2^32 divided by the movement, and the remainder.
    std::int64_t steps = 0;
    std::uint64_t remainder = 0;
};

/// Equal steps through an image.
struct qv_WalkStep {
    /// In 2^-32 pel. `x` less one pel, and `y`, are each less than one pel in magnitude.
    std::int64_t x = 0;
    std::int64_t y = 0;
    /// Of the column, seen from one that advances by a pel in each step; and of the row.
    qv_BorderRhythm columnRhythm;
    qv_BorderRhythm rowRhythm;
};

/// A walk whose samples all have their four neighbours in the window.
struct qv_PelWalk {
    /// Pel (0, 0) of the window, the distance from a row to the next, and the number of columns.
    const unsigned char* pels = nullptr;
    std::ptrdiff_t rowUpdate = 0;
    std::int64_t width = 0;
    /// The first sample, in 2^-32 pel from the centre of pel (0, 0), half a 1/256 pel added: what lies in front of the
    /// point is the upper left neighbour, and the first eight bits behind it are the weight of the next column or row.
    std::int64_t x = 0;
    std::int64_t y = 0;
    /// 1 to 32767 samples.
    long count = 0;
    /// How many rows farther down the walk will be that should find its pels in the cache; has no part in the sums.
    std::ptrdiff_t rowsToFetchAhead = 0;
};

/// Elements behind the last bin of a walk that `addToBins` may read and write back unchanged.
constexpr long kBinsBehind = 32;

/// The loops. Sample k of a walk, at (x + k * step.x, y + k * step.y), has the value
/// `(p00 * (256 - fx) * (256 - fy) + p10 * fx * (256 - fy) + p01 * (256 - fx) * fy + p11 * fx * fy + 32768) >> 16`.
struct qv_ProjectionKernels {
    /// For each sample `sum += value; squareSum += value * value`.
    void (*addToBin)(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* sum, std::uint32_t* squareSum);

    /// For each sample k `sums[k] += value; squareSums[k] += value * value`. Up to `kBinsBehind` elements behind the
    /// last one are touched, but keep their numbers.
    void (*addToBins)(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* sums, std::uint32_t* squareSums);

    /// For each sample k `values[k] = value`. No value may lie in the window.
    void (*store)(const qv_PelWalk& walk, const qv_WalkStep& step, unsigned char* values);
};

QV_DECLARE_KERNELS(qv_ProjectionKernels, projectionKernels)

#endif
