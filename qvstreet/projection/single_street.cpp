// Single-street search.
//
// In:  the lines of both directions (client frame), the two profiles, the run parameters.
// Out: streets with score, angle and segments, client frame, best first.
//
// In edge mode a street is a pair of parallel lines at about the nominal width; in the others it is one line. Every
// candidate gets a cost that is the mean of several terms, 0 for a perfect street, and is reported with the score
// exp(-cost).
#include "qvstreet/projection/single_street.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/projection/single_street_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Defs = qvStreetFinderDefs;

constexpr std::size_t kCandidateReserve = 15;
// Fractions of a pair's gap: how far its centre stays away from the edges, and how far its sides reach beyond them.
constexpr double kCentreMargin = 0.1;
constexpr double kSideMargin = 0.2;
constexpr double kPolarityMargin = 0.0;
constexpr double kWidthErrorWeight = 0.1;
// Keeps the roughness finite on an image without contrast.
constexpr double kLeastDeviation = 1e-6;

/// Length of the common part of two segments along the first. A second segment that runs against the first has none.
double overlapAlong(const qvLineSeg& si, const qvLineSeg& sj) {
    const qvVector<2> e = (si.p2() - si.p1()).unit();
    const double a = 0.0;
    const double b = e * (si.p2() - si.p1());
    const double c = e * (sj.p1() - si.p1());
    double f = e * (sj.p2() - si.p1());
    // deliberate: only f moves; pinned by SingleStreet.SegmentsThatRunAgainstEachOtherDoNotPair
    if (f < c) f = c;
    return std::max(std::min(b, f) - std::max(a, c), 0.0);
}

/// Standard deviation of the grey level over the pair's centre, against that of the image.
double unevenness(const qvLineSeg& s0, const qvLineSeg& s1, const qvTiledProjectionResult& projection,
                  double centreMargin, double imageDeviation) {
    qvRange centre;
    qvRange left;
    qvRange right;
    pairProfileRanges(s0, s1, projection, centreMargin, centreMargin, centre, left, right);
    const double bins = static_cast<double>(projection.tile(0, 0).checkedSums().size());
    const double start = centre.start() < 0.0 ? 0.0 : centre.start();
    const double end = centre.end() >= bins ? bins - 1.0 : centre.end();
    // Beyond the profile the span comes out reversed, and a reversed span has the variance 0.
    const qvPair<long> span(qfTruncate(start), qfTruncate(end));
    return std::sqrt(rangeVariance(projection.tile(0, 0), span)) / imageDeviation;
}

double shortnessOf(double length, double found) { return (2.0 * length - found) / (2.0 * length); }

/// How the pairs that `collectEdgePairs` did not take fell; it took `kept`.
qv_edgePairCounts countEdgePairs(const std::vector<qvLineFinderResults>& lines, const qvPair<double>& range,
                                 qvRadian angle, std::size_t kept) {
    qv_edgePairCounts counts;
    const auto missOf = [&](double separation) {
        return std::max(range.first - separation, separation - range.second);
    };
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t j = i + 1; j < lines.size(); ++j) {
            ++counts.tried;
            const qvLineSeg& si = lines[i].segment();
            const qvLineSeg& sj = lines[j].segment();
            const double separation = midpointSeparation(si, sj, angle);
            if (!(overlapAlong(si, sj) > 0.0)) {
                ++counts.withoutOverlap;
            } else if (!(separation > range.first && separation < range.second)) {
                ++counts.outsideRange;
                if (!(missOf(counts.nearestOutside) <= missOf(separation))) counts.nearestOutside = separation;
            }
        }
    counts.kept = static_cast<long>(kept);
    counts.wrongPolarity = counts.tried - counts.withoutOverlap - counts.outsideRange - counts.kept;
    return counts;
}

qv_singleStreetRow edgePairRow(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines, long direction,
                               double separation, const qv_edgePairTerms& terms, double cost) {
    qv_singleStreetRow row;
    row.direction = direction;
    row.lines = qf_cell(pair.first) + L" and " + qf_cell(pair.second);
    row.segments = {lines[static_cast<std::size_t>(pair.first)].segment(),
                    lines[static_cast<std::size_t>(pair.second)].segment()};
    row.separation = qf_cell(separation);
    row.terms = {terms.uniformity, terms.shortness, terms.skew, terms.widthError};
    row.cost = cost;
    row.hasCost = cost > 0.0;
    return row;
}

/// The candidates in ascending order of cost, cut to the asked number.
void keepCheapest(std::vector<qvDIJPair>& candidates, long maxResults) {
    std::stable_sort(candidates.begin(), candidates.end());
    const std::size_t most = static_cast<std::size_t>(std::max(maxResults, 0L));
    if (candidates.size() > most) candidates.resize(most);
}

}  // namespace

