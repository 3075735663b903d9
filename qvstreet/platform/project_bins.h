/// @file
/// Resampling fused with summation: the row or column sums of a resampled image that is never made.
#ifndef QVSTREET_PLATFORM_PROJECT_BINS_H
#define QVSTREET_PLATFORM_PROJECT_BINS_H

#include <array>
#include <cstdint>

#include "qvstreet/platform/projection_kernels.h"
#include "qvstreet/platform/sample_grid.h"

/// A grid of samples seen as bins: bin b sums the samples start + b * binStep + a * acrossStep for all a.
struct qv_BinWalk {
    bool reachesSource = false;
    qv_FixedVector start;
    qv_FixedVector acrossStep;
    qv_FixedVector binStep;
    long acrossCount = 0;
    long binCount = 0;
};

/// One bin for each row of samples.
inline qv_BinWalk qf_binsOfRows(const qv_SampleGrid& grid) {
    return {grid.reachesSource, grid.start, grid.xStep, grid.yStep, grid.xCount, grid.yCount};
}

/// One bin for each column of samples.
inline qv_BinWalk qf_binsOfColumns(const qv_SampleGrid& grid) {
    return {grid.reachesSource, grid.start, grid.yStep, grid.xStep, grid.yCount, grid.xCount};
}

/// Some successive bins of a projection; small enough for the stack and the first-level cache.
///
/// 32 bits are room enough: a bin has at most 32767 samples, so a sum stays below 2^23 and a sum of squares below 2^31.
struct qv_BinBlock {
    static constexpr long kMostBins = 512;

    /// The number of bins in the block.
    long binCount = 0;
    /// The elements behind the last bin are the kernels' and stay 0.
    std::array<std::uint32_t, kMostBins + kBinsBehind> sums;
    std::array<std::uint32_t, kMostBins + kBinsBehind> squareSums;
    /// Samples inside the source. Samples outside are 0 and add nothing to the sums.
    std::array<std::uint32_t, kMostBins> counts;
};

/// Computes the bins from `firstBin` on, as many as fit the block.
/// @param image          the source that the grid was made for
/// @param interpolation  1 nearest pel, 2 bilinear
void qf_projectBinBlock(const qvPelBuffer_const<unsigned char>& image, const qv_BinWalk& walk, long interpolation,
                        long firstBin, qv_BinBlock& block);

#endif
