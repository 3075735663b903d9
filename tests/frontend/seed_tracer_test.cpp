#include "qvstreet/frontend/seed_tracer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Points = std::vector<std::pair<double, double>>;
using Seeds = std::vector<qvVector<2>>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
/// The ratio of a trace's threshold to its seed.
constexpr double kHalf = 0.5;
const qvRadian kRightwards(0.0);

template <typename T>
qvPelBuffer<T> filled(long width, long height, T value) {
    qvPelBuffer<T> image(width, height, 32);
    qfPelSet(image, value);
    return image;
}

/// A level ridge of one row, from column `first` to `last`.
void addRidge(const qvPelBuffer<double>& image, long row, long first, long last, double value) {
    for (long x = first; x <= last; ++x) image.put(x, row, value);
}

/// Zeros with such a ridge of 100.
qvPelBuffer<double> levelRidge(long width, long height, long row, long first, long last) {
    const qvPelBuffer<double> image = filled(width, height, 0.0);
    addRidge(image, row, first, last, 100.0);
    return image;
}

qv_ridgeExtraction extractionAlong(qvRadian lineAngle, double highThreshold = 50.0, double thresholdRatio = kHalf) {
    qv_ridgeExtraction extraction;
    extraction.lineAngle = lineAngle;
    extraction.highThreshold = highThreshold;
    extraction.thresholdRatio = thresholdRatio;
    return extraction;
}

std::vector<qv_ridgeLine> traced(const qvPelBuffer_const<double>& image, const Seeds& seeds, double ratio = kHalf) {
    std::vector<qv_ridgeLine> lines;
    traceSeeds(image, seeds, kRightwards, ratio, lines);
    return lines;
}

std::vector<qv_ridgeLine> tracedStronger(const qvPelBuffer_const<double>& imaginary,
                                         const qvPelBuffer_const<double>& real, const Seeds& seeds) {
    std::vector<qv_ridgeLine> lines;
    traceSeedsStronger(imaginary, real, seeds, kRightwards, kHalf, lines);
    return lines;
}

/// Lines of three responses.
std::vector<qv_ridgeLine> extracted(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                                    const qvPelBuffer_const<double>& magnitude, long searchedResponse,
                                    const qv_ridgeExtraction& extraction) {
    qv_lineFinderRun run;
    run.searchedResponse = searchedResponse;
    std::vector<qv_ridgeLine> lines;
    traceSeedLines(imaginary, real, magnitude, run, extraction, lines);
    return lines;
}

std::vector<qv_ridgeLine> extracted(const qvPelBuffer_const<double>& magnitude, const qv_ridgeExtraction& extraction) {
    return extracted(qvPelBuffer_const<double>(), qvPelBuffer_const<double>(), magnitude, eSearchMagnitude, extraction);
}

void expectPoint(const qvVector<2>& point, double x, double y, double tolerance = 1e-6) {
    EXPECT_NEAR(point.x(), x, tolerance);
    EXPECT_NEAR(point.y(), y, tolerance);
}

/// First and last point of each line.
void expectEnds(const std::vector<qv_ridgeLine>& lines,
                const std::vector<std::pair<Points::value_type, Points::value_type>>& ends) {
    ASSERT_EQ(lines.size(), ends.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SCOPED_TRACE(i);
        expectPoint(lines[i].points.front(), ends[i].first.first, ends[i].first.second);
        expectPoint(lines[i].points.back(), ends[i].second.first, ends[i].second.second);
    }
}

/// A straight ridge with a rounded profile of 3 pels' width, highest at `point`.
void addRoundedRidge(const qvPelBuffer<double>& image, const qvVector<2>& point, double degrees, double height) {
    const qvLine ridge(qvDegree(degrees), point);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) {
            const qvVector<2> centre(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
            const double d = ridge.distToPoint(centre);
            const double along = std::fabs((centre - point) * ridge.dir());
            const double value = height * std::exp(-d * d / 4.5) * (1.0 - 1e-4 * along);
            image.put(x, y, std::max(image.get(x, y), value));
        }
}

}  // namespace

// ---- traces from seeds ----

