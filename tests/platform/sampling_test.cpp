#include "qvstreet/platform/sampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/sample_grid.h"
#include "tests/support/longs.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_sampling.h"

namespace {

using qvtest::imageOf;
using qvtest::noiseImage;
using qvtest::rowsOf;
using Rows = std::vector<std::vector<int>>;

constexpr long kNearest = 1;
constexpr long kBilinear = 2;

qvAffineRectangle upright(double x, double y, double width, double height) {
    return qvAffineRectangle(qvVector<2>(x, y), qvVector<2>(x + width, y), qvVector<2>(x, y + height));
}

/// One sample at a position, given as the middle of a square of one pel.
qvAffineSamplingParams oneSampleAt(double x, double y, long interpolation) {
    return qvAffineSamplingParams(upright(x - 0.5, y - 0.5, 1.0, 1.0), 1, 1, interpolation);
}

struct OneSample {
    int value;
    bool inside;
};

OneSample sampleAt(const qvPelBuffer_const<unsigned char>& image, double x, double y, long interpolation) {
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    bool partial = false;
    qfAffineTransformImage(image, destination, mask, oneSampleAt(x, y, interpolation), partial);
    EXPECT_EQ(partial, mask.get(0, 0) == 0);
    return {destination.get(0, 0), mask.get(0, 0) != 0};
}

Rows transformed(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& params) {
    qvPelBuffer<unsigned char> destination;
    qfAffineTransformImage(image, destination, params);
    return rowsOf(destination);
}

void expectEqualsSlow(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& params) {
    const qvtest::SlowSamples slow = qvtest::slowTransform(image, params);
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    bool partial = !slow.partial;
    qfAffineTransformImage(image, destination, mask, params, partial);
    ASSERT_EQ(partial, slow.partial);
    ASSERT_EQ(destination.width(), slow.width);
    ASSERT_EQ(destination.height(), slow.height);
    for (long y = 0; y < slow.height; ++y)
        for (long x = 0; x < slow.width; ++x) {
            ASSERT_EQ(static_cast<int>(destination.get(x, y)), slow.value(x, y)) << "sample " << x << ", " << y;
            ASSERT_EQ(static_cast<int>(mask.get(x, y)), slow.isInside(x, y) ? 255 : 0) << "sample " << x << ", " << y;
        }

    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    partial = !slow.partial;
    qfProjectImage(image, sums, counts, params, scale, partial);
    ASSERT_EQ(partial, slow.partial);
    ASSERT_EQ(scale, static_cast<unsigned long>(slow.height));
    ASSERT_EQ(sums.width(), slow.width);
    for (long x = 0; x < slow.width; ++x) {
        unsigned long sum = 0;
        unsigned long count = 0;
        for (long y = 0; y < slow.height; ++y) {
            sum += static_cast<unsigned long>(slow.value(x, y));
            count += slow.isInside(x, y) ? 1u : 0u;
        }
        ASSERT_EQ(sums.get(x, 0), sum) << "column " << x;
        ASSERT_EQ(counts.get(x, 0), count) << "column " << x;
    }
}

TEST(SampleCount, aWholeLengthShortByRoundingKeepsItsLastSample) {
    EXPECT_EQ(qf_sampleCount(1024.0), 1024);
    EXPECT_EQ(qf_sampleCount(std::nextafter(1024.0, 0.0)), 1024);
    EXPECT_EQ(qf_sampleCount(1024.0 - 0.9e-9), 1024);
    EXPECT_EQ(qf_sampleCount(1024.0 - 1.1e-9), 1023);
    EXPECT_EQ(qf_sampleCount(1023.9), 1023);
}

TEST(SampleCount, saturatesAndTakesNaNAsNothing) {
    EXPECT_EQ(qf_sampleCount(1e300), 2147483647);
    EXPECT_EQ(qf_sampleCount(-1e300), -2147483647 - 1);
    EXPECT_EQ(qf_sampleCount(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(AffineSamplingParams, keepsWhatItIsGiven) {
    qvAffineSamplingParams params(upright(1.0, 2.0, 30.0, 7.0), 32767, 1, kNearest);
    EXPECT_EQ(params.affineRectangle().cornerPo(), qvVector<2>(1.0, 2.0));
    EXPECT_EQ(params.affineRectangle().xLength(), 30.0);
    EXPECT_EQ(params.xNumSamples(), 32767);
    EXPECT_EQ(params.yNumSamples(), 1);
    EXPECT_EQ(params.interpolation(), 1);

    params.affineRectangle(upright(3.0, 4.0, 5.0, 6.0));
    params.xNumSamples(9);
    params.yNumSamples(8);
    params.interpolation(kBilinear);
    EXPECT_EQ(params.affineRectangle().cornerPo(), qvVector<2>(3.0, 4.0));
    EXPECT_EQ(params.xNumSamples(), 9);
    EXPECT_EQ(params.yNumSamples(), 8);
    EXPECT_EQ(params.interpolation(), 2);
}

TEST(AffineSamplingParams, narrowsCountsTo16BitsAndRefusesWhatIsNotPositiveThen) {
    qvAffineSamplingParams params(upright(0.0, 0.0, 1.0, 1.0), 65537, 131073 + 4, kBilinear);
    EXPECT_EQ(params.xNumSamples(), 1);
    EXPECT_EQ(params.yNumSamples(), 5);
    for (const long count : qvtest::longs({0, -1, 32768, 40000, 65536, -65536, 2147483647, -2147483648})) {
        EXPECT_THROW(qvAffineSamplingParams(upright(0, 0, 1, 1), count, 1, kBilinear), qvPel::BadSize) << count;
        EXPECT_THROW(qvAffineSamplingParams(upright(0, 0, 1, 1), 1, count, kBilinear), qvPel::BadSize) << count;
        EXPECT_THROW(params.xNumSamples(count), qvPel::BadSize) << count;
        EXPECT_THROW(params.yNumSamples(count), qvPel::BadSize) << count;
    }
    EXPECT_EQ(params.xNumSamples(), 1);
    EXPECT_EQ(params.yNumSamples(), 5);
    params.xNumSamples(-65535);
    EXPECT_EQ(params.xNumSamples(), 1);
}

TEST(AffineSamplingParams, refusesAnUnknownInterpolation) {
    qvAffineSamplingParams params(upright(0.0, 0.0, 1.0, 1.0), 1, 1, kBilinear);
    EXPECT_THROW(params.interpolation(0), qvPel::BadSize);
    EXPECT_THROW(params.interpolation(3), qvPel::BadSize);
    EXPECT_THROW(qvAffineSamplingParams(upright(0, 0, 1, 1), 1, 1, 3), qvPel::BadSize);
}

TEST(PolarSamplingParams, keepsWhatItIsGivenAndNarrowsCounts) {
    const qvEllipseAnnulusSection ring(qvVector<2>(128.5, 127.5), 64.0, 95.0, qvRadian(-2.0), qvRadian(2.0), true, true,
                                       true);
    qvPolarSamplingParams params(ring, 540, 65536 + 31, kBilinear);
    EXPECT_EQ(params.section().center(), qvVector<2>(128.5, 127.5));
    EXPECT_EQ(params.xNumSamples(), 540);
    EXPECT_EQ(params.yNumSamples(), 31);
    EXPECT_EQ(params.interpolation(), 2);
    params.xNumSamples(7);
    params.yNumSamples(6);
    params.interpolation(kNearest);
    EXPECT_EQ(params.xNumSamples(), 7);
    EXPECT_EQ(params.yNumSamples(), 6);
    EXPECT_EQ(params.interpolation(), 1);
    EXPECT_THROW(params.xNumSamples(0), qvPel::BadSize);
    EXPECT_THROW(params.yNumSamples(-3), qvPel::BadSize);
    EXPECT_THROW(qvPolarSamplingParams(ring, 540, 0, kBilinear), qvPel::BadSize);
    EXPECT_THROW(qvPolarSamplingParams(ring, 540, 31, 0), qvPel::BadSize);
}

TEST(AffineTransform, samplesAtPelCentresGiveThePels) {
    const Rows pels = {{10, 20, 35, 47}, {99, 7, 0, 255}, {61, 62, 64, 68}};
    const auto image = imageOf(pels);
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(0, 0, 4, 3), 4, 3, kBilinear)), pels);
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(0, 0, 4, 3), 4, 3, kNearest)), pels);
}

