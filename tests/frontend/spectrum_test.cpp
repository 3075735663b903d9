#include "qvstreet/frontend/spectrum.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/sampling.h"

namespace {

using Rows = std::vector<std::vector<int>>;

qvPelBuffer<unsigned char> imageOf(const Rows& rows) {
    qvPelBuffer<unsigned char> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, static_cast<unsigned char>(rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]));
    return image;
}

Rows rowsOf(const qvPelBuffer_const<unsigned char>& image) {
    Rows rows;
    for (long y = 0; y < image.height(); ++y)
        rows.emplace_back(image.pointToRow(y), image.pointToRow(y) + image.width());
    return rows;
}

/// Every pel differs from its neighbours, in both axes.
qvPelBuffer<unsigned char> texture(long width, long height) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            image.put(x, y, static_cast<unsigned char>((x * 7919 + y * 104729 + x * y * 31) % 251));
    return image;
}

qvPelBuffer<unsigned char> ramp(long width, long height) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(x + y));
    return image;
}

void expectXform(const qvXform<2>& xform, double xx, double yy, double tx, double ty) {
    EXPECT_DOUBLE_EQ(xform.matrix().element(0, 0), xx);
    EXPECT_DOUBLE_EQ(xform.matrix().element(1, 1), yy);
    EXPECT_EQ(xform.matrix().element(0, 1), 0.0);
    EXPECT_EQ(xform.matrix().element(1, 0), 0.0);
    EXPECT_EQ(xform.trans(), qvVector<2>(tx, ty));
}

}  // namespace

TEST(Spectrum, ParamsDefaults) {
    const qv_spectrumParams params;
    EXPECT_EQ(params.fftSize, 256);
    EXPECT_EQ(params.padWidth, 10);
    EXPECT_EQ(params.rectMargin, 5);
    EXPECT_TRUE(params.usePadding);
    EXPECT_FALSE(qv_spectrumState().prepared);
}

TEST(Spectrum, OblongImageHasTwoScales) {
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(texture(1000, 700), qv_spectrumParams(), imageFromSample, square);
    expectXform(imageFromSample, 995.0 / 246.0, 695.0 / 246.0, 2.5, 2.5);
    EXPECT_EQ(square.width(), 256);
    EXPECT_EQ(square.height(), 256);
}

TEST(Spectrum, ReductionFactorsAreWholeAndPerAxis) {
    const qvPelBuffer<unsigned char> image = texture(1000, 700);
    qv_spectrumParams unpadded;
    unpadded.usePadding = false;
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(image, unpadded, imageFromSample, square);

    const qvAffineRectangle rectangle(qvVector<2>(500.0, 350.0), 995.0, 695.0, qvRadian(0.0), qvRadian(0.0));
    const auto squareOfFactors = [&](long fx, long fy) {
        const qvPelBuffer<unsigned char> reduced =
            qfGaussSample(image, qvGaussSampleParams(qvPair<long>(1, 1), qvPair<long>(fx, fy), 1.0, true));
        qvPelBuffer<unsigned char> sampled;
        qfAffineTransformImage(reduced, sampled, qvAffineSamplingParams(rectangle, 256, 256, 2));
        return rowsOf(sampled);
    };
    EXPECT_EQ(rowsOf(square), squareOfFactors(3, 2));
    EXPECT_NE(rowsOf(square), squareOfFactors(2, 3));
    EXPECT_NE(rowsOf(square), squareOfFactors(4, 3));
}

TEST(Spectrum, ImageSmallerThanTheSquareIsSampledAsOftenAsAnyOther) {
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(ramp(101, 55), qv_spectrumParams(), imageFromSample, square);
    expectXform(imageFromSample, 96.0 / 246.0, 50.0 / 246.0, 2.5, 2.5);
    ASSERT_EQ(square.width(), 256);
    ASSERT_EQ(square.height(), 256);
    // Pel (x, y) is x + y; sample (i, j) stands at 2.5 + (i + 0.5) 96 / 246 and 2.5 + (j + 0.5) 50 / 246, whose grey
    // level is the sum of the two less one half each: 4 + 0.39024 (i + 0.5) + 0.20325 (j + 0.5).
    EXPECT_EQ(square.get(0, 0), 4);        // 4.297
    EXPECT_EQ(square.get(100, 0), 43);     // 43.321
    EXPECT_EQ(square.get(0, 100), 25);     // 24.622
    EXPECT_EQ(square.get(200, 120), 107);  // 106.736
    EXPECT_EQ(square.get(235, 235), 144);  // 143.768
}

