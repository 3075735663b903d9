// Crossings in the edge pair mode, from an image through `setImage` and `find`.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/streetfinder/finder_runs.h"

namespace {

using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::clientFrame;
using qvtest::Crossings;
using qvtest::crossingsFrom;
using qvtest::finderParams;
using qvtest::numbersOf;
using qvtest::oblongWafer;
using qvtest::PaintedWafer;

/// Whether some result crosses within `reach` of the place.
bool isFound(const Crossings& results, const Point& place, double reach) {
    for (const qvStreetFinderStreetCrossResult& result : results)
        if (result.crossing().distance(place) <= reach) return true;
    return false;
}

/// Whether the scores fall, with those that are not a number behind all others.
bool isBestFirst(const Crossings& results) {
    for (std::size_t k = 1; k < results.size(); ++k)
        if (qf_scoreOrder(results[k], results[k - 1])) return false;
    return true;
}

qvStreetFinderStreetCrossResult crossingAt(double x, double y) {
    qvStreetFinderStreetCrossResult result;
    qv_streetResultAccess::crossing(result) = Point(x, y);
    return result;
}

}  // namespace

TEST(EdgePairFind, CrossingsHaveCornersAndEightSegments) {
    for (const double lean : {0.0, 3.0, -3.0}) {
        const PaintedWafer wafer = oblongWafer(lean);
        qvStreetFinder finder(finderParams(Defs::eEdgePairWafer));
        finder.setImage(wafer.image());
        const Crossings results = crossingsFrom(finder);
        EXPECT_EQ(results.size(), 6U) << lean;
        for (const Point& truth : crossingsOf(wafer)) EXPECT_TRUE(isFound(results, truth, 1.0)) << lean;
        for (const qvStreetFinderStreetCrossResult& result : results) {
            EXPECT_EQ(result.statusFlags(), Defs::eStreetFromEdges);
            EXPECT_EQ(result.lineSegs().size(), 8U);
            EXPECT_NEAR(result.ulCorner().distance(result.urCorner()), 18.0, 2.0);
            EXPECT_NEAR(result.ulCorner().distance(result.llCorner()), 30.0, 2.0);
            EXPECT_LT(result.ulCorner().x(), result.urCorner().x());
            EXPECT_LT(result.ulCorner().y(), result.llCorner().y());
            EXPECT_LT(((result.ulCorner() + result.lrCorner()) * 0.5).distance(result.crossing()), 1e-9);
            EXPECT_NEAR(qvDegree(result.horizontalAngle()).toDouble(), lean, 0.5);
            EXPECT_NEAR(qvDegree(result.verticalAngle()).toDouble(), -90.0 + lean, 0.5) << "upwards";
        }
        EXPECT_TRUE(isBestFirst(results)) << lean;
    }
}

TEST(EdgePairFind, CrossingsFollowTheClientFrame) {
    for (const double degrees : {3.0, -4.5})
        for (const bool mirrored : {false, true}) {
            const PaintedWafer wafer = oblongWafer(-2.0);
            const qvXform<2> frame = clientFrame(degrees, 0.5, mirrored);
            qvStreetFinder finder(finderParams(Defs::eEdgePairWafer, Defs::eAnyPolarity, 20, 0.5));
            finder.setImage(wafer.image(frame));
            const Crossings results = crossingsFrom(finder);
            EXPECT_EQ(results.size(), 6U) << degrees << ", " << mirrored;
            for (const Point& truth : crossingsOf(wafer)) EXPECT_TRUE(isFound(results, frame * truth, 0.5));
            for (const qvStreetFinderStreetCrossResult& result : results) {
                EXPECT_NEAR(qvDegree(result.horizontalAngle()).toDouble(), degrees + (mirrored ? 2.0 : -2.0), 0.5);
                EXPECT_NEAR(result.ulCorner().distance(result.urCorner()), 9.0, 1.0);
                EXPECT_NEAR(result.ulCorner().distance(result.llCorner()), 15.0, 1.0);
                EXPECT_LT(result.ulCorner().y(), result.llCorner().y()) << "upper is upper at the client";
            }
        }
}

