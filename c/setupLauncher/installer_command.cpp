#include "setupLauncher/installer_command.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/text.h"
#include "setupLauncher/argument_listing.h"
#include "setupLauncher/environment.h"
#include "setupLauncher/java_home.h"
#include "setupLauncher/locations.h"

#include <cstdio>

namespace {

// This release of the system knows no platform parameter.
constexpr const char* kReleaseWithoutPlatformParameter = "5.5.1";

enum class Jars { scratch, extension, back_end, patch_tool, front_end, added };

struct ClassPathEntry {
    Jars place;
    const char* jar; // null for a place that is an entry by itself
};

// In order; an entry whose place is empty stays as an empty one.
constexpr ClassPathEntry kClassPath[] = {
    {Jars::scratch, nullptr},
    {Jars::extension, nullptr},
    {Jars::back_end, "TalInstaller.jar"},
    {Jars::back_end, "quickrun.jar"},
    {Jars::back_end, "xmlkitv2.jar"},
    {Jars::back_end, "common.jar"},
    {Jars::back_end, "TalInstallerNet.jar"},
    {Jars::back_end, "cfgagent.jar"},
    {Jars::back_end, "cfgmgrutl.jar"},
    {Jars::back_end, "TalPrereq.jar"},
    {Jars::back_end, "sshlib.jar"},
    {Jars::back_end, "rshell.jar"},
    {Jars::back_end, "remoteapi.jar"},
    {Jars::back_end, "webclient.jar"},
    {Jars::back_end, "TalSuiteInstaller.jar"},
    {Jars::patch_tool, "tessel.jar"},
    {Jars::patch_tool, "tesselactions.jar"},
    {Jars::patch_tool, "tesselprereq.jar"},
    {Jars::patch_tool, "tesselutil.jar"},
    {Jars::back_end, "TalCheckPoint.jar"},
    {Jars::front_end, "SetupImages.jar"},
    {Jars::front_end, "SetupHelp.jar"},
    {Jars::front_end, "SetupHelp_de.jar"},
    {Jars::front_end, "SetupHelp_es.jar"},
    {Jars::front_end, "SetupHelp_fr.jar"},
    {Jars::front_end, "SetupHelp_it.jar"},
    {Jars::front_end, "SetupHelp_ja.jar"},
    {Jars::front_end, "SetupHelp_ko.jar"},
    {Jars::front_end, "SetupHelp_pt_BR.jar"},
    {Jars::front_end, "SetupHelp_zh_CN.jar"},
    {Jars::front_end, "SetupHelp_zh_TW.jar"},
    {Jars::front_end, "talvex_ice.jar"},
    {Jars::front_end, "helpcommon.jar"},
    {Jars::front_end, "hlpj.jar"},
    {Jars::front_end, "uitk3.jar"},
    {Jars::front_end, "uitk3-swingaccess.jar"},
    {Jars::front_end, "swingaccess.jar"},
    {Jars::added, nullptr},
    {Jars::front_end, "juitk4.jar"},
    {Jars::front_end, "tali18n-collation.jar"},
    {Jars::front_end, "tali18n-mapping.jar"},
    {Jars::front_end, "tjmisc.jar"},
    {Jars::front_end, "xmlcore.jar"},
    {Jars::front_end, "nodemgr.jar"},
    {Jars::front_end, "nodemgrasm.jar"},
};

using Vector = std::vector<std::string>;

void add_property(Vector& vector, const char* name, std::string_view value) {
    vector.push_back(std::string("-Dtalvex.installer.").append(name).append("=").append(value));
}

void add_words(Vector& vector, std::string_view text) {
    for (std::string& word : split(text, " "))
        vector.push_back(std::move(word));
}

bool bootstraps(const Settings& settings) {
    return settings.bootStrap.starts_with('T');
}

std::string java_program(const std::string& bin_directory) {
    return bin_directory.empty() ? "java" : bin_directory + "/" + "java";
}

// The runtime that the installer is told of: from a home it is the one installed beside it.
std::string told_jre_location(const Settings& settings) {
    if (launcher_state::_bDistribution)
        return settings.jreDirLoc;
    const std::string runtime = "../../jre";
    return validatePath(runtime) ? runtime : "../../jdk/jre";
}

std::string extension_class_path(const Settings& settings) {
    std::string expanded;
    if (bootstraps(settings)) {
        ComputeEXTClasspath(settings.scratchLoc, settings.extJlibString, expanded);
    } else {
        ComputeEXTClasspath(settings.startupLoc + "/../../inventory/Scripts",
                            settings.extJlibString, expanded);
        ComputeEXTClasspath(settings.extJlibString + "/../..", settings.extJlibString, expanded);
    }
    return expanded;
}

void add_system_properties(Vector& vector, const InstallerCommandInput& input) {
    const Settings& settings = input.settings;
    const bool bootstrap = bootstraps(settings);
    add_property(vector, "library_loc", input.locations.instLibLoc);
    add_property(vector, "zul_loc",
                 bootstrap ? settings.scratchLoc + "/" + "zul"
                           : input.curDir + "/" + settings.zulCoreLoc);
    add_property(vector, "bootstrap", bootstrap ? "TRUE" : "FALSE");
    add_property(vector, "startup_location", settings.startupLoc);
    add_property(vector, "jre_loc", told_jre_location(settings));
    if (launcher_state::useInventoryLocation)
        add_property(vector, "custom_inventory", launcher_state::inventoryLocation);
    if (input.bUseJreLoc)
        add_property(vector, "extjre", "true");
    if (settings.sCopyThreads != "0")
        add_property(vector, "copythreads", settings.sCopyThreads);
    add_property(vector, "nlsEnabled", "\"" + input.locations.nlsEnable + "\"");
    // The installer expects the blank at the end.
    add_property(vector, "prereqConfigLoc", settings.prereqConfigLoc + " ");
    add_property(vector, "unixVersion", input.osVersion);
}

void add_jvm_options(Vector& vector, const InstallerCommandInput& input) {
    const CommandLine& command_line = input.command_line;
    if (!command_line.bOverrideMaxHeapSize)
        add_words(vector, input.settings.jreOptions);
    add_words(vector, command_line.sJvmOptions);
    if (launcher_state::nJavaOptionsSpecified > 0) {
        for (std::size_t i = 0; i < command_line.arguments.size(); ++i) {
            if (command_line.is_java_option[i])
                vector.push_back(command_line.arguments[i].substr(2));
        }
    }
    if (!command_line.bOverrideBootOption)
        add_words(vector, input.settings.jreBootOptions);
    if (launcher_state::_bMemory)
        vector.emplace_back("-verbose:gc");
}

// The one-click class starts the regular installer itself: it gets that one's complete command.
void add_wrapped_installer(Vector& vector, std::size_t length_up_to_class_path) {
    const Vector regular(vector.begin(),
                         vector.begin() + static_cast<std::ptrdiff_t>(length_up_to_class_path));
    vector.insert(vector.end(), regular.begin(), regular.end());
    vector.emplace_back(kInstallerClass);
    std::string groups;
    computeUnixGroups(groups);
    if (!groups.empty())
        vector.push_back(groups);
}

void add_installer_arguments(Vector& vector, InstallerCommandInput& input) {
    vector.emplace_back("-scratchPath");
    vector.push_back(input.settings.scratchLoc);
    AddSourceLocation(input.locations.srcJarLoc, vector, input.settings.startupLoc);
    vector.emplace_back("-sourceType");
    vector.emplace_back("network");
    vector.emplace_back("-timestamp");
    vector.push_back(launcher_state::gsTimeStamp);
    if (input.command_line.bAddNode) {
        launcher_state::_bSilent = true;
        vector.emplace_back("-silent");
    }
    for (std::string& argument : pass_through_arguments(input.command_line))
        vector.push_back(std::move(argument));
}

} // namespace

