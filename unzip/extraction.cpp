#include "unzip/extraction.h"

#include "unzip/entry_data.h"
#include "unzip/messages.h"
#include "unzip/names.h"
#include "unzip/plan.h"
#include "unzip/progress.h"
#include "unzip/status.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <pthread.h>
#include <unistd.h>
#include <vector>

std::atomic<bool> unzip_is_interrupted{false};

namespace {

constexpr std::size_t kMostThreads = 4;
// More than this is not in use at a time, unless a single entry needs more.
constexpr std::uint64_t kCommonMemory = std::uint64_t{8} << 20;
// Files up to this size are written at once and by one thread: what they cost is the making of
// names, at which threads only wait for each other.
constexpr std::uint64_t kShort = std::uint64_t{64} << 10;
constexpr std::chrono::milliseconds kLook{100};

// One archive at work. The first thread takes the short entries and then, as the others do, long
// ones.
struct Work {
    const ZipArchive& archive;
    const Plan& plan;
    const Destination& destination;
    const ExtractionOptions& options;
    std::atomic<std::uint64_t>& written;

    std::vector<std::uint32_t> short_ones{};
    std::vector<std::uint32_t> long_ones{};
    std::vector<std::uint32_t> made_directories{}; // by their entries
    std::atomic<std::size_t> next_long{0};
    std::atomic<bool> has_first_thread{false};
    std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> finished{0}; // the room of entries that are done with

