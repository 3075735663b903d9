// Caliper results as graphics.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "qvstreet/platform/caliper.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/display.h"
#include "qvstreet/platform/pel_ops.h"
#include "tests/platform/caliper_run.h"

// The image is 15 by 8: 40 up to x = 5, 100 up to x = 9, then 20. Its edges are a rise of 60 at 5 and a fall of 80 at 9;
// taken one by one the fall is the better result, with the score 80 / 255.

namespace {

using qvtest::allEdges;
using qvtest::allPels;
using qvtest::kNearestPel;
using qvtest::repeatedRow;
using qvtest::runCaliper;
using qvtest::steps;

using Shapes = std::vector<qvShape>;

qvPelBuffer<unsigned char> riseAndFall() { return repeatedRow(steps({40, 100, 20}, {5, 4, 6}), 8); }

qvCaliperResultSet foundIn(const qvPelBuffer_const<unsigned char>& image) {
    return runCaliper(image, allPels(image, kNearestPel), allEdges(2));
}

Shapes drawn(const qvCaliperResultSet& results, std::uint32_t flags, double size) {
    qvGraphicList list;
    results.draw(list, flags, size);
    return list.sketch(qvUITablet::eOverlayLayer).shapes();
}

void expectLine(const qvShape& shape, const qvColor& color, double x1, double y1, double x2, double y2) {
    EXPECT_EQ(shape.kind, qvShape::eLineSeg);
    EXPECT_EQ(shape.color, color);
    EXPECT_NEAR(shape.p1.x(), x1, 1e-12);
    EXPECT_NEAR(shape.p1.y(), y1, 1e-12);
    EXPECT_NEAR(shape.p2.x(), x2, 1e-12);
    EXPECT_NEAR(shape.p2.y(), y2, 1e-12);
}

TEST(CaliperDraw, ValuesOfTheFlags) {
    EXPECT_EQ(qvCaliperDefs::eDrawRegion, 1);
    EXPECT_EQ(qvCaliperDefs::eDrawEdges, 2);
    EXPECT_EQ(qvCaliperDefs::eDrawScores, 4);
    EXPECT_EQ(qvCaliperDefs::eDrawResults, 8);
}

TEST(CaliperDraw, RegionIsItsOutlineWithAnArrowInItsXDirection) {
    const Shapes shapes = drawn(foundIn(riseAndFall()), qvCaliperDefs::eDrawRegion, 3.0);
    ASSERT_EQ(shapes.size(), 7u);
    const qvColor& green = qvColor::greenColor;
    expectLine(shapes[0], green, 0, 0, 15, 0);
    expectLine(shapes[1], green, 15, 0, 15, 8);
    expectLine(shapes[2], green, 15, 8, 0, 8);
    expectLine(shapes[3], green, 0, 8, 0, 0);
    expectLine(shapes[4], green, 0, 4, 15, 4);
    // A quarter of the size back, an eighth aside.
    expectLine(shapes[5], green, 15, 4, 14.25, 3.625);
    expectLine(shapes[6], green, 15, 4, 14.25, 4.375);
}

TEST(CaliperDraw, EdgesAreBarsOfTheAskedSizeAcrossTheMiddleLine) {
    const Shapes shapes = drawn(foundIn(riseAndFall()), qvCaliperDefs::eDrawEdges, 3.0);
    ASSERT_EQ(shapes.size(), 2u);
    expectLine(shapes[0], qvColor::yellowColor, 5, 2.5, 5, 5.5);
    expectLine(shapes[1], qvColor::blueColor, 9, 2.5, 9, 5.5);
    EXPECT_EQ(shapes[0].hint, L"Rise of 60.0000 at -2.5000");
    EXPECT_EQ(shapes[1].hint, L"Fall of 80.0000 at 1.5000");
}

TEST(CaliperDraw, ResultsAreBarsOverTheWholeYSideTheBestOneFirst) {
    const Shapes shapes = drawn(foundIn(riseAndFall()), qvCaliperDefs::eDrawResults, 3.0);
    ASSERT_EQ(shapes.size(), 2u);
    expectLine(shapes[0], qvColor::redColor, 9, 0, 9, 8);
    expectLine(shapes[1], qvColor::dkGreenColor, 5, 0, 5, 8);
    EXPECT_EQ(shapes[0].hint, L"Score 0.3137 at 1.5000");
    EXPECT_EQ(shapes[1].hint, L"Score 0.2353 at -2.5000");
}

TEST(CaliperDraw, PairIsShownAtItsMiddle) {
    const auto image = riseAndFall();
    const qvCaliperRunParams params(-2.0, qvCaliperDefs::eRise, 2.0, qvCaliperDefs::eFall);
    const Shapes shapes =
        drawn(runCaliper(image, allPels(image, kNearestPel), params), qvCaliperDefs::eDrawResults, 3.0);
    ASSERT_EQ(shapes.size(), 1u);
    expectLine(shapes[0], qvColor::redColor, 7, 0, 7, 8);
}

TEST(CaliperDraw, ScoresAreTextsBesideTheResults) {
    const Shapes shapes = drawn(foundIn(riseAndFall()), qvCaliperDefs::eDrawScores, 3.0);
    ASSERT_EQ(shapes.size(), 2u);
    EXPECT_EQ(shapes[0].kind, qvShape::eText);
    EXPECT_EQ(shapes[0].text, L"0.3137");
    EXPECT_EQ(shapes[0].color, qvColor::redColor);
    EXPECT_EQ(shapes[0].p1, qvVector<2>(9.0, 4.0));
    EXPECT_EQ(shapes[1].text, L"0.2353");
    EXPECT_EQ(shapes[1].color, qvColor::dkGreenColor);
}

TEST(CaliperDraw, FlagsAddUpToOneGraphic) {
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(qvRect(), qvColor(9), false)), true);
    foundIn(riseAndFall()).draw(list, 0xb, 30.0);
    EXPECT_EQ(list.size(), 2);
    const Shapes shapes = list.sketch(0).shapes();
    ASSERT_EQ(shapes.size(), 1u + 7u + 2u + 2u);
    EXPECT_EQ(shapes[0].color, qvColor(9));
    for (const qvShape& shape : shapes) EXPECT_NE(shape.kind, qvShape::eText);
}

