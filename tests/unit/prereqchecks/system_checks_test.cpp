#include "prereqchecks/system_checks.h"

#include "launch_fixture.h"
#include "prereqchecks/command_output.h"

#include <sys/utsname.h>

namespace {

// --- Lists in words

TEST(FormatValue, TurnsAListIntoWords) {
    const struct {
        const char* list;
        const char* words;
    } cases[] = {
        {"a", "a"},
        {"a,b", "a or b"},
        {"a,b,c", "a, b or c"},
        {"a,b,c,d", "a, b, c or d"},
        {",a,,b,", "a or b"},
        {"a, b ,c", "a,  b  or c"},
        {" ", " "},
        {"5.10", "5.10"},
    };
    for (const auto& one : cases) {
        std::string words = "before";
        EXPECT_TRUE(FormatValue(one.list, words)) << one.list;
        EXPECT_EQ(words, one.words) << one.list;
    }
}

TEST(FormatValue, HasNothingToSayOfAListWithoutItems) {
    for (const char* list : {"", ",", ",,,"}) {
        std::string words = "before";
        EXPECT_FALSE(FormatValue(list, words)) << list;
        EXPECT_EQ(words, "") << list;
    }
}

// --- Tokens of the commands' output

constexpr const char* kSpeed = "processor operates at";
constexpr const char* kDepth = "depth of root window:";
constexpr const char* kDepthSeparators = "depth of root window: ";

TEST(TokenAfter, FindsTheSpeedOfTheFirstProcessor) {
    const char* output = "Status of virtual processor 0 as of: 11/21/2026 10:15:00\n"
                         "  on-line since 11/20/2026 08:00:01.\n"
                         "  The i386 processor operates at 2400 MHz,\n"
                         "\tand has an i387 compatible floating point processor.\n"
                         "Status of virtual processor 1 as of: 11/21/2026 10:15:00\n"
                         "  on-line since 11/20/2026 08:00:03.\n"
                         "  The i386 processor operates at 3600 MHz,\n";
    EXPECT_EQ(token_after(output, kSpeed, kSpeed), "2400");
}

TEST(TokenAfter, FindsNoNumberInAnUnknownSpeed) {
    EXPECT_EQ(token_after("The i386 processor operates at an unknown frequency,\n", kSpeed, kSpeed),
              "n");
}

TEST(TokenAfter, FindsTheDepthOfTheRootWindow) {
    const char* output = "  depths (2):    1, 8\n"
                         "  depth of root window:    24 planes\n"
                         "  depth of root window:    8 planes\n";
    EXPECT_EQ(token_after(output, kDepth, kDepthSeparators), "24");
}

TEST(TokenAfter, FindsTheDepthWithoutABlankBeforeIt) {
    EXPECT_EQ(token_after("  depth of root window:24 planes\n", kDepth, kDepthSeparators), "24");
}

TEST(TokenAfter, CutsAtAnyCharacterOfThePhrase) {
    EXPECT_EQ(token_after("ab==12a3", "ab=", "ab="), "12");
    EXPECT_EQ(token_after("ab=1b2", "ab=", "ab="), "1");
}

TEST(TokenAfter, FindsNothingWithoutThePhraseOrBehindIt) {
    EXPECT_EQ(token_after("", kSpeed, kSpeed), std::nullopt);
    EXPECT_EQ(token_after("processor operated at 2400", kSpeed, kSpeed), std::nullopt);
    EXPECT_EQ(token_after("The processor operates at", kSpeed, kSpeed), std::nullopt);
    EXPECT_EQ(token_after("  depth of root window: ", kDepth, kDepthSeparators), std::nullopt);
}

// --- Swap

TEST(ParseSwap, AddsUsedAndAvailable) {
    EXPECT_DOUBLE_EQ(parse_swap("total: 1000k bytes allocated + 200k reserved = 1200k used, "
                                "2048m available\n"),
                     1200.0 / 1024 + 2048);
}

TEST(ParseSwap, ConvertsEachUnit) {
    const struct {
        const char* used;
        double megabytes;
    } cases[] = {
        {"1024k", 1},         {"512k", 0.5}, {"3m", 3},  {"2g", 2048},
        {"0.5g", 512},        {"1.5m", 1.5}, {"7", 0},   {"0k", 0},
        {"-5m", 0},           {"k", 0},      {"x5k", 0}, {"12K", 0},
        {"1k2m", 1.0 / 1024}, {"4m1g", 4},   {"9t", 0},
    };
    for (const auto& one : cases) {
        EXPECT_DOUBLE_EQ(parse_swap(std::string("= ") + one.used + " used, 0k available"),
                         one.megabytes)
            << one.used;
        EXPECT_DOUBLE_EQ(parse_swap(std::string("= 0k used, ") + one.used + " available"),
                         one.megabytes)
            << one.used;
    }
}

TEST(ParseSwap, CountsNothingWithoutItsLabels) {
    EXPECT_EQ(parse_swap(""), 0);
    EXPECT_EQ(parse_swap("total: 1000k bytes allocated"), 0);
    EXPECT_EQ(parse_swap("reserved =1200k used,2048m available"), 0);
    EXPECT_EQ(parse_swap("reserved ="), 0);
    EXPECT_EQ(parse_swap("= 1m used,"), 1);
    EXPECT_EQ(parse_swap("1m used, 2m available"), 2);
}

TEST(ParseSwap, TakesRunsOfBlanksAsOne) {
    EXPECT_EQ(parse_swap("  =   1m   used,   2m   available"), 3);
}

// --- Colours

TEST(ColoursOfDepth, CountsThem) {
    const struct {
        int depth;
        const char* colours;
    } cases[] = {
        {1, "2"},
        {2, "4"},
        {3, "8"},
        {4, "16"},
        {5, "32"},
        {8, "256"},
        {12, "4096"},
        {15, "32768"},
        {16, "65536"},
        {24, "16777216"},
        {30, "1073741824"},
        {31, "2147483648"},
        {32, "4294967296"},
        {48, "281474976710656"},
        {64, "18446744073709551616"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(colours_of_depth(one.depth), one.colours) << one.depth;
}

TEST(ColoursOfDepth, HasNoNumberForOtherDepthsFrom32OnAndNegativeOnes) {
    for (const int depth : {33, 40, 47, 49, 63, 65, 128, 2147483647, -1, -32})
        EXPECT_EQ(colours_of_depth(depth), std::nullopt) << depth;
}

// --- The shape of a check, and the checks that run no command

class SystemChecksTest : public LaunchFixture {
  protected:
    SystemChecksTest() {
        make_directory("scratch");
        openLog(room.file("scratch"), room.file("none"), "STAMP", "/log");
    }
    static std::string log() {
        return bytes_of(sLogLoc);
    }
};

struct utsname this_system() {
    struct utsname system {};
    EXPECT_GE(uname(&system), 0);
    return system;
}

TEST_F(SystemChecksTest, APassedCheckClosesWithItsVerdictAlone) {
    CheckReport checked;
    checked.text = "report";
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(close_check(true, checked), 0); }), shown("S_SPASSED"));
    EXPECT_EQ(log(), logged("S_SPASSED"));
}