TEST(AffineTransform, bilinearValuesAreRoundedHalfUp) {
    const auto image = imageOf({{10, 21, 40, 41, 0}, {12, 24, 40, 40, 2}});
    // Halfway between columns: 15.5, 30.5, 40.5, 20.5; halfway between rows as well: 16.75, 31.25, 40.25, 20.75.
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(0.5, 0, 4, 1), 4, 1, kBilinear)),
              (Rows{{16, 31, 41, 21}}));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(0.5, 0.5, 4, 1), 4, 1, kBilinear)),
              (Rows{{17, 31, 40, 21}}));
}

TEST(AffineTransform, twentyValuesWorkedOutByHand) {
    // Five columns and four rows of samples over 2.5 by 2 pels from (0.25, 0.5) on: half a pel apart, at x = 0.5,
    // 1, 1.5, 2, 2.5 and y = 0.75, 1.25, 1.75, 2.25.
    const auto image = imageOf({{0, 100, 40}, {80, 20, 200}, {8, 60, 160}});
    const qvAffineSamplingParams params(upright(0.25, 0.5, 2.5, 2.0), 5, 4, kBilinear);
    EXPECT_EQ(transformed(image, params),
              (Rows{{20, 50, 80, 80, 80}, {60, 50, 40, 100, 160}, {62, 46, 30, 110, 190}, {26, 38, 50, 110, 170}}));
}

