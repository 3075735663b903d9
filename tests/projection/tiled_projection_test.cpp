#include "qvstreet/projection/tiled_projection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvstreet/platform/pel_ops.h"
#include "tests/support/noise_image.h"
#include "tests/support/slow_projection.h"

namespace {

using qvtest::imageOf;
using qvtest::noiseImage;
using Doubles = std::vector<double>;
using Image8 = qvPelBuffer_const<unsigned char>;

qv_projectionParams request(std::uint32_t mode, double primaryDegrees, double crossDegrees) {
    qv_projectionParams params;
    params.mode = mode;
    params.primaryAngle = qvDegree(primaryDegrees);
    params.crossAngle = qvDegree(crossDegrees);
    params.tileCounts = qvPair<long>(1, 1);
    params.overlap = 0.4;
    return params;
}

qvTiledProjectionOneResult streetTile(const Image8& image, double primaryDegrees, double crossDegrees) {
    qvTiledProjectionResult result;
    computeStreetProjection(image, request(1, primaryDegrees, crossDegrees), result, nullptr);
    EXPECT_EQ(result.tiles.size(), 1u);
    EXPECT_EQ(result.tiles[0].size(), 1u);
    return result.tile(0, 0);
}

void expectEqualSums(const qvTiledProjectionOneResult& a, const qvTiledProjectionOneResult& b) {
    EXPECT_EQ(a.sums, b.sums);
    EXPECT_EQ(a.squareSums, b.squareSums);
    EXPECT_EQ(a.counts, b.counts);
    EXPECT_EQ(a.cumSums, b.cumSums);
    EXPECT_EQ(a.cumSquareSums, b.cumSquareSums);
    EXPECT_EQ(a.cumCounts, b.cumCounts);
    EXPECT_EQ(a.status, b.status);
}

/// Bins of 2, 4, 0 and 5 samples with grey levels of 10, 20 to 50, none, and 100.
qvTiledProjectionOneResult handMadeTile() {
    qvTiledProjectionOneResult tile;
    tile.sums = {20, 140, 0, 500};
    tile.squareSums = {200, 5400, 0, 50000};
    tile.counts = {2, 4, 0, 5};
    tile.cumSums = {20, 160, 160, 660};
    tile.cumSquareSums = {200, 5600, 5600, 55600};
    tile.cumCounts = {2, 6, 6, 11};
    tile.status = 0;
    return tile;
}

TEST(TiledProjection, theTileIsTheWholeOfASquareImageAtExactlyZeroAndNinetyDegrees) {
    const auto image = imageOf({{1, 2, 3, 4}, {10, 20, 30, 40}, {5, 5, 5, 5}, {0, 100, 200, 255}});
    const auto rows = streetTile(image, 90.0, 0.0);
    EXPECT_EQ(rows.sums, (Doubles{10, 100, 20, 555}));
    EXPECT_EQ(rows.squareSums, (Doubles{30, 3000, 100, 115025}));
    EXPECT_EQ(rows.counts, (Doubles{4, 4, 4, 4}));
    EXPECT_EQ(rows.cumSums, (Doubles{10, 110, 130, 685}));
    EXPECT_EQ(rows.cumSquareSums, (Doubles{30, 3030, 3130, 118155}));
    EXPECT_EQ(rows.cumCounts, (Doubles{4, 8, 12, 16}));
    EXPECT_EQ(rows.status, 0);

    const auto columns = streetTile(image, 0.0, 90.0);
    EXPECT_EQ(columns.sums, (Doubles{16, 127, 238, 304}));
    EXPECT_EQ(columns.squareSums, (Doubles{126, 10429, 40934, 66666}));
    EXPECT_EQ(columns.counts, (Doubles{4, 4, 4, 4}));
}

TEST(TiledProjection, aSquareImageHasAsManyBinsAsRowsAndColumns) {
    for (const long side : {1L, 3L, 100L, 511L, 1000L, 1024L}) {
        const auto image = noiseImage(side, side, 1);
        EXPECT_EQ(streetTile(image, 90.0, 0.0).sums.size(), static_cast<std::size_t>(side));
        EXPECT_EQ(streetTile(image, 0.0, 90.0).sums.size(), static_cast<std::size_t>(side));
        EXPECT_EQ(streetTile(image, -90.0, 180.0).sums.size(), static_cast<std::size_t>(side));
        EXPECT_EQ(streetTile(image, 90.0, 0.0).cumCounts.back(), static_cast<double>(side * side));
    }
}

TEST(TiledProjection, sidesOfTheTileChangePlaces) {
    // Five columns, three rows; bins run down. The tile has the five bins of the width and the three samples of the
    // height.
    const auto image = imageOf({{1, 2, 3, 4, 5}, {10, 20, 30, 40, 50}, {100, 101, 102, 103, 104}});
    const auto tile = streetTile(image, 90.0, 0.0);
    EXPECT_EQ(tile.sums, (Doubles{6, 60, 303, 0, 0}));
    EXPECT_EQ(tile.squareSums, (Doubles{14, 1400, 30605, 0, 0}));
    EXPECT_EQ(tile.counts, (Doubles{3, 3, 3, 0, 0}));

    // Bins run to the right: three bins of five samples down the columns, two of them below the image.
    const auto across = streetTile(image, 0.0, 90.0);
    EXPECT_EQ(across.sums, (Doubles{111, 123, 135}));
    EXPECT_EQ(across.counts, (Doubles{3, 3, 3}));
}

TEST(TiledProjection, samplesOutsideCountNothingAndAddNothing) {
    const auto image = imageOf({{10, 20}, {30, 40}, {50, 60}, {70, 80}});
    // Bins to the right, two by the width, become four by the height; the last two lie outside as a whole.
    const auto tile = streetTile(image, 0.0, 90.0);
    EXPECT_EQ(tile.sums, (Doubles{40, 60, 0, 0}));
    EXPECT_EQ(tile.counts, (Doubles{2, 2, 0, 0}));
    EXPECT_EQ(tile.cumCounts, (Doubles{2, 4, 4, 4}));
    EXPECT_EQ(rangeMean(tile, qvPair<long>(0, 1)), 30.0);
    EXPECT_EQ(rangeMean(tile, qvPair<long>(1, 3)), 1e12);
    EXPECT_EQ(rangeVariance(tile, qvPair<long>(1, 3)), 1e12);
}

TEST(TiledProjection, profileIndicesMapToRowsOfSamplesInTheClientFrame) {
    auto image = noiseImage(20, 20, 2);
    image.offset(100, 50);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 0.5), qvVector<2>(1.0, 2.0)));
    const auto rows = streetTile(image, 90.0, 0.0);
    ASSERT_EQ(rows.sums.size(), 20u);
    const qvVector<2> bin6 = rows.clientFromProfile.mapPoint(qvVector<2>(6.0, 0.0));
    EXPECT_NEAR(bin6.x(), 51.0, 1e-9);
    EXPECT_NEAR(bin6.y(), 30.0, 1e-9);
    // The second coordinate counts samples along the cross direction.
    EXPECT_NEAR(rows.clientFromProfile.mapPoint(qvVector<2>(6.0, 4.0)).x(), 53.0, 1e-9);

    const auto columns = streetTile(image, 0.0, 90.0);
    EXPECT_NEAR(columns.clientFromProfile.mapPoint(qvVector<2>(6.0, 0.0)).x(), 54.0, 1e-9);
    EXPECT_NEAR(columns.clientFromProfile.mapPoint(qvVector<2>(6.0, 0.0)).y(), 27.0, 1e-9);
}

