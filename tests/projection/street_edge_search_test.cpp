#include "qvstreet/projection/street_edge_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/projection/drawn_street.h"

using namespace qvtest;

namespace {

using Defs = qvStreetFinderDefs;

/// Rows by their grey level: `greys[i]` from row `from[i]` on.
struct Band {
    long from;
    double grey;
};
double greyOf(const std::vector<Band>& bands, long row) {
    double grey = 0.0;
    for (const Band& band : bands)
        if (row >= band.from) grey = band.grey;
    return grey;
}

qvPelBuffer<unsigned char> banded(const std::vector<Band>& bands, long width = 200, long height = 70) {
    return drawnImage(width, height, [&bands](long, long y) { return greyOf(bands, y); });
}

/// A street said to be in the middle of row 26, 10 pels wide.
qv_StreetPrediction told(double v0 = 26.5, double likely = 10.0) {
    qv_StreetPrediction prediction;
    prediction.centre = {100.0, v0, 0.0};
    prediction.leastWidth = 5.0;
    prediction.likelyWidth = likely;
    prediction.mostWidth = 16.0;
    prediction.reach = 6.0;
    return prediction;
}

qv_StreetEdges search(const qvPelBuffer_const<unsigned char>& image, const qv_StreetPrediction& prediction,
                      const std::vector<qv_UvRange>& crossings = {}, double leastContrast = 3.0) {
    return qf_findStreetEdges(alongRows(image), prediction, crossings, leastContrast);
}

const std::vector<Band> darkStreet{{0, 150.0}, {20, 60.0}, {30, 150.0}};

}  // namespace

TEST(StreetEdgeSearch, stepsAreFoundAtTheirPelBordersWithTheirHeight) {
    const qv_StreetEdges edges = search(banded(darkStreet), told());
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 20.0 - 26.5, 1e-9);
    EXPECT_NEAR(edges.offset[1], 30.0 - 26.5, 1e-9);
    EXPECT_NEAR(edges.contrast[0], -90.0, 1e-9);
    EXPECT_NEAR(edges.contrast[1], 90.0, 1e-9);
}

TEST(StreetEdgeSearch, edgesOfUnequalHeightEachHaveTheirOwn) {
    const qv_StreetEdges edges = search(banded({{0, 150.0}, {20, 60.0}, {30, 120.0}}), told());
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.contrast[0], -90.0, 1e-9);
    EXPECT_NEAR(edges.contrast[1], 60.0, 1e-9);
}

TEST(StreetEdgeSearch, theProfileIsGivenByDistanceFromThePredictedLine) {
    const qv_StreetEdges edges = search(banded(darkStreet), told());
    // Half of 16, the reach, the four taps and two more.
    EXPECT_EQ(edges.firstOffset, -20.0);
    ASSERT_EQ(edges.profile.size(), 41u);
    EXPECT_EQ(edges.profile[13], 150.0);
    EXPECT_EQ(edges.profile[14], 60.0);
    EXPECT_EQ(edges.profile[23], 60.0);
    EXPECT_EQ(edges.profile[24], 150.0);
}

TEST(StreetEdgeSearch, theProfileIsNotANumberOutsideTheImage) {
    const qv_StreetEdges edges = search(banded({{0, 150.0}, {10, 60.0}, {20, 150.0}}, 200, 30), told(15.5));
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    ASSERT_EQ(edges.profile.size(), 41u);
    EXPECT_TRUE(std::isnan(edges.profile[4]));
    EXPECT_EQ(edges.profile[5], 150.0);
    EXPECT_EQ(edges.profile[34], 150.0);
    EXPECT_TRUE(std::isnan(edges.profile[35]));
}

TEST(StreetEdgeSearch, alongAVerticalStreetTheAnswersAreTheSame) {
    const qvPelBuffer<unsigned char> image = drawnImage(200, 70, [](long x, long y) {
        return DrawnStreet{14.3, 26.1, 0.05}.grey(x, y) + static_cast<double>((x * 7 + y * 3) % 5);
    });
    qv_StreetPrediction prediction = told(25.0);
    prediction.centre.slope = 0.05;
    const qv_StreetEdges a = qf_findStreetEdges(alongRows(image), prediction, {}, 3.0);
    const qv_StreetEdges b = qf_findStreetEdges(alongColumns(transposed(image)), prediction, {}, 3.0);
    ASSERT_EQ(a.found, qv_EdgesFound::both);
    EXPECT_EQ(a.offset, b.offset);
    EXPECT_EQ(a.contrast, b.contrast);
}

