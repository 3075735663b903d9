// What a blank region run records, stage by stage.
#include "qvstreet/blankregion/blank_region_diagnostics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/text.h"
#include "tests/blankregion/toned_strip.h"
#include "tests/support/noise_image.h"

// A street 12 pels wide and a least length of 15 give an analysis window of 15 by 9 and a least area of 180 pels. A blank
// stretch [a, b) of a strip that is the same in every row gives the coarse region [a, b) and the result [a + 1, b).

namespace {

using qvtest::Stretch;
using qvtest::tonedStrip;
using Params = qvStreetBlankRegionFinderParams;
using Defs = qvStreetBlankRegionFinderDefs;
using ResultSet = qvStreetBlankRegionFinderResultSet;
using Image = qvPelBuffer<unsigned char>;
using Lines = std::vector<std::wstring>;

constexpr std::uint32_t kEverything = 0x70000;

/// Weights of 1 but for one grey level.
Params paramsOf(long numResults = 10, std::size_t level = 0, double weight = 1.0,
                Defs::streetDirection direction = Defs::eHorizontal) {
    std::vector<double> weights(256, 1.0);
    weights[level] = weight;
    return Params(12, 15, numResults, weights, direction);
}

qvDiagObject recordsOf(const qvPelBuffer_const<unsigned char>& image, const Params& params = paramsOf(),
                       std::uint32_t flags = kEverything) {
    qvDiagObject records;
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, params, found, &records, flags);
    return records;
}

std::wstring colorName(const qvColor& color) {
    if (color == qvColor::greenColor) return L"green";
    if (color == qvColor::dkGreenColor) return L"dark green";
    if (color == qvColor::yellowColor) return L"yellow";
    return L"another colour";
}

std::wstring pointText(const qvVector<2>& point) { return qfStr(point.x()) + L" " + qfStr(point.y()); }

std::wstring lineOf(const qvDiagEntry& entry) {
    if (entry.kind == qvDiagEntry::eText) return L"  text " + entry.label + L": " + entry.text;
    if (entry.kind != qvDiagEntry::eGraphics) return L"  something else";
    std::wstring line = L"  graphics " + entry.label + L" in " + qfStr(static_cast<int>(entry.coordinateSystem));
    for (const qvShape& shape : entry.sketch.shapes())
        line += L": " + std::wstring(shape.isFilled ? L"filled " : L"") + colorName(shape.color) +
                (shape.kind == qvShape::eRect ? L" " : L" no rectangle ") + pointText(shape.p1) + L" by " +
                pointText(shape.p2);
    return line;
}

/// The titles of the records, each followed by its entries.
Lines linesOf(const qvDiagObject& records) {
    Lines lines;
    for (long i = 0; i < records.numRecords(); ++i) {
        lines.push_back(records.diagRecord(i).recordAnnotation());
        for (const qvDiagEntry& entry : records.diagRecord(i).entries()) lines.push_back(lineOf(entry));
    }
    return lines;
}

Lines titlesOf(const qvDiagObject& records) {
    Lines titles;
    for (long i = 0; i < records.numRecords(); ++i) titles.push_back(records.diagRecord(i).recordAnnotation());
    return titles;
}

void expectShows(const qvDiagRecord& record, const qvPelBuffer_const<unsigned char>& image) {
    EXPECT_EQ(qvtest::rowsOf(record.image()), qvtest::rowsOf(image));
    EXPECT_EQ(record.image().offset(), image.offset());
    EXPECT_EQ(record.image().clientFromImageXform(), image.clientFromImageXform());
}

