/// @file
/// The one image form that the command works on, and the arithmetic that leads to it.
#ifndef QVSTREET_TOOLS_GREY_IMAGE_H
#define QVSTREET_TOOLS_GREY_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace qvtool {

/// An image file that cannot be used. The message says what is wrong and what is allowed, without the file's name.
class ImageError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// An 8-bit grey image, rows top to bottom without padding.
struct GreyImage {
    long width = 0;                   ///< columns, in pels
    long height = 0;                  ///< rows, in pels
    std::vector<unsigned char> pels;  ///< width * height grey levels
    std::vector<std::string> notes;   ///< what was changed or left out on the way to grey, for standard error
};

/// A file's bytes, not owned.
struct Bytes {
    const unsigned char* data = nullptr;
    std::size_t size = 0;
};

/// Longest side in pels: room for every line-scan image in use, and a row of 16-bit RGBA stays at 8 MB.
constexpr std::uint64_t kMaxSide = 1000000;

/// Most pels of an image: half a gigabyte as grey, so that a file that lies about its size cannot exhaust a machine.
constexpr std::uint64_t kMaxPels = std::uint64_t{1} << 29;

/// @throws ImageError for a side of 0, a side above kMaxSide or more than kMaxPels pels.
void checkSize(std::uint64_t width, std::uint64_t height);

/// An image of that size, all 0.
/// @throws ImageError as checkSize, and where the memory is not to be had.
GreyImage makeImage(std::uint64_t width, std::uint64_t height);

/// BT.601 luma in the unit of its arguments, rounded half up: 0.299 r + 0.587 g + 0.114 b. Exact up to 16 bits.
constexpr unsigned greyOf(unsigned r, unsigned g, unsigned b) {
    return (299U * r + 587U * g + 114U * b + 500U) / 1000U;
}

/// 16 bits to 8: value / 257, rounded.
constexpr unsigned char scale16(unsigned value) { return static_cast<unsigned char>((value + 128U) / 257U); }

/// 0..maxValue to 0..255, rounded half up; maxValue 1..65535.
constexpr unsigned char scaleTo8(unsigned value, unsigned maxValue) {
    return static_cast<unsigned char>((value * 255U + maxValue / 2U) / maxValue);
}

/// The notes that several formats share, worded once.
void noteColour(GreyImage& image);
void noteSixteenBits(GreyImage& image);
void noteAlpha(GreyImage& image);

}  // namespace qvtool

#endif
