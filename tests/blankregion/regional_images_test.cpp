#include "qvstreet/blankregion/regional_images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "tests/support/slow_regional_images.h"

namespace {

using Image = qvPelBuffer<unsigned char>;
using Row = std::vector<int>;
using Rows = std::vector<Row>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Image imageOf(const Rows& rows) {
    Image image(static_cast<long>(rows[0].size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, static_cast<unsigned char>(rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]));
    return image;
}

Image uniform(long width, long height, int level) {
    return imageOf(Rows(static_cast<std::size_t>(height), Row(static_cast<std::size_t>(width), level)));
}

/// Columns of 0 and 255 by turns.
Image stripes(long width, long height) {
    Row row;
    for (long x = 0; x < width; ++x) row.push_back(x % 2 == 0 ? 0 : 255);
    return imageOf(Rows(static_cast<std::size_t>(height), row));
}

Rows rowsOf(const Image& image) {
    Rows rows(static_cast<std::size_t>(image.height()));
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) rows[static_cast<std::size_t>(y)].push_back(image.get(x, y));
    return rows;
}

Rows foreground(const Image& image, long L, long S) {
    Image result;
    computeForegroundImage(image, L, S, result);
    return rowsOf(result);
}

Rows deviations(const Image& image, long L, long S, std::int32_t scale = 10, double rowWeight = 0.8) {
    Image result;
    computeRegionalDeviationImage(image, L, S, result, scale, rowWeight);
    return rowsOf(result);
}

std::vector<unsigned long> histogramOf(std::initializer_list<std::pair<std::size_t, unsigned long>> counts) {
    std::vector<unsigned long> histogram(256, 0);
    for (const auto& count : counts) histogram[count.first] = count.second;
    return histogram;
}

/// `windowDeviation` with its vectors, which it takes as zeros.
struct Window {
    Window(const Image& image, const qvPelRect& rect, double rowWeight, double columnWeight)
        : columns(static_cast<std::size_t>(rect.width()), 0.0),
          sums(static_cast<std::size_t>(rect.height()), 0),
          squares(static_cast<std::size_t>(rect.height()), 0),
          deviation(windowDeviation(image, rect, columns, sums, squares, rowWeight, columnWeight)) {}

    std::vector<double> columns;
    std::vector<std::uint32_t> sums;
    std::vector<std::uint32_t> squares;
    double deviation;
};

}  // namespace

TEST(SmoothedHistogramMode, AllZeroGives255) { EXPECT_EQ(smoothedHistogramMode(histogramOf({})), 255); }

TEST(SmoothedHistogramMode, Levels0And255NeverWinByThemselves) {
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{0, 9}})), 1);
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{255, 9}})), 254);
    // 2 * 5 beats 9, the weight that level 0 has at level 1.
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{0, 9}, {77, 5}})), 77);
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{0, 10}, {77, 5}})), 1);
}

TEST(SmoothedHistogramMode, NeighboursCountOnceAndTheLevelTwice) {
    // 100: 11, 101: 12, 102: 11.
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{100, 5}, {101, 1}, {102, 5}})), 101);
    // 200: 12 against 50: 10, although 50 has the most pels of all.
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{50, 5}, {199, 4}, {200, 3}, {201, 2}})), 199 + 1);
}

TEST(SmoothedHistogramMode, LowestOfEqualsWins) {
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{30, 4}, {90, 4}, {200, 4}})), 30);
    // 100, 101 and 102 all have 6.
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{100, 3}, {102, 3}})), 100);
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{30, 4}, {90, 5}})), 90);
}

TEST(SmoothedHistogramMode, SumsWrapAt32Bits) {
    // 2 * 2^31 is 0, which leaves the neighbours with 2^31 each.
    EXPECT_EQ(smoothedHistogramMode(histogramOf({{50, 2147483648UL}})), 49);
}

TEST(SmoothedHistogramMode, HistogramOfAnotherSizeIsRefused) {
    EXPECT_THROW(smoothedHistogramMode(std::vector<unsigned long>(255, 1)), qvInvariantFailure);
}

