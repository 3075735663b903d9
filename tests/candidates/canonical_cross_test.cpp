#include "qvstreet/candidates/canonical_cross.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/candidates/literal_cross.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

CrossResult fitted(const std::vector<qv_ridgeLine>& lines, const qv_stCand& candidate, bool useResidualScore = false) {
    CrossResult result;
    fitCanonicalCross(candidate, lines, result, useResidualScore);
    return result;
}

/// The upright street leans by steps: its left and right edges above the crossing lie 4 further left than below it.
///
/// With s = -1 above and 1 below, t = -1 left and 1 right, the ends are (115 + 15 t + 2 s, 210 + s * {20, 160}). The
/// normal equations of u = A (x - 115) + B (y - 210) give A = 975 / 14723 and B = -13.5 / 14723.
std::vector<LiteralLine> steppedCross() {
    return {{20.0, 200.0, 90.0, 200.0},   {140.0, 200.0, 240.0, 200.0}, {25.0, 220.0, 95.0, 220.0},
            {135.0, 220.0, 230.0, 220.0}, {98.0, 50.0, 98.0, 190.0},    {128.0, 50.0, 128.0, 190.0},
            {102.0, 230.0, 102.0, 370.0}, {132.0, 230.0, 132.0, 370.0}};
}

}  // namespace

TEST(CanonicalCross, FigureHasHalfWidthOneAndArmsOfFour) {
    const double figure[8][5] = {{-1, 1, -1, 5, -1}, {1, 1, 1, 5, 1}, {-1, -1, -1, -5, -1}, {1, -1, 1, -5, 1},
                                 {-1, 1, -5, 1, 1},  {1, 1, 5, 1, 1}, {-1, -1, -5, -1, -1}, {1, -1, 5, -1, -1}};
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(qvCanonicalCross[i].inner(), qvVector<2>(figure[i][0], figure[i][1]));
        EXPECT_EQ(qvCanonicalCross[i].outer(), qvVector<2>(figure[i][2], figure[i][3]));
        EXPECT_EQ(qvCanonicalCross[i].target, figure[i][4]);
    }
}

