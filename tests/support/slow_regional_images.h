/// @file
/// The images of the blank region search by the book: what the sliding forms must equal to the bit. The steps of the
/// arithmetic stand here one by one, 32-bit wrapping included; pels are counted from the window's upper left pel.
#ifndef QVSTREET_TESTS_SUPPORT_SLOW_REGIONAL_IMAGES_H
#define QVSTREET_TESTS_SUPPORT_SLOW_REGIONAL_IMAGES_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

namespace qvtest {

/// Rows of pels.
using SlowImage = std::vector<std::vector<unsigned char>>;

/// 32 bits read as signed, by arithmetic in 64.
inline std::int64_t slowSigned(std::uint32_t bits) {
    return bits < 0x80000000u ? std::int64_t{bits} : std::int64_t{bits} - 0x100000000;
}

/// The same of any 64-bit number.
inline double slowWrapped(std::int64_t number) {
    return static_cast<double>(slowSigned(static_cast<std::uint32_t>(static_cast<std::uint64_t>(number))));
}

/// Columns `x` to `x + L - 1` of rows `y` to `y + S - 1`, counted from nothing.
inline int slowMode(const qvPelBuffer_const<unsigned char>& image, long x, long y, long L, long S) {
    std::vector<std::uint32_t> counts(256, 0);
    for (long r = 0; r < S; ++r)
        for (long c = 0; c < L; ++c) ++counts[image.get(x + c, y + r)];
    int mode = 255;
    std::uint32_t best = 0;
    for (std::size_t v = 1; v <= 254; ++v) {
        const std::uint32_t sum = counts[v - 1] + 2 * counts[v] + counts[v + 1];
        if (sum > best) {
            best = sum;
            mode = static_cast<int>(v);
        }
    }
    return mode;
}

inline SlowImage slowForegroundImage(const qvPelBuffer_const<unsigned char>& image, long L, long S) {
    const long nx = image.width() - L + 1;
    const long ny = image.height() - S + 1;
    std::vector<std::vector<int>> modes(static_cast<std::size_t>(ny));
    for (long y = 0; y < ny; ++y)
        for (long x = 0; x < nx; ++x) modes[static_cast<std::size_t>(y)].push_back(slowMode(image, x, y, L, S));
    const long halfL = L / 2;
    SlowImage result(static_cast<std::size_t>(image.height()));
    for (long y = 0; y < image.height(); ++y) {
        long modeRow = y - S / 2;
        if (modeRow < 0) modeRow = 0;
        if (modeRow > ny - 1) modeRow = ny - 1;
        long modeColumn = 0;
        for (long x = 0; x < image.width(); ++x) {
            if (x > halfL && x < nx - halfL - 1) ++modeColumn;
            const int mode = modes[static_cast<std::size_t>(modeRow)][static_cast<std::size_t>(modeColumn)];
            result[static_cast<std::size_t>(y)].push_back(static_cast<unsigned char>(std::abs(image.get(x, y) - mode)));
        }
    }
    return result;
}

/// The combination of the three vectors; sums as 32-bit patterns.
inline double slowCombination(const std::vector<double>& columns, const std::vector<std::uint32_t>& sums,
                              const std::vector<std::uint32_t>& squares, double rowWeight, double columnWeight) {
    const auto l = static_cast<std::uint32_t>(columns.size());
    double rowTerm = 0.0;
    for (std::size_t r = 0; r < sums.size(); ++r)
        rowTerm += static_cast<double>(slowSigned(l * squares[r] - sums[r] * sums[r])) /
                   static_cast<double>(slowSigned(l * l));
    double columnTerm = 0.0;
    for (const double column : columns) columnTerm += column * column;
    return rowWeight * std::sqrt(rowTerm / static_cast<double>(sums.size())) +
           columnWeight * std::sqrt(columnTerm / static_cast<double>(columns.size()));
}

/// One row of positions. The row sums of each position are added up from nothing, which wraps to the same 32 bits.
inline std::vector<double> slowDeviationRow(const qvPelBuffer_const<unsigned char>& image, long L, long S, long y,
                                            double rowWeight) {
    std::vector<double> result;
    std::vector<double> ring(static_cast<std::size_t>(L));
    for (long x = 0; x + L <= image.width(); ++x) {
        std::vector<std::uint32_t> sums(static_cast<std::size_t>(S), 0);
        std::vector<std::uint32_t> squares(static_cast<std::size_t>(S), 0);
        for (long c = 0; c < L; ++c) {
            std::uint32_t t1 = 0;
            std::uint32_t t2 = 0;
            for (long r = 0; r < S; ++r) {
                const std::uint32_t pel = image.get(x + c, y + r);
                sums[static_cast<std::size_t>(r)] += pel;
                squares[static_cast<std::size_t>(r)] += pel * pel;
                t1 += pel;
                t2 += pel * pel;
            }
            const auto h = static_cast<double>(S);
            if (x == 0) {
                const double radicand = h * static_cast<double>(slowSigned(t2)) - slowWrapped(std::int64_t{t1} * t1);
                ring[static_cast<std::size_t>(c)] = std::sqrt(radicand) / h;
            } else if (c == L - 1) {
                const double radicand = slowWrapped(S * std::int64_t{t2} - std::int64_t{t1} * t1);
                ring[static_cast<std::size_t>((x - 1) % L)] = std::sqrt(radicand) / h;
            }
        }
        result.push_back(slowCombination(ring, sums, squares, rowWeight, 1.0 - rowWeight));
    }
    return result;
}

inline SlowImage slowDeviationImage(const qvPelBuffer_const<unsigned char>& image, long L, long S, int scale,
                                    double rowWeight) {
    SlowImage result;
    for (long y = 0; y + S <= image.height(); ++y) {
        result.emplace_back();
        for (const double deviation : slowDeviationRow(image, L, S, y, rowWeight)) {
            const double scaled = scale * deviation;
            const bool isNumber = std::isfinite(deviation);
            result.back().push_back(
                static_cast<unsigned char>(isNumber && scaled < 255.0 ? static_cast<int>(scaled) : 255));
        }
    }
    return result;
}

}  // namespace qvtest

#endif
