// Eight-line crosses.
//
// In:  the quads of both directions, client frame.
// Out: crosses with a cost, smaller is better.
//
// The cost adds ten terms, each with a weight of the run mode: quality of the lines, gaps at the corners, colinearity
// across the crossing, how much the corners are a parallelogram, how right their angles are, how well their bisectors
// meet, and the two widths. Lengths are in client units and enter as they stand.
#include "qvstreet/candidates/eight_line_crosses.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/platform/stable_sort.h"
#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using CrossResult = qvStreetFinderStreetCrossResult;
using Corners = std::array<qvVector<2>, 4>;

constexpr double kLeastWidth = 1e-8;
constexpr long kCandidatesPerResult = 3;
// The corner at the far end of the edge of the street that a line belongs to.
constexpr std::array<std::size_t, 8> kFarCorner = {2, 3, 0, 1, 1, 0, 3, 2};

qv_stCand candidateOf(const qv_candQuad& vertical, const qv_candQuad& horizontal) {
    qv_stCand candidate;
    // The further pair of the vertical street is above the crossing, that of the horizontal street right of it.
    const long lines[8] = {vertical.first.line1,    vertical.first.line2,    vertical.second.line1,
                           vertical.second.line2,   horizontal.second.line1, horizontal.first.line1,
                           horizontal.second.line2, horizontal.first.line2};
    std::copy(std::begin(lines), std::end(lines), candidate.lines);
    return candidate;
}

void traceCouple(qv_streetTrace* trace, std::size_t i, std::size_t j, const qv_stCand& candidate) {
    if (!isTracing(trace)) return;
    traceParts(trace, L"\n\n%Considering Quads: ", static_cast<long>(i), L" ", static_cast<long>(j),
               L"\n%lines considered are (in order): ");
    for (const long key : candidate.lines) traceParts(trace, key, L" ");
}

/// Calls `take` with every candidate that passes the cross check.
template <typename Take>
void forEachChecked(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& vquads,
                    const std::vector<qv_candQuad>& hquads, qv_streetTrace* trace, Take take) {
    for (std::size_t i = 0; i < vquads.size(); ++i)
        for (std::size_t j = 0; j < hquads.size(); ++j) {
            qv_stCand candidate = candidateOf(vquads[i], hquads[j]);
            traceCouple(trace, i, j, candidate);
            if (crossCheck(flatLines, candidate, trace)) take(std::move(candidate));
        }
}

double countedGap(long gapMode, double gapOfA, double gapOfB) {
    switch (gapMode) {
        case eGapOfB:
            return gapOfB;
        case eGapOfA:
            return gapOfA;
        default:
            return gapOfA + gapOfB;
    }
}

/// Differences of opposite sides of the corner quadrilateral.
double parallelogramError(const Corners& c) {
    return std::fabs(c[0].distance(c[1]) - c[2].distance(c[3])) + std::fabs(c[1].distance(c[3]) - c[0].distance(c[2]));
}

/// Greatest distance between two of the four points in which neighbouring sides' bisectors meet.
double centreSpread(const Corners& c) {
    const std::array<qvLine, 4> bisectors = {qvPoint(c[0]).bisect(c[1]), qvPoint(c[1]).bisect(c[3]),
                                             qvPoint(c[3]).bisect(c[2]), qvPoint(c[2]).bisect(c[0])};
    Corners centres;
    for (std::size_t i = 0; i < 4; ++i) centres[i] = bisectors[i].intersect(bisectors[(i + 1) % 4]);
    double greatest = 0.0;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = i + 1; j < 4; ++j) greatest = std::max(greatest, centres[i].distance(centres[j]));
    return greatest;
}

void traceResultTable(qv_streetTrace* trace, const std::vector<CrossResult>& results) {
    if (!isTracing(trace)) return;
    traceParts(trace, L"%centerx,centery, score, linsegments1-8(x,y)\nres=[\n");
    for (const CrossResult& result : results) {
        traceParts(trace, result.crossing().x(), L" ", result.crossing().y(), L" ", result.score());
        for (const qvLineSeg& segment : result.lineSegs())
            traceParts(trace, L" ", segment.p1().x(), L" ", segment.p1().y(), L" ", segment.p2().x(), L" ",
                       segment.p2().y());
        traceParts(trace, L"\n");
    }
    traceParts(trace, L"];\n");
}

}  // namespace

bool cornerGap(const qv_ridgeLine& a, const qv_ridgeLine& b, double& gapOfA, double& gapOfB, qvVector<2>& corner,
               qv_streetTrace* trace) {
    qvVector<2> point;
    if (!a.line.intersect(b.line, point)) {
        traceParts(trace, L"%Corners don't intersect\n");
        return false;
    }
    corner = point;
    gapOfB = std::min(std::fabs(a.line.distanceFrom(b.p1)), std::fabs(a.line.distanceFrom(b.p2)));
    gapOfA = std::min(std::fabs(b.line.distanceFrom(a.p1)), std::fabs(b.line.distanceFrom(a.p2)));
    return true;
}

