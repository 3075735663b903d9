#include "qvstreet/projection/edge_follower.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/projection/drawn_street.h"

using namespace qvtest;

namespace {

constexpr long kBlock = 8;

std::vector<long> firstColumns(const std::vector<qv_EdgeBlock>& blocks) {
    std::vector<long> columns;
    for (const qv_EdgeBlock& block : blocks) columns.push_back(block.first);
    return columns;
}

/// One edge at v = 20, blurred by a pel, from grey 60 up by as much as each block of 8 columns is given.
qvPelBuffer<unsigned char> edgeOf(const std::vector<double>& contrasts) {
    const long width = kBlock * static_cast<long>(contrasts.size());
    return drawnImage(width, 40, [&contrasts](long x, long y) {
        return 60.0 + contrasts[static_cast<std::size_t>(x / kBlock)] * normalBelow(static_cast<double>(y) - 19.5);
    });
}

/// Follows an edge told at v = `at`.
class EdgeFollower : public testing::Test {
 protected:
    static qv_EdgeFollower followerOf(const qv_UvPels& pels, double at) {
        qv_StreetEdges edges;
        edges.found = qv_EdgesFound::one;
        edges.contrast = {100.0, 0.0};
        return qv_EdgeFollower(pels, {0.5 * static_cast<double>(pels.uSize), at, 0.0}, edges, false);
    }

    /// All blocks of the image.
    void look(qv_EdgeFollower& follower, const qv_UvPels& pels) const {
        follower.look(qf_blocksAlong(pels, 0.0, {1e6, {}}, kBlock), windows, false);
    }

    static std::vector<bool> usedOnes(const qv_EdgeFollower& follower) {
        std::vector<bool> used;
        for (const qv_EdgePoint& point : follower.points()) used.push_back(point.used);
        return used;
    }

    const qv_EdgeTemplate edge{1.0};
    const std::array<qv_EdgeWindow, 1> windows{qv_EdgeWindow(edge, 0, kEdgePels)};
};

}  // namespace

TEST(EdgeBlocks, lieSideBySideWithinTheReachAndTheImageButInNoCrossing) {
    const qvPelBuffer<unsigned char> image = drawnImage(100, 40, [](long, long) { return 0.0; });
    const qv_UvPels pels = alongRows(image);
    // The last whole block ends at 96. Blocks from 24 to 48 meet the crossing from 30 to 42.
    EXPECT_EQ(firstColumns(qf_blocksAlong(pels, 50.0, {1e6, {{30.0, 42.0}}}, 8)),
              (std::vector<long>{0, 8, 16, 48, 56, 64, 72, 80, 88}));
    // From 50 - 20 to 50 + 20.
    const std::vector<qv_EdgeBlock> near = qf_blocksAlong(pels, 50.0, {20.0, {}}, 8);
    EXPECT_EQ(firstColumns(near), (std::vector<long>{30, 38, 46, 54, 62}));
    EXPECT_EQ(near[1].middle(), 42.0);
    EXPECT_EQ(near[4].index, 4);
    // A crossing takes the block that it fills, not those that it touches; their numbers tell that they are no
    // neighbours.
    const std::vector<qv_EdgeBlock> around = qf_blocksAlong(pels, 50.0, {1e6, {{16.0, 24.0}}}, 8);
    EXPECT_EQ(around[1].first, 8);
    EXPECT_EQ(around[1].index, 1);
    EXPECT_EQ(around[2].first, 24);
    EXPECT_EQ(around[2].index, 3);
}

TEST(EdgeBlocks, someAreEvenlySpreadOverThoseWithinTheReach) {
    std::vector<qv_EdgeBlock> blocks;
    for (std::int32_t i = 0; i < 9; ++i) blocks.push_back({8L * i, 8, i});
    // Middles at 4, 12, 20 and so on; 12 and 28 are just within 8 of 20.
    EXPECT_EQ(firstColumns(qf_someWithin(blocks, 20.0, 8.0, 12)), (std::vector<long>{8, 16, 24}));
    EXPECT_EQ(firstColumns(qf_someWithin(blocks, 20.0, 7.99, 12)), (std::vector<long>{16}));
    EXPECT_EQ(firstColumns(qf_someWithin(blocks, 20.0, 1e6, 9)).size(), 9U);
    EXPECT_EQ(firstColumns(qf_someWithin(blocks, 20.0, 1e6, 5)), (std::vector<long>{0, 16, 32, 48, 64}));
    EXPECT_EQ(firstColumns(qf_someWithin(blocks, 20.0, 1e6, 4)), (std::vector<long>{0, 16, 40, 64}));
}

