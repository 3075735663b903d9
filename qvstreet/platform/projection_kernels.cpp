// A walk that runs nearly along the rows stays in one row, and in step with the columns, for a run of samples. The
// neighbours of a run lie side by side in memory. They are copied, run after run, to four rows of bytes:
//
//     source      a b c d e f g        three samples in its first row, then three in its second:
//                 A B C D E F G
//                 i j k l m n o        left  of the upper row    a b c D E F
//                                      right of the upper row    b c d E F G
//                                      left  of the lower row    A B C l m n
//                                      right of the lower row    B C D m n o
//
// From there on all samples are alike, wherever the runs begin, and vectors take as many as they have lanes of 16 bits:
//
//     across   h = left * (256 - fx) + right * fx + 128 - 32768              signed 16 bits, exact
//     down     (upper h * (256 - fy) + lower h * fy) >> 16 = value - 128     one multiply-add of pairs; the 128 rounds
#include "qvstreet/platform/projection_kernels.h"

#if !QV_KERNELS_PLAIN && defined(__SSE2__)
#include <immintrin.h>
#define QV_HAS_PROJECTION_VECTORS 1
#else
#define QV_HAS_PROJECTION_VECTORS 0
#endif

namespace QV_KERNELS {

namespace {

#if QV_HAS_PROJECTION_VECTORS

#if defined(__AVX512BW__)
constexpr long kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr long kVectorBytes = 32;
#else
constexpr long kVectorBytes = 16;
#endif
/// Samples in a vector.
constexpr long kLanes = kVectorBytes / 2;
static_assert(kLanes <= kBinsBehind, "a vector of bins may reach that far behind the last one");

/// Samples whose neighbours are copied before they are weighted; the copies stay in the first-level cache.
constexpr long kChunk = 512;
static_assert(kChunk % kLanes == 0, "vectors fill a chunk");

/// Bytes that are copied at once, for short runs and for long ones; larger copies only cross more cache lines.
constexpr long kShortCopy = 16;
constexpr long kLongCopy = kVectorBytes < 32 ? kVectorBytes : 32;

using Bytes = std::uint8_t __attribute__((vector_size(kVectorBytes / 2)));
using Words = std::uint16_t __attribute__((vector_size(kVectorBytes)));
using SignedWords = std::int16_t __attribute__((vector_size(kVectorBytes)));
using Longs = std::uint32_t __attribute__((vector_size(kVectorBytes)));
using SignedLongs = std::int32_t __attribute__((vector_size(kVectorBytes)));

#if defined(__AVX512BW__)
SignedLongs multiplyAdd(SignedWords a, SignedWords b) { return (SignedLongs)_mm512_madd_epi16((__m512i)a, (__m512i)b); }
SignedWords lowHalves(SignedWords a, SignedWords b) {
    return (SignedWords)_mm512_unpacklo_epi16((__m512i)a, (__m512i)b);
}
SignedWords highHalves(SignedWords a, SignedWords b) {
    return (SignedWords)_mm512_unpackhi_epi16((__m512i)a, (__m512i)b);
}
Words widen(Bytes bytes) { return (Words)_mm512_cvtepu8_epi16((__m256i)bytes); }
Bytes narrow(Words words) { return (Bytes)_mm512_maskz_cvtepi16_epi8(~__mmask32{0}, (__m512i)words); }
SignedWords pack(SignedLongs a, SignedLongs b) { return (SignedWords)_mm512_packs_epi32((__m512i)a, (__m512i)b); }
#elif defined(__AVX2__)
SignedLongs multiplyAdd(SignedWords a, SignedWords b) { return (SignedLongs)_mm256_madd_epi16((__m256i)a, (__m256i)b); }
SignedWords lowHalves(SignedWords a, SignedWords b) {
    return (SignedWords)_mm256_unpacklo_epi16((__m256i)a, (__m256i)b);
}
SignedWords highHalves(SignedWords a, SignedWords b) {
    return (SignedWords)_mm256_unpackhi_epi16((__m256i)a, (__m256i)b);
}
Words widen(Bytes bytes) { return (Words)_mm256_cvtepu8_epi16((__m128i)bytes); }
Bytes narrow(Words words) { return __builtin_convertvector(words, Bytes); }
SignedWords pack(SignedLongs a, SignedLongs b) { return (SignedWords)_mm256_packs_epi32((__m256i)a, (__m256i)b); }
#else
SignedLongs multiplyAdd(SignedWords a, SignedWords b) { return (SignedLongs)_mm_madd_epi16((__m128i)a, (__m128i)b); }
SignedWords lowHalves(SignedWords a, SignedWords b) { return (SignedWords)_mm_unpacklo_epi16((__m128i)a, (__m128i)b); }
SignedWords highHalves(SignedWords a, SignedWords b) { return (SignedWords)_mm_unpackhi_epi16((__m128i)a, (__m128i)b); }
Words widen(Bytes bytes) { return __builtin_convertvector(bytes, Words); }
Bytes narrow(Words words) { return __builtin_convertvector(words, Bytes); }
SignedWords pack(SignedLongs a, SignedLongs b) { return (SignedWords)_mm_packs_epi32((__m128i)a, (__m128i)b); }
#endif

template <class Vector>
Vector load(const void* memory) {
    Vector vector;
    __builtin_memcpy(&vector, memory, sizeof vector);
    return vector;
}

template <class Vector>
void store(void* memory, const Vector& vector) {
    __builtin_memcpy(memory, &vector, sizeof vector);
}

/// The neighbours of a chunk of samples. A copy may run on behind the last one; what is there has no part in anything.
struct Neighbours {
    alignas(64) std::uint8_t upperLeft[kChunk + kVectorBytes];
    alignas(64) std::uint8_t upperRight[kChunk + kVectorBytes];
    alignas(64) std::uint8_t lowerLeft[kChunk + kVectorBytes];
    alignas(64) std::uint8_t lowerRight[kChunk + kVectorBytes];
};

/// Tells the steps at which a position has come over a border between pels.
struct Borders {
    std::int64_t movement;
    std::int64_t steps;
    std::int64_t remainder;
    /// The next sample beyond a border, and how far beyond it lies.
    std::int64_t next;
    std::int64_t beyond;
};

constexpr std::int64_t kPel = std::int64_t{1} << 32;
constexpr std::int64_t kNever = std::int64_t{1} << 62;

Borders bordersOf(std::int64_t position, bool isForward, const qv_BorderRhythm& rhythm) {
    if (rhythm.movement == 0) return {0, kNever, 0, kNever, 0};
    Borders borders = {static_cast<std::int64_t>(rhythm.movement), rhythm.steps,
                       static_cast<std::int64_t>(rhythm.remainder), 0, 0};
    // Forward the border itself belongs to the next pel, backward to the last one.
    const std::int64_t behindPoint = position & (kPel - 1);
    const std::int64_t distance = isForward ? kPel - behindPoint : behindPoint + 1;
    borders.next =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(distance + borders.movement - 1) / rhythm.movement);
    borders.beyond = borders.next * borders.movement - distance;
    return borders;
}

/// Borders follow one another after 2^32 / movement steps, rounded down or, when that would not reach, up. Which of the
/// two is hard to foretell, so there is no branch.
void goToNext(Borders& borders) {
    borders.beyond -= borders.remainder;
    const std::int64_t allOnesIfShort = borders.beyond >> 63;
    borders.next += borders.steps - allOnesIfShort;
    borders.beyond += borders.movement & allOnesIfShort;
}

/// Copies the four neighbours of `count` samples, 1 or more; `from` is the first upper left one. Reads nothing else.
__attribute__((noinline)) void copyExactly(Neighbours& neighbours, std::int64_t to, const unsigned char* from,
                                           std::ptrdiff_t rowUpdate, std::int64_t count) {
#if defined(__AVX512BW__)
    for (; count > 0; count -= 64, to += 64, from += 64) {
        const __mmask64 mask = count >= 64 ? ~__mmask64{0} : (std::uint64_t{1} << count) - 1;
        _mm512_storeu_si512(neighbours.upperLeft + to, _mm512_maskz_loadu_epi8(mask, from));
        _mm512_storeu_si512(neighbours.upperRight + to, _mm512_maskz_loadu_epi8(mask, from + 1));
        _mm512_storeu_si512(neighbours.lowerLeft + to, _mm512_maskz_loadu_epi8(mask, from + rowUpdate));
        _mm512_storeu_si512(neighbours.lowerRight + to, _mm512_maskz_loadu_epi8(mask, from + rowUpdate + 1));
    }
#else
    for (; count > 0; --count, ++to, ++from) {
        neighbours.upperLeft[to] = from[0];
        neighbours.upperRight[to] = from[1];
        neighbours.lowerLeft[to] = from[rowUpdate];
        neighbours.lowerRight[to] = from[rowUpdate + 1];
    }
#endif
}

/// The same `kWidth` bytes at a time, of which the last ones may be others; `room` is the number of bytes from `from` to
/// the border of the window, and nothing is read beyond that.
template <long kWidth>
__attribute__((always_inline)) inline void copyRun(Neighbours& neighbours, std::int64_t to, const unsigned char* from,
                                                   std::ptrdiff_t rowUpdate, std::uintptr_t ahead, std::int64_t count,
                                                   std::int64_t room) {
    while (room > kWidth) {
        // Not a pointer sum, for near the border there is nothing.
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(from) + ahead));
        __builtin_memcpy(neighbours.upperLeft + to, from, kWidth);
        __builtin_memcpy(neighbours.upperRight + to, from + 1, kWidth);
        __builtin_memcpy(neighbours.lowerLeft + to, from + rowUpdate, kWidth);
        __builtin_memcpy(neighbours.lowerRight + to, from + rowUpdate + 1, kWidth);
        count -= kWidth;
        if (count <= 0) return;
        to += kWidth;
        from += kWidth;
        room -= kWidth;
        // Hides from the compiler that this loop copies bytes: a call of memcpy costs more than the few rounds.
        __asm__("" : "+r"(from));
    }
    copyExactly(neighbours, to, from, rowUpdate, count);
}

