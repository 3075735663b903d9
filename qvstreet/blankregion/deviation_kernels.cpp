#include "qvstreet/blankregion/deviation_kernels.h"

// Numbers of 64 bits that a vector holds, where running totals are faster in vectors; no compiler does that by itself.
#if QV_KERNELS_PLAIN
#define QV_DEVIATION_LANES 1
#elif defined(__AVX512F__)
#define QV_DEVIATION_LANES 8
#elif defined(__AVX2__)
#define QV_DEVIATION_LANES 4
#else
#define QV_DEVIATION_LANES 1
#endif

namespace QV_KERNELS {

namespace {

// Floats keep one part in 2^24 in each of the operations, which comes to 1e-4 at 255.
constexpr float kFloatDoubt = 1e-3f;
// From here on the stored value is 255 however the sum was formed.
constexpr float kSurelyMost = 255.5f;
// Bits of a window's radicands in the upper half of the number that they share with its squares.
constexpr int kUpperRadicandBits = kRadicandBits - 32;
constexpr std::uint32_t kUpperRadicandMask = (1u << kUpperRadicandBits) - 1;
// Positions at a time, so that what lies between two loops stays in the first cache.
constexpr long kBlock = 256;

#if QV_DEVIATION_LANES > 1
using Lanes = std::uint64_t __attribute__((vector_size(8 * QV_DEVIATION_LANES)));
#endif
#if QV_DEVIATION_LANES == 8
constexpr long kWords = 32;
using Words = std::uint16_t __attribute__((vector_size(2 * kWords)));
using Bytes = unsigned char __attribute__((vector_size(kWords)));
#endif

#if QV_KERNELS_PLAIN

std::int16_t* rowBoxes(const unsigned char* pels, long width, long L, std::int16_t* sums, std::int16_t*) {
    std::int32_t sum = 0;
    for (long x = 0; x < width; ++x) {
        sum += pels[x] - kKernelMiddle;
        if (x < L - 1) continue;
        sums[x - L + 1] = static_cast<std::int16_t>(sum);
        sum -= pels[x - L + 1] - kKernelMiddle;
    }
    return sums;
}

#elif QV_DEVIATION_LANES == 8

/// The totals of the pels before each of `count` pels, and of all, modulo 2^16.
void addUpPels(const unsigned char* pels, std::uint16_t* totals, long count) {
    const Words none = {};
    Words before = none;
    long x = 0;
    for (; x + kWords <= count; x += kWords) {
        Bytes bytes;
        __builtin_memcpy(&bytes, pels + x, sizeof bytes);
        const Words own = __builtin_convertvector(bytes, Words);
        Words words = own;
        // Each step adds what lies one, two, four, eight, sixteen pels before; four words fill one lane of 64 bits.
        words += __builtin_shufflevector(none, words, 0, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,
                                         48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62);
        words += __builtin_shufflevector(none, words, 0, 0, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46,
                                         47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61);
        words += reinterpret_cast<Words>(
            __builtin_shufflevector(Lanes{}, reinterpret_cast<Lanes>(words), 0, 8, 9, 10, 11, 12, 13, 14));
        words += reinterpret_cast<Words>(
            __builtin_shufflevector(Lanes{}, reinterpret_cast<Lanes>(words), 0, 0, 8, 9, 10, 11, 12, 13));
        words += reinterpret_cast<Words>(
            __builtin_shufflevector(Lanes{}, reinterpret_cast<Lanes>(words), 0, 0, 0, 0, 8, 9, 10, 11));
        const Words earlier = before + (words - own);
        before += __builtin_shufflevector(words, words, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31,
                                          31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31, 31);
        __builtin_memcpy(totals + x, &earlier, sizeof earlier);
    }
    std::uint32_t total = before[0];
    for (; x < count; ++x) {
        totals[x] = static_cast<std::uint16_t>(total);
        total += pels[x];
    }
    totals[count] = static_cast<std::uint16_t>(total);
}

std::int16_t* rowBoxes(const unsigned char* pels, long width, long L, std::int16_t* __restrict first,
                       std::int16_t* __restrict second) {
    auto* const totals = reinterpret_cast<std::uint16_t*>(first);
    addUpPels(pels, totals, width);
    const auto middle = static_cast<std::uint16_t>(L * kKernelMiddle);
    const std::uint16_t* const upTo = totals + L;
    for (long x = 0; x <= width - L; ++x) second[x] = static_cast<std::int16_t>(upTo[x] - totals[x] - middle);
    return second;
}

#else

void onePel(const unsigned char* __restrict pels, std::int16_t* __restrict sums, long count) {
    for (long x = 0; x < count; ++x) sums[x] = static_cast<std::int16_t>(pels[x] - kKernelMiddle);
}

void fourPels(const unsigned char* __restrict pels, std::int16_t* __restrict sums, long count) {
    for (long x = 0; x < count; ++x)
        sums[x] = static_cast<std::int16_t>(pels[x] + pels[x + 1] + pels[x + 2] + pels[x + 3] - 4 * kKernelMiddle);
}

/// From boxes of length `k` to boxes of `2 * k`.
void twice(const std::int16_t* __restrict from, long k, std::int16_t* __restrict to, long count) {
    const std::int16_t* const second = from + k;
    for (long x = 0; x < count; ++x) to[x] = static_cast<std::int16_t>(from[x] + second[x]);
}

/// From boxes of length `k` to boxes of `2 * k + 1`.
void twiceAndOne(const std::int16_t* __restrict from, long k, const unsigned char* __restrict pels,
                 std::int16_t* __restrict to, long count) {
    const std::int16_t* const second = from + k;
    const unsigned char* const last = pels + 2 * k;
    for (long x = 0; x < count; ++x) to[x] = static_cast<std::int16_t>(from[x] + second[x] + last[x] - kKernelMiddle);
}

/// From boxes of length `k` to boxes of `4 * k`.
void fourTimes(const std::int16_t* __restrict from, long k, std::int16_t* __restrict to, long count) {
    const std::int16_t* const second = from + k;
    const std::int16_t* const third = second + k;
    const std::int16_t* const fourth = third + k;
    for (long x = 0; x < count; ++x) to[x] = static_cast<std::int16_t>(from[x] + second[x] + third[x] + fourth[x]);
}

/// The digits of L from the highest on, two at a time where both are 0, tell how to come from boxes of 1 to boxes of L.
std::int16_t* rowBoxes(const unsigned char* __restrict pels, long width, long L, std::int16_t* first,
                       std::int16_t* second) {
    int digits = 0;
    while (L >> digits > 1) ++digits;
    long length = 1;
    std::int16_t* sums = first;
    std::int16_t* other = second;
    if (digits >= 2 && L >> (digits - 2) == 4) {
        length = 4;
        digits -= 2;
        fourPels(pels, sums, width - 3);
    } else {
        onePel(pels, sums, width);
    }
    while (digits > 0) {
        const bool byFour = digits >= 2 && L >> (digits - 2) == 4 * length;
        digits -= byFour ? 2 : 1;
        const long longer = L >> digits;
        const long count = width - longer + 1;
        if (byFour)
            fourTimes(sums, length, other, count);
        else if (longer == 2 * length)
            twice(sums, length, other, count);
        else
            twiceAndOne(sums, length, pels, other, count);
        length = longer;
        std::int16_t* const done = other;
        other = sums;
        sums = done;
    }
    return sums;
}

#endif

void exchangeBoxes(const std::int16_t* __restrict entering, std::int16_t* __restrict leaving,
                   std::uint32_t* __restrict high, std::uint16_t* __restrict low, long positions) {
    for (long x = 0; x < positions; ++x) {
        const std::int16_t in = entering[x];
        const std::int16_t out = leaving[x];
        leaving[x] = in;
        // The difference of their squares.
        const auto difference = static_cast<std::int16_t>(in - out);
        const auto sum = static_cast<std::int16_t>(in + out);
        const std::int32_t change = difference * sum;
        high[x] += static_cast<std::uint32_t>(change >> kLowBits);
        low[x] = static_cast<std::uint16_t>(low[x] + (static_cast<std::uint16_t>(change) & kLowMask));
    }
}

void carryBoxes(std::uint32_t* __restrict high, std::uint16_t* __restrict low, long positions) {
    for (long x = 0; x < positions; ++x) {
        high[x] += static_cast<std::uint32_t>(low[x] >> kLowBits);
        low[x] = static_cast<std::uint16_t>(low[x] & kLowMask);
    }
}

void exchangePels(const unsigned char* __restrict entering, const unsigned char* __restrict leaving,
                  std::int16_t* __restrict sums, std::int32_t* __restrict squareSums, long width) {
    for (long x = 0; x < width; ++x) {
        const auto difference = static_cast<std::int16_t>(entering[x] - leaving[x]);
        const auto sum = static_cast<std::int16_t>(entering[x] + leaving[x] - 2 * kKernelMiddle);
        sums[x] = static_cast<std::int16_t>(sums[x] + difference);
        // The difference of two squares, each at most 2^14.
        squareSums[x] += static_cast<std::int16_t>(difference * sum);
    }
}

/// The totals up to and with each number, in place of the numbers; returns the last one.
std::uint64_t addUp(std::uint64_t* numbers, long count, std::uint64_t total) {
    long x = 0;
#if QV_DEVIATION_LANES == 8
    // Each step adds what lies one, two, four lanes before.
    const Lanes none = {};
    Lanes before = none + total;
    for (; x + QV_DEVIATION_LANES <= count; x += QV_DEVIATION_LANES) {
        Lanes lanes;
        __builtin_memcpy(&lanes, numbers + x, sizeof lanes);
        lanes += __builtin_shufflevector(none, lanes, 0, 8, 9, 10, 11, 12, 13, 14);
        lanes += __builtin_shufflevector(none, lanes, 0, 0, 8, 9, 10, 11, 12, 13);
        lanes += __builtin_shufflevector(none, lanes, 0, 0, 0, 0, 8, 9, 10, 11);
        const Lanes upTo = before + lanes;
        before += __builtin_shufflevector(lanes, lanes, 7, 7, 7, 7, 7, 7, 7, 7);
        __builtin_memcpy(numbers + x, &upTo, sizeof upTo);
    }
    total = before[0];
#elif QV_DEVIATION_LANES == 4
    const Lanes none = {};
    Lanes before = none + total;
    for (; x + QV_DEVIATION_LANES <= count; x += QV_DEVIATION_LANES) {
        Lanes lanes;
        __builtin_memcpy(&lanes, numbers + x, sizeof lanes);
        lanes += __builtin_shufflevector(none, lanes, 0, 4, 5, 6);
        lanes += __builtin_shufflevector(none, lanes, 0, 0, 4, 5);
        const Lanes upTo = before + lanes;
        before += __builtin_shufflevector(lanes, lanes, 3, 3, 3, 3);
        __builtin_memcpy(numbers + x, &upTo, sizeof upTo);
    }
    total = before[0];
#endif
    for (; x < count; ++x) {
        total += numbers[x];
        numbers[x] = total;
    }
    return total;
}

void columnTotals(const std::int16_t* __restrict sums, const std::int32_t* __restrict squareSums, long S,
                  std::uint64_t* __restrict totals, long width) {
    const auto height = static_cast<std::int32_t>(S);
    std::uint64_t total = 0;
    for (long from = 0; from < width; from += kBlock) {
        const long to = from + kBlock < width ? from + kBlock : width;
        for (long x = from; x < to; ++x) {
            const auto radicand = static_cast<std::uint32_t>(height * squareSums[x] - sums[x] * sums[x]);
            totals[x] =
                (static_cast<std::uint64_t>(static_cast<std::uint32_t>(squareSums[x])) << kRadicandBits) + radicand;
        }
        total = addUp(totals + from, to - from, total);
    }
}

/// The lower and the upper halves of what the totals say about each window.
void takeApart(const std::uint64_t* __restrict totals, long L, std::uint32_t* __restrict lower,
               std::uint32_t* __restrict upper, long count) {
    const std::uint64_t* const upTo = totals + L;
    for (long x = 0; x < count; ++x) {
        const std::uint64_t window = upTo[x] - totals[x];
        lower[x] = static_cast<std::uint32_t>(window);
        upper[x] = static_cast<std::uint32_t>(window >> 32);
    }
}

/// The values of some positions, and whether they are in doubt.
void combine(const std::uint32_t* __restrict high, const std::uint16_t* __restrict low,
             const std::uint32_t* __restrict lower, const std::uint32_t* __restrict upper, std::uint32_t length,
             float rowFactor, float columnFactor, std::int32_t* __restrict values, std::int32_t* __restrict doubts,
             long count) {
    constexpr auto kPart = static_cast<float>(1 << kLowBits);
    for (long x = 0; x < count; ++x) {
        const std::uint32_t squares = upper[x] >> kUpperRadicandBits;
        // Of either sum all but the last bits, which fit 31 bits, and the last bits. What the two parts add up to is not
        // negative.
        const auto rowsHigh = static_cast<std::int32_t>(length * (squares >> kLowBits) - high[x]);
        const auto rowsLow = static_cast<std::int32_t>(length * (squares & kLowMask) - low[x]);
        const auto columnsHigh =
            static_cast<std::int32_t>((upper[x] & kUpperRadicandMask) << (32 - kLowBits) | lower[x] >> kLowBits);
        const auto columnsLow = static_cast<std::int32_t>(lower[x] & kLowMask);
        const float rows = static_cast<float>(rowsHigh) * kPart + static_cast<float>(rowsLow);
        const float columns = static_cast<float>(columnsHigh) * kPart + static_cast<float>(columnsLow);
        const float scaled = rowFactor * __builtin_sqrtf(rows) + columnFactor * __builtin_sqrtf(columns);
        const float atMost = scaled < kSurelyMost ? scaled : kSurelyMost;
        const auto atLeast = static_cast<std::int32_t>(atMost - kFloatDoubt);
        values[x] = atLeast;
        doubts[x] = static_cast<std::int32_t>(atMost + kFloatDoubt) - atLeast;
    }
}

void narrow(const std::int32_t* __restrict numbers, unsigned char* __restrict bytes, long count) {
    for (long x = 0; x < count; ++x) bytes[x] = static_cast<unsigned char>(numbers[x]);
}

void storeRow(const std::uint32_t* high, const std::uint16_t* low, const std::uint64_t* totals, long L, float rowFactor,
              float columnFactor, unsigned char* pels, unsigned char* isDoubtful, long positions) {
    alignas(64) std::uint32_t lower[kBlock];
    alignas(64) std::uint32_t upper[kBlock];
    alignas(64) std::int32_t values[kBlock];
    alignas(64) std::int32_t doubts[kBlock];
    for (long from = 0; from < positions; from += kBlock) {
        const long count = positions - from < kBlock ? positions - from : kBlock;
        takeApart(totals + from, L, lower, upper, count);
        combine(high + from, low + from, lower, upper, static_cast<std::uint32_t>(L), rowFactor, columnFactor, values,
                doubts, count);
        narrow(values, pels + from, count);
        narrow(doubts, isDoubtful + from, count);
    }
}

}  // namespace

extern const qv_DeviationKernels deviationKernels = {rowBoxes,     exchangeBoxes, carryBoxes,
                                                     exchangePels, columnTotals,  storeRow};

}  // namespace QV_KERNELS