TEST(BlankRegionDiagnostics, RunWithResultsRecordsEveryPassAndTheResultsBestFirst) {
    // The longer stretch is found first, but its grey level counts a quarter. Sizes: 89 by 20 and 49 by 20, so that the
    // scores are (1 - 0.9 * 180 / 1780) / 4 and 1 - 0.9 * 180 / 980.
    const qvDiagObject records = recordsOf(tonedStrip(300, 20, {{20, 70}, {80, 170, 140}}), paramsOf(10, 140, 0.25));
    EXPECT_EQ(linesOf(records), (Lines{L"Input Image", L"Foreground", L"Regional Deviation", L"  text Threshold: 22",
                                       L"Coarse Region", L"  graphics Coarse Region in 1: green 80 0 by 90 20",
                                       L"Result Candidate", L"  graphics Found Region in 1: yellow 81 0 by 89 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.2272", L"Coarse Region",
                                       L"  graphics Coarse Region in 1: green 20 0 by 50 20", L"Result Candidate",
                                       L"  graphics Found Region in 1: yellow 21 0 by 49 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.8347", L"Results",
                                       L"  graphics Found Region in 1: green 21 0 by 49 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.8347",
                                       L"  graphics Found Region in 1: dark green 81 0 by 89 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.2272"}));
}

// Structure all along gives 255 everywhere, and a threshold of twice that in 8 bits.
TEST(BlankRegionDiagnostics, RunWithoutResultsHasOneResultsRecordThatSaysSo) {
    EXPECT_EQ(linesOf(recordsOf(tonedStrip(300, 20, {}))),
              (Lines{L"Input Image", L"Foreground", L"Regional Deviation", L"  text Threshold: 254", L"Results",
                     L"  text No region found: No region found"}));
}

TEST(BlankRegionDiagnostics, ScoreOfZeroShowsAsRejected) {
    // 1 - 0.9 * 180 / (69 * 20) is 0.8826.
    const qvDiagObject records = recordsOf(tonedStrip(300, 20, {{20, 70, 140}, {185, 255}}), paramsOf(10, 140, 0.0));
    EXPECT_EQ(linesOf(records), (Lines{L"Input Image", L"Foreground", L"Regional Deviation", L"  text Threshold: 22",
                                       L"Coarse Region", L"  graphics Coarse Region in 1: green 185 0 by 70 20",
                                       L"Result Candidate", L"  graphics Found Region in 1: yellow 186 0 by 69 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.8826", L"Coarse Region",
                                       L"  graphics Coarse Region in 1: green 20 0 by 50 20", L"Result Candidate",
                                       L"  text Region rejected: Region rejected",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.0000", L"Results",
                                       L"  graphics Found Region in 1: green 186 0 by 69 20",
                                       L"  text Score: Blankness Score = 1.0000\nScore = 0.8826"}));
}

TEST(BlankRegionDiagnostics, NegativeScoreShowsAsFoundThoughTheRunDoesNotReturnIt) {
    // 16 by 9 pels: 1 - 0.9 * 180 / 144.
    EXPECT_EQ(linesOf(recordsOf(tonedStrip(100, 9, {{40, 57}}))),
              (Lines{L"Input Image", L"Foreground", L"Regional Deviation", L"  text Threshold: 22", L"Coarse Region",
                     L"  graphics Coarse Region in 1: green 40 0 by 17 9", L"Result Candidate",
                     L"  graphics Found Region in 1: yellow 41 0 by 16 9",
                     L"  text Score: Blankness Score = 1.0000\nScore = -0.1250", L"Results",
                     L"  text No region found: No region found"}));
}

TEST(BlankRegionDiagnostics, RegionThatComesOutTooShortIsRejectedWithBlanknessZero) {
    // A stretch of 15: the left end moves in and leaves 14.
    const Lines lines = linesOf(recordsOf(tonedStrip(100, 20, {{40, 55}})));
    ASSERT_EQ(lines.size(), 11u);
    EXPECT_EQ(lines[6], L"Result Candidate");
    EXPECT_EQ(lines[7], L"  text Region rejected: Region rejected");
    EXPECT_EQ(lines[8], L"  text Score: Blankness Score = 0.0000\nScore = 0.0000");
}

TEST(BlankRegionDiagnostics, PassesEndWithTheWantedNumberOfResults) {
    const Image image = tonedStrip(300, 20, {{20, 70}, {80, 170}, {185, 255}});
    EXPECT_EQ(titlesOf(recordsOf(image, paramsOf(1))), (Lines{L"Input Image", L"Foreground", L"Regional Deviation",
                                                              L"Coarse Region", L"Result Candidate", L"Results"}));
    EXPECT_EQ(recordsOf(image, paramsOf(3)).numRecords(), 10);
}

