/// @file
/// Spectrum preparation: from an image of any size to one square of pels and its two-dimensional spectrum.
#ifndef QVSTREET_FRONTEND_SPECTRUM_H
#define QVSTREET_FRONTEND_SPECTRUM_H

#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/gauss_sample.h"
#include "qvstreet/platform/pel_buffer.h"

class qvDiagObject;

/// How the square is made. Lengths in pels.
struct qv_spectrumParams {
    /// Side of the square handed to the transform.
    long fftSize = 256;
    /// Width of the mirrored band on the right and at the bottom.
    long padWidth = 10;
    /// Taken off the image's width and height before sampling, half of it at each side.
    long rectMargin = 5;
    /// When false the square is sampled at full `fftSize` and not mirrored.
    bool usePadding = true;
};

/// The sampled image, its spectrum, and the transforms that lead back to the client.
///
/// A point of `fftImage` (sample frame) comes to the client by `imageFromSample`, then adding `imageOffset`, then
/// `clientFromImage`.
struct qv_spectrumState {
    /// True once a spectrum has been prepared.
    bool prepared = false;
    /// Width and height of the bound image.
    qvPair<long> imageSize;
    /// From pels of `fftImage` to pels of `workImage`; not isotropic for an oblong image.
    qvXform<2> imageFromSample;
    /// The client transform of the bound image.
    qvXform<2> clientFromImage;
    /// The offset of the bound image.
    qvPair<long> imageOffset;
    /// The forward transform of `fftImage`, zero frequency at (0, 0).
    qvFrequencyBuffer spectrum;
    /// The bound image with the identity as client transform and offset (0, 0); shares the caller's pels.
    qvPelBuffer_const<unsigned char> workImage;
    /// The square that was transformed.
    qvPelBuffer_const<unsigned char> fftImage;
};

/// Working images and tables of the preparation, kept from one image to the next.
struct qv_spectrumScratch {
    qv_gaussScratch gauss;
    qvPelBuffer<unsigned char> reduced;
    qvPelBuffer<unsigned char> sampled;
    qvPelBuffer<unsigned char> padded;
};

/// Samples `image` into the square, transforms it and replaces everything in `state`. On an exception `prepared` keeps
/// its value.
/// @param diagObject  gets the square and a picture of the spectrum; null for none
/// @param scratch     of former calls; null for a new one
void prepareSpectrum(qv_spectrumState& state, const qvPelBuffer_const<unsigned char>& image,
                     const qv_spectrumParams& params, qvDiagObject* diagObject = nullptr,
                     qv_spectrumScratch* scratch = nullptr);

/// Reduces, samples, mirrors and feathers. `image` has the identity as client transform and offset (0, 0).
/// @param fftImage  becomes a handle on an image of `scratch`, which a later call fills again unless somebody else
///                  shows it
void sampleFftImage(const qvPelBuffer_const<unsigned char>& image, const qv_spectrumParams& params,
                    qvXform<2>& imageFromSample, qvPelBuffer_const<unsigned char>& fftImage,
                    qv_spectrumScratch* scratch = nullptr);

/// Adds mirrored bands at the right and the bottom so that `image` becomes a square whose longer side has grown by
/// `padWidth`. @returns the widths of the bands: (columns added, rows added)
/// @param padded  filled in place when it has that size and nobody else shows its pels, otherwise a new image
qvPair<long> mirrorPadToSquare(const qvPelBuffer_const<unsigned char>& image, long padWidth,
                               qvPelBuffer<unsigned char>& padded);

/// Blends the bands, in place, so that the last row runs over into the first and the last column into the first: the
/// periodic transform then sees no step at the edges.
void featherPadBands(const qvPelBuffer<unsigned char>& padded, const qvPair<long>& bands);

#endif
