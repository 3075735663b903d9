/// @file
/// The most common grey level of a window that slides over an image.
#ifndef QVSTREET_BLANKREGION_SLIDING_MODE_H
#define QVSTREET_BLANKREGION_SLIDING_MODE_H

#include "qvstreet/platform/pel_buffer.h"

/// `smoothedHistogramMode` of the `L` by `S` pels at each position (x, y), counted from the upper left pel of the image's
/// window, for x below `columns` and all y down to where the analysis window ends at the image's lower border. `modes`
/// has `columns` by H - S + 1 pels; L is at least 1, S at least 0, and the windows lie inside the image.
void qf_slidingMode(const qvPelBuffer_const<unsigned char>& image, long L, long S, long columns,
                    const qvPelBuffer<unsigned char>& modes);

#endif
