#include "qvstreet/platform/gabor_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "qvstreet/platform/gabor.h"
#include "tests/support/every_instruction_set.h"

namespace {

using Doubles = std::vector<double>;

/// A lobe at zero whose exponent is u^2.
constexpr qv_GaborLobe kPlainLobe{1.0, 0.0, 0.0, 1.0, 1.0};

/// Gains at frequencies (u, v) for spectra of ones.
Doubles gainsOf(const Doubles& u, double v, const qv_GaborLobe& lobe) {
    const Doubles ones(u.size(), 1.0);
    Doubles real(u.size());
    Doubles imaginary(u.size());
    const long count = static_cast<long>(u.size());
    QV_CHOSEN_KERNELS(gaborKernels)
        .filter(ones.data(), ones.data(), count, u.data(), &v, count, 0, 1, 1, lobe, nullptr, real.data(),
                imaginary.data(), count);
    EXPECT_EQ(real, imaginary);
    return real;
}

bool sameBits(const Doubles& a, const Doubles& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

qvFrequencyBuffer randomSpectrum(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(0.5, 2.0);
    qvFrequencyBuffer spectrum(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) spectrum.put(x, y, {uniform(random), uniform(random)}, false);
    return spectrum;
}

qvFrequencyFilterGabor randomFilter(std::mt19937& random, long width, long height) {
    std::uniform_real_distribution<double> sigma(0.002, 0.12);
    std::uniform_real_distribution<double> centre(0.0, 0.6);
    std::uniform_real_distribution<double> degrees(-180.0, 180.0);
    qvFrequencyFilterGabor filter;
    const double first = sigma(random);
    const double second = sigma(random);
    filter.set({first, second}, {0.0, 0.0}, qvRadian(0.0), centre(random), {width, height}, 1);
    filter.angle(qvDegree(degrees(random)));
    return filter;
}

/// The exponent in the order of the definition.
double exponentOf(const qv_GaborLobe& lobe, double u, double v) {
    const double along = u * lobe.cosine + v * lobe.sine - lobe.centre;
    const double across = v * lobe.cosine - u * lobe.sine;
    return along * along * lobe.weightAlong + across * across * lobe.weightAcross;
}

double frequencyOf(long element, long size) {
    const long signedElement = 2 * element < size ? element : element - size;
    return static_cast<double>(signedElement) / static_cast<double>(size);
}

struct Sigmas {
    double along;
    double across;
};

/// Holds every gain of a filter against the definition; `largestError` gets the largest relative error.
void expectGainsOfDefinition(const Sigmas& sigmas, double radians, double centre, long width, long height,
                             double& largestError) {
    qvFrequencyFilterGabor filter;
    filter.set({sigmas.along, sigmas.across}, {0.0, 0.0}, qvRadian(0.0), centre, {width, height}, 1);
    filter.angle(qvRadian(radians));
    const qv_GaborLobe lobe{qfCos(qvRadian(radians)), qfSin(qvRadian(radians)), centre,
                            1.0 / (2.0 * sigmas.along * sigmas.along), 1.0 / (2.0 * sigmas.across * sigmas.across)};
    qvFrequencyBuffer spectrum(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) spectrum.put(x, y, {1.0, 1.0}, false);
    filter.apply(spectrum, spectrum);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const double exponent = exponentOf(lobe, frequencyOf(x, width), frequencyOf(y, height));
            const double gain = spectrum.realRow(y)[x];
            ASSERT_EQ(gain, spectrum.imaginaryRow(y)[x]);
            if (!(exponent <= kGaborMostExponent) || (x == 0 && y == 0)) {
                ASSERT_EQ(0.0, gain) << x << " " << y;
                continue;
            }
            largestError = std::max(largestError, std::fabs(gain / std::exp(-exponent) - 1.0));
            // An exponent is itself no nearer to the truth than some units in its last place.
            ASSERT_NEAR(gain / std::exp(-exponent), 1.0, 4e-15 + 1e-15 * exponent) << x << " " << y;
        }
}

bool isIn(const qv_ElementRange& range, long element, long size) {
    const long signedElement = 2 * element < size ? element : element - size;
    return signedElement >= range.first && signedElement < range.end;
}

}  // namespace

