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
// Bilinear walks that lean by less than 35 degrees are added up by kernels, all others sample by sample.
//
// A steep walk touches a cache line in every row that it crosses. It is cut into stretches that cross a limited number
// of rows, and neighbouring walks follow one another stretch by stretch, so that they find the lines still in the
// cache.
#include "qvstreet/platform/project_bins.h"

#include <cmath>
#include <type_traits>

#include "qvstreet/platform/pel_walk.h"
#include "qvstreet/platform/sample_kernel.h"

namespace {

// As many lines as neighbouring walks can keep in a second-level cache of 16 ways even when a row is 4096 pels long and
// all lines of a column compete for the same few places.
constexpr std::int64_t kMostRowsOfStretch = 128;

// A walk that leans crosses many rows and needs a little of each, which no prefetcher of a processor foresees. Four rows
// are time enough, and neighbouring walks about as many rows apart.
constexpr std::ptrdiff_t kRowsToFetchAhead = 4;

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

    void addWalk(const qv_ProjectionKernels& kernels, const qv_PelWalk& walk, const qv_WalkStep& step, long) {
        kernels.addToBin(walk, step, &sum, &squareSum);
    }
};

/// Adds sample k of a walk to element k of the sums.
struct IntoManyBins {
    std::uint32_t* sums;
    std::uint32_t* squareSums;

    void add(long k, std::uint32_t value) {
        sums[k] += value;
        squareSums[k] += value * value;
    }

    void addWalk(const qv_ProjectionKernels& kernels, const qv_PelWalk& walk, const qv_WalkStep& step, long first) {
        kernels.addToBins(walk, step, sums + first, squareSums + first);
    }
};

/// All walks of a projection that share a step.
template <class Kernel>
class Walks {
 public:
    /// The steps within a walk and from a walk to the next.
    Walks(const qv_PelSource& source, const qv_FixedVector& step, const qv_FixedVector& walkStep)
        : source_(source),
          step_(step),
          rowsToFetchAhead_(walkStep.y < 0 ? -kRowsToFetchAhead : kRowsToFetchAhead),
          kernels_(QV_CHOSEN_KERNELS(projectionKernels)) {
        useKernels_ = std::is_same_v<Kernel, qv_BilinearKernel> && qf_kernelsFollow(step);
        if (useKernels_) kernelStep_ = qf_walkStep(step);
    }

    /// Adds the samples of the walk from `start` to the sums.
    template <class Sink>
    void add(const qv_FixedVector& start, const qv_WalkSpans& spans, Sink& sink) const {
        for (long k = spans.inside.begin; k < spans.interior.begin; ++k)
            sink.add(k, Kernel::careful(source_, start + k * step_));
        addInterior(start, spans.interior, sink);
        for (long k = spans.interior.end; k < spans.inside.end; ++k)
            sink.add(k, Kernel::careful(source_, start + k * step_));
    }

 private:
    template <class Sink>
    void addInterior(const qv_FixedVector& start, const qv_Span& interior, Sink& sink) const {
        if (useKernels_ && interior.begin < interior.end) {
            qv_PelWalk walk = qf_pelWalk(source_, start + interior.begin * step_, interior.end - interior.begin);
            walk.rowsToFetchAhead = rowsToFetchAhead_;
            sink.addWalk(kernels_, walk, kernelStep_, interior.begin);
            return;
        }
        qv_WalkPosition position(start, step_, interior.begin);
        for (long k = interior.begin; k < interior.end; ++k, ++position)
            sink.add(k, Kernel::interior(source_, *position));
    }

    qv_PelSource source_;
    qv_FixedVector step_;
    std::ptrdiff_t rowsToFetchAhead_;
    const qv_ProjectionKernels& kernels_;
    bool useKernels_ = false;
    qv_WalkStep kernelStep_;
};

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
    const Walks<Kernel> walks(source, walk.acrossStep, walk.binStep);
    const long stretch = stretchLength(walk.acrossStep, walk.acrossCount);
    for (long begin = 0; begin < walk.acrossCount; begin += stretch) {
        for (long b = 0; b < block.binCount; ++b) {
            const std::size_t bin = static_cast<std::size_t>(b);
            const qv_WalkSpans spans = partOf(spansOfBin[bin], begin, begin + stretch);
            IntoOneBin sink;
            walks.add(walk.start + b * walk.binStep, spans, sink);
            block.sums[bin] += sink.sum;
            block.squareSums[bin] += sink.squareSum;
        }
    }
}

/// Walks over a stretch of bins for one position across after the other. Counts are kept as differences from bin to
/// bin.
template <class Kernel>
void projectAlongBins(const qv_PelSource& source, const qv_BinWalk& walk, qv_BinBlock& block) {
    const Walks<Kernel> walks(source, walk.binStep, walk.acrossStep);
    const long stretch = stretchLength(walk.binStep, block.binCount);
    for (long firstOfStretch = 0; firstOfStretch < block.binCount; firstOfStretch += stretch) {
        const long binCount = std::min(stretch, block.binCount - firstOfStretch);
        IntoManyBins sink{block.sums.data() + firstOfStretch, block.squareSums.data() + firstOfStretch};
        std::array<std::uint32_t, qv_BinBlock::kMostBins + 1> countChanges{};
        const qv_FixedVector stretchStart = walk.start + firstOfStretch * walk.binStep;
        for (long a = 0; a < walk.acrossCount; ++a) {
            const qv_FixedVector start = stretchStart + a * walk.acrossStep;
            const qv_WalkSpans spans = qf_walkSpans<Kernel>(source, start, walk.binStep, binCount);
            walks.add(start, spans, sink);
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

    // All walks run towards growing x, the only direction in which the kernels go.
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
