#include "qvstreet/frontend/gabor_stage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Rows = std::vector<std::vector<double>>;

qvPelBuffer<double> imageOf(const Rows& rows) {
    qvPelBuffer<double> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    return image;
}

/// Sample x counts four client units, sample y two.
const qvXform<2> kSampleFromClient(qvMatrix<2>(0.25, 0.0, 0.0, 0.5), qvVector<2>(70.0, -3.0));

struct Sizes {
    double frequency;
    qvPair<double> sigmas;
};

/// Frequencies that the spec gives for direction `degrees`, with a centre frequency of 0.75 before.
Sizes sizesOf(long kind, double degrees) {
    qv_gaborSpec spec;
    spec.kind = kind;
    spec.band = {10.0, 40.0};
    spec.spread = 0.21;
    spec.ratio = 3.0;
    Sizes sizes{0.75, {}};
    computeGaborSizes(spec, 256, qvDegree(degrees), kSampleFromClient, sizes.frequency, sizes.sigmas);
    return sizes;
}

constexpr long kSide = 64;
constexpr unsigned char kGround = 50;

qvPelBuffer<unsigned char> ground() {
    qvPelBuffer<unsigned char> image(kSide, kSide, 32);
    qfPelSet(image, kGround);
    return image;
}

/// Bright columns `begin` to `end` - 1.
qvPelBuffer<unsigned char> columns(long begin, long end, int level = 200) {
    const qvPelBuffer<unsigned char> image = ground();
    for (long y = 0; y < kSide; ++y)
        for (long x = begin; x < end; ++x) image.put(x, y, static_cast<unsigned char>(level));
    return image;
}

qvFrequencyBuffer spectrumOf(const qvPelBuffer_const<unsigned char>& image) {
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    return spectrum;
}

/// Two sample pels across, eight along, three times the sigma.
const qvPair<double> kSizes(0.0796, 0.0199);
constexpr double kFrequency = 0.2387;

qv_lineFinderRun runFor(const std::vector<double>& filterAngles) {
    qv_lineFinderRun run;
    run.runFlags = eRunRidgeScan;
    run.extraction.highThreshold = 80.0;
    run.extraction.thresholdRatio = 0.6;
    for (const double angle : filterAngles) {
        run.filterAngles.emplace_back(angle);
        run.filterSizes.push_back(kSizes);
        run.filterFrequencies.push_back(kFrequency);
    }
    return run;
}

struct Found {
    std::vector<qv_ridgeLine> lines;
    std::vector<long> counts;
};

Found extract(const qvFrequencyBuffer& spectrum, const qv_lineFinderRun& run) {
    Found found;
    filterAndExtract(spectrum, run, found.lines, found.counts);
    return found;
}

}  // namespace

TEST(GaborStage, SpecDefaults) {
    const qv_gaborSpec spec;
    EXPECT_EQ(spec.kind, 0);
    EXPECT_EQ(spec.angle.toDouble(), 0.0);
    EXPECT_EQ(spec.spread, 0.17);
    EXPECT_EQ(spec.band, qvPair<double>(0.0625, 0.03125));
    EXPECT_EQ(spec.ratio, 0.0);
}

// ---- sizes ----

TEST(GaborStage, FirstLengthIsMeasuredAcrossAndSecondAlongTheDirection) {
    qvPair<double> flat(10.0, 40.0);
    mapFilterLengths(flat, kSampleFromClient, qvDegree(0.0));
    EXPECT_NEAR(flat.first, 5.0, 1e-12);    // 10 units of y
    EXPECT_NEAR(flat.second, 10.0, 1e-12);  // 40 units of x
    qvPair<double> upright(10.0, 40.0);
    mapFilterLengths(upright, kSampleFromClient, qvDegree(90.0));
    EXPECT_NEAR(upright.first, 2.5, 1e-12);
    EXPECT_NEAR(upright.second, 20.0, 1e-12);
}

TEST(GaborStage, ObliqueLengthsAreMappedAsVectors) {
    // Along 36.87 degrees: (0.8, 0.6) becomes (0.2, 0.3), across (-0.6, 0.8) becomes (-0.15, 0.4).
    qvPair<double> lengths(10.0, 40.0);
    mapFilterLengths(lengths, kSampleFromClient, qvDegree(36.86989764584402));
    EXPECT_NEAR(lengths.first, 4.272001872658765, 1e-12);
    EXPECT_NEAR(lengths.second, 14.422205101855956, 1e-12);
}

