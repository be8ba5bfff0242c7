#include "platform/signals.h"

#include "launch_fixture.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <utility>

namespace {

bool survives_signals = false;

constexpr int kNoted[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGXFSZ};

void send_self(int number) {
    kill(getpid(), number);
}

void set_disposition(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigaction(number, &action, nullptr);
}

bool is_ignored(int number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

bool is_default(int number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_DFL;
}

bool is_blocked(int number) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, number) == 1;
}

void block(int number) {
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    sigprocmask(SIG_BLOCK, &only, nullptr);
}

// The status of a process of its own in which `call` ran; a false expectation in it is 99.
template <typename Call>
int status_of(const Call& call) {
    return end_of_child([&] {
               call();
               return testing::Test::HasFailure() ? 99 : 0;
           })
        .status;
}

int sent_to_child = 0;

void count(int number) {
    sent_to_child = sent_to_child * 100 + number;
}

// A process that sends `number` to this one a hundred times, as it may not yet be waiting, and then
// puts a byte into `writing`.
void interrupt_and_write(int writing, int number) {
    const pid_t reader = getpid();
    if (fork() != 0)
        return;
    for (int i = 0; i < 100; ++i) {
        usleep(10000);
        if (getppid() != reader)
            _exit(0);
        kill(reader, number);
    }
    put(writing, "x");
    _exit(0);
}

// A child that ends, and later one that puts a byte into `writing`.
void end_and_write(int writing) {
    if (fork() == 0) {
        usleep(50000);
        _exit(0);
    }
    if (fork() == 0) {
        usleep(300000);
        put(writing, "x");
        _exit(0);
    }
}

} // namespace

// Stands before the library's own: the first process of a system survives its signals.
extern "C" int raise(int number) noexcept {
    return survives_signals ? 0 : kill(getpid(), number);
}

namespace {

TEST(NoteSignals, NotesTheFirstOfThemAndEndsNothing) {
    for (const int number : kNoted) {
        EXPECT_EQ(status_of([number] {
                      note_signals();
                      EXPECT_EQ(noted_signal(), 0);
                      send_self(number);
                      EXPECT_EQ(noted_signal(), number);
                      send_self(SIGTERM);
                      EXPECT_EQ(noted_signal(), number);
                      forget_noted_signal();
                      EXPECT_EQ(noted_signal(), 0);
                  }),
                  0)
            << number;
    }
}

TEST(NoteSignals, LeavesWhatTheCallerIgnoresIgnored) {
    for (const int number : kNoted) {
        EXPECT_EQ(status_of([number] {
                      set_disposition(number, SIG_IGN);
                      note_signals();
                      send_self(number);
                      EXPECT_EQ(noted_signal(), 0);
                      give_signals_back();
                      EXPECT_TRUE(is_ignored(number));
                  }),
                  0)
            << number;
    }
}

TEST(NoteSignals, LeavesWhatTheCallerHoldsBackHeld) {
    EXPECT_EQ(status_of([] {
                  block(SIGINT);
                  note_signals();
                  send_self(SIGINT);
                  EXPECT_EQ(noted_signal(), 0);
                  give_signals_back();
                  EXPECT_TRUE(is_blocked(SIGINT));
                  EXPECT_FALSE(is_blocked(SIGTERM));
              }),
              0);
}

TEST(NoteSignals, InterruptsWhatWaitsForInput) {
    for (const int number : kNoted) {
        EXPECT_EQ(status_of([number] {
                      int ends[2] = {-1, -1};
                      ASSERT_EQ(pipe(ends), 0);
                      note_signals();
                      interrupt_and_write(ends[1], number);
                      char byte = '\0';
                      EXPECT_EQ(read(ends[0], &byte, 1), -1);
                      EXPECT_EQ(errno, EINTR);
                      EXPECT_EQ(noted_signal(), number);
                  }),
                  0)
            << number;
    }
}

TEST(NoteSignals, LeavesWhatWaitsForInputWaitingWhenAChildEnds) {
    EXPECT_EQ(status_of([] {
                  int ends[2] = {-1, -1};
                  ASSERT_EQ(pipe(ends), 0);
                  note_signals();
                  end_and_write(ends[1]);
                  char byte = '\0';
                  EXPECT_EQ(read(ends[0], &byte, 1), 1);
              }),
              0);
}

TEST(HoldSignals, KeepsThemUntilTheyAreLetIn) {
    EXPECT_EQ(status_of([] {
                  hold_signals(); // notes them from here on
                  send_self(SIGTERM);
                  EXPECT_EQ(noted_signal(), 0);
                  let_signals_in();
                  EXPECT_EQ(noted_signal(), SIGTERM);
              }),
              0);
}

TEST(AwaitSignal, ComesBackWithWhatWasHeldAndHoldsAgain) {
    EXPECT_EQ(status_of([] {
                  hold_signals();
                  send_self(SIGHUP);
                  await_signal();
                  EXPECT_EQ(noted_signal(), SIGHUP);
                  EXPECT_TRUE(is_blocked(SIGHUP));
              }),
              0);
}

TEST(AwaitSignal, ComesBackForAChildThatEndsAlsoWhereTheCallerIgnoresThat) {
    EXPECT_EQ(status_of([] {
                  set_disposition(SIGCHLD, SIG_IGN);
                  block(SIGCHLD);
                  hold_signals();
                  if (fork() == 0)
                      _exit(0);
                  await_signal();
                  EXPECT_EQ(noted_signal(), 0);
                  EXPECT_GT(wait(nullptr), 0);
              }),
              0);
}

TEST(AwaitSignal, ComesBackForAChildThatHasEndedSinceTheSignalsWereHeld) {
    EXPECT_EQ(status_of([] {
                  alarm(20); // ends this process should it wait for ever
                  hold_signals();
                  const pid_t child = fork();
                  if (child == 0)
                      _exit(0);
                  siginfo_t ended{};
                  EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
                  await_signal();
                  EXPECT_EQ(noted_signal(), 0);
              }),
              0);
}

TEST(HandOnSignals, HandsOnOnceWhatProcessesSentButNoPipeOrFileSize) {
    EXPECT_EQ(status_of([] {
                  note_signals();
                  for (const int number : kNoted)
                      send_self(number);
                  for (const int number : kNoted)
                      set_disposition(number, count);
                  // This very process stands for the child.
                  hand_on_signals(getpid());
                  hand_on_signals(getpid());
                  EXPECT_EQ(sent_to_child,
                            ((SIGHUP * 100 + SIGINT) * 100 + SIGQUIT) * 100 + SIGTERM);
              }),
              0);
}

TEST(GiveSignalsBack, GivesTheDefaultBackAndTheMask) {
    EXPECT_EQ(status_of([] {
                  block(SIGUSR1);
                  hold_signals();
                  give_signals_back();
                  for (const int number : kNoted) {
                      EXPECT_TRUE(is_default(number)) << number;
                      EXPECT_FALSE(is_blocked(number)) << number;
                  }
                  EXPECT_TRUE(is_default(SIGCHLD));
                  EXPECT_FALSE(is_blocked(SIGCHLD));
                  EXPECT_TRUE(is_blocked(SIGUSR1));
              }),
              0);
}

TEST(GiveSignalsBack, LetsAChildWaitForItsOwnChildrenWhateverTheCallerIgnores) {
    EXPECT_EQ(status_of([] {
                  set_disposition(SIGCHLD, SIG_IGN);
                  hold_signals();
                  give_signals_back();
                  EXPECT_TRUE(is_default(SIGCHLD));
              }),
              0);
}

TEST(GiveSignalsBack, HoldsTheEndOfChildrenBackWhereTheCallerDid) {
    EXPECT_EQ(status_of([] {
                  block(SIGCHLD);
                  hold_signals();
                  give_signals_back();
                  EXPECT_TRUE(is_blocked(SIGCHLD));
              }),
              0);
}

TEST(GiveSignalsBack, EndsByWhatCameWhileTheSignalsWereHeld) {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        const int status = status_of([number] {
            hold_signals();
            send_self(number);
            give_signals_back();
        });
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), number);
    }
}

