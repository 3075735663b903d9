/// @file
/// Crosses and profiles written down by hand for the final score and selection.
#ifndef QVSTREET_TESTS_CANDIDATES_SCORED_CROSS_H
#define QVSTREET_TESTS_CANDIDATES_SCORED_CROSS_H

#include <vector>

#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/projection/literal_profile.h"

namespace qvtest {

inline qvLineSeg seg(double x1, double y1, double x2, double y2) {
    return qvLineSeg(qvVector<2>(x1, y1), qvVector<2>(x2, y2));
}

/// Ends of the segments of `scoredCross`, p1 and then p2: direction-1 segments from their upper end, direction-0 ones
/// from their left end.
constexpr double kCrossSegments[8][4] = {{95, 7, 95, 57},  {105, 17, 105, 57}, {95, 63, 95, 113}, {105, 63, 105, 93},
                                         {15, 57, 95, 57}, {105, 57, 185, 57}, {35, 63, 95, 63},  {105, 63, 165, 63}};
/// Their lengths, 450 together.
constexpr double kCrossLengths[8] = {50, 40, 50, 30, 80, 80, 60, 60};
constexpr double kCrossLength = 450.0;

/// A perfect cross at (100 + dx, 60 + dy) of a vertical street 10 wide and a horizontal one 6 wide; its segments begin
/// at the corners.
inline qvStreetFinderStreetCrossResult scoredCross(double dx = 0.0, double dy = 0.0) {
    using Access = qv_streetResultAccess;
    qvStreetFinderStreetCrossResult cross;
    Access::crossing(cross) = qvVector<2>(100.0 + dx, 60.0 + dy);
    Access::ulCorner(cross) = qvVector<2>(95.0 + dx, 57.0 + dy);
    Access::urCorner(cross) = qvVector<2>(105.0 + dx, 57.0 + dy);
    Access::llCorner(cross) = qvVector<2>(95.0 + dx, 63.0 + dy);
    Access::lrCorner(cross) = qvVector<2>(105.0 + dx, 63.0 + dy);
    for (const auto& s : kCrossSegments)
        Access::lineSegs(cross).push_back(seg(s[0] + dx, s[1] + dy, s[2] + dx, s[3] + dy));
    return cross;
}

/// The same with one segment replaced.
inline qvStreetFinderStreetCrossResult crossWith(std::size_t i, const qvLineSeg& segment) {
    qvStreetFinderStreetCrossResult cross = scoredCross();
    qv_streetResultAccess::lineSegs(cross)[i] = segment;
    return cross;
}

/// Tolerances that want the widths of `scoredCross`.
inline qv_candidateTolerances crossTolerances() {
    qv_candidateTolerances tolerances;
    tolerances.nominalWidth = {10.0, 6.0};
    tolerances.widthLower = {5.0, 3.0};
    tolerances.widthUpper = {16.0, 9.0};
    return tolerances;
}

/// A profile of `size` bins whose span from `first` to `last` has these sums, any other span absurd ones.
inline qvTiledProjectionResult spanProfile(std::size_t size, std::size_t first, std::size_t last, double squares,
                                           double sum, double count, const qvXform<2>& clientFromProfile) {
    qvTiledProjectionOneResult tile;
    tile.cumSquareSums.assign(size, 7e9);
    tile.cumSums.assign(size, 3e6);
    tile.cumCounts.assign(size, 5e3);
    tile.cumSquareSums.at(first) = tile.cumSums.at(first) = tile.cumCounts.at(first) = 0.0;
    tile.cumSquareSums.at(last) = squares;
    tile.cumSums.at(last) = sum;
    tile.cumCounts.at(last) = count;
    tile.sums.assign(size, 0.0);
    tile.clientFromProfile = clientFromProfile;
    tile.status = 0;
    qvTiledProjectionResult projection;
    projection.tiles = {{tile}};
    return projection;
}

/// A record of an image that is evenly grey, so that no street has any texture; 1000 bins in both profiles, no lines.
inline qv_streetFinderImpl evenImage() {
    qv_streetFinderImpl impl;
    const std::vector<double> greys(1000, 50.0);
    impl.projectionAlong0 = literalProfile(greys, binsAlongY());
    impl.projectionAlong1 = literalProfile(greys, binsAlongX());
    impl.imageDeviation = 20.0;
    impl.lines.resize(2);
    return impl;
}

}  // namespace qvtest

#endif