TEST(GaborStage, KindZeroAndUnknownKindsTakeBandAndSpreadAsTheyStand) {
    for (const long kind : {0L, 5L, -1L}) {
        const Sizes sizes = sizesOf(kind, 0.0);
        EXPECT_EQ(sizes.sigmas, qvPair<double>(10.0, 40.0)) << kind;
        EXPECT_EQ(sizes.frequency, 0.21) << kind;
    }
}

TEST(GaborStage, KindOneLeavesTheCentreFrequency) {
    const Sizes sizes = sizesOf(1, 0.0);
    EXPECT_NEAR(sizes.sigmas.first, 0.031830988618379, 1e-14);   // 1 / (2 pi 5)
    EXPECT_NEAR(sizes.sigmas.second, 0.015915494309190, 1e-14);  // 1 / (2 pi 10)
    EXPECT_EQ(sizes.frequency, 0.75);
}

TEST(GaborStage, KindsTwoToFourScaleTheFirstSigma) {
    EXPECT_NEAR(sizesOf(2, 0.0).frequency, 0.051948173425195, 1e-14);  // 1.632 / (2 pi 5)
    EXPECT_NEAR(sizesOf(3, 0.0).frequency, 0.093128378129200, 1e-14);  // 2.925714285714286 / (2 pi 5)
    EXPECT_NEAR(sizesOf(4, 0.0).frequency, 0.095492965855137, 1e-14);  // 3 / (2 pi 5)
    EXPECT_NEAR(sizesOf(4, 90.0).frequency, 0.190985931710274, 1e-14);
    for (const long kind : {2L, 3L, 4L}) {
        EXPECT_NEAR(sizesOf(kind, 90.0).sigmas.first, 0.063661977236758, 1e-14);   // 1 / (2 pi 2.5)
        EXPECT_NEAR(sizesOf(kind, 90.0).sigmas.second, 0.007957747154595, 1e-14);  // 1 / (2 pi 20)
    }
}

TEST(GaborStage, WidthOfTheSampledImageHasNoInfluence) {
    qv_gaborSpec spec;
    spec.kind = 3;
    spec.band = {10.0, 40.0};
    double frequency[2] = {0.0, 0.0};
    qvPair<double> sigmas[2];
    computeGaborSizes(spec, 1, qvDegree(12.0), kSampleFromClient, frequency[0], sigmas[0]);
    computeGaborSizes(spec, 4096, qvDegree(12.0), kSampleFromClient, frequency[1], sigmas[1]);
    EXPECT_EQ(frequency[0], frequency[1]);
    EXPECT_EQ(sigmas[0], sigmas[1]);
}

// ---- image operations ----

TEST(GaborStage, MagnitudeOfRealAndImaginaryPart) {
    const qvPelBuffer<double> magnitude =
        complexMagnitude(imageOf({{3, -5, 0}, {0, 8, -20}}), imageOf({{4, 12, 0}, {-7, -15, 21}}));
    ASSERT_EQ(magnitude.width(), 3);
    ASSERT_EQ(magnitude.height(), 2);
    EXPECT_EQ(magnitude.get(0, 0), 5.0);
    EXPECT_EQ(magnitude.get(1, 0), 13.0);
    EXPECT_EQ(magnitude.get(2, 0), 0.0);
    EXPECT_EQ(magnitude.get(0, 1), 7.0);
    EXPECT_EQ(magnitude.get(1, 1), 17.0);
    EXPECT_EQ(magnitude.get(2, 1), 29.0);
}

TEST(GaborStage, StrongestAbsoluteValueBecomes255) {
    const qvPelBuffer<double> image = imageOf({{-3, 1}, {2, 0}});
    normalizeAbsTo255(image);
    EXPECT_EQ(image.get(0, 0), 255.0);
    EXPECT_EQ(image.get(1, 0), 85.0);
    EXPECT_EQ(image.get(0, 1), 170.0);
    EXPECT_EQ(image.get(1, 1), 0.0);
}

TEST(GaborStage, MultipliesBeforeItDivides) {
    // 11 * (255 / 11) is 255.00000000000003.
    const qvPelBuffer<double> image = imageOf({{11, -11}, {5.5, 0}});
    normalizeAbsTo255(image);
    EXPECT_EQ(image.get(0, 0), 255.0);
    EXPECT_EQ(image.get(1, 0), 255.0);
    EXPECT_EQ(image.get(0, 1), 127.5);
}

