// The walk along one ridge.
//
// In:  a response with its client transform, a start on the ridge, the direction to walk in, a threshold (client frame
//      and units).
// Out: the points of the ridge, client frame; the pels that were sampled, marked in a mask.
//
// Each step goes one step length ahead and looks across: at 2 h + 1 samples from -v to +v about the new centre p.
//
//          s                      s    the step, v the search vector, u = v / h the distance between two samples
//     p ------> * i = 0           i    the first of the strongest samples
//               o h               The centre then moves across to it, refined by the parabola through the sample and
//               * 2 h             its two neighbours; from there goes the next step.
//
// Everything runs in pels counted from the window's upper left one, into which s, v and the guide line are mapped once.
#include "qvstreet/frontend/ridge_trace.h"

#include <cmath>
#include <utility>

#include "qvstreet/frontend/ridge_scan.h"

namespace {

constexpr std::size_t kPointReserve = 100;
// Half a pel keeps the samples' four neighbours in the image, the rest keeps rounding from mattering.
constexpr double kHalfPel = 0.5;
constexpr double kLimitMargin = 0.1;
// A start nearer to the guide line than this lies on it, pels.
constexpr double kOnGuideLine = 0.001;
// A walk that gains less with each step, pels, can be held up by the rounding of its coordinates in the largest images.
constexpr double kLeastHeadway = 0.001;
constexpr int kMostRefinements = 10;
constexpr double kAtRest = 1e-5;
// What falls off to both sides within so few steps is a spot, not a ridge.
constexpr std::size_t kFewestPointsBothWays = 6;

/// The params in pels.
struct Walk {
    qvXform<2> clientFromPels;
    qvXform<2> pelsFromClient;
    qvVector<2> step;
    qvVector<2> search;
    /// From one sample of the cross-section to the next.
    qvVector<2> spacing;
    qvLine guideLine;
    /// The centre's limits, both included.
    qvVector<2> lowest;
    qvVector<2> highest;
    std::int64_t halfSteps = 1;
    bool allowed = true;

    bool isInside(const qvVector<2>& centre) const {
        return centre.x() >= lowest.x() && centre.x() <= highest.x() && centre.y() >= lowest.y() &&
               centre.y() <= highest.y();
    }
    bool mayStartAt(const qvVector<2>& centre) const {
        return allowed && isInside(centre) && std::fabs(guideLine.distToPoint(centre)) >= kOnGuideLine;
    }
    /// What a step gains whatever the re-centring takes back: its part at right angles to the search vector.
    double headway() const {
        const double across = search.len();
        if (!(across > 0.0)) return step.len();
        return std::fabs(step.x() * search.y() - step.y() * search.x()) / across;
    }
};

double firstInside(double reach) { return kHalfPel + std::fabs(reach) + kLimitMargin; }
double lastInside(long size, double reach) {
    return static_cast<double>(size) - kHalfPel - std::fabs(reach) - kLimitMargin;
}

Walk plannedWalk(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params) {
    qf_assert(params.traceThreshold >= 0.0, L"the threshold of a trace is not negative");
    qf_assert(params.searchHalfSteps >= 1, L"a trace has samples on each side");
    qf_assert(params.maxSteps >= 0, L"a trace has no negative number of steps");
    qf_assert(params.stepLength > 0.0, L"a trace has steps of some length");

    const qvVector<2> upperLeft(static_cast<double>(image.offset().first), static_cast<double>(image.offset().second));
    Walk walk;
    walk.clientFromPels = image.clientFromImageXform() * qvXform<2>(qvMatrix<2>(), upperLeft);
    walk.pelsFromClient = walk.clientFromPels.inverse();
    walk.step = walk.pelsFromClient.mapVector(qvVector<2>(params.stepLength, params.traceAngle));
    walk.search = walk.pelsFromClient.mapVector(params.searchVector);
    walk.spacing = walk.search / static_cast<double>(params.searchHalfSteps);
    walk.guideLine = params.guideLine.map(walk.pelsFromClient);
    walk.lowest = qvVector<2>(firstInside(walk.search.x()), firstInside(walk.search.y()));
    walk.highest = qvVector<2>(lastInside(image.width(), walk.search.x()), lastInside(image.height(), walk.search.y()));
    walk.halfSteps = params.searchHalfSteps;
    walk.allowed = params.maxSteps != 0;
    return walk;
}

/// The strongest sample of a cross-section, the first of equal ones, and the samples beside it.
struct SectionPeak {
    std::int64_t index = 0;
    double value = 0.0;
    double before = 0.0;
    double after = 0.0;
    bool atEdge = false;

