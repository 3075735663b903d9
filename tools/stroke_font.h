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

/// The strokes of a text that begins at `baseline`; size and frame as TextMark. A dot is a stroke of length 0. Capitals
/// look like small letters; other letters that the font lacks leave a gap.
std::vector<Segment> textStrokes(const std::string& text, const Position& baseline, double size);

/// Width in pels of a text in this font.
double textWidth(const std::string& text, double size);

}  // namespace qvtool

#endif