    std::mutex lock{}; // of all that follows
    std::condition_variable thread_ended{};
    std::size_t running = 0;
    std::uint64_t memory_in_use = 0;
    std::uint64_t memory_at_most = 0;
    std::map<std::uint32_t, ZipProblem> problems{};
    std::map<std::uint32_t, std::string> links{}; // their targets
    ZipProblem end{};                             // what ended everything
};

bool ends_everything(const ZipProblem& problem) {
    return problem.status == kUnzipInterrupted || problem.error == ENOSPC ||
           problem.error == EDQUOT || problem.error == EROFS;
}

void note(Work& work, std::uint32_t i, const ZipProblem& problem) {
    if (problem.status == 0)
        return;
    const std::lock_guard<std::mutex> held(work.lock);
    if (!ends_everything(problem)) {
        work.problems[i] = problem;
        return;
    }
    // The first reason counts: the others only come of it.
    if (work.end.status == 0)
        work.end = problem;
    work.stop = true;
}

std::string shown_entry(const Work& work, std::uint32_t i) {
    return printable(shown_path(work.destination, planned_name(work.plan, i)));
}

// Whether the list of what is done goes to standard output; then one thread does it in order.
bool lists_entries(const Work& work) {
    return work.options.quiet == 0;
}

// Takes as much memory, or none at all when others have too much of it.
std::uint64_t taken_memory(Work& work, std::uint64_t bytes) {
    const std::lock_guard<std::mutex> held(work.lock);
    if (work.memory_in_use + bytes > work.memory_at_most)
        return 0;
    work.memory_in_use += bytes;
    return bytes;
}

void give_memory(Work& work, std::uint64_t bytes) {
    const std::lock_guard<std::mutex> held(work.lock);
    work.memory_in_use -= bytes;
}

void list_file(const Work& work, std::uint32_t i) {
    if (lists_entries(work))
        std::printf(work.archive.entries[i].method == kZipStored ? " extracting: %-22s  \n"
                                                                 : "  inflating: %-22s  \n",
                    shown_entry(work, i).c_str());
}

// Begins file number `i` where it may be begun; `found` is what lies at its place.
ZipProblem begin(Found& found, NewFile& made, const Work& work, OpenDirectory& last,
                 std::uint32_t i) {
    const std::string_view name = planned_name(work.plan, i);
    found = Found::kNothing;
    ZipProblem problem;
    if (work.archive.entries[i].unpacked <= kShort) {
        bool is_taken = false;
        problem = begin_short_file(is_taken, made, last, work.destination, name);
        if (problem.status != 0 || !is_taken)
            return problem;
    }
    problem = look_at(found, last, work.destination, name);
    if (problem.status != 0)
        return problem;
    if (found != Found::kNothing && !work.options.replace)
        return {kUnzipWarning, "it is there already and left as it is; -o replaces it"};
    return begin_file(made, last, work.destination, name);
}

// Unpacks file number `i` to its place.
ZipProblem unpack_file(const Work& work, Unpacker& unpacker, OpenDirectory& last, std::uint32_t i) {
    const ZipEntry& entry = work.archive.entries[i];
    Found found = Found::kNothing;
    NewFile made;
    ZipProblem problem = begin(found, made, work, last, i);
    if (problem.status != 0)
        return problem;
    list_file(work, i);
    problem = unpack_entry(unpacker, work.archive, entry, made.file);
    if (problem.status != 0) {
        drop_file(made);
        return problem;
    }
    problem = finish_file(made, entry_mode(entry.made_by, entry.external, false, work.options.mask),
                          entry.times);
    if (problem.status == 0 && (found == Found::kLink || work.plan.entries[i].replaces_link))
        problem = {kUnzipWarning, "it replaces a symbolic link"};
    return problem;
}

// Reads the target of link number `i`, which is made when all files are there.
ZipProblem read_link(Work& work, Unpacker& unpacker, std::uint32_t i) {
    std::string target;
    ZipProblem problem =
        unpack_link_target(target, unpacker, work.archive, work.archive.entries[i]);
    if (problem.status != 0)
        return problem;
    if (lists_entries(work))
        std::printf(work.archive.entries[i].method == kZipStored ? "    linking: %-22s  -> %s \n"
                                                                 : "  inflating: %-22s  -> %s \n",
                    shown_entry(work, i).c_str(), printable(target).c_str());
    const std::lock_guard<std::mutex> held(work.lock);
    work.links[i] = target;
    return {};
}

// Checks an entry that a later one of the name replaces.
ZipProblem check_replaced(const Work& work, Unpacker& unpacker, std::uint32_t i) {
    list_file(work, i);
    return unpack_entry(unpacker, work.archive, work.archive.entries[i], -1);
}

// Checks the data of an entry, and then whether it would be unpacked.
ZipProblem check_only(const Work& work, Unpacker& unpacker, std::uint32_t i) {
    const ZipEntry& entry = work.archive.entries[i];
    const PlannedEntry& planned = work.plan.entries[i];
    ZipProblem problem{entry.status, entry.reason == nullptr ? "" : entry.reason};
    if (problem.status == 0)
        problem = unpack_entry(unpacker, work.archive, entry, -1);
    if (problem.status == 0 && planned.status != 0)
        problem = {planned.status, planned.reason};
    if (problem.status == 0 && planned.kind == EntryKind::kLink) {
        std::string target;
        problem = unpack_link_target(target, unpacker, work.archive, entry);
    }
    if (problem.status == 0 && lists_entries(work))
        std::printf("    testing: %-22s   OK\n",
                    printable(entry_name(work.archive, entry)).c_str());
    return problem;
}

ZipProblem work_on(Work& work, Unpacker& unpacker, OpenDirectory& last, std::uint32_t i) {
    const PlannedEntry& planned = work.plan.entries[i];
    if (work.options.check_only)
        return check_only(work, unpacker, i);
    if (planned.status != 0)
        return {planned.status, planned.reason};
    if (planned.is_replaced)
        return check_replaced(work, unpacker, i);
    if (planned.kind == EntryKind::kLink)
        return read_link(work, unpacker, i);
    if (planned.kind == EntryKind::kFile)
        return unpack_file(work, unpacker, last, i);
    if (lists_entries(work) &&
        std::binary_search(work.made_directories.begin(), work.made_directories.end(), i))
        std::printf("   creating: %s/\n", shown_entry(work, i).c_str());
    return {};
}

// The room that entry number `i` takes in the destination.
std::uint64_t room_of(const Work& work, std::uint32_t i) {
    const PlannedEntry& planned = work.plan.entries[i];
    const bool is_made =
        planned.status == 0 && !planned.is_replaced && planned.kind != EntryKind::kDirectory;
    return is_made ? in_blocks(work.archive.entries[i].unpacked, work.options.block) : 0;
}

// The room of all entries that are not done with.
std::uint64_t room_left(const Work& work) {
    std::uint64_t room = 0;
    for (std::uint32_t i = 0; i < work.plan.entries.size(); ++i)
        room += room_of(work, i);
    return room - work.finished;
}

void take_entry(Work& work, Unpacker& unpacker, OpenDirectory& last, std::uint32_t i) {
    const ZipEntry& entry = work.archive.entries[i];
    const std::uint64_t wanted = entry.status == 0 ? memory_needed(entry) : 0;
    const std::uint64_t memory = taken_memory(work, wanted);
    unpacker.in_pieces = memory < wanted;
    const ZipProblem problem = work_on(work, unpacker, last, i);
    give_memory(work, memory);
    note(work, i, problem);
    if (!ends_everything(problem))
        work.finished += room_of(work, i);
}

// What each thread does.
void* take_entries(void* shared) {
    Work& work = *static_cast<Work*>(shared);
    Unpacker unpacker;
    unpacker.stop = &work.stop;
    unpacker.written = &work.written;
    OpenDirectory last;
    if (!work.has_first_thread.exchange(true)) {
        for (std::size_t at = 0; at < work.short_ones.size() && !work.stop; ++at)
            take_entry(work, unpacker, last, work.short_ones[at]);
    }
    for (std::size_t at = work.next_long++; at < work.long_ones.size() && !work.stop;
         at = work.next_long++)
        take_entry(work, unpacker, last, work.long_ones[at]);
    const std::lock_guard<std::mutex> held(work.lock);
    --work.running;
    work.thread_ended.notify_all();
    return nullptr;
}

// Sorts the entries for the threads, and settles what memory they may take at a time.
void arrange(Work& work) {
    const std::vector<ZipEntry>& entries = work.archive.entries;
    std::uint64_t largest = 0;
    for (std::uint32_t i = 0; i < entries.size(); ++i) {
        // Where they are listed, one thread takes them all in their order.
        const bool is_short = lists_entries(work) || entries[i].unpacked <= kShort;
        (is_short ? work.short_ones : work.long_ones).push_back(i);
        if (entries[i].status == 0)
            largest = std::max(largest, memory_needed(entries[i]));
    }
    work.memory_at_most = largest + kCommonMemory;
    std::vector<std::uint32_t>& order = work.long_ones;
    std::stable_sort(order.begin(), order.end(), [&entries](std::uint32_t a, std::uint32_t b) {
        return entries[a].unpacked < entries[b].unpacked;
    });
    // The greatest takes longest and goes first; the smaller ones find memory beside it.
    if (!order.empty())
        std::rotate(order.begin(), order.end() - 1, order.end());
}

std::size_t wanted_threads(const Work& work) {
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    const std::size_t useful = work.long_ones.size() + (work.short_ones.empty() ? 0 : 1);
    return std::max<std::size_t>(
        1, std::min({kMostThreads, cores < 1 ? 1 : static_cast<std::size_t>(cores), useful}));
}

// Lets the threads work, watches for an interruption and shows how far they are.
void run_threads(Work& work) {
    std::vector<pthread_t> threads;
    const std::size_t wanted = wanted_threads(work);
    work.running = wanted;
    while (threads.size() < wanted) {
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, take_entries, &work) != 0)
            break;
        threads.push_back(thread);
    }
    {
        const std::lock_guard<std::mutex> held(work.lock);
        work.running -= wanted - threads.size();
        work.running += threads.empty() ? 1 : 0;
    }
    if (threads.empty())
        take_entries(&work);
    std::unique_lock<std::mutex> held(work.lock);
    while (work.running > 0) {
        work.thread_ended.wait_for(held, kLook);
        if (unzip_is_interrupted)
            work.stop = true;
        show_progress(work.written);
    }
    held.unlock();
    for (const pthread_t thread : threads)
        pthread_join(thread, nullptr);
    if (unzip_is_interrupted && work.end.status == 0)
        work.end = {kUnzipInterrupted, "interrupted"};
}

