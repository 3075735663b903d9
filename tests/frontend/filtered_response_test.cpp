#include "qvstreet/frontend/filtered_response.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "qvstreet/frontend/gabor_stage.h"
#include "qvstreet/frontend/ridge_scan.h"
#include "tests/support/every_instruction_set.h"

namespace {

/// Streets of 5 pels, 30 apart, upright and flat ones, under some noise.
qvFrequencyBuffer streetSpectrum(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const bool street = (x + y / 20) % 30 < 5 || (y + x / 15) % 30 < 5;
            image.put(x, y, static_cast<unsigned char>((street ? 60u : 150u) + random() % 20u));
        }
    qvFrequencyBuffer spectrum;
    qf_ForwardFFT(image, spectrum);
    return spectrum;
}

void setFilter(qvFrequencyFilterGabor& filter, const qvFrequencyBuffer& spectrum, double degrees) {
    filter.set({0.05, 0.012}, {0.0, 0.0}, qvRadian(0.0), 0.12, {spectrum.width(), spectrum.height()}, 1);
    filter.angle(qvDegree(degrees));
}

struct Parts {
    qvPelBuffer<double> real;
    qvPelBuffer<double> imaginary;
};

Parts slowResponse(const qvFrequencyFilterGabor& filter, const qvFrequencyBuffer& spectrum) {
    qvFrequencyBuffer filtered;
    filter.apply(spectrum, filtered);
    Parts parts;
    qfInverseFFT(filtered, parts.real, parts.imaginary);
    return parts;
}

qv_lineFinderRun runFor(const std::vector<double>& degrees, double high, double ratio) {
    qv_lineFinderRun run;
    run.runFlags = eRunRidgeScan | eRunKeepPoints;
    run.extraction.highThreshold = high;
    run.extraction.thresholdRatio = ratio;
    for (const double angle : degrees) {
        run.filterAngles.emplace_back(angle);
        run.filterSizes.emplace_back(0.05, 0.012);
        run.filterFrequencies.push_back(0.12);
    }
    return run;
}

void expectSameLines(const std::vector<qv_ridgeLine>& a, const std::vector<qv_ridgeLine>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i].polarity, b[i].polarity);
        EXPECT_EQ(a[i].p1, b[i].p1);
        EXPECT_EQ(a[i].p2, b[i].p2);
        EXPECT_EQ(a[i].angle.toDouble(), b[i].angle.toDouble());
        ASSERT_EQ(a[i].points.size(), b[i].points.size());
        for (std::size_t k = 0; k < a[i].points.size(); ++k) ASSERT_EQ(a[i].points[k], b[i].points[k]);
    }
}

}  // namespace

TEST(FilteredResponse, SizesArePowersOfTwoFrom16On) {
    EXPECT_TRUE(canRespondFiltered(256, 256));
    EXPECT_TRUE(canRespondFiltered(16, 512));
    EXPECT_FALSE(canRespondFiltered(8, 256));
    EXPECT_FALSE(canRespondFiltered(256, 8));
    EXPECT_FALSE(canRespondFiltered(240, 256));
    EXPECT_FALSE(canRespondFiltered(256, 48));
}

TEST(FilteredResponse, IsTheFilteredImageEitherWayRound) {
    const long sizes[][2] = {{128, 64}, {32, 256}, {16, 16}, {512, 32}};
    qv_ResponseScratch scratch;
    for (const auto& size : sizes) {
        const qvFrequencyBuffer spectrum = streetSpectrum(size[0], size[1], 4u);
        for (const double degrees : {0.0, 33.0, 90.0, 135.0, 181.0, -71.0}) {
            setFilter(scratch.filter, spectrum, degrees);
            const Parts slow = slowResponse(scratch.filter, spectrum);
            for (const bool transposed : {false, true}) {
                qv_FilteredResponse response;
                response.transposed = transposed;
                respondFiltered(spectrum, scratch, response);
                ASSERT_EQ(transposed ? size[1] : size[0], response.squares.width);
                ASSERT_EQ(transposed ? size[0] : size[1], response.squares.height);
                double largest = 0.0;
                for (long y = 0; y < size[1]; ++y)
                    for (long x = 0; x < size[0]; ++x) {
                        const double re = slow.real.get(x, y);
                        const double im = slow.imaginary.get(x, y);
                        const double square = transposed ? response.squares.row(x)[y] : response.squares.row(y)[x];
                        const float single =
                            transposed ? response.imaginaries.row(x)[y] : response.imaginaries.row(y)[x];
                        ASSERT_NEAR(re * re + im * im, square, 1e-10);
                        ASSERT_NEAR(im, static_cast<double>(single), 1e-5);
                        largest = std::max(largest, square);
                    }
                EXPECT_EQ(largest, response.largestSquare);
            }
        }
    }
}

