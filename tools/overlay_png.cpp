// The overlay as PNG: the shapes drawn over the image with smooth edges. The picture is made in bands of rows, each
// complete before the next begins, so that beside the grey image only one band of colour is held, whatever the size.
#include "tools/overlay.h"

#include "tools/stroke_font.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qvtool {
namespace {

constexpr long kBandRows = 64;
constexpr double kLineHaloOpacity = 0.6;
constexpr double kPanelOpacity = 0.72;
constexpr Colour kHaloColour{0, 0, 0};
constexpr Colour kPanelColour{16, 24, 32};

/// How much of a pel whose centre lies that far inside an edge is covered: a linear ramp one pel wide.
double coverage(double inside) { return std::clamp(inside + 0.5, 0.0, 1.0); }

/// The first and one past the last column or row whose centre lies in [low, high], cut to [0, count).
struct Span {
    long begin = 0;
    long end = 0;
};

Span centresWithin(double low, double high, long count) {
    const double size = static_cast<double>(count);
    Span span;
    span.begin = static_cast<long>(std::clamp(std::ceil(low - 0.5), 0.0, size));
    span.end = static_cast<long>(std::clamp(std::floor(high - 0.5) + 1.0, 0.0, size));
    return span;
}

/// Some rows of the picture, as RGB.
class Band {
 public:
    Band(const GreyImage& image, long top)
        : width_(image.width), top_(top), rows_(std::min(kBandRows, image.height - top)) {
        const auto columns = static_cast<std::size_t>(width_);
        const unsigned char* grey = image.pels.data() + static_cast<std::size_t>(top) * columns;
        const std::size_t count = static_cast<std::size_t>(rows_) * columns;
        rgb_.resize(3 * count);
        for (std::size_t i = 0; i < count; ++i) rgb_[3 * i] = rgb_[3 * i + 1] = rgb_[3 * i + 2] = grey[i];
    }

    long end() const { return top_ + rows_; }
    const unsigned char* row(long y) const {
        return rgb_.data() + 3 * static_cast<std::size_t>(y - top_) * static_cast<std::size_t>(width_);
    }

    /// All points within `radius` of a line segment.
    void fillCapsule(const Segment& s, double radius, Colour colour, double opacity) {
        const double reach = radius + 0.5;
        const double dx = s.p2.x - s.p1.x;
        const double dy = s.p2.y - s.p1.y;
        const double squaredLength = dx * dx + dy * dy;
        const Span rows = rowsWithin(std::min(s.p1.y, s.p2.y) - reach, std::max(s.p1.y, s.p2.y) + reach);
        for (long y = rows.begin; y < rows.end; ++y) {
            const double centreY = static_cast<double>(y) + 0.5;
            // The part of the segment that can reach this row, and the columns that it can reach there.
            double from = 0.0;
            double to = 1.0;
            if (dy != 0.0) {
                const double a = (centreY - reach - s.p1.y) / dy;
                const double b = (centreY + reach - s.p1.y) / dy;
                from = std::clamp(std::min(a, b), 0.0, 1.0);
                to = std::clamp(std::max(a, b), 0.0, 1.0);
            }
            const double xa = s.p1.x + from * dx;
            const double xb = s.p1.x + to * dx;
            const Span columns = centresWithin(std::min(xa, xb) - reach, std::max(xa, xb) + reach, width_);
            for (long x = columns.begin; x < columns.end; ++x) {
                const double px = static_cast<double>(x) + 0.5 - s.p1.x;
                const double py = centreY - s.p1.y;
                const double along =
                    squaredLength > 0.0 ? std::clamp((px * dx + py * dy) / squaredLength, 0.0, 1.0) : 0.0;
                const double distance = std::hypot(px - along * dx, py - along * dy);
                blend(x, y, colour, opacity * coverage(radius - distance));
            }
        }
    }

    void fillRing(const Position& centre, double radius, double halfWidth, Colour colour, double opacity) {
        const double reach = radius + halfWidth + 0.5;
        const Span rows = rowsWithin(centre.y - reach, centre.y + reach);
        const Span columns = centresWithin(centre.x - reach, centre.x + reach, width_);
        for (long y = rows.begin; y < rows.end; ++y) {
            for (long x = columns.begin; x < columns.end; ++x) {
                const double distance =
                    std::hypot(static_cast<double>(x) + 0.5 - centre.x, static_cast<double>(y) + 0.5 - centre.y);
                blend(x, y, colour, opacity * coverage(halfWidth - std::abs(distance - radius)));
            }
        }
    }

