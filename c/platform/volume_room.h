// The room on a file system.
//
// Owns: what is free there, in bytes and in inodes, whether something fits in, and whether an error
// number speaks of room. Leaves to others: how much is needed, and what is said.
#pragma once

#include <cstdint>
#include <string>

// What is needed. Files are what takes an inode each, directories included.
struct Need {
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
};

// What unprivileged users have free; nothing where it cannot be asked.
struct Room {
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
    std::uint64_t block = 1;    // a file takes a multiple of this many bytes
    bool known = false;         // could be asked
    bool files_counted = false; // the file system has a fixed number of inodes
};

// The room on the file system of `path`, or of the longest part of it that exists.
Room room_at(const std::string& path);

// Whether `need` is known not to fit into `room`.
bool is_short_of(const Room& room, const Need& need);

// Adds a file of so many bytes, in whole blocks of `block`, to `need`.
void add_file(Need& need, std::uint64_t bytes, std::uint64_t block);

// Whether `error` says that no room is left, be it the file system's or the user's share of it.
bool speaks_of_room(int error);

// What the system says to another file of one block in `directory`: 0, or its error number.
// Nothing stays there.
int refusal_of_a_file_in(const std::string& directory);
