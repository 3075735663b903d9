// From results to shapes. In: a report in client units. Out: lines, rings, boxes, texts and a legend in the image
// frame, sized so that they read alike whether the image has 256 or 4096 pels a side. Streets are blue, crossings
// orange, corners yellow, blank regions green: colours that differ in lightness too, over any grey, each with a dark
// rim.
#include "tools/overlay.h"

#include "tools/text.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qvtool {
namespace {

constexpr Colour kStreetColour{40, 190, 255};
constexpr Colour kCrossingColour{255, 140, 20};
constexpr Colour kCornerColour{255, 232, 90};
constexpr Colour kBlankColour{120, 240, 120};
constexpr Colour kMinorColour{190, 200, 210};
constexpr Colour kTextColour{255, 255, 255};

// Sizes in pels of an image of 1000 by 1000; larger and smaller images scale them.
constexpr double kLineWidth = 2.2;
constexpr double kHalo = 1.1;
constexpr double kRingRadius = 8.0;
constexpr double kCornerArm = 5.0;
constexpr double kLabelSize = 21.0;
constexpr double kLegendSize = 19.0;

// More directions than this are no picture any more; the JSON has them all.
constexpr std::size_t kMostAnglesDrawn = 12;

/// The inverse of the client transform.
class ImageFromClient {
 public:
    explicit ImageFromClient(const std::array<double, 6>& client)
        : m_(client), determinant_(client[0] * client[3] - client[1] * client[2]) {}

    Position vector(const Position& v) const {
        return {(m_[3] * v.x - m_[1] * v.y) / determinant_, (m_[0] * v.y - m_[2] * v.x) / determinant_};
    }
    Position point(const Position& p) const { return vector({p.x - m_[4], p.y - m_[5]}); }

