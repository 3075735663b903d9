#include "tests/support/make_samples/truth_json.h"

#include <cmath>
#include <cstdio>

namespace qvtest {

namespace {

/// A millionth of a pel is far below what anything resolves, and the same text comes out everywhere.
std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", std::abs(value) < 5e-7 ? 0.0 : value);
    return text;
}

std::string point(const Point2& p) { return "[" + number(p.x) + ", " + number(p.y) + "]"; }

std::string streetJson(const StreetTruth& street) {
    return "    {\"direction\": " + std::to_string(street.direction) +
           ", \"angle\": " + number(street.centre.angleDegrees) + ", \"width\": " + number(street.width) +
           ", \"segment\": [" + point(street.segment.p1) + ", " + point(street.segment.p2) + "]}";
}

std::string crossingJson(const CrossingTruth& crossing) {
    return "    {\"x\": " + number(crossing.crossing.x) + ", \"y\": " + number(crossing.crossing.y) +
           ", \"horizontalAngle\": " + number(crossing.horizontalAngleDegrees) +
           ", \"verticalAngle\": " + number(crossing.verticalAngleDegrees) +
           ",\n     \"corners\": {\"ul\": " + point(crossing.ul) + ", \"ur\": " + point(crossing.ur) +
           ", \"ll\": " + point(crossing.ll) + ", \"lr\": " + point(crossing.lr) +
           "},\n     \"moreThanAStreetWidthInside\": " + (crossing.expected ? "true" : "false") + "}";
}

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) text += (text.empty() ? "" : ",\n") + item;
    return text;
}

}  // namespace

std::string truthJson(const Sample& sample) {
    const SceneTruth truth = truthOf(sample.scene);
    std::vector<std::string> streets;
    for (const std::vector<StreetTruth>& family : truth.streets) {
        for (const StreetTruth& street : family) {
            if (street.visible) streets.push_back(streetJson(street));
        }
    }
    std::vector<std::string> crossings;
    for (const CrossingTruth& crossing : truth.crossings) {
        if (crossing.insideImage) crossings.push_back(crossingJson(crossing));
    }
    const std::string file = sample.name + ".png";
    // A few more than there are, for those just outside the picture.
    const std::string most = std::to_string(truth.insideCount() + 4);
    return "{\n  \"image\": \"" + file + "\",\n  \"about\": \"" + sample.about +
           "\",\n  \"frame\": \"Pel (i, j) covers [i, i+1) by [j, j+1); x right, y down; angles in degrees from +x "
           "towards "
           "+y; lengths in pels.\",\n  \"command\": \"qvstreet find examples/images/" +
           file + " " + sample.options + " --max " + most + "\",\n  \"width\": " + std::to_string(sample.scene.width) +
           ",\n  \"height\": " + std::to_string(sample.scene.height) + ",\n  \"streets\": [\n" + joined(streets) +
           "\n  ],\n  \"crossings\": [\n" + joined(crossings) + "\n  ]\n}\n";
}

}  // namespace qvtest
