#include "qvstreet/projection/edge_points.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/projection/drawn_street.h"
#include "tests/support/noise_image.h"

using namespace qvtest;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// 40 by 30 pels of 5 * column + row.
qvPelBuffer<unsigned char> ramp() {
    return drawnImage(40, 30, [](long x, long y) { return 5 * x + y; });
}

using Counts = std::array<std::uint32_t, kEdgePhases>;

/// The sums as their definition says, pel by pel.
qv_EdgeSums slowGather(const qv_UvPels& pels, const qv_UvLine& line, long first, long count) {
    qv_EdgeSums block{};
    double shifts = 0.0;
    for (long u = first; u < first + count; ++u) {
        const double v = line.at(static_cast<double>(u) + 0.5);
        const double i = std::floor(v + 0.5);
        const double f = v - i;
        const std::size_t phase = static_cast<std::size_t>(std::floor((f + 0.5) * 8.0));
        ++block.counts[phase];
        shifts += f + 0.5 - (static_cast<double>(phase) + 0.5) / 8.0;
        for (std::size_t k = 0; k < kEdgePels; ++k)
            block.sums[phase][k] = static_cast<std::uint16_t>(
                block.sums[phase][k] + *pels.pel(u, static_cast<long>(i) + static_cast<long>(k) - 8));
    }
    block.phaseShift = shifts / static_cast<double>(count);
    return block;
}

void expectSame(const qv_EdgeSums& a, const qv_EdgeSums& b, std::size_t firstPel = 0, std::size_t lastPel = kEdgePels) {
    EXPECT_EQ(a.counts, b.counts);
    EXPECT_NEAR(a.phaseShift, b.phaseShift, 1e-8);
    for (std::size_t q = 0; q < kEdgePhases; ++q)
        for (std::size_t k = firstPel; k < lastPel; ++k) EXPECT_EQ(a.sums[q][k], b.sums[q][k]) << q << ", " << k;
}

bool gathers(const qvPelBuffer_const<unsigned char>& image, const qv_UvLine& line, long first, long count) {
    qv_EdgeSums block;
    return qf_gatherEdge(alongRows(image), line, first, count, 0, kEdgePels, block);
}

}  // namespace

TEST(EdgePoints, aLineOnAPelBorderFallsIntoTheFifthEighth) {
    const qvPelBuffer<unsigned char> image = ramp();
    qv_EdgeSums block;
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {0.0, 12.0, 0.0}, 5, 3, 0, kEdgePels, block));
    EXPECT_EQ(block.counts, (Counts{0, 0, 0, 0, 3, 0, 0, 0}));
    // Columns 5, 6 and 7, rows 4 to 19: 3 * (30 + 4 + k).
    for (std::size_t k = 0; k < kEdgePels; ++k) EXPECT_EQ(block.sums[4][k], 102 + 3 * k) << k;
    // f is 0, the middle of its eighth a sixteenth.
    EXPECT_NEAR(block.phaseShift, -0.0625, 1e-12);
}

TEST(EdgePoints, aRisingLineWalksThroughTheEighthsAndIntoTheNextRow) {
    const qvPelBuffer<unsigned char> image = ramp();
    qv_EdgeSums block;
    // At the columns' middles: 12, 12.125, 12.25, 12.375 and 12.5, which is half a pel before 13.
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {4.5, 12.0, 0.125}, 4, 5, 0, kEdgePels, block));
    EXPECT_EQ(block.counts, (Counts{1, 0, 0, 0, 1, 1, 1, 1}));
    for (std::size_t k = 0; k < kEdgePels; ++k) {
        EXPECT_EQ(block.sums[4][k], 20 + 4 + k) << k;
        EXPECT_EQ(block.sums[5][k], 25 + 4 + k) << k;
        EXPECT_EQ(block.sums[6][k], 30 + 4 + k) << k;
        EXPECT_EQ(block.sums[7][k], 35 + 4 + k) << k;
        EXPECT_EQ(block.sums[0][k], 40 + 5 + k) << k;
    }
    EXPECT_NEAR(block.phaseShift, -0.0625, 1e-12);
}

