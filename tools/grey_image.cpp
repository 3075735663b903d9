#include "tools/grey_image.h"

#include <new>

namespace qvtool {

void checkSize(std::uint64_t width, std::uint64_t height) {
    const bool tooSmall = width == 0 || height == 0;
    // The sides are compared first, so that the product cannot wrap.
    const bool tooLarge = width > kMaxSide || height > kMaxSide || width * height > kMaxPels;
    if (tooSmall || tooLarge) {
        throw ImageError("declares " + std::to_string(width) + " x " + std::to_string(height) +
                         " pels; allowed are 1 to " + std::to_string(kMaxSide) + " pels a side and at most " +
                         std::to_string(kMaxPels) + " pels in all");
    }
}

GreyImage makeImage(std::uint64_t width, std::uint64_t height) {
    checkSize(width, height);
    GreyImage image;
    image.width = static_cast<long>(width);
    image.height = static_cast<long>(height);
    try {
        image.pels.resize(static_cast<std::size_t>(width * height));
    } catch (const std::bad_alloc&) {
        throw ImageError("needs " + std::to_string(width * height) + " bytes of memory, which are not available");
    }
    return image;
}

void noteColour(GreyImage& image) { image.notes.emplace_back("colour was turned to grey (BT.601)"); }

void noteSixteenBits(GreyImage& image) {
    image.notes.emplace_back("16-bit values were scaled to 8 bits (value / 257)");
}

void noteAlpha(GreyImage& image) { image.notes.emplace_back("the alpha channel was dropped; colours count as stored"); }

}  // namespace qvtool
