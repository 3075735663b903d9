#include "qvstreet/candidates/four_line_crosses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "qvstreet/candidates/canonical_cross.h"
#include "tests/candidates/literal_cross.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The streets of `unevenCross`, their edges running through: y = 200, y = 220, x = 100, x = 130.
std::vector<LiteralLine> longCross() {
    return {{15.0, 200.0, 390.0, 200.0},
            {5.0, 220.0, 380.0, 220.0},
            {100.0, 10.0, 100.0, 290.0},
            {130.0, 20.0, 130.0, 280.0}};
}

qv_candPair pairOf(long line1, long line2) { return {line1, line2, 0.0}; }

qv_candPairOfCrossPair crossPair(long firstUpright, long firstFlat, long secondUpright, long secondFlat) {
    qv_candPairOfCrossPair cross;
    cross.first.line1 = firstUpright;
    cross.first.line2 = firstFlat;
    cross.second.line1 = secondUpright;
    cross.second.line2 = secondFlat;
    return cross;
}

qv_candidateContext contextOf(long maxResults, long width, long height) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = qvPair<long>(width, height);
    return context;
}

qvXform<2> scaled(double x, double y) { return qvXform<2>(qvMatrix<2>(x, 0.0, 0.0, y), qvVector<2>(3.0, 7.0)); }

/// Crosses of one flat pair with several upright ones, in the order of `vpairs_`.
struct Fence {
    std::vector<qv_ridgeLine> lines;
    qv_candidateStore store;
};

/// Upright pairs of width 10 with their left edges at these x; the flat pair is y = 200 and y = 220. All extents are
/// 250, so that four of them make 1000.
Fence fenceAt(const std::vector<double>& xs) {
    Fence fence;
    std::vector<LiteralLine> literals = {{0.0, 200.0, 250.0, 200.0}, {0.0, 220.0, 250.0, 220.0}};
    for (const double x : xs) {
        const long key = static_cast<long>(literals.size());
        literals.push_back({x, 0.0, x, 250.0});
        literals.push_back({x + 10.0, 0.0, x + 10.0, 250.0});
        fence.store.vpairs_.push_back(pairOf(key, key + 1));
    }
    fence.lines = flatLines(literals);
    fence.store.hpairs_.push_back(pairOf(0, 1));
    return fence;
}

std::vector<CrossResult> generated(const Fence& fence, const qv_candidateContext& context,
                                   const qvXform<2>& clientFromImage = qvXform<2>()) {
    std::vector<CrossResult> out;
    generatePairCrosses(fence.store, out, fence.lines, context, clientFromImage);
    return out;
}

std::vector<double> lefts(const std::vector<CrossResult>& crosses) {
    std::vector<double> xs;
    for (const CrossResult& cross : crosses) xs.push_back(std::round(cross.ulCorner().x() * 1e6) / 1e6);
    return xs;
}

/// Two unit vectors whose product is exactly 0.95, as the angle between them.
double angleOfLeastProduct() {
    double angle = std::acos(0.95);
    for (int i = 0; i < 64 && std::cos(angle) != 0.95; ++i) angle = std::nextafter(angle, 1.0);
    return angle;
}

