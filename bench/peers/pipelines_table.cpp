#include "bench/peers/pipelines_table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <deque>
#include <memory>
#include <ostream>

#include "bench/peers/pipeline_scenes.h"
#include "bench/peers/pipelines.h"
#include "bench/peers/report.h"
#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "tests/support/wafer_render.h"

namespace qvbench {

namespace {

using Image = qvPelBuffer_const<unsigned char>;

constexpr double kEdgeSharpness = 5.0;

/// A result nearer than this to a true crossing is meant to be it; street widths.
constexpr double kSameCrossing = 0.5;

qvStreetFinderParams paramsFor(const PipelineWafer& wafer, qvStreetFinderDefs::waferType mode) {
    const double width = wafer.streetWidth;
    const qvPair<double> range(0.5 * width, 1.5 * width);
    return qvStreetFinderParams(qvPair<double>(width, width), range, range, mode, kEdgeSharpness,
                                qvStreetFinderDefs::eDarkOnLight, wafer.maxResults);
}

Search ownSearch(const Image& image, const PipelineWafer& wafer, qvStreetFinderDefs::waferType mode) {
    const auto finder = std::make_shared<qvStreetFinder>(paramsFor(wafer, mode));
    const auto results = std::make_shared<std::vector<qvStreetFinderStreetCrossResult>>();
    return [=, &image](Crossings& crossings) {
        results->clear();
        finder->setImage(image);
        finder->find(*results);
        crossings.clear();
        for (const qvStreetFinderStreetCrossResult& result : *results)
            crossings.push_back({result.crossing().x(), result.crossing().y()});
    };
}

/// Coarse mode, and what it found measured; crossings that could not be measured are left out.
Search measuredSearch(const Image& image, const PipelineWafer& wafer) {
    const qvStreetFinderParams params = paramsFor(wafer, qvStreetFinderDefs::eCoarseRidgeWafer);
    const auto finder = std::make_shared<qvStreetFinder>(params);
    const auto results = std::make_shared<std::vector<qvStreetFinderStreetCrossResult>>();
    const auto measured = std::make_shared<std::vector<qvStreetMeasurement>>();
    return [=, &image](Crossings& crossings) {
        results->clear();
        finder->setImage(image);
        finder->find(*results);
        qfStreetMeasureCrosses(image, *results, qvStreetMeasureParams(params), *measured);
        crossings.clear();
        for (const qvStreetMeasurement& one : *measured)
            if (one.status() == qvStreetMeasureDefs::eMeasured)
                crossings.push_back({one.crossing().x(), one.crossing().y()});
    };
}

struct Method {
    std::string name;
    std::function<Search(const Image& image, const PipelineWafer& wafer)> prepare;
};

std::vector<Method> allMethods() {
    std::vector<Method> methods = {{"coarse",
                                    [](const Image& image, const PipelineWafer& wafer) {
                                        return ownSearch(image, wafer, qvStreetFinderDefs::eCoarseRidgeWafer);
                                    }},
                                   {"coarse, measured", measuredSearch},
                                   {"edge",
                                    [](const Image& image, const PipelineWafer& wafer) {
                                        return ownSearch(image, wafer, qvStreetFinderDefs::eEdgePairWafer);
                                    }},
                                   {"ridge", [](const Image& image, const PipelineWafer& wafer) {
                                        return ownSearch(image, wafer, qvStreetFinderDefs::eRidgeWafer);
                                    }}};
#if QV_BENCH_OPENCV
    methods.push_back({"Canny, HoughLines at 512", [](const Image& image, const PipelineWafer& wafer) {
                           return houghSearch(image, wafer.streetWidth);
                       }});
    methods.push_back({"line segments", [](const Image& image, const PipelineWafer& wafer) {
                           return lsdSearch(image, wafer.streetWidth, kLsdFull);
                       }});
    methods.push_back({"line segments at 512", [](const Image& image, const PipelineWafer& wafer) {
                           return lsdSearch(image, wafer.streetWidth, kLsdReduced);
                       }});
#endif
    return methods;
}

/// A wafer as it was drawn.
struct Drawn {
    explicit Drawn(const PipelineWafer& drawnWafer)
        : wafer(drawnWafer),
          truth(qvtest::truthOf(wafer.scene)),
          pels(qvtest::renderScene(wafer.scene)),
          image(pels.pels.data(), pels.width, pels.height, pels.stride) {}
    PipelineWafer wafer;
    qvtest::SceneTruth truth;
    qvtest::GreyImage pels;
    Image image;
};

/// Adds the counts and leaves the sum of the squared errors in `squares`.
void judge(const Crossings& crossings, const Drawn& drawn, MeasuredSearch& search, double& squares) {
    std::size_t meant = 0;
    for (const qvtest::CrossingTruth& crossing : drawn.truth.crossings) {
        double nearest = kSameCrossing * drawn.wafer.streetWidth;
        bool isFound = false;
        for (const qvtest::Point2& p : crossings) {
            const double error = qvtest::distance(p, crossing.crossing);
            if (error > nearest) continue;
            nearest = error;
            isFound = true;
        }
        if (isFound) ++meant;
        if (!crossing.expected) continue;
        ++search.expected;
        if (!isFound) continue;
        ++search.found;
        squares += nearest * nearest;
        search.worst = std::max(search.worst, nearest);
    }
    search.wrong += crossings.size() - meant;
}

/// What the method finds, and the task that searches all the wafers.
MeasuredSearch tryMethod(const Method& method, const std::deque<Drawn>& wafers, Task& task) {
    MeasuredSearch result;
    result.method = method.name;
    std::vector<Search> searches;
    const auto crossings = std::make_shared<Crossings>();
    double squares = 0.0;
    for (const Drawn& drawn : wafers) {
        searches.push_back(method.prepare(drawn.image, drawn.wafer));
        searches.back()(*crossings);
        judge(*crossings, drawn, result, squares);
    }
    if (result.found > 0) result.rootMeanSquare = std::sqrt(squares / static_cast<double>(result.found));
    task = {method.name, [=]() -> std::function<void()> {
                return [=] {
                    for (const Search& search : searches) search(*crossings);
                };
            }};
    return result;
}

MeasuredScene measureScene(const PipelineScene& scene, int rounds) {
    std::deque<Drawn> wafers;
    for (const PipelineWafer& wafer : scene.wafers) wafers.emplace_back(wafer);
    MeasuredScene measured;
    measured.name = scene.name;
    measured.title = scene.title;
    std::vector<Task> tasks;
    for (const Method& method : allMethods())
        measured.searches.push_back(tryMethod(method, wafers, tasks.emplace_back()));
    const std::vector<Timing> timings = measureInterleaved(tasks, rounds);
    const auto count = static_cast<double>(wafers.size());
    for (std::size_t i = 0; i < timings.size(); ++i)
        measured.searches[i].timing = {timings[i].minimum / count, timings[i].median / count};
    return measured;
}

std::string pelText(double pels) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", pels < 0.1 ? 3 : pels < 1.0 ? 2 : 1, pels);
    return text;
}

std::string countText(const MeasuredSearch& search) {
    return std::to_string(search.found) + " of " + std::to_string(search.expected);
}

/// "0.88 ms, 0.61 pel", and before the error what is missing or false.
std::string shortText(const MeasuredSearch& search) {
    std::string text = medianText(search.timing);
    if (search.found < search.expected) text += ", " + countText(search);
    if (search.wrong > 0) text += ", " + std::to_string(search.wrong) + " false";
    if (search.found > 0) text += ", " + pelText(search.rootMeanSquare) + " pel";
    return text;
}

std::vector<std::string> fullCells(const MeasuredScene& scene, const MeasuredSearch& search) {
    const bool any = search.found > 0;
    return {scene.name,
            search.method,
            timesText(search.timing),
            countText(search),
            std::to_string(search.wrong),
            any ? pelText(search.rootMeanSquare) : "-",
            any ? pelText(search.worst) : "-"};
}

const std::vector<std::string> kFullHead = {"name",  "search",    "min / median", "found",
                                            "false", "rms, pels", "worst, pels"};

}  // namespace