TEST(CaliperDraw, MarksAreNoLongerThanTheSideTheyLieAlong) {
    const Shapes shapes = drawn(foundIn(riseAndFall()), 0x3, 100.0);
    ASSERT_EQ(shapes.size(), 9u);
    expectLine(shapes[5], qvColor::greenColor, 15, 4, 0, 0);
    expectLine(shapes[6], qvColor::greenColor, 15, 4, 0, 8);
    expectLine(shapes[7], qvColor::yellowColor, 5, 0, 5, 8);
}

TEST(CaliperDraw, SizeThatIsNoLengthIsZero) {
    for (const double size : {0.0, -4.0, std::numeric_limits<double>::quiet_NaN()}) {
        const Shapes shapes = drawn(foundIn(riseAndFall()), 0x3, size);
        ASSERT_EQ(shapes.size(), 9u);
        expectLine(shapes[5], qvColor::greenColor, 15, 4, 15, 4);
        expectLine(shapes[7], qvColor::yellowColor, 5, 4, 5, 4);
    }
}

TEST(CaliperDraw, ShapesAreInTheClientFrameOfTheImage) {
    // Transposed, the edges lie at y = 5 and y = 9; client units are half pels across and a fifth of a pel down, mirrored.
    qvPelBuffer<unsigned char> image = qfPelTranspose(riseAndFall());
    image.clientFromImageXform(qv2XformLinear(qvMatrix<2>(2.0, 0.0, 0.0, -5.0), qvVector<2>(100.0, 10.0)));
    // Along +y in pels, from y = 0 to 15 and x = 8 to 0; in the client frame from (116, 10) on, x side up.
    const qvAffineRectangle rect(qvVector<2>(116.0, 10.0), qvVector<2>(116.0, -65.0), qvVector<2>(100.0, 10.0));
    const qvAffineSamplingParams sampling(rect, 15, 8, kNearestPel);
    const Shapes shapes = drawn(runCaliper(image, sampling, allEdges(2)), 0xb, 4.0);
    ASSERT_EQ(shapes.size(), 11u);
    expectLine(shapes[0], qvColor::greenColor, 116, 10, 116, -65);
    expectLine(shapes[3], qvColor::greenColor, 100, 10, 116, 10);
    expectLine(shapes[4], qvColor::greenColor, 108, 10, 108, -65);
    expectLine(shapes[5], qvColor::greenColor, 108, -65, 108.5, -64);
    expectLine(shapes[7], qvColor::yellowColor, 110, -15, 106, -15);
    expectLine(shapes[8], qvColor::blueColor, 110, -35, 106, -35);
    expectLine(shapes[9], qvColor::redColor, 116, -35, 100, -35);
    EXPECT_EQ(shapes[7].hint, L"Rise of 60.0000 at -12.5000");
}

TEST(CaliperDraw, NothingIsAddedBeforeTheFirstRun) {
    qvGraphicList list;
    qvCaliperResultSet().draw(list, 0xF, 30.0);
    EXPECT_EQ(list.size(), 0);
}

TEST(CaliperDraw, FlagsOfNothingAddNothing) {
    qvGraphicList list;
    foundIn(riseAndFall()).draw(list, 0xFFFFFFF0, 30.0);
    EXPECT_EQ(list.size(), 0);
}

TEST(CaliperDraw, RunThatFoundNothingShowsItsRegionAlone) {
    const qvCaliperResultSet nothing = foundIn(repeatedRow(steps({70}, {15}), 8));
    qvGraphicList list;
    nothing.draw(list, 0xE, 3.0);
    EXPECT_EQ(list.size(), 0);
    EXPECT_EQ(drawn(nothing, 0xF, 3.0).size(), 7u);
}

TEST(CaliperDraw, RunLeavesNoRecordWhateverTheFlags) {
    qvDiagObject records;
    qvCaliperResultSet results;
    const auto image = riseAndFall();
    for (const std::uint32_t flags : {0u, 0x20000u, 0x120000u, 0xFFFFFFFFu})
        qfCaliperRun(image, allPels(image, kNearestPel), allEdges(2), results, &records, flags);
    EXPECT_EQ(records.numRecords(), 0);
    EXPECT_EQ(results.resultEdges().size(), 2u);
}

}  // namespace
