// Final score and selection.
//
// In:  eight-line and four-line crosses, client frame; the lines as `setImage` left them; the two profiles.
// Out: the best crosses, at least 5 client units apart, best first.
//
// The score is exp(-total / 7) of six terms, each 0 for a perfect cross: distance of the segments from the cross's
// edges, right angles, missing length, widths, unevenness of the grey level inside the streets, and parallelism. NaN and
// infinity travel through it as they arise and rank last.
#include "qvstreet/candidates/final_selection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "qvstreet/candidates/candidate_search_records.h"
#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/candidates/four_line_crosses.h"
#include "qvstreet/platform/stable_sort.h"
#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/projection/single_street.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;

// A line belongs to a stub when it lies within this, pels, of the stub's line.
constexpr double kSearchLimitPels = 3.0;
// Fractions of the gap between two edges: what is left out at each edge, and what the sides take in, which do not count
// here.
constexpr double kCentreMargin = 0.1;
constexpr double kSideMargin = 0.4;
// Keeps the contrast finite on an image of one grey level.
constexpr double kLeastDeviation = 1e-12;
// A mean distance of this many client units from the edges weighs as much as a cross that is all askew.
constexpr double kResidualUnit = 10.0;
// Drives the score to 0 where no pel says anything about the street.
constexpr double kNoTexture = 1e12;

// The other edge of the same arm.
constexpr std::array<std::size_t, 8> kPartner = {1, 0, 3, 2, 6, 7, 4, 5};

using Directions = std::array<qvVector<2>, 8>;

/// What several terms need of a cross.
struct CrossShape {
    /// Of the segments, and the sum of their lengths.
    Directions dir;
    double found = 0.0;
    /// Between the corners.
    qvLine left;
    qvLine right;
    qvLine top;
    qvLine bottom;
};

CrossShape shapeOf(const CrossResult& cross) {
    CrossShape shape;
    const std::vector<qvLineSeg>& segments = Access::lineSegs(cross);
    for (std::size_t i = 0; i < 8; ++i) {
        const qvVector<2> run = segments[i].p2() - segments[i].p1();
        const double length = run.len();
        // As `unit` has it, with the one root for both.
        shape.dir[i] = length > 0.0 ? run / length : qvVector<2>(1.0, 0.0);
        shape.found += length;
    }
    const qvVector<2>& ul = Access::ulCorner(cross);
    const qvVector<2>& lr = Access::lrCorner(cross);
    shape.left = qvLine(ul, Access::llCorner(cross));
    shape.right = qvLine(Access::urCorner(cross), lr);
    shape.top = qvLine(ul, Access::urCorner(cross));
    shape.bottom = qvLine(Access::llCorner(cross), lr);
    return shape;
}

/// 0 where the two streets, and the two lines at each corner, are at right angles.
double orthogonalityTerm(const CrossShape& shape) {
    double sum = std::fabs(shape.top.dir() * shape.left.dir());
    for (std::size_t i = 0; i < 4; ++i) sum += std::fabs(shape.dir[i + 4] * shape.dir[i]);
    return sum / 5.0;
}

double widthTerm(const CrossResult& cross, const qv_candidateTolerances& t) {
    const double widthX = Access::ulCorner(cross).distance(Access::urCorner(cross));
    const double widthY = Access::ulCorner(cross).distance(Access::llCorner(cross));
    return 0.5 * (widthDeviation(widthX, t.nominalWidth.first, {t.widthLower.first, t.widthUpper.first}) +
                  widthDeviation(widthY, t.nominalWidth.second, {t.widthLower.second, t.widthUpper.second}));
}

double parallelismTerm(const Directions& dir) {
    constexpr std::size_t couples[12][2] = {{1, 0}, {2, 0}, {3, 0}, {2, 1}, {3, 1}, {3, 2},
                                            {5, 4}, {6, 4}, {7, 4}, {6, 5}, {7, 5}, {7, 6}};
    double sum = 0.0;
    for (const auto& couple : couples) sum += 1.0 - std::fabs(dir[couple[0]] * dir[couple[1]]);
    return sum / 12.0;
}

/// Mean distance of the 16 segment ends from the edges of the cross.
double residualTerm(const std::vector<qvLineSeg>& segments, const CrossShape& shape) {
    const std::array<const qvLine*, 8> edges = {&shape.left, &shape.right, &shape.left,   &shape.right,
                                                &shape.top,  &shape.top,   &shape.bottom, &shape.bottom};
    double sum = 0.0;
    for (std::size_t i = 0; i < 8; ++i) {
        sum += std::fabs(edges[i]->distToPoint(segments[i].p1()));
        sum += std::fabs(edges[i]->distToPoint(segments[i].p2()));
    }
    return sum / 16.0;
}

/// Sums over the centre range of one street; -1.0 each for a range outside the profile.
struct SpanSums {
    double squares;
    double sums;
    double counts;
};

