#include "bootstrap/report.h"

#include "base/paths.h"
#include "bootstrap/tree_walk.h"
#include "log/install_log.h"

int CountAndLogFilesExtracted(const char* dest) {
    if (dest == nullptr)
        return 0;
    int count = 0;
    TreeWalk walk = walk_over(dest);
    while (next_step(walk)) {
        if (walk.step == WalkStep::kFile)
            ++count;
    }
    return count;
}

void logBootStrapInformation(const std::string& tempLoc) {
    for (const char* tree : {"jre", "zul"})
        record("S_NUMBER_OF_FILES_BOOTSTRAPPED", tree,
               CountAndLogFilesExtracted(joined_path(tempLoc, tree).c_str()));
}