/// Copies the neighbours of a walk's samples, chunk after chunk.
struct RunCopier {
    const unsigned char* pels;
    /// From there to the upper left neighbour of the walk's first sample, and by what the borders since then have moved it.
    std::ptrdiff_t upperLeft;
    std::ptrdiff_t rowUpdate;
    std::ptrdiff_t rowMove;
    /// From a neighbour to one that a later walk will need, modulo 2^64.
    std::uintptr_t ahead;
    std::int64_t columnMove;
    /// Samples from the first one to the border of the window.
    std::int64_t room;
    Borders columns;
    Borders rows;

    RunCopier(const qv_PelWalk& walk, const qv_WalkStep& step) {
        const bool isAhead = step.x >= kPel;
        const bool isDown = step.y >= 0;
        pels = walk.pels;
        upperLeft = (walk.y >> 32) * walk.rowUpdate + (walk.x >> 32);
        rowUpdate = walk.rowUpdate;
        rowMove = isDown ? rowUpdate : -rowUpdate;
        ahead = static_cast<std::uintptr_t>(walk.rowsToFetchAhead * rowUpdate);
        columnMove = isAhead ? 1 : -1;
        room = walk.width - (walk.x >> 32);
        columns = bordersOf(walk.x, isAhead, step.columnRhythm);
        rows = bordersOf(walk.y, isDown, step.rowRhythm);
    }

