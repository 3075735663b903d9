// The option --measure: what it adds to the JSON, the picture and the page, and that nothing changes without it.
#include "tests/tools/subprocess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Names = std::vector<std::string>;

namespace {

constexpr double kLevelAt[] = {91.25, 211.75};
constexpr double kUprightAt[] = {130.5, 300.125};

/// How much of the pel about i + 0.5 a lane `width` wide about `middle` fills, its edges blurred by 0.85 pels.
double share(int i, double middle, double width) {
    const auto beyond = [&](double edge) { return 0.5 + 0.5 * std::erf((i + 0.5 - edge) / (0.85 * std::sqrt(2.0))); };
    return beyond(middle - 0.5 * width) - beyond(middle + 0.5 * width);
}

/// Level lanes about y 91.25 and 211.75, and upright ones about x 130.5 and 300.125, bright on a dull, slightly noisy
/// ground; as PGM of 420 by 300. Widths of 0 leave lanes out.
std::string laneImage(double levelWidth, double uprightWidth) {
    std::string pgm = "P5\n420 300\n255\n";
    std::uint32_t noise = 1;
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 420; ++x) {
            noise = noise * 1664525U + 1013904223U;
            double lane = 0.0;
            for (const double at : kLevelAt) lane = std::max(lane, share(y, at, levelWidth));
            for (const double at : kUprightAt) lane = std::max(lane, share(x, at, uprightWidth));
            const double grey = 100.5 + 100.0 * lane + static_cast<double>((noise >> 24) % 8U);
            pgm += static_cast<char>(static_cast<unsigned char>(grey));
        }
    }
    return pgm;
}

class MeasureCommand : public testing::Test {
 protected:
    MeasureCommand() { writeText(lanes, laneImage(12.5, 9.0)); }

    json found(const Names& more) const {
        Names call = {"find", "--mode", "coarse", "--width", "9,12.5", "--max", "4", lanes};
        call.insert(call.end(), more.begin(), more.end());
        const Outcome outcome = runCommand(call);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return json::parse(outcome.out);
    }

    TemporaryFolder folder;
    const std::string lanes = folder.path("lanes.pgm");
};

/// The one of the two that is nearer.
double nearest(const double (&places)[2], double value) {
    return std::fabs(value - places[0]) < std::fabs(value - places[1]) ? places[0] : places[1];
}

std::size_t countOf(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++count;
    return count;
}

