// The wanted value is a weighted sum of two root mean squares, each added up in a stated order, cut to an integer. All
// that goes into them are integers: the numerators of the row variances and the radicands of the column deviations. So
// exact running sums of both give the value up to the rounding of its last operations, and only where that decides about
// the integer is the literal form evaluated:
//
//     N(x, y)    L * (sum of squares) - (sum)^2 of the L pels from (x, y) on, wrapped to 32 bits; its sum over the S rows
//                of a window is kept per position and moved down with the window
//     Q(c)       S * (sum of squares) - (sum)^2 of the S pels of column c, wrapped as its kind of window wraps it; its
//                sum over the L columns of a window is the difference of two running totals
//     deviation  rowWeight * sqrt(sum N / S) / L + columnWeight * sqrt(sum Q / L) / S
//
// A row of positions where some number is negative, having wrapped, goes the literal way as a whole. Windows where nothing
// can wrap have a faster way of their own.
#include "qvstreet/blankregion/sliding_deviation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "qvstreet/blankregion/literal_deviation.h"
#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/blankregion/small_window_deviation.h"

#if defined(__SSE2__) || defined(_M_X64)
#define QV_DEVIATION_LANES 1
#include <emmintrin.h>
#endif

namespace {

using Image = qvPelBuffer_const<unsigned char>;
using Task = qv_DeviationTask;

// Pels of a window up to which the sum of its radicands, each below (S + 1) * 2^31, is below 2^52 whatever the pels, so
// that doubles hold it exactly.
constexpr long kMostPels = 1L << 20;
// Widths up to which the square of the width does not wrap.
constexpr long kMostWidth = 46340;
#if QV_DEVIATION_LANES
// Floats keep one part in 2^24 in each of the four operations, which is 1e-4 at 255.
constexpr float kFloatDoubt = 1e-3f;
// From here on the stored value is 255 however the sum was formed.
constexpr float kSurelyMost = 255.5f;
#endif
constexpr std::size_t kGreyLevels = 256;

std::uint32_t square(std::uint32_t value) { return value * value; }

/// The sums of the row numerators of the windows, one per position.
///
/// Pels and squares of a row are added up together, in one number of 64 bits: the squares times L, modulo 2^32, in the
/// upper half and the pels in the lower, which a window never fills.
class RowNumerators {
 public:
    explicit RowNumerators(const Task& task)
        : task_(task),
          isNegative_(static_cast<std::size_t>(task.S), 0),
          sums_(static_cast<std::size_t>(task.positions), 0.0),
          totals_(static_cast<std::size_t>(task.image.width()) + 1, 0) {
        for (std::uint32_t level = 0; level < kGreyLevels; ++level)
            packed_[level] = (std::uint64_t{static_cast<std::uint32_t>(task.L) * square(level)} << 32) + level;
    }

    /// Takes image row `y` in and the row S above it out.
    void enter(long y) {
        const auto slot = static_cast<std::size_t>(y % task_.S);
        if (y >= task_.S) {
            addUp(y - task_.S);
            exchange<false>();
            negativeRows_ -= isNegative_[slot];
        }
        addUp(y);
        isNegative_[slot] = exchange<true>() ? 1 : 0;
        negativeRows_ += isNegative_[slot];
    }

    bool hasNegative() const { return negativeRows_ > 0; }
    const double* sums() const { return sums_.data(); }

 private:
    void addUp(long y) {
        const unsigned char* const pels = task_.image.pointToRow(y);
        std::uint64_t* const totals = totals_.data() + 1;
        const auto width = static_cast<std::size_t>(task_.image.width());
        std::uint64_t total = 0;
        for (std::size_t x = 0; x < width; ++x) {
            total += packed_[pels[x]];
            totals[x] = total;
        }
    }

    static std::int32_t numerator(std::uint64_t window) {
        return qf_signed32(static_cast<std::uint32_t>(window >> 32) - square(static_cast<std::uint32_t>(window)));
    }

