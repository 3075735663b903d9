/// @file
/// The test for ridge pels, a row at a time.
#ifndef QVSTREET_FRONTEND_RIDGE_KERNELS_H
#define QVSTREET_FRONTEND_RIDGE_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// Pels that one word of marks tells about.
constexpr long kRidgeMarks = 64;

struct qv_RidgeKernels {
    /// Marks pels that are maxima between two neighbours, one `step` elements before and one behind: bit x % 64 of
    /// `marks[x / 64]` is
    ///
    ///     pels[x] > above && pels[x] * slack >= pels[x - step] && pels[x] > pels[x + step],    0 <= x < count
    ///
    /// and 0 for x from `count` to the end of the last word.
    void (*markMaxima)(const double* pels, std::ptrdiff_t step, long count, double above, double slack,
                       std::uint64_t* marks);
};

QV_DECLARE_KERNELS(qv_RidgeKernels, ridgeKernels)

#endif
