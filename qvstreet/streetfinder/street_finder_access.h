/// @file
/// Development access to what a finder keeps private, for our own tools, tests and benchmarks. Not installed.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_ACCESS_H
#define QVSTREET_STREETFINDER_STREET_FINDER_ACCESS_H

#include <memory>

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

/// The record of a finder, read only.
inline const qv_streetFinderImpl& qf_finderRecord(const qvStreetFinder& finder) {
    return qv_streetFinderAccess::record(finder);
}

#endif
