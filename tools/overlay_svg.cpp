// The overlay as SVG: the image embedded as PNG, the shapes above it in the same coordinates, so that a viewer can zoom
// in to single pels.
#include "tools/overlay.h"

#include "tools/sketch_svg.h"
#include "tools/text.h"

#include <cstdint>
#include <string_view>

namespace qvtool {
namespace {

void putText(const ByteSink& sink, std::string_view text) {
    sink(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

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

    void send(const std::string& text) { putText(sink_, text); }

    const ByteSink& sink_;
    std::uint32_t bits_ = 0;
    unsigned held_ = 0;
};

}  // namespace

void writeOverlaySvg(const ByteSink& sink, const GreyImage& image, const Overlay& overlay) {
    const std::string size =
        "width=\"" + std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) + "\"";
    putText(sink,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
            "xmlns:xlink=\"http://www.w3.org/1999/xlink\" " +
                size + " viewBox=\"0 0 " + std::to_string(image.width) + " " + std::to_string(image.height) +
                "\">\n<title>" + xmlText(overlay.title) + "</title>\n");
    putText(sink, "<image style=\"image-rendering:pixelated\" " + size + " xlink:href=\"data:image/png;base64,");
    Base64 base64(sink);
    const auto columns = static_cast<std::size_t>(image.width);
    writePng([&](const unsigned char* data, std::size_t count) { base64.put(data, count); }, image.width, image.height,
             1, [&](long y) { return image.pels.data() + static_cast<std::size_t>(y) * columns; });
    base64.finish();
    putText(sink, "\"/>\n");

    for (const MarkedSketch& sketch : overlayMarks(overlay, image.width, image.height)) {
        std::string group;
        const double halo = sketch.lineWidth * haloWidth(displayScale(image.width, image.height));
        writeMarksSvg(group, sketch.layers, halo, sketch.name);
        putText(sink, group);
    }
    putText(sink, "</svg>\n");
}

}  // namespace qvtool
