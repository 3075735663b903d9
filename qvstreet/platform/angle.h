/// @file
/// Plane angles. Each is one double in the unit that the type names; the two units convert into each other silently, a
/// plain double never becomes an angle by accident. Where both units meet in a sum or a comparison, the unit of the
/// left operand holds.
///
/// Angles turn from +x towards +y. In an image x runs right and y down, so a positive angle turns clockwise as seen.
/// Nothing folds an angle but `norm` and `signedNorm`; two angles a full turn apart are not equal.
#ifndef QVSTREET_PLATFORM_ANGLE_H
#define QVSTREET_PLATFORM_ANGLE_H

#include "qvstreet/platform/export.h"

/// Half a turn and a full turn in radians, the nearest doubles.
constexpr double qvPi = 3.141592653589793;
constexpr double qvTwoPi = 6.283185307179586;

class qvDegree;

/// An angle in radians.
class QV_EXPORT qvRadian {
 public:
    /// 0 radians.
    constexpr qvRadian() = default;
    /// From a number of radians; not folded.
    constexpr explicit qvRadian(double radians) : value_(radians) {}
    /// The same angle; not folded.
    constexpr qvRadian(qvDegree degrees);

    /// The number of radians.
    constexpr double toDouble() const { return value_; }

    /// The same direction in [0, 2 pi); NaN for an angle that is not finite.
    qvRadian norm() const;
    /// The same direction in [-pi, pi), so that half a turn gives -pi; NaN for an angle that is not finite.
    qvRadian signedNorm() const;

    /// Plain arithmetic and comparison of the numbers; nothing is folded.
    constexpr qvRadian operator-() const { return qvRadian(-value_); }
    constexpr qvRadian operator+(qvRadian other) const { return qvRadian(value_ + other.value_); }
    constexpr qvRadian operator-(qvRadian other) const { return qvRadian(value_ - other.value_); }
    constexpr bool operator==(qvRadian other) const { return value_ == other.value_; }
    constexpr bool operator!=(qvRadian other) const { return !(*this == other); }

 private:
    double value_ = 0.0;
};

/// An angle in degrees.
class QV_EXPORT qvDegree {
 public:
    /// 0 degrees.
    constexpr qvDegree() = default;
    /// From a number of degrees; not folded.
    constexpr explicit qvDegree(double degrees) : value_(degrees) {}
    /// The same angle; not folded.
    constexpr qvDegree(qvRadian radians) : value_(radians.toDouble() * (180.0 / qvPi)) {}

    /// The number of degrees.
    constexpr double toDouble() const { return value_; }

    /// The same direction in [0, 360); NaN for an angle that is not finite.
    qvDegree norm() const;
    /// The same direction in [-180, 180), so that half a turn gives -180; NaN for an angle that is not finite.
    qvDegree signedNorm() const;

    /// Plain arithmetic and comparison of the numbers; nothing is folded.
    constexpr qvDegree operator-() const { return qvDegree(-value_); }
    constexpr qvDegree operator+(qvDegree other) const { return qvDegree(value_ + other.value_); }
    constexpr qvDegree operator-(qvDegree other) const { return qvDegree(value_ - other.value_); }
    constexpr bool operator==(qvDegree other) const { return value_ == other.value_; }
    constexpr bool operator!=(qvDegree other) const { return !(*this == other); }

 private:
    double value_ = 0.0;
};

constexpr qvRadian::qvRadian(qvDegree degrees) : value_(degrees.toDouble() * (qvPi / 180.0)) {}

/// Cosine and sine of an angle. That of 90 degrees is 6e-17, not 0, because 90 degrees in radians is rounded.
QV_EXPORT double qfCos(qvRadian angle);
QV_EXPORT double qfSin(qvRadian angle);

#endif
