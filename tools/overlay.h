/// @file
/// Pictures of results: display lists drawn over the image, written as SVG or PNG.
#ifndef QVSTREET_TOOLS_OVERLAY_H
#define QVSTREET_TOOLS_OVERLAY_H

#include "qvstreet/platform/xform.h"
#include "tools/grey_image.h"
#include "tools/report.h"
#include "tools/sketch_layer.h"
#include "tools/sketch_marks.h"
#include "tools/write_png.h"

#include <array>
#include <string>
#include <vector>

namespace qvtool {

struct Overlay {
    std::string title;                ///< the image's path
    std::string heading;              ///< first line of the legend
    qvXform<2> imageFromClient;       ///< for layers in client units
    std::vector<SketchLayer> layers;  ///< in the order of drawing
    std::vector<LegendRow> legend;    ///< without rows no legend is drawn
};

/// Pels of an image of that size for one pel of the display: 1 for an image of 1000 by 1000. A long strip counts by its
/// short side. From 0.6 to 12.
double displayScale(long width, long height);

/// One display list, ready to be drawn.
struct MarkedSketch {
    std::string name;
    std::vector<MarkedLayer> layers;
    double lineWidth = 1.0;  ///< of rims, as in SketchLayer
};

/// All that lies over an image of that size, in the order of drawing. The legend comes last, in the corner that holds
/// the fewest texts and rings; it is left out where it would take more than 0.6 of the width or 0.45 of the height, and
/// where it would hide one of them and take more than a tenth of the image.
std::vector<MarkedSketch> overlayMarks(const Overlay& overlay, long width, long height);

/// Lays out the results of one image.
/// @param client A, B, C, D, TX, TY of the client-from-image transform, which must have an inverse.
Overlay layOutOverlay(const ImageReport& report, const std::array<double, 6>& client);

/// Writes the image with the overlay over it. What the sink throws comes through.
void writeOverlaySvg(const ByteSink& sink, const GreyImage& image, const Overlay& overlay);
void writeOverlayPng(const ByteSink& sink, const GreyImage& image, const Overlay& overlay);

}  // namespace qvtool

#endif