TEST(ForegroundImage, UniformImageGivesZeros) {
    EXPECT_EQ(foreground(uniform(7, 5, 90), 3, 2), Rows(5, Row(7, 0)));
    EXPECT_EQ(foreground(uniform(7, 5, 1), 3, 2), Rows(5, Row(7, 0)));
    EXPECT_EQ(foreground(uniform(7, 5, 254), 3, 2), Rows(5, Row(7, 0)));
}

TEST(ForegroundImage, UniformBlackOrWhiteGivesOnes) {
    EXPECT_EQ(foreground(uniform(7, 5, 0), 3, 2), Rows(5, Row(7, 1)));
    EXPECT_EQ(foreground(uniform(7, 5, 255), 3, 2), Rows(5, Row(7, 1)));
}

TEST(ForegroundImage, ModeColumnStaysStaleInTheLastPartOfTheRow) {
    // The mode at column x is 10 * (x + 1); the mode column runs 0 0 1 2 3 3 3 3 3.
    EXPECT_EQ(foreground(imageOf({{10, 20, 30, 40, 50, 60, 70, 80, 90}}), 3, 1),
              Rows({{0, 10, 10, 10, 10, 20, 30, 40, 50}}));
    // An even width: halfL is 2 and the last position used is nx - 6 = 0 with nx = 6, 1 with nx = 7.
    EXPECT_EQ(foreground(imageOf({{10, 20, 30, 40, 50, 60, 70, 80, 90}}), 4, 1),
              Rows({{0, 10, 20, 30, 40, 50, 60, 70, 80}}));
    EXPECT_EQ(foreground(imageOf({{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}}), 4, 1),
              Rows({{0, 10, 20, 20, 30, 40, 50, 60, 70, 80}}));
}

TEST(ForegroundImage, ModeColumnOfANarrowImageNeverLeavesTheFirst) {
    EXPECT_EQ(foreground(imageOf({{10, 20, 30, 40}}), 3, 1), Rows({{0, 10, 20, 30}}));
    EXPECT_EQ(foreground(imageOf({{10, 20, 30}}), 3, 1), Rows({{0, 10, 20}}));
}

TEST(ForegroundImage, WindowOneWideStopsOneShortOfTheLastColumn) {
    EXPECT_EQ(foreground(imageOf({{10, 20, 30, 40, 50}}), 1, 1), Rows({{0, 0, 0, 0, 10}}));
    EXPECT_EQ(foreground(imageOf({{10, 20}}), 1, 1), Rows({{0, 10}}));
    EXPECT_EQ(foreground(imageOf({{10}}), 1, 1), Rows({{0}}));
}

TEST(ForegroundImage, ModeRowIsHalfAWindowUpAndClamped) {
    const Image column = imageOf({{10}, {20}, {30}, {40}, {50}});
    // Mode rows 0 0 1 2 2 of the modes 10 20 30.
    EXPECT_EQ(foreground(column, 1, 3), Rows({{0}, {10}, {10}, {10}, {20}}));
    // Mode rows 0 0 1 2 3 of the modes 10 20 30 40.
    EXPECT_EQ(foreground(column, 1, 2), Rows({{0}, {10}, {10}, {10}, {10}}));
    EXPECT_EQ(foreground(column, 1, 5), Rows({{0}, {10}, {20}, {30}, {40}}));
}

TEST(ForegroundImage, DarkerAndBrighterPelsHaveTheSameDistance) {
    EXPECT_EQ(foreground(imageOf({{60, 60, 60, 50, 60, 75, 60}}), 7, 1), Rows({{0, 0, 0, 10, 0, 15, 0}}));
}

TEST(ForegroundImage, KeepsTheOffsetAndHasNoClientTransform) {
    Image image = imageOf({{10, 20, 30, 40, 50}, {15, 25, 35, 45, 55}});
    const Rows expected = foreground(image, 2, 1);
    image.offset(7, -3);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 0.5), qvVector<2>(1.0, 2.0)));
    Image result;
    computeForegroundImage(image, 2, 1, result);
    EXPECT_EQ(result.offset(), qvPair<long>(7, -3));
    EXPECT_EQ(result.clientFromImageXform().mapPoint(qvVector<2>(3.0, 4.0)).x(), 3.0);
    EXPECT_EQ(rowsOf(result), expected);
}

