#include "qvstreet/frontend/line_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

constexpr unsigned char kGround = 50;
constexpr unsigned char kBright = 200;

qvPelBuffer<unsigned char> filled(long width, long height, unsigned char level) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    qfPelSet(image, level);
    return image;
}

/// A square with bright columns `begin` to `end` - 1.
qvPelBuffer<unsigned char> columns(long side, long begin, long end) {
    const qvPelBuffer<unsigned char> image = filled(side, side, kGround);
    for (long y = 0; y < side; ++y)
        for (long x = begin; x < end; ++x) image.put(x, y, kBright);
    return image;
}

qvPelBuffer<unsigned char> rows(long side, long begin, long end) {
    const qvPelBuffer<unsigned char> image = filled(side, side, kGround);
    for (long y = begin; y < end; ++y)
        for (long x = 0; x < side; ++x) image.put(x, y, kBright);
    return image;
}

/// A prepared state whose square and whose image are independent of each other.
qv_spectrumState stateOf(const qvPelBuffer_const<unsigned char>& square,
                         const qvPelBuffer_const<unsigned char>& workImage,
                         const qvXform<2>& imageFromSample = qvXform<2>()) {
    qv_spectrumState state;
    state.fftImage = square;
    qf_ForwardFFT(square, state.spectrum);
    state.workImage = workImage;
    state.imageFromSample = imageFromSample;
    state.imageSize = qvPair<long>(workImage.width(), workImage.height());
    state.prepared = true;
    return state;
}

/// A square of 32 whose one line stands at x = 16.5, its points at rows 1.5, 2.5 ... 30.5.
qv_spectrumState lineAt16(const qvPelBuffer_const<unsigned char>& workImage,
                          const qvXform<2>& imageFromSample = qvXform<2>()) {
    return stateOf(columns(32, 15, 18), workImage, imageFromSample);
}

/// The filter in frequencies of the square: two pels across, eight along.
qv_ridgeFinderParams plainRequest(bool keepPoints) {
    qv_ridgeFinderParams params;
    params.spec.band = {0.0796, 0.0199};
    params.spec.spread = 0.2387;
    params.lineGroup.highThreshold = 80.0;
    params.lineGroup.thresholdRatio = 0.6;
    params.lineGroup.responseSelect = 1;
    params.keepPoints = keepPoints;
    return params;
}

std::vector<qvLineFinderResults> run(const qv_spectrumState& state, bool keepPoints, double degrees = 90.0) {
    std::vector<std::vector<qvLineFinderResults>> results;
    runLineFinder(state, plainRequest(keepPoints), {qvDegree(degrees)}, results);
    return results.at(0);
}

void expectSegment(const qvLineFinderResults& line, double x1, double y1, double x2, double y2,
                   double tolerance = 1e-6) {
    EXPECT_NEAR(line.segment().p1().x(), x1, tolerance);
    EXPECT_NEAR(line.segment().p1().y(), y1, tolerance);
    EXPECT_NEAR(line.segment().p2().x(), x2, tolerance);
    EXPECT_NEAR(line.segment().p2().y(), y2, tolerance);
}

/// A work image of 32 by 32 whose row y has the grey level `level(y)` throughout.
template <typename Level>
qvPelBuffer<unsigned char> rowLevels(Level level) {
    const qvPelBuffer<unsigned char> image = filled(32, 32, 0);
    for (long y = 0; y < 32; ++y)
        for (long x = 0; x < 32; ++x) image.put(x, y, static_cast<unsigned char>(level(y)));
    return image;
}

}  // namespace

// ---- grey levels ----

TEST(LineFinder, BilinearSampleHonoursTheRowUpdate) {
    // Three columns in use, five from row to row.
    const std::vector<unsigned char> pels = {10, 20, 40, 255, 255,  //
                                             50, 80, 0,  255, 255,  //
                                             90, 30, 60, 255, 255};
    EXPECT_EQ(sampleImageBilinear(pels.data(), 5, qvVector<2>(0.5, 0.5)), 10.0);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 5, qvVector<2>(1.25, 0.5)), 17.5);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 5, qvVector<2>(1.0, 1.0)), 40.0);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 5, qvVector<2>(2.25, 1.75)), 28.125);  // rows 20 and 52.5 mixed 3 to 1
    EXPECT_EQ(sampleImageBilinear(pels.data(), 5, qvVector<2>(1.5, 2.49)),
              static_cast<double>(80.0f + (2.49f - 0.5f - 1.0f) * -50.0f));
}

