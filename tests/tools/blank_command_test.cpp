#include "tests/tools/image_encoders.h"
#include "tests/tools/subprocess.h"
#include "tools/command_line.h"
#include "tools/image_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using qvtool::CommandOptions;
using qvtool::Direction;
using qvtool::parseCommandLine;
using qvtool::ParsedCommandLine;
using qvtool::Subcommand;
using Names = std::vector<std::string>;

namespace {

constexpr int kStripWidth = 400;
constexpr int kStripHeight = 60;

std::string pgm(int width, int height, const std::string& pels) {
    return "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" + pels;
}

/// A street of grey 90, 40 pels wide, between dies of 160, with bright blocks that leave columns 56 to 203 and 236 to
/// 349 blank.
unsigned char stripPel(int x, int y) {
    if (y < 10 || y >= 50) return 160;
    const bool blank = (x >= 56 && x < 204) || (x >= 236 && x < 350);
    return !blank && y >= 18 && y < 42 && x % 12 < 8 ? 220 : 90;
}

std::string stripImage(bool transposed = false) {
    std::string pels;
    const int width = transposed ? kStripHeight : kStripWidth;
    const int height = transposed ? kStripWidth : kStripHeight;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            pels += static_cast<char>(transposed ? stripPel(y, x) : stripPel(x, y));
        }
    }
    return pgm(width, height, pels);
}

std::string uniformImage(int width, int height, unsigned char grey) {
    return pgm(
        width, height,
        std::string(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), static_cast<char>(grey)));
}

std::string repeated(const std::string& number, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += number + (i % 16 == 15 ? "\n" : " ");
    return text;
}

class BlankCommand : public testing::Test {
 protected:
    BlankCommand() { writeText(strip, stripImage()); }

    Outcome blank(const Names& options) const { return blank(options, {strip}); }
    static Outcome blank(const Names& options, const Names& images) {
        Names call = {"blank", "--street-width", "40", "--min-length", "50"};
        call.insert(call.end(), options.begin(), options.end());
        call.insert(call.end(), images.begin(), images.end());
        return runCommand(call);
    }

    TemporaryFolder folder;
    const std::string strip = folder.path("strip.pgm");
};

json withoutSeconds(json document) {
    document.erase("seconds");
    return document;
}

/// The region that begins at column `x`, give or take two pels.
json regionAt(const json& regions, int x) {
    for (const json& region : regions) {
        if (std::abs(region["x"].get<int>() - x) <= 2) return region;
    }
    return json();
}

/// Refusals without an image: the call is wrong and says why.
std::string refused(Names options) {
    options.insert(options.begin(), "blank");
    options.emplace_back("a.png");
    const ParsedCommandLine parsed = parseCommandLine(options);
    EXPECT_FALSE(parsed.run);
    EXPECT_EQ(parsed.status, 2);
    return parsed.message;
}

}  // namespace

TEST(BlankCommandLine, DefaultsAndEveryOption) {
    const ParsedCommandLine least = parseCommandLine({"blank", "--street-width", "40", "--min-length", "50", "a.png"});
    ASSERT_TRUE(least.run) << least.message;
    EXPECT_EQ(least.options.subcommand, Subcommand::blank);
    EXPECT_EQ(least.options.streetWidth, 40);
    EXPECT_EQ(least.options.minLength, 50);
    EXPECT_EQ(least.options.direction, Direction::horizontal);
    EXPECT_EQ(least.options.mask, "");
    EXPECT_EQ(least.options.greyWeights, "");
    EXPECT_EQ(least.options.maxResults, 100);
    EXPECT_EQ(least.options.json, "-");
    const ParsedCommandLine all =
        parseCommandLine({"blank", "--street-width=1", "--min-length", "2147483647", "--direction", "v", "--mask",
                          "m.png", "--grey-weights", "w.txt", "--max", "3", "--json", "o.json", "--overlay", "o.svg",
                          "a.png", "b.png", "--help"});
    EXPECT_FALSE(all.run);
    const ParsedCommandLine most = parseCommandLine(
        {"blank", "--street-width=1", "--min-length", "2147483647", "--mask", "m.png", "--direction", "v", "--max", "3",
         "--json", "o.json", "--overlay", "o.svg", "--grey-weights", "w.txt", "a.png"});
    ASSERT_TRUE(most.run) << most.message;
    EXPECT_EQ(most.options.streetWidth, 1);
    EXPECT_EQ(most.options.minLength, 2147483647);
    EXPECT_EQ(most.options.direction, Direction::vertical);
    EXPECT_EQ(most.options.mask, "m.png");
    EXPECT_EQ(most.options.greyWeights, "w.txt");
    EXPECT_EQ(most.options.maxResults, 3);
    EXPECT_EQ(most.options.overlays, (Names{"o.svg"}));
}

