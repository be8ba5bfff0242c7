#include "plan.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "base/text.h"
#include "cargo.h"
#include "findings.h"
#include "forecast.h"
#include "log/install_log.h"
#include "nls/catalogue.h"
#include "parameter_lines.h"
#include "places.h"
#include "plan_bootstrap.h"
#include "plan_prerequisites.h"
#include "plan_settings.h"
#include "plan_text.h"
#include "platform/system_names.h"
#include "quiet_files.h"
#include "setupLauncher/decisions.h"
#include "setupLauncher/environment.h"
#include "setupLauncher/installer_command.h"
#include "setupLauncher/java_home.h"
#include "setupLauncher/locations.h"
#include "setupLauncher/scratch.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace state = launcher_state;

constexpr const char* kOldestJava = "1.4"; // named when there is no java program
constexpr const char* kExtensions = "ext/jlib";
constexpr mode_t kOwnDirectoryMode = 0700;
constexpr std::size_t kMostParameterBytes = std::size_t{16} << 20;

// What the steps of the plan hand to each other.
struct Plan {
    Places places;
    CommandLine command_line;
    Settings settings;
    SettingsHistory history;
    DerivedLocations locations;
    std::string osVersion;
    std::string curDir;
    std::string original_start;
    std::string parameter_file; // the one that is used, absolute
    ParameterLines lines;
    std::string scratch;      // its name
    std::string scratch_base; // where it is made
    Brought brought;
    int settings_status = kOk; // acted on only after the prerequisites
    std::string settings_message;
    std::string unwritable; // why the own directory cannot be written to
};

// The path by which a caller would start the launcher of `directory`.
std::string invocation(const std::string& directory, const Places& places) {
    const std::string below =
        shown_name(places, joined_path(places.launcher_directory, kLauncherName));
    std::string typed = directory;
    while (typed.size() > 1 && typed.ends_with('/'))
        typed.pop_back();
    return joined_path(typed, below);
}

// The name of the scratch directory that a launch would make at this moment.
void find_scratch(Plan& plan) {
    const CommandLine& command_line = plan.command_line;
    if (command_line.bBootStrapOnly || command_line.bScratchPath) {
        plan.scratch = command_line.bBootStrapOnly ? command_line.sBootStrapLoc
                                                   : command_line.sAlternativeScratch;
        plan.scratch_base = plan.scratch;
        return;
    }
    GetTempDir(plan.scratch_base);
    if (!could_be_used(plan.scratch_base)) {
        plan.settings_status = kFailed;
        plan.settings_message = localised_text("S_ERPERDIR", {plan.scratch_base});
        return;
    }
    if (state::_bPrereqSession && state::prereqLogLocation.empty())
        state::prereqLogLocation = plan.scratch_base;
    for (int suffix = 0; suffix <= kHighestSuffix; ++suffix) {
        plan.scratch = scratch_name(plan.scratch_base, suffix);
        if (!PathExists(plan.scratch))
            return;
    }
    plan.settings_status = kFailed;
    plan.settings_message = localised_text("S_ERPERDIR", {scratch_name(plan.scratch_base, 0)});
}

void find_parameter_file(Plan& plan) {
    Settings& settings = plan.settings;
    settings.paramFileLocation = plan.command_line.sParamFile;
    std::vector<std::string> missed;
    if (!locate_parameter_file(settings, plan.curDir, missed)) {
        plan.settings_status = kNoParameterFile;
        plan.settings_message = localised_text("S_ERTALPARAMNFD", {missed.back()});
        return;
    }
    GetAbsolutePath(plan.parameter_file, std::string(settings.paramFileLocation));
    std::string bytes;
    read_quietly(bytes, plan.parameter_file, kMostParameterBytes);
    plan.lines = cut_into_lines(bytes);
    settings.paramFileLocation = own_file("plan.ini", bytes);
    if (settings.paramFileLocation.empty())
        plan.unwritable = std::strerror(errno);
}

