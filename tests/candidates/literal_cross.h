/// @file
/// A street crossing written down by hand, and what the tests of the cross stages share.
#ifndef QVSTREET_TESTS_CANDIDATES_LITERAL_CROSS_H
#define QVSTREET_TESTS_CANDIDATES_LITERAL_CROSS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <vector>

#include "tests/candidates/literal_lines.h"

/// An upright street of width 30 and a flat one of width 20; they cross in (115, 210).
///
///              100   130
///               |     |            corners (100, 200), (130, 200), (100, 220), (130, 220);
///     200 -----         ------     every arm ends at another distance from its corner
///     220 -----         ------
///               |     |
inline std::vector<LiteralLine> unevenCross() {
    return {{20.0, 200.0, 90.0, 200.0},   {140.0, 200.0, 240.0, 200.0}, {25.0, 220.0, 95.0, 220.0},
            {135.0, 220.0, 230.0, 220.0}, {100.0, 50.0, 100.0, 188.0},  {130.0, 60.0, 130.0, 195.0},
            {100.0, 230.0, 100.0, 290.0}, {130.0, 225.0, 130.0, 280.0}};
}

/// Keys of `unevenCross` in the order of a candidate.
constexpr long kUnevenKeys[8] = {4, 5, 6, 7, 0, 1, 2, 3};

inline qv_stCand candidateOfKeys(const std::vector<long>& keys) {
    qv_stCand candidate;
    std::copy(keys.begin(), keys.end(), candidate.lines);
    return candidate;
}

inline qv_stCand unevenCandidate() {
    return candidateOfKeys(std::vector<long>(std::begin(kUnevenKeys), std::end(kUnevenKeys)));
}

/// The cross with one of its lines replaced; `place` counts as in a candidate.
inline std::vector<qv_ridgeLine> unevenCrossWith(std::size_t place, const LiteralLine& line) {
    std::vector<LiteralLine> lines = unevenCross();
    lines[static_cast<std::size_t>(kUnevenKeys[place])] = line;
    return flatLines(lines);
}

inline std::vector<LiteralLine> mappedLines(const std::vector<LiteralLine>& lines, const qvXform<2>& xform) {
    std::vector<LiteralLine> mapped;
    for (const LiteralLine& line : lines) {
        const qvVector<2> p1 = xform * qvVector<2>(line.x1, line.y1);
        const qvVector<2> p2 = xform * qvVector<2>(line.x2, line.y2);
        mapped.push_back({p1.x(), p1.y(), p2.x(), p2.y()});
    }
    return mapped;
}

/// Turns by an angle around a point, after mirroring y in that point where asked.
inline qvXform<2> turnAround(double degrees, const qvVector<2>& centre, bool mirrorY = false) {
    const double c = qfCos(qvDegree(degrees));
    const double s = qfSin(qvDegree(degrees));
    const double y = mirrorY ? -1.0 : 1.0;
    const qvMatrix<2> matrix(c, -s * y, s, c * y);
    return qvXform<2>(matrix, centre - matrix * centre);
}

inline void expectNear(const qvVector<2>& point, double x, double y, double tolerance = 1e-9) {
    EXPECT_NEAR(point.x(), x, tolerance);
    EXPECT_NEAR(point.y(), y, tolerance);
}

inline void expectSegment(const qvLineSeg& segment, double x1, double y1, double x2, double y2,
                          double tolerance = 1e-9) {
    expectNear(segment.p1(), x1, y1, tolerance);
    expectNear(segment.p2(), x2, y2, tolerance);
}

inline double degreesOf(qvRadian angle) { return qvDegree(angle).toDouble(); }

/// All fields, bit for bit.
inline void expectSameResult(const qvStreetFinderStreetCrossResult& a, const qvStreetFinderStreetCrossResult& b) {
    EXPECT_EQ(a.crossing(), b.crossing());
    EXPECT_EQ(a.ulCorner(), b.ulCorner());
    EXPECT_EQ(a.urCorner(), b.urCorner());
    EXPECT_EQ(a.llCorner(), b.llCorner());
    EXPECT_EQ(a.lrCorner(), b.lrCorner());
    EXPECT_EQ(a.verticalAngle(), b.verticalAngle());
    EXPECT_EQ(a.horizontalAngle(), b.horizontalAngle());
    EXPECT_EQ(a.score(), b.score());
    EXPECT_EQ(a.statusFlags(), b.statusFlags());
    EXPECT_EQ(a.lineSegs(), b.lineSegs());
}

/// Numbers that are the same on every machine.
class LiteralRandom {
 public:
    explicit LiteralRandom(std::uint32_t seed) : engine_(seed) {}

    /// In [low, high), in steps of 1/1024 of a unit, so that moving by a whole number is exact.
    double uniform(double low, double high) {
        return low + std::floor(static_cast<double>(engine_()) / 4294967296.0 * (high - low) * 1024.0) / 1024.0;
    }
    long below(long count) { return static_cast<long>(engine_() % static_cast<std::uint32_t>(count)); }

 private:
    std::mt19937 engine_;
};

// What the edge pair mode weighs with.
inline const std::vector<double> kEdgeWeights = {1.126, 0.019, 0.0875, 0.2909, 0.5771, 0.5416, 1.0, 1.0, 1.0, 1.0};

inline qv_candidateTolerances tolerancesOf(double widthX, double widthY) {
    qv_candidateTolerances tolerances;
    tolerances.lineGapTolerance = 10.0;
    tolerances.angleTolerance = 10.0;
    tolerances.nominalWidth = qvPair<double>(widthX, widthY);
    tolerances.widthLower = qvPair<double>(20.0, 15.0);
    tolerances.widthUpper = qvPair<double>(45.0, 28.0);
    return tolerances;
}

inline std::vector<double> onlyWeight(std::size_t index) {
    std::vector<double> weights(10, 0.0);
    weights[index] = 1.0;
    return weights;
}

#endif
