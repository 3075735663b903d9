#include "qvstreet/candidates/four_line_crosses.h"

#include <gtest/gtest.h>

#include <vector>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/candidates/literal_cross.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

/// The streets of `unevenCross`, their edges running through: y = 200, y = 220, x = 100, x = 130.
std::vector<LiteralLine> longCross() {
    return {{15.0, 200.0, 390.0, 200.0},
            {5.0, 220.0, 380.0, 220.0},
            {100.0, 10.0, 100.0, 290.0},
            {130.0, 20.0, 130.0, 280.0}};
}

}  // namespace

TEST(TrimSegment, TheInnerEndMovesToTheFoot) {
    qvLineSeg segment(qvVector<2>(100.0, 10.0), qvVector<2>(100.0, 290.0));
    trimSegment(segment, qvVector<2>(104.0, 220.0), qvVector<2>(103.0, 200.0), 8.0);
    // (103, 200) lies beside the segment; the second end is inner.
    EXPECT_EQ(segment, qvLineSeg(qvVector<2>(100.0, 10.0), qvVector<2>(100.0, 200.0)));
    segment = qvLineSeg(qvVector<2>(100.0, 10.0), qvVector<2>(100.0, 290.0));
    trimSegment(segment, qvVector<2>(104.0, 200.0), qvVector<2>(103.0, 220.0), 8.0);
    EXPECT_EQ(segment, qvLineSeg(qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 290.0)));
}

TEST(TrimSegment, TheFootMayLieBeyondTheOuterEnd) {
    // Seen from slantwise, the first end is inner although its foot lies beyond the second.
    qvLineSeg segment(qvVector<2>(0.0, 0.0), qvVector<2>(10.0, 0.0));
    trimSegment(segment, qvVector<2>(11.0, -9.0), qvVector<2>(12.0, -8.0), 8.0);
    EXPECT_EQ(segment, qvLineSeg(qvVector<2>(12.0, 0.0), qvVector<2>(10.0, 0.0)));
}

TEST(TrimSegment, WithoutInnerEndNothingChanges) {
    const qvLineSeg outside(qvVector<2>(100.0, 10.0), qvVector<2>(100.5, 190.0));
    qvLineSeg segment = outside;
    trimSegment(segment, qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 200.0), 8.0);
    EXPECT_EQ(segment, outside);
}

TEST(TrimSegment, AnEndAtTheAnchorIsNotInner) {
    const qvLineSeg touching(qvVector<2>(100.0, 10.0), qvVector<2>(100.0, 200.0));
    qvLineSeg segment = touching;
    trimSegment(segment, qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 200.0), 8.0);
    EXPECT_EQ(segment, touching);
    // From the anchor inwards one end is inner, and the segment shrinks to the anchor.
    segment = qvLineSeg(qvVector<2>(100.0, 200.0), qvVector<2>(100.0, 215.0));
    trimSegment(segment, qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 200.0), 8.0);
    EXPECT_EQ(segment, qvLineSeg(qvVector<2>(100.0, 200.0), qvVector<2>(100.0, 200.0)));
}

TEST(TrimSegment, AnEndSquareToTheAnchorIsNotInner) {
    const qvLineSeg beside(qvVector<2>(90.0, 200.0), qvVector<2>(100.0, 190.0));
    qvLineSeg segment = beside;
    trimSegment(segment, qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 200.0), 8.0);
    EXPECT_EQ(segment, beside);
}

TEST(TrimSegment, BothEndsInnerLeaveAStubOfATenthPointingOutwards) {
    qvLineSeg segment(qvVector<2>(100.0, 205.0), qvVector<2>(100.0, 290.0));
    trimSegment(segment, qvVector<2>(100.0, 220.0), qvVector<2>(100.0, 200.0), 8.0);
    EXPECT_EQ(segment.p1(), qvVector<2>(100.0, 200.0));
    expectNear(segment.p2(), 100.0, 199.2, 1e-12);
    // The other way round, and whichever end comes first.
    segment = qvLineSeg(qvVector<2>(100.0, 215.0), qvVector<2>(100.0, 50.0));
    trimSegment(segment, qvVector<2>(100.0, 200.0), qvVector<2>(100.0, 220.0), 8.0);
    EXPECT_EQ(segment.p1(), qvVector<2>(100.0, 220.0));
    expectNear(segment.p2(), 100.0, 220.8, 1e-12);
}

