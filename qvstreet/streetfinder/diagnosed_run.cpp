// The development entry.
//
// The run that records is the finder's own: the same stages as in its public calls, each handed the recorder. Writing
// pictures and tables takes longer than the stages themselves, so a second run, of a copy, takes the times.
#include "qvstreet/streetfinder/diagnosed_run.h"

#include <memory>

#include "qvstreet/streetfinder/street_finder_access.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

void runAll(qvStreetFinder& finder, const Image& image, const qv_diagnosedSearches& searches, qv_stageWatch& watch,
            qv_diagnosedResults& results) {
    qv_streetFinderImpl& record = qv_streetFinderAccess::record(finder);
    qf_setImage(record, finder.runParams(), image, watch);
    if (searches.crossings) qf_find(record, finder.runParams(), results.crossings, watch);
    if (searches.singleStreets) qf_findSingleStreet(record, finder.runParams(), results.singleStreets, watch);
}

/// Another finder of the same parameters and settings that writes no trace.
std::unique_ptr<qvStreetFinder> silentCopy(const qvStreetFinder& finder) {
    std::unique_ptr<qvStreetFinder> copy = qv_streetFinderAccess::copy(finder);
    qv_streetFinderAccess::record(*copy).trace.reset();
    return copy;
}

}  // namespace

void qf_diagnosedRun(qvStreetFinder& finder, const Image& image, const qv_diagnosedSearches& searches,
                     qvDiagObject& diagObject, qv_diagnosedResults& results) {
    results = qv_diagnosedResults();
    qv_stageWatch recording(diagObject);
    runAll(finder, image, searches, recording, results);

    qv_diagnosedResults again;
    qv_stageWatch timing(results.times);
    runAll(*silentCopy(finder), image, searches, timing, again);
}
