// Edge template.
//
// In:  the sums of a block around a line that is within some tenths of a pel of an edge.
// Out: how far the edge lies from the line, its contrast, and how well the pels look like an edge.
//
//            beyond  ________        The edge is a step blurred by a Gaussian. Near the line a small offset adds
//                   /                contrast * offset times the step's derivative, so level, contrast and offset are
//                  /                 the solution of three linear equations. The level is free, so that shading and the
//      ___________/  before          differences between dies do not move the edge.
#include "qvstreet/projection/edge_template.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/projection/valley_search.h"

namespace {

constexpr double kPhases = static_cast<double>(kEdgePhases);
constexpr std::size_t kHalf = kEdgePels / 2;
// Of 1 / sqrt(2) and 1 / sqrt(2 pi).
constexpr double kRootHalf = 0.7071067811865476;
constexpr double kNormalDensity = 0.3989422804014327;
// Equations whose pivots are below this share of the pels do not determine their unknowns.
constexpr double kLeastPivot = 1e-9;

// Pels of a stack beside its line that say how blurred it is: four on either side.
constexpr std::size_t kInner = 4;
// The edge itself, and a pel of either level, reach so many blurs to either side.
constexpr double kEdgeSigmas = 2.2;
// Further out a pel belongs to the edge's two levels if the stack keeps this near to the template, as a share of the
// contrast, or as near as its inner pels keep.
constexpr double kLikeEdge = 0.02;
constexpr double kLikeInner = 2.5;
// Of the difference of two fits of one stack, in blurs and in the noise of a pel's mean.
constexpr double kNoiseInDifference = 4.0;

/// Distance beyond the line of a pel, in the middle of an eighth.
double distanceOf(std::size_t pel, std::size_t phase) {
    const double beyondBorder = (static_cast<double>(phase) + 0.5) / kPhases - 0.5;
    return static_cast<double>(pel) - 0.5 * static_cast<double>(kEdgePels) + 0.5 - beyondBorder;
}

/// Pels on either side of the line that the edge itself takes, and one of its level.
std::size_t ownPels(const qv_EdgeTemplate& edge) {
    return static_cast<std::size_t>(std::clamp(std::ceil(kEdgeSigmas * edge.sigma()) + 1.0, 3.0, 8.0));
}

/// Least squares of level + contrast * edge + slope * (derivative of edge): sums of products over the pels.
struct Sums {
    double one = 0.0, edge = 0.0, slope = 0.0, edgeEdge = 0.0, edgeSlope = 0.0, slopeSlope = 0.0;
    double grey = 0.0, greyEdge = 0.0, greySlope = 0.0;
};

struct Solution {
    double level;
    double contrast;
    double slope;
};

/// Eliminates the level first, then the contrast; false where the pels do not determine the three.
bool solve(const Sums& sums, Solution& solution) {
    const double n = sums.one;
    const double edgeEdge = sums.edgeEdge - sums.edge * sums.edge / n;
    const double edgeSlope = sums.edgeSlope - sums.edge * sums.slope / n;
    const double edgeGrey = sums.greyEdge - sums.edge * sums.grey / n;
    if (!(edgeEdge > kLeastPivot * n)) return false;
    const double slopeSlope = sums.slopeSlope - sums.slope * sums.slope / n - edgeSlope * edgeSlope / edgeEdge;
    const double slopeGrey = sums.greySlope - sums.slope * sums.grey / n - edgeSlope * edgeGrey / edgeEdge;
    if (!(slopeSlope > kLeastPivot * n)) return false;
    solution.slope = slopeGrey / slopeSlope;
    solution.contrast = (edgeGrey - edgeSlope * solution.slope) / edgeEdge;
    solution.level = (sums.grey - sums.edge * solution.contrast - sums.slope * solution.slope) / n;
    return true;
}

/// The grey level of the two pels beside the line.
float meanOf(const qv_EdgeSums& block) {
    std::uint32_t sum = 0;
    std::uint32_t count = 0;
    for (std::size_t q = 0; q < block.counts.size(); ++q) {
        sum += static_cast<std::uint32_t>(block.sums[q][kHalf - 1]) + block.sums[q][kHalf];
        count += 2 * block.counts[q];
    }
    return static_cast<float>(sum) / static_cast<float>(count);
}

}  // namespace

qv_EdgeTemplate::qv_EdgeTemplate(double sigma) : sigma_(sigma) {
    for (std::size_t phase = 0; phase < kEdgePhases; ++phase)
        for (std::size_t pel = 0; pel < kEdgePels; ++pel) {
            const double z = distanceOf(pel, phase) / sigma;
            edge_[phase][pel] = static_cast<float>(0.5 * std::erfc(-z * kRootHalf));
            slope_[phase][pel] = static_cast<float>(kNormalDensity / sigma * std::exp(-0.5 * z * z));
        }
}

