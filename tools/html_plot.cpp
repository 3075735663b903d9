// Plots as inline SVG. In: curves and marks in the units of their axes, any range. Out: a figure in a box of fixed user
// units that the page scales to its width. Colours come from the records, which know nothing of paper: what would be
// too light on white is darkened, and curves differ by their dashes too.
#include "tools/html_plot.h"

#include "qvstreet/platform/text.h"
#include "tools/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace qvtool {
namespace {

// The picture, in user units; fonts are 12 units.
constexpr double kWidth = 860.0;
constexpr double kHeight = 300.0;
constexpr double kLeft = 72.0;
constexpr double kRight = 14.0;
constexpr double kBottom = 46.0;
constexpr double kCaptionRow = 15.0;
constexpr int kMostCaptionRows = 4;
constexpr double kLetter = 7.2;  // mean width of a bold letter at 12 units

// Beyond this the picture's arithmetic could overflow.
constexpr double kGreatest = 1e100;

constexpr std::array<const char*, 4> kDashes = {"", " stroke-dasharray=\"7 3\"", " stroke-dasharray=\"2 3\"",
                                                " stroke-dasharray=\"9 3 2 3\""};

const std::string kCaption = " class=\"caption\" fill=\"";

bool isDrawable(double value) { return std::isfinite(value) && std::abs(value) <= kGreatest; }

std::string utf8(const std::wstring& text) { return xmlText(qfUtf8(text)); }

std::string number(double value) { return withDigits(value, 1); }

/// The colour, at most as light as a mid grey.
std::string onPaper(const qvColor& colour) {
    constexpr double kLightest = 130.0;
    const double lightness = 0.299 * colour.red() + 0.587 * colour.green() + 0.114 * colour.blue();
    const double factor = lightness > kLightest ? kLightest / lightness : 1.0;
    std::string text = "rgb(";
    for (const unsigned char part : {colour.red(), colour.green(), colour.blue()}) {
        if (text.back() != '(') text += ',';
        text += std::to_string(static_cast<int>(factor * part));
    }
    return text + ")";
}

struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void add(double value) {
        if (!isDrawable(value)) return;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    bool isEmpty() const { return low > high; }
    double span() const { return high - low; }

    /// Makes room for a single value, which has no span of its own, and for spans that ticks could not divide.
    void open() {
        const double greatest = std::max(std::abs(low), std::abs(high));
        if (span() > std::max(1e-9 * greatest, 1e-200)) return;
        const double room = std::max(0.5, 0.1 * greatest);
        low -= room;
        high += room;
    }
};

/// 1, 2 or 5 times a power of ten, so that about `count` of them fill the span.
double tickStep(double span, int count) {
    const double rough = span / count;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough) return factor * power;
    }
    return 10.0 * power;
}

std::vector<double> ticks(const Range& range, double step) {
    std::vector<double> values;
    const double first = std::ceil(range.low / step);
    for (double i = 0.0; i < 30.0 && (first + i) * step <= range.high; i += 1.0) values.push_back((first + i) * step);
    return values;
}

std::string tickText(double value, double step) {
    if (std::abs(value) < 0.5 * step) return "0";
    const double size = std::max(std::abs(value), step);
    if (size >= 1e7 || step < 1e-6) return shortest(static_cast<double>(static_cast<float>(value)));
    return withDigits(value, static_cast<int>(std::max(0.0, std::ceil(-std::log10(step) - 1e-9))));
}

class PlotWriter {
 public:
    PlotWriter(std::string& html, const qvDiagPlot& plot) : html_(html), plot_(plot) {}

    void write() {
        findRanges();
        html_ += "<figure class=\"plot\">";
        if (!plot_.label.empty()) html_ += "<figcaption>" + utf8(plot_.label) + "</figcaption>";
        if (x_.isEmpty() || y_.isEmpty()) {
            html_ += "<p class=\"none\">No values.</p></figure>\n";
            return;
        }
        widen();
        placeCaptions();
        html_ += "<svg viewBox=\"0 0 " + number(kWidth) + " " + number(kHeight + top_) +
                 "\" role=\"img\" aria-label=\"" + altText() + "\">";
        writeAxes();
        for (const qvDiagMark& mark : plot_.marks) {
            if (mark.kind == qvDiagMark::eRange) writeRange(mark);
        }
        for (std::size_t i = 0; i < plot_.curves.size(); ++i) writeCurve(i);
        for (std::size_t i = 0; i < plot_.marks.size(); ++i) writeMark(plot_.marks[i], captionRows_[i]);
        // Captions inside the picture come last and in two rounds: those of levels have only one place.
        for (const qvDiagMark::qeKind kind : {qvDiagMark::eLevel, qvDiagMark::ePoint}) {
            for (std::size_t i = 0; i < plot_.marks.size(); ++i) {
                if (plot_.marks[i].kind == kind) writeCaptionInside(i);
            }
        }
        html_ += "</svg>";
        writeLegend();
        writeHomelessCaptions();
        html_ += "</figure>\n";
    }

