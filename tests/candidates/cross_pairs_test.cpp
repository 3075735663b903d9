#include "qvstreet/candidates/cross_pairs.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/candidates/literal_lines.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;
using Pairs = std::vector<qv_candCrossPair>;
using Keys = std::vector<long>;

constexpr double kAbsurd = 1e9;

/// Only the two weights that count here are sound.
std::vector<double> weights(double lengthWeight, double normalityWeight) {
    std::vector<double> all(10, kAbsurd);
    all[6] = lengthWeight;
    all[7] = normalityWeight;
    return all;
}

const qvPair<long> kImageSize = {200, 120};

/// The cross pairs of the lines, of which the first `flatCount` are of direction 0.
Pairs pairsOf(const std::vector<LiteralLine>& literals, long flatCount,
              const std::vector<double>& scoreWeights = weights(1.0, 1.0), qv_streetTrace* trace = nullptr) {
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    Pairs pairs;
    generateCrossPairs(lines, flatCount, static_cast<long>(lines.size()) - flatCount, 0, flatCount, pairs,
                       qv_candidateTolerances(), scoreWeights, kImageSize, trace);
    return pairs;
}

Keys keysOf(const Pairs& pairs) {
    Keys keys;
    for (const qv_candCrossPair& pair : pairs) {
        keys.push_back(pair.line1);
        keys.push_back(pair.line2);
    }
    return keys;
}

qv_candidateContext contextFor(long maxResults) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = kImageSize;
    context.scoreWeights = weights(1.0, 0.0);
    return context;
}

std::vector<CrossResult> crossingsOf(const std::vector<LiteralLine>& literals, long flatCount, long maxResults = 20,
                                     qv_streetTrace* trace = nullptr) {
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    qv_candidateStore store;
    std::vector<CrossResult> results(2);
    generateXcands(store, results, lines, {flatCount, static_cast<long>(lines.size()) - flatCount},
                   contextFor(maxResults), trace);
    return results;
}

bool crosses(const LiteralLine& a, const LiteralLine& b) {
    const qv_ridgeLine lineA = ridgeLine(a.x1, a.y1, a.x2, a.y2);
    const qv_ridgeLine lineB = ridgeLine(b.x1, b.y1, b.x2, b.y2);
    EXPECT_EQ(segmentsCross(lineA, lineB), segmentsCross(lineB, lineA));
    return segmentsCross(lineA, lineB);
}

}  // namespace

TEST(CrossPairs, SegmentsCrossWhenTheEndsOfNeitherLieOnOneSideOfTheOther) {
    EXPECT_TRUE(crosses({50, 10, 50, 90}, {20, 40, 80, 60}));
    // The flat line ends before the upright one, begins behind it; the upright one ends above, begins below.
    EXPECT_FALSE(crosses({50, 10, 50, 90}, {20, 40, 49.9, 60}));
    EXPECT_FALSE(crosses({50, 10, 50, 90}, {50.1, 40, 80, 60}));
    EXPECT_FALSE(crosses({50, 10, 50, 39}, {20, 40, 80, 40}));
    EXPECT_FALSE(crosses({50, 41, 50, 90}, {20, 40, 80, 40}));
}

TEST(CrossPairs, TouchingCountsAsCrossing) {
    EXPECT_TRUE(crosses({50, 10, 50, 90}, {20, 40, 50, 40}));
    EXPECT_TRUE(crosses({50, 10, 50, 90}, {50, 40, 80, 40}));
    EXPECT_TRUE(crosses({50, 10, 50, 40}, {20, 40, 80, 40}));
    EXPECT_TRUE(crosses({50, 40, 50, 90}, {20, 40, 80, 40}));
    EXPECT_TRUE(crosses({50, 10, 50, 40}, {50, 40, 80, 40}));  // end to end
}

TEST(CrossPairs, LinesOfOneLineTouchEverywhere) {
    EXPECT_TRUE(crosses({10, 50, 30, 50}, {60, 50, 80, 50}));
    EXPECT_FALSE(crosses({10, 50, 30, 50}, {60, 51, 80, 51}));
}

