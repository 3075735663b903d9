#include "qvstreet/platform/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

static_assert(!std::is_convertible_v<qvPair<double>, qvVector<2>>,
              "a pair may be a range or a size; it converts if told");
static_assert((qvVector<2>(1.0, 2.0) + qvVector<2>(3.0, 5.0)).y() == 7.0, "arithmetic works at compile time");

TEST(Vector, DefaultIsZero) {
    EXPECT_EQ(qvVector<2>(), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(qvVector<3>(), qvVector<3>(0.0, 0.0, 0.0));
}

TEST(Vector, PairGivesFirstAsXAndSecondAsY) {
    const qvVector<2> v(qvPair<double>(18.0, 30.0));
    EXPECT_EQ(v.x(), 18.0);
    EXPECT_EQ(v.y(), 30.0);
}

TEST(Vector, PolarFormTurnsFromXTowardsY) {
    const qvVector<2> v(4.0, qvDegree(150.0));
    EXPECT_DOUBLE_EQ(v.x(), -3.4641016151377544);
    EXPECT_DOUBLE_EQ(v.y(), 2.0);
    const qvVector<2> reversed(-4.0, qvDegree(150.0));
    EXPECT_DOUBLE_EQ(reversed.x(), 3.4641016151377544);
    EXPECT_DOUBLE_EQ(reversed.y(), -2.0);
}

TEST(Vector, SettersChangeOneElement) {
    qvVector<2> v(1.0, 2.0);
    v.x(5.0);
    EXPECT_EQ(v, qvVector<2>(5.0, 2.0));
    v.y(-7.0);
    EXPECT_EQ(v, qvVector<2>(5.0, -7.0));
    v[0] = 9.0;
    EXPECT_EQ(v[0], 9.0);
    EXPECT_EQ(v[1], -7.0);
}

TEST(Vector, Arithmetic) {
    const qvVector<2> a(1.5, -2.0);
    const qvVector<2> b(4.0, 0.25);
    EXPECT_EQ(a + b, qvVector<2>(5.5, -1.75));
    EXPECT_EQ(a - b, qvVector<2>(-2.5, -2.25));
    EXPECT_EQ(-a, qvVector<2>(-1.5, 2.0));
    EXPECT_EQ(a * 4.0, qvVector<2>(6.0, -8.0));
    EXPECT_EQ(4.0 * a, qvVector<2>(6.0, -8.0));
    EXPECT_EQ(a / 0.5, qvVector<2>(3.0, -4.0));
    qvVector<2> c = a;
    c += b;
    EXPECT_EQ(c, qvVector<2>(5.5, -1.75));
    c -= a;
    EXPECT_EQ(c, b);
    c *= 3.0;
    EXPECT_EQ(c, qvVector<2>(12.0, 0.75));
    c /= 0.75;
    EXPECT_EQ(c, qvVector<2>(16.0, 1.0));
}

TEST(Vector, DotProduct) {
    EXPECT_EQ(qvVector<2>(2.0, 3.0) * qvVector<2>(5.0, -7.0), -11.0);
    EXPECT_EQ(qvVector<3>(2.0, 3.0, 4.0) * qvVector<3>(5.0, -7.0, 0.5), -9.0);
}

TEST(Vector, SpaceHasThreeElements) {
    const qvVector<3> v = qvVector<3>(1.0, 2.0, 3.0) * 2.0 - qvVector<3>(0.0, 1.0, 5.0);
    EXPECT_EQ(v[0], 2.0);
    EXPECT_EQ(v[1], 3.0);
    EXPECT_EQ(v[2], 1.0);
    EXPECT_EQ(qvVector<3>(2.0, 3.0, 6.0).len(), 7.0);
}

TEST(Vector, LengthAndDistance) {
    EXPECT_EQ(qvVector<2>(5.0, -12.0).len(), 13.0);
    EXPECT_EQ(qvVector<2>(100.0, 7.0).distance(qvVector<2>(92.0, 22.0)), 17.0);
}

TEST(Vector, AngleIsTheArcTangentOfTheElements) {
    EXPECT_DOUBLE_EQ(qvDegree(qvVector<2>(1.0, 2.0).angle()).toDouble(), 63.43494882292201);
    EXPECT_DOUBLE_EQ(qvDegree(qvVector<2>(-3.0, -3.0).angle()).toDouble(), -135.0);
    EXPECT_EQ(qvVector<2>(-1.0, 0.0).angle().toDouble(), qvPi);
    EXPECT_EQ(qvVector<2>(-1.0, -0.0).angle().toDouble(), -qvPi);
    EXPECT_EQ(qvVector<2>().angle().toDouble(), 0.0);
}

TEST(Vector, OppositeOfZeroIsNotANegativeZero) {
    EXPECT_EQ((-qvVector<2>(1.0, 0.0)).angle().toDouble(), qvPi);
    EXPECT_FALSE(std::signbit((-qvVector<2>(1.0, 0.0)).y()));
}

TEST(Vector, UnitHasLengthOneInTheSameDirection) {
    EXPECT_DOUBLE_EQ(qvVector<2>(-30.0, 40.0).unit().x(), -0.6);
    EXPECT_DOUBLE_EQ(qvVector<2>(-30.0, 40.0).unit().y(), 0.8);
    EXPECT_EQ(qvVector<2>(0.0, -1e-9).unit(), qvVector<2>(0.0, -1.0));
}

TEST(Vector, UnitOfWhatHasNoDirectionIsTheXAxis) {
    EXPECT_EQ(qvVector<2>().unit(), qvVector<2>(1.0, 0.0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(qvVector<2>(nan, 1.0).unit(), qvVector<2>(1.0, 0.0));
}

TEST(Vector, EqualityComparesEveryElementAndNeverHoldsForNaN) {
    EXPECT_TRUE(qvVector<2>(1.0, 2.0) == qvVector<2>(1.0, 2.0));
    EXPECT_TRUE(qvVector<2>(1.0, 2.0) != qvVector<2>(1.0, 2.5));
    EXPECT_TRUE(qvVector<2>(1.0, 2.0) != qvVector<2>(1.5, 2.0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(qvVector<2>(nan, 2.0) == qvVector<2>(nan, 2.0));
}

}  // namespace