TEST(Spectrum, WithoutPaddingTheSquareIsSampledAtFullSize) {
    qv_spectrumParams params;
    params.usePadding = false;
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(ramp(133, 69), params, imageFromSample, square);
    expectXform(imageFromSample, 0.5, 0.25, 2.5, 2.5);
    ASSERT_EQ(square.width(), 256);
    ASSERT_EQ(square.height(), 256);
    // 4 + 0.5 (i + 0.5) + 0.25 (j + 0.5), up to the last row and column: nothing is mirrored.
    EXPECT_EQ(square.get(0, 0), 4);        // 4.375
    EXPECT_EQ(square.get(100, 3), 55);     // 55.125
    EXPECT_EQ(square.get(255, 255), 196);  // 195.625
}

TEST(Spectrum, OtherMarginAndPadWidthAreTakenFromTheParams) {
    qv_spectrumParams params;
    params.fftSize = 64;
    params.padWidth = 14;
    params.rectMargin = 9;
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(texture(109, 59), params, imageFromSample, square);
    expectXform(imageFromSample, 2.0, 1.0, 4.5, 4.5);  // 100 / 50 and 50 / 50
    EXPECT_EQ(square.width(), 64);
    EXPECT_EQ(square.height(), 64);
}

TEST(Spectrum, MirrorRepeatsTheBorderPel) {
    qvPelBuffer<unsigned char> padded;
    const qvPair<long> bands = mirrorPadToSquare(imageOf({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}), 2, padded);
    EXPECT_EQ(bands, qvPair<long>(2, 2));
    const Rows expected = {{1, 2, 3, 3, 2},  //
                           {4, 5, 6, 6, 5},
                           {7, 8, 9, 9, 8},
                           {7, 8, 9, 9, 8},
                           {4, 5, 6, 6, 5}};
    EXPECT_EQ(rowsOf(padded), expected);
}

TEST(Spectrum, UprightImageIsPaddedMoreInWidth) {
    qvPelBuffer<unsigned char> padded;
    const qvPair<long> bands = mirrorPadToSquare(imageOf({{1, 2}, {3, 4}, {5, 6}}), 1, padded);
    EXPECT_EQ(bands, qvPair<long>(2, 1));
    const Rows expected = {{1, 2, 2, 1},  //
                           {3, 4, 4, 3},
                           {5, 6, 6, 5},
                           {5, 6, 6, 5}};
    EXPECT_EQ(rowsOf(padded), expected);
}

TEST(Spectrum, FlatImageIsPaddedMoreInHeight) {
    qvPelBuffer<unsigned char> padded;
    const qvPair<long> bands = mirrorPadToSquare(imageOf({{1, 2, 3}, {4, 5, 6}}), 1, padded);
    EXPECT_EQ(bands, qvPair<long>(1, 2));
    const Rows expected = {{1, 2, 3, 3},  //
                           {4, 5, 6, 6},
                           {4, 5, 6, 6},
                           {1, 2, 3, 3}};
    EXPECT_EQ(rowsOf(padded), expected);
}

TEST(Spectrum, BandWiderThanTheImageIsMirroredAgain) {
    qvPelBuffer<unsigned char> padded;
    EXPECT_EQ(mirrorPadToSquare(imageOf({{1, 2, 3, 4, 5}}), 1, padded), qvPair<long>(1, 5));
    EXPECT_EQ(rowsOf(padded), Rows(6, {1, 2, 3, 4, 5, 5}));

    EXPECT_EQ(mirrorPadToSquare(imageOf({{1, 2}}), 3, padded), qvPair<long>(3, 4));
    EXPECT_EQ(rowsOf(padded), Rows(5, {1, 2, 2, 1, 1}));
}

TEST(Spectrum, PadOfNothingLeavesASquareImage) {
    const Rows rows = {{1, 2}, {3, 4}};
    qvPelBuffer<unsigned char> padded;
    EXPECT_EQ(mirrorPadToSquare(imageOf(rows), 0, padded), qvPair<long>(0, 0));
    featherPadBands(padded, qvPair<long>(0, 0));
    EXPECT_EQ(rowsOf(padded), rows);
}

