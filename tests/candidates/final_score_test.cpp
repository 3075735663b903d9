#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvstreet/candidates/final_selection.h"
#include "tests/candidates/scored_cross.h"

using qvtest::binsAlongX;
using qvtest::binsAlongY;
using qvtest::crossTolerances;
using qvtest::crossWith;
using qvtest::evenImage;
using qvtest::kCrossLength;
using qvtest::kCrossLengths;
using qvtest::kCrossSegments;
using qvtest::literalProfile;
using qvtest::scoredCross;
using qvtest::seg;
using qvtest::spanProfile;
using qvtest::streetProfile;

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;

double scoreOf(const CrossResult& cross, double maxLength = kCrossLength, const qv_streetFinderImpl& impl = evenImage(),
               const qv_candidateTolerances& tolerances = crossTolerances()) {
    return finalCrossScore(cross, maxLength, false, tolerances, impl, nullptr);
}

/// Seven times the exponent: the weighted sum of the six terms.
double totalOf(double score) { return -7.0 * std::log(score); }

/// The scored cross with tolerances of its own, on the even image.
double scoreWithWidths(const qvPair<double>& nominal, const qvPair<double>& lower, const qvPair<double>& upper) {
    qv_candidateTolerances tolerances;
    tolerances.nominalWidth = nominal;
    tolerances.widthLower = lower;
    tolerances.widthUpper = upper;
    return scoreOf(scoredCross(), kCrossLength, evenImage(), tolerances);
}

/// The scored cross between two profiles.
double scoreOverProfiles(const qvTiledProjectionResult& along0, const qvTiledProjectionResult& along1,
                         double imageDeviation) {
    qv_streetFinderImpl impl;
    impl.projectionAlong0 = along0;
    impl.projectionAlong1 = along1;
    impl.imageDeviation = imageDeviation;
    return scoreOf(scoredCross(), kCrossLength, impl);
}

/// The spans that the scored cross reads: bins 58 to 62 between its horizontal edges, 97 to 104 between the others.
qvTiledProjectionResult horizontalStreet(double squares, double sum, double count) {
    return spanProfile(120, 57, 62, squares, sum, count, binsAlongY());
}
qvTiledProjectionResult verticalStreet(double squares, double sum, double count) {
    return spanProfile(200, 96, 104, squares, sum, count, binsAlongX());
}
qvTiledProjectionResult missedStreet() { return literalProfile({1.0, 2.0}, binsAlongY()); }

/// Segment i of the scored cross, 1 long, its inner end at the corner, turned so that its group stays parallel: by
/// cosine 0.8, its outer end 0.6 off its edge.
qvLineSeg turnedSegment(std::size_t i) {
    const auto& s = kCrossSegments[i];
    const bool outerIsFirst = i < 2 || i == 4 || i == 6;
    const qvVector<2> inner = outerIsFirst ? qvVector<2>(s[2], s[3]) : qvVector<2>(s[0], s[1]);
    const qvVector<2> axis = i < 4 ? qvVector<2>(-0.6, 0.8) : qvVector<2>(0.8, 0.6);
    return qvLineSeg(inner, outerIsFirst ? inner - axis : inner + axis);
}

}  // namespace

TEST(FinalScore, APerfectCrossThatFillsItsLengthScoresOne) { EXPECT_EQ(scoreOf(scoredCross()), 1.0); }

TEST(FinalScore, MissingLengthCountsTwice) {
    EXPECT_NEAR(totalOf(scoreOf(scoredCross(), 900.0)), 1.0, 1e-12);  // (900 - 450) / 900
    EXPECT_NEAR(scoreOf(scoredCross(), 900.0), std::exp(-1.0 / 7.0), 1e-15);
}

TEST(FinalScore, SegmentsLongerThanTheMeasureLiftTheScoreAboveOne) {
    EXPECT_NEAR(totalOf(scoreOf(scoredCross(), 225.0)), -2.0, 1e-12);
}

