/// @file
/// Four-line crosses: streets whose edges run through the crossing unbroken.
#ifndef QVSTREET_CANDIDATES_FOUR_LINE_CROSSES_H
#define QVSTREET_CANDIDATES_FOUR_LINE_CROSSES_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"

/// Segments shorter than this, pels, stand for an arm on which no line was found.
constexpr double qvStubLengthPels = 0.001;

/// Replaces `out` by the best crosses of a vertical pair with a horizontal pair, at most 10 * maxResults, with eight
/// segments each. Their `score` means nothing yet, and close ones are not separated.
void generatePairCrosses(const qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& out,
                         const std::vector<qv_ridgeLine>& flatLines, const qv_candidateContext& context,
                         const qvXform<2>& clientFromImage);

/// Fits the canonical cross to four long lines, each serving both its arms, and cuts the segments at the corners.
/// @param stubUnit  client units; an arm on which a line has nothing to offer keeps a stub of a tenth of it
void crossFromCrossPairs(qvStreetFinderStreetCrossResult& result, const qv_candPairOfCrossPair& cross,
                         const std::vector<qv_ridgeLine>& flatLines, double stubUnit);

/// Cuts a segment so that it keeps only what lies outside `anchor`, seen from `toward`; a segment wholly inside becomes
/// a stub that points outwards.
void trimSegment(qvLineSeg& segment, const qvVector<2>& toward, const qvVector<2>& anchor, double stubUnit);

/// Cuts all eight segments of a result at its corners.
void trimAllSegments(qvStreetFinderStreetCrossResult& result, double stubUnit);

/// The same, and then fits the geometry anew.
void retrimSegments(qvStreetFinderStreetCrossResult& result, double stubUnit);

#endif
