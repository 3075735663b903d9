#include "qvstreet/projection/edge_line_fit.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Points = std::vector<qv_EdgePoint>;

qv_EdgePoint pointAt(double u, double v, std::int32_t edge, std::int32_t block) {
    qv_EdgePoint point;
    point.u = u;
    point.v = v;
    point.edge = edge;
    point.block = block;
    point.used = true;
    return point;
}

/// 12 points an edge, 10 pels apart from u = 45 on: v = 7 + 0.02 * u and 13 pels more.
Points parallelPoints() {
    Points points;
    for (std::int32_t i = 0; i < 12; ++i)
        for (std::int32_t e = 0; e < 2; ++e) {
            const double u = 45.0 + 10.0 * i;
            points.push_back(pointAt(u, 7.0 + 0.02 * u + 13.0 * e, e, i));
        }
    return points;
}

/// Four points about `middle`, two pels apart, `residual` off a line of that slope: above it at the ends, below it within,
/// so that neither the line's place nor its slope changes.
void addFour(Points& points, double middle, double v, double slope, double residual, std::int32_t edge) {
    for (std::int32_t i = 0; i < 4; ++i) {
        const double u = 2.0 * i - 3.0;
        points.push_back(pointAt(middle + u, v + slope * u + (i == 0 || i == 3 ? residual : -residual), edge, i));
    }
}

/// As many points as signs, a pel apart, each a tenth of a pel off the line v = 5 to the side of its sign.
Points signedPoints(const std::vector<int>& signs, std::int32_t blocksApart) {
    Points points;
    for (std::size_t i = 0; i < signs.size(); ++i)
        points.push_back(
            pointAt(static_cast<double>(i), 5.0 + 0.1 * signs[i], 0, static_cast<std::int32_t>(i) * blocksApart));
    return points;
}

void expectSameCovariance(const qv_EdgeLines& lines, const std::array<std::array<double, 4>, 4>& expected,
                          double tolerance) {
    for (std::size_t a = 0; a < 4; ++a)
        for (std::size_t b = 0; b < 4; ++b) EXPECT_NEAR(lines.covariance[a][b], expected[a][b], tolerance) << a << b;
}

}  // namespace

TEST(EdgeLineFit, twoParallelLinesAreFoundExactly) {
    Points points = parallelPoints();
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_NEAR(lines.u0, 100.0, 1e-12);
    EXPECT_NEAR(lines.offset[0], 9.0, 1e-10);
    EXPECT_NEAR(lines.offset[1], 22.0, 1e-10);
    EXPECT_NEAR(lines.slope[0], 0.02, 1e-12);
    EXPECT_NEAR(lines.slope[1], 0.02, 1e-12);
    EXPECT_TRUE(lines.parallel);
    EXPECT_EQ(lines.used, (std::array<long, 2>{12, 12}));
    EXPECT_EQ(lines.refused, (std::array<long, 2>{0, 0}));
}

TEST(EdgeLineFit, pointsWithoutScatterAreNotTrustedBeyondFourThousandths) {
    Points points = parallelPoints();
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_EQ(lines.scatter[0], 4e-3);
    EXPECT_EQ(lines.scatter[1], 4e-3);
    EXPECT_NEAR(lines.covariance[0][0], 16e-6 / 12.0, 1e-12);
}

TEST(EdgeLineFit, aThirdOfThePointsFivePelsOffIsRefused) {
    for (const double aside : {5.0, -5.0}) {
        Points points = parallelPoints();
        for (std::size_t i = 0; i < points.size(); ++i)
            if (points[i].block % 3 == 1) points[i].v += aside;
        qv_EdgeLines lines;
        ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
        EXPECT_EQ(lines.used, (std::array<long, 2>{8, 8}));
        EXPECT_EQ(lines.refused, (std::array<long, 2>{4, 4}));
        EXPECT_NEAR(lines.offset[0] + lines.slope[0] * (100.0 - lines.u0), 9.0, 1e-6);
        EXPECT_NEAR(lines.offset[1] + lines.slope[1] * (100.0 - lines.u0), 22.0, 1e-6);
        EXPECT_NEAR(lines.slope[0], 0.02, 1e-8);
        for (const qv_EdgePoint& point : points) EXPECT_EQ(point.used, point.block % 3 != 1) << point.block;
    }
}

