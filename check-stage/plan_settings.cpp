#include "plan_settings.h"

#include "base/launcher_state.h"
#include "plan_text.h"

namespace {

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text.append(text.empty() ? "" : ",").append(item);
    return text;
}

// The value of a key after the whole reading, also of one that has no place among the settings.
std::string value_of(const LauncherKey& key, const SettingsHistory& history) {
    const Settings& settings = history.final_ones;
    if (const std::string* setting = setting_of(settings, key.name))
        return *setting;
    if (key.name == "BOOTSTRAP_COMPS")
        return joined(settings.sBootStrapComps);
    DerivedLocations locations;
    GetRestOfParams(settings, locations);
    if (key.name == "HLP_LOCATION")
        return locations.helpJarLoc;
    if (key.name == "UITK_LOCATION")
        return locations.uitkJarLoc;
    std::string value;
    GetParamInformation(std::string(key.name).c_str(), value, std::string(key.fallback).c_str(),
                        settings.paramFileLocation,
                        key.form == ValueForm::flag ? kFirstCharacter : kWholeValue);
    return value;
}

bool differs(std::string_view name, const Settings& one, const Settings& other) {
    const std::string* first = setting_of(one, name);
    const std::string* second = setting_of(other, name);
    return first != nullptr && second != nullptr && *first != *second;
}

std::string origin_of(const LauncherKey& key, const SettingsHistory& history,
                      const CommandLine& command_line, const ParameterLines& file,
                      const std::string& file_name) {
    const std::string_view name = key.name;
    if (differs(name, history.ruled, history.final_ones))
        return "computed, a directory jlib lies beside the launcher's";
    if (differs(name, history.read, history.ruled))
        return "command line";
    if (launcher_state::_bJreLocation && (name == "JRE_LOCATION" || name == "JRE_SCRATCH_LOC"))
        return "command line";
    if (name == "JRE_MEMORY_OPTIONS" && command_line.bOverrideMaxHeapSize)
        return "not used, by -J-mx of the command line";
    if (name == "JRE_BOOT_OPTIONS" && command_line.bOverrideBootOption)
        return "not used, by -J-Xbootclasspath of the command line";
    if (name == "BOOTSTRAP" && launcher_state::_bDistribution)
        return "computed, a distribution always brings the installer";
    const ParameterLine* line = deciding_line(file, kLauncherSection, name);
    const bool in_file = line != nullptr && line->has_value && !line->value.empty();
    if (name == "PREREQ_CONFIG_LOCATION" && !history.given.prereqConfigLoc.empty() &&
        !(in_file && launcher_state::useFromLocForPrereq))
        return "command line";
    if (in_file)
        return file_name + ":" + std::to_string(line->number);
    const bool has_fallback = !key.fallback.empty() || value_of(key, history).empty();
    return has_fallback ? "default" : "computed";
}

} // namespace

void say_settings(const SettingsHistory& history, const CommandLine& command_line,
                  const ParameterLines& file, const std::string& file_name) {
    say_headline("settings:");
    for (const LauncherKey& key : launcher_keys())
        say(std::string(key.name) + "=" + value_of(key, history) + "   (" +
            origin_of(key, history, command_line, file, file_name) + ")");
}
