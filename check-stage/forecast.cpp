#include "forecast.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "log/install_log.h"
#include "nls/catalogue.h"
#include "places.h"
#include "plan_text.h"
#include "quiet_files.h"
#include "setupLauncher/environment.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace state = launcher_state;

constexpr mode_t kOwnDirectoryMode = 0700;
constexpr std::size_t kMostCatalogueBytes = std::size_t{4} << 20;

} // namespace

bool could_be_used(std::string path) {
    if (PathExists(path))
        return allows_all_access(path);
    while (!path.empty() && !PathExists(path)) {
        const std::string parent = cut_at_last_slash(path);
        if (parent == path)
            return false;
        path = parent;
    }
    if (path.empty())
        path = "/";
    return is_directory(path) && access(path.c_str(), W_OK | X_OK) == 0;
}

std::string nearest_existing(std::string path) {
    while (!path.empty() && !PathExists(path)) {
        const std::string parent = cut_at_last_slash(path);
        path = parent == path ? "" : parent;
    }
    return path.empty() ? "/" : path;
}

bool open_catalogue_copies(const std::string& launcher_directory, std::string& unwritable) {
    const std::string from = joined_path(launcher_directory, "resource");
    const std::string copies = joined_path(own_directory(), "resource");
    mkdir(copies.c_str(), kOwnDirectoryMode);
    for (const std::string& name : directory_entries(from).names) {
        std::string bytes;
        if (name.starts_with("cons") && name.ends_with(".nls") &&
            read_quietly(bytes, joined_path(from, name), kMostCatalogueBytes) &&
            own_file("resource/" + name, bytes).empty()) {
            unwritable = std::strerror(errno);
            return false;
        }
    }
    return nls_open(joined_path(own_directory(), kLauncherName).c_str()) == kOk;
}

std::string log_file(const std::string& scratch) {
    std::string inventory = state::prereqLogLocation;
    if (inventory.empty())
        inventory = state::inventoryLocation;
    if (inventory.empty())
        inventory = inventory_location();
    return (inventory.empty() ? scratch : inventory + "/logs") + state::gsLogFileName +
           state::gsTimeStamp + ".log";
}

int check_inventory(std::string& message) {
    const std::string location = inventory_location();
    const bool would_make = location.starts_with('/') &&
                            CheckForInvalidCharactersInPath(location) && !PathExists(location);
    if (would_make) {
        if (could_be_used(location))
            return kOk;
        message = localised_text("S_ERRINVPRM", {location});
        return kFailed;
    }
    begin_taking_down();
    const int usable = CheckInventoryPermissions();
    message = end_taking_down();
    return usable;
}

std::string origin_of_base() {
    if (validatePath(state::scratchPath))
        return "command line";
    for (const char* name : {"TEMP", "TMP"}) {
        const char* value = std::getenv(name);
        if (value != nullptr)
            return validatePath(value) ? std::string("environment, ") + name : "default";
    }
    return "default";
}
