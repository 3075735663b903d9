#include "qvstreet/platform/pel_ops.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <vector>

namespace {

using Image = qvPelBuffer<unsigned char>;
using View = qvPelBuffer_const<unsigned char>;
using Rows = std::vector<std::vector<int>>;

const qvXform<2> kClientFromImage(qvMatrix<2>(0.5, 0.25, 0.0, -2.0), qvVector<2>(7.0, 9.0));

/// The rows as a window with offset (100, 200), padded rows and pels of 255 all around it that no operation may see.
Image framed(const Rows& rows) {
    const auto height = static_cast<long>(rows.size());
    const auto width = static_cast<long>(rows[0].size());
    Image image(width + 5, height + 3, 32);
    qfPelSet<unsigned char>(image, 255);
    image.offset(98, 199);
    image.window(100, 200, width, height, false);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            image.put(x, y, static_cast<unsigned char>(rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]));
    image.clientFromImageXform(kClientFromImage);
    return image;
}

Rows rowsOf(const View& image) {
    Rows rows;
    for (long y = 0; y < image.height(); ++y)
        rows.emplace_back(image.pointToRow(y), image.pointToRow(y) + image.width());
    return rows;
}

/// Bound, but with nothing in view.
Image emptyView() {
    Image image = framed({{1, 2, 3}, {4, 5, 6}});
    image.window(0, 0, 0, 0, false);
    return image;
}

const Rows kRows = {{1, 2, 3}, {40, 50, 60}};

TEST(PelHistogram, CountsTheWindowAlone) {
    std::vector<unsigned long> counts(256, 0);
    qfPelHistogram(framed({{0, 7, 7, 255, 7}, {9, 0, 255, 255, 7}}), counts);
    EXPECT_EQ(counts[0], 2u);
    EXPECT_EQ(counts[7], 4u);
    EXPECT_EQ(counts[9], 1u);
    EXPECT_EQ(counts[255], 3u) << "not the frame around the window";
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0ul), 10u);
}

TEST(PelHistogram, AddsToTheCountsItIsGiven) {
    std::vector<unsigned long> counts(256, 1000);
    qfPelHistogram(framed({{5, 5, 6}}), counts);
    EXPECT_EQ(counts[5], 1002u);
    EXPECT_EQ(counts[6], 1001u);
    EXPECT_EQ(counts[7], 1000u);
}

TEST(PelHistogram, CountsEveryPelOfEveryRowLength) {
    for (const long width : {1, 2, 3, 4, 5, 7, 8, 9}) {
        Image image(width, 3, 32);
        qfPelSet<unsigned char>(image, 12);
        image.put(width - 1, 2, 13);
        std::vector<unsigned long> counts(256, 0);
        qfPelHistogram(image, counts);
        EXPECT_EQ(counts[12], static_cast<unsigned long>(3 * width - 1));
        EXPECT_EQ(counts[13], 1u);
    }
}

TEST(PelHistogram, OfAnEmptyViewAddsNothing) {
    std::vector<unsigned long> counts(256, 0);
    qfPelHistogram(emptyView(), counts);
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0ul), 0u);
}

TEST(PelHistogram, NeedsPelsAnd256Counts) {
    std::vector<unsigned long> counts(256, 0);
    EXPECT_THROW(qfPelHistogram(View(), counts), qvPel::UnboundWindow);
    std::vector<unsigned long> tooFew(255, 0);
    EXPECT_THROW(qfPelHistogram(framed(kRows), tooFew), qvPel::BadSize);
    std::vector<unsigned long> tooMany(257, 0);
    EXPECT_THROW(qfPelHistogram(framed(kRows), tooMany), qvPel::BadSize);
}

TEST(PelMap, ReplacesEachPelByItsEntry) {
    std::vector<unsigned char> table(256, 0);
    table[1] = 11;
    table[3] = 33;
    table[60] = 255;
    const Image source = framed(kRows);
    const Image result = qfPelMap(source, table);
    EXPECT_EQ(rowsOf(result), (Rows{{11, 0, 33}, {0, 0, 255}}));
    EXPECT_EQ(rowsOf(source), kRows);
}