TEST(SeedTracer, SeedGivesTheWholeRidge) {
    const auto lines = traced(levelRidge(20, 9, 4, 3, 12), {{7.0, 4.5}});
    // Steps of one pel from 7; at 3 and at 13 half of the seed's 100 is left.
    expectEnds(lines, {{{3.0, 4.5}, {13.0, 4.5}}});
    EXPECT_EQ(lines[0].points.size(), 11u);
    EXPECT_EQ(lines[0].angle, kRightwards);
}

TEST(SeedTracer, ThresholdIsAFractionOfTheSeedsPel) {
    const auto image = levelRidge(40, 9, 4, 10, 15);
    addRidge(image, 4, 16, 25, 60.0);
    EXPECT_EQ(traced(image, {{12.5, 4.5}}, 0.6)[0].points.back().x(), 25.5);
    EXPECT_EQ(traced(image, {{12.5, 4.5}}, 0.61)[0].points.back().x(), 15.5);
    // The pel at the truncated position of (15.9, 4.5) is (15, 4), that of (16, 4.9) is (16, 4).
    EXPECT_NEAR(traced(image, {{15.9, 4.5}}, 0.7)[0].points.back().x(), 15.9, 1e-9);
    EXPECT_EQ(traced(image, {{16.0, 4.9}}, 0.7)[0].points.front().x(), 10.0);
}

TEST(SeedTracer, RatioOfZeroFollowsWhatIsNoRidge) {
    // Beyond the ridge all samples are equal and the first one counts: a pel up with each step forward and, the search
    // vector being turned round, a pel down with each step backward, until the cross-section leaves the image.
    expectEnds(traced(levelRidge(20, 9, 4, 3, 12), {{7.5, 4.5}}, 0.0), {{{1.5, 6.5}, {15.5, 1.5}}});
}

TEST(SeedTracer, NegativeThresholdIsABrokenPromise) {
    EXPECT_THROW(traced(levelRidge(20, 9, 4, 3, 12), {{7.5, 4.5}}, -0.1), qvInvariantFailure);
    const auto image = levelRidge(20, 9, 4, 3, 12);
    image.put(7, 4, kNan);
    EXPECT_THROW(traced(image, {{7.5, 4.5}}), qvInvariantFailure);
}

TEST(SeedTracer, SeedsOnATracedRidgeAreSuppressed) {
    EXPECT_EQ(traced(levelRidge(20, 9, 4, 3, 12), {{7.5, 4.5}, {4.5, 4.5}, {11.5, 4.5}, {7.5, 4.5}}).size(), 1u);
}

TEST(SeedTracer, SeedsBesideATracedRidgeAreSuppressed) {
    // The ridge marks rows 3 to 5 of columns 2 to 13; a second one would give a line from either of its seeds.
    const auto image = levelRidge(24, 13, 4, 3, 12);
    for (long y = 0; y < 13; ++y) {
        if (y == 4) continue;
        addRidge(image, y, 3, 12, 40.0);
    }
    for (const auto& [x, y, suppressed] : std::vector<std::tuple<double, double, bool>>{
             {7.5, 2.9, true}, {7.5, 1.99, false}, {7.5, 6.5, true}, {7.5, 7.0, false}}) {
        std::vector<qv_ridgeLine> lines = traced(image, {{7.5, 4.5}, {x, y}});
        EXPECT_EQ(lines.size(), suppressed ? 1u : 2u) << x << ' ' << y;
    }
}

TEST(SeedTracer, EachOfTheEightNeighboursOfAMarkSuppresses) {
    // A spot whose trace stops after one step each way marks rows 14 to 16 of columns 19 and 21. Around it is a field
    // strong enough for a line from anywhere.
    const auto image = filled(40, 30, 30.0);
    image.put(20, 15, 100.0);
    const auto lineFrom = [&](long x, long y) {
        return !traced(image, {{20.5, 15.5}, {static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5}}).empty();
    };
    for (long y = 10; y <= 20; ++y)
        for (long x = 15; x <= 25; ++x) {
            const bool nearMark = x >= 18 && x <= 22 && y >= 13 && y <= 17;
            EXPECT_EQ(lineFrom(x, y), !nearMark) << x << ' ' << y;
        }
}

