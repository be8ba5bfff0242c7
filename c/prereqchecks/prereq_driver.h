// The prerequisite driver: the checks of the parameter file, phase by phase.
//
// Owns: the prerequisite sections and their keys, the order of the phases, what a failure leads to,
// and the questions. Leaves to others: the single checks (system_checks, patch_check) and whether
// the driver runs at all (launch).
//
// Phases: generic (every version of the platform), then, with the platform checks on, required and
// optional (the certified version at hand).
#pragma once

#include <string>
#include <vector>

// The sections of the checks; those of a certified version begin with the platform's name, "-" and
// the version.
inline constexpr const char* kCertifiedSection = "Certified Versions";
inline constexpr const char* kGenericSection = "Generic Prereqs";
inline constexpr const char* kPlatform = "Solaris";
inline constexpr const char* kRequiredSuffix = "-required";
inline constexpr const char* kOptionalSuffix = "-optional";

// A kind of check: its key, the key of the text shown when it fails, and whether it runs in the
// generic phase only.
struct PrereqCheck {
    const char* key;
    const char* failure_key;
    bool generic_only;
};

// Every kind of check.
std::vector<PrereqCheck> prereq_checks();

// Every other key that the driver reads: in the section of the certified versions, and beside the
// checks.
inline constexpr const char* kCertifiedKeys[] = {kPlatform, "CERTIFIED_VERSION_FAILURE_MESSAGE",
                                                 "CERTIFIED_VERSION_WARN",
                                                 "CERTIFIED_VERSION_LOCATION"};
inline constexpr const char* kListPatchesKey = "LOG_PATCHES_TO_CONSOLE";

struct PrereqInput {
    const std::string& paramLoc; // the parameter file
    const std::string& scratchLoc;
    const std::string& gsTimeStamp;
    const std::string& gsLogFileName;
    bool silent;
    const std::string& invPtrLocation;
    bool bExecSysPreReqs; // run the generic phase and end
    bool bIgnorePreReqs;  // say what failed and go on
    bool _bNoConsole;     // ask nothing
    bool _bPlatPrereqs;   // run the platform's phases too
};

// What one phase works with.
struct PrereqPhase {
    const std::string& paramFileLocation;
    const std::string& scratchLoc;
    bool silent;
    bool bIgnorePreReqs;
    bool bRequired;         // true until the required phase is over
    std::string& buffer;    // name of the required section
    std::string& optBuffer; // name of the optional section
    std::string& optFlMsg;  // the failure texts, appended to
    bool bGeneric;
    std::string& genericBuffer; // name of the generic section
};

// Runs the checks. Returns when the launch may go on; otherwise, and always in execute-only mode,
// ends the process with status 255 after saying where the log is. Comes back at once, with nothing
// more said, when a signal is noted.
void checkPreReqs(const PrereqInput& input);

// Runs one phase: 0 passed, 3 when no version is certified, else the result of the last check that
// failed. An uncertified version may end the process.
int CheckPrerequisitesForInstall(PrereqPhase& phase);