TEST(LineFinder, HalfAPelAtTheBorderReadsTheBorderPels) {
    const std::vector<unsigned char> pels = {10, 20, 50, 90};
    EXPECT_EQ(sampleImageBilinear(pels.data(), 2, qvVector<2>(0.0, 0.0)), 10.0);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 2, qvVector<2>(0.25, 0.49)), 10.0);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 2, qvVector<2>(0.25, 1.0)), 30.0);
    EXPECT_EQ(sampleImageBilinear(pels.data(), 2, qvVector<2>(1.0, 0.125)), 15.0);
}

TEST(LineFinder, BilinearSampleIsTakenInSinglePrecision) {
    const std::vector<unsigned char> pels = {0, 1, 0, 1};
    EXPECT_EQ(sampleImageBilinear(pels.data(), 2, qvVector<2>(0.6, 0.5)), static_cast<double>(0.6f - 0.5f));
    EXPECT_NE(sampleImageBilinear(pels.data(), 2, qvVector<2>(0.6, 0.5)), 0.6 - 0.5);
}

// ---- whole runs ----

TEST(LineFinder, UnpreparedStateIsABrokenPromiseAndKeepsTheResults) {
    std::vector<std::vector<qvLineFinderResults>> results(3);
    EXPECT_THROW(runLineFinder(qv_spectrumState(), plainRequest(false), {qvDegree(90.0)}, results), qvInvariantFailure);
    EXPECT_EQ(results.size(), 3u);
}

TEST(LineFinder, FailureKeepsTheFormerResults) {
    std::vector<std::vector<qvLineFinderResults>> results(3);
    qv_spectrumState state = lineAt16(filled(32, 32, 1));
    state.clientFromImage = qvXform<2>(qvMatrix<2>(1.0, 2.0, 2.0, 4.0), qvVector<2>());
    EXPECT_THROW(runLineFinder(state, plainRequest(false), {qvDegree(90.0)}, results), qvMatrixErr::Singular);
    EXPECT_EQ(results.size(), 3u);
}

TEST(LineFinder, ParamsDefaults) {
    const qv_ridgeFinderParams params;
    EXPECT_FALSE(params.keepPoints);
    EXPECT_EQ(params.lineGroup.highThreshold, 40.0);
    EXPECT_EQ(params.lineGroup.thresholdRatio, 0.5);
    EXPECT_EQ(params.lineGroup.grayGateMode, 0);
    EXPECT_EQ(params.lineGroup.grayGateFlag, 0);
    EXPECT_EQ(params.lineGroup.responseSelect, 0);
}

TEST(LineFinder, UprightLineStartsAtItsUpperEndAndFlatLineAtItsLeftEnd) {
    const auto upright = run(lineAt16(filled(32, 32, 0)), false, 90.0);
    ASSERT_EQ(upright.size(), 1u);
    expectSegment(upright[0], 16.5, 1.5, 16.5, 30.5);
    EXPECT_EQ(upright[0].statsMask(), 0);
    EXPECT_EQ(upright[0].lineQuality(), 0.0);
    const auto turnedRound = run(lineAt16(filled(32, 32, 0)), false, -90.0);
    ASSERT_EQ(turnedRound.size(), 1u);
    expectSegment(turnedRound[0], 16.5, 1.5, 16.5, 30.5);
    const auto flat = run(stateOf(rows(32, 9, 12), filled(32, 32, 0)), false, 180.0);
    ASSERT_EQ(flat.size(), 1u);
    expectSegment(flat[0], 1.5, 10.5, 30.5, 10.5);
}

TEST(LineFinder, LinesComeInTheOrderOfTheScan) {
    const qvPelBuffer<unsigned char> square = columns(64, 40, 43);
    for (long y = 0; y < 64; ++y)
        for (long x = 12; x < 15; ++x) square.put(x, y, kBright);
    const auto lines = run(stateOf(square, filled(64, 64, 0)), false);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NEAR(lines[0].segment().p1().x(), 13.5, 0.1);
    EXPECT_NEAR(lines[1].segment().p1().x(), 41.5, 0.1);
}

