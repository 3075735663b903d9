#include "qvstreet/streetfinder/street_finder_params.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

#include "tests/support/longs.h"
#include "tests/support/refusal.h"

namespace {

using qvtest::refusalOf;
using Defs = qvStreetFinderDefs;
using Pair = qvPair<double>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const std::wstring maxResultsText = L"maxResults must be positive.";
const std::wstring widthText = L"nominal street width must be positive.";
const std::wstring negativeText = L"nominal street width ranges must be non-negative.";
const std::wstring outsideText = L"nominal street width is outside valid range.";
const std::wstring runModeText = L"runMode cannot be eSpecial.";
const std::wstring sharpnessText = L"edges sharpness must be positive.";

/// The arguments of a constructor call; unequal in x and y, so that a mix-up shows.
struct Arguments {
    Pair width = Pair(18.0, 30.0);
    Pair rangeX = Pair(9.0, 27.0);
    Pair rangeY = Pair(15.0, 45.0);
    Defs::waferType runMode = Defs::eRidgeWafer;
    double edgeSharpness = 4.5;
    Defs::streetPolarity polarity = Defs::eLightOnDark;
    long maxResults = 7;

    qvStreetFinderParams build() const {
        return qvStreetFinderParams(width, rangeX, rangeY, runMode, edgeSharpness, polarity, maxResults);
    }
};

std::wstring verdict(const Arguments& arguments) {
    return refusalOf<Defs::BadParams>([&] { arguments.build(); });
}

/// What the constructor says to these widths; everything else is fine.
std::wstring constructorVerdict(const Pair& width, const Pair& rangeX, const Pair& rangeY) {
    Arguments arguments;
    arguments.width = width;
    arguments.rangeX = rangeX;
    arguments.rangeY = rangeY;
    return verdict(arguments);
}

/// The same of the setter, which must have the same tests.
std::wstring setterVerdict(const Pair& width, const Pair& rangeX, const Pair& rangeY) {
    qvStreetFinderParams params;
    return refusalOf<Defs::BadParams>([&] { params.nominalStreetWidth(width, rangeX, rangeY); });
}

void expectBothSay(const std::wstring& text, const Pair& width, const Pair& rangeX, const Pair& rangeY) {
    EXPECT_EQ(constructorVerdict(width, rangeX, rangeY), text);
    EXPECT_EQ(setterVerdict(width, rangeX, rangeY), text);
}

}  // namespace

TEST(StreetFinderParams, DefaultsPassAllTests) {
    const qvStreetFinderParams params;
    EXPECT_EQ(params.nominalStreetWidth(), Pair(10.0, 10.0));
    EXPECT_EQ(params.nominalStreetWidthRangeX(), Pair(0.0, 20.0));
    EXPECT_EQ(params.nominalStreetWidthRangeY(), Pair(0.0, 20.0));
    EXPECT_EQ(params.edgeSharpness(), 5.0);
    EXPECT_EQ(params.runMode(), Defs::eEdgePairWafer);
    EXPECT_EQ(params.streetPolarity(), Defs::eAnyPolarity);
    EXPECT_EQ(params.maxResults(), 1);
}

TEST(StreetFinderParams, ConstructorStoresEachArgumentInItsField) {
    const qvStreetFinderParams params = Arguments().build();
    EXPECT_EQ(params.nominalStreetWidth(), Pair(18.0, 30.0));
    EXPECT_EQ(params.nominalStreetWidthRangeX(), Pair(9.0, 27.0));
    EXPECT_EQ(params.nominalStreetWidthRangeY(), Pair(15.0, 45.0));
    EXPECT_EQ(params.edgeSharpness(), 4.5);
    EXPECT_EQ(params.runMode(), Defs::eRidgeWafer);
    EXPECT_EQ(params.streetPolarity(), Defs::eLightOnDark);
    EXPECT_EQ(params.maxResults(), 7);
}

