#include "qvstreet/platform/fourier_kernels.h"

// Doubles that a vector holds. Rows are eight doubles whatever the vector: blocks of narrower rows would be read at
// distances of powers of two and crowd a few sets of the cache.
#if QV_KERNELS_PLAIN
#define QV_FOURIER_VECTOR 1
#elif defined(__AVX512F__)
#define QV_FOURIER_VECTOR 8
#elif defined(__AVX2__)
#define QV_FOURIER_VECTOR 4
#else
#define QV_FOURIER_VECTOR 2
#endif

namespace QV_KERNELS {

namespace {

constexpr long kLanes = kFourierLanes;
constexpr long kVector = QV_FOURIER_VECTOR;

#if QV_FOURIER_VECTOR == 1
using Vector = double;
#else
using Vector = double __attribute__((vector_size(8 * QV_FOURIER_VECTOR)));
#endif

inline Vector load(const double* from) {
    Vector vector;
    __builtin_memcpy(&vector, from, sizeof vector);
    return vector;
}

inline void store(double* to, const Vector& vector) { __builtin_memcpy(to, &vector, sizeof vector); }

/// What a butterfly of four rows reads: rows of real and of imaginary parts.
struct Inputs {
    const double* real[4];
    const double* imaginary[4];
};

/// What both butterflies of four rows begin with: sums and differences of the rows two apart, the odd difference already
/// times -i.
struct HalfButterfly {
    Vector evenSumR, evenSumI, evenDifR, evenDifI;
    Vector oddSumR, oddSumI, oddDifR, oddDifI;
};

inline HalfButterfly halfButterfly(const Inputs& in, long lane) {
    const Vector r0 = load(in.real[0] + lane);
    const Vector r1 = load(in.real[1] + lane);
    const Vector r2 = load(in.real[2] + lane);
    const Vector r3 = load(in.real[3] + lane);
    const Vector i0 = load(in.imaginary[0] + lane);
    const Vector i1 = load(in.imaginary[1] + lane);
    const Vector i2 = load(in.imaginary[2] + lane);
    const Vector i3 = load(in.imaginary[3] + lane);
    return {r0 + r2, i0 + i2, r0 - r2, i0 - i2, r1 + r3, i1 + i3, i1 - i3, r3 - r1};
}

/// One butterfly of four rows; the results go to rows `distance` apart, turned by three pairs of factors.
inline void butterfly4(const Inputs& in, double* real, double* imaginary, long distance, const double* turns) {
    for (long lane = 0; lane < kLanes; lane += kVector) {
        const HalfButterfly half = halfButterfly(in, lane);
        double* const r = real + lane;
        double* const i = imaginary + lane;
        store(r, half.evenSumR + half.oddSumR);
        store(i, half.evenSumI + half.oddSumI);
        const Vector b1R = half.evenDifR + half.oddDifR;
        const Vector b1I = half.evenDifI + half.oddDifI;
        store(r + distance, b1R * turns[0] - b1I * turns[1]);
        store(i + distance, b1R * turns[1] + b1I * turns[0]);
        const Vector b2R = half.evenSumR - half.oddSumR;
        const Vector b2I = half.evenSumI - half.oddSumI;
        store(r + 2 * distance, b2R * turns[2] - b2I * turns[3]);
        store(i + 2 * distance, b2R * turns[3] + b2I * turns[2]);
        const Vector b3R = half.evenDifR - half.oddDifR;
        const Vector b3I = half.evenDifI - half.oddDifI;
        store(r + 3 * distance, b3R * turns[4] - b3I * turns[5]);
        store(i + 3 * distance, b3R * turns[5] + b3I * turns[4]);
    }
}

/// The same where all three factors are 1.
inline void butterfly4Unturned(const Inputs& in, double* real, double* imaginary, long distance) {
    for (long lane = 0; lane < kLanes; lane += kVector) {
        const HalfButterfly half = halfButterfly(in, lane);
        double* const r = real + lane;
        double* const i = imaginary + lane;
        store(r, half.evenSumR + half.oddSumR);
        store(i, half.evenSumI + half.oddSumI);
        store(r + distance, half.evenDifR + half.oddDifR);
        store(i + distance, half.evenDifI + half.oddDifI);
        store(r + 2 * distance, half.evenSumR - half.oddSumR);
        store(i + 2 * distance, half.evenSumI - half.oddSumI);
        store(r + 3 * distance, half.evenDifR - half.oddDifR);
        store(i + 3 * distance, half.evenDifI - half.oddDifI);
    }
}

/// The rows of a butterfly in place.
inline Inputs inPlace(const double* real, const double* imaginary, long distance) {
    return {{real, real + distance, real + 2 * distance, real + 3 * distance},
            {imaginary, imaginary + distance, imaginary + 2 * distance, imaginary + 3 * distance}};
}

/// One butterfly of two rows, the last step where the length is an odd power of two.
inline void butterfly2(double* rows) {
    for (long lane = 0; lane < kLanes; lane += kVector) {
        const Vector first = load(rows + lane);
        const Vector second = load(rows + kLanes + lane);
        store(rows + lane, first + second);
        store(rows + kLanes + lane, first - second);
    }
}

/// The steps from a span on; `turns` of that span.
inline void transformFrom(long span, double* real, double* imaginary, long length, const double* turns) {
    for (; span >= 4; span /= 4) {
        const long quarter = span / 4;
        const long distance = quarter * kLanes;
        for (long base = 0; base < length; base += span) {
            double* r = real + base * kLanes;
            double* i = imaginary + base * kLanes;
            butterfly4Unturned(inPlace(r, i, distance), r, i, distance);
            for (long j = 1; j < quarter; ++j) {
                r += kLanes;
                i += kLanes;
                butterfly4(inPlace(r, i, distance), r, i, distance, turns + 6 * (j - 1));
            }
        }
        turns += 6 * (quarter - 1);
    }
    if (span == 2)
        for (long base = 0; base < length; base += 2) {
            butterfly2(real + base * kLanes);
            butterfly2(imaginary + base * kLanes);
        }
}

void transform(double* real, double* imaginary, long length, const double* turns) {
    transformFrom(length, real, imaginary, length, turns);
}

void transformColumns(const double* realColumns, const double* imaginaryColumns, std::ptrdiff_t rowUpdate,
                      const long* slots, long length, const double* turns, double* real, double* imaginary) {
    alignas(64) constexpr static double kNothing[kLanes] = {};
    const long quarter = length / 4;
    const long distance = quarter * kLanes;
    for (long j = 0; j < quarter; ++j) {
        Inputs in;
        for (long k = 0; k < 4; ++k) {
            const long slot = slots[j + k * quarter];
            in.real[k] = slot < 0 ? kNothing : realColumns + slot * rowUpdate;
            in.imaginary[k] = slot < 0 ? kNothing : imaginaryColumns + slot * rowUpdate;
        }
        if (j == 0)
            butterfly4Unturned(in, real, imaginary, distance);
        else
            butterfly4(in, real + j * kLanes, imaginary + j * kLanes, distance, turns + 6 * (j - 1));
    }
    transformFrom(quarter, real, imaginary, length, turns + 6 * (quarter - 1));
}

// ---- rows and columns turned into each other ----

// Eight by eight doubles at a time: `out[j][i] = in[i][j] * factor` for rows of pointers `in` and rows `outUpdate` apart.
#if QV_FOURIER_VECTOR == 1

inline void turnSquare(const double* const* in, double factor, double* out, std::ptrdiff_t outUpdate) {
    for (long j = 0; j < kLanes; ++j)
        for (long i = 0; i < kLanes; ++i) out[j * outUpdate + i] = in[i][j] * factor;
}

#elif QV_FOURIER_VECTOR == 2

inline void turnSquare(const double* const* in, double factor, double* out, std::ptrdiff_t outUpdate) {
    for (long j = 0; j < kLanes; j += 2)
        for (long i = 0; i < kLanes; i += 2) {
            const Vector a = load(in[i] + j) * factor;
            const Vector b = load(in[i + 1] + j) * factor;
            store(out + j * outUpdate + i, __builtin_shufflevector(a, b, 0, 2));
            store(out + (j + 1) * outUpdate + i, __builtin_shufflevector(a, b, 1, 3));
        }
}

#elif QV_FOURIER_VECTOR == 4

inline void turnSquare(const double* const* in, double factor, double* out, std::ptrdiff_t outUpdate) {
    for (long j = 0; j < kLanes; j += 4)
        for (long i = 0; i < kLanes; i += 4) {
            const Vector a = load(in[i] + j) * factor;
            const Vector b = load(in[i + 1] + j) * factor;
            const Vector c = load(in[i + 2] + j) * factor;
            const Vector d = load(in[i + 3] + j) * factor;
            const Vector evenAB = __builtin_shufflevector(a, b, 0, 4, 2, 6);
            const Vector oddAB = __builtin_shufflevector(a, b, 1, 5, 3, 7);
            const Vector evenCD = __builtin_shufflevector(c, d, 0, 4, 2, 6);
            const Vector oddCD = __builtin_shufflevector(c, d, 1, 5, 3, 7);
            double* const to = out + j * outUpdate + i;
            store(to, __builtin_shufflevector(evenAB, evenCD, 0, 1, 4, 5));
            store(to + outUpdate, __builtin_shufflevector(oddAB, oddCD, 0, 1, 4, 5));
            store(to + 2 * outUpdate, __builtin_shufflevector(evenAB, evenCD, 2, 3, 6, 7));
            store(to + 3 * outUpdate, __builtin_shufflevector(oddAB, oddCD, 2, 3, 6, 7));
        }
}

#else

inline void turnSquare(const double* const* in, double factor, double* out, std::ptrdiff_t outUpdate) {
    // Pairs of rows change places of their odd columns, then pairs of pairs, then the halves.
    Vector a[kLanes];
    for (long i = 0; i < kLanes; ++i) a[i] = load(in[i]) * factor;
    Vector b[kLanes];
    for (long i = 0; i < kLanes; i += 2) {
        b[i] = __builtin_shufflevector(a[i], a[i + 1], 0, 8, 2, 10, 4, 12, 6, 14);
        b[i + 1] = __builtin_shufflevector(a[i], a[i + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
    for (long i = 0; i < kLanes; i += 4)
        for (long k = 0; k < 2; ++k) {
            a[i + k] = __builtin_shufflevector(b[i + k], b[i + k + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            a[i + k + 2] = __builtin_shufflevector(b[i + k], b[i + k + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    for (long k = 0; k < 4; ++k) {
        store(out + k * outUpdate, __builtin_shufflevector(a[k], a[k + 4], 0, 1, 2, 3, 8, 9, 10, 11));
        store(out + (k + 4) * outUpdate, __builtin_shufflevector(a[k], a[k + 4], 4, 5, 6, 7, 12, 13, 14, 15));
    }
}

#endif

void loadRows(const double* rows, std::ptrdiff_t rowUpdate, long lanes, long length, double* block) {
    long x = 0;
    if (lanes == kLanes)
        for (; x + kLanes <= length; x += kLanes) {
            const double* in[kLanes];
            for (long lane = 0; lane < kLanes; ++lane) in[lane] = rows + lane * rowUpdate + x;
            turnSquare(in, 1.0, block + x * kLanes, kLanes);
        }
    for (; x < length; ++x) {
        for (long lane = 0; lane < lanes; ++lane) block[x * kLanes + lane] = rows[lane * rowUpdate + x];
        for (long lane = lanes; lane < kLanes; ++lane) block[x * kLanes + lane] = 0.0;
    }
}

void storeRows(const double* block, const long* rowOf, double factor, long lanes, long length, double* rows,
               std::ptrdiff_t rowUpdate) {
    long x = 0;
    if (lanes == kLanes)
        for (; x + kLanes <= length; x += kLanes) {
            const double* in[kLanes];
            for (long k = 0; k < kLanes; ++k) in[k] = block + rowOf[x + k] * kLanes;
            turnSquare(in, factor, rows + x, rowUpdate);
        }
    for (; x < length; ++x)
        for (long lane = 0; lane < lanes; ++lane) rows[lane * rowUpdate + x] = block[rowOf[x] * kLanes + lane] * factor;
}

// ---- columns ----

inline void copyRow(const double* from, double* to) {
    for (long lane = 0; lane < kLanes; lane += kVector) store(to + lane, load(from + lane));
}

void loadColumns(const double* columns, std::ptrdiff_t rowUpdate, long lanes, long length, double* block) {
    for (long y = 0; y < length; ++y) {
        const double* const from = columns + y * rowUpdate;
        double* const to = block + y * kLanes;
        if (lanes == kLanes) {
            copyRow(from, to);
            continue;
        }
        for (long lane = 0; lane < lanes; ++lane) to[lane] = from[lane];
        for (long lane = lanes; lane < kLanes; ++lane) to[lane] = 0.0;
    }
}

void storeColumns(const double* block, const long* rowOf, long lanes, long length, double* columns,
                  std::ptrdiff_t rowUpdate) {
    for (long y = 0; y < length; ++y) {
        const double* const from = block + rowOf[y] * kLanes;
        double* const to = columns + y * rowUpdate;
        if (lanes == kLanes)
            copyRow(from, to);
        else
            for (long lane = 0; lane < lanes; ++lane) to[lane] = from[lane];
    }
}

void loadPels(const unsigned char* columns, std::ptrdiff_t rowUpdate, long lanes, long length, double* block) {
    for (long y = 0; y < length; ++y) {
        const unsigned char* const from = columns + y * rowUpdate;
        double* const to = block + y * kLanes;
#if QV_FOURIER_VECTOR > 1
        if (lanes == kLanes) {
            // By way of 32 bits, for which every instruction set has a conversion.
            using Pels = unsigned char __attribute__((vector_size(8)));
            using Numbers = int __attribute__((vector_size(32)));
            using Doubles = double __attribute__((vector_size(64)));
            Pels pels;
            __builtin_memcpy(&pels, from, sizeof pels);
            const Doubles doubles = __builtin_convertvector(__builtin_convertvector(pels, Numbers), Doubles);
            __builtin_memcpy(to, &doubles, sizeof doubles);
            continue;
        }
#endif
        for (long lane = 0; lane < lanes; ++lane) to[lane] = from[lane];
        for (long lane = lanes; lane < kLanes; ++lane) to[lane] = 0.0;
    }
}

/// `lanes` of a row of eight.
inline void storeLanes(const double* row, long lanes, double* to) {
    if (lanes == kLanes)
        copyRow(row, to);
    else
        for (long lane = 0; lane < lanes; ++lane) to[lane] = row[lane];
}

void storePairs(const double* real, const double* imaginary, const long* rowOf, long length, long lanes, long partners,
                double* firstReal, double* firstImaginary, double* secondReal, double* secondImaginary,
                std::ptrdiff_t rowUpdate) {
    for (long v = 0; v <= length / 2; ++v) {
        const long above = rowOf[v] * kLanes;
        const long below = rowOf[v == 0 ? 0 : length - v] * kLanes;
        alignas(64) double rows[4][kLanes];
        for (long lane = 0; lane < kLanes; lane += kVector) {
            const Vector aboveR = load(real + above + lane);
            const Vector aboveI = load(imaginary + above + lane);
            const Vector belowR = load(real + below + lane);
            const Vector belowI = load(imaginary + below + lane);
            store(rows[0] + lane, 0.5 * (aboveR + belowR));
            store(rows[1] + lane, 0.5 * (aboveI - belowI));
            store(rows[2] + lane, 0.5 * (aboveI + belowI));
            store(rows[3] + lane, 0.5 * (belowR - aboveR));
        }
        storeLanes(rows[0], lanes, firstReal + v * rowUpdate);
        storeLanes(rows[1], lanes, firstImaginary + v * rowUpdate);
        storeLanes(rows[2], partners, secondReal + v * rowUpdate);
        storeLanes(rows[3], partners, secondImaginary + v * rowUpdate);
    }
}

void mirrorRow(const double* __restrict row, double sign, long width, double* __restrict mirrored) {
    mirrored[0] = sign * row[0];
    for (long u = 1; u < width; ++u) mirrored[u] = sign * row[width - u];
}

double storeSquares(const double* real, const double* imaginary, const long* rowOf, double factor, long length,
                    double largest, double* squares, std::ptrdiff_t rowUpdate, float* imaginaries,
                    std::ptrdiff_t singleUpdate) {
    alignas(64) double best[kLanes];
    for (double& lane : best) lane = largest;
    for (long y = 0; y < length; ++y) {
        const double* const r = real + rowOf[y] * kLanes;
        const double* const i = imaginary + rowOf[y] * kLanes;
        double* const square = squares + y * rowUpdate;
        float* const signedPart = imaginaries + y * singleUpdate;
        for (long lane = 0; lane < kLanes; lane += kVector) {
            const Vector re = load(r + lane) * factor;
            const Vector im = load(i + lane) * factor;
            const Vector sum = re * re + im * im;
            store(square + lane, sum);
            const Vector before = load(best + lane);
            // A number that is none is not larger.
            store(best + lane, sum > before ? sum : before);
#if QV_FOURIER_VECTOR == 1
            signedPart[lane] = static_cast<float>(im);
#else
            using Floats = float __attribute__((vector_size(4 * QV_FOURIER_VECTOR)));
            const Floats single = __builtin_convertvector(im, Floats);
            __builtin_memcpy(signedPart + lane, &single, sizeof single);
#endif
        }
    }
    for (const double lane : best) largest = lane > largest ? lane : largest;
    return largest;
}

}  // namespace

extern const qv_FourierKernels fourierKernels = {transform,    transformColumns, loadRows,   storeRows, loadColumns,
                                                 storeColumns, loadPels,         storePairs, mirrorRow, storeSquares};

}  // namespace QV_KERNELS
