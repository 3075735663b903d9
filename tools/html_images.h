/// @file
/// The pictures of a page: each different image is embedded once, small enough for all of them to share one budget.
#ifndef QVSTREET_TOOLS_HTML_IMAGES_H
#define QVSTREET_TOOLS_HTML_IMAGES_H

#include "qvstreet/platform/pel_buffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qvtool {

/// Images are told apart by their pels alone: the same picture at another offset, in another frame or in another place
/// of the memory is embedded only once.
class PageImages {
 public:
    using Image = qvPelBuffer_const<unsigned char>;

    /// @param budget  most characters that all embedded pictures take together
    explicit PageImages(std::size_t budget) : budget_(budget) {}

    /// Takes note of an image; the first one gets the largest share of the budget. An image without pels is ignored.
    void add(const Image& image);

    /// Appends an `<image>` of the size of each noted image, in pels, with the names img0, img1 and so on, for an
    /// `<svg>` that is not shown. Pictures of more than about a million pels are reduced by averaging, and further
    /// while they do not fit their share.
    void writeDefinitions(std::string& html) const;

    /// Appends the reference to a noted image, placed at its offset. Nothing for one that was not noted.
    void writeUse(std::string& html, const Image& image) const;

 private:
    struct Entry {
        Image image;
        std::uint64_t hash;
    };

    /// Index of the equal image, or the count of images.
    std::size_t indexOf(const Image& image, std::uint64_t hash) const;

    std::size_t budget_;
    std::vector<Entry> entries_;
};

}  // namespace qvtool

#endif
