// Any command line: the look at the whole of it, the scan, the entry class, the composed command.
#include "base/launcher_state.h"
#include "fuzz_support.h"
#include "setupLauncher/installer_command.h"
#include "setupLauncher/options.h"

#include <algorithm>
#include <grp.h>
#include <set>
#include <strings.h>
#include <unistd.h>

namespace {

// What the stand-ins below come to.
constexpr const char* kGroupsOfOperator = "UnixGroups=\"{staff,}\"";

} // namespace

// These stand before the library's own, so that the operator is in a group whoever runs this.
extern "C" int getgroups(int size, gid_t* list) noexcept {
    if (size > 0)
        list[0] = 10;
    return 1;
}

extern "C" group* getgrgid(gid_t /*id*/) {
    static char name[] = "staff";
    static group staff;
    staff.gr_name = name;
    return &staff;
}

namespace {

using Texts = std::vector<std::string>;

// The one line that ends the arguments. Behind it stand settings, NAME=value.
constexpr const char* kSettingsFollow = "settings:";

std::string upper_case(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

// What the command line means, told without the table of options.
struct Expected {
    Texts arguments; // as typed, but for the one that is replaced
    std::vector<bool> is_java_option;
    Texts jvm;    // what goes to the JVM, without the leading -J
    Texts passed; // what goes to the installer
    bool keeps_heap = true;
    bool keeps_boot_class_path = true;
};

Expected expect(Texts typed) {
    Expected expected;
    const auto cluster = std::find(typed.begin(), typed.end(), "-bigCluster");
    if (cluster != typed.end())
        *cluster = "-setCustomNodelist";
    expected.arguments = typed;
    expected.is_java_option.resize(typed.size());
    // These take the argument behind them, which is no option then, whatever it looks like.
    const std::set<std::string> taking = {"-JRELOC", "-INVPTRLOC", "-PREREQLOGLOC", "-SCRATCHPATH"};
    for (std::size_t i = 0; i < typed.size(); ++i) {
        if (typed[i].starts_with("-J")) {
            expected.is_java_option[i] = true;
            expected.jvm.push_back(typed[i].substr(2));
            expected.keeps_heap = expected.keeps_heap && !typed[i].starts_with("-J-mx");
            expected.keeps_boot_class_path =
                expected.keeps_boot_class_path && !typed[i].starts_with("-J-Xbootclasspath");
        }
        if (taking.contains(upper_case(typed[i])))
            ++i;
    }
    const std::set<std::string> dropped = {"-rstartupLoc", "-rscratchPath", "-rtimestamp",
                                           "-shipHomeLoc"};
    for (std::size_t i = 1; i < typed.size(); ++i) {
        if (expected.is_java_option[i] || typed[i] == "-nobootStrap")
            continue;
        if (dropped.contains(typed[i]))
            ++i; // and its value
        else
            expected.passed.push_back(typed[i]);
    }
    return expected;
}

// The settings and locations of one launch.
struct Launch {
    Settings settings;
    DerivedLocations locations;
    std::string current_directory = "/current";
    std::string release = "5.11";
    bool own_runtime = false;
};

// Takes one line NAME=value; "@" stands for the fuzzer's directory.
void set(Launch& launch, const std::string& line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos)
        return;
    const std::string name = line.substr(0, equals);
    std::string value = line.substr(equals + 1);
    if (value.starts_with('@'))
        value.replace(0, 1, fuzz_directory());
    struct Named {
        const char* name;
        std::string* text;
    };
    Settings& settings = launch.settings;
    DerivedLocations& locations = launch.locations;
    const Named all[] = {
        {"scratchLoc", &settings.scratchLoc},
        {"startupLoc", &settings.startupLoc},
        {"jreDirLoc", &settings.jreDirLoc},
        {"jreOptions", &settings.jreOptions},
        {"jreBootOptions", &settings.jreBootOptions},
        {"zulCoreLoc", &settings.zulCoreLoc},
        {"bootStrap", &settings.bootStrap},
        {"addtoClasspath", &settings.addtoClasspathString},
        {"osdParam", &settings.osdParam},
        {"copyThreads", &settings.sCopyThreads},
        {"extJlib", &settings.extJlibString},
        {"jreLoc", &locations.jreLoc},
        {"instJarFELoc", &locations.instJarFELoc},
        {"instJarBELoc", &locations.instJarBELoc},
        {"tesselJarLoc", &locations.tesselJarLoc},
        {"instLibLoc", &locations.instLibLoc},
        {"srcJarLoc", &locations.srcJarLoc},
        {"nlsEnable", &locations.nlsEnable},
        {"curDir", &launch.current_directory},
        {"osVersion", &launch.release},
    };
    for (const Named& known : all) {
        if (name == known.name)
            *known.text = value;
    }
    if (name == "distribution")
        launcher_state::_bDistribution = value == "T";
    if (name == "ownRuntime")
        launch.own_runtime = value == "T";
}

void append(Texts& vector, const Texts& more) {
    vector.insert(vector.end(), more.begin(), more.end());
}

// The files of ext/jlib in `directory`, each behind a colon.
std::string extension_jars(const std::string& directory) {
    const std::string jars = directory + (directory.ends_with('/') ? "ext/jlib" : "/ext/jlib");
    std::string class_path;
    std::error_code ignored;
    for (const auto& file : std::filesystem::directory_iterator(jars, ignored)) {
        if (!file.is_directory())
            class_path += ":" + jars + "/" + file.path().filename().string();
    }
    return class_path;
}

// Every entry of the class path, in order; places stand for their letters and bring their own
// colons.
std::string expected_class_path(const Settings& settings, const DerivedLocations& locations) {
    constexpr std::string_view form =
        "S:X:B/TalInstaller.jar:B/quickrun.jar:B/xmlkitv2.jar:B/common.jar:B/TalInstallerNet.jar:"
        "B/cfgagent.jar:B/cfgmgrutl.jar:B/TalPrereq.jar:B/sshlib.jar:B/rshell.jar:B/remoteapi.jar:"
        "B/webclient.jar:B/TalSuiteInstaller.jar:P/tessel.jar:P/tesselactions.jar:"
        "P/tesselprereq.jar:P/tesselutil.jar:B/TalCheckPoint.jar:F/SetupImages.jar:F/SetupHelp.jar:"
        "F/SetupHelp_de.jar:F/SetupHelp_es.jar:F/SetupHelp_fr.jar:F/SetupHelp_it.jar:"
        "F/SetupHelp_ja.jar:F/SetupHelp_ko.jar:F/SetupHelp_pt_BR.jar:F/SetupHelp_zh_CN.jar:"
        "F/SetupHelp_zh_TW.jar:F/talvex_ice.jar:F/helpcommon.jar:F/hlpj.jar:F/uitk3.jar:"
        "F/uitk3-swingaccess.jar:F/swingaccess.jar:A:F/juitk4.jar:F/tali18n-collation.jar:"
        "F/tali18n-mapping.jar:F/tjmisc.jar:F/xmlcore.jar:F/nodemgr.jar:F/nodemgrasm.jar";
    std::string extension;
    if (!settings.extJlibString.empty() && settings.bootStrap.starts_with('T'))
        extension = extension_jars(settings.scratchLoc);
    else if (!settings.extJlibString.empty())
        extension = extension_jars(settings.startupLoc + "/../../inventory/Scripts") +
                    extension_jars(settings.extJlibString + "/../..");
    std::string added;
    for (const std::string& piece : pieces_of(settings.addtoClasspathString, ":"))
        added += settings.scratchLoc + "/" + piece + ":";
    std::string class_path;
    char before = ':';
    for (const char c : form) {
        const bool is_place = before == ':' && std::strchr("SXBPFA", c) != nullptr;
        if (!is_place)
            class_path += c;
        else if (c == 'S')
            class_path += settings.scratchLoc;
        else if (c == 'X')
            class_path += extension;
        else if (c == 'A')
            class_path += added;
        else
            class_path += c == 'B'   ? locations.instJarBELoc
                          : c == 'P' ? locations.tesselJarLoc
                                     : locations.instJarFELoc;
        before = c;
    }
    return class_path;
}

Texts expected_properties(const Launch& launch) {
    const Settings& settings = launch.settings;
    const bool bootstrap = settings.bootStrap.starts_with('T');
    const std::string d = "-Dtalvex.installer.";
    Texts properties = {
        d + "library_loc=" + launch.locations.instLibLoc,
        d + "zul_loc=" +
            (bootstrap ? settings.scratchLoc + "/zul"
                       : launch.current_directory + "/" + settings.zulCoreLoc),
        d + "bootstrap=" + (bootstrap ? "TRUE" : "FALSE"),
        d + "startup_location=" + settings.startupLoc,
        d + "jre_loc=" + (launcher_state::_bDistribution ? settings.jreDirLoc : "../../jdk/jre"),
    };
    if (launcher_state::useInventoryLocation)
        properties.push_back(d + "custom_inventory=" + launcher_state::inventoryLocation);
    if (launch.own_runtime)
        properties.push_back(d + "extjre=true");
    if (settings.sCopyThreads != "0")
        properties.push_back(d + "copythreads=" + settings.sCopyThreads);
    append(properties, {d + "nlsEnabled=\"" + launch.locations.nlsEnable + "\"",
                        d + "prereqConfigLoc=" + settings.prereqConfigLoc + " ",
                        d + "unixVersion=" + launch.release});
    return properties;
}

// From the java program up to and with the class path.
Texts expected_start(const Launch& launch, const CommandLine& command_line,
                     const Expected& expected) {
    const Settings& settings = launch.settings;
    Texts start = {launch.locations.jreLoc.empty() ? "java" : launch.locations.jreLoc + "/java"};
    if (!settings.osdParam.empty() && launch.release != "5.5.1")
        start.push_back(settings.osdParam);
    append(start, expected_properties(launch));
    if (expected.keeps_heap)
        append(start, pieces_of(settings.jreOptions, " "));
    append(start, pieces_of(command_line.sJvmOptions, " "));
    append(start, expected.jvm);
    if (expected.keeps_boot_class_path)
        append(start, pieces_of(settings.jreBootOptions, " "));
    if (launcher_state::_bMemory)
        start.emplace_back("-verbose:gc");
    append(start, {"-cp", expected_class_path(settings, launch.locations)});
    return start;
}

// From -scratchPath to the end.
Texts expected_end(const Launch& launch, const CommandLine& command_line,
                   const Expected& expected) {
    const Settings& settings = launch.settings;
    const std::string& source = launch.locations.srcJarLoc;
    Texts end = {"-scratchPath", settings.scratchLoc};
    if (source.size() > 7 && strncasecmp(source.c_str(), "http://", 7) == 0)
        append(end, {"-sourceLoc", source});
    else if (!source.empty())
        append(end, {"-sourceLoc", settings.startupLoc +
                                       (settings.startupLoc.ends_with('/') ? "" : "/") + source});
    append(end, {"-sourceType", "network", "-timestamp", launcher_state::gsTimeStamp});
    if (command_line.bAddNode)
        end.emplace_back("-silent");
    append(end, expected.passed);
    return end;
}

void check_command(Launch& launch, const CommandLine& command_line, const Expected& expected) {
    // What a parent launcher said takes the place of the start-up location.
    Launch before = launch;
    if (command_line.bStartupLocation) {
        std::string& startup = before.settings.startupLoc;
        startup = command_line.sAlternativeStartupLoc;
        if (startup.ends_with('"')) {
            startup.pop_back();
            startup.erase(0, startup.starts_with('"') ? 1 : 0);
        }
    }
    const Texts start = expected_start(before, command_line, expected);
    const Texts end = expected_end(before, command_line, expected);
    const bool wrapped = command_line.bOneclick && !launcher_state::_bSilent;

    InstallerCommandInput input{launch.locations,         launch.settings, command_line,
                                launch.current_directory, launch.release,  launch.own_runtime};
    const Texts vector = compose_installer_command(input);
    const auto stands_at = [&vector](std::size_t at, const Texts& texts) {
        return at <= vector.size() && vector.size() - at >= texts.size() &&
               std::equal(texts.begin(), texts.end(),
                          vector.begin() + static_cast<std::ptrdiff_t>(at));
    };
    require(!vector.front().empty() && launch.locations.jreLoc == vector.front(),
            "the command begins with the java program, which is looked for later");
    require(stands_at(0, start), "program, properties, JVM options and class path come first");
    require(vector.size() >= end.size() && stands_at(vector.size() - end.size(), end),
            "the launcher's arguments and all that pass through come last, once and in order");
    std::size_t between = vector.size() - start.size() - end.size();
    require(vector.size() > start.size() + end.size() &&
                vector[start.size()] == (command_line.bOneclick && !command_line.bHelpMode
                                             ? before.settings.sOneClickEntryPoint
                                             : before.settings.sEntryPoint),
            "the entry class follows the class path");
    --between;
    if (wrapped) {
        const std::size_t installer = 2 * start.size() + 1;
        require(stands_at(start.size() + 1, start) && installer < vector.size() &&
                    vector[installer] == "talvex.admkit.kst.kstc.KstcInstaller",
                "the one-click class is given the installer's complete command");
        between -= start.size() + 1;
        require(vector[installer + 1] == kGroupsOfOperator,
                "the wrapped installer is told of the operator's groups");
        --between;
    }
    require(between == 0, "there is nothing else in the command");

    std::string merged;
    for (const std::string& element : vector)
        merged += element + " ";
    require(mergeCommandArgs(vector, false) == merged, "a joined command has a blank behind each");
}

// The places that class paths are expanded in: in the scratch directory, and beside a home.
void make_places() {
    namespace fs = std::filesystem;
    const std::string root = fuzz_directory();
    for (const char* place : {"/scratch", "/inventory/Scripts"}) {
        fs::create_directories(root + place + "/ext/jlib/directory");
        write_file(root + place + "/ext/jlib/one.jar", "");
    }
    fs::create_directories(root + "/talui/bin");
}

} // namespace

