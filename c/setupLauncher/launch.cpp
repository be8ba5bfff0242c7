#include "setupLauncher/launch.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "base/text.h"
#include "bootstrap/bootstrap.h"
#include "jreloc.h"
#include "log/install_log.h"
#include "platform/program_start.h"
#include "platform/signals.h"
#include "platform/system_names.h"
#include "prereqchecks/prereq_driver.h"
#include "setupLauncher/decisions.h"
#include "setupLauncher/environment.h"
#include "setupLauncher/given_scratch.h"
#include "setupLauncher/installer_command.h"
#include "setupLauncher/java_home.h"
#include "setupLauncher/locations.h"
#include "setupLauncher/options.h"
#include "setupLauncher/scratch.h"
#include "setupLauncher/settings.h"
#include "setupLauncher/spawn.h"
#include "setupLauncher/start_failure.h"

#include <cstdlib>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace state = launcher_state;

// The group of the inventory's owner may write what the launcher and the installer make.
constexpr mode_t kGroupMask = 007;
constexpr const char* kOldestJava = "1.4"; // named when there is no java program
constexpr const char* kTempDirectory = "/tmp";

// What the stages hand to each other.
struct Launch {
    CommandLine command_line;
    Settings settings;
    DerivedLocations locations;
    std::string osVersion;
    std::string curDir;
    std::string StartupLocOriginal;
    std::string imageLoc;
    std::string sZULVersionLogMsg;
    GivenScratch given_scratch;
    bool bUseJreLoc = false;
};

void log_line(const Launch& launch, const std::string& text) {
    openLog(launch.settings.scratchLoc, state::sInvPtrLocation, state::gsTimeStamp,
            state::gsLogFileName);
    writeToInstallLog(text);
    closeLog();
}

void find_startup_location(Launch& launch) {
    const CommandLine& command_line = launch.command_line;
    Settings& settings = launch.settings;
    const bool have_current = GetCurrentDir(launch.curDir) == kOk;
    decide_start_location(command_line, launch.curDir, have_current, settings,
                          launch.StartupLocOriginal);
    if (command_line.bScratchPath)
        launch.given_scratch = use_given_scratch(
            settings.scratchLoc, command_line.sAlternativeScratch, launch.curDir, have_current);
}

// The result is acted on only after the prerequisites: they run without a parameter file too.
int read_settings(Launch& launch) {
    const CommandLine& command_line = launch.command_line;
    Settings& settings = launch.settings;
    settings.paramFileLocation = command_line.sParamFile;
    settings.jreDirLoc = command_line.jreDirLoc;
    settings.prereqConfigLoc = command_line.prereqConfigLoc;
    const int result =
        GetParamOptions(settings, command_line.bBootStrapOnly, command_line.bScratchPath,
                        command_line.bShipHomeLocation, command_line.bTestAutoUpdates);
    launch.sZULVersionLogMsg = format_text(
        "%s %s %s %s \n", {"INFO:", english_text("S_ZUL"), "Version", settings.zulVersion});
    if (!command_line.bShipHomeLocation)
        launch.StartupLocOriginal = settings.startupLoc;
    if (command_line.bBootStrapOnly)
        settings.scratchLoc = command_line.sBootStrapLoc;
    return result;
}

void check_prerequisites(const Launch& launch) {
    const CommandLine& command_line = launch.command_line;
    const Settings& settings = launch.settings;
    if (!command_line.bBootStrapOnly)
        show("S_STARTINSTALLERMSG", command_line.sStartMessage);
    std::string platform_prereqs;
    GetParamInformation(kPlatformChecksKey, platform_prereqs, "FALSE", settings.paramFileLocation,
                        kWholeValue);
    checkPreReqs({
        .paramLoc = settings.paramFileLocation,
        .scratchLoc = settings.scratchLoc,
        .gsTimeStamp = state::gsTimeStamp,
        .gsLogFileName = state::gsLogFileName,
        .silent = state::_bSilent,
        .invPtrLocation = state::sInvPtrLocation,
        .bExecSysPreReqs = command_line.bExecuteSysPreReqs,
        .bIgnorePreReqs = command_line.bIgnoreSysPreReqs,
        ._bNoConsole = command_line._bNoConsole,
        ._bPlatPrereqs = is_on(platform_prereqs),
    });
}

