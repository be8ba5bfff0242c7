#include "inspect.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "bootstrap/stage_layout.h"
#include "bootstrap/tree_walk.h"
#include "cargo.h"
#include "catalogues.h"
#include "class_path.h"
#include "components.h"
#include "findings.h"
#include "inspection.h"
#include "parameter_file.h"
#include "prerequisites.h"
#include "program_files.h"
#include "quiet_files.h"
#include "runtime.h"
#include "setting_values.h"
#include "setupLauncher/decisions.h"
#include "shipment.h"
#include "surroundings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

// A launch reads such a file whole, dozens of times; nobody writes one of this size.
constexpr std::size_t kMostParameterMegabytes = 16;
constexpr std::size_t kMostParameterBytes = kMostParameterMegabytes << 20;

// Reads the parameter file and keeps a copy for the launcher's own reader, which waits for pipes
// and leaves traces. What is wrong with the file itself is reported.
// False when a launch finds no settings in it.
bool read_parameter_file(Inspection& inspection) {
    const Places& places = inspection.places;
    std::string bytes;
    if (places.parameter_file.empty()) {
        inspection.parameter_name =
            shown_name(places, joined_path(places.launcher_directory, kParameterFile));
        report_error(inspection.parameter_name, kNoLine,
                     "there is no parameter file beside the launcher and none one level above: put "
                     "one there");
    } else {
        inspection.parameter_name = shown_name(places, places.parameter_file);
        if (!read_quietly(bytes, places.parameter_file, kMostParameterBytes)) {
            const std::string reason = errno == EINVAL ? "it is no file" : std::strerror(errno);
            report_error(inspection.parameter_name, kNoLine,
                         "the parameter file cannot be read, so every setting has its default: " +
                             reason + "; put a readable file there");
        } else if (size_of(places.parameter_file) > bytes.size()) {
            report_warning(inspection.parameter_name, kNoLine,
                           "the parameter file has more than " +
                               std::to_string(kMostParameterMegabytes) +
                               " MB, and what stands behind them was not checked: shorten it");
        }
    }
    inspection.lines = cut_into_lines(bytes);
    inspection.parameter_copy = own_file(kParameterFile, bytes);
    if (inspection.parameter_copy.empty())
        report_note(inspection.parameter_name, kNoLine,
                    "nothing that depends on the settings was checked: no temporary directory can "
                    "be made; name one in TMPDIR");
    const std::vector<ParameterLine>& lines = inspection.lines.lines;
    const bool has_section = std::any_of(lines.begin(), lines.end(), [](const ParameterLine& line) {
        return line.section == kLauncherSection;
    });
    if (has_section || places.parameter_file.empty() || error_count() != 0)
        return has_section;
    if (bytes.starts_with("\xef\xbb\xbf["))
        report_error(inspection.parameter_name, 1,
                     "a byte order mark stands before the first section, which no launcher finds "
                     "for that: write the file without one");
    else
        report_error(inspection.parameter_name, kNoLine,
                     "there is no section [" + std::string(kLauncherSection) +
                         "], so every setting has its default: write it above the settings");
    return false;
}

// Where no settings are known, there is still a sound or a broken stage.
void check_without_settings(Inspection& inspection) {
    const Places& places = inspection.places;
    inspection.is_stage = inspection.bootstraps = !places.components.empty();
    inspection.launcher = check_program_files(places, inspection.is_stage, inspection.is_stage);
    check_catalogues(inspection);
    std::map<std::string, std::string> nothing;
    TreeWalk walk = walk_over(places.components);
    while (!places.components.empty() && next_step(walk)) {
        const std::string path = entry_path(walk);
        if (walk.step == WalkStep::kFile && walk.name.ends_with(".jar") &&
            walk.directory_path.ends_with(kPayload))
            check_archive(path, shown_name(places, path), {}, nothing);
    }
    check_surroundings(inspection, {});
}

// The settings of a launch without arguments.
void read_default_settings(Inspection& inspection) {
    launcher_state::reset();
    launcher_state::_bDistribution = false;
    launcher_state::_bJreLocation = false;
    Settings& settings = inspection.settings;
    settings.startupLoc = inspection.places.launcher_directory;
    settings.scratchLoc = kSomeScratch;
    settings.paramFileLocation = inspection.parameter_copy;
    // A stage whose flag is lost is checked as the stage that it should be.
    const bool has_components = !inspection.places.components.empty();
    const ParameterLine* flag = deciding_line(inspection.lines, kLauncherSection, "DISTRIBUTION");
    const bool given = flag != nullptr && flag->has_value && !flag->value.empty();
    const bool on = given && is_on(flag->value);
    const bool off = given && flag->value.starts_with('F');
    if (has_components && !on && !off) {
        launcher_state::_bDistribution = true;
        if (!inspection.places.parameter_file.empty() && !inspection.lines.lines.empty())
            report_error(inspection.parameter_name, flag == nullptr ? kNoLine : flag->number,
                         "there are components, but DISTRIBUTION is not T, so a launch takes this "
                         "for an installed home and brings none of them: write DISTRIBUTION=TRUE");
    }
    read_settings(settings);
    inspection.is_stage = launcher_state::_bDistribution;
    if (inspection.is_stage)
        settings.bootStrap = "TRUE";
    inspection.bootstraps = is_on(settings.bootStrap);
}

