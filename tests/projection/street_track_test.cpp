#include "qvstreet/projection/street_track.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/projection/drawn_street.h"
#include "tests/support/noise_image.h"

using namespace qvtest;

namespace {

constexpr long kWidth = 400;
constexpr long kHeight = 120;

/// Edges at v = 40.3 + 0.04 * u and 21.4 pels beyond.
const DrawnStreet kStreet{40.3, 61.7, 0.04};

/// With noise of up to 2 grey levels either way.
template <typename Grey>
qvPelBuffer<unsigned char> drawn(const Grey& grey, long width = kWidth) {
    Noise noise(7);
    return drawnImage(width, kHeight,
                      [&](long x, long y) { return static_cast<double>(grey(x, y)) + noise.real(-2.0, 2.0); });
}
qvPelBuffer<unsigned char> drawn(const DrawnStreet& street, long width = kWidth) {
    return drawn([&street](long x, long y) { return street.grey(x, y); }, width);
}

/// Edges as a search tells them, `off` pels beyond the true ones.
qv_StreetEdges toldEdges(double off, const DrawnStreet& street = kStreet) {
    qv_StreetEdges edges;
    edges.found = qv_EdgesFound::both;
    const double half = 0.5 * (street.second - street.first);
    edges.offset = {-half + off, half + off};
    edges.contrast = {street.streetGrey - street.dieGrey, street.dieGrey - street.streetGrey};
    return edges;
}

/// The centre line as told at `u0`, its slope off by `slopeOff`.
qv_UvLine toldCentre(double u0, double slopeOff, const DrawnStreet& street = kStreet) {
    return {u0, 0.5 * (street.first + street.second) + street.slope * u0, street.slope + slopeOff};
}

qv_StreetTrack track(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges,
                     const qv_TrackRange& range = {1e6, {}}) {
    qv_StreetTemplates templates;
    return qf_trackStreet(pels, centre, edges, range, templates);
}

double edgeAt(const qv_StreetTrack& track, std::size_t edge, double u) {
    return track.lines.offset[edge] + track.lines.slope[edge] * (u - track.lines.u0);
}

void expectEdges(const qv_StreetTrack& track, const DrawnStreet& street, double tolerance, double width = kWidth) {
    ASSERT_EQ(track.end, qv_TrackEnd::fitted);
    for (const double u : {0.0, 0.5 * width, width}) {
        EXPECT_NEAR(edgeAt(track, 0, u), street.first + street.slope * u, tolerance) << u;
        EXPECT_NEAR(edgeAt(track, 1, u), street.second + street.slope * u, tolerance) << u;
    }
}

}  // namespace

TEST(StreetTrack, aTiltedStreetIsFollowedFromEitherEnd) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    for (const double u0 : {5.0, 200.0, 395.0})
        for (const double slopeOff : {-0.01, 0.01}) {
            const qv_StreetTrack result = track(alongRows(image), toldCentre(u0, slopeOff), toldEdges(0.8));
            EXPECT_EQ(result.edges, 2);
            expectEdges(result, kStreet, 0.01);
        }
}

TEST(StreetTrack, everySlopeAndPhaseIsFollowedWithoutDrawingToThePelGrid) {
    for (const double slope : {0.0, -0.013, 0.1, -0.1})
        for (int eighth = 0; eighth < 8; ++eighth) {
            const double first = 45.0 + 0.125 * eighth;
            const DrawnStreet street{first, first + 19.3, slope, 80.0, 170.0, 0.9};
            const qvPelBuffer<unsigned char> image = drawn(street);
            const qv_StreetTrack result =
                track(alongRows(image), toldCentre(200.0, 0.0, street), toldEdges(0.3, street));
            expectEdges(result, street, 0.01);
        }
}

TEST(StreetTrack, anImageWithoutNoiseIsNoHarder) {
    // Blocks in which the line changes its eighth of a pel fit less well than others, and that is all that differs.
    for (const double slope : {-0.013, 0.004, 0.1})
        for (int eighth = 0; eighth < 8; ++eighth) {
            const double first = 45.0 + 0.125 * eighth;
            const DrawnStreet street{first, first + 19.3, slope, 80.0, 170.0, 0.9};
            const qvPelBuffer<unsigned char> image =
                drawnImage(kWidth, kHeight, [&street](long x, long y) { return street.grey(x, y); });
            expectEdges(track(alongRows(image), toldCentre(200.0, 0.0, street), toldEdges(0.3, street)), street, 0.01);
        }
}