TEST(BlankRegionDiagnostics, ThresholdIsTwiceTheLowestDeviationWhereThatIsMore) {
    // Columns of 94 and 106 in turn: deviation 0.8 * 6 over an even number of columns, a little less over 15; the stored
    // pel is 47, and twice that the threshold.
    Image image(60, 20, 32);
    for (long y = 0; y < 20; ++y)
        for (long x = 0; x < 60; ++x) image.put(x, y, static_cast<unsigned char>(x % 2 == 0 ? 94 : 106));
    EXPECT_EQ(linesOf(recordsOf(image))[3], L"  text Threshold: 94");
}

TEST(BlankRegionDiagnostics, InputRecordHasTheImageWithItsOffsetAndClientTransform) {
    Image image = tonedStrip(100, 20, {{40, 80}});
    image.offset(-30, 17);
    image.clientFromImageXform(qv2XformLinear(qvMatrix<2>(0.0, -2.0, 3.0, 0.5), qvVector<2>(7.0, -8.0)));
    expectShows(recordsOf(image).diagRecord(0), image);
}

TEST(BlankRegionDiagnostics, DerivedImagesAreRecordedInTheirOwnFrames) {
    Image image = tonedStrip(100, 20, {{40, 80}});
    image.offset(-30, 17);
    image.clientFromImageXform(qv2XformLinear(qvMatrix<2>(2.0, 0.0, 0.0, 3.0), qvVector<2>(7.0, -8.0)));
    const qvDiagObject records = recordsOf(image);
    const qvPelBuffer_const<unsigned char>& foreground = records.diagRecord(1).image();
    EXPECT_EQ(foreground.window(), qvPelRect(-30, 17, 100, 20));
    EXPECT_EQ(foreground.clientFromImageXform(), qvXform<2>());
    EXPECT_EQ(foreground.get(60, 10), 0);
    // 86 by 12 positions of a window of 15 by 9.
    const qvPelBuffer_const<unsigned char>& deviation = records.diagRecord(2).image();
    EXPECT_EQ(deviation.window(), qvPelRect(0, 0, 86, 12));
    EXPECT_EQ(deviation.get(50, 5), 0);
    EXPECT_GT(deviation.get(10, 5), 22);
}

TEST(BlankRegionDiagnostics, RectanglesOfAnImageWithAnOffsetIncludeIt) {
    Image image = tonedStrip(300, 20, {{80, 170}});
    image.offset(1000, -70);
    const Lines lines = linesOf(recordsOf(image));
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines[5], L"  graphics Coarse Region in 1: green 1080 -70 by 90 20");
    EXPECT_EQ(lines[7], L"  graphics Found Region in 1: yellow 1081 -70 by 89 20");
    EXPECT_EQ(lines[10], L"  graphics Found Region in 1: green 1081 -70 by 89 20");
}

TEST(BlankRegionDiagnostics, VerticalStreetShowsTheCoarseRegionOnTheTransposedImageAndTheRestOnTheCallers) {
    Image image = qfPelTranspose(tonedStrip(200, 24, {{50, 150}}));
    image.offset(-400, 30);
    const qvDiagObject records = recordsOf(image, paramsOf(10, 0, 1.0, Defs::eVertical));
    const Lines lines = linesOf(records);
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines[5], L"  graphics Coarse Region in 1: green 80 -400 by 100 24");
    EXPECT_EQ(lines[7], L"  graphics Found Region in 1: yellow -400 81 by 24 99");
    EXPECT_EQ(lines[10], L"  graphics Found Region in 1: green -400 81 by 24 99");
    ASSERT_EQ(records.numRecords(), 6);
    EXPECT_EQ(records.diagRecord(1).image().window(), qvPelRect(30, -400, 200, 24));
    expectShows(records.diagRecord(0), image);
    expectShows(records.diagRecord(3), qfPelTranspose(image));
    expectShows(records.diagRecord(4), image);
    expectShows(records.diagRecord(5), image);
}