// Looks through all that a launch brings; the settings become those of after it.
Cargo check_cargo(const Inspection& inspection, Settings& settings, Shipment& shipment) {
    Cargo cargo;
    if (inspection.bootstraps) {
        std::string images;
        GetImageLoc(settings.startupLoc, images);
        recomputeZulLoc(settings.startupLoc, settings.zulLoc, settings.zulCoreLoc);
        CommandLine nothing_said;
        const bool brings = decide_on_runtime(nothing_said, settings) == RuntimeOrigin::brought;
        shipment = shipment_of(settings, nothing_said, settings.startupLoc, images, brings, false);
        Wanted wanted{{}, "/bin/java"};
        for (const std::string& entry : class_path_entries(settings))
            wanted.names.insert(name_in_scratch(entry, settings.scratchLoc));
        // Whatever lands there is on the class path, too.
        for (const Source& source : shipment.sources) {
            if (source.to == "ext/jlib")
                for (const std::string& name : directory_entries(source.from).names)
                    wanted.names.insert("ext/jlib/" + name);
        }
        cargo = load_cargo(inspection.places, shipment, wanted, true);
    } else {
        recomputeZulLoc(settings.startupLoc, settings.zulLoc, settings.zulCoreLoc);
    }
    settle_runtime(settings, shipment, cargo);
    return cargo;
}

void check_bootstrap_size(const Inspection& inspection, const Cargo& cargo) {
    const std::optional<long> size = bootstrap_size(inspection.settings);
    const std::uint64_t needed = megabytes_needed(cargo);
    if (!inspection.bootstraps || !size || static_cast<std::uint64_t>(*size) >= needed)
        return;
    report_warning(
        inspection.parameter_name, inspection.line_of("BOOTSTRAP_SIZE"),
        "BOOTSTRAP_SIZE is " + std::to_string(*size) +
            (inspection.gives("BOOTSTRAP_SIZE") ? "" : " when it is not given") +
            ", but a launch brings " + std::to_string(needed) +
            " MB to its scratch directory: write BOOTSTRAP_SIZE=" + std::to_string(needed));
}

} // namespace

void inspect(const std::string& directory) {
    Inspection inspection;
    inspection.places = find_places(directory);
    const Places& places = inspection.places;
    if (!can_be_looked_into(places.directory)) {
        report_error(".", kNoLine,
                     std::string("this directory cannot be read here, and nothing in it was "
                                 "checked: ") +
                         std::strerror(errno));
        return;
    }
    if (places.launcher_directory.empty()) {
        report_error(".", kNoLine,
                     "there is neither a launcher nor a parameter file in this directory: name a "
                     "stage, an installed home, or the directory in which the launcher lies");
        return;
    }
    if (chdir(places.launcher_directory.c_str()) != 0) {
        report_error(
            shown_name(places, places.launcher_directory), kNoLine,
            std::string("this directory cannot be entered, and nothing in it was checked: ") +
                std::strerror(errno));
        return;
    }
    for (const std::string& other : places.other_launchers)
        report_note(shown_name(places, other), kNoLine,
                    "another launcher lies here, which was not checked: name its directory to "
                    "check it");
    const bool known = read_parameter_file(inspection);
    check_parameter_lines(inspection.lines, inspection.parameter_name);
    if (inspection.parameter_copy.empty() || !known) {
        check_without_settings(inspection);
        return;
    }
    read_default_settings(inspection);
    check_setting_values(inspection);
    check_prerequisites(inspection);
    inspection.launcher = check_program_files(places, inspection.is_stage,
                                              inspection.is_stage && inspection.bootstraps);
    check_catalogues(inspection);

    Settings after = inspection.settings;
    Shipment shipment;
    const Cargo cargo = check_cargo(inspection, after, shipment);
    // Of components that are out of sight nothing is known; their modes are spoken of below.
    const bool in_sight = places.components.empty() || can_be_looked_into(places.components);
    const bool all_there =
        in_sight && (!inspection.is_stage || check_components(inspection, shipment));
    if (cargo.complete)
        check_copied_locations(inspection, after);
    if (in_sight)
        check_runtime(inspection, after, shipment, cargo);
    if (all_there)
        check_class_path(inspection, after, cargo);
    check_bootstrap_size(inspection, cargo);
    check_surroundings(inspection, shipment);
}
