#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/pel_ops.h"

TEST(FrequencyBuffer, StartsWithoutElementsOrWithZeros) {
    EXPECT_EQ(0, qvFrequencyBuffer().width());
    EXPECT_EQ(0, qvFrequencyBuffer().height());
    const qvFrequencyBuffer spectrum(5, 3);
    EXPECT_EQ(5, spectrum.width());
    EXPECT_EQ(3, spectrum.height());
    for (long y = 0; y < 3; ++y)
        for (long x = 0; x < 5; ++x) EXPECT_EQ(qvPair<double>(0.0, 0.0), spectrum.get(x, y, false));
}

TEST(FrequencyBuffer, ImpossibleSizesAreRefused) {
    EXPECT_THROW(qvFrequencyBuffer(0, 4), qvPel::BadSize);
    EXPECT_THROW(qvFrequencyBuffer(4, -1), qvPel::BadSize);
    EXPECT_THROW(qvFrequencyBuffer(2147483647, 2147483647), qvPel::BadSize);
    EXPECT_THROW(qvFrequencyBuffer(std::numeric_limits<long>::max(), 1), qvPel::BadSize);
    qvFrequencyBuffer spectrum(5, 3);
    EXPECT_THROW(spectrum.resize(5, 0), qvPel::BadSize);
    EXPECT_EQ(3, spectrum.height());
}

TEST(FrequencyBuffer, CentredZeroFrequencyStandsAtHalfTheSize) {
    // Even width 4: columns -2, -1, 0, 1. Odd height 5: rows -2 to 2.
    qvFrequencyBuffer spectrum(4, 5);
    for (long y = 0; y < 5; ++y)
        for (long x = 0; x < 4; ++x) spectrum.put(x, y, {static_cast<double>(x), static_cast<double>(y)}, false);
    const double columns[] = {2.0, 3.0, 0.0, 1.0};
    const double rows[] = {3.0, 4.0, 0.0, 1.0, 2.0};
    for (long y = 0; y < 5; ++y)
        for (long x = 0; x < 4; ++x)
            EXPECT_EQ(qvPair<double>(columns[x], rows[y]), spectrum.get(x, y, true)) << x << ", " << y;
}

TEST(FrequencyBuffer, CentredPutIsReadBackCentred) {
    qvFrequencyBuffer spectrum(5, 4);
    spectrum.put(2, 2, {7.0, 0.0}, true);
    EXPECT_EQ(7.0, spectrum.get(0, 0, false).first);
    spectrum.put(0, 3, {8.0, 9.0}, true);
    EXPECT_EQ(qvPair<double>(8.0, 9.0), spectrum.get(3, 1, false));
    EXPECT_EQ(qvPair<double>(8.0, 9.0), spectrum.get(0, 3, true));
}

TEST(FrequencyBuffer, ElementsOutsideAreABrokenPromise) {
    qvFrequencyBuffer spectrum(4, 3);
    EXPECT_THROW(spectrum.get(4, 0, false), qvInvariantFailure);
    EXPECT_THROW(spectrum.get(0, 3, true), qvInvariantFailure);
    EXPECT_THROW(spectrum.get(-1, 0, true), qvInvariantFailure);
    EXPECT_THROW(spectrum.put(0, -1, {1.0, 1.0}, false), qvInvariantFailure);
}

TEST(FrequencyBuffer, MagnitudeImageFollowsTheSameFlag) {
    qvFrequencyBuffer spectrum(5, 4);
    spectrum.put(0, 0, {-3.0, 4.0}, false);
    spectrum.put(4, 1, {5.0, -12.0}, false);  // frequency (-1, 1)
    const qvPelBuffer<double> plain = spectrum.getMagnitudeImage(false);
    EXPECT_EQ(5.0, plain.get(0, 0));
    EXPECT_EQ(13.0, plain.get(4, 1));
    const qvPelBuffer<double> centred = spectrum.getMagnitudeImage(true);
    EXPECT_EQ(5.0, centred.get(2, 2));
    EXPECT_EQ(13.0, centred.get(1, 3));
    double sum = 0.0;
    for (long y = 0; y < 4; ++y)
        for (long x = 0; x < 5; ++x) {
            sum += centred.get(x, y);
            const qvPair<double> z = spectrum.get(x, y, true);
            EXPECT_EQ(std::sqrt(z.first * z.first + z.second * z.second), centred.get(x, y));
        }
    EXPECT_EQ(18.0, sum);
    EXPECT_THROW(qvFrequencyBuffer().getMagnitudeImage(true), qvPel::BadSize);
}

