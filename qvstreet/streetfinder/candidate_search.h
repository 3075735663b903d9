/// @file
/// The crossing search of the edge pair mode: from the stored lines to crosses, through the candidate stages.
#ifndef QVSTREET_STREETFINDER_CANDIDATE_SEARCH_H
#define QVSTREET_STREETFINDER_CANDIDATE_SEARCH_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_finder_params.h"

/// Appends the crosses of the record's lines to `results`, best first. What the caller left in `results` counts towards
/// `maxResults`, and new crosses keep their distance from it.
/// @param diagObject  gets the counts of the stages and the terms of the final scores; null for none
void findEdgePairCrosses(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                         std::vector<qvStreetFinderStreetCrossResult>& results, qvDiagObject* diagObject = nullptr);

/// The working form of one line. @param lineKey  its place in the flat list
qv_ridgeLine makeRidgeLine(const qvLineFinderResults& line, long lineKey);

/// Builds tolerances and context from the arguments and runs the candidate stages.
/// @param nominalWidth,rangeX,rangeY  client units
void runCandidateSearch(const qv_streetFinderImpl& impl, std::vector<qv_ridgeLine>& flatLines,
                        std::vector<long>& lineCounts, long runMode, long polarity,
                        std::vector<qvStreetFinderStreetCrossResult>& results, const qvPair<double>& nominalWidth,
                        const qvPair<double>& rangeX, const qvPair<double>& rangeY, long maxResults,
                        qvDiagObject* diagObject = nullptr);

/// Runs the stages as the context's flags say: as they stand, after merging colinear lines (which rewrites `flatLines`
/// and `lineCounts`), or, without known widths, over a grid of one cell of widths.
void runCandidatesOnce(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                       std::vector<qv_ridgeLine>& flatLines, std::vector<long>& lineCounts,
                       const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace,
                       qvDiagObject* diagObject = nullptr);

#endif
