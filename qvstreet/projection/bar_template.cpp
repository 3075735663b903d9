// Bar template.
//
// In:  the sums of a block around a line near the centre of a narrow street.
// Out: how far the centre lies from the line, the street's contrast, and how well the pels look like a street.
//
//               ____                The two edges of a street of a few pels run into each other: neither has a level on
//      ________/    \               its inner side. So the street is fitted as a whole. The levels of its two sides are
//                    \_______       free, each on its own, so that a brighter die does not draw the centre aside.
#include "qvstreet/projection/bar_template.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/projection/valley_search.h"

namespace {

constexpr double kPhases = static_cast<double>(kEdgePhases);
// Of 1 / sqrt(2) and 1 / sqrt(2 pi).
constexpr double kRootHalf = 0.7071067811865476;
constexpr double kNormalDensity = 0.3989422804014327;
// A pivot below this share of the pels does not determine its unknown.
constexpr double kLeastPivot = 1e-9;

double stepAt(double d, double sigma) { return 0.5 * std::erfc(-d / sigma * kRootHalf); }
double densityAt(double d, double sigma) { return kNormalDensity / sigma * std::exp(-0.5 * (d / sigma) * (d / sigma)); }

/// Solves for the first `count` unknowns by elimination; the matrix is symmetric and, but for rounding, not negative.
template <std::size_t N>
bool solve(std::array<std::array<double, N>, N> matrix, std::array<double, N> right, std::size_t count,
           std::array<double, N>& unknowns) {
    const double least = kLeastPivot * matrix[0][0];
    for (std::size_t i = 0; i < count; ++i) {
        if (!(matrix[i][i] > least)) return false;
        for (std::size_t j = i + 1; j < count; ++j) {
            const double factor = matrix[j][i] / matrix[i][i];
            for (std::size_t k = i; k < count; ++k) matrix[j][k] -= factor * matrix[i][k];
            right[j] -= factor * right[i];
        }
    }
    for (std::size_t i = count; i-- > 0;) {
        double sum = right[i];
        for (std::size_t k = i + 1; k < count; ++k) sum -= matrix[i][k] * unknowns[k];
        unknowns[i] = sum / matrix[i][i];
    }
    return true;
}

}  // namespace

qv_BarTemplate::qv_BarTemplate(double sigma, double width) : sigma_(sigma), width_(width), normal_{} {
    const double half = 0.5 * width;
    for (std::size_t phase = 0; phase < kEdgePhases; ++phase)
        for (std::size_t pel = 0; pel < kEdgePels; ++pel) {
            const double beyondBorder = (static_cast<double>(phase) + 0.5) / kPhases - 0.5;
            const double d = static_cast<double>(pel) - 0.5 * static_cast<double>(kEdgePels) + 0.5 - beyondBorder;
            const double first = stepAt(d + half, sigma);
            const double second = stepAt(d - half, sigma);
            const Columns columns{1.0, 0.5 * (first + second) - 0.5, first - second,
                                  densityAt(d + half, sigma) - densityAt(d - half, sigma)};
            columns_[phase][pel] = columns;
            for (std::size_t a = 0; a < kUnknowns; ++a)
                for (std::size_t b = 0; b < kUnknowns; ++b) normal_[phase][a][b] += columns[a] * columns[b];
        }
}

