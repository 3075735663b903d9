// One run of the candidate stages by the flags of its context, called directly: as lines come, merged, and without
// known widths.
#include <gtest/gtest.h>

#include <cstddef>
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

}  // namespace

TEST(RunCandidatesOnce, StoreIsEmptiedFirst) {
    StageRun one(brokenCross(), 4);
    one.store.ulCorners_.resize(3);
    one.store.vpairs_ = {{70, 71, 0.0}};
    one.store.hquads_.resize(2);
    one.context.stageFlags = eWidthsKnown;
    one.runOnce();
    EXPECT_TRUE(one.store.ulCorners_.empty());
    EXPECT_EQ(one.store.vpairs_.size(), 2U);
    EXPECT_EQ(one.store.hquads_.size(), 1U);
    EXPECT_EQ(one.results.size(), 1U);
    EXPECT_EQ(one.lines.size(), 8U);
}

TEST(RunCandidatesOnce, MergingReachesOneAndAHalfWidthsOfTheOwnDirection) {
    // 1.5 * 18 = 27 along x, 1.5 * 30 = 45 along y, both strict.
    StageRun one({{0.0, 100.0, 50.0, 100.0},
                  {76.5, 100.0, 150.0, 100.0},
                  {0.0, 200.0, 50.0, 200.0},
                  {77.0, 200.0, 150.0, 200.0},
                  {100.0, 0.0, 100.0, 50.0},
                  {100.0, 94.5, 100.0, 150.0},
                  {200.0, 0.0, 200.0, 50.0},
                  {200.0, 95.0, 200.0, 150.0}},
                 4);
    one.context.stageFlags = eMergeLines | eWidthsKnown | eKeepBest;
    one.runOnce();
    EXPECT_EQ(one.counts, (std::vector<long>{3, 3}));
    ASSERT_EQ(one.lines.size(), 6U);
    EXPECT_EQ(one.lines[0].p2, Point(150.0, 100.0));
    EXPECT_EQ(one.lines[1].p2, Point(50.0, 200.0));
    EXPECT_EQ(one.lines[2].p1, Point(77.0, 200.0));
    EXPECT_EQ(one.lines[3].p2, Point(100.0, 150.0));
    EXPECT_EQ(one.lines[4].p2, Point(200.0, 50.0));
    EXPECT_EQ(one.lines[5].p1, Point(200.0, 95.0));
    for (std::size_t key = 0; key < 6; ++key) EXPECT_EQ(one.lines[key].lineKey, static_cast<long>(key));
}

TEST(RunCandidatesOnce, MergingAllowsTheGapToleranceAcross) {
    StageRun one({{0.0, 100.0, 50.0, 100.0},
                  {60.0, 106.0, 150.0, 106.0},
                  {100.0, 0.0, 100.0, 50.0},
                  {106.0, 60.0, 106.0, 150.0}},
                 2);
    one.context.stageFlags = eMergeLines | eWidthsKnown;
    one.context.tolerances.lineGapTolerance = 7.0;
    one.runOnce();
    EXPECT_EQ(one.counts, (std::vector<long>{1, 1}));
    StageRun narrow({{0.0, 100.0, 50.0, 100.0},
                     {60.0, 106.0, 150.0, 106.0},
                     {100.0, 0.0, 100.0, 50.0},
                     {106.0, 60.0, 106.0, 150.0}},
                    2);
    narrow.context.stageFlags = eMergeLines | eWidthsKnown;
    narrow.context.tolerances.lineGapTolerance = 6.0;
    narrow.runOnce();
    EXPECT_EQ(narrow.counts, (std::vector<long>{2, 2}));
}

TEST(RunCandidatesOnce, LinesOfTheTwoDirectionsAreNotMergedWithEachOther) {
    // The last line along x ends where the first one along y begins, and lies in its band.
    StageRun one({{0.0, 100.0, 50.0, 100.0}, {60.0, 100.0, 110.0, 100.0}}, 1);
    one.context.stageFlags = eMergeLines | eWidthsKnown;
    one.runOnce();
    EXPECT_EQ(one.counts, (std::vector<long>{1, 1}));
}

