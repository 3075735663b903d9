/// @file
/// The histogram of a window that slides by columns, and its smoothed mode. For `sliding_mode.cpp`.
///
/// The 256 bins are treated in blocks of 16, and each block keeps its peak, the largest smoothed count in it. All
/// histograms here give the same mode; they differ in how many counts they treat at a time.
#ifndef QVSTREET_BLANKREGION_WINDOW_HISTOGRAM_H
#define QVSTREET_BLANKREGION_WINDOW_HISTOGRAM_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#define QV_HAS_HISTOGRAM_LANES 1
#include <emmintrin.h>
#endif

constexpr std::size_t kGreyLevels = 256;
constexpr std::size_t kBlockBins = 16;
constexpr std::size_t kBlocks = kGreyLevels / kBlockBins;
constexpr std::uint32_t kAllBlocks = (1u << kBlocks) - 1;
/// The mode of a window without pels.
constexpr unsigned char kNoMode = 255;

/// The blocks whose peaks may change when bins of `blocks` do: smoothing looks one bin to either side.
constexpr std::uint32_t qf_blocksWithNeighbours(std::uint32_t blocks) {
    return (blocks | blocks << 1 | blocks >> 1) & kAllBlocks;
}

/// The histogram of one window, and its peaks. Sum holds twice the pels of a window.
template <typename Sum>
class qv_WindowHistogram {
 public:
    /// Adds a column; the mode is not asked for before `sumUpAll`.
    template <typename Count>
    void add(const Count* column) {
        for (std::size_t level = 0; level < kGreyLevels; ++level)
            bins_[level + 1] = static_cast<Sum>(bins_[level + 1] + column[level]);
    }

    void sumUpAll() {
        for (std::size_t block = 0; block < kBlocks; ++block) sumUp(block);
    }

    /// Exchanges two columns that have pels in no other blocks than these.
    template <typename Count>
    void exchange(const Count* entering, const Count* leaving, std::uint32_t blocks) {
        for (std::size_t block = 0; block < kBlocks; ++block) {
            if ((blocks >> block & 1u) == 0) continue;
            const std::size_t first = block * kBlockBins;
            for (std::size_t level = first; level < first + kBlockBins; ++level)
                bins_[level + 1] = static_cast<Sum>(bins_[level + 1] + entering[level] - leaving[level]);
        }
        const std::uint32_t changed = qf_blocksWithNeighbours(blocks);
        for (std::size_t block = 0; block < kBlocks; ++block)
            if ((changed >> block & 1u) != 0) sumUp(block);
    }

    unsigned char mode() const {
        const auto peak = std::max_element(peaks_.begin(), peaks_.end());
        if (*peak == 0) return kNoMode;
        std::size_t level = static_cast<std::size_t>(peak - peaks_.begin()) * kBlockBins;
        while (sums_[level] != *peak) ++level;
        return static_cast<unsigned char>(level);
    }

 private:
    void sumUp(std::size_t block) {
        const std::size_t first = block * kBlockBins;
        Sum* const sums = sums_.data() + first;
        for (std::size_t i = 0; i < kBlockBins; ++i) {
            const std::size_t bin = first + i;  // one below the level's own
            sums[i] = static_cast<Sum>(bins_[bin] + 2 * bins_[bin + 1] + bins_[bin + 2]);
        }
        // deliberate: the first and the last level are never the mode; pinned by
        // SmoothedHistogramMode.Levels0And255NeverWinByThemselves
        if (block == 0) sums[0] = 0;
        if (block == kBlocks - 1) sums[kBlockBins - 1] = 0;
        Sum peak = 0;
        for (std::size_t i = 0; i < kBlockBins; ++i) peak = std::max(peak, sums[i]);
        peaks_[block] = peak;
    }

    std::array<Sum, kGreyLevels + 2> bins_{};  // with an empty bin before the first and after the last level
    std::array<Sum, kGreyLevels> sums_{};      // smoothed
    std::array<Sum, kBlocks> peaks_{};
};

#if QV_HAS_HISTOGRAM_LANES

/// The same for windows of up to 16383 pels and columns of up to 255, eight counts at a time.
class qv_NarrowWindowHistogram {
 public:
    qv_NarrowWindowHistogram() {
        for (__m128i& bins : bins_) bins = _mm_setzero_si128();
    }

    void add(const std::uint8_t* column) {
        for (std::size_t block = 0; block < kBlocks; ++block) {
            const __m128i counts = load(column + block * kBlockBins);
            __m128i* const bins = binsOf(block);
            bins[0] = _mm_add_epi16(bins[0], low(counts));
            bins[1] = _mm_add_epi16(bins[1], high(counts));
        }
    }

