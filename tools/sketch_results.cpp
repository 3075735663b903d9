// Results as display lists. The shapes are those of the library's drawing helpers; what is added here is text: scores
// on the label layer, hints, the legend.
#include "tools/sketch_results.h"

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/streetfinder/street_drawing.h"
#include "tools/sketch_marks.h"
#include "tools/stroke_font.h"
#include "tools/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <set>

namespace qvtool {
namespace {

// Scores stand out from the shapes, which are red, green and blue.
constexpr qvColor kScoreColour = qvColor::yellowColor;
constexpr qvColor kMinorColour{190, 200, 210};

// More directions than this are no picture any more; the JSON has them all.
constexpr std::size_t kMostAnglesDrawn = 12;

/// All texts here are digits and English words.
std::wstring wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// Leaves out lines that were there before: crossings share theirs.
class SharedLines {
 public:
    bool isNew(const qvShape& shape) {
        if (shape.kind != qvShape::eLineSeg) return true;
        const std::array<double, 4> ends = {shape.p1.x(), shape.p1.y(), shape.p2.x(), shape.p2.y()};
        if (std::any_of(ends.begin(), ends.end(), [](double end) { return std::isnan(end); })) return false;
        return seen_.insert(ends).second;
    }

 private:
    std::set<std::array<double, 4>> seen_;
};

/// Where a score does not cover the streets: the corner that is up and right in the image. Without corners all four are
/// the crossing itself.
qvVector<2> labelPoint(const qvStreetFinderStreetCrossResult& result, const qvXform<2>& imageFromClient) {
    qvVector<2> best = result.ulCorner();
    double most = -std::numeric_limits<double>::infinity();
    for (const qvVector<2>& corner : {result.ulCorner(), result.urCorner(), result.llCorner(), result.lrCorner()}) {
        const qvVector<2> inImage = imageFromClient * corner;
        if (!(inImage.x() - inImage.y() > most)) continue;
        most = inImage.x() - inImage.y();
        best = corner;
    }
    return best;
}

/// The drawing helpers' green lines are the streets', the red ones their own.
bool isStreetLine(const qvShape& shape) {
    return shape.kind == qvShape::eLineSeg && shape.color == qvColor::greenColor;
}

std::wstring hintOf(const qvStreetFinderStreetCrossResult& result) {
    return wide("x " + shortest(result.crossing().x()) + ", y " + shortest(result.crossing().y()) + ", score " +
                shortest(result.score()));
}

ResultDrawing drawingOf(const std::string& name, std::vector<qvShape> shapes, qvDisplay::CoordinateSystem system) {
    ResultDrawing drawing;
    drawing.layers.push_back({name, qvUISketch(std::move(shapes)), system});
    return drawing;
}

/// A place for a street's label: off the middle, where streets of the two directions would lay theirs on one another.
qvVector<2> nearUpperLeftEnd(const qvLineSeg& line, const qvXform<2>& imageFromClient) {
    const qvVector<2> a = imageFromClient * line.p1();
    const qvVector<2> b = imageFromClient * line.p2();
    const bool fromP1 = a.x() + a.y() <= b.x() + b.y();
    const qvVector<2>& start = fromP1 ? line.p1() : line.p2();
    const qvVector<2>& end = fromP1 ? line.p2() : line.p1();
    return start + 0.08 * (end - start);
}

/// Where a text has to be drawn for it to stand in the middle of its place: texts stand beside their point.
qvVector<2> centred(const qvVector<2>& middle, const std::string& text, double scale) {
    const qvVector<2> gap = textGap(scale);
    const double size = textSize(scale);
    return middle + qvVector<2>(-gap.x() - 0.5 * textWidth(text, size), gap.y() + 0.36 * size);
}

}  // namespace

ResultDrawing drawCrossings(const std::vector<qvStreetFinderStreetCrossResult>& results,
                            const qvXform<2>& imageFromClient) {
    // The lines of all streets come first. They belong to several crossings, and those of the next would cover the
    // corners and arms of the one before.
    std::vector<qvShape> streets;
    std::vector<qvShape> shapes;
    SharedLines lines;
    bool hasCorners = false;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        hasCorners = hasCorners || result.statusFlags() == qvStreetFinderDefs::eStreetFromEdges;
        qvUITablet tablet;
        try {
            drawCrossResult(tablet, result);
        } catch (const qvMatrixErr::Singular&) {
            // Eight segments that fit no crossing; they and the corners are drawn already.
        }
        for (qvShape shape : tablet.sketch().shapes()) {
            if (!lines.isNew(shape)) continue;
            if (shape.kind == qvShape::ePointIcon) shape.hint = hintOf(result);
            (isStreetLine(shape) ? streets : shapes).push_back(std::move(shape));
        }
        qvUITablet label;
        label.drawText(labelPoint(result, imageFromClient), wide(withDigits(result.score(), 2)), kScoreColour,
                       qvUITablet::eLabelLayer);
        label.hint(hintOf(result));
        shapes.push_back(label.sketch().shapes().front());
    }
    streets.insert(streets.end(), std::make_move_iterator(shapes.begin()), std::make_move_iterator(shapes.end()));
    ResultDrawing drawing = drawingOf("crossings", std::move(streets), qvDisplay::eClientCoordinates);
    drawing.legend.push_back(
        {{qvShape::ePointIcon}, qvColor::redColor, counted(results.size(), "crossing") + ", with score"});
    drawing.legend.push_back({{qvShape::eLineSeg}, qvColor::greenColor, hasCorners ? "street edges" : "streets"});
    if (hasCorners) drawing.legend.push_back({{qvShape::eCross}, qvColor::blueColor, "corners"});
    drawing.legend.push_back(
        {{qvShape::eLineSeg, qvShape::eCircle}, qvColor::redColor, hasCorners ? "cross as fitted" : "directions"});
    return drawing;
}

