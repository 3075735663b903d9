/// @file
/// One image through the blank region finder, and the files that its options name.
#ifndef QVSTREET_TOOLS_BLANK_RUN_H
#define QVSTREET_TOOLS_BLANK_RUN_H

#include "qvstreet/blankregion/blank_region_params.h"
#include "qvstreet/platform/diagnostics.h"
#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/report.h"

#include <optional>

namespace qvtool {

/// What all images of a call share.
struct BlankInputs {
    qvStreetBlankRegionFinderParams params;
    std::optional<GreyImage> mask;  ///< its notes are for standard error
};

/// Reads the files of `--mask` and `--grey-weights`.
/// @throws InputError if one cannot be read, or the weights are not 256 numbers from 0 to 1
BlankInputs loadBlankInputs(const CommandOptions& options);

/// Searches the image, which is read in place, and adds regions and time to the report.
/// @param records  gets what the stages record, if they are asked to; null for no recording
/// @throws Refusal for every failure of the finder; the report then has no list
void runBlank(const CommandOptions& options, const BlankInputs& inputs, const GreyImage& image, ImageReport& report,
              qvDiagObject* records);

}  // namespace qvtool

#endif
