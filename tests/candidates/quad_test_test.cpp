#include "qvstreet/candidates/quad_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"

namespace {

using qvtest::literalTolerances;

/// The keys of both pairs of each quad.
using Keys = std::vector<std::vector<long>>;

Keys keysOf(const std::vector<qv_candQuad>& quads) {
    Keys keys;
    for (const qv_candQuad& quad : quads)
        keys.push_back({quad.first.line1, quad.first.line2, quad.second.line1, quad.second.line2});
    return keys;
}

Keys quadsOf(const std::vector<qv_ridgeLine>& lines, const std::vector<qv_candPair>& pairs) {
    std::vector<qv_candQuad> quads;
    generateQuads(lines, pairs, quads, literalTolerances(), nullptr);
    return keysOf(quads);
}

/// The four lines of a quad test.
struct FourLines {
    qv_ridgeLine line1;
    qv_ridgeLine line2;
    qv_ridgeLine line3;
    qv_ridgeLine line4;

    bool isQuad(const qv_candidateTolerances& tolerances = literalTolerances()) const {
        return qf_testQuad(line1, line2, line3, line4, tolerances, nullptr);
    }
    std::string traced(const qv_candidateTolerances& tolerances = literalTolerances()) const {
        TraceCapture capture;
        qf_testQuad(line1, line2, line3, line4, tolerances, capture.trace());
        return capture.text();
    }
};

/// Both halves of a street along x, 30 wide, the right one first and 1 higher than the left one.
FourLines alongX() {
    return {ridgeLine(120.0, 100.0, 200.0, 100.0), ridgeLine(125.0, 130.0, 205.0, 130.0),
            ridgeLine(0.0, 101.0, 80.0, 101.0), ridgeLine(-5.0, 131.0, 78.0, 131.0)};
}

/// Both halves of a street along y, 18 wide, the upper one first; `lean` to the right per 100 down.
FourLines alongY(double lean = 0.0) {
    const auto line = [&](double x, double y1, double y2) {
        return ridgeLine(x + lean * y1 / 100.0, y1, x + lean * y2 / 100.0, y2);
    };
    return {line(100.0, 0.0, 80.0), line(118.0, -5.0, 78.0), line(100.0, 120.0, 200.0), line(118.0, 125.0, 205.0)};
}

const char* const kPassedOverlap = "\n%Overlap Test: \n%Passed overlap tests ";
const char* const kPassedOrder = "\n%Overlap Test: \n%Passed overlap tests \n%Passed order test ";

/// `rows` of pairs along x, each of as many pieces as `columns`, and the pairs of neighbouring lines.
struct ManyPairs {
    std::vector<qv_ridgeLine> lines;
    std::vector<qv_candPair> pairs;

    ManyPairs(int rows, int columns) {
        std::vector<LiteralLine> literals;
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const double x = 100.0 * column + 3.0 * row;
                const double y = 4.0 * row;
                pairs.push_back({static_cast<long>(literals.size()), static_cast<long>(literals.size()) + 1, 0.0});
                literals.push_back({x, y, x + 60.0, y});
                literals.push_back({x + 5.0, y + 30.0, x + 70.0, y + 30.0});
            }
        lines = flatLines(literals);
    }
};

}  // namespace

TEST(OverlapAlong, IsMeasuredOnTheFirstLine) {
    // (40, 40) and (100, 20) project to 40 and 100 on the flat line, whatever their own positions.
    const qv_ridgeLine flat = ridgeLine(0.0, 0.0, 90.0, 0.0);
    const qv_ridgeLine leaning = ridgeLine(40.0, 40.0, 100.0, 20.0);
    EXPECT_EQ(overlapAlong(flat, leaning), 50.0);
    // On the leaning line, direction (3, -1) / root of 10: from 80 to 280, and from 0 to 270, over the root.
    EXPECT_NEAR(overlapAlong(leaning, flat), 190.0 / std::sqrt(10.0), 1e-12);
}