TEST(FilteredResponse, EveryVersionGivesTheSameBits) {
    const qvFrequencyBuffer spectrum = streetSpectrum(256, 64, 5u);
    for (const double degrees : {2.0, 47.0, 91.0, 160.0})
        for (const bool transposed : {false, true}) {
            std::vector<double> plain;
            qvtest::onEveryInstructionSet([&](const std::string& set) {
                SCOPED_TRACE(set);
                qv_ResponseScratch scratch;
                setFilter(scratch.filter, spectrum, degrees);
                qv_FilteredResponse response;
                response.transposed = transposed;
                respondFiltered(spectrum, scratch, response);
                std::vector<double> values{response.largestSquare};
                for (long y = 0; y < response.squares.height; ++y)
                    for (long x = 0; x < response.squares.width; ++x) {
                        values.push_back(response.squares.row(y)[x]);
                        values.push_back(static_cast<double>(response.imaginaries.row(y)[x]));
                    }
                if (plain.empty()) plain = values;
                EXPECT_EQ(0, std::memcmp(plain.data(), values.data(), values.size() * sizeof(double)));
            });
        }
}

TEST(FilteredResponse, ScanFindsWhatTheLiteralScanOfTheNormalisedMagnitudeFinds) {
    const qvFrequencyBuffer spectrum = streetSpectrum(256, 128, 6u);
    std::size_t found = 0;
    // Thresholds of 0 and below let every maximum through, also where normalised values become equal.
    const double thresholds[][2] = {{80.0, 0.6}, {40.0, 0.5}, {20.0, 0.0}, {-1.0, 1.0}, {1e-9, 0.5}};
    for (const double degrees : {1.7, 45.0, 60.0, 91.7, 178.0})
        for (const auto& threshold : thresholds) {
            const qv_lineFinderRun run = runFor({degrees}, threshold[0], threshold[1]);
            qv_ResponseScratch scratch;
            setFilter(scratch.filter, spectrum, degrees);
            qv_FilteredResponse response;
            response.transposed = scansTransposed(qvDegree(degrees - 90.0));
            respondFiltered(spectrum, scratch, response);
            const qvPelBuffer<double> literal = normalizedMagnitude(response);
            qvtest::onEveryInstructionSet([&](const std::string& set) {
                SCOPED_TRACE(set);
                std::vector<qv_ridgeLine> lines, literalLines;
                long count = 0;
                long literalCount = 0;
                extractFromFiltered(response, run, 0, lines, count, scratch.scan);
                extractFromResponse(literal, literal, literal, run, 0, literalLines, literalCount);
                EXPECT_EQ(literalCount, count);
                expectSameLines(literalLines, lines);
                found += lines.size();
            });
        }
    EXPECT_GT(found, 100u);
}

TEST(FilteredResponse, EqualSquaresAndOnesThatBecomeEqualAreScannedLikeTheLiteralValues) {
    // Of equal pels the one further along the across direction is the maximum. The root of both squares is 2.
    const double kLarger = std::nextafter(4.0, 5.0);
    qv_FilteredResponse response;
    response.squares.resize(40, 16);
    response.imaginaries.resize(40, 16);
    for (long y = 0; y < 16; ++y)
        for (long x = 0; x < 40; ++x) {
            double square = 1.0 + 0.01 * static_cast<double>(x % 5);
            if (x % 10 == 5) square = kLarger;
            if (x % 10 == 6) square = x < 20 ? 4.0 : kLarger;
            response.squares.row(y)[x] = square;
            response.imaginaries.row(y)[x] = 0.0f;
        }
    response.largestSquare = kLarger;
    const qv_lineFinderRun run = runFor({0.0}, 200.0, 0.5);
    const qvPelBuffer<double> literal = normalizedMagnitude(response);
    ASSERT_EQ(literal.get(5, 3), literal.get(6, 3));
    qvtest::onEveryInstructionSet([&](const std::string& set) {
        SCOPED_TRACE(set);
        std::vector<qv_ridgeLine> lines, literalLines;
        long count = 0;
        long literalCount = 0;
        qv_ScanScratch scratch;
        extractFromFiltered(response, run, 0, lines, count, scratch);
        extractFromResponse(literal, literal, literal, run, 0, literalLines, literalCount);
        expectSameLines(literalLines, lines);
        ASSERT_EQ(4, count);
        // Half way between the two: from column 6, whose centre is at 6.5, half a pel back.
        EXPECT_NEAR(6.0, lines[0].points[0].x(), 0.05);
    });
}

