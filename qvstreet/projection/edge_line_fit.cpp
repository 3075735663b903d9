// Edge line fit.
//
// In:  edge points of a street, some of them of pads, marks or other streets.
// Out: two lines with one slope between them, or with one each where the points say that they are not parallel, their
//      covariance and which points were used.
#include "qvstreet/projection/edge_line_fit.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMagnitudeRounds = 4;
constexpr int kBiweightRounds = 3;
// Tukey's constant: nineteen twentieths of the efficiency of least squares where there are no outliers.
constexpr double kBiweight = 4.685;
// Of the median magnitude to the standard deviation of a normal distribution.
constexpr double kSigmaOfMedian = 1.4826;
// Residuals below this, in pels, weigh the same: rounding of the grey levels and the pel grid alone are that much.
constexpr double kLeastScatter = 4e-3;
// Slopes further apart than so many standard deviations are two slopes.
constexpr double kSlopesDiffer = 4.0;

/// Symmetric equations of offset 0, offset 1 and one slope.
struct Equations {
    std::array<double, 2> weight{};
    std::array<double, 2> weightU{};
    std::array<double, 2> weightV{};
    std::array<double, 2> weightUU{};
    std::array<double, 2> weightUV{};

    void add(std::size_t edge, double w, double u, double v) {
        weight[edge] += w;
        weightU[edge] += w * u;
        weightV[edge] += w * v;
        weightUU[edge] += w * u * u;
        weightUV[edge] += w * u * v;
    }
    /// About the edge's own middle: spread of u, and of u with v.
    double spreadU(std::size_t edge) const {
        return weight[edge] > 0.0 ? weightUU[edge] - weightU[edge] * weightU[edge] / weight[edge] : 0.0;
    }
    double spreadUV(std::size_t edge) const {
        return weight[edge] > 0.0 ? weightUV[edge] - weightU[edge] * weightV[edge] / weight[edge] : 0.0;
    }
};

