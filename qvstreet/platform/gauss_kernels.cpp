// Both directions come down to one instruction that multiplies 16-bit numbers and adds neighbouring products.
//
// Down the columns the two rows with the same weight are added before, at most 510, and two such sums lie side by side:
//
//     rows 0 + n-1:  a0 a1 a2 a3 ...     side by side:  a0 b0  a1 b1  a2 b2 ...  times w0 w1 w0 w1 ...
//     rows 1 + n-2:  b0 b1 b2 b3 ...     neighbours added:  a0 w0 + b0 w1,  a1 w0 + b1 w1, ...
//
// The sums of a vector of columns stay in registers over all taps. Along the rows eight taps of a block are one vector;
// four blocks at a time are then added up across.
#include "qvstreet/platform/gauss_kernels.h"

#if !QV_KERNELS_PLAIN && defined(__SSE2__)
#include <immintrin.h>
#define QV_HAS_GAUSS_VECTORS 1
#else
#define QV_HAS_GAUSS_VECTORS 0
#endif

namespace QV_KERNELS {

namespace {

constexpr int kDroppedDown = 7;
constexpr int kDroppedAlong = 21;
constexpr std::int32_t kHalfDown = 1 << (kDroppedDown - 1);
constexpr std::int32_t kHalfAlong = 1 << (kDroppedAlong - 1);

std::int16_t smoothedDown(const std::uint8_t* const* rows, const std::int16_t* weights, std::size_t taps,
                          std::size_t x) {
    std::int32_t sum = kHalfDown;
    for (std::size_t i = 0; i < taps; ++i) sum += weights[i] * rows[i][x];
    return static_cast<std::int16_t>(sum >> kDroppedDown);
}

std::uint8_t smoothedAlong(const std::int16_t* values, const std::int16_t* weights, std::size_t taps) {
    std::int32_t sum = kHalfAlong;
    for (std::size_t i = 0; i < taps; ++i) sum += weights[i] * values[i];
    return static_cast<std::uint8_t>(sum >> kDroppedAlong);
}

#if QV_HAS_GAUSS_VECTORS

// `Words` has 16-bit lanes. Taking numbers side by side and packing them again both stay within 16 bytes, so that
// columns come back in their order.
#if defined(__AVX512BW__)

using Words = __m512i;
constexpr std::size_t kColumns = 32;
Words pelsAt(const std::uint8_t* p) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
}
Words sum(Words a, Words b) { return _mm512_add_epi16(a, b); }
Words sum32(Words a, Words b) { return _mm512_add_epi32(a, b); }
Words everywhere(std::int32_t number) { return _mm512_set1_epi32(number); }
Words lowProducts(Words a, Words b, Words weights) { return _mm512_madd_epi16(_mm512_unpacklo_epi16(a, b), weights); }
Words highProducts(Words a, Words b, Words weights) { return _mm512_madd_epi16(_mm512_unpackhi_epi16(a, b), weights); }
void store(std::int16_t* values, Words low, Words high) {
    // The forms with a mask of all lanes: g++ 12 warns of something uninitialised in its own plain forms.
    _mm512_storeu_si512(values, _mm512_packs_epi32(_mm512_maskz_srai_epi32(0xFFFF, low, kDroppedDown),
                                                   _mm512_maskz_srai_epi32(0xFFFF, high, kDroppedDown)));
}

#elif defined(__AVX2__)

using Words = __m256i;
constexpr std::size_t kColumns = 16;
Words pelsAt(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
Words sum(Words a, Words b) { return _mm256_add_epi16(a, b); }
Words sum32(Words a, Words b) { return _mm256_add_epi32(a, b); }
Words everywhere(std::int32_t number) { return _mm256_set1_epi32(number); }
Words lowProducts(Words a, Words b, Words weights) { return _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights); }
Words highProducts(Words a, Words b, Words weights) { return _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights); }
void store(std::int16_t* values, Words low, Words high) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(values), _mm256_packs_epi32(_mm256_srai_epi32(low, kDroppedDown),
                                                                               _mm256_srai_epi32(high, kDroppedDown)));
}

#else

using Words = __m128i;
constexpr std::size_t kColumns = 8;
Words pelsAt(const std::uint8_t* p) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}
Words sum(Words a, Words b) { return _mm_add_epi16(a, b); }
Words sum32(Words a, Words b) { return _mm_add_epi32(a, b); }
Words everywhere(std::int32_t number) { return _mm_set1_epi32(number); }
Words lowProducts(Words a, Words b, Words weights) { return _mm_madd_epi16(_mm_unpacklo_epi16(a, b), weights); }
Words highProducts(Words a, Words b, Words weights) { return _mm_madd_epi16(_mm_unpackhi_epi16(a, b), weights); }
void store(std::int16_t* values, Words low, Words high) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values),
                     _mm_packs_epi32(_mm_srai_epi32(low, kDroppedDown), _mm_srai_epi32(high, kDroppedDown)));
}

#endif

// Two weights, neither negative, in the lanes that two numbers side by side have.
Words weightPair(std::int16_t first, std::int16_t second) { return everywhere(first + second * 65536); }

// Every row of blocks is the first to read about half of its rows, the lower ones, and reads all of them side by side,
// which are too many streams for the processor to foresee. Further ahead than 256 pels gains nothing.
constexpr std::uintptr_t kPelsAhead = 256;

void fetchAhead(const std::uint8_t* pels) {
    // As a number, for it may lie behind the end of the image.
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(pels) + kPelsAhead));
}

/// The sums of two vectors of columns.
struct Sums {
    Words low[2];
    Words high[2];
};

