#include "qvstreet/streetfinder/line_sets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "qvstreet/streetfinder/mode_constants.h"
#include "tests/streetfinder/painted_wafer.h"

namespace {

using Defs = qvStreetFinderDefs;
using Pair = qvPair<double>;
using Lines = std::vector<qvLineFinderResults>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

const std::vector<qvDegree> axes = {qvDegree(0.0), qvDegree(90.0)};
const Pair width(18.0, 30.0);

qvXform<2> scaling(double x, double y) { return qvXform<2>(qvMatrix<2>(x, 0.0, 0.0, y), qvVector<2>(0.0, 0.0)); }

/// A record whose sample pels are `x` by `y` pels of the image.
qv_streetFinderImpl recordWithSamplePels(double x, double y) {
    qv_streetFinderImpl impl;
    impl.flags = qvSizesFromParams;
    impl.spectrum.imageFromSample = scaling(x, y);
    return impl;
}

void expectBands(const std::array<qv_gaborSpec, 2>& specs, const Pair& band0, const Pair& band1) {
    EXPECT_NEAR(specs[0].band.first, band0.first, 1e-12);
    EXPECT_NEAR(specs[0].band.second, band0.second, 1e-12);
    EXPECT_NEAR(specs[1].band.first, band1.first, 1e-12);
    EXPECT_NEAR(specs[1].band.second, band1.second, 1e-12);
}

void expectDefaultSpec(const qv_gaborSpec& spec) {
    EXPECT_EQ(spec.kind, 0);
    EXPECT_EQ(spec.angle, qvDegree(0.0));
    EXPECT_EQ(spec.spread, 0.17);
    EXPECT_EQ(spec.band, Pair(0.0625, 0.03125));
    EXPECT_EQ(spec.ratio, 0.0);
}

bool passes(const qvXform<2>& clientFromImage) {
    qvPelBuffer_const<unsigned char> image = qvPelBuffer<unsigned char>(4, 3);
    image.clientFromImageXform(clientFromImage);
    return rotationIsWithin(image, 5.0);
}

qvXform<2> rotated(double degrees) { return qvtest::clientFrame(degrees, 0.5, false); }

qvLineFinderResults lineOfLength(double length, const qvVector<2>& from = qvVector<2>(3.0, 4.0)) {
    return qvLineFinderResults(qvLineSeg(from, from + qvVector<2>(length, 0.0)), 0.0, false);
}

/// What `setImage` knows of an image before it extracts the lines.
qv_streetFinderImpl preparedRecord(const qvPelBuffer_const<unsigned char>& image, Defs::waferType mode, qvDegree angle0,
                                   qvDegree angle1) {
    qv_streetFinderImpl impl;
    impl.flags = qvSizesFromParams;
    setModeConstants(impl, mode, Defs::eAnyPolarity);
    impl.image = image;
    impl.clientFromImage = image.clientFromImageXform();
    impl.imageSize = qvPair<long>(image.width(), image.height());
    prepareSpectrum(impl.spectrum, image, impl.spectrumParams);
    impl.streetAngles = {angle0, angle1};
    return impl;
}

std::vector<Lines> extracted(const qv_streetFinderImpl& impl, Defs::waferType mode) {
    std::vector<Lines> lines;
    extractStreetLines(impl, width, mode, impl.streetAngles, 5.0, 1.0, lines);
    return lines;
}

std::vector<Lines> built(const qv_streetFinderImpl& impl, Defs::waferType mode) {
    std::vector<Lines> lines;
    buildLineSets(impl, width, mode, 5.0, 1.0, lines);
    return lines;
}

/// The segments that are longer than `limit`.
std::vector<qvLineSeg> longSegments(const Lines& lines, double limit) {
    std::vector<qvLineSeg> segments;
    for (const qvLineFinderResults& line : lines)
        if (line.segment().len() > limit) segments.push_back(line.segment());
    return segments;
}

std::vector<qvLineSeg> segmentsOf(const Lines& lines) { return longSegments(lines, -1.0); }

/// A wide and low image with a flat street and upright ones.
qvtest::PaintedWafer lowWafer() {
    qvtest::PaintedWafer wafer;
    wafer.width = 900;
    wafer.height = 120;
    wafer.flat.push_back({qvVector<2>(450.0, 60.0), 0.0, 18.0});
    for (const double x : {100.0, 330.0, 560.0, 790.0}) wafer.upright.push_back({qvVector<2>(x, 60.0), 90.0, 30.0});
    return wafer;
}

}  // namespace

