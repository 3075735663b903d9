#include "qvstreet/candidates/corner_crosses.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/candidates/literal_lines.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;
using Corners = std::vector<qv_candCorner>;
using Keys = std::vector<long>;

/// A vertical street 20 wide (x 90 to 110) and a horizontal one 15 wide (y 50 to 65), broken off shortly before each
/// corner, each arm of another length. Keys: flat lines upper left 0, upper right 1, lower left 2, lower right 3; upright
/// lines left upper 4, right upper 5, left lower 6, right lower 7.
std::vector<LiteralLine> fourCorners() {
    return {{15, 50, 87, 50}, {114, 50, 170, 50}, {25, 65, 88, 65},  {111, 65, 190, 65},
            {90, 5, 90, 48},  {110, 9, 110, 46},  {90, 69, 90, 115}, {110, 67, 110, 99}};
}

/// Shape limits for that scene; each bound differs from all the others.
qv_candidateTolerances cornerTolerances() {
    qv_candidateTolerances tolerances;
    tolerances.lineGapTolerance = 10.0;
    tolerances.angleTolerance = 8.0;
    tolerances.nominalWidth = {20.0, 15.0};
    tolerances.widthLower = {17.0, 12.0};
    tolerances.widthUpper = {23.0, 16.0};
    return tolerances;
}

qv_candidateContext contextFor(long maxResults) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.tolerances = cornerTolerances();
    context.imageSize = {200, 120};
    return context;
}

/// The four lists as keys, `line1` and then `line2` of each corner.
struct Classes {
    Keys ul;
    Keys ur;
    Keys dl;
    Keys dr;
    bool operator==(const Classes& other) const {
        return ul == other.ul && ur == other.ur && dl == other.dl && dr == other.dr;
    }
};

Keys keysOf(const Corners& corners) {
    Keys keys;
    for (const qv_candCorner& corner : corners) {
        keys.push_back(corner.line1);
        keys.push_back(corner.line2);
    }
    return keys;
}

/// The corners of the lines, of which the first `flatCount` are of direction 0.
Classes classesOf(const std::vector<LiteralLine>& literals, long flatCount = 1,
                  const qv_candidateTolerances& tolerances = cornerTolerances(), qv_streetTrace* trace = nullptr) {
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    Corners ul;
    Corners ur;
    Corners dl;
    Corners dr;
    generateCorners(lines, flatCount, static_cast<long>(lines.size()) - flatCount, 0, flatCount, ul, ur, dl, dr,
                    tolerances, trace);
    return {keysOf(ul), keysOf(ur), keysOf(dl), keysOf(dr)};
}

const Classes kNone = {};
const Classes kUl = {{1, 0}, {}, {}, {}};
const Classes kUr = {{}, {1, 0}, {}, {}};
const Classes kDl = {{}, {}, {1, 0}, {}};
const Classes kDr = {{}, {}, {}, {1, 0}};

qv_candidateTolerances withAngle(double degrees) {
    qv_candidateTolerances tolerances = cornerTolerances();
    tolerances.angleTolerance = degrees;
    return tolerances;
}

Keys linesOf(const qv_stCand& candidate) { return Keys(std::begin(candidate.lines), std::end(candidate.lines)); }

/// The candidates of corners given by their keys.
std::vector<Keys> joined(const std::vector<qv_ridgeLine>& lines, const Corners& ul, const Corners& ur,
                         const Corners& dl, const Corners& dr) {
    std::vector<qv_stCand> candidates;
    joinCorners(lines, ul, ur, dl, dr, candidates, cornerTolerances(), nullptr);
    std::vector<Keys> all;
    for (const qv_stCand& candidate : candidates) all.push_back(linesOf(candidate));
    return all;
}

const qv_candCorner kUpperLeft = {4, 0, 0.0};
const qv_candCorner kUpperRight = {5, 1, 0.0};
const qv_candCorner kLowerLeft = {6, 2, 0.0};
const qv_candCorner kLowerRight = {7, 3, 0.0};