qv_EdgeWindow::qv_EdgeWindow(const qv_EdgeTemplate& edge, std::size_t first, std::size_t last)
    : edge_(&edge), first_(first), last_(last) {
    for (std::size_t phase = 0; phase < kEdgePhases; ++phase) {
        Normal& normal = normal_[phase];
        for (std::size_t pel = first; pel < last; ++pel) {
            const double e = edge.edge(phase, pel);
            const double s = edge.slope(phase, pel);
            normal.one += 1.0;
            normal.edge += e;
            normal.slope += s;
            normal.edgeEdge += e * e;
            normal.edgeSlope += e * s;
            normal.slopeSlope += s * s;
        }
    }
}

bool qv_EdgeWindow::fit(const qv_EdgeSums& block, qv_EdgeFit& result) const {
    // Pel by pel over the eighths first, sixteen sums side by side; grey levels about `base`, so that single precision
    // keeps a millionth of a pel.
    const float base = meanOf(block);
    std::array<float, kEdgePels> grey{};
    std::array<float, kEdgePels> greyEdge{};
    std::array<float, kEdgePels> greySlope{};
    std::array<float, kEdgePels> squares{};
    Normal total;
    for (std::size_t q = 0; q < block.counts.size(); ++q) {
        if (block.counts[q] == 0) continue;
        const double count = static_cast<double>(block.counts[q]);
        const Normal& normal = normal_[q];
        total.one += count * normal.one;
        total.edge += count * normal.edge;
        total.slope += count * normal.slope;
        total.edgeEdge += count * normal.edgeEdge;
        total.edgeSlope += count * normal.edgeSlope;
        total.slopeSlope += count * normal.slopeSlope;
        const float columns = static_cast<float>(count);
        const float share = 1.0F / columns;
        for (std::size_t k = 0; k < grey.size(); ++k) {
            const float sum = static_cast<float>(static_cast<std::int32_t>(block.sums[q][k])) - base * columns;
            grey[k] += sum;
            greyEdge[k] += sum * edge_->edge_[q][k];
            greySlope[k] += sum * edge_->slope_[q][k];
            squares[k] += sum * sum * share;
        }
    }
    Sums sums{total.one, total.edge, total.slope, total.edgeEdge, total.edgeSlope, total.slopeSlope};
    double sumSquares = 0.0;
    for (std::size_t k = first_; k < last_; ++k) {
        sums.grey += static_cast<double>(grey[k]);
        sums.greyEdge += static_cast<double>(greyEdge[k]);
        sums.greySlope += static_cast<double>(greySlope[k]);
        sumSquares += static_cast<double>(squares[k]);
    }
    Solution solution{};
    if (!solve(sums, solution) || solution.contrast == 0.0) return false;

    result.level = solution.level + static_cast<double>(base);
    result.contrast = solution.contrast;
    result.offset = -solution.slope / solution.contrast - block.phaseShift;
    const double left =
        sumSquares - solution.level * sums.grey - solution.contrast * sums.greyEdge - solution.slope * sums.greySlope;
    result.misfit = std::max(left, 0.0) / sums.one;
    return true;
}

void qv_EdgeStack::add(const qv_EdgeSums& block, const qv_EdgeFit& fit) {
    const double share = 1.0 / fit.contrast;
    for (std::size_t q = 0; q < counts_.size(); ++q) {
        if (block.counts[q] == 0) continue;
        const double columns = static_cast<double>(block.counts[q]);
        const double level = columns * fit.level;
        counts_[q] += columns;
        for (std::size_t k = 0; k < sums_[q].size(); ++k)
            sums_[q][k] += (static_cast<double>(block.sums[q][k]) - level) * share;
    }
}

qv_EdgeStack::Levels qv_EdgeStack::levels(const qv_EdgeTemplate& edge, std::size_t reach) const {
    double n = 0.0;
    double e = 0.0;
    double ee = 0.0;
    double g = 0.0;
    double ge = 0.0;
    for (std::size_t q = 0; q < counts_.size(); ++q) {
        if (counts_[q] == 0.0) continue;
        for (std::size_t k = kHalf - reach; k < kHalf + reach; ++k) {
            const double value = edge.edge(q, k);
            n += counts_[q];
            e += counts_[q] * value;
            ee += counts_[q] * value * value;
            g += sums_[q][k];
            ge += sums_[q][k] * value;
        }
    }
    const double spread = ee - e * e / n;
    if (!(spread > kLeastPivot * n)) return {};
    const double contrast = (ge - e * g / n) / spread;
    return {(g - e * contrast) / n, contrast};
}

