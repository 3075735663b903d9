#include "qvstreet/platform/gabor.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const double kPi = 3.141592653589793;

/// The filter's gain at every element: what it makes of a spectrum of ones.
qvFrequencyBuffer gains(const qvFrequencyFilterGabor& filter, long width, long height) {
    qvFrequencyBuffer ones(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) ones.put(x, y, {1.0, 0.0}, false);
    qvFrequencyBuffer result;
    filter.apply(ones, result);
    return result;
}

double gain(const qvFrequencyBuffer& spectrum, long u, long v) {
    return spectrum.get((u + spectrum.width()) % spectrum.width(), (v + spectrum.height()) % spectrum.height(), false)
        .first;
}

qvFrequencyFilterGabor filterOf(double sigmaU, double sigmaV, double radians, double centre, long width, long height) {
    qvFrequencyFilterGabor filter;
    filter.set({sigmaU, sigmaV}, {0.0, 0.0}, qvRadian(radians), centre, {width, height}, 1);
    return filter;
}

}  // namespace

TEST(Gabor, LobeStandsAtPlusTheCentreFrequency) {
    // One element is 1/20 cycle per pel along x and 1/10 along y.
    const qvFrequencyBuffer g = gains(filterOf(0.1, 0.05, 0.0, 0.2, 20, 10), 20, 10);
    EXPECT_NEAR(1.0, gain(g, 4, 0), 1e-15);
    EXPECT_NEAR(std::exp(-0.5), gain(g, 6, 0), 1e-12);
    EXPECT_NEAR(std::exp(-0.5), gain(g, 2, 0), 1e-12);
    EXPECT_NEAR(std::exp(-2.0), gain(g, 4, 1), 1e-12);
    EXPECT_NEAR(std::exp(-2.0), gain(g, 4, -1), 1e-12);
    EXPECT_NEAR(std::exp(-8.0), gain(g, -4, 0), 1e-12);
}

TEST(Gabor, ZeroFrequencyIsCut) {
    const qvFrequencyBuffer g = gains(filterOf(0.1, 0.05, 0.0, 0.1, 20, 10), 20, 10);
    EXPECT_EQ(0.0, gain(g, 0, 0));
    EXPECT_NEAR(std::exp(-0.125), gain(g, 1, 0), 1e-12);
    EXPECT_NEAR(std::exp(-0.5 - 2.0), gain(g, 0, 1), 1e-12);
}

TEST(Gabor, AngleTurnsFromPlusXTowardsPlusY) {
    const qvFrequencyBuffer g = gains(filterOf(0.1, 0.05, kPi / 2.0, 0.2, 20, 10), 20, 10);
    EXPECT_NEAR(1.0, gain(g, 0, 2), 1e-15);
    EXPECT_NEAR(std::exp(-8.0), gain(g, 0, -2), 1e-12);
    EXPECT_NEAR(std::exp(-0.5), gain(g, 0, 3), 1e-12);
    EXPECT_NEAR(std::exp(-0.5), gain(g, 1, 2), 1e-12);
}

TEST(Gabor, FirstSigmaRunsAlongTheAngleAndSecondAcross) {
    // cos = 0.8 and sin = 0.6: the lobe stands at (0.2, 0.15), on an oblong spectrum at element (4, 6).
    const qvFrequencyBuffer g = gains(filterOf(0.25, 0.125, std::atan2(3.0, 4.0), 0.25, 20, 40), 20, 40);
    EXPECT_NEAR(1.0, gain(g, 4, 6), 1e-14);
    EXPECT_NEAR(std::exp(-0.5), gain(g, 8, 12), 1e-12);
    EXPECT_NEAR(std::exp(-2.0), gain(g, 1, 14), 1e-12);
    EXPECT_NEAR(std::exp(-2.0), gain(g, 7, -2), 1e-12);
    // A filter turned the other way would have its lobe here: 0.18 short of ours along the angle, and 0.24 beside it.
    EXPECT_NEAR(std::exp(-0.18 * 0.18 / 0.125 - 0.24 * 0.24 / 0.03125), gain(g, 4, -6), 1e-12);
}

