/// @file
/// Rectangles on the pel grid, rectangles and sectors in the plane, and ranges of numbers.
#ifndef QVSTREET_PLATFORM_RECT_H
#define QVSTREET_PLATFORM_RECT_H

#include <cmath>
#include <cstdint>
#include <limits>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/vector.h"

/// `value` brought into the 32-bit range, which is what interfaces that say `long` hold on every machine.
constexpr long qfSaturate32(std::int64_t value) {
    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    return static_cast<long>(value < lowest ? lowest : value > highest ? highest : value);
}
/// The largest integer not above `value`; saturates at the 32-bit limits, 0 for NaN.
QV_EXPORT long qfIFloor(double value);
/// `value` without its fraction; saturates at the 32-bit limits, 0 for NaN.
inline long qfTruncate(double value) {
    constexpr double lowest = std::numeric_limits<std::int32_t>::min();
    constexpr double highest = std::numeric_limits<std::int32_t>::max();
    // A NaN is neither above the one nor below the other.
    if (value > lowest && value < highest) return static_cast<long>(value);
    return std::isnan(value) ? 0 : static_cast<long>(value < 0.0 ? lowest : highest);
}

/// How a rectangle takes in a number, and where a side ends: as they come, or saturated to 32 bits for whole pels.
template <typename T>
struct qv_rectangleNumbers {
    static constexpr T stored(T value) { return value; }
    static constexpr T end(T start, T size) { return start + size; }
};
template <>
struct qv_rectangleNumbers<long> {
    static constexpr long stored(long value) { return qfSaturate32(value); }
    static constexpr long end(long start, long size) { return qfSaturate32(std::int64_t{start} + size); }
};

/// An axis-aligned rectangle, half open: it covers x from ul().first up to but not including lr().first, and y
/// likewise. T is `long` or `double`. Numbers that are `long` saturate to 32 bits on entry, and so does the lower right
/// corner; the size is kept even where that corner had to be moved.
template <typename T>
class qvRectangle {
    using Numbers = qv_rectangleNumbers<T>;

 public:
    /// Empty, at (0, 0).
    constexpr qvRectangle() = default;
    /// Upper left corner and size. Sizes are not tested here; a rectangle with a size of 0 or less covers nothing.
    constexpr qvRectangle(T x, T y, T width, T height)
        : ul_(Numbers::stored(x), Numbers::stored(y)),
          size_(Numbers::stored(width), Numbers::stored(height)),
          lr_(Numbers::end(ul_.first, size_.first), Numbers::end(ul_.second, size_.second)) {}

    /// Upper left corner.
    constexpr const qvPair<T>& ul() const { return ul_; }
    /// Upper left corner plus size: the first column and row no longer covered.
    constexpr const qvPair<T>& lr() const { return lr_; }
    /// Upper right and lower left corner, made of the two above.
    constexpr qvPair<T> ur() const { return qvPair<T>(lr_.first, ul_.second); }
    constexpr qvPair<T> ll() const { return qvPair<T>(ul_.first, lr_.second); }
    /// Size along x and along y, as given.
    constexpr T width() const { return size_.first; }
    constexpr T height() const { return size_.second; }
    constexpr qvPair<T> size() const { return size_; }

    /// Whether corner and size are equal, also for rectangles that cover nothing.
    friend constexpr bool operator==(const qvRectangle& a, const qvRectangle& b) {
        return a.ul_ == b.ul_ && a.size_ == b.size_;
    }
    friend constexpr bool operator!=(const qvRectangle& a, const qvRectangle& b) { return !(a == b); }

 private:
    qvPair<T> ul_;
    qvPair<T> size_;
    qvPair<T> lr_;
};

/// A rectangle of whole pels in the image frame. The four numbers saturate to 32 bits on entry.
class QV_EXPORT qvPelRect : public qvRectangle<long> {
 public:
    /// Empty, at (0, 0).
    constexpr qvPelRect() = default;
    /// Upper left corner and size.
    constexpr qvPelRect(long x, long y, long width, long height) : qvRectangle<long>(x, y, width, height) {}
};

