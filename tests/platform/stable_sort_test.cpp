#include "qvstreet/platform/stable_sort.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/noise_image.h"

namespace {

using Keyed = std::pair<long, int>;

bool keyIsLess(const Keyed& a, const Keyed& b) { return a.first < b.first; }

}  // namespace

TEST(StableSort, EqualsTheStandardStableSortForEveryLengthAndManyTies) {
    qvtest::Noise noise(5);
    for (int length = 0; length < 130; ++length)
        for (const long keys : {1L, 3L, 20L, 1000L}) {
            std::vector<Keyed> list;
            for (int i = 0; i < length; ++i) list.emplace_back(noise.whole(1, keys), i);
            std::vector<Keyed> expected = list;
            std::stable_sort(expected.begin(), expected.end(), keyIsLess);
            qf_stableSort(list.begin(), list.end(), keyIsLess);
            ASSERT_EQ(list, expected) << "length " << length << ", keys " << keys;
        }
}

TEST(StableSort, UsesTheSmallerThanOfTheElementsByDefault) {
    std::vector<int> list = {3, 1, 2, 9, 8, 7, 6, 5, 4, 13, 12, 11, 10, 14};
    qf_stableSort(list.begin(), list.end());
    EXPECT_EQ(list, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
}
