/// @file
/// Crossings of single lines: every line of direction 0 with every line of direction 1, scored, the best separated ones
/// kept.
#ifndef QVSTREET_STREETFINDER_LINE_CROSSINGS_H
#define QVSTREET_STREETFINDER_LINE_CROSSINGS_H

#include <vector>

#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"

/// Crosses the lines that pass the polarity test, direction 0 in the outer loop, and scores each crossing. Replaces
/// `results`.
void crossStreetLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                      std::vector<qvStreetFinderStreetCrossResult>& results);

/// Fills `result` from one line of each direction and their grey values (see `classifyStreetLines`).
void scoreLineCrossing(qvStreetFinderStreetCrossResult& result, const qvLineFinderResults& line0, double grey0,
                       const qvLineFinderResults& line1, double grey1, const qv_streetFinderImpl& impl);

/// Sorts by score, greatest first, and keeps at most `maxResults` whose crossings are at least 5 client units apart.
void selectTopCrossings(std::vector<qvStreetFinderStreetCrossResult>& results, long maxResults);

/// The place where the offset of a sub-image would enter; with the offset (0, 0) that every record has, all values
/// stay.
void mapResultsToClient(std::vector<qvStreetFinderStreetCrossResult>& results, const qv_streetFinderImpl& impl);

#endif