bool qv_BarTemplate::fit(const qv_EdgeSums& block, qv_EdgeFit& result) const {
    std::array<Columns, kUnknowns> normal{};
    Columns right{};
    double squares = 0.0;
    for (std::size_t q = 0; q < block.counts.size(); ++q) {
        if (block.counts[q] == 0) continue;
        const double count = static_cast<double>(block.counts[q]);
        double phaseSquares = 0.0;
        for (std::size_t k = 0; k < kEdgePels; ++k) {
            const double sum = static_cast<double>(block.sums[q][k]);
            for (std::size_t a = 0; a < kUnknowns; ++a) right[a] += sum * columns_[q][k][a];
            phaseSquares += sum * sum;
        }
        squares += phaseSquares / count;
        for (std::size_t a = 0; a < kUnknowns; ++a)
            for (std::size_t b = 0; b < kUnknowns; ++b) normal[a][b] += count * normal_[q][a][b];
    }
    Columns unknowns{};
    if (!solve(normal, right, kUnknowns, unknowns) || unknowns[2] == 0.0) return false;
    result.level = unknowns[0];
    result.contrast = unknowns[2];
    result.offset = -unknowns[3] / unknowns[2] - block.phaseShift;
    double left = squares;
    for (std::size_t a = 0; a < kUnknowns; ++a) left -= unknowns[a] * right[a];
    result.misfit = std::max(left, 0.0) / normal[0][0];
    return true;
}

double qv_BarTemplate::misfit(const qv_EdgeStack& stack) const {
    std::array<Columns, kUnknowns> normal{};
    Columns right{};
    double squares = 0.0;
    for (std::size_t q = 0; q < kEdgePhases; ++q) {
        const double count = stack.counts()[q];
        if (count == 0.0) continue;
        for (std::size_t k = 0; k < kEdgePels; ++k) {
            const double sum = stack.sums()[q][k];
            for (std::size_t a = 0; a < kUnknowns; ++a) right[a] += sum * columns_[q][k][a];
            squares += sum * sum / count;
        }
        for (std::size_t a = 0; a < kUnknowns; ++a)
            for (std::size_t b = 0; b < kUnknowns; ++b) normal[a][b] += count * normal_[q][a][b];
    }
    // The stack lies on its centre, so there is no offset to find.
    constexpr std::size_t kLevels = 3;
    Columns unknowns{};
    if (!solve(normal, right, kLevels, unknowns)) return squares;
    double left = squares;
    for (std::size_t a = 0; a < kLevels; ++a) left -= unknowns[a] * right[a];
    return std::max(left, 0.0) / normal[0][0];
}

const qv_BarTemplate& qv_BarTemplates::of(long sigmaStep, long widthStep) {
    std::unique_ptr<qv_BarTemplate>& one = templates_[{sigmaStep, widthStep}];
    if (one == nullptr)
        one = std::make_unique<qv_BarTemplate>(qv_EdgeTemplates::sigmaOf(sigmaStep), widthOf(widthStep));
    return *one;
}

long qv_BarTemplates::stepOfWidth(double pels) {
    const double step = std::floor((pels - widthOf(0)) / (widthOf(1) - widthOf(0)) + 0.5);
    return static_cast<long>(std::clamp(step, 0.0, static_cast<double>(kWidths - 1)));
}

qv_BarTemplates::Best qv_BarTemplates::best(const qv_EdgeStack& stack) {
    // Blur and width stand in for each other, so the valley of the misfit lies across both: each blur is judged by the
    // width that suits it best.
    const auto widthFor = [&](long sigmaStep) {
        return qf_valleyStep(kWidths, [&](long step) { return of(sigmaStep, step).misfit(stack); });
    };
    const long sigmaStep =
        qf_valleyStep(qv_EdgeTemplates::kCount, [&](long step) { return of(step, widthFor(step)).misfit(stack); });
    const long widthStep = widthFor(sigmaStep);
    const qv_BarTemplate& shape = of(sigmaStep, widthStep);
    if (widthStep == 0 || widthStep == kWidths - 1) return {&shape, shape.width()};
    // The lowest point of the parabola through three misfits.
    const double before = of(sigmaStep, widthStep - 1).misfit(stack);
    const double here = shape.misfit(stack);
    const double after = of(sigmaStep, widthStep + 1).misfit(stack);
    const double bend = before - 2.0 * here + after;
    const double shift = bend > 0.0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0.0;
    return {&shape, shape.width() + shift * (widthOf(1) - widthOf(0))};
}
