#include "qvstreet/blankregion/blank_region_finder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "qvstreet/platform/pel_ops.h"
#include "tests/blankregion/toned_strip.h"

// A street 12 pels wide and a least length of 15 give an analysis window of 15 by 9 and a least area of 180 pels. In a
// strip whose structure is the same in every row, a blank stretch [a, b) comes back as columns [a + 1, b), since the left
// end moves in by one pel. Where the window has at least 10 positions in it, the region grows to the whole height;
// otherwise it keeps its 12 rows about the middle.

namespace {

using qvtest::Stretch;
using qvtest::tonedStrip;
using Params = qvStreetBlankRegionFinderParams;
using Defs = qvStreetBlankRegionFinderDefs;
using ResultSet = qvStreetBlankRegionFinderResultSet;
using Image = qvPelBuffer<unsigned char>;

/// Blank lengths of 50, 90 and 70.
Image threeStretches() { return tonedStrip(300, 20, {{20, 70}, {80, 170}, {185, 255}}); }

Image flatImage(long width, long height, unsigned char level) {
    Image image(width, height, 32);
    qfPelSet(image, level);
    return image;
}

/// 255 but for columns [begin, end) of 0.
Image maskWithout(long width, long height, long begin, long end) {
    Image mask = flatImage(width, height, 255);
    for (long y = 0; y < height; ++y)
        for (long x = begin; x < end; ++x) mask.put(x, y, 0);
    return mask;
}

std::vector<double> ones() { return std::vector<double>(256, 1.0); }

Params paramsOf(long numResults = 10, const std::vector<double>& weights = ones(),
                Defs::streetDirection direction = Defs::eHorizontal) {
    return Params(12, 15, numResults, weights, direction);
}
Params vertical(long numResults = 10) { return paramsOf(numResults, ones(), Defs::eVertical); }

ResultSet find(const qvPelBuffer_const<unsigned char>& image, const Params& params = paramsOf()) {
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, params, found, nullptr, 0);
    return found;
}
ResultSet findMasked(const qvPelBuffer_const<unsigned char>& image, const qvPelBuffer_const<unsigned char>& mask,
                     const Params& params = paramsOf()) {
    ResultSet found;
    qfStreetBlankRegionFinderRun(image, mask, params, found, nullptr, 0);
    return found;
}

std::vector<qvPelRect> rects(const ResultSet& found) {
    std::vector<qvPelRect> list;
    for (const qvStreetBlankRegionFinderResult& result : found.results()) list.push_back(result.blankRect());
    return list;
}
using Rects = std::vector<qvPelRect>;

/// Score of a perfectly blank region under weights of 1.
double sizeFactor(double area) { return 1.0 - 0.9 * (180.0 / area); }

/// A result set that cannot come from a run.
ResultSet former() {
    qvStreetBlankRegionFinderResult result;
    result.init(7.0, 5.0, qvPelRect(1, 2, 3, 4));
    ResultSet set;
    set.init({result}, 11.0);
    return set;
}

template <class Run>
std::wstring messageOfBadParams(const Run& run) {
    try {
        run();
    } catch (const Defs::BadParams& error) {
        return error.message();
    }
    return L"nothing thrown";
}

TEST(BlankRegionFinder, FindsTheBlankStretchesBestScoreFirst) {
    const ResultSet found = find(threeStretches());
    EXPECT_EQ(rects(found), (Rects{{81, 0, 89, 20}, {186, 0, 69, 20}, {21, 0, 49, 20}}));
    ASSERT_EQ(found.numResults(), 3);
    EXPECT_EQ(found.results()[0].score(), sizeFactor(89.0 * 20.0));
    EXPECT_EQ(found.results()[1].score(), sizeFactor(69.0 * 20.0));
    EXPECT_EQ(found.results()[2].score(), sizeFactor(49.0 * 20.0));
    for (const qvStreetBlankRegionFinderResult& result : found.results()) EXPECT_EQ(result.blanknessScore(), 1.0);
    EXPECT_TRUE(found.isFound());
    EXPECT_TRUE(std::isfinite(found.time()));
    EXPECT_GE(found.time(), 0.0);
}

