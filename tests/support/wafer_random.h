#ifndef QVSTREET_TESTS_SUPPORT_WAFER_RANDOM_H
#define QVSTREET_TESTS_SUPPORT_WAFER_RANDOM_H

#include <cstdint>

// Random numbers that are the same on every machine and from every compiler; the standard library's distributions are
// not.

namespace qvtest {

/// The `index`-th 64-bit value of the stream `seed` (splitmix64). Addressed by index, so that the value of a pel does
/// not depend on the order in which pels are visited.
inline std::uint64_t randomBits(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t z = seed * 0xD1342543DE82EF95u + (index + 1) * 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

/// Mean 0, standard deviation 1, nearly normal: the sum of the four 16-bit parts of one random word, never beyond
/// 3.47.
inline double randomNormal(std::uint64_t seed, std::uint64_t index) {
    const std::uint64_t bits = randomBits(seed, index);
    const std::uint64_t sum = (bits & 0xFFFFu) + ((bits >> 16) & 0xFFFFu) + ((bits >> 32) & 0xFFFFu) + (bits >> 48);
    constexpr double mean = 2.0 * 65535.0;
    constexpr double deviation = 37837.22715;  // 2 * sqrt((65536^2 - 1) / 12)
    return (static_cast<double>(sum) - mean) / deviation;
}

/// A stream to draw from one after the other.
class RandomStream {
 public:
    explicit RandomStream(std::uint64_t seed) : seed_(seed) {}

    /// Uniform in [low, high).
    double uniform(double low, double high) {
        const double unit = static_cast<double>(randomBits(seed_, next_++) >> 11) * 0x1p-53;
        return low + (high - low) * unit;
    }

    /// Uniform among 0 .. count - 1.
    int below(int count) { return static_cast<int>(uniform(0.0, static_cast<double>(count))); }

 private:
    std::uint64_t seed_;
    std::uint64_t next_ = 0;
};

}  // namespace qvtest

#endif