TEST(StreetEdgeSearch, aTiltedStreetIsFoundToHalfAPelAlongItsDirection) {
    for (const double slope : {0.3, -0.2, 0.07}) {
        const DrawnStreet street{60.0 - 100.0 * slope, 72.4 - 100.0 * slope, slope};
        const qvPelBuffer<unsigned char> image =
            drawnImage(200, 130, [&street](long x, long y) { return street.grey(x, y); });
        qv_StreetPrediction prediction = told(64.7, 12.0);
        prediction.centre.slope = slope;
        const qv_StreetEdges edges = search(image, prediction);
        ASSERT_EQ(edges.found, qv_EdgesFound::both) << slope;
        EXPECT_NEAR(edges.offset[0], 60.0 - 64.7, 0.6) << slope;
        EXPECT_NEAR(edges.offset[1], 72.4 - 64.7, 0.6) << slope;
    }
}

TEST(StreetEdgeSearch, thePairOfTheLikelyWidthIsChosen) {
    // Dark from 15 to 29 and again from 29 on darker still: pairs of 14 and of 8 share their end.
    const std::vector<Band> bands{{0, 200.0}, {16, 140.0}, {22, 80.0}, {30, 200.0}};
    qv_StreetEdges edges = search(banded(bands), told(25.5, 14.0));
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 16.0 - 25.5, 0.1);
    EXPECT_NEAR(edges.offset[1], 30.0 - 25.5, 0.1);
    edges = search(banded(bands), told(25.5, 8.0));
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 22.0 - 25.5, 0.1);
    EXPECT_NEAR(edges.offset[1], 30.0 - 25.5, 0.1);
}

TEST(StreetEdgeSearch, aWidthMayLieAPelBeyondItsRange) {
    qv_StreetPrediction prediction = told();
    prediction.mostWidth = 9.0;
    prediction.likelyWidth = 8.0;
    EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
    prediction.mostWidth = 8.9;
    EXPECT_NE(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
    prediction = told(26.5, 13.0);
    prediction.leastWidth = 11.0;
    EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
    prediction.leastWidth = 11.1;
    EXPECT_NE(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
}

TEST(StreetEdgeSearch, thePairWhoseEdgesAreEquallyStrongIsChosen) {
    // 90 down, then 20 up after 9 pels, 70 up after 15; the likely width lies between.
    const qv_StreetEdges edges = search(banded({{0, 150.0}, {16, 60.0}, {25, 80.0}, {31, 150.0}}), told(23.5, 12.0));
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 16.0 - 23.5, 0.1);
    EXPECT_NEAR(edges.offset[1], 31.0 - 23.5, 0.1);
}

TEST(StreetEdgeSearch, onlyPairsOfTheAskedPolarityCount) {
    qv_StreetPrediction prediction = told();
    prediction.polarity = Defs::eDarkOnLight;
    EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
    prediction.polarity = Defs::eLightOnDark;
    EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::none);
    const std::vector<Band> lightStreet{{0, 60.0}, {20, 150.0}, {30, 60.0}};
    EXPECT_EQ(search(banded(lightStreet), prediction).found, qv_EdgesFound::both);
    prediction.polarity = Defs::eDarkOnLight;
    EXPECT_EQ(search(banded(lightStreet), prediction).found, qv_EdgesFound::none);
    prediction.polarity = Defs::eAnyPolarity;
    EXPECT_EQ(search(banded(lightStreet), prediction).found, qv_EdgesFound::both);
}

