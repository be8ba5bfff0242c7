// The mount table, entry by entry.
//
// Owns: the one place that knows which system's table it reads. Exactly one of the two .cpp files
// is built: mount_table_solaris for Solaris, mount_table_portable elsewhere. Leaves to others:
// which file is the table and what its entries mean.
#pragma once

#include <cstdio>
#include <string>

// One mounted file system; a field that the table leaves out ("-") is empty.
struct MountEntry {
    std::string special;
    std::string mount_point;
    std::string type;
    std::string options;
    std::string time;
};

// Results of next_mount_entry, with the numbers of Solaris' getmntent.
inline constexpr int kMountEntryRead = 0;
inline constexpr int kMountTableEnd = -1;
inline constexpr int kMountLineTooLong = 1;
inline constexpr int kMountTooManyFields = 2;
inline constexpr int kMountTooFewFields = 3;

// Reads the next entry of the open `table` into `entry`. A line that is no entry gives one of the
// positive results, and the reading goes on behind it.
int next_mount_entry(std::FILE* table, MountEntry& entry);
