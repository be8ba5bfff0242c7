#include "places.h"

#include "base/directory.h"
#include "base/paths.h"
#include "base/text.h"
#include "quiet_files.h"
#include "setupLauncher/settings.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>

namespace {

// The launcher of an installed home lies two levels down; a CD's disk is one more.
constexpr int kDeepestLauncher = 3;
// The search for a launcher is no search of a whole disk.
constexpr std::size_t kMostDirectories = 5000;

// What tells a launcher's directory when the launcher itself is missing, the surest first.
constexpr const char* kSigns[] = {kLauncherName, kParameterFile, "resource/cons.nls"};

std::string real_path(const std::string& path) {
    std::vector<char> resolved(PATH_MAX + 1);
    return realpath(path.c_str(), resolved.data()) == nullptr ? path : resolved.data();
}

std::vector<std::string> sorted_directories(const std::string& directory) {
    std::vector<std::string> names = directory_entries(directory).names;
    std::sort(names.begin(), names.end());
    std::vector<std::string> directories;
    for (const std::string& name : names) {
        std::string path = joined_path(directory, name);
        if (is_directory(path))
            directories.push_back(std::move(path));
    }
    return directories;
}

// `top` and the directories below it, level by level.
std::vector<std::string> upper_directories(const std::string& top) {
    std::vector<std::string> found{top};
    std::size_t level_begin = 0;
    for (int level = 0; level < kDeepestLauncher; ++level) {
        const std::size_t level_end = found.size();
        for (std::size_t at = level_begin; at < level_end; ++at) {
            for (std::string& path : sorted_directories(found[at])) {
                if (found.size() < kMostDirectories)
                    found.push_back(std::move(path));
            }
        }
        level_begin = level_end;
    }
    return found;
}

// The launcher's directory by the surest sign that there is; the others that have it too follow.
std::vector<std::string> launcher_directories(const std::string& top) {
    const std::vector<std::string> directories = upper_directories(top);
    std::vector<std::string> found;
    for (const char* sign : kSigns) {
        for (const std::string& directory : directories) {
            const FileKind kind = kind_of(joined_path(directory, sign));
            if (kind != FileKind::missing && kind != FileKind::out_of_reach)
                found.push_back(directory);
        }
        if (!found.empty())
            break;
    }
    return found;
}

bool is_disk_name(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return name.size() > 4 && name.starts_with("disk") &&
           std::all_of(name.begin() + 4, name.end(), is_digit);
}

// How many disks the stage of `launcher_directory` consists of: those beside its own.
std::size_t count_disks(const std::string& launcher_directory) {
    std::string path = launcher_directory;
    while (!path.empty() && !is_disk_name(path))
        path.resize(path.rfind('/'));
    if (path.empty())
        return 0;
    const std::vector<std::string> beside = sorted_directories(cut_at_last_slash(path) + "/");
    return static_cast<std::size_t>(std::count_if(beside.begin(), beside.end(), is_disk_name));
}

std::string first_existing(std::initializer_list<std::string> candidates) {
    for (const std::string& candidate : candidates) {
        if (kind_of(candidate) != FileKind::missing)
            return std::filesystem::path(candidate).lexically_normal();
    }
    return "";
}

} // namespace

Places find_places(const std::string& directory) {
    Places places;
    places.directory = real_path(directory);
    const std::vector<std::string> launchers = launcher_directories(places.directory);
    if (launchers.empty())
        return places;
    places.launcher_directory = launchers.front();
    places.other_launchers.assign(launchers.begin() + 1, launchers.end());
    const std::string& here = places.launcher_directory;
    places.parameter_file =
        first_existing({here + "/" + kParameterFile, here + "/../" + kParameterFile});
    places.components =
        first_existing({here + "/../stage/Components", here + "/../../stage/Components"});
    places.disks = count_disks(here);
    return places;
}

std::string absolute_path(const Places& places, const std::string& path) {
    const std::string whole =
        path.starts_with('/') ? path : joined_path(places.launcher_directory, path);
    std::string normal = std::filesystem::path(whole).lexically_normal();
    if (normal.size() > 1)
        NormalizeDir(normal);
    return normal;
}

std::string shown_name(const Places& places, const std::string& path) {
    return std::filesystem::path(absolute_path(places, path)).lexically_relative(places.directory);
}
