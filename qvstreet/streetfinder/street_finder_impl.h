/// @file
/// The private record of one finder: everything that `setImage` works out of an image and the searches read.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_IMPL_H
#define QVSTREET_STREETFINDER_STREET_FINDER_IMPL_H

#include <cstdint>
#include <memory>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/line_finder.h"
#include "qvstreet/frontend/line_results.h"
#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/projection/tiled_projection.h"
#include "qvstreet/streetfinder/finder_scratch.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Bit of `qv_streetFinderImpl::flags`: filter lengths and tolerances follow from the run parameters. Set in every
/// finder that a host can hold.
constexpr std::uint32_t qvSizesFromParams = 2;

/// Filled by the constructor, by the mode constants and by `setImage`; `find` and `findSingleStreet` only read it.
/// Two-element lists are indexed by direction: 0 nearer the horizontal, 1 nearer the vertical.
struct qv_streetFinderImpl {
    /// Whether an image has passed the checks of `setImage`; stays true from then on.
    bool imageBound = false;
    qv_angleFinderParams angleParams;
    qv_ridgeFinderParams ridgeParams;
    qv_spectrumParams spectrumParams;
    qv_spectrumState spectrum;
    /// Fraction of the best angle's score that an angle must reach to count as a street direction.
    double angleScoreRatio = 0.0;
    /// The lines of each direction that are long enough, client frame.
    std::vector<std::vector<qvLineFinderResults>> lines;
    qv_candidateTolerances tolerances;
    std::vector<double> scoreWeights;
    /// Candidate street angles, client frame, best first, and their scores.
    std::vector<qvDegree> angles;
    std::vector<double> angleScores;
    /// The two street directions, client frame.
    std::vector<qvDegree> streetAngles;
    /// The bound image; shares the caller's pels.
    qvPelBuffer_const<unsigned char> image;
    /// The image collapsed along direction 1 and along direction 0.
    qvTiledProjectionResult projectionAlong1;
    qvTiledProjectionResult projectionAlong0;
    /// Standard deviation of the grey level, from the first profile of `projectionAlong0`.
    double imageDeviation = 0.0;
    /// Scales the line filter's length along the street.
    double filterScale = 0.0;
    /// Width and height of the bound image in pels.
    qvPair<long> imageSize;
    /// Added to every result's points; nothing ever sets it.
    qvPair<long> imageOffset;
    qvXform<2> clientFromImage;
    /// Present while tracing is on.
    std::unique_ptr<qv_streetTrace> trace;
    std::uint32_t flags = 0;
    /// Written by every call, also by those that only read the rest: a finder serves one call at a time.
    mutable qv_finderScratch scratch;

    qv_streetFinderImpl() = default;
    /// Memberwise; the trace, if any, as a new record with the same names and a closed stream; the scratch empty.
    qv_streetFinderImpl(const qv_streetFinderImpl& other);
    qv_streetFinderImpl& operator=(const qv_streetFinderImpl&) = delete;
};

#endif
