// The overlay as PNG: the shapes drawn over the image with smooth edges. The picture is made in bands of rows, each
// complete before the next begins, so that beside the grey image only one band of colour is held, whatever the size.
#include "tools/overlay.h"

#include "tools/stroke_font.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace qvtool {
namespace {

constexpr long kBandRows = 64;
constexpr double kLineHaloOpacity = 0.6;
// Pels; a smaller decimal point is lost in the picture of a small image.
constexpr double kLeastDotRadius = 0.8;
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
                const double offX = px - along * dx;
                const double offY = py - along * dy;
                const double squaredDistance = offX * offX + offY * offY;
                if (squaredDistance >= reach * reach) continue;
                blend(x, y, colour, opacity * coverage(radius - std::sqrt(squaredDistance)));
            }
        }
    }

    /// All points whose distance from a centre lies between two radii; an inner radius below 0 leaves no hole.
    void fillRing(const Position& centre, double inner, double outer, Colour colour, double opacity) {
        const double reach = outer + 0.5;
        const double hole = inner - 0.5;
        const Span rows = rowsWithin(centre.y - reach, centre.y + reach);
        for (long y = rows.begin; y < rows.end; ++y) {
            const double dy = static_cast<double>(y) + 0.5 - centre.y;
            const double halfChord = std::sqrt(std::max(reach * reach - dy * dy, 0.0));
            const Span columns = centresWithin(centre.x - halfChord, centre.x + halfChord, width_);
            // A large ring has few pels in a row, and they are at the ends of its chord.
            Span skipped{columns.end, columns.end};
            if (hole > std::abs(dy)) {
                const double halfHole = std::sqrt(hole * hole - dy * dy);
                skipped = centresWithin(centre.x - halfHole, centre.x + halfHole, width_);
            }
            for (long x = columns.begin; x < columns.end; ++x) {
                if (x == skipped.begin && skipped.end > x) x = skipped.end;
                if (x >= columns.end) break;
                const double dx = static_cast<double>(x) + 0.5 - centre.x;
                const double distance = std::sqrt(dx * dx + dy * dy);
                blend(x, y, colour, opacity * std::min(coverage(outer - distance), coverage(distance - inner)));
            }
        }
    }

    /// All points inside a convex outline.
    void fillOutline(const std::vector<Position>& corners, Colour colour, double opacity) {
        double top = corners.front().y;
        double bottom = top;
        double doubledArea = 0.0;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Position& a = corners[i];
            const Position& b = corners[(i + 1) % corners.size()];
            top = std::min(top, a.y);
            bottom = std::max(bottom, a.y);
            doubledArea += a.x * b.y - b.x * a.y;
        }
        const double turn = doubledArea < 0.0 ? -1.0 : 1.0;
        const Span rows = rowsWithin(top - 0.5, bottom + 0.5);
        for (long y = rows.begin; y < rows.end; ++y) {
            for (long x = 0; x < width_; ++x) {
                const Position p{static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5};
                double inside = 1.0;
                for (std::size_t i = 0; i < corners.size() && inside > -0.5; ++i) {
                    const Position& a = corners[i];
                    const Position& b = corners[(i + 1) % corners.size()];
                    const double length = std::hypot(b.x - a.x, b.y - a.y);
                    if (!(length > 0.0)) continue;
                    const double cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
                    inside = std::min(inside, turn * cross / length);
                }
                blend(x, y, colour, opacity * coverage(inside));
            }
        }
    }

    void fillPanel(const PanelMark& panel, Colour colour, double opacity) {
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
            pel[i] = static_cast<unsigned char>(pel[i] + opacity * (ink[i] - pel[i]) + 0.5);
        }
    }

    long width_;
    long top_;
    long rows_;
    std::vector<unsigned char> rgb_;
};

/// The sides of an outline, or the lines of a path.
std::vector<Segment> linesOf(const PathMark& path) {
    std::vector<Segment> lines;
    const std::size_t count = path.points.size();
    if (path.form == PathMark::Form::pairs) {
        for (std::size_t i = 0; i + 1 < count; i += 2) lines.push_back({path.points[i], path.points[i + 1]});
    } else {
        for (std::size_t i = 0; i < count; ++i) lines.push_back({path.points[i], path.points[(i + 1) % count]});
    }
    return lines;
}

/// What lies under all lines and rings of its layer.
class RimPainter {
 public:
    RimPainter(Band& band, double halo) : band_(band), halo_(halo) {}

    void operator()(const PathMark& path) const {
        for (const Segment& s : linesOf(path)) {
            band_.fillCapsule(s, 0.5 * path.width + halo_, kHaloColour, kLineHaloOpacity);
        }
    }
    void operator()(const RingMark& ring) const {
        const double half = 0.5 * ring.width + halo_;
        band_.fillRing(ring.centre, ring.radius - half, ring.radius + half, kHaloColour, kLineHaloOpacity);
    }
    void operator()(const TextMark&) const {}
    void operator()(const PanelMark& panel) const { band_.fillPanel(panel, kPanelColour, kPanelOpacity); }

