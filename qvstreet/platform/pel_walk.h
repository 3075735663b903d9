/// @file
/// Walks through a source as the kernels take them.
#ifndef QVSTREET_PLATFORM_PEL_WALK_H
#define QVSTREET_PLATFORM_PEL_WALK_H

#include <algorithm>
#include <cstdint>

#include "qvstreet/platform/projection_kernels.h"
#include "qvstreet/platform/sample_kernel.h"

/// Whether the kernels pay for a step: they copy runs of samples that keep their row and keep step with the columns, and
/// runs of less than four thirds of a sample, which is slopes beyond 35 degrees, cost as much as samples one by one.
inline bool qf_kernelsFollow(const qv_FixedVector& step) {
    constexpr std::int64_t kMostMovement = kFixedOne / 4 * 3;
    const std::int64_t columnMovement = std::max(step.x - kFixedOne, kFixedOne - step.x);
    const std::int64_t rowMovement = std::max(step.y, -step.y);
    // One by one first: two of the largest steps together do not fit.
    return columnMovement <= kMostMovement && rowMovement <= kMostMovement &&
           columnMovement + rowMovement <= kMostMovement;
}

inline qv_BorderRhythm qf_borderRhythm(std::int64_t movement) {
    qv_BorderRhythm rhythm;
    if (movement == 0) return rhythm;
    const std::int64_t magnitude = std::max(movement, -movement);
    rhythm.movement = static_cast<std::uint64_t>(magnitude);
    rhythm.steps = kFixedOne / magnitude;
    rhythm.remainder = static_cast<std::uint64_t>(kFixedOne % magnitude);
    return rhythm;
}

/// Of a step that the kernels follow.
inline qv_WalkStep qf_walkStep(const qv_FixedVector& step) {
    return {step.x, step.y, qf_borderRhythm(step.x - kFixedOne), qf_borderRhythm(step.y)};
}

/// `count` samples, 1 or more, from `first` on, all of them in the interior.
inline qv_PelWalk qf_pelWalk(const qv_PelSource& source, const qv_FixedVector& first, long count) {
    qv_PelWalk walk;
    walk.pels = source.pels;
    walk.rowUpdate = source.rowUpdate;
    walk.width = source.width;
    walk.x = first.x + qv_BilinearKernel::kShift;
    walk.y = first.y + qv_BilinearKernel::kShift;
    walk.count = count;
    return walk;
}

#endif
