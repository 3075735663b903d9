/// @file
/// Polarity test on the projections: whether the stretch under a line, or between two, is darker or lighter than its
/// sides; and the classification of all lines by it.
///
/// All positions are in profile bins: a client point goes into a profile by the inverse of the tile's
/// `clientFromProfile`, and its x counts.
#ifndef QVSTREET_PROJECTION_PROJECTION_POLARITY_H
#define QVSTREET_PROJECTION_PROJECTION_POLARITY_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/line_results.h"
#include "qvstreet/projection/tiled_projection.h"
#include "qvstreet/streetfinder/street_finder_params.h"

struct qv_streetFinderImpl;
class qvDiagObject;

/// Standard deviation of the grey level over the whole profile of tile (0, 0), bin 0 left out as in every span.
/// @throws qvInvariantFailure for a tile that is not valid
double profileDeviation(const qvTiledProjectionResult& projection);

/// The lines of both directions: element 0 nearer the horizontal, element 1 nearer the vertical.
using qv_lineSets = std::vector<std::vector<qvLineFinderResults>>;

/// What the classification of lines hands to `linePolarity`: any difference counts.
inline constexpr double qvLineSpareFraction = 0.1;
inline constexpr double qvLineMargin = 0.0;

/// Verdict on one line as the middle of a street `width` client units wide: `eDarkOnLight`, `eLightOnDark` or
/// `eAnyPolarity` for undecided. The centre must differ from both sides by more than the fraction `margin` of them.
/// @param spareFraction has no effect
/// @param centreMean the mean grey level of the centre; 1e12 where no pel lies there
qvStreetFinderDefs::streetPolarity linePolarity(const qvLineFinderResults& line, double width, double spareFraction,
                                                double margin, const qvXform<2>& clientTransform,
                                                const qvTiledProjectionResult& projection, double& centreMean);

/// A verdict as people read it in traces and tables: "no pol" for undecided and any value that is none, "dark  on light"
/// with two blanks, "light on dark".
const wchar_t* polarityText(qvStreetFinderDefs::streetPolarity verdict);

/// The same verdict on the stretch between two segments. Margins are fractions of the gap between them.
qvStreetFinderDefs::streetPolarity pairPolarity(const qvLineSeg& segment0, const qvLineSeg& segment1,
                                                const qvTiledProjectionResult& projection, double centreMargin,
                                                double sideMargin, double margin);

/// The bins, cut to the profile, whose means `linePolarity` compares.
struct qv_lineBins {
    qvPair<long> centre;
    qvPair<long> left;
    qvPair<long> right;
};
qv_lineBins lineProfileBins(const qvLineFinderResults& line, double width, const qvXform<2>& clientTransform,
                            const qvTiledProjectionResult& projection);

/// The bins between two segments and those at either side of them, not yet cut to the profile.
void pairProfileRanges(const qvLineSeg& segment0, const qvLineSeg& segment1, const qvTiledProjectionResult& projection,
                       double centreMargin, double sideMargin, qvRange& centre, qvRange& left, qvRange& right);

/// Per direction, the lines that pass the polarity test of `params`, each with a grey value that is lower the more
/// convincing the line is: the mean of a dark street, 255 less the mean of a light one, 0 where any polarity will do.
/// @param diagObject  gets the ranges, the means and the verdicts; null for none
void classifyStreetLines(const qv_lineSets& lines, std::vector<std::vector<qvDIPair>>& lists,
                         const qvStreetFinderParams& params, const qv_streetFinderImpl& impl,
                         qvDiagObject* diagObject = nullptr);

/// The same as one flat list, direction 0 first; the grey value is in `cost`.
void rankStreetLines(const qv_lineSets& lines, std::vector<qvDIJPair>& list, const qvStreetFinderParams& params,
                     const qv_streetFinderImpl& impl, qvDiagObject* diagObject);

#endif
