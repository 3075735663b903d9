// Edges: where they are, how strong they are, and what is none.
#include "qvstreet/platform/caliper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/platform/caliper_run.h"

namespace {

using qvtest::allEdges;
using qvtest::allPels;
using qvtest::edgesOfRow;
using qvtest::imageOf;
using qvtest::kBilinearPel;
using qvtest::kNearestPel;
using qvtest::repeatedRow;
using qvtest::runCaliper;
using qvtest::steps;
using qvtest::uprightRect;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Caliper, CleanRiseHasItsContrastAndItsPositionFromTheCentre) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({40, 100}, {5, 7}), 4);
    for (const long interpolation : {kNearestPel, kBilinearPel}) {
        const auto edges = runCaliper(image, allPels(image, interpolation), allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), 1u);
        EXPECT_EQ(edges[0].contrast(), 60.0);
        EXPECT_EQ(edges[0].position(), -1.0);
    }
}

TEST(Caliper, CleanFallHasNegativeContrast) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({100, 40}, {8, 5}), 3);
    for (const long interpolation : {kNearestPel, kBilinearPel}) {
        const auto edges = runCaliper(image, allPels(image, interpolation), allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), 1u);
        EXPECT_EQ(edges[0].contrast(), -60.0);
        EXPECT_EQ(edges[0].position(), 1.5);
    }
}

TEST(Caliper, ParabolaThroughThreeStrengthsRefinesThePosition) {
    // The step lies a quarter into pel 4. Strengths at 3, 4, 5: 37.5, 87.5, 62.5.
    const auto edges = edgesOfRow({0, 0, 0, 0, 75, 100, 100, 100, 100, 100}, 2);
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].contrast(), 87.5);
    EXPECT_DOUBLE_EQ(edges[0].position(), 4.0 + 1.0 / 6.0 - 5.0);
}

TEST(Caliper, BilinearSamplesAreNotRoundedToGreyLevels) {
    // Two samples a pel: 0, 0.25, 0.75, 1 around the border at x = 3.
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({0, 1}, {3, 3}), 2);
    const qvAffineSamplingParams sampling(uprightRect(0.0, 0.0, 6.0, 2.0), 12, 4, kBilinearPel);
    const auto edges = runCaliper(image, sampling, allEdges(2)).resultEdges();
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].contrast(), 0.75);
    EXPECT_EQ(edges[0].position(), 0.0);
}

TEST(Caliper, BilinearPositionsAreFinerThanOne256thOfAPel) {
    // Shifted by 1/1024 pel, the last dark sample is 128/1024.
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({0, 128}, {4, 6}), 2);
    const qvAffineSamplingParams sampling(uprightRect(1.0 / 1024.0, 0.0, 8.0, 2.0), 8, 2, kBilinearPel);
    const auto edges = runCaliper(image, sampling, allEdges(2)).resultEdges();
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].contrast(), 128.0 - 0.125 / 2.0);
}

TEST(Caliper, OfEqualNeighboursTheFirstIsTheEdge) {
    const auto rises = edgesOfRow({0, 0, 10, 20, 30, 30, 30}, 1);
    ASSERT_EQ(rises.size(), 1u);
    EXPECT_EQ(rises[0].contrast(), 10.0);
    EXPECT_EQ(rises[0].position(), 2.5 - 3.5);

    const auto falls = edgesOfRow({30, 30, 20, 10, 0, 0, 0}, 1);
    ASSERT_EQ(falls.size(), 1u);
    EXPECT_EQ(falls[0].contrast(), -10.0);
    EXPECT_EQ(falls[0].position(), 2.5 - 3.5);
}

TEST(Caliper, DipBetweenTwoRisesIsNoFall) {
    const auto edges = edgesOfRow({0, 0, 20, 25, 45, 45, 45}, 1);
    ASSERT_EQ(edges.size(), 2u);
    EXPECT_EQ(edges[0].contrast(), 20.0);
    EXPECT_DOUBLE_EQ(edges[0].position(), 2.0 + 1.0 / 14.0 - 3.5);
    EXPECT_EQ(edges[1].contrast(), 20.0);
    EXPECT_DOUBLE_EQ(edges[1].position(), 4.0 - 1.0 / 14.0 - 3.5);
}

TEST(Caliper, FirstAndLastStrengthAreNeverEdges) {
    EXPECT_TRUE(edgesOfRow({0, 50, 50, 50, 50}, 1).empty());
    EXPECT_TRUE(edgesOfRow({0, 0, 0, 0, 50}, 1).empty());
    EXPECT_TRUE(edgesOfRow({50, 0, 0, 0, 0}, 1).empty());
    EXPECT_TRUE(edgesOfRow({50, 50, 50, 50, 0}, 1).empty());
    EXPECT_EQ(edgesOfRow({0, 0, 50, 50}, 1).size(), 1u);
}

