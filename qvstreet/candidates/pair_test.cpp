// Pair test.
//
// In:  the lines of one direction (client frame), the width range, and the profile of that direction.
// Out: pairs of line keys, `line1` being the line with the smaller signed distance.
//
//     a   o==============o            only where the two lines face each other is their distance a street's width:
//               |   :    |            the ends marked | lie strictly beside the other line and count
//     b         o========|=====o
#include "qvstreet/candidates/pair_test.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/keep_best.h"
#include "qvstreet/platform/stable_sort.h"
#include "qvstreet/projection/projection_polarity.h"

namespace {

const wchar_t* pairName(long pairType) { return pairType == eHorizontalPair ? L" horizontal pair" : L" vertical pair"; }

void traceNoOverlap(qv_streetTrace* trace, const qv_ridgeLine& a, const qv_ridgeLine& b) {
    traceParts(trace, L"\n%No overlap punt:l1:", a.startAlong, L" ", a.endAlong, L" l2:", b.startAlong, L" ",
               b.endAlong);
}

/// Adds the distance of the end at `along` of `own` from `other` when that end lies strictly beside `other`.
void addFacingEnd(const qv_ridgeLine& own, double along, const qv_ridgeLine& other, double& sum, int& count) {
    const bool beside = (other.startAlong - along) * (other.endAlong - along) < 0.0;
    if (!beside) return;
    sum += std::fabs(other.line.distanceFrom(own.line.pointAt(along)));
    ++count;
}

bool polarityHolds(const qv_ridgeLine& a, const qv_ridgeLine& b, const qvTiledProjectionResult& projection,
                   long polarity, double inset, double sideWidth, double margin) {
    if (polarity == qvStreetFinderDefs::eAnyPolarity) return true;
    return pairPolarity(qvLineSeg(a.p1, a.p2), qvLineSeg(b.p1, b.p2), projection, inset, sideWidth, margin) == polarity;
}

}  // namespace

double overlapSeparation(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    double sum = 0.0;
    int count = 0;
    addFacingEnd(a, a.startAlong, b, sum, count);
    addFacingEnd(a, a.endAlong, b, sum, count);
    addFacingEnd(b, b.startAlong, a, sum, count);
    addFacingEnd(b, b.endAlong, a, sum, count);
    return count == 0 ? -1.0 : sum / count;
}

bool qf_testPair(const qv_ridgeLine& a, const qv_ridgeLine& b, const qv_candidateTolerances& tolerances, long pairType,
                 qv_streetTrace* trace) {
    traceParts(trace, L"%qf_testPair ", L"\n%Dist test ", a.line.distance(), L" ", b.line.distance());
    if (a.line.distance() > b.line.distance()) return false;

    const qvDegree difference = qvDegree(a.line.angle() - b.line.angle()).signedNorm();
    traceParts(trace, L"\n%Ang test (degrees)", qvDegree(a.line.angle()).toDouble(), L" ",
               qvDegree(b.line.angle()).toDouble(), L" diff:", difference.toDouble());
    if (std::fabs(difference.toDouble()) > tolerances.angleTolerance) return false;

    // b's positions are taken as they stand, although they were measured along b's own line.
    const double overlap = overlapLength(a.startAlong, a.endAlong, b.startAlong, b.endAlong);
    if (overlap == 0.0) {
        traceNoOverlap(trace, a, b);
        return false;
    }
    traceParts(trace, L"overlap", overlap, L"\n");

    const double width = overlapSeparation(a, b);
    if (width < 0.0) {
        traceNoOverlap(trace, a, b);
        return false;
    }

    const bool horizontal = pairType == eHorizontalPair;
    const double lower = horizontal ? tolerances.widthLower.second : tolerances.widthLower.first;
    const double upper = horizontal ? tolerances.widthUpper.second : tolerances.widthUpper.first;
    if (width >= lower && !(width > upper)) return true;
    traceParts(trace, L"\n%width range==[", upper, L"...", lower, L"], widt == ", width, L", not in range.",
               pairName(pairType));
    return false;
}

void generatePairs(const std::vector<qv_ridgeLine>& flatLines, long first, long count, std::vector<qv_candPair>& out,
                   const qv_candidateTolerances& tolerances, long pairType, const qvTiledProjectionResult& projection,
                   long polarity, double polarityInset, double polaritySideWidth, double polarityMargin,
                   qv_streetTrace* trace, qv_candidateScratch* scratch) {
    qv_candidateScratch ownScratch;
    std::vector<const qv_ridgeLine*>& lines = (scratch != nullptr ? *scratch : ownScratch).lines;
    linesOfRange(flatLines, first, count, lines);
    qf_stableSort(lines.begin(), lines.end(),
                  [](const qv_ridgeLine* a, const qv_ridgeLine* b) { return qf_byDistance(*a, *b); });
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t j = i + 1; j < lines.size(); ++j) {
            const qv_ridgeLine& a = *lines[i];
            const qv_ridgeLine& b = *lines[j];
            traceParts(trace, L"\n\n%Test pair - ", a.lineKey, L" ", b.lineKey, L"\n");
            if (!qf_testPair(a, b, tolerances, pairType, trace)) {
                traceParts(trace, L"\n%Not a pair.\n");
                continue;
            }
            if (!polarityHolds(a, b, projection, polarity, polarityInset, polaritySideWidth, polarityMargin)) continue;
            out.push_back({a.lineKey, b.lineKey, 0.0});
            traceParts(trace, L"%\nFound pair: ", a.lineKey, L" ", b.lineKey, L"\n");
        }
}

void keepBestPairs(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                   std::vector<qv_candPair>& out, long maxPairs, qv_candidateScratch* scratch) {
    qv_candidateScratch ownScratch;
    qf_keepBest(pairs, out, maxPairs, (scratch != nullptr ? *scratch : ownScratch).order,
                [&flatLines](const qv_candPair& pair) {
                    return lineAt(flatLines, pair.line1).lineQuality + lineAt(flatLines, pair.line2).lineQuality;
                });
}
