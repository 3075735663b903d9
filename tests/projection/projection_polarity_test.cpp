#include "qvstreet/projection/projection_polarity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tests/projection/literal_profile.h"
#include "tests/streetfinder/painted_wafer.h"

namespace {

using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::bareLine;
using qvtest::binsAlongX;
using qvtest::binsAlongY;
using qvtest::literalProfile;
using qvtest::shapedProfile;
using qvtest::streetProfile;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double noSamples = 1e12;

qvXform<2> scaling(double x, double y) { return qvXform<2>(qvMatrix<2>(x, 0.0, 0.0, y), Point(0.0, 0.0)); }

/// A line along x at height y.
qvLineFinderResults flatLine(double y) { return bareLine(Point(10.0, y), Point(90.0, y)); }
qvLineFinderResults uprightLine(double x) { return bareLine(Point(x, 90.0), Point(x, 10.0)); }

struct Tested {
    Defs::streetPolarity polarity;
    double centreMean;
};

Tested tested(const qvLineFinderResults& line, double width, const qvTiledProjectionResult& projection,
              double margin = 0.0, const qvXform<2>& clientFromImage = qvXform<2>()) {
    Tested result{};
    result.polarity = linePolarity(line, width, 0.1, margin, clientFromImage, projection, result.centreMean);
    return result;
}

/// The verdict on a line at 50 and a width of 20 units, so a half width of 10 bins.
Defs::streetPolarity verdictAt50(const std::vector<double>& greys, double margin = 0.0) {
    return tested(flatLine(50.0), 20.0, literalProfile(greys), margin).polarity;
}

/// The same on a profile with these means: left of bins 29 to 50, centre of 45 to 55, right of 51 to 71.
Defs::streetPolarity verdictOfMeans(double left, double centre, double right, double margin = 0.0) {
    std::vector<double> greys = streetProfile(100, 0.0, 45, 55, centre);
    for (std::size_t b = 29; b <= 44; ++b) greys[b] = (22.0 * left - 6.0 * centre) / 16.0;
    for (std::size_t b = 56; b <= 71; ++b) greys[b] = (21.0 * right - 5.0 * centre) / 16.0;
    return verdictAt50(greys, margin);
}

/// 100 bins of 100 but for a centre of `grey` in bins 45 to 55 and one spike that outweighs every side.
std::vector<double> spiked(double grey, std::size_t bin, double spike) {
    std::vector<double> greys = streetProfile(100, 100.0, 45, 55, grey);
    greys[bin] = spike;
    return greys;
}

qvStreetFinderParams paramsFor(Defs::streetPolarity polarity) {
    return qvStreetFinderParams(qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0),
                                Defs::eRidgeWafer, 5.0, polarity, 10);
}

/// Grey levels that rise by one a bin at both sides of `middle`, or fall.
qvTiledProjectionResult valley(double middle, const qvXform<2>& clientFromProfile) {
    return literalProfile(shapedProfile(100, [middle](double b) { return 100.0 + std::fabs(b - middle); }),
                          clientFromProfile);
}
qvTiledProjectionResult ridge(double middle, const qvXform<2>& clientFromProfile) {
    return literalProfile(shapedProfile(100, [middle](double b) { return 200.0 - std::fabs(b - middle); }),
                          clientFromProfile);
}

/// Flat lines over a profile with its extreme in bin 50, and upright ones over one with it in bin 40.
qv_streetFinderImpl record(bool dark) {
    qv_streetFinderImpl impl;
    impl.projectionAlong0 = dark ? valley(50.0, binsAlongY()) : ridge(50.0, binsAlongY());
    impl.projectionAlong1 = dark ? valley(40.0, binsAlongX()) : ridge(40.0, binsAlongX());
    impl.lines = {{flatLine(50.0), flatLine(20.0), flatLine(50.25)}, {uprightLine(80.0), uprightLine(40.0)}};
    return impl;
}

std::vector<std::vector<qvDIPair>> classified(const qv_streetFinderImpl& impl, Defs::streetPolarity polarity) {
    std::vector<std::vector<qvDIPair>> lists(5, std::vector<qvDIPair>(3));
    classifyStreetLines(impl.lines, lists, paramsFor(polarity), impl);
    return lists;
}

void expectEntry(const qvDIPair& entry, double value, long index) {
    EXPECT_DOUBLE_EQ(entry.value, value);
    EXPECT_EQ(entry.index, index);
}

