#include "setupLauncher/options.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "log/install_log.h"
#include "setupLauncher/locations.h"

#include <string_view>
#include <unistd.h>

namespace {

using Flag = bool CommandLine::*;
constexpr Flag kNone = nullptr;

enum class Action {
    flags,              // nothing but what the row sets
    bootstrap_loc,      // session variables
    jvm_options,        //
    prereq_location,    //
    from_location,      // only while no prerequisite location is known
    inventory_location, //
    prereq_checker,     // changes the start message
    pointer_file,       // these three take the next argument
    prereq_log,         //
    scratch_path,       //
};

struct Option {
    std::string_view text;
    Action action;
    Flag flag;            // set in the command line
    bool* launch_flag;    // set in the launch state
    bool silent;          // asks no questions
    const char* log_name; // base name of the install log
};

namespace state = launcher_state;

// In the order of testing; the first text found in an argument decides. The texts are upper case.
const Option kOptions[] = {
    // clang-format off
    {"-PRECLONESETUP",         Action::flags, &CommandLine::bPreClone,          nullptr, false, nullptr},
    {"-UPDATENODELIST",        Action::flags, &CommandLine::bUpdateNodeList,    nullptr, true,  "/UpdateNodeList"},
    {"-ATTACHHOME",            Action::flags, &CommandLine::bAttachHome,        nullptr, true,  "/AttachHome"},
    {"-INSTALLADDONS",         Action::flags, &CommandLine::bInstallAddOn,      nullptr, true,  "/InstalLAddOn"},
    {"-ATTACHSUITE",           Action::flags, &CommandLine::bAttachSuite,       nullptr, true,  "/AttachSuite"},
    {"-RELINK",                Action::flags, &CommandLine::bRelinkHome,        nullptr, true,  nullptr},
    {"-CLEANUP",               Action::flags, &CommandLine::bCleanup,           nullptr, false, "/Cleanup"},
    {"-SAVEINVENTORY",         Action::flags, &CommandLine::bSaveInventory,     nullptr, false, "/SaveInventory"},
    {"-REMOVEHOME",            Action::flags, &CommandLine::bRemoveHomes,       nullptr, false, "/RemoveHome"},
    {"-BOOTSTRAPONLY",         Action::flags, &CommandLine::bBootStrapOnly,     nullptr, true,  nullptr},
    {"-NOBOOTSTRAP",           Action::flags, &CommandLine::bNoBootStrap,       nullptr, false, nullptr},
    {"BOOTSTRAP_LOC",          Action::bootstrap_loc, kNone,                    nullptr, false, nullptr},
    {"JVM_OPTIONS",            Action::jvm_options, kNone,                      nullptr, false, nullptr},
    {"-PRINTTIME",             Action::flags, kNone,               &state::_bPrintTime,  false, nullptr},
    {"-DETACHHOME",            Action::flags, &CommandLine::bDetachHomes,       nullptr, true,  "/DetachHome"},
    {"-DETACHSUITE",           Action::flags, &CommandLine::bDetachSuite,       nullptr, true,  "/DetachSuite"},
    {"-SUITEDEINSTALL",        Action::flags, &CommandLine::bSuiteDeinstall,    nullptr, true,  "/SuiteDeinstall"},
    {"-UPDATEHOMEDEPS",        Action::flags, &CommandLine::bUpdateHomeDeps,    nullptr, true,  "/UpdateHomeDeps"},
    {"-ADDNODE",               Action::flags, &CommandLine::bAddNode,           nullptr, false, nullptr},
    {"-PREREQCHECKER",         Action::prereq_checker, kNone,  &state::_bPrereqSession,  false, nullptr},
    {"-SILENT",                Action::flags, kNone,                            nullptr, true,  nullptr},
    {"-WAITFORCOMPLETION",     Action::flags, &CommandLine::bCmdWait,           nullptr, false, nullptr},
    {"-NOWAIT",                Action::flags, kNone,              &state::noWaitOption,  false, nullptr},
    {"-NOCLEANUPONEXIT",       Action::flags, &CommandLine::bIgnoreDelete,      nullptr, false, nullptr},
    {"-TESTFORAUTOUPDATES",    Action::flags, &CommandLine::bTestAutoUpdates,   nullptr, false, nullptr},
    {"-INVPTRLOC",             Action::pointer_file, kNone,                     nullptr, false, nullptr},
    {"-HELP",                  Action::flags, &CommandLine::bHelpMode,          nullptr, true,  nullptr},
    {"-H",                     Action::flags, &CommandLine::bHelpMode,          nullptr, true,  nullptr},
    {"-PREREQLOGLOC",          Action::prereq_log, kNone,                       nullptr, false, nullptr},
    {"-SCRATCHPATH",           Action::scratch_path, kNone,                     nullptr, false, nullptr},
    {"-DEBUG",                 Action::flags, kNone,                   &state::_bDebug,  false, nullptr},
    {"-MEMORY",                Action::flags, kNone,                  &state::_bMemory,  false, nullptr},
    {"-IGNORESYSPREREQS",      Action::flags, &CommandLine::bIgnoreSysPreReqs,  nullptr, false, nullptr},
    {"-EXECUTESYSPREREQS",     Action::flags, &CommandLine::bExecuteSysPreReqs, nullptr, false, nullptr},
    {"-NOCONSOLE",             Action::flags, &CommandLine::_bNoConsole,        nullptr, false, nullptr},
    {"PREREQ_CONFIG_LOCATION", Action::prereq_location, kNone,                  nullptr, false, nullptr},
    {"INVENTORY_LOCATION",     Action::inventory_location, kNone,               nullptr, false, nullptr},
    {"-ONECLICK",              Action::flags, &CommandLine::bOneclick,          nullptr, false, nullptr},
    {"FROM_LOCATION",          Action::from_location, kNone,                    nullptr, false, nullptr},
    // clang-format on
};

// The Java runtime's option, which does not keep an argument from the table.
constexpr std::string_view kRuntimeOption = "-JRELOC";

// What a parent launcher hands on; found anywhere in the joined line.
constexpr std::string_view kHandedOnNames[] = {"-timestamp",   "-paramFile",   "-rscratchPath",
                                               "-shipHomeLoc", "-rstartupLoc", "-rtimestamp"};

enum class BootstrapRule {
    keep,
    off,
    off_as_written, // when the parameter file itself says that this is no distribution
};

struct EntryClass {
    Flag flag;              // the command; null for the prerequisite session
    const char* class_name; // null: the class of the parameter file stays
    BootstrapRule bootstrap;
    bool from_home; // must run from an installed home
};

// In the order of choosing.
constexpr EntryClass kEntryClasses[] = {
    // clang-format off
    {&CommandLine::bPreClone,       "talvex.admkit.kst.kstc.KstcPreCloneSetup",        BootstrapRule::keep,           true},
    // The prerequisite session has rules of its own, below: they hold whatever class is chosen.
    {kNone,                         "talvex.admkit.kpr.kprc.kprcc.KprccPrereqApp",     BootstrapRule::keep,           false},
    {&CommandLine::bUpdateNodeList, "talvex.admkit.kst.kstc.KstcUpdateNodeList",       BootstrapRule::off,            true},
    {&CommandLine::bAttachHome,     "talvex.admkit.kst.kstc.KstcAttachHome",           BootstrapRule::off_as_written, false},
    {&CommandLine::bAttachSuite,    "talvex.admkit.kst.kstc.KstcAttachSuite",          BootstrapRule::off,            true},
    {&CommandLine::bInstallAddOn,   "talvex.admkit.kst.kstc.KstcInstallAddOn",         BootstrapRule::keep,           false},
    {&CommandLine::bRelinkHome,     "talvex.admkit.kst.ksts.KstsMakeDeps",             BootstrapRule::keep,           false},
    {&CommandLine::bRemoveHomes,    "talvex.admkit.kst.kstc.KstcRemoveHome",           BootstrapRule::off,            true},
    {&CommandLine::bDetachHomes,    "talvex.admkit.kst.kstc.KstcDetachHome",           BootstrapRule::off,            true},
    {&CommandLine::bDetachSuite,    "talvex.admkit.kst.kstc.KstcDetachSuite",          BootstrapRule::off,            true},
    {&CommandLine::bSuiteDeinstall, "talvex.admkit.kst.kstc.KstcSuiteDeinstall",       BootstrapRule::off,            true},
    {&CommandLine::bUpdateHomeDeps, "talvex.admkit.kst.kstc.KstcUpdateHomeDeps",       BootstrapRule::keep,           false},
    {&CommandLine::bAddNode,        nullptr,                                           BootstrapRule::off,            true},
    {&CommandLine::bCleanup,        "talvex.admkit.kst.kstc.KstcCleanup",              BootstrapRule::keep,           false},
    {&CommandLine::bSaveInventory,  "talvex.admkit.kst.kstc.KstcSaveInventory",        BootstrapRule::keep,           false},
    {&CommandLine::bOneclick,       nullptr,                                           BootstrapRule::keep,           false},
    // clang-format on
};

// An option that takes a value takes it only when it stands alone, not inside a longer word.
bool is_whole(const Option& option, const std::string& upper) {
    return upper.size() == option.text.size();
}

bool takes_next_argument(Action action) {
    return action == Action::pointer_file || action == Action::prereq_log ||
           action == Action::scratch_path;
}

const Option* find_option(const std::string& upper, bool has_next) {
    for (const Option& option : kOptions) {
        if (upper.find(option.text) == std::string::npos)
            continue;
        // Without a value after it the argument may still be something further down.
        if (takes_next_argument(option.action) && !has_next)
            continue;
        return &option;
    }
    return nullptr;
}

// Applies `option`, found in argument `at`, which moves on over a value that was taken.
int apply_option(const Option& option, const std::string& upper, CommandLine& command_line,
                 std::size_t& at) {
    const std::string& argument = command_line.arguments[at];
    if (option.flag != kNone)
        command_line.*option.flag = true;
    if (option.launch_flag != nullptr)
        *option.launch_flag = true;
    if (option.silent)
        state::_bSilent = true;
    if (option.log_name != nullptr)
        state::gsLogFileName = option.log_name;

    switch (option.action) {
    case Action::flags:
        break;
    case Action::bootstrap_loc:
        GetBootStrapLoc(command_line.sBootStrapLoc, argument);
        break;
    case Action::jvm_options:
        GetJvmOptions(command_line.sJvmOptions, argument);
        break;
    case Action::prereq_location:
        state::useFromLocForPrereq = false;
        GetPrereqConfigLoc(command_line.prereqConfigLoc, argument, false);
        break;
    case Action::from_location:
        if (command_line.prereqConfigLoc.empty()) {
            state::useFromLocForPrereq = true;
            GetPrereqConfigLoc(command_line.prereqConfigLoc, argument, true);
        }
        break;
    case Action::inventory_location:
        GetInventoryLoc(state::inventoryLocation, argument);
        state::useInventoryLocation = true;
        break;
    case Action::prereq_checker:
        command_line.sStartMessage = "Prerequisite Checker";
        break;
    case Action::pointer_file:
        if (!is_whole(option, upper)) {
            logMsg(localised_text("S_INVALID_INVPTRLOC_ARG", {argument}));
            return kFailed;
        }
        state::sInvPtrLocation = command_line.arguments[++at];
        break;
    case Action::prereq_log:
        if (is_whole(option, upper))
            state::prereqLogLocation = command_line.arguments[++at];
        break;
    case Action::scratch_path:
        if (is_whole(option, upper))
            state::scratchPath = command_line.arguments[++at];
        break;
    }
    return kOk;
}

// The options of the JVM and the Java runtime, which do not keep an argument from the table.
void scan_java_options(const std::string& upper, CommandLine& command_line, std::size_t& at) {
    const std::string& argument = command_line.arguments[at];
    if (argument.starts_with("-J")) {
        command_line.is_java_option[at] = true;
        ++state::nJavaOptionsSpecified;
        if (argument.starts_with("-J-mx"))
            command_line.bOverrideMaxHeapSize = true;
    }
    if (argument.starts_with("-J-Xbootclasspath")) {
        command_line.bOverrideBootOption = true;
    } else if (upper.find(kRuntimeOption) != std::string::npos &&
               at + 1 < command_line.arguments.size()) {
        if (upper.size() == kRuntimeOption.size())
            command_line.jreDirLoc = command_line.arguments[++at];
        state::_bJreLocation = true;
    }
}

bool is_given(const EntryClass& entry, const CommandLine& command_line) {
    return entry.flag == kNone ? state::_bPrereqSession : command_line.*entry.flag;
}

bool turns_bootstrap_off(BootstrapRule rule, const Settings& settings) {
    if (rule == BootstrapRule::off_as_written) {
        std::string distribution;
        GetParamInformation("DISTRIBUTION", distribution, "F", settings.paramFileLocation,
                            kFirstCharacter);
        return distribution == "F";
    }
    return rule == BootstrapRule::off;
}

// A prerequisite session needs its configuration, and brings nothing along from an installed home.
int apply_session_rules(Settings& settings) {
    const std::string& location = settings.prereqConfigLoc;
    if (location.empty()) {
        show("S_ERR_PREREQ_CONFIG_LOC");
        return kFailed;
    }
    if (!PathExists(location)) {
        print_text(localised_text("S_ERR_INVALID_PREREQ_CONFIG_LOC", {location}));
        return kFailed;
    }
    if (!state::_bDistribution)
        settings.bootStrap = "F";
    return kOk;
}

} // namespace

