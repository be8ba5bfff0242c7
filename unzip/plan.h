// The plan of an archive: what becomes of each entry, settled before anything is unpacked.
//
// Owns: the order that counts. Entries are unpacked side by side, but what comes of them is what
// would come of one after the other: the last of a name wins, and of a file and a directory of one
// name the first. Leaves to others: the doing (extraction).
#pragma once

#include "unzip/archive.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

enum class EntryKind : std::uint8_t { kDirectory, kFile, kLink };

struct PlannedEntry {
    std::uint64_t name_at;
    const char* reason; // why it is not unpacked, or null
    int status;         // the same as a status of status.h
    std::uint16_t name_length;
    EntryKind kind;
    bool is_replaced;   // by a later entry of the name; it is only checked
    bool replaces_link; // an earlier entry of the name is a symbolic link
};

struct Plan {
    std::vector<PlannedEntry> entries; // as those of the archive
    std::string names;
};

// The plan of the archive.
Plan plan_of(const ZipArchive& archive, mode_t mask);

// The room that `bytes` of a file take on a disk of such blocks.
std::uint64_t in_blocks(std::uint64_t bytes, std::uint64_t block);

// The name of entry number `i` below the directory to unpack into, without a slash at its end;
// empty for that directory.
std::string_view planned_name(const Plan& plan, std::size_t i);