    /// Adds the numerators of the row that was added up, or takes them away; returns whether one is negative.
    template <bool isEntering>
    bool exchange() {
        const std::uint64_t* const before = totals_.data();
        const std::uint64_t* const upTo = before + task_.L;
        double* const sums = sums_.data();
        const auto positions = static_cast<std::size_t>(task_.positions);
        std::int32_t signs = 0;
        std::size_t x = 0;
#if QV_DEVIATION_LANES
        __m128i laneSigns = _mm_setzero_si128();
        for (; x + 2 <= positions; x += 2) {
            const __m128i window = _mm_sub_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(upTo + x)),
                                                 _mm_loadu_si128(reinterpret_cast<const __m128i*>(before + x)));
            const __m128i wide = _mm_sub_epi32(_mm_srli_epi64(window, 32), _mm_mul_epu32(window, window));
            const __m128i numerators = _mm_shuffle_epi32(wide, _MM_SHUFFLE(2, 0, 2, 0));
            laneSigns = _mm_or_si128(laneSigns, numerators);
            const __m128d change = _mm_cvtepi32_pd(numerators);
            const __m128d sum = _mm_loadu_pd(sums + x);
            _mm_storeu_pd(sums + x, isEntering ? _mm_add_pd(sum, change) : _mm_sub_pd(sum, change));
        }
        signs = _mm_movemask_ps(_mm_castsi128_ps(laneSigns)) != 0 ? -1 : 0;
#endif
        for (; x < positions; ++x) {
            const std::int32_t change = numerator(upTo[x] - before[x]);
            sums[x] += isEntering ? static_cast<double>(change) : -static_cast<double>(change);
            signs |= change;
        }
        return signs < 0;
    }

    const Task& task_;
    std::array<std::uint64_t, kGreyLevels> packed_;
    std::vector<long> isNegative_;  // 1 for a row in the window with a negative numerator, else 0
    long negativeRows_ = 0;
    std::vector<double> sums_;
    std::vector<std::uint64_t> totals_;  // of the columns before, modulo 2^64
};

/// The radicands of the columns of the present row of positions, and their totals up to each column.
class ColumnRadicands {
 public:
    explicit ColumnRadicands(const Task& task)
        : task_(task),
          pelSums_(static_cast<std::size_t>(task.image.width()), 0),
          squareSums_(pelSums_),
          radicands_(pelSums_.size(), 0),
          totals_(pelSums_.size() + 1, 0) {}

    /// Takes image row `y` in and the row S above it out.
    void enter(long y) {
        const unsigned char* const entering = task_.image.pointToRow(y);
        std::uint32_t* const pelSums = pelSums_.data();
        std::uint32_t* const squareSums = squareSums_.data();
        const auto width = static_cast<std::size_t>(task_.image.width());
        if (y < task_.S) {
            for (std::size_t c = 0; c < width; ++c) {
                pelSums[c] += entering[c];
                squareSums[c] += square(entering[c]);
            }
            return;
        }
        const unsigned char* const leaving = task_.image.pointToRow(y - task_.S);
        for (std::size_t c = 0; c < width; ++c) {
            pelSums[c] += static_cast<std::uint32_t>(entering[c]) - leaving[c];
            squareSums[c] += square(entering[c]) - square(leaving[c]);
        }
    }

    /// Forms radicands and totals.
    void form() {
        const auto width = static_cast<std::size_t>(task_.image.width());
        const auto L = static_cast<std::size_t>(task_.L);
        const auto S = static_cast<std::uint32_t>(task_.S);
        // The columns of the first window keep its way of wrapping for as long as they are in a window.
        for (std::size_t c = 0; c < L; ++c)
            radicands_[c] = task_.S * std::int64_t{qf_signed32(squareSums_[c])} - qf_signed32(square(pelSums_[c]));
        for (std::size_t c = L; c < width; ++c) radicands_[c] = qf_signed32(S * squareSums_[c] - square(pelSums_[c]));
        std::uint64_t total = 0;
        std::int64_t signs = 0;
        for (std::size_t c = 0; c < width; ++c) {
            total += static_cast<std::uint64_t>(radicands_[c]);
            signs |= radicands_[c];
            totals_[c + 1] = total;
        }
        hasNegative_ = signs < 0;
    }

    bool hasNegative() const { return hasNegative_; }
    const std::uint64_t* totals() const { return totals_.data(); }
    /// Of the columns of the window at `x`, column c at c modulo L.
    std::vector<double> deviations(long x) const {
        std::vector<double> result(static_cast<std::size_t>(task_.L));
        for (long c = x; c < x + task_.L; ++c)
            result[static_cast<std::size_t>(c % task_.L)] =
                std::sqrt(static_cast<double>(radicands_[static_cast<std::size_t>(c)])) / static_cast<double>(task_.S);
        return result;
    }

 private:
    const Task& task_;
    std::vector<std::uint32_t> pelSums_;
    std::vector<std::uint32_t> squareSums_;
    std::vector<std::int64_t> radicands_;
    std::vector<std::uint64_t> totals_;  // of the columns before, modulo 2^64
    bool hasNegative_ = false;
};

#if QV_DEVIATION_LANES

/// Two differences of totals, each below 2^52: such a number is the fraction of a double of that magnitude.
__m128d twoColumnSums(const std::uint64_t* totals, long L) {
    const __m128i sums = _mm_sub_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(totals + L)),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(totals)));
    const __m128i exponent = _mm_set1_epi64x(0x4330000000000000);
    return _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(sums, exponent)), _mm_set1_pd(4503599627370496.0));
}

