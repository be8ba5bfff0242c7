#include "platform/console_input.h"

#include "platform/signals.h"

#include <cerrno>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

namespace {

bool in_background() {
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return foreground != -1 && foreground != getpgrp();
}

// Waits until there is something to read. A signal noted just before a read that blocks would be
// answered only after the next line.
void await_input() {
    hold_signals();
    // As the read would do it: the shell is to see that a job in the background wants input.
    if (in_background())
        kill(0, SIGTTIN);
    bool ready = in_background(); // then only the read can tell what is wrong
    while (!ready && noted_signal() == 0) {
        fd_set input;
        FD_ZERO(&input);
        FD_SET(STDIN_FILENO, &input);
        ready = pselect(STDIN_FILENO + 1, &input, nullptr, nullptr, nullptr, &letting_in()) >= 0 ||
                errno != EINTR;
    }
    let_signals_in();
}

} // namespace

bool read_console_line(std::string& line, std::size_t longest) {
    line.clear();
    while (line.size() < longest) {
        await_input();
        if (noted_signal() != 0)
            return false;
        char byte = '\0';
        const ssize_t got = read(STDIN_FILENO, &byte, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return !line.empty();
        if (byte == '\n')
            return true;
        line += byte;
    }
    return true;
}

void drop_typed_ahead() {
    if (isatty(STDIN_FILENO) != 0)
        tcflush(STDIN_FILENO, TCIFLUSH);
}
