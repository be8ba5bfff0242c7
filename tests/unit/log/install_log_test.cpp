#include "log/install_log.h"

#include "base/launcher_state.h"
#include "unit_surroundings.h"

#include <cerrno>
#include <fcntl.h>

namespace {

constexpr const char* kStamp = "2024-01-31_09-05-17AM";
constexpr const char* kName = "/installActions";
constexpr const char* kLogName = "installActions2024-01-31_09-05-17AM.log";
constexpr const char* kTimeLogName = "time2024-01-31_09-05-17AM.log";

class Logs : public testing::Test {
  protected:
    Logs() {
        launcher_state::reset();
        for (const char* directory : {"scratch", "pre", "given", "inventory"})
            std::filesystem::create_directory(here.file(directory));
    }
    ~Logs() override {
        closeLog();
        closeTimeLog();
        launcher_state::reset();
    }

    void write_pointer_file() const {
        here.write("talInst.loc", "inventory_loc=" + here.file("inventory") + "\n");
    }
    void open_log() const {
        openLog(here.file("scratch"), here.file("talInst.loc"), kStamp, kName);
    }
    void open_time_log() const {
        openTimeLog(here.file("scratch"), here.file("talInst.loc"), kStamp);
    }
    // What the log in the scratch directory holds.
    std::string logged() const {
        return bytes_of(here.file("scratch/") + kLogName);
    }

    TemporaryDirectory here;
    Mask mask{022};
    Catalogue catalogue{{"S_PLAIN", "plain"},   {"S_ONE", "one %s"},       {"S_TWO", "%s is %d"},
                        {"S_PERCENT", "100%%"}, {"S_TWICE", "100%%%% %s"}, {"S_EMPTY", ""}};
};

using InstallLog = Logs;
using TimeLog = Logs;
using Reporting = Logs;

int open_descriptors() {
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        count += fcntl(descriptor, F_GETFD) == -1 ? 0 : 1;
    return count;
}

TEST(PrintDebug, FormatsIntoAGivenTextAndShowsNothing) {
    std::string text = "before";
    EXPECT_EQ(shown_by([&] { print_debug(&text, "100%% sure"); }), "");
    EXPECT_EQ(text, "100% sure");
}

TEST(PrintDebug, ShowsTheMessageOnTheConsoleWithoutAText) {
    EXPECT_EQ(shown_by([] { print_debug(nullptr, "100%% sure"); }), "100% sure");
}

TEST(PrintError, WritesTheMessageAndALineFeedToStandardError) {
    EXPECT_EQ(complained_by([] { print_error("no room: 100%% %s"); }), "no room: 100%% %s\n");
}

TEST(PrintError, WritesBehindWhatWasShownBefore) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        ASSERT_NE(std::freopen(inside.file("both").c_str(), "w", stdout), nullptr);
        ASSERT_EQ(dup2(fileno(stdout), fileno(stderr)), fileno(stderr));
        std::fputs("shown ", stdout);
        print_error("error");
        EXPECT_EQ(bytes_of(inside.file("both")), "shown error\n");
    });
}

} // namespace

