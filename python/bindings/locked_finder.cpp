#include "python/bindings/locked_finder.h"

#include <pybind11/pybind11.h>

#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

namespace py = pybind11;

namespace {

/// Before anything is searched, so that wrong settings are refused whatever there is to find.
std::optional<qvStreetMeasureParams> measureParams(const qvStreetFinder& finder,
                                                   const std::optional<MeasureSettings>& measure) {
    if (!measure) return std::nullopt;
    return qvStreetMeasureParams(finder.runParams(), measure->reach, measure->leastContrast);
}

}  // namespace

void LockedFinder::setImage(const qvPelBuffer_const<unsigned char>& image) {
    // Letting go of an image may run Python code, even code that calls this finder: the former one goes last, behind
    // both locks.
    qvPelBuffer_const<unsigned char> former;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    former = qf_finderRecord(finder_).image;
    finder_.setImage(image);
}

FoundCrossings LockedFinder::find(const std::optional<MeasureSettings>& measure) {
    FoundCrossings found;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    const std::optional<qvStreetMeasureParams> params = measureParams(finder_, measure);
    finder_.find(found.results);
    // Where nothing can be found there may be no image either.
    if (params && !found.results.empty())
        qfStreetMeasureCrosses(qf_finderRecord(finder_).image, found.results, *params, found.measured);
    return found;
}

FoundStreets LockedFinder::findSingleStreet(const std::optional<MeasureSettings>& measure) {
    FoundStreets found;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    const std::optional<qvStreetMeasureParams> params = measureParams(finder_, measure);
    finder_.findSingleStreet(found.results);
    if (params && !found.results.empty())
        qfStreetMeasureStreets(qf_finderRecord(finder_).image, found.results, *params, found.measured);
    return found;
}

std::vector<std::pair<qvRadian, double>> LockedFinder::angles(long count) {
    std::vector<std::pair<qvRadian, double>> scored;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    std::vector<qvRadian> found;
    finder_.getAngles(count, found);
    const std::vector<double>& scores = qf_finderRecord(finder_).angleScores;
    for (std::size_t i = 0; i < found.size(); ++i) scored.emplace_back(found[i], scores.at(i));
    return scored;
}