TEST(GaborStage, NoiseIsNotBlownUp) {
    const qvPelBuffer<double> noise = imageOf({{-9.99e-13, 1e-13}, {0, 0}});
    normalizeAbsTo255(noise);
    EXPECT_EQ(noise.get(0, 0), 9.99e-13 * 255.0);
    EXPECT_EQ(noise.get(1, 0), 1e-13 * 255.0);
    const qvPelBuffer<double> limit = imageOf({{-1e-12, 0.5e-12}, {0, 0}});
    normalizeAbsTo255(limit);
    EXPECT_EQ(limit.get(0, 0), 255.0);
    EXPECT_EQ(limit.get(1, 0), 127.5);
}

TEST(GaborStage, ZeroResponseStaysZero) {
    const qvPelBuffer<double> image = imageOf({{0, -0.0}, {0, 0}});
    normalizeAbsTo255(image);
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < 2; ++x) EXPECT_EQ(image.get(x, y), 0.0);
}

TEST(GaborStage, OnlyTheWindowIsNormalised) {
    const qvPelBuffer<double> large = imageOf({{900, 900, 900, 900}, {900, 4, -8, 900}, {900, 2, 0, 900}});
    qvPelBuffer<double> window = large;
    window.window(1, 1, 2, 2, false);
    normalizeAbsTo255(window);
    EXPECT_EQ(large.get(1, 1), 127.5);
    EXPECT_EQ(large.get(2, 1), 255.0);
    EXPECT_EQ(large.get(1, 2), 63.75);
    EXPECT_EQ(large.get(0, 0), 900.0);
    EXPECT_EQ(large.get(3, 2), 900.0);
}

// ---- filtering and extraction ----

TEST(GaborStage, ZeroSpectrumGivesNoLine) {
    const Found found = extract(qvFrequencyBuffer(kSide, kSide), runFor({0.0, 90.0}));
    EXPECT_TRUE(found.lines.empty());
    EXPECT_EQ(found.counts, (std::vector<long>{0, 0}));
}

TEST(GaborStage, UniformImageGivesNoLine) {
    const Found found = extract(spectrumOf(ground()), runFor({0.0}));
    EXPECT_TRUE(found.lines.empty());
    EXPECT_EQ(found.counts, (std::vector<long>{0}));
}

TEST(GaborStage, NoDirectionGivesNothing) {
    Found found;
    found.lines.resize(3);
    found.counts = {1, 2};
    filterAndExtract(spectrumOf(ground()), runFor({}), found.lines, found.counts);
    EXPECT_TRUE(found.lines.empty());
    EXPECT_TRUE(found.counts.empty());
}

TEST(GaborStage, FilterAngleLiesAcrossTheLines) {
    const qvFrequencyBuffer spectrum = spectrumOf(columns(19, 22));
    const Found across = extract(spectrum, runFor({0.0}));
    ASSERT_EQ(across.counts, (std::vector<long>{1}));
    EXPECT_NEAR(across.lines[0].p1.x(), 20.5, 1e-6);
    EXPECT_NEAR(across.lines[0].p1.y(), 1.5, 1e-9);
    EXPECT_NEAR(across.lines[0].p2.x(), 20.5, 1e-6);
    EXPECT_NEAR(across.lines[0].p2.y(), 62.5, 1e-9);
}

TEST(GaborStage, ThresholdsAreRelativeToTheStrongestPel) {
    const Found faint = extract(spectrumOf(columns(19, 22, 52)), runFor({0.0}));
    ASSERT_EQ(faint.counts, (std::vector<long>{1}));
    EXPECT_NEAR(faint.lines[0].p1.x(), 20.5, 1e-6);
}

TEST(GaborStage, ThresholdsArePerDirection) {
    // Of the flat line's response, measured against the upright one's, no pel would reach the threshold.
    const qvPelBuffer<unsigned char> image = columns(19, 22);
    for (long x = 0; x < kSide; ++x) image.put(x, 40, static_cast<unsigned char>(image.get(x, 40) + 25));
    const Found found = extract(spectrumOf(image), runFor({0.0, 90.0}));
    ASSERT_EQ(found.counts, (std::vector<long>{1, 1}));
    ASSERT_EQ(found.lines.size(), 2u);
    EXPECT_NEAR(found.lines[1].p1.y(), 40.5, 0.1);
    EXPECT_NEAR(found.lines[1].p1.x(), 1.5, 1e-9);
    EXPECT_NEAR(found.lines[1].p2.x(), 62.5, 1e-9);
}