TEST(EdgeLineFit, aRunOfPointsOffOneEdgeIsRefusedThereOnly) {
    Points points = parallelPoints();
    for (qv_EdgePoint& point : points)
        if (point.edge == 0 && point.block >= 8) point.v += 5.0;
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_EQ(lines.used, (std::array<long, 2>{8, 12}));
    EXPECT_NEAR(lines.slope[0], 0.02, 1e-6);
    EXPECT_NEAR(lines.offset[0] + lines.slope[0] * (100.0 - lines.u0), 9.0, 1e-4);
}

TEST(EdgeLineFit, pointsRefusedBeforehandStayRefused) {
    Points points = parallelPoints();
    points[0].used = false;
    points[3].used = false;
    points[5].used = false;
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_EQ(lines.used, (std::array<long, 2>{11, 10}));
    EXPECT_EQ(lines.refused, (std::array<long, 2>{1, 2}));
    EXPECT_FALSE(points[0].used);
    EXPECT_FALSE(points[3].used);
    EXPECT_TRUE(points[1].used);
}

/// Two edges of these slopes, 25 pels apart at u = 0, whose points lie 0.05 pels beside them, alternately on either side.
Points twentyBlocks(double slope0, double slope1) {
    Points points;
    for (std::int32_t i = 0; i < 20; ++i) {
        const double u = 10.0 * i;
        const double residual = i % 2 == 0 ? 0.05 : -0.05;
        points.push_back(pointAt(u, 5.0 + slope0 * u + residual, 0, i));
        points.push_back(pointAt(u, 30.0 + slope1 * u - residual, 1, i));
    }
    return points;
}

TEST(EdgeLineFit, twoSlopesRemainTwoWhereThePointsSaySo) {
    Points points = twentyBlocks(0.010, 0.014);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_FALSE(lines.parallel);
    EXPECT_NEAR(lines.slope[0], 0.010, 2e-4);
    EXPECT_NEAR(lines.slope[1], 0.014, 2e-4);
    EXPECT_EQ(lines.covariance[2][3], 0.0);
    EXPECT_EQ(lines.covariance[0][1], 0.0);
}

TEST(EdgeLineFit, slopesThatScatterAloneTellsApartAreOne) {
    Points points = twentyBlocks(0.0100, 0.0103);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_TRUE(lines.parallel);
    EXPECT_EQ(lines.slope[0], lines.slope[1]);
    EXPECT_NEAR(lines.slope[0], 0.01015, 1e-4);
}

TEST(EdgeLineFit, covarianceOfFourPointsAnEdgeIsTheOneWorkedOutByHand) {
    Points points;
    addFour(points, 100.0, 10.0, 0.1, 0.1, 0);
    addFour(points, 120.0, 40.0, 0.1, 0.1, 1);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 4, lines));
    EXPECT_TRUE(lines.parallel);
    EXPECT_NEAR(lines.u0, 110.0, 1e-12);
    EXPECT_NEAR(lines.offset[0], 11.0, 1e-9);
    EXPECT_NEAR(lines.offset[1], 39.0, 1e-9);
    // 4 * 0.1^2 over 4 - 1.5 degrees of freedom.
    EXPECT_NEAR(lines.scatter[0], std::sqrt(0.016), 1e-9);
    // Spread of u: 20 an edge, so the slope's variance is 0.016 / 40; the middles lie 10 pels before and beyond u0.
    const double slope = 0.016 / 40.0;
    expectSameCovariance(lines,
                         {{{0.004 + 100.0 * slope, -100.0 * slope, 10.0 * slope, 10.0 * slope},
                           {-100.0 * slope, 0.004 + 100.0 * slope, -10.0 * slope, -10.0 * slope},
                           {10.0 * slope, -10.0 * slope, slope, slope},
                           {10.0 * slope, -10.0 * slope, slope, slope}}},
                         1e-9);
    EXPECT_NEAR(qf_slopeVarianceOf(lines, 2), slope, 1e-9);
}

