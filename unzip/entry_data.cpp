#include "unzip/entry_data.h"

#include "unzip/status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <libdeflate.h>
#include <sys/mman.h>
#include <unistd.h>
#include <zlib.h>

namespace {

constexpr std::uint64_t kLargestWhole = std::uint64_t{256} << 20;
constexpr std::size_t kPiece = std::size_t{256} << 10;
// What is kept from one entry to the next; greater memory goes back at once.
constexpr std::size_t kKept = std::size_t{512} << 10;
// Deflated data becomes at most this many times as long.
constexpr std::uint64_t kGreatestGrowth = 1032;
constexpr std::size_t kLongestTarget = 4095; // of a symbolic link

const ZipProblem kNoProblem;

ZipProblem broken(const char* reason) {
    return {kUnzipBroken, reason};
}

ZipProblem no_memory() {
    return {kUnzipNoMemory, "there is not enough memory for it"};
}

void give_back(Buffer& buffer) {
    if (buffer.bytes != nullptr)
        munmap(buffer.bytes, buffer.size);
    buffer.bytes = nullptr;
    buffer.size = 0;
}

bool make_room(Buffer& buffer, std::size_t size) {
    if (buffer.size >= size)
        return true;
    give_back(buffer);
    const std::size_t taken = std::max(size, kPiece);
    void* bytes = mmap(nullptr, taken, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (bytes == MAP_FAILED)
        return false;
    buffer.bytes = static_cast<char*>(bytes);
    buffer.size = taken;
    return true;
}

bool stopped(const Unpacker& unpacker) {
    return unpacker.stop != nullptr && *unpacker.stop;
}

void count(const Unpacker& unpacker, std::uint64_t bytes) {
    if (unpacker.written != nullptr)
        *unpacker.written += bytes;
}

ZipProblem read_packed(char* to, const ZipArchive& archive, std::uint64_t position,
                       std::size_t size) {
    while (size > 0) {
        const ssize_t got = pread(archive.file, to, size, static_cast<off_t>(position));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return problem_of_errno(kUnzipBroken);
        if (got == 0)
            return {kUnzipEndsEarly, "the archive ends before its data"};
        to += got;
        position += static_cast<std::uint64_t>(got);
        size -= static_cast<std::size_t>(got);
    }
    return kNoProblem;
}

// Writes piece by piece, so that a stop comes soon and the count goes on evenly.
ZipProblem write_unpacked(const Unpacker& unpacker, int file, const char* from, std::size_t size) {
    while (size > 0) {
        if (stopped(unpacker))
            return {kUnzipInterrupted, "interrupted"};
        const std::size_t wanted = std::min(size, std::size_t{4} << 20);
        const ssize_t done = file < 0 ? static_cast<ssize_t>(wanted) : write(file, from, wanted);
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return problem_of_errno(kUnzipDiskFull);
        from += done;
        size -= static_cast<std::size_t>(done);
        count(unpacker, static_cast<std::uint64_t>(done));
    }
    return kNoProblem;
}

ZipProblem compare_sum(const ZipEntry& entry, std::uint32_t sum) {
    if (sum == entry.crc)
        return kNoProblem;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "bad CRC %08x (should be %08x)", sum, entry.crc);
    return broken(text.data());
}

ZipProblem unpack_stored(Unpacker& unpacker, const ZipArchive& archive, const ZipEntry& entry,
                         int file) {
    if (!make_room(unpacker.packed, kPiece))
        return no_memory();
    std::uint32_t sum = 0;
    for (std::uint64_t done = 0; done < entry.packed;) {
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, entry.packed - done));
        char* piece = unpacker.packed.bytes;
        ZipProblem problem = read_packed(piece, archive, entry.data + done, size);
        if (problem.status == 0) {
            sum = libdeflate_crc32(sum, piece, size);
            problem = write_unpacked(unpacker, file, piece, size);
        }
        if (problem.status != 0)
            return problem;
        done += size;
    }
    return compare_sum(entry, sum);
}

// Unpacks into `to`, which has room for what the directory tells.
ZipProblem inflate_whole(char* to, Unpacker& unpacker, const ZipArchive& archive,
                         const ZipEntry& entry) {
    const auto packed = static_cast<std::size_t>(entry.packed);
    const auto unpacked = static_cast<std::size_t>(entry.unpacked);
    ZipProblem problem = read_packed(unpacker.packed.bytes, archive, entry.data, packed);
    if (problem.status != 0)
        return problem;
    std::size_t came = 0;
    const libdeflate_result result = libdeflate_deflate_decompress(
        unpacker.decompressor.get(), unpacker.packed.bytes, packed, to, unpacked, &came);
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE)
        return broken("its data is longer than the directory tells");
    if (result != LIBDEFLATE_SUCCESS)
        return broken("its packed data is broken");
    if (came != unpacked)
        return broken("its data is shorter than the directory tells");
    return compare_sum(entry, libdeflate_crc32(0, to, unpacked));
}

bool can_be_unpacked_whole(Unpacker& unpacker, const ZipEntry& entry) {
    if (memory_needed(entry) == 0 || !make_room(unpacker.packed, entry.packed))
        return false;
    if (unpacker.decompressor == nullptr)
        unpacker.decompressor.reset(libdeflate_alloc_decompressor());
    return unpacker.decompressor != nullptr;
}