TEST(TiledProjection, anglesAreInTheClientFrame) {
    const auto plain = noiseImage(90, 70, 3);
    auto scaled = plain;
    scaled.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 0.5), qvVector<2>(11.0, -4.0)));
    expectEqualSums(streetTile(scaled, 91.0, 2.0), streetTile(plain, 91.0, 2.0));
    auto mirrored = plain;
    mirrored.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), qvVector<2>(0.0, 70.0)));
    expectEqualSums(streetTile(mirrored, -91.0, -2.0), streetTile(plain, 91.0, 2.0));
    // Seen from the mirrored frame the profile starts where it starts in the plain one.
    const qvVector<2> start = streetTile(plain, 91.0, 2.0).clientFromProfile.mapPoint(qvVector<2>(0.0, 0.0));
    const qvVector<2> seen = streetTile(mirrored, -91.0, -2.0).clientFromProfile.mapPoint(qvVector<2>(0.0, 0.0));
    EXPECT_NEAR(seen.x(), start.x(), 1e-9);
    EXPECT_NEAR(seen.y(), 70.0 - start.y(), 1e-9);
}

TEST(TiledProjection, equalsThePlainFormInAllFramesAndDirections) {
    qvtest::Noise noise(4);
    int used = 0;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const long width = noise.whole(2, 160);
        const long height = noise.whole(2, 120);
        auto image = noiseImage(width, height, static_cast<std::uint64_t>(round) + 1000);
        if (round % 2 == 0) image.offset(qvPair<long>{noise.whole(-60, 60), noise.whole(-60, 60)});
        const qvVector<2> shift{noise.real(-20, 20), noise.real(-20, 20)};
        if (round % 4 == 1) image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 0.5), shift));
        if (round % 4 == 2) image.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 0.0, 0.0, -1.0), shift));
        if (round % 4 == 3) {
            const double c = qfCos(qvDegree(3.0));
            const double s = qfSin(qvDegree(3.0));
            image.clientFromImageXform(qvXform<2>(qvMatrix<2>(c, -s, s, c), shift));
        }
        const double lean = round % 3 == 0 ? noise.real(-180.0, 180.0) : noise.real(-4.0, 4.0);
        const double skew = noise.real(-3.0, 3.0);
        const qvDegree primary(lean + (round % 5 < 2 ? 0.0 : 90.0));
        const qvDegree cross(primary.toDouble() + (round % 7 < 3 ? 90.0 : -90.0) + skew);
        qvTiledProjectionResult result;
        try {
            computeStreetProjection(image, request(1, primary.toDouble(), cross.toDouble()), result, nullptr);
        } catch (const qvPel::BadSize&) {
            // The inscribed rectangle has no area left; only at a slant, or in a strip of a few pels.
            EXPECT_TRUE(round % 3 == 0 || width < 12 || height < 12);
            continue;
        }
        ++used;
        expectEqualSums(result.tile(0, 0), qvtest::slowStreetTile(image, primary, cross));
    }
    EXPECT_GT(used, 200);
}

