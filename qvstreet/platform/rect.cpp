#include "qvstreet/platform/rect.h"

#include <cmath>

qvAffineRectangle::qvAffineRectangle(const qvVector<2>& centre, double xLength, double yLength, qvRadian rotation,
                                     qvRadian skew)
    : xSide_(xLength, rotation), xLength_(xLength), yLength_(yLength) {
    // Turned by a quarter turn through its elements: 90 degrees added to the angle would round.
    const qvVector<2> beforeTurn(1.0, rotation + skew);
    ySide_ = qvVector<2>(0.0 - beforeTurn.y(), beforeTurn.x()) * yLength;
    corner_ = centre - (xSide_ + ySide_) * 0.5;
}

qvAffineRectangle::qvAffineRectangle(const qvVector<2>& cornerPo, const qvVector<2>& cornerPx,
                                     const qvVector<2>& cornerPy)
    : corner_(cornerPo),
      xSide_(cornerPx - cornerPo),
      ySide_(cornerPy - cornerPo),
      xLength_(xSide_.len()),
      yLength_(ySide_.len()) {}

qvEllipseAnnulusSection::qvEllipseAnnulusSection(const qvVector<2>& centre, double r0, double r1, qvRadian start,
                                                 qvRadian end, bool, bool, bool)
    : center_(centre), r0_(r0), r1_(r1), start_(start), end_(end) {}

qvVector<2> qvEllipseAnnulusSection::mapFromUnitSq(const qvVector<2>& uv) const {
    const qvRadian angle(start_.toDouble() + uv.x() * (end_.toDouble() - start_.toDouble()));
    const double radius = r0_ + uv.y() * (r1_ - r0_);
    return center_ + qvVector<2>(radius, angle);
}

long qfIFloor(double value) { return qfTruncate(std::floor(value)); }
