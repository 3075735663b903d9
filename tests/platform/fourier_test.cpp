#include "qvstreet/platform/fourier.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "qvstreet/platform/pel_ops.h"
#include "tests/support/slow_fourier.h"

namespace {

constexpr double kTwoPi = 6.283185307179586;

using Image = qvPelBuffer<unsigned char>;

/// Pels that repeat nowhere near.
Image noise(long width, long height) {
    Image image(width, height, 32);
    std::uint32_t state = 12345;
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            state = state * 1664525U + 1013904223U;
            image.put(x, y, static_cast<unsigned char>(state >> 24));
        }
    return image;
}

Image constant(long width, long height, unsigned char value) {
    Image image(width, height, 32);
    qfPelSet(image, value);
    return image;
}

qvFrequencyBuffer forward(const Image& image) {
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    return spectrum;
}

qvtest::SlowSpectrum slowForward(const Image& image) {
    qvtest::SlowSpectrum pels;
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) pels.emplace_back(image.get(x, y));
    return qvtest::slowTransform(pels, static_cast<std::size_t>(image.width()),
                                 static_cast<std::size_t>(image.height()), -1);
}

/// Elements (u, v) with any whole numbers, counted around the edges.
qvPair<double> at(const qvFrequencyBuffer& spectrum, long u, long v) {
    const long x = ((u % spectrum.width()) + spectrum.width()) % spectrum.width();
    const long y = ((v % spectrum.height()) + spectrum.height()) % spectrum.height();
    return spectrum.get(x, y, false);
}

void expectSameBits(double a, double b) { EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a)) << a << " and " << b; }

struct Size {
    long width;
    long height;
};

// One pel, lines, oblong, odd, prime, powers of two of both kinds, and more than one block of lanes with a remainder.
const Size kSizes[] = {{1, 1},  {1, 7},  {8, 1},   {2, 2},   {5, 3},    {6, 4},    {12, 7},   {16, 8},
                       {32, 2}, {9, 31}, {17, 64}, {64, 17}, {100, 37}, {37, 100}, {256, 12}, {10, 256}};

}  // namespace

TEST(FourierForward, IsTheSumForAnySize) {
    for (const Size& size : kSizes) {
        SCOPED_TRACE(std::to_string(size.width) + " by " + std::to_string(size.height));
        const Image image = noise(size.width, size.height);
        const qvFrequencyBuffer spectrum = forward(image);
        const qvtest::SlowSpectrum truth = slowForward(image);
        ASSERT_EQ(size.width, spectrum.width());
        ASSERT_EQ(size.height, spectrum.height());
        // The sum of all pels is at most 255 width height; rounding grows with a few units of its last place.
        const double tolerance = 1e-14 * 255.0 * static_cast<double>(size.width * size.height);
        for (long v = 0; v < size.height; ++v)
            for (long u = 0; u < size.width; ++u) {
                const auto& expected = truth[static_cast<std::size_t>(v * size.width + u)];
                const qvPair<double> actual = spectrum.get(u, v, false);
                ASSERT_NEAR(static_cast<double>(expected.real()), actual.first, tolerance) << u << ", " << v;
                ASSERT_NEAR(static_cast<double>(expected.imag()), actual.second, tolerance) << u << ", " << v;
            }
    }
}

TEST(FourierForward, LongPrimeLineIsTheSum) {
    const Image image = noise(1009, 1);
    const qvFrequencyBuffer spectrum = forward(image);
    const qvtest::SlowSpectrum truth = slowForward(image);
    for (long u = 0; u < 1009; ++u) {
        const auto& expected = truth[static_cast<std::size_t>(u)];
        ASSERT_NEAR(static_cast<double>(expected.real()), spectrum.get(u, 0, false).first, 1e-8);
        ASSERT_NEAR(static_cast<double>(expected.imag()), spectrum.get(u, 0, false).second, 1e-8);
    }
}

