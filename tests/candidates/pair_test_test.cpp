#include "qvstreet/candidates/pair_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "qvstreet/platform/exceptions.h"
#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"
#include "tests/projection/literal_profile.h"

namespace {

using Defs = qvStreetFinderDefs;
using Keys = std::vector<std::pair<long, long>>;
using qvtest::binsAlongX;
using qvtest::binsAlongY;
using qvtest::literalProfile;
using qvtest::literalTolerances;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// A line along x at height `y`; lines along x face each other fully unless `x1` and `x2` say otherwise.
qv_ridgeLine flatAt(double y, double x1 = 0.0, double x2 = 100.0) { return ridgeLine(x1, y, x2, y); }
/// A line along y, upper end first.
qv_ridgeLine uprightAt(double x, double y1 = 0.0, double y2 = 100.0) { return ridgeLine(x, y1, x, y2); }

bool isHorizontalPair(const qv_ridgeLine& a, const qv_ridgeLine& b,
                      const qv_candidateTolerances& tolerances = literalTolerances()) {
    return qf_testPair(a, b, tolerances, eHorizontalPair, nullptr);
}
bool isVerticalPair(const qv_ridgeLine& a, const qv_ridgeLine& b,
                    const qv_candidateTolerances& tolerances = literalTolerances()) {
    return qf_testPair(a, b, tolerances, eVerticalPair, nullptr);
}

std::string tracedTest(const qv_ridgeLine& a, const qv_ridgeLine& b, const qv_candidateTolerances& tolerances,
                       long pairType) {
    TraceCapture capture;
    qf_testPair(a, b, tolerances, pairType, capture.trace());
    return capture.text();
}

Keys keysOf(const std::vector<qv_candPair>& pairs) {
    Keys keys;
    for (const qv_candPair& pair : pairs) keys.emplace_back(pair.line1, pair.line2);
    return keys;
}

/// The pairs among all of `lines`, with the margins that a search uses.
Keys pairsOf(const std::vector<qv_ridgeLine>& lines, long pairType, long polarity = Defs::eAnyPolarity,
             const qvTiledProjectionResult& projection = {}, double inset = 0.1, double sideWidth = 0.4,
             double margin = 0.05) {
    std::vector<qv_candPair> pairs;
    generatePairs(lines, 0, static_cast<long>(lines.size()), pairs, literalTolerances(), pairType, projection, polarity,
                  inset, sideWidth, margin, nullptr);
    return keysOf(pairs);
}

/// Four pairs over eight lines whose qualities add up to 3, 1, 3 and 2.
struct RankedPairs {
    std::vector<qv_ridgeLine> lines = std::vector<qv_ridgeLine>(8);
    std::vector<qv_candPair> pairs = {{0, 1, 0.0}, {2, 3, 0.0}, {4, 5, 0.0}, {6, 7, 0.0}};

    RankedPairs() {
        const double qualities[8] = {3.0, 0.0, 0.5, 0.5, 1.0, 2.0, 2.5, -0.5};
        for (std::size_t i = 0; i < 8; ++i) lines[i].lineQuality = qualities[i];
    }
    Keys best(long most) const {
        std::vector<qv_candPair> out = {{70, 71, 0.0}, {72, 73, 0.0}};
        keepBestPairs(lines, pairs, out, most);
        return keysOf(out);
    }
};

}  // namespace

TEST(PairTest, WidthOfAHorizontalPairIsLimitedInY) {
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(130.0, 10.0, 120.0)));
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(140.0, 10.0, 120.0))) << "too wide in x";
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(112.0, 10.0, 120.0))) << "wide enough in x alone";
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(146.0, 10.0, 120.0)));
}