TEST(GaborStage, OnePairOfSizesServesAllDirections) {
    const qvPelBuffer<unsigned char> image = columns(19, 22);
    for (long x = 0; x < kSide; ++x) image.put(x, 40, 120);
    qv_lineFinderRun run = runFor({0.0, 90.0});
    const Found two = extract(spectrumOf(image), run);
    run.filterSizes.pop_back();
    run.filterFrequencies.pop_back();
    const Found one = extract(spectrumOf(image), run);
    EXPECT_EQ(one.counts, two.counts);
    ASSERT_EQ(one.lines.size(), two.lines.size());
    for (std::size_t i = 0; i < one.lines.size(); ++i) EXPECT_EQ(one.lines[i].p1, two.lines[i].p1);
}

TEST(GaborStage, EachDirectionHasItsOwnSizes) {
    // The second pair's filter is so narrow that between two elements nothing of the image passes it.
    qv_lineFinderRun run = runFor({0.0, 0.0});
    EXPECT_EQ(extract(spectrumOf(columns(19, 22)), run).counts, (std::vector<long>{1, 1}));
    run.filterSizes[1] = {0.0002, 0.0002};
    run.filterFrequencies[1] = 0.4921875;  // 31.5 / 64, half way between two elements
    EXPECT_EQ(extract(spectrumOf(columns(19, 22)), run).counts, (std::vector<long>{1, 0}));
}

TEST(GaborStage, PolarityVotesOnTheSignedImaginaryPart) {
    // A bright band: its left edge rises along the filter's angle, its right edge falls.
    const qvFrequencyBuffer spectrum = spectrumOf(columns(20, 44));
    const Found found = extract(spectrum, runFor({0.0}));
    ASSERT_EQ(found.counts, (std::vector<long>{2}));
    EXPECT_NEAR(found.lines[0].p1.x(), 20.0, 0.1);
    EXPECT_FALSE(found.lines[0].polarity);
    EXPECT_NEAR(found.lines[1].p1.x(), 44.0, 0.1);
    EXPECT_TRUE(found.lines[1].polarity);

    // Searched in the imaginary part itself, which the scaling makes positive everywhere, the vote stays the same.
    qv_lineFinderRun run = runFor({0.0});
    run.searchedResponse = eSearchImaginary;
    int atEdges = 0;
    for (const qv_ridgeLine& line : extract(spectrum, run).lines) {
        if (std::fabs(line.p1.x() - 20.0) > 0.6 && std::fabs(line.p1.x() - 44.0) > 0.6) continue;
        ++atEdges;
        EXPECT_EQ(line.polarity, line.p1.x() > 30.0);
    }
    EXPECT_EQ(atEdges, 2);
}

TEST(GaborStage, FilterTurnedRoundSwapsThePolarity) {
    const Found found = extract(spectrumOf(columns(20, 44)), runFor({180.0}));
    ASSERT_EQ(found.counts, (std::vector<long>{2}));
    EXPECT_TRUE(found.lines[0].polarity);
    EXPECT_FALSE(found.lines[1].polarity);
}

TEST(GaborStage, SearchedResponsePicksTheImage) {
    // On a narrow bright ridge the real part peaks in the middle, the imaginary part at both sides.
    const qvFrequencyBuffer spectrum = spectrumOf(columns(20, 21));
    qv_lineFinderRun run = runFor({0.0});
    run.searchedResponse = eSearchReal;
    const Found real = extract(spectrum, run);
    ASSERT_GE(real.lines.size(), 1u);
    bool middle = false;
    for (const qv_ridgeLine& line : real.lines) middle = middle || std::fabs(line.p1.x() - 20.5) < 0.01;
    EXPECT_TRUE(middle);
    run.searchedResponse = eSearchImaginary;
    const Found imaginary = extract(spectrum, run);
    ASSERT_GE(imaginary.lines.size(), 2u);
    for (const qv_ridgeLine& line : imaginary.lines) EXPECT_GT(std::fabs(line.p1.x() - 20.5), 0.4);
}

TEST(GaborStage, CombinedSearchesFindLinesInTheMagnitude) {
    const qvFrequencyBuffer spectrum = spectrumOf(columns(19, 22));
    qv_lineFinderRun run = runFor({0.0});
    const Found plain = extract(spectrum, run);
    for (const long searched : {3L, 4L, 5L}) {
        run.searchedResponse = searched;
        const Found found = extract(spectrum, run);
        EXPECT_EQ(found.counts, plain.counts) << searched;
        ASSERT_EQ(found.lines.size(), plain.lines.size());
        EXPECT_EQ(found.lines[0].p1, plain.lines[0].p1);
    }
}

