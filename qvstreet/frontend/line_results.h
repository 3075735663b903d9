/// @file
/// One detected line as the front end hands it on.
#ifndef QVSTREET_FRONTEND_LINE_RESULTS_H
#define QVSTREET_FRONTEND_LINE_RESULTS_H

#include <cstdint>

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/line.h"

/// A line segment in client coordinates and, where they were taken, the grey-level statistics along it.
class qvLineFinderResults {
 public:
    /// Bits of `statsMask`: which of the guarded values hold.
    enum : std::int32_t {
        eMeanGrey = 1,
        eGreyRange = 2,
        eGreyDeviation = 4,
        ePolarity = 8,
        eSampleCount = 16,
        eAllStats = 31
    };

    /// No segment, no statistics.
    qvLineFinderResults() = default;
    /// A line without statistics: `statsMask` is 0.
    qvLineFinderResults(const qvLineSeg& segment, double lineQuality, bool polarity)
        : segment_(segment), polarity_(polarity), lineQuality_(lineQuality) {}

    /// The ends of the line, client frame.
    const qvLineSeg& segment() const { return segment_; }
    /// Cost of the line, smaller is better; 0 after the extraction.
    double lineQuality() const { return lineQuality_; }
    /// 31 when statistics were taken, 0 otherwise.
    long statsMask() const { return statsMask_; }

    /// Mean grey level of the samples. @throws qvInvariantFailure without statistics
    double meanGrey() const { return guarded(eMeanGrey, meanGrey_); }
    /// Highest less lowest sample. @throws qvInvariantFailure without statistics
    double greyRange() const { return guarded(eGreyRange, greyRange_); }
    /// Standard deviation of the samples. @throws qvInvariantFailure without statistics
    double greyDeviation() const { return guarded(eGreyDeviation, greyDeviation_); }
    /// The vote on the sign of the filter's imaginary part. @throws qvInvariantFailure without statistics
    bool polarity() const { return guarded(ePolarity, polarity_); }
    /// Number of samples. @throws qvInvariantFailure without statistics
    long sampleCount() const { return guarded(eSampleCount, sampleCount_); }

    /// Adds the statistics and opens all guarded values.
    void statistics(double meanGrey, double greyRange, double greyDeviation, long sampleCount) {
        statsMask_ = eAllStats;
        meanGrey_ = meanGrey;
        greyRange_ = greyRange;
        greyDeviation_ = greyDeviation;
        sampleCount_ = sampleCount;
    }

    /// The vote as it stands, whether or not statistics were taken.
    bool unguardedPolarity() const { return polarity_; }

 private:
    template <typename T>
    T guarded(long bit, T value) const {
        qf_assert((statsMask_ & bit) != 0, L"the line carries no statistics");
        return value;
    }

    qvLineSeg segment_;
    long statsMask_ = 0;
    bool polarity_ = false;
    double meanGrey_ = 0.0;
    double greyRange_ = 0.0;
    double greyDeviation_ = 0.0;
    double lineQuality_ = 0.0;
    long sampleCount_ = 0;
};

#endif
