#include "qvstreet/candidates/eight_line_crosses.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/candidates/literal_cross.h"

namespace {

double scoreOf(const std::vector<qv_ridgeLine>& lines, const std::vector<double>& weights, long gapMode = eGapOfB,
               const qv_candidateTolerances& tolerances = tolerancesOf(25.0, 20.0)) {
    qv_stCand candidate = unevenCandidate();
    return scoreStCand(lines, candidate, tolerances, weights, gapMode, nullptr);
}

std::vector<double> componentsOf(const std::vector<qv_ridgeLine>& lines, long gapMode = eGapOfB) {
    qv_stCand candidate = unevenCandidate();
    scoreStCand(lines, candidate, tolerancesOf(25.0, 20.0), kEdgeWeights, gapMode, nullptr);
    return candidate.components;
}

/// Every edge of the cross lies elsewhere on the two sides of the crossing: corners (100, 200), (130, 202), (103, 220),
/// (131, 225), all lines still upright or flat.
std::vector<LiteralLine> offsetCross() {
    return {{20.0, 200.0, 90.0, 200.0},   {140.0, 202.0, 240.0, 202.0}, {25.0, 220.0, 95.0, 220.0},
            {135.0, 225.0, 230.0, 225.0}, {100.0, 50.0, 100.0, 188.0},  {130.0, 60.0, 130.0, 195.0},
            {103.0, 230.0, 103.0, 290.0}, {131.0, 230.0, 131.0, 280.0}};
}

/// Every line leans by an angle of its own.
std::vector<LiteralLine> crookedCross() {
    return {{20.0, 203.0, 90.0, 200.0},   {140.0, 202.0, 240.0, 210.0}, {25.0, 220.0, 95.0, 221.0},
            {135.0, 225.0, 230.0, 219.0}, {100.0, 50.0, 104.0, 190.0},  {130.0, 60.0, 127.0, 195.0},
            {103.0, 230.0, 101.0, 290.0}, {131.0, 225.0, 138.0, 280.0}};
}

/// The four corners of a figure whose lines meet there at right angles or not: every line runs from its corner outwards.
std::vector<qv_ridgeLine> linesThroughCorners(const std::vector<qvVector<2>>& corners) {
    std::vector<LiteralLine> literals(8);
    for (std::size_t i = 0; i < 4; ++i) {
        const double x = corners[i].x();
        const double y = corners[i].y();
        const double right = i % 2 == 0 ? -1.0 : 1.0;
        const double down = i < 2 ? -1.0 : 1.0;
        literals[i] = {x, y, x + right * 50.0, y};
        literals[i + 4] = {x, y, x, y + down * 60.0};
    }
    return flatLines(literals);
}

}  // namespace

TEST(CornerGap, EachGapIsTheNearerEndsDistanceFromTheOtherLine) {
    const qv_ridgeLine a = ridgeLine(100.0, 50.0, 100.0, 193.0);
    const qv_ridgeLine b = ridgeLine(110.0, 200.0, 180.0, 200.0);
    double gapOfA = -1.0;
    double gapOfB = -1.0;
    qvVector<2> corner;
    EXPECT_TRUE(cornerGap(a, b, gapOfA, gapOfB, corner, nullptr));
    expectNear(corner, 100.0, 200.0);
    EXPECT_NEAR(gapOfA, 7.0, 1e-12);
    EXPECT_NEAR(gapOfB, 10.0, 1e-12);
    // The second end may be the nearer one, and an end beyond the other line counts by its distance alone.
    EXPECT_TRUE(cornerGap(ridgeLine(100.0, 204.0, 100.0, 260.0), ridgeLine(20.0, 200.0, 97.0, 200.0), gapOfA, gapOfB,
                          corner, nullptr));
    EXPECT_NEAR(gapOfA, 4.0, 1e-12);
    EXPECT_NEAR(gapOfB, 3.0, 1e-12);
}

