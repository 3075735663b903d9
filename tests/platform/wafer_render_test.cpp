#include "tests/support/wafer_render.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "tests/support/wafer_artwork.h"

namespace {

using namespace qvtest;

/// Dark streets, unequal widths, no noise.
Scene quietScene(double tilt, double shift) {
    Scene scene;
    scene.width = 300;
    scene.height = 220;
    scene.families[0] = {tilt, {shift}, 30.0, 60.0};
    scene.families[1] = {90.0 + tilt, {-2.0 * shift}, 18.0, 60.0};
    scene.dieGrey = 150.0;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 0.0;
    return scene;
}

/// Where a street's edge appears in a picture, measured apart from how it was drawn: the centroid of the grey steps
/// along pel columns (rows for direction 1), averaged over those that stay clear of the other street. Mean distance
/// from the true edge in pels, positive beyond it (downwards, rightwards).
template <typename GreyAt>
double edgeShift(const Scene& scene, const GreyAt& greyAt, int direction, int edge) {
    const SceneTruth truth = truthOf(scene);
    const auto d = static_cast<std::size_t>(direction);
    const Line2& line = truth.streets[d].at(0).edges[static_cast<std::size_t>(edge)];
    const Line2& other = truth.streets[1 - d].at(0).centre;
    const double slope = direction == 0 ? std::tan(line.angleDegrees * 3.141592653589793 / 180.0)
                                        : 1.0 / std::tan(line.angleDegrees * 3.141592653589793 / 180.0);
    const long lanes = direction == 0 ? scene.width : scene.height;
    double sum = 0.0;
    int count = 0;
    for (long lane = 0; lane < lanes; ++lane) {
        const double along = static_cast<double>(lane) + 0.5;
        const double start = direction == 0 ? line.point.y : line.point.x;
        const double origin = direction == 0 ? line.point.x : line.point.y;
        const double expected = start + slope * (along - origin);
        const Point2 p = direction == 0 ? Point2{along, expected} : Point2{expected, along};
        if (distanceToLine(p, other) < 40.0) continue;
        const auto middle = static_cast<long>(std::floor(expected));
        double weight = 0.0;
        double moment = 0.0;
        for (long i = middle - 7; i < middle + 7; ++i) {
            const double step =
                direction == 0 ? greyAt(lane, i + 1) - greyAt(lane, i) : greyAt(i + 1, lane) - greyAt(i, lane);
            weight += step;
            moment += step * (static_cast<double>(i) + 1.0 - expected);
        }
        sum += moment / weight / std::sqrt(1.0 + slope * slope);
        ++count;
    }
    return sum / count;
}

TEST(EdgeResponse, HalfOfAPelOnTheBorderIsCovered) {
    for (const double angle : {0.0, 12.0, 45.0, 91.3, -3.0}) {
        for (const double blur : {0.0, 0.5, 2.0}) EXPECT_NEAR(EdgeResponse(angle, blur).at(0.0), 0.5, 1e-9);
    }
}

TEST(EdgeResponse, SharpBorderCoversItsShareOfThePel) {
    EXPECT_NEAR(EdgeResponse(0.0, 0.0).at(0.25), 0.75, 1e-9);
    EXPECT_NEAR(EdgeResponse(90.0, 0.0).at(-0.25), 0.25, 1e-9);
    EXPECT_EQ(EdgeResponse(0.0, 0.0).at(-0.5), 0.0);
    EXPECT_EQ(EdgeResponse(0.0, 0.0).at(0.5), 1.0);
    // At 45 degrees, half way from the centre to the corner: a triangle of an eighth of the square is left.
    EXPECT_NEAR(EdgeResponse(45.0, 0.0).at(-0.35355339059327), 0.125, 1e-5);
    // Direction (4, 3): the response rises by 1 / 0.8 per pel around the middle.
    EXPECT_NEAR(EdgeResponse(36.86989764584402, 0.0).at(0.0625), 0.578125, 1e-9);
}

TEST(EdgeResponse, BlurredBorderIntegratesTheGaussianOverThePel) {
    // The integral of the normal distribution function over [0, 1].
    EXPECT_NEAR(EdgeResponse(0.0, 1.0).at(0.5), 0.684373191, 1e-6);
    EXPECT_NEAR(EdgeResponse(90.0, 1.0).at(-0.5), 0.315626809, 1e-6);
}

TEST(EdgeResponse, LeaningBorderAgreesWithFineSampling) {
    const double c = std::cos(30.0 * 3.141592653589793 / 180.0);
    const double s = std::sin(30.0 * 3.141592653589793 / 180.0);
    for (const double d : {-1.3, -0.4, 0.1, 0.7, 1.9}) {
        double sum = 0.0;
        constexpr int n = 200;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const double x = (i + 0.5) / n - 0.5;
                const double y = (j + 0.5) / n - 0.5;
                sum += 0.5 * std::erfc(-(d + y * c - x * s) / (0.8 * std::sqrt(2.0)));
            }
        }
        EXPECT_NEAR(EdgeResponse(30.0, 0.8).at(d), sum / (n * n), 1e-5) << d;
    }
}

