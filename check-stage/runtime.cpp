#include "runtime.h"

#include "archives.h"
#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "class_path.h"
#include "findings.h"
#include "program_files.h"
#include "quiet_files.h"

#include <algorithm>

namespace {

// Enough of a program to learn what it is for.
constexpr std::size_t kBeginningOfProgram = std::size_t{1} << 20;

bool given_runtime_is_there(const Settings& settings, const Shipment& shipment,
                            const Cargo& cargo) {
    if (settings.jreFullLoc.empty())
        return false;
    const std::string name = name_in_scratch(settings.jreFullLoc, settings.scratchLoc);
    if (name.empty())
        return !directory_entries(settings.jreFullLoc).names.empty();
    // Only what has arrived by then counts.
    for (auto file = cargo.files.lower_bound(name + "/");
         file != cargo.files.end() && file->first.starts_with(name + "/"); ++file) {
        if (cargo.origins[file->second.origin].source < shipment.sources_before_given_runtime)
            return true;
    }
    return false;
}

// The payload that findings about a brought runtime name.
std::string place_of_runtime(const Inspection& inspection, const Shipment& shipment) {
    for (const Source& source : shipment.sources) {
        if (source.what == "talvex.swd.jre" || source.what == "talvex.jdk")
            return shown_name(inspection.places, source.from);
    }
    return inspection.parameter_name;
}

void check_brought_runtime(const Inspection& inspection, const Shipment& shipment,
                           const Cargo& cargo) {
    const std::string place = place_of_runtime(inspection, shipment);
    const std::set<std::string> homes = names_in(cargo, "jre");
    if (homes.empty()) {
        report_error(
            place, kNoLine,
            std::string("the runtime brings nothing below jre/, and every launch ends: "
                        "pack the runtime's home as ") +
                (shipment.runtime_is_kit ? "jdk/, and something below jre/" : "jre/NAME/"));
    } else if (homes.size() > 1 && !shipment.runtime_is_kit) {
        std::string list;
        for (const std::string& home : homes)
            list.append(list.empty() ? "" : ", ").append(home);
        report_error(place, kNoLine,
                     "the runtime brings " + std::to_string(homes.size()) +
                         " entries below jre/ (" + list +
                         "), and the file system decides which of them is started: leave "
                         "one");
    }
}

void check_demands(const Inspection& inspection, const Settings& settings, const Cargo& cargo) {
    const bool runtime_only = launcher_state::useJreOnly == "TRUE";
    const bool kit_only = launcher_state::useJdkOnly == "TRUE";
    const std::string& file = inspection.parameter_name;
    if (runtime_only && kit_only) {
        report_warning(file, inspection.line_of("USEJDKONLY"),
                       "USEJREONLY and USEJDKONLY are both TRUE, and every runtime that an "
                       "operator names is refused: leave one");
        return;
    }
    if (!runtime_only && !kit_only)
        return;
    const std::string home = name_in_scratch(settings.jreDirLoc, settings.scratchLoc);
    const auto brings = [&](const char* library) {
        const std::string name = joined_path(joined_path(settings.jreDirLoc, "lib"), library);
        return home.empty() ? PathExists(name)
                            : cargo.files.contains(name_in_scratch(name, settings.scratchLoc));
    };
    const bool is_runtime = brings("rt.jar") || brings("core.jar");
    if (kit_only && is_runtime)
        report_warning(file, inspection.line_of("USEJDKONLY"),
                       "USEJDKONLY is TRUE, but the runtime that is shipped is no development kit: "
                       "operators have to name a kit where the shipped runtime would do");
    if (runtime_only && !is_runtime)
        report_warning(file, inspection.line_of("USEJREONLY"),
                       "USEJREONLY is TRUE, but the runtime that is shipped has neither lib/rt.jar "
                       "nor lib/core.jar: named by an operator, it would be refused itself");
}

// Whether the java program is there; what it is, when it can be looked into.
bool find_program(const Settings& settings, const Inspection& inspection, const Cargo& cargo,
                  std::string& path) {
    std::string program = settings.jreDirLoc;
    GetFullFileName(&program, "bin");
    program += "/java";
    const std::string name = name_in_scratch(program, settings.scratchLoc);
    if (name.empty()) {
        path = absolute_path(inspection.places, program);
        return kind_of(path) != FileKind::missing;
    }
    const auto at_hand = cargo.at_hand.find(name);
    path = at_hand == cargo.at_hand.end() ? "" : at_hand->second;
    return has(cargo, name);
}

void check_program(const Inspection& inspection, const Settings& settings, const Shipment& shipment,
                   const Cargo& cargo) {
    std::string path;
    const std::string place = shipment.brings_runtime ? place_of_runtime(inspection, shipment)
                                                      : inspection.parameter_name;
    const std::size_t line = shipment.brings_runtime ? kNoLine : inspection.line_of("JRE_LOCATION");
    if (!find_program(settings, inspection, cargo, path)) {
        const std::string name = name_in_scratch(settings.jreDirLoc, settings.scratchLoc);
        const std::string home = name.empty() ? settings.jreDirLoc : name;
        if (shipment.brings_runtime)
            report_error(place, kNoLine,
                         "the runtime brings no " + joined_path(home, "bin/java") +
                             ", and every launch ends: pack a whole runtime");
        else if (inspection.is_stage && !archives_in(inspection.settings.jreDirLoc).empty())
            report_error(
                place, inspection.line_of("BOOTSTRAP_COMPS"),
                "BOOTSTRAP_COMPS does not name talvex.swd.jre, so a launch does not unpack "
                "the runtime of JRE_LOCATION, and ends: add talvex.swd.jre to the list");
        else if (inspection.gives("JRE_LOCATION"))
            report_error(place, line,
                         "JRE_LOCATION leads to no Java runtime: there is no " +
                             joined_path(inspection.settings.jreDirLoc, "bin/java") +
                             "; correct it");
        else
            report_error(
                place, line,
                "no Java runtime is known, and every launch ends: write the runtime's home "
                "as JRE_LOCATION");
        return;
    }
    std::string bytes;
    if (path.empty() || !read_quietly(bytes, path, kBeginningOfProgram))
        return;
    const std::string name =
        name_in_scratch(settings.jreDirLoc, settings.scratchLoc).empty() && !shipment.brings_runtime
            ? shown_name(inspection.places, path)
            : place;
    check_machine(read_elf(bytes), inspection.launcher, name,
                  "ship a runtime for the launcher's system");
}

} // namespace

