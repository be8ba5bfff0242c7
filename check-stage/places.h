// Where everything of a stage or a home lies.
//
// Owns: what the directory on the command line may be, the search for the launcher in it, where the
// components and the parameter file of that launcher are, and how findings name files. Leaves to
// others: what is in any of it.
#pragma once

#include <string>
#include <vector>

inline constexpr const char* kLauncherName = "setupLauncher";
inline constexpr const char* kUnpackerName = "unzip";

struct Places {
    std::string directory;          // as given on the command line, absolute
    std::string launcher_directory; // absolute; empty when nothing of a launcher was found
    std::string components;         // the directory of the components, absolute, or empty
    std::string parameter_file;     // beside the launcher or one level above, absolute, or empty
    std::size_t disks = 0;          // directories Disk1, Disk2... that the stage consists of
    std::vector<std::string> other_launchers;
};

// Looks at `directory`, which exists: the top of a stage or a home, the directory above a CD's
// disks, or the one that the launcher lies in.
Places find_places(const std::string& directory);

// The name of `path` for a finding: relative to the directory of the command line. A relative
// `path` is taken from the launcher's directory.
std::string shown_name(const Places& places, const std::string& path);

// `path`, relative ones taken from the launcher's directory, without "." and ".." as far as that
// goes by the letters.
std::string absolute_path(const Places& places, const std::string& path);