ResultDrawing drawStreets(const std::vector<qvStreetFinderSingleStreetResult>& results,
                          const qvXform<2>& imageFromClient) {
    qvUITablet tablet;
    for (const qvStreetFinderSingleStreetResult& result : results) {
        drawSingleResult(tablet, result);
        if (result.lineSegs().empty()) continue;
        qvVector<2> at;
        for (const qvLineSeg& line : result.lineSegs()) at += nearUpperLeftEnd(line, imageFromClient);
        at /= static_cast<double>(result.lineSegs().size());
        tablet.drawText(at, wide(withDigits(result.score(), 2)), kScoreColour, qvUITablet::eLabelLayer);
        tablet.hint(
            wide("angle " + shortest(qvDegree(result.angle()).toDouble()) + ", score " + shortest(result.score())));
    }
    ResultDrawing drawing = drawingOf("streets", tablet.sketch().shapes(), qvDisplay::eClientCoordinates);
    drawing.legend.push_back(
        {{qvShape::eLineSeg}, qvColor::redColor, counted(results.size(), "street") + ", with score"});
    return drawing;
}

ResultDrawing drawAngles(const std::vector<ScoredAngle>& angles, const qvXform<2>& imageFromClient, long width,
                         long height) {
    const qvVector<2> half(0.5 * static_cast<double>(width), 0.5 * static_cast<double>(height));
    const std::size_t drawn = std::min(angles.size(), kMostAnglesDrawn);
    qvUITablet tablet;
    for (std::size_t back = drawn; back > 0; --back) {
        // Best last, so that it lies on top.
        const ScoredAngle& angle = angles[back - 1];
        const qvColor colour = back <= 2 ? qvColor::greenColor : kMinorColour;
        const qvVector<2> v = imageFromClient.mapVector(qvVector<2>(1.0, qvRadian(qvDegree(angle.degrees))));
        const qvVector<2> reach = std::min(half.x() / std::abs(v.x()), half.y() / std::abs(v.y())) * v;
        tablet.drawLineSeg(half - reach, half + reach, colour, qvUITablet::eOverlayLayer);
        tablet.drawText(half + 0.85 * reach, wide(withDigits(angle.degrees, 1)),
                        back <= 2 ? kScoreColour : kMinorColour, qvUITablet::eLabelLayer);
        tablet.hint(wide("angle " + shortest(angle.degrees) + ", score " + shortest(angle.score)));
    }
    ResultDrawing drawing = drawingOf("angles", tablet.sketch().shapes(), qvDisplay::eImageCoordinates);
    drawing.legend.push_back({{qvShape::eLineSeg}, qvColor::greenColor, "best two angles, degrees"});
    if (angles.size() > 2) {
        const std::string shown = drawn < angles.size() ? std::to_string(drawn) + " of " : "";
        drawing.legend.push_back(
            {{qvShape::eLineSeg}, kMinorColour, shown + counted(angles.size(), "angle") + " in all"});
    }
    return drawing;
}

ResultDrawing drawBlankRegions(const std::vector<BlankRegion>& regions, double scale) {
    qvUITablet tablet;
    for (std::size_t back = regions.size(); back > 0; --back) {
        // Best last, so that it lies on top.
        const BlankRegion& region = regions[back - 1];
        const qvRect rect(qvVector<2>(static_cast<double>(region.x), static_cast<double>(region.y)),
                          qvVector<2>(static_cast<double>(region.width), static_cast<double>(region.height)));
        const std::string score = withDigits(region.score, 2);
        const std::wstring hint =
            wide("x " + std::to_string(region.x) + ", y " + std::to_string(region.y) + ", " +
                 std::to_string(region.width) + " by " + std::to_string(region.height) + ", score " +
                 shortest(region.score) + ", blankness " + shortest(region.blankness));
        tablet.draw(rect, back == 1 ? qvColor::greenColor : qvColor::dkGreenColor, qvUITablet::eOverlayLayer);
        tablet.hint(hint);
        tablet.drawText(centred(rect.corner() + 0.5 * rect.size(), score, scale), wide(score), kScoreColour,
                        qvUITablet::eLabelLayer);
        tablet.hint(hint);
    }
    ResultDrawing drawing = drawingOf("blank regions", tablet.sketch().shapes(), qvDisplay::eImageCoordinates);
    drawing.legend.push_back(
        {{qvShape::eRect}, qvColor::greenColor, counted(regions.size(), "blank region") + ", with score"});
    if (regions.size() > 1) drawing.legend.push_back({{qvShape::eRect}, qvColor::dkGreenColor, "all but the best"});
    return drawing;
}

void addDrawing(ResultDrawing upper, ResultDrawing& drawing) {
    std::move(upper.layers.begin(), upper.layers.end(), std::back_inserter(drawing.layers));
    std::move(upper.legend.begin(), upper.legend.end(), std::back_inserter(drawing.legend));
}

}  // namespace qvtool
