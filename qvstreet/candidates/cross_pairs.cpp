// Line crossings.
//
// In:  the lines of both directions, client frame.
// Out: couples that cross, cheapest first, and results of one line per street.
#include "qvstreet/candidates/cross_pairs.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;

/// Whether both ends of `ends` lie on the same side of `line`; an end on the line lies on neither.
bool onOneSide(const qv_ridgeLine& line, const qv_ridgeLine& ends) {
    return line.line.distanceFrom(ends.p1) * line.line.distanceFrom(ends.p2) > 0.0;
}

void scoreCrossPair(qv_candCrossPair& pair, const std::vector<qv_ridgeLine>& flatLines,
                    const std::vector<double>& scoreWeights, const qvPair<long>& imageSize) {
    const qv_ridgeLine& a = lineAt(flatLines, pair.line1);
    const qv_ridgeLine& b = lineAt(flatLines, pair.line2);
    const double width = static_cast<double>(imageSize.first);
    const double height = static_cast<double>(imageSize.second);
    const double dy = std::fabs(a.p2.y() - a.p1.y());
    const double dx = std::fabs(b.p2.x() - b.p1.x());
    const double length = (height - dy) / height + (width - dx) / width;
    const double dotProduct = qvVector<2>(1.0, a.line.angle()) * qvVector<2>(1.0, b.line.angle());
    const double normality = std::fabs(dotProduct) * scoreWeights[7];
    pair.components = {length, normality};
    pair.score = length * scoreWeights[6] + normality;
}

void traceResultTable(qv_streetTrace* trace, const std::vector<qvStreetFinderStreetCrossResult>& results) {
    if (!isTracing(trace)) return;
    traceParts(trace, L"%score, horz , vert\nres=[\n");
    for (const qvStreetFinderStreetCrossResult& result : results) {
        traceParts(trace, result.score());
        for (const std::size_t i : {std::size_t{1}, std::size_t{0}}) {
            const qvLineSeg& segment = result.lineSegs()[i];
            traceParts(trace, L" ", segment.p1().x(), L" ", segment.p1().y(), L" ", segment.p2().x(), L" ",
                       segment.p2().y());
        }
        traceParts(trace, L"\n");
    }
    traceParts(trace, L"];\n");
}

}  // namespace

bool segmentsCross(const qv_ridgeLine& a, const qv_ridgeLine& b) { return !onOneSide(a, b) && !onOneSide(b, a); }

void generateCrossPairs(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0, long count0,
                        std::vector<qv_candCrossPair>& out, const qv_candidateTolerances& /*tolerances*/,
                        const std::vector<double>& scoreWeights, const qvPair<long>& imageSize, qv_streetTrace* trace) {
    const std::vector<const qv_ridgeLine*> upright = linesByExtent(flatLines, first1, count1);
    const std::vector<const qv_ridgeLine*> flat = linesByExtent(flatLines, first0, count0);
    for (const qv_ridgeLine* const a : upright)
        for (const qv_ridgeLine* const b : flat) {
            traceParts(trace, L"\n%Comparing ", a->lineKey, L" and ", b->lineKey, L" as cross...");
            if (!segmentsCross(*a, *b)) continue;
            traceParts(trace, L"...passed,");
            qv_candCrossPair pair;
            pair.line1 = a->lineKey;
            pair.line2 = b->lineKey;
            out.push_back(std::move(pair));
        }
    for (qv_candCrossPair& pair : out) {
        scoreCrossPair(pair, flatLines, scoreWeights, imageSize);
        traceParts(trace, L"\n%Scoring ", pair.line1, L" ", pair.line2, L"; dist = ", pair.components[0],
                   L" and normality = ", pair.components[1], L" total = ", pair.score);
    }
    std::stable_sort(out.begin(), out.end());
}

void fillLineCrossResult(qvStreetFinderStreetCrossResult& result, const qvVector<2>& crossing,
                         const qv_candCrossPair& pair, const std::vector<qv_ridgeLine>& flatLines) {
    const qv_ridgeLine& line1 = lineAt(flatLines, pair.line1);
    const qv_ridgeLine& line2 = lineAt(flatLines, pair.line2);
    Access::score(result) = pair.score;
    Access::lineSegs(result) = {qvLineSeg(line1.p1, line1.p2), qvLineSeg(line2.p1, line2.p2)};
    Access::verticalAngle(result) = line1.line.angle();
    Access::horizontalAngle(result) = line2.line.angle();
    Access::crossing(result) = crossing;
    Access::setCorners(result, crossing);
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
}

void generateXcands(qv_candidateStore& /*store*/, std::vector<qvStreetFinderStreetCrossResult>& results,
                    const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                    const qv_candidateContext& context, qv_streetTrace* trace) {
    const qv_traceFrame frame(trace);
    traceParts(trace, L"\n%%Generate xcands\n");
    std::vector<qv_candCrossPair> pairs;
    generateCrossPairs(flatLines, lineCounts.at(0), lineCounts.at(1), 0, lineCounts.at(0), pairs, context.tolerances,
                       context.scoreWeights, context.imageSize, trace);

    const double width = static_cast<double>(context.imageSize.first);
    const double height = static_cast<double>(context.imageSize.second);
    results.clear();
    for (const qv_candCrossPair& pair : pairs) {
        if (static_cast<long>(results.size()) >= context.maxResults) break;
        qvVector<2> crossing;
        if (!lineAt(flatLines, pair.line1).line.intersect(lineAt(flatLines, pair.line2).line, crossing)) continue;
        // deliberate: >= for x and > for y, nothing against 0; pinned by CrossPairs.TheImageBordersDifferByTheEqualCase
        if (crossing.x() >= width || crossing.y() > height) continue;
        if (!isFarFromAll(results, crossing, qvLeastCrossSeparation)) continue;
        results.emplace_back();
        fillLineCrossResult(results.back(), crossing, pair, flatLines);
    }
    traceResultTable(trace, results);
}
