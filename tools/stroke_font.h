/// @file
/// A small font of straight strokes, so that pictures need no font file and look the same everywhere.
#ifndef QVSTREET_TOOLS_STROKE_FONT_H
#define QVSTREET_TOOLS_STROKE_FONT_H

#include "tools/report.h"

#include <string>
#include <vector>

namespace qvtool {

/// Thickness of the font's strokes as a part of its size.
constexpr double kStrokeThickness = 0.105;

/// The strokes of a text that begins at `baseline`; size and frame as TextShape. A dot is a stroke of length 0. Letters
/// that the font lacks leave a gap.
std::vector<Segment> textStrokes(const std::string& text, const Position& baseline, double size);

}  // namespace qvtool

#endif