SpanSums streetSums(const qvLineSeg& edge1, const qvLineSeg& edge2, const qvTiledProjectionResult& projection) {
    qvRange centre;
    qvRange left;
    qvRange right;
    pairProfileRanges(edge1, edge2, projection, kCentreMargin, kSideMargin, centre, left, right);
    const qvPair<long> bins(qfTruncate(centre.start()), qfTruncate(centre.end()));
    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    return {spanSquareSum(tile, bins), spanSum(tile, bins), spanCount(tile, bins)};
}

/// Deviation of the grey level inside the two streets, against that of the image.
double contrastTerm(const std::vector<qvLineSeg>& segments, const qv_streetFinderImpl& impl) {
    const SpanSums horizontal = streetSums(segments[4], segments[6], impl.projectionAlong0);
    const SpanSums vertical = streetSums(segments[0], segments[1], impl.projectionAlong1);
    // deliberate: a street outside its profile takes 1 off each sum; pinned by
    // FinalScore.AStreetOutsideItsProfileTakesOneOffEachSum
    const double q = horizontal.squares + vertical.squares;
    const double s = horizontal.sums + vertical.sums;
    const double n = horizontal.counts + vertical.counts;
    if (!(n > 1.0 && s > 0.0)) return kNoTexture;
    return std::sqrt(q / n - (s / n) * (s / n)) / (impl.imageDeviation + kLeastDeviation);
}

/// What a stub and its partner say about where a replacement may lie.
struct StubPlace {
    qvLine own;
    qvLine partner;
    qvVector<2> partnerNormal;
    qvPair<double> widthRange;
    double searchLimit;
};

/// The part of a line, from position t1 to t2, that lies on the negative side of 0.
double partBehind(double t1, double t2) {
    if (t1 < 0.0 && t2 < 0.0) return 1.0;
    if (t1 < 0.0) return -t1 / (-t1 + t2);
    if (t2 < 0.0) return -t2 / (t1 - t2);
    return 0.0;
}

/// Whether the line may replace the stub. @param length  of the line along the stub
bool qualifies(const qvLineSeg& line, const StubPlace& place, double& length) {
    const qvVector<2>& q1 = line.p1();
    const qvVector<2>& q2 = line.p2();
    const double gap = std::fabs((place.own.distToPoint(q1) + place.own.distToPoint(q2)) * 0.5);
    if (!(gap <= place.searchLimit)) return false;

    const double width = std::fabs((place.partner.distToPoint(q1) + place.partner.distToPoint(q2)) * 0.5);
    const double t1 = place.own.dir() * (q1 - place.own.pos());
    const double t2 = place.own.dir() * (q2 - place.own.pos());
    const double a = place.partnerNormal * (q1 - place.partner.pos());
    const double b = place.partnerNormal * (place.own.pos() - place.partner.pos());
    const bool sameSide = (a > 0.0 && b > 0.0) || (a < 0.0 && b < 0.0);
    if (!sameSide) return false;

    length = std::fabs(t2 - t1);
    // deliberate: a width at a bound is refused, other than for pairs of edges; pinned by
    // RecoverSegments.AWidthAtEitherBoundIsRefused
    return width > place.widthRange.first && width < place.widthRange.second && partBehind(t1, t2) < 0.5;
}

/// The longest line that may replace the stub; of equal ones the first. Null when there is none.
const qvLineSeg* replacementFor(const StubPlace& place, const std::vector<qvLineFinderResults>& lines) {
    const qvLineSeg* best = nullptr;
    double bestLength = 0.0;
    for (const qvLineFinderResults& line : lines) {
        double length = 0.0;
        if (!qualifies(line.segment(), place, length)) continue;
        if (best != nullptr && !(length > bestLength)) continue;
        best = &line.segment();
        bestLength = length;
    }
    return best;
}

/// Best first. The scores are sorted, which are shorter than crosses, and each cross then moves once.
/// @param order  working memory
void sortByScore(std::vector<CrossResult>& crosses, std::vector<qvIDPair>& order) {
    order.clear();
    for (std::size_t i = 0; i < crosses.size(); ++i)
        order.push_back({static_cast<long>(i), Access::score(static_cast<const CrossResult&>(crosses[i]))});
    qf_stableSort(order.begin(), order.end(),
                  [](const qvIDPair& a, const qvIDPair& b) { return qf_descending(a.value, b.value); });
    for (std::size_t place = 0; place < crosses.size(); ++place) {
        std::size_t from = static_cast<std::size_t>(order[place].index);
        // What stood at a place before this one has been exchanged for what is there now.
        while (from < place) from = static_cast<std::size_t>(order[from].index);
        if (from != place) std::swap(crosses[place], crosses[from]);
    }
}

}  // namespace