TEST(GaborStage, FormerLinesAreReplaced) {
    Found found;
    found.lines.resize(2);
    filterAndExtract(spectrumOf(columns(19, 22)), runFor({0.0}), found.lines, found.counts);
    ASSERT_EQ(found.lines.size(), 1u);
    EXPECT_EQ(found.lines[0].lineKey, 0);
}

TEST(GaborStage, SpectrumIsOnlyRead) {
    const qvFrequencyBuffer spectrum = spectrumOf(columns(19, 22));
    const qvPair<double> before = spectrum.get(5, 0, false);
    const Found first = extract(spectrum, runFor({0.0}));
    EXPECT_EQ(spectrum.get(5, 0, false), before);
    const Found second = extract(spectrum, runFor({0.0}));
    ASSERT_EQ(first.lines.size(), second.lines.size());
    EXPECT_EQ(first.lines[0].p1, second.lines[0].p1);
}

TEST(GaborStage, ViewsShowTheSearchedResponseAndItsChains) {
    // A narrow bright ridge at x = 20.5: the real part is strongest in its middle, where the imaginary part passes zero.
    const qvFrequencyBuffer spectrum = spectrumOf(columns(20, 21));
    qv_lineFinderRun run = runFor({0.0, 30.0});
    run.filterFrequencies[1] = 0.2;
    std::vector<qv_responseView> views(5);
    Found found;
    for (const long searched : {eSearchReal, eSearchImaginary, eSearchMagnitude, eSearchMagnitudeFollowReal}) {
        run.searchedResponse = searched;
        filterAndExtract(spectrum, run, found.lines, found.counts, &views);
        ASSERT_EQ(views.size(), 2U) << searched;
        const qvPelBuffer_const<double>& response = views[0].response;
        ASSERT_EQ(response.width(), kSide);
        if (searched == eSearchImaginary) {
            EXPECT_LT(response.get(20, 32), 10.0);
        } else {
            EXPECT_NEAR(response.get(20, 32), 255.0, 0.01) << searched;
        }
        ASSERT_GE(views[0].chains.size(), searched == eSearchImaginary ? 2U : 1U) << searched;
        EXPECT_GT(views[0].chains[0].size(), 50U) << searched;
    }
    // The last of them searched the magnitude: one chain, in the middle.
    ASSERT_EQ(views[0].chains.size(), 1U);
    EXPECT_NEAR(views[0].chains[0][10].x(), 20.5, 0.01);
}

TEST(GaborStage, SeedTracerFollowsRidgesInTheResponseAskedForScaledLikeTheSearchedOne) {
    // A bright ridge, brightest at half its height: seeds are local maxima.
    const qvPelBuffer<unsigned char> image = columns(31, 34);
    for (long y = 0; y < kSide; ++y) {
        const long from = y < 32 ? 32 - y : y - 32;
        image.put(32, y, static_cast<unsigned char>(240 - from));
    }
    const qvFrequencyBuffer spectrum = spectrumOf(image);
    qv_lineFinderRun run = runFor({0.0});
    run.runFlags = 0;
    std::vector<qv_responseView> views;
    Found found;
    filterAndExtract(spectrum, run, found.lines, found.counts, &views);
    ASSERT_EQ(found.lines.size(), 1U);
    const double magnitude = views[0].response.get(32, 32);
    EXPECT_NEAR(magnitude, 255.0, 0.01);
    // Responses have both signs; a seed on a negative pel would be a broken promise.
    for (const long searched :
         {eSearchMagnitudeFollowStronger, eSearchMagnitudeFollowImaginary, eSearchMagnitudeFollowReal}) {
        run.searchedResponse = searched;
        filterAndExtract(spectrum, run, found.lines, found.counts, &views);
        EXPECT_EQ(views[0].response.get(32, 32), magnitude) << searched;
        ASSERT_EQ(found.lines.size(), 1U) << searched;
        EXPECT_NEAR(found.lines[0].p1.x(), 32.5, 0.1) << searched;
    }
    // A dark ridge has a negative real part.
    for (long y = 0; y < kSide; ++y)
        for (long x = 31; x < 34; ++x) image.put(x, y, static_cast<unsigned char>(100 - image.get(x, y) / 3));
    const qvFrequencyBuffer dark = spectrumOf(image);
    for (const long searched :
         {eSearchMagnitudeFollowStronger, eSearchMagnitudeFollowImaginary, eSearchMagnitudeFollowReal}) {
        run.searchedResponse = searched;
        filterAndExtract(dark, run, found.lines, found.counts, &views);
        ASSERT_EQ(found.lines.size(), 1U) << searched;
        EXPECT_NEAR(found.lines[0].p1.x(), 32.5, 0.1) << searched;
    }
}
