// The crossing search of the edge pair mode.
//
// In:  `lines` of the record, client frame; widths, polarity and number of results asked for.
// Out: crosses, appended.
//
//     lines of both directions -> one flat list, direction 0 first -> stages -> crosses
#include "qvstreet/streetfinder/candidate_search.h"

#include <utility>

#include "qvstreet/candidates/eight_line_crosses.h"
#include "qvstreet/candidates/final_selection.h"
#include "qvstreet/candidates/four_line_crosses.h"
#include "qvstreet/candidates/line_merging.h"
#include "qvstreet/candidates/stage_order.h"

namespace {

using CrossResult = qvStreetFinderStreetCrossResult;

constexpr std::size_t kLineReserve = 15;
// Pieces of one street edge may lie this many street widths apart along it.
constexpr double kMergeReachWidths = 1.5;
// Largest street width, client units, where none is known.
constexpr double kUnknownWidthUpper = 64.0;

/// Joins colinear lines of both directions and numbers the result anew.
void mergeColinearLines(std::vector<qv_ridgeLine>& flatLines, std::vector<long>& lineCounts,
                        const qv_candidateContext& context) {
    const double across = context.tolerances.lineGapTolerance;
    const qvPair<double> nominal = context.nominalWidth;
    std::vector<qv_ridgeLine> merged;
    std::vector<qv_ridgeLine> second;
    merged.reserve(static_cast<std::size_t>(lineCounts.at(0)));
    second.reserve(static_cast<std::size_t>(lineCounts.at(1)));
    mergeLineRun(merged, flatLines, 0, lineCounts.at(0), qvPair<double>(across, kMergeReachWidths * nominal.first));
    mergeLineRun(second, flatLines, lineCounts.at(0), lineCounts.at(1),
                 qvPair<double>(across, kMergeReachWidths * nominal.second));

    lineCounts = {static_cast<long>(merged.size()), static_cast<long>(second.size())};
    merged.insert(merged.end(), second.begin(), second.end());
    for (std::size_t key = 0; key < merged.size(); ++key) merged[key].lineKey = static_cast<long>(key);
    flatLines = std::move(merged);
}

/// One pass over a cell of widths that begins at 0; its best cross is kept.
void searchWidthCell(qv_candidateStore& store, std::vector<CrossResult>& results,
                     const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                     const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace) {
    qv_candidateContext cell = context;
    const qv_candidateTolerances& t = context.tolerances;
    cell.tolerances.widthLower = qvPair<double>(0.0, 0.0);
    cell.tolerances.widthUpper =
        qvPair<double>(t.widthUpper.first - t.widthLower.first, t.widthUpper.second - t.widthLower.second);
    store.clear();
    std::vector<CrossResult> found;
    dispatchCandidates(store, found, flatLines, lineCounts, cell, impl, trace);
    if (!found.empty()) results.push_back(found.front());
}

void setContext(const qv_streetFinderImpl& impl, long runMode, long polarity, long maxResults,
                qv_candidateContext& context) {
    // The weights keep their memory.
    std::vector<double> weights = std::move(context.scoreWeights);
    context = qv_candidateContext();
    context.scoreWeights = std::move(weights);
    context.maxResults = maxResults;
    context.runMode = runMode;
    context.imageSize = impl.imageSize;
    context.tolerances = impl.tolerances;
    context.scoreWeights = impl.scoreWeights;
    context.polarity = polarity;
    context.stageFlags = runMode == qvStreetFinderDefs::eEdgePairWafer ? eKeepBest : eKeepBest | eMergeLines;
}

}  // namespace

qv_ridgeLine makeRidgeLine(const qvLineFinderResults& line, long lineKey) {
    qv_ridgeLine ridge;
    ridge.p1 = line.segment().p1();
    ridge.p2 = line.segment().p2();
    ridge.line = qvFLine(ridge.p1, ridge.p2);
    ridge.angle = ridge.line.angle();
    ridge.lineQuality = line.lineQuality();
    ridge.startAlong = ridge.line.distanceAlong(ridge.p1);
    ridge.endAlong = ridge.line.distanceAlong(ridge.p2);
    ridge.extent = ridge.endAlong - ridge.startAlong;
    ridge.lineKey = lineKey;
    ridge.polarity = line.unguardedPolarity();
    return ridge;
}