TEST(StreetTrack, aVerticalStreetGivesTheSameBits) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    const qvPelBuffer<unsigned char> turned = transposed(image);
    const qv_StreetTrack a = track(alongRows(image), toldCentre(100.0, 0.0), toldEdges(0.5));
    const qv_StreetTrack b = track(alongColumns(turned), toldCentre(100.0, 0.0), toldEdges(0.5));
    ASSERT_EQ(a.end, qv_TrackEnd::fitted);
    EXPECT_EQ(a.lines.offset, b.lines.offset);
    EXPECT_EQ(a.lines.slope, b.lines.slope);
    EXPECT_EQ(a.lines.covariance, b.lines.covariance);
}

TEST(StreetTrack, theBlurOfTheEdgesIsTold) {
    for (const double blur : {0.7, 1.0, 1.5, 2.0}) {
        const DrawnStreet street{40.3, 71.7, 0.04, 150.0, 60.0, blur};
        const qvPelBuffer<unsigned char> image = drawn(street);
        const qv_StreetTrack result = track(alongRows(image), toldCentre(200.0, 0.0, street), toldEdges(0.0, street));
        ASSERT_EQ(result.end, qv_TrackEnd::fitted);
        EXPECT_NEAR(result.blur, blur, 0.051);
        EXPECT_EQ(result.barWidth, 0.0);
    }
}

TEST(StreetTrack, edgesSharperThanTheGridOfAStreetThatCrossesNoRowHaveADeviationOfTheirOwn) {
    // A slope of 0.005: half a row over a hundred columns at the right end, two rows over the whole image.
    const DrawnStreet sharp{40.3, 61.7, 0.005, 150.0, 60.0, 0.3};
    const qvPelBuffer<unsigned char> image = drawn(sharp);
    const qv_StreetTrack part =
        track(alongRows(image), toldCentre(345.0, 0.0, sharp), toldEdges(0.0, sharp), {55.0, {}});
    ASSERT_EQ(part.end, qv_TrackEnd::fitted);
    EXPECT_GT(part.extent.low, 280.0);
    EXPECT_EQ(part.gridDeviation, 0.03);
    EXPECT_EQ(track(alongRows(image), toldCentre(345.0, 0.0, sharp), toldEdges(0.0, sharp)).gridDeviation, 0.0);
}

TEST(StreetTrack, edgesBlurredBeyondTheTemplatesHaveADeviationOfTheirOwn) {
    // The widest template has 3 pels.
    for (const auto& [blur, expected] : {std::pair{2.7, 0.0}, std::pair{3.6, 0.1}}) {
        const DrawnStreet street{40.3, 81.7, 0.04, 150.0, 60.0, blur};
        const qvPelBuffer<unsigned char> image = drawn(street);
        const qv_StreetTrack result = track(alongRows(image), toldCentre(200.0, 0.0, street), toldEdges(0.0, street));
        ASSERT_EQ(result.end, qv_TrackEnd::fitted);
        EXPECT_EQ(result.gridDeviation, expected) << blur;
    }
}

TEST(StreetTrack, everySecondBlockIsEnoughWhereThereIsLittleNoise) {
    const DrawnStreet street{40.3, 61.7, 0.01};
    const auto pointsOf = [&](double noise) {
        Noise random(7);
        const qvPelBuffer<unsigned char> image =
            drawnImage(kWidth, kHeight, [&](long x, long y) { return street.grey(x, y) + random.real(-noise, noise); });
        return track(alongRows(image), toldCentre(200.0, 0.0, street), toldEdges(0.0, street)).points.size();
    };
    // 50 blocks of 8 columns, each with two edges.
    EXPECT_EQ(pointsOf(0.0), 2U * 25U);
    EXPECT_EQ(pointsOf(12.0), 2U * 50U);
}

TEST(StreetTrack, theExtentRunsFromTheFirstBlockToTheLast) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    const qv_StreetTrack result = track(alongRows(image), toldCentre(200.0, 0.0), toldEdges(0.0));
    // Blocks of 8 columns: their middles.
    EXPECT_EQ(result.extent.low, 4.0);
    EXPECT_EQ(result.extent.high, 396.0);
}

TEST(StreetTrack, padsBesideAnEdgeAreRefused) {
    // White pads reach over the first edge from column 200 to 296.
    const qvPelBuffer<unsigned char> image =
        drawn([](long x, long y) { return x >= 200 && x < 296 && y >= 44 && y < 54 ? 240.0 : kStreet.grey(x, y); });
    const qv_StreetTrack result = track(alongRows(image), toldCentre(60.0, 0.002), toldEdges(0.5));
    expectEdges(result, kStreet, 0.02);
    EXPECT_GT(result.lines.refused[0], 8);
    EXPECT_EQ(result.lines.refused[1], 0);
    for (const qv_EdgePoint& point : result.points)
        EXPECT_FALSE(point.used && point.edge == 0 && point.u > 204.0 && point.u < 292.0) << point.u;
}

