#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tests/endtoend/scene_runner.h"

// The end-to-end table: every scene through the public finder, held against its exact truth. Success is demanded of the
// clean rows in coarse mode; what the others give is printed, finds beyond the expected ones included.

namespace {

using namespace qvtest;

// One and a half pels of the 246 pel grid on which streets are looked for.
constexpr double kMostErrorSamplePels = 1.5;

// What the calipers leave of the crossings' error, pels.
constexpr double kMostRefinedErrorPels = 0.25;
constexpr double kMedianRefinedErrorPels = 0.05;

class EndToEnd : public testing::TestWithParam<std::string> {
 protected:
    const SceneRow& row() const { return sceneRow(GetParam()); }
    GreyImage image() const { return renderScene(row().scene); }
};

TEST_P(EndToEnd, CoarseModeFindsEveryCrossingOfTheCleanRows) {
    const SceneOutcome outcome = runScene(row(), image(), RunMode::coarse);
    const MatchReport report = matchCrossings(row().scene, foundCrossings(outcome));
    std::printf("%s %s\n", GetParam().c_str(), summary(report).c_str());
    EXPECT_LE(static_cast<long>(outcome.crossings.size()), runParametersFor(row()).maxResults);
    if (!isCleanRow(row())) return;
    EXPECT_EQ(report.found, report.expected) << summary(report);
    EXPECT_LE(report.worstErrorSamplePels, kMostErrorSamplePels) << summary(report);
}

TEST_P(EndToEnd, EdgeModeFindsEveryCrossingOfTheEdgeRows) {
    const SceneOutcome outcome = runScene(row(), image(), RunMode::edge);
    const MatchReport report = matchCrossings(row().scene, foundCrossings(outcome));
    std::printf("%s edge %s\n", GetParam().c_str(), summary(report).c_str());
    EXPECT_LE(static_cast<long>(outcome.crossings.size()), runParametersFor(row()).maxResults);
    if (!isEdgeRow(row())) return;
    EXPECT_EQ(report.found, report.expected) << summary(report);
    EXPECT_LE(report.worstErrorSamplePels, kMostErrorSamplePels) << summary(report);
}

TEST_P(EndToEnd, RidgeModeMeasuresTheCaliperRowsToAQuarterPel) {
    if (!isCaliperRow(row())) return;
    const SceneRow asked = withRightPolarity(row());
    const SceneOutcome outcome = runScene(asked, renderScene(asked.scene), RunMode::ridge);
    const MatchReport report = matchCrossings(asked.scene, foundCrossings(outcome));
    std::printf("%s refined %s\n", GetParam().c_str(), summary(report).c_str());
    EXPECT_GT(report.found, 0);
    EXPECT_LE(report.worstErrorPels, kMostRefinedErrorPels) << summary(report);
}

TEST_P(EndToEnd, TwoRunsInOneProcessGiveTheSameText) {
    const GreyImage pels = image();
    for (const RunMode mode : {RunMode::edge, RunMode::ridge, RunMode::coarse}) {
        const std::string first = outcomeJson(GetParam(), mode, runScene(row(), pels, mode));
        EXPECT_EQ(outcomeJson(GetParam(), mode, runScene(row(), pels, mode)), first);
        EXPECT_NE(first.find("\"streets\""), std::string::npos);
    }
}

TEST_P(EndToEnd, ResultsKeepTheirPromises) {
    const GreyImage pels = image();
    for (const RunMode mode : {RunMode::edge, RunMode::ridge, RunMode::coarse}) {
        const SceneOutcome outcome = runScene(row(), pels, mode);
        if (mode == RunMode::ridge)
            std::printf("%s ridge %s\n", GetParam().c_str(),
                        summary(matchCrossings(row().scene, foundCrossings(outcome))).c_str());
        for (std::size_t k = 0; k < outcome.crossings.size(); ++k) {
            const double score = outcome.crossings[k].score();
            const double before = outcome.crossings[k > 0 ? k - 1 : 0].score();
            EXPECT_EQ(outcome.crossings[k].lineSegs().size(), mode == RunMode::edge ? 8u : 2u);
            // In edge mode a street beyond the profile has no score to speak of: such crosses come last.
            if (mode == RunMode::edge && std::isnan(score)) continue;
            EXPECT_GE(score, 0.0);
            EXPECT_LE(score, 1.0);
            EXPECT_GE(before, score);
        }
        for (std::size_t k = 0; k < outcome.streets.size(); ++k) {
            EXPECT_EQ(outcome.streets[k].lineSegs().size(), mode == RunMode::edge ? 2u : 1u);
            EXPECT_GE(outcome.streets[k > 0 ? k - 1 : 0].score(), outcome.streets[k].score());
        }
    }
}

std::vector<std::string> rowNames() {
    std::vector<std::string> names;
    for (const SceneRow& row : endToEndScenes()) names.push_back(row.name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Scenes, EndToEnd, testing::ValuesIn(rowNames()),
                         [](const testing::TestParamInfo<std::string>& scene) { return scene.param; });

TEST(EndToEndRidge, HalfOfTheRefinedCrossingsAreWithinATwentiethOfAPel) {
    std::vector<double> errors;
    for (const SceneRow& row : endToEndScenes()) {
        if (!isCaliperRow(row)) continue;
        const SceneRow asked = withRightPolarity(row);
        const SceneOutcome outcome = runScene(asked, renderScene(asked.scene), RunMode::ridge);
        for (const CrossingMatch& match : matchCrossings(asked.scene, foundCrossings(outcome)).matches)
            if (match.expected) errors.push_back(match.errorPels);
    }
    ASSERT_GE(errors.size(), 50u);
    std::sort(errors.begin(), errors.end());
    std::printf("%zu refined crossings: median %.3f pels, nine in ten %.3f, worst %.3f\n", errors.size(),
                errors[errors.size() / 2], errors[errors.size() * 9 / 10], errors.back());
    EXPECT_LE(errors[errors.size() / 2], kMedianRefinedErrorPels);
}

// A profile has as many bins as the image's other side is long and begins where its direction comes from, so on an oblong
// image the streets further than the shorter side from there have no profile to show their polarity in.
TEST(EndToEndOblong, AskedPolarityLosesTheStreetsBeyondTheShorterSide) {
    for (const char* name : {"asked_dark_oblong", "asked_dark_tall"}) {
        const SceneRow& row = sceneRow(name);
        const bool wide = row.scene.width > row.scene.height;
        const double shorter = static_cast<double>(wide ? row.scene.height : row.scene.width);
        const double longer = static_cast<double>(wide ? row.scene.width : row.scene.height);
        const SceneTruth truth = truthOf(row.scene);
        const SceneOutcome outcome = runScene(row, renderScene(row.scene), RunMode::coarse);
        const MatchReport report = matchCrossings(row.scene, foundCrossings(outcome));

        // The component along the longer side of the street direction that runs along it.
        double running = 0.0;
        for (const qvRadian angle : {outcome.angles.at(0), outcome.angles.at(1)}) {
            const double component = wide ? qfCos(angle) : qfSin(angle);
            if (std::fabs(component) > std::fabs(running)) running = component;
        }
        // What a tilted rectangle inside the image keeps of the shorter side.
        const double across = std::sqrt(1.0 - running * running);
        const double bins = shorter * std::fabs(running) - longer * across;
        const auto isBeyond = [&](const CrossingTruth& crossing) {
            const double position = wide ? crossing.crossing.x : crossing.crossing.y;
            return (running > 0.0 ? position : longer - position) > bins;
        };
        EXPECT_GT(report.found, 0) << name;
        for (const CrossingMatch& match : report.matches) EXPECT_FALSE(isBeyond(truth.crossings[match.truth])) << name;
        for (const std::size_t missed : report.missedTruth) EXPECT_TRUE(isBeyond(truth.crossings[missed])) << name;
        EXPECT_FALSE(report.missedTruth.empty()) << name;
    }
}

}  // namespace
