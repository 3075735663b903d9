#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

// The command on real photographs, held against crossings measured by hand. Skipped where the photographs are absent.

namespace {

using nlohmann::json;

json runCommand(const std::string& arguments) {
    FILE* const pipe = popen((std::string(QVSTREET_COMMAND) + " " + arguments).c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("the command could not be started");
    std::string output;
    char block[4096];
    for (std::size_t got = 0; (got = fread(block, 1, sizeof block, pipe)) > 0;) output.append(block, got);
    const int status = pclose(pipe);
    EXPECT_EQ(status, 0) << arguments;
    return json::parse(output);
}

class Photograph : public testing::Test {
 protected:
    void SetUp() override {
        if (!std::filesystem::exists(folder() + "/manifest.json")) GTEST_SKIP() << "no photographs in " << folder();
    }
    static std::string folder() { return PHOTOGRAPH_FOLDER; }

    static std::vector<std::pair<double, double>> measuredCrossings(const std::string& file) {
        std::vector<std::pair<double, double>> crossings;
        const json manifest = json::parse(std::ifstream(folder() + "/manifest.json"));
        for (const json& image : manifest["images"]) {
            if (image["file"] != file) continue;
            for (const json& crossing : image["crossings"]) crossings.emplace_back(crossing[0], crossing[1]);
        }
        return crossings;
    }

    static double nearestDistance(const json& found, const std::pair<double, double>& point) {
        double nearest = 1e9;
        for (const json& crossing : found["crossings"])
            nearest = std::min(nearest, std::hypot(crossing["x"].get<double>() - point.first,
                                                   crossing["y"].get<double>() - point.second));
        return nearest;
    }
};

TEST_F(Photograph, CountingSlideGivesItsNineCrossingsWithinFourPels) {
    const json found = runCommand(
        "find '" + folder() + "/grid_slide_full.png' --mode coarse --width 6 --range-x 3,10 --range-y 3,10 --max 13");
    const auto measured = measuredCrossings("grid_slide_full.png");
    ASSERT_EQ(measured.size(), 9u);
    double worst = 0.0;
    for (const auto& point : measured) worst = std::max(worst, nearestDistance(found, point));
    std::printf("grid_slide_full.png: worst distance %.2f pels, %zu crossings found\n", worst,
                found["crossings"].size());
    EXPECT_LE(worst, 4.0);
    EXPECT_EQ(found["crossings"].size(), 9u);
}

TEST_F(Photograph, CountingSlideIsMeasuredNearEachCrossingAlthoughTheLensBendsIt) {
    const json found =
        runCommand("find --measure '" + folder() +
                   "/grid_slide_full.png' --mode coarse --width 6 --range-x 3,10 --range-y 3,10 --max 13");
    const auto byHand = measuredCrossings("grid_slide_full.png");
    ASSERT_EQ(found["crossings"].size(), 9u);
    double worst = 0.0;
    for (const json& crossing : found["crossings"]) {
        const json& measured = crossing["measured"];
        ASSERT_EQ(measured["status"], "measured");
        EXPECT_LT(measured["xDeviation"].get<double>(), 0.1);
        EXPECT_LT(measured["yDeviation"].get<double>(), 0.1);
        double nearest = 1e9;
        for (const auto& [x, y] : byHand)
            nearest = std::min(nearest, std::hypot(measured["x"].get<double>() - x, measured["y"].get<double>() - y));
        worst = std::max(worst, nearest);
    }
    std::printf("grid_slide_full.png, measured: worst distance %.2f pels from those by hand\n", worst);
    EXPECT_LE(worst, 1.5);
}

TEST_F(Photograph, WithoutStreetsNothingIsMeasured) {
    for (const char* options : {"pcb_board.png' --width 10", "brick.png' --width 7"}) {
        const json found = runCommand("find --measure --mode coarse --max 10 '" + folder() + "/" + options);
        for (const json& crossing : found["crossings"])
            EXPECT_NE(crossing["measured"]["status"], "measured") << options;
    }
}

TEST_F(Photograph, OtherPhotographsAreReported) {
    const std::pair<const char*, const char*> runs[] = {
        {"grid_slide_b.png", "--mode coarse --width 4 --range-x 2,8 --range-y 2,8 --max 40"},
        {"pcb_board.png", "--mode coarse --width 10 --max 10"},
        {"brick.png", "--mode coarse --width 7 --max 10"}};
    for (const auto& [file, options] : runs) {
        const json found = runCommand("find '" + folder() + "/" + file + "' " + options);
        const auto measured = measuredCrossings(file);
        std::size_t near = 0;
        for (const auto& point : measured)
            if (nearestDistance(found, point) <= 4.0) ++near;
        std::printf("%s: %zu crossings reported, %zu of %zu measured ones within 4 pels\n", file,
                    found["crossings"].size(), near, measured.size());
        EXPECT_TRUE(found.contains("crossings"));
    }
}

// The lanes of the slides are 6 and 3 pels wide where two sample pels are 8 and 7: both edges of a lane run together in
// the sampled image, so the edge mode, which wants them apart, has nothing to pair. The other two show no grid.
TEST_F(Photograph, EdgeModeIsReported) {
    const std::pair<const char*, const char*> runs[] = {
        {"grid_slide_full.png", "--width 6 --range-x 3,10 --range-y 3,10 --max 13"},
        {"grid_slide_b.png", "--width 4 --range-x 2,8 --range-y 2,8 --sharpness 2 --max 40"},
        {"pcb_board.png", "--width 10 --max 10"},
        {"brick.png", "--width 7 --max 10"}};
    for (const auto& [file, options] : runs) {
        const json found = runCommand("find '" + folder() + "/" + file + "' --mode edge " + options);
        const json streets = runCommand("streets '" + folder() + "/" + file + "' --mode edge " + options);
        std::printf("%s, edge mode: %zu crossings, %zu streets\n", file, found["crossings"].size(),
                    streets["streets"].size());
        EXPECT_TRUE(found.contains("crossings"));
    }
}

}  // namespace