TEST(AffineTransform, positionsAreRoundedHalfUpTo256thsOfAPel) {
    const auto image = imageOf({{0, 255}});
    // The weight of the right pel is 0/256 below 1/512 and 1/256 from there on: 255/256 rounds to 1.
    EXPECT_EQ(sampleAt(image, 0.5 + std::ldexp(1.0, -9), 0.5, kBilinear).value, 1);
    EXPECT_EQ(sampleAt(image, 0.5 + std::ldexp(1.0, -9) - std::ldexp(1.0, -31), 0.5, kBilinear).value, 0);
    // 128/256 of 255 is 127.5, 127/256 is 126.5...
    EXPECT_EQ(sampleAt(image, 1.0, 0.5, kBilinear).value, 128);
    EXPECT_EQ(sampleAt(image, 1.0 - std::ldexp(1.0, -8), 0.5, kBilinear).value, 127);
}

TEST(AffineTransform, beyondTheOuterCentresTheBorderPelIsRepeated) {
    const auto image = imageOf({{10, 90}, {50, 200}});
    EXPECT_EQ(sampleAt(image, 0.0, 0.0, kBilinear).value, 10);
    EXPECT_EQ(sampleAt(image, 2.0, 0.25, kBilinear).value, 90);
    EXPECT_EQ(sampleAt(image, 0.25, 2.0, kBilinear).value, 50);
    EXPECT_EQ(sampleAt(image, 2.0, 2.0, kBilinear).value, 200);
    // Between the rows at the left border: (10 + 50) / 2.
    EXPECT_EQ(sampleAt(image, 0.0, 1.0, kBilinear).value, 30);
}

TEST(AffineTransform, nearestTakesThePelThatHoldsThePosition) {
    const auto image = imageOf({{10, 20, 30}, {40, 50, 60}});
    EXPECT_EQ(sampleAt(image, 0.99, 0.01, kNearest).value, 10);
    EXPECT_EQ(sampleAt(image, 2.5, 1.99, kNearest).value, 60);
}

TEST(AffineTransform, nearestOnABorderTakesThePelThatBeginsThere) {
    const auto image = imageOf({{10, 20, 30}, {40, 50, 60}});
    EXPECT_EQ(sampleAt(image, 1.0, 0.5, kNearest).value, 20);
    EXPECT_EQ(sampleAt(image, 2.0, 1.0, kNearest).value, 60);
    EXPECT_EQ(sampleAt(image, 1.0 - std::ldexp(1.0, -31), 0.5, kNearest).value, 10);
    // At the far border of the window no pel begins.
    EXPECT_EQ(sampleAt(image, 3.0, 2.0, kNearest).value, 60);
    EXPECT_EQ(sampleAt(image, 0.0, 0.0, kNearest).value, 10);
}

TEST(AffineTransform, insideIsTheWindowWidenedByOne256thPelLimitsIncluded) {
    const auto image = imageOf({{11, 22, 33}, {44, 55, 66}});
    const double limit = std::ldexp(1.0, -8);
    const double beyond = limit + std::ldexp(1.0, -32);
    for (const long interpolation : {kNearest, kBilinear}) {
        EXPECT_TRUE(sampleAt(image, -limit, 0.5, interpolation).inside);
        EXPECT_FALSE(sampleAt(image, -beyond, 0.5, interpolation).inside);
        EXPECT_TRUE(sampleAt(image, 3.0 + limit, 0.5, interpolation).inside);
        EXPECT_FALSE(sampleAt(image, 3.0 + beyond, 0.5, interpolation).inside);
        EXPECT_TRUE(sampleAt(image, 0.5, -limit, interpolation).inside);
        EXPECT_FALSE(sampleAt(image, 0.5, -beyond, interpolation).inside);
        EXPECT_TRUE(sampleAt(image, 0.5, 2.0 + limit, interpolation).inside);
        EXPECT_FALSE(sampleAt(image, 0.5, 2.0 + beyond, interpolation).inside);

        EXPECT_EQ(sampleAt(image, -limit, -limit, interpolation).value, 11);
        EXPECT_EQ(sampleAt(image, 3.0 + limit, 2.0 + limit, interpolation).value, 66);
        EXPECT_EQ(sampleAt(image, 3.0 + beyond, 0.5, interpolation).value, 0);
    }
}

