/// @file
/// Tolerances, context and record of a candidate run, written down instead of worked out from an image.
#ifndef QVSTREET_TESTS_CANDIDATES_LITERAL_CONTEXT_H
#define QVSTREET_TESTS_CANDIDATES_LITERAL_CONTEXT_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/mode_constants.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tests/candidates/literal_lines.h"
#include "tests/projection/literal_profile.h"

namespace qvtest {

/// Streets 18 wide in x (9 to 27) and 30 wide in y (15 to 45); lines 10 apart or 10 degrees askew still belong together.
inline qv_candidateTolerances literalTolerances() {
    qv_candidateTolerances tolerances;
    tolerances.lineGapTolerance = 10.0;
    tolerances.angleTolerance = 10.0;
    tolerances.nominalWidth = qvPair<double>(18.0, 30.0);
    tolerances.widthLower = qvPair<double>(9.0, 15.0);
    tolerances.widthUpper = qvPair<double>(27.0, 45.0);
    return tolerances;
}

/// The record of a bound image 420 wide and 300 high, client frame = image frame, with a dark street along x between
/// y = 150 and y = 180 and one along y between x = 200 and x = 218, and without lines.
inline qv_streetFinderImpl literalRecord() {
    qv_streetFinderImpl impl;
    setModeConstants(impl, qvStreetFinderDefs::eEdgePairWafer, qvStreetFinderDefs::eAnyPolarity);
    impl.imageBound = true;
    impl.flags = qvSizesFromParams;
    impl.imageSize = qvPair<long>(420, 300);
    impl.imageDeviation = 40.0;
    impl.projectionAlong0 = literalProfile(streetProfile(300, 150.0, 151, 180, 60.0), binsAlongY(), 420.0);
    impl.projectionAlong1 = literalProfile(streetProfile(420, 150.0, 201, 218, 60.0), binsAlongX(), 300.0);
    impl.lines.resize(2);
    return impl;
}

/// What a run on that record is told; at most 20 results.
inline qv_candidateContext literalContext(const qv_streetFinderImpl& impl) {
    qv_candidateContext context;
    context.maxResults = 20;
    context.runMode = qvStreetFinderDefs::eEdgePairWafer;
    context.tolerances = literalTolerances();
    context.nominalWidth = context.tolerances.nominalWidth;
    context.imageSize = impl.imageSize;
    context.scoreWeights = impl.scoreWeights;
    context.stageFlags = eWidthsKnown | eKeepBest;
    return context;
}

/// The eight edges around the crossing of those two streets, broken off shortly before it. Keys: upper left 0, upper
/// right 1, lower left 2, lower right 3 along x; left upper 4, right upper 5, left lower 6, right lower 7 along y.
inline std::vector<LiteralLine> brokenCross() {
    return {{20.0, 150.0, 195.0, 150.0},  {225.0, 150.0, 400.0, 150.0}, {22.0, 180.0, 196.0, 180.0},
            {224.0, 180.0, 398.0, 180.0}, {200.0, 10.0, 200.0, 145.0},  {218.0, 12.0, 218.0, 144.0},
            {200.0, 186.0, 200.0, 290.0}, {218.0, 185.0, 218.0, 288.0}};
}

/// The same streets with edges that run through: 0 and 1 along x, 2 and 3 along y.
inline std::vector<LiteralLine> unbrokenCross() {
    return {{20.0, 150.0, 400.0, 150.0},
            {22.0, 180.0, 398.0, 180.0},
            {200.0, 10.0, 200.0, 290.0},
            {218.0, 12.0, 218.0, 288.0}};
}

}  // namespace qvtest

#endif
