// What is asked of a caliper, and how pairs and single edges are judged.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "qvstreet/platform/caliper.h"
#include "tests/platform/caliper_run.h"

namespace {

using qvtest::allPels;
using qvtest::ConstantScore;
using qvtest::kNearestPel;
using qvtest::repeatedRow;
using qvtest::steps;
using Polarity = qvCaliperDefs::qeEdgePolarity;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::vector<qvCaliperOneResult> resultsOfRow(const std::vector<int>& row, const qvCaliperRunParams& params) {
    const qvPelBuffer<unsigned char> image = repeatedRow(row, 2);
    return qvtest::runCaliper(image, allPels(image, kNearestPel), params).results();
}

qvCaliperFeatures pairOf(double position0, double position1, double contrast0, double contrast1, double asked0,
                         double asked1) {
    qvCaliperFeatures features;
    features.numEdges = 2;
    features.positions = qvPair<double>(position0, position1);
    features.contrasts = qvPair<double>(contrast0, contrast1);
    features.askedPositions = qvPair<double>(asked0, asked1);
    return features;
}

TEST(CaliperDefs, PolaritiesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(qvCaliperDefs::eRise), 1);
    EXPECT_EQ(static_cast<int>(qvCaliperDefs::eFall), 2);
    EXPECT_EQ(static_cast<int>(qvCaliperDefs::eEither), 3);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Polarity>, std::int32_t>));
}

TEST(CaliperRunParams, DefaultsAreHalfSizeTwoThresholdFiveOneResultNoMethods) {
    const qvCaliperRunParams single(1.5, qvCaliperDefs::eFall);
    EXPECT_EQ(single.numEdges(), 1);
    EXPECT_EQ(single.position0(), 1.5);
    EXPECT_EQ(single.polarity0(), qvCaliperDefs::eFall);
    EXPECT_EQ(single.filterHalfSize(), 2);
    EXPECT_EQ(single.contrastThreshold(), 5.0);
    EXPECT_EQ(single.maxNumResults(), 1);
    EXPECT_TRUE(single.scoringMethods().empty());

    const qvCaliperRunParams pair(-2.0, qvCaliperDefs::eFall, 3.0, qvCaliperDefs::eRise);
    EXPECT_EQ(pair.numEdges(), 2);
    EXPECT_EQ(pair.position0(), -2.0);
    EXPECT_EQ(pair.polarity0(), qvCaliperDefs::eFall);
    EXPECT_EQ(pair.position1(), 3.0);
    EXPECT_EQ(pair.polarity1(), qvCaliperDefs::eRise);
    EXPECT_EQ(pair.filterHalfSize(), 2);
    EXPECT_EQ(pair.maxNumResults(), 1);
}

TEST(CaliperRunParams, NumbersBelowOneAreRefusedAndChangeNothing) {
    qvCaliperRunParams params(0.0, qvCaliperDefs::eEither);
    params.filterHalfSize(3);
    params.maxNumResults(10);
    EXPECT_THROW(params.filterHalfSize(0), qvPel::BadSize);
    EXPECT_THROW(params.filterHalfSize(-32768), qvPel::BadSize);
    EXPECT_THROW(params.maxNumResults(0), qvPel::BadSize);
    EXPECT_THROW(params.maxNumResults(-1), qvPel::BadSize);
    EXPECT_EQ(params.filterHalfSize(), 3);
    EXPECT_EQ(params.maxNumResults(), 10);
}

TEST(CaliperRunParams, NullScoringMethodsAreLeftOut) {
    qvCaliperRunParams params(0.0, qvCaliperDefs::eEither);
    ConstantScore method(0.5);
    params.scoringMethods({nullptr, &method, nullptr});
    ASSERT_EQ(params.scoringMethods().size(), 1u);
    EXPECT_EQ(params.scoringMethods()[0], &method);
}

