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

// The numbers of the entries to unpack, by name.
std::vector<std::uint32_t> by_name(const Plan& plan) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < plan.entries.size(); ++i) {
        if (plan.entries[i].status == 0)
            order.push_back(i);
    }
    const auto is_less = [&plan](std::uint32_t a, std::uint32_t b) {
        return comes_before(planned_name(plan, a), planned_name(plan, b));
    };
    std::sort(order.begin(), order.end(), is_less);
    return order;
}

constexpr std::uint32_t kNone = UINT32_MAX;

// A name that entries have, and what stands there so far: nothing, a directory, a file or a link.
struct Place {
    std::uint32_t first;         // an entry of the name
    std::uint32_t above = kNone; // the nearest place on the way here
    std::uint32_t last = kNone;  // the file or link that stands here
    bool is_directory = false;   // one stands here, for itself or for what lies below
    bool had_link = false;
};

// The places of the entries to unpack; `place_of` has the number of each entry's one.
std::vector<Place> places_of(std::vector<std::uint32_t>& place_of, const Plan& plan) {
    std::vector<Place> places;
    place_of.assign(plan.entries.size(), kNone);
    std::uint32_t last = kNone;
    for (const std::uint32_t i : by_name(plan)) {
        const std::string_view name = planned_name(plan, i);
        if (last == kNone || planned_name(plan, places[last].first) != name) {
            std::uint32_t above = last;
            while (above != kNone && !lies_below(name, planned_name(plan, places[above].first)))
                above = places[above].above;
            last = static_cast<std::uint32_t>(places.size());
            places.push_back({.first = i, .above = above});
        }
        place_of[i] = last;
    }
    return places;
}

// The file or link that stands in the way to `place`, or kNone.
std::uint32_t obstacle_of(const std::vector<Place>& places, const Place& place) {
    std::uint32_t above = place.above;
    // Above a directory there are directories only.
    while (above != kNone && !places[above].is_directory && places[above].last == kNone)
        above = places[above].above;
    return above == kNone ? kNone : places[above].last;
}

// Lets the file or link `i` stand at `place`.
void put(Plan& plan, Place& place, std::uint32_t i) {
    PlannedEntry& entry = plan.entries[i];
    if (place.last != kNone)
        plan.entries[place.last].is_replaced = true;
    place.last = i;
    entry.replaces_link = place.had_link && entry.kind == EntryKind::kFile;
    place.had_link = place.had_link || entry.kind == EntryKind::kLink;
}

// Settles what becomes of entry `i` after all those before it.
void settle(Plan& plan, std::vector<Place>& places, Place& place, std::uint32_t i) {
    PlannedEntry& entry = plan.entries[i];
    const bool is_directory = entry.kind == EntryKind::kDirectory;
    const std::uint32_t obstacle = obstacle_of(places, place);
    if (obstacle != kNone) {
        refuse(entry, plan.entries[obstacle].kind == EntryKind::kLink
                          ? "its way leads through a symbolic link of the archive"
                          : "its way leads through a file of the archive");
    } else if (is_directory && place.last != kNone) {
        refuse(entry, "the archive has a file of that name before it");
    } else if (!is_directory && place.is_directory) {
        refuse(entry, "the archive has a directory of that name before it");
    } else {
        for (std::uint32_t above = place.above; above != kNone && !places[above].is_directory;
             above = places[above].above)
            places[above].is_directory = true;
        if (is_directory)
            place.is_directory = true;
        else
            put(plan, place, i);
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
    std::vector<std::uint32_t> place_of;
    std::vector<Place> places = places_of(place_of, plan);
    for (std::uint32_t i = 0; i < plan.entries.size(); ++i) {
        if (place_of[i] != kNone)
            settle(plan, places, places[place_of[i]], i);
    }
    return plan;
}

std::uint64_t in_blocks(std::uint64_t bytes, std::uint64_t block) {
    return (bytes / block + (bytes % block == 0 ? 0 : 1)) * block;
}

std::string_view planned_name(const Plan& plan, std::size_t i) {
    const PlannedEntry& entry = plan.entries[i];
    return std::string_view(plan.names).substr(entry.name_at, entry.name_length);
}
