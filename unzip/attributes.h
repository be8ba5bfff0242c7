// What an archive says of an entry beside its data: name, mode and times.
//
// Owns: the extra fields of names and times, the clock of MS-DOS, and what the attributes of each
// kind of system mean here. Leaves to others: where these bytes are found (archive) and what is
// made of them in the file system.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

struct EntryTimes {
    std::int64_t modified = 0; // seconds since 1970
    std::int64_t accessed = 0;
};

// The time that MS-DOS writes as `dos_time`, date in the upper half, taken as local time.
std::int64_t time_of_dos(std::uint32_t dos_time);

// The times of an entry: those of its extra fields in the local header, where Unix archivers keep
// them, else `dos_time`.
EntryTimes entry_times(std::uint32_t dos_time, std::string_view local_extra);

// The UTF-8 name that `extra` has for an entry whose directory record calls it `name`; empty when
// it has none, or one for another name.
std::string unicode_name(std::string_view extra, std::string_view name);

// The type and permissions of an entry. `made_by` is the directory record's "version made by",
// whose upper byte tells the system, and `external` its attributes; archives of systems without
// permissions get those that the mask of this process leaves.
mode_t entry_mode(unsigned made_by, std::uint32_t external, bool is_directory, mode_t mask);
