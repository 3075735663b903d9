/// @file
/// The records of the candidate logic: lines, pairs, quads, corners and crosses, the store and the context of one
/// search, their orderings, and the small geometry that the stages share.
///
/// Everything is in client coordinates. Records refer to lines by `lineKey`, an index into one flat list that holds the
/// lines of direction 0 (the more nearly horizontal ones) first and those of direction 1 behind them.
#ifndef QVSTREET_CANDIDATES_CANDIDATE_RECORDS_H
#define QVSTREET_CANDIDATES_CANDIDATE_RECORDS_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvstreet/platform/geometry.h"
#include "qvstreet/streetfinder/street_results.h"

/// One line as the candidate logic sees it, and as the ridge scan builds it.
struct qv_ridgeLine {
    /// Direction of `line`.
    qvRadian angle;
    /// Ridge points in sample coordinates; kept only where line statistics are wanted.
    std::vector<qvVector<2>> points;
    /// The infinite line from `p1` towards `p2`, running as its own angle says.
    qvFLine line;
    /// Cost of the line, smaller is better; the extraction delivers 0 for every line.
    double lineQuality = 0.0;
    /// Positions of `p1` and `p2` along `line`, and their difference, negative for a line that runs from `p2` to `p1`.
    double startAlong = 0.0;
    double endAlong = 0.0;
    double extent = 0.0;
    qvVector<2> p1;
    qvVector<2> p2;
    /// Index of this line in its flat list.
    long lineKey = -1;
    /// Whether most of its points lie where the filter's imaginary part is positive.
    bool polarity = false;
};

/// Sort key of an indirect sort: a value and what it belongs to.
struct qvIDPair {
    long index = 0;
    double value = 0.0;
};

/// Two edges of one street.
struct qv_candPair {
    /// The line with the smaller signed distance.
    long line1 = -1;
    long line2 = -1;
    double score = 0.0;
};

/// Two pairs of one direction end to end along the street.
struct qv_candQuad {
    /// The pair further along the lines.
    qv_candPair first;
    qv_candPair second;
};

/// Two lines meeting near a right angle; both keys -1 for a corner that is absent.
struct qv_candCorner {
    /// The line of direction 1.
    long line1 = -1;
    /// The line of direction 0.
    long line2 = -1;
    double score = 0.0;
};