TEST(TiledProjection, equalsThePlainFormBeyondOneBlockOfBins) {
    const auto image = noiseImage(700, 1300, 5);
    for (const double lean : {0.0, 1.3, -3.7, 20.0}) {
        const qvDegree primary(90.0 + lean);
        const qvDegree cross(lean);
        expectEqualSums(streetTile(image, 90.0 + lean, lean), qvtest::slowStreetTile(image, primary, cross));
        expectEqualSums(streetTile(image, lean, 90.0 + lean), qvtest::slowStreetTile(image, cross, primary));
    }
}

TEST(TiledProjection, windowOffsetPaddingAndStorageOrderGiveTheSameBits) {
    auto image = noiseImage(67, 53, 6);
    image.offset(8, -3);
    const auto expected = streetTile(image, 92.0, 1.5);
    expectEqualSums(streetTile(qvtest::asWindow(image, 5, 7), 92.0, 1.5), expected);
    expectEqualSums(streetTile(qvtest::asBottomUp(image), 92.0, 1.5), expected);
}

TEST(TiledProjection, withoutTheInscribedBitTheRectangleGoesAroundTheImage) {
    const auto image = noiseImage(100, 100, 7);
    qvTiledProjectionResult inscribed;
    qvTiledProjectionResult circumscribed;
    computeTiledProjection(image, request(6, 100.0, 10.0), inscribed, nullptr);
    computeTiledProjection(image, request(4, 100.0, 10.0), circumscribed, nullptr);
    // 100 cos 10 - 100 sin 10 = 81.1 and 100 cos 10 + 100 sin 10 = 115.8
    EXPECT_EQ(inscribed.tile(0, 0).sums.size(), 81u);
    EXPECT_EQ(circumscribed.tile(0, 0).sums.size(), 115u);
}

