// The street finder: from an image to streets and crossings.
//
//     setImage   image -> spectrum -> candidate angles -> two street directions -> two projections -> two sets of lines
//     find       ridge modes: lines of the right polarity -> flat ones with upright ones -> the best crossings, in
//                `eRidgeWafer` measured again on the image
//                edge mode: lines -> pairs of edges -> crosses of eight or four lines -> the best crosses
//     findSingleStreet   lines -> streets, one result each
//
// Direction 0 is the street direction nearer the horizontal, direction 1 the one nearer the vertical.
#include "qvstreet/streetfinder/street_finder.h"

#include <algorithm>
#include <utility>

#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/frontend/spectrum_records.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/projection/crossing_refinement.h"
#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/projection/single_street.h"
#include "qvstreet/projection/tiled_projection.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "qvstreet/streetfinder/line_crossings.h"
#include "qvstreet/streetfinder/line_sets.h"
#include "qvstreet/streetfinder/mode_constants.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

namespace {

using Defs = qvStreetFinderDefs;

// Beyond this rotation, degrees, "nearer the horizontal" in the image and at the client could differ.
constexpr double kMostRotation = 5.0;
constexpr double kProjectionOverlap = 0.4;

/// The bins run along `primary`; each sums along `cross`.
qv_projectionParams projectionRequest(qvDegree primary, qvDegree cross) {
    qv_projectionParams request;
    request.mode = 1;
    request.primaryAngle = primary;
    request.crossAngle = cross;
    request.tileCounts = qvPair<long>(1, 1);
    request.overlap = kProjectionOverlap;
    return request;
}

/// A binding that broke off half-way leaves a record without lines: the searches then find nothing.
bool isComplete(const qv_streetFinderImpl& impl) { return impl.lines.size() == 2; }

void forgetFormerImage(qv_streetFinderImpl& impl) {
    // The lists keep their memory for the lines of the next image.
    if (isComplete(impl)) impl.scratch.lineSets.kept.swap(impl.lines);
    impl.lines.clear();
    impl.scoreWeights.clear();
    impl.angles.clear();
    impl.angleScores.clear();
    impl.streetAngles.clear();
}

void bindImage(qv_streetFinderImpl& impl, const qvPelBuffer_const<unsigned char>& image) {
    impl.image = image;
    impl.clientFromImage = image.clientFromImageXform();
    impl.imageBound = true;
    impl.imageSize = qvPair<long>(image.width(), image.height());
}

void chooseStreetDirections(qv_streetFinderImpl& impl, qvDiagObject* diagObject) {
    findDominantAngles(impl.spectrum, impl.angleParams, impl.angles, impl.angleScores, diagObject,
                       &impl.scratch.orientation);
    impl.streetAngles.resize(2);
    selectStreetAngles(impl.angles, impl.angleScores, impl.angleScoreRatio, impl.clientFromImage.inverse(),
                       impl.streetAngles[0], impl.streetAngles[1]);
    if (diagObject != nullptr)
        recordStreetDirections(impl.spectrum, impl.image, impl.angles, impl.angleScores, impl.angleScoreRatio,
                               impl.streetAngles[0], impl.streetAngles[1], *diagObject);
}

/// Gives the record that a stage has just left a title of its own.
void nameLastRecord(qvDiagObject* diagObject, const wchar_t* title) {
    if (diagObject != nullptr) diagObject->diagRecord(diagObject->numRecords() - 1).recordAnnotation(title);
}

void projectAlongStreets(qv_streetFinderImpl& impl, qvDiagObject* diagObject) {
    const qvDegree direction0 = impl.streetAngles[0];
    const qvDegree direction1 = impl.streetAngles[1];
    computeStreetProjection(impl.image, projectionRequest(direction1, direction0), impl.projectionAlong0, diagObject);
    nameLastRecord(diagObject, L"Projection, direction 0");
    computeStreetProjection(impl.image, projectionRequest(direction0, direction1), impl.projectionAlong1, diagObject);
    nameLastRecord(diagObject, L"Projection, direction 1");
    impl.imageDeviation = profileDeviation(impl.projectionAlong0);
}

/// In the ridge modes a street is one line, otherwise it is its two edges.
bool streetsShowAsLines(Defs::waferType mode) { return mode == Defs::eRidgeWafer || mode == Defs::eCoarseRidgeWafer; }

void requireImage(const qv_streetFinderImpl& impl) {
    if (!impl.imageBound) throw Defs::UnboundImage(L"Unbound Image::need to call setImage");
}

/// The segment of line `index`, the lines of all directions being numbered one after the other.
const qvLineSeg& segmentAt(const qv_streetFinderImpl& impl, long index, long count) {
    if (index < 0 || index > count) throw Defs::BadParams(L" invalid line index");
    std::size_t rest = static_cast<std::size_t>(index);
    std::size_t direction = 0;
    while (direction < impl.lines.size()) {
        // deliberate: <= stays in a direction one line too long; pinned by
        // StreetFinder.LineIndexEqualToASizeIsOutOfRange
        if (rest <= impl.lines[direction].size()) break;
        rest -= impl.lines[direction].size();
        ++direction;
    }
    return impl.lines.at(direction).at(rest).segment();
}

qvPair<double> asPair(const qvVector<2>& point) { return qvPair<double>(point.x(), point.y()); }

}  // namespace