TEST(Gabor, FrequenciesRunFromMinusHalfUpToBelowHalf) {
    // The middle element of an even width is -0.5, 1.0 away from a lobe at +0.5.
    const qvFrequencyBuffer even = gains(filterOf(0.5, 0.5, 0.0, 0.5, 4, 4), 4, 4);
    EXPECT_NEAR(std::exp(-2.0), gain(even, 2, 0), 1e-15);
    EXPECT_NEAR(std::exp(-0.125), gain(even, 1, 0), 1e-15);
    // Of an odd width, elements 2 and 3 are +0.4 and -0.4.
    const qvFrequencyBuffer odd = gains(filterOf(0.4, 0.4, 0.0, 0.4, 5, 5), 5, 5);
    EXPECT_NEAR(1.0, gain(odd, 2, 0), 1e-15);
    EXPECT_NEAR(std::exp(-2.0), gain(odd, 3, 0), 1e-15);
    EXPECT_NEAR(std::exp(-0.5), gain(odd, 2, 2), 1e-15);
    EXPECT_NEAR(std::exp(-0.5), gain(odd, 2, 3), 1e-15);
}

TEST(Gabor, AngleReplacesTheOneThatWasSet) {
    qvFrequencyFilterGabor filter = filterOf(0.1, 0.05, 0.7, 0.2, 20, 10);
    filter.angle(qvDegree(90.0));
    EXPECT_EQ(kPi / 2.0, filter.angle().toDouble());
    EXPECT_NEAR(1.0, gain(gains(filter, 20, 10), 0, 2), 1e-15);
    filter.set({0.1, 0.05}, {0.0, 0.0}, qvRadian(0.0), 0.2, {20, 10}, 1);
    EXPECT_NEAR(1.0, gain(gains(filter, 20, 10), 4, 0), 1e-15);
}

TEST(Gabor, BothPartsAreMultiplied) {
    qvFrequencyBuffer spectrum(20, 10);
    spectrum.put(6, 0, {3.0, -7.0}, false);
    qvFrequencyBuffer result;
    filterOf(0.1, 0.05, 0.0, 0.2, 20, 10).apply(spectrum, result);
    EXPECT_NEAR(3.0 * std::exp(-0.5), result.get(6, 0, false).first, 1e-12);
    EXPECT_NEAR(-7.0 * std::exp(-0.5), result.get(6, 0, false).second, 1e-12);
    EXPECT_EQ(3.0, spectrum.get(6, 0, false).first);
}

TEST(Gabor, WorksInPlace) {
    qvFrequencyBuffer spectrum(20, 10);
    spectrum.put(6, 0, {3.0, -7.0}, false);
    filterOf(0.1, 0.05, 0.0, 0.2, 20, 10).apply(spectrum, spectrum);
    EXPECT_NEAR(-7.0 * std::exp(-0.5), spectrum.get(6, 0, false).second, 1e-12);
}

TEST(Gabor, RealPartAnswersToRidgesAndImaginaryPartToEdges) {
    // Bright ridges at x = 3, 19, ...: rising edges 4 pels before them, falling edges 4 pels behind.
    qvPelBuffer<unsigned char> image(32, 12, 32);
    for (long y = 0; y < 12; ++y)
        for (long x = 0; x < 32; ++x)
            image.put(
                x, y,
                static_cast<unsigned char>(128.5 + 100.0 * std::cos(2.0 * kPi * static_cast<double>(x - 3) / 16.0)));
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    filterOf(0.01, 0.01, 0.0, 1.0 / 16.0, 32, 12).apply(spectrum, spectrum);
    qvPelBuffer<double> real, imaginary;
    qfInverseFFT(spectrum, real, imaginary);
    for (long y = 0; y < 12; ++y) {
        EXPECT_NEAR(50.0, real.get(3, y), 0.3);
        EXPECT_NEAR(0.0, imaginary.get(3, y), 0.3);
        EXPECT_NEAR(-50.0, real.get(11, y), 0.3);
        EXPECT_NEAR(-50.0, imaginary.get(15, y), 0.3);  // rises towards 19
        EXPECT_NEAR(50.0, imaginary.get(7, y), 0.3);    // falls from 3
    }
}

