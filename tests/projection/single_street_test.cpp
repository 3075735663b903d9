#include "qvstreet/projection/single_street.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tests/projection/literal_profile.h"

namespace {

using Defs = qvStreetFinderDefs;
using Lines = std::vector<qvLineFinderResults>;
using Pair = qvPair<double>;
using Pairs = std::vector<qvPair<long>>;
using Point = qvVector<2>;
using Results = std::vector<qvStreetFinderSingleStreetResult>;
using qvtest::bareLine;
using qvtest::binsAlongX;
using qvtest::binsAlongY;
using qvtest::literalProfile;
using qvtest::ridgeLine;
using qvtest::shapedProfile;
using qvtest::streetProfile;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const Pair rangeX(9.0, 27.0);
const Pair rangeY(15.0, 45.0);

qvLineFinderResults flatLine(double y, double x1 = 10.0, double x2 = 210.0) {
    return bareLine(Point(x1, y), Point(x2, y));
}
qvLineFinderResults uprightLine(double x, double y1 = 10.0, double y2 = 210.0) {
    return bareLine(Point(x, y1), Point(x, y2));
}

/// 101 bins of 50 and 70 in turn: a deviation of exactly 10 behind bin 0.
qvTiledProjectionResult restless(const qvXform<2>& clientFromProfile) {
    return literalProfile(shapedProfile(101, [](double b) { return std::fmod(b, 2.0) == 0.0 ? 50.0 : 70.0; }),
                          clientFromProfile);
}

qvTiledProjectionResult uniform(const qvXform<2>& clientFromProfile) {
    return literalProfile(std::vector<double>(101, 60.0), clientFromProfile);
}

/// A record of a 400 by 300 image without lines.
qv_streetFinderImpl record() {
    qv_streetFinderImpl impl;
    impl.spectrum.workImage = qvPelBuffer<unsigned char>(400, 300);
    impl.streetAngles = {qvDegree(0.0), qvDegree(90.0)};
    impl.projectionAlong0 = restless(binsAlongY());
    impl.projectionAlong1 = restless(binsAlongX());
    impl.lines.resize(2);
    return impl;
}

qvStreetFinderParams paramsFor(long maxResults, Defs::streetPolarity polarity = Defs::eAnyPolarity) {
    return qvStreetFinderParams(Pair(18.0, 30.0), rangeX, rangeY, Defs::eEdgePairWafer, 5.0, polarity, maxResults);
}

Results fromEdges(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params) {
    Results results(3);
    findSingleStreetFromEdges(impl, params, results, nullptr);
    return results;
}

Results fromLines(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params) {
    Results results(3);
    findSingleStreetFromLines(impl, params, results, nullptr);
    return results;
}

/// The pairs of these lines that are 9 to 27 apart along y.
Pairs pairsOf(const Lines& lines, Defs::streetPolarity polarity = Defs::eAnyPolarity,
              const qvTiledProjectionResult& projection = qvTiledProjectionResult()) {
    Pairs pairs(4);
    std::vector<double> separations(7);
    collectEdgePairs(lines, rangeX, qvDegree(90.0), polarity, 0.1, 0.2, projection, pairs, separations);
    EXPECT_EQ(separations.size(), pairs.size());
    return pairs;
}

const Pairs onePair = {qvPair<long>(0, 1)};

double costOf(const Lines& lines, double separation, double length, double imageDeviation = 40.0,
              const qvTiledProjectionResult& projection = restless(binsAlongY())) {
    return scoreEdgePair(qvPair<long>(0, 1), lines, projection, separation, 18.0, rangeX, 0.1, imageDeviation, length);
}

double bisectorOf(double degrees0, double degrees1) {
    const Lines lines = {bareLine(Point(5.0, 5.0), Point(5.0, 5.0) + Point(50.0, qvDegree(degrees0))),
                         bareLine(Point(5.0, 25.0), Point(5.0, 25.0) + Point(70.0, qvDegree(degrees1)))};
    qvStreetFinderSingleStreetResult result;
    fillEdgePairResult(qvPair<long>(0, 1), lines, 0.5, result);
    return qvDegree(result.angle()).toDouble();
}

}  // namespace