/// The full crossing candidate: the eight lines of the four arms.
///
///                 0 | | 1            upper and left as seen in the image; lines[i] and lines[i + 4] meet in
///             4 ____| |____ 5        corner i: upper left 0, upper right 1, lower left 2, lower right 3
///             6 ____   ____ 7
///                   | |
///                 2 | | 3
struct qv_stCand {
    /// Cost, smaller is better.
    double score = 0.0;
    /// The terms of `score`, seven once scored.
    std::vector<double> components;
    /// Keys, -1 for a missing line.
    long lines[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
};

/// Two single lines that cross.
struct qv_candCrossPair {
    long line1 = -1;
    long line2 = -1;
    /// Cost, smaller is better.
    double score = 0.0;
    /// Two terms once scored.
    std::vector<double> components;
};

/// Two such crossings: four long lines that run through the crossing unbroken.
struct qv_candPairOfCrossPair {
    qv_candCrossPair first;
    qv_candCrossPair second;
    /// Cost, smaller is better.
    double score = 0.0;
};

/// The same for lines of one direction.
struct qvDIPair {
    double value = 0.0;
    long index = 0;
};
/// And for lines or pairs of both directions.
struct qvDIJPair {
    /// A cost, or a grey value that stands for one.
    double cost = 0.0;
    /// 0 or 1.
    long direction = 0;
    /// Number of the line or pair within its direction.
    long index = 0;
};

/// Geometric limits of the candidate logic. Lengths in client units, angles in degrees.
struct qv_candidateTolerances {
    /// Largest mean distance between two lines that count as one.
    double lineGapTolerance = 0.0;
    /// Largest angle between parallel lines, and largest departure of a corner from 90 degrees.
    double angleTolerance = 0.0;
    /// Shortest line, as a fraction of the image's height (direction 0) or width (direction 1).
    double minLineLengthFraction = 0.0;
    /// Read by no stage.
    qvPair<double> reservedRange;
    /// Street widths; `first` is measured in X, between lines of direction 1, `second` in Y, between lines of direction
    /// 0.
    qvPair<double> nominalWidth;
    qvPair<double> widthUpper;
    qvPair<double> widthLower;
};

/// What the search for four-line crosses needs of one pair: the cosine between its lines and their lengths.
struct qv_pairShape {
    const qv_candPair* pair = nullptr;
    double dotProduct = 0.0;
    double extent1 = 0.0;
    double extent2 = 0.0;
};

/// Two pairs that make a four-line cross, and their place in the order of generation, which breaks ties.
struct qv_rankedCross {
    double score = 0.0;
    std::size_t order = 0;
    const qv_candPair* vertical = nullptr;
    const qv_candPair* horizontal = nullptr;
};

/// Lists that the stages fill and read within one call, kept for their memory.
struct qv_candidateScratch {
    std::vector<const qv_ridgeLine*> lines;
    std::vector<qv_candPair> hpairs;
    std::vector<qv_candPair> vpairs;
    std::vector<qv_candQuad> quads;
    std::vector<qvIDPair> order;
    std::vector<qv_stCand> candidates;
    std::vector<qv_pairShape> verticalShapes;
    std::vector<qv_pairShape> horizontalShapes;
    std::vector<qv_rankedCross> ranked;
};

/// The working lists of one search.
struct qv_candidateStore {
    /// Empties all lists; they keep their memory.
    void clear();