double midpointSeparation(const qvLineSeg& a, const qvLineSeg& b, qvRadian angle) {
    const qvVector<2> u(1.0, angle);
    return std::fabs(u * ((a.p1() + a.p2()) / 2.0) - u * ((b.p1() + b.p2()) / 2.0));
}

double widthDeviation(double separation, double width, const qvPair<double>& range) {
    const double e = separation - width;
    return e > 0.0 ? e / (range.second - width) : std::fabs(e / (range.first - width));
}

std::array<double, 2> mappedImageLengths(const qv_streetFinderImpl& impl) {
    const double width = static_cast<double>(impl.spectrum.workImage.width());
    const double height = static_cast<double>(impl.spectrum.workImage.height());
    return {impl.clientFromImage.mapVector(qvVector<2>(width, 0.0)).len(),
            impl.clientFromImage.mapVector(qvVector<2>(0.0, height)).len()};
}

void collectEdgePairs(const std::vector<qvLineFinderResults>& lines, const qvPair<double>& range, qvRadian angle,
                      Defs::streetPolarity polarity, double centreMargin, double sideMargin,
                      const qvTiledProjectionResult& projection, std::vector<qvPair<long>>& pairs,
                      std::vector<double>& separations) {
    pairs.clear();
    separations.clear();
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t j = i + 1; j < lines.size(); ++j) {
            const qvLineSeg& si = lines[i].segment();
            const qvLineSeg& sj = lines[j].segment();
            const double separation = midpointSeparation(si, sj, angle);
            const bool fits = overlapAlong(si, sj) > 0.0 && separation > range.first && separation < range.second;
            if (!fits) continue;
            const bool polarityHolds =
                polarity == Defs::eAnyPolarity ||
                pairPolarity(si, sj, projection, centreMargin, sideMargin, kPolarityMargin) == polarity;
            if (!polarityHolds) continue;
            pairs.emplace_back(static_cast<long>(i), static_cast<long>(j));
            separations.push_back(separation);
        }
}

qv_edgePairTerms edgePairTerms(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines,
                               const qvTiledProjectionResult& projection, double separation, double width,
                               const qvPair<double>& range, double centreMargin, double imageDeviation, double length) {
    const qvLineSeg& s0 = lines[static_cast<std::size_t>(pair.first)].segment();
    const qvLineSeg& s1 = lines[static_cast<std::size_t>(pair.second)].segment();
    qv_edgePairTerms terms;
    terms.uniformity = unevenness(s0, s1, projection, centreMargin, imageDeviation);
    terms.shortness = shortnessOf(length, s0.len() + s1.len());
    terms.skew = 1.0 - std::fabs(s0.line().dir() * s1.line().dir());
    terms.widthError = kWidthErrorWeight * widthDeviation(separation, width, range);
    return terms;
}

double scoreEdgePair(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines,
                     const qvTiledProjectionResult& projection, double separation, double width,
                     const qvPair<double>& range, double centreMargin, double imageDeviation, double length) {
    const qv_edgePairTerms terms =
        edgePairTerms(pair, lines, projection, separation, width, range, centreMargin, imageDeviation, length);
    return (terms.uniformity + terms.shortness + terms.skew + terms.widthError) / 4.0;
}

void fillEdgePairResult(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines, double score,
                        qvStreetFinderSingleStreetResult& result) {
    const qvLineSeg& s0 = lines[static_cast<std::size_t>(pair.first)].segment();
    const qvLineSeg& s1 = lines[static_cast<std::size_t>(pair.second)].segment();
    qvVector<2> a = s0.line().dir();
    const qvVector<2> b = s1.line().dir();
    // The bisector of the edges, whichever way each of them runs.
    if ((a + b).len() < (a - b).len()) a = a * -1.0;

    qv_streetResultAccess::score(result) = score;
    qv_streetResultAccess::lineSegs(result) = {s0, s1};
    qv_streetResultAccess::statusFlags(result) = Defs::eStreetFromEdges;
    qv_streetResultAccess::angle(result) = (a + b).angle();
}

void fillLineResult(const qvLineFinderResults& line, double score, qvStreetFinderSingleStreetResult& result) {
    qv_streetResultAccess::score(result) = score;
    qv_streetResultAccess::lineSegs(result) = {line.segment()};
    qv_streetResultAccess::statusFlags(result) = Defs::eStreetFromLine;
    qv_streetResultAccess::angle(result) = line.segment().line().angle();
}