TEST(CaliperScore, ContrastOf255To0IsTheShareOfFullContrast) {
    const qvScoreContrast method(255.0, 0.0, 0.0, 1.0, 0.0);
    EXPECT_EQ(method.scoreOfMeasure(255.0), 1.0);
    EXPECT_EQ(method.scoreOfMeasure(300.0), 1.0);
    EXPECT_DOUBLE_EQ(method.scoreOfMeasure(51.0), 0.2);
    EXPECT_EQ(method.scoreOfMeasure(0.0), 0.0);
    EXPECT_EQ(method.scoreOfMeasure(-1.0), 0.0);
    // The mean of the magnitudes, whatever the signs.
    EXPECT_EQ(method.measure(pairOf(0.0, 1.0, -60.0, 42.0, 0.0, 1.0)), 51.0);
}

TEST(CaliperScore, SizeDifferenceOf0To1IsTheShareThatFits) {
    const qvScoreSizeDiffNorm method(0.0, 1.0, 1.0, 1.0, 0.0);
    EXPECT_EQ(method.scoreOfMeasure(0.0), 1.0);
    EXPECT_EQ(method.scoreOfMeasure(0.25), 0.75);
    EXPECT_EQ(method.scoreOfMeasure(1.0), 0.0);
    EXPECT_EQ(method.scoreOfMeasure(1.5), 0.0);
    EXPECT_EQ(method.scoreOfMeasure(-0.5), 1.0);
    EXPECT_EQ(method.measure(pairOf(-2.0, 4.0, -60.0, 60.0, -4.0, 4.0)), 0.25);
    EXPECT_EQ(method.measure(pairOf(-2.0, 10.0, -60.0, 60.0, -4.0, 4.0)), 0.5);
}

TEST(CaliperScore, SizeDifferenceToNothingIsZeroOrInfinite) {
    const qvScoreSizeDiffNorm method(0.0, 1.0, 1.0, 1.0, 0.0);
    EXPECT_EQ(method.measure(pairOf(3.0, 3.0, 9.0, 9.0, 1.0, 1.0)), 0.0);
    EXPECT_EQ(method.measure(pairOf(3.0, 4.0, 9.0, 9.0, 1.0, 1.0)), kInfinity);
    qvCaliperFeatures single;
    single.positions.first = 7.0;
    EXPECT_EQ(method.measure(single), 0.0);
}

TEST(CaliperScore, BeyondXcTheScoreIsZeroInEitherDirection) {
    // Upward: from 0.8 at 2 to 0.3 at 4, cut off above 6.
    const qvScoreContrast upward(2.0, 4.0, 6.0, 0.8, 0.3);
    EXPECT_EQ(upward.scoreOfMeasure(1.0), 0.8);
    EXPECT_EQ(upward.scoreOfMeasure(2.0), 0.8);
    EXPECT_DOUBLE_EQ(upward.scoreOfMeasure(3.0), 0.55);
    EXPECT_EQ(upward.scoreOfMeasure(4.0), 0.3);
    EXPECT_EQ(upward.scoreOfMeasure(6.0), 0.3);
    EXPECT_EQ(upward.scoreOfMeasure(std::nextafter(6.0, 7.0)), 0.0);
    // Downward: from 0.8 at 6 to 0.3 at 4, cut off below 1.
    const qvScoreContrast downward(6.0, 4.0, 1.0, 0.8, 0.3);
    EXPECT_EQ(downward.scoreOfMeasure(7.0), 0.8);
    EXPECT_EQ(downward.scoreOfMeasure(6.0), 0.8);
    EXPECT_DOUBLE_EQ(downward.scoreOfMeasure(5.0), 0.55);
    EXPECT_EQ(downward.scoreOfMeasure(4.0), 0.3);
    EXPECT_EQ(downward.scoreOfMeasure(1.0), 0.3);
    EXPECT_EQ(downward.scoreOfMeasure(std::nextafter(1.0, 0.0)), 0.0);
    // An xc before x1 cuts the slope.
    const qvScoreContrast cut(2.0, 4.0, 3.0, 0.8, 0.3);
    EXPECT_DOUBLE_EQ(cut.scoreOfMeasure(3.0), 0.55);
    EXPECT_EQ(cut.scoreOfMeasure(3.5), 0.0);
}

