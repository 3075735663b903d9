#include "qvstreet/projection/street_measurement.h"

#include <limits>

namespace {

constexpr double kNotMeasured = std::numeric_limits<double>::quiet_NaN();

const qvVector<2> kNowhere(kNotMeasured, kNotMeasured);

std::size_t checkedEdge(long index) {
    if (index != 0 && index != 1) throw qvStreetFinderDefs::BadParams(L"index must be 0 or 1.");
    return static_cast<std::size_t>(index);
}

}  // namespace

std::wstring qfStreetMeasureReasonText(qvStreetMeasureDefs::measureReason reason) {
    switch (reason) {
        case qvStreetMeasureDefs::eNoReason:
            return L"measured";
        case qvStreetMeasureDefs::eOutsideImage:
            return L"too little of the street in the image";
        case qvStreetMeasureDefs::eNoEdges:
            return L"no edges";
        case qvStreetMeasureDefs::eOneEdge:
            return L"one edge only";
        case qvStreetMeasureDefs::eAmbiguousEdges:
            return L"several pairs of edges";
        case qvStreetMeasureDefs::eTooFewPoints:
            return L"too few edge points";
        case qvStreetMeasureDefs::eUnsteadyEdges:
            return L"edges not straight";
        case qvStreetMeasureDefs::eElsewhere:
            return L"edges lead elsewhere";
        case qvStreetMeasureDefs::eNoCrossing:
            return L"the streets do not cross";
    }
    return L"unknown";
}

qvStreetMeasureParams::qvStreetMeasureParams(const qvStreetFinderParams& streets, double reach, double leastContrast)
    : streets_(streets), reach_(1.0), leastContrast_(1.0) {
    this->reach(reach);
    this->leastContrast(leastContrast);
}

void qvStreetMeasureParams::reach(double value) {
    if (!(value > 0.0)) throw qvStreetFinderDefs::BadParams(L"reach must be positive.");
    reach_ = value;
}

void qvStreetMeasureParams::leastContrast(double value) {
    if (!(value > 0.0)) throw qvStreetFinderDefs::BadParams(L"leastContrast must be positive.");
    leastContrast_ = value;
}

qvStreetLineMeasurement::qvStreetLineMeasurement()
    : angle_(kNotMeasured),
      angleDeviation_(kNotMeasured),
      width_(kNotMeasured),
      widthDeviation_(kNotMeasured),
      centre_(kNowhere, kNowhere),
      centreDeviation_(kNotMeasured),
      edges_{qvLineSeg(kNowhere, kNowhere), qvLineSeg(kNowhere, kNowhere)},
      edgeDeviations_{kNotMeasured, kNotMeasured} {}

qvStreetMeasureDefs::measureStatus qvStreetLineMeasurement::status() const { return status_; }
qvStreetMeasureDefs::measureReason qvStreetLineMeasurement::reason() const { return reason_; }
qvRadian qvStreetLineMeasurement::angle() const { return angle_; }
qvRadian qvStreetLineMeasurement::angleDeviation() const { return angleDeviation_; }
double qvStreetLineMeasurement::width() const { return width_; }
double qvStreetLineMeasurement::widthDeviation() const { return widthDeviation_; }
qvLineSeg qvStreetLineMeasurement::centre() const { return centre_; }
double qvStreetLineMeasurement::centreDeviation() const { return centreDeviation_; }
qvLineSeg qvStreetLineMeasurement::edge(long index) const { return edges_[checkedEdge(index)]; }
double qvStreetLineMeasurement::edgeDeviation(long index) const { return edgeDeviations_[checkedEdge(index)]; }
long qvStreetLineMeasurement::usedPoints() const { return usedPoints_; }
long qvStreetLineMeasurement::refusedPoints() const { return refusedPoints_; }

qvStreetMeasurement::qvStreetMeasurement() : crossing_(kNowhere), crossingDeviation_(kNowhere) {}

qvStreetMeasureDefs::measureStatus qvStreetMeasurement::status() const { return status_; }
qvStreetMeasureDefs::measureReason qvStreetMeasurement::reason() const { return reason_; }
qvVector<2> qvStreetMeasurement::crossing() const { return crossing_; }
qvVector<2> qvStreetMeasurement::crossingDeviation() const { return crossingDeviation_; }
const qvStreetLineMeasurement& qvStreetMeasurement::horizontal() const { return horizontal_; }
const qvStreetLineMeasurement& qvStreetMeasurement::vertical() const { return vertical_; }
qvRadian qvStreetMeasurement::horizontalAngle() const { return horizontal_.angle(); }
qvRadian qvStreetMeasurement::horizontalAngleDeviation() const { return horizontal_.angleDeviation(); }
qvRadian qvStreetMeasurement::verticalAngle() const { return vertical_.angle(); }
qvRadian qvStreetMeasurement::verticalAngleDeviation() const { return vertical_.angleDeviation(); }
double qvStreetMeasurement::horizontalWidth() const { return horizontal_.width(); }
double qvStreetMeasurement::horizontalWidthDeviation() const { return horizontal_.widthDeviation(); }
double qvStreetMeasurement::verticalWidth() const { return vertical_.width(); }
double qvStreetMeasurement::verticalWidthDeviation() const { return vertical_.widthDeviation(); }
long qvStreetMeasurement::usedPoints() const { return horizontal_.usedPoints() + vertical_.usedPoints(); }
long qvStreetMeasurement::refusedPoints() const { return horizontal_.refusedPoints() + vertical_.refusedPoints(); }
