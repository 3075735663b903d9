#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/sampling.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_sampling.h"

namespace {

using qvtest::imageOf;
using qvtest::noiseImage;
using qvtest::rowsOf;
using Rows = std::vector<std::vector<int>>;
using Pair = qvPair<long>;

qvGaussSampleParams reducingBy(long fx, long fy) { return qvGaussSampleParams(Pair(1, 1), Pair(fx, fy), 1.0, true); }

TEST(GaussSampleParams, keepsWhatItIsGiven) {
    const qvGaussSampleParams params(Pair(1, 1), Pair(7, 32767), 0.5, false);
    EXPECT_EQ(params.factors(), Pair(7, 32767));
    EXPECT_EQ(params.smoothing(), 0.5);
    EXPECT_FALSE(params.completeLastBlock());
}

TEST(GaussSampleParams, aFactorOfZeroCountsAsOne) {
    EXPECT_EQ(reducingBy(0, 3).factors(), Pair(1, 3));
    EXPECT_EQ(reducingBy(3, -4).factors(), Pair(3, 1));
}

TEST(GaussSampleParams, raisesFactorsToTheirLowerLimits) {
    EXPECT_EQ(qvGaussSampleParams(Pair(2, 5), Pair(3, 3), 1.0, true).factors(), Pair(3, 5));
    EXPECT_EQ(qvGaussSampleParams(Pair(0, -5), Pair(0, 0), 1.0, true).factors(), Pair(1, 1));
}

TEST(GaussSampleParams, refusesFactorsAndSmoothingOutsideTheirRanges) {
    EXPECT_THROW(reducingBy(32768, 1), qvPel::BadSize);
    EXPECT_THROW(reducingBy(1, 2147483647), qvPel::BadSize);
    EXPECT_NO_THROW(qvGaussSampleParams(Pair(1, 1), Pair(2, 2), 0.0, true));
    EXPECT_NO_THROW(qvGaussSampleParams(Pair(1, 1), Pair(2, 2), 16.0, true));
    for (const double bad :
         {-0.001, 16.001, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_THROW(qvGaussSampleParams(Pair(1, 1), Pair(2, 2), bad, true), qvPel::BadSize) << bad;
}

TEST(GaussSample, aFactorOfOneStillSmoothsWithSigma035) {
    // Taps at -1, 0, 1: exp(-1 / (2 * 0.35^2)) = 0.016880, so 0.016329, 0.967342, 0.016329 when scaled to 1.
    const auto image = imageOf({{0, 0, 0, 0, 0}, {0, 0, 255, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});
    EXPECT_EQ(rowsOf(qfGaussSample(image, reducingBy(0, 0))),
              (Rows{{0, 0, 4, 0, 0}, {0, 4, 239, 4, 0}, {0, 0, 4, 0, 0}, {0, 0, 0, 0, 0}}));
}

TEST(GaussSample, beyondTheBorderTheBorderPelIsRepeated) {
    // The corner: 0.016329 of the step from each side.
    const auto image = imageOf({{250, 50}, {250, 50}});
    // 250 - 200 * 0.016329 = 246.73 and 50 + 3.27.
    EXPECT_EQ(rowsOf(qfGaussSample(image, reducingBy(1, 1))), (Rows{{247, 53}, {247, 53}}));
}

TEST(GaussSample, keepsTheValueAtEachBlocksCentreRoundedHalfUp) {
    // Grey level 3 x at column x: a block of four has its centre between columns 4 b + 1 and 4 b + 2, at 12 b + 4.5.
    // The borders bend the first and the last value.
    qvPelBuffer<unsigned char> image(80, 6, 32);
    for (long y = 0; y < 6; ++y)
        for (long x = 0; x < 80; ++x) image.put(x, y, static_cast<unsigned char>(3 * x));
    const auto reduced = qfGaussSample(image, reducingBy(4, 3));
    ASSERT_EQ(reduced.width(), 20);
    ASSERT_EQ(reduced.height(), 2);
    for (long row = 0; row < 2; ++row) {
        const std::vector<int> inner(reduced.pointToRow(row) + 1, reduced.pointToRow(row) + 19);
        EXPECT_EQ(inner, (std::vector<int>{17, 29, 41, 53, 65, 77, 89, 101, 113, 125, 137, 149, 161, 173, 185, 197, 209,
                                           221}));
    }
}

TEST(GaussSample, anOddFactorHasItsCentreOnAPel) {
    // Grey level 5 x: a block of three has its centre at column 3 b + 1, at 15 b + 5.
    qvPelBuffer<unsigned char> image(30, 1, 32);
    for (long x = 0; x < 30; ++x) image.put(x, 0, static_cast<unsigned char>(5 * x));
    const auto reduced = qfGaussSample(image, reducingBy(3, 1));
    ASSERT_EQ(reduced.width(), 10);
    EXPECT_EQ(std::vector<int>(reduced.pointToRow(0) + 1, reduced.pointToRow(0) + 9),
              (std::vector<int>{20, 35, 50, 65, 80, 95, 110, 125}));
}

TEST(GaussSample, theLastBlockIsCompletedByTheBorderPel) {
    const auto image = imageOf({{10, 10, 10, 10, 90}});
    // The third block of two is column 4 and its repetition; its taps are columns 3 to 6. With sigma 0.7 the outer two
    // weigh exp(-1.5^2 / 0.98) = 0.10067 and the inner two 0.77484: 0.0575 of 10 and 0.9425 of 90.
    const auto reduced = qfGaussSample(image, reducingBy(2, 1));
    ASSERT_EQ(reduced.width(), 3);
    EXPECT_EQ(reduced.get(2, 0), 85);
    EXPECT_EQ(reduced.get(0, 0), 10);
}

TEST(GaussSample, anIncompleteLastBlockIsLeftOutOnDemandUnlessItIsTheOnlyOne) {
    const auto image = noiseImage(11, 8, 1);
    const auto complete = qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(4, 3), 1.0, true));
    const auto cut = qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(4, 3), 1.0, false));
    ASSERT_EQ(complete.width(), 3);
    ASSERT_EQ(complete.height(), 3);
    ASSERT_EQ(cut.width(), 2);
    ASSERT_EQ(cut.height(), 2);
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < 2; ++x) EXPECT_EQ(cut.get(x, y), complete.get(x, y));
    const auto only = qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(40, 30), 1.0, false));
    EXPECT_EQ(only.width(), 1);
    EXPECT_EQ(only.height(), 1);
}

