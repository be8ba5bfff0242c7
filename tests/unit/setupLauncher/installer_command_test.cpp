#include "setupLauncher/installer_command.h"

#include "launch_fixture.h"

#include <algorithm>
#include <grp.h>
#include <unistd.h>

namespace {

using Vector = std::vector<std::string>;

// The names of the operator's groups, whose numbers are their places here.
std::vector<std::string> operators_groups;

} // namespace

// These stand before the library's own, whose answers depend on who runs the tests.
extern "C" int getgroups(int size, gid_t* list) noexcept {
    for (int i = 0; i < size; ++i)
        list[i] = static_cast<gid_t>(i);
    return static_cast<int>(operators_groups.size());
}

extern "C" group* getgrgid(gid_t id) {
    static group found;
    found.gr_name = operators_groups.at(id).data();
    return &found;
}

namespace {

// What lies below the components in a class path, jar by jar.
std::string jars_behind_extensions(const std::string& back_end, const std::string& patch_tool,
                                   const std::string& front_end, const std::string& added) {
    std::string path;
    for (const char* jar :
         {"TalInstaller.jar", "quickrun.jar", "xmlkitv2.jar", "common.jar", "TalInstallerNet.jar",
          "cfgagent.jar", "cfgmgrutl.jar", "TalPrereq.jar", "sshlib.jar", "rshell.jar",
          "remoteapi.jar", "webclient.jar", "TalSuiteInstaller.jar"})
        path += ":" + back_end + "/" + jar;
    for (const char* jar :
         {"tessel.jar", "tesselactions.jar", "tesselprereq.jar", "tesselutil.jar"})
        path += ":" + patch_tool + "/" + jar;
    path += ":" + back_end + "/TalCheckPoint.jar";
    for (const char* jar :
         {"SetupImages.jar", "SetupHelp.jar", "SetupHelp_de.jar", "SetupHelp_es.jar",
          "SetupHelp_fr.jar", "SetupHelp_it.jar", "SetupHelp_ja.jar", "SetupHelp_ko.jar",
          "SetupHelp_pt_BR.jar", "SetupHelp_zh_CN.jar", "SetupHelp_zh_TW.jar", "talvex_ice.jar",
          "helpcommon.jar", "hlpj.jar", "uitk3.jar", "uitk3-swingaccess.jar", "swingaccess.jar"})
        path += ":" + front_end + "/" + jar;
    path += ":" + added;
    for (const char* jar : {"juitk4.jar", "tali18n-collation.jar", "tali18n-mapping.jar",
                            "tjmisc.jar", "xmlcore.jar", "nodemgr.jar", "nodemgrasm.jar"})
        path += ":" + front_end + "/" + jar;
    return path;
}

class InstallerCommandTest : public LaunchFixture {
  protected:
    InstallerCommandTest() {
        settings.startupLoc = "/home/bin";
        settings.jreDirLoc = "/home/jre";
        settings.zulCoreLoc = "zulcore";
        settings.scratchLoc = room.path();
        settings.bootStrap = "F";
        settings.sCopyThreads = "0";
        settings.sEntryPoint = "main.Class";
        settings.sOneClickEntryPoint = "one.click.Class";
        locations.jreLoc = "/home/jre/bin";
        locations.instLibLoc = "/lib";
        locations.instJarBELoc = "/be";
        locations.instJarFELoc = "/fe";
        locations.tesselJarLoc = "/pt";
        locations.helpJarLoc = "/never/help";
        locations.uitkJarLoc = "/never/uitk";
        locations.nlsEnable = "TRUE";
        give({});
    }

    void give(const Vector& arguments) {
        command_line.arguments = {"./setupLauncher"};
        for (const std::string& argument : arguments)
            command_line.arguments.push_back(argument);
        command_line.is_java_option.assign(command_line.arguments.size(), false);
        for (std::size_t i = 1; i < command_line.arguments.size(); ++i) {
            if (command_line.arguments[i].starts_with("-J")) {
                command_line.is_java_option[i] = true;
                ++state::nJavaOptionsSpecified;
            }
        }
    }

