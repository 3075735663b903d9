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
// On the way a wide template is used, which draws an edge in from two pels aside, and a dozen blocks. The last pass
// takes all blocks, with the blur that the edges themselves show, and is repeated where the lines moved.
#include "qvstreet/projection/street_track.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "qvstreet/projection/edge_follower.h"

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
// The last pass is repeated until the lines move by less: the offset of an edge enters its template by the first
// derivative alone, which is exact to 0.0005 pels this near.
constexpr double kLastSettledPels = 0.1;

// Blocks of the last pass: enough for the fit to tell pads from edges, long enough to be cheap.
constexpr long kShortestBlock = 8;
constexpr long kLongestBlock = 32;
constexpr long kBlocksAlong = 64;

constexpr long kFewestBlocks = 6;
// Of the blocks looked at, the share that has to show the edge.
constexpr double kLeastShare = 0.5;
// Points that scatter wider than this do not say where the edge is.
constexpr double kSteadyPels = 1.0;
constexpr int kLastPasses = 3;
constexpr int kRoundsOfDisturbed = 3;
// Of an edge with no blur but the pel's own, which a row of pels shows as one grey level between two others: how far it
// may be from where the least blurred template puts it.
constexpr double kGridDeviationPels = 0.03;
// The same of edges more blurred than the widest template.
constexpr double kBlurDeviationPels = 0.1;
// Whether a street goes on is looked up to so many reaches from the start.
constexpr double kBeyondReach = 1.5;
// What remains in an edge's position, pels, of the structures whose nearer pels were left out of its window: towards
// the street's inside at one edge as at the other, where they are alike.
constexpr double kCutDeviationPels = 0.012;
// The same of structures that touch the edge itself, so that their blur reaches into it.
constexpr double kTouchedDeviationPels = 0.1;

