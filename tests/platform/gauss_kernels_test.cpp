// The reduction in whole numbers and its kernels, in every version that this machine can run.
#include "qvstreet/platform/gauss_kernels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "qvstreet/platform/gauss_sample.h"
#include "tests/support/every_instruction_set.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_whole_gauss.h"

namespace {

using Pair = qvPair<long>;
using Image = qvPelBuffer<unsigned char>;

qvGaussSampleParams reducingBy(long fx, long fy, double smoothing = 1.0) {
    return qvGaussSampleParams(Pair(1, 1), Pair(fx, fy), smoothing, true);
}

std::vector<int> pelsOf(const qvPelBuffer_const<unsigned char>& image) {
    std::vector<int> pels;
    for (long y = 0; y < image.height(); ++y)
        pels.insert(pels.end(), image.pointToRow(y), image.pointToRow(y) + image.width());
    return pels;
}

/// Weights that are the same from either end and add up to 2^14, also with all of it in a single one.
std::vector<std::int16_t> weightsOf(std::size_t taps, qvtest::Noise& noise) {
    std::vector<std::int16_t> weights(taps, 0);
    long rest = 8192;
    for (std::size_t i = 0; i < taps / 2; ++i) {
        const long weight = 2 * (i + 1) == taps ? rest : noise.whole(0, rest / 2);
        weights[i] = weights[taps - 1 - i] = static_cast<std::int16_t>(weight);
        rest -= weight;
    }
    if (taps % 2 == 1) weights[taps / 2] = static_cast<std::int16_t>(2 * rest);
    return weights;
}

}  // namespace

TEST(GaussKernels, SmoothDownEqualsThePlainSumsForEveryNumberOfTapsAndColumns) {
    qvtest::Noise noise(21);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        for (std::size_t taps = 1; taps <= 23; ++taps)
            for (const std::size_t columns : {1u, 2u, 15u, 16u, 17u, 31u, 32u, 33u, 63u, 64u, 65u, 127u, 128u, 200u}) {
                const auto weights = weightsOf(taps, noise);
                const bool isWhite = noise.whole(0, 4) == 0;
                std::vector<std::vector<std::uint8_t>> pels(taps);
                std::vector<const std::uint8_t*> rows;
                for (auto& row : pels) {
                    const std::size_t skipped = static_cast<std::size_t>(noise.whole(0, 3));
                    for (std::size_t x = 0; x < skipped + columns; ++x)
                        row.push_back(static_cast<std::uint8_t>(isWhite ? 255 : noise.whole(0, 255)));
                    rows.push_back(row.data() + skipped);
                }
                std::vector<std::int16_t> values(columns + 1, std::int16_t{-7});
                QV_CHOSEN_KERNELS(gaussKernels).smoothDown(rows.data(), weights.data(), taps, columns, values.data());
                for (std::size_t x = 0; x < columns; ++x) {
                    long sum = 0;
                    for (std::size_t i = 0; i < taps; ++i) sum += long{weights[i]} * rows[i][x];
                    ASSERT_EQ(values[x], (sum + 64) / 128) << version << ", taps " << taps << ", columns " << columns;
                }
                ASSERT_EQ(values[columns], -7) << version << " writes behind the end";
            }
    });
}

TEST(GaussKernels, SmoothAlongEqualsThePlainSumsForEveryNumberOfBlocks) {
    qvtest::Noise noise(22);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        for (std::size_t blocks = 1; blocks <= 19; ++blocks)
            for (const std::size_t factor : {1u, 2u, 3u, 7u, 16u, 45u})
                for (const std::size_t taps : {1u, 4u, 8u, 9u, 16u, 23u, 40u}) {
                    auto weights = weightsOf(taps, noise);
                    while (weights.size() % kGaussTapGroup != 0) weights.push_back(0);
                    const bool isWhite = noise.whole(0, 4) == 0;
                    std::vector<std::int16_t> values((blocks - 1) * factor + weights.size());
                    for (auto& value : values)
                        value = static_cast<std::int16_t>(isWhite ? 32640 : noise.whole(0, 32640));
                    std::vector<std::uint8_t> pels(blocks + 1, 99);
                    QV_CHOSEN_KERNELS(gaussKernels)
                        .smoothAlong(values.data(), factor, weights.data(), weights.size(), blocks, pels.data());
                    for (std::size_t b = 0; b < blocks; ++b) {
                        long sum = 0;
                        for (std::size_t i = 0; i < taps; ++i) sum += long{weights[i]} * values[b * factor + i];
                        ASSERT_EQ(pels[b], (sum + (1L << 20)) >> 21)
                            << version << ", blocks " << blocks << ", factor " << factor << ", taps " << taps;
                    }
                    ASSERT_EQ(pels[blocks], 99) << version << " writes behind the end";
                }
    });
}

