#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/soak/png_check_sum.h"

// Mutations of PNG files whose chunks keep right check sums, so that they reach what lies behind that test.

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostBytes);

namespace {

std::uint32_t bigEndian32(const std::uint8_t* at) {
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostBytes,
                                               unsigned int seed) {
    size = LLVMFuzzerMutate(data, size, mostBytes);
    if (seed % 16 == 0) return size;
    // Length, type, data, sum; the first chunk follows the signature of 8 bytes.
    for (std::size_t at = 8; at + 12 <= size;) {
        const std::size_t length = bigEndian32(data + at);
        if (length > size - at - 12) break;
        const std::uint32_t sum = qvtest::pngCheckSum(data + at + 4, length + 4);
        for (unsigned i = 0; i < 4; ++i) data[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        at += length + 12;
    }
    return size;
}
