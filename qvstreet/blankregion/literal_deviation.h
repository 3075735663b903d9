/// @file
/// The deviations of a row of window positions in their literal order of operations, and what the faster ways share.
#ifndef QVSTREET_BLANKREGION_LITERAL_DEVIATION_H
#define QVSTREET_BLANKREGION_LITERAL_DEVIATION_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

/// The size of everything, and the asked weights.
struct qv_DeviationTask {
    qvPelBuffer_const<unsigned char> image;
    long L;
    long S;
    std::int32_t scale;
    double rowWeight;
    double columnWeight;
    long positions;  ///< across
};

/// Factors that turn the root of the sum of a window's row numerators, and that of its column radicands, into scaled
/// deviations.
struct qv_DeviationFactors {
    explicit qv_DeviationFactors(const qv_DeviationTask& task);
    double row;
    double column;
};

/// Row `y` of positions: the first window as a whole, then four additions per window row and step.
void qf_slideLiterally(const qv_DeviationTask& task, long y, unsigned char* deviations);

/// One position, from the deviations of the image's columns in the window, column c at c modulo L.
unsigned char qf_literalPel(const qv_DeviationTask& task, const std::vector<double>& columnDeviations, long x, long y);

/// Stores the pel of a scaled deviation, which is 0 exactly where both sums are. Returns whether it is in doubt: whether
/// the literal order of operations could give another one.
bool qf_storePel(double scaled, unsigned char& pel);

/// Whether so many positions of a row are in doubt that the whole row costs less by the literal form than they do.
bool qf_isMostlyDoubtful(std::size_t doubtful, long positions);

#endif