TEST(AffineTransform, samplesOutsideAreZeroInImageAndMask) {
    const auto image = imageOf({{10, 20}, {30, 40}});
    const qvAffineSamplingParams params(upright(-1.0, 0.0, 4.0, 3.0), 4, 3, kBilinear);
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    bool partial = false;
    qfAffineTransformImage(image, destination, mask, params, partial);
    EXPECT_TRUE(partial);
    EXPECT_EQ(rowsOf(destination), (Rows{{0, 10, 20, 0}, {0, 30, 40, 0}, {0, 0, 0, 0}}));
    EXPECT_EQ(rowsOf(mask), (Rows{{0, 255, 255, 0}, {0, 255, 255, 0}, {0, 0, 0, 0}}));
}

TEST(AffineTransform, partialIsFalseWhenEverySampleIsInside) {
    const auto image = imageOf({{10, 20}, {30, 40}});
    qvPelBuffer<unsigned char> destination;
    bool partial = true;
    qfAffineTransformImage(image, destination, qvAffineSamplingParams(upright(0, 0, 2, 2), 2, 2, kBilinear), partial);
    EXPECT_FALSE(partial);
    qfAffineTransformImage(image, destination, qvAffineSamplingParams(upright(0, 0, 2, 2.1), 2, 21, kBilinear),
                           partial);
    EXPECT_TRUE(partial);
}

TEST(AffineTransform, maskWithoutPartialIsTheSame) {
    const auto image = imageOf({{10, 20}, {30, 40}});
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    qfAffineTransformImage(image, destination, mask, qvAffineSamplingParams(upright(1, 0, 2, 1), 2, 1, kBilinear));
    EXPECT_EQ(rowsOf(destination), (Rows{{20, 0}}));
    EXPECT_EQ(rowsOf(mask), (Rows{{255, 0}}));
}

TEST(AffineTransform, theXSideMayRunDownTheImage) {
    const auto image = imageOf({{1, 2, 3}, {4, 5, 6}});
    // x down from the upper right corner, y to the left: a quarter turn.
    const qvAffineRectangle rect(qvVector<2>(3, 0), qvVector<2>(3, 2), qvVector<2>(0, 0));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(rect, 2, 3, kBilinear)), (Rows{{3, 6}, {2, 5}, {1, 4}}));
}

TEST(AffineTransform, rectanglesAreInTheClientFrameOfTheSource) {
    auto image = imageOf({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}});
    // Half a unit to a pel, mirrored in y, moved by (100, 50): pel (x, y) lies at (100 + x / 2, 50 - y / 2).
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, -0.5), qvVector<2>(100.0, 50.0)));
    const qvAffineRectangle rect(qvVector<2>(100.5, 50.0), qvVector<2>(102.0, 50.0), qvVector<2>(100.5, 49.0));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(rect, 3, 2, kBilinear)), (Rows{{2, 3, 4}, {6, 7, 8}}));
    // Upwards in the client frame is upwards in the image.
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(100.0, 49.0, 1.0, 0.5), 2, 1, kBilinear)),
              (Rows{{5, 6}}));
}

TEST(AffineTransform, theOffsetOfTheSourceCounts) {
    auto image = imageOf({{1, 2, 3}, {4, 5, 6}});
    image.offset(40, -7);
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(upright(41, -7, 2, 2), 2, 2, kBilinear)),
              (Rows{{2, 3}, {5, 6}}));
}

