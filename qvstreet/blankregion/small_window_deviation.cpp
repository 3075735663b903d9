// In a window of at most 128 by 128 pels all is exact in 32 bits: L * (sum of squares) of a row and S * (sum of squares)
// of a column stay below 2^30, the squares of their sums as well. So nothing depends on how a number wraps, and
//
//     sum of the row numerators     L * Q - (sum over the rows of the square of the row's box)
//     sum of the column radicands   S * Q - (sum over the columns of the square of the column's sum)
//
// hold exactly, with Q the sum of the squares of all pels of the window. Both are the same whichever grey level counts as
// 0. Each image row costs its boxes of L pels and what they and its pels change in the sums; what depends on whole
// windows is formed for rows of positions only.
//
// Floats decide about most pels, doubles about those that floats leave in doubt, the literal form about the rest.
#include "qvstreet/blankregion/small_window_deviation.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "qvstreet/blankregion/deviation_kernels.h"
#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/platform/aligned_memory.h"

namespace {

// Vectors of 64 bytes that straddle two cache lines cost two accesses.
constexpr std::size_t kCacheLine = 64;

/// Starts at a cache line.
template <class T>
using Row = std::vector<T, qv_CacheLineAllocator<T>>;

// The total before the first column stands at the end of a line, so that those after it start at one.
constexpr std::size_t kBeforeTotals = kCacheLine / sizeof(std::uint64_t) - 1;

/// `count` elements of T, and what is lacking to whole cache lines.
template <class T>
std::size_t wholeLines(std::size_t count) {
    constexpr std::size_t kOfLine = kCacheLine / sizeof(T);
    return (count + kOfLine - 1) / kOfLine * kOfLine;
}

/// All running sums, and the boxes of the rows in the window.
class SmallWindow {
 public:
    explicit SmallWindow(const qv_DeviationTask& task)
        : task_(task),
          kernels_(QV_CHOSEN_KERNELS(deviationKernels)),
          width_(static_cast<std::size_t>(task.image.width())),
          positions_(static_cast<std::size_t>(task.positions)),
          factors_(task),
          blank_(width_, static_cast<unsigned char>(kKernelMiddle)),
          first_(width_ + 1, 0),
          second_(width_ + 1, 0),
          boxStep_(wholeLines<std::int16_t>(positions_)),
          high_(positions_, 0),
          low_(positions_, 0),
          columnSums_(width_, 0),
          columnSquares_(width_, 0),
          totals_(kBeforeTotals + 1 + width_, 0),
          isDoubtful_(positions_, 0) {
        boxes_.reserve(boxStep_ * static_cast<std::size_t>(task.S));
    }

    /// Takes image row `y` in and the row S above it out. Above the image lie pels that count as 0.
    void enter(long y) {
        const unsigned char* const entering = task_.image.pointToRow(y);
        // The boxes of such pels, one row at a time, so that the next loop finds them in the first cache.
        if (y < task_.S) boxes_.resize(boxes_.size() + boxStep_, 0);
        const unsigned char* const leaving = y < task_.S ? blank_.data() : task_.image.pointToRow(y - task_.S);
        kernels_.exchangePels(entering, leaving, columnSums_.data(), columnSquares_.data(), task_.image.width());
        const std::int16_t* const boxes =
            kernels_.rowBoxes(entering, task_.image.width(), task_.L, first_.data(), second_.data());
        kernels_.exchangeBoxes(boxes, boxes_.data() + static_cast<std::size_t>(y % task_.S) * boxStep_, high_.data(),
                               low_.data(), task_.positions);
        if (y % kCarryEvery == kCarryEvery - 1) kernels_.carryBoxes(high_.data(), low_.data(), task_.positions);
    }

