#include "unzip/archive.h"

#include "unzip/fields.h"
#include "unzip/status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <memory>
#include <minizip/unzip.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t kLocalHeaderSize = 30;
constexpr std::uint64_t kLocalSignature = 0x04034b50;
constexpr std::uint64_t kDirectoryRecordSize = 46;
constexpr std::uint64_t kOffsetInRecord = 42; // of the place of the entry's own header
// A number of 4 bytes that stands for one in the extra field of this number.
constexpr std::uint64_t kInExtraField = 0xffffffff;
constexpr unsigned kLargeNumbers = 0x0001;
constexpr unsigned kSizesFollow = 1U << 3;      // flags: sum and sizes stand behind the data
constexpr std::uint64_t kHighestCount = 0xffff; // in two bytes
constexpr std::size_t kLongestText = 0xffff;    // of a name or of extra fields

// Where an archive has no entries it begins with its end, which the library takes for none.
constexpr std::string_view kEmptyArchive("PK\5\6\0\0\0\0\0\0\0\0", 12);

// Bytes of the archive around the last place that was read.
struct Window {
    std::array<char, 8192> bytes{};
    std::uint64_t start = 0;
    std::size_t length = 0;
};

// The archive as the library reads it: a few bytes at a time, in turn from the directory and from
// the entries' headers, so there is a window for each.
struct Source {
    int file = -1;
    std::uint64_t size = 0;
    std::uint64_t position = 0;
    bool fell_short = false;  // the last read met the end of the file, or failed
    std::uint64_t sought = 0; // the last place the library went to by its distance from the start
    std::array<Window, 2> windows{};
    std::size_t last = 0; // the window that was read last
    std::array<char, kLongestText> name{};
    std::array<char, kLongestText> extra{};
};

bool fill(Window& window, const Source& source) {
    window.start = source.position;
    window.length = 0;
    ssize_t got = 0;
    do
        got = pread(source.file, window.bytes.data(), window.bytes.size(),
                    static_cast<off_t>(source.position));
    while (got < 0 && errno == EINTR);
    if (got > 0)
        window.length = static_cast<std::size_t>(got);
    return got > 0;
}

bool holds(const Window& window, std::uint64_t position) {
    return position >= window.start && position - window.start < window.length;
}

// The calls that the library makes to the file. It is given an open file, so that what bears the
// name of an archive is opened once only and never waited for.

voidpf take_open_file(voidpf source, const void* /*path*/, int /*mode*/) {
    return source;
}

uLong read_source(voidpf opaque, voidpf /*stream*/, void* to, uLong wanted) {
    Source& source = *static_cast<Source*>(opaque);
    uLong done = 0;
    while (done < wanted) {
        if (!holds(source.windows[source.last], source.position)) {
            source.last = 1 - source.last;
            if (!holds(source.windows[source.last], source.position) &&
                !fill(source.windows[source.last], source))
                break;
        }
        const Window& window = source.windows[source.last];
        const std::size_t from = source.position - window.start;
        const std::size_t count = std::min<std::size_t>(window.length - from, wanted - done);
        std::memcpy(static_cast<char*>(to) + done, window.bytes.data() + from, count);
        done += count;
        source.position += count;
    }
    source.fell_short = done < wanted;
    return done;
}

uLong refuse_to_write(voidpf /*opaque*/, voidpf /*stream*/, const void* /*from*/, uLong /*size*/) {
    return 0;
}

ZPOS64_T tell_source(voidpf opaque, voidpf /*stream*/) {
    return static_cast<Source*>(opaque)->position;
}

long seek_source(voidpf opaque, voidpf /*stream*/, ZPOS64_T offset, int origin) {
    Source& source = *static_cast<Source*>(opaque);
    if (origin == ZLIB_FILEFUNC_SEEK_CUR)
        offset += source.position;
    else if (origin == ZLIB_FILEFUNC_SEEK_END)
        offset += source.size;
    if (offset > source.size)
        return -1;
    source.position = offset;
    if (origin == ZLIB_FILEFUNC_SEEK_SET)
        source.sought = offset;
    return 0;
}

int leave_open(voidpf /*opaque*/, voidpf /*stream*/) {
    return 0;
}

// The library takes a read that falls short for one of zeros, unless this tells of an error.
int tell_error(voidpf opaque, voidpf /*stream*/) {
    return static_cast<Source*>(opaque)->fell_short ? 1 : 0;
}

// The bytes of the archive at `position`; fewer where it ends.
std::string bytes_at(Source& source, std::uint64_t position, std::size_t count) {
    std::string bytes(count, '\0');
    source.position = position;
    bytes.resize(read_source(&source, nullptr, bytes.data(), count));
    return bytes;
}