TEST(Caliper, ContrastEqualToTheThresholdIsAnEdge) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({10, 15, 10}, {5, 6, 7}), 3);
    qvCaliperRunParams params(0.0, qvCaliperDefs::eEither);
    EXPECT_EQ(runCaliper(image, allPels(image, kNearestPel), params).resultEdges().size(), 2u);
    params.contrastThreshold(std::nextafter(5.0, 6.0));
    EXPECT_TRUE(runCaliper(image, allPels(image, kNearestPel), params).resultEdges().empty());
    params.contrastThreshold(kNaN);
    EXPECT_TRUE(runCaliper(image, allPels(image, kNearestPel), params).resultEdges().empty());
}

TEST(Caliper, StrengthsExistWhereHalfSizeSamplesLieOnBothSides) {
    // Half size 3 has strengths at 3, 4, 5 of eight samples: 40, 60, 40.
    const auto edges = edgesOfRow(steps({0, 60}, {4, 4}), 3);
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].contrast(), 60.0);
    EXPECT_EQ(edges[0].position(), 0.0);
    EXPECT_TRUE(edgesOfRow(steps({0, 60}, {4, 3}), 3).empty());
    EXPECT_TRUE(edgesOfRow(steps({0, 60}, {4, 4}), 4).empty());
    EXPECT_TRUE(edgesOfRow(steps({0, 60}, {4, 4}), 32767).empty());
}

TEST(Caliper, LargerHalfSizeAveragesOverMoreSamples) {
    // A one-sample spike of 90: 90 with half size 1; with 3 its mean 30, at the first of three equal boundaries.
    const std::vector<int> row = steps({0, 90, 0}, {7, 1, 8});
    const auto sharp = edgesOfRow(row, 1);
    ASSERT_EQ(sharp.size(), 2u);
    EXPECT_EQ(sharp[0].contrast(), 90.0);
    EXPECT_EQ(sharp[1].contrast(), -90.0);
    const auto wide = edgesOfRow(row, 3);
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(wide[0].contrast(), 30.0);
    EXPECT_EQ(wide[0].position(), 5.5 - 8.0);
    EXPECT_EQ(wide[1].contrast(), -30.0);
    EXPECT_EQ(wide[1].position(), 8.5 - 8.0);
}

TEST(Caliper, EqualStrengthsOfNearestPelsAreEqualNumbers) {
    // Column means are thirds; all four steps are 7/3 (half size 1), on different ground.
    const qvPelBuffer<unsigned char> image = imageOf({{0, 0, 2, 2, 0, 0, 101, 101, 103, 103, 101, 101},
                                                      {1, 1, 3, 3, 1, 1, 100, 100, 103, 103, 100, 100},
                                                      {0, 0, 3, 3, 0, 0, 99, 99, 101, 101, 99, 99}});
    const auto edges = runCaliper(image, allPels(image, kNearestPel), allEdges(1)).resultEdges();
    ASSERT_EQ(edges.size(), 5u);
    EXPECT_EQ(edges[0].contrast(), 7.0 / 3.0);
    EXPECT_EQ(edges[1].contrast(), -7.0 / 3.0);
    EXPECT_EQ(edges[3].contrast(), 7.0 / 3.0);
    EXPECT_EQ(edges[4].contrast(), -7.0 / 3.0);
}

TEST(Caliper, SamplesOutsideTheImageDoNotCount) {
    // Three columns and half of the rows lie outside; the border of the image is no edge.
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({100, 180}, {4, 5}), 4);
    for (const long interpolation : {kNearestPel, kBilinearPel}) {
        const qvAffineSamplingParams sampling(uprightRect(-3.0, -2.0, 12.0, 4.0), 12, 4, interpolation);
        const auto edges = runCaliper(image, sampling, allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), 1u);
        EXPECT_EQ(edges[0].contrast(), 80.0);
        EXPECT_EQ(edges[0].position(), 1.0);
    }
}

