#include "tools/command_line.h"

#include "tools/overlay_paths.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace qvtool;

namespace {

using Arguments = std::vector<std::string>;

CommandOptions accepted(Arguments arguments) {
    const ParsedCommandLine parsed = parseCommandLine(arguments);
    EXPECT_TRUE(parsed.run) << parsed.message;
    return parsed.options;
}

/// The message with which a call of `find` with these options and one image is refused.
std::string refused(Arguments options) {
    options.insert(options.begin(), "find");
    options.insert(options.end(), "a.png");
    const ParsedCommandLine parsed = parseCommandLine(options);
    EXPECT_FALSE(parsed.run);
    EXPECT_EQ(parsed.status, 2);
    EXPECT_EQ(parsed.output, "");
    return parsed.message;
}

std::string refusedCall(const Arguments& arguments) {
    const ParsedCommandLine parsed = parseCommandLine(arguments);
    EXPECT_FALSE(parsed.run);
    EXPECT_EQ(parsed.status, 2);
    return parsed.message;
}

}  // namespace

TEST(CommandLine, Defaults) {
    const CommandOptions options = accepted({"find", "a.png"});
    EXPECT_EQ(options.subcommand, Subcommand::find);
    EXPECT_EQ(options.images, (Arguments{"a.png"}));
    EXPECT_EQ(options.mode, Mode::edge);
    EXPECT_EQ(options.widthX, 10.0);
    EXPECT_EQ(options.widthY, 10.0);
    EXPECT_EQ(options.rangeX.low, 5.0);
    EXPECT_EQ(options.rangeX.high, 15.0);
    EXPECT_EQ(options.rangeY.low, 5.0);
    EXPECT_EQ(options.rangeY.high, 15.0);
    EXPECT_EQ(options.sharpness, 5.0);
    EXPECT_EQ(options.polarity, Polarity::any);
    EXPECT_EQ(options.maxResults, 100);
    EXPECT_FALSE(options.clientGiven);
    EXPECT_EQ(options.client, (std::array<double, 6>{1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(options.json, "-");
    EXPECT_TRUE(options.overlays.empty());
    EXPECT_EQ(options.filesFrom, "");
    EXPECT_TRUE(options.seconds);
    EXPECT_FALSE(options.jsonLines);
    EXPECT_FALSE(options.measure);
    EXPECT_EQ(options.measureReach, 1e30);
    EXPECT_EQ(options.measureContrast, 3.0);
}

TEST(CommandLine, EveryOptionIsTaken) {
    const CommandOptions options = accepted(
        {"streets",     "--mode",   "ridge",      "--width", "18,30", "--range-x", "15,20",    "--range-y=25,35",
         "--sharpness", "2.5",      "--polarity", "light",   "--max", "7",         "--client", "-0.5,0,0.25,2,-3,1e6",
         "--json",      "out.json", "--overlay",  "out.svg", "a.png"});
    EXPECT_EQ(options.subcommand, Subcommand::streets);
    EXPECT_EQ(options.mode, Mode::ridge);
    EXPECT_EQ(options.widthX, 18.0);
    EXPECT_EQ(options.widthY, 30.0);
    EXPECT_EQ(options.rangeX.low, 15.0);
    EXPECT_EQ(options.rangeX.high, 20.0);
    EXPECT_EQ(options.rangeY.low, 25.0);
    EXPECT_EQ(options.rangeY.high, 35.0);
    EXPECT_EQ(options.sharpness, 2.5);
    EXPECT_EQ(options.polarity, Polarity::light);
    EXPECT_EQ(options.maxResults, 7);
    EXPECT_TRUE(options.clientGiven);
    EXPECT_EQ(options.client, (std::array<double, 6>{-0.5, 0, 0.25, 2, -3, 1e6}));
    EXPECT_EQ(options.json, "out.json");
    EXPECT_EQ(options.overlays, (Arguments{"out.svg"}));
}

TEST(CommandLine, TheSearchesForStreetsTakeTheMeasurement) {
    for (const char* subcommand : {"find", "streets"}) {
        EXPECT_TRUE(accepted({subcommand, "--measure", "a.png"}).measure);
        const CommandOptions limited =
            accepted({subcommand, "--measure-reach", "80.5", "--measure-contrast=1e-3", "--measure", "a.png"});
        EXPECT_TRUE(limited.measure);
        EXPECT_EQ(limited.measureReach, 80.5);
        EXPECT_EQ(limited.measureContrast, 1e-3);
    }
    EXPECT_TRUE(accepted({"inspect", "--measure", "--report", "a.html", "a.png"}).measure);
    EXPECT_EQ(refusedCall({"angles", "--measure", "a.png"}).substr(0, 29), "'--measure' is not an option;");
    EXPECT_EQ(refusedCall({"blank", "--street-width", "9", "--min-length", "9", "--measure", "a.png"}).substr(0, 28),
              "'--measure' is not an option");
}

TEST(CommandLine, LimitsOfTheMeasurementArePositiveAndGoWithIt) {
    for (const char* option : {"--measure-reach", "--measure-contrast"}) {
        for (const char* value : {"0", "-1", "x", "nan", "inf", "3,4", "1e400"}) {
            EXPECT_EQ(refused({"--measure", option, value}),
                      std::string(option) + ": '" + value + "' is not allowed; allowed is a number greater than 0");
        }
        EXPECT_EQ(refused({option, "12.5"}), std::string(option) + ": '12.5' is not used; allowed is beside --measure");
    }
    EXPECT_EQ(refusedCall({"find", "--measure=yes", "a.png"}),
              "--measure: takes no value; allowed is the bare option (see qvstreet --help)");
    EXPECT_EQ(refused({"--measur"}).substr(0, 54), "'--measur' is not an option, did you mean --measure? A");
}

TEST(CommandLine, OneWidthServesBothAndSetsTheRanges) {
    const CommandOptions options = accepted({"find", "--width", "8", "a.png"});
    EXPECT_EQ(options.widthY, 8.0);
    EXPECT_EQ(options.rangeX.low, 4.0);
    EXPECT_EQ(options.rangeY.high, 12.0);
    const CommandOptions two = accepted({"find", "--width", "8,30", "a.png"});
    EXPECT_EQ(two.rangeX.high, 12.0);
    EXPECT_EQ(two.rangeY.low, 15.0);
}

TEST(CommandLine, OptionsMayStandAfterImages) {
    const CommandOptions options = accepted({"angles", "a.png", "--max", "3", "b.png"});
    EXPECT_EQ(options.images, (Arguments{"a.png", "b.png"}));
    EXPECT_EQ(options.maxResults, 3);
}

TEST(CommandLine, PathsMayHoldAnyCharacter) {
    const Arguments paths = {"[a,b].png", "", "find", "streets", "blank", "%%", "a=b", "{x}", "x\xFF\n", "-"};
    Arguments call = {"find"};
    call.insert(call.end(), paths.begin(), paths.end());
    EXPECT_EQ(accepted(call).images, paths);
    EXPECT_EQ(accepted({"find", "++"}).images, (Arguments{"./++"}));
    EXPECT_EQ(accepted({"find", "--json", "[a,b]", "x.png"}).json, "[a,b]");
}

TEST(CommandLine, WhatFollowsTwoDashesIsAnImage) {
    EXPECT_EQ(accepted({"find", "--max", "2", "a.png", "--", "--max", "--", "-5.png", "++"}).images,
              (Arguments{"a.png", "--max", "--", "-5.png", "++"}));
}

TEST(CommandLine, ValuesAtTheBoundsAreAllowed) {
    EXPECT_EQ(accepted({"find", "--max", "1", "a.png"}).maxResults, 1);
    EXPECT_EQ(accepted({"find", "--max", "2147483647", "a.png"}).maxResults, 2147483647);
    EXPECT_EQ(accepted({"find", "--width", "5", "--range-x", "5,5", "--range-y", "0,5", "a.png"}).rangeY.low, 0.0);
    EXPECT_EQ(accepted({"find", "--width", "1e-300", "a.png"}).widthX, 1e-300);
}

TEST(CommandLine, EachRefusalNamesOptionValueAndWhatIsAllowed) {
    const std::string width = " is not allowed; allowed is X or X,Y, numbers greater than 0";
    EXPECT_EQ(refused({"--width", "0"}), "--width: '0'" + width);
    EXPECT_EQ(refused({"--width", "-4"}), "--width: '-4'" + width);
    EXPECT_EQ(refused({"--width", "3,0"}), "--width: '3,0'" + width);
    EXPECT_EQ(refused({"--width", "1,2,3"}), "--width: '1,2,3'" + width);
    EXPECT_EQ(refused({"--width", "nan"}), "--width: 'nan'" + width);
    EXPECT_EQ(refused({"--width", "3,"}), "--width: '3,'" + width);
    EXPECT_EQ(refused({"--mode", "special"}), "--mode: 'special' is not allowed; allowed is edge, ridge or coarse");
    EXPECT_EQ(refused({"--range-x", "20,5"}), "--range-x: '20,5' is not allowed; allowed is LO,HI with 0 <= LO <= HI");
    EXPECT_EQ(refused({"--range-x", "-1,5"}), "--range-x: '-1,5' is not allowed; allowed is LO,HI with 0 <= LO <= HI");
    EXPECT_EQ(refused({"--range-y", "5"}), "--range-y: '5' is not allowed; allowed is LO,HI with 0 <= LO <= HI");
    EXPECT_EQ(refused({"--sharpness", "0"}), "--sharpness: '0' is not allowed; allowed is a number greater than 0");
    EXPECT_EQ(refused({"--sharpness", "x"}), "--sharpness: 'x' is not allowed; allowed is a number greater than 0");
    EXPECT_EQ(refused({"--polarity", "Dark"}), "--polarity: 'Dark' is not allowed; allowed is any, dark or light");
    const std::string max = " is not allowed; allowed is a whole number from 1 to 2147483647";
    EXPECT_EQ(refused({"--max", "0"}), "--max: '0'" + max);
    EXPECT_EQ(refused({"--max", "2147483648"}), "--max: '2147483648'" + max);
    EXPECT_EQ(refused({"--max", "1.5"}), "--max: '1.5'" + max);
    const std::string client = " is not allowed; allowed is six numbers A,B,C,D,TX,TY with A*D - B*C finite and not 0";
    EXPECT_EQ(refused({"--client", "1,0,0,1,0"}), "--client: '1,0,0,1,0'" + client);
    EXPECT_EQ(refused({"--client", "1,2,2,4,0,0"}), "--client: '1,2,2,4,0,0'" + client);
    EXPECT_EQ(refused({"--client", "1e300,0,0,1e300,0,0"}), "--client: '1e300,0,0,1e300,0,0'" + client);
    EXPECT_EQ(refused({"--client", "1e-300,0,0,1e-300,0,0"}), "--client: '1e-300,0,0,1e-300,0,0'" + client);
    EXPECT_EQ(refused({"--overlay", "x.jpg"}),
              "--overlay: 'x.jpg' is not allowed; allowed is a file name that ends in .svg or .png");
    EXPECT_EQ(refused({"--overlay", ".png"}),
              "--overlay: '.png' is not allowed; allowed is a file name that ends in .svg or .png");
    EXPECT_EQ(refused({"--json", ""}), "--json: '' is not allowed; allowed is a file name, or - for standard output");
}

TEST(CommandLine, AWidthOutsideItsRangeNamesTheRange) {
    EXPECT_EQ(refused({"--width", "10", "--range-x", "15,20"}),
              "--width: '10' is not allowed; allowed is 15 to 20 for X, as --range-x says");
    EXPECT_EQ(refused({"--width", "12,3", "--range-x", "12,12", "--range-y", "3.5,9"}),
              "--width: '3' is not allowed; allowed is 3.5 to 9 for Y, as --range-y says");
}

TEST(CommandLine, ADefaultWidthOutsideItsRangeIsCalledADefault) {
    EXPECT_EQ(refused({"--range-x", "15,20"}),
              "--width: is not given, and its default 10 is not allowed; allowed is 15 to 20 for X, as --range-x says");
    EXPECT_EQ(refused({"--range-y", "3,9"}),
              "--width: is not given, and its default 10 is not allowed; allowed is 3 to 9 for Y, as --range-y says");
}

TEST(CommandLine, AnOptionThatIsNearlyRightIsNamed) {
    const std::string allowed = " Allowed are --mode, --width, ";
    const auto beginning = [](const std::string& message) { return message.substr(0, message.find("--range-x")); };
    EXPECT_EQ(beginning(refused({"--widht", "20"})), "'--widht' is not an option, did you mean --width?" + allowed);
    EXPECT_EQ(beginning(refused({"--widths=20"})), "'--widths=20' is not an option, did you mean --width?" + allowed);
    EXPECT_EQ(beginning(refused({"--pol", "dark"})), "'--pol' is not an option, did you mean --polarity?" + allowed);
    EXPECT_EQ(
        refused({"--range", "1,2"}).rfind("'--range' is not an option, did you mean --range-x? Allowed are --mode", 0),
        0U);
    // Three letters away, and the beginning of no option.
    EXPECT_EQ(beginning(refused({"--wdxx", "20"})), "'--wdxx' is not an option; allowed are --mode, --width, ");
    // The beginning of several.
    EXPECT_EQ(beginning(refused({"--s", "20"})), "'--s' is not an option; allowed are --mode, --width, ");
    EXPECT_EQ(refusedCall({"blank", "--width", "9", "a.png"}).substr(0, 38), "'--width' is not an option; allowed ar");
}

TEST(CommandLine, MissingAndRepeatedValues) {
    EXPECT_EQ(refusedCall({"find", "a.png", "--width"}),
              "--width: its value is missing; allowed is X or X,Y, numbers greater than 0 (see qvstreet --help)");
    EXPECT_EQ(refusedCall({"find", "--json=", "a.png"}),
              "--json: its value is missing; allowed is a file name, or - for standard output (see qvstreet --help)");
    EXPECT_EQ(refusedCall({"find", "--max", "3", "--max", "3", "a.png"}),
              "--max: was given 2 times; allowed is once (see qvstreet --help)");
    EXPECT_EQ(refusedCall({"find", "--no-seconds", "a.png", "--no-seconds"}),
              "--no-seconds: was given 2 times; allowed is once (see qvstreet --help)");
    const std::string noValue = "--no-seconds: takes no value; allowed is the bare option (see qvstreet --help)";
    EXPECT_EQ(refusedCall({"find", "--no-seconds=false", "a.png"}), noValue);
    EXPECT_EQ(refusedCall({"find", "--no-seconds=", "a.png"}), noValue);
    EXPECT_EQ(refusedCall({"find", "a.png", "--width", "--no-seconds"}).find("takes no value"), std::string::npos);
}

TEST(CommandLine, UnknownOptionsAndSubcommands) {
    EXPECT_EQ(refused({"--bogus"}),
              "'--bogus' is not an option; allowed are --mode, --width, --range-x, --range-y, --sharpness, --polarity, "
              "--max, --client, --measure, --measure-reach, --measure-contrast, --json, --overlay, --trace, "
              "--files-from, --shard, --no-seconds, --help");
    EXPECT_EQ(refused({"-x"}).substr(0, 21), "'-x' is not an option");
    EXPECT_EQ(refused({"--wid", "3"}).substr(0, 24), "'--wid' is not an option");
    EXPECT_EQ(refusedCall({"bogus", "a.png"}),
              "'bogus' is not a subcommand; allowed are find, streets, angles, inspect and blank, --help and --version "
              "(see qvstreet --help)");
    EXPECT_EQ(refusedCall({"--mode", "ridge", "find", "a.png"}).substr(0, 30), "'--mode' is not an option here");
    EXPECT_EQ(refusedCall({}),
              "no subcommand was given; allowed are find, streets, angles, inspect and blank (see qvstreet --help)");
    EXPECT_EQ(refusedCall({"find"}), "no image was given; allowed is one or more image files, or --files-from");
    EXPECT_EQ(refusedCall({"find", "--"}), "no image was given; allowed is one or more image files, or --files-from");
}

TEST(CommandLine, HelpNamesEveryOptionAndStatusAndShowsExamples) {
    for (const char* subcommand : {"find", "streets", "angles"}) {
        const ParsedCommandLine parsed = parseCommandLine({subcommand, "--help"});
        EXPECT_FALSE(parsed.run);
        EXPECT_EQ(parsed.status, 0);
        EXPECT_EQ(parsed.message, "");
        for (const char* words :
             {"--mode", "--width", "--range-x", "--range-y", "--sharpness", "--polarity", "--max", "--client", "--json",
              "--overlay", "--files-from", "--shard", "--no-seconds", "Examples:", "Exit status: 0 ran", "BT.601"}) {
            EXPECT_NE(parsed.output.find(words), std::string::npos) << subcommand << " " << words;
        }
        EXPECT_NE(parsed.output.find(std::string("Usage: qvstreet ") + subcommand + " [OPTIONS] IMAGE..."),
                  std::string::npos);
    }
    EXPECT_NE(parseCommandLine({"--help"}).output.find("streets"), std::string::npos);
    EXPECT_EQ(parseCommandLine({"-h"}).output, parseCommandLine({"--help"}).output);
}

TEST(CommandLine, VersionIsPrinted) {
    EXPECT_EQ(parseCommandLine({"--version"}).output.substr(0, 9), "qvstreet ");
    EXPECT_EQ(parseCommandLine({"--version"}).status, 0);
}

TEST(OverlayPaths, TheExtensionTellsTheKindInEitherCase) {
    EXPECT_TRUE(isOverlayPath("a.svg"));
    EXPECT_TRUE(isOverlayPath("dir.x/a.PNG"));
    EXPECT_FALSE(isOverlayPath("a.svg.gz"));
    EXPECT_FALSE(isOverlayPath("svg"));
    EXPECT_TRUE(isSvgPath("a.SVG"));
    EXPECT_FALSE(isSvgPath("a.png"));
}

TEST(OverlayPaths, NameAndNumberAreFilledIn) {
    EXPECT_EQ(expandOverlayPath("out/{n}-{name}.svg", "lot/w.a.png", 12), "out/12-w.a.svg");
    EXPECT_EQ(expandOverlayPath("{name}{name}.svg", "x.png", 1), "xx.svg");
    // An image's own braces are not filled in.
    EXPECT_EQ(expandOverlayPath("{name}.svg", "{n}{name}.png", 3), "{n}{name}.svg");
}

TEST(OverlayPaths, SeveralImagesNeedAPlaceholder) {
    EXPECT_EQ(refusedCall({"find", "--overlay", "o.png", "a.png", "b.png"}),
              "--overlay: 'o.png' is one file for 2 images; allowed is a name with {name} or {n} in it");
    EXPECT_EQ(accepted({"find", "--overlay", "{name}-o.png", "a.png", "x/b.tif"}).overlays,
              (Arguments{"a-o.png", "b-o.png"}));
    EXPECT_EQ(accepted({"find", "--overlay", "{n}.svg", "a.png", "a.png"}).overlays, (Arguments{"1.svg", "2.svg"}));
    EXPECT_EQ(accepted({"find", "--overlay", "{name}.svg", "a.png"}).overlays, (Arguments{"a.svg"}));
}

TEST(OverlayPaths, TwoOutputsMustNotBeOneFile) {
    EXPECT_EQ(refusedCall({"find", "--overlay", "{name}.svg", "x/a.png", "y/a.png"}),
              "--overlay: 'a.svg' would be written for 'x/a.png' and for 'y/a.png'; allowed is a file of its own for "
              "each, for example with {n} in its name");
    EXPECT_EQ(refusedCall({"find", "--overlay", "o.svg", "--json", "./o.svg", "a.png"}),
              "--overlay: 'o.svg' would be written for --json and for 'a.png'; allowed is a file of its own for each, "
              "for example with {n} in its name");
}

TEST(OverlayPaths, AnImageIsNeverOverwritten) {
    const std::string image = testing::TempDir() + "qvstreet-precious.png";
    std::ofstream(image) << "pels";
    const std::string other = testing::TempDir() + "./qvstreet-precious.png";
    EXPECT_EQ(refusedCall({"find", "--overlay", other, image}),
              "--overlay: '" + other + "' is the image '" + image + "'; allowed is any other file");
    EXPECT_EQ(refusedCall({"find", "--json", other, image}),
              "--json: '" + other + "' is the image '" + image + "'; allowed is any other file");
    std::remove(image.c_str());
}