std::string installer_class_path(const InstallerCommandInput& input) {
    const Settings& settings = input.settings;
    std::string added;
    ComputeAddtoClasspath(settings.scratchLoc, settings.addtoClasspathString, added);
    const std::string extension = extension_class_path(settings);
    std::string class_path;
    for (const ClassPathEntry& entry : kClassPath) {
        if (&entry != &kClassPath[0])
            class_path += ':';
        switch (entry.place) {
        case Jars::scratch:
            class_path += settings.scratchLoc;
            break;
        case Jars::extension:
            class_path += extension;
            break;
        case Jars::back_end:
            class_path += input.locations.instJarBELoc;
            break;
        case Jars::patch_tool:
            class_path += input.locations.tesselJarLoc;
            break;
        case Jars::front_end:
            class_path += input.locations.instJarFELoc;
            break;
        case Jars::added:
            class_path += added;
            break;
        }
        if (entry.jar != nullptr)
            class_path.append("/").append(entry.jar);
    }
    return class_path;
}

std::vector<std::string> compose_installer_command(InstallerCommandInput& input) {
    const CommandLine& command_line = input.command_line;
    Settings& settings = input.settings;
    Vector vector;

    input.locations.jreLoc = java_program(input.locations.jreLoc);
    vector.push_back(input.locations.jreLoc);
    if (!settings.osdParam.empty() && input.osVersion != kReleaseWithoutPlatformParameter)
        vector.push_back(settings.osdParam);
    if (command_line.bStartupLocation) {
        settings.startupLoc = command_line.sAlternativeStartupLoc;
        StripQuotes(settings.startupLoc);
    }
    add_system_properties(vector, input);
    add_jvm_options(vector, input);
    vector.emplace_back("-cp");
    vector.push_back(installer_class_path(input));

    const std::size_t length_up_to_class_path = vector.size();
    const bool one_click = command_line.bOneclick;
    vector.push_back(one_click && !command_line.bHelpMode ? settings.sOneClickEntryPoint
                                                          : settings.sEntryPoint);
    if (one_click && !launcher_state::_bSilent)
        add_wrapped_installer(vector, length_up_to_class_path);
    add_installer_arguments(vector, input);
    return vector;
}

std::string mergeCommandArgs(const std::vector<std::string>& pArgv, bool _printToConsole) {
    if (_printToConsole && launcher_state::_bDebug)
        list_arguments(pArgv);
    std::string merged;
    for (const std::string& argument : pArgv)
        merged += argument + " ";
    return merged;
}
