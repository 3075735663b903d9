// What `find` and `streets` say on standard error about streets that they cannot find.
#include "tools/search_hints.h"
#include "tests/streetfinder/painted_wafer.h"
#include "tests/tools/subprocess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <string>
#include <vector>

using nlohmann::json;
using qvtest::oblongWafer;
using qvtest::Outcome;
using qvtest::PaintedWafer;
using qvtest::runCommand;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Names = std::vector<std::string>;

namespace {

const std::string kOblong =
    ": in an image that is not square, streets further from one end of its longer side than the shorter side is long "
    "are "
    "not found; which end depends on the tilt of the streets: try --polarity any, or a square crop\n";

class SearchHints : public testing::Test {
 protected:
    std::string save(const std::string& name, const PaintedWafer& wafer) {
        const std::vector<unsigned char> pels = wafer.pels();
        writeText(folder.path(name), "P5 " + std::to_string(wafer.width) + " " + std::to_string(wafer.height) +
                                         " 255\n" + std::string(pels.begin(), pels.end()));
        return folder.path(name);
    }

    std::string saveSquare(const std::string& name) {
        PaintedWafer wafer = oblongWafer(2.0);
        wafer.width = wafer.height = 300;
        return save(name, wafer);
    }

    std::string saveBlank(const std::string& name) {
        writeText(folder.path(name), "P5 200 200 255\n" + std::string(200 * 200, 'd'));
        return folder.path(name);
    }

    /// What is said by a call; it has to end well.
    static std::string said(Names call) {
        const Outcome outcome = runCommand(call);
        EXPECT_EQ(outcome.status, 0);
        return outcome.err;
    }

    TemporaryFolder folder;
};

std::size_t timesIn(const std::string& text, const std::string& part) {
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++times;
    return times;
}

}  // namespace

TEST_F(SearchHints, AGoodSearchSaysNothing) {
    const std::string image = save("a.pgm", oblongWafer(2.0));
    EXPECT_EQ(said({"find", "--mode", "coarse", "--width", "18,30", image}), "");
    EXPECT_EQ(said({"find", "--width", "18,30", image}), "");
    EXPECT_EQ(said({"streets", "--mode", "coarse", "--width", "18,30", image}), "");
}

TEST_F(SearchHints, ASingleImageWithoutCrossingsHasTheReasonOfTheFirstStageThatFailed) {
    const std::string image = save("a.pgm", oblongWafer(2.0));
    EXPECT_EQ(
        said({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "light", image}),
        "qvstreet: --polarity light" + kOblong + "qvstreet: '" + image +
            "': 1 line lies too far along the longer side of the image for its polarity to be measured, and is lost: "
            "try --polarity any, or a crop nearer to a square.\n"
            "qvstreet: '" +
            image +
            "': No crossing found. No line of direction 0 (flat) passed the polarity test; asked for were light "
            "streets: lighter than both sides, but of 2 lines 2 are dark and 0 light. qvstreet inspect shows every "
            "stage.\n");
    const std::string blank = saveBlank("b.pgm");
    EXPECT_EQ(
        said({"streets", "--mode", "ridge", blank}),
        "qvstreet: '" + blank +
            "': No street found. No line was found in either direction: the image shows none, since the angle profile "
            "has no peak that reaches its threshold. qvstreet inspect shows every stage.\n");
}

TEST_F(SearchHints, OfSeveralImagesEachHasWhatItsLinesTell) {
    const std::string blank = saveBlank("blank.pgm");
    const std::string wafer = saveSquare("wafer.pgm");
    const std::string err = said({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "light", blank, wafer});
    EXPECT_EQ(err,
              "qvstreet: '" + blank +
                  "': No crossing found. No line in either direction was found that is long enough. qvstreet inspect "
                  "shows every stage.\n"
                  "qvstreet: '" +
                  wafer +
                  "': No crossing found. Of 2 flat and 2 upright lines none cross as light streets. qvstreet inspect "
                  "shows every stage.\n");
    EXPECT_EQ(timesIn(said({"streets", "--mode", "coarse", "--width", "18,30", "--polarity", "light", wafer, blank}),
                      "No street found. Of 2 flat and 2 upright lines none is a light street."),
              1U);
    EXPECT_EQ(timesIn(said({"find", "--width", "52", "--range-x", "50,55", "--range-y", "50,55", wafer, blank}),
                      " lines no two are the edges of a street of the allowed widths."),
              1U);
}

