// The overlay as SVG: the image embedded as PNG, the shapes above it in the same coordinates, so that a viewer can zoom
// in to single pels. Numbers have two digits behind the point: hundredths of a pel.
#include "tools/overlay.h"

#include "tools/text.h"

#include <cmath>
#include <string_view>

namespace qvtool {
namespace {

class SvgWriter {
 public:
    SvgWriter(const ByteSink& sink, double halo) : sink_(sink), halo_(halo) {}

    void put(std::string_view text) { sink_(reinterpret_cast<const unsigned char*>(text.data()), text.size()); }

    void operator()(const LineShape& line) {
        const std::string ends = "\" d=\"M" + xy(line.from) + "L" + xy(line.to) + "\"/>\n";
        put("<path class=\"halo\" stroke-width=\"" + number(line.width + 2.0 * halo_) + ends);
        put("<path stroke=\"" + hex(line.colour) + "\" stroke-width=\"" + number(line.width) + ends);
    }

    void operator()(const RingShape& ring) {
        const std::string where = "\" cx=\"" + number(ring.centre.x) + "\" cy=\"" + number(ring.centre.y) + "\" r=\"" +
                                  number(ring.radius) + "\"";
        put("<circle class=\"halo\" stroke-width=\"" + number(ring.width + 2.0 * halo_) + where + "/>\n");
        put("<circle pointer-events=\"all\" stroke=\"" + hex(ring.colour) + "\" stroke-width=\"" + number(ring.width) +
            where + "><title>" + xmlText(ring.hint) + "</title></circle>\n");
    }

    void operator()(const BoxShape& box) {
        const std::string where = "\" x=\"" + number(box.upperLeft.x) + "\" y=\"" + number(box.upperLeft.y) +
                                  "\" width=\"" + number(box.width) + "\" height=\"" + number(box.height) + "\"";
        put("<rect class=\"box halo\" stroke-width=\"" + number(box.lineWidth + 2.0 * halo_) + where + "/>\n");
        put("<rect class=\"box\" pointer-events=\"all\" stroke=\"" + hex(box.colour) + "\" stroke-width=\"" +
            number(box.lineWidth) + where + "><title>" + xmlText(box.hint) + "</title></rect>\n");
    }

    void operator()(const TextShape& text) {
        put("<text x=\"" + number(text.baseline.x) + "\" y=\"" + number(text.baseline.y) + "\" font-size=\"" +
            number(text.size) + "\" fill=\"" + hex(text.colour) + "\" stroke-width=\"" + number(2.0 * halo_) +
            "\" textLength=\"" + number(textWidth(text.text, text.size)) + "\" lengthAdjust=\"spacingAndGlyphs\">" +
            xmlText(text.text) + "</text>\n");
    }

    void operator()(const PanelShape& panel) {
        put("<rect x=\"" + number(panel.upperLeft.x) + "\" y=\"" + number(panel.upperLeft.y) + "\" width=\"" +
            number(panel.width) + "\" height=\"" + number(panel.height) + "\" rx=\"" + number(0.05 * panel.height) +
            "\" fill=\"#101820\" fill-opacity=\"0.72\"/>\n");
    }

    static std::string number(double value) { return withDigits(value, 2); }

 private:
    static std::string xy(const Position& p) { return number(p.x) + " " + number(p.y); }

    static std::string hex(Colour colour) {
        static constexpr std::string_view kDigits = "0123456789abcdef";
        std::string text = "#";
        for (const unsigned char part : {colour.red, colour.green, colour.blue}) {
            text += kDigits[part >> 4];
            text += kDigits[part & 15U];
        }
        return text;
    }

    const ByteSink& sink_;
    double halo_;
};

/// Base64 of a stream that comes in pieces of any length.
class Base64 {
 public:
    explicit Base64(const ByteSink& sink) : sink_(sink) {}

    void put(const unsigned char* data, std::size_t size) {
        std::string text;
        text.reserve(size / 3 * 4 + 8);
        for (std::size_t i = 0; i < size; ++i) {
            bits_ = bits_ << 8 | data[i];
            if (++held_ == 3) flushGroup(text);
        }
        send(text);
    }

    void finish() {
        if (held_ == 0) return;
        const unsigned missing = 3 - held_;
        bits_ <<= 8 * missing;
        std::string text;
        flushGroup(text);
        text.replace(4 - missing, missing, missing, '=');
        send(text);
    }

 private:
    void flushGroup(std::string& text) {
        static constexpr std::string_view kAlphabet =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (const unsigned shift : {18U, 12U, 6U, 0U}) text += kAlphabet[bits_ >> shift & 63U];
        bits_ = 0;
        held_ = 0;
    }

    void send(const std::string& text) { sink_(reinterpret_cast<const unsigned char*>(text.data()), text.size()); }

    const ByteSink& sink_;
    std::uint32_t bits_ = 0;
    unsigned held_ = 0;
};

}  // namespace

void writeOverlaySvg(const ByteSink& sink, const GreyImage& image, const Overlay& overlay) {
    SvgWriter svg(sink, overlay.halo);
    const std::string size =
        "width=\"" + std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) + "\"";
    svg.put(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" " +
        size + " viewBox=\"0 0 " + std::to_string(image.width) + " " + std::to_string(image.height) + "\">\n<title>" +
        xmlText(overlay.title) + "</title>\n");
    svg.put(
        "<style>path,circle,.box{fill:none;stroke-linecap:round}.halo{stroke:#000;stroke-opacity:.6}"
        "text{font-family:sans-serif;stroke:#000;stroke-linejoin:round;paint-order:stroke}"
        "image{image-rendering:pixelated}</style>\n");
    svg.put("<image " + size + " xlink:href=\"data:image/png;base64,");
    Base64 base64(sink);
    const auto columns = static_cast<std::size_t>(image.width);
    writePng([&](const unsigned char* data, std::size_t count) { base64.put(data, count); }, image.width, image.height,
             1, [&](long y) { return image.pels.data() + static_cast<std::size_t>(y) * columns; });
    base64.finish();
    svg.put("\"/>\n");
    for (const Shape& shape : overlay.shapes) std::visit(svg, shape);
    svg.put("</svg>\n");
}

}  // namespace qvtool