TEST(EdgeLineFit, theEdgeThatScattersLessCountsMore) {
    Points points;
    addFour(points, 100.0, 10.0, 0.1, 0.1, 0);
    addFour(points, 100.0, 40.0, 0.1, 0.2, 1);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 4, lines));
    EXPECT_NEAR(lines.scatter[1], 2.0 * lines.scatter[0], 1e-9);
    // 20 / 0.016 and 20 / 0.064.
    EXPECT_NEAR(lines.covariance[2][3], 1.0 / (1250.0 + 312.5), 1e-9);
    EXPECT_NEAR(lines.covariance[0][0], 0.004, 1e-9);
    EXPECT_NEAR(lines.covariance[1][1], 0.016, 1e-9);
}

TEST(EdgeLineFit, oneEdgeAlone) {
    Points points;
    addFour(points, 100.0, 10.0, -0.3, 0.1, 0);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 1, 4, lines));
    EXPECT_NEAR(lines.u0, 100.0, 1e-12);
    EXPECT_NEAR(lines.offset[0], 10.0, 1e-9);
    EXPECT_NEAR(lines.slope[0], -0.3, 1e-9);
    EXPECT_EQ(lines.used, (std::array<long, 2>{4, 0}));
    EXPECT_NEAR(lines.covariance[0][0], 0.004, 1e-9);
    EXPECT_NEAR(lines.covariance[2][2], 0.0008, 1e-9);
    EXPECT_EQ(lines.covariance[1][1], 0.0);
    EXPECT_NEAR(qf_slopeOf(lines, 1), -0.3, 1e-9);
    EXPECT_NEAR(qf_slopeVarianceOf(lines, 1), 0.0008, 1e-9);
}

TEST(EdgeLineFit, neighboursOffToTheSameSideMakeThePointsFewer) {
    std::vector<int> signs;
    for (int i = 0; i < 20; ++i) signs.push_back(i < 5 || i >= 15 ? 1 : -1);
    Points together = signedPoints(signs, 1);
    Points apart = signedPoints(signs, 2);
    qv_EdgeLines ofTogether;
    qv_EdgeLines ofApart;
    ASSERT_TRUE(qf_fitEdgeLines(together, 1, 6, ofTogether));
    ASSERT_TRUE(qf_fitEdgeLines(apart, 1, 6, ofApart));
    // 19 pairs of neighbours, 17 of one sign: 15 / 19 alike, less the 2 / sqrt(19) of chance, is 0.33065.
    EXPECT_NEAR(ofTogether.covariance[0][0] / ofApart.covariance[0][0], 1.33065 / 0.66935, 1e-4);
    EXPECT_NEAR(ofTogether.covariance[2][2] / ofApart.covariance[2][2], 1.33065 / 0.66935, 1e-4);
    EXPECT_EQ(ofTogether.scatter[0], ofApart.scatter[0]);
}

TEST(EdgeLineFit, neighboursOffToEitherSideCountInFull) {
    std::vector<int> signs;
    for (int i = 0; i < 20; ++i) signs.push_back((i < 10) == (i % 2 == 0) ? 1 : -1);
    Points together = signedPoints(signs, 1);
    Points apart = signedPoints(signs, 2);
    qv_EdgeLines ofTogether;
    qv_EdgeLines ofApart;
    ASSERT_TRUE(qf_fitEdgeLines(together, 1, 6, ofTogether));
    ASSERT_TRUE(qf_fitEdgeLines(apart, 1, 6, ofApart));
    EXPECT_EQ(ofTogether.covariance, ofApart.covariance);
}

