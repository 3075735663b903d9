#ifndef QVSTREET_TESTS_PROJECTION_LITERAL_PROFILE_H
#define QVSTREET_TESTS_PROJECTION_LITERAL_PROFILE_H

#include <cmath>
#include <vector>

#include "qvstreet/frontend/line_results.h"
#include "qvstreet/projection/tiled_projection.h"

// Projections written down bin by bin instead of taken from an image.

namespace qvtest {

/// A point (x, y) of the client frame lies in bin y: the profile of lines that run along x.
inline qvXform<2> binsAlongY() { return qvXform<2>(qvMatrix<2>(0.0, 1.0, 1.0, 0.0), qvVector<2>(0.0, 0.0)); }
/// A point (x, y) of the client frame lies in bin x: the profile of lines that run along y.
inline qvXform<2> binsAlongX() { return qvXform<2>(); }

/// One tile with `count` samples of the grey level `greys[b]` in bin b.
inline qvTiledProjectionResult literalProfile(const std::vector<double>& greys,
                                              const qvXform<2>& clientFromProfile = binsAlongY(), double count = 1.0) {
    qvTiledProjectionOneResult tile;
    double sum = 0.0;
    double squareSum = 0.0;
    double counted = 0.0;
    for (const double grey : greys) {
        tile.sums.push_back(count * grey);
        tile.squareSums.push_back(count * grey * grey);
        tile.counts.push_back(count);
        tile.cumSums.push_back(sum += count * grey);
        tile.cumSquareSums.push_back(squareSum += count * grey * grey);
        tile.cumCounts.push_back(counted += count);
    }
    tile.clientFromProfile = clientFromProfile;
    tile.status = 0;
    qvTiledProjectionResult projection;
    projection.tiles = {{tile}};
    return projection;
}

/// `bins` of `grey`, with `streetGrey` from bin `first` up to and including bin `last`.
inline std::vector<double> streetProfile(long bins, double grey, long first, long last, double streetGrey) {
    std::vector<double> greys(static_cast<std::size_t>(bins), grey);
    for (long b = first; b <= last; ++b) greys[static_cast<std::size_t>(b)] = streetGrey;
    return greys;
}

/// The grey level `greyAt(b)` in each of `bins`.
template <class GreyAt>
std::vector<double> shapedProfile(long bins, GreyAt greyAt) {
    std::vector<double> greys;
    for (long b = 0; b < bins; ++b) greys.push_back(greyAt(static_cast<double>(b)));
    return greys;
}

inline qvLineFinderResults bareLine(const qvVector<2>& p1, const qvVector<2>& p2) {
    return qvLineFinderResults(qvLineSeg(p1, p2), 0.0, false);
}

/// A line with statistics, of which only the deviation matters.
inline qvLineFinderResults ridgeLine(const qvVector<2>& p1, const qvVector<2>& p2, double greyDeviation) {
    qvLineFinderResults line(qvLineSeg(p1, p2), 0.0, false);
    line.statistics(100.0, 0.0, greyDeviation, 10);
    return line;
}

}  // namespace qvtest

#endif
