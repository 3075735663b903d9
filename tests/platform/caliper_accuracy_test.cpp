// How near the caliper comes to the true edge, in images of half planes whose pels are covered in part.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "tests/platform/caliper_run.h"
#include "tests/support/wafer_random.h"

namespace {

using qvtest::kBilinearPel;

constexpr long kImageSize = 96;
constexpr double kClientPerPel = 0.5;

/// A dark band on light ground, or the other way round, its centre line through a point.
struct Band {
    double degrees = 0.0;   // of the direction across the band
    double offset = 0.0;    // of the centre line from the image's middle, in pels along that direction
    double width = 12.0;    // pels
    double ground = 160.0;  // grey levels
    double inside = 100.0;
    double blur = 0.0;   // sigma, pels
    double noise = 0.0;  // sigma, grey levels
    std::uint64_t seed = 1;
};

/// The share of a step at 0 that has risen at distance `d`.
double risen(double d, double blur) {
    if (blur == 0.0) return d > 0.0 ? 1.0 : 0.0;
    return 0.5 * std::erfc(-d / (blur * std::sqrt(2.0)));
}

qvVector<2> across(const Band& band) { return qvVector<2>(1.0, qvDegree(band.degrees)); }

/// The share of the band in the pel whose centre lies at distance `d` from the centre line.
double covered(const Band& band, double d, const qvVector<2>& direction) {
    // No part of the pel is further than this from its centre, or its blur reaches no further.
    const double reach = 0.75 + 6.0 * band.blur;
    const double fromEdge = band.width / 2.0 - std::fabs(d);
    if (fromEdge > reach) return 1.0;
    if (fromEdge < -reach) return 0.0;
    // A sharp edge at a multiple of 1/16 pel is exact when upright; blur needs fewer.
    const int subSamples = band.blur == 0.0 ? 16 : 4;
    double sum = 0.0;
    for (int v = 0; v < subSamples; ++v)
        for (int u = 0; u < subSamples; ++u) {
            const double du = (u + 0.5) / subSamples - 0.5;
            const double dv = (v + 0.5) / subSamples - 0.5;
            const double part = d + du * direction.x() + dv * direction.y();
            sum += risen(part + band.width / 2.0, band.blur) - risen(part - band.width / 2.0, band.blur);
        }
    return sum / (subSamples * subSamples);
}

qvPelBuffer<unsigned char> paint(const Band& band) {
    qvPelBuffer<unsigned char> image(kImageSize, kImageSize, 32);
    const qvVector<2> direction = across(band);
    for (long y = 0; y < kImageSize; ++y)
        for (long x = 0; x < kImageSize; ++x) {
            const double px = static_cast<double>(x) + 0.5 - kImageSize / 2.0;
            const double py = static_cast<double>(y) + 0.5 - kImageSize / 2.0;
            const double share = covered(band, px * direction.x() + py * direction.y() - band.offset, direction);
            const double noise =
                band.noise * qvtest::randomNormal(band.seed, static_cast<std::uint64_t>(y * kImageSize + x));
            const double grey = band.ground + (band.inside - band.ground) * share + noise;
            image.put(x, y, static_cast<unsigned char>(std::clamp(std::floor(grey + 0.5), 0.0, 255.0)));
        }
    image.clientFromImageXform(
        qvXform<2>(qvMatrix<2>(kClientPerPel, 0.0, 0.0, kClientPerPel), qvVector<2>(300.0, -200.0)));
    return image;
}

/// A region of 40 by 30 pels about the image's middle, across the band.
qvAffineSamplingParams regionAcross(const Band& band, double samplesPerPel) {
    const double middle = kImageSize / 2.0 * kClientPerPel;
    const qvAffineRectangle rect(qvVector<2>(300.0 + middle, -200.0 + middle), 40.0 * kClientPerPel,
                                 30.0 * kClientPerPel, qvDegree(band.degrees), qvRadian(0.0));
    return qvAffineSamplingParams(rect, static_cast<long>(40.0 * samplesPerPel),
                                  static_cast<long>(30.0 * samplesPerPel), kBilinearPel);
}

/// `least` is the smallest share of the band's contrast that its edges may have.
void expectBandLocated(const Band& band, double samplesPerPel, double tolerancePels, double least) {
    const bool dark = band.inside < band.ground;
    const double sign = dark ? -1.0 : 1.0;
    const double tolerance = tolerancePels * kClientPerPel;
    qvCaliperRunParams params(-3.0, dark ? qvCaliperDefs::eFall : qvCaliperDefs::eRise, 3.0,
                              dark ? qvCaliperDefs::eRise : qvCaliperDefs::eFall);
    const qvCaliperResultSet results = qvtest::runCaliper(paint(band), regionAcross(band, samplesPerPel), params);

    const std::vector<qvCaliperResultEdge>& edges = results.resultEdges();
    ASSERT_EQ(edges.size(), 2u);
    EXPECT_NEAR(edges[0].position(), (band.offset - 6.0) * kClientPerPel, tolerance);
    EXPECT_NEAR(edges[1].position(), (band.offset + 6.0) * kClientPerPel, tolerance);
    EXPECT_GE(edges[0].contrast() * sign, least * 60.0);
    EXPECT_LE(edges[0].contrast() * sign, 60.0);
    EXPECT_GE(edges[1].contrast() * -sign, least * 60.0);
    EXPECT_LE(edges[1].contrast() * -sign, 60.0);

    ASSERT_EQ(results.results().size(), 1u);
    EXPECT_NEAR(results.results()[0].position(), band.offset * kClientPerPel, tolerance);
    const qvVector<2> point = results.mapPositionToPoint(results.results()[0].position());
    const double middle = kImageSize / 2.0;
    EXPECT_NEAR(point.x(), 300.0 + (middle + band.offset * across(band).x()) * kClientPerPel, tolerance);
    EXPECT_NEAR(point.y(), -200.0 + (middle + band.offset * across(band).y()) * kClientPerPel, tolerance);
}

TEST(CaliperAccuracy, CleanEdgesOfBothPolaritiesAreLocatedAtAnyAngle) {
    for (const double degrees : {0.0, 30.0, 90.0})
        for (const double offset : {0.0, 0.125, 0.25, 0.375, -0.3125})
            for (const bool dark : {true, false}) {
                SCOPED_TRACE(::testing::Message() << degrees << " degrees, offset " << offset << ", dark " << dark);
                Band band;
                band.degrees = degrees;
                band.offset = offset;
                if (!dark) std::swap(band.ground, band.inside);
                expectBandLocated(band, 1.0, 0.1, 0.7);
                // Windows of one pel on each side see little but the pel that the edge cuts.
                expectBandLocated(band, 2.0, 0.2, 0.5);
                band.blur = 0.7;
                expectBandLocated(band, 1.0, 0.05, 0.6);
                expectBandLocated(band, 2.0, 0.1, 0.35);
            }
}

TEST(CaliperAccuracy, EdgesOnPelBordersAreExactUprightAndTurned) {
    for (const double degrees : {0.0, 90.0}) {
        Band band;
        band.degrees = degrees;
        const auto edges = qvtest::runCaliper(paint(band), regionAcross(band, 1.0), qvtest::allEdges(2)).resultEdges();
        ASSERT_EQ(edges.size(), 2u);
        EXPECT_EQ(edges[0].contrast(), -60.0);
        EXPECT_EQ(edges[0].position(), -3.0);
        EXPECT_EQ(edges[1].contrast(), 60.0);
        EXPECT_EQ(edges[1].position(), 3.0);
    }
}

struct Errors {
    double centre = 0.0;     // root mean square, pels
    double edge = 0.0;       // root mean square, pels
    double worstEdge = 0.0;  // pels
    int missed = 0;
};

Errors measuredErrors(double blur, double noise, double samplesPerPel) {
    Errors errors;
    int found = 0;
    std::uint64_t seed = 1;
    for (const double degrees : {0.0, 30.0, 90.0})
        for (int step = 0; step < 8; ++step, ++seed) {
            Band band;
            band.degrees = degrees;
            band.offset = step / 8.0 - 0.5;
            band.blur = blur;
            band.noise = noise;
            band.seed = seed;
            qvCaliperRunParams params(-3.0, qvCaliperDefs::eFall, 3.0, qvCaliperDefs::eRise);
            qvScoreContrast contrast(255.0, 0.0, 0.0, 1.0, 0.0);
            qvScoreSizeDiffNorm size(0.0, 1.0, 1.0, 1.0, 0.0);
            params.scoringMethods({&contrast, &size});
            const qvCaliperResultSet results =
                qvtest::runCaliper(paint(band), regionAcross(band, samplesPerPel), params);
            if (results.results().empty()) {
                ++errors.missed;
                continue;
            }
            const auto strongest = std::min_element(
                results.resultEdges().begin(), results.resultEdges().end(),
                [](const qvCaliperResultEdge& a, const qvCaliperResultEdge& b) { return a.contrast() < b.contrast(); });
            const double edgeError = strongest->position() / kClientPerPel - (band.offset - 6.0);
            const double centreError = results.results()[0].position() / kClientPerPel - band.offset;
            errors.edge += edgeError * edgeError;
            errors.centre += centreError * centreError;
            errors.worstEdge = std::max(errors.worstEdge, std::fabs(edgeError));
            ++found;
        }
    errors.edge = std::sqrt(errors.edge / std::max(found, 1));
    errors.centre = std::sqrt(errors.centre / std::max(found, 1));
    return errors;
}

TEST(CaliperAccuracy, PositionErrorByBlurAndNoise) {
    std::printf("band 12 pels wide, contrast 60, region 40 by 30 pels, half size 2; 0, 30, 90 degrees; pels\n");
    std::printf("%12s %6s %6s %10s %10s %11s %7s\n", "samples/pel", "blur", "noise", "edge rms", "edge max",
                "centre rms", "missed");
    for (const double samplesPerPel : {1.0, 2.0})
        for (const double blur : {0.0, 0.7, 1.5})
            for (const double noise : {0.0, 3.0, 6.0, 12.0}) {
                const Errors errors = measuredErrors(blur, noise, samplesPerPel);
                std::printf("%12.0f %6.1f %6.1f %10.4f %10.4f %11.4f %7d\n", samplesPerPel, blur, noise, errors.edge,
                            errors.worstEdge, errors.centre, errors.missed);
                // Windows narrower than the blur leave the peak so flat that noise moves it far.
                if (blur > 1.0 && noise > 3.0) continue;
                SCOPED_TRACE(::testing::Message() << samplesPerPel << ", blur " << blur << ", noise " << noise);
                EXPECT_EQ(errors.missed, 0);
                EXPECT_LT(errors.edge, 0.12);
                EXPECT_LT(errors.centre, 0.12);
            }
}

}  // namespace
