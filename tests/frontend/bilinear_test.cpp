#include "qvstreet/frontend/bilinear.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

void expectCell(float coordinate, long index, float rest) {
    const qv_bilinearCell cell = qf_bilinearCell(coordinate);
    EXPECT_EQ(cell.index, index) << coordinate;
    EXPECT_EQ(cell.rest, rest) << coordinate;
}

}  // namespace

TEST(Bilinear, CellIsTheWholeNumberBelow) {
    expectCell(3.75f, 3, 0.75f);
    expectCell(3.0f, 3, 0.0f);
    expectCell(-0.25f, -1, 0.75f);
    expectCell(-2.0f, -2, 0.0f);
}

TEST(Bilinear, FarCoordinatesAreWholeNumbersAsTheyAre) {
    expectCell(1999999872.0f, 1999999872, 0.0f);
    expectCell(2000000000.0f, 2000000000, 0.0f);
    expectCell(-2000000000.0f, -2000000000, 0.0f);
    expectCell(2147483520.0f, 2147483520, 0.0f);
}

TEST(Bilinear, CellsEndOnePelBefore32BitsDo) {
    expectCell(2147483648.0f, 2147483646, 0.0f);
    expectCell(1e30f, 2147483646, 0.0f);
    expectCell(-1e30f, -2147483647 - 1, 0.0f);
}

TEST(Bilinear, InfinityAndNaNHaveACellAndNoRest) {
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(qf_bilinearCell(infinity).index, 2147483646);
    EXPECT_TRUE(std::isnan(qf_bilinearCell(infinity).rest));
    EXPECT_EQ(qf_bilinearCell(-infinity).index, -2147483647 - 1);
    EXPECT_EQ(qf_bilinearCell(std::nanf("")).index, 0);
    EXPECT_TRUE(std::isnan(qf_bilinearCell(std::nanf("")).rest));
}

TEST(Bilinear, ValueIsWeightedByBothRests) {
    // Pels 10 and 20 above 50 and 90; a quarter of the way right and three quarters down: 12.5 to 60 is 48.125.
    const auto pel = [](long column, long row) {
        return static_cast<unsigned char>(row == 4 ? (column == 7 ? 10 : 20) : (column == 7 ? 50 : 90));
    };
    EXPECT_EQ(qf_bilinearSingle(qvVector<2>(7.75, 5.25), pel), 48.125);
}
