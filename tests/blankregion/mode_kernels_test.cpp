// The sliding mode and its kernels, in every version that this machine can run.
#include "qvstreet/blankregion/mode_kernels.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/blankregion/sliding_mode.h"
#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_regional_images.h"

namespace {

using qvtest::Noise;
using qvtest::onEveryInstructionSet;
using Image = qvPelBuffer<unsigned char>;
using Pels = std::vector<std::uint8_t>;

/// The kernels for bytes, or those for words.
template <typename Count>
struct Kernels;

template <>
struct Kernels<std::uint8_t> {
    static void exchange(const std::uint8_t* entering, const std::uint8_t* leaving,
                         std::vector<std::uint8_t>& columns) {
        QV_CHOSEN_KERNELS(modeKernels)
            .exchangePelsInBytes(entering, leaving, columns.size() / kColumnLevels, columns.data());
    }
    static Pels modes(const std::vector<std::uint8_t>& columns, std::size_t width) {
        Pels modes(columns.size() / kColumnLevels - width + 1);
        QV_CHOSEN_KERNELS(modeKernels).modesOfBytes(columns.data(), width, modes.size(), modes.data());
        return modes;
    }
};

template <>
struct Kernels<std::uint16_t> {
    static void exchange(const std::uint8_t* entering, const std::uint8_t* leaving,
                         std::vector<std::uint16_t>& columns) {
        QV_CHOSEN_KERNELS(modeKernels)
            .exchangePelsInWords(entering, leaving, columns.size() / kColumnLevels, columns.data());
    }
    static Pels modes(const std::vector<std::uint16_t>& columns, std::size_t width) {
        Pels modes(columns.size() / kColumnLevels - width + 1);
        QV_CHOSEN_KERNELS(modeKernels).modesOfWords(columns.data(), width, modes.size(), modes.data());
        return modes;
    }
};

template <typename Count>
std::vector<Count> noPels(std::size_t columns) {
    return std::vector<Count>(columns * kColumnLevels, 0);
}

template <typename Count>
class ModeKernels : public ::testing::Test {};

using Counts = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ModeKernels, Counts);

/// All modes of an image at all positions, against the book.
void expectModesByTheBook(const Image& image, long L, long S, const std::string& what) {
    const long columns = image.width() - L + 1;
    const long rows = image.height() - S + 1;
    std::vector<std::vector<int>> book(static_cast<std::size_t>(rows));
    for (long y = 0; y < rows; ++y)
        for (long x = 0; x < columns; ++x)
            book[static_cast<std::size_t>(y)].push_back(qvtest::slowMode(image, x, y, L, S));
    onEveryInstructionSet([&](const std::string& set) {
        const Image modes(columns, rows, 32);
        qf_slidingMode(image, L, S, columns, modes);
        EXPECT_EQ(qvtest::rowsOf(modes), book) << what << ", " << set;
    });
}

/// A pel of an image of some kind: full noise, a narrow band, few levels that tie often, the two ends.
int pelOf(int kind, Noise& noise) {
    switch (kind) {
        case 0:
            return static_cast<int>(noise.whole(0, 255));
        case 1:
            return static_cast<int>(noise.whole(125, 132));
        case 2:
            return static_cast<int>(noise.whole(0, 4) * 63);
        case 3:
            return noise.whole(0, 1) == 0 ? 0 : 255;
        default:
            return noise.whole(0, 1) == 0 ? static_cast<int>(noise.whole(0, 3))
                                          : static_cast<int>(noise.whole(252, 255));
    }
}

constexpr int kKinds = 5;

Image imageOf(int kind, long width, long height, Noise& noise) {
    Image image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(pelOf(kind, noise)));
    return image;
}

Image uniformImage(long width, long height, int level) {
    Image image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(level));
    return image;
}

}  // namespace

TYPED_TEST(ModeKernels, PelCountsTwiceForItsLevelAndOnceForTheNeighboursButNeverForLevels0And255) {
    onEveryInstructionSet([](const std::string& set) {
        for (int level = 0; level < 256; ++level) {
            // Between two other columns, which stay as they are but for their own pel of 100.
            auto columns = noPels<TypeParam>(3);
            const Pels pels = {100, static_cast<std::uint8_t>(level), 100};
            Kernels<TypeParam>::exchange(pels.data(), nullptr, columns);
            auto expected = noPels<TypeParam>(3);
            for (const std::size_t first : {std::size_t{0}, 2 * kColumnLevels}) {
                expected[first + 99] = 1;
                expected[first + 100] = 2;
                expected[first + 101] = 1;
            }
            for (int v = 1; v <= 254; ++v) {
                const int distance = std::abs(v - level);
                expected[kColumnLevels + static_cast<std::size_t>(v)] = distance == 0 ? 2 : distance == 1 ? 1 : 0;
            }
            EXPECT_EQ(columns, expected) << level << ", " << set;
        }
    });
}

