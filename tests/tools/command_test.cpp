#include "tests/tools/image_encoders.h"
#include "tests/tools/subprocess.h"
#include "tools/image_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::Standard;
using qvtest::Surroundings;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Names = std::vector<std::string>;

namespace {

/// Two upright lanes around x 130 and 300 and two level ones around y 90 and 210, ten pels wide and bright on a dull,
/// slightly noisy ground, as PGM of 400 by 300.
std::string laneImage() {
    std::string pgm = "P5\n400 300\n255\n";
    std::uint32_t noise = 1;
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 400; ++x) {
            noise = noise * 1664525U + 1013904223U;
            const bool lane =
                std::abs(x - 130) < 5 || std::abs(x - 300) < 5 || std::abs(y - 90) < 5 || std::abs(y - 210) < 5;
            pgm += static_cast<char>((lane ? 200U : 100U) + (noise >> 24) % 8U);
        }
    }
    return pgm;
}

std::string uniformImage(int width, int height) {
    return "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" +
           std::string(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 'd');
}

class Command : public testing::Test {
 protected:
    Command() { writeText(lanes, laneImage()); }

    TemporaryFolder folder;
    const std::string lanes = folder.path("lanes.pgm");
};

json withoutSeconds(json document) {
    document.erase("seconds");
    return document;
}

Names linesOf(const std::string& text) {
    Names lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST_F(Command, FindsTheCrossingsOfAPlainImage) {
    const Outcome outcome = runCommand({"find", "--mode", "coarse", "--max", "4", lanes});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const json document = json::parse(outcome.out);
    EXPECT_EQ(document["image"], lanes);
    EXPECT_EQ(document["width"], 400);
    EXPECT_EQ(document["height"], 300);
    EXPECT_EQ(document["mode"], "coarse");
    EXPECT_FALSE(document.contains("streets"));
    EXPECT_FALSE(document.contains("angles"));
    EXPECT_FALSE(document.contains("error"));
    EXPECT_TRUE(document["seconds"]["setImage"].is_number());
    EXPECT_TRUE(document["seconds"]["find"].is_number());
    ASSERT_EQ(document["crossings"].size(), 4U);
    for (const double x : {130.5, 300.5}) {
        for (const double y : {90.5, 210.5}) {
            const auto& found = document["crossings"];
            EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                                    [&](const json& crossing) {
                                        return std::hypot(crossing["x"].get<double>() - x,
                                                          crossing["y"].get<double>() - y) < 3.0;
                                    }))
                << x << " " << y;
        }
    }
    const json& best = document["crossings"][0];
    EXPECT_EQ(best["status"], "line");
    EXPECT_EQ(best["segments"].size(), 2U);
    EXPECT_EQ(best["segments"][0].size(), 4U);
    EXPECT_EQ(best["corners"]["lr"], (json{best["x"], best["y"]}));
}

TEST_F(Command, ClientUnitsScaleTheResults) {
    // client = [0.5 0; 0 -0.5] * image + (1000, -2000), so widths and sharpness are half as large.
    const Outcome plain = runCommand({"find", "--mode", "coarse", "--max", "1", lanes});
    const Outcome client = runCommand({"find", "--mode", "coarse", "--max", "1", "--width", "5", "--sharpness", "2.5",
                                       "--client", "0.5,0,0,-0.5,1000,-2000", lanes});
    ASSERT_EQ(client.status, 0) << client.err;
    const json a = json::parse(plain.out)["crossings"][0];
    const json b = json::parse(client.out)["crossings"][0];
    const double x = (b["x"].get<double>() - 1000.0) / 0.5;
    const double y = (b["y"].get<double>() + 2000.0) / -0.5;
    EXPECT_TRUE(std::abs(x - 130.5) < 3.0 || std::abs(x - 300.5) < 3.0) << x;
    EXPECT_TRUE(std::abs(y - 90.5) < 3.0 || std::abs(y - 210.5) < 3.0) << y;
    EXPECT_NE(a["x"], b["x"]);
}

