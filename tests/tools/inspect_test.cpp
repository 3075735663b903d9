#include "tools/inspection.h"

#include "tests/tools/subprocess.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

using nlohmann::json;
using qvtest::Outcome;
using qvtest::readText;
using qvtest::runCommand;
using qvtest::Surroundings;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using qvtool::findingsOf;
using qvtool::firstFailure;
using qvtool::Inspection;
using qvtool::parseCommandLine;
using qvtool::verdictOf;
using Names = std::vector<std::string>;

namespace {

const std::string kSample = std::string(QVSTREET_EXAMPLES) + "/wafer_coarse.png";
const std::string kStrip = std::string(QVSTREET_EXAMPLES) + "/street_strip.png";

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

qvDiagTable tableOf(const wchar_t* label, std::vector<std::wstring> heading,
                    std::vector<std::vector<std::wstring>> rows) {
    qvDiagTable table;
    table.label = label;
    table.heading = std::move(heading);
    table.rows = std::move(rows);
    return table;
}

/// Records as the stages leave them, as far as the findings are read from them.
class Findings : public testing::Test {
 protected:
    qvDiagRecord& record(const wchar_t* title) {
        qvDiagRecord& made = records.newDiagRecord();
        made.recordAnnotation(title);
        return made;
    }

    void lines(const wchar_t* kept0, const wchar_t* kept1) {
        record(L"Response, direction 0").text(L"5 ridges, 3 lines", L"Found");
        record(L"Response, direction 1").text(L"0 ridges, 0 lines", L"Found");
        qvDiagRecord& made = record(L"Lines");
        made.text(kept0, L"Lines, direction 0");
        made.text(kept1, L"Lines, direction 1");
        made.table(tableOf(L"Lines, direction 0", {L"line", L"length", L"longer than", L"use"},
                           {{L"", L"61.5000", L"72.0000", L"dropped: too short"}}));
        made.table(tableOf(L"Lines, direction 1", {L"line", L"length", L"longer than", L"use"}, {}));
    }

    void candidates(const wchar_t* pairs0, const wchar_t* pairs1, const wchar_t* crosses) {
        qvDiagRecord& made = record(L"Candidates");
        made.text(L"X 5 to 15, Y 6 to 18 client units", L"Street widths");
        made.table(tableOf(L"Counts", {L"stage", L"direction 0", L"direction 1", L"at most"},
                           {{L"lines", L"4", L"7", L""}, {L"pairs of edges", pairs0, pairs1, L"1000"}}));
        made.table(tableOf(L"Crosses", {L"kind", L"number"}, {{L"of eight lines", L"0"}, {L"of four lines", crosses}}));
    }

    qvDiagObject records;
};

}  // namespace

TEST_F(Findings, NothingIsMadeUpWithoutRecords) {
    EXPECT_TRUE(findingsOf(records).empty());
    EXPECT_EQ(firstFailure(records), "");
    Inspection nothing;
    EXPECT_EQ(verdictOf(nothing),
              "No crossing found, 0 single streets. The stages below show what became of the lines.");
}

TEST_F(Findings, ADirectionWhoseLinesAreAllTooShortIsTheFirstFailure) {
    lines(L"0 of 1 are longer than 72.0000 client units", L"0 of 0 are longer than 50.0000 client units");
    EXPECT_EQ(firstFailure(records),
              "No line of direction 0 (flat) survived the length limit: the longest measures 61.5 client units, and "
              "more than 72 are needed.");
}

TEST_F(Findings, ADirectionWithoutAnyLineIsTheFirstFailure) {
    lines(L"1 of 3 are longer than 72.0000 client units", L"0 of 0 are longer than 50.0000 client units");
    EXPECT_EQ(firstFailure(records),
              "No line of direction 1 (upright) was found: its filtered image gave 0 ridges, 0 lines.");
}

TEST_F(Findings, APolarityThatNoLineHasIsTheFirstFailureBehindTheLines) {
    lines(L"3 of 3 are longer", L"2 of 2 are longer");
    record(L"Polarity Test, direction 0").text(L"2 of 3 lines pass", L"Found");
    qvDiagRecord& test = record(L"Polarity Test, direction 1");
    test.text(L"dark streets: darker than both sides", L"Polarity asked for");
    test.text(L"0 of 3 lines pass", L"Found");
    test.table(tableOf(L"Lines", {L"line", L"verdict", L"use"},
                       {{L"0", L"2: light", L""}, {L"1", L"0: undecided", L""}, {L"2", L"2: light", L""}}));
    EXPECT_EQ(
        firstFailure(records),
        "No line of direction 1 (upright) passed the polarity test; asked for were dark streets: darker than both "
        "sides, but of 3 lines 0 are dark and 2 light.");
}