TEST(CrossPairs, TheRunningDirectionDoesNotMatter) {
    EXPECT_TRUE(crosses({50, 90, 50, 10}, {80, 60, 20, 40}));
    EXPECT_FALSE(crosses({50, 90, 50, 10}, {49.9, 60, 20, 40}));
}

TEST(CrossPairs, EveryUprightLineIsTriedWithEveryFlatOne) {
    // Keys: flat lines 0 to 2, upright lines 3 and 4; the short flat line 1 crosses only 4.
    const Pairs pairs =
        pairsOf({{10, 30, 190, 30}, {130, 60, 170, 60}, {20, 90, 180, 90}, {40, 10, 40, 110}, {150, 20, 150, 95}}, 3);
    EXPECT_EQ(keysOf(pairs), Keys({3, 0, 3, 2, 4, 0, 4, 2, 4, 1}));
    EXPECT_TRUE(pairsOf({{10, 30, 190, 30}}, 1).empty());
    EXPECT_TRUE(pairsOf({{40, 10, 40, 110}}, 0).empty());
}

TEST(CrossPairs, TheCostAddsTheMissingLengthsAndTheSkew) {
    // 100 of 120 in y and 160 of 200 in x; the flat line falls with slope 3 / 4, a cosine of 0.6 with the upright one.
    const Pairs pairs = pairsOf({{20, 0, 180, 120}, {50, 10, 50, 110}}, 1, weights(3.0, 10.0));
    ASSERT_EQ(pairs.size(), 1u);
    ASSERT_EQ(pairs[0].components.size(), 2u);
    EXPECT_NEAR(pairs[0].components[0], 1.0 / 6.0 + 0.2, 1e-14);
    EXPECT_NEAR(pairs[0].components[1], 6.0, 1e-13);
    EXPECT_NEAR(pairs[0].score, 3.0 * (1.0 / 6.0 + 0.2) + 6.0, 1e-13);
}

TEST(CrossPairs, OnlyTheHeightOfTheUprightAndTheWidthOfTheFlatLineCount) {
    // The upright line leans by 75 in 100: cosine 0.6 with the flat line from either side.
    for (const double x2 : {25.0, 175.0}) {
        const Pairs pairs = pairsOf({{190, 60, 20, 60}, {100, 110, x2, 10}}, 1, weights(1.0, 1.0));
        ASSERT_EQ(pairs.size(), 1u);
        EXPECT_NEAR(pairs[0].components[0], 20.0 / 120.0 + 30.0 / 200.0, 1e-14);
        EXPECT_NEAR(pairs[0].components[1], 0.6, 1e-14);
    }
}

TEST(CrossPairs, LinesLongerThanTheImageCostLessThanNothing) {
    const Pairs pairs = pairsOf({{-50, 60, 250, 60}, {100, -30, 100, 150}}, 1, weights(2.0, 1.0));
    EXPECT_NEAR(pairs.at(0).score, 2.0 * (-0.5 - 0.5), 1e-14);
}

TEST(CrossPairs, PairsAreSortedByCost) {
    // Upright lines 50 and 100 high, flat lines 60 and 180 wide.
    const Pairs pairs =
        pairsOf({{20, 40, 80, 40}, {10, 60, 190, 60}, {50, 30, 50, 80}, {70, 10, 70, 110}}, 2, weights(1.0, 0.0));
    EXPECT_EQ(keysOf(pairs), Keys({3, 1, 2, 1, 3, 0, 2, 0}));
    for (std::size_t i = 1; i < pairs.size(); ++i) EXPECT_LT(pairs[i - 1].score, pairs[i].score);
}

TEST(CrossPairs, EqualCostsKeepTheOrderOfGeneration) {
    const Pairs pairs =
        pairsOf({{10, 40, 190, 40}, {10, 60, 190, 60}, {70, 10, 70, 110}, {50, 10, 50, 110}}, 2, weights(0.0, 0.0));
    EXPECT_EQ(keysOf(pairs), Keys({2, 0, 2, 1, 3, 0, 3, 1}));
}

