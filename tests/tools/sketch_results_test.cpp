#include "tools/sketch_results.h"

#include "qvstreet/streetfinder/street_drawing.h"
#include "qvstreet/streetfinder/street_results_access.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace qvtool;

namespace {

using Access = qv_streetResultAccess;

qvStreetFinderStreetCrossResult lineCrossing(const qvVector<2>& at, double score) {
    qvStreetFinderStreetCrossResult result;
    Access::crossing(result) = at;
    Access::setCorners(result, at);
    Access::score(result) = score;
    Access::horizontalAngle(result) = qvRadian(0.1);
    Access::verticalAngle(result) = qvRadian(1.7);
    Access::lineSegs(result) = {qvLineSeg({0, 100}, {400, 100}), qvLineSeg({200, 0}, {200, 300})};
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
    return result;
}

/// Streets 20 wide, the flat one about y 100 and the upright one about x 200.
qvStreetFinderStreetCrossResult edgeCrossing() {
    qvStreetFinderStreetCrossResult result;
    Access::crossing(result) = {200, 100};
    Access::score(result) = 0.75;
    Access::ulCorner(result) = {190, 90};
    Access::urCorner(result) = {210, 90};
    Access::llCorner(result) = {190, 110};
    Access::lrCorner(result) = {210, 110};
    Access::lineSegs(result) = {qvLineSeg({190, 110}, {190, 300}), qvLineSeg({210, 110}, {210, 300}),
                                qvLineSeg({190, 90}, {190, 0}),    qvLineSeg({210, 90}, {210, 0}),
                                qvLineSeg({190, 90}, {0, 90}),     qvLineSeg({190, 110}, {0, 110}),
                                qvLineSeg({210, 90}, {400, 90}),   qvLineSeg({210, 110}, {400, 110})};
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromEdges;
    return result;
}

const std::vector<qvShape>& shapesOf(const ResultDrawing& drawing) { return drawing.layers.at(0).sketch.shapes(); }

std::vector<qvShape> ofKind(const ResultDrawing& drawing, qvShape::qeKind kind) {
    std::vector<qvShape> found;
    for (const qvShape& shape : shapesOf(drawing)) {
        if (shape.kind == kind) found.push_back(shape);
    }
    return found;
}

bool same(const qvShape& a, const qvShape& b) {
    return a.kind == b.kind && a.color == b.color && a.layer == b.layer && a.p1 == b.p1 && a.p2 == b.p2 &&
           a.radius == b.radius;
}

std::vector<std::string> legendOf(const ResultDrawing& drawing) {
    std::vector<std::string> texts;
    for (const LegendRow& row : drawing.legend) texts.push_back(row.text);
    return texts;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST(SketchResults, ACrossingIsDrawnAsTheLibraryDrawsIt) {
    for (const auto& result : {lineCrossing({200, 100}, 0.816), edgeCrossing()}) {
        qvUITablet tablet;
        drawCrossResult(tablet, result);
        const ResultDrawing drawing = drawCrossings({result});
        EXPECT_EQ(drawing.layers.at(0).system, qvDisplay::eClientCoordinates);
        for (const qvShape& expected : tablet.sketch().shapes()) {
            EXPECT_TRUE(std::any_of(shapesOf(drawing).begin(), shapesOf(drawing).end(),
                                    [&](const qvShape& shape) { return same(shape, expected); }));
        }
        // And a score beside it, nothing else.
        EXPECT_EQ(shapesOf(drawing).size(), tablet.sketch().shapes().size() + 1);
    }
}

TEST(SketchResults, ACrossingHasItsScoreOnTheLabelLayerAndHintsOnMarkAndScore) {
    const ResultDrawing drawing = drawCrossings({lineCrossing({200, 100.5}, 0.816)});
    const auto texts = ofKind(drawing, qvShape::eText);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, L"0.82");
    EXPECT_EQ(texts[0].layer, qvUITablet::eLabelLayer);
    EXPECT_EQ(texts[0].p1, qvVector<2>(200, 100.5));
    EXPECT_EQ(texts[0].hint, L"x 200, y 100.5, score 0.816");
    EXPECT_EQ(ofKind(drawing, qvShape::ePointIcon).at(0).hint, texts[0].hint);
}

TEST(SketchResults, TheScoreStandsAtTheCornerThatIsUpAndRightInTheImage) {
    EXPECT_EQ(ofKind(drawCrossings({edgeCrossing()}), qvShape::eText).at(0).p1, qvVector<2>(210, 90));
    const qvXform<2> mirrored(qvMatrix<2>(1, 0, 0, -1), qvVector<2>(0, 0));
    EXPECT_EQ(ofKind(drawCrossings({edgeCrossing()}, mirrored), qvShape::eText).at(0).p1, qvVector<2>(210, 110));
}

TEST(SketchResults, ALineSharedByCrossingsIsDrawnOnceAndUnderAllElse) {
    const ResultDrawing drawing = drawCrossings({lineCrossing({200, 100}, 0.8), lineCrossing({210, 100}, 0.7)});
    const auto& shapes = shapesOf(drawing);
    const auto isGreen = [](const qvShape& shape) { return shape.color == qvColor::greenColor; };
    EXPECT_EQ(std::count_if(shapes.begin(), shapes.end(), isGreen), 2);
    EXPECT_TRUE(isGreen(shapes.at(0)) && isGreen(shapes.at(1)));
}

TEST(SketchResults, CrossingsWithoutAFitKeepWhatComesBeforeIt) {
    qvStreetFinderStreetCrossResult result = edgeCrossing();
    Access::lineSegs(result).assign(8, qvLineSeg({5, 5}, {5, 5}));
    const ResultDrawing drawing = drawCrossings({result});
    EXPECT_EQ(ofKind(drawing, qvShape::eCross).size(), 4U);
    EXPECT_EQ(ofKind(drawing, qvShape::ePointIcon).size(), 1U);
    EXPECT_EQ(ofKind(drawing, qvShape::eText).size(), 1U);
}

TEST(SketchResults, TheLegendOfCrossingsNamesWhatIsThere) {
    EXPECT_EQ(legendOf(drawCrossings({lineCrossing({1, 2}, 0.5)})),
              (Texts{"1 crossing, with score", "streets", "directions"}));
    EXPECT_EQ(legendOf(drawCrossings({edgeCrossing(), edgeCrossing()})),
              (Texts{"2 crossings, with score", "street edges", "corners", "cross as fitted"}));
    EXPECT_EQ(legendOf(drawCrossings({})).at(0), "0 crossings, with score");
}

TEST(SketchResults, AStreetIsRedWithItsScoreNearItsUpperLeftEndInTheImage) {
    qvStreetFinderSingleStreetResult street;
    Access::score(street) = 0.6;
    Access::angle(street) = qvRadian(0.0);
    Access::lineSegs(street) = {qvLineSeg({1000, 400}, {0, 400}), qvLineSeg({1000, 420}, {0, 420})};
    const ResultDrawing drawing = drawStreets({street}, qvXform<2>());
    EXPECT_EQ(ofKind(drawing, qvShape::eLineSeg).size(), 2U);
    EXPECT_EQ(ofKind(drawing, qvShape::eLineSeg)[0].color, qvColor::redColor);
    const qvShape label = ofKind(drawing, qvShape::eText).at(0);
    EXPECT_EQ(label.text, L"0.60");
    EXPECT_NEAR(label.p1.x(), 80, 1e-9);
    EXPECT_NEAR(label.p1.y(), 410, 1e-9);
    EXPECT_EQ(label.hint, L"angle 0, score 0.6");
    // In an image with x to the left the other end is at the left.
    const qvXform<2> mirrored(qvMatrix<2>(-1, 0, 0, 1), qvVector<2>(1000, 0));
    EXPECT_NEAR(ofKind(drawStreets({street}, mirrored), qvShape::eText).at(0).p1.x(), 920, 1e-9);
    EXPECT_EQ(legendOf(drawing), (Texts{"1 street, with score"}));
}

TEST(SketchResults, AStreetWithoutLinesHasNoLabel) {
    EXPECT_TRUE(shapesOf(drawStreets({qvStreetFinderSingleStreetResult()}, qvXform<2>())).empty());
}

TEST(SketchResults, AnglesRunThroughTheImageCentreAndMirroredFramesMirrorThem) {
    const std::vector<ScoredAngle> angles = {{45.0, 10.0}};
    const qvShape plain = ofKind(drawAngles(angles, qvXform<2>(), 800, 600), qvShape::eLineSeg).at(0);
    EXPECT_NEAR(plain.p1.x() + plain.p2.x(), 800, 1e-9);
    EXPECT_NEAR(plain.p1.y() + plain.p2.y(), 600, 1e-9);
    EXPECT_NEAR((plain.p2.y() - plain.p1.y()) / (plain.p2.x() - plain.p1.x()), 1.0, 1e-12);
    // It ends where the image does.
    EXPECT_NEAR(plain.p2.y(), 600, 1e-9);
    const qvXform<2> mirror(qvMatrix<2>(1, 0, 0, -1), qvVector<2>(0, 0));
    const ResultDrawing mirrored = drawAngles(angles, mirror, 800, 600);
    const qvShape line = ofKind(mirrored, qvShape::eLineSeg).at(0);
    EXPECT_NEAR((line.p2.y() - line.p1.y()) / (line.p2.x() - line.p1.x()), -1.0, 1e-12);
    EXPECT_EQ(ofKind(mirrored, qvShape::eText).at(0).text, L"45.0");
    EXPECT_EQ(ofKind(mirrored, qvShape::eText).at(0).hint, L"angle 45, score 10");
    EXPECT_EQ(mirrored.layers.at(0).system, qvDisplay::eImageCoordinates);
}

TEST(SketchResults, OfManyAnglesTwelveAreDrawnTheBestLast) {
    std::vector<ScoredAngle> angles;
    for (int i = 0; i < 40; ++i) angles.push_back({i * 4.0, 100.0 - i});
    const ResultDrawing drawing = drawAngles(angles, qvXform<2>(), 1000, 1000);
    const auto lines = ofKind(drawing, qvShape::eLineSeg);
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_EQ(lines[11].color, qvColor::greenColor);
    EXPECT_EQ(lines[10].color, qvColor::greenColor);
    EXPECT_NE(lines[9].color, qvColor::greenColor);
    EXPECT_NEAR(lines[11].p1.y(), 500, 1e-9);
    EXPECT_EQ(legendOf(drawing), (Texts{"best two angles, degrees", "12 of 40 angles in all"}));
}

TEST(SketchResults, BlankRegionsAreFramesTheBestGreenTheOthersDarkGreen) {
    const std::vector<BlankRegion> regions = {{30, 10, 200, 48, 0.75, 1.0}, {400, 11, 120, 48, 0.5, 0.9}};
    const ResultDrawing drawing = drawBlankRegions(regions, 1.0);
    const auto frames = ofKind(drawing, qvShape::eRect);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[1].color, qvColor::greenColor);
    EXPECT_EQ(frames[1].p1, qvVector<2>(30, 10));
    EXPECT_EQ(frames[1].p2, qvVector<2>(200, 48));
    EXPECT_EQ(frames[1].hint, L"x 30, y 10, 200 by 48, score 0.75, blankness 1");
    EXPECT_EQ(frames[0].color, qvColor::dkGreenColor);
    EXPECT_EQ(legendOf(drawing), (Texts{"2 blank regions, with score", "all but the best"}));
    EXPECT_EQ(drawing.layers.at(0).system, qvDisplay::eImageCoordinates);
}