TEST(AffineTransform, theDestinationMapsToTheClientFrameOfTheSource) {
    auto image = noiseImage(20, 10, 1);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 0.5), qvVector<2>(3.0, 4.0)));
    const qvAffineRectangle rect(qvVector<2>(5.0, 6.0), qvVector<2>(9.0, 8.0), qvVector<2>(4.0, 7.5));
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    qfAffineTransformImage(image, destination, mask, qvAffineSamplingParams(rect, 8, 5, kBilinear));
    EXPECT_EQ(destination.clientFromImageXform().mapPoint(qvVector<2>(0.0, 0.0)), qvVector<2>(5.0, 6.0));
    EXPECT_EQ(destination.clientFromImageXform().mapPoint(qvVector<2>(8.0, 0.0)), qvVector<2>(9.0, 8.0));
    EXPECT_EQ(destination.clientFromImageXform().mapPoint(qvVector<2>(2.0, 0.0)), qvVector<2>(6.0, 6.5));
    EXPECT_NEAR(destination.clientFromImageXform().mapPoint(qvVector<2>(0.0, 5.0)).x(), 4.0, 1e-12);
    EXPECT_NEAR(destination.clientFromImageXform().mapPoint(qvVector<2>(0.0, 5.0)).y(), 7.5, 1e-12);
    EXPECT_EQ(mask.clientFromImageXform(), destination.clientFromImageXform());
    EXPECT_EQ(destination.offset(), qvPair<long>(0, 0));
}

TEST(AffineTransform, aDestinationOfTheRightSizeIsFilledInPlace) {
    const auto image = imageOf({{1, 2, 3}, {4, 5, 6}});
    qvPelBuffer<unsigned char> destination(3, 2, 32);
    destination.offset(9, 9);
    const qvPelBuffer<unsigned char> handle = destination;
    qfAffineTransformImage(image, destination, qvAffineSamplingParams(upright(0, 0, 3, 2), 3, 2, kBilinear));
    EXPECT_EQ(rowsOf(handle), (Rows{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(destination.offset(), qvPair<long>(0, 0));
}

TEST(AffineTransform, aDestinationOfAnotherSizeIsReplaced) {
    const auto image = imageOf({{1, 2, 3}, {4, 5, 6}});
    qvPelBuffer<unsigned char> destination(2, 2, 32);
    qfPelSet(destination, static_cast<unsigned char>(77));
    const qvPelBuffer<unsigned char> handle = destination;
    qfAffineTransformImage(image, destination, qvAffineSamplingParams(upright(0, 0, 3, 2), 3, 2, kBilinear));
    EXPECT_EQ(rowsOf(handle), (Rows{{77, 77}, {77, 77}}));
    EXPECT_EQ(rowsOf(destination), (Rows{{1, 2, 3}, {4, 5, 6}}));
}

TEST(AffineTransform, theSourceItselfAsDestinationIsNotOverwritten) {
    qvPelBuffer<unsigned char> image = imageOf({{1, 2, 3}, {4, 5, 6}});
    const qvPelBuffer<unsigned char> handle = image;
    // Mirrored in x.
    const qvAffineRectangle rect(qvVector<2>(3, 0), qvVector<2>(0, 0), qvVector<2>(3, 2));
    qfAffineTransformImage(image, image, image, qvAffineSamplingParams(rect, 3, 2, kBilinear));
    EXPECT_EQ(rowsOf(handle), (Rows{{1, 2, 3}, {4, 5, 6}}));

    qvPelBuffer<unsigned char> again = handle;
    qfAffineTransformImage(again, again, qvAffineSamplingParams(rect, 3, 2, kBilinear));
    EXPECT_EQ(rowsOf(again), (Rows{{3, 2, 1}, {6, 5, 4}}));
    EXPECT_EQ(rowsOf(handle), (Rows{{1, 2, 3}, {4, 5, 6}}));
}

TEST(AffineTransform, destinationAndMaskNeverShareMemory) {
    const auto image = imageOf({{1, 2}, {3, 4}});
    qvPelBuffer<unsigned char> destination(2, 2, 32);
    qvPelBuffer<unsigned char> mask = destination;
    qfAffineTransformImage(image, destination, mask, qvAffineSamplingParams(upright(0, 0, 2, 2), 2, 2, kBilinear));
    EXPECT_EQ(rowsOf(destination), (Rows{{1, 2}, {3, 4}}));
    EXPECT_EQ(rowsOf(mask), (Rows{{255, 255}, {255, 255}}));
}

TEST(AffineTransform, refusesAnUnboundSourceAndASingularClientTransform) {
    qvPelBuffer<unsigned char> destination;
    const qvAffineSamplingParams params(upright(0, 0, 2, 2), 2, 2, kBilinear);
    EXPECT_THROW(qfAffineTransformImage(qvPelBuffer<unsigned char>(), destination, params), qvPel::UnboundWindow);
    auto image = imageOf({{1, 2}, {3, 4}});
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 2.0, 2.0, 4.0), qvVector<2>()));
    EXPECT_THROW(qfAffineTransformImage(image, destination, params), qvMatrixErr::Singular);
    EXPECT_FALSE(destination.isBound());
}

