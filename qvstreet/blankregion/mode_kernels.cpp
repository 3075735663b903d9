// The 256 sums of a window of byte columns stay in vectors of 16-bit lanes while the window slides; with vectors of 64
// bytes that is eight registers. A step adds the entering column, takes the leaving one and looks for the peak, all in
// one walk over the vectors: each lane remembers its largest sum and the first level that had it. One reduction over the
// lanes then finds the largest sum and, among equals, the lowest level.
#include "qvstreet/blankregion/mode_kernels.h"

#if !QV_KERNELS_PLAIN && defined(__SSE2__)
#include <immintrin.h>
#define QV_HAS_MODE_VECTORS 1
#else
#define QV_HAS_MODE_VECTORS 0
#endif

namespace QV_KERNELS {

namespace {

constexpr std::size_t kLevels = kColumnLevels;

// What one pel adds to a column. Only levels 1 to 254 count, so the four counts that a pel may change are moved inwards
// at both ends.
// deliberate: the first and the last level are never the mode; pinned by
// SmoothedHistogramMode.Levels0And255NeverWinByThemselves
constexpr std::size_t kTouched = 4;
constexpr std::size_t kFirstTouched = 1;
constexpr std::size_t kLastTouched = kLevels - 1 - kTouched;

constexpr std::size_t touchedFrom(std::size_t level) {
    return level <= kFirstTouched + 1 ? kFirstTouched : level - 1 >= kLastTouched ? kLastTouched : level - 1;
}

template <typename Count>
struct PelTable {
    std::uint8_t from[kLevels];
    Count counts[kLevels][kTouched];
};

template <typename Count>
constexpr PelTable<Count> makePelTable() {
    PelTable<Count> table = {};
    for (std::size_t level = 0; level < kLevels; ++level) {
        table.from[level] = static_cast<std::uint8_t>(touchedFrom(level));
        for (std::size_t i = 0; i < kTouched; ++i) {
            const std::size_t counted = touchedFrom(level) + i;
            table.counts[level][i] = counted == level ? 2 : counted == level + 1 || counted + 1 == level ? 1 : 0;
        }
    }
    return table;
}

constexpr PelTable<std::uint8_t> kPelBytes = makePelTable<std::uint8_t>();
constexpr PelTable<std::uint16_t> kPelWords = makePelTable<std::uint16_t>();

// The four counts are exchanged as one number: none of them ever leaves its range, so nothing is carried.
template <typename FourCounts, bool isAdded, typename Count>
void countPels(const std::uint8_t* pels, std::size_t count, const PelTable<Count>& table, Count* columns) {
    static_assert(sizeof(FourCounts) == kTouched * sizeof(Count), "four counts");
    for (std::size_t c = 0; c < count; ++c) {
        Count* const touched = columns + c * kLevels + table.from[pels[c]];
        FourCounts counts;
        FourCounts change;
        __builtin_memcpy(&counts, touched, sizeof counts);
        __builtin_memcpy(&change, table.counts[pels[c]], sizeof change);
        counts = isAdded ? counts + change : counts - change;
        __builtin_memcpy(touched, &counts, sizeof counts);
    }
}

// Entering and leaving pels are often neighbours in level: a load that needs parts of a store just made waits for it.
// Going through some columns in between lets the store finish.
constexpr std::size_t kColumnsAtATime = 32;

template <typename FourCounts, typename Count>
void exchangePels(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count,
                  const PelTable<Count>& table, Count* columns) {
    for (std::size_t first = 0; first < count; first += kColumnsAtATime) {
        const std::size_t here = count - first < kColumnsAtATime ? count - first : kColumnsAtATime;
        if (leaving != nullptr) countPels<FourCounts, false>(leaving + first, here, table, columns + first * kLevels);
        countPels<FourCounts, true>(entering + first, here, table, columns + first * kLevels);
    }
}

void exchangePelsInBytes(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count,
                         std::uint8_t* columns) {
    exchangePels<std::uint32_t>(entering, leaving, count, kPelBytes, columns);
}

void exchangePelsInWords(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count,
                         std::uint16_t* columns) {
    exchangePels<std::uint64_t>(entering, leaving, count, kPelWords, columns);
}

// The portable form, for either size of counts. Peaks of blocks of levels make the way to the first peak short.
constexpr std::size_t kBlockLevels = 32;
constexpr std::size_t kBlocks = kLevels / kBlockLevels;

std::uint8_t firstPeak(const std::int32_t* sums) {
    std::int32_t blockPeaks[kBlocks];
    std::int32_t peak = 0;
    for (std::size_t block = 0; block < kBlocks; ++block) {
        const std::int32_t* const ofBlock = sums + block * kBlockLevels;
        std::int32_t blockPeak = 0;
        for (std::size_t i = 0; i < kBlockLevels; ++i) blockPeak = ofBlock[i] > blockPeak ? ofBlock[i] : blockPeak;
        blockPeaks[block] = blockPeak;
        peak = blockPeak > peak ? blockPeak : peak;
    }
    std::size_t block = 0;
    while (blockPeaks[block] != peak) ++block;
    std::size_t level = block * kBlockLevels;
    while (sums[level] != peak) ++level;
    return static_cast<std::uint8_t>(level);
}

template <typename Count>
void modesByPlainLoops(const Count* __restrict columns, std::size_t width, std::size_t positions,
                       std::uint8_t* __restrict modes) {
    std::int32_t sums[kLevels] = {};
    for (std::size_t c = 0; c < width; ++c)
        for (std::size_t level = 0; level < kLevels; ++level) sums[level] += columns[c * kLevels + level];
    modes[0] = firstPeak(sums);
    for (std::size_t x = 1; x < positions; ++x) {
        const Count* const leaving = columns + (x - 1) * kLevels;
        const Count* const entering = leaving + width * kLevels;
        for (std::size_t level = 0; level < kLevels; ++level) sums[level] += entering[level] - leaving[level];
        modes[x] = firstPeak(sums);
    }
}

void modesOfWords(const std::uint16_t* columns, std::size_t width, std::size_t positions, std::uint8_t* modes) {
    modesByPlainLoops(columns, width, positions, modes);
}

#if QV_HAS_MODE_VECTORS

#if defined(__AVX512BW__)
constexpr std::size_t kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr std::size_t kVectorBytes = 32;
#else
constexpr std::size_t kVectorBytes = 16;
#endif
constexpr std::size_t kLanes = kVectorBytes / sizeof(std::uint16_t);
constexpr std::size_t kPairs = kLevels / kVectorBytes;

// NOLINTBEGIN(modernize-use-using): attributes of vectors
typedef std::uint16_t Words __attribute__((vector_size(kVectorBytes)));
typedef std::int16_t SignedWords __attribute__((vector_size(kVectorBytes)));
// NOLINTEND

// The sums of as many levels as a vector has bytes: those of the even ones and those of the odd ones, which is how bytes
// become words at the least cost.
struct Pair {
    Words even;
    Words odd;
};

Words countsAt(const std::uint8_t* counts) {
    Words words;
    __builtin_memcpy(&words, counts, sizeof words);
    return words;
}

void add(Words counts, Pair& sums) {
    sums.even += counts & 0xFF;
    sums.odd += counts >> 8;
}

void take(Words counts, Pair& sums) {
    sums.even -= counts & 0xFF;
    sums.odd -= counts >> 8;
}

// Sums are kept less 32768, so that comparing them as signed numbers, which all instruction sets can, is right up to
// 65535. The empty levels 0 and 255 are the lowest of all there.
constexpr std::uint16_t kSumOfNone = 0x8000;

#if defined(__AVX512BW__)

SignedWords larger(SignedWords a, SignedWords b) { return a > b ? a : b; }

// `levels`, which are above all `before`, where `isHigher`.
SignedWords levelsWhere(SignedWords isHigher, SignedWords levels, SignedWords before) {
    return isHigher ? levels : before;
}

// The lowest level of the lanes with the largest sum.
std::uint8_t lowestLevelOfPeak(SignedWords peaks, SignedWords levels) {
    const __m512i sums = reinterpret_cast<__m512i>(peaks);
    const __m512i below = reinterpret_cast<__m512i>(~levels & 0xFF);
    // The forms with a mask of all lanes: g++ 12 warns of something uninitialised in its own plain forms.
    const __m512i keys =
        _mm512_maskz_max_epi32(0xFFFF, _mm512_unpacklo_epi16(below, sums), _mm512_unpackhi_epi16(below, sums));
    const __m256i eight = _mm256_max_epi32(_mm512_maskz_extracti64x4_epi64(0xFF, keys, 0),
                                           _mm512_maskz_extracti64x4_epi64(0xFF, keys, 1));
    __m128i most = _mm_max_epi32(_mm256_castsi256_si128(eight), _mm256_extracti128_si256(eight, 1));
    most = _mm_max_epi32(most, _mm_shuffle_epi32(most, 0x4E));
    most = _mm_max_epi32(most, _mm_shuffle_epi32(most, 0xB1));
    return static_cast<std::uint8_t>(~_mm_cvtsi128_si32(most) & 0xFF);
}

#elif defined(__AVX2__)

SignedWords larger(SignedWords a, SignedWords b) {
    return reinterpret_cast<SignedWords>(_mm256_max_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}

SignedWords levelsWhere(SignedWords isHigher, SignedWords levels, SignedWords before) {
    return larger(isHigher & levels, before);
}

std::uint8_t lowestLevelOfPeak(SignedWords peaks, SignedWords levels) {
    const __m256i sums = reinterpret_cast<__m256i>(peaks);
    const __m256i below = reinterpret_cast<__m256i>(~levels & 0xFF);
    const __m256i keys = _mm256_max_epi32(_mm256_unpacklo_epi16(below, sums), _mm256_unpackhi_epi16(below, sums));
    __m128i most = _mm_max_epi32(_mm256_castsi256_si128(keys), _mm256_extracti128_si256(keys, 1));
    most = _mm_max_epi32(most, _mm_shuffle_epi32(most, 0x4E));
    most = _mm_max_epi32(most, _mm_shuffle_epi32(most, 0xB1));
    return static_cast<std::uint8_t>(~_mm_cvtsi128_si32(most) & 0xFF);
}

#else

SignedWords larger(SignedWords a, SignedWords b) {
    return reinterpret_cast<SignedWords>(_mm_max_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}

SignedWords levelsWhere(SignedWords isHigher, SignedWords levels, SignedWords before) {
    return larger(isHigher & levels, before);
}

__m128i largestInLaneZero(__m128i numbers) {
    numbers = _mm_max_epi16(numbers, _mm_shuffle_epi32(numbers, 0x4E));
    numbers = _mm_max_epi16(numbers, _mm_shuffle_epi32(numbers, 0xB1));
    return _mm_max_epi16(numbers, _mm_srli_epi32(numbers, 16));
}

std::uint8_t lowestLevelOfPeak(SignedWords peaks, SignedWords levels) {
    const __m128i sums = reinterpret_cast<__m128i>(peaks);
    const __m128i peak = _mm_shuffle_epi32(_mm_shufflelo_epi16(largestInLaneZero(sums), 0), 0);
    const __m128i below = _mm_and_si128(_mm_cmpeq_epi16(sums, peak), reinterpret_cast<__m128i>(~levels & 0xFF));
    return static_cast<std::uint8_t>(~_mm_cvtsi128_si32(largestInLaneZero(below)) & 0xFF);
}

#endif

void modesOfBytes(const std::uint8_t* columns, std::size_t width, std::size_t positions, std::uint8_t* modes) {
    Pair sums[kPairs];
    SignedWords evenLevels[kPairs];
    for (std::size_t i = 0; i < kPairs; ++i) {
        sums[i].even = Words{} + kSumOfNone;
        sums[i].odd = Words{} + kSumOfNone;
        for (std::size_t lane = 0; lane < kLanes; ++lane)
            evenLevels[i][lane] = static_cast<std::int16_t>(i * kVectorBytes + 2 * lane);
    }
    // The last column of the first window enters below, in place of no column.
    for (std::size_t c = 0; c + 1 < width; ++c)
        for (std::size_t i = 0; i < kPairs; ++i) add(countsAt(columns + c * kLevels + i * kVectorBytes), sums[i]);
    static const std::uint8_t noColumn[kLevels] = {};
    const std::uint8_t* leaving = noColumn;
    const std::uint8_t* entering = columns + (width - 1) * kLevels;
    for (std::size_t x = 0; x < positions; ++x) {
        SignedWords peaks = SignedWords{} + static_cast<std::int16_t>(-0x8000);
        SignedWords levels = {};
        for (std::size_t i = 0; i < kPairs; ++i) {
            add(countsAt(entering + i * kVectorBytes), sums[i]);
            take(countsAt(leaving + i * kVectorBytes), sums[i]);
            const SignedWords even = reinterpret_cast<SignedWords>(sums[i].even);
            levels = levelsWhere(even > peaks, evenLevels[i], levels);
            peaks = larger(even, peaks);
            const SignedWords odd = reinterpret_cast<SignedWords>(sums[i].odd);
            levels = levelsWhere(odd > peaks, evenLevels[i] + 1, levels);
            peaks = larger(odd, peaks);
        }
        modes[x] = lowestLevelOfPeak(peaks, levels);
        leaving = columns + x * kLevels;
        entering += kLevels;
    }
}

#else

void modesOfBytes(const std::uint8_t* columns, std::size_t width, std::size_t positions, std::uint8_t* modes) {
    modesByPlainLoops(columns, width, positions, modes);
}

#endif

}  // namespace

const qv_ModeKernels modeKernels = {exchangePelsInBytes, exchangePelsInWords, modesOfBytes, modesOfWords};

}  // namespace QV_KERNELS