struct Ranges {
    qvRange centre;
    qvRange left;
    qvRange right;
};

Ranges rangesOf(const qvLineSeg& a, const qvLineSeg& b, double centreMargin, double sideMargin,
                const qvTiledProjectionResult& projection) {
    Ranges ranges;
    pairProfileRanges(a, b, projection, centreMargin, sideMargin, ranges.centre, ranges.left, ranges.right);
    return ranges;
}

void expectRange(const qvRange& range, double start, double end) {
    EXPECT_NEAR(range.start(), start, 1e-9);
    EXPECT_NEAR(range.end(), end, 1e-9);
}

}  // namespace

TEST(PolarityText, WordsOfTheThreeVerdicts) {
    EXPECT_STREQ(polarityText(Defs::eAnyPolarity), L"no pol");
    EXPECT_STREQ(polarityText(Defs::eDarkOnLight), L"dark  on light");
    EXPECT_STREQ(polarityText(Defs::eLightOnDark), L"light on dark");
}

TEST(ProjectionPolarity, DarkerThanBothSidesIsDarkAndLighterIsLight) {
    const std::vector<double> dark = streetProfile(100, 150.0, 40, 59, 60.0);
    const Tested darkStreet = tested(flatLine(50.0), 20.0, literalProfile(dark, binsAlongY(), 80.0));
    EXPECT_EQ(darkStreet.polarity, Defs::eDarkOnLight);
    EXPECT_EQ(darkStreet.centreMean, 60.0);
    const Tested lightStreet = tested(flatLine(50.0), 20.0, literalProfile(streetProfile(100, 60.0, 40, 59, 150.0)));
    EXPECT_EQ(lightStreet.polarity, Defs::eLightOnDark);
    EXPECT_EQ(lightStreet.centreMean, 150.0);
    EXPECT_EQ(tested(flatLine(35.0), 10.0, literalProfile(dark)).polarity, Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, CentreReachesHalfAHalfWidthToEachSide) {
    // Bins 45 to 55 of c = 50 and h = 10: behind 50 - 5 - 1 up to 50 + 5.
    const auto centreMean = [](std::size_t bin) {
        std::vector<double> greys(100, 0.0);
        greys[bin] = 1100.0;
        return tested(flatLine(50.0), 20.0, literalProfile(greys)).centreMean;
    };
    EXPECT_EQ(centreMean(44), 0.0);
    EXPECT_EQ(centreMean(45), 100.0);
    EXPECT_EQ(centreMean(55), 100.0);
    EXPECT_EQ(centreMean(56), 0.0);
}

TEST(ProjectionPolarity, LeftSideReachesFromTwoHalfWidthsBeforeToTheLine) {
    // Bins 29 to 50: behind 50 - 20 - 2 up to 50.
    EXPECT_EQ(verdictAt50(spiked(90.0, 28, -1e6)), Defs::eDarkOnLight);
    EXPECT_EQ(verdictAt50(spiked(90.0, 29, -1e6)), Defs::eAnyPolarity);
    EXPECT_EQ(verdictAt50(spiked(110.0, 44, 1e6)), Defs::eAnyPolarity);
    EXPECT_EQ(verdictAt50(spiked(110.0, 28, 1e6)), Defs::eLightOnDark);
    EXPECT_EQ(verdictAt50(spiked(110.0, 29, 1e6)), Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, RightSideReachesFromTheLineToTwoHalfWidthsBeyond) {
    // Bins 51 to 71: behind 50 up to 50 + 20 + 1.
    EXPECT_EQ(verdictAt50(spiked(90.0, 72, -1e6)), Defs::eDarkOnLight);
    EXPECT_EQ(verdictAt50(spiked(90.0, 71, -1e6)), Defs::eAnyPolarity);
    EXPECT_EQ(verdictAt50(spiked(110.0, 72, 1e6)), Defs::eLightOnDark);
    EXPECT_EQ(verdictAt50(spiked(110.0, 71, 1e6)), Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, BinOfTheLineBelongsToTheLeftSideOnly) {
    // The spike makes the centre 200 and one side of 16 bins of 190 and five or six of 100 less than that, unless the
    // spike is part of that side.
    const auto verdictWith = [](long first, long last, std::size_t spike) {
        std::vector<double> greys = streetProfile(100, 100.0, first, last, 190.0);
        greys[spike] = 1200.0;
        return verdictAt50(greys);
    };
    EXPECT_EQ(verdictWith(29, 44, 50), Defs::eAnyPolarity);
    EXPECT_EQ(verdictWith(29, 44, 51), Defs::eLightOnDark);
    EXPECT_EQ(verdictWith(56, 71, 50), Defs::eLightOnDark);
    EXPECT_EQ(verdictWith(56, 71, 51), Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, BinPositionsAreCutTowardsZero) {
    // c = 50.9 and h = 10.3: the centre reaches behind 44.75 up to 56.05.
    const auto centreMean = [](std::size_t bin) {
        std::vector<double> greys(100, 0.0);
        greys[bin] = 1200.0;
        return tested(flatLine(50.9), 20.6, literalProfile(greys)).centreMean;
    };
    EXPECT_EQ(centreMean(44), 0.0);
    EXPECT_EQ(centreMean(45), 100.0);
    EXPECT_EQ(centreMean(56), 100.0);
    EXPECT_EQ(centreMean(57), 0.0);
}

TEST(ProjectionPolarity, PositionOfASlantedLineIsTheMeanOfItsEnds) {
    const qvTiledProjectionResult profile = literalProfile(streetProfile(100, 0.0, 55, 55, 1100.0));
    EXPECT_EQ(tested(bareLine(Point(10.0, 47.0), Point(90.0, 53.0)), 20.0, profile).centreMean, 100.0);
    EXPECT_EQ(tested(bareLine(Point(10.0, 53.0), Point(90.0, 47.0)), 20.0, profile).centreMean, 100.0);
    EXPECT_EQ(tested(bareLine(Point(10.0, 46.0), Point(90.0, 52.0)), 20.0, profile).centreMean, 0.0);
}

TEST(ProjectionPolarity, CentreEqualToOneSideIsUndecided) {
    EXPECT_EQ(verdictOfMeans(90.0, 90.0, 90.0), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(100.0, 100.0, 50.0), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(50.0, 100.0, 100.0), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(100.0, 100.0, 150.0), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(150.0, 100.0, 100.0), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(101.0, 100.0, 150.0), Defs::eDarkOnLight);
    EXPECT_EQ(verdictOfMeans(50.0, 100.0, 99.0), Defs::eLightOnDark);
    EXPECT_EQ(verdictOfMeans(50.0, 100.0, 150.0), Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, MarginIsAFractionOfEachSide) {
    EXPECT_EQ(verdictOfMeans(100.0, 74.0, 200.0, 0.25), Defs::eDarkOnLight);
    EXPECT_EQ(verdictOfMeans(200.0, 74.0, 100.0, 0.25), Defs::eDarkOnLight);
    EXPECT_EQ(verdictOfMeans(100.0, 75.0, 200.0, 0.25), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(200.0, 75.0, 100.0, 0.25), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(80.0, 101.0, 40.0, 0.25), Defs::eLightOnDark);
    EXPECT_EQ(verdictOfMeans(40.0, 101.0, 80.0, 0.25), Defs::eLightOnDark);
    EXPECT_EQ(verdictOfMeans(80.0, 100.0, 40.0, 0.25), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOfMeans(40.0, 100.0, 80.0, 0.25), Defs::eAnyPolarity);
}

TEST(ProjectionPolarity, NanMeansCountAsDark) {
    // From bin 60 on the running sums are NaN, and so is the mean of the right side.
    const auto withNanFrom60 = [](double centre) {
        std::vector<double> greys = streetProfile(100, 100.0, 45, 55, centre);
        greys[60] = notANumber;
        return greys;
    };
    EXPECT_EQ(verdictAt50(withNanFrom60(90.0)), Defs::eDarkOnLight);
    EXPECT_EQ(verdictAt50(withNanFrom60(110.0)), Defs::eAnyPolarity);
    EXPECT_EQ(verdictAt50(std::vector<double>(100, notANumber)), Defs::eDarkOnLight);
}

TEST(ProjectionPolarity, LineBeyondTheProfileIsUndecided) {
    const qvTiledProjectionResult profile = literalProfile(streetProfile(100, 150.0, 40, 59, 60.0));
    for (const double y : {130.0, 1e9, 1e300, infinity, -30.0, -1e9, -1e300, -infinity}) {
        const Tested result = tested(flatLine(y), 20.0, profile);
        EXPECT_EQ(result.polarity, Defs::eAnyPolarity) << y;
        EXPECT_EQ(result.centreMean, noSamples) << y;
    }
}

TEST(ProjectionPolarity, BorderLineIsDarkForLackOfASide) {
    // At bin 99 nothing is left for the right side, whose mean is then 1e12; the centre has bins 94 to 99.
    const Tested dark = tested(flatLine(99.0), 20.0, literalProfile(streetProfile(100, 150.0, 94, 99, 60.0)));
    EXPECT_EQ(dark.polarity, Defs::eDarkOnLight);
    EXPECT_EQ(dark.centreMean, 60.0);
    EXPECT_EQ(tested(flatLine(99.0), 20.0, literalProfile(streetProfile(100, 60.0, 94, 99, 150.0))).polarity,
              Defs::eAnyPolarity);
    // At bin 0 the left side is empty.
    EXPECT_EQ(tested(flatLine(0.0), 20.0, literalProfile(streetProfile(100, 150.0, 0, 5, 60.0))).polarity,
              Defs::eDarkOnLight);
}

TEST(ProjectionPolarity, PlaceThatIsNoNumberFallsOnTheFirstBin) {
    const Tested result = tested(bareLine(Point(10.0, notANumber), Point(90.0, 50.0)), 20.0,
                                 literalProfile(std::vector<double>(100, 150.0)));
    EXPECT_EQ(result.polarity, Defs::eAnyPolarity);
    EXPECT_EQ(result.centreMean, noSamples);
}

TEST(ProjectionPolarity, InverseIsAppliedTwice) {
    // Client (4, 1) per image pel and a line at 45 degrees in the client frame: (1, 4) in the image, turned (-4, 1),
    // and through the inverse once more (-1, 1). Half a width of 10 sqrt(2) is then (-10, 10), in bins and samples (10,
    // -2.5), long 10.3 bins, and the centre takes bins 44 to 55. Undone by the forward transform it would be (-16, 1),
    // bins 48 to 51.
    const qvXform<2> clientFromImage = scaling(4.0, 1.0);
    const qvTiledProjectionResult profile =
        literalProfile(shapedProfile(100, [](double b) { return b * b; }), clientFromImage * binsAlongY());
    const qvLineFinderResults line = bareLine(Point(10.0, 40.0), Point(30.0, 60.0));
    const double mean = tested(line, 28.284271247461902, profile, 0.0, clientFromImage).centreMean;
    EXPECT_DOUBLE_EQ(mean, 29546.0 / 12.0);
}

TEST(ProjectionPolarity, RotatedAndMirroredClientFramesGiveTheSameVerdict) {
    const std::vector<double> greys = streetProfile(100, 150.0, 40, 59, 60.0);
    for (const double degrees : {3.0, -3.0})
        for (const bool mirrored : {false, true}) {
            const qvXform<2> clientFromImage = qvtest::clientFrame(degrees, 0.5, mirrored);
            const qvTiledProjectionResult profile = literalProfile(greys, clientFromImage * binsAlongY());
            const auto at = [&](double y) {
                return tested(bareLine(clientFromImage * Point(10.0, y), clientFromImage * Point(90.0, y)), 10.0,
                              profile, 0.0, clientFromImage);
            };
            EXPECT_EQ(at(50.0).polarity, Defs::eDarkOnLight);
            EXPECT_EQ(at(50.5).centreMean, 60.0);
            // Bins 36 to 46, four of them at 150 and seven at 60.
            EXPECT_NEAR(at(41.5).centreMean, 1020.0 / 11.0, 1e-9);
        }
}

TEST(ProjectionPolarity, TileThatIsNotValidIsABrokenPromise) {
    qvTiledProjectionResult profile = literalProfile(std::vector<double>(100, 150.0));
    profile.tiles[0][0].status = 1;
    EXPECT_THROW(tested(flatLine(50.0), 20.0, profile), qvInvariantFailure);
    EXPECT_THROW(tested(flatLine(50.0), 20.0, qvTiledProjectionResult()), qvInvariantFailure);
    EXPECT_THROW(pairPolarity(flatLine(40.0).segment(), flatLine(60.0).segment(), profile, 0.1, 0.2, 0.0),
                 qvInvariantFailure);
    EXPECT_THROW(profileDeviation(profile), qvInvariantFailure);
}

TEST(ProjectionPolarity, ProfileDeviationLeavesOutTheFirstBin) {
    EXPECT_EQ(profileDeviation(literalProfile({1000.0, 60.0, 140.0, 60.0, 140.0})), 40.0);
    EXPECT_EQ(profileDeviation(literalProfile({1000.0, 60.0, 140.0, 60.0, 140.0}, binsAlongX(), 7.0)), 40.0);
    // One bin leaves no sample: the root of 1e12.
    EXPECT_EQ(profileDeviation(literalProfile({1000.0})), 1e6);
}

TEST(ProjectionPolarity, PairRangesComeFromTheSortedEnds) {
    // Ends at bins 40, 42, 60 and 63: the gap is 18, so the margins are 1.8 and 3.6.
    const qvTiledProjectionResult profile = literalProfile(std::vector<double>(100, 1.0));
    const qvLineSeg a(Point(10.0, 40.0), Point(90.0, 42.0));
    const qvLineSeg b(Point(10.0, 60.0), Point(90.0, 63.0));
    const qvLineSeg aReversed(a.p2(), a.p1());
    for (const Ranges& ranges : {rangesOf(a, b, 0.1, 0.2, profile), rangesOf(b, a, 0.1, 0.2, profile),
                                 rangesOf(aReversed, b, 0.1, 0.2, profile)}) {
        expectRange(ranges.centre, 43.8, 58.2);
        expectRange(ranges.left, 34.6, 40.2);
        expectRange(ranges.right, 61.8, 68.4);
    }
}

TEST(ProjectionPolarity, PairRangesOfCrossingSegmentsTakeTheInnerEnds) {
    const qvTiledProjectionResult profile = literalProfile(std::vector<double>(100, 1.0), binsAlongX());
    const Ranges ranges = rangesOf(qvLineSeg(Point(40.0, 10.0), Point(60.0, 90.0)),
                                   qvLineSeg(Point(50.0, 10.0), Point(55.0, 90.0)), 0.2, 0.4, profile);
    expectRange(ranges.centre, 51.0, 54.0);
    expectRange(ranges.left, 37.0, 49.0);
    expectRange(ranges.right, 56.0, 63.0);
}

TEST(ProjectionPolarity, PairIsJudgedByTheBinsBetweenAndBeside) {
    // Edges at 40 and 60: centre bins 43 to 58, left 35 to 38, right 63 to 66.
    const auto verdictOf = [](const std::vector<double>& greys, double margin = 0.0) {
        return pairPolarity(flatLine(40.0).segment(), flatLine(60.0).segment(), literalProfile(greys), 0.1, 0.2,
                            margin);
    };
    EXPECT_EQ(verdictOf(streetProfile(100, 150.0, 40, 59, 60.0)), Defs::eDarkOnLight);
    EXPECT_EQ(verdictOf(streetProfile(100, 60.0, 40, 59, 150.0)), Defs::eLightOnDark);
    EXPECT_EQ(verdictOf(std::vector<double>(100, 90.0)), Defs::eAnyPolarity);
    const auto withSpike = [&](std::size_t bin) {
        std::vector<double> greys = streetProfile(100, 150.0, 43, 58, 60.0);
        greys[bin] = -1e6;
        return verdictOf(greys);
    };
    EXPECT_EQ(withSpike(34), Defs::eDarkOnLight);
    EXPECT_EQ(withSpike(35), Defs::eAnyPolarity);
    EXPECT_EQ(withSpike(38), Defs::eAnyPolarity);
    EXPECT_EQ(withSpike(39), Defs::eDarkOnLight);
    EXPECT_EQ(withSpike(62), Defs::eDarkOnLight);
    EXPECT_EQ(withSpike(63), Defs::eAnyPolarity);
    EXPECT_EQ(withSpike(66), Defs::eAnyPolarity);
    EXPECT_EQ(withSpike(67), Defs::eDarkOnLight);
    EXPECT_EQ(verdictOf(streetProfile(100, 100.0, 42, 58, 75.0), 0.25), Defs::eAnyPolarity);
    EXPECT_EQ(verdictOf(streetProfile(100, 100.0, 42, 58, 74.0), 0.25), Defs::eDarkOnLight);
}

TEST(ProjectionPolarity, PairBeyondTheProfileIsUndecided) {
    const qvTiledProjectionResult profile = literalProfile(std::vector<double>(100, 150.0));
    for (const double y : {200.0, 1e300, -200.0, notANumber})
        EXPECT_EQ(pairPolarity(flatLine(y).segment(), flatLine(y + 20.0).segment(), profile, 0.1, 0.2, 0.0),
                  Defs::eAnyPolarity)
            << y;
}

TEST(ProjectionPolarity, ClassificationTakesTheWidthsCrossed) {
    // Flat lines are 30 wide, so the centre is bins 42 to 57 around 50, on average 4 above the valley; upright ones are
    // 18 wide, bins 35 to 44 around 40, on average 2.5 above.
    const std::vector<std::vector<qvDIPair>> dark = classified(record(true), Defs::eDarkOnLight);
    ASSERT_EQ(dark.size(), 2U);
    ASSERT_EQ(dark[0].size(), 2U);
    expectEntry(dark[0][0], 104.0, 0);
    expectEntry(dark[0][1], 104.0, 2);
    ASSERT_EQ(dark[1].size(), 1U);
    expectEntry(dark[1][0], 102.5, 1);
}

TEST(ProjectionPolarity, LightStreetsCountByWhatTheyLackOf255) {
    const std::vector<std::vector<qvDIPair>> light = classified(record(false), Defs::eLightOnDark);
    ASSERT_EQ(light.size(), 2U);
    ASSERT_EQ(light[0].size(), 2U);
    expectEntry(light[0][0], 59.0, 0);
    expectEntry(light[0][1], 59.0, 2);
    ASSERT_EQ(light[1].size(), 1U);
    expectEntry(light[1][0], 57.5, 1);
}

TEST(ProjectionPolarity, LinesOfAnotherVerdictAreLeftOut) {
    for (const std::vector<qvDIPair>& list : classified(record(true), Defs::eLightOnDark)) EXPECT_TRUE(list.empty());
    for (const std::vector<qvDIPair>& list : classified(record(false), Defs::eDarkOnLight)) EXPECT_TRUE(list.empty());
    for (const std::vector<qvDIPair>& list : classified(record(true), static_cast<Defs::streetPolarity>(7)))
        EXPECT_TRUE(list.empty());
}

TEST(ProjectionPolarity, ClassificationHasNoMargin) {
    // A valley 11 grey levels deep in a thousand.
    qv_streetFinderImpl impl = record(true);
    impl.projectionAlong0 =
        literalProfile(shapedProfile(100, [](double b) { return 1000.0 + std::fabs(b - 50.0); }), binsAlongY());
    const std::vector<std::vector<qvDIPair>> dark = classified(impl, Defs::eDarkOnLight);
    ASSERT_EQ(dark[0].size(), 2U);
    expectEntry(dark[0][0], 1004.0, 0);
}

TEST(ProjectionPolarity, AnyPolarityReadsNoProjection) {
    qv_streetFinderImpl impl = record(true);
    impl.projectionAlong0 = qvTiledProjectionResult();
    impl.projectionAlong1 = qvTiledProjectionResult();
    const std::vector<std::vector<qvDIPair>> lists = classified(impl, Defs::eAnyPolarity);
    ASSERT_EQ(lists.size(), 2U);
    ASSERT_EQ(lists[0].size(), 3U);
    ASSERT_EQ(lists[1].size(), 2U);
    for (const std::vector<qvDIPair>& list : lists)
        for (std::size_t i = 0; i < list.size(); ++i) expectEntry(list[i], 0.0, static_cast<long>(i));
    EXPECT_THROW(classified(impl, Defs::eDarkOnLight), qvInvariantFailure);
}

TEST(ProjectionPolarity, WithoutLineListsThereIsNothingToClassify) {
    EXPECT_TRUE(classified(qv_streetFinderImpl(), Defs::eDarkOnLight).empty());
}

TEST(ProjectionPolarity, RankingIsOneFlatListDirectionZeroFirst) {
    const qv_streetFinderImpl impl = record(true);
    std::vector<qvDIJPair> list(7);
    rankStreetLines(impl.lines, list, paramsFor(Defs::eDarkOnLight), impl, nullptr);
    ASSERT_EQ(list.size(), 3U);
    const qvDIJPair expected[] = {{104.0, 0, 0}, {104.0, 0, 2}, {102.5, 1, 1}};
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_DOUBLE_EQ(list[k].cost, expected[k].cost);
        EXPECT_EQ(list[k].direction, expected[k].direction);
        EXPECT_EQ(list[k].index, expected[k].index);
    }
    rankStreetLines(impl.lines, list, paramsFor(Defs::eLightOnDark), impl, nullptr);
    EXPECT_TRUE(list.empty());
}
