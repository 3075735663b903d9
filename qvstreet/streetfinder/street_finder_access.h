/// @file
/// Development access to what a finder keeps private, for our own tools, tests and benchmarks. Not installed.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_ACCESS_H
#define QVSTREET_STREETFINDER_STREET_FINDER_ACCESS_H

#include <memory>
#include <vector>

#include "qvstreet/streetfinder/stage_watch.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

struct qv_streetFinderAccess {
    static qv_streetFinderImpl& record(qvStreetFinder& finder) { return *finder.impl_; }
    static const qv_streetFinderImpl& record(const qvStreetFinder& finder) { return *finder.impl_; }
    static std::unique_ptr<qvStreetFinder> copy(const qvStreetFinder& finder) {
        return std::unique_ptr<qvStreetFinder>(new qvStreetFinder(finder));
    }
    static void assign(qvStreetFinder& to, const qvStreetFinder& from) { to = from; }
};

/// What the three calls of a finder do, on its record and its parameters, and tell to `watch` on the way.
/// @throws as `setImage`, `find` and `findSingleStreet`
void qf_setImage(qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                 const qvPelBuffer_const<unsigned char>& image, qv_stageWatch& watch);
void qf_find(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
             std::vector<qvStreetFinderStreetCrossResult>& results, qv_stageWatch& watch);
void qf_findSingleStreet(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                         std::vector<qvStreetFinderSingleStreetResult>& results, qv_stageWatch& watch);

/// The record of a finder, read only.
inline const qv_streetFinderImpl& qf_finderRecord(const qvStreetFinder& finder) {
    return qv_streetFinderAccess::record(finder);
}

#endif
