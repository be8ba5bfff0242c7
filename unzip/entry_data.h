// Unpacking the data of one entry.
//
// Owns: reading the packed bytes, unpacking them whole or piece by piece, holding size and sum
// against what the directory tells, and writing to an open file. Leaves to others: which file that
// is, and what is said (extraction).
//
// Entries of up to 256 MB are unpacked whole, which is fastest; greater ones, and those for which
// there is no memory, in pieces.
#pragma once

#include "unzip/archive.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct libdeflate_decompressor;

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* decompressor) const;
};

// Memory straight from the system, so that what is given back is gone at once.
struct Buffer {
    Buffer() = default;
    ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    Buffer(Buffer&&) = delete;
    Buffer& operator=(Buffer&&) = delete;

    char* bytes = nullptr;
    std::size_t size = 0;
};

// What one thread unpacks with, one entry after the other.
struct Unpacker {
    Buffer packed;
    Buffer unpacked;
    std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor;
    bool in_pieces = false;                  // memory is short; entries are unpacked in pieces
    const std::atomic<bool>* stop = nullptr; // when it becomes true, unpacking breaks off
    std::atomic<std::uint64_t>* written = nullptr; // counts the bytes that are done
};

// What unpacking an entry needs at most, in bytes; entries that stay under a common bound may be
// unpacked side by side.
std::uint64_t memory_needed(const ZipEntry& entry);

// Unpacks the data of an entry without a problem of its own into descriptor `file`, or nowhere when
// that is -1, and checks it. The status of the problem is kUnzipDiskFull for what cannot be
// written, with errno's number in `error`, and kUnzipInterrupted when it was stopped.
ZipProblem unpack_entry(Unpacker& unpacker, const ZipArchive& archive, const ZipEntry& entry,
                        int file);

// The target of an entry that is a symbolic link; one that no link can have is a problem.
ZipProblem unpack_link_target(std::string& target, Unpacker& unpacker, const ZipArchive& archive,
                              const ZipEntry& entry);

// The sum that archives keep of what `bytes` are: CRC-32.
std::uint32_t checksum_of(std::string_view bytes);

// Checks the data of an entry: that it can be unpacked and has the size and sum that it should. An
// entry with a problem of its own has that.
ZipProblem check_entry(const ZipArchive& archive, const ZipEntry& entry);
