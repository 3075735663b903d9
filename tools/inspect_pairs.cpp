// In `edge` mode a street is two parallel lines a street's width apart. Only pairs that pass every test are counted by
// the search; here the ones that failed are looked at again, so that a page can tell a wrong width from a wrong
// polarity and from edges that the overlap test refuses.
#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tools/inspection.h"

#include <algorithm>
#include <cmath>

namespace qvtool {
namespace {

/// Those of the finder, with the widths that the options ask for.
qv_candidateTolerances tolerancesOf(const CommandOptions& options, const qv_streetFinderImpl& impl) {
    qv_candidateTolerances tolerances = impl.tolerances;
    tolerances.widthLower = qvPair<double>(options.rangeX.low, options.rangeY.low);
    tolerances.widthUpper = qvPair<double>(options.rangeX.high, options.rangeY.high);
    return tolerances;
}

std::vector<qv_ridgeLine> linesOf(const qv_streetFinderImpl& impl, std::size_t direction) {
    std::vector<qv_ridgeLine> lines;
    for (const qvLineFinderResults& line : impl.lines[direction]) {
        lines.push_back(makeRidgeLine(line, static_cast<long>(lines.size())));
    }
    return lines;
}

std::wstring countOf(std::size_t pairs) {
    return qfStr(static_cast<long>(pairs)) + (pairs == 1 ? L" pair" : L" pairs");
}

/// Mean distance of each line's middle from the other line.
double separationOf(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    const qvVector<2> middleOfA = (a.p1 + a.p2) * 0.5;
    const qvVector<2> middleOfB = (b.p1 + b.p2) * 0.5;
    return 0.5 * (std::fabs(a.line.distanceFrom(middleOfB)) + std::fabs(b.line.distanceFrom(middleOfA)));
}

bool isParallel(const qv_ridgeLine& a, const qv_ridgeLine& b, double toleranceDegrees) {
    return std::fabs(qvDegree(a.line.angle() - b.line.angle()).signedNorm().toDouble()) <= toleranceDegrees;
}

/// Whether some of `b` lies beside `a`.
bool isBeside(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    const auto [low, high] = std::minmax(a.startAlong, a.endAlong);
    const double one = a.line.distanceAlong(b.p1);
    const double other = a.line.distanceAlong(b.p2);
    return std::min(high, std::max(one, other)) > std::max(low, std::min(one, other));
}

}  // namespace

void recordRefusedPairs(const CommandOptions& options, const qvStreetFinder& finder, qvDiagObject& records) {
    if (options.mode != Mode::edge) return;
    qvDiagRecord* const record = qf_lastRecord(records, L"Candidates");
    if (record == nullptr) return;
    const qv_streetFinderImpl& impl = qf_finderRecord(finder);
    const qv_candidateTolerances tolerances = tolerancesOf(options, impl);
    for (std::size_t direction = 0; direction < impl.lines.size() && direction < 2; ++direction) {
        const Interval& range = direction == 0 ? options.rangeY : options.rangeX;
        const long pairType = direction == 0 ? eHorizontalPair : eVerticalPair;
        const std::vector<qv_ridgeLine> lines = linesOf(impl, direction);
        std::size_t refused = 0;
        std::size_t sameEnds = 0;
        for (const qv_ridgeLine& a : lines) {
            for (const qv_ridgeLine& b : lines) {
                if (&a == &b || a.line.distance() > b.line.distance()) continue;
                const double separation = separationOf(a, b);
                if (!(separation >= range.low && separation <= range.high)) continue;
                if (!isParallel(a, b, tolerances.angleTolerance)) continue;
                if (qf_testPair(a, b, tolerances, pairType, nullptr)) continue;
                ++refused;
                // No end lies strictly beside the other line, though the lines face each other.
                if (isBeside(a, b) && overlapSeparation(a, b) < 0.0) ++sameEnds;
            }
        }
        if (refused == 0) continue;
        record->text(
            countOf(refused) + L"; " +
                (sameEnds == 0 ? std::wstring(L"their lines do not lie beside each other")
                               : L"in " + qfStr(static_cast<long>(sameEnds)) +
                                     L" of them both edges end at exactly the same places, as in a drawn picture; "
                                     L"a grey level of noise parts such ends"),
            refusedPairsLabel(direction));
    }
}

void recordPairsOfAnyPolarity(const CommandOptions& options, const qvStreetFinder& finder, qvDiagObject& records) {
    if (options.mode != Mode::edge || options.polarity == Polarity::any) return;
    qvDiagRecord* const record = qf_lastRecord(records, L"Candidates");
    if (record == nullptr) return;
    const qv_streetFinderImpl& impl = qf_finderRecord(finder);
    const qv_candidateTolerances tolerances = tolerancesOf(options, impl);
    for (std::size_t direction = 0; direction < impl.lines.size() && direction < 2; ++direction) {
        const std::vector<qv_ridgeLine> lines = linesOf(impl, direction);
        std::vector<qv_candPair> pairs;
        // Without a polarity to test, the projection and the three lengths are not looked at.
        generatePairs(lines, 0, static_cast<long>(lines.size()), pairs, tolerances,
                      direction == 0 ? eHorizontalPair : eVerticalPair, impl.projectionAlong0,
                      qvStreetFinderDefs::eAnyPolarity, 0.0, 0.0, 0.0, nullptr);
        const std::wstring asked = options.polarity == Polarity::dark ? L"dark" : L"light";
        record->text(countOf(pairs.size()) + L"; asked for were " + asked + L" ones",
                     pairsOfAnyPolarityLabel(direction));
    }
}

}  // namespace qvtool
