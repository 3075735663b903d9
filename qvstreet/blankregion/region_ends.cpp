// Ends of a blank region.
//
// In:  the foreground image and a region, both counted from the window's upper left pel, in pels.
// Out: the region with its two ends moved.
//
//          x0                                                  x1
//           |<-9 pels->|             region         |<-9 pels->|
//     ######|####      |                            |     #####|####     foreground, after the map: # is 255
//           |   \_____________________________________/        |         profile along x
//               fall                                  rise
//
// The foreground is 0 in a blank stretch but for noise, which the map takes away. The left end of the stretch is
// therefore a fall, the right end a rise.
#include "qvstreet/blankregion/region_ends.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "qvstreet/platform/caliper.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/sampling.h"

namespace {

/// Grey levels of the foreground: up to the first limit it is noise, beyond the second structure, linear between.
constexpr long kNoiseEnd = 5;
constexpr long kStructureBegin = 12;

/// How far beyond the region the caliper looks at each end, in pels.
constexpr long kEndSearchMargin = 9;
/// The caliper is so many pels lower than the region, so that the street's own borders do not disturb it.
constexpr long kHeightReduction = 4;

constexpr long kNearestPel = 1;
constexpr short kFilterHalfSize = 2;
constexpr double kContrastThreshold = 5.0;

/// Ends are looked for among so many of the strongest edges.
constexpr std::size_t kConsideredEdges = 2;

std::vector<unsigned char> foregroundMap() {
    std::vector<unsigned char> map(256, 0);
    for (long level = kNoiseEnd; level < kStructureBegin; ++level)
        map[static_cast<std::size_t>(level)] =
            static_cast<unsigned char>((level - kNoiseEnd) * 256 / (kStructureBegin - kNoiseEnd));
    std::fill(map.begin() + kStructureBegin, map.end(), static_cast<unsigned char>(255));
    return map;
}

/// Strongest first, NaN last; equal ones keep their order along the street.
std::vector<qvCaliperResultEdge> strongestEdges(const qvCaliperResultSet& found) {
    std::vector<qvCaliperResultEdge> edges(found.resultEdges().begin(), found.resultEdges().end());
    std::stable_sort(edges.begin(), edges.end(), [](const qvCaliperResultEdge& a, const qvCaliperResultEdge& b) {
        const double strengthA = std::fabs(a.contrast());
        const double strengthB = std::fabs(b.contrast());
        return std::isnan(strengthB) ? !std::isnan(strengthA) : strengthA > strengthB;
    });
    // deliberate: the two strongest of all, not the strongest fall and the strongest rise; pinned by
    // RegionEnds.OnlyTheTwoStrongestEdgesOfAllAreConsidered
    if (edges.size() > kConsideredEdges)
        edges.erase(edges.begin() + static_cast<std::ptrdiff_t>(kConsideredEdges), edges.end());
    return edges;
}

}  // namespace

void refineRegionEnds(const qvPelBuffer_const<unsigned char>& foreground, qvPelRect& region, qvDiagObject* diagObject,
                      std::uint32_t caliperDiagFlags) {
    qvPelBuffer<unsigned char> mapped = qfPelMap(foreground, foregroundMap());
    // The region counts from the window, the caliper from the image's origin.
    mapped.offset(0, 0);

    const long imageWidth = foreground.width();
    const long height = std::max(region.height() - kHeightReduction, 1L);
    const long x0 = std::max(0L, region.ul().first - kEndSearchMargin);
    const long x1 = std::min(imageWidth, region.lr().first + kEndSearchMargin);
    const long length = x1 - x0;
    const double cx = static_cast<double>(x0 + x1) * 0.5;
    const double cy = static_cast<double>(region.ul().second + region.lr().second) * 0.5;
    const qvAffineRectangle area(qvVector<2>(cx, cy), static_cast<double>(length), static_cast<double>(height),
                                 qvRadian(0.0), qvRadian(0.0));
    // deliberate: the sampling narrows its counts to 16 bits, so a street of 65537 pels has one sample; pinned by
    // RegionEnds.CaliperLengthIsNarrowedTo16Bits
    const qvAffineSamplingParams sampling(area, length, height, kNearestPel);

    qvCaliperRunParams caliper(0.0, qvCaliperDefs::eEither);
    caliper.filterHalfSize(kFilterHalfSize);
    caliper.contrastThreshold(kContrastThreshold);
    qvCaliperResultSet found;
    qfCaliperRun(mapped, sampling, caliper, found, diagObject, caliperDiagFlags);
    const std::vector<qvCaliperResultEdge> edges = strongestEdges(found);

    // deliberate: an edge is accepted up to the distance of the end from the image's border, which the margin may
    // exceed or fall short of; pinned by RegionEnds.EdgeFartherFromTheLeftEndThanTheBorderIsRefused and
    // RegionEnds.EdgeFartherFromTheRightEndThanTheBorderIsRefused
    double left = static_cast<double>(region.ul().first);
    double best = left;
    for (const qvCaliperResultEdge& edge : edges) {
        if (!(edge.contrast() <= 0.0)) continue;
        const double p = edge.position() + cx;
        const double distance = std::fabs(p - static_cast<double>(region.ul().first));
        if (!(distance < best)) continue;
        left = p;
        best = distance;
    }

    double right = static_cast<double>(region.lr().first);
    best = static_cast<double>(imageWidth - region.lr().first);
    for (const qvCaliperResultEdge& edge : edges) {
        if (!(edge.contrast() >= 0.0)) continue;
        const double p = edge.position() + cx;
        const double distance = std::fabs(p - static_cast<double>(region.lr().first));
        if (!(distance < best)) continue;
        right = p;
        best = distance;
    }

    // deliberate: the left end moves in by a pel even where no edge was found; pinned by
    // RegionEnds.WithoutEdgesTheRightEndStaysAndTheLeftMovesInByOnePel
    const long begin = qfIFloor(left) + 1;
    region = qvPelRect(begin, region.ul().second, qfIFloor(right) - begin, region.height());
}