TEST(SeedTracer, TraceThatMakesNoLineSuppressesToo) {
    // Three columns give no line; a strong seed there keeps a weak one beside it, which would give one, from starting.
    auto image = filled(20, 9, 30.0);
    addRidge(image, 4, 7, 9, 100.0);
    EXPECT_TRUE(traced(image, {{8.5, 4.5}}).empty());
    EXPECT_EQ(traced(image, {{6.5, 4.5}}).size(), 1u);
    EXPECT_TRUE(traced(image, {{8.5, 4.5}, {6.5, 4.5}}).empty());
}

TEST(SeedTracer, SeedThatFailsAtItsStartSuppressesNothing) {
    const auto image = levelRidge(20, 9, 4, 3, 12);
    EXPECT_EQ(traced(image, {{0.25, 4.5}, {7.5, 1.25}, {7.5, 4.5}}).size(), 1u);
}

TEST(SeedTracer, SeedsWhoseCrossSectionDoesNotFitMakeNoLine) {
    const auto image = filled(20, 9, 50.0);
    EXPECT_TRUE(traced(image, {{7.0, 1.0}, {7.0, 8.0}, {0.0, 4.0}, {19.5, 4.0}}).empty());
    EXPECT_EQ(traced(image, {{7.0, 1.6}}).size(), 1u);
}

TEST(SeedTracer, SeedsOutsideTheImageAreSkipped) {
    const auto image = levelRidge(20, 9, 4, 3, 12);
    EXPECT_TRUE(traced(image, {{-1.0, 4.0}, {20.0, 4.0}, {7.0, -1.0}, {7.0, 9.0}, {1e300, 4.0}, {kNan, kNan}}).empty());
}

TEST(SeedTracer, SeedsInTheFirstRowAndTheFirstColumnAreTraced) {
    const auto upright = filled(9, 20, 0.0);
    for (long y = 0; y <= 12; ++y) upright.put(4, y, 100.0);
    std::vector<qv_ridgeLine> lines;
    traceSeeds(upright, {{4.5, 0.75}}, qvDegree(90.0), kHalf, lines);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_GT(lines[0].points.size(), 10u);
    EXPECT_EQ(traced(levelRidge(20, 9, 4, 0, 12), {{0.75, 4.5}}).size(), 1u);
}

TEST(SeedTracer, LinesComeInTheOrderOfTheirSeedsBehindEarlierOnes) {
    const auto image = levelRidge(20, 15, 4, 3, 12);
    addRidge(image, 10, 5, 15, 80.0);
    std::vector<qv_ridgeLine> lines(1);
    lines[0].angle = qvRadian(2.5);
    traceSeeds(image, {{7.5, 10.5}, {7.5, 4.5}}, kRightwards, 0.6, lines);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].angle, qvRadian(2.5));
    EXPECT_TRUE(lines[0].points.empty());
    expectPoint(lines[1].points.front(), 5.5, 10.5);
    expectPoint(lines[2].points.front(), 3.5, 4.5);
}

TEST(SeedTracer, EveryLineRunsAlongTheAngle) {
    // A trace goes both ways, the second time with the angle turned round; the next seed's must not start from there.
    const auto image = levelRidge(20, 15, 4, 3, 12);
    addRidge(image, 10, 5, 15, 80.0);
    std::vector<qv_ridgeLine> lines;
    traceSeeds(image, {{7.5, 10.5}, {7.5, 4.5}}, qvDegree(180.0), 0.6, lines);
    ASSERT_EQ(lines.size(), 2u);
    for (const qv_ridgeLine& line : lines) {
        EXPECT_EQ(line.angle, qvRadian(qvDegree(180.0)));
        EXPECT_GT(line.points.front().x(), line.points.back().x());
    }
}

TEST(SeedTracer, NumbersOfTracesDoNotWrapAround) {
    // With this many seeds before it, the number of the ridge's trace would come round to 0, which marks nothing.
    Seeds seeds(65534, qvVector<2>(0.25, 0.25));
    const auto image = levelRidge(20, 9, 4, 3, 12);
    for (const std::size_t count : {std::size_t{65533}, std::size_t{65534}, std::size_t{65535}}) {
        seeds.resize(count, qvVector<2>(0.25, 0.25));
        Seeds all = seeds;
        all.emplace_back(7.5, 4.5);
        all.emplace_back(5.5, 4.5);
        EXPECT_EQ(traced(image, all).size(), 1u) << count;
    }
}

