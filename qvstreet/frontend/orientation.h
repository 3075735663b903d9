/// @file
/// Orientation search: from the spectrum to scored street angles, and from those to the two street directions.
#ifndef QVSTREET_FRONTEND_ORIENTATION_H
#define QVSTREET_FRONTEND_ORIENTATION_H

#include <optional>
#include <vector>

#include "qvstreet/frontend/filter_1d.h"
#include "qvstreet/frontend/peak_finder_1d.h"
#include "qvstreet/frontend/polar_sum.h"
#include "qvstreet/frontend/spectrum.h"

/// How the angular profile of the spectrum is taken and searched.
struct qv_angleFinderParams {
    /// Sigma, in profile samples, of the narrow Gaussian.
    double narrowSigma = 3.0;
    /// Sigma of the wide Gaussian that is subtracted; 0 or less for none.
    double wideSigma = 10.0;
    /// Height that a peak of the filtered profile must reach.
    double peakThreshold = 1000.0;
    /// Inner and outer radius of the ring of frequencies, as fractions of the highest frequency.
    double innerRadiusFraction = 0.5;
    double outerRadiusFraction = 1.0;
    /// Angular samples per degree.
    long samplesPerDegree = 2;
};

/// A direction in the spectrum and the height of its peak.
struct qv_candAngle {
    /// Degrees in [-90, 90), sample frame.
    double angle = 0.0;
    double score = 0.0;
};

/// The higher score first; NaN last.
bool operator<(const qv_candAngle& a, const qv_candAngle& b);

/// The filters of one profile and what they give, kept from one profile to the next.
struct qv_bandPassScratch {
    struct Smoothing {
        double sigma = 0.0;
        std::optional<qvGaussST1D<double, double>> filter;
        qvPelBuffer<double> smoothed;
    };
    Smoothing narrow;
    Smoothing wide;
};

/// Tables and working lists of the search, kept from one spectrum to the next.
struct qv_orientationScratch {
    qvPelBuffer<double> magnitude;
    qv_polarSum ring;
    qvPelBuffer<double> profile;
    qv_bandPassScratch bandPass;
    std::vector<qvPeak1D> peaks;
    std::vector<qv_candAngle> candidates;
};

/// Finds the candidate street angles of a prepared state, best first.
/// @param angles client frame, degrees, not folded: a nearly horizontal street may come out near -180
/// @param scores heights of the peaks of the angular profile, one for each angle
/// @param diagObject  gets the ring, the angular profile and its peaks; null for none
/// @param scratch     of former calls; null for a new one
/// @throws qvInvariantFailure when no spectrum has been prepared
void findDominantAngles(const qv_spectrumState& state, const qv_angleFinderParams& params,
                        std::vector<qvDegree>& angles, std::vector<double>& scores, qvDiagObject* diagObject = nullptr,
                        qv_orientationScratch* scratch = nullptr);

/// Sets `scratch.candidates` to the peaks of the spectrum's angular profile, best first.
void findAnglePeaks(const qvFrequencyBuffer& spectrum, const qv_angleFinderParams& params,
                    qv_orientationScratch& scratch);

/// The same, as a list of its own.
std::vector<qv_candAngle> findAnglePeaks(const qvFrequencyBuffer& spectrum, double narrowSigma, double wideSigma,
                                         double peakThreshold, double innerRadiusFraction, double outerRadiusFraction,
                                         long samplesPerDegree);

/// Inner and outer radius, frequency bins, of the ring in a spectrum of that width.
qvPair<long> ringRadii(long spectrumWidth, double innerRadiusFraction, double outerRadiusFraction);

/// Sums the magnitude over the ring from radius `r0` to `r1` (frequency bins) around the centre of the image, for
/// `angularSamples` directions from -135 to +135 degrees. @returns one row, one element a direction
/// @throws qvPel::BadSize when the ring holds no sample
qvPelBuffer<double> polarSampleMagnitude(const qvPelBuffer_const<double>& magnitude, short angularSamples, long r0,
                                         long r1);

/// Filters the profile with one Gaussian, or with the difference of two where `wideSigma` is above 0.
/// @param firstPosition  the profile position that the first element of the result stands for
/// @returns an image of `scratch`, which the next call fills again
qvPelBuffer<double> bandPassed(const qvPelBuffer_const<double>& profile, double narrowSigma, double wideSigma,
                               double& firstPosition, qv_bandPassScratch& scratch);
/// The same, as an image of its own.
qvPelBuffer<double> bandPassed(const qvPelBuffer_const<double>& profile, double narrowSigma, double wideSigma,
                               double& firstPosition);

/// Finds the extremes of the profile so filtered. Positions count
/// profile samples; sample i stands at i + 0.5. @returns the number of peaks
long bandPassPeaks(const qvPelBuffer_const<double>& profile, double narrowSigma, double peakThreshold, double wideSigma,
                   std::vector<qvPeak1D>& peaks, qv_bandPassScratch& scratch);
long bandPassPeaks(const qvPelBuffer_const<double>& profile, double narrowSigma, double peakThreshold, double wideSigma,
                   std::vector<qvPeak1D>& peaks);

/// Chooses the two street directions, client frame, from the angles whose score is at least `ratio` of the first one's:
/// of two or more the pair nearest to a right angle in the image frame, of one the angle and its perpendicular in the
/// image frame, of none the image axes. @returns whether a pair was found
bool selectStreetAngles(const std::vector<qvDegree>& angles, const std::vector<double>& scores, double ratio,
                        const qvXform<2>& imageFromClient, qvDegree& nearerHorizontal, qvDegree& nearerVertical);

#endif
