/// @file
/// What the length filter of the lines leaves in a diagnostics recorder.
#ifndef QVSTREET_STREETFINDER_LINE_RECORDS_H
#define QVSTREET_STREETFINDER_LINE_RECORDS_H

#include <array>
#include <vector>

#include "qvstreet/frontend/line_results.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/pel_buffer.h"

/// "Lines": the image with the lines kept and dropped, and a table of each direction, longest line first. Kept lines are
/// numbered as the searches know them.
/// @param found      all lines, by direction, client frame
/// @param minLengths by direction: longer lines were kept, client units
void recordLines(const qvPelBuffer_const<unsigned char>& image,
                 const std::vector<std::vector<qvLineFinderResults>>& found, const std::array<double, 2>& minLengths,
                 qvDiagObject& diagObject);

#endif
