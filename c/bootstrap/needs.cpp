#include "bootstrap/needs.h"

#include "base/directory.h"
#include "base/paths.h"
#include "bootstrap/tree_walk.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <sys/stat.h>

namespace {

// The end of an archive: a record, behind which a comment of at most 64 KB may stand.
constexpr std::string_view kEndRecord = "PK\5\6";
constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kLongestComment = 0xFFFF;
// Its table of contents: a record for each file, with its name and other texts behind it.
constexpr std::string_view kEntryRecord = "PK\1\2";
constexpr std::size_t kEntryRecordSize = 46;
// Where an entry record tells the unpacked size, and the lengths of the three texts behind it.
constexpr std::size_t kUnpackedSizeAt = 24;
constexpr std::size_t kTextLengthsAt[] = {28, 30, 32};
// No table is read beyond this; whoever writes one that is longer has no jar to unpack.
constexpr std::uint64_t kLongestTable = std::uint64_t{64} << 20;

// The number of `size` bytes at `at`, the lowest first.
std::uint64_t number_at(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
    return number;
}

// The bytes from `from` on, `size` of them; fewer where the file ends.
std::string bytes_at(std::FILE* file, std::uint64_t from, std::uint64_t size) {
    std::string bytes(size, '\0');
    if (fseeko(file, static_cast<off_t>(from), SEEK_SET) != 0)
        return "";
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    return bytes;
}

// The table of contents of an archive of `size` bytes; empty for what is no archive.
std::string table_of_contents(std::FILE* file, std::uint64_t size) {
    const std::uint64_t end = std::min<std::uint64_t>(size, kEndRecordSize + kLongestComment);
    const std::string tail = bytes_at(file, size - end, end);
    const std::size_t record = tail.rfind(kEndRecord);
    if (record == std::string::npos || tail.size() - record < kEndRecordSize)
        return "";
    const std::uint64_t length = number_at(tail, record + 12, 4);
    const std::uint64_t start = number_at(tail, record + 16, 4);
    if (length > std::min(kLongestTable, size) || start > size - length)
        return "";
    return bytes_at(file, start, length);
}

void add_archive(Need& need, const std::string& path, std::uint64_t block) {
    struct stat found {};
    // What is no file may never come to its end, or to its beginning.
    if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return;
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr)
        return;
    const std::string table = table_of_contents(file, static_cast<std::uint64_t>(found.st_size));
    std::fclose(file);
    for (std::size_t at = 0; table.size() - at >= kEntryRecordSize;) {
        const std::string_view record = std::string_view(table).substr(at);
        if (!record.starts_with(kEntryRecord))
            return;
        add_file(need, number_at(record, kUnpackedSizeAt, 4), block);
        at += kEntryRecordSize;
        for (const std::size_t length_at : kTextLengthsAt)
            at += number_at(record, length_at, 2);
        if (at > table.size())
            return;
    }
}

} // namespace

Need need_of_archives(const std::string& directory, std::uint64_t block) {
    Need need;
    for (const std::string& name : directory_entries(directory).names) {
        if (name.ends_with(".jar"))
            add_archive(need, joined_path(directory, name), block);
    }
    return need;
}

Need need_of_tree(const std::string& root, std::uint64_t block) {
    Need need;
    TreeWalk walk = walk_over(root);
    while (next_step(walk)) {
        struct stat found {};
        if (walk.step == WalkStep::kDirectoryOpened)
            add_file(need, 0, block);
        else if (walk.step == WalkStep::kFile && stat(entry_path(walk).c_str(), &found) == 0 &&
                 S_ISREG(found.st_mode))
            add_file(need, static_cast<std::uint64_t>(found.st_size), block);
    }
    return need;
}