TEST(GaussSample, theLastTapOfTheLastBlockIsReadWhereTapsFillWholeGroups) {
    // A block of eight has sixteen taps, from 4 pels before it to 3 behind it; the outermost weigh 0.003959. Column 19 is
    // the last tap of the second of two blocks, and 255 there makes 1.0095.
    auto image = imageOf({std::vector<int>(23, 0)});
    image.put(19, 0, 255);
    const qvGaussSampleParams cut(Pair(1, 1), Pair(8, 1), 1.0, false);
    EXPECT_EQ(rowsOf(qfGaussSample(image, cut)), (Rows{{0, 1}}));
    image.put(19, 0, 0);
    image.put(20, 0, 255);
    EXPECT_EQ(rowsOf(qfGaussSample(image, cut)), (Rows{{0, 0}})) << "one pel further";
}

TEST(GaussSample, withoutSmoothingOnlyThePelsNearestToTheCentreCount) {
    const auto image = imageOf({{1, 20, 3, 4, 50, 6}, {7, 80, 9, 10, 110, 12}});
    // Three columns: the middle one. Two rows: the mean of both.
    EXPECT_EQ(rowsOf(qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(3, 2), 0.0, true))), (Rows{{50, 80}}));
    EXPECT_EQ(rowsOf(qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(3, 2), 1e-200, true))),
              (Rows{{50, 80}}));
}

TEST(GaussSample, aFlatImageKeepsItsGreyLevelAtEveryFactor) {
    for (const int level : {0, 1, 127, 128, 254, 255}) {
        qvPelBuffer<unsigned char> image(70, 45, 32);
        qfPelSet(image, static_cast<unsigned char>(level));
        for (const long factor : {1L, 2L, 3L, 4L, 7L, 10L, 16L, 44L, 300L}) {
            const auto reduced = qfGaussSample(image, reducingBy(factor, factor + 1));
            for (const auto& row : rowsOf(reduced))
                for (const int value : row) ASSERT_EQ(value, level) << "factor " << factor;
        }
    }
}

