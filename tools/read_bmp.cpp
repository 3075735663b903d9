// BMP of every common kind: 1, 4, 8, 16, 24 and 32 bits, palettes, bit masks, run lengths of 4 and 8 bits, bottom-up
// and top-down, with the headers from 12 to 124 bytes. In: the whole file. Out: grey levels, top row first. Every
// offset and length of the headers is held against the file's size before it is used.
#include "tools/image_file.h"

#include <array>

namespace qvtool {
namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kCoreHeaderBytes = 12;
constexpr std::uint32_t kInfoHeaderBytes = 40;

enum Compression : std::uint32_t { kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kAlphaBitFields = 6 };

/// Little-endian reads that end in an error where the file ends.
class BmpBytes {
 public:
    explicit BmpBytes(Bytes file) : file_(file) {}

    std::size_t size() const { return file_.size; }
    std::uint32_t u8(std::size_t at) const {
        if (at >= file_.size) throw ImageError("is truncated: byte " + std::to_string(at) + " of a BMP is missing");
        return file_.data[at];
    }
    std::uint32_t u16(std::size_t at) const { return u8(at) | u8(at + 1) << 8; }
    std::uint32_t u32(std::size_t at) const { return u16(at) | u16(at + 2) << 16; }
    const unsigned char* at(std::size_t position) const { return file_.data + position; }

 private:
    Bytes file_;
};

/// One colour channel of a bit mask.
struct Channel {
    std::uint32_t mask = 0;
    unsigned shift = 0;
    unsigned bits = 0;
};

struct BmpLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool topDown = false;
    std::uint32_t bitsPerPel = 0;
    std::uint32_t compression = kRgb;
    std::size_t pelStart = 0;
    std::size_t rowBytes = 0;
    std::vector<unsigned char> paletteGrey;
    bool paletteHasColour = false;
    std::array<Channel, 3> channels;  ///< red, green, blue of 16 and 32 bits
    bool hasAlpha = false;
};

void readSize(const BmpBytes& bmp, std::uint32_t headerBytes, BmpLayout& layout) {
    if (headerBytes == kCoreHeaderBytes) {
        layout.width = bmp.u16(18);
        layout.height = bmp.u16(20);
        layout.bitsPerPel = bmp.u16(24);
        return;
    }
    layout.width = bmp.u32(18);
    layout.height = bmp.u32(22);
    // A negative height means that the top row comes first. 2^31 has no positive counterpart and is too large anyway.
    if ((layout.height & 0x80000000U) != 0 && layout.height != 0x80000000U) {
        layout.topDown = true;
        layout.height = 0U - layout.height;
    }
    layout.bitsPerPel = bmp.u16(28);
    layout.compression = bmp.u32(30);
}

void checkKind(const BmpLayout& layout) {
    const std::uint32_t bits = layout.bitsPerPel;
    bool known = false;
    switch (layout.compression) {
        case kRgb:
            known = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
            break;
        case kRle8:
            known = bits == 8 && !layout.topDown;
            break;
        case kRle4:
            known = bits == 4 && !layout.topDown;
            break;
        case kBitFields:
        case kAlphaBitFields:
            known = bits == 16 || bits == 32;
            break;
        default:
            break;
    }
    if (!known) {
        throw ImageError("is a BMP of " + std::to_string(bits) + " bits a pel with compression " +
                         std::to_string(layout.compression) +
                         "; allowed are 1, 4, 8, 16, 24 and 32 bits, uncompressed, with bit masks or run lengths");
    }
}

Channel channelOf(std::uint32_t mask) {
    Channel channel;
    channel.mask = mask;
    if (mask == 0) return channel;
    while ((mask >> channel.shift & 1U) == 0) ++channel.shift;
    std::uint32_t run = mask >> channel.shift;
    while ((run & 1U) != 0) {
        ++channel.bits;
        run >>= 1;
    }
    if (run != 0 || channel.bits > 16) throw ImageError("has a colour mask that is not one run of up to 16 bits");
    return channel;
}

