#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "qvstreet/frontend/seed_tracer.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

using Points = std::vector<std::pair<double, double>>;
using Seeds = std::vector<qvVector<2>>;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
const qvRadian kRightwards(0.0);

template <typename T>
qvPelBuffer<T> filled(long width, long height, T value) {
    qvPelBuffer<T> image(width, height, 32);
    qfPelSet(image, value);
    return image;
}

/// Zeros with one row of 100, from column `first` to `last`.
qvPelBuffer<double> levelRidge(long width, long height, long row, long first, long last) {
    const qvPelBuffer<double> image = filled(width, height, 0.0);
    for (long x = first; x <= last; ++x) image.put(x, row, 100.0);
    return image;
}

std::vector<qvPeak<double>> peaksAt(const std::vector<std::pair<long, long>>& positions) {
    std::vector<qvPeak<double>> peaks;
    for (const auto& [x, y] : positions) peaks.push_back({qvPair<long>(x, y), 100.0});
    return peaks;
}

qv_ridgeExtraction extractionAlong(qvRadian lineAngle) {
    qv_ridgeExtraction extraction;
    extraction.lineAngle = lineAngle;
    return extraction;
}

void expectSeeds(const Seeds& seeds, const Points& expected) {
    ASSERT_EQ(seeds.size(), expected.size());
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        EXPECT_NEAR(seeds[i].x(), expected[i].first, 1e-6) << i;
        EXPECT_NEAR(seeds[i].y(), expected[i].second, 1e-6) << i;
    }
}

}  // namespace

TEST(SeedRefinement, StartsAtThePelsCorner) {
    // The ridge's row 2 has its centre at 2.5. Along the ridge nothing moves the seed from the pel's left border.
    expectSeeds(refineSeeds(levelRidge(9, 6, 2, 0, 8), peaksAt({{4, 2}}), extractionAlong(kRightwards)), {{4.0, 2.5}});
}

TEST(SeedRefinement, GoesAcrossTheLines) {
    const auto image = filled(9, 9, 0.0);
    for (long y = 0; y < 9; ++y) image.put(4, y, 100.0);
    for (const double degrees : {90.0, -90.0, 270.0})
        expectSeeds(refineSeeds(image, peaksAt({{4, 3}}), extractionAlong(qvDegree(degrees))), {{4.5, 3.0}});
}

TEST(SeedRefinement, SeedsKeepTheOrderOfThePeaks) {
    expectSeeds(refineSeeds(levelRidge(9, 6, 2, 0, 8), peaksAt({{6, 2}, {2, 2}, {4, 2}}), extractionAlong(kRightwards)),
                {{6.0, 2.5}, {2.0, 2.5}, {4.0, 2.5}});
}

TEST(SeedRefinement, PeakWhoseCrossSectionDoesNotFitStaysWhereItIs) {
    // Limits 0.6 in x, 1.6 in y.
    expectSeeds(refineSeeds(levelRidge(9, 6, 1, 0, 8), peaksAt({{4, 1}, {0, 3}, {8, 5}}), extractionAlong(kRightwards)),
                {{4.0, 1.0}, {0.0, 3.0}, {8.0, 5.0}});
}

TEST(SeedRefinement, NoPeaksNoSeeds) {
    EXPECT_TRUE(refineSeeds(filled(9, 9, 0.0), {}, extractionAlong(kRightwards)).empty());
    EXPECT_TRUE(refineSeeds(qvPelBuffer_const<double>(), {}, extractionAlong(kRightwards)).empty());
}

namespace {

/// Seeds at (2, 2.5), (4, 2.5) and (6, 2.5), whose gate pels, row 2, have grey levels 99, 100 and 101.
std::vector<double> gatedColumns(long mode, unsigned char level) {
    const auto gate = filled<unsigned char>(9, 6, 0);
    gate.put(2, 2, 99);
    gate.put(4, 2, 100);
    gate.put(6, 2, 101);
    qv_ridgeExtraction extraction = extractionAlong(kRightwards);
    extraction.grayGateMode = mode;
    extraction.grayGateFlag = level;
    extraction.gateImage = gate;
    std::vector<double> columns;
    for (const auto& seed : refineSeeds(levelRidge(9, 6, 2, 0, 8), peaksAt({{2, 2}, {4, 2}, {6, 2}}), extraction))
        columns.push_back(seed.x());
    return columns;
}

}  // namespace