void settle_runtime(Settings& settings, const Shipment& shipment, const Cargo& cargo) {
    if (given_runtime_is_there(settings, shipment, cargo)) {
        settings.jreDirLoc = settings.jreFullLoc;
    } else if (shipment.brings_runtime) {
        const std::set<std::string> homes = names_in(cargo, "jre");
        settings.jreDirLoc = shipment.runtime_is_kit ? settings.scratchLoc + "/jdk/"
                             : homes.empty()         ? settings.scratchLoc + "/jre"
                                             : settings.scratchLoc + "/jre/" + *homes.begin();
    }
}

void check_runtime(const Inspection& inspection, const Settings& settings, const Shipment& shipment,
                   const Cargo& cargo) {
    if (shipment.has_no_runtime) {
        report_error(inspection.parameter_name, inspection.line_of("BOOTSTRAP_COMPS"),
                     "the component talvex.swd.jre is to be brought, but neither it nor talvex.jdk "
                     "has a payload, and every launch ends: ship a runtime");
        return;
    }
    if (!cargo.complete)
        return; // what could not be read is said already, and may hold all that seems to be missing
    if (shipment.brings_runtime)
        check_brought_runtime(inspection, shipment, cargo);
    const bool asked = inspection.bootstraps && settings.jreDirLoc.empty();
    if (!asked && !(shipment.brings_runtime && names_in(cargo, "jre").empty()))
        check_program(inspection, settings, shipment, cargo);
    check_demands(inspection, settings, cargo);
}
