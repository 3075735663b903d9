#include "qvstreet/blankregion/blank_region_results.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Result = qvStreetBlankRegionFinderResult;
using ResultSet = qvStreetBlankRegionFinderResultSet;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

Result made(double score, double blanknessScore, const qvPelRect& rect) {
    Result result;
    result.init(score, blanknessScore, rect);
    return result;
}

const qvPelRect sampleRect(12, -5, 200, 60);

}  // namespace

TEST(BlankRegionResult, DefaultHasZeroScoresAndAnEmptyRectangle) {
    const Result result;
    EXPECT_EQ(result.score(), 0.0);
    EXPECT_EQ(result.blanknessScore(), 0.0);
    EXPECT_TRUE(result.blankRect() == qvPelRect());
}

TEST(BlankRegionResult, InitSetsAllThree) {
    const Result result = made(0.25, 0.75, sampleRect);
    EXPECT_EQ(result.score(), 0.25);
    EXPECT_EQ(result.blanknessScore(), 0.75);
    EXPECT_TRUE(result.blankRect() == qvPelRect(12, -5, 200, 60));
    const Result copy(result);
    EXPECT_TRUE(copy == result);
}

TEST(BlankRegionResult, EqualityLooksAtBothScoresAndTheRectangle) {
    const Result result = made(0.25, 0.75, sampleRect);
    EXPECT_TRUE(result == made(0.25, 0.75, sampleRect));
    EXPECT_FALSE(result != made(0.25, 0.75, sampleRect));
    EXPECT_TRUE(result != made(0.24, 0.75, sampleRect));
    EXPECT_TRUE(result != made(0.26, 0.75, sampleRect));
    EXPECT_TRUE(result != made(0.25, 0.74, sampleRect));
    EXPECT_TRUE(result != made(0.25, 0.76, sampleRect));
    EXPECT_TRUE(result != made(0.25, 0.75, qvPelRect(12, -5, 201, 60)));
}

TEST(BlankRegionResult, NanScoresCompareEqual) {
    EXPECT_TRUE(made(kNan, 0.5, sampleRect) == made(kNan, 0.5, sampleRect));
    EXPECT_TRUE(made(0.5, kNan, sampleRect) == made(0.5, kNan, sampleRect));
    EXPECT_TRUE(made(kNan, 0.5, sampleRect) == made(0.1, 0.5, sampleRect));
    EXPECT_FALSE(made(kNan, 0.5, sampleRect) == made(kNan, 0.6, sampleRect));
}

TEST(BlankRegionResultSet, DefaultIsEmptyAndNotFoundWithTimeZero) {
    const ResultSet set;
    EXPECT_EQ(set.numResults(), 0);
    EXPECT_FALSE(set.isFound());
    EXPECT_EQ(set.time(), 0.0);
    EXPECT_TRUE(set.results().empty());
}

TEST(BlankRegionResultSet, InitCopiesTheVectorAndStoresTheTime) {
    std::vector<Result> results = {made(0.5, 1.0, sampleRect), made(0.25, 0.75, qvPelRect(1, 2, 3, 4))};
    ResultSet set;
    set.init(results, 0.125);
    results.clear();
    EXPECT_EQ(set.numResults(), 2);
    EXPECT_TRUE(set.isFound());
    EXPECT_EQ(set.time(), 0.125);
    EXPECT_EQ(set.results()[1].score(), 0.25);
    set.init({}, 0.5);
    EXPECT_EQ(set.numResults(), 0);
    EXPECT_FALSE(set.isFound());
    EXPECT_EQ(set.time(), 0.5);
}

TEST(BlankRegionResultSet, EqualityIgnoresTheTimeAndLooksAtElementsInOrder) {
    const Result first = made(0.5, 1.0, sampleRect);
    const Result second = made(0.25, 0.75, qvPelRect(1, 2, 3, 4));
    const auto setOf = [](const std::vector<Result>& results, double time) {
        ResultSet set;
        set.init(results, time);
        return set;
    };
    EXPECT_TRUE(setOf({first, second}, 1.0) == setOf({first, second}, 2.0));
    EXPECT_FALSE(setOf({first, second}, 1.0) != setOf({first, second}, 2.0));
    EXPECT_TRUE(setOf({first, second}, 1.0) != setOf({second, first}, 1.0));
    EXPECT_TRUE(setOf({first, second}, 1.0) != setOf({first}, 1.0));
    EXPECT_TRUE(setOf({}, 0.0) == ResultSet());
}