std::string_view option_in(const std::string& argument, bool has_next) {
    std::string upper;
    toUpper(argument, upper);
    if (has_next && upper.find(kRuntimeOption) != std::string::npos)
        return kRuntimeOption;
    const Option* option = find_option(upper, has_next);
    return option == nullptr ? std::string_view() : option->text;
}

std::string_view handed_on_name_in(std::string_view line) {
    for (const std::string_view name : kHandedOnNames) {
        if (line.find(name) != std::string_view::npos)
            return name;
    }
    return {};
}

CommandLine read_arguments(int argc, char** argv) {
    CommandLine command_line;
    command_line.arguments.assign(argv, argv + argc);
    for (std::string& argument : command_line.arguments) {
        if (argument == "-bigCluster") {
            argument = "-setCustomNodelist";
            break;
        }
    }
    command_line.is_java_option.assign(command_line.arguments.size(), false);
    return command_line;
}

void pre_scan(CommandLine& command_line) {
    // Without an argument there is no value to take: a launcher's own path passes nothing on.
    if (command_line.arguments.size() <= 1)
        return;
    std::string joined;
    for (const std::string& argument : command_line.arguments)
        joined += argument + " ";
    const char* line = joined.c_str();
    const auto occurs = [&joined](const char* name) {
        return joined.find(name) != std::string::npos;
    };
    GetCommandLineArgValue("-timestamp", line, state::gsTimeStamp);
    GetCommandLineArgValueSpaceDelim("-paramFile", line, command_line.sParamFile);
    GetCommandLineArgValue("-rscratchPath", line, command_line.sAlternativeScratch);
    command_line.bScratchPath = occurs("-rscratchPath");
    GetCommandLineArgValue("-shipHomeLoc", line, command_line.sAlternativeStartupLoc);
    command_line.bShipHomeLocation = occurs("-shipHomeLoc");
    GetCommandLineArgValue("-rstartupLoc", line, command_line.sAlternativeStartupLoc);
    command_line.bStartupLocation = occurs("-rstartupLoc");
    GetCommandLineArgValue("-rtimestamp", line, state::gsTimeStamp);
}

