/// @file
/// What a blank region search returns, as plain values.
#ifndef QVSTREET_BLANKREGION_BLANK_REGION_RESULTS_H
#define QVSTREET_BLANKREGION_BLANK_REGION_RESULTS_H

#include <vector>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/rect.h"

/// One blank region.
class QV_EXPORT qvStreetBlankRegionFinderResult {
 public:
    /// Both scores 0.0 and an empty rectangle at (0, 0).
    qvStreetBlankRegionFinderResult() = default;

    /// Sets all three, unchecked.
    void init(double score, double blanknessScore, const qvPelRect& rect);

    /// Quality of the region, `blanknessScore()` weighed by its size and its mean grey level; above 0 in every result
    /// of a run. Higher is better.
    double score() const { return score_; }

    /// How free of structure the region is, from 0 to 1.
    double blanknessScore() const { return blanknessScore_; }

    /// The region in the image frame of the caller's image, offset included. The reference is good for as long as the
    /// object.
    const qvPelRect& blankRect() const { return blankRect_; }

    /// Whether the rectangles are equal and neither score is less or greater than its counterpart. So a NaN score
    /// equals any.
    QV_EXPORT friend bool operator==(const qvStreetBlankRegionFinderResult& a,
                                     const qvStreetBlankRegionFinderResult& b);
    friend bool operator!=(const qvStreetBlankRegionFinderResult& a, const qvStreetBlankRegionFinderResult& b) {
        return !(a == b);
    }

 private:
    double score_ = 0.0;
    double blanknessScore_ = 0.0;
    qvPelRect blankRect_;
};

/// The whole answer of a run. It owns all it holds.
class QV_EXPORT qvStreetBlankRegionFinderResultSet {
 public:
    /// No regions, time 0.0.
    qvStreetBlankRegionFinderResultSet() = default;
    qvStreetBlankRegionFinderResultSet(const qvStreetBlankRegionFinderResultSet&) = default;
    qvStreetBlankRegionFinderResultSet& operator=(const qvStreetBlankRegionFinderResultSet&) = default;
    ~qvStreetBlankRegionFinderResultSet() = default;

    /// Copies the vector and stores the time, in seconds.
    void init(const std::vector<qvStreetBlankRegionFinderResult>& results, double time);

    /// The regions. The reference is good for as long as the object and follows its changes.
    const std::vector<qvStreetBlankRegionFinderResult>& results() const { return results_; }

    /// How many regions there are.
    long numResults() const { return static_cast<long>(results_.size()); }

    /// What the run took, in seconds.
    double time() const { return time_; }

    /// Whether there is any region.
    bool isFound() const { return numResults() != 0; }

    /// Whether the regions are equal, in the same order. The time plays no part, so that two runs on the same image
    /// give equal answers.
    QV_EXPORT friend bool operator==(const qvStreetBlankRegionFinderResultSet& a,
                                     const qvStreetBlankRegionFinderResultSet& b);
    friend bool operator!=(const qvStreetBlankRegionFinderResultSet& a, const qvStreetBlankRegionFinderResultSet& b) {
        return !(a == b);
    }

 private:
    std::vector<qvStreetBlankRegionFinderResult> results_;
    double time_ = 0.0;
};

#endif
