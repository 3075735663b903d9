/// @file
/// Edge line fit: the one or two parallel lines through the edge points of a street, with their covariance, however
/// many of the points belong to something else.
#ifndef QVSTREET_PROJECTION_EDGE_LINE_FIT_H
#define QVSTREET_PROJECTION_EDGE_LINE_FIT_H

#include <array>
#include <cstdint>
#include <vector>

/// One edge point.
struct qv_EdgePoint {
    /// Along and across the street, pels.
    double u = 0.0;
    double v = 0.0;
    /// Grey levels beyond the edge minus those before it, and how far the pels are from an edge's template.
    double contrast = 0.0;
    double misfit = 0.0;
    /// 0: the edge that comes first along v; 1: the other.
    std::int32_t edge = 0;
    /// The street's whole block of which this is one edge.
    std::int32_t block = 0;
    /// Whether the point is taken for one of the edge; the fit says so of those that came in as true.
    bool used = false;
};

/// v = offset[edge] + slope[edge] * (u - u0) and how sure that is.
struct qv_EdgeLines {
    double u0 = 0.0;
    std::array<double, 2> offset{};
    std::array<double, 2> slope{};
    /// Covariance of (offset[0], offset[1], slope[0], slope[1]), pels and pels per pel.
    std::array<std::array<double, 4>, 4> covariance{};
    /// Standard deviation of the used points about their line, pels.
    std::array<double, 2> scatter{};
    std::array<long, 2> used{};
    std::array<long, 2> refused{};
    /// How much the points bend aside from the lines, pels per squared pel along u, and its standard deviation: of both
    /// edges together.
    double bend = 0.0;
    double bendDeviation = 0.0;
    /// What the residuals of neighbouring blocks have in common beyond chance, 0 to 0.9, the greater of the two edges.
    double likeness = 0.0;
    /// The two share one slope: the evidence does not speak against it.
    bool parallel = true;
};

/// Fits by iterated weights: first by magnitudes, which a minority of far points cannot pull aside, then by Tukey's
/// biweight, which leaves them out. Points of which `used` is false are left alone and count as refused.
/// @param edges       1 or 2: whether there are points of edge 1
/// @param leastUsed   points that each edge must keep
/// @returns false, with `lines` unchanged, where an edge keeps fewer or all its points share one u
bool qf_fitEdgeLines(std::vector<qv_EdgePoint>& points, long edges, long leastUsed, qv_EdgeLines& lines);

/// Mean slope of the two edges, or of the one, and its variance.
double qf_slopeOf(const qv_EdgeLines& lines, long edges);
double qf_slopeVarianceOf(const qv_EdgeLines& lines, long edges);

/// Takes in that the street's slope was also measured elsewhere, as `slope` with that variance, independently of its
/// own points: offsets, slopes and covariance become those of both together.
void qf_takeInSlope(double slope, double variance, long edges, qv_EdgeLines& lines);

#endif
