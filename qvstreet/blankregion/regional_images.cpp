#include "qvstreet/blankregion/regional_images.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "qvstreet/blankregion/sliding_deviation.h"
#include "qvstreet/blankregion/sliding_mode.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

constexpr std::size_t kGreyLevels = 256;
constexpr long kAlignment = 32;
constexpr long kMostStored = 255;

std::uint32_t square(std::uint32_t value) { return value * value; }

double wrapped(std::uint32_t bits) { return static_cast<double>(qf_signed32(bits)); }

void requireWindow(const Image& image, long L, long S) {
    if (!image.isBound()) throw qvPel::UnboundWindow(L"the image has no pels");
    if (L < 1 || S < 0) throw qvPel::BadSize(L"the analysis window has no size that a window can have");
}

bool liesInside(const Image& image, const qvPelRect& rect) {
    if (rect.width() == 0 || rect.height() == 0) return true;
    return rect.ul().first >= 0 && rect.ul().second >= 0 && rect.width() > 0 && rect.height() > 0 &&
           rect.lr().first <= image.width() && rect.lr().second <= image.height();
}

/// How many columns of modes the foreground image looks at.
// deliberate: it stops short of the last columns, and a narrow image stays at the first; pinned by
// ForegroundImage.ModeColumnStaysStaleInTheLastPartOfTheRow
long modeColumns(long positions, long halfL) { return std::max(positions - 2 * halfL - 1, 1L); }

}  // namespace

unsigned char qf_deviationPel(double deviation, std::int32_t scale) {
    if (!std::isfinite(deviation)) return kMostStored;
    return static_cast<unsigned char>(std::min(qfTruncate(scale * deviation), kMostStored));
}

unsigned char smoothedHistogramMode(const std::vector<unsigned long>& histogram) {
    qf_assert(histogram.size() == kGreyLevels, L"a histogram of grey levels has 256 counts");
    const auto count = [&histogram](std::size_t level) { return static_cast<std::uint32_t>(histogram[level]); };
    std::size_t mode = kGreyLevels - 1;
    std::uint32_t most = 0;
    for (std::size_t level = 1; level + 1 < kGreyLevels; ++level) {
        const std::uint32_t sum = count(level - 1) + 2 * count(level) + count(level + 1);
        if (sum <= most) continue;
        most = sum;
        mode = level;
    }
    return static_cast<unsigned char>(mode);
}

void computeForegroundImage(const Image& image, long L, long S, qvPelBuffer<unsigned char>& result) {
    requireWindow(image, L, S);
    const long halfL = L / 2;
    qvPelBuffer<unsigned char> foreground(image.width(), image.height(), kAlignment);
    foreground.offset(image.offset());
    const long positionsDown = image.height() - S + 1;
    // The size of all positions decides whether there are any.
    const long columns = modeColumns(qvPelBuffer<unsigned char>(image.width() - L + 1, 1, kAlignment).width(), halfL);
    const qvPelBuffer<unsigned char> modes(columns, positionsDown, kAlignment);
    qf_slidingMode(image, L, S, columns, modes);

    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* const pels = image.pointToRow(y);
        const unsigned char* const rowModes = modes.pointToRow(std::clamp(y - S / 2, 0L, positionsDown - 1));
        unsigned char* const distances = foreground.pointToRow(y);
        for (long x = 0; x < image.width(); ++x)
            distances[x] =
                static_cast<unsigned char>(std::abs(pels[x] - rowModes[std::clamp(x - halfL, 0L, columns - 1)]));
    }
    result = foreground;
}

double combineDeviation(const std::vector<double>& columnDeviations, const std::vector<std::uint32_t>& rowSums,
                        const std::vector<std::uint32_t>& rowSquareSums, double rowWeight, double columnWeight) {
    qf_assert(rowSums.size() == rowSquareSums.size(), L"as many sums of squares as sums");
    const auto l = static_cast<std::uint32_t>(columnDeviations.size());
    // deliberate: the square of the width wraps as well; pinned by CombineDeviation.SquareOfTheWidthWraps
    const double widthSquare = wrapped(square(l));
    double rowTerm = 0.0;
    for (std::size_t row = 0; row < rowSums.size(); ++row)
        rowTerm += wrapped(l * rowSquareSums[row] - square(rowSums[row])) / widthSquare;
    double columnTerm = 0.0;
    for (const double deviation : columnDeviations) columnTerm += deviation * deviation;
    return rowWeight * std::sqrt(rowTerm / static_cast<double>(rowSums.size())) +
           columnWeight * std::sqrt(columnTerm / static_cast<double>(columnDeviations.size()));
}

double windowDeviation(const Image& image, const qvPelRect& rect, std::vector<double>& columnDeviations,
                       std::vector<std::uint32_t>& rowSums, std::vector<std::uint32_t>& rowSquareSums, double rowWeight,
                       double columnWeight) {
    qf_assert(liesInside(image, rect), L"a rectangle inside the image");
    qf_assert(static_cast<long>(columnDeviations.size()) == rect.width() &&
                  static_cast<long>(rowSums.size()) == rect.height() &&
                  static_cast<long>(rowSquareSums.size()) == rect.height(),
              L"vectors of the rectangle's size");
    const auto h = static_cast<double>(rect.height());
    for (long c = 0; c < rect.width(); ++c) {
        std::uint32_t sum = 0;
        std::uint32_t squareSum = 0;
        for (long r = 0; r < rect.height(); ++r) {
            const std::uint32_t pel = *image.pointToPel(rect.ul().first + c, rect.ul().second + r);
            rowSums[static_cast<std::size_t>(r)] += pel;
            rowSquareSums[static_cast<std::size_t>(r)] += square(pel);
            sum += pel;
            squareSum += square(pel);
        }
        // deliberate: only the square of the sum wraps, the product does not; pinned by
        // WindowDeviation.SquareOfTheColumnSumWrapsAlone
        columnDeviations[static_cast<std::size_t>(c)] = std::sqrt(h * wrapped(squareSum) - wrapped(square(sum))) / h;
    }
    return combineDeviation(columnDeviations, rowSums, rowSquareSums, rowWeight, columnWeight);
}

void computeRegionalDeviationImage(const Image& image, long L, long S, qvPelBuffer<unsigned char>& result,
                                   std::int32_t scale, double rowWeight) {
    requireWindow(image, L, S);
    qf_assert(rowWeight <= 1.0 && 1.0 - rowWeight <= 1.0, L"a row weight from 0 to 1");
    const qvPelBuffer<unsigned char> deviations(image.width() - L + 1, image.height() - S + 1, kAlignment);
    qf_slidingDeviation(image, L, S, scale, rowWeight, deviations);
    result = deviations;
}