TEST(FinalScore, RightAnglesAreAFifthOfFiveAbsoluteCosines) {
    // The horizontal street falls with slope 3 / 4, all else is perfect.
    CrossResult cross;
    Access::ulCorner(cross) = qvVector<2>(95.0, 57.0);
    Access::urCorner(cross) = qvVector<2>(103.0, 63.0);
    Access::llCorner(cross) = qvVector<2>(95.0, 63.0);
    Access::lrCorner(cross) = qvVector<2>(103.0, 69.0);
    Access::lineSegs(cross) = {seg(95, 17, 95, 57), seg(103, 23, 103, 63), seg(95, 63, 95, 103), seg(103, 69, 103, 99),
                               seg(15, -3, 95, 57), seg(103, 63, 143, 93), seg(55, 33, 95, 63),  seg(103, 69, 143, 99)};
    const double length = 40.0 + 40.0 + 40.0 + 30.0 + 100.0 + 50.0 + 50.0 + 50.0;
    EXPECT_NEAR(totalOf(scoreOf(cross, length)), 0.6, 1e-12);
}

TEST(FinalScore, TheEdgesOfTheCrossAreOneOfTheFiveCosines) {
    // Top and bottom edge fall with slope 3 / 4; the four horizontal segments are points on them.
    CrossResult cross = scoredCross();
    Access::urCorner(cross) = qvVector<2>(103.0, 63.0);
    Access::lrCorner(cross) = qvVector<2>(103.0, 69.0);
    Access::lineSegs(cross) = {seg(95, 17, 95, 57), seg(103, 23, 103, 63), seg(95, 63, 95, 103), seg(103, 69, 103, 99),
                               seg(95, 57, 95, 57), seg(103, 63, 103, 63), seg(95, 63, 95, 63),  seg(103, 69, 103, 69)};
    EXPECT_NEAR(totalOf(scoreOf(cross, 150.0)), 0.12, 1e-12);
}

TEST(FinalScore, OneTurnedSegmentCostsACornerThreeCouplesAndOneEnd) {
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        const double length = kCrossLength - kCrossLengths[i] + 1.0;
        // 0.6 / 16 / 10 off the edge, 0.6 / 5 off the right angle, 10 * 3 * 0.2 / 12 off parallel.
        EXPECT_NEAR(totalOf(scoreOf(crossWith(i, turnedSegment(i)), length)), 0.00375 + 0.12 + 0.5, 1e-12);
    }
}

TEST(FinalScore, TwoSegmentsOfAGroupTurnedAlikeAreParallel) {
    for (std::size_t a = 0; a < 8; ++a)
        for (std::size_t b = a + 1; b < (a < 4 ? 4u : 8u); ++b) {
            SCOPED_TRACE(testing::Message() << a << " " << b);
            CrossResult cross = crossWith(a, turnedSegment(a));
            Access::lineSegs(cross)[b] = turnedSegment(b);
            const double length = kCrossLength - kCrossLengths[a] - kCrossLengths[b] + 2.0;
            // Four couples of the twelve are off parallel by 0.2.
            EXPECT_NEAR(totalOf(scoreOf(cross, length)), 0.0075 + 0.24 + 2.0 / 3.0, 1e-12);
        }
}

TEST(FinalScore, EachSegmentIsMeasuredFromTheEdgeOfItsOwn) {
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        const auto& s = kCrossSegments[i];
        const double off = 0.5 * static_cast<double>(i + 1);
        const qvLineSeg shifted =
            i < 4 ? seg(s[0] + off, s[1], s[2] + off, s[3]) : seg(s[0], s[1] - off, s[2], s[3] - off);
        EXPECT_NEAR(totalOf(scoreOf(crossWith(i, shifted))), 2.0 * off / 16.0 / 10.0, 1e-12);
    }
}

TEST(FinalScore, TheTwoEndsOfASegmentCountApart) {
    // One end 3.2 left of the edge, the other as far right: 6.4 and not 0.
    const double length = std::sqrt(40.96 + 2500.0);
    const double cosine = 50.0 / length;
    const double expected = 0.04 + 6.4 / length / 5.0 + 10.0 * 3.0 * (1.0 - cosine) / 12.0;
    EXPECT_NEAR(totalOf(scoreOf(crossWith(2, seg(91.8, 63, 98.2, 113)), kCrossLength - 50.0 + length)), expected,
                1e-12);
}

TEST(FinalScore, TheRunningDirectionOfASegmentDoesNotMatter) {
    for (std::size_t i = 0; i < 8; ++i) {
        const auto& s = kCrossSegments[i];
        EXPECT_EQ(scoreOf(crossWith(i, seg(s[2], s[3], s[0], s[1]))), 1.0) << i;
    }
}