// A directory of the checker's own stands for the scratch directory: the launcher's rooms may look
// into it, and the true one does not exist yet.
void stand_in_for_scratch(Plan& plan) {
    const std::string stand_in = joined_path(own_directory(), "scratch");
    mkdir(stand_in.c_str(), kOwnDirectoryMode);
    plan.settings.scratchLoc = stand_in;
    call_scratch(stand_in, plan.scratch);
}

void read_all_settings(Plan& plan) {
    const CommandLine& command_line = plan.command_line;
    Settings& settings = plan.settings;
    const bool have_current = GetCurrentDir(plan.curDir) == kOk;
    decide_start_location(command_line, plan.curDir, have_current, settings, plan.original_start);
    settings.jreDirLoc = command_line.jreDirLoc;
    settings.prereqConfigLoc = command_line.prereqConfigLoc;
    find_scratch(plan);
    stand_in_for_scratch(plan);
    if (plan.settings_status == kOk)
        find_parameter_file(plan);
    if (plan.settings_status != kOk)
        return;
    if (chdir(settings.startupLoc.c_str()) != 0) {
        // As in a launch, the directory that the process is in takes its place.
    }
    std::string here;
    GetCurrentDir(here);
    if (!command_line.bShipHomeLocation)
        settings.startupLoc = here;
    plan.history.given = settings;
    read_settings(settings);
    plan.history.read = settings;
    if (!command_line.bShipHomeLocation)
        plan.original_start = settings.startupLoc;
}

std::string yes_from_command_line(bool yes) {
    return yes ? "yes (command line)" : "no (default)";
}

void say_launch(const Plan& plan) {
    const CommandLine& command_line = plan.command_line;
    const auto on_line = [&](const char* name) {
        return std::any_of(command_line.arguments.begin(), command_line.arguments.end(),
                           [name](const std::string& argument) {
                               return argument.find(name) != std::string::npos;
                           });
    };
    say("current directory=" + (plan.curDir.empty() ? "/" : plan.curDir));
    const bool given = !command_line.sParamFile.empty() && PathExists(command_line.sParamFile);
    say("parameter file=" + plan.parameter_file + "   (" + (given ? "command line" : "computed") +
        ")");
    say("time stamp=" + state::gsTimeStamp + "   (" +
        (on_line("-timestamp") || on_line("-rtimestamp") ? "command line" : "computed") + ")");
    const bool handed = command_line.bBootStrapOnly || command_line.bScratchPath;
    say("scratch directory=" + plan.scratch + "   (" +
        (handed ? "command line" : origin_of_base()) + ")");
    say("start directory=" + plan.settings.startupLoc + "   (" +
        (command_line.bShipHomeLocation ? "command line" : "computed") + ")");
    say("install log=" + log_file(plan.scratch) + "   (computed)");
    const bool pointer =
        on_line("-invPtrLoc") || state::sInvPtrLocation != "/var/opt/talvex/talInst.loc";
    say("inventory pointer file=" + state::sInvPtrLocation + "   (" +
        (pointer ? "command line" : "default") + ")");
    say("silent=" + yes_from_command_line(state::_bSilent));
    say("help=" + yes_from_command_line(command_line.bHelpMode));
    say("from a distribution=" + std::string(state::_bDistribution ? "yes" : "no") +
        "   (the parameter file)");
}

bool prerequisites_end(const Plan& plan, std::string& message) {
    std::string platform_checks;
    GetParamInformation(kPlatformChecksKey, platform_checks, "FALSE",
                        plan.settings.paramFileLocation, kWholeValue);
    return prerequisites_end_launch({plan.lines, plan.command_line,
                                     nearest_existing(plan.scratch_base), log_file(plan.scratch),
                                     is_on(platform_checks)},
                                    message);
}

bool bootstrap_ends(Plan& plan) {
    return bootstrap_ends_launch(plan.brought, plan.settings,
                                 {plan.places, plan.command_line, plan.curDir, plan.original_start,
                                  plan.scratch, nearest_existing(plan.scratch_base)});
}

