// TIFF through libtiff: the first page, in strips or tiles, grey, palette, RGB and JPEG-compressed YCbCr, samples
// together or in planes. In: the whole file in memory. Out: grey levels. What a wafer camera would not write (floats,
// signed samples, CMYK, Lab) is refused with a message rather than guessed at.
#include "tools/image_file.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

namespace qvtool {
namespace {

// No honest tile, strip or directory of an image within the pel limit needs more at once.
constexpr tmsize_t kMaxSingleAllocation = tmsize_t{1} << 30;
// A row or a tile up to this size is believed; of a greater one, no compression in use makes more than so many bytes of
// one byte of the file: ZSTD, the greatest, comes to 32000 on even pels.
constexpr tmsize_t kBelievedBytes = tmsize_t{64} << 20;
constexpr tmsize_t kMostBytesOfOne = 65536;

/// What libtiff reads from, and where its message goes.
struct TiffSource {
    Bytes file;
    std::uint64_t position = 0;
    std::array<char, 300> reason{};
};

tmsize_t onRead(thandle_t handle, void* out, tmsize_t count) {
    auto* source = static_cast<TiffSource*>(handle);
    if (count <= 0 || source->position >= source->file.size) return 0;
    const std::uint64_t there = source->file.size - source->position;
    const std::uint64_t taken = std::min(there, static_cast<std::uint64_t>(count));
    std::memcpy(out, source->file.data + source->position, static_cast<std::size_t>(taken));
    source->position += taken;
    return static_cast<tmsize_t>(taken);
}

tmsize_t onWrite(thandle_t, void*, tmsize_t) { return 0; }

toff_t onSeek(thandle_t handle, toff_t offset, int whence) {
    auto* source = static_cast<TiffSource*>(handle);
    if (whence == SEEK_CUR) offset += source->position;
    if (whence == SEEK_END) offset += source->file.size;
    source->position = offset;
    return offset;
}

int onClose(thandle_t) { return 0; }
toff_t onSize(thandle_t handle) { return static_cast<TiffSource*>(handle)->file.size; }
int onMap(thandle_t, void**, toff_t*) { return 0; }
void onUnmap(thandle_t, void*, toff_t) {}

__attribute__((format(printf, 4, 0))) int onError(TIFF*, void* user, const char*, const char* format,
                                                  va_list arguments) {
    auto* source = static_cast<TiffSource*>(user);
    // The first message is the cause; later ones follow from it.
    if (source->reason[0] == '\0') std::vsnprintf(source->reason.data(), source->reason.size(), format, arguments);
    return 1;
}

int onWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

[[noreturn]] void refuse(const TiffSource& source) {
    const char* reason = source.reason[0] == '\0' ? "no reason given" : source.reason.data();
    throw ImageError(std::string("is a damaged or truncated TIFF: ") + reason);
}

Tiff openTiff(TiffSource& source) {
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (!options) throw ImageError("cannot be decoded: no memory for the TIFF decoder");
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxSingleAllocation);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, &source);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, &source);
    // "m": no memory mapping, the file is in memory already.
    Tiff tiff(TIFFClientOpenExt("image", "rm", &source, onRead, onWrite, onSeek, onClose, onSize, onMap, onUnmap,
                                options.get()));
    if (!tiff) refuse(source);
    return tiff;
}

struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    bool planes = false;
    bool tiled = false;
    bool colour = false;  ///< the first three samples are red, green, blue
    bool lastPage = true;
    std::vector<unsigned char> paletteGrey;  ///< grey of each index, empty without a palette
    bool paletteHasColour = false;
};

std::uint16_t shortTag(TIFF* tiff, ttag_t tag, std::uint16_t fallback) {
    std::uint16_t value = fallback;
    if (TIFFGetFieldDefaulted(tiff, tag, &value) == 0) return fallback;
    return value;
}