TEST_F(Command, StreetsAndAnglesWorkInEveryMode) {
    for (const char* mode : {"edge", "ridge", "coarse"}) {
        const Outcome streets = runCommand({"streets", "--mode", mode, lanes});
        ASSERT_EQ(streets.status, 0) << mode << " " << streets.err;
        const json found = json::parse(streets.out);
        EXPECT_FALSE(found["streets"].empty()) << mode;
        EXPECT_TRUE(found["seconds"].contains("findSingleStreet"));
        for (const json& street : found["streets"]) {
            EXPECT_EQ(street["status"], std::string(mode) == "edge" ? "edges" : "line");
            EXPECT_EQ(street["segments"].size(), std::string(mode) == "edge" ? 2U : 1U);
        }
        const Outcome angles = runCommand({"angles", "--mode", mode, "--max", "2", lanes});
        ASSERT_EQ(angles.status, 0) << mode << " " << angles.err;
        const json directions = json::parse(angles.out)["angles"];
        ASSERT_EQ(directions.size(), 2U) << mode;
        EXPECT_GE(directions[0]["score"].get<double>(), directions[1]["score"].get<double>());
    }
}

TEST_F(Command, FindInEdgeModeGivesCornersAndEightSegments) {
    const Outcome outcome = runCommand({"find", "--mode", "edge", lanes});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(runCommand({"find", lanes}).status, 0);
    const json crossings = json::parse(outcome.out)["crossings"];
    ASSERT_FALSE(crossings.empty());
    for (const json& crossing : crossings) {
        EXPECT_EQ(crossing["status"], "edges");
        EXPECT_EQ(crossing["segments"].size(), 8U);
        EXPECT_NE(crossing["corners"]["ul"], crossing["corners"]["lr"]);
    }
}

TEST_F(Command, ARotationThatTheFinderRefusesNamesTheOption) {
    // tan(6 degrees) = 0.1051.
    const Outcome outcome = runCommand({"angles", "--client", "1,-0.1051,0.1051,1,0,0", lanes});
    EXPECT_EQ(outcome.status, 1);
    const std::string error = json::parse(outcome.out)["error"];
    EXPECT_EQ(error.substr(0, 68), "was refused by the finder: Image rotation greater then 5 degree (--c");
    EXPECT_NE(error.find("--client turns x by 5.99"), std::string::npos) << error;
    EXPECT_NE(error.find("allowed are -5 to 5"), std::string::npos);
}

TEST_F(Command, NothingFoundIsNoFailure) {
    writeText(folder.path("blank.pgm"), uniformImage(300, 200));
    for (const char* subcommand : {"find", "streets", "angles"}) {
        const Outcome outcome = runCommand({subcommand, "--mode", "coarse", folder.path("blank.pgm")});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }
    const Outcome outcome = runCommand({"angles", folder.path("blank.pgm")});
    EXPECT_EQ(json::parse(outcome.out)["angles"], json::array());
}

TEST_F(Command, TwoRunsGiveTheSameJsonButForTheSeconds) {
    for (const char* subcommand : {"find", "streets", "angles"}) {
        const json first = json::parse(runCommand({subcommand, "--mode", "ridge", lanes}).out);
        const json second = json::parse(runCommand({subcommand, "--mode", "ridge", lanes}).out);
        EXPECT_EQ(withoutSeconds(first).dump(), withoutSeconds(second).dump());
    }
}

TEST_F(Command, SeveralImagesGiveOneLineEachAlsoForThoseThatFail) {
    writeText(folder.path("text.png"), "no image at all");
    const Outcome outcome =
        runCommand({"find", "--mode", "coarse", "--max", "4", lanes, folder.path("text.png"), lanes});
    EXPECT_EQ(outcome.status, 1);
    const Names lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(json::parse(lines[0])["crossings"].size(), 4U);
    EXPECT_EQ(withoutSeconds(json::parse(lines[0])), withoutSeconds(json::parse(lines[2])));
    const json failed = json::parse(lines[1]);
    EXPECT_EQ(failed["image"], folder.path("text.png"));
    EXPECT_EQ(failed["error"], "is not an image that can be read; allowed are PNG, TIFF, BMP, PGM/PPM and JPEG files");
    EXPECT_FALSE(failed.contains("width"));
    EXPECT_EQ(outcome.err, "qvstreet: '" + folder.path("text.png") + "': " + failed["error"].get<std::string>() + "\n");
}

TEST_F(Command, IfNoImageCanBeReadTheStatusIsThree) {
    const Outcome one = runCommand({"find", folder.path("missing.png")});
    EXPECT_EQ(one.status, 3);
    EXPECT_EQ(one.err, "qvstreet: '" + folder.path("missing.png") + "': cannot be opened: No such file or directory\n");
    EXPECT_EQ(json::parse(one.out)["error"], "cannot be opened: No such file or directory");
    EXPECT_EQ(runCommand({"find", folder.path("missing.png"), folder.path()}).status, 3);
}

