/// @file
/// Ridge scan and line fit: from the normalised response of one direction to straight lines.
#ifndef QVSTREET_FRONTEND_RIDGE_SCAN_H
#define QVSTREET_FRONTEND_RIDGE_SCAN_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/filtered_response.h"
#include "qvstreet/frontend/line_finder_run.h"

/// What the scan of one response is told. Thresholds are on the 0 to 255 response.
struct qv_ridgeScanParams {
    /// A chain starts above this ...
    double highThreshold = 0.0;
    /// ... and goes on above this.
    double lowThreshold = 0.0;
    double thresholdRatio = 0.0;
    /// Direction of the lines, sample frame, and the direction across them.
    qvDegree lineAngle;
    qvDegree acrossAngle;
    /// Refine each point across the ridge by a parabola.
    bool subPixel = false;
    /// 1: each chain has a floor of its own, `thresholdRatio` of its strongest pel so far.
    long peakRelativeMode = 0;
};

/// Extracts the lines of direction number `direction` of `run` from its responses and appends them to `lines`, as
/// chains of points in sample coordinates: by the ridge scan, or, where `run` does not ask for it, by the seed tracer.
/// The scan gives every line of the vector, those of earlier directions included, this direction's angle.
/// @param count how many were appended
void extractFromResponse(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                         const qvPelBuffer_const<double>& magnitude, const qv_lineFinderRun& run, long direction,
                         std::vector<qv_ridgeLine>& lines, long& count);

/// Finds the pels that are maxima across the ridge and links them from row to row into chains, appended to `lines` in
/// the order in which they start. Points are in the coordinates of `image`, pel (i, j) having its centre at (i + 0.5, j
/// + 0.5).
void scanRidges(const qvPelBuffer_const<double>& image, const qv_ridgeScanParams& params,
                std::vector<qv_ridgeLine>& lines);

/// Whether lines of this direction, sample frame, are scanned in a transposed copy of the image: unless they run closer
/// to the columns, where of equally close ones the rows win.
bool scansTransposed(qvDegree lineAngle);

/// As `extractFromResponse` by the ridge scan in the magnitude, of a response of the size and with the `transposed` that
/// `scansTransposed` asks for. The lines are the same to the last bit as those of the normalised magnitude, but only
/// candidates are ever normalised.
/// @param scratch  working memory, and points of former lines for the new ones
void extractFromFiltered(const qv_FilteredResponse& response, const qv_lineFinderRun& run, long direction,
                         std::vector<qv_ridgeLine>& lines, long& count, qv_ScanScratch& scratch);

/// Makes a straight line of every chain of at least 6 points, drops the others, and moves the lines to image
/// coordinates.
/// @param counts lines per direction, rewritten
/// @param polarityImages per direction the signed imaginary response, on which the points vote
void fitRidgeLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
                   const std::vector<qvPelBuffer_const<double>>& polarityImages);

/// The same; the points vote on the responses' imaginary parts.
/// @param scratch  takes the points that the lines do not keep
void fitRidgeLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
                   const std::vector<qv_FilteredResponse>& responses, qv_ScanScratch& scratch);

/// The pels of a response that is searched in its magnitude, as 0 to 255: a new image, not transposed.
qvPelBuffer<double> normalizedMagnitude(const qv_FilteredResponse& response);

/// Bilinear value at a point in pel coordinates, in single precision; beyond the border the nearest border pel.
double bilinearDouble(const qvPelBuffer_const<double>& image, const qvVector<2>& point);

#endif
