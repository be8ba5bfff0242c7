#include "prereqchecks/prereq_driver.h"

#include "base/profile.h"
#include "base/status.h"
#include "log/install_log.h"
#include "platform/console_input.h"
#include "platform/signals.h"
#include "prereqchecks/patch_check.h"
#include "prereqchecks/system_checks.h"

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>

namespace {

constexpr int kLongestValue = 1024;
constexpr std::size_t kLongestAnswer = 1023; // with its line feed; the rest is the next answer
constexpr int kRepetitionMilliseconds = 1000;

enum class Phases {
    all,
    generic,         // only in the generic phase
    generic_visible, // the same, and only in a launch that is not silent
};

// One kind of check: its key, the key of the text shown when it fails, and the check itself.
struct CheckRow {
    const char* key;
    const char* failure_key;
    Phases phases;
    int (*run)(const PrereqPhase& phase, const std::string& value, const std::string& failure);
};

std::string value_in(const PrereqPhase& phase, const char* section, const char* key) {
    std::string value;
    GenericGetPrivateProfileString(section, key, "", value, kLongestValue,
                                   phase.paramFileLocation.c_str());
    return value;
}

// Looks in the required section, then in the optional one, whatever phase is running.
std::string value_in_version_sections(const PrereqPhase& phase, const char* key) {
    std::string value;
    GenericGetPrivateProfileStringFromINI(phase.buffer.c_str(), phase.optBuffer.c_str(), key, "",
                                          value, kLongestValue, phase.paramFileLocation.c_str());
    return value;
}

int check_packages(const PrereqPhase& phase, const std::string& value,
                   const std::string& /*failure*/) {
    return CheckPackagesInstalled(value, "", phase.scratchLoc);
}

int check_processor(const PrereqPhase& /*phase*/, const std::string& value,
                    const std::string& /*failure*/) {
    return CheckProcessorType(value);
}

int check_temp_space(const PrereqPhase& phase, const std::string& value,
                     const std::string& /*failure*/) {
    return CheckTempSpace(value, phase.scratchLoc);
}

int check_swap(const PrereqPhase& phase, const std::string& value, const std::string& /*failure*/) {
    return CheckSwap(value, "", phase.scratchLoc);
}

int check_cpu(const PrereqPhase& phase, const std::string& value, const std::string& /*failure*/) {
    return CheckCPUSpeed(value, phase.scratchLoc);
}

int check_display(const PrereqPhase& phase, const std::string& value,
                  const std::string& /*failure*/) {
    return CheckDisplayCols(value, phase.scratchLoc);
}

// Missing optional patches explain themselves unless the parameter file does it.
void explain_optional_patches(const PrereqPhase& phase, bool list_on_console) {
    show("S_FAILED_PATCHES_1", sLogLoc);
    phase.optFlMsg += english_text("S_FAILED_PATCHES_1", {sLogLoc});
    show("S_FAILED_PATCHES_2");
    phase.optFlMsg += english_text("S_FAILED_PATCHES_2");
    show("S_FAILED_PATCHES_SOLARIS");
    if (list_on_console)
        phase.optFlMsg += english_text("S_FAILED_PATCHES_SOLARIS");
    else
        record("S_FAILED_PATCHES_SOLARIS");
}

int check_patches(const PrereqPhase& phase, const std::string& value, const std::string& failure) {
    const bool list_on_console =
        !value_in_version_sections(phase, kListPatchesKey).starts_with('F');
    const int result = CheckPatchesInstalled(value, "", phase.scratchLoc, list_on_console ? 1 : 0);
    if (result != kCheckPassed && !phase.bRequired && failure.empty() && noted_signal() == 0)
        explain_optional_patches(phase, list_on_console);
    return result;
}

constexpr CheckRow kChecks[] = {
    {"PACKAGES", "PACKAGES_FAILURE_MESSAGE", Phases::all, check_packages},
    {"PROCESSOR", "PROCESSOR_FAILURE_MESSAGE", Phases::all, check_processor},
    {"TEMP_SPACE", "TEMP_SPACE_FAILURE_MESSAGE", Phases::all, check_temp_space},
    {"SWAP_SPACE", "SWAP_SPACE_FAILURE_MESSAGE", Phases::generic, check_swap},
    {"PATCHES", "PATCHES_FAILURE_MESSAGE", Phases::all, check_patches},
    {"CPU", "CPU_FAILURE_MESSAGE", Phases::all, check_cpu},
    {"MIN_DISPLAY_COLORS", "MIN_DISPLAY_COLORS_FAILURE_MESSAGE", Phases::generic_visible,
     check_display},
};

// The row of `key` when it is checked in this phase, else null.
const CheckRow* find_check(const PrereqPhase& phase, const std::string& key) {
    for (const CheckRow& row : kChecks) {
        if (key != row.key)
            continue;
        const bool runs = row.phases == Phases::all ||
                          (phase.bGeneric && (row.phases == Phases::generic || !phase.silent));
        return runs ? &row : nullptr;
    }
    return nullptr;
}

int run_section(PrereqPhase& phase, const std::string& section) {
    // Most files have none of them; that is usually known without reading the file again.
    if (!has_section(section.c_str(), phase.paramFileLocation.c_str()))
        return kCheckPassed;
    std::FILE* file = std::fopen(phase.paramFileLocation.c_str(), "r");
    if (file == nullptr)
        return kCheckPassed;
    fcntl(fileno(file), F_SETFD, FD_CLOEXEC); // the checks run commands
    int result = kCheckPassed;
    std::string key;
    std::string value;
    if (GenericGetPrivateProfileVarAndString(section.c_str(), key, value, file) == 0) {
        while (noted_signal() == 0 &&
               GenericGetPrivateProfileVarAndString(nullptr, key, value, file) == 0) {
            const CheckRow* row = value.empty() ? nullptr : find_check(phase, key);
            if (row == nullptr)
                continue;
            const std::string failure = value_in_version_sections(phase, row->failure_key);
            const int checked = row->run(phase, value, failure);
            if (checked == kCheckPassed)
                continue;
            result = checked;
            if (!failure.empty())
                phase.optFlMsg += "\n\n" + failure;
        }
    }
    std::fclose(file);
    return result;
}

// Shows and records where the log is, then ends the process. Comes back only when a signal has been
// noted, such as that nobody reads any more what is shown.
void end_launch() {
    report("S_EXIT_MSG", sLogLoc);
    std::fflush(stdout);
    if (noted_signal() != 0)
        return;
    closeLog();
    std::exit(kFailed);
}

// Asks until the answer begins with y, or with n or is an empty line. The end of the input is no
// answer: the question then repeats, once a second, so that nobody's log fills a disk overnight. A
// signal ends the asking.
bool operator_goes_on(const std::string& question, const std::string& english_question) {
    std::string answer;
    for (;;) {
        nls_out(question);
        writeToInstallLog(english_question);
        std::fflush(stdout);
        const bool answered = read_console_line(answer, kLongestAnswer);
        if (noted_signal() != 0) {
            nls_out("\n"); // what is said of the signal begins a line
            return false;
        }
        if (!answered) {
            poll(nullptr, 0, kRepetitionMilliseconds); // which a signal ends early
            continue;
        }
        if (answer.starts_with('y') || answer.starts_with('Y'))
            return true;
        if (answer.empty() || answer.starts_with('n') || answer.starts_with('N'))
            return false;
    }
}

void show_and_log(const std::string& text) {
    logAndShowMsg(text, 1);
}

// An uncertified version as a warning: comes back only when the operator takes it on, or with a
// signal noted.
void warn_of_uncertified_version(const PrereqPhase& phase) {
    const std::string location = value_in(phase, kCertifiedSection, "CERTIFIED_VERSION_LOCATION");
    nls_out("\n\n");
    if (location.empty())
        show_and_log("\nThe version of this operating system is not certified.\n");
    else
        show_and_log(format_text("\nThe version of this operating system is not certified.Check "
                                 "'%s' for a list of certified versions.\n",
                                 {location}));
    if (phase.silent)
        return end_launch();
    const char* question = "\nDo you want to continue? (y/n) [n]: ";
    const bool goes_on = operator_goes_on(question, question);
    if (noted_signal() != 0)
        return;
    if (!goes_on) {
        show_and_log("The user has verified that the product cannot be installed on this platform. "
                     "Quitting the install...\n");
        return end_launch();
    }
    show_and_log("The user has verified that the product can be installed on this platform. "
                 "Continuing with the install...\n");
}

// Holds the system against the certified versions. True, with the names of the version's sections
// filled in, when the checks of the required section are to run; otherwise `result` is the phase's.
bool enter_required_phase(PrereqPhase& phase, int& result) {
    const std::string certified = value_in(phase, kCertifiedSection, kPlatform);
    if (certified.empty()) {
        report("S_NO_PREQ_RUN");
        result = kNoCertifiedVersions;
        return false;
    }
    report("S_CHECKING_REQ_PREREQ");
    const std::string failure =
        value_in(phase, kCertifiedSection, "CERTIFIED_VERSION_FAILURE_MESSAGE");
    std::string version;
    result = CheckCertifiedVersion(certified, version, phase.scratchLoc);
    if (result == kCheckPassed) {
        phase.buffer = std::string(kPlatform) + "-" + version + kRequiredSuffix;
        phase.optBuffer = std::string(kPlatform) + "-" + version + kOptionalSuffix;
        phase.genericBuffer = kGenericSection;
        return true;
    }
    if (!failure.empty())
        show_and_log("\n\n" + failure);
    if (phase.bIgnorePreReqs)
        return false;
    if (value_in(phase, kCertifiedSection, "CERTIFIED_VERSION_WARN") == "TRUE")
        warn_of_uncertified_version(phase);
    else
        end_launch();
    result = kCheckPassed;
    return false;
}

bool phase_passed(int result) {
    return result == kCheckPassed || result == kNoCertifiedVersions;
}

bool is_optional(const PrereqPhase& phase) {
    return !phase.bGeneric && !phase.bRequired;
}

// What is said when a failed phase is ignored.
void report_ignored(const PrereqPhase& phase) {
    // Compared with the text as the catalogue has it, before any path is filled in.
    const char* patches = nls_mesg("S_FAILED_PATCHES_1");
    if (!is_optional(phase))
        report("S_IGNORE_REQ_SYS_PREREQ");
    else if (patches != nullptr && phase.optFlMsg.find(patches) != std::string::npos)
        report("S_IGNORE_PATCH_SYS_PREREQ");
    else
        report("S_IGNORE_OPT_SYS_PREREQ");
}

void report_failed_phase(const PrereqPhase& phase) {
    const bool collected = !phase.optFlMsg.empty();
    if (collected)
        show_and_log(phase.optFlMsg);
    if (!is_optional(phase)) {
        report("S_FAILED_PRE_REQ_1");
        report("S_FAILED_PRE_REQ_2");
        if (collected)
            nls_out("\n\n");
    } else if (!collected) {
        report("S_FAILED_OPTIONAL");
    }
}

// A failed phase that is not ignored: comes back only when the operator wants to go on, or with a
// signal noted.
void settle_failed_phase(const PrereqPhase& phase, bool no_console) {
    report_failed_phase(phase);
    if (no_console || phase.silent)
        return end_launch();
    const bool goes_on = operator_goes_on(unfilled_text("S_CONTINUE"), english_text("S_CONTINUE"));
    if (noted_signal() != 0)
        return;
    if (!goes_on) {
        report("S_CONTINUE_NO");
        return end_launch();
    }
    // S_CONTINUE_YES stays unsaid: the operator has just typed it.
    if (!is_optional(phase))
        report("S_IGNORE_REQ_SYS_PREREQ");
}

// The generic phase as the whole launch: comes back only with a signal noted.
void run_generic_phase_alone(PrereqPhase& phase) {
    const int result = CheckPrerequisitesForInstall(phase);
    if (noted_signal() != 0)
        return;
    if (!phase_passed(result) && phase.bIgnorePreReqs)
        report("S_IGNORE_REQ_SYS_PREREQ");
    show_and_log(phase.optFlMsg);
    end_launch();
}

void run_phases(PrereqPhase& phase, const PrereqInput& input) {
    struct Step {
        bool bGeneric;
        bool bRequired;
    };
    constexpr Step generic{true, true};
    constexpr Step required{false, true};
    constexpr Step optional{false, false};
    for (const Step& step : {generic, required, optional}) {
        if (!step.bGeneric && !input._bPlatPrereqs)
            break;
        phase.bGeneric = step.bGeneric;
        phase.bRequired = step.bRequired;
        phase.optFlMsg.clear();
        const int result = CheckPrerequisitesForInstall(phase);
        if (noted_signal() != 0)
            return;
        if (!phase_passed(result)) {
            if (!input.bIgnorePreReqs)
                return settle_failed_phase(phase, input._bNoConsole); // for all that are left
            report_ignored(phase);
        } else if (result == kCheckPassed && !step.bGeneric && step.bRequired) {
            report("S_PRE_REQREQ_PASSED");
        }
    }
    show_and_log("\n");
}

} // namespace

