#include "tools/text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

using namespace qvtool;

TEST(Text, NumbersAreParsedWhollyOrNotAtAll) {
    EXPECT_EQ(parseNumber("2.5"), 2.5);
    EXPECT_EQ(parseNumber("-0.125"), -0.125);
    EXPECT_EQ(parseNumber("+3"), 3.0);
    EXPECT_EQ(parseNumber("1e3"), 1000.0);
    EXPECT_EQ(parseNumber(".5"), 0.5);
    for (const char* text :
         {"", " 1", "1 ", "1x", "x", "+", "-", "+-1", "++1", "1,5", "0x10", "1e", "nan", "inf", "-inf", "1e999"}) {
        EXPECT_FALSE(parseNumber(text)) << text;
    }
}

TEST(Text, WholeNumbersHaveNoPoint) {
    EXPECT_EQ(parseWhole("7"), 7);
    EXPECT_EQ(parseWhole("+7"), 7);
    EXPECT_EQ(parseWhole("-7"), -7);
    for (const char* text : {"", "7.0", "1e3", "99999999999999999999", "seven"}) EXPECT_FALSE(parseWhole(text)) << text;
}

TEST(Text, AnyNumberMayAlsoBeInfiniteOrNone) {
    EXPECT_EQ(parseAnyNumber("0.5"), 0.5);
    EXPECT_EQ(parseAnyNumber("-inf"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(parseAnyNumber("NaN").value()));
    for (const char* text : {"", "x", "1x", "0,5"}) EXPECT_FALSE(parseAnyNumber(text)) << text;
}

TEST(Text, EmptyPartsBetweenCommasCount) {
    EXPECT_EQ(splitAtCommas("a,,b,"), (std::vector<std::string_view>{"a", "", "b", ""}));
    EXPECT_EQ(splitAtCommas(""), (std::vector<std::string_view>{""}));
}

TEST(Text, WhiteSpaceOfAnyKindAndLengthSeparates) {
    EXPECT_EQ(splitAtWhiteSpace("\n a\tb \r\n c,d"), (std::vector<std::string_view>{"a", "b", "c,d"}));
    EXPECT_EQ(splitAtWhiteSpace("a"), (std::vector<std::string_view>{"a"}));
    EXPECT_TRUE(splitAtWhiteSpace(" \n").empty());
    EXPECT_TRUE(splitAtWhiteSpace("").empty());
}

TEST(Text, ShortestDigitsReadBackAsTheSameDouble) {
    EXPECT_EQ(shortest(0.1), "0.1");
    EXPECT_EQ(shortest(1.0 / 3.0), "0.3333333333333333");
    EXPECT_EQ(shortest(-0.0), "-0");
    EXPECT_EQ(shortest(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(Text, FixedDigitsAreRounded) {
    EXPECT_EQ(withDigits(0.816, 2), "0.82");
    EXPECT_EQ(withDigits(12.0, 0), "12");
    EXPECT_EQ(withDigits(-std::numeric_limits<double>::infinity(), 2), "-inf");
    EXPECT_EQ(withDigits(1e300, 1).size(), 303U);
}

TEST(Text, QuotedTextCannotSteerATerminal) {
    EXPECT_EQ(inQuotes("plain name.png"), "'plain name.png'");
    EXPECT_EQ(inQuotes("a\nb\x1b[2J"), "'a\\x0ab\\x1b[2J'");
    EXPECT_EQ(inQuotes("gr\xC3\xBC\xC3\x9F"), "'gr\xC3\xBC\xC3\x9F'");
    EXPECT_EQ(inQuotes("\xFFx\xC3"), "'\\xffx\\xc3'");
    // A C1 control character, an overlong slash, a surrogate.
    EXPECT_EQ(inQuotes("\xC2\x9B"), "'\\xc2\\x9b'");
    EXPECT_EQ(inQuotes("\xC0\xAF"), "'\\xc0\\xaf'");
    EXPECT_EQ(inQuotes("\xED\xA0\x80"), "'\\xed\\xa0\\x80'");
}

TEST(Text, XmlTextEscapesAndReplaces) {
    EXPECT_EQ(xmlText("<a & \"b\" 'c'>"), "&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;");
    EXPECT_EQ(xmlText("x\x01y\xFFz\t"), "x\xEF\xBF\xBDy\xEF\xBF\xBDz\t");
    EXPECT_EQ(xmlText("\xE2\x82\xAC\xF0\x9F\x98\x80"), "\xE2\x82\xAC\xF0\x9F\x98\x80");
}