TEST(LineFinder, OneListForEachDirection) {
    std::vector<std::vector<qvLineFinderResults>> results(5);
    runLineFinder(lineAt16(filled(32, 32, 0)), plainRequest(false), {qvDegree(90.0), qvDegree(-90.0)}, results);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].size(), 1u);
    EXPECT_EQ(results[1].size(), 1u);
    runLineFinder(stateOf(filled(32, 32, 9), filled(32, 32, 0)), plainRequest(true), {qvDegree(90.0)}, results);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_TRUE(results[0].empty());
    runLineFinder(lineAt16(filled(32, 32, 0)), plainRequest(false), {}, results);
    EXPECT_TRUE(results.empty());
}

TEST(LineFinder, ResultsCarryOffsetAndClientTransform) {
    // Sample (16.5, 1.5) is image (68.5, 5.5) and, with the offset, (168.5, -34.5).
    const qvXform<2> imageFromSample(qvMatrix<2>(4.0, 0.0, 0.0, 2.0), qvVector<2>(2.5, 2.5));
    const qvXform<2> clientFromImage(qvMatrix<2>(0.4, 0.3, 0.3, -0.4), qvVector<2>(10.0, 20.0));
    qv_spectrumState state = lineAt16(filled(140, 70, 0), imageFromSample);
    state.imageOffset = qvPair<long>(100, -40);
    state.clientFromImage = clientFromImage;
    // Down the image: (0.3, -0.4) at the client.
    const auto lines = run(state, false, -53.13010235415598);
    ASSERT_EQ(lines.size(), 1u);
    expectSegment(lines[0], 10.0 + 0.4 * 168.5 - 0.3 * 34.5, 20.0 + 0.3 * 168.5 + 0.4 * 34.5,
                  10.0 + 0.4 * 168.5 + 0.3 * 23.5, 20.0 + 0.3 * 168.5 - 0.4 * 23.5, 1e-5);
}

TEST(LineFinder, EndsAreClippedToTheWorkImage) {
    // The image begins at sample row 8 and ends with row 24: y = 4 * 1.5 - 32 lies above it.
    const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 4.0), qvVector<2>(0.0, -32.0));
    const auto above = run(lineAt16(filled(32, 200, 0), imageFromSample), false);
    ASSERT_EQ(above.size(), 1u);
    expectSegment(above[0], 16.5, 0.001, 16.5, 90.0);
    // With both ends outside they stay outside.
    const auto both = run(lineAt16(filled(32, 65, 0), imageFromSample), false);
    ASSERT_EQ(both.size(), 1u);
    expectSegment(both[0], 16.5, -26.0, 16.5, 90.0);
}

TEST(LineFinder, FilterSizesInClientUnitsFollowTheStretch) {
    // In client units of a quarter and half a sample pel: lengths 8 and 16 are two samples across and eight along.
    const qvXform<2> imageFromSample(qvMatrix<2>(4.0, 0.0, 0.0, 2.0), qvVector<2>(2.5, 2.5));
    qv_ridgeFinderParams request = plainRequest(false);
    request.spec.kind = 4;
    request.spec.band = {8.0, 16.0};
    request.spec.ratio = 3.0;
    std::vector<std::vector<qvLineFinderResults>> results;
    runLineFinder(lineAt16(filled(140, 70, 0), imageFromSample), request, {qvDegree(90.0)}, results);
    ASSERT_EQ(results[0].size(), 1u);
    expectSegment(results[0][0], 68.5, 5.5, 68.5, 63.5, 1e-5);
}

