#include "platform/signals.h"

#include <cstddef>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// What a shell adds to the number of the signal that ended a command.
constexpr int kEndedBySignal = 128;

struct Noted {
    int number;
    bool goes_on; // handed on to the running child
    bool ignored; // by the caller
    volatile std::sig_atomic_t sent;
};

Noted signals[] = {
    {SIGHUP, true, false, 0},  {SIGINT, true, false, 0},   {SIGQUIT, true, false, 0},
    {SIGTERM, true, false, 0}, {SIGPIPE, false, false, 0}, {SIGXFSZ, false, false, 0},
};

volatile std::sig_atomic_t first = 0;
bool noting = false;
bool leads_session = false;
sigset_t mask_given;
sigset_t mask_open;
sigset_t mask_held;

struct Name {
    int number;
    const char* name;
};

constexpr Name kNames[] = {
    {SIGHUP, "SIGHUP"},       {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},
    {SIGTRAP, "SIGTRAP"},     {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
    {SIGKILL, "SIGKILL"},     {SIGUSR1, "SIGUSR1"}, {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"},
    {SIGPIPE, "SIGPIPE"},     {SIGALRM, "SIGALRM"}, {SIGTERM, "SIGTERM"}, {SIGCHLD, "SIGCHLD"},
    {SIGCONT, "SIGCONT"},     {SIGSTOP, "SIGSTOP"}, {SIGTSTP, "SIGTSTP"}, {SIGTTIN, "SIGTTIN"},
    {SIGTTOU, "SIGTTOU"},     {SIGURG, "SIGURG"},   {SIGXCPU, "SIGXCPU"}, {SIGXFSZ, "SIGXFSZ"},
    {SIGVTALRM, "SIGVTALRM"}, {SIGPROF, "SIGPROF"}, {SIGPOLL, "SIGPOLL"}, {SIGSYS, "SIGSYS"},
};

// One system gives no information about a signal of the terminal.
bool sent_by_process(const siginfo_t* info) {
    return info != nullptr && info->si_code <= 0;
}

void note(int number, siginfo_t* info, void* /*context*/) {
    if (first == 0)
        first = number;
    for (Noted& signal : signals) {
        if (signal.number == number &&
            (sent_by_process(info) || (number == SIGHUP && leads_session)))
            signal.sent = 1;
    }
}

void wake(int /*number*/) {}

// Notes `signal` from here on, unless the caller ignores it.
void take(Noted& signal) {
    struct sigaction action {};
    sigaction(signal.number, nullptr, &action);
    signal.ignored = (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
    if (signal.ignored)
        return;
    action.sa_sigaction = note;
    action.sa_flags = SA_SIGINFO; // without SA_RESTART: a question must not wait on
    sigfillset(&action.sa_mask);
    sigaction(signal.number, &action, nullptr);
}

void give_default(int number) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(number, &action, nullptr);
}

} // namespace

void note_signals() {
    noting = true;
    leads_session = getsid(0) == getpid();
    sigprocmask(SIG_BLOCK, nullptr, &mask_given);
    mask_open = mask_given;
    sigdelset(&mask_open, SIGCHLD);
    mask_held = mask_open;
    sigaddset(&mask_held, SIGCHLD);
    for (Noted& signal : signals) {
        take(signal);
        sigaddset(&mask_held, signal.number);
    }
    // A caller may hand on SIGCHLD ignored; then nobody learns how a child has ended.
    struct sigaction child {};
    child.sa_handler = wake;
    child.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    sigaction(SIGCHLD, &child, nullptr);
    let_signals_in();
}

int noted_signal() {
    return first;
}

void forget_noted_signal() {
    first = 0;
}

void hold_signals() {
    if (!noting)
        note_signals();
    sigprocmask(SIG_SETMASK, &mask_held, nullptr);
}

void let_signals_in() {
    sigprocmask(SIG_SETMASK, &mask_open, nullptr);
}

const sigset_t& letting_in() {
    return mask_open;
}

void await_signal() {
    sigsuspend(&mask_open);
}

void hand_on_signals(pid_t child) {
    for (Noted& signal : signals) {
        if (signal.sent != 0 && signal.goes_on)
            kill(child, signal.number);
        signal.sent = 0;
    }
}

void give_signals_back() {
    let_signals_in();
    hold_signals();
    for (const Noted& signal : signals) {
        if (signal.goes_on && signal.number == noted_signal())
            end_by_signal(signal.number);
    }
    forget_noted_signal();
    for (const Noted& signal : signals) {
        if (!signal.ignored)
            give_default(signal.number);
    }
    // Never ignored: the child could not wait for children of its own.
    give_default(SIGCHLD);
    sigprocmask(SIG_SETMASK, &mask_given, nullptr);
}

void end_by_signal(int number) {
    rlimit core{};
    getrlimit(RLIMIT_CORE, &core);
    core.rlim_cur = 0;
    setrlimit(RLIMIT_CORE, &core);
    give_default(number);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    sigprocmask(SIG_UNBLOCK, &only, nullptr);
    raise(number);
    // cppcheck-suppress unreachableCode // the first process of a system survives its signals
    _exit(kEndedBySignal + number);
}

std::string signal_name(int number) {
    for (const Name& name : kNames) {
        if (name.number == number)
            return name.name;
    }
    return "SIG" + std::to_string(number);
}
