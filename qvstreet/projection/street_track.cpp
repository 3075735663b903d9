// Street track.
//
// In:  an image seen along a street; the street's direction to about half a degree and its edges to about a pel, in one
//      place.
// Out: the lines of its edges over the whole image.
//
//      |--|--|--|--|--|  crossing  |--|--|--|--|--|     blocks along u, none in a crossing
//                 <---- start ---->                     the first fit
//      <-------------- further -------------->          the second, on the line of the first; and so on
//
// On the way a wide template is used, which draws an edge in from two pels aside, and a dozen blocks. The last pass takes
// all blocks, with the blur that the edges themselves show, and is repeated where the lines moved.
#include "qvstreet/projection/street_track.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// Blur of the template used on the way, pels, and how many of it a street is wide at least.
constexpr double kMostWideBlur = 1.6;
constexpr double kLeastWideBlur = 0.8;
constexpr double kWidthInWideBlurs = 3.5;
// Half of the first fit's length, pels, and what each further one is longer by.
constexpr double kFirstReach = 72.0;
constexpr double kFurther = 4.0;
constexpr long kBlocksOnTheWay = 12;
constexpr long kLongestOnTheWay = 16;
constexpr int kRoundsOfOneReach = 4;
// A fit that moved the lines by less has settled.
constexpr double kSettledPels = 0.3;
// The last pass is repeated until the lines move by less: the offset of an edge enters its template by the first derivative
// alone, which is exact to 0.0005 pels this near.
constexpr double kLastSettledPels = 0.1;
// An edge further than this from where it is looked for is another one.
constexpr double kCapturePels = 3.0;

// Blocks of the last pass: enough for the fit to tell pads from edges, long enough to be cheap.
constexpr long kShortestBlock = 8;
constexpr long kLongestBlock = 32;
constexpr long kBlocksAlong = 64;

constexpr long kFewestBlocks = 6;
// Of the blocks looked at, the share that has to show the edge.
constexpr double kLeastShare = 0.3;
// A block's contrast, of the median one's: less is a crossing or a gap, more is another structure.
constexpr double kLeastContrastShare = 0.4;
constexpr double kMostContrastShare = 2.5;
// A block that looks this much less like an edge than the median block holds something else as well.
constexpr double kMisfitShare = 3.0;
// Points that scatter wider than this do not say where the edge is.
constexpr double kSteadyPels = 1.0;
constexpr int kLastPasses = 3;
// What remains in an edge's position, pels, of the structures whose nearer pels were left out of its window: towards the
// street's inside at one edge as at the other, so the street's centre hardly notices.
constexpr double kCutDeviationPels = 0.012;

// Nearer to the other edge than so many blurs, the street is not level any more; but these pels on the inside are needed.
constexpr double kOtherEdgeSigmas = 2.0;
constexpr double kLeastInside = 2.0;
// Of a street with one edge: its other edge is nowhere near.
constexpr double kFarPels = 1e3;
// The centre line's deviation, from noise alone, below which more blocks than every second one only cost time.
constexpr double kWantedPels = 0.003;

struct Block {
    long first;
    long count;
    std::int32_t index;
    double middle() const { return static_cast<double>(first) + 0.5 * static_cast<double>(count); }
};

/// Blocks of `count` columns along the street, in order of u, where none of the crossings is.
std::vector<Block> blocksAlong(const qv_UvPels& pels, double u0, const qv_TrackRange& range, long count) {
    std::vector<Block> blocks;
    const double low = std::max(0.0, u0 - range.reach);
    const double high = std::min(static_cast<double>(pels.uSize), u0 + range.reach);
    std::int32_t index = 0;
    for (long first = static_cast<long>(low); static_cast<double>(first + count) <= high; first += count, ++index)
        if (!qf_meetsRange(range.crossings, first, count)) blocks.push_back({first, count, index});
    return blocks;
}

/// Up to `most` of the blocks within `reach` of `u0`, evenly spread.
std::vector<Block> someWithin(const std::vector<Block>& blocks, double u0, double reach, long most) {
    std::vector<Block> within;
    for (const Block& block : blocks)
        if (std::fabs(block.middle() - u0) <= reach) within.push_back(block);
    const long count = static_cast<long>(within.size());
    if (count <= most) return within;
    std::vector<Block> some;
    for (long i = 0; i < most; ++i) some.push_back(within[static_cast<std::size_t>(i * (count - 1) / (most - 1))]);
    return some;
}

double quantileOf(std::vector<double>& values, double share) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size()));
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

class Track {
 public:
    Track(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges)
        : pels_(pels), u0_(centre.u0), edges_(edges.found == qv_EdgesFound::one ? 1 : 2) {
        for (std::size_t e = 0; e < count(); ++e) {
            lines_[e] = centre.moved(edges.offset[e]);
            rising_[e] = edges.contrast[e] > 0.0;
        }
    }