int scan_arguments(CommandLine& command_line) {
    for (std::size_t i = 0; i < command_line.arguments.size(); ++i) {
        std::string upper;
        toUpper(command_line.arguments[i], upper);
        std::size_t last_taken = i;
        scan_java_options(upper, command_line, last_taken);
        if (getuid() == 0) {
            complain("S_ERPERROT");
            return kFailed;
        }
        const bool has_next = last_taken + 1 < command_line.arguments.size();
        command_line.sLastExamined = upper;
        if (const Option* option = find_option(upper, has_next)) {
            std::size_t at = i;
            if (apply_option(*option, upper, command_line, at) != kOk)
                return kFailed;
            last_taken = at > last_taken ? at : last_taken;
        }
        i = last_taken;
    }
    return kOk;
}

int choose_entry_class(const CommandLine& command_line, Settings& settings) {
    bool from_home = false;
    for (const EntryClass& entry : kEntryClasses) {
        if (!is_given(entry, command_line))
            continue;
        if (entry.class_name != nullptr)
            settings.sEntryPoint = entry.class_name;
        else if (entry.flag == &CommandLine::bAddNode)
            state::_bSilent = true;
        else if (command_line.bHelpMode)
            settings.sEntryPoint = kInstallerClass;
        else
            settings.sEntryPoint = settings.sOneClickEntryPoint;
        if (turns_bootstrap_off(entry.bootstrap, settings))
            settings.bootStrap = "F";
        from_home = entry.from_home;
        break;
    }
    if (from_home && state::_bDistribution) {
        complain("S_ERRORINVOKINGFROMCD", command_line.sLastExamined);
        return kFailed;
    }
    return state::_bPrereqSession ? apply_session_rules(settings) : kOk;
}

std::vector<std::string> pass_through_arguments(const CommandLine& command_line) {
    // What a parent launcher said to this one, each with its value.
    constexpr std::string_view dropped_with_value[] = {"-rstartupLoc", "-rscratchPath",
                                                       "-rtimestamp", "-shipHomeLoc"};
    std::vector<std::string> passed;
    for (std::size_t i = 1; i < command_line.arguments.size(); ++i) {
        const std::string& argument = command_line.arguments[i];
        if (command_line.is_java_option[i] || argument == "-nobootStrap")
            continue;
        bool dropped = false;
        for (const std::string_view name : dropped_with_value)
            dropped = dropped || argument == name;
        if (dropped)
            ++i;
        else
            passed.push_back(argument);
    }
    return passed;
}