TEST(SingleStreet, SeparationIsMeasuredBetweenTheMiddlesAlongTheAngle) {
    const qvLineSeg a(Point(10.0, 40.0), Point(90.0, 44.0));
    const qvLineSeg b(Point(70.0, 60.0), Point(50.0, 64.0));
    EXPECT_NEAR(midpointSeparation(a, b, qvDegree(90.0)), 20.0, 1e-12);
    EXPECT_NEAR(midpointSeparation(b, a, qvDegree(90.0)), 20.0, 1e-12);
    EXPECT_NEAR(midpointSeparation(a, b, qvDegree(-90.0)), 20.0, 1e-12);
    EXPECT_NEAR(midpointSeparation(a, b, qvDegree(0.0)), 10.0, 1e-12);
    // 10 cos 60 + 20 sin 60
    EXPECT_NEAR(midpointSeparation(a, b, qvDegree(60.0)), 22.320508075688775, 1e-12);
}

TEST(SingleStreet, WidthDeviationIsAFractionOfTheWayToTheBound) {
    const Pair range(12.0, 30.0);
    EXPECT_EQ(widthDeviation(18.0, 18.0, range), 0.0);
    EXPECT_EQ(widthDeviation(24.0, 18.0, range), 0.5);
    EXPECT_EQ(widthDeviation(30.0, 18.0, range), 1.0);
    EXPECT_EQ(widthDeviation(15.0, 18.0, range), 0.5);
    EXPECT_EQ(widthDeviation(12.0, 18.0, range), 1.0);
}

TEST(SingleStreet, WidthOnABoundGivesNoNumberOrInfinity) {
    EXPECT_TRUE(std::isnan(widthDeviation(18.0, 18.0, Pair(18.0, 30.0))));
    EXPECT_EQ(widthDeviation(17.0, 18.0, Pair(18.0, 30.0)), infinity);
    EXPECT_EQ(widthDeviation(19.0, 18.0, Pair(12.0, 18.0)), infinity);
}

TEST(SingleStreet, ImageLengthsAreThoseOfTheWorkImageInClientUnits) {
    qv_streetFinderImpl impl = record();
    impl.imageSize = qvPair<long>(1, 2);
    EXPECT_EQ(mappedImageLengths(impl)[0], 400.0);
    EXPECT_EQ(mappedImageLengths(impl)[1], 300.0);
    impl.clientFromImage = qvXform<2>(qvMatrix<2>(3.0, 5.0, 4.0, -12.0), Point(1000.0, 2000.0));
    EXPECT_EQ(mappedImageLengths(impl)[0], 2000.0);
    EXPECT_EQ(mappedImageLengths(impl)[1], 3900.0);
}

TEST(SingleStreet, FewerThanTwoLinesMakeNoPair) {
    EXPECT_TRUE(pairsOf({}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0)}).empty());
}

TEST(SingleStreet, PairsComeByAscendingFirstThenSecondLine) {
    Pairs pairs;
    std::vector<double> separations;
    const Lines lines = {flatLine(40.0), flatLine(60.0), flatLine(50.0), flatLine(200.0)};
    collectEdgePairs(lines, rangeX, qvDegree(90.0), Defs::eAnyPolarity, 0.1, 0.2, qvTiledProjectionResult(), pairs,
                     separations);
    EXPECT_EQ(pairs, (Pairs{qvPair<long>(0, 1), qvPair<long>(0, 2), qvPair<long>(1, 2)}));
    ASSERT_EQ(separations.size(), 3U);
    EXPECT_NEAR(separations[0], 20.0, 1e-12);
    EXPECT_NEAR(separations[1], 10.0, 1e-12);
    EXPECT_NEAR(separations[2], 10.0, 1e-12);
}

TEST(SingleStreet, SeparationOnABoundIsRejected) {
    // Along 0 degrees, whose unit vector is exact.
    const auto pairsAt = [](double x1, double x2) {
        Pairs pairs;
        std::vector<double> separations;
        collectEdgePairs({uprightLine(x1), uprightLine(x2)}, rangeX, qvDegree(0.0), Defs::eAnyPolarity, 0.1, 0.2,
                         qvTiledProjectionResult(), pairs, separations);
        return pairs;
    };
    EXPECT_TRUE(pairsAt(40.0, 49.0).empty());
    EXPECT_TRUE(pairsAt(49.0, 40.0).empty());
    EXPECT_TRUE(pairsAt(40.0, 67.0).empty());
    EXPECT_EQ(pairsAt(40.0, 49.0000001), onePair);
    EXPECT_EQ(pairsAt(40.0, 66.9999999), onePair);
    EXPECT_EQ(pairsAt(66.9999999, 40.0), onePair);
}