    long edges() const { return edges_; }
    const std::vector<qv_EdgePoint>& points() const { return points_; }
    const qv_EdgeLines& fitted() const { return fitted_; }

    /// Edge points of the blocks about the present lines.
    void look(const std::vector<Block>& blocks, const std::array<qv_EdgeWindow, 2>& windows, bool stacked) {
        points_.clear();
        stacks_ = {};
        for (const Block& block : blocks)
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
                             std::fabs(fit.offset) <= kCapturePels;
                point.v = lines_[e].at(point.u) + (point.used ? fit.offset : 0.0);
                point.contrast = fit.contrast;
                point.misfit = fit.misfit;
                if (point.used && stacked) stacks_[e].add(sums, fit);
                points_.push_back(point);
            }
    }

    /// Takes out the blocks whose contrast or look differs from that of the others.
    void refuseOddOnes() {
        std::vector<double> contrasts;
        std::vector<double> misfits;
        for (std::size_t e = 0; e < count(); ++e) {
            contrasts.clear();
            misfits.clear();
            for (const qv_EdgePoint& point : points_) {
                if (!point.used || point.edge != static_cast<std::int32_t>(e)) continue;
                contrasts.push_back(std::fabs(point.contrast));
                misfits.push_back(point.misfit);
            }
            if (contrasts.empty()) continue;
            const double contrast = quantileOf(contrasts, 0.5);
            const double misfit = quantileOf(misfits, 0.25);
            for (qv_EdgePoint& point : points_) {
                if (!point.used || point.edge != static_cast<std::int32_t>(e)) continue;
                const double magnitude = std::fabs(point.contrast);
                point.used = magnitude >= kLeastContrastShare * contrast &&
                             magnitude <= kMostContrastShare * contrast && point.misfit <= kMisfitShare * misfit;
            }
        }
    }

    /// Fits the lines; `moved` tells by how much they moved within `reach` of the start.
    bool fit(long leastUsed, double reach, double& moved) {
        qv_EdgeLines lines;
        if (!qf_fitEdgeLines(points_, edges_, leastUsed, lines)) return false;
        fitted_ = lines;
        moved = 0.0;
        const double low = std::max(0.0, u0_ - reach);
        const double high = std::min(static_cast<double>(pels_.uSize), u0_ + reach);
        for (std::size_t e = 0; e < count(); ++e) {
            const qv_UvLine line{lines.u0, lines.offset[e], lines.slope[e]};
            moved = std::max(
                {moved, std::fabs(line.at(low) - lines_[e].at(low)), std::fabs(line.at(high) - lines_[e].at(high))});
            lines_[e] = line;
        }
        return true;
    }

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

/// Of these pels, none so far inside the street that they belong to its other edge.
/// @param edge   0 or 1: which side of its line the street lies on
/// @param width  pels along v
qv_EdgeWindow windowFor(const qv_EdgeTemplate& shape, qv_EdgeStack::Pels pels, std::size_t edge, double width) {
    constexpr std::size_t kHalf = kEdgePels / 2;
    const double inside = std::floor(width - kOtherEdgeSigmas * shape.sigma());
    const std::size_t limit = static_cast<std::size_t>(std::clamp(inside, kLeastInside, static_cast<double>(kHalf)));
    if (edge == 0)
        pels.last = std::min(pels.last, kHalf + limit);
    else
        pels.first = std::max(pels.first, kHalf - limit);
    return qv_EdgeWindow(shape, pels.first, pels.last);
}

/// The template used on the way: wide, but not wider than a narrow street allows.
long wideStep(double width) {
    const double sigma = std::clamp(width / kWidthInWideBlurs, kLeastWideBlur, kMostWideBlur);
    long step = 0;
    while (qv_EdgeTemplates::sigmaOf(step) < sigma) ++step;
    return step;
}

/// Lengthens the fit step by step until it reaches the ends.
bool follow(Track& track, const std::vector<Block>& blocks, const std::array<qv_EdgeWindow, 2>& windows, double u0,
            double farthest) {
    double nearest = farthest;
    for (const Block& block : blocks) nearest = std::min(nearest, std::fabs(block.middle() - u0));
    for (double reach = nearest + kFirstReach;; reach *= kFurther) {
        const std::vector<Block> some = someWithin(blocks, u0, reach, kBlocksOnTheWay);
        for (int round = 0; round < kRoundsOfOneReach; ++round) {
            double moved = 0.0;
            track.look(some, windows, true);
            track.refuseOddOnes();
            if (!track.fit(3, reach, moved)) return false;
            if (moved < kSettledPels) break;
        }
        if (reach >= farthest) return true;
    }
}