TEST(FourierForward, ZeroFrequencyIsTheSumOfThePelsWithoutScale) {
    const qvFrequencyBuffer spectrum = forward(constant(8, 4, 10));
    EXPECT_EQ(qvPair<double>(320.0, 0.0), spectrum.get(0, 0, false));
    EXPECT_EQ(qvPair<double>(0.0, 0.0), spectrum.get(1, 0, false));
    EXPECT_EQ(qvPair<double>(0.0, 0.0), spectrum.get(0, 3, false));
}

TEST(FourierForward, PhaseRunsBackwardsAlongX) {
    Image image = constant(4, 2, 0);
    image.put(1, 0, 100);
    const qvFrequencyBuffer spectrum = forward(image);
    for (long v = 0; v < 2; ++v) {
        EXPECT_EQ(qvPair<double>(100.0, 0.0), spectrum.get(0, v, false));
        EXPECT_EQ(qvPair<double>(0.0, -100.0), spectrum.get(1, v, false));
        EXPECT_EQ(qvPair<double>(-100.0, 0.0), spectrum.get(2, v, false));
        EXPECT_EQ(qvPair<double>(0.0, 100.0), spectrum.get(3, v, false));
    }
}

TEST(FourierForward, PhaseRunsBackwardsAlongY) {
    Image image = constant(2, 4, 0);
    image.put(0, 1, 100);
    const qvFrequencyBuffer spectrum = forward(image);
    for (long u = 0; u < 2; ++u) {
        EXPECT_EQ(qvPair<double>(0.0, -100.0), spectrum.get(u, 1, false));
        EXPECT_EQ(qvPair<double>(-100.0, 0.0), spectrum.get(u, 2, false));
        EXPECT_EQ(qvPair<double>(0.0, 100.0), spectrum.get(u, 3, false));
    }
}

TEST(FourierForward, ImpulseAnywhereHasUnitWaves) {
    const Size sizes[] = {{12, 7}, {16, 32}, {33, 18}};
    for (const Size& size : sizes)
        for (const qvPair<long> position :
             {qvPair<long>(0, 0), qvPair<long>(size.width - 1, 0), qvPair<long>(0, size.height - 1), qvPair<long>(5, 3),
              qvPair<long>(size.width / 2 + 1, size.height / 2 + 2)}) {
            Image image = constant(size.width, size.height, 0);
            image.put(position.first, position.second, 200);
            const qvFrequencyBuffer spectrum = forward(image);
            for (long v = 0; v < size.height; ++v)
                for (long u = 0; u < size.width; ++u) {
                    const double turns = static_cast<double>(u * position.first) / static_cast<double>(size.width) +
                                         static_cast<double>(v * position.second) / static_cast<double>(size.height);
                    ASSERT_NEAR(200.0 * std::cos(kTwoPi * turns), spectrum.get(u, v, false).first, 1e-10);
                    ASSERT_NEAR(-200.0 * std::sin(kTwoPi * turns), spectrum.get(u, v, false).second, 1e-10);
                }
        }
}

TEST(FourierForward, ShiftedImageTurnsThePhase) {
    const long width = 24;
    const long height = 10;
    const Image image = noise(width, height);
    Image shifted(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) shifted.put((x + 3) % width, (y + 2) % height, image.get(x, y));
    const qvFrequencyBuffer a = forward(image);
    const qvFrequencyBuffer b = forward(shifted);
    for (long v = 0; v < height; ++v)
        for (long u = 0; u < width; ++u) {
            const double turn = -kTwoPi * (static_cast<double>(3 * u) / 24.0 + static_cast<double>(2 * v) / 10.0);
            const qvPair<double> z = a.get(u, v, false);
            ASSERT_NEAR(z.first * std::cos(turn) - z.second * std::sin(turn), b.get(u, v, false).first, 1e-9);
            ASSERT_NEAR(z.first * std::sin(turn) + z.second * std::cos(turn), b.get(u, v, false).second, 1e-9);
        }
}

