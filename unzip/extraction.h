// Unpacking or checking one archive.
//
// Owns: the threads that share the entries, the bound on their memory, and the order of work: first
// the directories, then the files, then the symbolic links, last the modes and times of the
// directories. Leaves to others: what is to become of each entry (plan), the data (entry_data) and
// every call that makes something (destination).
//
// A file stands at its place only when it is whole. What goes wrong with an entry is said when the
// archive is done, in its order; a full disk and an interruption end the work at once, and the
// caller says so.
#pragma once

#include "unzip/archive.h"
#include "unzip/destination.h"

#include <atomic>
#include <cstdint>
#include <sys/types.h>

struct ExtractionOptions {
    bool check_only = false; // nothing is unpacked
    bool replace = false;    // files that are there are replaced
    int quiet = 0;           // 0: each entry is listed on standard output
    mode_t mask = 0;         // for entries that bring no permissions
    std::uint64_t block = 1; // the disk gives room in pieces of so many bytes
};

struct ExtractionResult {
    int status = 0;               // the greatest of all problems of entries
    ZipProblem end;               // what ended everything, if its status is not 0
    std::uint64_t bytes_left = 0; // the room that what is not unpacked then would take
};

// Becomes true when everything is to end soon; set by the handler of signals.
extern std::atomic<bool> unzip_is_interrupted;

// Unpacks the archive into the destination, which is not looked at when only checking, and says
// what goes wrong with its entries. `written` counts the bytes that are done.
ExtractionResult extract_archive(std::atomic<std::uint64_t>& written, const ZipArchive& archive,
                                 const Destination& destination, const ExtractionOptions& options);

// The bytes that the entries of the archive become, on a disk of such blocks.
std::uint64_t unpacked_bytes(const ZipArchive& archive, std::uint64_t block);