TEST(PelMap, NeedsPelsAnd256Entries) {
    EXPECT_THROW(qfPelMap(View(), std::vector<unsigned char>(256)), qvPel::UnboundWindow);
    EXPECT_THROW(qfPelMap(framed(kRows), std::vector<unsigned char>(255)), qvPel::BadSize);
    EXPECT_THROW(qfPelMap(framed(kRows), std::vector<unsigned char>(257)), qvPel::BadSize);
}

TEST(PelMin, IsTheSmallestPelOfTheWindow) {
    EXPECT_EQ(qfPelMin(framed({{60, 50, 40}, {30, 20, 21}})), 20);
    EXPECT_EQ(qfPelMin(framed({{9, 50, 40}, {30, 20, 21}})), 9);
    Image image = framed({{9, 50, 40}, {30, 20, 21}});
    image.window(101, 200, 2, 2, false);
    EXPECT_EQ(qfPelMin(image), 20) << "the 9 is out of view";
}

TEST(PelMin, OfAnEmptyViewIs255AndOfNoneAnError) {
    EXPECT_EQ(qfPelMin(emptyView()), 255);
    EXPECT_THROW(qfPelMin(View()), qvPel::UnboundWindow);
}

TEST(PelCopy, IsIndependentOfItsSource) {
    const Image source = framed(kRows);
    const Image copy = qfPelCopy(source);
    source.put(0, 0, 99);
    copy.put(2, 1, 77);
    EXPECT_EQ(rowsOf(copy), (Rows{{1, 2, 3}, {40, 50, 77}}));
    EXPECT_EQ(rowsOf(source), (Rows{{99, 2, 3}, {40, 50, 60}}));
}

TEST(PelCopy, HoldsTheWindowAlone) {
    Image copy = qfPelCopy(framed(kRows));
    copy.setEntire();
    EXPECT_EQ(copy.window(), qvPelRect(100, 200, 3, 2));
}