TEST(FinalScore, AWiderStreetIsSetAgainstTheUpperBound) {
    // X: (10 - 8) / (12 - 8), Y: (6 - 4) / (12 - 4); half of each, twice in the total.
    EXPECT_NEAR(totalOf(scoreWithWidths({8.0, 6.0}, {1.0, 1.0}, {12.0, 99.0})), 0.5, 1e-12);
    EXPECT_NEAR(totalOf(scoreWithWidths({10.0, 4.0}, {1.0, 1.0}, {99.0, 12.0})), 0.25, 1e-12);
}

TEST(FinalScore, ANarrowerStreetIsSetAgainstTheLowerBound) {
    // X: |(10 - 14) / (4 - 14)|, Y: |(6 - 7) / (2 - 7)|.
    EXPECT_NEAR(totalOf(scoreWithWidths({14.0, 6.0}, {4.0, 1.0}, {99.0, 99.0})), 0.4, 1e-12);
    EXPECT_NEAR(totalOf(scoreWithWidths({10.0, 7.0}, {1.0, 2.0}, {99.0, 99.0})), 0.2, 1e-12);
    EXPECT_NEAR(totalOf(scoreWithWidths({14.0, 7.0}, {4.0, 2.0}, {99.0, 99.0})), 0.6, 1e-12);
}

TEST(FinalScore, AWidthBeyondABoundCostsMoreThanOne) {
    EXPECT_NEAR(totalOf(scoreWithWidths({8.0, 6.0}, {1.0, 1.0}, {8.5, 99.0})), 4.0, 1e-12);
}

TEST(FinalScore, ABoundEqualToTheNominalWidthIsInfinitelyDearBeyondIt) {
    EXPECT_EQ(scoreWithWidths({8.0, 6.0}, {1.0, 1.0}, {8.0, 99.0}), 0.0);     // 2 / 0
    EXPECT_EQ(scoreWithWidths({14.0, 6.0}, {14.0, 1.0}, {99.0, 99.0}), 0.0);  // |-4 / 0|
    EXPECT_EQ(scoreWithWidths({10.0, 4.0}, {1.0, 1.0}, {99.0, 4.0}), 0.0);
}

TEST(FinalScore, ALowerBoundThatTheWidthMeetsWithTheNominalOneIsNotANumber) {
    EXPECT_TRUE(std::isnan(scoreWithWidths({10.0, 6.0}, {10.0, 1.0}, {99.0, 99.0})));  // |0 / 0|
    EXPECT_TRUE(std::isnan(scoreWithWidths({10.0, 6.0}, {1.0, 6.0}, {99.0, 99.0})));
    // The upper bound is not asked for a width that does not exceed the nominal one.
    EXPECT_EQ(scoreWithWidths({10.0, 6.0}, {1.0, 1.0}, {10.0, 6.0}), 1.0);
}

TEST(FinalScore, TextureIsTheDeviationInsideBothStreetsAgainstThatOfTheImage) {
    // Only bins 58 to 62 and 97 to 104 count: 40 samples of 40 and 40 samples of 60 deviate by 10.
    const qvTiledProjectionResult along0 = literalProfile(streetProfile(120, 200.0, 58, 62, 40.0), binsAlongY(), 8.0);
    const qvTiledProjectionResult along1 = literalProfile(streetProfile(200, 10.0, 97, 104, 60.0), binsAlongX(), 5.0);
    EXPECT_NEAR(totalOf(scoreOverProfiles(along0, along1, 20.0)), 0.5, 1e-9);
    EXPECT_NEAR(totalOf(scoreOverProfiles(along0, along1, 4.0)), 2.5, 1e-9);
}

TEST(FinalScore, ASpanIsTakenBetweenItsTwoBinsAlone) {
    // Mean 20, mean square 500.
    EXPECT_NEAR(totalOf(scoreOverProfiles(horizontalStreet(300.0, 20.0, 3.0), verticalStreet(3700.0, 140.0, 5.0), 5.0)),
                2.0, 1e-9);
}