TEST_F(Command, AFolderAnEmptyFileAndAnEndlessDeviceAreRefused) {
    writeText(folder.path("empty.png"), "");
    EXPECT_EQ(runCommand({"find", folder.path()}).err,
              "qvstreet: '" + folder.path() + "': is a directory; an image file is needed\n");
    EXPECT_EQ(runCommand({"find", folder.path("empty.png")}).err,
              "qvstreet: '" + folder.path("empty.png") +
                  "': is empty (0 bytes); allowed are PNG, TIFF, BMP, PGM/PPM and JPEG files\n");
    EXPECT_EQ(runCommand({"find", "/dev/zero"}).status, 3);
}

TEST_F(Command, AnUnreadableFileIsRefused) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may read everything";
    ::chmod(lanes.c_str(), 0);
    const Outcome outcome = runCommand({"find", lanes});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "qvstreet: '" + lanes + "': cannot be opened: Permission denied\n");
}

TEST_F(Command, ATruncatedImageIsRefused) {
    const std::string whole = readText(lanes);
    writeText(lanes, whole.substr(0, whole.size() - 1));
    const Outcome outcome = runCommand({"find", "--mode", "coarse", lanes});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              "qvstreet: '" + lanes + "': is truncated: its samples need 120000 bytes, 119999 are there\n");
}

TEST_F(Command, SidesBeyond32767PelsAreRefusedRatherThanSearchedInPart) {
    for (const int width : {32768, 40000, 70000}) {
        writeText(folder.path("wide.pgm"), uniformImage(width, 30));
        for (const char* mode : {"edge", "ridge", "coarse"}) {
            const Outcome outcome = runCommand({"streets", "--mode", mode, folder.path("wide.pgm")});
            EXPECT_EQ(outcome.status, 1);
            const json document = json::parse(outcome.out);
            EXPECT_EQ(document["width"], width);
            EXPECT_EQ(document["error"], "is too large for the finder (the image has " + std::to_string(width) +
                                             " x 30 pels; allowed are sides of up to about 32767)");
        }
    }
    writeText(folder.path("wide.pgm"), uniformImage(30, 32767));
    EXPECT_EQ(runCommand({"streets", "--mode", "coarse", folder.path("wide.pgm")}).status, 0);
}

TEST_F(Command, StreetsAlongTheDiagonalAreRefusedWithAWayOut) {
    // Lanes of 14 pels, 70 apart, at 53.13 degrees and at right angles to that: cosine 0.6, sine 0.8. The image's
    // diagonal has that direction.
    std::string pgm = "P5\n240 320\n255\n";
    for (int y = 0; y < 320; ++y) {
        for (int x = 0; x < 240; ++x) {
            const double along = 0.6 * (x + 0.5) + 0.8 * (y + 0.5);
            const double across = 0.6 * (y + 0.5) - 0.8 * (x + 0.5);
            const auto fromLane = [](double at) { return std::fabs(std::remainder(at, 70.0)); };
            pgm += std::min(fromLane(along), fromLane(across)) < 7.0 ? '\xc8' : '\x50';
        }
    }
    writeText(folder.path("diagonal.pgm"), pgm);
    for (const char* mode : {"edge", "ridge", "coarse"}) {
        const Outcome outcome = runCommand({"find", "--mode", mode, "--width", "14", folder.path("diagonal.pgm")});
        EXPECT_EQ(outcome.status, 1) << mode;
        EXPECT_EQ(
            json::parse(outcome.out)["error"],
            "was refused by the finder: a number of samples must be 1 to 32767; streets along a diagonal of the "
            "image, or two directions nearly alike, leave no rectangle for their profile (the image has 240 x 320 "
            "pels); try another crop")
            << mode;
    }
    // Half of it has another diagonal.
    pgm.replace(0, 11, "P5\n240 160\n");
    pgm.resize(15 + 240 * 160);
    writeText(folder.path("crop.pgm"), pgm);
    const Outcome crop = runCommand({"find", "--mode", "coarse", "--width", "14", folder.path("crop.pgm")});
    EXPECT_EQ(crop.status, 0) << crop.err;
    EXPECT_FALSE(json::parse(crop.out)["crossings"].empty());
}

TEST_F(Command, ARidgeWidthBeyondTheCalipersIsRefusedWithTheLimit) {
    // Lanes of ten pels, in units of a hundredth of one.
    const Names call = {"find", "--mode", "ridge", "--client", "100,0,0,100,0,0", "--polarity", "light"};
    const auto find = [&](const char* width) {
        Names arguments = call;
        arguments.insert(arguments.end(), {"--width", width, lanes});
        return runCommand(arguments);
    };
    EXPECT_EQ(find("1365").status, 0);
    const Outcome outcome = find("1366");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(json::parse(outcome.out)["error"],
              "was refused by the finder: a number of samples must be 1 to 32767; --mode ridge wants 24 times --width "
              "below 32768");
}

