#include "tools/result_json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <limits>
#include <nlohmann/json.hpp>

using namespace qvtool;

namespace {

ImageReport crossingReport() {
    ImageReport report;
    report.image = "w.png";
    report.subcommand = Subcommand::find;
    report.mode = Mode::coarse;
    report.width = 1024;
    report.height = 768;
    Crossing crossing;
    crossing.centre = {200.1, 180.2};
    crossing.score = 0.81;
    crossing.horizontalDegrees = 1.2;
    crossing.verticalDegrees = -88.8;
    crossing.ul = {1, 2};
    crossing.ur = {3, 4};
    crossing.ll = {5, 6};
    crossing.lr = {7, 8.5};
    crossing.segments = {{{0, 1}, {2, 3}}, {{4, 5}, {6, 7}}};
    report.crossings.emplace({crossing});
    report.seconds = Seconds{0.25, 0.5};
    return report;
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

MeasuredStreet measuredStreet() {
    MeasuredStreet street;
    street.status = "measured";
    street.degrees = 1.25;
    street.degreesDeviation = 0.5;
    street.width = 20.5;
    street.widthDeviation = 0.25;
    street.centre = Segment{{1, 2}, {3, 4}};
    street.centreDeviation = 0.125;
    street.edges = {Segment{{5, 6}, {7, 8}}, Segment{{9, 10}, {11, 12}}};
    street.edgeDeviations = {0.375, 0.75};
    street.usedPoints = 31;
    street.refusedPoints = 7;
    return street;
}

}  // namespace

TEST(ResultJson, AMeasuredCrossingComesBehindTheFindersWithItsTime) {
    ImageReport report = crossingReport();
    MeasuredCrossing measured;
    measured.status = "partly";
    measured.reason = "one edge only";
    measured.at = {kNaN, kNaN};
    measured.deviation = {kNaN, kNaN};
    measured.horizontal = measuredStreet();
    measured.vertical = measuredStreet();
    measured.vertical.degrees = -88.5;
    measured.vertical.width = kNaN;
    measured.vertical.widthDeviation = kNaN;
    measured.vertical.reason = "one edge only";
    measured.vertical.edges[0].reset();
    measured.vertical.edgeDeviations[0] = kNaN;
    measured.usedPoints = 62;
    measured.refusedPoints = 14;
    report.crossings->front().measured = measured;
    report.seconds->measure = 0.125;
    const std::string text = toJson(report, true);
    EXPECT_EQ(
        text.substr(text.find("\"status\":\"edges\"")),
        "\"status\":\"edges\",\"measured\":{\"status\":\"partly\",\"reason\":\"one edge only\",\"x\":null,\"y\":null,"
        "\"xDeviation\":null,\"yDeviation\":null,\"horizontalAngle\":1.25,\"horizontalAngleDeviation\":0.5,"
        "\"horizontalWidth\":20.5,\"horizontalWidthDeviation\":0.25,"
        "\"horizontalEdges\":[[5.0,6.0,7.0,8.0],[9.0,10.0,11.0,12.0]],\"horizontalEdgeDeviations\":[0.375,0.75],"
        "\"horizontalReason\":null,\"verticalAngle\":-88.5,\"verticalAngleDeviation\":0.5,\"verticalWidth\":null,"
        "\"verticalWidthDeviation\":null,\"verticalEdges\":[null,[9.0,10.0,11.0,12.0]],"
        "\"verticalEdgeDeviations\":[null,0.75],\"verticalReason\":\"one edge only\",\"usedPoints\":62,"
        "\"refusedPoints\":14}}],"
        "\"seconds\":{\"setImage\":0.25,\"find\":0.5,\"measure\":0.125}}\n");
}

TEST(ResultJson, AMeasuredStreetHasItsMiddleLine) {
    ImageReport report;
    report.image = "w.png";
    report.subcommand = Subcommand::streets;
    report.width = 3;
    report.height = 2;
    Street street;
    street.measured = measuredStreet();
    report.streets.emplace({street});
    EXPECT_EQ(
        toJson(report, true),
        "{\"image\":\"w.png\",\"width\":3,\"height\":2,\"mode\":\"edge\",\"streets\":[{\"score\":0.0,\"angle\":0.0,"
        "\"segments\":[],\"status\":\"edges\",\"measured\":{\"status\":\"measured\",\"reason\":null,\"angle\":1.25,"
        "\"angleDeviation\":0.5,\"width\":20.5,\"widthDeviation\":0.25,\"centre\":[1.0,2.0,3.0,4.0],"
        "\"centreDeviation\":0.125,\"edges\":[[5.0,6.0,7.0,8.0],[9.0,10.0,11.0,12.0]],"
        "\"edgeDeviations\":[0.375,0.75],\"usedPoints\":31,\"refusedPoints\":7}}]}\n");
}

TEST(ResultJson, CrossingsInOneLineWithMembersInTheDocumentedOrder) {
    EXPECT_EQ(
        toJson(crossingReport(), true),
        "{\"image\":\"w.png\",\"width\":1024,\"height\":768,\"mode\":\"coarse\",\"crossings\":[{\"x\":200.1,\"y\":180."
        "2,"
        "\"score\":0.81,\"horizontalAngle\":1.2,\"verticalAngle\":-88.8,\"corners\":{\"ul\":[1.0,2.0],\"ur\":[3.0,4.0],"
        "\"ll\":[5.0,6.0],\"lr\":[7.0,8.5]},\"segments\":[[0.0,1.0,2.0,3.0],[4.0,5.0,6.0,7.0]],\"status\":\"edges\"}],"
        "\"seconds\":{\"setImage\":0.25,\"find\":0.5}}\n");
}

TEST(ResultJson, TheLinedFormHoldsTheSameDocument) {
    ImageReport report = crossingReport();
    report.crossings->push_back(report.crossings->front());
    const std::string lined = toJson(report, false);
    EXPECT_EQ(nlohmann::json::parse(lined), nlohmann::json::parse(toJson(report, true)));
    EXPECT_EQ(lined.substr(0, 71),
              "{\"image\": \"w.png\", \"width\": 1024, \"height\": 768, \"mode\": \"coarse\",\n \"cr");
    EXPECT_EQ(std::count(lined.begin(), lined.end(), '\n'), 5);
}

TEST(ResultJson, StreetsAndAnglesHaveTheirOwnListsAndTimes) {
    ImageReport streets;
    streets.image = "w.png";
    streets.subcommand = Subcommand::streets;
    streets.width = 3;
    streets.height = 2;
    Street street;
    street.score = 0.7;
    street.degrees = 1.2;
    street.segments = {{{0, 1}, {2, 3}}};
    street.fromEdges = false;
    streets.streets.emplace({street});
    streets.seconds = Seconds{0.25, 0.5};
    EXPECT_EQ(
        toJson(streets, true),
        "{\"image\":\"w.png\",\"width\":3,\"height\":2,\"mode\":\"edge\",\"streets\":[{\"score\":0.7,\"angle\":1.2,"
        "\"segments\":[[0.0,1.0,2.0,3.0]],\"status\":\"line\"}],\"seconds\":{\"setImage\":0.25,\"findSingleStreet\":0."
        "5}}\n");
    ImageReport angles;
    angles.image = "w.png";
    angles.subcommand = Subcommand::angles;
    angles.mode = Mode::ridge;
    angles.width = 3;
    angles.height = 2;
    const std::vector<ScoredAngle> found = {{-178.86, 72703.1}};
    angles.angles = found;
    angles.seconds = Seconds{0.25, 0.5};
    EXPECT_EQ(toJson(angles, true),
              "{\"image\":\"w.png\",\"width\":3,\"height\":2,\"mode\":\"ridge\",\"angles\":[{\"angle\":-178.86,"
              "\"score\":72703.1}],"
              "\"seconds\":{\"setImage\":0.25}}\n");
}

TEST(ResultJson, BlankRegionsHaveWholePelsAndNoMode) {
    ImageReport report;
    report.image = "s.png";
    report.subcommand = Subcommand::blank;
    report.width = 300;
    report.height = 90;
    BlankRegion region;
    region.x = 10;
    region.y = 5;
    region.width = 200;
    region.height = 60;
    region.score = 0.4;
    region.blankness = 0.875;
    report.blankRegions.emplace({region});
    report.seconds = Seconds{0.0, 0.5};
    EXPECT_EQ(toJson(report, true),
              "{\"image\":\"s.png\",\"width\":300,\"height\":90,\"blankRegions\":[{\"x\":10,\"y\":5,\"width\":200,"
              "\"height\":60,\"score\":0.4,\"blankness\":0.875}],\"seconds\":{\"blank\":0.5}}\n");
}

TEST(ResultJson, AnEmptyListIsPresentWhereNothingWasFound) {
    ImageReport report = crossingReport();
    report.crossings->clear();
    EXPECT_NE(toJson(report, true).find("\"crossings\":[]"), std::string::npos);
    EXPECT_NE(toJson(report, false).find("\"crossings\": []"), std::string::npos);
}

TEST(ResultJson, AnErrorHasNoListsAndAnUnreadImageNoSize) {
    ImageReport report;
    report.image = "w.png";
    report.error = "is empty";
    EXPECT_EQ(toJson(report, true), "{\"image\":\"w.png\",\"mode\":\"edge\",\"error\":\"is empty\"}\n");
    EXPECT_EQ(toJson(report, false), "{\"image\": \"w.png\", \"mode\": \"edge\", \"error\": \"is empty\"}\n");
}

TEST(ResultJson, NumbersThatAreNotFiniteAreNull) {
    ImageReport report = crossingReport();
    report.crossings->front().centre.x = std::numeric_limits<double>::quiet_NaN();
    report.crossings->front().score = std::numeric_limits<double>::infinity();
    const auto json = nlohmann::json::parse(toJson(report, true));
    EXPECT_TRUE(json["crossings"][0]["x"].is_null());
    EXPECT_TRUE(json["crossings"][0]["score"].is_null());
}

TEST(ResultJson, NumbersReadBackAsTheSameDouble) {
    ImageReport report = crossingReport();
    const double awkward[] = {1.0 / 3.0, 5e-324, 1.7976931348623157e308, 0.1 + 0.2, -2.2250738585072014e-308};
    for (const double value : awkward) {
        report.crossings->front().centre.x = value;
        EXPECT_EQ(nlohmann::json::parse(toJson(report, true))["crossings"][0]["x"].get<double>(), value);
    }
}

TEST(ResultJson, TheLocaleDoesNotMatter) {
    const std::string before = toJson(crossingReport(), true);
    const char* german = std::setlocale(LC_ALL, "de_DE.UTF-8");
    const std::string after = toJson(crossingReport(), true);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(after, before);
    if (german == nullptr) GTEST_SKIP() << "no locale with a decimal comma on this machine";
}

TEST(ResultJson, PathsAreEscapedAndBytesThatAreNotUtf8Replaced) {
    ImageReport report;
    report.image = "a\"\\\n\xC3\xBC\xFF.png";
    report.error = "x";
    const auto json = nlohmann::json::parse(toJson(report, true));
    EXPECT_EQ(json["image"].get<std::string>(), "a\"\\\n\xC3\xBC\xEF\xBF\xBD.png");
}
