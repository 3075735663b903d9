// Every version of the loops against what they add up to, by 64-bit arithmetic from nothing.
#include "qvstreet/blankregion/deviation_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"

namespace {

using qvtest::Noise;

/// Runs `check` with the kernels of each version that this machine has.
template <class Check>
void forEachVersion(const Check& check) {
    qvtest::forEachInstructionSet([&](qv_InstructionSet set) { check(QV_KERNELS_OF(set, deviationKernels)); });
}

/// Noise, all 0, all 255, or 0 and 255 by turns.
std::vector<unsigned char> pelsOf(int kind, long width, Noise& noise) {
    std::vector<unsigned char> pels;
    for (long x = 0; x < width; ++x)
        pels.push_back(static_cast<unsigned char>(kind == 0   ? noise.whole(0, 255)
                                                  : kind == 1 ? 0
                                                  : kind == 2 ? 255
                                                              : x % 2 * 255));
    return pels;
}

std::size_t index(long x) { return static_cast<std::size_t>(x); }

std::vector<std::int16_t> boxesOf(const std::vector<unsigned char>& pels, long L) {
    std::vector<std::int16_t> boxes;
    for (long x = 0; x + L <= static_cast<long>(pels.size()); ++x) {
        long sum = 0;
        for (long c = x; c < x + L; ++c) sum += pels[index(c)] - 128;
        boxes.push_back(static_cast<std::int16_t>(sum));
    }
    return boxes;
}

}  // namespace

TEST(DeviationKernels, RowBoxesOfEveryLengthAreSumsOfPels) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        Noise noise(1);
        for (long L = 1; L <= kKernelWindow; ++L) {
            for (const long spare : {0L, 1L, 67L, 150L}) {
                const int kind = static_cast<int>(noise.whole(0, 3));
                const std::vector<unsigned char> pels = pelsOf(kind, L + spare, noise);
                std::vector<std::int16_t> first(pels.size() + 1);
                std::vector<std::int16_t> second(pels.size() + 1);
                const std::int16_t* const sums =
                    kernels.rowBoxes(pels.data(), L + spare, L, first.data(), second.data());
                EXPECT_EQ(std::vector<std::int16_t>(sums, sums + spare + 1), boxesOf(pels, L)) << L << " " << spare;
            }
        }
    });
}

TEST(DeviationKernels, RowBoxesReachBothEndsOfTheirRange) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        std::vector<std::int16_t> first(301);
        std::vector<std::int16_t> second(301);
        const std::vector<unsigned char> dark(300, 0);
        EXPECT_EQ(kernels.rowBoxes(dark.data(), 300, 128, first.data(), second.data())[172], -16384);
        const std::vector<unsigned char> bright(300, 255);
        EXPECT_EQ(kernels.rowBoxes(bright.data(), 300, 128, first.data(), second.data())[172], 16256);
    });
}

TEST(DeviationKernels, ExchangedBoxesAddUpToTheSquaresInTheWindow) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        Noise noise(2);
        constexpr long kPositions = 203;
        constexpr std::size_t kRows = 128;
        std::vector<std::vector<std::int16_t>> window(kRows, std::vector<std::int16_t>(kPositions, 0));
        std::vector<std::uint32_t> high(kPositions, 0);
        std::vector<std::uint16_t> low(kPositions, 0);
        for (long row = 0; row < 3 * kCarryEvery; ++row) {
            std::vector<std::int16_t> boxes(kPositions);
            // At first the largest boxes, so that the sum is as large as it becomes.
            for (std::int16_t& box : boxes)
                box = static_cast<std::int16_t>(row < 128 ? -16384 : noise.whole(-16384, 16256));
            std::vector<std::int16_t>& leaving = window[index(row) % kRows];
            kernels.exchangeBoxes(boxes.data(), leaving.data(), high.data(), low.data(), kPositions);
            EXPECT_EQ(leaving, boxes);
            if (row == 127) {
                EXPECT_EQ(high[101], 0x80000000u);
            }
            if (row % kCarryEvery == kCarryEvery - 1) kernels.carryBoxes(high.data(), low.data(), kPositions);
            if (row % 1000 != 999 && row % kCarryEvery != kCarryEvery - 1) continue;
            for (std::size_t x = 0; x < index(kPositions); ++x) {
                std::uint64_t squares = 0;
                for (const std::vector<std::int16_t>& boxRow : window)
                    squares += static_cast<std::uint64_t>(std::int64_t{boxRow[x]} * boxRow[x]);
                // The high part is known modulo 2^32.
                EXPECT_EQ((((std::uint64_t{high[x]} << 4) + low[x]) ^ squares) & 0xfffffffffu, 0u) << row << " " << x;
            }
        }
    });
}