TEST(SeedRefinement, GreyGateKeepsWhatIsDarker) {
    EXPECT_EQ(gatedColumns(1, 100), (std::vector<double>{2.0}));
    EXPECT_EQ(gatedColumns(1, 101), (std::vector<double>{2.0, 4.0}));
    EXPECT_EQ(gatedColumns(1, 0), std::vector<double>{});
    EXPECT_EQ(gatedColumns(1, 255), (std::vector<double>{2.0, 4.0, 6.0}));
}

TEST(SeedRefinement, GreyGateKeepsWhatIsBrighter) {
    EXPECT_EQ(gatedColumns(2, 100), (std::vector<double>{6.0}));
    EXPECT_EQ(gatedColumns(2, 99), (std::vector<double>{4.0, 6.0}));
    EXPECT_EQ(gatedColumns(2, 255), std::vector<double>{});
}

TEST(SeedRefinement, WithoutAGateAllSeedsPass) {
    EXPECT_EQ(gatedColumns(0, 100), (std::vector<double>{2.0, 4.0, 6.0}));
}

TEST(SeedRefinement, GateIsReadAtTheMappedRefinedSeed) {
    // Seed (4, 2.5) comes to (4 * 3 + 0.9, 2.5 * 2 + 1.7) = (12.9, 6.7), which is truncated.
    const auto gate = filled<unsigned char>(30, 10, 0);
    gate.put(12, 6, 200);
    qv_ridgeExtraction extraction = extractionAlong(kRightwards);
    extraction.grayGateMode = 2;
    extraction.grayGateFlag = 100;
    extraction.gateImage = gate;
    extraction.gateFromSample = qvXform<2>(qvMatrix<2>(3.0, 0.0, 0.0, 2.0), qvVector<2>(0.9, 1.7));
    EXPECT_EQ(refineSeeds(levelRidge(9, 6, 2, 0, 8), peaksAt({{4, 2}}), extraction).size(), 1u);
    gate.put(12, 6, 100);
    EXPECT_TRUE(refineSeeds(levelRidge(9, 6, 2, 0, 8), peaksAt({{4, 2}}), extraction).empty());
}

TEST(SeedRefinement, SeedsOnTheGateImagesLowerLimitsPassAndOnItsUpperLimitsDoNot) {
    const auto image = levelRidge(9, 6, 2, 0, 8);
    qv_ridgeExtraction extraction = extractionAlong(kRightwards);
    extraction.grayGateMode = 1;
    extraction.grayGateFlag = 255;
    extraction.gateImage = filled<unsigned char>(20, 10, 0);
    const auto passes = [&](double dx, double dy) {
        extraction.gateFromSample = qvXform<2>(qvMatrix<2>(), qvVector<2>(dx, dy));
        return refineSeeds(image, peaksAt({{4, 2}}), extraction).size() == 1;
    };
    // The seed is (4, 2.5).
    EXPECT_TRUE(passes(-4.0, -2.5)) << "at (0, 0)";
    EXPECT_FALSE(passes(16.0, 0.0)) << "at x 20";
    EXPECT_FALSE(passes(0.0, 7.5)) << "at y 10";
}

TEST(SeedRefinement, SeedsOutsideTheGateImageAreDropped) {
    const auto image = levelRidge(9, 6, 2, 0, 8);
    qv_ridgeExtraction extraction = extractionAlong(kRightwards);
    extraction.grayGateMode = 1;
    extraction.grayGateFlag = 255;
    extraction.gateImage = filled<unsigned char>(20, 10, 0);
    const auto passes = [&](double dx, double dy) {
        extraction.gateFromSample = qvXform<2>(qvMatrix<2>(), qvVector<2>(dx, dy));
        return refineSeeds(image, peaksAt({{4, 2}}), extraction).size() == 1;
    };
    // The seed is (4, 2.5), the limits 0 and 20, and 0 and 10.
    EXPECT_TRUE(passes(-4.0, 0.0));
    EXPECT_FALSE(passes(-4.25, 0.0));
    EXPECT_TRUE(passes(15.75, 0.0));
    EXPECT_FALSE(passes(16.0, 0.0));
    EXPECT_FALSE(passes(0.0, -2.75));
    EXPECT_TRUE(passes(0.0, 7.25));
    EXPECT_FALSE(passes(0.0, 7.75));
    EXPECT_FALSE(passes(kNan, 0.0));
    extraction.gateImage = qvPelBuffer_const<unsigned char>();
    EXPECT_FALSE(passes(0.0, 0.0));
}
