#include "tests/tools/image_encoders.h"

#include <gtest/gtest.h>

using qvtest::append16;
using qvtest::append32;
using qvtest::appendBytes;
using qvtest::decode;
using qvtest::File;
using qvtest::hasNote;
using qvtest::refusal;
using Pels = std::vector<unsigned char>;

namespace {

struct BmpSpec {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    unsigned bits = 8;
    std::uint32_t compression = 0;
    std::uint32_t coloursUsed = 0;
    File afterHeader{};  ///< palette or masks
    File pels{};
};

File fileOf(const BmpSpec& spec) {
    File file = {'B', 'M'};
    const auto start = static_cast<std::uint32_t>(14 + 40 + spec.afterHeader.size());
    append32(file, start + static_cast<std::uint32_t>(spec.pels.size()));
    append32(file, 0);
    append32(file, start);
    append32(file, 40);
    append32(file, spec.width);
    append32(file, spec.height);
    append16(file, 1);
    append16(file, spec.bits);
    append32(file, spec.compression);
    append32(file, 0);
    append32(file, 2835);
    append32(file, 2835);
    append32(file, spec.coloursUsed);
    append32(file, 0);
    file.insert(file.end(), spec.afterHeader.begin(), spec.afterHeader.end());
    file.insert(file.end(), spec.pels.begin(), spec.pels.end());
    return file;
}

/// Black, white, red (76) and mid grey, as blue, green, red, 0.
const File kPalette = {0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 0, 128, 128, 128, 0};

BmpSpec paletteSpec(std::uint32_t width, std::uint32_t height, unsigned bits, File pels) {
    return {width, height, bits, 0, 4, kPalette, std::move(pels)};
}

}  // namespace

TEST(BmpReader, RowsAreStoredFromTheBottomUpAndFilledToFourBytes) {
    BmpSpec spec = paletteSpec(3, 2, 8, {3, 2, 1, 99, 0, 1, 3, 99});
    const auto image = decode(fileOf(spec));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.pels, (Pels{0, 255, 128, 128, 76, 255}));
    EXPECT_TRUE(hasNote(image, "colour was turned to grey"));
}

TEST(BmpReader, ANegativeHeightMeansTopDown) {
    BmpSpec spec = paletteSpec(3, static_cast<std::uint32_t>(-2), 8, {3, 2, 1, 99, 0, 1, 3, 99});
    EXPECT_EQ(decode(fileOf(spec)).pels, (Pels{128, 76, 255, 0, 255, 128}));
}

TEST(BmpReader, AGreyPaletteIsNoColour) {
    BmpSpec spec{2, 1, 8, 0, 2, {0, 0, 0, 0, 200, 200, 200, 0}, {1, 0, 0, 0}};
    const auto image = decode(fileOf(spec));
    EXPECT_EQ(image.pels, (Pels{200, 0}));
    EXPECT_TRUE(image.notes.empty());
}

TEST(BmpReader, OneAndFourBitsAreIndicesFromTheHighestBitOn) {
    BmpSpec one{10, 1, 1, 0, 2, {0, 0, 0, 0, 255, 255, 255, 0}, {0xA5, 0x40, 0, 0}};
    EXPECT_EQ(decode(fileOf(one)).pels, (Pels{255, 0, 255, 0, 0, 255, 0, 255, 0, 255}));
    EXPECT_EQ(decode(fileOf(paletteSpec(3, 1, 4, {0x31, 0x20, 0, 0}))).pels, (Pels{128, 255, 76}));
}

TEST(BmpReader, TwentyFourBitsAreBlueGreenRed) {
    BmpSpec spec{3, 1, 24, 0, 0, {}, {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9}};
    const auto image = decode(fileOf(spec));
    EXPECT_EQ(image.pels, (Pels{29, 150, 76}));
    EXPECT_TRUE(hasNote(image, "colour was turned to grey (BT.601)"));
}

TEST(BmpReader, ThirtyTwoBitsIgnoreTheFourthByte) {
    BmpSpec spec{2, 1, 32, 0, 0, {}, {30, 20, 10, 0, 0, 0, 255, 255}};
    EXPECT_EQ(decode(fileOf(spec)).pels, (Pels{18, 76}));
}

TEST(BmpReader, SixteenBitsAreFiveFiveFiveUnlessMasksSayOtherwise) {
    // Full red, green and blue of 5 bits each.
    BmpSpec plain{3, 1, 16, 0, 0, {}, {0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0, 0}};
    EXPECT_EQ(decode(fileOf(plain)).pels, (Pels{76, 150, 29}));
    BmpSpec masks = plain;
    masks.compression = 3;
    append32(masks.afterHeader, 0xF800);
    append32(masks.afterHeader, 0x07E0);
    append32(masks.afterHeader, 0x001F);
    masks.pels = {0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0, 0};
    EXPECT_EQ(decode(fileOf(masks)).pels, (Pels{76, 150, 29}));
}

TEST(BmpReader, MasksOfThirtyTwoBitsMayStandInAnyOrder) {
    BmpSpec spec{1, 1, 32, 3, 0, {}, {10, 20, 30, 255}};
    append32(spec.afterHeader, 0x000000FF);
    append32(spec.afterHeader, 0x0000FF00);
    append32(spec.afterHeader, 0x00FF0000);
    EXPECT_EQ(decode(fileOf(spec)).pels, (Pels{18}));
}

TEST(BmpReader, AMaskWithAHoleIsRefused) {
    BmpSpec spec{1, 1, 32, 3, 0, {}, {10, 20, 30, 255}};
    append32(spec.afterHeader, 0x000000F5);
    append32(spec.afterHeader, 0x0000FF00);
    append32(spec.afterHeader, 0x00FF0000);
    EXPECT_EQ(refusal(fileOf(spec)), "has a colour mask that is not one run of up to 16 bits");
}