TEST(BlankRegionFinder, ReturnsAtMostNumResultsLongestFirst) {
    EXPECT_EQ(rects(find(threeStretches(), paramsOf(1))), (Rects{{81, 0, 89, 20}}));
    EXPECT_EQ(rects(find(threeStretches(), paramsOf(2))), (Rects{{81, 0, 89, 20}, {186, 0, 69, 20}}));
    EXPECT_EQ(rects(find(threeStretches(), paramsOf(3))).size(), 3u);
    EXPECT_EQ(rects(find(threeStretches(), paramsOf(2147483647))).size(), 3u);
}

TEST(BlankRegionFinder, EquallyLongStretchesComeLeftmostFirst) {
    const Image image = tonedStrip(300, 20, {{20, 70}, {90, 140}, {160, 210}});
    EXPECT_EQ(rects(find(image)), (Rects{{21, 0, 49, 20}, {91, 0, 49, 20}, {161, 0, 49, 20}}));
    EXPECT_EQ(rects(find(image, paramsOf(1))), (Rects{{21, 0, 49, 20}}));
}

TEST(BlankRegionFinder, SortsByScoreNotByLength) {
    std::vector<double> weights = ones();
    weights[140] = 0.25;
    const ResultSet found = find(tonedStrip(300, 20, {{20, 70}, {80, 170, 140}}), paramsOf(10, weights));
    EXPECT_EQ(rects(found), (Rects{{21, 0, 49, 20}, {81, 0, 89, 20}}));
    ASSERT_EQ(found.numResults(), 2);
    EXPECT_EQ(found.results()[1].score(), sizeFactor(89.0 * 20.0) * 0.25);
    EXPECT_EQ(found.results()[1].blanknessScore(), 1.0);
}

TEST(BlankRegionFinder, UniformImageIsOneRegionWhoseLeftEndMovesInByOnePel) {
    for (const int level : {0, 1, 100, 128, 254, 255}) {
        const ResultSet found = find(flatImage(60, 20, static_cast<unsigned char>(level)));
        EXPECT_EQ(rects(found), (Rects{{1, 0, 59, 20}})) << level;
        ASSERT_EQ(found.numResults(), 1);
        EXPECT_EQ(found.results()[0].score(), sizeFactor(59.0 * 20.0));
        EXPECT_EQ(found.results()[0].blanknessScore(), 1.0);
    }
}

TEST(BlankRegionFinder, StructureAllAlongGivesAnEmptySetWithATime) {
    ResultSet found = former();
    qfStreetBlankRegionFinderRun(tonedStrip(300, 20, {}), paramsOf(), found, nullptr, 0);
    EXPECT_FALSE(found.isFound());
    EXPECT_EQ(found.numResults(), 0);
    EXPECT_NE(found.time(), 11.0);
    EXPECT_GE(found.time(), 0.0);
}

TEST(BlankRegionFinder, StretchShorterThanTheLeastLengthIsNotFound) {
    EXPECT_EQ(rects(find(tonedStrip(100, 20, {{40, 54}}))), Rects());
    // Found, but the left end moves in and leaves 14.
    EXPECT_EQ(rects(find(tonedStrip(100, 20, {{40, 55}}))), Rects());
    EXPECT_EQ(rects(find(tonedStrip(100, 20, {{40, 56}}))), (Rects{{41, 4, 15, 12}}));
}

TEST(BlankRegionFinder, RegionIsLimitedToTheRowsThatAreBlank) {
    // Blank in rows 10 .. 29 of 40 only.
    Image image = tonedStrip(200, 40, {});
    for (long y = 10; y < 30; ++y)
        for (long x = 50; x < 150; ++x) image.put(x, y, 100);
    EXPECT_EQ(rects(find(image)), (Rects{{51, 10, 99, 20}}));
}

// Blank rows 4 .. 12 of 21: the window of 9 rows that lies evenly about the middle row, 10, is loud.
TEST(BlankRegionFinder, StreetIsLookedForAlongTheMiddleOnly) {
    Image image = tonedStrip(200, 21, {});
    for (long y = 4; y < 13; ++y)
        for (long x = 50; x < 150; ++x) image.put(x, y, 100);
    EXPECT_FALSE(find(image).isFound());
}

TEST(BlankRegionFinder, NegativeScoreIsDropped) {
    // 16 by 9 pels are less than nine tenths of 180.
    EXPECT_FALSE(find(tonedStrip(100, 9, {{40, 57}})).isFound());
    const ResultSet found = find(tonedStrip(100, 9, {{40, 60}}));
    EXPECT_EQ(rects(found), (Rects{{41, 0, 19, 9}}));
    ASSERT_EQ(found.numResults(), 1);
    EXPECT_EQ(found.results()[0].score(), sizeFactor(171.0));
}

