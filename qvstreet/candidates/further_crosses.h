/// @file
/// Two further ways to assemble a crossing, which no run mode calls: a quad of one direction with a pair of the other,
/// for a street that shows broken in one direction and whole in the other, and pairs of cross pairs.
#ifndef QVSTREET_CANDIDATES_FURTHER_CROSSES_H
#define QVSTREET_CANDIDATES_FURTHER_CROSSES_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/candidates/cross_pairs.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// Replaces `results` by the cheapest crosses of a quad of one direction and a pair of the other, at least 5 client
/// units apart, at most `maxResults`. Their `score` is the cost. A horizontal quad with a vertical pair stands on its
/// side: its segments 0 to 3 are the horizontal ones, and its two angles change places.
/// @throws qvMatrixErr::Singular when the lines of a candidate do not determine its fit
void generateQuadPairCrosses(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                             const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                             const qv_candidateContext& context, const qv_streetFinderImpl& impl,
                             qv_streetTrace* trace);

/// Whether both lines of a horizontal pair cross both edges of a vertical quad, each edge bridged over its gap from the
/// top of its upper piece to the bottom of its lower one. Touching counts as crossing.
bool quadCrossesPair(const std::vector<qv_ridgeLine>& flatLines, const qv_candQuad& quad, const qv_candPair& pair,
                     qv_streetTrace* trace);

/// Whether both lines of a vertical pair cross the gaps of both edges of a horizontal quad, each bridged from the left
/// end of its right piece to the right end of its left one. Touching counts as crossing.
bool pairCrossesQuad(const std::vector<qv_ridgeLine>& flatLines, const qv_candQuad& quad, const qv_candPair& pair,
                     qv_streetTrace* trace);

/// Appends every two cross pairs whose lines of each direction bound a street, and sorts `out` by cost, smallest first:
/// the costs of the two and how far each width departs from the nominal one. Ranges as in `generateCrossPairs`.
/// @param imageSize  width and height in pels
void generatePairsOfCrossPairs(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0,
                               long count0, std::vector<qv_candPairOfCrossPair>& out,
                               const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights,
                               const qvPair<long>& imageSize, qv_streetTrace* trace);

#endif