void say_mask(const Plan& plan) {
    if (!is_on(plan.settings.bootStrap) || !bootstrap_size(plan.settings)) {
        say(std::string("file-creation mask=") + (state::_bPrereqSession ? "077" : "007"));
        return;
    }
    std::string text;
    GetParamInformation(kMaskKey, text, "", plan.settings.paramFileLocation, kWholeValue);
    say("file-creation mask=" + (mask_of(text) ? text : std::string("007")));
}

bool is_there(const Plan& plan, const std::string& path) {
    const std::string& scratch = plan.settings.scratchLoc;
    if (path == scratch)
        return true;
    if (path.starts_with(scratch + "/"))
        return has(plan.brought.cargo, path.substr(scratch.size() + 1)) ||
               PathExists(plan.scratch + path.substr(scratch.size()));
    return PathExists(path);
}

// The extension jars lie in the stand-in by their names, so that the class path has them.
void lay_out_extensions(const Plan& plan) {
    const std::string directory = joined_path(plan.settings.scratchLoc, kExtensions);
    std::error_code ignored;
    for (const std::string& name : names_in(plan.brought.cargo, kExtensions)) {
        const std::string below = joined_path(kExtensions, name);
        const bool is_file = plan.brought.cargo.files.contains(below);
        const std::string made = is_file ? directory : joined_path(directory, name);
        std::filesystem::create_directories(made, ignored);
        if (is_file)
            own_file(joined_path("scratch", below), "");
    }
}

void say_command(const Plan& plan, const std::vector<std::string>& command, bool waits) {
    say_headline(std::string("the installer is started, and the launcher ") +
                 (waits ? "waits for it; its status is the launch's" : "does not wait for it"));
    say("command of " + counted(command.size(), "argument") + ", one a line:");
    for (const std::string& argument : command)
        say("  " + argument);
    for (std::size_t at = 0; at + 1 < command.size(); ++at) {
        if (command[at] != "-cp")
            continue;
        say_headline("class path:");
        for (const std::string& entry : split(command[at + 1], ":"))
            say((is_there(plan, entry) ? "present " : "missing ") + entry);
        break;
    }
}

// From behind the bootstrap to the start of java.
void plan_start(Plan& plan) {
    Settings& settings = plan.settings;
    const CommandLine& command_line = plan.command_line;
    GetRestOfParams(settings, plan.locations);
    const bool waits = waits_for_installer(command_line, settings);
    if (!state::_bSilent) {
        begin_taking_down();
        const int display = CheckDisplay();
        const std::string message = end_taking_down();
        if (display != kOk) {
            say_end("before the installer is started", display, message);
            return;
        }
    }
    lay_out_extensions(plan);
    InstallerCommandInput input{plan.locations, settings,       command_line,
                                plan.curDir,    plan.osVersion, plan.brought.uses_outside_runtime};
    const std::vector<std::string> command = compose_installer_command(input);
    if (command_line.bBootStrapOnly) {
        say_end("when all is unpacked", kOk,
                format_text("\nBootStrap To %s Completed\n", {plan.scratch}));
        return;
    }
    const bool asked = settings.jreDirLoc == kAnswer;
    if (!asked && !is_there(plan, command.front())) {
        say_end(
            "before the installer is started", kFailed,
            localised_text("S_ERJRENFD", {with_scratch_name(plan.locations.jreLoc), kOldestJava}));
        return;
    }
    if (is_on(settings.bootStrap)) {
        std::string temp;
        GetTempDir(temp);
        if (chdir(PathExists(temp) ? temp.c_str() : "/tmp") != 0) {
            // As in a launch, the stage stays in use then.
        }
    }
    begin_taking_down();
    const int valid = asked ? kOk
                            : validateJavaHome(settings.jreDirLoc, settings.paramFileLocation,
                                               plan.brought.uses_outside_runtime);
    const std::string message = end_taking_down();
    if (valid != kOk) {
        say_end("at the look at the Java home", valid, message);
        return;
    }
    if (!asked && !is_there(plan, command.front())) {
        say_end("at the start of the installer: " + command.front() +
                    " is a relative path and leads nowhere from the temporary directory",
                waits ? kFailed : kOk,
                localised_text("S_ERGOSLST", {"CreateZULProcess()", ENOENT}));
        return;
    }
    say_command(plan, command, waits);
}