void readPalette(TIFF* tiff, TiffLayout& layout) {
    std::uint16_t* red = nullptr;
    std::uint16_t* green = nullptr;
    std::uint16_t* blue = nullptr;
    if (layout.bits > 8 || TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 0) {
        throw ImageError("is a palette TIFF without a palette of 1 to 8 bits");
    }
    const std::size_t entries = std::size_t{1} << layout.bits;
    // Some writers fill the 16-bit palette with 8-bit values.
    bool sixteen = false;
    for (std::size_t i = 0; i < entries; ++i) sixteen = sixteen || red[i] > 255 || green[i] > 255 || blue[i] > 255;
    for (std::size_t i = 0; i < entries; ++i) {
        const unsigned grey = greyOf(red[i], green[i], blue[i]);
        layout.paletteGrey.push_back(sixteen ? scale16(grey) : static_cast<unsigned char>(grey));
        if (red[i] != green[i] || green[i] != blue[i]) layout.paletteHasColour = true;
    }
}

void checkSamples(TIFF* tiff, const TiffLayout& layout) {
    const std::uint16_t format = shortTag(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) {
        const char* name = format == SAMPLEFORMAT_IEEEFP ? "floating-point" : "signed or complex";
        throw ImageError(std::string("is a TIFF of ") + name + " samples; allowed are unsigned whole numbers");
    }
    const bool few = layout.bits == 1 || layout.bits == 2 || layout.bits == 4;
    const bool usual = layout.bits == 8 || layout.bits == 16;
    const bool allowed = usual || (few && layout.samples == 1 && !layout.colour);
    if (!allowed) {
        throw ImageError("is a TIFF of " + std::to_string(layout.samples) + " samples of " +
                         std::to_string(layout.bits) +
                         " bits; allowed are 8 and 16 bits, and 1, 2 and 4 bits for a single sample");
    }
    if (layout.samples < (layout.colour ? 3 : 1)) throw ImageError("is a colour TIFF of fewer than 3 samples");
}

