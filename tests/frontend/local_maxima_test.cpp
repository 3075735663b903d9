#include "qvstreet/frontend/local_maxima.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Rows = std::vector<std::vector<double>>;
using Positions = std::vector<std::pair<long, long>>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

qvPelBuffer<double> imageOf(const Rows& rows) {
    qvPelBuffer<double> image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.put(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    return image;
}

qvPelBuffer<double> filled(long width, long height, double value) {
    qvPelBuffer<double> image(width, height, 32);
    qfPelSet(image, value);
    return image;
}

Positions positionsOf(const std::vector<qvPeak<double>>& peaks) {
    Positions positions;
    for (const qvPeak<double>& peak : peaks) positions.emplace_back(peak.position.first, peak.position.second);
    return positions;
}

Positions maximaOf(const Rows& rows, double threshold) {
    return positionsOf(findLocalMaxima(imageOf(rows), threshold));
}

/// Zeros with a 9 in the middle of 5 by 5 and `value` at one neighbour of it.
Rows withNeighbour(long dx, long dy, double value) {
    Rows rows(5, std::vector<double>(5, 0.0));
    rows[2][2] = 9.0;
    rows[static_cast<std::size_t>(2 + dy)][static_cast<std::size_t>(2 + dx)] = value;
    return rows;
}

/// The eight neighbours in the order of the scan.
const std::vector<std::pair<long, long>> kNeighbours = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0},
                                                        {1, 0},   {-1, 1}, {0, 1},  {1, 1}};

}  // namespace

TEST(LocalMaxima, PelAboveAllItsNeighboursIsFound) {
    const auto peaks = findLocalMaxima(imageOf({{0, 1, 0, 0, 0, 0},  //
                                                {0, 2, 7, 3, 0, 0},
                                                {0, 1, 2, 0, 0, 0},
                                                {0, 0, 0, 0, 5, 0},
                                                {0, 0, 0, 0, 0, 0}}),
                                       4.0);
    ASSERT_EQ(positionsOf(peaks), (Positions{{2, 1}, {4, 3}}));
    EXPECT_EQ(peaks[0].value, 7.0);
    EXPECT_EQ(peaks[1].value, 5.0);
}

TEST(LocalMaxima, ThresholdItselfIsReached) {
    const Rows rows = withNeighbour(1, 0, 2.0);
    EXPECT_EQ(maximaOf(rows, 9.0).size(), 1u);
    EXPECT_TRUE(maximaOf(rows, std::nextafter(9.0, 10.0)).empty());
}

TEST(LocalMaxima, AnyGreaterNeighbourTakesItsPlace) {
    for (const auto& [dx, dy] : kNeighbours)
        EXPECT_EQ(maximaOf(withNeighbour(dx, dy, 9.5), 5.0), (Positions{{2 + dx, 2 + dy}})) << dx << ' ' << dy;
}

TEST(LocalMaxima, OfTwoEqualPelsTheFirstOfTheScanAnswers) {
    for (std::size_t i = 0; i < kNeighbours.size(); ++i) {
        const auto& [dx, dy] = kNeighbours[i];
        const bool comesBefore = i < 4;
        const Positions expected = comesBefore ? Positions{{2 + dx, 2 + dy}} : Positions{{2, 2}};
        EXPECT_EQ(maximaOf(withNeighbour(dx, dy, 9.0), 5.0), expected) << dx << ' ' << dy;
    }
}

TEST(LocalMaxima, PlateauInTheShapeOfAVAnswersAtBothTips) {
    EXPECT_EQ(maximaOf({{0, 0, 0, 0, 0},  //
                        {0, 8, 0, 8, 0},
                        {0, 0, 8, 0, 0},
                        {0, 0, 0, 0, 0}},
                       5.0),
              (Positions{{3, 1}, {1, 1}}));
}

TEST(LocalMaxima, UniformImageAnswersAtItsFirstPel) {
    EXPECT_EQ(positionsOf(findLocalMaxima(filled(7, 4, 6.0), 5.0)), (Positions{{0, 0}}));
}

// ---- borders ----

