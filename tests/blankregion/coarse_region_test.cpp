#include "qvstreet/blankregion/coarse_region.h"

#include <gtest/gtest.h>

#include "qvstreet/platform/pel_ops.h"

namespace {

constexpr unsigned char kThreshold = 22;
constexpr unsigned char kLoud = 90;

/// A deviation image, all loud or all of one level to begin with.
class Deviations {
 public:
    Deviations(long width, long height, unsigned char level) : image_(width, height, 32) { qfPelSet(image_, level); }

    Deviations& row(long y, long begin, long end, unsigned char level) {
        for (long x = begin; x < end; ++x) image_.put(x, y, level);
        return *this;
    }
    Deviations& pel(long x, long y, unsigned char level) { return row(y, x, x + 1, level); }

    qvPelRect find(long wantedHeight, unsigned char threshold = kThreshold) const {
        return findCoarseRegion(image_, threshold, wantedHeight);
    }
    const qvPelBuffer<unsigned char>& image() const { return image_; }

 private:
    qvPelBuffer<unsigned char> image_;
};

TEST(CoarseRegion, ThresholdIs22UpToALowestOf11AndTwiceTheLowestAbove) {
    EXPECT_EQ(quietThreshold(0), 22);
    EXPECT_EQ(quietThreshold(10), 22);
    EXPECT_EQ(quietThreshold(11), 22);
    EXPECT_EQ(quietThreshold(12), 24);
    EXPECT_EQ(quietThreshold(60), 120);
    EXPECT_EQ(quietThreshold(127), 254);
}

TEST(CoarseRegion, ThresholdWrapsAboveALowestOf127) {
    EXPECT_EQ(quietThreshold(128), 0);
    EXPECT_EQ(quietThreshold(130), 4);
    EXPECT_EQ(quietThreshold(254), 252);
    EXPECT_EQ(quietThreshold(255), 254);
}

TEST(CoarseRegion, MiddleRowIsHalfTheHeightRoundedDown) {
    EXPECT_EQ(Deviations(8, 5, kLoud).row(2, 1, 6, 0).find(1), qvPelRect(1, 2, 5, 1));
    EXPECT_EQ(Deviations(8, 5, kLoud).row(1, 1, 6, 0).row(3, 1, 6, 0).find(1), qvPelRect());
    EXPECT_EQ(Deviations(8, 4, kLoud).row(2, 1, 6, 0).find(2), qvPelRect(1, 1, 5, 2));
    EXPECT_EQ(Deviations(8, 4, kLoud).row(1, 1, 6, 0).find(2), qvPelRect());
    EXPECT_EQ(Deviations(8, 1, kLoud).row(0, 1, 6, 0).find(1), qvPelRect(1, 0, 5, 1));
}

TEST(CoarseRegion, NoQuietPelGivesTheDefaultRectangle) {
    EXPECT_EQ(Deviations(40, 7, kLoud).find(3), qvPelRect());
    EXPECT_EQ(Deviations(40, 7, 255).find(3, 254), qvPelRect());
}

TEST(CoarseRegion, PelAtTheThresholdIsQuietAndOneAboveIsNot) {
    EXPECT_EQ(Deviations(8, 3, 22).find(1), qvPelRect(0, 1, 8, 1));
    EXPECT_EQ(Deviations(8, 3, 23).find(1), qvPelRect());
    EXPECT_EQ(Deviations(8, 3, 22).pel(3, 1, 23).find(1), qvPelRect(4, 1, 4, 1));
}

TEST(CoarseRegion, LongestRunWins) {
    EXPECT_EQ(Deviations(20, 3, kLoud).row(1, 1, 4, 0).row(1, 6, 12, 0).row(1, 14, 18, 0).find(1),
              qvPelRect(6, 1, 6, 1));
}

TEST(CoarseRegion, LeftmostOfEquallyLongRunsWins) {
    EXPECT_EQ(Deviations(20, 3, kLoud).row(1, 2, 6, 0).row(1, 8, 12, 0).row(1, 15, 19, 0).find(1),
              qvPelRect(2, 1, 4, 1));
}

TEST(CoarseRegion, RunThatReachesTheRightBorderCounts) {
    EXPECT_EQ(Deviations(20, 3, kLoud).row(1, 2, 6, 0).row(1, 11, 20, 0).find(1), qvPelRect(11, 1, 9, 1));
    EXPECT_EQ(Deviations(9, 3, 0).find(1), qvPelRect(0, 1, 9, 1));
}

TEST(CoarseRegion, RunThatBeginsAtTheLeftBorderCounts) {
    EXPECT_EQ(Deviations(20, 3, kLoud).row(1, 0, 7, 0).row(1, 9, 14, 0).find(1), qvPelRect(0, 1, 7, 1));
}

// Runs of fewer than 10 pels do not grow, so these show the height alone.
TEST(CoarseRegion, HeightThatLiesEvenlyAboutTheMiddleRowIsTaken) {
    EXPECT_EQ(Deviations(5, 7, 0).find(3), qvPelRect(0, 2, 5, 3));
    EXPECT_EQ(Deviations(5, 7, 0).find(5), qvPelRect(0, 1, 5, 5));
    EXPECT_EQ(Deviations(5, 7, 0).find(7), qvPelRect(0, 0, 5, 7));
}

TEST(CoarseRegion, EvenHeightTakesOneRowFromTheBottomOnly) {
    EXPECT_EQ(Deviations(5, 6, 0).find(2), qvPelRect(0, 2, 5, 2));
    EXPECT_EQ(Deviations(5, 6, 0).find(4), qvPelRect(0, 1, 5, 4));
    EXPECT_EQ(Deviations(5, 6, 0).find(6), qvPelRect(0, 0, 5, 6));
}

TEST(CoarseRegion, HeightOfTheOtherParityIsRaisedByOneAlsoWhereItIsBelowTheImages) {
    EXPECT_EQ(Deviations(5, 7, 0).find(2), qvPelRect(0, 2, 5, 3));
    EXPECT_EQ(Deviations(5, 7, 0).find(4), qvPelRect(0, 1, 5, 5));
    EXPECT_EQ(Deviations(5, 6, 0).find(1), qvPelRect(0, 2, 5, 2));
    EXPECT_EQ(Deviations(5, 6, 0).find(5), qvPelRect(0, 0, 5, 6));
}

TEST(CoarseRegion, HeightAboveTheImagesIsCutToIt) {
    EXPECT_EQ(Deviations(5, 7, 0).find(8), qvPelRect(0, 0, 5, 7));
    EXPECT_EQ(Deviations(5, 7, 0).find(9), qvPelRect(0, 0, 5, 7));
    EXPECT_EQ(Deviations(5, 6, 0).find(7), qvPelRect(0, 0, 5, 6));
    EXPECT_EQ(Deviations(5, 6, 0).find(1000), qvPelRect(0, 0, 5, 6));
}

TEST(CoarseRegion, WantedRowsAreTakenWhateverTheyHold) {
    EXPECT_EQ(Deviations(8, 5, kLoud).row(2, 0, 8, 0).find(5), qvPelRect(0, 0, 8, 5));
}

TEST(CoarseRegion, GrowsByOneRowAtBothSidesUntilTheBorder) {
    EXPECT_EQ(Deviations(30, 7, 0).find(1), qvPelRect(0, 0, 30, 7));
    EXPECT_EQ(Deviations(30, 8, 0).find(2), qvPelRect(0, 0, 30, 8));
}

TEST(CoarseRegion, RunOfNinePelsNeverGrowsAndOneOfTenDoes) {
    EXPECT_EQ(Deviations(9, 7, 0).find(3), qvPelRect(0, 2, 9, 3));
    EXPECT_EQ(Deviations(10, 7, 0).find(3), qvPelRect(0, 0, 10, 7));
}

TEST(CoarseRegion, LoudRowOnOneSideEndsTheGrowthOnBoth) {
    EXPECT_EQ(Deviations(30, 9, 0).row(2, 0, 30, kLoud).find(1), qvPelRect(0, 3, 30, 3));
    EXPECT_EQ(Deviations(30, 9, 0).row(6, 0, 30, kLoud).find(1), qvPelRect(0, 3, 30, 3));
}

TEST(CoarseRegion, LossBelowATenthIsTakenFromTheLeftEnd) {
    EXPECT_EQ(Deviations(30, 3, 0).pel(1, 0, kLoud).find(1), qvPelRect(2, 0, 28, 3));
}

TEST(CoarseRegion, LossBelowATenthIsTakenFromTheRightEnd) {
    EXPECT_EQ(Deviations(30, 3, 0).pel(28, 2, kLoud).find(1), qvPelRect(0, 0, 28, 3));
}

TEST(CoarseRegion, LossOfATenthEndsTheGrowth) {
    EXPECT_EQ(Deviations(30, 3, 0).pel(2, 0, kLoud).find(1), qvPelRect(0, 1, 30, 1));
    EXPECT_EQ(Deviations(30, 3, 0).pel(27, 2, kLoud).find(1), qvPelRect(0, 1, 30, 1));
}

TEST(CoarseRegion, LossesOfBothEndsAddUp) {
    EXPECT_EQ(Deviations(39, 3, 0).pel(0, 0, kLoud).pel(38, 0, kLoud).find(1), qvPelRect(1, 0, 37, 3));
    EXPECT_EQ(Deviations(39, 3, 0).pel(0, 0, kLoud).pel(37, 0, kLoud).find(1), qvPelRect(0, 1, 39, 1));
}

TEST(CoarseRegion, OfTheTwoRowsTheGreaterLossCountsAtEachEnd) {
    EXPECT_EQ(Deviations(40, 3, 0).pel(0, 0, kLoud).pel(1, 2, kLoud).pel(39, 0, kLoud).find(1), qvPelRect(2, 0, 37, 3));
}

TEST(CoarseRegion, InnermostLoudPelOfAnEndDecides) {
    EXPECT_EQ(Deviations(60, 3, 0).pel(0, 0, kLoud).pel(2, 0, kLoud).pel(1, 0, kLoud).find(1), qvPelRect(3, 0, 57, 3));
    EXPECT_EQ(Deviations(60, 3, 0).pel(57, 0, kLoud).pel(59, 0, kLoud).find(1), qvPelRect(0, 0, 57, 3));
}

TEST(CoarseRegion, LoudPelAtTheExactMiddleOfTheRunCountsOnNeitherSide) {
    EXPECT_EQ(Deviations(31, 3, 0).pel(15, 0, kLoud).find(1), qvPelRect(0, 0, 31, 3));
    EXPECT_EQ(Deviations(31, 3, 0).pel(14, 0, kLoud).find(1), qvPelRect(0, 1, 31, 1));
    EXPECT_EQ(Deviations(31, 3, 0).pel(16, 0, kLoud).find(1), qvPelRect(0, 1, 31, 1));
    EXPECT_EQ(Deviations(30, 3, 0).pel(15, 2, kLoud).find(1), qvPelRect(0, 0, 30, 3));
    EXPECT_EQ(Deviations(30, 3, 0).pel(14, 2, kLoud).find(1), qvPelRect(0, 1, 30, 1));
}

// Were the upper row's loss applied first, column 30 would lie left of the middle of the 57 that remain.
TEST(CoarseRegion, BothRowsAreMeasuredBeforeAnythingIsCut) {
    EXPECT_EQ(Deviations(60, 3, 0).pel(2, 0, kLoud).pel(30, 2, kLoud).find(1), qvPelRect(3, 0, 57, 3));
}

// 30 columns bear a loss of 2, the 28 that remain bear 1 but not 2.
TEST(CoarseRegion, LimitFollowsTheShrinkingRun) {
    EXPECT_EQ(Deviations(30, 5, 0).pel(1, 1, kLoud).pel(28, 0, kLoud).find(1), qvPelRect(2, 1, 28, 3));
    EXPECT_EQ(Deviations(30, 5, 0).pel(1, 1, kLoud).pel(29, 0, kLoud).find(1), qvPelRect(2, 0, 27, 5));
}

TEST(CoarseRegion, LossesCountFromTheRunsStart) {
    EXPECT_EQ(Deviations(60, 3, kLoud).row(0, 12, 42, 0).row(1, 12, 42, 0).row(2, 12, 42, 0).pel(13, 0, kLoud).find(1),
              qvPelRect(14, 0, 28, 3));
}

TEST(CoarseRegion, GrowthThresholdIsTwiceTheRunsLowestPel) {
    EXPECT_EQ(Deviations(20, 3, 30).row(1, 0, 20, 20).pel(7, 1, 15).find(1), qvPelRect(0, 0, 20, 3));
    EXPECT_EQ(Deviations(20, 3, 31).row(1, 0, 20, 20).pel(7, 1, 15).find(1), qvPelRect(0, 1, 20, 1));
}

TEST(CoarseRegion, GrowthThresholdIsAtLeastTheThreshold) {
    EXPECT_EQ(Deviations(20, 3, 22).row(1, 0, 20, 3).find(1), qvPelRect(0, 0, 20, 3));
    EXPECT_EQ(Deviations(20, 3, 23).row(1, 0, 20, 3).find(1), qvPelRect(0, 1, 20, 1));
}

TEST(CoarseRegion, GrowthThresholdEndsAt255SoThatNothingIsLoud) {
    EXPECT_EQ(Deviations(20, 3, 255).row(1, 0, 20, 127).find(1, 254), qvPelRect(0, 1, 20, 1));
    EXPECT_EQ(Deviations(20, 3, 255).row(1, 0, 20, 128).find(1, 254), qvPelRect(0, 0, 20, 3));
    EXPECT_EQ(Deviations(20, 3, 255).row(1, 0, 20, 200).find(1, 254), qvPelRect(0, 0, 20, 3));
}

TEST(CoarseRegion, LowestPelOutsideTheRunDoesNotCount) {
    EXPECT_EQ(Deviations(30, 3, 30).row(1, 0, 20, 15).pel(20, 1, kLoud).row(1, 21, 30, 0).find(1),
              qvPelRect(0, 0, 20, 3));
}

TEST(CoarseRegion, CountsFromTheWindowWhateverTheOffset) {
    Deviations deviations(40, 9, 0);
    deviations.row(4, 0, 7, kLoud).row(4, 17, 40, kLoud);
    qvPelBuffer_const<unsigned char> part = deviations.image();
    part.window(5, 2, 25, 5, false);
    ASSERT_EQ(part.offset().first, 5);
    EXPECT_EQ(findCoarseRegion(part, kThreshold, 1), qvPelRect(2, 0, 10, 5));
}

}  // namespace