TEST(OverlapAlong, UprightLinesRunUpwards) {
    EXPECT_EQ(overlapAlong(ridgeLine(100.0, 0.0, 100.0, 80.0), ridgeLine(118.0, 60.0, 118.0, 200.0)), 20.0);
    EXPECT_EQ(overlapAlong(ridgeLine(100.0, 0.0, 100.0, 80.0), ridgeLine(118.0, 80.0, 118.0, 200.0)), 0.0);
}

TEST(OverlapAlong, LineDrawnAgainstTheOtherHasNone) {
    EXPECT_EQ(overlapAlong(ridgeLine(0.0, 0.0, 90.0, 0.0), ridgeLine(80.0, 5.0, 10.0, 5.0)), 0.0);
    EXPECT_EQ(overlapAlong(ridgeLine(90.0, 0.0, 0.0, 0.0), ridgeLine(80.0, 5.0, 10.0, 5.0)), 70.0);
}

TEST(MeanEndDistance, IsTheMeanOfAllFourEnds) {
    // The ends of b lie 4 and 8 from a; those of a 0.8 and 3.2 above and below b's line, which falls by 1 in 25.
    const qv_ridgeLine a = ridgeLine(0.0, 0.0, 100.0, 0.0);
    const qv_ridgeLine b = ridgeLine(120.0, 4.0, 220.0, 8.0);
    const double expected = (4.0 + 8.0 + (0.8 + 3.2) / std::sqrt(1.0016)) / 4.0;
    EXPECT_NEAR(meanEndDistance(a, b), expected, 1e-12);
    EXPECT_NEAR(meanEndDistance(b, a), expected, 1e-12);
}

TEST(MeanEndDistance, ParallelLinesAreTheirDistanceApart) {
    EXPECT_EQ(meanEndDistance(ridgeLine(0.0, 7.0, 100.0, 7.0), ridgeLine(150.0, 3.0, 220.0, 3.0)), 4.0);
    EXPECT_EQ(meanEndDistance(ridgeLine(7.0, 0.0, 7.0, 90.0), ridgeLine(-2.0, 150.0, -2.0, 160.0)), 9.0);
}

TEST(QuadTest, HalvesOfAStreetAreAQuadWithTheFurtherOneFirst) {
    EXPECT_TRUE(alongX().isQuad());
    const FourLines x = alongX();
    EXPECT_FALSE((FourLines{x.line3, x.line4, x.line1, x.line2}).isQuad());
    for (const double lean : {0.0, 10.0, -10.0}) {
        const FourLines y = alongY(lean);
        EXPECT_GT(y.line1.startAlong, y.line1.endAlong);
        EXPECT_TRUE(y.isQuad()) << lean;
        EXPECT_FALSE((FourLines{y.line3, y.line4, y.line1, y.line2}).isQuad()) << lean;
    }
}

TEST(QuadTest, LinesThatJustTouchDoNotOverlap) {
    FourLines x = alongX();
    x.line3 = ridgeLine(0.0, 101.0, 120.0, 101.0);
    x.line4 = ridgeLine(0.0, 131.0, 120.0, 131.0);
    EXPECT_TRUE(x.isQuad());
    FourLines y = alongY();
    y.line3 = ridgeLine(100.0, 80.0, 100.0, 200.0);
    y.line4 = ridgeLine(118.0, 80.0, 118.0, 200.0);
    EXPECT_TRUE(y.isQuad());
}