TEST(BlankRegionFinder, DroppedRegionIsPaintedOutAndDoesNotCount) {
    std::vector<double> weights = ones();
    weights[140] = 0.0;
    const Image image = tonedStrip(400, 20, {{20, 70}, {80, 170, 140}, {185, 255}, {270, 320}});
    EXPECT_EQ(rects(find(image, paramsOf(3, weights))), (Rects{{186, 0, 69, 20}, {21, 0, 49, 20}, {271, 0, 49, 20}}));
    EXPECT_EQ(rects(find(image, paramsOf(1, weights))), (Rects{{186, 0, 69, 20}}));
}

TEST(BlankRegionFinder, WeightsOfAllZerosGiveNothing) {
    EXPECT_FALSE(find(threeStretches(), paramsOf(10, std::vector<double>(256, 0.0))).isFound());
    EXPECT_FALSE(find(flatImage(60, 20, 100), paramsOf(1, std::vector<double>(256, 0.0))).isFound());
}

// The first region's positions are 0 .. 45; 15 more are painted out on the right, 46 .. 60. The second's are 70 .. 75.
TEST(BlankRegionFinder, PaintingOutIsCutShortAtTheLeftBorder) {
    EXPECT_EQ(rects(find(tonedStrip(150, 20, {{0, 60}, {70, 90}}))), (Rects{{1, 0, 59, 20}, {71, 4, 19, 12}}));
}

// A speck of 7 columns in row 3 cuts the coarse region, positions 20 .. 105, to 20 .. 98 on its way up. The 7 positions
// that are left would make a region of their own.
TEST(BlankRegionFinder, PaintingOutTakesAWindowsLengthBeyondTheCoarseRegion) {
    Image image = tonedStrip(160, 30, {{20, 120}});
    for (long x = 113; x < 120; ++x) image.put(x, 3, 20);
    EXPECT_EQ(rects(find(image)), (Rects{{21, 0, 92, 30}}));
}

TEST(BlankRegionFinder, NoisyRegionScoresByItsDeviation) {
    // 100 plus and minus 3 column by column: deviation 0.8 * 3 = 2.4, blankness 0.9; positions at 24 need a threshold
    // of at least that, which twice the lowest pel gives. The foreground of the stretch is 0 and 6 in turn, which pulls
    // the left edge from 100 to 99.96.
    Image image = tonedStrip(300, 20, {{100, 200}});
    for (long y = 0; y < 20; ++y)
        for (long x = 100; x < 200; ++x) image.put(x, y, static_cast<unsigned char>(x % 2 == 0 ? 97 : 103));
    const ResultSet found = find(image);
    ASSERT_EQ(found.numResults(), 1);
    EXPECT_EQ(found.results()[0].blankRect(), qvPelRect(100, 0, 100, 20));
    EXPECT_NEAR(found.results()[0].blanknessScore(), 0.9, 1e-3);
    EXPECT_EQ(found.results()[0].score(), found.results()[0].blanknessScore() * sizeFactor(100.0 * 20.0));
}

TEST(BlankRegionFinder, VerticalStreetGivesTheTransposedAnswer) {
    const ResultSet horizontal = find(threeStretches());
    const ResultSet found = find(qfPelTranspose(threeStretches()), vertical());
    EXPECT_EQ(rects(found), (Rects{{0, 81, 20, 89}, {0, 186, 20, 69}, {0, 21, 20, 49}}));
    ASSERT_EQ(found.numResults(), 3);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(found.results()[i].score(), horizontal.results()[i].score());
}

TEST(BlankRegionFinder, DirectionDecidesWhichWayTheStreetRuns) {
    // Blank columns 30 .. 69 of a square: a street along the columns is blank from end to end.
    const Image image = tonedStrip(100, 100, {{30, 70}});
    EXPECT_EQ(rects(find(image)), (Rects{{31, 0, 39, 100}}));
    EXPECT_EQ(rects(find(image, vertical())), (Rects{{30, 1, 40, 99}}));
}