TEST(RegionalImages, SeeNothingBeyondTheImagesWindow) {
    const Rows inner = {{10, 90, 30, 40, 52}, {15, 25, 35, 145, 55}, {11, 26, 31, 46, 57}};
    Rows outer(7, Row(9, 200));
    for (std::size_t y = 0; y < 3; ++y)
        for (std::size_t x = 0; x < 5; ++x) outer[y + 1][x + 3] = inner[y][x];
    Image view = imageOf(outer);
    view.offset(100, -50);
    ASSERT_TRUE(view.window(103, -49, 5, 3, false));
    EXPECT_EQ(foreground(view, 2, 2), foreground(imageOf(inner), 2, 2));
    EXPECT_EQ(deviations(view, 2, 2), deviations(imageOf(inner), 2, 2));
}

TEST(RegionalImages, WindowOfTheImagesSizeHasOnePosition) {
    const Image image = imageOf({{10, 30, 10}, {10, 30, 10}});
    EXPECT_EQ(foreground(image, 3, 2), Rows({{0, 20, 0}, {0, 20, 0}}));
    // Row variance (3 * 1100 - 2500) / 9 = 800 / 9, its root 9.43, times 8.
    EXPECT_EQ(deviations(image, 3, 2), Rows({{75}}));
}

TEST(RegionalImages, WindowLargerThanTheImageIsABadSizeAndChangesNothing) {
    const Image image = uniform(6, 4, 80);
    Image result = uniform(2, 1, 33);
    for (const auto& size : {qvPair<long>(7, 4), qvPair<long>(6, 5), qvPair<long>(9, 9)}) {
        EXPECT_THROW(computeForegroundImage(image, size.first, size.second, result), qvPel::BadSize);
        EXPECT_THROW(computeRegionalDeviationImage(image, size.first, size.second, result, 10, 0.8), qvPel::BadSize);
    }
    EXPECT_EQ(rowsOf(result), Rows({{33, 33}}));
    EXPECT_NO_THROW(computeForegroundImage(image, 6, 4, result));
}

TEST(RegionalImages, WindowOfImpossibleSizeIsABadSize) {
    const Image image = uniform(6, 4, 80);
    Image result;
    for (const auto& size : {qvPair<long>(0, 2), qvPair<long>(-3, 2), qvPair<long>(2, -1)}) {
        EXPECT_THROW(computeForegroundImage(image, size.first, size.second, result), qvPel::BadSize);
        EXPECT_THROW(computeRegionalDeviationImage(image, size.first, size.second, result, 10, 0.8), qvPel::BadSize);
    }
    EXPECT_FALSE(result.isBound());
}

TEST(RegionalImages, UnboundImageIsRefused) {
    Image result;
    EXPECT_THROW(computeForegroundImage(Image(), 1, 1, result), qvPel::UnboundWindow);
    EXPECT_THROW(computeRegionalDeviationImage(Image(), 1, 1, result, 10, 0.8), qvPel::UnboundWindow);
}

TEST(RegionalImages, StripHeightZeroHas255Everywhere) {
    const Image image = imageOf({{10, 20, 30, 40}, {50, 60, 70, 80}, {90, 0, 255, 7}});
    EXPECT_EQ(deviations(image, 2, 0), Rows(4, Row(3, 255)));
    EXPECT_EQ(deviations(image, 2, 0, 1, 1.0), Rows(4, Row(3, 255)));
    EXPECT_EQ(foreground(image, 2, 0), Rows({{245, 235, 225, 215}, {205, 195, 185, 175}, {165, 255, 0, 248}}));
}

TEST(CombineDeviation, WeighsRootMeanSquaresOfRowsAndColumns) {
    // Row variances (2 * 20 - 36) / 4 = 1 and (2 * 58 - 100) / 4 = 4, columns 25.
    const std::vector<double> columns = {1.0, 7.0};
    EXPECT_EQ(combineDeviation(columns, {6}, {20}, 0.5, 0.25), 0.5 + 1.25);
    EXPECT_EQ(combineDeviation(columns, {6, 10}, {20, 58}, 1.0, 0.0), std::sqrt(2.5));
    EXPECT_EQ(combineDeviation(columns, {6, 10}, {20, 58}, 0.0, 1.0), 5.0);
}