TEST(CrossPairs, LinesAreTakenByExtent) {
    // Upright lines run towards smaller y: their extents are -50 and -100. The flat ones' are 180 and 60.
    const std::vector<LiteralLine> lines = {{10, 60, 190, 60}, {20, 40, 80, 40}, {50, 30, 50, 80}, {70, 10, 70, 110}};
    EXPECT_EQ(keysOf(pairsOf(lines, 2, weights(0.0, 0.0))), Keys({3, 1, 3, 0, 2, 1, 2, 0}));
}

TEST(CrossPairs, TheListIsAppendedToAndSortedAsAWhole) {
    const std::vector<qv_ridgeLine> lines = flatLines({{10, 40, 190, 40}, {90, 60, 190, 60}, {100, 10, 100, 110}});
    Pairs pairs(1);
    pairs[0].line1 = 2;
    pairs[0].line2 = 1;
    generateCrossPairs(lines, 2, 1, 0, 1, pairs, qv_candidateTolerances(), weights(1.0, 0.0), kImageSize, nullptr);
    EXPECT_EQ(keysOf(pairs), Keys({2, 0, 2, 1}));
}

TEST(CrossPairs, CouplesAndCostsAreTraced) {
    TraceCapture capture;
    pairsOf({{20, 60, 180, 60}, {20, 40, 80, 40}, {100, 10, 100, 110}}, 2, weights(2.0, 0.0), capture.trace());
    EXPECT_EQ(capture.text(),
              "\n%Comparing 2 and 1 as cross..."
              "\n%Comparing 2 and 0 as cross......passed,"
              "\n%Scoring 2 0; dist = 0.3666666667 and normality = 0 total = 0.7333333333");
}

TEST(CrossPairs, TheImageBordersDifferByTheEqualCase) {
    // The image is 200 by 120.
    EXPECT_TRUE(crossingsOf({{20, 60, 220, 60}, {200, 10, 200, 110}}, 1).empty());
    EXPECT_EQ(crossingsOf({{20, 60, 220, 60}, {199.5, 10, 199.5, 110}}, 1).size(), 1u);
    EXPECT_EQ(crossingsOf({{20, 120, 180, 120}, {100, 10, 100, 130}}, 1).size(), 1u);
    EXPECT_TRUE(crossingsOf({{20, 120.5, 180, 120.5}, {100, 10, 100, 130}}, 1).empty());
    EXPECT_EQ(crossingsOf({{20, 120, 220, 120}, {199.5, 10, 199.5, 130}}, 1).size(), 1u);
}

TEST(CrossPairs, NegativeCoordinatesAreKept) {
    const std::vector<CrossResult> results = crossingsOf({{-60, -15, 40, -15}, {-25, -70, -25, 30}}, 1);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_NEAR(results[0].crossing().x(), -25.0, 1e-12);
    EXPECT_NEAR(results[0].crossing().y(), -15.0, 1e-12);
}

TEST(CrossPairs, LinesWithoutAnIntersectionAreSkipped) {
    // Two pieces of one line touch by their sides, but meet nowhere; the next couple is tried.
    const std::vector<CrossResult> results = crossingsOf({{20, 50, 180, 50}, {10, 50, 190, 50}, {70, 10, 70, 110}}, 1);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_NEAR(results[0].crossing().x(), 70.0, 1e-12);
}

TEST(CrossPairs, OfCrossingsLessThanFiveApartTheCheaperIsKept) {
    const std::vector<CrossResult> near =
        crossingsOf({{20, 60, 180, 60}, {100, 20, 100, 100}, {104.9, 10, 104.9, 110}}, 1);
    ASSERT_EQ(near.size(), 1u);
    EXPECT_NEAR(near[0].crossing().x(), 104.9, 1e-12);
    const std::vector<CrossResult> far = crossingsOf({{20, 60, 180, 60}, {100, 20, 100, 100}, {105, 10, 105, 110}}, 1);
    ASSERT_EQ(far.size(), 2u);
    EXPECT_NEAR(far[0].crossing().x(), 105.0, 1e-12);
    EXPECT_NEAR(far[1].crossing().x(), 100.0, 1e-12);
}

