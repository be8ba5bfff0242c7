// The settings of a launch, each with where its value comes from.
//
// Owns: the origins. Leaves to others: the values (setupLauncher/settings, the launcher's own).
#pragma once

#include "parameter_lines.h"
#include "setupLauncher/options.h"
#include "setupLauncher/settings.h"

#include <string>

// The settings at three moments of a launch.
struct SettingsHistory {
    Settings given;      // before the parameter file was read: what the command line said
    Settings read;       // after it
    Settings ruled;      // after the choice of the entry class
    Settings final_ones; // before the bootstrap
};

void say_settings(const SettingsHistory& history, const CommandLine& command_line,
                  const ParameterLines& file, const std::string& file_name);
