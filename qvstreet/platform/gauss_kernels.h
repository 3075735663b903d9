/// @file
/// The inner loops of the Gaussian reduction, compiled once for each instruction set. For `gauss_sample.cpp`.
///
/// Weights are in 2^-14, add up to 2^14, and are the same read from either end. No array needs an alignment beyond that
/// of its elements.
#ifndef QVSTREET_PLATFORM_GAUSS_KERNELS_H
#define QVSTREET_PLATFORM_GAUSS_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// `smoothAlong` reads its taps in groups of so many.
constexpr std::size_t kGaussTapGroup = 8;

struct qv_GaussKernels {
    /// Smooths down the columns:
    ///
    ///     for each column x: add up weights[i] * rows[i][x], round to 1/128 grey level, half up
    ///
    /// @param rows     `taps` rows of at least `columns` pels; one row may be there several times
    /// @param weights  `taps` weights; they stay between 0 and 2^14
    /// @param taps     at least 1
    /// @param columns  at least 1
    /// @param values   receives `columns` grey levels in 1/128, 0 to 32640
    void (*smoothDown)(const std::uint8_t* const* rows, const std::int16_t* weights, std::size_t taps,
                       std::size_t columns, std::int16_t* values);

    /// Smooths along a row, for one pel of each block:
    ///
    ///     for each block b: add up weights[i] * values[b * factor + i], round to a whole grey level, half up
    ///
    /// @param values   (blocks - 1) * factor + taps grey levels in 1/128
    /// @param factor   pels from one block to the next, at least 1
    /// @param weights  `taps` weights, filled up with zeros at the end
    /// @param taps     a multiple of `kGaussTapGroup`
    /// @param blocks   at least 1
    /// @param pels     receives `blocks` pels
    void (*smoothAlong)(const std::int16_t* values, std::size_t factor, const std::int16_t* weights, std::size_t taps,
                        std::size_t blocks, std::uint8_t* pels);
};

QV_DECLARE_KERNELS(qv_GaussKernels, gaussKernels)

#endif
