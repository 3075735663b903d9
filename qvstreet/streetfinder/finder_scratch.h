/// @file
/// The working memory of one finder: tables and lists that grow to what an image needs and are there for the next one.
#ifndef QVSTREET_STREETFINDER_FINDER_SCRATCH_H
#define QVSTREET_STREETFINDER_FINDER_SCRATCH_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/line_finder.h"
#include "qvstreet/frontend/line_results.h"
#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/platform/angle.h"
#include "qvstreet/streetfinder/street_results.h"

/// Of the two runs of the line finder and of the length filter.
struct qv_lineSetScratch {
    using Lists = std::vector<std::vector<qvLineFinderResults>>;
    std::vector<qvDegree> direction;
    qv_LineFinderScratch finder;
    /// Of one run, of both runs, and after the length filter.
    Lists run;
    Lists extracted;
    Lists found;
    Lists kept;
};

/// Of the search for crossings in the edge pair mode.
struct qv_candidateSearchScratch {
    std::vector<qv_ridgeLine> flatLines;
    std::vector<long> lineCounts;
    qv_candidateContext context;
    qv_candidateStore store;
    std::vector<qvStreetFinderStreetCrossResult> quadCrosses;
    std::vector<qvStreetFinderStreetCrossResult> pairCrosses;
};

/// Of the crossings of single lines.
struct qv_lineCrossingScratch {
    /// Per direction, the lines of the polarity asked for.
    std::vector<std::vector<qvDIPair>> lists;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvIDPair> order;
};

/// Nothing in here is read before it was written by the same call, tables apart, which say what they are for. A copy is
/// an empty one.
struct qv_finderScratch {
    qv_spectrumScratch spectrum;
    qv_orientationScratch orientation;
    qv_lineSetScratch lineSets;
    qv_candidateSearchScratch candidates;
    qv_lineCrossingScratch lineCrossings;

    qv_finderScratch() = default;
    qv_finderScratch(const qv_finderScratch&) : qv_finderScratch() {}
    qv_finderScratch& operator=(const qv_finderScratch&) { return *this; }
    ~qv_finderScratch() = default;
};

#endif
