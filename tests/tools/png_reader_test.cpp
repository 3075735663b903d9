#include "tests/tools/image_encoders.h"

#include <gtest/gtest.h>

using qvtest::decode;
using qvtest::encodePng;
using qvtest::File;
using qvtest::hasNote;
using qvtest::PngSpec;
using qvtest::refusal;
using Pels = std::vector<unsigned char>;

TEST(PngReader, EightBitGreyIsTakenAsItIs) {
    const auto image = decode(encodePng({3, 2}, {0, 1, 2, 253, 254, 255}));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.pels, (Pels{0, 1, 2, 253, 254, 255}));
    EXPECT_TRUE(image.notes.empty());
}

TEST(PngReader, OneTwoAndFourBitsAreSpreadOverTheWholeRange) {
    EXPECT_EQ(decode(encodePng({9, 1, 1}, {1, 0, 1, 0, 0, 1, 1, 0, 1})).pels,
              (Pels{255, 0, 255, 0, 0, 255, 255, 0, 255}));
    EXPECT_EQ(decode(encodePng({5, 1, 2}, {0, 1, 2, 3, 1})).pels, (Pels{0, 85, 170, 255, 85}));
    EXPECT_EQ(decode(encodePng({3, 1, 4}, {0, 7, 15})).pels, (Pels{0, 119, 255}));
}

TEST(PngReader, SixteenBitsAreDividedBy257Rounded) {
    const auto image = decode(encodePng({4, 1, 16}, {128, 129, 32767, 65535}));
    EXPECT_EQ(image.pels, (Pels{0, 1, 127, 255}));
    EXPECT_TRUE(hasNote(image, "16-bit values were scaled to 8 bits (value / 257)"));
}

TEST(PngReader, ColourBecomesBt601Luma) {
    const auto image = decode(encodePng({4, 1, 8, 2}, {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30}));
    EXPECT_EQ(image.pels, (Pels{76, 150, 29, 18}));
    EXPECT_TRUE(hasNote(image, "colour was turned to grey (BT.601)"));
}

TEST(PngReader, SixteenBitColourIsWeightedBeforeItIsScaled) {
    EXPECT_EQ(decode(encodePng({1, 1, 16, 2}, {1000, 20000, 60000})).pels, (Pels{73}));
}

TEST(PngReader, AlphaIsDroppedAndColoursCountAsStored) {
    const auto grey = decode(encodePng({3, 1, 8, 4}, {100, 0, 110, 128, 120, 255}));
    EXPECT_EQ(grey.pels, (Pels{100, 110, 120}));
    EXPECT_TRUE(hasNote(grey, "the alpha channel was dropped"));
    EXPECT_FALSE(hasNote(grey, "colour was turned"));
    const auto colour = decode(encodePng({2, 1, 8, 6}, {255, 0, 0, 0, 10, 20, 30, 255}));
    EXPECT_EQ(colour.pels, (Pels{76, 18}));
    EXPECT_TRUE(hasNote(colour, "the alpha channel was dropped"));
    EXPECT_TRUE(hasNote(colour, "colour was turned"));
    EXPECT_EQ(decode(encodePng({1, 1, 16, 6}, {1000, 20000, 60000, 7})).pels, (Pels{73}));
}

TEST(PngReader, PalettesAreExpanded) {
    PngSpec spec{4, 1, 2, 3};
    spec.palette = {0, 0, 0, 255, 255, 255, 255, 0, 0, 128, 128, 128};
    const auto image = decode(encodePng(spec, {3, 2, 1, 0}));
    EXPECT_EQ(image.pels, (Pels{128, 76, 255, 0}));
    EXPECT_TRUE(hasNote(image, "colour was turned"));
}

TEST(PngReader, AGreyPaletteIsNoColour) {
    PngSpec spec{2, 1, 8, 3};
    spec.palette = {7, 7, 7, 200, 200, 200};
    const auto image = decode(encodePng(spec, {1, 0}));
    EXPECT_EQ(image.pels, (Pels{200, 7}));
    EXPECT_TRUE(image.notes.empty());
}

