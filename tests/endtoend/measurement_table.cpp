#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/endtoend/measurement_scenes.h"

// Prints what the measurement reaches on images with exact truth, as Markdown, beside what is demanded of it, and how true
// the stated deviations are.
//
//     measurement_table                 the tables
//     measurement_table --random N      with so many random scenes; 1000 by default
//     measurement_table --phases        crossing error against the place of an edge between two pels, as numbers

namespace {

using namespace qvtest;
using Quantity = MeasurementOutcome::Quantity;

constexpr auto kMode = qvStreetFinderDefs::eCoarseRidgeWafer;

const char* yesOrNo(bool yes) { return yes ? "yes" : "no"; }

bool within(const MeasurementOutcome& all, double angle, const MeasurementLimits& limits) {
    return all.measured == all.expected && all.rms() <= limits.rms && all.worst() <= limits.worst &&
           angle <= limits.angle;
}

void printGroups() {
    std::printf(
        "| images | row | expected | measured | false | found, rms | measured, rms | bound | worst, pels | worst "
        "angle, degrees | "
        "bound |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
    std::string summary;
    for (const MeasurementGroup& group : measurementGroups()) {
        MeasurementOutcome all;
        std::vector<double> angles;
        for (std::size_t i = 0; i < group.scenes.size(); ++i) {
            const Scene& scene = group.scenes[i];
            const MeasurementOutcome outcome = runMeasurement(scene, renderScene(scene), kMode);
            std::printf("| %s | %s | %d | %d | %d | %.2f | %.4f | %.4f | %.4f | %.5f | %.5f |\n", group.name.c_str(),
                        group.rowNames[i].c_str(), outcome.expected, outcome.measured, outcome.falseMeasured,
                        outcome.foundRms(), outcome.rms(), crossingBound(scene), outcome.worst(), outcome.worstAngle(),
                        angleBound(scene));
            all.add(outcome);
            angles.push_back(outcome.worstAngle());
        }
        std::sort(angles.begin(), angles.end());
        const double median = angles[angles.size() / 2];
        char line[240];
        std::snprintf(line, sizeof line, "| %s | %d of %d | %d | %.4f | %.4f | %.5f | %.5f | %s | %s |\n",
                      group.name.c_str(), all.measured, all.expected, all.falseMeasured, all.rms(), all.worst(), median,
                      angles.back(), yesOrNo(within(all, median, group.gate)), yesOrNo(within(all, median, group.aim)));
        summary += line;
    }
    std::printf(
        "\n| images | measured | false | rms, pels | worst, pels | angle, median image | angle, worst | demanded | "
        "hoped for "
        "|\n|---|---|---|---|---|---|---|---|---|\n%s",
        summary.c_str());
}

void printRandom(std::uint64_t count) {
    MeasurementOutcome all;
    double farthest = 0.0;
    for (std::uint64_t seed = 1; seed <= count; ++seed) {
        const Scene scene = randomMeasurementScene(seed);
        all.add(runMeasurement(scene, renderScene(scene), kMode));
    }
    for (const CrossingError& one : all.errors)
        farthest = std::max({farthest, std::fabs(one.normalised.x), std::fabs(one.normalised.y)});
    std::printf(
        "\n%llu random scenes: %d of %d crossings that were found are measured, %d false ones; errors over stated "
        "deviations, rms: crossing %.2f, angle %.2f, width %.2f; the farthest crossing %.1f deviations.\n",
        static_cast<unsigned long long>(count), all.measured, all.found, all.falseMeasured,
        all.normalisedRms(Quantity::crossing), all.normalisedRms(Quantity::angle), all.normalisedRms(Quantity::width),
        farthest);
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t random = 1000;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--random" && i + 1 < argc) {
            random = std::strtoull(argv[++i], nullptr, 10);
        } else if (option == "--phases") {
            for (const PhaseError& one : phaseErrors())
                std::printf("%.4f %.5f %.5f %.5f\n", one.phase, one.edge[0], one.edge[1], one.centre);
            return 0;
        } else {
            std::fprintf(stderr, "usage: measurement_table [--random N] [--phases]\n");
            return 2;
        }
    }
    printGroups();
    if (random > 0) printRandom(random);
    return 0;
}
