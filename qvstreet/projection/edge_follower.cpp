#include "qvstreet/projection/edge_follower.h"

#include <algorithm>

namespace {

// A block's contrast, of the median one's: less is a crossing or a gap, more is another structure.
constexpr double kLeastContrastShare = 0.4;
constexpr double kMostContrastShare = 2.5;
// A block that looks this much less like an edge than a good one, of the best quarter, holds something else as well.
constexpr double kMisfitShare = 3.0;
constexpr double kGoodShare = 0.25;
// But differences of this share of the contrast, root mean square, are no other structure.
constexpr double kLeastMisfitShare = 0.01;

double quantileOf(std::vector<double>& values, double share) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size()));
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

std::vector<qv_EdgeBlock> qf_blocksAlong(const qv_UvPels& pels, double u0, const qv_TrackRange& range, long count) {
    std::vector<qv_EdgeBlock> blocks;
    const double low = std::max(0.0, u0 - range.reach);
    const double high = std::min(static_cast<double>(pels.uSize), u0 + range.reach);
    std::int32_t index = 0;
    for (long first = static_cast<long>(low); static_cast<double>(first + count) <= high; first += count, ++index)
        if (!qf_meetsRange(range.crossings, first, count)) blocks.push_back({first, count, index});
    return blocks;
}

std::vector<qv_EdgeBlock> qf_someWithin(const std::vector<qv_EdgeBlock>& blocks, double u0, double reach, long most) {
    std::vector<qv_EdgeBlock> within;
    for (const qv_EdgeBlock& block : blocks)
        if (std::fabs(block.middle() - u0) <= reach) within.push_back(block);
    const long count = static_cast<long>(within.size());
    if (count <= most) return within;
    std::vector<qv_EdgeBlock> some;
    for (long i = 0; i < most; ++i) some.push_back(within[static_cast<std::size_t>(i * (count - 1) / (most - 1))]);
    return some;
}

double qv_EdgeFollower::shareShowing(double leastContrast) const {
    if (points_.empty()) return 1.0;
    const auto shown = std::count_if(points_.begin(), points_.end(), [leastContrast](const qv_EdgePoint& point) {
        return point.used && std::fabs(point.contrast) >= leastContrast;
    });
    return static_cast<double>(shown) / static_cast<double>(points_.size());
}

double qv_EdgeFollower::usualContrast() const {
    std::vector<double> contrasts;
    for (const qv_EdgePoint& point : points_)
        if (point.used) contrasts.push_back(std::fabs(point.contrast));
    return contrasts.empty() ? 0.0 : kLeastContrastShare * quantileOf(contrasts, 0.5);
}

void qv_EdgeFollower::refuseOddOnes() {
    std::vector<double> contrasts;
    std::vector<double> misfits;
    for (std::size_t e = 0; e < count(); ++e) {
        contrasts.clear();
        misfits.clear();
        for (const qv_EdgePoint& point : points_) {
            if (!point.used || point.edge != static_cast<std::int32_t>(e)) continue;
            contrasts.push_back(std::fabs(point.contrast));
            misfits.push_back(point.misfit);
        }
        if (contrasts.empty()) continue;
        const double contrast = quantileOf(contrasts, 0.5);
        const double harmless = kLeastMisfitShare * contrast;
        const double misfit = std::max(kMisfitShare * quantileOf(misfits, kGoodShare), harmless * harmless);
        for (qv_EdgePoint& point : points_) {
            if (!point.used || point.edge != static_cast<std::int32_t>(e)) continue;
            const double magnitude = std::fabs(point.contrast);
            point.used = magnitude >= kLeastContrastShare * contrast && magnitude <= kMostContrastShare * contrast &&
                         point.misfit <= misfit;
        }
    }
}

bool qv_EdgeFollower::fit(long leastUsed, double reach, double& moved) {
    qv_EdgeLines lines;
    if (!qf_fitEdgeLines(points_, edges_, leastUsed, lines)) return false;
    fitted_ = lines;
    moved = 0.0;
    const double low = std::max(0.0, u0_ - reach);
    const double high = std::min(static_cast<double>(pels_.uSize), u0_ + reach);
    for (std::size_t e = 0; e < count(); ++e) {
        const qv_UvLine line{lines.u0, lines.offset[e], lines.slope[e]};
        moved = std::max(
            {moved, std::fabs(line.at(low) - lines_[e].at(low)), std::fabs(line.at(high) - lines_[e].at(high))});
        lines_[e] = line;
    }
    return true;
}