TEST(TrimSegment, TheStubFollowsTheStreetAndNotTheSegment) {
    // toward - anchor is 25 times (0.6, 0.8); the foot of the anchor on the segment's line is (10, 7).
    qvLineSeg segment(qvVector<2>(20.0, 7.0), qvVector<2>(40.0, 7.0));
    trimSegment(segment, qvVector<2>(25.0, 25.0), qvVector<2>(10.0, 5.0), 5.0);
    EXPECT_EQ(segment.p1(), qvVector<2>(10.0, 7.0));
    expectNear(segment.p2(), 9.7, 6.6, 1e-12);
}

TEST(TrimSegment, EqualCornersLeaveTheSegment) {
    const qvLineSeg kept(qvVector<2>(20.0, 7.0), qvVector<2>(40.0, 9.0));
    qvLineSeg segment = kept;
    trimSegment(segment, qvVector<2>(30.0, 8.0), qvVector<2>(30.0, 8.0), 5.0);
    EXPECT_EQ(segment, kept);
}

TEST(TrimAllSegments, CutsEachArmAtItsOwnCorner) {
    CrossResult result;
    fitCanonicalCross(candidateOfKeys({2, 3, 2, 3, 0, 0, 1, 1}), flatLines(longCross()), result, false);
    trimAllSegments(result, 8.0);
    const std::vector<qvLineSeg>& segments = result.lineSegs();
    ASSERT_EQ(segments.size(), 8u);
    expectSegment(segments[0], 100.0, 10.0, 100.0, 200.0);
    expectSegment(segments[1], 130.0, 20.0, 130.0, 200.0);
    expectSegment(segments[2], 100.0, 220.0, 100.0, 290.0);
    expectSegment(segments[3], 130.0, 220.0, 130.0, 280.0);
    expectSegment(segments[4], 15.0, 200.0, 100.0, 200.0);
    expectSegment(segments[5], 130.0, 200.0, 390.0, 200.0);
    expectSegment(segments[6], 5.0, 220.0, 100.0, 220.0);
    expectSegment(segments[7], 130.0, 220.0, 380.0, 220.0);
}

TEST(TrimAllSegments, AnotherNumberOfSegmentsThanEightIsABrokenPromise) {
    CrossResult result;
    EXPECT_THROW(trimAllSegments(result, 8.0), qvInvariantFailure);
    EXPECT_THROW(retrimSegments(result, 8.0), qvInvariantFailure);
}

TEST(RetrimSegments, CutsAtTheOldCornersAndThenFitsAnew) {
    CrossResult result;
    fitCanonicalCross(candidateOfKeys({2, 3, 2, 3, 0, 0, 1, 1}), flatLines(longCross()), result, false);
    qv_streetResultAccess::score(result) = 0.25;
    // The left upper arm now runs at x = 104 and reaches below the crossing.
    qv_streetResultAccess::lineSegs(result)[0] = qvLineSeg(qvVector<2>(104.0, 10.0), qvVector<2>(104.0, 290.0));
    retrimSegments(result, 8.0);
    expectSegment(result.lineSegs()[0], 104.0, 10.0, 104.0, 200.0);
    expectSegment(result.lineSegs()[2], 100.0, 220.0, 100.0, 290.0);
    EXPECT_GT(result.ulCorner().x(), 100.5);
    EXPECT_LT(result.ulCorner().x(), 104.0);
    EXPECT_EQ(result.score(), 0.25);
}
