#ifndef QVSTREET_BENCH_RUNNING_HISTOGRAM_H
#define QVSTREET_BENCH_RUNNING_HISTOGRAM_H

#include <algorithm>
#include <array>
#include <cstdint>

#include "qvstreet/platform/pel_buffer.h"

// The textbook way to a mode filter, as a peer: one histogram a row, moved a column at a time by one count out and
// one in for each row of the window, and searched anew at each position. The mode is that of the histogram smoothed
// with 1, 2, 1, levels 1 to 254, the lowest among equals: the same values as the library's.

namespace qvbench {

using GreyHistogram = std::array<std::uint32_t, 256>;

inline unsigned char smoothedMode(const GreyHistogram& histogram) {
    unsigned char mode = 255;
    std::uint32_t best = 0;
    for (unsigned v = 1; v < 255; ++v) {
        const std::uint32_t sum = histogram[v - 1] + 2 * histogram[v] + histogram[v + 1];
        if (sum > best) {
            best = sum;
            mode = static_cast<unsigned char>(v);
        }
    }
    return mode;
}

/// The mode of every window that lies wholly in the image.
/// @param modes  (image width - width + 1) by (image height - height + 1)
inline void runningHistogramModes(const qvPelBuffer_const<unsigned char>& image, long width, long height,
                                  qvPelBuffer<unsigned char>& modes) {
    for (long y = 0; y < modes.height(); ++y) {
        GreyHistogram histogram{};
        for (long row = y; row < y + height; ++row)
            for (long x = 0; x < width; ++x) ++histogram[*image.pointToPel(x, row)];
        unsigned char* out = modes.pointToRow(y);
        out[0] = smoothedMode(histogram);
        for (long x = 1; x < modes.width(); ++x) {
            for (long row = y; row < y + height; ++row) {
                const unsigned char* pels = image.pointToPel(x - 1, row);
                --histogram[pels[0]];
                ++histogram[pels[width]];
            }
            out[x] = smoothedMode(histogram);
        }
    }
}

}  // namespace qvbench

#endif
