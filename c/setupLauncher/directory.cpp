#include "setupLauncher/directory.h"

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

bool is_directory(const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}
