// Canonical cross.
//
// In:  up to eight lines, or eight segments, client frame.
// Out: the transform from canonical to client coordinates, and from it crossing, angles, corners and drawn segments.
//
// Lines 0 to 3 say where u is -1 or 1, lines 4 to 7 where v is: two least-squares fits of three unknowns each.
#include "qvstreet/candidates/canonical_cross.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "qvstreet/candidates/line_ends.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;

constexpr long kMissing = -1;

/// Two numbers side by side, one of each of the two systems of a cross, and a mask of all ones or none for each.
typedef double Couple __attribute__((vector_size(16)));
typedef std::int64_t CoupleMask __attribute__((vector_size(16)));

CoupleMask bitsOf(Couple values) { return reinterpret_cast<CoupleMask>(values); }
Couple valuesOf(CoupleMask bits) { return reinterpret_cast<Couple>(bits); }
Couple magnitudeOf(Couple values) {
    constexpr std::int64_t allButSign = std::numeric_limits<std::int64_t>::max();
    return valuesOf(bitsOf(values) & CoupleMask{allButSign, allButSign});
}

/// Rows of three unknowns, and behind them what becomes of the rows of the identity.
using CoupleRows = std::array<std::array<Couple, 6>, 3>;

/// Exchanges two rows from column `first` on where the mask says so.
inline void exchangeRows(CoupleRows& rows, std::size_t a, std::size_t b, CoupleMask where, std::size_t first) {
    for (std::size_t column = first; column < 6; ++column) {
        const CoupleMask change = (bitsOf(rows[a][column]) ^ bitsOf(rows[b][column])) & where;
        rows[a][column] = valuesOf(bitsOf(rows[a][column]) ^ change);
        rows[b][column] = valuesOf(bitsOf(rows[b][column]) ^ change);
    }
}

/// Brings the largest element of a column, from the diagonal down, to the diagonal; of equal ones the upper.
inline void bringPivot(CoupleRows& rows, std::size_t column) {
    Couple largest = magnitudeOf(rows[column][column]);
    std::array<CoupleMask, 3> isLargest{};
    for (std::size_t row = column + 1; row < 3; ++row) {
        const Couple magnitude = magnitudeOf(rows[row][column]);
        isLargest[row] = magnitude > largest;
        largest = valuesOf((bitsOf(magnitude) & isLargest[row]) | (bitsOf(largest) & ~isLargest[row]));
        for (std::size_t former = column + 1; former < row; ++former) isLargest[former] &= ~isLargest[row];
    }
    for (std::size_t row = column + 1; row < 3; ++row) exchangeRows(rows, column, row, isLargest[row], column);
}

void requirePivot(double pivot) {
    if (!std::isfinite(pivot) || pivot == 0.0) throw qvMatrixErr::Singular(L"the matrix has no inverse");
}

/// One column of the elimination, as `qvMatrix::inverse` does it; a factor of 0 takes nothing off.
inline void eliminate(CoupleRows& rows, std::size_t column) {
    bringPivot(rows, column);
    const Couple pivot = rows[column][column];
    requirePivot(pivot[0]);
    requirePivot(pivot[1]);
    for (std::size_t k = column + 1; k < 6; ++k) rows[column][k] /= pivot;
    for (std::size_t row = 0; row < 3; ++row) {
        if (row == column) continue;
        const Couple factor = rows[row][column];
        const CoupleMask isAny = factor != Couple{0.0, 0.0};
        for (std::size_t k = column + 1; k < 6; ++k) rows[row][k] -= valuesOf(bitsOf(factor * rows[column][k]) & isAny);
    }
}

/// The sums of one least-squares fit of t = a x + b y + c over points (x, y).
struct FitSums {
    double xx = 0.0;
    double xy = 0.0;
    double x = 0.0;
    double yy = 0.0;
    double y = 0.0;
    double count = 0.0;
    double tx = 0.0;
    double ty = 0.0;
    double t = 0.0;

    void add(const qvVector<2>& point, double target) {
        xx += point.x() * point.x();
        xy += point.x() * point.y();
        x += point.x();
        yy += point.y() * point.y();
        y += point.y();
        count += 1.0;
        tx += target * point.x();
        ty += target * point.y();
        t += target;
    }
    qvMatrix<3> normal() const { return qvMatrix<3>(xx, xy, x, xy, yy, y, x, y, count); }
    qvVector<3> rightSide() const { return qvVector<3>(tx, ty, t); }
};

/// (a, b, c) of both fits: the inverse of the normal matrix times the right side. Both at once take the time of one.
/// @throws qvMatrixErr::Singular
std::array<Couple, 3> solutions(const FitSums& u, const FitSums& v) {
    const Couple zero{0.0, 0.0};
    const Couple one{1.0, 1.0};
    const Couple xy{u.xy, v.xy};
    const Couple x{u.x, v.x};
    const Couple y{u.y, v.y};
    CoupleRows rows = {{{Couple{u.xx, v.xx}, xy, x, one, zero, zero},
                        {xy, Couple{u.yy, v.yy}, y, zero, one, zero},
                        {x, y, Couple{u.count, v.count}, zero, zero, one}}};
    eliminate(rows, 0);
    eliminate(rows, 1);
    eliminate(rows, 2);
    const Couple tx{u.tx, v.tx};
    const Couple ty{u.ty, v.ty};
    const Couple t{u.t, v.t};
    std::array<Couple, 3> unknowns;
    for (std::size_t i = 0; i < 3; ++i) unknowns[i] = rows[i][3] * tx + rows[i][4] * ty + rows[i][5] * t;
    return unknowns;
}

