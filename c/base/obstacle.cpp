#include "base/obstacle.h"

#include "base/paths.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string resolved(const std::string& path) {
    // A system may want the room for the result, and no more than this is ever written to it.
    static std::array<char, PATH_MAX + 1> room{};
    return realpath(path.c_str(), room.data()) == nullptr ? "" : room.data();
}

std::string directory_of(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

} // namespace

Obstacle obstacle_on_way_to(const std::string& path) {
    std::string before = path.starts_with('/') ? "/" : ".";
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        struct stat found {};
        if (stat(part.c_str(), &found) != 0) {
            const int error = errno;
            // Behind a link the way may end elsewhere than in the directory that holds it.
            const bool closed = error == EACCES && access(before.c_str(), X_OK) != 0;
            return {closed ? before : part, error};
        }
        if (end == std::string::npos)
            return {path, 0};
        if (!S_ISDIR(found.st_mode))
            return {part, ENOTDIR};
        before = part;
    }
}

std::string whole_path(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string directory = resolved(directory_of(path));
    if (!directory.empty())
        return joined_path(directory, name);
    const std::string current = resolved(".");
    return path.starts_with('/') || current.empty() ? path : joined_path(current, path);
}

std::string existing_part(const std::string& path) {
    std::string part = path;
    while (part != "/" && part != "." && !PathExists(part))
        part = directory_of(part);
    return part;
}
