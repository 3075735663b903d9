/// @file
/// Strips for the blank region finder: structure that is the same in every row, with blank stretches in it.
#ifndef QVSTREET_TESTS_BLANKREGION_TONED_STRIP_H
#define QVSTREET_TESTS_BLANKREGION_TONED_STRIP_H

#include <array>
#include <cstddef>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

namespace qvtest {

/// Columns [begin, end) of one grey level.
struct Stretch {
    long begin;
    long end;
    unsigned char level = 100;
};

/// Four tones column by column, at least 40 away from 100 and 140, and the blank stretches.
inline qvPelBuffer<unsigned char> tonedStrip(long width, long height, const std::vector<Stretch>& stretches) {
    constexpr std::array<unsigned char, 4> tones = {20, 180, 60, 220};
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) image.put(x, y, tones[static_cast<std::size_t>(x % 4)]);
        for (const Stretch& stretch : stretches)
            for (long x = stretch.begin; x < stretch.end; ++x) image.put(x, y, stretch.level);
    }
    return image;
}

}  // namespace qvtest

#endif