TEST(SeedTracer, OffsetImagesAreTracedInImageCoordinates) {
    auto image = levelRidge(20, 9, 4, 3, 12);
    image.offset(-6, 1000);
    // The seed's pel is column 7, row 4 of the window.
    expectEnds(traced(image, {{1.5, 1004.5}, {-0.5, 1004.5}}), {{{-2.5, 1004.5}, {6.5, 1004.5}}});
    expectEnds(extracted(image, extractionAlong(kRightwards)), {{{-3.0, 1004.5}, {7.0, 1004.5}}});
}

// ---- two images ----

TEST(SeedTracer, StrongerOfTwoImagesIsTraced) {
    const auto imaginary = levelRidge(20, 9, 4, 3, 12);
    const auto real = filled(20, 9, 0.0);
    addRidge(real, 4, 5, 16, 80.0);
    expectEnds(tracedStronger(imaginary, real, {{7.5, 4.5}}), {{{3.5, 4.5}, {12.5, 4.5}}});
    expectEnds(tracedStronger(real, imaginary, {{7.5, 4.5}}), {{{3.5, 4.5}, {12.5, 4.5}}});
    // Where only the weaker one has a ridge, it is the stronger one.
    expectEnds(tracedStronger(imaginary, real, {{15.5, 4.5}}), {{{5.5, 4.5}, {16.5, 4.5}}});
}

TEST(SeedTracer, OfTwoEqualPelsTheSecondImageIsTraced) {
    const auto first = levelRidge(20, 9, 4, 3, 12);
    const auto second = levelRidge(20, 9, 4, 5, 16);
    expectEnds(tracedStronger(first, second, {{7.5, 4.5}}), {{{5.5, 4.5}, {16.5, 4.5}}});
    expectEnds(tracedStronger(second, first, {{7.5, 4.5}}), {{{3.5, 4.5}, {12.5, 4.5}}});
}

TEST(SeedTracer, ThresholdComesFromTheImageThatIsTraced) {
    const auto imaginary = filled(20, 9, 0.0);
    addRidge(imaginary, 4, 3, 8, 40.0);
    addRidge(imaginary, 4, 9, 15, 21.0);
    const auto real = filled(20, 9, 0.0);
    addRidge(real, 4, 2, 18, 30.0);
    // 21 is above half of 40, and would be so above half of 30; 0.6 of 40 is more.
    std::vector<qv_ridgeLine> lines;
    traceSeedsStronger(imaginary, real, {{5.5, 4.5}}, kRightwards, 0.6, lines);
    expectEnds(lines, {{{3.5, 4.5}, {8.5, 4.5}}});
}

TEST(SeedTracer, TracesOnEitherImageSuppressTheSeedsOfBoth) {
    const auto imaginary = levelRidge(30, 9, 4, 3, 12);
    const auto real = filled(30, 9, 0.0);
    addRidge(real, 4, 3, 26, 80.0);
    // The first seed is traced on `imaginary` and marks columns 2 to 13; the second one would be traced on `real`.
    EXPECT_EQ(tracedStronger(imaginary, real, {{7.5, 4.5}, {13.5, 4.5}}).size(), 1u);
    expectEnds(tracedStronger(imaginary, real, {{7.5, 4.5}, {15.5, 4.5}}),
               {{{3.5, 4.5}, {12.5, 4.5}}, {{3.5, 4.5}, {26.5, 4.5}}});
}

TEST(SeedTracer, TwoImagesHaveOneSize) {
    std::vector<qv_ridgeLine> lines;
    EXPECT_THROW(traceSeedsStronger(filled(20, 9, 1.0), filled(19, 9, 1.0), {}, kRightwards, kHalf, lines),
                 qvInvariantFailure);
    EXPECT_THROW(traceSeedsStronger(filled(20, 9, 1.0), filled(20, 8, 1.0), {}, kRightwards, kHalf, lines),
                 qvInvariantFailure);
}

// ---- the whole extraction ----