TEST(TiledProjection, theBitOfValueOneHasNoEffect) {
    const auto image = noiseImage(30, 30, 8);
    qvTiledProjectionResult with;
    qvTiledProjectionResult without;
    computeTiledProjection(image, request(7, 91.0, 1.0), with, nullptr);
    computeTiledProjection(image, request(6, 91.0, 1.0), without, nullptr);
    expectEqualSums(with.tile(0, 0), without.tile(0, 0));
}

TEST(TiledProjection, theStreetProjectionSetsItsTwoBitsInACopyOfTheRequest) {
    const auto image = noiseImage(40, 40, 9);
    const qv_projectionParams params = request(1, 95.0, 5.0);
    qvTiledProjectionResult street;
    computeStreetProjection(image, params, street, nullptr);
    EXPECT_EQ(params.mode, 1u);
    qvTiledProjectionResult tiled;
    computeTiledProjection(image, request(7, 95.0, 5.0), tiled, nullptr);
    expectEqualSums(street.tile(0, 0), tiled.tile(0, 0));
}

TEST(TiledProjection, withoutRunningSumsTheBinsOfATileInsideAreSums) {
    const auto image = imageOf({{1, 2, 3}, {10, 20, 30}, {100, 100, 250}});
    qvTiledProjectionResult result;
    computeTiledProjection(image, request(2, 90.0, 0.0), result, nullptr);
    const auto& tile = result.tile(0, 0);
    EXPECT_EQ(tile.sums, (Doubles{6, 60, 450}));
    EXPECT_TRUE(tile.squareSums.empty());
    EXPECT_TRUE(tile.counts.empty());
    EXPECT_TRUE(tile.cumSums.empty());
    EXPECT_TRUE(tile.cumSquareSums.empty());
    EXPECT_TRUE(tile.cumCounts.empty());
    EXPECT_EQ(tile.status, 0);
    EXPECT_NEAR(tile.clientFromProfile.mapPoint(qvVector<2>(2.0, 0.0)).x(), 0.0, 1e-12);
    EXPECT_NEAR(tile.clientFromProfile.mapPoint(qvVector<2>(2.0, 0.0)).y(), 2.0, 1e-12);
}

TEST(TiledProjection, withoutRunningSumsTheBinsOfATilePartlyOutsideAreMeansOrMinusOne) {
    // Five bins of three samples over three rows: two bins have none.
    const auto image = imageOf({{1, 2, 3, 4, 5}, {10, 20, 30, 40, 50}, {100, 101, 102, 103, 104}});
    qvTiledProjectionResult result;
    computeTiledProjection(image, request(2, 90.0, 0.0), result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums, (Doubles{2, 20, 101, -1, -1}));

    // Three bins of five samples down, three of them inside: 3 is above 0.4 * 5 but not above 0.6 * 5.
    qv_projectionParams params = request(2, 0.0, 90.0);
    computeTiledProjection(image, params, result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums, (Doubles{37, 41, 45}));
    params.overlap = 0.6;
    computeTiledProjection(image, params, result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums, (Doubles{-1, -1, -1}));
    params.overlap = 0.59;
    computeTiledProjection(image, params, result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums, (Doubles{37, 41, 45}));
}

