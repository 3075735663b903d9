/// @file
/// The inner loops of the sum over a ring of the spectrum, compiled once for each instruction set. For `polar_sum.cpp`
/// and `orientation.cpp`.
#ifndef QVSTREET_FRONTEND_POLAR_KERNELS_H
#define QVSTREET_FRONTEND_POLAR_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "qvstreet/platform/instruction_set.h"

/// Directions that are summed side by side.
constexpr std::size_t kPolarLanes = 8;

/// Where the samples of a ring lie: for one group of `kPolarLanes` directions after the other, one radius after the
/// other, one entry for each direction of the group. No array needs an alignment beyond that of its elements.
struct qv_PolarSamples {
    /// From the first pel to the pel at the upper left of each sample.
    const std::int32_t* offsets;
    /// How far the sample lies to the right of that pel's centre and below it, in pels.
    const double* fractionsX;
    const double* fractionsY;
    std::size_t groups;
    std::size_t radii;
};

struct qv_PolarKernels {
    /// Magnitudes of complex numbers:
    ///
    ///     for each i below count: magnitudes[i] = sqrt(real[i] * real[i] + imaginary[i] * imaginary[i])
    void (*magnitudes)(const double* real, const double* imaginary, std::size_t count, double* magnitudes);

    /// Sums the bilinear values of each direction, in order of the radii:
    ///
    ///     sum = 0
    ///     for each radius: sum += p[0] * ((1 - fx) * (1 - fy)) + p[1] * (fx * (1 - fy))
    ///                             + q[0] * ((1 - fx) * fy) + q[1] * (fx * fy)
    ///
    /// with p the pel at the upper left and q the one below it, products and sums from left to right.
    ///
    /// @param pels       the first pel
    /// @param rowUpdate  pels from one row to the next
    /// @param sums       receives one number for each direction of each group
    void (*sumOverRadii)(const double* pels, std::ptrdiff_t rowUpdate, const qv_PolarSamples& samples, double* sums);
};

QV_DECLARE_KERNELS(qv_PolarKernels, polarKernels)

#endif
