// Street strips with known blank stretches, as a host sees them: what is found of what is there.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/platform/pel_ops.h"
#include "tests/support/strip_scene.h"

namespace {

using namespace qvtest;
using Params = qvStreetBlankRegionFinderParams;
using Defs = qvStreetBlankRegionFinderDefs;
using ResultSet = qvStreetBlankRegionFinderResultSet;
using Image = qvPelBuffer<unsigned char>;

constexpr long kManyResults = 10;
/// Blank stretches with noise up to this sigma must be found; beyond it they are only reported. From a deviation of 6 on
/// no region is blank.
constexpr double kCertainNoise = 5.0;
/// A found region belongs to a stretch from this overlap on.
constexpr double kMatchOverlap = 0.5;

Params paramsOf(const StripScene& scene, const std::vector<double>& weights = std::vector<double>(256, 1.0)) {
    return Params(scene.streetWidth, scene.minLength, kManyResults, weights,
                  scene.vertical ? Defs::eVertical : Defs::eHorizontal);
}

ResultSet find(const Image& image, const Params& params) {
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, params, found, nullptr, 0);
    return found;
}

ResultSet findMasked(const Image& image, const Image& mask, const Params& params) {
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, mask, params, found, nullptr, 0);
    return found;
}

struct Report {
    std::size_t stretches = 0;
    std::size_t found = 0;
    /// Results that belong to no stretch, or to one that has another already.
    std::size_t surplus = 0;
    double leastOverlap = 1.0;
    /// Largest distance of an end from the truth, in pels; inwards counts like outwards.
    long worstBegin = 0;
    long worstEnd = 0;
    double leastBlankness = 1.0;
};

Report compare(const StripScene& scene, const ResultSet& found) {
    Report report;
    report.stretches = scene.blanks.size();
    for (const BlankStretch& blank : scene.blanks) {
        const AlongStreet truth{blank.begin, blank.end};
        const qvStreetBlankRegionFinderResult* best = nullptr;
        double bestOverlap = kMatchOverlap;
        for (const qvStreetBlankRegionFinderResult& result : found.results()) {
            const double overlap = overlapAlong(truth, alongStreet(scene, result.blankRect()));
            if (overlap < bestOverlap) continue;
            bestOverlap = overlap;
            best = &result;
        }
        if (best == nullptr) continue;
        ++report.found;
        const AlongStreet along = alongStreet(scene, best->blankRect());
        report.leastOverlap = std::min(report.leastOverlap, bestOverlap);
        report.worstBegin = std::max(report.worstBegin, std::labs(along.begin - truth.begin));
        report.worstEnd = std::max(report.worstEnd, std::labs(along.end - truth.end));
        report.leastBlankness = std::min(report.leastBlankness, best->blanknessScore());
    }
    report.surplus = found.results().size() - report.found;
    return report;
}

void printRow(const StripScene& scene, const Image& image, const Report& report) {
    std::printf("| %-30s | %3ld x %3ld | %zu | %zu | %zu |", scene.name.c_str(), image.width(), image.height(),
                report.stretches, report.found, report.surplus);
    if (report.found == 0)
        std::printf(" - | - | - | - |\n");
    else
        std::printf(" %.3f | %2ld | %2ld | %.2f |\n", report.leastOverlap, report.worstBegin, report.worstEnd,
                    report.leastBlankness);
}

TEST(Strips, ThereAreAtLeast40OfBothDirections) {
    const std::vector<StripScene> scenes = stripScenes();
    EXPECT_GE(scenes.size(), 40u);
    const auto vertical = std::count_if(scenes.begin(), scenes.end(), [](const StripScene& s) { return s.vertical; });
    EXPECT_GE(vertical, 20);
    EXPECT_GE(static_cast<std::ptrdiff_t>(scenes.size()) - vertical, 20);
}

TEST(Strips, BlankStretchesAreFoundWhereTheyAre) {
    std::printf("| Strip | Size | Stretches | Found | Surplus | Overlap | Begin | End | Blankness |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    for (const StripScene& scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        const Image image = renderStrip(scene);
        const Report report = compare(scene, find(image, paramsOf(scene)));
        printRow(scene, image, report);
        if (scene.noise > kCertainNoise) continue;
        EXPECT_EQ(report.found, report.stretches);
        EXPECT_EQ(report.surplus, 0u);
        EXPECT_GE(report.leastOverlap, 0.95);
        EXPECT_LE(report.worstBegin, 2);
        EXPECT_LE(report.worstEnd, 2);
    }
}

TEST(Strips, ResultsAreInsideTheImageLongEnoughAndInOrder) {
    for (const StripScene& scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        const Image image = renderStrip(scene);
        const ResultSet found = find(image, paramsOf(scene));
        double former = 1.0;
        for (const qvStreetBlankRegionFinderResult& result : found.results()) {
            const qvPelRect& rect = result.blankRect();
            EXPECT_GE(rect.ul().first, 0);
            EXPECT_GE(rect.ul().second, 0);
            EXPECT_LE(rect.lr().first, image.width());
            EXPECT_LE(rect.lr().second, image.height());
            const AlongStreet along = alongStreet(scene, rect);
            EXPECT_GE(along.end - along.begin, scene.minLength);
            EXPECT_GT(result.score(), 0.0);
            EXPECT_LE(result.score(), former);
            former = result.score();
        }
    }
}

