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

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/filter_1d.h"
#include "qvstreet/frontend/spectrum_records.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/sampling.h"

namespace {

constexpr long kProfileDegrees = 270;
constexpr long kFirstCountedDegree = 45;
constexpr long kEndCountedDegree = 225;
constexpr double kProfileStart = -2.356194490192345;  // -135 degrees in radians
constexpr double kProfileEnd = 2.356194490192345;
constexpr long kBilinear = 2;
constexpr double kWorstDotProduct = 1e8;

/// Where the ring's samples lie: a direction on the innermost circle times a radial factor.
struct PolarTable {
    std::vector<qvVector<2>> innermost;
    std::vector<double> radialFactors;
};

PolarTable polarTable(const qvEllipseAnnulusSection& section, long angularSamples, long radialSamples) {
    const double nx = static_cast<double>(angularSamples);
    const double ny = static_cast<double>(radialSamples);
    PolarTable table;
    table.innermost.reserve(static_cast<std::size_t>(angularSamples));
    for (long i = 0; i < angularSamples; ++i) {
        const qvVector<2> uv((static_cast<double>(i) + 0.5) / nx, 0.5 / ny);
        table.innermost.push_back(section.mapFromUnitSq(uv) - section.center());
    }
    const double innermostRadius = table.innermost.front().len();
    table.radialFactors.reserve(static_cast<std::size_t>(radialSamples));
    for (long j = 0; j < radialSamples; ++j) {
        const qvVector<2> uv(0.5 / nx, (static_cast<double>(j) + 0.5) / ny);
        table.radialFactors.push_back((section.mapFromUnitSq(uv) - section.center()).len() / innermostRadius);
    }
    return table;
}

/// Bilinear value at `point`, in pel index coordinates; beyond the border the nearest border pel.
double bilinearAt(const qvPelBuffer_const<double>& image, const qvVector<2>& point) {
    const long ix = qfTruncate(point.x());
    const long iy = qfTruncate(point.y());
    const double fx = point.x() - static_cast<double>(ix);
    const double fy = point.y() - static_cast<double>(iy);
    const long x0 = std::clamp(ix, 0L, image.width() - 1);
    const long x1 = std::clamp(ix + 1, 0L, image.width() - 1);
    const double* const upper = image.pointToRow(std::clamp(iy, 0L, image.height() - 1));
    const double* const lower = image.pointToRow(std::clamp(iy + 1, 0L, image.height() - 1));
    return upper[x0] * ((1.0 - fx) * (1.0 - fy)) + upper[x1] * (fx * (1.0 - fy)) + lower[x0] * ((1.0 - fx) * fy) +
           lower[x1] * (fx * fy);
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
    std::vector<qvVector<2>> directions;
    directions.reserve(count);
    for (std::size_t i = 0; i < count; ++i) directions.emplace_back(1.0, imageFromClient.mapAngle(angles[i]));

    qvPair<long> best(0, 1);
    double bestDotProduct = kWorstDotProduct;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = i + 1; j < count; ++j) {
            const double dotProduct = std::fabs(directions[i] * directions[j]);
            if (dotProduct < bestDotProduct) {
                bestDotProduct = dotProduct;
                best = qvPair<long>(static_cast<long>(i), static_cast<long>(j));
            }
        }
    return best;
}

}  // namespace

bool operator<(const qv_candAngle& a, const qv_candAngle& b) { return qf_descending(a.score, b.score); }

qvPelBuffer<double> polarSampleMagnitude(const qvPelBuffer_const<double>& magnitude, short angularSamples, long r0,
                                         long r1) {
    const double middle = static_cast<double>(magnitude.width() / 2) + 0.5;
    const qvVector<2> centre(middle, middle);
    const qvEllipseAnnulusSection section(centre, static_cast<double>(r0), static_cast<double>(r1),
                                          qvRadian(kProfileStart), qvRadian(kProfileEnd), true, true, true);
    const qvPolarSamplingParams sampling(section, angularSamples, r1 - r0, kBilinear);
    const PolarTable table = polarTable(section, sampling.xNumSamples(), sampling.yNumSamples());

    qvPelBuffer<double> profile(sampling.xNumSamples(), 1, 32);
    qfPelSet(profile, 0.0);
    double* const sums = profile.pointToRow(0);
    // The centre in pel index coordinates, in which a pel's value stands at whole numbers.
    const qvVector<2> indexCentre = centre - qvVector<2>(0.5, 0.5);
    for (const double factor : table.radialFactors)
        for (std::size_t i = 0; i < table.innermost.size(); ++i)
            sums[i] += bilinearAt(magnitude, indexCentre + table.innermost[i] * factor);
    return profile;
}