bool runs_from_cd(const Launch& launch) {
    return !launch.command_line.bHelpMode && is_on(launch.settings.multiCD) &&
           isCurDirInCD(launch.curDir) == kStartedFromCd;
}

void announce_bootstrap(const Launch& launch) {
    const std::string wait = unfilled_text("S_WAITMSG");
    if (launch.command_line.bBootStrapOnly)
        nls_out(format_text("%s  %s", {unfilled_text("S_BOOTSTRAPONLYMSG"), wait}));
    else
        nls_out(format_text("%s %s. %s",
                            {unfilled_text("S_BOOTSTRAPMSG"), launch.settings.scratchLoc, wait}));
    std::fflush(stdout);
}

// Has the bootstrap bring the Java runtime or takes another, asking for one when none is known. A
// status ends the launch.
std::optional<int> choose_runtime(Launch& launch, bool& bBootStrapJRE) {
    const RuntimeOrigin origin = decide_on_runtime(launch.command_line, launch.settings);
    if (origin == RuntimeOrigin::none_allowed) {
        log_line(launch, english_text("S_JRELOC_ERROR_NOCONSOLE_WIN"));
        nls_out("\n\n");
        show("S_JRELOC_ERROR_NOCONSOLE_WIN");
        return kOk;
    }
    if (origin == RuntimeOrigin::asked && getJRELoc(launch.settings.jreDirLoc) != kOk) {
        if (noted_signal() == 0)
            show("S_JRELOC_ERROR_NOCONSOLE_WIN");
        return kFailed;
    }
    bBootStrapJRE = origin == RuntimeOrigin::brought;
    launch.bUseJreLoc = !bBootStrapJRE;
    umask(kGroupMask);
    return std::nullopt;
}

int run_bootstrap(Launch& launch, long bootstrap_size, bool bBootStrapJRE) {
    const CommandLine& command_line = launch.command_line;
    // cppcheck-suppress constVariable ; the bootstrap rewrites its locations
    Settings& settings = launch.settings;
    const int result = doBootStrap({
        .tempLoc = settings.scratchLoc,
        .zulStgLoc = settings.zulLoc,
        .zulCoreStgLoc = settings.zulCoreLoc,
        .zulCoreMinStgLoc = settings.zulCoreMinLoc,
        .tesselStgLoc = settings.tesselLoc,
        .jreStgLoc = settings.jreDirLoc,
        .jreFullLoc = settings.jreFullLoc,
        .zulVersion = settings.zulVersion,
        .jreVersion = settings.jreVersion,
        .imageLoc = launch.imageLoc,
        .prereqConfigLoc = settings.prereqConfigLoc,
        .startupLoc = settings.startupLoc,
        .startupLocOriginal = launch.StartupLocOriginal,
        .lBootStrapSz = bootstrap_size << 10,
        ._bDistribution = state::_bDistribution,
        .sExtJlibString = settings.extJlibString,
        .sExtLibString = settings.extLibString,
        .sExtBinString = settings.extBinString,
        .bBootStrapJRE = bBootStrapJRE,
        .invPtrLocation = state::sInvPtrLocation,
        .gsTimeStamp = state::gsTimeStamp,
        .gsLogFileName = state::gsLogFileName,
        .sBootStrapComps = settings.sBootStrapComps,
        .access = settings.access,
        .bBootStrapOnly = command_line.bBootStrapOnly,
        .bNoBootStrap = command_line.bNoBootStrap,
        .bShipHomeLocation = command_line.bShipHomeLocation,
    });
    // Or it goes on where it is: everything it needs lies in the scratch directory now.
    if (command_line.bShipHomeLocation)
        enter_if_possible(settings.startupLoc);
    return result;
}

// Whether the bootstrap puts the runtime that starts the installer into the scratch directory.
bool runtime_will_lie_in_scratch(const Launch& launch, bool bBootStrapJRE) {
    const Settings& settings = launch.settings;
    const CommandLine& command_line = launch.command_line;
    return state::_bDistribution && bBootStrapJRE && !command_line.bBootStrapOnly &&
           !command_line.bNoBootStrap &&
           (settings.sBootStrapComps.empty() || names_runtime(settings.sBootStrapComps) ||
            !settings.jreFullLoc.empty());
}

