// The caliper: edges of a profile, and the search for single edges or pairs among them.
//
// In:  an 8-bit image and a sampled rectangle in its client frame.
// Out: edges and scored results; positions in client units along the rectangle's x side, from its centre.
//
// Strengths belong to the boundaries between columns. An edge is the place where they are extreme, refined by the
// parabola through the extreme strength and its two neighbours.
#include "qvstreet/platform/caliper.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qvstreet/platform/caliper_profile.h"

namespace {

// The largest contrast of 8-bit images: the score of an edge is its share of this where no scoring method says more.
constexpr double kFullContrast = 255.0;

/// A rise is a maximum above 0, of equal neighbours the first.
bool isRise(double before, double strength, double after) {
    return strength > 0.0 && strength > before && strength >= after;
}

/// From the boundary to the parabola's vertex, in columns: -0.5 to 0.5 for an extreme strength.
double vertexOffset(double before, double strength, double after) {
    // Differences to the extreme one, because both have the same sign, so that the sum of tiny ones never vanishes.
    const double curvature = (before - strength) + (after - strength);
    return (before - after) / (2.0 * curvature);
}

std::vector<qvCaliperResultEdge> edgesOf(const qv_CaliperStrengths& profile, double threshold, double xLength,
                                         long xNumSamples) {
    std::vector<qvCaliperResultEdge> edges;
    const std::vector<double>& strengths = profile.strengths;
    const double lengthOfColumn = xLength / static_cast<double>(xNumSamples);
    for (std::size_t i = 1; i + 1 < strengths.size(); ++i) {
        const double before = strengths[i - 1];
        const double strength = strengths[i];
        const double after = strengths[i + 1];
        if (!isRise(before, strength, after) && !isRise(-before, -strength, -after)) continue;
        if (!(std::fabs(strength) >= threshold)) continue;
        const double boundary = static_cast<double>(profile.firstBoundary + static_cast<long>(i));
        const double columns = boundary + vertexOffset(before, strength, after);
        edges.emplace_back(strength, columns * lengthOfColumn - xLength / 2.0);
    }
    return edges;
}

bool hasPolarity(const qvCaliperResultEdge& edge, qvCaliperDefs::qeEdgePolarity polarity) {
    switch (polarity) {
        case qvCaliperDefs::eRise:
            return edge.contrast() > 0.0;
        case qvCaliperDefs::eFall:
            return edge.contrast() < 0.0;
        case qvCaliperDefs::eEither:
            return true;
    }
    return false;
}

/// The geometric mean of the scores by all methods; 0 unless each is above 0.
double scoreOf(const qvCaliperFeatures& features, const std::vector<qvCaliperScore*>& methods) {
    double product = 1.0;
    for (const qvCaliperScore* method : methods) {
        const double score = method->score(features);
        if (!(score > 0.0)) return 0.0;
        product *= score;
    }
    if (methods.size() == 1) return product;
    if (methods.size() == 2) return std::sqrt(product);
    return std::pow(product, 1.0 / static_cast<double>(methods.size()));
}

/// The best results so far, best first; of equal scores the earlier one comes first. Keeps no more than wanted, because
/// a long noisy profile has a hundred million pairs.
class BestResults {
 public:
    explicit BestResults(std::size_t mostResults) : mostResults_(mostResults) {}

    void add(const qvCaliperOneResult& result) {
        if (!(result.score() > 0.0)) return;
        if (results_.size() == mostResults_ && !(result.score() > results_.back().score())) return;
        const auto isBetter = [](const qvCaliperOneResult& a, const qvCaliperOneResult& b) {
            return a.score() > b.score();
        };
        results_.insert(std::upper_bound(results_.begin(), results_.end(), result, isBetter), result);
        if (results_.size() > mostResults_) results_.pop_back();
    }

    std::vector<qvCaliperOneResult> taken() { return std::move(results_); }