const Keys kWithoutLowerRight = {4, 5, 6, -1, 0, 1, 2, -1};
const Keys kWithoutLowerLeft = {4, 5, -1, 7, 0, 1, -1, 3};
const Keys kWithoutUpperRight = {4, -1, 6, 7, 0, -1, 2, 3};
const Keys kWithoutUpperLeft = {-1, 5, 6, 7, -1, 1, 2, 3};

using Matches = std::vector<qvPair<long>>;

Matches matchesOf(const std::vector<qv_ridgeLine>& lines, const Corners& listA, const Corners& listB) {
    Matches matched;
    matchCornerPairs(lines, listA, listB, matched, cornerTolerances(), nullptr);
    return matched;
}

std::vector<CrossResult> crossesOf(const std::vector<LiteralLine>& literals, long flatCount, long maxResults) {
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    qv_candidateStore store;
    std::vector<CrossResult> results(1);
    generateCornerCrosses(store, results, lines, {flatCount, static_cast<long>(lines.size()) - flatCount},
                          contextFor(maxResults), nullptr);
    return results;
}

void expectPoint(const qvVector<2>& point, double x, double y) {
    EXPECT_NEAR(point.x(), x, 1e-9);
    EXPECT_NEAR(point.y(), y, 1e-9);
}

void expectSegment(const qvLineSeg& segment, double x1, double y1, double x2, double y2) {
    expectPoint(segment.p1(), x1, y1);
    expectPoint(segment.p2(), x2, y2);
}

}  // namespace

TEST(CornerCrosses, ACornersClassSaysWhereItsArmsPoint) {
    EXPECT_EQ(classesOf({{15, 50, 87, 50}, {90, 5, 90, 48}}), kUl);
    EXPECT_EQ(classesOf({{114, 50, 170, 50}, {110, 9, 110, 46}}), kUr);
    EXPECT_EQ(classesOf({{25, 65, 88, 65}, {90, 69, 90, 115}}), kDl);
    EXPECT_EQ(classesOf({{111, 65, 190, 65}, {110, 67, 110, 99}}), kDr);
}

TEST(CornerCrosses, TheClassDoesNotDependOnTheOrderOfTheEnds) {
    EXPECT_EQ(classesOf({{87, 50, 15, 50}, {90, 48, 90, 5}}), kUl);
    EXPECT_EQ(classesOf({{170, 50, 114, 50}, {110, 9, 110, 46}}), kUr);
    EXPECT_EQ(classesOf({{25, 65, 88, 65}, {90, 115, 90, 69}}), kDl);
    EXPECT_EQ(classesOf({{190, 65, 111, 65}, {110, 99, 110, 67}}), kDr);
}

TEST(CornerCrosses, AnArmWithoutLengthCountsAsUpAndLeft) {
    // Two points in one place; lines without length run along x, so the angle must not count.
    EXPECT_EQ(classesOf({{50, 50, 50, 50}, {50, 50, 50, 50}}, 1, withAngle(90.0)), kUl);
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 50, 50, 50}}, 1, withAngle(90.0)), kUr);
    EXPECT_EQ(classesOf({{50, 50, 50, 50}, {50, 50, 50, 90}}, 1, withAngle(90.0)), kDl);
}

TEST(CornerCrosses, AnAngleAtTheToleranceFromNinetyPasses) {
    // 45 degrees between the lines, and 135.
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 50, 80, 20}}, 1, withAngle(45.0)), kUr);
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 50, 20, 20}}, 1, withAngle(45.0)), kUr);
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 50, 80, 20}}, 1, withAngle(44.999)), kNone);
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 50, 20, 20}}, 1, withAngle(44.999)), kNone);
}

