// A command line that is read and scanned, and everything that this changed.
#pragma once

#include "setupLauncher/options.h"

#include "launch_fixture.h"

// The scan asks who runs it: these tests answer for the system.
inline uid_t user_of_the_launch = 1000;

extern "C" uid_t getuid() noexcept {
    return user_of_the_launch;
}

using Words = std::vector<std::string>;

struct NamedFlag {
    const char* name;
    bool CommandLine::*flag;
};

inline const NamedFlag kFlags[] = {
    {"help", &CommandLine::bHelpMode},
    {"bootstrap only", &CommandLine::bBootStrapOnly},
    {"no bootstrap", &CommandLine::bNoBootStrap},
    {"wait", &CommandLine::bCmdWait},
    {"keep scratch", &CommandLine::bIgnoreDelete},
    {"auto updates", &CommandLine::bTestAutoUpdates},
    {"execute prereqs", &CommandLine::bExecuteSysPreReqs},
    {"ignore prereqs", &CommandLine::bIgnoreSysPreReqs},
    {"no console", &CommandLine::_bNoConsole},
    {"heap given", &CommandLine::bOverrideMaxHeapSize},
    {"boot path given", &CommandLine::bOverrideBootOption},
    {"one click", &CommandLine::bOneclick},
    {"pre clone", &CommandLine::bPreClone},
    {"update node list", &CommandLine::bUpdateNodeList},
    {"attach home", &CommandLine::bAttachHome},
    {"attach suite", &CommandLine::bAttachSuite},
    {"install add-on", &CommandLine::bInstallAddOn},
    {"relink", &CommandLine::bRelinkHome},
    {"remove homes", &CommandLine::bRemoveHomes},
    {"detach homes", &CommandLine::bDetachHomes},
    {"detach suite", &CommandLine::bDetachSuite},
    {"suite deinstall", &CommandLine::bSuiteDeinstall},
    {"update home deps", &CommandLine::bUpdateHomeDeps},
    {"add node", &CommandLine::bAddNode},
    {"cleanup", &CommandLine::bCleanup},
    {"save inventory", &CommandLine::bSaveInventory},
    {"rscratch", &CommandLine::bScratchPath},
    {"ship home", &CommandLine::bShipHomeLocation},
    {"rstartup", &CommandLine::bStartupLocation},
};

// Everything in `command_line` and the launch state that is not at its default, so that a test of
// one effect is also a test that there is no other.
inline std::string effects(const CommandLine& command_line) {
    std::vector<std::string> found;
    const auto flag = [&found](const char* name, bool set) {
        if (set)
            found.emplace_back(name);
    };
    const auto text = [&found](const std::string& name, const std::string& value,
                               const std::string& by_default = "") {
        if (value != by_default)
            found.push_back(name + "=" + value);
    };
    for (const NamedFlag& named : kFlags)
        flag(named.name, command_line.*named.flag);
    flag("silent", state::_bSilent);
    flag("debug", state::_bDebug);
    flag("memory", state::_bMemory);
    flag("prereq session", state::_bPrereqSession);
    flag("java given", state::_bJreLocation);
    flag("print time", state::_bPrintTime);
    flag("no wait", state::noWaitOption);
    flag("inventory given", state::useInventoryLocation);
    flag("prereqs from stage", state::useFromLocForPrereq);
    if (state::nJavaOptionsSpecified != 0)
        found.push_back("java options=" + std::to_string(state::nJavaOptionsSpecified));
    text("log", state::gsLogFileName, "/installActions");
    text("pointer", state::sInvPtrLocation, "POINTER");
    text("prereq log", state::prereqLogLocation);
    text("scratch", state::scratchPath);
    text("inventory", state::inventoryLocation);
    text("java home", command_line.jreDirLoc);
    text("bootstrap to", command_line.sBootStrapLoc);
    text("jvm options", command_line.sJvmOptions);
    text("prereq location", command_line.prereqConfigLoc);
    text("message", command_line.sStartMessage, "Kelvane Installer");
    std::string joined;
    for (const std::string& effect : found)
        joined += (joined.empty() ? "" : ", ") + effect;
    return joined;
}

class OptionsTest : public LaunchFixture {
  protected:
    OptionsTest() {
        user_of_the_launch = 1000;
        reset_state();
    }

    static void reset_state() {
        state::reset();
        state::sInvPtrLocation = "POINTER";
        state::gsTimeStamp = "STAMP";
    }

    static CommandLine read(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "./setupLauncher");
        std::vector<char*> vector;
        for (std::string& argument : arguments)
            vector.push_back(argument.data());
        return read_arguments(static_cast<int>(vector.size()), vector.data());
    }

    static CommandLine scanned(const std::vector<std::string>& arguments) {
        CommandLine command_line = read(arguments);
        EXPECT_EQ(scan_arguments(command_line), 0);
        return command_line;
    }

    static std::string effects_of(const std::vector<std::string>& arguments) {
        reset_state();
        return effects(scanned(arguments));
    }

    static std::vector<std::string> passed(const std::vector<std::string>& arguments) {
        reset_state();
        return pass_through_arguments(scanned(arguments));
    }
};

inline std::string lower(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

inline std::string upper(std::string text) {
    for (char& c : text)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    return text;
}