TEST(LocalMaxima, EveryBorderPelIsHeldAgainstTheNeighboursThatItHas) {
    for (long y = 0; y < 4; ++y)
        for (long x = 0; x < 6; ++x) {
            const qvPelBuffer<double> image = filled(6, 4, -2.0);
            image.put(x, y, -1.0);
            // Nothing but the image's own pels is around it: a rim of zeros would hide a pel of -1.
            EXPECT_EQ(positionsOf(findLocalMaxima(image, -1.5)), (Positions{{x, y}})) << x << ' ' << y;
        }
}

TEST(LocalMaxima, EqualNeighboursAlongEachBorder) {
    EXPECT_EQ(maximaOf({{0, 9, 9, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}, 5.0), (Positions{{1, 0}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 9, 9, 0}}, 5.0), (Positions{{1, 2}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {9, 0, 0, 0}, {9, 0, 0, 0}}, 5.0), (Positions{{0, 1}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {0, 0, 0, 9}, {0, 0, 0, 9}}, 5.0), (Positions{{3, 1}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {0, 0, 0, 9}, {0, 0, 9, 0}}, 5.0), (Positions{{3, 1}}));
}

TEST(LocalMaxima, EqualNeighboursInEachCorner) {
    EXPECT_EQ(maximaOf({{9, 9, 0, 0}, {9, 9, 0, 0}, {0, 0, 0, 0}}, 5.0), (Positions{{0, 0}}));
    EXPECT_EQ(maximaOf({{0, 0, 9, 9}, {0, 0, 0, 9}, {0, 0, 0, 0}}, 5.0), (Positions{{2, 0}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {0, 9, 0, 0}, {9, 0, 0, 0}}, 5.0), (Positions{{1, 1}}));
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {0, 0, 9, 0}, {0, 0, 0, 9}}, 5.0), (Positions{{2, 1}}));
}

TEST(LocalMaxima, GreaterNeighboursInEachCorner) {
    EXPECT_EQ(maximaOf({{8, 0, 0, 8}, {0, 9, 9, 0}, {8, 0, 0, 8}}, 5.0), (Positions{{1, 1}}));
}

TEST(LocalMaxima, PelsBeyondTheWindowPlayNoPart) {
    qvPelBuffer<double> image = filled(9, 9, 50.0);
    ASSERT_TRUE(image.window(2, 3, 4, 3, false));
    image.put(0, 0, 60.0);
    image.put(3, 2, 70.0);
    // Positions are those of the whole image.
    EXPECT_EQ(positionsOf(findLocalMaxima(image, 55.0)), (Positions{{5, 5}, {2, 3}}));
}

// ---- images without an inside ----

TEST(LocalMaxima, ImageWithoutPelsHasNone) {
    EXPECT_TRUE(findLocalMaxima(qvPelBuffer_const<double>(), 0.0).empty());
    EXPECT_TRUE(findLocalMaxima(qf_newPels<double>(0, 0), 0.0).empty());
}

TEST(LocalMaxima, SmallImagesKeepTheirCoordinates) {
    EXPECT_EQ(maximaOf({{5}}, 1.0), (Positions{{0, 0}}));
    EXPECT_EQ(maximaOf({{5, 6}}, 1.0), (Positions{{1, 0}}));
    EXPECT_EQ(maximaOf({{5}, {6}}, 1.0), (Positions{{0, 1}}));
    EXPECT_EQ(maximaOf({{5, 5}, {5, 5}}, 1.0), (Positions{{0, 0}}));
    EXPECT_EQ(maximaOf({{5, 4, 6, 3, 9}, {1, 1, 1, 1, 1}}, 1.0), (Positions{{4, 0}, {2, 0}, {0, 0}}));
    EXPECT_EQ(maximaOf({{1, 5}, {1, 4}, {7, 2}, {1, 2}}, 1.0), (Positions{{0, 2}, {1, 0}}));
}

TEST(LocalMaxima, SmallImageKeepsItsOffset) {
    qvPelBuffer<double> image = filled(2, 2, 1.0);
    image.put(1, 1, 4.0);
    image.offset(-7, 20);
    EXPECT_EQ(positionsOf(findLocalMaxima(image, 2.0)), (Positions{{-6, 21}}));
}

