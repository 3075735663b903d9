// Line merging.
//
// In:  the lines of one direction, client frame, and a band.
// Out: fewer, longer lines.
//
//     m.p1 ========== m.p2
//                     |  along   | across
//                                line.p1 ========== line.p2
//
// Two pieces are one line when they are near each other along and across it, and the line fitted to their four ends
// leaves a small error.
#include "qvstreet/candidates/line_merging.h"

#include <algorithm>
#include <cmath>

namespace {

/// The lines of `merged` by how near one's end lies to the other end of `line`, nearest first.
std::vector<qvDIPair> byEndDistance(const std::vector<qv_ridgeLine>& merged, const qv_ridgeLine& line) {
    std::vector<qvDIPair> order;
    order.reserve(merged.size());
    for (std::size_t i = 0; i < merged.size(); ++i)
        order.push_back({std::min(squaredDistance(merged[i].p1, line.p2), squaredDistance(merged[i].p2, line.p1)),
                         static_cast<long>(i)});
    std::stable_sort(order.begin(), order.end());
    return order;
}

bool liesInBand(const qv_ridgeLine& m, const qv_ridgeLine& line, const qvPair<double>& band) {
    const double across = std::min(std::fabs(m.line.distanceFrom(line.p1)), std::fabs(m.line.distanceFrom(line.p2)));
    const double a1 = std::fabs(m.line.distanceAlong(m.p1));
    const double a2 = std::fabs(m.line.distanceAlong(m.p2));
    const double b1 = std::fabs(m.line.distanceAlong(line.p1));
    const double b2 = std::fabs(m.line.distanceAlong(line.p2));
    const double along = std::min(std::fabs(a1 - b2), std::fabs(a2 - b1));
    return across < band.first && along < band.second;
}

/// Extends `m` by `line` along the line fitted to both.
void join(qv_ridgeLine& m, const qv_ridgeLine& line, const qvFLine& fitted) {
    m.line = fitted;
    const double mStart = fitted.distanceAlong(m.p1);
    const double mEnd = fitted.distanceAlong(m.p2);
    const double lineStart = fitted.distanceAlong(line.p1);
    const double lineEnd = fitted.distanceAlong(line.p2);
    const double keepingStart = std::fabs(mStart - lineEnd);
    const double keepingEnd = std::fabs(lineStart - mEnd);
    if (keepingStart > keepingEnd) {
        m.p2 = line.p2;
        m.startAlong = mStart;
        m.endAlong = lineEnd;
        m.extent = keepingStart;
    } else {
        m.p1 = line.p1;
        m.startAlong = lineStart;
        m.endAlong = mEnd;
        m.extent = keepingEnd;
    }
}

}  // namespace

void mergeOrAppendLine(std::vector<qv_ridgeLine>& merged, const qv_ridgeLine& line, const qvPair<double>& band) {
    const double reach = band.first * band.first + band.second * band.second;
    for (const qvDIPair& entry : byEndDistance(merged, line)) {
        if (entry.value > reach) break;
        qv_ridgeLine& m = merged[static_cast<std::size_t>(entry.index)];
        if (!liesInBand(m, line, band)) continue;
        qvFLine fitted;
        double error = 0.0;
        const qvLSLineFitter fitter({line.p1, line.p2, m.p1, m.p2});
        if (!fitter.fitAndError(&fitted, &error) || !(error < band.first)) continue;
        join(m, line, fitted);
        return;
    }
    merged.push_back(line);
}

void mergeLineRun(std::vector<qv_ridgeLine>& merged, const std::vector<qv_ridgeLine>& lines, long first, long count,
                  const qvPair<double>& band) {
    for (const qv_ridgeLine* const line : linesOfRange(lines, first, count)) mergeOrAppendLine(merged, *line, band);
}