TEST(PairTest, WidthOfAVerticalPairIsLimitedInX) {
    EXPECT_TRUE(isVerticalPair(uprightAt(100.0), uprightAt(118.0, 10.0, 120.0)));
    EXPECT_TRUE(isVerticalPair(uprightAt(100.0), uprightAt(112.0, 10.0, 120.0))) << "too narrow in y";
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0), uprightAt(130.0, 10.0, 120.0))) << "narrow enough in y alone";
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0), uprightAt(108.0, 10.0, 120.0)));
}

TEST(PairTest, BothBoundsBelongToTheWidthRange) {
    qv_candidateTolerances tolerances = literalTolerances();
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(115.0, 10.0, 120.0), tolerances));
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(145.0, 10.0, 120.0), tolerances));
    EXPECT_TRUE(isVerticalPair(uprightAt(100.0), uprightAt(109.0, 10.0, 120.0), tolerances));
    EXPECT_TRUE(isVerticalPair(uprightAt(100.0), uprightAt(127.0, 10.0, 120.0), tolerances));
    tolerances.widthLower = qvPair<double>(std::nextafter(9.0, 10.0), std::nextafter(15.0, 16.0));
    tolerances.widthUpper = qvPair<double>(std::nextafter(27.0, 26.0), std::nextafter(45.0, 44.0));
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(115.0, 10.0, 120.0), tolerances));
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(145.0, 10.0, 120.0), tolerances));
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0), uprightAt(109.0, 10.0, 120.0), tolerances));
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0), uprightAt(127.0, 10.0, 120.0), tolerances));
}

TEST(PairTest, BoundThatIsNotANumber) {
    qv_candidateTolerances tolerances = literalTolerances();
    tolerances.widthLower = qvPair<double>(kNan, kNan);
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(130.0, 10.0, 120.0), tolerances));
    tolerances = literalTolerances();
    tolerances.widthUpper = qvPair<double>(kNan, kNan);
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(130.0, 10.0, 120.0), tolerances));
}

TEST(PairTest, FirstLineMustNotHaveTheGreaterSignedDistance) {
    EXPECT_TRUE(isHorizontalPair(flatAt(-130.0), flatAt(-100.0, 10.0, 120.0)));
    EXPECT_FALSE(isHorizontalPair(flatAt(-100.0), flatAt(-130.0, 10.0, 120.0))) << "-100 is the greater one";
    EXPECT_FALSE(isVerticalPair(uprightAt(118.0), uprightAt(100.0, 10.0, 120.0)));
}

TEST(PairTest, EqualDistancesPassTheOrderTestBothWays) {
    qv_candidateTolerances tolerances = literalTolerances();
    tolerances.widthLower = qvPair<double>(0.0, 0.0);
    const qv_ridgeLine a = flatAt(50.0);
    const qv_ridgeLine b = flatAt(50.0, 20.0, 150.0);
    EXPECT_TRUE(isHorizontalPair(a, b, tolerances));
    EXPECT_TRUE(isHorizontalPair(b, a, tolerances));
}

TEST(PairTest, ExactlyTheAngleToleranceIsAllowed) {
    const qv_ridgeLine a = flatAt(100.0);
    for (const double rise : {8.0, -8.0}) {
        const qv_ridgeLine b = ridgeLine(10.0, 130.0, 120.0, 130.0 + rise);
        qv_candidateTolerances tolerances = literalTolerances();
        // 4.16 degrees
        tolerances.angleTolerance = std::fabs(qvDegree(a.line.angle() - b.line.angle()).toDouble());
        EXPECT_NEAR(tolerances.angleTolerance, 4.1596, 1e-4);
        EXPECT_TRUE(isHorizontalPair(a, b, tolerances));
        tolerances.angleTolerance = std::nextafter(tolerances.angleTolerance, 0.0);
        EXPECT_FALSE(isHorizontalPair(a, b, tolerances));
    }
}

