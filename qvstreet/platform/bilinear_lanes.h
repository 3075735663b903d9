/// @file
/// Eight bilinear samples at a time, for walks that run nearly along the rows of the source with steps of about one
/// pel: the projection along a street direction. Gives the bits of `qv_BilinearKernel::interior`.
///
/// In such a walk the left column of sample k is that of sample 0 plus k, but where the steps have added up to a pel
/// more or less, and the upper row changes at most once in eight samples. So the pels of eight samples are loaded as
/// they lie in memory, from two rows or three:
///
///     across    h = 256 * left + fx * (right - left)              0 to 65280, exact modulo 2^16
///     down      v = (256 - fy) * (h - 32768) + fy * (h' - 32768)  one multiply-add of signed 16-bit pairs
///     result    (v + 256 * 32768 + 32768) >> 16
#ifndef QVSTREET_PLATFORM_BILINEAR_LANES_H
#define QVSTREET_PLATFORM_BILINEAR_LANES_H

#include "qvstreet/platform/sample_kernel.h"

#if defined(__SSE2__) || defined(_M_X64)
#define QV_HAS_BILINEAR_LANES 1
#include <emmintrin.h>

/// Eight successive samples of a walk.
class qv_BilinearLanes {
 public:
    static constexpr long kLanes = 8;

    /// Whether the walk is one that eight lanes can follow.
    static bool canFollow(const qv_FixedVector& step) {
        // Seven steps stay within one change of row, and columns slip rarely enough for the lanes to pay.
        const std::int64_t drift = step.x - kFixedOne;
        return drift > -kFixedOne / 16 && drift < kFixedOne / 16 && step.y > -kFixedOne / 8 && step.y < kFixedOne / 8;
    }

    qv_BilinearLanes(const qv_PelSource& source, const qv_FixedVector& step)
        : source_(source),
          xReach_((kLanes - 1) * step.x),
          yReach_((kLanes - 1) * step.y),
          xDrift_(multiples(static_cast<std::uint32_t>(step.x))),
          yDrift_(multiples(static_cast<std::uint32_t>(step.y))),
          climbs_(step.y < 0) {}

    /// The values of the eight samples from `position` on, all of them in the interior, as eight 16-bit numbers.
    /// @returns false, without values, where a column slips
    bool sample(const qv_FixedVector& position, __m128i& values) const {
        const std::int64_t x = position.x + qv_BilinearKernel::kShift;
        const std::int64_t y = position.y + qv_BilinearKernel::kShift;
        const std::int64_t column = x >> 32;
        if ((x + xReach_) >> 32 != column + kLanes - 1) return false;
        const std::int64_t row = y >> 32;
        const std::int64_t lastRow = (y + yReach_) >> 32;

        const __m128i fx = fractions(x, xDrift_);
        const __m128i fy = fractions(y, yDrift_);
        const unsigned char* pels = source_.pels + std::min(row, lastRow) * source_.rowUpdate + column;
        __m128i upper = across(pels, fx);
        __m128i lower = across(pels + source_.rowUpdate, fx);
        if (row != lastRow) {
            const __m128i lowest = across(pels + 2 * source_.rowUpdate, fx);
            const __m128i isLater = laterRow(y);
            upper = select(isLater, lower, upper);
            lower = select(isLater, lowest, lower);
        }
        values = down(upper, lower, fy);
        return true;
    }

 private:
    struct EightNumbers {
        __m128i low;
        __m128i high;
    };

    static EightNumbers multiples(std::uint32_t step) {
        const auto multiple = [step](std::uint32_t k) { return static_cast<int>(k * step); };
        return {_mm_setr_epi32(0, multiple(1), multiple(2), multiple(3)),
                _mm_setr_epi32(multiple(4), multiple(5), multiple(6), multiple(7))};
    }

    /// What is behind the point of eight positions, in 2^-32 pel.
    static EightNumbers behindPoint(std::int64_t first, const EightNumbers& drift) {
        const __m128i start = _mm_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(first)));
        return {_mm_add_epi32(start, drift.low), _mm_add_epi32(start, drift.high)};
    }

    /// The same in 1/256 pel, as 16-bit numbers.
    static __m128i fractions(std::int64_t first, const EightNumbers& drift) {
        const EightNumbers numbers = behindPoint(first, drift);
        return _mm_packs_epi32(_mm_srli_epi32(numbers.low, 24), _mm_srli_epi32(numbers.high, 24));
    }

    /// All ones for the samples that lie in the lower of the two rows that the walk touches.
    __m128i laterRow(std::int64_t y) const {
        const EightNumbers numbers = behindPoint(y, yDrift_);
        // What is behind the point has wrapped around where the row is no longer that of the first sample. The
        // comparison is of signed numbers.
        const __m128i bias = _mm_set1_epi32(static_cast<int>(0x80000000u));
        const __m128i first = _mm_xor_si128(_mm_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(y))), bias);
        const __m128i low = _mm_xor_si128(numbers.low, bias);
        const __m128i high = _mm_xor_si128(numbers.high, bias);
        // Downwards, samples that have wrapped are below the first; upwards, those that have not.
        if (!climbs_) return _mm_packs_epi32(_mm_cmpgt_epi32(first, low), _mm_cmpgt_epi32(first, high));
        const __m128i hasWrapped = _mm_packs_epi32(_mm_cmpgt_epi32(low, first), _mm_cmpgt_epi32(high, first));
        return _mm_xor_si128(hasWrapped, _mm_set1_epi32(-1));
    }

    static __m128i select(const __m128i& mask, const __m128i& where, const __m128i& elsewhere) {
        return _mm_or_si128(_mm_and_si128(mask, where), _mm_andnot_si128(mask, elsewhere));
    }

    static __m128i across(const unsigned char* pels, const __m128i& fx) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i left = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels));
        const __m128i right = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels + 1));
        const __m128i difference = _mm_sub_epi16(_mm_unpacklo_epi8(right, zero), _mm_unpacklo_epi8(left, zero));
        return _mm_add_epi16(_mm_unpacklo_epi8(zero, left), _mm_mullo_epi16(difference, fx));
    }

    static __m128i down(const __m128i& upper, const __m128i& lower, const __m128i& fy) {
        const __m128i bias = _mm_set1_epi16(static_cast<short>(0x8000));
        const __m128i signedUpper = _mm_xor_si128(upper, bias);
        const __m128i signedLower = _mm_xor_si128(lower, bias);
        const __m128i upperWeight = _mm_sub_epi16(_mm_set1_epi16(256), fy);
        const __m128i rounding = _mm_set1_epi32(256 * 32768 + 32768);
        const __m128i low =
            _mm_madd_epi16(_mm_unpacklo_epi16(signedUpper, signedLower), _mm_unpacklo_epi16(upperWeight, fy));
        const __m128i high =
            _mm_madd_epi16(_mm_unpackhi_epi16(signedUpper, signedLower), _mm_unpackhi_epi16(upperWeight, fy));
        return _mm_packs_epi32(_mm_srli_epi32(_mm_add_epi32(low, rounding), 16),
                               _mm_srli_epi32(_mm_add_epi32(high, rounding), 16));
    }

    qv_PelSource source_;
    std::int64_t xReach_;
    std::int64_t yReach_;
    EightNumbers xDrift_;
    EightNumbers yDrift_;
    bool climbs_;
};

#endif
#endif