TEST(StreetEdgeSearch, betweenTwoEquallyGoodStreetsNoneIsChosen) {
    // 8 pels each, their middles 8 pels above and below the prediction.
    const std::vector<Band> bands{{0, 150.0}, {15, 60.0}, {23, 150.0}, {31, 60.0}, {39, 150.0}};
    qv_StreetPrediction prediction = told(27.0 + 0.5, 8.0);
    prediction.reach = 12.0;
    prediction.polarity = Defs::eDarkOnLight;
    EXPECT_EQ(search(banded(bands), prediction).found, qv_EdgesFound::ambiguous);
    // Of any polarity, the light one between them is nearest.
    prediction.polarity = Defs::eAnyPolarity;
    const qv_StreetEdges edges = search(banded(bands), prediction);
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 23.0 - 27.5, 0.1);
    // Nor is there a choice where the prediction lies at one of the two.
    prediction.polarity = Defs::eDarkOnLight;
    prediction.centre.v0 = 19.5;
    EXPECT_EQ(search(banded(bands), prediction).found, qv_EdgesFound::both);
}

TEST(StreetEdgeSearch, aMiddleBeyondTheReachIsNoStreet) {
    EXPECT_EQ(search(banded(darkStreet), told(30.6)).found, qv_EdgesFound::both);
    qv_StreetPrediction prediction = told(31.6);
    EXPECT_NE(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
    prediction.reach = 7.0;
    EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::both);
}

TEST(StreetEdgeSearch, aSingleStepIsTheEdgeThatItLiesNearestTo) {
    const qvPelBuffer<unsigned char> image = banded({{0, 150.0}, {24, 60.0}});
    qv_StreetEdges edges = search(image, told(28.5));
    ASSERT_EQ(edges.found, qv_EdgesFound::one);
    EXPECT_EQ(edges.which, 0);
    EXPECT_NEAR(edges.offset[0], 24.0 - 28.5, 0.01);
    EXPECT_NEAR(edges.contrast[0], -90.0, 1e-9);
    edges = search(image, told(20.5));
    ASSERT_EQ(edges.found, qv_EdgesFound::one);
    EXPECT_EQ(edges.which, 1);
    EXPECT_NEAR(edges.offset[0], 24.0 - 20.5, 0.01);
}

TEST(StreetEdgeSearch, thePolarityTellsWhichEdgeASingleStepIs) {
    // Between the two places: 1 pel from the first edge of a light street, 9 from the second.
    const qvPelBuffer<unsigned char> image = banded({{0, 150.0}, {24, 60.0}});
    qv_StreetPrediction prediction = told(24.5);
    prediction.polarity = Defs::eDarkOnLight;
    qv_StreetEdges edges = search(image, prediction);
    ASSERT_EQ(edges.found, qv_EdgesFound::one);
    EXPECT_EQ(edges.which, 0);
    prediction.polarity = Defs::eLightOnDark;
    edges = search(image, prediction);
    ASSERT_EQ(edges.found, qv_EdgesFound::one);
    EXPECT_EQ(edges.which, 1);
    // Where only the other edge of such a street could be, the step is none.
    prediction = told(20.5);
    prediction.polarity = Defs::eDarkOnLight;
    EXPECT_EQ(search(image, prediction).found, qv_EdgesFound::none);
}

TEST(StreetEdgeSearch, aPlainImageHasNoEdges) {
    const qv_StreetEdges edges = search(banded({{0, 90.0}}), told());
    EXPECT_EQ(edges.found, qv_EdgesFound::none);
    EXPECT_EQ(edges.profile.size(), 41u);
}

TEST(StreetEdgeSearch, anEdgeOfJustTheLeastContrastCounts) {
    const qvPelBuffer<unsigned char> image = banded({{0, 103.0}, {20, 100.0}, {30, 103.0}});
    const qv_StreetEdges edges = search(image, told(), {}, 1.0);
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    const double contrast = std::min(std::fabs(edges.contrast[0]), std::fabs(edges.contrast[1]));
    EXPECT_NEAR(contrast, 3.0, 1e-9);
    EXPECT_EQ(search(image, told(), {}, contrast).found, qv_EdgesFound::both);
    EXPECT_NE(search(image, told(), {}, std::nextafter(contrast, 4.0)).found, qv_EdgesFound::both);
    EXPECT_EQ(search(image, told(), {}, 3.01).found, qv_EdgesFound::none);
}