TEST(BlankRegionFinder, OffsetShiftsTheAnswerExactly) {
    Image image = threeStretches();
    image.offset(1000, -70);
    EXPECT_EQ(rects(find(image)), (Rects{{1081, -70, 89, 20}, {1186, -70, 69, 20}, {1021, -70, 49, 20}}));
    Image upright = qfPelTranspose(threeStretches());
    upright.offset(-400, 30);
    EXPECT_EQ(rects(find(upright, vertical())), (Rects{{-400, 111, 20, 89}, {-400, 216, 20, 69}, {-400, 51, 20, 49}}));
}

TEST(BlankRegionFinder, OffsetChangesNoScore) {
    const ResultSet plain = find(threeStretches());
    Image image = threeStretches();
    image.offset(7, 5);
    const ResultSet found = find(image);
    ASSERT_EQ(found.numResults(), 3);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(found.results()[i].score(), plain.results()[i].score());
        EXPECT_EQ(found.results()[i].blanknessScore(), plain.results()[i].blanknessScore());
    }
}

TEST(BlankRegionFinder, WindowOfALargerImageIsSearchedAlone) {
    Image whole = flatImage(350, 60, 77);
    const Image part = threeStretches();
    for (long y = 0; y < 20; ++y)
        for (long x = 0; x < 300; ++x) whole.put(x + 31, y + 17, part.get(x, y));
    qvPelBuffer_const<unsigned char> view = whole;
    view.window(31, 17, 300, 20, false);
    EXPECT_EQ(rects(find(view)), (Rects{{112, 17, 89, 20}, {217, 17, 69, 20}, {52, 17, 49, 20}}));
    EXPECT_EQ(view.window(), qvPelRect(31, 17, 300, 20));
}

TEST(BlankRegionFinder, ClientTransformPlaysNoPart) {
    Image image = threeStretches();
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.0, -0.5, 0.25, 0.0), qvVector<2>(900.0, -40.0)));
    EXPECT_EQ(find(image), find(threeStretches()));
    Image upright = qfPelTranspose(threeStretches());
    upright.clientFromImageXform(qvXform<2>(qvMatrix<2>(-3.0, 0.0, 0.0, 0.5), qvVector<2>(900.0, -40.0)));
    EXPECT_EQ(find(upright, vertical()), find(qfPelTranspose(threeStretches()), vertical()));
}

TEST(BlankRegionFinder, SecondRunGivesTheSameAnswer) {
    EXPECT_EQ(find(threeStretches()), find(threeStretches()));
    EXPECT_EQ(find(threeStretches(), paramsOf(2)).numResults(), 2);
}

TEST(BlankRegionFinder, MaskOfAllOnesChangesNothing) {
    EXPECT_EQ(findMasked(threeStretches(), flatImage(300, 20, 255)), find(threeStretches()));
}

TEST(BlankRegionFinder, MaskedPelsAreAHardEdge) {
    const Image image = tonedStrip(150, 20, {{20, 130}});
    EXPECT_EQ(rects(findMasked(image, maskWithout(150, 20, 20, 26))), (Rects{{27, 0, 103, 20}}));
    EXPECT_EQ(rects(findMasked(image, maskWithout(150, 20, 118, 130))), (Rects{{21, 0, 97, 20}}));
}

TEST(BlankRegionFinder, MaskIsNotSeenByDeviationAndScore) {
    // All masked: no edge is left, and the coarse region comes back.
    EXPECT_EQ(findMasked(tonedStrip(150, 20, {{20, 130}}), flatImage(150, 20, 0)),
              find(tonedStrip(150, 20, {{20, 130}})));
}

// The mask cuts the stretch to columns 20 .. 33 or 20 .. 35, of which the first does not count.
TEST(BlankRegionFinder, RegionThatTheEndsMakeTooShortIsDropped) {
    const Image image = tonedStrip(300, 20, {{20, 130}});
    EXPECT_EQ(rects(findMasked(image, maskWithout(300, 20, 35, 60))), Rects());
    EXPECT_EQ(rects(findMasked(image, maskWithout(300, 20, 36, 60))), (Rects{{21, 0, 15, 20}}));
}