TiffLayout readLayout(TIFF* tiff) {
    TiffLayout layout;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height);
    checkSize(layout.width, layout.height);
    layout.bits = shortTag(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout.samples = shortTag(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.photometric = shortTag(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    layout.orientation = shortTag(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    layout.planes =
        layout.samples > 1 && shortTag(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    layout.tiled = TIFFIsTiled(tiff) != 0;
    layout.lastPage = TIFFLastDirectory(tiff) != 0;

    const std::uint16_t compression = shortTag(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    switch (layout.photometric) {
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MINISWHITE:
            break;
        case PHOTOMETRIC_PALETTE:
            readPalette(tiff, layout);
            break;
        case PHOTOMETRIC_RGB:
            layout.colour = true;
            break;
        case PHOTOMETRIC_YCBCR:
            if (compression == COMPRESSION_JPEG) {
                TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
                layout.colour = true;
                break;
            }
            [[fallthrough]];
        default:
            throw ImageError("is a TIFF of colour kind " + std::to_string(layout.photometric) +
                             "; allowed are grey (0, 1), RGB (2), palette (3) and YCbCr with JPEG compression (6)");
    }
    checkSamples(tiff, layout);
    return layout;
}

/// Turns one stored row (or a part of it) to grey. `planes` holds the row of each plane, or one row of all samples.
class RowToGrey {
 public:
    explicit RowToGrey(const TiffLayout& layout) : layout_(layout) {}

    void convert(const std::array<const unsigned char*, 3>& planes, std::size_t count, unsigned char* out) const {
        const std::size_t step = layout_.planes ? 1 : layout_.samples;
        for (std::size_t x = 0; x < count; ++x) {
            if (layout_.colour) {
                const unsigned red = sample(planes[0], x * step);
                const unsigned green = layout_.planes ? sample(planes[1], x) : sample(planes[0], x * step + 1);
                const unsigned blue = layout_.planes ? sample(planes[2], x) : sample(planes[0], x * step + 2);
                const unsigned grey = greyOf(red, green, blue);
                out[x] = layout_.bits == 16 ? scale16(grey) : static_cast<unsigned char>(grey);
            } else {
                out[x] = greyOfOne(sample(planes[0], x * step));
            }
        }
    }

 private:
    unsigned sample(const unsigned char* row, std::size_t index) const {
        if (layout_.bits == 8) return row[index];
        if (layout_.bits == 16) {
            std::uint16_t value = 0;  // libtiff has swapped the bytes to the machine's order
            std::memcpy(&value, row + 2 * index, 2);
            return value;
        }
        const std::size_t bit = index * layout_.bits;
        const unsigned shift = static_cast<unsigned>(8 - layout_.bits - bit % 8);
        return static_cast<unsigned>(row[bit / 8]) >> shift & ((1U << layout_.bits) - 1U);
    }

    unsigned char greyOfOne(unsigned value) const {
        if (!layout_.paletteGrey.empty()) return layout_.paletteGrey[value];
        const unsigned maxValue = (1U << layout_.bits) - 1U;
        if (layout_.photometric == PHOTOMETRIC_MINISWHITE) value = maxValue - value;
        return layout_.bits == 16 ? scale16(value) : scaleTo8(value, maxValue);
    }

    const TiffLayout& layout_;
};

/// Without compression the pels need a known number of bytes; a header that declares more is refused before memory is
/// taken for it.
void checkBytesAreThere(TIFF* tiff, const TiffLayout& layout, Bytes file) {
    if (shortTag(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) != COMPRESSION_NONE) return;
    const std::uint64_t needed = (std::uint64_t{layout.width} * layout.samples * layout.bits + 7) / 8 * layout.height;
    if (needed > file.size) {
        throw ImageError("is a damaged or truncated TIFF: its pels need " + std::to_string(needed) +
                         " bytes, the file has " + std::to_string(file.size));
    }
}

/// The same for what is decoded at once, whatever the compression: one part of each plane.
void checkPartIsThere(const std::string& part, tmsize_t bytes, tmsize_t planes, Bytes file) {
    const bool believed = bytes <= kBelievedBytes / planes;
    if (!believed && static_cast<std::uint64_t>(bytes / kMostBytesOfOne * planes) > file.size)
        throw ImageError("is a damaged or truncated TIFF: a " + part + " of it needs " + std::to_string(bytes) +
                         " bytes, the file has " + std::to_string(file.size));
    if (bytes > kMaxSingleAllocation)
        throw ImageError("is a TIFF with a " + part + " of " + std::to_string(bytes) + " bytes; allowed are up to " +
                         std::to_string(kMaxSingleAllocation));
}

std::size_t storedPlanes(const TiffLayout& layout) { return layout.planes && layout.colour ? 3 : 1; }

/// Strips: one handle per plane, each walking its own plane from top to bottom, so that no strip is decoded twice.
void readStrips(Bytes file, const TiffLayout& layout, GreyImage& image) {
    const std::size_t count = storedPlanes(layout);
    std::array<TiffSource, 3> sources;
    std::array<Tiff, 3> tiffs;
    std::array<std::vector<unsigned char>, 3> rows;
    std::array<const unsigned char*, 3> planes{};
    for (std::size_t i = 0; i < count; ++i) {
        sources[i].file = file;
        tiffs[i] = openTiff(sources[i]);
        if (layout.photometric == PHOTOMETRIC_YCBCR) {
            TIFFSetField(tiffs[i].get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        }
        const tmsize_t bytes = TIFFScanlineSize(tiffs[i].get());
        const std::size_t least =
            (std::size_t{layout.width} * (layout.planes ? 1 : layout.samples) * layout.bits + 7) / 8;
        if (bytes < 0 || static_cast<std::size_t>(bytes) < least) refuse(sources[i]);
        checkPartIsThere("row", bytes, 1, file);
        rows[i].resize(static_cast<std::size_t>(bytes));
        planes[i] = rows[i].data();
    }
    const RowToGrey toGrey(layout);
    for (std::uint32_t y = 0; y < layout.height; ++y) {
        for (std::size_t i = 0; i < count; ++i) {
            if (TIFFReadScanline(tiffs[i].get(), rows[i].data(), y, static_cast<std::uint16_t>(i)) < 0) {
                refuse(sources[i]);
            }
        }
        toGrey.convert(planes, layout.width, image.pels.data() + std::size_t{y} * layout.width);
    }
}

void readTiles(TIFF* tiff, const TiffSource& source, const TiffLayout& layout, GreyImage& image) {
    std::uint32_t tileWidth = 0;
    std::uint32_t tileHeight = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
    checkSize(tileWidth, tileHeight);
    const tmsize_t tileBytes = TIFFTileSize(tiff);
    const tmsize_t rowBytes = TIFFTileRowSize(tiff);
    const std::size_t samplesInRow = std::size_t{tileWidth} * (layout.planes ? 1 : layout.samples);
    if (tileBytes <= 0 || rowBytes <= 0 || static_cast<std::size_t>(rowBytes) < (samplesInRow * layout.bits + 7) / 8 ||
        tileBytes / rowBytes < static_cast<tmsize_t>(tileHeight)) {
        refuse(source);
    }
    const std::size_t count = storedPlanes(layout);
    checkPartIsThere("tile", tileBytes, static_cast<tmsize_t>(count), source.file);
    std::array<std::vector<unsigned char>, 3> tiles;
    for (std::size_t i = 0; i < count; ++i) tiles[i].resize(static_cast<std::size_t>(tileBytes));

    const RowToGrey toGrey(layout);
    for (std::uint32_t top = 0; top < layout.height; top += tileHeight) {
        for (std::uint32_t left = 0; left < layout.width; left += tileWidth) {
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint32_t tile = TIFFComputeTile(tiff, left, top, 0, static_cast<std::uint16_t>(i));
                if (TIFFReadEncodedTile(tiff, tile, tiles[i].data(), tileBytes) < 0) refuse(source);
            }
            const std::size_t wide = std::min(tileWidth, layout.width - left);
            const std::size_t high = std::min(tileHeight, layout.height - top);
            for (std::size_t y = 0; y < high; ++y) {
                std::array<const unsigned char*, 3> planes{};
                for (std::size_t i = 0; i < count; ++i) {
                    planes[i] = tiles[i].data() + y * static_cast<std::size_t>(rowBytes);
                }
                toGrey.convert(planes, wide, image.pels.data() + (top + y) * layout.width + left);
            }
        }
    }
}

void addNotes(const TiffLayout& layout, GreyImage& image) {
    if (layout.colour || layout.paletteHasColour) noteColour(image);
    if (layout.bits == 16) noteSixteenBits(image);
    if (layout.samples > (layout.colour ? 3 : 1)) noteAlpha(image);
    if (!layout.lastPage) image.notes.emplace_back("the file has several pages; only the first was read");
    if (layout.orientation != ORIENTATION_TOPLEFT) {
        image.notes.push_back("orientation " + std::to_string(layout.orientation) +
                              " is ignored; rows and columns count as stored");
    }
}

}  // namespace

GreyImage readTiff(Bytes file) {
    TiffSource source;
    source.file = file;
    const Tiff tiff = openTiff(source);
    const TiffLayout layout = readLayout(tiff.get());
    checkBytesAreThere(tiff.get(), layout, file);
    GreyImage image = makeImage(layout.width, layout.height);
    if (layout.tiled) {
        readTiles(tiff.get(), source, layout, image);
    } else {
        readStrips(file, layout, image);
    }
    addNotes(layout, image);
    return image;
}

}  // namespace qvtool
