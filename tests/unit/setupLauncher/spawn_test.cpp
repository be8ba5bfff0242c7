#include "setupLauncher/spawn.h"

#include "launch_fixture.h"
#include "setupLauncher/argument_listing.h"

#include <csignal>

namespace {

using Vector = std::vector<std::string>;

constexpr const char* kNoSuchFile = "No such file or directory";
const std::string kDashes = std::string(55, '-') + "\n";

class SpawnTest : public LaunchFixture {
  protected:
    SpawnTest() {
        sLogLoc = room.file("spawn.log");
    }

    static Vector shell(const std::string& command) {
        return {"/bin/sh", "-c", command};
    }

    std::string log() const {
        return bytes_of(room.file("spawn.log"));
    }

    // The log without the parent's one line about its fork: it writes that whenever it comes to it.
    std::string log_of_child(const std::string& pid) const {
        const std::string line = logged("S_FORK_RET", {pid});
        std::string rest = log();
        const std::size_t at = rest.find(line);
        EXPECT_NE(at, std::string::npos) << rest;
        return at == std::string::npos ? rest : rest.erase(at, line.size());
    }

    // Waits for a child that a call without waiting left behind.
    static int reap() {
        int status = -1;
        EXPECT_GT(wait(&status), 0);
        return status;
    }

    // Starts the program in a process of its own, in which a failed start comes back, and tells
    // what came back there by a file.
    template <typename Start>
    ChildEnd end_of_start(const Start& start) const {
        return end_of_child([&] {
            const pid_t launcher = getpid();
            const int result = start();
            if (getpid() != launcher) {
                std::ofstream(room.file("came_back")) << result;
                std::ofstream(room.file("child")) << getpid();
                std::fflush(nullptr);
                _exit(static_cast<unsigned char>(result));
            }
            return result;
        });
    }
    std::string came_back() const {
        return bytes_of(room.file("came_back"));
    }