TEST(TiledProjection, tilesFollowOneAnotherAlongBothDirections) {
    // Six columns and six rows in two tiles down (primary) by three to the right (cross).
    const auto image = imageOf({{1, 2, 3, 4, 5, 6},
                                {10, 20, 30, 40, 50, 60},
                                {0, 0, 0, 0, 0, 9},
                                {7, 7, 8, 8, 9, 9},
                                {100, 0, 100, 0, 100, 1},
                                {1, 1, 1, 1, 1, 1}});
    qv_projectionParams params = request(7, 90.0, 0.0);
    params.tileCounts = qvPair<long>(2, 3);
    qvTiledProjectionResult result;
    computeTiledProjection(image, params, result, nullptr);
    ASSERT_EQ(result.tiles.size(), 2u);
    ASSERT_EQ(result.tiles[0].size(), 3u);
    EXPECT_EQ(result.tile(0, 0).sums, (Doubles{3, 30, 0}));
    EXPECT_EQ(result.tile(0, 1).sums, (Doubles{7, 70, 0}));
    EXPECT_EQ(result.tile(0, 2).sums, (Doubles{11, 110, 9}));
    EXPECT_EQ(result.tile(1, 0).sums, (Doubles{14, 100, 2}));
    EXPECT_EQ(result.tile(1, 1).sums, (Doubles{16, 100, 2}));
    EXPECT_EQ(result.tile(1, 2).sums, (Doubles{18, 101, 2}));
    EXPECT_EQ(result.tile(1, 2).cumSums, (Doubles{18, 119, 121}));
    EXPECT_NEAR(result.tile(1, 2).clientFromProfile.mapPoint(qvVector<2>(1.0, 0.0)).x(), 4.0, 1e-12);
    EXPECT_NEAR(result.tile(1, 2).clientFromProfile.mapPoint(qvVector<2>(1.0, 0.0)).y(), 4.0, 1e-12);
    EXPECT_THROW(result.tile(2, 0), qvInvariantFailure);
    EXPECT_THROW(result.tile(0, 3), qvInvariantFailure);
    EXPECT_THROW(result.tile(-1, 0), qvInvariantFailure);
    EXPECT_THROW(result.tile(0, -1), qvInvariantFailure);
}

TEST(TiledProjection, aResultIsReplacedAsAWhole) {
    const auto image = noiseImage(24, 24, 10);
    qv_projectionParams params = request(7, 90.0, 0.0);
    params.tileCounts = qvPair<long>(2, 2);
    qvTiledProjectionResult result;
    computeTiledProjection(image, params, result, nullptr);
    computeTiledProjection(image, request(2, 90.0, 0.0), result, nullptr);
    EXPECT_EQ(result.tiles.size(), 1u);
    EXPECT_EQ(result.tiles[0].size(), 1u);
    EXPECT_EQ(result.tile(0, 0).sums.size(), 24u);
    EXPECT_TRUE(result.tile(0, 0).cumSums.empty());
}

TEST(TiledProjection, aResultThatHadRunningSumsLosesThemWhereNoneAreAskedFor) {
    const auto image = imageOf({{1, 2, 3}, {10, 20, 30}, {100, 100, 250}});
    qvTiledProjectionResult result;
    computeStreetProjection(image, request(1, 90.0, 0.0), result, nullptr);
    ASSERT_EQ(result.tile(0, 0).cumSquareSums.size(), 3u);
    computeTiledProjection(image, request(2, 90.0, 0.0), result, nullptr);
    const auto& tile = result.tile(0, 0);
    EXPECT_TRUE(tile.cumSums.empty());
    EXPECT_TRUE(tile.cumSquareSums.empty());
    EXPECT_TRUE(tile.cumCounts.empty());
    EXPECT_EQ(spanSum(tile, qvPair<long>(0, 1)), -1.0);
}

TEST(TiledProjection, theRequestStandsAsItIsByDefault) {
    const qv_projectionParams params;
    EXPECT_EQ(params.mode, 0u);
    EXPECT_EQ(params.primaryAngle.toDouble(), 0.0);
    EXPECT_EQ(params.crossAngle.toDouble(), 0.0);
    EXPECT_EQ(params.reservedVector, qvVector<2>(0.0, 0.0));
    EXPECT_EQ(params.reservedPair, qvPair<double>(0.0, 0.0));
    EXPECT_EQ(params.tileSelector, 0);
    EXPECT_EQ(params.overlap, 0.0);
}

TEST(TiledProjection, aTileSelectorOtherThanZeroIsABrokenPromise) {
    const auto image = noiseImage(10, 10, 11);
    qv_projectionParams params = request(7, 90.0, 0.0);
    params.tileSelector = 1;
    EXPECT_THROW(params.checkedTileCounts(), qvInvariantFailure);
    qvTiledProjectionResult result;
    EXPECT_THROW(computeTiledProjection(image, params, result, nullptr), qvInvariantFailure);
    EXPECT_TRUE(result.tiles.empty());
}

TEST(TiledProjection, theSumsOfATileThatIsNotValidAreABrokenPromise) {
    qvTiledProjectionOneResult tile = handMadeTile();
    EXPECT_EQ(tile.checkedSums(), (Doubles{20, 140, 0, 500}));
    tile.status = 1;
    EXPECT_THROW(tile.checkedSums(), qvInvariantFailure);
    EXPECT_THROW(qvTiledProjectionOneResult().checkedSums(), qvInvariantFailure);
}

