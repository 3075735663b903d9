#include "qvstreet/projection/crossing_refinement.h"

#include <gtest/gtest.h>

#include <cmath>

#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/support/wafer_render.h"

namespace {

using Defs = qvStreetFinderDefs;
using CrossResult = qvStreetFinderStreetCrossResult;
using Access = qv_streetResultAccess;

/// A 300 by 240 image of one upright street `widthX` wide and one flat street `widthY` wide, crossing at (150.3, 119.6).
qvtest::GreyImage oneCrossing(double widthX, double widthY, double streetGrey, double dieGrey,
                              double tiltDegrees = 0.0) {
    qvtest::Scene scene;
    scene.width = 300;
    scene.height = 240;
    scene.families[0] = qvtest::evenFamily(tiltDegrees, -0.4, 1000.0, 1, widthY, streetGrey);
    scene.families[1] = qvtest::evenFamily(90.0 + tiltDegrees, 0.3, 1000.0, 1, widthX, streetGrey);
    scene.dieGrey = dieGrey;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 0.0;
    return qvtest::renderScene(scene);
}

/// Where the two centre lines cross: the offsets are measured from the image's centre at right angles to the streets.
qvVector<2> trueCrossing(double tiltDegrees) {
    const double tilt = tiltDegrees * qvPi / 180.0;
    const qvVector<2> along(std::cos(tilt), std::sin(tilt));
    const qvVector<2> down(-std::sin(tilt), std::cos(tilt));
    return qvVector<2>(150.0, 120.0) + down * -0.4 + along * 0.3;
}

qvPelBuffer_const<unsigned char> viewOf(const qvtest::GreyImage& image) {
    return qvPelBuffer_const<unsigned char>(image.pels.data(), image.width, image.height, image.stride);
}

qv_refineContext contextAt(const qvVector<2>& crossing, const qvPair<double>& width, long polarity,
                           double tiltDegrees = 0.0) {
    return qv_refineContext(crossing, qvDegree(tiltDegrees), qvDegree(90.0 + tiltDegrees),
                            qvPair<double>(4.0 * width.second, 12.0 * width.second),
                            qvPair<double>(4.0 * width.first, 12.0 * width.first), width, 0.1, Defs::eRidgeWafer,
                            polarity);
}

CrossResult crossResultAt(const qvVector<2>& crossing) {
    CrossResult result;
    Access::crossing(result) = crossing;
    Access::horizontalAngle(result) = qvDegree(0.0);
    Access::verticalAngle(result) = qvDegree(90.0);
    Access::score(result) = 0.625;
    Access::ulCorner(result) = qvVector<2>(1.0, 2.0);
    Access::lineSegs(result) = {qvLineSeg(qvVector<2>(3.0, 4.0), qvVector<2>(5.0, 6.0)), qvLineSeg()};
    return result;
}

TEST(RefineContext, SampleCountsAreTwiceTheLengthsCutToWholeNumbers) {
    const qv_refineContext context(qvVector<2>(1.0, 2.0), qvDegree(3.0), qvDegree(94.0), qvPair<double>(13.3, 39.9),
                                   qvPair<double>(20.25, 60.75), qvPair<double>(5.0, 7.0), 0.1, 1, 2);
    EXPECT_EQ(context.sizesVertical, qvPair<long>(26, 79));
    EXPECT_EQ(context.sizesHorizontal, qvPair<long>(40, 121));
    EXPECT_EQ(context.horizontalAngle.toDouble(), 3.0);
    EXPECT_EQ(context.verticalAngle.toDouble(), 94.0);
    EXPECT_EQ(context.lengthsVertical, qvPair<double>(13.3, 39.9));
    EXPECT_EQ(context.lengthsHorizontal, qvPair<double>(20.25, 60.75));
    EXPECT_EQ(context.crossing, qvVector<2>(1.0, 2.0));
    EXPECT_EQ(context.width, qvPair<double>(5.0, 7.0));
    EXPECT_EQ(context.sampleFraction, 0.1);
    EXPECT_EQ(context.runMode, 1);
    EXPECT_EQ(context.polarity, 2);
}

TEST(RefineResult, FieldsAreZeroAtFirst) {
    const qv_refineResult result;
    EXPECT_EQ(result.crossing, qvVector<2>());
    EXPECT_EQ(result.score, 0.0);
    EXPECT_EQ(result.status, Defs::eStreetFromEdges);
}

TEST(CrossingRefinement, DarkStreetsAreFoundToATwentiethOfAPel) {
    for (const double tilt : {0.0, 2.5, -3.5}) {
        const qvtest::GreyImage image = oneCrossing(16.0, 16.0, 60.0, 150.0, tilt);
        qv_refineResult result;
        refineCrossing(viewOf(image),
                       contextAt(trueCrossing(tilt) + qvVector<2>(2.0, -1.5), {16.0, 16.0}, Defs::eDarkOnLight, tilt),
                       result, nullptr);
        EXPECT_LT(result.crossing.distance(trueCrossing(tilt)), 0.05) << tilt;
        EXPECT_EQ(result.status, Defs::eStreetFromEdges);
        EXPECT_GT(result.score, 0.0);
    }
}

TEST(CrossingRefinement, LightStreetsAreFoundOnceAskedFor) {
    const qvtest::GreyImage image = oneCrossing(16.0, 16.0, 200.0, 95.0);
    qv_refineResult result;
    refineCrossing(viewOf(image), contextAt(qvVector<2>(151.0, 121.0), {16.0, 16.0}, Defs::eLightOnDark), result,
                   nullptr);
    EXPECT_LT(result.crossing.distance(trueCrossing(0.0)), 0.05);
}

TEST(CrossingRefinement, AnyPolarityLooksForLightStreets) {
    qv_refineResult ofLight;
    refineCrossing(viewOf(oneCrossing(16.0, 16.0, 200.0, 95.0)),
                   contextAt(qvVector<2>(151.0, 121.0), {16.0, 16.0}, Defs::eAnyPolarity), ofLight, nullptr);
    EXPECT_LT(ofLight.crossing.distance(trueCrossing(0.0)), 0.05);

    // The region of a dark street has no rise left of a fall at the street's separation: nothing is found.
    qv_refineResult ofDark;
    refineCrossing(viewOf(oneCrossing(16.0, 16.0, 60.0, 150.0)),
                   contextAt(qvVector<2>(150.0, 120.0), {16.0, 16.0}, Defs::eAnyPolarity), ofDark, nullptr);
    EXPECT_EQ(ofDark.crossing, qvVector<2>(150.0, 120.0));
    EXPECT_EQ(ofDark.score, -1.0);
    EXPECT_EQ(ofDark.status, Defs::eStreetFromLine);
}

TEST(CrossingRefinement, NothingToBeSeenLeavesTheCrossingWithScoreMinusOne) {
    const std::vector<unsigned char> grey(120 * 100, 90);
    const qvPelBuffer_const<unsigned char> image(grey.data(), 120, 100, 120);
    qv_refineResult result;
    refineCrossing(image, contextAt(qvVector<2>(60.25, 50.5), {10.0, 8.0}, Defs::eDarkOnLight), result, nullptr);
    EXPECT_EQ(result.crossing, qvVector<2>(60.25, 50.5));
    EXPECT_EQ(result.score, -1.0);
    EXPECT_EQ(result.status, Defs::eStreetFromLine);
}

// The flat street is 24 wide, the upright one 16. The region of the flat street is as large as 24 asks for, while its edges
// are looked for 16 apart, and the other way round: both score less than with the widths the other way round.
TEST(CrossingRefinement, SeparationTakesTheOtherWidth) {
    const qvtest::GreyImage image = oneCrossing(16.0, 24.0, 60.0, 150.0);
    qv_refineResult crossed;
    refineCrossing(viewOf(image), contextAt(qvVector<2>(150.0, 120.0), {16.0, 24.0}, Defs::eDarkOnLight), crossed,
                   nullptr);
    qv_refineResult straight;
    refineCrossing(viewOf(image), contextAt(qvVector<2>(150.0, 120.0), {24.0, 16.0}, Defs::eDarkOnLight), straight,
                   nullptr);
    EXPECT_GT(straight.score, crossed.score);
    EXPECT_GT(crossed.score, 0.0);
}

TEST(CrossingRefinement, EqualWidthsDoNotShowTheCrossingOver) {
    const qvtest::GreyImage image = oneCrossing(20.0, 20.0, 60.0, 150.0);
    double scores[2];
    qvVector<2> points[2];
    const qvPair<double> width(20.0, 20.0);
    for (int i = 0; i < 2; ++i) {
        const qvAffineRectangle region(qvVector<2>(150.0, 120.0), 80.0, 240.0, qvDegree(i == 0 ? 90.0 : 180.0),
                                       qvRadian(0.0));
        scores[i] = locateStreetCentre(viewOf(image), qvAffineSamplingParams(region, 160, 480, 2), points[i],
                                       i == 0 ? width.first : width.second, 2.0, true, nullptr);
    }
    qv_refineResult result;
    refineCrossing(viewOf(image), contextAt(qvVector<2>(150.0, 120.0), width, Defs::eDarkOnLight), result, nullptr);
    EXPECT_EQ(result.score, scores[0] + scores[1]);
    EXPECT_NEAR(result.crossing.y(), points[0].y(), 1e-9);
    EXPECT_NEAR(result.crossing.x(), points[1].x(), 1e-9);
}

TEST(CrossingRefinement, ParallelStreetsGiveScoreZero) {
    const qvtest::GreyImage image = oneCrossing(20.0, 20.0, 60.0, 150.0);
    const qv_refineContext context(qvVector<2>(80.0, 120.0), qvDegree(0.0), qvDegree(0.0), qvPair<double>(80.0, 100.0),
                                   qvPair<double>(80.0, 100.0), qvPair<double>(20.0, 20.0), 0.1, 1, Defs::eDarkOnLight);
    qv_refineResult result;
    refineCrossing(viewOf(image), context, result, nullptr);
    EXPECT_EQ(result.score, 0.0);
    EXPECT_EQ(result.status, Defs::eStreetFromLine);
    EXPECT_EQ(result.crossing, qvVector<2>(80.0, 120.0));
}

TEST(LocateStreetCentre, WithoutAPairThePointStaysAndTheScoreIsMinusOne) {
    const std::vector<unsigned char> grey(60 * 50, 90);
    const qvPelBuffer_const<unsigned char> image(grey.data(), 60, 50, 60);
    const qvAffineRectangle region(qvVector<2>(30.0, 25.0), 20.0, 30.0, qvRadian(0.0), qvRadian(0.0));
    qvVector<2> point(7.0, 8.0);
    EXPECT_EQ(locateStreetCentre(image, qvAffineSamplingParams(region, 40, 60, 2), point, 8.0, 0.8, true, nullptr),
              -1.0);
    EXPECT_EQ(point, qvVector<2>(7.0, 8.0));
}

// An upright street 18 wide and a flat one 10 wide. A pair at least twice as far apart as it should be scores 0, which the
// caliper does not count as found.
TEST(LocateStreetCentre, PairThatScoresZeroIsNone) {
    const qvtest::GreyImage image = oneCrossing(18.0, 10.0, 60.0, 150.0);
    const qvAffineRectangle region(qvVector<2>(150.0, 60.0), 40.0, 60.0, qvRadian(0.0), qvRadian(0.0));
    const auto scoreAt = [&](double width, qvVector<2>& point) {
        const qvAffineSamplingParams sampling(region, 80, 120, 2);
        return locateStreetCentre(viewOf(image), sampling, point, width, 0.8, true, nullptr);
    };
    qvVector<2> point(7.0, 8.0);
    EXPECT_EQ(scoreAt(8.0, point), -1.0);
    EXPECT_EQ(point, qvVector<2>(7.0, 8.0));
    EXPECT_GT(scoreAt(10.0, point), 0.0);
    EXPECT_NEAR(point.x(), 150.3, 0.05);
}

TEST(CrossingRefinement, PairOfScoreZeroAcrossEitherStreetIsAFailure) {
    const qvtest::GreyImage image = oneCrossing(18.0, 10.0, 60.0, 150.0);
    // The first width is what the edges of the flat street are looked for at, the second that of the upright one.
    const qvPair<double> widths[2] = {{10.0, 8.0}, {4.0, 18.0}};
    for (const qvPair<double>& width : widths) {
        SCOPED_TRACE(width.first);
        const qv_refineContext context(qvVector<2>(150.0, 120.0), qvDegree(0.0), qvDegree(90.0),
                                       qvPair<double>(40.0, 200.0), qvPair<double>(60.0, 200.0), width, 0.1,
                                       Defs::eRidgeWafer, Defs::eDarkOnLight);
        qv_refineResult result;
        refineCrossing(viewOf(image), context, result, nullptr);
        EXPECT_EQ(result.crossing, qvVector<2>(150.0, 120.0));
        EXPECT_EQ(result.score, -1.0);
        EXPECT_EQ(result.status, Defs::eStreetFromLine);
    }
}

TEST(RefineCrossings, OnlyTheRidgeModeMovesAnything) {
    const qvtest::GreyImage image = oneCrossing(16.0, 16.0, 60.0, 150.0);
    qv_streetFinderImpl impl;
    impl.image = viewOf(image);
    for (const long mode : {0L, 2L, 3L}) {
        std::vector<CrossResult> results = {crossResultAt(qvVector<2>(151.0, 121.0))};
        refineCrossings(results, impl, mode, Defs::eDarkOnLight, qvPair<double>(16.0, 16.0));
        EXPECT_EQ(results[0].crossing(), qvVector<2>(151.0, 121.0)) << mode;
        EXPECT_EQ(results[0].ulCorner(), qvVector<2>(1.0, 2.0)) << mode;
    }
    std::vector<CrossResult> results = {crossResultAt(qvVector<2>(151.0, 121.0))};
    refineCrossings(results, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(16.0, 16.0));
    EXPECT_LT(results[0].crossing().distance(trueCrossing(0.0)), 0.05);
}

TEST(RefineCrossings, CrossingAndCornersAreRewrittenAndScoreAndSegmentsStay) {
    const qvtest::GreyImage image = oneCrossing(16.0, 16.0, 60.0, 150.0);
    qv_streetFinderImpl impl;
    impl.image = viewOf(image);
    // The second one lies where no street is: the search fails and its corners become the old crossing.
    std::vector<CrossResult> results = {crossResultAt(qvVector<2>(151.0, 121.0)),
                                        crossResultAt(qvVector<2>(40.0, 40.0))};
    const std::vector<CrossResult> before = results;
    refineCrossings(results, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(16.0, 16.0));
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(results[i].ulCorner(), results[i].crossing());
        EXPECT_EQ(results[i].urCorner(), results[i].crossing());
        EXPECT_EQ(results[i].llCorner(), results[i].crossing());
        EXPECT_EQ(results[i].lrCorner(), results[i].crossing());
        EXPECT_EQ(results[i].score(), 0.625);
        EXPECT_EQ(results[i].lineSegs(), before[i].lineSegs());
        EXPECT_EQ(results[i].statusFlags(), before[i].statusFlags());
    }
    EXPECT_NE(results[0].crossing(), before[0].crossing());
    EXPECT_EQ(results[1].crossing(), before[1].crossing());
}

