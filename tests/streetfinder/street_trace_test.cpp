#include "qvstreet/streetfinder/street_trace.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

/// A trace into a file of its own, which goes with the test.
class StreetTrace : public testing::Test {
 protected:
    StreetTrace() { std::filesystem::create_directories(folder_); }
    ~StreetTrace() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    /// What tracing into `name` looks like between the stages: enabled and closed.
    std::unique_ptr<qv_streetTrace> traceInto(const std::string& name) const {
        auto trace = std::make_unique<qv_streetTrace>();
        const std::string file = path(name);
        trace->enabled = true;
        trace->narrowName.assign(file.begin(), file.end());
        trace->wideName.assign(file.begin(), file.end());
        return trace;
    }

    static std::string contentOf(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }

    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

 private:
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("qvstreet_trace_" + std::to_string(getpid()) + "_" +
                                                  testing::UnitTest::GetInstance()->current_test_info()->name());
};

}  // namespace

TEST_F(StreetTrace, RecordIsConstructedOffAndClosed) {
    const qv_streetTrace trace;
    EXPECT_FALSE(trace.enabled);
    EXPECT_TRUE(trace.narrowName.empty());
    EXPECT_TRUE(trace.wideName.empty());
    EXPECT_FALSE(trace.stream.is_open());
}

TEST_F(StreetTrace, TextIsWrittenWithinAFrameAndTheFileIsCompleteBehindIt) {
    const auto trace = traceInto("a.trace");
    {
        const qv_traceFrame frame(trace.get());
        EXPECT_TRUE(trace->stream.is_open());
        traceText(trace.get(), L"\n%%Gen and score\n");
        traceText(trace.get(), L"res=[\n");
    }
    EXPECT_FALSE(trace->stream.is_open());
    EXPECT_EQ(contentOf(path("a.trace")), "\n%%Gen and score\nres=[\n");
}

TEST_F(StreetTrace, EachCharacterIsCutToOneByte) {
    const auto trace = traceInto("a.trace");
    {
        const qv_traceFrame frame(trace.get());
        // U+0141 and U+20AC keep their lower bytes 0x41 and 0xAC, U+00E9 is 0xE9, and a zero stays a character.
        traceText(trace.get(), std::wstring(L"\u0141\u20ac\u00e9\0z", 5));
    }
    EXPECT_EQ(contentOf(path("a.trace")), std::string("A\xAC\xE9\0z", 5));
}

TEST_F(StreetTrace, FramesAppend) {
    const auto trace = traceInto("a.trace");
    for (const wchar_t* const text : {L"one ", L"two"}) {
        const qv_traceFrame frame(trace.get());
        traceText(trace.get(), text);
    }
    EXPECT_EQ(contentOf(path("a.trace")), "one two");
}

TEST_F(StreetTrace, NestedFrameLeavesTheStreamToTheOutermost) {
    const auto trace = traceInto("a.trace");
    {
        const qv_traceFrame outer(trace.get());
        traceText(trace.get(), L"1");
        {
            const qv_traceFrame inner(trace.get());
            traceText(trace.get(), L"2");
        }
        EXPECT_TRUE(trace->stream.is_open());
        traceText(trace.get(), L"3");
    }
    EXPECT_FALSE(trace->stream.is_open());
    EXPECT_EQ(contentOf(path("a.trace")), "123");
}

TEST_F(StreetTrace, NothingIsWrittenWithoutARecordOutsideAFrameOrWhenOff) {
    traceText(nullptr, L"lost");
    const qv_traceFrame none(nullptr);

    const auto trace = traceInto("a.trace");
    traceText(trace.get(), L"lost");
    EXPECT_FALSE(exists("a.trace"));

    trace->enabled = false;
    {
        const qv_traceFrame frame(trace.get());
        EXPECT_FALSE(trace->stream.is_open());
        traceText(trace.get(), L"lost");
    }
    EXPECT_FALSE(exists("a.trace"));

    trace->enabled = true;
    {
        const qv_traceFrame frame(trace.get());
        trace->enabled = false;
        traceText(trace.get(), L"lost");
        trace->enabled = true;
    }
    EXPECT_EQ(contentOf(path("a.trace")), "");
}

TEST_F(StreetTrace, ExceptionLeavesTheStreamToTheNextFrame) {
    const auto trace = traceInto("a.trace");
    try {
        const qv_traceFrame frame(trace.get());
        traceText(trace.get(), L"before ");
        throw std::runtime_error("a stage failed");
    } catch (const std::runtime_error&) {
        EXPECT_TRUE(trace->stream.is_open());
    }
    {
        // Found open, so it is not this frame's to close.
        const qv_traceFrame frame(trace.get());
        traceText(trace.get(), L"after");
    }
    EXPECT_TRUE(trace->stream.is_open());
    trace->stream.close();
    EXPECT_EQ(contentOf(path("a.trace")), "before after");
}

TEST_F(StreetTrace, FrameInAnUnwindingDestructorClosesItsStream) {
    struct TracesWhenDestroyed {
        qv_streetTrace* trace;
        ~TracesWhenDestroyed() {
            const qv_traceFrame frame(trace);
            traceText(trace, L"cleaned up");
        }
    };
    const auto trace = traceInto("a.trace");
    try {
        const TracesWhenDestroyed guard{trace.get()};
        throw std::runtime_error("a stage failed");
    } catch (const std::runtime_error&) {
    }
    EXPECT_FALSE(trace->stream.is_open());
    EXPECT_EQ(contentOf(path("a.trace")), "cleaned up");
}

TEST_F(StreetTrace, DestroyedRecordClosesItsFile) {
    {
        const auto trace = traceInto("a.trace");
        trace->stream.open(path("a.trace"));
        traceText(trace.get(), L"kept");
    }
    EXPECT_EQ(contentOf(path("a.trace")), "kept");
}

TEST_F(StreetTrace, FileThatCannotBeOpenedIsSilentlyWithoutEffect) {
    const auto trace = traceInto("no such folder/a.trace");
    {
        const qv_traceFrame frame(trace.get());
        EXPECT_FALSE(trace->stream.is_open());
        traceText(trace.get(), L"lost");
    }
    // The failed opening does not spoil a later one.
    std::filesystem::create_directory(path("no such folder"));
    {
        const qv_traceFrame frame(trace.get());
        traceText(trace.get(), L"found");
    }
    EXPECT_EQ(contentOf(path("no such folder/a.trace")), "found");
}

TEST_F(StreetTrace, CopyHasTheSwitchTheNamesAndAClosedStreamOfItsOwn) {
    const auto trace = traceInto("a.trace");
    const qv_traceFrame frame(trace.get());
    const qv_streetTrace copy(*trace);
    EXPECT_TRUE(copy.enabled);
    EXPECT_EQ(copy.narrowName, trace->narrowName);
    EXPECT_EQ(copy.wideName, trace->wideName);
    EXPECT_FALSE(copy.stream.is_open());
    EXPECT_TRUE(trace->stream.is_open());
}
