// What an overlay shows and where its legend stands. In: a report with its drawing. Out: display lists, and marks in
// pels for the legend, sized so that they read alike whether the image has 256 or 4096 pels a side.
#include "tools/overlay.h"

#include "tools/sketch_results.h"
#include "tools/stroke_font.h"

#include <algorithm>
#include <cmath>

namespace qvtool {
namespace {

constexpr Colour kTextColour{255, 255, 255};

// Pels of the display.
constexpr double kLegendSize = 19.0;

// Part of the image. A legend that takes more may hide no result: the picture is more needed than the words.
constexpr double kMostHiding = 0.1;

// Icons in the legend are smaller than in the picture, so that they fit into a line of text.
constexpr double kSignScale = 0.9;

qvXform<2> imageFromClientOf(const std::array<double, 6>& client) {
    return qvXform<2>(qvMatrix<2>(client[0], client[1], client[2], client[3]), qvVector<2>(client[4], client[5]))
        .inverse();
}

void appendSigns(std::vector<Mark>& marks, const LegendRow& row, const Position& middle, double length, double scale) {
    const qvVector<2> centre(middle.x, middle.y);
    const qvVector<2> half(0.5 * length, 0.0);
    for (const qvShape::qeKind kind : row.signs) {
        qvShape sign;
        sign.kind = kind;
        sign.color = row.colour;
        sign.p1 = centre;
        if (kind == qvShape::eLineSeg) {
            sign.p1 = centre - half;
            sign.p2 = centre + half;
        } else if (kind == qvShape::eRect) {
            sign.p1 = centre - half - qvVector<2>(0.0, 0.2 * length);
            sign.p2 = qvVector<2>(length, 0.4 * length);
        } else if (kind == qvShape::eCross) {
            sign.angle = qvDegree(row.degrees);
        } else if (kind == qvShape::eCircle) {
            sign.p1 = row.signs.size() > 1 ? centre + half : centre;
            sign.radius = 3.0;
            sign.hasDisplaySize = true;
        }
        SketchView view;
        view.scale = kSignScale * scale;
        appendMarks(marks, sign, view);
    }
}

/// Where labels and icons are: what a legend must not hide.
std::vector<Position> busyPlaces(const std::vector<MarkedSketch>& sketches) {
    std::vector<Position> places;
    const auto note = [&places](const Mark& mark) {
        if (const auto* text = std::get_if<TextMark>(&mark)) {
            places.push_back({text->baseline.x + 0.5 * textWidth(text->text, text->size), text->baseline.y});
        }
        if (const auto* ring = std::get_if<RingMark>(&mark)) places.push_back(ring->centre);
    };
    for (const MarkedSketch& sketch : sketches) {
        for (const MarkedLayer& layer : sketch.layers) std::for_each(layer.marks.begin(), layer.marks.end(), note);
    }
    return places;
}

/// How many of the places lie in or close by a rectangle.
std::ptrdiff_t countHidden(const std::vector<Position>& busy, const PanelMark& panel, double margin) {
    return std::count_if(busy.begin(), busy.end(), [&](const Position& p) {
        return p.x > panel.upperLeft.x - margin && p.x < panel.upperLeft.x + panel.width + margin &&
               p.y > panel.upperLeft.y - margin && p.y < panel.upperLeft.y + panel.height + margin;
    });
}

std::vector<Mark> legendMarks(const Overlay& overlay, const std::vector<MarkedSketch>& sketches, long width,
                              long height) {
    if (overlay.legend.empty()) return {};
    const double scale = displayScale(width, height);
    const double size = kLegendSize * scale;
    const double pad = 0.6 * size;
    const double swatch = 1.6 * size;
    double inner = textWidth(overlay.heading, size);
    for (const LegendRow& row : overlay.legend) inner = std::max(inner, swatch + textWidth(row.text, size));
    const double panelWidth = inner + 2.0 * pad;
    const double panelHeight = static_cast<double>(overlay.legend.size() + 1) * 1.25 * size + 1.4 * pad;
    const double imageWidth = static_cast<double>(width);
    const double imageHeight = static_cast<double>(height);
    if (panelWidth > 0.6 * imageWidth || panelHeight > 0.45 * imageHeight) return {};

    const double margin = 0.5 * pad;
    const double right = imageWidth - panelWidth - margin;
    const double bottom = imageHeight - panelHeight - margin;
    const std::vector<Position> busy = busyPlaces(sketches);
    PanelMark panel{{margin, bottom}, panelWidth, panelHeight};
    std::ptrdiff_t least = countHidden(busy, panel, margin);
    for (const Position& corner : {Position{right, bottom}, Position{right, margin}, Position{margin, margin}}) {
        const PanelMark other{corner, panelWidth, panelHeight};
        const std::ptrdiff_t hidden = countHidden(busy, other, margin);
        if (hidden >= least) continue;
        least = hidden;
        panel = other;
    }
    if (least > 0 && panelWidth * panelHeight > kMostHiding * imageWidth * imageHeight) return {};

    std::vector<Mark> legend;
    legend.emplace_back(panel);
    double base = panel.upperLeft.y + pad + 0.8 * size;
    const double left = panel.upperLeft.x + pad;
    legend.emplace_back(TextMark{{left, base}, size, overlay.heading, kTextColour, ""});
    for (const LegendRow& row : overlay.legend) {
        base += 1.25 * size;
        appendSigns(legend, row, {left + 0.34 * swatch, base - 0.36 * size}, 0.68 * swatch, scale);
        legend.emplace_back(TextMark{{left + swatch, base}, size, row.text, kTextColour, ""});
    }
    return legend;
}

ResultDrawing drawingOf(const ImageReport& report, const qvXform<2>& imageFromClient) {
    if (report.angles) return drawAngles(*report.angles, imageFromClient, report.width, report.height);
    if (report.blankRegions) {
        return drawBlankRegions(*report.blankRegions, displayScale(report.width, report.height));
    }
    return report.drawing;
}

}  // namespace

double displayScale(long width, long height) {
    const double across = static_cast<double>(width);
    const double down = static_cast<double>(height);
    const double side = std::min(std::sqrt(across * down), 4.0 * std::min(across, down));
    return std::clamp(side / 1000.0, 0.6, 12.0);
}

std::vector<MarkedSketch> overlayMarks(const Overlay& overlay, long width, long height) {
    std::vector<MarkedSketch> sketches;
    for (const SketchLayer& layer : overlay.layers) {
        SketchView view;
        if (layer.system == qvDisplay::eClientCoordinates) view.imageFromSketch = overlay.imageFromClient;
        view.scale = displayScale(width, height);
        view.width = static_cast<double>(width);
        view.height = static_cast<double>(height);
        view.lineWidth = layer.lineWidth;
        sketches.push_back({layer.name, marksOf(layer.sketch, view), layer.lineWidth});
    }
    std::vector<Mark> legend = legendMarks(overlay, sketches, width, height);
    if (!legend.empty()) sketches.push_back({"legend", {{qvUITablet::eLabelLayer, std::move(legend)}}});
    return sketches;
}

Overlay layOutOverlay(const ImageReport& report, const std::array<double, 6>& client) {
    Overlay overlay;
    overlay.title = report.image;
    overlay.heading = std::string("qvstreet ") + nameOf(report.subcommand);
    if (report.subcommand != Subcommand::blank) overlay.heading += std::string(", mode ") + nameOf(report.mode);
    overlay.imageFromClient = imageFromClientOf(client);
    ResultDrawing drawing = drawingOf(report, overlay.imageFromClient);
    overlay.layers = std::move(drawing.layers);
    overlay.legend = std::move(drawing.legend);
    return overlay;
}

}  // namespace qvtool