TEST(CornerCrosses, ACoupleTooFarFromNinetyIsDroppedOnEitherSide) {
    // The upright line leans by 1 in 7, that is 8.13 degrees; by 1 in 7.2 it is 7.91.
    EXPECT_EQ(classesOf({{15, 50, 87, 50}, {90, 48, 83, -1}}), kNone);
    EXPECT_EQ(classesOf({{15, 50, 87, 50}, {90, 48, 97, -1}}), kNone);
    EXPECT_EQ(classesOf({{15, 50, 87, 50}, {90, 48, 83, -2.4}}), kUl);
    EXPECT_EQ(classesOf({{15, 50, 87, 50}, {90, 48, 97, -2.4}}), kUl);
}

TEST(CornerCrosses, TurnedStreetsMeetAtARightAngleToo) {
    for (const double degrees : {35.0, -35.0}) {
        const double c = 40.0 * qfCos(qvDegree(degrees));
        const double t = 40.0 * qfSin(qvDegree(degrees));
        EXPECT_EQ(classesOf({{50, 50, 50 + c, 50 + t}, {50, 50, 50 + t, 50 - c}}), kUr);
        EXPECT_EQ(classesOf({{50, 50, 50 - c, 50 - t}, {50, 50, 50 - t, 50 + c}}), kDl);
    }
}

TEST(CornerCrosses, EndsAtTheGapToleranceMeet) {
    // (6, 8) apart.
    EXPECT_EQ(classesOf({{15, 50, 84, 50}, {90, 5, 90, 42}}), kUl);
    EXPECT_EQ(classesOf({{15, 50, 83.99, 50}, {90, 5, 90, 42}}), kNone);
    EXPECT_EQ(classesOf({{15, 50, 84, 50}, {90, 5, 90, 41.99}}), kNone);
}

TEST(CornerCrosses, TheNearestEndsMeet) {
    // All four ends lie within the tolerance of each other; the nearest two tell the class.
    EXPECT_EQ(classesOf({{50, 50, 56, 50}, {49, 51, 49, 57}}), kDr);  // p1 and p1
    EXPECT_EQ(classesOf({{44, 50, 50, 50}, {51, 51, 51, 57}}), kDl);  // p1 of the upright, p2 of the flat line
    EXPECT_EQ(classesOf({{50, 50, 56, 50}, {49, 43, 49, 49}}), kUr);  // p2 and p1
    EXPECT_EQ(classesOf({{44, 50, 50, 50}, {51, 43, 51, 49}}), kUl);  // p2 and p2
}

TEST(CornerCrosses, OfEqualDistancesTheEarlierWins) {
    EXPECT_EQ(classesOf({{44, 50, 56, 50}, {50, 50, 50, 100}}), kDr);  // p1-p1 and p1-p2
    EXPECT_EQ(classesOf({{50, 50, 90, 50}, {50, 44, 50, 56}}), kDr);   // p1-p1 and p2-p1
    EXPECT_EQ(classesOf({{10, 50, 50, 50}, {50, 44, 50, 56}}), kDl);   // p1-p2 and p2-p2
    EXPECT_EQ(classesOf({{44, 50, 56, 50}, {50, 0, 50, 50}}), kUr);    // p2-p1 and p2-p2
    EXPECT_EQ(classesOf({{46, 50, 54, 50}, {50, 47, 50, 53}}), kDr);   // all four
}

TEST(CornerCrosses, ALineWithEndsInsideTheOtherMakesNoCorner) {
    // The lines cross, but their ends lie far apart.
    EXPECT_EQ(classesOf({{15, 50, 170, 50}, {90, 5, 90, 115}}), kNone);
}

TEST(CornerCrosses, CornersAreAppendedByExtentOfTheUprightAndThenOfTheFlatLine) {
    // Upright lines run towards smaller y, so their extents are -43, -37 and -46; the flat lines' are 72 and 30.
    const std::vector<LiteralLine> lines = {
        {15, 50, 87, 50}, {57, 53, 87, 53}, {90, 5, 90, 48}, {91, 11, 91, 48}, {89, 2, 89, 48}};
    EXPECT_EQ(classesOf(lines, 2), (Classes{{4, 1, 4, 0, 2, 1, 2, 0, 3, 1, 3, 0}, {}, {}, {}}));
}

