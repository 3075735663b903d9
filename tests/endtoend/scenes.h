#ifndef QVSTREET_TESTS_ENDTOEND_SCENES_H
#define QVSTREET_TESTS_ENDTOEND_SCENES_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/wafer_scene.h"

// The rows of the end-to-end table: scenes with exact truth, and how to run each.

namespace qvtest {

enum class RowKind : std::int32_t {
    clean,  ///< good contrast, little noise and blur, nothing that looks like a street but the streets
    hard,   ///< something is against the finder: what it does is reported
    empty   ///< no streets at all
};

enum class RunMode : std::int32_t { edge = 0, ridge = 1, coarse = 2 };

/// Values of `RunParameters::polarity`.
enum class AskedPolarity : std::int32_t { any = 0, dark = 1, light = 2 };

struct SceneRow {
    std::string name;
    /// What the row is in the table for.
    std::string shows;
    RowKind kind = RowKind::clean;
    AskedPolarity polarity = AskedPolarity::any;
    Scene scene;
};

/// Client units; what a caller who knows the wafer would ask for.
struct RunParameters {
    /// Nominal width of the streets of direction 1, and its range.
    double widthX = 0.0;
    double rangeXLow = 0.0;
    double rangeXHigh = 0.0;
    /// The same of direction 0.
    double widthY = 0.0;
    double rangeYLow = 0.0;
    double rangeYHigh = 0.0;
    double edgeSharpness = 0.0;
    AskedPolarity polarity = AskedPolarity::any;
    /// The true crossings inside the image and four more.
    long maxResults = 0;
};

/// Every row, names unique.
const std::vector<SceneRow>& endToEndScenes();

/// The row of that name; throws std::out_of_range.
const SceneRow& sceneRow(const std::string& name);

/// The nominal widths are the true ones, the ranges 0.5 to 1.5 times as much, the edge sharpness 5 pels.
RunParameters runParametersFor(const SceneRow& row);

/// Whether the mode is made for such streets: the ridge modes are for all; the two edges of a street are told apart
/// from 4 sample pels (1/246 of the image's side) of width up.
bool modeApplies(const SceneRow& row, RunMode mode);

/// The rows of which success is demanded: kind `clean`, any polarity, shorter side of 512 pels or more, and every
/// street from 8 pels to 1/21 of the shorter side wide.
bool isCleanRow(const SceneRow& row);

/// The rows of which success is demanded in edge mode: the clean ones whose streets are at least 2.5 times as wide as
/// the greater of the edge sharpness and two sample pels.
bool isEdgeRow(const SceneRow& row);

/// The rows of which sub-pel crossings are demanded in ridge mode once the right polarity is asked for: the clean ones
/// with a square image, two equal widths and streets of one kind.
bool isCaliperRow(const SceneRow& row);

/// The same scene, asked for with the polarity that its streets have.
SceneRow withRightPolarity(SceneRow row);

}  // namespace qvtest

#endif
