#include "qvstreet/candidates/stage_order.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"
#include "tests/candidates/stage_run.h"

namespace {

using Defs = qvStreetFinderDefs;
using PairKeys = std::vector<std::pair<long, long>>;
using QuadKeys = std::vector<std::vector<long>>;
using qvtest::brokenCross;
using qvtest::StageRun;

PairKeys keysOf(const std::vector<qv_candPair>& pairs) {
    PairKeys keys;
    for (const qv_candPair& pair : pairs) keys.emplace_back(pair.line1, pair.line2);
    return keys;
}

QuadKeys keysOf(const std::vector<qv_candQuad>& quads) {
    QuadKeys keys;
    for (const qv_candQuad& quad : quads)
        keys.push_back({quad.first.line1, quad.first.line2, quad.second.line1, quad.second.line2});
    return keys;
}

/// Four edges, 18 apart, above the crossing of a vertical street and four below it: 3 and 3 pairs of neighbours.
std::vector<LiteralLine> fourEdgesAlongY() {
    std::vector<LiteralLine> literals;
    for (const double x : {100.0, 118.0, 136.0, 154.0}) {
        literals.push_back({x, x / 50.0, x, 100.0 + x / 50.0});
        literals.push_back({x, 150.0 + x / 50.0, x, 250.0 + x / 50.0});
    }
    return literals;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(StageOrder, StoreHoldsPairsAndQuadsOfBothDirections) {
    StageRun run(brokenCross(), 4);
    run.pairsAndQuads();
    EXPECT_EQ(keysOf(run.store.hpairs_), (PairKeys{{0, 2}, {1, 3}}));
    EXPECT_EQ(keysOf(run.store.vpairs_), (PairKeys{{4, 5}, {6, 7}}));
    // The right pair, and the upper pair, first.
    EXPECT_EQ(keysOf(run.store.hquads_), (QuadKeys{{1, 3, 0, 2}}));
    EXPECT_EQ(keysOf(run.store.vquads_), (QuadKeys{{4, 5, 6, 7}}));
}

TEST(StageOrder, LeaningStreetsGiveTheSameQuads) {
    for (const double lean : {0.05, -0.05}) {
        std::vector<LiteralLine> literals = brokenCross();
        for (std::size_t i = 0; i < 8; ++i) {
            LiteralLine& l = literals[i];
            if (i < 4) {
                l.y1 += lean * l.x1;
                l.y2 += lean * l.x2;
            } else {
                l.x1 -= lean * l.y1;
                l.x2 -= lean * l.y2;
            }
        }
        StageRun run(literals, 4);
        run.pairsAndQuads();
        EXPECT_EQ(keysOf(run.store.hquads_), (QuadKeys{{1, 3, 0, 2}})) << lean;
        EXPECT_EQ(keysOf(run.store.vquads_), (QuadKeys{{4, 5, 6, 7}})) << lean;
        run.dispatch();
        ASSERT_EQ(run.results.size(), 1U) << lean;
        EXPECT_EQ(run.results[0].statusFlags(), Defs::eStreetFromEdges);
    }
}

TEST(StageOrder, QuadLabelsAreCrossed) {
    StageRun run(brokenCross(), 4);
    TraceCapture capture;
    run.pairsAndQuads(capture.trace());
    const std::string text = capture.text();
    const std::size_t hpairs = text.find("\n%%Generate hpairs_\n");
    const std::size_t vpairs = text.find("\n%%Generate vpairs_\n");
    const std::size_t hquads = text.find("\n%%Generate hquads_\n");
    const std::size_t vquads = text.find("\n%%Generate vquads_\n");
    EXPECT_EQ(hpairs, 0U);
    ASSERT_LT(hpairs, vpairs);
    ASSERT_LT(vpairs, hquads);
    ASSERT_LT(hquads, vquads);
    ASSERT_NE(vquads, std::string::npos);
    const std::string underHquads = text.substr(hquads, vquads - hquads);
    const std::string underVquads = text.substr(vquads);
    // The lines 4 to 7 run along y.
    EXPECT_TRUE(contains(underHquads, "\n%Add quad#1\n%built form lines (id): 4 5 6 7\n"));
    EXPECT_TRUE(contains(underVquads, "\n%Add quad#1\n%built form lines (id): 1 3 0 2\n"));
    EXPECT_EQ(run.store.vquads_.front().first.line1, 4);
    EXPECT_EQ(run.store.hquads_.front().first.line1, 1);
    // The labels of the pairs are not crossed.
    EXPECT_TRUE(contains(text.substr(hpairs, vpairs), "%Test pair - 0 1\n"));
    EXPECT_TRUE(contains(text.substr(vpairs, hquads - vpairs), "%Test pair - 4 6\n"));
}

TEST(StageOrder, TraceOfPairsAndQuadsOfFourLines) {
    // One upright street in two halves, and no line along x.
    StageRun run({{200.0, 10.0, 200.0, 145.0},
                  {218.0, 12.0, 218.0, 144.0},
                  {200.0, 186.0, 200.0, 290.0},
                  {217.5, 185.0, 217.5, 288.0}},
                 0);
    TraceCapture capture;
    run.pairsAndQuads(capture.trace());
    const std::string angles = "\n%Ang test (degrees)-90 -90 diff:0";
    EXPECT_EQ(capture.text(),
              "\n%%Generate hpairs_\n"
              "\n%%Generate vpairs_\n"
              "\n\n%Test pair - 0 2\n%qf_testPair \n%Dist test 200 200" +
                  angles +
                  "\n%No overlap punt:l1:-10 -145 l2:-186 -290\n%Not a pair.\n"
                  "\n\n%Test pair - 0 3\n%qf_testPair \n%Dist test 200 217.5" +
                  angles +
                  "\n%No overlap punt:l1:-10 -145 l2:-185 -288\n%Not a pair.\n"
                  "\n\n%Test pair - 0 1\n%qf_testPair \n%Dist test 200 218" +
                  angles +
                  "overlap132\n%\nFound pair: 0 1\n"
                  "\n\n%Test pair - 2 3\n%qf_testPair \n%Dist test 200 217.5" +
                  angles +
                  "overlap102\n%\nFound pair: 2 3\n"
                  "\n\n%Test pair - 2 1\n%qf_testPair \n%Dist test 200 218" +
                  angles +
                  "\n%No overlap punt:l1:-186 -290 l2:-12 -144\n%Not a pair.\n"
                  "\n\n%Test pair - 3 1\n%qf_testPair \n%Dist test 217.5 218" +
                  angles +
                  "\n%No overlap punt:l1:-185 -288 l2:-12 -144\n%Not a pair.\n"
                  "\n%%Generate hquads_\n"
                  "\n\n%Test quad, line id:0 1 2 3\n%Test quad, pair id:0 1\n"
                  "\n%Overlap Test: \n%Passed overlap tests \n%Passed order test "
                  "\n%Colinearity Test -90 -90 0\n%Colinearity Test 2 -90 -90 0"
                  "\n%Distance test1: 0,tol10\n%Distance test2: 0.5,tol10"
                  "\n%Add quad#1\n%built form lines (id): 0 1 2 3\n%build from pairs (id):0 1"
                  "\n\n%Test quad, line id:2 3 0 1\n%Test quad, pair id:1 0\n"
                  "\n%Overlap Test: \n%Passed overlap tests \n%Wrong order\n%not a quad"
                  "\n%%Generate vquads_\n");
}

TEST(StageOrder, EachDirectionIsTestedOnItsOwnProjection) {
    StageRun run(brokenCross(), 4);
    run.context.polarity = Defs::eDarkOnLight;
    run.pairsAndQuads();
    EXPECT_EQ(run.store.hpairs_.size(), 2U);
    EXPECT_EQ(run.store.vpairs_.size(), 2U);
    StageRun light(brokenCross(), 4);
    light.context.polarity = Defs::eLightOnDark;
    light.pairsAndQuads();
    EXPECT_TRUE(light.store.hpairs_.empty() && light.store.vpairs_.empty());
    StageRun swapped(brokenCross(), 4);
    std::swap(swapped.impl.projectionAlong0, swapped.impl.projectionAlong1);
    swapped.context.polarity = Defs::eDarkOnLight;
    swapped.pairsAndQuads();
    EXPECT_TRUE(swapped.store.hpairs_.empty() && swapped.store.vpairs_.empty());
}

TEST(StageOrder, PolarityMarginsAreThoseOfTheContext) {
    for (const bool tooMuch : {false, true}) {
        StageRun run(brokenCross(), 4);
        run.context.polarity = Defs::eDarkOnLight;
        // 60 in the street, 150 beside it.
        run.context.polarityMargin = tooMuch ? 0.65 : 0.55;
        run.pairsAndQuads();
        EXPECT_EQ(run.store.hpairs_.size(), tooMuch ? 0U : 2U);
    }
}

TEST(StageOrder, WidthsAreLimitedByDirection) {
    StageRun run(brokenCross(), 4);
    std::swap(run.context.tolerances.widthLower.first, run.context.tolerances.widthLower.second);
    std::swap(run.context.tolerances.widthUpper.first, run.context.tolerances.widthUpper.second);
    run.pairsAndQuads();
    EXPECT_TRUE(run.store.hpairs_.empty()) << "30 is not within 9 to 27";
    EXPECT_EQ(run.store.vpairs_.size(), 2U) << "18 is within 15 to 45";
}

TEST(StageOrder, CutsKeepTheFirstOfEqualPairsAndQuads) {
    StageRun run(fourEdgesAlongY(), 0);
    run.pairsAndQuads();
    const PairKeys all = {{0, 2}, {1, 3}, {2, 4}, {3, 5}, {4, 6}, {5, 7}};
    EXPECT_EQ(keysOf(run.store.vpairs_), all);
    EXPECT_EQ(keysOf(run.store.vquads_), (QuadKeys{{0, 2, 1, 3}, {2, 4, 3, 5}, {4, 6, 5, 7}}));

    StageRun cut(fourEdgesAlongY(), 0);
    cut.context.maxPairs = 5;
    cut.context.maxQuads = 1;
    cut.pairsAndQuads();
    EXPECT_EQ(keysOf(cut.store.vpairs_), PairKeys(all.begin(), all.begin() + 5));
    EXPECT_EQ(keysOf(cut.store.vquads_), (QuadKeys{{0, 2, 1, 3}}));
}

TEST(StageOrder, CutsPreferLinesOfBetterQuality) {
    StageRun run(fourEdgesAlongY(), 0);
    run.lines[0].lineQuality = 1.0;
    run.context.maxPairs = 5;
    run.context.maxQuads = 1;
    run.pairsAndQuads();
    EXPECT_EQ(keysOf(run.store.vpairs_), (PairKeys{{1, 3}, {2, 4}, {3, 5}, {4, 6}, {5, 7}}));
    EXPECT_EQ(keysOf(run.store.vquads_), (QuadKeys{{2, 4, 3, 5}}));

    StageRun quads(fourEdgesAlongY(), 0);
    quads.lines[3].lineQuality = 1.0;
    quads.context.maxQuads = 1;
    quads.pairsAndQuads();
    // The pairs without line 3 come first in the list, and so does their quad.
    EXPECT_EQ(keysOf(quads.store.vpairs_), (PairKeys{{0, 2}, {2, 4}, {4, 6}, {5, 7}, {1, 3}, {3, 5}}));
    EXPECT_EQ(keysOf(quads.store.vquads_), (QuadKeys{{4, 6, 5, 7}}));
}

TEST(StageOrder, QuadsAreTheSameWhetherOrNotTheTraceListsAll) {
    for (const long most : {0L, 1L, 2L, 3L, 100L}) {
        StageRun plain(fourEdgesAlongY(), 0);
        plain.context.maxQuads = most;
        plain.pairsAndQuads();
        StageRun traced(fourEdgesAlongY(), 0);
        traced.context.maxQuads = most;
        TraceCapture capture;
        traced.pairsAndQuads(capture.trace());
        EXPECT_EQ(keysOf(plain.store.vquads_), keysOf(traced.store.vquads_)) << most;
        EXPECT_TRUE(contains(capture.text(), "\n%Add quad#3\n")) << "listed beyond the cut";
    }
}

TEST(StageOrder, WithoutKeepBestNothingIsCut) {
    StageRun run(fourEdgesAlongY(), 0);
    run.context.maxPairs = 1;
    run.context.maxQuads = 0;
    run.context.stageFlags = eWidthsKnown;
    run.lines[0].lineQuality = 1.0;
    run.store.hquads_ = {{{1, 2, 0.0}, {3, 4, 0.0}}};
    run.pairsAndQuads();
    EXPECT_EQ(keysOf(run.store.vpairs_), (PairKeys{{0, 2}, {1, 3}, {2, 4}, {3, 5}, {4, 6}, {5, 7}}));
    EXPECT_EQ(keysOf(run.store.vquads_), (QuadKeys{{0, 2, 1, 3}, {2, 4, 3, 5}, {4, 6, 5, 7}}));
    EXPECT_EQ(run.store.hquads_.size(), 1U) << "the store is written to, not replaced";
}

TEST(StageOrder, KeepBestReplacesWhatTheStoreHeld) {
    StageRun run(brokenCross(), 4);
    run.store.hpairs_ = {{70, 71, 0.0}};
    run.store.vquads_.resize(9);
    run.pairsAndQuads();
    EXPECT_EQ(run.store.hpairs_.size(), 2U);
    EXPECT_EQ(run.store.vquads_.size(), 1U);
}
