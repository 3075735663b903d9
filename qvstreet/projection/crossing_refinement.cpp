// Crossing refinement.
//
// In:  crossings found from lines, client frame; the bound image; the nominal widths.
// Out: the same crossings where the calipers see the streets' centres cross.
//
//          | w |                 across each street, about the crossing, a region 4 widths wide and 12 widths long;
//     -----+---+-----            its profile shows the two edges, their middle is a point on the street, and the street's
//      [ = = = = = ]             angle is known: two points and two angles cross in the refined crossing
//     -----+---+-----
#include "qvstreet/projection/crossing_refinement.h"

#include <algorithm>
#include <cstdint>

#include "qvstreet/platform/caliper.h"
#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using Defs = qvStreetFinderDefs;

constexpr double kLeastWidth = 3.0;
constexpr double kWidthsAcross = 4.0;
constexpr double kWidthsAlong = 12.0;
constexpr double kSampleFraction = 0.1;
// Half a pel apart in a frame of one unit per pel.
constexpr double kSamplesPerUnit = 2.0;
constexpr long kBilinear = 2;
constexpr short kMostPairs = 10;
constexpr double kNotFound = -1.0;
// In records: the marks at edges, in client units.
constexpr std::size_t kMostRecordedRefinements = 2;
constexpr double kMarkSize = 30.0;
constexpr std::uint32_t kDrawn = qvCaliperDefs::eDrawRegion | qvCaliperDefs::eDrawEdges | qvCaliperDefs::eDrawResults;

qvPair<long> sampleCounts(const qvPair<double>& lengths) {
    return qvPair<long>(qfTruncate(kSamplesPerUnit * lengths.first), qfTruncate(kSamplesPerUnit * lengths.second));
}

/// The region about the crossing whose x side lies across a street of that angle.
qvAffineSamplingParams regionAcross(const qvVector<2>& crossing, qvDegree streetAngle, const qvPair<double>& lengths,
                                    const qvPair<long>& samples) {
    const qvAffineRectangle region(crossing, lengths.first, lengths.second, streetAngle + qvDegree(90.0),
                                   qvRadian(0.0));
    return qvAffineSamplingParams(region, samples.first, samples.second, kBilinear);
}

void recordMoves(const std::vector<std::vector<std::wstring>>& moves, qvDiagRecord& record) {
    qvDiagTable table;
    table.label = L"Moves";
    table.heading =
        qf_cells(L"crossing", L"found (client)", L"refined (client)", L"moved by", L"score", L"what happened");
    table.rows = moves;
    record.recordAnnotation(L"Refinement");
    qf_attachTable(record, table);
}

void recordCentre(const qvPelBuffer_const<unsigned char>& image, const qvCaliperResultSet& found,
                  const qvVector<2>& point, qvDiagObject& diagObject) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.image(image, false);
    record.recordAnnotation(L"Refine feates");
    qvUITablet position;
    position.drawPointIcon(point, qvColor::redColor, qvUITablet::eOverlayLayer);
    qvGraphicList drawn;
    found.draw(drawn, kDrawn, kMarkSize);
    record.sketch(drawn.sketch(qvUITablet::eOverlayLayer), qvDisplay::eClientCoordinates, L"Caliper Results");
    record.sketch(position.sketch(), qvDisplay::eClientCoordinates, L"Position");
}

}  // namespace

qv_refineContext::qv_refineContext(const qvVector<2>& crossingToRefine, qvDegree horizontal, qvDegree vertical,
                                   const qvPair<double>& vertically, const qvPair<double>& horizontally,
                                   const qvPair<double>& streetWidth, double fraction, long mode, long asked)
    : horizontalAngle(horizontal),
      verticalAngle(vertical),
      lengthsVertical(vertically),
      lengthsHorizontal(horizontally),
      sizesVertical(sampleCounts(vertically)),
      sizesHorizontal(sampleCounts(horizontally)),
      crossing(crossingToRefine),
      runMode(mode),
      width(streetWidth),
      sampleFraction(fraction),
      polarity(asked) {}

