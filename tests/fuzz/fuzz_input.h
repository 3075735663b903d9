/// @file
/// What the fuzz targets make of the bytes that they are given.
#ifndef QVSTREET_TESTS_FUZZ_FUZZ_INPUT_H
#define QVSTREET_TESTS_FUZZ_FUZZ_INPUT_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace qvtest {

/// Ends the run with a finding.
inline void require(bool holds, const char* promise) {
    if (!holds) throw std::logic_error(std::string("does not hold: ") + promise);
}

/// Bytes read from the front. Where they have run out, every further one is 0.
class FuzzInput {
 public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool isEmpty() const { return left_ == 0; }

    unsigned byte() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }

    /// One byte is enough for the numbers that a host would give and for those at the edges of a double; after 255 come
    /// the eight bytes of any double.
    double number() {
        using Limits = std::numeric_limits<double>;
        static constexpr std::array<double, 20> edges = {-1.0,
                                                         0.0,
                                                         -0.0,
                                                         1.0,
                                                         Limits::quiet_NaN(),
                                                         Limits::infinity(),
                                                         -Limits::infinity(),
                                                         Limits::max(),
                                                         Limits::min(),
                                                         Limits::denorm_min(),
                                                         Limits::epsilon(),
                                                         1e-9,
                                                         1e9,
                                                         2147483647.0,
                                                         -2147483648.0,
                                                         4294967296.0,
                                                         1e18,
                                                         1e154,
                                                         1000.0,
                                                         0.1};
        const unsigned kind = byte();
        if (kind < 200) return kind / 4.0;
        if (kind < 200 + edges.size()) return edges[kind - 200];
        if (kind < 255) return -static_cast<double>(kind - 219) / 8.0;
        std::array<std::uint8_t, sizeof(double)> bytes{};
        for (std::uint8_t& one : bytes) one = static_cast<std::uint8_t>(byte());
        double value = 0.0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

    /// Small numbers from one byte, the others from 32 bits or from the edges.
    long whole() {
        static constexpr std::array<long, 6> edges = {std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max(),
                                                      std::numeric_limits<long>::min(),
                                                      std::numeric_limits<long>::max(),
                                                      65535,
                                                      32768};
        const unsigned kind = byte();
        if (kind < 200) return static_cast<long>(kind);
        if (kind < 220) return 199 - static_cast<long>(kind);
        if (kind < 220 + edges.size()) return edges[kind - 220];
        std::uint32_t value = 0;
        for (unsigned i = 0; i < 4; ++i) value = value << 8 | byte();
        return static_cast<std::int32_t>(value);
    }

    /// All that is left.
    std::string rest() {
        const std::string text(reinterpret_cast<const char*>(data_), left_);
        left_ = 0;
        return text;
    }

 private:
    const std::uint8_t* data_;
    std::size_t left_;
};

/// An image of `columns` by `rows` pels from what is left: noise of its own bytes, or bars on a ground, which is what
/// streets are made of, with noise over them or without.
inline std::vector<unsigned char> drawPels(FuzzInput& input, long columns, long rows) {
    const auto width = static_cast<std::size_t>(columns);
    const auto height = static_cast<std::size_t>(rows);
    std::vector<unsigned char> pels(width * height);
    const unsigned kind = input.byte();
    if (kind % 4 == 0) {
        const std::string bytes = input.rest();
        if (bytes.empty()) return pels;
        for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(bytes[i % bytes.size()]);
        return pels;
    }
    std::fill(pels.begin(), pels.end(), static_cast<unsigned char>(input.byte()));
    while (!input.isEmpty()) {
        const bool upright = input.byte() % 2 == 1;
        const std::size_t across = upright ? width : height;
        const std::size_t from = input.byte() % across;
        const std::size_t to = std::min(across, from + input.byte() % 32);
        const auto grey = static_cast<unsigned char>(input.byte());
        for (std::size_t y = upright ? 0 : from; y < (upright ? height : to); ++y) {
            for (std::size_t x = upright ? from : 0; x < (upright ? to : width); ++x) pels[y * width + x] = grey;
        }
    }
    if (kind % 4 == 1) return pels;
    std::uint32_t state = kind;
    for (unsigned char& pel : pels) {
        state = state * 1664525U + 1013904223U;
        pel = static_cast<unsigned char>(pel + (state >> 24) % (kind / 16 + 1));
    }
    return pels;
}

}  // namespace qvtest

#endif
