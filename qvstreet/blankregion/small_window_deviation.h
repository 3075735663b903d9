/// @file
/// The deviation of a sliding window so small that none of its sums wraps.
#ifndef QVSTREET_BLANKREGION_SMALL_WINDOW_DEVIATION_H
#define QVSTREET_BLANKREGION_SMALL_WINDOW_DEVIATION_H

#include "qvstreet/blankregion/literal_deviation.h"
#include "qvstreet/platform/pel_buffer.h"

/// Whether the window has 1 to 128 columns and rows.
bool qf_isSmallWindow(const qv_DeviationTask& task);

/// The stored deviation at each position of such a window; `deviations` has one pel per position.
void qf_slideSmallWindow(const qv_DeviationTask& task, const qvPelBuffer<unsigned char>& deviations);

#endif
