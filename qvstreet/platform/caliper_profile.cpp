// Profile and edge strengths of a caliper.
//
// In:  an 8-bit image and a sampled rectangle in its client frame.
// Out: column sums and counts of the samples inside the image, then the change at each boundary between columns, in
//      grey levels.
//
// The positions of the samples, and which of them are inside, are those of all resampling (see sample_grid.h). A
// bilinear sample, though, is not rounded to a grey level, nor its position to 1/256 pel: an edge is located to some
// hundredths of a pel, and rounding would show.
#include "qvstreet/platform/caliper_profile.h"

#include <cstddef>

#include "qvstreet/platform/project_bins.h"
#include "qvstreet/platform/sample_kernel.h"

namespace {

/// Full fractions in doubles; nothing is rounded.
struct ExactWeighting {
    using Value = double;
    static constexpr std::int64_t kShift = -kFixedOne / 2;

    /// 0 up to, not including, 1.
    static double fraction(std::int64_t position) {
        return static_cast<double>(static_cast<std::uint32_t>(position)) / static_cast<double>(kFixedOne);
    }

    static double mix(double upperLeft, double upperRight, double lowerLeft, double lowerRight, double fx, double fy) {
        const double upper = upperLeft * (1.0 - fx) + upperRight * fx;
        const double lower = lowerLeft * (1.0 - fx) + lowerRight * fx;
        return upper * (1.0 - fy) + lower * fy;
    }
};

using ExactBilinearKernel = qv_FourNeighbourKernel<ExactWeighting>;

/// All columns of the rectangle, those without samples inside included.
struct Columns {
    std::vector<double> sums;
    std::vector<std::int64_t> counts;
};

Columns nearestColumns(const qvPelBuffer_const<unsigned char>& image, const qv_SampleGrid& grid) {
    Columns columns;
    const qv_BinWalk walk = qf_binsOfColumns(grid);
    qv_BinBlock block;
    for (long first = 0; first < walk.binCount; first += block.binCount) {
        qf_projectBinBlock(image, walk, kInterpolationNearest, first, block);
        columns.sums.insert(columns.sums.end(), block.sums.begin(), block.sums.begin() + block.binCount);
        columns.counts.insert(columns.counts.end(), block.counts.begin(), block.counts.begin() + block.binCount);
    }
    return columns;
}

/// The sum of a walk's samples inside the source, added up in the order of the walk.
double walkSum(const qv_PelSource& source, const qv_FixedVector& start, const qv_FixedVector& step,
               const qv_WalkSpans& spans) {
    double sum = 0.0;
    for (long k = spans.inside.begin; k < spans.interior.begin; ++k)
        sum += ExactBilinearKernel::careful(source, start + k * step);
    qv_WalkPosition position(start, step, spans.interior.begin);
    for (long k = spans.interior.begin; k < spans.interior.end; ++k, ++position)
        sum += ExactBilinearKernel::interior(source, *position);
    for (long k = spans.interior.end; k < spans.inside.end; ++k)
        sum += ExactBilinearKernel::careful(source, start + k * step);
    return sum;
}

Columns bilinearColumns(const qvPelBuffer_const<unsigned char>& image, const qv_SampleGrid& grid) {
    const std::size_t columnCount = static_cast<std::size_t>(grid.xCount);
    Columns columns{std::vector<double>(columnCount, 0.0), std::vector<std::int64_t>(columnCount, 0)};
    if (!grid.reachesSource) return columns;

    const qv_PelSource source = qf_pelSource(image);
    for (long i = 0; i < grid.xCount; ++i) {
        const qv_FixedVector start = grid.start + i * grid.xStep;
        const qv_WalkSpans spans = qf_walkSpans<ExactBilinearKernel>(source, start, grid.yStep, grid.yCount);
        columns.sums[static_cast<std::size_t>(i)] = walkSum(source, start, grid.yStep, spans);
        columns.counts[static_cast<std::size_t>(i)] = spans.inside.end - spans.inside.begin;
    }
    return columns;
}

/// The run of columns with samples around the middle. An even number of columns has two in the middle; either will do.
qv_Span middleRun(const std::vector<std::int64_t>& counts) {
    const std::size_t columnCount = counts.size();
    std::size_t middle = columnCount / 2;
    if (counts[middle] == 0 && columnCount % 2 == 0) --middle;
    if (counts[middle] == 0) return {};
    std::size_t begin = middle;
    while (begin > 0 && counts[begin - 1] > 0) --begin;
    std::size_t end = middle + 1;
    while (end < columnCount && counts[end] > 0) ++end;
    return {static_cast<long>(begin), static_cast<long>(end)};
}

/// One strength by one division: with whole sums equal strengths are then equal numbers. The columns on both sides have
/// `samplesOfSide` samples.
double strengthOfEqualColumns(const qv_CaliperProfile& profile, std::size_t boundary, std::size_t halfSize,
                              double samplesOfSide) {
    double before = 0.0;
    double after = 0.0;
    for (std::size_t i = 0; i < halfSize; ++i) before += profile.sums[boundary - halfSize + i];
    for (std::size_t i = 0; i < halfSize; ++i) after += profile.sums[boundary + i];
    return (after - before) / samplesOfSide;
}

double meanOfColumns(const qv_CaliperProfile& profile, std::size_t begin, std::size_t halfSize) {
    double sum = 0.0;
    for (std::size_t i = begin; i < begin + halfSize; ++i)
        sum += profile.sums[i] / static_cast<double>(profile.counts[i]);
    return sum / static_cast<double>(halfSize);
}

}  // namespace

qv_CaliperProfile qf_caliperProfile(const qvPelBuffer_const<unsigned char>& image,
                                    const qvAffineSamplingParams& sampling) {
    const qv_SampleGrid grid = qf_sampleGrid(image, sampling);
    const bool nearest = sampling.interpolation() == kInterpolationNearest;
    const Columns columns = nearest ? nearestColumns(image, grid) : bilinearColumns(image, grid);
    const qv_Span run = middleRun(columns.counts);

    qv_CaliperProfile profile;
    profile.firstColumn = run.begin;
    profile.sums.assign(columns.sums.begin() + run.begin, columns.sums.begin() + run.end);
    profile.counts.assign(columns.counts.begin() + run.begin, columns.counts.begin() + run.end);
    profile.sumsAreWhole = nearest;
    return profile;
}

qv_CaliperStrengths qf_caliperStrengths(const qv_CaliperProfile& profile, long halfSize) {
    qv_CaliperStrengths result;
    result.firstBoundary = profile.firstColumn + halfSize;
    const std::size_t half = static_cast<std::size_t>(halfSize);
    const std::size_t columnCount = profile.sums.size();

    // The number of columns up to each one, itself included, that have as many samples as it has.
    std::vector<std::size_t> equalCounts(columnCount, 1);
    for (std::size_t i = 1; i < columnCount; ++i)
        if (profile.counts[i] == profile.counts[i - 1]) equalCounts[i] = equalCounts[i - 1] + 1;

    for (std::size_t boundary = half; boundary + half <= columnCount; ++boundary) {
        const std::size_t last = boundary + half - 1;
        const double samplesOfSide = static_cast<double>(halfSize * profile.counts[last]);
        const bool byOneDivision = profile.sumsAreWhole && equalCounts[last] >= 2 * half;
        result.strengths.push_back(byOneDivision ? strengthOfEqualColumns(profile, boundary, half, samplesOfSide)
                                                 : meanOfColumns(profile, boundary, half) -
                                                       meanOfColumns(profile, boundary - half, half));
    }
    return result;
}
