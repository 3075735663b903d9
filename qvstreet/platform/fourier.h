/// @file
/// Spectra of images: the two-dimensional Fourier transform and its inverse.
///
///     forward   F(u, v) = sum over all pels of p(x, y) exp(-2 pi i (u x / width + v y / height)), not scaled
///     inverse   p(x, y) = sum over all u, v of F(u, v) exp(+2 pi i (u x / width + v y / height)) / (width height)
///
/// Element (u, v) of a spectrum stands for u / width cycles per pel along x and v / height along y; from the middle on
/// the elements stand for negative frequencies, u - width and v - height. Pels count from the window's upper left one.
#ifndef QVSTREET_PLATFORM_FOURIER_H
#define QVSTREET_PLATFORM_FOURIER_H

#include <cstdint>

#include "qvstreet/platform/aligned_memory.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/platform/pel_buffer.h"

/// A complex-valued image with zero frequency at (0, 0). Copies are independent.
///
/// Real and imaginary parts lie in two planes of their own, row by row, so that every loop along a row takes
/// neighbouring doubles as they come, without taking pairs apart. The rows of a plane are an odd number of cache lines
/// apart: steps down a column then visit all sets of the cache, where a power of two would visit few and throw out its
/// own lines.
///
/// `centred` means coordinates with zero frequency at (width / 2, height / 2), both truncated.
class qvFrequencyBuffer {
 public:
    /// Without elements, 0 by 0.
    qvFrequencyBuffer() = default;
    /// All elements 0. @throws qvPel::BadSize for a width or height of 0 or less, or a size that overflows
    qvFrequencyBuffer(long width, long height);
    qvFrequencyBuffer(const qvFrequencyBuffer&) = default;
    qvFrequencyBuffer& operator=(const qvFrequencyBuffer&) = default;
    /// Leaves the other one without elements.
    qvFrequencyBuffer(qvFrequencyBuffer&& other) noexcept { swap(other); }
    qvFrequencyBuffer& operator=(qvFrequencyBuffer&& other) noexcept;
    void swap(qvFrequencyBuffer& other) noexcept;

    long width() const { return width_; }
    long height() const { return height_; }

    /// Gives the buffer a size and keeps its memory where that is enough; the elements are then any.
    /// @throws qvPel::BadSize as the constructor; the buffer is then as it was
    void resize(long width, long height);

    /// Real and imaginary part of an element. @throws qvInvariantFailure outside
    qvPair<double> get(long x, long y, bool centred) const;
    /// @throws qvInvariantFailure outside
    void put(long x, long y, const qvPair<double>& element, bool centred);

    /// The magnitude sqrt(re^2 + im^2) of all elements, a new image. @throws qvPel::BadSize without elements
    qvPelBuffer<double> getMagnitudeImage(bool centred) const;

    /// The parts of row `y`, not centred, 0 to width() - 1; not checked.
    double* realRow(long y) { return real_.data() + y * rowUpdate_; }
    const double* realRow(long y) const { return real_.data() + y * rowUpdate_; }
    double* imaginaryRow(long y) { return imaginary_.data() + y * rowUpdate_; }
    const double* imaginaryRow(long y) const { return imaginary_.data() + y * rowUpdate_; }
    /// Distance in doubles from one row to the next.
    long rowUpdate() const { return rowUpdate_; }

 private:
    long width_ = 0;
    long height_ = 0;
    long rowUpdate_ = 0;
    qv_AlignedDoubles real_;
    qv_AlignedDoubles imaginary_;
};

/// The spectrum of the image's window. `spectrum` gets the window's size and keeps its memory where that is enough.
/// @throws qvPel::UnboundWindow; qvPel::BadSize for a view without pels
void qf_ForwardFFT(const qvPelBuffer_const<unsigned char>& image, qvFrequencyBuffer& spectrum);

/// The inverse transform, real part first. A destination of the spectrum's size is written in place, every other one
/// becomes a new image.
/// @param flags  none exists; 0
/// @throws qvPel::BadSize for a spectrum without elements; qvInvariantFailure for other flags
void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<double>& real, qvPelBuffer<double>& imaginary,
                  std::uint32_t flags = 0);

/// The real part of the inverse transform. Otherwise as above.
void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<double>& real, std::uint32_t flags = 0);

/// The real part of the inverse transform, rounded half up and clamped to 0 ... 255. Otherwise as above.
void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<unsigned char>& image, std::uint32_t flags = 0);

#endif
