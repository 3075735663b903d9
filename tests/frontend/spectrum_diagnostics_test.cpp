// Records of the spectrum and of the search for street directions.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/frontend/spectrum_records.h"
#include "tests/support/recorded.h"

namespace {

using Point = qvVector<2>;
using qvtest::columnOf;
using qvtest::plotOf;
using qvtest::recordOf;
using qvtest::shapesOf;
using qvtest::tableOf;
using qvtest::textOf;
using qvtest::titlesOf;
using Cells = std::vector<std::wstring>;
using Image8 = qvPelBuffer_const<unsigned char>;

// Ring from 64 to 95 frequency bins.
const qv_angleFinderParams kEdgeMode = {3.0, 10.0, 1000.0, 0.5, 0.75, 2};

/// Stripes of 90 and 110, `period` pels along x.
Image8 stripes(long width, long height, long period) {
    qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            image.put(x, y, static_cast<unsigned char>((x / (period / 2)) % 2 == 0 ? 90 : 110));
    return image;
}

Image8 uniform(long width, long height) {
    qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y) std::fill_n(image.pointToRow(y), width, static_cast<unsigned char>(50));
    return image;
}

struct Directions {
    qvDiagObject diagObject;

    Directions(const std::vector<double>& angles, const std::vector<double>& scores, double horizontal, double vertical,
               const Image8& image = uniform(40, 20)) {
        const std::vector<qvDegree> degrees(angles.begin(), angles.end());
        recordStreetDirections(qv_spectrumState(), image, degrees, scores, 0.5, qvDegree(horizontal),
                               qvDegree(vertical), diagObject);
    }
    const qvDiagRecord& record() const { return recordOf(diagObject, L"Street Directions"); }
    Cells use() const { return columnOf(tableOf(record(), L"Angles"), L"use"); }
    const std::wstring& choice() const { return textOf(record(), L"Choice"); }
};

}  // namespace

TEST(SpectrumRecords, SquareIsShownInTheClientFrame) {
    Image8 image = uniform(505, 251);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 3.0), Point(10.0, 20.0)));
    image.offset(7, -4);
    qv_spectrumState state;
    qvDiagObject diagObject;
    prepareSpectrum(state, image, qv_spectrumParams(), &diagObject);
    EXPECT_EQ(titlesOf(diagObject), (Cells{L"Sampled Square", L"Spectrum"}));
    const qvDiagRecord& square = diagObject.diagRecord(0);
    EXPECT_EQ(square.image().pointToOffset(), state.fftImage.pointToOffset()) << "shared";
    EXPECT_EQ(textOf(square, L"Size"), L"505 by 251 pels sampled as 256 by 256");
    // 246 samples span 500 by 246 pels, which begin 2.5 inside the image, which begins at (7, -4).
    const Point corner = square.image().clientFromImageXform() * Point(0.0, 0.0);
    EXPECT_NEAR(corner.x(), 10.0 + 2.0 * (7.0 + 2.5), 1e-9);
    EXPECT_NEAR(corner.y(), 20.0 + 3.0 * (-4.0 + 2.5), 1e-9);
    const Point far = square.image().clientFromImageXform() * Point(246.0, 246.0);
    EXPECT_NEAR(far.x() - corner.x(), 1000.0, 1e-9);
    EXPECT_NEAR(far.y() - corner.y(), 738.0, 1e-9);
}

TEST(SpectrumRecords, SpectrumOfAUniformSquareIsOneWhitePelInTheMiddle) {
    qv_spectrumState state;
    qvDiagObject diagObject;
    prepareSpectrum(state, uniform(300, 200), qv_spectrumParams(), &diagObject);
    const Image8& picture = recordOf(diagObject, L"Spectrum").image();
    ASSERT_EQ(picture.width(), 256);
    ASSERT_EQ(picture.height(), 256);
    for (long y = 0; y < 256; ++y)
        for (long x = 0; x < 256; ++x) EXPECT_EQ(picture.get(x, y), x == 128 && y == 128 ? 255 : 0) << x << ", " << y;
}

TEST(SpectrumRecords, SpectrumWithoutAnyMagnitudeIsBlack) {
    qv_spectrumState state;
    state.fftImage = uniform(4, 4);
    state.spectrum = qvFrequencyBuffer(4, 4);
    qvDiagObject diagObject;
    recordSpectrum(state, diagObject);
    EXPECT_EQ(recordOf(diagObject, L"Spectrum").image().get(2, 2), 0);
}