    /// Samples `first` up to, not including, `end`, which is at most kChunk later.
    void copy(std::int64_t first, std::int64_t end, Neighbours& neighbours) {
        const std::int64_t runSteps = rows.steps < columns.steps ? rows.steps : columns.steps;
        for (std::int64_t k = first; k < end;) {
            const bool reachesColumn = columns.next <= end;
            const std::int64_t columnEnd = reachesColumn ? columns.next : end;
            if (runSteps < kShortCopy)
                copyColumnRun<kShortCopy>(first, k, columnEnd, neighbours);
            else
                copyColumnRun<kLongCopy>(first, k, columnEnd, neighbours);
            k = columnEnd;
            if (!reachesColumn) continue;
            upperLeft += columnMove;
            room -= columnMove;
            goToNext(columns);
        }
    }

    /// Samples `begin` up to, not including, `end`, all in step with the columns.
    template <long kWidth>
    void copyColumnRun(std::int64_t first, std::int64_t begin, std::int64_t end, Neighbours& neighbours) {
        Borders borders = rows;
        std::ptrdiff_t from = upperLeft;
        std::int64_t k = begin;
        while (borders.next <= end) {
            if (k < borders.next)
                copyRun<kWidth>(neighbours, k - first, pels + (from + k), rowUpdate, ahead, borders.next - k, room - k);
            k = borders.next;
            from += rowMove;
            goToNext(borders);
        }
        if (k < end) copyRun<kWidth>(neighbours, k - first, pels + (from + k), rowUpdate, ahead, end - k, room - k);
        rows = borders;
        upperLeft = from;
    }
};

