/// @file
/// Line crossings: streets that show as single lines, every upright line with every flat one that it crosses.
#ifndef QVSTREET_CANDIDATES_CROSS_PAIRS_H
#define QVSTREET_CANDIDATES_CROSS_PAIRS_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Whether the ends of neither line lie on the same side of the other; touching counts as crossing.
bool segmentsCross(const qv_ridgeLine& a, const qv_ridgeLine& b);

/// Appends every line of the first range (direction 1) with every line of the second (direction 0) that it crosses, and
/// sorts `out` by cost, smallest first: short and skew lines cost more.
/// @param tolerances  has no effect
/// @param scoreWeights  ten; 6 weighs the missing length, 7 the departure from a right angle
/// @param imageSize  width and height in pels
void generateCrossPairs(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0, long count0,
                        std::vector<qv_candCrossPair>& out, const qv_candidateTolerances& tolerances,
                        const std::vector<double>& scoreWeights, const qvPair<long>& imageSize, qv_streetTrace* trace);

/// Replaces `results` by the cheapest crossings, at least 5 client units apart, at most `maxResults`. Crossings beyond
/// the right border (x from the image's width on) and below the lower one (y above its height) are left out, those at
/// negative coordinates are not.
void generateXcands(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                    const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                    const qv_candidateContext& context, qv_streetTrace* trace);

/// Fills a result from one line of each direction and their crossing: two segments, of `pair.line1` and then of
/// `pair.line2`, and all four corners at the crossing. Angles are those in which the lines run.
void fillLineCrossResult(qvStreetFinderStreetCrossResult& result, const qvVector<2>& crossing,
                         const qv_candCrossPair& pair, const std::vector<qv_ridgeLine>& flatLines);

#endif
