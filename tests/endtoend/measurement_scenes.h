#ifndef QVSTREET_TESTS_ENDTOEND_MEASUREMENT_SCENES_H
#define QVSTREET_TESTS_ENDTOEND_MEASUREMENT_SCENES_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "qvstreet/projection/street_measurement.h"
#include "tests/support/wafer_render.h"
#include "tests/support/wafer_scene.h"

// Scenes for the measurement, what it is asked to reach on them, and how far from the truth it came.

namespace qvtest {

/// Crossing error, rms and worst, pels; the worst angle error of an image, degrees, of the median image.
struct MeasurementLimits {
    double rms;
    double worst;
    double angle;
};

struct MeasurementGroup {
    std::string name;
    /// Demanded, and hoped for.
    MeasurementLimits gate;
    MeasurementLimits aim;
    std::vector<std::string> rowNames;
    std::vector<Scene> scenes;
};

/// Contrast 60, noise 3, blur 0.8: `count` streets a direction, `tilt` degrees, 9 crossings for 3.
Scene cleanMeasurementScene(long side, double tilt, bool light, std::uint64_t seed);

/// Contrast 25, noise 10, blur 1.4, test structures in the streets, uneven light, circuits stronger than the streets.
Scene hardMeasurementScene(long side, double tilt, std::uint64_t seed);

/// 13 by 17 streets, 151 by 128 pels apart, on 2048 pels.
Scene denseMeasurementScene(std::uint64_t seed);

/// Anything within reason: sides of 300 to 800, 1 to 4 streets a direction, contrast 20 to 80 either way, noise, blur,
/// artwork, uneven light.
Scene randomMeasurementScene(std::uint64_t seed);

/// All groups in the order of the table.
std::vector<MeasurementGroup> measurementGroups();

/// One crossing that was measured and has a truth.
struct CrossingError {
    /// Measured minus true, and divided by the stated deviation; client frame.
    Point2 error;
    Point2 normalised;
    /// Degrees; horizontal and vertical street.
    std::array<double, 2> angle;
    std::array<double, 2> normalisedAngle;
    /// Pels.
    std::array<double, 2> width;
    std::array<double, 2> normalisedWidth;
};

struct MeasurementOutcome {
    /// Crossings of the scene further inside than a street's width; found by the finder; measured of those.
    int expected = 0;
    int found = 0;
    int measured = 0;
    /// Not true crossings, and yet called measured.
    int falseMeasured = 0;
    std::vector<CrossingError> errors;
    std::vector<qvStreetMeasurement> measurements;
    /// Of the expected crossings, how far the finder was from the truth, pels.
    std::vector<double> foundErrors;

    void add(const MeasurementOutcome& other);

    enum class Quantity : std::int32_t { crossing, angle, width };
    /// Root mean square of the errors over their stated deviations: 1 where these are true.
    double normalisedRms(Quantity quantity) const;

    double rms() const;
    /// The same of the finder's crossings.
    double foundRms() const;
    double worst() const;
    double worstAngle() const;
};

/// Parameters for the scene: the true widths, 0.5 to 1.5 times of them, any polarity, coarse mode.
qvStreetFinderParams measurementFinderParams(const Scene& scene, qvStreetFinderDefs::waferType mode);

/// Finds, measures, and compares with the truth.
MeasurementOutcome runMeasurement(const Scene& scene, const GreyImage& image, qvStreetFinderDefs::waferType mode);

/// Errors, pels, of a level street's two edges and of its centre line, with the first edge `phase` pels below a border of
/// the pel grid.
struct PhaseError {
    double phase;
    std::array<double, 2> edge;
    double centre;
};

/// Over one pel in steps of 1/32, at exactly 0 degrees, where every column sees the same phase; almost without noise, so
/// that what shows is the estimator's leaning on the grid.
std::vector<PhaseError> phaseErrors();

/// The least error, pels, of a crossing between streets whose edges are as long as the image is wide: rms of the distance.
double crossingBound(const Scene& scene);
/// The least deviation of a street's angle, degrees.
double angleBound(const Scene& scene);

}  // namespace qvtest

#endif