/// 0, 1, 2, ... in the lanes of a vector.
template <class Vector, class Lane>
Vector laneNumbers() {
    constexpr long kCount = kVectorBytes / static_cast<long>(sizeof(Lane));
    Lane numbers[kCount];
    for (long i = 0; i < kCount; ++i) numbers[i] = static_cast<Lane>(i);
    return load<Vector>(numbers);
}

/// The weights of successive samples in 1/256 pel: the first eight bits behind the point of their positions.
struct Weights {
    /// Behind the point; samples of even and of odd number.
    Longs even;
    Longs odd;
    Longs vectorStep;

    Weights(std::int64_t position, std::int64_t step) {
        const std::uint32_t start = static_cast<std::uint32_t>(position);
        const std::uint32_t oneStep = static_cast<std::uint32_t>(step);
        even = Longs{} + start + laneNumbers<Longs, std::uint32_t>() * (oneStep * 2);
        odd = even + oneStep;
        vectorStep = Longs{} + oneStep * static_cast<std::uint32_t>(kLanes);
    }

    SignedWords next() {
        const Longs pairs = (even >> 24) | ((odd >> 8) & 0xff0000);
        even += vectorStep;
        odd += vectorStep;
        return (SignedWords)pairs;
    }
};

/// `left * (256 - fx) + right * fx + 128 - 32768`.
SignedWords across(const std::uint8_t* left, const std::uint8_t* right, Words leftWeight, Words rightWeight) {
    const Words leftPels = widen(load<Bytes>(left));
    const Words rightPels = widen(load<Bytes>(right));
    return (SignedWords)(leftPels * leftWeight + rightPels * rightWeight + (128 + 32768));
}

/// The values of a vector of samples, less 128.
SignedWords values(const Neighbours& neighbours, std::int64_t k, SignedWords fx, SignedWords fy) {
    const Words rightWeight = (Words)fx;
    const Words leftWeight = 256 - rightWeight;
    const SignedWords upperWeight = 256 - fy;
    const SignedWords upper = across(neighbours.upperLeft + k, neighbours.upperRight + k, leftWeight, rightWeight);
    const SignedWords lower = across(neighbours.lowerLeft + k, neighbours.lowerRight + k, leftWeight, rightWeight);
    const SignedLongs low = multiplyAdd(lowHalves(upper, lower), lowHalves(upperWeight, fy));
    const SignedLongs high = multiplyAdd(highHalves(upper, lower), highHalves(upperWeight, fy));
    return pack(low >> 16, high >> 16);
}

/// All ones in the first `count` lanes.
SignedWords firstLanes(std::int64_t count) {
    return (SignedWords)(laneNumbers<SignedWords, std::int16_t>() < static_cast<std::int16_t>(count));
}

std::uint32_t total(const SignedLongs& lanes) {
    std::int32_t numbers[kVectorBytes / 4];
    store(numbers, lanes);
    std::uint32_t sum = 0;
    for (const std::int32_t number : numbers) sum += static_cast<std::uint32_t>(number);
    return sum;
}

void addToBin(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* sum, std::uint32_t* squareSum) {
    Neighbours neighbours;
    RunCopier copier(walk, step);
    Weights xWeights(walk.x, step.x);
    Weights yWeights(walk.y, step.y);
    SignedLongs sums = {};
    SignedLongs squareSums = {};
    for (std::int64_t first = 0; first < walk.count; first += kChunk) {
        const std::int64_t count = walk.count - first < kChunk ? walk.count - first : kChunk;
        copier.copy(first, first + count, neighbours);
        // At most kChunk / 8 values of magnitude 128 or less.
        SignedWords chunkSums = {};
        std::int64_t k = 0;
        for (; k + kLanes <= count; k += kLanes) {
            const SignedWords v = values(neighbours, k, xWeights.next(), yWeights.next());
            chunkSums += v;
            squareSums += multiplyAdd(v, v);
        }
        if (k < count) {
            const SignedWords v = values(neighbours, k, xWeights.next(), yWeights.next()) & firstLanes(count - k);
            chunkSums += v;
            squareSums += multiplyAdd(v, v);
        }
        sums += multiplyAdd(chunkSums, SignedWords{} + 1);
    }
    // What counted from 128 counts from 0: (v + 128)^2 = v^2 + 256 v + 16384.
    const std::uint32_t count = static_cast<std::uint32_t>(walk.count);
    const std::uint32_t sumFromMiddle = total(sums);
    *sum += sumFromMiddle + 128 * count;
    *squareSum += total(squareSums) + 256 * sumFromMiddle + 16384 * count;
}

