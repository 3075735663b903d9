/// @file
/// What the crossing of single lines leaves in a diagnostics recorder.
#ifndef QVSTREET_STREETFINDER_CROSSING_RECORDS_H
#define QVSTREET_STREETFINDER_CROSSING_RECORDS_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// "Crossings": every crossing, best first, with the terms of its score and what becomes of it.
/// @param lists    the lines that were crossed, by direction
/// @param scored   their crossings, direction 0 in the outer loop
void recordLineCrossings(const qv_streetFinderImpl& impl, const std::vector<std::vector<qvDIPair>>& lists,
                         const std::vector<qvStreetFinderStreetCrossResult>& scored, long maxResults,
                         qvDiagObject& diagObject);

#endif
