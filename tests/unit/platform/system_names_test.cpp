#include "platform/system_names.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

bool system_tells_its_name = true;

} // namespace

// Stands before the library's own, which never fails.
extern "C" int uname(struct utsname* system) noexcept {
    if (!system_tells_its_name) {
        errno = EFAULT;
        return -1;
    }
    return static_cast<int>(syscall(SYS_uname, system));
}

TEST(GetOSVersion, IsTheReleaseOfTheSystem) {
    struct utsname system {};
    ASSERT_GE(uname(&system), 0);
    EXPECT_EQ(getOSVersion(), system.release);
}

TEST(GetMachineName, IsTheKindOfTheHardware) {
    struct utsname system {};
    ASSERT_GE(uname(&system), 0);
    EXPECT_EQ(getMachineName(), system.machine);
}

TEST(SystemNames, AreEmptyForASystemThatDoesNotTell) {
    system_tells_its_name = false;
    EXPECT_EQ(getOSVersion(), "");
    EXPECT_EQ(getMachineName(), "");
    system_tells_its_name = true;
}