 private:
    Band& band_;
    double halo_;
};

class BodyPainter {
 public:
    BodyPainter(Band& band, double halo) : band_(band), halo_(halo) {}

    void operator()(const PathMark& path) const {
        if (path.isFilled && !path.points.empty()) band_.fillOutline(path.points, path.colour, kFillOpacity);
        for (const Segment& s : linesOf(path)) band_.fillCapsule(s, 0.5 * path.width, path.colour, 1.0);
    }
    void operator()(const RingMark& ring) const {
        const double half = 0.5 * ring.width;
        if (ring.isFilled) band_.fillRing(ring.centre, -1.0, ring.radius, ring.colour, kFillOpacity);
        band_.fillRing(ring.centre, ring.radius - half, ring.radius + half, ring.colour, 1.0);
    }
    void operator()(const TextMark& text) const {
        const std::vector<Segment> strokes = textStrokes(text.text, text.baseline, text.size);
        const double radius = std::max(0.5, 0.5 * kStrokeThickness * text.size);
        const auto radiusOf = [&](const Segment& stroke) {
            const bool isDot = stroke.p1.x == stroke.p2.x && stroke.p1.y == stroke.p2.y;
            return isDot ? std::max(kLeastDotRadius, radius) : radius;
        };
        // The whole rim before the first letter, so that no letter's rim covers its neighbour.
        for (const Segment& stroke : strokes) band_.fillCapsule(stroke, radiusOf(stroke) + halo_, kHaloColour, 1.0);
        for (const Segment& stroke : strokes) band_.fillCapsule(stroke, radiusOf(stroke), text.colour, 1.0);
    }
    void operator()(const PanelMark&) const {}

 private:
    Band& band_;
    double halo_;
};

/// The rows between which a mark lies, rim and smooth edge included.
class Extent {
 public:
    explicit Extent(double halo) : halo_(halo) {}

    std::pair<double, double> operator()(const PathMark& path) const {
        double top = std::numeric_limits<double>::infinity();
        double bottom = -top;
        for (const Position& p : path.points) {
            top = std::min(top, p.y);
            bottom = std::max(bottom, p.y);
        }
        return widened(top, bottom, 0.5 * path.width);
    }
    std::pair<double, double> operator()(const RingMark& ring) const {
        return widened(ring.centre.y, ring.centre.y, ring.radius + 0.5 * ring.width);
    }
    std::pair<double, double> operator()(const TextMark& text) const {
        return widened(text.baseline.y, text.baseline.y, text.size);
    }
    std::pair<double, double> operator()(const PanelMark& panel) const {
        return widened(panel.upperLeft.y, panel.upperLeft.y + panel.height, 0.0);
    }

 private:
    std::pair<double, double> widened(double top, double bottom, double by) const {
        return {top - by - halo_ - 1.0, bottom + by + halo_ + 1.0};
    }

    double halo_;
};

/// All marks in the order of drawing, with the rows that each may touch.
class Picture {
 public:
    Picture(const GreyImage& image, const Overlay& overlay)
        : image_(image),
          halo_(haloWidth(displayScale(image.width, image.height))),
          sketches_(overlayMarks(overlay, image.width, image.height)) {
        for (const MarkedSketch& sketch : sketches_) {
            for (const MarkedLayer& layer : sketch.layers) {
                layers_.emplace_back();
                layers_.back().halo = sketch.lineWidth * halo_;
                for (const Mark& mark : layer.marks) {
                    layers_.back().marks.push_back({&mark, std::visit(Extent(layers_.back().halo), mark)});
                }
            }
        }
    }

    Band bandFrom(long top) const {
        Band band(image_, top);
        const auto first = static_cast<double>(top);
        const auto end = static_cast<double>(band.end());
        for (const Layer& layer : layers_) {
            std::vector<const Mark*> here;
            for (const Placed& placed : layer.marks) {
                if (placed.rows.second >= first && placed.rows.first <= end) here.push_back(placed.mark);
            }
            for (const Mark* mark : here) std::visit(RimPainter(band, layer.halo), *mark);
            for (const Mark* mark : here) std::visit(BodyPainter(band, layer.halo), *mark);
        }
        return band;
    }

 private:
    struct Placed {
        const Mark* mark;
        std::pair<double, double> rows;
    };
    struct Layer {
        double halo = 0.0;
        std::vector<Placed> marks;
    };

    const GreyImage& image_;
    double halo_;
    std::vector<MarkedSketch> sketches_;
    std::vector<Layer> layers_;
};

}  // namespace

void writeOverlayPng(const ByteSink& sink, const GreyImage& image, const Overlay& overlay) {
    const Picture picture(image, overlay);
    std::vector<Band> current;
    const auto rowAt = [&](long y) {
        if (current.empty() || y >= current.front().end()) {
            current.clear();
            current.push_back(picture.bandFrom(y));
        }
        return current.front().row(y);
    };
    writePng(sink, image.width, image.height, 3, rowAt);
}

}  // namespace qvtool
