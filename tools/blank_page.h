/// @file
/// The page that shows a blank region search.
#ifndef QVSTREET_TOOLS_BLANK_PAGE_H
#define QVSTREET_TOOLS_BLANK_PAGE_H

#include "qvstreet/platform/diagnostics.h"
#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/html_page.h"
#include "tools/report.h"

namespace qvtool {

/// @param report   of the finished run; without regions for one that was refused, with the reason as its error
/// @param records  of all stages of the run; the page refers to them and to the pels of `image`
Page blankPage(const CommandOptions& options, const GreyImage& image, const ImageReport& report,
               const qvDiagObject& records);

}  // namespace qvtool

#endif
