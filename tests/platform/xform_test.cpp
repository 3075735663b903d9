#include "qvstreet/platform/xform.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

static_assert(std::is_convertible_v<qv2XformLinear, qvXform<2>>);

qvXform<2> scaled(double sx, double sy) { return qvXform<2>(qvMatrix<2>(sx, 0.0, 0.0, sy), qvVector<2>()); }

double mappedDegrees(const qvXform<2>& xform, double degrees) {
    return qvDegree(xform.mapAngle(qvDegree(degrees))).toDouble();
}

// Twice as wide, three times as high, moved by (10, 20).
const qvXform<2> kStretch(qvMatrix<2>(2.0, 0.0, 0.0, 3.0), qvVector<2>(10.0, 20.0));
// A quarter turn from +x to +y, then moved by (1, 2).
const qvXform<2> kTurn(qvMatrix<2>(0.0, -1.0, 1.0, 0.0), qvVector<2>(1.0, 2.0));

TEST(Matrix, ElementsAreGivenRowByRow) {
    const qvMatrix<2> m(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(m.element(0, 1), 2.0);
    EXPECT_EQ(m.element(1, 0), 3.0);
    EXPECT_EQ(m * qvVector<2>(10.0, 1.0), qvVector<2>(12.0, 34.0));
    const qvMatrix<3> n(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0);
    EXPECT_EQ(n.element(1, 2), 6.0);
    EXPECT_EQ(n.element(2, 1), 8.0);
    EXPECT_EQ(n * qvVector<3>(100.0, 10.0, 1.0), qvVector<3>(123.0, 456.0, 789.0));
}

TEST(Matrix, DefaultIsTheIdentity) {
    EXPECT_EQ(qvMatrix<2>(), qvMatrix<2>(1.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(qvMatrix<3>() * qvVector<3>(4.0, 5.0, 6.0), qvVector<3>(4.0, 5.0, 6.0));
}

TEST(Matrix, ProductAppliesTheRightOneFirst) {
    const qvMatrix<2> a(1.0, 2.0, 3.0, 4.0);
    const qvMatrix<2> b(0.0, 1.0, 5.0, 6.0);
    EXPECT_EQ(a * b, qvMatrix<2>(10.0, 13.0, 20.0, 27.0));
    EXPECT_EQ(b * a, qvMatrix<2>(3.0, 4.0, 23.0, 34.0));
}

TEST(Matrix, SetterChangesOneElement) {
    qvMatrix<2> m(1.0, 2.0, 3.0, 4.0);
    m.element(0, 1, 9.0);
    EXPECT_EQ(m, qvMatrix<2>(1.0, 9.0, 3.0, 4.0));
    EXPECT_NE(m, qvMatrix<2>(1.0, 2.0, 3.0, 4.0));
}

TEST(Matrix, InverseOfTwoByTwo) {
    // Determinant 1 * 4 - 2 * 3 = -2.
    const qvMatrix<2> inverse = qvMatrix<2>(1.0, 2.0, 3.0, 4.0).inverse();
    EXPECT_DOUBLE_EQ(inverse.element(0, 0), -2.0);
    EXPECT_DOUBLE_EQ(inverse.element(0, 1), 1.0);
    EXPECT_DOUBLE_EQ(inverse.element(1, 0), 1.5);
    EXPECT_DOUBLE_EQ(inverse.element(1, 1), -0.5);
}

TEST(Matrix, InverseOfThreeByThree) {
    // Determinant 7, cofactors transposed.
    const qvMatrix<3> inverse = qvMatrix<3>(2.0, 1.0, 0.0, 0.0, 3.0, 1.0, 1.0, 0.0, 1.0).inverse();
    const double expected[3][3] = {{3.0, -1.0, 1.0}, {1.0, 2.0, -2.0}, {-3.0, 1.0, 6.0}};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            EXPECT_NEAR(inverse.element(row, column), expected[row][column] / 7.0, 1e-15);
}

TEST(Matrix, InverseExchangesRowsWhereADiagonalElementIsZero) {
    EXPECT_EQ(qvMatrix<2>(0.0, 2.0, 4.0, 0.0).inverse(), qvMatrix<2>(0.0, 0.25, 0.5, 0.0));
    EXPECT_EQ(qvMatrix<3>(0.0, 0.0, 2.0, 4.0, 0.0, 0.0, 0.0, 8.0, 0.0).inverse(),
              qvMatrix<3>(0.0, 0.25, 0.0, 0.0, 0.0, 0.125, 0.5, 0.0, 0.0));
}

TEST(Matrix, InverseTakesTheLargestElementAsPivot) {
    // Without the exchange of rows the small one would wipe out the other column.
    const qvMatrix<2> inverse = qvMatrix<2>(1e-20, 1.0, 1.0, 1.0).inverse();
    EXPECT_DOUBLE_EQ(inverse.element(0, 0), -1.0);
    EXPECT_DOUBLE_EQ(inverse.element(0, 1), 1.0);
    EXPECT_DOUBLE_EQ(inverse.element(1, 0), 1.0);
    EXPECT_NEAR(inverse.element(1, 1), 0.0, 1e-19);
}

TEST(Matrix, InverseThrowsForAZeroPivot) {
    EXPECT_THROW(qvMatrix<2>(1.0, 2.0, 2.0, 4.0).inverse(), qvMatrixErr::Singular);
    EXPECT_THROW(qvMatrix<2>(0.0, 0.0, 0.0, 0.0).inverse(), qvMatrixErr::Singular);
    EXPECT_THROW(qvMatrix<2>(0.0, 5.0, 0.0, 7.0).inverse(), qvMatrixErr::Singular);
    EXPECT_THROW(qvMatrix<3>(1.0, 2.0, 3.0, 2.0, 4.0, 6.0, 0.0, 1.0, 5.0).inverse(), qvMatrixErr::Errors);
}

TEST(Matrix, InverseThrowsForAPivotThatIsNotFinite) {
    EXPECT_THROW(qvMatrix<2>(kNaN, 0.0, 0.0, 1.0).inverse(), qvMatrixErr::Singular);
    EXPECT_THROW(qvMatrix<2>(1.0, 0.0, 0.0, kInfinity).inverse(), qvMatrixErr::Singular);
}

TEST(Matrix, InverseHasNoLimitRelativeToTheElements) {
    // Sums over client coordinates of 1e6 look like this: the determinant is 1e12, the elements' products are 1e24.
    const qvMatrix<2> inverse = qvMatrix<2>(1e12, 1e12, 1e12, 1e12 + 1.0).inverse();
    EXPECT_DOUBLE_EQ(inverse.element(0, 0), 1.000000000001);
    EXPECT_DOUBLE_EQ(inverse.element(0, 1), -1.0);
    EXPECT_DOUBLE_EQ(inverse.element(1, 0), -1.0);
    EXPECT_DOUBLE_EQ(inverse.element(1, 1), 1.0);
    EXPECT_DOUBLE_EQ(qvMatrix<2>(1e-300, 0.0, 0.0, 4.0).inverse().element(0, 0), 1e300);
}

TEST(Xform, DefaultIsTheIdentity) {
    EXPECT_EQ(qvXform<2>() * qvVector<2>(3.0, -4.0), qvVector<2>(3.0, -4.0));
    EXPECT_EQ(qvXform<2>(), qvXform<2>(qvMatrix<2>(1.0, 0.0, 0.0, 1.0), qvVector<2>(0.0, 0.0)));
}

TEST(Xform, MapsPointsByMatrixThenTranslation) {
    EXPECT_EQ(kStretch * qvVector<2>(5.0, 7.0), qvVector<2>(20.0, 41.0));
    EXPECT_EQ(kTurn.mapPoint(qvVector<2>(5.0, 7.0)), qvVector<2>(-6.0, 7.0));
    EXPECT_EQ(kStretch.matrix(), qvMatrix<2>(2.0, 0.0, 0.0, 3.0));
    EXPECT_EQ(kStretch.trans(), qvVector<2>(10.0, 20.0));
}

TEST(Xform, MapVectorIgnoresTheTranslation) {
    EXPECT_EQ(kStretch.mapVector(qvVector<2>(5.0, 7.0)), qvVector<2>(10.0, 21.0));
}

TEST(Xform, CompositionAppliesTheRightOneFirst) {
    EXPECT_EQ(kStretch * kTurn * qvVector<2>(5.0, 7.0), qvVector<2>(-2.0, 41.0));
    EXPECT_EQ(kTurn * kStretch * qvVector<2>(5.0, 7.0), qvVector<2>(-40.0, 22.0));
    EXPECT_EQ((kStretch * kTurn).mapPoint(qvVector<2>(5.0, 7.0)), qvVector<2>(-2.0, 41.0));
    EXPECT_EQ((kTurn * kStretch).mapPoint(qvVector<2>(5.0, 7.0)), qvVector<2>(-40.0, 22.0));
}

TEST(Xform, InverseLeadsBack) {
    EXPECT_EQ(kTurn.inverse() * qvVector<2>(-6.0, 7.0), qvVector<2>(5.0, 7.0));
    EXPECT_EQ(kStretch.invMapPoint(qvVector<2>(20.0, 41.0)), qvVector<2>(5.0, 7.0));
    EXPECT_EQ((kStretch * kTurn).inverse().mapPoint(qvVector<2>(-2.0, 41.0)), qvVector<2>(5.0, 7.0));
}

TEST(Xform, InverseOfAMirroredTransformLeadsBack) {
    const qvXform<2> mirrored(qvMatrix<2>(0.5, 0.0, 0.0, -0.25), qvVector<2>(3.0, 100.0));
    EXPECT_EQ(mirrored * qvVector<2>(8.0, 16.0), qvVector<2>(7.0, 96.0));
    EXPECT_EQ(mirrored.inverse() * qvVector<2>(7.0, 96.0), qvVector<2>(8.0, 16.0));
}

TEST(Xform, InverseKeepsItsDigitsFarFromTheOrigin) {
    // A stage position in micrometres, half a micrometre per pel, turned by 3 degrees.
    const double c = 0.5 * 0.99862953475457383;
    const double s = 0.5 * 0.052335956242943835;
    const qvXform<2> clientFromImage(qvMatrix<2>(c, -s, s, c), qvVector<2>(1e6, -2e6));
    const qvVector<2> image(1023.5, 17.25);
    const qvVector<2> client = clientFromImage * image;
    EXPECT_NEAR(clientFromImage.invMapPoint(client).distance(image), 0.0, 2e-9);
    EXPECT_NEAR((clientFromImage.inverse() * client).distance(image), 0.0, 2e-9);
}

TEST(Xform, InverseOfASingularTransformThrows) {
    const qvXform<2> flat(qvMatrix<2>(1.0, 2.0, 2.0, 4.0), qvVector<2>(1.0, 1.0));
    EXPECT_THROW(flat.inverse(), qvMatrixErr::Singular);
    EXPECT_THROW(flat.invMapPoint(qvVector<2>()), qvMatrixErr::Singular);
    EXPECT_EQ(flat * qvVector<2>(1.0, 1.0), qvVector<2>(4.0, 7.0)) << "it still maps forwards";
}

TEST(Xform, MapAngleFollowsAnOblongTransform) {
    EXPECT_NEAR(mappedDegrees(scaled(2.0, 1.0), 45.0), 26.56505117707799, 1e-12);
    EXPECT_NEAR(mappedDegrees(scaled(1.0, 2.0), 45.0), 63.43494882292201, 1e-12);
    EXPECT_NEAR(mappedDegrees(scaled(2.0, 1.0), -135.0), -153.43494882292202, 1e-12);
    EXPECT_NEAR(mappedDegrees(scaled(2.0, 1.0), 0.0), 0.0, 1e-12);
    EXPECT_NEAR(mappedDegrees(scaled(2.0, 1.0), 90.0), 90.0, 1e-12);
}

TEST(Xform, MapAngleFollowsMirrorTurnAndShear) {
    EXPECT_NEAR(mappedDegrees(scaled(1.0, -1.0), 30.0), -30.0, 1e-12);
    EXPECT_NEAR(mappedDegrees(scaled(-1.0, 1.0), 30.0), 150.0, 1e-12);
    EXPECT_NEAR(mappedDegrees(kTurn, 30.0), 120.0, 1e-12);
    EXPECT_NEAR(mappedDegrees(kTurn, 100.0), -170.0, 1e-12);
    const qvXform<2> shear(qvMatrix<2>(1.0, 1.0, 0.0, 1.0), qvVector<2>());
    EXPECT_NEAR(mappedDegrees(shear, 90.0), 45.0, 1e-12);
}

TEST(Xform, MapAngleGivesTheSignedAngle) {
    EXPECT_NEAR(mappedDegrees(qvXform<2>(), 200.0), -160.0, 1e-12);
    EXPECT_NEAR(mappedDegrees(qvXform<2>(), 730.0), 10.0, 1e-12);
}

TEST(Xform, MapAngleOfADirectionThatIsMappedToNothingIsZero) {
    EXPECT_EQ(mappedDegrees(scaled(0.0, 0.0), 77.0), 0.0);
    EXPECT_EQ(scaled(0.0, 0.0).rotation().toDouble(), 0.0);
}

TEST(Xform, RotationIsTheAngleOfTheMappedXAxis) {
    EXPECT_DOUBLE_EQ(qvDegree(kTurn.rotation()).toDouble(), 90.0);
    EXPECT_EQ(kStretch.rotation().toDouble(), 0.0);
    EXPECT_EQ(scaled(1.0, -1.0).rotation().toDouble(), 0.0) << "mirrored in y";
    EXPECT_DOUBLE_EQ(qvDegree(scaled(-1.0, 1.0).rotation()).toDouble(), 180.0) << "mirrored in x";
    const qvXform<2> shear(qvMatrix<2>(1.0, 0.0, 1.0, 1.0), qvVector<2>());
    EXPECT_DOUBLE_EQ(qvDegree(shear.rotation()).toDouble(), 45.0);
}

TEST(Xform, EqualityComparesMatrixAndTranslation) {
    EXPECT_TRUE(kStretch == qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 3.0), qvVector<2>(10.0, 20.0)));
    EXPECT_TRUE(kStretch != qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 3.5), qvVector<2>(10.0, 20.0)));
    EXPECT_TRUE(kStretch != qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 3.0), qvVector<2>(10.0, 21.0)));
}

TEST(XformLinear, BuildsATransformOfThePlane) {
    EXPECT_EQ(qvXform<2>(qv2XformLinear()), qvXform<2>());
    const qv2XformLinear swap(qvMatrix<2>(0.0, 1.0, 1.0, 0.0), qvVector<2>(5.0, 0.0));
    const qvXform<2> converted = swap;
    EXPECT_EQ(converted * qvVector<2>(3.0, 4.0), qvVector<2>(9.0, 3.0));
    EXPECT_EQ(swap.inverse() * qvVector<2>(9.0, 3.0), qvVector<2>(3.0, 4.0));
    EXPECT_NEAR(qvDegree(swap.mapAngle(qvDegree(20.0))).toDouble(), 70.0, 1e-12);
    EXPECT_EQ(kStretch * swap * qvVector<2>(3.0, 4.0), qvVector<2>(28.0, 29.0));
}

}  // namespace
