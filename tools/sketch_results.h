/// @file
/// Results as they are drawn: the library's own drawing of each, with scores and hints beside it, and the legend.
#ifndef QVSTREET_TOOLS_SKETCH_RESULTS_H
#define QVSTREET_TOOLS_SKETCH_RESULTS_H

#include "qvstreet/platform/xform.h"
#include "qvstreet/streetfinder/street_results.h"
#include "tools/report.h"
#include "tools/sketch_layer.h"

#include <vector>

namespace qvtool {

/// Crossings, in client units: each as `drawCrossResult` does it, lines that crossings share once. The mark at a
/// crossing and its score, a text on the label layer beside that corner which is up and right in the image, have its
/// place and score for a hint.
ResultDrawing drawCrossings(const std::vector<qvStreetFinderStreetCrossResult>& results,
                            const qvXform<2>& imageFromClient = qvXform<2>());

/// Single streets, in client units: each as `drawSingleResult` does it, with its score near its left or upper end.
ResultDrawing drawStreets(const std::vector<qvStreetFinderSingleStreetResult>& results,
                          const qvXform<2>& imageFromClient);

/// Angles, best first, in pels of an image of that size: lines through its centre, for the best twelve. The two best,
/// which the search for crossings takes for the streets, are green.
ResultDrawing drawAngles(const std::vector<ScoredAngle>& angles, const qvXform<2>& imageFromClient, long width,
                         long height);

/// Blank regions, best first, in pels of the image: the best green, others dark green, scores in their middle.
/// @param scale  pels of the image for one pel of the display, as in SketchView
ResultDrawing drawBlankRegions(const std::vector<BlankRegion>& regions, double scale);

}  // namespace qvtool

#endif
