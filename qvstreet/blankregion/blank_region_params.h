/// @file
/// What the caller knows of the street and wants of the blank region finder.
#ifndef QVSTREET_BLANKREGION_BLANK_REGION_PARAMS_H
#define QVSTREET_BLANKREGION_BLANK_REGION_PARAMS_H

#include <cstdint>
#include <vector>

#include "qvstreet/blankregion/blank_region_defs.h"
#include "qvstreet/platform/export.h"

/// The run parameters of a blank region search: a plain value.
///
/// Lengths are in pels. Every object holds: both lengths and `numResults` above 0, `direction` one of the two, and a
/// filter of 256 weights from 0.0 to 1.0, bounds included. Whatever would break this throws
/// `qvStreetBlankRegionFinderDefs::BadParams` and changes nothing. A length or count beyond 32 bits counts as the
/// 32-bit limit.
class QV_EXPORT qvStreetBlankRegionFinderParams {
 public:
    /// @param streetWidthPels         width of the street across its direction
    /// @param minLengthPels           shortest blank length that is worth reporting
    /// @param numResults              most regions to return
    /// @param greyLevelScoringFilter  weight of a region by its mean grey level, which is the index
    /// @param direction               direction of the street in the image
    /// Throws `BadParams` with the message of the first setter that refuses, in the order `direction`,
    /// `streetWidthPels`, `minLengthPels`, `numResults`, `greyLevelScoringFilter`.
    qvStreetBlankRegionFinderParams(long streetWidthPels, long minLengthPels, long numResults,
                                    std::vector<double> greyLevelScoringFilter,
                                    qvStreetBlankRegionFinderDefs::streetDirection direction);
    qvStreetBlankRegionFinderParams(const qvStreetBlankRegionFinderParams&) = default;
    qvStreetBlankRegionFinderParams& operator=(const qvStreetBlankRegionFinderParams&) = default;
    ~qvStreetBlankRegionFinderParams() = default;

    /// Width of the street across its direction.
    long streetWidthPels() const { return streetWidthPels_; }

    /// Throws `BadParams` "streetWidthPels must be > 0" for 0 or less.
    void streetWidthPels(long value);

    /// Shortest blank length that is worth reporting.
    long minLengthPels() const { return minLengthPels_; }

    /// Throws `BadParams` "minLengthPels must be > 0" for 0 or less.
    void minLengthPels(long value);

    /// Direction of the street in the image.
    qvStreetBlankRegionFinderDefs::streetDirection direction() const { return direction_; }

    /// Throws `BadParams` "direction must be a value in qvStreetBlankRegionFinderDefs::streetDirection" for a number
    /// below 0 or above 1.
    void direction(qvStreetBlankRegionFinderDefs::streetDirection value);

    /// Most regions to return.
    long numResults() const { return numResults_; }

    /// Throws `BadParams` "numResults must be > 0" for 0 or less.
    void numResults(long value);

    /// Weight for each mean grey level of a region, indexed by the grey level. The reference is good for as long as the
    /// object and follows its changes.
    const std::vector<double>& greyLevelScoringFilter() const { return greyLevelScoringFilter_; }

    /// Copies the vector. Throws `BadParams` "greyLevelScoringFilter must contain exactly 256 elements" for another
    /// size, else "All values in greyLevelScoringFilter must be between 0 and 1 inclusive." for an element below 0.0,
    /// above 1.0 or NaN.
    void greyLevelScoringFilter(std::vector<double>& value);

    /// Whether all five are equal.
    QV_EXPORT friend bool operator==(const qvStreetBlankRegionFinderParams& a,
                                     const qvStreetBlankRegionFinderParams& b);
    friend bool operator!=(const qvStreetBlankRegionFinderParams& a, const qvStreetBlankRegionFinderParams& b) {
        return !(a == b);
    }

 private:
    std::int32_t streetWidthPels_ = 0;
    std::int32_t minLengthPels_ = 0;
    qvStreetBlankRegionFinderDefs::streetDirection direction_ = qvStreetBlankRegionFinderDefs::eHorizontal;
    std::int32_t numResults_ = 0;
    std::vector<double> greyLevelScoringFilter_;
};

#endif