/// Every couple is judged and scored, the whole list sorted, and only then cut.
std::vector<CrossResult> slowPairCrosses(const qv_candidateStore& store, const std::vector<qv_ridgeLine>& lines,
                                         const qv_candidateContext& context, const qvXform<2>& clientFromImage) {
    struct Scored {
        qv_candPairOfCrossPair cross;
        double score;
    };
    const auto at = [&lines](long key) -> const qv_ridgeLine& { return lines[static_cast<std::size_t>(key)]; };
    const auto product = [&at](const qv_candPair& pair) {
        return std::fabs(qvVector<2>(1.0, at(pair.line1).line.angle()) * qvVector<2>(1.0, at(pair.line2).line.angle()));
    };
    const double across = clientFromImage.mapVector({static_cast<double>(context.imageSize.first), 0.0}).len();
    const double down = clientFromImage.mapVector({0.0, static_cast<double>(context.imageSize.second)}).len();
    const double perimeter = 2.0 * across + 2.0 * down;
    std::vector<Scored> all;
    for (const qv_candPair& p : store.vpairs_)
        for (const qv_candPair& q : store.hpairs_) {
            const double dotV = product(p);
            const double dotH = product(q);
            if (!(dotV > 0.95) || !(dotH > 0.95)) continue;
            const double total = std::fabs(at(p.line1).extent) + std::fabs(at(q.line2).extent) +
                                 std::fabs(at(p.line2).extent) + std::fabs(at(q.line1).extent);
            if (!(total > perimeter * 0.4)) continue;
            all.push_back({crossPair(p.line1, q.line2, p.line2, q.line1),
                           (perimeter - total) / perimeter + ((1.0 - dotH) + (1.0 - dotV)) * 0.3});
        }
    std::stable_sort(all.begin(), all.end(), [](const Scored& a, const Scored& b) { return a.score < b.score; });
    const double stubUnit =
        (clientFromImage.mapVector({0.001, 0.0}).len() + clientFromImage.mapVector({0.0, 0.001}).len()) * 0.5;
    std::vector<CrossResult> results(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) crossFromCrossPairs(results[i], all[i].cross, lines, stubUnit);
    std::vector<CrossResult> out;
    for (CrossResult& result : results) {
        if (static_cast<long>(out.size()) >= 10 * context.maxResults) break;
        refitCrossFromSegments(result);
        out.push_back(result);
    }
    return out;
}

}  // namespace

TEST(CrossFromCrossPairs, LineWithTheSmallerDistanceIsLeftAndUpper) {
    const std::vector<qv_ridgeLine> lines = flatLines(longCross());
    for (const auto& cross :
         {crossPair(2, 1, 3, 0), crossPair(3, 0, 2, 1), crossPair(2, 0, 3, 1), crossPair(3, 1, 2, 0)}) {
        CrossResult result;
        crossFromCrossPairs(result, cross, lines, 8.0);
        expectNear(result.crossing(), 115.0, 210.0);
        expectNear(result.ulCorner(), 100.0, 200.0);
        expectNear(result.lrCorner(), 130.0, 220.0);
        EXPECT_NEAR(degreesOf(result.verticalAngle()), -90.0, 1e-10);
        EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
        ASSERT_EQ(result.lineSegs().size(), 8u);
        expectSegment(result.lineSegs()[0], 100.0, 10.0, 100.0, 200.0);
        expectSegment(result.lineSegs()[3], 130.0, 220.0, 130.0, 280.0);
        expectSegment(result.lineSegs()[5], 130.0, 200.0, 390.0, 200.0);
        expectSegment(result.lineSegs()[6], 5.0, 220.0, 100.0, 220.0);
    }
}

TEST(CrossFromCrossPairs, EqualDistancesMakeTheSecondLeftAndUpper) {
    std::vector<qv_ridgeLine> lines = flatLines(longCross());
    lines[3].line = lines[2].line;
    CrossResult result;
    crossFromCrossPairs(result, crossPair(2, 1, 3, 0), lines, 8.0);
    expectNear(result.ulCorner(), 130.0, 200.0);
    crossFromCrossPairs(result, crossPair(3, 1, 2, 0), lines, 8.0);
    expectNear(result.ulCorner(), 100.0, 200.0);
    lines = flatLines(longCross());
    lines[1].line = lines[0].line;
    crossFromCrossPairs(result, crossPair(2, 0, 3, 1), lines, 8.0);
    expectNear(result.ulCorner(), 100.0, 220.0);
    crossFromCrossPairs(result, crossPair(2, 1, 3, 0), lines, 8.0);
    expectNear(result.ulCorner(), 100.0, 200.0);
}

TEST(CrossFromCrossPairs, LineThatEndsBeforeTheCrossingLeavesAStub) {
    std::vector<LiteralLine> literals = longCross();
    literals[3] = {130.0, 20.0, 130.0, 180.0};
    CrossResult result;
    crossFromCrossPairs(result, crossPair(2, 1, 3, 0), flatLines(literals), 8.0);
    expectSegment(result.lineSegs()[1], 130.0, 20.0, 130.0, 180.0);
    // From the lower right corner down.
    expectSegment(result.lineSegs()[3], 130.0, 220.0, 130.0, 220.8);
}