TEST(TiledProjection, refusesWhatCannotBeProjected) {
    const auto image = noiseImage(10, 10, 12);
    qvTiledProjectionResult result;
    EXPECT_THROW(computeStreetProjection(Image8(), request(1, 90.0, 0.0), result, nullptr), qvPel::UnboundWindow);
    qv_projectionParams params = request(1, 90.0, 0.0);
    for (const auto& counts : {qvPair<long>(0, 1), qvPair<long>(1, 0), qvPair<long>(-1, 1), qvPair<long>(11, 1),
                               qvPair<long>(1, 11), qvPair<long>(2147483647, 2147483647)}) {
        params.tileCounts = counts;
        EXPECT_THROW(computeStreetProjection(image, params, result, nullptr), qvPel::BadSize);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(computeStreetProjection(image, request(1, nan, 0.0), result, nullptr), qvPel::BadSize);
    EXPECT_THROW(computeStreetProjection(image, request(1, 90.0, nan), result, nullptr), qvPel::BadSize);
    auto singular = image;
    singular.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.0, 0.0, 0.0, 1.0), qvVector<2>()));
    EXPECT_THROW(computeStreetProjection(singular, request(1, 90.0, 0.0), result, nullptr), qvMatrixErr::Singular);
    auto empty = image;
    empty.window(50, 50, 3, 3, true);
    EXPECT_THROW(computeStreetProjection(empty, request(1, 90.0, 0.0), result, nullptr), qvPel::BadSize);
    EXPECT_TRUE(result.tiles.empty());
}

TEST(TiledProjection, theInscribedRectangleOfASquareHasNoAreaAt45Degrees) {
    qvTiledProjectionResult result;
    EXPECT_THROW(computeStreetProjection(noiseImage(50, 50, 13), request(1, 135.0, 45.0), result, nullptr),
                 qvPel::BadSize);
}

TEST(TiledProjection, sidesBeyond16BitsAreRefusedOrGiveATile) {
    qvTiledProjectionResult result;
    const auto longest = noiseImage(32767, 2, 14);
    computeStreetProjection(longest, request(1, 90.0, 0.0), result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums.size(), 32767u);
    const auto tooLong = noiseImage(40000, 3, 15);
    EXPECT_THROW(computeStreetProjection(tooLong, request(1, 90.0, 0.0), result, nullptr), qvPel::BadSize);
    EXPECT_THROW(computeStreetProjection(tooLong, request(1, 0.0, 90.0), result, nullptr), qvPel::BadSize);
    // 70000 keeps its low 16 bits, 4464: bins 15.7 pels apart, the first one below the image.
    computeStreetProjection(noiseImage(70000, 3, 16), request(1, 90.0, 0.0), result, nullptr);
    EXPECT_EQ(result.tile(0, 0).sums.size(), 4464u);
    EXPECT_EQ(result.tile(0, 0).cumCounts.back(), 0.0);
}

TEST(TiledProjection, worksOnTheSmallestAndTallestImages) {
    EXPECT_EQ(streetTile(imageOf({{9}}), 90.0, 0.0).sums, (Doubles{9}));
    const auto tall = noiseImage(2, 5000, 17);
    const auto tile = streetTile(tall, 0.0, 90.0);
    EXPECT_EQ(tile.sums.size(), 5000u);
    EXPECT_EQ(tile.counts[0], 2.0);
    EXPECT_EQ(tile.counts[2], 0.0);
    EXPECT_EQ(streetTile(tall, 90.0, 0.0).sums.size(), 2u);
}

TEST(TiledProjection, rangeMeanLeavesOutTheFirstBin) {
    const auto tile = handMadeTile();
    EXPECT_EQ(rangeMean(tile, qvPair<long>(0, 1)), 35.0);
    EXPECT_EQ(rangeMean(tile, qvPair<long>(0, 3)), 640.0 / 9.0);
}

