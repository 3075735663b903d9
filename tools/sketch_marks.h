/// @file
/// Shapes of a display list as marks in pels of the image that they lie on: what is left of a sketch once its frame is
/// mapped and the sizes of icons, lines and texts are chosen. Writers of SVG and PNG draw these.
#ifndef QVSTREET_TOOLS_SKETCH_MARKS_H
#define QVSTREET_TOOLS_SKETCH_MARKS_H

#include "qvstreet/platform/display.h"
#include "qvstreet/platform/xform.h"
#include "tools/report.h"

#include <string>
#include <variant>
#include <vector>

namespace qvtool {

struct Colour {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
};

/// Positions and sizes of all marks are in pels of the image frame: pel (i, j) covers [i, i + 1) by [j, j + 1).
struct PathMark {
    enum class Form {
        pairs,   ///< points 0 and 1 are a line, 2 and 3 are a line, ...
        outline  ///< the points are the corners of a convex outline, in order
    };
    Form form = Form::pairs;
    std::vector<Position> points;
    double width = 1.0;
    Colour colour;
    bool isFilled = false;  ///< an outline only
    std::string hint;       ///< shown by SVG viewers under the pointer, for outlines inside too; empty for none
    bool isIcon = false;    ///< of the same size at every magnification, about its middle
};

struct RingMark {
    Position centre;
    double radius = 1.0;
    double width = 1.0;
    Colour colour;
    bool isFilled = false;
    std::string hint;
    bool isIcon = false;
};

struct TextMark {
    Position baseline;   ///< of the first letter's left end
    double size = 10.0;  ///< height of a line; capitals and digits are 0.72 of it
    std::string text;    ///< UTF-8, one line
    Colour colour;
    std::string hint;
};

/// A dark, half-transparent rectangle behind the legend.
struct PanelMark {
    Position upperLeft;
    double width = 0.0;
    double height = 0.0;
};

using Mark = std::variant<PathMark, RingMark, TextMark, PanelMark>;

/// Opacity of filled shapes: what lies under them is to stay visible.
constexpr double kFillOpacity = 0.35;

/// How a sketch is looked at.
struct SketchView {
    qvXform<2> imageFromSketch;
    double scale = 1.0;   ///< pels of the image for one pel of the display
    double width = 0.0;   ///< of the picture, into which texts near its border are moved; 0: texts stay where they are
    double height = 0.0;  ///< likewise
    double lineWidth = 1.0;  ///< of lines and rings, 1 the usual one
};

/// Width of the dark rim around every mark, in pels, so that it can be seen on any grey.
double haloWidth(double scale);

/// Height of a line of text, in pels.
double textSize(double scale);

/// How far right of its point and above it a text's first letter stands, in pels.
qvVector<2> textGap(double scale);

/// The colour that stands for `color` in pictures: the same, but for those too dark to tell from their rims.
Colour shownColour(const qvColor& color);

/// The marks of one shape, appended; none for a shape that has no finite place or size, or lies off by a million pels.
void appendMarks(std::vector<Mark>& marks, const qvShape& shape, const SketchView& view);

/// The marks of those shapes of a sketch that are on one layer. Writers draw all rims of a layer before its first line,
/// so that no rim cuts another mark in two.
struct MarkedLayer {
    long layer = 0;
    std::vector<Mark> marks;
};

/// All marks of a sketch, from the lowest layer up, and in a layer in the sketch's order, texts last. Texts keep off
/// rings, icons and one another where they can.
std::vector<MarkedLayer> marksOf(const qvUISketch& sketch, const SketchView& view);

/// Text as UTF-8; what is no Unicode character becomes U+FFFD.
std::string utf8Of(const std::wstring& text);

}  // namespace qvtool

#endif
