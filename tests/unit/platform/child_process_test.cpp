#include "platform/child_process.h"

#include "launch_fixture.h"
#include "platform/signals.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <sys/resource.h>

namespace {

// What befalls this process in the calls below.
int comes_with_fork = 0;         // a signal
int comes_with_end_of_child = 0; // a signal
bool names_any_child = true;
bool names_a_child = true;
bool names_one_more = false;
bool shell_gets_signals_held = false;

void send_self(int number) {
    if (number != 0)
        kill(getpid(), number);
}

bool is_held(int number) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, number) == 1;
}

int ended_with(int code) {
    return code << 8;
}

// The status of a process of its own in which `call` ran; a false expectation in it is 99.
template <typename Call>
int status_of(const Call& call) {
    return end_of_child([&] {
               alarm(20); // ends this process should it wait for ever
               call();
               return testing::Test::HasFailure() ? 99 : 0;
           })
        .status;
}

} // namespace

// These stand before the library's own.
extern "C" pid_t fork() noexcept {
    using Fork = pid_t (*)();
    static const auto of_the_system = reinterpret_cast<Fork>(dlsym(RTLD_NEXT, "fork"));
    const pid_t child = of_the_system();
    if (child > 0 && comes_with_fork != 0) {
        send_self(comes_with_fork);
        usleep(200000); // in which a child that waits for nothing is done
    }
    return child;
}

extern "C" pid_t waitpid(pid_t which, int* status, int options) {
    using Waitpid = pid_t (*)(pid_t, int*, int);
    static const auto of_the_system = reinterpret_cast<Waitpid>(dlsym(RTLD_NEXT, "waitpid"));
    if (which == -1 ? !names_any_child : !names_a_child) {
        errno = ENOSYS;
        return -1;
    }
    const pid_t ended = of_the_system(which, status, options);
    if (ended > 0)
        send_self(comes_with_end_of_child);
    if (ended > 0 && names_one_more)
        names_any_child = names_a_child = false;
    return ended;
}

extern "C" int execl(const char* path, const char* name, ...) noexcept {
    va_list arguments;
    va_start(arguments, name);
    char* option = va_arg(arguments, char*);
    char* command = va_arg(arguments, char*);
    va_end(arguments);
    if (shell_gets_signals_held != is_held(SIGTERM))
        _exit(98);
    std::string first = name;
    char* vector[] = {first.data(), option, command, nullptr};
    return execv(path, vector);
}

namespace {

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
    const int before = lowest_free_descriptor();
    const pid_t child = start_child();
    if (child == 0)
        _exit(lowest_free_descriptor() == before ? 7 : 8);
    int status = -1;
    EXPECT_TRUE(wait_for_child(status, child));
    EXPECT_EQ(status, ended_with(7));
    let_signals_in();
    EXPECT_EQ(lowest_free_descriptor(), before);
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

TEST(StartChild, EndsTheChildBeforeItDoesAnythingWhenASignalCameWithIt) {
    const TemporaryDirectory room;
    EXPECT_EQ(status_of([&] {
                  comes_with_fork = SIGTERM;
                  const pid_t child = start_child();
                  const int reason = errno;
                  if (child == 0) {
                      room.write("ran", "");
                      _exit(0);
                  }
                  EXPECT_EQ(child, -1);
                  EXPECT_EQ(reason, EINTR);
                  EXPECT_EQ(noted_signal(), SIGTERM);
                  EXPECT_FALSE(is_held(SIGTERM));
                  EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "a child is left";
              }),
              0);
    EXPECT_FALSE(std::filesystem::exists(room.file("ran")));
}

TEST(StartChild, WithoutADescriptorLeftTellsWhyAndHoldsNothing) {
    EXPECT_EQ(status_of([] {
                  rlimit descriptors{};
                  getrlimit(RLIMIT_NOFILE, &descriptors);
                  descriptors.rlim_cur = 3;
                  setrlimit(RLIMIT_NOFILE, &descriptors);
                  const pid_t child = start_child();
                  const int reason = errno;
                  EXPECT_EQ(child, -1);
                  EXPECT_EQ(reason, EMFILE);
                  EXPECT_FALSE(is_held(SIGTERM));
              }),
              0);
}

TEST(WaitForChild, NotesWhatCameWithTheEndOfTheChild) {
    EXPECT_EQ(status_of([] {
                  const pid_t child = start_child();
                  if (child == 0)
                      _exit(6);
                  comes_with_end_of_child = SIGINT;
                  int status = -1;
                  EXPECT_TRUE(wait_for_child(status, child));
                  EXPECT_EQ(status, ended_with(6));
                  EXPECT_EQ(noted_signal(), SIGINT);
                  EXPECT_TRUE(is_held(SIGINT));
              }),
              0);
}

TEST(WaitForChild, AsksForTheChildItselfWhereTheSystemNamesNone) {
    EXPECT_EQ(status_of([] {
                  const pid_t child = start_child();
                  if (child == 0)
                      _exit(6);
                  names_any_child = false;
                  int status = -1;
                  EXPECT_TRUE(wait_for_child(status, child));
                  EXPECT_EQ(status, ended_with(6));
              }),
              0);
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

TEST(RunShellCommand, GivesTheShellTheMaskOfTheCaller) {
    EXPECT_EQ(run_shell_command("true"), 0);
    EXPECT_EQ(status_of([] {
                  sigset_t only;
                  sigemptyset(&only);
                  sigaddset(&only, SIGTERM);
                  sigprocmask(SIG_BLOCK, &only, nullptr);
                  note_signals();
                  shell_gets_signals_held = true;
                  EXPECT_EQ(run_shell_command("true"), 0);
              }),
              0);
}

TEST(RunShellCommand, WithoutAShellEndsWithTheStatusOfAShellThatFindsNoCommand) {
    // Longer than any system lets an argument be.
    EXPECT_EQ(run_shell_command("true " + std::string(16U << 20, 'x')), ended_with(127));
}

TEST(RunShellCommand, WhoseEndCannotBeLearntGivesTheSystemsReason) {
    EXPECT_EQ(status_of([] {
                  // Of another child there is a status, which is not the command's.
                  const pid_t other = fork();
                  if (other == 0)
                      _exit(42);
                  siginfo_t ended{};
                  EXPECT_EQ(waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
                  names_one_more = true;
                  const int status = run_shell_command("true");
                  const int reason = errno;
                  EXPECT_EQ(status, -1);
                  EXPECT_EQ(reason, ENOSYS);
                  EXPECT_FALSE(is_held(SIGTERM));
                  EXPECT_GT(wait(nullptr), 0);
              }),
              0);
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
