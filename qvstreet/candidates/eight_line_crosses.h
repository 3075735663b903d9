/// @file
/// Eight-line crosses: every vertical quad with every horizontal quad, checked and given a cost.
#ifndef QVSTREET_CANDIDATES_EIGHT_LINE_CROSSES_H
#define QVSTREET_CANDIDATES_EIGHT_LINE_CROSSES_H

#include <cstdint>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Which gaps at the corners count in a cost.
enum qe_gapMode : std::int32_t { eBothGaps = 0, eGapOfB = 1, eGapOfA = 2 };

/// The corner of two lines, and how far each line's nearer end stays away from the other line.
/// @returns false, with nothing changed, for parallel lines
bool cornerGap(const qv_ridgeLine& a, const qv_ridgeLine& b, double& gapOfA, double& gapOfB, qvVector<2>& corner,
               qv_streetTrace* trace);

/// Weighted departure of a street's width from the nominal one, as a fraction of it.
double widthCost(double width, double nominal, double weight);

/// The cost of a candidate with all eight lines: ten weighted terms of how far it falls short of a perfect cross of the
/// nominal widths. Seven of them are left in `candidate.components`.
double scoreStCand(const std::vector<qv_ridgeLine>& flatLines, qv_stCand& candidate,
                   const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights, long gapMode,
                   qv_streetTrace* trace);

/// Appends to `out` the candidates of all couples of quads that pass the cross check, with their cost.
void generateStCands(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& vquads,
                     const std::vector<qv_candQuad>& hquads, std::vector<qv_stCand>& out,
                     const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights,
                     qv_streetTrace* trace);

/// Replaces `out` by the cheapest crosses of the store's quads, at least 5 client units apart, at most 3 * maxResults.
/// Their `score` is the cost.
void genAndScore(const qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& out,
                 const std::vector<qv_ridgeLine>& flatLines, const qv_candidateContext& context, qv_streetTrace* trace);

/// Replaces `out` by crosses ranked by how near they lie to the middle of the image, at most `maxResults`. Reached only
/// in the reserved run mode.
void generateSpecialCrosses(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& vquads,
                            const std::vector<qv_candQuad>& hquads, std::vector<qvStreetFinderStreetCrossResult>& out,
                            long maxResults, double maxResidual, const qvPair<long>& imageSize, qv_streetTrace* trace);

#endif
