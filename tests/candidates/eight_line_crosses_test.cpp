#include "qvstreet/candidates/eight_line_crosses.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/candidates/quad_test.h"
#include "qvstreet/projection/tiled_projection.h"
#include "tests/candidates/literal_cross.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

/// Several crosses far apart, with their quads: number k of either direction belongs to cross k.
struct Field {
    std::vector<qv_ridgeLine> lines;
    qv_candidateStore store;
};

/// @param costs  what the lines of each cross sum up to in quality
Field fieldOf(const std::vector<qvVector<2>>& shifts, const std::vector<double>& costs) {
    Field field;
    std::vector<LiteralLine> literals;
    for (const long first : {0L, 4L})
        for (const qvVector<2>& shift : shifts)
            for (long i = first; i < first + 4; ++i) {
                LiteralLine line = unevenCross()[static_cast<std::size_t>(i)];
                line.x1 += shift.x();
                line.x2 += shift.x();
                line.y1 += shift.y();
                line.y2 += shift.y();
                literals.push_back(line);
            }
    field.lines = flatLines(literals);
    const long count = static_cast<long>(shifts.size());
    for (long k = 0; k < count; ++k) {
        const long flat = 4 * k;
        const long upright = 4 * count + 4 * k;
        field.store.hquads_.push_back({{flat + 1, flat + 3, 0.0}, {flat, flat + 2, 0.0}});
        field.store.vquads_.push_back({{upright, upright + 1, 0.0}, {upright + 2, upright + 3, 0.0}});
        field.lines[static_cast<std::size_t>(upright + k % 4)].lineQuality = costs[static_cast<std::size_t>(k)];
    }
    return field;
}

/// Crosses on a diagonal, so that a quad of the one passes the check with no quad of the other.
Field diagonalField(const std::vector<double>& costs) {
    std::vector<qvVector<2>> shifts;
    for (std::size_t k = 0; k < costs.size(); ++k)
        shifts.emplace_back(400.0 * static_cast<double>(k), 500.0 * static_cast<double>(k));
    return fieldOf(shifts, costs);
}

qv_candidateContext contextOf(long maxResults, const std::vector<double>& weights) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = qvPair<long>(400, 300);
    context.tolerances = tolerancesOf(30.0, 20.0);
    context.scoreWeights = weights;
    return context;
}

std::vector<double> costsOf(const std::vector<CrossResult>& results) {
    std::vector<double> costs;
    for (const CrossResult& result : results) costs.push_back(result.score());
    return costs;
}

}  // namespace

TEST(GenerateStCands, PlacesTheLinesOfTheTwoQuads) {
    const Field field = fieldOf({{0.0, 0.0}}, {6.5});
    std::vector<qv_stCand> out;
    generateStCands(field.lines, field.store.vquads_, field.store.hquads_, out, tolerancesOf(30.0, 20.0), onlyWeight(0),
                    nullptr);
    ASSERT_EQ(out.size(), 1u);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(out[0].lines[i], kUnevenKeys[i]) << i;
    EXPECT_EQ(out[0].score, 6.5);
    EXPECT_EQ(out[0].components.size(), 7u);
}

TEST(GenerateStCands, CountsOnlyTheGapsOfTheFlatLines) {
    const Field field = fieldOf({{0.0, 0.0}}, {0.0});
    std::vector<qv_stCand> out;
    generateStCands(field.lines, field.store.vquads_, field.store.hquads_, out, tolerancesOf(30.0, 20.0), onlyWeight(1),
                    nullptr);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_NEAR(out[0].score, 30.0, 1e-9);
}

TEST(GenerateStCands, AppendsInTheOrderOfTheLoopsAndDropsWhatFailsTheCheck) {
    const Field field = diagonalField({1.0, 2.0});
    std::vector<qv_stCand> out(1);
    generateStCands(field.lines, field.store.vquads_, field.store.hquads_, out, tolerancesOf(30.0, 20.0), onlyWeight(0),
                    nullptr);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[1].score, 1.0);
    EXPECT_EQ(out[2].score, 2.0);
    // Twins pass in all four couples: the upright quad is the outer loop.
    const Field twins = fieldOf({{0.0, 0.0}, {4.0, 0.0}}, {0.0, 0.0});
    out.clear();
    generateStCands(twins.lines, twins.store.vquads_, twins.store.hquads_, out, tolerancesOf(30.0, 20.0), onlyWeight(0),
                    nullptr);
    ASSERT_EQ(out.size(), 4u);
    const long firstKeys[4][2] = {{8, 0}, {8, 4}, {12, 0}, {12, 4}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(out[i].lines[0], firstKeys[i][0]) << i;
        EXPECT_EQ(out[i].lines[4], firstKeys[i][1]) << i;
    }
}

