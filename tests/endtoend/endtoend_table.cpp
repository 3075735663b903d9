#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/endtoend/scene_runner.h"

// Prints the end-to-end table as Markdown: image, what it shows, and per mode what was found of what is there.

namespace {

using namespace qvtest;

const char* kindName(const SceneRow& row) {
    if (isEdgeRow(row)) return "clean, edge";
    if (isCleanRow(row)) return "clean";
    return row.kind == RowKind::empty ? "empty" : "other";
}

double quantile(std::vector<double> values, double fraction) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    return values[static_cast<std::size_t>(fraction * static_cast<double>(last) + 0.5)];
}

void printRow(const SceneRow& row, RunMode mode, const MatchReport& report, std::size_t streets) {
    std::printf("| %s | %s | %ld x %ld | %s | %d | %d | %d | %d | %.2f | %.2f | %.3f | %zu |\n", row.name.c_str(),
                kindName(row), row.scene.width, row.scene.height, modeName(mode), report.expected, report.found,
                report.falseFound + report.duplicates, report.surplus, report.worstErrorPels,
                report.worstErrorSamplePels, report.worstAngleErrorDegrees, streets);
}

/// Errors over the rows of which success is demanded in one mode.
struct Summary {
    std::vector<double> errors;
    std::vector<double> angleErrors;
    std::size_t rows = 0;
    int expected = 0;
    int found = 0;
    int falseFound = 0;

    void add(const MatchReport& report) {
        ++rows;
        expected += report.expected;
        found += report.found;
        falseFound += report.falseFound + report.duplicates;
        for (const CrossingMatch& match : report.matches)
            if (match.expected) errors.push_back(match.errorSamplePels);
        angleErrors.push_back(report.worstAngleErrorDegrees);
    }

    void print(const char* title) const {
        std::printf(
            "\n%s: %zu rows, %d of %d crossings found, %d false ones; error in sample pels: median %.3f, nine in ten "
            "%.3f, worst %.3f; worst angle error of a row: median %.3f degrees, worst %.3f.\n",
            title, rows, found, expected, falseFound, quantile(errors, 0.5), quantile(errors, 0.9),
            quantile(errors, 1.0), quantile(angleErrors, 0.5), quantile(angleErrors, 1.0));
    }
};

/// The crossings as they were before the calipers: where the two lines of each result meet.
std::vector<FoundCrossing> unrefinedCrossings(const SceneOutcome& outcome) {
    std::vector<FoundCrossing> crossings = foundCrossings(outcome);
    for (std::size_t i = 0; i < crossings.size(); ++i) {
        const std::vector<qvLineSeg>& segments = outcome.crossings[i].lineSegs();
        const qvVector<2> point = segments[0].line().intersect(segments[1].line());
        crossings[i].position = {point.x(), point.y()};
    }
    return crossings;
}

void addErrorsInPels(const MatchReport& report, std::vector<double>& errors) {
    for (const CrossingMatch& match : report.matches)
        if (match.expected) errors.push_back(match.errorPels);
}

void printPels(const char* title, const std::vector<double>& errors) {
    std::printf("\n%s: %zu crossings; error in pels: median %.3f, nine in ten %.3f, worst %.3f.\n", title,
                errors.size(), quantile(errors, 0.5), quantile(errors, 0.9), quantile(errors, 1.0));
}

/// Ridge mode with the right polarity: what the calipers make of the lines' crossings.
void printRefinement() {
    std::vector<double> refined;
    std::vector<double> unrefined;
    std::vector<double> unequalRefined;
    std::vector<double> unequalUnrefined;
    for (const SceneRow& row : endToEndScenes()) {
        const std::array<StreetFamily, 2>& families = row.scene.families;
        const bool unequal = isCleanRow(row) && row.scene.width == row.scene.height &&
                             families[0].widthPels != families[1].widthPels && row.name != "dark_and_light";
        if (!isCaliperRow(row) && !unequal) continue;
        const SceneRow asked = withRightPolarity(row);
        const SceneOutcome outcome = runScene(asked, renderScene(asked.scene), RunMode::ridge);
        addErrorsInPels(matchCrossings(asked.scene, foundCrossings(outcome)), unequal ? unequalRefined : refined);
        addErrorsInPels(matchCrossings(asked.scene, unrefinedCrossings(outcome)),
                        unequal ? unequalUnrefined : unrefined);
    }
    printPels("Ridge mode, right polarity, square images, equal widths, refined", refined);
    printPels("The same before the refinement", unrefined);
    printPels("Ridge mode, right polarity, square images, unequal widths, refined", unequalRefined);
    printPels("The same before the refinement", unequalUnrefined);
}

}  // namespace

int main() {
    std::printf(
        "| scene | row | size | mode | expected | found | false | surplus | worst, pels | worst, sample pels | "
        "angle, deg | single streets |\n|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    Summary coarse;
    Summary edge;
    for (const SceneRow& row : endToEndScenes()) {
        const GreyImage image = renderScene(row.scene);
        for (const RunMode mode : {RunMode::edge, RunMode::coarse, RunMode::ridge}) {
            const SceneOutcome outcome = runScene(row, image, mode);
            const MatchReport report = matchCrossings(row.scene, foundCrossings(outcome));
            printRow(row, mode, report, outcome.streets.size());
            if (mode == RunMode::coarse && isCleanRow(row)) coarse.add(report);
            if (mode == RunMode::edge && isEdgeRow(row)) edge.add(report);
        }
    }
    coarse.print("Clean rows in coarse mode");
    edge.print("Edge rows in edge mode");
    printRefinement();
    return 0;
}
