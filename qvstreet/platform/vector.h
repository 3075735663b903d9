/// @file
/// Vectors and points of the plane and of space.
#ifndef QVSTREET_PLATFORM_VECTOR_H
#define QVSTREET_PLATFORM_VECTOR_H

#include <cmath>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/pair.h"

/// N doubles, N being 2 or 3. Serves as a position and as a displacement; which one, and in which frame and unit, the
/// name of the variable says.
template <int N>
class qvVector {
    static_assert(N == 2 || N == 3, "vectors have 2 or 3 elements");

 public:
    /// All elements 0.
    constexpr qvVector() = default;

    /// From Cartesian coordinates.
    constexpr qvVector(double x, double y) : elements_{x, y} { static_assert(N == 2, "a vector of the plane"); }
    constexpr qvVector(double x, double y, double z) : elements_{x, y, z} {
        static_assert(N == 3, "a vector of space");
    }

    /// From polar coordinates: length, which may be negative, and direction.
    qvVector(double length, qvRadian direction) : qvVector(length * qfCos(direction), length * qfSin(direction)) {}

    /// (first, second) of a pair of numbers.
    explicit constexpr qvVector(const qvPair<double>& pair) : qvVector(pair.first, pair.second) {}

    /// First and second element.
    constexpr double x() const { return elements_[0]; }
    constexpr double y() const { return elements_[1]; }
    constexpr void x(double value) { elements_[0] = value; }
    constexpr void y(double value) { elements_[1] = value; }
    /// Element `index`, 0 to N - 1; unchecked.
    constexpr double operator[](int index) const { return elements_[index]; }
    constexpr double& operator[](int index) { return elements_[index]; }

    /// Element by element.
    constexpr qvVector& operator+=(const qvVector& other) {
        for (int i = 0; i < N; ++i) elements_[i] += other.elements_[i];
        return *this;
    }
    constexpr qvVector& operator-=(const qvVector& other) {
        for (int i = 0; i < N; ++i) elements_[i] -= other.elements_[i];
        return *this;
    }
    constexpr qvVector& operator*=(double factor) {
        for (int i = 0; i < N; ++i) elements_[i] *= factor;
        return *this;
    }
    constexpr qvVector& operator/=(double divisor) {
        for (int i = 0; i < N; ++i) elements_[i] /= divisor;
        return *this;
    }
    /// The opposite vector, an element of 0 giving 0 and not a negative zero: the angle of -(1, 0) is pi, not -pi.
    constexpr qvVector operator-() const { return qvVector() - *this; }
    friend constexpr qvVector operator+(qvVector a, const qvVector& b) { return a += b; }
    friend constexpr qvVector operator-(qvVector a, const qvVector& b) { return a -= b; }
    friend constexpr qvVector operator*(qvVector a, double factor) { return a *= factor; }
    friend constexpr qvVector operator*(double factor, qvVector a) { return a *= factor; }
    friend constexpr qvVector operator/(qvVector a, double divisor) { return a /= divisor; }

    /// Dot product, in the order of the elements.
    friend constexpr double operator*(const qvVector& a, const qvVector& b) {
        double sum = a.elements_[0] * b.elements_[0];
        for (int i = 1; i < N; ++i) sum += a.elements_[i] * b.elements_[i];
        return sum;
    }

    /// Whether all elements are equal; never with a NaN.
    friend constexpr bool operator==(const qvVector& a, const qvVector& b) {
        for (int i = 0; i < N; ++i)
            if (!(a.elements_[i] == b.elements_[i])) return false;
        return true;
    }
    friend constexpr bool operator!=(const qvVector& a, const qvVector& b) { return !(a == b); }

    /// Euclidean length. Elements beyond 1e154 or all below 1e-162 in magnitude give infinity or 0: their squares leave
    /// the range of a double.
    double len() const { return std::sqrt(*this * *this); }

    /// Direction, the atan2 of the elements, in [-pi, pi]; 0 for the zero vector.
    qvRadian angle() const {
        static_assert(N == 2, "only a vector of the plane has an angle");
        return qvRadian(std::atan2(elements_[1], elements_[0]));
    }

    /// Euclidean distance between two points.
    double distance(const qvVector& other) const { return (*this - other).len(); }

    /// The vector of length 1 in the same direction; (1, 0) for a vector whose length is 0 or NaN, which has none.
    qvVector unit() const {
        static_assert(N == 2, "unit vectors are used in the plane");
        const double length = len();
        return length > 0.0 ? *this / length : qvVector(1.0, 0.0);
    }

 private:
    double elements_[N] = {};
};

#endif