TEST_F(Command, ADeclaredSizeOfTenMillionMillionPelsTakesNoMemory) {
    writeText(folder.path("liar.pgm"), "P5\n100000 100000\n255\nxx");
    const Outcome outcome = runCommand({"find", folder.path("liar.pgm")});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "qvstreet: '" + folder.path("liar.pgm") +
                               "': declares 100000 x 100000 pels; allowed are 1 to 1000000 pels a side and at most "
                               "536870912 pels in all\n");
    EXPECT_LT(outcome.maxKilobytes, 1024 * 1024);
}

TEST_F(Command, ConversionsAreToldOnStandardError) {
    writeText(folder.path("c.ppm"), "P6 2 2 65535\n" + std::string(24, 'x'));
    const Outcome outcome = runCommand({"angles", folder.path("c.ppm")});
    const std::string name = "qvstreet: '" + folder.path("c.ppm") + "': ";
    EXPECT_EQ(
        outcome.err.substr(0, outcome.err.find("was refused")),
        name + "colour was turned to grey (BT.601)\n" + name + "16-bit values were scaled to 8 bits (value / 257)\n");
}

TEST_F(Command, TheContentTellsTheFormatAndNotTheName) {
    const std::string path = folder.path("really.tif");
    writeText(path, laneImage());
    EXPECT_EQ(runCommand({"angles", path}).status, 0);
}

TEST_F(Command, PathsMayHoldAnyByte) {
    const std::string path = folder.path("a \"b\" [c,d] \xFF\n{name}.pgm");
    writeText(path, laneImage());
    const Outcome outcome = runCommand({"angles", "--overlay", folder.path("o.svg"), path});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["image"], folder.path("a \"b\" [c,d] \xEF\xBF\xBD\n{name}.pgm"));
    EXPECT_EQ(runCommand({"angles", "--json", folder.path("[x,y]"), path}).status, 0);
    EXPECT_TRUE(json::accept(readText(folder.path("[x,y]"))));
}

TEST_F(Command, AWrongCallDoesNothing) {
    const Outcome outcome = runCommand({"find", "--width", "0", "--json", folder.path("o.json"), lanes});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "qvstreet: --width: '0' is not allowed; allowed is X or X,Y, numbers greater than 0\n");
    EXPECT_EQ(folder.names(), (Names{"lanes.pgm"}));
    EXPECT_EQ(runCommand({}).status, 2);
}

