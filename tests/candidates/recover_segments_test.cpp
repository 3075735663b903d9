#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "qvstreet/candidates/final_selection.h"
#include "tests/candidates/scored_cross.h"

using qvtest::bareLine;
using qvtest::crossTolerances;
using qvtest::crossWith;
using qvtest::kCrossSegments;
using qvtest::scoredCross;
using qvtest::seg;

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;
using LineSets = std::vector<std::vector<qvLineFinderResults>>;

constexpr double kStubLimit = 0.5;
constexpr double kSearchLimit = 3.0;

qvLineFinderResults line(double x1, double y1, double x2, double y2) {
    return bareLine(qvVector<2>(x1, y1), qvVector<2>(x2, y2));
}

/// A quarter of a unit outwards from the corner, in place of segment i.
qvLineSeg stubOf(std::size_t i) {
    const auto& s = kCrossSegments[i];
    const bool outerIsFirst = i < 2 || i == 4 || i == 6;
    const qvVector<2> inner = outerIsFirst ? qvVector<2>(s[2], s[3]) : qvVector<2>(s[0], s[1]);
    const qvVector<2> axis = i < 4 ? qvVector<2>(0.0, 0.25) : qvVector<2>(0.25, 0.0);
    return qvLineSeg(inner, outerIsFirst ? inner - axis : inner + axis);
}

void recover(CrossResult& cross, const LineSets& lines, double searchLimit = kSearchLimit,
             const qv_candidateTolerances& tolerances = crossTolerances()) {
    qv_candidateContext context;
    context.tolerances = tolerances;
    recoverSegments(cross, lines, kStubLimit, searchLimit, context);
}

/// The lower left segment of the scored cross, a stub before, after recovery among these lines of direction 1. The
/// stub begins in (95, 63) and points down; its partner lies 10 to the right.
qvLineSeg recovered(const std::vector<qvLineFinderResults>& upright, double searchLimit = kSearchLimit,
                    const qv_candidateTolerances& tolerances = crossTolerances()) {
    CrossResult cross = crossWith(2, stubOf(2));
    recover(cross, {{}, upright}, searchLimit, tolerances);
    return cross.lineSegs()[2];
}

qv_candidateTolerances widthsInX(double lower, double upper) {
    qv_candidateTolerances tolerances = crossTolerances();
    tolerances.widthLower.first = lower;
    tolerances.widthUpper.first = upper;
    return tolerances;
}

const qvLineSeg kStillAStub = seg(95.0, 63.0, 95.0, 63.25);

}  // namespace

TEST(RecoverSegments, AStubIsReplacedByALineOfTheImage) {
    EXPECT_EQ(recovered({line(95, 70, 95, 110)}), seg(95, 70, 95, 110));
    EXPECT_EQ(recovered({}), kStillAStub);
}

TEST(RecoverSegments, ASegmentAsLongAsTheLimitIsNoStub) {
    CrossResult cross = crossWith(2, seg(95, 63, 95, 63.5));
    recover(cross, {{}, {line(95, 70, 95, 110)}});
    EXPECT_EQ(cross.lineSegs()[2], seg(95, 63, 95, 63.5));
    cross = crossWith(2, seg(95, 63, 95, 63.4999));
    recover(cross, {{}, {line(95, 70, 95, 110)}});
    EXPECT_EQ(cross.lineSegs()[2], seg(95, 70, 95, 110));
}

TEST(RecoverSegments, TheGapMayReachTheSearchLimit) {
    EXPECT_EQ(recovered({line(92, 70, 92, 110)}), seg(92, 70, 92, 110));
    EXPECT_EQ(recovered({line(98, 70, 98, 110)}), seg(98, 70, 98, 110));
    EXPECT_EQ(recovered({line(91.99, 70, 91.99, 110)}), kStillAStub);
    EXPECT_EQ(recovered({line(98.01, 70, 98.01, 110)}), kStillAStub);
}

TEST(RecoverSegments, TheGapIsTheMeanOfBothEndsWithTheirSigns) {
    EXPECT_EQ(recovered({line(90, 70, 100, 110)}, 0.0), seg(90, 70, 100, 110));
    EXPECT_EQ(recovered({line(92, 70, 100, 110)}, 1.0), seg(92, 70, 100, 110));
    EXPECT_EQ(recovered({line(92, 70, 100, 110)}, 0.99), kStillAStub);
}