TYPED_TEST(ModeKernels, LeavingPelsTakeTheirCountsWithThem) {
    onEveryInstructionSet([](const std::string& set) {
        // More columns than are treated at a time, each with another level; then the neighbouring level comes instead.
        Pels first(75);
        Pels second(75);
        for (std::size_t c = 0; c < first.size(); ++c) {
            first[c] = static_cast<std::uint8_t>(c * 255 / 74);
            second[c] = static_cast<std::uint8_t>(c * 254 / 74 + 1);
        }
        auto exchanged = noPels<TypeParam>(75);
        Kernels<TypeParam>::exchange(first.data(), nullptr, exchanged);
        Kernels<TypeParam>::exchange(second.data(), first.data(), exchanged);
        auto expected = noPels<TypeParam>(75);
        Kernels<TypeParam>::exchange(second.data(), nullptr, expected);
        EXPECT_EQ(exchanged, expected) << set;
        EXPECT_EQ(expected[74 * kColumnLevels + 254], 1) << set;
    });
}

TYPED_TEST(ModeKernels, EveryLevelCanBeTheMode) {
    onEveryInstructionSet([](const std::string& set) {
        auto columns = noPels<TypeParam>(254);
        for (std::size_t c = 0; c < 254; ++c) columns[c * kColumnLevels + c + 1] = 1;
        const Pels modes = Kernels<TypeParam>::modes(columns, 1);
        for (std::size_t x = 0; x < 254; ++x) EXPECT_EQ(modes[x], x + 1) << set;
    });
}

TYPED_TEST(ModeKernels, LowestOfTwoEqualLevelsWins) {
    onEveryInstructionSet([](const std::string& set) {
        for (std::size_t low = 1; low < 254; ++low) {
            auto columns = noPels<TypeParam>(254 - low);
            for (std::size_t c = 0; c < 254 - low; ++c) {
                columns[c * kColumnLevels + low] = 7;
                columns[c * kColumnLevels + low + c + 1] = 7;
            }
            EXPECT_EQ(Kernels<TypeParam>::modes(columns, 1), Pels(254 - low, static_cast<std::uint8_t>(low))) << set;
        }
    });
}

TYPED_TEST(ModeKernels, HigherSumWinsWhereverItIs) {
    onEveryInstructionSet([](const std::string& set) {
        for (std::size_t level = 1; level < 254; ++level) {
            auto columns = noPels<TypeParam>(1);
            for (std::size_t v = 1; v < 255; ++v) columns[v] = 200;
            columns[level] = 201;
            EXPECT_EQ(Kernels<TypeParam>::modes(columns, 1), Pels{static_cast<std::uint8_t>(level)}) << set;
        }
    });
}

TYPED_TEST(ModeKernels, WindowSlidesOverItsColumns) {
    onEveryInstructionSet([](const std::string& set) {
        // Along the columns level 9 counts 3, 0, 0, 0, 4, level 200 counts 0, 2, 2, 0, 0 and level 30 is once in the fourth.
        auto columns = noPels<TypeParam>(5);
        columns[9] = 3;
        columns[kColumnLevels + 200] = 2;
        columns[2 * kColumnLevels + 200] = 2;
        columns[3 * kColumnLevels + 30] = 1;
        columns[4 * kColumnLevels + 9] = 4;
        EXPECT_EQ(Kernels<TypeParam>::modes(columns, 1), (Pels{9, 200, 200, 30, 9})) << set;
        EXPECT_EQ(Kernels<TypeParam>::modes(columns, 2), (Pels{9, 200, 200, 9})) << set;
        EXPECT_EQ(Kernels<TypeParam>::modes(columns, 3), (Pels{200, 200, 9})) << set;
        EXPECT_EQ(Kernels<TypeParam>::modes(columns, 5), (Pels{9})) << set;
    });
}

TEST(SlidingMode, RandomImagesEqualTheBook) {
    Noise noise(21);
    for (int n = 0; n < 100; ++n) {
        const long L = noise.whole(1, 20);
        const long S = noise.whole(1, 16);
        const Image image = imageOf(n % kKinds, L + noise.whole(0, 40), S + noise.whole(0, 9), noise);
        expectModesByTheBook(image, L, S, "image " + std::to_string(n));
    }
}

