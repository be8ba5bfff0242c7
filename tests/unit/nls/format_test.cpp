// Typed formatting: as printf where a template is sound, harmless where it is not.
#include "nls/format.h"

#include "unit_support.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

namespace {

// Every subset of `flags`, in the order given.
std::vector<std::string> flag_sets(const std::string& flags) {
    std::vector<std::string> sets;
    for (unsigned subset = 0; subset < 1U << flags.size(); ++subset) {
        std::string set;
        for (std::size_t bit = 0; bit < flags.size(); ++bit)
            set += (subset >> bit & 1U) != 0 ? flags.substr(bit, 1) : "";
        sets.push_back(set);
    }
    return sets;
}

// Holds each combination of flags, width and precision against the C library, for `value`.
template <typename Value>
void expect_as_printf(const std::string& flags, const std::string& length,
                      const std::string& conversions, Value value) {
    for (const std::string& set : flag_sets(flags)) {
        for (const char* width : {"", "1", "5", "12", "40"}) {
            for (const char* precision : {"", ".", ".0", ".1", ".3", ".9", ".20"}) {
                for (const char conversion : conversions) {
                    const std::string text =
                        "<%" + set + width + precision + length + conversion + ">";
                    char expected[1024];
                    std::snprintf(expected, sizeof expected, text.c_str(), value);
                    EXPECT_EQ(format_text(text, {value}), expected) << text;
                }
            }
        }
    }
}

TEST(Formatting, TextWithoutDirectivesIsCopiedAsItIs) {
    EXPECT_EQ(format_text(""), "");
    EXPECT_EQ(format_text("Checking \xC3\xA9\n\ttext, 100 $ \\n"),
              "Checking \xC3\xA9\n\ttext, 100 $ \\n");
}

TEST(Formatting, TwoPercentSignsPrintOne) {
    EXPECT_EQ(format_text("%%"), "%");
    EXPECT_EQ(format_text("100%% of %s", {"it"}), "100% of it");
    EXPECT_EQ(format_text("%%s %%%s", {"x"}), "%s %x");
    EXPECT_EQ(format_text("%%%%"), "%%");
}

TEST(Formatting, ArgumentsFillTheDirectivesInTheirOrder) {
    EXPECT_EQ(format_text("%s is %d of %s", {"a", 2, std::string("three")}), "a is 2 of three");
}

TEST(Formatting, ArgumentsLeftOverAreIgnored) {
    EXPECT_EQ(format_text("%s", {"a", "b", 3}), "a");
    EXPECT_EQ(format_text("plain", {"a"}), "plain");
}

TEST(Formatting, AnArgumentIsNeverTakenForATemplate) {
    EXPECT_EQ(format_text("%s|%s", {"%d%s%n%%", "b"}), "%d%s%n%%|b");
}

TEST(Formatting, TextsHaveNoLengthLimit) {
    const std::string large(200000, 'x');
    EXPECT_EQ(format_text("<%s>" + large, {large}), "<" + large + ">" + large);
}

TEST(Formatting, ANulInsideATemplateIsAByteLikeOthers) {
    const std::string text("a\0%s\0b%\0c", 10);
    EXPECT_EQ(format_text(text, {"x"}), std::string("a\0x\0b%\0c", 9));
}

TEST(FormattingNumbers, SignedWholeNumbersPrintAsPrintfPrintsThem) {
    for (const int value : {0, 1, 7, 42, -1, -42, 100000, INT_MAX, INT_MIN})
        expect_as_printf("-+ 0", "", "di", value);
}

TEST(FormattingNumbers, UnsignedWholeNumbersPrintAsPrintfPrintsThem) {
    for (const int value : {0, 1, 7, 8, 42, 255, -1, INT_MAX, INT_MIN}) {
        expect_as_printf("-0", "", "u", value);
        expect_as_printf("-#0", "", "xXo", value);
    }
}

TEST(FormattingNumbers, LongWholeNumbersPrintAsPrintfPrintsThem) {
    for (const char* length : {"l", "ll", "j", "z", "t"}) {
        for (const long long value : {0LL, 8796093022208LL, -1LL, LLONG_MAX, LLONG_MIN}) {
            expect_as_printf("-+ 0", length, "di", value);
            expect_as_printf("-#0", length, "xXo", value);
            expect_as_printf("-0", length, "u", value);
        }
    }
}

TEST(FormattingNumbers, ShortWholeNumbersPrintAsPrintfPrintsThem) {
    for (const char* length : {"h", "hh"}) {
        for (const int value : {0, 1, 127, -1, -128}) {
            expect_as_printf("-+ 0", length, "di", value);
            expect_as_printf("-#0", length, "xXo", value);
            expect_as_printf("-0", length, "u", value);
        }
    }
}

TEST(FormattingNumbers, DecimalNumbersPrintAsPrintfPrintsThem) {
    for (const double value :
         {0.0, -0.0, 0.5, 1.5, 2.5, -2.5, 0.125, 3.14159265358979, -2.675, 99999.9999, 1e15, 1e-7,
          1e100, DBL_MAX, DBL_MIN, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        expect_as_printf("-+ #0", "", "f", value);
}

TEST(FormattingNumbers, ALengthLetterDoesNotChangeADecimalNumber) {
    for (const char* text : {"%.2f", "%.2lf", "%.2Lf"})
        EXPECT_EQ(format_text(text, {1.5}), "1.50") << text;
}

TEST(FormattingNumbers, AWholeNumberIsPrintedInFullWhateverTheLengthLettersSay) {
    EXPECT_EQ(format_text("%d", {8796093022208LL}), "8796093022208");
    EXPECT_EQ(format_text("%u", {8796093022208LL}), "8796093022208");
    EXPECT_EQ(format_text("%x", {0x123456789ALL}), "123456789a");
}

TEST(FormattingNumbers, WholeNumbersOfEveryTypeAreTaken) {
    EXPECT_EQ(
        format_text("%d %d %d %d %lu", {static_cast<short>(-3), 4U, 5L, true, std::size_t{6}}),
        "-3 4 5 1 6");
    EXPECT_EQ(format_text("%lu", {ULLONG_MAX}), "18446744073709551615");
}

TEST(FormattingNumbers, TheFlagForGroupingChangesNothing) {
    EXPECT_EQ(format_text("%'d|%'9d|%-'9d|%'.2f", {1234567, 1234567, 1234567, 1234.5}),
              "1234567|  1234567|1234567  |1234.50");
}

TEST(FormattingTexts, TextsPrintAsPrintfPrintsThem) {
    for (const char* value : {"", "a", "abc", "a longer text than the precision"})
        expect_as_printf("-", "", "s", value);
    for (const int value : {0x41, 0x7A, 0x25, 0xE9})
        for (const char* text : {"<%c>", "<%5c>", "<%-5c>"}) {
            char expected[64];
            std::snprintf(expected, sizeof expected, text, value);
            EXPECT_EQ(format_text(text, {value}), expected) << text;
        }
}

TEST(FormattingTexts, TheCharacterOfATextIsItsFirst) {
    EXPECT_EQ(format_text("<%c><%3c><%-3c><%c>", {"abc", "def", "g", ""}), "<a><  d><g  ><>");
}

TEST(FormattingTexts, AnAbsentTextPrintsNothing) {
    const char* absent = nullptr;
    EXPECT_EQ(format_text("<%s><%3s>", {absent, absent}), "<><   >");
}

TEST(FormattingTexts, TextsOfEveryTypeAreTaken) {
    const std::string text = "text";
    EXPECT_EQ(format_text("%s %s %s", {text, std::string_view("view"), "plain"}),
              "text view plain");
}

TEST(FormattingTexts, ALengthLetterDoesNotChangeAText) {
    EXPECT_EQ(format_text("<%ls><%hs>", {"a", "b"}), "<a><b>");
}

TEST(FormattingMixedTypes, ANumberIsPrintedForATextDirective) {
    EXPECT_EQ(format_text("<%s><%5s><%-5s><%.1s>", {42, -7, 7, 42}), "<42><   -7><7    ><4>");
    EXPECT_EQ(format_text("<%s><%.3s>", {1.5, 2.25}), "<1.500000><2.2>");
}

TEST(FormattingMixedTypes, ATextIsPrintedForANumberDirective) {
    for (const char conversion : std::string("diuxXof"))
        EXPECT_EQ(format_text(std::string("<%") + conversion + ">", {"Text"}), "<Text>")
            << conversion;
    EXPECT_EQ(format_text("<%6d><%-6x><%06d><%+d>", {"ab", "ab", "ab", "ab"}),
              "<    ab><ab    ><    ab><ab>");
}

TEST(FormattingMixedTypes, ADecimalNumberIsCutForAWholeNumberDirective) {
    EXPECT_EQ(format_text("%d %d %i %u %x", {3.99, -3.99, 0.5, 12.7, 255.9}), "3 -3 0 12 ff");
    EXPECT_EQ(format_text("%c", {65.9}), "A");
}

TEST(FormattingMixedTypes, AWholeNumberIsPrintedForADecimalDirective) {
    EXPECT_EQ(format_text("%f %.1f %.0f", {3, -4, 5}), "3.000000 -4.0 5");
}

TEST(FormattingMixedTypes, ADecimalNumberTooLargeForAWholeOneIsTheLargest) {
    EXPECT_EQ(format_text("%d", {1e300}), "9223372036854775807");
    EXPECT_EQ(format_text("%d", {-1e300}), "-9223372036854775808");
    EXPECT_EQ(format_text("%d", {std::numeric_limits<double>::infinity()}), "9223372036854775807");
    EXPECT_EQ(format_text("%d", {std::numeric_limits<double>::quiet_NaN()}), "0");
}

TEST(FormattingPositions, APositionNamesTheArgument) {
    EXPECT_EQ(format_text("%2$s %1$s", {"a", "b"}), "b a");
    EXPECT_EQ(format_text("%1$s %1$s", {"a", "b"}), "a a");
    EXPECT_EQ(format_text("%3$s", {"a", "b", "c"}), "c");
}

TEST(FormattingPositions, FlagsWidthAndPrecisionFollowThePosition) {
    EXPECT_EQ(format_text("<%2$-5s><%1$05d><%2$.1s><%3$+.2f>", {42, "abc", 1.5}),
              "<abc  ><00042><a><+1.50>");
    EXPECT_EQ(format_text("<%1$ld><%2$lu>", {42, 7}), "<42><7>");
}

TEST(FormattingPositions, TenPositionsAndMoreWork) {
    EXPECT_EQ(format_text("%11$d %10$d %1$d", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}), "11 10 1");
}

TEST(FormattingPositions, WidthAndPrecisionMayBeNamedByPosition) {
    EXPECT_EQ(format_text("<%1$*2$d><%1$.*3$f>", {7, 4, 1}), "<   7><7.0>");
}

TEST(FormattingPositions, APositionDoesNotMoveTheNextArgument) {
    EXPECT_EQ(format_text("%s %1$s %s", {"a", "b"}), "a a b");
}

TEST(FormattingPositions, AWidthByPositionDoesNotMoveTheNextArgument) {
    EXPECT_EQ(format_text("<%1$*2$d><%s>", {7, 4}), "<   7><7>");
}

TEST(FormattingPositions, APositionWithoutArgumentPrintsNothing) {
    EXPECT_EQ(format_text("<%3$s><%1$s>", {"a", "b"}), "<><a>");
    EXPECT_EQ(format_text("<%2147483648$s><%99999999999999999999$d>", {"a"}), "<><>");
}

TEST(FormattingPositions, ThereIsNoPositionZero) {
    EXPECT_EQ(format_text("<%0$s>", {"a"}), "<%0$s>");
}

TEST(FormattingStars, WidthAndPrecisionMayComeFromTheArguments) {
    EXPECT_EQ(format_text("<%*d>", {5, 42}), "<   42>");
    EXPECT_EQ(format_text("<%.*f>", {2, 1.5}), "<1.50>");
    EXPECT_EQ(format_text("<%*.*s>", {5, 2, "abc"}), "<   ab>");
}

TEST(FormattingStars, APrecisionOfZeroIsAPrecision) {
    EXPECT_EQ(format_text("<%.*f><%.*s><%.*d>", {0, 2.75, 0, "abc", 0, 0}), "<3><><>");
}

TEST(FormattingStars, ANegativeWidthAlignsToTheLeft) {
    EXPECT_EQ(format_text("<%*d>", {-5, 42}), "<42   >");
}

TEST(FormattingStars, ANegativePrecisionCountsAsNone) {
    EXPECT_EQ(format_text("<%.*f><%.*s>", {-1, 1.5, -3, "abc"}), "<1.500000><abc>");
}

TEST(FormattingStars, AMissingOrTextualWidthCountsAsZero) {
    EXPECT_EQ(format_text("<%*d>"), "<>");
    EXPECT_EQ(format_text("<%*d>", {"wide", 42}), "<42>");
    EXPECT_EQ(format_text("<%*d>", {5}), "<>");
}

TEST(FormattingMissingArguments, ADirectiveWithoutArgumentPrintsNothing) {
    for (const char* text :
         {"%d",    "%i",   "%u",   "%x",  "%X",   "%o", "%s",   "%c", "%f",  "%5d",
          "%-20s", "%08x", "%.3f", "%ld", "%1$s", "%n", "%hhn", "%p", "%*d", "%.*s"})
        EXPECT_EQ(format_text(std::string("<") + text + ">"), "<>") << text;
}

TEST(FormattingMissingArguments, TheDirectivesThatHaveOneAreFilled) {
    EXPECT_EQ(format_text("%s, %s and %d.", {"a"}), "a,  and .");
}

TEST(FormattingHostileTemplates, NothingIsWrittenThroughAnArgument) {
    char bytes[] = "bytes";
    long long number = 42;
    for (const char* text : {"ab%n", "ab%hhn", "ab%hn", "ab%ln", "ab%lln", "ab%1$n", "ab%1$lln"}) {
        EXPECT_EQ(format_text(text, {static_cast<const char*>(bytes)}), "ab") << text;
        EXPECT_EQ(format_text(text, {number}), "ab") << text;
    }
    EXPECT_STREQ(bytes, "bytes");
    EXPECT_EQ(number, 42);
}

TEST(FormattingHostileTemplates, ALetterThatIsNoConversionTakesItsArgumentAndPrintsNothing) {
    EXPECT_EQ(format_text("%s%n%s", {"a", "b", "c"}), "ac");
    for (const char* letter : {"p", "n", "S", "C", "b", "k", "y", "Q", "m"})
        EXPECT_EQ(format_text(std::string("<%") + letter + "><%s>", {"a", "b"}), "<><b>") << letter;
}

TEST(FormattingHostileTemplates, AWidthStopsAt1023) {
    EXPECT_EQ(kMaxFormatWidth, 1023);
    const std::string wide = std::string(1022, ' ') + "7";
    for (const char* text : {"%1023d", "%1024d", "%2147483647d", "%2147483648d",
                             "%99999999999999999999999d", "%1$4294967295d"})
        EXPECT_EQ(format_text(text, {7}), wide) << text;
    EXPECT_EQ(format_text("%-99999999999s|", {"7"}), "7" + std::string(1022, ' ') + "|");
    EXPECT_EQ(format_text("%099999999999d", {7}), std::string(1022, '0') + "7");
    for (const long long width : {1024LL, 4294967296LL, LLONG_MAX})
        EXPECT_EQ(format_text("%*d", {width, 7}), wide) << width;
    for (const long long width : {-1024LL, -4294967296LL, LLONG_MIN})
        EXPECT_EQ(format_text("%*d", {width, 7}), "7" + std::string(1022, ' ')) << width;
}

TEST(FormattingHostileTemplates, ThePrecisionOfANumberStopsAt1023) {
    EXPECT_EQ(format_text("%.1024d", {7}), std::string(1022, '0') + "7");
    EXPECT_EQ(format_text("%.99999999999d", {7}), std::string(1022, '0') + "7");
    EXPECT_EQ(format_text("%.99999999999f", {0.5}), "0.5" + std::string(1022, '0'));
    EXPECT_EQ(format_text("%.*d", {LLONG_MAX, 7}), std::string(1022, '0') + "7");
    EXPECT_EQ(format_text("%.*f", {LLONG_MAX, 0.5}), "0.5" + std::string(1022, '0'));
}

TEST(FormattingHostileTemplates, ThePrecisionOfATextMayBeOfAnySize) {
    const std::string large(5000, 'x');
    for (const char* text : {"%.5000s", "%.2147483648s", "%.99999999999999999999s"})
        EXPECT_EQ(format_text(text, {large}), large) << text;
    EXPECT_EQ(format_text("%.2000s", {large}), large.substr(0, 2000));
    EXPECT_EQ(format_text("%.*s", {2000, large}), large.substr(0, 2000));
    EXPECT_EQ(format_text("%.*s", {LLONG_MAX, large}), large);
}

TEST(FormattingHostileTemplates, TheLargestNumberIsPrintedWithEveryDecimal) {
    const std::string shown = format_text("%.1023f", {DBL_MAX});
    EXPECT_EQ(shown.size(), 309U + 1U + 1023U);
    EXPECT_TRUE(shown.starts_with("17976931348623157"));
}

TEST(FormattingHostileTemplates, WhatIsNoDirectiveIsCopied) {
    for (const char* text : {"%", "100%", "100% ", "5% (of 20)", "%-", "%5", "%5.", "%5.3", "%l",
                             "%1$", "%$s", "%-+ #0", "%.", "%!", "%\n", "%\xC3\xA9"})
        EXPECT_EQ(format_text(text, {"a", "b"}), text) << text;
}

TEST(FormattingHostileTemplates, TheCharactersBesideTheLettersAreNoConversions) {
    for (const char* text : {"%@", "%[s]", "%`", "%{0}", "%~"})
        EXPECT_EQ(format_text(text, {"a", "b"}), text) << text;
}

TEST(FormattingHostileTemplates, ADirectiveBehindALonePercentSignIsStillFilled) {
    EXPECT_EQ(format_text("100% (%s)", {"a"}), "100% (a)");
    EXPECT_EQ(format_text("%5!%s", {"a"}), "%5!a");
}

TEST(FormattingHostileTemplates, RepeatedFlagsCountOnce) {
    EXPECT_EQ(format_text("<%--5d><%++d><%005d><%##x>", {1, 2, 3, 4}), "<1    ><+2><00003><0x4>");
}

TEST(FormattingHostileTemplates, AHundredThousandDirectivesAreReadToTheEnd) {
    std::string text;
    for (int number = 0; number < 100000; ++number)
        text += "%s";
    EXPECT_EQ(format_text(text, {"a", "b"}), "ab");
}

} // namespace
