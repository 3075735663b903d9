/// @file
/// What the projections and the tests on them leave in a diagnostics recorder.
#ifndef QVSTREET_PROJECTION_PROJECTION_RECORDS_H
#define QVSTREET_PROJECTION_PROJECTION_RECORDS_H

#include <vector>

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/projection/tiled_projection.h"

/// "Projection": the mean grey level over the bins, one plot a tile.
void recordProjection(const qv_projectionParams& params, const qvTiledProjectionResult& result,
                      qvDiagObject& diagObject);

/// The mean grey level of each bin of the tile; NaN where no sample lies.
qvDiagCurve meanGreyCurve(const qvTiledProjectionOneResult& tile);

/// A range of bins, whole ones that `rangeMean` takes or positions in between.
qvDiagMark rangeMark(double from, double to, const qvColor& color, const std::wstring& caption);

/// "Polarity Test, direction d": the ranges of each line on the projection, their means, and the verdict. Both searches
/// test alike; where a run has the record already, nothing is added.
/// @param passed  the lines that passed, by index
/// @param width   street width, client units
void recordLinePolarity(const std::vector<qvLineFinderResults>& lines, const std::vector<qvDIPair>& passed,
                        long direction, double width, qvStreetFinderDefs::streetPolarity asked,
                        const qvXform<2>& clientTransform, const qvTiledProjectionResult& projection,
                        qvDiagObject& diagObject);

#endif
