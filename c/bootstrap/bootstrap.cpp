#include "bootstrap/bootstrap.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "base/text.h"
#include "bootstrap/needs.h"
#include "bootstrap/report.h"
#include "bootstrap/stage_layout.h"
#include "bootstrap/tree.h"
#include "log/install_log.h"
#include "log/reasons.h"
#include "platform/signals.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// The variable in which the stage's unzip finds what it unpacks (unzip/progress.h).
constexpr const char* kProgressVariable = "LAUNCHER_UNPACKING";

// Time-log lines of components by list and of those known by name, apart by one blank.
constexpr const char* kListedTimeLine = "\n Time taken for bootstrapping %s is %5.5f   seconds";
constexpr const char* kKnownTimeLine = "\n Time taken for bootstrapping %s is %5.5f  seconds";

// Which known components are to be brought.
struct Selection {
    bool zul = false;
    bool zul_core = false;
    bool zul_core_min = false;
    bool tessel = false;
    bool jre = false;
};

BootstrapFailure failure;

timeval now() {
    timeval moment{};
    gettimeofday(&moment, nullptr);
    return moment;
}

void log_time(const char* line, const std::string& name, const timeval& start) {
    const timeval end = now();
    const auto microseconds = static_cast<float>(end.tv_usec - start.tv_usec);
    const auto seconds = static_cast<float>(end.tv_sec - start.tv_sec);
    const auto elapsed = static_cast<double>(microseconds / 1000000 + seconds);
    writeToTimeLog(format_text(line, {name, elapsed}));
}

std::string in_scratch(const BootstrapInput& input, const char* name) {
    return joined_path(input.tempLoc, name);
}

int copy_tree(const std::string& source, const std::string& dest) {
    return CopyDirRecursive(source.c_str(), dest.c_str());
}

void change_directory(const std::string& directory) {
    if (chdir(directory.c_str()) != 0) {
        // The stage paths then do not exist, and the step that needs them says so.
    }
}

// A location that is not there becomes the highest version's payload.
void resolve_component(std::string& location, const std::string& root, const char* name) {
    if (!PathExists(location))
        location = highest_payload_of(root, name);
}

int fail_at(const char* step, const std::string& component) {
    failure = {step, component};
    return kFailed;
}

// Says what of the scratch directory keeps archives from being unpacked, if anything does. Its
// `room` was taken before: what a broken-off unzip has left there takes room, too.
void explain_unpacking(const BootstrapInput& input, const std::string& payload, const Room& room) {
    const Need need = need_of_archives(payload, room.block);
    if (is_short_of(room, need))
        complain_of_room(input.tempLoc, room, need, ENOSPC);
    else
        complain_of_place(input.tempLoc, refusal_of_a_file_in(input.tempLoc), need);
}

// Unpacks component `name`. An operator at a terminal sees how far it is: the stage's unzip shows
// that when it finds the name in its environment. The installer never finds it there.
int unpack(const BootstrapInput& input, const std::string& name, const std::string& payload,
           const std::string& unzip_dir) {
    if (input.bNoBootStrap)
        return kOk;
    const Room room = room_at(input.tempLoc);
    if (!launcher_state::_bSilent && isatty(STDERR_FILENO) != 0)
        setenv(kProgressVariable, name.c_str(), 1);
    const int result = CopyJars(payload, input.tempLoc, unzip_dir);
    unsetenv(kProgressVariable);
    if (result == kOk || noted_signal() != 0)
        return result;
    explain_unpacking(input, payload, room);
    return fail_at("S_STEP_UNPACKING", name);
}

// Copies a tree without which the installer cannot do, and says why that fails.
int copy_needed_tree(const BootstrapInput& input, const std::string& source,
                     const std::string& dest) {
    if (copy_tree(source, dest) == kOk)
        return kOk;
    if (noted_signal() != 0)
        return kFailed;
    const CopyFailure& copy = last_copy_failure();
    // Where room is the matter, it is that of the whole scratch directory.
    const std::string& place = speaks_of_room(copy.error) ? input.tempLoc : copy.path;
    complain_of_place(place, copy.error, need_of_tree(source, room_at(input.tempLoc).block));
    return fail_at("S_STEP_COPYING", source);
}

// Says that the scratch directory has less room than the parameter file asks for.
void complain_of_shortfall(const BootstrapInput& input) {
    const Need need{static_cast<std::uint64_t>(input.lBootStrapSz) << 10, kUsualBootstrapFiles};
    if (PathExists(input.tempLoc))
        complain_of_room(input.tempLoc, room_at(input.tempLoc), need, ENOSPC);
    else
        complain_of_place(input.tempLoc, errno, need);
    fail_at("S_STEP_SPACE", "BOOTSTRAP_SIZE");
}

// Unpacks a known component and logs its time.
int unpack_known(const BootstrapInput& input, const std::string& payload, const char* name,
                 const timeval& start) {
    if (unpack(input, name, payload, input.startupLocOriginal) != kOk)
        return kFailed;
    log_time(kKnownTimeLine, name, start);
    return kOk;
}