TEST(DeviationKernels, CarriedLowPartsAreBelowSixteen) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        std::vector<std::uint32_t> high(70, 7);
        std::vector<std::uint16_t> low(70, 65535);
        high[69] = 0xffffffffu;
        low[69] = 16;
        kernels.carryBoxes(high.data(), low.data(), 70);
        EXPECT_EQ(high[0], 7u + 4095u);
        EXPECT_EQ(low[0], 15);
        EXPECT_EQ(high[69], 0u);
        EXPECT_EQ(low[69], 0);
    });
}

TEST(DeviationKernels, ExchangedPelsChangeTheSumsOfTheirColumn) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        constexpr long kLevels = 256;
        std::vector<unsigned char> entering;
        std::vector<unsigned char> leaving;
        for (long in = 0; in < kLevels; ++in) {
            for (long out = 0; out < kLevels; ++out) {
                entering.push_back(static_cast<unsigned char>(in));
                leaving.push_back(static_cast<unsigned char>(out));
            }
        }
        std::vector<std::int16_t> sums(entering.size(), 1000);
        std::vector<std::int32_t> squares(entering.size(), 2000000);
        kernels.exchangePels(entering.data(), leaving.data(), sums.data(), squares.data(), kLevels * kLevels);
        for (std::size_t x = 0; x < entering.size(); ++x) {
            const int in = entering[x] - 128;
            const int out = leaving[x] - 128;
            ASSERT_EQ(sums[x], 1000 + in - out) << x;
            ASSERT_EQ(squares[x], 2000000 + in * in - out * out) << x;
        }
    });
}

TEST(DeviationKernels, ColumnTotalsHoldSquaresAndRadicands) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        Noise noise(3);
        for (const long width : {1L, 7L, 255L, 256L, 600L}) {
            std::vector<std::int16_t> sums;
            std::vector<std::int32_t> squares;
            for (long x = 0; x < width; ++x) {
                // 128 pels: some of them 0, some 255, all the others the middle level.
                const long dark = noise.whole(0, 64);
                const long bright = noise.whole(0, 64);
                sums.push_back(static_cast<std::int16_t>(127 * bright - 128 * dark));
                squares.push_back(static_cast<std::int32_t>(127 * 127 * bright + 128 * 128 * dark));
            }
            std::vector<std::uint64_t> totals(index(width));
            kernels.columnTotals(sums.data(), squares.data(), 128, totals.data(), width);
            std::uint64_t total = 0;
            for (std::size_t x = 0; x < totals.size(); ++x) {
                const std::int64_t radicand = std::int64_t{128} * squares[x] - std::int64_t{sums[x]} * sums[x];
                total += (static_cast<std::uint64_t>(squares[x]) << 35) + static_cast<std::uint64_t>(radicand);
                ASSERT_EQ(totals[x], total) << width << " " << x;
            }
        }
    });
}