TEST(StreetFinderParams, CopiesAreMemberwiseAndIndependent) {
    const qvStreetFinderParams original = Arguments().build();
    qvStreetFinderParams copy(original);
    copy.maxResults(3);
    copy.edgeSharpness(2.0);
    EXPECT_EQ(copy.nominalStreetWidth(), Pair(18.0, 30.0));
    EXPECT_EQ(original.maxResults(), 7);
    EXPECT_EQ(original.edgeSharpness(), 4.5);
    qvStreetFinderParams assigned;
    assigned = original;
    EXPECT_EQ(assigned.nominalStreetWidthRangeY(), Pair(15.0, 45.0));
    EXPECT_EQ(assigned.streetPolarity(), Defs::eLightOnDark);
    EXPECT_FALSE(std::is_polymorphic_v<qvStreetFinderParams>);
}

TEST(StreetFinderParams, ReversedRangeCollapsesOntoItsUpperBound) {
    const qvStreetFinderParams params(Pair(5.0, 8.0), Pair(20.0, 5.0), Pair(9.0, 8.0));
    EXPECT_EQ(params.nominalStreetWidthRangeX(), Pair(5.0, 5.0));
    EXPECT_EQ(params.nominalStreetWidthRangeY(), Pair(8.0, 8.0));

    qvStreetFinderParams set;
    set.nominalStreetWidth(Pair(5.0, 8.0), Pair(20.0, 5.0), Pair(9.0, 8.0));
    EXPECT_EQ(set.nominalStreetWidthRangeX(), Pair(5.0, 5.0));
    EXPECT_EQ(set.nominalStreetWidthRangeY(), Pair(8.0, 8.0));
}

TEST(StreetFinderParams, WidthWithinAReversedRangeIsOutsideTheCollapsedOne) {
    expectBothSay(outsideText, Pair(10.0, 10.0), Pair(20.0, 5.0), Pair(0.0, 20.0));
    expectBothSay(outsideText, Pair(10.0, 10.0), Pair(0.0, 20.0), Pair(20.0, 5.0));
}

TEST(StreetFinderParams, NominalWidthItselfIsNeverNormalised) {
    const qvStreetFinderParams params(Pair(30.0, 18.0), Pair(15.0, 45.0), Pair(9.0, 27.0));
    EXPECT_EQ(params.nominalStreetWidth(), Pair(30.0, 18.0));
}

TEST(StreetFinderParams, WidthOnABoundOfItsRangeIsAccepted) {
    expectBothSay(L"accepted", Pair(18.0, 30.0), Pair(18.0, 27.0), Pair(15.0, 30.0));
    expectBothSay(L"accepted", Pair(18.0, 30.0), Pair(9.0, 18.0), Pair(30.0, 45.0));
}

