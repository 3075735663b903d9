#include "qvstreet/candidates/further_crosses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/candidates/literal_lines.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;
using Keys = std::vector<long>;

/// A vertical street 10 wide, broken around y = 60, and a horizontal one 6 wide that runs through. Keys: top 0, bottom 1;
/// left upper 2, right upper 3, left lower 4, right lower 5.
std::vector<LiteralLine> brokenUpright() {
    return {{15, 57, 185, 57},  {35, 63, 165, 63}, {95, 7, 95, 50},
            {105, 17, 105, 52}, {95, 70, 95, 113}, {105, 68, 105, 93}};
}
const qv_candQuad kUprightQuad = {{2, 3, 0.0}, {4, 5, 0.0}};
const qv_candPair kFlatPair = {0, 1, 0.0};

/// The same streets, the horizontal one broken around x = 100. Keys: left top 0, left bottom 1, right top 2, right
/// bottom 3; left 4, right 5.
std::vector<LiteralLine> brokenFlat() {
    return {{15, 57, 90, 57},   {35, 63, 88, 63}, {112, 57, 185, 57},
            {110, 63, 165, 63}, {95, 7, 95, 113}, {105, 17, 105, 93}};
}
const qv_candQuad kFlatQuad = {{2, 3, 0.0}, {0, 1, 0.0}};
const qv_candPair kUprightPair = {4, 5, 0.0};

/// Weights that are 0 but for one.
std::vector<double> onlyWeight(std::size_t index, double weight = 1.0) {
    std::vector<double> weights(10, 0.0);
    weights[index] = weight;
    return weights;
}

qv_candidateContext contextFor(long maxResults, const std::vector<double>& scoreWeights) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = {200, 120};
    context.scoreWeights = scoreWeights;
    context.tolerances.angleTolerance = 10.0;
    context.tolerances.lineGapTolerance = 10.0;
    context.tolerances.nominalWidth = {8.0, 5.0};
    context.tolerances.widthLower = {7.0, 4.0};
    context.tolerances.widthUpper = {15.0, 6.5};
    return context;
}

std::vector<CrossResult> crossesOf(qv_candidateStore store, const std::vector<LiteralLine>& literals, long maxResults,
                                   const std::vector<double>& scoreWeights, qv_streetTrace* trace = nullptr) {
    std::vector<CrossResult> results(3);
    generateQuadPairCrosses(store, results, flatLines(literals), {}, contextFor(maxResults, scoreWeights),
                            qv_streetFinderImpl(), trace);
    return results;
}

qv_candidateStore storeOf(const std::vector<qv_candQuad>& vquads, const std::vector<qv_candPair>& hpairs,
                          const std::vector<qv_candPair>& vpairs, const std::vector<qv_candQuad>& hquads) {
    qv_candidateStore store;
    store.vquads_ = vquads;
    store.hpairs_ = hpairs;
    store.vpairs_ = vpairs;
    store.hquads_ = hquads;
    return store;
}

bool uprightQuadCrosses(const LiteralLine& top, const LiteralLine& bottom) {
    std::vector<LiteralLine> literals = brokenUpright();
    literals[0] = top;
    literals[1] = bottom;
    return quadCrossesPair(flatLines(literals), kUprightQuad, kFlatPair, nullptr);
}

bool flatQuadCrosses(const LiteralLine& left, const LiteralLine& right) {
    std::vector<LiteralLine> literals = brokenFlat();
    literals[4] = left;
    literals[5] = right;
    return pairCrossesQuad(flatLines(literals), kFlatQuad, kUprightPair, nullptr);
}

void expectPoint(const qvVector<2>& point, double x, double y) {
    EXPECT_NEAR(point.x(), x, 1e-9);
    EXPECT_NEAR(point.y(), y, 1e-9);
}

/// Two streets of unbroken edges. Keys: top 0, bottom 1, left 2, right 3.
std::vector<LiteralLine> fourLines() {
    return {{15, 57, 185, 57}, {35, 63, 165, 63}, {95, 7, 95, 113}, {105, 17, 105, 93}};
}

using PairsOfPairs = std::vector<qv_candPairOfCrossPair>;

