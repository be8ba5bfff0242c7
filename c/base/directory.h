// Reading and entering directories.
//
// Owns: the list of a directory's entries, whole or some at a time, the questions whether a path is
// a directory, which one, and in which others it lies, and going there. Leaves to others: what is
// done with the entries (bootstrap/tree_walk goes through whole trees).
#pragma once

#include <dirent.h>
#include <string>
#include <sys/types.h>
#include <vector>

struct DirectoryEntries {
    bool opened = false;            // the directory could be opened
    bool empty = true;              // the first read yielded nothing, not even "."
    std::vector<std::string> names; // all entries but "." and "..", as the directory lists them
};

// What tells a directory from every other one, by whatever path it is reached.
struct DirectoryIdentity {
    dev_t device;
    ino_t inode;

    bool operator==(const DirectoryIdentity&) const = default;
};

// Flags that every opening of a directory adds: a companion of the launcher that must leave no
// trace of its reading sets one. The launcher adds none.
inline int directory_flags = 0;

// Opens `path` as opendir does.
DIR* open_directory(const std::string& path);

// The entries of `path`.
DirectoryEntries directory_entries(const std::string& path);

// One entry of a directory.
struct DirectoryEntry {
    std::string name;
    bool is_plain_file; // the directory says so; where it says nothing, or another kind, false
};

// How many entries next_entries gives at the most; it gives fewer at the end of a directory only.
inline constexpr std::size_t kEntriesAtOnce = 4096;

// The next entries of `directory` but "." and "..", a few thousand at the most: enough that hardly
// a directory is changed while it is still being read, and no more memory however many there are.
// False at the end of the directory; errno is then 0, or says why it could not be read to its end.
bool next_entries(std::vector<DirectoryEntry>& entries, DIR* directory);

// Which directory `path` is or leads to; all zero for what cannot be asked.
DirectoryIdentity directory_identity(const std::string& path);

// The directories that directory `path` lies in, up to the root directory, by whatever names; none
// for what is no directory.
std::vector<DirectoryIdentity> directories_above(const std::string& path);

// Whether `path` is a directory or leads to one; false for what cannot be asked.
bool is_directory(const std::string& path);

// Makes `path` the working directory; where that cannot be done the process stays where it is, and
// to the caller it makes no difference.
void enter_if_possible(const std::string& path);