TEST(FinalScore, TheLeftFlatAndTheUpperUprightSegmentsBoundTheStreets) {
    // The other four lie elsewhere, which costs the same on an even image.
    CrossResult cross = scoredCross();
    Access::lineSegs(cross)[2] = seg(70, 63, 70, 113);
    Access::lineSegs(cross)[3] = seg(120, 63, 120, 93);
    Access::lineSegs(cross)[5] = seg(105, 40, 185, 40);
    Access::lineSegs(cross)[7] = seg(105, 80, 165, 80);
    qv_streetFinderImpl impl = evenImage();
    const double even = totalOf(scoreOf(cross, kCrossLength, impl));
    impl.projectionAlong0 = horizontalStreet(300.0, 20.0, 3.0);
    impl.projectionAlong1 = verticalStreet(3700.0, 140.0, 5.0);
    impl.imageDeviation = 5.0;
    EXPECT_NEAR(totalOf(scoreOf(cross, kCrossLength, impl)) - even, 2.0, 1e-9);
}

TEST(FinalScore, BinsAreTruncatedTowardsZero) {
    // Horizontal edges at -1 and 5: the centre from -0.4 to 4.4 begins in bin 0 and not before the profile.
    CrossResult cross = scoredCross(0.0, -58.0);
    qv_streetFinderImpl impl;
    impl.projectionAlong0 = spanProfile(120, 0, 4, 300.0, 20.0, 3.0, binsAlongY());
    impl.projectionAlong1 = verticalStreet(3700.0, 140.0, 5.0);
    impl.imageDeviation = 5.0;
    EXPECT_NEAR(totalOf(scoreOf(cross, kCrossLength, impl)), 2.0, 1e-9);
}

TEST(FinalScore, AStreetOutsideItsProfileTakesOneOffEachSum) {
    // 501 - 1, 41 - 1, 5 - 1: mean 10, mean square 125.
    EXPECT_NEAR(totalOf(scoreOverProfiles(missedStreet(), verticalStreet(501.0, 41.0, 5.0), 10.0)), 0.5, 1e-9);
    EXPECT_NEAR(totalOf(scoreOverProfiles(horizontalStreet(501.0, 41.0, 5.0), missedStreet(), 10.0)), 0.5, 1e-9);
}

TEST(FinalScore, ASpanMayEndInTheLastBinAndNotBehindIt) {
    // The horizontal street ends in bin 62. 40 samples with it: mean 2, mean square 20.
    const qvTiledProjectionResult vertical = verticalStreet(501.0, 41.0, 5.0);
    qvTiledProjectionResult horizontal = spanProfile(63, 57, 62, 299.0, 39.0, 35.0, binsAlongY());
    EXPECT_NEAR(totalOf(scoreOverProfiles(horizontal, vertical, 10.0)), 0.4, 1e-9);
    qvTiledProjectionOneResult& tile = horizontal.tiles[0][0];
    for (std::vector<double>* sums : {&tile.cumSquareSums, &tile.cumSums, &tile.cumCounts}) sums->pop_back();
    EXPECT_NEAR(totalOf(scoreOverProfiles(horizontal, vertical, 10.0)), 0.5, 1e-9);
}

TEST(FinalScore, ASpanMayNotBeginBeforeTheProfile) {
    // Horizontal edges at -3 and 3: from -2.4 to 2.4, from bin -2 on.
    qv_streetFinderImpl impl;
    impl.projectionAlong0 = spanProfile(120, 0, 2, 299.0, 39.0, 35.0, binsAlongY());
    impl.projectionAlong1 = verticalStreet(501.0, 41.0, 5.0);
    impl.imageDeviation = 10.0;
    EXPECT_NEAR(totalOf(scoreOf(scoredCross(0.0, -60.0), kCrossLength, impl)), 0.5, 1e-9);
}

TEST(FinalScore, StreetsWithoutPelsScoreExactlyZero) {
    EXPECT_EQ(scoreOverProfiles(missedStreet(), missedStreet(), 10.0), 0.0);
    EXPECT_EQ(scoreOverProfiles(horizontalStreet(0.0, 0.0, 0.0), verticalStreet(0.0, 0.0, 0.0), 10.0), 0.0);
}

TEST(FinalScore, OneSampleOrNoGreyIsNoTexture) {
    // Exactly one sample, and a sum of exactly 0, are not enough; just above they are.
    EXPECT_EQ(scoreOverProfiles(horizontalStreet(25.0, 5.0, 0.5), verticalStreet(25.0, 5.0, 0.5), 10.0), 0.0);
    EXPECT_GT(scoreOverProfiles(horizontalStreet(100.0, 5.0, 0.5), verticalStreet(100.0, 5.0, 0.625), 10.0), 0.0);
    EXPECT_EQ(scoreOverProfiles(horizontalStreet(25.0, 0.0, 5.0), verticalStreet(25.0, 0.0, 5.0), 10.0), 0.0);
    EXPECT_GT(scoreOverProfiles(horizontalStreet(25.0, 1e-9, 5.0), verticalStreet(25.0, 0.0, 5.0), 10.0), 0.0);
}