TEST(EdgeResponse, BlurBelowATenthIsRefusedUnlessZero) {
    EXPECT_THROW(EdgeResponse(0.0, 0.09), std::invalid_argument);
    EXPECT_THROW(EdgeResponse(0.0, -1.0), std::invalid_argument);
    EXPECT_THROW(EdgeResponse(0.0, std::nan("")), std::invalid_argument);
    EXPECT_NO_THROW(EdgeResponse(0.0, 0.1));
}

TEST(WaferRender, EdgesStandWithinAThousandthOfAPel) {
    for (const double tilt : {-12.0, -1.3, 0.0, 0.7, 5.0}) {
        for (const double shift : {0.0, 0.13, 0.4, 0.5, 0.77}) {
            for (const double blur : {0.0, 0.8, 1.5}) {
                Scene scene = quietScene(tilt, shift);
                scene.blurSigma = blur;
                const std::vector<float> grey = renderUnrounded(scene);
                const auto at = [&](long i, long j) {
                    return static_cast<double>(grey[static_cast<std::size_t>(j * scene.width + i)]);
                };
                for (const int direction : {0, 1}) {
                    for (const int edge : {0, 1}) {
                        EXPECT_NEAR(edgeShift(scene, at, direction, edge), 0.0, 0.001)
                            << "tilt " << tilt << " shift " << shift << " blur " << blur << " direction " << direction
                            << " edge " << edge;
                    }
                }
            }
        }
    }
}

TEST(WaferRender, RoundingMovesEdgesByLessThanAHundredthOfAPel) {
    for (const double tilt : {-6.0, -1.3, 0.7, 12.0}) {
        for (const double shift : {0.0, 0.25, 0.6}) {
            const Scene scene = quietScene(tilt, shift);
            const GreyImage image = renderScene(scene);
            const auto at = [&](long i, long j) { return static_cast<double>(image.row(j)[i]); };
            for (const int direction : {0, 1}) {
                for (const int edge : {0, 1}) {
                    EXPECT_NEAR(edgeShift(scene, at, direction, edge), 0.0, 0.01)
                        << "tilt " << tilt << " shift " << shift << " direction " << direction << " edge " << edge;
                }
            }
        }
    }
}

TEST(WaferRender, GreyLevelsOfDieStreetsAndCrossing) {
    Scene scene = quietScene(0.0, 0.0);  // horizontal street rows 95..124, vertical one columns 141..158
    scene.families[1].grey = 80.0;
    const GreyImage image = renderScene(scene);
    EXPECT_EQ(image.row(20)[20], 150);
    EXPECT_EQ(image.row(110)[20], 60);
    EXPECT_EQ(image.row(20)[150], 80);
    EXPECT_EQ(image.row(110)[150], 70);
    scene.crossingGrey = 33.0;
    EXPECT_EQ(renderScene(scene).row(110)[150], 33);
}