TEST(CornerGap, IsMeasuredAcrossTheOtherLineAtAnySlant) {
    double gapOfA = 0.0;
    double gapOfB = 0.0;
    qvVector<2> corner(9.0, 9.0);
    EXPECT_TRUE(cornerGap(ridgeLine(0.0, -30.0, 0.0, -5.0), ridgeLine(10.0, 10.0, 20.0, 20.0), gapOfA, gapOfB, corner,
                          nullptr));
    expectNear(corner, 0.0, 0.0);
    EXPECT_NEAR(gapOfA, 5.0 / std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(gapOfB, 10.0, 1e-12);
}

TEST(CornerGap, ParallelLinesChangeNothingAndAreTraced) {
    double gapOfA = 11.0;
    double gapOfB = 12.0;
    qvVector<2> corner(13.0, 14.0);
    TraceCapture capture;
    EXPECT_FALSE(cornerGap(ridgeLine(0.0, 5.0, 30.0, 5.0), ridgeLine(10.0, 9.0, 20.0, 9.0), gapOfA, gapOfB, corner,
                           capture.trace()));
    EXPECT_EQ(gapOfA, 11.0);
    EXPECT_EQ(gapOfB, 12.0);
    EXPECT_EQ(corner, qvVector<2>(13.0, 14.0));
    EXPECT_EQ(capture.text(), "%Corners don't intersect\n");
}

TEST(WidthCost, IsTheWeightedFractionOfTheNominalWidth) {
    EXPECT_EQ(widthCost(29.0, 25.0, 2.0), 4.0 / (25.0 + 1e-8) * 2.0);
    EXPECT_EQ(widthCost(21.0, 25.0, 1.0), 4.0 / (25.0 + 1e-8));
    EXPECT_EQ(widthCost(-1.0, 25.0, 1.0), 26.0 / (25.0 + 1e-8));
    EXPECT_EQ(widthCost(3.0, 0.0, 1.0), 3.0 / 1e-8);
}

TEST(GapMode, HasItsValues) {
    EXPECT_EQ(static_cast<long>(eBothGaps), 0);
    EXPECT_EQ(static_cast<long>(eGapOfB), 1);
    EXPECT_EQ(static_cast<long>(eGapOfA), 2);
}

TEST(ScoreStCand, SumsTheQualityOfAllEightLines) {
    std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    double quality = 1.0;
    for (qv_ridgeLine& line : lines) {
        line.lineQuality = quality;
        quality *= 2.0;
    }
    EXPECT_EQ(componentsOf(lines)[0], 255.0);
    EXPECT_EQ(scoreOf(lines, onlyWeight(0)), 255.0);
}

TEST(ScoreStCand, QualityOfZeroMakesNoTerm) { EXPECT_EQ(componentsOf(flatLines(crookedCross()))[0], 0.0); }

TEST(ScoreStCand, GapModeChoosesTheGapsThatCount) {
    // The upright lines end 12, 5, 10 and 5 short of the corners, the flat ones 10, 10, 5 and 5.
    const std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    EXPECT_NEAR(scoreOf(lines, onlyWeight(1), eBothGaps), 62.0, 1e-9);
    EXPECT_NEAR(scoreOf(lines, onlyWeight(1), eGapOfB), 30.0, 1e-9);
    EXPECT_NEAR(scoreOf(lines, onlyWeight(1), eGapOfA), 32.0, 1e-9);
    EXPECT_NEAR(componentsOf(lines, eBothGaps)[1], 62.0, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(1), eBothGaps), 64.164915014582, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(1), eGapOfB), 39.695579797067, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(1), eGapOfA), 24.469335217515, 1e-9);
}

TEST(ScoreStCand, ColinearityMeasuresEachLineAgainstTheCornerAtTheFarEndOfItsEdge) {
    // 3 + 1 + 3 + 1 of the upright edges, 2 + 2 + 5 + 5 of the flat ones.
    EXPECT_NEAR(scoreOf(flatLines(offsetCross()), onlyWeight(2)), 22.0, 1e-9);
    // 1.5924 + 4.7030 + 0.2477 + 1.0627 + 2.5272 + 0.2463 + 3.7355 + 5.8721
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(2)), 19.986793196534, 1e-9);
}

TEST(ScoreStCand, ParallelogramComparesOppositeSidesOfTheCorners) {
    EXPECT_NEAR(scoreOf(flatLines(offsetCross()), onlyWeight(3)),
                std::sqrt(904.0) - std::sqrt(809.0) + std::sqrt(530.0) - std::sqrt(409.0), 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(3)), 8.292203359515, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(unevenCross()), onlyWeight(3)), 0.0, 1e-9);
}

TEST(ScoreStCand, RightAnglesAddDeparturesFromNinetyDegrees) {
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(4)), 8.848356704784, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(offsetCross()), onlyWeight(4)), 0.0, 1e-9);
    std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    const auto turn = [&lines](std::size_t place, double degrees) {
        qv_ridgeLine& line = lines[static_cast<std::size_t>(kUnevenKeys[place])];
        line.line = qvFLine(qvDegree(degrees), line.p1);
    };
    turn(0, -97.0);  // 97 from 0: 7
    turn(5, 2.0);    // 92: 2
    turn(2, 85.0);   // 85 the other way round: 5
    turn(3, 170.0);
    turn(7, -103.0);  // 273 folds to -87: 3
    EXPECT_NEAR(scoreOf(lines, onlyWeight(4)), 17.0, 1e-9);
}