namespace {

/// The first column of the one line that `searchedResponse` gives, along a ridge of row 4 that begins at column 4
/// (imaginary) and 6 (real) and goes on to column 16.
double firstColumnOf(const qvPelBuffer<double>& magnitude, long searchedResponse, double imaginaryValue,
                     double realValue) {
    const auto imaginary = filled(22, 9, 0.0);
    addRidge(imaginary, 4, 4, 16, imaginaryValue);
    const auto real = filled(22, 9, 0.0);
    addRidge(real, 4, 6, 16, realValue);
    const auto lines = extracted(imaginary, real, magnitude, searchedResponse, extractionAlong(kRightwards));
    EXPECT_EQ(lines.size(), 1u);
    return lines.empty() ? -1.0 : lines[0].points.front().x();
}

/// In the magnitude the ridge begins at column 2.
double firstColumn(long searchedResponse, double imaginaryValue, double realValue) {
    return firstColumnOf(levelRidge(22, 9, 4, 2, 16), searchedResponse, imaginaryValue, realValue);
}

/// The magnitude is one spot at column 10, the only seed.
double firstColumnFromTheMiddle(long searchedResponse, double imaginaryValue, double realValue) {
    const auto magnitude = filled(22, 9, 0.0);
    magnitude.put(10, 4, 100.0);
    return firstColumnOf(magnitude, searchedResponse, imaginaryValue, realValue);
}

}  // namespace

TEST(SeedTracer, OneResponseIsSearchedAndTraced) {
    EXPECT_EQ(firstColumn(0, 90.0, 80.0), 2.0);
    EXPECT_EQ(firstColumn(1, 90.0, 80.0), 4.0);
    EXPECT_EQ(firstColumn(2, 90.0, 80.0), 6.0);
    EXPECT_EQ(firstColumn(9, 90.0, 80.0), 2.0);
    EXPECT_EQ(firstColumn(-1, 90.0, 80.0), 2.0);
}

TEST(SeedTracer, MagnitudeIsSearchedAndAnotherResponseTraced) {
    // The traced response need not reach the threshold of the seeds.
    EXPECT_EQ(firstColumnFromTheMiddle(4, 30.0, 20.0), 4.0);
    EXPECT_EQ(firstColumnFromTheMiddle(5, 30.0, 20.0), 6.0);
    EXPECT_EQ(firstColumnFromTheMiddle(3, 30.0, 20.0), 4.0);
    EXPECT_EQ(firstColumnFromTheMiddle(3, 30.0, 40.0), 6.0);
    EXPECT_EQ(firstColumnFromTheMiddle(3, 30.0, 30.0), 6.0);
}

TEST(SeedTracer, SeedsReachTheHighThreshold) {
    const auto image = levelRidge(20, 9, 4, 3, 12);
    EXPECT_EQ(extracted(image, extractionAlong(kRightwards, 100.0)).size(), 1u);
    EXPECT_TRUE(extracted(image, extractionAlong(kRightwards, 100.01)).empty());
}

TEST(SeedTracer, TracesGoDownToTheRatioOfTheirSeed) {
    const auto image = levelRidge(30, 9, 4, 3, 12);
    addRidge(image, 4, 13, 25, 60.0);
    // The first pel of the plateau is the seed, at its left border: 80 at column 13, between the two.
    expectEnds(extracted(image, extractionAlong(kRightwards, 90.0, 0.6)), {{{3.0, 4.5}, {25.0, 4.5}}});
    expectEnds(extracted(image, extractionAlong(kRightwards, 90.0, 0.7)), {{{3.0, 4.5}, {13.0, 4.5}}});
}

TEST(SeedTracer, GateOfTheExtractionHolds) {
    qv_ridgeExtraction extraction = extractionAlong(kRightwards);
    extraction.grayGateMode = 1;
    extraction.grayGateFlag = 100;
    extraction.gateImage = filled<unsigned char>(20, 9, 99);
    EXPECT_EQ(extracted(levelRidge(20, 9, 4, 3, 12), extraction).size(), 1u);
    extraction.gateImage = filled<unsigned char>(20, 9, 100);
    EXPECT_TRUE(extracted(levelRidge(20, 9, 4, 3, 12), extraction).empty());
}

TEST(SeedTracer, RunsOwnAnglesAndThresholdsAreNotRead) {
    qv_lineFinderRun run;
    run.extraction = extractionAlong(qvDegree(90.0), 1000.0, 0.9);
    run.filterAngles = {qvDegree(33.0)};
    const auto image = levelRidge(20, 9, 4, 3, 12);
    std::vector<qv_ridgeLine> lines;
    traceSeedLines(image, image, image, run, extractionAlong(kRightwards), lines);
    EXPECT_EQ(lines.size(), 1u);
}

