// Reading directories.
//
// Owns: the list of a directory's entries and the question whether a path is a directory. Leaves to
// others: what is done with the entries (bootstrap/tree walks whole trees).
#pragma once

#include <string>
#include <vector>

struct DirectoryEntries {
    bool opened = false;            // the directory could be opened
    bool empty = true;              // the first read yielded nothing, not even "."
    std::vector<std::string> names; // all entries but "." and "..", as the directory lists them
};

// The entries of `path`. The directory is closed again, so deep walks hold no descriptors.
DirectoryEntries directory_entries(const std::string& path);

// Whether `path` is a directory or leads to one; false for what cannot be asked.
bool is_directory(const std::string& path);
