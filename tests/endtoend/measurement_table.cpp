#include <cstdio>
#include <cstdlib>

#include "tests/endtoend/measurement_scenes.h"

// Prints what the measurement reaches on images with exact truth, as Markdown, beside what is demanded of it.

namespace {

using namespace qvtest;

const char* verdict(const MeasurementOutcome& outcome, const MeasurementLimits& limits) {
    const bool within =
        outcome.rms() <= limits.rms && outcome.worst() <= limits.worst && outcome.worstAngle() <= limits.angle;
    return within ? "yes" : "no";
}

}  // namespace

int main() {
    std::printf(
        "| images | row | expected | found | measured | false | rms, pels | bound | worst, pels | angle, degrees | "
        "bound | gate "
        "| aim |\n|---|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    for (const MeasurementGroup& group : measurementGroups())
        for (std::size_t i = 0; i < group.scenes.size(); ++i) {
            const Scene& scene = group.scenes[i];
            const MeasurementOutcome outcome =
                runMeasurement(scene, renderScene(scene), qvStreetFinderDefs::eCoarseRidgeWafer);
            std::printf("| %s | %s | %d | %d | %d | %d | %.4f | %.4f | %.4f | %.5f | %.5f | %s | %s |\n",
                        group.name.c_str(), group.rowNames[i].c_str(), outcome.expected, outcome.found,
                        outcome.measured, outcome.falseMeasured, outcome.rms(), crossingBound(scene), outcome.worst(),
                        outcome.worstAngle(), angleBound(scene), verdict(outcome, group.gate),
                        verdict(outcome, group.aim));
        }
    return 0;
}