TEST(ScoreStCand, CentreSpreadIsTheGreatestDistanceOfTheBisectorsCrossings) {
    // The bisectors of this parallelogram meet in (5, 5), (7, 13/3), (7, 1) and (5, 5/3).
    const std::vector<qv_ridgeLine> lines = linesThroughCorners({{0.0, 0.0}, {10.0, 0.0}, {2.0, 6.0}, {12.0, 6.0}});
    qv_stCand candidate = candidateOfKeys({0, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_NEAR(scoreStCand(lines, candidate, tolerancesOf(25.0, 20.0), onlyWeight(5), eGapOfB, nullptr),
                std::sqrt(20.0), 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(crookedCross()), onlyWeight(5)), 6.454496503208, 1e-9);
    EXPECT_NEAR(scoreOf(flatLines(unevenCross()), onlyWeight(5)), 0.0, 1e-9);
}

TEST(ScoreStCand, LineCrossingWeightsPlayNoPart) {
    EXPECT_EQ(scoreOf(flatLines(crookedCross()), onlyWeight(6)), 0.0);
    EXPECT_EQ(scoreOf(flatLines(crookedCross()), onlyWeight(7)), 0.0);
}

TEST(ScoreStCand, WidthsAreTheMeanOverTheTwoArmsOfAStreet) {
    // The upright arms are 30 and 28 wide, the flat ones 20 and 23.
    const std::vector<qv_ridgeLine> lines = flatLines(offsetCross());
    EXPECT_NEAR(scoreOf(lines, onlyWeight(8)), 4.0 / (25.0 + 1e-8), 1e-12);
    EXPECT_NEAR(scoreOf(lines, onlyWeight(9)), 1.5 / (20.0 + 1e-8), 1e-12);
    EXPECT_NEAR(scoreOf(lines, onlyWeight(8), eGapOfB, tolerancesOf(40.0, 20.0)), 11.0 / (40.0 + 1e-8), 1e-12);
    EXPECT_NEAR(scoreOf(lines, onlyWeight(9), eGapOfB, tolerancesOf(25.0, 30.0)), 8.5 / (30.0 + 1e-8), 1e-12);
}

TEST(ScoreStCand, NominalWidthsAreThoseOfTheTolerances) {
    qv_candidateTolerances tolerances = tolerancesOf(29.0, 21.5);
    tolerances.widthLower = qvPair<double>(1.0, 2.0);
    tolerances.widthUpper = qvPair<double>(3.0, 4.0);
    EXPECT_NEAR(scoreOf(flatLines(offsetCross()), onlyWeight(8), eGapOfB, tolerances), 0.0, 1e-12);
    EXPECT_NEAR(scoreOf(flatLines(offsetCross()), onlyWeight(9), eGapOfB, tolerances), 0.0, 1e-12);
}

TEST(ScoreStCand, ArmWithoutFacingEndsEntersTheWidthAsMinusOne) {
    // Equal ends above the crossing: 0.5 * (-1 + 30).
    std::vector<LiteralLine> literals = unevenCross();
    literals[5] = {130.0, 50.0, 130.0, 188.0};
    EXPECT_NEAR(scoreOf(flatLines(literals), onlyWeight(8)), 10.5 / (25.0 + 1e-8), 1e-12);
    literals[7] = {130.0, 230.0, 130.0, 290.0};
    EXPECT_NEAR(scoreOf(flatLines(literals), onlyWeight(8)), 26.0 / (25.0 + 1e-8), 1e-12);
    literals[2] = {20.0, 220.0, 90.0, 220.0};
    literals[3] = {140.0, 220.0, 240.0, 220.0};
    EXPECT_NEAR(scoreOf(flatLines(literals), onlyWeight(9)), 21.0 / (20.0 + 1e-8), 1e-12);
}

TEST(ScoreStCand, LeavesSevenComponentsWithoutTheWidths) {
    const std::vector<double> components = componentsOf(flatLines(crookedCross()));
    ASSERT_EQ(components.size(), 7u);
    EXPECT_NEAR(components[1], 39.695579797067, 1e-9);
    EXPECT_NEAR(components[2], 19.986793196534, 1e-9);
    EXPECT_NEAR(components[3], 8.292203359515, 1e-9);
    EXPECT_NEAR(components[4], 8.848356704784, 1e-9);
    EXPECT_NEAR(components[5], 6.454496503208, 1e-9);
    EXPECT_EQ(components[6], 0.0);
}

TEST(ScoreStCand, ScoringAgainStartsFromZero) {
    const std::vector<qv_ridgeLine> lines = flatLines(crookedCross());
    qv_stCand candidate = unevenCandidate();
    candidate.components = {9.0, 9.0, 9.0, 9.0, 9.0, 9.0, 9.0, 9.0, 9.0};
    const double once = scoreStCand(lines, candidate, tolerancesOf(25.0, 20.0), kEdgeWeights, eGapOfB, nullptr);
    const std::vector<double> components = candidate.components;
    EXPECT_EQ(components.size(), 7u);
    EXPECT_EQ(scoreStCand(lines, candidate, tolerancesOf(25.0, 20.0), kEdgeWeights, eGapOfB, nullptr), once);
    EXPECT_EQ(candidate.components, components);
    EXPECT_EQ(candidate.score, 0.0);
}

TEST(ScoreStCand, TotalIsTheWeightedSum) {
    const std::vector<qv_ridgeLine> lines = flatLines(offsetCross());
    const std::vector<double> weights = {3.0, 0.019, 0.0875, 0.2909, 0.5771, 0.0, 5.0, 7.0, 2.0, 4.0};
    const double parallelogram = std::sqrt(904.0) - std::sqrt(809.0) + std::sqrt(530.0) - std::sqrt(409.0);
    // The flat lines end 10, 10, 8 and 4 from the upright ones.
    ASSERT_NEAR(scoreOf(lines, onlyWeight(1)), 32.0, 1e-9);
    EXPECT_NEAR(
        scoreOf(lines, weights),
        0.019 * 32.0 + 0.0875 * 22.0 + 0.2909 * parallelogram + 2.0 * 4.0 / (25.0 + 1e-8) + 4.0 * 1.5 / (20.0 + 1e-8),
        1e-9);
}

TEST(ScoreStCand, CornerOfParallelLinesIsTheOriginInAllLaterTerms) {
    // Line 0 runs flat, 10 below line 4: their corner stays (0, 0) and their gaps do not count.
    const std::vector<qv_ridgeLine> lines = [] {
        std::vector<LiteralLine> literals = offsetCross();
        literals[4] = {20.0, 210.0, 90.0, 210.0};
        return flatLines(literals);
    }();
    TraceCapture capture;
    qv_stCand candidate = unevenCandidate();
    scoreStCand(lines, candidate, tolerancesOf(25.0, 20.0), kEdgeWeights, eGapOfB, capture.trace());
    EXPECT_EQ(capture.text(), "%Corners don't intersect\n");
    // Gaps of b at the other corners: 10, 8, 4.
    EXPECT_NEAR(candidate.components[1], 22.0, 1e-9);
    // Line 0 (y = 210) from (103, 220): 10. Lines 2 (x = 103) and 5 (y = 202) from (0, 0). The rest 1, 1, 2, 5, 5.
    EXPECT_NEAR(candidate.components[2], 10.0 + 103.0 + 202.0 + 14.0, 1e-9);
    const double top = std::sqrt(130.0 * 130.0 + 202.0 * 202.0);
    const double left = std::sqrt(103.0 * 103.0 + 220.0 * 220.0);
    EXPECT_NEAR(candidate.components[3], top - std::sqrt(809.0) + (left - std::sqrt(530.0)), 1e-9);
    EXPECT_NEAR(candidate.components[4], 90.0, 1e-9);
    EXPECT_GT(candidate.components[5], 50.0);
}

TEST(ScoreStCand, IsTheSameInAFrameTurnedOrMirrored) {
    // Without the widths: which ends face each other is told along each line from the origin.
    std::vector<double> weights = kEdgeWeights;
    weights[8] = weights[9] = 0.0;
    const double upright = scoreOf(flatLines(crookedCross()), weights);
    EXPECT_GT(upright, 1.0);
    for (const double degrees : {-30.0, -5.0, 15.0, 30.0}) {
        const qvXform<2> turn = turnAround(degrees, qvVector<2>(50.0, 60.0));
        EXPECT_NEAR(scoreOf(flatLines(mappedLines(crookedCross(), turn)), weights), upright, 1e-8) << degrees;
        const qvXform<2> mirror = turnAround(degrees, qvVector<2>(50.0, 60.0), true);
        qv_stCand candidate = candidateOfKeys({6, 7, 4, 5, 2, 3, 0, 1});
        EXPECT_NEAR(scoreStCand(flatLines(mappedLines(crookedCross(), mirror)), candidate, tolerancesOf(25.0, 20.0),
                                weights, eGapOfB, nullptr),
                    upright, 1e-8)
            << degrees;
    }
}
