#include "qvstreet/blankregion/blank_region_params.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

#include "tests/support/longs.h"
#include "tests/support/refusal.h"

namespace {

using qvtest::refusalOf;
using Defs = qvStreetBlankRegionFinderDefs;
using Params = qvStreetBlankRegionFinderParams;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const std::wstring widthText = L"streetWidthPels must be > 0";
const std::wstring lengthText = L"minLengthPels must be > 0";
const std::wstring directionText = L"direction must be a value in qvStreetBlankRegionFinderDefs::streetDirection";
const std::wstring numberText = L"numResults must be > 0";
const std::wstring sizeText = L"greyLevelScoringFilter must contain exactly 256 elements";
const std::wstring rangeText = L"All values in greyLevelScoringFilter must be between 0 and 1 inclusive.";

/// The weights 0/255 to 255/255.
std::vector<double> ramp() {
    std::vector<double> weights;
    for (int level = 0; level < 256; ++level) weights.push_back(level / 255.0);
    return weights;
}

/// Unequal numbers, so that a mix-up shows.
Params sample() { return Params(21, 64, 5, ramp(), Defs::eVertical); }

std::wstring constructorVerdict(long width, long length, long number, const std::vector<double>& weights,
                                int direction) {
    return refusalOf<Defs::BadParams>(
        [&] { Params(width, length, number, weights, static_cast<Defs::streetDirection>(direction)); });
}

/// What the setter says to the weights, on an object that must not change if it refuses.
std::wstring filterVerdict(std::vector<double> weights) {
    Params params = sample();
    const std::wstring verdict = refusalOf<Defs::BadParams>([&] { params.greyLevelScoringFilter(weights); });
    if (verdict != L"accepted") {
        EXPECT_TRUE(params == sample());
    }
    return verdict;
}

std::vector<double> rampWith(std::size_t level, double weight) {
    std::vector<double> weights = ramp();
    weights[level] = weight;
    return weights;
}

}  // namespace

TEST(BlankRegionParams, ConstructorStoresEveryArgument) {
    const Params params = sample();
    EXPECT_EQ(params.streetWidthPels(), 21);
    EXPECT_EQ(params.minLengthPels(), 64);
    EXPECT_EQ(params.numResults(), 5);
    EXPECT_EQ(params.direction(), Defs::eVertical);
    EXPECT_EQ(params.greyLevelScoringFilter(), ramp());
}

TEST(BlankRegionParams, HasNoDefaultConstructor) {
    EXPECT_FALSE(std::is_default_constructible_v<Params>);
    EXPECT_TRUE(std::is_copy_constructible_v<Params>);
    EXPECT_TRUE(std::is_copy_assignable_v<Params>);
}

TEST(BlankRegionParams, ConstructorReportsTheFirstBadArgumentInItsOrder) {
    const std::vector<double> none;
    EXPECT_EQ(constructorVerdict(0, 0, 0, none, 2), directionText);
    EXPECT_EQ(constructorVerdict(0, 0, 0, none, 1), widthText);
    EXPECT_EQ(constructorVerdict(1, 0, 0, none, 1), lengthText);
    EXPECT_EQ(constructorVerdict(1, 1, 0, none, 1), numberText);
    EXPECT_EQ(constructorVerdict(1, 1, 1, none, 1), sizeText);
    EXPECT_EQ(constructorVerdict(1, 1, 1, rampWith(0, -1.0), 1), rangeText);
    EXPECT_EQ(constructorVerdict(1, 1, 1, ramp(), 0), L"accepted");
}

TEST(BlankRegionParams, SettersStoreValuesAboveZero) {
    Params params = sample();
    params.streetWidthPels(1);
    params.minLengthPels(2);
    params.numResults(3);
    params.direction(Defs::eHorizontal);
    EXPECT_EQ(params.streetWidthPels(), 1);
    EXPECT_EQ(params.minLengthPels(), 2);
    EXPECT_EQ(params.numResults(), 3);
    EXPECT_EQ(params.direction(), Defs::eHorizontal);
}

TEST(BlankRegionParams, SettersRefuseZeroAndLessAndKeepTheFormerValue) {
    Params params = sample();
    for (const long value : qvtest::longs({0, -1, -4294967295})) {
        EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.streetWidthPels(value); }), widthText);
        EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.minLengthPels(value); }), lengthText);
        EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.numResults(value); }), numberText);
    }
    EXPECT_TRUE(params == sample());
}

