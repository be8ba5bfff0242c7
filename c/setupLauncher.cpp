#include "setupLauncher/launch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Nobody but the operator sees what a launch leaves behind, until a setting says otherwise.
constexpr mode_t kStartMask = 077;

// A file opened on the number of a closed standard stream would take in what is meant for it.
void open_standard_streams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1)
            open("/dev/null", O_RDWR); // takes the lowest free number, which is this one
    }
}

} // namespace

int main(int argc, char** argv) {
    open_standard_streams();
    umask(kStartMask);
    return main_helper(argc, argv);
}
