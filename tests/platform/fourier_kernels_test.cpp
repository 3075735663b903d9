#include "qvstreet/platform/fourier_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "qvstreet/platform/aligned_memory.h"
#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/fourier_plan.h"
#include "tests/support/every_instruction_set.h"

namespace {

constexpr long kLanes = kFourierLanes;
constexpr double kUntouched = -12345.0;

using Doubles = qv_AlignedDoubles;

const qv_FourierKernels& kernels() { return QV_CHOSEN_KERNELS(fourierKernels); }

double* at(Doubles& doubles, long index) { return doubles.data() + index; }

Doubles randomDoubles(long count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-1000.0, 1000.0);
    Doubles doubles(static_cast<std::size_t>(count));
    for (double& value : doubles) value = uniform(random);
    return doubles;
}

bool sameBits(const Doubles& a, const Doubles& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

qvPelBuffer<unsigned char> randomImage(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(random() & 255u));
    return image;
}

/// All parts of a spectrum, then of its inverse transform.
Doubles transformsOf(const qvPelBuffer<unsigned char>& image) {
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    qvPelBuffer<double> real;
    qvPelBuffer<double> imaginary;
    qfInverseFFT(spectrum, real, imaginary);
    Doubles values;
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) {
            values.push_back(spectrum.realRow(y)[x]);
            values.push_back(spectrum.imaginaryRow(y)[x]);
            values.push_back(real.get(x, y));
            values.push_back(imaginary.get(x, y));
        }
    return values;
}

/// Some orders of rows and rows left out.
std::vector<long> slotsOf(long length, unsigned seed, bool sparse) {
    std::mt19937 random(seed);
    std::vector<long> slots(static_cast<std::size_t>(length));
    for (long& slot : slots)
        slot = sparse && random() % 4u != 0u ? -1 : static_cast<long>(random() % static_cast<unsigned>(length));
    return slots;
}

}  // namespace

TEST(FourierKernels, EveryVersionGivesTheSameBitsForAnySize) {
    const long sizes[][2] = {{256, 256}, {256, 64}, {16, 512}, {8, 2}, {1, 1}, {7, 13}, {45, 24}, {37, 128}, {130, 9}};
    for (const auto& size : sizes) {
        const qvPelBuffer<unsigned char> image = randomImage(size[0], size[1], 7u);
        Doubles plain;
        qvtest::onEveryInstructionSet([&](const std::string& set) {
            SCOPED_TRACE(set);
            const Doubles values = transformsOf(image);
            if (plain.empty()) plain = values;
            EXPECT_TRUE(sameBits(plain, values)) << size[0] << " by " << size[1];
        });
    }
}

TEST(FourierKernels, EveryVersionGivesTheSameBitsOfAnyWindow) {
    const qvPelBuffer<unsigned char> large = randomImage(301, 83, 3u);
    for (const long offset : {0L, 1L, 3L, 17L}) {
        qvPelBuffer<unsigned char> window = large;
        window.window(offset, offset / 2, 256, 64, false);
        Doubles plain;
        qvtest::onEveryInstructionSet([&](const std::string& set) {
            SCOPED_TRACE(set);
            const Doubles values = transformsOf(window);
            if (plain.empty()) plain = values;
            EXPECT_TRUE(sameBits(plain, values)) << offset;
        });
    }
}

