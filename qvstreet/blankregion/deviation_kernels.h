/// @file
/// Loops of the sliding deviation for windows of at most `kKernelWindow` by `kKernelWindow` pels.
///
/// Pels count from the middle grey level: variances do not change with that, and all sums stay small. With L, S <= 128:
///
///     box of a row            |sum| <= 128 * L <= 2^14, its square <= 2^28
///     sum of a column         |sum| <= 2^14, of its squares <= 2^21
///     radicand of a column    S * (sum of squares) - sum^2 <= (S * 255 / 2)^2 < 2^28
#ifndef QVSTREET_BLANKREGION_DEVIATION_KERNELS_H
#define QVSTREET_BLANKREGION_DEVIATION_KERNELS_H

#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// Largest width and height of a window.
constexpr long kKernelWindow = 128;
/// The grey level that counts as 0.
constexpr std::int32_t kKernelMiddle = 128;
/// Squares of row boxes are added up in two parts, for all bits of a sum of 128 of them would not fit 32.
constexpr int kLowBits = 4;
constexpr std::uint32_t kLowMask = (1u << kLowBits) - 1;
/// Low parts of 16 bits hold 4369 changes of at most 15.
constexpr long kCarryEvery = 4096;
/// Radicands and sums of squares of the columns share numbers of 64 bits. The radicands of a window come to less than
/// 2^35, its squares to at most 2^28.
constexpr int kRadicandBits = 35;

/// The loops, one row of image or positions at a time.
struct qv_DeviationKernels {
    /// Sums of L pels of a row, one for each of the `width - L + 1` positions:
    /// `sums[x] = (pels[x] - 128) + ... + (pels[x + L - 1] - 128)`.
    /// `first` and `second` are scratch of `width + 1` elements each; returns the one that holds the sums.
    std::int16_t* (*rowBoxes)(const unsigned char* pels, long width, long L, std::int16_t* first, std::int16_t* second);

    /// Takes the squares of the entering boxes in and those of the leaving ones out, and leaves the entering ones in the
    /// place of the leaving ones: for each position `change = in * in - out * out; high += change >> 4;
    /// low += change & 15; leaving = in`, `high` modulo 2^32. The squares in the window come to `16 * high + low`.
    void (*exchangeBoxes)(const std::int16_t* entering, std::int16_t* leaving, std::uint32_t* high, std::uint16_t* low,
                          long positions);

    /// Brings the low parts of the sums back below 16; due at least once in `kCarryEvery` exchanges.
    void (*carryBoxes)(std::uint32_t* high, std::uint16_t* low, long positions);

    /// Takes a row of pels into the sums of the columns, and another one out.
    void (*exchangePels)(const unsigned char* entering, const unsigned char* leaving, std::int16_t* sums,
                         std::int32_t* squareSums, long width);

    /// Totals up to and with each column, modulo 2^64, of `(sum of squares << 35) + radicand`.
    void (*columnTotals)(const std::int16_t* sums, const std::int32_t* squareSums, long S, std::uint64_t* totals,
                         long width);

    /// Stores the pels of one row of positions, cut from `rowFactor * sqrt(rows) + columnFactor * sqrt(columns)` by
    /// floats; `rows` is L times the window's sum of squares less that of its squared boxes, `columns` the sum of its
    /// radicands. `totals` starts with the total before the first column, which is 0. `isDoubtful` becomes 1 where the
    /// value is within 0.001 of an integer other than 0, and else 0.
    void (*storeRow)(const std::uint32_t* high, const std::uint16_t* low, const std::uint64_t* totals, long L,
                     float rowFactor, float columnFactor, unsigned char* pels, unsigned char* isDoubtful,
                     long positions);
};

QV_DECLARE_KERNELS(qv_DeviationKernels, deviationKernels)

#endif