TEST(QuadTest, AnyOverlapOfTheFourCouplesIsAFailure) {
    const std::string start = "\n%Overlap Test: ";
    FourLines lines = alongX();
    lines.line3 = ridgeLine(0.0, 101.0, 120.001, 101.0);
    EXPECT_EQ(lines.traced(), start + "\n%Overlap for 1 3");
    EXPECT_FALSE(lines.isQuad());

    lines = alongX();
    lines.line4 = ridgeLine(0.0, 131.0, 120.001, 131.0);
    EXPECT_EQ(lines.traced(), start + "\n%Overlap for 1 4 ");
    EXPECT_FALSE(lines.isQuad());

    lines = alongX();
    lines.line2 = ridgeLine(79.999, 130.0, 205.0, 130.0);
    EXPECT_EQ(lines.traced(), start + "\n%Overlap for 2 3 ");
    EXPECT_FALSE(lines.isQuad());

    lines = alongX();
    lines.line4 = ridgeLine(-5.0, 131.0, 79.999, 131.0);
    lines.line3 = ridgeLine(0.0, 101.0, 70.0, 101.0);
    lines.line2 = ridgeLine(79.998, 130.0, 205.0, 130.0);
    EXPECT_EQ(lines.traced(), start + "\n%Overlap for 2 4 ");
    EXPECT_FALSE(lines.isQuad());
}

TEST(QuadTest, UprightLinesThatOverlapAreNoQuad) {
    FourLines y = alongY(10.0);
    y.line3 = ridgeLine(107.9, 79.0, 120.0, 200.0);
    EXPECT_EQ(y.traced(), "\n%Overlap Test: \n%Overlap for 1 3");
}

TEST(QuadTest, SecondPairMayStartWhereTheFirstDoesAndNoFurther) {
    // Drawn from right to left, line 3 starts at 120 although it lies left of line 1.
    FourLines lines = alongX();
    lines.line3 = ridgeLine(120.0, 101.0, 40.0, 101.0);
    EXPECT_TRUE(lines.isQuad());
    lines.line1 = ridgeLine(std::nextafter(120.0, 0.0), 100.0, 200.0, 100.0);
    EXPECT_EQ(lines.traced(), std::string(kPassedOverlap) + "\n%Wrong order");
    EXPECT_FALSE(lines.isQuad());
}

TEST(QuadTest, OnlyTheFirstLineOfEachPairIsAskedForTheOrder) {
    FourLines lines = alongX();
    lines.line4 = ridgeLine(210.0, 131.0, 260.0, 131.0);
    EXPECT_TRUE(lines.isQuad());
}

TEST(QuadTest, ColinearUpToTheToleranceIncluded) {
    for (const bool second : {false, true}) {
        FourLines lines = alongX();
        qv_ridgeLine& tilted = second ? lines.line4 : lines.line3;
        const double y = second ? 131.0 : 101.0;
        tilted = ridgeLine(-5.0, y, 75.0, y + 4.0);
        qv_candidateTolerances tolerances = literalTolerances();
        tolerances.angleTolerance = qvDegree(tilted.line.angle()).toDouble();
        EXPECT_NEAR(tolerances.angleTolerance, 2.8624, 1e-4);
        EXPECT_TRUE(lines.isQuad(tolerances));
        tolerances.angleTolerance = std::nextafter(tolerances.angleTolerance, 0.0);
        EXPECT_FALSE(lines.isQuad(tolerances));
    }
}

TEST(QuadTest, TraceOfLinesThatAreNotColinear) {
    qv_candidateTolerances tolerances = literalTolerances();
    tolerances.angleTolerance = 2.5;
    FourLines lines = alongX();
    lines.line3 = ridgeLine(0.0, 101.0, 80.0, 105.0);  // 2.862405226 degrees
    EXPECT_EQ(lines.traced(tolerances),
              std::string(kPassedOrder) + "\n%Colinearity Test 0 2.862405226 -2.862405226" +
                  "\n%Line 1 3 not colinear angle1=0, angle2= 2.862405226, diff=-2.862405226, tol2.5");
    lines = alongX();
    lines.line4 = ridgeLine(-5.0, 131.0, 75.0, 127.0);
    EXPECT_EQ(lines.traced(tolerances),
              std::string(kPassedOrder) + "\n%Colinearity Test 0 0 0\n%Colinearity Test 2 0 -2.862405226 2.862405226" +
                  "\n%Line 2 4 not colinear angle1=0, angle2= -2.862405226, diff=2.862405226, tol2.5");
}

