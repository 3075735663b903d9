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
    double sum = 0.0;
    double sumEdge = 0.0;
    double sumSlope = 0.0;
    double sumSquares = 0.0;
    for (std::size_t k = first_; k < last_; ++k) {
        sum += static_cast<double>(grey[k]);
        sumEdge += static_cast<double>(greyEdge[k]);
        sumSlope += static_cast<double>(greySlope[k]);
        sumSquares += static_cast<double>(squares[k]);
    }

    // The level is eliminated first, then the contrast.
    const double n = total.one;
    const double edgeEdge = total.edgeEdge - total.edge * total.edge / n;
    const double edgeSlope = total.edgeSlope - total.edge * total.slope / n;
    const double edgeGrey = sumEdge - total.edge * sum / n;
    if (!(edgeEdge > kLeastPivot * n)) return false;
    const double slopeSlope = total.slopeSlope - total.slope * total.slope / n - edgeSlope * edgeSlope / edgeEdge;
    const double slopeGrey = sumSlope - total.slope * sum / n - edgeSlope * edgeGrey / edgeEdge;
    if (!(slopeSlope > kLeastPivot * n)) return false;
    const double slope = slopeGrey / slopeSlope;
    const double contrast = (edgeGrey - edgeSlope * slope) / edgeEdge;
    if (contrast == 0.0) return false;
    const double level = (sum - total.edge * contrast - total.slope * slope) / n;

    result.level = level + static_cast<double>(base);
    result.contrast = contrast;
    result.offset = -slope / contrast - block.phaseShift;
    const double left = sumSquares - level * sum - contrast * sumEdge - slope * sumSlope;
    result.misfit = std::max(left, 0.0) / n;
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
    std::array<double, 3> sums{};
    double n = 0.0;
    double e = 0.0;
    double s = 0.0;
    double ee = 0.0;
    double es = 0.0;
    double ss = 0.0;
    for (std::size_t q = 0; q < counts_.size(); ++q) {
        const double count = counts_[q];
        if (count == 0.0) continue;
        for (std::size_t k = pels.first; k < pels.last; ++k) {
            const double shape = edge.edge(q, k);
            const double slope = edge.slope(q, k);
            n += count;
            e += count * shape;
            s += count * slope;
            ee += count * shape * shape;
            es += count * shape * slope;
            ss += count * slope * slope;
            sums[0] += sums_[q][k];
            sums[1] += sums_[q][k] * shape;
            sums[2] += sums_[q][k] * slope;
        }
    }
    const double edgeEdge = ee - e * e / n;
    if (!(edgeEdge > kLeastPivot * n)) return false;
    const double edgeSlope = es - e * s / n;
    const double edgeGrey = sums[1] - e * sums[0] / n;
    const double slopeSlope = ss - s * s / n - edgeSlope * edgeSlope / edgeEdge;
    if (!(slopeSlope > kLeastPivot * n)) return false;
    const double slope = (sums[2] - s * sums[0] / n - edgeSlope * edgeGrey / edgeEdge) / slopeSlope;
    const double contrast = (edgeGrey - edgeSlope * slope) / edgeEdge;
    if (!(contrast > 0.0)) return false;
    found = -slope / contrast;
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
    // The misfit has one valley: halve the steps that are left.
    long low = 0;
    long high = kCount - 1;
    while (low < high) {
        const long middle = (low + high) / 2;
        if (misfit(middle + 1) < misfit(middle))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}
