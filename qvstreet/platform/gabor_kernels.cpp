#include "qvstreet/platform/gabor_kernels.h"

#if defined(__AVX2__) && !QV_KERNELS_PLAIN
#include <immintrin.h>
#endif

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

// Further out than the anchor of any block that reaches into the lobe, and far from numbers too small to be exact.
constexpr double kMostAnchorExponent = 100.0;

/// x where it is at most `most`, else, and for what is no number, `other`.
inline Vector limited(const Vector& x, double most, double other) {
#if QV_GABOR_VECTOR == 1
    return x <= most ? x : other;
#else
    const Bits inside = x <= most;
    const Vector others = Vector{} + other;
    return vectorOf((bitsOf(x) & inside) | (bitsOf(others) & ~inside));
#endif
}

/// `gain` where the exponent is at most kGaborMostExponent, else, and for what is no number, 0.
inline Vector gainWithin(const Vector& gain, const Vector& exponent) {
#if QV_GABOR_VECTOR == 1
    return exponent <= kGaborMostExponent ? gain : 0.0;
#else
    const Bits inside = exponent <= kGaborMostExponent;
    return vectorOf(bitsOf(gain) & inside);
#endif
}

/// Whether all of x are at most `most`.
inline bool allWithin(const Vector& x, double most) {
#if QV_GABOR_VECTOR == 1
    return x <= most;
#else
    const Bits inside = x <= most;
#if QV_GABOR_VECTOR == 8
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(inside)) == 0xff;
#elif QV_GABOR_VECTOR == 4
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(inside)) == 0xf;
#else
    return (inside[0] & inside[1]) != 0;
#endif
#endif
}

/// exp(-x) for x from -kMostAnchorExponent to kMostAnchorExponent.
inline Vector exponential(const Vector& x) {
    const Vector shifted = kRounder - x * kPerLn2;
    const Vector n = shifted - kRounder;
    const Vector r = (-x - n * kLn2High) - n * kLn2Low;
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
    return vectorOf(bitsOf(p) + (bitsOf(shifted) << kExponentShift));
#endif
}

/// The exponents of a row, from its frequency.
struct RowExponent {
    RowExponent(const qv_GaborLobe& wanted, double v)
        : lobe(wanted), sineV(v * wanted.sine), cosineV(v * wanted.cosine) {}

    Vector at(const Vector& u) const {
        const Vector along = u * lobe.cosine + sineV - lobe.centre;
        const Vector across = cosineV - u * lobe.sine;
        return along * along * lobe.weightAlong + across * across * lobe.weightAcross;
    }

    const qv_GaborLobe& lobe;
    double sineV;
    double cosineV;
};

/// The gains of the rows of a block, which begins at v[0] and whose rows have these factors, for the columns at `u`,
/// whose parts of the slopes are `up`.
inline void blockGains(const qv_GaborLobe& lobe, const qv_GaborSteps& steps, const double* v, const double* factors,
                       const Vector& u, const Vector& up, Vector* gains) {
    const Vector exponent = RowExponent(lobe, v[kGaborAnchor]).at(u);
    if (allWithin(-exponent, -steps.surelyOutside)) {
        for (long m = 0; m < kGaborBlock; ++m) gains[m] = Vector{};
        return;
    }
    const Vector anchor = exponential(limited(exponent, kMostAnchorExponent, kMostAnchorExponent));
    if (steps.columns == nullptr) {
        for (long m = 0; m < kGaborBlock; ++m) gains[m] = anchor * factors[m];
    } else {
        const Vector down = 1.0 / up;
        gains[kGaborAnchor] = anchor;
        for (long m = kGaborAnchor + 1; m < kGaborBlock; ++m) gains[m] = gains[m - 1] * up;
        for (long m = kGaborAnchor - 1; m >= 0; --m) gains[m] = gains[m + 1] * down;
        for (long m = 0; m < kGaborBlock; ++m) gains[m] = gains[m] * factors[m];
    }
    if (allWithin(exponent, steps.surelyInside)) return;
    for (long m = 0; m < kGaborBlock; ++m) gains[m] = gainWithin(gains[m], RowExponent(lobe, v[m]).at(u));
}

/// A rectangle of elements of both parts, and where they go.
struct Elements {
    const double* real;
    const double* imaginary;
    std::ptrdiff_t rowUpdate;
    double* outReal;
    double* outImaginary;
    std::ptrdiff_t outRowUpdate;

    void multiply(long x, long y, const Vector& gain) const {
        const std::ptrdiff_t from = y * rowUpdate + x;
        const std::ptrdiff_t to = y * outRowUpdate + x;
        store(outReal + to, load(real + from) * gain);
        store(outImaginary + to, load(imaginary + from) * gain);
    }