void addToBins(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* __restrict sums,
               std::uint32_t* __restrict squareSums) {
    Neighbours neighbours;
    alignas(64) std::uint16_t chunk[kChunk];
    RunCopier copier(walk, step);
    Weights xWeights(walk.x, step.x);
    Weights yWeights(walk.y, step.y);
    for (std::int64_t first = 0; first < walk.count; first += kChunk) {
        const std::int64_t count = walk.count - first < kChunk ? walk.count - first : kChunk;
        copier.copy(first, first + count, neighbours);
        std::int64_t k = 0;
        for (; k < count; k += kLanes) store(chunk + k, values(neighbours, k, xWeights.next(), yWeights.next()) + 128);
        if (k > count) {
            std::uint16_t* const last = chunk + (k - kLanes);
            store(last, load<SignedWords>(last) & firstLanes(count - (k - kLanes)));
        }
        for (std::int64_t bin = 0; bin < k; bin += kLanes)
            for (std::int64_t lane = 0; lane < kLanes; ++lane) {
                const std::uint32_t value = chunk[bin + lane];
                sums[first + bin + lane] += value;
                squareSums[first + bin + lane] += value * value;
            }
    }
}

void storeValues(const qv_PelWalk& walk, const qv_WalkStep& step, unsigned char* stored) {
    Neighbours neighbours;
    RunCopier copier(walk, step);
    Weights xWeights(walk.x, step.x);
    Weights yWeights(walk.y, step.y);
    for (std::int64_t first = 0; first < walk.count; first += kChunk, stored += kChunk) {
        const std::int64_t count = walk.count - first < kChunk ? walk.count - first : kChunk;
        copier.copy(first, first + count, neighbours);
        for (std::int64_t k = 0; k < count; k += kLanes) {
            const Bytes v = narrow((Words)values(neighbours, k, xWeights.next(), yWeights.next()) + 128);
            if (count - k >= kLanes)
                store(stored + k, v);
            else
                __builtin_memcpy(stored + k, &v, static_cast<std::size_t>(count - k));
        }
    }
}

#else

/// Calls `add(k, value)` for each sample of a walk.
template <class Add>
void forEachSample(const qv_PelWalk& walk, const qv_WalkStep& step, const Add& add) {
    std::int64_t x = walk.x;
    std::int64_t y = walk.y;
    for (long k = 0; k < walk.count; ++k, x += step.x, y += step.y) {
        const unsigned char* const pel = walk.pels + (y >> 32) * walk.rowUpdate + (x >> 32);
        const std::uint32_t fx = static_cast<std::uint32_t>(x) >> 24;
        const std::uint32_t fy = static_cast<std::uint32_t>(y) >> 24;
        const std::uint32_t upper = pel[0] * (256 - fx) + pel[1] * fx;
        const std::uint32_t lower = pel[walk.rowUpdate] * (256 - fx) + pel[walk.rowUpdate + 1] * fx;
        add(k, (upper * (256 - fy) + lower * fy + 32768) >> 16);
    }
}

void addToBin(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* sum, std::uint32_t* squareSum) {
    forEachSample(walk, step, [sum, squareSum](long, std::uint32_t value) {
        *sum += value;
        *squareSum += value * value;
    });
}

void addToBins(const qv_PelWalk& walk, const qv_WalkStep& step, std::uint32_t* sums, std::uint32_t* squareSums) {
    forEachSample(walk, step, [sums, squareSums](long k, std::uint32_t value) {
        sums[k] += value;
        squareSums[k] += value * value;
    });
}

void storeValues(const qv_PelWalk& walk, const qv_WalkStep& step, unsigned char* stored) {
    forEachSample(walk, step, [stored](long k, std::uint32_t value) { stored[k] = static_cast<unsigned char>(value); });
}

#endif

}  // namespace

extern const qv_ProjectionKernels projectionKernels = {addToBin, addToBins, storeValues};

}  // namespace QV_KERNELS
