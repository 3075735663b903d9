// The switch of the trace, and what it does to files.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/streetfinder/tracing_finder.h"

namespace {

using qvtest::brokenEdgesParams;
using qvtest::brokenEdgesWafer;
using qvtest::crossingsFrom;
using qvtest::numbersOf;
using qvtest::TracingFinder;

const qv_streetTrace* traceOf(const qvStreetFinder& finder) { return qf_finderRecord(finder).trace.get(); }

std::string narrowNameOf(const qvStreetFinder& finder) {
    const std::vector<char>& name = traceOf(finder)->narrowName;
    return std::string(name.begin(), name.end());
}

class Customize : public qvtest::InFolder {
 protected:
    /// A finder with an image.
    Customize() : finder_(brokenEdgesParams()) { finder_.setImage(brokenEdgesWafer().image()); }

    std::size_t filesInFolder() const {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder())) ++count;
        return count;
    }

    TracingFinder finder_;
};

/// The working folder is the given one as long as the object lives.
class WorkingFolder {
 public:
    explicit WorkingFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~WorkingFolder() { std::filesystem::current_path(former_); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
    const std::filesystem::path former_ = std::filesystem::current_path();
};

}  // namespace

TEST_F(Customize, ANewFinderHasNoTrace) { EXPECT_EQ(traceOf(finder_), nullptr); }

TEST_F(Customize, StringsShorterThanTwoDoNothing) {
    for (const wchar_t* const option : {L"", L"D", L"P"}) finder_.customize(option);
    EXPECT_EQ(traceOf(finder_), nullptr);
    finder_.customize(traceInto("a"));
    for (const wchar_t* const option : {L"", L"D", L"O"}) finder_.customize(option);
    EXPECT_NE(traceOf(finder_), nullptr);
}

TEST_F(Customize, SwitchingOffWithoutARecordDoesNothing) {
    finder_.customize(L"DO");
    EXPECT_EQ(traceOf(finder_), nullptr);
}

TEST_F(Customize, OtherStringsAreIgnored) {
    const WorkingFolder inFolder(folder());
    const std::vector<std::wstring> others = {L"dp a", L" DP a", L"DX a", L"PD a", L"OD",
                                              L"do",   L"DO ",   L"DOO",  L" DO"};
    for (const std::wstring& option : others) finder_.customize(option);
    EXPECT_EQ(traceOf(finder_), nullptr);
    EXPECT_EQ(filesInFolder(), 0U);

    finder_.customize(traceInto("a"));
    for (const std::wstring& option : others) finder_.customize(option);
    ASSERT_NE(traceOf(finder_), nullptr);
    EXPECT_EQ(narrowNameOf(finder_), path("a.trace"));
}

TEST_F(Customize, SwitchingOnMakesARecordWithTheNameAndAnEmptyClosedFile) {
    finder_.customize(traceInto("a"));
    ASSERT_NE(traceOf(finder_), nullptr);
    EXPECT_TRUE(traceOf(finder_)->enabled);
    EXPECT_FALSE(traceOf(finder_)->stream.is_open());
    const std::string name = path("a.trace");
    EXPECT_EQ(narrowNameOf(finder_), name);
    EXPECT_EQ(traceOf(finder_)->wideName, std::wstring(name.begin(), name.end()));
    EXPECT_TRUE(exists("a.trace"));
    EXPECT_EQ(contentOf("a.trace"), "");
}

TEST_F(Customize, SwitchingOnEmptiesAFileThatIsThere) {
    write("a.trace", "of yesterday");
    write("a", "not the trace");
    finder_.customize(traceInto("a"));
    EXPECT_EQ(contentOf("a.trace"), "");
    EXPECT_EQ(contentOf("a"), "not the trace");
}

TEST_F(Customize, TheThirdCharacterIsSkippedWhateverItIs) {
    for (const wchar_t third : {L' ', L'X', L'/', L'\0'}) {
        std::wstring option = traceInto("a");
        option[2] = third;
        finder_.customize(option);
        EXPECT_EQ(narrowNameOf(finder_), path("a.trace"));
    }
}

TEST_F(Customize, ThreeCharactersNameAFileWithoutAStem) {
    const WorkingFolder inFolder(folder());
    finder_.customize(L"DP ");
    EXPECT_EQ(traceOf(finder_)->wideName, L".trace");
    EXPECT_TRUE(exists(".trace"));
}

