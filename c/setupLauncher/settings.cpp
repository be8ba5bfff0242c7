#include "setupLauncher/settings.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/profile.h"
#include "base/status.h"
#include "base/text.h"
#include "log/install_log.h"
#include "setupLauncher/locations.h"
#include "setupLauncher/scratch.h"

#include <cerrno>
#include <cstdio>

namespace {

constexpr const char* kPlatformDirectory = "intelsolaris";
constexpr int kLongestValue = 1024;

enum class Rule {
    whole,           // the value as it is
    first_character, // cut to one character
    java_location,   // only when the command line named no Java runtime
    java_scratch,    // the same, as a path in the scratch directory
    stage_default,   // the fallback is a pattern of the stage, or the start directory
    prereq_location, // only when the command line gave none, or FROM_LOCATION did
    components,      // a list separated by commas, in a field of its own kind
};

struct Key {
    const char* name;
    const char* fallback; // stands in for a key that is missing or empty
    Rule rule;
    std::string Settings::*field;
    std::string* launch_wide; // instead of `field`: a text that belongs to the launch state
};

constexpr std::string Settings::*kNoField = nullptr;

// In the order of reading: the version fills the stage patterns, the scratch directory the path of
// the runtime.
const Key kKeys[] = {
    {"JRE_SCRATCH_LOC", "", Rule::java_scratch, &Settings::jreFullLoc, nullptr},
    {"JRE_LOCATION", "", Rule::java_location, &Settings::jreDirLoc, nullptr},
    {"ACCESS_DIR", "", Rule::whole, &Settings::access, nullptr},
    {"JRE_MEMORY_OPTIONS", "", Rule::whole, &Settings::jreOptions, nullptr},
    {"JRE_BOOT_OPTIONS", "", Rule::whole, &Settings::jreBootOptions, nullptr},
    {"ZUL_VERSION", "1.7.0.0.0", Rule::whole, &Settings::zulVersion, nullptr},
    {"JRE_VERSION", "", Rule::whole, &Settings::jreVersion, nullptr},
    {"USEJREONLY", "FALSE", Rule::whole, kNoField, &launcher_state::useJreOnly},
    {"USEJDKONLY", "FALSE", Rule::whole, kNoField, &launcher_state::useJdkOnly},
    {"DISABLE_JRE_PROMPT", "FALSE", Rule::whole, kNoField, &launcher_state::disableJrePrompt},
    {"ZUL_LOCATION", "talvex.swd.zul", Rule::stage_default, &Settings::zulLoc, nullptr},
    {"ZUL_CORE_LOCATION", "talvex.swd.zul.core", Rule::stage_default, &Settings::zulCoreLoc,
     nullptr},
    {"ZUL_CORE_MIN_LOCATION", "talvex.swd.zul.core.min", Rule::stage_default,
     &Settings::zulCoreMinLoc, nullptr},
    {"TESSEL_LOCATION", "talvex.swd.tessel", Rule::stage_default, &Settings::tesselLoc, nullptr},
    {"BOOTSTRAP", "F", Rule::first_character, &Settings::bootStrap, nullptr},
    {"BOOTSTRAP_SIZE", "69", Rule::whole, &Settings::bootStrapSz, nullptr},
    {"MULTICD", "T", Rule::first_character, &Settings::multiCD, nullptr},
    {"JRE_OSDPARAM", "", Rule::whole, &Settings::osdParam, nullptr},
    {"ADDTO_CLASSPATH", "", Rule::whole, &Settings::addtoClasspathString, nullptr},
    {"INSTALL_CLASS", kInstallerClass, Rule::whole, &Settings::sEntryPoint, nullptr},
    {"INSTALL_ONECLICK_CLASS", "talvex.admkit.kon.konc.KoncOneClickInstaller", Rule::whole,
     &Settings::sOneClickEntryPoint, nullptr},
    {"PREREQ_CONFIG_LOCATION", "", Rule::prereq_location, &Settings::prereqConfigLoc, nullptr},
    {"WAIT_FOR_COMPLETION", "F", Rule::first_character, &Settings::bWaitSync, nullptr},
    {"COPY_THREADS", "0", Rule::whole, &Settings::sCopyThreads, nullptr},
    {"EXT_JLIB", "", Rule::whole, &Settings::extJlibString, nullptr},
    {"EXT_LIB", "", Rule::whole, &Settings::extLibString, nullptr},
    {"EXT_BIN", "", Rule::whole, &Settings::extBinString, nullptr},
    {"BOOTSTRAP_COMPS", "", Rule::components, kNoField, nullptr},
};

// Keys that are read outside the table above: here for what more is derived, by the launch
// itself and by the choice of the entry class.
constexpr LauncherKey kOtherKeys[] = {
    {"DISTRIBUTION", "F", ValueForm::flag},   {"HLP_LOCATION", "", ValueForm::text},
    {"UITK_LOCATION", "", ValueForm::text},   {"SOURCE", "", ValueForm::text},
    {"NLS_ENABLED", "TRUE", ValueForm::text}, {"PLATFORM_PREREQS", "FALSE", ValueForm::flag},
    {"UMASK", "", ValueForm::text},
};

ValueForm form_of(const Key& key) {
    if (key.launch_wide != nullptr)
        return ValueForm::exact_flag;
    if (key.rule == Rule::first_character)
        return ValueForm::flag;
    const bool number = key.field == &Settings::bootStrapSz || key.field == &Settings::sCopyThreads;
    return number ? ValueForm::number : ValueForm::text;
}

std::string looked_up(const char* key, const std::string& fallback, const std::string& file) {
    // Starts empty, so that a file without the section ends in the fallback as well.
    std::string value;
    GenericGetPrivateProfileString(kLauncherSection, key, fallback.c_str(), value, kLongestValue,
                                   file.c_str());
    return value.empty() ? fallback : value;
}

// Where component `name` lies when its key does not say: on the stage, relative to the start
// directory, or the start directory itself.
std::string default_component_location(const Settings& settings, const char* name) {
    if (!launcher_state::_bDistribution)
        return settings.startupLoc;
    return std::string("../stage/Components/") + name + "/" + settings.zulVersion + "/1/DataFiles";
}

void read_key(const Key& key, Settings& settings) {
    const std::string& file = settings.paramFileLocation;
    if (key.rule == Rule::components) {
        settings.sBootStrapComps = split(looked_up(key.name, key.fallback, file), ",");
        return;
    }
    std::string& target = key.field == kNoField ? *key.launch_wide : settings.*key.field;
    switch (key.rule) {
    case Rule::whole:
        target = looked_up(key.name, key.fallback, file);
        break;
    case Rule::first_character:
        target = looked_up(key.name, key.fallback, file).substr(0, 1);
        break;
    case Rule::java_location:
        if (!launcher_state::_bJreLocation)
            target = looked_up(key.name, key.fallback, file);
        break;
    case Rule::java_scratch:
        if (!launcher_state::_bJreLocation) {
            const std::string value = looked_up(key.name, key.fallback, file);
            if (!value.empty())
                target += settings.scratchLoc + "/" + value;
        }
        break;
    case Rule::stage_default:
        target = looked_up(key.name, default_component_location(settings, key.fallback), file);
        break;
    case Rule::prereq_location:
        if (target.empty() || launcher_state::useFromLocForPrereq)
            target = looked_up(key.name, target, file);
        break;
    case Rule::components:
        break; // above: the one list among texts
    }
}

// A default place of the parameter file, and what paramLoc says when it is found there.
struct Place {
    std::string file;
    const char* param_loc; // null: stays as it was
};

// Looks through the default places in order. False when all are missed.
bool find_in_default_places(Settings& settings, const std::string& curDir,
                            std::vector<std::string>& missed) {
    const std::string beside = settings.startupLoc + "/" + kParameterFile;
    const std::string above = settings.startupLoc + "/../" + kParameterFile;
    const std::string here = curDir + "/" + kParameterFile;
    const std::string above_here = curDir + "/../" + kParameterFile;
    const Place places[] = {{beside, "."}, {above, ".."}, {here, nullptr}, {above_here, nullptr}};
    for (const Place& place : places) {
        if (PathExists(place.file)) {
            settings.paramFileLocation = place.file;
            if (place.param_loc != nullptr)
                settings.paramLoc = place.param_loc;
            return true;
        }
        missed.push_back(place.file);
    }
    return false;
}

// A file that cannot be read counts as one without keys. Whatever comes of that, the operator would
// look for its cause elsewhere without this word.
void complain_if_unreadable(const std::string& file) {
    std::FILE* opened = std::fopen(file.c_str(), "r");
    if (opened == nullptr || (std::getc(opened) == EOF && std::ferror(opened) != 0))
        complain_errno("S_ERPARAMFILE_READ", file);
    if (opened != nullptr)
        std::fclose(opened);
}

// Finds the file and says which one is used: 0, or -2 after the messages when there is none.
int find_parameter_file(Settings& settings, const std::string& curDir, bool bTestAutoUpdates) {
    const std::string given = settings.paramFileLocation;
    std::vector<std::string> missed;
    const bool found = locate_parameter_file(settings, curDir, missed);
    for (const std::string& file : missed)
        record("S_ERTALPARAMNFD_LOC", file);
    if (!found) {
        complain("S_ERTALPARAMNFD", missed.back());
        record("S_ERTALPARAMNFD", missed.back());
        return kNoParameterFile;
    }
    const std::string missing = settings.paramFileLocation == given ? "" : given;
    GetAbsolutePath(settings.paramFileLocation, std::string(settings.paramFileLocation));
    complain_if_unreadable(settings.paramFileLocation);
    if (!missing.empty()) {
        report("S_ERUSR_PARAMFILE_NOT_FOUND", missing);
        report("S_DEF_PARAMFILE", settings.paramFileLocation);
        return kOk;
    }
    if (bTestAutoUpdates)
        record("S_TEST_AUTO_UPDATES", settings.paramFileLocation);
    record("S_USING_PARAMFILE", settings.paramFileLocation);
    return kOk;
}

} // namespace