TEST(BmpReader, RunLengthsOfEightBits) {
    // Bottom row: 2 x index 1, then a literal of 3 (filled to 4). Next row: delta of (2, 0), 1 x index 3. End.
    BmpSpec spec = paletteSpec(5, 2, 8, {2, 1, 0, 3, 2, 0, 3, 9, 0, 0, 0, 2, 2, 0, 1, 3, 0, 1});
    spec.compression = 1;
    EXPECT_EQ(decode(fileOf(spec)).pels, (Pels{0, 0, 128, 0, 0, 255, 255, 76, 0, 128}));
}

TEST(BmpReader, RunLengthsOfFourBitsAlternate) {
    // 3 pels of indices 1, 2, 1, then a literal of 3: 3, 0, 2 (in two bytes). End of bitmap.
    BmpSpec spec = paletteSpec(6, 1, 4, {3, 0x12, 0, 3, 0x30, 0x20, 0, 1});
    spec.compression = 2;
    EXPECT_EQ(decode(fileOf(spec)).pels, (Pels{255, 76, 255, 128, 0, 76}));
}

TEST(BmpReader, RunsThatLeaveTheImageAreRefused) {
    BmpSpec spec = paletteSpec(2, 1, 8, {3, 1, 0, 1});
    spec.compression = 1;
    EXPECT_EQ(refusal(fileOf(spec)), "has runs that leave the image (damaged BMP)");
    spec.pels = {0, 0, 1, 1, 0, 1};
    EXPECT_EQ(refusal(fileOf(spec)), "has runs that leave the image (damaged BMP)");
    spec.pels = {0, 2, 255, 255, 1, 1, 0, 1};
    EXPECT_EQ(refusal(fileOf(spec)), "has runs that leave the image (damaged BMP)");
}

TEST(BmpReader, TheOldHeaderOfTwelveBytesIsRead) {
    File file = {'B', 'M'};
    append32(file, 0);
    append32(file, 0);
    append32(file, 26);
    append32(file, 12);
    append16(file, 1);
    append16(file, 2);
    append16(file, 1);
    append16(file, 24);
    appendBytes(file, {30, 20, 10, 0, 255, 255, 255, 0});
    EXPECT_EQ(decode(file).pels, (Pels{255, 18}));
}

TEST(BmpReader, RefusesAnIndexBeyondThePalette) {
    EXPECT_EQ(refusal(fileOf(paletteSpec(1, 1, 8, {4, 0, 0, 0}))), "uses colour 4 of a palette of 4");
}

TEST(BmpReader, RefusesUnknownKindsAndNamesTheAllowedOnes) {
    BmpSpec spec{1, 1, 8, 4, 0, {}, {1, 2, 3, 4}};
    EXPECT_EQ(
        refusal(fileOf(spec)),
        "is a BMP of 8 bits a pel with compression 4; allowed are 1, 4, 8, 16, 24 and 32 bits, uncompressed, with "
        "bit masks or run lengths");
    spec.compression = 0;
    spec.bits = 7;
    EXPECT_NE(refusal(fileOf(spec)).find("7 bits"), std::string::npos);
}

TEST(BmpReader, HoldsTheDeclaredSizeAgainstTheFile) {
    BmpSpec spec = paletteSpec(20000, 20000, 8, {1, 2, 3, 4});
    EXPECT_EQ(refusal(fileOf(spec)), "is truncated: its pels need 400000000 bytes, 4 are there");
    spec.width = 0;
    EXPECT_EQ(refusal(fileOf(spec)).substr(0, 20), "declares 0 x 20000 p");
    spec.width = 100000;
    spec.height = 100000;
    EXPECT_EQ(refusal(fileOf(spec)).substr(0, 31), "declares 100000 x 100000 pels; ");
    spec.height = 0x80000000U;
    EXPECT_EQ(refusal(fileOf(spec)).substr(0, 28), "declares 100000 x 2147483648");
}

TEST(BmpReader, RefusesPelsThatBeginInTheHeaderOrBeyondTheFile) {
    File file = fileOf(paletteSpec(1, 1, 8, {1, 0, 0, 0}));
    file[10] = 20;
    EXPECT_EQ(refusal(file), "has its pels at byte 20; allowed are 54 to the file's size 74");
    file[10] = 255;
    EXPECT_NE(refusal(file), "");
}

TEST(BmpReader, RefusesEveryTruncation) {
    qvtest::expectTruncationsRefused(fileOf(paletteSpec(3, 2, 8, {3, 2, 1, 99, 0, 1, 3, 99})));
    BmpSpec runs = paletteSpec(5, 2, 8, {2, 1, 0, 3, 2, 0, 3, 9, 0, 0, 0, 2, 2, 0, 1, 3, 0, 1});
    runs.compression = 1;
    qvtest::expectTruncationsRefused(fileOf(runs));
    qvtest::expectTruncationsRefused(fileOf({3, 1, 24, 0, 0, {}, {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9}}));
}

TEST(BmpReader, SurvivesDamageOfEveryByte) {
    qvtest::expectDamageSurvived(fileOf(paletteSpec(3, 2, 8, {3, 2, 1, 99, 0, 1, 3, 99})));
    BmpSpec runs = paletteSpec(6, 1, 4, {3, 0x12, 0, 3, 0x30, 0x20, 0, 1});
    runs.compression = 2;
    qvtest::expectDamageSurvived(fileOf(runs));
}
