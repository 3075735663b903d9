#include "qvstreet/frontend/ridge_kernels.h"

// No compiler turns a loop of comparisons into a word of bits.
#if !QV_KERNELS_PLAIN && defined(__SSE2__)
#define QV_RIDGE_INTRINSICS 1
#include <immintrin.h>
#else
#define QV_RIDGE_INTRINSICS 0
#endif

namespace QV_KERNELS {

namespace {

// The last of these is the loop that the others stand for.
#if QV_RIDGE_INTRINSICS && defined(__AVX512F__)

constexpr long kVector = 8;

inline std::uint64_t maxima(const double* pels, std::ptrdiff_t step, double above, double slack) {
    const __m512d c = _mm512_loadu_pd(pels);
    const __mmask8 strong = _mm512_cmp_pd_mask(c, _mm512_set1_pd(above), _CMP_GT_OQ);
    const __mmask8 notBelow = _mm512_mask_cmp_pd_mask(strong, _mm512_mul_pd(c, _mm512_set1_pd(slack)),
                                                      _mm512_loadu_pd(pels - step), _CMP_GE_OQ);
    return _mm512_mask_cmp_pd_mask(notBelow, c, _mm512_loadu_pd(pels + step), _CMP_GT_OQ);
}

#elif QV_RIDGE_INTRINSICS && defined(__AVX2__)

constexpr long kVector = 4;

inline std::uint64_t maxima(const double* pels, std::ptrdiff_t step, double above, double slack) {
    const __m256d c = _mm256_loadu_pd(pels);
    const __m256d strong = _mm256_cmp_pd(c, _mm256_set1_pd(above), _CMP_GT_OQ);
    const __m256d notBelow =
        _mm256_cmp_pd(_mm256_mul_pd(c, _mm256_set1_pd(slack)), _mm256_loadu_pd(pels - step), _CMP_GE_OQ);
    const __m256d larger = _mm256_cmp_pd(c, _mm256_loadu_pd(pels + step), _CMP_GT_OQ);
    const int bits = _mm256_movemask_pd(_mm256_and_pd(strong, _mm256_and_pd(notBelow, larger)));
    return static_cast<std::uint64_t>(static_cast<unsigned>(bits));
}

#elif QV_RIDGE_INTRINSICS

constexpr long kVector = 2;

inline std::uint64_t maxima(const double* pels, std::ptrdiff_t step, double above, double slack) {
    const __m128d c = _mm_loadu_pd(pels);
    const __m128d strong = _mm_cmpgt_pd(c, _mm_set1_pd(above));
    const __m128d notBelow = _mm_cmpge_pd(_mm_mul_pd(c, _mm_set1_pd(slack)), _mm_loadu_pd(pels - step));
    const __m128d larger = _mm_cmpgt_pd(c, _mm_loadu_pd(pels + step));
    const int bits = _mm_movemask_pd(_mm_and_pd(strong, _mm_and_pd(notBelow, larger)));
    return static_cast<std::uint64_t>(static_cast<unsigned>(bits));
}

#else

constexpr long kVector = 1;

inline std::uint64_t maxima(const double* pels, std::ptrdiff_t step, double above, double slack) {
    return pels[0] > above && pels[0] * slack >= pels[-step] && pels[0] > pels[step] ? 1 : 0;
}

#endif

void markMaxima(const double* pels, std::ptrdiff_t step, long count, double above, double slack, std::uint64_t* marks) {
    for (long from = 0; from < count; from += kRidgeMarks) {
        const long inWord = count - from < kRidgeMarks ? count - from : kRidgeMarks;
        std::uint64_t word = 0;
        long x = 0;
        for (; x + kVector <= inWord; x += kVector) word |= maxima(pels + from + x, step, above, slack) << x;
        for (; x < inWord; ++x) {
            const double* const pel = pels + from + x;
            const bool isMaximum = pel[0] > above && pel[0] * slack >= pel[-step] && pel[0] > pel[step];
            word |= static_cast<std::uint64_t>(isMaximum) << x;
        }
        marks[from / kRidgeMarks] = word;
    }
}

}  // namespace

extern const qv_RidgeKernels ridgeKernels = {markMaxima};

}  // namespace QV_KERNELS
