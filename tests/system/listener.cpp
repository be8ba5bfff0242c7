// Stands where the launcher expects java, unzip or a command of the system, and
// listens for signals.
//
// LISTENER_DIRECTORY   where it makes the file "ready" once it listens, and
//                      adds a byte to the file "got" for every signal; it ends
//                      with LISTENER_EXIT when the file "go_on" is there
// LISTENER_DOES        "dies": of its first signal, which is not counted;
//                      "traps": ends with 5 half a second after the first one;
//                      "ignores": counts and goes on

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>

namespace {

constexpr int kTrapped = 5;

int got = -1;
volatile sig_atomic_t heard = 0;

void hear(int /*number*/) {
    heard = 1;
    if (write(got, "x", 1) != 1)
        _exit(97);
}

const char* setting(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

} // namespace

int main() {
    if (chdir(setting("LISTENER_DIRECTORY")) != 0)
        return 98;
    got = open("got", O_WRONLY | O_CREAT | O_APPEND, 0666);
    if (std::strcmp(setting("LISTENER_DOES"), "dies") != 0) {
        struct sigaction action {};
        action.sa_handler = hear;
        for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGXFSZ})
            sigaction(number, &action, nullptr);
    }
    close(open("ready", O_WRONLY | O_CREAT, 0666));
    const bool traps = std::strcmp(setting("LISTENER_DOES"), "traps") == 0;
    double end = 0;
    while (access("go_on", F_OK) != 0) {
        if (traps && heard != 0 && end == 0)
            end = now() + 0.5;
        if (end != 0 && now() > end)
            return kTrapped;
        usleep(2000);
    }
    return std::atoi(setting("LISTENER_EXIT"));
}