TEST(FourierForward, OppositeFrequenciesAreConjugate) {
    for (const Size& size : {Size{12, 7}, Size{7, 12}, Size{256, 64}}) {
        const qvFrequencyBuffer spectrum = forward(noise(size.width, size.height));
        for (long v = 0; v < size.height; ++v)
            for (long u = 0; u < size.width; ++u) {
                ASSERT_NEAR(at(spectrum, u, v).first, at(spectrum, -u, -v).first, 1e-9);
                ASSERT_NEAR(at(spectrum, u, v).second, -at(spectrum, -u, -v).second, 1e-9);
            }
    }
}

TEST(FourierForward, PelsCountFromTheWindowWhateverTheOffset) {
    const Image whole = noise(20, 15);
    Image view = whole;
    view.offset(-7, 1000);
    ASSERT_TRUE(view.window(-4, 1002, 11, 6, false));
    Image copy(11, 6, 32);
    for (long y = 0; y < 6; ++y)
        for (long x = 0; x < 11; ++x) copy.put(x, y, whole.get(x + 3, y + 2));
    const qvFrequencyBuffer expected = forward(copy);
    const qvFrequencyBuffer actual = forward(view);
    for (long v = 0; v < 6; ++v)
        for (long u = 0; u < 11; ++u) ASSERT_EQ(expected.get(u, v, false), actual.get(u, v, false));
}

TEST(FourierForward, BottomUpImageIsReadFromItsFirstRow) {
    const unsigned char memory[] = {3, 4, 1, 2};  // rows (1, 2) and (3, 4), the last one first
    const qvPelBuffer_const<unsigned char> image(memory + 2, 2, 2, -2);
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    EXPECT_EQ(10.0, spectrum.get(0, 0, false).first);
    EXPECT_EQ(-2.0, spectrum.get(1, 0, false).first);
    EXPECT_EQ(-4.0, spectrum.get(0, 1, false).first);
}

TEST(FourierForward, SameImageGivesTheSameBits) {
    const Image image = noise(256, 256);
    const qvFrequencyBuffer first = forward(image);
    qvFrequencyBuffer second;
    qf_ForwardFFT(noise(100, 300), second);
    qf_ForwardFFT(image, second);
    for (long v = 0; v < 256; ++v)
        for (long u = 0; u < 256; ++u) {
            expectSameBits(first.get(u, v, false).first, second.get(u, v, false).first);
            expectSameBits(first.get(u, v, false).second, second.get(u, v, false).second);
        }
}

TEST(FourierForward, ImageWithoutPelsIsRefused) {
    qvFrequencyBuffer spectrum;
    EXPECT_THROW(qf_ForwardFFT(Image(), spectrum), qvPel::UnboundWindow);
    Image view(4, 4, 32);
    view.window(9, 9, 2, 2, false);
    EXPECT_THROW(qf_ForwardFFT(view, spectrum), qvPel::BadSize);
}

TEST(FourierInverse, GivesThePelsBackForAnySize) {
    for (const Size& size : kSizes) {
        SCOPED_TRACE(std::to_string(size.width) + " by " + std::to_string(size.height));
        const Image image = noise(size.width, size.height);
        qvPelBuffer<double> real, imaginary;
        qfInverseFFT(forward(image), real, imaginary);
        ASSERT_EQ(size.width, real.width());
        ASSERT_EQ(size.height, imaginary.height());
        for (long y = 0; y < size.height; ++y)
            for (long x = 0; x < size.width; ++x) {
                ASSERT_NEAR(image.get(x, y), real.get(x, y), 1e-11);
                ASSERT_NEAR(0.0, imaginary.get(x, y), 1e-11);
            }
    }
}

TEST(FourierInverse, ComplexSpectrumGivesTheSumDividedByTheCount) {
    const long width = 10;
    const long height = 16;
    qvFrequencyBuffer spectrum(width, height);
    qvtest::SlowSpectrum values;
    for (long v = 0; v < height; ++v)
        for (long u = 0; u < width; ++u) {
            const qvPair<double> z(static_cast<double>((u * 7 + v * 13) % 29),
                                   static_cast<double>((u * u + 3 * v) % 17));
            spectrum.put(u, v, z, false);
            values.emplace_back(z.first, z.second);
        }
    const qvtest::SlowSpectrum truth = qvtest::slowTransform(values, 10, 16, +1);
    qvPelBuffer<double> real, imaginary;
    qfInverseFFT(spectrum, real, imaginary);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const auto& expected = truth[static_cast<std::size_t>(y * width + x)];
            ASSERT_NEAR(static_cast<double>(expected.real()) / 160.0, real.get(x, y), 1e-13);
            ASSERT_NEAR(static_cast<double>(expected.imag()) / 160.0, imaginary.get(x, y), 1e-13);
        }
}