TEST(LineFinder, KindChoosesTheResponse) {
    // On one bright column the real part (kind 3) peaks in the middle, the imaginary part (kind 2) only beside it.
    const qv_spectrumState state = stateOf(columns(64, 20, 21), filled(64, 64, 0));
    const auto columnsFound = [&](long kind) {
        qv_ridgeFinderParams request = plainRequest(false);
        request.spec.kind = kind;
        request.spec.band = {2.0, 8.0};
        request.spec.ratio = 3.0;
        std::vector<std::vector<qvLineFinderResults>> results;
        runLineFinder(state, request, {qvDegree(90.0)}, results);
        std::vector<double> columns;
        for (const qvLineFinderResults& line : results[0]) columns.push_back(line.segment().p1().x());
        return columns;
    };
    const auto hasMiddle = [](const std::vector<double>& columns) {
        return std::any_of(columns.begin(), columns.end(), [](double x) { return std::fabs(x - 20.5) < 0.01; });
    };
    const std::vector<double> magnitude = columnsFound(4);
    ASSERT_EQ(magnitude.size(), 1u);
    EXPECT_NEAR(magnitude[0], 20.5, 1e-6);
    EXPECT_TRUE(hasMiddle(columnsFound(3)));
    EXPECT_FALSE(columnsFound(2).empty());
    EXPECT_FALSE(hasMiddle(columnsFound(2)));
}

TEST(LineFinder, PolarityOfTheLineIsPassedOn) {
    const auto lines = run(stateOf(columns(64, 20, 44), filled(64, 64, 0)), true, -90.0);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].polarity(), lines[1].polarity());
    const auto turnedRound = run(stateOf(columns(64, 20, 44), filled(64, 64, 0)), false, 90.0);
    ASSERT_EQ(turnedRound.size(), 2u);
    EXPECT_EQ(turnedRound[0].unguardedPolarity(), lines[1].polarity());
    EXPECT_EQ(turnedRound[1].unguardedPolarity(), lines[0].polarity());
}

TEST(LineFinder, LineOutsideTheImageIsAPointWithoutStatisticsAndDroppedWithThem) {
    const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 1.0), qvVector<2>(1000.0, 0.0));
    qv_spectrumState state = lineAt16(filled(32, 32, 0), imageFromSample);
    state.imageOffset = qvPair<long>(6, 8);
    state.clientFromImage = qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), qvVector<2>(1.0, 1.0));
    const auto withoutPoints = run(state, false);
    ASSERT_EQ(withoutPoints.size(), 1u);
    expectSegment(withoutPoints[0], 13.0, 17.0, 13.0, 17.0);
    EXPECT_TRUE(run(state, true).empty());
}

// ---- statistics along a line ----

TEST(LineFinder, StatisticsTakeEverySecondPointFromTheFirst) {
    // Points at rows 1.5 to 30.5; every second one stands at the centre of an odd row.
    const auto lines = run(lineAt16(rowLevels([](long y) { return y % 2 == 1 ? 100 : 220; })), true);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].statsMask(), 31);
    EXPECT_EQ(lines[0].sampleCount(), 15);  // 1.5 to 29.5
    EXPECT_EQ(lines[0].meanGrey(), 100.0);
    EXPECT_EQ(lines[0].greyRange(), 0.0);
    EXPECT_EQ(lines[0].greyDeviation(), 0.0);
}

TEST(LineFinder, MeanRangeAndDeviationOfTheSamples) {
    // Of the 15 odd rows 1, 5, 9 ... 29 hold 90 and 3, 7 ... 27 hold 115: eight and seven samples.
    const auto lines = run(lineAt16(rowLevels([](long y) { return y % 4 == 1 ? 90 : y % 4 == 3 ? 115 : 7; })), true);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].sampleCount(), 15);
    EXPECT_NEAR(lines[0].meanGrey(), 101.66666666666667, 1e-12);  // (720 + 805) / 15
    EXPECT_EQ(lines[0].greyRange(), 25.0);
    EXPECT_NEAR(lines[0].greyDeviation(), 12.472191289246471, 1e-9);  // 25 sqrt(56) / 15
}

TEST(LineFinder, SamplesAreMappedToTheImage) {
    // Sample row r is image row 2 r + 1: centres at 4, 8, 12 ... pels, half way between two rows of the image.
    const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 2.0), qvVector<2>(0.0, 1.0));
    const qvPelBuffer<unsigned char> image = filled(40, 66, 0);
    for (long y = 0; y < 66; ++y)
        for (long x = 0; x < 40; ++x)
            image.put(x, y, static_cast<unsigned char>(y % 4 == 3 ? 60 : y % 4 == 0 ? 20 : 0));
    const auto lines = run(lineAt16(image, imageFromSample), true);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].sampleCount(), 15);
    EXPECT_EQ(lines[0].meanGrey(), 40.0);
    EXPECT_EQ(lines[0].greyRange(), 0.0);
}