qvPelBuffer<double> bandPassed(const qvPelBuffer_const<double>& profile, double narrowSigma, double wideSigma,
                               double& firstPosition) {
    const qvGaussST1D<double, double> narrowFilter(narrowSigma);
    qvPelBuffer<double> narrow;
    narrowFilter.applyFilter(profile, narrow);

    if (!(wideSigma > 0.0)) {
        firstPosition = narrowFilter.filterOffset();
        return narrow;
    }

    const qvGaussST1D<double, double> wideFilter(wideSigma);
    qvPelBuffer<double> difference;
    wideFilter.applyFilter(profile, difference);
    // Both results leave out the ends that their kernel does not fit; the shift brings them to the same profile
    // position.
    const long shift = qfTruncate(wideFilter.filterOffset()) - qfTruncate(narrowFilter.filterOffset());
    for (long k = 0; k < difference.width(); ++k) difference.put(k, 0, narrow.get(k + shift, 0) - difference.get(k, 0));
    firstPosition = wideFilter.filterOffset();
    return difference;
}

long bandPassPeaks(const qvPelBuffer_const<double>& profile, double narrowSigma, double peakThreshold, double wideSigma,
                   std::vector<qvPeak1D>& peaks) {
    double firstPosition = 0.0;
    const qvPelBuffer<double> filtered = bandPassed(profile, narrowSigma, wideSigma, firstPosition);
    qvPeakFinder1D finder(peakThreshold, 1.0, 1.0);
    finder.positionOffset(firstPosition);
    return finder.findPeaks(filtered, peaks);
}

qvPair<long> ringRadii(long spectrumWidth, double innerRadiusFraction, double outerRadiusFraction) {
    const double highest = static_cast<double>(spectrumWidth / 2 - 1);
    // deliberate: only the inner radius has + 1.0; pinned by Orientation.OnlyTheInnerRadiusHasPlusOne
    return qvPair<long>(qfTruncate(innerRadiusFraction * highest + 1.0), qfTruncate(outerRadiusFraction * highest));
}

std::vector<qv_candAngle> findAnglePeaks(const qvFrequencyBuffer& spectrum, double narrowSigma, double wideSigma,
                                         double peakThreshold, double innerRadiusFraction, double outerRadiusFraction,
                                         long samplesPerDegree) {
    const long total = kProfileDegrees * samplesPerDegree;
    const double firstCounted = static_cast<double>(kFirstCountedDegree * samplesPerDegree);
    const double endCounted = static_cast<double>(kEndCountedDegree * samplesPerDegree);
    const qvPair<long> radii = ringRadii(spectrum.width(), innerRadiusFraction, outerRadiusFraction);

    const qvPelBuffer<double> profile =
        polarSampleMagnitude(spectrum.getMagnitudeImage(true), static_cast<short>(total), radii.first, radii.second);
    std::vector<qvPeak1D> peaks;
    bandPassPeaks(profile, narrowSigma, peakThreshold, wideSigma, peaks);

    std::vector<qv_candAngle> candidates;
    for (const qvPeak1D& peak : peaks) {
        const bool counts = peak.height > 0.0 && firstCounted <= peak.position && peak.position < endCounted;
        if (!counts) continue;
        const double samplesFromMiddle = peak.position - static_cast<double>(total / 2);
        candidates.push_back({samplesFromMiddle / static_cast<double>(samplesPerDegree), peak.height});
    }
    std::stable_sort(candidates.begin(), candidates.end());
    return candidates;
}

void findDominantAngles(const qv_spectrumState& state, const qv_angleFinderParams& params,
                        std::vector<qvDegree>& angles, std::vector<double>& scores, qvDiagObject* diagObject) {
    qf_assert(state.prepared, L"a spectrum has been prepared");
    const std::vector<qv_candAngle> candidates =
        findAnglePeaks(state.spectrum, params.narrowSigma, params.wideSigma, params.peakThreshold,
                       params.innerRadiusFraction, params.outerRadiusFraction, params.samplesPerDegree);
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