TEST(FourierKernels, RowsAreLoadedIntoLanesAndStoredBackInOrder) {
    for (const long length : {1L, 7L, 8L, 24L, 45L, 256L})
        for (const long lanes : {1L, 3L, 8L}) {
            const long rowUpdate = length + 3;
            Doubles rows = randomDoubles(kLanes * rowUpdate, 5u);
            std::vector<long> order(static_cast<std::size_t>(length));
            for (long x = 0; x < length; ++x) order[static_cast<std::size_t>(x)] = (x * 5 + 2) % length;
            qvtest::onEveryInstructionSet([&](const std::string& set) {
                SCOPED_TRACE(set);
                Doubles block(static_cast<std::size_t>(length * kLanes), kUntouched);
                kernels().loadRows(rows.data(), rowUpdate, lanes, length, block.data());
                for (long x = 0; x < length; ++x)
                    for (long lane = 0; lane < kLanes; ++lane)
                        ASSERT_EQ(lane < lanes ? *at(rows, lane * rowUpdate + x) : 0.0, *at(block, x * kLanes + lane));

                Doubles stored(rows.size(), kUntouched);
                kernels().storeRows(block.data(), order.data(), 0.3, lanes, length, stored.data(), rowUpdate);
                for (long lane = 0; lane < kLanes; ++lane)
                    for (long x = 0; x < rowUpdate; ++x) {
                        const bool wanted = lane < lanes && x < length;
                        const long row = wanted ? order[static_cast<std::size_t>(x)] : 0;
                        ASSERT_EQ(wanted ? *at(block, row * kLanes + lane) * 0.3 : kUntouched,
                                  *at(stored, lane * rowUpdate + x));
                    }
            });
        }
}

TEST(FourierKernels, ColumnsAreLoadedIntoLanesAndStoredBackInOrder) {
    const long length = 12;
    const long rowUpdate = 19;
    Doubles columns = randomDoubles(length * rowUpdate, 9u);
    std::vector<unsigned char> pels(static_cast<std::size_t>(length * rowUpdate));
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(i * 37u + 250u);
    std::vector<long> order(static_cast<std::size_t>(length));
    for (long y = 0; y < length; ++y) order[static_cast<std::size_t>(y)] = length - 1 - y;
    for (const long lanes : {0L, 1L, 5L, 8L})
        qvtest::onEveryInstructionSet([&](const std::string& set) {
            SCOPED_TRACE(set);
            Doubles block(static_cast<std::size_t>(length * kLanes), kUntouched);
            Doubles fromPels = block;
            kernels().loadColumns(at(columns, 1), rowUpdate, lanes, length, block.data());
            kernels().loadPels(pels.data() + 1, rowUpdate, lanes, length, fromPels.data());
            Doubles stored(columns.size(), kUntouched);
            kernels().storeColumns(block.data(), order.data(), lanes, length, at(stored, 1), rowUpdate);
            for (long y = 0; y < length; ++y) {
                for (long lane = 0; lane < kLanes; ++lane) {
                    const long from = y * rowUpdate + 1 + lane;
                    const bool wanted = lane < lanes;
                    ASSERT_EQ(wanted ? *at(columns, from) : 0.0, *at(block, y * kLanes + lane));
                    ASSERT_EQ(wanted ? static_cast<double>(pels[static_cast<std::size_t>(from)]) : 0.0,
                              *at(fromPels, y * kLanes + lane));
                    ASSERT_EQ(wanted ? *at(block, (length - 1 - y) * kLanes + lane) : kUntouched, *at(stored, from));
                }
                ASSERT_EQ(kUntouched, *at(stored, y * rowUpdate));
            }
        });
}