TEST(RecoverSegments, AWidthAtEitherBoundIsRefused) {
    // 12 from the partner on the left of the stub, 8 on the right.
    EXPECT_EQ(recovered({line(93, 70, 93, 110)}, 3.0, widthsInX(5.0, 12.0)), kStillAStub);
    EXPECT_EQ(recovered({line(93, 70, 93, 110)}, 3.0, widthsInX(5.0, 12.01)), seg(93, 70, 93, 110));
    EXPECT_EQ(recovered({line(97, 70, 97, 110)}, 3.0, widthsInX(8.0, 16.0)), kStillAStub);
    EXPECT_EQ(recovered({line(97, 70, 97, 110)}, 3.0, widthsInX(7.99, 16.0)), seg(97, 70, 97, 110));
}

TEST(RecoverSegments, TheWidthIsTheMeanOfBothEnds) {
    // 14 and 10 from the partner.
    EXPECT_EQ(recovered({line(91, 70, 95, 110)}, 3.0, widthsInX(11.99, 12.01)), seg(91, 70, 95, 110));
    EXPECT_EQ(recovered({line(91, 70, 95, 110)}, 3.0, widthsInX(5.0, 12.0)), kStillAStub);
}

TEST(RecoverSegments, ALineMustBeginOnTheStubsSideOfItsPartner) {
    // 8 beyond the partner at x = 105, a width that the range allows.
    EXPECT_EQ(recovered({line(113, 70, 113, 110)}, 30.0), kStillAStub);
    // Only the first end is asked: on the partner it does not pass, before it it does.
    EXPECT_EQ(recovered({line(105, 70, 85, 110)}), kStillAStub);
    EXPECT_EQ(recovered({line(104, 70, 86, 110)}), seg(104, 70, 86, 110));
    EXPECT_EQ(recovered({line(84, 70, 106, 110)}), seg(84, 70, 106, 110));
}

TEST(RecoverSegments, AStubOnItsPartnersLineHasNoSide) {
    CrossResult cross = crossWith(2, seg(105, 63, 105, 63.25));
    recover(cross, {{}, {line(95, 70, 95, 110), line(115, 70, 115, 110)}}, 30.0);
    EXPECT_LT(cross.lineSegs()[2].len(), 0.5);
}

TEST(RecoverSegments, AStubRightOfItsPartnerTakesLinesOnTheRight) {
    CrossResult cross = crossWith(3, stubOf(3));
    recover(cross, {{}, {line(104, 70, 104, 90), line(85, 70, 85, 110)}}, 30.0);
    EXPECT_EQ(cross.lineSegs()[3], seg(104, 70, 104, 90));
    // One that begins on the partner is refused on this side, too.
    cross = crossWith(3, stubOf(3));
    recover(cross, {{}, {line(95, 70, 115, 110)}});
    EXPECT_LT(cross.lineSegs()[3].len(), 0.5);
    cross = crossWith(3, stubOf(3));
    recover(cross, {{}, {line(96, 70, 114, 110)}});
    EXPECT_EQ(cross.lineSegs()[3], seg(96, 70, 114, 110));
}

TEST(RecoverSegments, ALineWhollyBehindTheFootIsRefused) {
    EXPECT_EQ(recovered({line(95, 10, 95, 62)}), kStillAStub);
    EXPECT_EQ(recovered({line(95, 62, 95, 10)}), kStillAStub);
}

TEST(RecoverSegments, LessThanHalfOfALineMayLieBehindTheFoot) {
    // 20 of 50 and 25 of 50, running outwards; what lies behind is cut off.
    EXPECT_EQ(recovered({line(95, 43, 95, 93)}), seg(95, 63, 95, 93));
    EXPECT_EQ(recovered({line(95, 38, 95, 88)}), kStillAStub);
    EXPECT_EQ(recovered({line(95, 38, 95, 88.01)}), seg(95, 63, 95, 88.01));
    // The same running inwards.
    EXPECT_EQ(recovered({line(95, 93, 95, 43)}), seg(95, 93, 95, 63));
    EXPECT_EQ(recovered({line(95, 88, 95, 38)}), kStillAStub);
    EXPECT_EQ(recovered({line(95, 88.01, 95, 38)}), seg(95, 88.01, 95, 63));
}

TEST(RecoverSegments, ALineThatBeginsAtTheFootIsNotBehindIt) {
    EXPECT_EQ(recovered({line(95, 63, 95, 88)}), seg(95, 63, 95, 88));
    EXPECT_EQ(recovered({line(95, 88, 95, 63)}), seg(95, 88, 95, 63));
    // And one that ends there is wholly behind but for its end.
    EXPECT_EQ(recovered({line(95, 38, 95, 63)}), kStillAStub);
}

