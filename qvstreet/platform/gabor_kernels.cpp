#include "qvstreet/platform/gabor_kernels.h"

// Doubles that a vector holds.
#if QV_KERNELS_PLAIN
#define QV_GABOR_VECTOR 1
#elif defined(__AVX512F__)
#define QV_GABOR_VECTOR 8
#elif defined(__AVX2__)
#define QV_GABOR_VECTOR 4
#else
#define QV_GABOR_VECTOR 2
#endif

namespace QV_KERNELS {

namespace {

constexpr long kVector = QV_GABOR_VECTOR;

#if QV_GABOR_VECTOR == 1
using Vector = double;
using Bits = long long;
#else
using Vector = double __attribute__((vector_size(8 * QV_GABOR_VECTOR)));
using Bits = long long __attribute__((vector_size(8 * QV_GABOR_VECTOR)));
#endif

inline Vector load(const double* from) {
    Vector vector;
    __builtin_memcpy(&vector, from, sizeof vector);
    return vector;
}

inline void store(double* to, const Vector& vector) { __builtin_memcpy(to, &vector, sizeof vector); }

inline Bits bitsOf(const Vector& vector) {
    Bits bits;
    __builtin_memcpy(&bits, &vector, sizeof bits);
    return bits;
}

inline Vector vectorOf(const Bits& bits) {
    Vector vector;
    __builtin_memcpy(&vector, &bits, sizeof vector);
    return vector;
}

// exp(-x) = 2^n exp(r) with n = round(-x / ln 2) and r = -x - n ln 2, at most half of ln 2 to either side.
constexpr double kPerLn2 = 1.4426950408889634;
// ln 2 in two parts, the first of which has so many zeros at its end that n times it is exact.
constexpr double kLn2High = 6.93147180369123816490e-01;
constexpr double kLn2Low = 1.90821492927058770002e-10;
// Added and taken away again it rounds to whole numbers, which meanwhile stand in the lowest bits.
constexpr double kRounder = 6755399441055744.0;
constexpr int kExponentShift = 52;

/// exp(-x) for x from 0 to kGaborMostExponent, else 0.
inline Vector gainOf(const Vector& x) {
#if QV_GABOR_VECTOR == 1
    if (!(x <= kGaborMostExponent)) return 0.0;
    const Vector used = x;
#else
    // Numbers that are none, too, become 0 here.
    const Bits inside = x <= kGaborMostExponent;
    const Vector used = vectorOf(bitsOf(x) & inside);
#endif
    const Vector shifted = kRounder - used * kPerLn2;
    const Vector n = shifted - kRounder;
    const Vector r = (-used - n * kLn2High) - n * kLn2Low;
    // The series up to r^13 / 13!, the rest of which is below a tenth of a unit in the last place; odd and even powers
    // apart, so that two chains of products run side by side.
    const Vector rr = r * r;
    Vector odd = rr * (1.0 / 6227020800.0) + 1.0 / 39916800.0;
    Vector even = rr * (1.0 / 479001600.0) + 1.0 / 3628800.0;
    odd = odd * rr + 1.0 / 362880.0;
    even = even * rr + 1.0 / 40320.0;
    odd = odd * rr + 1.0 / 5040.0;
    even = even * rr + 1.0 / 720.0;
    odd = odd * rr + 1.0 / 120.0;
    even = even * rr + 1.0 / 24.0;
    odd = odd * rr + 1.0 / 6.0;
    even = even * rr + 0.5;
    odd = odd * rr + 1.0;
    even = even * rr + 1.0;
    const Vector p = odd * r + even;
#if QV_GABOR_VECTOR == 1
    const auto lowest = static_cast<unsigned long long>(bitsOf(shifted));
    return vectorOf(static_cast<long long>(static_cast<unsigned long long>(bitsOf(p)) + (lowest << kExponentShift)));
#else
    const Bits scaled = bitsOf(p) + (bitsOf(shifted) << kExponentShift);
    return vectorOf(scaled & inside);
#endif
}

void filter(const double* real, const double* imaginary, std::ptrdiff_t rowUpdate, const double* u, const double* v,
            long columns, long rows, const qv_GaborLobe& lobe, double* outReal, double* outImaginary,
            std::ptrdiff_t outRowUpdate) {
    const double cosine = lobe.cosine;
    const double sine = lobe.sine;
    const double weightAlong = lobe.weightAlong;
    const double weightAcross = lobe.weightAcross;
    const long whole = columns - columns % kVector;
    alignas(64) double rest[kVector] = {};
    for (long x = whole; x < columns; ++x) rest[x - whole] = u[x];

    for (long y = 0; y < rows; ++y) {
        const double* const re = real + y * rowUpdate;
        const double* const im = imaginary + y * rowUpdate;
        double* const outRe = outReal + y * outRowUpdate;
        double* const outIm = outImaginary + y * outRowUpdate;
        const double sineV = v[y] * sine;
        const double cosineV = v[y] * cosine;
        const auto gains = [&](const double* frequencies) {
            const Vector f = load(frequencies);
            const Vector along = f * cosine + sineV - lobe.centre;
            const Vector across = cosineV - f * sine;
            return gainOf(along * along * weightAlong + across * across * weightAcross);
        };
        for (long x = 0; x < whole; x += kVector) {
            const Vector gain = gains(u + x);
            store(outRe + x, load(re + x) * gain);
            store(outIm + x, load(im + x) * gain);
        }
        if (whole < columns) {
            alignas(64) double gain[kVector];
            store(gain, gains(rest));
            for (long x = whole; x < columns; ++x) {
                outRe[x] = re[x] * gain[x - whole];
                outIm[x] = im[x] * gain[x - whole];
            }
        }
        if (v[y] != 0.0) continue;
        for (long x = 0; x < columns; ++x)
            if (u[x] == 0.0) {
                outRe[x] = 0.0;
                outIm[x] = 0.0;
            }
    }
}

}  // namespace

extern const qv_GaborKernels gaborKernels = {filter};

}  // namespace QV_KERNELS
