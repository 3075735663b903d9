/// @file
/// Crossings of single lines: every line of direction 0 with every line of direction 1, scored, the best separated ones
/// kept.
#ifndef QVSTREET_STREETFINDER_LINE_CROSSINGS_H
#define QVSTREET_STREETFINDER_LINE_CROSSINGS_H

#include <vector>

#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"

/// The terms of one crossing's cost, each 0 for a perfect one.
struct qv_lineCrossingTerms {
    /// How much of the image's perimeter the two lines leave out.
    double length = 0.0;
    /// How uneven their grey level is, against the image's deviation; counts a tenth.
    double texture = 0.0;
    /// Their grey value, of 255.
    double grey = 0.0;
    /// 1 where the crossing lies beyond an end of a line.
    double outside = 0.0;
};
qv_lineCrossingTerms lineCrossingTerms(const qvLineFinderResults& line0, double grey0, const qvLineFinderResults& line1,
                                       double grey1, const qv_streetFinderImpl& impl);

/// Crosses the lines that pass the polarity test, direction 0 in the outer loop, and scores each crossing. Replaces
/// `results`.
/// @param diagObject  gets the polarity tests and all crossings with their terms; null for none
void crossStreetLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params,
                      std::vector<qvStreetFinderStreetCrossResult>& results, qvDiagObject* diagObject = nullptr);

/// Fills `result` from one line of each direction and their grey values (see `classifyStreetLines`).
void scoreLineCrossing(qvStreetFinderStreetCrossResult& result, const qvLineFinderResults& line0, double grey0,
                       const qvLineFinderResults& line1, double grey1, const qv_streetFinderImpl& impl);

/// Sorts by score, greatest first, and keeps at most `maxResults` whose crossings are at least 5 client units apart.
void selectTopCrossings(std::vector<qvStreetFinderStreetCrossResult>& results, long maxResults);
/// The same from the crossings of `scratch`, which stay as they are, into `results`.
void selectTopCrossings(qv_lineCrossingScratch& scratch, long maxResults,
                        std::vector<qvStreetFinderStreetCrossResult>& results);

/// The place where the offset of a sub-image would enter; with the offset (0, 0) that every record has, all values
/// stay.
void mapResultsToClient(std::vector<qvStreetFinderStreetCrossResult>& results, const qv_streetFinderImpl& impl);

#endif