TEST_F(Customize, NothingBehindTheFirstTwoIsOutOfRangeAndLeavesARecord) {
    const WorkingFolder inFolder(folder());
    EXPECT_THROW(finder_.customize(L"DP"), std::out_of_range);
    ASSERT_NE(traceOf(finder_), nullptr);
    EXPECT_TRUE(traceOf(finder_)->enabled);
    EXPECT_TRUE(traceOf(finder_)->wideName.empty());
    EXPECT_TRUE(traceOf(finder_)->narrowName.empty());
    EXPECT_EQ(crossingsFrom(finder_).size(), 1U);
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(Customize, NothingBehindTheFirstTwoLeavesAFormerRecordAsItIs) {
    finder_.customize(traceInto("a"));
    crossingsFrom(finder_);
    const std::string before = contentOf("a.trace");
    EXPECT_FALSE(before.empty());
    EXPECT_THROW(finder_.customize(L"DP"), std::out_of_range);
    EXPECT_EQ(narrowNameOf(finder_), path("a.trace"));
    EXPECT_EQ(contentOf("a.trace"), before);
}

TEST_F(Customize, TheNameIsCutToOneByteForEachCharacter) {
    // U+0141 keeps 0x41, "A"; U+0162 keeps 0x62, "b".
    std::wstring option = traceInto("");
    option += L"x\u0141\u0162";
    finder_.customize(option);
    EXPECT_TRUE(exists("xAb.trace"));
    const std::wstring& wide = traceOf(finder_)->wideName;
    EXPECT_EQ(wide.substr(wide.size() - 9), L"x\u0141\u0162.trace");
    EXPECT_EQ(narrowNameOf(finder_), path("xAb.trace"));
}

TEST_F(Customize, TwoFilesOneAfterTheOtherKeepOneRecord) {
    finder_.customize(traceInto("a"));
    const qv_streetTrace* const record = traceOf(finder_);
    crossingsFrom(finder_);
    const std::string first = contentOf("a.trace");
    finder_.customize(traceInto("b"));
    EXPECT_EQ(traceOf(finder_), record);
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), first);
    EXPECT_EQ(contentOf("b.trace"), first);
}

TEST_F(Customize, ANewNameCountsAlsoWhereAnExceptionLeftTheFileOpen) {
    finder_.customize(traceInto("a"));
    qv_streetTrace& trace = *qv_streetFinderAccess::record(finder_).trace;
    try {
        const qv_traceFrame frame(&trace);
        throw std::runtime_error("a stage failed");
    } catch (const std::runtime_error&) {
        EXPECT_TRUE(trace.stream.is_open());
    }
    finder_.customize(traceInto("b"));
    EXPECT_FALSE(trace.stream.is_open());
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), "");
    EXPECT_FALSE(contentOf("b.trace").empty());
}

TEST_F(Customize, SwitchingOffDeletesTheRecordAndLeavesTheFile) {
    finder_.customize(traceInto("a"));
    crossingsFrom(finder_);
    const std::string before = contentOf("a.trace");
    finder_.customize(L"DO");
    EXPECT_EQ(traceOf(finder_), nullptr);
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), before);
}

TEST_F(Customize, WithoutATraceNoFileIsTouched) {
    const WorkingFolder inFolder(folder());
    crossingsFrom(finder_);
    finder_.setImage(brokenEdgesWafer().image());
    qvtest::streetsFrom(finder_);
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(Customize, TwoSearchesAppend) {
    finder_.customize(traceInto("a"));
    crossingsFrom(finder_);
    const std::string once = contentOf("a.trace");
    EXPECT_GT(once.size(), 1000U);
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), once + once);
    finder_.customize(traceInto("a"));
    EXPECT_EQ(contentOf("a.trace"), "");
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), once);
}

TEST_F(Customize, BindingAnImageWritesNothingAndKeepsTheTrace) {
    finder_.customize(traceInto("a"));
    crossingsFrom(finder_);
    const std::string once = contentOf("a.trace");
    finder_.setImage(brokenEdgesWafer().image());
    EXPECT_EQ(contentOf("a.trace"), once);
    crossingsFrom(finder_);
    EXPECT_EQ(contentOf("a.trace"), once + once);
}

TEST_F(Customize, AnUnusablePathIsSilentlyWithoutEffect) {
    const std::vector<double> untraced = numbersOf(crossingsFrom(finder_));
    finder_.customize(traceInto("no such folder/a"));
    ASSERT_NE(traceOf(finder_), nullptr);
    EXPECT_TRUE(traceOf(finder_)->enabled);
    EXPECT_EQ(numbersOf(crossingsFrom(finder_)), untraced);
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(Customize, TracingChangesNoResult) {
    const std::vector<double> untraced = numbersOf(crossingsFrom(finder_));
    finder_.customize(traceInto("a"));
    EXPECT_EQ(numbersOf(crossingsFrom(finder_)), untraced);
    finder_.setImage(brokenEdgesWafer().image());
    EXPECT_EQ(numbersOf(crossingsFrom(finder_)), untraced);
}

TEST_F(Customize, ACopyTracesIntoTheSameFileThroughAStreamOfItsOwn) {
    finder_.customize(traceInto("a"));
    crossingsFrom(finder_);
    const std::string once = contentOf("a.trace");
    const std::unique_ptr<qvStreetFinder> copy = qv_streetFinderAccess::copy(finder_);
    ASSERT_NE(traceOf(*copy), nullptr);
    EXPECT_NE(traceOf(*copy), traceOf(finder_));
    EXPECT_EQ(contentOf("a.trace"), once) << "copying empties nothing";
    crossingsFrom(*copy);
    EXPECT_EQ(contentOf("a.trace"), once + once);
    finder_.customize(L"DO");
    crossingsFrom(*copy);
    EXPECT_EQ(contentOf("a.trace"), once + once + once);
}

TEST_F(Customize, TheRidgeModesHaveNothingToTrace) {
    for (const qvStreetFinderDefs::waferType mode :
         {qvStreetFinderDefs::eRidgeWafer, qvStreetFinderDefs::eCoarseRidgeWafer}) {
        TracingFinder ridges(qvtest::finderParams(mode));
        ridges.setImage(qvtest::oblongWafer(2.0).image());
        ridges.customize(traceInto("ridges"));
        EXPECT_FALSE(crossingsFrom(ridges).empty());
        EXPECT_EQ(contentOf("ridges.trace"), "");
    }
}
