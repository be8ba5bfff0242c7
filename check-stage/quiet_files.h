// Reading without leaving a trace, and the one directory that is written to.
//
// Owns: how files are opened (their times of access stay, and nothing ever waits for the other end
// of a pipe), the checker's temporary directory, and the giving way to signals. Leaves to others:
// which files, and what is in them.
//
// Times of access can be kept by whoever owns a file; the system gives nobody else the means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// What a path leads to.
enum class FileKind {
    missing,      // nothing, also at the end of a link
    regular,      //
    directory,    //
    other,        // a pipe, a device, a socket
    out_of_reach, // this user cannot get to it, or a way of links goes in a circle
};
FileKind kind_of(const std::string& path);

// Whether this user can list a directory and reach what is in it; errno says why not.
bool can_be_looked_into(const std::string& directory);

// Directories are read without a trace from here on.
void read_directories_quietly();

// Opens a regular file for reading: a descriptor, or -1 with errno for everything else, EINVAL for
// what is no regular file.
int open_quietly(const std::string& path);

// The size of a regular file, 0 for all else.
std::uint64_t size_of(const std::string& path);

// Reads no more than `most` bytes of a regular file. False, with errno, when it cannot be read.
bool read_quietly(std::string& bytes, const std::string& path, std::size_t most);

// A directory of this run's own, made at the first call and removed with all in it when the program
// ends. Empty when none can be made.
const std::string& own_directory();

// Writes `bytes` to file `name` of the own directory, and gives its path; empty, with errno, when
// that fails.
std::string own_file(const std::string& name, const std::string& bytes);

// From here on an interrupting signal ends the program at the next call of the second, and a pipe
// that nobody reads any more does not.
void watch_for_signals();
void give_way_to_signals();