TEST(PngReader, ATransparentPaletteEntryCountsAsItsColour) {
    PngSpec spec{2, 1, 8, 3};
    spec.palette = {7, 7, 7, 200, 200, 200};
    spec.paletteAlpha = {255, 0};
    const auto image = decode(encodePng(spec, {1, 0}));
    EXPECT_EQ(image.pels, (Pels{200, 7}));
    EXPECT_TRUE(hasNote(image, "the alpha channel was dropped"));
}

TEST(PngReader, InterlacedImagesOfEverySmallSizeEqualPlainOnes) {
    // Sizes below 8 leave some of the seven passes without rows or columns.
    for (unsigned width = 1; width <= 9; ++width) {
        for (unsigned height = 1; height <= 9; ++height) {
            std::vector<unsigned> samples;
            for (unsigned i = 0; i < 3 * width * height; ++i) samples.push_back(i * 37 % 251);
            PngSpec spec{width, height, 8, 2};
            const Pels plain = decode(encodePng(spec, samples)).pels;
            spec.interlaced = true;
            EXPECT_EQ(decode(encodePng(spec, samples)).pels, plain) << width << " x " << height;
        }
    }
}

TEST(PngReader, InterlacedSixteenBitsAndSingleBits) {
    PngSpec deep{3, 5, 16, 0, true};
    std::vector<unsigned> samples;
    for (unsigned i = 0; i < 15; ++i) samples.push_back(i * 257);
    EXPECT_EQ(decode(encodePng(deep, samples)).pels, (Pels{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    PngSpec single{5, 3, 1, 0, true};
    EXPECT_EQ(decode(encodePng(single, {1, 0, 0, 1, 1, 0, 1, 0, 1, 0, 1, 1, 0, 0, 1})).pels,
              (Pels{255, 0, 0, 255, 255, 0, 255, 0, 255, 0, 255, 255, 0, 0, 255}));
}

TEST(PngReader, ARowOf40000PelsIsRead) {
    const std::vector<unsigned> samples(40000 * 3, 9);
    const auto image = decode(encodePng({40000, 3}, samples));
    EXPECT_EQ(image.width, 40000);
    EXPECT_EQ(image.pels.size(), 120000U);
    EXPECT_EQ(image.pels[119999], 9);
}

namespace {

/// A file with another size in its header; its check sum is then wrong, which comes second.
File withSize(File file, std::uint32_t width, std::uint32_t height) {
    for (std::size_t i = 0; i < 4; ++i) {
        file[16 + i] = static_cast<unsigned char>(width >> (24 - 8 * i));
        file[20 + i] = static_cast<unsigned char>(height >> (24 - 8 * i));
    }
    return file;
}

}  // namespace

TEST(PngReader, RefusesZeroAndOversizeDeclarations) {
    const File file = encodePng({1, 1}, {5});
    EXPECT_EQ(refusal(withSize(file, 0, 7)),
              "declares 0 x 7 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
    EXPECT_EQ(refusal(withSize(file, 100000, 100000)),
              "declares 100000 x 100000 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
    EXPECT_NE(refusal(withSize(file, 0xFFFFFFFFU, 0xFFFFFFFFU)), "");
}

TEST(PngReader, RefusesASizeThatTheFileCannotHold) {
    const File file = encodePng({1, 1}, {5});
    EXPECT_EQ(refusal(withSize(file, 20000, 20000)), "is a damaged or truncated PNG: " + std::to_string(file.size()) +
                                                         " bytes cannot hold its 20000 x 20000 pels");
}

TEST(PngReader, AWrongCheckSumIsRefused) {
    File file = encodePng({3, 2}, {0, 1, 2, 253, 254, 255});
    file[16 + 13] = static_cast<unsigned char>(file[16 + 13] ^ 1U);
    EXPECT_EQ(refusal(file).substr(0, 32), "is a damaged or truncated PNG: I");
}

TEST(PngReader, RefusesEveryTruncation) {
    qvtest::expectTruncationsRefused(encodePng({3, 2}, {0, 1, 2, 253, 254, 255}));
    qvtest::expectTruncationsRefused(encodePng({3, 2, 16, 2, true}, std::vector<unsigned>(18, 300)));
}

TEST(PngReader, SurvivesDamageOfEveryByte) {
    PngSpec spec{4, 1, 2, 3};
    spec.palette = {0, 0, 0, 255, 255, 255, 255, 0, 0, 128, 128, 128};
    qvtest::expectDamageSurvived(encodePng(spec, {3, 2, 1, 0}));
}
