#include "tools/write_png.h"

#include <png.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace qvtool {
namespace {

// Fast rather than small: pictures to look at, of noisy images that no level shrinks much.
constexpr int kCompressionLevel = 3;

struct PngOutput {
    const ByteSink& sink;
    std::exception_ptr thrown;  ///< by the sink; carried around libpng, which knows no exceptions
    std::array<char, 200> reason{};
    png_structp png = nullptr;
    png_infop info = nullptr;

    explicit PngOutput(const ByteSink& target) : sink(target) {}
    PngOutput(const PngOutput&) = delete;
    PngOutput& operator=(const PngOutput&) = delete;
    ~PngOutput() { png_destroy_write_struct(&png, &info); }
};

[[noreturn]] void onError(png_structp png, png_const_charp message) {
    auto* output = static_cast<PngOutput*>(png_get_error_ptr(png));
    std::snprintf(output->reason.data(), output->reason.size(), "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

bool passOn(PngOutput& output, const unsigned char* data, std::size_t size) {
    try {
        output.sink(data, size);
        return true;
    } catch (...) {
        output.thrown = std::current_exception();
        return false;
    }
}

void onWrite(png_structp png, png_bytep data, std::size_t size) {
    auto* output = static_cast<PngOutput*>(png_get_io_ptr(png));
    if (!passOn(*output, data, size)) png_error(png, "the sink failed");
}

void onFlush(png_structp) {}

bool encode(PngOutput& output, long width, long height, int channels, const RowSource& rowAt) {
    if (setjmp(png_jmpbuf(output.png)) != 0) return false;
    png_set_user_limits(output.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_write_fn(output.png, &output, onWrite, onFlush);
    png_set_IHDR(output.png, output.info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(output.png, kCompressionLevel);
    png_set_filter(output.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP);
    png_write_info(output.png, output.info);
    for (long y = 0; y < height; ++y) png_write_row(output.png, rowAt(y));
    png_write_end(output.png, nullptr);
    return true;
}

}  // namespace

void writePng(const ByteSink& sink, long width, long height, int channels, const RowSource& rowAt) {
    PngOutput output(sink);
    output.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &output, onError, onWarning);
    if (output.png != nullptr) output.info = png_create_info_struct(output.png);
    if (output.info == nullptr) throw std::runtime_error("no memory for the PNG encoder");
    if (encode(output, width, height, channels, rowAt)) return;
    if (output.thrown) std::rethrow_exception(output.thrown);
    throw std::runtime_error(std::string("the PNG encoder failed: ") + output.reason.data());
}

}  // namespace qvtool