TEST(FourierKernels, TransformOfColumnsTakesMissingRowsAsZero) {
    for (const long length : {4L, 8L, 64L, 256L})
        for (const bool sparse : {false, true}) {
            const qv_FourierPlan plan(length);
            const long rowUpdate = 11;
            const Doubles real = randomDoubles(length * rowUpdate, 1u);
            const Doubles imaginary = randomDoubles(length * rowUpdate, 2u);
            const std::vector<long> slots = slotsOf(length, 4u, sparse);
            Doubles expectedReal(static_cast<std::size_t>(length * kLanes), 0.0);
            Doubles expectedImaginary = expectedReal;
            for (long n = 0; n < length; ++n)
                for (long lane = 0; lane < kLanes; ++lane) {
                    const long slot = slots[static_cast<std::size_t>(n)];
                    if (slot < 0) continue;
                    *at(expectedReal, n * kLanes + lane) = real[static_cast<std::size_t>(slot * rowUpdate + lane)];
                    *at(expectedImaginary, n * kLanes + lane) =
                        imaginary[static_cast<std::size_t>(slot * rowUpdate + lane)];
                }
            qv_kernels_plain::fourierKernels.transform(expectedReal.data(), expectedImaginary.data(), length,
                                                       plan.turns());
            qvtest::onEveryInstructionSet([&](const std::string& set) {
                SCOPED_TRACE(set);
                Doubles blockReal(expectedReal.size(), kUntouched);
                Doubles blockImaginary(expectedReal.size(), kUntouched);
                kernels().transformColumns(real.data(), imaginary.data(), rowUpdate, slots.data(), length, plan.turns(),
                                           blockReal.data(), blockImaginary.data());
                EXPECT_TRUE(sameBits(expectedReal, blockReal)) << length;
                EXPECT_TRUE(sameBits(expectedImaginary, blockImaginary)) << length;
            });
        }
}

TEST(FourierKernels, MirroredRowIsThatOfTheOppositeFrequency) {
    for (const long width : {1L, 2L, 9L, 256L}) {
        const Doubles row = randomDoubles(width, 3u);
        qvtest::onEveryInstructionSet([&](const std::string& set) {
            SCOPED_TRACE(set);
            Doubles mirrored(row.size());
            kernels().mirrorRow(row.data(), -1.0, width, mirrored.data());
            for (long u = 0; u < width; ++u)
                ASSERT_EQ(-row[static_cast<std::size_t>((width - u) % width)], *at(mirrored, u));
        });
    }
}

TEST(FourierKernels, SquaresImaginariesAndTheLargestSquare) {
    const long length = 6;
    const long rowUpdate = 13;
    const long singleUpdate = 9;
    Doubles real = randomDoubles(length * kLanes, 11u);
    Doubles imaginary = randomDoubles(length * kLanes, 12u);
    // Not a number, in one lane: it counts neither as larger nor does it stop the others.
    *at(real, 2 * kLanes + 5) = std::numeric_limits<double>::quiet_NaN();
    const long order[] = {3, 0, 5, 1, 2, 4};
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        Doubles squares(static_cast<std::size_t>(length * rowUpdate), kUntouched);
        std::vector<float> imaginaries(static_cast<std::size_t>(length * singleUpdate), -1.0f);
        const double largest = kernels().storeSquares(real.data(), imaginary.data(), order, 0.7, length, 5.0,
                                                      squares.data(), rowUpdate, imaginaries.data(), singleUpdate);
        double expectedLargest = 5.0;
        for (long y = 0; y < length; ++y) {
            for (long lane = 0; lane < kLanes; ++lane) {
                const double re = *at(real, order[y] * kLanes + lane) * 0.7;
                const double im = *at(imaginary, order[y] * kLanes + lane) * 0.7;
                const double square = re * re + im * im;
                const double stored = *at(squares, y * rowUpdate + lane);
                ASSERT_TRUE(stored == square || (std::isnan(stored) && std::isnan(square)));
                ASSERT_EQ(static_cast<float>(im), imaginaries[static_cast<std::size_t>(y * singleUpdate + lane)]);
                if (square > expectedLargest) expectedLargest = square;
            }
            ASSERT_EQ(kUntouched, *at(squares, y * rowUpdate + kLanes));
            ASSERT_EQ(-1.0f, imaginaries[static_cast<std::size_t>(y * singleUpdate + kLanes)]);
        }
        EXPECT_EQ(expectedLargest, largest);
        EXPECT_EQ(1e9, kernels().storeSquares(real.data(), imaginary.data(), order, 0.7, length, 1e9, squares.data(),
                                              rowUpdate, imaginaries.data(), singleUpdate));
    });
}