 private:
    std::size_t mostResults_;
    std::vector<qvCaliperOneResult> results_;
};

std::vector<qvCaliperOneResult> singleEdges(const std::vector<qvCaliperResultEdge>& edges,
                                            const qvCaliperRunParams& params,
                                            const std::vector<qvCaliperScore*>& methods) {
    BestResults best(static_cast<std::size_t>(params.maxNumResults()));
    qvCaliperFeatures features;
    features.numEdges = 1;
    features.askedPositions.first = params.position0();
    for (const qvCaliperResultEdge& edge : edges) {
        if (!hasPolarity(edge, params.polarity0())) continue;
        features.positions.first = edge.position();
        features.contrasts.first = edge.contrast();
        best.add(qvCaliperOneResult(edge.position(), scoreOf(features, methods)));
    }
    return best.taken();
}

std::vector<qvCaliperOneResult> edgePairs(const std::vector<qvCaliperResultEdge>& edges,
                                          const qvCaliperRunParams& params,
                                          const std::vector<qvCaliperScore*>& methods) {
    BestResults best(static_cast<std::size_t>(params.maxNumResults()));
    qvPair<double> asked(params.position0(), params.position1());
    qvCaliperDefs::qeEdgePolarity firstPolarity = params.polarity0();
    qvCaliperDefs::qeEdgePolarity secondPolarity = params.polarity1();
    if (asked.first > asked.second) {
        std::swap(asked.first, asked.second);
        std::swap(firstPolarity, secondPolarity);
    }

    qvCaliperFeatures features;
    features.numEdges = 2;
    features.askedPositions = asked;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (!hasPolarity(edges[i], firstPolarity)) continue;
        for (std::size_t j = i + 1; j < edges.size(); ++j) {
            if (!hasPolarity(edges[j], secondPolarity)) continue;
            features.positions = qvPair<double>(edges[i].position(), edges[j].position());
            features.contrasts = qvPair<double>(edges[i].contrast(), edges[j].contrast());
            const double middle = (edges[i].position() + edges[j].position()) * 0.5;
            best.add(qvCaliperOneResult(middle, scoreOf(features, methods)));
        }
    }
    return best.taken();
}

}  // namespace

qvCaliperBaseResultSet::~qvCaliperBaseResultSet() = default;

qvVector<2> qvCaliperBaseResultSet::mapPositionToPoint(double position) const {
    const qvVector<2> centre = rect_.cornerPo() + (rect_.xSide() + rect_.ySide()) * 0.5;
    // A rectangle without length has all positions at its centre.
    if (rect_.xLength() == 0.0) return centre;
    return centre + rect_.xSide() * (position / rect_.xLength());
}

/// Fills in what only a run may fill in.
struct qv_CaliperRun {
    static qvCaliperResultSet resultsOf(const qvPelBuffer_const<unsigned char>& image,
                                        const qvAffineSamplingParams& sampling, const qvCaliperRunParams& params) {
        const qv_CaliperProfile profile = qf_caliperProfile(image, sampling);
        const qv_CaliperStrengths strengths = qf_caliperStrengths(profile, params.filterHalfSize());

        qvCaliperResultSet found;
        found.rect_ = sampling.affineRectangle();
        found.resultEdges_ =
            edgesOf(strengths, params.contrastThreshold(), found.rect_.xLength(), sampling.xNumSamples());

        qvScoreContrast shareOfFullContrast(kFullContrast, 0.0, 0.0, 1.0, 0.0);
        std::vector<qvCaliperScore*> methods = params.scoringMethods();
        if (methods.empty()) methods.push_back(&shareOfFullContrast);
        found.results_ = params.numEdges() == 1 ? singleEdges(found.resultEdges_, params, methods)
                                                : edgePairs(found.resultEdges_, params, methods);
        return found;
    }
};

void qfCaliperRun(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& sampling,
                  const qvCaliperRunParams& params, qvCaliperResultSet& results, qvDiagObject*, std::uint32_t) {
    results = qv_CaliperRun::resultsOf(image, sampling, params);
}