TEST(BlankCommandLine, TheTwoLengthsAreRequired) {
    EXPECT_EQ(refused({"--min-length", "50"}),
              "--street-width: is required by blank; allowed is a whole number from 1 to 2147483647");
    EXPECT_EQ(refused({"--street-width", "50"}),
              "--min-length: is required by blank; allowed is a whole number from 1 to 2147483647");
}

TEST(BlankCommandLine, EachRefusalNamesOptionValueAndWhatIsAllowed) {
    const std::string whole = " is not allowed; allowed is a whole number from 1 to 2147483647";
    EXPECT_EQ(refused({"--street-width", "0"}), "--street-width: '0'" + whole);
    EXPECT_EQ(refused({"--street-width", "2147483648"}), "--street-width: '2147483648'" + whole);
    EXPECT_EQ(refused({"--min-length", "-3"}), "--min-length: '-3'" + whole);
    EXPECT_EQ(refused({"--min-length", "3.5"}), "--min-length: '3.5'" + whole);
    EXPECT_EQ(refused({"--direction", "x"}), "--direction: 'x' is not allowed; allowed is h or v");
    EXPECT_EQ(refused({"--max", "0"}), "--max: '0'" + whole);
    EXPECT_EQ(refused({"--mask="}), "--mask: its value is missing; allowed is an image file (see qvstreet --help)");
}

TEST(BlankCommandLine, EachSubcommandHasItsOwnOptions) {
    EXPECT_EQ(refused({"--width", "3"}),
              "'--width' is not an option; allowed are --street-width, --min-length, --direction, --mask, "
              "--grey-weights, --report, --max, --json, --overlay, --files-from, --shard, --no-seconds, --help");
    EXPECT_EQ(refused({"--trace", "t"}).substr(0, 26), "'--trace' is not an option");
    EXPECT_EQ(refused({"--width="}).substr(0, 27), "'--width=' is not an option");
    const ParsedCommandLine find = parseCommandLine({"find", "--street-width", "3", "a.png"});
    EXPECT_EQ(find.message.substr(0, 33), "'--street-width' is not an option");
}

TEST(BlankCommandLine, HelpShowsItsOptionsAndNoOthers) {
    const std::string help = parseCommandLine({"blank", "--help"}).output;
    for (const char* words : {"--street-width", "--min-length", "--direction", "--mask", "--grey-weights", "--max",
                              "--json", "--overlay", "--report", "Examples:", "Exit status: 0 ran"}) {
        EXPECT_NE(help.find(words), std::string::npos) << words;
    }
    for (const char* words : {"--mode", "--width ", "--client", "--trace"}) {
        EXPECT_EQ(help.find(words), std::string::npos) << words;
    }
    EXPECT_NE(parseCommandLine({"--help"}).output.find("blank"), std::string::npos);
}