TEST(QuadTest, MeanDistanceUpToTheToleranceIncluded) {
    for (const bool second : {false, true})
        for (const double offset : {10.0, -10.0}) {
            FourLines lines = alongX();
            if (second) {
                lines.line4 = ridgeLine(-5.0, 130.0 + offset, 78.0, 130.0 + offset);
            } else {
                lines.line3 = ridgeLine(0.0, 100.0 + offset, 80.0, 100.0 + offset);
            }
            qv_candidateTolerances tolerances = literalTolerances();
            EXPECT_TRUE(lines.isQuad(tolerances));
            tolerances.lineGapTolerance = std::nextafter(10.0, 9.0);
            EXPECT_FALSE(lines.isQuad(tolerances));
        }
}

TEST(QuadTest, TraceOfLinesTooFarFromEachOther) {
    const std::string colinear = "\n%Colinearity Test 0 0 0\n%Colinearity Test 2 0 0 0";
    FourLines lines = alongX();
    lines.line3 = ridgeLine(0.0, 112.5, 80.0, 112.5);
    EXPECT_EQ(lines.traced(),
              kPassedOrder + colinear + "\n%Distance test1: 12.5,tol10" + "\n%Line 1 3 dist too great, dist = 12.5");
    lines = alongX();
    lines.line4 = ridgeLine(-5.0, 117.5, 78.0, 117.5);
    EXPECT_EQ(lines.traced(), kPassedOrder + colinear + "\n%Distance test1: 1,tol10\n%Distance test2: 12.5,tol10" +
                                  "\n%Line 2 4 dist too great, dist = 12.5");
}

TEST(QuadTest, AngleToleranceIsNoDistanceAndTheGapNoAngle) {
    qv_candidateTolerances tolerances = literalTolerances();
    tolerances.angleTolerance = 0.5;
    EXPECT_TRUE(alongX().isQuad(tolerances)) << "1 apart, parallel";
    tolerances = literalTolerances();
    tolerances.lineGapTolerance = 0.5;
    EXPECT_FALSE(alongX().isQuad(tolerances));
}

TEST(GenerateQuads, BothOrdersAreTriedAndTheFurtherPairComesFirst) {
    const std::vector<qv_ridgeLine> lines = flatLines({{0.0, 101.0, 80.0, 101.0},
                                                       {-5.0, 131.0, 78.0, 131.0},
                                                       {120.0, 100.0, 200.0, 100.0},
                                                       {125.0, 130.0, 205.0, 130.0}});
    EXPECT_EQ(quadsOf(lines, {{0, 1, 0.0}, {2, 3, 0.0}}), (Keys{{2, 3, 0, 1}}));
    EXPECT_EQ(quadsOf(lines, {{2, 3, 0.0}, {0, 1, 0.0}}), (Keys{{2, 3, 0, 1}}));
}

TEST(GenerateQuads, FirstPairOfAVerticalStreetIsTheUpperOne) {
    for (const double lean : {10.0, -10.0}) {
        const auto line = [&](double x, double y1, double y2) {
            return LiteralLine{x + lean * y1 / 100.0, y1, x + lean * y2 / 100.0, y2};
        };
        const std::vector<qv_ridgeLine> lines = flatLines(
            {line(100.0, 120.0, 200.0), line(118.0, 125.0, 205.0), line(100.0, 0.0, 80.0), line(118.0, -5.0, 78.0)});
        EXPECT_EQ(quadsOf(lines, {{0, 1, 0.0}, {2, 3, 0.0}}), (Keys{{2, 3, 0, 1}}));
    }
}

