/// @file
/// The JSON of one image.
#ifndef QVSTREET_TOOLS_RESULT_JSON_H
#define QVSTREET_TOOLS_RESULT_JSON_H

#include "tools/report.h"

#include <string>

namespace qvtool {

/// One JSON document, ended by a line feed. Angles are in degrees, coordinates in client units, blank regions in
/// pels; a number that is not finite is null; numbers have the digits that read back as the same double. Bytes of the
/// path that are not UTF-8 are replaced by U+FFFD.
/// @param oneLine all in one line (several images); else each result stands in a line of its own.
std::string toJson(const ImageReport& report, bool oneLine);

}  // namespace qvtool

#endif