// Makes the directories of all entries in the archive's order, which settles the ones that an entry
// of their own has made: only those get a mode and times.
void make_directories(Work& work) {
    OpenDirectory last;
    for (std::uint32_t i = 0; i < work.plan.entries.size() && !work.stop; ++i) {
        const PlannedEntry& planned = work.plan.entries[i];
        if (planned.status != 0)
            continue;
        const std::string_view name = planned_name(work.plan, i);
        bool made = false;
        if (planned.kind == EntryKind::kDirectory) {
            note(work, i, make_directory(made, last, work.destination, name));
            if (made)
                work.made_directories.push_back(i);
        } else if (name.rfind('/') != std::string_view::npos) {
            // A failure is that of the file, which meets it again.
            make_directory(made, last, work.destination, name.substr(0, name.rfind('/')));
        }
    }
}

void make_links(Work& work) {
    if (lists_entries(work) && !work.links.empty())
        std::puts("finishing deferred symbolic links:");
    OpenDirectory last;
    for (const auto& [i, target] : work.links) {
        const std::string name(planned_name(work.plan, i));
        Found found = Found::kNothing;
        ZipProblem problem = look_at(found, last, work.destination, name);
        if (problem.status == 0 && found != Found::kNothing && !work.options.replace)
            problem = {kUnzipWarning, "it is there already and left as it is; -o replaces it"};
        if (problem.status == 0)
            problem = make_link(last, work.destination, name, target);
        if (problem.status == 0 && lists_entries(work))
            std::printf("  %-22s -> %s\n", shown_entry(work, i).c_str(), printable(target).c_str());
        note(work, i, problem);
    }
}

