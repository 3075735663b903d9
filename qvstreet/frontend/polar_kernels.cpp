// The two pels of a sample in one row are one load. Loads of neighbouring directions then change places:
//
//     loaded       p0 p1 of direction 0 | p0 p1 of direction 2 | ...      p0 p1 of direction 1 | p0 p1 of direction 3 | ...
//     side by side p0 of directions 0 1 | p0 of directions 2 3 | ...      p1 of directions 0 1 | p1 of directions 2 3 | ...
//
// which costs less than instructions that load from scattered places.
#include "qvstreet/frontend/polar_kernels.h"

#if !QV_KERNELS_PLAIN && defined(__SSE2__)
#include <immintrin.h>
#define QV_HAS_POLAR_VECTORS 1
#else
#define QV_HAS_POLAR_VECTORS 0
#endif

namespace QV_KERNELS {

namespace {

void magnitudes(const double* __restrict real, const double* __restrict imaginary, std::size_t count,
                double* __restrict magnitudes) {
    for (std::size_t i = 0; i < count; ++i)
        magnitudes[i] = __builtin_sqrt(real[i] * real[i] + imaginary[i] * imaginary[i]);
}

#if QV_HAS_POLAR_VECTORS

__m128d pairAt(const double* pels) { return _mm_loadu_pd(pels); }

// Vectors of 64 bytes take longer: most of the work is putting them together.
#if defined(__AVX2__)

using Doubles = __m256d;
Doubles doublesAt(const double* numbers) { return _mm256_loadu_pd(numbers); }
Doubles everywhere(double number) { return _mm256_set1_pd(number); }
void store(double* numbers, Doubles vector) { _mm256_storeu_pd(numbers, vector); }
Doubles firsts(Doubles a, Doubles b) { return _mm256_unpacklo_pd(a, b); }
Doubles seconds(Doubles a, Doubles b) { return _mm256_unpackhi_pd(a, b); }
/// The pairs of every other direction.
Doubles pairs(const double* pels, const std::int32_t* offsets) {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(pairAt(pels + offsets[0])), pairAt(pels + offsets[2]), 1);
}

#else

using Doubles = __m128d;
Doubles doublesAt(const double* numbers) { return _mm_loadu_pd(numbers); }
Doubles everywhere(double number) { return _mm_set1_pd(number); }
void store(double* numbers, Doubles vector) { _mm_storeu_pd(numbers, vector); }
Doubles firsts(Doubles a, Doubles b) { return _mm_unpacklo_pd(a, b); }
Doubles seconds(Doubles a, Doubles b) { return _mm_unpackhi_pd(a, b); }
Doubles pairs(const double* pels, const std::int32_t* offsets) { return pairAt(pels + offsets[0]); }

#endif

constexpr std::size_t kLanes = sizeof(Doubles) / sizeof(double);
constexpr std::size_t kVectors = kPolarLanes / kLanes;

Doubles bilinear(const double* pels, std::ptrdiff_t rowUpdate, const std::int32_t* offsets, Doubles fx, Doubles fy) {
    const Doubles upperEven = pairs(pels, offsets);
    const Doubles upperOdd = pairs(pels, offsets + 1);
    const Doubles lowerEven = pairs(pels + rowUpdate, offsets);
    const Doubles lowerOdd = pairs(pels + rowUpdate, offsets + 1);
    const Doubles gx = everywhere(1.0) - fx;
    const Doubles gy = everywhere(1.0) - fy;
    return firsts(upperEven, upperOdd) * (gx * gy) + seconds(upperEven, upperOdd) * (fx * gy) +
           firsts(lowerEven, lowerOdd) * (gx * fy) + seconds(lowerEven, lowerOdd) * (fx * fy);
}

void sumOverRadii(const double* pels, std::ptrdiff_t rowUpdate, const qv_PolarSamples& samples, double* sums) {
    for (std::size_t group = 0; group < samples.groups; ++group) {
        Doubles groupSums[kVectors];
        for (std::size_t i = 0; i < kVectors; ++i) groupSums[i] = everywhere(0.0);
        for (std::size_t j = 0; j < samples.radii; ++j)
            for (std::size_t i = 0; i < kVectors; ++i) {
                const std::size_t entry = (group * samples.radii + j) * kPolarLanes + i * kLanes;
                groupSums[i] += bilinear(pels, rowUpdate, samples.offsets + entry,
                                         doublesAt(samples.fractionsX + entry), doublesAt(samples.fractionsY + entry));
            }
        for (std::size_t i = 0; i < kVectors; ++i) store(sums + group * kPolarLanes + i * kLanes, groupSums[i]);
    }
}

#else

void sumOverRadii(const double* pels, std::ptrdiff_t rowUpdate, const qv_PolarSamples& samples, double* sums) {
    for (std::size_t group = 0; group < samples.groups; ++group) {
        double* const groupSums = sums + group * kPolarLanes;
        for (std::size_t lane = 0; lane < kPolarLanes; ++lane) groupSums[lane] = 0.0;
        for (std::size_t j = 0; j < samples.radii; ++j)
            for (std::size_t lane = 0; lane < kPolarLanes; ++lane) {
                const std::size_t entry = (group * samples.radii + j) * kPolarLanes + lane;
                const double fx = samples.fractionsX[entry];
                const double fy = samples.fractionsY[entry];
                const double* const p = pels + samples.offsets[entry];
                const double* const q = p + rowUpdate;
                groupSums[lane] += p[0] * ((1.0 - fx) * (1.0 - fy)) + p[1] * (fx * (1.0 - fy)) +
                                   q[0] * ((1.0 - fx) * fy) + q[1] * (fx * fy);
            }
    }
}

#endif

}  // namespace

const qv_PolarKernels polarKernels = {magnitudes, sumOverRadii};

}  // namespace QV_KERNELS