// Opens what is a regular file, without waiting for the other end of what is not.
bool open_file(ZipArchive& archive) {
    struct stat found {};
    if (archive.file < 0)
        archive.file = open(archive.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (archive.file < 0 || fstat(archive.file, &found) != 0)
        archive.problem = problem_of_errno(kUnzipNotFound);
    else if (!S_ISREG(found.st_mode))
        archive.problem = {kUnzipNotFound, "not a regular file"};
    archive.size = static_cast<std::uint64_t>(found.st_size);
    return archive.problem.status == 0;
}

void refuse(ZipEntry& entry, int status, const char* reason) {
    if (entry.status == 0) {
        entry.status = status;
        entry.reason = reason;
    }
}

// Puts the large numbers of an extra field where `numbers`, in the order of the field, only point
// to it. The library does not do so on 64-bit systems.
void take_large_numbers(std::initializer_list<std::uint64_t*> numbers, std::string_view extra) {
    unsigned number = 0;
    for (std::string_view field; next_field(number, field, extra);) {
        if (number != kLargeNumbers)
            continue;
        for (std::uint64_t* small : numbers) {
            if (*small != kInExtraField)
                continue;
            if (field.size() < 8)
                return;
            *small = number_at(field, 0, 8);
            field.remove_prefix(8);
        }
        return;
    }
}

// The places of bytes are those of the format.
// NOLINTBEGIN(cppcoreguidelines-avoid-magic-numbers)

// Whether the entry's own header, of which `header` is the fixed part, tells the same as the
// directory.
bool is_same(const ZipEntry& entry, std::string_view header, std::string_view extra) {
    const std::uint64_t flags = number_at(header, 6, 2);
    std::uint64_t packed = number_at(header, 18, 4);
    std::uint64_t unpacked = number_at(header, 22, 4);
    take_large_numbers({&unpacked, &packed}, extra);
    if (number_at(header, 0, 4) != kLocalSignature || number_at(header, 8, 2) != entry.method ||
        ((flags ^ entry.flags) & kZipEncrypted) != 0)
        return false;
    return (flags & kSizesFollow) != 0 || (number_at(header, 14, 4) == entry.crc &&
                                           packed == entry.packed && unpacked == entry.unpacked);
}

// Compares the entry's own header with the directory and takes from it what only it has.
void read_local_header(ZipEntry& entry, std::string_view name, Source& source) {
    const std::string header = bytes_at(source, entry.header, kLocalHeaderSize);
    if (header.size() < kLocalHeaderSize) {
        refuse(entry, kUnzipEndsEarly, "the archive ends before its header");
        return;
    }
    const std::size_t name_size = number_at(header, 26, 2);
    const std::size_t extra_size = number_at(header, 28, 2);
    const std::string texts =
        bytes_at(source, entry.header + kLocalHeaderSize, name_size + extra_size);
    const std::string_view extra =
        std::string_view(texts).substr(std::min(name_size, texts.size()));
    entry.times = entry_times(entry.dos_time, extra);
    entry.data = entry.header + kLocalHeaderSize + name_size + extra_size;
    if (!is_same(entry, header, extra))
        refuse(entry, kUnzipBroken, "its own header and the archive's directory disagree");
    else if (std::string_view(texts).substr(0, name_size) != name)
        refuse(entry, kUnzipBroken, "its own header has another name");
    else if (entry.packed > source.size || entry.data > source.size - entry.packed)
        refuse(entry, kUnzipEndsEarly, "the archive ends before its data");
}

// NOLINTEND(cppcoreguidelines-avoid-magic-numbers)

// Takes the directory record at `position` and goes to the next; false when there is none.
// Positions of the library and offsets in records count from `start` of the file.
bool read_record(ZipArchive& archive, std::uint64_t& position, std::uint64_t start,
                 unzFile directory, Source& source) {
    unz_file_info64 info{};
    if (unzSetOffset64(directory, position) != UNZ_OK ||
        unzGetCurrentFileInfo64(directory, &info, source.name.data(), source.name.size(),
                                source.extra.data(), source.extra.size(), nullptr, 0) != UNZ_OK)
        return false;
    const std::string_view name(source.name.data(), info.size_filename);
    const std::string_view extra(source.extra.data(), info.size_file_extra);
    const std::string offset = bytes_at(source, start + position + kOffsetInRecord, 4);
    position +=
        kDirectoryRecordSize + info.size_filename + info.size_file_extra + info.size_file_comment;

    ZipEntry entry{};
    entry.packed = info.compressed_size;
    entry.unpacked = info.uncompressed_size;
    entry.header = number_at(offset, 0, offset.size());
    take_large_numbers({&entry.unpacked, &entry.packed, &entry.header}, extra);
    entry.header += start;
    entry.crc = static_cast<std::uint32_t>(info.crc);
    entry.external = static_cast<std::uint32_t>(info.external_fa);
    entry.dos_time = static_cast<std::uint32_t>(info.dosDate);
    entry.made_by = static_cast<std::uint16_t>(info.version);
    entry.method = static_cast<std::uint16_t>(info.compression_method);
    entry.flags = static_cast<std::uint16_t>(info.flag);
    entry.times = entry_times(entry.dos_time, extra);
    if ((entry.flags & kZipEncrypted) != 0)
        refuse(entry, kUnzipEncrypted, "it is encrypted");
    else if (entry.method != kZipStored && entry.method != kZipDeflated)
        refuse(entry, kUnzipUnknownMethod, "it is packed with a method that is not known here");
    else if (entry.method == kZipStored && entry.packed != entry.unpacked)
        refuse(entry, kUnzipBroken, "it is stored, but told to have two sizes");
    else
        read_local_header(entry, name, source);

    const std::string in_unicode = unicode_name(extra, name);
    const std::string_view taken = in_unicode.empty() ? name : in_unicode;
    entry.name_at = archive.names.size();
    entry.name_length = static_cast<std::uint16_t>(taken.size());
    archive.names += taken;
    archive.entries.push_back(entry);
    return true;
}

// Reads all records. The number that the archive tells is held against them afterwards only: old
// archivers write it modulo 65536.
void read_directory(ZipArchive& archive, unzFile directory, Source& source) {
    unz_global_info64 told{};
    unzGetGlobalInfo64(directory, &told);
    // No more than there can be: the number is only told.
    archive.entries.reserve(
        std::min<std::uint64_t>(told.number_entry, source.size / kDirectoryRecordSize));
    if (unzGoToFirstFile(directory) == UNZ_OK) {
        std::uint64_t position = unzGetOffset64(directory);
        // What precedes the archive in the file is not counted in it.
        const std::uint64_t start = source.sought - position;
        while (read_record(archive, position, start, directory, source)) {
        }
    }
    const std::uint64_t found = archive.entries.size();
    if (found != told.number_entry &&
        (found < told.number_entry || told.number_entry > kHighestCount ||
         found % 0x10000 != told.number_entry % 0x10000))
        archive.problem = {kUnzipBrokenDirectory, "its directory is broken: it tells of " +
                                                      std::to_string(told.number_entry) +
                                                      " entries and holds " +
                                                      std::to_string(found)};
}

// Refuses entries that share bytes of the archive with one before them.
void refuse_overlaps(std::vector<ZipEntry>& entries) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < entries.size(); ++i) {
        if (entries[i].status == 0)
            order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(), [&entries](std::uint32_t a, std::uint32_t b) {
        return entries[a].header < entries[b].header;
    });
    std::uint64_t end = 0;
    for (const std::uint32_t i : order) {
        ZipEntry& entry = entries[i];
        if (entry.header < end)
            refuse(entry, kUnzipOverlap, "its data lies in that of another entry");
        end = std::max(end, entry.data + entry.packed);
    }
}

} // namespace

