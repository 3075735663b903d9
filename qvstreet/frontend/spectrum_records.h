/// @file
/// What the spectrum and the search for street directions leave in a diagnostics recorder.
#ifndef QVSTREET_FRONTEND_SPECTRUM_RECORDS_H
#define QVSTREET_FRONTEND_SPECTRUM_RECORDS_H

#include <vector>

#include "qvstreet/frontend/orientation.h"
#include "qvstreet/frontend/spectrum.h"
#include "qvstreet/platform/diagnostics.h"

/// "Sampled Square" and "Spectrum": the magnitude on a logarithmic scale from 0 to 255, zero frequency in the middle.
void recordSpectrum(const qv_spectrumState& state, qvDiagObject& diagObject);

/// The sketches "Ring" and "Peaks" on the "Spectrum" of the same run, and "Angle Profile".
/// @param candidates  the peaks, degrees in the sample frame
/// @param angles      the same as line directions, client frame
void recordAngles(const qv_spectrumState& state, const qv_angleFinderParams& params,
                  const std::vector<qv_candAngle>& candidates, const std::vector<qvDegree>& angles,
                  qvDiagObject& diagObject);

/// "Street Directions": the two directions drawn through the middle of `image`, and what became of each angle. They are
/// marked in the "Angle Profile" of the same run, too.
/// @param scores  of `angles`, best first; `ratio` is the fraction of the first one's that counts
void recordStreetDirections(const qv_spectrumState& state, const qvPelBuffer_const<unsigned char>& image,
                            const std::vector<qvDegree>& angles, const std::vector<double>& scores, double ratio,
                            qvDegree nearerHorizontal, qvDegree nearerVertical, qvDiagObject& diagObject);

#endif