TEST(GenerateStCands, TracesEveryCoupleBeforeItsCheck) {
    const Field field = diagonalField({0.0, 0.0});
    TraceCapture capture;
    std::vector<qv_stCand> out;
    generateStCands(field.lines, field.store.vquads_, field.store.hquads_, out, tolerancesOf(30.0, 20.0), kEdgeWeights,
                    capture.trace());
    const std::string text = capture.text();
    const std::string headings[4] = {
        "\n\n%Considering Quads: 0 0\n%lines considered are (in order): 8 9 10 11 0 1 2 3",
        "\n\n%Considering Quads: 0 1\n%lines considered are (in order): 8 9 10 11 4 5 6 7",
        "\n\n%Considering Quads: 1 0\n%lines considered are (in order): 12 13 14 15 0 1 2 3",
        "\n\n%Considering Quads: 1 1\n%lines considered are (in order): 12 13 14 15 4 5 6 7"};
    std::size_t at = 0;
    EXPECT_EQ(text.find(headings[0]), 0u);
    for (const std::string& heading : headings) {
        const std::size_t next = text.find(heading, at);
        ASSERT_NE(next, std::string::npos) << heading;
        EXPECT_LT(next, text.find("\n%cross check: line#", next));
        at = next + 1;
    }
    EXPECT_EQ(out.size(), 2u);
}