PairsOfPairs pairsOfPairs(const std::vector<LiteralLine>& literals, long flatCount,
                          const std::vector<double>& scoreWeights, PairsOfPairs out = {},
                          qv_streetTrace* trace = nullptr) {
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    const qv_candidateContext context = contextFor(1, scoreWeights);
    generatePairsOfCrossPairs(lines, flatCount, static_cast<long>(lines.size()) - flatCount, 0, flatCount, out,
                              context.tolerances, context.scoreWeights, context.imageSize, trace);
    return out;
}

Keys keysOf(const qv_candPairOfCrossPair& pair) {
    return {pair.first.line1, pair.first.line2, pair.second.line1, pair.second.line2};
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(FurtherCrosses, AnUprightQuadIsBridgedFromItsTopToItsBottom) {
    EXPECT_TRUE(uprightQuadCrosses({15, 57, 185, 57}, {35, 63, 165, 63}));
    // Not only over the gap: lines across the upper and the lower pieces cross too.
    EXPECT_TRUE(uprightQuadCrosses({15, 20, 185, 20}, {35, 90, 165, 90}));
    // The right pieces reach from 17 to 93, both bounds included.
    EXPECT_TRUE(uprightQuadCrosses({15, 17, 185, 17}, {35, 93, 165, 93}));
    EXPECT_FALSE(uprightQuadCrosses({15, 16.9, 185, 16.9}, {35, 93, 165, 93}));
    EXPECT_FALSE(uprightQuadCrosses({15, 17, 185, 17}, {35, 93.1, 165, 93.1}));
}

TEST(FurtherCrosses, BothEdgesOfTheQuadMustBeCrossedByBothLines) {
    // Each line ends between the two edges, or touches the second one.
    EXPECT_FALSE(uprightQuadCrosses({15, 57, 100, 57}, {35, 63, 165, 63}));
    EXPECT_FALSE(uprightQuadCrosses({15, 57, 185, 57}, {100, 63, 165, 63}));
    EXPECT_TRUE(uprightQuadCrosses({15, 57, 105, 57}, {95, 63, 165, 63}));
}

TEST(FurtherCrosses, AFlatQuadIsBridgedBetweenItsInnerEnds) {
    EXPECT_TRUE(flatQuadCrosses({95, 7, 95, 113}, {105, 17, 105, 93}));
    // The top edge's gap reaches from 90 to 112, the bottom edge's from 88 to 110.
    EXPECT_TRUE(flatQuadCrosses({90, 7, 90, 113}, {110, 17, 110, 93}));
    EXPECT_FALSE(flatQuadCrosses({89.9, 7, 89.9, 113}, {110, 17, 110, 93}));
    EXPECT_FALSE(flatQuadCrosses({90, 7, 90, 113}, {110.1, 17, 110.1, 93}));
    // Across the pieces themselves is not enough.
    EXPECT_FALSE(flatQuadCrosses({60, 7, 60, 113}, {70, 17, 70, 93}));
    // And a line that ends between the two edges crosses only one.
    EXPECT_FALSE(flatQuadCrosses({95, 7, 95, 60}, {105, 17, 105, 93}));
    EXPECT_TRUE(flatQuadCrosses({95, 7, 95, 63}, {105, 57, 105, 93}));
}

TEST(FurtherCrosses, TheEndsOfABridgeDoNotDependOnTheOrderOfTheEnds) {
    std::vector<LiteralLine> literals = brokenUpright();
    for (LiteralLine& l : literals) l = {l.x2, l.y2, l.x1, l.y1};
    EXPECT_TRUE(quadCrossesPair(flatLines(literals), kUprightQuad, kFlatPair, nullptr));
    literals = brokenFlat();
    for (LiteralLine& l : literals) l = {l.x2, l.y2, l.x1, l.y1};
    EXPECT_TRUE(pairCrossesQuad(flatLines(literals), kFlatQuad, kUprightPair, nullptr));
    // The pieces the other way round: from the left end of the left to the right end of the right.
    EXPECT_TRUE(pairCrossesQuad(flatLines(brokenFlat()), {{0, 1, 0.0}, {2, 3, 0.0}}, kUprightPair, nullptr));
}

TEST(FurtherCrosses, AnUprightQuadWithAFlatPairMakesACross) {
    const std::vector<CrossResult> results =
        crossesOf(storeOf({kUprightQuad}, {kFlatPair}, {}, {}), brokenUpright(), 10, onlyWeight(1));
    ASSERT_EQ(results.size(), 1u);
    const CrossResult& cross = results[0];
    expectPoint(cross.crossing(), 100, 60);
    expectPoint(cross.ulCorner(), 95, 57);
    expectPoint(cross.urCorner(), 105, 57);
    expectPoint(cross.llCorner(), 95, 63);
    expectPoint(cross.lrCorner(), 105, 63);
    ASSERT_EQ(cross.lineSegs().size(), 8u);
    // Each line of the pair serves both its arms.
    EXPECT_EQ(cross.lineSegs()[1], qvLineSeg(qvVector<2>(105, 17), qvVector<2>(105, 52)));
    EXPECT_EQ(cross.lineSegs()[2], qvLineSeg(qvVector<2>(95, 70), qvVector<2>(95, 113)));
    EXPECT_EQ(cross.lineSegs()[4], qvLineSeg(qvVector<2>(15, 57), qvVector<2>(185, 57)));
    EXPECT_EQ(cross.lineSegs()[5], cross.lineSegs()[4]);
    EXPECT_EQ(cross.lineSegs()[6], qvLineSeg(qvVector<2>(35, 63), qvVector<2>(165, 63)));
    EXPECT_EQ(cross.lineSegs()[7], cross.lineSegs()[6]);
}

TEST(FurtherCrosses, TheGapsOfAnUprightQuadAreThoseOfItsOwnLines) {
    // 57 - 50, 57 - 52, 70 - 63, 68 - 63.
    const std::vector<CrossResult> results =
        crossesOf(storeOf({kUprightQuad}, {kFlatPair}, {}, {}), brokenUpright(), 10, onlyWeight(1));
    EXPECT_NEAR(results.at(0).score(), 7.0 + 5.0 + 7.0 + 5.0, 1e-9);
}

TEST(FurtherCrosses, TheGapsOfAFlatQuadAreThoseOfThePairsLines) {
    // Nearer ends of the pair: 57 - 7, 113 - 63; 93 - 57, 93 - 63.
    const std::vector<CrossResult> results =
        crossesOf(storeOf({}, {}, {kUprightPair}, {kFlatQuad}), brokenFlat(), 10, onlyWeight(1));
    EXPECT_NEAR(results.at(0).score(), 50.0 + 50.0 + 36.0 + 30.0, 1e-9);
}

TEST(FurtherCrosses, AFlatQuadTakesTheUprightPlaces) {
    const std::vector<CrossResult> results =
        crossesOf(storeOf({}, {}, {kUprightPair}, {kFlatQuad}), brokenFlat(), 10, onlyWeight(1));
    ASSERT_EQ(results.size(), 1u);
    const CrossResult& cross = results[0];
    expectPoint(cross.crossing(), 100, 60);
    // The cross stands on its side: its upper edge is the left line.
    expectPoint(cross.ulCorner(), 95, 57);
    expectPoint(cross.urCorner(), 95, 63);
    expectPoint(cross.llCorner(), 105, 57);
    expectPoint(cross.lrCorner(), 105, 63);
    EXPECT_NEAR(qvDegree(cross.horizontalAngle()).toDouble(), 90.0, 1e-9);
    EXPECT_NEAR(std::fabs(qvDegree(cross.verticalAngle()).toDouble()), 180.0, 1e-9);
    const Keys keys = {2, 3, 0, 1, 4, 4, 5, 5};
    const std::vector<qv_ridgeLine> lines = flatLines(brokenFlat());
    ASSERT_EQ(cross.lineSegs().size(), 8u);
    for (std::size_t i = 0; i < 8; ++i) {
        const qv_ridgeLine& line = lineAt(lines, keys[i]);
        EXPECT_EQ(cross.lineSegs()[i], qvLineSeg(line.p1, line.p2)) << i;
    }
}

TEST(FurtherCrosses, OnlyCouplesThatCrossMakeCandidates) {
    std::vector<LiteralLine> literals = brokenUpright();
    literals[1] = {35, 63, 100, 63};
    EXPECT_TRUE(crossesOf(storeOf({kUprightQuad}, {kFlatPair}, {}, {}), literals, 10, onlyWeight(1)).empty());
    literals = brokenFlat();
    literals[4] = {60, 7, 60, 113};
    EXPECT_TRUE(crossesOf(storeOf({}, {}, {kUprightPair}, {kFlatQuad}), literals, 10, onlyWeight(1)).empty());
}

TEST(FurtherCrosses, CandidatesOfBothKindsAreSortedByCostTogether) {
    // Both scenes, the flat one 300 further right: keys 6 to 11. Costs 24 and 166 by gaps, and 0 and 0 by quality.
    std::vector<LiteralLine> literals = brokenUpright();
    for (const LiteralLine& l : brokenFlat()) literals.push_back({l.x1 + 300, l.y1, l.x2 + 300, l.y2});
    const qv_candQuad flatQuad = {{8, 9, 0.0}, {6, 7, 0.0}};
    const qv_candPair uprightPair = {10, 11, 0.0};
    const qv_candidateStore store = storeOf({kUprightQuad}, {kFlatPair}, {uprightPair}, {flatQuad});
    std::vector<CrossResult> results = crossesOf(store, literals, 10, onlyWeight(1));
    ASSERT_EQ(results.size(), 2u);
    expectPoint(results[0].crossing(), 100, 60);
    expectPoint(results[1].crossing(), 400, 60);
    results = crossesOf(store, literals, 10, onlyWeight(1, -1.0));
    ASSERT_EQ(results.size(), 2u);
    expectPoint(results[0].crossing(), 400, 60);
    EXPECT_NEAR(results[0].score(), -166.0, 1e-9);
    // On equal costs the upright quads come first.
    results = crossesOf(store, literals, 10, onlyWeight(0));
    ASSERT_EQ(results.size(), 2u);
    expectPoint(results[0].crossing(), 100, 60);

    EXPECT_EQ(crossesOf(store, literals, 1, onlyWeight(1)).size(), 1u);
    EXPECT_TRUE(crossesOf(store, literals, 0, onlyWeight(1)).empty());
}

TEST(FurtherCrosses, CrossesLessThanFiveApartCountOnce) {
    // A second pair of flat lines, 4.9 lower.
    std::vector<LiteralLine> literals = brokenUpright();
    literals.push_back({15, 61.9, 185, 61.9});
    literals.push_back({35, 67.9, 165, 67.9});
    const qv_candPair lower = {6, 7, 0.0};
    EXPECT_EQ(crossesOf(storeOf({kUprightQuad}, {kFlatPair, lower}, {}, {}), literals, 10, onlyWeight(1)).size(), 1u);
    literals[6] = {15, 62.1, 185, 62.1};
    literals[7] = {35, 68.1, 165, 68.1};
    EXPECT_EQ(crossesOf(storeOf({kUprightQuad}, {kFlatPair, lower}, {}, {}), literals, 10, onlyWeight(1)).size(), 2u);
}

TEST(FurtherCrosses, AnEmptyStoreLeavesNoResults) {
    EXPECT_TRUE(crossesOf({}, brokenUpright(), 10, onlyWeight(1)).empty());
    EXPECT_TRUE(crossesOf(storeOf({kUprightQuad}, {}, {kUprightPair}, {}), brokenUpright(), 10, onlyWeight(1)).empty());
}

TEST(FurtherCrosses, TheLinesOfEachCandidateAreTraced) {
    TraceCapture upright;
    crossesOf(storeOf({kUprightQuad}, {kFlatPair}, {}, {}), brokenUpright(), 10, onlyWeight(1), upright.trace());
    EXPECT_EQ(upright.text(), "\n%lines considered for a VQHP are (in order): 2 3 4 5 0 0 1 1 ");
    TraceCapture flat;
    crossesOf(storeOf({}, {}, {kUprightPair}, {kFlatQuad}), brokenFlat(), 10, onlyWeight(1), flat.trace());
    EXPECT_EQ(flat.text(), "\n%lines considered for a HQVP  are (in order): 2 3 0 1 4 4 5 5 ");
}

TEST(FurtherCrosses, TwoCrossPairsFitWhenTheirLinesBoundStreetsInEitherOrder) {
    // Cross pairs by cost: (2, 0), (2, 1), (3, 0), (3, 1). Left before right and top before bottom, and mixed.
    const PairsOfPairs found = pairsOfPairs(fourLines(), 2, onlyWeight(6));
    ASSERT_EQ(found.size(), 2u);
    std::vector<Keys> keys = {keysOf(found[0]), keysOf(found[1])};
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, std::vector<Keys>({{2, 0, 3, 1}, {2, 1, 3, 0}}));
}

