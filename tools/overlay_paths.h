/// @file
/// Where the pictures and pages go, and what they must not overwrite.
#ifndef QVSTREET_TOOLS_OVERLAY_PATHS_H
#define QVSTREET_TOOLS_OVERLAY_PATHS_H

#include "tools/command_line.h"

#include <string>

namespace qvtool {

/// Whether the path ends in .svg or .png, in either case of letters, behind at least one other character of a name.
bool isOverlayPath(const std::string& path);

/// Whether the path ends in .svg.
bool isSvgPath(const std::string& path);

/// Whether the path ends in .html, likewise.
bool isReportPath(const std::string& path);

/// The path with {name} replaced by the image's file name without folder and extension, and {n} by its number.
std::string expandOverlayPath(const std::string& pattern, const std::string& image, std::size_t number);

/// Fills in options.overlays and options.reports from their patterns (empty: none) and checks that no two outputs are one file, and that no
/// output is one of the files that are read.
/// @return what is wrong, empty if nothing is.
std::string settleOutputs(const std::string& overlayPattern, const std::string& reportPattern, CommandOptions& options);

}  // namespace qvtool

#endif
