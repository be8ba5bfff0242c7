#include "unzip/run.h"

#include "unzip/archive.h"
#include "unzip/destination.h"
#include "unzip/extraction.h"
#include "unzip/listing.h"
#include "unzip/messages.h"
#include "unzip/names.h"
#include "unzip/pattern.h"
#include "unzip/progress.h"
#include "unzip/status.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace {

constexpr std::uint64_t kKilobyte = 1024;

// What the archives from number `from` on become, on a disk of such blocks.
std::uint64_t bytes_of_all(const std::vector<std::string>& paths, std::size_t from,
                           std::uint64_t block) {
    std::uint64_t bytes = 0;
    for (std::size_t i = from; i < paths.size(); ++i) {
        ZipArchive archive;
        if (open_archive(archive, paths[i]))
            bytes += unpacked_bytes(archive, block);
        close_archive(archive);
    }
    return bytes;
}

mode_t creation_mask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

int nothing_found(const UnzipCommand& command) {
    if (has_wildcard(command.archive)) {
        complain_of(command.archive, "no file fits this pattern");
        return kUnzipNothingMatched;
    }
    complain_of(command.archive, "No such file or directory");
    return kUnzipNotFound;
}

// The size of the pieces in which the disk of the destination gives room.
std::uint64_t block_of(const Destination& destination) {
    struct statvfs volume {};
    return fstatvfs(destination.directory, &volume) == 0 && volume.f_frsize > 0 ? volume.f_frsize
                                                                                : 1;
}

// Says that the disk is full, and how much is missing there.
void complain_of_full_disk(const Destination& destination, const ZipProblem& end,
                           std::uint64_t bytes_left) {
    std::string reason = end.reason;
    struct statvfs volume {};
    if (end.error == ENOSPC && fstatvfs(destination.directory, &volume) == 0) {
        const std::uint64_t free = static_cast<std::uint64_t>(volume.f_bavail) * volume.f_frsize;
        if (volume.f_files > 0 && volume.f_favail == 0)
            reason += "; no further files can be made there";
        else if (bytes_left > free)
            reason += "; " + std::to_string((bytes_left - free + kKilobyte - 1) / kKilobyte) +
                      " KB more are needed there";
    }
    complain_of(destination.path.empty() ? "." : destination.path, reason);
}

// What all archives of a command have in common.
struct Run {
    const UnzipCommand& command;
    const std::vector<std::string>& paths;
    const Destination& destination;
    ExtractionOptions options{};
    std::atomic<std::uint64_t> written{0};
    bool is_over = false; // something ended everything
};

int list(const Run& run, const ZipArchive& archive) {
    list_archive(archive, run.command.quiet);
    return kUnzipFine;
}

int extract(Run& run, const ZipArchive& archive, std::size_t number) {
    const UnzipCommand& command = run.command;
    if (command.quiet == 0)
        std::printf("Archive:  %s\n", printable(archive.path).c_str());
    const ExtractionResult result =
        extract_archive(run.written, archive, run.destination, run.options);
    run.is_over = result.end.status != 0;
    if (result.end.status == kUnzipInterrupted)
        complain_of(archive.path, result.end.reason);
    else if (run.is_over)
        complain_of_full_disk(run.destination, result.end,
                              result.bytes_left +
                                  bytes_of_all(run.paths, number + 1, run.options.block));
    if (run.is_over)
        return result.end.status;
    if (command.task == UnzipTask::kTest && command.quiet < 2) {
        const bool is_fine = result.status == 0 && archive.problem.status == 0;
        std::printf(is_fine ? "No errors detected in compressed data of %s.\n"
                            : "At least one error was detected in %s.\n",
                    printable(archive.path).c_str());
    }
    return result.status;
}

// Takes one archive after the other.
int take_archives(Run& run) {
    const UnzipCommand& command = run.command;
    run.options.check_only = command.task == UnzipTask::kTest;
    run.options.replace = command.replace;
    run.options.quiet = command.quiet;
    run.options.mask = creation_mask();
    run.options.block = block_of(run.destination);
    const std::string subject =
        command.task == UnzipTask::kUnpack ? progress_subject() : std::string();
    start_progress(subject, subject.empty() ? 0 : bytes_of_all(run.paths, 0, 1));
    int status = kUnzipFine;
    for (std::size_t i = 0; i < run.paths.size() && !run.is_over; ++i) {
        if (i > 0 && command.quiet == 0)
            std::putchar('\n');
        ZipArchive archive;
        const bool is_open = open_archive(archive, run.paths[i]);
        if (archive.problem.status != 0)
            complain_of(run.paths[i], archive.problem.reason);
        status = std::max(status, archive.problem.status);
        if (is_open) {
            const int done =
                command.task == UnzipTask::kList ? list(run, archive) : extract(run, archive, i);
            status = run.is_over ? done : std::max(status, done);
        }
        close_archive(archive);
    }
    return status;
}

} // namespace

int run_unzip(const UnzipCommand& command) {
    if (command.task == UnzipTask::kHelp || command.task == UnzipTask::kVersion) {
        std::fputs(command.task == UnzipTask::kHelp ? kHelpText : kVersionText, stdout);
        return kUnzipFine;
    }
    const std::vector<std::string> paths = archives_meant(command.archive);
    if (paths.empty())
        return nothing_found(command);
    Destination destination;
    Run run{.command = command, .paths = paths, .destination = destination};
    if (command.task != UnzipTask::kUnpack) {
        if (command.has_destination)
            complain_of("-d " + command.destination, "not looked at, since nothing is unpacked");
        return take_archives(run);
    }
    const ZipProblem problem = open_destination(destination, command.destination);
    if (problem.status != 0) {
        complain_of(command.destination, problem.reason);
        return problem.status;
    }
    const int status = take_archives(run);
    close_destination(destination);
    return status;
}
