#include "platform/console_input.h"

#include <cerrno>
#include <termios.h>
#include <unistd.h>

bool read_console_line(std::string& line, std::size_t longest) {
    line.clear();
    while (line.size() < longest) {
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