std::vector<PrereqCheck> prereq_checks() {
    std::vector<PrereqCheck> checks;
    for (const CheckRow& row : kChecks)
        checks.push_back({row.key, row.failure_key, row.phases != Phases::all});
    return checks;
}

int CheckPrerequisitesForInstall(PrereqPhase& phase) {
    std::string section;
    if (phase.bGeneric) {
        phase.genericBuffer = kGenericSection;
        section = phase.genericBuffer;
    } else if (phase.bRequired) {
        int result = kCheckPassed;
        if (!enter_required_phase(phase, result))
            return result;
        section = phase.buffer;
    } else {
        section = phase.optBuffer;
    }
    return run_section(phase, section);
}

void checkPreReqs(const PrereqInput& input) {
    std::string buffer;
    std::string optBuffer;
    std::string genericBuffer;
    std::string optFailurelMsg;
    openLog(input.scratchLoc, input.invPtrLocation, input.gsTimeStamp, input.gsLogFileName);

    PrereqPhase phase{input.paramLoc, input.scratchLoc, input.silent, input.bIgnorePreReqs,
                      true,           buffer,           optBuffer,    optFailurelMsg,
                      true,           genericBuffer};
    if (input.bExecSysPreReqs)
        run_generic_phase_alone(phase);
    else
        run_phases(phase, input);
    closeLog();
}