TEST(GaborKernels, GainIsTheExponentialToTheLastBits) {
    Doubles u;
    for (int i = 1; i <= 4551; ++i) u.push_back(static_cast<double>(i) * 0.001);
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        const Doubles gains = gainsOf(u, 0.0, kPlainLobe);
        for (std::size_t i = 0; i < u.size(); ++i) {
            const double expected = std::exp(-(u[i] * u[i]));
            ASSERT_NEAR(gains[i] / expected, 1.0, 4.5e-16) << u[i];
        }
        EXPECT_EQ(1.0, gainsOf({1e-9}, 0.0, kPlainLobe)[0]);
    });
}

TEST(GaborKernels, GainBelowTheBoundIsExactlyZero) {
    // 9 ln 10 = 20.7232..., the square of 4.55228...
    qvtest::onEveryInstructionSet([](const std::string& set) {
        SCOPED_TRACE(set);
        const Doubles gains = gainsOf({4.5522, 4.5523, 4.6, 1e3, 1e200, std::numeric_limits<double>::infinity(),
                                       std::numeric_limits<double>::quiet_NaN(), -4.5522, -4.5523},
                                      0.0, kPlainLobe);
        EXPECT_NEAR(gains[0] / 1e-9, 1.0, 1e-3);
        EXPECT_GT(gains[0], 1e-9);
        for (const std::size_t i : {1u, 2u, 3u, 4u, 5u, 6u, 8u}) EXPECT_EQ(0.0, gains[i]) << i;
        EXPECT_EQ(gains[0], gains[7]);
    });
}

TEST(GaborKernels, OnlyZeroFrequencyIsCut) {
    qvtest::onEveryInstructionSet([](const std::string& set) {
        SCOPED_TRACE(set);
        for (const std::size_t zeroAt : {0u, 3u, 8u}) {
            Doubles u(10, 0.25);
            u[zeroAt] = 0.0;
            const Doubles cut = gainsOf(u, 0.0, kPlainLobe);
            const Doubles kept = gainsOf(u, 0.5, kPlainLobe);
            for (std::size_t i = 0; i < u.size(); ++i) EXPECT_EQ(i == zeroAt, cut[i] == 0.0);
            EXPECT_NEAR(kept[zeroAt], std::exp(-0.25), 1e-15);
        }
    });
}

TEST(GaborKernels, EveryVersionGivesTheSameBitsOfAnyRectangle) {
    std::mt19937 random(21u);
    for (int round = 0; round < 12; ++round) {
        const long width = 1 + static_cast<long>(random() % 70u);
        const long height = 1 + static_cast<long>(random() % 30u);
        const qvFrequencyBuffer spectrum = randomSpectrum(width, height, 100u + static_cast<unsigned>(round));
        const qvFrequencyFilterGabor filter = randomFilter(random, width, height);
        const long column = static_cast<long>(random() % static_cast<unsigned>(width));
        const long row = static_cast<long>(random() % static_cast<unsigned>(height));
        const long columns = width - column;
        const long rows = height - row;
        const long rowUpdate = columns + static_cast<long>(random() % 5u);
        Doubles plain;
        qvtest::onEveryInstructionSet([&](const std::string& set) {
            SCOPED_TRACE(set);
            qvFrequencyBuffer filtered;
            filter.apply(spectrum, filtered);
            Doubles real(static_cast<std::size_t>(rowUpdate * rows), -5.0);
            Doubles imaginary = real;
            filter.applyTo(spectrum, column, row, columns, rows, real.data(), imaginary.data(), rowUpdate);
            // A part is what the whole is there, whatever stands beside it.
            for (long y = 0; y < rows; ++y)
                for (long x = 0; x < rowUpdate; ++x) {
                    const auto i = static_cast<std::size_t>(y * rowUpdate + x);
                    ASSERT_EQ(x < columns ? filtered.realRow(row + y)[column + x] : -5.0, real[i]);
                    ASSERT_EQ(x < columns ? filtered.imaginaryRow(row + y)[column + x] : -5.0, imaginary[i]);
                }
            real.insert(real.end(), imaginary.begin(), imaginary.end());
            if (plain.empty()) plain = real;
            EXPECT_TRUE(sameBits(plain, real));
        });
    }
}

