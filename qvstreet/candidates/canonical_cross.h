/// @file
/// The canonical cross: a street crossing read as one fixed figure seen through an affine transform.
///
/// In canonical coordinates the streets have half-width 1 and the arms are 4 long; u runs right and v up, against the
/// image's y.
///
///                   0 |   | 1              segment i runs from its inner point, a corner, outwards;
///                     |   |                i and i + 4 share the corner i
///       4 -----(-1,1)-+   +-(1,1)----- 5
///       6 ----(-1,-1)-+   +-(1,-1)---- 7
///                     |   |
///                   2 |   | 3
#ifndef QVSTREET_CANDIDATES_CANONICAL_CROSS_H
#define QVSTREET_CANDIDATES_CANONICAL_CROSS_H

#include <array>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_trace.h"

/// One arm edge of the figure.
struct qv_canonicalSegment {
    double innerU;
    double innerV;
    double outerU;
    double outerV;
    /// The u of segments 0 to 3, the v of segments 4 to 7.
    double target;

    qvVector<2> inner() const { return qvVector<2>(innerU, innerV); }
    qvVector<2> outer() const { return qvVector<2>(outerU, outerV); }
};

/// The figure, in the order of `qv_stCand::lines`.
constexpr std::array<qv_canonicalSegment, 8> qvCanonicalCross = {{{-1.0, 1.0, -1.0, 5.0, -1.0},
                                                                  {1.0, 1.0, 1.0, 5.0, 1.0},
                                                                  {-1.0, -1.0, -1.0, -5.0, -1.0},
                                                                  {1.0, -1.0, 1.0, -5.0, 1.0},
                                                                  {-1.0, 1.0, -5.0, 1.0, 1.0},
                                                                  {1.0, 1.0, 5.0, 1.0, 1.0},
                                                                  {-1.0, -1.0, -5.0, -1.0, -1.0},
                                                                  {1.0, -1.0, 5.0, -1.0, -1.0}}};

/// Crossings nearer than this, client units, are one crossing found twice.
constexpr double qvLeastCrossSeparation = 5.0;

/// Adds one point (x, y) with wanted value t to the least-squares fit of t = a x + b y + c.
void accumulateFit(qvMatrix<3>& normal, qvVector<3>& rightSide, const qvVector<2>& point, double target);

/// Fits the figure to the lines of a candidate and fills in corners, segments and status only: enough for a cross whose
/// segments are cut and fitted again. Arguments and errors as in `fitCanonicalCross`.
/// @returns clientFromCanonical
qvXform<2> placeCrossArms(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines,
                          qvStreetFinderStreetCrossResult& result);

/// Fits the figure to the lines of a candidate and fills in crossing, angles, corners, segments and status. A missing
/// line adds nothing to the fit and is drawn from the figure. `score` becomes the sum of the distances of the lines'
/// ends from the figure with `useResidualScore`, and the candidate's own cost without.
/// @throws qvMatrixErr::Singular when the lines do not determine the fit
void fitCanonicalCross(const qv_stCand& candidate, const std::vector<qv_ridgeLine>& flatLines,
                       qvStreetFinderStreetCrossResult& result, bool useResidualScore);

/// Whether the arms of a candidate with all eight lines reach past each other: each arm's outer end lies at or beyond
/// the edge of the other street.
bool crossCheck(const std::vector<qv_ridgeLine>& flatLines, const qv_stCand& candidate, qv_streetTrace* trace);

/// Makes results of candidates, in their order or, with `useResidualScore`, in cost order; at most `limit`. With
/// `separate` only those whose crossings are at least 5 client units from all kept before.
void crossesFromCandidates(std::vector<qvStreetFinderStreetCrossResult>& results, long limit,
                           const std::vector<qv_stCand>& candidates, const std::vector<qv_ridgeLine>& flatLines,
                           bool useResidualScore, bool separate);

/// Repeats the fit on a finished result from its eight segments: crossing, angles and corners change, segments, score
/// and status stay. @throws qvInvariantFailure without eight segments, qvMatrixErr::Singular
void refitCrossFromSegments(qvStreetFinderStreetCrossResult& result);

/// The transform from canonical to client coordinates that fits the eight segments of a result best.
/// @throws as refitCrossFromSegments
qv2XformLinear fitXformFromSegments(const qvStreetFinderStreetCrossResult& result);

#endif
