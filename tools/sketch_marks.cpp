// From shapes to marks. In: a shape in the frame of its sketch. Out: lines, outlines, rings and texts in pels of the
// image. Icons and line widths are given in pels of a display on which the whole picture is about a thousand pels wide;
// the view's scale takes them to the image, so that a picture reads alike whether it has 256 or 4096 pels a side.
#include "tools/sketch_marks.h"

#include "tools/stroke_font.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace qvtool {
namespace {

// Sizes in pels of the display.
constexpr double kLineWidth = 2.0;
constexpr double kHalo = 1.1;
constexpr double kIconRadius = 6.5;
constexpr double kIconDotRadius = 1.5;
constexpr double kCrossArm = 7.0;
constexpr double kTextSize = 21.0;
constexpr double kTextGapX = 11.0;
constexpr double kTextGapY = 9.0;

// Part of a text's size.
constexpr double kCapitals = 0.72;
constexpr double kDescenders = 0.3;
constexpr double kLineFeed = 1.25;

// Pels. Lines are cut at this distance from the image and other shapes beyond it left out: viewers of SVG count in
// floats, and nothing there would be seen.
constexpr double kFar = 1e6;
// Beyond this a position is taken for garbage; products of two such numbers are still finite.
constexpr double kAbsurd = 1e12;

// Corners of the polygon that stands for a circle where the frame makes an ellipse of it.
constexpr int kEllipseCorners = 48;

// In a sketch with more than that to avoid, texts cover something wherever they stand.
constexpr std::size_t kMostObstacles = 3000;

// Luminance from 0 to 255 below which a colour can hardly be told from its rim, and least of all pure blue (29).
constexpr double kLeastLuminance = 110.0;

bool isNear(const Position& p, double limit) { return std::abs(p.x) <= limit && std::abs(p.y) <= limit; }

/// Narrows [from, to] to the part where start + t * step lies between -kFar and kFar.
void cutToRange(double start, double step, double& from, double& to) {
    if (step == 0.0) {
        if (std::abs(start) > kFar) to = -1.0;
        return;
    }
    const double a = (-kFar - start) / step;
    const double b = (kFar - start) / step;
    from = std::max(from, std::min(a, b));
    to = std::min(to, std::max(a, b));
}

/// Whether something of the line is left.
bool cutLine(Position& a, Position& b) {
    if (!isNear(a, kAbsurd) || !isNear(b, kAbsurd)) return false;
    if (isNear(a, kFar) && isNear(b, kFar)) return true;
    const Position start = a;
    const Position step{b.x - a.x, b.y - a.y};
    double from = 0.0;
    double to = 1.0;
    cutToRange(start.x, step.x, from, to);
    cutToRange(start.y, step.y, from, to);
    if (from > to) return false;
    a = {start.x + from * step.x, start.y + from * step.y};
    b = {start.x + to * step.x, start.y + to * step.y};
    return true;
}

/// Boxes of what a text should not cover.
class Obstacles {
 public:
    void add(const Position& upperLeft, const Position& lowerRight) {
        if (boxes_.size() < kMostObstacles) boxes_.push_back({upperLeft, lowerRight});
    }
    std::ptrdiff_t countIn(const Position& upperLeft, const Position& lowerRight) const {
        return std::count_if(boxes_.begin(), boxes_.end(), [&](const Segment& box) {
            return box.p1.x < lowerRight.x && box.p2.x > upperLeft.x && box.p1.y < lowerRight.y &&
                   box.p2.y > upperLeft.y;
        });
    }

 private:
    std::vector<Segment> boxes_;  ///< upper left and lower right corner
};

class Marker {
 public:
    Marker(std::vector<Mark>& marks, Obstacles& obstacles, const qvShape& shape, const SketchView& view)
        : marks_(marks),
          obstacles_(obstacles),
          shape_(shape),
          view_(view),
          colour_(shownColour(shape.color)),
          hint_(utf8Of(shape.hint)) {}

    void mark() {
        const Position at = toImage(shape_.p1);
        switch (shape_.kind) {
            case qvShape::ePointIcon:
                addIcon(at);
                return;
            case qvShape::eCross:
                addCross(at);
                return;
            case qvShape::eCircle:
                addCircle(at);
                return;
            case qvShape::eLineSeg:
                addLine(at, toImage(shape_.p2));
                return;
            case qvShape::eRect:
                addRect();
                return;
            case qvShape::eText:
                addText(at);
                return;
        }
    }