TEST(GiveSignalsBack, PassesOverALogThatCouldNotGrow) {
    for (const int number : {SIGPIPE, SIGXFSZ}) {
        EXPECT_EQ(status_of([number] {
                      hold_signals();
                      send_self(number);
                      give_signals_back();
                      EXPECT_EQ(noted_signal(), 0);
                  }),
                  0);
    }
}

TEST(EndBySignal, EndsByTheSignalWithoutACoreFileWhateverIsNotedOrHeld) {
    for (const int number : kNoted) {
        const int status = status_of([number] {
            const rlimit size{RLIM_INFINITY, RLIM_INFINITY};
            setrlimit(RLIMIT_CORE, &size);
            hold_signals();
            send_self(SIGTERM);
            end_by_signal(number);
        });
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), number);
        EXPECT_FALSE(WCOREDUMP(status));
    }
}

TEST(EndBySignal, EndsWithTheStatusOfAShellWhereTheProcessSurvivesIt) {
    for (const int number : kNoted) {
        const int status = status_of([number] {
            survives_signals = true;
            end_by_signal(number);
        });
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 128 + number);
    }
}

TEST(SignalName, IsThatOfTheSystem) {
    const std::pair<int, const char*> names[] = {
        {SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},       {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},
        {SIGTRAP, "SIGTRAP"}, {SIGABRT, "SIGABRT"},     {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
        {SIGKILL, "SIGKILL"}, {SIGUSR1, "SIGUSR1"},     {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"},
        {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"},     {SIGTERM, "SIGTERM"}, {SIGCHLD, "SIGCHLD"},
        {SIGCONT, "SIGCONT"}, {SIGSTOP, "SIGSTOP"},     {SIGTSTP, "SIGTSTP"}, {SIGTTIN, "SIGTTIN"},
        {SIGTTOU, "SIGTTOU"}, {SIGURG, "SIGURG"},       {SIGXCPU, "SIGXCPU"}, {SIGXFSZ, "SIGXFSZ"},
        {SIGPROF, "SIGPROF"}, {SIGVTALRM, "SIGVTALRM"}, {SIGPOLL, "SIGPOLL"}, {SIGSYS, "SIGSYS"}};
    for (const auto& [number, name] : names)
        EXPECT_EQ(signal_name(number), name);
}

TEST(SignalName, IsTheNumberWhereThereIsNoName) {
    EXPECT_EQ(signal_name(64), "SIG64");
}

} // namespace
