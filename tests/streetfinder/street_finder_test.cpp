#include "qvstreet/streetfinder/street_finder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/streetfinder/finder_runs.h"
#include "tests/support/longs.h"

namespace {

using Access = qv_streetFinderAccess;
using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::clientFrame;
using qvtest::Crossings;
using qvtest::crossingsFrom;
using qvtest::finderParams;
using qvtest::numbersOf;
using qvtest::oblongWafer;
using qvtest::PaintedWafer;
using qvtest::Streets;
using qvtest::streetsFrom;
using qvtest::uniformImage;

const Defs::waferType allModes[] = {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer};
const Defs::waferType ridgeModes[] = {Defs::eRidgeWafer, Defs::eCoarseRidgeWafer};

/// Makes the operations for derived hosts public.
class OpenFinder : public qvStreetFinder {
 public:
    using qvStreetFinder::getEndPoint;
    using qvStreetFinder::getLineCount;
    using qvStreetFinder::getStartPoint;
    using qvStreetFinder::qvStreetFinder;
};

template <class Error, class Call>
std::wstring messageOf(Call&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.message();
    }
    return L"no error";
}

std::vector<qvRadian> anglesFrom(qvStreetFinder& finder, long cnt) {
    std::vector<qvRadian> angles(4);
    finder.getAngles(cnt, angles);
    return angles;
}

/// Whether some result crosses within `reach` of the place.
bool isFound(const Crossings& results, const Point& place, double reach) {
    for (const qvStreetFinderStreetCrossResult& result : results)
        if (result.crossing().distance(place) <= reach) return true;
    return false;
}

qvLineFinderResults lineTo(double y) {
    return qvLineFinderResults(qvLineSeg(Point(1.0, y), Point(2.0, -y)), 0.0, false);
}

}  // namespace

TEST(StreetFinder, IsNoValueAndHasAVirtualDestructor) {
    EXPECT_FALSE(std::is_copy_constructible_v<qvStreetFinder>);
    EXPECT_FALSE(std::is_copy_assignable_v<qvStreetFinder>);
    EXPECT_TRUE(std::has_virtual_destructor_v<qvStreetFinder>);
    EXPECT_TRUE((std::is_convertible_v<qvStreetFinderParams, qvStreetFinder>));
}

TEST(StreetFinder, DefaultParametersAreThoseOfTheParameterClass) {
    const qvStreetFinder finder;
    EXPECT_EQ(finder.runParams().nominalStreetWidth(), qvPair<double>(10.0, 10.0));
    EXPECT_EQ(finder.runParams().runMode(), Defs::eEdgePairWafer);
    EXPECT_EQ(finder.runParams().maxResults(), 1);
}

TEST(StreetFinder, ConstructorCopiesTheParametersAndSetsTheModesConstants) {
    qvStreetFinderParams params = finderParams(Defs::eRidgeWafer, Defs::eLightOnDark, 7);
    const qvStreetFinder finder(params);
    params.maxResults(3);
    EXPECT_EQ(finder.runParams().maxResults(), 7);
    EXPECT_EQ(finder.runParams().nominalStreetWidth(), qvPair<double>(18.0, 30.0));
    const qv_streetFinderImpl& record = qf_finderRecord(finder);
    EXPECT_EQ(record.flags, 2U);
    EXPECT_FALSE(record.imageBound);
    EXPECT_EQ(record.ridgeParams.lineGroup.highThreshold, 100.0);
    EXPECT_EQ(record.scoreWeights.size(), 10U);
    EXPECT_EQ(record.trace, nullptr);
}

TEST(StreetFinder, AngleCountMustBePositiveOnAnyFinder) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    for (int round = 0; round < 2; ++round) {
        for (const long bad : {0L, -1L, std::numeric_limits<long>::min()}) {
            std::vector<qvRadian> angles(4);
            EXPECT_EQ(messageOf<Defs::BadParams>([&] { finder.getAngles(bad, angles); }), L"cnt must be positive.");
            EXPECT_EQ(angles.size(), 4U);
        }
        finder.setImage(oblongWafer(0.0).image());
    }
}

TEST(StreetFinder, AnglesNeedAnImage) {
    qvStreetFinder finder;
    std::vector<qvRadian> angles(4);
    EXPECT_EQ(messageOf<Defs::UnboundImage>([&] { finder.getAngles(1, angles); }), L"Need to call setImage.");
    EXPECT_EQ(angles.size(), 4U);
}

