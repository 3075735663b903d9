/// @file
/// The deviation of a window that slides over an image.
#ifndef QVSTREET_BLANKREGION_SLIDING_DEVIATION_H
#define QVSTREET_BLANKREGION_SLIDING_DEVIATION_H

#include <cstdint>

#include "qvstreet/platform/pel_buffer.h"

/// The stored deviation of the `L` by `S` pels at each position, counted from the upper left pel of the image's window.
/// `deviations` has one pel per position; L is at least 1, S at least 0, and the windows lie inside the image.
void qf_slidingDeviation(const qvPelBuffer_const<unsigned char>& image, long L, long S, std::int32_t scale,
                         double rowWeight, const qvPelBuffer<unsigned char>& deviations);

#endif