TEST(CanonicalCross, AccumulateFitAddsOnePointToBothSides) {
    qvMatrix<3> normal(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
    qvVector<3> rightSide;
    accumulateFit(normal, rightSide, qvVector<2>(3.0, 4.0), 2.0);
    EXPECT_EQ(normal, qvMatrix<3>(9.0, 12.0, 3.0, 12.0, 16.0, 4.0, 3.0, 4.0, 1.0));
    EXPECT_EQ(rightSide[0], 6.0);
    EXPECT_EQ(rightSide[1], 8.0);
    EXPECT_EQ(rightSide[2], 2.0);
    accumulateFit(normal, rightSide, qvVector<2>(1.0, -2.0), -1.0);
    EXPECT_EQ(normal, qvMatrix<3>(10.0, 10.0, 4.0, 10.0, 20.0, 2.0, 4.0, 2.0, 2.0));
    EXPECT_EQ(rightSide[0], 5.0);
    EXPECT_EQ(rightSide[1], 10.0);
    EXPECT_EQ(rightSide[2], 1.0);
}

TEST(CanonicalCross, FitHasTheBitsOfTwoInversesTimesTheirRightSides) {
    const std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    const qv_stCand candidate = unevenCandidate();
    const qvVector<2> origin = lineAt(lines, candidate.lines[0]).p1;
    const qvMatrix<3> zero(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
    qvMatrix<3> normal[2] = {zero, zero};
    qvVector<3> rightSide[2];
    for (std::size_t i = 0; i < 8; ++i)
        for (const qvVector<2>& end : {lineAt(lines, candidate.lines[i]).p1, lineAt(lines, candidate.lines[i]).p2})
            accumulateFit(normal[i / 4], rightSide[i / 4], end - origin, qvCanonicalCross[i].target);
    const qvVector<3> u = normal[0].inverse() * rightSide[0];
    const qvVector<3> v = normal[1].inverse() * rightSide[1];
    const qvXform<2> clientFromCanonical =
        qvXform<2>(qvMatrix<2>(u[0], u[1], v[0], v[1]), qvVector<2>(u[2], v[2])).inverse();

    const CrossResult result = fitted(lines, candidate);
    EXPECT_EQ(result.crossing(), clientFromCanonical.trans() + origin);
    const qvXform<2> moved(clientFromCanonical.matrix(), clientFromCanonical.trans() + origin);
    EXPECT_EQ(result.ulCorner(), moved * qvVector<2>(-1.0, 1.0));
    EXPECT_EQ(result.lrCorner(), moved * qvVector<2>(1.0, -1.0));
    EXPECT_EQ(result.horizontalAngle(), moved.mapAngle(qvDegree(0.0)));
    EXPECT_EQ(result.verticalAngle(), moved.mapAngle(qvDegree(90.0)));
}

TEST(CanonicalCross, FitReadsCrossingAndCornersOfAnUprightCross) {
    const CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
    expectNear(result.crossing(), 115.0, 210.0);
    expectNear(result.ulCorner(), 100.0, 200.0);
    expectNear(result.urCorner(), 130.0, 200.0);
    expectNear(result.llCorner(), 100.0, 220.0);
    expectNear(result.lrCorner(), 130.0, 220.0);
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
}

TEST(CanonicalCross, VerticalAngleOfAnUprightCrossIsMinusNinety) {
    const CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
    EXPECT_NEAR(degreesOf(result.horizontalAngle()), 0.0, 1e-10);
    EXPECT_NEAR(degreesOf(result.verticalAngle()), -90.0, 1e-10);
}

TEST(CanonicalCross, SegmentsOfPresentLinesKeepTheirEndsInTheirOrder) {
    // The lower ends come first here.
    std::vector<qv_ridgeLine> lines = unevenCrossWith(2, {100.0, 290.0, 100.0, 230.0});
    const CrossResult result = fitted(lines, unevenCandidate());
    ASSERT_EQ(result.lineSegs().size(), 8u);
    for (std::size_t i = 0; i < 8; ++i) {
        const qv_ridgeLine& line = lines[static_cast<std::size_t>(kUnevenKeys[i])];
        EXPECT_EQ(result.lineSegs()[i], qvLineSeg(line.p1, line.p2)) << i;
    }
    expectNear(result.crossing(), 115.0, 210.0);
}

TEST(CanonicalCross, FitIsTheLeastSquaresOneOverBothEndsOfEveryLine) {
    const CrossResult result = fitted(flatLines(steppedCross()), unevenCandidate());
    const double half = 14723.0 / 975.0;
    const double lean = 90.0 / 650.0;
    expectNear(result.crossing(), 115.0, 210.0);
    expectNear(result.ulCorner(), 115.0 - half - lean, 200.0);
    expectNear(result.urCorner(), 115.0 + half - lean, 200.0);
    expectNear(result.llCorner(), 115.0 - half + lean, 220.0);
    expectNear(result.lrCorner(), 115.0 + half + lean, 220.0);
    EXPECT_NEAR(degreesOf(result.horizontalAngle()), 0.0, 1e-10);
    EXPECT_NEAR(result.verticalAngle().toDouble(), std::atan2(-10.0, -lean), 1e-12);
}

TEST(CanonicalCross, WithoutResidualScoreTheCandidatesCostStays) {
    qv_stCand candidate = unevenCandidate();
    candidate.score = 7.25;
    EXPECT_EQ(fitted(flatLines(steppedCross()), candidate, false).score(), 7.25);
}

TEST(CanonicalCross, ResidualScoreAddsTheDistancesOfAllEndsFromTheDrawnFigure) {
    qv_stCand candidate = unevenCandidate();
    candidate.score = 7.25;
    // The u of the sixteen ends misses its target by 1582, 1778, 112 and 308 of 14723, twice each.
    EXPECT_NEAR(fitted(flatLines(steppedCross()), candidate, true).score(), 7560.0 / std::sqrt(950807.25), 1e-9);
    EXPECT_NEAR(fitted(flatLines(unevenCross()), candidate, true).score(), 0.0, 1e-9);
}

TEST(CanonicalCross, ResidualScoreDoesNotCountDrawnArms) {
    // Without line 2, u is fitted to lines 0, 1 and 3; the residual of what is left stays below the whole one.
    qv_stCand candidate = unevenCandidate();
    candidate.lines[2] = -1;
    const CrossResult result = fitted(flatLines(steppedCross()), candidate, true);
    double sum = 0.0;
    const qvVector<2> ul = result.ulCorner();
    const qvVector<2> ur = result.urCorner();
    const qvVector<2> ll = result.llCorner();
    const qvVector<2> lr = result.lrCorner();
    for (const std::size_t i : {0u, 1u, 3u}) {
        const qvFLine edge = i == 0 ? qvFLine(ul, ll) : qvFLine(ur, lr);
        sum += std::fabs(edge.distanceFrom(result.lineSegs()[i].p1()));
        sum += std::fabs(edge.distanceFrom(result.lineSegs()[i].p2()));
    }
    EXPECT_GT(sum, 0.5);
    EXPECT_NEAR(result.score(), sum, 1e-9);
}

TEST(CanonicalCross, MissingCornerIsDrawnFromTheFigure) {
    qv_stCand candidate = unevenCandidate();
    candidate.lines[3] = -1;
    candidate.lines[7] = -1;
    const CrossResult result = fitted(flatLines(unevenCross()), candidate);
    expectNear(result.crossing(), 115.0, 210.0);
    expectNear(result.lrCorner(), 130.0, 220.0);
    ASSERT_EQ(result.lineSegs().size(), 8u);
    // The half-widths are 15 and 10, so arms of 4 end 60 and 40 units out.
    expectSegment(result.lineSegs()[3], 130.0, 220.0, 130.0, 260.0);
    expectSegment(result.lineSegs()[7], 130.0, 220.0, 190.0, 220.0);
    expectSegment(result.lineSegs()[2], 100.0, 230.0, 100.0, 290.0);
}

TEST(CanonicalCross, TwoMissingLinesOfOneDirectionLeaveTheFitToTheOtherTwo) {
    const long remaining[4][2] = {{0, 1}, {2, 3}, {0, 3}, {1, 2}};
    for (const auto& pair : remaining) {
        qv_stCand candidate = unevenCandidate();
        for (long i = 0; i < 4; ++i)
            if (i != pair[0] && i != pair[1]) candidate.lines[i] = -1;
        const CrossResult result = fitted(flatLines(unevenCross()), candidate);
        expectNear(result.crossing(), 115.0, 210.0);
        const double drawn[4][4] = {{100.0, 200.0, 100.0, 160.0},
                                    {130.0, 200.0, 130.0, 160.0},
                                    {100.0, 220.0, 100.0, 260.0},
                                    {130.0, 220.0, 130.0, 260.0}};
        for (std::size_t i = 0; i < 4; ++i)
            if (candidate.lines[i] == -1)
                expectSegment(result.lineSegs()[i], drawn[i][0], drawn[i][1], drawn[i][2], drawn[i][3]);
    }
    qv_stCand candidate = unevenCandidate();
    candidate.lines[4] = -1;
    candidate.lines[6] = -1;
    const CrossResult result = fitted(flatLines(unevenCross()), candidate);
    expectSegment(result.lineSegs()[4], 100.0, 200.0, 40.0, 200.0);
    expectSegment(result.lineSegs()[6], 100.0, 220.0, 40.0, 220.0);
}

TEST(CanonicalCross, MissingLineAddsNothingToTheFit) {
    // Line 2 of the stepped cross is the only one that would pull the left edge's lower end to x = 102.
    qv_stCand candidate = unevenCandidate();
    candidate.lines[2] = -1;
    const std::vector<qv_ridgeLine> lines = flatLines(steppedCross());
    std::vector<LiteralLine> elsewhere = steppedCross();
    elsewhere[6] = {500.0, 600.0, 520.0, 900.0};
    expectSameResult(fitted(lines, candidate), fitted(flatLines(elsewhere), candidate));
    EXPECT_GT(fitted(lines, candidate).llCorner().distance(fitted(lines, unevenCandidate()).llCorner()), 0.5);
}

TEST(CanonicalCross, LinesThatDoNotDetermineTheFitThrowAndLeaveTheResult) {
    const std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    CrossResult result;
    qv_streetResultAccess::score(result) = 3.0;
    qv_stCand leftOnly = unevenCandidate();
    leftOnly.lines[1] = leftOnly.lines[3] = -1;
    EXPECT_THROW(fitCanonicalCross(leftOnly, lines, result, false), qvMatrixErr::Singular);
    EXPECT_THROW(fitCanonicalCross(qv_stCand(), lines, result, false), qvMatrixErr::Singular);
    // u and v run along the same axis: the systems have an answer, the transform has no inverse.
    const qv_stCand parallel = candidateOfKeys({4, 5, 4, 5, 4, 4, 5, 5});
    EXPECT_THROW(fitCanonicalCross(parallel, lines, result, false), qvMatrixErr::Singular);
    EXPECT_EQ(result.score(), 3.0);
    EXPECT_TRUE(result.lineSegs().empty());
}

TEST(CanonicalCross, FarFromTheOriginTheFitGivesTheSameAnswer) {
    LiteralRandom random(20);
    const qvVector<2> shifts[4] = {{1e6, 1e6}, {-1e6, 1e6}, {1e6, -3e6}, {4e6, 0.0}};
    double worst = 0.0;
    double worstAngle = 0.0;
    double worstScore = 0.0;
    for (int i = 0; i < 200; ++i) {
        const qvXform<2> turn = turnAround(random.uniform(-40.0, 40.0), qvVector<2>(115.0, 210.0));
        std::vector<LiteralLine> near = mappedLines(unevenCross(), turn);
        for (LiteralLine& line : near)
            for (double* const number : {&line.x1, &line.y1, &line.x2, &line.y2})
                *number = std::round(*number * 1024.0) / 1024.0 + random.uniform(-1.0, 1.0);
        const qvVector<2> shift = shifts[i % 4];
        const std::vector<LiteralLine> far = mappedLines(near, qvXform<2>(qvMatrix<2>(1.0, 0.0, 0.0, 1.0), shift));

        const bool useResidual = i % 2 == 0;
        CrossResult a = fitted(flatLines(near), unevenCandidate(), useResidual);
        CrossResult b = fitted(flatLines(far), unevenCandidate(), useResidual);
        for (int round = 0; round < 2; ++round) {
            for (const auto read : {&CrossResult::crossing, &CrossResult::ulCorner, &CrossResult::urCorner,
                                    &CrossResult::llCorner, &CrossResult::lrCorner})
                worst = std::max(worst, ((b.*read)() - shift).distance((a.*read)()));
            worstAngle = std::max(worstAngle, std::fabs(b.verticalAngle().toDouble() - a.verticalAngle().toDouble()));
            worstAngle =
                std::max(worstAngle, std::fabs(b.horizontalAngle().toDouble() - a.horizontalAngle().toDouble()));
            worstScore = std::max(worstScore, std::fabs(b.score() - a.score()));
            refitCrossFromSegments(a);
            refitCrossFromSegments(b);
        }
    }
    RecordProperty("worstPoint", testing::PrintToString(worst));
    EXPECT_LE(worst, 2e-9);
    EXPECT_LE(worstAngle, 1e-12);
    EXPECT_LE(worstScore, 1e-7);
}

TEST(CanonicalCross, TurnedFrameTurnsTheAnswer) {
    for (const double degrees : {-40.0, -7.0, 20.0, 40.0}) {
        SCOPED_TRACE(degrees);
        const qvXform<2> turn = turnAround(degrees, qvVector<2>(10.0, -20.0));
        const CrossResult result = fitted(flatLines(mappedLines(unevenCross(), turn)), unevenCandidate());
        const auto expectMapped = [&turn](const qvVector<2>& point, double x, double y) {
            const qvVector<2> wanted = turn * qvVector<2>(x, y);
            expectNear(point, wanted.x(), wanted.y());
        };
        expectMapped(result.crossing(), 115.0, 210.0);
        expectMapped(result.ulCorner(), 100.0, 200.0);
        expectMapped(result.urCorner(), 130.0, 200.0);
        expectMapped(result.llCorner(), 100.0, 220.0);
        expectMapped(result.lrCorner(), 130.0, 220.0);
        EXPECT_NEAR(degreesOf(result.horizontalAngle()), degrees, 1e-9);
        EXPECT_NEAR(degreesOf(result.verticalAngle()), degrees - 90.0, 1e-9);
    }
}

TEST(CanonicalCross, MirroredFrameSwapsUpperAndLower) {
    // y to 400 - y of a cross turned by 10 degrees: what was below is above, and it is turned by -10 degrees.
    const qvXform<2> turn = turnAround(10.0, qvVector<2>(115.0, 210.0));
    const qvXform<2> mirror(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), qvVector<2>(0.0, 400.0));
    const std::vector<qv_ridgeLine> lines = flatLines(mappedLines(mappedLines(unevenCross(), turn), mirror));
    const qv_stCand candidate = candidateOfKeys({6, 7, 4, 5, 2, 3, 0, 1});
    EXPECT_TRUE(crossCheck(lines, candidate, nullptr));
    const CrossResult result = fitted(lines, candidate);
    expectNear(result.crossing(), 115.0, 190.0);
    const qvVector<2> oldLowerLeft = mirror * (turn * qvVector<2>(100.0, 220.0));
    const qvVector<2> oldUpperRight = mirror * (turn * qvVector<2>(130.0, 200.0));
    expectNear(result.ulCorner(), oldLowerLeft.x(), oldLowerLeft.y());
    expectNear(result.lrCorner(), oldUpperRight.x(), oldUpperRight.y());
    EXPECT_NEAR(degreesOf(result.horizontalAngle()), -10.0, 1e-9);
    EXPECT_NEAR(degreesOf(result.verticalAngle()), -100.0, 1e-9);
}

TEST(RefitCross, FollowsTheSegmentsAndKeepsThemWithScoreAndStatus) {
    CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
    std::vector<qvLineSeg>& segments = qv_streetResultAccess::lineSegs(result);
    const std::vector<LiteralLine> moved = steppedCross();
    for (std::size_t i = 0; i < 8; ++i) {
        const LiteralLine& line = moved[static_cast<std::size_t>(kUnevenKeys[i])];
        segments[i] = qvLineSeg(qvVector<2>(line.x1, line.y1), qvVector<2>(line.x2, line.y2));
    }
    const std::vector<qvLineSeg> before = segments;
    qv_streetResultAccess::score(result) = 0.375;
    qv_streetResultAccess::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
    refitCrossFromSegments(result);
    const double half = 14723.0 / 975.0;
    const double lean = 90.0 / 650.0;
    expectNear(result.crossing(), 115.0, 210.0);
    expectNear(result.ulCorner(), 115.0 - half - lean, 200.0);
    expectNear(result.lrCorner(), 115.0 + half + lean, 220.0);
    EXPECT_NEAR(result.verticalAngle().toDouble(), std::atan2(-10.0, -lean), 1e-12);
    EXPECT_NEAR(result.horizontalAngle().toDouble(), 0.0, 1e-12);
    EXPECT_EQ(result.lineSegs(), before);
    EXPECT_EQ(result.score(), 0.375);
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromLine);
}