TEST(LineSets, RotationOfExactlyTheLimitIsWithin) {
    EXPECT_TRUE(passes(qvXform<2>()));
    EXPECT_TRUE(passes(rotated(5.0)));
    EXPECT_TRUE(passes(rotated(-5.0)));
    EXPECT_FALSE(passes(rotated(5.0000001)));
    EXPECT_FALSE(passes(rotated(5.1)));
    EXPECT_FALSE(passes(rotated(-5.1)));
}

TEST(LineSets, RotationIsNotFolded) {
    EXPECT_FALSE(passes(rotated(180.0)));
    EXPECT_FALSE(passes(scaling(-1.0, 1.0)));
    EXPECT_FALSE(passes(scaling(-1.0, -1.0)));
    EXPECT_TRUE(passes(scaling(1.0, -1.0)));
    EXPECT_TRUE(passes(qvtest::clientFrame(3.0, 0.5, true)));
}

TEST(LineSets, RotationThatIsNoNumberIsNotAboveTheLimit) { EXPECT_TRUE(passes(scaling(notANumber, 1.0))); }

TEST(LineSets, LineOfExactlyTheShortestLengthIsDropped) {
    Lines kept;
    filterShortLines({lineOfLength(30.0), lineOfLength(30.0000001), lineOfLength(29.0), lineOfLength(-31.0)}, 30.0,
                     kept);
    ASSERT_EQ(kept.size(), 2U);
    EXPECT_GT(kept[0].segment().len(), 30.0);
    EXPECT_EQ(kept[1].segment().len(), 31.0);
}

TEST(LineSets, LengthFilterAppendsInOrder) {
    Lines kept = {lineOfLength(1.0)};
    filterShortLines({lineOfLength(50.0), lineOfLength(10.0), lineOfLength(40.0)}, 20.0, kept);
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[0].segment().len(), 1.0);
    EXPECT_EQ(kept[1].segment().len(), 50.0);
    EXPECT_EQ(kept[2].segment().len(), 40.0);
}

TEST(LineSets, LengthFilterDropsLinesWithoutALength) {
    Lines kept;
    filterShortLines({lineOfLength(0.0), lineOfLength(notANumber)}, 0.0, kept);
    EXPECT_TRUE(kept.empty());
}

TEST(LineSets, EdgeBandsCrossWidthsAndFloors) {
    // Two samples are 4 units along direction 0 and 6 along direction 1.
    const qv_streetFinderImpl impl = recordWithSamplePels(2.0, 3.0);
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, axes, 5.0, 1.0), Pair(5.0, 6.0), Pair(6.0, 7.5));
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, axes, 3.0, 2.0), Pair(4.0, 9.0), Pair(6.0, 15.0));
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, axes, 7.0, 0.1), Pair(7.0, 6.0), Pair(7.0, 4.0));
}

TEST(LineSets, RidgeBandsCrossWidthsAndFloors) {
    for (const Defs::waferType mode : {Defs::eRidgeWafer, Defs::eCoarseRidgeWafer}) {
        const qv_streetFinderImpl fine = recordWithSamplePels(2.0, 3.0);
        expectBands(filterSpecs(fine, width, mode, axes, 5.0, 1.0), Pair(35.0, 108.0), Pair(23.0, 180.0));
        // Two samples are 40 units along direction 0 and 60 along direction 1.
        const qv_streetFinderImpl rough = recordWithSamplePels(20.0, 30.0);
        expectBands(filterSpecs(rough, width, mode, axes, 5.0, 1.0), Pair(40.0, 108.0), Pair(60.0, 180.0));
        expectBands(filterSpecs(rough, width, mode, axes, 5.0, 0.25), Pair(40.0, 60.0), Pair(60.0, 45.0));
        expectBands(filterSpecs(rough, width, mode, axes, 5.0, 0.125), Pair(40.0, 60.0), Pair(60.0, 40.0));
    }
}