TEST(PairTest, LinesThatRunInOppositeDirectionsAreHalfATurnApart) {
    qv_ridgeLine b = flatAt(-130.0, 10.0, 120.0);
    b.line = qvFLine(qvDegree(180.0), b.p1);
    b.startAlong = b.line.distanceAlong(b.p1);
    b.endAlong = b.line.distanceAlong(b.p2);
    ASSERT_NEAR(b.line.distance(), 130.0, 1e-12);
    qv_candidateTolerances tolerances = literalTolerances();
    tolerances.angleTolerance = 179.9;
    EXPECT_EQ(tracedTest(flatAt(100.0), b, tolerances, eHorizontalPair),
              "%qf_testPair \n%Dist test 100 130\n%Ang test (degrees)0 180 diff:-180");
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), b, tolerances));
}

TEST(PairTest, LinesThatOnlyTouchEndToEndDoNotOverlap) {
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0, 0.0, 100.0), flatAt(130.0, 100.0, 200.0)));
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0, 0.0, 100.0), flatAt(130.0, 99.9, 200.0)));
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0, 0.0, 100.0), uprightAt(118.0, 100.0, 200.0)));
    EXPECT_TRUE(isVerticalPair(uprightAt(100.0, 0.0, 100.0), uprightAt(118.0, 99.9, 200.0)));
}

TEST(PairTest, LineDrawnAgainstTheOtherHasNoOverlapWithIt) {
    const qv_ridgeLine leftwards = ridgeLine(120.0, 130.0, 10.0, 130.0);
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), leftwards));
    EXPECT_TRUE(isHorizontalPair(ridgeLine(100.0, 100.0, 0.0, 100.0), leftwards));
}

TEST(PairTest, LinesOfEqualExtentAreNoPair) {
    EXPECT_EQ(overlapSeparation(flatAt(100.0), flatAt(130.0)), -1.0);
    EXPECT_FALSE(isHorizontalPair(flatAt(100.0), flatAt(130.0)));
    EXPECT_EQ(overlapSeparation(uprightAt(100.0), uprightAt(118.0)), -1.0);
    EXPECT_FALSE(isVerticalPair(uprightAt(100.0), uprightAt(118.0)));
}

TEST(PairTest, OneCommonEndStillLeavesTheOther) {
    EXPECT_EQ(overlapSeparation(flatAt(100.0), flatAt(130.0, 0.0, 60.0)), 30.0);
    EXPECT_TRUE(isHorizontalPair(flatAt(100.0), flatAt(130.0, 0.0, 60.0)));
}

TEST(PairTest, SeparationOfAShortLineBesideALongOneIsTheMeanAtTheShortOnesEnds) {
    // The short line's ends are 35 and 25 below the long one, measured upright; the long one rises by 1 in 10.
    const qv_ridgeLine longLine = ridgeLine(0.0, 0.0, 200.0, 20.0);
    const qv_ridgeLine shortLine = ridgeLine(50.0, 40.0, 150.0, 40.0);
    EXPECT_NEAR(overlapSeparation(longLine, shortLine), 30.0 / std::sqrt(1.01), 1e-12);
    EXPECT_NEAR(overlapSeparation(shortLine, longLine), 30.0 / std::sqrt(1.01), 1e-12);
}

TEST(PairTest, SeparationOfShiftedLinesIsTheMeanAtTheTwoFacingEnds) {
    // Both lean by 1 in 10 to the same side and to the other; 18 apart in x.
    for (const double lean : {10.0, -10.0}) {
        const qv_ridgeLine left = ridgeLine(100.0, 10.0, 100.0 + lean, 110.0);
        const qv_ridgeLine right = ridgeLine(118.0 + 0.2 * lean, 30.0, 118.0 + 1.2 * lean, 130.0);
        EXPECT_GT(left.startAlong, left.endAlong);
        EXPECT_LT(left.extent, 0.0);
        EXPECT_NEAR(overlapSeparation(left, right), 18.0 / std::sqrt(1.01), 1e-12);
        EXPECT_TRUE(isVerticalPair(left, right));
    }
}

