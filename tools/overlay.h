/// @file
/// Pictures of results: a list of shapes in the image frame, written over the image as SVG or PNG.
#ifndef QVSTREET_TOOLS_OVERLAY_H
#define QVSTREET_TOOLS_OVERLAY_H

#include "tools/grey_image.h"
#include "tools/report.h"
#include "tools/write_png.h"

#include <array>
#include <string>
#include <variant>
#include <vector>

namespace qvtool {

struct Colour {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
};

/// Positions and sizes of all shapes are in pels of the image frame: pel (i, j) covers [i, i + 1) by [j, j + 1).
struct LineShape {
    Position from;
    Position to;
    double width = 1.0;
    Colour colour;
};

struct RingShape {
    Position centre;
    double radius = 1.0;
    double width = 1.0;
    Colour colour;
    std::string hint;  ///< shown by SVG viewers when the pointer rests on the ring
};

/// An unfilled rectangle.
struct BoxShape {
    Position upperLeft;
    double width = 0.0;
    double height = 0.0;
    double lineWidth = 1.0;
    Colour colour;
    std::string hint;  ///< shown by SVG viewers when the pointer rests in the box
};

struct TextShape {
    Position baseline;   ///< of the first letter's left end
    double size = 10.0;  ///< height of a line; capitals and digits are 0.72 of it
    std::string text;    ///< lower case letters, digits and . , : + - = ( ) /
    Colour colour;
};

/// A dark, half-transparent rectangle behind the legend.
struct PanelShape {
    Position upperLeft;
    double width = 0.0;
    double height = 0.0;
};

using Shape = std::variant<LineShape, RingShape, BoxShape, TextShape, PanelShape>;

struct Overlay {
    std::string title;          ///< the image's path
    double halo = 1.0;          ///< width of the dark rim around lines, rings, boxes and text, in pels
    std::vector<Shape> shapes;  ///< in the order of drawing
};

/// Lays out the results of one image.
/// @param client A, B, C, D, TX, TY of the client-from-image transform, which must have an inverse: results come in
///        client units, but for blank regions, and are drawn in the image frame.
Overlay layOutOverlay(const ImageReport& report, const std::array<double, 6>& client);

/// Width in pels of a text in the picture's own font.
double textWidth(const std::string& text, double size);

/// Writes the image with the shapes over it. What the sink throws comes through.
void writeOverlaySvg(const ByteSink& sink, const GreyImage& image, const Overlay& overlay);
void writeOverlayPng(const ByteSink& sink, const GreyImage& image, const Overlay& overlay);

}  // namespace qvtool

#endif
