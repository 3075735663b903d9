// The text that a search traces: the whole of it for one small scene, and whether GNU Octave can read it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "qvstreet/candidates/cross_pairs.h"
#include "qvstreet/candidates/eight_line_crosses.h"
#include "qvstreet/platform/text.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/candidates/literal_cross.h"
#include "tests/streetfinder/tracing_finder.h"

namespace {

using qvtest::brokenEdgesParams;
using qvtest::brokenEdgesWafer;
using qvtest::Crossings;
using qvtest::crossingsFrom;
using qvtest::TracingFinder;
using Table = std::vector<std::vector<double>>;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// A text taken apart: what stands between its numbers, a `#` for each of them, and the numbers as they are written.
class Parsed {
 public:
    explicit Parsed(const std::string& text) : text_(text) {
        while (next_ < text_.size()) {
            const std::size_t start = next_;
            skipNumber();
            if (next_ > start) {
                numbers.push_back(text_.substr(start, next_ - start));
                frame += '#';
            } else {
                frame += text_[next_++];
            }
        }
    }

    std::string frame;
    std::vector<std::string> numbers;

 private:
    char at(std::size_t index) const { return index < text_.size() ? text_[index] : '\0'; }
    void skipDigits() {
        while (isDigit(at(next_))) ++next_;
    }
    /// Digits with or without a sign, a fraction and an exponent.
    void skipNumber() {
        if (at(next_) == '-' && isDigit(at(next_ + 1))) ++next_;
        if (!isDigit(at(next_))) return;
        skipDigits();
        if (at(next_) == '.' && isDigit(at(next_ + 1))) {
            ++next_;
            skipDigits();
        }
        const bool hasExponent =
            at(next_) == 'e' && (at(next_ + 1) == '-' || at(next_ + 1) == '+') && isDigit(at(next_ + 2));
        if (!hasExponent) return;
        next_ += 2;
        skipDigits();
    }

    std::string text_;
    std::size_t next_ = 0;
};

/// Ten digits of a number that went through a chain of roundings; another mathematics library may move the last ones.
bool isSameNumber(const std::string& a, const std::string& b) {
    const double difference = std::fabs(std::stod(a) - std::stod(b));
    return a == b || difference <= 1e-8 * std::fabs(std::stod(a)) || difference < 1e-9;
}

void append(std::vector<double>& row, const qvLineSeg& segment) {
    for (const qvVector<2>& end : {segment.p1(), segment.p2()}) {
        row.push_back(end.x());
        row.push_back(end.y());
    }
}

/// Centre, score and the eight segments of each.
Table tableOfCrosses(const Crossings& results) {
    Table table;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        table.push_back({result.crossing().x(), result.crossing().y(), result.score()});
        for (const qvLineSeg& segment : result.lineSegs()) append(table.back(), segment);
    }
    return table;
}

/// Score, the flat line and the upright one of each.
Table tableOfLineCrossings(const Crossings& results) {
    Table table;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        table.push_back({result.score()});
        append(table.back(), result.lineSegs().at(1));
        append(table.back(), result.lineSegs().at(0));
    }
    return table;
}

void expectSameTable(const Table& table, const Table& expected) {
    ASSERT_EQ(table.size(), expected.size());
    for (std::size_t row = 0; row < table.size(); ++row) {
        ASSERT_EQ(table[row].size(), expected[row].size()) << "row " << row;
        for (std::size_t column = 0; column < table[row].size(); ++column)
            EXPECT_NEAR(table[row][column], expected[row][column], 1e-9 * (1.0 + std::fabs(expected[row][column])))
                << "row " << row << ", column " << column;
    }
}