TEST(SpectrumRecords, SpectrumIsLogarithmic) {
    qv_spectrumState state;
    state.fftImage = uniform(4, 4);
    state.spectrum = qvFrequencyBuffer(4, 4);
    // ln(1 + 99) is twice ln(1 + 9): 127.5, and half a level more to round.
    state.spectrum.put(2, 2, qvPair<double>(0.0, 99.0), true);
    state.spectrum.put(3, 1, qvPair<double>(-9.0, 0.0), true);
    qvDiagObject diagObject;
    recordSpectrum(state, diagObject);
    const Image8& picture = recordOf(diagObject, L"Spectrum").image();
    EXPECT_EQ(picture.get(2, 2), 255);
    EXPECT_NEAR(picture.get(3, 1), 128, 1);
    EXPECT_EQ(picture.get(0, 0), 0);
}

TEST(AngleRecords, RingAndPeaksLieOnTheSpectrum) {
    qv_spectrumState state;
    qvDiagObject diagObject;
    prepareSpectrum(state, stripes(251, 251, 6), qv_spectrumParams(), &diagObject);
    std::vector<qvDegree> angles;
    std::vector<double> scores;
    findDominantAngles(state, kEdgeMode, angles, scores, &diagObject);
    ASSERT_FALSE(angles.empty());
    EXPECT_EQ(titlesOf(diagObject), (Cells{L"Sampled Square", L"Spectrum", L"Angle Profile"}));
    const std::vector<qvShape>& ring = shapesOf(recordOf(diagObject, L"Spectrum"), L"Ring");
    ASSERT_EQ(ring.size(), 2U);
    EXPECT_EQ(ring[0].radius, 64.0);
    EXPECT_EQ(ring[1].radius, 95.0);
    EXPECT_EQ(ring[0].p1, Point(128.5, 128.5));
    EXPECT_FALSE(ring[0].hasDisplaySize);
    // Upright stripes: the best peak lies along x, to both sides.
    const std::vector<qvShape>& peaks = shapesOf(recordOf(diagObject, L"Spectrum"), L"Peaks");
    ASSERT_EQ(peaks.size(), 2 * angles.size());
    EXPECT_NEAR(peaks[0].p1.x(), 128.5 + 64.0, 0.5);
    EXPECT_NEAR(peaks[0].p2.x(), 128.5 + 95.0, 0.5);
    EXPECT_NEAR(peaks[0].p2.y(), 128.5, 1.0);
    EXPECT_NEAR(peaks[1].p2.x(), 128.5 - 95.0, 0.5);
}

TEST(AngleRecords, ProfileIsTheOneThatThePeaksWereFoundIn) {
    qv_spectrumState state;
    prepareSpectrum(state, stripes(251, 251, 6), qv_spectrumParams());
    std::vector<qvDegree> angles;
    std::vector<double> scores;
    qvDiagObject diagObject;
    findDominantAngles(state, kEdgeMode, angles, scores, &diagObject);
    EXPECT_EQ(diagObject.numRecords(), 1) << "without a spectrum there is nothing to draw on";
    const qvDiagPlot& plot = plotOf(diagObject.diagRecord(0), L"Band-Passed Profile");
    ASSERT_EQ(plot.curves.size(), 1U);
    const qvDiagCurve& curve = plot.curves[0];
    EXPECT_EQ(curve.values.size(), 360U) << "half a turn at two samples a degree";
    EXPECT_EQ(curve.start, -89.75) << "samples stand in the middle of their half degree";
    EXPECT_EQ(curve.step, 0.5);
    EXPECT_DOUBLE_EQ(*std::max_element(curve.values.begin(), curve.values.end()), scores[0]);
    ASSERT_EQ(plot.marks.size(), 1 + angles.size());
    EXPECT_EQ(plot.marks[0].kind, qvDiagMark::eLevel);
    EXPECT_EQ(plot.marks[0].from, 1000.0);
    EXPECT_EQ(plot.marks[0].caption, L"threshold 1000.0000");
    EXPECT_EQ(plot.marks[1].kind, qvDiagMark::ePoint);
    EXPECT_EQ(plot.marks[1].to, scores[0]);
    const double nearest = curve.start + curve.step * static_cast<double>(std::distance(
                                                          curve.values.begin(),
                                                          std::max_element(curve.values.begin(), curve.values.end())));
    EXPECT_NEAR(plot.marks[1].from, nearest, 0.25);
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Sum over the Ring").curves[0].start, -89.75);
    EXPECT_EQ(tableOf(diagObject.diagRecord(0), L"Angles").rows.size(), angles.size());
}

