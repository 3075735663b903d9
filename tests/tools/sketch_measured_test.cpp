#include "tools/sketch_measured.h"

#include "qvstreet/projection/street_measurement_access.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tools/overlay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qvtool;

namespace {

using Access = qv_streetMeasurementAccess;
using Defs = qvStreetMeasureDefs;

qvStreetFinderStreetCrossResult crossingAt(const qvVector<2>& at) {
    qvStreetFinderStreetCrossResult result;
    qv_streetResultAccess::crossing(result) = at;
    return result;
}

qvStreetLineMeasurement street(const qvLineSeg& first, const qvLineSeg& second) {
    qvStreetLineMeasurement measured;
    Access::status(measured) = Defs::eMeasured;
    Access::angle(measured) = qvDegree(2.0);
    Access::angleDeviation(measured) = qvDegree(0.5);
    Access::width(measured) = 20.5;
    Access::widthDeviation(measured) = 0.25;
    Access::edges(measured) = {first, second};
    return measured;
}

qvStreetMeasurement crossing(const qvVector<2>& at) {
    qvStreetMeasurement measured;
    Access::status(measured) = Defs::eMeasured;
    Access::crossing(measured) = at;
    Access::crossingDeviation(measured) = {0.125, 0.0625};
    Access::horizontal(measured) = street(qvLineSeg({0, 90}, {400, 91}), qvLineSeg({0, 110}, {400, 111}));
    Access::vertical(measured) = street(qvLineSeg({190, 0}, {191, 300}), qvLineSeg({210, 0}, {211, 300}));
    return measured;
}

std::vector<qvShape> ofKind(const ResultDrawing& drawing, qvShape::qeKind kind) {
    std::vector<qvShape> found;
    for (const SketchLayer& layer : drawing.layers) {
        for (const qvShape& shape : layer.sketch.shapes()) {
            if (shape.kind == kind) found.push_back(shape);
        }
    }
    return found;
}

}  // namespace

TEST(SketchMeasured, ACrossingIsACrossOverThinLinesAlongTheEdges) {
    const ResultDrawing drawing = drawMeasuredCrossings({crossingAt({200, 100})}, {crossing({200.25, 100.5})});
    ASSERT_EQ(drawing.layers.size(), 1U);
    EXPECT_EQ(drawing.layers[0].system, qvDisplay::eClientCoordinates);
    EXPECT_EQ(drawing.layers[0].lineWidth, 0.5);
    const auto lines = ofKind(drawing, qvShape::eLineSeg);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1].p1, (qvVector<2>(0, 110)));
    EXPECT_EQ(lines[1].p2, (qvVector<2>(400, 111)));
    EXPECT_EQ(lines[2].p1, (qvVector<2>(190, 0)));
    const auto crosses = ofKind(drawing, qvShape::eCross);
    ASSERT_EQ(crosses.size(), 1U);
    EXPECT_EQ(crosses[0].p1, (qvVector<2>(200.25, 100.5)));
    EXPECT_EQ(crosses[0].color, kMeasuredColour);
    EXPECT_NEAR(qvDegree(crosses[0].angle).toDouble(), 2.0, 1e-12);
    EXPECT_EQ(crosses[0].hint.substr(0, 44), L"measured x 200.25 (0.125), y 100.5 (0.0625),");
    ASSERT_EQ(drawing.legend.size(), 1U);
    EXPECT_EQ(drawing.legend[0].text, "1 measured, and edges");
}

TEST(SketchMeasured, CrossingsOfOneStreetDrawItsEdgesOnce) {
    const ResultDrawing drawing = drawMeasuredCrossings({crossingAt({200, 100}), crossingAt({200, 100})},
                                                        {crossing({200.25, 100.5}), crossing({200.25, 100.5})});
    EXPECT_EQ(ofKind(drawing, qvShape::eLineSeg).size(), 4U);
    EXPECT_EQ(ofKind(drawing, qvShape::eCross).size(), 2U);
}