ZipProblem problem_of_errno(int status) {
    const int error = errno;
    return {status, std::strerror(error), error};
}

bool open_archive(ZipArchive& archive, const std::string& path) {
    const int opened = archive.file;
    archive = ZipArchive{};
    archive.file = opened;
    archive.path = path;
    if (!open_file(archive)) {
        close_archive(archive);
        return false;
    }
    const auto source = std::make_unique<Source>();
    source->file = archive.file;
    source->size = archive.size;
    zlib_filefunc64_def calls{take_open_file, read_source, refuse_to_write, tell_source,
                              seek_source,    leave_open,  tell_error,      source.get()};
    unzFile directory = unzOpen2_64(path.c_str(), &calls);
    if (directory != nullptr) {
        read_directory(archive, directory, *source);
        unzClose(directory);
    } else if (bytes_at(*source, 0, kEmptyArchive.size()) != kEmptyArchive) {
        archive.problem = {kUnzipNotFound, "not a zip archive, or its end is missing"};
        close_archive(archive);
        return false;
    }
    if (archive.entries.empty() && archive.problem.status == 0)
        archive.problem = {kUnzipWarning, "holds no entries"};
    refuse_overlaps(archive.entries);
    return true;
}

void close_archive(ZipArchive& archive) {
    if (archive.file >= 0)
        close(archive.file);
    archive.file = -1;
    archive.entries.clear();
    archive.names.clear();
}

std::string_view entry_name(const ZipArchive& archive, const ZipEntry& entry) {
    return std::string_view(archive.names).substr(entry.name_at, entry.name_length);
}

bool is_directory_entry(const ZipArchive& archive, const ZipEntry& entry) {
    return entry_name(archive, entry).ends_with('/');
}
