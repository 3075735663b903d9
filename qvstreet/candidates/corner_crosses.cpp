// Corner crosses.
//
// In:  the lines of both directions, client frame.
// Out: candidates with one corner, and so two lines, missing.
//
//     ul _|   |_ ur       a corner's class says where its arms point: from the meeting end, up and left is upper left
//     dl _     _ dr
//         |   |
#include "qvstreet/candidates/corner_crosses.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/candidates/quad_test.h"

namespace {

using Corners = std::vector<qv_candCorner>;

/// How two lines meet: the smallest distance of their ends, and the arms from there to the other ends.
struct Meeting {
    double distance;
    qvVector<2> armA;
    qvVector<2> armB;
};

Meeting meetingOf(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    const qvVector<2> toA2 = a.p2 - a.p1;
    const qvVector<2> toB2 = b.p2 - b.p1;
    const Meeting meetings[4] = {{a.p1.distance(b.p1), toA2, toB2},
                                 {a.p1.distance(b.p2), toA2, -toB2},
                                 {a.p2.distance(b.p1), -toA2, toB2},
                                 {a.p2.distance(b.p2), -toA2, -toB2}};
    const Meeting* nearest = &meetings[0];
    for (const Meeting& meeting : meetings)
        if (meeting.distance < nearest->distance) nearest = &meeting;
    return *nearest;
}

bool isNearNinety(const qv_ridgeLine& a, const qv_ridgeLine& b, double tolerance) {
    const qvDegree difference = qvDegree(a.line.angle() - b.line.angle()).signedNorm();
    return !(std::fabs(std::fabs(difference.toDouble()) - 90.0) > tolerance);
}

const qv_candCorner kAbsent;

}  // namespace

void generateCorners(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0, long count0,
                     Corners& ulCorners, Corners& urCorners, Corners& dlCorners, Corners& drCorners,
                     const qv_candidateTolerances& tolerances, qv_streetTrace* trace) {
    const std::vector<const qv_ridgeLine*> upright = linesByExtent(flatLines, first1, count1);
    const std::vector<const qv_ridgeLine*> flat = linesByExtent(flatLines, first0, count0);
    for (const qv_ridgeLine* const a : upright)
        for (const qv_ridgeLine* const b : flat) {
            traceParts(trace, L"\n%Comparing ", a->lineKey, L" and ", b->lineKey, L" as corner...");
            if (!isNearNinety(*a, *b, tolerances.angleTolerance)) {
                traceParts(trace, L"... not ninety");
                continue;
            }
            const Meeting meeting = meetingOf(*a, *b);
            if (meeting.distance > tolerances.lineGapTolerance) {
                traceParts(trace, L"... too far apart");
                continue;
            }
            const bool down = meeting.armA.y() > 0.0;
            const bool right = meeting.armB.x() > 0.0;
            Corners& corners = down ? (right ? drCorners : dlCorners) : (right ? urCorners : ulCorners);
            corners.push_back({a->lineKey, b->lineKey, 0.0});
            traceParts(trace, L"...passed,",
                       down ? (right ? L"...stored as DR," : L"...stored as DL,")
                            : (right ? L"...stored as UR," : L"...stored as UL,"));
        }
}

void matchCornerPairs(const std::vector<qv_ridgeLine>& flatLines, const Corners& listA, const Corners& listB,
                      std::vector<qvPair<long>>& matched, const qv_candidateTolerances& tolerances,
                      qv_streetTrace* trace) {
    for (std::size_t i = 0; i < listA.size(); ++i)
        for (std::size_t j = 0; j < listB.size(); ++j) {
            const bool street = qf_testPair(lineAt(flatLines, listA[i].line1), lineAt(flatLines, listB[j].line1),
                                            tolerances, eVerticalPair, trace);
            if (!street) continue;
            const double gap = meanEndDistance(lineAt(flatLines, listA[i].line2), lineAt(flatLines, listB[j].line2));
            if (!(gap > tolerances.lineGapTolerance)) matched.emplace_back(static_cast<long>(i), static_cast<long>(j));
        }
}