TEST(GaussSample, EveryVersionGivesTheBitsOfTheFormulaInWholeNumbers) {
    qvtest::Noise noise(23);
    for (int round = 0; round < 60; ++round) {
        const long fx = noise.whole(1, 12);
        const long fy = noise.whole(1, 12);
        const double smoothing = round % 4 == 0 ? noise.real(0.3, 2.0) : 1.0;
        const auto image =
            qvtest::noiseImage(noise.whole(1, 150), noise.whole(1, 70), static_cast<std::uint64_t>(round) + 5);
        const std::vector<int> slow = qvtest::slowWholeGauss(image, fx, fy, smoothing);
        qvtest::onEveryInstructionSet([&](const std::string& version) {
            ASSERT_EQ(pelsOf(qfGaussSample(image, reducingBy(fx, fy, smoothing))), slow)
                << version << ", factors " << fx << ", " << fy << ", smoothing " << smoothing;
        });
    }
}

TEST(GaussSample, ReadsAWindowOfAnImageStoredBottomUp) {
    const auto stored = qvtest::noiseImage(140, 60, 6);
    const qvPelBuffer_const<unsigned char> image(stored.pointToPel(3, 59), 131, 60, -stored.rowUpdate());
    const std::vector<int> slow = qvtest::slowWholeGauss(image, 4, 3, 1.0);
    qvtest::onEveryInstructionSet([&](const std::string& version) {
        EXPECT_EQ(pelsOf(qfGaussSample(image, reducingBy(4, 3))), slow) << version;
    });
}

TEST(GaussSample, ADestinationOfTheRightSizeIsFilledInPlaceAndAnotherImageChangesNothingElse) {
    qv_gaussScratch scratch;
    Image reduced;
    qf_gaussSample(qvtest::noiseImage(90, 61, 1), reducingBy(3, 2), scratch, reduced);
    const unsigned char* const memory = reduced.pointToRow(0);
    reduced.offset(4, 5);
    auto second = qvtest::noiseImage(90, 61, 2);
    second.offset(10, 20);
    qf_gaussSample(second, reducingBy(3, 2), scratch, reduced);
    EXPECT_EQ(reduced.pointToRow(0), memory);
    EXPECT_EQ(reduced.offset(), Pair(0, 0));
    EXPECT_EQ(reduced.clientFromImageXform().trans(), qvVector<2>(10.0, 20.0));
    EXPECT_EQ(pelsOf(reduced), qvtest::slowWholeGauss(second, 3, 2, 1.0));
}

TEST(GaussSample, ScratchFitsEveryOrderOfSizesFactorsAndSmoothings) {
    qv_gaussScratch scratch;
    Image reduced;
    qvtest::Noise noise(31);
    for (int round = 0; round < 40; ++round) {
        const long fx = noise.whole(1, 4);
        const long fy = noise.whole(1, 4);
        const double smoothing = static_cast<double>(noise.whole(1, 3)) * 0.5;
        const auto image =
            qvtest::noiseImage(noise.whole(1, 80), noise.whole(1, 40), static_cast<std::uint64_t>(round));
        qf_gaussSample(image, reducingBy(fx, fy, smoothing), scratch, reduced);
        ASSERT_EQ(pelsOf(reduced), qvtest::slowWholeGauss(image, fx, fy, smoothing)) << "round " << round;
    }
}
