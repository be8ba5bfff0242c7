// The directory to unpack into.
//
// Owns: every call that makes something there. Each is made in an open directory that was reached
// from the destination step by step, and no step leads through a symbolic link, so whatever lies or
// appears there, nothing is written elsewhere. Leaves to others: what is written (entry_data) and
// which names are used (plan).
//
// Problems have the status kUnzipDiskFull for what cannot be made and kUnzipBroken for a way that
// is not to be gone.
#pragma once

#include "unzip/archive.h"

#include <string>
#include <string_view>
#include <sys/types.h>

struct Destination {
    std::string path; // as it is shown; empty for the current directory
    int directory = -1;
};

// The directory that a thread used last; most files follow others of the same one.
struct OpenDirectory {
    OpenDirectory() = default;
    ~OpenDirectory();
    OpenDirectory(const OpenDirectory&) = delete;
    OpenDirectory& operator=(const OpenDirectory&) = delete;
    OpenDirectory(OpenDirectory&&) = delete;
    OpenDirectory& operator=(OpenDirectory&&) = delete;

    std::string name; // below the destination
    int directory = -1;
};

// A file that is being written: under a name of its own beside its place, or there and unreadable.
struct NewFile {
    std::string name; // its place
    std::string working_name;
    int directory = -1;
    int file = -1;
};

// What lies at a place already.
enum class Found { kNothing, kLink, kOther };

// Opens the destination, which is made where only its last part is missing.
ZipProblem open_destination(Destination& destination, const std::string& path);
void close_destination(Destination& destination);

// `name` as it is shown: below the destination's path.
std::string shown_path(const Destination& destination, std::string_view name);

// Makes the directory `name` and those that it lies in; `made` says whether it was not there.
ZipProblem make_directory(bool& made, OpenDirectory& last, const Destination& destination,
                          std::string_view name);

// Looks what lies at `name`.
ZipProblem look_at(Found& found, OpenDirectory& last, const Destination& destination,
                   std::string_view name);

// Begins a file that is to become `name`. Whoever has begun it finishes or drops it.
//
// A short one, where nothing lies, begins at its place, which is quickest; until it is finished
// nobody may read it. `is_taken` then says that something lies there, and nothing has begun.
ZipProblem begin_short_file(bool& is_taken, NewFile& made, OpenDirectory& last,
                            const Destination& destination, std::string_view name);
ZipProblem begin_file(NewFile& made, OpenDirectory& last, const Destination& destination,
                      std::string_view name);

// Gives the file mode and times and moves it to its place, where it replaces any other file; on
// failure it is dropped.
ZipProblem finish_file(NewFile& made, mode_t mode, const EntryTimes& times);
void drop_file(NewFile& made);

// Makes `name` a symbolic link to `target`, replacing any other file.
ZipProblem make_link(OpenDirectory& last, const Destination& destination, std::string_view name,
                     const std::string& target);

// Gives the directory `name` mode and times.
ZipProblem finish_directory(OpenDirectory& last, const Destination& destination,
                            std::string_view name, mode_t mode, const EntryTimes& times);