TEST(StreetEdgeSearch, twoStretchesAreNeeded) {
    qv_StreetPrediction prediction = told();
    prediction.centre.u0 = 16.0;
    EXPECT_EQ(search(banded(darkStreet, 32), prediction).found, qv_EdgesFound::both);
    EXPECT_EQ(search(banded(darkStreet, 31), prediction).found, qv_EdgesFound::outside);
    EXPECT_TRUE(search(banded(darkStreet, 31), prediction).profile.empty());
}

TEST(StreetEdgeSearch, aStreetThatRunsOutsideTheImageIsOutside) {
    EXPECT_EQ(search(banded(darkStreet), told(-0.5)).found, qv_EdgesFound::outside);
    EXPECT_EQ(search(banded(darkStreet), told(70.5)).found, qv_EdgesFound::outside);
    // Beyond the ends of the street there are no columns, but the nearest ones will do.
    for (const double u0 : {-5000.0, 9000.0}) {
        qv_StreetPrediction prediction = told();
        prediction.centre.u0 = u0;
        EXPECT_EQ(search(banded(darkStreet), prediction).found, qv_EdgesFound::both) << u0;
    }
}

TEST(StreetEdgeSearch, crossingsAreLeftOut) {
    // The street is interrupted from column 40 to 160, where only stretches near the start would look.
    const qvPelBuffer<unsigned char> image =
        drawnImage(200, 70, [](long x, long y) { return x >= 40 && x < 160 ? 150.0 : greyOf(darkStreet, y); });
    EXPECT_EQ(search(image, told()).found, qv_EdgesFound::none);
    EXPECT_EQ(search(image, told(), {{40.0, 100.0}, {100.0, 160.0}}).found, qv_EdgesFound::both);
    EXPECT_EQ(search(image, told(), {{0.0, 200.0}}).found, qv_EdgesFound::outside);
}

TEST(StreetEdgeSearch, aCrossingOfAnyWidthIsPassedOver) {
    const qvPelBuffer<unsigned char> image =
        drawnImage(2000, 70, [](long x, long y) { return x >= 100 && x < 1900 ? 60.0 : greyOf(darkStreet, y); });
    qv_StreetPrediction prediction = told();
    prediction.centre.u0 = 1000.0;
    EXPECT_EQ(search(image, prediction, {{95.0, 1905.0}}).found, qv_EdgesFound::both);
    // What is no crossing is looked at over 24 stretches of 16 columns on either side.
    prediction.centre = {20.0, -100.0, 0.24};
    EXPECT_EQ(search(image, prediction).found, qv_EdgesFound::outside) << "it enters the image at column 437";
}

TEST(StreetEdgeSearch, padsInFewerThanHalfOfTheStretchesDoNotCount) {
    // Two of the six stretches from column 52 to 148 have a white pad over the first edge.
    const qvPelBuffer<unsigned char> image = drawnImage(200, 70, [](long x, long y) {
        return x >= 84 && x < 116 && y >= 10 && y < 28 ? 255.0 : greyOf(darkStreet, y);
    });
    const qv_StreetEdges edges = search(image, told());
    ASSERT_EQ(edges.found, qv_EdgesFound::both);
    EXPECT_NEAR(edges.offset[0], 20.0 - 26.5, 1e-9);
    EXPECT_NEAR(edges.contrast[0], -90.0, 1e-9);
}

TEST(StreetEdgeSearch, columnsMeetARangeThatTheyShareMoreThanABorderWith) {
    const std::vector<qv_UvRange> ranges{{16.0, 32.0}, {50.5, 51.0}};
    EXPECT_FALSE(qf_meetsRange(ranges, 0, 16));
    EXPECT_TRUE(qf_meetsRange(ranges, 0, 17));
    EXPECT_TRUE(qf_meetsRange(ranges, 31, 8));
    EXPECT_FALSE(qf_meetsRange(ranges, 32, 18));
    EXPECT_TRUE(qf_meetsRange(ranges, 50, 1));
    EXPECT_FALSE(qf_meetsRange(ranges, 51, 100));
    EXPECT_FALSE(qf_meetsRange({}, 0, 1000));
}
