// What lies in the scratch directory once everything has arrived there.
//
// Owns: the files of all that is brought, the room they take, what a later one overwrites, and the
// way to a few of them that others have to look into. Leaves to others: what is brought (shipment),
// the archives themselves (archives).
#pragma once

#include "archives.h"
#include "places.h"
#include "shipment.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

struct CargoFile {
    std::uint64_t size = 0;
    std::uint32_t checksum = 0; // of a file from an archive
    std::size_t origin = 0;     // its place in the list of origins
    bool is_link = false;       // the archive has a symbolic link of that name
};

// An archive or a tree that files came from.
struct Origin {
    std::string path;
    std::string to; // below the scratch directory, for a tree
    bool is_archive = false;
    std::size_t source = 0; // of the shipment
};

struct Cargo {
    std::map<std::string, CargoFile> files;         // by their names below the scratch directory
    std::map<std::string, std::size_t> directories; // and the origin that brings each first
    std::vector<Origin> origins;
    std::vector<std::uint64_t> unpacked;        // bytes by source, before anything is overwritten
    std::map<std::string, std::string> at_hand; // files that can be looked into: name and path
    std::set<std::size_t> hindered; // sources whose files cannot arrive for those of others
    bool complete = true;           // false when something could not be read
};

// Reads everything that `shipment` brings. With `thorough` every archive is checked and every
// finding reported; without, only names and sizes are read, and nothing is said. `wanted` are the
// files that others look into.
Cargo load_cargo(const Places& places, const Shipment& shipment, const Wanted& wanted,
                 bool thorough);

// The megabytes that a file system of 4 KB blocks needs for it.
std::uint64_t megabytes_needed(const Cargo& cargo);

// The names of what lies directly in directory `directory` of the scratch directory.
std::set<std::string> names_in(const Cargo& cargo, const std::string& directory);

// Whether there is a file or a directory of that name.
bool has(const Cargo& cargo, const std::string& name);
