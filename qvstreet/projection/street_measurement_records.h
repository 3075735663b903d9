/// @file
/// What the street measurement leaves in a diagnostics recorder.
#ifndef QVSTREET_PROJECTION_STREET_MEASUREMENT_RECORDS_H
#define QVSTREET_PROJECTION_STREET_MEASUREMENT_RECORDS_H

#include <vector>

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/projection/street_measurement_access.h"

/// "Measurement": the image with the lines of the edges and the points that they were fitted to, and a table of the
/// streets. Behind it "Measured Street n, flat" or ", upright" for each street, from 1: the profile across the street
/// with the edges, and for each edge, or for the middle of a narrow street, the distance of its points from its line,
/// used ones green and refused ones red.
///
/// Lengths are in pels, angles in degrees of the image.
/// @param image   the one that was measured; its pels are shared
/// @param tracks  every street that was followed
void recordMeasurement(const qvPelBuffer_const<unsigned char>& image, const std::vector<qv_MeasuredTrack>& tracks,
                       qvDiagObject& diagObject);

#endif