void apply_umask_setting(const Launch& launch) {
    GetParamInformation(kMaskKey, state::sUmask, "", launch.settings.paramFileLocation,
                        kWholeValue);
    const std::string& text = state::sUmask;
    if (const std::optional<int> mask = mask_of(text)) {
        state::iUmask = *mask;
        umask(static_cast<mode_t>(state::iUmask));
        state::sUmaskLogMsg = english_text("S_UMASK_VALID", {text});
    } else {
        umask(kGroupMask);
        state::sUmaskLogMsg = text.empty() ? english_text("S_UMASK_NOT_AVAILABLE")
                                           : english_text("S_UMASK_INVALID", {text});
        if (!text.empty())
            show("S_UMASK_INVALID", text);
    }
    log_line(launch, state::sUmaskLogMsg);
}

// Brings the installer into the scratch directory. A status ends the launch.
std::optional<int> bootstrap_installer(Launch& launch) {
    const std::optional<long> size = bootstrap_size(launch.settings);
    if (!size) {
        complain("S_ERBOOTSTRAP_RANGE", kLargestBootstrapSize);
        return std::nullopt; // the installer may still run from where it lies
    }
    announce_bootstrap(launch);
    bool bBootStrapJRE = true;
    if (const std::optional<int> status = choose_runtime(launch, bBootStrapJRE))
        return status;
    if (runtime_will_lie_in_scratch(launch, bBootStrapJRE)) {
        // Better now than after minutes of unpacking.
        const std::string& scratch = launch.settings.scratchLoc;
        if (const int refusal = refusal_of_programs_in(scratch); refusal != 0) {
            complain_of_refusal(scratch, refusal);
            return kFailed;
        }
    }
    const int result = run_bootstrap(launch, *size, bBootStrapJRE);
    if (noted_signal() != 0)
        return kFailed;
    apply_umask_setting(launch);
    if (result == kBootstrapFailed) {
        const BootstrapFailure& failure = last_bootstrap_failure();
        complain("S_BOOTSTRAP_FAILED", launch.settings.scratchLoc, localised_text(failure.step),
                 failure.component);
        return kFailed;
    }
    return std::nullopt;
}

void print_library_path() {
    const char* library_path = std::getenv("LD_LIBRARY_PATH");
    print_debug(nullptr, unfilled_text("S_LDLIBPATH_VAR"));
    print_debug(nullptr, library_path == nullptr ? "" : library_path);
    print_debug(nullptr, "\n");
}

void leave_stage(bool bootstrap) {
    std::string temp;
    GetTempDir(temp);
    if (!PathExists(temp))
        temp = kTempDirectory;
    // Or the stage stays in use while the installer runs; nothing else depends on it.
    if (bootstrap)
        enter_if_possible(temp);
}

// Validates the Java home and starts the installer; the status of whichever failed, or its own.
int start_installer(const Launch& launch, const std::vector<std::string>& args, bool bSync) {
    const Settings& settings = launch.settings;
    openLog(settings.scratchLoc, state::sInvPtrLocation, state::gsTimeStamp, state::gsLogFileName);
    const int valid =
        validateJavaHome(settings.jreDirLoc, settings.paramFileLocation, launch.bUseJreLoc);
    closeLog();
    const std::string scratch = with_given_scratch(launch.given_scratch, settings.scratchLoc);
    for (const std::string& ext : {settings.extLibString, settings.extBinString}) {
        if (!ext.empty())
            addExtPath(scratch.c_str(), ext.c_str());
    }
    return valid == kOk ? SpawnProcess(args, bSync, settings.scratchLoc) : valid;
}

