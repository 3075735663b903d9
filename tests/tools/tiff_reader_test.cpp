#include "tests/tools/image_encoders.h"

#include <gtest/gtest.h>

using qvtest::decode;
using qvtest::encodeTiff;
using qvtest::File;
using qvtest::hasNote;
using qvtest::refusal;
using qvtest::TiffSpec;
using Pels = std::vector<unsigned char>;

namespace {

TiffSpec sized(std::uint32_t width, std::uint32_t height) {
    TiffSpec spec;
    spec.width = width;
    spec.height = height;
    return spec;
}

/// A little-endian file of these tags alone, each a number. 256 and 257 are width and height, 258 bits, 259 the
/// compression, 262 the kind of colour, 277 samples, 284 planes; 273, 278 and 279 place, rows and bytes of a strip, 322 to
/// 325 sides, place and bytes of a tile.
File tagsOnly(const std::vector<std::pair<unsigned, std::uint32_t>>& tags) {
    File file{'I', 'I', '*', 0, 8, 0, 0, 0, static_cast<unsigned char>(tags.size()), 0};
    const auto add = [&file](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) file.push_back(static_cast<unsigned char>(value >> (8 * i) & 255U));
    };
    for (const auto& [tag, value] : tags) {
        add(tag, 2);
        add(4, 2);  // a whole number of 32 bits
        add(1, 4);
        add(value, 4);
    }
    add(0, 4);
    file.resize(400);
    return file;
}

std::vector<unsigned> ramp(std::size_t count, unsigned factor = 1) {
    std::vector<unsigned> samples;
    for (unsigned i = 0; i < count; ++i) samples.push_back(i * factor);
    return samples;
}

}  // namespace

TEST(TiffReader, EightBitGreyIsTakenAsItIs) {
    const auto image = decode(encodeTiff(sized(3, 2), {0, 1, 2, 253, 254, 255}));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.pels, (Pels{0, 1, 2, 253, 254, 255}));
    EXPECT_TRUE(image.notes.empty());
}

TEST(TiffReader, EveryCommonCompressionGivesTheSamePels) {
    for (const int compression : {1, 5, 8, 32773}) {
        TiffSpec spec = sized(5, 7);
        spec.compression = static_cast<std::uint16_t>(compression);
        spec.rowsPerStrip = 3;
        const auto samples = ramp(35, 7);
        EXPECT_EQ(decode(encodeTiff(spec, samples)).pels, Pels(samples.begin(), samples.end())) << compression;
    }
}

TEST(TiffReader, MinIsWhiteIsInverted) {
    TiffSpec spec = sized(3, 1);
    spec.photometric = 0;
    EXPECT_EQ(decode(encodeTiff(spec, {0, 100, 255})).pels, (Pels{255, 155, 0}));
    spec.bits = 1;
    EXPECT_EQ(decode(encodeTiff(spec, {0, 1, 0})).pels, (Pels{255, 0, 255}));
    spec.bits = 16;
    EXPECT_EQ(decode(encodeTiff(spec, {0, 65535, 32896})).pels, (Pels{255, 0, 127}));
}

TEST(TiffReader, OneTwoAndFourBitsAreSpreadOverTheWholeRange) {
    TiffSpec spec = sized(3, 1);
    spec.bits = 1;
    EXPECT_EQ(decode(encodeTiff(spec, {1, 0, 1})).pels, (Pels{255, 0, 255}));
    spec.bits = 2;
    EXPECT_EQ(decode(encodeTiff(spec, {1, 2, 3})).pels, (Pels{85, 170, 255}));
    spec.bits = 4;
    EXPECT_EQ(decode(encodeTiff(spec, {0, 7, 15})).pels, (Pels{0, 119, 255}));
}

TEST(TiffReader, SixteenBitsOfEitherByteOrderAreDividedBy257Rounded) {
    for (const bool bigEndian : {false, true}) {
        TiffSpec spec = sized(4, 1);
        spec.bits = 16;
        spec.bigEndian = bigEndian;
        const auto image = decode(encodeTiff(spec, {128, 129, 32767, 65535}));
        EXPECT_EQ(image.pels, (Pels{0, 1, 127, 255})) << bigEndian;
        EXPECT_TRUE(hasNote(image, "16-bit values were scaled to 8 bits (value / 257)"));
    }
}