TEST_F(Command, HelpAndVersionGoToStandardOutput) {
    const Outcome help = runCommand({"find", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.find("Examples:"), std::string::npos);
    EXPECT_EQ(runCommand({"--version"}).out.substr(0, 9), "qvstreet ");
    Surroundings full;
    full.output = Standard::file;
    full.outputFile = "/dev/full";
    EXPECT_EQ(runCommand({"--help"}, full).status, 4);
}

TEST_F(Command, JsonAndOverlaysGoToFiles) {
    const Outcome outcome = runCommand({"find", "--mode", "coarse", "--json", folder.path("o.json"), "--overlay",
                                        folder.path("{name}-{n}.png"), lanes});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(folder.names(), (Names{"lanes-1.png", "lanes.pgm", "o.json"}));
    EXPECT_TRUE(json::accept(readText(folder.path("o.json"))));
    const qvtool::GreyImage picture = qvtool::readImageFile(folder.path("lanes-1.png"));
    EXPECT_EQ(picture.width, 400);
    EXPECT_EQ(picture.height, 300);
    EXPECT_TRUE(qvtest::hasNote(picture, "colour"));
}

TEST_F(Command, AFailedImageHasNoOverlay) {
    EXPECT_EQ(runCommand({"find", "--overlay", folder.path("o.svg"), folder.path("missing.png")}).status, 3);
    EXPECT_EQ(folder.names(), (Names{"lanes.pgm"}));
}

TEST_F(Command, AFullOrClosedStandardOutputIsStatusFour) {
    Surroundings surroundings;
    surroundings.output = Standard::file;
    surroundings.outputFile = "/dev/full";
    const Outcome full = runCommand({"angles", lanes}, surroundings);
    EXPECT_EQ(full.status, 4);
    EXPECT_EQ(full.err,
              "qvstreet: standard output: cannot be written: No space left on device; allowed is an open file, pipe or "
              "terminal that takes all of it\n");
    surroundings.output = Standard::closedPipe;
    const Outcome pipe = runCommand({"angles", lanes}, surroundings);
    EXPECT_EQ(pipe.signal, 0);
    EXPECT_EQ(pipe.status, 4);
    EXPECT_NE(pipe.err.find("standard output: cannot be written: Broken pipe"), std::string::npos);
    surroundings.output = Standard::closed;
    const Outcome closed = runCommand({"angles", lanes}, surroundings);
    EXPECT_EQ(closed.status, 4);
}

TEST_F(Command, AClosedStandardOutputIsNotConfusedWithAnOverlay) {
    Surroundings surroundings;
    surroundings.output = Standard::closed;
    const std::string overlay = folder.path("o.svg");
    EXPECT_EQ(runCommand({"angles", "--json", folder.path("o.json"), "--overlay", overlay, lanes}, surroundings).status,
              0);
    EXPECT_TRUE(json::accept(readText(folder.path("o.json"))));
    EXPECT_EQ(readText(overlay).substr(0, 5), "<?xml");
}

TEST_F(Command, OutputsThatCannotBeWrittenAreStatusFourAndNamed) {
    const Outcome missing = runCommand({"angles", "--json", folder.path("no/o.json"), lanes});
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(
        missing.err,
        "qvstreet: '" + folder.path("no/o.json") +
            "': cannot be written: No such file or directory; allowed is a file in an existing folder with room and "
            "permission to write\n");
    EXPECT_EQ(runCommand({"angles", "--json", folder.path(), lanes}).status, 4);
    const Outcome overlay = runCommand({"angles", "--overlay", folder.path("no/o.png"), lanes});
    EXPECT_EQ(overlay.status, 4);
    EXPECT_NE(overlay.err.find("qvstreet: --overlay: '" + folder.path("no/o.png") + "': cannot be written"),
              std::string::npos);
    // The JSON was written all the same.
    EXPECT_TRUE(json::accept(overlay.out));
    EXPECT_EQ(runCommand({"angles", "--json", "/dev/full", lanes}).status, 4);
    EXPECT_EQ(folder.names(), (Names{"lanes.pgm"}));
}

TEST_F(Command, AFullDiskLeavesNoPartOfAFile) {
    Surroundings surroundings;
    surroundings.fileSizeLimit = 1000;
    const Outcome overlay = runCommand({"angles", "--overlay", folder.path("o.svg"), lanes}, surroundings);
    EXPECT_EQ(overlay.signal, 0);
    EXPECT_EQ(overlay.status, 4);
    surroundings.fileSizeLimit = 100;
    const Outcome result =
        runCommand({"find", "--mode", "coarse", "--json", folder.path("o.json"), lanes}, surroundings);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(folder.names(), (Names{"lanes.pgm"}));
}

TEST_F(Command, ATerminatedRunLeavesNoPartOfAFile) {
    // A pipe that nobody writes to keeps the command waiting with its JSON begun.
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Surroundings surroundings;
    bool begun = false;
    surroundings.whileRunning = [&](int process) {
        for (int i = 0; i < 2000 && !begun; ++i) {
            begun = folder.names().size() == 3;
            ::usleep(5000);
        }
        ::kill(process, SIGTERM);
    };
    const Outcome outcome = runCommand({"angles", "--json", folder.path("o.json"), pipe}, surroundings);
    EXPECT_TRUE(begun);
    EXPECT_EQ(outcome.signal, SIGTERM);
    EXPECT_EQ(folder.names(), (Names{"lanes.pgm", "pipe"}));
}

TEST_F(Command, AnImageMayComeThroughAPipe) {
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Surroundings surroundings;
    surroundings.whileRunning = [&](int) { writeText(pipe, laneImage()); };
    const Outcome outcome = runCommand({"angles", pipe}, surroundings);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["width"], 400);
}

TEST_F(Command, ProgressIsShownOnATerminalForSeveralImagesOnly) {
    if (!qvtest::hasPseudoTerminals()) GTEST_SKIP() << "no pseudo terminals on this machine";
    Surroundings surroundings;
    surroundings.errorIsTerminal = true;
    EXPECT_EQ(runCommand({"angles", lanes}, surroundings).err, "");
    const Outcome several = runCommand({"angles", lanes, lanes}, surroundings);
    EXPECT_NE(several.err.find("1/2 '"), std::string::npos);
    EXPECT_NE(several.err.find("2/2 '"), std::string::npos);
    EXPECT_EQ(runCommand({"angles", lanes, lanes}).err, "");
}
