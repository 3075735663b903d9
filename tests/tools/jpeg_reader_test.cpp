#include "tests/tools/image_encoders.h"

#include <gtest/gtest.h>

#include <cstdlib>

using qvtest::decode;
using qvtest::encodeJpeg;
using qvtest::File;
using qvtest::hasNote;
using qvtest::refusal;

TEST(JpegReader, GreyIsTakenAsItIs) {
    const auto image = decode(encodeJpeg(19, 5, 1, std::vector<unsigned char>(95, 133)));
    EXPECT_EQ(image.width, 19);
    EXPECT_EQ(image.height, 5);
    EXPECT_EQ(image.pels, std::vector<unsigned char>(95, 133));
    EXPECT_TRUE(image.notes.empty());
}

TEST(JpegReader, RowsAndColumnsKeepTheirPlaces) {
    // A dark left half and a bright right half, a dark row block below: three uniform blocks of 8 by 8 and one more.
    std::vector<unsigned char> pels(16 * 16);
    for (std::size_t y = 0; y < 16; ++y) {
        for (std::size_t x = 0; x < 16; ++x)
            pels[y * 16 + x] = static_cast<unsigned char>(x < 8 ? (y < 8 ? 20 : 90) : 200);
    }
    const auto image = decode(encodeJpeg(16, 16, 1, pels));
    EXPECT_EQ(image.pels[0], 20);
    EXPECT_EQ(image.pels[15], 200);
    EXPECT_EQ(image.pels[15 * 16], 90);
}

TEST(JpegReader, ColourBecomesTheStoredLuma) {
    std::vector<unsigned char> red;
    for (int i = 0; i < 64; ++i) red.insert(red.end(), {255, 0, 0});
    const auto image = decode(encodeJpeg(8, 8, 3, red));
    for (const unsigned char pel : image.pels) EXPECT_NEAR(pel, 76, 1);
    EXPECT_TRUE(hasNote(image, "colour was turned to grey (BT.601)"));
}

TEST(JpegReader, CmykIsRefusedWithTheAllowedKinds) {
    EXPECT_EQ(refusal(qvtest::encodeCmykJpeg(8, 8, std::vector<unsigned char>(256, 100))),
              "is a CMYK JPEG; allowed are grey, YCbCr and RGB");
}

TEST(JpegReader, RefusesASizeBeyondTheLimit) {
    File file = encodeJpeg(8, 8, 1, std::vector<unsigned char>(64, 133));
    for (std::size_t i = 0; i + 8 < file.size(); ++i) {
        if (file[i] != 0xFF || file[i + 1] != 0xC0) continue;
        file[i + 5] = file[i + 7] = 0xF0;
        file[i + 6] = file[i + 8] = 0x00;
    }
    EXPECT_EQ(refusal(file),
              "declares 61440 x 61440 pels; allowed are 1 to 1000000 pels a side and at most 536870912 pels in all");
}

TEST(JpegReader, RefusesEveryTruncation) {
    std::vector<unsigned char> pels;
    for (int i = 0; i < 256; ++i) pels.push_back(static_cast<unsigned char>(i * 7 % 256));
    qvtest::expectTruncationsRefused(encodeJpeg(16, 16, 1, pels));
}

TEST(JpegReader, SurvivesDamageOfEveryByte) {
    qvtest::expectDamageSurvived(encodeJpeg(8, 8, 1, std::vector<unsigned char>(64, 133)));
}