TEST(TiffReader, ColourBecomesBt601LumaTogetherOrInPlanes) {
    for (const bool planes : {false, true}) {
        for (const std::uint32_t tile : {0U, 16U}) {
            TiffSpec spec = sized(2, 2);
            spec.samples = 3;
            spec.photometric = 2;
            spec.planes = planes;
            spec.tile = tile;
            spec.rowsPerStrip = 1;
            const auto image = decode(encodeTiff(spec, {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30}));
            EXPECT_EQ(image.pels, (Pels{76, 150, 29, 18})) << planes << " " << tile;
            EXPECT_TRUE(hasNote(image, "colour was turned to grey (BT.601)"));
            spec.bits = 16;
            EXPECT_EQ(decode(encodeTiff(spec, {1000, 20000, 60000, 0, 0, 0, 65535, 65535, 65535, 0, 0, 257})).pels,
                      (Pels{73, 0, 255, 0}));
        }
    }
}

TEST(TiffReader, FurtherSamplesAreDropped) {
    TiffSpec colour = sized(2, 1);
    colour.samples = 4;
    colour.photometric = 2;
    const auto image = decode(encodeTiff(colour, {255, 0, 0, 9, 10, 20, 30, 9}));
    EXPECT_EQ(image.pels, (Pels{76, 18}));
    EXPECT_TRUE(hasNote(image, "the alpha channel was dropped"));
    TiffSpec grey = sized(2, 1);
    grey.samples = 2;
    EXPECT_EQ(decode(encodeTiff(grey, {100, 0, 110, 255})).pels, (Pels{100, 110}));
}

TEST(TiffReader, PalettesOfEightAndSixteenBitValues) {
    TiffSpec spec = sized(4, 1);
    spec.bits = 2;
    spec.photometric = 3;
    spec.palette = {0, 65535, 65535, 32896, 0, 65535, 0, 32896, 0, 65535, 0, 32896};
    const auto image = decode(encodeTiff(spec, {3, 2, 1, 0}));
    EXPECT_EQ(image.pels, (Pels{128, 76, 255, 0}));
    EXPECT_TRUE(hasNote(image, "colour was turned"));
    spec.palette = {0, 255, 255, 128, 0, 255, 0, 128, 0, 255, 0, 128};
    EXPECT_EQ(decode(encodeTiff(spec, {3, 2, 1, 0})).pels, (Pels{128, 76, 255, 0}));
}

TEST(TiffReader, TilesThatReachBeyondTheImageAreCut) {
    TiffSpec spec = sized(19, 35);
    spec.tile = 16;
    const auto samples = ramp(19 * 35);
    Pels expected;
    for (const unsigned sample : samples) expected.push_back(static_cast<unsigned char>(sample % 256));
    std::vector<unsigned> wrapped(expected.begin(), expected.end());
    EXPECT_EQ(decode(encodeTiff(spec, wrapped)).pels, expected);
}

TEST(TiffReader, JpegCompressedColourIsRead) {
    TiffSpec spec = sized(16, 16);
    spec.samples = 3;
    spec.photometric = 6;
    spec.compression = 7;
    spec.rowsPerStrip = 16;
    std::vector<unsigned> red;
    for (int i = 0; i < 256; ++i) red.insert(red.end(), {255U, 0U, 0U});
    const auto image = decode(encodeTiff(spec, red));
    ASSERT_EQ(image.pels.size(), 256U);
    for (const unsigned char pel : image.pels) EXPECT_NEAR(pel, 76, 2);
}

TEST(TiffReader, OfSeveralPagesTheFirstIsReadAndTheRestMentioned) {
    TiffSpec spec = sized(2, 1);
    spec.pages = 3;
    const auto image = decode(encodeTiff(spec, {7, 9}));
    EXPECT_EQ(image.pels, (Pels{7, 9}));
    EXPECT_TRUE(hasNote(image, "the file has several pages; only the first was read"));
}

TEST(TiffReader, OrientationIsIgnoredAndMentioned) {
    TiffSpec spec = sized(2, 1);
    spec.orientation = 3;
    const auto image = decode(encodeTiff(spec, {7, 9}));
    EXPECT_EQ(image.pels, (Pels{7, 9}));
    EXPECT_TRUE(hasNote(image, "orientation 3 is ignored"));
}

TEST(TiffReader, FloatsAndSignedSamplesAreRefused) {
    TiffSpec spec = sized(2, 1);
    spec.bits = 32;
    spec.sampleFormat = 3;
    EXPECT_EQ(refusal(encodeTiff(spec, {1, 2})),
              "is a TIFF of floating-point samples; allowed are unsigned whole numbers");
    spec.bits = 16;
    spec.sampleFormat = 2;
    EXPECT_EQ(refusal(encodeTiff(spec, {1, 2})),
              "is a TIFF of signed or complex samples; allowed are unsigned whole numbers");
}

