#include "surroundings.h"

#include "base/directory.h"
#include "base/paths.h"
#include "findings.h"
#include "quiet_files.h"
#include "setupLauncher/options.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// Lines of one kind, before the rest is only counted.
constexpr std::size_t kMostLines = 50;

struct Walk {
    const Inspection& inspection;
    std::vector<std::string> pending; // directories that are still to be looked at
    std::set<std::string> needed;     // without these no launch gets far
    std::vector<std::string> brought; // directories of which everything is needed
    std::vector<std::string> copied;  // those of them that are copied
    std::size_t unreadable = 0;
    std::size_t odd_links = 0;
};

// Of a stage anybody may be the user; a home belongs to somebody, who may keep it from others.
bool user_can_read(const struct stat& found, bool is_stage) {
    const mode_t read = is_stage ? S_IROTH : S_IRUSR;
    const mode_t search = is_stage ? S_IXOTH : S_IXUSR;
    const mode_t wanted = S_ISDIR(found.st_mode) ? read | search : read;
    return (found.st_mode & wanted) == wanted;
}

bool lies_in(const std::string& path, const std::string& directory) {
    return path == directory || path.starts_with(directory == "/" ? directory : directory + "/");
}

bool lies_in_one(const std::string& path, const std::vector<std::string>& directories) {
    return std::any_of(directories.begin(), directories.end(),
                       [&path](const std::string& directory) { return lies_in(path, directory); });
}

// Whether a launch needs `path` itself or something below it.
bool is_needed(const Walk& walk, const std::string& path) {
    if (lies_in_one(path, walk.brought))
        return true;
    const auto next = walk.needed.lower_bound(path);
    return next != walk.needed.end() && (*next == path || next->starts_with(path + "/"));
}

void check_mode(Walk& walk, const std::string& path, const struct stat& found) {
    if (user_can_read(found, walk.inspection.is_stage) || walk.unreadable++ >= kMostLines)
        return;
    const bool directory = S_ISDIR(found.st_mode);
    const std::string text =
        std::string("ordinary users cannot read this ") +
        (directory ? "directory: give it the mode 755" : "file: give it the mode 644");
    const std::string name = shown_name(walk.inspection.places, path);
    // A program may be run by those who cannot read it, but hardly anybody means that.
    if (is_needed(walk, path))
        report_error(name, kNoLine, text);
    else
        report_warning(name, kNoLine, text);
}

void check_link(Walk& walk, const std::string& path) {
    const bool ends_copy = kind_of(path) == FileKind::missing && lies_in_one(path, walk.copied);
    if (!walk.inspection.is_stage && !ends_copy)
        return; // a home leads to the runtime that is installed beside it
    std::vector<char> target(PATH_MAX + 1);
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    const std::string leads_to(target.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    const std::string name = shown_name(walk.inspection.places, path);
    if (ends_copy) {
        report_error(name, kNoLine,
                     "this link leads nowhere (" + leads_to +
                         "), and the launch that copies it ends: put what it should lead to in its "
                         "place");
        return;
    }
    std::vector<char> resolved(PATH_MAX + 1);
    std::string text;
    if (realpath(path.c_str(), resolved.data()) == nullptr) {
        text = errno == ELOOP ? "in a circle" : errno == ENOENT ? "nowhere" : "where nobody gets";
    } else if (leads_to.starts_with('/')) {
        text = "to an absolute path, which is another thing on other machines";
    } else {
        const std::string& top = walk.inspection.places.directory;
        const std::string stage =
            lies_in(walk.inspection.places.components, top) ||
                    walk.inspection.places.components.empty()
                ? top
                : cut_at_last_slash(cut_at_last_slash(walk.inspection.places.components));
        if (!lies_in(resolved.data(), stage))
            text = "outside of the stage";
    }
    if (text.empty() || walk.odd_links++ >= kMostLines)
        return;
    report_warning(name, kNoLine,
                   "this link leads " + text + " (" + leads_to +
                       "): put what it should lead to in its place");
}

void look_at(Walk& walk, const std::string& path) {
    struct stat found {};
    if (lstat(path.c_str(), &found) != 0)
        return; // it has gone since its directory was read, or that said so already
    if (S_ISLNK(found.st_mode)) {
        check_link(walk, path);
        return; // what lies inside is looked at where it is
    }
    check_mode(walk, path, found);
    if (S_ISDIR(found.st_mode))
        walk.pending.push_back(path);
    else if (!S_ISREG(found.st_mode))
        report_warning(shown_name(walk.inspection.places, path), kNoLine,
                       "this is neither a file nor a directory nor a link: remove it");
}

void look_into(Walk& walk, const std::string& directory) {
    DIR* stream = open_directory(directory);
    if (stream == nullptr) {
        if (errno != ENOENT)
            report_note(shown_name(walk.inspection.places, directory), kNoLine,
                        "what lies in this directory was not checked: it cannot be read here");
        return;
    }
    std::vector<DirectoryEntry> entries;
    for (bool more = true; more;) {
        more = next_entries(entries, stream);
        for (const DirectoryEntry& entry : entries) {
            give_way_to_signals();
            look_at(walk, joined_path(directory, entry.name));
        }
        more = more && !entries.empty();
    }
    closedir(stream);
}

// The launcher looks for its options in the path that it is started by, too.
void check_path_of_launcher(const Inspection& inspection) {
    const std::string path = joined_path(inspection.places.launcher_directory, kLauncherName);
    std::string found(option_in(path, true));
    if (found.empty())
        found = handed_on_name_in(path);
    if (!found.empty())
        report_warning(
            shown_name(inspection.places, path), kNoLine,
            "the path " + path + " contains \"" + found +
                "\" (in any letters), and a launch by that path takes it for the option: "
                "rename the directory");
}

} // namespace

void check_surroundings(const Inspection& inspection, const Shipment& shipment) {
    const Places& places = inspection.places;
    Walk walk{inspection, {}, {}, {}, {}};
    const auto need = [&](const std::string& path) {
        if (!path.empty())
            walk.needed.insert(absolute_path(places, path));
    };
    need(joined_path(places.launcher_directory, kLauncherName));
    need(places.parameter_file);
    need(joined_path(places.launcher_directory, "resource/cons.nls"));
    if (inspection.bootstraps && inspection.is_stage)
        need(joined_path(places.launcher_directory, kUnpackerName));
    for (const Source& source : shipment.sources) {
        const bool is_copied = source.kind == Source::Kind::tree && source.required;
        // A location that is not given leads to the launcher's own directory.
        if (source.given.empty() || (source.kind != Source::Kind::archives && !is_copied))
            continue;
        walk.brought.push_back(absolute_path(places, source.from));
        if (is_copied)
            walk.copied.push_back(walk.brought.back());
        need(source.from);
    }
    look_at(walk, places.directory);
    for (const std::string& apart : {places.components, places.parameter_file}) {
        if (!apart.empty() && !lies_in(apart, places.directory))
            look_at(walk, apart);
    }
    // Links are not followed, so that every way ends.
    while (!walk.pending.empty()) {
        const std::string directory = walk.pending.back();
        walk.pending.pop_back();
        look_into(walk, directory);
    }
    for (const std::size_t count : {walk.unreadable, walk.odd_links}) {
        if (count > kMostLines)
            report_warning(".", kNoLine,
                           "the same holds for " + std::to_string(count - kMostLines) + " more");
    }
    check_path_of_launcher(inspection);
}
