/// @file
/// The check sum of PNG chunks.
#ifndef QVSTREET_TESTS_SOAK_PNG_CHECK_SUM_H
#define QVSTREET_TESTS_SOAK_PNG_CHECK_SUM_H

#include <cstddef>
#include <cstdint>

namespace qvtest {

/// Of a chunk's type and data; a chunk holds it big-endian behind them.
inline std::uint32_t pngCheckSum(const std::uint8_t* data, std::size_t size) {
    std::uint32_t sum = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < size; ++i) {
        sum ^= data[i];
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~sum;
}

}  // namespace qvtest

#endif
