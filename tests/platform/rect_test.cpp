#include "qvstreet/platform/rect.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr long kLowest = -2147483647L - 1L;
constexpr long kHighest = 2147483647L;

static_assert(std::is_base_of_v<qvRectangle<long>, qvPelRect>);
static_assert(std::is_same_v<decltype(std::declval<const qvPelRect&>().ul()), const qvPair<long>&>);
static_assert(std::is_same_v<decltype(std::declval<const qvPelRect&>().lr()), const qvPair<long>&>);

void expectNear(const qvVector<2>& actual, double x, double y) {
    EXPECT_NEAR(actual.x(), x, 1e-12);
    EXPECT_NEAR(actual.y(), y, 1e-12);
}

TEST(Rectangle, CornersAreHalfOpen) {
    const qvPelRect rect(3, -5, 40, 20);
    EXPECT_EQ(rect.ul(), qvPair<long>(3, -5));
    EXPECT_EQ(rect.lr(), qvPair<long>(43, 15));
    EXPECT_EQ(rect.ur(), qvPair<long>(43, -5));
    EXPECT_EQ(rect.ll(), qvPair<long>(3, 15));
    EXPECT_EQ(rect.width(), 40);
    EXPECT_EQ(rect.height(), 20);
    EXPECT_EQ(rect.size(), qvPair<long>(40, 20));
}

TEST(Rectangle, DefaultIsEmptyAtTheOrigin) {
    const qvPelRect rect;
    EXPECT_EQ(rect.ul(), qvPair<long>(0, 0));
    EXPECT_EQ(rect.width(), 0);
    EXPECT_EQ(rect.height(), 0);
    EXPECT_EQ(rect, qvPelRect(0, 0, 0, 0));
}

TEST(Rectangle, EqualityComparesCornerAndSize) {
    EXPECT_TRUE(qvPelRect(1, 2, 3, 4) == qvPelRect(1, 2, 3, 4));
    EXPECT_TRUE(qvPelRect(1, 2, 3, 4) != qvPelRect(0, 2, 3, 4));
    EXPECT_TRUE(qvPelRect(1, 2, 3, 4) != qvPelRect(1, 0, 3, 4));
    EXPECT_TRUE(qvPelRect(1, 2, 3, 4) != qvPelRect(1, 2, 5, 4));
    EXPECT_TRUE(qvPelRect(1, 2, 3, 4) != qvPelRect(1, 2, 3, 5));
}

TEST(Rectangle, OfDoublesKeepsFractions) {
    const qvRectangle<double> rect(0.5, 1.25, 2.0, 3.5);
    EXPECT_EQ(rect.lr(), qvPair<double>(2.5, 4.75));
    EXPECT_EQ(rect.size(), qvPair<double>(2.0, 3.5));
}

TEST(Rectangle, NegativeSizesAreKept) {
    const qvPelRect rect(10, 10, -4, -20);
    EXPECT_EQ(rect.width(), -4);
    EXPECT_EQ(rect.lr(), qvPair<long>(6, -10));
}

TEST(Rectangle, LowerRightCornerSaturatesAndTheSizeStays) {
    const qvPelRect rect(kHighest - 3, kLowest + 3, 10, -20);
    EXPECT_EQ(rect.lr(), qvPair<long>(kHighest, kLowest));
    EXPECT_EQ(rect.size(), qvPair<long>(10, -20));
    EXPECT_NE(rect, qvPelRect(kHighest - 3, kLowest + 3, 11, -20));
}

#if LONG_MAX > 2147483647L
TEST(Rectangle, NumbersSaturateTo32BitsOnEntry) {
    const qvPelRect rect(1L << 40, -(1L << 40), 1L << 35, std::numeric_limits<long>::min());
    EXPECT_EQ(rect.ul(), qvPair<long>(kHighest, kLowest));
    EXPECT_EQ(rect.size(), qvPair<long>(kHighest, kLowest));
    EXPECT_EQ(qvRectangle<long>(1L << 62, 0, 1L << 62, 7).lr(), qvPair<long>(kHighest, 7));
}
#endif

TEST(AffineRectangle, DefaultIsEmpty) {
    const qvAffineRectangle rect;
    EXPECT_EQ(rect.cornerPo(), qvVector<2>());
    EXPECT_EQ(rect.xLength(), 0.0);
    EXPECT_EQ(rect.yLength(), 0.0);
}

