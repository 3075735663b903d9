#include "qvstreet/frontend/peak_finder_1d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

qvPelBuffer<double> profileOf(const std::vector<double>& values) {
    qvPelBuffer<double> profile(static_cast<long>(values.size()), 1, 32);
    for (std::size_t i = 0; i < values.size(); ++i) profile.put(static_cast<long>(i), 0, values[i]);
    return profile;
}

/// All peaks of at least 2, with positions in samples.
std::vector<qvPeak1D> peaksOf(const std::vector<double>& values) {
    std::vector<qvPeak1D> peaks;
    const std::int32_t count = qvPeakFinder1D(2.0, 1.0, 1.0).findPeaks(profileOf(values), peaks);
    EXPECT_EQ(static_cast<std::size_t>(count), peaks.size());
    for (const qvPeak1D& peak : peaks) EXPECT_EQ(1, peak.valid);
    return peaks;
}

std::vector<double> plateau(double outside, double inside, int count) {
    std::vector<double> values(static_cast<std::size_t>(count) + 2, inside);
    values.front() = outside;
    values.back() = outside;
    return values;
}

}  // namespace

TEST(PeakFinder1D, FieldsAfterConstruction) {
    const qvPeakFinder1D finder(1000.0, 2.0, 0.5);
    EXPECT_EQ(1000.0, finder.threshold());
    EXPECT_EQ(2.0, finder.valueScale());
    EXPECT_EQ(0.0, finder.positionOffset());
    EXPECT_EQ(0.5, finder.positionStep());
    EXPECT_EQ(5, finder.maxPlateauWidth());
    EXPECT_EQ(0, qvPeak1D().valid);
}

TEST(PeakFinder1D, SmallestProfileHasThreeValues) {
    const std::vector<qvPeak1D> peaks = peaksOf({1, 5, 1});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(1.0, peaks[0].position);
    EXPECT_EQ(5.0, peaks[0].height);
}

TEST(PeakFinder1D, SmallerProfileIsRefusedAndLeavesThePeaks) {
    std::vector<qvPeak1D> peaks(2, qvPeak1D{1, 7.0, 8.0});
    const qvPeakFinder1D finder(2.0, 1.0, 1.0);
    EXPECT_THROW(finder.findPeaks(profileOf({1, 5}), peaks), qvPeak1dErr::ImageTooSmall);
    EXPECT_THROW(finder.findPeaks(profileOf({5}), peaks), qvPeak1dErr::Errors);
    EXPECT_THROW(finder.findPeaks(qvPelBuffer<double>(), peaks), qvPeak1dErr::ImageTooSmall);
    ASSERT_EQ(2U, peaks.size());
    EXPECT_EQ(1, peaks[1].valid);
    EXPECT_EQ(7.0, peaks[1].position);
    peaks.clear();
    EXPECT_THROW(finder.findPeaks(profileOf({1, 5}), peaks), qvPeak1dErr::ImageTooSmall);
    EXPECT_TRUE(peaks.empty());
}

TEST(PeakFinder1D, FirstAndLastValuesAreNeverReported) {
    EXPECT_TRUE(peaksOf({9, 1, 9}).empty());
    EXPECT_TRUE(peaksOf({-9, -1, -9}).empty());
    EXPECT_TRUE(peaksOf({1, 2, 3, 9}).empty());
}

TEST(PeakFinder1D, LastInteriorValueIsReported) {
    const std::vector<qvPeak1D> peaks = peaksOf({0, 0, 1, 9, 1});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(3.0, peaks[0].position);
}

TEST(PeakFinder1D, PositionIsTheVertexOfTheParabola) {
    // a = 0, b = 4, c = 2: e = (0 - 2) / (2 (0 - 8 + 2)) = 1/6, towards the higher neighbour.
    const std::vector<qvPeak1D> right = peaksOf({0, 4, 2});
    ASSERT_EQ(1U, right.size());
    EXPECT_DOUBLE_EQ(1.0 + 1.0 / 6.0, right[0].position);
    EXPECT_EQ(4.0, right[0].height);
    const std::vector<qvPeak1D> left = peaksOf({2, 4, 0});
    ASSERT_EQ(1U, left.size());
    EXPECT_DOUBLE_EQ(1.0 - 1.0 / 6.0, left[0].position);
}