    InstallerCommandInput input() {
        return {locations, settings, command_line, "/cur", os_version, uses_other_runtime};
    }

    Vector composed() {
        InstallerCommandInput given = input();
        return compose_installer_command(given);
    }

    std::string class_path() {
        return installer_class_path(input());
    }

    // The golden vector of a launch from a home in which nothing is set.
    Vector plain_vector() const {
        return {"/home/jre/bin/java",
                "-Dtalvex.installer.library_loc=/lib",
                "-Dtalvex.installer.zul_loc=/cur/zulcore",
                "-Dtalvex.installer.bootstrap=FALSE",
                "-Dtalvex.installer.startup_location=/home/bin",
                "-Dtalvex.installer.jre_loc=../../jdk/jre",
                "-Dtalvex.installer.nlsEnabled=\"TRUE\"",
                "-Dtalvex.installer.prereqConfigLoc= ",
                "-Dtalvex.installer.unixVersion=5.11",
                "-cp",
                room.path() + ":" + jars_behind_extensions("/be", "/pt", "/fe", ""),
                "main.Class",
                "-scratchPath",
                room.path(),
                "-sourceType",
                "network",
                "-timestamp",
                "STAMP"};
    }

    // `plain` with `elements` in front of element `before`.
    static Vector with(Vector plain, const std::string& before, const Vector& elements) {
        const auto at = std::find(plain.begin(), plain.end(), before);
        EXPECT_NE(at, plain.end()) << before;
        plain.insert(at, elements.begin(), elements.end());
        return plain;
    }