TEST_F(BlankCommand, FindsTheBlankStretchesOfAPlainStrip) {
    const Outcome outcome = blank({});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const json document = json::parse(outcome.out);
    EXPECT_EQ(document["image"], strip);
    EXPECT_EQ(document["width"], kStripWidth);
    EXPECT_EQ(document["height"], kStripHeight);
    EXPECT_FALSE(document.contains("mode"));
    EXPECT_FALSE(document.contains("crossings"));
    EXPECT_EQ(document["seconds"].size(), 1U);
    EXPECT_TRUE(document["seconds"]["blank"].is_number());
    const json& regions = document["blankRegions"];
    ASSERT_EQ(regions.size(), 2U) << regions;
    for (const auto& [start, length] : {std::pair(56, 148), std::pair(236, 114)}) {
        const json region = regionAt(regions, start);
        ASSERT_FALSE(region.is_null()) << start;
        EXPECT_NEAR(region["width"].get<int>(), length, 3);
        EXPECT_EQ(region["blankness"], 1.0);
        EXPECT_GE(region["y"], 10);
        EXPECT_LE(region["y"].get<int>() + region["height"].get<int>(), 50);
    }
    EXPECT_GT(regions[0]["score"], regions[1]["score"]);
    EXPECT_GT(regions[0]["width"], regions[1]["width"]);
}

TEST_F(BlankCommand, DirectionVSearchesAlongTheColumns) {
    writeText(folder.path("upright.pgm"), stripImage(true));
    const Outcome level = blank({});
    const Outcome upright = blank({"--direction", "v"}, {folder.path("upright.pgm")});
    ASSERT_EQ(upright.status, 0) << upright.err;
    const json a = json::parse(level.out)["blankRegions"];
    const json b = json::parse(upright.out)["blankRegions"];
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i]["x"], b[i]["y"]);
        EXPECT_EQ(a[i]["y"], b[i]["x"]);
        EXPECT_EQ(a[i]["width"], b[i]["height"]);
        EXPECT_EQ(a[i]["height"], b[i]["width"]);
        EXPECT_EQ(a[i]["score"], b[i]["score"]);
    }
}

TEST_F(BlankCommand, MaxKeepsThatMany) { EXPECT_EQ(json::parse(blank({"--max", "1"}).out)["blankRegions"].size(), 1U); }

TEST_F(BlankCommand, AMaskEndsARegionWhereItBegins) {
    // Columns from 150 on are excluded, within the first stretch.
    std::string pels;
    for (int i = 0; i < kStripWidth * kStripHeight; ++i) pels += static_cast<char>(i % kStripWidth < 150 ? 255 : 0);
    writeText(folder.path("mask.pgm"), pgm(kStripWidth, kStripHeight, pels));
    const Outcome outcome = blank({"--mask", folder.path("mask.pgm")});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json region = regionAt(json::parse(outcome.out)["blankRegions"], 56);
    ASSERT_FALSE(region.is_null());
    EXPECT_NEAR(region["x"].get<int>() + region["width"].get<int>(), 150, 2);
}

TEST_F(BlankCommand, AllowingTheWholeImageByMaskChangesNothing) {
    writeText(folder.path("mask.pgm"), uniformImage(kStripWidth, kStripHeight, 255));
    EXPECT_EQ(withoutSeconds(json::parse(blank({"--mask", folder.path("mask.pgm")}).out)),
              withoutSeconds(json::parse(blank({}).out)));
}

TEST_F(BlankCommand, GreyWeightsScaleTheScoreByTheMeanGreyLevel) {
    // Blank stretches have grey 90.
    std::string weights = repeated("1", 256);
    writeText(folder.path("ones.txt"), weights);
    EXPECT_EQ(withoutSeconds(json::parse(blank({"--grey-weights", folder.path("ones.txt")}).out)),
              withoutSeconds(json::parse(blank({}).out)));
    writeText(folder.path("half.txt"), repeated("1", 90) + " .5\t" + repeated("0", 165));
    const json full = json::parse(blank({}).out)["blankRegions"];
    const Outcome outcome = blank({"--grey-weights", folder.path("half.txt")});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json half = json::parse(outcome.out)["blankRegions"];
    ASSERT_EQ(half.size(), full.size());
    for (std::size_t i = 0; i < full.size(); ++i) {
        EXPECT_DOUBLE_EQ(half[i]["score"].get<double>(), 0.5 * full[i]["score"].get<double>());
    }
    writeText(folder.path("none.txt"), repeated("0", 256));
    EXPECT_EQ(json::parse(blank({"--grey-weights", folder.path("none.txt")}).out)["blankRegions"], json::array());
}

