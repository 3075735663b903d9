/// @file
/// Infinite lines and segments of the plane.
///
/// There are three kinds of line and they differ in the direction in which they run:
///
///     made from                       runs
///     qvFLine(angle, point)           as the angle says
///     qvFLine(p, q), a fitted line    folded: the angle lies in [-135, 45) degrees, whichever of p and q comes first
///     qvXform<2> * qvFLine            on as the line ran before the mapping, also where the transform mirrors
///     qvLine, qvLineSeg::line()       from p1 to p2
///
/// Positions and distances are in the unit of the frame that the line lives in, which the name of the variable says.
#ifndef QVSTREET_PLATFORM_LINE_H
#define QVSTREET_PLATFORM_LINE_H

#include <vector>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/vector.h"
#include "qvstreet/platform/xform.h"

class qvLine;
class qvLSLineFitter;

/// A point of the plane, for the operations between two points.
class QV_EXPORT qvPoint {
 public:
    /// (0, 0)
    qvPoint() = default;
    /// Converts silently, and back again: a point is a position with operations of its own.
    qvPoint(const qvVector<2>& position) : position_(position) {}
    qvPoint(double x, double y) : position_(x, y) {}

    /// The position, whole or by coordinate.
    double x() const { return position_.x(); }
    double y() const { return position_.y(); }
    const qvVector<2>& vect() const { return position_; }
    operator qvVector<2>() const { return position_; }

    /// Euclidean distance to another point.
    double distToPoint(const qvPoint& other) const { return position_.distance(other.position_); }
    /// The line of the points that are as far from this point as from `other`. Its position is their midpoint, its
    /// direction that of (other - this) turned by +90 degrees; (0, 1) for two equal points.
    qvLine bisect(const qvPoint& other) const;

 private:
    qvVector<2> position_;
};

/// An infinite line in angle and distance form: direction (cosAngle, sinAngle), foot point of the origin
/// distance * (-sinAngle, cosAngle).
class QV_EXPORT qvFLine {
 public:
    /// The x axis, running towards growing x.
    qvFLine() = default;
    /// Through `point` in the direction `angle`, which is kept as it is and not folded.
    qvFLine(qvRadian angle, const qvVector<2>& point);
    /// Through two points in either order. The angle is folded into [-135, 45) degrees, so that near-horizontal lines
    /// run towards growing x and near-vertical ones towards shrinking y, whichever way they lean; of the two diagonals,
    /// one runs at -45 degrees and the other at -135. Two equal points give the direction (1, 0).
    qvFLine(const qvVector<2>& p, const qvVector<2>& q);

    /// `distanceFrom` of the origin; its magnitude is the distance between the line and the origin.
    double distance() const { return distance_; }
    /// The direction in which the line runs: as given for a line from an angle, in [-135, 45) degrees for one from two
    /// points or a fit, in [-180, 180] degrees for a mapped one.
    qvRadian angle() const { return angle_; }
    /// Cosine and sine of that angle.
    double cosAngle() const { return direction_.x(); }
    double sinAngle() const { return direction_.y(); }
    /// The unit vector in which the line runs.
    const qvVector<2>& dir() const { return direction_; }

    /// Signed distance of a point: sinAngle * x - cosAngle * y + distance. Positive to the left of the running
    /// direction as seen in an image with y down: above a line that runs towards growing x, right of one towards
    /// growing y.
    double distanceFrom(const qvVector<2>& point) const {
        return direction_.y() * point.x() - direction_.x() * point.y() + distance_;
    }
    /// Position of a point along the line's direction: cosAngle * x + sinAngle * y.
    double distanceAlong(const qvVector<2>& point) const {
        return direction_.x() * point.x() + direction_.y() * point.y();
    }
    /// The point of the line at a position along it.
    qvVector<2> pointAt(double along) const {
        return qvVector<2>(-distance_ * direction_.y() + along * direction_.x(),
                           distance_ * direction_.x() + along * direction_.y());
    }
    /// The point of the line nearest to `point`.
    qvVector<2> closestPoint(const qvVector<2>& point) const { return pointAt(distanceAlong(point)); }
    /// The crossing with another line: one point, or none when the cross product of the two unit directions is below
    /// 1e-12 in magnitude or NaN.
    std::vector<qvVector<2>> intersection(const qvFLine& other) const;
    /// The same without a list: stores the crossing and returns true, or returns false for parallel lines.
    bool intersect(const qvFLine& other, qvVector<2>& point) const;

    /// The mapped line; it keeps its running direction.
    friend QV_EXPORT qvFLine operator*(const qvXform<2>& xform, const qvFLine& line);

