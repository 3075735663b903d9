#include "tests/tools/subprocess.h"
#include "tools/command_line.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <sstream>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Names = std::vector<std::string>;

namespace {

/// An upright lane from column `at` on, 8 wide, in 90 by 60 pels.
std::string laneImage(int at) {
    std::string pgm = "P5\n90 60\n255\n";
    for (int i = 0; i < 90 * 60; ++i) pgm += i % 90 >= at && i % 90 < at + 8 ? '\xC8' : static_cast<char>(80 + i % 7);
    return pgm;
}

/// Five paths: three images, one that is missing between them, and one that is none.
class ListOfImages : public testing::Test {
 protected:
    ListOfImages() {
        writeText(folder.path("a.pgm"), laneImage(20));
        writeText(folder.path("b.pgm"), laneImage(41));
        writeText(folder.path("c.pgm"), laneImage(60));
        writeText(folder.path("text.png"), "no image");
        for (const char* name : {"a.pgm", "b.pgm", "missing.png", "c.pgm", "text.png"}) {
            paths.push_back(folder.path(name));
        }
        for (const std::string& path : paths) lines += path + "\n";
        writeText(list, lines);
    }

    Outcome angles(Names options) const {
        options.insert(options.begin(), {"angles", "--max", "2", "--no-seconds"});
        return runCommand(options);
    }

    /// What a call that only looks at its arguments makes of the list.
    qvtool::ParsedCommandLine parsed(Names options) const {
        options.insert(options.begin(), {"find", "--files-from", list});
        return qvtool::parseCommandLine(options);
    }

    TemporaryFolder folder;
    const std::string list = folder.path("list.txt");
    Names paths;
    std::string lines;
};

Names imagesIn(const std::string& jsonLines) {
    Names images;
    std::istringstream stream(jsonLines);
    for (std::string line; std::getline(stream, line);) images.push_back(json::parse(line)["image"]);
    return images;
}

}  // namespace

TEST_F(ListOfImages, GivesTheOutputOfTheSameImagesInTheCall) {
    const Outcome fromList = angles({"--files-from", list});
    const Outcome fromCall = angles(paths);
    EXPECT_EQ(fromList.status, 1);
    EXPECT_EQ(fromList.out, fromCall.out);
    EXPECT_EQ(fromList.err, fromCall.err);
    EXPECT_EQ(imagesIn(fromList.out), paths);
}

TEST_F(ListOfImages, MayComeThroughAPipe) {
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    qvtest::Surroundings surroundings;
    surroundings.whileRunning = [&](int) { writeText(pipe, lines); };
    EXPECT_EQ(imagesIn(runCommand({"angles", "--files-from", pipe}, surroundings).out), paths);
}

TEST_F(ListOfImages, OfOneImageGivesOneLine) {
    writeText(list, folder.path("a.pgm") + "\r\n");
    const Outcome outcome = angles({"--files-from", list});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find('\n'), outcome.out.size() - 1);
    EXPECT_EQ(angles({"--shard", "1/1", folder.path("a.pgm")}).out, outcome.out);
    EXPECT_NE(angles({folder.path("a.pgm")}).out.find('\n'), outcome.out.size() - 1);
}

