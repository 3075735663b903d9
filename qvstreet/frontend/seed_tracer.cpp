// Seed tracer.
//
// In:  the normalised responses of one direction, 0 to 255, sample frame; the direction of its lines; thresholds; a
//      grey gate.
// Out: chains of ridge points, sample frame, in the same form as those of the ridge scan.
//
// The strongest seed goes first. Its trace marks every pel that it samples, and a seed on a marked pel, or beside one,
// is left out, so that of the many local maxima along one ridge usually the strongest alone gives a line:
//
//     . . . . . . . . .
//     m m m m S m m m m      S the seed, m marked
//     m m m m m m m m m      a seed in these four rows, or in the row above, is skipped
//     . . . . . . . . .
//
// The threshold of a trace is relative to its own seed. A faint stretch of a strong ridge therefore ends the strong
// trace and may give a line of its own from a seed within it, which then runs on over the strong part as well.
#include "qvstreet/frontend/seed_tracer.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "qvstreet/frontend/ridge_trace.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

constexpr long kGateBelow = 1;

/// One pel to each side of the ridge is where its flanks are seen best: the filters are two pels wide at least.
qv_ridgeTraceParams seedTraceParams(qvRadian lineAngle) {
    qv_ridgeTraceParams params;
    params.traceFlags = eStopAtLowPeak;
    params.searchHalfSteps = 1;
    params.traceAngle = lineAngle;
    params.searchVector = qvVector<2>(1.0, lineAngle + qvRadian(qvDegree(90.0)));
    return params;
}

bool passesGreyGate(const qv_ridgeExtraction& extraction, const qvVector<2>& seed) {
    if (extraction.grayGateMode == 0) return true;
    const qvPelBuffer_const<unsigned char>& image = extraction.gateImage;
    const qvVector<2> at = extraction.gateFromSample * seed;
    const bool inImage = at.x() >= 0.0 && at.x() < static_cast<double>(image.width()) && at.y() >= 0.0 &&
                         at.y() < static_cast<double>(image.height());
    if (!inImage) return false;
    const unsigned char grey = *image.pointToPel(qfTruncate(at.x()), qfTruncate(at.y()));
    return extraction.grayGateMode == kGateBelow ? grey < extraction.grayGateFlag : grey > extraction.grayGateFlag;
}

bool isMarkedNear(const qv_traceMask& mask, long x, long y) {
    for (long row = std::max(y - 1, 0L); row <= std::min(y + 1, mask.height() - 1); ++row)
        for (long column = std::max(x - 1, 0L); column <= std::min(x + 1, mask.width() - 1); ++column)
            if (*mask.pointToPel(column, row) != 0) return true;
    return false;
}

/// @param imageAt  the image to trace on, by column and row of the seed's pel
template <typename ImageAt>
void traceEachSeed(const qvPelBuffer_const<double>& grid, const std::vector<qvVector<2>>& seeds, qvRadian lineAngle,
                   double ratio, std::vector<qv_ridgeLine>& lines, ImageAt imageAt) {
    if (seeds.empty()) return;
    const qv_traceMask mask = qf_newPels<std::uint16_t>(grid.width(), grid.height());
    qfPelSet(mask, std::uint16_t{0});
    const qvVector<2> upperLeft(static_cast<double>(grid.offset().first), static_cast<double>(grid.offset().second));
    qv_ridgeTraceParams params = seedTraceParams(lineAngle);
    std::uint16_t id = 1;
    for (const qvVector<2>& seed : seeds) {
        const qvVector<2> pel = seed - upperLeft;
        const long x = qfTruncate(pel.x());
        const long y = qfTruncate(pel.y());
        const bool inImage = x >= 0 && y >= 0 && x < grid.width() && y < grid.height();
        if (!inImage || isMarkedNear(mask, x, y)) continue;
        // Traces that were refused at their start use up numbers, too; the last number serves all that come behind it.
        if (id < std::numeric_limits<std::uint16_t>::max()) ++id;
        const qvPelBuffer_const<double>& image = imageAt(x, y);
        params.startPoint = seed;
        params.traceThreshold = *image.pointToPel(x, y) * ratio;
        traceBothWays(image, params, mask, id, lines);
    }
}

}  // namespace

std::vector<qvVector<2>> refineSeeds(const qvPelBuffer_const<double>& image, const std::vector<qvPeak<double>>& peaks,
                                     const qv_ridgeExtraction& extraction) {
    const qv_ridgeTraceParams params = seedTraceParams(extraction.lineAngle);
    std::vector<qvVector<2>> seeds;
    seeds.reserve(peaks.size());
    for (const qvPeak<double>& peak : peaks) {
        // deliberate: the pel's corner, not its centre; pinned by SeedRefinement.StartsAtThePelsCorner
        const qvVector<2> corner(static_cast<double>(peak.position.first), static_cast<double>(peak.position.second));
        const qvVector<2> seed = refineSeedPoint(image, params, corner);
        if (passesGreyGate(extraction, seed)) seeds.push_back(seed);
    }
    return seeds;
}

void traceSeeds(const qvPelBuffer_const<double>& image, const std::vector<qvVector<2>>& seeds, qvRadian lineAngle,
                double ratio, std::vector<qv_ridgeLine>& lines) {
    traceEachSeed(image, seeds, lineAngle, ratio, lines,
                  [&](long, long) -> const qvPelBuffer_const<double>& { return image; });
}

void traceSeedsStronger(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                        const std::vector<qvVector<2>>& seeds, qvRadian lineAngle, double ratio,
                        std::vector<qv_ridgeLine>& lines) {
    qf_assert(imaginary.width() == real.width() && imaginary.height() == real.height(),
              L"the two responses have the same size");
    traceEachSeed(imaginary, seeds, lineAngle, ratio, lines, [&](long x, long y) -> const qvPelBuffer_const<double>& {
        return *imaginary.pointToPel(x, y) > *real.pointToPel(x, y) ? imaginary : real;
    });
}

void traceSeedLines(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                    const qvPelBuffer_const<double>& magnitude, const qv_lineFinderRun& run,
                    const qv_ridgeExtraction& extraction, std::vector<qv_ridgeLine>& lines) {
    const qvPelBuffer_const<double>& searched = run.searchedResponse == eSearchImaginary ? imaginary
                                                : run.searchedResponse == eSearchReal    ? real
                                                                                         : magnitude;
    const std::vector<qvPeak<double>> peaks = findLocalMaxima(searched, extraction.highThreshold);
    const std::vector<qvVector<2>> seeds = refineSeeds(searched, peaks, extraction);

    if (run.searchedResponse == eSearchMagnitudeFollowStronger) {
        traceSeedsStronger(imaginary, real, seeds, extraction.lineAngle, extraction.thresholdRatio, lines);
        return;
    }
    const qvPelBuffer_const<double>& traced = run.searchedResponse == eSearchMagnitudeFollowImaginary ? imaginary
                                              : run.searchedResponse == eSearchMagnitudeFollowReal    ? real
                                                                                                      : searched;
    traceSeeds(traced, seeds, extraction.lineAngle, extraction.thresholdRatio, lines);
}