TEST(BlankRegionFinder, MaskOfAVerticalStreetIsAppliedUntransposed) {
    // A square whose street runs along the columns, blank from row 20 to 129. The mask's columns count as rows.
    const Image image = qfPelTranspose(tonedStrip(150, 150, {{20, 130}}));
    EXPECT_EQ(rects(findMasked(image, maskWithout(150, 150, 20, 26), vertical())), (Rects{{0, 27, 150, 103}}));
    EXPECT_EQ(rects(findMasked(image, qfPelTranspose(maskWithout(150, 150, 20, 26)), vertical())),
              (Rects{{0, 21, 150, 109}}));
}

TEST(BlankRegionFinder, MaskOfAVerticalStreetThatIsNotSquareIsASizeMismatch) {
    ResultSet found = former();
    EXPECT_THROW(qfStreetBlankRegionFinderRun(qfPelTranspose(threeStretches()), flatImage(20, 300, 255), vertical(),
                                              found, nullptr, 0),
                 qvPel::SizeMismatch);
    EXPECT_EQ(found, former());
}

TEST(BlankRegionFinder, MaskOfAnotherWindowIsRefused) {
    const std::wstring text = L"Mask dimensions must match image dimensions";
    const auto messageFor = [](const Image& mask) {
        return messageOfBadParams([&] { findMasked(threeStretches(), mask); });
    };
    EXPECT_EQ(messageFor(flatImage(299, 20, 255)), text);
    EXPECT_EQ(messageFor(flatImage(300, 21, 255)), text);
    EXPECT_EQ(messageFor(flatImage(20, 300, 255)), text);
    Image shifted = flatImage(300, 20, 255);
    shifted.offset(1, 0);
    EXPECT_EQ(messageFor(shifted), text);
    shifted.offset(0, 0);
    EXPECT_EQ(messageFor(shifted), L"nothing thrown");
}

TEST(BlankRegionFinder, WindowsAreComparedBeforeAnythingElse) {
    const std::wstring text = L"Mask dimensions must match image dimensions";
    EXPECT_EQ(messageOfBadParams([] { findMasked(Image(), flatImage(300, 20, 255)); }), text);
    EXPECT_EQ(messageOfBadParams([] { findMasked(threeStretches(), Image()); }), text);
    EXPECT_EQ(messageOfBadParams([] { findMasked(threeStretches(), flatImage(299, 20, 7)); }), text);
    // An image too small for the window of analysis.
    EXPECT_EQ(messageOfBadParams([] { findMasked(flatImage(5, 5, 0), flatImage(6, 5, 7)); }), text);
}

TEST(BlankRegionFinder, UnboundImageIsUnboundWindow) {
    EXPECT_THROW(find(Image()), qvPel::UnboundWindow);
    EXPECT_THROW(find(Image(), vertical()), qvPel::UnboundWindow);
    EXPECT_THROW(findMasked(Image(), Image()), qvPel::UnboundWindow);
}

TEST(BlankRegionFinder, UnboundMaskIsUnboundWindow) {
    // A bound image without any pel has the same window as an unbound mask.
    Image image = flatImage(4, 4, 0);
    image.window(0, 0, 0, 0, false);
    ASSERT_EQ(image.window(), Image().window());
    EXPECT_THROW(findMasked(image, Image()), qvPel::UnboundWindow);
    EXPECT_THROW(findMasked(image, image), qvPel::BadSize);
    EXPECT_THROW(find(image), qvPel::BadSize);
}

TEST(BlankRegionFinder, GreyPelInTheMaskIsRefused) {
    const std::wstring text = L"Mask must only contain 0 and 255";
    for (const int level : {1, 128, 254}) {
        Image mask = maskWithout(300, 20, 0, 10);
        mask.put(299, 19, static_cast<unsigned char>(level));
        EXPECT_EQ(messageOfBadParams([&] { findMasked(threeStretches(), mask); }), text) << level;
    }
    // A street along the columns: before the sizes are compared.
    EXPECT_EQ(
        messageOfBadParams([] { findMasked(qfPelTranspose(threeStretches()), flatImage(20, 300, 3), vertical()); }),
        text);
}

TEST(BlankRegionFinder, MaskIsTestedOnlyAfterTheForegroundWasComputed) {
    EXPECT_THROW(findMasked(flatImage(14, 20, 100), flatImage(14, 20, 7)), qvPel::BadSize);
}