TEST(AffineRectangle, UprightAboutItsCentreHasExactCorners) {
    const qvAffineRectangle rect(qvVector<2>(10.0, 20.0), 8.0, 6.0, qvRadian(0.0), qvRadian(0.0));
    EXPECT_EQ(rect.cornerPo(), qvVector<2>(6.0, 17.0));
    EXPECT_EQ(rect.cornerPx(), qvVector<2>(14.0, 17.0));
    EXPECT_EQ(rect.cornerPy(), qvVector<2>(6.0, 23.0));
    EXPECT_EQ(rect.cornerPopp(), qvVector<2>(14.0, 23.0));
}

TEST(AffineRectangle, RotationTurnsTheXSideAndTheYSideFollows90DegreesOn) {
    const qvAffineRectangle rect(qvVector<2>(10.0, 20.0), 8.0, 6.0, qvDegree(90.0), qvRadian(0.0));
    expectNear(rect.cornerPo(), 13.0, 16.0);
    expectNear(rect.cornerPx(), 13.0, 24.0);
    expectNear(rect.cornerPy(), 7.0, 16.0);
    const qvAffineRectangle leaning(qvVector<2>(0.0, 0.0), 10.0, 5.0, qvVector<2>(4.0, 3.0).angle(), qvRadian(0.0));
    expectNear(leaning.xSide(), 8.0, 6.0);
    expectNear(leaning.ySide(), -3.0, 4.0);
    expectNear(leaning.cornerPo(), -2.5, -5.0);
}

TEST(AffineRectangle, SkewTurnsTheYSideFurther) {
    const qvAffineRectangle rect(qvVector<2>(10.0, 20.0), 8.0, 6.0, qvRadian(0.0), qvDegree(30.0));
    expectNear(rect.xSide(), 8.0, 0.0);
    expectNear(rect.ySide(), -3.0, 5.196152422706632);
    expectNear(rect.cornerPo(), 7.5, 17.401923788646684);
    const qvAffineRectangle both(qvVector<2>(), 8.0, 6.0, qvDegree(60.0), qvDegree(-30.0));
    expectNear(both.ySide(), -3.0, 5.196152422706632);
}

TEST(AffineRectangle, LengthsAreExactlyThoseItWasMadeWith) {
    for (const double turn : {0.0, 0.3, 1.0, 33.0, 90.0, 123.4, -179.9}) {
        const qvAffineRectangle rect(qvVector<2>(1e6, -2e6), 1024.1, 0.7, qvDegree(turn), qvDegree(-1.9));
        EXPECT_EQ(rect.xLength(), 1024.1) << turn;
        EXPECT_EQ(rect.yLength(), 0.7) << turn;
    }
}

TEST(AffineRectangle, NegativeLengthReversesItsSide) {
    const qvAffineRectangle rect(qvVector<2>(10.0, 20.0), -8.0, 6.0, qvRadian(0.0), qvRadian(0.0));
    EXPECT_EQ(rect.cornerPo(), qvVector<2>(14.0, 17.0));
    EXPECT_EQ(rect.cornerPx(), qvVector<2>(6.0, 17.0));
    EXPECT_EQ(rect.xLength(), -8.0);
}

TEST(AffineRectangle, FromThreeCornersMeasuresItsSides) {
    const qvAffineRectangle rect(qvVector<2>(1.0, 2.0), qvVector<2>(4.0, 6.0), qvVector<2>(-11.0, 7.0));
    EXPECT_EQ(rect.cornerPo(), qvVector<2>(1.0, 2.0));
    EXPECT_EQ(rect.xLength(), 5.0);
    EXPECT_EQ(rect.yLength(), 13.0);
    EXPECT_EQ(rect.xSide(), qvVector<2>(3.0, 4.0));
    EXPECT_EQ(rect.ySide(), qvVector<2>(-12.0, 5.0));
    EXPECT_EQ(rect.cornerPopp(), qvVector<2>(-8.0, 11.0));
}

TEST(AffineRectangle, FromThreeCornersMayBeMirrored) {
    const qvAffineRectangle rect(qvVector<2>(1.0, 2.0), qvVector<2>(1.0, 9.0), qvVector<2>(4.0, 2.0));
    EXPECT_EQ(rect.xSide(), qvVector<2>(0.0, 7.0));
    EXPECT_EQ(rect.ySide(), qvVector<2>(3.0, 0.0));
    EXPECT_EQ(rect.xLength(), 7.0);
}