TEST(WaferRender, SharpEdgeOnAHalfPelGivesTheMean) {
    Scene scene = quietScene(0.0, 0.5);  // edges at y = 95.5 and 125.5
    scene.blurSigma = 0.0;
    const GreyImage image = renderScene(scene);
    EXPECT_EQ(image.row(94)[20], 150);
    EXPECT_EQ(image.row(95)[20], 105);
    EXPECT_EQ(image.row(96)[20], 60);
    EXPECT_EQ(image.row(125)[20], 105);
    EXPECT_EQ(image.row(126)[20], 150);
}

TEST(WaferRender, NoiseHasItsDeviationAndNoMemory) {
    Scene scene = quietScene(0.0, 0.0);
    scene.families[0].offsets.clear();
    scene.families[1].offsets.clear();
    scene.noiseSigma = 4.0;
    const GreyImage image = renderScene(scene);
    double sum = 0.0;
    double squares = 0.0;
    double right = 0.0;
    double below = 0.0;
    for (long j = 0; j + 1 < image.height; ++j) {
        for (long i = 0; i + 1 < image.width; ++i) {
            const double v = image.row(j)[i] - 150.0;
            sum += v;
            squares += v * v;
            right += v * (image.row(j)[i + 1] - 150.0);
            below += v * (image.row(j + 1)[i] - 150.0);
        }
    }
    const double count = static_cast<double>((image.width - 1) * (image.height - 1));
    EXPECT_NEAR(sum / count, 0.0, 0.05);
    EXPECT_NEAR(std::sqrt(squares / count), 4.0104, 0.05);  // with the twelfth that rounding adds
    EXPECT_NEAR(right / squares, 0.0, 0.015);
    EXPECT_NEAR(below / squares, 0.0, 0.015);
    scene.seed = 2;
    EXPECT_NE(pelHash(renderScene(scene)), pelHash(image));
}

TEST(WaferRender, GreyLevelsStopAtBlackAndWhite) {
    Scene scene = quietScene(0.0, 0.0);
    scene.dieGrey = 250.0;
    scene.families[0].grey = 5.0;
    scene.noiseSigma = 10.0;
    const GreyImage image = renderScene(scene);
    const auto die = std::minmax_element(image.row(20), image.row(20) + 100);
    const auto street = std::minmax_element(image.row(110), image.row(110) + 100);
    EXPECT_EQ(*die.second, 255);
    EXPECT_GT(*die.first, 200);
    EXPECT_EQ(*street.first, 0);
    EXPECT_LT(*street.second, 50);
}

TEST(WaferRender, LightFallsOffFromSideToSide) {
    Scene scene = quietScene(0.0, 0.0);
    scene.families[0].offsets.clear();
    scene.families[1].offsets.clear();
    scene.dieGrey = 100.0;
    scene.gradientX = 0.3;
    scene.gradientY = -0.2;
    const std::vector<float> grey = renderUnrounded(scene);
    // First pel: u = 1 / 300 - 1, v = 1 / 220 - 1.
    EXPECT_NEAR(grey.front(), 100.0 * (1.0 - 0.3 * 299.0 / 300.0 + 0.2 * 219.0 / 220.0), 1e-3);
    EXPECT_NEAR(grey[299], 100.0 * (1.0 + 0.3 * 299.0 / 300.0 + 0.2 * 219.0 / 220.0), 1e-3);
    scene.gradientX = 0.0;
    scene.gradientY = 0.0;
    scene.vignette = 0.1;
    const std::vector<float> round = renderUnrounded(scene);
    EXPECT_NEAR(round.front(), 80.1573, 0.001);  // u * u + v * v = 0.993344 + 0.990930
    EXPECT_NEAR(round[110 * 300 + 150], 100.0, 0.01);
}

TEST(WaferRender, PaddingBelongsToNoPel) {
    Scene scene = quietScene(1.3, 0.3);
    scene.noiseSigma = 2.0;
    const GreyImage tight = renderScene(scene);
    EXPECT_EQ(tight.stride, 300);
    scene.rowPadding = 29;
    const GreyImage padded = renderScene(scene);
    ASSERT_EQ(padded.stride, 329);
    ASSERT_EQ(padded.pels.size(), 329u * 220u);
    for (long j = 0; j < 220; ++j) {
        ASSERT_TRUE(std::equal(padded.row(j), padded.row(j) + 300, tight.row(j)));
        ASSERT_EQ(std::count(padded.row(j) + 300, padded.row(j) + 329, 0xA5), 29);
    }
    EXPECT_EQ(pelHash(padded), pelHash(tight));
}

