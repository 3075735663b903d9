/// @file
/// Gabor filter stage: sizes of the oriented filter, filtering of the spectrum, and the hand-over to the extraction.
#ifndef QVSTREET_FRONTEND_GABOR_STAGE_H
#define QVSTREET_FRONTEND_GABOR_STAGE_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/filtered_response.h"
#include "qvstreet/frontend/line_finder_run.h"
#include "qvstreet/platform/fourier.h"

/// The filter asked for.
struct qv_gaborSpec {
    /// 1 to 4 take `band` as lengths; 0, and any other, as frequency sigmas.
    long kind = 0;
    qvDegree angle;
    /// Centre frequency of kind 0, cycles per sample pel.
    double spread = 0.17;
    /// Filter length across the street and along it, client units; for kind 0 the two frequency sigmas.
    qvPair<double> band{0.0625, 0.03125};
    /// Ratio of the centre frequency to the first frequency sigma for kind 4.
    double ratio = 0.0;
};

/// Turns two lengths (across, along) measured at `direction` from client units into sample pels, in place.
void mapFilterLengths(qvPair<double>& lengths, const qvXform<2>& sampleFromClient, qvDegree direction);

/// The filter's centre frequency and frequency sigmas (across, along), cycles per sample pel. `imageWidth` is the side
/// of the sampled square; it has no influence. For kind 1 `centreFrequency` stays as it was.
void computeGaborSizes(const qv_gaborSpec& spec, long imageWidth, qvDegree direction,
                       const qvXform<2>& sampleFromClient, double& centreFrequency, qvPair<double>& frequencySigmas);

/// What one direction showed on the way to its lines.
struct qv_responseView {
    /// The response that was searched, 0 to 255, sample frame.
    qvPelBuffer_const<double> response;
    /// The chains of ridge points, sample frame, before the short ones fell.
    std::vector<std::vector<qvVector<2>>> chains;
};

/// Filters the spectrum once per direction of `run` and extracts the lines. A single pair of sizes serves all
/// directions.
/// @param views    one element a direction, for records; null for none
/// @param lines the lines of all directions one after the other, image frame; replaced
/// @param counts how many of them belong to each direction
/// @param scratch  working memory that a later run finds again; null for memory of this run's own
void filterAndExtract(const qvFrequencyBuffer& spectrum, const qv_lineFinderRun& run, std::vector<qv_ridgeLine>& lines,
                      std::vector<long>& counts, std::vector<qv_responseView>* views = nullptr,
                      qv_ResponseScratch* scratch = nullptr);

/// sqrt(re^2 + im^2), pel by pel.
qvPelBuffer<double> complexMagnitude(const qvPelBuffer_const<double>& real, const qvPelBuffer_const<double>& imaginary);

/// Replaces each pel of a square image by its absolute value scaled so that the strongest becomes 255. An image without
/// a value of 1e-12 or more is scaled as if its strongest were 1.
void normalizeAbsTo255(const qvPelBuffer<double>& image);

#endif
