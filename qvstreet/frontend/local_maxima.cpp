// Local maxima of an image.
//
// In:  a response, and the threshold that a maximum reaches at least.
// Out: the maxima in image coordinates, strongest first.
//
// The scan runs row by row, each from left to right. Of a pel's neighbours
//
//     < < <        those before it in this order must be less than the pel,
//     < c <=       those behind it may be equal,
//     <= <= <=
//
// so that of a plateau its first pel is a maximum. (One shaped like a V has a first pel at each of its tips.)
#include "qvstreet/frontend/local_maxima.h"

#include <algorithm>

#include "qvstreet/platform/pel_ops.h"

namespace {

// Without two neighbours in both axes there is nothing that a maximum could stand out from.
constexpr long kSmallestSide = 3;

/// Whether the pel, known to reach the threshold, stands out from the neighbours that it has.
bool isMaximum(const qvPelBuffer_const<double>& image, long x, long y) {
    const double c = *image.pointToPel(x, y);
    for (long row = std::max(y - 1, 0L); row <= std::min(y + 1, image.height() - 1); ++row) {
        const double* const pels = image.pointToRow(row);
        for (long column = std::max(x - 1, 0L); column <= std::min(x + 1, image.width() - 1); ++column) {
            if (row == y && column == x) continue;
            const bool comesBefore = row < y || (row == y && column < x);
            const bool standsOut = comesBefore ? pels[column] < c : pels[column] <= c;
            if (!standsOut) return false;
        }
    }
    return true;
}

/// A copy with a rim of zeros, one pel wide, whose pels keep their image coordinates.
qvPelBuffer<double> withRim(const qvPelBuffer_const<double>& image) {
    qvPelBuffer<double> copy(image.width() + 2, image.height() + 2, 32);
    qfPelSet(copy, 0.0);
    for (long y = 0; y < image.height(); ++y)
        std::copy_n(image.pointToRow(y), static_cast<std::size_t>(image.width()), copy.pointToPel(1, y + 1));
    copy.offset(image.offset().first - 1, image.offset().second - 1);
    return copy;
}

}  // namespace

std::vector<qvPeak<double>> findLocalMaxima(const qvPelBuffer_const<double>& image, double threshold) {
    std::vector<qvPeak<double>> peaks;
    if (image.width() == 0 || image.height() == 0) return peaks;
    const bool small = image.width() < kSmallestSide || image.height() < kSmallestSide;
    // deliberate: the rim is searched like the image; pinned by LocalMaxima.RimOfASmallImageIsSearchedToo
    const qvPelBuffer_const<double> searched = small ? qvPelBuffer_const<double>(withRim(image)) : image;

    const qvPair<long> offset = searched.offset();
    for (long y = 0; y < searched.height(); ++y) {
        const double* const row = searched.pointToRow(y);
        for (long x = 0; x < searched.width(); ++x) {
            if (!(row[x] >= threshold) || !isMaximum(searched, x, y)) continue;
            peaks.push_back({qvPair<long>(offset.first + x, offset.second + y), row[x]});
        }
    }
    std::stable_sort(peaks.begin(), peaks.end());
    // deliberate: equal values end up in the reverse of their order; pinned by
    // LocalMaxima.EqualValuesComeInReverseOrder
    std::reverse(peaks.begin(), peaks.end());
    return peaks;
}
