#include "base/directory.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

DIR* open_directory(const std::string& path) {
    if (directory_flags == 0)
        return opendir(path.c_str());
    // Without waiting: what bears the name may be a pipe.
    int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | directory_flags);
    if (descriptor < 0 && errno == EPERM)
        descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK); // only the owner may ask for more
    if (descriptor < 0)
        return nullptr;
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    DIR* directory = fdopendir(descriptor);
    if (directory == nullptr)
        close(descriptor);
    return directory;
}

DirectoryEntries directory_entries(const std::string& path) {
    DirectoryEntries entries;
    DIR* directory = open_directory(path);
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
        errno = 0;
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
    // Asked step by step: a path may be too long to be resolved as a whole.
    std::vector<DirectoryIdentity> above;
    std::string directory = path;
    DirectoryIdentity last = directory_identity(directory);
    while (last != DirectoryIdentity{}) {
        directory += "/..";
        const DirectoryIdentity next = directory_identity(directory);
        if (next == DirectoryIdentity{} || next == last)
            break; // "/" lies in itself
        above.push_back(next);
        last = next;
    }
    return above;
}

bool is_directory(const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

void enter_if_possible(const std::string& path) {
    [[maybe_unused]] const int result = chdir(path.c_str());
}
