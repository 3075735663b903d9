/// @file
/// Results as plain tuples for the Python half: positions and lengths in client units, angles in degrees, enumerations as
/// their texts.
#ifndef QVSTREET_PYTHON_BINDINGS_RESULT_TUPLES_H
#define QVSTREET_PYTHON_BINDINGS_RESULT_TUPLES_H

#include <pybind11/pybind11.h>

#include <utility>
#include <vector>

#include "python/bindings/locked_finder.h"
#include "qvstreet/qvstreet.h"

pybind11::tuple tupleOf(const qvPair<double>& pair);

/// (degrees, score)
pybind11::tuple tupleOf(const std::pair<qvRadian, double>& angle);

/// (x, y, width, height, score, blankness)
pybind11::tuple tupleOf(const qvStreetBlankRegionFinderResult& result);

template <typename T>
pybind11::list listOf(const std::vector<T>& results) {
    pybind11::list list(results.size());
    for (std::size_t i = 0; i < results.size(); ++i) list[i] = tupleOf(results[i]);
    return list;
}

/// Each (x, y, score, horizontal and vertical degrees, corners, segments, status, measured); `measured` is None, or
/// (status, reason, (x, y), deviations in x and y, horizontal street, vertical street), each street as below.
pybind11::list listOf(const FoundCrossings& found);

/// Each (score, degrees, segments, status, measured); `measured` is None, or (status, reason, degrees, its deviation, width,
/// its deviation, centre, its deviation, the two edges, their deviations, used points, refused points).
pybind11::list listOf(const FoundStreets& found);

/// The texts of the reasons why something was not measured.
pybind11::tuple measureReasons();

#endif
