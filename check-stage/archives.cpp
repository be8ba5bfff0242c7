#include "archives.h"

#include "base/directory.h"
#include "base/paths.h"
#include "base/text.h"
#include "findings.h"
#include "quiet_files.h"
#include "unzip/archive.h"
#include "unzip/attributes.h"
#include "unzip/entry_data.h"
#include "unzip/names.h"
#include "unzip/plan.h"
#include "unzip/status.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t kOwnFileMode = 0600;
constexpr mode_t kNoMask = 0;
// Entries of one archive of which a line each is said.
constexpr std::size_t kMostLines = 20;
// Larger files are not written to the own directory to look into them.
constexpr std::uint64_t kMostExtracted = std::uint64_t{1} << 30;

// What no file system of the launcher's systems takes as one piece of a path.
constexpr std::size_t kLongestPiece = 255;

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

bool has_long_piece(std::string_view name) {
    const std::vector<std::string> pieces = split(name, "/");
    return std::any_of(pieces.begin(), pieces.end(),
                       [](const std::string& piece) { return piece.size() > kLongestPiece; });
}

// What the stage's unzip would say of entry number `i`, whose data is unpacked into `file`, or
// nowhere when that is -1.
ZipProblem outcome_of(Unpacker& unpacker, const ZipArchive& archive, const Plan& plan,
                      std::size_t i, int file) {
    const ZipEntry& entry = archive.entries[i];
    const PlannedEntry& planned = plan.entries[i];
    if (planned.status != kUnzipFine)
        return {planned.status, planned.reason};
    if (has_long_piece(planned_name(plan, i)))
        return {kUnzipBroken, std::strerror(ENAMETOOLONG)};
    if (planned.kind == EntryKind::kDirectory)
        return {};
    if (planned.kind == EntryKind::kLink && !planned.is_replaced) {
        std::string target;
        return unpack_link_target(target, unpacker, archive, entry);
    }
    ZipProblem problem = unpack_entry(unpacker, archive, entry, file);
    if (problem.status == kUnzipFine && planned.replaces_link && !planned.is_replaced)
        problem = {kUnzipWarning, "it replaces a symbolic link"};
    return problem;
}

bool open_archive_quietly(ZipArchive& archive, const std::string& path) {
    archive.file = open_quietly(path);
    return open_archive(archive, path);
}

// The files written to the own directory so far.
std::size_t extracted_files = 0;

// A descriptor of the file that a wanted entry is written to, or -1.
int extraction_target(const ZipEntry& entry, EntryKind kind, const std::string& arriving,
                      const Wanted& wanted, std::map<std::string, std::string>& at_hand) {
    if (kind != EntryKind::kFile || !is_wanted(wanted, arriving))
        return -1;
    // Whatever lay at hand under the name is not what arrives.
    at_hand.erase(arriving);
    if (entry.unpacked > kMostExtracted || own_directory().empty())
        return -1;
    const std::string path = own_directory() + "/file" + std::to_string(extracted_files++);
    const int target = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnFileMode);
    if (target >= 0)
        at_hand[arriving] = path;
    return target;
}

void look_into_entry(const ZipArchive& archive, const Plan& plan, std::size_t i, Unpacker& unpacker,
                     const Wanted& wanted, std::map<std::string, std::string>& at_hand,
                     EntryProblems& problems) {
    const PlannedEntry& planned = plan.entries[i];
    const std::string_view name = entry_name(archive, archive.entries[i]);
    const std::string arriving(planned_name(plan, i));
    const int target =
        planned.status == kUnzipFine
            ? extraction_target(archive.entries[i], planned.kind, arriving, wanted, at_hand)
            : -1;
    const ZipProblem problem = outcome_of(unpacker, archive, plan, i, target);
    if (target >= 0)
        close(target);
    if (problem.status == kUnzipFine)
        return;
    if (target >= 0) {
        // Half a file tells nothing, and takes room that others need.
        unlink(at_hand[arriving].c_str());
        at_hand.erase(arriving);
    }
    if (problem.status == kUnzipDiskFull)
        report_note(problems.archive, kNoLine,
                    "entry " + std::string(name) + " could not be looked into: " + problem.reason +
                        "; name a directory with more room in TMPDIR");
    else
        problems.add(name, problem.reason + "; " +
                               (unsafe_name(name) != nullptr ? "pack it under another name"
                                                             : remedy_of(problem.status)));
}

// The entries that arrive, damaged ones among them: those are spoken of elsewhere.
std::vector<ArchiveEntry> entries_of(const ZipArchive& archive, const Plan& plan) {
    std::vector<ArchiveEntry> entries;
    entries.reserve(archive.entries.size());
    for (std::size_t i = 0; i < archive.entries.size(); ++i) {
        const ZipEntry& entry = archive.entries[i];
        const PlannedEntry& planned = plan.entries[i];
        const bool is_refused = planned.status != entry.status;
        if (!is_refused && unsafe_name(entry_name(archive, entry)) == nullptr)
            entries.push_back({std::string(planned_name(plan, i)), entry.unpacked, entry.crc,
                               planned.kind == EntryKind::kDirectory,
                               planned.kind == EntryKind::kLink});
    }
    return entries;
}

} // namespace

bool is_wanted(const Wanted& wanted, const std::string& name) {
    return wanted.names.contains(name) || (!wanted.ending.empty() && name.ends_with(wanted.ending));
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
    const Plan plan = plan_of(archive, kNoMask);
    result.entries = entries_of(archive, plan);
    if (archive.entries.empty() && result.readable)
        report_error(name, kNoLine, "this archive is empty: put a sound one there");

    EntryProblems problems{name};
    Unpacker unpacker;
    for (std::size_t i = 0; i < archive.entries.size(); ++i) {
        give_way_to_signals();
        look_into_entry(archive, plan, i, unpacker, wanted, at_hand, problems);
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
        const Plan plan = plan_of(archive, kNoMask);
        for (std::size_t i = 0; sound && i < archive.entries.size(); ++i) {
            give_way_to_signals();
            sound = outcome_of(unpacker, archive, plan, i, -1).status == kUnzipFine;
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
    result.entries = entries_of(archive, plan_of(archive, kNoMask));
    close_archive(archive);
    return result;
}
