#include "qvstreet/candidates/candidate_records.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "qvstreet/streetfinder/street_results_access.h"

void qv_candidateStore::clear() {
    for (std::vector<qv_candPair>* const list : {&vpairs_, &hpairs_}) list->clear();
    for (std::vector<qv_candQuad>* const list : {&vquads_, &hquads_}) list->clear();
    for (std::vector<qv_candCorner>* const list : {&ulCorners_, &urCorners_, &dlCorners_, &drCorners_}) list->clear();
}

void linesOfRange(const std::vector<qv_ridgeLine>& flatLines, long first, long count,
                  std::vector<const qv_ridgeLine*>& lines) {
    lines.clear();
    lines.reserve(static_cast<std::size_t>(count));
    for (long i = 0; i < count; ++i) lines.push_back(&flatLines.at(static_cast<std::size_t>(first + i)));
}

std::vector<const qv_ridgeLine*> linesOfRange(const std::vector<qv_ridgeLine>& flatLines, long first, long count) {
    std::vector<const qv_ridgeLine*> lines;
    linesOfRange(flatLines, first, count, lines);
    return lines;
}

std::vector<const qv_ridgeLine*> linesByExtent(const std::vector<qv_ridgeLine>& flatLines, long first, long count) {
    std::vector<const qv_ridgeLine*> lines = linesOfRange(flatLines, first, count);
    std::stable_sort(lines.begin(), lines.end(),
                     [](const qv_ridgeLine* a, const qv_ridgeLine* b) { return qf_byExtent(*a, *b); });
    return lines;
}

qvPair<double> mappedSideLengths(const qvPair<double>& size, const qvXform<2>& transform) {
    return {transform.mapVector(qvVector<2>(size.first, 0.0)).len(),
            transform.mapVector(qvVector<2>(0.0, size.second)).len()};
}

qvPair<double> mappedSideLengths(const qvPair<long>& size, const qvXform<2>& transform) {
    return mappedSideLengths(qvPair<double>(static_cast<double>(size.first), static_cast<double>(size.second)),
                             transform);
}

double clientLength(double pels, const qvXform<2>& clientFromImage) {
    const qvPair<double> lengths = mappedSideLengths(qvPair<double>(pels, pels), clientFromImage);
    return (lengths.first + lengths.second) * 0.5;
}

long resultMultiple(long factor, long maxResults) {
    constexpr long most = std::numeric_limits<long>::max();
    if (maxResults <= 0) return 0;
    return maxResults > most / factor ? most : factor * maxResults;
}

double overlapLength(double a1, double a2, double b1, double b2) {
    if (a1 > a2) {
        // deliberate: reverses the second, too; pinned by CandidateRecords.OverlapLengthReversesBothIntervals
        std::swap(a1, a2);
        std::swap(b1, b2);
    }
    return std::max(0.0, std::min(a2, b2) - std::max(a1, b1));
}

qvVector<2> pointAlong(const qvFLine& line, double along) { return line.pointAt(along); }

bool isFarFromAll(const std::vector<qvStreetFinderStreetCrossResult>& results, const qvVector<2>& point, double limit) {
    return isFarFromFirst(results, results.size(), point, limit);
}

bool isFarFromFirst(const std::vector<qvStreetFinderStreetCrossResult>& results, std::size_t count,
                    const qvVector<2>& point, double limit) {
    // Farther by more than any rounding: no root is needed. A NaN is never that far.
    const double surelyFar = limit * limit * (1.0 + 1e-12);
    return std::all_of(results.begin(), results.begin() + static_cast<std::ptrdiff_t>(count),
                       [&](const qvStreetFinderStreetCrossResult& result) {
                           const qvVector<2>& crossing = qv_streetResultAccess::crossing(result);
                           return squaredDistance(crossing, point) > surelyFar || crossing.distance(point) >= limit;
                       });
}