/// The two systems. Points are taken relative to an origin near them, so that client coordinates far from (0, 0) cost
/// no precision.
class CrossFit {
 public:
    explicit CrossFit(const qvVector<2>& origin) : origin_(origin) {}

    void add(std::size_t segment, const qvVector<2>& p1, const qvVector<2>& p2) {
        FitSums& sums = segment < 4 ? acrossU_ : acrossV_;
        const double target = qvCanonicalCross[segment].target;
        sums.add(p1 - origin_, target);
        sums.add(p2 - origin_, target);
    }

    /// @throws qvMatrixErr::Singular
    qvXform<2> clientFromCanonical() const {
        const auto [a, b, c] = solutions(acrossU_, acrossV_);
        const qvXform<2> canonicalFromLocal(qvMatrix<2>(a[0], b[0], a[1], b[1]), qvVector<2>(c[0], c[1]));
        const qvXform<2> localFromCanonical = canonicalFromLocal.inverse();
        return qvXform<2>(localFromCanonical.matrix(), localFromCanonical.trans() + origin_);
    }

 private:
    qvVector<2> origin_;
    FitSums acrossU_;
    FitSums acrossV_;
};

void setCorners(CrossResult& result, const qvXform<2>& clientFromCanonical) {
    Access::ulCorner(result) = clientFromCanonical * qvVector<2>(-1.0, 1.0);
    Access::urCorner(result) = clientFromCanonical * qvVector<2>(1.0, 1.0);
    Access::llCorner(result) = clientFromCanonical * qvVector<2>(-1.0, -1.0);
    Access::lrCorner(result) = clientFromCanonical * qvVector<2>(1.0, -1.0);
}

/// Crossing and angles as the transform shows them.
void setCentre(CrossResult& result, const qvXform<2>& clientFromCanonical) {
    static const qvVector<2> alongU(1.0, qvDegree(0.0));
    static const qvVector<2> alongV(1.0, qvDegree(90.0));
    Access::horizontalAngle(result) = clientFromCanonical.mapVector(alongU).angle();
    // Near -90 degrees for an upright image, because v runs against y.
    Access::verticalAngle(result) = clientFromCanonical.mapVector(alongV).angle();
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
    FitSums sums;
    sums.add(point, target);
    const qvMatrix<3> products = sums.normal();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) normal.element(i, j, normal.element(i, j) + products.element(i, j));
    rightSide += sums.rightSide();
}

qvXform<2> placeCrossArms(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines, CrossResult& result) {
    CrossFit fit(firstPoint(candidate, flatLines));
    for (std::size_t i = 0; i < 8; ++i) {
        if (candidate.lines[i] == kMissing) continue;
        const qv_ridgeLine& line = lineAt(flatLines, candidate.lines[i]);
        fit.add(i, line.p1, line.p2);
    }
    const qvXform<2> clientFromCanonical = fit.clientFromCanonical();
    setCorners(result, clientFromCanonical);

    std::vector<qvLineSeg>& segments = Access::lineSegs(result);
    segments.resize(8);
    for (std::size_t i = 0; i < 8; ++i) {
        if (candidate.lines[i] == kMissing) {
            segments[i] = qvLineSeg(clientFromCanonical * qvCanonicalCross[i].inner(),
                                    clientFromCanonical * qvCanonicalCross[i].outer());
            continue;
        }
        const qv_ridgeLine& line = lineAt(flatLines, candidate.lines[i]);
        segments[i] = qvLineSeg(line.p1, line.p2);
    }
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromEdges;
    return clientFromCanonical;
}

void fitCanonicalCross(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines, CrossResult& result,
                       bool useResidualScore) {
    const qvXform<2> clientFromCanonical = placeCrossArms(candidate, flatLines, result);
    setCentre(result, clientFromCanonical);
    Access::score(result) = candidate.score;
    if (!useResidualScore) return;

    double residual = 0.0;
    for (std::size_t i = 0; i < 8; ++i) {
        if (candidate.lines[i] == kMissing) continue;
        const qv_ridgeLine& line = lineAt(flatLines, candidate.lines[i]);
        const qvFLine drawn(clientFromCanonical * qvCanonicalCross[i].inner(),
                            clientFromCanonical * qvCanonicalCross[i].outer());
        residual += std::fabs(drawn.distanceFrom(line.p1));
        residual += std::fabs(drawn.distanceFrom(line.p2));
    }
    Access::score(result) = residual;
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

void refitCrossFromSegments(CrossResult& result) {
    const qvXform<2> clientFromCanonical = fitXformFromSegments(result);
    setCorners(result, clientFromCanonical);
    setCentre(result, clientFromCanonical);
}
