/// @file
/// The ends of a line as seen in the image. On a tie the second end is taken.
#ifndef QVSTREET_CANDIDATES_LINE_ENDS_H
#define QVSTREET_CANDIDATES_LINE_ENDS_H

#include "qvstreet/candidates/candidate_records.h"

/// Chooses one end of a line.
using qv_endChoice = qvVector<2> (*)(const qv_ridgeLine& line);

inline qvVector<2> qf_leftmost(const qv_ridgeLine& line) { return line.p1.x() < line.p2.x() ? line.p1 : line.p2; }
inline qvVector<2> qf_rightmost(const qv_ridgeLine& line) { return line.p1.x() > line.p2.x() ? line.p1 : line.p2; }
inline qvVector<2> qf_topmost(const qv_ridgeLine& line) { return line.p1.y() < line.p2.y() ? line.p1 : line.p2; }
inline qvVector<2> qf_bottommost(const qv_ridgeLine& line) { return line.p1.y() > line.p2.y() ? line.p1 : line.p2; }

#endif
