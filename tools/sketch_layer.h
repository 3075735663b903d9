/// @file
/// What a picture is made of beside its image: display lists with their frames, and the rows of a legend.
#ifndef QVSTREET_TOOLS_SKETCH_LAYER_H
#define QVSTREET_TOOLS_SKETCH_LAYER_H

#include "qvstreet/platform/display.h"

#include <string>
#include <vector>

namespace qvtool {

/// A display list under a name that a reader of the picture's source can look for.
struct SketchLayer {
    std::string name;
    qvUISketch sketch;
    qvDisplay::CoordinateSystem system = qvDisplay::eClientCoordinates;
    double lineWidth = 1.0;  ///< of lines and their rims in pictures, 1 the usual one
};

/// One line of the legend.
struct LegendRow {
    std::vector<qvShape::qeKind> signs;  ///< what stands before the text: shapes over one another, no texts
    qvColor colour;
    std::string text;
    double degrees = 0.0;  ///< by which a cross is turned
};

/// Results of one image as they are drawn.
struct ResultDrawing {
    std::vector<SketchLayer> layers;  ///< in the order of drawing
    std::vector<LegendRow> legend;
};

/// Lays `upper` over `drawing`, with its rows of the legend behind the others.
void addDrawing(ResultDrawing upper, ResultDrawing& drawing);

}  // namespace qvtool

#endif