TEST(RecoverSegments, TheLongestLineWinsWhereverItStands) {
    const std::vector<qvLineFinderResults> lines = {line(95, 70, 95, 90), line(94, 70, 94, 110), line(96, 70, 96, 100)};
    EXPECT_EQ(recovered(lines), seg(94, 70, 94, 110));
    EXPECT_EQ(recovered({lines[1], lines[0]}), seg(94, 70, 94, 110));
}

TEST(RecoverSegments, OfEqualLinesTheFirstIsKept) {
    EXPECT_EQ(recovered({line(94, 70, 94, 110), line(95, 80, 95, 120)}), seg(94, 70, 94, 110));
    EXPECT_EQ(recovered({line(94, 70, 94, 110), line(95, 120, 95, 80)}), seg(94, 70, 94, 110));
    EXPECT_EQ(recovered({line(94, 70, 94, 110), line(95, 80, 95, 120.01)}), seg(95, 80, 95, 120.01));
}

TEST(RecoverSegments, LengthIsMeasuredAlongTheStub) {
    // The second line is longer by itself, but not along the stub.
    EXPECT_EQ(recovered({line(95, 70, 95, 110), line(80, 70, 100, 110)}, 5.0), seg(95, 70, 95, 110));
}

TEST(RecoverSegments, TheFirstThatQualifiesIsKeptWhateverItsLength) {
    EXPECT_EQ(recovered({line(95, 80, 95, 80)}), seg(95, 80, 95, 80));
    EXPECT_EQ(recovered({line(95, 80, 95, 80), line(95, 90, 95, 90)}), seg(95, 80, 95, 80));
    EXPECT_EQ(recovered({line(95, 80, 95, 80), line(95, 90, 95, 90.01)}), seg(95, 90, 95, 90.01));
}

TEST(RecoverSegments, ALongerLineThatDoesNotQualifyCountsForNothing) {
    EXPECT_EQ(recovered({line(95, 70, 95, 110), line(90, 64, 90, 164)}), seg(95, 70, 95, 110));
    EXPECT_EQ(recovered({line(90, 64, 90, 164), line(95, 70, 95, 110)}), seg(95, 70, 95, 110));
}

TEST(RecoverSegments, EachStubHasThePartnerAcrossItsArmAndLinesOfItsDirection) {
    constexpr std::size_t partners[8] = {1, 0, 3, 2, 6, 7, 4, 5};
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        // Only the partner is moved outwards by 2, and only a width greater by 2 is allowed.
        const std::size_t p = partners[i];
        const auto& s = kCrossSegments[p];
        const bool upright = i < 4;
        const double out = p % 2 == 1 ? 2.0 : -2.0;
        const double down = p > 5 ? 2.0 : -2.0;
        CrossResult cross = crossWith(i, stubOf(i));
        Access::lineSegs(cross)[p] =
            upright ? seg(s[0] + out, s[1], s[2] + out, s[3]) : seg(s[0], s[1] + down, s[2], s[3] + down);
        qv_candidateTolerances tolerances = crossTolerances();
        tolerances.widthLower = upright ? qvPair<double>(11.9, 90.0) : qvPair<double>(90.0, 7.9);
        tolerances.widthUpper = upright ? qvPair<double>(12.1, 99.0) : qvPair<double>(99.0, 8.1);

        const auto& own = kCrossSegments[i];
        const qvLineFinderResults replacement = line(own[0], own[1], own[2], own[3]);
        CrossResult astray = cross;
        recover(astray, upright ? LineSets{{replacement}, {}} : LineSets{{}, {replacement}}, 0.1, tolerances);
        EXPECT_LT(astray.lineSegs()[i].len(), 0.5);
        recover(cross, upright ? LineSets{{}, {replacement}} : LineSets{{replacement}, {}}, 0.1, tolerances);
        EXPECT_EQ(cross.lineSegs()[i], replacement.segment());
    }
}

TEST(RecoverSegments, ARecoveredSegmentIsThePartnerOfTheNextStub) {
    CrossResult cross = crossWith(2, stubOf(2));
    Access::lineSegs(cross)[3] = stubOf(3);
    // Segment 2 takes x = 97, 8 from the stub at 105. From there x = 104 is 7 away, from the stub at 95 it was 9.
    recover(cross, {{}, {line(97, 70, 97, 110), line(104, 70, 104, 110)}}, 3.0, widthsInX(7.5, 11.0));
    EXPECT_EQ(cross.lineSegs()[2], seg(97, 70, 97, 110));
    EXPECT_LT(cross.lineSegs()[3].len(), 0.5);
}