/// An axis-aligned rectangle for graphics: corner and size, in the unit of the frame it is drawn in.
class qvRect {
 public:
    /// Empty, at (0, 0).
    qvRect() = default;
    /// The corner with the smallest x and y, and the size; both kept as given.
    qvRect(const qvVector<2>& corner, const qvVector<2>& size) : corner_(corner), size_(size) {}
    const qvVector<2>& corner() const { return corner_; }
    const qvVector<2>& size() const { return size_; }

 private:
    qvVector<2> corner_;
    qvVector<2> size_;
};

/// Two numbers in the order of construction; `start` may be above `end`.
class qvRange {
 public:
    /// (0, 0)
    qvRange() = default;
    /// Kept as given.
    qvRange(double start, double end) : start_(start), end_(end) {}
    double start() const { return start_; }
    double end() const { return end_; }

 private:
    double start_ = 0.0;
    double end_ = 0.0;
};

/// A parallelogram: the corner of its origin, its x side and its y side. The sides need not be at right angles, and the
/// y side may lie to either hand of the x side. Positions and lengths are in the unit of the frame it lives in.
class QV_EXPORT qvAffineRectangle {
 public:
    /// All corners at (0, 0).
    qvAffineRectangle() = default;
    /// Centred on `centre`. The x side has length `xLength` and points along `rotation`; the y side has length
    /// `yLength` and points along `rotation` + `skew` + 90 degrees. Without skew the sides are at right angles to the
    /// last bit, without rotation exactly upright. A negative length reverses its side.
    qvAffineRectangle(const qvVector<2>& centre, double xLength, double yLength, qvRadian rotation, qvRadian skew);
    /// From the corner of the origin, the end of the x side and the end of the y side.
    qvAffineRectangle(const qvVector<2>& cornerPo, const qvVector<2>& cornerPx, const qvVector<2>& cornerPy);

    /// The corner of the origin, the end of the x side and the end of the y side.
    const qvVector<2>& cornerPo() const { return corner_; }
    qvVector<2> cornerPx() const { return corner_ + xSide_; }
    qvVector<2> cornerPy() const { return corner_ + ySide_; }
    /// The corner opposite the origin.
    qvVector<2> cornerPopp() const { return corner_ + xSide_ + ySide_; }
    /// The sides as displacements from the corner of the origin.
    const qvVector<2>& xSide() const { return xSide_; }
    const qvVector<2>& ySide() const { return ySide_; }
    /// Lengths of the sides: exactly those it was made with, or measured between the corners.
    double xLength() const { return xLength_; }
    double yLength() const { return yLength_; }

 private:
    qvVector<2> corner_;
    qvVector<2> xSide_;
    qvVector<2> ySide_;
    double xLength_ = 0.0;
    double yLength_ = 0.0;
};

/// A sector of a circular ring, described by the unit square: its x runs along the angle, its y along the radius.
class QV_EXPORT qvEllipseAnnulusSection {
 public:
    /// Radii and limits of the angle as given; none is folded or exchanged. The three flags say that the ends of the
    /// angle, the inner and the outer radius belong to the sector; all callers pass true and nothing depends on them.
    qvEllipseAnnulusSection(const qvVector<2>& centre, double r0, double r1, qvRadian start, qvRadian end,
                            bool closedAngle, bool closedInner, bool closedOuter);

    /// The centre of the circles.
    const qvVector<2>& center() const { return center_; }
    /// The point at angle start + u (end - start) and radius r0 + v (r1 - r0) for (u, v), which may lie outside [0, 1].
    qvVector<2> mapFromUnitSq(const qvVector<2>& uv) const;

 private:
    qvVector<2> center_;
    double r0_;
    double r1_;
    qvRadian start_;
    qvRadian end_;
};

#endif
