/// @file
/// The two images that the blank region search derives from the strip, through one sliding analysis window.
///
///     L, S                        width and height of the analysis window, in pels; L at least 1, S at least 0
///     W, H                        width and height of the image's window, in pels
///     nx = W - L + 1              positions of the analysis window across
///     ny = H - S + 1              positions of the analysis window down
///
/// Where a pel lies is counted from the upper left pel of the image's window, whatever its offset. Sums have 32 bits and
/// wrap around: large windows on strong contrast give the wrapped value, which the search's thresholds act on.
#ifndef QVSTREET_BLANKREGION_REGIONAL_IMAGES_H
#define QVSTREET_BLANKREGION_REGIONAL_IMAGES_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/rect.h"

/// The same 32 bits, read as a signed number.
inline std::int32_t qf_signed32(std::uint32_t bits) {
    std::int32_t number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

/// A deviation as it is stored: times `scale`, cut to an integer, at most 255; 255 where it is NaN or infinite.
unsigned char qf_deviationPel(double deviation, std::int32_t scale);

/// The most common grey level of a histogram of 256 counts, smoothed with the weights 1, 2, 1 in 32 bits: 1 to 254, the
/// lowest among equals. 255 where all counts are 0.
unsigned char smoothedHistogramMode(const std::vector<unsigned long>& histogram);

/// How far each pel lies from the most common grey level around it: W by H, with the image's offset and the identity as
/// client transform. `result` changes only on success.
/// @throws qvPel::BadSize for an analysis window larger than the image or of a size that no window has;
///         qvPel::UnboundWindow
void computeForegroundImage(const qvPelBuffer_const<unsigned char>& image, long L, long S,
                            qvPelBuffer<unsigned char>& result);

/// The deviation of each position of the analysis window, times `scale`, cut to an integer and to at most 255; 255 where
/// it is NaN or infinite. nx by ny, with offset (0, 0). `result` changes only on success.
/// @param rowWeight  0.0 to 1.0, weight of the deviation along the rows; that along the columns gets the rest
/// @throws qvPel::BadSize, qvPel::UnboundWindow as above; qvInvariantFailure for a weight outside its range
void computeRegionalDeviationImage(const qvPelBuffer_const<unsigned char>& image, long L, long S,
                                   qvPelBuffer<unsigned char>& result, std::int32_t scale, double rowWeight);

/// The deviation of the pels of one rectangle, and the three vectors it is combined from.
/// @param rect              counted from the upper left pel of the image's window
/// @param columnDeviations  `rect.width()` elements; receives the standard deviation of each column
/// @param rowSums           `rect.height()` zeros; receives the sum of each row
/// @param rowSquareSums     `rect.height()` zeros; receives the sum of the squares of each row
/// @throws qvInvariantFailure for a rectangle that is not inside the image's window, or vectors of another size
double windowDeviation(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& rect,
                       std::vector<double>& columnDeviations, std::vector<std::uint32_t>& rowSums,
                       std::vector<std::uint32_t>& rowSquareSums, double rowWeight, double columnWeight);

/// Weighted sum of the root mean square of the rows' standard deviations and of the root mean square of the columns'.
/// NaN where a column deviation is, or where there are no rows.
/// @throws qvInvariantFailure for row vectors of different size
double combineDeviation(const std::vector<double>& columnDeviations, const std::vector<std::uint32_t>& rowSums,
                        const std::vector<std::uint32_t>& rowSquareSums, double rowWeight, double columnWeight);

#endif