TEST(PairTest, EachCountedEndIsMeasuredFromTheOtherLine) {
    // From 60 to 100 the lines face each other: the end of the flat one is 34 + 10 / 30 above the other line's height
    // there (1 in 30 steep), the start of the other 33 below the flat one.
    const qv_ridgeLine flat = flatAt(0.0, 0.0, 100.0);
    qv_ridgeLine leaning = ridgeLine(60.0, 33.0, 150.0, 36.0);
    const double length = std::sqrt(901.0);
    // Positions on its own line: 1833 / length = 61.07 and more.
    EXPECT_NEAR(leaning.startAlong, (60.0 * 30.0 + 33.0) / length, 1e-12);
    EXPECT_NEAR(overlapSeparation(flat, leaning), ((33.0 + 4.0 / 3.0) * 30.0 / length + 33.0) / 2.0, 1e-12);
}

TEST(PairTest, PositionsOfTheSecondLineAreThoseOnItsOwnLine) {
    // 1000 from the origin a lean of 1 in 10 moves the positions on the own line by about 100: the lines face each
    // other in full and still overlap only from 102.5 on.
    const qv_ridgeLine a = flatAt(1000.0, 0.0, 120.0);
    const qv_ridgeLine b = ridgeLine(0.0, 1030.0, 120.0, 1042.0);
    const double root = std::sqrt(1.01);
    EXPECT_NEAR(b.startAlong, 103.0 / root, 1e-9);
    const std::string text = tracedTest(a, b, literalTolerances(), eHorizontalPair);
    const std::size_t at = text.find("overlap");
    ASSERT_NE(at, std::string::npos);
    EXPECT_NEAR(std::stod(text.substr(at + 7)), 120.0 - 103.0 / root, 1e-6);
    // The two ends that count: (120, 1000) from b, and (0, 1030) from a.
    EXPECT_NEAR(overlapSeparation(a, b), (42.0 / root + 30.0) / 2.0, 1e-9);
}

TEST(PairTest, TraceOfAWidthOutOfRangeNamesTheKindOfPair) {
    EXPECT_EQ(
        tracedTest(uprightAt(100.0, 10.0, 200.0), uprightAt(140.5, 0.0, 190.0), literalTolerances(), eVerticalPair),
        "%qf_testPair \n%Dist test 100 140.5\n%Ang test (degrees)-90 -90 diff:0overlap180\n"
        "\n%width range==[27...9], widt == 40.5, not in range. vertical pair");
    EXPECT_EQ(tracedTest(flatAt(100.0, 10.0, 200.0), flatAt(114.5, 0.0, 190.0), literalTolerances(), eHorizontalPair),
              "%qf_testPair \n%Dist test 100 114.5\n%Ang test (degrees)0 0 diff:0overlap180\n"
              "\n%width range==[45...15], widt == 14.5, not in range. horizontal pair");
}

TEST(PairTest, TraceOfEachFurtherFailure) {
    EXPECT_EQ(tracedTest(flatAt(130.0), flatAt(100.0), literalTolerances(), eHorizontalPair),
              "%qf_testPair \n%Dist test 130 100");
    EXPECT_EQ(tracedTest(flatAt(100.0, 0.0, 100.0), flatAt(130.0, 100.0, 200.5), literalTolerances(), eHorizontalPair),
              "%qf_testPair \n%Dist test 100 130\n%Ang test (degrees)0 0 diff:0"
              "\n%No overlap punt:l1:0 100 l2:100 200.5");
    EXPECT_EQ(
        tracedTest(uprightAt(100.0, 5.0, 100.0), uprightAt(118.0, 5.0, 100.0), literalTolerances(), eVerticalPair),
        "%qf_testPair \n%Dist test 100 118\n%Ang test (degrees)-90 -90 diff:0overlap95\n"
        "\n%No overlap punt:l1:-5 -100 l2:-5 -100");
}