TEST(StreetFinder, AnglesComeInTheirOrderAsRadiansAndUnfolded) {
    qvStreetFinder finder;
    qv_streetFinderImpl& record = Access::record(finder);
    record.imageBound = true;
    record.angles = {qvDegree(-178.9), qvDegree(90.0), qvDegree(270.0)};
    const std::vector<qvRadian> all = anglesFrom(finder, 1000);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_NEAR(all[0].toDouble(), -3.1223940318178558, 1e-15);
    EXPECT_DOUBLE_EQ(all[1].toDouble(), 1.5707963267948966);
    EXPECT_DOUBLE_EQ(all[2].toDouble(), 4.71238898038469);
    EXPECT_EQ(anglesFrom(finder, 2).size(), 2U);
    EXPECT_EQ(anglesFrom(finder, 3).size(), 3U);
    EXPECT_EQ(anglesFrom(finder, 1)[0], all[0]);
    for (const long huge :
         qvtest::longs({2147483647, 2147483648, 4294967296, 4294967297, std::numeric_limits<long>::max()}))
        EXPECT_EQ(anglesFrom(finder, huge).size(), 3U) << huge;
}

TEST(StreetFinder, AnglesOfABoundImageWithoutAnyAreEmpty) {
    qvStreetFinder finder;
    finder.setImage(uniformImage(300, 200, 128));
    EXPECT_TRUE(anglesFrom(finder, 5).empty());
}

TEST(StreetFinder, BothStreetDirectionsAreAmongTheAngles) {
    for (const double lean : {3.0, -3.0}) {
        qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
        finder.setImage(oblongWafer(lean).image());
        const std::vector<qvRadian> angles = anglesFrom(finder, 1000);
        ASSERT_GE(angles.size(), 2U);
        const qv_streetFinderImpl& record = qf_finderRecord(finder);
        ASSERT_EQ(record.streetAngles.size(), 2U);
        // A direction and its opposite are one street.
        const auto fromTruth = [](qvDegree angle, double truth) {
            return std::fabs(std::remainder(angle.toDouble() - truth, 180.0));
        };
        EXPECT_LT(fromTruth(record.streetAngles[0], lean), 0.5);
        EXPECT_LT(fromTruth(record.streetAngles[1], 90.0 + lean), 0.5);
        for (const double truth : {lean, 90.0 + lean}) {
            bool among = false;
            for (const qvRadian angle : angles) among = among || fromTruth(angle, truth) < 0.5;
            EXPECT_TRUE(among) << truth;
        }
        EXPECT_EQ(angles.size(), record.angles.size());
        EXPECT_EQ(angles.size(), record.angleScores.size());
    }
}

TEST(StreetFinder, SearchesNeedAnImageAndLeaveTheResultsAlone) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode));
        Crossings crossings(3);
        Streets streets(3);
        EXPECT_EQ(messageOf<Defs::UnboundImage>([&] { finder.find(crossings); }),
                  L"Unbound Image::need to call setImage");
        EXPECT_EQ(messageOf<Defs::UnboundImage>([&] { finder.findSingleStreet(streets); }),
                  L"Unbound Image::need to call setImage");
        EXPECT_EQ(crossings.size(), 3U);
        EXPECT_EQ(streets.size(), 3U);
    }
}

TEST(StreetFinder, LineCountIsZeroBeforeTheFirstImage) {
    const OpenFinder finder;
    EXPECT_EQ(finder.getLineCount(), 0);
    EXPECT_THROW(finder.getStartPoint(0), std::out_of_range);
    EXPECT_THROW(finder.getEndPoint(0), std::out_of_range);
    EXPECT_EQ(messageOf<Defs::BadParams>([&] { finder.getStartPoint(1); }), L" invalid line index");
    EXPECT_EQ(messageOf<Defs::BadParams>([&] { finder.getEndPoint(1); }), L" invalid line index");
}