TEST(TiledProjection, rangeMeanOfAReversedSpanIsThatOfTheForwardSpan) {
    const auto tile = handMadeTile();
    EXPECT_EQ(rangeMean(tile, qvPair<long>(3, 0)), rangeMean(tile, qvPair<long>(0, 3)));
}

TEST(TiledProjection, rangeMeanWithoutSamplesIsAboveEveryGreyLevel) {
    const auto tile = handMadeTile();
    EXPECT_EQ(rangeMean(tile, qvPair<long>(1, 2)), 1e12);
    EXPECT_EQ(rangeMean(tile, qvPair<long>(2, 2)), 1e12);
}

TEST(TiledProjection, rangeVarianceIsTheMeanSquareLessTheSquaredMean) {
    const auto tile = handMadeTile();
    // 20, 30, 40 and 50: 5400 / 4 - 35^2.
    EXPECT_EQ(rangeVariance(tile, qvPair<long>(0, 1)), 125.0);
}

TEST(TiledProjection, rangeVarianceIsZeroForAReversedSpanAnd1e12WithoutSamples) {
    const auto tile = handMadeTile();
    EXPECT_EQ(rangeVariance(tile, qvPair<long>(1, 0)), 0.0);
    EXPECT_EQ(rangeVariance(tile, qvPair<long>(1, 2)), 1e12);
    EXPECT_EQ(rangeVariance(tile, qvPair<long>(2, 1)), 0.0);
}

TEST(TiledProjection, rangesOfBinsThatDoNotExistAreABrokenPromise) {
    const auto tile = handMadeTile();
    EXPECT_THROW(rangeMean(tile, qvPair<long>(-1, 2)), qvInvariantFailure);
    EXPECT_THROW(rangeMean(tile, qvPair<long>(0, 4)), qvInvariantFailure);
    EXPECT_THROW(rangeVariance(tile, qvPair<long>(0, 4)), qvInvariantFailure);
    EXPECT_EQ(rangeVariance(qvTiledProjectionOneResult(), qvPair<long>(0, -1)), 0.0);
}

TEST(TiledProjection, spansAreDifferencesOfRunningSums) {
    const auto tile = handMadeTile();
    EXPECT_EQ(spanSquareSum(tile, qvPair<long>(0, 3)), 55400.0);
    EXPECT_EQ(spanSum(tile, qvPair<long>(0, 3)), 640.0);
    EXPECT_EQ(spanCount(tile, qvPair<long>(0, 3)), 9.0);
    EXPECT_EQ(spanSum(tile, qvPair<long>(3, 0)), -640.0);
    EXPECT_EQ(spanCount(tile, qvPair<long>(1, 2)), 0.0);
}

TEST(TiledProjection, spansOutsideTheProfileAreMinusOne) {
    const auto tile = handMadeTile();
    for (const auto& range : {qvPair<long>(-1, 2), qvPair<long>(0, -1), qvPair<long>(4, 2), qvPair<long>(0, 4)}) {
        EXPECT_EQ(spanSquareSum(tile, range), -1.0);
        EXPECT_EQ(spanSum(tile, range), -1.0);
        EXPECT_EQ(spanCount(tile, range), -1.0);
    }
}

TEST(TiledProjection, clampBinRangeBringsIndicesIntoTheProfile) {
    EXPECT_EQ(clampBinRange(-3, 1000, 100), qvPair<long>(0, 99));
    EXPECT_EQ(clampBinRange(120, 130, 100), qvPair<long>(99, 99));
    EXPECT_EQ(clampBinRange(-9, -2, 100), qvPair<long>(0, 0));
    EXPECT_EQ(clampBinRange(5, 60, 100), qvPair<long>(5, 60));
    EXPECT_EQ(clampBinRange(0, 99, 100), qvPair<long>(0, 99));
    EXPECT_EQ(clampBinRange(99, 100, 100), qvPair<long>(99, 99));
    EXPECT_EQ(clampBinRange(100, 50, 100), qvPair<long>(99, 99));
    EXPECT_EQ(clampBinRange(60, 5, 100), qvPair<long>(60, 5));
    EXPECT_EQ(clampBinRange(60, -5, 100), qvPair<long>(0, 0));
    EXPECT_EQ(clampBinRange(0, 0, 0), qvPair<long>(0, 0));
}

}  // namespace
