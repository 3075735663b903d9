#include "qvstreet/blankregion/literal_deviation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "qvstreet/blankregion/regional_images.h"

namespace {

// The order of summation changes a sum by less than one part in 2^53 for each of at most 2^20 summands, and so a
// deviation of 255 by less than 1e-7.
constexpr double kDoubt = 1e-6;
// From here on the stored value is 255 however the sum was formed.
constexpr double kSurelyMost = 255.5;
// A single position costs a whole window by the literal form, a row of them only what slides; so a row with more doubtful
// positions than this part of it is done as a whole.
constexpr long kDoubtfulPart = 16;

std::uint32_t square(std::uint32_t value) { return value * value; }

}  // namespace

qv_DeviationFactors::qv_DeviationFactors(const qv_DeviationTask& task)
    : row(task.scale * task.rowWeight / (static_cast<double>(task.L) * std::sqrt(static_cast<double>(task.S)))),
      column(task.scale * task.columnWeight / (static_cast<double>(task.S) * std::sqrt(static_cast<double>(task.L)))) {}

// The deviations of the columns that stay are not touched; the entering one takes the place of the leaving one.
void qf_slideLiterally(const qv_DeviationTask& task, long y, unsigned char* deviations) {
    const long L = task.L;
    const long S = task.S;
    std::vector<double> columnDeviations(static_cast<std::size_t>(L), 0.0);
    std::vector<std::uint32_t> rowSums(static_cast<std::size_t>(S), 0);
    std::vector<std::uint32_t> rowSquareSums(static_cast<std::size_t>(S), 0);
    const double first = windowDeviation(task.image, qvPelRect(0, y, L, S), columnDeviations, rowSums, rowSquareSums,
                                         task.rowWeight, task.columnWeight);
    deviations[0] = qf_deviationPel(first, task.scale);
    for (long x = 1; x < task.positions; ++x) {
        std::uint32_t sum = 0;
        std::uint32_t squareSum = 0;
        for (long r = 0; r < S; ++r) {
            const std::uint32_t entering = *task.image.pointToPel(x + L - 1, y + r);
            const std::uint32_t leaving = *task.image.pointToPel(x - 1, y + r);
            const auto row = static_cast<std::size_t>(r);
            rowSums[row] += entering - leaving;
            rowSquareSums[row] += square(entering) - square(leaving);
            sum += entering;
            squareSum += square(entering);
        }
        // deliberate: the whole radicand wraps, unlike that of the first window; pinned by
        // RegionalDeviationImage.FirstWindowAndSlidingWindowsWrapInTheirOwnWays
        const std::int32_t radicand = qf_signed32(static_cast<std::uint32_t>(S) * squareSum - square(sum));
        columnDeviations[static_cast<std::size_t>((x - 1) % L)] =
            std::sqrt(static_cast<double>(radicand)) / static_cast<double>(S);
        const double deviation =
            combineDeviation(columnDeviations, rowSums, rowSquareSums, task.rowWeight, task.columnWeight);
        deviations[x] = qf_deviationPel(deviation, task.scale);
    }
}

// Sums of pels are the same in every order.
unsigned char qf_literalPel(const qv_DeviationTask& task, const std::vector<double>& columnDeviations, long x, long y) {
    std::vector<std::uint32_t> rowSums;
    std::vector<std::uint32_t> rowSquareSums;
    for (long r = 0; r < task.S; ++r) {
        const unsigned char* const pels = task.image.pointToPel(x, y + r);
        std::uint32_t sum = 0;
        std::uint32_t squareSum = 0;
        for (long c = 0; c < task.L; ++c) {
            sum += pels[c];
            squareSum += square(pels[c]);
        }
        rowSums.push_back(sum);
        rowSquareSums.push_back(squareSum);
    }
    return qf_deviationPel(
        combineDeviation(columnDeviations, rowSums, rowSquareSums, task.rowWeight, task.columnWeight), task.scale);
}

bool qf_storePel(double scaled, unsigned char& pel) {
    const double atMost = std::min(scaled, kSurelyMost);
    pel = static_cast<unsigned char>(atMost);
    const double nearest = std::floor(atMost + 0.5);
    return std::abs(atMost - nearest) < kDoubt && atMost > 0.0;
}

bool qf_isMostlyDoubtful(std::size_t doubtful, long positions) {
    return static_cast<long>(doubtful) > positions / kDoubtfulPart;
}
