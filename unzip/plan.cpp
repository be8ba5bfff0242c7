#include "unzip/plan.h"

#include "unzip/names.h"
#include "unzip/status.h"

#include <algorithm>
#include <sys/stat.h>

namespace {

void refuse(PlannedEntry& entry, const char* reason) {
    if (entry.status == 0) {
        entry.status = kUnzipBroken;
        entry.reason = reason;
    }
}

PlannedEntry planned(const ZipArchive& archive, const ZipEntry& entry, mode_t mask) {
    PlannedEntry made{};
    made.status = entry.status;
    made.reason = entry.reason;
    const bool is_directory = is_directory_entry(archive, entry);
    const mode_t mode = entry_mode(entry.made_by, entry.external, is_directory, mask);
    made.kind = is_directory    ? EntryKind::kDirectory
                : S_ISLNK(mode) ? EntryKind::kLink
                                : EntryKind::kFile;
    return made;
}

// Orders paths so that what lies in a directory follows it at once.
bool comes_before(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return x != y && (x == '/' || (y != '/' && x < y));
    });
}

bool lies_below(std::string_view name, std::string_view directory) {
    return name.size() > directory.size() && name[directory.size()] == '/' &&
           name.starts_with(directory);
}

// The numbers of the entries to unpack, by name, and those of one name in the archive's order.
std::vector<std::uint32_t> by_name(const Plan& plan) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < plan.entries.size(); ++i) {
        if (plan.entries[i].status == 0)
            order.push_back(i);
    }
    const auto is_less = [&plan](std::uint32_t a, std::uint32_t b) {
        return comes_before(planned_name(plan, a), planned_name(plan, b));
    };
    std::stable_sort(order.begin(), order.end(), is_less);
    return order;
}

// Settles which of the entries of one name, `order[from]` to `order[to - 1]`, is unpacked.
void settle_name(Plan& plan, const std::vector<std::uint32_t>& order, std::size_t from,
                 std::size_t to) {
    const bool is_directory = plan.entries[order[from]].kind == EntryKind::kDirectory;
    PlannedEntry* last = nullptr;
    bool had_link = false;
    for (std::size_t i = from; i < to; ++i) {
        PlannedEntry& entry = plan.entries[order[i]];
        if ((entry.kind == EntryKind::kDirectory) != is_directory) {
            refuse(entry, is_directory ? "the archive has a directory of that name before it"
                                       : "the archive has a file of that name before it");
        } else if (!is_directory) {
            if (last != nullptr)
                last->is_replaced = true;
            last = &entry;
            entry.replaces_link = had_link && entry.kind == EntryKind::kFile;
            had_link = had_link || entry.kind == EntryKind::kLink;
        }
    }
}

void settle_names(Plan& plan, const std::vector<std::uint32_t>& order) {
    for (std::size_t from = 0, to = 0; from < order.size(); from = to) {
        while (to < order.size() &&
               planned_name(plan, order[to]) == planned_name(plan, order[from]))
            ++to;
        settle_name(plan, order, from, to);
    }
}

// Of a file or link and an entry below its name the first one stands. `files_first` looks for the
// files that come too late, else for what lies below the others.
void settle_ways(Plan& plan, const std::vector<std::uint32_t>& order, bool files_first) {
    std::vector<std::uint32_t> above; // the files and links whose names begin this one's way
    for (const std::uint32_t i : order) {
        PlannedEntry& entry = plan.entries[i];
        const std::string_view name = planned_name(plan, i);
        while (!above.empty() && planned_name(plan, above.back()) != name &&
               !lies_below(name, planned_name(plan, above.back())))
            above.pop_back();
        for (const std::uint32_t other : above) {
            PlannedEntry& file = plan.entries[other];
            if (entry.status != 0 || file.status != 0 || planned_name(plan, other) == name)
                continue;
            if (files_first && i < other)
                refuse(file, "the archive has a directory of that name before it");
            else if (!files_first && other < i)
                refuse(entry, file.kind == EntryKind::kLink
                                  ? "its way leads through a symbolic link of the archive"
                                  : "its way leads through a file of the archive");
        }
        if (entry.kind != EntryKind::kDirectory)
            above.push_back(i);
    }
}

} // namespace

Plan plan_of(const ZipArchive& archive, mode_t mask) {
    Plan plan;
    plan.entries.reserve(archive.entries.size());
    plan.names.reserve(archive.names.size());
    for (const ZipEntry& entry : archive.entries) {
        PlannedEntry made = planned(archive, entry, mask);
        const std::string_view name = entry_name(archive, entry);
        const std::string plain = plain_name(name);
        const char* reason = unsafe_name(name);
        if (reason != nullptr)
            refuse(made, reason);
        else if (plain.empty() && made.kind != EntryKind::kDirectory)
            refuse(made, "its name is that of a directory");
        made.name_at = plan.names.size();
        made.name_length = static_cast<std::uint16_t>(plain.size());
        plan.names += plain;
        plan.entries.push_back(made);
    }
    const std::vector<std::uint32_t> order = by_name(plan);
    settle_names(plan, order);
    settle_ways(plan, order, true);
    settle_ways(plan, order, false);
    return plan;
}

std::uint64_t in_blocks(std::uint64_t bytes, std::uint64_t block) {
    return (bytes / block + (bytes % block == 0 ? 0 : 1)) * block;
}

std::string_view planned_name(const Plan& plan, std::size_t i) {
    const PlannedEntry& entry = plan.entries[i];
    return std::string_view(plan.names).substr(entry.name_at, entry.name_length);
}
