// The order of versions and the search for the highest version directory.
#include "bootstrap/version.h"

#include "unit_support.h"

#include <vector>

namespace {

bool lower(const char* first, const char* second) {
    return kstxvl(first, second, 5);
}

void expect_lower(const char* low, const char* high) {
    EXPECT_TRUE(lower(low, high)) << low << " below " << high;
    EXPECT_FALSE(lower(high, low)) << high << " below " << low;
}

void expect_equal(const char* first, const char* second) {
    EXPECT_FALSE(lower(first, second)) << first << " below " << second;
    EXPECT_FALSE(lower(second, first)) << second << " below " << first;
}

std::string highest_in(const std::string& directory) {
    std::string highest = "left over";
    const std::string& returned = findHighestVersion(highest, directory);
    EXPECT_EQ(&returned, &highest);
    return highest;
}

void make_directories(const TemporaryDirectory& directory, const std::vector<std::string>& names) {
    for (const std::string& name : names)
        std::filesystem::create_directory(directory.file(name));
}

TEST(VersionField, IsARunOfDigitsWithBlanksBeforeAndAfterIt) {
    for (const char* text : {"42", " 42", "42 ", "   42   ", "0042"}) {
        int number = -7;
        EXPECT_TRUE(kstxpe(text, number)) << text;
        EXPECT_EQ(number, 42) << text;
    }
}

TEST(VersionField, TextWithoutDigitsIsZero) {
    for (const char* text : {"", " ", "     "}) {
        int number = -7;
        EXPECT_TRUE(kstxpe(text, number)) << '"' << text << '"';
        EXPECT_EQ(number, 0) << '"' << text << '"';
    }
}

TEST(VersionField, AnythingButDigitsAndBlanksAroundThemIsRefusedAndTheNumberUntouched) {
    for (const char* text : {"4 2", "4a", "a4", "4.", "-4", "+4", "\t4", "4\t", "4 a", "4 2 "}) {
        int number = -7;
        EXPECT_FALSE(kstxpe(text, number)) << text;
        EXPECT_EQ(number, -7) << text;
    }
}

TEST(VersionField, TheLargestNumberIs2147483647) {
    int number = -7;
    EXPECT_TRUE(kstxpe("2147483647", number));
    EXPECT_EQ(number, 2147483647);
    for (const char* text :
         {"2147483648", "2147483657", "4294967296", "4294967338", "99999999999999999999999999"}) {
        number = -7;
        EXPECT_FALSE(kstxpe(text, number)) << text;
        EXPECT_EQ(number, -7) << text;
    }
}

TEST(VersionOrder, GoesFieldByFieldByNumberAndNotByText) {
    expect_lower("10.2.0.3.5", "10.2.0.4.0");
    expect_lower("9.9", "10.0");
    expect_lower("1.9", "1.10");
    expect_lower("0.0.0.0.0", "0.0.0.0.1");
}

TEST(VersionOrder, AVersionIsNotLowerThanItself) {
    for (const char* text : {"", "1", "1.7.0.0.0", "1.2a", "abc", " 1 . 2", "1.2.3.4.5.6"})
        EXPECT_FALSE(lower(text, text)) << text;
}

TEST(VersionOrder, TheFirstDifferentFieldDecides) {
    expect_lower("1.2.9.9.9", "1.3.0.0.0");
}

TEST(VersionOrder, LeadingZerosDoNotCount) {
    expect_equal("1.07", "1.7");
}

TEST(VersionOrder, CommaAndPointSeparateAlike) {
    expect_equal("1,2", "1.2");
    expect_lower("1,2", "1.3");
}

TEST(VersionOrder, BlanksBeforeAFieldDoNotCount) {
    expect_equal("1. 2", "1.2");
    expect_equal("   1.2", "1.2");
    expect_lower("1.   2", "1.3");
}

TEST(VersionOrder, BlanksAfterAFieldEndIt) {
    expect_equal("1 2", "1.2");
}

TEST(VersionOrder, AfterEqualFieldsTheLongerVersionIsTheHigherOne) {
    expect_lower("1.2", "1.2.0");
    expect_lower("1.2.3.4.5", "1.2.3.4.5.1");
}

TEST(VersionOrder, TheSixthFieldIsNeverCompared) {
    expect_equal("1.2.3.4.5.0", "1.2.3.4.5.1");
}

TEST(VersionOrder, TheNumberOfFieldsLimitsTheComparison) {
    EXPECT_FALSE(kstxvl("1.2.3", "1.2.4", 2));
    EXPECT_TRUE(kstxvl("1.2.3", "1.2.4", 3));
    EXPECT_FALSE(kstxvl("1", "2", 0));
    EXPECT_TRUE(kstxvl("1.2.3.4.5.0", "1.2.3.4.5.1", 6));
}

TEST(VersionOrder, AFieldLessVersionIsLowerThanOneWithAFieldThere) {
    expect_lower("1.a", "1.0");
    expect_lower("abc", "0");
    expect_lower("1..2", "1.0.2");
}

TEST(VersionOrder, ATailIsHigherThanNone) {
    expect_lower("1.2", "1.2a");
}

TEST(VersionOrder, TailsAreOrderedByTheirFirstCharacter) {
    expect_lower("1.2a", "1.2b");
    expect_equal("1.2ab", "1.2aa");
    expect_lower("1.a", "1.b");
}

TEST(VersionOrder, TheCaseOfATailDoesNotCount) {
    expect_equal("1.2A", "1.2a");
    expect_equal("1.2Z", "1.2z");
    expect_lower("1.2A", "1.2b");
    expect_lower("1.2a", "1.2B");
    // Only letters are folded.
    expect_lower("1.2@", "1.2`");
    expect_lower("1.2[", "1.2{");
}

TEST(VersionOrder, BytesFrom128OnCountAsNegativeCharacters) {
    expect_lower("1.2\xE9", "1.2a");
}

TEST(VersionOrder, ATrailingSeparatorChangesNothing) {
    expect_equal("1.2.", "1.2");
    expect_equal("1.2,", "1.2");
    expect_lower("1.2.", "1.2.1");
}

TEST(VersionOrder, OnlyOneSeparatorIsSteppedOver) {
    expect_lower("1..", "1.0");
    expect_lower("1.", "1..");
}

TEST(VersionOrder, AnEmptyVersionIsLowerThanAnyOther) {
    expect_lower("", "0");
    expect_lower("", "a");
    expect_lower("", " ");
    expect_equal("", "");
}

TEST(VersionOrder, NothingIsLowerOrHigherThanNothing) {
    EXPECT_FALSE(kstxvl(nullptr, "1", 5));
    EXPECT_FALSE(kstxvl("1", nullptr, 5));
    EXPECT_FALSE(kstxvl(nullptr, nullptr, 5));
    EXPECT_FALSE(IsVersionLessThan(nullptr, "1"));
}

TEST(VersionOrder, AFieldTooLargeCountsAsTheLargest) {
    expect_equal("2147483648", "2147483647");
    expect_equal("99999999999999999999", "2147483648");
    expect_lower("2147483646", "99999999999999999999");
}

TEST(VersionOrder, ComparingLeavesBothTextsAsTheyWere) {
    char first[] = "1. 2,3a";
    char second[] = "1.2.4";
    EXPECT_TRUE(kstxvl(first, second, 5));
    EXPECT_STREQ(first, "1. 2,3a");
    EXPECT_STREQ(second, "1.2.4");
}

TEST(VersionOrder, IsVersionLessThanComparesFiveFields) {
    EXPECT_TRUE(IsVersionLessThan("1.2.3.4.5", "1.2.3.4.6"));
    EXPECT_FALSE(IsVersionLessThan("1.2.3.4.6", "1.2.3.4.5"));
    EXPECT_FALSE(IsVersionLessThan("1.2.3.4.5.0", "1.2.3.4.5.1"));
    EXPECT_TRUE(IsVersionLessThan("9.9", "10.0"));
}

TEST(HighestVersion, IsTheHighestByNumber) {
    const TemporaryDirectory directory;
    make_directories(directory, {"9.9.0.0.0", "10.2.0.3.5", "10.2.0.4.0", "1.7.0.0.0"});
    EXPECT_EQ(highest_in(directory.path()), "10.2.0.4.0");
}

TEST(HighestVersion, TheDirectoryMayBeNamedWithATrailingSlash) {
    const TemporaryDirectory directory;
    make_directories(directory, {"1.0", "2.0"});
    EXPECT_EQ(highest_in(directory.path() + "/"), "2.0");
}

TEST(HighestVersion, IsTheLowestOfAllInAnEmptyDirectory) {
    const TemporaryDirectory directory;
    EXPECT_EQ(highest_in(directory.path()), "0.0.0.0.0");
}

TEST(HighestVersion, IsTheLowestOfAllWhereNoDirectoryCanBeOpened) {
    const TemporaryDirectory directory;
    EXPECT_EQ(highest_in(directory.file("missing")), "0.0.0.0.0");
    EXPECT_EQ(highest_in(directory.write("file", "text")), "0.0.0.0.0");
    EXPECT_EQ(highest_in(""), "0.0.0.0.0");
}

TEST(HighestVersion, FilesDoNotCount) {
    const TemporaryDirectory directory;
    make_directories(directory, {"1.0"});
    directory.write("9.0", "text");
    EXPECT_EQ(highest_in(directory.path()), "1.0");
}

TEST(HighestVersion, ALinkToADirectoryCountsAndADanglingOneDoesNot) {
    const TemporaryDirectory directory;
    make_directories(directory, {"1.0"});
    std::filesystem::create_directory_symlink(directory.file("1.0"), directory.file("2.0"));
    std::filesystem::create_directory_symlink(directory.file("gone"), directory.file("3.0"));
    EXPECT_EQ(highest_in(directory.path()), "2.0");
}

TEST(HighestVersion, NamesThatBeginWithALetterNeverWin) {
    const TemporaryDirectory directory;
    make_directories(directory, {"zzz", "v9.0", "Components"});
    EXPECT_EQ(highest_in(directory.path()), "0.0.0.0.0");
}

TEST(HighestVersion, AVersionNoHigherThanTheLowestDoesNotWin) {
    const TemporaryDirectory directory;
    make_directories(directory, {"0.0", "0", "0.0.0.0"});
    EXPECT_EQ(highest_in(directory.path()), "0.0.0.0.0");
}

TEST(HighestVersion, OfEqualOnesTheFirstThatTheDirectoryListsStays) {
    const TemporaryDirectory directory;
    make_directories(directory, {"1.2", "1,2", "01.2", "1.02"});
    // A directory iterator and the search read the same listing.
    const auto first = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(highest_in(directory.path()), first->path().filename().string());
}

} // namespace
