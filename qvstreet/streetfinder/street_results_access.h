/// @file
/// How the stages fill in results, which to everybody else are read-only.
#ifndef QVSTREET_STREETFINDER_STREET_RESULTS_ACCESS_H
#define QVSTREET_STREETFINDER_STREET_RESULTS_ACCESS_H

#include <utility>
#include <vector>

#include "qvstreet/streetfinder/street_results.h"

/// Writable references to the fields of a result, each named after its field: `qv_streetResultAccess::score(result) =
/// 0.5`; of a crossing that is constant, what the result's own functions of that name tell. A reference is good for as long as the result. Positions and angles are in the client frame.
struct qv_streetResultAccess {
    using Cross = qvStreetFinderStreetCrossResult;
    using Single = qvStreetFinderSingleStreetResult;

    static qvVector<2>& crossing(Cross& result) { return result.crossing_; }
    static const qvVector<2>& crossing(const Cross& result) { return result.crossing_; }
    static qvRadian& verticalAngle(Cross& result) { return result.verticalAngle_; }
    static qvRadian& horizontalAngle(Cross& result) { return result.horizontalAngle_; }
    static double& score(Cross& result) { return result.score_; }
    static qvVector<2>& ulCorner(Cross& result) { return result.ulCorner_; }
    static qvVector<2>& urCorner(Cross& result) { return result.urCorner_; }
    static qvVector<2>& llCorner(Cross& result) { return result.llCorner_; }
    static qvVector<2>& lrCorner(Cross& result) { return result.lrCorner_; }
    static std::vector<qvLineSeg>& lineSegs(Cross& result) { return result.lineSegs_; }
    static qvStreetFinderDefs::resultType& statusFlags(Cross& result) { return result.statusFlags_; }

    /// As new, but with the memory of the segments.
    static void clear(Cross& result) {
        std::vector<qvLineSeg> segments = std::move(result.lineSegs_);
        segments.clear();
        result = Cross();
        result.lineSegs_ = std::move(segments);
    }

    static double score(const Cross& result) { return result.score_; }
    static const qvVector<2>& ulCorner(const Cross& result) { return result.ulCorner_; }
    static const qvVector<2>& urCorner(const Cross& result) { return result.urCorner_; }
    static const qvVector<2>& llCorner(const Cross& result) { return result.llCorner_; }
    static const qvVector<2>& lrCorner(const Cross& result) { return result.lrCorner_; }
    static const std::vector<qvLineSeg>& lineSegs(const Cross& result) { return result.lineSegs_; }

    static void setCorners(Cross& result, const qvVector<2>& point) {
        result.ulCorner_ = result.urCorner_ = result.llCorner_ = result.lrCorner_ = point;
    }

    static double& score(Single& result) { return result.score_; }
    static std::vector<qvLineSeg>& lineSegs(Single& result) { return result.lineSegs_; }
    static qvRadian& angle(Single& result) { return result.angle_; }
    static qvStreetFinderDefs::resultType& statusFlags(Single& result) { return result.statusFlags_; }
};

#endif
