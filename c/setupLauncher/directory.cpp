#include "setupLauncher/directory.h"

#include <climits>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr std::size_t kEntriesAtOnce = 4096;

bool is_own_or_parent(std::string_view name) {
    return name == "." || name == "..";
}

#ifdef _DIRENT_HAVE_D_TYPE
bool is_plain_file(const dirent& entry) {
    return entry.d_type == DT_REG;
}
#else
bool is_plain_file(const dirent&) {
    return false; // these directories do not tell
}
#endif

} // namespace

DirectoryEntries directory_entries(const std::string& path) {
    DirectoryEntries entries;
    DIR* directory = opendir(path.c_str());
    if (directory == nullptr)
        return entries;
    entries.opened = true;
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory)) {
        entries.empty = false;
        std::string name(entry->d_name);
        if (!is_own_or_parent(name))
            entries.names.push_back(std::move(name));
    }
    closedir(directory);
    return entries;
}

bool next_entries(std::vector<DirectoryEntry>& entries, DIR* directory) {
    entries.clear();
    while (entries.size() < kEntriesAtOnce) {
        const dirent* entry = readdir(directory);
        if (entry == nullptr)
            break;
        if (!is_own_or_parent(entry->d_name))
            entries.push_back({entry->d_name, is_plain_file(*entry)});
    }
    return !entries.empty();
}

DirectoryIdentity directory_identity(const std::string& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0)
        return {};
    return {found.st_dev, found.st_ino};
}

std::vector<DirectoryIdentity> directories_above(const std::string& path) {
    std::vector<DirectoryIdentity> above;
    std::vector<char> absolute(PATH_MAX + 1);
    if (realpath(path.c_str(), absolute.data()) == nullptr)
        return above;
    std::string directory(absolute.data());
    while (directory.size() > 1) {
        directory.resize(directory.rfind('/'));
        above.push_back(directory_identity(directory.empty() ? "/" : directory));
    }
    return above;
}

bool is_directory(const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}
