#include "bootstrap/report.h"

#include "prereqchecks/install_log.h"
#include "setupLauncher/directory.h"
#include "setupLauncher/paths.h"

#include <sys/stat.h>
#include <vector>

namespace {

// `parents` holds the directories above, so that a link back into one of them ends there.
int count_files(const std::string& directory, std::vector<struct stat>& parents) {
    struct stat here {};
    if (stat(directory.c_str(), &here) != 0)
        return 0;
    for (const struct stat& parent : parents) {
        if (parent.st_dev == here.st_dev && parent.st_ino == here.st_ino)
            return 0;
    }
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
    std::vector<struct stat> parents;
    return dest == nullptr ? 0 : count_files(dest, parents);
}

void logBootStrapInformation(const std::string& tempLoc) {
    for (const char* tree : {"jre", "zul"})
        record("S_NUMBER_OF_FILES_BOOTSTRAPPED", tree,
               CountAndLogFilesExtracted(joined_path(tempLoc, tree).c_str()));
}