TEST(CrossFromCrossPairs, LinesWithinTheCrossingLeaveEightStubs) {
    const std::vector<qv_ridgeLine> lines = flatLines({{105.0, 200.0, 125.0, 200.0},
                                                       {110.0, 220.0, 120.0, 220.0},
                                                       {100.0, 205.0, 100.0, 215.0},
                                                       {130.0, 202.0, 130.0, 218.0}});
    CrossResult result;
    crossFromCrossPairs(result, crossPair(2, 1, 3, 0), lines, 8.0);
    const double corners[4][2] = {{100.0, 200.0}, {130.0, 200.0}, {100.0, 220.0}, {130.0, 220.0}};
    for (std::size_t i = 0; i < 4; ++i) {
        const double x = corners[i][0];
        const double y = corners[i][1];
        expectSegment(result.lineSegs()[i], x, y, x, y + (i < 2 ? -0.8 : 0.8));
        expectSegment(result.lineSegs()[i + 4], x, y, x + (i % 2 == 0 ? -0.8 : 0.8), y);
    }
}

TEST(GeneratePairCrosses, ReplaceTheListByCrossesOfEightSegments) {
    Fence fence;
    fence.lines = flatLines(longCross());
    fence.store.vpairs_.push_back(pairOf(2, 3));
    fence.store.hpairs_.push_back(pairOf(0, 1));
    std::vector<CrossResult> out(3);
    generatePairCrosses(fence.store, out, fence.lines, contextOf(4, 400, 300), qvXform<2>());
    ASSERT_EQ(out.size(), 1u);
    expectNear(out[0].crossing(), 115.0, 210.0);
    expectNear(out[0].urCorner(), 130.0, 200.0);
    ASSERT_EQ(out[0].lineSegs().size(), 8u);
    expectSegment(out[0].lineSegs()[2], 100.0, 220.0, 100.0, 290.0);
    expectSegment(out[0].lineSegs()[7], 130.0, 220.0, 380.0, 220.0);
}

TEST(GeneratePairCrosses, GeometryIsFittedToTheCutSegments) {
    // The left edge leans, so that the corners of the first fit and of the cut segments differ.
    std::vector<LiteralLine> literals = longCross();
    literals[2] = {90.0, 10.0, 112.0, 290.0};
    Fence fence;
    fence.lines = flatLines(literals);
    fence.store.vpairs_.push_back(pairOf(2, 3));
    fence.store.hpairs_.push_back(pairOf(0, 1));
    const std::vector<CrossResult> out = generated(fence, contextOf(1, 400, 300));
    ASSERT_EQ(out.size(), 1u);
    CrossResult unfitted;
    crossFromCrossPairs(unfitted, crossPair(2, 1, 3, 0), fence.lines, 0.001);
    EXPECT_EQ(out[0].lineSegs(), unfitted.lineSegs());
    EXPECT_GT(out[0].ulCorner().distance(unfitted.ulCorner()), 0.01);
    CrossResult again = out[0];
    refitCrossFromSegments(again);
    expectSameResult(again, out[0]);
}

TEST(GeneratePairCrosses, WithoutPairsInOneDirectionThereIsNothing) {
    Fence fence = fenceAt({50.0});
    fence.store.hpairs_.clear();
    std::vector<CrossResult> out(2);
    generatePairCrosses(fence.store, out, fence.lines, contextOf(4, 250, 250), qvXform<2>());
    EXPECT_TRUE(out.empty());
    fence = fenceAt({});
    EXPECT_TRUE(generated(fence, contextOf(4, 250, 250)).empty());
}

TEST(GeneratePairCrosses, LengthMustExceedFortyHundredthsOfThePerimeter) {
    // 600 by 500: the perimeter is 2200, and 880 of it are asked for.
    Fence fence = fenceAt({50.0});
    fence.lines[0].extent = -130.0;  // the sign plays no part
    EXPECT_TRUE(generated(fence, contextOf(1, 600, 500)).empty());
    fence.lines[0].extent = -130.25;
    EXPECT_EQ(generated(fence, contextOf(1, 600, 500)).size(), 1u);
    fence.lines[0].extent = 129.75;
    EXPECT_TRUE(generated(fence, contextOf(1, 600, 500)).empty());
    fence.lines[0].extent = 250.0;
    for (const std::size_t line : {1u, 2u, 3u}) {
        Fence shorter = fence;
        shorter.lines[line].extent = 130.0;
        EXPECT_TRUE(generated(shorter, contextOf(1, 600, 500)).empty()) << line;
        shorter.lines[line].extent = -131.0;
        EXPECT_EQ(generated(shorter, contextOf(1, 600, 500)).size(), 1u) << line;
    }
}