TEST(SingleStreet, SegmentsMustOverlapAlongTheFirst) {
    EXPECT_EQ(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, 99.0, 150.0)}), onePair);
    EXPECT_TRUE(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, 100.0, 150.0)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, -50.0, 10.0)}).empty());
    EXPECT_EQ(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, -50.0, 11.0)}), onePair);
    EXPECT_EQ(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, 40.0, 50.0)}), onePair);
    EXPECT_EQ(pairsOf({flatLine(40.0, 100.0, 10.0), flatLine(60.0, 60.0, -30.0)}), onePair);
}

TEST(SingleStreet, SegmentsThatRunAgainstEachOtherDoNotPair) {
    EXPECT_TRUE(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, 100.0, 10.0)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0, 100.0, 10.0), flatLine(60.0, 10.0, 100.0)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0, 10.0, 100.0), flatLine(60.0, 60.0, 50.0)}).empty());
}

TEST(SingleStreet, SegmentsWithoutALengthOrAPlaceDoNotPair) {
    EXPECT_TRUE(pairsOf({flatLine(40.0, 50.0, 50.0), flatLine(60.0)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0), flatLine(60.0, 50.0, 50.0)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0), flatLine(notANumber)}).empty());
    EXPECT_TRUE(pairsOf({flatLine(40.0, notANumber), flatLine(60.0)}).empty());
}

TEST(SingleStreet, AskedPolarityMustBeThatOfTheStretchBetween) {
    // The edges at 40 and 60 enclose a dark street; those at 20 and 40 a light die.
    const qvTiledProjectionResult profile = literalProfile(streetProfile(100, 150.0, 40, 59, 60.0));
    const Lines lines = {flatLine(20.0), flatLine(40.0), flatLine(60.0)};
    EXPECT_EQ(pairsOf(lines, Defs::eAnyPolarity), (Pairs{qvPair<long>(0, 1), qvPair<long>(1, 2)}));
    EXPECT_EQ(pairsOf(lines, Defs::eDarkOnLight, profile), (Pairs{qvPair<long>(1, 2)}));
    EXPECT_TRUE(pairsOf(lines, Defs::eLightOnDark, profile).empty());
    EXPECT_TRUE(pairsOf(lines, static_cast<Defs::streetPolarity>(7), profile).empty());
}

TEST(SingleStreet, CostOfAPairIsTheMeanOfFourTerms) {
    // Bins 43 to 58 deviate by 10, a quarter of 40; 140 of 400 units are found; 22 is 4/9 of the way from 18 to 27.
    const Lines lines = {flatLine(40.0, 10.0, 90.0), flatLine(60.0, 20.0, 80.0)};
    EXPECT_NEAR(costOf(lines, 22.0, 200.0), (0.25 + 0.65 + 0.0 + 0.1 * 4.0 / 9.0) / 4.0, 1e-12);
    EXPECT_NEAR(costOf(lines, 18.0, 200.0), 0.225, 1e-12);
    EXPECT_NEAR(costOf(lines, 18.0, 200.0, 20.0), 0.2875, 1e-12);
    EXPECT_NEAR(costOf(lines, 18.0, 280.0), 0.25, 1e-12);
}

TEST(SingleStreet, SkewIsOneLessTheCosineBetweenTheEdges) {
    // Directions (1, 0) and (0.8, 0.6), or against it; both 100 long. The centre is that of the ends at 40, 40, 0
    // and 60.
    const Lines lines = {flatLine(40.0, 0.0, 100.0), bareLine(Point(0.0, 0.0), Point(80.0, 60.0))};
    const Lines against = {flatLine(40.0, 0.0, 100.0), bareLine(Point(80.0, 60.0), Point(0.0, 0.0))};
    const qvTiledProjectionResult profile = uniform(binsAlongY());
    // The gap is 0, so the centre has no bin: 1e6 over 1e6.
    EXPECT_NEAR(costOf(lines, 18.0, 200.0, 1e6, profile), (1.0 + 0.5 + 0.2) / 4.0, 1e-12);
    EXPECT_NEAR(costOf(against, 18.0, 200.0, 1e6, profile), (1.0 + 0.5 + 0.2) / 4.0, 1e-12);
}

