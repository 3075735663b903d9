// From the prepared spectrum to the lines of both directions.
//
// In:  the record's spectrum and transforms, the two street directions (client frame), width and sharpness (client
//      units).
// Out: two lists of lines, client frame, without the short ones.
#include "qvstreet/streetfinder/line_sets.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qvstreet/streetfinder/line_records.h"

namespace {

using Defs = qvStreetFinderDefs;

constexpr double kSmallestFilterSamples = 2.0;
// Filter length along the street, in nominal widths.
constexpr double kEdgeLengthWidths = 0.25;
constexpr double kRidgeLengthWidths = 6.0;
// Centre frequency over frequency sigma: edges want one lobe at each side, ridges about one and a half periods.
constexpr double kEdgeRatio = 3.0;
constexpr double kRidgeRatio = 2.925714285714286;
constexpr long kKindByRatio = 4;

/// Keeps `wanted` when it is at least `smallest`; a NaN gives way.
double atLeast(double wanted, double smallest) { return wanted >= smallest ? wanted : smallest; }

/// Two sample pels along `clientAngle`, in client units: the shortest filter that the sampled image can carry.
double twoSamplesAlong(qvDegree clientAngle, const qvXform<2>& sampleFromClient, const qvXform<2>& clientFromSample) {
    const qvVector<2> twoSamples(kSmallestFilterSamples, sampleFromClient.mapAngle(clientAngle));
    return clientFromSample.mapVector(twoSamples).len();
}

using FilterSpecs = std::array<qv_gaborSpec, 2>;

bool hasRidgeStreets(Defs::waferType runMode) {
    return runMode == Defs::eRidgeWafer || runMode == Defs::eCoarseRidgeWafer;
}

FilterSpecs edgeSpecs(const qvPair<double>& w, double s, double k, double twoSamples0, double twoSamples1) {
    FilterSpecs specs;
    // deliberate: widths and floors crossed; pinned by LineSets.EdgeBandsCrossWidthsAndFloors
    specs[0].band = {atLeast(s, twoSamples0), atLeast(w.first * kEdgeLengthWidths * k, twoSamples1)};
    specs[1].band = {atLeast(s, twoSamples1), atLeast(w.second * kEdgeLengthWidths * k, twoSamples0)};
    for (qv_gaborSpec& spec : specs) spec.ratio = kEdgeRatio;
    return specs;
}

FilterSpecs ridgeSpecs(const qvPair<double>& w, double s, double k, double twoSamples0, double twoSamples1) {
    FilterSpecs specs;
    // deliberate: widths and floors crossed; pinned by LineSets.RidgeBandsCrossWidthsAndFloors
    specs[0].band = {atLeast(s + w.second, twoSamples0), atLeast(w.first * kRidgeLengthWidths * k, twoSamples1)};
    specs[1].band = {atLeast(s + w.first, twoSamples1), atLeast(w.second * kRidgeLengthWidths * k, twoSamples0)};
    for (qv_gaborSpec& spec : specs) spec.ratio = kRidgeRatio;
    return specs;
}

}  // namespace

bool rotationIsWithin(const qvPelBuffer_const<unsigned char>& image, double limitDegrees) {
    const qvDegree rotation = image.clientFromImageXform().rotation();
    return !(std::fabs(rotation.toDouble()) > limitDegrees);
}

void filterShortLines(const std::vector<qvLineFinderResults>& list, double minLength,
                      std::vector<qvLineFinderResults>& kept) {
    kept.reserve(kept.size() + list.size() / 3);
    for (const qvLineFinderResults& line : list) {
        const qvVector<2> d = line.segment().p2() - line.segment().p1();
        if (d * d > minLength * minLength) kept.push_back(line);
    }
}

