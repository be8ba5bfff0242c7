#include "bootstrap/report.h"

#include "prereqchecks/install_log.h"
#include "setupLauncher/directory.h"
#include "setupLauncher/paths.h"

#include <algorithm>
#include <sys/stat.h>
#include <vector>

namespace {

// `parents` holds the directories above, so that a link back into one of them ends there.
int count_files(const std::string& directory, std::vector<DirectoryIdentity>& parents) {
    struct stat found {};
    if (stat(directory.c_str(), &found) != 0)
        return 0;
    const DirectoryIdentity here{found.st_dev, found.st_ino};
    if (std::find(parents.begin(), parents.end(), here) != parents.end())
        return 0;
    parents.push_back(here);
    int count = 0;
    for (const std::string& name : directory_entries(directory).names) {
        const std::string path = joined_path(directory, name);
        count += is_directory(path) ? count_files(path, parents) : 1;
    }
    parents.pop_back();
    return count;
}

} // namespace

int CountAndLogFilesExtracted(const char* dest) {
    if (dest == nullptr)
        return 0;
    std::vector<DirectoryIdentity> parents = directories_above(dest);
    return count_files(dest, parents);
}

void logBootStrapInformation(const std::string& tempLoc) {
    for (const char* tree : {"jre", "zul"})
        record("S_NUMBER_OF_FILES_BOOTSTRAPPED", tree,
               CountAndLogFilesExtracted(joined_path(tempLoc, tree).c_str()));
}