TEST(AffineTransform, ofAViewWithoutPelsEverySampleIsOutside) {
    auto image = imageOf({{1, 2}, {3, 4}});
    image.window(5, 5, 1, 1, true);
    ASSERT_EQ(image.width(), 0);
    qvPelBuffer<unsigned char> destination;
    qvPelBuffer<unsigned char> mask;
    bool partial = false;
    qfAffineTransformImage(image, destination, mask, qvAffineSamplingParams(upright(0, 0, 1, 1), 2, 1, kBilinear),
                           partial);
    EXPECT_TRUE(partial);
    EXPECT_EQ(rowsOf(destination), (Rows{{0, 0}}));
    EXPECT_EQ(rowsOf(mask), (Rows{{0, 0}}));
}

TEST(AffineTransform, positionsUpTo2To30PelsCountAndBeyondThemEverySampleIsOutside) {
    const auto image = imageOf({{10, 20, 30}, {40, 50, 60}});
    const double reach = std::ldexp(1.0, 30);
    // Three samples, the middle one at (1.5, 0.5); the corners just reach the limit on both sides.
    const qvAffineRectangle fits(qvVector<2>(3.0 - reach, 0.0), qvVector<2>(reach, 0.0), qvVector<2>(3.0 - reach, 1.0));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(fits, 3, 1, kBilinear)), (Rows{{0, 20, 0}}));
    const qvAffineRectangle tooWide(qvVector<2>(2.0 - reach, 0.0), qvVector<2>(reach + 1.0, 0.0),
                                    qvVector<2>(2.0 - reach, 1.0));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(tooWide, 3, 1, kBilinear)), (Rows{{0, 0, 0}}));
}

TEST(AffineTransform, positionsThatAreNoNumbersAreOutside) {
    const auto image = imageOf({{10, 20, 30}, {40, 50, 60}});
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, infinite, -infinite, 1e300, -1e300}) {
        const qvAffineRectangle corner(qvVector<2>(bad, 0.0), qvVector<2>(1.0, 0.0), qvVector<2>(0.0, 1.0));
        const qvAffineRectangle side(qvVector<2>(0.0, 0.0), qvVector<2>(1.0, bad), qvVector<2>(0.0, 1.0));
        for (const auto& rect : {corner, side}) {
            EXPECT_EQ(transformed(image, qvAffineSamplingParams(rect, 2, 1, kBilinear)), (Rows{{0, 0}}));
            EXPECT_EQ(transformed(image, qvAffineSamplingParams(rect, 2, 1, kNearest)), (Rows{{0, 0}}));
        }
    }
}

TEST(AffineTransform, aRectangleWithoutAreaGivesThePelOnTheSpot) {
    const auto image = imageOf({{10, 20, 30}, {40, 50, 60}});
    const qvAffineRectangle point(qvVector<2>(1.5, 1.5), qvVector<2>(1.5, 1.5), qvVector<2>(1.5, 1.5));
    EXPECT_EQ(transformed(image, qvAffineSamplingParams(point, 3, 2, kBilinear)), (Rows{{50, 50, 50}, {50, 50, 50}}));
}

TEST(ProjectImage, sumsColumnsOfSamples) {
    const auto image = imageOf({{1, 2, 3, 4}, {10, 20, 30, 40}, {100, 100, 100, 255}});
    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    bool partial = true;
    qfProjectImage(image, sums, counts, qvAffineSamplingParams(upright(0, 0, 4, 3), 4, 3, kNearest), scale, partial);
    EXPECT_FALSE(partial);
    EXPECT_EQ(scale, 3u);
    ASSERT_EQ(sums.width(), 4);
    ASSERT_EQ(sums.height(), 1);
    ASSERT_EQ(counts.width(), 4);
    EXPECT_EQ(sums.get(0, 0), 111u);
    EXPECT_EQ(sums.get(1, 0), 122u);
    EXPECT_EQ(sums.get(2, 0), 133u);
    EXPECT_EQ(sums.get(3, 0), 299u);
    for (long x = 0; x < 4; ++x) EXPECT_EQ(counts.get(x, 0), 3u);
}

TEST(ProjectImage, countsTheSamplesInside) {
    const auto image = imageOf({{1, 2, 3}, {10, 20, 30}});
    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    bool partial = false;
    // One row above the image and one column to its right.
    qfProjectImage(image, sums, counts, qvAffineSamplingParams(upright(1, -1, 3, 3), 3, 3, kBilinear), scale, partial);
    EXPECT_TRUE(partial);
    EXPECT_EQ(scale, 3u);
    EXPECT_EQ(sums.get(0, 0), 22u);
    EXPECT_EQ(counts.get(0, 0), 2u);
    EXPECT_EQ(sums.get(1, 0), 33u);
    EXPECT_EQ(counts.get(1, 0), 2u);
    EXPECT_EQ(sums.get(2, 0), 0u);
    EXPECT_EQ(counts.get(2, 0), 0u);
}