TEST(CombineDeviation, RowNumeratorsWrap) {
    // 65536^2 is 0 in 32 bits; -46341^2 is 2147479015.
    EXPECT_EQ(combineDeviation({0.0, 0.0}, {65536}, {0}, 1.0, 0.0), 0.0);
    EXPECT_EQ(combineDeviation({0.0, 0.0}, {46341}, {0}, 1.0, 0.0), std::sqrt(2147479015.0 / 4.0));
    // 2 * 2^30 is -2^31: a negative sum has no root.
    EXPECT_TRUE(std::isnan(combineDeviation({0.0, 0.0}, {0}, {1073741824}, 1.0, 0.0)));
}

TEST(CombineDeviation, SquareOfTheWidthWraps) {
    const auto wide = [](std::size_t l) { return combineDeviation(std::vector<double>(l, 0.0), {0}, {1}, 1.0, 0.0); };
    EXPECT_EQ(wide(46340), std::sqrt(46340.0 / 2147395600.0));
    EXPECT_TRUE(std::isnan(wide(46341)));
    EXPECT_EQ(wide(65536), kInfinity);
}

TEST(CombineDeviation, NoRowsOrANanColumnGiveNan) {
    EXPECT_TRUE(std::isnan(combineDeviation({1.0}, {}, {}, 0.8, 0.2)));
    EXPECT_TRUE(std::isnan(combineDeviation({1.0, kNan}, {4}, {8}, 1.0, 0.0)));
}

TEST(CombineDeviation, RowVectorsOfDifferentSizeAreRefused) {
    EXPECT_THROW(combineDeviation({1.0}, {1, 2}, {1}, 0.8, 0.2), qvInvariantFailure);
}

TEST(CombineDeviation, TermsAddUpInTheOrderOfTheVectors) {
    // 1e16 + 1 + 1 stays 1e16, 1 + 1 + 1e16 does not.
    EXPECT_EQ(combineDeviation({1e8, 1.0, 1.0, 0.0}, {0}, {0}, 0.0, 1.0), std::sqrt(1e16 / 4.0));
    EXPECT_EQ(combineDeviation({1.0, 1.0, 1e8, 0.0}, {0}, {0}, 0.0, 1.0), std::sqrt(10000000000000002.0 / 4.0));
}

TEST(WindowDeviation, FillsTheVectorsAndCombinesThem) {
    const Image image = imageOf({{99, 99, 99, 99, 99}, {99, 1, 5, 10, 99}, {99, 3, 5, 14, 99}, {99, 99, 99, 99, 99}});
    const Window window(image, qvPelRect(1, 1, 3, 2), 1.0, 10.0);
    EXPECT_EQ(window.columns, std::vector<double>({1.0, 0.0, 2.0}));
    EXPECT_EQ(window.sums, std::vector<std::uint32_t>({16, 22}));
    EXPECT_EQ(window.squares, std::vector<std::uint32_t>({126, 230}));
    // Row variances 122 / 9 and 206 / 9; column variances 1, 0 and 4.
    EXPECT_DOUBLE_EQ(window.deviation, 4.268749491621899 + 10.0 * 1.2909944487358056);
}

TEST(WindowDeviation, CountsFromTheWindowWhateverTheOffset) {
    Image image = imageOf({{1, 5, 10}, {3, 5, 14}});
    image.offset(1000, -1000);
    EXPECT_EQ(Window(image, qvPelRect(0, 0, 3, 2), 0.0, 1.0).columns, std::vector<double>({1.0, 0.0, 2.0}));
    EXPECT_EQ(Window(image, qvPelRect(2, 0, 1, 2), 0.0, 1.0).deviation, 2.0);
}

