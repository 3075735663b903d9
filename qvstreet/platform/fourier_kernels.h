/// @file
/// Loops of the Fourier transforms: blocks of eight signals side by side, and how they are filled and emptied.
///
/// A block holds sample i of eight signals in row i: the real parts in one array of 8 doubles a row, the imaginary parts
/// in a second one, each row on the boundary of a cache line. `rowOf` names the row in which a transform leaves a
/// frequency. `lanes`, 1 to 8, is the number of signals that are wanted; where fewer are loaded the others become 0.
/// Distances between rows count in elements.
#ifndef QVSTREET_PLATFORM_FOURIER_KERNELS_H
#define QVSTREET_PLATFORM_FOURIER_KERNELS_H

#include <cstddef>

#include "qvstreet/platform/instruction_set.h"

/// Signals in a block; in doubles, one cache line.
constexpr long kFourierLanes = 8;

struct qv_FourierKernels {
    /// Transforms a block of `length` rows, a power of two, in place, frequencies in reversed digits. Decimation in
    /// frequency: each step combines rows a quarter of the span apart,
    ///
    ///     e = x0 + x2, f = x0 - x2, g = x1 + x3, h = -i (x1 - x3)
    ///     y0 = e + g, y1 = (f + h) w^j, y2 = (e - g) w^2j, y3 = (f - h) w^3j,    w = exp(-2 pi i / span)
    ///
    /// and goes on within the quarters; a span of 2 at the end is a sum and a difference. `turns` holds, span by span
    /// from the longest on, w^j, w^2j and w^3j as pairs of doubles for j = 1 to span / 4 - 1.
    void (*transform)(double* real, double* imaginary, long length, const double* turns);

    /// `loadColumns` and `transform` in one: sample n of the signals is row `slots[n]` of the columns, or 0 for all of
    /// them where that is negative. `length` is 4 or more.
    void (*transformColumns)(const double* realColumns, const double* imaginaryColumns, std::ptrdiff_t rowUpdate,
                             const long* slots, long length, const double* turns, double* real, double* imaginary);

    /// Rows into lanes: `block[x * 8 + lane] = rows[lane * rowUpdate + x]`, for all x below `length`.
    void (*loadRows)(const double* rows, std::ptrdiff_t rowUpdate, long lanes, long length, double* block);

    /// Lanes into rows: `rows[lane * rowUpdate + x] = block[rowOf[x] * 8 + lane] * factor`.
    void (*storeRows)(const double* block, const long* rowOf, double factor, long lanes, long length, double* rows,
                      std::ptrdiff_t rowUpdate);

    /// Columns into lanes: `block[y * 8 + lane] = columns[y * rowUpdate + lane]`, for all y below `length`.
    void (*loadColumns)(const double* columns, std::ptrdiff_t rowUpdate, long lanes, long length, double* block);

    /// Lanes into columns: `columns[y * rowUpdate + lane] = block[rowOf[y] * 8 + lane]`.
    void (*storeColumns)(const double* block, const long* rowOf, long lanes, long length, double* columns,
                         std::ptrdiff_t rowUpdate);

    /// Columns of pels into lanes, as `loadColumns`.
    void (*loadPels)(const unsigned char* columns, std::ptrdiff_t rowUpdate, long lanes, long length, double* block);

    /// Takes apart the transforms Z of signals whose real part a and imaginary part b are signals of their own:
    /// a(v) = (Z(v) + conj Z(-v)) / 2 goes to the columns at `firstReal` and `firstImaginary`,
    /// b(v) = (Z(v) - conj Z(-v)) / 2i for the first `partners` lanes to those at the other two, v = 0 to length / 2.
    void (*storePairs)(const double* real, const double* imaginary, const long* rowOf, long length, long lanes,
                       long partners, double* firstReal, double* firstImaginary, double* secondReal,
                       double* secondImaginary, std::ptrdiff_t rowUpdate);

    /// The row of the opposite frequency: `mirrored[u] = sign * row[(width - u) % width]`.
    void (*mirrorRow)(const double* row, double sign, long width, double* mirrored);

    /// Of a transformed block the squared magnitudes, and the imaginary parts in single precision, both times `factor`
    /// before: with re and im of row `rowOf[y]`, `squares[y * rowUpdate + lane] = re * re + im * im` and
    /// `imaginaries[y * singleUpdate + lane] = im`, all eight lanes. Returns the largest square, or `largest`.
    double (*storeSquares)(const double* real, const double* imaginary, const long* rowOf, double factor, long length,
                           double largest, double* squares, std::ptrdiff_t rowUpdate, float* imaginaries,
                           std::ptrdiff_t singleUpdate);
};

QV_DECLARE_KERNELS(qv_FourierKernels, fourierKernels)

#endif