TEST(FurtherCrosses, TheSecondOrderOfTheUprightLinesIsTriedToo) {
    // The right and the bottom line are the longer ones and come first.
    const std::vector<LiteralLine> literals = {
        {35, 57, 165, 57}, {15, 63, 185, 63}, {95, 17, 95, 93}, {105, 7, 105, 113}};
    const PairsOfPairs found = pairsOfPairs(literals, 2, onlyWeight(6));
    ASSERT_EQ(found.size(), 2u);
    std::vector<Keys> keys = {keysOf(found[0]), keysOf(found[1])};
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, std::vector<Keys>({{3, 0, 2, 1}, {3, 1, 2, 0}}));
}

TEST(FurtherCrosses, EachDirectionHasItsOwnWidthRange) {
    // 7 to 15 in X, 4 to 6.5 in Y; both bounds pass.
    std::vector<LiteralLine> literals = fourLines();
    literals[3] = {110, 17, 110, 93};
    EXPECT_EQ(pairsOfPairs(literals, 2, onlyWeight(6)).size(), 2u);
    literals[3] = {110.1, 17, 110.1, 93};
    EXPECT_TRUE(pairsOfPairs(literals, 2, onlyWeight(6)).empty());
    literals[3] = {101, 17, 101, 93};  // 6 apart, a width in Y
    EXPECT_TRUE(pairsOfPairs(literals, 2, onlyWeight(6)).empty());
    literals = fourLines();
    literals[1] = {35, 63.5, 165, 63.5};
    EXPECT_EQ(pairsOfPairs(literals, 2, onlyWeight(6)).size(), 2u);
    literals[1] = {35, 65, 165, 65};  // 8 apart, a width in X
    EXPECT_TRUE(pairsOfPairs(literals, 2, onlyWeight(6)).empty());
}

