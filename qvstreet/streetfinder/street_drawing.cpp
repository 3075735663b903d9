// Results as shapes, client frame.
#include "qvstreet/streetfinder/street_drawing.h"

#include <algorithm>
#include <cstddef>

#include "qvstreet/candidates/canonical_cross.h"

namespace {

constexpr long kLayer = qvUITablet::eOverlayLayer;
// Of the circles at the ends of arms, in pels of the display: large enough to be seen, at every magnification.
constexpr double kEndRadius = 3.0;
// Of the arms that show the directions of a crossing without corners, client units.
constexpr double kArmLength = 20.0;

void drawCorner(qvUITablet& tablet, const qvVector<2>& corner) {
    tablet.drawCross(corner, qvRadian(0.0), qvColor::blueColor, kLayer);
}

void drawArm(qvUITablet& tablet, const qvVector<2>& from, const qvVector<2>& to) {
    tablet.drawLineSeg(from, to, qvColor::redColor, kLayer);
    tablet.drawCircle(to, kEndRadius, qvColor::redColor, kLayer, true);
}

}  // namespace

void drawCrossResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result) {
    if (result.statusFlags() != qvStreetFinderDefs::eStreetFromEdges) {
        drawLineResult(tablet, result);
    } else {
        drawCornerResult(tablet, result);
    }
}

void drawCornerResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result) {
    drawCorner(tablet, result.ulCorner());
    drawCorner(tablet, result.llCorner());
    drawCorner(tablet, result.lrCorner());
    drawCorner(tablet, result.urCorner());
    for (const qvLineSeg& segment : result.lineSegs()) tablet.draw(segment, qvColor::greenColor, kLayer);
    tablet.drawPointIcon(result.crossing(), qvColor::redColor, kLayer);

    if (result.lineSegs().size() != qvCanonicalCross.size()) return;
    const qv2XformLinear clientFromCanonical = fitXformFromSegments(result);
    for (const qv_canonicalSegment& arm : qvCanonicalCross) {
        drawArm(tablet, clientFromCanonical * arm.inner(), clientFromCanonical * arm.outer());
    }
}

void drawLineResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result) {
    const std::size_t shown = std::min<std::size_t>(result.lineSegs().size(), 2);
    for (std::size_t i = 0; i < shown; ++i) tablet.draw(result.lineSegs()[i], qvColor::greenColor, kLayer);
    tablet.drawPointIcon(result.crossing(), qvColor::redColor, kLayer);

    for (const qvRadian& direction : {result.horizontalAngle(), result.verticalAngle()}) {
        const qvVector<2> arm(kArmLength, direction);
        drawArm(tablet, result.crossing(), result.crossing() + arm);
        drawArm(tablet, result.crossing(), result.crossing() - arm);
    }
}

void drawSingleResult(qvUITablet& tablet, const qvStreetFinderSingleStreetResult& result) {
    for (const qvLineSeg& segment : result.lineSegs()) tablet.draw(segment, qvColor::redColor, kLayer);
}
