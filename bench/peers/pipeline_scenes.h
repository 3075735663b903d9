#ifndef QVSTREET_BENCH_PEERS_PIPELINE_SCENES_H
#define QVSTREET_BENCH_PEERS_PIPELINE_SCENES_H

#include <string>
#include <vector>

#include "tests/support/wafer_scene.h"

// The wafers on which whole searches are compared: their truth is exact, so that a fast search that finds nothing, or
// the wrong thing, shows.

namespace qvbench {

/// A wafer with dark streets that are equally wide in both directions.
struct PipelineWafer {
    qvtest::Scene scene;
    /// Pels, measured at right angles to the streets; every method is told.
    double streetWidth = 0.0;
    /// How many crossings our finder is asked for: more than there are.
    long maxResults = 0;
};

/// One line of the tables.
struct PipelineScene {
    /// The name under which the command line knows it, "pipelines_1024".
    std::string name;
    /// What it shows.
    std::string title;
    /// Mostly one; of several the counts are added and the times averaged.
    std::vector<PipelineWafer> wafers;
};

/// All of them, in the order of the tables.
std::vector<PipelineScene> pipelineScenes();

}  // namespace qvbench

#endif
