// Reading directories.
//
// Owns: the list of a directory's entries and the question whether a path is a directory. Leaves to
// others: what is done with the entries (bootstrap/tree walks whole trees).
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct DirectoryEntries {
    bool opened = false;            // the directory could be opened
    bool empty = true;              // the first read yielded nothing, not even "."
    std::vector<std::string> names; // all entries but "." and "..", as the directory lists them
};

// The entries of `path`. The directory is closed again, so deep walks hold no descriptors.
DirectoryEntries directory_entries(const std::string& path);

// What tells a directory from every other one, by whatever path it is reached.
struct DirectoryIdentity {
    dev_t device;
    ino_t inode;

    bool operator==(const DirectoryIdentity&) const = default;
};

// The directories that `path` lies in, up to the root directory; none when it cannot be resolved.
std::vector<DirectoryIdentity> directories_above(const std::string& path);

// Whether `path` is a directory or leads to one; false for what cannot be asked.
bool is_directory(const std::string& path);