TEST(CaliperScore, EqualEndsAreAStepUpward) {
    const qvScoreContrast method(3.0, 3.0, 9.0, 0.8, 0.3);
    EXPECT_EQ(method.scoreOfMeasure(3.0), 0.8);
    EXPECT_EQ(method.scoreOfMeasure(3.5), 0.3);
    EXPECT_EQ(method.scoreOfMeasure(9.5), 0.0);
}

TEST(CaliperScore, NumbersThatAreNoneScoreZero) {
    EXPECT_EQ(qvScoreContrast(0.0, 1.0, 1.0, 1.0, 0.0).scoreOfMeasure(kNaN), 0.0);
    EXPECT_EQ(qvScoreContrast(kNaN, 1.0, 1.0, 1.0, 0.0).scoreOfMeasure(2.0), 0.0);
    EXPECT_EQ(qvScoreContrast(0.0, 2.0, 2.0, kNaN, 0.0).scoreOfMeasure(1.0), 0.0);
}

TEST(CaliperSingleEdge, WithoutMethodsTheStrongestComesFirst) {
    const std::vector<int> row = steps({0, 51, 153, 0, 20}, {5, 5, 5, 5, 5});
    qvCaliperRunParams params(0.0, qvCaliperDefs::eRise);
    ASSERT_EQ(resultsOfRow(row, params).size(), 1u);
    params.maxNumResults(10);
    const auto rises = resultsOfRow(row, params);
    ASSERT_EQ(rises.size(), 3u);
    EXPECT_EQ(rises[0].position(), 10.0 - 12.5);
    EXPECT_DOUBLE_EQ(rises[0].score(), 0.4);
    EXPECT_EQ(rises[1].position(), 5.0 - 12.5);
    EXPECT_DOUBLE_EQ(rises[1].score(), 0.2);
    EXPECT_EQ(rises[2].position(), 20.0 - 12.5);

    qvCaliperRunParams falls(0.0, qvCaliperDefs::eFall);
    falls.maxNumResults(10);
    ASSERT_EQ(resultsOfRow(row, falls).size(), 1u);
    EXPECT_DOUBLE_EQ(resultsOfRow(row, falls)[0].score(), 0.6);

    qvCaliperRunParams either(0.0, qvCaliperDefs::eEither);
    either.maxNumResults(10);
    EXPECT_EQ(resultsOfRow(row, either).size(), 4u);
    EXPECT_TRUE(resultsOfRow(row, qvCaliperRunParams(0.0, static_cast<Polarity>(0))).empty());
}

TEST(CaliperSingleEdge, MethodsAreHandedTheEdgeAndTheAskedPosition) {
    // The nearest edge to the asked position wins.
    class Nearness : public qvCaliperScore {
     public:
        Nearness() : qvCaliperScore(0.0, 100.0, 100.0, 1.0, 0.0) {}
        double measure(const qvCaliperFeatures& features) const override {
            EXPECT_EQ(features.numEdges, 1);
            EXPECT_EQ(features.contrasts.second, 0.0);
            return std::fabs(features.positions.first - features.askedPositions.first);
        }
    };
    Nearness nearness;
    qvCaliperRunParams params(4.0, qvCaliperDefs::eEither);
    params.scoringMethods({&nearness});
    const auto results = resultsOfRow(steps({0, 200, 190, 0}, {4, 7, 4, 5}), params);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].position(), 5.0);
    EXPECT_DOUBLE_EQ(results[0].score(), 0.99);
}

/// Rise at 2, fall at 5, rise at 8, fall at 11; the centre is at 7.
const std::vector<int> kFourEdges = {0, 0, 50, 50, 50, 0, 0, 0, 80, 80, 80, 0, 0, 0};

std::vector<double> pairPositions(double position0, Polarity polarity0, double position1, Polarity polarity1) {
    qvCaliperRunParams params(position0, polarity0, position1, polarity1);
    params.filterHalfSize(1);
    params.maxNumResults(100);
    ConstantScore method(1.0);
    params.scoringMethods({&method});
    std::vector<double> positions;
    for (const qvCaliperOneResult& result : resultsOfRow(kFourEdges, params)) {
        EXPECT_EQ(result.score(), 1.0);
        positions.push_back(result.position());
    }
    return positions;
}