TEST(DeviationKernels, StoredRowsAreCutSumsOfRootsAndTellWhereTheyAreInDoubt) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        Noise noise(4);
        constexpr long kL = 3;
        constexpr long kPositions = 600;
        constexpr float kRowFactor = 0.25f;
        constexpr float kColumnFactor = 0.125f;
        std::vector<std::uint64_t> totals(kPositions + kL, 0);
        std::vector<std::uint32_t> high;
        std::vector<std::uint16_t> low;
        std::vector<double> expected;
        for (std::size_t x = 1; x < totals.size(); ++x) {
            const auto squares = static_cast<std::uint64_t>(noise.whole(100000, 200000));
            totals[x] = totals[x - 1] + (squares << 35) + static_cast<std::uint64_t>(noise.whole(0, 400000));
        }
        for (std::size_t x = 0; x < index(kPositions); ++x) {
            const std::uint64_t window = totals[x + kL] - totals[x];
            const auto squares = static_cast<std::int64_t>(window >> 35);
            const std::int64_t rows = x == 5 ? 0 : noise.whole(0, 300000);
            const std::int64_t boxes = kL * squares - rows;
            low.push_back(static_cast<std::uint16_t>(boxes % 16 + 16 * static_cast<std::int64_t>(x % 4000)));
            high.push_back(static_cast<std::uint32_t>((boxes - low.back()) / 16));
            expected.push_back(0.25 * std::sqrt(static_cast<double>(rows)) +
                               0.125 * std::sqrt(static_cast<double>(window & 0x7ffffffffu)));
        }
        std::vector<unsigned char> pels(kPositions);
        std::vector<unsigned char> isDoubtful(kPositions, 9);
        kernels.storeRow(high.data(), low.data(), totals.data(), kL, kRowFactor, kColumnFactor, pels.data(),
                         isDoubtful.data(), kPositions);
        long sure = 0;
        for (std::size_t x = 0; x < index(kPositions); ++x) {
            const double distance = std::abs(expected[x] - std::floor(expected[x] + 0.5));
            if (distance < 0.0009 && expected[x] < 255.4) {
                EXPECT_EQ(isDoubtful[x], 1) << x;
            }
            if (distance > 0.0011 || expected[x] > 255.6) {
                EXPECT_EQ(isDoubtful[x], 0) << x;
            }
            if (isDoubtful[x] != 0) continue;
            ++sure;
            EXPECT_EQ(pels[x], static_cast<int>(std::min(expected[x], 255.0))) << x;
        }
        EXPECT_GT(sure, 550);
    });
}

TEST(DeviationKernels, StoredRowsOfTheLargestSumsAndOfNothing) {
    forEachVersion([](const qv_DeviationKernels& kernels) {
        // 128 columns of 128 pels: the largest radicand of each is (128 * 255 / 2)^2, of the rows likewise.
        constexpr std::uint64_t kRadicands = std::uint64_t{128} * 16320 * 16320;
        constexpr std::uint64_t kSquares = std::uint64_t{64} * 128 * (127 * 127 + 128 * 128);
        std::vector<std::uint64_t> totals(2 + 128, 0);
        for (std::size_t x = 128; x < totals.size(); ++x) totals[x] = (kSquares << 35) + kRadicands;
        // Each row holds as many of 0 as of 255, so that each box is -64.
        const std::vector<std::uint32_t> high(2, 128 * 64 * 64 / 16);
        const std::vector<std::uint16_t> low(2, 0);
        std::vector<unsigned char> pels(2, 1);
        std::vector<unsigned char> isDoubtful(2, 1);
        // Both roots come to sqrt(128) * 16320 = 184639.72.
        kernels.storeRow(high.data(), low.data(), totals.data(), 128, 0.0005f, 0.0003f, pels.data(), isDoubtful.data(),
                         2);
        EXPECT_EQ(pels, std::vector<unsigned char>(2, 147));
        EXPECT_EQ(isDoubtful, std::vector<unsigned char>(2, 0));
        kernels.storeRow(high.data(), low.data(), totals.data(), 128, 10.0f, 10.0f, pels.data(), isDoubtful.data(), 2);
        EXPECT_EQ(pels, std::vector<unsigned char>(2, 255));
        EXPECT_EQ(isDoubtful, std::vector<unsigned char>(2, 0));

        const std::vector<std::uint32_t> none(2, 0);
        std::fill(totals.begin(), totals.end(), 5);
        kernels.storeRow(none.data(), low.data(), totals.data(), 128, 10.0f, 10.0f, pels.data(), isDoubtful.data(), 2);
        EXPECT_EQ(pels, std::vector<unsigned char>(2, 0));
        EXPECT_EQ(isDoubtful, std::vector<unsigned char>(2, 0));
    });
}
