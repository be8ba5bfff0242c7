#include "log/reasons.h"

#include "log/install_log.h"
#include "noted_signal.h"
#include "unit_surroundings.h"

#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

class Reasons : public testing::Test {
  protected:
    static std::string told(const std::string& path, int error, const Need& need = {}) {
        return complained_by([&] { complain_of_place(path, error, need); });
    }
    // What stands in the log of a launch after the call.
    template <typename Call>
    std::string logged_by(const Call& call) const {
        openLog(here.path(), here.file("no_such_pointer_file"), "STAMP", "/log");
        complained_by(call);
        closeLog();
        return bytes_of(sLogLoc);
    }
    Catalogue catalogue{{"S_ROOM", "%s|%s|%lld|%s|%lld|%lld"},
                        {"S_REASON", "%s|%s"},
                        {"S_FORK_FAILED", "no process: %s|%s"},
                        {"S_COMMAND_SIGNALLED", "ended: %s|%d|%s"}};
    TemporaryDirectory here;
};

} // namespace

TEST_F(Reasons, RoomIsToldInWholeMegabytesFreeOnesRoundedDownAndNeededOnesUp) {
    const Room room{(5U << 20) - 1, 12, 4096, true, true};
    const Need need{(7U << 20) + 1, 30};
    EXPECT_EQ(complained_by([&] { complain_of_room("/scratch", room, need, ENOSPC); }),
              "</scratch|No space left on device|4|12|8|30>\n");
}

TEST_F(Reasons, InodesThatAreNotCountedAreADash) {
    const Room room{0, 0, 4096, true, false};
    EXPECT_EQ(complained_by([&] {
                  complain_of_room("/scratch", room, {0, 30}, EDQUOT);
              }),
              "</scratch|Disk quota exceeded|0|-|0|30>\n");
}

TEST_F(Reasons, AnErrorThatSpeaksOfRoomIsToldWithTheRoomThere) {
    for (const int error : {ENOSPC, EDQUOT}) {
        const std::string line = told(here.file("new"), error, {3U << 20, 4});
        EXPECT_TRUE(line.starts_with("<" + here.file("new") + "|" + std::strerror(error) + "|"));
        EXPECT_TRUE(line.ends_with("|3|4>\n"));
        EXPECT_TRUE(told(here.file("new"), error, {0, 1}).ends_with("|0|1>\n"));
    }
}

TEST_F(Reasons, AnyOtherErrorIsToldInTheSystemsWordsForWhatStandsInTheWay) {
    const std::string file = here.write("file", "");
    EXPECT_EQ(told(here.file("new"), EROFS), "<" + here.file("new") + "|Read-only file system>\n");
    EXPECT_EQ(told(here.path(), EACCES), "<" + here.path() + "|Permission denied>\n");
    EXPECT_EQ(told(file + "/new", ENOTDIR), "<" + file + "|Not a directory>\n");
    EXPECT_EQ(told(file + "/new", EACCES), "<" + file + "|Not a directory>\n");
    EXPECT_EQ(told(here.file("no/such"), ENOENT),
              "<" + here.file("no") + "|No such file or directory>\n");
}

TEST_F(Reasons, WithoutAnErrorNothingIsTold) {
    EXPECT_EQ(told(here.path(), 0), "");
}

TEST_F(Reasons, ACommandWithoutAProcessIsToldWithTheSystemsWords) {
    EXPECT_EQ(complained_by([] { complain_of_command("/x/unzip a ", -1, EAGAIN); }),
              "<no process: /x/unzip a|Resource temporarily unavailable>\n");
}

TEST_F(Reasons, ACommandThatASignalEndedIsToldWithTheSignal) {
    EXPECT_EQ(complained_by([] { complain_of_command("/x/unzip a", SIGSEGV, 0); }),
              "<ended: SIGSEGV|11|/x/unzip a>\n");
}

TEST_F(Reasons, OfACommandThatDidNotEndByItselfTheLogHasALineInEnglish) {
    EXPECT_EQ(logged_by([] { complain_of_command("/x/unzip a ", -1, EAGAIN); }),
              "\nno process: /x/unzip a|Resource temporarily unavailable");
    std::filesystem::remove(sLogLoc);
    EXPECT_EQ(logged_by([] { complain_of_command("/x/unzip a", SIGSEGV, 0); }),
              "\nended: SIGSEGV|11|/x/unzip a");
    std::filesystem::remove(sLogLoc);
    EXPECT_EQ(logged_by([] { complain_of_command("/x/unzip a", 0, 0); }), "");
}

TEST_F(Reasons, NothingIsToldOfACommandThatEndedByItself) {
    for (const int exit_code : {0, 1, 255})
        EXPECT_EQ(complained_by([&] { complain_of_command("/x", exit_code << 8, EAGAIN); }), "");
}

TEST_F(Reasons, NothingIsToldOfACommandOnceASignalIsNoted) {
    const NotedSignal signal;
    for (const int status : {-1, SIGSEGV})
        EXPECT_EQ(complained_by([&] { complain_of_command("/x", status, EAGAIN); }), "");
}
