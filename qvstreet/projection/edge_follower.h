/// @file
/// Edge follower: edge points block by block about the present lines of a street, and the lines through them.
#ifndef QVSTREET_PROJECTION_EDGE_FOLLOWER_H
#define QVSTREET_PROJECTION_EDGE_FOLLOWER_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvstreet/projection/edge_line_fit.h"
#include "qvstreet/projection/edge_template.h"
#include "qvstreet/projection/street_edge_search.h"
#include "qvstreet/projection/street_track.h"

/// An edge further than this, pels, from where it is looked for is another one.
constexpr double kEdgeCapturePels = 3.0;

/// A stretch of the street: columns [first, first + count) along u.
struct qv_EdgeBlock {
    long first;
    long count;
    std::int32_t index;
    double middle() const { return static_cast<double>(first) + 0.5 * static_cast<double>(count); }
};

/// Blocks of `count` columns along the street, in order of u, where none of the crossings is.
std::vector<qv_EdgeBlock> qf_blocksAlong(const qv_UvPels& pels, double u0, const qv_TrackRange& range, long count);

/// Up to `most` of the blocks within `reach` of `u0`, evenly spread.
std::vector<qv_EdgeBlock> qf_someWithin(const std::vector<qv_EdgeBlock>& blocks, double u0, double reach, long most);

/// Looks at blocks around the edges of a street, or around the centre line of a narrow one, and fits lines to them.
class qv_EdgeFollower {
 public:
    /// @param asBar  follows the centre line of a narrow street instead of its edges
    qv_EdgeFollower(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges, bool asBar)
        : pels_(pels), u0_(centre.u0), edges_(asBar || edges.found == qv_EdgesFound::one ? 1 : 2) {
        if (asBar) {
            lines_[0] = centre.moved(0.5 * (edges.offset[0] + edges.offset[1]));
            rising_[0] = edges.contrast[0] > 0.0;
            return;
        }
        for (std::size_t e = 0; e < count(); ++e) {
            lines_[e] = centre.moved(edges.offset[e]);
            rising_[e] = edges.contrast[e] > 0.0;
        }
    }

    long edges() const { return edges_; }
    const std::vector<qv_EdgePoint>& points() const { return points_; }
    const qv_EdgeLines& fitted() const { return fitted_; }

    /// Edge points of the blocks about the present lines.
    /// @param windows  what is fitted at each edge
    /// @param stacked  whether to stack the blocks, too, with all their pels
    template <class Windows>
    void look(const std::vector<qv_EdgeBlock>& blocks, const Windows& windows, bool stacked) {
        points_.clear();
        stacks_ = {};
        for (const qv_EdgeBlock& block : blocks)
            for (std::size_t e = 0; e < count(); ++e) {
                qv_EdgePoint point;
                point.u = block.middle();
                point.edge = static_cast<std::int32_t>(e);
                point.block = block.index;
                qv_EdgeSums sums;
                // Where the line leaves the image there is no point to refuse.
                if (!qf_gatherEdge(pels_, lines_[e], block.first, block.count, stacked ? 0 : windows[e].first(),
                                   stacked ? kEdgePels : windows[e].last(), sums))
                    continue;
                qv_EdgeFit fit;
                point.used = windows[e].fit(sums, fit) && (fit.contrast > 0.0) == rising_[e] &&
                             std::fabs(fit.offset) <= kEdgeCapturePels;
                point.v = lines_[e].at(point.u) + (point.used ? fit.offset : 0.0);
                point.contrast = fit.contrast;
                point.misfit = fit.misfit;
                if (point.used && stacked) stacks_[e].add(sums, fit);
                points_.push_back(point);
            }
    }

    /// Takes out the blocks whose contrast or look differs from that of the others.
    void refuseOddOnes();

    /// The contrast, grey levels, below which a block like these does not show the edge.
    double usualContrast() const;
    /// Share of the points last looked at that are used and have this contrast; 1 where none was looked at.
    double shareShowing(double leastContrast) const;

    /// Fits the lines; `moved` tells by how much they moved within `reach` of the start.
    bool fit(long leastUsed, double reach, double& moved);

    /// What the blocks last stacked have in common.
    const std::array<qv_EdgeStack, 2>& stacks() const { return stacks_; }

 private:
    std::size_t count() const { return static_cast<std::size_t>(edges_); }

    const qv_UvPels& pels_;
    double u0_;
    long edges_;
    std::array<qv_UvLine, 2> lines_{};
    std::array<bool, 2> rising_{};
    std::vector<qv_EdgePoint> points_;
    qv_EdgeLines fitted_;
    std::array<qv_EdgeStack, 2> stacks_{};
};

#endif
