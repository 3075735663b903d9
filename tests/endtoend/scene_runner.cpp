#include "tests/endtoend/scene_runner.h"

#include <cstdio>

namespace qvtest {

namespace {

constexpr long kMostAngles = 1000;
constexpr double kDegreesPerRadian = 180.0 / qvPi;

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string pointJson(const qvVector<2>& point) { return "[" + number(point.x()) + "," + number(point.y()) + "]"; }

std::string segmentsJson(const std::vector<qvLineSeg>& segments) {
    std::string text = "[";
    for (const qvLineSeg& segment : segments) {
        if (text.size() > 1) text += ",";
        text += "[" + number(segment.p1().x()) + "," + number(segment.p1().y()) + "," + number(segment.p2().x()) + "," +
                number(segment.p2().y()) + "]";
    }
    return text + "]";
}

std::string crossingJson(const qvStreetFinderStreetCrossResult& result) {
    std::string text = "{\"at\":" + pointJson(result.crossing()) + ",\"score\":" + number(result.score()) +
                       ",\"angles\":[" + number(result.horizontalAngle().toDouble()) + "," +
                       number(result.verticalAngle().toDouble()) + "],\"corners\":[";
    text += pointJson(result.ulCorner()) + "," + pointJson(result.urCorner()) + "," + pointJson(result.llCorner()) +
            "," + pointJson(result.lrCorner());
    return text + "],\"segments\":" + segmentsJson(result.lineSegs()) +
           ",\"status\":" + std::to_string(result.statusFlags()) + "}";
}

std::string streetJson(const qvStreetFinderSingleStreetResult& result) {
    return "{\"score\":" + number(result.score()) + ",\"angle\":" + number(result.angle().toDouble()) +
           ",\"segments\":" + segmentsJson(result.lineSegs()) + ",\"status\":" + std::to_string(result.statusFlags()) +
           "}";
}

std::string measurementJson(const qvStreetMeasurement& measured) {
    return "{\"status\":" + std::to_string(measured.status()) + ",\"at\":" + pointJson(measured.crossing()) +
           ",\"deviation\":" + pointJson(measured.crossingDeviation()) + ",\"angles\":[" +
           number(measured.horizontalAngle().toDouble()) + "," + number(measured.verticalAngle().toDouble()) +
           "],\"widths\":[" + number(measured.horizontalWidth()) + "," + number(measured.verticalWidth()) + "]}";
}

template <typename T, typename Writer>
std::string listJson(const std::vector<T>& list, Writer writer) {
    std::string text = "[";
    for (const T& element : list) {
        if (text.size() > 1) text += ",";
        text += writer(element);
    }
    return text + "]";
}

}  // namespace

const char* modeName(RunMode mode) {
    switch (mode) {
        case RunMode::edge:
            return "edge";
        case RunMode::ridge:
            return "ridge";
        case RunMode::coarse:
            return "coarse";
    }
    return "?";
}

qvPelBuffer_const<unsigned char> imageOf(const SceneRow& row, const GreyImage& image) {
    qvPelBuffer_const<unsigned char> view(image.pels.data(), image.width, image.height, image.stride);
    const ClientTransform& client = row.scene.clientFromImage;
    view.clientFromImageXform(
        qvXform<2>(qvMatrix<2>(client.a, client.b, client.c, client.d), qvVector<2>(client.tx, client.ty)));
    return view;
}

qvStreetFinderParams finderParams(const RunParameters& parameters, RunMode mode) {
    return qvStreetFinderParams(qvPair<double>(parameters.widthX, parameters.widthY),
                                qvPair<double>(parameters.rangeXLow, parameters.rangeXHigh),
                                qvPair<double>(parameters.rangeYLow, parameters.rangeYHigh),
                                static_cast<qvStreetFinderDefs::waferType>(mode), parameters.edgeSharpness,
                                static_cast<qvStreetFinderDefs::streetPolarity>(parameters.polarity),
                                parameters.maxResults);
}

SceneOutcome runScene(const SceneRow& row, const GreyImage& image, RunMode mode) {
    qvStreetFinder finder(finderParams(runParametersFor(row), mode));
    finder.setImage(imageOf(row, image));
    SceneOutcome outcome;
    finder.getAngles(kMostAngles, outcome.angles);
    finder.find(outcome.crossings);
    finder.findSingleStreet(outcome.streets);
    qfStreetMeasureCrosses(imageOf(row, image), outcome.crossings, qvStreetMeasureParams(finder.runParams()),
                           outcome.measured);
    return outcome;
}

std::vector<FoundCrossing> foundCrossings(const SceneOutcome& outcome) {
    std::vector<FoundCrossing> found;
    for (const qvStreetFinderStreetCrossResult& result : outcome.crossings)
        found.push_back({{result.crossing().x(), result.crossing().y()},
                         result.horizontalAngle().toDouble() * kDegreesPerRadian,
                         result.verticalAngle().toDouble() * kDegreesPerRadian});
    return found;
}

std::string outcomeJson(const std::string& name, RunMode mode, const SceneOutcome& outcome) {
    return "{\"scene\":\"" + name + "\",\"mode\":\"" + modeName(mode) +
           "\",\"angles\":" + listJson(outcome.angles, [](qvRadian angle) { return number(angle.toDouble()); }) +
           ",\"crossings\":" + listJson(outcome.crossings, crossingJson) +
           ",\"measured\":" + listJson(outcome.measured, measurementJson) +
           ",\"streets\":" + listJson(outcome.streets, streetJson) + "}";
}

}  // namespace qvtest