TEST(FurtherCrosses, TwoCrossPairsMayNotShareALine) {
    EXPECT_TRUE(pairsOfPairs({{15, 57, 185, 57}, {35, 63, 165, 63}, {95, 7, 95, 113}}, 2, onlyWeight(6)).empty());
    EXPECT_TRUE(pairsOfPairs({{15, 57, 185, 57}, {95, 7, 95, 113}, {105, 17, 105, 93}}, 1, onlyWeight(6)).empty());
}

TEST(FurtherCrosses, TheirCostAddsBothCostsAndBothWidthErrors) {
    // Missing lengths: 14 and 44 of 120, 30 and 70 of 200. Widths: 10 for 8, 6 for 5.
    std::vector<double> weights(10, 1e9);
    weights[6] = 3.0;
    weights[7] = 0.0;
    weights[8] = 4.0;
    weights[9] = 10.0;
    const PairsOfPairs found = pairsOfPairs(fourLines(), 2, weights);
    ASSERT_EQ(found.size(), 2u);
    for (const qv_candPairOfCrossPair& pair : found) {
        EXPECT_NEAR(pair.score, 3.0 * (58.0 / 120.0 + 100.0 / 200.0) + 0.25 * 4.0 + 0.2 * 10.0, 1e-7);
        EXPECT_NEAR(pair.first.score + pair.second.score, 3.0 * (58.0 / 120.0 + 100.0 / 200.0), 1e-12);
    }
}

