// Four-line crosses.
//
// In:  the pairs of both directions, client frame.
// Out: crosses with eight segments, best first by how long and how parallel their four lines are.
//
//           |   |
//      -----+---+-----       each long line is fitted as both its arms, then cut at the corners: what lies between them
//      -----+---+-----       belongs to neither arm
//           |   |
#include "qvstreet/candidates/four_line_crosses.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

// Cosine of the largest angle, 18.2 degrees, between the two lines of a pair.
constexpr double kLeastDotProduct = 0.95;
// The four lines together run through at least this much of the image's perimeter.
constexpr double kLeastPerimeterFraction = 0.4;
constexpr double kSkewWeight = 0.3;
constexpr double kStubFraction = 0.1;
constexpr long kCrossesPerResult = 10;

/// Sets `shapes` to the pairs whose lines are nearly parallel.
void parallelPairs(const std::vector<qv_candPair>& pairs, const std::vector<qv_ridgeLine>& flatLines,
                   std::vector<qv_pairShape>& shapes) {
    shapes.clear();
    shapes.reserve(pairs.size());
    for (const qv_candPair& pair : pairs) {
        const qv_ridgeLine& line1 = lineAt(flatLines, pair.line1);
        const qv_ridgeLine& line2 = lineAt(flatLines, pair.line2);
        const double dotProduct =
            std::fabs(qvVector<2>(1.0, line1.line.angle()) * qvVector<2>(1.0, line2.line.angle()));
        if (!(dotProduct > kLeastDotProduct)) continue;
        shapes.push_back({&pair, dotProduct, std::fabs(line1.extent), std::fabs(line2.extent)});
    }
}

bool isBetter(const qv_rankedCross& a, const qv_rankedCross& b) {
    if (qf_ascending(a.score, b.score)) return true;
    if (qf_ascending(b.score, a.score)) return false;
    return a.order < b.order;
}

/// Keeps the best `most` of any number of crosses, without ever holding many more.
class BestCrosses {
 public:
    /// @param crosses  where they are kept; emptied
    BestCrosses(std::size_t most, std::vector<qv_rankedCross>& crosses) : most_(most), crosses_(crosses) {
        crosses_.clear();
    }

    void add(const qv_rankedCross& cross) {
        if (most_ == 0) return;
        if (full_ && !isBetter(cross, worstKept_)) return;
        crosses_.push_back(cross);
        if (crosses_.size() >= 2 * most_ + kSlack) cut();
    }

    void sort() {
        std::sort(crosses_.begin(), crosses_.end(), isBetter);
        if (crosses_.size() > most_) crosses_.resize(most_);
    }

 private:
    static constexpr std::size_t kSlack = 1024;

    void cut() {
        const auto last = crosses_.begin() + static_cast<std::ptrdiff_t>(most_ - 1);
        std::nth_element(crosses_.begin(), last, crosses_.end(), isBetter);
        worstKept_ = *last;
        full_ = true;
        crosses_.resize(most_);
    }

    std::size_t most_;
    std::vector<qv_rankedCross>& crosses_;
    qv_rankedCross worstKept_{};
    bool full_ = false;
};

/// The best crosses, best first; in the store's scratch.
const std::vector<qv_rankedCross>& bestCrosses(const qv_candidateStore& store,
                                               const std::vector<qv_ridgeLine>& flatLines, double perimeter,
                                               long most) {
    qv_candidateScratch& scratch = store.scratch;
    std::vector<qv_pairShape>& vertical = scratch.verticalShapes;
    std::vector<qv_pairShape>& horizontal = scratch.horizontalShapes;
    parallelPairs(store.vpairs_, flatLines, vertical);
    parallelPairs(store.hpairs_, flatLines, horizontal);
    // Never more than there are, so that no number asked for is too large to count with.
    BestCrosses best(std::min(static_cast<std::size_t>(std::max(most, 0L)), vertical.size() * horizontal.size()),
                     scratch.ranked);
    std::size_t order = 0;
    for (const qv_pairShape& p : vertical)
        for (const qv_pairShape& q : horizontal) {
            const double total = p.extent1 + q.extent2 + p.extent2 + q.extent1;
            if (!(total > perimeter * kLeastPerimeterFraction)) continue;
            const double score =
                (perimeter - total) / perimeter + ((1.0 - q.dotProduct) + (1.0 - p.dotProduct)) * kSkewWeight;
            best.add({score, order++, p.pair, q.pair});
        }
    best.sort();
    return scratch.ranked;
}

