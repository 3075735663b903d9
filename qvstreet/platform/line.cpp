#include "qvstreet/platform/line.h"

namespace {

// Directions whose cross product is below this are parallel: far below the 1e-6 of any two lines a caller can tell
// apart, far above the 1e-16 that rounding leaves of exactly parallel ones.
constexpr double kParallelLimit = 1e-12;

double crossProduct(const qvVector<2>& a, const qvVector<2>& b) { return a.x() * b.y() - a.y() * b.x(); }

/// The unit direction, reversed if its angle is outside [-135, 45) degrees. Inside lies what has x above y, and of the
/// two directions with x equal to y the one at -135 degrees; that comparison is exact where one of angles would round.
qvVector<2> foldedUnit(const qvVector<2>& unitDirection) {
    const double x = unitDirection.x();
    const double y = unitDirection.y();
    return x > y || (x == y && x < 0.0) ? unitDirection : -unitDirection;
}

/// Whether two unit directions with that cross product have no crossing worth the name; true for NaN.
bool isParallel(double cross) { return !(std::fabs(cross) >= kParallelLimit); }

}  // namespace

qvLine qvPoint::bisect(const qvPoint& other) const {
    const qvVector<2> across = (other.position_ - position_).unit();
    qvLine bisector;
    bisector.direction_ = qvVector<2>(0.0 - across.y(), across.x());
    bisector.position_ = (position_ + other.position_) * 0.5;
    return bisector;
}

qvFLine::qvFLine(qvRadian angle, const qvVector<2>& unitDirection, const qvVector<2>& point)
    : angle_(angle),
      direction_(unitDirection),
      distance_(unitDirection.x() * point.y() - unitDirection.y() * point.x()) {}

qvFLine::qvFLine(qvRadian angle, const qvVector<2>& point) : qvFLine(angle, qvVector<2>(1.0, angle), point) {}

qvFLine::qvFLine(const qvVector<2>& p, const qvVector<2>& q) : qvFLine(folded(q - p, p)) {}

qvFLine qvFLine::folded(const qvVector<2>& direction, const qvVector<2>& point) {
    const qvVector<2> unitDirection = foldedUnit(direction.unit());
    return qvFLine(unitDirection.angle(), unitDirection, point);
}

std::vector<qvVector<2>> qvFLine::intersection(const qvFLine& other) const {
    qvVector<2> point;
    if (!intersect(other, point)) return {};
    return {point};
}

bool qvFLine::intersect(const qvFLine& other, qvVector<2>& point) const {
    const double cross = crossProduct(direction_, other.direction_);
    if (isParallel(cross)) return false;
    // The point at `along` of this line has distanceFrom(other) = 0.
    const double along = (crossProduct(pointAt(0.0), other.direction_) + other.distance_) / -cross;
    point = pointAt(along);
    return true;
}

qvFLine operator*(const qvXform<2>& xform, const qvFLine& line) {
    const qvVector<2> direction = xform.mapVector(line.direction_).unit();
    return qvFLine(direction.angle(), direction, xform.mapPoint(line.pointAt(0.0)));
}

qvLine qvLine::map(const qvXform<2>& xform) const {
    qvLine mapped;
    mapped.direction_ = xform.mapVector(direction_).unit();
    mapped.position_ = xform.mapPoint(position_);
    return mapped;
}

qvVector<2> qvLine::intersect(const qvLine& other) const {
    const double cross = crossProduct(direction_, other.direction_);
    if (isParallel(cross)) return (position_ + other.position_) * 0.5;
    const double along = crossProduct(other.position_ - position_, other.direction_) / cross;
    return position_ + direction_ * along;
}

qvLSLineFitter::qvLSLineFitter(const std::vector<qvVector<2>>& points) : points_(points) {}

void qvLSLineFitter::update(const qvVector<2>& point) { points_.push_back(point); }

qvFLine qvLSLineFitter::fit() const {
    qvFLine line;
    if (!fitAndError(&line, nullptr)) throw UnstableErr(L"a line needs two distinct points");
    return line;
}

bool qvLSLineFitter::fitAndError(qvFLine* line, double* errorOut) const {
    if (points_.size() < 2) return false;
    // All moments are taken relative to the first point: they keep their digits when the points lie far from the
    // origin.
    const qvVector<2> first = points_.front();
    qvVector<2> sum;
    bool distinct = false;
    for (const qvVector<2>& point : points_) {
        sum += point - first;
        distinct = distinct || point != first;
    }
    if (!distinct) return false;
    const qvVector<2> mean = sum / static_cast<double>(points_.size());
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (const qvVector<2>& point : points_) {
        const qvVector<2> fromMean = point - first - mean;
        xx += fromMean.x() * fromMean.x();
        xy += fromMean.x() * fromMean.y();
        yy += fromMean.y() * fromMean.y();
    }
    // The line runs along the main axis of the moments. With the doubled axis angle 2a at (xx - yy, 2 xy), the axis is
    // the half-angle (1 + cos 2a, sin 2a) or (sin 2a, 1 - cos 2a), the one that does not cancel. Without angles, points
    // in a row or a column give exactly that row or column.
    const qvVector<2> doubled = qvVector<2>((xx - yy) / (xx + yy), 2.0 * xy / (xx + yy));
    const double length = doubled.len();
    const qvVector<2> axis = doubled.x() >= 0.0 ? qvVector<2>(length + doubled.x(), doubled.y())
                                                : qvVector<2>(doubled.y(), length - doubled.x());
    const qvFLine fitted = qvFLine::folded(axis, first + mean);
    if (line != nullptr) *line = fitted;
    if (errorOut != nullptr) *errorOut = error(fitted);
    return true;
}

double qvLSLineFitter::error(const qvFLine& line) const {
    if (points_.empty()) return 0.0;
    double squares = 0.0;
    for (const qvVector<2>& point : points_) {
        const double distance = line.distanceFrom(point);
        squares += distance * distance;
    }
    return std::sqrt(squares / static_cast<double>(points_.size()));
}