    /// The same for fewer elements than a vector holds.
    void multiplyFew(long x, long y, long count, const Vector& gain) const {
        alignas(64) double gains[kVector];
        store(gains, gain);
        for (long i = 0; i < count; ++i) {
            outReal[y * outRowUpdate + x + i] = real[y * rowUpdate + x + i] * gains[i];
            outImaginary[y * outRowUpdate + x + i] = imaginary[y * rowUpdate + x + i] * gains[i];
        }
    }
};

/// The last elements of a row of numbers, filled up with `filler`.
inline Vector loadFew(const double* from, long count, double filler) {
    alignas(64) double numbers[kVector];
    for (long i = 0; i < kVector; ++i) numbers[i] = i < count ? from[i] : filler;
    return load(numbers);
}

void filterRow(const Elements& elements, const qv_GaborLobe& lobe, const double* u, long columns, double v, long y) {
    const RowExponent exponent(lobe, v);
    const auto gainAt = [&](const Vector& frequencies) {
        const Vector x = exponent.at(frequencies);
        return gainWithin(exponential(limited(x, kGaborMostExponent, 0.0)), x);
    };
    const long whole = columns - columns % kVector;
    for (long x = 0; x < whole; x += kVector) elements.multiply(x, y, gainAt(load(u + x)));
    if (whole < columns)
        elements.multiplyFew(whole, y, columns - whole, gainAt(loadFew(u + whole, columns - whole, 0.0)));
}

/// Rows `from` up to `end` of the block that begins at v[0]; row `from` of it is row `y` of the elements.
void filterBlock(const Elements& elements, const qv_GaborLobe& lobe, const qv_GaborSteps& steps, const double* u,
                 long columns, const double* v, const double* factors, long from, long end, long y) {
    const bool twisted = steps.columns != nullptr;
    const long whole = columns - columns % kVector;
    Vector gains[kGaborBlock];
    for (long x = 0; x < whole; x += kVector) {
        blockGains(lobe, steps, v, factors, load(u + x), twisted ? load(steps.columns + x) : Vector{}, gains);
        if (end - from == kGaborBlock)
            for (long m = 0; m < kGaborBlock; ++m) elements.multiply(x, y + m, gains[m]);
        else
            for (long m = from; m < end; ++m) elements.multiply(x, y + m - from, gains[m]);
    }
    if (whole == columns) return;
    const long few = columns - whole;
    blockGains(lobe, steps, v, factors, loadFew(u + whole, few, 0.0),
               twisted ? loadFew(steps.columns + whole, few, 1.0) : Vector{}, gains);
    for (long m = from; m < end; ++m) elements.multiplyFew(whole, y + m - from, few, gains[m]);
}

void filter(const double* real, const double* imaginary, std::ptrdiff_t rowUpdate, const double* u, const double* v,
            long columns, long firstRow, long rows, long allRows, const qv_GaborLobe& lobe, const qv_GaborSteps* steps,
            double* outReal, double* outImaginary, std::ptrdiff_t outRowUpdate) {
    const Elements elements{real, imaginary, rowUpdate, outReal, outImaginary, outRowUpdate};
    const long endRow = firstRow + rows;
    for (long row = firstRow; row < endRow;) {
        const long begin = row - row % kGaborBlock;
        const long blockEnd = begin + kGaborBlock;
        const long end = blockEnd < endRow ? blockEnd : endRow;
        if (steps != nullptr && blockEnd <= allRows && v[begin] < v[blockEnd - 1])
            filterBlock(elements, lobe, *steps, u, columns, v + begin, steps->rows + begin, row - begin, end - begin,
                        row - firstRow);
        else
            for (long y = row; y < end; ++y) filterRow(elements, lobe, u, columns, v[y], y - firstRow);
        row = end;
    }
    for (long y = 0; y < rows; ++y) {
        if (v[firstRow + y] != 0.0) continue;
        for (long x = 0; x < columns; ++x)
            if (u[x] == 0.0) {
                outReal[y * outRowUpdate + x] = 0.0;
                outImaginary[y * outRowUpdate + x] = 0.0;
            }
    }
}

void exponentials(const double* x, long count, double* out) {
    const long whole = count - count % kVector;
    for (long i = 0; i < whole; i += kVector) store(out + i, exponential(load(x + i)));
    if (whole == count) return;
    alignas(64) double last[kVector];
    store(last, exponential(loadFew(x + whole, count - whole, 0.0)));
    for (long i = whole; i < count; ++i) out[i] = last[i - whole];
}

}  // namespace

extern const qv_GaborKernels gaborKernels = {filter, exponentials};

}  // namespace QV_KERNELS