std::vector<std::string> pipelineNames() {
    std::vector<std::string> names;
    for (const PipelineScene& scene : pipelineScenes()) names.push_back(scene.name);
    return names;
}

std::vector<MeasuredScene> measurePipelines(const std::function<bool(const std::string&)>& isWanted, int rounds) {
    std::vector<MeasuredScene> measured;
    for (const PipelineScene& scene : pipelineScenes())
        if (isWanted(scene.name)) measured.push_back(measureScene(scene, rounds));
    return measured;
}

void printPipelines(std::ostream& out, const std::vector<MeasuredScene>& scenes) {
    std::vector<std::vector<std::string>> lines = {kFullHead};
    for (const MeasuredScene& scene : scenes)
        for (const MeasuredSearch& search : scene.searches) lines.push_back(fullCells(scene, search));
    printAligned(out, lines);
}

void printPipelinesMarkdown(std::ostream& out, const std::string& head, const std::vector<MeasuredScene>& scenes) {
    if (scenes.empty()) return;
    out << "<!-- bench: pipelines -->\n" << head << "\n\n";
    std::vector<std::string> names = {"image"};
    for (const MeasuredSearch& search : scenes.front().searches) names.push_back(search.method);
    printMarkdownHead(out, names);
    for (const MeasuredScene& scene : scenes) {
        std::vector<std::string> cells = {scene.title};
        for (const MeasuredSearch& search : scene.searches) cells.push_back(shortText(search));
        printMarkdownLine(out, cells);
    }
    out << "<!-- bench: end -->\n<!-- bench: pipelines in full -->\n" << head << "\n\n";
    printMarkdownHead(out, kFullHead);
    for (const MeasuredScene& scene : scenes)
        for (const MeasuredSearch& search : scene.searches) {
            std::vector<std::string> cells = fullCells(scene, search);
            cells[0] = '`' + cells[0] + '`';
            printMarkdownLine(out, cells);
        }
    out << "<!-- bench: end -->\n";
}

}  // namespace qvbench