TEST(GraphicsRect, KeepsCornerAndSize) {
    const qvRect rect(qvVector<2>(1.0, 2.0), qvVector<2>(30.0, 4.0));
    EXPECT_EQ(rect.corner(), qvVector<2>(1.0, 2.0));
    EXPECT_EQ(rect.size(), qvVector<2>(30.0, 4.0));
    EXPECT_EQ(qvRect().size(), qvVector<2>());
}

TEST(Range, KeepsTheOrderOfConstruction) {
    const qvRange range(9.0, -4.0);
    EXPECT_EQ(range.start(), 9.0);
    EXPECT_EQ(range.end(), -4.0);
    EXPECT_EQ(qvRange().start(), 0.0);
    EXPECT_EQ(qvRange().end(), 0.0);
}

TEST(EllipseAnnulusSection, UnitSquareRunsAlongTheAngleAndTheRadius) {
    const qvEllipseAnnulusSection section(qvVector<2>(10.0, 20.0), 2.0, 5.0, qvDegree(-90.0), qvDegree(90.0), true,
                                          true, true);
    EXPECT_EQ(section.center(), qvVector<2>(10.0, 20.0));
    expectNear(section.mapFromUnitSq(qvVector<2>(0.0, 0.0)), 10.0, 18.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(0.0, 1.0)), 10.0, 15.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(0.5, 0.0)), 12.0, 20.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(1.0, 1.0)), 10.0, 25.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(0.75, 0.5)), 12.474873734152917, 22.474873734152917);
}

TEST(EllipseAnnulusSection, NeitherAnglesNorRadiiAreFoldedOrExchanged) {
    const qvEllipseAnnulusSection section(qvVector<2>(0.0, 0.0), 8.0, 4.0, qvDegree(270.0), qvDegree(-90.0), true, true,
                                          true);
    expectNear(section.mapFromUnitSq(qvVector<2>(0.25, 0.0)), -8.0, 0.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(0.5, 0.25)), 0.0, 7.0);
    expectNear(section.mapFromUnitSq(qvVector<2>(1.25, 2.0)), 0.0, 0.0);
}

TEST(ToInteger, FloorGoesDown) {
    EXPECT_EQ(qfIFloor(2.9), 2);
    EXPECT_EQ(qfIFloor(-2.1), -3);
    EXPECT_EQ(qfIFloor(-3.0), -3);
    EXPECT_EQ(qfIFloor(-0.0), 0);
}

TEST(ToInteger, TruncationGoesTowardsZero) {
    EXPECT_EQ(qfTruncate(2.9), 2);
    EXPECT_EQ(qfTruncate(-2.9), -2);
    EXPECT_EQ(qfTruncate(-0.9), 0);
}

TEST(ToInteger, SaturatesAtTheLimitsOf32Bits) {
    EXPECT_EQ(qfTruncate(2147483646.9), 2147483646L);
    EXPECT_EQ(qfTruncate(2147483647.5), kHighest);
    EXPECT_EQ(qfTruncate(1e300), kHighest);
    EXPECT_EQ(qfTruncate(-2147483648.5), kLowest);
    EXPECT_EQ(qfIFloor(-2147483647.5), kLowest);
    EXPECT_EQ(qfTruncate(-kInfinity), kLowest);
    EXPECT_EQ(qfIFloor(kInfinity), kHighest);
    EXPECT_EQ(qfIFloor(-1e300), kLowest);
}

TEST(ToInteger, NaNIsZero) {
    EXPECT_EQ(qfIFloor(kNaN), 0);
    EXPECT_EQ(qfTruncate(kNaN), 0);
}

TEST(ToInteger, Saturate32BringsIntegersIntoTheRange) {
    static_assert(qfSaturate32(std::int64_t{1} << 40) == kHighest);
    EXPECT_EQ(qfSaturate32(-(std::int64_t{1} << 40)), kLowest);
    EXPECT_EQ(qfSaturate32(std::int64_t{kHighest} + 1), kHighest);
    EXPECT_EQ(qfSaturate32(kHighest), kHighest);
    EXPECT_EQ(qfSaturate32(kLowest), kLowest);
    EXPECT_EQ(qfSaturate32(-7), -7);
}

}  // namespace