TEST(StreetTrack, aRingAlongTheWholeEdgeIsCutOffAndOwnedUpTo) {
    const qvPelBuffer<unsigned char> clean = drawn(kStreet);
    EXPECT_EQ(track(alongRows(clean), toldCentre(200.0, 0.0), toldEdges(0.0)).shapeDeviation,
              (std::array<double, 2>{0.0, 0.0}));
    // On the die, 6 pels beyond the first edge, a line a third as strong.
    const DrawnStreet ring{kStreet.first - 10.0, kStreet.first - 6.0, kStreet.slope, 0.0, -20.0};
    const qvPelBuffer<unsigned char> ringed =
        drawn([&ring](long x, long y) { return kStreet.grey(x, y) + ring.grey(x, y); });
    const qv_StreetTrack result = track(alongRows(ringed), toldCentre(200.0, 0.0), toldEdges(0.0));
    expectEdges(result, kStreet, 0.03);
    // At least what every cut costs, and no more than what a structure that touches the edge does.
    EXPECT_GE(result.shapeDeviation[0], 0.012);
    EXPECT_LE(result.shapeDeviation[0], 0.11);
    EXPECT_EQ(result.shapeDeviation[1], 0.0);
}

TEST(StreetTrack, sixBlocksAreTheFewest) {
    const DrawnStreet level{40.3, 61.7, 0.0};
    const qvPelBuffer<unsigned char> five = drawn(level, 47);
    EXPECT_EQ(track(alongRows(five), toldCentre(20.0, 0.0, level), toldEdges(0.0, level)).end, qv_TrackEnd::tooShort);
    const qvPelBuffer<unsigned char> six = drawn(level, 48);
    const qv_StreetTrack result = track(alongRows(six), toldCentre(20.0, 0.0, level), toldEdges(0.0, level));
    expectEdges(result, level, 0.02, 48.0);
    EXPECT_EQ(result.lines.used, (std::array<long, 2>{6, 6}));
}

TEST(StreetTrack, crossingsAreLeftOut) {
    // From column 150 to 250 there is another street, as grey as this one.
    const qvPelBuffer<unsigned char> image =
        drawn([](long x, long y) { return x >= 150 && x < 250 ? 90.0 : kStreet.grey(x, y); });
    const qv_TrackRange range{1e6, {{146.0, 254.0}}};
    const qv_StreetTrack result = track(alongRows(image), toldCentre(200.0, 0.0), toldEdges(0.0), range);
    expectEdges(result, kStreet, 0.01);
    EXPECT_EQ(result.lines.refused, (std::array<long, 2>{0, 0}));
    for (const qv_EdgePoint& point : result.points) EXPECT_TRUE(point.u < 146.0 || point.u > 254.0) << point.u;
    // What is left between crossings may be too short.
    EXPECT_EQ(track(alongRows(image), toldCentre(200.0, 0.0), toldEdges(0.0), {1e6, {{0.0, 360.0}}}).end,
              qv_TrackEnd::tooShort);
}

TEST(StreetTrack, theReachIsKept) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    const qv_StreetTrack result =
        track(alongRows(image), toldCentre(150.0, 0.0), toldEdges(0.0), qv_TrackRange{50.0, {}});
    expectEdges(result, kStreet, 0.05);
    EXPECT_GE(result.extent.low, 100.0);
    EXPECT_LE(result.extent.high, 200.0);
    EXPECT_GT(result.extent.high - result.extent.low, 80.0);
    EXPECT_EQ(track(alongRows(image), toldCentre(150.0, 0.0), toldEdges(0.0), qv_TrackRange{20.0, {}}).end,
              qv_TrackEnd::tooShort);
}

TEST(StreetTrack, aStreetThatLeavesTheImageIsFollowedAsFarAsItGoes) {
    // Its first edge crosses row 9, the last that can be looked at, in column 187.
    const DrawnStreet street{30.0, 51.0, -0.112};
    const qvPelBuffer<unsigned char> image = drawn(street);
    const qv_StreetTrack result = track(alongRows(image), toldCentre(60.0, 0.0, street), toldEdges(0.3, street));
    expectEdges(result, street, 0.02);
    for (const qv_EdgePoint& point : result.points) EXPECT_FALSE(point.edge == 0 && point.u > 187.0) << point.u;
    // The other edge crosses it in column 375.
    EXPECT_GT(result.extent.high, 340.0);
    EXPECT_LT(result.extent.high, 375.0);
}

