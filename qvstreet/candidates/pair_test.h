/// @file
/// Pair test: which two lines of one direction are the two edges of a street.
#ifndef QVSTREET_CANDIDATES_PAIR_TEST_H
#define QVSTREET_CANDIDATES_PAIR_TEST_H

#include <cstdint>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/projection/tiled_projection.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Values of `pairType`: what kind of street a pair bounds, and so which component of the width pairs limits it.
enum qe_pairType : std::int32_t {
    /// A pair of direction-0 lines; its width is measured in Y.
    eHorizontalPair = 0,
    /// A pair of direction-1 lines; its width is measured in X.
    eVerticalPair = 1
};

/// Whether `a` and `b`, in order of their signed distance, are parallel, face each other and lie a street's width
/// apart. Knows nothing of polarity.
bool qf_testPair(const qv_ridgeLine& a, const qv_ridgeLine& b, const qv_candidateTolerances& tolerances, long pairType,
                 qv_streetTrace* trace);

/// Mean distance (client units) of the two lines where they face each other: over those of the four ends that lie
/// strictly beside the other line. @returns -1.0 when no end does
double overlapSeparation(const qv_ridgeLine& a, const qv_ridgeLine& b);

/// Appends to `out` every two of the `count` lines from `first` on that pass the pair test and, with a `polarity` other
/// than 0, show it in `projection`.
/// @param polarityInset,polaritySideWidth,polarityMargin  handed to `pairPolarity`
/// @param scratch  of former calls; null for a new one
void generatePairs(const std::vector<qv_ridgeLine>& flatLines, long first, long count, std::vector<qv_candPair>& out,
                   const qv_candidateTolerances& tolerances, long pairType, const qvTiledProjectionResult& projection,
                   long polarity, double polarityInset, double polaritySideWidth, double polarityMargin,
                   qv_streetTrace* trace, qv_candidateScratch* scratch = nullptr);

/// Sets `out`, another list, to the at most `maxPairs` pairs with the smallest sum of their lines' quality; ties keep their order.
void keepBestPairs(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                   std::vector<qv_candPair>& out, long maxPairs, qv_candidateScratch* scratch = nullptr);

#endif
