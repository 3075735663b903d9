/// @file
/// What the examples look at: frames drawn as a camera would send them, or one read from a PGM file.
#ifndef SAMPLE_WAFER_H
#define SAMPLE_WAFER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

/// A grey image, row by row without gaps, the top row first.
struct Frame {
    long width = 0;
    long height = 0;
    std::vector<unsigned char> pels;
};

/// A wafer with dark streets 20 pels wide between dies of 180 by 130, turned by atan(1/64), about 0.9 degrees. `shift`
/// moves it to the right, in pels. All arithmetic is in whole 64ths of a pel, so that every machine draws the same.
inline Frame drawWafer(long width, long height, long shift) {
    constexpr long kPel = 64;
    constexpr long kPitchX = 200 * kPel;
    constexpr long kPitchY = 150 * kPel;
    constexpr long kHalfStreet = 10 * kPel;

    Frame frame{width, height, std::vector<unsigned char>(static_cast<std::size_t>(width * height))};
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            const long u = kPel * (x - shift) + y + 40 * kPitchX;
            const long v = kPel * y - (x - shift) + 40 * kPitchY;
            const long toStreet = std::min(std::labs(u % kPitchX - kPitchX / 2), std::labs(v % kPitchY - kPitchY / 2));
            const long street = std::clamp(kHalfStreet + kPel / 2 - toStreet, 0L, kPel);
            // The dies hold circuits: squares of 4 pels in random greys.
            const auto square = static_cast<std::uint32_t>((u / 256) * 7919 + (v / 256) * 104729) * 2654435761U;
            const long die = 140 + static_cast<long>(square >> 27);
            const long grey = (die * (kPel - street) + 80 * street) / kPel;
            frame.pels[static_cast<std::size_t>(y * width + x)] = static_cast<unsigned char>(grey);
        }
    }
    return frame;
}

/// An 8-bit PGM file ("P5"), without comments.
inline Frame readPgm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    long width = 0;
    long height = 0;
    long most = 0;
    file >> magic >> width >> height >> most;
    file.get();
    if (!file || magic != "P5" || width <= 0 || height <= 0 || width > 30000 || height > 30000 || most != 255)
        throw std::runtime_error(path + " is not an 8-bit PGM file");
    Frame frame{width, height,
                std::vector<unsigned char>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
    file.read(reinterpret_cast<char*>(frame.pels.data()), static_cast<std::streamsize>(frame.pels.size()));
    if (!file) throw std::runtime_error(path + " is cut short");
    return frame;
}

#endif
