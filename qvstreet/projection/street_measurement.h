/// @file
/// Street measurement: crossings, angles and widths of streets that a finder has found, measured again on the whole
/// image to a small part of a pel.
///
///     finder.find(crossings);
///     qfStreetMeasureCrosses(image, crossings, qvStreetMeasureParams(finder.runParams()), measured);
///     if (measured[0].status() == qvStreetMeasureDefs::eMeasured) cutAt(measured[0].crossing());
///
/// Both edges of each street are followed along the whole image, straight lines are fitted to them, and whatever does
/// not look like the edge (pads, marks, other streets) is left out. What cannot be measured is said to be so, and is
/// NaN.
#ifndef QVSTREET_PROJECTION_STREET_MEASUREMENT_H
#define QVSTREET_PROJECTION_STREET_MEASUREMENT_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/line.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/vector.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"

struct qv_streetMeasurementAccess;

/// Scope of the enumerations of the measurement.
class QV_EXPORT qvStreetMeasureDefs {
 public:
    /// How much of a street or a crossing was measured.
    enum measureStatus : std::int32_t {
        /// Nothing: every value is NaN.
        eNotMeasured = 0,
        /// One edge of a street, so its angle; or one street of a crossing. The other values are NaN.
        ePartlyMeasured = 1,
        /// Everything.
        eMeasured = 2
    };

    /// Why something was not measured.
    enum measureReason : std::int32_t {
        /// It was.
        eNoReason = 0,
        /// Too little of the street lies in the image.
        eOutsideImage = 1,
        /// There is no edge with enough contrast where the street should be.
        eNoEdges = 2,
        /// There is one edge, and none that would go with it.
        eOneEdge = 3,
        /// Several pairs of edges would do, and none is clearly the better one.
        eAmbiguousEdges = 4,
        /// Too few of the places looked at show the edges.
        eTooFewPoints = 5,
        /// The places do not lie on a line.
        eUnsteadyEdges = 6,
        /// The lines lead away from where the street should be.
        eElsewhere = 7,
        /// The two streets do not cross: they are parallel.
        eNoCrossing = 8
    };
};

/// The reason in plain words, such as "one edge only"; "measured" for `eNoReason`, and for a value without a name
/// "unknown".
QV_EXPORT std::wstring qfStreetMeasureReasonText(qvStreetMeasureDefs::measureReason reason);

/// What the measurement has to know of the streets: a plain value.
class QV_EXPORT qvStreetMeasureParams {
 public:
    /// Takes widths, their ranges and the polarity from what the finder was told; its run mode, sharpness and number of
    /// results are not read.
    /// @param reach          how far from a crossing its streets are followed, client units; above 0
    /// @param leastContrast  contrast that an edge must have, grey levels; above 0
    /// Throws `qvStreetFinderDefs::BadParams` "reach must be positive." and "leastContrast must be positive.".
    explicit qvStreetMeasureParams(const qvStreetFinderParams& streets = qvStreetFinderParams(), double reach = 1e30,
                                   double leastContrast = 3.0);

    /// Widths, ranges and polarity of the streets.
    const qvStreetFinderParams& streets() const { return streets_; }
    void streets(const qvStreetFinderParams& value) { streets_ = value; }

    /// How far from a crossing, or from the middle of a single street, the street is followed, in client units. 1e30 by
    /// default: to the image's sides. Less where the optics bend straight lines; the shorter, the less exact. Throws
    /// `BadParams` "reach must be positive." for 0, less, or NaN.
    double reach() const { return reach_; }
    void reach(double value);

    /// Contrast that an edge must have in the median of the street's profiles, grey levels; 3 by default. Throws
    /// `BadParams` "leastContrast must be positive." for 0, less, or NaN.
    double leastContrast() const { return leastContrast_; }
    void leastContrast(double value);

 private:
    qvStreetFinderParams streets_;
    double reach_;
    double leastContrast_;
};

/// One measured street. Positions and lengths in client units, angles in radians of the client frame; values that were
/// not measured are NaN. A standard deviation is that of the error: what noise leaves open, and what
/// structures beside the edges, and edges sharper than the pel grid, may add.
class QV_EXPORT qvStreetLineMeasurement {
 public:
    /// Nothing measured, for no reason.
    qvStreetLineMeasurement();

    /// `eMeasured` with both edges, `ePartlyMeasured` with one.
    qvStreetMeasureDefs::measureStatus status() const;
    /// Why it is less than `eMeasured`.
    qvStreetMeasureDefs::measureReason reason() const;

