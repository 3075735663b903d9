/// @file
/// One image through the street finder.
#ifndef QVSTREET_TOOLS_FINDER_RUN_H
#define QVSTREET_TOOLS_FINDER_RUN_H

#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/report.h"

#include <stdexcept>

namespace qvtool {

/// The finder does not take this image or these options. The message says which.
class Refusal : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// Runs `find`, `streets` or `angles` and adds its lists and times to the report. The image is read in place.
/// @throws Refusal for every failure of the finder; the report then has no lists.
void runFinder(const CommandOptions& options, const GreyImage& image, ImageReport& report);

}  // namespace qvtool

#endif