 private:
    static double xOf(const qvDiagCurve& curve, std::size_t index) {
        return curve.start + curve.step * static_cast<double>(index);
    }

    void findRanges() {
        for (const qvDiagCurve& curve : plot_.curves) {
            for (std::size_t i = 0; i < curve.values.size(); ++i) {
                if (!isDrawable(curve.values[i]) || !isDrawable(xOf(curve, i))) continue;
                x_.add(xOf(curve, i));
                y_.add(curve.values[i]);
            }
        }
        for (const qvDiagMark& mark : plot_.marks) {
            if (!isDrawable(mark.from)) continue;
            (mark.kind == qvDiagMark::eLevel ? y_ : x_).add(mark.from);
            if (mark.kind == qvDiagMark::eRange) x_.add(mark.to);
            if (mark.kind == qvDiagMark::ePoint) y_.add(mark.to);
        }
    }

    /// Zero belongs to the picture where it is near, and the extremes do not touch the frame.
    void widen() {
        if (y_.low > 0.0 && y_.low < 0.4 * y_.high) y_.low = 0.0;
        x_.open();
        y_.open();
        const double margin = 0.05 * y_.span();
        if (y_.low != 0.0) y_.low -= margin;
        y_.high += margin;
    }

    double px(double x) const { return kLeft + (x - x_.low) / x_.span() * (kWidth - kLeft - kRight); }
    double py(double y) const { return top_ + (y_.high - y) / y_.span() * (kHeight - kBottom); }
    double floorLine() const { return top_ + kHeight - kBottom; }