 private:
    Position toImage(const qvVector<2>& point) const {
        const qvVector<2> mapped = view_.imageFromSketch * point;
        return {mapped.x(), mapped.y()};
    }

    void addIcon(const Position& at) {
        addRing(at, kIconRadius * view_.scale, shape_.isFilled, true);
        addRing(at, kIconDotRadius * view_.scale, true, true);
    }

    void addCross(const Position& at) {
        const qvRadian angle = view_.imageFromSketch.mapAngle(shape_.angle);
        const double arm = kCrossArm * view_.scale;
        const Position along{arm * qfCos(angle), arm * qfSin(angle)};
        if (!isNear(at, kFar) || !isNear(along, kFar)) return;
        addPath(PathMark::Form::pairs,
                {{at.x - along.x, at.y - along.y},
                 {at.x + along.x, at.y + along.y},
                 {at.x + along.y, at.y - along.x},
                 {at.x - along.y, at.y + along.x}},
                true);
    }

    void addCircle(const Position& at) {
        if (shape_.hasDisplaySize) {
            addRing(at, shape_.radius * view_.scale, shape_.isFilled, true);
            return;
        }
        const qvVector<2> x = view_.imageFromSketch.mapVector(qvVector<2>(shape_.radius, 0.0));
        const qvVector<2> y = view_.imageFromSketch.mapVector(qvVector<2>(0.0, shape_.radius));
        const double radius = x.len();
        const double tolerance = 1e-3 * radius;
        if (std::abs(radius - y.len()) <= tolerance && std::abs(x * y) <= tolerance * radius) {
            addRing(at, radius, shape_.isFilled, false);
            return;
        }
        std::vector<Position> corners;
        for (int i = 0; i < kEllipseCorners; ++i) {
            const double angle = 2.0 * std::acos(-1.0) * i / kEllipseCorners;
            corners.push_back({at.x + std::cos(angle) * x.x() + std::sin(angle) * y.x(),
                               at.y + std::cos(angle) * x.y() + std::sin(angle) * y.y()});
            if (!isNear(corners.back(), kFar)) return;
        }
        addPath(PathMark::Form::outline, std::move(corners));
    }

    void addLine(Position from, Position to) {
        if (cutLine(from, to)) addPath(PathMark::Form::pairs, {from, to});
    }

    void addRect() {
        const qvVector<2> right(shape_.p2.x(), 0.0);
        const qvVector<2> down(0.0, shape_.p2.y());
        std::vector<Position> corners;
        for (const qvVector<2>& corner : {shape_.p1, shape_.p1 + right, shape_.p1 + shape_.p2, shape_.p1 + down}) {
            corners.push_back(toImage(corner));
            Position& last = corners.back();
            if (!isNear(last, kAbsurd)) return;
            last = {std::clamp(last.x, -kFar, kFar), std::clamp(last.y, -kFar, kFar)};
        }
        addPath(PathMark::Form::outline, std::move(corners));
    }

    void addText(const Position& at) {
        if (!isNear(at, kFar)) return;
        const double size = textSize(view_.scale);
        std::vector<std::string> lines(1);
        for (const char c : utf8Of(shape_.text)) {
            if (c == '\n') {
                lines.emplace_back();
            } else {
                lines.back() += c;
            }
        }
        double width = 0.0;
        for (const std::string& line : lines) width = std::max(width, textWidth(line, size));
        const double below = static_cast<double>(lines.size() - 1) * kLineFeed * size;
        Position baseline = placeOfText(at, width, below, size);
        for (std::string& line : lines) {
            if (!line.empty()) marks_.emplace_back(TextMark{baseline, size, std::move(line), colour_, hint_});
            baseline.y += kLineFeed * size;
        }
    }

    /// Where a text begins: to the upper right of `at`, or on another side where that covers less.
    Position placeOfText(const Position& at, double width, double below, double size) {
        const qvVector<2> gap = textGap(view_.scale);
        const double right = at.x + gap.x();
        const double left = at.x - gap.x() - width;
        const double above = at.y - gap.y() - below;
        const double under = at.y + gap.y() + kCapitals * size;
        Position best;
        Position upperLeft;
        Position lowerRight;
        std::ptrdiff_t least = -1;
        for (const Position& side : {Position{right, above}, {right, under}, {left, above}, {left, under}}) {
            const Position place = insidePicture(at, side, width, below, size);
            const bool moved = place.x != side.x || place.y != side.y;
            const Position ul{place.x, place.y - kCapitals * size};
            const Position lr{place.x + width, place.y + below};
            // A text that had to be moved may lie on its own point; that counts as something covered.
            const std::ptrdiff_t covered = obstacles_.countIn(ul, lr) + (moved ? 1 : 0);
            if (least >= 0 && covered >= least) continue;
            least = covered;
            best = place;
            upperLeft = ul;
            lowerRight = lr;
        }
        // A digit's width apart, so that two numbers side by side do not look like one.
        obstacles_.add({upperLeft.x - 0.4 * size, upperLeft.y}, {lowerRight.x + 0.4 * size, lowerRight.y});
        return best;
    }

