/// @file
/// Edge points: the pels around the edge of a street, block by block along it, gathered by their distance from a line.
#ifndef QVSTREET_PROJECTION_EDGE_POINTS_H
#define QVSTREET_PROJECTION_EDGE_POINTS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "qvstreet/projection/street_axes.h"

/// Pels looked at across the edge, and the classes of subpel position they fall into.
constexpr std::size_t kEdgePels = 16;
constexpr std::size_t kEdgePhases = 8;

/// Grey levels around a line over a stretch of it, gathered by their distance from the line.
///
/// In column u the line passes through v = i + f, with i whole and -0.5 <= f < 0.5. The pel i + k - 8, for k from 0 to
/// 15, lies k - 7.5 - f pels beyond it; columns whose f falls into the same eighth share a sum.
struct qv_EdgeSums {
    std::array<std::array<std::uint16_t, kEdgePels>, kEdgePhases> sums;
    /// Columns per eighth.
    std::array<std::uint32_t, kEdgePhases> counts;
    /// Mean of f minus the middle of its eighth.
    double phaseShift;
};

/// Gathers the pels around `line` from column `first` on over `count` columns, at most 64: pels `firstPel` up to but
/// not including `lastPel`; the other sums may hold anything.
/// @returns false, with nothing of use in `block`, where some of these pels lie outside the image
bool qf_gatherEdge(const qv_UvPels& pels, const qv_UvLine& line, long first, long count, std::size_t firstPel,
                   std::size_t lastPel, qv_EdgeSums& block);

#endif