TEST(LineFinder, SamplesBelowTheLargestCoordinateCount) {
    const auto countIn = [](long width, long height) {
        const auto lines = run(lineAt16(filled(width, height, 5)), true);
        return lines.empty() ? 0L : lines[0].sampleCount();
    };
    EXPECT_EQ(countIn(32, 32), 15);
    EXPECT_EQ(countIn(32, 31), 15);  // 29.5 < 30
    EXPECT_EQ(countIn(32, 30), 14);  // 29.5 is not below 29
    EXPECT_EQ(countIn(32, 9), 4);    // 1.5, 3.5, 5.5, 7.5 < 8
    EXPECT_EQ(countIn(18, 9), 4);    // 16.5 < 17
    EXPECT_EQ(countIn(17, 9), 0);    // 16.5 is not below 16: no sample, no line
}

TEST(LineFinder, SampleAtTheLargestCoordinateDoesNotCount) {
    // Half a pel further on, the last sample stands at 30.
    const auto countIn = [](const qvPelBuffer<unsigned char>& square, double degrees, double tx, double ty, long width,
                            long height) {
        const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 1.0), qvVector<2>(tx, ty));
        return run(stateOf(square, filled(width, height, 5), imageFromSample), true, degrees).at(0).sampleCount();
    };
    EXPECT_EQ(countIn(columns(32, 15, 18), 90.0, 0.0, 0.5, 40, 31), 14);
    EXPECT_EQ(countIn(columns(32, 15, 18), 90.0, 0.0, 0.5, 40, 32), 15);
    EXPECT_EQ(countIn(rows(32, 15, 18), 0.0, 0.5, 0.0, 31, 40), 14);
    EXPECT_EQ(countIn(rows(32, 15, 18), 0.0, 0.5, 0.0, 32, 40), 15);
}

TEST(LineFinder, SamplesFromZeroCount) {
    // x = 16.5 - 16.5 + rounding, y from exactly 0: within half a pel of the border the first pels count alone.
    const auto countWith = [](double tx, double ty) {
        const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 1.0), qvVector<2>(tx, ty));
        const auto lines = run(lineAt16(rowLevels([](long) { return 77; }), imageFromSample), true);
        if (lines.empty()) return 0L;
        EXPECT_EQ(lines[0].meanGrey(), 77.0);
        return lines[0].sampleCount();
    };
    EXPECT_EQ(countWith(0.0, -1.5), 15);    // 0, 2, 4 ... 28
    EXPECT_EQ(countWith(0.0, -1.625), 14);  // the first at -0.125
    EXPECT_EQ(countWith(-16.25, 0.0), 15);  // x = 0.25, half of its pels outside
    EXPECT_EQ(countWith(-16.625, 0.0), 0);  // x = -0.125
}

TEST(LineFinder, LineOfSixPointsHasThreeSamples) {
    qvPelBuffer<unsigned char> image = filled(8, 8, 0);
    for (long x = 0; x < 8; ++x) {
        image.put(x, 1, 30);
        image.put(x, 3, 60);
        image.put(x, 5, 120);
    }
    const auto lines = run(stateOf(columns(8, 4, 5), image), true);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].sampleCount(), 3);
    EXPECT_EQ(lines[0].meanGrey(), 70.0);
    EXPECT_EQ(lines[0].greyRange(), 90.0);
}

TEST(LineFinder, SquareOfSevenRowsGivesChainsTooShortForALine) {
    EXPECT_TRUE(run(stateOf(columns(7, 3, 4), filled(7, 7, 0)), false).empty());
}

TEST(LineFinder, VarianceOfAtMostTheRoundingLimitIsNoDeviation) {
    // Around x = 0.5 the weight of column 1 is 0 for the upper seven samples and 2^-24 for the lower eight. With grey
    // level 1 there the variance is 8.8e-16, with 2 it is 3.5e-15.
    const auto deviationWith = [](unsigned char level) {
        const qvXform<2> imageFromSample(qvMatrix<2>(1e-6, 2e-9, 0.0, 1.0), qvVector<2>(0.5 - 16.5e-6, 0.0));
        qvPelBuffer<unsigned char> image = filled(32, 32, 0);
        for (long y = 0; y < 32; ++y) image.put(1, y, level);
        const auto lines = run(lineAt16(image, imageFromSample), true, 90.0);
        EXPECT_EQ(lines.at(0).sampleCount(), 15);
        EXPECT_GT(lines.at(0).greyRange(), 0.0);
        return lines.at(0).greyDeviation();
    };
    EXPECT_EQ(deviationWith(1), 0.0);
    EXPECT_NEAR(deviationWith(2), 5.95e-8, 0.01e-8);
}

