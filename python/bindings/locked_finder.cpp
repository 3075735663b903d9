#include "python/bindings/locked_finder.h"

#include <pybind11/pybind11.h>

#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

namespace py = pybind11;

void LockedFinder::setImage(const qvPelBuffer_const<unsigned char>& image) {
    // Letting go of an image may run Python code, even code that calls this finder: the former one goes last, behind
    // both locks.
    qvPelBuffer_const<unsigned char> former;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    former = qf_finderRecord(finder_).image;
    finder_.setImage(image);
}

std::vector<qvStreetFinderStreetCrossResult> LockedFinder::find() {
    std::vector<qvStreetFinderStreetCrossResult> results;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    finder_.find(results);
    return results;
}

std::vector<qvStreetFinderSingleStreetResult> LockedFinder::findSingleStreet() {
    std::vector<qvStreetFinderSingleStreetResult> results;
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    finder_.findSingleStreet(results);
    return results;
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