TEST(GaussSample, staysWithinOneGreyLevelOfRealNumbersAndIsMostlyEqual) {
    qvtest::Noise noise(9);
    long total = 0;
    long different = 0;
    for (int round = 0; round < 60; ++round) {
        const long fx = noise.whole(1, 9);
        const long fy = noise.whole(1, 9);
        const double smoothing = round % 4 == 0 ? noise.real(0.3, 2.5) : 1.0;
        const long width = noise.whole(1, 80);
        const long height = noise.whole(1, 60);
        const auto image = noiseImage(width, height, static_cast<std::uint64_t>(round) + 50);
        const auto reduced = qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(fx, fy), smoothing, true));
        const std::vector<double> slow = qvtest::slowGauss(image, fx, fy, smoothing);
        std::size_t i = 0;
        for (const auto& row : rowsOf(reduced))
            for (const int value : row) {
                ASSERT_NEAR(value, slow[i], 0.52) << "factors " << fx << ", " << fy;
                different += value != static_cast<int>(std::floor(slow[i] + 0.5));
                ++total;
                ++i;
            }
        ASSERT_EQ(i, slow.size());
    }
    EXPECT_LT(different * 50, total);
}

TEST(GaussSample, staysWithinOneGreyLevelAtLargeFactorsOnTheWorstStep) {
    for (const long factor : {16L, 40L}) {
        qvPelBuffer<unsigned char> image(4 * factor, factor, 32);
        for (long y = 0; y < image.height(); ++y)
            for (long x = 0; x < image.width(); ++x)
                image.put(x, y, static_cast<unsigned char>(x * 3 < image.width() ? 0 : 255));
        const std::vector<double> slow = qvtest::slowGauss(image, factor, factor, 1.0);
        const auto reduced = qfGaussSample(image, reducingBy(factor, factor));
        for (long x = 0; x < 4; ++x) EXPECT_NEAR(reduced.get(x, 0), slow[static_cast<std::size_t>(x)], 0.52);
    }
}

/// White where the Gaussian's weights for block (1, 1) are rounded down when they are written in 2^-14, black
/// elsewhere: the image on which whole weights lose most.
qvPelBuffer<unsigned char> imageThatWholeWeightsSuitWorst(long fx, long fy) {
    const auto wholeOf = [](const std::vector<double>& weights) {
        std::vector<double> whole(weights.size());
        double sum = 0.0;
        double before = 0.0;
        for (std::size_t i = 0; i < (weights.size() + 1) / 2; ++i) {
            sum += weights[i];
            const double rounded = std::floor(sum * 16384.0 + 0.5);
            whole[i] = whole[weights.size() - 1 - i] = (rounded - before) / 16384.0;
            before = rounded;
        }
        return whole;
    };
    long firstX = 0;
    long firstY = 0;
    const std::vector<double> wx = qvtest::slowGaussTaps(fx, 1.0, firstX);
    const std::vector<double> wy = qvtest::slowGaussTaps(fy, 1.0, firstY);
    const std::vector<double> wholeX = wholeOf(wx);
    const std::vector<double> wholeY = wholeOf(wy);
    qvPelBuffer<unsigned char> image(3 * fx, 3 * fy, 32);
    qfPelSet(image, static_cast<unsigned char>(0));
    for (std::size_t j = 0; j < wy.size(); ++j)
        for (std::size_t i = 0; i < wx.size(); ++i)
            if (wx[i] * wy[j] > wholeX[i] * wholeY[j])
                image.put(fx + firstX + static_cast<long>(i), fy + firstY + static_cast<long>(j), 255);
    return image;
}

TEST(GaussSample, staysWithinOneGreyLevelOnTheImageThatSuitsItsWeightsWorst) {
    for (const auto& [fx, fy] : {Pair(1, 1), Pair(3, 2), Pair(16, 7), Pair(16, 16), Pair(50, 50), Pair(100, 100),
                                 Pair(90, 120), Pair(400, 1)}) {
        const auto image = imageThatWholeWeightsSuitWorst(fx, fy);
        const auto reduced = qfGaussSample(image, reducingBy(fx, fy));
        const std::vector<double> slow = qvtest::slowGauss(image, fx, fy, 1.0);
        for (long y = 0; y < 3; ++y)
            for (long x = 0; x < 3; ++x)
                EXPECT_NEAR(reduced.get(x, y), slow[static_cast<std::size_t>(3 * y + x)], 1.0) << fx << ", " << fy;
    }
}

