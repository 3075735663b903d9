/// @file
/// Image files that declare another size than they have pels for.
#ifndef QVSTREET_TESTS_SOAK_DECLARED_SIZE_H
#define QVSTREET_TESTS_SOAK_DECLARED_SIZE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/soak/png_check_sum.h"

namespace qvtest {

using FileBytes = std::vector<unsigned char>;

/// Writes a number of so many bytes into the file.
inline void putNumber(FileBytes& file, std::size_t at, std::uint32_t value, std::size_t bytes, bool bigEndian) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t shift = 8 * (bigEndian ? bytes - 1 - i : i);
        file.at(at + i) = static_cast<unsigned char>(value >> shift);
    }
}

inline std::uint32_t numberAt(const FileBytes& file, std::size_t at, std::size_t bytes, bool bigEndian) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        value |= std::uint32_t{file.at(at + i)} << 8 * (bigEndian ? bytes - 1 - i : i);
    return value;
}

/// The header chunk follows the signature of 8 bytes: length, type, width, height, 5 bytes more, check sum.
inline void declareInPng(FileBytes& file, std::uint32_t side) {
    putNumber(file, 16, side, 4, true);
    putNumber(file, 20, side, 4, true);
    putNumber(file, 29, pngCheckSum(file.data() + 12, 29 - 12), 4, true);
}

/// Width and height are the tags 256 and 257 of the first directory; entries have 12 bytes.
inline void declareInTiff(FileBytes& file, std::uint32_t side) {
    const bool bigEndian = file.at(0) == 'M';
    const std::size_t directory = numberAt(file, 4, 4, bigEndian);
    const std::size_t entries = numberAt(file, directory, 2, bigEndian);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t at = directory + 2 + 12 * i;
        const std::uint32_t tag = numberAt(file, at, 2, bigEndian);
        if (tag != 256 && tag != 257) continue;
        putNumber(file, at + 2, 4, 2, bigEndian);  // a number of 32 bits
        putNumber(file, at + 8, side, 4, bigEndian);
    }
}

/// The frame header is the segment of a marker C0 to C2; a side has 16 bits there.
inline void declareInJpeg(FileBytes& file, std::uint32_t side) {
    for (std::size_t at = 2; at + 9 <= file.size(); at += 2 + numberAt(file, at + 2, 2, true)) {
        const unsigned marker = file[at + 1];
        if (marker < 0xC0 || marker > 0xC2) continue;
        putNumber(file, at + 5, std::min<std::uint32_t>(side, 0xFFFF), 2, true);
        putNumber(file, at + 7, std::min<std::uint32_t>(side, 0xFFFF), 2, true);
        return;
    }
}

/// A header of 12 bytes has sides of 16 bits.
inline void declareInBmp(FileBytes& file, std::uint32_t side) {
    const bool core = numberAt(file, 14, 4, false) == 12;
    const std::size_t bytes = core ? 2 : 4;
    if (core) side = std::min<std::uint32_t>(side, 0xFFFF);
    putNumber(file, 18, side, bytes, false);
    putNumber(file, 18 + bytes, side, bytes, false);
}

/// Width and height are the first two numbers that are not in a comment.
inline void declareInPnm(FileBytes& file, std::uint32_t side) {
    const std::string digits = std::to_string(side);
    std::size_t at = 2;
    for (int number = 0; number < 2; ++number) {
        while (file.at(at) < '0' || file[at] > '9') {
            if (file[at] == '#') {
                while (file.at(at) != '\n') ++at;
            }
            ++at;
        }
        std::size_t end = at;
        while (file.at(end) >= '0' && file[end] <= '9') ++end;
        const auto first = file.begin() + static_cast<std::ptrdiff_t>(at);
        const auto next = file.erase(first, file.begin() + static_cast<std::ptrdiff_t>(end));
        file.insert(next, digits.begin(), digits.end());
        at += digits.size();
    }
}

/// The file, declaring `side` by `side` pels or as much as its header can say. @param format as its folder is called
inline FileBytes declaring(FileBytes file, const std::string& format, std::uint32_t side) {
    if (format == "png") declareInPng(file, side);
    if (format == "tiff") declareInTiff(file, side);
    if (format == "jpeg") declareInJpeg(file, side);
    if (format == "bmp") declareInBmp(file, side);
    if (format == "pnm") declareInPnm(file, side);
    return file;
}

}  // namespace qvtest

#endif