TEST(SketchMeasured, ACrossingThatWasNotMeasuredHasAnXWhereTheFinderSawIt) {
    qvStreetMeasurement none;
    Access::reason(none) = Defs::eAmbiguousEdges;
    qvStreetMeasurement partly = crossing({0, 0});
    Access::status(partly) = Defs::ePartlyMeasured;
    Access::reason(partly) = Defs::eOneEdge;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Access::edges(Access::horizontal(partly))[1] = qvLineSeg({nan, nan}, {nan, nan});
    const ResultDrawing drawing = drawMeasuredCrossings({crossingAt({200, 100}), crossingAt({50, 60})}, {none, partly});
    const auto crosses = ofKind(drawing, qvShape::eCross);
    ASSERT_EQ(crosses.size(), 2U);
    EXPECT_EQ(crosses[0].p1, (qvVector<2>(200, 100)));
    EXPECT_EQ(crosses[0].color, kUnmeasuredColour);
    EXPECT_EQ(crosses[0].hint, L"not measured: several pairs of edges");
    EXPECT_NEAR(qvDegree(crosses[0].angle).toDouble(), 45.0, 1e-12);
    EXPECT_EQ(crosses[1].p1, (qvVector<2>(50, 60)));
    EXPECT_EQ(crosses[1].hint, L"partly measured: one edge only");
    EXPECT_EQ(ofKind(drawing, qvShape::eLineSeg).size(), 3U) << "the edges that were measured";
    ASSERT_EQ(drawing.layers.size(), 2U);
    EXPECT_EQ(drawing.layers[1].name, "not measured");
    EXPECT_EQ(drawing.layers[1].lineWidth, 1.0);
    ASSERT_EQ(drawing.legend.size(), 2U);
    EXPECT_EQ(drawing.legend[0].text, "0 measured, and edges");
    EXPECT_EQ(drawing.legend[1].text, "2 not wholly measured");
    EXPECT_EQ(drawing.legend[1].degrees, 45.0);
}

TEST(SketchMeasured, AStreetThatWasNotMeasuredHasAnXBetweenItsSegments) {
    qvStreetFinderSingleStreetResult result;
    qv_streetResultAccess::lineSegs(result) = {qvLineSeg({0, 90}, {400, 90}), qvLineSeg({0, 110}, {400, 112})};
    qvStreetLineMeasurement none;
    Access::reason(none) = Defs::eNoEdges;
    const qvStreetLineMeasurement all = street(qvLineSeg({0, 90}, {400, 91}), qvLineSeg({0, 110}, {400, 111}));
    const ResultDrawing drawing = drawMeasuredStreets({result, result}, {none, all});
    const auto crosses = ofKind(drawing, qvShape::eCross);
    ASSERT_EQ(crosses.size(), 1U);
    EXPECT_EQ(crosses[0].p1, (qvVector<2>(200, 100.5)));
    EXPECT_EQ(crosses[0].hint, L"not measured: no edges");
    const auto lines = ofKind(drawing, qvShape::eLineSeg);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].hint.substr(0, 17), L"measured angle 2 ") << "standard deviation in brackets";
    EXPECT_EQ(drawing.legend[0].text, "1 measured, with edges");
    EXPECT_EQ(drawing.legend[1].text, "1 not wholly measured");
}

TEST(SketchMeasured, AStreetOfNoSegmentsHasNoX) {
    const ResultDrawing drawing =
        drawMeasuredStreets({qvStreetFinderSingleStreetResult()}, {qvStreetLineMeasurement()});
    EXPECT_TRUE(drawing.layers[0].sketch.isEmpty());
}

TEST(SketchMeasured, ThinLinesAndTheirRimsAreHalfAsWideAndTheXOfTheLegendIsTurned) {
    ImageReport report;
    report.width = 1000;
    report.height = 1000;
    report.crossings.emplace(1);
    qvStreetMeasurement none;
    addDrawing(drawMeasuredCrossings({crossingAt({200, 100}), crossingAt({300, 100})}, {crossing({200, 100}), none}),
               report.drawing);
    const auto sketches = overlayMarks(layOutOverlay(report, {1, 0, 0, 1, 0, 0}), 1000, 1000);
    ASSERT_EQ(sketches.size(), 3U);
    EXPECT_EQ(sketches[0].name, "measured");
    EXPECT_EQ(sketches[0].lineWidth, 0.5);
    EXPECT_EQ(std::get<PathMark>(sketches[0].layers.at(0).marks.at(0)).width, 1.0);
    EXPECT_EQ(sketches[1].name, "not measured");
    EXPECT_EQ(std::get<PathMark>(sketches[1].layers.at(0).marks.at(0)).width, 2.0);
    EXPECT_EQ(sketches[2].name, "legend");
    std::vector<PathMark> signs;
    for (const Mark& mark : sketches[2].layers.at(0).marks) {
        if (const auto* path = std::get_if<PathMark>(&mark)) signs.push_back(*path);
    }
    ASSERT_EQ(signs.size(), 2U);
    EXPECT_NEAR(signs[0].points[1].y - signs[0].points[0].y, 0.0, 1e-9) << "a cross stands upright";
    EXPECT_NEAR(signs[1].points[1].y - signs[1].points[0].y, signs[1].points[1].x - signs[1].points[0].x, 1e-9);
    EXPECT_EQ(signs[0].width, 1.8) << "0.9 of the usual width";
}
