/// @file
/// A whole run of the street finder that records what each stage saw and what it made of it. For our own tools and
/// tests; not installed.
#ifndef QVSTREET_STREETFINDER_DIAGNOSED_RUN_H
#define QVSTREET_STREETFINDER_DIAGNOSED_RUN_H

#include <vector>

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/stage_watch.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_results.h"

/// Which searches follow the binding of the image.
struct qv_diagnosedSearches {
    /// `find`.
    bool crossings = true;
    /// `findSingleStreet`.
    bool singleStreets = true;
};

/// What a run gave.
struct qv_diagnosedResults {
    /// Of `find` and `findSingleStreet`; empty when they were not asked for.
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvStreetFinderSingleStreetResult> singleStreets;
    /// In the order of the run, of the searches asked for. Measured in a second run that records nothing.
    std::vector<qv_stageTime> times;
};

/// Binds `image` to `finder` and runs the searches, as `setImage`, `find` and `findSingleStreet` would, to the bit, and
/// appends the records of all stages to `diagObject`. The finder is afterwards as those calls leave it.
///
/// The pels of `image` are shared with the records; the caller keeps them unchanged.
/// @param results  replaced; when a stage throws, what the stages before it gave
/// @throws what those calls throw; the records of the stages before the failure stay
void qf_diagnosedRun(qvStreetFinder& finder, const qvPelBuffer_const<unsigned char>& image,
                     const qv_diagnosedSearches& searches, qvDiagObject& diagObject, qv_diagnosedResults& results);

#endif
