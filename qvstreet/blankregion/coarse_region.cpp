// Coarse blank region.
//
// In:  the regional deviation image (window positions; grey level = 10 times the deviation), the quiet threshold.
// Out: a rectangle of window positions, counted from the upper left pel.
//
//                     start            n columns
//                       |<--------------------------------->|
//     row above    . . .#. . . . . . . . . . . . . . . . .##. . .      # above the growth threshold
//     top          -----+---------------------------------+-----
//     middle row   ##   |   the longest quiet run         |  ##
//     bottom       -----+---------------------------------+-----
//     row below    . . .##. . . . . . . . . . . . . . . . . . . .
//                       -> leftLoss            rightLoss <-
//
// The rectangle takes in the row above and the row below together, or neither. What is loud in them is cut off at that
// end of the run which is nearer; if that costs a tenth of the run or more, the growth is over.
#include "qvstreet/blankregion/coarse_region.h"

#include <algorithm>

namespace {

/// The quiet threshold is at least so many deviation steps, and at least so many times the lowest pel.
constexpr double kThresholdFloorFactor = 2.2;
constexpr double kThresholdMinimumFactor = 2.0;
/// Likewise for the growth threshold, which follows the lowest pel of the run.
constexpr double kGrowthMinimumFactor = 2.0;
constexpr double kHighestLevel = 255.0;
/// A pass of the growth may cost less than one in so many columns.
constexpr long kGrowthLossDivisor = 10;

/// Columns [start, start + length) of one row.
struct Run {
    long start = 0;
    long length = 0;
};

/// Columns that would have to go at the two ends of a run.
struct Loss {
    long left = 0;
    long right = 0;
};

/// Of equally long runs the leftmost.
Run longestQuietRun(const unsigned char* row, long width, unsigned char threshold) {
    Run best;
    Run current;
    // The stop position takes part like a loud pel: it ends a run that reaches the border.
    for (long x = 0; x <= width; ++x) {
        if (x < width && row[x] <= threshold) {
            ++current.length;
            continue;
        }
        if (current.length > best.length) best = current;
        current = {x + 1, 0};
    }
    return best;
}

/// A height that lies about the middle row as the image does: both odd or both even, unless the image is lower.
long fittedHeight(long wantedHeight, long imageHeight) {
    // The difference may be negative, and so is its remainder then.
    if ((wantedHeight - imageHeight) % 2 != 0) ++wantedHeight;
    return std::min(wantedHeight, imageHeight);
}

unsigned char growthThreshold(const unsigned char* middleRow, const Run& run, unsigned char threshold) {
    const double lowest = *std::min_element(middleRow + run.start, middleRow + run.start + run.length);
    const double raised = std::max(static_cast<double>(threshold), kGrowthMinimumFactor * lowest);
    return static_cast<unsigned char>(std::min(raised, kHighestLevel));
}

/// What the loud pels of one row would cost the run.
Loss lossOfRow(const unsigned char* row, const Run& run, unsigned char threshold) {
    const long n = run.length;
    long leftCut = -1;
    long rightCut = n;
    // deliberate: a loud pel at the very middle, n / 2, costs nothing; pinned by
    // CoarseRegion.LoudPelAtTheExactMiddleOfTheRunCountsOnNeitherSide
    for (long c = 0; c < n; ++c) {
        if (row[run.start + c] <= threshold) continue;
        if (c < n / 2 && c > leftCut)
            leftCut = c;
        else if (c > n / 2 && c < rightCut)
            rightCut = c;
    }
    return {leftCut + 1, n - rightCut};
}

}  // namespace

unsigned char quietThreshold(unsigned char lowest) {
    const double threshold =
        std::max(kThresholdMinimumFactor * lowest, kThresholdFloorFactor * static_cast<double>(kDeviationScale));
    // deliberate: kept in 8 bits, so it wraps for a loud image; pinned by CoarseRegion.ThresholdWrapsAboveALowestOf127
    return static_cast<unsigned char>(static_cast<unsigned int>(threshold) & 0xFFu);
}

qvPelRect findCoarseRegion(const qvPelBuffer_const<unsigned char>& image, unsigned char threshold, long wantedHeight) {
    const long imageHeight = image.height();
    const long middle = imageHeight / 2;
    const long height = fittedHeight(wantedHeight, imageHeight);

    Run run = longestQuietRun(image.pointToRow(middle), image.width(), threshold);
    if (run.length == 0) return qvPelRect();

    long top = middle - height / 2;
    long bottom = middle + height / 2;
    if (height % 2 == 0) --bottom;

    const unsigned char growth = growthThreshold(image.pointToRow(middle), run, threshold);
    for (;;) {
        const long above = top - 1;
        const long below = bottom + 1;
        // The rectangle lies evenly about the image's middle, so it meets both borders in the same pass.
        if (above < 0 || above >= imageHeight || below < 0 || below >= imageHeight) break;
        const Loss lossAbove = lossOfRow(image.pointToRow(above), run, growth);
        const Loss lossBelow = lossOfRow(image.pointToRow(below), run, growth);
        const Loss loss = {std::max(lossAbove.left, lossBelow.left), std::max(lossAbove.right, lossBelow.right)};
        if (loss.left + loss.right >= run.length / kGrowthLossDivisor) break;
        run = {run.start + loss.left, run.length - loss.left - loss.right};
        top = above;
        bottom = below;
    }
    return qvPelRect(run.start, top, run.length, bottom - top + 1);
}
