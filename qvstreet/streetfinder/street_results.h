/// @file
/// What the street finder returns: crossings and single streets, as plain values.
///
/// Positions are in the client frame of the image, in its units; angles are in radians of that frame. A result owns all
/// it holds and stays valid after its finder is gone. Only the library fills results in.
#ifndef QVSTREET_STREETFINDER_STREET_RESULTS_H
#define QVSTREET_STREETFINDER_STREET_RESULTS_H

#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/line.h"
#include "qvstreet/platform/vector.h"
#include "qvstreet/streetfinder/street_finder_defs.h"

struct qv_streetResultAccess;

/// One crossing of a street of direction 0, nearer the horizontal, with one of direction 1, nearer the vertical.
class QV_EXPORT qvStreetFinderStreetCrossResult {
 public:
    /// Everything 0, no segments, built from edges.
    qvStreetFinderStreetCrossResult();

    /// The point where the centre lines of the two streets cross, client frame.
    qvVector<2> crossing() const;

    /// Direction of the more nearly vertical street, client frame. That of the line or the edges on the square of
    /// samples, some tenths of a degree off; `qfStreetMeasureCrosses` measures it, and the crossing, on the whole image.
    qvRadian verticalAngle() const;

    /// Direction of the more nearly horizontal street, client frame; as exact as `verticalAngle()`.
    qvRadian horizontalAngle() const;

    /// Quality; higher is better. From the ridge modes it lies in (0, 1]. Scores of different modes do not compare.
    double score() const;

    /// The corners where the edges of the two streets cross, client frame: upper left, upper right, lower left and
    /// lower right. All four are `crossing()` when `statusFlags()` is `eStreetFromLine`.
    qvVector<2> ulCorner() const;
    qvVector<2> urCorner() const;
    qvVector<2> llCorner() const;
    qvVector<2> lrCorner() const;

    /// The line segments that the result was made from, client frame. With `eStreetFromEdges` up to eight; with
    /// `eStreetFromLine` two, element 0 of the more nearly vertical street and element 1 of the other. The reference is
    /// good for as long as the result.
    const std::vector<qvLineSeg>& lineSegs() const;

    /// How the result was built; `eStreetFromEdges` by default.
    qvStreetFinderDefs::resultType statusFlags() const;

 private:
    friend struct qv_streetResultAccess;

    qvVector<2> crossing_;
    qvRadian verticalAngle_;
    qvRadian horizontalAngle_;
    double score_ = 0.0;
    qvVector<2> ulCorner_;
    qvVector<2> urCorner_;
    qvVector<2> llCorner_;
    qvVector<2> lrCorner_;
    std::vector<qvLineSeg> lineSegs_;
    qvStreetFinderDefs::resultType statusFlags_ = qvStreetFinderDefs::eStreetFromEdges;
};

/// One street.
class QV_EXPORT qvStreetFinderSingleStreetResult {
 public:
    /// Everything 0, no segments, built from edges.
    qvStreetFinderSingleStreetResult();

    /// Quality; higher is better.
    double score() const;

    /// The segments that the result was made from, client frame: the two edges of the street with `eStreetFromEdges`,
    /// its one line with `eStreetFromLine`. The reference is good for as long as the result.
    const std::vector<qvLineSeg>& lineSegs() const;

    /// Direction of the street, client frame: that of its line or its edges on the square of samples, some tenths of a
    /// degree off; `qfStreetMeasureStreets` measures it on the whole image.
    qvRadian angle() const;

    /// How the result was built; `eStreetFromEdges` by default.
    qvStreetFinderDefs::resultType statusFlags() const;

 private:
    friend struct qv_streetResultAccess;

    double score_ = 0.0;
    std::vector<qvLineSeg> lineSegs_;
    qvRadian angle_;
    qvStreetFinderDefs::resultType statusFlags_ = qvStreetFinderDefs::eStreetFromEdges;
};

#endif
