#include "tools/result_json.h"

#include <nlohmann/json.hpp>

namespace qvtool {
namespace {

// Keeps its members in the order in which they are added.
using Json = nlohmann::ordered_json;

Json toJson(const Position& position) { return Json::array({position.x, position.y}); }

Json toJson(const Segment& s) { return Json::array({s.p1.x, s.p1.y, s.p2.x, s.p2.y}); }

Json toJson(const std::optional<Segment>& segment) { return segment ? toJson(*segment) : Json(nullptr); }

Json toJson(const std::vector<Segment>& segments) {
    Json list = Json::array();
    for (const Segment& s : segments) list.push_back(toJson(s));
    return list;
}

Json edgesOf(const MeasuredStreet& street) { return Json::array({toJson(street.edges[0]), toJson(street.edges[1])}); }

Json edgeDeviationsOf(const MeasuredStreet& street) {
    return Json::array({street.edgeDeviations[0], street.edgeDeviations[1]});
}

Json reasonOf(const std::string& reason) { return reason.empty() ? Json(nullptr) : Json(reason); }

Json toJson(const MeasuredCrossing& crossing) {
    Json json;
    json["status"] = crossing.status;
    json["reason"] = reasonOf(crossing.reason);
    json["x"] = crossing.at.x;
    json["y"] = crossing.at.y;
    json["xDeviation"] = crossing.deviation.x;
    json["yDeviation"] = crossing.deviation.y;
    const auto add = [&json](const std::string& name, const MeasuredStreet& street) {
        json[name + "Angle"] = street.degrees;
        json[name + "AngleDeviation"] = street.degreesDeviation;
        json[name + "Width"] = street.width;
        json[name + "WidthDeviation"] = street.widthDeviation;
        json[name + "Edges"] = edgesOf(street);
        json[name + "EdgeDeviations"] = edgeDeviationsOf(street);
        json[name + "Reason"] = reasonOf(street.reason);
    };
    add("horizontal", crossing.horizontal);
    add("vertical", crossing.vertical);
    json["usedPoints"] = crossing.usedPoints;
    json["refusedPoints"] = crossing.refusedPoints;
    return json;
}

Json toJson(const MeasuredStreet& street) {
    Json json;
    json["status"] = street.status;
    json["reason"] = reasonOf(street.reason);
    json["angle"] = street.degrees;
    json["angleDeviation"] = street.degreesDeviation;
    json["width"] = street.width;
    json["widthDeviation"] = street.widthDeviation;
    json["centre"] = toJson(street.centre);
    json["centreDeviation"] = street.centreDeviation;
    json["edges"] = edgesOf(street);
    json["edgeDeviations"] = edgeDeviationsOf(street);
    json["usedPoints"] = street.usedPoints;
    json["refusedPoints"] = street.refusedPoints;
    return json;
}

const char* statusOf(bool fromEdges) { return fromEdges ? "edges" : "line"; }

Json toJson(const ScoredAngle& angle) { return Json{{"angle", angle.degrees}, {"score", angle.score}}; }

Json toJson(const Crossing& crossing) {
    Json corners;
    corners["ul"] = toJson(crossing.ul);
    corners["ur"] = toJson(crossing.ur);
    corners["ll"] = toJson(crossing.ll);
    corners["lr"] = toJson(crossing.lr);
    Json json;
    json["x"] = crossing.centre.x;
    json["y"] = crossing.centre.y;
    json["score"] = crossing.score;
    json["horizontalAngle"] = crossing.horizontalDegrees;
    json["verticalAngle"] = crossing.verticalDegrees;
    json["corners"] = std::move(corners);
    json["segments"] = toJson(crossing.segments);
    json["status"] = statusOf(crossing.fromEdges);
    if (crossing.measured) json["measured"] = toJson(*crossing.measured);
    return json;
}

Json toJson(const Street& street) {
    Json json;
    json["score"] = street.score;
    json["angle"] = street.degrees;
    json["segments"] = toJson(street.segments);
    json["status"] = statusOf(street.fromEdges);
    if (street.measured) json["measured"] = toJson(*street.measured);
    return json;
}

Json toJson(const BlankRegion& region) {
    Json json;
    json["x"] = region.x;
    json["y"] = region.y;
    json["width"] = region.width;
    json["height"] = region.height;
    json["score"] = region.score;
    json["blankness"] = region.blankness;
    return json;
}

template <typename T>
void addList(Json& json, const char* name, const std::optional<std::vector<T>>& list) {
    if (!list) return;
    Json items = Json::array();
    for (const T& item : *list) items.push_back(toJson(item));
    json[name] = std::move(items);
}

/// The search has the name of the operation that was timed; angles are found by setImage alone.
void addSeconds(Json& json, const ImageReport& report) {
    if (!report.seconds) return;
    Json seconds;
    if (report.subcommand != Subcommand::blank) seconds["setImage"] = report.seconds->setImage;
    if (report.subcommand == Subcommand::find || report.subcommand == Subcommand::inspect)
        seconds["find"] = report.seconds->search;
    if (report.subcommand == Subcommand::streets) seconds["findSingleStreet"] = report.seconds->search;
    if (report.subcommand == Subcommand::blank) seconds["blank"] = report.seconds->search;
    if (report.seconds->measure) seconds["measure"] = *report.seconds->measure;
    json["seconds"] = std::move(seconds);
}

std::string compact(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

/// The document with its plain members in one line, and each list and each element of a list in a line of its own.
std::string inLines(const Json& json) {
    std::string text = "{";
    for (const auto& [name, value] : json.items()) {
        if (text.size() > 1) text += value.is_structured() ? ",\n " : ", ";
        text += compact(name) + ": ";
        if (!value.is_array() || value.empty()) {
            text += compact(value);
            continue;
        }
        const char* separator = "[\n  ";
        for (const Json& item : value) {
            text += separator + compact(item);
            separator = ",\n  ";
        }
        text += "]";
    }
    return text + "}";
}

}  // namespace

std::string toJson(const ImageReport& report, bool oneLine) {
    Json json;
    json["image"] = report.image;
    if (report.width > 0) {
        json["width"] = report.width;
        json["height"] = report.height;
    }
    if (report.subcommand != Subcommand::blank) json["mode"] = nameOf(report.mode);
    if (!report.error.empty()) json["error"] = report.error;
    addList(json, "angles", report.angles);
    addList(json, "crossings", report.crossings);
    addList(json, "streets", report.streets);
    addList(json, "blankRegions", report.blankRegions);
    addSeconds(json, report);
    return (oneLine ? compact(json) : inLines(json)) + "\n";
}

}  // namespace qvtool
