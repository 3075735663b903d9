// Edge points.
//
// In:  an image seen along a street, a line near one of its edges.
// Out: for a block of columns the sums of the pels by their distance from the line.
//
//      k = 0  . . . . . . . .      A column is a pel wide; the line enters it at its middle. What counts is how
//             . . . . . . . .      far a pel's centre is from the line, not the pel's place in the grid: columns
//      k = 8 _.-.-.-.-.-.-.-._     are gathered by the eighth of a pel in which the line passes, so that nothing is
//             . . . . . . . .      interpolated and nothing draws what is fitted towards the pel grid.
//      k = 15 . . . . . . . .
//
// All sums of pels are whole numbers, so their order does not matter.
#include "qvstreet/projection/edge_points.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kPhases = static_cast<double>(kEdgePhases);
constexpr std::int64_t kPhaseCount = static_cast<std::int64_t>(kEdgePhases);
constexpr long kBefore = static_cast<long>(kEdgePels / 2);
constexpr double kFixedOne = 4294967296.0;
constexpr int kEighthShift = 29;
constexpr std::int64_t kEighthMask = (std::int64_t{1} << kEighthShift) - 1;

/// The sum of `count` neighbouring bytes, of which `readable` and more may be looked at.
std::uint32_t sumOfBytes(const unsigned char* bytes, long count, long readable) {
    // Neighbours into lanes of 16 bits, and the four lanes into the uppermost.
    constexpr std::uint64_t kEven = 0x00FF00FF00FF00FFu;
    constexpr std::uint64_t kFour = 0x0001000100010001u;
    std::uint32_t sum = 0;
    for (; count > 0 && readable >= 8; count -= 8, readable -= 8, bytes += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, bytes, sizeof eight);
        if (count < 8) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
            eight >>= 64 - 8 * count;
#else
            eight <<= 64 - 8 * count;
#endif
        }
        const std::uint64_t lanes = (eight & kEven) + ((eight >> 8) & kEven);
        sum += static_cast<std::uint32_t>((lanes * kFour) >> 48);
    }
    for (; count > 0; --count, ++bytes) sum += *bytes;
    return sum;
}

/// Adds columns that share row and eighth, from pel `firstPel` up to `lastPel`.
void addColumns(const qv_UvPels& pels, long u, long count, long row, std::size_t firstPel, std::size_t lastPel,
                std::array<std::uint16_t, kEdgePels>& sums) {
    if (pels.vStep == 1) {
        const unsigned char* column = pels.pel(u, row - kBefore);
        // A copy, which no byte of the image can be part of.
        std::array<std::uint16_t, kEdgePels> local = sums;
        for (long i = 0; i < count; ++i, column += pels.uStep)
            for (std::size_t k = 0; k < local.size(); ++k) local[k] = static_cast<std::uint16_t>(local[k] + column[k]);
        sums = local;
        return;
    }
    const unsigned char* pel = pels.pel(u, row - kBefore + static_cast<long>(firstPel));
    for (std::size_t k = firstPel; k < lastPel; ++k, pel += pels.vStep) {
        std::uint16_t& sum = sums[k];
        sum = static_cast<std::uint16_t>(sum + sumOfBytes(pel, count, pels.uSize - u));
    }
}

}  // namespace

bool qf_gatherEdge(const qv_UvPels& pels, const qv_UvLine& line, long first, long count, std::size_t firstPel,
                   std::size_t lastPel, qv_EdgeSums& block) {
    const double begin = line.at(static_cast<double>(first) + 0.5);
    const double end = line.at(static_cast<double>(first + count) - 0.5);
    const double low = std::min(begin, end) - static_cast<double>(kBefore) - 1.0;
    const double high = std::max(begin, end) + static_cast<double>(kBefore) + 1.0;
    // Also false for a line that is not a number.
    const bool inside =
        first >= 0 && first + count <= pels.uSize && low >= 0.0 && high <= static_cast<double>(pels.vSize);
    if (!inside) return false;

    block.sums = {};
    block.counts = {};
    // Position of the line plus half a pel, so that its whole part is the row whose upper border is nearest; in 2^-32
    // pels, so that no column is rounded otherwise than its neighbour.
    std::int64_t position = static_cast<std::int64_t>((begin + 0.5) * kFixedOne);
    const std::int64_t step = static_cast<std::int64_t>(std::floor(line.slope * kFixedOne + 0.5));
    std::int64_t beyondEighths = 0;
    long runFirst = first;
    std::int64_t runEighth = position >> kEighthShift;
    for (long i = 0; i < count; ++i, position += step) {
        const std::int64_t eighth = position >> kEighthShift;
        beyondEighths += position & kEighthMask;
        if (eighth == runEighth) continue;
        const std::size_t phase = static_cast<std::size_t>(runEighth % kPhaseCount);
        block.counts[phase] += static_cast<std::uint32_t>(first + i - runFirst);
        addColumns(pels, runFirst, first + i - runFirst, static_cast<long>(runEighth / kPhaseCount), firstPel, lastPel,
                   block.sums[phase]);
        runFirst = first + i;
        runEighth = eighth;
    }
    const std::size_t phase = static_cast<std::size_t>(runEighth % kPhaseCount);
    block.counts[phase] += static_cast<std::uint32_t>(first + count - runFirst);
    addColumns(pels, runFirst, first + count - runFirst, static_cast<long>(runEighth / kPhaseCount), firstPel, lastPel,
               block.sums[phase]);
    block.phaseShift = static_cast<double>(beyondEighths) / (kFixedOne * static_cast<double>(count)) - 0.5 / kPhases;
    return true;
}