TEST(RefitCross, AnotherNumberOfSegmentsThanEightIsABrokenPromise) {
    for (const std::size_t count : {0u, 2u, 7u, 9u}) {
        CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
        qv_streetResultAccess::lineSegs(result).resize(count);
        EXPECT_THROW(refitCrossFromSegments(result), qvInvariantFailure) << count;
        EXPECT_THROW(fitXformFromSegments(result), qvInvariantFailure) << count;
    }
}

TEST(RefitCross, SegmentsOnOneLineThrow) {
    CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
    qv_streetResultAccess::lineSegs(result).assign(8, qvLineSeg(qvVector<2>(0.0, 0.0), qvVector<2>(8.0, 0.0)));
    EXPECT_THROW(refitCrossFromSegments(result), qvMatrixErr::Singular);
    expectNear(result.crossing(), 115.0, 210.0);
}

TEST(RefitCross, XformMapsTheFigureOntoTheSegments) {
    const CrossResult result = fitted(flatLines(unevenCross()), unevenCandidate());
    const qv2XformLinear clientFromCanonical = fitXformFromSegments(result);
    expectNear(clientFromCanonical.mapPoint(qvVector<2>(0.0, 0.0)), 115.0, 210.0);
    expectNear(clientFromCanonical.mapPoint(qvVector<2>(-1.0, 1.0)), 100.0, 200.0);
    expectNear(clientFromCanonical.mapPoint(qvVector<2>(5.0, -1.0)), 190.0, 220.0);
    expectNear(clientFromCanonical.mapPoint(qvVector<2>(1.0, 5.0)), 130.0, 160.0);
}
