// What of the system's checks can be foretold.
//
// Owns: going through the phases as a launch does, the verdicts that need no command, and whether a
// launch ends here. Leaves to others: the checks that run commands, which are assumed to pass.
#pragma once

#include "parameter_lines.h"
#include "setupLauncher/options.h"

#include <string>

struct PrereqPlan {
    const ParameterLines& file;
    const CommandLine& command_line;
    std::string scratch_base; // on its file system the space is measured
    std::string log;          // where the install log will lie
    bool platform_checks = false;
};

// Says what is checked, with the verdict where it is known. True when the launch ends, with what it
// would say last in `message`.
bool prerequisites_end_launch(const PrereqPlan& plan, std::string& message);
