/// @file
/// The order of the candidate stages, by run mode.
#ifndef QVSTREET_CANDIDATES_STAGE_ORDER_H
#define QVSTREET_CANDIDATES_STAGE_ORDER_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// Runs the stages of `context.runMode`. In the edge pair mode crosses are appended to `results`; the other modes
/// replace it.
/// @param diagObject  gets the counts of the stages and the terms of the final scores in the edge pair mode; null for
///                    none
void dispatchCandidates(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                        const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                        const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace,
                        qvDiagObject* diagObject = nullptr);

/// Fills the pair and quad lists of the store, cut to the best with `eKeepBest`.
void generatePairsAndQuads(qv_candidateStore& store, const std::vector<qv_ridgeLine>& flatLines,
                           const std::vector<long>& lineCounts, const qv_candidateContext& context,
                           const qv_streetFinderImpl& impl, qv_streetTrace* trace);

#endif