TEST(GaborKernels, RowsOfAWholeBlockAreTheAnchorTimesTheirFactors) {
    // Rows 0 to 7 are a block, in which the frequencies rise, and row 8 and 9 are the rest of another.
    const Doubles v{0.1, 0.15, 0.2, 0.25, 0.3, 0.35, 0.4, 0.45, -0.5, -0.45};
    const Doubles factors{3.0, 5.0, 7.0, 9.0, 1.0, 11.0, 13.0, 17.0};
    const Doubles u{0.0, 0.25, 0.5};
    const Doubles columnSteps{1.0, 2.0, 4.0};
    const Doubles ones(30, 1.0);
    // Nothing surely inside or outside.
    qv_GaborSteps steps{nullptr, factors.data(), -1.0, 1e9};
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        for (const bool twisted : {false, true})
            for (const long first : {0L, 3L, 6L}) {
                steps.columns = twisted ? columnSteps.data() : nullptr;
                Doubles real(30), imaginary(30);
                QV_CHOSEN_KERNELS(gaborKernels)
                    .filter(ones.data(), ones.data(), 3, u.data(), v.data(), 3, first, 10 - first, 10, kPlainLobe,
                            &steps, real.data(), imaginary.data(), 3);
                for (long y = first; y < 10; ++y)
                    for (long x = 0; x < 3; ++x) {
                        const auto column = static_cast<std::size_t>(x);
                        const auto row = static_cast<std::size_t>(y);
                        double expected = std::exp(-(u[column] * u[column] + v[row] * v[row]));
                        if (y < 8)
                            expected = std::exp(-(u[column] * u[column] + 0.09)) * factors[row] *
                                       (twisted ? std::pow(columnSteps[column], static_cast<double>(y - 4)) : 1.0);
                        const double gain = real[static_cast<std::size_t>((y - first) * 3 + x)];
                        ASSERT_NEAR(gain / expected, 1.0, 1e-14) << x << " " << y << " " << twisted;
                    }
            }
    });
}

TEST(GaborKernels, BlocksInWhichTheFrequenciesLeapDoWithoutSteps) {
    const Doubles v{0.3, 0.35, 0.4, 0.45, -0.5, -0.45, -0.4, -0.35};
    const Doubles factors(8, 2.0);
    const Doubles ones(8, 1.0);
    const qv_GaborSteps steps{nullptr, factors.data(), 20.0, 21.0};
    const double u = 0.5;
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        Doubles real(8), imaginary(8);
        QV_CHOSEN_KERNELS(gaborKernels)
            .filter(ones.data(), ones.data(), 1, &u, v.data(), 1, 0, 8, 8, kPlainLobe, &steps, real.data(),
                    imaginary.data(), 1);
        for (std::size_t y = 0; y < 8; ++y) EXPECT_NEAR(real[y] / std::exp(-0.25 - v[y] * v[y]), 1.0, 1e-15) << y;
    });
}

TEST(GaborKernels, ExponentialsOfBothSigns) {
    Doubles x;
    for (int i = -2072; i <= 2072; ++i) x.push_back(static_cast<double>(i) * 0.01);
    Doubles plain;
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        Doubles out(x.size());
        QV_CHOSEN_KERNELS(gaborKernels).exponentials(x.data(), static_cast<long>(x.size()), out.data());
        for (std::size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(out[i] / std::exp(-x[i]), 1.0, 4.5e-16) << x[i];
        if (plain.empty()) plain = out;
        EXPECT_TRUE(sameBits(plain, out));
    });
}

TEST(GaborFilter, GainsAreThoseOfTheDefinitionToTheRoundingOfExponents) {
    qvtest::onEveryInstructionSet([](const std::string& set) {
        SCOPED_TRACE(set);
        std::mt19937 random(31u);
        std::uniform_real_distribution<double> sigma(0.03, 0.2);
        std::uniform_real_distribution<double> radians(-3.2, 3.2);
        std::uniform_real_distribution<double> centre(-0.3, 0.6);
        double largestError = 0.0;
        for (const long height : {256L, 128L, 60L, 16L, 8L, 7L})
            for (int round = 0; round < 10; ++round) {
                const double along = sigma(random);
                const double across = round % 2 == 0 ? along : sigma(random);
                const double turn = radians(random);
                const double middle = centre(random);
                SCOPED_TRACE(testing::Message()
                             << height << " " << along << " " << across << " " << turn << " " << middle);
                expectGainsOfDefinition({along, across}, turn, middle, 20 + round, height, largestError);
            }
        // Products come a little less close than exponentials: some gains have been made of them.
        EXPECT_GT(largestError, 5e-16);
    });
}