TEST(CaliperPairs, EveryTwoEdgesWithTheAskedPolaritiesInOrderOfPosition) {
    constexpr Polarity rise = qvCaliperDefs::eRise;
    constexpr Polarity fall = qvCaliperDefs::eFall;
    constexpr Polarity either = qvCaliperDefs::eEither;
    using Positions = std::vector<double>;
    EXPECT_EQ(pairPositions(-2.0, rise, 2.0, rise), Positions({-2.0}));
    EXPECT_EQ(pairPositions(-2.0, rise, 2.0, fall), Positions({-3.5, -0.5, 2.5}));
    EXPECT_EQ(pairPositions(-2.0, rise, 2.0, either), Positions({-3.5, -2.0, -0.5, 2.5}));
    EXPECT_EQ(pairPositions(-2.0, fall, 2.0, rise), Positions({-0.5}));
    EXPECT_EQ(pairPositions(-2.0, fall, 2.0, fall), Positions({1.0}));
    EXPECT_EQ(pairPositions(-2.0, fall, 2.0, either), Positions({-0.5, 1.0}));
    EXPECT_EQ(pairPositions(-2.0, either, 2.0, rise), Positions({-2.0, -0.5}));
    EXPECT_EQ(pairPositions(-2.0, either, 2.0, fall), Positions({-3.5, -0.5, 1.0, 2.5}));
    EXPECT_EQ(pairPositions(-2.0, either, 2.0, either), Positions({-3.5, -2.0, -0.5, -0.5, 1.0, 2.5}));
}

TEST(CaliperPairs, EdgeOfTheSmallerPositionIsTheFirst) {
    constexpr Polarity rise = qvCaliperDefs::eRise;
    constexpr Polarity fall = qvCaliperDefs::eFall;
    EXPECT_EQ(pairPositions(2.0, rise, -2.0, fall), std::vector<double>({-0.5}));
    EXPECT_EQ(pairPositions(2.0, fall, -2.0, rise), std::vector<double>({-3.5, -0.5, 2.5}));
    EXPECT_EQ(pairPositions(2.0, fall, 2.0, rise), std::vector<double>({-0.5}));
    EXPECT_EQ(pairPositions(kNaN, fall, 2.0, rise), std::vector<double>({-0.5}));
}

/// Judged like a street: by contrast and by fit of the separation.
class StreetScore : public ::testing::Test {
 protected:
    std::vector<qvCaliperOneResult> search(const std::vector<int>& row, double width, short maxNumResults) {
        qvCaliperRunParams params(-width * 0.5, qvCaliperDefs::eFall, width * 0.5, qvCaliperDefs::eRise);
        params.scoringMethods({&contrast, &size});
        params.maxNumResults(maxNumResults);
        return resultsOfRow(row, params);
    }

    qvScoreContrast contrast{255.0, 0.0, 0.0, 1.0, 0.0};
    qvScoreSizeDiffNorm size{0.0, 1.0, 1.0, 1.0, 0.0};
};

TEST_F(StreetScore, IsTheGeometricMeanOfContrastAndSize) {
    const auto exact = search(steps({200, 80, 200}, {6, 4, 8}), 4.0, 10);
    ASSERT_EQ(exact.size(), 1u);
    EXPECT_EQ(exact[0].position(), 8.0 - 9.0);
    EXPECT_DOUBLE_EQ(exact[0].score(), std::sqrt(120.0 / 255.0));

    // One fourth too wide, contrasts 120 and 90.
    const auto wider = search(steps({200, 80, 170}, {6, 5, 8}), 4.0, 10);
    ASSERT_EQ(wider.size(), 1u);
    EXPECT_EQ(wider[0].position(), 8.5 - 9.5);
    EXPECT_DOUBLE_EQ(wider[0].score(), std::sqrt(105.0 / 255.0 * 0.75));
}

TEST_F(StreetScore, LightStreetIsNoDarkOne) { EXPECT_TRUE(search(steps({80, 200, 80}, {6, 4, 8}), 4.0, 10).empty()); }

