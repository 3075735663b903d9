/// @file
/// Single-street search: the streets of each direction, one result each, without regard to crossings.
#ifndef QVSTREET_PROJECTION_SINGLE_STREET_H
#define QVSTREET_PROJECTION_SINGLE_STREET_H

#include <array>
#include <vector>

#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/streetfinder/street_results.h"

/// Streets as pairs of edges at about the nominal width, best first, at most `maxResults`.
/// @param diagObject  gets all candidates with their terms and what became of them; null for none. So below
void findSingleStreetFromEdges(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                               std::vector<qvStreetFinderSingleStreetResult>& results, qvDiagObject* diagObject);

/// Streets as single lines, best first, at most `maxResults`.
void findSingleStreetFromLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                               std::vector<qvStreetFinderSingleStreetResult>& results, qvDiagObject* diagObject);

/// The pairs of lines of one direction that run the same way, overlap, lie more than `range.first` and less than
/// `range.second` client units apart, measured along `angle`, and show the asked polarity.
/// @param range  client units, both bounds left out
/// @param angle  of the other direction, client frame
/// @param centreMargin,sideMargin  see `pairPolarity`; read only where a polarity is asked for
/// @param pairs,separations  one element a pair, by ascending first and then second index; both are emptied first
void collectEdgePairs(const std::vector<qvLineFinderResults>& lines, const qvPair<double>& range, qvRadian angle,
                      qvStreetFinderDefs::streetPolarity polarity, double centreMargin, double sideMargin,
                      const qvTiledProjectionResult& projection, std::vector<qvPair<long>>& pairs,
                      std::vector<double>& separations);

/// The terms of that cost, each 0 for a perfect pair.
struct qv_edgePairTerms {
    double uniformity = 0.0;
    double shortness = 0.0;
    double skew = 0.0;
    /// A tenth of the width deviation.
    double widthError = 0.0;
};
qv_edgePairTerms edgePairTerms(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines,
                               const qvTiledProjectionResult& projection, double separation, double width,
                               const qvPair<double>& range, double centreMargin, double imageDeviation, double length);

/// Cost of a pair of edges: the mean of its unevenness, shortness, skew and a tenth of its width deviation.
/// @param imageDeviation standard deviation of the grey level over the image
/// @param length of the image along the street, client units
double scoreEdgePair(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines,
                     const qvTiledProjectionResult& projection, double separation, double width,
                     const qvPair<double>& range, double centreMargin, double imageDeviation, double length);

/// Distance between the middles of two segments, measured along `angle`.
double midpointSeparation(const qvLineSeg& a, const qvLineSeg& b, qvRadian angle);

/// How far `separation` lies from `width`, as a fraction of the way to the bound of `range` on that side.
double widthDeviation(double separation, double width, const qvPair<double>& range);

/// Lengths of the image's width and height in client units.
std::array<double, 2> mappedImageLengths(const qv_streetFinderImpl& impl);

/// Writes a result from a pair of edges, and from a line.
void fillEdgePairResult(const qvPair<long>& pair, const std::vector<qvLineFinderResults>& lines, double score,
                        qvStreetFinderSingleStreetResult& result);
void fillLineResult(const qvLineFinderResults& line, double score, qvStreetFinderSingleStreetResult& result);

#endif
