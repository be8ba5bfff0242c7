#include "unzip/names.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

// Why nothing may be unpacked under `name`; empty when something may.
std::string wrong_with(std::string_view name) {
    const char* reason = unsafe_name(name);
    return reason == nullptr ? "" : reason;
}

TEST(UnzipNames, MayBeUsedWhenTheyStayInTheDirectoryToUnpackInto) {
    for (const char* name : {"a", "a/b", "a/", "./a", "a//b", "a/./b", ".", "./", " ", "a b", "~"})
        EXPECT_EQ(wrong_with(name), "") << name;
}

TEST(UnzipNames, MayNotBeEmpty) {
    EXPECT_EQ(wrong_with(""), "its name is empty");
}

TEST(UnzipNames, MayNotHaveAnyControlCharacterAnywhere) {
    for (int c = 0; c < 0x100; ++c) {
        const bool is_control = c < 0x20 || c == 0x7f;
        for (const std::string& before : {""s, "a/b"s}) {
            const std::string name = before + static_cast<char>(c) + "x";
            if (c == '/' || c == '\\')
                continue;
            EXPECT_EQ(wrong_with(name), is_control ? "its name has a control character in it" : "")
                << c;
        }
    }
}

TEST(UnzipNames, MayNotHaveABackslashAnywhere) {
    for (const char* name : {"\\a", "a\\b", "a\\", "..\\a"})
        EXPECT_EQ(wrong_with(name), "its name has a backslash in it") << name;
}

TEST(UnzipNames, MayNotBeginAtTheRootDirectory) {
    for (const char* name : {"/", "/a", "//a", "/./a"})
        EXPECT_EQ(wrong_with(name), "its name begins at the root directory") << name;
}

TEST(UnzipNames, MayNotBeginWithADriveLetter) {
    for (const char* name : {"C:", "c:a", "Z:/a", "a:b"})
        EXPECT_EQ(wrong_with(name), "its name begins with a drive letter") << name;
}

TEST(UnzipNames, MayHaveColonsThatMakeNoDrive) {
    for (const char* name : {":", ":a", "1:a", "ab:c", "a/c:b", "\xe4:a"})
        EXPECT_EQ(wrong_with(name), "") << name;
}

TEST(UnzipNames, MayNotLeadUpwardsByAnyPiece) {
    for (const char* name : {"..", "../a", "a/..", "a/../b", "a//../b", "./..", "../"})
        EXPECT_EQ(wrong_with(name), "its name leads upwards") << name;
}

TEST(UnzipNames, MayHavePointsThatDoNotLeadUpwards) {
    for (const char* name : {"...", "..a", "a..", "a/..b", "a/b..", ".a"})
        EXPECT_EQ(wrong_with(name), "") << name;
}

TEST(UnzipNames, AreToldTheFirstReasonOnly) {
    EXPECT_EQ(wrong_with("/\n\\.."), "its name has a control character in it");
    EXPECT_EQ(wrong_with("/\\\n"), "its name has a backslash in it");
    EXPECT_EQ(wrong_with("/../a"), "its name begins at the root directory");
    EXPECT_EQ(wrong_with("c:/../a"), "its name begins with a drive letter");
}

TEST(UnzipNames, LoseEmptyPiecesAndSinglePoints) {
    EXPECT_EQ(plain_name("a/b"), "a/b");
    EXPECT_EQ(plain_name("./a//b/."), "a/b");
    EXPECT_EQ(plain_name("a///"), "a");
    EXPECT_EQ(plain_name("/a"), "a");
    EXPECT_EQ(plain_name("a/./././b/"), "a/b");
}

TEST(UnzipNames, KeepAllOtherPieces) {
    EXPECT_EQ(plain_name(".a/b./.../ /\xff"), ".a/b./.../ /\xff");
    EXPECT_EQ(plain_name("a/../b"), "a/../b");
}

TEST(UnzipNames, AreEmptyForTheDirectoryToUnpackInto) {
    for (const char* name : {"", ".", "./", "/", "././/."})
        EXPECT_EQ(plain_name(name), "") << name;
}

TEST(UnzipNames, AreShownWithControlCharactersAsLetters) {
    EXPECT_EQ(printable("a\0b"s), "a^@b");
    EXPECT_EQ(printable("\x01\n\r\t\x1b[2J\x1f"), "^A^J^M^I^[[2J^_");
    EXPECT_EQ(printable("\x7f"), "^?");
}

TEST(UnzipNames, AreShownAsTheyAreOtherwise) {
    EXPECT_EQ(printable(" ~^\\/\x80\xff \xc3\xa4"), " ~^\\/\x80\xff \xc3\xa4");
    EXPECT_EQ(printable(""), "");
}

} // namespace
