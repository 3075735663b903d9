// The sliding forms against the images by the book, bit by bit.
#include <gtest/gtest.h>

#include <string>

#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/platform/instruction_set.h"
#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_regional_images.h"

namespace {

using qvtest::Noise;
using Image = qvPelBuffer<unsigned char>;

constexpr int kKinds = 9;

/// One pel of an image of some kind; most of them wrap somewhere in large windows.
int pelOf(int kind, long x, long y, long period, Noise& noise) {
    const bool odd = x / period % 2 != 0;
    switch (kind) {
        case 0:
            return static_cast<int>(noise.whole(0, 255));
        case 1:
            return 255;
        case 2:
            return odd ? 255 : 0;
        case 3:
            return y / period % 2 != 0 ? 255 : 0;
        case 4:
            return (x / period + y / period) % 2 != 0 ? 255 : 0;
        case 5:
            return static_cast<int>(120 + noise.whole(-3, 3));
        case 6:
            return odd ? 255 - static_cast<int>(noise.whole(0, 2)) : static_cast<int>(noise.whole(0, 1));
        case 7:
            return noise.whole(0, 15) == 0 ? static_cast<int>(noise.whole(0, 255)) : 255;
        default:
            return static_cast<int>(noise.whole(0, 3) * 85);
    }
}

Image imageOf(int kind, long width, long height, Noise& noise) {
    const long period = noise.whole(1, 5);
    Image image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(pelOf(kind, x, y, period, noise)));
    return image;
}

qvtest::SlowImage rowsOf(const Image& image) {
    qvtest::SlowImage rows;
    for (long y = 0; y < image.height(); ++y)
        rows.emplace_back(image.pointToRow(y), image.pointToRow(y) + image.width());
    return rows;
}

/// Runs `check` with each version of the kernels that this machine has.
template <class Check>
void forEachVersion(const Check& check) {
    qvtest::onEveryInstructionSet([&](const std::string& name) {
        SCOPED_TRACE(name);
        check();
    });
}

void expectDeviationImageByTheBook(const Image& image, long L, long S, int scale, double rowWeight,
                                   const std::string& what) {
    const qvtest::SlowImage expected = qvtest::slowDeviationImage(image, L, S, scale, rowWeight);
    forEachVersion([&] {
        Image result;
        computeRegionalDeviationImage(image, L, S, result, scale, rowWeight);
        EXPECT_EQ(rowsOf(result), expected) << what << rowWeight;
    });
}

void expectBothImagesByTheBook(const Image& image, long L, long S, const std::string& what) {
    const qvtest::SlowImage expected = qvtest::slowForegroundImage(image, L, S);
    forEachVersion([&] {
        Image result;
        computeForegroundImage(image, L, S, result);
        EXPECT_EQ(rowsOf(result), expected) << what;
    });
    for (const double rowWeight : {0.8, 0.0, 1.0})
        expectDeviationImageByTheBook(image, L, S, rowWeight == 1.0 ? 1 : 10, rowWeight, what);
}

/// Windows of random size up to `mostL` by `mostS` with up to `spare` further columns and rows.
void expectRandomImages(std::uint64_t seed, int count, long mostL, long mostS, long spare) {
    Noise noise(seed);
    for (int n = 0; n < count; ++n) {
        const long L = noise.whole(1, mostL);
        const long S = noise.whole(1, mostS);
        const Image image = imageOf(n % kKinds, L + noise.whole(0, spare), S + noise.whole(0, spare / 2), noise);
        expectBothImagesByTheBook(image, L, S, "image " + std::to_string(n) + " ");
        if (::testing::Test::HasFailure()) return;
    }
}

}  // namespace

TEST(SlidingWindows, SmallWindowsEqualTheBook) { expectRandomImages(1, 180, 12, 12, 24); }

TEST(SlidingWindows, HighBrightWindowsThatWrapInTheColumnsEqualTheBook) { expectRandomImages(2, 45, 6, 200, 12); }

TEST(SlidingWindows, WideWindowsThatWrapInTheRowsEqualTheBook) { expectRandomImages(3, 45, 700, 4, 8); }

TEST(SlidingWindows, LargeWindowsEqualTheBook) { expectRandomImages(4, 18, 150, 150, 6); }

TEST(SlidingWindows, ImagesOfTheUsualShapeEqualTheBook) {
    Noise noise(5);
    for (const int kind : {0, 2, 5, 7}) expectBothImagesByTheBook(imageOf(kind, 90, 30, noise), 24, 21, "usual ");
}

TEST(SlidingWindows, BottomUpImagesEqualTheBook) {
    Noise noise(6);
    const Image image = imageOf(0, 40, 20, noise);
    const qvPelBuffer_const<unsigned char> bottomUp(image.pointToRow(19), 40, 20, -image.rowUpdate());
    Image result;
    computeRegionalDeviationImage(bottomUp, 7, 5, result, 10, 0.8);
    EXPECT_EQ(rowsOf(result), qvtest::slowDeviationImage(bottomUp, 7, 5, 10, 0.8));
    computeForegroundImage(bottomUp, 7, 5, result);
    EXPECT_EQ(rowsOf(result), qvtest::slowForegroundImage(bottomUp, 7, 5));
}

TEST(SlidingWindows, DeviationsThatRoundingDecidesEqualTheBook) {
    // Columns of two pairs of levels deviate by multiples of 8.5, and 10 * (1.0 - 0.8) of that is just below an integer.
    Noise noise(7);
    Image image(400, 9, 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) image.put(x, y, static_cast<unsigned char>(noise.whole(0, 15) * 17));
    expectBothImagesByTheBook(image, 1, 4, "pairs ");
    expectBothImagesByTheBook(image, 3, 4, "pairs ");
    // Here every position is of that kind.
    expectBothImagesByTheBook(image, 1, 2, "pairs ");
}