TEST(Gabor, PassesTheGratingThatRunsAcrossItsAngle) {
    // Wave vector (3/24, 2/16) cycles per pel, at +45 degrees; stripes at -45 degrees.
    qvPelBuffer<unsigned char> image(24, 16, 32);
    for (long y = 0; y < 16; ++y)
        for (long x = 0; x < 24; ++x) image.put(x, y, static_cast<unsigned char>((x + y) % 8 < 4 ? 200 : 100));
    qvFrequencyBuffer spectrum, filtered;
    qf_ForwardFFT(image, spectrum);
    qvFrequencyFilterGabor filter = filterOf(0.02, 0.02, 0.0, std::sqrt(2.0) / 8.0, 24, 16);
    qvPelBuffer<double> real, imaginary;
    // A square wave of 4 and 4 pels, its amplitude 50: 50 / 4 / sin(pi / 8) in one of the two lobes.
    const double expected[] = {12.5 / std::sin(kPi / 8.0), 0.0, 12.5 / std::sin(kPi / 8.0), 0.0};
    const double degrees[] = {45.0, -45.0, 225.0, 135.0};
    for (int i = 0; i < 4; ++i) {
        filter.angle(qvDegree(degrees[i]));
        filter.apply(spectrum, filtered);
        qfInverseFFT(filtered, real, imaginary);
        EXPECT_NEAR(expected[i], std::hypot(real.get(7, 5), imaginary.get(7, 5)), 1e-6) << degrees[i];
    }
}

TEST(Gabor, SpectrumOfAnotherSizeIsRefused) {
    qvFrequencyBuffer result(2, 2);
    EXPECT_THROW(filterOf(0.1, 0.1, 0.0, 0.2, 20, 10).apply(qvFrequencyBuffer(10, 20), result), qvPel::SizeMismatch);
    EXPECT_THROW(qvFrequencyFilterGabor().apply(qvFrequencyBuffer(), result), qvPel::SizeMismatch);
    EXPECT_EQ(2, result.width());
}

TEST(Gabor, OnlyOneLobeWithoutSpreadCanBeSet) {
    qvFrequencyFilterGabor filter;
    EXPECT_THROW(filter.set({0.1, 0.1}, {0.0, 0.1}, qvRadian(0.0), 0.2, {4, 4}, 1), qvInvariantFailure);
    EXPECT_THROW(filter.set({0.1, 0.1}, {0.0, 0.0}, qvRadian(0.0), 0.2, {4, 4}, 2), qvInvariantFailure);
}

TEST(Gabor, PartOfASpectrumOfAnotherSizeIsRefused) {
    std::vector<double> real(4, 7.0);
    std::vector<double> imaginary(4, 8.0);
    const qvFrequencyFilterGabor filter = filterOf(0.1, 0.1, 0.0, 0.2, 20, 10);
    EXPECT_THROW(filter.applyTo(qvFrequencyBuffer(10, 20), 0, 0, 2, 2, real.data(), imaginary.data(), 2),
                 qvPel::SizeMismatch);
    EXPECT_THROW(qvFrequencyFilterGabor().applyTo(qvFrequencyBuffer(), 0, 0, 2, 2, real.data(), imaginary.data(), 2),
                 qvPel::SizeMismatch);
    EXPECT_EQ(real[0], 7.0);
    EXPECT_NO_THROW(filter.applyTo(qvFrequencyBuffer(20, 10), 0, 0, 2, 2, real.data(), imaginary.data(), 2));
    EXPECT_EQ(real[0], 0.0);
}
