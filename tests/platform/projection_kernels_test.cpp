// Every version of the loops against one sample at a time.
#include "qvstreet/platform/projection_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_sampling.h"

namespace {

using qvtest::Noise;

constexpr std::int64_t kPel = std::int64_t{1} << 32;
/// Half a pel from the window's corner to the first centre, less half a 1/256 pel.
constexpr std::int64_t kFromCorner = kPel / 2 - kPel / 512;

/// Runs `check` with the kernels of each version that this machine has.
template <class Check>
void forEachVersion(const Check& check) {
    qvtest::forEachInstructionSet([&](qv_InstructionSet set) { check(QV_KERNELS_OF(set, projectionKernels)); });
}

qv_BorderRhythm rhythm(std::int64_t movement) {
    qv_BorderRhythm rhythm;
    if (movement == 0) return rhythm;
    rhythm.movement = static_cast<std::uint64_t>(std::abs(movement));
    rhythm.steps = kPel / std::abs(movement);
    rhythm.remainder = static_cast<std::uint64_t>(kPel % std::abs(movement));
    return rhythm;
}

qv_WalkStep stepOf(std::int64_t x, std::int64_t y) { return {x, y, rhythm(x - kPel), rhythm(y)}; }

/// Pels of an image in memory of their own, with nothing in front of the first and behind the last, so that the address
/// sanitizer sees a read outside.
struct Pels {
    long width;
    long height;
    std::ptrdiff_t rowUpdate;
    std::unique_ptr<unsigned char[]> memory;
    const unsigned char* first;

    /// With `gap` bytes between rows; from the last row up if `upward`.
    Pels(long columns, long rows, long gap, bool upward, Noise& noise)
        : width(columns), height(rows), rowUpdate(columns + gap) {
        const std::size_t size = static_cast<std::size_t>(rowUpdate * (rows - 1) + columns);
        memory = std::make_unique<unsigned char[]>(size);
        // The extremes are where 16 bits are just enough.
        const long kind = noise.whole(0, 3);
        for (std::size_t i = 0; i < size; ++i)
            memory[i] = static_cast<unsigned char>(kind == 0   ? 255
                                                   : kind == 1 ? noise.whole(0, 1) * 255
                                                               : noise.bits() >> 24);
        first = memory.get();
        if (!upward) return;
        first += rowUpdate * (rows - 1);
        rowUpdate = -rowUpdate;
    }

    qvPelBuffer_const<unsigned char> image() const {
        return qvPelBuffer_const<unsigned char>(first, width, height, static_cast<long>(rowUpdate));
    }
};

std::vector<std::uint32_t> valuesOf(const Pels& pels, const qv_PelWalk& walk, const qv_WalkStep& step) {
    std::vector<std::uint32_t> values;
    for (long k = 0; k < walk.count; ++k)
        values.push_back(static_cast<std::uint32_t>(
            qvtest::slowValue(pels.image(), walk.x + kFromCorner + k * step.x, walk.y + kFromCorner + k * step.y, 2)));
    return values;
}

/// Samples from (x, y) on, up to `most`, that have all their neighbours.
long countWithNeighbours(const Pels& pels, std::int64_t x, std::int64_t y, const qv_WalkStep& step, long most) {
    long count = 0;
    for (; count < most; ++count, x += step.x, y += step.y)
        if (x < 0 || y < 0 || x >> 32 > pels.width - 2 || y >> 32 > pels.height - 2) break;
    return count;
}

/// All loops against the values one by one.
void expectTheSums(const Pels& pels, const qv_PelWalk& walk, const qv_WalkStep& step) {
    const std::vector<std::uint32_t> values = valuesOf(pels, walk, step);
    std::uint32_t expectedSum = 17;
    std::uint32_t expectedSquareSum = 4;
    for (const std::uint32_t value : values) {
        expectedSum += value;
        expectedSquareSum += value * value;
    }
    const std::size_t count = values.size();
    forEachVersion([&](const qv_ProjectionKernels& kernels) {
        std::uint32_t sum = 17;
        std::uint32_t squareSum = 4;
        kernels.addToBin(walk, step, &sum, &squareSum);
        EXPECT_EQ(sum, expectedSum);
        EXPECT_EQ(squareSum, expectedSquareSum);

        std::vector<std::uint32_t> sums(count + static_cast<std::size_t>(kBinsBehind));
        std::vector<std::uint32_t> squareSums(sums.size());
        for (std::size_t k = 0; k < sums.size(); ++k) {
            sums[k] = static_cast<std::uint32_t>(1000 + k);
            squareSums[k] = static_cast<std::uint32_t>(90000 + 3 * k);
        }
        kernels.addToBins(walk, step, sums.data(), squareSums.data());
        for (std::size_t k = 0; k < sums.size(); ++k) {
            const std::uint32_t value = k < count ? values[k] : 0;
            ASSERT_EQ(sums[k], 1000 + k + value) << "bin " << k << " of " << count;
            ASSERT_EQ(squareSums[k], 90000 + 3 * k + value * value) << "bin " << k << " of " << count;
        }

        std::vector<unsigned char> stored(count + 1, 77);
        kernels.store(walk, step, stored.data());
        for (std::size_t k = 0; k < count; ++k) ASSERT_EQ(stored[k], values[k]) << "sample " << k << " of " << count;
        EXPECT_EQ(stored[count], 77) << "behind the last one of " << count;
    });
}

qv_PelWalk walkFrom(const Pels& pels, std::int64_t x, std::int64_t y, long count) {
    return {pels.first, pels.rowUpdate, pels.width, x, y, count, 4};
}

}  // namespace

