#include "qvstreet/platform/pair.h"

#include <gtest/gtest.h>

#include <limits>

TEST(Pair, DefaultIsZeroAndOrderIsFirstSecond) {
    EXPECT_EQ(qvPair<long>().first, 0);
    EXPECT_EQ(qvPair<double>().second, 0.0);
    const qvPair<long> size(18, 30);
    EXPECT_EQ(size.first, 18);
    EXPECT_EQ(size.second, 30);
}

TEST(Pair, EqualityTakesBothElementsInTheirPlaces) {
    const qvPair<long> pair(18, 30);
    EXPECT_TRUE(pair == qvPair<long>(18, 30));
    EXPECT_FALSE(pair != qvPair<long>(18, 30));
    EXPECT_TRUE(pair != qvPair<long>(30, 18));
    EXPECT_TRUE(pair != qvPair<long>(18, 31));
    EXPECT_TRUE(pair != qvPair<long>(17, 30));
    const qvPair<double> nan(std::numeric_limits<double>::quiet_NaN(), 1.0);
    EXPECT_FALSE(nan == nan);
}