double locateStreetCentre(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& sampling,
                          qvVector<2>& point, double width, double /*sampleFraction*/, bool darkStreet,
                          qvDiagObject* diagObject) {
    const qvCaliperDefs::qeEdgePolarity first = darkStreet ? qvCaliperDefs::eFall : qvCaliperDefs::eRise;
    const qvCaliperDefs::qeEdgePolarity second = darkStreet ? qvCaliperDefs::eRise : qvCaliperDefs::eFall;
    qvScoreContrast contrast(255.0, 0.0, 0.0, 1.0, 0.0);
    qvScoreSizeDiffNorm separation(0.0, 1.0, 1.0, 1.0, 0.0);
    qvCaliperRunParams params(-width * 0.5, first, width * 0.5, second);
    params.scoringMethods({&contrast, &separation});
    params.maxNumResults(kMostPairs);

    qvCaliperResultSet found;
    qfCaliperRun(image, sampling, params, found, diagObject, 0);
    if (!found.results().empty()) point = found.mapPositionToPoint(found.results().front().position());
    if (diagObject != nullptr) recordCentre(image, found, point, *diagObject);
    return found.results().empty() ? kNotFound : found.results().front().score();
}

void refineCrossing(const qvPelBuffer_const<unsigned char>& image, const qv_refineContext& context,
                    qv_refineResult& result, qvDiagObject* diagObject) {
    const qvAffineSamplingParams sampling0 =
        regionAcross(context.crossing, context.horizontalAngle, context.lengthsVertical, context.sizesVertical);
    const qvAffineSamplingParams sampling1 =
        regionAcross(context.crossing, context.verticalAngle, context.lengthsHorizontal, context.sizesHorizontal);
    // deliberate: any polarity looks for light streets; pinned by CrossingRefinement.AnyPolarityLooksForLightStreets
    const bool darkStreet = context.polarity == Defs::eDarkOnLight;
    const qvPair<double>& width = context.width;
    qvVector<2> point0;
    qvVector<2> point1;
    // deliberate: region by one width, separation by the other; pinned by CrossingRefinement.SeparationTakesTheOtherWidth
    const double score0 = locateStreetCentre(image, sampling0, point0, width.first,
                                             context.sampleFraction * width.first, darkStreet, diagObject);
    const double score1 = locateStreetCentre(image, sampling1, point1, width.second,
                                             context.sampleFraction * width.second, darkStreet, diagObject);

    result.crossing = context.crossing;
    result.status = Defs::eStreetFromLine;
    if (score0 <= 0.0 || score1 <= 0.0) {
        result.score = kNotFound;
        return;
    }
    qvVector<2> refined;
    if (!qvFLine(context.horizontalAngle, point0).intersect(qvFLine(context.verticalAngle, point1), refined)) {
        result.score = 0.0;
        return;
    }
    result.crossing = refined;
    result.score = score0 + score1;
    result.status = Defs::eStreetFromEdges;
}

void refineCrossings(std::vector<qvStreetFinderStreetCrossResult>& results, const qv_streetFinderImpl& impl,
                     long runMode, long polarity, const qvPair<double>& nominalWidth, qvDiagObject* diagObject) {
    const qv_traceFrame frame(impl.trace.get());
    if (runMode != Defs::eRidgeWafer) return;
    const qvPair<double> w(std::max(nominalWidth.first, kLeastWidth), std::max(nominalWidth.second, kLeastWidth));
    const qvPair<double> lengthsVertical(kWidthsAcross * w.second, kWidthsAlong * w.second);
    const qvPair<double> lengthsHorizontal(kWidthsAcross * w.first, kWidthsAlong * w.first);
    // The table comes before the pictures.
    qvDiagRecord* const moved = diagObject != nullptr ? &diagObject->newDiagRecord() : nullptr;
    std::vector<std::vector<std::wstring>> moves;
    for (qvStreetFinderStreetCrossResult& result : results) {
        const qv_refineContext context(result.crossing(), result.horizontalAngle(), result.verticalAngle(),
                                       lengthsVertical, lengthsHorizontal, w, kSampleFraction, runMode, polarity);
        qv_refineResult refined;
        refineCrossing(impl.image, context, refined, moves.size() < kMostRecordedRefinements ? diagObject : nullptr);
        if (diagObject != nullptr)
            moves.push_back(qf_cells(moves.size(), result.crossing(), refined.crossing,
                                     result.crossing().distance(refined.crossing), refined.score,
                                     refined.score > 0.0    ? L"both streets measured"
                                     : refined.score == 0.0 ? L"stays: the streets are parallel"
                                                            : L"stays: a street shows no pair of edges"));
        // Also where the search failed: the crossing is the old one then, and the corners become it.
        Access::crossing(result) = refined.crossing;
        Access::setCorners(result, refined.crossing);
    }
    if (moved != nullptr) recordMoves(moves, *moved);
}