TEST(WindowDeviation, SquareOfTheColumnSumWrapsAlone) {
    // 200 * 13005000 - (51000^2 - 2^32) = 2^32, whose root is 65536.
    const Window window(uniform(3, 200, 255), qvPelRect(0, 0, 3, 200), 1.0, 0.0);
    EXPECT_EQ(window.columns, std::vector<double>(3, 327.68));
    EXPECT_EQ(window.deviation, 0.0);
    // The last height whose square does not wrap: 181 * 255 = 46155, and 46341 would.
    EXPECT_EQ(Window(uniform(1, 181, 255), qvPelRect(0, 0, 1, 181), 1.0, 0.0).columns[0], 0.0);
    EXPECT_EQ(Window(uniform(1, 182, 255), qvPelRect(0, 0, 1, 182), 1.0, 0.0).columns[0], 65536.0 / 182.0);
}

TEST(WindowDeviation, SumOfSquaresIsReadAsSigned) {
    // 33026 * 65025 = 2147515650 is above 2^31, and 33026 times its signed reading is far below 0.
    EXPECT_TRUE(std::isnan(Window(uniform(1, 33026, 255), qvPelRect(0, 0, 1, 33026), 0.5, 0.5).columns[0]));
    EXPECT_FALSE(std::isnan(Window(uniform(1, 33025, 255), qvPelRect(0, 0, 1, 33025), 0.5, 0.5).columns[0]));
}

TEST(WindowDeviation, RectangleOutsideTheWindowIsRefused) {
    const Image image = uniform(6, 4, 80);
    for (const qvPelRect& rect :
         {qvPelRect(-1, 0, 2, 2), qvPelRect(0, -1, 2, 2), qvPelRect(5, 0, 2, 2), qvPelRect(0, 3, 2, 2)}) {
        EXPECT_THROW(Window(image, rect, 0.8, 0.2), qvInvariantFailure);
    }
    EXPECT_NO_THROW(Window(image, qvPelRect(4, 2, 2, 2), 0.8, 0.2));
}

TEST(WindowDeviation, VectorsOfAnotherSizeAreRefused) {
    const Image image = uniform(6, 4, 80);
    const auto withSizes = [&image](std::size_t columns, std::size_t sums, std::size_t squares) {
        std::vector<double> columnDeviations(columns);
        std::vector<std::uint32_t> rowSums(sums);
        std::vector<std::uint32_t> rowSquareSums(squares);
        windowDeviation(image, qvPelRect(0, 0, 3, 2), columnDeviations, rowSums, rowSquareSums, 0.8, 0.2);
    };
    EXPECT_NO_THROW(withSizes(3, 2, 2));
    EXPECT_THROW(withSizes(2, 2, 2), qvInvariantFailure);
    EXPECT_THROW(withSizes(3, 3, 2), qvInvariantFailure);
    EXPECT_THROW(withSizes(3, 2, 1), qvInvariantFailure);
}

TEST(RegionalDeviationImage, UniformImageGivesZeros) {
    for (const int level : {0, 1, 128, 255}) EXPECT_EQ(deviations(uniform(7, 5, level), 3, 2), Rows(4, Row(5, 0)));
}

TEST(RegionalDeviationImage, StepFromTopToBottomRaisesTheRowTermAlone) {
    const Image image = imageOf(Rows(4, Row({10, 10, 10, 50, 50, 50})));
    // Row variance (2 * 2600 - 3600) / 4 = 400.
    EXPECT_EQ(deviations(image, 2, 3), Rows(2, Row({0, 0, 160, 0, 0})));
    EXPECT_EQ(deviations(image, 2, 3, 10, 0.0), Rows(2, Row(5, 0)));
    EXPECT_EQ(deviations(image, 2, 3, 10, 1.0), Rows(2, Row({0, 0, 200, 0, 0})));
}

TEST(RegionalDeviationImage, ColumnWeightIsOneMinusTheRowWeightToTheLastBit) {
    // 1.0 - 0.8 is a little below 0.2, so 10 * 0.2 * 20 is a little below 40.
    EXPECT_EQ(deviations(imageOf({{10, 10, 10, 10}, {50, 50, 50, 50}}), 3, 2), Rows({{39, 39}}));
}