TEST_F(SearchHints, StreetsTooNarrowForEdgeModeAreSaidOnceForAllImages) {
    const std::string image = save("a.pgm", oblongWafer(2.0));
    // The filter is as long as the sharpness of 5 there, and the edges are two and a half of it apart at least.
    const std::string limit =
        "qvstreet: In edge mode the two edges of a street narrower than about 12.5 client units run together, and "
        "--width "
        "is 12: try --mode ridge or coarse.\n";
    EXPECT_EQ(timesIn(said({"find", "--width", "18,12", image, image}), limit), 1U);
    EXPECT_EQ(timesIn(said({"find", "--width", "12,18", image}), limit), 1U);
    EXPECT_EQ(timesIn(said({"streets", "--width", "18,12", image}), limit), 1U);
    EXPECT_EQ(timesIn(said({"find", "--width", "12.5", image}), "run together"), 0U);
    EXPECT_EQ(timesIn(said({"find", "--mode", "coarse", "--width", "12", image}), "run together"), 0U);
    EXPECT_EQ(timesIn(said({"angles", "--width", "12", image}), "run together"), 0U);
}

TEST_F(SearchHints, ALargeImageHasAGreaterLimitThanTheSharpnessGives) {
    PaintedWafer wafer;
    wafer.width = wafer.height = 1024;
    wafer.flat.push_back({qvVector<2>(512.0, 300.0), 2.0, 7.0});
    wafer.upright.push_back({qvVector<2>(600.0, 512.0), 92.0, 7.0});
    EXPECT_EQ(timesIn(said({"find", "--width", "7", save("a.pgm", wafer)}), "narrower than about 20.7 client units"),
              1U);
}

TEST_F(SearchHints, APolarityInAnOblongImageIsWarnedOfOnceAndLostLinesForEach) {
    const std::string image = save("a.pgm", oblongWafer(2.0));
    const std::string square = saveSquare("s.pgm");
    const std::string err =
        said({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "dark", square, image, image});
    EXPECT_EQ(timesIn(err, "qvstreet: --polarity dark" + kOblong), 1U);
    EXPECT_EQ(timesIn(err, "qvstreet: '" + image + "': 1 line lies too far along the longer side"), 2U);
    EXPECT_EQ(said({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "dark", square}), "");
    EXPECT_EQ(said({"find", "--width", "18,30", "--polarity", "dark", image}), "qvstreet: --polarity dark" + kOblong);
}

TEST_F(SearchHints, WhichEndOfAnOblongImageIsLostDependsOnTheTilt) {
    const auto columns = [&](double tilt) {
        PaintedWafer wafer = oblongWafer(tilt);
        wafer.width = 520;
        wafer.upright = {{qvVector<2>(60.0, 150.0), 90.0 + tilt, 18.0},
                         {qvVector<2>(260.0, 150.0), 90.0 + tilt, 18.0},
                         {qvVector<2>(460.0, 150.0), 90.0 + tilt, 18.0}};
        const Outcome outcome =
            runCommand({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "dark", save("t.pgm", wafer)});
        bool left = false;
        bool right = false;
        const json found = json::parse(outcome.out);
        for (const json& crossing : found["crossings"]) {
            left = left || crossing["x"].get<double>() < 130.0;
            right = right || crossing["x"].get<double>() > 390.0;
        }
        return std::string(left ? "left" : "") + (right ? "right" : "");
    };
    EXPECT_EQ(columns(3.0), "right");
    EXPECT_EQ(columns(-3.0), "left");
}

TEST_F(SearchHints, ASquareImageHasNoLongerSideToLoseLinesAt) {
    // The chequer of the dies alone: lines at angles whose measured stretch is short of the image.
    PaintedWafer dies;
    dies.width = dies.height = 200;
    const std::string err =
        said({"find", "--mode", "coarse", "--width", "18,30", "--polarity", "light", save("d.pgm", dies)});
    EXPECT_EQ(timesIn(err, "No crossing found. "), 1U) << err;
    EXPECT_EQ(timesIn(err, "longer side"), 0U) << err;
}