TEST(ProjectionKernels, threeValuesWorkedOutByHand) {
    // Between the rows 10 20 40 80 and 50 100 200 240, a quarter down; from an eighth of a pel behind the first centre.
    const unsigned char pels[] = {10, 20, 40, 80, 50, 100, 200, 240};
    const qv_WalkStep step = stepOf(kPel, 0);
    const qv_PelWalk walk = {pels, 4, 4, kPel / 8, kPel / 4, 3, 0};
    forEachVersion([&](const qv_ProjectionKernels& kernels) {
        // 0.75 * 11.25 + 0.25 * 56.25 = 22.5, 0.75 * 22.5 + 0.25 * 112.5 = 45, 0.75 * 45 + 0.25 * 205 = 85
        std::uint32_t sums[3 + kBinsBehind] = {};
        std::uint32_t squareSums[3 + kBinsBehind] = {};
        kernels.addToBins(walk, step, sums, squareSums);
        EXPECT_EQ(sums[0], 23u);
        EXPECT_EQ(sums[1], 45u);
        EXPECT_EQ(sums[2], 85u);
        EXPECT_EQ(squareSums[0], 529u);
        EXPECT_EQ(squareSums[1], 2025u);
        EXPECT_EQ(squareSums[2], 7225u);

        std::uint32_t sum = 0;
        std::uint32_t squareSum = 0;
        kernels.addToBin(walk, step, &sum, &squareSum);
        EXPECT_EQ(sum, 153u);
        EXPECT_EQ(squareSum, 9779u);

        unsigned char values[3] = {};
        kernels.store(walk, step, values);
        EXPECT_EQ(values[0], 23);
        EXPECT_EQ(values[1], 45);
        EXPECT_EQ(values[2], 85);
    });
}

TEST(ProjectionKernels, walksAlongARowOfEveryLength) {
    Noise noise(11);
    for (long count = 1; count <= 140; ++count) {
        const Pels pels(count + 1, 2, 0, false, noise);
        expectTheSums(
            pels,
            walkFrom(pels, std::int64_t{noise.whole(0, 255)} << 24, std::int64_t{noise.whole(0, 255)} << 24, count),
            stepOf(kPel, 0));
    }
}

TEST(ProjectionKernels, walksOfMoreThanOneChunk) {
    Noise noise(12);
    for (const long count : {511L, 512L, 513L, 543L, 1024L, 1100L, 1537L}) {
        const Pels pels(count + 3, 40, 5, false, noise);
        const qv_WalkStep step = stepOf(kPel - kPel / 3000, kPel / 60);
        expectTheSums(pels, walkFrom(pels, kPel / 3, kPel / 7, count), step);
    }
}

TEST(ProjectionKernels, theLongestWalkOfWhitePels) {
    Noise noise(1);
    Pels pels(32768, 2, 0, false, noise);
    std::fill(pels.memory.get(), pels.memory.get() + 2 * 32768, static_cast<unsigned char>(255));
    expectTheSums(pels, walkFrom(pels, 1234567890, 987654321, 32767), stepOf(kPel, 0));
}

TEST(ProjectionKernels, bordersAreMetAtTheExactSample) {
    // Steps that divide a pel, and one unit more or less, in all four directions.
    Noise noise(13);
    const Pels pels(400, 300, 3, false, noise);
    for (const std::int64_t part : {2, 3, 16, 17, 32, 64})
        for (const std::int64_t unit : {-1, 0, 1})
            for (const std::int64_t sign : {-1, 1})
                for (const std::int64_t start : {std::int64_t{0}, std::int64_t{1}, kPel - 1, kPel / 2}) {
                    const std::int64_t movement = sign * (kPel / part + unit);
                    const std::int64_t y = 150 * kPel + start;
                    const qv_WalkStep sloping = stepOf(kPel, movement);
                    expectTheSums(pels, walkFrom(pels, 5, y, countWithNeighbours(pels, 5, y, sloping, 200)), sloping);
                    const qv_WalkStep slipping = stepOf(kPel + movement, 1 - unit);
                    const std::int64_t x = 20 * kPel + start;
                    expectTheSums(pels, walkFrom(pels, x, y, countWithNeighbours(pels, x, y, slipping, 200)), slipping);
                }
}

TEST(ProjectionKernels, randomWalksUpToTheBordersOfTheWindow) {
    Noise noise(14);
    for (int round = 0; round < 1500; ++round) {
        const Pels pels(noise.whole(2, 200), noise.whole(2, 90), noise.whole(0, 70), noise.whole(0, 1) == 1, noise);
        const double slope = noise.whole(0, 2) == 0 ? noise.real(-0.99, 0.99) : noise.real(-0.07, 0.07);
        const double drift = noise.whole(0, 2) == 0 ? noise.real(-0.9, 0.9) : noise.real(-0.004, 0.004);
        const qv_WalkStep step = stepOf(kPel + static_cast<std::int64_t>(std::ldexp(drift, 32)),
                                        static_cast<std::int64_t>(std::ldexp(slope, 32)));
        const std::int64_t x =
            static_cast<std::int64_t>(std::ldexp(noise.real(0, static_cast<double>(pels.width - 1) * 0.7), 32));
        const std::int64_t y =
            static_cast<std::int64_t>(std::ldexp(noise.real(0, static_cast<double>(pels.height - 1) * 0.999), 32));
        const long count = countWithNeighbours(pels, x, y, step, 700);
        ASSERT_GE(count, 1);
        SCOPED_TRACE(round);
        expectTheSums(pels, walkFrom(pels, x, y, count), step);
        if (HasFailure()) break;
    }
}