TEST(GenAndScore, ReplacesTheListByTheCheapestFirst) {
    const Field field = diagonalField({3.0, 1.0, 2.0});
    std::vector<CrossResult> out(4);
    genAndScore(field.store, out, field.lines, contextOf(5, onlyWeight(0)), nullptr);
    EXPECT_EQ(costsOf(out), (std::vector<double>{1.0, 2.0, 3.0}));
    expectNear(out[0].crossing(), 515.0, 710.0);
    expectNear(out[2].crossing(), 115.0, 210.0);
    EXPECT_EQ(out[0].statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
}

TEST(GenAndScore, KeepsThreeTimesMaxResultsAfterSeparation) {
    // The first two lie 4 apart; their four candidates are the cheapest and leave one crossing.
    std::vector<qvVector<2>> shifts = {{0.0, 0.0}, {4.0, 0.0}};
    std::vector<double> costs = {0.0, 0.5};
    for (int k = 1; k < 6; ++k) {
        shifts.emplace_back(400.0 * k, 500.0 * k);
        costs.push_back(2.0 * k);
    }
    const Field field = fieldOf(shifts, costs);
    std::vector<CrossResult> out;
    genAndScore(field.store, out, field.lines, contextOf(1, onlyWeight(0)), nullptr);
    EXPECT_EQ(costsOf(out), (std::vector<double>{0.0, 2.0, 4.0}));
    genAndScore(field.store, out, field.lines, contextOf(2, onlyWeight(0)), nullptr);
    EXPECT_EQ(costsOf(out), (std::vector<double>{0.0, 2.0, 4.0, 6.0, 8.0, 10.0}));
    genAndScore(field.store, out, field.lines, contextOf(0, onlyWeight(0)), nullptr);
    EXPECT_TRUE(out.empty());
}

TEST(GenAndScore, EqualCostsKeepTheOrderOfGenerationAndNanComesLast) {
    const Field field = diagonalField({1.0, std::numeric_limits<double>::quiet_NaN(), 1.0, 0.5, 1.0});
    std::vector<CrossResult> out;
    genAndScore(field.store, out, field.lines, contextOf(5, onlyWeight(0)), nullptr);
    ASSERT_EQ(out.size(), 5u);
    const double xs[5] = {1315.0, 115.0, 915.0, 1715.0, 515.0};
    for (std::size_t i = 0; i < 5; ++i) EXPECT_NEAR(out[i].crossing().x(), xs[i], 1e-9) << i;
    EXPECT_TRUE(std::isnan(out[4].score()));
}

TEST(GenAndScore, ManyEqualCostsKeepTheOrderOfGeneration) {
    const Field field = diagonalField(std::vector<double>(50, 1.0));
    std::vector<CrossResult> out;
    genAndScore(field.store, out, field.lines, contextOf(20, onlyWeight(0)), nullptr);
    ASSERT_EQ(out.size(), 50u);
    for (std::size_t i = 0; i < 50; ++i)
        EXPECT_NEAR(out[i].crossing().x(), 115.0 + 400.0 * static_cast<double>(i), 1e-8) << i;
}

TEST(GenAndScore, WithoutQuadsThereIsNothing) {
    Field field = diagonalField({1.0});
    field.store.hquads_.clear();
    std::vector<CrossResult> out(2);
    genAndScore(field.store, out, field.lines, contextOf(5, onlyWeight(0)), nullptr);
    EXPECT_TRUE(out.empty());
}

TEST(GenAndScore, TracesAHeadingTheCouplesAndATableOfTheResults) {
    const Field field = fieldOf({{0.0, 0.0}}, {0.5});
    TraceCapture capture;
    std::vector<CrossResult> out;
    genAndScore(field.store, out, field.lines, contextOf(5, onlyWeight(0)), capture.trace());
    const std::string text = capture.text();
    EXPECT_EQ(text.find("\n%%Gen and score\n\n\n%Considering Quads: 0 0\n"), 0u);
    const std::string table = "%centerx,centery, score, linsegments1-8(x,y)\nres=[\n";
    const std::size_t at = text.find("\n%cross check pass" + table);
    ASSERT_NE(at, std::string::npos);
    const std::string row = text.substr(at + std::string("\n%cross check pass").size() + table.size());
    EXPECT_EQ(row,
              "115 210 0.5 100 50 100 188 130 60 130 195 100 230 100 290 130 225 130 280 20 200 90 200 140 200 240 200 "
              "25 220 95 220 135 220 230 220\n];\n");
}

TEST(GenAndScore, OpensAndClosesTheTraceItselfWhenNobodyElseDid) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("qvstreet_gen_and_score_" + std::to_string(getpid()) + ".trace"))
            .string();
    std::filesystem::remove(path);
    qv_streetTrace trace;
    trace.enabled = true;
    trace.narrowName.assign(path.begin(), path.end());
    const Field field = fieldOf({{0.0, 0.0}}, {0.5});
    std::vector<CrossResult> out;
    genAndScore(field.store, out, field.lines, contextOf(5, onlyWeight(0)), &trace);
    EXPECT_FALSE(trace.stream.is_open());
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("\n%%Gen and score\n"), 0u);
    std::filesystem::remove(path);
}

TEST(GenAndScore, StreetsLeaningEitherWayGiveTheirCross) {
    const qvVector<2> crossing(115.0, 210.0);
    for (const bool mirrored : {false, true})
        for (const double degrees : {-40.0, -25.0, -10.0, -1.0, 0.0, 1.0, 10.0, 25.0, 40.0}) {
            SCOPED_TRACE(testing::Message() << degrees << " degrees, mirrored " << mirrored);
            const std::vector<qv_ridgeLine> lines =
                flatLines(mappedLines(unevenCross(), turnAround(degrees, crossing, mirrored)));
            const qv_candidateContext context = contextOf(5, kEdgeWeights);
            const qvTiledProjectionResult unread;
            qv_candidateStore store;
            generatePairs(lines, 0, 4, store.hpairs_, context.tolerances, 0, unread, 0, 0.1, 0.4, 0.05, nullptr);
            generatePairs(lines, 4, 4, store.vpairs_, context.tolerances, 1, unread, 0, 0.1, 0.4, 0.05, nullptr);
            generateQuads(lines, store.hpairs_, store.hquads_, context.tolerances, nullptr);
            generateQuads(lines, store.vpairs_, store.vquads_, context.tolerances, nullptr);
            std::vector<CrossResult> out;
            genAndScore(store, out, lines, context, nullptr);
            ASSERT_EQ(out.size(), 1u);
            expectNear(out[0].crossing(), 115.0, 210.0);
            EXPECT_NEAR(degreesOf(out[0].horizontalAngle()), degrees, 1e-9);
            EXPECT_NEAR(degreesOf(out[0].verticalAngle()), degrees - 90.0, 1e-9);
            // Corner gaps of 30, and both widths are the nominal ones.
            EXPECT_NEAR(out[0].score(), 0.019 * 30.0, 1e-8);
        }
}

