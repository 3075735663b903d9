// The library's side of every row: the whole calls of a finder, and single stages as a finder in coarse mode calls them.
#include <memory>
#include <stdexcept>
#include <vector>

#include "bench/bench_images.h"
#include "bench/peers/rows.h"
#include "bench/peers/task_settings.h"
#include "bench/strip_images.h"
#include "qvstreet/blankregion/sliding_deviation.h"
#include "qvstreet/blankregion/sliding_mode.h"
#include "qvstreet/frontend/filtered_response.h"
#include "qvstreet/frontend/gabor_stage.h"
#include "qvstreet/frontend/polar_sum.h"
#include "qvstreet/frontend/ridge_scan.h"
#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/gabor.h"
#include "qvstreet/platform/sampling.h"
#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/projection/tiled_projection.h"
#include "qvstreet/streetfinder/line_sets.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_finder_access.h"

namespace qvbench {

namespace {

using Image = qvPelBuffer_const<unsigned char>;
using Crossings = std::vector<qvStreetFinderStreetCrossResult>;
using Mode = qvStreetFinderDefs::waferType;
using Run = std::function<void()>;

constexpr struct {
    const char* name;
    Mode mode;
} kModes[] = {{"coarse", qvStreetFinderDefs::eCoarseRidgeWafer}, {"edge", qvStreetFinderDefs::eEdgePairWafer}};

// What the blank region search asks for.
constexpr std::int32_t kDeviationScale = 10;
constexpr double kRowWeight = 0.8;

/// A search that finds less than the image shows may be fast for that alone.
void requireCrossings(const Image& image, const qvStreetFinderParams& params, std::size_t least) {
    qvStreetFinder finder(params);
    Crossings results;
    finder.setImage(image);
    finder.find(results);
    if (results.size() < least) throw std::logic_error("crossings are missing in a timed image");
}

Run wholeRun(const Image& image, const qvStreetFinderParams& params, std::size_t least = kUsualCrossings) {
    requireCrossings(image, params, least);
    const auto finder = std::make_shared<qvStreetFinder>(params);
    const auto results = std::make_shared<Crossings>();
    return [=, &image] {
        results->clear();
        finder->setImage(image);
        finder->find(*results);
    };
}

Run bindingRun(const Image& image, const qvStreetFinderParams& params) {
    const auto finder = std::make_shared<qvStreetFinder>(params);
    return [=, &image] { finder->setImage(image); };
}

Run searchRun(const Image& image, const qvStreetFinderParams& params, std::size_t least = kUsualCrossings) {
    requireCrossings(image, params, least);
    const auto finder = std::make_shared<qvStreetFinder>(params);
    const auto results = std::make_shared<Crossings>();
    finder->setImage(image);
    return [=] {
        results->clear();
        finder->find(*results);
    };
}

Run measureRun(const Image& image, const qvStreetFinderParams& params, std::size_t least = kUsualCrossings) {
    requireCrossings(image, params, least);
    qvStreetFinder finder(params);
    const auto results = std::make_shared<Crossings>();
    finder.setImage(image);
    finder.find(*results);
    const auto measured = std::make_shared<std::vector<qvStreetMeasurement>>();
    return [=, &image] { qfStreetMeasureCrosses(image, *results, qvStreetMeasureParams(params), *measured); };
}

void addFinderTasks(std::vector<Task>& tasks) {
    for (const auto& entry : kModes) {
        const Mode mode = entry.mode;
        const std::string modeName = std::string("/") + entry.name + "/";
        for (const long side : kSides) {
            const std::string name = modeName + std::to_string(side);
            tasks.push_back(
                {"setImage_find" + name, [=] { return wholeRun(waferImage(side), waferParams(side, mode)); }});
            tasks.push_back({"setImage" + name, [=] { return bindingRun(waferImage(side), waferParams(side, mode)); }});
            tasks.push_back({"find" + name, [=] { return searchRun(waferImage(side), waferParams(side, mode)); }});
        }
        const std::size_t least = mode == qvStreetFinderDefs::eEdgePairWafer ? kDenseEdgeCrossings : kDenseCrossings;
        const std::string dense = "_dense" + modeName + std::to_string(kDenseSide);
        tasks.push_back({"setImage_find" + dense, [=] { return wholeRun(denseImage(), denseParams(mode), least); }});
        tasks.push_back({"setImage" + dense, [=] { return bindingRun(denseImage(), denseParams(mode)); }});
        tasks.push_back({"find" + dense, [=] { return searchRun(denseImage(), denseParams(mode), least); }});
        tasks.push_back({"setImage_find_noisy" + modeName + "1024",
                         [=] { return wholeRun(noisyImage(1024), waferParams(1024, mode)); }});
    }
    const Mode coarse = kModes[0].mode;
    for (const long side : kSides)
        tasks.push_back({"measure/" + std::to_string(side),
                         [=] { return measureRun(waferImage(side), waferParams(side, coarse)); }});
    tasks.push_back({"measure_dense/" + std::to_string(kDenseSide),
                     [=] { return measureRun(denseImage(), denseParams(coarse), kDenseCrossings); }});
    for (const double tilt : kTilts)
        tasks.push_back({"setImage_find_tilted/" + tiltName(tilt), [=] {
                             return wholeRun(waferImage(kTiltedSide, tilt), waferParams(kTiltedSide, kModes[0].mode));
                         }});
}

qv_projectionParams projectionRequest(double primaryDegrees, double crossDegrees) {
    qv_projectionParams params;
    params.mode = 1;
    params.primaryAngle = qvDegree(primaryDegrees);
    params.crossAngle = qvDegree(crossDegrees);
    params.tileCounts = qvPair<long>(1, 1);
    params.overlap = 0.4;
    return params;
}

Run projectionsRun(const Image& image, double tilt) {
    const auto along0 = std::make_shared<qvTiledProjectionResult>();
    const auto along1 = std::make_shared<qvTiledProjectionResult>();
    const qv_projectionParams request0 = projectionRequest(tilt - 90.0, tilt);
    const qv_projectionParams request1 = projectionRequest(tilt, tilt - 90.0);
    return [=, &image] {
        computeStreetProjection(image, request0, *along0, nullptr);
        computeStreetProjection(image, request1, *along1, nullptr);
    };
}

void addProjectionTasks(std::vector<Task>& tasks) {
    tasks.push_back({"projections/1024", [] { return projectionsRun(waferImage(1024), kUsualTilt); }});
    for (const double tilt : kTilts)
        tasks.push_back({"projections_tilted/" + tiltName(tilt),
                         [=] { return projectionsRun(waferImage(kTiltedSide, tilt), tilt); }});
}

Run gaussRun(long side) {
    const Image& image = waferImage(side);
    const qvGaussSampleParams params(qvPair<long>(1, 1), qvPair<long>(side / kTransformSide, side / kTransformSide),
                                     1.0, true);
    return [=, &image] { qfGaussSample(image, params); };
}

/// A finder with the usual image of side 1024 bound.
struct Bound {
    explicit Bound(Mode mode) : params(waferParams(1024, mode)), finder(params) { finder.setImage(waferImage(1024)); }
    const qv_streetFinderImpl& record() const { return qf_finderRecord(finder); }
    qvStreetFinderParams params;
    qvStreetFinder finder;
};

Run forwardRun() {
    const auto bound = std::make_shared<Bound>(qvStreetFinderDefs::eCoarseRidgeWafer);
    const auto spectrum = std::make_shared<qvFrequencyBuffer>(kTransformSide, kTransformSide);
    return [=] { qf_ForwardFFT(bound->record().spectrum.fftImage, *spectrum); };
}

/// The filter that the finder uses for the streets of a direction.
void setFilter(const Bound& bound, std::size_t direction, qvFrequencyFilterGabor& filter) {
    const qv_streetFinderImpl& record = bound.record();
    const qv_gaborSpec spec =
        filterSpecs(record, bound.params.nominalStreetWidth(), bound.params.runMode(), record.streetAngles,
                    bound.params.edgeSharpness(), record.filterScale)[direction];
    const qvXform<2> sampleFromClient = (record.clientFromImage * record.spectrum.imageFromSample).inverse();
    const qvDegree along = record.streetAngles[direction];
    double frequency = 0.0;
    qvPair<double> sigmas;
    computeGaborSizes(spec, kTransformSide, along, sampleFromClient, frequency, sigmas);
    filter.set(sigmas, qvPair<double>(0.0, 0.0), qvRadian(along + qvDegree(90.0)), frequency,
               qvPair<long>(kTransformSide, kTransformSide), 1);
}

Run gaborInverseRun(Mode mode, std::size_t direction) {
    struct Work {
        explicit Work(Mode mode) : bound(mode) {}
        Bound bound;
        qv_ResponseScratch scratch;
        qv_FilteredResponse response;
    };
    const auto work = std::make_shared<Work>(mode);
    setFilter(work->bound, direction, work->scratch.filter);
    work->response.transposed = scansTransposed(work->bound.record().streetAngles[direction]);
    return [=] { respondFiltered(work->bound.record().spectrum.spectrum, work->scratch, work->response); };
}

Run polarRun() {
    const Bound bound(qvStreetFinderDefs::eEdgePairWafer);
    const qvPelBuffer<double> magnitude = bound.record().spectrum.spectrum.getMagnitudeImage(true);
    const auto ring = std::make_shared<qv_polarSum>();
    const auto profile = std::make_shared<qvPelBuffer<double>>();
    return [=] { ring->sum(magnitude, kPolarAngles, kPolarInner, kPolarOuter, *profile); };
}

void addStageTasks(std::vector<Task>& tasks) {
    tasks.push_back({"gauss/2048", [] { return gaussRun(2048); }});
    tasks.push_back({"forward/256", forwardRun});
    for (const auto& entry : kModes)
        for (const std::size_t direction : {0u, 1u}) {
            const Mode mode = entry.mode;
            tasks.push_back({std::string("gabor_inverse/") + entry.name + "/" + std::to_string(direction),
                             [=] { return gaborInverseRun(mode, direction); }});
        }
    tasks.push_back({"polar/256", polarRun});
}

Run slidingModeRun(const StripSize& size) {
    const Image& image = stripImage(size.width, size.height);
    const qvPelBuffer<unsigned char> modes(size.width - kWindowWidth + 1, size.height - kWindowHeight + 1);
    return [=, &image] { qf_slidingMode(image, kWindowWidth, kWindowHeight, modes.width(), modes); };
}

Run slidingDeviationRun(const StripSize& size) {
    const Image& image = stripImage(size.width, size.height);
    const qvPelBuffer<unsigned char> deviations(size.width - kWindowWidth + 1, size.height - kWindowHeight + 1);
    return [=, &image] {
        qf_slidingDeviation(image, kWindowWidth, kWindowHeight, kDeviationScale, kRowWeight, deviations);
    };
}

void addSlidingTasks(std::vector<Task>& tasks) {
    for (const StripSize& size : kStripSizes) {
        tasks.push_back({"sliding_mode/" + stripName(size), [=] { return slidingModeRun(size); }});
        tasks.push_back({"sliding_deviation/" + stripName(size), [=] { return slidingDeviationRun(size); }});
    }
}

}  // namespace

void addOwnTasks(std::vector<Task>& tasks) {
    addFinderTasks(tasks);
    addProjectionTasks(tasks);
    addStageTasks(tasks);
    addSlidingTasks(tasks);
}

}  // namespace qvbench