TEST(ProjectImage, aPelOfTheProfileCoversTheWholeYSide) {
    const auto image = noiseImage(10, 10, 2);
    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    bool partial = false;
    const qvAffineRectangle rect(qvVector<2>(1, 2), qvVector<2>(5, 2), qvVector<2>(1, 8));
    qfProjectImage(image, sums, counts, qvAffineSamplingParams(rect, 8, 3, kBilinear), scale, partial);
    EXPECT_EQ(sums.clientFromImageXform().mapPoint(qvVector<2>(0, 0)), qvVector<2>(1, 2));
    EXPECT_EQ(sums.clientFromImageXform().mapPoint(qvVector<2>(8, 0)), qvVector<2>(5, 2));
    EXPECT_EQ(sums.clientFromImageXform().mapPoint(qvVector<2>(4, 1)), qvVector<2>(3, 8));
    EXPECT_EQ(counts.clientFromImageXform(), sums.clientFromImageXform());
}

TEST(ProjectImage, refusesAnUnboundSource) {
    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    bool partial = false;
    EXPECT_THROW(qfProjectImage(qvPelBuffer<unsigned char>(), sums, counts,
                                qvAffineSamplingParams(upright(0, 0, 1, 1), 1, 1, kBilinear), scale, partial),
                 qvPel::UnboundWindow);
}

TEST(SamplingEqualsThePlainForm, onUprightOblongAndSteppedRectangles) {
    const auto image = noiseImage(61, 37, 3);
    for (const long interpolation : {kNearest, kBilinear}) {
        expectEqualsSlow(image, qvAffineSamplingParams(upright(0, 0, 61, 37), 61, 37, interpolation));
        expectEqualsSlow(image, qvAffineSamplingParams(upright(-2.5, -1.25, 66, 40), 66, 40, interpolation));
        expectEqualsSlow(image, qvAffineSamplingParams(upright(0.3, 0.7, 60.1, 35.9), 120, 18, interpolation));
        expectEqualsSlow(image, qvAffineSamplingParams(upright(3, 3, 0.01, 0.01), 40, 30, interpolation));
    }
}

TEST(SamplingEqualsThePlainForm, onRandomRectanglesOfAllDirections) {
    qvtest::Noise noise(4);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const long width = noise.whole(1, 90);
        const long height = noise.whole(1, 70);
        auto image = noiseImage(width, height, static_cast<std::uint64_t>(round) + 100);
        if (round % 3 == 0) image.offset(qvPair<long>{noise.whole(-50, 50), noise.whole(-50, 50)});
        if (round % 4 == 0)
            image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.02, 0.03, round % 8 == 0 ? -0.5 : 0.5),
                                                  qvVector<2>{noise.real(-9, 9), noise.real(-9, 9)}));
        const qvXform<2>& client = image.clientFromImageXform();
        const auto corner = [&](double spread) {
            const double x = noise.real(-spread, 1.0 + spread) * static_cast<double>(width);
            const double y = noise.real(-spread, 1.0 + spread) * static_cast<double>(height);
            const qvPair<long> offset = image.offset();
            return client.mapPoint(
                qvVector<2>(static_cast<double>(offset.first) + x, static_cast<double>(offset.second) + y));
        };
        const double spread = round % 5 == 0 ? 3.0 : round % 5 == 1 ? 0.0 : 0.3;
        const qvAffineRectangle rect{corner(spread), corner(spread), corner(spread)};
        expectEqualsSlow(image, qvAffineSamplingParams{rect, noise.whole(1, 100), noise.whole(1, 80),
                                                       round % 7 == 0 ? kNearest : kBilinear});
    }
}

TEST(SamplingEqualsThePlainForm, onStepsOfAboutOnePelNearTheAxes) {
    qvtest::Noise noise(5);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        const auto image = noiseImage(150, 90, static_cast<std::uint64_t>(round) + 900);
        const double degrees = 90.0 * static_cast<double>(round % 4) + noise.real(-9.0, 9.0);
        const long nx = noise.whole(20, 140);
        const long ny = noise.whole(20, 140);
        const double scale = round % 3 == 0 ? noise.real(0.9, 1.1) : 1.0;
        const qvAffineRectangle rect{qvVector<2>{noise.real(50, 100), noise.real(30, 60)},
                                     scale * static_cast<double>(nx), scale * static_cast<double>(ny),
                                     qvDegree(degrees), qvDegree(noise.real(-3, 3))};
        expectEqualsSlow(image, qvAffineSamplingParams(rect, nx, ny, kBilinear));
    }
}

