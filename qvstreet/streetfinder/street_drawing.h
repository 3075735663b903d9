/// @file
/// Results drawn on a tablet, for whoever wants to see what the finder found.
///
/// Positions are in the client frame of the image, so a sketch of the tablet belongs to
/// `qvDisplay::eClientCoordinates`. All shapes are on layer 0. Each function adds to what the tablet holds.
#ifndef QVSTREET_STREETFINDER_STREET_DRAWING_H
#define QVSTREET_STREETFINDER_STREET_DRAWING_H

#include "qvstreet/platform/display.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/streetfinder/street_results.h"

/// Draws a crossing the way it was built: `drawCornerResult` for one from edges, `drawLineResult` for any other.
/// @throws as drawCornerResult
QV_EXPORT void drawCrossResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result);

/// Draws a crossing by its corners: blue crosses at the upper left, lower left, lower right and upper right corner, the
/// segments in green, a red mark at the crossing and, of a result with eight segments, the ideal crossing that fits
/// them best: its eight arm edges in red, each with a circle of 3 display pels at its outer end.
/// @throws qvMatrixErr::Singular when the eight segments do not determine that fit; what comes before it is drawn then
QV_EXPORT void drawCornerResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result);

/// Draws a crossing by its directions: the first two segments in green, a red mark at the crossing, and from there four
/// red lines of 20 client units, forward and back along the flat street, then along the upright one, each with a circle
/// of 3 display pels at its end.
QV_EXPORT void drawLineResult(qvUITablet& tablet, const qvStreetFinderStreetCrossResult& result);

/// Draws the segments of a single street in red.
QV_EXPORT void drawSingleResult(qvUITablet& tablet, const qvStreetFinderSingleStreetResult& result);

#endif
