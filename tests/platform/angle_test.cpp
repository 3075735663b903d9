#include "qvstreet/platform/angle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

static_assert(!std::is_convertible_v<double, qvRadian> && !std::is_convertible_v<double, qvDegree>);
static_assert(std::is_convertible_v<qvDegree, qvRadian> && std::is_convertible_v<qvRadian, qvDegree>);
static_assert(qvDegree(qvRadian(qvPi)).toDouble() == 180.0, "conversion works at compile time");

TEST(Angle, DefaultIsZero) {
    EXPECT_EQ(qvRadian().toDouble(), 0.0);
    EXPECT_EQ(qvDegree().toDouble(), 0.0);
}

TEST(Angle, DegreesConvertToRadians) {
    EXPECT_DOUBLE_EQ(qvRadian(qvDegree(30.0)).toDouble(), 0.52359877559829887);
    EXPECT_DOUBLE_EQ(qvRadian(qvDegree(-117.0)).toDouble(), -2.0420352248333655);
}

TEST(Angle, RadiansConvertToDegrees) {
    EXPECT_DOUBLE_EQ(qvDegree(qvRadian(1.0)).toDouble(), 57.295779513082323);
    EXPECT_DOUBLE_EQ(qvDegree(qvRadian(-0.25)).toDouble(), -14.323944878270581);
}

TEST(Angle, EighthsOfATurnSurviveTheRoundTripExactly) {
    for (double degrees = -360.0; degrees <= 360.0; degrees += 45.0)
        EXPECT_EQ(qvDegree(qvRadian(qvDegree(degrees))).toDouble(), degrees);
}

TEST(Angle, NothingFoldsUnasked) {
    EXPECT_EQ(qvDegree(725.0).toDouble(), 725.0);
    EXPECT_EQ((qvDegree(200.0) + qvDegree(300.0)).toDouble(), 500.0);
    EXPECT_EQ((qvDegree(-200.0) - qvDegree(300.0)).toDouble(), -500.0);
    EXPECT_DOUBLE_EQ(qvRadian(qvDegree(720.0)).toDouble(), 12.566370614359172);
    EXPECT_NE(qvDegree(360.0), qvDegree(0.0));
}

TEST(Angle, SumsKeepTheUnitOfTheLeftOperand) {
    const qvDegree degrees = qvDegree(10.0) + qvRadian(qvPi / 2.0);
    EXPECT_DOUBLE_EQ(degrees.toDouble(), 100.0);
    const qvRadian radians = qvRadian(1.0) + qvDegree(90.0);
    EXPECT_DOUBLE_EQ(radians.toDouble(), 2.5707963267948966);
    EXPECT_DOUBLE_EQ((qvRadian(1.0) - qvDegree(90.0)).toDouble(), -0.57079632679489661);
    EXPECT_EQ((-qvRadian(0.75)).toDouble(), -0.75);
    EXPECT_EQ((-qvDegree(-12.0)).toDouble(), 12.0);
}

TEST(Angle, NormFoldsDegreesFromZeroUpToButNotIncluding360) {
    EXPECT_EQ(qvDegree(0.0).norm().toDouble(), 0.0);
    EXPECT_EQ(qvDegree(359.5).norm().toDouble(), 359.5);
    EXPECT_EQ(qvDegree(360.0).norm().toDouble(), 0.0);
    EXPECT_EQ(qvDegree(725.0).norm().toDouble(), 5.0);
    EXPECT_EQ(qvDegree(-90.0).norm().toDouble(), 270.0);
    EXPECT_EQ(qvDegree(-725.0).norm().toDouble(), 355.0);
}

TEST(Angle, NormNeverGivesAFullTurnForATinyNegativeAngle) {
    EXPECT_EQ(qvDegree(-1e-300).norm().toDouble(), 0.0);
    EXPECT_EQ(qvRadian(-1e-300).norm().toDouble(), 0.0);
    EXPECT_LT(qvRadian(-1e-15).norm().toDouble(), qvTwoPi);
}

TEST(Angle, SignedNormFoldsDegreesFromMinus180UpToButNotIncluding180) {
    EXPECT_EQ(qvDegree(179.5).signedNorm().toDouble(), 179.5);
    EXPECT_EQ(qvDegree(180.0).signedNorm().toDouble(), -180.0);
    EXPECT_EQ(qvDegree(-180.0).signedNorm().toDouble(), -180.0);
    EXPECT_EQ(qvDegree(-180.5).signedNorm().toDouble(), 179.5);
    EXPECT_EQ(qvDegree(270.0).signedNorm().toDouble(), -90.0);
    EXPECT_EQ(qvDegree(540.0).signedNorm().toDouble(), -180.0);
    EXPECT_EQ(qvDegree(-541.0).signedNorm().toDouble(), 179.0);
    EXPECT_EQ(qvDegree(-1e-300).signedNorm().toDouble(), -1e-300);
}

TEST(Angle, NormsFoldRadiansLikewise) {
    EXPECT_EQ(qvRadian(qvTwoPi).norm().toDouble(), 0.0);
    EXPECT_DOUBLE_EQ(qvRadian(-1.0).norm().toDouble(), 5.2831853071795862);
    EXPECT_DOUBLE_EQ(qvRadian(7.0).norm().toDouble(), 0.71681469282041377);
    EXPECT_EQ(qvRadian(qvPi).signedNorm().toDouble(), -qvPi);
    EXPECT_EQ(qvRadian(-qvPi).signedNorm().toDouble(), -qvPi);
    EXPECT_DOUBLE_EQ(qvRadian(4.0).signedNorm().toDouble(), -2.2831853071795862);
    EXPECT_DOUBLE_EQ(qvRadian(-4.0).signedNorm().toDouble(), 2.2831853071795862);
}

TEST(Angle, NormsGiveNoNegativeZero) {
    EXPECT_FALSE(std::signbit(qvDegree(-360.0).norm().toDouble()));
    EXPECT_FALSE(std::signbit(qvDegree(-360.0).signedNorm().toDouble()));
    EXPECT_FALSE(std::signbit(qvRadian(-0.0).norm().toDouble()));
}

TEST(Angle, NormsOfWhatIsNotFiniteAreNaN) {
    for (const double value : {kInfinity, -kInfinity, kNaN}) {
        EXPECT_TRUE(std::isnan(qvDegree(value).norm().toDouble()));
        EXPECT_TRUE(std::isnan(qvRadian(value).signedNorm().toDouble()));
    }
}

TEST(Angle, CosineAndSineTakeEitherUnit) {
    EXPECT_DOUBLE_EQ(qfCos(qvDegree(60.0)), 0.5);
    EXPECT_DOUBLE_EQ(qfSin(qvDegree(-30.0)), -0.5);
    EXPECT_DOUBLE_EQ(qfCos(qvRadian(1.0)), 0.54030230586813977);
    EXPECT_DOUBLE_EQ(qfSin(qvRadian(1.0)), 0.8414709848078965);
}

TEST(Angle, EqualityComparesTheNumbers) {
    EXPECT_TRUE(qvDegree(12.0) == qvDegree(12.0));
    EXPECT_TRUE(qvRadian(1.0) != qvRadian(1.5));
    EXPECT_FALSE(qvRadian(kNaN) == qvRadian(kNaN));
}

}  // namespace
