#include "qvstreet/frontend/angle_pair.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/platform/vector.h"

namespace {

// Beyond any dot product of unit vectors.
constexpr double kWorstDotProduct = 1e8;

/// How many leading candidates reach `ratio` of the first; the walk ends at the first that does not.
std::size_t countedCandidates(const std::vector<qv_candAngle>& candidates, double ratio) {
    std::size_t count = 0;
    while (count < candidates.size() && candidates[count].score / candidates.front().score >= ratio) ++count;
    return std::max<std::size_t>(count, 2);
}

double absoluteSine(const qv_candAngle& candidate) { return std::fabs(qfSin(qvDegree(candidate.angle))); }

}  // namespace

bool chooseAnglePair(const std::vector<qv_candAngle>& candidates, double ratio, std::vector<long>& indices,
                     qv_streetTrace* trace) {
    if (candidates.size() < 2) return false;
    const std::size_t count = countedCandidates(candidates, ratio);

    qvPair<std::size_t> best(0, 1);
    double bestDotProduct = kWorstDotProduct;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = i + 1; j < count; ++j) {
            const double dotProduct =
                qvVector<2>(1.0, qvDegree(candidates[i].angle)) * qvVector<2>(1.0, qvDegree(candidates[j].angle));
            traceParts(trace, L"%\nangles:", candidates[i].angle, L",", candidates[j].angle, L" score:", dotProduct);
            if (!(std::fabs(dotProduct) < bestDotProduct)) continue;
            bestDotProduct = std::fabs(dotProduct);
            best = qvPair<std::size_t>(i, j);
        }

    if (absoluteSine(candidates[best.first]) < absoluteSine(candidates[best.second]))
        std::swap(best.first, best.second);
    indices.resize(2);
    indices[0] = static_cast<long>(best.first);
    indices[1] = static_cast<long>(best.second);
    return true;
}