TEST(BlankRegionDiagnostics, ForegroundIsRecordedBeforeTheMaskIsAdded) {
    const Image image = tonedStrip(300, 20, {{80, 170}});
    Image mask(300, 20, 32);
    qfPelSet(mask, static_cast<unsigned char>(255));
    for (long y = 0; y < 20; ++y)
        for (long x = 75; x < 90; ++x) mask.put(x, y, 0);
    qvDiagObject records;
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, mask, paramsOf(), found, &records, kEverything);
    ASSERT_EQ(found.numResults(), 1);
    EXPECT_EQ(found.results()[0].blankRect().ul().first, 91);
    expectShows(records.diagRecord(1), recordsOf(image).diagRecord(1).image());
    EXPECT_EQ(records.diagRecord(1).image().get(85, 10), 0);
    EXPECT_EQ(linesOf(records)[7], L"  graphics Found Region in 1: yellow 91 0 by 79 20");
}

TEST(BlankRegionDiagnostics, FlagsOfOneStageRecordThatStageAlone) {
    const Image image = tonedStrip(100, 20, {{40, 80}});
    EXPECT_EQ(titlesOf(recordsOf(image, paramsOf(), 0x10000)), (Lines{L"Input Image"}));
    EXPECT_EQ(linesOf(recordsOf(image, paramsOf(), 0x20000)),
              (Lines{L"Results", L"  graphics Found Region in 1: green 41 0 by 39 20",
                     L"  text Score: Blankness Score = 1.0000\nScore = 0.7923"}));
    EXPECT_EQ(titlesOf(recordsOf(image, paramsOf(), 0x40000)),
              (Lines{L"Foreground", L"Regional Deviation", L"Coarse Region", L"Result Candidate"}));
}

TEST(BlankRegionDiagnostics, FlagsOfNoStageRecordNothing) {
    const Image image = tonedStrip(100, 20, {{40, 80}});
    EXPECT_EQ(recordsOf(image, paramsOf(), 0).numRecords(), 0);
    EXPECT_EQ(recordsOf(image, paramsOf(), 0xFFF8FFFF).numRecords(), 0);
}

TEST(BlankRegionDiagnostics, NullObjectIsAllowedWithAnyFlags) {
    ResultSet found;
    qfStreetBlankRegionFinderRun(tonedStrip(100, 20, {{40, 80}}), paramsOf(), found, nullptr, 0xFFFFFFFF);
    EXPECT_EQ(found.numResults(), 1);
}

TEST(BlankRegionDiagnostics, RunsAppendToWhatTheObjectHas) {
    qvDiagObject records;
    records.newDiagRecord().recordAnnotation(L"Of the host");
    ResultSet found;
    for (int run = 0; run < 2; ++run)
        qfStreetBlankRegionFinderRun(tonedStrip(300, 20, {}), paramsOf(), found, &records, kEverything);
    EXPECT_EQ(linesOf(records), (Lines{L"Of the host", L"Input Image", L"Foreground", L"Regional Deviation",
                                       L"  text Threshold: 254", L"Results", L"  text No region found: No region found",
                                       L"Input Image", L"Foreground", L"Regional Deviation", L"  text Threshold: 254",
                                       L"Results", L"  text No region found: No region found"}));
}

TEST(BlankRegionDiagnostics, RecordsKeepTheImageOfTheRun) {
    Image image = tonedStrip(100, 20, {{40, 80}});
    const Image before = qfPelCopy<unsigned char>(image);
    const qvDiagObject records = recordsOf(image);
    qfPelSet(image, static_cast<unsigned char>(7));
    for (const long index : {0L, 3L, 4L, 5L}) expectShows(records.diagRecord(index), before);
}