// Gives the directories mode and times, the inner ones first, since the mode of the outer one may
// forbid to go in.
void finish_directories(Work& work) {
    std::vector<std::uint32_t> order = work.made_directories;
    std::stable_sort(order.begin(), order.end(), [&work](std::uint32_t a, std::uint32_t b) {
        return planned_name(work.plan, a) > planned_name(work.plan, b);
    });
    OpenDirectory last;
    for (const std::uint32_t i : order) {
        const ZipEntry& entry = work.archive.entries[i];
        note(work, i,
             finish_directory(last, work.destination, planned_name(work.plan, i),
                              entry_mode(entry.made_by, entry.external, true, work.options.mask),
                              entry.times));
    }
}

int told_status(const Work& work) {
    int status = 0;
    for (const auto& [i, problem] : work.problems) {
        complain_of_entry(work.archive.path, entry_name(work.archive, work.archive.entries[i]),
                          problem.reason);
        status = std::max(status, problem.status);
    }
    return status;
}

} // namespace

ExtractionResult extract_archive(std::atomic<std::uint64_t>& written, const ZipArchive& archive,
                                 const Destination& destination, const ExtractionOptions& options) {
    const Plan plan = plan_of(archive, options.mask);
    Work work{.archive = archive,
              .plan = plan,
              .destination = destination,
              .options = options,
              .written = written};
    arrange(work);
    if (!options.check_only)
        make_directories(work);
    run_threads(work);
    if (!options.check_only) {
        if (!work.stop)
            make_links(work);
        finish_directories(work);
    }
    erase_progress();
    return {told_status(work), work.end, room_left(work)};
}

std::uint64_t unpacked_bytes(const ZipArchive& archive, std::uint64_t block) {
    std::uint64_t bytes = 0;
    for (const ZipEntry& entry : archive.entries) {
        if (entry.status == 0)
            bytes += in_blocks(entry.unpacked, block);
    }
    return bytes;
}