double widthCost(double width, double nominal, double weight) {
    return std::fabs(nominal - width) / (nominal + kLeastWidth) * weight;
}

double scoreStCand(const std::vector<qv_ridgeLine>& flatLines, qv_stCand& candidate,
                   const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights, long gapMode,
                   qv_streetTrace* trace) {
    std::array<const qv_ridgeLine*, 8> lines;
    for (std::size_t i = 0; i < 8; ++i) lines[i] = &lineAt(flatLines, candidate.lines[i]);
    std::vector<double>& components = candidate.components;
    components.assign(7, 0.0);

    for (const qv_ridgeLine* line : lines) components[0] += line->lineQuality;

    // A corner that does not exist stays at (0, 0) and enters the later terms so.
    Corners corners;
    for (std::size_t i = 0; i < 4; ++i) {
        double gapOfA = 0.0;
        double gapOfB = 0.0;
        if (cornerGap(*lines[i], *lines[i + 4], gapOfA, gapOfB, corners[i], trace))
            components[1] += countedGap(gapMode, gapOfA, gapOfB);
    }
    for (std::size_t i = 0; i < 8; ++i) components[2] += std::fabs(lines[i]->line.distanceFrom(corners[kFarCorner[i]]));
    components[3] = parallelogramError(corners);
    for (std::size_t i = 0; i < 4; ++i) {
        const qvDegree difference = qvDegree(lines[i]->line.angle() - lines[i + 4]->line.angle()).signedNorm();
        components[4] += std::fabs(std::fabs(difference.toDouble()) - 90.0);
    }
    components[5] = centreSpread(corners);

    double total = 0.0;
    for (std::size_t term = 0; term < 6; ++term) total += components[term] * scoreWeights[term];

    // Lines without facing ends give the width -1.0, which is taken as it stands.
    const double widthV = 0.5 * (overlapSeparation(*lines[0], *lines[1]) + overlapSeparation(*lines[2], *lines[3]));
    const double widthH = 0.5 * (overlapSeparation(*lines[4], *lines[6]) + overlapSeparation(*lines[5], *lines[7]));
    const qvPair<double>& nominal = tolerances.nominalWidth;
    total += widthCost(widthV, nominal.first, scoreWeights[8]);
    total += widthCost(widthH, nominal.second, scoreWeights[9]);
    return total;
}

void generateStCands(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& vquads,
                     const std::vector<qv_candQuad>& hquads, std::vector<qv_stCand>& out,
                     const qv_candidateTolerances& tolerances, const std::vector<double>& scoreWeights,
                     qv_streetTrace* trace) {
    forEachChecked(flatLines, vquads, hquads, trace, [&](qv_stCand&& candidate) {
        candidate.score = scoreStCand(flatLines, candidate, tolerances, scoreWeights, eGapOfB, trace);
        out.push_back(std::move(candidate));
    });
}

void genAndScore(const qv_candidateStore& store, std::vector<CrossResult>& out,
                 const std::vector<qv_ridgeLine>& flatLines, const qv_candidateContext& context,
                 qv_streetTrace* trace) {
    const qv_traceFrame frame(trace);
    traceParts(trace, L"\n%%Gen and score\n");
    std::vector<qv_stCand>& candidates = store.scratch.candidates;
    candidates.clear();
    generateStCands(flatLines, store.vquads_, store.hquads_, candidates, context.tolerances, context.scoreWeights,
                    trace);
    qf_stableSort(candidates.begin(), candidates.end());
    out.clear();
    crossesFromCandidates(out, resultMultiple(kCandidatesPerResult, context.maxResults), candidates, flatLines, false,
                          true);
    traceResultTable(trace, out);
}

void generateSpecialCrosses(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& vquads,
                            const std::vector<qv_candQuad>& hquads, std::vector<CrossResult>& out, long maxResults,
                            double maxResidual, const qvPair<long>& imageSize, qv_streetTrace* trace) {
    std::vector<qv_stCand> candidates;
    forEachChecked(flatLines, vquads, hquads, trace,
                   [&](qv_stCand&& candidate) { candidates.push_back(std::move(candidate)); });
    crossesFromCandidates(out, static_cast<long>(candidates.size()), candidates, flatLines, false, true);

    const double width = static_cast<double>(imageSize.first);
    const double height = static_cast<double>(imageSize.second);
    std::size_t walked = 0;
    for (; walked < out.size() && !(out[walked].score() > maxResidual); ++walked) {
        const CrossResult& cross = out[walked];
        // Smallest for a cross in the middle of the image.
        Access::score(out[walked]) = squaredDistance(cross.ulCorner(), qvVector<2>(0.0, 0.0)) +
                                     squaredDistance(cross.urCorner(), qvVector<2>(width, 0.0)) +
                                     squaredDistance(cross.llCorner(), qvVector<2>(0.0, height)) +
                                     squaredDistance(cross.lrCorner(), qvVector<2>(width, height));
    }
    out.resize(walked);
    std::stable_sort(out.begin(), out.end(), qf_costOrder);
    out.resize(std::min(out.size(), static_cast<std::size_t>(std::max(maxResults, 0L))));
}
