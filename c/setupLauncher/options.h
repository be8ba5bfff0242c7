// The command line: what each argument means to the launcher, and which Java class it asks for.
//
// Owns: the table of options and the table of entry classes, the values that a parent launcher
// passes on, and what of the command line reaches the installer. Leaves to others: reading the
// parameter file (settings) and acting on what was asked (launch).
//
// Options are searched for inside the upper-cased argument, not compared with it, in the order of
// the table.
#pragma once

#include "setupLauncher/settings.h"

#include <string>
#include <string_view>
#include <vector>

struct CommandLine {
    std::vector<std::string> arguments; // argument 0 is the path the launcher was invoked by
    std::vector<bool> is_java_option;   // which of them begin with -J

    // From the look at the whole line.
    std::string sParamFile;
    std::string sAlternativeScratch;    // -rscratchPath
    std::string sAlternativeStartupLoc; // -rstartupLoc, else -shipHomeLoc
    bool bScratchPath = false;
    bool bShipHomeLocation = false;
    bool bStartupLocation = false;

    // From the scan.
    bool bHelpMode = false;
    bool bBootStrapOnly = false;
    bool bNoBootStrap = false;
    bool bCmdWait = false;
    bool bIgnoreDelete = false;
    bool bTestAutoUpdates = false;
    bool bExecuteSysPreReqs = false;
    bool bIgnoreSysPreReqs = false;
    bool _bNoConsole = false;
    bool bOverrideMaxHeapSize = false;
    bool bOverrideBootOption = false;
    bool bOneclick = false;
    bool bPreClone = false;
    bool bUpdateNodeList = false;
    bool bAttachHome = false;
    bool bAttachSuite = false;
    bool bInstallAddOn = false;
    bool bRelinkHome = false;
    bool bRemoveHomes = false;
    bool bDetachHomes = false;
    bool bDetachSuite = false;
    bool bSuiteDeinstall = false;
    bool bUpdateHomeDeps = false;
    bool bAddNode = false;
    bool bCleanup = false;
    bool bSaveInventory = false;
    std::string sBootStrapLoc; // BOOTSTRAP_LOC
    std::string sJvmOptions;   // JVM_OPTIONS
    std::string jreDirLoc;     // -JRELOC
    std::string prereqConfigLoc;
    std::string sStartMessage = "Kelvane Installer"; // what the start message calls the program
    std::string sLastExamined; // the last argument that was not a value, in upper case
};

// The arguments, with the first "-bigCluster" replaced by "-setCustomNodelist".
CommandLine read_arguments(int argc, char** argv);

// The option text that the scan would find in `argument`, "" for none. `has_next` tells whether
// another argument follows.
std::string_view option_in(const std::string& argument, bool has_next);
// The same for the look at the whole line, whose names may stand anywhere in it.
std::string_view handed_on_name_in(std::string_view line);

// Takes the values that a parent launcher passes on, anywhere in the joined line, argument 0
// included; nothing from a line that is argument 0 alone.
void pre_scan(CommandLine& command_line);

// Scans every argument, argument 0 included, into `command_line` and the launch state. 0, or -1
// after a message: for the super-user, and for a misspelt -INVPTRLOC.
int scan_arguments(CommandLine& command_line);

// Chooses the Java entry class by the first command that was given and applies its rules to
// `settings`. 0, or -1 after a message when the command cannot be run from where it was started.
int choose_entry_class(const CommandLine& command_line, Settings& settings);

// The arguments that reach the installer, in their order.
std::vector<std::string> pass_through_arguments(const CommandLine& command_line);
