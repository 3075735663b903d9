/// @file
/// Walks along one ridge of a response, re-centred on it at each step.
///
/// Points are in the client frame of the image. Sampling, marking and the limits are in its pels: pel (i, j), counted
/// from the window's upper left one, has its centre at (i + 0.5, j + 0.5).
#ifndef QVSTREET_FRONTEND_RIDGE_TRACE_H
#define QVSTREET_FRONTEND_RIDGE_TRACE_H

#include <cstdint>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_buffer.h"

/// Bits of `qv_ridgeTraceParams::traceFlags`. At a low or an edge peak without its bits the trace goes on from there.
enum qe_ridgeTraceFlags : std::int32_t {
    eStopAtLowPeak = 2,
    /// Go straight on instead of moving to it.
    eKeepCentreAtLowPeak = 4,
    /// An edge peak is the first or last sample of the cross-section: the ridge itself lies further out.
    eStopAtEdgePeak = 8,
    eKeepCentreAtEdgePeak = 16
};

/// Bits of `qv_ridgeTraceResult::status`.
enum qe_ridgeTraceStatus : std::int32_t {
    eTraceStarted = 1,
    eTraceLeftImage = 8,
    eTraceLowPeak = 16,
    eTraceEdgePeak = 32
};

/// What a trace is told. Lengths and points are in client units.
struct qv_ridgeTraceParams {
    /// 1: ridges are maxima. Read by no stage.
    long peakSense = 1;
    /// A cross-section whose strongest sample is below this has a low peak; 0 or more.
    double traceThreshold = 1.0;
    /// Bits of `qe_ridgeTraceFlags`.
    long traceFlags = eStopAtLowPeak | eStopAtEdgePeak;
    /// Direction of the walk.
    qvRadian traceAngle;
    /// From the centre of the cross-section to its end.
    qvVector<2> searchVector{0.0, 1.0};
    /// Samples on each side of the centre; 1 or more.
    long searchHalfSteps = 10;
    /// 0 forbids both the trace and the re-centring; any other value, 1 or more, means nothing.
    long maxSteps = 2147483647;
    /// A point less than 0.001 pels from this line is not moved, and no trace starts there.
    qvLine guideLine{qvRadian(qvDegree(90.0)), qvVector<2>()};
    /// Greater than 0. A step that does not take the walk at least 0.001 pels ahead, measured at right angles to the
    /// cross-section, starts no trace.
    double stepLength = 1.0;
    qvVector<2> startPoint;
};

/// What a trace found.
struct qv_ridgeTraceResult {
    /// Bits of `qe_ridgeTraceStatus`; 0 when the start was refused.
    long status = 0;
    /// The start point, as it was given, and behind it one point per step.
    std::vector<qvVector<2>> points;
};

/// Per pel, 0 or the number of the trace that sampled there.
using qv_traceMask = qvPelBuffer<std::uint16_t>;

/// Moves a point to the strongest place of the cross-section through it. A point whose cross-section does not lie well
/// within the image stays as it is.
/// @throws qvInvariantFailure for params out of range, as all operations here do; qvMatrixErr::Singular
qvVector<2> refineCrossSection(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params,
                               const qvVector<2>& point);

/// Repeats that until the point has come to rest (moves by less than 1e-5), 10 times at most.
qvVector<2> refineSeedPoint(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params,
                            const qvVector<2>& point);

/// Walks from `params.startPoint` along `params.traceAngle` until the cross-section leaves the image or a peak stops
/// the walk.
/// @param mask  as large as the image; the pels that the walk samples get the value `id`. The start itself takes no
///              samples
void traceRidge(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params, const qv_traceMask& mask,
                std::uint16_t id, qv_ridgeTraceResult& result);

/// Walks from the start both ways and appends one line of all points, running along `params.traceAngle`, which is its
/// angle. The walk back looks one client unit to each side, at right angles, whatever `params.searchVector` is. Appends nothing when the two walks have fewer than 6 points together, the start counting twice.
void traceBothWays(const qvPelBuffer_const<double>& image, const qv_ridgeTraceParams& params, const qv_traceMask& mask,
                   std::uint16_t id, std::vector<qv_ridgeLine>& lines);

#endif