// Selects the known components of the list and unpacks all others at once.
int take_component_list(const BootstrapInput& input, const std::string& root,
                        Selection& selection) {
    if (input.sBootStrapComps.empty()) {
        selection = Selection{true, true, true, true, true};
        return kOk;
    }
    struct Known {
        const char* name;
        std::string& location;
        bool& selected;
    };
    const Known known[] = {
        {kInstaller, input.zulStgLoc, selection.zul},
        {kCore, input.zulCoreStgLoc, selection.zul_core},
        {kMinimalCore, input.zulCoreMinStgLoc, selection.zul_core_min},
        {kPatchTool, input.tesselStgLoc, selection.tessel},
    };
    for (const std::string& entry : input.sBootStrapComps) {
        const auto [name, version] = component_of(entry);
        const std::string payload =
            version.empty() ? highest_payload_of(root, name) : payload_of(root, name, version);
        bool selected = false;
        for (const Known& component : known) {
            if (name == component.name) {
                component.location = payload;
                component.selected = selected = true;
            }
        }
        if (selected)
            continue;
        if (name == kRuntime && !input.bBootStrapOnly) {
            selection.jre = true;
            continue;
        }
        const timeval start = now();
        if (unpack(input, name, payload, input.startupLoc) != kOk)
            return kFailed;
        log_time(kListedTimeLine, name, start);
    }
    return kOk;
}

void record_localised(const char* key, std::initializer_list<FormatArg> args = {}) {
    writeToInstallLog(localised_text(key, args));
}

// Whether the runtime given beforehand has anything in it.
bool given_runtime_is_usable(const BootstrapInput& input) {
    if (input.jreFullLoc.empty())
        return false;
    openLog(input.tempLoc, input.invPtrLocation, input.gsTimeStamp, input.gsLogFileName);
    const DirectoryEntries entries = directory_entries(input.jreFullLoc);
    if (!entries.opened)
        record_localised("S_EROPEN", {input.jreFullLoc});
    else if (entries.empty)
        record_localised("S_ERFINDFILE");
    else if (entries.names.empty())
        record_localised("S_ERJRE_MISSING");
    closeLog();
    return !entries.names.empty();
}

int copy_and_rewrite(const BootstrapInput& input, std::string& location,
                     const std::string& scratch_location) {
    if (copy_needed_tree(input, location, scratch_location) != kOk)
        return kFailed;
    location = scratch_location;
    return kOk;
}

int run_copy_mode(const BootstrapInput& input) {
    const std::string zul = in_scratch(input, "zul");
    if (input.bBootStrapJRE &&
        copy_and_rewrite(input, input.jreStgLoc, in_scratch(input, "jre")) != kOk)
        return kBootstrapFailed;
    for (std::string* location :
         {&input.zulStgLoc, &input.zulCoreStgLoc, &input.zulCoreMinStgLoc}) {
        if (copy_and_rewrite(input, *location, zul) != kOk)
            return kBootstrapFailed;
    }
    if (copy_and_rewrite(input, input.tesselStgLoc, in_scratch(input, "Tessel")) != kOk)
        return kBootstrapFailed;
    return kBootstrapDone;
}

// Finds the runtime's payload, unpacks it and points jreStgLoc at its home in the scratch
// directory.
int bring_runtime(const BootstrapInput& input, const std::string& root) {
    const timeval start = now();
    bool is_jdk = false;
    if (!PathExists(input.jreStgLoc)) {
        std::string payload = highest_payload_of(root, kRuntime);
        if (!PathExists(payload)) {
            payload = highest_payload_of(root, kDevelopmentKit);
            if (!PathExists(payload)) {
                show("S_JRELOC_ERROR_NOCONSOLE_WIN");
                return fail_at("S_STEP_RUNTIME", kRuntime);
            }
            is_jdk = true;
        }
        input.jreStgLoc = payload;
    }
    if (unpack_known(input, input.jreStgLoc, kRuntime, start) != kOk)
        return kFailed;

    input.jreStgLoc = input.tempLoc + "/jre";
    const DirectoryEntries entries = directory_entries(input.jreStgLoc);
    if (!entries.opened) {
        show("S_EROPEN", input.jreStgLoc);
        return fail_at("S_STEP_RUNTIME", kRuntime);
    }
    if (entries.names.empty()) {
        if (entries.empty)
            show("S_ERFINDFILE");
        else
            show("S_ERJRE_MISSING");
        return fail_at("S_STEP_RUNTIME", kRuntime);
    }
    input.jreStgLoc =
        is_jdk ? input.tempLoc + "/jdk/" : input.tempLoc + "/jre/" + entries.names.front();
    return kOk;
}

// The two core components: a failure to unpack leaves the stage location and goes on, with a word
// of it, so that nobody takes half an installer for a whole one.
void bring_core(const BootstrapInput& input, const std::string& root, const char* name,
                std::string& location, bool has_expanded_tree, int& result) {
    const timeval start = now();
    resolve_component(location, root, name);
    if (has_expanded_tree)
        copy_tree(joined_path(location, kExpanded), input.tempLoc);
    if (unpack_known(input, location, name, start) != kOk) {
        if (noted_signal() == 0)
            complain("S_CORE_NOT_UNPACKED", name, location);
        return;
    }
    location = in_scratch(input, "zul");
    result = kBootstrapDone;
}

