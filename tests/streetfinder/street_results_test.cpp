#include "qvstreet/streetfinder/street_results.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "qvstreet/streetfinder/street_results_access.h"

namespace {

using Access = qv_streetResultAccess;
using Cross = qvStreetFinderStreetCrossResult;
using Single = qvStreetFinderSingleStreetResult;

static_assert(!std::is_polymorphic_v<Cross> && !std::is_polymorphic_v<Single>);
static_assert(std::is_default_constructible_v<Cross> && std::is_copy_constructible_v<Cross> &&
              std::is_copy_assignable_v<Cross>);
static_assert(std::is_default_constructible_v<Single> && std::is_copy_constructible_v<Single> &&
              std::is_copy_assignable_v<Single>);

// Values come back as values and segments by reference, all from a const result.
static_assert(std::is_same_v<decltype(&Cross::crossing), qvVector<2> (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::verticalAngle), qvRadian (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::horizontalAngle), qvRadian (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::score), double (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::ulCorner), qvVector<2> (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::urCorner), qvVector<2> (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::llCorner), qvVector<2> (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::lrCorner), qvVector<2> (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::lineSegs), const std::vector<qvLineSeg>& (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Cross::statusFlags), qvStreetFinderDefs::resultType (Cross::*)() const>);
static_assert(std::is_same_v<decltype(&Single::score), double (Single::*)() const>);
static_assert(std::is_same_v<decltype(&Single::lineSegs), const std::vector<qvLineSeg>& (Single::*)() const>);
static_assert(std::is_same_v<decltype(&Single::angle), qvRadian (Single::*)() const>);
static_assert(std::is_same_v<decltype(&Single::statusFlags), qvStreetFinderDefs::resultType (Single::*)() const>);
static_assert(sizeof(qvStreetFinderDefs::resultType) == sizeof(std::int32_t));

const qvLineSeg kFirst(qvVector<2>(1.0, 2.0), qvVector<2>(30.0, 4.0));
const qvLineSeg kSecond(qvVector<2>(5.0, 60.0), qvVector<2>(7.0, 8.0));

/// Every field with a value of its own.
Cross filledCross() {
    Cross result;
    Access::crossing(result) = qvVector<2>(1.0, 2.0);
    Access::verticalAngle(result) = qvRadian(-1.5);
    Access::horizontalAngle(result) = qvRadian(0.125);
    Access::score(result) = 0.75;
    Access::ulCorner(result) = qvVector<2>(3.0, 4.0);
    Access::urCorner(result) = qvVector<2>(5.0, 6.0);
    Access::llCorner(result) = qvVector<2>(7.0, 8.0);
    Access::lrCorner(result) = qvVector<2>(9.0, 10.0);
    Access::lineSegs(result) = {kFirst, kSecond};
    Access::statusFlags(result) = qvStreetFinderDefs::eStreetFromLine;
    return result;
}

void expectFilled(const Cross& result) {
    EXPECT_EQ(result.crossing(), qvVector<2>(1.0, 2.0));
    EXPECT_EQ(result.verticalAngle().toDouble(), -1.5);
    EXPECT_EQ(result.horizontalAngle().toDouble(), 0.125);
    EXPECT_EQ(result.score(), 0.75);
    EXPECT_EQ(result.ulCorner(), qvVector<2>(3.0, 4.0));
    EXPECT_EQ(result.urCorner(), qvVector<2>(5.0, 6.0));
    EXPECT_EQ(result.llCorner(), qvVector<2>(7.0, 8.0));
    EXPECT_EQ(result.lrCorner(), qvVector<2>(9.0, 10.0));
    EXPECT_EQ(result.lineSegs(), (std::vector<qvLineSeg>{kFirst, kSecond}));
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromLine);
}

TEST(StreetCrossResult, DefaultIsZeroWithoutSegmentsFromEdges) {
    const Cross result;
    EXPECT_EQ(result.crossing(), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(result.verticalAngle().toDouble(), 0.0);
    EXPECT_EQ(result.horizontalAngle().toDouble(), 0.0);
    EXPECT_EQ(result.score(), 0.0);
    EXPECT_EQ(result.ulCorner(), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(result.urCorner(), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(result.llCorner(), qvVector<2>(0.0, 0.0));
    EXPECT_EQ(result.lrCorner(), qvVector<2>(0.0, 0.0));
    EXPECT_TRUE(result.lineSegs().empty());
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
    EXPECT_EQ(static_cast<std::int32_t>(result.statusFlags()), 0);
}

TEST(StreetCrossResult, EachAccessorGivesItsOwnField) { expectFilled(filledCross()); }

TEST(StreetCrossResult, CopiesOwnTheirSegments) {
    Cross original = filledCross();
    const Cross copy = original;
    Cross assigned;
    assigned = original;
    Access::lineSegs(original).clear();
    Access::crossing(original) = qvVector<2>();
    expectFilled(copy);
    expectFilled(assigned);
}

TEST(SingleStreetResult, DefaultIsZeroWithoutSegmentsFromEdges) {
    const Single result;
    EXPECT_EQ(result.score(), 0.0);
    EXPECT_TRUE(result.lineSegs().empty());
    EXPECT_EQ(result.angle().toDouble(), 0.0);
    EXPECT_EQ(result.statusFlags(), qvStreetFinderDefs::eStreetFromEdges);
}

TEST(SingleStreetResult, EachAccessorGivesItsOwnFieldAndCopiesOwnTheirSegments) {
    Single original;
    Access::score(original) = 0.25;
    Access::lineSegs(original) = {kSecond};
    Access::angle(original) = qvRadian(-0.5);
    Access::statusFlags(original) = qvStreetFinderDefs::eStreetFromLine;
    const Single copy = original;
    Access::lineSegs(original).push_back(kFirst);
    EXPECT_EQ(copy.score(), 0.25);
    EXPECT_EQ(copy.lineSegs(), std::vector<qvLineSeg>{kSecond});
    EXPECT_EQ(copy.angle().toDouble(), -0.5);
    EXPECT_EQ(copy.statusFlags(), qvStreetFinderDefs::eStreetFromLine);
    EXPECT_EQ(original.lineSegs().size(), 2u);
}

}  // namespace