    void sumUpAll() {
        for (std::size_t block = 0; block < kBlocks; ++block) sumUp(block);
    }

    void exchange(const std::uint8_t* entering, const std::uint8_t* leaving, std::uint32_t blocks) {
        for (std::uint32_t left = blocks; left != 0; left &= left - 1) {
            const std::size_t block = lowestBit(left);
            const __m128i in = load(entering + block * kBlockBins);
            const __m128i out = load(leaving + block * kBlockBins);
            __m128i* const bins = binsOf(block);
            bins[0] = _mm_add_epi16(bins[0], _mm_sub_epi16(low(in), low(out)));
            bins[1] = _mm_add_epi16(bins[1], _mm_sub_epi16(high(in), high(out)));
        }
        for (std::uint32_t left = qf_blocksWithNeighbours(blocks); left != 0; left &= left - 1) sumUp(lowestBit(left));
    }

    unsigned char mode() const {
        const __m128i first = _mm_load_si128(reinterpret_cast<const __m128i*>(peaks_));
        const __m128i last = _mm_load_si128(reinterpret_cast<const __m128i*>(peaks_ + 8));
        const std::int16_t peak = largest(_mm_max_epi16(first, last));
        if (peak == 0) return kNoMode;
        const std::size_t block = firstEqual(first, last, peak);
        const __m128i* const sums = sums_ + 2 * block;
        return static_cast<unsigned char>(block * kBlockBins + firstEqual(sums[0], sums[1], peak));
    }

 private:
    static __m128i load(const std::uint8_t* counts) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(counts));
    }
    static __m128i low(__m128i counts) { return _mm_unpacklo_epi8(counts, _mm_setzero_si128()); }
    static __m128i high(__m128i counts) { return _mm_unpackhi_epi8(counts, _mm_setzero_si128()); }

    /// Position of the lowest set bit; there is one.
    static std::size_t lowestBit(std::uint32_t bits) { return static_cast<std::size_t>(__builtin_ctz(bits)); }

    static std::int16_t largest(__m128i numbers) {
        numbers = _mm_max_epi16(numbers, _mm_srli_si128(numbers, 8));
        numbers = _mm_max_epi16(numbers, _mm_srli_si128(numbers, 4));
        numbers = _mm_max_epi16(numbers, _mm_srli_si128(numbers, 2));
        return static_cast<std::int16_t>(_mm_cvtsi128_si32(numbers) & 0xFFFF);
    }

    /// Which of 16 numbers is the first that equals `wanted`; there is one.
    static std::size_t firstEqual(__m128i first, __m128i last, std::int16_t wanted) {
        const __m128i all = _mm_set1_epi16(wanted);
        const __m128i isEqual = _mm_packs_epi16(_mm_cmpeq_epi16(first, all), _mm_cmpeq_epi16(last, all));
        return lowestBit(static_cast<std::uint32_t>(_mm_movemask_epi8(isEqual)));
    }

    /// The two vectors of a block. One more lies before the first and after the last, for the neighbours.
    __m128i* binsOf(std::size_t block) { return bins_ + 1 + 2 * block; }

    static __m128i smoothed(__m128i before, __m128i bins, __m128i after) {
        const __m128i below = _mm_or_si128(_mm_slli_si128(bins, 2), _mm_srli_si128(before, 14));
        const __m128i above = _mm_or_si128(_mm_srli_si128(bins, 2), _mm_slli_si128(after, 14));
        return _mm_add_epi16(_mm_add_epi16(below, above), _mm_add_epi16(bins, bins));
    }

    void sumUp(std::size_t block) {
        const __m128i* const bins = binsOf(block);
        __m128i first = smoothed(bins[-1], bins[0], bins[1]);
        __m128i last = smoothed(bins[0], bins[1], bins[2]);
        // Levels 0 and 255 are never the mode.
        if (block == 0) first = _mm_insert_epi16(first, 0, 0);
        if (block == kBlocks - 1) last = _mm_insert_epi16(last, 0, 7);
        sums_[2 * block] = first;
        sums_[2 * block + 1] = last;
        peaks_[block] = largest(_mm_max_epi16(first, last));
    }

    __m128i bins_[2 * kBlocks + 2];
    __m128i sums_[2 * kBlocks];
    alignas(16) std::int16_t peaks_[kBlocks];
};

#else

using qv_NarrowWindowHistogram = qv_WindowHistogram<std::int16_t>;

#endif

#endif