TEST(EdgeLineFit, whatNeighboursHaveInCommonIsTold) {
    std::vector<int> signs;
    for (int i = 0; i < 20; ++i) signs.push_back(i < 5 || i >= 15 ? 1 : -1);
    Points together = signedPoints(signs, 1);
    Points apart = signedPoints(signs, 2);
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(together, 1, 6, lines));
    EXPECT_NEAR(lines.likeness, 0.33065, 1e-5);
    ASSERT_TRUE(qf_fitEdgeLines(apart, 1, 6, lines));
    EXPECT_EQ(lines.likeness, 0.0);
}

TEST(EdgeLineFit, aBowIsToldPerSquaredPel) {
    for (const double bend : {2e-5, -2e-5}) {
        Points points;
        for (std::int32_t i = 0; i < 21; ++i) {
            const double u = 10.0 * i - 100.0;
            const double residual = i % 2 == 0 ? 0.05 : -0.05;
            points.push_back(pointAt(300.0 + u, 5.0 + 0.01 * u + bend * u * u + residual, 0, i));
            points.push_back(pointAt(300.0 + u, 30.0 + 0.01 * u + bend * u * u - residual, 1, i));
        }
        qv_EdgeLines lines;
        ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
        EXPECT_NEAR(lines.bend, bend, 1e-6);
        EXPECT_EQ(lines.used, (std::array<long, 2>{21, 21}));
        // What of u * u is neither constant nor linear has squares of 224326666.7, for u from -100 to 100 by tens.
        const double weights =
            1.0 / (lines.scatter[0] * lines.scatter[0]) + 1.0 / (lines.scatter[1] * lines.scatter[1]);
        EXPECT_NEAR(lines.bendDeviation, 1.0 / std::sqrt(224326666.7 * weights), 1e-12);
    }
}

TEST(EdgeLineFit, straightEdgesHaveNoBow) {
    Points points = parallelPoints();
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    EXPECT_NEAR(lines.bend, 0.0, 1e-12);
    EXPECT_GT(lines.bendDeviation, 0.0);
}

TEST(EdgeLineFit, anEdgeThatKeepsTooFewPointsIsNoFit) {
    Points points = parallelPoints();
    qv_EdgeLines lines;
    lines.offset[0] = 77.0;
    EXPECT_TRUE(qf_fitEdgeLines(points, 2, 12, lines));
    lines.offset[0] = 77.0;
    points = parallelPoints();
    EXPECT_FALSE(qf_fitEdgeLines(points, 2, 13, lines));
    EXPECT_EQ(lines.offset[0], 77.0);
    // Of the other edge alone, too.
    points = parallelPoints();
    for (qv_EdgePoint& point : points)
        if (point.edge == 1 && point.block < 5) point.used = false;
    EXPECT_FALSE(qf_fitEdgeLines(points, 2, 8, lines));
    EXPECT_EQ(lines.offset[0], 77.0);
    EXPECT_TRUE(qf_fitEdgeLines(points, 2, 7, lines));
}

TEST(EdgeLineFit, pointsOfOneUAreNoLine) {
    Points points;
    for (std::int32_t i = 0; i < 8; ++i) points.push_back(pointAt(50.0, 10.0 + 0.1 * i, 0, i));
    qv_EdgeLines lines;
    EXPECT_FALSE(qf_fitEdgeLines(points, 1, 3, lines));
    // The other edge's slope counts for them.
    for (std::int32_t i = 0; i < 8; ++i) points.push_back(pointAt(46.0 + i, 30.0 + 0.25 * i, 1, i));
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 3, lines));
    EXPECT_NEAR(lines.slope[0], 0.25, 1e-6);
}

TEST(EdgeLineFit, withoutPointsThereIsNoLine) {
    Points none;
    qv_EdgeLines lines;
    EXPECT_FALSE(qf_fitEdgeLines(none, 1, 0, lines));
    EXPECT_FALSE(qf_fitEdgeLines(none, 2, 0, lines));
    Points unused = parallelPoints();
    for (qv_EdgePoint& point : unused) point.used = false;
    EXPECT_FALSE(qf_fitEdgeLines(unused, 2, 0, lines));
}