int run_component_mode(const BootstrapInput& input, const std::string& root,
                       const Selection& selection) {
    if (input.bBootStrapJRE && selection.jre && bring_runtime(input, root) != kOk)
        return kBootstrapFailed;

    int result = kOk;
    if (selection.zul) {
        resolve_component(input.zulStgLoc, root, kInstaller);
        if (unpack_known(input, input.zulStgLoc, kInstaller, now()) != kOk)
            return kBootstrapFailed;
        copy_tree(joined_path(input.zulStgLoc, kExpanded), input.tempLoc);
        input.zulStgLoc = in_scratch(input, "zul");
        result = kBootstrapDone;
    }
    if (selection.zul_core)
        bring_core(input, root, kCore, input.zulCoreStgLoc, true, result);
    if (selection.zul_core_min)
        bring_core(input, root, kMinimalCore, input.zulCoreMinStgLoc, false, result);
    if (selection.tessel) {
        const timeval start = now();
        resolve_component(input.tesselStgLoc, root, kPatchTool);
        if (unpack_known(input, input.tesselStgLoc, kPatchTool, start) != kOk)
            return kBootstrapFailed;
        input.tesselStgLoc = in_scratch(input, "Tessel");
        result = kBootstrapDone;
    }
    return result;
}

int copy_access_files(const BootstrapInput& input) {
    if (input.access.empty())
        return kOk;
    const timeval start = now();
    if (!input.bNoBootStrap && copy_needed_tree(input, input.access, input.tempLoc) != kOk)
        return kFailed;
    log_time(kKnownTimeLine, "Access Files", start);
    return kOk;
}

void copy_extra_directories(const BootstrapInput& input) {
    struct Extra {
        const std::string& source;
        const char* name;
    };
    const Extra extras[] = {
        {input.sExtJlibString, "jlib"}, {input.sExtLibString, "lib"}, {input.sExtBinString, "bin"}};
    const std::string ext = in_scratch(input, "ext");
    for (const Extra& extra : extras) {
        if (!PathExists(extra.source))
            continue;
        const std::string dest = joined_path(ext, extra.name);
        mkdir(ext.c_str(), kMadeDirectoryMode);
        mkdir(dest.c_str(), kMadeDirectoryMode);
        copy_tree(extra.source, dest);
    }
}

// Everything between the look at the free space and the extra directories.
int bring_everything(const BootstrapInput& input) {
    if (!input.imageLoc.empty()) {
        const std::string images = in_scratch(input, "images");
        copy_tree(input.imageLoc, images);
        input.imageLoc = images;
    }
    if (launcher_state::_bPrintTime)
        openLog(input.tempLoc, input.invPtrLocation, input.gsTimeStamp, input.gsLogFileName);

    const std::string root = stage_root();
    Selection selection;
    if (take_component_list(input, root, selection) != kOk)
        return kBootstrapFailed;

    if (input.bShipHomeLocation)
        change_directory(input.startupLocOriginal);
    const bool given_runtime = given_runtime_is_usable(input);
    int result =
        input._bDistribution ? run_component_mode(input, root, selection) : run_copy_mode(input);
    if (result == kBootstrapFailed)
        return result;
    if (input.bShipHomeLocation)
        change_directory(input.startupLoc);

    if (given_runtime)
        input.jreStgLoc = input.jreFullLoc;
    if (copy_access_files(input) != kOk)
        return kBootstrapFailed;
    if (launcher_state::_bPrintTime)
        closeTimeLog();
    if (!input.prereqConfigLoc.empty()) {
        if (copy_and_rewrite(input, input.prereqConfigLoc, in_scratch(input, "prereq")) != kOk)
            return kBootstrapFailed;
        result = kBootstrapDone;
    }
    return result;
}

} // namespace

int doBootStrap(const BootstrapInput& input) {
    openLog(input.tempLoc, input.invPtrLocation, input.gsTimeStamp, input.gsLogFileName);

    // A shortfall of space ends in the report like a bootstrap that went well; other failures do
    // not.
    const bool has_room = getFreeSpace(input.tempLoc) >= input.lBootStrapSz;
    int result = kBootstrapFailed;
    if (has_room) {
        result = bring_everything(input);
        if (result == kBootstrapFailed)
            return result;
    }
    if (!input.bNoBootStrap)
        copy_extra_directories(input);
    logBootStrapInformation(input.tempLoc);
    closeLog();
    if (!has_room && noted_signal() == 0)
        complain_of_shortfall(input);
    return result;
}

const BootstrapFailure& last_bootstrap_failure() {
    return failure;
}

bool names_runtime(const std::vector<std::string>& components) {
    return std::any_of(components.begin(), components.end(), [](const std::string& entry) {
        const std::vector<std::string> pieces = split(entry, ":");
        return !pieces.empty() && pieces[0] == kRuntime;
    });
}