TEST(FurtherCrosses, TheWidthErrorsAreRelativeToTheNominalWidthAndALittleMore) {
    // |8 - 10| / (8 + 1e-8): 5e-10 less than a quarter, weighed so that it shows.
    const PairsOfPairs x = pairsOfPairs(fourLines(), 2, onlyWeight(8, 1e9));
    EXPECT_NEAR(x.at(0).score, 2e9 / (8.0 + 1e-8), 1e-6);
    const PairsOfPairs y = pairsOfPairs(fourLines(), 2, onlyWeight(9, 1e9));
    EXPECT_NEAR(y.at(0).score, 1e9 / (5.0 + 1e-8), 1e-6);
}

TEST(FurtherCrosses, TheListIsAppendedToAndSortedAsAWhole) {
    PairsOfPairs before(2);
    before[0].score = 1e6;
    before[1].score = -1.0;
    const PairsOfPairs found = pairsOfPairs(fourLines(), 2, onlyWeight(6), before);
    ASSERT_EQ(found.size(), 4u);
    EXPECT_EQ(found[0].score, -1.0);
    EXPECT_EQ(found[0].first.line1, -1);
    EXPECT_EQ(found[3].score, 1e6);
    EXPECT_NEAR(found[1].score, 58.0 / 120.0 + 0.5, 1e-12);
}

