#include "bootstrap/tree_walk.h"

#include "base/paths.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>
#include <utility>

namespace {

// Whether the entries of the open directory lie in the directory `found`.
bool holds_open_directory(const TreeWalk& walk, const DirectoryIdentity& found) {
    for (std::size_t at = walk.directory;; at = walk.slots[at].parent) {
        if (walk.slots[at].identity == found)
            return true;
        if (at == 0)
            break;
    }
    return std::find(walk.above_root.begin(), walk.above_root.end(), found) !=
           walk.above_root.end();
}

// What the entry `walk.name` of the open directory is, and for a directory which one.
WalkStep entry_kind(DirectoryIdentity& identity, const TreeWalk& walk) {
    struct stat found {};
    const int asked = walk.stream != nullptr
                          ? fstatat(dirfd(walk.stream), walk.name.c_str(), &found, 0)
                          : stat(entry_path(walk).c_str(), &found);
    if (asked != 0 || !S_ISDIR(found.st_mode))
        return WalkStep::kFile;
    identity = {found.st_dev, found.st_ino};
    return holds_open_directory(walk, identity) ? WalkStep::kWayBack : WalkStep::kDirectory;
}

void add_to_list(TreeWalk& walk, const DirectoryIdentity& identity) {
    walk.slots.push_back({walk.directory, walk.names.size(), identity});
    walk.names.append(walk.name).push_back('\0');
}

// Makes the next entries of the open directory the current ones; none at its end.
void read_entries(TreeWalk& walk) {
    walk.next_entry = 0;
    ++walk.pieces_read;
    if (!next_entries(walk.entries, walk.stream) && errno != 0)
        walk.incomplete = errno;
}

// The same for a directory that waited: reads past what was read before.
void read_entries_again(TreeWalk& walk) {
    walk.stream = opendir(walk.directory_path.c_str());
    if (walk.stream == nullptr) {
        walk.incomplete = errno;
        walk.entries.clear();
        return;
    }
    for (std::size_t piece = 0; piece < walk.pieces_read; ++piece)
        next_entries(walk.entries, walk.stream);
    read_entries(walk);
}

// Opens the next directory of the list that can be read.
bool open_next_directory(TreeWalk& walk) {
    while (walk.next_directory < directory_count(walk)) {
        walk.directory = walk.next_directory++;
        walk.directory_path = path_in_list(walk, walk.directory, walk.root);
        walk.stream = open_directory(walk.directory_path);
        if (walk.stream == nullptr)
            continue;
        walk.pieces_read = 0;
        // Before the caller does anything: what it makes here is no entry of the tree.
        read_entries(walk);
        walk.step = WalkStep::kDirectoryOpened;
        return true;
    }
    return false;
}

// Makes the next entry of the open directory the current one; false, and closed, at its end.
bool take_next_entry(TreeWalk& walk) {
    for (;;) {
        if (walk.next_entry == walk.entries.size() && !walk.entries.empty()) {
            if (walk.stream != nullptr)
                read_entries(walk);
            else if (walk.entries.size() == kEntriesAtOnce)
                read_entries_again(walk);
            else
                walk.entries.clear();
        }
        if (walk.entries.empty()) {
            end_walk(walk);
            return false;
        }
        DirectoryEntry& entry = walk.entries[walk.next_entry++];
        std::swap(walk.name, entry.name);
        walk.is_plain_file = entry.is_plain_file;
        DirectoryIdentity identity{};
        walk.step = entry.is_plain_file ? WalkStep::kFile : entry_kind(identity, walk);
        if (walk.step != WalkStep::kDirectory)
            return true;
        if (identity != walk.left_out) {
            add_to_list(walk, identity);
            return true;
        }
    }
}

// Lets the open directory wait while the one just met in it is walked.
void set_aside(TreeWalk& walk) {
    walk.waiting.push_back({std::move(walk.entries), walk.next_entry, walk.pieces_read});
    end_walk(walk);
}

// Leaves the innermost directory for the one that waits for it.
void return_to_waiting(TreeWalk& walk) {
    pass_over_directory(walk);
    walk.next_directory = directory_count(walk);
    if (walk.waiting.empty())
        return;
    walk.directory = directory_count(walk) - 1;
    walk.directory_path = path_in_list(walk, walk.directory, walk.root);
    WaitingDirectory& waiting = walk.waiting.back();
    walk.entries = std::move(waiting.entries);
    walk.next_entry = waiting.next_entry;
    walk.pieces_read = waiting.pieces_read;
    walk.waiting.pop_back();
}

bool next_step_in_depth(TreeWalk& walk) {
    while (directory_count(walk) > 0) {
        if (walk.next_directory < directory_count(walk)) {
            if (walk.next_directory > 0)
                set_aside(walk);
            if (open_next_directory(walk))
                return true;
        } else if (take_next_entry(walk)) {
            return true;
        }
        return_to_waiting(walk);
    }
    return false;
}

} // namespace

TreeWalk walk_over(const std::string& root) {
    TreeWalk walk;
    walk.root = root;
    walk.slots.push_back({0, 0, directory_identity(root)});
    walk.names.push_back('\0');
    walk.above_root = directories_above(root);
    return walk;
}

bool next_step(TreeWalk& walk) {
    if (walk.depth_first)
        return next_step_in_depth(walk);
    if (walk.stream != nullptr && take_next_entry(walk))
        return true;
    return open_next_directory(walk);
}

void pass_over_directory(TreeWalk& walk) {
    walk.names.resize(walk.slots.back().name);
    walk.slots.pop_back();
}

void end_walk(TreeWalk& walk) {
    if (walk.stream != nullptr)
        closedir(walk.stream);
    walk.stream = nullptr;
    walk.entries.clear();
    walk.next_entry = 0;
}

std::string entry_path(const TreeWalk& walk) {
    return joined_path(walk.directory_path, walk.name);
}

std::size_t directory_count(const TreeWalk& walk) {
    return walk.slots.size();
}

std::string path_in_list(const TreeWalk& walk, std::size_t at, const std::string& root) {
    std::vector<const char*> names;
    for (; at != 0; at = walk.slots[at].parent)
        names.push_back(walk.names.c_str() + walk.slots[at].name);
    std::string path = root;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        path = joined_path(std::move(path), *name);
    return path;
}
