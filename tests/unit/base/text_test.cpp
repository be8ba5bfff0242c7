// White space, splitting and numbers at the start of a text.
#include "base/text.h"

#include "unit_support.h"

#include <cctype>
#include <clocale>
#include <cmath>
#include <cstdlib>

namespace {

using Pieces = std::vector<std::string>;

TEST(WhiteSpace, IsWhatTheCLocaleClassifiesAsSpace) {
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    for (int code = 0; code < 256; ++code)
        EXPECT_EQ(is_white_space(static_cast<char>(code)), std::isspace(code) != 0) << code;
}

TEST(Trimming, TakesWhiteSpaceFromBothEndsAndLeavesTheMiddle) {
    EXPECT_EQ(trimmed(" \t\n\v\f\r a b\tc \r\n"), "a b\tc");
    EXPECT_EQ(trimmed("a"), "a");
}

TEST(Trimming, ATextOfWhiteSpaceOnlyBecomesEmpty) {
    EXPECT_EQ(trimmed(" \t "), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Splitting, GivesThePiecesInTheirOrder) {
    EXPECT_EQ(split("a,b,c", ","), (Pieces{"a", "b", "c"}));
}

TEST(Splitting, ARunOfSeparatorsCountsAsOne) {
    EXPECT_EQ(split("a,,,b", ","), (Pieces{"a", "b"}));
}

TEST(Splitting, SeparatorsAtTheEndsMakeNoEmptyPieces) {
    EXPECT_EQ(split(",a,", ","), Pieces{"a"});
    EXPECT_EQ(split(",,,", ","), Pieces{});
    EXPECT_EQ(split("", ","), Pieces{});
}

TEST(Splitting, TrimsNothing) {
    EXPECT_EQ(split(" a , b ", ","), (Pieces{" a ", " b "}));
}

TEST(Splitting, EachCharacterOfTheSetSeparates) {
    EXPECT_EQ(split("a b\tc \t d", " \t"), (Pieces{"a", "b", "c", "d"}));
}

TEST(Splitting, ATextWithoutSeparatorIsOnePiece) {
    EXPECT_EQ(split("a b", ","), Pieces{"a b"});
    EXPECT_EQ(split("a b", ""), Pieces{"a b"});
}

TEST(Splitting, APieceMayHaveAnyLength) {
    const std::string large(100000, 'x');
    EXPECT_EQ(split(large + "," + large, ","), (Pieces{large, large}));
}

TEST(WholeNumber, IsReadFromTheStartOfTheText) {
    EXPECT_EQ(leading_whole_number<int>("2400"), 2400);
    EXPECT_EQ(leading_whole_number<int>("007"), 7);
    EXPECT_EQ(leading_whole_number<int>("2400 MHz"), 2400);
    EXPECT_EQ(leading_whole_number<int>("12,34"), 12);
    EXPECT_EQ(leading_whole_number<int>("3.99"), 3);
}

TEST(WholeNumber, MayHaveWhiteSpaceAndOneSignBeforeIt) {
    EXPECT_EQ(leading_whole_number<int>(" \t\n42"), 42);
    EXPECT_EQ(leading_whole_number<int>("+42"), 42);
    EXPECT_EQ(leading_whole_number<int>("-42"), -42);
    EXPECT_EQ(leading_whole_number<int>(" -42x"), -42);
}

TEST(WholeNumber, ZeroStandsForNoNumber) {
    for (const char* text :
         {"", " ", "abc", "+", "-", "+-5", "-+5", "++5", "--5", "- 5", "+ 5", "x1", ".5", ",1"})
        EXPECT_EQ(leading_whole_number<int>(text), 0) << text;
}

TEST(WholeNumber, IsCutToTheRangeOfItsType) {
    EXPECT_EQ(leading_whole_number<int>("2147483647"), 2147483647);
    EXPECT_EQ(leading_whole_number<int>("2147483648"), 2147483647);
    EXPECT_EQ(leading_whole_number<int>("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(leading_whole_number<int>("-99999999999999999999999"), -2147483647 - 1);
    EXPECT_EQ(leading_whole_number<int>("+99999999999999999999999"), 2147483647);
    EXPECT_EQ(leading_whole_number<long>("8796093022208"), 8796093022208L);
    EXPECT_EQ(leading_whole_number<long>(std::string(400, '9')), LONG_MAX);
}

TEST(DecimalNumber, IsReadFromTheStartOfTheText) {
    EXPECT_EQ(leading_decimal_number("512"), 512.0);
    EXPECT_EQ(leading_decimal_number("1.5"), 1.5);
    EXPECT_EQ(leading_decimal_number("1.5MB"), 1.5);
    EXPECT_EQ(leading_decimal_number(".25"), 0.25);
    EXPECT_EQ(leading_decimal_number("2."), 2.0);
    EXPECT_EQ(leading_decimal_number("1.2.3"), 1.2);
    EXPECT_EQ(leading_decimal_number("1e3"), 1000.0);
}

TEST(DecimalNumber, IsReadAsCReadsIt) {
    for (const char* text : {"0x10", "0x1.8p1MB", "-0X1F", "0x", "1e", "1e+", "1.5e3.2", "infinite",
                             "-inf", "12a", "0755", "1'000", "1_000"})
        EXPECT_EQ(leading_decimal_number(text), std::atof(text)) << text;
    EXPECT_EQ(leading_decimal_number("0x10"), 16.0);
    EXPECT_TRUE(std::isnan(leading_decimal_number("nan")));
}

TEST(DecimalNumber, MayHaveWhiteSpaceAndOneSignBeforeIt) {
    EXPECT_EQ(leading_decimal_number(" \t1.5"), 1.5);
    EXPECT_EQ(leading_decimal_number("+1.5"), 1.5);
    EXPECT_EQ(leading_decimal_number("-1.5"), -1.5);
}

TEST(DecimalNumber, ZeroStandsForNoNumber) {
    for (const char* text : {"", " ", "abc", "+", "-", "+-5", "- 5", "+ 5", ".", "e5"})
        EXPECT_EQ(leading_decimal_number(text), 0.0) << text;
}

TEST(DecimalNumber, ACommaIsNoDecimalPoint) {
    EXPECT_EQ(leading_decimal_number("1,5"), 1.0);
}

TEST(DecimalNumber, OneTooLargeToHoldIsInfinite) {
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(leading_decimal_number("1e400"), infinite);
    EXPECT_EQ(leading_decimal_number("+1e400"), infinite);
    EXPECT_EQ(leading_decimal_number("-1e400"), -infinite);
    EXPECT_EQ(leading_decimal_number(std::string(400, '9')), infinite);
    EXPECT_EQ(leading_decimal_number("1E+400MB"), infinite);
    EXPECT_EQ(leading_decimal_number("1" + std::string(400, '0') + "e-20"), infinite);
    EXPECT_EQ(leading_decimal_number("0.001e99999999999999999999"), infinite);
}

TEST(DecimalNumber, OneTooSmallToHoldIsZero) {
    EXPECT_EQ(leading_decimal_number("1e-400"), 0.0);
    EXPECT_EQ(leading_decimal_number("-1e-400"), 0.0);
    EXPECT_EQ(leading_decimal_number("1E-400"), 0.0);
    EXPECT_EQ(leading_decimal_number("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(leading_decimal_number("0." + std::string(400, '0') + "1e20"), 0.0);
    EXPECT_EQ(leading_decimal_number("1000e-99999999999999999999"), 0.0);
}

} // namespace
