#include "tools/measured_run.h"

#include "qvstreet/platform/text.h"
#include "qvstreet/platform/timer.h"
#include "tools/finder_run.h"

#include <cmath>

namespace qvtool {
namespace {

using Defs = qvStreetMeasureDefs;

qvStreetMeasureParams measureParams(const CommandOptions& options) {
    return qvStreetMeasureParams(finderParams(options), options.measureReach, options.measureContrast);
}

const char* nameOf(Defs::measureStatus status) {
    switch (status) {
        case Defs::eMeasured:
            return "measured";
        case Defs::ePartlyMeasured:
            return "partly";
        case Defs::eNotMeasured:
            break;
    }
    return "not";
}

std::string reasonOf(Defs::measureReason reason) {
    return reason == Defs::eNoReason ? std::string() : qfUtf8(qfStreetMeasureReasonText(reason));
}

double degreesOf(qvRadian angle) { return qvDegree(angle).toDouble(); }

Position positionOf(const qvVector<2>& v) { return {v.x(), v.y()}; }

/// None for a line that was not measured.
std::optional<Segment> segmentOf(const qvLineSeg& line) {
    if (!std::isfinite(line.p1().x())) return std::nullopt;
    return Segment{positionOf(line.p1()), positionOf(line.p2())};
}

MeasuredStreet streetOf(const qvStreetLineMeasurement& measured) {
    MeasuredStreet street;
    street.status = nameOf(measured.status());
    street.reason = reasonOf(measured.reason());
    street.degrees = degreesOf(measured.angle());
    street.degreesDeviation = degreesOf(measured.angleDeviation());
    street.width = measured.width();
    street.widthDeviation = measured.widthDeviation();
    street.centre = segmentOf(measured.centre());
    street.centreDeviation = measured.centreDeviation();
    street.edges = {segmentOf(measured.edge(0)), segmentOf(measured.edge(1))};
    street.edgeDeviations = {measured.edgeDeviation(0), measured.edgeDeviation(1)};
    street.usedPoints = measured.usedPoints();
    street.refusedPoints = measured.refusedPoints();
    return street;
}

MeasuredCrossing crossingOf(const qvStreetMeasurement& measured) {
    MeasuredCrossing crossing;
    crossing.status = nameOf(measured.status());
    crossing.reason = reasonOf(measured.reason());
    crossing.at = positionOf(measured.crossing());
    crossing.deviation = positionOf(measured.crossingDeviation());
    crossing.horizontal = streetOf(measured.horizontal());
    crossing.vertical = streetOf(measured.vertical());
    crossing.usedPoints = measured.usedPoints();
    crossing.refusedPoints = measured.refusedPoints();
    return crossing;
}

}  // namespace

Measurement measureCrossings(const CommandOptions& options, const qvPelBuffer_const<unsigned char>& image,
                             const std::vector<qvStreetFinderStreetCrossResult>& results) {
    Measurement measurement;
    const qvTimer timer(true);
    qf_measureCrosses(image, results, measureParams(options), measurement.crossings, &measurement.tracks);
    measurement.seconds = timer.sec();
    return measurement;
}

Measurement measureStreets(const CommandOptions& options, const qvPelBuffer_const<unsigned char>& image,
                           const std::vector<qvStreetFinderSingleStreetResult>& results) {
    Measurement measurement;
    const qvTimer timer(true);
    qf_measureStreets(image, results, measureParams(options), measurement.streets, &measurement.tracks);
    measurement.seconds = timer.sec();
    return measurement;
}

void addMeasurement(const Measurement& measurement, ImageReport& report) {
    for (std::size_t i = 0; i < measurement.crossings.size(); ++i)
        report.crossings->at(i).measured = crossingOf(measurement.crossings[i]);
    for (std::size_t i = 0; i < measurement.streets.size(); ++i)
        report.streets->at(i).measured = streetOf(measurement.streets[i]);
    if (report.seconds) report.seconds->measure = measurement.seconds;
}

}  // namespace qvtool
