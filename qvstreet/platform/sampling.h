/// @file
/// Resampling of 8-bit images: parallelograms into upright images or profiles, and reduction by whole factors.
///
///     client frame     the caller's units; where a rectangle is given
///     source           pel positions counted from the upper left corner of the source's window
///     destination      sample (i, j) covers [i, i + 1) by [j, j + 1) and is taken at (i + 0.5, j + 0.5)
///
/// Parallelograms are sampled in integer arithmetic from the source position on, so a result does not depend on the
/// instruction set or on the order in which samples are taken. Nor does a reduction, whose order of adding is fixed.
#ifndef QVSTREET_PLATFORM_SAMPLING_H
#define QVSTREET_PLATFORM_SAMPLING_H

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/rect.h"

/// The number of samples, one a unit, that a side of this length gets: the length plus 1e-9 without its fraction, so
/// that a side that should be whole does not lose a sample to rounding. Saturates at the 32-bit limits, 0 for NaN.
QV_EXPORT long qf_sampleCount(double length);

/// A parallelogram with numbers of samples along its x and y side. Sample (i, j) of nx by ny lies at fractions
/// (i + 0.5) / nx and (j + 0.5) / ny of the two sides.
class QV_EXPORT qvAffineSamplingParams {
 public:
    /// @param rect           in the client frame of the source
    /// @param xNumSamples    samples along the x side; narrowed to 16 bits, 1 to 32767 after that
    /// @param yNumSamples    samples along the y side; likewise
    /// @param interpolation  1 takes the nearest pel, 2 interpolates bilinearly
    /// @throws qvPel::BadSize for a number that is 0 or negative after the narrowing, or another interpolation
    qvAffineSamplingParams(const qvAffineRectangle& rect, long xNumSamples, long yNumSamples, long interpolation);

    /// Where the samples lie, and how many there are; the client frame of the source.
    const qvAffineRectangle& affineRectangle() const { return rect_; }
    void affineRectangle(const qvAffineRectangle& rect) { rect_ = rect; }
    long xNumSamples() const { return xNumSamples_; }
    /// @throws qvPel::BadSize
    void xNumSamples(long count);
    long yNumSamples() const { return yNumSamples_; }
    /// @throws qvPel::BadSize
    void yNumSamples(long count);
    long interpolation() const { return interpolation_; }
    /// @throws qvPel::BadSize
    void interpolation(long mode);

 private:
    qvAffineRectangle rect_;
    long xNumSamples_;
    long yNumSamples_;
    long interpolation_;
};

/// A sector of a ring with numbers of samples along the angle (x) and the radius (y).
class QV_EXPORT qvPolarSamplingParams {
 public:
    /// Numbers and interpolation as for `qvAffineSamplingParams`. @throws qvPel::BadSize
    qvPolarSamplingParams(const qvEllipseAnnulusSection& section, long xNumSamples, long yNumSamples,
                          long interpolation);

    /// Where the samples lie, and how many there are; the client frame of the source.
    const qvEllipseAnnulusSection& section() const { return section_; }
    void section(const qvEllipseAnnulusSection& section) { section_ = section; }
    long xNumSamples() const { return xNumSamples_; }
    /// @throws qvPel::BadSize
    void xNumSamples(long count);
    long yNumSamples() const { return yNumSamples_; }
    /// @throws qvPel::BadSize
    void yNumSamples(long count);
    long interpolation() const { return interpolation_; }
    /// @throws qvPel::BadSize
    void interpolation(long mode);

 private:
    qvEllipseAnnulusSection section_;
    long xNumSamples_;
    long yNumSamples_;
    long interpolation_;
};