    /// Stores row `y` of positions, the last row of whose windows was the last to enter.
    void store(long y, unsigned char* pels) {
        kernels_.columnTotals(columnSums_.data(), columnSquares_.data(), task_.S, totals() + 1, task_.image.width());
        kernels_.storeRow(high_.data(), low_.data(), totals(), task_.L, static_cast<float>(factors_.row),
                          static_cast<float>(factors_.column), pels, isDoubtful_.data(), task_.positions);
        decideByDoubles(pels);
        if (qf_isMostlyDoubtful(doubtful_.size(), task_.positions)) {
            qf_slideLiterally(task_, y, pels);
            return;
        }
        for (const std::size_t x : doubtful_)
            pels[x] = qf_literalPel(task_, columnDeviations(x), static_cast<long>(x), y);
    }

 private:
    std::uint64_t* totals() { return totals_.data() + kBeforeTotals; }

    /// Looks at the positions that floats leave in doubt, and collects those that doubles do.
    void decideByDoubles(unsigned char* pels) {
        doubtful_.clear();
        std::size_t x = 0;
        for (; x + sizeof(std::uint64_t) <= positions_; x += sizeof(std::uint64_t)) {
            std::uint64_t some;
            std::memcpy(&some, isDoubtful_.data() + x, sizeof some);
            if (some == 0) continue;
            for (std::size_t at = x; at < x + sizeof some; ++at) decideByDoubles(at, pels);
        }
        for (; x < positions_; ++x) decideByDoubles(x, pels);
    }

    void decideByDoubles(std::size_t x, unsigned char* pels) {
        if (isDoubtful_[x] == 0) return;
        const std::uint64_t window = totals()[x + static_cast<std::size_t>(task_.L)] - totals()[x];
        const std::uint64_t columns = window & ((std::uint64_t{1} << kRadicandBits) - 1);
        const auto squares = static_cast<std::uint32_t>(window >> kRadicandBits);
        const auto length = static_cast<std::uint32_t>(task_.L);
        const std::int64_t rowsHigh = qf_signed32(length * (squares >> kLowBits) - high_[x]);
        const std::int64_t rowsLow = qf_signed32(length * (squares & kLowMask) - low_[x]);
        const std::int64_t rows = (std::int64_t{1} << kLowBits) * rowsHigh + rowsLow;
        const double scaled = factors_.row * std::sqrt(static_cast<double>(rows)) +
                              factors_.column * std::sqrt(static_cast<double>(columns));
        if (qf_storePel(scaled, pels[x])) doubtful_.push_back(x);
    }

    /// Of the columns of the window at `x`, column c at c modulo L.
    std::vector<double> columnDeviations(std::size_t x) const {
        const auto L = static_cast<std::size_t>(task_.L);
        std::vector<double> result(L);
        for (std::size_t c = x; c < x + L; ++c) {
            const std::int64_t sum = columnSums_[c];
            const std::int64_t radicand = task_.S * std::int64_t{columnSquares_[c]} - sum * sum;
            result[c % L] = std::sqrt(static_cast<double>(radicand)) / static_cast<double>(task_.S);
        }
        return result;
    }

    const qv_DeviationTask& task_;
    const qv_DeviationKernels& kernels_;
    std::size_t width_;
    std::size_t positions_;
    qv_DeviationFactors factors_;
    Row<unsigned char> blank_;
    Row<std::int16_t> first_;
    Row<std::int16_t> second_;
    std::size_t boxStep_;
    Row<std::int16_t> boxes_;  // one row of positions for each row of the window, image row y at y modulo S
    Row<std::uint32_t> high_;
    Row<std::uint16_t> low_;
    Row<std::int16_t> columnSums_;
    Row<std::int32_t> columnSquares_;
    Row<std::uint64_t> totals_;
    Row<unsigned char> isDoubtful_;
    std::vector<std::size_t> doubtful_;
};

}  // namespace

bool qf_isSmallWindow(const qv_DeviationTask& task) {
    return task.scale > 0 && task.S > 0 && task.S <= kKernelWindow && task.L <= kKernelWindow;
}

void qf_slideSmallWindow(const qv_DeviationTask& task, const qvPelBuffer<unsigned char>& deviations) {
    SmallWindow window(task);
    for (long imageY = 0; imageY < task.image.height(); ++imageY) {
        window.enter(imageY);
        const long y = imageY - task.S + 1;
        if (y >= 0) window.store(y, deviations.pointToRow(y));
    }
}
