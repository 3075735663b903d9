// Fused resampling and summation.
//
// In:  a source image and a grid of samples, seen as bins (see project_bins.h).
// Out: for each bin the sum, the sum of squares and the number of the samples inside the source.
//
// The samples are integers and so are the sums: any order of summation gives the same numbers. The loops therefore walk
// whichever axis of the grid runs more along the source's rows, so that memory is read in order:
//
//     across runs along the rows     for each bin: one walk across, two sums in registers
//     bins run along the rows        for each position across: one walk over the bins, adding to arrays of sums
//
// A steep walk touches a cache line in every row that it crosses. It is cut into stretches that cross a limited number
// of rows, and neighbouring walks follow one another stretch by stretch, so that they find the lines still in the
// cache.
#include "qvstreet/platform/project_bins.h"

#include <cmath>
#include <type_traits>

#include "qvstreet/platform/bilinear_lanes.h"
#include "qvstreet/platform/sample_kernel.h"

namespace {

// As many lines as neighbouring walks can keep in a second-level cache of 16 ways even when a row is 4096 pels long and
// all lines of a column compete for the same few places.
constexpr std::int64_t kMostRowsOfStretch = 128;

/// Samples of a walk until it has crossed so many rows.
long stretchLength(const qv_FixedVector& step, long count) {
    const std::int64_t rise = step.y < 0 ? -step.y : step.y;
    if (rise == 0) return count;
    return static_cast<long>(std::clamp<std::int64_t>(kMostRowsOfStretch * kFixedOne / rise, 1, count));
}

/// Adds the samples of a walk to one sum and one sum of squares.
struct IntoOneBin {
    std::uint32_t sum = 0;
    std::uint32_t squareSum = 0;

    void add(long, std::uint32_t value) {
        sum += value;
        squareSum += value * value;
    }

#ifdef QV_HAS_BILINEAR_LANES
    // Four partial sums each.
    __m128i sums = _mm_setzero_si128();
    __m128i squareSums = _mm_setzero_si128();

    void addLanes(long, const __m128i& values) {
        sums = _mm_add_epi32(sums, _mm_madd_epi16(values, _mm_set1_epi16(1)));
        squareSums = _mm_add_epi32(squareSums, _mm_madd_epi16(values, values));
    }

    static std::uint32_t total(const __m128i& partialSums) {
        const __m128i pairs = _mm_add_epi32(partialSums, _mm_srli_si128(partialSums, 8));
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_srli_si128(pairs, 4))));
    }

    void addPartialSums() {
        sum += total(sums);
        squareSum += total(squareSums);
    }
#endif
};

/// Adds sample k of a walk to element k of the sums.
struct IntoManyBins {
    std::uint32_t* sums;
    std::uint32_t* squareSums;

    void add(long k, std::uint32_t value) {
        sums[k] += value;
        squareSums[k] += value * value;
    }

#ifdef QV_HAS_BILINEAR_LANES
    static void addTo(std::uint32_t* four, const __m128i& numbers) {
        __m128i* const memory = reinterpret_cast<__m128i*>(four);
        _mm_storeu_si128(memory, _mm_add_epi32(_mm_loadu_si128(memory), numbers));
    }

    void addLanes(long k, const __m128i& values) {
        const __m128i zero = _mm_setzero_si128();
        // At most 255 * 255, which fits 16 bits without a sign.
        const __m128i squares = _mm_mullo_epi16(values, values);
        addTo(sums + k, _mm_unpacklo_epi16(values, zero));
        addTo(sums + k + 4, _mm_unpackhi_epi16(values, zero));
        addTo(squareSums + k, _mm_unpacklo_epi16(squares, zero));
        addTo(squareSums + k + 4, _mm_unpackhi_epi16(squares, zero));
    }

    void addPartialSums() {}
#endif
};

template <class Kernel, class Sink>
void addInterior(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                 const qv_Span& interior, Sink& sink) {
    qv_WalkPosition position(start, step, interior.begin);
    for (long k = interior.begin; k < interior.end; ++k, ++position) sink.add(k, Kernel::interior(source, *position));
}

#ifdef QV_HAS_BILINEAR_LANES
template <class Sink>
void addInteriorInLanes(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
                        const qv_Span& interior, Sink& sink) {
    constexpr long kLanes = qv_BilinearLanes::kLanes;
    const qv_BilinearLanes lanes(source, step);
    const qv_FixedVector stepOfLanes = kLanes * step;
    qv_WalkPosition position(start, stepOfLanes, 0);
    position.moveBy(interior.begin * step);
    long k = interior.begin;
    for (; k + kLanes <= interior.end; k += kLanes, ++position) {
        __m128i values;
        if (lanes.sample(*position, values))
            sink.addLanes(k, values);
        else
            addInterior<qv_BilinearKernel>(source, start, step, {k, k + kLanes}, sink);
    }
    addInterior<qv_BilinearKernel>(source, start, step, {k, interior.end}, sink);
    sink.addPartialSums();
}
#endif

template <class Kernel, class Sink>
void addWalk(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
             const qv_WalkSpans& spans, Sink& sink) {
    for (long k = spans.inside.begin; k < spans.interior.begin; ++k)
        sink.add(k, Kernel::careful(source, start + k * step));
#ifdef QV_HAS_BILINEAR_LANES
    if (std::is_same_v<Kernel, qv_BilinearKernel> && qv_BilinearLanes::canFollow(step))
        addInteriorInLanes(source, start, step, spans.interior, sink);
    else
#endif
        addInterior<Kernel>(source, start, step, spans.interior, sink);
    for (long k = spans.interior.end; k < spans.inside.end; ++k) sink.add(k, Kernel::careful(source, start + k * step));
}