/// How `qfGaussSample` reduces an image. All numbers are in pels of the source.
class QV_EXPORT qvGaussSampleParams {
 public:
    /// @param leastFactors       lower limits of the factors, (x, y); themselves at least 1
    /// @param factors            pels along a block's sides, (x, y), at most 32767; a smaller one than its lower limit,
    ///                           such as the 0 of an image too small to be reduced, is raised to it
    /// @param smoothing          scale of the smoothing, 1.0 being the normal one: sigma is 0.35 * factor * smoothing.
    ///                           0 to 16; at 0 only the pels nearest to a block's centre count
    /// @param completeLastBlock  whether the last block of a row or column is completed by repeating the border pel;
    ///                           else an incomplete last block is left out, unless it is the only one
    /// @throws qvPel::BadSize for numbers outside these ranges
    qvGaussSampleParams(const qvPair<long>& leastFactors, const qvPair<long>& factors, double smoothing,
                        bool completeLastBlock);

    /// The factors in effect.
    const qvPair<long>& factors() const { return factors_; }
    double smoothing() const { return smoothing_; }
    bool completeLastBlock() const { return completeLastBlock_; }

 private:
    qvPair<long> factors_;
    double smoothing_;
    bool completeLastBlock_;
};

/// Resamples a parallelogram of `source` into an upright image of `params.xNumSamples()` by `params.yNumSamples()`.
///
/// Bilinear samples are computed from positions and weights in 1/256 pel and rounded half up. A sample counts as inside
/// when its position lies within the source's window widened by 1/256 pel; neighbours beyond the border are the nearest
/// border pel. Samples outside become 0.
///
/// A destination of the right size that shares no memory with the source is filled in place, any other is replaced by a
/// new image. Its offset becomes (0, 0) and its client transform maps its coordinates to the client frame of the
/// source.
///
/// `mask`, where there is one, has the same size and is handled like the destination: 255 where the sample lay inside
/// the source, 0 elsewhere. `partial` tells whether some sample lay outside.
/// @throws qvPel::UnboundWindow for an unbound source, qvMatrixErr::Singular for a client transform without inverse
QV_EXPORT void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source,
                                      qvPelBuffer<unsigned char>& destination, const qvAffineSamplingParams& params);
QV_EXPORT void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source,
                                      qvPelBuffer<unsigned char>& destination, const qvAffineSamplingParams& params,
                                      bool& partial);
QV_EXPORT void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source,
                                      qvPelBuffer<unsigned char>& destination, qvPelBuffer<unsigned char>& mask,
                                      const qvAffineSamplingParams& params);
QV_EXPORT void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source,
                                      qvPelBuffer<unsigned char>& destination, qvPelBuffer<unsigned char>& mask,
                                      const qvAffineSamplingParams& params, bool& partial);

/// Projects a parallelogram along its y side: the sums of the columns of what `qfAffineTransformImage` would give,
/// without making that image.
/// @param sums     becomes one row of `params.xNumSamples()` sums of grey levels; in the client frame of the source
///                 its pel (i, 0) covers the whole y side
/// @param counts   likewise the number of samples of each column that lay inside the source
/// @param scale    the number of samples of a column
/// @param partial  whether some sample lay outside
/// @throws as qfAffineTransformImage
QV_EXPORT void qfProjectImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned long>& sums,
                              qvPelBuffer<unsigned long>& counts, const qvAffineSamplingParams& params,
                              unsigned long& scale, bool& partial);

/// Smooths by a Gaussian and keeps one value for each block of `params.factors()` pels, at the block's centre. The taps
/// are the pels whose centres lie within 3 sigma of it; beyond the border the border pel is repeated.
///
/// The result is within 1 grey level of the smoothing in real numbers. It has ceil(size / factor) pels along each axis
/// (without completed last blocks floor(size / factor), but at least 1), offset (0, 0), and a client transform that
/// keeps the blocks where they were.
/// @throws qvPel::UnboundWindow
QV_EXPORT qvPelBuffer<unsigned char> qfGaussSample(const qvPelBuffer_const<unsigned char>& image,
                                                   const qvGaussSampleParams& params);

#endif