 private:
    std::array<double, 6> m_;
    double determinant_;
};

/// How much larger than in an image of 1000 by 1000 everything is drawn. A long strip counts by its short side.
double scaleFor(const ImageReport& report) {
    const double width = static_cast<double>(report.width);
    const double height = static_cast<double>(report.height);
    const double side = std::min(std::sqrt(width * height), 3.0 * std::min(width, height));
    return std::clamp(side / 1000.0, 0.45, 12.0);
}

bool isFinite(const Position& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

bool same(const Segment& a, const Segment& b) {
    return a.p1.x == b.p1.x && a.p1.y == b.p1.y && a.p2.x == b.p2.x && a.p2.y == b.p2.y;
}

/// A place for a street's label: off the middle, where streets of the two directions would lay theirs on one another.
Position nearUpperLeftEnd(const Segment& s) {
    const bool fromP1 = s.p1.x + s.p1.y <= s.p2.x + s.p2.y;
    const Position& start = fromP1 ? s.p1 : s.p2;
    const Position& end = fromP1 ? s.p2 : s.p1;
    return {start.x + 0.08 * (end.x - start.x), start.y + 0.08 * (end.y - start.y)};
}

class Composer {
 public:
    Composer(const ImageReport& report, const std::array<double, 6>& client)
        : report_(report), toImage_(client), scale_(scaleFor(report)) {
        overlay_.title = report.image;
        overlay_.halo = std::max(0.6, kHalo * scale_);
    }

    Overlay compose() {
        if (report_.crossings) addCrossings(*report_.crossings);
        if (report_.streets) addStreets(*report_.streets);
        if (report_.angles) addAngles(*report_.angles);
        if (report_.blankRegions) addBlankRegions(*report_.blankRegions);
        addLegend();
        return std::move(overlay_);
    }

 private:
    struct LegendRow {
        Colour colour;
        bool ring;
        std::string text;
    };

    void addLine(const Position& from, const Position& to, double width, Colour colour) {
        if (!isFinite(from) || !isFinite(to)) return;
        overlay_.shapes.emplace_back(LineShape{from, to, std::max(1.0, width * scale_), colour});
    }

    /// A text whose box's centre is shifted from `at` to one side, or to the other where the image ends.
    void addLabel(const Position& at, const Position& shift, const std::string& text, Colour colour) {
        if (!isFinite(at)) return;
        const double size = kLabelSize * scale_;
        const double width = textWidth(text, size);
        const double capitals = 0.72 * size;
        double left = at.x + shift.x * scale_;
        if (left + width > static_cast<double>(report_.width)) left = at.x - shift.x * scale_ - width;
        double base = at.y - shift.y * scale_;
        if (base - capitals < 0.0) base = at.y + shift.y * scale_ + capitals;
        overlay_.shapes.emplace_back(TextShape{{std::max(left, 0.0), base}, size, text, colour});
    }

    Segment toImage(const Segment& s) const { return {toImage_.point(s.p1), toImage_.point(s.p2)}; }

    /// Crossings share their lines; each is drawn once.
    void addSegments(const std::vector<Segment>& segments) {
        for (const Segment& segment : segments) {
            const bool drawn =
                std::any_of(drawn_.begin(), drawn_.end(), [&](const Segment& other) { return same(segment, other); });
            if (drawn) continue;
            drawn_.push_back(segment);
            const Segment inImage = toImage(segment);
            addLine(inImage.p1, inImage.p2, kLineWidth, kStreetColour);
        }
    }

    void addCorner(const Position& corner) {
        const Position p = toImage_.point(corner);
        const double arm = kCornerArm * scale_;
        addLine({p.x - arm, p.y}, {p.x + arm, p.y}, kLineWidth, kCornerColour);
        addLine({p.x, p.y - arm}, {p.x, p.y + arm}, kLineWidth, kCornerColour);
    }

    void addCrossings(const std::vector<Crossing>& crossings) {
        for (const Crossing& crossing : crossings) addSegments(crossing.segments);
        bool corners = false;
        for (const Crossing& crossing : crossings) {
            if (!crossing.fromEdges) continue;
            corners = true;
            for (const Position& corner : {crossing.ul, crossing.ur, crossing.ll, crossing.lr}) addCorner(corner);
        }
        for (const Crossing& crossing : crossings) {
            const Position centre = toImage_.point(crossing.centre);
            if (!isFinite(centre)) continue;
            busy_.push_back(centre);
            overlay_.shapes.emplace_back(
                RingShape{centre, kRingRadius * scale_, kLineWidth * 1.2 * scale_, kCrossingColour,
                          "x " + shortest(crossing.centre.x) + ", y " + shortest(crossing.centre.y) + ", score " +
                              shortest(crossing.score)});
            addLabel(centre, {kRingRadius + 5.0, kRingRadius + 3.0}, withDigits(crossing.score, 2), kCrossingColour);
        }
        legend_.push_back({kStreetColour, false, "street"});
        legend_.push_back({kCrossingColour, true, counted(crossings.size(), "crossing") + ", with score"});
        if (corners) legend_.push_back({kCornerColour, false, "corner"});
    }

    void addStreets(const std::vector<Street>& streets) {
        for (const Street& street : streets) addSegments(street.segments);
        for (const Street& street : streets) {
            if (street.segments.empty()) continue;
            Position at;
            for (const Segment& segment : street.segments) {
                const Position p = nearUpperLeftEnd(toImage(segment));
                at.x += p.x / static_cast<double>(street.segments.size());
                at.y += p.y / static_cast<double>(street.segments.size());
            }
            busy_.push_back(at);
            addLabel(at, {6.0, 6.0}, withDigits(street.score, 2), kStreetColour);
        }
        legend_.push_back({kStreetColour, false, counted(streets.size(), "street") + ", with score"});
    }

    void addAngles(const std::vector<ScoredAngle>& angles) {
        const double width = static_cast<double>(report_.width);
        const double height = static_cast<double>(report_.height);
        const Position centre{0.5 * width, 0.5 * height};
        const std::size_t drawn = std::min(angles.size(), kMostAnglesDrawn);
        for (std::size_t back = drawn; back > 0; --back) {
            // Best last, so that it lies on top.
            const ScoredAngle& angle = angles[back - 1];
            const double radians = angle.degrees * std::acos(-1.0) / 180.0;
            const Position v = toImage_.vector({std::cos(radians), std::sin(radians)});
            const double reach = std::min(0.5 * width / std::abs(v.x), 0.5 * height / std::abs(v.y));
            const bool best = back <= 2;
            addLine({centre.x - reach * v.x, centre.y - reach * v.y}, {centre.x + reach * v.x, centre.y + reach * v.y},
                    best ? 1.6 * kLineWidth : kLineWidth, best ? kStreetColour : kMinorColour);
            const Position at{centre.x + 0.7 * reach * v.x, centre.y + 0.7 * reach * v.y};
            busy_.push_back(at);
            addLabel(at, {8.0, 8.0}, withDigits(angle.degrees, 1), best ? kStreetColour : kMinorColour);
        }
        legend_.push_back({kStreetColour, false, "best two angles, degrees"});
        if (angles.size() > 2) {
            const std::string shown = drawn < angles.size() ? withDigits(static_cast<double>(drawn), 0) + " of " : "";
            legend_.push_back({kMinorColour, false, shown + counted(angles.size(), "angle") + " in all"});
        }
    }

    void addBlankRegions(const std::vector<BlankRegion>& regions) {
        for (const BlankRegion& region : regions) {
            const Position corner{static_cast<double>(region.x), static_cast<double>(region.y)};
            const double width = static_cast<double>(region.width);
            const double height = static_cast<double>(region.height);
            overlay_.shapes.emplace_back(
                BoxShape{corner, width, height, std::max(1.0, kLineWidth * scale_), kBlankColour,
                         "x " + std::to_string(region.x) + ", y " + std::to_string(region.y) + ", " +
                             std::to_string(region.width) + " by " + std::to_string(region.height) + ", score " +
                             shortest(region.score) + ", blankness " + shortest(region.blankness)});
        }
        // The labels behind all boxes, so that no box crosses one. Each stands in the middle of its region, where
        // there is nothing else to see.
        for (const BlankRegion& region : regions) {
            const Position middle{static_cast<double>(region.x) + 0.5 * static_cast<double>(region.width),
                                  static_cast<double>(region.y) + 0.5 * static_cast<double>(region.height)};
            const std::string label = withDigits(region.score, 2);
            const double size = kLabelSize * scale_;
            busy_.push_back(middle);
            overlay_.shapes.emplace_back(TextShape{
                {middle.x - 0.5 * textWidth(label, size), middle.y + 0.36 * size}, size, label, kBlankColour});
        }
        legend_.push_back({kBlankColour, false, counted(regions.size(), "blank region") + ", with score"});
    }

    static std::string counted(std::size_t count, const std::string& what) {
        return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
    }

    /// In the corner that holds the fewest results; left out where it would cover more than a third of a side.
    void addLegend() {
        const double size = kLegendSize * scale_;
        const double pad = 0.6 * size;
        const double swatch = 1.6 * size;
        std::string heading = std::string("qvstreet ") + nameOf(report_.subcommand);
        if (report_.subcommand != Subcommand::blank) heading += std::string(", mode ") + nameOf(report_.mode);
        double inner = textWidth(heading, size);
        for (const LegendRow& row : legend_) inner = std::max(inner, swatch + textWidth(row.text, size));
        const double width = inner + 2.0 * pad;
        const double height = static_cast<double>(legend_.size() + 1) * 1.25 * size + 1.4 * pad;
        const double imageWidth = static_cast<double>(report_.width);
        const double imageHeight = static_cast<double>(report_.height);
        if (width > 0.6 * imageWidth || height > 0.35 * imageHeight) return;

        const Position corner = quietestCorner(width, height, 0.5 * pad);
        overlay_.shapes.emplace_back(PanelShape{corner, width, height});
        double base = corner.y + pad + 0.8 * size;
        const double left = corner.x + pad;
        overlay_.shapes.emplace_back(TextShape{{left, base}, size, heading, kTextColour});
        for (const LegendRow& row : legend_) {
            base += 1.25 * size;
            const Position middle{left + 0.34 * swatch, base - 0.3 * size};
            if (row.ring) {
                overlay_.shapes.emplace_back(RingShape{middle, 0.32 * size, 0.12 * size, row.colour, ""});
            } else {
                addLine({left, middle.y}, {left + 0.68 * swatch, middle.y}, kLineWidth, row.colour);
            }
            overlay_.shapes.emplace_back(TextShape{{left + swatch, base}, size, row.text, kTextColour});
        }
    }

    Position quietestCorner(double width, double height, double margin) const {
        const double right = static_cast<double>(report_.width) - width - margin;
        const double bottom = static_cast<double>(report_.height) - height - margin;
        const std::array<Position, 4> corners = {
            {{margin, bottom}, {right, bottom}, {right, margin}, {margin, margin}}};
        const auto hidden = [&](const Position& corner) {
            return std::count_if(busy_.begin(), busy_.end(), [&](const Position& p) {
                return p.x > corner.x - margin && p.x < corner.x + width + margin && p.y > corner.y - margin &&
                       p.y < corner.y + height + margin;
            });
        };
        return *std::min_element(corners.begin(), corners.end(),
                                 [&](const Position& a, const Position& b) { return hidden(a) < hidden(b); });
    }

    const ImageReport& report_;
    ImageFromClient toImage_;
    double scale_;
    Overlay overlay_;
    std::vector<Segment> drawn_;
    std::vector<Position> busy_;
    std::vector<LegendRow> legend_;
};

}  // namespace

Overlay layOutOverlay(const ImageReport& report, const std::array<double, 6>& client) {
    return Composer(report, client).compose();
}

}  // namespace qvtool