// Without what the launcher's rooms read there, everything would have its default.
void say_no_plan(const std::string& reason) {
    say_headline("no plan: the temporary directory cannot be written to (" + reason +
                 "); name another one in TMPDIR");
}

} // namespace

void print_plan(const std::string& directory, const std::vector<std::string>& arguments) {
    Plan plan;
    plan.places = find_places(directory);
    if (plan.places.launcher_directory.empty())
        return; // that is what was found
    if (own_directory().empty()) {
        say_headline("no plan: no temporary directory can be made; name one in TMPDIR");
        return;
    }
    std::vector<std::string> all{invocation(directory, plan.places)};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    std::string typed;
    for (std::string& argument : all) {
        pointers.push_back(argument.data());
        typed.append(typed.empty() ? "" : " ").append(shell_word(argument));
    }
    say_headline("plan of " + typed);

    state::reset();
    CommandLine& command_line = plan.command_line;
    command_line = read_arguments(static_cast<int>(pointers.size()), pointers.data());
    plan.osVersion = getOSVersion();
    computeTimeStamp();
    begin_taking_down();
    std::string unwritable;
    const bool opened = open_catalogue_copies(plan.places.launcher_directory, unwritable);
    end_taking_down();
    if (!unwritable.empty()) {
        say_no_plan(unwritable);
        return;
    }
    if (!opened) {
        // Once more where a launch looks: its words name the place, not that of the copies.
        nls_close();
        begin_taking_down();
        nls_open(all.front().c_str());
        say_end("at once", kNoCatalogue, end_taking_down());
        nls_close();
        return;
    }

    GetCurrentDir(plan.curDir);
    pre_scan(command_line);
    begin_taking_down();
    const int scanned = scan_arguments(command_line);
    std::string message = end_taking_down();
    if (scanned != kOk) {
        say_end("at the reading of the command line", scanned, message);
        return;
    }
    if (!state::_bPrereqSession) {
        const int usable = check_inventory(message);
        if (usable != kOk) {
            say_end("at the check of the inventory", usable, message);
            return;
        }
    }

    read_all_settings(plan);
    if (!plan.unwritable.empty()) {
        say_no_plan(plan.unwritable);
        return;
    }
    say_launch(plan);
    Settings& settings = plan.settings;
    begin_taking_down();
    const int chosen = choose_entry_class(command_line, settings);
    message = end_taking_down();
    plan.history.ruled = settings;
    if (chosen != kOk) {
        say_end("at the choice of the entry class", chosen, message);
        return;
    }
    if (!command_line.bHelpMode && prerequisites_end(plan, message)) {
        say_end("at the prerequisites", kFailed, message);
        return;
    }
    if (!command_line.bHelpMode && is_on(settings.multiCD) &&
        isCurDirInCD(plan.curDir) == kStartedFromCd) {
        say_end("at the look for a CD", kStartedFromCd, localised_text("S_ERRORUNIXCDMOUNT"));
        return;
    }
    if (plan.settings_status != kOk) {
        say_end("at the reading of the settings", plan.settings_status, plan.settings_message);
        return;
    }

    GetCurrentDir(plan.curDir);
    recomputeZulLoc(plan.curDir, settings.zulLoc, settings.zulCoreLoc);
    plan.history.final_ones = settings;
    say_settings(plan.history, command_line, plan.lines, plan.parameter_file);
    if (is_on(settings.bootStrap) && bootstrap_ends(plan))
        return;
    say_mask(plan);
    plan_start(plan);
}
