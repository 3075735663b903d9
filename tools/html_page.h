/// @file
/// A page for people: one HTML file that needs nothing but a browser.
#ifndef QVSTREET_TOOLS_HTML_PAGE_H
#define QVSTREET_TOOLS_HTML_PAGE_H

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/display.h"
#include "qvstreet/platform/pel_buffer.h"

#include <string>
#include <vector>

namespace qvtool {

/// Shapes over an image that are shown or hidden together.
struct PageLayer {
    std::wstring name;
    qvUISketch sketch;
    qvDisplay::CoordinateSystem system = qvDisplay::eClientCoordinates;
    bool shown = true;  ///< at first; without script all layers are shown
};

/// An image with layers. Layers without shapes are left out.
struct PageView {
    qvPelBuffer_const<unsigned char> image;
    std::vector<PageLayer> layers;
};

/// What a page says, from the top down. Texts are plain: they may hold any character, and bytes that are no UTF-8.
struct Page {
    std::string title;                  ///< the image's path
    std::string subtitle;               ///< what was run on it
    bool isGood = true;                 ///< whether the verdict is what the user hopes for
    std::string verdict;                ///< the result in a line
    std::vector<std::string> remarks;   ///< to be known beside it, a line each
    std::vector<std::string> findings;  ///< what led to it, a line each
    PageView view;                      ///< large, at the top
    std::vector<qvDiagTable> results;
    const qvDiagObject* records = nullptr;  ///< shown one by one; may be null
    std::vector<qvDiagTable> appendix;      ///< parameters, times
};

/// Pels of an image of that size for one display pel of the large view, as it is usually seen.
double pageViewScale(long width, long height);

/// The whole file as UTF-8, below 5 MB whatever the images and records hold: pictures are reduced to share a budget,
/// and where shapes, rows or records are left out the page says how many.
std::string htmlPage(const Page& page);

}  // namespace qvtool

#endif
