#include "tests/endtoend/scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

namespace {

using namespace qvtest;

template <typename Predicate>
long countRows(Predicate predicate) {
    const auto& rows = endToEndScenes();
    return std::count_if(rows.begin(), rows.end(), predicate);
}

TEST(EndToEndScenes, NamesAreUnique) {
    std::set<std::string> names;
    for (const SceneRow& row : endToEndScenes()) EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_GE(names.size(), 44u);
    EXPECT_EQ(sceneRow("side_1024").scene.width, 1024);
    EXPECT_THROW(sceneRow("no such scene"), std::out_of_range);
}

TEST(EndToEndScenes, EveryRowCalledCleanMeetsTheBounds) {
    for (const SceneRow& row : endToEndScenes()) {
        EXPECT_EQ(isCleanRow(row), row.kind == RowKind::clean) << row.name;
    }
    EXPECT_GE(countRows(isCleanRow), 40);
}

TEST(EndToEndScenes, CleanBoundsIncludeTheirLimits) {
    SceneRow row = sceneRow("side_1024");
    row.scene.width = 1260;
    row.scene.height = 1050;
    row.scene.families[0].widthPels = 8.0;
    row.scene.families[1].widthPels = 50.0;
    EXPECT_TRUE(isCleanRow(row));
    row.scene.families[1].widthPels = 50.1;
    EXPECT_FALSE(isCleanRow(row));
    row.scene.families[1].widthPels = 50.0;
    row.scene.families[0].widthPels = 7.9;
    EXPECT_FALSE(isCleanRow(row));
    row.scene.families[0].widthPels = 8.0;
    row.polarity = AskedPolarity::dark;
    EXPECT_FALSE(isCleanRow(row));
    row.polarity = AskedPolarity::any;
    row.kind = RowKind::hard;
    EXPECT_FALSE(isCleanRow(row));
    row.kind = RowKind::clean;
    row.scene.families = {StreetFamily{0.0, {0.0}, 8.0, 60.0}, StreetFamily{90.0, {0.0}, 9.0, 60.0}};
    row.scene.height = 512;
    EXPECT_TRUE(isCleanRow(row));
    row.scene.height = 511;
    EXPECT_FALSE(isCleanRow(row));
}

TEST(EndToEndScenes, CoverWhatTheyAreMeantToCover) {
    double smallestTilt = 0.0, largestTilt = 0.0, worstSquare = 0.0, narrowest = 1e9, widest = 0.0;
    long smallest = 1 << 20, largest = 0;
    std::set<std::size_t> counts;
    for (const SceneRow& row : endToEndScenes()) {
        const Scene& scene = row.scene;
        smallest = std::min({smallest, scene.width, scene.height});
        largest = std::max({largest, scene.width, scene.height});
        if (row.kind == RowKind::empty) continue;
        const double tilt = scene.families[0].angleDegrees;
        smallestTilt = std::min(smallestTilt, tilt);
        largestTilt = std::max(largestTilt, tilt);
        const double square = std::abs(scene.families[1].angleDegrees - tilt - 90.0);
        EXPECT_LE(square, 2.0 + 1e-9) << row.name;
        worstSquare = std::max(worstSquare, square);
        for (const StreetFamily& family : scene.families) {
            if (row.kind == RowKind::clean) {
                narrowest = std::min(narrowest, family.widthPels);
                widest = std::max(widest, family.widthPels);
            }
            counts.insert(family.offsets.size());
        }
    }
    EXPECT_EQ(smallest, 256);
    EXPECT_EQ(largest, 4096);
    EXPECT_EQ(smallestTilt, -12.0);
    EXPECT_EQ(largestTilt, 12.0);
    EXPECT_NEAR(worstSquare, 2.0, 1e-9);
    EXPECT_EQ(narrowest, 8.0);
    EXPECT_EQ(widest, 60.0);
    for (const std::size_t count : {1u, 2u, 3u, 4u, 5u}) EXPECT_EQ(counts.count(count), 1u) << count;
    EXPECT_GE(countRows([](const SceneRow& row) { return row.scene.width > row.scene.height; }), 5);
    EXPECT_GE(countRows([](const SceneRow& row) { return row.scene.width < row.scene.height; }), 3);
    EXPECT_GE(countRows([](const SceneRow& row) { return row.kind == RowKind::empty; }), 3);
    EXPECT_GE(countRows([](const SceneRow& row) {
                  return row.scene.families[0].widthPels != row.scene.families[1].widthPels;
              }),
              30);
}

TEST(EndToEndScenes, EveryRowHasCrossingsToFindUnlessItIsEmpty) {
    for (const SceneRow& row : endToEndScenes()) {
        const SceneTruth truth = truthOf(row.scene);
        if (row.kind == RowKind::empty) {
            EXPECT_TRUE(truth.crossings.empty()) << row.name;
        } else {
            EXPECT_GE(truth.expectedCount(), 1u) << row.name;
        }
    }
}

TEST(EndToEndScenes, StreetsDoNotTouchEachOther) {
    for (const SceneRow& row : endToEndScenes()) {
        for (const StreetFamily& family : row.scene.families) {
            for (std::size_t i = 0; i + 1 < family.offsets.size(); ++i) {
                EXPECT_GT(family.offsets[i + 1] - family.offsets[i], 3.0 * family.widthPels) << row.name;
            }
        }
    }
}

TEST(EndToEndScenes, ClientFramesTurnByLessThanFiveDegrees) {
    for (const SceneRow& row : endToEndScenes()) {
        EXPECT_LE(std::abs(row.scene.clientFromImage.mapAngle(0.0)), 5.0) << row.name;
    }
    EXPECT_NEAR(sceneRow("client_rotated").scene.clientFromImage.mapAngle(0.0), 3.0, 1e-9);
    EXPECT_LT(sceneRow("client_mirrored").scene.clientFromImage.d, 0.0);
}

TEST(EndToEndScenes, RunParametersAreInClientUnits) {
    const SceneRow& row = sceneRow("client_half_unit");  // vertical streets 20 pels, horizontal ones 28
    const RunParameters run = runParametersFor(row);
    EXPECT_NEAR(run.widthX, 10.0, 1e-9);
    EXPECT_NEAR(run.rangeXLow, 5.0, 1e-9);
    EXPECT_NEAR(run.rangeXHigh, 15.0, 1e-9);
    EXPECT_NEAR(run.widthY, 14.0, 1e-9);
    EXPECT_NEAR(run.rangeYLow, 7.0, 1e-9);
    EXPECT_NEAR(run.rangeYHigh, 21.0, 1e-9);
    EXPECT_NEAR(run.edgeSharpness, 2.5, 1e-9);
    EXPECT_EQ(run.polarity, AskedPolarity::any);
    EXPECT_EQ(run.maxResults, 13);
    EXPECT_EQ(runParametersFor(sceneRow("asked_dark_oblong")).polarity, AskedPolarity::dark);
    EXPECT_EQ(runParametersFor(sceneRow("empty_noise")).maxResults, 4);
}

TEST(EndToEndScenes, EdgeModeNeedsFourSamplePels) {
    SceneRow row = sceneRow("side_1024");
    row.scene.width = 1230;  // a sample pel is 5 pels in x and 2 pels in y
    row.scene.height = 492;
    row.scene.families[0].widthPels = 8.0;
    row.scene.families[1].widthPels = 20.0;
    EXPECT_TRUE(modeApplies(row, RunMode::edge));
    row.scene.families[1].widthPels = 19.9;
    EXPECT_FALSE(modeApplies(row, RunMode::edge));
    EXPECT_TRUE(modeApplies(row, RunMode::ridge));
    EXPECT_TRUE(modeApplies(row, RunMode::coarse));
}

}  // namespace