TEST(SingleStreet, CentreOfAPairIsCutToTheProfile) {
    // Of the 100 units between, 5 bins are inside: behind 0, or behind bin 95 up to 100; uneven bins at either end.
    std::vector<double> greys(101, 60.0);
    greys[2] = greys[4] = greys[98] = greys[96] = 80.0;
    const qvTiledProjectionResult profile = literalProfile(greys);
    const auto unevenness = [&](double y0, double y1) {
        const Lines lines = {flatLine(y0), flatLine(y1)};
        return costOf(lines, 18.0, 200.0, 1.0, profile) * 4.0;
    };
    // The shortness of two full lengths is 0. Two of five bins at 80: the variance is 400 * 0.4 * 0.6.
    EXPECT_NEAR(unevenness(-85.0, 15.0), std::sqrt(96.0), 1e-9);
    EXPECT_NEAR(unevenness(85.5, 185.5), std::sqrt(96.0), 1e-9);
    // Beyond either end the span is reversed, and has no variance.
    EXPECT_EQ(unevenness(-60.0, -40.0), 0.0);
    EXPECT_EQ(unevenness(140.0, 160.0), 0.0);
}

TEST(SingleStreet, EdgePairResultHoldsBothSegmentsAndItsScore) {
    qvStreetFinderSingleStreetResult result;
    const Lines lines = {flatLine(1.0), flatLine(40.0), flatLine(60.0)};
    fillEdgePairResult(qvPair<long>(2, 1), lines, 0.75, result);
    fillEdgePairResult(qvPair<long>(2, 1), lines, 0.75, result);
    EXPECT_EQ(result.score(), 0.75);
    ASSERT_EQ(result.lineSegs().size(), 2U);
    EXPECT_EQ(result.lineSegs()[0], lines[2].segment());
    EXPECT_EQ(result.lineSegs()[1], lines[1].segment());
    EXPECT_EQ(result.statusFlags(), Defs::eStreetFromEdges);
    EXPECT_EQ(result.angle().toDouble(), 0.0);
}

TEST(SingleStreet, AngleOfAnEdgePairIsTheBisectorTheSecondEdgeGivingItsSense) {
    EXPECT_NEAR(bisectorOf(2.0, 4.0), 3.0, 1e-9);
    EXPECT_NEAR(bisectorOf(182.0, 4.0), 3.0, 1e-9);
    EXPECT_NEAR(bisectorOf(2.0, 184.0), -177.0, 1e-9);
    EXPECT_NEAR(bisectorOf(-2.0, -5.0), -3.5, 1e-9);
    EXPECT_NEAR(bisectorOf(88.0, -89.0), -90.5, 1e-9);
    EXPECT_NEAR(bisectorOf(0.0, 89.0), 44.5, 1e-9);
    EXPECT_NEAR(bisectorOf(0.0, 91.0), 135.5, 1e-9);
}

TEST(SingleStreet, LineResultHoldsTheSegmentAndItsDirection) {
    qvStreetFinderSingleStreetResult result;
    const Lines lines = {flatLine(1.0), flatLine(2.0)};
    fillEdgePairResult(qvPair<long>(0, 1), lines, 0.75, result);
    fillLineResult(uprightLine(40.0, 210.0, 10.0), 0.25, result);
    EXPECT_EQ(result.score(), 0.25);
    ASSERT_EQ(result.lineSegs().size(), 1U);
    EXPECT_EQ(result.lineSegs()[0], uprightLine(40.0, 210.0, 10.0).segment());
    EXPECT_EQ(result.statusFlags(), Defs::eStreetFromLine);
    EXPECT_DOUBLE_EQ(result.angle().toDouble(), -1.5707963267948966);
}

TEST(SingleStreet, DirectionZeroTakesTheWidthInX) {
    // Lines at 30, 48 and 78: 18, 30 and 48 apart. Flat ones are asked for 18 within (9, 27), upright ones for 30
    // within (15, 45), so that 18 is four fifths of the way to their lower bound.
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {flatLine(30.0, 10.0, 310.0), flatLine(48.0), flatLine(78.0)};
    impl.lines[1] = {uprightLine(30.0), uprightLine(48.0), uprightLine(78.0)};
    const Results results = fromEdges(impl, paramsFor(10));
    ASSERT_EQ(results.size(), 3U);
    EXPECT_NEAR(results[0].score(), 0.7165313105737893, 1e-12);
    EXPECT_EQ(results[0].lineSegs()[0], impl.lines[1][1].segment());
    EXPECT_EQ(results[0].lineSegs()[1], impl.lines[1][2].segment());
    EXPECT_NEAR(results[1].score(), 0.7095006787059747, 1e-12);
    EXPECT_EQ(results[1].lineSegs()[0], impl.lines[0][0].segment());
    EXPECT_EQ(results[1].lineSegs()[1], impl.lines[0][1].segment());
    EXPECT_NEAR(results[2].score(), 0.7027337737441081, 1e-12);
    EXPECT_EQ(results[2].lineSegs()[0], impl.lines[1][0].segment());
    EXPECT_DOUBLE_EQ(results[0].angle().toDouble(), 1.5707963267948966);
    EXPECT_EQ(results[0].statusFlags(), Defs::eStreetFromEdges);
}