TEST(GeneratePairCrosses, PerimeterIsThatOfTheMappedImage) {
    // 100 by 50 pels of 2 by 3 client units: 2 * 200 + 2 * 150 = 700, of which 280 are asked for.
    Fence fence = fenceAt({50.0});
    for (qv_ridgeLine& line : fence.lines) line.extent = 70.0;
    EXPECT_TRUE(generated(fence, contextOf(1, 100, 50), scaled(2.0, 3.0)).empty());
    EXPECT_TRUE(generated(fence, contextOf(1, 100, 50), scaled(2.0, -3.0)).empty());
    fence.lines[2].extent = 70.5;
    EXPECT_EQ(generated(fence, contextOf(1, 100, 50), scaled(2.0, 3.0)).size(), 1u);
    EXPECT_EQ(generated(fence, contextOf(1, 100, 50), scaled(2.0, -3.0)).size(), 1u);
}

TEST(GeneratePairCrosses, StubsMeasureATenThousandthOfTheMeanPelSide) {
    Fence fence = fenceAt({50.0});
    for (const std::size_t line : {2u, 3u}) {
        LiteralLine literal = {fence.lines[line].p1.x(), 0.0, fence.lines[line].p1.x(), 150.0};
        fence.lines[line] = ridgeLine(literal.x1, literal.y1, literal.x2, literal.y2, static_cast<long>(line));
    }
    const std::vector<CrossResult> out = generated(fence, contextOf(1, 100, 50), scaled(2.0, -4.0));
    ASSERT_EQ(out.size(), 1u);
    EXPECT_NEAR(out[0].lineSegs()[2].len(), 0.0003, 1e-12);
    EXPECT_NEAR(out[0].lineSegs()[3].len(), 0.0003, 1e-12);
    EXPECT_GT(out[0].lineSegs()[2].p2().y(), out[0].lineSegs()[2].p1().y());
    EXPECT_NEAR(out[0].lineSegs()[0].len(), 150.0, 1e-9);
}

TEST(GeneratePairCrosses, ProductOfExactlyTheLimitRefusesThePair) {
    const double angle = angleOfLeastProduct();
    ASSERT_EQ(std::cos(angle), 0.95);
    double smaller = angle;
    while (std::cos(smaller) == 0.95) smaller = std::nextafter(smaller, 0.0);
    for (const long first : {0L, 2L}) {
        SCOPED_TRACE(first == 0 ? "flat pair" : "upright pair");
        Fence fence = fenceAt({50.0});
        qv_ridgeLine& a = fence.lines[static_cast<std::size_t>(first)];
        qv_ridgeLine& b = fence.lines[static_cast<std::size_t>(first + 1)];
        a.line = qvFLine(qvRadian(0.0), a.p1);
        b.line = qvFLine(qvRadian(angle), b.p1);
        EXPECT_TRUE(generated(fence, contextOf(1, 250, 250)).empty());
        b.line = qvFLine(qvRadian(smaller), b.p1);
        EXPECT_EQ(generated(fence, contextOf(1, 250, 250)).size(), 1u);
        // Opposite running directions are as good.
        b.line = qvFLine(qvRadian(qvPi - 0.1), b.p1);
        EXPECT_EQ(generated(fence, contextOf(1, 250, 250)).size(), 1u);
        b.line = qvFLine(qvRadian(qvPi - 0.4), b.p1);
        EXPECT_TRUE(generated(fence, contextOf(1, 250, 250)).empty());
    }
}

TEST(GeneratePairCrosses, LongerLinesComeFirst) {
    Fence fence = fenceAt({20.0, 80.0, 140.0});
    fence.lines[5].extent = 260.0;
    fence.lines[6].extent = -255.0;
    EXPECT_EQ(lefts(generated(fence, contextOf(1, 250, 250))), (std::vector<double>{80.0, 140.0, 20.0}));
}

