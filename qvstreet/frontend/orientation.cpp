// Orientation search.
//
// In:  the spectrum of the sampled square (sample frame, zero frequency at (0, 0)).
// Out: candidate street angles with scores, client frame, and the two street directions, client frame.
//
// A family of parallel streets concentrates the spectrum along a line through zero frequency, at right angles to the
// streets. Summed over a ring of frequencies, the magnitude becomes a profile over the direction,
//
//     -135                 -45      0      45                135 degrees
//       |--------------------|-------+------|-------------------|      540 samples, two for each degree
//            45 deg margin   [ the half turn that counts ]  margin
//
// whose peaks, after a band-pass, are the candidates. The margins keep the filters away from the ends.
#include "qvstreet/frontend/orientation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/polar_kernels.h"
#include "qvstreet/frontend/spectrum_records.h"
#include "qvstreet/platform/stable_sort.h"

namespace {

constexpr long kProfileDegrees = 270;
constexpr long kFirstCountedDegree = 45;
constexpr long kEndCountedDegree = 225;
constexpr double kWorstDotProduct = 1e8;
constexpr long kAlignment = 32;

/// The magnitudes of the elements that a ring of outer radius `outerRadius` around the middle needs, zero frequency in
/// the middle; the other pels are any.
void magnitudesOfRing(const qvFrequencyBuffer& spectrum, long outerRadius, qvPelBuffer<double>& magnitude) {
    const long width = spectrum.width();
    const long height = spectrum.height();
    if (width == 0) throw qvPel::BadSize();
    if (magnitude.width() != width || magnitude.height() != height)
        magnitude = qvPelBuffer<double>(width, height, kAlignment);
    // The ring's centre, in both directions; samples lie within the radius and use the next pel, too.
    const long middle = width / 2;
    const long reach = std::max(outerRadius, 0L) + 1;
    const auto first = [&](long size) { return std::clamp(middle - reach, 0L, size - 1); };
    const auto end = [&](long size) { return std::clamp(middle + reach, 0L, size - 1) + 1; };
    const qv_PolarKernels& kernels = QV_CHOSEN_KERNELS(polarKernels);
    // Centred column x is element x - middle of the row, from the left of the middle on counted from the row's end.
    const long split = std::clamp(middle, first(width), end(width));
    for (long y = first(height); y < end(height); ++y) {
        const long row = (y - height / 2 + height) % height;
        const double* const real = spectrum.realRow(row);
        const double* const imaginary = spectrum.imaginaryRow(row);
        double* const out = magnitude.pointToRow(y);
        const long left = first(width);
        const long wrapped = left - middle + width;
        kernels.magnitudes(real + wrapped, imaginary + wrapped, static_cast<std::size_t>(split - left), out + left);
        kernels.magnitudes(real, imaginary, static_cast<std::size_t>(end(width) - split), out + split);
    }
}

const qvGaussST1D<double, double>& filterOf(double sigma, qv_bandPassScratch::Smoothing& smoothing) {
    if (!smoothing.filter || smoothing.sigma != sigma) {
        smoothing.filter.reset();
        smoothing.filter.emplace(sigma);
        smoothing.sigma = sigma;
    }
    return *smoothing.filter;
}

/// How many leading scores reach `ratio` of the first; the walk ends at the first that does not.
std::size_t qualifyingCount(const std::vector<double>& scores, double ratio) {
    std::size_t count = 0;
    while (count < scores.size() && scores[count] / scores.front() >= ratio) ++count;
    return count;
}

double absoluteSine(qvDegree angle) { return std::fabs(qfSin(angle)); }
double absoluteCosine(qvDegree angle) { return std::fabs(qfCos(angle)); }

void imageAxes(const qvXform<2>& clientFromImage, qvDegree& nearerHorizontal, qvDegree& nearerVertical) {
    nearerVertical = clientFromImage.mapAngle(qvDegree(90.0));
    nearerHorizontal = clientFromImage.mapAngle(qvDegree(0.0));
}

void angleAndPerpendicular(qvDegree angle, const qvXform<2>& imageFromClient, const qvXform<2>& clientFromImage,
                           qvDegree& nearerHorizontal, qvDegree& nearerVertical) {
    qvDegree vertical = imageFromClient.mapAngle(angle);
    qvDegree horizontal = vertical + qvDegree(90.0);
    if (absoluteCosine(vertical) > absoluteCosine(horizontal)) std::swap(vertical, horizontal);
    nearerVertical = clientFromImage.mapAngle(vertical);
    nearerHorizontal = clientFromImage.mapAngle(horizontal);
}

/// The pair nearest to a right angle in the image frame; of equal pairs the first.
qvPair<long> mostPerpendicularPair(const std::vector<qvDegree>& angles, std::size_t count,
                                   const qvXform<2>& imageFromClient) {
    const auto direction = [&](std::size_t i) { return qvVector<2>(1.0, imageFromClient.mapAngle(angles[i])); };
    qvPair<long> best(0, 1);
    double bestDotProduct = kWorstDotProduct;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        const qvVector<2> first = direction(i);
        for (std::size_t j = i + 1; j < count; ++j) {
            const double dotProduct = std::fabs(first * direction(j));
            if (dotProduct < bestDotProduct) {
                bestDotProduct = dotProduct;
                best = qvPair<long>(static_cast<long>(i), static_cast<long>(j));
            }
        }
    }
    return best;
}

}  // namespace