// The loop of the streaming library, which `stream` has been made ready for.
ZipProblem inflate_pieces(z_stream& stream, Unpacker& unpacker, const ZipArchive& archive,
                          const ZipEntry& entry, int file) {
    char* from = unpacker.packed.bytes;
    char* to = unpacker.unpacked.bytes;
    std::uint64_t taken = 0;
    std::uint64_t came = 0;
    std::uint32_t sum = 0;
    for (int result = Z_OK; result != Z_STREAM_END;) {
        if (stream.avail_in == 0 && taken < entry.packed) {
            const auto size =
                static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, entry.packed - taken));
            ZipProblem problem = read_packed(from, archive, entry.data + taken, size);
            if (problem.status != 0)
                return problem;
            stream.next_in = static_cast<Bytef*>(static_cast<void*>(from));
            stream.avail_in = static_cast<uInt>(size);
            taken += size;
        }
        stream.next_out = static_cast<Bytef*>(static_cast<void*>(to));
        stream.avail_out = static_cast<uInt>(kPiece);
        result = inflate(&stream, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR)
            return no_memory();
        if (result != Z_OK && result != Z_STREAM_END)
            return broken("its packed data is broken");
        const std::size_t size = kPiece - stream.avail_out;
        came += size;
        if (came > entry.unpacked)
            return broken("its data is longer than the directory tells");
        sum = libdeflate_crc32(sum, to, size);
        ZipProblem problem = write_unpacked(unpacker, file, to, size);
        if (problem.status != 0)
            return problem;
    }
    if (came != entry.unpacked)
        return broken("its data is shorter than the directory tells");
    return compare_sum(entry, sum);
}

ZipProblem unpack_in_pieces(Unpacker& unpacker, const ZipArchive& archive, const ZipEntry& entry,
                            int file) {
    z_stream stream{};
    if (!make_room(unpacker.packed, kPiece) || !make_room(unpacker.unpacked, kPiece) ||
        inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return no_memory();
    ZipProblem problem = inflate_pieces(stream, unpacker, archive, entry, file);
    inflateEnd(&stream);
    return problem;
}

bool is_told_too_long(const ZipEntry& entry) {
    return entry.method == kZipDeflated && entry.unpacked / kGreatestGrowth > entry.packed;
}

ZipProblem unpack_deflated(Unpacker& unpacker, const ZipArchive& archive, const ZipEntry& entry,
                           int file) {
    if (is_told_too_long(entry))
        return broken("its data is shorter than the directory tells");
    if (unpacker.in_pieces || !can_be_unpacked_whole(unpacker, entry) ||
        !make_room(unpacker.unpacked, entry.unpacked))
        return unpack_in_pieces(unpacker, archive, entry, file);
    char* to = unpacker.unpacked.bytes;
    ZipProblem problem = inflate_whole(to, unpacker, archive, entry);
    if (problem.status != 0)
        return problem;
    return write_unpacked(unpacker, file, to, entry.unpacked);
}

// The whole data of a short entry.
ZipProblem unpack_text(std::string& text, Unpacker& unpacker, const ZipArchive& archive,
                       const ZipEntry& entry) {
    if (entry.unpacked > kLongestTarget || entry.packed > kPiece || is_told_too_long(entry))
        return broken("its text is too long");
    text.assign(entry.unpacked, '\0');
    if (entry.method == kZipDeflated) {
        if (!can_be_unpacked_whole(unpacker, entry))
            return no_memory();
        return inflate_whole(text.data(), unpacker, archive, entry);
    }
    ZipProblem problem = read_packed(text.data(), archive, entry.data, text.size());
    if (problem.status != 0)
        return problem;
    return compare_sum(entry, checksum_of(text));
}

} // namespace

Buffer::~Buffer() {
    give_back(*this);
}

void FreeDecompressor::operator()(libdeflate_decompressor* decompressor) const {
    libdeflate_free_decompressor(decompressor);
}

std::uint64_t memory_needed(const ZipEntry& entry) {
    if (entry.method == kZipStored || entry.packed > kLargestWhole ||
        entry.unpacked > kLargestWhole)
        return 0;
    return entry.packed + entry.unpacked;
}

ZipProblem unpack_entry(Unpacker& unpacker, const ZipArchive& archive, const ZipEntry& entry,
                        int file) {
    ZipProblem problem = entry.method == kZipStored
                             ? unpack_stored(unpacker, archive, entry, file)
                             : unpack_deflated(unpacker, archive, entry, file);
    for (Buffer* buffer : {&unpacker.packed, &unpacker.unpacked}) {
        if (buffer->size > kKept)
            give_back(*buffer);
    }
    return problem;
}

ZipProblem unpack_link_target(std::string& target, Unpacker& unpacker, const ZipArchive& archive,
                              const ZipEntry& entry) {
    ZipProblem problem = unpack_text(target, unpacker, archive, entry);
    if (problem.status == 0 && (target.empty() || target.find('\0') != std::string::npos))
        return broken("it is a symbolic link without a usable target");
    return problem;
}

std::uint32_t checksum_of(std::string_view bytes) {
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

ZipProblem check_entry(const ZipArchive& archive, const ZipEntry& entry) {
    if (entry.status != 0)
        return {entry.status, entry.reason};
    Unpacker unpacker;
    return unpack_entry(unpacker, archive, entry, -1);
}
