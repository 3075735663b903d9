#ifndef QVSTREET_TESTS_SUPPORT_SLOW_FOURIER_H
#define QVSTREET_TESTS_SUPPORT_SLOW_FOURIER_H

#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

// The Fourier transform as its sum reads, in long doubles: what the fast one is held against. One axis at a time, which
// is the same sum with its terms collected.

namespace qvtest {

/// width * height values, row by row.
using SlowSpectrum = std::vector<std::complex<long double>>;

/// sum over i of signal[first + i * step] * exp(sign * 2 pi i k i / length), for all k, in place.
inline void slowTransformLine(SlowSpectrum& values, std::size_t first, std::size_t step, std::size_t length, int sign) {
    const long double twoPi = 2.0L * std::acos(-1.0L);
    std::vector<std::complex<long double>> result(length);
    for (std::size_t k = 0; k < length; ++k)
        for (std::size_t i = 0; i < length; ++i) {
            const long double angle = static_cast<long double>(sign) * twoPi *
                                      static_cast<long double>(k * i % length) / static_cast<long double>(length);
            result[k] += values[first + i * step] * std::complex<long double>(std::cos(angle), std::sin(angle));
        }
    for (std::size_t k = 0; k < length; ++k) values[first + k * step] = result[k];
}

/// Not scaled; `sign` -1 is the forward transform, +1 the inverse one.
inline SlowSpectrum slowTransform(SlowSpectrum values, std::size_t width, std::size_t height, int sign) {
    for (std::size_t y = 0; y < height; ++y) slowTransformLine(values, y * width, 1, width, sign);
    for (std::size_t x = 0; x < width; ++x) slowTransformLine(values, x, width, height, sign);
    return values;
}

}  // namespace qvtest

#endif