TEST(GeneratePairCrosses, SkewCountsThreeTenthsOfOneLessTheProduct) {
    // 0.3 * (1 - cos 10 degrees) of the perimeter of 1000 is worth 4.558 units of length.
    for (const double longer : {4.5, 4.6}) {
        Fence upright = fenceAt({20.0, 80.0});
        upright.lines[4].line = qvFLine(qvDegree(-80.0), upright.lines[4].p1);
        upright.lines[4].extent = 250.0 + longer;
        const std::vector<double> wanted =
            longer < 4.558 ? std::vector<double>{20.0, 80.0} : std::vector<double>{80.0, 20.0};
        EXPECT_EQ(lefts(generated(upright, contextOf(1, 250, 250))), wanted) << longer;

        // The same with the flat pairs: y = 200 and y = 220, then y = 100 and y = 120, the second skewed.
        Fence flat = fenceAt({20.0});
        flat.lines.push_back(ridgeLine(0.0, 100.0, 250.0, 100.0, 4));
        flat.lines.push_back(ridgeLine(0.0, 120.0, 250.0, 120.0, 5));
        flat.store.hpairs_.push_back(pairOf(4, 5));
        flat.lines[5].line = qvFLine(qvDegree(10.0), flat.lines[5].p1);
        flat.lines[5].extent = 250.0 + longer;
        const std::vector<CrossResult> out = generated(flat, contextOf(1, 250, 250));
        ASSERT_EQ(out.size(), 2u);
        EXPECT_NEAR(out[0].crossing().y(), longer < 4.558 ? 210.0 : 110.0, 1e-6) << longer;
    }
}

TEST(GeneratePairCrosses, TiesKeepTheOrderOfGeneration) {
    Fence fence = fenceAt({140.0, 20.0, 80.0});
    fence.lines.push_back(ridgeLine(0.0, 100.0, 250.0, 100.0, 8));
    fence.lines.push_back(ridgeLine(0.0, 120.0, 250.0, 120.0, 9));
    fence.store.hpairs_.push_back(pairOf(8, 9));
    const std::vector<CrossResult> out = generated(fence, contextOf(1, 250, 250));
    EXPECT_EQ(lefts(out), (std::vector<double>{140.0, 140.0, 20.0, 20.0, 80.0, 80.0}));
    EXPECT_NEAR(out[0].crossing().y(), 210.0, 1e-9);
    EXPECT_NEAR(out[1].crossing().y(), 110.0, 1e-9);
}

TEST(GeneratePairCrosses, TenTimesMaxResultsAreKeptBeforeAnySeparation) {
    std::vector<double> xs;
    for (int i = 0; i < 25; ++i) xs.push_back(20.0 + 0.5 * i);
    const Fence fence = fenceAt(xs);
    const std::vector<double> kept = lefts(generated(fence, contextOf(1, 250, 250)));
    EXPECT_EQ(kept, std::vector<double>(xs.begin(), xs.begin() + 10));
    EXPECT_EQ(generated(fence, contextOf(2, 250, 250)).size(), 20u);
    EXPECT_EQ(generated(fence, contextOf(3, 250, 250)).size(), 25u);
    EXPECT_TRUE(generated(fence, contextOf(0, 250, 250)).empty());
    EXPECT_EQ(generated(fence, contextOf(std::numeric_limits<std::int32_t>::max(), 250, 250)).size(), 25u);
}

TEST(GeneratePairCrosses, ALateCrossReplacesTheWorstOfThoseKept) {
    // Nine of the best come first, then thousands of equal ones, then one in between.
    std::vector<double> xs;
    for (int i = 0; i < 4000; ++i) xs.push_back(0.25 * i);
    Fence fence = fenceAt(xs);
    for (std::size_t i = 0; i < 9; ++i) fence.lines[2 + 2 * i].extent = 300.0;
    fence.lines[2 + 2 * 3900].extent = 270.0;
    std::vector<double> wanted(xs.begin(), xs.begin() + 9);
    wanted.push_back(xs[3900]);
    EXPECT_EQ(lefts(generated(fence, contextOf(1, 250, 250))), wanted);
}