TEST(CornerCrosses, EqualExtentsKeepTheOrderOfTheLines) {
    const std::vector<LiteralLine> lines = {{15, 50, 87, 50}, {90, 5, 90, 48}, {91, 5, 91, 48}, {89, 5, 89, 48}};
    EXPECT_EQ(classesOf(lines, 1), (Classes{{1, 0, 2, 0, 3, 0}, {}, {}, {}}));
}

TEST(CornerCrosses, TheListsAreAppendedTo) {
    const std::vector<qv_ridgeLine> lines = flatLines({{15, 50, 87, 50}, {90, 5, 90, 48}});
    Corners ul = {{7, 8, 0.0}};
    Corners ur = {{9, 10, 0.0}};
    Corners dl;
    Corners dr;
    generateCorners(lines, 1, 1, 0, 1, ul, ur, dl, dr, cornerTolerances(), nullptr);
    EXPECT_EQ(keysOf(ul), Keys({7, 8, 1, 0}));
    EXPECT_EQ(keysOf(ur), Keys({9, 10}));
    EXPECT_EQ(ul.back().score, 0.0);
}

TEST(CornerCrosses, TheCouplesAreTraced) {
    TraceCapture capture;
    classesOf(fourCorners(), 4, cornerTolerances(), capture.trace());
    // Upright lines by extent: 6 (-46), 4 (-43), 5 (-37), 7 (-32); flat lines: 1 (56), 2 (63), 0 (72), 3 (79).
    EXPECT_EQ(capture.text(),
              "\n%Comparing 6 and 1 as corner...... too far apart"
              "\n%Comparing 6 and 2 as corner......passed,...stored as DL,"
              "\n%Comparing 6 and 0 as corner...... too far apart"
              "\n%Comparing 6 and 3 as corner...... too far apart"
              "\n%Comparing 4 and 1 as corner...... too far apart"
              "\n%Comparing 4 and 2 as corner...... too far apart"
              "\n%Comparing 4 and 0 as corner......passed,...stored as UL,"
              "\n%Comparing 4 and 3 as corner...... too far apart"
              "\n%Comparing 5 and 1 as corner......passed,...stored as UR,"
              "\n%Comparing 5 and 2 as corner...... too far apart"
              "\n%Comparing 5 and 0 as corner...... too far apart"
              "\n%Comparing 5 and 3 as corner...... too far apart"
              "\n%Comparing 7 and 1 as corner...... too far apart"
              "\n%Comparing 7 and 2 as corner...... too far apart"
              "\n%Comparing 7 and 0 as corner...... too far apart"
              "\n%Comparing 7 and 3 as corner......passed,...stored as DR,");
}

TEST(CornerCrosses, ACoupleAskewIsTraced) {
    TraceCapture capture;
    classesOf({{50, 50, 90, 50}, {50, 50, 80, 20}}, 1, cornerTolerances(), capture.trace());
    EXPECT_EQ(capture.text(), "\n%Comparing 1 and 0 as corner...... not ninety");
}

TEST(CornerCrosses, CornersOfOneRowMatch) {
    const std::vector<qv_ridgeLine> lines = flatLines(fourCorners());
    EXPECT_EQ(matchesOf(lines, {kUpperLeft}, {kUpperRight}), Matches({{0, 0}}));
    EXPECT_EQ(matchesOf(lines, {kLowerLeft}, {kLowerRight}), Matches({{0, 0}}));
    // Right before left is no pair.
    EXPECT_EQ(matchesOf(lines, {kUpperRight}, {kUpperLeft}), Matches());
}