class Fit {
 public:
    Fit(std::vector<qv_EdgePoint>& points, long edges)
        : points_(points), edges_(static_cast<std::size_t>(edges)), residuals_(points.size()), weights_(points.size()) {
        double sum = 0.0;
        double count = 0.0;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            weights_[i] = points_[i].used ? 1.0 : 0.0;
            if (!points_[i].used) continue;
            sum += points_[i].u;
            count += 1.0;
        }
        u0_ = count > 0.0 ? sum / count : 0.0;
    }

    double u0() const { return u0_; }
    const std::array<double, 2>& offset() const { return offset_; }
    const std::array<double, 2>& slope() const { return slope_; }

    bool solve(bool parallel) {
        Equations equations;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            if (weights_[i] <= 0.0) continue;
            equations.add(edgeOf(i), weights_[i], points_[i].u - u0_, points_[i].v);
        }
        double spread = 0.0;
        double spreadV = 0.0;
        for (std::size_t e = 0; e < edges_; ++e) {
            if (!(equations.weight[e] > 0.0)) return false;
            spread += equations.spreadU(e);
            spreadV += equations.spreadUV(e);
        }
        for (std::size_t e = 0; e < edges_; ++e) {
            const double own = parallel ? spread : equations.spreadU(e);
            const double ownV = parallel ? spreadV : equations.spreadUV(e);
            if (!(own > 1e-6 * equations.weight[e])) return false;
            slope_[e] = ownV / own;
            offset_[e] = (equations.weightV[e] - slope_[e] * equations.weightU[e]) / equations.weight[e];
        }
        for (std::size_t i = 0; i < points_.size(); ++i) {
            const std::size_t e = edgeOf(i);
            residuals_[i] = points_[i].v - offset_[e] - slope_[e] * (points_[i].u - u0_);
        }
        return true;
    }

    /// Takes each edge's scale from its present residuals.
    void takeScales() {
        for (std::size_t e = 0; e < edges_; ++e) scale_[e] = robustScale(e);
    }

    /// Weights that make the sum of weighted squares one of magnitudes.
    void weighByMagnitude() {
        for (std::size_t i = 0; i < points_.size(); ++i)
            if (points_[i].used) {
                const double scale = scale_[edgeOf(i)];
                weights_[i] = 1.0 / (scale * std::max(std::fabs(residuals_[i]), 0.5 * scale));
            }
    }

    void weighByBiweight() {
        for (std::size_t i = 0; i < points_.size(); ++i) {
            if (!points_[i].used) continue;
            const double scale = scale_[edgeOf(i)];
            const double ratio = residuals_[i] / (kBiweight * scale);
            const double left = 1.0 - ratio * ratio;
            weights_[i] = left > 0.0 ? left * left / (scale * scale) : 0.0;
        }
    }

    /// Tells the points, and counts.
    void decide(qv_EdgeLines& lines) {
        for (std::size_t i = 0; i < points_.size(); ++i) {
            if (points_[i].used && !(weights_[i] > 0.0)) points_[i].used = false;
            ++(points_[i].used ? lines.used : lines.refused)[edgeOf(i)];
        }
    }

    /// Standard deviation of the used points, and what neighbours have in common: an edge that meanders, or pads that
    /// pull several blocks, make the points fewer than they look.
    void scatter(qv_EdgeLines& lines, std::array<double, 2>& inflation) const {
        for (std::size_t e = 0; e < edges_; ++e) {
            double weight = 0.0;
            double squares = 0.0;
            double products = 0.0;
            double pairs = 0.0;
            double before = 0.0;
            std::int32_t blockBefore = -2;
            double count = 0.0;
            for (std::size_t i = 0; i < points_.size(); ++i) {
                if (edgeOf(i) != e || !points_[i].used) continue;
                weight += 1.0;
                count += 1.0;
                squares += residuals_[i] * residuals_[i];
                if (points_[i].block == blockBefore + 1) {
                    products += residuals_[i] * before;
                    pairs += 1.0;
                }
                before = residuals_[i];
                blockBefore = points_[i].block;
            }
            const double freedom = std::max(count - 1.5, 1.0);
            lines.scatter[e] = std::max(std::sqrt(squares / freedom), kLeastScatter);
            const double likeness = pairs > 3.0 && squares > 0.0 ? (products / pairs) / (squares / weight) : 0.0;
            // What chance alone makes of independent points counts for nothing.
            const double beyondChance = std::max(0.0, likeness - 2.0 / std::sqrt(std::max(pairs, 1.0)));
            const double held = std::min(beyondChance, 0.9);
            inflation[e] = (1.0 + held) / (1.0 - held);
            lines.likeness = std::max(lines.likeness, held);
        }
    }

    /// Least squares of the residuals against what of u * u is neither constant nor linear.
    void bend(qv_EdgeLines& lines) const {
        double over = 0.0;
        double under = 0.0;
        for (std::size_t e = 0; e < edges_; ++e) {
            double n = 0.0;
            double u1 = 0.0;
            double u2 = 0.0;
            double u3 = 0.0;
            for (std::size_t i = 0; i < points_.size(); ++i) {
                if (edgeOf(i) != e || !points_[i].used) continue;
                const double u = points_[i].u - u0_;
                n += 1.0;
                u1 += u;
                u2 += u * u;
                u3 += u * u * u;
            }
            const double spread = u2 - u1 * u1 / n;
            if (!(spread > 0.0)) continue;
            const double tilt = (u3 - u1 * u2 / n) / spread;
            const double level = (u2 - tilt * u1) / n;
            const double weight = 1.0 / (lines.scatter[e] * lines.scatter[e]);
            for (std::size_t i = 0; i < points_.size(); ++i) {
                if (edgeOf(i) != e || !points_[i].used) continue;
                const double u = points_[i].u - u0_;
                const double bowed = u * u - level - tilt * u;
                over += weight * bowed * residuals_[i];
                under += weight * bowed * bowed;
            }
        }
        if (!(under > 0.0)) return;
        lines.bend = over / under;
        lines.bendDeviation = 1.0 / std::sqrt(under);
    }

    void covariance(bool parallel, const std::array<double, 2>& inflation, qv_EdgeLines& lines) const {
        Equations equations;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            if (!points_[i].used) continue;
            const std::size_t e = edgeOf(i);
            equations.add(e, 1.0 / (lines.scatter[e] * lines.scatter[e] * inflation[e]), points_[i].u - u0_, 0.0);
        }
        double spread = 0.0;
        for (std::size_t e = 0; e < edges_; ++e) spread += equations.spreadU(e);
        std::array<double, 2> middle{};
        std::array<double, 2> slopeVariance{};
        for (std::size_t e = 0; e < edges_; ++e) {
            middle[e] = equations.weightU[e] / equations.weight[e];
            slopeVariance[e] = 1.0 / (parallel ? spread : equations.spreadU(e));
        }
        lines.covariance = {};
        for (std::size_t a = 0; a < edges_; ++a)
            for (std::size_t b = 0; b < edges_; ++b) {
                const double slopes = parallel || a == b ? slopeVariance[a] : 0.0;
                lines.covariance[a][b] = middle[a] * middle[b] * slopes + (a == b ? 1.0 / equations.weight[a] : 0.0);
                lines.covariance[a][b + 2] = -middle[a] * slopes;
                lines.covariance[b + 2][a] = -middle[a] * slopes;
                lines.covariance[a + 2][b + 2] = slopes;
            }
    }

 private:
    std::size_t edgeOf(std::size_t i) const { return static_cast<std::size_t>(points_[i].edge); }

    double robustScale(std::size_t e) {
        magnitudes_.clear();
        for (std::size_t i = 0; i < points_.size(); ++i)
            if (edgeOf(i) == e && points_[i].used) magnitudes_.push_back(std::fabs(residuals_[i]));
        if (magnitudes_.empty()) return kLeastScatter;
        const auto middle = magnitudes_.begin() + static_cast<std::ptrdiff_t>(magnitudes_.size() / 2);
        std::nth_element(magnitudes_.begin(), middle, magnitudes_.end());
        return std::max(kSigmaOfMedian * *middle, kLeastScatter);
    }

    std::vector<qv_EdgePoint>& points_;
    std::size_t edges_;
    double u0_ = 0.0;
    std::array<double, 2> offset_{};
    std::array<double, 2> slope_{};
    std::array<double, 2> scale_{kLeastScatter, kLeastScatter};
    std::vector<double> residuals_;
    std::vector<double> weights_;
    std::vector<double> magnitudes_;
};

