// The walk over a tree, one step at a time: breadth first, or depth first where the order counts.
//
// Owns: the work list of directories, the reading of their entries, the question which links lead
// back to a directory that they lie in. Leaves to others: what is done with what a step met (tree,
// report).
//
// Links are followed; only one that leads back is not, so every walk ends. A directory costs the
// list its name and two numbers, and entries are read some at a time, so memory stays small
// whatever the tree. One directory is open at a time, however deep the tree is: depth first, one
// that has to wait is closed, and opened again when more of its entries are to be read.
#pragma once

#include "base/directory.h"

#include <dirent.h>
#include <string>
#include <vector>

// What a step of a walk met.
enum class WalkStep {
    kDirectoryOpened, // a directory of the list; the steps for its entries follow
    kDirectory,       // an entry that is a directory or leads to one; visited later
    kFile,            // any other entry, also one about which nothing can be learnt
    kWayBack,         // an entry that leads to a directory in which it lies itself; not visited
};

// A directory of the work list: the place of its parent in the list and of its name in `names`.
struct WalkSlot {
    std::size_t parent;
    std::size_t name;
    DirectoryIdentity identity;
};

// A directory that waits, depth first, until the one met in it is done.
struct WaitingDirectory {
    std::vector<DirectoryEntry> entries;
    std::size_t next_entry;
    std::size_t pieces_read;
};

struct TreeWalk {
    // What the last step met.
    WalkStep step = WalkStep::kDirectoryOpened;
    std::size_t directory = 0;  // the open directory's place in the list
    std::string directory_path; // and its path
    DIR* stream = nullptr;      // and itself, so that work on an entry need not search its path;
                                // depth first, null where it waited
    std::string name;           // of the entry
    bool is_plain_file = false; // the directory says that it is one; else it has to be asked

    // A directory that is as if it were not there; set before the first step or right after it.
    DirectoryIdentity left_out{};

    // A directory is done whole before the entry after it; set before the first step.
    bool depth_first = false;

    // The error number of a directory that could not be read to its end, so that not everything was
    // met; else 0.
    int incomplete = 0;

    // The walk's own.
    std::string root;
    std::vector<DirectoryIdentity> above_root;
    std::vector<WalkSlot> slots; // the first is the root; depth first, the way to the open one
    std::string names;           // each ends in a NUL
    std::size_t next_directory = 0;
    std::vector<DirectoryEntry> entries;
    std::size_t next_entry = 0;
    std::size_t pieces_read = 0; // times that entries of the open directory were read
    std::vector<WaitingDirectory> waiting;
};

// A walk over the tree at `root`; a `root` that is no directory or cannot be read has no steps.
TreeWalk walk_over(const std::string& root);

// Takes the next step; false at the end of the walk. Directories that cannot be opened are left out
// without a word.
bool next_step(TreeWalk& walk);

// Keeps the walk out of the directory that the last step met.
void pass_over_directory(TreeWalk& walk);

// Ends a walk before its end; no step may follow.
void end_walk(TreeWalk& walk);

// The path of the entry that the last step met.
std::string entry_path(const TreeWalk& walk);

// How many directories the walk has met, the root included; depth first, how many lead to the open
// one.
std::size_t directory_count(const TreeWalk& walk);

// The path of directory `at` of the list when the tree's root is called `root`.
std::string path_in_list(const TreeWalk& walk, std::size_t at, const std::string& root);