TEST_F(StreetScore, OfZeroDropsThePair) {
    EXPECT_TRUE(search(steps({200, 80, 200}, {6, 8, 8}), 4.0, 10).empty());
    EXPECT_TRUE(search(steps({200, 80, 200}, {6, 9, 8}), 4.0, 10).empty());
    EXPECT_EQ(search(steps({200, 80, 200}, {6, 7, 8}), 4.0, 10).size(), 1u);
    EXPECT_TRUE(search(steps({200, 80, 200}, {6, 4, 8}), kNaN, 10).empty());
}

TEST_F(StreetScore, BestComesFirstAndTheRestIsCut) {
    // Streets of 4 at contrast 60, 4 at 100, 4 at 60; of pairs across two of them none fits.
    const std::vector<int> row = steps({200, 140, 200, 100, 200, 140, 200}, {6, 4, 6, 4, 6, 4, 6});
    const auto all = search(row, 4.0, 10);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].position(), 0.0);
    EXPECT_EQ(all[1].position(), -10.0);
    EXPECT_EQ(all[2].position(), 10.0);
    EXPECT_EQ(all[1].score(), all[2].score());
    const auto two = search(row, 4.0, 2);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0].position(), 0.0);
    EXPECT_EQ(two[1].position(), -10.0);
    EXPECT_EQ(search(row, 4.0, 1).size(), 1u);
}

TEST(CaliperPairs, MethodsAreHandedBothEdgesAndTheAskedPositionsTheSmallerOneFirst) {
    class Handed : public qvCaliperScore {
     public:
        Handed() : qvCaliperScore(0.0, 100.0, 100.0, 1.0, 1.0) {}
        double measure(const qvCaliperFeatures& features) const override {
            EXPECT_EQ(features.numEdges, 2);
            EXPECT_EQ(features.askedPositions, (qvPair<double>(-1.5, 4.0)));
            EXPECT_EQ(features.positions, (qvPair<double>(-5.0, -2.0)));
            EXPECT_EQ(features.contrasts, (qvPair<double>(50.0, -50.0)));
            return 1.0;
        }
    };
    Handed handed;
    const std::vector<int> oneStreet = {0, 0, 50, 50, 50, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (const bool isReversed : {false, true}) {
        qvCaliperRunParams params = isReversed
                                        ? qvCaliperRunParams(4.0, qvCaliperDefs::eFall, -1.5, qvCaliperDefs::eRise)
                                        : qvCaliperRunParams(-1.5, qvCaliperDefs::eRise, 4.0, qvCaliperDefs::eFall);
        params.filterHalfSize(1);
        params.scoringMethods({&handed});
        EXPECT_EQ(resultsOfRow(oneStreet, params).size(), 1u) << isReversed;
    }
}

TEST(CaliperPairs, ThreeMethodsGiveTheCubeRoot) {
    ConstantScore eighth(0.125);
    ConstantScore one(1.0);
    qvCaliperRunParams params(-2.0, qvCaliperDefs::eFall, 2.0, qvCaliperDefs::eRise);
    params.scoringMethods({&one, &eighth, &one});
    const auto results = resultsOfRow(steps({200, 80, 200}, {6, 4, 8}), params);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_DOUBLE_EQ(results[0].score(), 0.5);
}

TEST(CaliperPairs, ScoreNotAboveZeroByAnyMethodDropsThePair) {
    for (const double bad : {0.0, -1.0, kNaN}) {
        // Two negative ones must not make a positive product.
        ConstantScore method(bad);
        qvCaliperRunParams params(-2.0, qvCaliperDefs::eFall, 2.0, qvCaliperDefs::eRise);
        params.scoringMethods({&method, &method});
        EXPECT_TRUE(resultsOfRow(steps({200, 80, 200}, {6, 4, 8}), params).empty());
    }
}

TEST(CaliperPairs, WithoutMethodsTheStrongestPairComesFirst) {
    qvCaliperRunParams params(-2.0, qvCaliperDefs::eFall, 2.0, qvCaliperDefs::eRise);
    const auto results = resultsOfRow(steps({200, 140, 200, 98, 200}, {6, 4, 6, 4, 7}), params);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].position(), 18.0 - 13.5);
    EXPECT_DOUBLE_EQ(results[0].score(), 0.4);
}

}  // namespace
