// The archives of a stage: what is in them, and whether it comes out as it went in.
//
// Owns: reading an archive's directory, unpacking every entry in memory to hold it against its
// checksum, and what is said about either. Which entries arrive is what the stage's unzip settles
// (unzip/plan). Leaves to others: which archives there are (shipment) and what the entries mean for
// a launch.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

struct ArchiveEntry {
    std::string name;       // under which it arrives
    std::uint64_t size = 0; // unpacked
    std::uint32_t checksum = 0;
    bool is_directory = false;
    bool is_link = false;
};

struct Archive {
    bool readable = false;             // its directory could be read
    std::vector<ArchiveEntry> entries; // those that arrive, in the order of the archive
};

// The files that others look into: those of these names, and those whose names end so.
struct Wanted {
    std::set<std::string> names;
    std::string ending;
};
bool is_wanted(const Wanted& wanted, const std::string& name);

// Reads the archive at `path`, which findings call `name`, and unpacks every entry to nowhere. What
// is wrong is reported. Wanted entries are written to files of the own directory, which `at_hand`
// gets by their names.
Archive check_archive(const std::string& path, const std::string& name, const Wanted& wanted,
                      std::map<std::string, std::string>& at_hand);

// Whether a launch could unpack the archives of `directory`: there are some, and nothing is wrong
// with any of them. Quietly.
bool unpacks(const std::string& directory);

// The paths of the archives in `directory`, in the order in which they are unpacked.
std::vector<std::string> archives_in(const std::string& directory);

// The names in the archive at `path`, quietly: nothing is unpacked and nothing reported.
Archive list_archive(const std::string& path);