TEST(PeakFinder1D, ScaleStepAndOffset) {
    qvPeakFinder1D finder(2.0, 10.0, 0.5);
    finder.positionOffset(40.5);
    std::vector<qvPeak1D> peaks;
    // The least value is 2 * 10 = 20: a peak at index 1 + 1/6, a valley at index 6, and the 15 behind it is too low.
    ASSERT_EQ(2, finder.findPeaks(profileOf({0, 40, 20, 20, 19, 15, -20, 15, 0}), peaks));
    EXPECT_DOUBLE_EQ(0.5 * (1.0 + 1.0 / 6.0) + 40.5, peaks[0].position);
    EXPECT_DOUBLE_EQ(4.0, peaks[0].height);
    EXPECT_DOUBLE_EQ(43.5, peaks[1].position);
    EXPECT_DOUBLE_EQ(-2.0, peaks[1].height);
}

TEST(PeakFinder1D, HeightOfExactlyTheThresholdCounts) {
    EXPECT_EQ(1U, peaksOf({0, 2, 0}).size());
    EXPECT_EQ(0U, peaksOf({0, 1.9999, 0}).size());
    EXPECT_EQ(1U, peaksOf({0, -2, 0}).size());
    EXPECT_EQ(0U, peaksOf({0, -1.9999, 0}).size());
}

TEST(PeakFinder1D, ValleysBelowZeroHaveNegativeHeights) {
    const std::vector<qvPeak1D> peaks = peaksOf({0, -4, -2, 0, 6, 1, 3, -8, 0});
    ASSERT_EQ(4U, peaks.size());
    EXPECT_DOUBLE_EQ(1.0 + 1.0 / 6.0, peaks[0].position);
    EXPECT_EQ(-4.0, peaks[0].height);
    EXPECT_EQ(6.0, peaks[1].height);
    EXPECT_EQ(3.0, peaks[2].height);
    EXPECT_EQ(-8.0, peaks[3].height);
}

TEST(PeakFinder1D, DirectionTurnsAlsoWhereTheHeightFails) {
    // The dip at 1 is no valley, yet what follows it is a rise to a peak; and the mirror of it.
    const std::vector<qvPeak1D> peak = peaksOf({3, 1, 6, 0});
    ASSERT_EQ(1U, peak.size());
    EXPECT_EQ(6.0, peak[0].height);
    const std::vector<qvPeak1D> valley = peaksOf({-3, -1, -6, 0});
    ASSERT_EQ(1U, valley.size());
    EXPECT_EQ(-6.0, valley[0].height);
}

TEST(PeakFinder1D, PlateauIsReportedAtItsMiddle) {
    const std::vector<qvPeak1D> three = peaksOf({1, 5, 5, 5, 1});
    ASSERT_EQ(1U, three.size());
    EXPECT_EQ(2.0, three[0].position);
    EXPECT_EQ(5.0, three[0].height);
    const std::vector<qvPeak1D> two = peaksOf({0, 1, 5, 5, 1});
    ASSERT_EQ(1U, two.size());
    EXPECT_EQ(2.5, two[0].position);
}

TEST(PeakFinder1D, PlateauIsRefinedByTheValuesOnItsTwoSides) {
    // Before 1, on it 5, behind 3: e = (1 - 3) / (2 (1 - 10 + 3)) = 1/6 from the middle at 2.
    const std::vector<qvPeak1D> peaks = peaksOf({1, 5, 5, 5, 3});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_DOUBLE_EQ(2.0 + 1.0 / 6.0, peaks[0].position);
}

TEST(PeakFinder1D, FlatValleyIsReportedAtItsMiddle) {
    const std::vector<qvPeak1D> peaks = peaksOf({0, -1, -5, -5, -3});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_DOUBLE_EQ(2.5 + 1.0 / 6.0, peaks[0].position);
    EXPECT_EQ(-5.0, peaks[0].height);
}

TEST(PeakFinder1D, PlateauOfSixEqualValuesIsTheLongest) {
    const std::vector<qvPeak1D> peaks = peaksOf(plateau(0, 9, 6));
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(3.5, peaks[0].position);
    EXPECT_TRUE(peaksOf(plateau(0, 9, 7)).empty());
    EXPECT_EQ(1U, peaksOf(plateau(0, -9, 6)).size());
    EXPECT_TRUE(peaksOf(plateau(0, -9, 7)).empty());
}

TEST(PeakFinder1D, PlateauOfExactlyTheThresholdCounts) {
    EXPECT_EQ(1U, peaksOf({0, 2, 2, 0}).size());
    EXPECT_EQ(1U, peaksOf({0, -2, -2, 0}).size());
    EXPECT_EQ(0U, peaksOf({0, 1.5, 1.5, 0}).size());
}

TEST(PeakFinder1D, PlateauTooLongTurnsTheDirectionAllTheSame) {
    std::vector<double> values = plateau(0, 9, 7);
    values.insert(values.end(), {-5.0, 0.0});
    const std::vector<qvPeak1D> peaks = peaksOf(values);
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(-5.0, peaks[0].height);
}

