/// @file
/// A street finder for several threads of Python.
#ifndef QVSTREET_PYTHON_BINDINGS_LOCKED_FINDER_H
#define QVSTREET_PYTHON_BINDINGS_LOCKED_FINDER_H

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_finder.h"

/// What the measurement wants to know beside the finder's parameters; 0, less, and NaN are refused.
struct MeasureSettings {
    /// Client units.
    double reach;
    /// Grey levels.
    double leastContrast;
};

/// `measured[i]` belongs to `results[i]`; empty unless asked for.
struct FoundCrossings {
    std::vector<qvStreetFinderStreetCrossResult> results;
    std::vector<qvStreetMeasurement> measured;
};
struct FoundStreets {
    std::vector<qvStreetFinderSingleStreetResult> results;
    std::vector<qvStreetLineMeasurement> measured;
};

/// One finder, its calls one after the other. All are to be called with the interpreter lock; they let go of it for as
/// long as they wait or work. Nobody waits for the finder's lock while holding the interpreter's, so that the one who
/// works may come back to Python.
class LockedFinder {
 public:
    explicit LockedFinder(const qvStreetFinderParams& params) : finder_(params) {}

    /// @throws as `qvStreetFinder`
    void setImage(const qvPelBuffer_const<unsigned char>& image);
    /// The results, measured on the bound image if settings are given.
    /// @throws as `qvStreetFinder` and `qvStreetMeasureParams`
    FoundCrossings find(const std::optional<MeasureSettings>& measure);
    FoundStreets findSingleStreet(const std::optional<MeasureSettings>& measure);
    /// The angles with their scores.
    std::vector<std::pair<qvRadian, double>> angles(long count);

 private:
    std::mutex mutex_;
    qvStreetFinder finder_;
};

#endif
