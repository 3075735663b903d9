/// @file
/// The inner loops of the sliding mode, compiled once for each instruction set. For `sliding_mode.cpp`.
///
/// A column keeps, for each of the 256 grey levels, its smoothed count: h[v-1] + 2 * h[v] + h[v+1] of the histogram h of
/// the pels that a window has in that image column. Smoothing is linear, so the smoothed counts of a window are the sums
/// over its columns, and the mode is the first level with the largest sum. The counts of levels 0 and 255, which are
/// never the mode, stay 0.
#ifndef QVSTREET_BLANKREGION_MODE_KERNELS_H
#define QVSTREET_BLANKREGION_MODE_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// Grey levels of a column, and how far apart columns lie in memory.
constexpr std::size_t kColumnLevels = 256;

/// Two sizes of counts: bytes for at most 127 pels in a column and 32767 in a window, words for at most 32767 in a column
/// and 2^30 - 1 in a window. A window has at least one pel. No array needs an alignment beyond that of its elements.
struct qv_ModeKernels {
    /// Exchanges one pel in each column:
    ///
    ///     for each column c: take the smoothed counts of a pel leaving[c], if there are any leaving, add those of
    ///                        entering[c]
    ///
    /// @param entering  `count` pels
    /// @param leaving   `count` pels that the columns have, or null
    /// @param columns   `count` times `kColumnLevels` smoothed counts
    void (*exchangePelsInBytes)(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count,
                                std::uint8_t* columns);
    void (*exchangePelsInWords)(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count,
                                std::uint16_t* columns);

    /// Modes of the windows of `width` columns that start at each of the first `positions` columns:
    ///
    ///     for each position x: add up columns x to x + width - 1, store the first level with the largest sum
    ///
    /// @param columns    positions + width - 1 times `kColumnLevels` smoothed counts
    /// @param width      at least 1
    /// @param positions  at least 1
    /// @param modes      receives `positions` levels, 1 to 254
    void (*modesOfBytes)(const std::uint8_t* columns, std::size_t width, std::size_t positions, std::uint8_t* modes);
    void (*modesOfWords)(const std::uint16_t* columns, std::size_t width, std::size_t positions, std::uint8_t* modes);
};

QV_DECLARE_KERNELS(qv_ModeKernels, modeKernels)

#endif