TEST_F(Findings, EdgesThatMakeNoStreetAreTheFirstFailureOfEdgeMode) {
    candidates(L"2", L"0", L"0");
    EXPECT_EQ(firstFailure(records),
              "No two lines of direction 1 (upright) are as far apart as the two edges of a street; allowed widths are "
              "X 5 to 15, Y 6 to 18 client units.");
}

TEST_F(Findings, EdgesThatTheOverlapTestRefusedAreNotTakenForAWrongWidth) {
    candidates(L"2", L"0", L"0");
    qvDiagRecord& made = records.diagRecord(records.numRecords() - 1);
    made.text(L"1 pair; their lines do not lie beside each other", qvtool::refusedPairsLabel(1));
    EXPECT_EQ(
        firstFailure(records),
        "All pairs of lines of direction 1 (upright) that are as far apart as the two edges of a street were refused "
        "by the overlap test: 1 pair; their lines do not lie beside each other.");
}

TEST_F(Findings, StreetsThatMakeNoCrossAreTheLastFailure) {
    candidates(L"2", L"1", L"0");
    EXPECT_EQ(firstFailure(records),
              "The streets of the two directions make no cross: their angles or widths do not fit.");
}

TEST_F(Findings, CrossesThatWereMadeAreNoFailure) {
    candidates(L"2", L"1", L"12");
    EXPECT_EQ(firstFailure(records), "");
}

TEST_F(Findings, EachStageHasALine) {
    qvDiagRecord& directions = record(L"Street Directions");
    directions.text(L"The pair nearest to a right angle", L"Choice");
    directions.text(L"1.5000 degrees", L"Direction 0, nearer the horizontal");
    directions.text(L"-89.0000 degrees", L"Direction 1, nearer the vertical");
    directions.table(tableOf(L"Angles", {L"angle", L"use"},
                             {{L"1.5", L"direction 0"}, {L"-89", L"direction 1"}, {L"30", L"too weak"}}));
    lines(L"2 of 3 are longer than 72.0000 client units", L"1 of 4 are longer than 50.0000 client units");
    candidates(L"2", L"1", L"12");
    record(L"Final Scores")
        .table(tableOf(L"Crosses", {L"rank", L"use"}, {{L"1", L"kept"}, {L"2", L"dropped: nearer than 5"}}));
    const Names findings = findingsOf(records);
    ASSERT_EQ(findings.size(), 6U);
    EXPECT_EQ(findings[0],
              "Street directions: The pair nearest to a right angle; flat at 1.5 degrees, upright at -89 degrees; "
              "2 of 3 angles are strong enough");
    EXPECT_EQ(findings[1], "direction 0 (flat): 5 ridges, 3 lines; 2 of 3 are longer than 72 client units");
    EXPECT_EQ(findings[3], "Edges to streets (flat and upright): lines 4 and 7; pairs of edges 2 and 1");
    EXPECT_EQ(findings[4], "Crosses: 0 of eight lines; 12 of four lines");
    EXPECT_EQ(findings[5], "Final selection: 1 of 2 crosses are kept");
}

TEST_F(Findings, TheVerdictCountsAndARefusalGoesFirst) {
    Inspection inspection;
    inspection.results.crossings.resize(1);
    inspection.results.singleStreets.resize(2);
    EXPECT_EQ(verdictOf(inspection), "1 crossing and 2 single streets found.");
    inspection.refusal = "was refused by the finder: no";
    EXPECT_EQ(verdictOf(inspection), "The image was refused by the finder: no.");
}

TEST(InspectCommandLine, TakesTheOptionsOfFindAndAReport) {
    const auto parsed =
        parseCommandLine({"inspect", "a.png", "--report", "a.html", "--mode", "coarse", "--width", "7"});
    ASSERT_TRUE(parsed.run) << parsed.message;
    EXPECT_EQ(parsed.options.reports, Names{"a.html"});
    EXPECT_EQ(parsed.options.json, "") << "JSON only where it is asked for";
    EXPECT_EQ(parsed.options.widthX, 7.0);
    EXPECT_EQ(parseCommandLine({"inspect", "a.png", "--report", "a.html", "--json", "-"}).options.json, "-");
}

