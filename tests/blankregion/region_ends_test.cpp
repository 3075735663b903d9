#include "qvstreet/blankregion/region_ends.h"

#include <gtest/gtest.h>

#include "qvstreet/platform/pel_ops.h"

// The caliper compares the means of 2 columns on each side of an edge, so a step between columns 9 and 10 is an edge at
// exactly 10. Foreground levels in the tests and what the map makes of them:
//
//     level      0 .. 5    6    7    8    9   10   11   12 .. 255
//     mapped          0   36   73  109  146  182  219         255

namespace {

/// A foreground image, blank to begin with.
class Foreground {
 public:
    Foreground(long width, long height) : image_(width, height, 32) { qfPelSet(image_, static_cast<unsigned char>(0)); }
    Foreground& columns(long begin, long end, unsigned char level) {
        return box(begin, end, 0, image_.height(), level);
    }
    Foreground& box(long begin, long end, long top, long bottom, unsigned char level) {
        for (long y = top; y < bottom; ++y)
            for (long x = begin; x < end; ++x) image_.put(x, y, level);
        return *this;
    }
    qvPelRect refine(const qvPelRect& region) const {
        qvPelRect refined = region;
        refineRegionEnds(image_, refined, nullptr, 0);
        return refined;
    }
    qvPelBuffer<unsigned char>& image() { return image_; }

 private:
    qvPelBuffer<unsigned char> image_;
};

TEST(RegionEnds, WithoutEdgesTheRightEndStaysAndTheLeftMovesInByOnePel) {
    EXPECT_EQ(Foreground(60, 12).refine(qvPelRect(12, 2, 36, 8)), qvPelRect(13, 2, 35, 8));
    EXPECT_EQ(Foreground(60, 12).refine(qvPelRect(0, 0, 60, 12)), qvPelRect(1, 0, 59, 12));
}

TEST(RegionEnds, EndsMoveToAFallAtTheLeftAndARiseAtTheRight) {
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 255).columns(50, 60, 255).refine(qvPelRect(12, 2, 36, 8)),
              qvPelRect(11, 2, 39, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 15, 255).columns(43, 60, 255).refine(qvPelRect(12, 3, 36, 7)),
              qvPelRect(16, 3, 27, 7));
}

TEST(RegionEnds, LeftEndIsTheFloorPlusOneAndTheRightEndTheFloor) {
    // A column of 109 between 255 and 0: strengths -73, -200.5, -182 at boundaries 9, 10, 11, an edge at 10.37.
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 255).columns(10, 11, 8).refine(qvPelRect(12, 2, 36, 8)),
              qvPelRect(11, 2, 37, 8));
    // A column of 146 instead: strengths -54.5, -182, -200.5 at boundaries 9, 10, 11, an edge at 10.63.
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 255).columns(10, 11, 9).refine(qvPelRect(12, 2, 36, 8)),
              qvPelRect(11, 2, 37, 8));
    // The same two at the right end: edges at 49.37 and 49.63.
    EXPECT_EQ(Foreground(60, 12).columns(50, 60, 255).columns(49, 50, 9).refine(qvPelRect(12, 2, 36, 8)),
              qvPelRect(13, 2, 36, 8));
    EXPECT_EQ(Foreground(60, 12).columns(50, 60, 255).columns(49, 50, 8).refine(qvPelRect(12, 2, 36, 8)),
              qvPelRect(13, 2, 36, 8));
    // Half a pel of centre: the caliper is 53 pels long, the edge stays at a whole pel.
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 255).refine(qvPelRect(12, 2, 35, 8)), qvPelRect(11, 2, 36, 8));
}

TEST(RegionEnds, RiseAtTheLeftAndFallAtTheRightAreNoEnds) {
    EXPECT_EQ(Foreground(60, 12).columns(10, 50, 255).refine(qvPelRect(12, 2, 36, 8)), qvPelRect(13, 2, 35, 8));
}

// Fall of 109 at 12, fall of 146 at 18, rise of 73 at 50: the rise is the third.
TEST(RegionEnds, OnlyTheTwoStrongestEdgesOfAllAreConsidered) {
    EXPECT_EQ(
        Foreground(80, 12).columns(0, 12, 255).columns(12, 18, 9).columns(50, 80, 7).refine(qvPelRect(14, 2, 34, 8)),
        qvPelRect(13, 2, 35, 8));
    // Without the middle step the rise is the second.
    EXPECT_EQ(Foreground(80, 12).columns(0, 12, 255).columns(50, 80, 7).refine(qvPelRect(14, 2, 34, 8)),
              qvPelRect(13, 2, 37, 8));
}

TEST(RegionEnds, OfTwoFallsTheNearerToTheOldEndIsTaken) {
    EXPECT_EQ(Foreground(80, 12).columns(0, 12, 255).columns(12, 18, 9).refine(qvPelRect(14, 2, 34, 8)),
              qvPelRect(13, 2, 35, 8));
    EXPECT_EQ(Foreground(80, 12).columns(0, 12, 255).columns(12, 18, 9).refine(qvPelRect(17, 2, 31, 8)),
              qvPelRect(19, 2, 29, 8));
}