TEST(GeneratePairs, TakesTheLinesInOrderOfTheirSignedDistance) {
    // Distances 60, -30, 30, 0 of the keys 0 to 3; neighbours are 30 apart.
    const std::vector<qv_ridgeLine> lines = flatLines(
        {{0.0, 60.0, 100.0, 60.0}, {1.0, -30.0, 101.0, -30.0}, {2.0, 30.0, 102.0, 30.0}, {3.0, 0.0, 103.0, 0.0}});
    EXPECT_EQ(pairsOf(lines, eHorizontalPair), (Keys{{1, 3}, {3, 2}, {2, 0}}));
}

TEST(GeneratePairs, LinesOfEqualDistanceKeepTheirOrder) {
    const std::vector<qv_ridgeLine> lines =
        flatLines({{0.0, 30.0, 100.0, 30.0}, {5.0, 30.0, 105.0, 30.0}, {1.0, 0.0, 101.0, 0.0}, {2.0, 0.0, 102.0, 0.0}});
    EXPECT_EQ(pairsOf(lines, eHorizontalPair), (Keys{{2, 0}, {2, 1}, {3, 0}, {3, 1}}));
}

TEST(GeneratePairs, VerticalPairsHaveTheLeftLineFirst) {
    const std::vector<qv_ridgeLine> lines =
        flatLines({{118.0, 10.0, 118.0, 200.0}, {100.0, 0.0, 100.0, 190.0}, {136.0, 5.0, 136.0, 210.0}});
    EXPECT_EQ(pairsOf(lines, eVerticalPair), (Keys{{1, 0}, {0, 2}}));
}

TEST(GeneratePairs, TakesTheAskedRangeAndAppends) {
    const std::vector<qv_ridgeLine> lines = flatLines(
        {{0.0, 0.0, 100.0, 0.0}, {1.0, 30.0, 101.0, 30.0}, {2.0, 60.0, 102.0, 60.0}, {3.0, 90.0, 103.0, 90.0}});
    std::vector<qv_candPair> pairs = {{8, 9, 0.5}};
    generatePairs(lines, 1, 2, pairs, literalTolerances(), eHorizontalPair, {}, Defs::eAnyPolarity, 0.1, 0.4, 0.05,
                  nullptr);
    EXPECT_EQ(keysOf(pairs), (Keys{{8, 9}, {1, 2}}));
    EXPECT_EQ(pairs[0].score, 0.5);
    EXPECT_EQ(pairs[1].score, 0.0);
}

TEST(GeneratePairs, OneLineOrNoneMakesNoPair) {
    const std::vector<qv_ridgeLine> lines = flatLines({{0.0, 0.0, 100.0, 0.0}, {1.0, 30.0, 101.0, 30.0}});
    std::vector<qv_candPair> pairs;
    for (const long count : {0L, 1L})
        generatePairs(lines, 0, count, pairs, literalTolerances(), eHorizontalPair, {}, Defs::eAnyPolarity, 0.1, 0.4,
                      0.05, nullptr);
    generatePairs({}, 0, 0, pairs, literalTolerances(), eHorizontalPair, {}, Defs::eAnyPolarity, 0.1, 0.4, 0.05,
                  nullptr);
    EXPECT_TRUE(pairs.empty());
}

TEST(GeneratePairs, ProjectionIsReadOnlyForAPolarityAndOnlyForPairs) {
    const qvTiledProjectionResult none;
    const std::vector<qv_ridgeLine> pair = flatLines({{0.0, 100.0, 90.0, 100.0}, {1.0, 130.0, 101.0, 130.0}});
    EXPECT_EQ(pairsOf(pair, eHorizontalPair, Defs::eAnyPolarity, none), (Keys{{0, 1}}));
    EXPECT_THROW(pairsOf(pair, eHorizontalPair, Defs::eDarkOnLight, none), qvInvariantFailure);
    const std::vector<qv_ridgeLine> tooWide = flatLines({{0.0, 100.0, 90.0, 100.0}, {1.0, 150.0, 101.0, 150.0}});
    EXPECT_TRUE(pairsOf(tooWide, eHorizontalPair, Defs::eDarkOnLight, none).empty());
}

