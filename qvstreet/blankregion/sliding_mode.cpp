// Each image column keeps the smoothed histogram of its S pels in the present row of windows; going down a row exchanges
// one pel in each. The smoothed histogram of a window is the sum of those of its columns, so a step along the row adds
// the entering column and takes the leaving one; the mode is the first level with the largest sum.
//
// The image is treated in tiles, some columns wide and as high as it is, whose column histograms stay close to the
// processor. Counts are as narrow as the window allows, since narrow ones are treated many at a time. Windows that no
// width of count suits, and those whose column histograms would take up too much memory, go step by step through the
// pels.
#include "qvstreet/blankregion/sliding_mode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "qvstreet/blankregion/mode_kernels.h"
#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

// Beyond this the memory for column histograms is no fair price for speed.
constexpr std::size_t kMostHistogramBytes = std::size_t{1} << 26;

// Positions of a tile. With byte counts and usual windows its histograms take less than half a MiB; fewer positions, or
// fewer than a few windows, and too many columns belong to two tiles.
constexpr long kLeastTilePositions = 1024;
constexpr long kTileWindows = 4;

/// The size of everything.
struct Task {
    Image image;
    long L;
    long S;
    long columns;  // positions across
    long rows;     // positions down

    long tilePositions() const { return std::min(columns, std::max(kLeastTilePositions, kTileWindows * L)); }
    std::size_t tileColumns() const { return static_cast<std::size_t>(tilePositions() + L - 1); }
};

/// The kernels for one size of counts.
template <typename Count>
struct CountKernels {
    void (*exchangePels)(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t count, Count* columns);
    void (*modes)(const Count* columns, std::size_t width, std::size_t positions, std::uint8_t* modes);
};

/// The modes at `positions` positions from `left` on, in all rows. `histograms` are those of the tile's columns, all 0.
template <typename Count>
void slideAcrossTile(const Task& task, const CountKernels<Count>& kernels, long left, long positions, Count* histograms,
                     const qvPelBuffer<unsigned char>& modes) {
    const auto width = static_cast<std::size_t>(task.L);
    const auto columns = static_cast<std::size_t>(positions + task.L - 1);
    for (long imageY = 0; imageY < task.rows + task.S - 1; ++imageY) {
        const bool isFull = imageY >= task.S;
        kernels.exchangePels(task.image.pointToRow(imageY) + left,
                             isFull ? task.image.pointToRow(imageY - task.S) + left : nullptr, columns, histograms);
        const long y = imageY - task.S + 1;
        if (y >= 0) kernels.modes(histograms, width, static_cast<std::size_t>(positions), modes.pointToRow(y) + left);
    }
}

/// All modes by way of the column histograms.
template <typename Count>
void slideByColumns(const Task& task, const CountKernels<Count>& kernels, const qvPelBuffer<unsigned char>& modes) {
    std::vector<Count> histograms(task.tileColumns() * kColumnLevels);
    for (long left = 0; left < task.columns; left += task.tilePositions()) {
        std::fill(histograms.begin(), histograms.end(), Count{0});
        const long positions = std::min(task.tilePositions(), task.columns - left);
        slideAcrossTile(task, kernels, left, positions, histograms.data(), modes);
    }
}

/// One row of modes through the pels: a histogram of the first window, then two counts per window row and step.
void slideThroughPels(const Task& task, long y, unsigned char* modes) {
    std::vector<unsigned long> histogram(kColumnLevels, 0);
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

/// Whether twice the pels of a column fit into Count and twice those of a window into Sum, which is what a level and its
/// neighbours come to at most, and all histograms into the memory for them.
template <typename Count, typename Sum>
bool holds(const Task& task) {
    return task.S <= std::numeric_limits<Count>::max() / 2 && task.L <= std::numeric_limits<Sum>::max() / 2 / task.S &&
           task.tileColumns() <= kMostHistogramBytes / kColumnLevels / sizeof(Count);
}

}  // namespace

void qf_slidingMode(const Image& image, long L, long S, long columns, const qvPelBuffer<unsigned char>& modes) {
    const Task task = {image, L, S, columns, modes.height()};
    const qv_ModeKernels& kernels = QV_CHOSEN_KERNELS(modeKernels);
    const bool hasPels = S > 0;
    if (hasPels && holds<std::uint8_t, std::uint16_t>(task)) {
        slideByColumns<std::uint8_t>(task, {kernels.exchangePelsInBytes, kernels.modesOfBytes}, modes);
    } else if (hasPels && holds<std::uint16_t, std::int32_t>(task)) {
        slideByColumns<std::uint16_t>(task, {kernels.exchangePelsInWords, kernels.modesOfWords}, modes);
    } else {
        for (long y = 0; y < task.rows; ++y) slideThroughPels(task, y, modes.pointToRow(y));
    }
}