TEST(FilteredResponse, ResponseOfNoiseIsNotBlownUp) {
    qv_FilteredResponse response;
    response.squares.resize(16, 16);
    for (long y = 0; y < 16; ++y)
        for (long x = 0; x < 16; ++x) response.squares.row(y)[x] = x == 7 ? 1e-26 : 0.0;
    response.largestSquare = 1e-26;
    EXPECT_EQ(std::sqrt(1e-26) * 255.0, normalizedMagnitude(response).get(7, 3));
    std::vector<qv_ridgeLine> lines;
    long count = 9;
    qv_ScanScratch scratch;
    extractFromFiltered(response, runFor({0.0}, 40.0, 0.5), 0, lines, count, scratch);
    EXPECT_EQ(0, count);
}

TEST(FilteredResponse, StageWithUsedScratchGivesWhatAFreshOneGives) {
    qv_ResponseScratch scratch;
    for (const long side : {256L, 64L, 128L}) {
        const qvFrequencyBuffer spectrum = streetSpectrum(side, side, 7u);
        const qv_lineFinderRun run = runFor({2.0, 92.0}, 80.0, 0.6);
        std::vector<qv_ridgeLine> fresh;
        std::vector<long> freshCounts;
        filterAndExtract(spectrum, run, fresh, freshCounts);
        std::vector<qv_ridgeLine> lines;
        std::vector<long> counts;
        for (int round = 0; round < 2; ++round) {
            filterAndExtract(spectrum, run, lines, counts, nullptr, &scratch);
            EXPECT_EQ(freshCounts, counts);
            expectSameLines(fresh, lines);
        }
        EXPECT_GE(fresh.size(), 2u);
    }
}

TEST(FilteredResponse, LinesOfThePrunedPathAreThoseOfTheImages) {
    // Sizes that are no powers of two go through whole images; here both ways see the same square.
    const qvFrequencyBuffer spectrum = streetSpectrum(256, 256, 8u);
    for (const double degrees : {2.0, 92.0}) {
        const qv_lineFinderRun run = runFor({degrees}, 80.0, 0.6);
        std::vector<qv_ridgeLine> lines;
        std::vector<long> counts;
        std::vector<qv_responseView> views;
        filterAndExtract(spectrum, run, lines, counts, &views);

        qvFrequencyFilterGabor filter;
        setFilter(filter, spectrum, degrees);
        const Parts parts = slowResponse(filter, spectrum);
        const qvPelBuffer<double> magnitude = complexMagnitude(parts.real, parts.imaginary);
        normalizeAbsTo255(magnitude);
        std::vector<qv_ridgeLine> slow;
        std::vector<long> slowCounts(1);
        extractFromResponse(magnitude, magnitude, magnitude, run, 0, slow, slowCounts[0]);
        fitRidgeLines(slow, slowCounts, run, {parts.imaginary});
        ASSERT_EQ(slow.size(), lines.size());
        ASSERT_GE(lines.size(), 4u);
        for (std::size_t i = 0; i < slow.size(); ++i) {
            EXPECT_NEAR(0.0, slow[i].p1.distance(lines[i].p1), 1e-9);
            EXPECT_NEAR(0.0, slow[i].p2.distance(lines[i].p2), 1e-9);
            EXPECT_EQ(slow[i].polarity, lines[i].polarity);
        }
        ASSERT_EQ(1u, views.size());
        for (long y = 0; y < 256; y += 17)
            for (long x = 0; x < 256; x += 3)
                ASSERT_NEAR(magnitude.get(x, y), *views[0].response.pointToPel(x, y), 1e-9);
    }
}
