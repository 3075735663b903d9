// The order of the candidate stages.
//
//     edge pair mode   pairs -> quads -> eight-line crosses \ one score, merged, separated
//                        \-----------> four-line crosses    /
//     ridge modes      lines -> line crossings
//     reserved mode    pairs -> quads -> crosses by their place in the image; if none, corners -> crosses
#include "qvstreet/candidates/stage_order.h"

#include <algorithm>

#include "qvstreet/candidates/candidate_search_records.h"
#include "qvstreet/candidates/corner_crosses.h"
#include "qvstreet/candidates/cross_pairs.h"
#include "qvstreet/candidates/eight_line_crosses.h"
#include "qvstreet/candidates/final_selection.h"
#include "qvstreet/candidates/four_line_crosses.h"
#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/candidates/quad_test.h"

namespace {

using Defs = qvStreetFinderDefs;

// Limit of the cost of a cross in the reserved mode.
constexpr double kMaxResidual = 15.0;

bool qualitiesAreEqual(const std::vector<qv_ridgeLine>& flatLines) {
    return std::all_of(flatLines.begin(), flatLines.end(), [&flatLines](const qv_ridgeLine& line) {
        return line.lineQuality == flatLines.front().lineQuality;
    });
}

void appendPairs(const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts, long direction,
                 const qv_candidateContext& context, const qvTiledProjectionResult& projection,
                 std::vector<qv_candPair>& out, qv_candidateScratch& scratch, qv_streetTrace* trace) {
    const long first = direction == 0 ? 0 : lineCounts.at(0);
    generatePairs(flatLines, first, lineCounts.at(static_cast<std::size_t>(direction)), out, context.tolerances,
                  direction == 0 ? eHorizontalPair : eVerticalPair, projection, context.polarity, context.polarityInset,
                  context.polaritySideWidth, context.polarityMargin, trace, &scratch);
}

/// The quads of one direction, cut to the best.
void bestQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
               const qv_candidateContext& context, bool keepBest, std::vector<qv_candQuad>& out,
               qv_candidateScratch& scratch, qv_streetTrace* trace) {
    if (!keepBest) return generateQuads(flatLines, pairs, out, context.tolerances, trace);
    std::vector<qv_candQuad>& quads = scratch.quads;
    quads.clear();
    // With equal qualities the cut keeps the first quads, so no more are needed unless the trace lists all.
    if (!isTracing(trace) && qualitiesAreEqual(flatLines)) {
        generateFirstQuads(flatLines, pairs, quads, context.tolerances, context.maxQuads);
    } else {
        generateQuads(flatLines, pairs, quads, context.tolerances, trace);
    }
    keepBestQuads(flatLines, quads, out, context.maxQuads, &scratch);
}

void edgePairStages(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                    const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                    const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace,
                    qvDiagObject* diagObject) {
    generatePairsAndQuads(store, flatLines, lineCounts, context, impl, trace);
    std::vector<qvStreetFinderStreetCrossResult>& quadCrosses = impl.scratch.candidates.quadCrosses;
    genAndScore(store, quadCrosses, flatLines, context, trace);
    std::vector<qvStreetFinderStreetCrossResult>& pairCrosses = impl.scratch.candidates.pairCrosses;
    generatePairCrosses(store, pairCrosses, flatLines, context, impl.clientFromImage);
    if (diagObject != nullptr)
        recordCandidateCounts(store, lineCounts, quadCrosses.size(), pairCrosses.size(), context, *diagObject);
    selectFinalCrosses(results, pairCrosses, quadCrosses, context, impl, trace, diagObject);
}

void reservedModeStages(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                        const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                        const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace) {
    generatePairsAndQuads(store, flatLines, lineCounts, context, impl, trace);
    generateSpecialCrosses(flatLines, store.vquads_, store.hquads_, results, context.maxResults, kMaxResidual,
                           context.imageSize, trace);
    if (results.empty()) generateCornerCrosses(store, results, flatLines, lineCounts, context, trace);
}

}  // namespace

void generatePairsAndQuads(qv_candidateStore& store, const std::vector<qv_ridgeLine>& flatLines,
                           const std::vector<long>& lineCounts, const qv_candidateContext& context,
                           const qv_streetFinderImpl& impl, qv_streetTrace* trace) {
    const bool keepBest = (context.stageFlags & eKeepBest) != 0;
    qv_candidateScratch& scratch = store.scratch;
    std::vector<qv_candPair>& h = scratch.hpairs;
    std::vector<qv_candPair>& v = scratch.vpairs;
    h.clear();
    v.clear();
    traceParts(trace, L"\n%%Generate hpairs_\n");
    appendPairs(flatLines, lineCounts, 0, context, impl.projectionAlong0, keepBest ? h : store.hpairs_, scratch, trace);
    traceParts(trace, L"\n%%Generate vpairs_\n");
    appendPairs(flatLines, lineCounts, 1, context, impl.projectionAlong1, keepBest ? v : store.vpairs_, scratch, trace);
    if (keepBest) {
        keepBestPairs(flatLines, h, store.hpairs_, context.maxPairs, &scratch);
        keepBestPairs(flatLines, v, store.vpairs_, context.maxPairs, &scratch);
    }

    // deliberate: the two labels are crossed, the lists are not; pinned by StageOrder.QuadLabelsAreCrossed
    traceParts(trace, L"\n%%Generate hquads_\n");
    bestQuads(flatLines, store.vpairs_, context, keepBest, store.vquads_, scratch, trace);
    traceParts(trace, L"\n%%Generate vquads_\n");
    bestQuads(flatLines, store.hpairs_, context, keepBest, store.hquads_, scratch, trace);
}

void dispatchCandidates(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                        const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                        const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace,
                        qvDiagObject* diagObject) {
    switch (context.runMode) {
        case Defs::eEdgePairWafer:
            return edgePairStages(store, results, flatLines, lineCounts, context, impl, trace, diagObject);
        case Defs::eRidgeWafer:
        case Defs::eCoarseRidgeWafer:
            return generateXcands(store, results, flatLines, lineCounts, context, trace);
        default:
            return reservedModeStages(store, results, flatLines, lineCounts, context, impl, trace);
    }
}