TEST(StreetTrack, oneEdgeIsFollowedAlone) {
    const DrawnStreet half{40.3, 1e3, 0.04};
    const qvPelBuffer<unsigned char> image = drawn(half);
    qv_StreetEdges edges;
    edges.found = qv_EdgesFound::one;
    edges.offset[0] = 0.7;
    edges.contrast[0] = -60.0;
    const qv_StreetTrack result = track(alongRows(image), {200.0, 40.3 + 8.0, 0.04}, edges);
    ASSERT_EQ(result.end, qv_TrackEnd::fitted);
    EXPECT_EQ(result.edges, 1);
    for (const double u : {0.0, 200.0, 400.0}) EXPECT_NEAR(edgeAt(result, 0, u), 40.3 + 0.04 * u, 0.01);
    for (const qv_EdgePoint& point : result.points) EXPECT_EQ(point.edge, 0);
    EXPECT_EQ(result.lines.used[1], 0);
}

TEST(StreetTrack, anEdgeOfTheOtherPolarityIsNotTaken) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    qv_StreetEdges edges = toldEdges(0.0);
    edges.contrast = {60.0, -60.0};
    EXPECT_EQ(track(alongRows(image), toldCentre(200.0, 0.0), edges).end, qv_TrackEnd::tooFew);
}

TEST(StreetTrack, aStreetThatBreaksOffHasTooFewPoints) {
    // The street goes on for no more than a tenth of the image.
    const qvPelBuffer<unsigned char> image = drawn([](long x, long y) {
        return x < 40 ? kStreet.grey(x, y) : 120.0 + static_cast<double>((x * 37 + y * 11 + x * y) % 23);
    });
    EXPECT_EQ(track(alongRows(image), toldCentre(20.0, 0.0), toldEdges(0.0)).end, qv_TrackEnd::tooFew);
}

TEST(StreetTrack, edgesThatMeanderAreNotSteady) {
    // 2 pels to either side, once in 100 columns.
    const DrawnStreet level{50.0, 75.0, 0.0, 150.0, 60.0, 1.0};
    const qvPelBuffer<unsigned char> image = drawn([&level](long x, long y) {
        DrawnStreet shifted = level;
        const double aside = 2.0 * std::sin(0.0628 * static_cast<double>(x));
        shifted.first += aside;
        shifted.second += aside;
        return shifted.grey(x, y);
    });
    const qv_StreetTrack result = track(alongRows(image), toldCentre(200.0, 0.0, level), toldEdges(0.0, level));
    EXPECT_EQ(result.end, qv_TrackEnd::unsteady);
    EXPECT_GT(result.lines.scatter[0], 1.0);
}

TEST(StreetTrack, aStreetJustWideEnoughForTwoEdgesIsDrawnInFromAside) {
    // 7.1 pels: each edge is sought without the pels of the other one, or that would draw it across the street.
    const DrawnStreet street{40.3, 47.4, 0.04, 150.0, 70.0, 0.7};
    const qvPelBuffer<unsigned char> image = drawn(street);
    for (const double off : {-1.5, 1.5})
        for (const double slopeOff : {-0.01, 0.01}) {
            const qv_StreetTrack result =
                track(alongRows(image), toldCentre(200.0, slopeOff, street), toldEdges(off, street));
            EXPECT_EQ(result.barWidth, 0.0);
            expectEdges(result, street, 0.01);
        }
}

TEST(StreetTrack, aNarrowStreetIsFollowedByItsCentreLine) {
    for (const double width : {4.8, 6.0}) {
        const DrawnStreet street{50.3, 50.3 + width, 0.03, 150.0, 70.0, 1.0};
        const qvPelBuffer<unsigned char> image = drawn(street);
        const qv_StreetTrack result = track(alongRows(image), toldCentre(100.0, 0.0, street), toldEdges(0.4, street));
        ASSERT_EQ(result.end, qv_TrackEnd::fitted) << width;
        EXPECT_EQ(result.edges, 2);
        EXPECT_NEAR(result.barWidth, width, 0.1);
        EXPECT_GT(result.shapeDeviation[0], 0.0);
        for (const double u : {0.0, 200.0, 400.0}) {
            const double centre = 0.5 * (edgeAt(result, 0, u) + edgeAt(result, 1, u));
            EXPECT_NEAR(centre, 50.3 + 0.5 * width + 0.03 * u, 0.005) << width;
            EXPECT_NEAR(edgeAt(result, 1, u) - edgeAt(result, 0, u), result.barWidth, 1e-9);
        }
    }
}

TEST(StreetTrack, templatesMayBeShared) {
    const qvPelBuffer<unsigned char> image = drawn(kStreet);
    qv_StreetTemplates templates;
    const qv_StreetTrack first =
        qf_trackStreet(alongRows(image), toldCentre(100.0, 0.0), toldEdges(0.5), {1e6, {}}, templates);
    const qv_StreetTrack again =
        qf_trackStreet(alongRows(image), toldCentre(100.0, 0.0), toldEdges(0.5), {1e6, {}}, templates);
    EXPECT_EQ(first.lines.offset, again.lines.offset);
    EXPECT_EQ(first.lines.covariance, again.lines.covariance);
}