TEST(RunCandidatesOnce, MergedLinesGoIntoTheStages) {
    // Pieces of the unbroken cross, in the ridge modes: one crossing of whole lines.
    StageRun one({{20.0, 165.0, 195.0, 165.0},
                  {215.0, 165.0, 400.0, 165.0},
                  {209.0, 10.0, 209.0, 150.0},
                  {209.0, 180.0, 209.0, 290.0}},
                 2);
    one.context.runMode = Defs::eRidgeWafer;
    one.context.stageFlags = eMergeLines | eWidthsKnown | eKeepBest;
    one.runOnce();
    ASSERT_EQ(one.results.size(), 1U);
    EXPECT_EQ(one.results[0].crossing(), Point(209.0, 165.0));
    EXPECT_EQ(one.results[0].lineSegs()[0], qvLineSeg(Point(209.0, 10.0), Point(209.0, 290.0)));
}

TEST(RunCandidatesOnce, WithoutKnownWidthsTheyReachFromZeroToTheLengthOfTheRange) {
    // Ranges 9 to 27 and 15 to 45 become 0 to 18 and 0 to 30: the literal streets are just within.
    StageRun one(brokenCross(), 4);
    one.context.stageFlags = eKeepBest;
    one.runOnce();
    EXPECT_EQ(one.store.vpairs_.size(), 2U);
    EXPECT_EQ(one.store.hpairs_.size(), 2U);
    EXPECT_EQ(one.results.size(), 1U);
    EXPECT_EQ(one.context.tolerances.widthLower, qvPair<double>(9.0, 15.0));

    // 5 is below 9.
    std::vector<LiteralLine> narrow = brokenCross();
    for (const std::size_t i : {5U, 7U}) narrow[i].x1 = narrow[i].x2 = 205.0;
    StageRun within(narrow, 4);
    within.context.stageFlags = eKeepBest;
    within.runOnce();
    EXPECT_EQ(within.store.vpairs_.size(), 2U);

    StageRun shorter(brokenCross(), 4);
    shorter.context.stageFlags = eKeepBest;
    shorter.context.tolerances.widthUpper = qvPair<double>(26.9, 45.0);
    shorter.runOnce();
    EXPECT_TRUE(shorter.store.vpairs_.empty());
    EXPECT_EQ(shorter.store.hpairs_.size(), 2U);
    EXPECT_TRUE(shorter.results.empty());
}

TEST(RunCandidatesOnce, WithoutKnownWidthsOnlyTheBestCrossIsAppended) {
    std::vector<LiteralLine> literals = unbrokenCross();
    literals.push_back({340.0, 10.0, 340.0, 290.0});
    literals.push_back({357.5, 12.0, 357.5, 288.0});
    StageRun known(literals, 2);
    known.runOnce();
    ASSERT_EQ(known.results.size(), 2U);
    StageRun unknown(literals, 2);
    unknown.context.stageFlags = eKeepBest;
    unknown.results.resize(1);
    qv_streetResultAccess::crossing(unknown.results[0]) = Point(209.0, 165.0);
    unknown.runOnce();
    // The run has a list of its own, so that no distance is kept from what was there.
    ASSERT_EQ(unknown.results.size(), 2U);
    EXPECT_EQ(unknown.results[0].lineSegs().size(), 0U);
    EXPECT_EQ(unknown.results[1].lineSegs().size(), 8U);
}

TEST(RunCandidatesOnce, WithoutKnownWidthsNothingIsMerged) {
    StageRun one(brokenCross(), 4);
    one.context.stageFlags = eMergeLines | eKeepBest;
    one.store.ulCorners_.resize(3);
    one.runOnce();
    EXPECT_EQ(one.lines.size(), 8U);
    EXPECT_EQ(one.counts, (std::vector<long>{4, 4}));
    EXPECT_TRUE(one.store.ulCorners_.empty());
    EXPECT_EQ(one.results.size(), 1U);
}