void add(Sums& sums, std::size_t i, Words a, Words b, Words weights) {
    sums.low[i] = sum32(sums.low[i], lowProducts(a, b, weights));
    sums.high[i] = sum32(sums.high[i], highProducts(a, b, weights));
}

void smoothDownVectors(const std::uint8_t* const* rows, const std::int16_t* weights, std::size_t taps, std::size_t x,
                       std::int16_t* values) {
    const Words half = everywhere(kHalfDown);
    Sums sums = {{half, half}, {half, half}};
    const std::size_t fours = taps / 4;
    const std::size_t last = taps - 1;
    for (std::size_t four = 0; four < fours; ++four) {
        const std::size_t tap = 2 * four;
        const Words w = weightPair(weights[tap], weights[tap + 1]);
        const std::uint8_t* const a0 = rows[tap] + x;
        const std::uint8_t* const a1 = rows[last - tap] + x;
        const std::uint8_t* const b0 = rows[tap + 1] + x;
        const std::uint8_t* const b1 = rows[last - tap - 1] + x;
        fetchAhead(a1);
        fetchAhead(b1);
        for (std::size_t i = 0; i < 2; ++i)
            add(sums, i, sum(pelsAt(a0 + i * kColumns), pelsAt(a1 + i * kColumns)),
                sum(pelsAt(b0 + i * kColumns), pelsAt(b1 + i * kColumns)), w);
    }
    // Left over in the middle: a pair of rows, a single one, or both.
    if (taps % 4 != 0) {
        const std::size_t tap = 2 * fours;
        const std::size_t middle = taps / 2;
        const Words w = weightPair(taps % 4 >= 2 ? weights[tap] : std::int16_t{0},
                                   taps % 2 != 0 ? weights[middle] : std::int16_t{0});
        const std::uint8_t* const a0 = rows[tap] + x;
        const std::uint8_t* const a1 = rows[last - tap] + x;
        const std::uint8_t* const b = rows[middle] + x;
        for (std::size_t i = 0; i < 2; ++i)
            add(sums, i, sum(pelsAt(a0 + i * kColumns), pelsAt(a1 + i * kColumns)), pelsAt(b + i * kColumns), w);
    }
    for (std::size_t i = 0; i < 2; ++i) store(values + x + i * kColumns, sums.low[i], sums.high[i]);
}

void smoothDown(const std::uint8_t* const* rows, const std::int16_t* weights, std::size_t taps, std::size_t columns,
                std::int16_t* values) {
    constexpr std::size_t kAtATime = 2 * kColumns;
    if (columns < kAtATime) {
        for (std::size_t x = 0; x < columns; ++x) values[x] = smoothedDown(rows, weights, taps, x);
        return;
    }
    for (std::size_t x = 0; x + kAtATime <= columns; x += kAtATime) smoothDownVectors(rows, weights, taps, x, values);
    if (columns % kAtATime != 0) smoothDownVectors(rows, weights, taps, columns - kAtATime, values);
}

__m128i productsAlong(const std::int16_t* values, const std::int16_t* weights, std::size_t taps) {
    __m128i sums = _mm_setzero_si128();
    for (std::size_t i = 0; i < taps; i += kGaussTapGroup)
        sums = _mm_add_epi32(sums, _mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(values + i)),
                                                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights + i))));
    return sums;
}

void smoothFourAlong(const std::int16_t* values, std::size_t factor, const std::int16_t* weights, std::size_t taps,
                     std::uint8_t* pels) {
    const __m128i a = productsAlong(values, weights, taps);
    const __m128i b = productsAlong(values + factor, weights, taps);
    const __m128i c = productsAlong(values + 2 * factor, weights, taps);
    const __m128i d = productsAlong(values + 3 * factor, weights, taps);
    const __m128i ab = _mm_add_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
    const __m128i cd = _mm_add_epi32(_mm_unpacklo_epi32(c, d), _mm_unpackhi_epi32(c, d));
    __m128i sums = _mm_add_epi32(_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd));
    sums = _mm_srai_epi32(_mm_add_epi32(sums, _mm_set1_epi32(kHalfAlong)), kDroppedAlong);
    sums = _mm_packs_epi32(sums, sums);
    const std::int32_t four = _mm_cvtsi128_si32(_mm_packus_epi16(sums, sums));
    __builtin_memcpy(pels, &four, sizeof four);
}

void smoothAlong(const std::int16_t* values, std::size_t factor, const std::int16_t* weights, std::size_t taps,
                 std::size_t blocks, std::uint8_t* pels) {
    if (blocks < 4) {
        for (std::size_t b = 0; b < blocks; ++b) pels[b] = smoothedAlong(values + b * factor, weights, taps);
        return;
    }
    for (std::size_t b = 0; b + 4 <= blocks; b += 4)
        smoothFourAlong(values + b * factor, factor, weights, taps, pels + b);
    if (blocks % 4 != 0) {
        const std::size_t b = blocks - 4;
        smoothFourAlong(values + b * factor, factor, weights, taps, pels + b);
    }
}

#else

void smoothDown(const std::uint8_t* const* rows, const std::int16_t* weights, std::size_t taps, std::size_t columns,
                std::int16_t* values) {
    for (std::size_t x = 0; x < columns; ++x) values[x] = smoothedDown(rows, weights, taps, x);
}

void smoothAlong(const std::int16_t* values, std::size_t factor, const std::int16_t* weights, std::size_t taps,
                 std::size_t blocks, std::uint8_t* pels) {
    for (std::size_t b = 0; b < blocks; ++b) pels[b] = smoothedAlong(values + b * factor, weights, taps);
}

#endif

}  // namespace

const qv_GaussKernels gaussKernels = {smoothDown, smoothAlong};

}  // namespace QV_KERNELS