const std::vector<LauncherKey>& launcher_keys() {
    static const std::vector<LauncherKey> keys = [] {
        std::vector<LauncherKey> all(std::begin(kOtherKeys), std::end(kOtherKeys));
        for (const Key& key : kKeys) {
            const bool computed = key.rule == Rule::stage_default;
            all.push_back({key.name, computed ? "" : key.fallback, form_of(key)});
        }
        return all;
    }();
    return keys;
}

const std::string* setting_of(const Settings& settings, std::string_view name) {
    for (const Key& key : kKeys) {
        if (key.name == name && key.launch_wide != nullptr)
            return key.launch_wide;
        if (key.name == name && key.field != kNoField)
            return &(settings.*key.field);
    }
    return nullptr;
}

bool locate_parameter_file(Settings& settings, const std::string& curDir,
                           std::vector<std::string>& missed) {
    if (!settings.paramFileLocation.empty() && PathExists(settings.paramFileLocation)) {
        GetParentDir(settings.paramFileLocation, settings.paramLoc);
        return true;
    }
    if (find_in_default_places(settings, curDir, missed))
        return true;
    settings.paramLoc.clear();
    return false;
}

void read_settings(Settings& settings) {
    const std::string& file = settings.paramFileLocation;
    const bool distribution = looked_up("DISTRIBUTION", "F", file).starts_with('T');
    if (distribution)
        launcher_state::_bDistribution = true;
    for (const Key& key : kKeys)
        read_key(key, settings);
    if (distribution)
        settings.bootStrap = "TRUE"; // a stage may be taken out of the drive at any time
}