/// How many blocks make the centre line as exact as it needs to be, from what the short ones scatter by.
long blocksNeeded(const qv_EdgeLines& lines, long edges, long blocks, long columns, long shortColumns) {
    double variance = 0.0;
    double share = 1.0;
    for (std::size_t e = 0; e < static_cast<std::size_t>(edges); ++e) {
        variance += lines.scatter[e] * lines.scatter[e] / static_cast<double>(edges * edges);
        const double used = static_cast<double>(lines.used[e]);
        share = std::min(share, used / (used + static_cast<double>(lines.refused[e])));
    }
    variance *= static_cast<double>(shortColumns) / static_cast<double>(columns);
    const double needed = variance / (kWantedPels * kWantedPels * share);
    return std::max(blocks / 2, static_cast<long>(std::min(needed, 1e6)) + 1);
}

long usedOf(const qv_EdgeLines& lines, std::size_t e) { return lines.used[e]; }

}  // namespace

qv_StreetTrack qf_trackStreet(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges,
                              const qv_TrackRange& range, qv_EdgeTemplates& templates) {
    qv_StreetTrack result;
    Track track(pels, centre, edges);
    result.edges = track.edges();

    const double along = std::min(static_cast<double>(pels.uSize), 2.0 * range.reach);
    const long columns = std::clamp(static_cast<long>(along) / kBlocksAlong / 8 * 8, kShortestBlock, kLongestBlock);
    const long shortColumns = std::min(columns, kLongestOnTheWay);
    const std::vector<Block> blocks = blocksAlong(pels, centre.u0, range, columns);
    const std::vector<Block> shortBlocks = blocksAlong(pels, centre.u0, range, shortColumns);
    const long count = static_cast<long>(blocks.size());
    if (count < kFewestBlocks) return result;

    result.end = qv_TrackEnd::tooFew;
    double farthest = 0.0;
    for (const Block& block : blocks) farthest = std::max(farthest, std::fabs(block.middle() - centre.u0));
    const double width = edges.found == qv_EdgesFound::one ? kFarPels : edges.offset[1] - edges.offset[0];
    const qv_EdgeTemplate& wide = templates.of(wideStep(width));
    const qv_EdgeStack::Pels all{0, kEdgePels};
    if (!follow(track, shortBlocks, {windowFor(wide, all, 0, width), windowFor(wide, all, 1, width)}, centre.u0,
                farthest)) {
        result.points = track.points();
        return result;
    }

    // From here on the templates have the edges' own blur, and leave out what the street carries near them.
    const std::array<qv_EdgeStack, 2> stacks = track.stacks();
    const long step = templates.bestStep(stacks);
    const qv_EdgeTemplate& edge = templates.of(step);
    const std::array<qv_EdgeWindow, 2> windows{windowFor(edge, stacks[0].likeEdge(edge), 0, width),
                                               windowFor(edge, stacks[1].likeEdge(edge), 1, width)};
    const std::vector<Block> enough = someWithin(
        blocks, centre.u0, farthest, blocksNeeded(track.fitted(), track.edges(), count, columns, shortColumns));
    for (int pass = 0; pass < kLastPasses; ++pass) {
        track.look(enough, windows, false);
        track.refuseOddOnes();
        double moved = 0.0;
        const bool fitted = track.fit(kFewestBlocks, farthest, moved);
        result.points = track.points();
        if (!fitted) return result;
        if (moved < kLastSettledPels) break;
    }
    result.lines = track.fitted();
    result.blur = qv_EdgeTemplates::sigmaOf(step);
    for (std::size_t e = 0; e < static_cast<std::size_t>(result.edges); ++e) {
        const bool cut = windows[e].first() > 0 || windows[e].last() < kEdgePels;
        result.shapeDeviation[e] = cut ? kCutDeviationPels : 0.0;
    }
    result.extent = {1e300, -1e300};
    for (const qv_EdgePoint& point : result.points) {
        if (!point.used) continue;
        result.extent.low = std::min(result.extent.low, point.u);
        result.extent.high = std::max(result.extent.high, point.u);
    }
    for (std::size_t e = 0; e < static_cast<std::size_t>(result.edges); ++e) {
        const double looked = static_cast<double>(usedOf(result.lines, e) + result.lines.refused[e]);
        if (static_cast<double>(usedOf(result.lines, e)) < kLeastShare * looked) return result;
        if (result.lines.scatter[e] > kSteadyPels) {
            result.end = qv_TrackEnd::unsteady;
            return result;
        }
    }
    result.end = qv_TrackEnd::fitted;
    return result;
}