bool keepEnough(const qv_EdgeLines& lines, long edges, long leastUsed) {
    for (std::size_t e = 0; e < static_cast<std::size_t>(edges); ++e)
        if (lines.used[e] < leastUsed) return false;
    return true;
}

}  // namespace

bool qf_fitEdgeLines(std::vector<qv_EdgePoint>& points, long edges, long leastUsed, qv_EdgeLines& lines) {
    Fit fit(points, edges);
    if (!fit.solve(true)) return false;
    for (int round = 0; round < kMagnitudeRounds; ++round) {
        if (round < 2) fit.takeScales();
        fit.weighByMagnitude();
        if (!fit.solve(true)) return false;
    }
    fit.takeScales();
    for (int round = 0; round < kBiweightRounds; ++round) {
        fit.weighByBiweight();
        if (!fit.solve(true)) return false;
    }

    qv_EdgeLines found;
    std::array<double, 2> inflation{1.0, 1.0};
    fit.decide(found);
    if (!keepEnough(found, edges, leastUsed)) return false;
    const auto take = [&](bool parallel) {
        found.parallel = parallel;
        found.u0 = fit.u0();
        found.offset = fit.offset();
        found.slope = fit.slope();
        found.likeness = 0.0;
        fit.scatter(found, inflation);
        fit.bend(found);
        fit.covariance(parallel, inflation, found);
    };
    if (edges == 2 && fit.solve(false)) {
        take(false);
        const double difference = found.slope[1] - found.slope[0];
        const double variance = found.covariance[2][2] + found.covariance[3][3];
        if (difference * difference <= kSlopesDiffer * kSlopesDiffer * variance && fit.solve(true)) take(true);
    } else {
        take(true);
    }
    lines = found;
    return true;
}

double qf_slopeOf(const qv_EdgeLines& lines, long edges) {
    return edges == 2 ? 0.5 * (lines.slope[0] + lines.slope[1]) : lines.slope[0];
}

double qf_slopeVarianceOf(const qv_EdgeLines& lines, long edges) {
    const auto& c = lines.covariance;
    return edges == 2 ? 0.25 * (c[2][2] + c[2][3] + c[3][2] + c[3][3]) : c[2][2];
}

void qf_takeInSlope(double slope, double variance, long edges, qv_EdgeLines& lines) {
    const double total = qf_slopeVarianceOf(lines, edges) + variance;
    if (!(total > 0.0)) return;
    // Covariance of each number with the mean slope.
    std::array<double, 4> with{};
    for (std::size_t a = 0; a < with.size(); ++a)
        with[a] = edges == 2 ? 0.5 * (lines.covariance[a][2] + lines.covariance[a][3]) : lines.covariance[a][2];
    const double correction = (slope - qf_slopeOf(lines, edges)) / total;
    for (std::size_t e = 0; e < static_cast<std::size_t>(edges); ++e) {
        lines.offset[e] += with[e] * correction;
        lines.slope[e] += with[e + 2] * correction;
    }
    for (std::size_t a = 0; a < with.size(); ++a)
        for (std::size_t b = 0; b < with.size(); ++b) lines.covariance[a][b] -= with[a] * with[b] / total;
}
