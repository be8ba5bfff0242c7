#include "findings.h"

#include "unit_support.h"

#include <gtest/gtest.h>

namespace {

std::string printed() {
    return shown_by(print_findings);
}

struct Findings : testing::Test {
    Findings() {
        forget_findings();
    }
};

TEST_F(Findings, WithoutAnyOnlyTheCountsArePrinted) {
    EXPECT_EQ(printed(), "0 errors, 0 warnings, 0 notes\n");
    EXPECT_EQ(error_count(), 0U);
}

TEST_F(Findings, ArePrintedErrorsFirstAndEachGradeByFileAndLine) {
    report_note("a", kNoLine, "n");
    report_warning("b", 2, "w");
    report_error("c", 10, "e");
    report_warning("b", 1, "w");
    report_error("c", 9, "e");
    EXPECT_EQ(printed(),
              "c:9: error: e\nc:10: error: e\nb:1: warning: w\nb:2: warning: w\na: note: n\n"
              "2 errors, 2 warnings, 1 note\n");
    EXPECT_EQ(error_count(), 2U);
}

TEST_F(Findings, OfOneFileAndLineStayInTheOrderInWhichTheyWereFound) {
    report_error("a", 1, "z");
    report_error("a", 1, "b");
    EXPECT_EQ(printed(), "a:1: error: z\na:1: error: b\n2 errors, 0 warnings, 0 notes\n");
}

TEST_F(Findings, ThatAreTheSameAreSaidOnce) {
    report_error("a", 1, "x");
    report_error("a", 1, "x");
    EXPECT_EQ(printed(), "a:1: error: x\n1 error, 0 warnings, 0 notes\n");
}

TEST(Escaped, KeepsPlainTextAndCharactersOfUtf8) {
    EXPECT_EQ(escaped("a b:c \xc3\xa4 \xe6\x97\xa5 \xf0\x9f\x98\x80"),
              "a b:c \xc3\xa4 \xe6\x97\xa5 \xf0\x9f\x98\x80");
}

TEST(Escaped, WritesControlsAndTheBackslashInLetters) {
    EXPECT_EQ(escaped("a\nb\tc\\d\x1b\x7f"), "a\\nb\\tc\\\\d\\x1b\\x7f");
    EXPECT_EQ(escaped(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(escaped("\xc2\x85"), "\\xc2\\x85");
}

TEST(Escaped, WritesBytesThatAreNoUtf8AsNumbers) {
    EXPECT_EQ(escaped("\xe4"), "\\xe4");
    EXPECT_EQ(escaped("\xe6\x97"), "\\xe6\\x97");
    EXPECT_EQ(escaped("\xc0\xaf"), "\\xc0\\xaf");
    EXPECT_EQ(escaped("\xed\xa0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(escaped("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
    EXPECT_EQ(escaped("\xff"), "\\xff");
}

TEST(Escaped, WritesTheColonThatWouldEndAFile) {
    EXPECT_EQ(escaped("a:b", true), "a\\x3ab");
}

TEST(Counted, HasTheNounInOneOrMany) {
    EXPECT_EQ(counted(0, "file"), "0 files");
    EXPECT_EQ(counted(1, "file"), "1 file");
    EXPECT_EQ(counted(2, "file"), "2 files");
}

} // namespace