TEST(GeneratePairCrosses, AreTheHeadOfTheWholeListSorted) {
    // Lines whose extents and angles take few values, NaN and infinity among them, so that most scores tie.
    LiteralRandom random(99);
    const double extents[8] = {250.0, -250.0, 260.0, 300.0, -300.0, 40.0, kNan, kInfinity};
    const double skews[6] = {0.0, 0.0, 3.0, -3.0, 10.0, 25.0};
    std::vector<qv_ridgeLine> lines;
    qv_candidateStore store;
    constexpr long kPairs = 110;
    for (const bool upright : {false, true})
        for (long i = 0; i < kPairs; ++i) {
            const double place = random.uniform(0.0, 900.0);
            const double width = random.uniform(5.0, 50.0);
            for (const double at : {place, place + width}) {
                const long key = static_cast<long>(lines.size());
                const double from = random.uniform(0.0, 300.0);
                const double to = random.uniform(400.0, 900.0);
                lines.push_back(upright ? ridgeLine(at, from, at, to, key) : ridgeLine(from, at, to, at, key));
                lines.back().extent = extents[random.below(random.below(4) == 0 ? 8 : 5)];
                const double skew = skews[random.below(6)];
                lines.back().line = qvFLine(qvDegree((upright ? -90.0 : 0.0) + skew), lines.back().p1);
            }
            (upright ? store.vpairs_ : store.hpairs_)
                .push_back(pairOf(static_cast<long>(lines.size()) - 2, static_cast<long>(lines.size()) - 1));
        }
    for (const long maxResults : {1L, 7L, 60L, 400L}) {
        SCOPED_TRACE(maxResults);
        const qv_candidateContext context = contextOf(maxResults, 500, 620);
        std::vector<CrossResult> out;
        generatePairCrosses(store, out, lines, context, scaled(1.0, -1.0));
        const std::vector<CrossResult> slow = slowPairCrosses(store, lines, context, scaled(1.0, -1.0));
        ASSERT_EQ(out.size(), static_cast<std::size_t>(10 * maxResults));
        ASSERT_EQ(slow.size(), out.size());
        for (std::size_t i = 0; i < out.size(); ++i) {
            SCOPED_TRACE(i);
            ASSERT_EQ(out[i].crossing(), slow[i].crossing());
            expectSameResult(out[i], slow[i]);
        }
    }
}

TEST(GeneratePairCrosses, TurnedMirroredAndFarFramesGiveTheMappedCross) {
    for (const bool mirrored : {false, true})
        for (const double degrees : {-40.0, -12.0, 0.0, 12.0, 40.0})
            for (const double far : {0.0, 1e6}) {
                SCOPED_TRACE(testing::Message() << degrees << " " << mirrored << " " << far);
                const qvXform<2> turn = turnAround(degrees, qvVector<2>(115.0, 210.0), mirrored);
                const qvXform<2> map(turn.matrix(), turn.trans() + qvVector<2>(far, -far));
                Fence fence;
                fence.lines = flatLines(mappedLines(longCross(), map));
                fence.store.vpairs_.push_back(pairOf(2, 3));
                fence.store.hpairs_.push_back(pairOf(0, 1));
                const std::vector<CrossResult> out = generated(fence, contextOf(1, 400, 300), map);
                ASSERT_EQ(out.size(), 1u);
                expectNear(out[0].crossing(), 115.0 + far, 210.0 - far, 1e-8);
                // Upper and lower are those of the client frame.
                const qvVector<2> ul = map * qvVector<2>(100.0, mirrored ? 220.0 : 200.0);
                const qvVector<2> lr = map * qvVector<2>(130.0, mirrored ? 200.0 : 220.0);
                expectNear(out[0].ulCorner(), ul.x(), ul.y(), 1e-8);
                expectNear(out[0].lrCorner(), lr.x(), lr.y(), 1e-8);
                EXPECT_NEAR(degreesOf(out[0].horizontalAngle()), degrees, 1e-7);
                EXPECT_NEAR(degreesOf(out[0].verticalAngle()), degrees - 90.0, 1e-7);
            }
}
