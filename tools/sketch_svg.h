/// @file
/// A display list as SVG markup, for pictures and pages that place it over an image.
#ifndef QVSTREET_TOOLS_SKETCH_SVG_H
#define QVSTREET_TOOLS_SKETCH_SVG_H

#include "qvstreet/platform/display.h"
#include "qvstreet/platform/xform.h"
#include "tools/sketch_marks.h"

#include <string>

namespace qvtool {

/// Appends a `<g class="sketch">` with one `<g class="layer0">`, `<g class="layer1">`, ... for each layer in use, from
/// the lowest up. Its user unit is one pel of the image that the sketch lies on, offset included: a page whose view box
/// begins elsewhere moves it with a transform of its own. The markup carries all its colours and widths itself, needs
/// no style sheet and no names (ids), and escapes every text; hints become `<title>` children. Elements whose
/// size is one of the display have `class="icon"`, so that a page which magnifies the image can keep them small. Shapes with
/// a coordinate that is not finite are left out.
/// @param system  the frame of the sketch; positions, angles and radii in client units go through `imageFromClient`
/// @param imageFromClient  not used for a sketch in the image frame
/// @param scale  pels for one pel of the display, greater than 0: line widths, icons, texts and radii of display size
///        grow with it
void writeSketchSvg(std::string& out, const qvUISketch& sketch, qvDisplay::CoordinateSystem system,
                    const qvXform<2>& imageFromClient, double scale);

/// The same for marks, with rims of `halo` pels.
/// @param name  becomes the group's `data-name`, escaped; none if empty
void writeMarksSvg(std::string& out, const std::vector<MarkedLayer>& layers, double halo, const std::string& name);

}  // namespace qvtool

#endif
