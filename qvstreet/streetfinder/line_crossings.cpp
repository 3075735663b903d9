// Crossings of single lines.
//
// In:  the lines of both directions (client frame) with their statistics, the image's size and deviation.
// Out: crossings with a score in (0, 1], best first, client frame.
//
// The score is exp(-cost / 3) of four terms: how much of the image's perimeter the two lines leave out, how uneven
// their grey level is, how dark (or light) they are, and whether the crossing lies beyond an end of a line.
#include "qvstreet/streetfinder/line_crossings.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/platform/stable_sort.h"
#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/streetfinder/crossing_records.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;

constexpr double kTextureWeight = 0.1;
// Keeps the texture term finite on an image without contrast.
constexpr double kLeastDeviation = 1e-6;
constexpr double kCostDivisor = 3.0;

/// Whether `point` lies between the ends of the segment, measured along it; both ends included.
bool liesWithin(const qvLineSeg& segment, const qvVector<2>& point) {
    const qvVector<2> direction = segment.line().dir();
    const double along = direction * (point - segment.p1());
    return along >= 0.0 && along <= direction * (segment.p2() - segment.p1());
}

/// Spread of the grey levels of both lines together.
double pooledDeviation(const qvLineFinderResults& line0, const qvLineFinderResults& line1) {
    const double m0 = line0.meanGrey();
    const double m1 = line1.meanGrey();
    const double s0 = line0.greyDeviation();
    const double s1 = line1.greyDeviation();
    const double c0 = static_cast<double>(line0.sampleCount());
    const double c1 = static_cast<double>(line1.sampleCount());
    const double mean = (c0 * m0 + c1 * m1) / (c0 + c1);
    // deliberate: each spread with the other line's mean and count; pinned by
    // LineCrossings.PooledDeviationCrossesIndices
    const double a = s0 * s0 + m1 * m1;
    const double b = s1 * s1 + m0 * m0;
    const double meanSquare = (a * c1 + b * c0) / (c0 + c1);
    const double variance = meanSquare - mean * mean;
    return variance >= 0.0 ? std::sqrt(variance) : 0.0;
}

}  // namespace

qv_lineCrossingTerms lineCrossingTerms(const qvLineFinderResults& line0, double grey0, const qvLineFinderResults& line1,
                                       double grey1, const qv_streetFinderImpl& impl) {
    const qvLineSeg& seg0 = line0.segment();
    const qvLineSeg& seg1 = line1.segment();
    const qvVector<2> crossing = seg0.line().intersect(seg1.line());
    const qvPair<double> sides = mappedSideLengths(impl.imageSize, impl.clientFromImage);
    const double perimeter = (sides.first + sides.second) * 2.0;
    qv_lineCrossingTerms terms;
    terms.length = (2.0 * perimeter - (seg0.len() + seg1.len())) / (2.0 * perimeter);
    terms.texture = pooledDeviation(line0, line1) / (impl.imageDeviation + kLeastDeviation);
    terms.grey = (grey0 + grey1) * 0.5 / 255.0;
    terms.outside = liesWithin(seg0, crossing) && liesWithin(seg1, crossing) ? 0.0 : 1.0;
    return terms;
}

void scoreLineCrossing(qvStreetFinderStreetCrossResult& result, const qvLineFinderResults& line0, double grey0,
                       const qvLineFinderResults& line1, double grey1, const qv_streetFinderImpl& impl) {
    const qvLineSeg& seg0 = line0.segment();
    const qvLineSeg& seg1 = line1.segment();
    const qvVector<2> crossing = seg0.line().intersect(seg1.line());
    Access::verticalAngle(result) = seg1.line().angle();
    Access::horizontalAngle(result) = seg0.line().angle();
    Access::crossing(result) = crossing;
    Access::setCorners(result, crossing);
    Access::lineSegs(result) = {seg1, seg0};
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;

    const qv_lineCrossingTerms terms = lineCrossingTerms(line0, grey0, line1, grey1, impl);
    // deliberate: four terms divided by 3; pinned by LineCrossings.FourTermsAreDividedByThree
    Access::score(result) =
        std::exp(-(terms.length + kTextureWeight * terms.texture + terms.grey + terms.outside) / kCostDivisor);
}