TEST(BlankRegionFinder, AnalysisWindowLargerThanTheImageIsBadSizeAndKeepsTheFormerAnswer) {
    const std::vector<Image> images = {flatImage(14, 20, 100), flatImage(20, 8, 100), flatImage(1, 1, 100)};
    for (const Image& image : images) {
        ResultSet found = former();
        EXPECT_THROW(qfStreetBlankRegionFinderRun(image, paramsOf(), found, nullptr, 0), qvPel::BadSize);
        EXPECT_EQ(found, former());
        EXPECT_EQ(found.time(), 11.0);
    }
    // Window and image of one size.
    EXPECT_NO_THROW(find(flatImage(15, 9, 100)));
    // The window is 15 rows high for a street along the columns.
    EXPECT_THROW(find(flatImage(20, 14, 100), vertical()), qvPel::BadSize);
    EXPECT_NO_THROW(find(flatImage(9, 15, 100), vertical()));
}

TEST(BlankRegionFinder, OtherFailuresKeepTheFormerAnswer) {
    ResultSet found = former();
    EXPECT_THROW(qfStreetBlankRegionFinderRun(Image(), paramsOf(), found, nullptr, 0), qvPel::UnboundWindow);
    EXPECT_THROW(qfStreetBlankRegionFinderRun(threeStretches(), flatImage(300, 20, 9), paramsOf(), found, nullptr, 0),
                 Defs::BadParams);
    EXPECT_EQ(found, former());
}

TEST(BlankRegionFinder, StripHeightIsThreeQuartersOfTheWidthRoundedDown) {
    // Widths 12 and 13 need 9 rows, 14 needs 10.
    EXPECT_NO_THROW(find(flatImage(15, 9, 100), Params(13, 15, 1, ones(), Defs::eHorizontal)));
    EXPECT_THROW(find(flatImage(15, 9, 100), Params(14, 15, 1, ones(), Defs::eHorizontal)), qvPel::BadSize);
}

TEST(BlankRegionFinder, StreetOneWideHasAnAnalysisWindowWithoutRowsAndFindsNothing) {
    EXPECT_FALSE(find(flatImage(60, 20, 100), Params(1, 15, 3, ones(), Defs::eHorizontal)).isFound());
    EXPECT_TRUE(find(flatImage(60, 20, 100), Params(2, 15, 3, ones(), Defs::eHorizontal)).isFound());
}

TEST(BlankRegionFinder, StripHeightThatWrapsBelow0IsBadSize) {
    // Three times the width wraps to -2147483647.
    EXPECT_THROW(find(flatImage(60, 20, 100), Params(715827883, 15, 3, ones(), Defs::eHorizontal)), qvPel::BadSize);
    // To 2147483645, a quarter of which no image has rows for.
    EXPECT_THROW(find(flatImage(60, 20, 100), Params(2147483647, 15, 3, ones(), Defs::eHorizontal)), qvPel::BadSize);
    // To 2, which leaves no rows, and to -1, the quarter of which is 0 as well.
    EXPECT_FALSE(find(flatImage(60, 20, 100), Params(1431655766, 15, 3, ones(), Defs::eHorizontal)).isFound());
    EXPECT_FALSE(find(flatImage(60, 20, 100), Params(1431655765, 15, 3, ones(), Defs::eHorizontal)).isFound());
}

TEST(BlankRegionFinder, LargestLeastLengthIsBadSize) {
    EXPECT_THROW(find(flatImage(60, 20, 100), Params(12, 2147483647, 3, ones(), Defs::eHorizontal)), qvPel::BadSize);
}

TEST(BlankRegionFinder, StreetTooLongForTheCaliperIsBadSizeAndKeepsTheFormerAnswer) {
    const Params thin(4, 15, 1, ones(), Defs::eHorizontal);
    EXPECT_EQ(rects(find(flatImage(32767, 4, 100), thin)), (Rects{{1, 0, 32766, 4}}));
    ResultSet found = former();
    EXPECT_THROW(qfStreetBlankRegionFinderRun(flatImage(32768, 4, 100), thin, found, nullptr, 0), qvPel::BadSize);
    EXPECT_EQ(found, former());
    // 65537 and 65538 pels narrow to 1 and 2 samples. The region of 65536 pels has no deviation: its square wraps to 0.
    EXPECT_EQ(rects(find(flatImage(65537, 4, 100), thin)), Rects());
    EXPECT_EQ(rects(find(flatImage(65538, 4, 100), thin)), (Rects{{1, 0, 65537, 4}}));
}

}  // namespace