TEST(Strips, SecondRunGivesTheSameBits) {
    for (const StripScene& scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        const ResultSet first = find(renderStrip(scene), paramsOf(scene));
        const ResultSet second = find(renderStrip(scene), paramsOf(scene));
        EXPECT_EQ(first, second);
    }
}

TEST(Strips, OffsetShiftsTheAnswerExactly) {
    for (const StripScene& scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        Image image = renderStrip(scene);
        const ResultSet plain = find(image, paramsOf(scene));
        image.offset(-1234, 567);
        const ResultSet moved = find(image, paramsOf(scene));
        ASSERT_EQ(moved.numResults(), plain.numResults());
        for (std::size_t i = 0; i < plain.results().size(); ++i) {
            const qvPelRect& rect = plain.results()[i].blankRect();
            EXPECT_EQ(moved.results()[i].blankRect(),
                      qvPelRect(rect.ul().first - 1234, rect.ul().second + 567, rect.width(), rect.height()));
            EXPECT_EQ(moved.results()[i].score(), plain.results()[i].score());
            EXPECT_EQ(moved.results()[i].blanknessScore(), plain.results()[i].blanknessScore());
        }
    }
}

TEST(Strips, VerticalStreetGivesTheTransposedAnswer) {
    for (StripScene scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        scene.vertical = false;
        const ResultSet horizontal = find(renderStrip(scene), paramsOf(scene));
        scene.vertical = true;
        const ResultSet vertical = find(renderStrip(scene), paramsOf(scene));
        ASSERT_EQ(vertical.numResults(), horizontal.numResults());
        for (std::size_t i = 0; i < vertical.results().size(); ++i) {
            const qvPelRect& rect = horizontal.results()[i].blankRect();
            EXPECT_EQ(vertical.results()[i].blankRect(),
                      qvPelRect(rect.ul().second, rect.ul().first, rect.height(), rect.width()));
            EXPECT_EQ(vertical.results()[i].score(), horizontal.results()[i].score());
        }
    }
}

/// The scene's first stretch, of which a mask takes the first 20 pels.
void expectShortened(const StripScene& scene) {
    SCOPED_TRACE(scene.name);
    const AlongStreet masked{scene.blanks[0].begin, scene.blanks[0].begin + 20};
    const Image mask = renderStripMask(scene, masked.begin, masked.end);
    const ResultSet found = findMasked(renderStrip(scene), mask, paramsOf(scene));
    bool hasRest = false;
    for (const qvStreetBlankRegionFinderResult& result : found.results()) {
        const AlongStreet along = alongStreet(scene, result.blankRect());
        EXPECT_EQ(overlapAlong(along, masked), 0.0);
        hasRest = hasRest || overlapAlong(along, {masked.end, scene.blanks[0].end}) > 0.9;
    }
    EXPECT_TRUE(hasRest);
}

TEST(Strips, MaskedBeginningOfAStretchIsLeftOut) {
    int strips = 0;
    for (const StripScene& scene : stripScenes()) {
        if (scene.vertical || scene.noise > 2.0 || scene.blanks[0].begin < 21) continue;
        expectShortened(scene);
        ++strips;
    }
    EXPECT_EQ(strips, 9);
}

TEST(Strips, MaskOfAVerticalStreetTakesColumnsForRows) {
    StripScene scene;
    scene.name = "square, vertical";
    scene.vertical = true;
    scene.length = scene.across = 200;
    scene.blanks = {{60, 150, 128}};
    expectShortened(scene);
}

TEST(Strips, GreyWeightsChooseAmongTheStretches) {
    std::vector<double> weights(256, 0.0);
    std::fill(weights.begin() + 100, weights.begin() + 120, 1.0);
    for (const bool vertical : {false, true}) {
        StripScene scene;
        scene.vertical = vertical;
        scene.structure = StripStructure::pads;
        scene.contrast = 50;
        scene.noise = 1.5;
        scene.length = 500;
        scene.blanks = {{40, 160, 140}, {200, 290, 110}, {330, 450, 125}};
        const ResultSet all = find(renderStrip(scene), paramsOf(scene));
        EXPECT_EQ(all.numResults(), 3);
        const ResultSet dark = find(renderStrip(scene), paramsOf(scene, weights));
        ASSERT_EQ(dark.numResults(), 1);
        EXPECT_GT(overlapAlong(alongStreet(scene, dark.results()[0].blankRect()), {200, 290}), 0.9);
    }
}

TEST(Strips, AnalysisWindowLargerThanTheImageIsBadSize) {
    for (const StripScene& scene : stripScenes()) {
        SCOPED_TRACE(scene.name);
        StripScene longer = scene;
        longer.minLength = scene.length + 1;
        EXPECT_THROW(find(renderStrip(scene), paramsOf(longer)), qvPel::BadSize);
        StripScene wider = scene;
        wider.streetWidth = (scene.across + 1) * 4 / 3 + 1;
        EXPECT_THROW(find(renderStrip(scene), paramsOf(wider)), qvPel::BadSize);
    }
}

}  // namespace