TEST(EdgePoints, aFallingLineWalksTheOtherWay) {
    const qvPelBuffer<unsigned char> image = ramp();
    qv_EdgeSums block;
    // 12, 11.875, 11.75, 11.625, 11.5 and 11.375.
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {4.5, 12.0, -0.125}, 4, 6, 0, kEdgePels, block));
    EXPECT_EQ(block.counts, (Counts{1, 1, 1, 1, 1, 0, 0, 1}));
    for (std::size_t k = 0; k < kEdgePels; ++k) {
        EXPECT_EQ(block.sums[4][k], 20 + 4 + k) << k;
        EXPECT_EQ(block.sums[3][k], 25 + 4 + k) << k;
        EXPECT_EQ(block.sums[2][k], 30 + 4 + k) << k;
        EXPECT_EQ(block.sums[1][k], 35 + 4 + k) << k;
        EXPECT_EQ(block.sums[0][k], 40 + 4 + k) << k;
        EXPECT_EQ(block.sums[7][k], 45 + 3 + k) << k;
    }
}

TEST(EdgePoints, columnsOfOneEighthShareASumEvenWhenTheyLieApart) {
    const qvPelBuffer<unsigned char> image = ramp();
    qv_EdgeSums block;
    // A slope of one half: 12.25 and 12.75 in turn, a row further every second column.
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {10.5, 12.25, 0.5}, 10, 4, 0, kEdgePels, block));
    EXPECT_EQ(block.counts, (Counts{0, 0, 2, 0, 0, 0, 2, 0}));
    for (std::size_t k = 0; k < kEdgePels; ++k) {
        EXPECT_EQ(block.sums[6][k], 50 + 60 + 4 + 5 + 2 * k) << k;
        EXPECT_EQ(block.sums[2][k], 55 + 65 + 5 + 6 + 2 * k) << k;
    }
}

TEST(EdgePoints, theMeanPlaceWithinTheEighthIsTold) {
    const qvPelBuffer<unsigned char> image = ramp();
    qv_EdgeSums block;
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {0.0, 12.1875, 0.0}, 0, 7, 0, kEdgePels, block));
    EXPECT_EQ(block.counts, (Counts{0, 0, 0, 0, 0, 7, 0, 0}));
    EXPECT_NEAR(block.phaseShift, 0.0, 1e-12);
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {0.0, 12.2375, 0.0}, 0, 7, 0, kEdgePels, block));
    EXPECT_NEAR(block.phaseShift, 0.05, 1e-8);
}

TEST(EdgePoints, streetsOfBothAxesGiveTheSameSums) {
    const qvPelBuffer<unsigned char> image = noiseImage(90, 70, 3);
    const qvPelBuffer<unsigned char> turned = transposed(image);
    for (const double slope : {0.0, 0.03, -0.41, 0.77, -1.0}) {
        const qv_UvLine line{30.0, 35.3, slope};
        qv_EdgeSums a;
        qv_EdgeSums b;
        ASSERT_TRUE(qf_gatherEdge(alongRows(image), line, 14, 27, 0, kEdgePels, a)) << slope;
        ASSERT_TRUE(qf_gatherEdge(alongColumns(turned), line, 14, 27, 0, kEdgePels, b)) << slope;
        expectSame(a, b);
    }
}

TEST(EdgePoints, everyCountGivesWhatItsDefinitionSays) {
    const qvPelBuffer<unsigned char> image = noiseImage(77, 103, 9);
    for (const qvPelBuffer_const<unsigned char>& one : {qvPelBuffer_const<unsigned char>(image), asBottomUp(image)})
        for (const qv_UvPels& pels : {alongRows(one), alongColumns(one)})
            for (long count = 1; count <= 64; ++count) {
                const qv_UvLine line{20.0, 38.0 + 0.03713717 * static_cast<double>(count),
                                     0.01131713 * static_cast<double>(count % 23) - 0.12437137};
                for (const long first : {0L, 7L, pels.uSize - count}) {
                    qv_EdgeSums block;
                    ASSERT_TRUE(qf_gatherEdge(pels, line, first, count, 0, kEdgePels, block));
                    expectSame(block, slowGather(pels, line, first, count));
                }
            }
}