TEST(RecoverSegments, StubsOfOneCrossAreRecoveredOneByOne) {
    CrossResult cross = crossWith(4, stubOf(4));
    Access::lineSegs(cross)[5] = stubOf(5);
    recover(cross, {{line(2, 57, 150, 57)}, {}}, 0.1);
    // 93 of 148 lie left of the one foot; right of the other lie 45, less than half.
    EXPECT_EQ(cross.lineSegs()[4], seg(2, 57, 95, 57));
    EXPECT_LT(cross.lineSegs()[5].len(), 0.5);

    cross = crossWith(4, stubOf(4));
    Access::lineSegs(cross)[2] = stubOf(2);
    Access::lineSegs(cross)[0] = stubOf(0);
    recover(cross, {{line(15, 57, 95, 57)}, {line(95, 64, 95, 110), line(95, 10, 95, 50)}}, 0.1);
    EXPECT_EQ(cross.lineSegs()[0], seg(95, 10, 95, 50));
    EXPECT_EQ(cross.lineSegs()[2], seg(95, 64, 95, 110));
    EXPECT_EQ(cross.lineSegs()[4], seg(15, 57, 95, 57));
}

TEST(RecoverSegments, ACrossWithoutStubsIsCutAndFittedAllTheSame) {
    CrossResult cross = crossWith(4, seg(15, 57, 99, 57));
    Access::lineSegs(cross)[1] = seg(105, 17, 105, 61);
    Access::crossing(cross) = qvVector<2>(1.0, 2.0);
    Access::score(cross) = 0.25;
    recover(cross, {{line(10, 57, 90, 57)}, {line(95, 10, 95, 50)}});
    EXPECT_EQ(cross.lineSegs()[4], seg(15, 57, 95, 57));
    EXPECT_EQ(cross.lineSegs()[1], seg(105, 17, 105, 57));
    EXPECT_EQ(cross.lineSegs()[0], scoredCross().lineSegs()[0]);
    EXPECT_NEAR(cross.crossing().x(), 100.0, 1e-9);
    EXPECT_NEAR(cross.crossing().y(), 60.0, 1e-9);
}

TEST(RecoverSegments, TheGeometryFollowsTheNewSegmentsAndTheScoreStays) {
    CrossResult cross = crossWith(0, stubOf(0));
    Access::lineSegs(cross)[2] = stubOf(2);
    Access::score(cross) = 0.25;
    // Both left edges lie 2 further to the left than the stubs.
    recover(cross, {{}, {line(93, 10, 93, 50), line(93, 70, 93, 110)}});
    EXPECT_EQ(cross.score(), 0.25);
    EXPECT_NEAR(cross.crossing().x(), 99.0, 1e-9);
    EXPECT_NEAR(cross.crossing().y(), 60.0, 1e-9);
    EXPECT_NEAR(cross.ulCorner().x(), 93.0, 1e-9);
    EXPECT_NEAR(cross.llCorner().x(), 93.0, 1e-9);
    EXPECT_NEAR(cross.urCorner().x(), 105.0, 1e-9);
    EXPECT_NEAR(cross.lrCorner().y(), 63.0, 1e-9);
    EXPECT_NEAR(qvDegree(cross.verticalAngle()).toDouble(), -90.0, 1e-9);
    EXPECT_NEAR(qvDegree(cross.horizontalAngle()).toDouble(), 0.0, 1e-9);
}

TEST(RecoverSegments, TheCutTakesTheCornersFromBeforeTheFit) {
    // The new line lies 2 lower than the stub; its neighbour is cut at the old corner's height.
    CrossResult cross = crossWith(7, stubOf(7));
    Access::lineSegs(cross)[3] = seg(105, 60, 105, 93);
    recover(cross, {{line(110, 65, 160, 65)}, {}});
    EXPECT_EQ(cross.lineSegs()[7], seg(110, 65, 160, 65));
    EXPECT_GT(cross.lrCorner().y(), 63.5);
    EXPECT_EQ(cross.lineSegs()[3], seg(105, 63, 105, 93));
}

TEST(RecoverSegments, ACrossNeedsEightSegments) {
    CrossResult cross = scoredCross();
    Access::lineSegs(cross).pop_back();
    EXPECT_THROW(recover(cross, {{}, {}}), qvInvariantFailure);
}
