/// @file
/// Small images for tests: from literal rows, of reproducible noise, and the same pels stored in other ways.
#ifndef QVSTREET_TESTS_SUPPORT_NOISE_IMAGE_H
#define QVSTREET_TESTS_SUPPORT_NOISE_IMAGE_H

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

namespace qvtest {

/// The same numbers on every platform.
class Noise {
 public:
    explicit Noise(std::uint64_t seed) : state_(seed * 2862933555777941757u + 3037000493u) {}
    /// 32 evenly distributed bits.
    std::uint32_t bits() {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::uint32_t>(state_ >> 32);
    }
    /// From low to high.
    double real(double low, double high) { return low + (high - low) * (bits() / 4294967295.0); }
    /// From low to high, both included.
    long whole(long low, long high) {
        return low + static_cast<long>(bits() % static_cast<std::uint32_t>(high - low + 1));
    }

 private:
    std::uint64_t state_;
};

inline qvPelBuffer<unsigned char> noiseImage(long width, long height, std::uint64_t seed) {
    Noise noise(seed);
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(noise.bits() >> 24));
    return image;
}

inline qvPelBuffer<unsigned char> imageOf(const std::vector<std::vector<int>>& rows) {
    qvPelBuffer<unsigned char> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (std::size_t x = 0; x < rows[y].size(); ++x)
            image.put(static_cast<long>(x), static_cast<long>(y), static_cast<unsigned char>(rows[y][x]));
    return image;
}

inline std::vector<std::vector<int>> rowsOf(const qvPelBuffer_const<unsigned char>& image) {
    std::vector<std::vector<int>> rows;
    for (long y = 0; y < image.height(); ++y)
        rows.emplace_back(image.pointToRow(y), image.pointToRow(y) + image.width());
    return rows;
}

/// The same pels as a window of a larger image whose other pels are 255; frames as in `image`.
inline qvPelBuffer_const<unsigned char> asWindow(const qvPelBuffer_const<unsigned char>& image, long left, long top) {
    qvPelBuffer<unsigned char> larger(image.width() + left + 5, image.height() + top + 3, 32);
    for (long y = 0; y < larger.height(); ++y) std::fill_n(larger.pointToRow(y), larger.width(), 255);
    for (long y = 0; y < image.height(); ++y)
        std::copy_n(image.pointToRow(y), image.width(), larger.pointToPel(left, top + y));
    larger.window(left, top, image.width(), image.height(), false);
    larger.offset(image.offset());
    larger.clientFromImageXform(image.clientFromImageXform());
    return larger;
}

/// The same pels stored bottom-up, three pels of padding to a row.
inline qvPelBuffer_const<unsigned char> asBottomUp(const qvPelBuffer_const<unsigned char>& image) {
    const long rowPels = image.width() + 3;
    auto memory = std::make_shared<std::vector<unsigned char>>(static_cast<std::size_t>(rowPels * image.height()), 255);
    unsigned char* top = memory->data() + (image.height() - 1) * rowPels;
    for (long y = 0; y < image.height(); ++y) std::copy_n(image.pointToRow(y), image.width(), top - y * rowPels);
    qvPelBuffer_const<unsigned char> view(top, image.width(), image.height(), -rowPels, memory);
    view.offset(image.offset());
    view.clientFromImageXform(image.clientFromImageXform());
    return view;
}

}  // namespace qvtest

#endif
