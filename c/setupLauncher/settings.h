// The launcher's settings: talparam.ini found and read, and the locations derived from it.
//
// Owns: where the parameter file is looked for, its keys with their defaults, what follows from
// them. Leaves to others: the file's format (profile), the scratch directory (scratch), the
// sections of the prerequisite checks (prereqchecks).
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The one section that holds the launcher's keys.
inline constexpr const char* kLauncherSection = "Talvex";

// The regular installer: INSTALL_CLASS unless the parameter file says otherwise.
inline constexpr const char* kInstallerClass = "talvex.admkit.kst.kstc.KstcInstaller";

// The parameter file's name wherever it is looked for.
inline constexpr const char* kParameterFile = "talparam.ini";

// What the values of a key are taken for.
enum class ValueForm {
    text,
    flag,       // on when it begins with T
    exact_flag, // on when it is exactly TRUE
    number,     // the digits at its start
};

// A key of the launcher's section; a key that is missing or empty counts as `fallback`.
struct LauncherKey {
    std::string_view name;
    std::string_view fallback; // "" also for one that is computed
    ValueForm form;
};

// Every key of the launcher's section that a launch reads, whoever reads it.
const std::vector<LauncherKey>& launcher_keys();

// How GetParamInformation treats a value.
inline constexpr int kWholeValue = 0;
inline constexpr int kFirstCharacter = 3;

struct Settings {
    std::string paramFileLocation; // in: as given on the command line; out: absolute
    std::string scratchLoc;        // the scratch directory
    std::string paramLoc;          // directory of the parameter file as found
    std::string startupLoc;        // the directory the launcher was started from
    std::string jreDirLoc;         // the Java home
    std::string jreFullLoc;        // the runtime's path in the scratch directory
    std::string jreOptions;        // JVM options, the maximum heap among them
    std::string jreBootOptions;    // JVM options for the boot class path
    std::string zulLoc;            // the installer component
    std::string zulCoreLoc;        // its core
    std::string zulCoreMinLoc;     // its minimal core
    std::string tesselLoc;         // the patch tool
    std::string zulVersion;        // version of the installer component
    std::string jreVersion;        // Java version asked for
    std::string bootStrap;   // "T..." when the installer is to be brought to the scratch directory
    std::string bootStrapSz; // room that takes, in megabytes
    std::string multiCD;     // "T" when discs are changed during the installation
    std::string bWaitSync;   // "T" to wait for the installer
    std::string addtoClasspathString;
    std::string osdParam; // a parameter of the platform for the JVM
    std::string sEntryPoint;
    std::string sOneClickEntryPoint;
    std::string prereqConfigLoc; // in: from the command line; out: prerequisite configuration
    std::string sCopyThreads;
    std::string extJlibString; // extra directories of jars, native libraries and programs
    std::string extLibString;
    std::string extBinString;
    std::vector<std::string> sBootStrapComps; // components to bring, NAME or NAME:VERSION
    std::string access;                       // directory of access files
};

// The setting that key `name` stands for, wherever its value comes from; null for a key that is
// kept nowhere.
const std::string* setting_of(const Settings& settings, std::string_view name);

// What GetRestOfParams derives.
struct DerivedLocations {
    std::string jreLoc;       // the Java home's bin directory
    std::string instJarFELoc; // jars of the installer's front end
    std::string instJarBELoc; // jars of its back end
    std::string tesselJarLoc;
    std::string helpJarLoc;
    std::string uitkJarLoc;
    std::string instLibLoc;
    std::string srcJarLoc;
    std::string nlsEnable;
};

// Finds the parameter file without a word: the one given in `settings.paramFileLocation` or, when
// there is none of that name, the first in the default places; `missed` gets those that were looked
// at in vain. False when there is none.
bool locate_parameter_file(Settings& settings, const std::string& curDir,
                           std::vector<std::string>& missed);

// Reads every key of `settings.paramFileLocation`; `settings.startupLoc` and `settings.scratchLoc`
// are known.
void read_settings(Settings& settings);

// Finds the parameter file and reads every setting. Creates the scratch directory unless
// `bBootStrapOnly` or `bScratchPath`, writes the install log, and leaves the process in
// `startupLoc`, which becomes absolute unless `bShipHomeLocation`. 0; -1 when the scratch directory
// or the current directory fails; -2 when there is no parameter file. All failures are reported.
int GetParamOptions(Settings& settings, bool bBootStrapOnly, bool bScratchPath,
                    bool bShipHomeLocation, bool bTestAutoUpdates);

// Reads key `paramVar` of the launcher's section into `paramValue`; an empty result becomes
// `paramDefault`. `vartype` 3 cuts it to its first character.
void GetParamInformation(const char* paramVar, std::string& paramValue, const char* paramDefault,
                         const std::string& paramFileLocation, int vartype);

// Derives the remaining locations from the component locations and the Java home.
void GetRestOfParams(const Settings& settings, DerivedLocations& locations);

// `imageLoc` becomes the "images" directory in `curDir` or one level up, or empty.
void GetImageLoc(const std::string& curDir, std::string& imageLoc);

// When `curDir` has a "jlib" directory beside it, `zulLoc` and `zulCoreLoc` become "..".
void recomputeZulLoc(const std::string& curDir, std::string& zulLoc, std::string& zulCoreLoc);

// `pStr` becomes `pFullPath` cut at its last "/"; nothing happens for an empty one.
void GetParentDir(const std::string& pFullPath, std::string& pStr);