void readMasks(const BmpBytes& bmp, BmpLayout& layout) {
    if (layout.bitsPerPel != 16 && layout.bitsPerPel != 32) return;
    std::array<std::uint32_t, 3> masks = {0x7C00U, 0x03E0U, 0x001FU};
    if (layout.bitsPerPel == 32) masks = {0x00FF0000U, 0x0000FF00U, 0x000000FFU};
    if (layout.compression != kRgb) {
        // The masks follow the 40 header bytes; in the longer headers they are a part of the header, at the same place.
        for (std::size_t i = 0; i < 3; ++i) masks[i] = bmp.u32(kFileHeaderBytes + kInfoHeaderBytes + 4 * i);
    }
    for (std::size_t i = 0; i < 3; ++i) layout.channels[i] = channelOf(masks[i]);
}

void readAlpha(const BmpBytes& bmp, std::uint32_t headerBytes, BmpLayout& layout) {
    const bool masksInFile = layout.compression == kBitFields || layout.compression == kAlphaBitFields;
    const bool hasField = layout.compression == kAlphaBitFields || headerBytes >= 56;
    layout.hasAlpha = masksInFile && hasField && bmp.u32(kFileHeaderBytes + kInfoHeaderBytes + 12) != 0;
}

void readPalette(const BmpBytes& bmp, std::uint32_t headerBytes, BmpLayout& layout) {
    if (layout.bitsPerPel > 8) return;
    const std::size_t entryBytes = headerBytes == kCoreHeaderBytes ? 3 : 4;
    const std::size_t start = kFileHeaderBytes + headerBytes;
    std::size_t entries = std::size_t{1} << layout.bitsPerPel;
    if (headerBytes >= kInfoHeaderBytes) {
        const std::uint32_t used = bmp.u32(46);
        if (used != 0 && used < entries) entries = used;
    }
    // Some writers leave out unused entries without saying so; the pels then begin earlier.
    if (layout.pelStart > start && (layout.pelStart - start) / entryBytes < entries) {
        entries = (layout.pelStart - start) / entryBytes;
    }
    for (std::size_t i = 0; i < entries; ++i) {
        const std::uint32_t blue = bmp.u8(start + i * entryBytes);
        const std::uint32_t green = bmp.u8(start + i * entryBytes + 1);
        const std::uint32_t red = bmp.u8(start + i * entryBytes + 2);
        layout.paletteGrey.push_back(static_cast<unsigned char>(greyOf(red, green, blue)));
        if (red != green || green != blue) layout.paletteHasColour = true;
    }
}

BmpLayout readLayout(const BmpBytes& bmp) {
    BmpLayout layout;
    const std::uint32_t headerBytes = bmp.u32(14);
    if (headerBytes != kCoreHeaderBytes && (headerBytes < kInfoHeaderBytes || headerBytes > 124)) {
        throw ImageError("has a BMP header of " + std::to_string(headerBytes) + " bytes; allowed are 12 and 40 to 124");
    }
    readSize(bmp, headerBytes, layout);
    checkSize(layout.width, layout.height);
    checkKind(layout);
    layout.pelStart = bmp.u32(10);
    if (layout.pelStart < kFileHeaderBytes + headerBytes || layout.pelStart > bmp.size()) {
        throw ImageError("has its pels at byte " + std::to_string(layout.pelStart) + "; allowed are " +
                         std::to_string(kFileHeaderBytes + headerBytes) + " to the file's size " +
                         std::to_string(bmp.size()));
    }
    readMasks(bmp, layout);
    readAlpha(bmp, headerBytes, layout);
    readPalette(bmp, headerBytes, layout);
    // Rows are filled up to whole 32-bit words.
    layout.rowBytes = (static_cast<std::size_t>(layout.width) * layout.bitsPerPel + 31) / 32 * 4;
    return layout;
}

unsigned char paletteGrey(const BmpLayout& layout, std::uint32_t index) {
    if (index >= layout.paletteGrey.size()) {
        throw ImageError("uses colour " + std::to_string(index) + " of a palette of " +
                         std::to_string(layout.paletteGrey.size()));
    }
    return layout.paletteGrey[index];
}

unsigned channelValue(const Channel& channel, std::uint32_t pel) {
    if (channel.bits == 0) return 0;
    return scaleTo8((pel & channel.mask) >> channel.shift, (1U << channel.bits) - 1U);
}