TEST(FourierInverse, PositiveFrequencyTurnsForwards) {
    qvFrequencyBuffer spectrum(4, 2);
    spectrum.put(1, 0, {8.0, 0.0}, false);
    qvPelBuffer<double> real, imaginary;
    qfInverseFFT(spectrum, real, imaginary);
    const double cosine[] = {1.0, 0.0, -1.0, 0.0};
    const double sine[] = {0.0, 1.0, 0.0, -1.0};
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < 4; ++x) {
            EXPECT_EQ(cosine[x], real.get(x, y));
            EXPECT_EQ(sine[x], imaginary.get(x, y));
        }
}

TEST(FourierInverse, DestinationOfTheRightSizeIsWrittenInPlaceWithinItsWindow) {
    qvPelBuffer<double> whole(9, 8, 32);
    qfPelSet(whole, -1.0);
    qvPelBuffer<double> real = whole;
    ASSERT_TRUE(real.window(2, 3, 6, 4, false));
    qvPelBuffer<double> imaginary(6, 4, 32);
    const double* const memory = imaginary.pointToOffset();
    qfInverseFFT(forward(constant(6, 4, 50)), real, imaginary);
    EXPECT_EQ(memory, imaginary.pointToOffset());
    for (long y = 0; y < 8; ++y)
        for (long x = 0; x < 9; ++x) {
            const bool inside = x >= 2 && x < 8 && y >= 3 && y < 7;
            ASSERT_NEAR(inside ? 50.0 : -1.0, whole.get(x, y), 1e-12) << x << ", " << y;
        }
}

TEST(FourierInverse, DestinationOfAnotherSizeBecomesANewImage) {
    qvPelBuffer<double> old(4, 6, 32);
    qfPelSet(old, -1.0);
    qvPelBuffer<double> real = old;
    qfInverseFFT(forward(constant(6, 4, 50)), real);
    EXPECT_EQ(6, real.width());
    EXPECT_EQ(4, real.height());
    EXPECT_EQ(-1.0, old.get(0, 0));
}

TEST(FourierInverse, GreyDestinationIsRoundedHalfUpAndClamped) {
    const double values[] = {2.49, 2.5, 3.0, -0.6, 254.5, 300.0, std::nan("")};
    const unsigned char greys[] = {2, 3, 3, 0, 255, 255, 0};
    for (int i = 0; i < 7; ++i) {
        qvFrequencyBuffer spectrum(1, 1);
        spectrum.put(0, 0, {values[i], 99.0}, false);
        Image image;
        qfInverseFFT(spectrum, image);
        EXPECT_EQ(greys[i], image.get(0, 0)) << values[i];
    }
}

TEST(FourierInverse, GreyDestinationGivesTheImageBack) {
    const Image image = noise(21, 16);
    Image back;
    qfInverseFFT(forward(image), back);
    ASSERT_EQ(21, back.width());
    for (long y = 0; y < 16; ++y)
        for (long x = 0; x < 21; ++x) ASSERT_EQ(image.get(x, y), back.get(x, y));
}

TEST(FourierInverse, NoSpectrumAndUnknownFlagsAreRefused) {
    qvPelBuffer<double> real, imaginary;
    EXPECT_THROW(qfInverseFFT(qvFrequencyBuffer(), real, imaginary), qvPel::BadSize);
    EXPECT_THROW(qfInverseFFT(qvFrequencyBuffer(2, 2), real, imaginary, 1), qvInvariantFailure);
    EXPECT_FALSE(real.isBound());
}
