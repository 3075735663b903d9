// Scores of a blank region.
//
// In:  the image, a region in pels counted from the window's upper left pel, the run parameters.
// Out: a blankness of 0 to 1, and the score by which regions are ranked.
#include "qvstreet/blankregion/region_scores.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

/// Deviations in grey levels: a clean region has up to the first, a dirty one the second or more.
constexpr double kCleanDeviation = 2.0;
constexpr double kDirtyDeviation = 6.0;

/// What a region of the least area loses by its size.
constexpr double kSizeFactorCoefficient = 0.9;

/// Product of two 32-bit numbers as a signed 32-bit number.
std::int32_t product32(long a, long b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The mean grey level of the part of the image, 0 for one that is not inside it or has a side of 0 or less.
double meanGrey(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& rect, double area) {
    qvPelBuffer_const<unsigned char> part = image;
    part.offset(0, 0);
    part.window(rect, false);
    std::vector<unsigned long> counts(256, 0);
    qfPelHistogram(part, counts);
    double sum = 0.0;
    for (std::size_t level = 0; level < counts.size(); ++level)
        sum += static_cast<double>(level) * static_cast<double>(counts[level]);
    return sum / area;
}

}  // namespace

double computeBlanknessScore(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& rect, double rowWeight) {
    std::vector<double> columnDeviations(static_cast<std::size_t>(rect.width()), 0.0);
    std::vector<std::uint32_t> rowSums(static_cast<std::size_t>(rect.height()), 0);
    std::vector<std::uint32_t> rowSquareSums(static_cast<std::size_t>(rect.height()), 0);
    const double deviation =
        windowDeviation(image, rect, columnDeviations, rowSums, rowSquareSums, rowWeight, 1.0 - rowWeight);
    // Sums that wrapped may leave no number; a region of which nothing is known is not blank.
    if (!(deviation < kDirtyDeviation)) return 0.0;
    if (deviation > kCleanDeviation) return 1.0 - (deviation - kCleanDeviation) / (kDirtyDeviation - kCleanDeviation);
    return 1.0;
}

double computeRegionScore(double blankness, const qvPelRect& rect, const qvPelBuffer_const<unsigned char>& image,
                          const qvStreetBlankRegionFinderParams& params) {
    const double area = static_cast<double>(rect.height()) * static_cast<double>(rect.width());
    if (area == 0.0) return blankness;
    // deliberate: the least area wraps at 32 bits; pinned by RegionScores.LeastAreaWrapsAt32Bits
    const double ratio = static_cast<double>(product32(params.minLengthPels(), params.streetWidthPels())) / area;
    const double sizeFactor = 1.0 - kSizeFactorCoefficient * ratio;
    const double mean = meanGrey(image, rect, area);
    const std::size_t level = static_cast<std::size_t>(qfTruncate(std::round(mean)));
    return blankness * sizeFactor * params.greyLevelScoringFilter()[level];
}
