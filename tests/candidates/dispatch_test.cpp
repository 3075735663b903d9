// The stages in their order, by run mode: from lines to crosses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"
#include "tests/candidates/stage_run.h"

namespace {

using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::brokenCross;
using qvtest::StageRun;
using qvtest::unbrokenCross;

qvStreetFinderStreetCrossResult formerResult(double x, double y) {
    qvStreetFinderStreetCrossResult result;
    qv_streetResultAccess::crossing(result) = Point(x, y);
    qv_streetResultAccess::score(result) = 0.125;
    return result;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(DispatchCandidates, DirectionWithoutLinesGivesNoCross) {
    const std::vector<LiteralLine> all = brokenCross();
    StageRun flat(std::vector<LiteralLine>(all.begin(), all.begin() + 4), 4);
    flat.dispatch();
    EXPECT_EQ(flat.store.hquads_.size(), 1U);
    EXPECT_TRUE(flat.store.vpairs_.empty() && flat.store.vquads_.empty());
    EXPECT_TRUE(flat.results.empty());

    StageRun upright(std::vector<LiteralLine>(all.begin() + 4, all.end()), 0);
    upright.dispatch();
    EXPECT_EQ(upright.store.vquads_.size(), 1U);
    EXPECT_TRUE(upright.store.hpairs_.empty() && upright.store.hquads_.empty());
    EXPECT_TRUE(upright.results.empty());

    StageRun none({}, 0);
    none.dispatch();
    EXPECT_TRUE(none.results.empty());
}

TEST(DispatchCandidates, EightLineRoadAlone) {
    // Edges so short that four of them make less than 0.4 of the perimeter of 1440.
    std::vector<LiteralLine> literals = brokenCross();
    for (const std::size_t i : {0U, 2U}) literals[i].x1 += 90.0;
    for (const std::size_t i : {1U, 3U}) literals[i].x2 -= 90.0;
    StageRun run(literals, 4);
    run.dispatch();
    ASSERT_EQ(run.results.size(), 1U);
    const qvStreetFinderStreetCrossResult& cross = run.results[0];
    EXPECT_NEAR(cross.crossing().x(), 209.0, 1e-9);
    EXPECT_NEAR(cross.crossing().y(), 165.0, 1e-9);
    EXPECT_LT(cross.ulCorner().distance(Point(200.0, 150.0)), 1e-9);
    EXPECT_LT(cross.lrCorner().distance(Point(218.0, 180.0)), 1e-9);
    EXPECT_NEAR(qvDegree(cross.horizontalAngle()).toDouble(), 0.0, 1e-9);
    EXPECT_NEAR(qvDegree(cross.verticalAngle()).toDouble(), -90.0, 1e-9);
    EXPECT_EQ(cross.statusFlags(), Defs::eStreetFromEdges);
    ASSERT_EQ(cross.lineSegs().size(), 8U);
    EXPECT_EQ(cross.lineSegs()[0], qvLineSeg(Point(200.0, 10.0), Point(200.0, 145.0)));
    EXPECT_EQ(cross.lineSegs()[7], qvLineSeg(Point(224.0, 180.0), Point(308.0, 180.0)));
    EXPECT_GT(cross.score(), 0.0);
    EXPECT_LE(cross.score(), 1.0);
}

TEST(DispatchCandidates, FourLineRoadAlone) {
    StageRun run(unbrokenCross(), 2);
    run.dispatch();
    EXPECT_TRUE(run.store.hquads_.empty() && run.store.vquads_.empty());
    ASSERT_EQ(run.results.size(), 1U);
    const qvStreetFinderStreetCrossResult& cross = run.results[0];
    EXPECT_NEAR(cross.crossing().x(), 209.0, 1e-9);
    EXPECT_NEAR(cross.crossing().y(), 165.0, 1e-9);
    ASSERT_EQ(cross.lineSegs().size(), 8U);
    // Cut at the corners.
    EXPECT_LT(cross.lineSegs()[0].p2().distance(Point(200.0, 150.0)), 1e-9);
    EXPECT_EQ(cross.lineSegs()[0].p1(), Point(200.0, 10.0));
    EXPECT_LT(cross.lineSegs()[7].p1().distance(Point(218.0, 180.0)), 1e-9);
    EXPECT_EQ(cross.lineSegs()[7].p2(), Point(398.0, 180.0));
}

TEST(DispatchCandidates, BothRoadsAreMergedAndNearCrossesSeparated) {
    // The broken cross at (209, 165) with long arms answers on both roads and is one result; a second street along y,
    // whole, at x from 340 to 358, crosses the right arms and answers on the road of four lines.
    std::vector<LiteralLine> literals = brokenCross();
    literals.push_back({340.0, 10.0, 340.0, 290.0});
    literals.push_back({358.0, 12.0, 358.0, 288.0});
    StageRun run(literals, 4);
    run.dispatch();
    ASSERT_EQ(run.results.size(), 2U);
    EXPECT_GE(run.results[0].score(), run.results[1].score());
    for (const double x : {209.0, 349.0}) {
        bool found = false;
        for (const qvStreetFinderStreetCrossResult& cross : run.results)
            found = found || cross.crossing().distance(Point(x, 165.0)) < 1e-6;
        EXPECT_TRUE(found) << x;
    }
}

TEST(DispatchCandidates, EightLineCrossComesFirstOnEqualScores) {
    // Both streets lie outside the profiles: every score is 0. Streets as wide as allowed, so that no stub of a four-line
    // cross is replaced by a real line.
    StageRun run(brokenCross(), 4);
    run.impl.projectionAlong0 = qvtest::literalProfile({90.0, 91.0, 92.0}, qvtest::binsAlongY());
    run.impl.projectionAlong1 = qvtest::literalProfile({90.0, 91.0, 92.0}, qvtest::binsAlongX());
    run.context.tolerances.nominalWidth = qvPair<double>(17.0, 29.0);
    run.context.tolerances.widthUpper = qvPair<double>(18.0, 30.0);
    run.dispatch();
    ASSERT_EQ(run.results.size(), 1U);
    EXPECT_EQ(run.results[0].score(), 0.0);
    for (const qvLineSeg& segment : run.results[0].lineSegs()) EXPECT_GT(segment.len(), 100.0);
    // Without the quads it is the four-line cross, with stubs.
    StageRun pairsOnly(brokenCross(), 4);
    pairsOnly.context.tolerances.widthUpper = qvPair<double>(18.0, 30.0);
    pairsOnly.context.maxQuads = 0;
    pairsOnly.dispatch();
    ASSERT_EQ(pairsOnly.results.size(), 1U);
    const std::vector<qvLineSeg>& segments = pairsOnly.results[0].lineSegs();
    EXPECT_EQ(std::count_if(segments.begin(), segments.end(), [](const qvLineSeg& s) { return s.len() < 0.001; }), 4);
}

TEST(DispatchCandidates, EdgePairResultsAreAppendedAndCountTheFormerOnes) {
    StageRun run(unbrokenCross(), 2);
    run.results = {formerResult(20.0, 30.0)};
    run.dispatch();
    ASSERT_EQ(run.results.size(), 2U);
    EXPECT_EQ(run.results[0].crossing(), Point(20.0, 30.0));
    EXPECT_EQ(run.results[0].score(), 0.125);

    StageRun full(unbrokenCross(), 2);
    full.context.maxResults = 1;
    full.results = {formerResult(20.0, 30.0)};
    full.dispatch();
    EXPECT_EQ(full.results.size(), 1U);

    StageRun occupied(unbrokenCross(), 2);
    occupied.results = {formerResult(212.0, 168.9)};
    occupied.dispatch();
    EXPECT_EQ(occupied.results.size(), 1U) << "4.92 from (209, 165)";
    StageRun clear(unbrokenCross(), 2);
    clear.results = {formerResult(212.0, 169.1)};
    clear.dispatch();
    EXPECT_EQ(clear.results.size(), 2U) << "5.08 from (209, 165)";
}

TEST(DispatchCandidates, TraceOfTheEdgePairModeGoesFromPairsOverQuadsToCrosses) {
    StageRun run(brokenCross(), 4);
    const std::string text = run.tracedDispatch();
    const std::size_t vquads = text.find("\n%%Generate vquads_\n");
    const std::size_t score = text.find("\n%%Gen and score\n");
    const std::size_t table = text.find("%centerx,centery, score, linsegments1-8(x,y)\nres=[\n");
    ASSERT_NE(table, std::string::npos);
    EXPECT_LT(vquads, score);
    EXPECT_LT(score, table);
    EXPECT_FALSE(contains(text, "%%Generate xcands"));
    EXPECT_FALSE(contains(text, "%%Generate corners"));
}

TEST(DispatchCandidates, RidgeModesCrossSingleLines) {
    for (const long mode : {static_cast<long>(Defs::eRidgeWafer), static_cast<long>(Defs::eCoarseRidgeWafer)}) {
        StageRun run({{20.0, 165.0, 400.0, 165.0}, {209.0, 10.0, 209.0, 290.0}}, 1);
        run.context.runMode = mode;
        run.results = {formerResult(20.0, 30.0)};
        const std::string text = run.tracedDispatch();
        EXPECT_EQ(text.rfind("\n%%Generate xcands\n", 0), 0U);
        EXPECT_FALSE(contains(text, "%%Generate hpairs_"));
        ASSERT_EQ(run.results.size(), 1U);
        EXPECT_EQ(run.results[0].crossing(), Point(209.0, 165.0));
        EXPECT_EQ(run.results[0].statusFlags(), Defs::eStreetFromLine);
        EXPECT_EQ(run.results[0].lineSegs().size(), 2U);
    }
}

TEST(DispatchCandidates, ReservedModeTakesEightLineCrosses) {
    StageRun run(brokenCross(), 4);
    run.context.runMode = Defs::eSpecial;
    const std::string text = run.tracedDispatch();
    EXPECT_FALSE(contains(text, "%%Generate corners"));
    EXPECT_FALSE(contains(text, "%%Gen and score"));
    ASSERT_EQ(run.results.size(), 1U);
    // Squared distances of the corners from those of the image of 420 by 300.
    EXPECT_NEAR(run.results[0].score(),
                (200.0 * 200.0 + 150.0 * 150.0) + (202.0 * 202.0 + 150.0 * 150.0) + (200.0 * 200.0 + 120.0 * 120.0) +
                    (202.0 * 202.0 + 120.0 * 120.0),
                1e-6);
    EXPECT_LT(run.results[0].crossing().distance(Point(209.0, 165.0)), 1e-9);
}

TEST(DispatchCandidates, ReservedModeFallsBackToCorners) {
    // Without its lower right arms the crossing has no quad, and three corners.
    const std::vector<LiteralLine> all = brokenCross();
    StageRun run({all[0], all[1], all[2], all[4], all[5], all[6]}, 3);
    run.context.runMode = Defs::eSpecial;
    run.results = {formerResult(20.0, 30.0)};
    const std::string text = run.tracedDispatch();
    EXPECT_TRUE(contains(text, "\n%%Generate corners\n"));
    ASSERT_EQ(run.results.size(), 1U);
    EXPECT_LT(run.results[0].crossing().distance(Point(209.0, 165.0)), 1e-6);
    EXPECT_LT(run.results[0].lrCorner().distance(Point(218.0, 180.0)), 1e-6);
    EXPECT_EQ(run.store.ulCorners_.size(), 1U);
    EXPECT_EQ(run.store.urCorners_.size(), 1U);
    EXPECT_EQ(run.store.dlCorners_.size(), 1U);
    EXPECT_TRUE(run.store.drCorners_.empty());
}

TEST(DispatchCandidates, ModeWithoutANameGoesTheWayOfTheReservedOne) {
    StageRun run(brokenCross(), 4);
    run.context.runMode = 9;
    run.dispatch();
    StageRun reserved(brokenCross(), 4);
    reserved.context.runMode = Defs::eSpecial;
    reserved.dispatch();
    ASSERT_EQ(run.results.size(), 1U);
    EXPECT_EQ(run.results[0].score(), reserved.results[0].score());
}
