#include "platform/child_process.h"

#include "launch_fixture.h"
#include "platform/signals.h"

#include <csignal>
#include <sys/resource.h>

namespace {

bool is_held(int number) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, number) == 1;
}

int ended_with(int code) {
    return code << 8;
}

TEST(StartChild, GivesTheParentTheChildAndBothTheirSignalsHeld) {
    const pid_t child = start_child();
    if (child == 0)
        _exit(is_held(SIGTERM) ? 7 : 8);
    EXPECT_GT(child, 0);
    EXPECT_TRUE(is_held(SIGTERM));
    int status = -1;
    EXPECT_TRUE(wait_for_child(status, child));
    EXPECT_EQ(status, ended_with(7));
    EXPECT_TRUE(is_held(SIGTERM));
    let_signals_in();
}

TEST(StartChild, LeavesNoDescriptorBehind) {
    const int before = dup(STDIN_FILENO);
    close(before);
    const pid_t child = start_child();
    if (child == 0)
        _exit(dup(STDIN_FILENO) == before ? 7 : 8);
    int status = -1;
    EXPECT_TRUE(wait_for_child(status, child));
    EXPECT_EQ(status, ended_with(7));
    let_signals_in();
    const int after = dup(STDIN_FILENO);
    close(after);
    EXPECT_EQ(after, before);
}

TEST(StartChild, StartsNoneOnceASignalIsNoted) {
    const ChildEnd end = end_of_child([] {
        note_signals();
        raise(SIGINT);
        const pid_t child = start_child();
        const int reason = errno;
        EXPECT_EQ(child, -1);
        EXPECT_EQ(reason, EINTR);
        EXPECT_FALSE(is_held(SIGTERM));
        EXPECT_EQ(waitpid(-1, nullptr, 0), -1);
        return testing::Test::HasFailure() ? 99 : 0;
    });
    EXPECT_EQ(end.status, 0) << end.out;
}

TEST(WaitForChild, ReapsAndPassesOverOtherChildren) {
    std::fflush(nullptr);
    const pid_t other = fork();
    if (other == 0)
        _exit(42);
    siginfo_t ended{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
    const pid_t child = start_child();
    if (child == 0)
        _exit(6);
    int status = -1;
    EXPECT_TRUE(wait_for_child(status, child));
    EXPECT_EQ(status, ended_with(6));
    EXPECT_EQ(waitpid(other, nullptr, WNOHANG), -1);
    let_signals_in();
}

TEST(WaitForChild, FailsForAProcessThatIsNoChild) {
    int status = 0;
    hold_signals();
    EXPECT_FALSE(wait_for_child(status, getppid()));
    let_signals_in();
}

TEST(RunShellCommand, GivesTheStatusOfTheCommand) {
    EXPECT_EQ(run_shell_command("true"), 0);
    EXPECT_EQ(run_shell_command("sh -c 'exit 3'"), ended_with(3));
    const int status = run_shell_command("sh -c 'kill -KILL $$'");
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(RunShellCommand, TakesRedirectionsAndQuotes) {
    const TemporaryDirectory room;
    EXPECT_EQ(run_shell_command("echo 'a  b' > '" + room.file("x y") + "' 2>&1"), 0);
    EXPECT_EQ(bytes_of(room.file("x y")), "a  b\n");
}

TEST(RunShellCommand, PutsTheCommandInThePlaceOfTheShell) {
    const TemporaryDirectory room;
    const std::string file = room.file("parent");
    EXPECT_EQ(run_shell_command("sh -c 'echo $PPID > " + file + "'"), 0);
    EXPECT_EQ(bytes_of(file), std::to_string(getpid()) + "\n");
}

TEST(RunShellCommand, HidesVariablesFromTheCommandAlone) {
    setenv("HIDDEN", "secret", 1);
    setenv("OTHER", "stays", 1);
    EXPECT_EQ(run_shell_command("sh -c 'test -z \"${HIDDEN+set}\" && test \"$OTHER\" = stays'",
                                {"HIDDEN"}),
              0);
    EXPECT_STREQ(getenv("HIDDEN"), "secret");
}

TEST(RunShellCommand, LetsTheSignalsInBeforeAndAfter) {
    EXPECT_EQ(run_shell_command("sh -c 'kill -ALRM $$'") & 0x7f, SIGALRM);
    EXPECT_FALSE(is_held(SIGTERM));
    EXPECT_FALSE(is_held(SIGCHLD));
}

TEST(RunShellCommand, HandsOnWhatIsSentToThisProcess) {
    const ChildEnd end = end_of_child([] {
        const int status = run_shell_command(
            "sh -c 'trap \"exit 5\" TERM; kill -TERM $PPID; while :; do sleep 0.01; done'");
        EXPECT_EQ(status, ended_with(5));
        EXPECT_EQ(noted_signal(), SIGTERM);
        EXPECT_EQ(run_shell_command("true"), -1) << "nothing is started any more";
        return testing::Test::HasFailure() ? 99 : 0;
    });
    EXPECT_EQ(end.status, 0) << end.out;
}

} // namespace