TEST(TiffReader, OtherDepthsAndColourKindsAreRefused) {
    TiffSpec spec = sized(2, 1);
    spec.bits = 32;
    EXPECT_EQ(refusal(encodeTiff(spec, {1, 2})),
              "is a TIFF of 1 samples of 32 bits; allowed are 8 and 16 bits, and 1, 2 and 4 bits for a single sample");
    spec.bits = 8;
    spec.samples = 4;
    spec.photometric = 5;
    EXPECT_EQ(refusal(encodeTiff(spec, {1, 2, 3, 4, 5, 6, 7, 8})).substr(0, 27), "is a TIFF of colour kind 5;");
}

TEST(TiffReader, ADeclaredSizeBeyondTheLimitOrTheFileIsRefused) {
    // Little endian, one directory of five entries: width, height, bits, compression, strip offset.
    const auto declaring = [](std::uint32_t width, std::uint32_t height) {
        File file = {'I', 'I', 42, 0, 8, 0, 0, 0};
        const auto entry = [&](unsigned tag, unsigned type, std::uint32_t value) {
            qvtest::append16(file, tag);
            qvtest::append16(file, type);
            qvtest::append32(file, 1);
            qvtest::append32(file, value);
        };
        qvtest::append16(file, 7);
        entry(256, 4, width);
        entry(257, 4, height);
        entry(258, 3, 8);
        entry(259, 3, 1);
        entry(262, 3, 1);
        entry(273, 4, 8);
        entry(279, 4, 16);
        qvtest::append32(file, 0);
        return file;
    };
    EXPECT_EQ(refusal(declaring(100000, 100000)),
              "declares 100000 x 100000 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
    EXPECT_NE(refusal(declaring(0, 4)), "");
    EXPECT_NE(refusal(declaring(4, 0)), "");
    EXPECT_EQ(refusal(declaring(20000, 20000)),
              "is a damaged or truncated TIFF: its pels need 400000000 bytes, the file has 98");
}

TEST(TiffReader, RefusesEveryTruncation) {
    // The last four bytes are the offset of a next page, without which the first can be read.
    qvtest::expectTruncationsRefused(encodeTiff(sized(3, 2), {0, 1, 2, 253, 254, 255}), 4);
    TiffSpec spec = sized(5, 7);
    spec.compression = 5;
    spec.rowsPerStrip = 3;
    qvtest::expectTruncationsRefused(encodeTiff(spec, ramp(35, 7)), 4);
}

TEST(TiffReader, SurvivesDamageOfEveryByte) {
    TiffSpec spec = sized(5, 3);
    spec.compression = 5;
    qvtest::expectDamageSurvived(encodeTiff(spec, ramp(15, 7)));
}

TEST(TiffReader, ARowThatASmallFileCannotHoldTakesNoMemory) {
    // LZW; 60000 pels of 30000 samples of 16 bits, in one row.
    const auto row = [](std::uint32_t samples) {
        return tagsOnly(
            {{256, 60000}, {257, 1}, {258, 16}, {259, 5}, {262, 1}, {273, 300}, {277, samples}, {278, 1}, {279, 100}});
    };
    EXPECT_EQ(refusal(row(30000)),
              "is a damaged or truncated TIFF: a row of it needs 3600000000 bytes, the file has 400");
    // 64 MiB are 559 samples and a fifth of one.
    EXPECT_EQ(refusal(row(560)), "is a damaged or truncated TIFF: a row of it needs 67200000 bytes, the file has 400");
    EXPECT_EQ(refusal(row(559)).find("a row of it"), std::string::npos);
}

TEST(TiffReader, ATileThatASmallFileCannotHoldTakesNoMemory) {
    const auto tile = [](std::uint32_t side, std::uint32_t planes) {
        return tagsOnly({{256, 100},
                         {257, 100},
                         {258, 8},
                         {259, 5},
                         {262, planes == 3 ? 2U : 1U},
                         {277, planes},
                         {284, planes == 3 ? 2U : 1U},
                         {322, side},
                         {323, side},
                         {324, 300},
                         {325, 100}});
    };
    EXPECT_EQ(refusal(tile(8208, 1)),
              "is a damaged or truncated TIFF: a tile of it needs 67371264 bytes, the file has 400");
    EXPECT_EQ(refusal(tile(8192, 1)).find("a tile of it"), std::string::npos) << "64 MiB";
    EXPECT_EQ(refusal(tile(4800, 3)),
              "is a damaged or truncated TIFF: a tile of it needs 23040000 bytes, the file has 400");
    EXPECT_EQ(refusal(tile(4720, 3)).find("a tile of it"), std::string::npos) << "three of 21.2 MiB";
}