bool operator<(const qv_candAngle& a, const qv_candAngle& b) { return qf_descending(a.score, b.score); }

qvPelBuffer<double> polarSampleMagnitude(const qvPelBuffer_const<double>& magnitude, short angularSamples, long r0,
                                         long r1) {
    qv_polarSum ring;
    qvPelBuffer<double> profile;
    ring.sum(magnitude, angularSamples, r0, r1, profile);
    return profile;
}

qvPelBuffer<double> bandPassed(const qvPelBuffer_const<double>& profile, double narrowSigma, double wideSigma,
                               double& firstPosition, qv_bandPassScratch& scratch) {
    const qvGaussST1D<double, double>& narrowFilter = filterOf(narrowSigma, scratch.narrow);
    const qvPelBuffer<double>& narrow = scratch.narrow.smoothed;
    narrowFilter.applyFilter(profile, scratch.narrow.smoothed);

    if (!(wideSigma > 0.0)) {
        firstPosition = narrowFilter.filterOffset();
        return narrow;
    }

    const qvGaussST1D<double, double>& wideFilter = filterOf(wideSigma, scratch.wide);
    const qvPelBuffer<double>& difference = scratch.wide.smoothed;
    wideFilter.applyFilter(profile, scratch.wide.smoothed);
    // Both results leave out the ends that their kernel does not fit; the shift brings them to the same profile
    // position.
    const long shift = qfTruncate(wideFilter.filterOffset()) - qfTruncate(narrowFilter.filterOffset());
    for (long k = 0; k < difference.width(); ++k) difference.put(k, 0, narrow.get(k + shift, 0) - difference.get(k, 0));
    firstPosition = wideFilter.filterOffset();
    return difference;
}

qvPelBuffer<double> bandPassed(const qvPelBuffer_const<double>& profile, double narrowSigma, double wideSigma,
                               double& firstPosition) {
    qv_bandPassScratch scratch;
    return bandPassed(profile, narrowSigma, wideSigma, firstPosition, scratch);
}

long bandPassPeaks(const qvPelBuffer_const<double>& profile, double narrowSigma, double peakThreshold, double wideSigma,
                   std::vector<qvPeak1D>& peaks, qv_bandPassScratch& scratch) {
    double firstPosition = 0.0;
    const qvPelBuffer<double> filtered = bandPassed(profile, narrowSigma, wideSigma, firstPosition, scratch);
    qvPeakFinder1D finder(peakThreshold, 1.0, 1.0);
    finder.positionOffset(firstPosition);
    return finder.findPeaks(filtered, peaks);
}

long bandPassPeaks(const qvPelBuffer_const<double>& profile, double narrowSigma, double peakThreshold, double wideSigma,
                   std::vector<qvPeak1D>& peaks) {
    qv_bandPassScratch scratch;
    return bandPassPeaks(profile, narrowSigma, peakThreshold, wideSigma, peaks, scratch);
}

qvPair<long> ringRadii(long spectrumWidth, double innerRadiusFraction, double outerRadiusFraction) {
    const double highest = static_cast<double>(spectrumWidth / 2 - 1);
    // deliberate: only the inner radius has + 1.0; pinned by Orientation.OnlyTheInnerRadiusHasPlusOne
    return qvPair<long>(qfTruncate(innerRadiusFraction * highest + 1.0), qfTruncate(outerRadiusFraction * highest));
}