TEST(RefineCrossings, WidthsBelowThreeAreRaisedToThree) {
    // A street 3 pels wide: asked for as 1 wide it is found as well as asked for as 3.
    const qvtest::GreyImage image = oneCrossing(3.0, 3.0, 20.0, 220.0);
    qv_streetFinderImpl impl;
    impl.image = viewOf(image);
    std::vector<CrossResult> asOne = {crossResultAt(qvVector<2>(150.8, 120.2))};
    std::vector<CrossResult> asThree = asOne;
    refineCrossings(asOne, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(1.0, 0.5));
    refineCrossings(asThree, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(3.0, 3.0));
    EXPECT_EQ(asOne[0].crossing(), asThree[0].crossing());
    EXPECT_LT(asThree[0].crossing().distance(trueCrossing(0.0)), 0.3);
    EXPECT_NE(asThree[0].crossing(), qvVector<2>(150.8, 120.2));
}

// The first street's region is measured by `second`, the second one's by `first`, each raised on its own.
TEST(RefineCrossings, RegionsAreFourByTwelveOfTheWidthsRaisedOneByOne) {
    const qvtest::GreyImage image = oneCrossing(20.0, 20.0, 60.0, 150.0);
    qv_streetFinderImpl impl;
    impl.image = viewOf(image);
    const qvPair<double> asked[] = {{16.0, 24.0}, {24.0, 16.0}, {2.0, 24.0}, {24.0, 2.0}};
    const qvPair<double> raised[] = {{16.0, 24.0}, {24.0, 16.0}, {3.0, 24.0}, {24.0, 3.0}};
    for (int i = 0; i < 4; ++i) {
        std::vector<CrossResult> results = {crossResultAt(qvVector<2>(151.0, 121.0))};
        refineCrossings(results, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, asked[i]);
        qv_refineResult expected;
        refineCrossing(impl.image, contextAt(qvVector<2>(151.0, 121.0), raised[i], Defs::eDarkOnLight), expected,
                       nullptr);
        EXPECT_EQ(results[0].crossing(), expected.crossing) << i;
    }
}

// 24 * 1365 = 32760 samples fit 16 bits; 24 * 1366 = 32784 become negative, 24 * 2731 = 65544 become 8.
TEST(RefineCrossings, SampleCountsNarrowTo16Bits) {
    const std::vector<unsigned char> grey(40 * 30, 90);
    qv_streetFinderImpl impl;
    impl.image = qvPelBuffer_const<unsigned char>(grey.data(), 40, 30, 40);
    const auto refine = [&](double widthX, double widthY) {
        std::vector<CrossResult> results = {crossResultAt(qvVector<2>(20.0, 15.0))};
        refineCrossings(results, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(widthX, widthY));
    };
    EXPECT_NO_THROW(refine(2731.0, 3.0));
    EXPECT_NO_THROW(refine(3.0, 2731.0));
    EXPECT_THROW(refine(1366.0, 3.0), qvPel::BadSize);
    EXPECT_THROW(refine(3.0, 1366.0), qvPel::BadSize);
}

}  // namespace