TEST_F(BlankCommand, AMaskOfAnotherSizeIsRefusedForThatImageAlone) {
    writeText(folder.path("mask.pgm"), uniformImage(10, 20, 255));
    writeText(folder.path("small.pgm"), uniformImage(10, 20, 90));
    const Outcome outcome = runCommand({"blank", "--street-width", "8", "--min-length", "5", "--mask",
                                        folder.path("mask.pgm"), strip, folder.path("small.pgm")});
    EXPECT_EQ(outcome.status, 1);
    const std::string message = "was refused by the finder: Mask dimensions must match image dimensions (--mask '" +
                                folder.path("mask.pgm") + "' has 10 x 20 pels, the image has 400 x 60 pels)";
    EXPECT_EQ(outcome.err, "qvstreet: '" + strip + "': " + message + "\n");
    std::istringstream lines(outcome.out);
    std::string first;
    std::string second;
    std::getline(lines, first);
    std::getline(lines, second);
    EXPECT_EQ(json::parse(first)["error"], message);
    EXPECT_FALSE(json::parse(first).contains("blankRegions"));
    EXPECT_TRUE(json::parse(second)["blankRegions"].is_array());
}

TEST_F(BlankCommand, AMaskWithGreyPelsIsRefused) {
    std::string mask = uniformImage(kStripWidth, kStripHeight, 255);
    mask.back() = static_cast<char>(254);
    writeText(folder.path("mask.pgm"), mask);
    const Outcome outcome = blank({"--mask", folder.path("mask.pgm")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qvstreet: '" + strip +
                               "': was refused by the finder: Mask must only contain 0 and 255 (--mask '" +
                               folder.path("mask.pgm") + "' has 400 x 60 pels, the image has 400 x 60 pels)\n");
}

TEST_F(BlankCommand, AMaskOverAnObliqueUprightStripIsRefused) {
    writeText(folder.path("upright.pgm"), stripImage(true));
    writeText(folder.path("mask.pgm"), uniformImage(kStripHeight, kStripWidth, 255));
    const Outcome outcome =
        blank({"--direction", "v", "--mask", folder.path("mask.pgm")}, {folder.path("upright.pgm")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("with --direction v the mask is laid over the transposed image, so both have to be "
                               "square"),
              std::string::npos)
        << outcome.err;
}

TEST_F(BlankCommand, AMaskThatIsNoImageMakesTheCallWrong) {
    const Outcome outcome = blank({"--mask", folder.path("none.png"), "--json", folder.path("o.json")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "qvstreet: --mask: '" + folder.path("none.png") + "': cannot be opened: No such file or directory\n");
    EXPECT_EQ(folder.names(), (Names{"strip.pgm"}));
    writeText(folder.path("colour.ppm"), "P6\n400 60\n255\n" + std::string(400 * 60 * 3, '\xFF'));
    EXPECT_EQ(blank({"--mask", folder.path("colour.ppm")}).err,
              "qvstreet: --mask: '" + folder.path("colour.ppm") + "': colour was turned to grey (BT.601)\n");
}

TEST_F(BlankCommand, WeightsThatAreNot256NumbersFrom0To1MakeTheCallWrong) {
    const std::string path = folder.path("weights.txt");
    const std::string name = "qvstreet: --grey-weights: '" + path + "': ";
    const std::string allowed = "allowed are 256 numbers from 0 to 1, separated by white space";
    const auto messageFor = [&](const std::string& text) {
        writeText(path, text);
        const Outcome outcome = blank({"--grey-weights", path, "--json", folder.path("o.json")});
        EXPECT_EQ(outcome.status, 2) << text;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(folder.names(), (Names{"strip.pgm", "weights.txt"}));
        return outcome.err;
    };
    const std::string size = name + "greyLevelScoringFilter must contain exactly 256 elements (the file has ";
    EXPECT_EQ(messageFor(repeated("1", 255)), size + "255 numbers; " + allowed + ")\n");
    EXPECT_EQ(messageFor(repeated("1", 257)), size + "257 numbers; " + allowed + ")\n");
    EXPECT_EQ(messageFor(""), size + "0 numbers; " + allowed + ")\n");
    const std::string range = name +
                              "All values in greyLevelScoringFilter must be between 0 and 1 inclusive. (the number for "
                              "grey level ";
    EXPECT_EQ(messageFor(repeated("1", 3) + "nan " + repeated("1", 252)), range + "3 is nan)\n");
    EXPECT_EQ(messageFor(repeated("0", 255) + "1.5"), range + "255 is 1.5)\n");
    EXPECT_EQ(messageFor("-0.25 " + repeated("0", 255)), range + "0 is -0.25)\n");
    EXPECT_EQ(messageFor(repeated("1", 4) + "0,5 " + repeated("1", 251)),
              name + "its number 5 is '0,5'; " + allowed + "\n");
    EXPECT_EQ(messageFor(std::string((1U << 20) + 1, ' ')), name + "has more than 1048576 bytes; " + allowed + "\n");
    EXPECT_EQ(blank({"--grey-weights", folder.path()}).err,
              "qvstreet: --grey-weights: '" + folder.path() + "': cannot be read: Is a directory\n");
    EXPECT_EQ(blank({"--grey-weights", folder.path("none")}).err, "qvstreet: --grey-weights: '" + folder.path("none") +
                                                                      "': cannot be opened: No such file or "
                                                                      "directory\n");
    EXPECT_EQ(blank({"--grey-weights", "/dev/zero"}).status, 2);
}

TEST_F(BlankCommand, AWindowLargerThanTheImageIsRefused) {
    const std::string refusal =
        "was refused by the finder: width and height of an image must be positive (the image has "
        "400 x 60 pels; allowed are --min-length up to its width, three quarters of "
        "--street-width up to its height, and regions of up to about 32750 pels; given are ";
    const auto errorOf = [&](const char* streetWidth, const char* minLength) {
        const Outcome outcome = runCommand({"blank", "--street-width", streetWidth, "--min-length", minLength, strip});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err,
                  "qvstreet: '" + strip + "': " + json::parse(outcome.out)["error"].get<std::string>() + "\n");
        return json::parse(outcome.out)["error"];
    };
    EXPECT_EQ(errorOf("40", "401"), refusal + "401 and 40)");
    // Three quarters of 82 are 61.
    EXPECT_EQ(errorOf("82", "50"), refusal + "50 and 82)");
    EXPECT_EQ(runCommand({"blank", "--street-width", "81", "--min-length", "400", strip}).status, 0);
}

TEST_F(BlankCommand, StreetsLongerThan65536PelsAreRefused) {
    writeText(folder.path("long.pgm"), uniformImage(65537, 8, 90));
    const Outcome outcome = runCommand({"blank", "--street-width", "8", "--min-length", "50", folder.path("long.pgm")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(json::parse(outcome.out)["error"],
              "is too large for the finder (the image has 65537 x 8 pels; allowed are up to 65536 along the street)");
    const Outcome across =
        runCommand({"blank", "--street-width", "8", "--min-length", "5", "--direction", "v", folder.path("long.pgm")});
    EXPECT_EQ(across.status, 0) << across.err;
}

TEST_F(BlankCommand, NothingFoundIsNoFailure) {
    std::string pels;
    for (int i = 0; i < kStripWidth * kStripHeight; ++i) pels += static_cast<char>(i * 7919 % 251);
    writeText(folder.path("busy.pgm"), pgm(kStripWidth, kStripHeight, pels));
    const Outcome outcome = blank({}, {folder.path("busy.pgm")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["blankRegions"], json::array());
}

TEST_F(BlankCommand, TheOverlayShowsTheRegions) {
    const Outcome outcome = blank({"--overlay", folder.path("o.svg")});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json best = json::parse(outcome.out)["blankRegions"][0];
    const std::string svg = readText(folder.path("o.svg"));
    const std::string box = "x=\"" + std::to_string(best["x"].get<int>()) + ".00\" y=\"" +
                            std::to_string(best["y"].get<int>()) + ".00\" width=\"" +
                            std::to_string(best["width"].get<int>()) + ".00\"";
    EXPECT_NE(svg.find(box), std::string::npos) << box;
    EXPECT_EQ(blank({"--overlay", folder.path("o.png")}).status, 0);
    EXPECT_TRUE(qvtest::hasNote(qvtool::readImageFile(folder.path("o.png")), "colour"));
}

TEST_F(BlankCommand, NoOutputOverwritesAFileThatIsRead) {
    writeText(folder.path("mask.png"), "kept");
    writeText(folder.path("weights.png"), "kept too");
    const Outcome mask = blank({"--mask", folder.path("mask.png"), "--overlay", folder.path("./mask.png")});
    EXPECT_EQ(mask.status, 2);
    EXPECT_EQ(mask.err, "qvstreet: --overlay: '" + folder.path("./mask.png") + "' is the file of --mask '" +
                            folder.path("mask.png") + "'; allowed is any other file\n");
    const Outcome weights = blank({"--grey-weights", folder.path("weights.png"), "--json", folder.path("weights.png")});
    EXPECT_EQ(weights.status, 2);
    EXPECT_NE(weights.err.find("is the file of --grey-weights"), std::string::npos);
    EXPECT_EQ(readText(folder.path("mask.png")), "kept");
    EXPECT_EQ(readText(folder.path("weights.png")), "kept too");
}

TEST_F(BlankCommand, TheSampleStripGivesTheAnswerBesideIt) {
    const std::string samples = QVSTREET_EXAMPLES;
    const json truth = json::parse(readText(samples + "/street_strip.json"))["blankRegions"];
    const Outcome outcome =
        runCommand({"blank", "--street-width", "64", "--min-length", "110", samples + "/street_strip.png"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json found = json::parse(outcome.out)["blankRegions"];
    EXPECT_EQ(found.size(), truth.size()) << found;
    for (const json& expected : truth) {
        const json region = regionAt(found, expected["x"]);
        ASSERT_FALSE(region.is_null()) << expected;
        const int end = region["x"].get<int>() + region["width"].get<int>();
        EXPECT_NEAR(end, expected["x"].get<int>() + expected["width"].get<int>(), 2);
        EXPECT_NEAR(region["y"].get<int>(), expected["y"].get<int>(), 3);
        EXPECT_NEAR(region["height"].get<int>(), expected["height"].get<int>(), 4);
        EXPECT_GT(region["blankness"], 0.7);
    }
}

TEST_F(BlankCommand, RidgeWithAnyPolaritySaysOnceWhichWayItRefines) {
    const std::string note =
        "qvstreet: --mode ridge needs --polarity dark or light to measure its crossings; with any it takes the streets "
        "for "
        "light ones\n";
    const auto timesSaid = [&](const std::vector<std::string>& call) {
        const std::string err = runCommand(call).err;
        std::size_t times = 0;
        for (std::size_t at = err.find(note); at != std::string::npos; at = err.find(note, at + 1)) ++times;
        return times;
    };
    EXPECT_EQ(timesSaid({"find", "--mode", "ridge", strip, strip}), 1U);
    EXPECT_EQ(timesSaid({"find", "--mode", "ridge", "--polarity", "any", strip}), 1U);
    EXPECT_EQ(timesSaid({"find", "--mode", "ridge", "--polarity", "dark", strip}), 0U);
    EXPECT_EQ(timesSaid({"find", "--mode", "coarse", strip}), 0U);
    EXPECT_EQ(timesSaid({"streets", "--mode", "ridge", strip}), 0U);
}
