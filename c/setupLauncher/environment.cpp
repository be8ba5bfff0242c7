#include "setupLauncher/environment.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/profile.h"
#include "base/status.h"
#include "base/text.h"
#include "log/install_log.h"

#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kInventoryKey = "inventory_loc";
constexpr const char* kLibraryPath = "LD_LIBRARY_PATH";
constexpr const char* kClockProgram = "/usr/openwin/bin/xclock";
constexpr mode_t kJavaProgramMode = 0755;
constexpr int kLongestValue = 1024;

// Shown in this order when there is no display; S_ERPERDSPXCLOCKLOC follows with its argument.
constexpr const char* kDisplayMessages[] = {
    "S_ERPERDSP",    "S_ERPERDSP_1",  "S_ERPERDSP_2",  "S_ERPERDSP_3",  "S_ERPERDSP_4",
    "S_ERPERDSP_5",  "S_ERPERDSP_6",  "S_ERPERDSP_7",  "S_ERPERDSP_8",  "S_ERPERDSP_9",
    "S_ERPERDSP_10", "S_ERPERDSP_11", "S_ERPERDSP_12", "S_ERPERDSP_13",
};

// Where a Java runtime of this platform family may keep its program, below its bin directory.
constexpr const char* kJavaProgramPlaces[] = {"", "/sparc/green_threads", "/sparc/native_threads"};

void raise_open_files_limit() {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0)
        return;
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
}

} // namespace

std::string inventory_location() {
    if (launcher_state::useInventoryLocation)
        return launcher_state::inventoryLocation;
    std::string location;
    GenericGetPrivateProfileString(nullptr, kInventoryKey, "", location, kLongestValue,
                                   launcher_state::sInvPtrLocation.c_str());
    return location;
}

bool usable_inventory_entry(const std::string& path) {
    if (is_directory(path))
        return allows_all_access(path);
    return access(path.c_str(), R_OK | W_OK) == 0;
}

int SetUNIXEnvironment(const std::string& jreLoc) {
    if (getuid() == 0) {
        complain("S_ERPERROT");
        return kFailed;
    }
    for (const char* place : kJavaProgramPlaces)
        chmod((jreLoc + place + "/" + "java").c_str(), kJavaProgramMode);
    raise_open_files_limit();
    // Present and empty: the operator's own class path must not mix with the installer's.
    setenv("CLASSPATH", "", 1);
    setenv("JAVA_HOME", "", 1);
    return launcher_state::_bSilent ? kOk : CheckDisplay();
}

int CheckDisplay() {
    const char* display = std::getenv("DISPLAY");
    if (display != nullptr && *display != '\0')
        return kOk;
    for (const char* key : kDisplayMessages)
        show(key);
    show("S_ERPERDSPXCLOCKLOC", kClockProgram);
    return kFailed;
}

int prefixToEnv(const char* var, std::string_view appndVal, std::string_view delim) {
    const char* before = std::getenv(var);
    std::string value(appndVal);
    if (before != nullptr)
        value.append(delim).append(before);
    return setenv(var, value.c_str(), 1) == 0 ? kOk : kFailed;
}

void addExtDir(const char* scratchLoc, std::string_view extDir) {
    if (scratchLoc == nullptr)
        return;
    prefixToEnv(kLibraryPath, (std::string(scratchLoc) + "/").append(extDir), ":");
}

void addExtPath(const char* scratchLoc, const char* extPath) {
    if (scratchLoc == nullptr || extPath == nullptr)
        return;
    const std::string_view path(extPath);
    const std::size_t ext = path.find("ext");
    if (ext != std::string_view::npos)
        addExtDir(scratchLoc, path.substr(ext));
}

void ComputeAddtoClasspath(const std::string& scratchLoc, const std::string& addtoClasspathString,
                           std::string& expandedAddtoClasspathString) {
    if (addtoClasspathString.empty())
        expandedAddtoClasspathString.clear();
    for (const std::string& piece : split(addtoClasspathString, ":"))
        expandedAddtoClasspathString.append(scratchLoc).append("/").append(piece).append(":");
}

void ComputeEXTClasspath(const std::string& scratchLoc, const std::string& extClasspathString,
                         std::string& expandedClassPathString) {
    if (extClasspathString.empty()) {
        expandedClassPathString.clear();
        return;
    }
    const std::string directory = joined_path(joined_path(scratchLoc, "ext"), "jlib");
    for (const std::string& name : directory_entries(directory).names) {
        const std::string path = joined_path(directory, name);
        if (!is_directory(path))
            expandedClassPathString.append(":").append(path);
    }
}

int CheckInventoryPermissions() {
    const std::string& pointer_file = launcher_state::sInvPtrLocation;
    const std::string location = inventory_location();
    if (location.empty())
        return kOk;
    if (!location.starts_with('/')) {
        complain("S_ERRINVPATH", location, kInventoryKey, pointer_file);
        return kFailed;
    }
    if (!CheckForInvalidCharactersInPath(location)) {
        complain("S_ERRINVCHARINPATH", location, kInventoryKey, pointer_file);
        return kFailed;
    }
    if (!PathWritable(location)) {
        complain("S_ERRINVPRM", location);
        return kFailed;
    }
    for (const std::string& name : directory_entries(location).names) {
        const std::string path = joined_path(location, name);
        if (!usable_inventory_entry(path)) {
            complain("S_ERRINVPRM", path);
            return kFailed;
        }
    }
    return kOk;
}
