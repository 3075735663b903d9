// Canonical cross.
//
// In:  up to eight lines, or eight segments, client frame.
// Out: the transform from canonical to client coordinates, and from it crossing, angles, corners and drawn segments.
//
// Lines 0 to 3 say where u is -1 or 1, lines 4 to 7 where v is: two least-squares fits of three unknowns each.
#include "qvstreet/candidates/canonical_cross.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/line_ends.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;

constexpr long kMissing = -1;

/// The two systems. Points are taken relative to an origin near them, so that client coordinates far from (0, 0) cost
/// no precision.
class CrossFit {
 public:
    explicit CrossFit(const qvVector<2>& origin) : origin_(origin) {
        normal_[0] = normal_[1] = qvMatrix<3>(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
    }

    void add(std::size_t segment, const qvVector<2>& p1, const qvVector<2>& p2) {
        const std::size_t axis = segment < 4 ? 0 : 1;
        const double target = qvCanonicalCross[segment].target;
        accumulateFit(normal_[axis], rightSide_[axis], p1 - origin_, target);
        accumulateFit(normal_[axis], rightSide_[axis], p2 - origin_, target);
    }

    /// @throws qvMatrixErr::Singular
    qvXform<2> clientFromCanonical() const {
        const qvVector<3> u = normal_[0].inverse() * rightSide_[0];
        const qvVector<3> v = normal_[1].inverse() * rightSide_[1];
        const qvXform<2> canonicalFromLocal(qvMatrix<2>(u[0], u[1], v[0], v[1]), qvVector<2>(u[2], v[2]));
        const qvXform<2> localFromCanonical = canonicalFromLocal.inverse();
        return qvXform<2>(localFromCanonical.matrix(), localFromCanonical.trans() + origin_);
    }

 private:
    qvVector<2> origin_;
    qvMatrix<3> normal_[2];
    qvVector<3> rightSide_[2];
};

/// Crossing, angles and corners as the transform shows them.
void setGeometry(CrossResult& result, const qvXform<2>& clientFromCanonical) {
    Access::horizontalAngle(result) = clientFromCanonical.mapAngle(qvDegree(0.0));
    // Near -90 degrees for an upright image, because v runs against y.
    Access::verticalAngle(result) = clientFromCanonical.mapAngle(qvDegree(90.0));
    Access::ulCorner(result) = clientFromCanonical * qvVector<2>(-1.0, 1.0);
    Access::urCorner(result) = clientFromCanonical * qvVector<2>(1.0, 1.0);
    Access::llCorner(result) = clientFromCanonical * qvVector<2>(-1.0, -1.0);
    Access::lrCorner(result) = clientFromCanonical * qvVector<2>(1.0, -1.0);
    Access::crossing(result) = clientFromCanonical * qvVector<2>(0.0, 0.0);
}

qvVector<2> firstPoint(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines) {
    for (const long key : candidate.lines)
        if (key != kMissing) return lineAt(flatLines, key).p1;
    return qvVector<2>();
}

/// One step of the check: the outer end of line `end` must not lie on the wrong side of line `edge`.
struct CheckStep {
    std::size_t edge;
    std::size_t end;
    qv_endChoice choose;
    bool failsAbove;
    const wchar_t* choiceText;
};

constexpr CheckStep kCheckSteps[8] = {
    {0, 4, qf_leftmost, true, L"\n%used left  "}, {1, 5, qf_rightmost, false, L"\n%used right"},
    {2, 6, qf_leftmost, true, L"\n%used left  "}, {3, 7, qf_rightmost, false, L"\n%used right"},
    {4, 0, qf_topmost, false, L"\n%used top"},    {5, 1, qf_topmost, false, L"\n%used top"},
    {6, 2, qf_bottommost, true, L"\n%used bot"},  {7, 3, qf_bottommost, true, L"\n%used bot"}};

/// 1 or -1: takes the running direction out of a side, so that it counts to the right of a direction-1 line and above a
/// direction-0 line.
double sideSign(const qvFLine& line, bool direction1) {
    const double component = direction1 ? line.sinAngle() : line.cosAngle();
    return component >= 0.0 ? 1.0 : -1.0;
}

void tracePoint(qv_streetTrace* trace, const wchar_t* label, const qvVector<2>& point) {
    traceParts(trace, label, point.x(), L",", point.y(), L")");
}

bool passesStep(const CheckStep& step, const qv_ridgeLine& edge, const qv_ridgeLine& endLine, qv_streetTrace* trace) {
    const double sign = sideSign(edge.line, step.edge < 4);
    const qvVector<2> end = step.choose(endLine);
    const double distance = edge.line.distanceFrom(end);
    if (isTracing(trace)) {
        traceParts(trace, L"\n%cross check: line#", static_cast<long>(step.edge), L"against ",
                   static_cast<long>(step.end), L"\n%sign =", sign, L"\n%u =[", edge.line.cosAngle(), L",",
                   edge.line.sinAngle(), L"], dist=", edge.line.distance(), L"\n%distance=", distance);
        tracePoint(trace, L"\n%endp point=(", endLine.p2);
        tracePoint(trace, L"\n%startp point=(", endLine.p1);
        traceParts(trace, step.choiceText);
        tracePoint(trace, L"\n%point used=(", end);
    }
    const double side = sign * distance;
    return step.failsAbove ? !(side > 0.0) : !(side < 0.0);
}

}  // namespace

