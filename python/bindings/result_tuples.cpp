#include "python/bindings/result_tuples.h"

#include <pybind11/stl.h>

namespace py = pybind11;

namespace {

using Measure = qvStreetMeasureDefs;

py::tuple tupleOf(const qvVector<2>& point) { return py::make_tuple(point.x(), point.y()); }
double degreesOf(qvRadian angle) { return qvDegree(angle).toDouble(); }

py::tuple tupleOf(const qvLineSeg& segment) {
    const qvVector<2> p1 = segment.p1();
    const qvVector<2> p2 = segment.p2();
    return py::make_tuple(p1.x(), p1.y(), p2.x(), p2.y());
}

py::tuple tupleOf(const std::vector<qvLineSeg>& segments) {
    py::tuple list(segments.size());
    for (std::size_t i = 0; i < segments.size(); ++i) list[i] = tupleOf(segments[i]);
    return list;
}

const char* textOf(qvStreetFinderDefs::resultType type) {
    return type == qvStreetFinderDefs::eStreetFromEdges ? "edges" : "line";
}

const char* textOf(Measure::measureStatus status) {
    if (status == Measure::eMeasured) return "measured";
    return status == Measure::ePartlyMeasured ? "partly" : "not";
}

py::object textOf(Measure::measureReason reason) {
    if (reason == Measure::eNoReason) return py::none();
    return py::cast(qfStreetMeasureReasonText(reason));
}

py::tuple tupleOf(const qvStreetLineMeasurement& street) {
    return py::make_tuple(
        textOf(street.status()), textOf(street.reason()), degreesOf(street.angle()), degreesOf(street.angleDeviation()),
        street.width(), street.widthDeviation(), tupleOf(street.centre()), street.centreDeviation(),
        py::make_tuple(tupleOf(street.edge(0)), tupleOf(street.edge(1))),
        py::make_tuple(street.edgeDeviation(0), street.edgeDeviation(1)), street.usedPoints(), street.refusedPoints());
}

py::tuple tupleOf(const qvStreetMeasurement& crossing) {
    return py::make_tuple(textOf(crossing.status()), textOf(crossing.reason()), tupleOf(crossing.crossing()),
                          tupleOf(crossing.crossingDeviation()), tupleOf(crossing.horizontal()),
                          tupleOf(crossing.vertical()));
}

/// None where nothing was measured at all.
template <typename Measurement>
py::object measuredAt(const std::vector<Measurement>& measured, std::size_t i) {
    if (measured.empty()) return py::none();
    return tupleOf(measured.at(i));
}

}  // namespace

py::tuple tupleOf(const qvPair<double>& pair) { return py::make_tuple(pair.first, pair.second); }

py::tuple tupleOf(const std::pair<qvRadian, double>& angle) {
    return py::make_tuple(degreesOf(angle.first), angle.second);
}

py::tuple tupleOf(const qvStreetBlankRegionFinderResult& result) {
    const qvPelRect& rect = result.blankRect();
    return py::make_tuple(rect.ul().first, rect.ul().second, rect.width(), rect.height(), result.score(),
                          result.blanknessScore());
}

py::list listOf(const FoundCrossings& found) {
    py::list list(found.results.size());
    for (std::size_t i = 0; i < found.results.size(); ++i) {
        const qvStreetFinderStreetCrossResult& result = found.results[i];
        list[i] =
            py::make_tuple(result.crossing().x(), result.crossing().y(), result.score(),
                           degreesOf(result.horizontalAngle()), degreesOf(result.verticalAngle()),
                           py::make_tuple(tupleOf(result.ulCorner()), tupleOf(result.urCorner()),
                                          tupleOf(result.llCorner()), tupleOf(result.lrCorner())),
                           tupleOf(result.lineSegs()), textOf(result.statusFlags()), measuredAt(found.measured, i));
    }
    return list;
}

py::list listOf(const FoundStreets& found) {
    py::list list(found.results.size());
    for (std::size_t i = 0; i < found.results.size(); ++i) {
        const qvStreetFinderSingleStreetResult& result = found.results[i];
        list[i] = py::make_tuple(result.score(), degreesOf(result.angle()), tupleOf(result.lineSegs()),
                                 textOf(result.statusFlags()), measuredAt(found.measured, i));
    }
    return list;
}

py::tuple measureReasons() {
    py::list texts;
    for (int reason = Measure::eNoReason + 1; reason <= Measure::eNoCrossing; ++reason)
        texts.append(textOf(static_cast<Measure::measureReason>(reason)));
    return py::tuple(texts);
}