TEST(Spectrum, FeatheringBlendsRowsThenColumnsAndCutsToWholeLevels) {
    const qvPelBuffer<unsigned char> image = imageOf({{10, 20, 30, 40, 50, 60, 70},
                                                      {11, 25, 31, 43, 52, 66, 75},
                                                      {12, 24, 36, 48, 60, 72, 84},
                                                      {100, 90, 80, 70, 60, 50, 40},
                                                      {101, 93, 83, 74, 65, 56, 47},
                                                      {200, 190, 180, 170, 160, 150, 140}});
    featherPadBands(image, qvPair<long>(3, 3));
    // Rows: the last becomes row 0; row 4 half of itself and half of row 1, (56, 59, 57, 58.5, 58.5, 61, 61) cut; row 3
    // keeps its values. Columns: the last becomes column 0; column 5 half of itself and half of column 1, for row 1
    // 45.5 cut; column 4 keeps its values. In the corner (5, 4) rows first give (59 + 61) / 2 = 60; columns first would
    // give (45 + 74) / 2 = 59.
    const Rows expected = {{10, 20, 30, 40, 50, 40, 10},    //
                           {11, 25, 31, 43, 52, 45, 11},    //
                           {12, 24, 36, 48, 60, 48, 12},    //
                           {100, 90, 80, 70, 60, 70, 100},  //
                           {56, 59, 57, 58, 58, 60, 56},    //
                           {10, 20, 30, 40, 50, 40, 10}};
    EXPECT_EQ(rowsOf(image), expected);
}

TEST(Spectrum, FeatheringTakesColumnsFromTheFirstBandAndRowsFromTheSecond) {
    const qvPelBuffer<unsigned char> image = imageOf(
        {{10, 20, 30, 40, 50}, {12, 24, 36, 48, 60}, {99, 98, 97, 96, 95}, {60, 50, 40, 30, 21}, {80, 70, 60, 50, 40}});
    featherPadBands(image, qvPair<long>(2, 3));
    const Rows expected = {{10, 20, 30, 40, 10},  //
                           {12, 24, 36, 48, 12},  //
                           {99, 98, 97, 96, 99},  //
                           {36, 37, 38, 39, 36},  //
                           {10, 20, 30, 40, 10}};
    EXPECT_EQ(rowsOf(image), expected);
}

TEST(Spectrum, FeatheringIsDoneInSinglePrecision) {
    // 27 + 5 / 9 * (0 - 27) is 12; the nearest single to 5 / 9 lies above it, so that the sum stays just below. 90 + 3
    // / 9 * (87 - 90) is 89, because the product is rounded to a single again; with that weight a double would stay
    // below 89.
    qvPelBuffer<unsigned char> image(1, 20, 32);
    qfPelSet(image, static_cast<unsigned char>(0));
    image.put(0, 5, 27);
    image.put(0, 3, 90);
    image.put(0, 16, 87);
    featherPadBands(image, qvPair<long>(0, 10));
    EXPECT_EQ(image.get(0, 14), 11);
    EXPECT_EQ(image.get(0, 16), 89);
    EXPECT_EQ(image.get(0, 5), 27);
}

TEST(Spectrum, LastRowAndColumnJoinTheFirst) {
    qvXform<2> imageFromSample;
    qvPelBuffer_const<unsigned char> square;
    sampleFftImage(texture(300, 270), qv_spectrumParams(), imageFromSample, square);
    for (long x = 0; x < 246; ++x) EXPECT_EQ(square.get(x, 255), square.get(x, 0)) << x;
    for (long y = 0; y < 256; ++y) EXPECT_EQ(square.get(255, y), square.get(0, y)) << y;
}

TEST(Spectrum, FirstRowAndColumnNeverChange) {
    const qvPelBuffer<unsigned char> image = texture(30, 30);
    const Rows before = rowsOf(image);
    featherPadBands(image, qvPair<long>(9, 11));
    const Rows after = rowsOf(image);
    for (std::size_t i = 0; i < 21; ++i) EXPECT_EQ(after[0][i], before[0][i]);
    for (std::size_t i = 0; i < 19; ++i) EXPECT_EQ(after[i][0], before[i][0]);
    EXPECT_NE(after, before);
}