void accumulateFit(qvMatrix<3>& normal, qvVector<3>& rightSide, const qvVector<2>& point, double target) {
    const double row[3] = {point.x(), point.y(), 1.0};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) normal.element(i, j, normal.element(i, j) + row[i] * row[j]);
        rightSide[i] += target * row[i];
    }
}

void fitCanonicalCross(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines, CrossResult& result,
                       bool useResidualScore) {
    CrossFit fit(firstPoint(candidate, flatLines));
    for (std::size_t i = 0; i < 8; ++i) {
        if (candidate.lines[i] == kMissing) continue;
        const qv_ridgeLine& line = lineAt(flatLines, candidate.lines[i]);
        fit.add(i, line.p1, line.p2);
    }
    const qvXform<2> clientFromCanonical = fit.clientFromCanonical();
    setGeometry(result, clientFromCanonical);

    double residual = 0.0;
    std::vector<qvLineSeg>& segments = Access::lineSegs(result);
    segments.resize(8);
    for (std::size_t i = 0; i < 8; ++i) {
        const qvVector<2> inner = clientFromCanonical * qvCanonicalCross[i].inner();
        const qvVector<2> outer = clientFromCanonical * qvCanonicalCross[i].outer();
        if (candidate.lines[i] == kMissing) {
            segments[i] = qvLineSeg(inner, outer);
            continue;
        }
        const qv_ridgeLine& line = lineAt(flatLines, candidate.lines[i]);
        segments[i] = qvLineSeg(line.p1, line.p2);
        if (!useResidualScore) continue;
        const qvFLine drawn(inner, outer);
        residual += std::fabs(drawn.distanceFrom(line.p1));
        residual += std::fabs(drawn.distanceFrom(line.p2));
    }
    Access::score(result) = useResidualScore ? residual : candidate.score;
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromEdges;
}

bool crossCheck(const std::vector<qv_ridgeLine>& flatLines, const qv_stCand& candidate, qv_streetTrace* trace) {
    for (const CheckStep& step : kCheckSteps)
        if (!passesStep(step, lineAt(flatLines, candidate.lines[step.edge]),
                        lineAt(flatLines, candidate.lines[step.end]), trace))
            return false;
    traceParts(trace, L"\n%cross check pass");
    return true;
}

void crossesFromCandidates(std::vector<CrossResult>& results, long limit, const std::vector<qv_stCand>& candidates,
                           const std::vector<qv_ridgeLine>& flatLines, bool useResidualScore, bool separate) {
    const std::size_t most = static_cast<std::size_t>(std::max(limit, 0L));
    // Without the residual the order is that of the candidates, so no more need to be fitted than are kept.
    std::vector<CrossResult> ranked;
    if (useResidualScore) {
        ranked.resize(candidates.size());
        for (std::size_t i = 0; i < candidates.size(); ++i)
            fitCanonicalCross(candidates[i], flatLines, ranked[i], true);
        std::stable_sort(ranked.begin(), ranked.end(), qf_costOrder);
    }

    std::vector<CrossResult> kept;
    for (std::size_t i = 0; i < candidates.size() && kept.size() < most; ++i) {
        CrossResult result;
        if (useResidualScore) {
            result = std::move(ranked[i]);
        } else {
            fitCanonicalCross(candidates[i], flatLines, result, false);
        }
        if (!separate || isFarFromAll(kept, result.crossing(), qvLeastCrossSeparation))
            kept.push_back(std::move(result));
    }
    results = std::move(kept);
}

qv2XformLinear fitXformFromSegments(const CrossResult& result) {
    const std::vector<qvLineSeg>& segments = result.lineSegs();
    qf_assert(segments.size() == 8, L"a cross from edges has eight segments");
    CrossFit fit(segments[0].p1());
    for (std::size_t i = 0; i < 8; ++i) fit.add(i, segments[i].p1(), segments[i].p2());
    return qv2XformLinear(fit.clientFromCanonical());
}

void refitCrossFromSegments(CrossResult& result) { setGeometry(result, fitXformFromSegments(result)); }
