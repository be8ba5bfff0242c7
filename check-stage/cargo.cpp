#include "cargo.h"

#include "base/directory.h"
#include "base/paths.h"
#include "bootstrap/tree_walk.h"
#include "findings.h"
#include "quiet_files.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kBlock = 4096;
constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
// Names that one line about overwritten files lists.
constexpr std::size_t kNamesInLine = 3;

// Files of one origin that those of a later one replace with other contents.
using Overwritten = std::map<std::pair<std::size_t, std::size_t>, std::vector<std::string>>;

std::string path_of(const Origin& origin, const std::string& name) {
    return joined_path(origin.path, origin.to.empty() ? name : name.substr(origin.to.size() + 1));
}

bool same_bytes(const std::string& one, const std::string& other) {
    std::string first;
    std::string second;
    constexpr std::size_t most = std::size_t{256} << 20;
    return read_quietly(first, one, most) && read_quietly(second, other, most) && first == second;
}

// The checksum that archives keep: CRC-32, its polynomial with the lowest bit first.
constexpr std::uint32_t kPolynomial = 0xedb88320;
std::uint32_t checksum_of(const std::string& bytes) {
    std::uint32_t sum = ~std::uint32_t{0};
    for (const char c : bytes) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 1U) != 0 ? sum >> 1U ^ kPolynomial : sum >> 1U;
    }
    return ~sum;
}

bool same_contents(const Cargo& cargo, const std::string& name, const CargoFile& one,
                   const CargoFile& other) {
    if (one.size != other.size)
        return false;
    const Origin& first = cargo.origins[one.origin];
    const Origin& second = cargo.origins[other.origin];
    if (first.is_archive && second.is_archive)
        return one.checksum == other.checksum;
    if (!first.is_archive && !second.is_archive)
        return same_bytes(path_of(first, name), path_of(second, name));
    const bool first_is_file = !first.is_archive;
    std::string bytes;
    return read_quietly(bytes, path_of(first_is_file ? first : second, name), one.size + 1) &&
           checksum_of(bytes) == (first_is_file ? other : one).checksum;
}

void add_directories_above(Cargo& cargo, const std::string& name) {
    for (std::size_t slash = name.rfind('/'); slash != std::string::npos && slash > 0;
         slash = name.rfind('/', slash - 1)) {
        if (!cargo.directories.insert(name.substr(0, slash)).second)
            return;
    }
}

void add_file(Cargo& cargo, const std::string& name, const CargoFile& file,
              Overwritten& overwritten) {
    add_directories_above(cargo, name);
    const auto [before, is_new] = cargo.files.try_emplace(name, file);
    if (is_new)
        return;
    if (before->second.origin != file.origin && !same_contents(cargo, name, before->second, file))
        overwritten[{file.origin, before->second.origin}].push_back(name);
    before->second = file;
}

void load_archive(Cargo& cargo, const Places& places, const std::string& path, std::size_t source,
                  const Wanted& wanted, bool thorough, Overwritten& overwritten) {
    const Archive archive =
        thorough ? check_archive(path, shown_name(places, path), wanted, cargo.at_hand)
                 : list_archive(path);
    cargo.complete = cargo.complete && archive.readable;
    cargo.origins.push_back({path, "", true, source});
    const std::size_t origin = cargo.origins.size() - 1;
    for (const ArchiveEntry& entry : archive.entries) {
        const std::string name = arriving_name(entry.name);
        if (name.empty() || name.starts_with("..") || name.starts_with('/'))
            continue;
        if (entry.is_directory) {
            cargo.directories.insert(name);
            add_directories_above(cargo, name);
            continue;
        }
        cargo.unpacked[source] += entry.size;
        add_file(cargo, name, {entry.size, entry.checksum, origin}, overwritten);
    }
}

void load_tree(Cargo& cargo, const Source& from, std::size_t source, const Wanted& wanted,
               Overwritten& overwritten) {
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
                cargo.directories.insert(below);
                add_directories_above(cargo, below);
            }
            continue;
        }
        if (walk.step != WalkStep::kFile)
            continue;
        std::string name = below.empty() ? walk.name : joined_path(below, walk.name);
        if (name.starts_with('/'))
            name.erase(0, 1);
        const std::string path = entry_path(walk);
        const CargoFile file{size_of(path), 0, origin};
        cargo.unpacked[source] += file.size;
        if (is_wanted(wanted, name))
            cargo.at_hand[name] = path;
        add_file(cargo, name, file, overwritten);
    }
    cargo.complete = cargo.complete && !walk.incomplete;
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
    Overwritten overwritten;
    cargo.unpacked.resize(shipment.sources.size());
    for (std::size_t at = 0; at < shipment.sources.size(); ++at) {
        const Source& source = shipment.sources[at];
        if (source.kind == Source::Kind::tree) {
            load_tree(cargo, source, at, wanted, overwritten);
            continue;
        }
        for (const std::string& path : archives_in(source.from)) {
            give_way_to_signals();
            load_archive(cargo, places, path, at, wanted, thorough, overwritten);
        }
    }
    if (thorough)
        report_overwritten(cargo, places, overwritten);
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
         path != cargo.directories.end() && path->starts_with(prefix); ++path)
        take(*path);
    return names;
}

bool has(const Cargo& cargo, const std::string& name) {
    return cargo.files.contains(name) || cargo.directories.contains(name);
}
