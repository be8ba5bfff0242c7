#include "cargo.h"

#include "base/directory.h"
#include "base/paths.h"
#include "bootstrap/tree_walk.h"
#include "findings.h"
#include "quiet_files.h"
#include "unzip/entry_data.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kBlock = 4096;
constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
// Names that one line about overwritten files lists.
constexpr std::size_t kNamesInLine = 3;
// Clashes of which a line each is said.
constexpr std::size_t kMostClashes = 20;

// Files of one origin that those of a later one replace with other contents.
using Overwritten = std::map<std::pair<std::size_t, std::size_t>, std::vector<std::string>>;

// What cannot be put where something else has arrived before.
struct Clash {
    std::string name;
    std::size_t origin = 0;
    std::size_t before = 0; // the origin of what is there
    const char* kind = "";  // of what arrives
};

struct Conflicts {
    Overwritten overwritten;
    std::vector<Clash> clashes;
};

std::string path_of(const Origin& origin, const std::string& name) {
    return joined_path(origin.path, origin.to.empty() ? name : name.substr(origin.to.size() + 1));
}

// Whether two files are known to hold other bytes.
bool differ(const std::string& one, const std::string& other) {
    std::string first;
    std::string second;
    constexpr std::size_t most = std::size_t{256} << 20;
    return one != other && read_quietly(first, one, most) && read_quietly(second, other, most) &&
           first != second;
}

// What cannot be read is not said to differ.
bool other_contents(const Cargo& cargo, const std::string& name, const CargoFile& one,
                    const CargoFile& other) {
    if (one.size != other.size)
        return true;
    const Origin& first = cargo.origins[one.origin];
    const Origin& second = cargo.origins[other.origin];
    if (first.is_archive && second.is_archive)
        return one.checksum != other.checksum;
    if (!first.is_archive && !second.is_archive)
        return differ(path_of(first, name), path_of(second, name));
    const bool first_is_file = !first.is_archive;
    std::string bytes;
    return read_quietly(bytes, path_of(first_is_file ? first : second, name), one.size + 1) &&
           checksum_of(bytes) != (first_is_file ? other : one).checksum;
}

// Whether what comes from `origin` cannot be put where `name` has arrived as a file before; then
// that is noted.
bool clashes(Cargo& cargo, const std::string& name, std::size_t origin, const char* text,
             Conflicts& conflicts) {
    const auto before = cargo.files.find(name);
    if (before == cargo.files.end())
        return false;
    // Only the unpacker refuses to go through links.
    if (before->second.is_link && !cargo.origins[origin].is_archive)
        return false;
    conflicts.clashes.push_back({name, origin, before->second.origin, text});
    cargo.hindered.insert(cargo.origins[origin].source);
    return true;
}

// False when a file is in the way of `name` and the directories above it.
bool add_directories_above(Cargo& cargo, const std::string& name, std::size_t origin,
                           Conflicts& conflicts) {
    for (std::size_t slash = name.rfind('/'); slash != std::string::npos && slash > 0;
         slash = name.rfind('/', slash - 1)) {
        const std::string above = name.substr(0, slash);
        if (clashes(cargo, above, origin, "a directory", conflicts))
            return false;
        const auto [at, is_new] = cargo.directories.try_emplace(above, origin);
        if (!is_new)
            return true;
    }
    return true;
}

void add_directory(Cargo& cargo, const std::string& name, std::size_t origin,
                   Conflicts& conflicts) {
    if (!clashes(cargo, name, origin, "a directory", conflicts) &&
        add_directories_above(cargo, name, origin, conflicts))
        cargo.directories.try_emplace(name, origin);
}

void add_file(Cargo& cargo, const std::string& name, const CargoFile& file, Conflicts& conflicts) {
    if (!add_directories_above(cargo, name, file.origin, conflicts))
        return;
    const auto directory = cargo.directories.find(name);
    if (directory != cargo.directories.end()) {
        conflicts.clashes.push_back({name, file.origin, directory->second, "a file"});
        cargo.hindered.insert(cargo.origins[file.origin].source);
        return;
    }
    const auto [before, is_new] = cargo.files.try_emplace(name, file);
    if (is_new)
        return;
    const bool replaces_link =
        before->second.is_link && !file.is_link && before->second.origin != file.origin;
    if (replaces_link && clashes(cargo, name, file.origin, "a file", conflicts))
        return;
    if (before->second.origin != file.origin && other_contents(cargo, name, before->second, file))
        conflicts.overwritten[{file.origin, before->second.origin}].push_back(name);
    before->second = file;
}

void load_archive(Cargo& cargo, const Places& places, const std::string& path, std::size_t source,
                  const Wanted& wanted, bool thorough, Conflicts& conflicts) {
    const Archive archive =
        thorough ? check_archive(path, shown_name(places, path), wanted, cargo.at_hand)
                 : list_archive(path);
    cargo.complete = cargo.complete && archive.readable;
    cargo.origins.push_back({path, "", true, source});
    const std::size_t origin = cargo.origins.size() - 1;
    for (const ArchiveEntry& entry : archive.entries) {
        if (entry.name.empty())
            continue;
        if (entry.is_directory) {
            add_directory(cargo, entry.name, origin, conflicts);
            continue;
        }
        cargo.unpacked[source] += entry.size;
        add_file(cargo, entry.name, {entry.size, entry.checksum, origin, entry.is_link}, conflicts);
    }
}