std::array<qv_gaborSpec, 2> filterSpecs(const qv_streetFinderImpl& impl, const qvPair<double>& width,
                                        Defs::waferType runMode, const std::vector<qvDegree>& angles,
                                        double edgeSharpness, double filterScale) {
    qf_assert(angles.size() == 2, L"two street directions");
    const qvXform<2> sampleFromClient = impl.spectrum.imageFromSample.inverse() * impl.clientFromImage.inverse();
    const qvXform<2> clientFromSample = sampleFromClient.inverse();
    const double twoSamples0 = twoSamplesAlong(angles[0], sampleFromClient, clientFromSample);
    const double twoSamples1 = twoSamplesAlong(angles[1], sampleFromClient, clientFromSample);

    const bool edges = runMode == Defs::eEdgePairWafer;
    const bool sizesKnown = (impl.flags & qvSizesFromParams) != 0 && (edges || hasRidgeStreets(runMode));
    if (!sizesKnown) return {};
    FilterSpecs specs = edges ? edgeSpecs(width, edgeSharpness, filterScale, twoSamples0, twoSamples1)
                              : ridgeSpecs(width, edgeSharpness, filterScale, twoSamples0, twoSamples1);
    for (qv_gaborSpec& spec : specs) spec.kind = kKindByRatio;
    return specs;
}

void extractStreetLines(const qv_streetFinderImpl& impl, const qvPair<double>& width, Defs::waferType runMode,
                        const std::vector<qvDegree>& angles, double edgeSharpness, double filterScale,
                        std::vector<std::vector<qvLineFinderResults>>& result, qvDiagObject* diagObject) {
    const qv_traceFrame frame(impl.trace.get());
    const FilterSpecs specs = filterSpecs(impl, width, runMode, angles, edgeSharpness, filterScale);

    qv_lineSetScratch& scratch = impl.scratch.lineSets;
    scratch.extracted.resize(specs.size());
    for (std::size_t direction = 0; direction < specs.size(); ++direction) {
        qv_ridgeFinderParams request;
        request.spec = specs[direction];
        request.lineGroup = impl.ridgeParams.lineGroup;
        request.keepPoints = hasRidgeStreets(runMode);
        scratch.direction.assign(1, angles[direction]);
        runLineFinder(impl.spectrum, request, scratch.direction, scratch.run, diagObject, static_cast<long>(direction),
                      &scratch.finder);
        scratch.extracted[direction].assign(scratch.run[0].begin(), scratch.run[0].end());
    }
    // Copied, not exchanged: each list then keeps the memory that it needs for the next image.
    result = scratch.extracted;
}

void buildLineSets(const qv_streetFinderImpl& impl, const qvPair<double>& width, Defs::waferType runMode,
                   double edgeSharpness, double filterScale, std::vector<std::vector<qvLineFinderResults>>& lines,
                   qvDiagObject* diagObject) {
    qv_lineSetScratch& scratch = impl.scratch.lineSets;
    std::vector<std::vector<qvLineFinderResults>>& found = scratch.found;
    extractStreetLines(impl, width, runMode, impl.streetAngles, edgeSharpness, filterScale, found, diagObject);

    const double f = impl.tolerances.minLineLengthFraction;
    const double imageWidth = static_cast<double>(impl.imageSize.first);
    const double imageHeight = static_cast<double>(impl.imageSize.second);
    // deliberate: flat lines against the height, upright ones against the width; pinned by
    // LineSets.LengthLimitsAreCrossed
    const double minLength0 = impl.clientFromImage.mapVector(qvVector<2>(f * imageHeight, 0.0)).len();
    const double minLength1 = impl.clientFromImage.mapVector(qvVector<2>(0.0, f * imageWidth)).len();

    scratch.kept.resize(2);
    for (std::vector<qvLineFinderResults>& list : scratch.kept) list.clear();
    filterShortLines(found[0], minLength0, scratch.kept[0]);
    filterShortLines(found[1], minLength1, scratch.kept[1]);
    if (diagObject != nullptr) recordLines(impl.image, found, {minLength0, minLength1}, *diagObject);
    lines.swap(scratch.kept);
}