TEST(SingleStreet, WidthIsMeasuredAlongTheOtherDirection) {
    // Flat lines 20 apart whose middles lie 10 apart along x: 26 along a direction at 45 degrees would be 21.2.
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {flatLine(40.0, 10.0, 210.0), flatLine(60.0, 30.0, 230.0)};
    impl.lines[1] = {uprightLine(40.0, 10.0, 210.0), uprightLine(60.0, 30.0, 230.0)};
    EXPECT_EQ(fromEdges(impl, paramsFor(10)).size(), 2U);
    // Along 45 degrees both are 28.28 apart: too much for (9, 27).
    impl.streetAngles = {qvDegree(0.0), qvDegree(45.0)};
    EXPECT_EQ(fromEdges(impl, paramsFor(10)).size(), 1U);
    EXPECT_EQ(fromEdges(impl, paramsFor(10))[0].lineSegs()[0], impl.lines[1][0].segment());
    // Along -45 degrees the upright ones have no separation.
    impl.streetAngles = {qvDegree(-45.0), qvDegree(90.0)};
    EXPECT_EQ(fromEdges(impl, paramsFor(10)).size(), 1U);
    EXPECT_EQ(fromEdges(impl, paramsFor(10))[0].lineSegs()[0], impl.lines[0][0].segment());
}

TEST(SingleStreet, OneLinePerDirectionMakesNoStreetFromEdges) {
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {flatLine(40.0)};
    impl.lines[1] = {uprightLine(40.0)};
    EXPECT_TRUE(fromEdges(impl, paramsFor(10)).empty());
}

TEST(SingleStreet, MaxResultsKeepsThePairsOfLowestCost) {
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {flatLine(30.0, 10.0, 310.0), flatLine(48.0), flatLine(78.0)};
    impl.lines[1] = {uprightLine(30.0), uprightLine(48.0), uprightLine(78.0)};
    const Results one = fromEdges(impl, paramsFor(1));
    ASSERT_EQ(one.size(), 1U);
    EXPECT_NEAR(one[0].score(), 0.7165313105737893, 1e-12);
    EXPECT_EQ(fromEdges(impl, paramsFor(2)).size(), 2U);
    EXPECT_EQ(fromEdges(impl, paramsFor(2147483647)).size(), 3U);
}

TEST(SingleStreet, PairOfCostZeroOrLessIsDropped) {
    // On a profile that varies outside of the street only, unevenness is 0; 400 and 410 of twice 400 units are found.
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = literalProfile(streetProfile(101, 60.0, 80, 90, 150.0));
    impl.lines[0] = {flatLine(40.0, 0.0, 400.0), flatLine(58.0, 0.0, 400.0)};
    EXPECT_TRUE(fromEdges(impl, paramsFor(10)).empty());
    impl.lines[0] = {flatLine(40.0, 0.0, 400.0), flatLine(58.0, 0.0, 410.0)};
    EXPECT_TRUE(fromEdges(impl, paramsFor(10)).empty());
    impl.lines[0] = {flatLine(40.0, 0.0, 400.0), flatLine(58.0, 0.0, 399.0)};
    ASSERT_EQ(fromEdges(impl, paramsFor(10)).size(), 1U);
    EXPECT_LT(fromEdges(impl, paramsFor(10))[0].score(), 1.0);
    EXPECT_GT(fromEdges(impl, paramsFor(10))[0].score(), 0.999);
}

TEST(SingleStreet, UniformImageDropsPairsWithoutANumber) {
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = uniform(binsAlongY());
    impl.lines[0] = {flatLine(40.0), flatLine(58.0)};
    EXPECT_TRUE(fromEdges(impl, paramsFor(10)).empty());
}