TEST(FurtherCrosses, TheCheapestComesFirst) {
    // A third upright line makes a street of the nominal width with the left one.
    std::vector<LiteralLine> literals = fourLines();
    literals.push_back({103, 17, 103, 93});
    const PairsOfPairs found = pairsOfPairs(literals, 2, onlyWeight(8));
    ASSERT_EQ(found.size(), 4u);
    EXPECT_NEAR(found[0].score, 0.0, 1e-12);
    EXPECT_NEAR(found[1].score, 0.0, 1e-12);
    EXPECT_EQ(found[0].second.line1, 4);
    EXPECT_NEAR(found[2].score, 0.25, 1e-8);
    EXPECT_NEAR(found[3].score, 0.25, 1e-8);
}

TEST(FurtherCrosses, WithoutLinesThereAreNoPairsOfCrossPairs) {
    EXPECT_TRUE(pairsOfPairs({}, 0, onlyWeight(6)).empty());
    EXPECT_TRUE(pairsOfPairs({{15, 57, 185, 57}, {95, 7, 95, 113}}, 1, onlyWeight(6)).empty());
}

TEST(FurtherCrosses, EveryCoupleOfCrossPairsIsTraced) {
    TraceCapture capture;
    pairsOfPairs(fourLines(), 2, onlyWeight(6), {}, capture.trace());
    const std::string text = capture.text();
    // Costs 14 / 120 + 0.15 and so on: (2, 0), (2, 1), (3, 0), (3, 1).
    EXPECT_TRUE(contains(text, "\n%Considering, as a cross pair: 2 0 2 1%qf_testPair "));
    EXPECT_TRUE(contains(text, "...not a crosspair\n\n%Considering, as a cross pair: 2 0 3 0%qf_testPair "));
    EXPECT_TRUE(contains(text, "...not a crosspair\n\n%Considering, as a cross pair: 2 0 3 1%qf_testPair "));
    EXPECT_TRUE(contains(text,
                         "\n%built a pair of cross pairs: 2 0 3 1w score: 0.9833333333"
                         "\n%Considering, as a cross pair: 2 1 3 0%qf_testPair "));
    EXPECT_TRUE(contains(text,
                         "\n%built a pair of cross pairs: 2 1 3 0w score: 0.9833333333"
                         "\n%Considering, as a cross pair: 2 1 3 1%qf_testPair "));
    EXPECT_TRUE(contains(text, "...not a crosspair\n\n%Considering, as a cross pair: 3 0 3 1%qf_testPair "));
}

TEST(FurtherCrosses, TheFlatLinesAreNotTestedWhereTheUprightOnesFail) {
    TraceCapture capture;
    pairsOfPairs({{15, 57, 185, 57}, {35, 63, 165, 63}, {95, 7, 95, 113}}, 2, onlyWeight(6), {}, capture.trace());
    // Line 2 with itself, in both orders, and nothing else.
    const std::string text = capture.text();
    const std::string start = "\n%Considering, as a cross pair: 2 0 2 1";
    const std::size_t begin = text.find(start);
    ASSERT_NE(begin, std::string::npos);
    long tests = 0;
    for (std::size_t at = text.find("%qf_testPair ", begin); at != std::string::npos;
         at = text.find("%qf_testPair ", at + 1))
        ++tests;
    EXPECT_EQ(tests, 2);
}