TEST(InspectCommandLine, TheReportIsRequired) {
    const auto parsed = parseCommandLine({"inspect", "a.png"});
    EXPECT_EQ(parsed.status, 2);
    EXPECT_EQ(parsed.message, "--report: is required by inspect; allowed is a file name that ends in .html");
}

TEST(InspectCommandLine, TheReportEndsInHtml) {
    EXPECT_EQ(parseCommandLine({"inspect", "a.png", "--report", "a.htm"}).message,
              "--report: 'a.htm' is not allowed; allowed is a file name that ends in .html");
    EXPECT_TRUE(parseCommandLine({"inspect", "a.png", "--report", "a.HTML"}).run);
}

TEST(InspectCommandLine, FindHasNoReport) {
    EXPECT_EQ(parseCommandLine({"find", "a.png", "--report", "a.html"}).status, 2);
    EXPECT_TRUE(
        parseCommandLine({"blank", "--street-width", "9", "--min-length", "9", "--report", "r.html", "a.png"}).run);
}

TEST(InspectCommandLine, SeveralImagesNeedAPageEach) {
    EXPECT_EQ(parseCommandLine({"inspect", "a.png", "b.png", "--report", "r.html"}).message,
              "--report: 'r.html' is one file for 2 images; allowed is a name with {name} or {n} in it");
    EXPECT_EQ(parseCommandLine({"inspect", "a.png", "b.png", "--report", "{n}{name}.html"}).options.reports,
              (Names{"1a.html", "2b.html"}));
}

TEST(InspectCommandLine, ThePageIsNoOtherOutput) {
    const auto parsed = parseCommandLine({"inspect", "a.png", "--report", "x.html", "--json", "x.html"});
    EXPECT_EQ(parsed.status, 2);
    EXPECT_EQ(
        parsed.message,
        "--report: 'x.html' would be written for --json and for 'a.png'; allowed is a file of its own for each, for "
        "example with {n} in its name");
}

TEST(InspectCommand, WritesThePageAndSaysWhere) {
    const TemporaryFolder folder;
    const std::string page = folder.path("page.html");
    const Outcome outcome = runCommand({"inspect", kSample, "--mode", "coarse", "--width", "20", "--report", page});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "qvstreet: '" + kSample + "': 16 crossings and 8 single streets found. The page is '" + page + "'.\n");
    const std::string html = readText(page);
    EXPECT_EQ(html.rfind("<!DOCTYPE html>", 0), 0U);
    EXPECT_EQ(html.substr(html.size() - 8), "</html>\n");
    for (const char* title : {"Sampled Square</h2>", "Spectrum</h2>", "Angle Profile</h2>", "Lines</h2>"}) {
        EXPECT_TRUE(contains(html, title)) << title;
    }
    EXPECT_TRUE(contains(html, "<td>--width</td><td>20, 20</td>"));
    EXPECT_TRUE(contains(html, "<caption>Time of each stage</caption>"));
}

TEST(InspectCommand, GivesTheJsonOfFind) {
    const TemporaryFolder folder;
    const Names options = {kSample, "--mode", "coarse", "--width", "20", "--json", "-"};
    Names find = {"find"};
    find.insert(find.end(), options.begin(), options.end());
    Names inspect = {"inspect", "--report", folder.path("p.html")};
    inspect.insert(inspect.end(), options.begin(), options.end());
    json expected = json::parse(runCommand(find).out);
    json actual = json::parse(runCommand(inspect).out);
    ASSERT_TRUE(actual["seconds"].contains("setImage") && actual["seconds"].contains("find"));
    expected.erase("seconds");
    actual.erase("seconds");
    EXPECT_EQ(actual, expected);
}

TEST(InspectCommand, ARefusedImageHasAPageThatSaysWhy) {
    const TemporaryFolder folder;
    const std::string page = folder.path("page.html");
    const Outcome outcome = runCommand({"inspect", kSample, "--client", "0,-1,1,0,0,0", "--report", page});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(readText(page), "The image was refused by the finder: "));
}

