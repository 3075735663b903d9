/// @file
/// How the library fills in measurements.
#ifndef QVSTREET_PROJECTION_STREET_MEASUREMENT_ACCESS_H
#define QVSTREET_PROJECTION_STREET_MEASUREMENT_ACCESS_H

#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/projection/street_track.h"

/// Writable references to the fields of a measurement, each named after its field.
struct qv_streetMeasurementAccess {
    using Line = qvStreetLineMeasurement;
    using Cross = qvStreetMeasurement;

    static qvStreetMeasureDefs::measureStatus& status(Line& m) { return m.status_; }
    static qvStreetMeasureDefs::measureReason& reason(Line& m) { return m.reason_; }
    static qvRadian& angle(Line& m) { return m.angle_; }
    static qvRadian& angleDeviation(Line& m) { return m.angleDeviation_; }
    static double& width(Line& m) { return m.width_; }
    static double& widthDeviation(Line& m) { return m.widthDeviation_; }
    static qvLineSeg& centre(Line& m) { return m.centre_; }
    static double& centreDeviation(Line& m) { return m.centreDeviation_; }
    static std::array<qvLineSeg, 2>& edges(Line& m) { return m.edges_; }
    static std::array<double, 2>& edgeDeviations(Line& m) { return m.edgeDeviations_; }
    static long& usedPoints(Line& m) { return m.usedPoints_; }
    static long& refusedPoints(Line& m) { return m.refusedPoints_; }

    static qvStreetMeasureDefs::measureStatus& status(Cross& m) { return m.status_; }
    static qvStreetMeasureDefs::measureReason& reason(Cross& m) { return m.reason_; }
    static qvVector<2>& crossing(Cross& m) { return m.crossing_; }
    static qvVector<2>& crossingDeviation(Cross& m) { return m.crossingDeviation_; }
    static qvStreetLineMeasurement& horizontal(Cross& m) { return m.horizontal_; }
    static qvStreetLineMeasurement& vertical(Cross& m) { return m.vertical_; }
};

/// A street that was followed, for those who want to look at it.
struct qv_MeasuredTrack {
    qv_UvPels pels;
    qv_StreetPrediction prediction;
    qv_StreetEdges edges;
    qv_StreetTrack track;
    qvStreetMeasureDefs::measureReason reason = qvStreetMeasureDefs::eNoReason;
    /// It was followed over a part only, and says nothing of other places.
    bool isLocal = false;
};

/// As the public functions of like name; `tracks`, unless null, gets every street that was followed, in the order of
/// the results that first asked for it.
void qf_measureCrosses(const qvPelBuffer_const<unsigned char>& image,
                       const std::vector<qvStreetFinderStreetCrossResult>& results, const qvStreetMeasureParams& params,
                       std::vector<qvStreetMeasurement>& measured, std::vector<qv_MeasuredTrack>* tracks);
void qf_measureStreets(const qvPelBuffer_const<unsigned char>& image,
                       const std::vector<qvStreetFinderSingleStreetResult>& results,
                       const qvStreetMeasureParams& params, std::vector<qvStreetLineMeasurement>& measured,
                       std::vector<qv_MeasuredTrack>* tracks);

#endif