TEST(FrequencyBuffer, CopiesAreIndependent) {
    qvFrequencyBuffer original(3, 2);
    original.put(1, 1, {4.0, 5.0}, false);
    qvFrequencyBuffer copy = original;
    copy.put(1, 1, {6.0, 7.0}, false);
    EXPECT_EQ(qvPair<double>(4.0, 5.0), original.get(1, 1, false));
    original = copy;
    copy.put(1, 1, {0.0, 0.0}, false);
    EXPECT_EQ(qvPair<double>(6.0, 7.0), original.get(1, 1, false));
}

TEST(FrequencyBuffer, MovingLeavesNoElements) {
    qvFrequencyBuffer original(3, 2);
    original.put(2, 0, {4.0, 5.0}, false);
    qvFrequencyBuffer taken(std::move(original));
    EXPECT_EQ(0, original.width());
    EXPECT_EQ(0, original.height());
    qvFrequencyBuffer assigned(9, 9);
    assigned = std::move(taken);
    EXPECT_EQ(3, assigned.width());
    EXPECT_EQ(qvPair<double>(4.0, 5.0), assigned.get(2, 0, false));
    EXPECT_EQ(0, taken.width());
}

TEST(FrequencyBuffer, KeepsItsMemoryForASpectrumThatFits) {
    qvFrequencyBuffer spectrum(64, 32);
    const double* const memory = spectrum.realRow(0);
    qvPelBuffer<unsigned char> image(30, 40, 32);
    qfPelSet<unsigned char>(image, 1);
    qf_ForwardFFT(image, spectrum);
    EXPECT_EQ(memory, spectrum.realRow(0));
    EXPECT_EQ(30, spectrum.width());
    EXPECT_EQ(40, spectrum.height());
}

TEST(FrequencyBuffer, RowsAreAnOddNumberOfCacheLinesApart) {
    EXPECT_EQ(264, qvFrequencyBuffer(256, 2).rowUpdate());
    EXPECT_EQ(8, qvFrequencyBuffer(8, 2).rowUpdate());
    EXPECT_EQ(24, qvFrequencyBuffer(9, 2).rowUpdate());
    const qvFrequencyBuffer spectrum(9, 2);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(spectrum.realRow(1)) % 64);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(spectrum.imaginaryRow(1)) % 64);
}

TEST(FrequencyBuffer, ElementsAreRefusedOnAllFourSides) {
    qvFrequencyBuffer spectrum(4, 3);
    for (const qvPair<long>& place :
         {qvPair<long>(-1, 1), qvPair<long>(4, 1), qvPair<long>(1, -1), qvPair<long>(1, 3)}) {
        EXPECT_THROW(spectrum.get(place.first, place.second, false), qvInvariantFailure);
        EXPECT_THROW(spectrum.put(place.first, place.second, {1.0, 1.0}, true), qvInvariantFailure);
    }
    for (const qvPair<long>& place : {qvPair<long>(0, 0), qvPair<long>(3, 0), qvPair<long>(0, 2), qvPair<long>(3, 2)})
        EXPECT_EQ(spectrum.get(place.first, place.second, true), qvPair<double>(0.0, 0.0));
}

TEST(FrequencyBuffer, SideThatIsTooLongIsRefusedInEachDirection) {
    if (sizeof(long) == 4) GTEST_SKIP() << "every side fits";
    const long tooLong = static_cast<long>(2147483648LL);
    EXPECT_THROW(qvFrequencyBuffer(tooLong, 1), qvPel::BadSize);
    EXPECT_THROW(qvFrequencyBuffer(1, tooLong), qvPel::BadSize);
}