void findSingleStreetFromEdges(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                               std::vector<qvStreetFinderSingleStreetResult>& results, qvDiagObject* diagObject) {
    qf_assert(impl.lines.size() == 2 && impl.streetAngles.size() == 2, L"lines of two directions");
    const double imageDeviation = profileDeviation(impl.projectionAlong0);
    const std::array<double, 2> lengths = mappedImageLengths(impl);
    const std::array<const qvTiledProjectionResult*, 2> projections = {&impl.projectionAlong0, &impl.projectionAlong1};
    // deliberate: direction 0 takes the widths in X; pinned by SingleStreet.DirectionZeroTakesTheWidthInX
    const std::array<double, 2> widths = {params.nominalStreetWidth().first, params.nominalStreetWidth().second};
    const std::array<qvPair<double>, 2> ranges = {params.nominalStreetWidthRangeX(), params.nominalStreetWidthRangeY()};
    // Measured along the other direction the separation is a width.
    const std::array<qvRadian, 2> acrossAngles = {impl.streetAngles[1], impl.streetAngles[0]};

    std::array<std::vector<qvPair<long>>, 2> pairs;
    std::array<std::vector<double>, 2> separations;
    for (std::size_t d = 0; d < 2; ++d)
        collectEdgePairs(impl.lines[d], ranges[d], acrossAngles[d], params.streetPolarity(), kCentreMargin, kSideMargin,
                         *projections[d], pairs[d], separations[d]);

    std::vector<qv_singleStreetRow> rows;
    std::vector<qvDIJPair> candidates;
    candidates.reserve(kCandidateReserve);
    for (std::size_t d = 0; d < 2; ++d)
        for (std::size_t k = 0; k < pairs[d].size(); ++k) {
            const double cost = scoreEdgePair(pairs[d][k], impl.lines[d], *projections[d], separations[d][k], widths[d],
                                              ranges[d], kCentreMargin, imageDeviation, lengths[d]);
            if (diagObject != nullptr)
                rows.push_back(
                    edgePairRow(pairs[d][k], impl.lines[d], static_cast<long>(d), separations[d][k],
                                edgePairTerms(pairs[d][k], impl.lines[d], *projections[d], separations[d][k], widths[d],
                                              ranges[d], kCentreMargin, imageDeviation, lengths[d]),
                                cost));
            // 0, negative and NaN costs are dropped; an infinite one stays and scores 0.
            if (cost > 0.0) candidates.push_back({cost, static_cast<long>(d), static_cast<long>(k)});
        }

    if (diagObject != nullptr) {
        recordSingleStreets(impl.image, rows, {L"unevenness", L"shortness", L"skew", L"width error"},
                            params.maxResults(), *diagObject);
        std::array<qv_edgePairCounts, 2> counts;
        for (std::size_t d = 0; d < 2; ++d)
            counts[d] = countEdgePairs(impl.lines[d], ranges[d], acrossAngles[d], pairs[d].size());
        recordEdgePairs(counts, ranges, rows, projections, kCentreMargin, kSideMargin, *diagObject);
    }
    keepCheapest(candidates, params.maxResults());
    results.resize(candidates.size());
    for (std::size_t k = 0; k < candidates.size(); ++k) {
        const std::size_t d = static_cast<std::size_t>(candidates[k].direction);
        fillEdgePairResult(pairs[d][static_cast<std::size_t>(candidates[k].index)], impl.lines[d],
                           std::exp(-candidates[k].cost), results[k]);
    }
}

void findSingleStreetFromLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                               std::vector<qvStreetFinderSingleStreetResult>& results, qvDiagObject* diagObject) {
    qf_assert(impl.lines.size() == 2, L"lines of two directions");
    std::vector<qvDIJPair> candidates;
    rankStreetLines(impl.lines, candidates, params, impl, diagObject);
    const double imageDeviation = profileDeviation(impl.projectionAlong0);
    const std::array<double, 2> lengths = mappedImageLengths(impl);

    const auto lineOf = [&](const qvDIJPair& candidate) -> const qvLineFinderResults& {
        return impl.lines[static_cast<std::size_t>(candidate.direction)][static_cast<std::size_t>(candidate.index)];
    };
    std::vector<qv_singleStreetRow> rows;
    for (qvDIJPair& candidate : candidates) {
        const qvLineFinderResults& line = lineOf(candidate);
        const double shortness =
            shortnessOf(lengths[static_cast<std::size_t>(candidate.direction)], line.segment().len());
        const double roughness = line.greyDeviation() / (imageDeviation + kLeastDeviation);
        const double brightness = candidate.cost / 255.0;
        candidate.cost = (shortness + roughness + brightness) / 3.0;
        if (diagObject != nullptr)
            rows.push_back({candidate.direction,
                            qf_cell(candidate.index),
                            {line.segment()},
                            {},
                            {shortness, roughness, brightness},
                            candidate.cost,
                            true});
    }
    if (diagObject != nullptr)
        recordSingleStreets(impl.image, rows, {L"shortness", L"roughness", L"brightness"}, params.maxResults(),
                            *diagObject);

    keepCheapest(candidates, params.maxResults());
    results.resize(candidates.size());
    for (std::size_t k = 0; k < candidates.size(); ++k)
        fillLineResult(lineOf(candidates[k]), std::exp(-candidates[k].cost), results[k]);
}
