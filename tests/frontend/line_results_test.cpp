#include "qvstreet/frontend/line_results.h"

#include <gtest/gtest.h>

namespace {

const qvLineSeg kSegment(qvVector<2>(1.5, -2.0), qvVector<2>(40.0, 8.25));

}  // namespace

TEST(LineResults, DefaultHasNoSegmentAndNoStatistics) {
    const qvLineFinderResults line;
    EXPECT_EQ(line.segment(), qvLineSeg());
    EXPECT_EQ(line.statsMask(), 0);
    EXPECT_EQ(line.lineQuality(), 0.0);
    EXPECT_FALSE(line.unguardedPolarity());
}

TEST(LineResults, WithoutStatisticsEveryGuardedValueIsRefused) {
    const qvLineFinderResults line(kSegment, 0.5, true);
    EXPECT_EQ(line.statsMask(), 0);
    EXPECT_THROW(line.meanGrey(), qvInvariantFailure);
    EXPECT_THROW(line.greyRange(), qvInvariantFailure);
    EXPECT_THROW(line.greyDeviation(), qvInvariantFailure);
    EXPECT_THROW(line.polarity(), qvInvariantFailure);
    EXPECT_THROW(line.sampleCount(), qvInvariantFailure);
}

TEST(LineResults, SegmentAndQualityAreNotGuarded) {
    const qvLineFinderResults line(kSegment, 0.5, true);
    EXPECT_EQ(line.segment(), kSegment);
    EXPECT_EQ(line.lineQuality(), 0.5);
    EXPECT_TRUE(line.unguardedPolarity());
}

TEST(LineResults, StatisticsOpenAllFiveValues) {
    qvLineFinderResults line(kSegment, 0.5, true);
    line.statistics(101.5, 33.0, 7.25, 12);
    EXPECT_EQ(line.statsMask(), 31);
    EXPECT_EQ(line.meanGrey(), 101.5);
    EXPECT_EQ(line.greyRange(), 33.0);
    EXPECT_EQ(line.greyDeviation(), 7.25);
    EXPECT_TRUE(line.polarity());
    EXPECT_EQ(line.sampleCount(), 12);
    EXPECT_EQ(line.segment(), kSegment);
}

TEST(LineResults, MaskBits) {
    EXPECT_EQ(qvLineFinderResults::eMeanGrey, 1);
    EXPECT_EQ(qvLineFinderResults::eGreyRange, 2);
    EXPECT_EQ(qvLineFinderResults::eGreyDeviation, 4);
    EXPECT_EQ(qvLineFinderResults::ePolarity, 8);
    EXPECT_EQ(qvLineFinderResults::eSampleCount, 16);
    EXPECT_EQ(qvLineFinderResults::eAllStats, 31);
}