TEST_F(SearchHints, StreetsOfATiltedSquareImageAreLostAwayFromItsMiddle) {
    const auto call = [&](double tilt, const std::string& mode, const std::string& polarity) {
        PaintedWafer wafer;
        wafer.width = wafer.height = 420;
        const double radians = tilt * 3.141592653589793 / 180.0;
        for (const double at : {-130.0, 0.0, 130.0}) {
            const qvVector<2> across(-std::sin(radians) * at, std::cos(radians) * at);
            const qvVector<2> along(std::cos(radians) * at, std::sin(radians) * at);
            wafer.flat.push_back({qvVector<2>(210.0, 210.0) + across, tilt, 18.0});
            wafer.upright.push_back({qvVector<2>(210.0, 210.0) + along, 90.0 + tilt, 18.0});
        }
        return runCommand({"find", "--mode", mode, "--width", "18", "--polarity", polarity, save("t.pgm", wafer)});
    };
    const Outcome tilted = call(20.0, "coarse", "dark");
    EXPECT_EQ(json::parse(tilted.out)["crossings"].size(), 2U);
    const std::size_t begin = tilted.err.find("3 lines lie");
    ASSERT_NE(begin, std::string::npos) << tilted.err;
    EXPECT_EQ(tilted.err.substr(begin, tilted.err.find(" tilted by ") - begin),
              "3 lines lie too far from the middle of the image for the polarity of streets");
    EXPECT_EQ(
        timesIn(tilted.err, " degrees to be measured, and are lost: try --polarity any, or an image with less tilt.\n"),
        1U);
    EXPECT_EQ(timesIn(call(20.0, "edge", "dark").err, "The polarity of streets tilted by "), 1U);
    EXPECT_EQ(call(20.0, "coarse", "any").err, "");
    EXPECT_EQ(call(4.0, "coarse", "dark").err, "");
    EXPECT_EQ(json::parse(call(4.0, "coarse", "dark").out)["crossings"].size(), 9U);
}

TEST(LinesLost, AreSaidByTiltOrByTheLongerSideOrNotAtAll) {
    qvtool::CommandOptions options;
    options.polarity = qvtool::Polarity::dark;
    options.mode = qvtool::Mode::ridge;
    const std::string oblong =
        "2 lines lie too far along the longer side of the image for their polarity to be measured, and are lost: try "
        "--polarity any, or a crop nearer to a square.";
    // Is it square, has each direction a line, the tilt, lines without polarity.
    EXPECT_EQ(qvtool::linesLostSentence(options, {true, true, 7.99, 2}), "");
    EXPECT_EQ(qvtool::linesLostSentence(options, {false, true, 7.99, 0}), "");
    EXPECT_EQ(qvtool::linesLostSentence(options, {false, true, 7.99, 2}), oblong);
    EXPECT_EQ(qvtool::linesLostSentence(options, {false, true, 8.0, 0}), "");
    for (const bool isSquare : {false, true}) {
        EXPECT_EQ(
            qvtool::linesLostSentence(options, {isSquare, true, 8.0, 1}),
            "1 line lies too far from the middle of the image for the polarity of streets tilted by 8.0 degrees to "
            "be measured, and is lost: try --polarity any, or an image with less tilt.");
    }
    options.mode = qvtool::Mode::edge;
    EXPECT_EQ(qvtool::linesLostSentence(options, {true, true, 12.25, 0}),
              "The polarity of streets tilted by 12.2 degrees is measured in the middle of the image only; elsewhere "
              "they may be lost: try --polarity any, or an image with less tilt.");
    EXPECT_EQ(qvtool::linesLostSentence(options, {true, false, 12.25, 0}), "");
    options.polarity = qvtool::Polarity::any;
    EXPECT_EQ(qvtool::linesLostSentence(options, {false, true, 45.0, 9}), "");
}

TEST(LinesLost, TheTiltIsThatAgainstTheNearerSideOfTheImage) {
    const qvXform<2> same;
    EXPECT_NEAR(qvtool::tiltOf(same, 12.0), 12.0, 1e-9);
    EXPECT_NEAR(qvtool::tiltOf(same, -12.0), 12.0, 1e-9);
    EXPECT_NEAR(qvtool::tiltOf(same, 95.0), 5.0, 1e-9);
    EXPECT_NEAR(qvtool::tiltOf(same, 225.0), 45.0, 1e-9);
    // Pels twice as high as wide: a rise of one unit in one is two pels.
    const qvXform<2> stretched(qvMatrix<2>(1.0, 0.0, 0.0, 2.0), qvVector<2>(5.0, 7.0));
    EXPECT_NEAR(qvtool::tiltOf(stretched, 45.0), 90.0 - 63.43494882292201, 1e-9);
}
