#include "setupLauncher/locations.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "log/install_log.h"
#include "platform/mount_table.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <grp.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kMountTable = "/etc/mnttab";
// The list of groups holds no more, as the wrapped installer expects it.
constexpr std::size_t kMostGroups = 40;

// The value of KEY=value: from behind the first run of "=" to the next one. With `end` a double
// quote, from behind the first "=" to the next double quote.
std::optional<std::string> session_value(std::string_view argument, char end) {
    const std::size_t key = argument.find_first_not_of('=');
    if (key == std::string_view::npos)
        return std::nullopt;
    const std::size_t equals = argument.find('=', key);
    if (equals == std::string_view::npos)
        return std::nullopt;
    const std::size_t start = argument.find_first_not_of(end, equals + 1);
    if (start == std::string_view::npos)
        return std::nullopt;
    std::string value(argument.substr(start, argument.find(end, start) - start));
    if (value.starts_with('"'))
        value.erase(0, 1);
    return value;
}

// A value may have been quoted by hand with blanks behind the closing quote.
void cut_closing_quote_and_blanks(std::string& value) {
    const std::size_t last = value.find_last_not_of(' ');
    if (last != std::string::npos && value[last] == '"')
        value.resize(last);
}

std::optional<std::string> resolved(const std::string& path) {
    std::vector<char> absolute(PATH_MAX + 1);
    if (realpath(path.c_str(), absolute.data()) == nullptr)
        return std::nullopt;
    return std::string(absolute.data());
}

} // namespace

void GetStartupLocation(std::string_view setupLauncherLoc, std::string& StartupLoc) {
    if (setupLauncherLoc.starts_with("./"))
        setupLauncherLoc.remove_prefix(2);
    if (!setupLauncherLoc.empty())
        StartupLoc = cut_at_last_slash(setupLauncherLoc);
    if (StartupLoc == setupLauncherLoc)
        StartupLoc = ".";
}

void GetBootStrapLoc(std::string& sRetBuffer, std::string_view sCommandLineArg) {
    std::optional<std::string> value = session_value(sCommandLineArg, '=');
    if (!value)
        return;
    cut_closing_quote_and_blanks(*value);
    sRetBuffer = *value;
}

void GetJvmOptions(std::string& sRetBuffer, std::string_view sCommandLineArg) {
    std::optional<std::string> value = session_value(sCommandLineArg, '"');
    if (!value)
        return;
    cut_closing_quote_and_blanks(*value);
    sRetBuffer = *value;
}

void GetAbsolutePath(std::string& absolutePath, const std::string& relativePath) {
    const std::optional<std::string> absolute = resolved(relativePath);
    if (!absolute && launcher_state::_bDebug)
        complain_errno("S_ERABS_PATH", relativePath);
    absolutePath = absolute.value_or(relativePath);
}

void GetInventoryLoc(std::string& sRetBuffer, std::string_view sCommandLineArg) {
    std::optional<std::string> value = session_value(sCommandLineArg, '=');
    if (!value)
        return;
    if (value->ends_with('"'))
        value->pop_back();
    GetAbsolutePath(sRetBuffer, *value);
}

void GetPrereqConfigLoc(std::string& sRetBuffer, std::string_view sCommandLineArg,
                        bool useFromLoc) {
    std::optional<std::string> value = session_value(sCommandLineArg, '=');
    if (!value)
        return;
    if (value->ends_with('"'))
        value->pop_back();
    if (useFromLoc) {
        if (!value->empty())
            sRetBuffer = cut_at_last_slash(*value);
        *value = sRetBuffer + "/" + "prereq";
    }
    GetAbsolutePath(sRetBuffer, *value);
}

int isCurDirInCD(std::string_view exepath) {
    std::string own_root;
    getRootDir(exepath, own_root);
    std::FILE* table = std::fopen(kMountTable, "r");
    if (table == nullptr)
        return kOk;
    int result = kOk;
    MountEntry entry;
    int status = next_mount_entry(table, entry);
    for (; status != kMountTableEnd && result == kOk; status = next_mount_entry(table, entry)) {
        if (status != kMountEntryRead || entry.options.find("ignore") != std::string::npos)
            continue;
        if (entry.type.find("cdfs") == std::string::npos &&
            entry.type.find("hsfs") == std::string::npos)
            continue;
        std::string cd_root;
        getRootDir(entry.mount_point, cd_root);
        if (cd_root == own_root)
            result = kStartedFromCd;
    }
    std::fclose(table);
    return result;
}

void computeUnixGroups(std::string& unixGroups) {
    // The count comes first: a list that is too short for all groups would be refused, not cut.
    const int count = getgroups(0, nullptr);
    if (count <= 0)
        return;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    const int got = getgroups(count, groups.data());
    if (got <= 0)
        return;
    groups.resize(static_cast<std::size_t>(got));
    if (groups.size() > kMostGroups)
        groups.resize(kMostGroups);
    unixGroups = "UnixGroups=\"{";
    for (const gid_t id : groups) {
        const group* known = getgrgid(id);
        if (known != nullptr) {
            unixGroups += known->gr_name;
            unixGroups += ',';
        }
    }
    unixGroups += "}\"";
}

int getRootDir(std::string_view path, std::string& rootDir) {
    rootDir = "/";
    if (path.size() >= 2) {
        const std::size_t end = path.find('/', 1);
        rootDir += path.substr(1, end == std::string_view::npos ? end : end - 1);
    }
    return static_cast<int>(rootDir.size());
}

int toUpper(std::string_view src, std::string& dest) {
    std::string upper;
    for (const char c : src)
        upper += static_cast<char>(ascii_toupper(c));
    dest = upper;
    return static_cast<int>(dest.size());
}

int ascii_toupper(int c) {
    return c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c;
}