    /// Pairs of direction-1 and of direction-0 lines.
    std::vector<qv_candPair> vpairs_;
    std::vector<qv_candPair> hpairs_;
    std::vector<qv_candQuad> vquads_;
    std::vector<qv_candQuad> hquads_;
    /// Corners: upper left, upper right, lower left, lower right.
    std::vector<qv_candCorner> ulCorners_;
    std::vector<qv_candCorner> urCorners_;
    std::vector<qv_candCorner> dlCorners_;
    std::vector<qv_candCorner> drCorners_;
    mutable qv_candidateScratch scratch;
};

/// Bits of `qv_candidateContext::stageFlags`.
enum qe_stageFlags : std::int32_t {
    /// Merge colinear lines first.
    eMergeLines = 1,
    /// The run parameters give the street widths.
    eWidthsKnown = 2,
    /// Cut the lists of pairs and quads to `maxPairs` and `maxQuads`.
    eKeepBest = 4
};

/// What one candidate run is told.
struct qv_candidateContext {
    long maxResults = 0;
    /// A `waferType` value.
    long runMode = 0;
    qvPair<double> nominalWidth;
    /// Width and height in pels.
    qvPair<long> imageSize;
    qv_candidateTolerances tolerances;
    /// Ten weights.
    std::vector<double> scoreWeights;
    /// Pairs and quads kept for each direction.
    long maxPairs = 1000;
    long maxQuads = 100;
    /// A `streetPolarity` value.
    long polarity = 0;
    /// Bits of `qe_stageFlags`.
    long stageFlags = 0;
    /// Fractions of the pair's gap and of the grey level used by the pairs' polarity test.
    double polarityInset = 0.1;
    double polaritySideWidth = 0.4;
    double polarityMargin = 0.05;
    /// Read by no stage.
    qvPair<long> reserved;
};

/// Strict weak orders on doubles for sorts: NaN ranks behind every number.
inline bool qf_ascending(double a, double b) { return std::isnan(b) ? !std::isnan(a) : a < b; }
inline bool qf_descending(double a, double b) { return std::isnan(b) ? !std::isnan(a) : a > b; }

inline bool operator<(const qvIDPair& a, const qvIDPair& b) { return qf_ascending(a.value, b.value); }
inline bool operator<(const qvDIPair& a, const qvDIPair& b) { return qf_ascending(a.value, b.value); }
inline bool operator<(const qvDIJPair& a, const qvDIJPair& b) { return qf_ascending(a.cost, b.cost); }
inline bool operator<(const qv_stCand& a, const qv_stCand& b) { return qf_ascending(a.score, b.score); }
inline bool operator<(const qv_candCrossPair& a, const qv_candCrossPair& b) { return qf_ascending(a.score, b.score); }
inline bool operator<(const qv_candPairOfCrossPair& a, const qv_candPairOfCrossPair& b) {
    return qf_ascending(a.score, b.score);
}

/// Lines by signed distance from the origin, and by extent, shortest first.
inline bool qf_byDistance(const qv_ridgeLine& a, const qv_ridgeLine& b) {
    return qf_ascending(a.line.distance(), b.line.distance());
}
inline bool qf_byExtent(const qv_ridgeLine& a, const qv_ridgeLine& b) { return qf_ascending(a.extent, b.extent); }

/// Results while their score is a cost, and once it is a score.
inline bool qf_costOrder(const qvStreetFinderStreetCrossResult& a, const qvStreetFinderStreetCrossResult& b) {
    return qf_ascending(a.score(), b.score());
}
inline bool qf_scoreOrder(const qvStreetFinderStreetCrossResult& a, const qvStreetFinderStreetCrossResult& b) {
    return qf_descending(a.score(), b.score());
}

/// The line with that key. Keys are subscripts of the flat list.
inline const qv_ridgeLine& lineAt(const std::vector<qv_ridgeLine>& flatLines, long key) {
    return flatLines[static_cast<std::size_t>(key)];
}

/// References to the `count` lines from `first` on.
std::vector<const qv_ridgeLine*> linesOfRange(const std::vector<qv_ridgeLine>& flatLines, long first, long count);

/// The same into a list that is there already.
void linesOfRange(const std::vector<qv_ridgeLine>& flatLines, long first, long count,
                  std::vector<const qv_ridgeLine*>& lines);

/// The first, in ascending order of their signed extent: of lines that run from `p2` to `p1` the longest first.
std::vector<const qv_ridgeLine*> linesByExtent(const std::vector<qv_ridgeLine>& flatLines, long first, long count);

/// Squared Euclidean distance.
inline double squaredDistance(const qvVector<2>& a, const qvVector<2>& b) { return (a - b) * (a - b); }

/// Lengths of the vectors (size.first, 0) and (0, size.second) after the transform.
qvPair<double> mappedSideLengths(const qvPair<double>& size, const qvXform<2>& transform);
qvPair<double> mappedSideLengths(const qvPair<long>& size, const qvXform<2>& transform);

/// A length of so many pels in client units, as the mean over the two image axes.
double clientLength(double pels, const qvXform<2>& clientFromImage);

/// `factor` (1 or more) times the number of results asked for; the largest long instead of an overflow, 0 for none.
long resultMultiple(long factor, long maxResults);

/// Length of the common part of [a1, a2] and [b1, b2], 0 if there is none. With a1 > a2 both intervals are reversed
/// first, the second as well, whatever its own order; a second interval that runs against the first has no length then.
double overlapLength(double a1, double a2, double b1, double b2);

/// The point of `line` at the position `along` it.
qvVector<2> pointAlong(const qvFLine& line, double along);

/// Whether every result's crossing is at least `limit` (client units) from `point`. A NaN coordinate is near
/// everything.
bool isFarFromAll(const std::vector<qvStreetFinderStreetCrossResult>& results, const qvVector<2>& point, double limit);
/// The same for the first `count` results.
bool isFarFromFirst(const std::vector<qvStreetFinderStreetCrossResult>& results, std::size_t count,
                    const qvVector<2>& point, double limit);

#endif