TEST(LineSets, SpecsOfTheNamedModesHaveKindFourAndTheirRatio) {
    const qv_streetFinderImpl impl = recordWithSamplePels(2.0, 3.0);
    const auto expectKindAndRatio = [&](Defs::waferType mode, double ratio) {
        for (const qv_gaborSpec& spec : filterSpecs(impl, width, mode, axes, 5.0, 1.0)) {
            EXPECT_EQ(spec.kind, 4);
            EXPECT_EQ(spec.ratio, ratio);
            EXPECT_EQ(spec.angle, qvDegree(0.0));
            EXPECT_EQ(spec.spread, 0.17);
        }
    };
    expectKindAndRatio(Defs::eEdgePairWafer, 3.0);
    expectKindAndRatio(Defs::eRidgeWafer, 2.925714285714286);
    expectKindAndRatio(Defs::eCoarseRidgeWafer, 2.925714285714286);
}

TEST(LineSets, SpecsStayAtTheirDefaultsWithoutAKnownModeOrTheFlag) {
    qv_streetFinderImpl impl = recordWithSamplePels(2.0, 3.0);
    for (const int mode : {3, 4, -1})
        for (const qv_gaborSpec& spec : filterSpecs(impl, width, static_cast<Defs::waferType>(mode), axes, 5.0, 1.0))
            expectDefaultSpec(spec);
    impl.flags = 1;
    for (const Defs::waferType mode : {Defs::eEdgePairWafer, Defs::eRidgeWafer})
        for (const qv_gaborSpec& spec : filterSpecs(impl, width, mode, axes, 5.0, 1.0)) expectDefaultSpec(spec);
}

TEST(LineSets, FloorIsTwoSamplesInClientUnits) {
    for (const bool mirrored : {false, true})
        for (const double degrees : {3.0, -4.0}) {
            qv_streetFinderImpl impl = recordWithSamplePels(8.0, 12.0);
            impl.clientFromImage = qvtest::clientFrame(degrees, 0.5, mirrored);
            // Two samples are 16 pels or 8 units along the image's x, 24 pels or 12 units along its y.
            const std::vector<qvDegree> angles = {qvDegree(degrees), qvDegree(degrees + 90.0)};
            expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, angles, 5.0, 1.0), Pair(8.0, 12.0),
                        Pair(12.0, 8.0));
        }
}

TEST(LineSets, FloorIsMeasuredAlongTheAngleInTheSampleFrame) {
    // At 45 degrees a sample frame of 3 by 4 pels has the direction (4, 3) / 5; two samples are (4.8, 4.8) pels.
    qv_streetFinderImpl impl = recordWithSamplePels(3.0, 4.0);
    const std::vector<qvDegree> diagonals = {qvDegree(45.0), qvDegree(90.0)};
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, diagonals, 1.0, 2.0), Pair(std::sqrt(46.08), 9.0),
                Pair(8.0, 15.0));
    // The same through a client frame that is stretched instead: client (4, 4) is (1, 2) pels.
    impl.spectrum.imageFromSample = qvXform<2>();
    impl.clientFromImage = scaling(3.0, 4.0);
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, diagonals, 1.0, 2.0), Pair(std::sqrt(46.08), 9.0),
                Pair(8.0, 15.0));
}

TEST(LineSets, LengthEqualToItsFloorStaysAndNanGivesWay) {
    const qv_streetFinderImpl impl = recordWithSamplePels(2.5, 3.75);
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, axes, 5.0, 1.0), Pair(5.0, 7.5), Pair(7.5, 7.5));
    expectBands(filterSpecs(impl, width, Defs::eEdgePairWafer, axes, notANumber, notANumber), Pair(5.0, 7.5),
                Pair(7.5, 5.0));
}

TEST(LineSets, AnyOtherNumberOfAnglesIsABrokenPromise) {
    const qv_streetFinderImpl impl = recordWithSamplePels(2.0, 3.0);
    for (const std::size_t count : {0U, 1U, 3U}) {
        std::vector<Lines> lines;
        EXPECT_THROW(extractStreetLines(impl, width, Defs::eRidgeWafer, std::vector<qvDegree>(count), 5.0, 1.0, lines),
                     qvInvariantFailure);
    }
}