TEST(PelCopy, TurnsAnImageStoredBottomUp) {
    const unsigned char memory[] = {4, 5, 6, 0, 1, 2, 3, 0};
    const Image copy = qfPelCopy(View(memory + 4, 3, 2, -4));
    EXPECT_EQ(rowsOf(copy), (Rows{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_GT(copy.rowUpdate(), 0);
}

TEST(PelCopy, TakesEveryPelType) {
    qvPelBuffer<double> source(3, 2, 32);
    qfPelSet(source, 0.5);
    source.put(2, 1, -1.25);
    source.window(1, 1, 2, 1, false);
    const qvPelBuffer<double> copy = qfPelCopy(source);
    EXPECT_EQ(copy.window(), qvPelRect(1, 1, 2, 1));
    EXPECT_EQ(copy.get(0, 0), 0.5);
    EXPECT_EQ(copy.get(1, 0), -1.25);
    EXPECT_THROW(qfPelCopy(qvPelBuffer_const<double>()), qvPel::UnboundWindow);
}

TEST(PelTranspose, ExchangesXAndY) {
    EXPECT_EQ(rowsOf(qfPelTranspose(framed(kRows))), (Rows{{1, 40}, {2, 50}, {3, 60}}));
}

TEST(PelTranspose, ExchangesTheOffset) { EXPECT_EQ(qfPelTranspose(framed(kRows)).window(), qvPelRect(200, 100, 2, 3)); }

TEST(PelTranspose, KeepsTheClientPositionOfEveryPel) {
    const Image source = framed(kRows);
    const Image result = qfPelTranspose(source);
    // The middle of the pel 60, in the image frames of both: (102.5, 201.5) and (201.5, 102.5).
    EXPECT_EQ(source.clientFromImageXform() * qvVector<2>(102.5, 201.5), qvVector<2>(108.625, -394.0));
    EXPECT_EQ(result.clientFromImageXform() * qvVector<2>(201.5, 102.5), qvVector<2>(108.625, -394.0));
    EXPECT_EQ(result.clientFromImageXform(), qvXform<2>(qvMatrix<2>(0.25, 0.5, -2.0, 0.0), qvVector<2>(7.0, 9.0)));
}

TEST(PelTranspose, TwiceGivesTheImageBack) {
    const Image source = framed(kRows);
    const Image twice = qfPelTranspose(qfPelTranspose(source));
    EXPECT_EQ(rowsOf(twice), kRows);
    EXPECT_EQ(twice.window(), source.window());
    EXPECT_EQ(twice.clientFromImageXform(), source.clientFromImageXform());
}

TEST(PelTranspose, ReachesEveryPelOfSizesAroundItsTiles) {
    for (const long width : {1, 31, 32, 33, 100})
        for (const long height : {1, 32, 65}) {
            const Image source(width, height, 32);
            for (long y = 0; y < height; ++y)
                for (long x = 0; x < width; ++x) source.put(x, y, static_cast<unsigned char>((7 * x + 13 * y) % 251));
            const Image result = qfPelTranspose(source);
            ASSERT_EQ(result.window(), qvPelRect(0, 0, height, width));
            for (long y = 0; y < height; ++y)
                for (long x = 0; x < width; ++x) ASSERT_EQ(result.get(y, x), (7 * x + 13 * y) % 251);
        }
}

TEST(PelInvert, Is255MinusEachPel) {
    EXPECT_EQ(rowsOf(qfPelInvert_U8(framed({{0, 1, 255}, {128, 127, 254}}))), (Rows{{255, 254, 0}, {127, 128, 1}}));
    EXPECT_THROW(qfPelInvert_U8(View()), qvPel::UnboundWindow);
}

TEST(PelOps, ResultsKeepOffsetAndTransformOfTheirSource) {
    const Image source = framed(kRows);
    for (const Image& result :
         {qfPelCopy(source), qfPelInvert_U8(source), qfPelMap(source, std::vector<unsigned char>(256, 3))}) {
        EXPECT_EQ(result.window(), qvPelRect(100, 200, 3, 2));
        EXPECT_EQ(result.clientFromImageXform(), kClientFromImage);
    }
}

TEST(PelOps, AnEmptyViewGivesAnEmptyView) {
    const Image source = emptyView();
    for (const Image& result : {qfPelCopy(source), qfPelInvert_U8(source), qfPelTranspose(source),
                                qfPelMap(source, std::vector<unsigned char>(256, 3))}) {
        EXPECT_TRUE(result.isBound());
        EXPECT_EQ(result.width(), 0);
        EXPECT_EQ(result.height(), 0);
    }
    qfPelSet<unsigned char>(source, 9);
    Image entire = source;
    entire.setEntire();
    EXPECT_EQ(entire.get(2, 1), 1) << "nothing was filled";
}

TEST(PelAdd, SaturatesForTwo) {
    Image destination;
    qfPelAdd(framed({{200, 200, 0}, {1, 255, 128}}), framed({{55, 56, 0}, {2, 255, 127}}), destination, 2);
    EXPECT_EQ(rowsOf(destination), (Rows{{255, 255, 0}, {3, 255, 255}}));
}

TEST(PelAdd, WrapsForZero) {
    Image destination;
    qfPelAdd(framed({{200, 200, 0}, {1, 255, 128}}), framed({{55, 56, 0}, {2, 255, 127}}), destination, 0);
    EXPECT_EQ(rowsOf(destination), (Rows{{255, 0, 0}, {3, 254, 255}}));
}

TEST(PelAdd, MayWriteIntoASourceAndLeavesItsFrameAlone) {
    Image image = framed(kRows);
    qfPelAdd(image, framed({{10, 20, 30}, {240, 230, 220}}), image, 2);
    EXPECT_EQ(rowsOf(image), (Rows{{11, 22, 33}, {255, 255, 255}}));
    image.setEntire();
    EXPECT_EQ(image.get(1, 1), 255);
    EXPECT_EQ(image.get(2, 1), 11);
    EXPECT_EQ(image.get(2, 0), 255);
}

TEST(PelAdd, ABoundDestinationKeepsItsOffsetAndTransform) {
    Image destination(3, 2, 32);
    destination.offset(-7, 8);
    qfPelAdd(framed(kRows), framed(kRows), destination, 2);
    EXPECT_EQ(destination.window(), qvPelRect(-7, 8, 3, 2));
    EXPECT_EQ(destination.clientFromImageXform(), qvXform<2>());
    EXPECT_EQ(rowsOf(destination), (Rows{{2, 4, 6}, {80, 100, 120}}));
}

TEST(PelAdd, AnUnboundDestinationTakesOffsetAndTransformOfTheFirst) {
    Image destination;
    qfPelAdd(framed(kRows), Image(qfPelCopy(View(framed(kRows)))), destination, 2);
    EXPECT_EQ(destination.window(), qvPelRect(100, 200, 3, 2));
    EXPECT_EQ(destination.clientFromImageXform(), kClientFromImage);
}

TEST(PelAdd, RefusesDifferentSizes) {
    const Image two = framed(kRows);
    const Image turned = qfPelTranspose(two);
    Image destination;
    EXPECT_THROW(qfPelAdd(two, turned, destination, 2), qvPel::SizeMismatch);
    EXPECT_FALSE(destination.isBound());
    EXPECT_THROW(qfPelAdd(two, framed({{1, 2, 3}}), destination, 2), qvPel::SizeMismatch);
    destination = qfPelCopy(turned);
    EXPECT_THROW(qfPelAdd(two, two, destination, 2), qvPel::SizeMismatch);
    EXPECT_EQ(rowsOf(destination), rowsOf(turned));
}

TEST(PelAdd, RefusesUnboundSourcesAndOtherModes) {
    Image destination;
    EXPECT_THROW(qfPelAdd(View(), framed(kRows), destination, 2), qvPel::UnboundWindow);
    EXPECT_THROW(qfPelAdd(framed(kRows), View(), destination, 2), qvPel::UnboundWindow);
    EXPECT_THROW(qfPelAdd(framed(kRows), framed(kRows), destination, 1), qvPel::BadSize);
    EXPECT_THROW(qfPelAdd(framed(kRows), framed(kRows), destination, 3), qvPel::BadSize);
}

TEST(PelSet, FillsTheWindowAlone) {
    Image image = framed(kRows);
    qfPelSet<unsigned char>(image, 9);
    EXPECT_EQ(rowsOf(image), (Rows{{9, 9, 9}, {9, 9, 9}}));
    image.setEntire();
    EXPECT_EQ(image.get(1, 1), 255);
    EXPECT_EQ(image.get(5, 1), 255);
    EXPECT_EQ(image.get(2, 0), 255);
    EXPECT_EQ(image.get(4, 3), 255);
    EXPECT_EQ(image.get(4, 2), 9);
}

TEST(PelSet, TakesDoublesAndRefusesNoPels) {
    const qvPelBuffer<double> responses(4, 3, 32);
    qfPelSet(responses, -2.5);
    EXPECT_EQ(responses.get(3, 2), -2.5);
    EXPECT_THROW(qfPelSet(qvPelBuffer<double>(), 1.0), qvPel::UnboundWindow);
}

TEST(PelOps, ThePaintedWindowIsRestoredBySetEntire) {
    // How the search paints out a place: narrow with clipping, fill, show everything again.
    Image image(6, 4, 32);
    qfPelSet<unsigned char>(image, 10);
    EXPECT_TRUE(image.window(qvPelRect(-2, 2, 5, 9), true));
    qfPelSet<unsigned char>(image, 255);
    image.setEntire();
    EXPECT_EQ(rowsOf(image), (Rows{{10, 10, 10, 10, 10, 10},
                                   {10, 10, 10, 10, 10, 10},
                                   {255, 255, 255, 10, 10, 10},
                                   {255, 255, 255, 10, 10, 10}}));
}

}  // namespace