// Fall at 10, rise at 30, fall at 34, rise at 50, all of 255: the first two count, although 50 is the nearer rise.
TEST(RegionEnds, EqualContrastsKeepTheOrderOfPosition) {
    EXPECT_EQ(Foreground(90, 12)
                  .columns(0, 10, 255)
                  .columns(30, 34, 255)
                  .columns(50, 90, 255)
                  .refine(qvPelRect(15, 2, 33, 8)),
              qvPelRect(11, 2, 19, 8));
}

TEST(RegionEnds, EdgeFartherFromTheLeftEndThanTheBorderIsRefused) {
    EXPECT_EQ(Foreground(60, 12).columns(0, 7, 255).refine(qvPelRect(3, 2, 45, 8)), qvPelRect(4, 2, 44, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 6, 255).refine(qvPelRect(3, 2, 45, 8)), qvPelRect(4, 2, 44, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 5, 255).refine(qvPelRect(3, 2, 45, 8)), qvPelRect(6, 2, 42, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 5, 255).refine(qvPelRect(0, 2, 48, 8)), qvPelRect(1, 2, 47, 8));
}

TEST(RegionEnds, EdgeFartherFromTheRightEndThanTheBorderIsRefused) {
    EXPECT_EQ(Foreground(60, 12).columns(53, 60, 255).refine(qvPelRect(12, 2, 45, 8)), qvPelRect(13, 2, 44, 8));
    EXPECT_EQ(Foreground(60, 12).columns(54, 60, 255).refine(qvPelRect(12, 2, 45, 8)), qvPelRect(13, 2, 44, 8));
    EXPECT_EQ(Foreground(60, 12).columns(55, 60, 255).refine(qvPelRect(12, 2, 45, 8)), qvPelRect(13, 2, 42, 8));
    EXPECT_EQ(Foreground(60, 12).columns(55, 60, 255).refine(qvPelRect(12, 2, 48, 8)), qvPelRect(13, 2, 47, 8));
}