void findAnglePeaks(const qvFrequencyBuffer& spectrum, const qv_angleFinderParams& params,
                    qv_orientationScratch& scratch) {
    const long total = kProfileDegrees * params.samplesPerDegree;
    const double firstCounted = static_cast<double>(kFirstCountedDegree * params.samplesPerDegree);
    const double endCounted = static_cast<double>(kEndCountedDegree * params.samplesPerDegree);
    const qvPair<long> radii = ringRadii(spectrum.width(), params.innerRadiusFraction, params.outerRadiusFraction);

    magnitudesOfRing(spectrum, radii.second, scratch.magnitude);
    scratch.ring.sum(scratch.magnitude, static_cast<short>(total), radii.first, radii.second, scratch.profile);
    scratch.peaks.clear();
    bandPassPeaks(scratch.profile, params.narrowSigma, params.peakThreshold, params.wideSigma, scratch.peaks,
                  scratch.bandPass);

    scratch.candidates.clear();
    for (const qvPeak1D& peak : scratch.peaks) {
        const bool counts = peak.height > 0.0 && firstCounted <= peak.position && peak.position < endCounted;
        if (!counts) continue;
        const double samplesFromMiddle = peak.position - static_cast<double>(total / 2);
        scratch.candidates.push_back({samplesFromMiddle / static_cast<double>(params.samplesPerDegree), peak.height});
    }
    qf_stableSort(scratch.candidates.begin(), scratch.candidates.end());
}

std::vector<qv_candAngle> findAnglePeaks(const qvFrequencyBuffer& spectrum, double narrowSigma, double wideSigma,
                                         double peakThreshold, double innerRadiusFraction, double outerRadiusFraction,
                                         long samplesPerDegree) {
    qv_orientationScratch scratch;
    findAnglePeaks(spectrum,
                   {narrowSigma, wideSigma, peakThreshold, innerRadiusFraction, outerRadiusFraction, samplesPerDegree},
                   scratch);
    return std::move(scratch.candidates);
}

void findDominantAngles(const qv_spectrumState& state, const qv_angleFinderParams& params,
                        std::vector<qvDegree>& angles, std::vector<double>& scores, qvDiagObject* diagObject,
                        qv_orientationScratch* scratch) {
    qf_assert(state.prepared, L"a spectrum has been prepared");
    qv_orientationScratch ownScratch;
    qv_orientationScratch& working = scratch != nullptr ? *scratch : ownScratch;
    findAnglePeaks(state.spectrum, params, working);
    const std::vector<qv_candAngle>& candidates = working.candidates;
    angles.resize(candidates.size());
    scores.resize(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        // A peak of the spectrum lies at right angles to the lines that cause it.
        const qvRadian lineAngle = qvDegree(candidates[i].angle - 90.0);
        angles[i] = state.clientFromImage.mapAngle(state.imageFromSample.mapAngle(lineAngle));
        scores[i] = candidates[i].score;
    }
    if (diagObject != nullptr) recordAngles(state, params, candidates, angles, *diagObject);
}

bool selectStreetAngles(const std::vector<qvDegree>& angles, const std::vector<double>& scores, double ratio,
                        const qvXform<2>& imageFromClient, qvDegree& nearerHorizontal, qvDegree& nearerVertical) {
    const qvXform<2> clientFromImage = imageFromClient.inverse();
    const std::size_t count = qualifyingCount(scores, ratio);
    if (count == 0) {
        imageAxes(clientFromImage, nearerHorizontal, nearerVertical);
        return false;
    }
    if (count == 1) {
        angleAndPerpendicular(angles[0], imageFromClient, clientFromImage, nearerHorizontal, nearerVertical);
        return false;
    }
    const qvPair<long> pair = mostPerpendicularPair(angles, count, imageFromClient);
    const qvDegree first = angles[static_cast<std::size_t>(pair.first)];
    const qvDegree second = angles[static_cast<std::size_t>(pair.second)];
    // The sines are taken in the client frame although the pair was chosen in the image frame.
    const bool firstIsFlatter = absoluteSine(first) < absoluteSine(second);
    nearerHorizontal = firstIsFlatter ? first : second;
    nearerVertical = firstIsFlatter ? second : first;
    return true;
}