qvStreetFinder::qvStreetFinder(const qvStreetFinderParams& params)
    : runParams_(params), impl_(std::make_unique<qv_streetFinderImpl>()) {
    impl_->flags = qvSizesFromParams;
    setModeConstants(*impl_, runParams_.runMode(), runParams_.streetPolarity());
}

qvStreetFinder::qvStreetFinder(const qvStreetFinder& other) {
    *this = other;
    qf_assert(impl_ != nullptr, L"a copied finder has a record");
}

qvStreetFinder& qvStreetFinder::operator=(const qvStreetFinder& other) {
    if (this == &other) return *this;
    std::unique_ptr<qv_streetFinderImpl> copied = std::make_unique<qv_streetFinderImpl>(*other.impl_);
    runParams_ = other.runParams_;
    impl_ = std::move(copied);
    return *this;
}

qvStreetFinder::~qvStreetFinder() = default;

const qvStreetFinderParams& qvStreetFinder::runParams() const { return runParams_; }

void qf_setImage(qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                 const qvPelBuffer_const<unsigned char>& image, qv_stageWatch& watch) {
    if (!image.isBound()) throw Defs::UnboundImage(L"Image is unbound.");
    if (!rotationIsWithin(image, kMostRotation)) throw Defs::BadParams(L"Image rotation greater then 5 degree");

    forgetFormerImage(impl);
    impl.flags |= qvSizesFromParams;
    setModeConstants(impl, params.runMode(), params.streetPolarity());
    bindImage(impl, image);

    prepareSpectrum(impl.spectrum, image, impl.spectrumParams, watch.stage(L"Spectrum"), &impl.scratch.spectrum);
    chooseStreetDirections(impl, watch.stage(L"Street Directions"));
    projectAlongStreets(impl, watch.stage(L"Projections"));
    buildLineSets(impl, params.nominalStreetWidth(), params.runMode(), params.edgeSharpness(), impl.filterScale,
                  impl.lines, watch.stage(L"Lines"));
}

void qf_find(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
             std::vector<qvStreetFinderStreetCrossResult>& results, qv_stageWatch& watch) {
    requireImage(impl);
    if (streetsShowAsLines(params.runMode())) {
        crossStreetLines(impl, params, results, watch.stage(L"Crossings"));
    } else {
        findEdgePairCrosses(impl, params, results, watch.stage(L"Crossings"));
    }
    refineCrossings(results, impl, params.runMode(), params.streetPolarity(), params.nominalStreetWidth(),
                    watch.stage(L"Refinement"));
    mapResultsToClient(results, impl);
}

void qf_findSingleStreet(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                         std::vector<qvStreetFinderSingleStreetResult>& results, qv_stageWatch& watch) {
    requireImage(impl);
    if (!isComplete(impl)) {
        results.clear();
        return;
    }
    if (params.runMode() == Defs::eEdgePairWafer) {
        findSingleStreetFromEdges(impl, params, results, watch.stage(L"Single Streets"));
    } else {
        findSingleStreetFromLines(impl, params, results, watch.stage(L"Single Streets"));
    }
}

void qvStreetFinder::setImage(const qvPelBuffer_const<unsigned char>& image) {
    qv_stageWatch nobody;
    qf_setImage(*impl_, runParams_, image, nobody);
}

void qvStreetFinder::find(std::vector<qvStreetFinderStreetCrossResult>& results) {
    qv_stageWatch nobody;
    qf_find(*impl_, runParams_, results, nobody);
}

void qvStreetFinder::findSingleStreet(std::vector<qvStreetFinderSingleStreetResult>& results) {
    qv_stageWatch nobody;
    qf_findSingleStreet(*impl_, runParams_, results, nobody);
}

void qvStreetFinder::getAngles(long cnt, std::vector<qvRadian>& angles) {
    if (cnt <= 0) throw Defs::BadParams(L"cnt must be positive.");
    if (!impl_->imageBound) throw Defs::UnboundImage(L"Need to call setImage.");
    const std::size_t count = std::min(impl_->angles.size(), static_cast<std::size_t>(cnt));
    angles.assign(impl_->angles.begin(), impl_->angles.begin() + static_cast<std::ptrdiff_t>(count));
}

long qvStreetFinder::getLineCount() const {
    std::size_t count = 0;
    for (const std::vector<qvLineFinderResults>& list : impl_->lines) count += list.size();
    return static_cast<long>(count);
}

qvPair<double> qvStreetFinder::getStartPoint(long index) const {
    return asPair(segmentAt(*impl_, index, getLineCount()).p1());
}

qvPair<double> qvStreetFinder::getEndPoint(long index) const {
    return asPair(segmentAt(*impl_, index, getLineCount()).p2());
}

void qvStreetFinder::customize(const std::wstring& option) {
    std::unique_ptr<qv_streetTrace>& trace = impl_->trace;
    if (option.compare(0, 2, L"DP") == 0) {
        if (!trace) trace = std::make_unique<qv_streetTrace>();
        trace->enabled = true;
        nameTraceFile(*trace, option.substr(3) + L".trace");
        emptyTraceFile(*trace);
    } else if (option == L"DO") {
        trace.reset();
    }
}
