#include "components.h"

#include "archives.h"
#include "base/directory.h"
#include "base/paths.h"
#include "base/text.h"
#include "bootstrap/stage_layout.h"
#include "bootstrap/version.h"
#include "findings.h"
#include "parameter_file.h"
#include "quiet_files.h"
#include "versions.h"

#include <algorithm>
#include <set>

namespace {

// Names that one line about payloads without a component lists.
constexpr std::size_t kNamesInLine = 5;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::vector<std::string> directories_in(const std::string& directory) {
    std::vector<std::string> names = directory_entries(directory).names;
    std::erase_if(names, [&](const std::string& name) {
        return !is_directory(joined_path(directory, name));
    });
    std::sort(names.begin(), names.end());
    return names;
}

std::string listed(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list.append(list.empty() ? "" : ", ").append(name);
    return list;
}

bool has_archive(const std::string& payload) {
    return !archives_in(payload).empty();
}

// What is missing of a component, or an empty text.
std::string missing_of(const std::string& root, const ComponentEntry& entry, std::string& place) {
    const char* out_of_reach = "it cannot be looked into here: see its mode";
    place = joined_path(root, entry.name);
    if (kind_of(place) == FileKind::directory && !can_be_looked_into(place))
        return out_of_reach;
    if (!is_directory(place)) {
        const std::string like = nearest(entry.name, directories_in(root));
        return "the stage has no such component" +
               (like.empty() ? "" : "; did you mean " + like + "?");
    }
    const std::vector<std::string> versions = directories_in(place);
    std::string version = entry.version;
    if (version.empty()) {
        findHighestVersion(version, place);
        if (std::find(versions.begin(), versions.end(), version) == versions.end())
            return "no directory of it is named by a version";
    }
    place = joined_path(place, version);
    if (!is_directory(place)) {
        return "it has no version " + version +
               (versions.empty() ? "" : ", but " + listed(versions));
    }
    place = joined_path(place, kPayload);
    if (kind_of(place) == FileKind::out_of_reach)
        return out_of_reach;
    if (!is_directory(place))
        return "it has no payload directory " + std::string(kPayload) + " in version " + version;
    if (!can_be_looked_into(place))
        return out_of_reach;
    if (!has_archive(place))
        return "its payload in version " + version + " has no archive, no file *.jar";
    return "";
}

bool check_listed(const Inspection& inspection, const std::string& root) {
    bool all_there = true;
    const std::size_t line = inspection.line_of("BOOTSTRAP_COMPS");
    std::set<std::string> seen;
    for (const std::string& text : inspection.settings.sBootStrapComps) {
        const ComponentEntry entry = component_of(text);
        const std::string start = "BOOTSTRAP_COMPS names " + quoted(text) + ": ";
        if (trimmed(text) != text) {
            report_error(inspection.parameter_name, line,
                         start + "the blank belongs to the name, and there is no such component; "
                                 "remove it");
            all_there = false;
            continue;
        }
        if (!seen.insert(entry.name).second)
            report_warning(inspection.parameter_name, line,
                           start + "the component is named twice; name it once");
        std::string place;
        const std::string missing = missing_of(root, entry, place);
        // The kit may stand in for the runtime, and its location may have been given.
        const bool replaced =
            entry.name == kRuntime && (PathExists(inspection.settings.jreDirLoc) ||
                                       PathExists(highest_payload_of(root, kDevelopmentKit)));
        if (!missing.empty() && entry.name == kRuntime && !replaced)
            continue; // said of the runtime
        if (!missing.empty() && !replaced) {
            report_error(inspection.parameter_name, line, start + missing);
            all_there = false;
        } else if (entry.name == kRuntime && !entry.version.empty()) {
            const std::string wanted = payload_of(root, kRuntime, entry.version);
            const std::string& given = inspection.settings.jreDirLoc;
            const std::string taken =
                PathExists(given) ? given : highest_payload_of(root, kRuntime);
            if (absolute_path(inspection.places, taken) != absolute_path(inspection.places, wanted))
                report_warning(inspection.parameter_name, line,
                               start + "the version of the runtime has no effect here, and " +
                                   shown_name(inspection.places, taken) +
                                   " is taken; write its payload as JRE_LOCATION");
        }
    }
    return all_there;
}

// Without a list all known components are brought.
bool check_unlisted(const Inspection& inspection, const std::string& root) {
    bool all_there = true;
    struct Known {
        const char* name;
        const char* key;
        const std::string& location;
        bool required;
    };
    const Settings& settings = inspection.settings;
    const Known known[] = {
        {kInstaller, "ZUL_LOCATION", settings.zulLoc, true},
        {kCore, "ZUL_CORE_LOCATION", settings.zulCoreLoc, false},
        {kMinimalCore, "ZUL_CORE_MIN_LOCATION", settings.zulCoreMinLoc, false},
        {kPatchTool, "TESSEL_LOCATION", settings.tesselLoc, true},
    };
    for (const Known& component : known) {
        if (PathExists(component.location) ? has_archive(component.location)
                                           : has_archive(highest_payload_of(root, component.name)))
            continue;
        const std::string text =
            std::string("there is no BOOTSTRAP_COMPS, so ") + component.name +
            " is to be brought, but it has no payload: ship it, or list what is to be brought";
        all_there = all_there && !component.required;
        if (component.required)
            report_error(inspection.parameter_name, inspection.line_of(component.key), text);
        else
            report_warning(inspection.parameter_name, inspection.line_of(component.key), text);
    }
    return all_there;
}

// Where the highest version was taken: whether a person would have taken it.
void check_highest(const Inspection& inspection, const std::string& root, const std::string& name) {
    const std::string directory = joined_path(root, name);
    const std::vector<std::string> versions = directories_in(directory);
    std::string taken;
    findHighestVersion(taken, directory);
    if (std::find(versions.begin(), versions.end(), taken) == versions.end())
        return;
    Contenders others = contenders(taken, versions);
    const std::string place = shown_name(inspection.places, directory);
    const std::string remedy = "name the version in BOOTSTRAP_COMPS, or remove the other";
    if (!others.alike.empty()) {
        others.alike.push_back(taken);
        std::sort(others.alike.begin(), others.alike.end());
        report_warning(place, kNoLine,
                       "to a launch the versions " + listed(others.alike) +
                           " are alike, and the file system decides which is taken: only five "
                           "numbers count; " +
                           remedy);
    }
    if (!others.higher.empty())
        report_warning(place, kNoLine,
                       "a launch takes version " + taken + " for the highest, not " +
                           listed(others.higher) +
                           ": a version begins with a number, and no "
                           "number is above 2147483647; " +
                           remedy);
}

void check_versions(const Inspection& inspection, const std::string& root) {
    const Settings& settings = inspection.settings;
    if (settings.sBootStrapComps.empty()) {
        const std::pair<const char*, const std::string&> known[] = {
            {kInstaller, settings.zulLoc},
            {kCore, settings.zulCoreLoc},
            {kMinimalCore, settings.zulCoreMinLoc},
            {kPatchTool, settings.tesselLoc},
            {kRuntime, settings.jreDirLoc}};
        for (const auto& [name, location] : known) {
            if (!PathExists(location))
                check_highest(inspection, root, name);
        }
        return;
    }
    for (const std::string& text : settings.sBootStrapComps) {
        const ComponentEntry entry = component_of(text);
        if (entry.name == kRuntime ? !PathExists(settings.jreDirLoc) : entry.version.empty())
            check_highest(inspection, root, entry.name);
    }
}

// A Java home that leads nowhere although something stands in for it.
void check_java_location(const Inspection& inspection, const Shipment& shipment) {
    const std::string& location = inspection.settings.jreDirLoc;
    const std::size_t line = inspection.line_of("JRE_LOCATION");
    if (location.empty()) {
        if (!directories_in(joined_path(stage_root(), kRuntime)).empty() &&
            inspection.settings.jreFullLoc.empty())
            report_warning(inspection.parameter_name, line,
                           "there is no JRE_LOCATION, so a launch asks for a Java runtime instead "
                           "of bringing the one that is shipped: write its payload there");
        return;
    }
    if (PathExists(location) || shipment.has_no_runtime || !shipment.brings_runtime)
        return;
    for (const Source& source : shipment.sources) {
        if (source.what == kRuntime || source.what == kDevelopmentKit)
            report_warning(inspection.parameter_name, line,
                           "JRE_LOCATION leads nowhere, and a launch takes " +
                               shown_name(inspection.places, source.from) + " instead: correct it");
    }
}

void report_payloads_without_component(const Inspection& inspection, const Shipment& shipment) {
    const std::string root = inspection.places.components;
    std::set<std::string> brought;
    for (const Source& source : shipment.sources)
        brought.insert(absolute_path(inspection.places, source.from));
    std::vector<std::string> unnamed;
    for (const std::string& name : directories_in(root)) {
        // Why a runtime is not brought is said of the Java location.
        if (!shipment.brings_runtime && (name == kRuntime || name == kDevelopmentKit))
            continue;
        for (const std::string& version : directories_in(joined_path(root, name))) {
            const std::string payload =
                joined_path(joined_path(joined_path(root, name), version), kPayload);
            if (is_directory(payload) && !brought.contains(payload))
                unnamed.push_back(joined_path(name, version));
        }
    }
    if (unnamed.empty())
        return;
    std::string list;
    for (std::size_t i = 0; i < std::min(unnamed.size(), kNamesInLine); ++i)
        list.append(i == 0 ? "" : ", ").append(unnamed[i]);
    if (unnamed.size() > kNamesInLine)
        list += " and " + std::to_string(unnamed.size() - kNamesInLine) + " more";
    report_note(shown_name(inspection.places, root), kNoLine,
                "no launch brings " + counted(unnamed.size(), "payload") + " that lie" +
                    (unnamed.size() == 1 ? "s" : "") + " here: " + list +
                    "; list in BOOTSTRAP_COMPS what the launcher is to bring");
}

} // namespace

bool check_components(const Inspection& inspection, const Shipment& shipment) {
    const std::string root = stage_root();
    const bool all_there = inspection.settings.sBootStrapComps.empty()
                               ? check_unlisted(inspection, root)
                               : check_listed(inspection, root);
    check_versions(inspection, root);
    check_java_location(inspection, shipment);
    if (all_there && !inspection.places.components.empty())
        report_payloads_without_component(inspection, shipment);
    return all_there;
}
