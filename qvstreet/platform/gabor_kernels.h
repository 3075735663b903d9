/// @file
/// The loop of the Gabor filter: gains of a rectangle of a spectrum, and the products with them.
#ifndef QVSTREET_PLATFORM_GABOR_KERNELS_H
#define QVSTREET_PLATFORM_GABOR_KERNELS_H

#include <cstddef>

#include "qvstreet/platform/instruction_set.h"

/// 9 ln 10: where the exponent of a gain is larger, the gain would be below 1e-9 and is 0.
constexpr double kGaborMostExponent = 20.72326583694641;

/// The lobe of a filter, frequencies in cycles per pel.
struct qv_GaborLobe {
    /// Of the filter's angle.
    double cosine;
    double sine;
    double centre;
    /// 1 / (2 sigma^2), along and across the angle.
    double weightAlong;
    double weightAcross;
};

struct qv_GaborKernels {
    /// Filters `rows` by `columns` elements whose frequencies are u[x] and v[y]:
    ///
    ///     along = u cosine + v sine - centre,   across = v cosine - u sine
    ///     exponent = along^2 weightAlong + across^2 weightAcross
    ///     gain = exponent <= kGaborMostExponent ? exp(-exponent) : 0,   and 0 where u and v are 0
    ///     out = in * gain, of both parts
    ///
    /// `out` may be `in`. The exponential is a polynomial of the kernel's own, within two units in the last place: that of
    /// a mathematical library is not the same on every machine.
    void (*filter)(const double* real, const double* imaginary, std::ptrdiff_t rowUpdate, const double* u,
                   const double* v, long columns, long rows, const qv_GaborLobe& lobe, double* outReal,
                   double* outImaginary, std::ptrdiff_t outRowUpdate);
};

QV_DECLARE_KERNELS(qv_GaborKernels, gaborKernels)

#endif
