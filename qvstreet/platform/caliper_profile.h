/// @file
/// The profile of a caliper: what lies between the image and the edges.
#ifndef QVSTREET_PLATFORM_CALIPER_PROFILE_H
#define QVSTREET_PLATFORM_CALIPER_PROFILE_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/sampling.h"

/// The columns of a sampled rectangle that a caliper looks at. Column `firstColumn + i` is element i of either vector.
struct qv_CaliperProfile {
    /// Counted from the rectangle's first column.
    long firstColumn = 0;
    /// Sum of the samples inside the image: whole numbers with nearest-pel sampling.
    std::vector<double> sums;
    /// Number of the samples inside the image, 1 or more.
    std::vector<std::int64_t> counts;
    /// Whether the sums are whole numbers.
    bool sumsAreWhole = false;
};

/// How much the profile changes at the boundaries between columns.
struct qv_CaliperStrengths {
    /// Strength i belongs to the boundary before column `firstBoundary + i`, counted from the rectangle's first column.
    long firstBoundary = 0;
    /// Grey levels, positive for a rise.
    std::vector<double> strengths;
};

/// The run of columns with samples inside the image around the rectangle's middle; empty if there is none.
/// @throws as qfAffineTransformImage
qv_CaliperProfile qf_caliperProfile(const qvPelBuffer_const<unsigned char>& image,
                                    const qvAffineSamplingParams& sampling);

/// The mean of the `halfSize` columns from a boundary on minus that of the `halfSize` columns before it, for every
/// boundary that has as many on both sides.
/// @param halfSize  1 or more
qv_CaliperStrengths qf_caliperStrengths(const qv_CaliperProfile& profile, long halfSize);

#endif
