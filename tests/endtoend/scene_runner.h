#ifndef QVSTREET_TESTS_ENDTOEND_SCENE_RUNNER_H
#define QVSTREET_TESTS_ENDTOEND_SCENE_RUNNER_H

#include <string>
#include <vector>

#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "tests/endtoend/scenes.h"
#include "tests/support/scene_match.h"
#include "tests/support/wafer_render.h"

// Runs the public finder on the scenes of the table.

namespace qvtest {

/// What one scene gave in one mode; everything in the client frame of the scene.
struct SceneOutcome {
    std::vector<qvRadian> angles;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    /// Of each crossing.
    std::vector<qvStreetMeasurement> measured;
    std::vector<qvStreetFinderSingleStreetResult> streets;
};

/// The image of a row as the library sees it; shares the pels of `image`, client transform set.
qvPelBuffer_const<unsigned char> imageOf(const SceneRow& row, const GreyImage& image);

qvStreetFinderParams finderParams(const RunParameters& parameters, RunMode mode);

/// `setImage`, `getAngles`, `find`, `findSingleStreet`, and the measurement of the crossings.
SceneOutcome runScene(const SceneRow& row, const GreyImage& image, RunMode mode);

std::vector<FoundCrossing> foundCrossings(const SceneOutcome& outcome);

/// Everything in one line of JSON, every double with all its digits.
std::string outcomeJson(const std::string& name, RunMode mode, const SceneOutcome& outcome);

const char* modeName(RunMode mode);

}  // namespace qvtest

#endif