TEST(WaferRender, TheSamePelsOnEveryMachine) {
    Scene scene = quietScene(1.3, 0.3);
    scene.noiseSigma = 2.0;
    EXPECT_EQ(pelHash(renderScene(scene)), 0x77A21CE742AA5413u);
    scene.dieArtwork = DieArtwork::circuit;
    scene.streetArtwork = StreetArtwork::manyPads;
    EXPECT_EQ(pelHash(renderScene(scene)), 0xCF43042C74614097u);
    scene.dieArtwork = DieArtwork::blocks;
    scene.streetArtwork = StreetArtwork::fewPads;
    EXPECT_EQ(pelHash(renderScene(scene)), 0xD5E30E1B4800A5C4u);
}

TEST(WaferArtwork, ShowsAndLeavesTheEdgesAlone) {
    Scene scene = quietScene(2.0, 0.3);
    const std::vector<float> plain = renderUnrounded(scene);
    scene.dieArtwork = DieArtwork::circuit;
    scene.streetArtwork = StreetArtwork::manyPads;
    const std::vector<float> drawn = renderUnrounded(scene);
    const SceneTruth truth = truthOf(scene);
    std::size_t changed = 0;
    double worstAtEdge = 0.0;
    for (long j = 0; j < scene.height; ++j) {
        for (long i = 0; i < scene.width; ++i) {
            const auto index = static_cast<std::size_t>(j * scene.width + i);
            const double difference = std::abs(static_cast<double>(drawn[index]) - static_cast<double>(plain[index]));
            if (difference > 5.0) ++changed;
            const Point2 centre{static_cast<double>(i) + 0.5, static_cast<double>(j) + 0.5};
            for (const auto& streets : truth.streets) {
                for (const Line2& edge : streets.at(0).edges) {
                    if (distanceToLine(centre, edge) <= 1.5 &&
                        distanceToLine(centre, truth.streets[0].at(0).centre) > 25.0) {
                        worstAtEdge = std::max(worstAtEdge, difference);
                    }
                }
            }
        }
    }
    EXPECT_GT(changed, 3000u);
    EXPECT_LT(worstAtEdge, 0.1);
}

TEST(WaferArtwork, DiesOfOneSizeAreAlike) {
    Scene scene = quietScene(0.0, 0.0);
    scene.width = 500;
    scene.height = 400;
    scene.families[0] = evenFamily(0.0, -150.0, 150.0, 3, 30.0, 60.0);
    scene.families[1] = evenFamily(90.0, -180.0, 160.0, 3, 20.0, 60.0);
    scene.dieArtwork = DieArtwork::circuit;
    const GreyImage image = renderScene(scene);
    std::size_t lively = 0;
    for (long j = 70; j < 180; ++j) {
        for (long i = 85; i < 220; ++i) {
            ASSERT_EQ(image.row(j)[i], image.row(j)[i + 160]);
            ASSERT_EQ(image.row(j)[i], image.row(j + 150)[i]);
            if (image.row(j)[i] != 150) ++lively;
        }
    }
    EXPECT_GT(lively, 3000u);
}

TEST(WaferArtwork, GapsCoverTheWholeImage) {
    Scene scene = quietScene(2.0, 0.0);
    const std::vector<Gap> rows = gapsOf(scene, 0);
    ASSERT_EQ(rows.size(), 2u);
    const Lattice lattice(scene);
    for (const double x : {0.0, 300.0}) {
        for (const double y : {0.0, 220.0}) {
            EXPECT_GE(lattice.t({x, y}), rows.front().low);
            EXPECT_LE(lattice.t({x, y}), rows.back().high);
        }
    }
    EXPECT_EQ(rows.front().high, -15.0);
    EXPECT_EQ(rows.back().low, 15.0);
    scene.families[0].offsets.clear();
    EXPECT_EQ(gapsOf(scene, 0).size(), 1u);
}

}  // namespace
