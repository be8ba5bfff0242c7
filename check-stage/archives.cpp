#include "archives.h"

#include "base/directory.h"
#include "base/paths.h"
#include "findings.h"
#include "quiet_files.h"
#include "unzip/archive.h"
#include "unzip/attributes.h"
#include "unzip/entry_data.h"
#include "unzip/status.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr mode_t kOwnFileMode = 0600;
// Entries of one archive of which a line each is said.
constexpr std::size_t kMostLines = 20;
// Larger files are not written to the own directory to look into them.
constexpr std::uint64_t kMostExtracted = std::uint64_t{1} << 30;

bool leads_outside(std::string_view name) {
    if (name.starts_with('/') || name.starts_with('\\') || (name.size() > 1 && name[1] == ':'))
        return true;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of("/\\"), name.size());
        if (name.substr(0, end) == "..")
            return true;
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return false;
}

// The problems of one archive's entries; only so many get a line.
struct EntryProblems {
    const std::string& archive;
    std::size_t count = 0;

    void add(std::string_view entry, const std::string& text) {
        if (count++ < kMostLines)
            report_error(archive, kNoLine, "entry " + std::string(entry) + ": " + text);
    }

    void close() const {
        if (count > kMostLines)
            report_error(archive, kNoLine,
                         std::to_string(count - kMostLines) +
                             " more entries have problems: pack the archive anew");
    }
};

std::string remedy_of(int status) {
    if (status == kUnzipEncrypted)
        return "pack it without a password";
    if (status == kUnzipUnknownMethod)
        return "pack it with the method deflated or stored";
    return "pack the archive anew";
}

bool open_archive_quietly(ZipArchive& archive, const std::string& path) {
    archive.file = open_quietly(path);
    return open_archive(archive, path);
}

// A descriptor of the file that a wanted entry is written to, or -1.
int extraction_target(const ZipEntry& entry, std::string_view name, const Wanted& wanted,
                      std::map<std::string, std::string>& at_hand) {
    const std::string arriving = arriving_name(std::string(name));
    if (!is_wanted(wanted, arriving) || entry.unpacked > kMostExtracted || own_directory().empty())
        return -1;
    const std::string file = own_directory() + "/file" + std::to_string(at_hand.size());
    const auto target = at_hand.try_emplace(arriving, file).first;
    return open(target->second.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kOwnFileMode);
}

void check_data(const ZipArchive& archive, const ZipEntry& entry, std::string_view name,
                Unpacker& unpacker, const Wanted& wanted,
                std::map<std::string, std::string>& at_hand, EntryProblems& problems) {
    if (entry.status != kUnzipFine) {
        problems.add(name, std::string(entry.reason) + "; " + remedy_of(entry.status));
        return;
    }
    const int target = extraction_target(entry, name, wanted, at_hand);
    const ZipProblem problem = unpack_entry(unpacker, archive, entry, target);
    if (target >= 0)
        close(target);
    if (problem.status == kUnzipDiskFull)
        report_note(problems.archive, kNoLine,
                    "entry " + std::string(name) + " could not be looked into: " + problem.reason +
                        "; name a directory with more room in TMPDIR");
    else if (problem.status != kUnzipFine)
        problems.add(name, problem.reason + "; " + remedy_of(problem.status));
}

std::vector<ArchiveEntry> entries_of(const ZipArchive& archive) {
    std::vector<ArchiveEntry> entries;
    entries.reserve(archive.entries.size());
    for (const ZipEntry& entry : archive.entries) {
        entries.push_back({std::string(entry_name(archive, entry)), entry.unpacked, entry.crc,
                           is_directory_entry(archive, entry)});
    }
    return entries;
}

} // namespace

bool is_wanted(const Wanted& wanted, const std::string& name) {
    return wanted.names.contains(name) || (!wanted.ending.empty() && name.ends_with(wanted.ending));
}

std::string arriving_name(const std::string& entry) {
    std::string plain = std::filesystem::path(entry).lexically_normal();
    NormalizeDir(plain);
    return plain;
}

Archive check_archive(const std::string& path, const std::string& name, const Wanted& wanted,
                      std::map<std::string, std::string>& at_hand) {
    Archive result;
    ZipArchive archive;
    if (!open_archive_quietly(archive, path)) {
        report_error(name, kNoLine,
                     "this archive cannot be opened: " + archive.problem.reason +
                         "; put a sound one there");
        close_archive(archive);
        return result;
    }
    result.readable = archive.problem.status == kUnzipFine;
    if (!result.readable)
        report_error(name, kNoLine,
                     "the archive itself: " + archive.problem.reason + "; " +
                         remedy_of(archive.problem.status));
    result.entries = entries_of(archive);
    if (archive.entries.empty() && result.readable)
        report_error(name, kNoLine, "this archive is empty: put a sound one there");

    EntryProblems problems{name};
    Unpacker unpacker;
    for (const ZipEntry& entry : archive.entries) {
        give_way_to_signals();
        const std::string_view entry_is = entry_name(archive, entry);
        if (leads_outside(entry_is))
            problems.add(entry_is, "its name leads outside of the scratch directory; pack it "
                                   "with a name below that");
        if (!is_directory_entry(archive, entry) || entry.status != kUnzipFine)
            check_data(archive, entry, entry_is, unpacker, wanted, at_hand, problems);
    }
    problems.close();
    close_archive(archive);
    return result;
}

std::vector<std::string> archives_in(const std::string& directory) {
    std::vector<std::string> names = directory_entries(directory).names;
    std::sort(names.begin(), names.end());
    std::vector<std::string> paths;
    for (const std::string& name : names) {
        std::string path = joined_path(directory, name);
        if (name.ends_with(".jar") && !is_directory(path))
            paths.push_back(std::move(path));
    }
    return paths;
}

bool unpacks(const std::string& directory) {
    const std::vector<std::string> paths = archives_in(directory);
    Unpacker unpacker;
    for (const std::string& path : paths) {
        ZipArchive archive;
        bool sound = open_archive_quietly(archive, path) && archive.problem.status == kUnzipFine;
        for (const ZipEntry& entry : archive.entries) {
            give_way_to_signals();
            sound = sound && entry.status == kUnzipFine &&
                    !leads_outside(entry_name(archive, entry)) &&
                    unpack_entry(unpacker, archive, entry, -1).status == kUnzipFine;
        }
        close_archive(archive);
        if (!sound)
            return false;
    }
    return !paths.empty();
}

Archive list_archive(const std::string& path) {
    Archive result;
    ZipArchive archive;
    if (!open_archive_quietly(archive, path)) {
        close_archive(archive);
        return result;
    }
    result.readable = archive.problem.status == kUnzipFine;
    result.entries = entries_of(archive);
    close_archive(archive);
    return result;
}