TEST(CornerCrosses, AMatchNeedsAStreetsWidthInX) {
    // 23 is the upper bound in X and beyond that in Y.
    std::vector<LiteralLine> literals = fourCorners();
    literals[5] = {113, 9, 113, 46};
    EXPECT_EQ(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).size(), 1u);
    literals[5] = {113.01, 9, 113.01, 46};
    EXPECT_TRUE(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).empty());
    literals[5] = {106, 9, 106, 46};  // 16
    EXPECT_TRUE(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).empty());
}

TEST(CornerCrosses, AMatchNeedsFlatLinesAtMostTheGapToleranceApart) {
    std::vector<LiteralLine> literals = fourCorners();
    literals[1] = {114, 40, 170, 40};
    EXPECT_EQ(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).size(), 1u);
    literals[1] = {114, 39.99, 170, 39.99};
    EXPECT_TRUE(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).empty());
    // The mean over the four ends counts: 56 right of one line the other lies 21 off, at its near end 0.
    literals[1] = {114, 50, 170, 71};
    EXPECT_TRUE(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).empty());
    literals[1] = {114, 50, 170, 54};
    EXPECT_EQ(matchesOf(flatLines(literals), {kUpperLeft}, {kUpperRight}).size(), 1u);
}

TEST(CornerCrosses, MatchesAreAppendedRowByRow) {
    std::vector<LiteralLine> literals = fourCorners();
    literals.push_back({91, 5, 91, 47});    // 8
    literals.push_back({111, 9, 111, 44});  // 9
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    Matches matched = {{5, 6}};
    matchCornerPairs(lines, {kUpperLeft, {8, 0, 0.0}}, {kUpperRight, {9, 1, 0.0}}, matched, cornerTolerances(),
                     nullptr);
    EXPECT_EQ(matched, Matches({{5, 6}, {0, 0}, {0, 1}, {1, 0}, {1, 1}}));
}

TEST(CornerCrosses, TheThirdCornerNeedsAStreetsWidthInY) {
    std::vector<LiteralLine> literals = fourCorners();
    EXPECT_TRUE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
    EXPECT_FALSE(testThirdCorner(flatLines(literals), 2, 0, 4, 6, cornerTolerances(), nullptr));
    literals[2] = {25, 66, 88, 66};
    EXPECT_TRUE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
    // 16.01, and 20, which would do in X.
    literals[2] = {25, 66.01, 88, 66.01};
    EXPECT_FALSE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
    literals[2] = {25, 70, 88, 70};
    EXPECT_FALSE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
}

TEST(CornerCrosses, TheThirdCornerNeedsUprightLinesAtMostTheGapToleranceApart) {
    std::vector<LiteralLine> literals = fourCorners();
    literals[6] = {100, 69, 100, 115};
    EXPECT_TRUE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
    literals[6] = {100.01, 69, 100.01, 115};
    EXPECT_FALSE(testThirdCorner(flatLines(literals), 0, 2, 4, 6, cornerTolerances(), nullptr));
}

TEST(CornerCrosses, ACandidateTakesItsLinesInTheOrderOfTheCorners) {
    std::vector<qv_stCand> candidates(1);
    buildCornerCandidate({10, 11, 0.0}, {12, 13, 0.0}, {14, 15, 0.0}, {16, 17, 0.0}, candidates);
    ASSERT_EQ(candidates.size(), 2u);
    EXPECT_EQ(linesOf(candidates[1]), Keys({10, 12, 14, 16, 11, 13, 15, 17}));
    EXPECT_EQ(candidates[1].score, 0.0);
    EXPECT_TRUE(candidates[1].components.empty());
    buildCornerCandidate({10, 11, 0.0}, qv_candCorner(), {14, 15, 0.0}, {16, 17, 0.0}, candidates);
    EXPECT_EQ(linesOf(candidates[2]), Keys({10, -1, 14, 16, 11, -1, 15, 17}));
}