qv_finalCrossTerms finalCrossTerms(const CrossResult& cross, double maxLength, const qv_candidateTolerances& tolerances,
                                   const qv_streetFinderImpl& impl) {
    const std::vector<qvLineSeg>& segments = Access::lineSegs(cross);
    qf_assert(segments.size() == 8, L"a cross from edges has eight segments");
    const CrossShape shape = shapeOf(cross);

    qv_finalCrossTerms terms;
    terms.orthogonality = orthogonalityTerm(shape);
    terms.width = widthTerm(cross, tolerances);
    terms.parallelism = parallelismTerm(shape.dir);
    terms.residual = residualTerm(segments, shape) / kResidualUnit;
    terms.length = (maxLength - shape.found) / maxLength;
    terms.contrast = contrastTerm(segments, impl);
    return terms;
}

double finalCrossScore(const CrossResult& cross, double maxLength, bool /*fromPairs*/,
                       const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl,
                       qv_streetTrace* /*trace*/) {
    const qv_finalCrossTerms terms = finalCrossTerms(cross, maxLength, tolerances, impl);
    const double total = (terms.residual + terms.orthogonality + 2.0 * terms.length + 2.0 * terms.width +
                          terms.contrast + 10.0 * terms.parallelism) /
                         7.0;
    return std::exp(-total);
}

void scoreAllCrosses(std::vector<CrossResult>& crosses, double maxLength, bool fromPairs,
                     const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl, qv_streetTrace* trace) {
    for (CrossResult& cross : crosses)
        Access::score(cross) = finalCrossScore(cross, maxLength, fromPairs, tolerances, impl, trace);
}

void recoverSegments(CrossResult& cross, const std::vector<std::vector<qvLineFinderResults>>& lines, double stubLimit,
                     double searchLimit, const qv_candidateContext& context) {
    std::vector<qvLineSeg>& segments = Access::lineSegs(cross);
    qf_assert(segments.size() == 8, L"a cross from edges has eight segments");
    const qv_candidateTolerances& t = context.tolerances;
    // In place: a segment found for one stub is the partner of the next.
    for (std::size_t i = 0; i < 8; ++i) {
        if (!(segments[i].len() < stubLimit)) continue;
        const bool vertical = i < 4;
        StubPlace place;
        place.own = segments[i].line();
        place.partner = segments[kPartner[i]].line();
        place.partnerNormal = qvVector<2>(place.partner.dir().y(), -place.partner.dir().x());
        place.widthRange = vertical ? qvPair<double>(t.widthLower.first, t.widthUpper.first)
                                    : qvPair<double>(t.widthLower.second, t.widthUpper.second);
        place.searchLimit = searchLimit;
        const qvLineSeg* const replacement = replacementFor(place, lines.at(vertical ? 1 : 0));
        if (replacement != nullptr) segments[i] = *replacement;
    }
    retrimSegments(cross, stubLimit);
}

void selectFinalCrosses(std::vector<CrossResult>& out, std::vector<CrossResult>& pairCrosses,
                        std::vector<CrossResult>& quadCrosses, const qv_candidateContext& context,
                        const qv_streetFinderImpl& impl, qv_streetTrace* trace, qvDiagObject* diagObject) {
    const double width = static_cast<double>(context.imageSize.first);
    const double height = static_cast<double>(context.imageSize.second);
    // deliberate: pels, although the segments are measured in client units; pinned by
    // FinalSelection.LengthsAreSetAgainstFourDiagonalsInPels
    const double maxLength = 4.0 * std::sqrt(width * width + height * height);
    const double searchLimit = clientLength(kSearchLimitPels, impl.clientFromImage);
    const double stubLimit = clientLength(qvStubLengthPels, impl.clientFromImage);

    scoreAllCrosses(quadCrosses, maxLength, false, context.tolerances, impl, trace);
    scoreAllCrosses(pairCrosses, maxLength, true, context.tolerances, impl, trace);
    std::vector<qvIDPair>& order = impl.scratch.candidates.store.scratch.order;
    sortByScore(quadCrosses, order);
    sortByScore(pairCrosses, order);

    qv_finalScoreRecord record(diagObject);
    if (diagObject != nullptr) record.begin(quadCrosses, pairCrosses, maxLength, context.tolerances, impl);
    auto quad = quadCrosses.begin();
    auto pair = pairCrosses.begin();
    while (quad != quadCrosses.end() || pair != pairCrosses.end()) {
        // On equal scores the eight-line cross comes first.
        const bool takesPair = quad == quadCrosses.end() || (pair != pairCrosses.end() && qf_scoreOrder(*pair, *quad));
        CrossResult& cross = takesPair ? *pair++ : *quad++;
        if (static_cast<long>(out.size()) >= context.maxResults) break;
        const bool isFar = isFarFromAll(out, cross.crossing(), qvLeastCrossSeparation);
        if (diagObject != nullptr) record.decided(isFar);
        if (!isFar) continue;
        recoverSegments(cross, impl.lines, stubLimit, searchLimit, context);
        // Copied, so that the list keeps its memory for the next search.
        out.push_back(cross);
    }
    if (diagObject != nullptr) record.end();
}