    /// Its place among the samples.
    double offset() const {
        const double whole = static_cast<double>(index);
        if (atEdge) return whole;
        const double shift = 0.5 * (after - before) / (2.0 * value - before - after);
        // A neighbour that is no number leaves the sample where it is.
        return std::isfinite(shift) ? whole + shift : whole;
    }
};

/// @param visit  told the position of every sample, in order
template <typename Visit>
SectionPeak sectionPeak(const qvPelBuffer_const<double>& image, const Walk& walk, const qvVector<2>& centre,
                        Visit visit) {
    const std::int64_t last = 2 * walk.halfSteps;
    SectionPeak peak;
    double previous = 0.0;
    for (std::int64_t i = 0; i <= last; ++i) {
        const qvVector<2> position = centre - walk.search + walk.spacing * static_cast<double>(i);
        const double value = bilinearDouble(image, position);
        visit(position);
        if (i == 0 || value > peak.value) {
            peak = {i, value, previous, 0.0, i == 0 || i == last};
        } else if (i == peak.index + 1) {
            peak.after = value;
        }
        previous = value;
    }
    return peak;
}

/// Marks the upper left one of the four pels between which a sample is interpolated.
void markSample(const qv_traceMask& mask, const qvVector<2>& position, std::uint16_t id) {
    // In single precision, as the interpolation has it.
    const long column = qfIFloor(static_cast<double>(static_cast<float>(position.x()) - 0.5f));
    const long row = qfIFloor(static_cast<double>(static_cast<float>(position.y()) - 0.5f));
    if (column < 0 || row < 0 || column >= mask.width() || row >= mask.height()) return;
    *mask.pointToPel(column, row) = id;
}

/// From the centre of the cross-section to its peak.
qvVector<2> correction(const Walk& walk, const SectionPeak& peak) {
    return walk.spacing * (peak.offset() - static_cast<double>(walk.halfSteps));
}

}  // namespace

qvVector<2> refineCrossSection(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params,
                               const qvVector<2>& point) {
    const Walk walk = plannedWalk(image, params);
    const qvVector<2> centre = walk.pelsFromClient * point;
    if (!walk.mayStartAt(centre)) return point;
    const SectionPeak peak = sectionPeak(image, walk, centre, [](const qvVector<2>&) {});
    return walk.clientFromPels * (centre + correction(walk, peak));
}

qvVector<2> refineSeedPoint(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params,
                            const qvVector<2>& point) {
    qvVector<2> refined = point;
    for (int round = 0; round < kMostRefinements; ++round) {
        const qvVector<2> before = refined;
        refined = refineCrossSection(image, params, before);
        if (refined.distance(before) < kAtRest) break;
    }
    return refined;
}

void traceRidge(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params, const qv_traceMask& mask,
                std::uint16_t id, qv_ridgeTraceResult& result) {
    result.status = 0;
    result.points.clear();
    const Walk walk = plannedWalk(image, params);
    qvVector<2> centre = walk.pelsFromClient * params.startPoint;
    if (!walk.mayStartAt(centre) || !(walk.headway() >= kLeastHeadway)) return;

    result.status = eTraceStarted;
    result.points.reserve(kPointReserve);
    result.points.push_back(params.startPoint);
    for (;;) {
        centre += walk.step;
        if (!walk.isInside(centre)) {
            result.status |= eTraceLeftImage;
            return;
        }
        const SectionPeak peak =
            sectionPeak(image, walk, centre, [&](const qvVector<2>& position) { markSample(mask, position, id); });
        bool recentred = true;
        // A peak that is no number is a low one.
        if (!(peak.value >= params.traceThreshold)) {
            result.status |= eTraceLowPeak;
            if ((params.traceFlags & eStopAtLowPeak) != 0) return;
            if ((params.traceFlags & eKeepCentreAtLowPeak) != 0) recentred = false;
        }
        if (peak.atEdge) {
            result.status |= eTraceEdgePeak;
            if ((params.traceFlags & eStopAtEdgePeak) != 0) return;
            if ((params.traceFlags & eKeepCentreAtEdgePeak) != 0) recentred = false;
        }
        if (recentred) centre += correction(walk, peak);
        result.points.push_back(walk.clientFromPels * centre);
    }
}

void traceBothWays(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params, const qv_traceMask& mask,
                   std::uint16_t id, std::vector<qv_ridgeLine>& lines) {
    qv_ridgeTraceResult forward;
    traceRidge(image, params, mask, id, forward);

    qv_ridgeTraceParams backwardParams = params;
    backwardParams.traceAngle = params.traceAngle + qvRadian(qvPi);
    backwardParams.searchVector = qvVector<2>(1.0, params.traceAngle + qvRadian(qvPi) + qvRadian(qvPi / 2.0));
    qv_ridgeTraceResult backward;
    traceRidge(image, backwardParams, mask, id, backward);

    // deliberate: the start counts twice, so that 5 points make a line; pinned by TraceBothWays.SixPointsMakeALine
    if (forward.points.size() + backward.points.size() < kFewestPointsBothWays) return;
    qv_ridgeLine line;
    line.angle = params.traceAngle;
    line.points.reserve(forward.points.size() + backward.points.size());
    for (std::size_t i = backward.points.size(); i-- > 1;) line.points.push_back(backward.points[i]);
    line.points.insert(line.points.end(), forward.points.begin(), forward.points.end());
    lines.push_back(std::move(line));
}