    /// Direction of the street: that of `centre()`, running as the finder's result does.
    qvRadian angle() const;
    qvRadian angleDeviation() const;

    /// Distance of the two edges, at right angles to the street, where it was asked for: at the crossing, or at the
    /// middle of a single street.
    double width() const;
    double widthDeviation() const;

    /// The stretch of the line midway between the edges from the first to the last place that was used. With one edge
    /// only: NaN.
    qvLineSeg centre() const;
    /// Standard deviation of its position across the street, where the street was asked for.
    double centreDeviation() const;

    /// The same stretch of the two edges: `index` 0 is the upper one of a street nearer the horizontal and the left one
    /// of a street nearer the vertical, as seen in the image; 1 the other. NaN for one that was not measured. Throws
    /// `qvStreetFinderDefs::BadParams` "index must be 0 or 1." for another.
    qvLineSeg edge(long index) const;
    /// Standard deviation of its position across the street, where the street was asked for.
    double edgeDeviation(long index) const;

    /// Places along both edges that the lines were fitted to, and places that were looked at and refused.
    long usedPoints() const;
    long refusedPoints() const;

 private:
    friend struct qv_streetMeasurementAccess;

    qvStreetMeasureDefs::measureStatus status_ = qvStreetMeasureDefs::eNotMeasured;
    qvStreetMeasureDefs::measureReason reason_ = qvStreetMeasureDefs::eNoReason;
    qvRadian angle_;
    qvRadian angleDeviation_;
    double width_;
    double widthDeviation_;
    qvLineSeg centre_;
    double centreDeviation_;
    std::array<qvLineSeg, 2> edges_;
    std::array<double, 2> edgeDeviations_;
    long usedPoints_ = 0;
    long refusedPoints_ = 0;
};

/// One measured crossing, as `qvStreetLineMeasurement`.
class QV_EXPORT qvStreetMeasurement {
 public:
    /// Nothing measured, for no reason.
    qvStreetMeasurement();

    /// `eMeasured` if both streets were and they cross.
    qvStreetMeasureDefs::measureStatus status() const;
    /// That of the horizontal street, if it has one, or else that of the vertical one, or `eNoCrossing`.
    qvStreetMeasureDefs::measureReason reason() const;

    /// Where the two centre lines cross, and its standard deviation in x and in y.
    qvVector<2> crossing() const;
    qvVector<2> crossingDeviation() const;

    /// The two streets that cross, the one nearer the horizontal and the one nearer the vertical.
    const qvStreetLineMeasurement& horizontal() const;
    const qvStreetLineMeasurement& vertical() const;

    /// Their angles and widths, and the standard deviations.
    qvRadian horizontalAngle() const;
    qvRadian horizontalAngleDeviation() const;
    qvRadian verticalAngle() const;
    qvRadian verticalAngleDeviation() const;
    double horizontalWidth() const;
    double horizontalWidthDeviation() const;
    double verticalWidth() const;
    double verticalWidthDeviation() const;

    /// Of both streets together.
    long usedPoints() const;
    long refusedPoints() const;

 private:
    friend struct qv_streetMeasurementAccess;

    qvStreetMeasureDefs::measureStatus status_ = qvStreetMeasureDefs::eNotMeasured;
    qvStreetMeasureDefs::measureReason reason_ = qvStreetMeasureDefs::eNoReason;
    qvVector<2> crossing_;
    qvVector<2> crossingDeviation_;
    qvStreetLineMeasurement horizontal_;
    qvStreetLineMeasurement vertical_;
};

/// Measures crossings on the image that they were found in. `measured` is replaced: element i belongs to `results[i]`.
/// The image is not kept. Crossings of one street share its measurement, so many cost little more than
/// one; but with a reach, and where the optics bend the streets, each crossing is measured for itself.
/// @param results  of `find`, in any run mode
/// @throws qvStreetFinderDefs::UnboundImage "Image is unbound."; qvMatrixErr::Singular for a client transform that
///         cannot be turned round. `measured` is unchanged then.
QV_EXPORT void qfStreetMeasureCrosses(const qvPelBuffer_const<unsigned char>& image,
                                      const std::vector<qvStreetFinderStreetCrossResult>& results,
                                      const qvStreetMeasureParams& params, std::vector<qvStreetMeasurement>& measured);

/// The same for single streets, results of `findSingleStreet`.
QV_EXPORT void qfStreetMeasureStreets(const qvPelBuffer_const<unsigned char>& image,
                                      const std::vector<qvStreetFinderSingleStreetResult>& results,
                                      const qvStreetMeasureParams& params,
                                      std::vector<qvStreetLineMeasurement>& measured);

#endif
