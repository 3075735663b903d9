/// @file
/// What the single-street search leaves in a diagnostics recorder.
#ifndef QVSTREET_PROJECTION_SINGLE_STREET_RECORDS_H
#define QVSTREET_PROJECTION_SINGLE_STREET_RECORDS_H

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/projection/projection_polarity.h"

/// One candidate of the search.
struct qv_singleStreetRow {
    long direction = 0;
    /// Numbers of its lines.
    std::wstring lines;
    std::vector<qvLineSeg> segments;
    /// Distance of its edges, client units; empty for a street that is one line.
    std::wstring separation;
    std::vector<double> terms;
    double cost = 0.0;
    /// Whether its cost counts.
    bool hasCost = true;
};

/// How the pairs of lines of one direction fell.
struct qv_edgePairCounts {
    long tried = 0;
    long withoutOverlap = 0;
    long outsideRange = 0;
    /// Of those the distance nearest to the range, client units; NaN where there is none.
    double nearestOutside = std::numeric_limits<double>::quiet_NaN();
    long wrongPolarity = 0;
    long kept = 0;
};

/// "Single Streets": the candidates in the order of the search, best first, with their terms and what becomes of them.
/// @param termNames  headings of the terms
void recordSingleStreets(const qvPelBuffer_const<unsigned char>& image, std::vector<qv_singleStreetRow> rows,
                         const std::vector<std::wstring>& termNames, long maxResults, qvDiagObject& diagObject);

/// Adds to the "Single Streets" of the same run how the pairs of edges fell, and the ranges of the pairs that were kept
/// on the two projections.
/// @param ranges  by direction, the street widths that count, client units
void recordEdgePairs(const std::array<qv_edgePairCounts, 2>& counts, const std::array<qvPair<double>, 2>& ranges,
                     const std::vector<qv_singleStreetRow>& rows,
                     const std::array<const qvTiledProjectionResult*, 2>& projections, double centreMargin,
                     double sideMargin, qvDiagObject& diagObject);

#endif
