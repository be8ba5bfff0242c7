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
// ends the process with status 255 after saying where the log is.
void checkPreReqs(const PrereqInput& input);

// Runs one phase: 0 passed, 3 when no version is certified, else the result of the last check that
// failed. An uncertified version may end the process.
int CheckPrerequisitesForInstall(PrereqPhase& phase);