TEST(RegionEnds, EdgeInsideTheRegionMayLieFartherThanTheMargin) {
    EXPECT_EQ(Foreground(90, 12).columns(0, 35, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(36, 2, 34, 8));
    EXPECT_EQ(Foreground(90, 12).columns(52, 90, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(21, 2, 31, 8));
}

// The caliper begins 9 pels before the region; 2 columns are needed before an edge and one more strength before that.
TEST(RegionEnds, EdgeMoreThanSixPelsOutsideTheRegionIsNotSeen) {
    EXPECT_EQ(Foreground(90, 12).columns(0, 14, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(15, 2, 55, 8));
    EXPECT_EQ(Foreground(90, 12).columns(0, 13, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(21, 2, 49, 8));
    EXPECT_EQ(Foreground(90, 12).columns(76, 90, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(21, 2, 55, 8));
    EXPECT_EQ(Foreground(90, 12).columns(77, 90, 255).refine(qvPelRect(20, 2, 50, 8)), qvPelRect(21, 2, 49, 8));
}

TEST(RegionEnds, WidthMayComeOutNegative) {
    EXPECT_EQ(Foreground(80, 12).columns(22, 34, 255).refine(qvPelRect(26, 2, 4, 8)), qvPelRect(35, 2, -13, 8));
}

TEST(RegionEnds, ForegroundUpTo5IsNoiseAnd6IsSeen) {
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 4).refine(qvPelRect(12, 2, 36, 8)), qvPelRect(13, 2, 35, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 5).refine(qvPelRect(12, 2, 36, 8)), qvPelRect(13, 2, 35, 8));
    EXPECT_EQ(Foreground(60, 12).columns(0, 10, 6).refine(qvPelRect(12, 2, 36, 8)), qvPelRect(11, 2, 37, 8));
}

// Fall at 10, rise at 20, fall at 24 of one level, then a rise at 50 of the next: only if that one is mapped higher, it
// comes before the others.
TEST(RegionEnds, EachForegroundLevelFrom6To12IsMappedHigherThanTheOneBefore) {
    for (unsigned char level = 6; level < 12; ++level) {
        Foreground foreground(90, 12);
        foreground.columns(0, 10, level).columns(20, 24, level);
        foreground.columns(50, 90, static_cast<unsigned char>(level + 1));
        EXPECT_EQ(foreground.refine(qvPelRect(15, 2, 33, 8)), qvPelRect(11, 2, 39, 8)) << int{level};
    }
    EXPECT_EQ(
        Foreground(90, 12).columns(0, 10, 12).columns(20, 24, 12).columns(50, 90, 13).refine(qvPelRect(15, 2, 33, 8)),
        qvPelRect(11, 2, 9, 8));
}

// A block of so many of 20 rows has the mean mapped * rows / 20; the threshold of a contrast is 5.
TEST(RegionEnds, MappedLevelsAre36And73And255) {
    // Caliper rows 4 .. 23; the mean of 36 * 2 / 20 = 3.6 is too weak, 36 * 3 / 20 = 5.4 is seen.
    const qvPelRect region(12, 2, 36, 24);
    EXPECT_EQ(Foreground(60, 30).box(0, 10, 10, 12, 6).refine(region), qvPelRect(13, 2, 35, 24));
    EXPECT_EQ(Foreground(60, 30).box(0, 10, 10, 13, 6).refine(region), qvPelRect(11, 2, 37, 24));
    // 73 / 20 = 3.65 and 146 / 20 = 7.3.
    EXPECT_EQ(Foreground(60, 30).box(0, 10, 10, 11, 7).refine(region), qvPelRect(13, 2, 35, 24));
    EXPECT_EQ(Foreground(60, 30).box(0, 10, 10, 12, 7).refine(region), qvPelRect(11, 2, 37, 24));
    EXPECT_EQ(Foreground(60, 30).box(0, 10, 10, 11, 12).refine(region), qvPelRect(11, 2, 37, 24));
}

TEST(RegionEnds, CaliperLeavesOutTwoRowsAtTopAndBottom) {
    const qvPelRect region(12, 2, 36, 8);
    const qvPelRect unmoved(13, 2, 35, 8);
    const qvPelRect moved(11, 2, 37, 8);
    EXPECT_EQ(Foreground(60, 12).box(0, 10, 0, 4, 255).refine(region), unmoved);
    EXPECT_EQ(Foreground(60, 12).box(0, 10, 8, 12, 255).refine(region), unmoved);
    EXPECT_EQ(Foreground(60, 12).box(0, 10, 4, 5, 255).refine(region), moved);
    EXPECT_EQ(Foreground(60, 12).box(0, 10, 7, 8, 255).refine(region), moved);
}

TEST(RegionEnds, CaliperIsAtLeastOneRowHigh) {
    for (const long height : {1L, 2L, 3L, 4L, 5L}) {
        // Height 1 covers row 4; 2 and 3 are centred on 5.0 and 5.5, 4 and 5 on 6.0 and 6.5.
        const long row = 4 + height / 2;
        const qvPelRect region(12, 4, 36, height);
        EXPECT_EQ(Foreground(60, 12).box(0, 10, row, row + 1, 255).refine(region), qvPelRect(11, 4, 37, height));
        EXPECT_EQ(Foreground(60, 12).box(0, 10, 0, row, 255).box(0, 10, row + 1, 12, 255).refine(region),
                  qvPelRect(13, 4, 35, height));
    }
    EXPECT_EQ(Foreground(60, 12).box(0, 10, 7, 8, 255).refine(qvPelRect(12, 4, 36, 6)), qvPelRect(11, 4, 37, 6));
}

TEST(RegionEnds, CaliperLengthIsNarrowedTo16Bits) {
    const Foreground foreground(70000, 3);
    // Lengths of the region plus 9 pels at each end.
    EXPECT_EQ(foreground.refine(qvPelRect(100, 0, 32767 - 18, 3)), qvPelRect(101, 0, 32767 - 19, 3));
    EXPECT_THROW(foreground.refine(qvPelRect(100, 0, 32768 - 18, 3)), qvPel::BadSize);
    EXPECT_THROW(foreground.refine(qvPelRect(100, 0, 40000, 3)), qvPel::BadSize);
    EXPECT_THROW(foreground.refine(qvPelRect(100, 0, 65536 - 18, 3)), qvPel::BadSize);
    EXPECT_EQ(foreground.refine(qvPelRect(0, 0, 70000, 3)), qvPelRect(1, 0, 69999, 3));

    // One sample sees no edge, wherever there is one.
    Foreground structure(70000, 3);
    structure.columns(0, 3000, 255);
    EXPECT_EQ(structure.refine(qvPelRect(2990, 0, 65537 - 18, 3)), qvPelRect(2991, 0, 65536 - 18, 3));
    // 70000 pels from column 9000 on are 4464 samples, 15.681 pels apart. The last of them before column 15000 is the
    // 383rd, so the fall lies at 9000 + 383 * 15.681 = 15005.8.
    Foreground wide(100000, 3);
    wide.columns(0, 15000, 255);
    EXPECT_EQ(wide.refine(qvPelRect(9009, 0, 70000 - 18, 3)), qvPelRect(15006, 0, 63985, 3));
}

TEST(RegionEnds, OffsetOfTheForegroundPlaysNoPart) {
    Foreground foreground(60, 12);
    foreground.columns(0, 10, 255).columns(50, 60, 255);
    foreground.image().offset(1000, -70);
    EXPECT_EQ(foreground.refine(qvPelRect(12, 2, 36, 8)), qvPelRect(11, 2, 39, 8));
}

TEST(RegionEnds, WindowOfALargerForegroundIsNotLeft) {
    Foreground foreground(80, 20);
    foreground.columns(0, 25, 255).columns(65, 80, 255);
    qvPelBuffer_const<unsigned char> part = foreground.image();
    part.window(15, 3, 60, 12, false);
    qvPelRect region(12, 2, 36, 8);
    refineRegionEnds(part, region, nullptr, 0);
    EXPECT_EQ(region, qvPelRect(11, 2, 39, 8));
}

}  // namespace