TEST(GaussSample, equalsRealNumbersWhereTapsAreTooManyForWholeWeights) {
    const auto image = noiseImage(330, 260, 17);
    for (const auto& [fx, fy] : {Pair(100, 100), Pair(64, 90), Pair(1, 200), Pair(700, 1)}) {
        const auto reduced = qfGaussSample(qvtest::asWindow(image, 5, 3), reducingBy(fx, fy));
        const std::vector<double> slow = qvtest::slowGauss(image, fx, fy, 1.0);
        std::size_t i = 0;
        for (const auto& row : rowsOf(reduced))
            for (const int value : row) ASSERT_NEAR(value, slow[i++], 0.5 + 1e-9) << fx << ", " << fy;
        ASSERT_EQ(i, slow.size());
    }
    const auto smooth = qfGaussSample(image, qvGaussSampleParams(Pair(1, 1), Pair(9, 4), 16.0, true));
    const std::vector<double> slow = qvtest::slowGauss(image, 9, 4, 16.0);
    for (long y = 0; y < smooth.height(); ++y)
        for (long x = 0; x < smooth.width(); ++x)
            ASSERT_NEAR(smooth.get(x, y), slow[static_cast<std::size_t>(y * smooth.width() + x)], 0.5 + 1e-9);
}

TEST(GaussSample, aMirroredImageGivesTheMirroredResult) {
    const auto image = noiseImage(60, 36, 10);
    qvPelBuffer<unsigned char> mirrored(60, 36, 32);
    for (long y = 0; y < 36; ++y)
        for (long x = 0; x < 60; ++x) mirrored.put(x, y, image.get(59 - x, 35 - y));
    for (const long factor : {2L, 3L, 6L}) {
        const auto a = qfGaussSample(image, reducingBy(factor, factor));
        const auto b = qfGaussSample(mirrored, reducingBy(factor, factor));
        for (long y = 0; y < a.height(); ++y)
            for (long x = 0; x < a.width(); ++x) ASSERT_EQ(a.get(x, y), b.get(a.width() - 1 - x, a.height() - 1 - y));
    }
}

TEST(GaussSample, theResultHasOneValueForEachBegunBlock) {
    const auto reduced = qfGaussSample(noiseImage(1000, 700, 11), reducingBy(3, 2));
    EXPECT_EQ(reduced.width(), 334);
    EXPECT_EQ(reduced.height(), 350);
    EXPECT_EQ(reduced.offset(), Pair(0, 0));
}

TEST(GaussSample, theClientTransformKeepsTheBlocksWhereTheyWere) {
    auto image = noiseImage(40, 30, 12);
    image.offset(100, -20);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, -2.0), qvVector<2>(7.0, 8.0)));
    const auto reduced = qfGaussSample(image, reducingBy(4, 3));
    // Upper left corner: (100, -20); block (2, 5) begins 8 pels to the right and 15 below it.
    EXPECT_EQ(reduced.clientFromImageXform().mapPoint(qvVector<2>(0.0, 0.0)), qvVector<2>(57.0, 48.0));
    EXPECT_EQ(reduced.clientFromImageXform().mapPoint(qvVector<2>(2.0, 5.0)), qvVector<2>(61.0, 18.0));
}

TEST(GaussSample, windowPaddingAndStorageOrderGiveTheSameBits) {
    const auto image = noiseImage(50, 33, 13);
    const Rows expected = rowsOf(qfGaussSample(image, reducingBy(3, 4)));
    EXPECT_EQ(rowsOf(qfGaussSample(qvtest::asWindow(image, 6, 2), reducingBy(3, 4))), expected);
    EXPECT_EQ(rowsOf(qfGaussSample(qvtest::asBottomUp(image), reducingBy(3, 4))), expected);
}

TEST(GaussSample, worksOnTheSmallestAndMostOblongImages) {
    EXPECT_EQ(rowsOf(qfGaussSample(imageOf({{77}}), reducingBy(0, 0))), (Rows{{77}}));
    EXPECT_EQ(rowsOf(qfGaussSample(imageOf({{77}}), reducingBy(50, 3))), (Rows{{77}}));
    const auto flat = qfGaussSample(noiseImage(40000, 3, 14), reducingBy(156, 0));
    EXPECT_EQ(flat.width(), 257);
    EXPECT_EQ(flat.height(), 3);
    const auto tall = qfGaussSample(noiseImage(2, 5000, 15), reducingBy(0, 19));
    EXPECT_EQ(tall.width(), 2);
    EXPECT_EQ(tall.height(), 264);
}

TEST(GaussSample, refusesAnUnboundImageAndGivesAnEmptyViewForOne) {
    EXPECT_THROW(qfGaussSample(qvPelBuffer<unsigned char>(), reducingBy(2, 2)), qvPel::UnboundWindow);
    auto image = noiseImage(9, 9, 16);
    image.window(20, 20, 2, 2, true);
    const auto reduced = qfGaussSample(image, reducingBy(2, 2));
    EXPECT_TRUE(reduced.isBound());
    EXPECT_EQ(reduced.width(), 0);
    EXPECT_EQ(reduced.height(), 0);
}

}  // namespace
