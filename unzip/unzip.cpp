// unzip: the unpacker that lies beside the launcher on a stage.
//
// Responsible for: the program's own surroundings (signals, memory that runs out, standard output
// that cannot be written). Everything else is in the rooms beside this file, from run on.

#include "unzip/command_line.h"
#include "unzip/extraction.h"
#include "unzip/messages.h"
#include "unzip/run.h"
#include "unzip/status.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <unistd.h>

namespace {

void end_soon(int /*signal*/) {
    unzip_is_interrupted = true;
}

void set_action(int signal, void (*action)(int)) {
    struct sigaction wanted {};
    struct sigaction found {};
    sigemptyset(&wanted.sa_mask);
    wanted.sa_handler = action;
    // What the caller ignores stays ignored, as under nohup.
    if (sigaction(signal, nullptr, &found) == 0 && found.sa_handler != SIG_IGN)
        sigaction(signal, &wanted, nullptr);
}

// Nothing that takes memory may happen here.
void end_without_memory() {
    constexpr std::string_view kText = "unzip: there is not enough memory\n";
    const ssize_t written = write(STDERR_FILENO, kText.data(), kText.size());
    static_cast<void>(written);
    _exit(kUnzipNoMemory);
}

} // namespace

int main(int argc, char** argv) {
    std::set_new_handler(end_without_memory);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        set_action(signal, end_soon);
    // These come back as failures of a write, which are told like all others.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        set_action(signal, SIG_IGN);

    UnzipCommand command;
    const std::string wrong = read_command_line(command, {argv + std::min(argc, 1), argv + argc});
    if (!wrong.empty()) {
        std::fprintf(stderr, "unzip: %s\n", wrong.c_str());
        return kUnzipWrongOptions;
    }
    int status = run_unzip(command);
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        complain_of("standard output", errno != 0 ? std::strerror(errno) : "it cannot be written");
        status = std::max(status, kUnzipDiskFull);
    }
    return status;
}