TEST(StreetFinder, LineIndexEqualToASizeIsOutOfRange) {
    OpenFinder finder;
    Access::record(finder).lines = {{lineTo(10.0), lineTo(11.0)}, {lineTo(20.0), lineTo(21.0), lineTo(22.0)}};
    EXPECT_EQ(finder.getLineCount(), 5);
    EXPECT_EQ(finder.getStartPoint(0), qvPair<double>(1.0, 10.0));
    EXPECT_EQ(finder.getEndPoint(0), qvPair<double>(2.0, -10.0));
    EXPECT_EQ(finder.getStartPoint(1), qvPair<double>(1.0, 11.0));
    // Two lines in direction 0: index 2 stays there, and the first line of direction 1 cannot be asked for.
    EXPECT_THROW(finder.getStartPoint(2), std::out_of_range);
    EXPECT_THROW(finder.getEndPoint(2), std::out_of_range);
    EXPECT_EQ(finder.getStartPoint(3), qvPair<double>(1.0, 21.0));
    EXPECT_EQ(finder.getEndPoint(4), qvPair<double>(2.0, -22.0));
    EXPECT_THROW(finder.getStartPoint(5), std::out_of_range);
}

TEST(StreetFinder, LineIndexBelowZeroOrAboveTheCountIsInvalid) {
    OpenFinder finder;
    Access::record(finder).lines = {{lineTo(10.0), lineTo(11.0)}, {lineTo(20.0)}};
    for (const long bad :
         qvtest::longs({-1, 4, 4294967296, std::numeric_limits<long>::min(), std::numeric_limits<long>::max()})) {
        EXPECT_EQ(messageOf<Defs::BadParams>([&] { finder.getStartPoint(bad); }), L" invalid line index") << bad;
        EXPECT_EQ(messageOf<Defs::BadParams>([&] { finder.getEndPoint(bad); }), L" invalid line index") << bad;
    }
}

TEST(StreetFinder, EmptyDirectionZeroStillTakesIndexZero) {
    OpenFinder finder;
    Access::record(finder).lines = {{}, {lineTo(20.0), lineTo(21.0)}};
    EXPECT_THROW(finder.getStartPoint(0), std::out_of_range);
    EXPECT_EQ(finder.getStartPoint(1), qvPair<double>(1.0, 21.0));
}

TEST(StreetFinder, LinesOfABoundImageAreNumberedOneDirectionAfterTheOther) {
    OpenFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    finder.setImage(oblongWafer(0.0).image());
    const qv_streetFinderImpl& record = Access::record(finder);
    const long count0 = static_cast<long>(record.lines[0].size());
    EXPECT_EQ(finder.getLineCount(), count0 + static_cast<long>(record.lines[1].size()));
    EXPECT_EQ(finder.getStartPoint(count0 + 1).second, record.lines[1][1].segment().p1().y());
    EXPECT_EQ(finder.getEndPoint(count0 - 1).first, record.lines[0].back().segment().p2().x());
}

TEST(StreetFinder, SetImageFillsTheRecord) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    const qvPelBuffer_const<unsigned char> image = oblongWafer(0.0).image(clientFrame(3.0, 0.5, true));
    finder.setImage(image);
    const qv_streetFinderImpl& record = qf_finderRecord(finder);
    EXPECT_TRUE(record.imageBound);
    EXPECT_EQ(record.imageSize, qvPair<long>(420, 300));
    EXPECT_EQ(record.image.pointToOffset(), image.pointToOffset());
    EXPECT_EQ(record.clientFromImage, image.clientFromImageXform());
    EXPECT_EQ(record.imageOffset, qvPair<long>(0, 0));
    EXPECT_EQ(record.scoreWeights.size(), 10U);
    EXPECT_EQ(record.lines.size(), 2U);
    EXPECT_EQ(record.flags, 2U);
    // The bins of direction 0 run along direction 1: from one to the next is half a client unit down the image.
    const Point step0 = record.projectionAlong0.tile(0, 0).clientFromProfile.mapVector(Point(1.0, 0.0));
    const Point step1 = record.projectionAlong1.tile(0, 0).clientFromProfile.mapVector(Point(1.0, 0.0));
    EXPECT_NEAR(std::fabs(std::sin(step0.angle().toDouble())), 1.0, 0.01);
    EXPECT_NEAR(std::fabs(std::cos(step1.angle().toDouble())), 1.0, 0.01);
    EXPECT_NEAR(step0.len(), 0.5, 0.01);
    EXPECT_EQ(record.imageDeviation, profileDeviation(record.projectionAlong0));
    EXPECT_GT(record.imageDeviation, 30.0);
    EXPECT_NE(record.imageDeviation, profileDeviation(record.projectionAlong1));
}