    /// Gives each caption at the upper rim the first row in which it does not lie on another; -1 for none.
    void placeCaptions() {
        captionRows_.assign(plot_.marks.size(), -1);
        std::vector<std::size_t> order;
        for (std::size_t i = 0; i < plot_.marks.size(); ++i) {
            if (atUpperRim(plot_.marks[i])) order.push_back(i);
        }
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return middleOf(plot_.marks[a]) < middleOf(plot_.marks[b]);
        });
        std::array<double, kMostCaptionRows> ends{};
        int rows = 0;
        for (const std::size_t i : order) {
            const double half = 0.5 * captionWidth(plot_.marks[i]);
            const double start = captionMiddle(plot_.marks[i]) - half;
            for (std::size_t row = 0; row < ends.size(); ++row) {
                if (start < ends[row]) continue;
                ends[row] = start + 2.0 * half + kLetter;
                captionRows_[i] = static_cast<int>(row);
                rows = std::max(rows, static_cast<int>(row) + 1);
                break;
            }
        }
        top_ = 8.0 + kCaptionRow * rows;
    }

    static bool atUpperRim(const qvDiagMark& mark) {
        const bool kind = mark.kind == qvDiagMark::ePosition || mark.kind == qvDiagMark::eRange;
        return kind && !mark.caption.empty() && isDrawable(mark.from) &&
               (mark.kind == qvDiagMark::ePosition || isDrawable(mark.to));
    }
    static double middleOf(const qvDiagMark& mark) {
        return mark.kind == qvDiagMark::eRange ? 0.5 * mark.from + 0.5 * mark.to : mark.from;
    }
    static double captionWidth(const qvDiagMark& mark) { return kLetter * static_cast<double>(mark.caption.size()); }
    double captionMiddle(const qvDiagMark& mark) const {
        const double half = std::min(0.5 * captionWidth(mark), 0.5 * kWidth);
        return std::clamp(px(middleOf(mark)), half, kWidth - half);
    }

    std::string altText() const {
        std::string text = utf8(plot_.label.empty() ? L"Plot" : plot_.label) + ": " + utf8(plot_.yTitle) + " over " +
                           utf8(plot_.xTitle);
        for (const qvDiagMark& mark : plot_.marks) {
            if (!mark.caption.empty() && text.size() < 600) text += "; " + utf8(mark.caption);
        }
        return text;
    }

    void line(const char* kind, double x1, double y1, double x2, double y2, const std::string& extra = {}) {
        html_ += std::string("<line class=\"") + kind + "\" x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" +
                 number(x2) + "\" y2=\"" + number(y2) + "\"" + extra + "/>";
    }

    void text(double x, double y, const char* anchor, const std::string& escaped, const std::string& extra = {}) {
        html_ += "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=\"" + anchor + "\"" + extra + ">" +
                 escaped + "</text>";
    }

    void writeAxes() {
        const double xStep = tickStep(x_.span(), 10);
        for (const double tick : ticks(x_, xStep)) {
            line("grid", px(tick), top_, px(tick), floorLine());
            text(px(tick), floorLine() + 15.0, "middle", tickText(tick, xStep));
        }
        const double yStep = tickStep(y_.span(), 5);
        for (const double tick : ticks(y_, yStep)) {
            line("grid", kLeft, py(tick), kWidth - kRight, py(tick));
            text(kLeft - 6.0, py(tick) + 4.0, "end", tickText(tick, yStep));
        }
        line("axis", kLeft, floorLine(), kWidth - kRight, floorLine());
        line("axis", kLeft, top_, kLeft, floorLine());
        text(0.5 * (kLeft + kWidth - kRight), floorLine() + 34.0, "middle", utf8(plot_.xTitle), " class=\"title\"");
        const double middle = 0.5 * (top_ + floorLine());
        text(14.0, middle, "middle", utf8(plot_.yTitle),
             " class=\"title\" transform=\"rotate(-90 14 " + number(middle) + ")\"");
    }

    void writeCurve(std::size_t index) {
        const qvDiagCurve& curve = plot_.curves[index];
        std::string path;
        bool penDown = false;
        const auto add = [&](std::size_t i) {
            path += (penDown ? "L" : "M") + number(px(xOf(curve, i))) + " " + number(py(curve.values[i]));
            penDown = true;
        };
        // Two values for each half unit of the picture are all that can be seen.
        const std::size_t bunch = std::max<std::size_t>(1, curve.values.size() / static_cast<std::size_t>(kWidth));
        for (std::size_t begin = 0; begin < curve.values.size(); begin += bunch) {
            const std::size_t end = std::min(begin + bunch, curve.values.size());
            std::size_t least = end;
            std::size_t greatest = end;
            bool gap = false;
            for (std::size_t i = begin; i < end; ++i) {
                if (!isDrawable(curve.values[i]) || !isDrawable(xOf(curve, i))) {
                    gap = true;
                    continue;
                }
                if (least == end || curve.values[i] < curve.values[least]) least = i;
                if (greatest == end || curve.values[i] > curve.values[greatest]) greatest = i;
            }
            if (least < end) {
                add(std::min(least, greatest));
                if (least != greatest) add(std::max(least, greatest));
            }
            if (gap) penDown = false;
        }
        html_ += "<path class=\"curve\" d=\"" + path + "\" stroke=\"" + onPaper(curve.color) + "\"" +
                 kDashes[index % kDashes.size()] + "><title>" + utf8(curve.name) + "</title></path>";
    }

    void writeRange(const qvDiagMark& mark) {
        if (!isDrawable(mark.from) || !isDrawable(mark.to)) return;
        const double left = px(std::min(mark.from, mark.to));
        const double right = px(std::max(mark.from, mark.to));
        html_ += "<rect class=\"range\" x=\"" + number(left) + "\" y=\"" + number(top_) + "\" width=\"" +
                 number(std::max(1.0, right - left)) + "\" height=\"" + number(floorLine() - top_) + "\" fill=\"" +
                 onPaper(mark.color) + "\" stroke=\"" + onPaper(mark.color) + "\"><title>" + describe(mark) +
                 "</title></rect>";
    }

    void writeMark(const qvDiagMark& mark, int captionRow) {
        if (!isDrawable(mark.from)) return;
        const std::string colour = onPaper(mark.color);
        const std::string fill = kCaption + colour + "\"";
        const double captionLine = top_ - 4.0 - kCaptionRow * captionRow;
        switch (mark.kind) {
            case qvDiagMark::ePosition: {
                const double end = captionRow < 0 ? top_ : captionLine + 2.0;
                line("mark", px(mark.from), end, px(mark.from), floorLine(), " stroke=\"" + colour + "\"");
                break;
            }
            case qvDiagMark::eLevel:
                line("level", kLeft, py(mark.from), kWidth - kRight, py(mark.from), " stroke=\"" + colour + "\"");
                break;
            case qvDiagMark::ePoint: {
                if (!isDrawable(mark.to)) return;
                html_ += "<circle class=\"point\" cx=\"" + number(px(mark.from)) + "\" cy=\"" + number(py(mark.to)) +
                         "\" r=\"4\" stroke=\"" + colour + "\"><title>" + describe(mark) + "</title></circle>";
                break;
            }
            case qvDiagMark::eRange:
                break;
        }
        if (captionRow >= 0 && atUpperRim(mark))
            text(captionMiddle(mark), captionLine, "middle", utf8(mark.caption), fill);
    }

    struct Box {
        double left, top, right, bottom;
    };

    /// Takes the place, unless it reaches out of the picture or another caption has some of it.
    bool claim(const Box& box) {
        if (box.left < kLeft || box.right > kWidth || box.top < top_ || box.bottom > floorLine()) return false;
        for (const Box& other : claimed_) {
            if (box.left < other.right && other.left < box.right && box.top < other.bottom && other.top < box.bottom) {
                return false;
            }
        }
        claimed_.push_back(box);
        return true;
    }

    /// Beside the point or level, wherever there is room first.
    void writeCaptionInside(std::size_t index) {
        const qvDiagMark& mark = plot_.marks[index];
        const bool isPoint = mark.kind == qvDiagMark::ePoint;
        if (mark.caption.empty() || !isDrawable(mark.from) || (isPoint && !isDrawable(mark.to))) return;
        const double width = captionWidth(mark);
        const double x = isPoint ? px(mark.from) : kWidth - kRight - 4.0;
        const double y = isPoint ? py(mark.to) : py(mark.from);
        for (const double base : {y - 5.0, y + 15.0}) {
            for (const bool toTheRight : {true, false}) {
                if (!isPoint && toTheRight) continue;
                const double start = toTheRight ? x + 8.0 : x - (isPoint ? 8.0 : 0.0);
                const double left = toTheRight ? start : start - width;
                if (!claim({left, base - 11.0, left + width, base + 3.0})) continue;
                text(start, base, toTheRight ? "start" : "end", utf8(mark.caption),
                     kCaption + onPaper(mark.color) + "\"");
                captionRows_[index] = 0;
                return;
            }
        }
    }

    static std::string describe(const qvDiagMark& mark) {
        std::string text = utf8(mark.caption) + (mark.caption.empty() ? "" : ": ") + xmlText(withDigits(mark.from, 2));
        if (mark.kind == qvDiagMark::eRange) text += " to " + xmlText(withDigits(mark.to, 2));
        if (mark.kind == qvDiagMark::ePoint) text += ", " + xmlText(withDigits(mark.to, 2));
        return text;
    }

    void writeLegend() {
        if (plot_.curves.size() < 2) return;
        html_ += "<ul class=\"legend\">";
        for (std::size_t i = 0; i < plot_.curves.size(); ++i) {
            html_ +=
                "<li><svg viewBox=\"0 0 30 8\" aria-hidden=\"true\"><line x1=\"0\" y1=\"4\" x2=\"30\" y2=\"4\" "
                "stroke-width=\"2\" stroke=\"" +
                onPaper(plot_.curves[i].color) + "\"" + kDashes[i % kDashes.size()] + "/></svg> " +
                utf8(plot_.curves[i].name) + "</li>";
        }
        html_ += "</ul>";
    }

    void writeHomelessCaptions() {
        std::string items;
        for (std::size_t i = 0; i < plot_.marks.size(); ++i) {
            if (captionRows_[i] < 0 && !plot_.marks[i].caption.empty())
                items += "<li>" + describe(plot_.marks[i]) + "</li>";
        }
        if (items.empty()) return;
        html_ += "<details><summary>Marks without room for their names</summary><ul>" + items + "</ul></details>";
    }

    std::string& html_;
    const qvDiagPlot& plot_;
    Range x_;
    Range y_;
    double top_ = 8.0;
    std::vector<int> captionRows_;  ///< above the picture; -1 for captions that have no place
    std::vector<Box> claimed_;
};

}  // namespace

void writePlot(std::string& html, const qvDiagPlot& plot) { PlotWriter(html, plot).write(); }

}  // namespace qvtool