TEST(SingleStreet, InfiniteCostStaysAndScoresZero) {
    // Segments that lean against each other meet in one bin: no sample, 1e6 over an image deviation of 0.
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = uniform(binsAlongY());
    impl.lines[0] = {bareLine(Point(10.0, 40.0), Point(210.0, 50.0)), bareLine(Point(10.0, 70.0), Point(210.0, 50.0))};
    const Results results = fromEdges(impl, paramsFor(10));
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].score(), 0.0);
}

TEST(SingleStreet, DeviationOfTheImageIsThatOfTheProfileOfDirectionZero) {
    qv_streetFinderImpl impl = record();
    impl.imageDeviation = 12345.0;
    impl.lines[1] = {uprightLine(48.0), uprightLine(78.0)};
    EXPECT_NEAR(fromEdges(impl, paramsFor(10))[0].score(), 0.7165313105737893, 1e-12);
    // Twice the deviation along direction 0 halves the unevenness of the upright pair: (0.5 + 1/3) / 4.
    impl.projectionAlong0 = literalProfile(
        shapedProfile(101, [](double b) { return std::fmod(b, 2.0) == 0.0 ? 40.0 : 80.0; }), binsAlongY());
    EXPECT_NEAR(fromEdges(impl, paramsFor(10))[0].score(), std::exp(-(0.5 + 1.0 / 3.0) / 4.0), 1e-12);
}

TEST(SingleStreet, EdgePairsOfTheAskedPolarityAreJudgedOnTheirOwnProfile) {
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = literalProfile(streetProfile(101, 150.0, 40, 57, 60.0), binsAlongY());
    impl.projectionAlong1 = literalProfile(streetProfile(101, 60.0, 40, 69, 150.0), binsAlongX());
    impl.lines[0] = {flatLine(40.0), flatLine(58.0)};
    impl.lines[1] = {uprightLine(40.0), uprightLine(70.0)};
    const Results dark = fromEdges(impl, paramsFor(10, Defs::eDarkOnLight));
    ASSERT_EQ(dark.size(), 1U);
    EXPECT_EQ(dark[0].lineSegs()[0], impl.lines[0][0].segment());
    const Results light = fromEdges(impl, paramsFor(10, Defs::eLightOnDark));
    ASSERT_EQ(light.size(), 1U);
    EXPECT_EQ(light[0].lineSegs()[0], impl.lines[1][0].segment());
}

TEST(SingleStreet, SidesOfAnEdgePairReachAFifthOfItsGapBeyond) {
    // Edges at 40 and 58: the left side has bins 35 to 38, the right one 60 to 63.
    const auto streetsWithSpikeAt = [](std::size_t bin) {
        std::vector<double> greys = streetProfile(101, 150.0, 42, 56, 60.0);
        greys[bin] = -1e6;
        qv_streetFinderImpl impl = record();
        impl.projectionAlong0 = literalProfile(greys, binsAlongY());
        impl.lines[0] = {flatLine(40.0), flatLine(58.0)};
        return fromEdges(impl, paramsFor(10, Defs::eDarkOnLight)).size();
    };
    EXPECT_EQ(streetsWithSpikeAt(34), 1U);
    EXPECT_EQ(streetsWithSpikeAt(35), 0U);
    EXPECT_EQ(streetsWithSpikeAt(38), 0U);
    EXPECT_EQ(streetsWithSpikeAt(39), 1U);
    EXPECT_EQ(streetsWithSpikeAt(59), 1U);
    EXPECT_EQ(streetsWithSpikeAt(60), 0U);
    EXPECT_EQ(streetsWithSpikeAt(63), 0U);
    EXPECT_EQ(streetsWithSpikeAt(64), 1U);
}

TEST(SingleStreet, CostOfALineIsTheMeanOfThreeTerms) {
    // 300 of twice 400 and 200 of twice 300 units; deviations of 5 and 1 over 10.000001.
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {ridgeLine(Point(10.0, 40.0), Point(310.0, 40.0), 5.0)};
    impl.lines[1] = {ridgeLine(Point(40.0, 210.0), Point(40.0, 10.0), 1.0)};
    const Results results = fromLines(impl, paramsFor(10));
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NEAR(results[0].score(), std::exp(-(400.0 / 600.0 + 1.0 / 10.000001) / 3.0), 1e-12);
    EXPECT_EQ(results[0].lineSegs()[0], impl.lines[1][0].segment());
    EXPECT_EQ(results[0].statusFlags(), Defs::eStreetFromLine);
    EXPECT_DOUBLE_EQ(results[0].angle().toDouble(), -1.5707963267948966);
    EXPECT_NEAR(results[1].score(), std::exp(-(500.0 / 800.0 + 5.0 / 10.000001) / 3.0), 1e-12);
    EXPECT_EQ(results[1].lineSegs()[0], impl.lines[0][0].segment());
}

