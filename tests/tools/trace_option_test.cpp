// --trace: one file of text for all images of a call.
#include "tests/tools/subprocess.h"
#include "tools/command_line.h"
#include "tools/trace_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::Surroundings;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Arguments = std::vector<std::string>;

namespace {

const std::string kImage = QVSTREET_EXAMPLES "/wafer_edge.png";

class TraceOption : public testing::Test {
 protected:
    /// `find` with a trace into "t.trace".
    Outcome trace(const Arguments& images, const Surroundings& surroundings = {}) const {
        Arguments arguments = {"find", "--width", "30", "--trace", folder.path("t")};
        arguments.insert(arguments.end(), images.begin(), images.end());
        return runCommand(arguments, surroundings);
    }

    std::string traced() const { return readText(folder.path("t.trace")); }

    static std::string refused(const Arguments& arguments) { return qvtool::parseCommandLine(arguments).message; }

    TemporaryFolder folder;
};

json withoutSeconds(const std::string& text) {
    json document = json::parse(text);
    document.erase("seconds");
    return document;
}

std::size_t countOf(const std::string& words, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) ++count;
    return count;
}

}  // namespace

TEST_F(TraceOption, WritesTheTraceBesideTheSameResults) {
    const Outcome plain = runCommand({"find", "--width", "30", kImage});
    EXPECT_TRUE(folder.names().empty());
    const Outcome outcome = trace({kImage});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, plain.err);
    EXPECT_EQ(withoutSeconds(outcome.out), withoutSeconds(plain.out));
    EXPECT_EQ(folder.names(), (Arguments{"t.trace"}));
    EXPECT_EQ(traced().substr(0, 23), "\n%%Generate hpairs_\n\n\n%");
    EXPECT_EQ(countOf("%%Gen and score\n", traced()), 1U);
}

TEST_F(TraceOption, ReplacesTheTraceOfAnEarlierCall) {
    trace({kImage});
    const std::string once = traced();
    writeText(folder.path("t.trace"), once + "more");
    trace({kImage});
    EXPECT_EQ(traced(), once);
}

TEST_F(TraceOption, KeepsTheTracesOfAllImagesOneBehindTheOther) {
    trace({kImage});
    const std::string once = traced();
    EXPECT_EQ(trace({kImage, folder.path("missing.png"), kImage}).status, 1);
    EXPECT_EQ(traced(), once + once);
}

TEST_F(TraceOption, OfAnInspectionIsThatOfFind) {
    trace({kImage});
    const std::string once = traced();
    const Outcome outcome = runCommand(
        {"inspect", "--width", "30", "--report", folder.path("page.html"), "--trace", folder.path("t"), kImage});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(traced(), once);
}

TEST_F(TraceOption, LeavesAnEmptyFileWhereNothingIsWeighed) {
    const std::string path = folder.path("t");
    EXPECT_EQ(runCommand({"find", "--mode", "coarse", "--trace", path, kImage}).status, 0);
    EXPECT_EQ(traced(), "");
    for (const char* const subcommand : {"streets", "angles"}) {
        writeText(folder.path("t.trace"), "of an earlier call");
        EXPECT_EQ(runCommand({subcommand, "--trace", path, kImage}).status, 0);
        EXPECT_EQ(traced(), "");
    }
}

TEST_F(TraceOption, TakesNamesOfAnyBytes) {
    const std::string name = folder.path("\xC3\xA9t\xE9 'a' \xE2\x82\xAC");
    EXPECT_EQ(runCommand({"find", "--width", "30", "--trace", name, kImage}).status, 0);
    trace({kImage});
    EXPECT_EQ(readText(name + ".trace"), traced());
}