TEST(AngleRecords, CurvesAreNamed) {
    qv_spectrumState state;
    prepareSpectrum(state, stripes(251, 251, 6), qv_spectrumParams());
    std::vector<qvDegree> angles;
    std::vector<double> scores;
    qvDiagObject diagObject;
    findDominantAngles(state, kEdgeMode, angles, scores, &diagObject);
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Band-Passed Profile").curves.at(0).name, L"band-passed");
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Sum over the Ring").curves.at(0).name, L"sum");
}

TEST(AngleRecords, WithoutARecorderTheAnglesAreTheSame) {
    qv_spectrumState state;
    prepareSpectrum(state, stripes(300, 200, 8), qv_spectrumParams());
    std::vector<qvDegree> angles;
    std::vector<qvDegree> plainAngles;
    std::vector<double> scores;
    std::vector<double> plainScores;
    qvDiagObject diagObject;
    findDominantAngles(state, kEdgeMode, angles, scores, &diagObject);
    findDominantAngles(state, kEdgeMode, plainAngles, plainScores, nullptr);
    EXPECT_EQ(scores, plainScores);
    ASSERT_EQ(angles.size(), plainAngles.size());
    for (std::size_t i = 0; i < angles.size(); ++i) EXPECT_EQ(angles[i].toDouble(), plainAngles[i].toDouble());
}

TEST(StreetDirectionRecords, EveryAngleHasItsUse) {
    const Directions pair({2.0, 45.0, -88.0, 91.0}, {100.0, 90.0, 50.0, 49.0}, 2.0, -88.0);
    EXPECT_EQ(pair.choice(), L"The pair nearest to a right angle");
    EXPECT_EQ(pair.use(), (Cells{L"direction 0", L"not in the best pair", L"direction 1", L"too weak"}));
    EXPECT_EQ(columnOf(tableOf(pair.record(), L"Angles"), L"of the best"),
              (Cells{L"1.0000", L"0.9000", L"0.5000", L"0.4900"}));
    EXPECT_EQ(textOf(pair.record(), L"Direction 1, nearer the vertical"), L"-88.0000 degrees");
}

TEST(StreetDirectionRecords, FallbacksAreNamed) {
    const Directions one({2.0, 91.0}, {100.0, 49.0}, 2.0, 92.0);
    EXPECT_EQ(one.choice(), L"One angle: the other direction is its perpendicular");
    EXPECT_EQ(one.use(), (Cells{L"direction 0", L"too weak"}));
    const Directions none({}, {}, 0.0, 90.0);
    EXPECT_EQ(none.choice(), L"No angle: the axes of the image stand in");
    EXPECT_TRUE(none.use().empty());
}

TEST(StreetDirectionRecords, DirectionsRunThroughTheMiddleOfTheImage) {
    Image8 image = uniform(40, 20);
    image.offset(100, 50);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), Point(0.0, 0.0)));
    const Directions pair({0.0, 90.0}, {2.0, 1.0}, 0.0, 90.0, image);
    const std::vector<qvShape>& drawn = shapesOf(pair.record(), L"Directions");
    ASSERT_EQ(drawn.size(), 2U);
    EXPECT_NEAR(drawn[0].p1.distance(Point(200.0, 120.0)), 0.0, 1e-9);
    EXPECT_NEAR(drawn[0].p2.distance(Point(280.0, 120.0)), 0.0, 1e-9);
    EXPECT_NEAR(drawn[1].p1.distance(Point(240.0, 100.0)), 0.0, 1e-9);
    EXPECT_NEAR(drawn[1].p2.distance(Point(240.0, 140.0)), 0.0, 1e-9);
}

TEST(StreetDirectionRecords, OneAngleThatIsNeitherDirectionIsTheChosenOne) {
    // As it stands in the list it may be a half turn away from the direction that was made of it.
    const Directions one({178.0, 91.0}, {100.0, 49.0}, -2.0, 88.0);
    EXPECT_EQ(one.use(), (Cells{L"chosen", L"too weak"}));
    const Directions upright({88.0}, {100.0}, -2.0, 88.0);
    EXPECT_EQ(upright.use(), (Cells{L"direction 1"}));
}