void selectTopCrossings(qv_lineCrossingScratch& scratch, long maxResults,
                        std::vector<qvStreetFinderStreetCrossResult>& results) {
    const std::vector<qvStreetFinderStreetCrossResult>& all = scratch.crossings;
    scratch.order.clear();
    for (std::size_t i = 0; i < all.size(); ++i) scratch.order.push_back({static_cast<long>(i), all[i].score()});
    qf_stableSort(scratch.order.begin(), scratch.order.end(),
                  [](const qvIDPair& a, const qvIDPair& b) { return qf_descending(a.value, b.value); });
    std::size_t kept = 0;
    for (const qvIDPair& entry : scratch.order) {
        if (static_cast<long>(kept) >= maxResults) break;
        const qvStreetFinderStreetCrossResult& crossing = all[static_cast<std::size_t>(entry.index)];
        if (!isFarFromFirst(results, kept, crossing.crossing(), qvLeastCrossSeparation)) continue;
        // A result that is there already keeps its memory.
        if (kept == results.size()) results.emplace_back();
        results[kept++] = crossing;
    }
    results.resize(kept);
}

void selectTopCrossings(std::vector<qvStreetFinderStreetCrossResult>& results, long maxResults) {
    qv_lineCrossingScratch scratch;
    scratch.crossings = results;
    selectTopCrossings(scratch, maxResults, results);
}

void crossStreetLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                      std::vector<qvStreetFinderStreetCrossResult>& results, qvDiagObject* diagObject) {
    std::vector<std::vector<qvDIPair>>& lists = impl.scratch.lineCrossings.lists;
    std::vector<qvStreetFinderStreetCrossResult>& crossings = impl.scratch.lineCrossings.crossings;
    classifyStreetLines(impl.lines, lists, params, impl, diagObject);
    // Two lists once an image is bound, none after a binding that broke off.
    lists.resize(2);
    crossings.resize(lists[0].size() * lists[1].size());
    std::size_t k = 0;
    for (const qvDIPair& entry0 : lists[0])
        for (const qvDIPair& entry1 : lists[1])
            scoreLineCrossing(crossings[k++], impl.lines[0][static_cast<std::size_t>(entry0.index)], entry0.value,
                              impl.lines[1][static_cast<std::size_t>(entry1.index)], entry1.value, impl);
    if (diagObject != nullptr) recordLineCrossings(impl, lists, crossings, params.maxResults(), *diagObject);
    selectTopCrossings(impl.scratch.lineCrossings, params.maxResults(), results);
}

void mapResultsToClient(std::vector<qvStreetFinderStreetCrossResult>& results, const qv_streetFinderImpl& impl) {
    // An angle that goes through sine and cosine may lose its last bit.
    if (impl.imageOffset == qvPair<long>(0, 0)) return;
    const qvXform<2> transform;
    const qvVector<2> offset(static_cast<double>(impl.imageOffset.first), static_cast<double>(impl.imageOffset.second));
    const auto mapped = [&](const qvVector<2>& point) { return transform * (point + offset); };
    for (qvStreetFinderStreetCrossResult& result : results) {
        Access::verticalAngle(result) = transform.mapAngle(result.verticalAngle());
        Access::horizontalAngle(result) = transform.mapAngle(result.horizontalAngle());
        for (qvVector<2>* const point :
             {&Access::crossing(result), &Access::ulCorner(result), &Access::urCorner(result),
              &Access::llCorner(result), &Access::lrCorner(result)})
            *point = mapped(*point);
        for (qvLineSeg& segment : Access::lineSegs(result))
            segment = qvLineSeg(mapped(segment.p1()), mapped(segment.p2()));
    }
}
