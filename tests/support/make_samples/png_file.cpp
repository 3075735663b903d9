#include "tests/support/make_samples/png_file.h"

#include <png.h>

#include <stdexcept>

namespace qvtest {

void writePng(const std::string& path, const GreyImage& image) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    header.width = static_cast<png_uint_32>(image.width);
    header.height = static_cast<png_uint_32>(image.height);
    header.format = PNG_FORMAT_GRAY;
    const auto stride = static_cast<png_int_32>(image.stride);
    if (png_image_write_to_file(&header, path.c_str(), 0, image.pels.data(), stride, nullptr) == 0) {
        throw std::runtime_error(path + ": " + header.message);
    }
}

GreyImage readPng(const std::string& path) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&header, path.c_str()) == 0) {
        throw std::runtime_error(path + ": " + header.message);
    }
    header.format = PNG_FORMAT_GRAY;
    GreyImage image;
    image.width = static_cast<long>(header.width);
    image.height = static_cast<long>(header.height);
    image.stride = image.width;
    image.pels.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    const auto stride = static_cast<png_int_32>(image.stride);
    if (png_image_finish_read(&header, nullptr, image.pels.data(), stride, nullptr) == 0) {
        throw std::runtime_error(path + ": " + header.message);
    }
    return image;
}

}  // namespace qvtest
