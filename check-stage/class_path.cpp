#include "class_path.h"

#include "archives.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/text.h"
#include "findings.h"
#include "quiet_files.h"
#include "setupLauncher/installer_command.h"
#include "setupLauncher/scratch.h"

#include <algorithm>

namespace {

// The file behind an entry of the class path, empty when there is none.
std::string file_of(const std::string& entry, const Inspection& inspection,
                    const Settings& settings, const Cargo& cargo, bool& is_there) {
    const std::string name = name_in_scratch(entry, settings.scratchLoc);
    if (!name.empty()) {
        const auto at_hand = cargo.at_hand.find(name);
        is_there = has(cargo, name);
        return at_hand == cargo.at_hand.end() ? "" : at_hand->second;
    }
    // The installer of a bootstrapping launch runs elsewhere: what is relative leads nowhere then.
    const bool lost = inspection.bootstraps && !entry.starts_with('/');
    const std::string path = absolute_path(inspection.places, entry);
    is_there = !lost && kind_of(path) != FileKind::missing;
    return is_there ? path : "";
}

std::string last_name(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string class_file(const std::string& class_name) {
    std::string file = class_name;
    std::replace(file.begin(), file.end(), '.', '/');
    return file + ".class";
}

struct EntryClass {
    const char* key;
    const std::string& name;
    bool found = false;
};

// How findings call the file, or the archive that brings it.
std::string place_of(const std::string& entry, const std::string& path,
                     const Inspection& inspection, const Settings& settings, const Cargo& cargo) {
    const auto brought = cargo.files.find(name_in_scratch(entry, settings.scratchLoc));
    return shown_name(inspection.places, brought == cargo.files.end()
                                             ? path
                                             : cargo.origins[brought->second.origin].path);
}

// Looks for every class in a jar or a directory of classes.
void look_into(const std::string& path, const std::string& entry, const std::string& place,
               std::vector<EntryClass>& classes, bool& all_read) {
    if (kind_of(path) == FileKind::directory) {
        for (EntryClass& wanted : classes)
            wanted.found = wanted.found ||
                           kind_of(joined_path(path, class_file(wanted.name))) == FileKind::regular;
        return;
    }
    const Archive jar = list_archive(path);
    if (!jar.readable) {
        all_read = false;
        report_warning(place, kNoLine,
                       "the jar " + last_name(entry) +
                           " of the class path cannot be read, and Java passes over it: put a "
                           "sound one there");
    }
    for (EntryClass& wanted : classes) {
        const std::string file = class_file(wanted.name);
        wanted.found = wanted.found ||
                       std::any_of(jar.entries.begin(), jar.entries.end(),
                                   [&](const ArchiveEntry& in_jar) { return in_jar.name == file; });
    }
}

void report_missing_class(const Inspection& inspection, const EntryClass& wanted, bool all_read) {
    const bool one_click = std::string_view(wanted.key) == "INSTALL_ONECLICK_CLASS";
    const std::string said = std::string("the class ") + wanted.name + " of " + wanted.key +
                             (inspection.gives(wanted.key) ? "" : ", its default,");
    const std::size_t line = inspection.line_of(wanted.key);
    const std::string& file = inspection.parameter_name;
    if (!all_read)
        report_note(file, line, said + " could not be looked for: not every jar can be read");
    else if (!one_click)
        report_error(file, line,
                     said + " is in no jar of the class path: bring the jar that holds it, or "
                            "correct the name");
    else if (inspection.gives(wanted.key))
        report_warning(file, line,
                       said + " is in no jar of the class path, and launches with -oneclick fail: "
                              "bring the jar that holds it, or correct the name");
    else
        report_note(file, line,
                    said + " is in no jar of the class path: launches with -oneclick fail");
}

} // namespace

std::string name_in_scratch(const std::string& path, const std::string& scratch) {
    return path.starts_with(scratch + "/") ? path.substr(scratch.size() + 1) : "";
}

std::vector<std::string> class_path_entries(const Settings& settings) {
    Settings work = settings;
    DerivedLocations locations;
    GetRestOfParams(work, locations);
    const CommandLine command_line;
    std::string here;
    GetCurrentDir(here);
    const InstallerCommandInput input{locations, work, command_line, here, "", false};
    return split(installer_class_path(input), ":");
}

void check_class_path(const Inspection& inspection, const Settings& settings, const Cargo& cargo) {
    std::vector<EntryClass> classes = {
        {"INSTALL_CLASS", settings.sEntryPoint},
        {"INSTALL_ONECLICK_CLASS", settings.sOneClickEntryPoint},
    };
    std::vector<std::string> missing;
    bool all_read = cargo.complete;
    std::vector<std::string> entries = class_path_entries(settings);
    for (const std::string& name : names_in(cargo, "ext/jlib"))
        entries.push_back(settings.scratchLoc + "/ext/jlib/" + name);
    for (const std::string& entry : entries) {
        if (entry == settings.scratchLoc)
            continue;
        bool is_there = false;
        const std::string path = file_of(entry, inspection, settings, cargo, is_there);
        if (!path.empty())
            look_into(path, entry, place_of(entry, path, inspection, settings, cargo), classes,
                      all_read);
        else if (is_there)
            all_read = false;
        else if (std::find(missing.begin(), missing.end(), last_name(entry)) == missing.end())
            missing.push_back(last_name(entry));
    }
    for (EntryClass& wanted : classes) {
        wanted.found = wanted.found || cargo.files.contains(class_file(wanted.name));
        if (!wanted.found)
            report_missing_class(inspection, wanted, all_read);
    }
    if (missing.empty())
        return;
    std::string list;
    for (const std::string& name : missing)
        list.append(list.empty() ? "" : ", ").append(name);
    report_note(inspection.parameter_name, kNoLine,
                "nothing brings " + counted(missing.size(), "jar") + " of the class path: " + list);
}
