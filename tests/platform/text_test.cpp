#include "qvstreet/platform/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <string>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// Writes 1234.5 as "1.234,5".
class CommaPoint : public std::numpunct<char> {
 protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class WideCommaPoint : public std::numpunct<wchar_t> {
 protected:
    wchar_t do_decimal_point() const override { return L','; }
    wchar_t do_thousands_sep() const override { return L'.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Installs a locale with other number formats, and the old one again.
class ForeignLocale {
 public:
    ForeignLocale()
        : before_(std::locale::global(
              std::locale(std::locale(std::locale::classic(), new CommaPoint), new WideCommaPoint))) {}
    ~ForeignLocale() { std::locale::global(before_); }
    ForeignLocale(const ForeignLocale&) = delete;
    ForeignLocale& operator=(const ForeignLocale&) = delete;

 private:
    std::locale before_;
};

}  // namespace

TEST(Text, UnsignedCharIsWrittenAsANumber) {
    EXPECT_EQ(qfStr(static_cast<unsigned char>(65)), L"65");
    EXPECT_EQ(qfStr(static_cast<unsigned char>(0)), L"0");
    EXPECT_EQ(qfStr(static_cast<unsigned char>(255)), L"255");
}

TEST(Text, IntegersAreWrittenUpToTheirLimits) {
    EXPECT_EQ(qfStr(0), L"0");
    EXPECT_EQ(qfStr(-17), L"-17");
    EXPECT_EQ(qfStr(INT_MAX), L"2147483647");
    EXPECT_EQ(qfStr(INT_MIN), L"-2147483648");
    if constexpr (sizeof(long) == 8) {
        EXPECT_EQ(qfStr(static_cast<long>(-3000000000LL)), L"-3000000000");
        EXPECT_EQ(qfStr(LONG_MIN), L"-9223372036854775808");
    } else {
        EXPECT_EQ(qfStr(LONG_MIN), L"-2147483648");
    }
}

TEST(Text, DoubleHasTenSignificantDigitsWithoutTrailingZeros) {
    EXPECT_EQ(qfStr(0.0), L"0");
    EXPECT_EQ(qfStr(10.0), L"10");
    EXPECT_EQ(qfStr(0.5), L"0.5");
    EXPECT_EQ(qfStr(-2.25), L"-2.25");
    EXPECT_EQ(qfStr(3.14159265358979), L"3.141592654");
    EXPECT_EQ(qfStr(12345.678901234), L"12345.6789");
    EXPECT_EQ(qfStr(1.0 / 3.0), L"0.3333333333");
    EXPECT_EQ(qfStr(1e12), L"1e+12");
    EXPECT_EQ(qfStr(9999999999.0), L"9999999999");
    EXPECT_EQ(qfStr(10000000000.0), L"1e+10");
    EXPECT_EQ(qfStr(0.0001), L"0.0001");
    EXPECT_EQ(qfStr(0.00001), L"1e-05");
    EXPECT_EQ(qfStr(std::numeric_limits<double>::max()), L"1.797693135e+308");
    EXPECT_EQ(qfStr(std::numeric_limits<double>::denorm_min()), L"4.940656458e-324");
}

TEST(Text, WideTextIsPassedOnAndNullIsEmpty) {
    EXPECT_EQ(qfStr(L"dark  on light"), L"dark  on light");
    EXPECT_EQ(qfStr(static_cast<const wchar_t*>(nullptr)), L"");
}

TEST(Text, DigitsAreThoseBehindThePoint) {
    EXPECT_EQ(qfDbl(3.14159265, 4, false), L"3.1416");
    EXPECT_EQ(qfDbl(2.0, 4, false), L"2.0000");
    EXPECT_EQ(qfDbl(-0.00004, 4, false), L"-0.0000");
    EXPECT_EQ(qfDbl(123456789.0, 1, false), L"123456789.0");
    EXPECT_EQ(qfDbl(2.6, 0, false), L"3");
    EXPECT_EQ(qfDbl(31.4159265, 4, true), L"3.1416e+01");
    EXPECT_EQ(qfDbl(0.0, 2, true), L"0.00e+00");
    EXPECT_EQ(qfDbl(-0.00025, 0, true), L"-3e-04");
}

TEST(Text, LargestDoubleAndDigitCountsOutsideTheRangeAreWritten) {
    EXPECT_EQ(qfDbl(-std::numeric_limits<double>::max(), 4, false).size(), 1U + 309U + 1U + 4U);
    EXPECT_EQ(qfDbl(2.6, -5, false), L"3");
    EXPECT_EQ(qfDbl(1.5, INT_MAX, false).size(), 1U + 1U + 1100U);
    EXPECT_EQ(qfDbl(std::numeric_limits<double>::denorm_min(), 1074, false).back(), L'5');
}

TEST(Text, ValuesThatAreNoNumbersAreNamedInEveryForm) {
    for (const double nan : {notANumber, -notANumber, std::copysign(notANumber, -1.0)}) {
        EXPECT_EQ(qfStr(nan), L"nan");
        EXPECT_EQ(qfDbl(nan, 4, false), L"nan");
        EXPECT_EQ(qfDbl(nan, 4, true), L"nan");
    }
    EXPECT_EQ(qfStr(infinity), L"inf");
    EXPECT_EQ(qfStr(-infinity), L"-inf");
    EXPECT_EQ(qfDbl(infinity, 4, false), L"inf");
    EXPECT_EQ(qfDbl(-infinity, 4, true), L"-inf");
}

TEST(Text, NumbersDoNotDependOnTheLocale) {
    const ForeignLocale foreign;
    EXPECT_EQ(qfStr(1234567L), L"1234567");
    EXPECT_EQ(qfStr(1234567.5), L"1234567.5");
    EXPECT_EQ(qfDbl(1234.5, 4, false), L"1234.5000");
}

TEST(Text, Utf8HasOneToFourBytesForACharacter) {
    EXPECT_EQ(qfUtf8(L""), "");
    EXPECT_EQ(qfUtf8(L"A\u007f"), "A\x7F");
    EXPECT_EQ(qfUtf8(L"\u0080\u07ff"), "\xC2\x80\xDF\xBF");
    EXPECT_EQ(qfUtf8(L"\u0800\u8857\uffff"), "\xE0\xA0\x80\xE8\xA1\x97\xEF\xBF\xBF");
    EXPECT_EQ(qfUtf8(L"\U00010000\U0001F6E3\U0010FFFF"), "\xF0\x90\x80\x80\xF0\x9F\x9B\xA3\xF4\x8F\xBF\xBF");
}

TEST(Text, Utf8ReplacesUnitsThatAreNoCharacters) {
    const std::wstring halves = {static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0xD800)};
    EXPECT_EQ(qfUtf8(halves), "\xEF\xBF\xBD\xEF\xBF\xBD");
    if constexpr (sizeof(wchar_t) == 4) {
        const std::wstring wrong = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF),
                                    static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
        EXPECT_EQ(qfUtf8(wrong), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    }
    EXPECT_EQ(qfUtf8({static_cast<wchar_t>(0xD7FF), static_cast<wchar_t>(0xE000)}), "\xED\x9F\xBF\xEE\x80\x80");
}
