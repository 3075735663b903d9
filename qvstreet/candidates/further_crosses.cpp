// Further cross builders.
//
// In:  quads, pairs and lines of both directions, client frame.
// Out: crosses with a cost, cheapest first.
#include "qvstreet/candidates/further_crosses.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/candidates/eight_line_crosses.h"
#include "qvstreet/candidates/line_ends.h"
#include "qvstreet/candidates/pair_test.h"

namespace {

/// The line across the gap of a quad's edge, from an end of the one piece to an end of the other.
qv_ridgeLine bridge(const qvVector<2>& from, const qvVector<2>& to) {
    qv_ridgeLine line;
    line.p1 = from;
    line.p2 = to;
    line.line = qvFLine(from, to);
    return line;
}

/// Whether both bridges of the quad cross both lines of the pair.
bool bridgesCross(const std::vector<qv_ridgeLine>& flatLines, const qv_candQuad& quad, const qv_candPair& pair,
                  qv_endChoice ofFirst, qv_endChoice ofSecond) {
    const qv_ridgeLine bridges[2] = {
        bridge(ofFirst(lineAt(flatLines, quad.first.line1)), ofSecond(lineAt(flatLines, quad.second.line1))),
        bridge(ofFirst(lineAt(flatLines, quad.first.line2)), ofSecond(lineAt(flatLines, quad.second.line2)))};
    for (const qv_ridgeLine& bridging : bridges)
        for (const long key : {pair.line1, pair.line2})
            if (!segmentsCross(bridging, lineAt(flatLines, key))) return false;
    return true;
}

/// The quad's lines in the places of the upright arms, each line of the pair in both its flat arms.
// deliberate: so too for a flat quad with an upright pair; pinned by FurtherCrosses.AFlatQuadTakesTheUprightPlaces
qv_stCand candidateOf(const qv_candQuad& quad, const qv_candPair& pair) {
    qv_stCand candidate;
    const long lines[8] = {quad.first.line1, quad.first.line2, quad.second.line1, quad.second.line2,
                           pair.line1,       pair.line1,       pair.line2,        pair.line2};
    std::copy(std::begin(lines), std::end(lines), candidate.lines);
    return candidate;
}

void traceKeys(qv_streetTrace* trace, const wchar_t* heading, const qv_stCand& candidate) {
    if (!isTracing(trace)) return;
    traceParts(trace, heading);
    for (const long key : candidate.lines) traceParts(trace, key, L" ");
}

/// Whether the two lines bound a street, in whichever order.
bool isPair(const std::vector<qv_ridgeLine>& flatLines, long key1, long key2, const qv_candidateTolerances& tolerances,
            long pairType, qv_streetTrace* trace) {
    const qv_ridgeLine& a = lineAt(flatLines, key1);
    const qv_ridgeLine& b = lineAt(flatLines, key2);
    return qf_testPair(a, b, tolerances, pairType, trace) || qf_testPair(b, a, tolerances, pairType, trace);
}

}  // namespace

bool quadCrossesPair(const std::vector<qv_ridgeLine>& flatLines, const qv_candQuad& quad, const qv_candPair& pair,
                     qv_streetTrace* /*trace*/) {
    return bridgesCross(flatLines, quad, pair, qf_topmost, qf_bottommost);
}

bool pairCrossesQuad(const std::vector<qv_ridgeLine>& flatLines, const qv_candQuad& quad, const qv_candPair& pair,
                     qv_streetTrace* /*trace*/) {
    // deliberate: inner ends here, outer ends for an upright quad; pinned by
    // FurtherCrosses.AFlatQuadIsBridgedBetweenItsInnerEnds
    return bridgesCross(flatLines, quad, pair, qf_leftmost, qf_rightmost);
}

void generateQuadPairCrosses(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                             const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& /*lineCounts*/,
                             const qv_candidateContext& context, const qv_streetFinderImpl& /*impl*/,
                             qv_streetTrace* trace) {
    std::vector<qv_stCand> candidates;
    const auto add = [&](const qv_candQuad& quad, const qv_candPair& pair, long gapMode, const wchar_t* heading) {
        qv_stCand candidate = candidateOf(quad, pair);
        traceKeys(trace, heading, candidate);
        candidate.score = scoreStCand(flatLines, candidate, context.tolerances, context.scoreWeights, gapMode, trace);
        candidates.push_back(std::move(candidate));
    };
    for (const qv_candQuad& quad : store.vquads_)
        for (const qv_candPair& pair : store.hpairs_)
            if (quadCrossesPair(flatLines, quad, pair, trace))
                add(quad, pair, eGapOfA, L"\n%lines considered for a VQHP are (in order): ");
    for (const qv_candPair& pair : store.vpairs_)
        for (const qv_candQuad& quad : store.hquads_)
            if (pairCrossesQuad(flatLines, quad, pair, trace))
                add(quad, pair, eGapOfB, L"\n%lines considered for a HQVP  are (in order): ");

    std::stable_sort(candidates.begin(), candidates.end());
    results.clear();
    crossesFromCandidates(results, context.maxResults, candidates, flatLines, false, true);
}

void generatePairsOfCrossPairs(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0,
                               long count0, std::vector<qv_candPairOfCrossPair>& out,
                               const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights,
                               const qvPair<long>& imageSize, qv_streetTrace* trace) {
    std::vector<qv_candCrossPair> list;
    generateCrossPairs(flatLines, first1, count1, first0, count0, list, tolerances, scoreWeights, imageSize, trace);
    const qvPair<double>& nominal = tolerances.nominalWidth;
    for (std::size_t i = 0; i < list.size(); ++i)
        for (std::size_t j = i + 1; j < list.size(); ++j) {
            const qv_candCrossPair& p = list[i];
            const qv_candCrossPair& q = list[j];
            traceParts(trace, L"\n%Considering, as a cross pair: ", p.line1, L" ", p.line2, L" ", q.line1, L" ",
                       q.line2);
            const bool fits = isPair(flatLines, p.line1, q.line1, tolerances, eVerticalPair, trace) &&
                              isPair(flatLines, p.line2, q.line2, tolerances, eHorizontalPair, trace);
            if (!fits) {
                traceParts(trace, L"...not a crosspair\n");
                continue;
            }
            const double widthV = overlapSeparation(lineAt(flatLines, p.line1), lineAt(flatLines, q.line1));
            const double widthH = overlapSeparation(lineAt(flatLines, p.line2), lineAt(flatLines, q.line2));
            const double score = p.score + q.score + widthCost(widthV, nominal.first, scoreWeights[8]) +
                                 widthCost(widthH, nominal.second, scoreWeights[9]);
            out.push_back({p, q, score});
            traceParts(trace, L"\n%built a pair of cross pairs: ", p.line1, L" ", p.line2, L" ", q.line1, L" ", q.line2,
                       L"w score: ", score);
        }
    std::stable_sort(out.begin(), out.end());
}
