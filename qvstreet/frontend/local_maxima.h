/// @file
/// Local maxima of an image, strongest first.
#ifndef QVSTREET_FRONTEND_LOCAL_MAXIMA_H
#define QVSTREET_FRONTEND_LOCAL_MAXIMA_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/pel_buffer.h"

/// A pel that none of its neighbours exceeds.
template <typename T>
struct qvPeak {
    /// Column and row in image coordinates, the image's offset included.
    qvPair<long> position;
    T value = T();
};

/// By value; NaN ranks last.
inline bool operator<(const qvPeak<double>& a, const qvPeak<double>& b) { return qf_ascending(a.value, b.value); }

/// The pels of at least `threshold` that are greater than the neighbours before them in the order of the scan and not
/// less than those behind them, so that of a plateau its first pel answers. A pel on the border is held against the
/// neighbours that it has. A pel that is no number, or has such a neighbour, is no maximum.
///
/// An image less than 3 pels wide or high is searched with a rim of zeros around it; with a threshold of 0 or less a
/// pel of the rim, one beyond the image, may answer too.
///
/// @returns the strongest first, equal ones in the reverse order of the scan; empty for an image without pels
std::vector<qvPeak<double>> findLocalMaxima(const qvPelBuffer_const<double>& image, double threshold);

#endif