void runCandidatesOnce(qv_candidateStore& store, std::vector<CrossResult>& results,
                       std::vector<qv_ridgeLine>& flatLines, std::vector<long>& lineCounts,
                       const qv_candidateContext& context, const qv_streetFinderImpl& impl, qv_streetTrace* trace,
                       qvDiagObject* diagObject) {
    if ((context.stageFlags & eWidthsKnown) == 0)
        return searchWidthCell(store, results, flatLines, lineCounts, context, impl, trace);
    if ((context.stageFlags & eMergeLines) != 0) mergeColinearLines(flatLines, lineCounts, context);
    store.clear();
    dispatchCandidates(store, results, flatLines, lineCounts, context, impl, trace, diagObject);
}

void runCandidateSearch(const qv_streetFinderImpl& impl, std::vector<qv_ridgeLine>& flatLines,
                        std::vector<long>& lineCounts, long runMode, long polarity, std::vector<CrossResult>& results,
                        const qvPair<double>& nominalWidth, const qvPair<double>& rangeX, const qvPair<double>& rangeY,
                        long maxResults, qvDiagObject* diagObject) {
    qv_streetTrace* const trace = impl.trace.get();
    const qv_traceFrame frame(trace);
    qv_candidateContext& context = impl.scratch.candidates.context;
    setContext(impl, runMode, polarity, maxResults, context);
    qv_candidateTolerances& tolerances = context.tolerances;
    qv_candidateStore& store = impl.scratch.candidates.store;
    store.clear();
    if ((impl.flags & qvSizesFromParams) == 0) {
        // No finder that a host can hold gets here: the stages run on an empty store and find nothing.
        tolerances.widthLower = qvPair<double>(0.0, 0.0);
        tolerances.widthUpper = qvPair<double>(kUnknownWidthUpper, kUnknownWidthUpper);
        std::vector<CrossResult> pairCrosses;
        std::vector<CrossResult> quadCrosses;
        generatePairCrosses(store, pairCrosses, flatLines, context, impl.clientFromImage);
        genAndScore(store, quadCrosses, flatLines, context, trace);
        selectFinalCrosses(results, pairCrosses, quadCrosses, context, impl, trace);
        return;
    }
    tolerances.nominalWidth = nominalWidth;
    tolerances.widthUpper = qvPair<double>(rangeX.second, rangeY.second);
    tolerances.widthLower = qvPair<double>(rangeX.first, rangeY.first);
    context.nominalWidth = nominalWidth;
    context.stageFlags |= eWidthsKnown;
    runCandidatesOnce(store, results, flatLines, lineCounts, context, impl, trace, diagObject);
}

void findEdgePairCrosses(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                         std::vector<CrossResult>& results, qvDiagObject* diagObject) {
    std::vector<qv_ridgeLine>& flatLines = impl.scratch.candidates.flatLines;
    std::vector<long>& lineCounts = impl.scratch.candidates.lineCounts;
    flatLines.clear();
    flatLines.reserve(kLineReserve);
    lineCounts.clear();
    for (const std::vector<qvLineFinderResults>& direction : impl.lines) {
        const std::size_t before = flatLines.size();
        for (const qvLineFinderResults& line : direction)
            flatLines.push_back(makeRidgeLine(line, static_cast<long>(flatLines.size())));
        lineCounts.push_back(static_cast<long>(flatLines.size() - before));
    }
    // None after a binding that broke off half-way.
    lineCounts.resize(2, 0);
    runCandidateSearch(impl, flatLines, lineCounts, params.runMode(), params.streetPolarity(), results,
                       params.nominalStreetWidth(), params.nominalStreetWidthRangeX(),
                       params.nominalStreetWidthRangeY(), params.maxResults(), diagObject);
}