qv_candPairOfCrossPair crossPairOf(const qv_rankedCross& ranked) {
    qv_candPairOfCrossPair cross;
    cross.first.line1 = ranked.vertical->line1;
    cross.first.line2 = ranked.horizontal->line2;
    cross.second.line1 = ranked.vertical->line2;
    cross.second.line2 = ranked.horizontal->line1;
    cross.score = ranked.score;
    return cross;
}

/// The two keys, the line with the smaller signed distance first; the second key when they are equal.
qvPair<long> byDistance(long key1, long key2, const std::vector<qv_ridgeLine>& flatLines) {
    const bool firstIsNearer = lineAt(flatLines, key1).line.distance() < lineAt(flatLines, key2).line.distance();
    return firstIsNearer ? qvPair<long>(key1, key2) : qvPair<long>(key2, key1);
}

/// The four lines in the places of the eight, each of them in both its arms.
qv_stCand candidateOf(const qv_candPairOfCrossPair& cross, const std::vector<qv_ridgeLine>& flatLines) {
    const auto [left, right] = byDistance(cross.first.line1, cross.second.line1, flatLines);
    const auto [top, bottom] = byDistance(cross.first.line2, cross.second.line2, flatLines);
    qv_stCand candidate;
    const long lines[8] = {left, right, left, right, top, top, bottom, bottom};
    std::copy(std::begin(lines), std::end(lines), candidate.lines);
    return candidate;
}

}  // namespace

void trimSegment(qvLineSeg& segment, const qvVector<2>& toward, const qvVector<2>& anchor, double stubUnit) {
    const qvVector<2> d = toward - anchor;
    const bool inner1 = d * (segment.p1() - anchor) > 0.0;
    const bool inner2 = d * (segment.p2() - anchor) > 0.0;
    // Most segments of a cross that has been cut before stay as they are.
    if (!inner1 && !inner2) return;
    const qvVector<2> foot = segment.line().proj(anchor);
    if (inner1 && inner2) {
        segment = qvLineSeg(foot, foot - d / d.len() * stubUnit * kStubFraction);
    } else if (inner1) {
        segment.p1(foot);
    } else {
        segment.p2(foot);
    }
}

void trimAllSegments(CrossResult& result, double stubUnit) {
    const qvVector<2> ul = result.ulCorner();
    const qvVector<2> ur = result.urCorner();
    const qvVector<2> ll = result.llCorner();
    const qvVector<2> lr = result.lrCorner();
    const qvVector<2> anchors[8] = {ul, ur, ll, lr, ul, ur, ll, lr};
    const qvVector<2> towards[8] = {ll, lr, ul, ur, ur, ul, lr, ll};
    std::vector<qvLineSeg>& segments = qv_streetResultAccess::lineSegs(result);
    qf_assert(segments.size() == 8, L"a cross from edges has eight segments");
    for (std::size_t i = 0; i < 8; ++i) trimSegment(segments[i], towards[i], anchors[i], stubUnit);
}

void retrimSegments(CrossResult& result, double stubUnit) {
    trimAllSegments(result, stubUnit);
    refitCrossFromSegments(result);
}

void crossFromCrossPairs(CrossResult& result, const qv_candPairOfCrossPair& cross,
                         const std::vector<qv_ridgeLine>& flatLines, double stubUnit) {
    fitCanonicalCross(candidateOf(cross, flatLines), flatLines, result, false);
    trimAllSegments(result, stubUnit);
}

void generatePairCrosses(const qv_candidateStore& store, std::vector<CrossResult>& out,
                         const std::vector<qv_ridgeLine>& flatLines, const qv_candidateContext& context,
                         const qvXform<2>& clientFromImage) {
    const qvPair<double> sides = mappedSideLengths(context.imageSize, clientFromImage);
    const double perimeter = 2.0 * sides.first + 2.0 * sides.second;
    const std::vector<qv_rankedCross>& ranked =
        bestCrosses(store, flatLines, perimeter, resultMultiple(kCrossesPerResult, context.maxResults));

    const double stubUnit = clientLength(qvStubLengthPels, clientFromImage);
    out.resize(ranked.size());
    for (std::size_t i = 0; i < ranked.size(); ++i) {
        qv_streetResultAccess::clear(out[i]);
        // As crossFromCrossPairs, but without the crossing and the angles, which come from the second fit.
        placeCrossArms(candidateOf(crossPairOf(ranked[i]), flatLines), flatLines, out[i]);
        retrimSegments(out[i], stubUnit);
    }
}