    // What is told of a program that cannot be started, and why, with the remedy behind it.
    static std::string not_started(int error) {
        return shown("S_ERGOSLST", {"CreateZULProcess()", std::to_string(error)}) + "\n";
    }
    static std::string because(const char* key, const Vector& args) {
        return shown(key, args) + " " + shown("S_REMEDY_JRELOC", {"%s", "%s", "%s"}) + "\n";
    }
};

// --- Exit codes

TEST_F(SpawnTest, AWaitingLaunchGetsTheExitCodeOfItsChild) {
    for (const int code : {0, 1, 3, 126, 127, 254, 255}) {
        const std::string command = "exit " + std::to_string(code);
        EXPECT_EQ(SpawnProcess(shell(command), true), code);
        EXPECT_EQ(forkprocess("/bin/sh", shell(command), true), code);
    }
}

TEST_F(SpawnTest, ALaunchThatDoesNotWaitGets0WhateverTheChildDoes) {
    EXPECT_EQ(SpawnProcess(shell("exit 3"), false), 0);
    EXPECT_EQ(WEXITSTATUS(reap()), 3);
    EXPECT_EQ(forkprocess("/bin/sh", shell("exit 4"), false), 0);
    EXPECT_EQ(WEXITSTATUS(reap()), 4);
}

TEST_F(SpawnTest, ALaunchThatDoesNotWaitComesBackBeforeTheChildEnds) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    {
        // The child lives until this process closes the pipe.
        const StandardInput input(dup(ends[0]));
        fcntl(ends[1], F_SETFD, FD_CLOEXEC);
        EXPECT_EQ(SpawnProcess(shell("read line; exit 5"), false), 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(-1, &status, WNOHANG), 0) << "the child is still there";
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(WEXITSTATUS(reap()), 5);
}

TEST_F(SpawnTest, AWaitingLaunchReapsAndPassesOverChildrenThatAScriptLeftToIt) {
    std::fflush(nullptr);
    const pid_t other = fork();
    if (other == 0)
        _exit(42);
    siginfo_t ended{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
    // Only one child has ended: the new one waits for a line.
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    {
        const StandardInput input(dup(ends[0]));
        fcntl(ends[1], F_SETFD, FD_CLOEXEC);
        put(ends[1], "\n");
        EXPECT_EQ(SpawnProcess(shell("read line; exit 6"), true), 6);
    }
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(waitpid(other, nullptr, WNOHANG), -1) << "it is reaped";
}

TEST_F(SpawnTest, AChildEndedByASignalHasTheExitCode0AndAMessageWithTheSignal) {
    int result = -1;
    const Said said = said_by([&] { result = SpawnProcess(shell("kill -KILL $$"), true); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_CHILD_SIGNALLED", {"SIGKILL", std::to_string(SIGKILL)}) + "\n");
}

int writing_end = -1;

void write_line_on_alarm(int /*signal*/) {
    if (write(writing_end, "\n", 1) < 0)
        _exit(99);
}

TEST_F(SpawnTest, ASignalDoesNotEndTheWaiting) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    writing_end = ends[1];
    struct sigaction before {};
    struct sigaction interrupt {};
    interrupt.sa_handler = write_line_on_alarm; // without SA_RESTART: the wait is interrupted
    sigaction(SIGALRM, &interrupt, &before);
    {
        const StandardInput input(dup(ends[0]));
        EXPECT_EQ(SpawnProcess(shell("kill -ALRM $PPID; read line; exit 7"), true), 7);
    }
    sigaction(SIGALRM, &before, nullptr);
    close(ends[0]);
    close(ends[1]);
}

// --- What the child gets

TEST_F(SpawnTest, TheChildGetsTheWholeVectorByteForByte) {
    const std::string out = room.file("arguments");
    Vector vector = shell("for a in \"$0\" \"$@\"; do printf '<%s>' \"$a\"; done > '" + out + "'");
    for (const char* argument :
         {"zero", "", "two words", "\"q\"", "$HOME", "\\n", "%s", "\xFF\xFE"})
        vector.emplace_back(argument);
    EXPECT_EQ(SpawnProcess(vector, true), 0);
    EXPECT_EQ(bytes_of(out), "<zero><><two words><\"q\"><$HOME><\\n><%s><\xFF\xFE>");
}

TEST_F(SpawnTest, TheProgramIsFoundAlongTheSearchPath) {
    make_file("bin/found_by_path", "#!/bin/sh\nexit 17\n");
    std::filesystem::permissions(room.file("bin/found_by_path"), std::filesystem::perms(0755));
    const std::string before = getenv("PATH");
    setenv("PATH", (room.file("bin") + ":" + before).c_str(), 1);
    EXPECT_EQ(SpawnProcess({"found_by_path"}, true), 17);
    setenv("PATH", before.c_str(), 1);
}

TEST_F(SpawnTest, ForkprocessNamesTheProgramBesideTheVector) {
    const std::string out = room.file("name");
    EXPECT_EQ(forkprocess("/bin/sh", {"other name", "-c", "echo \"$0\" > " + out}, true), 0);
    EXPECT_EQ(bytes_of(out), "other name\n");
    EXPECT_EQ(log(), logged("S_EXECVP_ARGS", {"other name"}) + "other name\n-c\necho \"$0\" > " +
                         out + "\n");
}

TEST_F(SpawnTest, TheChildInheritsTheStandardStreamsAndNothingIsPrintedTwice) {
    const Said said = said_by([&] {
        std::fputs("before ", stdout); // still in the buffer when the process forks
        SpawnProcess(shell("echo out; echo err >&2"), true);
        std::fputs("after", stdout);
    });
    EXPECT_EQ(said.out, "before out\nafter");
    EXPECT_EQ(said.err, "err\n");
}

TEST_F(SpawnTest, TheInstallLogStaysInTheLauncher) {
    const std::string out = room.file("descriptors");
    EXPECT_EQ(SpawnProcess(shell("for f in 3 4 5 6 7 8 9; do ls -l /dev/fd/$f 2>/dev/null; done | "
                                 "grep -c spawn.log > " +
                                 out),
                           true),
              1);
    EXPECT_EQ(bytes_of(out), "0\n");
}

// --- The install log

TEST_F(SpawnTest, EveryLaunchListsTheVectorInTheLog) {
    const Vector vector{"/bin/sh", "-c", "exit 0", "", "two words"};
    const Said said = said_by([&] { SpawnProcess(vector, true); });
    EXPECT_EQ(log(), logged("S_EXECVP_ARGS", {"/bin/sh"}) + "/bin/sh\n-c\nexit 0\n\ntwo words\n");
    EXPECT_EQ(said.out + said.err, "");
}

TEST_F(SpawnTest, TheListingIsAppendedToTheLog) {
    room.write("spawn.log", "earlier\n");
    SpawnProcess({"/bin/true"}, true);
    forkprocess("/bin/true", {"again"}, true);
    EXPECT_EQ(log(), "earlier\n" + logged("S_EXECVP_ARGS", {"/bin/true"}) + "/bin/true\n" +
                         logged("S_EXECVP_ARGS", {"again"}) + "again\n");
}

TEST_F(SpawnTest, TheListingStandsBetweenTheLaunchersOwnLines) {
    openLog(room.path(), room.file("none"), "STAMP", "/log");
    writeToInstallLog("before\n");
    SpawnProcess({"/bin/true"}, true);
    writeToInstallLog("after\n");
    EXPECT_EQ(bytes_of(sLogLoc),
              "before\n" + logged("S_EXECVP_ARGS", {"/bin/true"}) + "/bin/true\nafter\n");
}

TEST_F(SpawnTest, ALogThatCannotBeOpenedIsDoneWithout) {
    for (const std::string& location : {room.file("no/such/directory.log"), std::string()}) {
        for (const bool debug : {false, true}) {
            sLogLoc = location;
            state::_bDebug = debug;
            const Said said = said_by([&] {
                EXPECT_EQ(SpawnProcess(shell("exit 9"), true), 9);
                EXPECT_EQ(forkprocess("/bin/sh", shell("exit 8"), true), 8);
            });
            EXPECT_EQ(said.err, "");
            EXPECT_EQ(said.out.empty(), !debug);
        }
    }
}

// --- Debug mode

TEST_F(SpawnTest, DebugModeListsTheArgumentsOnTheConsoleNumberedFrom0) {
    state::_bDebug = true;
    const Said said = said_by([&] { SpawnProcess({"/bin/sh", "-c", "echo child"}, true); });
    EXPECT_EQ(said.out, kDashes + shown("S_TOTAL_ARGS", {"3"}) + shown("S_CMDLINE_ARG_ELTS") +
                            "Arg:0:/bin/sh:\nArg:1:-c:\nArg:2:echo child:\n" + kDashes +
                            shown("S_JVMLOADMSG", {"/bin/sh"}) + "child\n");
    EXPECT_EQ(said.err, "");
}

TEST_F(SpawnTest, AnEmptyVectorIsListedAsEmpty) {
    EXPECT_EQ(shown_by([] { list_arguments({}); }), kDashes + shown("S_TOTAL_ARGS", {"0"}) +
                                                        shown("S_CMDLINE_ARG_ELTS") + kDashes +
                                                        shown("S_JVMLOADMSG"));
}

TEST_F(SpawnTest, ForkprocessListsNothingOnTheConsole) {
    state::_bDebug = true;
    const Said said = said_by([&] { forkprocess("/bin/true", {"true"}, true); });
    EXPECT_EQ(said.out + said.err, "");
}

TEST_F(SpawnTest, DebugModeRecordsTheForkInBothProcesses) {
    state::_bDebug = true;
    const std::string out = room.file("pid");
    for (const bool console : {true, false}) {
        std::filesystem::remove(room.file("spawn.log"));
        const Vector vector = shell("echo $$ > " + out);
        shown_by([&] {
            EXPECT_EQ(console ? SpawnProcess(vector, true) : forkprocess("/bin/sh", vector, true),
                      0);
        });
        std::string pid = bytes_of(out);
        pid.pop_back();
        EXPECT_EQ(log_of_child(pid), logged("S_FORK_RET", {"0"}) +
                                         logged("S_EXECVP_ARGS", {"/bin/sh"}) +
                                         "/bin/sh\n-c\necho $$ > " + out + "\n");
    }
}

// --- A program that cannot be started

TEST_F(SpawnTest, AMissingProgramComesBackInTheChildWithMinus1AndAMessage) {
    const ChildEnd end = end_of_start([] {
        return SpawnProcess({"/no/such/program", "argument"}, true);
    });
    EXPECT_EQ(came_back(), "-1");
    EXPECT_EQ(WEXITSTATUS(end.status), 255);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, not_started(ENOENT) +
                           because("S_START_OBSTACLE", {"/no/such/program", kNoSuchFile, "/no"}));
    EXPECT_EQ(log(),
              logged("S_EXECVP_ARGS", {"/no/such/program"}) + "/no/such/program\nargument\n");
}

TEST_F(SpawnTest, AProgramThatIsNoProgramIsToldWithTheSystemsNumber) {
    make_file("plain_file", "text");
    std::filesystem::permissions(room.file("plain_file"), std::filesystem::perms(0644));
    const ChildEnd end =
        end_of_start([&] { return SpawnProcess({room.file("plain_file")}, true); });
    EXPECT_EQ(WEXITSTATUS(end.status), 255);
    EXPECT_EQ(end.err,
              not_started(EACCES) + because("S_START_NOT_EXECUTABLE",
                                            {room.file("plain_file"), "Permission denied"}));
}

TEST_F(SpawnTest, AVectorTooLongForTheSystemIsReportedLikeAnyOther) {
    const ChildEnd end = end_of_start([] {
        return SpawnProcess({"/bin/true", std::string(16U * 1024 * 1024, 'x')}, true);
    });
    EXPECT_EQ(came_back(), "-1");
    EXPECT_EQ(WEXITSTATUS(end.status), 255);
    EXPECT_TRUE(end.err.starts_with(not_started(E2BIG) + "<S_START_TOO_LONG|")) << end.err;
}

TEST_F(SpawnTest, AnEmptyVectorCannotBeStarted) {
    const ChildEnd end = end_of_start([] { return SpawnProcess({}, true); });
    EXPECT_EQ(came_back(), "-1");
    EXPECT_EQ(end.err, not_started(ENOENT) + because("S_START_NOT_FOUND", {"", kNoSuchFile}));
}

TEST_F(SpawnTest, AFailedStartIsRecordedInDebugMode) {
    state::_bDebug = true;
    const ChildEnd end = end_of_start([] { return SpawnProcess({"/no/such/program"}, true); });
    EXPECT_EQ(log_of_child(bytes_of(room.file("child"))),
              logged("S_FORK_RET", {"0"}) + logged("S_EXECVP_ARGS", {"/no/such/program"}) +
                  "/no/such/program\n" + logged("S_EXECVP_RET", {"-1"}) + "\n");
    EXPECT_EQ(end.err, not_started(ENOENT) +
                           because("S_START_OBSTACLE", {"/no/such/program", kNoSuchFile, "/no"}));
}

TEST_F(SpawnTest, ALogThatCannotBeWrittenDoesNotChangeTheReasonThatIsTold) {
    state::_bDebug = true;
    sLogLoc = "/dev/full"; // every write fails with a number of its own
    const ChildEnd end = end_of_start([] { return SpawnProcess({"/no/such/program"}, true); });
    EXPECT_TRUE(end.err.starts_with(
        shown("S_ERGOSLST", {"CreateZULProcess()", std::to_string(ENOENT)}) + "\n"))
        << end.err;
}

TEST_F(SpawnTest, ForkprocessComesBackInTheChildWithoutAMessage) {
    const ChildEnd end =
        end_of_start([] { return forkprocess("/no/such/program", {"name"}, true); });
    EXPECT_EQ(came_back(), "-1");
    EXPECT_EQ(WEXITSTATUS(end.status), 255);
    EXPECT_EQ(end.out + end.err, "");
    EXPECT_EQ(log(), logged("S_EXECVP_ARGS", {"name"}) + "name\n");
}

TEST_F(SpawnTest, ALaunchThatDoesNotWaitIsNotToldOfAMissingProgram) {
    int result = -1;
    const ChildEnd end = end_of_start([&] {
        result = SpawnProcess({"/no/such/program"}, false);
        if (result == 0)
            reap(); // so that the message is complete
        return result;
    });
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_EQ(end.err, not_started(ENOENT) +
                           because("S_START_OBSTACLE", {"/no/such/program", kNoSuchFile, "/no"}));
}

} // namespace
