#include "tests/support/scene_match.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace qvtest {

namespace {

constexpr double toleranceSamplePels = 3.0;

/// A direction that is not a number is as wrong as can be.
double angleError(double foundDegrees, double truthDegrees) {
    const double error = lineAngleDifference(foundDegrees, truthDegrees);
    return std::isfinite(error) ? error : 90.0;
}

/// Every found crossing with every true one that it could stand for.
std::vector<CrossingMatch> pairsWithinTolerance(const Scene& scene, const SceneTruth& truth,
                                                const std::vector<FoundCrossing>& found) {
    const ClientTransform imageFromClient = scene.clientFromImage.inverse();
    const double halfStreet = 0.5 * std::max(scene.families[0].widthPels, scene.families[1].widthPels);
    std::vector<CrossingMatch> pairs;
    for (std::size_t f = 0; f < found.size(); ++f) {
        const Point2 position = imageFromClient.map(found[f].position);
        for (std::size_t t = 0; t < truth.crossings.size(); ++t) {
            const CrossingTruth& crossing = truth.crossings[t];
            CrossingMatch pair;
            pair.found = f;
            pair.truth = t;
            pair.expected = crossing.expected;
            pair.offset = {position.x - crossing.crossing.x, position.y - crossing.crossing.y};
            pair.errorPels = std::hypot(pair.offset.x, pair.offset.y);
            pair.errorSamplePels = std::hypot(pair.offset.x * sampleGridSize / static_cast<double>(scene.width),
                                              pair.offset.y * sampleGridSize / static_cast<double>(scene.height));
            if (!(pair.errorSamplePels <= toleranceSamplePels || pair.errorPels <= halfStreet)) continue;
            pair.angleErrorDegrees =
                std::max(angleError(found[f].horizontalAngleDegrees,
                                    scene.clientFromImage.mapAngle(crossing.horizontalAngleDegrees)),
                         angleError(found[f].verticalAngleDegrees,
                                    scene.clientFromImage.mapAngle(crossing.verticalAngleDegrees)));
            pairs.push_back(pair);
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const CrossingMatch& a, const CrossingMatch& b) { return a.errorPels < b.errorPels; });
    return pairs;
}

void measureErrors(MatchReport& report) {
    std::vector<double> errors;
    for (const CrossingMatch& match : report.matches) {
        if (!match.expected) continue;
        errors.push_back(match.errorSamplePels);
        report.worstErrorPels = std::max(report.worstErrorPels, match.errorPels);
        report.worstErrorSamplePels = std::max(report.worstErrorSamplePels, match.errorSamplePels);
        report.worstAngleErrorDegrees = std::max(report.worstAngleErrorDegrees, match.angleErrorDegrees);
    }
    if (errors.empty()) return;
    std::sort(errors.begin(), errors.end());
    const std::size_t half = errors.size() / 2;
    report.medianErrorSamplePels = errors.size() % 2 == 1 ? errors[half] : 0.5 * (errors[half - 1] + errors[half]);
}

}  // namespace

MatchReport matchCrossings(const Scene& scene, const std::vector<FoundCrossing>& found) {
    const SceneTruth truth = truthOf(scene);
    const std::vector<CrossingMatch> pairs = pairsWithinTolerance(scene, truth, found);
    std::vector<bool> truthTaken(truth.crossings.size(), false);
    std::vector<bool> foundTaken(found.size(), false);
    std::vector<bool> foundNearTruth(found.size(), false);
    MatchReport report;
    for (const CrossingMatch& pair : pairs) {
        foundNearTruth[pair.found] = true;
        if (truthTaken[pair.truth] || foundTaken[pair.found]) continue;
        truthTaken[pair.truth] = true;
        foundTaken[pair.found] = true;
        report.matches.push_back(pair);
        ++(pair.expected ? report.found : report.surplus);
    }
    for (std::size_t f = 0; f < found.size(); ++f) {
        if (!foundNearTruth[f]) {
            ++report.falseFound;
            report.falseIndices.push_back(f);
        } else if (!foundTaken[f]) {
            ++report.duplicates;
        }
    }
    for (std::size_t t = 0; t < truth.crossings.size(); ++t) {
        if (!truth.crossings[t].expected) continue;
        ++report.expected;
        if (truthTaken[t]) continue;
        ++report.missed;
        report.missedTruth.push_back(t);
    }
    measureErrors(report);
    return report;
}

std::string summary(const MatchReport& report) {
    char text[256];
    std::snprintf(text, sizeof text,
                  "expected %d found %d missed %d false %d surplus %d duplicates %d worst %.2f pel %.2f sample pel "
                  "angle %.3f deg",
                  report.expected, report.found, report.missed, report.falseFound, report.surplus, report.duplicates,
                  report.worstErrorPels, report.worstErrorSamplePels, report.worstAngleErrorDegrees);
    return text;
}

}  // namespace qvtest