TEST(SingleStreet, BrightnessOfALineIsItsGreyValueOf255) {
    // A dark street of 51, a fifth of 255: full lengths and no roughness leave (0.5 + 0 + 0.2) / 3.
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = literalProfile(streetProfile(101, 150.0, 30, 70, 51.0), binsAlongY());
    impl.lines[0] = {ridgeLine(Point(0.0, 50.0), Point(400.0, 50.0), 0.0)};
    const Results dark = fromLines(impl, paramsFor(10, Defs::eDarkOnLight));
    ASSERT_EQ(dark.size(), 1U);
    EXPECT_NEAR(dark[0].score(), std::exp(-0.7 / 3.0), 1e-12);
    EXPECT_TRUE(fromLines(impl, paramsFor(10, Defs::eLightOnDark)).empty());
    EXPECT_NEAR(fromLines(impl, paramsFor(10))[0].score(), std::exp(-0.5 / 3.0), 1e-12);
}

TEST(SingleStreet, EveryLineIsACandidateWhateverItsCost) {
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {ridgeLine(Point(0.0, 40.0), Point(1200.0, 40.0), 0.0)};
    const Results results = fromLines(impl, paramsFor(10));
    ASSERT_EQ(results.size(), 1U);
    EXPECT_NEAR(results[0].score(), std::exp(0.5 / 3.0), 1e-12);
}

TEST(SingleStreet, UniformImageLeavesTheRoughnessFinite) {
    qv_streetFinderImpl impl = record();
    impl.projectionAlong0 = uniform(binsAlongY());
    impl.lines[0] = {ridgeLine(Point(0.0, 40.0), Point(400.0, 40.0), 0.0),
                     ridgeLine(Point(0.0, 60.0), Point(400.0, 60.0), 1.5e-6)};
    const Results results = fromLines(impl, paramsFor(10));
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NEAR(results[0].score(), std::exp(-0.5 / 3.0), 1e-12);
    EXPECT_NEAR(results[1].score(), std::exp(-2.0 / 3.0), 1e-12);
}

TEST(SingleStreet, LinesOfEqualCostKeepTheirOrderAndNanRanksLast) {
    qv_streetFinderImpl impl = record();
    for (int k = 0; k < 30; ++k)
        impl.lines[0].push_back(ridgeLine(Point(0.0, 2.0 * k), Point(400.0, 2.0 * k), k % 3 == 0 ? notANumber : 0.0));
    impl.lines[1] = {ridgeLine(Point(40.0, 0.0), Point(40.0, 300.0), 0.0)};
    const Results results = fromLines(impl, paramsFor(100));
    ASSERT_EQ(results.size(), 31U);
    EXPECT_EQ(results[0].lineSegs()[0].p1().y(), 2.0);
    EXPECT_EQ(results[1].lineSegs()[0].p1().y(), 4.0);
    EXPECT_EQ(results[2].lineSegs()[0].p1().y(), 8.0);
    EXPECT_EQ(results[20].lineSegs()[0], impl.lines[1][0].segment());
    EXPECT_TRUE(std::isnan(results[21].score()));
    EXPECT_EQ(results[21].lineSegs()[0].p1().y(), 0.0);
    EXPECT_EQ(results[22].lineSegs()[0].p1().y(), 6.0);
    EXPECT_EQ(fromLines(impl, paramsFor(1)).size(), 1U);
}

TEST(SingleStreet, LineWithoutStatisticsIsABrokenPromise) {
    qv_streetFinderImpl impl = record();
    impl.lines[0] = {flatLine(40.0)};
    EXPECT_THROW(fromLines(impl, paramsFor(10)), qvInvariantFailure);
}

TEST(SingleStreet, AnyOtherNumberOfLineListsIsABrokenPromise) {
    qv_streetFinderImpl impl = record();
    impl.lines.resize(1);
    EXPECT_THROW(fromLines(impl, paramsFor(10)), qvInvariantFailure);
    EXPECT_THROW(fromEdges(impl, paramsFor(10)), qvInvariantFailure);
}