TEST(LineFinder, SamplesAtTheEndOfAnEnormousRowStayInside) {
    // Single precision has no odd numbers beyond 2^24: x = 16777218 - 0.1 would be rounded up.
    constexpr long kWidth = 16777219;
    const std::vector<unsigned char> pels(static_cast<std::size_t>(kWidth) * 2, 77);
    const qvPelBuffer_const<unsigned char> image(pels.data(), kWidth, 2, kWidth);
    const qvXform<2> imageFromSample(qvMatrix<2>(1.0, 0.0, 0.0, 1.0 / 64.0), qvVector<2>(16777201.4, 0.25));
    const auto lines = run(lineAt16(image, imageFromSample), true);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].sampleCount(), 15);
    EXPECT_EQ(lines[0].meanGrey(), 77.0);
}

// ---- from an oblong image ----

TEST(LineFinder, ObliqueLineOfAnOblongImageLiesWhereItWasDrawn) {
    // A street 10 pels wide through (500, 350) at 8 degrees, in a client frame mirrored in y.
    const qvFLine drawn(qvDegree(8.0), qvVector<2>(500.0, 350.0));
    const qvPelBuffer<unsigned char> image = filled(1000, 700, 160);
    for (long y = 0; y < 700; ++y)
        for (long x = 0; x < 1000; ++x) {
            const qvVector<2> centre(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
            if (std::fabs(drawn.distanceFrom(centre)) < 5.0) image.put(x, y, 60);
        }
    qvPelBuffer_const<unsigned char> bound = image;
    const qvXform<2> clientFromImage(qvMatrix<2>(0.5, 0.0, 0.0, -0.5), qvVector<2>(3.0, 400.0));
    bound.clientFromImageXform(clientFromImage);
    qv_spectrumState state;
    prepareSpectrum(state, bound, qv_spectrumParams());

    qv_ridgeFinderParams request = plainRequest(true);
    request.spec.kind = 4;
    request.spec.band = {7.5, 30.0};
    request.spec.ratio = 2.925714285714286;
    std::vector<std::vector<qvLineFinderResults>> results;
    runLineFinder(state, request, {qvDegree(-8.0)}, results);
    ASSERT_FALSE(results[0].empty());
    const auto longest = std::max_element(results[0].begin(), results[0].end(),
                                          [](const qvLineFinderResults& a, const qvLineFinderResults& b) {
                                              return a.segment().len() < b.segment().len();
                                          });
    const qvXform<2> imageFromClient = clientFromImage.inverse();
    const qvVector<2> p1 = imageFromClient * longest->segment().p1();
    const qvVector<2> p2 = imageFromClient * longest->segment().p2();
    EXPECT_LT(std::fabs(drawn.distanceFrom(p1)), 3.0);
    EXPECT_LT(std::fabs(drawn.distanceFrom(p2)), 3.0);
    EXPECT_LT(p1.x(), 30.0);
    EXPECT_GT(p2.x(), 940.0);
    EXPECT_NEAR(longest->meanGrey(), 60.0, 1.0);
}

TEST(LineFinder, UsedScratchGivesWhatAFreshOneGives) {
    const qv_spectrumState upright = stateOf(columns(64, 20, 44), filled(64, 64, kGround));
    const qv_spectrumState single = lineAt16(filled(40, 40, kGround));
    qv_LineFinderScratch scratch;
    std::vector<std::vector<qvLineFinderResults>> results(3);
    const auto expectFresh = [&](const qv_spectrumState& state, const qv_ridgeFinderParams& params) {
        const std::vector<qvDegree> directions{qvDegree(90.0)};
        std::vector<std::vector<qvLineFinderResults>> fresh;
        runLineFinder(state, params, directions, fresh);
        runLineFinder(state, params, directions, results, nullptr, 0, &scratch);
        ASSERT_EQ(1u, results.size());
        ASSERT_EQ(fresh[0].size(), results[0].size());
        for (std::size_t i = 0; i < fresh[0].size(); ++i) {
            EXPECT_EQ(fresh[0][i].segment().p1(), results[0][i].segment().p1());
            EXPECT_EQ(fresh[0][i].segment().p2(), results[0][i].segment().p2());
            EXPECT_EQ(fresh[0][i].unguardedPolarity(), results[0][i].unguardedPolarity());
        }
    };
    expectFresh(upright, plainRequest(true));
    EXPECT_EQ(2u, results[0].size());
    expectFresh(single, plainRequest(false));
    EXPECT_EQ(1u, results[0].size());
    // The seed tracer, and the imaginary part, leave other marks in the run record.
    qv_ridgeFinderParams other = plainRequest(true);
    other.lineGroup.responseSelect = 0;
    expectFresh(upright, other);
    other = plainRequest(false);
    other.spec.kind = 2;
    other.spec.band = {2.0, 8.0};
    expectFresh(upright, other);
    expectFresh(upright, plainRequest(true));
    EXPECT_EQ(2u, results[0].size());
}

// ---- grey gate ----

namespace {

/// A square of 64 whose one line stands at x = 32.5, brightest at y = 32: seeds are local maxima.
qv_spectrumState lineAt32(const qvPelBuffer_const<unsigned char>& workImage,
                          const qvXform<2>& imageFromSample = qvXform<2>()) {
    const qvPelBuffer<unsigned char> square = columns(64, 31, 34);
    for (long y = 0; y < 64; ++y) square.put(32, y, static_cast<unsigned char>(kBright + 40 - std::abs(y - 32)));
    return stateOf(square, workImage, imageFromSample);
}

/// Lines that the seed tracer finds under a gate.
std::size_t linesThroughGate(const qv_spectrumState& state, long mode, unsigned char level) {
    qv_ridgeFinderParams params = plainRequest(false);
    params.lineGroup.responseSelect = 0;
    params.lineGroup.grayGateMode = mode;
    params.lineGroup.grayGateFlag = level;
    std::vector<std::vector<qvLineFinderResults>> results;
    runLineFinder(state, params, {qvDegree(90.0)}, results);
    return results.at(0).size();
}

}  // namespace

TEST(LineFinder, GateOneLetsLinesBelowTheLevelThroughAndGateTwoThoseAbove) {
    const qv_spectrumState state = lineAt32(filled(64, 64, 100));
    EXPECT_EQ(linesThroughGate(state, 0, 100), 1u);
    EXPECT_EQ(linesThroughGate(state, 1, 100), 0u);
    EXPECT_EQ(linesThroughGate(state, 1, 101), 1u);
    EXPECT_EQ(linesThroughGate(state, 2, 100), 0u);
    EXPECT_EQ(linesThroughGate(state, 2, 99), 1u);
}

TEST(LineFinder, UnknownGateIsNone) {
    const qv_spectrumState state = lineAt32(filled(64, 64, 100));
    EXPECT_EQ(linesThroughGate(state, 3, 100), 1u);
    EXPECT_EQ(linesThroughGate(state, -1, 100), 1u);
}

TEST(LineFinder, GateLooksAtTheWorkImage) {
    // The line lies at 2 * 32.5 + 7 = 72 in the image, which is bright from column 70 on.
    const qvPelBuffer<unsigned char> image = filled(150, 140, 20);
    for (long y = 0; y < 140; ++y)
        for (long x = 70; x < 150; ++x) image.put(x, y, 180);
    const qvXform<2> imageFromSample(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), qvVector<2>(7.0, 3.0));
    const qv_spectrumState state = lineAt32(image, imageFromSample);
    EXPECT_EQ(linesThroughGate(state, 2, 100), 1u);
    EXPECT_EQ(linesThroughGate(state, 1, 100), 0u);
    const qv_spectrumState nearer = lineAt32(image, qvXform<2>(imageFromSample.matrix(), qvVector<2>(3.0, 3.0)));
    EXPECT_EQ(linesThroughGate(nearer, 2, 100), 0u);
}