TEST_F(ListOfImages, EmptyIsStatusZeroWithoutOutput) {
    writeText(list, "\n");
    const Outcome outcome = angles({"--files-from", list, "--overlay", folder.path("o.svg")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(angles({"--files-from", list, "--json", folder.path("o.jsonl")}).status, 0);
    EXPECT_EQ(readText(folder.path("o.jsonl")), "");
}

TEST_F(ListOfImages, ThatCannotBeReadIsAWrongCall) {
    const Outcome outcome = angles({"--files-from", folder.path("none"), "--json", folder.path("o.jsonl")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "qvstreet: --files-from: '" + folder.path("none") + "': cannot be opened: No such file or directory\n");
    EXPECT_EQ(
        angles({"--files-from", list, "more.png"}).err,
        "qvstreet: --files-from: '" + list + "' was given beside the image 'more.png'; allowed is one or the other\n");
}

TEST_F(ListOfImages, ThatNamesTenUnreadableImagesFirstIsDoubtedOnce) {
    const std::string doubt =
        "qvstreet: --files-from: '" + list +
        "': not one of its first 10 lines names an image that can be read: is this a list of paths? Allowed is a file "
        "with the path of one image in each line\n";
    const auto saysDoubt = [&](const std::string& text, const std::string& more) {
        writeText(list, text);
        const std::string err = angles({"--files-from", list, "--shard", "1/1"}).err;
        const std::size_t at = err.find(doubt);
        EXPECT_EQ(err.find(doubt, at == std::string::npos ? at : at + 1), std::string::npos) << more;
        return at != std::string::npos;
    };
    std::string nine;
    for (int i = 0; i < 9; ++i) nine += folder.path("none" + std::to_string(i)) + "\n";
    EXPECT_FALSE(saysDoubt(nine, "nine"));
    EXPECT_TRUE(saysDoubt(nine + "x\n", "ten"));
    EXPECT_TRUE(saysDoubt(nine + nine + nine, "twenty-seven"));
    EXPECT_FALSE(saysDoubt(folder.path("a.pgm") + "\n" + nine + nine, "a readable one first"));
    EXPECT_FALSE(saysDoubt(nine + folder.path("a.pgm") + "\n" + nine, "a readable one at the tenth place"));
}

TEST_F(ListOfImages, ItsShardsJoinedAreTheWhole) {
    const std::string whole = angles({"--files-from", list}).out;
    for (const int count : {1, 2, 3, 5, 7}) {
        std::string joined;
        for (int number = 1; number <= count; ++number) {
            joined +=
                angles({"--files-from", list, "--shard", std::to_string(number) + "/" + std::to_string(count)}).out;
        }
        EXPECT_EQ(joined, whole) << count;
    }
}

TEST_F(ListOfImages, AShardHasTheStatusOfItsOwnImages) {
    EXPECT_EQ(angles({"--files-from", list, "--shard", "1/3"}).status, 0);  // a
    EXPECT_EQ(angles({"--files-from", list, "--shard", "2/3"}).status, 1);  // b and the missing one
    EXPECT_EQ(angles({"--files-from", list, "--shard", "5/5"}).status, 3);  // the one that is none
    EXPECT_EQ(angles({"--files-from", list, "--shard", "1/6"}).status, 0);  // empty
}

TEST_F(ListOfImages, ImagesOfACallHaveShardsToo) {
    EXPECT_EQ(imagesIn(angles({"--shard", "2/2", paths[0], paths[1], paths[3]}).out), (Names{paths[1], paths[3]}));
}

TEST_F(ListOfImages, NumbersOfPicturesCountInTheWholeList) {
    const auto call = parsed({"--shard", "2/2", "--overlay", folder.path("{n}.svg")});
    ASSERT_TRUE(call.run) << call.message;
    EXPECT_EQ(call.options.images, (Names{paths[2], paths[3], paths[4]}));
    EXPECT_EQ(call.options.overlays, (Names{folder.path("3.svg"), folder.path("4.svg"), folder.path("5.svg")}));
}

TEST_F(ListOfImages, ShardsMustNotShareAPicture) {
    EXPECT_EQ(parsed({"--shard", "1/5", "--overlay", "o.svg"}).message,
              "--overlay: 'o.svg' is one file for 5 images; allowed is a name with {name} or {n} in it");
    writeText(list, "x/a.png\ny/a.png\n");
    EXPECT_EQ(parsed({"--shard", "2/2", "--overlay", "{name}.svg"}).message,
              "--overlay: 'a.svg' would be written for 'x/a.png' and for 'y/a.png'; allowed is a file of its own for "
              "each, for example with {n} in its name");
}

TEST_F(ListOfImages, NeitherTheListNorAnImageOfAnotherShardIsOverwritten) {
    EXPECT_EQ(parsed({"--json", list}).message,
              "--json: '" + list + "' is the file of --files-from '" + list + "'; allowed is any other file");
    EXPECT_EQ(parsed({"--shard", "1/5", "--json", folder.path("./c.pgm")}).message,
              "--json: '" + folder.path("./c.pgm") + "' is the image '" + paths[3] + "'; allowed is any other file");
    EXPECT_EQ(readText(list), lines);
}

TEST_F(ListOfImages, ALinkedOutputIsTheFileItLeadsTo) {
    writeText(folder.path("o.svg"), "an older picture");
    ASSERT_EQ(::symlink(folder.path("o.svg").c_str(), folder.path("link.svg").c_str()), 0);
    ASSERT_EQ(::symlink(folder.path().c_str(), folder.path("again").c_str()), 0);
    writeText(list, paths[0] + "\n");
    for (const char* name : {"link.svg", "again/link.svg", "again/o.svg", "again/../o.svg", "./o.svg"}) {
        EXPECT_EQ(parsed({"--json", folder.path(name), "--overlay", folder.path("o.svg")}).run,
                  std::string(name) == "again/../o.svg")
            << name;
    }
    EXPECT_EQ(parsed({"--json", folder.path("link.svg"), "--overlay", folder.path("o.svg")}).message,
              "--overlay: '" + folder.path("o.svg") + "' would be written for --json and for '" + paths[0] +
                  "'; allowed is a file of its own for each, for example with {n} in its name");
}

TEST_F(ListOfImages, AHundredThousandPathsAreCheckedAgainstEachOther) {
    std::string many;
    for (int i = 0; i < 100000; ++i) many += folder.path("no/") + std::to_string(i) + ".png\n";
    writeText(list, many + folder.path("no/99999.tif") + "\n");
    EXPECT_EQ(parsed({"--overlay", folder.path("{name}.svg")}).message,
              "--overlay: '" + folder.path("99999.svg") + "' would be written for '" + folder.path("no/99999.png") +
                  "' and for '" + folder.path("no/99999.tif") +
                  "'; allowed is a file of its own for each, for example with {n} in its name");
}

TEST_F(ListOfImages, NoSecondsLeavesOutTheTimesAndNothingElse) {
    for (const char* subcommand : {"find", "streets", "angles"}) {
        const Outcome with = runCommand({subcommand, "--mode", "coarse", folder.path("a.pgm")});
        const Outcome without = runCommand({subcommand, "--mode", "coarse", "--no-seconds", folder.path("a.pgm")});
        json document = json::parse(with.out);
        EXPECT_TRUE(document.contains("seconds"));
        document.erase("seconds");
        EXPECT_EQ(json::parse(without.out), document);
    }
}

TEST_F(ListOfImages, ServesBlankAndInspectToo) {
    writeText(list, paths[0] + "\n" + paths[1] + "\n");
    const Outcome blank = runCommand(
        {"blank", "--street-width", "8", "--min-length", "10", "--files-from", list, "--shard", "2/2", "--no-seconds"});
    EXPECT_EQ(blank.status, 0) << blank.err;
    EXPECT_EQ(imagesIn(blank.out), (Names{paths[1]}));
    EXPECT_FALSE(json::parse(blank.out).contains("seconds"));
    const Outcome inspect = runCommand({"inspect", "--mode", "coarse", "--width", "8", "--files-from", list, "--shard",
                                        "2/2", "--report", folder.path("{n}.html")});
    EXPECT_EQ(inspect.status, 0) << inspect.err;
    EXPECT_EQ(inspect.out, "");
    EXPECT_EQ(readText(folder.path("2.html")).substr(0, 15), "<!DOCTYPE html>");
}