TEST_F(SystemChecksTest, AFailedCheckRecordsItsReportBehindTheVerdict) {
    CheckReport checked;
    const std::string out = shown_by([&] {
        checked.fail("S_EXEC_FAILURE", "/usr/bin/x");
        EXPECT_EQ(close_check(false, checked), 1);
    });
    EXPECT_EQ(out, shown("S_EXEC_FAILURE", {"/usr/bin/x"}) + shown("S_SFAILED"));
    EXPECT_EQ(log(), logged("S_SFAILED") + logged("S_EXEC_FAILURE", {"/usr/bin/x"}));
}

TEST_F(SystemChecksTest, TheRunningReleaseIsCertifiedWhenItIsInTheList) {
    const std::string release = this_system().release;
    std::string version;
    const std::string list = "5.9," + release + ",5.11";
    const std::string out =
        shown_by([&] { EXPECT_EQ(CheckCertifiedVersion(list, version, room.path()), 0); });
    EXPECT_EQ(version, release);
    EXPECT_EQ(out, shown("S_CHECKING_FOR_OS_VERSION") + "5.9, " + release + " or 5.11" +
                       shown("S_ACTUAL", {release}) + shown("S_SPASSED_ON_NEWLINE"));
    EXPECT_EQ(log(), logged("S_CHECKING_FOR_OS_VERSION") + "5.9, " + release + " or 5.11" +
                         logged("S_ACTUAL", {release}) + logged("S_SPASSED_ON_NEWLINE"));
}

TEST_F(SystemChecksTest, AnUncertifiedReleaseHandsBackTheLastItem) {
    const std::string release = this_system().release;
    std::string version;
    const std::string list = release + "x, " + release;
    const std::string out =
        shown_by([&] { EXPECT_EQ(CheckCertifiedVersion(list, version, room.path()), 1); });
    EXPECT_EQ(version, " " + release);
    EXPECT_EQ(out, shown("S_CHECKING_FOR_OS_VERSION") + release + "x or  " + release +
                       shown("S_ACTUAL", {release}) + shown("S_SFAILED_ON_NEWLINE"));
    EXPECT_EQ(log(), logged("S_CHECKING_FOR_OS_VERSION") + release + "x or  " + release +
                         logged("S_ACTUAL", {release}) + logged("S_SFAILED_ON_NEWLINE"));
}