TEST(StreetFinder, SetImageSetsTheFlagAndLeavesOthers) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    Access::record(finder).flags = 1;
    finder.setImage(oblongWafer(0.0).image());
    EXPECT_EQ(qf_finderRecord(finder).flags, 3U);
    EXPECT_EQ(crossingsFrom(finder).size(), 6U);
}

TEST(StreetFinder, UniformImageHasTheImageAxesAsStreetsAndNoLines) {
    for (const Defs::waferType mode : allModes)
        for (const bool mirrored : {false, true}) {
            OpenFinder finder(finderParams(mode));
            qvPelBuffer_const<unsigned char> image = uniformImage(300, 200, 77);
            image.clientFromImageXform(clientFrame(3.0, 0.5, mirrored));
            finder.setImage(image);
            const qv_streetFinderImpl& record = Access::record(finder);
            EXPECT_TRUE(record.angles.empty());
            EXPECT_TRUE(record.angleScores.empty());
            ASSERT_EQ(record.streetAngles.size(), 2U);
            EXPECT_NEAR(record.streetAngles[0].toDouble(), 3.0, 1e-9);
            EXPECT_NEAR(record.streetAngles[1].toDouble(), mirrored ? -87.0 : 93.0, 1e-9);
            ASSERT_EQ(record.lines.size(), 2U);
            EXPECT_EQ(finder.getLineCount(), 0);
            EXPECT_EQ(record.imageDeviation, 0.0);
            EXPECT_TRUE(streetsFrom(finder).empty());
            EXPECT_TRUE(crossingsFrom(finder).empty());
        }
}

TEST(StreetFinder, FindsEveryCrossingOfBothLeanings) {
    for (const Defs::waferType mode : ridgeModes)
        for (const double lean : {0.0, 3.0, -3.0}) {
            const PaintedWafer wafer = oblongWafer(lean);
            qvStreetFinder finder(finderParams(mode));
            finder.setImage(wafer.image());
            const Crossings results = crossingsFrom(finder);
            EXPECT_EQ(results.size(), 6U) << mode << ", " << lean;
            for (const Point& truth : crossingsOf(wafer))
                EXPECT_TRUE(isFound(results, truth, 2.0)) << mode << ", " << lean;
            for (std::size_t k = 0; k < results.size(); ++k) {
                EXPECT_EQ(results[k].statusFlags(), Defs::eStreetFromLine);
                EXPECT_GT(results[k].score(), 0.7);
                EXPECT_LE(results[k].score(), results[k > 0 ? k - 1 : 0].score());
            }
        }
}

TEST(StreetFinder, CoarseCrossingsAreWhereTheirLinesIntersect) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    finder.setImage(oblongWafer(3.0).image());
    for (const qvStreetFinderStreetCrossResult& result : crossingsFrom(finder)) {
        ASSERT_EQ(result.lineSegs().size(), 2U);
        EXPECT_EQ(result.crossing(), result.lineSegs()[1].line().intersect(result.lineSegs()[0].line()));
        EXPECT_EQ(result.verticalAngle(), result.lineSegs()[0].line().angle());
        EXPECT_EQ(result.horizontalAngle(), result.lineSegs()[1].line().angle());
    }
}

TEST(StreetFinder, ClientFrameMovesTheResultsAndNothingElse) {
    // Rotated by 3 degrees, half a unit per pel, and mirrored in y; the widths are then half as large, too.
    for (const Defs::waferType mode : ridgeModes)
        for (const double degrees : {3.0, -4.5})
            for (const bool mirrored : {false, true}) {
                const PaintedWafer wafer = oblongWafer(-2.0);
                const qvXform<2> frame = clientFrame(degrees, 0.5, mirrored);
                qvStreetFinder finder(finderParams(mode, Defs::eAnyPolarity, 20, 0.5));
                finder.setImage(wafer.image(frame));
                const Crossings results = crossingsFrom(finder);
                EXPECT_EQ(results.size(), 6U);
                for (const Point& truth : crossingsOf(wafer)) EXPECT_TRUE(isFound(results, frame * truth, 1.0));
                const double horizontal = degrees + (mirrored ? 2.0 : -2.0);
                for (const qvStreetFinderStreetCrossResult& result : results)
                    EXPECT_NEAR(std::remainder(qvDegree(result.horizontalAngle()).toDouble() - horizontal, 180.0), 0.0,
                                0.5);
            }
}