TEST(EdgeLineFit, theMeanSlopeOfTwoEdgesHasTheVarianceOfAMean) {
    qv_EdgeLines lines;
    lines.slope = {0.1, 0.3};
    lines.covariance[2][2] = 4e-4;
    lines.covariance[3][3] = 12e-4;
    lines.covariance[2][3] = lines.covariance[3][2] = 1e-4;
    EXPECT_NEAR(qf_slopeOf(lines, 2), 0.2, 1e-15);
    EXPECT_NEAR(qf_slopeVarianceOf(lines, 2), 4.5e-4, 1e-15);
    EXPECT_EQ(qf_slopeOf(lines, 1), 0.1);
    EXPECT_EQ(qf_slopeVarianceOf(lines, 1), 4e-4);
}

TEST(EdgeLineFit, aSlopeOfEqualVarianceIsMetHalfway) {
    qv_EdgeLines lines;
    lines.offset[0] = 5.0;
    lines.slope[0] = 0.1;
    lines.covariance[0][0] = 0.04;
    lines.covariance[0][2] = lines.covariance[2][0] = 0.002;
    lines.covariance[2][2] = 4e-4;
    qf_takeInSlope(0.2, 4e-4, 1, lines);
    EXPECT_NEAR(lines.slope[0], 0.15, 1e-12);
    // 0.002 / 0.0008 of the 0.1 between the slopes.
    EXPECT_NEAR(lines.offset[0], 5.25, 1e-12);
    EXPECT_NEAR(lines.covariance[0][0], 0.04 - 0.005, 1e-12);
    EXPECT_NEAR(lines.covariance[0][2], 0.001, 1e-12);
    EXPECT_NEAR(lines.covariance[2][0], 0.001, 1e-12);
    EXPECT_NEAR(lines.covariance[2][2], 2e-4, 1e-12);
    EXPECT_EQ(lines.offset[1], 0.0);
    EXPECT_EQ(lines.slope[1], 0.0);
}

TEST(EdgeLineFit, aSlopeIsTakenInByBothEdges) {
    qv_EdgeLines lines;
    lines.offset = {5.0, 9.0};
    lines.slope = {0.1, 0.3};
    lines.covariance[0][0] = 0.04;
    lines.covariance[0][2] = lines.covariance[2][0] = 0.002;
    lines.covariance[2][2] = lines.covariance[3][3] = 8e-4;
    // The mean's variance is 4e-4; its covariance with the slopes 4e-4, with the first offset 0.001.
    qf_takeInSlope(0.3, 4e-4, 2, lines);
    EXPECT_NEAR(lines.slope[0], 0.15, 1e-12);
    EXPECT_NEAR(lines.slope[1], 0.35, 1e-12);
    EXPECT_NEAR(lines.offset[0], 5.125, 1e-12);
    EXPECT_NEAR(lines.offset[1], 9.0, 1e-12);
    EXPECT_NEAR(lines.covariance[2][2], 6e-4, 1e-12);
    EXPECT_NEAR(lines.covariance[2][3], -2e-4, 1e-12);
    EXPECT_NEAR(lines.covariance[0][0], 0.04 - 0.00125, 1e-12);
    EXPECT_NEAR(lines.covariance[0][3], -0.0005, 1e-12);
    EXPECT_NEAR(qf_slopeVarianceOf(lines, 2), 2e-4, 1e-12);
}

TEST(EdgeLineFit, aSlopeThatNobodyKnowsChangesNothing) {
    Points points = parallelPoints();
    qv_EdgeLines lines;
    ASSERT_TRUE(qf_fitEdgeLines(points, 2, 6, lines));
    const qv_EdgeLines before = lines;
    qf_takeInSlope(0.5, 1e300, 2, lines);
    EXPECT_NEAR(lines.slope[0], before.slope[0], 1e-15);
    EXPECT_NEAR(lines.offset[1], before.offset[1], 1e-12);
    EXPECT_EQ(lines.covariance, before.covariance);
    // Nor does one where both are said to be exact.
    qv_EdgeLines exact;
    exact.slope = {0.1, 0.1};
    qf_takeInSlope(0.5, 0.0, 2, exact);
    EXPECT_EQ(exact.slope[0], 0.1);
}
