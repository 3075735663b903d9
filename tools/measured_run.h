/// @file
/// What the finder found in an image, measured on the whole of it.
#ifndef QVSTREET_TOOLS_MEASURED_RUN_H
#define QVSTREET_TOOLS_MEASURED_RUN_H

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/projection/street_measurement_access.h"
#include "qvstreet/streetfinder/street_results.h"
#include "tools/command_line.h"
#include "tools/report.h"

#include <vector>

namespace qvtool {

/// A measurement as the library gives it: crossings or streets, in the order of the results, and every street that was
/// followed for them.
struct Measurement {
    std::vector<qvStreetMeasurement> crossings;
    std::vector<qvStreetLineMeasurement> streets;
    std::vector<qv_MeasuredTrack> tracks;
    double seconds = 0.0;
};

/// @param image  the one that the results were found in, in the client frame of the options
Measurement measureCrossings(const CommandOptions& options, const qvPelBuffer_const<unsigned char>& image,
                             const std::vector<qvStreetFinderStreetCrossResult>& results);
Measurement measureStreets(const CommandOptions& options, const qvPelBuffer_const<unsigned char>& image,
                           const std::vector<qvStreetFinderSingleStreetResult>& results);

/// Adds the measurement to the report's list of the same results, and to its times.
void addMeasurement(const Measurement& measurement, ImageReport& report);

}  // namespace qvtool

#endif
