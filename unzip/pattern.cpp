#include "unzip/pattern.h"

#include "base/directory.h"
#include "base/paths.h"

#include <algorithm>
#include <fnmatch.h>

namespace {

// Directories are not meant by a pattern that something else fits.
void pass_over_directories(std::vector<std::string>& paths) {
    std::vector<std::string> others = paths;
    std::erase_if(others, is_directory);
    if (!others.empty())
        paths = others;
}

} // namespace

bool has_wildcard(std::string_view argument) {
    return argument.find_first_of("*?[") != std::string_view::npos;
}

std::vector<std::string> archives_meant(const std::string& argument) {
    std::vector<std::string> found;
    if (has_wildcard(argument)) {
        const std::size_t name_at = argument.rfind('/') + 1;
        const std::string directory = argument.substr(0, name_at);
        for (const std::string& name :
             directory_entries(directory.empty() ? "." : directory).names) {
            if (fnmatch(argument.c_str() + name_at, name.c_str(), FNM_PERIOD) == 0)
                found.push_back(directory + name);
        }
        std::sort(found.begin(), found.end());
        pass_over_directories(found);
    }
    for (const char* ending : {"", ".zip", ".ZIP"}) {
        if (found.empty() && PathExists(argument + ending))
            found.push_back(argument + ending);
    }
    return found;
}