TEST(InspectCommand, AnImageThatLeavesNothingToSampleIsRefusedWithItsSize) {
    const TemporaryFolder folder;
    writeText(folder.path("tiny.pgm"), "P5 5 4 255\n01234567890123456789");
    const Outcome outcome = runCommand({"inspect", folder.path("tiny.pgm"), "--report", folder.path("page.html")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome.err,
                         "was refused by the finder: the matrix has no inverse (the image has 5 x 4 pels; sides of 5 "
                         "pels leave nothing to sample, allowed are all others)"))
        << outcome.err;
}

TEST(InspectCommand, RemarksStandBelowTheVerdictAndInTheMessage) {
    const TemporaryFolder folder;
    const std::string page = folder.path("page.html");
    const Outcome outcome =
        runCommand({"inspect", kSample, "--mode", "coarse", "--width", "20", "--max", "16", "--report", page});
    EXPECT_EQ(outcome.err,
              "qvstreet: '" + kSample +
                  "': 16 crossings and 8 single streets found. There are as many crossings as --max allows, so there "
                  "may be more. The page is '" +
                  page + "'.\n");
    EXPECT_TRUE(
        contains(readText(page), "found.</p>\n<p class=\"remark\">There are as many crossings as --max allows"));
}

TEST(InspectCommand, APageThatCannotBeWrittenLeavesNothingAndEndsWithFour) {
    const TemporaryFolder folder;
    Surroundings small;
    small.fileSizeLimit = 50000;
    const Outcome outcome = runCommand({"inspect", kSample, "--report", folder.path("page.html")}, small);
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(folder.names(), Names{});
    EXPECT_TRUE(contains(outcome.err, "qvstreet: --report: ")) << outcome.err;
    EXPECT_EQ(runCommand({"inspect", kSample, "--report", folder.path("none/page.html")}).status, 4);
}

TEST(InspectCommand, EachImageHasItsPageWhateverHappensToTheOthers) {
    const TemporaryFolder folder;
    writeText(folder.path("broken.png"), "no image");
    const Outcome outcome = runCommand({"inspect", folder.path("broken.png"), kSample, "--mode", "coarse", "--report",
                                        folder.path("{n}_{name}.html")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(folder.names(), (Names{"2_wafer_coarse.html", "broken.png"}));
}

TEST(BlankReport, ShowsTheStagesOfTheSearch) {
    const TemporaryFolder folder;
    const std::string page = folder.path("page.html");
    const Names call = {"blank", kStrip, "--street-width", "64", "--min-length", "110"};
    Names withPage = call;
    withPage.insert(withPage.end(), {"--report", page});
    const Outcome outcome = runCommand(withPage);
    EXPECT_EQ(outcome.status, 0);
    json expected = json::parse(runCommand(call).out);
    json actual = json::parse(outcome.out);
    expected.erase("seconds");
    actual.erase("seconds");
    EXPECT_EQ(actual, expected);
    const std::string html = readText(page);
    for (const char* part :
         {"3 blank regions found.", "2. Foreground</h2>", "3. Regional Deviation</h2>", "<dt>Threshold</dt>",
          "Coarse regions <kbd>1</kbd>", "10. Results</h2>", "<td>--street-width</td><td>64</td>"}) {
        EXPECT_TRUE(contains(html, part)) << part;
    }
}

TEST(BlankReport, SaysThatTheOnlyCandidateWasRejected) {
    const TemporaryFolder folder;
    // A lone bright cross on dark ground, hardly larger than the window.
    std::string pgm = "P5 40 30 255\n";
    for (long y = 0; y < 30; ++y) {
        for (long x = 0; x < 40; ++x) {
            pgm += static_cast<char>((x > 12 && x < 18) || (y > 10 && y < 16) ? 200 : 60);
        }
    }
    writeText(folder.path("cross.pgm"), pgm);
    const std::string page = folder.path("page.html");
    const Outcome outcome =
        runCommand({"blank", folder.path("cross.pgm"), "--street-width", "20", "--min-length", "20", "--report", page});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(contains(readText(page),
                         "No blank region found: the only coarse region was rejected, as shorter than wanted once the "
                         "ends were set, too uneven, or of a grey without weight."));
}

TEST(BlankReport, SaysWhyNothingWasFound) {
    const TemporaryFolder folder;
    const std::string page = folder.path("page.html");
    const Outcome outcome =
        runCommand({"blank", kStrip, "--street-width", "64", "--min-length", "2000", "--report", page});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(contains(readText(page), "class=\"verdict bad\">No blank region found: "));
}
