// The complete command line of the Java installer.
//
// Owns: every element of the vector in its order, and the class path. Leaves to others: where the
// values come from (options, settings, environment, java_home) and starting it (spawn).
#pragma once

#include "setupLauncher/options.h"
#include "setupLauncher/settings.h"

#include <string>
#include <string_view>
#include <vector>

struct InstallerCommandInput {
    DerivedLocations& locations; // jreLoc becomes the java program, srcJarLoc the source passed on
    Settings& settings;          // startupLoc gives way to -rstartupLoc
    const CommandLine& command_line;
    std::string curDir;      // the current directory before the bootstrap
    std::string osVersion;   // release of the operating system
    bool bUseJreLoc = false; // the installer's Java runtime lies outside the scratch directory
};

// The vector with the java program as its first element.
std::vector<std::string> compose_installer_command(InstallerCommandInput& input);

// The class path of `input`'s locations.
std::string installer_class_path(const InstallerCommandInput& input);

// `pArgv` as one text, each element followed by a blank. With `_printToConsole` in debug mode the
// elements are listed on the console first.
std::string mergeCommandArgs(const std::vector<std::string>& pArgv, bool _printToConsole);