TEST(GenerateQuads, EqualStartsGiveBothArrangements) {
    // The left half is drawn from right to left, so that both halves start at 120 and share no length.
    const std::vector<qv_ridgeLine> lines = flatLines({{120.0, 101.0, 40.0, 101.0},
                                                       {118.0, 131.0, 40.0, 131.0},
                                                       {120.0, 100.0, 200.0, 100.0},
                                                       {125.0, 130.0, 205.0, 130.0}});
    const Keys both = {{0, 1, 2, 3}, {2, 3, 0, 1}};
    EXPECT_EQ(quadsOf(lines, {{0, 1, 0.0}, {2, 3, 0.0}}), both);
    std::vector<qv_candQuad> first;
    generateFirstQuads(lines, {{0, 1, 0.0}, {2, 3, 0.0}}, first, literalTolerances(), 9);
    EXPECT_EQ(keysOf(first), both);
}

TEST(GenerateQuads, OuterSubscriptIsTheFurtherPair) {
    // Three pieces of one street, left to right: pair 2 before 0 and 1, pair 1 before 0.
    const ManyPairs many(1, 3);
    EXPECT_EQ(quadsOf(many.lines, many.pairs), (Keys{{2, 3, 0, 1}, {4, 5, 0, 1}, {4, 5, 2, 3}}));
}

TEST(GenerateQuads, PairIsNotTriedWithItself) {
    TraceCapture capture;
    std::vector<qv_candQuad> quads;
    const ManyPairs many(1, 1);
    generateQuads(many.lines, many.pairs, quads, literalTolerances(), capture.trace());
    EXPECT_TRUE(quads.empty());
    EXPECT_EQ(capture.text(), "");
}

TEST(GenerateQuads, PairsThatShareALineAreNoQuad) {
    const std::vector<qv_ridgeLine> lines =
        flatLines({{0.0, 0.0, 80.0, 0.0}, {5.0, 30.0, 85.0, 30.0}, {120.0, 30.0, 200.0, 30.0}});
    EXPECT_EQ(quadsOf(lines, {{0, 1, 0.0}, {0, 2, 0.0}}), Keys());
}

TEST(GenerateQuads, NoPairsGiveNoQuads) { EXPECT_EQ(quadsOf({}, {}), Keys()); }

TEST(GenerateQuads, AppendsWholePairs) {
    std::vector<qv_candQuad> quads(1);
    const ManyPairs many(1, 2);
    std::vector<qv_candPair> pairs = many.pairs;
    pairs[0].score = 0.25;
    generateQuads(many.lines, pairs, quads, literalTolerances(), nullptr);
    ASSERT_EQ(quads.size(), 2U);
    EXPECT_EQ(quads[0].first.line1, -1);
    EXPECT_EQ(quads[1].second.score, 0.25);
}

TEST(GenerateQuads, TraceOfTwoPairs) {
    const std::vector<qv_ridgeLine> lines = flatLines({{120.0, 100.0, 200.0, 100.0},
                                                       {125.0, 130.0, 205.0, 130.0},
                                                       {0.0, 101.5, 80.0, 101.5},
                                                       {-5.0, 132.0, 78.0, 132.0}});
    TraceCapture capture;
    std::vector<qv_candQuad> quads;
    generateQuads(lines, {{0, 1, 0.0}, {2, 3, 0.0}}, quads, literalTolerances(), capture.trace());
    EXPECT_EQ(capture.text(),
              "\n\n%Test quad, line id:0 1 2 3\n%Test quad, pair id:0 1\n"
              "\n%Overlap Test: \n%Passed overlap tests \n%Passed order test "
              "\n%Colinearity Test 0 0 0\n%Colinearity Test 2 0 0 0"
              "\n%Distance test1: 1.5,tol10\n%Distance test2: 2,tol10"
              "\n%Add quad#1\n%built form lines (id): 0 1 2 3\n%build from pairs (id):0 1"
              "\n\n%Test quad, line id:2 3 0 1\n%Test quad, pair id:1 0\n"
              "\n%Overlap Test: \n%Passed overlap tests \n%Wrong order"
              "\n%not a quad");
}

