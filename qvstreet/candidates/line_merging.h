/// @file
/// Joining pieces of one street edge into one line.
#ifndef QVSTREET_CANDIDATES_LINE_MERGING_H
#define QVSTREET_CANDIDATES_LINE_MERGING_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"

/// Merges the `count` lines from `first` on, in order, into `merged`.
/// @param band  limits across (first) and along (second) the line, client units
void mergeLineRun(std::vector<qv_ridgeLine>& merged, const std::vector<qv_ridgeLine>& lines, long first, long count,
                  const qvPair<double>& band);

/// Joins `line` with the nearest line of `merged` that it continues within the band, or appends it.
void mergeOrAppendLine(std::vector<qv_ridgeLine>& merged, const qv_ridgeLine& line, const qvPair<double>& band);

#endif