TEST(SlidingWindows, ColumnsHigherThanAByteCountsEqualTheBook) {
    Noise noise(8);
    for (const int kind : {1, 2, 5})
        for (const long S : {255L, 256L, 300L})
            expectBothImagesByTheBook(imageOf(kind, 9, S + 2, noise), 3, S, "high ");
}

TEST(SlidingWindows, WindowsAtTheEdgeOfNarrowCountsEqualTheBook) {
    Noise noise(9);
    // 16383 pels of one level come to 32766, one window further to more than 16 bits hold.
    expectBothImagesByTheBook(imageOf(1, 131, 129, noise), 129, 127, "narrow ");
    expectBothImagesByTheBook(imageOf(1, 131, 130, noise), 128, 128, "wide ");
}

TEST(SlidingWindows, WindowsWhoseSquareOfTheWidthWrapsEqualTheBook) {
    Noise noise(10);
    for (const int kind : {0, 5}) {
        expectBothImagesByTheBook(imageOf(kind, 46343, 2, noise), 46340, 1, "just not ");
        expectBothImagesByTheBook(imageOf(kind, 46343, 2, noise), 46341, 1, "just ");
    }
}

TEST(SlidingWindows, WindowsOfAMillionPelsEqualTheBook) {
    Noise noise(11);
    expectBothImagesByTheBook(imageOf(7, 1102, 1001, noise), 1100, 1000, "million ");
}

TEST(SlidingWindows, VeryWideImageEqualsTheBook) {
    Noise noise(12);
    expectBothImagesByTheBook(imageOf(0, 263000, 2, noise), 3, 2, "wide ");
}

TEST(SlidingWindows, DeviationsOfTheLargestWindowsThatKernelsTakeEqualTheBook) {
    Noise noise(13);
    for (int kind = 0; kind < kKinds; ++kind) {
        const Image image = imageOf(kind, 261, 133, noise);
        for (const long L : {127L, 128L, 129L})
            for (const long S : {127L, 128L, 129L})
                expectDeviationImageByTheBook(image, L, S, 10, 0.8,
                                              std::to_string(kind) + " " + std::to_string(L) + " ");
    }
}

TEST(SlidingWindows, DeviationsOfStripsWithTheUsualWindowEqualTheBook) {
    Noise noise(14);
    for (int kind = 0; kind < kKinds; ++kind)
        expectDeviationImageByTheBook(imageOf(kind, 611, 79, noise), 64, 75, 10, 0.8, "kind " + std::to_string(kind));
}

TEST(SlidingWindows, DeviationsOfImagesOfManyThousandRowsEqualTheBook) {
    Noise noise(15);
    for (const int kind : {0, 5})
        expectDeviationImageByTheBook(imageOf(kind, 45, 9001, noise), 7, 11, 10, 0.8, "high ");
}

TEST(SlidingWindows, FewDeviationsThatRoundingDecidesAmongManyEqualTheBook) {
    // Columns 20 to 23 have two levels 17 apart, half the rows each, and so deviate by 8.5: ten times (1.0 - 0.8) of that
    // is just below 17. All other columns are noise.
    Noise noise(16);
    const long S = 130;
    Image image = imageOf(0, 90, S + 2, noise);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 20; x < 24; ++x) image.put(x, y, y % 2 == 0 ? 17 : 0);
    for (const long L : {1L, 3L, 4L})
        expectDeviationImageByTheBook(image, L, S, 10, 0.8, "few of " + std::to_string(L) + " ");
    Image result;
    computeRegionalDeviationImage(image, 3, S, result, 10, 0.8);
    EXPECT_EQ(result.get(20, 1), 16);
    EXPECT_EQ(result.get(21, 1), 16);
}

TEST(SlidingWindows, HighWindowsThatWrapInTheColumnsAloneEqualTheBook) {
    // 400 rows, black and white in turn: 200 * 200 * 65025 is above 2^31. Rows of three equal pels have no numerator.
    Noise noise(17);
    Image image = imageOf(0, 40, 403, noise);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 8; x < 20; ++x) image.put(x, y, y % 2 == 0 ? 255 : 0);
    expectDeviationImageByTheBook(image, 3, 400, 10, 0.8, "columns ");
}

TEST(SlidingWindows, WindowWithOneColumnThatWrapsHasNoNumberAlsoWhereTheOthersOutweighIt) {
    // 400 rows. A column of black and white in turn: 400 * 200 * 65025 - (200 * 255)^2 = 2601000000 wraps to -1693967296.
    // One of 0 and 199, whose deviation of 99.5 no rounding can move to 100: 1584040000, of which two outweigh it.
    Image image(12, 400, 32);
    for (long y = 0; y < 400; ++y)
        for (long x = 0; x < 12; ++x) image.put(x, y, y % 2 == 0 ? (x == 7 ? 255 : 199) : 0);
    expectDeviationImageByTheBook(image, 3, 400, 1, 0.0, "one column ");
    Image result;
    computeRegionalDeviationImage(image, 3, 400, result, 1, 0.0);
    EXPECT_EQ(rowsOf(result), (qvtest::SlowImage{{99, 99, 99, 99, 99, 255, 255, 255, 99, 99}}));
}

TEST(SlidingWindows, ScaleOfZeroOrLessEqualsTheBook) {
    Noise noise(18);
    const Image image = imageOf(0, 150, 12, noise);
    for (const long L : {5L, 140L}) {
        expectDeviationImageByTheBook(image, L, 4, 0, 0.8, "no scale ");
        Image result;
        computeRegionalDeviationImage(image, L, 4, result, 0, 0.8);
        EXPECT_EQ(result.get(3, 2), 0) << L;
    }
}
