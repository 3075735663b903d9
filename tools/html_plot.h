/// @file
/// A recorded plot as a picture within a page.
#ifndef QVSTREET_TOOLS_HTML_PLOT_H
#define QVSTREET_TOOLS_HTML_PLOT_H

#include "qvstreet/platform/diagnostics.h"

#include <string>

namespace qvtool {

/// Appends a `<figure>` with the plot as inline SVG: axes with ticks and titles, the curves, the marks with their
/// captions, and a legend where there is more than one curve. Curves of more values than the picture has columns keep
/// the least and the greatest of each column. Values that are not finite, or beyond 1e100, are gaps. Captions that find
/// no room are listed below the picture. A plot without any value says so.
void writePlot(std::string& html, const qvDiagPlot& plot);

}  // namespace qvtool

#endif