    Settings settings;
    DerivedLocations locations;
    CommandLine command_line;
    std::string os_version = "5.11";
    bool uses_other_runtime = false;
};

constexpr const char* kNlsProperty = "-Dtalvex.installer.nlsEnabled=\"TRUE\"";

// --- Whole vectors

TEST_F(InstallerCommandTest, APlainLaunchFromAHomeHasTheseElementsInThisOrder) {
    EXPECT_EQ(composed(), plain_vector());
}

TEST_F(InstallerCommandTest, ALaunchWithEverythingHasEveryElementInItsPlace) {
    make_file("ext/jlib/more.jar");
    settings.osdParam = "-d64";
    settings.bootStrap = "TRUE";
    settings.sCopyThreads = "4";
    settings.prereqConfigLoc = "/scratch/prereq";
    settings.jreOptions = "-Xmx150m  -Da=b";
    settings.jreBootOptions = "-Xbootclasspath/a:x.jar -Dc=d";
    settings.extJlibString = "/stage/ext/jlib";
    settings.addtoClasspathString = "a.jar:b.jar";
    locations.srcJarLoc = "../stage/products.xml";
    state::_bDistribution = true;
    state::useInventoryLocation = true;
    state::inventoryLocation = "/inv";
    state::_bMemory = true;
    uses_other_runtime = true;
    command_line.sJvmOptions = "-De=f -Dg=h";
    give({"-debug", "-J-Di=j", "-scratchPath", "/s", "-J-Dk=l", "KEY=value"});
    const std::string scratch = room.path();
    const Vector expected = {
        "/home/jre/bin/java",
        "-d64",
        "-Dtalvex.installer.library_loc=/lib",
        "-Dtalvex.installer.zul_loc=" + scratch + "/zul",
        "-Dtalvex.installer.bootstrap=TRUE",
        "-Dtalvex.installer.startup_location=/home/bin",
        "-Dtalvex.installer.jre_loc=/home/jre",
        "-Dtalvex.installer.custom_inventory=/inv",
        "-Dtalvex.installer.extjre=true",
        "-Dtalvex.installer.copythreads=4",
        "-Dtalvex.installer.nlsEnabled=\"TRUE\"",
        "-Dtalvex.installer.prereqConfigLoc=/scratch/prereq ",
        "-Dtalvex.installer.unixVersion=5.11",
        "-Xmx150m",
        "-Da=b",
        "-De=f",
        "-Dg=h",
        "-Di=j",
        "-Dk=l",
        "-Xbootclasspath/a:x.jar",
        "-Dc=d",
        "-verbose:gc",
        "-cp",
        scratch + "::" + scratch + "/ext/jlib/more.jar" +
            jars_behind_extensions("/be", "/pt", "/fe", scratch + "/a.jar:" + scratch + "/b.jar:"),
        "main.Class",
        "-scratchPath",
        scratch,
        "-sourceLoc",
        "/home/bin/../stage/products.xml",
        "-sourceType",
        "network",
        "-timestamp",
        "STAMP",
        "-debug",
        "-scratchPath",
        "/s",
        "KEY=value",
    };
    EXPECT_EQ(composed(), expected);
}

// --- The java program

TEST_F(InstallerCommandTest, WithoutAJavaDirectoryTheCommandBeginsWithTheBareWord) {
    locations.jreLoc.clear();
    EXPECT_EQ(composed().front(), "java");
    EXPECT_EQ(locations.jreLoc, "java");
}

TEST_F(InstallerCommandTest, TheJavaProgramReplacesItsDirectory) {
    composed();
    EXPECT_EQ(locations.jreLoc, "/home/jre/bin/java");
}

TEST_F(InstallerCommandTest, APlatformParameterFollowsTheProgramExceptOnRelease551) {
    settings.osdParam = "-d64 x";
    EXPECT_EQ(composed(), with(plain_vector(), "-Dtalvex.installer.library_loc=/lib", {"-d64 x"}));
    os_version = "5.5.1";
    locations.jreLoc = "/home/jre/bin";
    EXPECT_EQ(composed()[1], "-Dtalvex.installer.library_loc=/lib");
    os_version = "5.5.10";
    EXPECT_EQ(composed()[1], "-d64 x");
}

// --- Properties

TEST_F(InstallerCommandTest, TheBootstrapIsOnWhenItsSettingBeginsWithT) {
    const struct {
        const char* setting;
        bool on;
    } cases[] = {{"TRUE", true}, {"T", true},  {"F", false},
                 {"", false},    {"t", false}, {"y", false}};
    for (const auto& one : cases) {
        settings.bootStrap = one.setting;
        locations.jreLoc = "/home/jre/bin";
        const Vector vector = composed();
        EXPECT_EQ(vector[2], "-Dtalvex.installer.zul_loc=" +
                                 (one.on ? room.path() + "/zul" : std::string("/cur/zulcore")))
            << one.setting;
        EXPECT_EQ(vector[3],
                  std::string("-Dtalvex.installer.bootstrap=") + (one.on ? "TRUE" : "FALSE"))
            << one.setting;
    }
}

TEST_F(InstallerCommandTest, RstartuplocWithoutItsQuotesReplacesTheStartupLocation) {
    command_line.bStartupLocation = true;
    command_line.sAlternativeStartupLoc = "\"/parent dir\"";
    locations.srcJarLoc = "products.xml";
    const Vector vector = composed();
    EXPECT_EQ(vector[4], "-Dtalvex.installer.startup_location=/parent dir");
    EXPECT_EQ(settings.startupLoc, "/parent dir");
    const auto source = std::find(vector.begin(), vector.end(), "-sourceLoc");
    ASSERT_NE(source, vector.end());
    EXPECT_EQ(*(source + 1), "/parent dir/products.xml");
}

TEST_F(InstallerCommandTest, ShiphomelocAloneDoesNotReplaceTheStartupLocation) {
    command_line.bShipHomeLocation = true;
    command_line.sAlternativeStartupLoc = "/ship";
    EXPECT_EQ(composed()[4], "-Dtalvex.installer.startup_location=/home/bin");
}

TEST_F(InstallerCommandTest, FromADistributionTheRuntimeIsTheKnownOne) {
    state::_bDistribution = true;
    EXPECT_EQ(composed()[5], "-Dtalvex.installer.jre_loc=/home/jre");
}

TEST_F(InstallerCommandTest, ACustomInventoryIsToldWhenItWasGivenEvenIfEmpty) {
    state::inventoryLocation = "/inv";
    EXPECT_EQ(composed(), plain_vector());
    state::useInventoryLocation = true;
    locations.jreLoc = "/home/jre/bin";
    EXPECT_EQ(composed(),
              with(plain_vector(), kNlsProperty, {"-Dtalvex.installer.custom_inventory=/inv"}));
    state::inventoryLocation.clear();
    locations.jreLoc = "/home/jre/bin";
    EXPECT_EQ(composed(),
              with(plain_vector(), kNlsProperty, {"-Dtalvex.installer.custom_inventory="}));
}

TEST_F(InstallerCommandTest, ARuntimeOutsideTheScratchDirectoryIsTold) {
    uses_other_runtime = true;
    EXPECT_EQ(composed(), with(plain_vector(), kNlsProperty, {"-Dtalvex.installer.extjre=true"}));
}

TEST_F(InstallerCommandTest, CopyThreadsAreToldUnlessTheyAreExactly0) {
    const struct {
        const char* setting;
        Vector elements;
    } cases[] = {
        {"0", {}},
        {"", {"-Dtalvex.installer.copythreads="}},
        {"00", {"-Dtalvex.installer.copythreads=00"}},
        {"8", {"-Dtalvex.installer.copythreads=8"}},
    };
    for (const auto& one : cases) {
        settings.sCopyThreads = one.setting;
        locations.jreLoc = "/home/jre/bin";
        EXPECT_EQ(composed(), with(plain_vector(), kNlsProperty, one.elements)) << one.setting;
    }
}

TEST_F(InstallerCommandTest, TheNlsFlagStandsInQuotes) {
    locations.nlsEnable = "no";
    EXPECT_EQ(composed()[6], "-Dtalvex.installer.nlsEnabled=\"no\"");
}

TEST_F(InstallerCommandTest, ThePrerequisiteLocationAlwaysEndsInABlank) {
    EXPECT_EQ(composed()[7], "-Dtalvex.installer.prereqConfigLoc= ");
    settings.prereqConfigLoc = "/p q";
    EXPECT_EQ(composed()[7], "-Dtalvex.installer.prereqConfigLoc=/p q ");
}

// --- JVM options

TEST_F(InstallerCommandTest, OptionsOfTheFileAreSplitAtBlanksOnly) {
    settings.jreOptions = " -Xmx1m   -Da=\"x y\"\t-Db ";
    EXPECT_EQ(composed(), with(plain_vector(), "-cp", {"-Xmx1m", "-Da=\"x", "y\"\t-Db"}));
}

TEST_F(InstallerCommandTest, AHeapOptionOfTheCommandLineRemovesEveryOptionOfTheFile) {
    settings.jreOptions = "-mx512m -Dother=kept?";
    settings.jreBootOptions = "-Dboot=1";
    command_line.bOverrideMaxHeapSize = true;
    give({"-J-mx256m"});
    EXPECT_EQ(composed(), with(plain_vector(), "-cp", {"-mx256m", "-Dboot=1"}));
}

TEST_F(InstallerCommandTest, ABootClassPathOfTheCommandLineRemovesEveryBootOptionOfTheFile) {
    settings.jreOptions = "-mx512m";
    settings.jreBootOptions = "-Xbootclasspath:a -Dboot=1";
    command_line.bOverrideBootOption = true;
    give({"-J-Xbootclasspath:b"});
    EXPECT_EQ(composed(), with(plain_vector(), "-cp", {"-mx512m", "-Xbootclasspath:b"}));
}

TEST_F(InstallerCommandTest, JvmOptionsOfTheSessionFollowThoseOfTheFile) {
    settings.jreOptions = "-Da";
    command_line.sJvmOptions = " -Db  -Dc";
    give({"-J-Dd", "-JRELOC"});
    EXPECT_EQ(composed(), with(plain_vector(), "-cp", {"-Da", "-Db", "-Dc", "-Dd", "RELOC"}));
}

TEST_F(InstallerCommandTest, MemoryLetsTheJvmReportRightBeforeTheClassPath) {
    state::_bMemory = true;
    settings.jreBootOptions = "-Dboot";
    EXPECT_EQ(composed(), with(plain_vector(), "-cp", {"-Dboot", "-verbose:gc"}));
}

// --- The class path

TEST_F(InstallerCommandTest, EmptyPartsOfTheClassPathStayAsEmptyEntries) {
    settings.scratchLoc.clear();
    locations.instJarBELoc.clear();
    locations.tesselJarLoc.clear();
    locations.instJarFELoc.clear();
    EXPECT_EQ(class_path(), ":" + jars_behind_extensions("", "", "", ""));
}

TEST_F(InstallerCommandTest, FromAHomeTheExtensionsLieInTheInventoryAndTwoAboveTheirDirectory) {
    make_directory("home/bin");
    make_file("inventory/Scripts/ext/jlib/first.jar");
    make_file("stage/ext/jlib/second.jar");
    make_directory("stage/ext/jlib/directory");
    settings.startupLoc = room.file("home/bin");
    settings.extJlibString = room.file("stage/ext/jlib");
    const std::string extensions = ":" + settings.startupLoc +
                                   "/../../inventory/Scripts/ext/jlib/first.jar" + ":" +
                                   settings.extJlibString + "/../../ext/jlib/second.jar";
    EXPECT_EQ(class_path(),
              room.path() + ":" + extensions + jars_behind_extensions("/be", "/pt", "/fe", ""));
}

TEST_F(InstallerCommandTest, WithABootstrapTheExtensionsLieInTheScratchDirectoryAlone) {
    make_file("ext/jlib/scratch.jar");
    make_file("stage/ext/jlib/stage.jar");
    settings.bootStrap = "T";
    settings.extJlibString = room.file("stage/ext/jlib");
    EXPECT_EQ(class_path(), room.path() + "::" + room.file("ext/jlib/scratch.jar") +
                                jars_behind_extensions("/be", "/pt", "/fe", ""));
}

TEST_F(InstallerCommandTest, WithoutAnExtensionSettingNoExtensionIsLookedFor) {
    make_file("ext/jlib/scratch.jar");
    settings.bootStrap = "T";
    EXPECT_EQ(class_path(), room.path() + ":" + jars_behind_extensions("/be", "/pt", "/fe", ""));
}

TEST_F(InstallerCommandTest, AClassPathOfAnyLengthIsWhole) {
    const std::string longest = "/" + std::string(3000, 'd');
    locations.instJarBELoc = locations.instJarFELoc = locations.tesselJarLoc = longest;
    EXPECT_EQ(class_path(),
              room.path() + ":" + jars_behind_extensions(longest, longest, longest, ""));
}

// --- The installer's own arguments

TEST_F(InstallerCommandTest, AWebAddressIsPassedOnAsItIs) {
    locations.srcJarLoc = "HTTP://host/x";
    EXPECT_EQ(composed(), with(plain_vector(), "-sourceType", {"-sourceLoc", "HTTP://host/x"}));
}

TEST_F(InstallerCommandTest, ASourceLocationIsTakenRelativeToTheStartupLocation) {
    locations.srcJarLoc = "stage/x";
    EXPECT_EQ(composed(), with(plain_vector(), "-sourceType", {"-sourceLoc", "/home/bin/stage/x"}));
    EXPECT_EQ(locations.srcJarLoc, "/home/bin/stage/x");
}

TEST_F(InstallerCommandTest, AddnodeAddsSilentBeforeTheOperatorsArguments) {
    command_line.bAddNode = true;
    give({"-addNode", "x"});
    Vector expected = plain_vector();
    for (const char* element : {"-silent", "-addNode", "x"})
        expected.emplace_back(element);
    EXPECT_EQ(composed(), expected);
    EXPECT_TRUE(state::_bSilent);
}

TEST_F(InstallerCommandTest, APercentSignInAnElementStaysAsItIs) {
    settings.sEntryPoint = "main%sClass";
    state::gsTimeStamp = "100%d";
    give({"50%n"});
    const Vector vector = composed();
    EXPECT_EQ(vector[11], "main%sClass");
    EXPECT_EQ(vector[17], "100%d");
    EXPECT_EQ(vector[18], "50%n");
}

TEST_F(InstallerCommandTest, MoreThan1024ElementsAreComposed) {
    give(Vector(3000, "argument"));
    EXPECT_EQ(composed().size(), plain_vector().size() + 3000);
}

// --- One click

TEST_F(InstallerCommandTest, OneclickWrapsTheCompleteCommandOfTheInstaller) {
    command_line.bOneclick = true;
    state::_bMemory = true;
    settings.jreOptions = "-Da";
    give({"-oneClick"});
    const Vector regular = {
        "/home/jre/bin/java",
        "-Dtalvex.installer.library_loc=/lib",
        "-Dtalvex.installer.zul_loc=/cur/zulcore",
        "-Dtalvex.installer.bootstrap=FALSE",
        "-Dtalvex.installer.startup_location=/home/bin",
        "-Dtalvex.installer.jre_loc=../../jdk/jre",
        "-Dtalvex.installer.nlsEnabled=\"TRUE\"",
        "-Dtalvex.installer.prereqConfigLoc= ",
        "-Dtalvex.installer.unixVersion=5.11",
        "-Da",
        "-verbose:gc",
        "-cp",
        room.path() + ":" + jars_behind_extensions("/be", "/pt", "/fe", ""),
    };
    const auto expected = [&](const Vector& groups) {
        Vector vector = regular;
        vector.emplace_back("one.click.Class");
        vector.insert(vector.end(), regular.begin(), regular.end());
        vector.emplace_back("talvex.admkit.kst.kstc.KstcInstaller");
        vector.insert(vector.end(), groups.begin(), groups.end());
        for (const std::string& element :
             {std::string("-scratchPath"), room.path(), std::string("-sourceType"),
              std::string("network"), std::string("-timestamp"), std::string("STAMP"),
              std::string("-oneClick")})
            vector.push_back(element);
        return vector;
    };
    operators_groups = {"staff", "dba"};
    EXPECT_EQ(composed(), expected({"UnixGroups=\"{staff,dba,}\""}));
    operators_groups.clear();
    locations.jreLoc = "/home/jre/bin"; // the composition has made the program's path of it
    EXPECT_EQ(composed(), expected({}));
}

TEST_F(InstallerCommandTest, OneclickInASilentLaunchWrapsNothing) {
    command_line.bOneclick = true;
    state::_bSilent = true;
    give({"-oneClick", "-silent"});
    Vector expected = plain_vector();
    expected[11] = "one.click.Class";
    expected.emplace_back("-oneClick");
    expected.emplace_back("-silent");
    EXPECT_EQ(composed(), expected);
}

TEST_F(InstallerCommandTest, OneclickInHelpModeRunsTheInstallerClassThatWasChosen) {
    command_line.bOneclick = true;
    command_line.bHelpMode = true;
    state::_bSilent = true;
    EXPECT_EQ(composed(), plain_vector());
}

// --- The joined command

TEST_F(InstallerCommandTest, MergedArgumentsEachEndInABlank) {
    EXPECT_EQ(mergeCommandArgs({"java", "-Da=b c", ""}, false), "java -Da=b c  ");
    EXPECT_EQ(mergeCommandArgs({}, false), "");
}

TEST_F(InstallerCommandTest, MergingListsTheArgumentsOnlyInDebugModeAndOnDemand) {
    const Vector arguments{"java", "x"};
    const std::string dashes = std::string(55, '-') + "\n";
    EXPECT_EQ(shown_by([&] { mergeCommandArgs(arguments, true); }), "");
    state::_bDebug = true;
    EXPECT_EQ(shown_by([&] { mergeCommandArgs(arguments, false); }), "");
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(mergeCommandArgs(arguments, true), "java x "); }),
              dashes + shown("S_TOTAL_ARGS", {"2"}) + shown("S_CMDLINE_ARG_ELTS") +
                  "Arg:0:java:\nArg:1:x:\n" + dashes + shown("S_JVMLOADMSG", {"java"}));
}

} // namespace
