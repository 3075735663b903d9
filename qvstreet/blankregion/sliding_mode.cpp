// Each image column keeps a histogram of its S pels in the present row of windows; going down a row exchanges two counts
// in each. A step along the row adds the histogram of the entering column to the window's and takes that of the leaving
// one from it. The 256 bins are treated in blocks of 16:
//
//     blocks of a column      those with any pel in the column; no other block of the window changes with it
//     peaks of the window     the largest smoothed count of each block, formed again for changed blocks and, because
//                             smoothing looks one bin to either side, for their neighbours
//
// The mode is the first level that has the largest peak, in the first block that has it.
//
// Counts are as narrow as the window allows, since narrow ones are treated many at a time. Windows that no width of
// count suits, and images whose column histograms would take up too much memory, go step by step through the pels.
#include "qvstreet/blankregion/sliding_mode.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/blankregion/window_histogram.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

// Beyond this the memory for column histograms is no fair price for speed.
constexpr std::size_t kMostHistogramBytes = std::size_t{1} << 26;

/// The size of everything.
struct Task {
    Image image;
    long L;
    long S;
    long columns;  // positions across
    long rows;     // positions down

    std::size_t usedImageColumns() const { return static_cast<std::size_t>(columns + L - 1); }
};

/// The histograms of the image columns over the rows of the present windows. Count holds S.
template <typename Count>
class ColumnHistograms {
 public:
    explicit ColumnHistograms(const Task& task)
        : task_(task),
          bins_(task.usedImageColumns() * kGreyLevels, 0),
          pelsInBlock_(task.usedImageColumns() * kBlocks, 0),
          blocks_(task.usedImageColumns(), 0) {}

    /// Takes image row `y` in and the row S above it out.
    void enter(long y) {
        const unsigned char* const entering = task_.image.pointToRow(y);
        const unsigned char* const leaving = y < task_.S ? nullptr : task_.image.pointToRow(y - task_.S);
        for (std::size_t c = 0; c < blocks_.size(); ++c) {
            if (leaving != nullptr) {
                if (leaving[c] == entering[c]) continue;
                --bins_[c * kGreyLevels + leaving[c]];
                const std::size_t block = leaving[c] / kBlockBins;
                if (--pelsInBlock_[c * kBlocks + block] == 0) blocks_[c] &= ~(1u << block);
            }
            ++bins_[c * kGreyLevels + entering[c]];
            const std::size_t block = entering[c] / kBlockBins;
            ++pelsInBlock_[c * kBlocks + block];
            blocks_[c] |= 1u << block;
        }
    }

    const Count* bins(std::size_t column) const { return bins_.data() + column * kGreyLevels; }
    /// One bit for each block that has pels.
    std::uint32_t blocks(std::size_t column) const { return blocks_[column]; }

 private:
    const Task& task_;
    std::vector<Count> bins_;
    std::vector<Count> pelsInBlock_;
    std::vector<std::uint32_t> blocks_;
};

/// All modes by way of the column histograms.
template <typename Count, typename Window>
void slideByColumns(const Task& task, const qvPelBuffer<unsigned char>& modes) {
    ColumnHistograms<Count> columns(task);
    const auto L = static_cast<std::size_t>(task.L);
    for (long imageY = 0; imageY < task.rows + task.S - 1; ++imageY) {
        columns.enter(imageY);
        const long y = imageY - task.S + 1;
        if (y < 0) continue;
        Window window;
        for (std::size_t c = 0; c < L; ++c) window.add(columns.bins(c));
        window.sumUpAll();
        unsigned char* const row = modes.pointToRow(y);
        row[0] = window.mode();
        for (std::size_t x = 1; x < static_cast<std::size_t>(task.columns); ++x) {
            const std::size_t entering = x + L - 1;
            window.exchange(columns.bins(entering), columns.bins(x - 1),
                            columns.blocks(entering) | columns.blocks(x - 1));
            row[x] = window.mode();
        }
    }
}

/// One row of modes through the pels: a histogram of the first window, then two counts per window row and step.
void slideThroughPels(const Task& task, long y, unsigned char* modes) {
    std::vector<unsigned long> histogram(kGreyLevels, 0);
    if (task.S > 0) {
        Image first = task.image;
        qf_SetSubWindow(first, 0, y, task.L, task.S);
        qfPelHistogram(first, histogram);
    }
    modes[0] = smoothedHistogramMode(histogram);
    for (long x = 1; x < task.columns; ++x) {
        for (long r = 0; r < task.S; ++r) {
            --histogram[*task.image.pointToPel(x - 1, y + r)];
            ++histogram[*task.image.pointToPel(x + task.L - 1, y + r)];
        }
        modes[x] = smoothedHistogramMode(histogram);
    }
}

/// Whether twice the pels of a window fit into Sum, which is what a level and its neighbours come to at most.
template <typename Sum>
bool holdsSums(const Task& task) {
    return task.L <= std::numeric_limits<Sum>::max() / 2 / task.S;
}

/// Whether a column's pels fit into Count, and all histograms into the memory for them.
template <typename Count>
bool holdsColumns(const Task& task) {
    return task.S <= std::numeric_limits<Count>::max() &&
           task.usedImageColumns() <= kMostHistogramBytes / kGreyLevels / sizeof(Count);
}

}  // namespace

void qf_slidingMode(const Image& image, long L, long S, long columns, const qvPelBuffer<unsigned char>& modes) {
    const Task task = {image, L, S, columns, modes.height()};
    const bool hasPels = S > 0;
    if (hasPels && holdsColumns<std::uint8_t>(task) && holdsSums<std::int16_t>(task)) {
        slideByColumns<std::uint8_t, qv_NarrowWindowHistogram>(task, modes);
    } else if (hasPels && holdsColumns<std::uint8_t>(task) && holdsSums<std::int32_t>(task)) {
        slideByColumns<std::uint8_t, qv_WindowHistogram<std::int32_t>>(task, modes);
    } else if (hasPels && holdsColumns<std::uint16_t>(task) && holdsSums<std::int32_t>(task)) {
        slideByColumns<std::uint16_t, qv_WindowHistogram<std::int32_t>>(task, modes);
    } else {
        for (long y = 0; y < task.rows; ++y) slideThroughPels(task, y, modes.pointToRow(y));
    }
}