    void fillPanel(const PanelShape& panel, Colour colour, double opacity) {
        const Span rows = rowsWithin(panel.upperLeft.y, panel.upperLeft.y + panel.height);
        const Span columns = centresWithin(panel.upperLeft.x, panel.upperLeft.x + panel.width, width_);
        for (long y = rows.begin; y < rows.end; ++y) {
            for (long x = columns.begin; x < columns.end; ++x) blend(x, y, colour, opacity);
        }
    }

 private:
    Span rowsWithin(double low, double high) const {
        Span span = centresWithin(low, high, end());
        span.begin = std::max(span.begin, top_);
        return span;
    }

    void blend(long x, long y, Colour colour, double opacity) {
        if (!(opacity > 0.0)) return;
        unsigned char* pel = rgb_.data() + 3 * static_cast<std::size_t>((y - top_) * width_ + x);
        const std::array<unsigned char, 3> ink = {colour.red, colour.green, colour.blue};
        for (std::size_t i = 0; i < 3; ++i) {
            pel[i] = static_cast<unsigned char>(std::lround(pel[i] + opacity * (ink[i] - pel[i])));
        }
    }

    long width_;
    long top_;
    long rows_;
    std::vector<unsigned char> rgb_;
};

class Painter {
 public:
    Painter(Band& band, double halo) : band_(band), halo_(halo) {}

    void operator()(const LineShape& line) const {
        const Segment segment{line.from, line.to};
        band_.fillCapsule(segment, 0.5 * line.width + halo_, kHaloColour, kLineHaloOpacity);
        band_.fillCapsule(segment, 0.5 * line.width, line.colour, 1.0);
    }

    void operator()(const RingShape& ring) const {
        band_.fillRing(ring.centre, ring.radius, 0.5 * ring.width + halo_, kHaloColour, kLineHaloOpacity);
        band_.fillRing(ring.centre, ring.radius, 0.5 * ring.width, ring.colour, 1.0);
    }

    void operator()(const BoxShape& box) const {
        const Position ul = box.upperLeft;
        const Position lr{ul.x + box.width, ul.y + box.height};
        const std::array<Segment, 4> sides = {
            {{ul, {lr.x, ul.y}}, {{lr.x, ul.y}, lr}, {lr, {ul.x, lr.y}}, {{ul.x, lr.y}, ul}}};
        // Both rims of a corner before its sides.
        for (const Segment& s : sides) band_.fillCapsule(s, 0.5 * box.lineWidth + halo_, kHaloColour, kLineHaloOpacity);
        for (const Segment& s : sides) band_.fillCapsule(s, 0.5 * box.lineWidth, box.colour, 1.0);
    }

    void operator()(const TextShape& text) const {
        const std::vector<Segment> strokes = textStrokes(text.text, text.baseline, text.size);
        const double radius = std::max(0.5, 0.5 * kStrokeThickness * text.size);
        // The whole rim before the first letter, so that no letter's rim covers its neighbour.
        for (const Segment& stroke : strokes) band_.fillCapsule(stroke, radius + halo_, kHaloColour, 1.0);
        for (const Segment& stroke : strokes) band_.fillCapsule(stroke, radius, text.colour, 1.0);
    }

    void operator()(const PanelShape& panel) const { band_.fillPanel(panel, kPanelColour, kPanelOpacity); }

 private:
    Band& band_;
    double halo_;
};

}  // namespace

void writeOverlayPng(const ByteSink& sink, const GreyImage& image, const Overlay& overlay) {
    std::vector<Band> current;
    const auto rowAt = [&](long y) {
        if (current.empty() || y >= current.front().end()) {
            current.clear();
            current.emplace_back(image, y);
            for (const Shape& shape : overlay.shapes) std::visit(Painter(current.front(), overlay.halo), shape);
        }
        return current.front().row(y);
    };
    writePng(sink, image.width, image.height, 3, rowAt);
}

}  // namespace qvtool
