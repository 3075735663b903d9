#include "qvstreet/candidates/candidate_records.h"

#include <algorithm>
#include <utility>

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
    return std::all_of(results.begin(), results.end(), [&](const qvStreetFinderStreetCrossResult& result) {
        return result.crossing().distance(point) >= limit;
    });
}
