#include "qvstreet/blankregion/region_scores.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Params = qvStreetBlankRegionFinderParams;
using Defs = qvStreetBlankRegionFinderDefs;

qvPelBuffer<unsigned char> flatImage(long width, long height, int level) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    qfPelSet(image, static_cast<unsigned char>(level));
    return image;
}

/// 100 plus and minus an amplitude, column by column: every row has that standard deviation, every column 0.
qvPelBuffer<unsigned char> barsAcross(long width, long height, int amplitude) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            image.put(x, y, static_cast<unsigned char>(x % 2 == 0 ? 100 + amplitude : 100 - amplitude));
    return image;
}

Params paramsOf(long streetWidth, long minLength, const std::vector<double>& weights = std::vector<double>(256, 1.0)) {
    return Params(streetWidth, minLength, 1, weights, Defs::eHorizontal);
}

double blanknessOfBars(int amplitude) {
    return computeBlanknessScore(barsAcross(20, 6, amplitude), qvPelRect(2, 1, 14, 4), 1.0);
}

TEST(RegionScores, BlanknessFallsFrom1AtADeviationOf2To0AtOneOf6) {
    EXPECT_EQ(blanknessOfBars(0), 1.0);
    EXPECT_EQ(blanknessOfBars(1), 1.0);
    EXPECT_EQ(blanknessOfBars(2), 1.0);
    EXPECT_EQ(blanknessOfBars(3), 0.75);
    EXPECT_EQ(blanknessOfBars(4), 0.5);
    EXPECT_EQ(blanknessOfBars(5), 0.25);
    EXPECT_EQ(blanknessOfBars(6), 0.0);
    EXPECT_EQ(blanknessOfBars(7), 0.0);
    EXPECT_EQ(blanknessOfBars(90), 0.0);
}

TEST(RegionScores, RowsCountWithTheRowWeightAndColumnsWithTheRest) {
    const qvPelBuffer<unsigned char> across = barsAcross(20, 30, 5);
    EXPECT_EQ(computeBlanknessScore(across, qvPelRect(0, 0, 20, 30), 0.8), 0.5);
    const qvPelBuffer<unsigned char> along = qfPelTranspose(barsAcross(30, 20, 20));
    const double deviation = (1.0 - 0.8) * 20.0;
    EXPECT_EQ(computeBlanknessScore(along, qvPelRect(0, 0, 20, 30), 0.8), 1.0 - (deviation - 2.0) / 4.0);
    EXPECT_EQ(computeBlanknessScore(along, qvPelRect(0, 0, 20, 30), 1.0), 1.0);
}

TEST(RegionScores, BlanknessSeesTheRectangleAlone) {
    qvPelBuffer<unsigned char> image = barsAcross(40, 12, 60);
    for (long y = 3; y < 8; ++y)
        for (long x = 10; x < 30; ++x) image.put(x, y, 77);
    EXPECT_EQ(computeBlanknessScore(image, qvPelRect(10, 3, 20, 5), 0.8), 1.0);
    EXPECT_LT(computeBlanknessScore(image, qvPelRect(9, 3, 20, 5), 0.8), 1.0);
    EXPECT_LT(computeBlanknessScore(image, qvPelRect(10, 2, 20, 5), 0.8), 1.0);
}

TEST(RegionScores, BlanknessCountsFromTheWindow) {
    qvPelBuffer<unsigned char> image = barsAcross(40, 12, 60);
    for (long y = 3; y < 8; ++y)
        for (long x = 10; x < 30; ++x) image.put(x, y, 77);
    image.window(8, 2, 30, 9, false);
    EXPECT_EQ(computeBlanknessScore(image, qvPelRect(2, 1, 20, 5), 0.8), 1.0);
}

// 33100 pels of 255: the sum of squares, 2152327500, reads as -2142639796 and the radicand is negative.
TEST(RegionScores, BlanknessOfADeviationThatIsNoNumberIs0) {
    EXPECT_EQ(computeBlanknessScore(flatImage(1, 33100, 255), qvPelRect(0, 0, 1, 33100), 0.8), 0.0);
}

// 200 pels of 255: the square of the sum, 2601000000, reads as -1693967296, so the column deviates by 327.68.
TEST(RegionScores, CleanBrightStrip200PelsHighIsNotBlank) {
    EXPECT_EQ(computeBlanknessScore(flatImage(30, 200, 255), qvPelRect(0, 0, 30, 200), 0.8), 0.0);
    EXPECT_EQ(computeBlanknessScore(flatImage(30, 180, 255), qvPelRect(0, 0, 30, 180), 0.8), 1.0);
}

// 32768 pels in turn 0 and 255: the numerator wraps to 2^28, over 2^30 a quarter, so a deviation of 0.5.
TEST(RegionScores, BlackAndWhiteStripesMayWrapToBlank) {
    qvPelBuffer<unsigned char> image(32768, 1, 32);
    for (long x = 0; x < 32768; ++x) image.put(x, 0, static_cast<unsigned char>(x % 2 == 0 ? 0 : 255));
    EXPECT_EQ(computeBlanknessScore(image, qvPelRect(0, 0, 32768, 1), 0.8), 1.0);
}

TEST(RegionScores, RegionOfTheLeastAreaScoresATenth) {
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(0, 0, 20, 10), flatImage(50, 30, 100), paramsOf(10, 20)), 1.0 - 0.9);
}