TEST(SamplingEqualsThePlainForm, onTheSmallestImagesAndHugeSteps) {
    for (const auto& [width, height] : {std::pair<long, long>{1, 1}, {1, 40}, {40, 1}, {2, 2}}) {
        const auto image = noiseImage(width, height, 6);
        for (const long interpolation : {kNearest, kBilinear}) {
            expectEqualsSlow(image, qvAffineSamplingParams(upright(-1, -1, 43, 43), 43, 43, interpolation));
            expectEqualsSlow(image, qvAffineSamplingParams(upright(0, 0, 1, 1), 9, 9, interpolation));
            const qvAffineRectangle huge(qvVector<2>(-5e8, -5e8), qvVector<2>(5e8 + 1, -5e8),
                                         qvVector<2>(-5e8, 5e8 + 1));
            expectEqualsSlow(image, qvAffineSamplingParams(huge, 3, 5, interpolation));
            const qvAffineRectangle leaning(qvVector<2>(-1e9, -1e9), qvVector<2>(1e9, 1e9),
                                            qvVector<2>(-1e9 + 2, -1e9));
            expectEqualsSlow(image, qvAffineSamplingParams(leaning, 501, 3, interpolation));
        }
    }
}

TEST(SamplingEqualsThePlainForm, onTheLongestRowsOfSamples) {
    const auto image = noiseImage(300, 5, 7);
    expectEqualsSlow(image, qvAffineSamplingParams(upright(-10, 0, 320, 5), 32767, 2, kBilinear));
    expectEqualsSlow(image, qvAffineSamplingParams(upright(-10, 0, 320, 5), 2, 32767, kBilinear));
}

TEST(Sampling, windowOffsetPaddingAndStorageOrderGiveTheSameBits) {
    auto image = noiseImage(57, 43, 8);
    image.offset(-12, 31);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, -0.5), qvVector<2>(7.0, 9.0)));
    const qvVector<2> centre = image.clientFromImageXform().mapPoint(qvVector<2>(-12 + 28.5, 31 + 21.5));
    const qvAffineSamplingParams params(qvAffineRectangle(centre, 30.0, 20.0, qvDegree(3.0), qvDegree(1.0)), 60, 40,
                                        kBilinear);
    const Rows expected = transformed(image, params);
    EXPECT_EQ(transformed(qvtest::asWindow(image, 4, 2), params), expected);
    EXPECT_EQ(transformed(qvtest::asBottomUp(image), params), expected);
    expectEqualsSlow(qvtest::asWindow(image, 4, 2), params);
    expectEqualsSlow(qvtest::asBottomUp(image), params);
}

}  // namespace

TEST(SampleGrid, SpanOfTheLongestWalkIsFoundAlsoWhereADifferenceLeavesItsRange) {
    // 2^30 samples a distance of 2 apart, from -2^30 + 1 on, in 32.32 fixed point: the half from 2^29 on is not below 0.
    constexpr std::int64_t one = std::int64_t{1} << 32;
    constexpr long count = 1L << 30;
    constexpr std::int64_t start = -(std::int64_t{count} * one) + one;
    const qv_Span right = qf_spanBetween(start, 2 * one, count, 0, (std::int64_t{count} + 2) * one);
    EXPECT_EQ(right.begin, 1L << 29);
    EXPECT_EQ(right.end, count);
    const qv_Span middle = qf_spanBetween(start, 2 * one, count, 0, 10 * one);
    EXPECT_EQ(middle.begin, 1L << 29);
    EXPECT_EQ(middle.end, (1L << 29) + 5);
}

TEST(SampleGrid, SpanRunsBothWays) {
    // 7, 5, 3, 1, -1, -3.
    const qv_Span down = qf_spanBetween(7, -2, 6, -1, 5);
    EXPECT_EQ(down.begin, 1);
    EXPECT_EQ(down.end, 5);
    const qv_Span none = qf_spanBetween(7, -2, 6, 8, 20);
    EXPECT_EQ(none.begin, none.end);
    const qv_Span between = qf_spanBetween(0, 10, 4, 11, 19);
    EXPECT_EQ(between.begin, between.end);
}
