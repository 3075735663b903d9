/// @file
/// Measurements as they are drawn over the results that they belong to.
#ifndef QVSTREET_TOOLS_SKETCH_MEASURED_H
#define QVSTREET_TOOLS_SKETCH_MEASURED_H

#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_results.h"
#include "tools/sketch_layer.h"

#include <vector>

namespace qvtool {

/// What is drawn in these colours was measured, and was not.
extern const qvColor kMeasuredColour;
extern const qvColor kUnmeasuredColour;

/// In client units: thin lines along the measured edges, each street's once, a cross of their directions at each measured
/// crossing, and an X at each crossing of the finder that was not or only partly measured. Hints tell the
/// numbers and the reasons.
/// @param measured  element i belongs to `results[i]`
ResultDrawing drawMeasuredCrossings(const std::vector<qvStreetFinderStreetCrossResult>& results,
                                    const std::vector<qvStreetMeasurement>& measured);

/// The same for single streets; the X stands at the middle of a street's segments.
ResultDrawing drawMeasuredStreets(const std::vector<qvStreetFinderSingleStreetResult>& results,
                                  const std::vector<qvStreetLineMeasurement>& measured);

}  // namespace qvtool

#endif