TEST(StreetFinderParams, WidthBeyondABoundIsRefusedAtEachOfTheFourBounds) {
    expectBothSay(outsideText, Pair(8.999, 30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(outsideText, Pair(27.001, 30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(outsideText, Pair(18.0, 14.999), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(outsideText, Pair(18.0, 45.001), Pair(9.0, 27.0), Pair(15.0, 45.0));
}

TEST(StreetFinderParams, EachWidthHasItsOwnRange) {
    expectBothSay(outsideText, Pair(30.0, 18.0), Pair(9.0, 27.0), Pair(20.0, 45.0));
    expectBothSay(L"accepted", Pair(18.0, 30.0), Pair(9.0, 27.0), Pair(20.0, 45.0));
}

TEST(StreetFinderParams, WidthOfZeroOrLessIsRefused) {
    expectBothSay(widthText, Pair(0.0, 30.0), Pair(0.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(widthText, Pair(18.0, 0.0), Pair(9.0, 27.0), Pair(0.0, 45.0));
    expectBothSay(widthText, Pair(-18.0, 30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(widthText, Pair(18.0, -30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    const double least = std::numeric_limits<double>::denorm_min();
    expectBothSay(L"accepted", Pair(least, least), Pair(0.0, 27.0), Pair(0.0, 45.0));
}

TEST(StreetFinderParams, NegativeBoundIsRefusedBeforeTheRangeTest) {
    expectBothSay(negativeText, Pair(100.0, 100.0), Pair(-1.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(negativeText, Pair(100.0, 100.0), Pair(9.0, 27.0), Pair(-1.0, 45.0));
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(-5.0, -1.0), Pair(15.0, 45.0));
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(9.0, -1.0), Pair(15.0, 45.0));
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(9.0, 27.0), Pair(15.0, -1.0));
    expectBothSay(L"accepted", Pair(18.0, 30.0), Pair(0.0, 27.0), Pair(-0.0, 45.0));
}

TEST(StreetFinderParams, NegativeLowerBoundIsRefusedAlsoWhereTheRangeIsReversed) {
    // (-1, -3) becomes (-3, -3): still negative.
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(-1.0, -3.0), Pair(15.0, 45.0));
}

TEST(StreetFinderParams, NonPositiveWidthIsReportedBeforeNegativeBounds) {
    expectBothSay(widthText, Pair(0.0, 30.0), Pair(-1.0, 27.0), Pair(-1.0, 45.0));
}

TEST(StreetFinderParams, NanWidthFailsTheRangeTestAndNotThePositiveTest) {
    expectBothSay(outsideText, Pair(notANumber, 30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(outsideText, Pair(18.0, notANumber), Pair(9.0, 27.0), Pair(15.0, 45.0));
    expectBothSay(negativeText, Pair(notANumber, notANumber), Pair(9.0, 27.0), Pair(-15.0, 45.0));
}

TEST(StreetFinderParams, NanUpperBoundIsBelowEveryWidthAndNanLowerBoundIsNot) {
    expectBothSay(outsideText, Pair(18.0, 30.0), Pair(9.0, notANumber), Pair(15.0, 45.0));
    expectBothSay(outsideText, Pair(18.0, 30.0), Pair(9.0, 27.0), Pair(15.0, notANumber));
    expectBothSay(L"accepted", Pair(18.0, 30.0), Pair(notANumber, 27.0), Pair(notANumber, 45.0));
}

TEST(StreetFinderParams, InfiniteUpperBoundIsAccepted) {
    expectBothSay(L"accepted", Pair(18.0, infinity), Pair(9.0, infinity), Pair(15.0, infinity));
}

TEST(StreetFinderParams, FailedWidthSetterChangesNothing) {
    qvStreetFinderParams params = Arguments().build();
    EXPECT_THROW(params.nominalStreetWidth(Pair(1.0, 2.0), Pair(0.0, 5.0), Pair(3.0, 5.0)), Defs::BadParams);
    EXPECT_EQ(params.nominalStreetWidth(), Pair(18.0, 30.0));
    EXPECT_EQ(params.nominalStreetWidthRangeX(), Pair(9.0, 27.0));
    EXPECT_EQ(params.nominalStreetWidthRangeY(), Pair(15.0, 45.0));
}

TEST(StreetFinderParams, WidthSetterStoresAllThree) {
    qvStreetFinderParams params;
    params.nominalStreetWidth(Pair(18.0, 30.0), Pair(9.0, 27.0), Pair(15.0, 45.0));
    EXPECT_EQ(params.nominalStreetWidth(), Pair(18.0, 30.0));
    EXPECT_EQ(params.nominalStreetWidthRangeX(), Pair(9.0, 27.0));
    EXPECT_EQ(params.nominalStreetWidthRangeY(), Pair(15.0, 45.0));
}

TEST(StreetFinderParams, ConstructorReportsTheFirstFailureInOrder) {
    Arguments arguments;
    arguments.width = Pair(0.0, 30.0);
    arguments.rangeX = Pair(-1.0, 27.0);
    arguments.rangeY = Pair(31.0, 45.0);
    arguments.runMode = Defs::eSpecial;
    arguments.edgeSharpness = 0.0;
    arguments.maxResults = 0;
    EXPECT_EQ(verdict(arguments), maxResultsText);
    arguments.maxResults = 7;
    EXPECT_EQ(verdict(arguments), widthText);
    arguments.width.first = 18.0;
    EXPECT_EQ(verdict(arguments), negativeText);
    arguments.rangeX.first = 9.0;
    EXPECT_EQ(verdict(arguments), outsideText);
    arguments.rangeY.first = 15.0;
    EXPECT_EQ(verdict(arguments), runModeText);
    arguments.runMode = Defs::eRidgeWafer;
    EXPECT_EQ(verdict(arguments), sharpnessText);
    arguments.edgeSharpness = 4.5;
    EXPECT_EQ(verdict(arguments), L"accepted");
}

TEST(StreetFinderParams, EdgeSharpnessMustBeAboveZero) {
    for (const double bad : {0.0, -0.0, -5.0, notANumber, -infinity}) {
        Arguments arguments;
        arguments.edgeSharpness = bad;
        EXPECT_EQ(verdict(arguments), sharpnessText) << bad;
        qvStreetFinderParams params;
        EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.edgeSharpness(bad); }), sharpnessText) << bad;
        EXPECT_EQ(params.edgeSharpness(), 5.0) << bad;
    }
    qvStreetFinderParams params;
    params.edgeSharpness(1e-300);
    EXPECT_EQ(params.edgeSharpness(), 1e-300);
}

TEST(StreetFinderParams, RunModeMustNotBeSpecial) {
    qvStreetFinderParams params;
    params.runMode(Defs::eCoarseRidgeWafer);
    EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.runMode(Defs::eSpecial); }), runModeText);
    EXPECT_EQ(params.runMode(), Defs::eCoarseRidgeWafer);
}

TEST(StreetFinderParams, AnyPolarityIsStored) {
    qvStreetFinderParams params;
    params.streetPolarity(Defs::eDarkOnLight);
    EXPECT_EQ(params.streetPolarity(), Defs::eDarkOnLight);
    params.streetPolarity(static_cast<Defs::streetPolarity>(7));
    EXPECT_EQ(static_cast<int>(params.streetPolarity()), 7);
    Arguments arguments;
    arguments.polarity = static_cast<Defs::streetPolarity>(-1);
    EXPECT_EQ(static_cast<int>(arguments.build().streetPolarity()), -1);
}

TEST(StreetFinderParams, MaxResultsSetterHasItsOwnMessage) {
    for (const long bad : qvtest::longs({0, -1, -5000000000, std::numeric_limits<long>::min()})) {
        qvStreetFinderParams params;
        params.maxResults(4);
        EXPECT_EQ(refusalOf<Defs::BadParams>([&] { params.maxResults(bad); }), L"maxResults is not positive") << bad;
        EXPECT_EQ(params.maxResults(), 4) << bad;
        Arguments arguments;
        arguments.maxResults = bad;
        EXPECT_EQ(verdict(arguments), maxResultsText) << bad;
    }
    qvStreetFinderParams params;
    params.maxResults(1);
    EXPECT_EQ(params.maxResults(), 1);
}

TEST(StreetFinderParams, MaxResultsBeyond32BitsIsThe32BitLimit) {
    // 2^32 and 2^31 would be 0 and negative if they were cut to 32 bits.
    for (const long big : qvtest::longs({2147483647, 2147483648, 4294967296, std::numeric_limits<long>::max()})) {
        qvStreetFinderParams params;
        params.maxResults(big);
        EXPECT_EQ(params.maxResults(), 2147483647L) << big;
        Arguments arguments;
        arguments.maxResults = big;
        EXPECT_EQ(arguments.build().maxResults(), 2147483647L) << big;
    }
    qvStreetFinderParams params;
    params.maxResults(2147483646L);
    EXPECT_EQ(params.maxResults(), 2147483646L);
}

TEST(StreetFinderParams, NegativeUpperBoundIsRefusedAlsoBesideANanLowerBound) {
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(notANumber, -1.0), Pair(15.0, 45.0));
    expectBothSay(negativeText, Pair(18.0, 30.0), Pair(9.0, 27.0), Pair(notANumber, -1.0));
}