TEST(RegionalDeviationImage, FractionIsCutAndTheRestIsAtMost255) {
    // Row deviation 31 * 0.8 = 24.8 -> 248; 32 -> 256; 127.5 * 0.8 = 102 -> 1020.
    EXPECT_EQ(deviations(imageOf({{10, 72}}), 2, 1), Rows({{248}}));
    EXPECT_EQ(deviations(imageOf({{10, 74}}), 2, 1), Rows({{255}}));
    EXPECT_EQ(deviations(imageOf({{0, 255}}), 2, 1), Rows({{255}}));
    // 0.5 is cut to 0, 1.5 to 1.
    EXPECT_EQ(deviations(imageOf({{10, 11}}), 2, 1, 1, 1.0), Rows({{0}}));
    EXPECT_EQ(deviations(imageOf({{10, 13}}), 2, 1, 1, 1.0), Rows({{1}}));
}

TEST(RegionalDeviationImage, WindowOneWideHasColumnsOnly) {
    const Image image = imageOf({{10, 20, 30}, {20, 40, 30}});
    EXPECT_EQ(deviations(image, 1, 2, 10, 0.5), Rows({{25, 50, 0}}));
    EXPECT_EQ(deviations(image, 1, 2, 10, 1.0), Rows({{0, 0, 0}}));
}

TEST(RegionalDeviationImage, HasAnOffsetOfItsOwn) {
    Image image = uniform(7, 5, 90);
    image.offset(40, 30);
    Image result;
    computeRegionalDeviationImage(image, 3, 2, result, 10, 0.8);
    EXPECT_EQ(result.offset(), qvPair<long>(0, 0));
    EXPECT_EQ(result.width(), 5);
    EXPECT_EQ(result.height(), 4);
}

TEST(RegionalDeviationImage, FirstWindowAndSlidingWindowsWrapInTheirOwnWays) {
    // Columns of the first window deviate by 327.68, those that come later by 0. Weights 0.5: 163.84 times the root of
    // 3/3, 2/3 and 1/3.
    EXPECT_EQ(deviations(uniform(8, 200, 255), 3, 200, 1, 0.5), Rows({{163, 133, 94, 0, 0, 0}}));
    EXPECT_EQ(deviations(uniform(8, 200, 255), 3, 200), Rows({{255, 255, 255, 0, 0, 0}}));
}

TEST(RegionalDeviationImage, WrappedNumeratorsOfStripesAreWhatCounts) {
    // 65790^2 - 2^32 = 33356804 over 516^2 is 125.28; unwrapped it would be 127.5^2.
    EXPECT_EQ(deviations(stripes(520, 2), 516, 1), Rows(2, Row(5, 89)));
    // 51000^2 reads as a negative number, and so the deviation as NaN.
    EXPECT_EQ(deviations(stripes(402, 2), 400, 2), Rows(1, Row(3, 255)));
}

TEST(RegionalDeviationImage, RowWeightOutsideItsRangeIsRefused) {
    Image result;
    for (const double weight : {1.5, -0.5, kNan})
        EXPECT_THROW(computeRegionalDeviationImage(uniform(4, 4, 9), 2, 2, result, 10, weight), qvInvariantFailure);
    EXPECT_NO_THROW(computeRegionalDeviationImage(uniform(4, 4, 9), 2, 2, result, 10, 0.0));
    EXPECT_NO_THROW(computeRegionalDeviationImage(uniform(4, 4, 9), 2, 2, result, 10, 1.0));
}

TEST(RegionalDeviationImage, DeviationThatIsNoNumberIsStoredAs255) {
    EXPECT_EQ(qf_deviationPel(kNan, 10), 255);
    EXPECT_EQ(qf_deviationPel(kInfinity, 10), 255);
    EXPECT_EQ(qf_deviationPel(25.49, 10), 254);
    EXPECT_EQ(qf_deviationPel(1e300, 10), 255);
    EXPECT_EQ(qf_deviationPel(0.0999, 10), 0);
}

TEST(WindowDeviation, EmptyRectangleLiesInEveryWindow) {
    const Image image = uniform(6, 4, 80);
    EXPECT_NO_THROW(Window(image, qvPelRect(9, 9, 0, 2), 0.8, 0.2));
    EXPECT_NO_THROW(Window(image, qvPelRect(-3, 9, 2, 0), 0.8, 0.2));
}
