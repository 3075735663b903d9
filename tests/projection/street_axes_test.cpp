#include "qvstreet/projection/street_axes.h"

#include <gtest/gtest.h>

#include "tests/projection/drawn_street.h"
#include "tests/support/noise_image.h"

using namespace qvtest;

namespace {

/// 4 by 3 pels of 10 * row + column.
qvPelBuffer<unsigned char> numbered() {
    return drawnImage(4, 3, [](long x, long y) { return 10 * y + x; });
}

}  // namespace

TEST(StreetAxes, alongAHorizontalStreetUIsX) {
    const qvPelBuffer<unsigned char> image = numbered();
    const qv_UvPels pels = qf_uvPels(image, qvVector<2>(5.0, -4.0));
    EXPECT_FALSE(pels.swapped);
    EXPECT_EQ(pels.uSize, 4);
    EXPECT_EQ(pels.vSize, 3);
    EXPECT_EQ(*pels.pel(0, 0), 0);
    EXPECT_EQ(*pels.pel(3, 1), 13);
    EXPECT_EQ(*pels.pel(1, 2), 21);
}

TEST(StreetAxes, alongAVerticalStreetUIsY) {
    const qvPelBuffer<unsigned char> image = numbered();
    const qv_UvPels pels = qf_uvPels(image, qvVector<2>(-4.0, 5.0));
    EXPECT_TRUE(pels.swapped);
    EXPECT_EQ(pels.uSize, 3);
    EXPECT_EQ(pels.vSize, 4);
    EXPECT_EQ(*pels.pel(1, 3), 13);
    EXPECT_EQ(*pels.pel(2, 1), 21);
}

TEST(StreetAxes, justBetweenCountsAsHorizontalWhicheverWayItRuns) {
    const qvPelBuffer<unsigned char> image = numbered();
    for (const qvVector<2>& along :
         {qvVector<2>(3.0, 3.0), qvVector<2>(-3.0, 3.0), qvVector<2>(3.0, -3.0), qvVector<2>(-3.0, -3.0)})
        EXPECT_FALSE(qf_uvPels(image, along).swapped);
    EXPECT_TRUE(qf_uvPels(image, qvVector<2>(3.0, 3.0000001)).swapped);
}

TEST(StreetAxes, exchangeSwapsCoordinatesAlongAVerticalStreetOnly) {
    const qvPelBuffer<unsigned char> image = numbered();
    EXPECT_EQ(alongRows(image).exchange(qvVector<2>(2.5, 7.0)), qvVector<2>(2.5, 7.0));
    EXPECT_EQ(alongColumns(image).exchange(qvVector<2>(2.5, 7.0)), qvVector<2>(7.0, 2.5));
}

TEST(StreetAxes, countFromTheWindowsUpperLeftPelWhateverTheOffset) {
    qvPelBuffer<unsigned char> image = numbered();
    image.window(1, 1, 2, 2, false);
    image.offset(-70, 900);
    for (const qv_UvPels& pels : {alongRows(image), alongColumns(image)}) {
        EXPECT_EQ(pels.uSize, 2);
        EXPECT_EQ(pels.vSize, 2);
        EXPECT_EQ(*pels.pel(0, 0), 11);
    }
    EXPECT_EQ(*alongRows(image).pel(1, 0), 12);
    EXPECT_EQ(*alongColumns(image).pel(1, 0), 21);
}

TEST(StreetAxes, anImageStoredBottomUpLooksTheSame) {
    const qvPelBuffer_const<unsigned char> image = asBottomUp(numbered());
    EXPECT_EQ(*alongRows(image).pel(3, 1), 13);
    EXPECT_EQ(*alongRows(image).pel(1, 2), 21);
    EXPECT_EQ(*alongColumns(image).pel(1, 3), 13);
    EXPECT_EQ(*alongColumns(image).pel(2, 1), 21);
}

TEST(StreetAxes, aLineIsItsValueAtU0AndItsSlope) {
    const qv_UvLine line{10.0, 4.0, 0.25};
    EXPECT_EQ(line.at(10.0), 4.0);
    EXPECT_EQ(line.at(18.0), 6.0);
    EXPECT_EQ(line.at(2.0), 2.0);
    const qv_UvLine moved = line.moved(-1.5);
    EXPECT_EQ(moved.u0, 10.0);
    EXPECT_EQ(moved.at(18.0), 4.5);
    EXPECT_EQ(moved.slope, 0.25);
}