double qv_EdgeStack::misfit(const qv_EdgeTemplate& edge) const {
    const Levels at = levels(edge, kInner);
    double total = 0.0;
    double count = 0.0;
    for (std::size_t q = 0; q < counts_.size(); ++q) {
        if (counts_[q] == 0.0) continue;
        for (std::size_t k = kHalf - kInner; k < kHalf + kInner; ++k) {
            const double left = sums_[q][k] / counts_[q] - at.level - at.contrast * edge.edge(q, k);
            total += counts_[q] * left * left;
            count += counts_[q];
        }
    }
    return count > 0.0 ? total / count : 0.0;
}

qv_EdgeStack::Pels qv_EdgeStack::likeEdge(const qv_EdgeTemplate& edge) const {
    // From the edge itself alone, so that what lies further out does not pull its levels along.
    const std::size_t own = ownPels(edge);
    const Levels at = levels(edge, own);
    const auto aside = [&](std::size_t k) {
        double sum = 0.0;
        double count = 0.0;
        for (std::size_t q = 0; q < counts_.size(); ++q) {
            if (counts_[q] == 0.0) continue;
            sum += sums_[q][k] - counts_[q] * (at.level + at.contrast * edge.edge(q, k));
            count += counts_[q];
        }
        return count > 0.0 ? std::fabs(sum / count) : 0.0;
    };
    // What noise makes of a pel's mean over all eighths, from what it makes of a single eighth's.
    const double eighths =
        static_cast<double>(std::count_if(counts_.begin(), counts_.end(), [](double count) { return count > 0.0; }));
    const double limit = std::max(kLikeEdge, kLikeInner * std::sqrt(misfit(edge) / std::max(eighths, 1.0)));
    Pels pels = nearest(edge);
    while (pels.first > 0 && aside(pels.first - 1) <= limit) --pels.first;
    while (pels.last < kEdgePels && aside(pels.last) <= limit) ++pels.last;
    return pels;
}

qv_EdgeStack::Pels qv_EdgeStack::nearest(const qv_EdgeTemplate& edge) {
    const std::size_t own = ownPels(edge);
    return {kHalf - own, kHalf + own};
}

bool qv_EdgeStack::offset(const qv_EdgeTemplate& edge, const Pels& pels, double& found) const {
    Sums sums;
    for (std::size_t q = 0; q < counts_.size(); ++q) {
        const double count = counts_[q];
        if (count == 0.0) continue;
        for (std::size_t k = pels.first; k < pels.last; ++k) {
            const double shape = edge.edge(q, k);
            const double slope = edge.slope(q, k);
            sums.one += count;
            sums.edge += count * shape;
            sums.slope += count * slope;
            sums.edgeEdge += count * shape * shape;
            sums.edgeSlope += count * shape * slope;
            sums.slopeSlope += count * slope * slope;
            sums.grey += sums_[q][k];
            sums.greyEdge += sums_[q][k] * shape;
            sums.greySlope += sums_[q][k] * slope;
        }
    }
    Solution solution{};
    if (!solve(sums, solution) || !(solution.contrast > 0.0)) return false;
    found = -solution.slope / solution.contrast;
    return true;
}

double qv_EdgeStack::shapeDeviation(const qv_EdgeTemplate& edge, const Pels& pels) const {
    double whole = 0.0;
    double least = 0.0;
    if (!offset(edge, pels, whole) || !offset(edge, nearest(edge), least)) return 0.0;
    // What noise alone makes of the difference.
    const double eighths =
        static_cast<double>(std::count_if(counts_.begin(), counts_.end(), [](double count) { return count > 0.0; }));
    const double noise = kNoiseInDifference * std::sqrt(misfit(edge) / std::max(eighths, 1.0)) * edge.sigma();
    const double difference = whole - least;
    return std::sqrt(std::max(0.0, difference * difference - noise * noise));
}

const qv_EdgeTemplate& qv_EdgeTemplates::of(long step) {
    std::unique_ptr<qv_EdgeTemplate>& one = templates_[static_cast<std::size_t>(step)];
    if (one == nullptr) one = std::make_unique<qv_EdgeTemplate>(sigmaOf(step));
    return *one;
}

long qv_EdgeTemplates::bestStep(const std::array<qv_EdgeStack, 2>& stacks) {
    const auto misfit = [&](long step) { return stacks[0].misfit(of(step)) + stacks[1].misfit(of(step)); };
    return qf_valleyStep(kCount, misfit);
}
