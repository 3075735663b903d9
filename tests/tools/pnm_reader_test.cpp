#include "tests/tools/image_encoders.h"

#include <gtest/gtest.h>

using qvtest::append;
using qvtest::appendBytes;
using qvtest::decode;
using qvtest::File;
using qvtest::hasNote;
using qvtest::refusal;
using Pels = std::vector<unsigned char>;

namespace {

File fileOf(const std::string& text, std::initializer_list<int> bytes = {}) {
    File file;
    append(file, text);
    appendBytes(file, bytes);
    return file;
}

}  // namespace

TEST(PnmReader, BinaryGreyOfEightBitsIsTakenAsItIs) {
    const auto image = decode(fileOf("P5\n3 2\n255\n", {0, 1, 2, 253, 254, 255}));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.pels, (Pels{0, 1, 2, 253, 254, 255}));
    EXPECT_TRUE(image.notes.empty());
}

TEST(PnmReader, PlainGreyIsReadAcrossAnyWhiteSpace) {
    EXPECT_EQ(decode(fileOf("P2 2\t3\r\n255\n0 10\n\n20\f30 40\v255\n")).pels, (Pels{0, 10, 20, 30, 40, 255}));
}

TEST(PnmReader, CommentsMayStandAnywhereInTheHeader) {
    EXPECT_EQ(decode(fileOf("P5#a 9 9\n# b\n2 #c\n1# d\r255\n", {7, 9})).pels, (Pels{7, 9}));
    EXPECT_EQ(decode(fileOf("P2\n2 1\n255\n7 # seven\n9\n")).pels, (Pels{7, 9}));
}

TEST(PnmReader, ExactlyOneWhiteSpaceSeparatesHeaderAndBinarySamples) {
    EXPECT_EQ(decode(fileOf("P5 2 1 255\n", {'\n', ' '})).pels, (Pels{10, 32}));
}

TEST(PnmReader, SixteenBitsAreBigEndianAndDividedBy257Rounded) {
    // 128 / 257 rounds to 0, 129 to 1; 32767 / 257 = 127.498, 32896 = 128 * 257.
    const auto image = decode(fileOf("P5 5 1 65535\n", {0, 128, 0, 129, 0x7F, 0xFF, 0x80, 0x80, 0xFF, 0xFF}));
    EXPECT_EQ(image.pels, (Pels{0, 1, 127, 128, 255}));
    EXPECT_TRUE(hasNote(image, "16-bit values were scaled to 8 bits (value / 257)"));
}

TEST(PnmReader, OtherLargestValuesAreScaledTo255Rounded) {
    const auto coarse = decode(fileOf("P2 4 1 15\n0 1 7 15\n"));
    EXPECT_EQ(coarse.pels, (Pels{0, 17, 119, 255}));
    EXPECT_TRUE(hasNote(coarse, "values from 0 to 15 were scaled to 8 bits"));
    // 12 bits: 2048 * 255 / 4095 = 127.53.
    EXPECT_EQ(decode(fileOf("P5 2 1 4095\n", {0x08, 0x00, 0x0F, 0xFF})).pels, (Pels{128, 255}));
}

TEST(PnmReader, ColourBecomesBt601Luma) {
    // 76.245, 149.685, 29.07, and 0.299 * 10 + 0.587 * 20 + 0.114 * 30 = 18.15.
    const auto image = decode(fileOf("P6 4 1 255\n", {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30}));
    EXPECT_EQ(image.pels, (Pels{76, 150, 29, 18}));
    EXPECT_TRUE(hasNote(image, "colour was turned to grey (BT.601)"));
    EXPECT_EQ(decode(fileOf("P3 1 2 255 255 0 0\n10 20 30")).pels, (Pels{76, 18}));
}

TEST(PnmReader, SixteenBitColourIsWeightedBeforeItIsScaled) {
    // 0.299 * 1000 + 0.587 * 20000 + 0.114 * 60000 = 18879; / 257 = 73.46.
    const auto image = decode(fileOf("P6 1 1 65535\n", {0x03, 0xE8, 0x4E, 0x20, 0xEA, 0x60}));
    EXPECT_EQ(image.pels, (Pels{73}));
    EXPECT_EQ(image.notes.size(), 2U);
}

TEST(PnmReader, RefusesAZeroSide) {
    EXPECT_EQ(refusal(fileOf("P5 0 4 255\n", {1, 2, 3, 4})),
              "declares 0 x 4 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
    EXPECT_NE(refusal(fileOf("P5 4 0 255\n", {1})), "");
}

TEST(PnmReader, RefusesSizesBeyondTheLimitBeforeTakingMemory) {
    EXPECT_EQ(refusal(fileOf("P5 100000 100000 255\n")),
              "declares 100000 x 100000 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
    EXPECT_EQ(refusal(fileOf("P5 99999999999999999999999 1 255\n")).substr(0, 9), "declares ");
    EXPECT_EQ(refusal(fileOf("P5 4294967297 1 255\n", {1})).substr(0, 9), "declares ");
}

TEST(PnmReader, HoldsTheDeclaredSizeAgainstTheBytesThatAreThere) {
    EXPECT_EQ(refusal(fileOf("P5 20000 20000 255\n", {1, 2})),
              "is truncated: its samples need 400000000 bytes, 2 are there");
    EXPECT_EQ(refusal(fileOf("P2 3 1 255\n1 2")), "is truncated: its samples need at least 5 bytes, 4 are there");
}

TEST(PnmReader, RefusesALargestValueOfZeroOrBeyondSixteenBits) {
    EXPECT_EQ(refusal(fileOf("P5 1 1 0\n", {1})), "declares the largest value 0; allowed are 1 to 65535");
    EXPECT_EQ(refusal(fileOf("P5 1 1 65536\n", {1, 1})), "declares the largest value 65536; allowed are 1 to 65535");
}

TEST(PnmReader, RefusesSamplesAboveTheLargestValue) {
    EXPECT_EQ(refusal(fileOf("P5 1 1 100\n", {101})), "has a sample above its largest value 100 (damaged PGM/PPM)");
    EXPECT_EQ(decode(fileOf("P5 1 1 100\n", {100})).pels, (Pels{255}));
    EXPECT_NE(refusal(fileOf("P2 1 1 255\n256 ")), "");
    EXPECT_NE(refusal(fileOf("P2 1 1 255\n99999999999999999999999999 ")), "");
}

TEST(PnmReader, RefusesWhatIsNoNumber) {
    EXPECT_NE(refusal(fileOf("P5 -3 2 255\n", {1, 2, 3, 4, 5, 6})), "");
    EXPECT_NE(refusal(fileOf("P2 2 1 255\n1 x")), "");
    EXPECT_NE(refusal(fileOf("P5 1 1 255x", {1})), "");
}

TEST(PnmReader, RefusesEveryTruncation) {
    qvtest::expectTruncationsRefused(fileOf("P5\n3 2\n255\n", {0, 1, 2, 253, 254, 255}));
    qvtest::expectTruncationsRefused(fileOf("P6\n1 2\n65535\n", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    qvtest::expectTruncationsRefused(fileOf("P2\n3 1\n255\n17 128 5"));
    qvtest::expectTruncationsRefused(fileOf("P3\n1 1\n9\n1 2 3"));
}

TEST(PnmReader, SurvivesDamageOfEveryByte) {
    qvtest::expectDamageSurvived(fileOf("P5\n3 2\n255\n", {0, 1, 2, 253, 254, 255}));
    qvtest::expectDamageSurvived(fileOf("P3\n2 1\n255\n17 128 5 1 2 3"));
}
