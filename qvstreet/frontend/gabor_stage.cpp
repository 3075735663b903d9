// Gabor filter stage.
//
// In:  the spectrum of the sampled square, and per direction a filter orientation, two frequency sigmas and a centre
//      frequency (sample frame, cycles per pel).
// Out: the lines of all directions (image frame) and their number per direction.
//
// The filter is an oriented band-pass whose long axis lies along the street. Its inverse transform is complex; the
// magnitude answers to edges and ridges alike, the sign of the imaginary part tells on which side an edge is bright.
// Each direction's response is scaled so that its strongest pel is 255, which makes the thresholds of the extraction
// relative.
//
// The search that every mode asks for, the ridge scan in the magnitude, needs no images of the real part and of the
// normalised magnitude: there filter, inverse transform and magnitude run as one (see filtered_response.h).
#include "qvstreet/frontend/gabor_stage.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/frontend/ridge_scan.h"
#include "qvstreet/platform/gabor.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

// Ratios of the centre frequency to the frequency sigma across: kind 2 makes the odd part of the filter free of a mean,
// kind 3 gives the even part about one and a half periods.
constexpr double kRatioKind2 = 1.632;
constexpr double kRatioKind3 = 2.925714285714286;
// Below this the whole response is rounding noise and must not be blown up to 255.
constexpr double kNoResponse = 1e-12;

/// Sets the filter of a direction; a single pair of sizes serves all directions.
void setFilter(qvFrequencyFilterGabor& filter, const qv_lineFinderRun& run, std::size_t direction,
               const qvPair<long>& size) {
    const std::size_t sizes = direction < run.filterSizes.size() ? direction : run.filterSizes.size() - 1;
    filter.set(run.filterSizes[sizes], qvPair<double>(0.0, 0.0), qvRadian(0.0), run.filterFrequencies[sizes], size, 1);
    filter.angle(run.filterAngles[direction]);
}

/// Whether lines are found by the ridge scan in the magnitude, which then is all that has to be made of a response.
bool scansMagnitude(const qv_lineFinderRun& run) {
    return (run.runFlags & eRunRidgeScan) != 0 && run.searchedResponse != eSearchImaginary &&
           run.searchedResponse != eSearchReal;
}

/// Scales, in place, every response in which lines are found or followed.
void normalizeSearched(long searchedResponse, const qvPelBuffer<double>& magnitude,
                       const qvPelBuffer<double>& imaginary, const qvPelBuffer<double>& real) {
    const bool followsStronger = searchedResponse == eSearchMagnitudeFollowStronger;
    const bool needsImaginary =
        searchedResponse == eSearchImaginary || followsStronger || searchedResponse == eSearchMagnitudeFollowImaginary;
    const bool needsReal =
        searchedResponse == eSearchReal || followsStronger || searchedResponse == eSearchMagnitudeFollowReal;
    const bool needsMagnitude = searchedResponse != eSearchImaginary && searchedResponse != eSearchReal;
    if (needsMagnitude) normalizeAbsTo255(magnitude);
    if (needsImaginary) normalizeAbsTo255(imaginary);
    if (needsReal) normalizeAbsTo255(real);
}

/// The points of the last `count` lines.
std::vector<std::vector<qvVector<2>>> lastChains(const std::vector<qv_ridgeLine>& lines, long count) {
    std::vector<std::vector<qvVector<2>>> chains;
    for (std::size_t i = lines.size() - static_cast<std::size_t>(count); i < lines.size(); ++i)
        chains.push_back(lines[i].points);
    return chains;
}

void extractFromMagnitude(const qvFrequencyBuffer& spectrum, const qv_lineFinderRun& run,
                          std::vector<qv_ridgeLine>& lines, std::vector<long>& counts,
                          std::vector<qv_responseView>* views, qv_ResponseScratch& scratch) {
    const std::size_t directions = run.filterAngles.size();
    const qvPair<long> size(spectrum.width(), spectrum.height());
    if (scratch.responses.size() < directions) scratch.responses.resize(directions);
    for (std::size_t i = 0; i < directions; ++i) {
        setFilter(scratch.filter, run, i, size);
        qv_FilteredResponse& response = scratch.responses[i];
        response.transposed = scansTransposed(run.filterAngles[i] - qvDegree(90.0));
        respondFiltered(spectrum, scratch, response);
        extractFromFiltered(response, run, static_cast<long>(i), lines, counts[i], scratch.scan);
        if (views != nullptr) views->push_back({normalizedMagnitude(response), lastChains(lines, counts[i])});
    }
    fitRidgeLines(lines, counts, run, scratch.responses, scratch.scan);
}

