/// @file
/// What the caller knows of the wafer and wants of the street finder.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_PARAMS_H
#define QVSTREET_STREETFINDER_STREET_FINDER_PARAMS_H

#include <cstdint>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/streetfinder/street_finder_defs.h"

/// The run parameters of a street finder: a plain value. A finder takes a copy when it is built.
///
/// All lengths are in client units, which are pels for an image with an identity client transform. Every object holds:
/// both nominal widths above 0 and within their ranges (bounds included), all bounds at least 0, `edgeSharpness` above
/// 0, `runMode` not `eSpecial`, `maxResults` above 0. Whatever would break this throws `qvStreetFinderDefs::BadParams`
/// and changes nothing.
///
/// A range whose lower bound exceeds its upper bound gets the upper bound as its lower: (20, 5) is kept as (5, 5).
class QV_EXPORT qvStreetFinderParams {
 public:
    /// @param nominalStreetWidth        `first` is the width of the streets measured in x, `second` in y
    /// @param nominalStreetWidthRangeX  lower and upper bound of `nominalStreetWidth.first`
    /// @param nominalStreetWidthRangeY  lower and upper bound of `nominalStreetWidth.second`
    /// @param runMode                   how the streets look
    /// @param edgeSharpness             width of the transition at a street's edge
    /// @param streetPolarity            grey-level relation of street and sides; any value is stored
    /// @param maxResults                most results to return; a value beyond 32 bits counts as the 32-bit limit
    /// Throws `BadParams` with the message of the first test that fails: "maxResults must be positive.", "nominal
    /// street width must be positive.", "nominal street width ranges must be non-negative.", "nominal street width is
    /// outside valid range.", "runMode cannot be eSpecial.", "edges sharpness must be positive.".
    explicit qvStreetFinderParams(const qvPair<double>& nominalStreetWidth = qvPair<double>(10.0, 10.0),
                                  const qvPair<double>& nominalStreetWidthRangeX = qvPair<double>(0.0, 20.0),
                                  const qvPair<double>& nominalStreetWidthRangeY = qvPair<double>(0.0, 20.0),
                                  qvStreetFinderDefs::waferType runMode = qvStreetFinderDefs::eEdgePairWafer,
                                  double edgeSharpness = 5.0,
                                  qvStreetFinderDefs::streetPolarity streetPolarity = qvStreetFinderDefs::eAnyPolarity,
                                  long maxResults = 1);

    /// Nominal widths of the streets: `first` measured in x, `second` in y.
    qvPair<double> nominalStreetWidth() const { return nominalStreetWidth_; }

    /// Lower and upper bound of the width measured in x.
    qvPair<double> nominalStreetWidthRangeX() const { return nominalStreetWidthRangeX_; }

    /// Lower and upper bound of the width measured in y.
    qvPair<double> nominalStreetWidthRangeY() const { return nominalStreetWidthRangeY_; }

    /// Sets widths and ranges together, since each width must lie within its range. Throws `BadParams` with the
    /// constructor's messages on the widths.
    void nominalStreetWidth(const qvPair<double>& width, const qvPair<double>& rangeX, const qvPair<double>& rangeY);

    /// Width of the transition at a street's edge.
    double edgeSharpness() const { return edgeSharpness_; }

    /// Throws `BadParams` "edges sharpness must be positive." unless the value is above 0.
    void edgeSharpness(double value);

    /// How the streets look.
    qvStreetFinderDefs::waferType runMode() const { return runMode_; }

    /// Throws `BadParams` "runMode cannot be eSpecial." for `eSpecial`.
    void runMode(qvStreetFinderDefs::waferType value);

    /// Grey-level relation of street and sides.
    qvStreetFinderDefs::streetPolarity streetPolarity() const { return streetPolarity_; }

    /// Any value is stored.
    void streetPolarity(qvStreetFinderDefs::streetPolarity value);

    /// Most results to return.
    long maxResults() const { return maxResults_; }

    /// Throws `BadParams` "maxResults is not positive" for 0 or less. A value beyond 32 bits counts as the 32-bit
    /// limit.
    void maxResults(long value);

 private:
    qvPair<double> nominalStreetWidth_;
    qvPair<double> nominalStreetWidthRangeX_;
    qvPair<double> nominalStreetWidthRangeY_;
    double edgeSharpness_;
    qvStreetFinderDefs::waferType runMode_;
    qvStreetFinderDefs::streetPolarity streetPolarity_;
    std::int32_t maxResults_;
};

#endif
