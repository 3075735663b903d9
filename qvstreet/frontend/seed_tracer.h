/// @file
/// Seed tracer: the second way from the response of one direction to chains of ridge points. Where the ridge scan links
/// the pels of row after row, this one takes the strongest local maxima as seeds and follows the ridge from each.
#ifndef QVSTREET_FRONTEND_SEED_TRACER_H
#define QVSTREET_FRONTEND_SEED_TRACER_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/line_finder_run.h"
#include "qvstreet/frontend/local_maxima.h"

/// Extracts the lines of one direction and appends them to `lines`, as chains of points in the coordinates of the
/// images. Each runs along, and has the angle, `extraction.lineAngle`. Which images are read is up to
/// `run.searchedResponse`; those must hold no negative pel.
///
///     searchedResponse      seeds found and refined on      traced on
///     0 and any other       magnitude                       magnitude
///     1                     imaginary                       imaginary
///     2                     real                            real
///     3                     magnitude                       imaginary or real, the greater at the seed
///     4                     magnitude                       imaginary
///     5                     magnitude                       real
///
/// A seed has `extraction.highThreshold` at least; its ridge is followed down to `extraction.thresholdRatio` of the
/// response at the seed.
/// @param extraction  as in `run`, but for its `lineAngle`: the direction of these lines
/// @throws qvInvariantFailure for a seed on a negative pel or one that is no number, and for images of different size
void traceSeedLines(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                    const qvPelBuffer_const<double>& magnitude, const qv_lineFinderRun& run,
                    const qv_ridgeExtraction& extraction, std::vector<qv_ridgeLine>& lines);

/// Moves each peak across the ridge to its strongest place, and drops those that the grey gate of `extraction` refuses:
/// outside `gateImage`, or on a grey level that is not below (mode 1) or not above (mode 2) `grayGateFlag`. The client
/// frame of `image` is its pel grid here, as with all responses.
/// @returns the seeds in the order of the peaks
std::vector<qvVector<2>> refineSeeds(const qvPelBuffer_const<double>& image, const std::vector<qvPeak<double>>& peaks,
                                     const qv_ridgeExtraction& extraction);

/// Traces from each seed in turn and appends the lines. A seed on or beside a pel that an earlier trace has sampled is
/// skipped, and so is one outside the image.
/// @param ratio  of the pel at the seed: where a trace ends
void traceSeeds(const qvPelBuffer_const<double>& image, const std::vector<qvVector<2>>& seeds, qvRadian lineAngle,
                double ratio, std::vector<qv_ridgeLine>& lines);

/// The same on two images of the same size: each seed is traced on the one with the greater pel there, on `real` when
/// they are equal. Traces on either suppress the seeds of both.
void traceSeedsStronger(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                        const std::vector<qvVector<2>>& seeds, qvRadian lineAngle, double ratio,
                        std::vector<qv_ridgeLine>& lines);

#endif
