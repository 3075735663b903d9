// Measurements as display lists, in client units. Their lines are thin: they lie on edges that are to be seen beside
// them, and they are right to a small part of their own width.
#include "tools/sketch_measured.h"

#include "qvstreet/platform/text.h"
#include "tools/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace qvtool {

const qvColor kMeasuredColour{255, 64, 255};
const qvColor kUnmeasuredColour{0, 230, 255};

namespace {

using Defs = qvStreetMeasureDefs;

constexpr double kThin = 0.5;
// Turns a cross into an X.
constexpr double kXDegrees = 45.0;

/// All texts here are digits and English words.
std::wstring wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

/// A number and its standard deviation.
std::string sure(double value, double deviation) { return shortest(value) + " (" + shortest(deviation) + ")"; }

std::string degrees(qvRadian angle, qvRadian deviation) {
    return sure(qvDegree(angle).toDouble(), qvDegree(deviation).toDouble());
}

std::wstring hintOf(const qvStreetMeasurement& measured) {
    return wide("measured x " + sure(measured.crossing().x(), measured.crossingDeviation().x()) + ", y " +
                sure(measured.crossing().y(), measured.crossingDeviation().y()) + ", angles " +
                degrees(measured.horizontalAngle(), measured.horizontalAngleDeviation()) + " and " +
                degrees(measured.verticalAngle(), measured.verticalAngleDeviation()) +
                ", standard deviations in brackets");
}

std::wstring hintOf(const qvStreetLineMeasurement& measured) {
    const std::string width = measured.status() == Defs::eMeasured
                                  ? ", width " + sure(measured.width(), measured.widthDeviation())
                                  : std::string(", one edge only");
    return wide("measured angle " + degrees(measured.angle(), measured.angleDeviation()) + width +
                ", standard deviations in brackets");
}

std::wstring reasonHint(Defs::measureStatus status, Defs::measureReason reason) {
    return (status == Defs::ePartlyMeasured ? L"partly measured: " : L"not measured: ") +
           qfStreetMeasureReasonText(reason);
}

class Drawer {
 public:
    /// The edges that were measured, unless another crossing of the same street has drawn them.
    void edges(const qvStreetLineMeasurement& street) {
        if (street.status() == Defs::eNotMeasured) return;
        for (const long index : {0L, 1L}) {
            const qvLineSeg edge = street.edge(index);
            const std::array<double, 4> ends = {edge.p1().x(), edge.p1().y(), edge.p2().x(), edge.p2().y()};
            if (std::any_of(ends.begin(), ends.end(), [](double end) { return std::isnan(end); })) continue;
            if (!seen_.insert(ends).second) continue;
            qvShape line = shapeOf(qvShape::eLineSeg, edge.p1(), kMeasuredColour);
            line.p2 = edge.p2();
            line.hint = hintOf(street);
            lines_.push_back(std::move(line));
        }
    }

    void cross(const qvVector<2>& at, qvRadian angle, std::wstring hint) {
        crosses_.push_back(crossOf(at, angle, kMeasuredColour, std::move(hint)));
        ++measured_;
    }
    void unmeasured(const qvVector<2>& at, std::wstring hint) {
        unmeasured_.push_back(crossOf(at, qvDegree(kXDegrees), kUnmeasuredColour, std::move(hint)));
    }
    void measuredStreet() { ++measured_; }

    /// @param sign  of a measured result in the legend
    ResultDrawing drawing(qvShape::qeKind sign, const std::string& what) {
        ResultDrawing drawing;
        lines_.insert(lines_.end(), crosses_.begin(), crosses_.end());
        drawing.layers.push_back(layerOf("measured", std::move(lines_), kThin));
        drawing.legend.push_back({{sign}, kMeasuredColour, std::to_string(measured_) + " measured, " + what});
        if (unmeasured_.empty()) return drawing;
        const std::string count = std::to_string(unmeasured_.size());
        drawing.layers.push_back(layerOf("not measured", std::move(unmeasured_), 1.0));
        drawing.legend.push_back({{qvShape::eCross}, kUnmeasuredColour, count + " not wholly measured", kXDegrees});
        return drawing;
    }

 private:
    static qvShape shapeOf(qvShape::qeKind kind, const qvVector<2>& at, const qvColor& colour) {
        qvShape shape;
        shape.kind = kind;
        shape.p1 = at;
        shape.color = colour;
        shape.layer = qvUITablet::eOverlayLayer;
        return shape;
    }

    static qvShape crossOf(const qvVector<2>& at, qvRadian angle, const qvColor& colour, std::wstring hint) {
        qvShape cross = shapeOf(qvShape::eCross, at, colour);
        cross.angle = angle;
        cross.hint = std::move(hint);
        return cross;
    }

    static SketchLayer layerOf(const char* name, std::vector<qvShape> shapes, double lineWidth) {
        SketchLayer layer;
        layer.name = name;
        layer.sketch = qvUISketch(std::move(shapes));
        layer.lineWidth = lineWidth;
        return layer;
    }

    std::vector<qvShape> lines_;
    std::vector<qvShape> crosses_;
    std::vector<qvShape> unmeasured_;
    std::set<std::array<double, 4>> seen_;
    std::size_t measured_ = 0;
};

}  // namespace

ResultDrawing drawMeasuredCrossings(const std::vector<qvStreetFinderStreetCrossResult>& results,
                                    const std::vector<qvStreetMeasurement>& measured) {
    Drawer drawer;
    for (std::size_t i = 0; i < measured.size(); ++i) {
        const qvStreetMeasurement& one = measured[i];
        drawer.edges(one.horizontal());
        drawer.edges(one.vertical());
        if (one.status() == Defs::eMeasured)
            drawer.cross(one.crossing(), one.horizontalAngle(), hintOf(one));
        else
            drawer.unmeasured(results[i].crossing(), reasonHint(one.status(), one.reason()));
    }
    return drawer.drawing(qvShape::eCross, "and edges");
}

ResultDrawing drawMeasuredStreets(const std::vector<qvStreetFinderSingleStreetResult>& results,
                                  const std::vector<qvStreetLineMeasurement>& measured) {
    Drawer drawer;
    for (std::size_t i = 0; i < measured.size(); ++i) {
        const qvStreetLineMeasurement& one = measured[i];
        drawer.edges(one);
        const std::vector<qvLineSeg>& segments = results[i].lineSegs();
        if (one.status() == Defs::eMeasured) {
            drawer.measuredStreet();
        } else if (!segments.empty()) {
            qvVector<2> sum(0.0, 0.0);
            for (const qvLineSeg& segment : segments) sum += (segment.p1() + segment.p2()) * 0.5;
            drawer.unmeasured(sum * (1.0 / static_cast<double>(segments.size())),
                              reasonHint(one.status(), one.reason()));
        }
    }
    return drawer.drawing(qvShape::eLineSeg, "with edges");
}

}  // namespace qvtool
