/// @file
/// The parts of a page that are the same in every one.
#ifndef QVSTREET_TOOLS_HTML_ASSETS_H
#define QVSTREET_TOOLS_HTML_ASSETS_H

namespace qvtool {

/// The style sheet, for screen and print.
const char* pageStyle();

/// The script: layers, zoom and pan, and the read-out of coordinates. It reads the page's own elements and attributes
/// and puts text into them, never markup.
const char* pageScript();

}  // namespace qvtool

#endif
