/// @file
/// Final score and selection: one score for both kinds of cross, the best separated ones, stubs replaced by real lines.
#ifndef QVSTREET_CANDIDATES_FINAL_SELECTION_H
#define QVSTREET_CANDIDATES_FINAL_SELECTION_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// Appends to `out` the best of both lists until it holds `maxResults` crosses, each at least 5 client units from all
/// in `out`; what `out` held before counts too and stays in front. Both lists are scored and sorted on the way, best
/// first, and their crosses that are taken get their stubs replaced; a cross whose score is NaN comes last and is kept.
/// On equal scores those of `quadCrosses` come first.
/// @param diagObject  gets the terms of all scores and what became of each cross; null for none
/// @throws qvInvariantFailure for a cross without eight segments; qvMatrixErr::Singular where a cross cannot be fitted
void selectFinalCrosses(std::vector<qvStreetFinderStreetCrossResult>& out,
                        std::vector<qvStreetFinderStreetCrossResult>& pairCrosses,
                        std::vector<qvStreetFinderStreetCrossResult>& quadCrosses, const qv_candidateContext& context,
                        const qv_streetFinderImpl& impl, qv_streetTrace* trace, qvDiagObject* diagObject = nullptr);

/// Sets each cross's `score` to its final score. Arguments as in `finalCrossScore`.
void scoreAllCrosses(std::vector<qvStreetFinderStreetCrossResult>& crosses, double maxLength, bool fromPairs,
                     const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl, qv_streetTrace* trace);

/// The terms of a cross's cost, each 0 for a perfect one.
struct qv_finalCrossTerms {
    /// Mean distance of the segment ends from the cross's edges, in tens of client units.
    double residual = 0.0;
    double orthogonality = 0.0;
    /// Missing length and departure from the nominal widths; each counts twice.
    double length = 0.0;
    double width = 0.0;
    /// Unevenness of the grey level inside the streets.
    double contrast = 0.0;
    /// Counts ten times.
    double parallelism = 0.0;
};
qv_finalCrossTerms finalCrossTerms(const qvStreetFinderStreetCrossResult& cross, double maxLength,
                                   const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl);

/// Score of a fitted cross with eight segments, higher is better, from its geometry and the grey-level texture inside
/// its two streets: 1 for a perfect cross, towards 0 for a poor one, exactly 0 where no pel shows the streets. A width
/// bound equal to the nominal width gives 0 or NaN for a width at or beyond it; NaN too where the sums of a street
/// outside its profile leave a negative variance. Above 1 only where the segments together exceed `maxLength` or a width
/// bound lies on the wrong side of the nominal width.
/// @param maxLength   what the eight segments together are set against
/// @param fromPairs   has no effect
/// @param tolerances  nominal widths and their ranges, client units
/// @param impl        the two projections and the image's deviation are read
/// @throws qvInvariantFailure without eight segments or projections
double finalCrossScore(const qvStreetFinderStreetCrossResult& cross, double maxLength, bool fromPairs,
                       const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl,
                       qv_streetTrace* trace);

/// Replaces the stubs (segments shorter than `stubLimit`) by the longest line of their direction that lies within
/// `searchLimit` of the stub's line, on the stub's side of its partner and strictly within the range of street widths
/// from it, and reaches further outwards than inwards; of equal ones the first. Then all segments, stubs or not, are cut
/// at the corners and the cross is fitted anew. The score stays.
/// @param lines  by direction, client frame
/// @param stubLimit,searchLimit  client units
/// @throws qvInvariantFailure without eight segments; qvMatrixErr::Singular where the segments do not determine the fit
void recoverSegments(qvStreetFinderStreetCrossResult& cross, const std::vector<std::vector<qvLineFinderResults>>& lines,
                     double stubLimit, double searchLimit, const qv_candidateContext& context);

#endif