TEST_F(InstallLog, LiesUnderThePrerequisiteLocationEvenIfAnInventoryIsKnown) {
    launcher_state::prereqLogLocation = here.file("pre");
    launcher_state::inventoryLocation = here.file("given");
    write_pointer_file();
    open_log();
    EXPECT_EQ(sLogLoc, here.file("pre/logs/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("given")));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("inventory")));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("scratch")));
}

TEST_F(InstallLog, LiesUnderTheInventoryOfTheCommandLineBeforeThatOfThePointerFile) {
    launcher_state::inventoryLocation = here.file("given");
    write_pointer_file();
    open_log();
    EXPECT_EQ(sLogLoc, here.file("given/logs/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("inventory")));
}

TEST_F(InstallLog, LiesUnderTheInventoryOfThePointerFile) {
    write_pointer_file();
    open_log();
    EXPECT_EQ(sLogLoc, here.file("inventory/logs/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("scratch")));
}

TEST_F(InstallLog, LiesInTheScratchDirectoryItselfWithoutAnInventory) {
    open_log();
    EXPECT_EQ(sLogLoc, here.file("scratch/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
    EXPECT_FALSE(std::filesystem::exists(here.file("scratch/logs")));
}

TEST_F(InstallLog, LiesInTheScratchDirectoryForAPointerFileWithoutALocation) {
    here.write("talInst.loc", "inst_group=staff\n[section]\ninventory_loc=/no/such\n");
    open_log();
    EXPECT_EQ(sLogLoc, here.file("scratch/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
}

TEST_F(InstallLog, IsNamedByItsPrefixAndStampWithoutASeparator) {
    openLog(here.file("scratch"), here.file("talInst.loc"), "STAMP", "/cloneActions");
    EXPECT_EQ(sLogLoc, here.file("scratch/cloneActionsSTAMP.log"));
    closeLog();
    openLog(here.file("scratch"), here.file("talInst.loc"), "STAMP", "Actions");
    EXPECT_EQ(sLogLoc, here.file("scratchActionsSTAMP.log"));
}

TEST_F(InstallLog, GetsItsDirectoryCreated) {
    launcher_state::prereqLogLocation = here.file("new/pre");
    open_log();
    EXPECT_EQ(sLogLoc, here.file("new/pre/logs/") + kLogName);
    EXPECT_TRUE(std::filesystem::exists(sLogLoc));
}

TEST_F(InstallLog, IsReadableByOthersAsTheMaskAllows) {
    open_log();
    EXPECT_EQ(mode_of(sLogLoc), 0644U);
    closeLog();
    std::filesystem::remove(here.file("scratch/") + kLogName);
    const Mask closed(077);
    open_log();
    EXPECT_EQ(mode_of(sLogLoc), 0600U);
}

TEST_F(InstallLog, IsNowhereWhenItsDirectoryCannotBeWrittenAndNothingIsSaid) {
    launcher_state::prereqLogLocation = here.write("file", "");
    sLogLoc = "before";
    EXPECT_EQ(shown_by([&] {
                  EXPECT_EQ(complained_by([&] {
                                open_log();
                                writeToInstallLog("lost");
                            }),
                            "");
              }),
              "");
    EXPECT_EQ(sLogLoc, "");
    EXPECT_TRUE(std::filesystem::is_empty(here.file("scratch")));
}

TEST_F(InstallLog, IsNowhereInALogsDirectoryThatThisUserMayNotWrite) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directory(inside.file("logs"));
        EXPECT_EQ(chmod(inside.file("logs").c_str(), 0500), 0);
        launcher_state::inventoryLocation = inside.path();
        EXPECT_EQ(complained_by([&] {
                      openLog(inside.path(), inside.file("none"), kStamp, kName);
                      writeToInstallLog("lost");
                  }),
                  "");
        EXPECT_EQ(sLogLoc, "");
        EXPECT_TRUE(std::filesystem::is_empty(inside.file("logs")));
        EXPECT_EQ(chmod(inside.file("logs").c_str(), 0700), 0);
    });
}

TEST_F(InstallLog, IsNowhereWhenItsFileCannotBeOpened) {
    std::filesystem::create_directory(here.file("scratch/") + kLogName);
    sLogLoc = "before";
    EXPECT_EQ(complained_by([&] {
                  open_log();
                  writeToInstallLog("lost");
              }),
              "");
    EXPECT_EQ(sLogLoc, "");
}

TEST_F(InstallLog, HoldsExactlyTheBytesWrittenInTheirOrder) {
    open_log();
    writeToInstallLog("first");
    writeToInstallLog("");
    writeToInstallLog(" 100%% %s\n\tsecond\xe4\n");
    EXPECT_EQ(logged(), "first 100%% %s\n\tsecond\xe4\n");
}

TEST_F(InstallLog, HoldsATextUpToItsFirstNul) {
    open_log();
    writeToInstallLog(std::string("kept\0lost", 9));
    EXPECT_EQ(logged(), "kept");
}

TEST_F(InstallLog, IsCompleteOnDiskAfterEveryWrite) {
    open_log();
    writeToInstallLog("one");
    EXPECT_EQ(logged(), "one");
    shown_by([] { logMsg("two"); });
    EXPECT_EQ(logged(), "onetwo");
    logAndShowMsg("three", 0);
    EXPECT_EQ(logged(), "onetwothree");
}

TEST_F(InstallLog, GoesOnWithTheSameFileWhenItIsOpenedAgain) {
    open_log();
    writeToInstallLog("before ");
    closeLog();
    open_log();
    writeToInstallLog("after");
    EXPECT_EQ(logged(), "before after");
}

TEST_F(InstallLog, KeepsItsOrderWithAnotherStreamThatAppendsToIt) {
    open_log();
    writeToInstallLog("one ");
    std::FILE* other = open_for_appending(sLogLoc);
    ASSERT_NE(other, nullptr);
    std::fputs("two ", other);
    std::fflush(other);
    writeToInstallLog("three ");
    std::fputs("four", other);
    std::fclose(other);
    EXPECT_EQ(logged(), "one two three four");
}

TEST_F(InstallLog, TakesNothingBeforeItIsOpened) {
    writeToInstallLog("lost");
    EXPECT_EQ(shown_by([] { logMsg("shown"); }), "shown");
    EXPECT_TRUE(std::filesystem::is_empty(here.file("scratch")));
}

TEST_F(InstallLog, TakesNothingAfterItIsClosed) {
    open_log();
    writeToInstallLog("kept");
    closeLog();
    writeToInstallLog("lost");
    logAndShowMsg("lost", 0);
    EXPECT_EQ(logged(), "kept");
}

TEST_F(InstallLog, MayBeClosedTwiceAndWithoutHavingBeenOpened) {
    closeLog();
    open_log();
    closeLog();
    closeLog();
    open_log();
    writeToInstallLog("works");
    EXPECT_EQ(logged(), "works");
}

TEST_F(InstallLog, KeepsItsPathWhenItIsClosed) {
    open_log();
    closeLog();
    EXPECT_EQ(sLogLoc, here.file("scratch/") + kLogName);
}

TEST_F(InstallLog, MovesToItsNewPlaceWhenItIsOpenedThere) {
    open_log();
    writeToInstallLog("in scratch");
    closeLog();
    launcher_state::inventoryLocation = here.file("given");
    open_log();
    writeToInstallLog("in the inventory");
    EXPECT_EQ(logged(), "in scratch");
    EXPECT_EQ(bytes_of(here.file("given/logs/") + kLogName), "in the inventory");
}

TEST_F(InstallLog, HoldsNoSecondDescriptorWhenItIsOpenedTwice) {
    open_log();
    const int before = open_descriptors();
    open_log();
    EXPECT_EQ(open_descriptors(), before);
    closeLog();
    EXPECT_EQ(open_descriptors(), before - 1);
}

TEST_F(InstallLog, IsNotInheritedByAProgramThatIsStarted) {
    const int descriptor = dup(STDERR_FILENO); // the number that the log will have
    close(descriptor);
    open_log();
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(InstallLog, GetsWhatLogMsgShows) {
    open_log();
    EXPECT_EQ(shown_by([] { logMsg("100%% text\n"); }), "100% text\n");
    EXPECT_EQ(logged(), "100%% text\n");
}

TEST_F(InstallLog, GetsWhatIsShownOnlyForExactlyOne) {
    open_log();
    EXPECT_EQ(shown_by([] { logAndShowMsg("1", 1); }), "1");
    for (const int flag : {0, 2, -1})
        EXPECT_EQ(shown_by([flag] { logAndShowMsg(std::to_string(flag), flag); }), "");
    EXPECT_EQ(logged(), "102-1");
}

TEST_F(TimeLog, LiesUnderTheInventoryOfThePointerFile) {
    launcher_state::prereqLogLocation = here.file("pre");
    launcher_state::inventoryLocation = here.file("given");
    write_pointer_file();
    open_time_log();
    EXPECT_EQ(sTimeLogLoc, here.file("inventory/logs/") + kTimeLogName);
    EXPECT_TRUE(std::filesystem::exists(sTimeLogLoc));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("pre")));
    EXPECT_TRUE(std::filesystem::is_empty(here.file("given")));
}

TEST_F(TimeLog, LiesInTheScratchDirectoryWithoutThatInventory) {
    launcher_state::prereqLogLocation = here.file("pre");
    launcher_state::inventoryLocation = here.file("given");
    open_time_log();
    EXPECT_EQ(sTimeLogLoc, here.file("scratch/") + kTimeLogName);
    EXPECT_TRUE(std::filesystem::exists(sTimeLogLoc));
}

TEST_F(TimeLog, SetsTheMask007ForTheRestOfTheProcess) {
    open_time_log();
    EXPECT_EQ(mode_of(sTimeLogLoc), 0660U);
    EXPECT_EQ(umask(022), 007U);
}

TEST_F(TimeLog, SetsTheMaskAlsoWhenItCannotBeOpened) {
    openTimeLog(here.write("file", ""), here.file("none"), kStamp);
    EXPECT_EQ(umask(022), 007U);
}

TEST_F(TimeLog, SetsTheMaskBeforeItsDirectoryIsCreated) {
    umask(077);
    openTimeLog(here.file("new"), here.file("none"), kStamp);
    EXPECT_EQ(mode_of(here.file("new")), 0770U);
}

TEST_F(TimeLog, IsNowhereWhenItsDirectoryCannotBeWritten) {
    sTimeLogLoc = "before";
    EXPECT_EQ(complained_by([&] {
                  openTimeLog(here.write("file", ""), here.file("none"), kStamp);
                  writeToTimeLog("lost");
              }),
              "");
    EXPECT_EQ(sTimeLogLoc, "");
}

TEST_F(TimeLog, HoldsExactlyTheBytesWrittenAfterEveryWrite) {
    open_time_log();
    EXPECT_EQ(shown_by([] { writeToTimeLog("10%% "); }), "");
    EXPECT_EQ(bytes_of(sTimeLogLoc), "10%% ");
    writeToTimeLog("20\n");
    EXPECT_EQ(bytes_of(sTimeLogLoc), "10%% 20\n");
}

TEST_F(TimeLog, GoesOnWithTheSameFileWhenItIsOpenedAgain) {
    open_time_log();
    writeToTimeLog("before ");
    closeTimeLog();
    open_time_log();
    writeToTimeLog("after");
    EXPECT_EQ(bytes_of(sTimeLogLoc), "before after");
}

TEST_F(TimeLog, TakesNothingUnlessItIsOpen) {
    writeToTimeLog("lost");
    open_time_log();
    writeToTimeLog("kept");
    closeTimeLog();
    closeTimeLog();
    writeToTimeLog("lost");
    EXPECT_EQ(bytes_of(sTimeLogLoc), "kept");
}

TEST_F(TimeLog, AndTheInstallLogAreApart) {
    open_log();
    open_time_log();
    writeToInstallLog("actions");
    writeToTimeLog("times");
    closeLog();
    writeToTimeLog(" go on");
    EXPECT_EQ(logged(), "actions");
    EXPECT_EQ(bytes_of(here.file("scratch/") + kTimeLogName), "times go on");
}

TEST_F(Reporting, AStreamForAppendingCreatesItsFileOrIsNull) {
    std::FILE* stream = open_for_appending(here.file("new"));
    ASSERT_NE(stream, nullptr);
    std::fputs("text", stream);
    std::fclose(stream);
    EXPECT_EQ(bytes_of(here.file("new")), "text");
    EXPECT_EQ(open_for_appending(here.file("missing/new")), nullptr);
    EXPECT_EQ(open_for_appending(here.path()), nullptr);
}

TEST_F(Reporting, ShowWritesTheFilledLocalisedTextToTheConsoleOnly) {
    open_log();
    EXPECT_EQ(shown_by([] { show("S_TWO", "x", 3); }), "<x is 3>");
    EXPECT_EQ(shown_by([] { show("S_ONE", std::string("y")); }), "<one y>");
    EXPECT_EQ(logged(), "");
}

TEST_F(Reporting, ShowMakesOnePercentSignOfTwoInATextWithoutArguments) {
    EXPECT_EQ(shown_by([] { show("S_PERCENT"); }), "<100%>");
}

TEST_F(Reporting, ShowPassesAFilledTextOnceMore) {
    EXPECT_EQ(shown_by([] { show("S_TWICE", "x"); }), "<100% x>");
    EXPECT_EQ(shown_by([] { show("S_ONE", "50%%"); }), "<one 50%>");
}

TEST_F(Reporting, RecordAppendsTheFilledEnglishTextToTheLogOnly) {
    open_log();
    EXPECT_EQ(shown_by([] { record("S_TWO", "x", 3); }), "");
    record("S_PERCENT");
    record("S_ONE", "50%%");
    EXPECT_EQ(logged(), "x is 3100%one 50%%");
}

TEST_F(Reporting, ReportShowsInTheOperatorsLanguageAndRecordsInEnglish) {
    open_log();
    EXPECT_EQ(shown_by([] { report("S_TWO", "x", 3); }), "<x is 3>");
    EXPECT_EQ(logged(), "x is 3");
    EXPECT_EQ(shown_by([] { report("S_PLAIN"); }), "<plain>");
    EXPECT_EQ(logged(), "x is 3plain");
}

TEST_F(Reporting, ComplainWritesTheLocalisedTextAndALineFeedToStandardError) {
    open_log();
    EXPECT_EQ(complained_by([] { complain("S_TWO", "x", 3); }), "<x is 3>\n");
    EXPECT_EQ(complained_by([] { complain("S_ONE", "50%%"); }), "<one 50%%>\n");
    EXPECT_EQ(shown_by([] { complained_by([] { complain("S_PLAIN"); }); }), "");
    EXPECT_EQ(logged(), "");
}

TEST_F(Reporting, ComplainErrnoPutsTheSystemsReasonBehindTheText) {
    EXPECT_EQ(complained_by([] {
                  errno = ENOENT;
                  complain_errno("S_ONE", "x");
              }),
              "<one x>: No such file or directory\n");
    EXPECT_EQ(complained_by([] {
                  errno = EACCES;
                  complain_errno("S_PLAIN");
              }),
              "<plain>: Permission denied\n");
}

TEST_F(Reporting, SaysNothingForAKeyThatTheCatalogueLacks) {
    open_log();
    EXPECT_EQ(shown_by([] {
                  show("S_UNKNOWN");
                  show("S_UNKNOWN", "x");
                  report("S_UNKNOWN", "x");
              }),
              "");
    EXPECT_EQ(complained_by([] {
                  complain("S_UNKNOWN", "x");
                  complain_errno("S_UNKNOWN", "x");
                  complain_because("S_UNKNOWN", {"x"}, "reason");
              }),
              "");
    EXPECT_EQ(logged(), "");
}

TEST_F(Reporting, ComplainBecausePutsAGivenReasonBehindTheText) {
    EXPECT_EQ(complained_by([] { complain_because("S_ONE", {"x"}, ", so there"); }),
              "<one x>, so there\n");
}

TEST_F(Reporting, TextsComeFilledInBothLanguagesOrUnfilled) {
    EXPECT_EQ(localised_text("S_TWO", {"x", 3}), "<x is 3>");
    EXPECT_EQ(english_text("S_TWO", {"x", 3}), "x is 3");
    EXPECT_EQ(unfilled_text("S_TWO"), "<%s is %d>");
    EXPECT_EQ(unfilled_text("S_PERCENT"), "<100%%>");
}

TEST_F(Reporting, TextsOfAKeyThatTheCatalogueLacksAreEmpty) {
    EXPECT_EQ(localised_text("S_UNKNOWN", {"x"}), "");
    EXPECT_EQ(english_text("S_UNKNOWN", {"x"}), "");
    EXPECT_EQ(unfilled_text("S_UNKNOWN"), "");
    EXPECT_EQ(english_text("S_EMPTY"), "");
}

TEST_F(Reporting, TextsWithFewerArgumentsThanPlacesLeaveThePlacesEmpty) {
    EXPECT_EQ(localised_text("S_TWO", {"x"}), "<x is >");
    EXPECT_EQ(shown_by([] { show("S_TWO"); }), "< is >");
}

TEST_F(Reporting, PrintTextWritesATextAsItIs) {
    EXPECT_EQ(shown_by([] { print_text("/a%sb%%\n"); }), "/a%sb%%\n");
}