TEST(CrossPairs, TheWalkEndsAtTheNumberAskedForAndNotBefore) {
    // The cheapest two lie 4 apart, so the second result is the third pair.
    const std::vector<LiteralLine> lines = {
        {20, 60, 180, 60}, {100, 10, 100, 110}, {104, 12, 104, 110}, {140, 30, 140, 110}, {60, 40, 60, 110}};
    EXPECT_TRUE(crossingsOf(lines, 1, 0).empty());
    EXPECT_EQ(crossingsOf(lines, 1, 1).size(), 1u);
    const std::vector<CrossResult> two = crossingsOf(lines, 1, 2);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_NEAR(two[1].crossing().x(), 140.0, 1e-12);
    EXPECT_EQ(crossingsOf(lines, 1, 20).size(), 3u);
}

TEST(CrossPairs, WithoutLinesOfOneDirectionTheResultsOfBeforeAreGone) {
    EXPECT_TRUE(crossingsOf({{20, 60, 180, 60}}, 1).empty());
    EXPECT_TRUE(crossingsOf({{100, 10, 100, 110}}, 0).empty());
    EXPECT_TRUE(crossingsOf({}, 0).empty());
}

TEST(CrossPairs, AResultHoldsTheUprightSegmentAndThenTheFlatOne) {
    // Slopes 3 / 4 and the perpendicular, which crosses it in (100, 60).
    const std::vector<qv_ridgeLine> lines = flatLines({{60, 30, 180, 120}, {130, 20, 70, 100}});
    qv_candCrossPair pair;
    pair.line1 = 1;
    pair.line2 = 0;
    pair.score = 0.625;
    CrossResult result;
    fillLineCrossResult(result, qvVector<2>(100.0, 60.0), pair, lines);
    EXPECT_EQ(result.score(), 0.625);
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromLine);
    EXPECT_EQ(result.crossing(), qvVector<2>(100.0, 60.0));
    EXPECT_EQ(result.ulCorner(), result.crossing());
    EXPECT_EQ(result.urCorner(), result.crossing());
    EXPECT_EQ(result.llCorner(), result.crossing());
    EXPECT_EQ(result.lrCorner(), result.crossing());
    ASSERT_EQ(result.lineSegs().size(), 2u);
    EXPECT_EQ(result.lineSegs()[0], qvLineSeg(qvVector<2>(130, 20), qvVector<2>(70, 100)));
    EXPECT_EQ(result.lineSegs()[1], qvLineSeg(qvVector<2>(60, 30), qvVector<2>(180, 120)));
    // The upright line runs upwards, against its p1 and p2.
    EXPECT_NEAR(qvDegree(result.verticalAngle()).toDouble(), -53.13010235415598, 1e-12);
    EXPECT_NEAR(qvDegree(result.horizontalAngle()).toDouble(), 36.86989764584402, 1e-12);
}

TEST(CrossPairs, ResultsCarryTheCostOfTheirPair) {
    const std::vector<CrossResult> results = crossingsOf({{20, 60, 180, 60}, {100, 10, 100, 110}}, 1);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_NEAR(results[0].score(), 1.0 / 6.0 + 0.2, 1e-14);
    EXPECT_EQ(results[0].statusFlags(), qvStreetFinderDefs::eStreetFromLine);
}

TEST(CrossPairs, TheStageTracesItsHeadingAndATableOfItsResults) {
    TraceCapture capture;
    crossingsOf({{20, 60, 180, 60}, {100, 15, 100, 105}}, 1, 20, capture.trace());
    EXPECT_EQ(capture.text(),
              "\n%%Generate xcands\n"
              "\n%Comparing 1 and 0 as cross......passed,"
              "\n%Scoring 1 0; dist = 0.45 and normality = 0 total = 0.45"
              "%score, horz , vert\nres=[\n"
              "0.45 20 60 180 60 100 15 100 105\n"
              "];\n");
}

TEST(CrossPairs, AnEmptyTableIsTracedToo) {
    TraceCapture capture;
    crossingsOf({}, 0, 20, capture.trace());
    EXPECT_EQ(capture.text(), "\n%%Generate xcands\n%score, horz , vert\nres=[\n];\n");
}
