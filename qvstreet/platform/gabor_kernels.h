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

/// Rows that stand in steps of one frequency: as many as the transforms take at a time.
constexpr long kGaborBlock = 8;
/// The row of a block whose gains are exponentials; those of the others are products with them.
constexpr long kGaborAnchor = 4;

/// What the gains in a block of rows are made of. For row m, counted from the anchor, and rows h apart:
///
///     exponent(u, v + m h) = exponent(u, v) + m slope(u, v) + m^2 curvature
///
/// where the slope is a sum of a part that goes with u and one that goes with v.
struct qv_GaborSteps {
    /// exp(-slope), the part of each column; null where the slope does not go with u.
    const double* columns;
    /// exp(-(m slope + m^2 curvature)), with the part of the slope that goes with v, for each row of the whole blocks;
    /// `filter` takes those of all rows.
    const double* rows;
    /// Up to this exponent of an anchor all rows of its block have gains, above the other none has.
    double surelyInside;
    double surelyOutside;
};

struct qv_GaborKernels {
    /// Filters `columns` by `rows` elements whose frequencies are u[x] and v[firstRow + y]:
    ///
    ///     along = u cosine + v sine - centre,   across = v cosine - u sine
    ///     exponent = along^2 weightAlong + across^2 weightAcross
    ///     gain = exponent <= kGaborMostExponent ? exp(-exponent) : 0,   and 0 where u and v are 0
    ///     out = in * gain, of both parts
    ///
    /// `v` and `allRows` are those of the whole spectrum, `out` may be `in`. The exponential is a polynomial of the
    /// kernel's own, within two and a half units in the last place: that of a mathematical library is not the same on every machine.
    ///
    /// With `steps` (null for none; its columns begin with the rectangle) only one row in each block of kGaborBlock rows
    /// takes exponentials, and the gains are as near to the truth as the rounding of exponents lets all of them be: up to
    /// 2.5e-14 at the largest exponent for lobes of ordinary width, 5e-13 for the narrowest that are stepped. Blocks begin at multiples of kGaborBlock of all rows, so that an element gets the
    /// same gain in any rectangle; a block that is cut off by the end, or in which the frequencies leap from positive to
    /// negative, is done without steps.
    void (*filter)(const double* real, const double* imaginary, std::ptrdiff_t rowUpdate, const double* u,
                   const double* v, long columns, long firstRow, long rows, long allRows, const qv_GaborLobe& lobe,
                   const qv_GaborSteps* steps, double* outReal, double* outImaginary, std::ptrdiff_t outRowUpdate);

    /// out[i] = exp(-x[i]) for x from -kGaborMostExponent to kGaborMostExponent; `out` may be `x`.
    void (*exponentials)(const double* x, long count, double* out);
};

QV_DECLARE_KERNELS(qv_GaborKernels, gaborKernels)

#endif