TEST(GaborFilter, StrangeSigmasAndCentresGiveTheGainsOfTheDefinition) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double none = std::numeric_limits<double>::quiet_NaN();
    const Sigmas strange[] = {{infinity, infinity}, {infinity, 0.1}, {0.1, infinity}, {none, 0.1},  {0.1, none},
                              {1e-200, 0.1},        {0.1, 1e-5},     {1e200, 0.01},   {1e-4, 1e-4}, {-0.1, 0.1}};
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        double largestError = 0.0;
        for (const Sigmas& sigmas : strange)
            for (const double centre : {0.0, 0.25, 1e3, 1e200, infinity, none})
                for (const double radians : {0.0, 0.02, 1.5, none}) {
                    SCOPED_TRACE(testing::Message()
                                 << sigmas.along << " " << sigmas.across << " " << centre << " " << radians);
                    expectGainsOfDefinition(sigmas, radians, centre, 21, 32, largestError);
                }
    });
}

TEST(GaborFilter, OutsideTheLiveColumnsAndRowsAllGainsAreZero) {
    std::mt19937 random(8u);
    long dead = 0;
    for (int round = 0; round < 60; ++round) {
        const long width = round % 3 == 0 ? 64 : 33;
        const long height = round % 2 == 0 ? 48 : 128;
        const qvFrequencyFilterGabor filter = randomFilter(random, width, height);
        qvFrequencyBuffer filtered;
        filter.apply(randomSpectrum(width, height, 1u), filtered);
        const qv_ElementRange columns = filter.liveColumns();
        const qv_ElementRange rows = filter.liveRows();
        ASSERT_LT(columns.first, columns.end);
        ASSERT_LT(rows.first, rows.end);
        ASSERT_GE(columns.first, -(width / 2));
        ASSERT_LE(columns.end, width - width / 2);
        for (long y = 0; y < height; ++y)
            for (long x = 0; x < width; ++x) {
                if (isIn(columns, x, width) && isIn(rows, y, height)) continue;
                ++dead;
                ASSERT_EQ(0.0, filtered.realRow(y)[x]) << x << " " << y;
                ASSERT_EQ(0.0, filtered.imaginaryRow(y)[x]) << x << " " << y;
            }
    }
    EXPECT_GT(dead, 60000);
}

TEST(GaborFilter, LiveRangesReachSixAndAHalfSigmas) {
    qvFrequencyFilterGabor filter;
    filter.set({0.02, 0.005}, {0.0, 0.0}, qvRadian(0.0), 0.1, {256, 128}, 1);
    // sqrt(2 * 20.7232...) = 6.43796: along u 25.6 -+ 32.96 elements of 1/256, along v -+ 4.12 of 1/128, and one more.
    EXPECT_EQ(-9, filter.liveColumns().first);
    EXPECT_EQ(61, filter.liveColumns().end);
    EXPECT_EQ(-6, filter.liveRows().first);
    EXPECT_EQ(7, filter.liveRows().end);
}

TEST(GaborFilter, ALobeBeyondAllFrequenciesCallsAllElementsLive) {
    qvFrequencyFilterGabor filter;
    filter.set({0.001, 0.001}, {0.0, 0.0}, qvRadian(0.0), 0.9, {64, 33}, 1);
    EXPECT_EQ(-32, filter.liveColumns().first);
    EXPECT_EQ(32, filter.liveColumns().end);
    filter.set({std::numeric_limits<double>::quiet_NaN(), 0.1}, {0.0, 0.0}, qvRadian(0.0), 0.1, {64, 33}, 1);
    EXPECT_EQ(-16, filter.liveRows().first);
    EXPECT_EQ(17, filter.liveRows().end);
}
