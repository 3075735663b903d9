/// @file
/// The local extremes of a profile, with positions between the samples.
#ifndef QVSTREET_FRONTEND_PEAK_FINDER_1D_H
#define QVSTREET_FRONTEND_PEAK_FINDER_1D_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

/// One local extreme of a profile.
struct qvPeak1D {
    /// 1 for a peak that was found, 0 for an entry that is not in use.
    std::int32_t valid = 0;
    /// `positionStep` times the refined sample index, plus `positionOffset`.
    double position = 0.0;
    /// Value at the peak divided by `valueScale`; negative for a valley.
    double height = 0.0;
};

/// Finds the peaks and the valleys of a one-row image of doubles, in order of position.
///
/// A peak is a sample above both its neighbours, or a short plateau of equal samples above what stands on both sides; a
/// valley is the mirror of it below 0. The first and the last sample are never reported. The position is that of the
/// vertex of the parabola through the sample (of a plateau: its middle) and the values at both sides.
class qvPeakFinder1D {
 public:
    /// @param threshold     least height; a peak of exactly that height counts, and a valley of exactly minus that
    /// @param valueScale    samples are heights times this; not 0
    /// @param positionStep  distance between two samples, in the unit of the positions
    /// `positionOffset` is 0 and `maxPlateauWidth` 5.
    qvPeakFinder1D(double threshold, double valueScale, double positionStep);

    /// Searches the first row of the window.
    ///
    /// An empty `peaks` comes back with one entry for each peak. Otherwise its size is the most peaks that are wanted:
    /// the search stops at that number, and where it finds fewer it sets `valid` of the remaining entries to 0 and
    /// leaves the size.
    /// @returns the number of peaks found
    /// @throws qvPeak1dErr::ImageTooSmall for a width below 3; `peaks` is then as it was
    std::int32_t findPeaks(const qvPelBuffer_const<double>& image, std::vector<qvPeak1D>& peaks) const;

    double threshold() const { return threshold_; }
    double valueScale() const { return valueScale_; }
    /// Added to each position: the position of sample 0.
    double positionOffset() const { return positionOffset_; }
    void positionOffset(double offset) { positionOffset_ = offset; }
    double positionStep() const { return positionStep_; }
    /// Steps between equal samples in the longest plateau that counts; the plateau has one sample more.
    std::int32_t maxPlateauWidth() const { return maxPlateauWidth_; }

 private:
    double threshold_;
    double valueScale_;
    double positionOffset_ = 0.0;
    double positionStep_;
    std::int32_t maxPlateauWidth_ = 5;
};

#endif
