#include "platform/system_names.h"

#include <sys/utsname.h>

// On Solaris the header also declares an object named utsname, which hides the type.

std::string getOSVersion() {
    struct utsname system {};
    // Solaris answers a success with any number that is not negative.
    return uname(&system) < 0 ? "" : system.release;
}

std::string getMachineName() {
    struct utsname system {};
    return uname(&system) < 0 ? "" : system.machine;
}