TEST(GeneratePairs, OnlyPairsOfTheAskedPolarityAreKept) {
    // Two streets: bins 101 to 130 dark, bins 161 to 190 light.
    std::vector<double> greys = qvtest::streetProfile(300, 150.0, 101, 130, 60.0);
    for (std::size_t b = 161; b <= 190; ++b) greys[b] = 230.0;
    const qvTiledProjectionResult profile = literalProfile(greys, binsAlongY());
    const std::vector<qv_ridgeLine> lines = flatLines(
        {{0.0, 100.0, 90.0, 100.0}, {1.0, 130.0, 91.0, 130.0}, {2.0, 160.0, 92.0, 160.0}, {3.0, 190.0, 93.0, 190.0}});
    EXPECT_EQ(pairsOf(lines, eHorizontalPair, Defs::eDarkOnLight, profile), (Keys{{0, 1}}));
    EXPECT_EQ(pairsOf(lines, eHorizontalPair, Defs::eLightOnDark, profile), (Keys{{2, 3}}));
    EXPECT_EQ(pairsOf(lines, eHorizontalPair, Defs::eAnyPolarity, profile), (Keys{{0, 1}, {1, 2}, {2, 3}}));

    const qvTiledProjectionResult upright =
        literalProfile(qvtest::streetProfile(300, 150.0, 101, 118, 60.0), binsAlongX());
    const std::vector<qv_ridgeLine> uprights = flatLines({{100.0, 0.0, 100.0, 90.0}, {118.0, 1.0, 118.0, 91.0}});
    EXPECT_EQ(pairsOf(uprights, eVerticalPair, Defs::eDarkOnLight, upright), (Keys{{0, 1}}));
    EXPECT_TRUE(pairsOf(uprights, eVerticalPair, Defs::eLightOnDark, upright).empty());
}

TEST(GeneratePairs, InsetSideWidthAndMarginEachPlayTheirPart) {
    const std::vector<qv_ridgeLine> lines = flatLines({{0.0, 100.0, 90.0, 100.0}, {1.0, 130.0, 91.0, 130.0}});
    // Street 60, sides 100; bright rims inside the street, 3 bins at each edge; black from 15 bins outside it on.
    std::vector<double> greys = qvtest::streetProfile(300, 100.0, 101, 130, 60.0);
    for (const std::size_t b : {101U, 102U, 103U, 128U, 129U, 130U}) greys[b] = 255.0;
    for (std::size_t b = 0; b < greys.size(); ++b)
        if (b <= 85 || b > 145) greys[b] = 0.0;
    const qvTiledProjectionResult profile = literalProfile(greys, binsAlongY());
    const auto isDark = [&](double inset, double sideWidth, double margin) {
        return !pairsOf(lines, eHorizontalPair, Defs::eDarkOnLight, profile, inset, sideWidth, margin).empty();
    };
    EXPECT_TRUE(isDark(0.1, 0.4, 0.05)) << "60 against 100 at either side";
    EXPECT_FALSE(isDark(0.0, 0.4, 0.05)) << "the rims lift the centre to 99";
    EXPECT_FALSE(isDark(0.1, 1.0, 0.05)) << "the black parts pull the sides down to 40";
    EXPECT_FALSE(isDark(0.1, 0.4, 0.45)) << "60 is not below 55";
    EXPECT_TRUE(isDark(0.1, 0.4, 0.35)) << "60 is below 65";
}

