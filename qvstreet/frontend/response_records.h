/// @file
/// What the line finder leaves in a diagnostics recorder.
#ifndef QVSTREET_FRONTEND_RESPONSE_RECORDS_H
#define QVSTREET_FRONTEND_RESPONSE_RECORDS_H

#include <vector>

#include "qvstreet/frontend/gabor_stage.h"
#include "qvstreet/frontend/line_finder.h"
#include "qvstreet/platform/diagnostics.h"

/// "Response, direction d" for each direction: the normalised response in the sample frame, the ridge chains and the
/// lines on it, the filter and the thresholds.
/// @param lines,counts    as the fit left them, image frame
/// @param firstDirection  number of the first direction
void recordResponses(const qv_spectrumState& state, const qv_ridgeFinderParams& params, const qv_lineFinderRun& run,
                     const std::vector<qv_responseView>& views, const std::vector<qv_ridgeLine>& lines,
                     const std::vector<long>& counts, long firstDirection, qvDiagObject& diagObject);

#endif