TEST(CornerCrosses, FourMatchingCornersGiveFourCandidates) {
    const std::vector<qv_ridgeLine> lines = flatLines(fourCorners());
    EXPECT_EQ(joined(lines, {kUpperLeft}, {kUpperRight}, {kLowerLeft}, {kLowerRight}),
              std::vector<Keys>({kWithoutLowerRight, kWithoutLowerLeft, kWithoutUpperRight, kWithoutUpperLeft}));
}

TEST(CornerCrosses, ThreeMatchingCornersGiveOne) {
    const std::vector<qv_ridgeLine> lines = flatLines(fourCorners());
    EXPECT_EQ(joined(lines, {kUpperLeft}, {kUpperRight}, {kLowerLeft}, {}), std::vector<Keys>({kWithoutLowerRight}));
    EXPECT_EQ(joined(lines, {kUpperLeft}, {kUpperRight}, {}, {kLowerRight}), std::vector<Keys>({kWithoutLowerLeft}));
    EXPECT_EQ(joined(lines, {kUpperLeft}, {}, {kLowerLeft}, {kLowerRight}), std::vector<Keys>({kWithoutUpperRight}));
    EXPECT_EQ(joined(lines, {}, {kUpperRight}, {kLowerLeft}, {kLowerRight}), std::vector<Keys>({kWithoutUpperLeft}));
}

TEST(CornerCrosses, TwoClassesOfCornersGiveNone) {
    const std::vector<qv_ridgeLine> lines = flatLines(fourCorners());
    EXPECT_TRUE(joined(lines, {kUpperLeft}, {kUpperRight}, {}, {}).empty());
    EXPECT_TRUE(joined(lines, {}, {}, {kLowerLeft}, {kLowerRight}).empty());
    EXPECT_TRUE(joined(lines, {kUpperLeft}, {}, {}, {kLowerRight}).empty());
}

TEST(CornerCrosses, AThirdCornerThatDoesNotFitIsLeftOut) {
    // A lower left corner 20 below the upper one fits neither column nor width; the true one does.
    std::vector<LiteralLine> literals = fourCorners();
    literals.push_back({25, 70, 88, 70});   // 8
    literals.push_back({90, 73, 90, 115});  // 9
    const qv_candCorner astray = {9, 8, 0.0};
    EXPECT_EQ(joined(flatLines(literals), {kUpperLeft}, {kUpperRight}, {astray, kLowerLeft}, {}),
              std::vector<Keys>({kWithoutLowerRight}));
}

TEST(CornerCrosses, TheThirdCornerIsComparedWithTheOneInItsColumn) {
    // The right column is wider than the left one by 2: 17 is no street's width in Y.
    std::vector<LiteralLine> literals = fourCorners();
    literals[3] = {111, 67, 190, 67};
    const std::vector<qv_ridgeLine> lines = flatLines(literals);
    EXPECT_EQ(joined(lines, {kUpperLeft}, {kUpperRight}, {kLowerLeft}, {kLowerRight}),
              std::vector<Keys>({kWithoutLowerRight, kWithoutUpperRight}));
    literals = fourCorners();
    literals[2] = {25, 67, 88, 67};
    EXPECT_EQ(joined(flatLines(literals), {kUpperLeft}, {kUpperRight}, {kLowerLeft}, {kLowerRight}),
              std::vector<Keys>({kWithoutLowerLeft, kWithoutUpperLeft}));
}

