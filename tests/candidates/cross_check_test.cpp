#include "qvstreet/candidates/canonical_cross.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "qvstreet/candidates/line_ends.h"
#include "tests/candidates/literal_cross.h"

namespace {

/// A line of the same points that runs the other way, exactly: mirrored along itself.
qv_ridgeLine runningBackwards(qv_ridgeLine line) {
    const bool upright = line.p1.x() == line.p2.x();
    const qvMatrix<2> mirror = upright ? qvMatrix<2>(1.0, 0.0, 0.0, -1.0) : qvMatrix<2>(-1.0, 0.0, 0.0, 1.0);
    line.line = qvXform<2>(mirror, qvVector<2>()) * line.line;
    return line;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

/// A step of the check: the place of the line whose end is moved, with that end on the other street's edge and half a
/// unit short of it.
struct CheckCase {
    std::size_t place;
    LiteralLine onTheEdge;
    LiteralLine shortOfIt;
};

const CheckCase kCheckCases[8] = {{4, {100.0, 200.0, 112.0, 200.0}, {100.5, 200.0, 112.0, 200.0}},
                                  {5, {118.0, 200.0, 130.0, 200.0}, {118.0, 200.0, 129.5, 200.0}},
                                  {6, {100.0, 220.0, 112.0, 220.0}, {100.5, 220.0, 112.0, 220.0}},
                                  {7, {118.0, 220.0, 130.0, 220.0}, {118.0, 220.0, 129.5, 220.0}},
                                  {0, {100.0, 200.0, 100.0, 212.0}, {100.0, 200.5, 100.0, 212.0}},
                                  {1, {130.0, 200.0, 130.0, 212.0}, {130.0, 200.5, 130.0, 212.0}},
                                  {2, {100.0, 208.0, 100.0, 220.0}, {100.0, 208.0, 100.0, 219.5}},
                                  {3, {130.0, 208.0, 130.0, 220.0}, {130.0, 208.0, 130.0, 219.5}}};

}  // namespace

TEST(LineEnds, EachChoiceComparesOneCoordinate) {
    const qv_ridgeLine falling = ridgeLine(1.0, 2.0, 5.0, 9.0);
    EXPECT_EQ(qf_leftmost(falling), falling.p1);
    EXPECT_EQ(qf_rightmost(falling), falling.p2);
    EXPECT_EQ(qf_topmost(falling), falling.p1);
    EXPECT_EQ(qf_bottommost(falling), falling.p2);
    const qv_ridgeLine rising = ridgeLine(5.0, 2.0, 1.0, 9.0);
    EXPECT_EQ(qf_leftmost(rising), rising.p2);
    EXPECT_EQ(qf_rightmost(rising), rising.p1);
    EXPECT_EQ(qf_topmost(rising), rising.p1);
    EXPECT_EQ(qf_bottommost(rising), rising.p2);
    const qv_ridgeLine upwards = ridgeLine(1.0, 9.0, 5.0, 2.0);
    EXPECT_EQ(qf_topmost(upwards), upwards.p2);
    EXPECT_EQ(qf_bottommost(upwards), upwards.p1);
}

TEST(LineEnds, TieTakesTheSecondEnd) {
    const qv_ridgeLine upright = ridgeLine(3.0, 2.0, 3.0, 9.0);
    EXPECT_EQ(qf_leftmost(upright), upright.p2);
    EXPECT_EQ(qf_rightmost(upright), upright.p2);
    const qv_ridgeLine flat = ridgeLine(3.0, 2.0, 8.0, 2.0);
    EXPECT_EQ(qf_topmost(flat), flat.p2);
    EXPECT_EQ(qf_bottommost(flat), flat.p2);
}

TEST(CrossCheck, PassingCandidateTracesAllEightStepsCharacterForCharacter) {
    TraceCapture capture;
    EXPECT_TRUE(crossCheck(flatLines(unevenCross()), unevenCandidate(), capture.trace()));
    EXPECT_EQ(capture.text(),
              "\n%cross check: line#0against 4\n%sign =-1\n%u =[0,-1], dist=100\n%distance=80"
              "\n%endp point=(90,200)\n%startp point=(20,200)\n%used left  \n%point used=(20,200)"
              "\n%cross check: line#1against 5\n%sign =-1\n%u =[0,-1], dist=130\n%distance=-110"
              "\n%endp point=(240,200)\n%startp point=(140,200)\n%used right\n%point used=(240,200)"
              "\n%cross check: line#2against 6\n%sign =-1\n%u =[0,-1], dist=100\n%distance=75"
              "\n%endp point=(95,220)\n%startp point=(25,220)\n%used left  \n%point used=(25,220)"
              "\n%cross check: line#3against 7\n%sign =-1\n%u =[0,-1], dist=130\n%distance=-100"
              "\n%endp point=(230,220)\n%startp point=(135,220)\n%used right\n%point used=(230,220)"
              "\n%cross check: line#4against 0\n%sign =1\n%u =[1,0], dist=200\n%distance=150"
              "\n%endp point=(100,188)\n%startp point=(100,50)\n%used top\n%point used=(100,50)"
              "\n%cross check: line#5against 1\n%sign =1\n%u =[1,0], dist=200\n%distance=140"
              "\n%endp point=(130,195)\n%startp point=(130,60)\n%used top\n%point used=(130,60)"
              "\n%cross check: line#6against 2\n%sign =1\n%u =[1,0], dist=220\n%distance=-70"
              "\n%endp point=(100,290)\n%startp point=(100,230)\n%used bot\n%point used=(100,290)"
              "\n%cross check: line#7against 3\n%sign =1\n%u =[1,0], dist=220\n%distance=-60"
              "\n%endp point=(130,280)\n%startp point=(130,225)\n%used bot\n%point used=(130,280)"
              "\n%cross check pass");
}

TEST(CrossCheck, AnEndExactlyOnTheOtherEdgePasses) {
    for (std::size_t step = 0; step < 8; ++step)
        EXPECT_TRUE(crossCheck(unevenCrossWith(kCheckCases[step].place, kCheckCases[step].onTheEdge), unevenCandidate(),
                               nullptr))
            << "step " << step + 1;
}

TEST(CrossCheck, EachStepAloneRefuses) {
    for (std::size_t step = 0; step < 8; ++step) {
        SCOPED_TRACE("step " + std::to_string(step + 1));
        TraceCapture capture;
        EXPECT_FALSE(crossCheck(unevenCrossWith(kCheckCases[step].place, kCheckCases[step].shortOfIt),
                                unevenCandidate(), capture.trace()));
        // The steps before it passed, and it is the last to say anything.
        EXPECT_EQ(countOf(capture.text(), "\n%cross check: line#"), step + 1);
        EXPECT_EQ(countOf(capture.text(), "\n%point used=("), step + 1);
        EXPECT_FALSE(contains(capture.text(), "\n%cross check pass"));
    }
}

TEST(CrossCheck, RunningDirectionOfALinePlaysNoPart) {
    for (std::size_t step = 0; step < 8; ++step)
        for (std::size_t backwards = 0; backwards < 8; ++backwards) {
            SCOPED_TRACE("step " + std::to_string(step + 1) + ", line " + std::to_string(backwards));
            std::vector<qv_ridgeLine> passing = unevenCrossWith(kCheckCases[step].place, kCheckCases[step].onTheEdge);
            std::vector<qv_ridgeLine> failing = unevenCrossWith(kCheckCases[step].place, kCheckCases[step].shortOfIt);
            const std::size_t key = static_cast<std::size_t>(kUnevenKeys[backwards]);
            passing[key] = runningBackwards(passing[key]);
            failing[key] = runningBackwards(failing[key]);
            EXPECT_TRUE(crossCheck(passing, unevenCandidate(), nullptr));
            EXPECT_FALSE(crossCheck(failing, unevenCandidate(), nullptr));
        }
}

TEST(CrossCheck, TraceShowsTheSignAndTheUnsignedSide) {
    std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    lines[4] = runningBackwards(lines[4]);
    lines[2] = runningBackwards(lines[2]);
    TraceCapture capture;
    EXPECT_TRUE(crossCheck(lines, unevenCandidate(), capture.trace()));
    EXPECT_TRUE(contains(capture.text(), "line#0against 4\n%sign =1\n%u =[0,1], dist=-100\n%distance=-80\n"));
    EXPECT_TRUE(contains(capture.text(), "line#6against 2\n%sign =-1\n%u =[-1,0], dist=-220\n%distance=70\n"));
}

TEST(CrossCheck, ComponentOfExactlyZeroCountsAsPositive) {
    std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    // A flat line in an upright place, and an upright one in a flat place: sine and cosine are exactly 0.
    lines[4].line = qvFLine(qvVector<2>(0.0, 200.0), qvVector<2>(90.0, 200.0));
    lines[0].line = qvFLine(qvVector<2>(100.0, 0.0), qvVector<2>(100.0, 90.0));
    ASSERT_EQ(lines[4].line.sinAngle(), 0.0);
    ASSERT_EQ(lines[0].line.cosAngle(), 0.0);
    TraceCapture capture;
    crossCheck(lines, unevenCandidate(), capture.trace());
    EXPECT_TRUE(contains(capture.text(), "line#0against 4\n%sign =1\n"));
    EXPECT_TRUE(contains(capture.text(), "line#4against 0\n%sign =1\n"));
}

TEST(CrossCheck, EndsAreChosenByCoordinateWhicheverComesFirst) {
    std::vector<LiteralLine> reversed = unevenCross();
    for (LiteralLine& line : reversed) {
        std::swap(line.x1, line.x2);
        std::swap(line.y1, line.y2);
    }
    TraceCapture capture;
    EXPECT_TRUE(crossCheck(flatLines(reversed), unevenCandidate(), capture.trace()));
    EXPECT_TRUE(contains(capture.text(),
                         "\n%endp point=(20,200)\n%startp point=(90,200)\n%used left  "
                         "\n%point used=(20,200)"));
    EXPECT_TRUE(contains(capture.text(),
                         "\n%endp point=(130,225)\n%startp point=(130,280)\n%used bot"
                         "\n%point used=(130,280)"));
}

TEST(CrossCheck, TieOfTheEndsTakesTheSecond) {
    // An upright line in the place of the upper left flat edge: both its ends are leftmost.
    TraceCapture capture;
    crossCheck(unevenCrossWith(4, {60.0, 190.0, 60.0, 205.0}), unevenCandidate(), capture.trace());
    EXPECT_TRUE(contains(capture.text(), "\n%used left  \n%point used=(60,205)"));
}