TEST_F(EdgeFollower, eachBlockTellsWhereTheEdgeIsAndItsContrast) {
    const qvPelBuffer<unsigned char> image = edgeOf({100.0, 40.0});
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.3);
    look(follower, pels);
    ASSERT_EQ(follower.points().size(), 2U);
    for (const qv_EdgePoint& point : follower.points()) {
        EXPECT_TRUE(point.used);
        EXPECT_NEAR(point.v, 20.0, 0.03);
    }
    EXPECT_EQ(follower.points()[1].u, 12.0);
    EXPECT_NEAR(follower.points()[0].contrast, 100.0, 2.0);
    EXPECT_NEAR(follower.points()[1].contrast, 40.0, 1.0);
}

TEST_F(EdgeFollower, anEdgeThatFallsInsteadOfRisingIsNotUsed) {
    const qvPelBuffer<unsigned char> image = edgeOf({50.0, -50.0, 50.0});
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.0);
    look(follower, pels);
    EXPECT_EQ(usedOnes(follower), (std::vector<bool>{true, false, true}));
    // Where its pels are not in the image, there is no point at all.
    qv_EdgeFollower outside = followerOf(pels, 3.0);
    look(outside, pels);
    EXPECT_TRUE(outside.points().empty());
}

TEST_F(EdgeFollower, blocksOfLessThanTwoFifthsOrMoreThanTwoAndAHalfTimesTheUsualContrastAreRefused) {
    const qvPelBuffer<unsigned char> image = edgeOf({50.0, 22.0, 18.0, 50.0, 120.0, 130.0, 50.0, 50.0, 50.0});
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.0);
    look(follower, pels);
    EXPECT_NEAR(follower.usualContrast(), 20.0, 0.5);
    follower.refuseOddOnes();
    EXPECT_EQ(usedOnes(follower), (std::vector<bool>{true, true, false, true, true, false, true, true, true}));
}

TEST_F(EdgeFollower, blocksThatHoldMoreThanAnEdgeAreRefused) {
    // A line of 20 grey levels, four pels from the edge, in the third of five blocks.
    const std::vector<double> contrasts(5, 100.0);
    const qvPelBuffer<unsigned char> plain = edgeOf(contrasts);
    const qvPelBuffer<unsigned char> image = drawnImage(plain.width(), plain.height(), [&plain](long x, long y) {
        return static_cast<double>(plain.get(x, y)) + (x / kBlock == 2 && y == 24 ? 20.0 : 0.0);
    });
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.0);
    look(follower, pels);
    follower.refuseOddOnes();
    EXPECT_EQ(usedOnes(follower), (std::vector<bool>{true, true, false, true, true}));
}

TEST_F(EdgeFollower, theShareThatShowsTheEdgeCountsContrastAndUse) {
    const qvPelBuffer<unsigned char> image = edgeOf({100.0, 30.0, -100.0, 100.0});
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.0);
    EXPECT_EQ(follower.shareShowing(40.0), 1.0) << "nothing was looked at";
    EXPECT_EQ(follower.usualContrast(), 0.0);
    look(follower, pels);
    // The second is too weak, the third falls.
    EXPECT_EQ(follower.shareShowing(40.0), 0.5);
    EXPECT_EQ(follower.shareShowing(20.0), 0.75);
    EXPECT_EQ(follower.shareShowing(0.0), 0.75);
    EXPECT_EQ(follower.shareShowing(200.0), 0.0);
}

TEST_F(EdgeFollower, aFitMovesTheLineAndTellsByHowMuch) {
    const qvPelBuffer<unsigned char> image = edgeOf(std::vector<double>(8, 100.0));
    const qv_UvPels pels = alongRows(image);
    qv_EdgeFollower follower = followerOf(pels, 20.5);
    double moved = 7.0;
    EXPECT_FALSE(follower.fit(3, 1e6, moved)) << "nothing was looked at";
    EXPECT_EQ(moved, 7.0);
    look(follower, pels);
    ASSERT_TRUE(follower.fit(8, 1e6, moved));
    EXPECT_NEAR(moved, 0.5, 0.1);
    look(follower, pels);
    ASSERT_TRUE(follower.fit(8, 1e6, moved));
    EXPECT_NEAR(follower.fitted().offset[0], 20.0, 0.005);
    EXPECT_LT(moved, 0.1);
    EXPECT_FALSE(follower.fit(9, 1e6, moved)) << "there are eight points";
}