TEST(Caliper, ColumnsWithFewerSamplesInsideAreStillMeans) {
    // A sheared rectangle: 4, 3, 3, 2, 2, 1, 1 and 0 samples of its columns lie inside.
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({10, 90}, {4, 4}), 4);
    const qvAffineRectangle sheared(qvVector<2>(0.0, 0.0), qvVector<2>(8.0, 4.0), qvVector<2>(0.0, 4.0));
    for (const long interpolation : {kNearestPel, kBilinearPel}) {
        const qvAffineSamplingParams sampling(sheared, 8, 4, interpolation);
        const auto edges = runCaliper(image, sampling, allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), 1u);
        EXPECT_EQ(edges[0].contrast(), 80.0);
        EXPECT_NEAR(edges[0].position(), 0.0, 1e-12);
    }
}

TEST(Caliper, ProfileMustReachTheMiddleOfTheRectangle) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({100, 180}, {3, 3}), 2);
    // Columns 0 to 5 inside: the left one of the two middle columns of twelve, but not that of thirteen.
    const qvAffineSamplingParams touching(uprightRect(0.0, 0.0, 12.0, 2.0), 12, 2, kNearestPel);
    const auto edges = runCaliper(image, touching, allEdges(2)).resultEdges();
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].position(), -3.0);
    const qvAffineSamplingParams beside(uprightRect(0.0, 0.0, 13.0, 2.0), 13, 2, kNearestPel);
    EXPECT_TRUE(runCaliper(image, beside, allEdges(2)).resultEdges().empty());
}

TEST(Caliper, EdgesOfBothPolaritiesAreListedWhateverIsAskedFor) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({20, 90, 50}, {5, 6, 7}), 2);
    qvCaliperRunParams params(0.0, qvCaliperDefs::eFall);
    params.maxNumResults(5);
    const qvCaliperResultSet results = runCaliper(image, allPels(image, kNearestPel), params);
    ASSERT_EQ(results.resultEdges().size(), 2u);
    EXPECT_EQ(results.resultEdges()[0].contrast(), 70.0);
    EXPECT_EQ(results.resultEdges()[1].contrast(), -40.0);
    ASSERT_EQ(results.results().size(), 1u);
    EXPECT_EQ(results.results()[0].position(), 2.0);
}

TEST(Caliper, OffsetWindowAndStorageOrderChangeNothingButTheFrame) {
    qvPelBuffer<unsigned char> image = qvtest::noiseImage(40, 30, 7);
    const qvAffineRectangle rect(qvVector<2>(21.0, 14.0), 25.0, 17.0, qvRadian(0.4), qvRadian(0.1));
    const qvAffineSamplingParams sampling(rect, 50, 34, kBilinearPel);
    const auto plain = runCaliper(image, sampling, allEdges(2)).resultEdges();
    ASSERT_GT(plain.size(), 3u);

    image.offset(100, -50);
    const qvAffineRectangle moved(qvVector<2>(121.0, -36.0), 25.0, 17.0, qvRadian(0.4), qvRadian(0.1));
    const qvAffineSamplingParams movedSampling(moved, 50, 34, kBilinearPel);
    const std::vector<qvPelBuffer_const<unsigned char>> forms = {image, qvtest::asWindow(image, 3, 2),
                                                                 qvtest::asBottomUp(image)};
    for (const auto& form : forms) {
        const auto edges = runCaliper(form, movedSampling, allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), plain.size());
        for (std::size_t i = 0; i < edges.size(); ++i) {
            EXPECT_NEAR(edges[i].contrast(), plain[i].contrast(), 1e-4);
            EXPECT_NEAR(edges[i].position(), plain[i].position(), 1e-4);
        }
    }
}

TEST(Caliper, MapsPositionsToTheMiddleLineInTheClientFrame) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({0, 100}, {5, 5}), 10);
    const qvAffineRectangle turned(qvVector<2>(7.0, 3.0), 6.0, 4.0, qvDegree(30.0), qvRadian(0.0));
    const qvVector<2> point =
        runCaliper(image, qvAffineSamplingParams(turned, 6, 4, kBilinearPel), allEdges(2)).mapPositionToPoint(2.0);
    EXPECT_NEAR(point.x(), 7.0 + 2.0 * 0.8660254037844387, 1e-12);
    EXPECT_NEAR(point.y(), 3.0 + 2.0 * 0.5, 1e-12);

    // A negative length turns the x side round; positions still count along the rotation.
    const qvAffineRectangle reversed(qvVector<2>(5.0, 3.0), -10.0, 4.0, qvRadian(0.0), qvRadian(0.0));
    const qvCaliperResultSet results =
        runCaliper(image, qvAffineSamplingParams(reversed, 10, 4, kBilinearPel), allEdges(2));
    const qvVector<2> ofReversed = results.mapPositionToPoint(2.0);
    EXPECT_EQ(ofReversed.x(), 7.0);
    EXPECT_EQ(ofReversed.y(), 3.0);
    ASSERT_EQ(results.resultEdges().size(), 1u);
    EXPECT_EQ(results.resultEdges()[0].contrast(), -100.0);

    EXPECT_EQ(qvCaliperResultSet().mapPositionToPoint(2.0).x(), 0.0);
}

