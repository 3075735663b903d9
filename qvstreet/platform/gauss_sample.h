/// @file
/// The reduction of `qfGaussSample` with memory that is kept from one image to the next.
#ifndef QVSTREET_PLATFORM_GAUSS_SAMPLE_H
#define QVSTREET_PLATFORM_GAUSS_SAMPLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/sampling.h"

/// The taps of one axis: block b reads the pels b * factor + first up to b * factor + first + weights.size() - 1,
/// clamped to the image.
struct qv_gaussTaps {
    /// Pels from one block to the next; 0 before the taps are made.
    long factor = 0;
    double smoothing = 0.0;
    long first = 0;
    std::vector<double> weights;
    /// The same in 2^-14, filled up with zeros to whole groups of `kGaussTapGroup`.
    std::vector<std::int16_t> wholeWeights;
    /// By how many grey levels the two can differ, on the image that is worst for them.
    double weightError = 0.0;
};

/// What a reduction needs besides the image. Grows only; after a first image nothing more is allocated, and no table
/// made, for another one of the same size.
struct qv_gaussScratch {
    qv_gaussTaps along;
    qv_gaussTaps down;
    /// The rows that the taps of one row of blocks read.
    std::vector<const unsigned char*> rows;
    /// One row smoothed down the columns, with repeated border pels.
    std::vector<std::int16_t> values;
    std::vector<double> sums;
};

/// `qfGaussSample` into `reduced`. A destination of the right size is filled in place, any other is replaced by a new
/// image. It must not share pels with `image`. @throws qvPel::UnboundWindow
void qf_gaussSample(const qvPelBuffer_const<unsigned char>& image, const qvGaussSampleParams& params,
                    qv_gaussScratch& scratch, qvPelBuffer<unsigned char>& reduced);

#endif