TEST(SlidingMode, UniformImagesHaveTheirLevelOrTheNearestFrom1To254) {
    for (const auto& [level, mode] : {std::pair<int, int>{0, 1}, {1, 1}, {63, 63}, {64, 64}, {254, 254}, {255, 254}}) {
        const Image image = uniformImage(12, 9, level);
        onEveryInstructionSet([&image, expected = mode](const std::string& set) {
            const Image modes(8, 7, 32);
            qf_slidingMode(image, 5, 3, 8, modes);
            EXPECT_EQ(qvtest::rowsOf(modes), std::vector<std::vector<int>>(7, std::vector<int>(8, expected))) << set;
        });
    }
}

TEST(SlidingMode, WindowsWithoutRowsHaveMode255) {
    const Image image = uniformImage(6, 2, 80);
    onEveryInstructionSet([&](const std::string& set) {
        const Image modes(4, 3, 32);
        qf_slidingMode(image, 3, 0, 4, modes);
        EXPECT_EQ(qvtest::rowsOf(modes), std::vector<std::vector<int>>(3, std::vector<int>(4, 255))) << set;
    });
}

TEST(SlidingMode, ColumnsAtTheEdgeOfByteCountsEqualTheBook) {
    Noise noise(22);
    for (const long S : {127L, 128L}) {
        // Each pel of a uniform column counts twice: 254 and 256.
        expectModesByTheBook(uniformImage(7, S + 2, 40), 3, S, "uniform");
        for (int kind = 0; kind < kKinds; ++kind) expectModesByTheBook(imageOf(kind, 7, S + 2, noise), 3, S, "edge");
    }
}

TEST(SlidingMode, WindowsAtTheEdgeOf16BitSumsEqualTheBook) {
    Noise noise(23);
    // 32767 pels of one level come to 65534, one more to 65536; half as many to the edge of signed numbers.
    for (const long L : {16383L, 16384L, 32767L, 32768L}) {
        expectModesByTheBook(uniformImage(L + 2, 1, 77), L, 1, "uniform " + std::to_string(L));
        expectModesByTheBook(imageOf(3, L + 2, 1, noise), L, 1, "two levels " + std::to_string(L));
    }
    for (const long L : {258L, 259L}) expectModesByTheBook(uniformImage(L + 1, 128, 255), L, 127, "high");
}

TEST(SlidingMode, WindowsTooLargeForColumnHistogramsEqualTheBook) {
    Noise noise(27);
    // Columns of 32767 pels are the highest that words count.
    for (const long S : {32767L, 32768L}) {
        expectModesByTheBook(uniformImage(4, S + 1, 12), 2, S, "high, uniform");
        expectModesByTheBook(imageOf(2, 4, S + 1, noise), 2, S, "high");
    }
    // The histograms of 131072 columns are as many as may be kept.
    for (const long L : {131070L, 131073L}) expectModesByTheBook(imageOf(1, L + 2, 1, noise), L, 1, "wide");
}

TEST(SlidingMode, ImagesOfSeveralTilesEqualTheBook) {
    Noise noise(24);
    // 1024 positions to a tile: one just full, the second of one position, and three.
    for (const long positions : {1024L, 1025L, 2500L})
        expectModesByTheBook(imageOf(2, positions + 4, 6, noise), 5, 3, "tiles " + std::to_string(positions));
    // Four windows of 300 are wider than that.
    expectModesByTheBook(imageOf(1, 1299 + 301, 3, noise), 300, 2, "wide tiles");
}

TEST(SlidingMode, OnlyTheColumnsAskedForAreWritten) {
    Noise noise(25);
    const Image image = imageOf(0, 30, 8, noise);
    onEveryInstructionSet([&](const std::string& set) {
        Image modes(9, 5, 32);
        for (long y = 0; y < 5; ++y)
            for (long x = 0; x < 9; ++x) modes.put(x, y, 0);
        qf_slidingMode(image, 6, 4, 7, modes);
        for (long y = 0; y < 5; ++y) {
            for (long x = 0; x < 7; ++x) EXPECT_EQ(modes.get(x, y), qvtest::slowMode(image, x, y, 6, 4)) << set;
            EXPECT_EQ(modes.get(7, y), 0) << set;
            EXPECT_EQ(modes.get(8, y), 0) << set;
        }
    });
}

TEST(SlidingMode, BottomUpImagesAndWindowsOfLargerOnesEqualTheBook) {
    Noise noise(26);
    const Image image = imageOf(1, 40, 12, noise);
    for (const auto& view : {qvtest::asBottomUp(image), qvtest::asWindow(image, 3, 2)}) {
        onEveryInstructionSet([&](const std::string& set) {
            const Image modes(34, 8, 32);
            qf_slidingMode(view, 7, 5, 34, modes);
            for (long y = 0; y < 8; ++y)
                for (long x = 0; x < 34; ++x)
                    EXPECT_EQ(modes.get(x, y), qvtest::slowMode(image, x, y, 7, 5)) << set << " " << x << " " << y;
        });
    }
}
