// Drawing of caliper results.
//
// In:  the results of a run and the rectangle they lie in, in the client frame of the image that was searched.
// Out: one graphic in that frame.
//
//       +-----|--------------|------+
//       |     |     |        |      |      long bars: results, over the whole y side
//       |-----|-----|-----|--|--->->|      short bars: edges, of the asked size about the middle line
//       |     |     |     |  |      |
//       +-----|--------------|------+-> x
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/platform/caliper.h"
#include "qvstreet/platform/display.h"
#include "qvstreet/platform/text.h"

namespace {

/// The list's sketch puts everything on one layer.
constexpr long kLayer = qvUITablet::eOverlayLayer;
constexpr int kDigits = 4;

/// The strokes of the arrowhead reach back by this share of the mark size and aside by half of that.
constexpr double kArrowShare = 0.25;

/// Shapes as one graphic of a list.
class DrawnResults : public qvGraphic {
 public:
    explicit DrawnResults(std::vector<qvShape> shapes) : shapes_(std::move(shapes)) {}
    void appendShapes(std::vector<qvShape>& shapes) const override {
        shapes.insert(shapes.end(), shapes_.begin(), shapes_.end());
    }

 private:
    std::vector<qvShape> shapes_;
};

/// Lengths of marks: as asked, but no longer than the side along which they lie; 0 for a size below 0 or NaN.
double markLength(double size, double side) { return size > 0.0 ? std::min(size, side) : 0.0; }

void drawRegion(qvUITablet& tablet, const qvAffineRectangle& rect, double size) {
    const std::pair<qvVector<2>, qvVector<2>> sides[] = {{rect.cornerPo(), rect.cornerPx()},
                                                         {rect.cornerPx(), rect.cornerPopp()},
                                                         {rect.cornerPopp(), rect.cornerPy()},
                                                         {rect.cornerPy(), rect.cornerPo()}};
    for (const auto& side : sides) tablet.drawLineSeg(side.first, side.second, qvColor::greenColor, kLayer);

    const qvVector<2> start = rect.cornerPo() + rect.ySide() * 0.5;
    const qvVector<2> tip = start + rect.xSide();
    tablet.drawLineSeg(start, tip, qvColor::greenColor, kLayer);
    const double back = markLength(size * kArrowShare, rect.xSide().len());
    const double aside = markLength(size * kArrowShare, rect.ySide().len()) * 0.5;
    const qvVector<2> root = tip - rect.xSide().unit() * back;
    for (const double hand : {-1.0, 1.0})
        tablet.drawLineSeg(tip, root + rect.ySide().unit() * (hand * aside), qvColor::greenColor, kLayer);
}

/// A bar along the y side, about the middle line.
void drawBar(qvUITablet& tablet, const qvVector<2>& centre, const qvVector<2>& alongY, double length,
             const qvColor& color) {
    const qvVector<2> half = alongY * (length * 0.5);
    tablet.drawLineSeg(centre - half, centre + half, color, kLayer);
}

std::wstring numberText(double value) { return qfDbl(value, kDigits, false); }

}  // namespace

void qvCaliperResultSet::draw(qvGraphicList& list, std::uint32_t flags, double size) const {
    const qvAffineRectangle& rect = region();
    const double xLength = rect.xSide().len();
    const double yLength = rect.ySide().len();
    if (xLength == 0.0 && yLength == 0.0) return;
    const qvVector<2> alongY = rect.ySide().unit();

    qvUITablet tablet;
    if ((flags & qvCaliperDefs::eDrawRegion) != 0) drawRegion(tablet, rect, size);
    if ((flags & qvCaliperDefs::eDrawEdges) != 0) {
        for (const qvCaliperResultEdge& edge : resultEdges_) {
            const bool isRise = edge.contrast() > 0.0;
            drawBar(tablet, mapPositionToPoint(edge.position()), alongY, markLength(size, yLength),
                    isRise ? qvColor::yellowColor : qvColor::blueColor);
            tablet.hint((isRise ? L"Rise of " : L"Fall of ") + numberText(isRise ? edge.contrast() : -edge.contrast()) +
                        L" at " + numberText(edge.position()));
        }
    }
    for (const qvCaliperOneResult& result : results()) {
        const qvColor& color = &result == &results().front() ? qvColor::redColor : qvColor::dkGreenColor;
        const qvVector<2> centre = mapPositionToPoint(result.position());
        if ((flags & qvCaliperDefs::eDrawResults) != 0) {
            drawBar(tablet, centre, alongY, yLength, color);
            tablet.hint(L"Score " + numberText(result.score()) + L" at " + numberText(result.position()));
        }
        if ((flags & qvCaliperDefs::eDrawScores) != 0)
            tablet.drawText(centre, numberText(result.score()), color, kLayer);
    }
    if (tablet.sketch().isEmpty()) return;
    list.append(qvPtrHandle<qvGraphic>(new DrawnResults(tablet.sketch().shapes())), true);
}