void extractFromImages(const qvFrequencyBuffer& spectrum, const qv_lineFinderRun& run, std::vector<qv_ridgeLine>& lines,
                       std::vector<long>& counts, std::vector<qv_responseView>* views, qvFrequencyFilterGabor& filter) {
    const std::size_t directions = run.filterAngles.size();
    const qvPair<long> size(spectrum.width(), spectrum.height());
    std::vector<qvPelBuffer_const<double>> polarityImages(directions);
    qvFrequencyBuffer filtered(size.first, size.second);
    for (std::size_t i = 0; i < directions; ++i) {
        setFilter(filter, run, i, size);
        filter.apply(spectrum, filtered);

        qvPelBuffer<double> real;
        qvPelBuffer<double> imaginary;
        qfInverseFFT(filtered, real, imaginary);
        const qvPelBuffer<double> magnitude = complexMagnitude(real, imaginary);
        // The votes need the signed values, which the scaling would take away.
        polarityImages[i] = qfPelCopy<double>(imaginary);
        normalizeSearched(run.searchedResponse, magnitude, imaginary, real);
        extractFromResponse(imaginary, real, magnitude, run, static_cast<long>(i), lines, counts[i]);
        if (views != nullptr)
            views->push_back({run.searchedResponse == eSearchImaginary ? imaginary
                              : run.searchedResponse == eSearchReal    ? real
                                                                       : magnitude,
                              lastChains(lines, counts[i])});
    }
    fitRidgeLines(lines, counts, run, polarityImages);
}

}  // namespace

void mapFilterLengths(qvPair<double>& lengths, const qvXform<2>& sampleFromClient, qvDegree direction) {
    const qvVector<2> across(lengths.first, qvRadian(direction + qvDegree(90.0)));
    const qvVector<2> along(lengths.second, qvRadian(direction));
    lengths.first = sampleFromClient.mapVector(across).len();
    lengths.second = sampleFromClient.mapVector(along).len();
}

void computeGaborSizes(const qv_gaborSpec& spec, long /*imageWidth*/, qvDegree direction,
                       const qvXform<2>& sampleFromClient, double& centreFrequency, qvPair<double>& frequencySigmas) {
    if (spec.kind < 1 || spec.kind > 4) {
        frequencySigmas = spec.band;
        centreFrequency = spec.spread;
        return;
    }
    qvPair<double> lengths = spec.band;
    mapFilterLengths(lengths, sampleFromClient, direction);
    // The frequency sigma that belongs to a spatial sigma.
    const double across = 1.0 / (qvTwoPi * lengths.first);
    const double along = 1.0 / (qvTwoPi * lengths.second);
    frequencySigmas = qvPair<double>(across, along);
    if (spec.kind == 2) centreFrequency = kRatioKind2 * across;
    if (spec.kind == 3) centreFrequency = kRatioKind3 * across;
    if (spec.kind == 4) centreFrequency = spec.ratio * across;
}

qvPelBuffer<double> complexMagnitude(const qvPelBuffer_const<double>& real,
                                     const qvPelBuffer_const<double>& imaginary) {
    qvPelBuffer<double> magnitude(real.width(), real.height(), 32);
    for (long y = 0; y < real.height(); ++y) {
        const double* const re = real.pointToRow(y);
        const double* const im = imaginary.pointToRow(y);
        double* const out = magnitude.pointToRow(y);
        for (long x = 0; x < real.width(); ++x) out[x] = std::sqrt(re[x] * re[x] + im[x] * im[x]);
    }
    return magnitude;
}

void normalizeAbsTo255(const qvPelBuffer<double>& image) {
    double strongest = 0.0;
    for (long y = 0; y < image.height(); ++y) {
        const double* const row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) strongest = std::max(strongest, std::fabs(row[x]));
    }
    if (std::fabs(strongest) < kNoResponse) strongest = 1.0;
    for (long y = 0; y < image.height(); ++y) {
        double* const row = image.pointToRow(y);
        // Multiplied before divided, so that the strongest pel becomes 255 exactly.
        for (long x = 0; x < image.width(); ++x) row[x] = std::fabs(row[x]) * 255.0 / strongest;
    }
}

void filterAndExtract(const qvFrequencyBuffer& spectrum, const qv_lineFinderRun& run, std::vector<qv_ridgeLine>& lines,
                      std::vector<long>& counts, std::vector<qv_responseView>* views, qv_ResponseScratch* scratch) {
    qv_ResponseScratch own;
    qv_ResponseScratch& work = scratch != nullptr ? *scratch : own;
    const std::size_t directions = run.filterAngles.size();
    if (views != nullptr) views->clear();
    for (qv_ridgeLine& line : lines) work.scan.recycle(line.points);
    lines.clear();
    counts.assign(directions, 0);
    if (directions == 0) return;
    if (scansMagnitude(run) && canRespondFiltered(spectrum.width(), spectrum.height()))
        extractFromMagnitude(spectrum, run, lines, counts, views, work);
    else
        extractFromImages(spectrum, run, lines, counts, views, work.filter);
    // Room for what the next run gets back.
    work.scan.spentPoints.reserve(work.scan.spentPoints.size() + lines.size());
}