TEST(RegionScores, LargerRegionsComeNearerTo1) {
    const qvPelBuffer<unsigned char> image = flatImage(50, 30, 100);
    // 200 of 800 pels.
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(3, 2, 40, 20), image, paramsOf(10, 20)), 1.0 - 0.9 * 0.25);
    EXPECT_EQ(computeRegionScore(0.5, qvPelRect(3, 2, 20, 40), flatImage(30, 50, 9), paramsOf(10, 20)),
              0.5 * (1.0 - 0.9 * 0.25));
}

TEST(RegionScores, RegionBelowNineTenthsOfTheLeastAreaScoresBelow0) {
    const qvPelBuffer<unsigned char> image = flatImage(50, 30, 100);
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(0, 0, 10, 17), image, paramsOf(10, 20)), 1.0 - 0.9 * (200.0 / 170.0));
    EXPECT_LT(computeRegionScore(1.0, qvPelRect(0, 0, 179, 1), flatImage(200, 2, 4), paramsOf(10, 20)), 0.0);
    EXPECT_GT(computeRegionScore(1.0, qvPelRect(0, 0, 181, 1), flatImage(200, 2, 4), paramsOf(10, 20)), 0.0);
}

TEST(RegionScores, RegionWithoutAreaScoresItsBlankness) {
    const qvPelBuffer<unsigned char> image = flatImage(50, 30, 100);
    const std::vector<double> zeros(256, 0.0);
    EXPECT_EQ(computeRegionScore(0.625, qvPelRect(4, 4, 0, 9), image, paramsOf(10, 20, zeros)), 0.625);
    EXPECT_EQ(computeRegionScore(0.625, qvPelRect(4, 4, 9, 0), image, paramsOf(10, 20, zeros)), 0.625);
}

TEST(RegionScores, RegionOfNegativeWidthReadsNoPel) {
    EXPECT_EQ(computeRegionScore(0.0, qvPelRect(30, 4, -13, 8), flatImage(50, 30, 100), paramsOf(10, 20)), 0.0);
}

TEST(RegionScores, WeightIsThatOfTheMeanRoundedHalvesUp) {
    std::vector<double> weights(256, 0.0);
    weights[15] = 0.25;
    weights[16] = 0.5;
    weights[17] = 0.75;
    qvPelBuffer<unsigned char> image = flatImage(40, 20, 10);
    for (long y = 0; y < 20; ++y)
        for (long x = 20; x < 40; ++x) image.put(x, y, 21);
    const qvPelRect whole(0, 0, 40, 20);
    // Mean 15.5.
    EXPECT_EQ(computeRegionScore(0.5, whole, image, paramsOf(10, 20, weights)), 0.5 * (1.0 - 0.9 * 0.25) * 0.5);
    // One pel of 800 darker: 15.49875.
    image.put(0, 0, 9);
    EXPECT_EQ(computeRegionScore(0.5, whole, image, paramsOf(10, 20, weights)), 0.5 * (1.0 - 0.9 * 0.25) * 0.25);
}

TEST(RegionScores, WeightsOfTheDarkestAndTheBrightestLevelAreReached) {
    std::vector<double> weights(256, 0.0);
    weights[0] = 0.25;
    weights[255] = 0.5;
    const qvPelRect rect(1, 2, 40, 20);
    EXPECT_EQ(computeRegionScore(1.0, rect, flatImage(50, 30, 0), paramsOf(10, 20, weights)), 0.775 * 0.25);
    EXPECT_EQ(computeRegionScore(1.0, rect, flatImage(50, 30, 255), paramsOf(10, 20, weights)), 0.775 * 0.5);
}

TEST(RegionScores, MeanIsThatOfTheRectangleCountedFromTheWindow) {
    std::vector<double> weights(256, 0.0);
    weights[60] = 1.0;
    qvPelBuffer<unsigned char> image = flatImage(80, 40, 200);
    for (long y = 11; y < 31; ++y)
        for (long x = 27; x < 67; ++x) image.put(x, y, 60);
    image.window(20, 5, 55, 30, false);
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(7, 6, 40, 20), image, paramsOf(10, 20, weights)), 0.775);
    image.offset(-3000, 900);
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(7, 6, 40, 20), image, paramsOf(10, 20, weights)), 0.775);
}

TEST(RegionScores, ImageOfTheCallerKeepsItsWindow) {
    const qvPelBuffer<unsigned char> image = flatImage(50, 30, 100);
    computeRegionScore(1.0, qvPelRect(3, 2, 40, 20), image, paramsOf(10, 20));
    EXPECT_EQ(image.window(), qvPelRect(0, 0, 50, 30));
}

TEST(RegionScores, LeastAreaWrapsAt32Bits) {
    const qvPelBuffer<unsigned char> image = flatImage(10, 8, 100);
    // 65536 * 65536 wraps to 0.
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(0, 0, 4, 5), image, paramsOf(65536, 65536)), 1.0);
    // 50000 * 50000 = 2500000000 reads as -1794967296.
    EXPECT_EQ(computeRegionScore(1.0, qvPelRect(0, 0, 4, 5), image, paramsOf(50000, 50000)),
              1.0 - 0.9 * (-1794967296.0 / 20.0));
}

}  // namespace