TEST(GeneratePairs, TraceOfThreeLines) {
    const std::vector<qv_ridgeLine> lines =
        flatLines({{118.0, 0.0, 118.0, 190.0}, {100.0, 10.0, 100.0, 200.0}, {158.5, 20.0, 158.5, 180.0}});
    TraceCapture capture;
    std::vector<qv_candPair> pairs;
    generatePairs(lines, 0, 3, pairs, literalTolerances(), eVerticalPair, {}, Defs::eAnyPolarity, 0.1, 0.4, 0.05,
                  capture.trace());
    EXPECT_EQ(capture.text(),
              "\n\n%Test pair - 1 0\n"
              "%qf_testPair \n%Dist test 100 118\n%Ang test (degrees)-90 -90 diff:0overlap180\n"
              "%\nFound pair: 1 0\n"
              "\n\n%Test pair - 1 2\n"
              "%qf_testPair \n%Dist test 100 158.5\n%Ang test (degrees)-90 -90 diff:0overlap160\n"
              "\n%width range==[27...9], widt == 58.5, not in range. vertical pair"
              "\n%Not a pair.\n"
              "\n\n%Test pair - 0 2\n"
              "%qf_testPair \n%Dist test 118 158.5\n%Ang test (degrees)-90 -90 diff:0overlap160\n"
              "\n%width range==[27...9], widt == 40.5, not in range. vertical pair"
              "\n%Not a pair.\n");
}

TEST(GeneratePairs, PairOfTheWrongPolarityLeavesNoFurtherTrace) {
    const std::vector<qv_ridgeLine> lines = flatLines({{0.0, 100.0, 90.0, 100.0}, {1.0, 130.0, 91.0, 130.0}});
    TraceCapture capture;
    std::vector<qv_candPair> pairs;
    generatePairs(lines, 0, 2, pairs, literalTolerances(), eHorizontalPair,
                  literalProfile(qvtest::streetProfile(300, 150.0, 101, 130, 60.0)), Defs::eLightOnDark, 0.1, 0.4, 0.05,
                  capture.trace());
    EXPECT_TRUE(pairs.empty());
    EXPECT_EQ(capture.text(),
              "\n\n%Test pair - 0 1\n"
              "%qf_testPair \n%Dist test 100 130\n%Ang test (degrees)0 0 diff:0overlap89\n");
}

TEST(KeepBestPairs, SmallestSumOfTheQualitiesFirstAndTiesInTheirOrder) {
    EXPECT_EQ(RankedPairs().best(4), (Keys{{2, 3}, {6, 7}, {0, 1}, {4, 5}}));
    EXPECT_EQ(RankedPairs().best(3), (Keys{{2, 3}, {6, 7}, {0, 1}}));
    EXPECT_EQ(RankedPairs().best(1), (Keys{{2, 3}}));
    EXPECT_EQ(RankedPairs().best(0), Keys());
}

TEST(KeepBestPairs, EqualQualitiesKeepTheFirstPairs) {
    RankedPairs ranked;
    for (qv_ridgeLine& line : ranked.lines) line.lineQuality = 0.0;
    EXPECT_EQ(ranked.best(2), (Keys{{0, 1}, {2, 3}}));
}

TEST(KeepBestPairs, LimitAboveTheCountKeepsAll) { EXPECT_EQ(RankedPairs().best(1000).size(), 4U); }

TEST(KeepBestPairs, EmptyListStaysEmpty) {
    RankedPairs ranked;
    ranked.pairs.clear();
    EXPECT_EQ(ranked.best(1000), Keys());
}

TEST(KeepBestPairs, QualityThatIsNotANumberComesLast) {
    RankedPairs ranked;
    ranked.lines[2].lineQuality = kNan;
    EXPECT_EQ(ranked.best(4), (Keys{{6, 7}, {0, 1}, {4, 5}, {2, 3}}));
}

TEST(KeepBestPairs, KeepsTheScores) {
    const RankedPairs ranked;
    std::vector<qv_candPair> out;
    keepBestPairs(ranked.lines, {{0, 1, 0.25}, {2, 3, 0.75}}, out, 2);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0].score, 0.75);
    EXPECT_EQ(out[1].score, 0.25);
}