int GetParamOptions(Settings& settings, bool bBootStrapOnly, bool bScratchPath,
                    bool bShipHomeLocation, bool bTestAutoUpdates) {
    std::string curDir;
    GetCurrentDir(curDir); // reports its own failure
    if (!bBootStrapOnly && !bScratchPath && GetScratchPath(settings.scratchLoc) != kOk)
        return kFailed;

    openLog(settings.scratchLoc, launcher_state::sInvPtrLocation, launcher_state::gsTimeStamp,
            launcher_state::gsLogFileName);
    const int found = find_parameter_file(settings, curDir, bTestAutoUpdates);
    closeLog();
    if (found != kOk)
        return found;

    // The stage's locations are relative to the start directory; without it the one that the
    // process is in takes its place.
    enter_if_possible(settings.startupLoc);
    if (GetCurrentDir(curDir) != kOk)
        return kFailed;
    if (!bShipHomeLocation)
        settings.startupLoc = curDir;
    read_settings(settings);
    return kOk;
}

void GetParamInformation(const char* paramVar, std::string& paramValue, const char* paramDefault,
                         const std::string& paramFileLocation, int vartype) {
    paramValue = looked_up(paramVar, paramDefault, paramFileLocation);
    if (vartype == kFirstCharacter)
        paramValue.resize(paramValue.empty() ? 0 : 1);
}

void GetRestOfParams(const Settings& settings, DerivedLocations& locations) {
    locations.jreLoc = settings.jreDirLoc;
    GetFullFileName(&locations.jreLoc, "bin");
    locations.instLibLoc = settings.zulCoreLoc + "/" + "lib" + "/" + kPlatformDirectory;
    locations.instJarBELoc = settings.zulCoreLoc + "/" + "jlib";
    locations.instJarFELoc = settings.zulLoc + "/" + "jlib";
    locations.tesselJarLoc = settings.tesselLoc + "/" + "jlib";
    const std::string& file = settings.paramFileLocation;
    locations.helpJarLoc = looked_up("HLP_LOCATION", locations.instJarFELoc, file);
    locations.uitkJarLoc = looked_up("UITK_LOCATION", locations.instJarFELoc, file);
    locations.srcJarLoc = looked_up("SOURCE", "", file);
    locations.nlsEnable = looked_up("NLS_ENABLED", "TRUE", file);
}

void GetImageLoc(const std::string& curDir, std::string& imageLoc) {
    imageLoc.clear();
    for (const std::string& candidate : {curDir + "/images", curDir + "/../images"}) {
        if (PathExists(candidate)) {
            imageLoc = candidate;
            return;
        }
    }
}

void recomputeZulLoc(const std::string& curDir, std::string& zulLoc, std::string& zulCoreLoc) {
    std::fflush(stdout);
    if (PathExists(joined_path(joined_path(curDir, ".."), "jlib"))) {
        zulLoc = "..";
        zulCoreLoc = "..";
    }
}

void GetParentDir(const std::string& pFullPath, std::string& pStr) {
    if (!pFullPath.empty())
        pStr = cut_at_last_slash(pFullPath);
}
