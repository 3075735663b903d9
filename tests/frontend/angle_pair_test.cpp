#include "qvstreet/frontend/angle_pair.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace {

using Angles = std::vector<qv_candAngle>;
using Indices = std::vector<long>;

/// The couple; none where none is chosen.
Indices chosen(const Angles& candidates, double ratio) {
    Indices indices;
    const bool found = chooseAnglePair(candidates, ratio, indices, nullptr);
    EXPECT_EQ(found, !indices.empty());
    return indices;
}

std::string tracedChoice(const Angles& candidates, double ratio) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("qvstreet_angle_pair_" + std::to_string(getpid()))).string();
    std::filesystem::remove(path);
    qv_streetTrace trace;
    trace.enabled = true;
    nameTraceFile(trace, std::wstring(path.begin(), path.end()));
    Indices indices;
    {
        const qv_traceFrame frame(&trace);
        chooseAnglePair(candidates, ratio, indices, &trace);
    }
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>{});
    std::filesystem::remove(path);
    return text;
}

}  // namespace

TEST(AnglePair, FewerThanTwoCandidatesGiveNone) {
    Indices indices = {7, 8, 9};
    EXPECT_FALSE(chooseAnglePair({}, 0.5, indices, nullptr));
    EXPECT_FALSE(chooseAnglePair({{30.0, 1.0}}, 0.5, indices, nullptr));
    EXPECT_EQ(indices, (Indices{7, 8, 9}));
}

TEST(AnglePair, TheIndicesAreTwoWhateverWasThere) {
    for (const Indices& before : {Indices{}, Indices{5}, Indices{5, 6, 7, 8}}) {
        Indices indices = before;
        EXPECT_TRUE(chooseAnglePair({{80.0, 2.0}, {-10.0, 1.0}}, 0.1, indices, nullptr));
        EXPECT_EQ(indices, (Indices{0, 1}));
    }
}

TEST(AnglePair, TheCoupleNearestToARightAngleIsTaken) {
    // 0 and 1 lie 60 degrees apart, 0 and 2 110, 0 and 3 89; 1 and 2 170, 1 and 3 149, 2 and 3 21.
    EXPECT_EQ(chosen({{5.0, 4.0}, {65.0, 3.0}, {-105.0, 3.0}, {-84.0, 3.0}}, 0.5), (Indices{3, 0}));
}

TEST(AnglePair, TheLargerAbsoluteSineComesFirst) {
    EXPECT_EQ(chosen({{80.0, 2.0}, {-10.0, 1.0}}, 0.1), (Indices{0, 1}));
    EXPECT_EQ(chosen({{-10.0, 2.0}, {80.0, 1.0}}, 0.1), (Indices{1, 0}));
    EXPECT_EQ(chosen({{10.0, 2.0}, {-80.0, 1.0}}, 0.1), (Indices{1, 0})) << "the sign does not count";
    EXPECT_EQ(chosen({{-80.0, 2.0}, {10.0, 1.0}}, 0.1), (Indices{0, 1}));
}

TEST(AnglePair, OfEqualSinesTheBetterCandidateComesFirst) {
    EXPECT_EQ(chosen({{45.0, 2.0}, {-45.0, 1.0}}, 0.1), (Indices{0, 1}));
    EXPECT_EQ(chosen({{30.0, 2.0}, {30.0, 1.0}}, 0.1), (Indices{0, 1}));
}

TEST(AnglePair, OfEqualCouplesTheFirstIsTaken) {
    EXPECT_EQ(chosen({{20.0, 4.0}, {60.0, 4.0}, {20.0, 4.0}, {60.0, 4.0}}, 0.5), (Indices{1, 0}));
}

TEST(AnglePair, AScoreOfExactlyTheRatioCounts) {
    EXPECT_EQ(chosen({{0.0, 8.0}, {60.0, 4.0}, {90.0, 2.0}}, 0.25), (Indices{2, 0}));
    EXPECT_EQ(chosen({{0.0, 8.0}, {60.0, 4.0}, {90.0, 2.0}}, 0.250001), (Indices{1, 0}));
}

TEST(AnglePair, TheWalkEndsAtTheFirstLowScore) {
    // The fourth would qualify, but stands behind one that does not.
    EXPECT_EQ(chosen({{0.0, 8.0}, {60.0, 8.0}, {50.0, 1.0}, {90.0, 8.0}}, 0.5), (Indices{1, 0}));
}

TEST(AnglePair, AtLeastTwoAreCounted) {
    EXPECT_EQ(chosen({{0.0, 8.0}, {60.0, 1.0}, {90.0, 1.0}}, 0.5), (Indices{1, 0}));
    EXPECT_EQ(chosen({{0.0, 8.0}, {60.0, 8.0}, {90.0, 8.0}}, 1.5), (Indices{1, 0})) << "not even the first reaches it";
    EXPECT_EQ(chosen({{0.0, 0.0}, {60.0, 0.0}, {90.0, 0.0}}, 0.5), (Indices{1, 0})) << "0 / 0 reaches no ratio";
}

TEST(AnglePair, AnglesThatAreNoNumbersLeaveTheFirstTwo) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(chosen({{nan, 8.0}, {nan, 8.0}, {nan, 8.0}}, 0.5), (Indices{0, 1}));
}

TEST(AnglePair, EveryCoupleIsTracedWithItsSignedDotProduct) {
    // Cosines of 60, 150 and 210 degrees; the fourth candidate is too weak.
    const std::string text = tracedChoice({{30.0, 8.0}, {90.0, 6.0}, {-120.0, 5.0}, {0.5, 1.0}}, 0.5);
    EXPECT_EQ(text.substr(0, text.find('%', 1)), "%\nangles:30,90 score:0.5");
    const std::size_t second = text.find('%', 1);
    const std::size_t third = text.find('%', second + 1);
    EXPECT_EQ(text.substr(second, third - second), "%\nangles:30,-120 score:-0.8660254038");
    EXPECT_EQ(text.substr(third), "%\nangles:90,-120 score:-0.8660254038");
}

TEST(AnglePair, WithoutACoupleNothingIsTraced) { EXPECT_EQ(tracedChoice({{30.0, 8.0}}, 0.5), ""); }