TEST(Caliper, SmallestAndLargestSizesWork) {
    const qvPelBuffer<unsigned char> onePel = imageOf({{200}});
    EXPECT_TRUE(runCaliper(onePel, allPels(onePel, kNearestPel), allEdges(1)).resultEdges().empty());
    EXPECT_TRUE(runCaliper(onePel, allPels(onePel, kBilinearPel), allEdges(1)).resultEdges().empty());

    const qvPelBuffer<unsigned char> image = repeatedRow(steps({10, 90}, {6, 6}), 3);
    for (const long interpolation : {kNearestPel, kBilinearPel}) {
        const qvAffineSamplingParams oneSample(uprightRect(0.0, 0.0, 12.0, 3.0), 1, 1, interpolation);
        EXPECT_TRUE(runCaliper(image, oneSample, allEdges(1)).resultEdges().empty());
        const qvAffineSamplingParams noLength(uprightRect(6.0, 1.0, 0.0, 0.0), 5, 5, interpolation);
        const qvCaliperResultSet ofNoLength = runCaliper(image, noLength, allEdges(1));
        EXPECT_TRUE(ofNoLength.resultEdges().empty());
        EXPECT_EQ(ofNoLength.mapPositionToPoint(3.0).x(), 6.0);
    }

    const qvPelBuffer<unsigned char> high = repeatedRow({10, 90}, 5000);
    EXPECT_TRUE(runCaliper(high, allPels(high, kBilinearPel), allEdges(1)).resultEdges().empty());
    const qvPelBuffer<unsigned char> wide = repeatedRow(steps({10, 90}, {15000, 25000}), 3);
    const qvAffineSamplingParams ofWide(uprightRect(0.0, 0.0, 32767.0, 3.0), 32767, 3, kNearestPel);
    const auto edges = runCaliper(wide, ofWide, allEdges(2)).resultEdges();
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].position(), 15000.0 - 16383.5);
}

TEST(Caliper, RectangleThatIsNoNumberOrFarAwayFindsNothing) {
    const qvPelBuffer<unsigned char> image = repeatedRow(steps({10, 90}, {6, 6}), 3);
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (const double bad : {kNaN, infinite, -infinite, 1e300, 5000.0}) {
        const qvAffineRectangle rect(qvVector<2>(bad, 1.5), 12.0, 3.0, qvRadian(0.0), qvRadian(0.0));
        for (const long interpolation : {kNearestPel, kBilinearPel})
            EXPECT_TRUE(runCaliper(image, qvAffineSamplingParams(rect, 12, 3, interpolation), allEdges(2))
                            .resultEdges()
                            .empty());
    }
    const qvAffineRectangle ofNoLength(qvVector<2>(6.0, 1.5), kNaN, 3.0, qvRadian(0.0), qvRadian(0.0));
    const qvAffineSamplingParams sampling(ofNoLength, 12, 3, kBilinearPel);
    EXPECT_TRUE(runCaliper(image, sampling, allEdges(2)).resultEdges().empty());
}

TEST(Caliper, ErrorsLeaveTheResultsAndSuccessReplacesThem) {
    qvPelBuffer<unsigned char> image = repeatedRow(steps({10, 90}, {6, 6}), 3);
    const qvAffineSamplingParams sampling = allPels(image, kNearestPel);
    qvCaliperResultSet results = runCaliper(image, sampling, allEdges(2));
    ASSERT_EQ(results.results().size(), 1u);

    EXPECT_THROW(qfCaliperRun(qvPelBuffer_const<unsigned char>(), sampling, allEdges(2), results, nullptr, 0),
                 qvPel::UnboundWindow);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.0, 0.0, 0.0, 0.0), qvVector<2>(0.0, 0.0)));
    EXPECT_THROW(qfCaliperRun(image, sampling, allEdges(2), results, nullptr, 0), qvMatrixErr::Singular);
    EXPECT_EQ(results.results().size(), 1u);
    EXPECT_EQ(results.resultEdges().size(), 1u);

    const qvPelBuffer<unsigned char> even = repeatedRow(steps({10}, {12}), 3);
    qfCaliperRun(even, sampling, allEdges(2), results, nullptr, 0x120000);
    EXPECT_TRUE(results.results().empty());
    EXPECT_TRUE(results.resultEdges().empty());
}

}  // namespace