TEST(LocalMaxima, OffsetBelongsToThePositions) {
    qvPelBuffer<double> image = filled(5, 4, 1.0);
    image.put(3, 2, 4.0);
    image.offset(100, -30);
    EXPECT_EQ(positionsOf(findLocalMaxima(image, 2.0)), (Positions{{103, -28}}));
}

TEST(LocalMaxima, RimOfASmallImageIsSearchedToo) {
    // The rim is a plateau of zeros around a negative pel; its first pel lies up and left of the image.
    EXPECT_EQ(maximaOf({{-5}}, 0.0), (Positions{{-1, -1}}));
    EXPECT_EQ(maximaOf({{-1, -1}, {-1, -1}, {-1, -1}}, -3.0), (Positions{{-1, -1}}));
    // It does not hide what is above 0, and a threshold above 0 passes it over.
    EXPECT_EQ(maximaOf({{-5, 3}}, 1.0), (Positions{{1, 0}}));
}

TEST(LocalMaxima, ThreePelsInBothAxesGetNoRim) {
    EXPECT_EQ(maximaOf({{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}}, -3.0), (Positions{{0, 0}}));
}

// ---- order ----

TEST(LocalMaxima, StrongestComesFirst) {
    EXPECT_EQ(maximaOf({{4, 0, 6, 0, 5}, {0, 0, 0, 0, 0}, {7, 0, 3, 0, 8}}, 1.0),
              (Positions{{4, 2}, {0, 2}, {2, 0}, {4, 0}, {0, 0}, {2, 2}}));
}

TEST(LocalMaxima, EqualValuesComeInReverseOrder) {
    EXPECT_EQ(maximaOf({{4, 0, 4, 0, 9}, {0, 0, 0, 0, 0}, {4, 0, 9, 0, 4}}, 1.0),
              (Positions{{2, 2}, {4, 0}, {4, 2}, {0, 2}, {2, 0}, {0, 0}}));
}

TEST(LocalMaxima, PeaksAreOrderedByValueWithNanLast) {
    const qvPeak<double> low{qvPair<long>(9, 9), 1.0};
    const qvPeak<double> high{qvPair<long>(0, 0), 2.0};
    const qvPeak<double> nan{qvPair<long>(0, 0), kNan};
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
    EXPECT_TRUE(high < nan);
    EXPECT_FALSE(nan < high);
    EXPECT_FALSE(nan < nan);
}

// ---- what is no number, and sizes ----

TEST(LocalMaxima, PelThatIsNoNumberIsNoneAndHidesItsNeighbours) {
    EXPECT_TRUE(maximaOf({{0, 0, 0, 0}, {0, kNan, 9, 0}, {0, 0, 0, 0}}, 5.0).empty());
    EXPECT_TRUE(maximaOf({{0, 0, 0, 0}, {0, 9, kNan, 0}, {0, 0, 0, 0}}, 5.0).empty());
    EXPECT_EQ(maximaOf({{0, 0, 0, 0}, {kNan, 0, 9, 0}, {0, 0, 0, 0}}, 5.0), (Positions{{2, 1}}));
    EXPECT_TRUE(maximaOf({{0, 0, 0}, {0, 9, 0}, {0, 0, 0}}, kNan).empty());
}

TEST(LocalMaxima, InfinitePelIsTheStrongest) {
    EXPECT_EQ(maximaOf({{9, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, kInfinity, 0}}, 5.0), (Positions{{2, 2}, {0, 0}}));
}

TEST(LocalMaxima, LongAndFlatImages) {
    const qvPelBuffer<double> tall = filled(2, 5000, 1.0);
    tall.put(1, 4999, 8.0);
    tall.put(0, 2500, 9.0);
    EXPECT_EQ(positionsOf(findLocalMaxima(tall, 2.0)), (Positions{{0, 2500}, {1, 4999}}));

    const qvPelBuffer<double> flat = filled(40000, 3, 1.0);
    flat.put(39999, 2, 8.0);
    flat.put(20000, 1, 9.0);
    EXPECT_EQ(positionsOf(findLocalMaxima(flat, 2.0)), (Positions{{20000, 1}, {39999, 2}}));
}
