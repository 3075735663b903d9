/// @file
/// The Gabor filter in the frequency domain: an oriented band-pass with one Gaussian lobe.
#ifndef QVSTREET_PLATFORM_GABOR_H
#define QVSTREET_PLATFORM_GABOR_H

#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/fourier.h"
#include "qvstreet/platform/gabor_kernels.h"

/// Elements of one axis of a spectrum by their signed frequencies: from `first` up to below `end`. Negative ones stand
/// behind the others, at size + element.
struct qv_ElementRange {
    long first = 0;
    long end = 0;
};

/// Gain at frequency (u, v), in cycles per pel, each in [-0.5, 0.5):
///
///     u' =  u cos(angle) + v sin(angle)
///     v' = -u sin(angle) + v cos(angle)
///     gain = exp(-((u' - centre)^2 / (2 sigmaU^2) + v'^2 / (2 sigmaV^2))),   and 0 at zero frequency
///
/// A gain below 1e-9 counts as 0: what is left of such elements is less than the rounding to whole grey levels made of
/// them, and the transforms need not look at them.
///
/// The angle is that of the wave the filter answers to; streets run at right angles to it. The lobe stands at +centre
/// only, so the filtered image is complex: its real part answers to ridges across the angle, its imaginary part to
/// edges with their sign, its magnitude to both. Zero frequency is cut because the image's mean is so much larger than
/// anything else that it would leak through the skirt of the lobe and drown the streets.
class qvFrequencyFilterGabor {
 public:
    /// Before `set` the filter fits no spectrum.
    qvFrequencyFilterGabor() = default;

    /// @param frequencySigmas  sigmaU and sigmaV of the lobe, along and across the filter's angle, in cycles per pel
    /// @param spreads          (0, 0)
    /// @param filterAngle      the filter's angle, as `angle` sets it
    /// @param centreFrequency  distance of the lobe from zero frequency, in cycles per pel
    /// @param size             width and height of the spectra
    /// @param count            filters in the bank; 1
    /// @throws qvInvariantFailure for other spreads or counts
    void set(const qvPair<double>& frequencySigmas, const qvPair<double>& spreads, qvRadian filterAngle,
             double centreFrequency, const qvPair<long>& size, long count);

    /// Turns the filter to an angle, counted from +x towards +y; replaces the one before.
    void angle(qvRadian filterAngle);
    qvRadian angle() const { return angle_; }

    /// Multiplies each element by the gain. `destination` gets the size of `source`, keeps its memory where that is
    /// enough, and may be `source` itself.
    /// @throws qvPel::SizeMismatch if `source` has not the size that was set
    void apply(const qvFrequencyBuffer& source, qvFrequencyBuffer& destination) const;

    /// The columns and the rows outside of which all gains are 0; never empty.
    qv_ElementRange liveColumns() const;
    qv_ElementRange liveRows() const;

    /// As `apply`, of the rectangle of elements at (column, row), which lies within the spectrum; element (i, j) of it
    /// goes to `real[j * rowUpdate + i]` and to the same place in `imaginary`.
    void applyTo(const qvFrequencyBuffer& source, long column, long row, long columns, long rows, double* real,
                 double* imaginary, long rowUpdate) const;

 private:
    /// What follows from sigmas, angle, centre and size.
    void update();
    qvPair<double> sigmas_;
    qvRadian angle_;
    double centreFrequency_ = 0.0;
    qvPair<long> size_;
    /// Of the elements along each axis, cycles per pel.
    std::vector<double> frequenciesU_;
    std::vector<double> frequenciesV_;
    qv_GaborLobe lobe_{};
    /// Whether the gains are made in blocks of rows, and what of (see qv_GaborSteps).
    bool stepped_ = false;
    bool twisted_ = false;
    std::vector<double> columnSteps_;
    std::vector<double> rowSteps_;
    qv_GaborSteps steps_{};
};

#endif
