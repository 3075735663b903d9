#ifndef QVSTREET_BENCH_PEERS_STREET_PAIRS_H
#define QVSTREET_BENCH_PEERS_STREET_PAIRS_H

#include <vector>

#include "bench/peers/pipelines.h"

// From edges to streets to crossings, for the pipelines made of OpenCV's parts.

namespace qvbench {

/// A family of nearly parallel lines. Seen from `middle`, `u` counts along the normal and `v` along the direction
/// (-normal.y, normal.x), both in pels.
struct FamilyFrame {
    FamilyFrame(const qvtest::Point2& middlePoint, double normalRadians);
    double u(const qvtest::Point2& p) const { return (p.x - middle.x) * normal.x + (p.y - middle.y) * normal.y; }
    double v(const qvtest::Point2& p) const { return (p.y - middle.y) * normal.x - (p.x - middle.x) * normal.y; }
    qvtest::Point2 middle;
    qvtest::Point2 normal;
};

/// The line u = offset + slope * v of a family.
struct FamilyLine {
    double offset = 0.0;
    double slope = 0.0;
};

/// An edge, and whether the image gets lighter across it with growing u.
struct EdgeLine {
    FamilyLine line;
    bool rising = false;
};

/// The middle lines of dark streets: a falling and a rising edge about `streetWidth` apart, each the other's best match.
std::vector<FamilyLine> pairedStreets(const std::vector<EdgeLine>& edges, double streetWidth);

/// Where the streets of two families cross inside a `width` by `height` image.
void crossStreets(const FamilyFrame& frame0, const std::vector<FamilyLine>& streets0, const FamilyFrame& frame1,
                  const std::vector<FamilyLine>& streets1, double width, double height, Crossings& crossings);

/// The angle in [-pi/2, pi/2] between two undirected lines.
double lineTurn(double fromRadians, double toRadians);

}  // namespace qvbench

#endif