/// The part of the walk from `begin` up to, not including, `end`.
qv_WalkSpans partOf(const qv_WalkSpans& spans, long begin, long end) {
    const qv_Span part{begin, end};
    qv_WalkSpans cut;
    cut.inside = qf_intersection(spans.inside, part);
    cut.interior = qf_intersection(cut.inside, spans.interior);
    if (cut.interior.begin >= cut.interior.end) cut.interior = {cut.inside.end, cut.inside.end};
    return cut;
}

/// Walks across for one bin after the other.
template <class Kernel>
void projectAlongAcross(const qv_PelSource& source, const qv_BinWalk& walk, qv_BinBlock& block) {
    std::array<qv_WalkSpans, qv_BinBlock::kMostBins> spansOfBin;
    for (long b = 0; b < block.binCount; ++b) {
        const std::size_t bin = static_cast<std::size_t>(b);
        const qv_FixedVector start = walk.start + b * walk.binStep;
        spansOfBin[bin] = qf_walkSpans<Kernel>(source, start, walk.acrossStep, walk.acrossCount);
        block.counts[bin] = static_cast<std::uint32_t>(spansOfBin[bin].inside.end - spansOfBin[bin].inside.begin);
    }
    const long stretch = stretchLength(walk.acrossStep, walk.acrossCount);
    for (long begin = 0; begin < walk.acrossCount; begin += stretch) {
        for (long b = 0; b < block.binCount; ++b) {
            const std::size_t bin = static_cast<std::size_t>(b);
            const qv_WalkSpans spans = partOf(spansOfBin[bin], begin, begin + stretch);
            IntoOneBin sink;
            addWalk<Kernel>(source, walk.start + b * walk.binStep, walk.acrossStep, spans, sink);
            block.sums[bin] += sink.sum;
            block.squareSums[bin] += sink.squareSum;
        }
    }
}

/// Walks over a stretch of bins for one position across after the other. Counts are kept as differences from bin to
/// bin.
template <class Kernel>
void projectAlongBins(const qv_PelSource& source, const qv_BinWalk& walk, qv_BinBlock& block) {
    const long stretch = stretchLength(walk.binStep, block.binCount);
    for (long firstOfStretch = 0; firstOfStretch < block.binCount; firstOfStretch += stretch) {
        const long binCount = std::min(stretch, block.binCount - firstOfStretch);
        IntoManyBins sink{block.sums.data() + firstOfStretch, block.squareSums.data() + firstOfStretch};
        std::array<std::uint32_t, qv_BinBlock::kMostBins + 1> countChanges{};
        const qv_FixedVector stretchStart = walk.start + firstOfStretch * walk.binStep;
        for (long a = 0; a < walk.acrossCount; ++a) {
            const qv_FixedVector start = stretchStart + a * walk.acrossStep;
            const qv_WalkSpans spans = qf_walkSpans<Kernel>(source, start, walk.binStep, binCount);
            addWalk<Kernel>(source, start, walk.binStep, spans, sink);
            ++countChanges[static_cast<std::size_t>(spans.inside.begin)];
            --countChanges[static_cast<std::size_t>(spans.inside.end)];
        }
        std::uint32_t count = 0;
        for (long b = 0; b < binCount; ++b) {
            count += countChanges[static_cast<std::size_t>(b)];
            block.counts[static_cast<std::size_t>(firstOfStretch + b)] = count;
        }
    }
}

/// How steeply a walk runs against the source's rows; infinite down a column, NaN on the spot.
double slope(const qv_FixedVector& step) {
    return std::fabs(static_cast<double>(step.y)) / std::fabs(static_cast<double>(step.x));
}

template <class Kernel>
void projectBlock(const qv_PelSource& source, const qv_BinWalk& walk, qv_BinBlock& block) {
    if (slope(walk.acrossStep) <= slope(walk.binStep))
        projectAlongAcross<Kernel>(source, walk, block);
    else
        projectAlongBins<Kernel>(source, walk, block);
}

/// Makes a walk start at its other end.
void turnRound(qv_FixedVector& start, qv_FixedVector& step, long count) {
    start = start + (count - 1) * step;
    step = -1 * step;
}

}  // namespace

void qf_projectBinBlock(const qvPelBuffer_const<unsigned char>& image, const qv_BinWalk& walk, long interpolation,
                        long firstBin, qv_BinBlock& block) {
    block.binCount = std::min(qv_BinBlock::kMostBins, walk.binCount - firstBin);
    block.sums.fill(0);
    block.squareSums.fill(0);
    block.counts.fill(0);
    if (!walk.reachesSource) return;

    // All walks run towards growing x, the only direction in which the lanes go.
    qv_BinWalk forward = walk;
    forward.start = walk.start + firstBin * walk.binStep;
    forward.binCount = block.binCount;
    const bool binsRunBackward = walk.binStep.x < 0;
    if (binsRunBackward) turnRound(forward.start, forward.binStep, forward.binCount);
    if (walk.acrossStep.x < 0) turnRound(forward.start, forward.acrossStep, forward.acrossCount);

    const qv_PelSource source = qf_pelSource(image);
    if (interpolation == kInterpolationNearest)
        projectBlock<qv_NearestKernel>(source, forward, block);
    else
        projectBlock<qv_BilinearKernel>(source, forward, block);

    if (!binsRunBackward) return;
    std::reverse(block.sums.begin(), block.sums.begin() + block.binCount);
    std::reverse(block.squareSums.begin(), block.squareSums.begin() + block.binCount);
    std::reverse(block.counts.begin(), block.counts.begin() + block.binCount);
}