TEST(EdgePairFind, CrossingsAreAppendedAndKeepTheirDistance) {
    qvStreetFinder finder(finderParams(Defs::eEdgePairWafer));
    finder.setImage(oblongWafer(3.0).image());
    const Crossings alone = crossingsFrom(finder);
    ASSERT_EQ(alone.size(), 6U);

    // Far from all: it stays ahead, and the others come as before.
    Crossings results = {crossingAt(5.0, 5.0)};
    finder.find(results);
    ASSERT_EQ(results.size(), 7U);
    EXPECT_EQ(results[0].crossing(), Point(5.0, 5.0));
    EXPECT_EQ(results[0].lineSegs().size(), 0U);
    EXPECT_EQ(numbersOf(Crossings(results.begin() + 1, results.end())), numbersOf(alone));

    // Within 5 of the best: that one is left out.
    const Point best = alone[0].crossing();
    results = {crossingAt(best.x() + 3.0, best.y() - 3.9)};
    finder.find(results);
    ASSERT_EQ(results.size(), 6U);
    EXPECT_EQ(numbersOf(Crossings(results.begin() + 1, results.end())),
              numbersOf(Crossings(alone.begin() + 1, alone.end())));
    results = {crossingAt(best.x() + 3.0, best.y() - 4.1)};
    finder.find(results);
    EXPECT_EQ(results.size(), 7U);

    // A second search finds nothing new.
    results = alone;
    finder.find(results);
    EXPECT_EQ(numbersOf(results), numbersOf(alone));
}

TEST(EdgePairFind, FormerResultsCountTowardsTheMost) {
    const qvPelBuffer_const<unsigned char> image = oblongWafer(3.0).image();
    qvStreetFinder finder(finderParams(Defs::eEdgePairWafer, Defs::eAnyPolarity, 4));
    finder.setImage(image);
    for (const std::size_t former : {0U, 1U, 3U, 4U, 9U}) {
        Crossings results(former);
        finder.find(results);
        EXPECT_EQ(results.size(), std::max<std::size_t>(former, 4)) << former;
        for (std::size_t k = 0; k < former; ++k) EXPECT_TRUE(results[k].lineSegs().empty());
    }
}

TEST(EdgePairFind, EveryMostIsFilledTwiceWithTheSameBits) {
    // The most also limits the candidates, so that a shorter answer need not be the head of a longer one.
    const PaintedWafer wafer = oblongWafer(3.0);
    for (long most = 1; most <= 20; ++most) {
        qvStreetFinder finder(finderParams(Defs::eEdgePairWafer, Defs::eAnyPolarity, most));
        finder.setImage(wafer.image());
        const Crossings results = crossingsFrom(finder);
        EXPECT_EQ(results.size(), std::min<std::size_t>(static_cast<std::size_t>(most), 6)) << most;
        EXPECT_TRUE(isBestFirst(results)) << most;
        for (const qvStreetFinderStreetCrossResult& result : results) {
            bool isTrue = false;
            for (const Point& truth : crossingsOf(wafer)) isTrue = isTrue || result.crossing().distance(truth) < 1.0;
            EXPECT_TRUE(isTrue) << most;
        }
        EXPECT_EQ(numbersOf(crossingsFrom(finder)), numbersOf(results)) << most;
    }
}

TEST(EdgePairFind, CrossingsHaveTheAskedPolarity) {
    // A profile is as long as the image's other side, so that of the upright streets the last one may be beyond it.
    for (const bool dark : {true, false}) {
        PaintedWafer wafer = oblongWafer(3.0);
        if (!dark) std::swap(wafer.dieGrey, wafer.streetGrey);
        qvStreetFinder same(finderParams(Defs::eEdgePairWafer, dark ? Defs::eDarkOnLight : Defs::eLightOnDark));
        same.setImage(wafer.image());
        const Crossings results = crossingsFrom(same);
        EXPECT_GE(results.size(), 4U);
        for (const qvStreetFinderStreetCrossResult& result : results) EXPECT_GT(result.score(), 0.5);
        qvStreetFinder other(finderParams(Defs::eEdgePairWafer, dark ? Defs::eLightOnDark : Defs::eDarkOnLight));
        other.setImage(wafer.image());
        for (const qvStreetFinderStreetCrossResult& result : crossingsFrom(other))
            for (const Point& truth : crossingsOf(wafer)) EXPECT_GT(result.crossing().distance(truth), 5.0);
    }
}
