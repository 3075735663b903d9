#include <gtest/gtest.h>

#include <vector>

#include "qvstreet/frontend/orientation.h"

// The choice of the two street directions among the scored angles.

namespace {

std::vector<qvDegree> degrees(const std::vector<double>& values) {
    std::vector<qvDegree> angles;
    for (const double value : values) angles.emplace_back(value);
    return angles;
}

struct Pair {
    double horizontal;
    double vertical;
    bool found;
};

Pair select(const std::vector<double>& angles, const std::vector<double>& scores, double ratio = 0.5,
            const qvXform<2>& imageFromClient = qvXform<2>()) {
    qvDegree horizontal;
    qvDegree vertical;
    const bool found = selectStreetAngles(degrees(angles), scores, ratio, imageFromClient, horizontal, vertical);
    return {horizontal.toDouble(), vertical.toDouble(), found};
}

qvXform<2> rotated(double degreesTurned, double scale = 1.0) {
    const double c = scale * qfCos(qvDegree(degreesTurned));
    const double s = scale * qfSin(qvDegree(degreesTurned));
    return qvXform<2>(qvMatrix<2>(c, -s, s, c), qvVector<2>(12.0, -40.0));
}

qvXform<2> scaled(double x, double y) { return qvXform<2>(qvMatrix<2>(x, 0.0, 0.0, y), qvVector<2>(5.0, 6.0)); }

}  // namespace

TEST(StreetAngles, NoAngleGivesTheImageAxesInClientTerms) {
    const Pair turned = select({}, {}, 0.5, rotated(3.0).inverse());
    EXPECT_FALSE(turned.found);
    EXPECT_NEAR(turned.horizontal, 3.0, 1e-12);
    EXPECT_NEAR(turned.vertical, 93.0, 1e-12);
    const Pair mirrored = select({}, {}, 0.5, scaled(2.0, -2.0));
    EXPECT_NEAR(mirrored.horizontal, 0.0, 1e-12);
    EXPECT_NEAR(mirrored.vertical, -90.0, 1e-12);
}

TEST(StreetAngles, RatioWalkStopsAtTheFirstFailure) {
    // The third score fails, so the fourth, which would reach the ratio, does not count: 40 and 100 are the pair.
    const Pair pair = select({40.0, 100.0, 7.0, 130.0}, {1000.0, 600.0, 499.0, 900.0});
    EXPECT_TRUE(pair.found);
    EXPECT_EQ(pair.horizontal, 40.0);
    EXPECT_EQ(pair.vertical, 100.0);
}

TEST(StreetAngles, ScoreOfExactlyTheRatioQualifies) {
    EXPECT_TRUE(select({3.0, 95.0}, {1000.0, 500.0}).found);
    EXPECT_FALSE(select({3.0, 95.0}, {1000.0, 499.999}).found);
    EXPECT_FALSE(select({3.0, 95.0}, {1000.0, 999.0}, 1.5).found);  // not even the first reaches 1.5 of itself
    EXPECT_EQ(select({3.0, 95.0}, {1000.0, 999.0}, 1.5).horizontal, 0.0);
}

TEST(StreetAngles, SingleAngleGetsItsPerpendicular) {
    const Pair flat = select({-178.9}, {5000.0});
    EXPECT_FALSE(flat.found);
    EXPECT_NEAR(flat.horizontal, -178.9, 1e-12);
    EXPECT_NEAR(flat.vertical, -88.9, 1e-12);
    const Pair upright = select({-88.0, -178.0}, {5000.0, 100.0});
    EXPECT_FALSE(upright.found);
    EXPECT_NEAR(upright.vertical, -88.0, 1e-12);
    EXPECT_NEAR(upright.horizontal, 2.0, 1e-12);
}

TEST(StreetAngles, SingleAngleIsTurnedAndJudgedInImageTerms) {
    // Image y is three times client y: 20 degrees are 47.52 in the image, steeper than its perpendicular of 137.52,
    // which is atan2(sin / 3, cos) = 163.02 degrees at the client.
    const Pair pair = select({20.0}, {5000.0}, 0.5, scaled(1.0, 3.0));
    EXPECT_FALSE(pair.found);
    EXPECT_NEAR(pair.vertical, 20.0, 1e-9);
    EXPECT_NEAR(pair.horizontal, 163.02, 0.005);
}

TEST(StreetAngles, PairIsTheOneNearestToARightAngleInTheImage) {
    // With image y three times client y, 20, 110 and 163.02 degrees are 47.5, 96.9 and 137.5 in the image.
    const Pair stretched = select({20.0, 110.0, 163.02}, {1000.0, 900.0, 800.0}, 0.5, scaled(1.0, 3.0));
    EXPECT_TRUE(stretched.found);
    EXPECT_EQ(stretched.vertical, 20.0);
    EXPECT_EQ(stretched.horizontal, 163.02);
    // In an image that is not stretched the first two are.
    const Pair plain = select({20.0, 110.0, 163.02}, {1000.0, 900.0, 800.0});
    EXPECT_EQ(plain.horizontal, 20.0);
    EXPECT_EQ(plain.vertical, 110.0);
}

TEST(StreetAngles, PairNeedsNotBePerpendicular) {
    const Pair pair = select({12.0, 31.0}, {1000.0, 900.0});
    EXPECT_TRUE(pair.found);
    EXPECT_EQ(pair.horizontal, 12.0);
    EXPECT_EQ(pair.vertical, 31.0);
}

TEST(StreetAngles, OfEqualPairsTheFirstStays) {
    // 0 with 90 and 0 with -90 have the same dot product to the last bit.
    const Pair pair = select({0.0, 90.0, -90.0}, {1000.0, 1000.0, 1000.0});
    EXPECT_TRUE(pair.found);
    EXPECT_EQ(pair.horizontal, 0.0);
    EXPECT_EQ(pair.vertical, 90.0);
}

TEST(StreetAngles, LaterPairWinsOnlyWhenStrictlyNearer) {
    const Pair pair = select({5.0, 94.0, 95.0, 40.0}, {1000.0, 990.0, 980.0, 970.0});
    EXPECT_EQ(pair.horizontal, 5.0);
    EXPECT_EQ(pair.vertical, 95.0);
}

TEST(StreetAngles, SinesAreTakenInClientTerms) {
    // In the image, turned by 50 degrees against the client, 30 degrees are 80 and 120 are 170.
    const Pair pair = select({120.0, 30.0}, {1000.0, 900.0}, 0.5, rotated(50.0));
    EXPECT_TRUE(pair.found);
    EXPECT_EQ(pair.horizontal, 30.0);
    EXPECT_EQ(pair.vertical, 120.0);
}

TEST(StreetAngles, OfEqualSinesTheFirstIsTheVerticalOne) {
    const Pair pair = select({30.0, -30.0}, {1000.0, 900.0});
    EXPECT_TRUE(pair.found);
    EXPECT_EQ(pair.vertical, 30.0);
    EXPECT_EQ(pair.horizontal, -30.0);
}

TEST(StreetAngles, ChosenAnglesKeepTheirTurns) {
    const Pair pair = select({-178.9, -88.9}, {1000.0, 900.0});
    EXPECT_EQ(pair.horizontal, -178.9);
    EXPECT_EQ(pair.vertical, -88.9);
}