/// GNU Octave with a trace, where there is one on this machine.
class TraceInOctave : public qvtest::InFolder {
 protected:
    void SetUp() override {
        if (std::system("command -v octave-cli >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "octave-cli is not installed: no trace was read by a numeric scripting tool";
        // The line "Found pair: 3 4" is a command to Octave; this one takes it.
        write("Found.m",
              "function Found(varargin)\nglobal found\nfound(end+1,:) = str2double(varargin(2:end));\nend\n");
    }

    /// The standard output of a script that runs in the folder; what Octave complains of is part of it.
    std::string outputOf(const std::string& script) const {
        write("script.m", script);
        const std::string command =
            "cd '" + folder().string() + "' && octave-cli --no-gui --norc --no-history --quiet script.m 2>&1";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
        std::string output;
        std::array<char, 4096> part{};
        while (pipe && std::fgets(part.data(), static_cast<int>(part.size()), pipe.get()) != nullptr)
            output += part.data();
        return output;
    }

    /// A matrix of the script's workspace after the trace ran as a script.
    Table matrixOf(const std::string& trace, const std::string& variable) const {
        const std::string output = outputOf("global found = zeros(0, 2);\nsource('" + trace +
                                            "');\nglobal found\nprintf('MATRIX %d %d', size(" + variable +
                                            "));\nprintf(' %.17g', " + variable + "');\nprintf(' END\\n');\n");
        std::size_t start = output.find("MATRIX ");
        if (start != 0 || output.find(" END\n") == std::string::npos) {
            ADD_FAILURE() << "the trace does not run as a script: " << output;
            return {};
        }
        const char* next = output.c_str() + std::string("MATRIX ").size();
        const auto number = [&next] {
            char* end = nullptr;
            const double value = std::strtod(next, &end);
            next = end;
            return value;
        };
        const auto rows = static_cast<std::size_t>(number());
        const auto columns = static_cast<std::size_t>(number());
        Table table(rows, std::vector<double>(columns));
        for (std::vector<double>& row : table)
            for (double& element : row) element = number();
        return table;
    }
};

class TraceText : public qvtest::InFolder {};

}  // namespace

TEST_F(TraceText, OfASmallSceneIsTheStoredOne) {
    TracingFinder finder(brokenEdgesParams());
    finder.setImage(brokenEdgesWafer().image());
    finder.customize(traceInto("a"));
    EXPECT_EQ(crossingsFrom(finder).size(), 1U);

    const Parsed traced(contentOf("a.trace"));
    const Parsed stored(contentOfFile(QVSTREET_TRACES "/two_broken_streets.trace"));
    EXPECT_EQ(traced.frame, stored.frame);
    ASSERT_EQ(traced.numbers.size(), stored.numbers.size());
    EXPECT_GT(traced.numbers.size(), 250U);
    for (std::size_t i = 0; i < traced.numbers.size(); ++i)
        EXPECT_TRUE(isSameNumber(traced.numbers[i], stored.numbers[i]))
            << traced.numbers[i] << " instead of " << stored.numbers[i] << ", number " << i;
}

TEST_F(TraceText, NumbersAreWrittenWithTenSignificantDigits) {
    TracingFinder finder(brokenEdgesParams());
    finder.setImage(brokenEdgesWafer().image());
    finder.customize(traceInto("a"));
    crossingsFrom(finder);
    std::size_t longest = 0;
    for (const std::string& number : Parsed(contentOf("a.trace")).numbers) {
        const std::wstring text = qfStr(std::stod(number));
        EXPECT_EQ(std::wstring(number.begin(), number.end()), text);
        longest = std::max(longest, number.size());
    }
    EXPECT_GE(longest, 11U);
}

TEST_F(TraceText, IsTheSameForTheSameImageInAnotherFinder) {
    for (const char* const name : {"a", "b"}) {
        TracingFinder finder(brokenEdgesParams());
        finder.customize(traceInto(name));
        finder.setImage(brokenEdgesWafer().image());
        crossingsFrom(finder);
    }
    EXPECT_EQ(contentOf("a.trace"), contentOf("b.trace"));
}

TEST_F(TraceInOctave, ASearchRunsAsAScriptAndItsTableHoldsTheLinesOfTheCross) {
    TracingFinder finder(brokenEdgesParams());
    finder.setImage(brokenEdgesWafer().image());
    finder.customize(traceInto("a"));
    crossingsFrom(finder);

    const Table table = matrixOf("a.trace", "res");
    ASSERT_EQ(table.size(), 1U);
    ASSERT_EQ(table[0].size(), 35U);
    // The middle and the score are the first fit's; the search weighs the cross again behind it.
    EXPECT_NEAR(table[0][0], 180.0, 0.1);
    EXPECT_NEAR(table[0][1], 165.0, 0.1);
    const std::vector<std::vector<qvLineFinderResults>>& lines = qf_finderRecord(finder).lines;
    std::vector<double> ends;
    // Above, below, left and right; of each the two edges.
    const std::size_t order[8][2] = {{1, 0}, {1, 1}, {1, 3}, {1, 2}, {0, 0}, {0, 2}, {0, 1}, {0, 3}};
    for (const auto& [direction, index] : order) append(ends, lines.at(direction).at(index).segment());
    expectSameTable({std::vector<double>(table[0].begin() + 3, table[0].end())}, {ends});
}

TEST_F(TraceInOctave, TheFoundPairsAreCommandsThatAFunctionCanCollect) {
    TracingFinder finder(brokenEdgesParams());
    finder.setImage(brokenEdgesWafer().image());
    finder.customize(traceInto("a"));
    crossingsFrom(finder);
    expectSameTable(matrixOf("a.trace", "found"), {{2.0, 3.0}, {0.0, 1.0}, {4.0, 5.0}, {7.0, 6.0}});
}

TEST_F(TraceInOctave, TheTableOfEightLineCrossesHoldsTheResults) {
    const std::vector<qv_ridgeLine> lines = flatLines(unevenCross());
    qv_candidateStore store;
    store.vquads_ = {{{4, 5, 0.0}, {6, 7, 0.0}}};
    store.hquads_ = {{{1, 3, 0.0}, {0, 2, 0.0}}};
    qv_candidateContext context;
    context.maxResults = 5;
    context.tolerances = tolerancesOf(30.0, 20.0);
    context.scoreWeights = kEdgeWeights;
    Crossings results;
    qv_streetTrace trace;
    trace.enabled = true;
    const std::string name = path("stage.trace");
    nameTraceFile(trace, std::wstring(name.begin(), name.end()));
    genAndScore(store, results, lines, context, &trace);
    ASSERT_EQ(results.size(), 1U);
    expectSameTable(matrixOf("stage.trace", "res"), tableOfCrosses(results));
}

TEST_F(TraceInOctave, TheTableOfLineCrossingsHoldsTheResults) {
    const std::vector<qv_ridgeLine> lines = flatLines(
        {{10.0, 40.0, 190.0, 41.0}, {15.0, 90.0, 180.0, 91.0}, {50.0, 5.0, 52.0, 115.0}, {130.0, 8.0, 131.0, 110.0}});
    qv_candidateStore store;
    qv_candidateContext context;
    context.maxResults = 10;
    context.imageSize = qvPair<long>(200, 120);
    context.scoreWeights = kEdgeWeights;
    Crossings results;
    qv_streetTrace trace;
    trace.enabled = true;
    const std::string name = path("stage.trace");
    nameTraceFile(trace, std::wstring(name.begin(), name.end()));
    generateXcands(store, results, lines, {2, 2}, context, &trace);
    ASSERT_EQ(results.size(), 4U);
    expectSameTable(matrixOf("stage.trace", "res"), tableOfLineCrossings(results));
}

TEST_F(TraceInOctave, ASearchWithoutACrossHasAnEmptyTable) {
    TracingFinder finder(brokenEdgesParams());
    finder.setImage(qvtest::uniformImage(200, 150, 90));
    finder.customize(traceInto("a"));
    crossingsFrom(finder);
    EXPECT_TRUE(matrixOf("a.trace", "res").empty());
}

TEST_F(TraceInOctave, OfTwoSearchesInOneFileTheLastTableStays) {
    TracingFinder finder(brokenEdgesParams());
    finder.customize(traceInto("a"));
    finder.setImage(qvtest::uniformImage(200, 150, 90));
    crossingsFrom(finder);
    finder.setImage(brokenEdgesWafer().image());
    crossingsFrom(finder);
    EXPECT_EQ(matrixOf("a.trace", "res").size(), 1U);
}