void convertRow(const BmpLayout& layout, const unsigned char* row, unsigned char* out) {
    const std::size_t bits = layout.bitsPerPel;
    for (std::size_t x = 0; x < layout.width; ++x) {
        if (bits <= 8) {
            const std::size_t bit = x * bits;
            const unsigned shift = static_cast<unsigned>(8 - bits - bit % 8);
            out[x] = paletteGrey(layout, static_cast<unsigned>(row[bit / 8]) >> shift & ((1U << bits) - 1U));
        } else if (bits == 24) {
            out[x] = static_cast<unsigned char>(greyOf(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
        } else {
            std::uint32_t pel = 0;
            for (std::size_t byte = 0; byte < bits / 8; ++byte) {
                pel |= static_cast<std::uint32_t>(row[x * bits / 8 + byte]) << 8 * byte;
            }
            out[x] = static_cast<unsigned char>(greyOf(channelValue(layout.channels[0], pel),
                                                       channelValue(layout.channels[1], pel),
                                                       channelValue(layout.channels[2], pel)));
        }
    }
}

void readPlainRows(const BmpBytes& bmp, const BmpLayout& layout, GreyImage& image) {
    const std::size_t needed = layout.rowBytes * layout.height;
    if (needed > bmp.size() - layout.pelStart) {
        throw ImageError("is truncated: its pels need " + std::to_string(needed) + " bytes, " +
                         std::to_string(bmp.size() - layout.pelStart) + " are there");
    }
    for (std::size_t y = 0; y < layout.height; ++y) {
        const std::size_t stored = layout.topDown ? y : layout.height - 1 - y;
        convertRow(layout, bmp.at(layout.pelStart + stored * layout.rowBytes), image.pels.data() + y * layout.width);
    }
}

/// Run lengths walk the image bottom-up; pels that no run reaches show colour 0.
class RunLengthWalk {
 public:
    RunLengthWalk(const BmpBytes& bmp, const BmpLayout& layout, GreyImage& image)
        : bmp_(bmp), layout_(layout), image_(image), at_(layout.pelStart) {}

    void run() {
        image_.pels.assign(image_.pels.size(), paletteGrey(layout_, 0));
        for (;;) {
            const std::uint32_t count = bmp_.u8(at_);
            const std::uint32_t value = bmp_.u8(at_ + 1);
            at_ += 2;
            if (count > 0) {
                for (std::uint32_t i = 0; i < count; ++i) put(colour(value, i));
            } else if (value == 0) {
                x_ = 0;
                ++fromBottom_;
            } else if (value == 1) {
                return;
            } else if (value == 2) {
                x_ += bmp_.u8(at_);
                fromBottom_ += bmp_.u8(at_ + 1);
                at_ += 2;
            } else {
                literal(value);
            }
        }
    }

 private:
    std::uint32_t colour(std::uint32_t value, std::uint32_t i) const {
        if (layout_.bitsPerPel == 8) return value;
        return i % 2 == 0 ? value >> 4 : value & 15U;
    }

    void literal(std::uint32_t count) {
        const std::size_t perByte = layout_.bitsPerPel == 8 ? 1 : 2;
        for (std::uint32_t i = 0; i < count; ++i) put(colour(bmp_.u8(at_ + i / perByte), i));
        // Literal runs are filled up to whole 16-bit words.
        at_ += ((count + perByte - 1) / perByte + 1) / 2 * 2;
    }

    void put(std::uint32_t index) {
        if (x_ >= layout_.width || fromBottom_ >= layout_.height) {
            throw ImageError("has runs that leave the image (damaged BMP)");
        }
        image_.pels[(layout_.height - 1 - fromBottom_) * layout_.width + x_] = paletteGrey(layout_, index);
        ++x_;
    }

    const BmpBytes& bmp_;
    const BmpLayout& layout_;
    GreyImage& image_;
    std::size_t at_;
    std::size_t x_ = 0;
    std::size_t fromBottom_ = 0;
};

}  // namespace

GreyImage readBmp(Bytes file) {
    const BmpBytes bmp(file);
    const BmpLayout layout = readLayout(bmp);
    GreyImage image = makeImage(layout.width, layout.height);
    if (layout.compression == kRle8 || layout.compression == kRle4) {
        RunLengthWalk(bmp, layout, image).run();
    } else {
        readPlainRows(bmp, layout, image);
    }
    if (layout.bitsPerPel > 8 || layout.paletteHasColour) noteColour(image);
    if (layout.hasAlpha) noteAlpha(image);
    return image;
}

}  // namespace qvtool
