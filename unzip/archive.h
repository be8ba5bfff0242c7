// Reading zip archives: which entries there are and where the data of each lies.
//
// Owns: the open archive, its directory, and the comparison of every directory record with the
// entry's own header. Leaves to others: the data (entry_data), whether a name is safe to use
// (names), and everything that is said: nothing here writes anywhere.
//
// An archive that is only partly readable gives what can be read, and a problem beside it.
#pragma once

#include "unzip/attributes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Why an archive or an entry cannot be taken as it is: a status of status.h and the reason.
struct ZipProblem {
    int status = 0; // 0: no problem
    std::string reason;
    int error = 0; // errno of the call that failed, where one did
};

// The problem that the call before has left in errno.
ZipProblem problem_of_errno(int status);

struct ZipEntry {
    std::uint64_t packed = 0;      // bytes in the archive
    std::uint64_t unpacked = 0;    // bytes afterwards, as the directory tells
    std::uint64_t header = 0;      // where the entry's own header begins in the file
    std::uint64_t data = 0;        // where its packed bytes begin in the file
    std::uint64_t name_at = 0;     // for entry_name
    EntryTimes times;              // for extraction: from the local header's extra fields
    std::uint32_t crc = 0;         // of the unpacked bytes
    std::uint32_t external = 0;    // attributes, see entry_mode
    std::uint32_t dos_time = 0;    // as the directory has it
    std::uint16_t name_length = 0; // in bytes
    std::uint16_t made_by = 0;     // the system and version that made it
    std::uint16_t method = 0;      // kZipStored, kZipDeflated or one that cannot be unpacked
    std::uint16_t flags = 0;       // see kZipEncrypted, kZipUtf8
    int status = 0;                // of status.h: 0, or why the entry cannot be unpacked,
    const char* reason = nullptr;  // and that in words, else null
};

inline constexpr unsigned kZipStored = 0;
inline constexpr unsigned kZipDeflated = 8;
inline constexpr unsigned kZipEncrypted = 1U << 0; // flags: the data is encrypted
inline constexpr unsigned kZipUtf8 = 1U << 11;     // flags: the name is UTF-8

struct ZipArchive {
    std::string path;
    int file = -1;                 // descriptor, -1 while closed
    std::uint64_t size = 0;        // of the file
    std::vector<ZipEntry> entries; // in the order of the directory
    std::string names;             // of all entries, one behind the other
    ZipProblem problem;            // of the archive itself; the entries hold their own
};

// Opens the archive `path`, or takes `archive.file` when the caller has opened that, and reads its
// directory and every entry's header. False when there is nothing to read entries from: no such
// file, no regular file, no archive; archive.problem then says why. True with a problem in it means
// that `entries` holds what could be read.
bool open_archive(ZipArchive& archive, const std::string& path);

// Closes the file and drops the entries.
void close_archive(ZipArchive& archive);

// The name of an entry in the bytes of the archive, or in UTF-8 where the archive has that beside
// it; any bytes at all may be in it. Good as long as the archive is open.
std::string_view entry_name(const ZipArchive& archive, const ZipEntry& entry);

// Whether the entry stands for a directory: its name ends in a slash.
bool is_directory_entry(const ZipArchive& archive, const ZipEntry& entry);
