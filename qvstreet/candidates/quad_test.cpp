// Quad test.
//
// In:  the pairs of one direction.
// Out: quads; `first` is the pair further along the lines' running direction.
//
//     line 3 ========        ======== line 1
//                     crossing                     running direction ->
//     line 4 ========        ======== line 2
#include "qvstreet/candidates/quad_test.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/candidates/keep_best.h"

namespace {

double angleBetween(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    return qvDegree(a.line.angle() - b.line.angle()).signedNorm().toDouble();
}

/// One of the two colinearity tests, with its texts.
bool colinear(const qv_ridgeLine& a, const qv_ridgeLine& b, double tolerance, const wchar_t* heading,
              const wchar_t* failure, qv_streetTrace* trace) {
    const double difference = angleBetween(a, b);
    const double angleA = qvDegree(a.line.angle()).toDouble();
    const double angleB = qvDegree(b.line.angle()).toDouble();
    traceParts(trace, heading, L" ", angleA, L" ", angleB, L" ", difference);
    if (!(std::fabs(difference) > tolerance)) return true;
    traceParts(trace, failure, angleA, L", angle2= ", angleB, L", diff=", difference, L", tol", tolerance);
    return false;
}

/// One of the two distance tests, with its texts.
bool closeTogether(const qv_ridgeLine& a, const qv_ridgeLine& b, double tolerance, const wchar_t* heading,
                   const wchar_t* failure, qv_streetTrace* trace) {
    const double distance = meanEndDistance(a, b);
    traceParts(trace, heading, distance, L",tol", tolerance);
    if (!(distance > tolerance)) return true;
    traceParts(trace, failure, distance);
    return false;
}

bool apart(const qv_ridgeLine& a, const qv_ridgeLine& b, const wchar_t* failure, qv_streetTrace* trace) {
    if (!(overlapAlong(a, b) > 0.0)) return true;
    traceParts(trace, failure);
    return false;
}

}  // namespace

double overlapAlong(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    return overlapLength(a.startAlong, a.endAlong, a.line.distanceAlong(b.p1), a.line.distanceAlong(b.p2));
}

double meanEndDistance(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    const double sum = std::fabs(b.line.distanceFrom(pointAlong(a.line, a.startAlong))) +
                       std::fabs(b.line.distanceFrom(pointAlong(a.line, a.endAlong))) +
                       std::fabs(a.line.distanceFrom(pointAlong(b.line, b.startAlong))) +
                       std::fabs(a.line.distanceFrom(pointAlong(b.line, b.endAlong)));
    return sum / 4.0;
}

bool qf_testQuad(const qv_ridgeLine& line1, const qv_ridgeLine& line2, const qv_ridgeLine& line3,
                 const qv_ridgeLine& line4, const qv_candidateTolerances& tolerances, qv_streetTrace* trace) {
    traceParts(trace, L"\n%Overlap Test: ");
    if (!apart(line1, line3, L"\n%Overlap for 1 3", trace)) return false;
    if (!apart(line1, line4, L"\n%Overlap for 1 4 ", trace)) return false;
    if (!apart(line2, line3, L"\n%Overlap for 2 3 ", trace)) return false;
    if (!apart(line2, line4, L"\n%Overlap for 2 4 ", trace)) return false;
    traceParts(trace, L"\n%Passed overlap tests ");

    if (line3.startAlong > line1.startAlong) {
        traceParts(trace, L"\n%Wrong order");
        return false;
    }
    traceParts(trace, L"\n%Passed order test ");

    return colinear(line1, line3, tolerances.angleTolerance, L"\n%Colinearity Test",
                    L"\n%Line 1 3 not colinear angle1=", trace) &&
           colinear(line2, line4, tolerances.angleTolerance, L"\n%Colinearity Test 2",
                    L"\n%Line 2 4 not colinear angle1=", trace) &&
           closeTogether(line1, line3, tolerances.lineGapTolerance, L"\n%Distance test1: ",
                         L"\n%Line 1 3 dist too great, dist = ", trace) &&
           closeTogether(line2, line4, tolerances.lineGapTolerance, L"\n%Distance test2: ",
                         L"\n%Line 2 4 dist too great, dist = ", trace);
}

void generateQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                   std::vector<qv_candQuad>& out, const qv_candidateTolerances& tolerances, qv_streetTrace* trace) {
    for (std::size_t i = 0; i < pairs.size(); ++i)
        for (std::size_t j = 0; j < pairs.size(); ++j) {
            if (i == j) continue;
            const qv_ridgeLine& line1 = lineAt(flatLines, pairs[i].line1);
            const qv_ridgeLine& line2 = lineAt(flatLines, pairs[i].line2);
            const qv_ridgeLine& line3 = lineAt(flatLines, pairs[j].line1);
            const qv_ridgeLine& line4 = lineAt(flatLines, pairs[j].line2);
            traceParts(trace, L"\n\n%Test quad, line id:", line1.lineKey, L" ", line2.lineKey, L" ", line3.lineKey,
                       L" ", line4.lineKey, L"\n%Test quad, pair id:", static_cast<long>(i), L" ", static_cast<long>(j),
                       L"\n");
            if (!qf_testQuad(line1, line2, line3, line4, tolerances, trace)) {
                traceParts(trace, L"\n%not a quad");
                continue;
            }
            out.push_back({pairs[i], pairs[j]});
            traceParts(trace, L"\n%Add quad#", static_cast<long>(out.size()), L"\n%built form lines (id): ",
                       line1.lineKey, L" ", line2.lineKey, L" ", line3.lineKey, L" ", line4.lineKey,
                       L"\n%build from pairs (id):", static_cast<long>(i), L" ", static_cast<long>(j));
        }
}

void generateFirstQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                        std::vector<qv_candQuad>& out, const qv_candidateTolerances& tolerances, long most) {
    const std::size_t end = out.size() + static_cast<std::size_t>(std::max(most, 0L));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const qv_ridgeLine& line1 = lineAt(flatLines, pairs[i].line1);
        const qv_ridgeLine& line2 = lineAt(flatLines, pairs[i].line2);
        for (std::size_t j = 0; j < pairs.size() && out.size() < end; ++j) {
            const qv_ridgeLine& line3 = lineAt(flatLines, pairs[j].line1);
            // The order test alone turns away every second couple, and costs nothing.
            if (i == j || line3.startAlong > line1.startAlong) continue;
            if (qf_testQuad(line1, line2, line3, lineAt(flatLines, pairs[j].line2), tolerances, nullptr))
                out.push_back({pairs[i], pairs[j]});
        }
    }
}

void keepBestQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& quads,
                   std::vector<qv_candQuad>& out, long maxQuads, qv_candidateScratch* scratch) {
    qv_candidateScratch ownScratch;
    qf_keepBest(
        quads, out, maxQuads, (scratch != nullptr ? *scratch : ownScratch).order,
        [&flatLines](const qv_candQuad& quad) {
            return lineAt(flatLines, quad.first.line1).lineQuality + lineAt(flatLines, quad.first.line2).lineQuality +
                   lineAt(flatLines, quad.second.line1).lineQuality + lineAt(flatLines, quad.second.line2).lineQuality;
        });
}