TEST(BlankRegionDiagnostics, RefusedRunLeavesTheRecordsThatItHadComeTo) {
    const Image image = tonedStrip(100, 20, {{40, 80}});
    Image greyMask(100, 20, 32);
    qfPelSet(greyMask, static_cast<unsigned char>(254));
    Image otherMask(99, 20, 32);
    qfPelSet(otherMask, static_cast<unsigned char>(255));
    ResultSet found;
    qvDiagObject records;
    EXPECT_THROW(qfStreetBlankRegionFinderRun(image, otherMask, paramsOf(), found, &records, kEverything),
                 Defs::BadParams);
    EXPECT_EQ(records.numRecords(), 0);
    EXPECT_THROW(qfStreetBlankRegionFinderRun(image, greyMask, paramsOf(), found, &records, kEverything),
                 Defs::BadParams);
    EXPECT_EQ(titlesOf(records), (Lines{L"Input Image", L"Foreground"}));
}

TEST(BlankRegionDiagnostics, ImagesThatAreShownOverAndOverAreCopiedOnce) {
    const qvDiagObject records = recordsOf(tonedStrip(100, 20, {{40, 80}}));
    ASSERT_EQ(records.numRecords(), 6);
    const unsigned char* const pels = records.diagRecord(0).image().pointToOffset();
    for (const long index : {3L, 4L, 5L}) EXPECT_EQ(records.diagRecord(index).image().pointToOffset(), pels);
    EXPECT_NE(records.diagRecord(1).image().pointToOffset(), pels);
}

/// A strip with random blank stretches, noise and frame.
Image randomStrip(qvtest::Noise& noise) {
    const long width = noise.whole(60, 200);
    const long height = noise.whole(10, 40);
    std::vector<Stretch> stretches;
    for (long x = noise.whole(0, 30); x < width; x += noise.whole(20, 60)) {
        const long end = std::min(width, x + noise.whole(10, 80));
        stretches.push_back({x, end, static_cast<unsigned char>(noise.whole(90, 150))});
        x = end;
    }
    Image image = tonedStrip(width, height, stretches);
    const long amplitude = noise.whole(0, 5);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            image.put(x, y, static_cast<unsigned char>(image.get(x, y) + noise.whole(-amplitude, amplitude)));
    image.offset(noise.whole(-500, 500), noise.whole(-500, 500));
    return image;
}

TEST(BlankRegionDiagnostics, RecordingChangesNoResult) {
    qvtest::Noise noise(5);
    long regions = 0;
    for (int i = 0; i < 120; ++i) {
        const bool isVertical = noise.whole(0, 1) == 1;
        Image image = randomStrip(noise);
        if (isVertical) image = qfPelTranspose(image);
        const Params params =
            paramsOf(noise.whole(1, 4), 120, noise.real(0.0, 1.0), isVertical ? Defs::eVertical : Defs::eHorizontal);
        qvDiagObject records;
        ResultSet with;
        ResultSet without;
        qfStreetBlankRegionFinderRun(image, params, without, nullptr, 0);
        qfStreetBlankRegionFinderRun(image, params, with, &records, kEverything);
        ASSERT_EQ(with.numResults(), without.numResults()) << i;
        for (std::size_t r = 0; r < with.results().size(); ++r) {
            EXPECT_EQ(with.results()[r].score(), without.results()[r].score()) << i;
            EXPECT_EQ(with.results()[r].blanknessScore(), without.results()[r].blanknessScore()) << i;
            EXPECT_EQ(with.results()[r].blankRect(), without.results()[r].blankRect()) << i;
        }
        EXPECT_GE(records.numRecords(), 4);
        regions += with.numResults();
    }
    EXPECT_GT(regions, 100);
}

TEST(BlankRegionRecorder, CaliperIsToldOfIntermediateStages) {
    qvDiagObject records;
    EXPECT_EQ(qv_BlankRegionRecorder(&records, 0x40000).caliperFlags(), 0x120000u);
    EXPECT_EQ(qv_BlankRegionRecorder(&records, 0x70000).caliperFlags(), 0x120000u);
    EXPECT_EQ(qv_BlankRegionRecorder(&records, 0x30000).caliperFlags(), 0u);
}

}  // namespace
