#include "setupLauncher/directory.h"

#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>

DirectoryEntries directory_entries(const std::string& path) {
    DirectoryEntries entries;
    DIR* directory = opendir(path.c_str());
    if (directory == nullptr)
        return entries;
    entries.opened = true;
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory)) {
        entries.empty = false;
        std::string name(entry->d_name);
        if (name != "." && name != "..")
            entries.names.push_back(std::move(name));
    }
    closedir(directory);
    return entries;
}

std::vector<DirectoryIdentity> directories_above(const std::string& path) {
    std::vector<DirectoryIdentity> above;
    std::vector<char> absolute(PATH_MAX + 1);
    if (realpath(path.c_str(), absolute.data()) == nullptr)
        return above;
    std::string directory(absolute.data());
    while (directory.size() > 1) {
        directory.resize(directory.rfind('/'));
        struct stat found {};
        if (stat(directory.empty() ? "/" : directory.c_str(), &found) == 0)
            above.push_back({found.st_dev, found.st_ino});
    }
    return above;
}

bool is_directory(const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}
