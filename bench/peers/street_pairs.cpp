#include "bench/peers/street_pairs.h"

#include <cmath>
#include <cstddef>

namespace qvbench {

namespace {

constexpr double kPi = 3.14159265358979323846;

/// How far the distance of two edges may be off the width, as a part of it. The finder is given 0.5; here that would
/// pair edges of neighbouring things.
constexpr double kWidthTolerance = 0.3;

/// The edge of the other kind that lies nearest to where the street would end; `edges.size()` where there is none.
std::size_t bestMatch(const std::vector<EdgeLine>& edges, std::size_t from, double streetWidth) {
    const double side = edges[from].rising ? -1.0 : 1.0;
    std::size_t best = edges.size();
    double least = kWidthTolerance * streetWidth;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (edges[i].rising == edges[from].rising) continue;
        const double width = side * (edges[i].line.offset - edges[from].line.offset);
        if (std::abs(width - streetWidth) >= least) continue;
        least = std::abs(width - streetWidth);
        best = i;
    }
    return best;
}

}  // namespace

FamilyFrame::FamilyFrame(const qvtest::Point2& middlePoint, double normalRadians)
    : middle(middlePoint), normal{std::cos(normalRadians), std::sin(normalRadians)} {}

std::vector<FamilyLine> pairedStreets(const std::vector<EdgeLine>& edges, double streetWidth) {
    std::vector<FamilyLine> streets;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (edges[i].rising) continue;
        const std::size_t j = bestMatch(edges, i, streetWidth);
        if (j == edges.size() || bestMatch(edges, j, streetWidth) != i) continue;
        streets.push_back(
            {0.5 * (edges[i].line.offset + edges[j].line.offset), 0.5 * (edges[i].line.slope + edges[j].line.slope)});
    }
    return streets;
}

void crossStreets(const FamilyFrame& frame0, const std::vector<FamilyLine>& streets0, const FamilyFrame& frame1,
                  const std::vector<FamilyLine>& streets1, double width, double height, Crossings& crossings) {
    // A line is a . (p - middle) = offset with a = normal - slope * direction.
    const auto normalOf = [](const FamilyFrame& frame, const FamilyLine& line) {
        return qvtest::Point2{frame.normal.x + line.slope * frame.normal.y,
                              frame.normal.y - line.slope * frame.normal.x};
    };
    for (const FamilyLine& line0 : streets0) {
        const qvtest::Point2 a = normalOf(frame0, line0);
        for (const FamilyLine& line1 : streets1) {
            const qvtest::Point2 b = normalOf(frame1, line1);
            const double determinant = a.x * b.y - a.y * b.x;
            if (std::abs(determinant) < 0.1) continue;
            const qvtest::Point2 p{frame0.middle.x + (line0.offset * b.y - line1.offset * a.y) / determinant,
                                   frame0.middle.y + (line1.offset * a.x - line0.offset * b.x) / determinant};
            if (p.x >= 0.0 && p.y >= 0.0 && p.x <= width && p.y <= height) crossings.push_back(p);
        }
    }
}

double lineTurn(double fromRadians, double toRadians) { return std::remainder(toRadians - fromRadians, kPi); }

}  // namespace qvbench