TEST(PeakFinder1D, FlatStartIsNoPlateau) {
    EXPECT_TRUE(peaksOf({5, 5, 1}).empty());
    EXPECT_TRUE(peaksOf({5, 5, 5, 1, 1}).empty());
    EXPECT_TRUE(peaksOf({-5, -5, -5, 1}).empty());
    // What follows the flat start is searched as usual.
    const std::vector<qvPeak1D> peaks = peaksOf({5, 5, -9, 5});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(2.0, peaks[0].position);
}

TEST(PeakFinder1D, StepOnARiseOrAFallIsNoPeak) {
    const std::vector<qvPeak1D> rise = peaksOf({0, 5, 5, 7, 0});
    ASSERT_EQ(1U, rise.size());
    EXPECT_EQ(7.0, rise[0].height);
    EXPECT_TRUE(peaksOf({9, 5, 5, 3}).empty());
    EXPECT_TRUE(peaksOf({-9, -5, -5, -3}).empty());
    const std::vector<qvPeak1D> fall = peaksOf({0, -5, -5, -7, 0});
    ASSERT_EQ(1U, fall.size());
    EXPECT_EQ(-7.0, fall[0].height);
}

TEST(PeakFinder1D, PeaksComeInOrderOfPosition) {
    const std::vector<qvPeak1D> peaks = peaksOf({0, 3, 0, 9, 0, 5, 0});
    ASSERT_EQ(3U, peaks.size());
    EXPECT_EQ(1.0, peaks[0].position);
    EXPECT_EQ(3.0, peaks[1].position);
    EXPECT_EQ(5.0, peaks[2].position);
}

TEST(PeakFinder1D, PresetSizeEndsTheSearch) {
    std::vector<qvPeak1D> peaks(3);
    EXPECT_EQ(3, qvPeakFinder1D(2.0, 1.0, 1.0).findPeaks(profileOf({0, 9, 0, 8, 0, 7, 0, 6, 0}), peaks));
    ASSERT_EQ(3U, peaks.size());
    EXPECT_EQ(7.0, peaks[2].height);
    EXPECT_EQ(5.0, peaks[2].position);
    EXPECT_EQ(1, peaks[2].valid);
}

TEST(PeakFinder1D, PresetEntriesNotUsedAreMarkedSo) {
    std::vector<qvPeak1D> peaks(4, qvPeak1D{1, 70.0, 80.0});
    EXPECT_EQ(2, qvPeakFinder1D(2.0, 1.0, 1.0).findPeaks(profileOf({0, 9, 0, 8, 0}), peaks));
    ASSERT_EQ(4U, peaks.size());
    EXPECT_EQ(1, peaks[1].valid);
    EXPECT_EQ(8.0, peaks[1].height);
    EXPECT_EQ(0, peaks[2].valid);
    EXPECT_EQ(0, peaks[3].valid);
    EXPECT_EQ(70.0, peaks[3].position);
}

TEST(PeakFinder1D, EmptyVectorEndsEmptyWithoutPeaks) { EXPECT_TRUE(peaksOf({0, 1, 0, 1, 0}).empty()); }

TEST(PeakFinder1D, ProfileIsReadFromItsWindow) {
    qvPelBuffer<double> whole(9, 2, 32);
    const double values[] = {0, 99, 0, 1, 7, 1, 0, 50, 0};
    for (long x = 0; x < 9; ++x) {
        whole.put(x, 0, -values[x]);
        whole.put(x, 1, values[x]);
    }
    whole.offset(100, 200);
    ASSERT_TRUE(whole.window(102, 201, 5, 1, false));
    std::vector<qvPeak1D> peaks;
    EXPECT_EQ(1, qvPeakFinder1D(2.0, 1.0, 1.0).findPeaks(whole, peaks));
    EXPECT_EQ(2.0, peaks[0].position);
    EXPECT_EQ(7.0, peaks[0].height);
}

TEST(PeakFinder1D, NaNIsNeitherAboveNorBelow) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(peaksOf({1, 5, nan, 5, nan}).empty());
    // The walk does not turn at it, and goes on behind it.
    const std::vector<qvPeak1D> peaks = peaksOf({1, nan, 1, 5, 1});
    ASSERT_EQ(1U, peaks.size());
    EXPECT_EQ(3.0, peaks[0].position);
    EXPECT_EQ(5.0, peaks[0].height);
    const std::vector<qvPeak1D> behind = peaksOf({1, 3, nan, 2.5, 1});
    ASSERT_EQ(1U, behind.size());
    EXPECT_EQ(2.5, behind[0].height);
    EXPECT_TRUE(std::isnan(behind[0].position));
}
