// The sums over a ring, in every version of their kernel.
#include "qvstreet/frontend/polar_sum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "qvstreet/frontend/polar_kernels.h"
#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_polar.h"

namespace {

qvPelBuffer<double> noiseOf(long width, long height, std::uint64_t seed) {
    qvtest::Noise noise(seed);
    qvPelBuffer<double> image(width, height, 8);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, noise.real(0.0, 1e6));
    return image;
}

std::vector<double> sumsOf(qv_polarSum& ring, const qvPelBuffer_const<double>& image, short directions, long r0,
                           long r1) {
    qvPelBuffer<double> profile;
    ring.sum(image, directions, r0, r1, profile);
    return std::vector<double>(profile.pointToRow(0), profile.pointToRow(0) + profile.width());
}

std::vector<double> sumsOf(const qvPelBuffer_const<double>& image, short directions, long r0, long r1) {
    qv_polarSum ring;
    return sumsOf(ring, image, directions, r0, r1);
}

}  // namespace

TEST(PolarKernels, MagnitudesAreTheRootsOfTheSumsOfSquaresForEveryCount) {
    qvtest::Noise noise(6);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        for (std::size_t count = 0; count < 40; ++count) {
            std::vector<double> real(count + 1);
            std::vector<double> imaginary(count + 1);
            for (std::size_t i = 0; i < count; ++i) {
                real[i] = noise.real(-1e5, 1e5);
                imaginary[i] = noise.real(-3.0, 3.0);
            }
            std::vector<double> found(count + 1, -1.0);
            QV_CHOSEN_KERNELS(polarKernels).magnitudes(real.data(), imaginary.data(), count, found.data());
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_EQ(found[i], std::sqrt(real[i] * real[i] + imaginary[i] * imaginary[i])) << version;
            ASSERT_EQ(found[count], -1.0) << version << " writes behind the end";
        }
    });
}

TEST(PolarSum, EveryVersionGivesTheBitsOfTheFormulaInsideTheImage) {
    qvtest::Noise noise(3);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        for (int round = 0; round < 20; ++round) {
            const long side = noise.whole(40, 120);
            const long r1 = noise.whole(2, side / 2 - 2);
            const long r0 = noise.whole(0, r1 - 1);
            const short directions = static_cast<short>(noise.whole(1, 600));
            const auto image = noiseOf(side, side + noise.whole(0, 9), static_cast<std::uint64_t>(round) + 1);
            ASSERT_EQ(sumsOf(image, directions, r0, r1), qvtest::slowPolarSums(image, directions, r0, r1))
                << version << ", side " << side << ", radii " << r0 << " to " << r1 << ", directions " << directions;
        }
    });
}

TEST(PolarSum, BeyondTheBorderTheNearestBorderPelCountsInEveryVersion) {
    qvtest::Noise noise(4);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        for (int round = 0; round < 20; ++round) {
            const auto image = noiseOf(noise.whole(1, 30), noise.whole(1, 30), static_cast<std::uint64_t>(round) + 70);
            const long r0 = noise.whole(0, 20);
            const long r1 = r0 + noise.whole(1, 20);
            ASSERT_EQ(sumsOf(image, 77, r0, r1), qvtest::slowPolarSums(image, 77, r0, r1)) << version;
        }
    });
}

TEST(PolarSum, HonoursTheWindowAndTheDistanceOfRows) {
    const auto large = noiseOf(101, 90, 8);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        qvPelBuffer<double> image = large;
        image.window(5, 3, 64, 64, false);
        EXPECT_EQ(sumsOf(image, 540, 12, 27), qvtest::slowPolarSums(image, 540, 12, 27)) << version;
    });
}

TEST(PolarSum, AnotherImageOfTheSameSizeUsesTheSameTableAndTheSameProfile) {
    qv_polarSum ring;
    qvPelBuffer<double> profile;
    ring.sum(noiseOf(64, 64, 1), 540, 8, 20, profile);
    const double* const memory = profile.pointToRow(0);
    const auto second = noiseOf(64, 64, 2);
    ring.sum(second, 540, 8, 20, profile);
    EXPECT_EQ(ring.tablesMade(), 1);
    EXPECT_EQ(profile.pointToRow(0), memory);
    EXPECT_EQ(std::vector<double>(memory, memory + 540), qvtest::slowPolarSums(second, 540, 8, 20));
}

TEST(PolarSum, AnotherSizeOrRingHasATableOfItsOwn) {
    qv_polarSum ring;
    const auto image = noiseOf(64, 64, 1);
    const auto wider = noiseOf(66, 64, 2);
    sumsOf(ring, image, 540, 8, 20);
    EXPECT_EQ(sumsOf(ring, image, 540, 9, 20), qvtest::slowPolarSums(image, 540, 9, 20));
    EXPECT_EQ(sumsOf(ring, image, 540, 9, 21), qvtest::slowPolarSums(image, 540, 9, 21));
    EXPECT_EQ(sumsOf(ring, image, 270, 9, 21), qvtest::slowPolarSums(image, 270, 9, 21));
    EXPECT_EQ(sumsOf(ring, wider, 270, 9, 21), qvtest::slowPolarSums(wider, 270, 9, 21));
    EXPECT_EQ(ring.tablesMade(), 5);
}

TEST(PolarSum, ARefusedRingLeavesNoTableBehind) {
    qv_polarSum ring;
    const auto image = noiseOf(40, 40, 1);
    EXPECT_THROW(sumsOf(ring, image, 540, 7, 7), qvPel::BadSize);
    EXPECT_THROW(sumsOf(ring, image, 0, 7, 9), qvPel::BadSize);
    EXPECT_EQ(ring.tablesMade(), 0);
    EXPECT_EQ(sumsOf(ring, image, 30, 7, 9), qvtest::slowPolarSums(image, 30, 7, 9));
}

TEST(PolarSum, AnotherHeightOrDistanceOfRowsHasATableOfItsOwn) {
    qv_polarSum ring;
    const auto image = noiseOf(64, 64, 1);
    const auto higher = noiseOf(64, 70, 2);
    qvPelBuffer<double> spaced = noiseOf(75, 64, 3);
    spaced.window(0, 0, 64, 64, false);
    ASSERT_NE(spaced.rowUpdate(), image.rowUpdate());
    sumsOf(ring, image, 540, 8, 20);
    EXPECT_EQ(sumsOf(ring, higher, 540, 8, 20), qvtest::slowPolarSums(higher, 540, 8, 20));
    EXPECT_EQ(sumsOf(ring, image, 540, 8, 20), qvtest::slowPolarSums(image, 540, 8, 20));
    EXPECT_EQ(sumsOf(ring, spaced, 540, 8, 20), qvtest::slowPolarSums(spaced, 540, 8, 20));
    EXPECT_EQ(ring.tablesMade(), 4);
}
