// Spectrum preparation.
//
// In:  the bound 8-bit image, any size, image frame.
// Out: a square of 256 by 256 pels in the sample frame, its spectrum, and `imageFromSample`.
//
//     bound image --Gaussian reduction--> about 256 --bilinear, 246 x 246--> sampled
//     sampled --mirrored bands, 10 wide, right and bottom--> 256 x 256 --feathered--> joins up with itself --> spectrum
//
// The 246 samples span the image less a margin of 2.5 pels at each side, so the sample frame of an oblong image has
// pels of different size in x and y and every angle has to go through `imageFromSample`.
#include "qvstreet/frontend/spectrum.h"

#include <algorithm>

#include "qvstreet/frontend/spectrum_records.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/pel_sharing.h"
#include "qvstreet/platform/sampling.h"

namespace {

constexpr long kAlignment = 32;
constexpr long kBilinear = 2;

using Image = qvPelBuffer_const<unsigned char>;

/// The share that the far edge's pel has in row or column `step` of a band, from 0 at the outer border to 1.
float featherWeight(long step, long bandWidth) {
    return static_cast<float>(static_cast<double>(step) / static_cast<double>(bandWidth - 1));
}

/// `a` at weight 0, `b` at weight 1, cut to a whole grey level.
unsigned char mixed(unsigned char a, unsigned char b, float weight) {
    const float value = static_cast<float>(a) + weight * static_cast<float>(b - a);
    return static_cast<unsigned char>(qfTruncate(static_cast<double>(value)));
}

/// The row or column of the source that a mirrored image shows at `index`: the mirror image begins with the border row
/// itself, and a band wider than the source is mirrored again at its other end.
long mirroredIndex(long index, long size) {
    const long inPeriod = index % (2 * size);
    return inPeriod < size ? inPeriod : 2 * size - 1 - inPeriod;
}

void reduceImage(const Image& image, long fftSize, qv_spectrumScratch& scratch) {
    // Whole factors; 0 for an image smaller than the square, which reduces nothing.
    const qvPair<long> factors(image.width() / fftSize, image.height() / fftSize);
    qf_gaussSample(image, qvGaussSampleParams(qvPair<long>(1, 1), factors, 1.0, true), scratch.gauss, scratch.reduced);
}

}  // namespace

void prepareSpectrum(qv_spectrumState& state, const Image& image, const qv_spectrumParams& params,
                     qvDiagObject* diagObject, qv_spectrumScratch* scratch) {
    state.clientFromImage = image.clientFromImageXform();
    state.imageSize = qvPair<long>(image.width(), image.height());

    state.workImage = image;
    state.workImage.clientFromImageXform(qvXform<2>());
    state.imageOffset = image.offset();
    state.workImage.offset(0, 0);

    sampleFftImage(state.workImage, params, state.imageFromSample, state.fftImage, scratch);
    qf_ForwardFFT(state.fftImage, state.spectrum);
    state.prepared = true;
    if (diagObject != nullptr) recordSpectrum(state, *diagObject);
}

void sampleFftImage(const Image& image, const qv_spectrumParams& params, qvXform<2>& imageFromSample, Image& fftImage,
                    qv_spectrumScratch* scratch) {
    qv_spectrumScratch ownScratch;
    qv_spectrumScratch& working = scratch != nullptr ? *scratch : ownScratch;
    // The former square may be filled again.
    fftImage = Image();
    reduceImage(image, params.fftSize, working);
    const long samples = params.usePadding ? params.fftSize - params.padWidth : params.fftSize;

    // The reduced image maps back to the coordinates of the input, so the rectangle is given in those.
    const double width = static_cast<double>(image.width());
    const double height = static_cast<double>(image.height());
    const double margin = static_cast<double>(params.rectMargin);
    const qvAffineRectangle rectangle(qvVector<2>(width / 2.0, height / 2.0), width - margin, height - margin,
                                      qvRadian(0.0), qvRadian(0.0));
    qf_provideOwnPels(working.sampled, samples, samples, kAlignment);
    qfAffineTransformImage(working.reduced, working.sampled,
                           qvAffineSamplingParams(rectangle, samples, samples, kBilinear));

    const double count = static_cast<double>(samples);
    imageFromSample = qvXform<2>(qvMatrix<2>((width - margin) / count, 0.0, 0.0, (height - margin) / count),
                                 qvVector<2>(margin / 2.0, margin / 2.0));

    if (!params.usePadding) {
        fftImage = working.sampled;
        return;
    }
    const qvPair<long> bands = mirrorPadToSquare(working.sampled, params.padWidth, working.padded);
    featherPadBands(working.padded, bands);
    fftImage = working.padded;
}

qvPair<long> mirrorPadToSquare(const Image& image, long padWidth, qvPelBuffer<unsigned char>& padded) {
    const long width = image.width();
    const long height = image.height();
    qvPair<long> bands(padWidth, padWidth);
    if (width <= height) {
        bands.first += height - width;
    } else {
        bands.second += width - height;
    }

    qf_provideOwnPels(padded, width + bands.first, height + bands.second, kAlignment);
    for (long y = 0; y < padded.height(); ++y) {
        unsigned char* const row = padded.pointToRow(y);
        std::copy_n(image.pointToRow(mirroredIndex(y, height)), width, row);
        for (long x = width; x < padded.width(); ++x) row[x] = row[mirroredIndex(x, width)];
    }
    return bands;
}

void featherPadBands(const qvPelBuffer<unsigned char>& padded, const qvPair<long>& bands) {
    const long lastRow = padded.height() - 1;
    const long lastColumn = padded.width() - 1;
    // Rows before columns, so the corner is blended twice.
    for (long i = 0; i < bands.second; ++i) {
        const float weight = featherWeight(i, bands.second);
        const unsigned char* const near = padded.pointToRow(i);
        unsigned char* const far = padded.pointToRow(lastRow - i);
        for (long x = 0; x <= lastColumn; ++x) far[x] = mixed(near[x], far[x], weight);
    }
    for (long y = 0; y <= lastRow; ++y) {
        unsigned char* const row = padded.pointToRow(y);
        for (long j = 0; j < bands.first; ++j)
            row[lastColumn - j] = mixed(row[j], row[lastColumn - j], featherWeight(j, bands.first));
    }
}