TEST(BlankRegionParams, ValueBeyond32BitsCountsAsTheLimit) {
    for (const long value : qvtest::longs({2147483647, 2147483648, 4294967296})) {
        Params params = sample();
        params.streetWidthPels(value);
        params.minLengthPels(value);
        params.numResults(value);
        EXPECT_EQ(params.streetWidthPels(), 2147483647) << value;
        EXPECT_EQ(params.minLengthPels(), 2147483647) << value;
        EXPECT_EQ(params.numResults(), 2147483647) << value;
    }
}

TEST(BlankRegionParams, DirectionOutsideTheEnumerationIsRefusedWithTheClassNameInFull) {
    Params params = sample();
    EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.direction(static_cast<Defs::streetDirection>(2)); }),
              directionText);
    EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.direction(static_cast<Defs::streetDirection>(-1)); }),
              directionText);
    EXPECT_EQ(params.direction(), Defs::eVertical);
}

TEST(BlankRegionParams, FilterOfAnotherSizeIsRefusedEvenIfEveryElementIsFine) {
    EXPECT_EQ(filterVerdict(std::vector<double>(255, 0.5)), sizeText);
    EXPECT_EQ(filterVerdict(std::vector<double>(257, 0.5)), sizeText);
    EXPECT_EQ(filterVerdict(std::vector<double>(256, 0.5)), L"accepted");
}

TEST(BlankRegionParams, FilterSizeIsCheckedBeforeTheElements) {
    EXPECT_EQ(filterVerdict(std::vector<double>(255, kNan)), sizeText);
}

TEST(BlankRegionParams, FilterBoundsAreAccepted) {
    EXPECT_EQ(filterVerdict(std::vector<double>(256, 0.0)), L"accepted");
    EXPECT_EQ(filterVerdict(std::vector<double>(256, 1.0)), L"accepted");
    EXPECT_EQ(filterVerdict(rampWith(3, -0.0)), L"accepted");
}

TEST(BlankRegionParams, FilterElementOutsideItsRangeIsRefusedWhereverItStands) {
    const double justBelow = -std::numeric_limits<double>::denorm_min();
    const double justAbove = 1.0 + std::numeric_limits<double>::epsilon();
    for (const std::size_t level : {std::size_t{0}, std::size_t{128}, std::size_t{255}}) {
        EXPECT_EQ(filterVerdict(rampWith(level, justBelow)), rangeText);
        EXPECT_EQ(filterVerdict(rampWith(level, justAbove)), rangeText);
        EXPECT_EQ(filterVerdict(rampWith(level, kNan)), rangeText);
    }
}

TEST(BlankRegionParams, FilterSetterTakesAReferenceThatMayBeWrittenAndCopies) {
    using Setter = void (Params::*)(std::vector<double>&);
    const Setter setter = &Params::greyLevelScoringFilter;
    std::vector<double> weights = rampWith(7, 0.25);
    Params params = sample();
    (params.*setter)(weights);
    EXPECT_EQ(weights, rampWith(7, 0.25));
    weights[7] = 0.75;
    EXPECT_EQ(params.greyLevelScoringFilter()[7], 0.25);
}

TEST(BlankRegionParams, EqualityLooksAtEveryField) {
    const Params reference = sample();
    EXPECT_TRUE(reference == Params(21, 64, 5, ramp(), Defs::eVertical));
    EXPECT_FALSE(reference != Params(21, 64, 5, ramp(), Defs::eVertical));
    EXPECT_TRUE(reference != Params(22, 64, 5, ramp(), Defs::eVertical));
    EXPECT_TRUE(reference != Params(21, 65, 5, ramp(), Defs::eVertical));
    EXPECT_TRUE(reference != Params(21, 64, 6, ramp(), Defs::eVertical));
    EXPECT_TRUE(reference != Params(21, 64, 5, rampWith(255, 0.5), Defs::eVertical));
    EXPECT_TRUE(reference != Params(21, 64, 5, ramp(), Defs::eHorizontal));
    EXPECT_FALSE(reference == Params(21, 64, 5, ramp(), Defs::eHorizontal));
}

TEST(BlankRegionParams, CopiesAreIndependentAndTheSourceStaysValid) {
    Params source = sample();
    const Params moved(std::move(source));
    EXPECT_EQ(source.greyLevelScoringFilter().size(), 256u);
    Params assigned(1, 2, 3, std::vector<double>(256, 1.0), Defs::eHorizontal);
    assigned = source;
    source.numResults(9);
    EXPECT_EQ(assigned.numResults(), 5);
    EXPECT_TRUE(assigned == moved);
}