 private:
    friend class qvLSLineFitter;
    qvFLine(qvRadian angle, const qvVector<2>& unitDirection, const qvVector<2>& point);
    /// Through `point`, along `direction` or against it, folded; the direction may have any length.
    static qvFLine folded(const qvVector<2>& direction, const qvVector<2>& point);

    qvRadian angle_;
    qvVector<2> direction_{1.0, 0.0};
    double distance_ = 0.0;
};

/// The line in the frame that `xform` maps to.
QV_EXPORT qvFLine operator*(const qvXform<2>& xform, const qvFLine& line);

/// An infinite line with a running direction and a position on it; neither is folded.
class QV_EXPORT qvLine {
 public:
    /// The x axis.
    qvLine() = default;
    /// Through `point` in the direction `angle`.
    qvLine(qvRadian angle, const qvVector<2>& point) : direction_(1.0, angle), position_(point) {}
    /// Through `from`, running towards `to`; two equal points give the direction (1, 0).
    qvLine(const qvVector<2>& from, const qvVector<2>& to) : direction_((to - from).unit()), position_(from) {}

    /// Unit vector in which the line runs.
    const qvVector<2>& dir() const { return direction_; }
    /// A point on the line: the one it was made from, or the first of two.
    const qvVector<2>& pos() const { return position_; }
    /// The angle of `dir()`, in [-pi, pi].
    qvRadian angle() const { return direction_.angle(); }

    /// The mapped line, running in the mapped direction.
    qvLine map(const qvXform<2>& xform) const;
    /// The crossing with another line. For parallel lines (cross product of the directions below 1e-12 in magnitude, or
    /// NaN) the point midway between the two positions.
    qvVector<2> intersect(const qvLine& other) const;
    /// The point of the line nearest to `point`.
    qvVector<2> proj(const qvVector<2>& point) const {
        return position_ + direction_ * (direction_ * (point - position_));
    }
    /// Signed distance of a point, with the sign of `qvFLine::distanceFrom`: positive to the left of the running
    /// direction as seen in an image with y down. A line that runs the other way gives the opposite sign.
    double distToPoint(const qvVector<2>& point) const {
        return direction_.y() * (point.x() - position_.x()) - direction_.x() * (point.y() - position_.y());
    }

 private:
    friend class qvPoint;

    qvVector<2> direction_{1.0, 0.0};
    qvVector<2> position_;
};

/// The segment between two end points, which are kept in their order.
class QV_EXPORT qvLineSeg {
 public:
    /// Both ends at (0, 0).
    qvLineSeg() = default;
    /// From `p1` to `p2`; the two may be equal.
    qvLineSeg(const qvVector<2>& p1, const qvVector<2>& p2) : p1_(p1), p2_(p2) {}

    /// The end points.
    const qvVector<2>& p1() const { return p1_; }
    const qvVector<2>& p2() const { return p2_; }
    void p1(const qvVector<2>& point) { p1_ = point; }
    void p2(const qvVector<2>& point) { p2_ = point; }

    /// The line through the segment, from `p1` to `p2`; two equal ends give the direction (1, 0).
    qvLine line() const { return qvLine(p1_, p2_); }
    /// Distance between the ends.
    double len() const { return p1_.distance(p2_); }

    friend bool operator==(const qvLineSeg& a, const qvLineSeg& b) { return a.p1_ == b.p1_ && a.p2_ == b.p2_; }
    friend bool operator!=(const qvLineSeg& a, const qvLineSeg& b) { return !(a == b); }

 private:
    qvVector<2> p1_;
    qvVector<2> p2_;
};

/// Fits a line to points so that the sum of the squared perpendicular distances is least. The fitted line is folded
/// like one through two points. Points that prefer no direction, such as the corners of a square, give the direction
/// (1, 0).
class QV_EXPORT qvLSLineFitter {
 public:
    /// Fewer than two distinct points.
    using UnstableErr = qvLSLineFitterErr::UnstableErr;

    /// Without points.
    qvLSLineFitter() = default;
    /// With these points.
    explicit qvLSLineFitter(const std::vector<qvVector<2>>& points);

    /// Adds a point.
    void update(const qvVector<2>& point);
    /// The fitted line. @throws UnstableErr for fewer than two distinct points.
    qvFLine fit() const;
    /// Stores the fitted line and its error where the pointers are not null; false, with nothing stored, for fewer than
    /// two distinct points.
    bool fitAndError(qvFLine* line, double* error) const;
    /// Root mean square distance of the points from a line; 0 without points.
    double error(const qvFLine& line) const;

 private:
    std::vector<qvVector<2>> points_;
};

#endif