TEST(GenerateSpecialCrosses, RankByThePlaceInTheImage) {
    const Field field = fieldOf({{0.0, 0.0}, {60.0, -70.0}}, {0.0, 0.0});
    std::vector<CrossResult> out(3);
    generateSpecialCrosses(field.lines, {field.store.vquads_[0]}, {field.store.hquads_[0]}, out, 5, 15.0,
                           qvPair<long>(400, 300), nullptr);
    ASSERT_EQ(out.size(), 1u);
    // 100^2 + 200^2, 270^2 + 200^2, 100^2 + 80^2, 270^2 + 80^2
    EXPECT_NEAR(out[0].score(), 50000.0 + 112900.0 + 16400.0 + 79300.0, 1e-6);
    expectNear(out[0].crossing(), 115.0, 210.0);
}

TEST(GenerateSpecialCrosses, NearestToTheMiddleComesFirstAndMaxResultsCuts) {
    // Crossings in (115, 210), (515, 710) and (915, 1210).
    const Field field = diagonalField({5.0, 6.0, 7.0});
    std::vector<CrossResult> out;
    const auto run = [&](long maxResults, const qvPair<long>& size) {
        generateSpecialCrosses(field.lines, field.store.vquads_, field.store.hquads_, out, maxResults, 15.0, size,
                               nullptr);
    };
    run(5, qvPair<long>(1000, 1400));
    ASSERT_EQ(out.size(), 3u);
    EXPECT_NEAR(out[0].crossing().x(), 515.0, 1e-9);
    EXPECT_LT(out[1].score(), out[2].score());
    run(2, qvPair<long>(2000, 2600));
    ASSERT_EQ(out.size(), 2u);
    EXPECT_NEAR(out[0].crossing().x(), 915.0, 1e-9);
    EXPECT_NEAR(out[1].crossing().x(), 515.0, 1e-9);
    run(0, qvPair<long>(2000, 2600));
    EXPECT_TRUE(out.empty());
}

TEST(GenerateSpecialCrosses, CrossesNearerThanFiveAreOneAndFailedChecksNone) {
    const Field twins = fieldOf({{0.0, 0.0}, {4.0, 0.0}}, {0.0, 0.0});
    std::vector<CrossResult> out;
    generateSpecialCrosses(twins.lines, twins.store.vquads_, twins.store.hquads_, out, 5, 15.0, qvPair<long>(400, 300),
                           nullptr);
    EXPECT_EQ(out.size(), 1u);
    const Field apart = diagonalField({0.0, 0.0});
    generateSpecialCrosses(apart.lines, {apart.store.vquads_[0]}, {apart.store.hquads_[1]}, out, 5, 15.0,
                           qvPair<long>(400, 300), nullptr);
    EXPECT_TRUE(out.empty());
}

TEST(GenerateSpecialCrosses, OnlyCostsAboveTheLimitStopTheWalk) {
    // Without a cost every candidate counts 0.
    const Field field = diagonalField({0.0, 0.0});
    std::vector<CrossResult> out;
    const auto run = [&](double maxResidual) {
        generateSpecialCrosses(field.lines, field.store.vquads_, field.store.hquads_, out, 5, maxResidual,
                               qvPair<long>(400, 300), nullptr);
    };
    run(0.0);
    EXPECT_EQ(out.size(), 2u);
    run(-0.5);
    EXPECT_TRUE(out.empty());
}

TEST(GenerateSpecialCrosses, TracesTheCouples) {
    const Field field = fieldOf({{0.0, 0.0}}, {0.0});
    TraceCapture capture;
    std::vector<CrossResult> out;
    generateSpecialCrosses(field.lines, field.store.vquads_, field.store.hquads_, out, 5, 15.0, qvPair<long>(400, 300),
                           capture.trace());
    EXPECT_EQ(capture.text().find("\n\n%Considering Quads: 0 0\n%lines considered are (in order): 4 5 6 7 0 1 2 3"),
              0u);
}
