/// @file
/// Line finder: the line segments of given directions, in client coordinates.
#ifndef QVSTREET_FRONTEND_LINE_FINDER_H
#define QVSTREET_FRONTEND_LINE_FINDER_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/gabor_stage.h"
#include "qvstreet/frontend/line_finder_run.h"
#include "qvstreet/frontend/line_results.h"
#include "qvstreet/frontend/spectrum.h"

class qvDiagObject;

/// The filter, the extraction, and whether to keep the ridge points for line statistics.
struct qv_ridgeFinderParams {
    qv_gaborSpec spec;
    qv_lineGroupParams lineGroup;
    bool keepPoints = false;
};

/// Working memory of the line finder, which only grows. What it holds between two runs means nothing.
struct qv_LineFinderScratch {
    qv_lineFinderRun run;
    std::vector<qv_ridgeLine> lines;
    std::vector<long> counts;
    std::vector<std::vector<qvLineFinderResults>> found;
    qv_ResponseScratch response;
};

/// Filters the prepared spectrum along each of `directions` (client frame) and converts what is found. Meant for one
/// direction a call: of several, all lines are laid along the last one (see `extractFromResponse`).
/// @param results per direction, the lines in the order in which the scan started them; statistics only with
///                `keepPoints`, and then lines without a sample in the image are left out. Written only at the end, so
///                that an exception leaves it as it was
/// @param diagObject      gets the response of each direction with its ridges and lines; null for none
/// @param firstDirection  number of the first direction in the titles of those records
/// @param scratch         a later run of the same size that finds it again allocates nothing but results; null for memory
///                        of this run's own
/// @throws qvInvariantFailure when no spectrum has been prepared
void runLineFinder(const qv_spectrumState& state, const qv_ridgeFinderParams& params,
                   const std::vector<qvDegree>& directions, std::vector<std::vector<qvLineFinderResults>>& results,
                   qvDiagObject* diagObject = nullptr, long firstDirection = 0,
                   qv_LineFinderScratch* scratch = nullptr);

/// Moves the one outside end of a line into the image, image frame.
/// @param maxX,maxY largest coordinates that count as inside
/// @returns false, with both points (0, 0), for a line wholly beyond one border; a line with both ends outside but not
///          beyond the same border keeps them
bool clipSegmentToImage(long maxX, long maxY, const qv_ridgeLine& line, qvVector<2>& p1, qvVector<2>& p2);

/// Bilinear grey level at `point` (image frame) of the image that starts at `firstPel`, in single precision. The point
/// must lie in the image and left of and above the centres of its last column and row.
double sampleImageBilinear(const unsigned char* firstPel, long rowUpdate, const qvVector<2>& point);

#endif
