/// @file
/// Image files for the tests of the readers, made byte by byte or by the format's own library.
#ifndef QVSTREET_TESTS_TOOLS_IMAGE_ENCODERS_H
#define QVSTREET_TESTS_TOOLS_IMAGE_ENCODERS_H

#include "tools/grey_image.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace qvtest {

using File = std::vector<unsigned char>;

/// A string's bytes, and integers in either order.
void append(File& file, const std::string& text);
void appendBytes(File& file, std::initializer_list<int> bytes);
void append16(File& file, unsigned value);  ///< little endian
void append32(File& file, std::uint32_t value);

/// How a PNG is to be stored. `colourType` as in the PNG header: 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA.
struct PngSpec {
    unsigned width = 1;
    unsigned height = 1;
    int depth = 8;
    int colourType = 0;
    bool interlaced = false;
    std::vector<unsigned char> palette{};  ///< r, g, b, r, g, b, ...
    std::vector<unsigned char> paletteAlpha{};
};

/// @param samples one number per sample in the order of the file; packed here according to the depth.
File encodePng(const PngSpec& spec, const std::vector<unsigned>& samples);

struct TiffSpec {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint16_t bits = 8;
    std::uint16_t samples = 1;
    std::uint16_t photometric = 1;   ///< 0 min is white, 1 min is black, 2 RGB, 3 palette, 5 separated
    std::uint16_t compression = 1;   ///< 1 none, 5 LZW, 7 JPEG, 8 deflate, 32773 pack bits
    std::uint16_t sampleFormat = 1;  ///< 1 unsigned, 2 signed, 3 float
    std::uint16_t orientation = 1;
    std::uint32_t tile = 0;  ///< side of the tiles; 0: strips
    std::uint32_t rowsPerStrip = 2;
    bool planes = false;
    bool bigEndian = false;
    int pages = 1;                         ///< further pages hold zeros
    std::vector<std::uint16_t> palette{};  ///< all reds, all greens, all blues
};

File encodeTiff(const TiffSpec& spec, const std::vector<unsigned>& samples);

/// A baseline JPEG of quality 100 without chroma subsampling. @param channels 1 (grey) or 3 (RGB, stored as YCbCr).
File encodeJpeg(int width, int height, int channels, const std::vector<unsigned char>& pels);
/// The same, stored as CMYK.
File encodeCmykJpeg(int width, int height, const std::vector<unsigned char>& pels);

/// The image, or its message in an error.
qvtool::GreyImage decode(const File& file);

/// The message with which the file is refused; empty if it is read.
std::string refusal(const File& file);

/// Whether some note holds these words.
bool hasNote(const qvtool::GreyImage& image, const std::string& words);

/// Cuts the file at every length and expects that each is refused with an ImageError.
/// @param spare bytes at the file's end that a reader may do without, if the pels are then still the same.
void expectTruncationsRefused(const File& file, std::size_t spare = 0);

/// Changes every byte in several ways and expects an image or an ImageError, whatever the change.
void expectDamageSurvived(const File& file);

}  // namespace qvtest

#endif