bool testThirdCorner(const std::vector<qv_ridgeLine>& flatLines, long testA, long testB, long nearA, long nearB,
                     const qv_candidateTolerances& tolerances, qv_streetTrace* trace) {
    if (!qf_testPair(lineAt(flatLines, testA), lineAt(flatLines, testB), tolerances, eHorizontalPair, trace))
        return false;
    return !(meanEndDistance(lineAt(flatLines, nearA), lineAt(flatLines, nearB)) > tolerances.lineGapTolerance);
}

void buildCornerCandidate(const qv_candCorner& c0, const qv_candCorner& c1, const qv_candCorner& c2,
                          const qv_candCorner& c3, std::vector<qv_stCand>& candidates) {
    qv_stCand candidate;
    const long lines[8] = {c0.line1, c1.line1, c2.line1, c3.line1, c0.line2, c1.line2, c2.line2, c3.line2};
    std::copy(std::begin(lines), std::end(lines), candidate.lines);
    candidates.push_back(std::move(candidate));
}

void joinCorners(const std::vector<qv_ridgeLine>& flatLines, const Corners& ulCorners, const Corners& urCorners,
                 const Corners& dlCorners, const Corners& drCorners, std::vector<qv_stCand>& candidates,
                 const qv_candidateTolerances& tolerances, qv_streetTrace* trace) {
    std::vector<qvPair<long>> top;
    std::vector<qvPair<long>> bottom;
    matchCornerPairs(flatLines, ulCorners, urCorners, top, tolerances, trace);
    matchCornerPairs(flatLines, dlCorners, drCorners, bottom, tolerances, trace);
    // Always the upper corner first.
    const auto above = [&](const qv_candCorner& upper, const qv_candCorner& lower) {
        return testThirdCorner(flatLines, upper.line2, lower.line2, upper.line1, lower.line1, tolerances, trace);
    };
    const auto at = [](const Corners& corners, long index) -> const qv_candCorner& {
        return corners[static_cast<std::size_t>(index)];
    };

    for (const qvPair<long>& match : top)
        for (const qv_candCorner& dl : dlCorners)
            if (above(at(ulCorners, match.first), dl))
                buildCornerCandidate(at(ulCorners, match.first), at(urCorners, match.second), dl, kAbsent, candidates);
    for (const qvPair<long>& match : top)
        for (const qv_candCorner& dr : drCorners)
            if (above(at(urCorners, match.second), dr))
                buildCornerCandidate(at(ulCorners, match.first), at(urCorners, match.second), kAbsent, dr, candidates);
    for (const qvPair<long>& match : bottom)
        for (const qv_candCorner& ul : ulCorners)
            if (above(ul, at(dlCorners, match.first)))
                buildCornerCandidate(ul, kAbsent, at(dlCorners, match.first), at(drCorners, match.second), candidates);
    for (const qvPair<long>& match : bottom)
        for (const qv_candCorner& ur : urCorners)
            if (above(ur, at(drCorners, match.second)))
                buildCornerCandidate(kAbsent, ur, at(dlCorners, match.first), at(drCorners, match.second), candidates);
}

void generateCornerCrosses(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                           const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                           const qv_candidateContext& context, qv_streetTrace* trace) {
    traceParts(trace, L"\n%%Generate corners\n");
    generateCorners(flatLines, lineCounts.at(0), lineCounts.at(1), 0, lineCounts.at(0), store.ulCorners_,
                    store.urCorners_, store.dlCorners_, store.drCorners_, context.tolerances, trace);
    std::vector<qv_stCand> candidates;
    joinCorners(flatLines, store.ulCorners_, store.urCorners_, store.dlCorners_, store.drCorners_, candidates,
                context.tolerances, trace);
    crossesFromCandidates(results, context.maxResults, candidates, flatLines, false, true);
}