Names membersOf(const json& object) {
    Names names;
    for (const auto& item : object.items()) names.push_back(item.key());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST_F(MeasureCommand, TellsCrossingsAnglesWidthsAndEdgesToPartsOfAPel) {
    const json document = found({"--measure"});
    ASSERT_EQ(document["crossings"].size(), 4U);
    EXPECT_TRUE(document["seconds"]["measure"].is_number());
    for (const json& crossing : document["crossings"]) {
        const json& measured = crossing["measured"];
        EXPECT_EQ(measured["status"], "measured");
        EXPECT_TRUE(measured["reason"].is_null());
        const double x = nearest(kUprightAt, crossing["x"]);
        const double y = nearest(kLevelAt, crossing["y"]);
        EXPECT_NEAR(measured["x"].get<double>(), x, 0.03);
        EXPECT_NEAR(measured["y"].get<double>(), y, 0.03);
        EXPECT_NEAR(std::remainder(measured["horizontalAngle"].get<double>(), 180.0), 0.0, 0.02);
        EXPECT_NEAR(std::fabs(std::remainder(measured["verticalAngle"].get<double>(), 180.0)), 90.0, 0.02);
        EXPECT_NEAR(measured["horizontalWidth"].get<double>(), 12.5, 0.05);
        EXPECT_NEAR(measured["verticalWidth"].get<double>(), 9.0, 0.05);
        for (const char* name : {"xDeviation", "yDeviation", "horizontalWidthDeviation", "verticalWidthDeviation",
                                 "horizontalAngleDeviation", "verticalAngleDeviation"}) {
            EXPECT_GT(measured[name].get<double>(), 0.0) << name;
            EXPECT_LT(measured[name].get<double>(), 0.05) << name;
        }
        const json& level = measured["horizontalEdges"];
        const json& upright = measured["verticalEdges"];
        ASSERT_EQ(level.size(), 2U);
        ASSERT_EQ(upright.size(), 2U);
        EXPECT_NEAR(level[0][1].get<double>(), y - 6.25, 0.05) << "the upper edge";
        EXPECT_NEAR(level[1][3].get<double>(), y + 6.25, 0.05) << "the lower edge";
        EXPECT_NEAR(upright[0][0].get<double>(), x - 4.5, 0.05) << "the left edge";
        EXPECT_NEAR(upright[1][2].get<double>(), x + 4.5, 0.05) << "the right edge";
        for (const char* name : {"horizontalEdgeDeviations", "verticalEdgeDeviations"}) {
            ASSERT_EQ(measured[name].size(), 2U);
            for (const json& deviation : measured[name]) {
                EXPECT_GT(deviation.get<double>(), 0.0) << name;
                EXPECT_LT(deviation.get<double>(), 0.05) << name;
            }
        }
        EXPECT_TRUE(measured["horizontalReason"].is_null());
        EXPECT_TRUE(measured["verticalReason"].is_null());
        EXPECT_GT(measured["usedPoints"].get<long>(), 20);
        EXPECT_GE(measured["refusedPoints"].get<long>(), 0);
    }
    EXPECT_EQ(membersOf(document["crossings"][0]["measured"]), (Names{"horizontalAngle",
                                                                      "horizontalAngleDeviation",
                                                                      "horizontalEdgeDeviations",
                                                                      "horizontalEdges",
                                                                      "horizontalReason",
                                                                      "horizontalWidth",
                                                                      "horizontalWidthDeviation",
                                                                      "reason",
                                                                      "refusedPoints",
                                                                      "status",
                                                                      "usedPoints",
                                                                      "verticalAngle",
                                                                      "verticalAngleDeviation",
                                                                      "verticalEdgeDeviations",
                                                                      "verticalEdges",
                                                                      "verticalReason",
                                                                      "verticalWidth",
                                                                      "verticalWidthDeviation",
                                                                      "x",
                                                                      "xDeviation",
                                                                      "y",
                                                                      "yDeviation"}));
}

TEST_F(MeasureCommand, TheFindersOwnResultsStayAsTheyAre) {
    json with = found({"--measure", "--no-seconds"});
    const json without = found({"--no-seconds"});
    EXPECT_FALSE(without["crossings"][0].contains("measured"));
    EXPECT_NE(with, without);
    for (json& crossing : with["crossings"]) crossing.erase("measured");
    EXPECT_EQ(with, without);
    EXPECT_FALSE(found({})["seconds"].contains("measure"));
}

TEST_F(MeasureCommand, ClientUnitsScaleWhatIsMeasured) {
    // client = [0.5 0; 0 -0.5] * image + (1000, -2000), so widths and sharpness are half as large.
    const Outcome outcome = runCommand({"find", "--mode", "coarse", "--max", "4", "--width", "4.5,6.25", "--sharpness",
                                        "2.5", "--client", "0.5,0,0,-0.5,1000,-2000", "--measure", lanes});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json crossings = json::parse(outcome.out)["crossings"];
    ASSERT_EQ(crossings.size(), 4U);
    for (const json& crossing : crossings) {
        const json& measured = crossing["measured"];
        const double x = (measured["x"].get<double>() - 1000.0) / 0.5;
        const double y = (measured["y"].get<double>() + 2000.0) / -0.5;
        EXPECT_NEAR(x, nearest(kUprightAt, x), 0.03);
        EXPECT_NEAR(y, nearest(kLevelAt, y), 0.03);
        EXPECT_NEAR(measured["horizontalWidth"].get<double>(), 6.25, 0.025);
        EXPECT_NEAR(measured["verticalWidth"].get<double>(), 4.5, 0.025);
    }
}

TEST_F(MeasureCommand, SingleStreetsHaveTheirMiddleLine) {
    const Outcome outcome =
        runCommand({"streets", "--mode", "coarse", "--width", "9,12.5", "--max", "4", "--measure", lanes});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json document = json::parse(outcome.out);
    EXPECT_TRUE(document["seconds"]["measure"].is_number());
    ASSERT_EQ(document["streets"].size(), 4U);
    for (const json& street : document["streets"]) {
        const json& measured = street["measured"];
        ASSERT_EQ(measured["status"], "measured") << measured;
        const bool isLevel = std::fabs(std::remainder(street["angle"].get<double>(), 180.0)) < 45.0;
        const json& centre = measured["centre"];
        const double at = centre[isLevel ? 1 : 0];
        EXPECT_NEAR(at, isLevel ? nearest(kLevelAt, at) : nearest(kUprightAt, at), 0.03);
        EXPECT_NEAR(measured["width"].get<double>(), isLevel ? 12.5 : 9.0, 0.05);
        EXPECT_GT(measured["centreDeviation"].get<double>(), 0.0);
        EXPECT_LT(measured["centreDeviation"].get<double>(), 0.03);
        EXPECT_EQ(measured["edges"].size(), 2U);
        ASSERT_EQ(measured["edgeDeviations"].size(), 2U);
        EXPECT_GT(measured["edgeDeviations"][0].get<double>(), 0.0);
        EXPECT_LT(measured["edgeDeviations"][1].get<double>(), 0.03);
    }
    EXPECT_EQ(membersOf(document["streets"][0]["measured"]),
              (Names{"angle", "angleDeviation", "centre", "centreDeviation", "edgeDeviations", "edges", "reason",
                     "refusedPoints", "status", "usedPoints", "width", "widthDeviation"}));
}

TEST_F(MeasureCommand, WhatIsNotMeasuredIsNullWithAReason) {
    // No edge of the scene has 150 grey levels.
    const json crossings = found({"--measure", "--measure-contrast", "150"})["crossings"];
    ASSERT_EQ(crossings.size(), 4U);
    const json& measured = crossings[0]["measured"];
    EXPECT_EQ(measured["status"], "not");
    EXPECT_EQ(measured["reason"], "no edges");
    for (const char* name : {"x", "y", "xDeviation", "yDeviation", "horizontalAngle", "verticalWidthDeviation"}) {
        EXPECT_TRUE(measured[name].is_null()) << name;
    }
    EXPECT_EQ(measured["verticalEdges"], json::parse("[null, null]"));
    EXPECT_EQ(measured["verticalEdgeDeviations"], json::parse("[null, null]"));
    EXPECT_EQ(measured["horizontalReason"], "no edges");
    EXPECT_EQ(measured["usedPoints"], 0);
}

TEST_F(MeasureCommand, OfACrossingOfOneStreetOnlyThatStreetIsMeasured) {
    const std::string image = folder.path("level.pgm");
    writeText(image, laneImage(12.5, 0.0));
    const Outcome outcome =
        runCommand({"find", "--mode", "coarse", "--width", "12.5", "--max", "4", "--measure", image});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json crossings = json::parse(outcome.out)["crossings"];
    ASSERT_FALSE(crossings.empty());
    const json& measured = crossings[0]["measured"];
    EXPECT_EQ(measured["status"], "partly") << measured;
    EXPECT_EQ(measured["reason"], "no edges");
    EXPECT_TRUE(measured["horizontalReason"].is_null());
    EXPECT_EQ(measured["verticalReason"], "no edges");
    EXPECT_TRUE(measured["x"].is_null());
    EXPECT_TRUE(measured["y"].is_null());
    EXPECT_NEAR(measured["horizontalWidth"].get<double>(), 12.5, 0.05);
    EXPECT_TRUE(measured["verticalWidth"].is_null());
    EXPECT_TRUE(measured["horizontalEdges"][1].is_array());
    EXPECT_TRUE(measured["verticalEdges"][1].is_null());
}

TEST_F(MeasureCommand, AReachKeepsToThePlacesNearTheCrossing) {
    const json crossings = found({"--measure", "--measure-reach", "80"})["crossings"];
    ASSERT_EQ(crossings.size(), 4U);
    for (const json& crossing : crossings) {
        const json& measured = crossing["measured"];
        ASSERT_EQ(measured["status"], "measured");
        const json& edge = measured["horizontalEdges"][0];
        EXPECT_GE(edge[0].get<double>(), crossing["x"].get<double>() - 80.0);
        EXPECT_LE(edge[2].get<double>(), crossing["x"].get<double>() + 80.0);
    }
}

TEST_F(MeasureCommand, WrongLimitsAndMissingImagesHaveTheirStatus) {
    const Outcome limit = runCommand({"find", "--measure", "--measure-reach", "0", lanes});
    EXPECT_EQ(limit.status, 2);
    EXPECT_EQ(limit.out, "");
    EXPECT_EQ(limit.err, "qvstreet: --measure-reach: '0' is not allowed; allowed is a number greater than 0\n");
    EXPECT_EQ(runCommand({"find", "--measure-contrast", "5", lanes}).err,
              "qvstreet: --measure-contrast: '5' is not used; allowed is beside --measure\n");
    const std::string missing = folder.path("missing.png");
    EXPECT_EQ(runCommand({"find", "--measure", missing}).status, 3);
    const Outcome some = runCommand({"find", "--measure", "--mode", "coarse", "--width", "9,12.5", missing, lanes});
    EXPECT_EQ(some.status, 1);
    const std::string second = some.out.substr(some.out.find('\n') + 1);
    EXPECT_EQ(json::parse(second)["crossings"][0]["measured"]["status"], "measured");
}

TEST_F(MeasureCommand, AnImageWithoutResultsHasNothingToMeasure) {
    const std::string bare = folder.path("bare.pgm");
    writeText(bare, "P5\n64 48\n255\n" + std::string(64 * 48, 'd'));
    const Outcome outcome = runCommand({"find", "--measure", bare});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(json::parse(outcome.out)["crossings"].empty());
    EXPECT_TRUE(json::parse(outcome.out)["seconds"]["measure"].is_number());
}

TEST_F(MeasureCommand, ThePictureShowsMeasuredEdgesAndCrossingsInTheirOwnColour) {
    const std::string plain = folder.path("plain.svg");
    const std::string measured = folder.path("measured.svg");
    found({"--overlay", plain});
    found({"--measure", "--overlay", measured});
    EXPECT_EQ(countOf(readText(plain), "#ff40ff"), 0U);
    const std::string svg = readText(measured);
    // Two edges of each of four streets, and four crosses. A legend would hide one of them.
    EXPECT_EQ(countOf(svg, "stroke=\"#ff40ff\""), 12U);
    EXPECT_EQ(countOf(svg, "data-name=\"measured\""), 1U);
    EXPECT_EQ(countOf(svg, "<title>measured x "), 4U);
    EXPECT_EQ(countOf(svg, "#00e6ff"), 0U);
    const std::string png = folder.path("measured.png");
    found({"--measure", "--overlay", png});
    EXPECT_EQ(readText(png).substr(1, 3), "PNG");
}

TEST_F(MeasureCommand, ThePictureMarksWhatWasNotMeasured) {
    const std::string picture = folder.path("not.svg");
    found({"--measure", "--measure-contrast", "150", "--overlay", picture});
    const std::string svg = readText(picture);
    EXPECT_EQ(countOf(svg, "#ff40ff"), 0U);
    EXPECT_EQ(countOf(svg, "stroke=\"#00e6ff\""), 4U);
    EXPECT_EQ(countOf(svg, "<title>not measured: no edges</title>"), 4U);
}

TEST_F(MeasureCommand, ThePictureOfSingleStreetsHasTheirEdges) {
    const std::string picture = folder.path("streets.svg");
    const Names call = {"streets", "--mode",    "coarse", "--width",   "9,12.5", "--max",
                        "4",       "--measure", lanes,    "--overlay", picture};
    ASSERT_EQ(runCommand(call).status, 0);
    EXPECT_EQ(countOf(readText(picture), "stroke=\"#ff40ff\""), 9U) << "eight edges and the legend's line";
    EXPECT_EQ(countOf(readText(picture), ">4 measured, with edges<"), 1U);
}

TEST_F(MeasureCommand, ThePageShowsEachStreetThatWasFollowed) {
    const std::string page = folder.path("page.html");
    const Names call = {"inspect", "--mode", "coarse", "--width",  "9,12.5", "--max",
                        "4",       "--json", "-",      "--report", page,     lanes};
    ASSERT_EQ(runCommand(call).status, 0);
    const std::string plain = readText(page);
    EXPECT_EQ(countOf(plain, "easured"), countOf(plain, "measured in a run"))
        << "nothing of the measurement without the option";

    Names measuring = call;
    measuring.push_back("--measure");
    const Outcome outcome = runCommand(measuring);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json document = json::parse(outcome.out);
    EXPECT_EQ(document["crossings"][0]["measured"]["status"], "measured");
    EXPECT_TRUE(document["seconds"]["measure"].is_number());
    const std::string html = readText(page);
    EXPECT_EQ(countOf(html, "Measurement</h2>"), 1U);
    EXPECT_EQ(countOf(html, ", flat</h2>"), 2U);
    EXPECT_EQ(countOf(html, ", upright</h2>"), 2U);
    EXPECT_EQ(countOf(html, "<figcaption>Profile across the street</figcaption>"), 4U);
    EXPECT_EQ(countOf(html, "<figcaption>Points of the "), 8U);
    EXPECT_EQ(countOf(html, "<li>Measurement: 4 of 4 streets are measured</li>"), 1U);
    EXPECT_EQ(countOf(html, "<caption>Crossings as measured (standard deviation)</caption>"), 1U);
    EXPECT_EQ(countOf(html, "<td>--measure</td><td>given</td>"), 1U);
    EXPECT_EQ(countOf(html, "<td>--measure-reach</td><td>the whole image</td>"), 1U);
    EXPECT_EQ(countOf(html, "<td>Measurement</td>"), 1U) << "among the times";
    for (const char* layer : {"Measured edges", "Measured crossings", "Edges as measured", "Points used"}) {
        EXPECT_GE(countOf(html, std::string("></i> ") + layer), 1U) << layer;
    }
    EXPECT_LT(html.size(), 5000000U);
}

TEST_F(MeasureCommand, ThePageSaysWhyAStreetWasNotMeasured) {
    const std::string page = folder.path("page.html");
    ASSERT_EQ(runCommand({"inspect", "--mode", "coarse", "--width", "9,12.5", "--max", "4", "--measure",
                          "--measure-contrast", "150", "--report", page, lanes})
                  .status,
              0);
    const std::string html = readText(page);
    EXPECT_GE(countOf(html, "<dd>not measured: no edges</dd>"), 4U);
    EXPECT_EQ(countOf(html, "></i> Not measured"), 1U);
    EXPECT_EQ(countOf(html, "<figcaption>Points of the "), 0U);
}

TEST_F(MeasureCommand, SingleStreetsAreMeasuredOnThePageWhereNothingCrosses) {
    const std::string image = folder.path("level.pgm");
    const std::string page = folder.path("level.html");
    writeText(image, laneImage(36.0, 0.0));
    const Outcome outcome = runCommand({"inspect", "--mode", "edge", "--width", "36", "--polarity", "light",
                                        "--measure", "--report", page, "--json", "-", image});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json document = json::parse(outcome.out);
    ASSERT_TRUE(document["crossings"].empty()) << outcome.out;
    EXPECT_TRUE(document["seconds"]["measure"].is_number());
    const std::string html = readText(page);
    EXPECT_EQ(countOf(html, "<caption>Single streets as measured (standard deviation)</caption>"), 1U);
    EXPECT_GE(countOf(html, ", flat</h2>"), 2U);
}