TEST(EdgePoints, onlyTheAskedPelsHaveToBeRight) {
    const qvPelBuffer<unsigned char> image = noiseImage(80, 80, 5);
    const qv_UvLine line{40.0, 40.0, 0.07};
    for (const qv_UvPels& pels : {alongRows(image), alongColumns(image)}) {
        qv_EdgeSums block;
        ASSERT_TRUE(qf_gatherEdge(pels, line, 11, 37, 4, 13, block));
        expectSame(block, slowGather(pels, line, 11, 37), 4, 13);
    }
}

TEST(EdgePoints, sixtyFourWhiteColumnsDoNotOverflow) {
    const qvPelBuffer<unsigned char> image = drawnImage(64, 18, [](long, long) { return 255; });
    qv_EdgeSums block;
    ASSERT_TRUE(qf_gatherEdge(alongRows(image), {0.0, 9.0, 0.0}, 0, 64, 0, kEdgePels, block));
    for (std::size_t k = 0; k < kEdgePels; ++k) EXPECT_EQ(block.sums[4][k], 16320) << k;
}

TEST(EdgePoints, pelsBeyondTheWindowsRowAreNotRead) {
    const qvPelBuffer<unsigned char> image = noiseImage(13, 40, 6);
    const qvPelBuffer_const<unsigned char> window = asWindow(image, 3, 2);
    const qv_UvLine line{0.0, 18.3, 0.05};
    for (long first = 0; first < 13; ++first) {
        qv_EdgeSums block;
        ASSERT_TRUE(qf_gatherEdge(alongRows(window), line, first, 13 - first, 0, kEdgePels, block));
        expectSame(block, slowGather(alongRows(image), line, first, 13 - first));
    }
}

TEST(EdgePoints, aLineMustKeepNinePelsFromTheImagesSides) {
    const qvPelBuffer<unsigned char> image = ramp();
    EXPECT_TRUE(gathers(image, {0.0, 9.0, 0.0}, 3, 8));
    EXPECT_FALSE(gathers(image, {0.0, 8.999, 0.0}, 3, 8));
    EXPECT_TRUE(gathers(image, {0.0, 21.0, 0.0}, 3, 8));
    EXPECT_FALSE(gathers(image, {0.0, 21.001, 0.0}, 3, 8));
}

TEST(EdgePoints, bothEndsOfASlopingLineMustKeepInside) {
    const qvPelBuffer<unsigned char> image = ramp();
    // The columns' middles run from 3.5 to 10.5.
    EXPECT_TRUE(gathers(image, {3.5, 9.0, 0.25}, 3, 8));
    EXPECT_FALSE(gathers(image, {3.5, 9.0, -0.25}, 3, 8));
    EXPECT_TRUE(gathers(image, {10.5, 9.0, -0.25}, 3, 8));
    EXPECT_FALSE(gathers(image, {10.5, 9.0, 0.25}, 3, 8));
    EXPECT_TRUE(gathers(image, {10.5, 21.0, 0.25}, 3, 8));
    EXPECT_FALSE(gathers(image, {3.5, 21.0, 0.25}, 3, 8));
}

TEST(EdgePoints, columnsMustLieInTheImage) {
    const qvPelBuffer<unsigned char> image = ramp();
    EXPECT_TRUE(gathers(image, {0.0, 15.0, 0.0}, 0, 40));
    EXPECT_FALSE(gathers(image, {0.0, 15.0, 0.0}, -1, 8));
    EXPECT_TRUE(gathers(image, {0.0, 15.0, 0.0}, 39, 1));
    EXPECT_FALSE(gathers(image, {0.0, 15.0, 0.0}, 39, 2));
    EXPECT_FALSE(gathers(image, {0.0, 15.0, 0.0}, 40, 1));
}

TEST(EdgePoints, aLineThatIsNoNumberIsRefused) {
    const qvPelBuffer<unsigned char> image = ramp();
    EXPECT_FALSE(gathers(image, {0.0, kNaN, 0.0}, 3, 8));
    EXPECT_FALSE(gathers(image, {0.0, 15.0, kNaN}, 3, 8));
    EXPECT_FALSE(gathers(image, {0.0, std::numeric_limits<double>::infinity(), 0.0}, 3, 8));
    EXPECT_FALSE(gathers(image, {0.0, -1e300, 0.0}, 3, 8));
}