// Nearer to the other edge than so many blurs, the street is not level any more; but these pels on the inside are
// needed.
constexpr double kOtherEdgeSigmas = 2.0;
constexpr double kLeastInside = 2.0;
// Of a street with one edge: its other edge is nowhere near.
constexpr double kFarPels = 1e3;
// Streets whose edges are no further apart than this, pels, are followed as a whole: their edges run into each other.
// With a blur of 1.2 pels at first.
constexpr double kWidestBar = 7.0;
constexpr long kBarBlurStep = 15;
// Standard deviation of the width of such a street, pels, and what each pel adds that three blurs exceed it by.
constexpr double kBlursInWidth = 3.0;
constexpr double kBarWidthDeviation = 0.08;
constexpr double kBlurredWidthDeviation = 0.4;
// The centre line's deviation, from noise alone, below which more blocks than every second one only cost time.
constexpr double kWantedPels = 0.003;

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
template <class Windows>
bool follow(qv_EdgeFollower& track, const std::vector<qv_EdgeBlock>& blocks, const Windows& windows, double u0,
            double farthest) {
    double nearest = farthest;
    for (const qv_EdgeBlock& block : blocks) nearest = std::min(nearest, std::fabs(block.middle() - u0));
    for (double reach = nearest + kFirstReach;; reach *= kFurther) {
        const std::vector<qv_EdgeBlock> some = qf_someWithin(blocks, u0, reach, kBlocksOnTheWay);
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

/// What a track runs over.
struct Course {
    double u0;
    double farthest;
    /// For the way, and for the last pass.
    long shortColumns;
    long columns;
    std::vector<qv_EdgeBlock> shortBlocks;
    std::vector<qv_EdgeBlock> blocks;
    /// From the end of the reach to half as far again.
    std::vector<qv_EdgeBlock> beyond;
};

Course courseAlong(const qv_UvPels& pels, double u0, const qv_TrackRange& range) {
    Course course{};
    course.u0 = u0;
    const double along = std::min(static_cast<double>(pels.uSize), 2.0 * range.reach);
    course.columns = std::clamp(static_cast<long>(along) / kBlocksAlong / 8 * 8, kShortestBlock, kLongestBlock);
    course.shortColumns = std::min(course.columns, kLongestOnTheWay);
    course.blocks = qf_blocksAlong(pels, u0, range, course.columns);
    course.shortBlocks = qf_blocksAlong(pels, u0, range, course.shortColumns);
    for (const qv_EdgeBlock& block : course.blocks)
        course.farthest = std::max(course.farthest, std::fabs(block.middle() - u0));
    for (const qv_EdgeBlock& block :
         qf_blocksAlong(pels, u0, {kBeyondReach * range.reach, range.crossings}, course.shortColumns))
        if (std::fabs(block.middle() - u0) > range.reach) course.beyond.push_back(block);
    return course;
}

/// The last passes, over as many blocks as it takes; false where too few of them show the street.
template <class Windows>
bool fitAll(qv_EdgeFollower& track, const Course& course, const Windows& windows) {
    const long needed = blocksNeeded(track.fitted(), track.edges(), static_cast<long>(course.blocks.size()),
                                     course.columns, course.shortColumns);
    const std::vector<qv_EdgeBlock> enough = qf_someWithin(course.blocks, course.u0, course.farthest, needed);
    for (int pass = 0; pass < kLastPasses; ++pass) {
        track.look(enough, windows, false);
        track.refuseOddOnes();
        double moved = 0.0;
        if (!track.fit(kFewestBlocks, course.farthest, moved)) return false;
        if (moved < kLastSettledPels) break;
    }
    return true;
}

/// Stores the points, and looks whether the street goes on where the fit ends.
template <class Windows>
void lookBeyond(qv_EdgeFollower& track, const Course& course, const Windows& windows, qv_StreetTrack& result) {
    result.points = track.points();
    const double usual = track.usualContrast();
    track.look(course.beyond, windows, false);
    result.shareBeyond = track.shareShowing(usual);
}

/// What the stacked blocks of the edges show of their blur and of what lies beside them.
struct Shape {
    long step = 0;
    std::array<qv_EdgeStack::Pels, 2> pels{};
    std::array<double, 2> deviation{};
    bool isDisturbed() const { return deviation[0] > 0.0 || deviation[1] > 0.0; }
};

Shape shapeOf(const qv_EdgeFollower& track, double width, qv_EdgeTemplates& templates) {
    const std::array<qv_EdgeStack, 2>& stacks = track.stacks();
    Shape shape;
    shape.step = templates.bestStep(stacks);
    const qv_EdgeTemplate& edge = templates.of(shape.step);
    for (std::size_t e = 0; e < static_cast<std::size_t>(track.edges()); ++e) {
        const qv_EdgeStack::Pels like = stacks[e].likeEdge(edge);
        const qv_EdgeStack::Pels nearest = qv_EdgeStack::nearest(edge);
        const qv_EdgeWindow window = windowFor(edge, like, e, width);
        shape.pels[e] = {window.first(), window.last()};
        const bool cut = window.first() > 0 || window.last() < kEdgePels;
        const bool touched =
            (like.first > 0 && like.first >= nearest.first) || (like.last < kEdgePels && like.last <= nearest.last);
        const double least = touched ? kTouchedDeviationPels : cut ? kCutDeviationPels : 0.0;
        shape.deviation[e] = std::hypot(least, stacks[e].shapeDeviation(edge, shape.pels[e]));
    }
    if (track.edges() == 1) shape.pels[1] = shape.pels[0];
    return shape;
}

/// Both edges, or the one, each fitted to its own pels.
bool trackEdges(qv_EdgeFollower& track, const Course& course, double width, qv_EdgeTemplates& templates,
                qv_StreetTrack& result) {
    const qv_EdgeTemplate& wide = templates.of(wideStep(width));
    const qv_EdgeStack::Pels all{0, kEdgePels};
    const std::array<qv_EdgeWindow, 2> wideWindows{windowFor(wide, all, 0, width), windowFor(wide, all, 1, width)};
    if (!follow(track, course.shortBlocks, wideWindows, course.u0, course.farthest)) return false;

    // From here on the templates have the edges' own blur, and leave out what the street carries near them.
    Shape shape = shapeOf(track, width, templates);
    if (shape.isDisturbed()) {
        // What lies beside the edges has drawn the wide template aside: once more with the nearest pels alone.
        const std::vector<qv_EdgeBlock> some =
            qf_someWithin(course.shortBlocks, course.u0, course.farthest, kBlocksOnTheWay);
        for (int round = 0; round < kRoundsOfDisturbed; ++round) {
            const qv_EdgeTemplate& edge = templates.of(shape.step);
            const qv_EdgeStack::Pels nearest = qv_EdgeStack::nearest(edge);
            double moved = 0.0;
            track.look(
                some,
                std::array<qv_EdgeWindow, 2>{windowFor(edge, nearest, 0, width), windowFor(edge, nearest, 1, width)},
                true);
            shape = shapeOf(track, width, templates);
            track.refuseOddOnes();
            if (!track.fit(3, course.farthest, moved)) return false;
            if (moved < kLastSettledPels) break;
        }
    }
    result.blur = qv_EdgeTemplates::sigmaOf(shape.step);
    result.shapeDeviation = shape.deviation;
    const std::array<qv_EdgeWindow, 2> windows{
        qv_EdgeWindow(templates.of(shape.step), shape.pels[0].first, shape.pels[0].last),
        qv_EdgeWindow(templates.of(shape.step), shape.pels[1].first, shape.pels[1].last)};
    const bool fitted = fitAll(track, course, windows);
    lookBeyond(track, course, wideWindows, result);
    return fitted;
}

/// The two edges of a street whose centre line was followed, `width` apart along v.
qv_EdgeLines edgesAround(const qv_EdgeLines& centre, double width) {
    qv_EdgeLines lines = centre;
    lines.offset = {centre.offset[0] - 0.5 * width, centre.offset[0] + 0.5 * width};
    lines.slope = {centre.slope[0], centre.slope[0]};
    lines.scatter = {centre.scatter[0], centre.scatter[0]};
    for (std::size_t a = 0; a < 4; ++a)
        for (std::size_t b = 0; b < 4; ++b) lines.covariance[a][b] = centre.covariance[a / 2 * 2][b / 2 * 2];
    return lines;
}

/// A narrow street as a whole, by its centre line.
bool trackBar(qv_EdgeFollower& track, const Course& course, double width, qv_BarTemplates& templates,
              qv_StreetTrack& result) {
    const long widthStep = qv_BarTemplates::stepOfWidth(width);
    const std::array<qv_BarTemplate, 1> wide{templates.of(kBarBlurStep, widthStep)};
    if (!follow(track, course.shortBlocks, wide, course.u0, course.farthest)) return false;

    const qv_BarTemplates::Best best = templates.best(track.stacks()[0]);
    result.blur = best.shape->sigma();
    result.barWidth = best.width;
    // Of a street narrower than its blur, width and contrast can hardly be told apart.
    const double blurred = std::max(0.0, kBlursInWidth * result.blur - best.width);
    result.shapeDeviation[0] = result.shapeDeviation[1] = 0.5 * (kBarWidthDeviation + kBlurredWidthDeviation * blurred);
    const bool fitted = fitAll(track, course, std::array<qv_BarTemplate, 1>{*best.shape});
    lookBeyond(track, course, wide, result);
    return fitted;
}

/// Whether most of the points agree on lines that are straight.
qv_TrackEnd judge(const qv_EdgeLines& lines, long edges) {
    for (std::size_t e = 0; e < static_cast<std::size_t>(edges); ++e) {
        const double used = static_cast<double>(lines.used[e]);
        if (used < kLeastShare * (used + static_cast<double>(lines.refused[e]))) return qv_TrackEnd::tooFew;
        if (lines.scatter[e] > kSteadyPels) return qv_TrackEnd::unsteady;
    }
    return qv_TrackEnd::fitted;
}

qv_UvRange extentOf(const std::vector<qv_EdgePoint>& points) {
    qv_UvRange extent{1e300, -1e300};
    for (const qv_EdgePoint& point : points) {
        if (!point.used) continue;
        extent.low = std::min(extent.low, point.u);
        extent.high = std::max(extent.high, point.u);
    }
    return extent;
}

}  // namespace

qv_StreetTrack qf_trackStreet(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges,
                              const qv_TrackRange& range, qv_StreetTemplates& templates) {
    const bool one = edges.found == qv_EdgesFound::one;
    const double width = one ? kFarPels : edges.offset[1] - edges.offset[0];
    const bool asBar = width <= kWidestBar;
    qv_StreetTrack result;
    qv_EdgeFollower track(pels, centre, edges, asBar);
    result.edges = one ? 1 : 2;
    const Course course = courseAlong(pels, centre.u0, range);
    if (static_cast<long>(course.blocks.size()) < kFewestBlocks) return result;

    const bool followed = asBar ? trackBar(track, course, width, templates.bars, result)
                                : trackEdges(track, course, width, templates.edges, result);
    result.end = qv_TrackEnd::tooFew;
    if (result.points.empty()) result.points = track.points();
    if (!followed) return result;
    result.end = judge(track.fitted(), track.edges());
    result.extent = extentOf(result.points);
    const double drift = std::fabs(track.fitted().slope[0]) * (result.extent.high - result.extent.low);
    if (result.blur <= qv_EdgeTemplates::sigmaOf(0) && drift < 1.0) result.gridDeviation = kGridDeviationPels;
    if (result.blur >= qv_EdgeTemplates::sigmaOf(qv_EdgeTemplates::kCount - 1))
        result.gridDeviation = kBlurDeviationPels;
    result.lines = asBar ? edgesAround(track.fitted(), result.barWidth) : track.fitted();
    return result;
}