// The scan refuses the super-user, whom a build machine may well be.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    constexpr uid_t nobody = 65534;
    if (getuid() == 0 && setreuid(nobody, static_cast<uid_t>(-1)) != 0)
        std::abort();
    make_places();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    discard_standard_output();
    Texts lines = lines_of(as_text(data, size));
    const auto end_of_arguments = std::find(lines.begin() + 1, lines.end(), kSettingsFollow);
    const Texts typed(lines.begin(), end_of_arguments);
    std::vector<char*> argv;
    for (auto line = lines.begin(); line != end_of_arguments; ++line)
        argv.push_back(line->data());
    const Expected expected = expect(typed);

    launcher_state::reset();
    CommandLine command_line = read_arguments(static_cast<int>(argv.size()), argv.data());
    require(command_line.arguments == expected.arguments,
            "the first -bigCluster is replaced and nothing else");
    pre_scan(command_line);
    if (scan_arguments(command_line) != 0)
        return 0;
    require(command_line.is_java_option == expected.is_java_option,
            "what begins with -J is for the JVM, unless it is another option's value");
    require(pass_through_arguments(command_line) == expected.passed,
            "all that is not dropped passes through, once and in order");

    Launch launch;
    launch.settings.bootStrap = "T";
    for (auto line = end_of_arguments; line != lines.end(); ++line)
        set(launch, *line);
    launch.settings.sEntryPoint = "from.the.File";
    launch.settings.sOneClickEntryPoint = "one.Click";
    launch.settings.prereqConfigLoc = command_line.prereqConfigLoc;
    if (choose_entry_class(command_line, launch.settings) != 0)
        return 0;
    require(!launch.settings.sEntryPoint.empty(), "there is an entry class");
    check_command(launch, command_line, expected);
    return 0;
}