TEST(LineSets, EachDirectionGetsTheLinesOfItsOwnAngle) {
    qvtest::PaintedWafer wafer = qvtest::oblongWafer(0.0);
    wafer.upright.clear();
    const qv_streetFinderImpl impl =
        preparedRecord(wafer.image(), Defs::eCoarseRidgeWafer, qvDegree(0.0), qvDegree(90.0));
    const std::vector<Lines> lines = extracted(impl, Defs::eCoarseRidgeWafer);
    ASSERT_EQ(lines.size(), 2U);
    ASSERT_EQ(longSegments(lines[0], 300.0).size(), 2U);
    for (const qvLineSeg& segment : longSegments(lines[0], 300.0))
        EXPECT_LT(std::fabs(segment.p2().y() - segment.p1().y()), 1.0);
    EXPECT_TRUE(longSegments(lines[1], 100.0).empty());
}

TEST(LineSets, OnlyTheRidgeModesTakeStatistics) {
    const qvPelBuffer_const<unsigned char> image = qvtest::oblongWafer(0.0).image();
    for (const Defs::waferType mode : {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer}) {
        const std::vector<Lines> lines = built(preparedRecord(image, mode, qvDegree(0.0), qvDegree(90.0)), mode);
        ASSERT_EQ(lines.size(), 2U);
        for (const Lines& list : lines) {
            ASSERT_FALSE(list.empty());
            for (const qvLineFinderResults& line : list)
                EXPECT_EQ(line.statsMask(), mode == Defs::eEdgePairWafer ? 0 : 31);
        }
    }
}

TEST(LineSets, LengthLimitsAreCrossed) {
    // 900 by 120 pels: upright lines would need more than 135 pels and have none, flat ones need more than 18.
    const Defs::waferType mode = Defs::eCoarseRidgeWafer;
    qv_streetFinderImpl impl = preparedRecord(lowWafer().image(), mode, qvDegree(0.0), qvDegree(90.0));
    const std::vector<Lines> all = extracted(impl, mode);
    const std::vector<Lines> kept = built(impl, mode);
    EXPECT_EQ(longSegments(all[1], 60.0).size(), 4U);
    EXPECT_TRUE(kept[1].empty());
    EXPECT_EQ(segmentsOf(kept[0]), longSegments(all[0], 18.0));
    // One and a half heights are 180 pels, one and a half widths 1350.
    impl.tolerances.minLineLengthFraction = 1.5;
    EXPECT_EQ(segmentsOf(built(impl, mode)[0]), longSegments(all[0], 180.0));
    EXPECT_EQ(longSegments(all[0], 800.0).size(), 1U);
}

TEST(LineSets, LengthLimitsAreInClientUnitsAlongTheirOwnAxis) {
    // A unit of the client is 2 pels along x and a fifth of one along y: the limits are 18 / 2 and 135 * 5, and upright
    // lines are at most 600 units long.
    const Defs::waferType mode = Defs::eCoarseRidgeWafer;
    const qv_streetFinderImpl impl =
        preparedRecord(lowWafer().image(scaling(0.5, 5.0)), mode, qvDegree(0.0), qvDegree(90.0));
    const std::vector<Lines> all = extracted(impl, mode);
    const std::vector<Lines> kept = built(impl, mode);
    EXPECT_EQ(segmentsOf(kept[0]), longSegments(all[0], 9.0));
    EXPECT_FALSE(all[1].empty());
    EXPECT_TRUE(kept[1].empty());

    qv_streetFinderImpl smaller =
        preparedRecord(lowWafer().image(scaling(0.5, 5.0)), mode, qvDegree(0.0), qvDegree(90.0));
    smaller.tolerances.minLineLengthFraction = 0.1;  // of 900 pels: 90 pels or 450 units
    EXPECT_EQ(segmentsOf(built(smaller, mode)[1]), longSegments(all[1], 450.0));
    EXPECT_FALSE(longSegments(all[1], 450.0).empty());
}

TEST(LineSets, UniformImageHasTwoEmptyLists) {
    const qvPelBuffer<unsigned char> image(300, 200);
    for (long y = 0; y < 200; ++y)
        for (long x = 0; x < 300; ++x) image.put(x, y, 128);
    for (const Defs::waferType mode : {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer}) {
        const std::vector<Lines> lines = built(preparedRecord(image, mode, qvDegree(0.0), qvDegree(90.0)), mode);
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_TRUE(lines[0].empty());
        EXPECT_TRUE(lines[1].empty());
    }
}