TEST(CornerCrosses, OfTheFourCandidatesOfOneCrossingTheFirstIsKept) {
    const std::vector<CrossResult> results = crossesOf(fourCorners(), 4, 10);
    ASSERT_EQ(results.size(), 1u);
    const CrossResult& cross = results[0];
    EXPECT_EQ(cross.score(), 0.0);
    EXPECT_EQ(cross.statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
    expectPoint(cross.crossing(), 100.0, 57.5);
    expectPoint(cross.ulCorner(), 90.0, 50.0);
    expectPoint(cross.lrCorner(), 110.0, 65.0);
    // Seven lines as they are but for the lower right corner, although its lines exist.
    ASSERT_EQ(cross.lineSegs().size(), 8u);
    expectSegment(cross.lineSegs()[0], 90, 5, 90, 48);
    expectSegment(cross.lineSegs()[2], 90, 69, 90, 115);
    expectSegment(cross.lineSegs()[3], 110, 65, 110, 95);
    expectSegment(cross.lineSegs()[5], 114, 50, 170, 50);
    expectSegment(cross.lineSegs()[7], 110, 65, 150, 65);
}

TEST(CornerCrosses, TheArmsOfAnAbsentCornerAreDrawn) {
    // Without the lines of the upper right corner: keys move up.
    std::vector<LiteralLine> literals = fourCorners();
    literals.erase(literals.begin() + 5);
    literals.erase(literals.begin() + 1);
    const std::vector<CrossResult> results = crossesOf(literals, 3, 10);
    ASSERT_EQ(results.size(), 1u);
    const std::vector<qvLineSeg>& segments = results[0].lineSegs();
    // From the corner outwards, twice the street's width long.
    expectSegment(segments[1], 110, 50, 110, 20);
    expectSegment(segments[5], 110, 50, 150, 50);
    expectSegment(segments[3], 110, 67, 110, 99);
    expectSegment(segments[6], 25, 65, 88, 65);
}

TEST(CornerCrosses, TheResultsOfBeforeAreReplacedAndTheStoreHoldsTheCorners) {
    const std::vector<qv_ridgeLine> lines = flatLines(fourCorners());
    qv_candidateStore store;
    std::vector<CrossResult> results(3);
    generateCornerCrosses(store, results, lines, {4, 4}, contextFor(10), nullptr);
    EXPECT_EQ(results.size(), 1u);
    EXPECT_EQ(keysOf(store.ulCorners_), Keys({4, 0}));
    EXPECT_EQ(keysOf(store.urCorners_), Keys({5, 1}));
    EXPECT_EQ(keysOf(store.dlCorners_), Keys({6, 2}));
    EXPECT_EQ(keysOf(store.drCorners_), Keys({7, 3}));
}

TEST(CornerCrosses, WithoutThreeCornersNothingIsLeft) {
    EXPECT_TRUE(crossesOf({{15, 50, 87, 50}, {90, 5, 90, 48}}, 1, 10).empty());
    EXPECT_TRUE(crossesOf({}, 0, 10).empty());
    EXPECT_TRUE(crossesOf({{15, 50, 87, 50}}, 1, 10).empty());
}

TEST(CornerCrosses, AtMostAsManyAsAskedForAreKept) {
    // A second crossing, 300 to the right.
    std::vector<LiteralLine> literals;
    for (const bool upright : {false, true})
        for (const double dx : {0.0, 300.0})
            for (std::size_t i = upright ? 4 : 0; i < (upright ? 8u : 4u); ++i) {
                const LiteralLine l = fourCorners()[i];
                literals.push_back({l.x1 + dx, l.y1, l.x2 + dx, l.y2});
            }
    EXPECT_EQ(crossesOf(literals, 8, 10).size(), 2u);
    EXPECT_EQ(crossesOf(literals, 8, 1).size(), 1u);
    EXPECT_TRUE(crossesOf(literals, 8, 0).empty());
}

TEST(CornerCrosses, TheStageTracesItsHeadingFirst) {
    TraceCapture capture;
    const std::vector<qv_ridgeLine> lines = flatLines({{15, 50, 87, 50}, {90, 5, 90, 48}});
    qv_candidateStore store;
    std::vector<CrossResult> results;
    generateCornerCrosses(store, results, lines, {1, 1}, contextFor(10), capture.trace());
    EXPECT_EQ(capture.text(), "\n%%Generate corners\n\n%Comparing 1 and 0 as corner......passed,...stored as UL,");
}