TEST(GenerateQuads, TraceNumbersTheQuads) {
    TraceCapture capture;
    std::vector<qv_candQuad> quads;
    const ManyPairs many(1, 3);
    generateQuads(many.lines, many.pairs, quads, literalTolerances(), capture.trace());
    const std::string text = capture.text();
    EXPECT_NE(text.find("\n%Add quad#1\n%built form lines (id): 2 3 0 1\n%build from pairs (id):1 0"),
              std::string::npos);
    EXPECT_NE(text.find("\n%Add quad#3\n%built form lines (id): 4 5 2 3\n%build from pairs (id):2 1"),
              std::string::npos);
}

TEST(GenerateFirstQuads, IsTheHeadOfAllQuads) {
    const ManyPairs many(4, 5);
    const Keys all = quadsOf(many.lines, many.pairs);
    // 10 couples of columns by 14 ordered couples of rows that are at most two rows, 8, apart.
    ASSERT_EQ(all.size(), 140U);
    for (const long most : {0L, 1L, 7L, 139L, 140L, 1000L}) {
        std::vector<qv_candQuad> quads;
        generateFirstQuads(many.lines, many.pairs, quads, literalTolerances(), most);
        const std::size_t expected = std::min(all.size(), static_cast<std::size_t>(most));
        EXPECT_EQ(keysOf(quads), Keys(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(expected))) << most;
    }
}

TEST(GenerateFirstQuads, AppendsSoManyAndNoneForANegativeNumber) {
    const ManyPairs many(1, 3);
    std::vector<qv_candQuad> quads(2);
    generateFirstQuads(many.lines, many.pairs, quads, literalTolerances(), -5);
    EXPECT_EQ(quads.size(), 2U);
    generateFirstQuads(many.lines, many.pairs, quads, literalTolerances(), 2);
    EXPECT_EQ(keysOf(quads), (Keys{{-1, -1, -1, -1}, {-1, -1, -1, -1}, {2, 3, 0, 1}, {4, 5, 0, 1}}));
}

TEST(KeepBestQuads, SmallestSumOfTheFourQualitiesFirstAndTiesInTheirOrder) {
    std::vector<qv_ridgeLine> lines(8);
    const double qualities[8] = {1.0, 1.0, 0.0, 0.0, 0.5, 0.25, 0.75, 4.0};
    for (std::size_t i = 0; i < 8; ++i) lines[i].lineQuality = qualities[i];
    // Sums 2, 3.5, 5.5, 2 and 2.
    const std::vector<qv_candQuad> quads = {{{0, 1, 0.0}, {2, 3, 0.0}},
                                            {{0, 1, 0.0}, {6, 6, 0.0}},
                                            {{4, 5, 0.0}, {6, 7, 0.0}},
                                            {{2, 0, 0.0}, {3, 1, 0.0}},
                                            {{0, 4, 0.0}, {5, 5, 0.0}}};
    std::vector<qv_candQuad> out(9);
    keepBestQuads(lines, quads, out, 1000);
    EXPECT_EQ(keysOf(out), (Keys{{0, 1, 2, 3}, {2, 0, 3, 1}, {0, 4, 5, 5}, {0, 1, 6, 6}, {4, 5, 6, 7}}));
    keepBestQuads(lines, quads, out, 2);
    EXPECT_EQ(keysOf(out), (Keys{{0, 1, 2, 3}, {2, 0, 3, 1}}));
    for (qv_ridgeLine& line : lines) line.lineQuality = 0.0;
    keepBestQuads(lines, quads, out, 2);
    EXPECT_EQ(keysOf(out), (Keys{{0, 1, 2, 3}, {0, 1, 6, 6}}));
    keepBestQuads(lines, {}, out, 2);
    EXPECT_TRUE(out.empty());
}
