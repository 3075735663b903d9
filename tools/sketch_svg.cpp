// Marks as SVG elements. In each layer every line and ring is drawn twice, as a dark rim and as itself. Colours and
// widths are attributes, so that the markup looks the same in a picture and inside any page. Numbers have two digits
// behind the point: hundredths of a pel.
#include "tools/sketch_svg.h"

#include "tools/stroke_font.h"
#include "tools/text.h"

#include <string_view>

namespace qvtool {
namespace {

std::string number(double value) { return withDigits(value, 2); }

std::string hex(Colour colour) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text = "#";
    for (const unsigned char part : {colour.red, colour.green, colour.blue}) {
        text += kDigits[part >> 4];
        text += kDigits[part & 15U];
    }
    return text;
}

std::string titleOf(const std::string& hint) {
    return hint.empty() ? std::string() : "<title>" + xmlText(hint) + "</title>";
}

bool isUpright(const PathMark& path) {
    if (path.form != PathMark::Form::outline || path.points.size() != 4) return false;
    const Position& ul = path.points[0];
    const Position& lr = path.points[2];
    return path.points[1].x == lr.x && path.points[1].y == ul.y && path.points[3].x == ul.x &&
           path.points[3].y == lr.y && ul.x <= lr.x && ul.y <= lr.y;
}

const char* elementOf(const PathMark& path) { return isUpright(path) ? "rect" : "path"; }

const char* elementOf(const RingMark&) { return "circle"; }

std::string placeOf(const PathMark& path) {
    if (isUpright(path)) {
        const Position& ul = path.points[0];
        const Position& lr = path.points[2];
        return "x=\"" + number(ul.x) + "\" y=\"" + number(ul.y) + "\" width=\"" + number(lr.x - ul.x) + "\" height=\"" +
               number(lr.y - ul.y) + '"';
    }
    std::string place = "d=\"";
    for (std::size_t i = 0; i < path.points.size(); ++i) {
        const bool starts = path.form == PathMark::Form::pairs ? i % 2 == 0 : i == 0;
        place += starts ? 'M' : 'L';
        place += number(path.points[i].x) + ' ' + number(path.points[i].y);
    }
    return place + (path.form == PathMark::Form::outline ? "Z\"" : "\"");
}

std::string placeOf(const RingMark& ring) {
    return "cx=\"" + number(ring.centre.x) + "\" cy=\"" + number(ring.centre.y) + "\" r=\"" + number(ring.radius) + '"';
}

/// Pages find icons by this class, and keep their size when the image is magnified.
template <typename Stroked>
std::string classOf(const Stroked& mark) {
    return mark.isIcon ? " class=\"icon\"" : "";
}

/// What lies under all lines and rings of its layer.
class RimWriter {
 public:
    RimWriter(std::string& out, double halo) : out_(out), halo_(halo) {}

    void operator()(const PathMark& path) const { write(path); }
    void operator()(const RingMark& ring) const { write(ring); }
    void operator()(const TextMark&) const {}
    void operator()(const PanelMark& panel) const {
        out_ += "<rect x=\"" + number(panel.upperLeft.x) + "\" y=\"" + number(panel.upperLeft.y) + "\" width=\"" +
                number(panel.width) + "\" height=\"" + number(panel.height) + "\" rx=\"" + number(0.05 * panel.height) +
                "\" fill=\"#101820\" fill-opacity=\".72\"/>\n";
    }

 private:
    template <typename Stroked>
    void write(const Stroked& mark) const {
        out_ += '<' + std::string(elementOf(mark)) + " stroke=\"#000\" stroke-opacity=\".6\" stroke-width=\"" +
                number(mark.width + 2.0 * halo_) + "\" " + placeOf(mark) + classOf(mark) + "/>\n";
    }

    std::string& out_;
    double halo_;
};

class BodyWriter {
 public:
    BodyWriter(std::string& out, double halo) : out_(out), halo_(halo) {}

    void operator()(const PathMark& path) const { write(path); }
    void operator()(const RingMark& ring) const { write(ring); }
    void operator()(const PanelMark&) const {}
    void operator()(const TextMark& text) const {
        out_ += "<text x=\"" + number(text.baseline.x) + "\" y=\"" + number(text.baseline.y) + "\" font-size=\"" +
                number(text.size) + "\" fill=\"" + hex(text.colour) + "\" stroke=\"#000\" stroke-width=\"" +
                number(2.0 * halo_) + "\" paint-order=\"stroke\" textLength=\"" +
                number(textWidth(text.text, text.size)) + "\" lengthAdjust=\"spacingAndGlyphs\">" + xmlText(text.text) +
                titleOf(text.hint) + "</text>\n";
    }

 private:
    template <typename Stroked>
    void write(const Stroked& mark) const {
        const std::string element = elementOf(mark);
        out_ += '<' + element + " stroke=\"" + hex(mark.colour) + "\" stroke-width=\"" + number(mark.width) + "\" ";
        if (mark.isFilled) out_ += "fill=\"" + hex(mark.colour) + "\" fill-opacity=\"" + number(kFillOpacity) + "\" ";
        if (mark.hint.empty()) {
            out_ += placeOf(mark) + classOf(mark) + "/>\n";
        } else {
            // The pointer has to find the inside of thin outlines too.
            out_ += "pointer-events=\"all\" " + placeOf(mark) + classOf(mark) + '>' + titleOf(mark.hint) + "</" +
                    element + ">\n";
        }
    }

    std::string& out_;
    double halo_;
};

}  // namespace

void writeMarksSvg(std::string& out, const std::vector<MarkedLayer>& layers, double halo, const std::string& name) {
    out += "<g class=\"sketch\" ";
    if (!name.empty()) out += "data-name=\"" + xmlText(name) + "\" ";
    out += "fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" font-family=\"sans-serif\">\n";
    for (const MarkedLayer& layer : layers) {
        out += "<g class=\"layer" + std::to_string(layer.layer) + "\">\n";
        for (const Mark& mark : layer.marks) std::visit(RimWriter(out, halo), mark);
        for (const Mark& mark : layer.marks) std::visit(BodyWriter(out, halo), mark);
        out += "</g>\n";
    }
    out += "</g>\n";
}

void writeSketchSvg(std::string& out, const qvUISketch& sketch, qvDisplay::CoordinateSystem system,
                    const qvXform<2>& imageFromClient, double scale) {
    SketchView view;
    if (system == qvDisplay::eClientCoordinates) view.imageFromSketch = imageFromClient;
    view.scale = scale;
    writeMarksSvg(out, marksOf(sketch, view), haloWidth(scale), "");
}

}  // namespace qvtool