TEST_F(SystemChecksTest, TheProcessorPassesWhenAnItemIsItsName) {
    const std::string machine = this_system().machine;
    const std::string list = "sun4u," + machine;
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(CheckProcessorType(list), 0); }),
              shown("S_CHECKING_FOR_PROCESSOR") + "sun4u or " + machine + shown("S_SPASSED"));
    EXPECT_EQ(log(),
              logged("S_CHECKING_FOR_PROCESSOR") + "sun4u or " + machine + logged("S_SPASSED"));
}

TEST_F(SystemChecksTest, AnItemOfTheProcessorListIsNotTrimmed) {
    const std::string machine = this_system().machine;
    const std::string list = "sun4u, " + machine;
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(CheckProcessorType(list), 1); }),
              shown("S_CHECKING_FOR_PROCESSOR") + "sun4u or  " + machine + shown("S_SFAILED"));
    EXPECT_EQ(log(),
              logged("S_CHECKING_FOR_PROCESSOR") + "sun4u or  " + machine + logged("S_SFAILED"));
}

TEST_F(SystemChecksTest, APartOfTheProcessorsNameIsNotItsName) {
    const std::string machine = this_system().machine;
    shown_by([&] {
        EXPECT_EQ(CheckProcessorType(machine + "x"), 1);
        EXPECT_EQ(CheckProcessorType(machine.substr(1)), 1);
    });
}

TEST_F(SystemChecksTest, ATempSpaceOf0OrLessOrNoNumberPassesWithoutMeasuring) {
    for (const std::string value : {"0", "-5", "much", "0.0"}) {
        const Said said =
            said_by([&] { EXPECT_EQ(CheckTempSpace(value, room.file("no_such_directory")), 0); });
        EXPECT_EQ(said.out, shown("S_CHECKING_FOR_TEMP_SPACE", {value}) +
                                shown("S_ACTUAL_TEMP_SPACE", {"0"}) + shown("S_SPASSED"));
        EXPECT_EQ(said.err, "");
    }
    EXPECT_TRUE(log().starts_with(logged("S_CHECKING_FOR_TEMP_SPACE", {"0"}) +
                                  logged("S_ACTUAL_TEMP_SPACE", {"0"}) + logged("S_SPASSED")));
}

TEST_F(SystemChecksTest, AVolumeThatCannotBeAskedHasNoTempSpace) {
    const std::string nowhere = room.file("no_such_directory");
    const Said said = said_by([&] { EXPECT_EQ(CheckTempSpace("0.5", nowhere), 1); });
    EXPECT_EQ(said.out, shown("S_FAIL_CHECKING_FOR_TEMP_SPACE", {"0", "0.5"}) + shown("S_SFAILED"));
    EXPECT_EQ(said.err, shown("S_ERROR64RET", {nowhere}) + ": No such file or directory\n");
    EXPECT_EQ(log(), logged("S_FAIL_CHECKING_FOR_TEMP_SPACE", {"0", "0.5"}) + logged("S_SFAILED"));
}

TEST_F(SystemChecksTest, MoreTempSpaceThanAnyDiskHasFails) {
    std::string out;
    out = shown_by([&] { EXPECT_EQ(CheckTempSpace("1e18", room.path()), 1); });
    EXPECT_TRUE(out.starts_with("<S_FAIL_CHECKING_FOR_TEMP_SPACE|")) << out;
    EXPECT_TRUE(out.ends_with("|1e18|>" + shown("S_SFAILED"))) << out;
}

TEST_F(SystemChecksTest, ASmallTempSpacePassesWithTheFreeSpaceAsAWholeNumber) {
    const std::string out = shown_by([&] { EXPECT_EQ(CheckTempSpace("0.001", room.path()), 0); });
    const std::string before =
        shown("S_CHECKING_FOR_TEMP_SPACE", {"0.001"}) + "<S_ACTUAL_TEMP_SPACE|";
    ASSERT_TRUE(out.starts_with(before)) << out;
    const std::string number =
        out.substr(before.size(), out.find('|', before.size()) - before.size());
    EXPECT_FALSE(number.empty());
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos) << number;
    EXPECT_EQ(out.substr(before.size() + number.size()), "||>" + shown("S_SPASSED"));
}

TEST_F(SystemChecksTest, ASwapSpaceOf0OrLessOrNoNumberFailsWithoutMeasuring) {
    for (const std::string value : {"0", "-1", "much"}) {
        closeLog();
        std::filesystem::remove(sLogLoc);
        openLog(room.file("scratch"), room.file("none"), "STAMP", "/log");
        const Said said =
            said_by([&] { EXPECT_EQ(CheckSwap(value, "", room.file("no_such_directory")), 1); });
        EXPECT_EQ(said.out, shown("S_FAIL_CHECKING_FOR_SWAP", {"0", value}) + shown("S_SFAILED"));
        EXPECT_EQ(said.err, "");
        EXPECT_EQ(log(), logged("S_FAIL_CHECKING_FOR_SWAP", {"0", value}) + logged("S_SFAILED"));
    }
}

} // namespace
