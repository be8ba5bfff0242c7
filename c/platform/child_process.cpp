#include "platform/child_process.h"

#include "platform/signals.h"

#include <cerrno>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* kShell = "/bin/sh";
constexpr int kNotRun = 127; // what a shell ends with that cannot run its command

// Waits until the parent has closed the pipe `gate`.
void await_opening(const int (&gate)[2]) {
    close(gate[1]);
    char byte = '\0';
    while (read(gate[0], &byte, 1) > 0) {
    }
    close(gate[0]);
}

// Whether a signal has been noted, those included that are held.
bool signal_came() {
    let_signals_in();
    hold_signals();
    return noted_signal() != 0;
}

} // namespace

pid_t start_child() {
    int gate[2] = {-1, -1};
    if (pipe(gate) != 0)
        return -1;
    hold_signals();
    errno = EINTR;
    pid_t child = noted_signal() == 0 ? fork() : -1;
    if (child == 0) {
        await_opening(gate);
        return 0;
    }
    int reason = errno;
    // The terminal may have sent it when there was no child yet; then nobody would tell the child.
    if (child > 0 && signal_came()) {
        int status = 0;
        kill(child, SIGKILL);
        wait_for_child(status, child);
        child = -1;
        reason = EINTR;
    }
    close(gate[0]);
    close(gate[1]);
    if (child < 0)
        let_signals_in();
    errno = reason;
    return child;
}

bool wait_for_child(int& status, pid_t child) {
    for (;;) {
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        if (ended == child) {
            signal_came(); // what ended the child may have been sent to both of them
            return true;
        }
        // What keeps the system from naming any child may leave it this one.
        if (ended < 0)
            return waitpid(child, &status, 0) == child;
        if (ended == 0) {
            await_signal();
            hand_on_signals(child);
        }
    }
}

int run_shell_command(const std::string& command, std::initializer_list<const char*> hidden) {
    const std::string in_place = "exec " + command;
    const pid_t child = start_child();
    if (child == 0) {
        for (const char* name : hidden)
            unsetenv(name);
        give_signals_back();
        execl(kShell, "sh", "-c", in_place.c_str(), nullptr);
        _exit(kNotRun);
    }
    if (child < 0)
        return -1;
    int status = -1;
    if (!wait_for_child(status, child))
        status = -1;
    const int error = errno;
    let_signals_in();
    errno = error;
    return status;
}
