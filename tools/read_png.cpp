// PNG through libpng, row by row, so that beside the grey image only one row at the file's depth is held, also for
// interlaced files. libpng reports errors by longjmp: whatever has a destructor lives in the session, which belongs to
// a caller of the functions that libpng may leave.
#include "tools/image_file.h"

#include <png.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>

namespace qvtool {
namespace {

// Deflate shrinks to no less than 1/1032: a file that declares more than that for its size is not whole, and is refused
// before memory is taken for it.
constexpr std::uint64_t kMostExpansion = 1032;

struct PngSession {
    Bytes file;
    std::size_t position = 0;
    std::array<char, 200> reason{};
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<unsigned char> row;
    GreyImage image;
    int storedColourType = 0;
    int storedDepth = 0;
    bool paletteHasColour = false;
    int depth = 0;     ///< bits per sample of a delivered row, 8 or 16
    int channels = 0;  ///< of a delivered row

    PngSession() = default;
    PngSession(const PngSession&) = delete;
    PngSession& operator=(const PngSession&) = delete;
    ~PngSession() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] void onError(png_structp png, png_const_charp message) {
    auto* session = static_cast<PngSession*>(png_get_error_ptr(png));
    std::snprintf(session->reason.data(), session->reason.size(), "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onRead(png_structp png, png_bytep out, std::size_t count) {
    auto* session = static_cast<PngSession*>(png_get_io_ptr(png));
    if (count > session->file.size - session->position) png_error(png, "the file ends too early");
    std::memcpy(out, session->file.data + session->position, count);
    session->position += count;
}

std::uint64_t bigEndian32(const unsigned char* at) {
    return std::uint64_t{at[0]} << 24 | std::uint64_t{at[1]} << 16 | std::uint64_t{at[2]} << 8 | at[3];
}

/// The declared size, read without libpng, so that its limits and messages are those of every other format.
void checkHeader(Bytes file) {
    if (file.size < 33 || std::memcmp(file.data + 12, "IHDR", 4) != 0) {
        throw ImageError("is a damaged or truncated PNG: no header");
    }
    const std::uint64_t width = bigEndian32(file.data + 16);
    const std::uint64_t height = bigEndian32(file.data + 20);
    checkSize(width, height);
    const std::uint64_t leastBits = width * height * file.data[24];
    if (leastBits / 8 > kMostExpansion * file.size) {
        throw ImageError("is a damaged or truncated PNG: " + std::to_string(file.size) + " bytes cannot hold its " +
                         std::to_string(width) + " x " + std::to_string(height) + " pels");
    }
}

bool paletteHasColour(png_structp png, png_infop info) {
    png_colorp palette = nullptr;
    int entries = 0;
    if (png_get_PLTE(png, info, &palette, &entries) == 0) return false;
    for (int i = 0; i < entries; ++i) {
        if (palette[i].red != palette[i].green || palette[i].green != palette[i].blue) return true;
    }
    return false;
}

/// Reads the chunks before the pels and sets up rows of 8 or 16 bits with 1 to 4 channels. False after an error.
bool startReading(PngSession& session) {
    if (setjmp(png_jmpbuf(session.png)) != 0) return false;
    png_set_user_limits(session.png, static_cast<png_uint_32>(kMaxSide), static_cast<png_uint_32>(kMaxSide));
    png_set_read_fn(session.png, &session, onRead);
    png_read_info(session.png, session.info);
    session.storedColourType = png_get_color_type(session.png, session.info);
    session.storedDepth = png_get_bit_depth(session.png, session.info);
    session.paletteHasColour = paletteHasColour(session.png, session.info);
    if (session.storedColourType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(session.png);
    if (session.storedColourType == PNG_COLOR_TYPE_GRAY && session.storedDepth < 8) {
        png_set_expand_gray_1_2_4_to_8(session.png);
    }
    png_read_update_info(session.png, session.info);
    session.depth = png_get_bit_depth(session.png, session.info);
    session.channels = png_get_channels(session.png, session.info);
    return true;
}

unsigned sampleAt(const PngSession& session, std::size_t index) {
    const unsigned char* row = session.row.data();
    if (session.depth == 8) return row[index];
    return static_cast<unsigned>(row[2 * index]) << 8 | row[2 * index + 1];
}

/// Writes the row that was read to columns start, start + step, ... of one image row.
void storeRow(PngSession& session, std::size_t y, std::size_t start, std::size_t step) {
    const auto channels = static_cast<std::size_t>(session.channels);
    const auto width = static_cast<std::size_t>(session.image.width);
    unsigned char* out = session.image.pels.data() + y * width;
    std::size_t at = 0;
    for (std::size_t x = start; x < width; x += step, at += channels) {
        unsigned grey = sampleAt(session, at);
        if (channels >= 3) grey = greyOf(grey, sampleAt(session, at + 1), sampleAt(session, at + 2));
        out[x] = session.depth == 16 ? scale16(grey) : static_cast<unsigned char>(grey);
    }
}

/// libpng hands out the seven passes of an interlaced file as small images of their own.
bool readPels(PngSession& session) {
    if (setjmp(png_jmpbuf(session.png)) != 0) return false;
    const auto height = static_cast<std::size_t>(session.image.height);
    const auto width = static_cast<std::size_t>(session.image.width);
    if (png_get_interlace_type(session.png, session.info) == PNG_INTERLACE_NONE) {
        for (std::size_t y = 0; y < height; ++y) {
            png_read_row(session.png, session.row.data(), nullptr);
            storeRow(session, y, 0, 1);
        }
    } else {
        for (unsigned pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
            const std::size_t firstColumn = PNG_PASS_START_COL(pass);
            if (firstColumn >= width) continue;
            const std::size_t rowStep = PNG_PASS_ROW_OFFSET(pass);
            for (std::size_t y = PNG_PASS_START_ROW(pass); y < height; y += rowStep) {
                png_read_row(session.png, session.row.data(), nullptr);
                storeRow(session, y, firstColumn, PNG_PASS_COL_OFFSET(pass));
            }
        }
    }
    png_read_end(session.png, nullptr);
    return true;
}

[[noreturn]] void refuse(const PngSession& session) {
    throw ImageError(std::string("is a damaged or truncated PNG: ") + session.reason.data());
}

void addNotes(PngSession& session) {
    const bool palette = session.storedColourType == PNG_COLOR_TYPE_PALETTE;
    const bool colour = (session.storedColourType & PNG_COLOR_MASK_COLOR) != 0;
    if (palette ? session.paletteHasColour : colour) noteColour(session.image);
    if (session.storedDepth == 16) noteSixteenBits(session.image);
    if (session.channels == 2 || session.channels == 4) noteAlpha(session.image);
}

}  // namespace

GreyImage readPng(Bytes file) {
    checkHeader(file);
    PngSession session;
    session.file = file;
    session.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &session, onError, onWarning);
    if (session.png != nullptr) session.info = png_create_info_struct(session.png);
    if (session.info == nullptr) throw ImageError("cannot be decoded: no memory for the PNG decoder");

    if (!startReading(session)) refuse(session);
    session.image =
        makeImage(png_get_image_width(session.png, session.info), png_get_image_height(session.png, session.info));
    session.row.resize(png_get_rowbytes(session.png, session.info));
    if (!readPels(session)) refuse(session);
    addNotes(session);
    return std::move(session.image);
}

}  // namespace qvtool