__m128 asFloats(__m128d first, __m128d last) { return _mm_movelh_ps(_mm_cvtpd_ps(first), _mm_cvtpd_ps(last)); }

/// Four pels by floats. Returns one bit for each that floats cannot decide.
int storeFourPels(const qv_DeviationFactors& factors, const double* rowSums, const std::uint64_t* totals, long L,
                  unsigned char* pels) {
    const __m128 rows = asFloats(_mm_loadu_pd(rowSums), _mm_loadu_pd(rowSums + 2));
    const __m128 columns = asFloats(twoColumnSums(totals, L), twoColumnSums(totals + 2, L));
    const __m128 scaled = _mm_add_ps(_mm_mul_ps(_mm_set1_ps(static_cast<float>(factors.row)), _mm_sqrt_ps(rows)),
                                     _mm_mul_ps(_mm_set1_ps(static_cast<float>(factors.column)), _mm_sqrt_ps(columns)));
    const __m128 atMost = _mm_min_ps(scaled, _mm_set1_ps(kSurelyMost));
    const __m128i cut = _mm_cvttps_epi32(atMost);
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(cut, cut), cut);
    const std::int32_t four = _mm_cvtsi128_si32(bytes);
    std::memcpy(pels, &four, sizeof four);
    const __m128 nearest = _mm_cvtepi32_ps(_mm_cvttps_epi32(_mm_add_ps(atMost, _mm_set1_ps(0.5f))));
    const __m128 distance = _mm_andnot_ps(_mm_set1_ps(-0.0f), _mm_sub_ps(atMost, nearest));
    const __m128 isNear = _mm_cmplt_ps(distance, _mm_set1_ps(kFloatDoubt));
    return _mm_movemask_ps(_mm_and_ps(isNear, _mm_cmpgt_ps(atMost, _mm_setzero_ps())));
}

#endif

/// Fills one row of positions from the two sums, and appends the positions where the result is in doubt.
void combineSums(const qv_DeviationFactors& factors, const double* rowSums, const std::uint64_t* totals, long L,
                 long positions, unsigned char* deviations, std::vector<long>& doubtful) {
    const auto inDoubles = [&](long x) {
        const double scaled = factors.row * std::sqrt(rowSums[x]) +
                              factors.column * std::sqrt(static_cast<double>(totals[x + L] - totals[x]));
        if (qf_storePel(scaled, deviations[x])) doubtful.push_back(x);
    };
    long x = 0;
#if QV_DEVIATION_LANES
    for (; x + 4 <= positions; x += 4) {
        const int undecided = storeFourPels(factors, rowSums + x, totals + x, L, deviations + x);
        if (undecided == 0) continue;
        for (int lane = 0; lane < 4; ++lane)
            if ((undecided >> lane & 1) != 0) inDoubles(x + lane);
    }
#endif
    for (; x < positions; ++x) inDoubles(x);
}

/// Whether all sums stay exact.
bool sumsAreExact(const Task& task) {
    return task.S > 0 && task.scale > 0 && task.L <= kMostWidth && task.L <= kMostPels / task.S;
}

/// All rows of positions by way of the running sums.
void slideBySums(const Task& task, const qvPelBuffer<unsigned char>& deviations) {
    RowNumerators rows(task);
    ColumnRadicands columns(task);
    const qv_DeviationFactors factors(task);
    std::vector<long> doubtful;
    for (long imageY = 0; imageY < task.image.height(); ++imageY) {
        rows.enter(imageY);
        columns.enter(imageY);
        const long y = imageY - task.S + 1;
        if (y < 0) continue;
        columns.form();
        unsigned char* const pels = deviations.pointToRow(y);
        if (rows.hasNegative() || columns.hasNegative()) {
            qf_slideLiterally(task, y, pels);
            continue;
        }
        doubtful.clear();
        combineSums(factors, rows.sums(), columns.totals(), task.L, task.positions, pels, doubtful);
        if (qf_isMostlyDoubtful(doubtful.size(), task.positions)) {
            qf_slideLiterally(task, y, pels);
            continue;
        }
        for (const long x : doubtful) pels[x] = qf_literalPel(task, columns.deviations(x), x, y);
    }
}

}  // namespace

void qf_slidingDeviation(const Image& image, long L, long S, std::int32_t scale, double rowWeight,
                         const qvPelBuffer<unsigned char>& deviations) {
    const Task task = {image, L, S, scale, rowWeight, 1.0 - rowWeight, deviations.width()};
    if (qf_isSmallWindow(task)) {
        qf_slideSmallWindow(task, deviations);
        return;
    }
    if (sumsAreExact(task)) {
        slideBySums(task, deviations);
        return;
    }
    for (long y = 0; y < deviations.height(); ++y) qf_slideLiterally(task, y, deviations.pointToRow(y));
}