TEST(Spectrum, StateKeepsTheImagesOffsetAndClientTransformAndTheViewHasNeither) {
    qvPelBuffer_const<unsigned char> image = texture(320, 290);
    const qvXform<2> clientFromImage(qvMatrix<2>(0.5, 0.1, -0.1, -0.5), qvVector<2>(30.0, -7.0));
    image.clientFromImageXform(clientFromImage);
    image.offset(100, -40);
    image.window(110, -35, 280, 261, false);

    qv_spectrumState state;
    prepareSpectrum(state, image, qv_spectrumParams());
    EXPECT_TRUE(state.prepared);
    EXPECT_EQ(state.imageSize, qvPair<long>(280, 261));
    EXPECT_EQ(state.imageOffset, qvPair<long>(110, -35));
    EXPECT_EQ(state.clientFromImage, clientFromImage);
    EXPECT_EQ(state.workImage.offset(), qvPair<long>(0, 0));
    EXPECT_EQ(state.workImage.clientFromImageXform(), qvXform<2>());
    EXPECT_EQ(state.workImage.pointToOffset(), image.pointToOffset());  // no copy of the pels
    EXPECT_EQ(state.workImage.width(), 280);
    expectXform(state.imageFromSample, 275.0 / 246.0, 256.0 / 246.0, 2.5, 2.5);
    // The caller's handle is as it was.
    EXPECT_EQ(image.offset(), qvPair<long>(110, -35));
    EXPECT_EQ(image.clientFromImageXform(), clientFromImage);
}

TEST(Spectrum, OffsetAndClientTransformDoNotChangeTheSquare) {
    const qvPelBuffer<unsigned char> plain = texture(280, 261);
    qvPelBuffer_const<unsigned char> moved = plain;
    moved.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.25, 0.0, 0.0, -0.5), qvVector<2>(3.0, 4.0)));
    moved.offset(-50, 900);
    qv_spectrumState ofPlain;
    qv_spectrumState ofMoved;
    prepareSpectrum(ofPlain, plain, qv_spectrumParams());
    prepareSpectrum(ofMoved, moved, qv_spectrumParams());
    EXPECT_EQ(rowsOf(ofPlain.fftImage), rowsOf(ofMoved.fftImage));
    EXPECT_EQ(ofPlain.imageFromSample, ofMoved.imageFromSample);
}

TEST(Spectrum, SpectrumIsTheForwardTransformOfTheSquare) {
    qv_spectrumState state;
    prepareSpectrum(state, texture(400, 260), qv_spectrumParams());
    ASSERT_EQ(state.spectrum.width(), 256);
    ASSERT_EQ(state.spectrum.height(), 256);
    double sum = 0.0;
    double alternating = 0.0;
    for (long y = 0; y < 256; ++y)
        for (long x = 0; x < 256; ++x) {
            const double pel = static_cast<double>(state.fftImage.get(x, y));
            sum += pel;
            alternating += x % 2 == 0 ? pel : -pel;
        }
    EXPECT_NEAR(state.spectrum.get(0, 0, false).first, sum, 1e-5);
    EXPECT_NEAR(state.spectrum.get(128, 0, false).first, alternating, 1e-5);
}

TEST(Spectrum, SecondImageReplacesEverything) {
    qv_spectrumState state;
    prepareSpectrum(state, texture(400, 260), qv_spectrumParams());
    const qvPelBuffer<unsigned char> second = ramp(120, 90);
    prepareSpectrum(state, second, qv_spectrumParams());
    qv_spectrumState fresh;
    prepareSpectrum(fresh, second, qv_spectrumParams());
    EXPECT_TRUE(state.prepared);
    EXPECT_EQ(state.imageSize, qvPair<long>(120, 90));
    EXPECT_EQ(state.imageFromSample, fresh.imageFromSample);
    EXPECT_EQ(rowsOf(state.fftImage), rowsOf(fresh.fftImage));
    EXPECT_EQ(state.spectrum.get(3, 250, false), fresh.spectrum.get(3, 250, false));
}

TEST(Spectrum, PreparedKeepsItsValueWhenThePlatformRefuses) {
    qv_spectrumState state;
    EXPECT_THROW(prepareSpectrum(state, qvPelBuffer_const<unsigned char>(), qv_spectrumParams()), qvPel::UnboundWindow);
    EXPECT_FALSE(state.prepared);
    prepareSpectrum(state, ramp(120, 90), qv_spectrumParams());
    EXPECT_THROW(prepareSpectrum(state, qvPelBuffer_const<unsigned char>(), qv_spectrumParams()), qvPel::UnboundWindow);
    EXPECT_TRUE(state.prepared);
}

TEST(Spectrum, SmallestImagesArePreparedWithoutHarm) {
    for (const auto& size : {qvPair<long>(1, 1), qvPair<long>(2, 5000), qvPair<long>(40000, 3), qvPair<long>(5, 5)}) {
        qv_spectrumState state;
        prepareSpectrum(state, ramp(size.first, size.second), qv_spectrumParams());
        EXPECT_TRUE(state.prepared);
        EXPECT_EQ(state.imageSize, size);
        EXPECT_EQ(state.fftImage.width(), 256);
    }
}
