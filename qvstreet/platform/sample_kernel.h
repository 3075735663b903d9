/// @file
/// One sample from one position: what resampling and projection share. Each kernel has a careful form for every
/// position that counts as inside, and a plain form for positions whose neighbours all lie in the window; where both
/// apply they give the same value.
#ifndef QVSTREET_PLATFORM_SAMPLE_KERNEL_H
#define QVSTREET_PLATFORM_SAMPLE_KERNEL_H

#include "qvstreet/platform/sample_grid.h"

/// How far beyond the window a sample still counts as inside: 1/256 pel, the step of the interpolation, so that
/// rounding does not push a rectangle that fits the window out of it.
constexpr std::int64_t kInsideTolerance = kFixedOne / 256;

/// The samples of a walk that lie inside the source; they follow one another, as the window is convex.
inline qv_Span qf_insideSpan(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                             long count) {
    return qf_intersection(
        qf_spanBetween(start.x, step.x, count, -kInsideTolerance, source.width * kFixedOne + kInsideTolerance),
        qf_spanBetween(start.y, step.y, count, -kInsideTolerance, source.height * kFixedOne + kInsideTolerance));
}

/// Bilinear interpolation from the four neighbours of a position. The weighting says in what arithmetic: `Value`, the shift
/// from a position to its upper left neighbour's centre, the fraction of a shifted position, and the mean of the four.
template <typename Weighting>
struct qv_FourNeighbourKernel {
    using Value = typename Weighting::Value;
    static constexpr std::int64_t kShift = Weighting::kShift;

    /// The samples of a walk that have all four neighbours in the window.
    static qv_Span interiorSpan(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                                long count) {
        return qf_intersection(
            qf_spanBetween(start.x, step.x, count, -kShift, (source.width - 1) * kFixedOne - 1 - kShift),
            qf_spanBetween(start.y, step.y, count, -kShift, (source.height - 1) * kFixedOne - 1 - kShift));
    }

    static Value interior(const qv_PelSource& source, const qv_FixedVector& position) {
        const std::int64_t x = position.x + kShift;
        const std::int64_t y = position.y + kShift;
        const unsigned char* pel = source.pels + (y >> 32) * source.rowUpdate + (x >> 32);
        return Weighting::mix(pel[0], pel[1], pel[source.rowUpdate], pel[source.rowUpdate + 1], Weighting::fraction(x),
                              Weighting::fraction(y));
    }

    /// Anywhere; beyond the border the nearest border pel stands in.
    static Value careful(const qv_PelSource& source, const qv_FixedVector& position) {
        const std::int64_t x = position.x + kShift;
        const std::int64_t y = position.y + kShift;
        const std::int64_t left = std::clamp<std::int64_t>(x >> 32, 0, source.width - 1);
        const std::int64_t right = std::clamp<std::int64_t>((x >> 32) + 1, 0, source.width - 1);
        const unsigned char* upper =
            source.pels + std::clamp<std::int64_t>(y >> 32, 0, source.height - 1) * source.rowUpdate;
        const unsigned char* lower =
            source.pels + std::clamp<std::int64_t>((y >> 32) + 1, 0, source.height - 1) * source.rowUpdate;
        return Weighting::mix(upper[left], upper[right], lower[left], lower[right], Weighting::fraction(x),
                              Weighting::fraction(y));
    }
};

/// Positions and weights in 1/256 pel; the sum of pel * weight * weight is rounded half up.
struct qv_RoundedWeighting {
    using Value = std::uint32_t;
    /// Half a pel towards the upper left neighbour's centre, and half a 1/256 to round.
    static constexpr std::int64_t kShift = kFixedOne / 512 - kFixedOne / 2;

    /// 0 to 255, in 1/256 pel.
    static Value fraction(std::int64_t position) { return static_cast<std::uint32_t>(position) >> 24; }

    static Value mix(Value upperLeft, Value upperRight, Value lowerLeft, Value lowerRight, Value fx, Value fy) {
        const Value upper = upperLeft * (256 - fx) + upperRight * fx;
        const Value lower = lowerLeft * (256 - fx) + lowerRight * fx;
        return (upper * (256 - fy) + lower * fy + 32768) >> 16;
    }
};

using qv_BilinearKernel = qv_FourNeighbourKernel<qv_RoundedWeighting>;

/// The pel that holds the position; on a border between pels the one that begins there.
struct qv_NearestKernel {
    static qv_Span interiorSpan(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                                long count) {
        return qf_intersection(qf_spanBetween(start.x, step.x, count, 0, source.width * kFixedOne - 1),
                               qf_spanBetween(start.y, step.y, count, 0, source.height * kFixedOne - 1));
    }

    static std::uint32_t interior(const qv_PelSource& source, const qv_FixedVector& position) {
        return source.pels[(position.y >> 32) * source.rowUpdate + (position.x >> 32)];
    }

    static std::uint32_t careful(const qv_PelSource& source, const qv_FixedVector& position) {
        const std::int64_t x = std::clamp<std::int64_t>(position.x >> 32, 0, source.width - 1);
        const std::int64_t y = std::clamp<std::int64_t>(position.y >> 32, 0, source.height - 1);
        return source.pels[y * source.rowUpdate + x];
    }
};

/// Goes from sample to sample of a walk. Wraps around, because the position behind the last sample may not exist.
class qv_WalkPosition {
 public:
    qv_WalkPosition(const qv_FixedVector& start, const qv_FixedVector& step, long k)
        : x_(static_cast<std::uint64_t>(start.x + k * step.x)),
          y_(static_cast<std::uint64_t>(start.y + k * step.y)),
          xStep_(static_cast<std::uint64_t>(step.x)),
          yStep_(static_cast<std::uint64_t>(step.y)) {}

    qv_FixedVector operator*() const { return {static_cast<std::int64_t>(x_), static_cast<std::int64_t>(y_)}; }
    void operator++() {
        x_ += xStep_;
        y_ += yStep_;
    }
    void moveBy(const qv_FixedVector& distance) {
        x_ += static_cast<std::uint64_t>(distance.x);
        y_ += static_cast<std::uint64_t>(distance.y);
    }

 private:
    std::uint64_t x_;
    std::uint64_t y_;
    std::uint64_t xStep_;
    std::uint64_t yStep_;
};

/// A walk cut into what lies outside, the careful ends and the interior between them:
/// inside.begin <= interior.begin <= interior.end <= inside.end.
struct qv_WalkSpans {
    qv_Span inside;
    qv_Span interior;
};

template <class Kernel>
qv_WalkSpans qf_walkSpans(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                          long count) {
    qv_WalkSpans spans;
    spans.inside = qf_insideSpan(source, start, step, count);
    spans.interior = qf_intersection(spans.inside, Kernel::interiorSpan(source, start, step, count));
    // Without an interior the careful form takes everything.
    if (spans.interior.begin >= spans.interior.end) spans.interior = {spans.inside.end, spans.inside.end};
    return spans;
}

#endif