TEST_F(TraceOption, AFileThatCannotBeWrittenEndsTheCallBeforeItBegins) {
    const std::string path = folder.path("no/t");
    const Outcome outcome = runCommand({"find", "--trace", path, kImage});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "qvstreet: --trace: '" + path +
                  ".trace': cannot be written: No such file or directory; allowed is a file in an existing "
                  "folder with room and permission to write\n");

    std::filesystem::create_directory(folder.path("t.trace"));
    const Outcome directory = trace({kImage});
    EXPECT_EQ(directory.status, 4);
    EXPECT_NE(directory.err.find("Is a directory"), std::string::npos);
}

TEST_F(TraceOption, AFileWithoutRoomIsSaidAndTheResultsAreWrittenAllTheSame) {
    // More than the JSON, less than the trace.
    constexpr long kLimit = 20000;
    Surroundings surroundings;
    surroundings.fileSizeLimit = kLimit;
    const Outcome outcome = trace({"--max", "1", kImage}, surroundings);
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.err, "qvstreet: --trace: '" + folder.path("t.trace") +
                               "' does not hold the whole trace; allowed is a file with room for all of it\n");
    EXPECT_FALSE(json::parse(outcome.out).at("crossings").empty());
}

TEST_F(TraceOption, AFullDeviceIsSaidByFindAndByInspect) {
    std::filesystem::create_symlink("/dev/full", folder.path("t.trace"));
    const std::string message = "qvstreet: --trace: '" + folder.path("t.trace") +
                                "' does not hold the whole trace; allowed is a file with room for all of it\n";
    const Outcome found = trace({kImage});
    EXPECT_EQ(found.status, 4);
    EXPECT_EQ(found.err, message);
    const Outcome inspected = runCommand(
        {"inspect", "--width", "30", "--report", folder.path("page.html"), "--trace", folder.path("t"), kImage});
    EXPECT_EQ(inspected.status, 4);
    EXPECT_EQ(inspected.err.rfind(message, 0), 0U) << inspected.err;
    EXPECT_TRUE(std::filesystem::exists(folder.path("page.html")));
}

TEST_F(TraceOption, AnInspectionThatFillsTheFileIsSaidToo) {
    Surroundings surroundings;
    surroundings.fileSizeLimit = 4000;
    const Outcome outcome = runCommand(
        {"inspect", "--width", "30", "--report", folder.path("page.html"), "--trace", folder.path("t"), kImage},
        surroundings);
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.err.rfind("qvstreet: --trace: '" + folder.path("t.trace") + "' does not hold", 0), 0U)
        << outcome.err;
}

TEST_F(TraceOption, NeedsAPath) {
    EXPECT_EQ(refused({"find", "--trace=", "a.png"}),
              "--trace: its value is missing; allowed is a path in an existing folder, without .trace (see qvstreet "
              "--help)");
}

TEST_F(TraceOption, BelongsToTheSearches) {
    for (const char* const subcommand : {"find", "streets", "angles"}) {
        const qvtool::ParsedCommandLine parsed = qvtool::parseCommandLine({subcommand, "--trace", "t", "a.png"});
        EXPECT_TRUE(parsed.run);
        EXPECT_EQ(parsed.options.trace, "t");
    }
    EXPECT_EQ(qvtool::parseCommandLine({"inspect", "--report", "r.html", "--trace", "t", "a.png"}).options.trace, "t");
    EXPECT_EQ(qvtool::parseCommandLine({"find", "a.png"}).options.trace, "");
    EXPECT_NE(refused({"blank", "--street-width", "8", "--min-length", "9", "--trace", "t", "a.png"})
                  .find("'--trace' is not an option"),
              std::string::npos);
}

TEST_F(TraceOption, MustNotBeAnImageOrAnotherOutput) {
    const std::string image = folder.path("a.trace");
    writeText(image, "P5 1 1 255 x");
    EXPECT_EQ(refused({"find", "--trace", folder.path("a"), image}),
              "--trace: '" + image + "' is the image '" + image + "'; allowed is any other file");
    const std::string other = folder.path("b.trace");
    EXPECT_EQ(refused({"find", "--json", other, "--trace", folder.path("./b"), image}),
              "--trace: '" + folder.path("./b.trace") + "' is the file of --json too; allowed is any other file");
}