    Position insidePicture(const Position& at, const Position& place, double width, double below, double size) const {
        // What lies well outside is not to be seen, nor its text.
        const bool isShown = view_.width > 0.0 && at.x > -size && at.x < view_.width + size && at.y > -size &&
                             at.y < view_.height + size;
        if (!isShown) return place;
        const double lowest = view_.height - below - kDescenders * size;
        return {std::max(std::min(place.x, view_.width - width), 0.0),
                std::max(std::min(place.y, lowest), kCapitals * size)};
    }

    void addPath(PathMark::Form form, std::vector<Position> points, bool isIcon = false) {
        const bool filled = shape_.isFilled && form == PathMark::Form::outline;
        marks_.emplace_back(PathMark{form, std::move(points), kLineWidth * view_.lineWidth * view_.scale, colour_,
                                     filled, hint_, isIcon});
    }

    void addRing(const Position& centre, double radius, bool isFilled, bool isIcon) {
        if (!isNear(centre, kFar) || !(radius >= 0.0 && radius <= kFar)) return;
        marks_.emplace_back(
            RingMark{centre, radius, kLineWidth * view_.lineWidth * view_.scale, colour_, isFilled, hint_, isIcon});
        const double size = std::min(radius, kIconRadius * view_.scale);
        obstacles_.add({centre.x - size, centre.y - size}, {centre.x + size, centre.y + size});
    }

    std::vector<Mark>& marks_;
    Obstacles& obstacles_;
    const qvShape& shape_;
    const SketchView& view_;
    Colour colour_;
    std::string hint_;
};

}  // namespace

double haloWidth(double scale) { return kHalo * scale; }

double textSize(double scale) { return kTextSize * scale; }

qvVector<2> textGap(double scale) { return {kTextGapX * scale, kTextGapY * scale}; }

// Pure blue and the dark green would be lost between their black rims, so dark colours are mixed with white. The hue
// stays, and so does the order of colours that differ in lightness only by enough to be told apart.
Colour shownColour(const qvColor& color) {
    const double luminance = 0.299 * color.red() + 0.587 * color.green() + 0.114 * color.blue();
    if (luminance >= kLeastLuminance) return {color.red(), color.green(), color.blue()};
    const double white = (kLeastLuminance - luminance) / (255.0 - luminance);
    const auto mixed = [&](unsigned char part) {
        return static_cast<unsigned char>(std::lround(part + white * (255.0 - part)));
    };
    return {mixed(color.red()), mixed(color.green()), mixed(color.blue())};
}

void appendMarks(std::vector<Mark>& marks, const qvShape& shape, const SketchView& view) {
    Obstacles none;
    Marker(marks, none, shape, view).mark();
}

std::vector<MarkedLayer> marksOf(const qvUISketch& sketch, const SketchView& view) {
    std::map<long, std::vector<Mark>> byLayer;
    Obstacles obstacles;
    for (const bool isText : {false, true}) {
        for (const qvShape& shape : sketch.shapes()) {
            if ((shape.kind == qvShape::eText) != isText) continue;
            Marker(byLayer[shape.layer], obstacles, shape, view).mark();
        }
    }
    std::vector<MarkedLayer> layers;
    for (auto& [layer, marks] : byLayer) layers.push_back({layer, std::move(marks)});
    return layers;
}

std::string utf8Of(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t letter : text) {
        auto code = static_cast<std::uint32_t>(letter);
        if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) code = 0xFFFD;
        const auto put = [&bytes](std::uint32_t byte) { bytes += static_cast<char>(static_cast<unsigned char>(byte)); };
        if (code < 0x80) {
            put(code);
        } else if (code < 0x800) {
            put(0xC0 | code >> 6);
            put(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            put(0xE0 | code >> 12);
            put(0x80 | (code >> 6 & 0x3F));
            put(0x80 | (code & 0x3F));
        } else {
            put(0xF0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3F));
            put(0x80 | (code >> 6 & 0x3F));
            put(0x80 | (code & 0x3F));
        }
    }
    return bytes;
}

}  // namespace qvtool