// Composes the command, runs the installer and removes the scratch directory after it.
int run_installer(Launch& launch, bool bSync) {
    const CommandLine& command_line = launch.command_line;
    const std::string& scratch = launch.settings.scratchLoc;
    InstallerCommandInput input{launch.locations, launch.settings,  command_line,
                                launch.curDir,    launch.osVersion, launch.bUseJreLoc};
    std::vector<std::string> args = compose_installer_command(input);
    hand_on_given_scratch(launch.given_scratch, args, pass_through_arguments(command_line).size());

    int status = kOk;
    if (!command_line.bBootStrapOnly && !IsJrePresent(launch.locations.jreLoc.c_str())) {
        complain("S_ERJRENFD", launch.locations.jreLoc, kOldestJava);
        status = kFailed;
    }
    leave_stage(is_on(launch.settings.bootStrap));
    if (command_line.bBootStrapOnly) {
        print_text(format_text("\nBootStrap To %s Completed\n", {scratch}));
        return status;
    }
    if (status == kOk)
        status = start_installer(launch, args, bSync);
    if (status == kFailed && noted_signal() != 0)
        return kFailed; // the scratch directory may be that of another launch
    // A relative place that could not be fixed when the launch began may be any directory by now.
    if (bSync && !command_line.bIgnoreDelete && scratch.starts_with('/'))
        cleanupScratchPath(scratch);
    return status;
}

// Every stage between the opening and the closing of the catalogue, in order. A signal noted before
// the installer runs ends whichever stage takes long; the status is then nobody's.
int run_stages(Launch& launch) {
    CommandLine& command_line = launch.command_line;
    Settings& settings = launch.settings;

    GetCurrentDir(launch.curDir);
    pre_scan(command_line);
    if (scan_arguments(command_line) != kOk)
        return kFailed;

    if (!state::_bPrereqSession) {
        umask(kGroupMask);
        const int usable = CheckInventoryPermissions();
        if (usable != kOk)
            return usable;
    }

    find_startup_location(launch);
    const int retCode = read_settings(launch);
    if (choose_entry_class(command_line, settings) != kOk)
        return kFailed;
    if (!command_line.bHelpMode)
        check_prerequisites(launch);
    if (noted_signal() != 0)
        return kFailed;
    if (runs_from_cd(launch)) {
        show("S_ERRORUNIXCDMOUNT");
        nls_out("\n");
        return kStartedFromCd;
    }
    if (retCode != kOk)
        return retCode;

    GetCurrentDir(launch.curDir);
    GetImageLoc(launch.curDir, launch.imageLoc);
    recomputeZulLoc(launch.curDir, settings.zulLoc, settings.zulCoreLoc);
    if (is_on(settings.bootStrap)) {
        if (const std::optional<int> status = bootstrap_installer(launch))
            return *status;
    }

    log_line(launch, launch.sZULVersionLogMsg);
    GetRestOfParams(settings, launch.locations);
    const bool bSync = waits_for_installer(command_line, settings);
    const int environment = SetUNIXEnvironment(launch.locations.jreLoc);
    if (state::_bDebug)
        print_library_path();
    return environment == kOk ? run_installer(launch, bSync) : environment;
}

// Ends the launch by the signal that was noted, after removing what the launch itself has made.
[[noreturn]] void end_by_noted_signal(const Launch& launch) {
    hold_signals();
    const int number = noted_signal();
    const std::string name = signal_name(number);
    complain("S_LAUNCH_SIGNALLED", name, number);
    if (PathExists(sLogLoc)) // it may have gone with the scratch directory
        log_line(launch, "\n" + english_text("S_LAUNCH_SIGNALLED", {name, number}) + "\n");
    closeTimeLog();
    if (!launch.command_line.bIgnoreDelete)
        removeMadeScratch();
    end_by_signal(number);
}

} // namespace

int main_helper(int argc, char** argv) {
    state::reset();
    Launch launch;
    launch.command_line = read_arguments(argc, argv);
    launch.osVersion = getOSVersion();
    computeTimeStamp();
    if (launch.command_line.arguments.empty())
        launch.command_line.arguments.emplace_back(); // a caller may leave out even the name
    if (nls_open(launch.command_line.arguments.front().c_str()) != kOk)
        return kNoCatalogue;
    const int status = run_stages(launch);
    std::fflush(stdout); // whether anybody reads it is known only then
    if (noted_signal() != 0)
        end_by_noted_signal(launch);
    nls_close();
    return status;
}