void load_tree(Cargo& cargo, const Source& from, std::size_t source, const Wanted& wanted,
               Conflicts& conflicts) {
    if (!is_directory(from.from))
        return;
    cargo.origins.push_back({from.from, from.to, false, source});
    const std::size_t origin = cargo.origins.size() - 1;
    TreeWalk walk = walk_over(from.from);
    while (next_step(walk)) {
        give_way_to_signals();
        const std::string below = path_in_list(walk, walk.directory, from.to);
        if (walk.step == WalkStep::kDirectoryOpened) {
            if (!below.empty()) {
                add_directory(cargo, below, origin, conflicts);
            }
            continue;
        }
        if (walk.step != WalkStep::kFile)
            continue;
        std::string name = below.empty() ? walk.name : joined_path(below, walk.name);
        if (name.starts_with('/'))
            name.erase(0, 1);
        const std::string path = entry_path(walk);
        const CargoFile file{size_of(path), 0, origin, false};
        cargo.unpacked[source] += file.size;
        if (is_wanted(wanted, name))
            cargo.at_hand[name] = path;
        add_file(cargo, name, file, conflicts);
    }
    cargo.complete = cargo.complete && walk.incomplete == 0;
}

void report_clashes(const Cargo& cargo, const Places& places, const std::vector<Clash>& clashes) {
    // Whole trees may clash at one name.
    std::set<std::pair<std::size_t, std::string>> told;
    for (const Clash& clash : clashes) {
        if (!told.insert({clash.origin, clash.name}).second)
            continue;
        const std::string file = shown_name(places, cargo.origins[clash.origin].path);
        if (told.size() > kMostClashes) {
            report_error(file, kNoLine,
                         "more of it is in the way of what was brought before: ship "
                         "each name once");
            return;
        }
        const auto before = cargo.files.find(clash.name);
        const char* found = before == cargo.files.end() ? "a directory"
                            : before->second.is_link    ? "a symbolic link"
                                                        : "a file";
        report_error(file, kNoLine,
                     std::string("it brings ") + clash.kind + " " + clash.name + ", where " +
                         shown_name(places, cargo.origins[clash.before].path) + " has brought " +
                         found + " before: ship only one of them");
    }
}

void report_overwritten(const Cargo& cargo, const Places& places, const Overwritten& overwritten) {
    for (const auto& [origins, names] : overwritten) {
        std::string list;
        for (std::size_t i = 0; i < std::min(names.size(), kNamesInLine); ++i)
            list.append(i == 0 ? "" : ", ").append(names[i]);
        if (names.size() > kNamesInLine)
            list += " and " + std::to_string(names.size() - kNamesInLine) + " more";
        report_warning(shown_name(places, cargo.origins[origins.first].path), kNoLine,
                       "it overwrites " + counted(names.size(), "file") + " of " +
                           shown_name(places, cargo.origins[origins.second].path) +
                           " with other contents: " + list + "; ship each file once");
    }
}

} // namespace

Cargo load_cargo(const Places& places, const Shipment& shipment, const Wanted& wanted,
                 bool thorough) {
    Cargo cargo;
    Conflicts conflicts;
    cargo.unpacked.resize(shipment.sources.size());
    for (std::size_t at = 0; at < shipment.sources.size(); ++at) {
        const Source& source = shipment.sources[at];
        if (source.kind == Source::Kind::tree) {
            load_tree(cargo, source, at, wanted, conflicts);
            continue;
        }
        for (const std::string& path : archives_in(source.from)) {
            give_way_to_signals();
            load_archive(cargo, places, path, at, wanted, thorough, conflicts);
        }
    }
    if (thorough) {
        report_clashes(cargo, places, conflicts.clashes);
        report_overwritten(cargo, places, conflicts.overwritten);
    }
    return cargo;
}

std::uint64_t megabytes_needed(const Cargo& cargo) {
    std::uint64_t bytes = cargo.directories.size() * kBlock;
    for (const auto& [name, file] : cargo.files)
        bytes += (file.size + kBlock - 1) / kBlock * kBlock;
    return (bytes + kMegabyte - 1) / kMegabyte;
}

std::set<std::string> names_in(const Cargo& cargo, const std::string& directory) {
    std::set<std::string> names;
    const std::string prefix = directory + "/";
    const auto take = [&](const std::string& path) {
        if (path.starts_with(prefix))
            names.insert(path.substr(prefix.size(), path.find('/', prefix.size()) - prefix.size()));
    };
    for (auto file = cargo.files.lower_bound(prefix);
         file != cargo.files.end() && file->first.starts_with(prefix); ++file)
        take(file->first);
    for (auto path = cargo.directories.lower_bound(prefix);
         path != cargo.directories.end() && path->first.starts_with(prefix); ++path)
        take(path->first);
    return names;
}

bool has(const Cargo& cargo, const std::string& name) {
    return cargo.files.contains(name) || cargo.directories.contains(name);
}