TEST(SeedTracer, SilentResponseHasNoLine) {
    EXPECT_TRUE(extracted(filled(64, 64, 0.0), extractionAlong(kRightwards)).empty());
}

TEST(SeedTracer, RidgesOfEveryDirectionAreFoundOnce) {
    for (const double degrees : {0.0, 12.0, 45.0, 90.0, 133.0, -90.0, -178.0, 225.0}) {
        SCOPED_TRACE(degrees);
        const qvVector<2> middle(44.3, 25.6);
        const auto image = filled(90, 50, 0.0);
        addRoundedRidge(image, middle, degrees, 200.0);
        const auto lines = extracted(image, extractionAlong(qvDegree(degrees), 80.0, 0.6));
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].angle, qvRadian(qvDegree(degrees)));
        const qvLine ridge(qvDegree(degrees), middle);
        for (const qvVector<2>& point : lines[0].points) EXPECT_LT(std::fabs(ridge.distToPoint(point)), 0.1);
        // From border to border, in the ridge's own direction.
        const auto nearBorder = [](const qvVector<2>& p) {
            return std::min({p.x(), p.y(), 90.0 - p.x(), 50.0 - p.y()}) < 2.8;
        };
        EXPECT_TRUE(nearBorder(lines[0].points.front()));
        EXPECT_TRUE(nearBorder(lines[0].points.back()));
        EXPECT_GT((lines[0].points.back() - lines[0].points.front()) * ridge.dir(), 45.0);
    }
}

TEST(SeedTracer, ParallelRidgesComeStrongestFirst) {
    const auto image = filled(120, 70, 0.0);
    const std::vector<std::pair<double, double>> ridges = {{15.2, 120.0}, {33.9, 255.0}, {52.4, 180.0}};
    for (const auto& [y, height] : ridges) addRoundedRidge(image, qvVector<2>(60.0, y), 3.0, height);
    const auto lines = extracted(image, extractionAlong(qvDegree(3.0), 80.0, 0.6));
    ASSERT_EQ(lines.size(), 3u);
    const double expected[] = {33.9, 52.4, 15.2};
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (const qvVector<2>& point : lines[i].points)
            EXPECT_LT(std::fabs(qvLine(qvDegree(3.0), qvVector<2>(60.0, expected[i])).distToPoint(point)), 0.1);
}

TEST(SeedTracer, SmallestAndLongestImages) {
    for (const auto& [width, height] :
         std::vector<std::pair<long, long>>{{1, 1}, {2, 2}, {3, 3}, {2, 5000}, {40000, 3}})
        for (const double degrees : {0.0, 90.0, 30.0}) {
            const auto image = filled(width, height, 9.0);
            for (long i = 0; i < width * height; i += 2) image.put(i % width, i / width, 255.0);
            EXPECT_TRUE(extracted(image, image, image, 3, extractionAlong(qvDegree(degrees), 1.0)).empty());
        }
    const auto ribbon = levelRidge(40000, 5, 2, 0, 39999);
    const auto lines = extracted(ribbon, extractionAlong(kRightwards));
    ASSERT_EQ(lines.size(), 0u);  // its one maximum is at the left border
    ribbon.put(100, 2, 120.0);
    ASSERT_EQ(extracted(ribbon, extractionAlong(kRightwards)).size(), 1u);
    EXPECT_EQ(extracted(ribbon, extractionAlong(kRightwards))[0].points.size(), 39999u);
    EXPECT_TRUE(extracted(qvPelBuffer_const<double>(), extractionAlong(kRightwards)).empty());
}

TEST(SeedTracer, PelsThatAreNoNumbersEndTraces) {
    const auto image = levelRidge(30, 9, 4, 3, 25);
    image.put(20, 4, kNan);
    // The plateau's first pel is the seed; samples that read column 20 are none.
    expectEnds(extracted(image, extractionAlong(kRightwards)), {{{3.0, 4.5}, {19.0, 4.5}}});
    EXPECT_TRUE(extracted(filled(30, 9, kNan), extractionAlong(kRightwards)).empty());
}
