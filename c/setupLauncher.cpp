#include "base/status.h"
#include "platform/signals.h"
#include "setupLauncher/launch.h"

#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// For what(1) and strings(1): every option of the command line belongs to the installer, so none
// can ask the program for its version.
[[gnu::used]] constexpr char kIdentity[] =
    "@(#)setupLauncher " LAUNCHER_VERSION " " LAUNCHER_PLATFORM;

// Nobody but the operator sees what a launch leaves behind, until a setting says otherwise.
constexpr mode_t kStartMask = 077;

// A file opened on the number of a closed standard stream would take in what is meant for it.
void open_standard_streams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1)
            static_cast<void>(open("/dev/null", O_RDWR)); // the lowest free number is this one
    }
}

// Nothing that needs memory can be said any more, a catalogue text least of all.
void end_without_memory() {
    constexpr char message[] =
        "setupLauncher: There is not enough memory. End other programs or raise "
        "the memory limit, and start it again.\n";
    if (write(STDERR_FILENO, message, sizeof message - 1) < 0) {
        // Then the status alone has to tell.
    }
    _exit(kFailed & 0xff);
}

} // namespace

int main(int argc, char** argv) {
    std::set_new_handler(end_without_memory);
    note_signals();
    open_standard_streams();
    umask(kStartMask);
    return main_helper(argc, argv);
}