TEST(FinalScore, AnImageWithoutDeviationDoesNotDivideByZero) {
    // Deviation 7e-12 against 1e-12.
    EXPECT_NEAR(
        totalOf(scoreOverProfiles(horizontalStreet(147e-24, 1e-30, 3.0), verticalStreet(98e-24, 0.0, 2.0), 0.0)), 7.0,
        1e-9);
    const std::vector<double> even(200, 50.0);
    EXPECT_EQ(scoreOverProfiles(literalProfile(even, binsAlongY()), literalProfile(even, binsAlongX()), 0.0), 1.0);
}

TEST(FinalScore, ANegativeVarianceIsNotANumber) {
    // The vertical street is evenly 10; the missed one takes 1 off each sum: 499 / 4 - (49 / 4)^2.
    EXPECT_TRUE(std::isnan(scoreOverProfiles(missedStreet(), verticalStreet(500.0, 50.0, 5.0), 10.0)));
}

TEST(FinalScore, ItReadsTheCentreOfItsSegmentsInTheProfilesFrame) {
    // Client units of half a pel, y running up, the image's lower left corner at (-20, 10): client (x, y) lies in
    // column (x + 20) / 2 and row (250 - y) / 2.
    qv_streetFinderImpl impl;
    impl.clientFromImage = qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, -2.0), qvVector<2>(-20.0, 250.0));
    // Rows 93.5 to 96.5, less 0.3 at each end; columns 57.5 to 62.5, less 0.5.
    impl.projectionAlong0 = spanProfile(120, 93, 96, 300.0, 20.0, 3.0, impl.clientFromImage * binsAlongY());
    impl.projectionAlong1 = spanProfile(120, 58, 62, 3700.0, 140.0, 5.0, impl.clientFromImage);
    impl.imageDeviation = 5.0;
    EXPECT_NEAR(totalOf(scoreOf(scoredCross(), kCrossLength, impl)), 2.0, 1e-9);
}

TEST(FinalScore, AResidualOfTenClientUnitsIsNotMapped) {
    qv_streetFinderImpl impl = evenImage();
    const CrossResult cross = crossWith(0, seg(87, 7, 87, 57));
    const double score = scoreOf(cross, kCrossLength, impl);
    EXPECT_NEAR(totalOf(score), 0.1, 1e-12);
    impl.clientFromImage = qvXform<2>(qvMatrix<2>(0.0, -4.0, 4.0, 0.0), qvVector<2>(1.0, 2.0));
    EXPECT_EQ(scoreOf(cross, kCrossLength, impl), score);
}

TEST(FinalScore, ItIsWrittenToEveryCrossOfAList) {
    std::vector<CrossResult> crosses = {scoredCross(), crossWith(0, seg(87, 7, 87, 57)), scoredCross(3.0, 4.0)};
    scoreAllCrosses(crosses, 900.0, false, crossTolerances(), evenImage(), nullptr);
    EXPECT_NEAR(totalOf(crosses[0].score()), 1.0, 1e-12);
    EXPECT_NEAR(totalOf(crosses[1].score()), 1.1, 1e-12);
    EXPECT_EQ(crosses[2].score(), crosses[0].score());
}

TEST(FinalScore, TheKindOfCrossHasNoEffect) {
    std::vector<CrossResult> crosses = {crossWith(5, turnedSegment(5))};
    scoreAllCrosses(crosses, 900.0, false, crossTolerances(), evenImage(), nullptr);
    const double score = crosses[0].score();
    scoreAllCrosses(crosses, 900.0, true, crossTolerances(), evenImage(), nullptr);
    EXPECT_EQ(crosses[0].score(), score);
    EXPECT_LT(score, 1.0);
}

TEST(FinalScore, ACrossNeedsEightSegments) {
    CrossResult cross = scoredCross();
    Access::lineSegs(cross).pop_back();
    EXPECT_THROW(scoreOf(cross), qvInvariantFailure);
}
