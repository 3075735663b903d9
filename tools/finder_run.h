/// @file
/// One image through the street finder.
#ifndef QVSTREET_TOOLS_FINDER_RUN_H
#define QVSTREET_TOOLS_FINDER_RUN_H

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"
#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/report.h"

#include <functional>
#include <stdexcept>
#include <vector>

namespace qvtool {

/// The finder does not take this image or these options. The message says which.
class Refusal : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// The finder's parameters that the options ask for.
qvStreetFinderParams finderParams(const CommandOptions& options);

/// The image as the finder takes it, in the client frame of the options. Shares the pels.
qvPelBuffer_const<unsigned char> finderImage(const CommandOptions& options, const GreyImage& image);

std::vector<Crossing> crossingsOf(const std::vector<qvStreetFinderStreetCrossResult>& results);

/// Does some work of the finder on the image.
/// @throws Refusal for everything that `work` throws, and before it for an image that is too large.
void runOrRefuse(const CommandOptions& options, const GreyImage& image, const std::function<void()>& work);

/// Runs `find`, `streets` or `angles` and adds its lists and times to the report. The image is read in place.
/// @throws Refusal for every failure of the finder; the report then has no lists.
void runFinder(const CommandOptions& options, const GreyImage& image, ImageReport& report);

}  // namespace qvtool

#endif