TEST(StreetFinder, OnlyStreetsOfTheAskedPolarityAreFound) {
    // A profile is as long as the image's other side, so that of the upright streets the last one may be beyond it.
    for (const Defs::waferType mode : ridgeModes)
        for (const bool dark : {true, false}) {
            PaintedWafer wafer = oblongWafer(0.0);
            if (!dark) std::swap(wafer.dieGrey, wafer.streetGrey);
            const Defs::streetPolarity same = dark ? Defs::eDarkOnLight : Defs::eLightOnDark;
            const Defs::streetPolarity other = dark ? Defs::eLightOnDark : Defs::eDarkOnLight;
            qvStreetFinder finder(finderParams(mode, same));
            finder.setImage(wafer.image());
            const Crossings results = crossingsFrom(finder);
            EXPECT_GE(results.size(), 4U);
            for (const qvStreetFinderStreetCrossResult& result : results) {
                bool isTrue = false;
                for (const Point& truth : crossingsOf(wafer))
                    isTrue = isTrue || result.crossing().distance(truth) < 2.0;
                EXPECT_TRUE(isTrue);
            }
            qvStreetFinder opposite(finderParams(mode, other));
            opposite.setImage(wafer.image());
            for (const qvStreetFinderStreetCrossResult& result : crossingsFrom(opposite))
                for (const Point& truth : crossingsOf(wafer)) EXPECT_GT(result.crossing().distance(truth), 10.0);
        }
}

TEST(StreetFinder, MaxResultsKeepsTheBest) {
    const qvPelBuffer_const<unsigned char> image = oblongWafer(3.0).image();
    qvStreetFinder all(finderParams(Defs::eCoarseRidgeWafer));
    all.setImage(image);
    for (const long most : {1L, 2L, 5L}) {
        qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer, Defs::eAnyPolarity, most));
        finder.setImage(image);
        const Crossings best = crossingsFrom(finder);
        ASSERT_EQ(best.size(), static_cast<std::size_t>(most));
        Crossings expected = crossingsFrom(all);
        expected.resize(best.size());
        EXPECT_EQ(numbersOf(best), numbersOf(expected));
        EXPECT_EQ(streetsFrom(finder).size(), best.size());
    }
}

TEST(StreetFinder, SingleStreetsReplaceWhatTheVectorHeld) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode));
        finder.setImage(oblongWafer(0.0).image());
        const Streets once = streetsFrom(finder);
        Streets results(40);
        finder.findSingleStreet(results);
        EXPECT_EQ(numbersOf(results), numbersOf(once));
        ASSERT_FALSE(results.empty());
        const bool edges = mode == Defs::eEdgePairWafer;
        for (const qvStreetFinderSingleStreetResult& street : results) {
            EXPECT_EQ(street.statusFlags(), edges ? Defs::eStreetFromEdges : Defs::eStreetFromLine);
            EXPECT_EQ(street.lineSegs().size(), edges ? 2U : 1U);
        }
    }
}

TEST(StreetFinder, CrossingsReplaceWhatTheVectorHeld) {
    for (const Defs::waferType mode : ridgeModes) {
        qvStreetFinder finder(finderParams(mode));
        finder.setImage(oblongWafer(0.0).image());
        Crossings results(40);
        finder.find(results);
        EXPECT_EQ(numbersOf(results), numbersOf(crossingsFrom(finder)));
        EXPECT_EQ(results.size(), 6U);
    }
}

TEST(StreetFinder, ModeWithoutANameGoesTheWayOfTheLines) {
    qvStreetFinder finder(finderParams(static_cast<Defs::waferType>(9)));
    finder.setImage(uniformImage(300, 200, 77));
    EXPECT_TRUE(streetsFrom(finder).empty());
    EXPECT_TRUE(crossingsFrom(finder).empty());
    finder.setImage(oblongWafer(3.0).image());
    EXPECT_NO_THROW(crossingsFrom(finder));
}
