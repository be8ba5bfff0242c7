#include "setupLauncher/options_fixture.h"

namespace {

// --- The rows without a value

struct Row {
    const char* name;
    const char* text;
    const char* effects;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.text;
}

const Row kRows[] = {
    {"PreCloneSetup", "-PRECLONESETUP", "pre clone"},
    {"UpdateNodeList", "-UPDATENODELIST", "update node list, silent, log=/UpdateNodeList"},
    {"AttachHome", "-ATTACHHOME", "attach home, silent, log=/AttachHome"},
    {"InstallAddOns", "-INSTALLADDONS", "install add-on, silent, log=/InstalLAddOn"},
    {"AttachSuite", "-ATTACHSUITE", "attach suite, silent, log=/AttachSuite"},
    {"Relink", "-RELINK", "relink, silent"},
    {"Cleanup", "-CLEANUP", "cleanup, log=/Cleanup"},
    {"SaveInventory", "-SAVEINVENTORY", "save inventory, log=/SaveInventory"},
    {"RemoveHome", "-REMOVEHOME", "remove homes, log=/RemoveHome"},
    {"BootstrapOnly", "-BOOTSTRAPONLY", "bootstrap only, silent"},
    {"NoBootstrap", "-NOBOOTSTRAP", "no bootstrap"},
    {"PrintTime", "-PRINTTIME", "print time"},
    {"DetachHome", "-DETACHHOME", "detach homes, silent, log=/DetachHome"},
    {"DetachSuite", "-DETACHSUITE", "detach suite, silent, log=/DetachSuite"},
    {"SuiteDeinstall", "-SUITEDEINSTALL", "suite deinstall, silent, log=/SuiteDeinstall"},
    {"UpdateHomeDeps", "-UPDATEHOMEDEPS", "update home deps, silent, log=/UpdateHomeDeps"},
    {"AddNode", "-ADDNODE", "add node"},
    {"PrereqChecker", "-PREREQCHECKER", "prereq session, message=Prerequisite Checker"},
    {"Silent", "-SILENT", "silent"},
    {"WaitForCompletion", "-WAITFORCOMPLETION", "wait"},
    {"NoWait", "-NOWAIT", "no wait"},
    {"NoCleanupOnExit", "-NOCLEANUPONEXIT", "keep scratch"},
    {"TestForAutoUpdates", "-TESTFORAUTOUPDATES", "auto updates"},
    {"Help", "-HELP", "help, silent"},
    {"H", "-H", "help, silent"},
    {"Debug", "-DEBUG", "debug"},
    {"Memory", "-MEMORY", "memory"},
    {"IgnoreSysPrereqs", "-IGNORESYSPREREQS", "ignore prereqs"},
    {"ExecuteSysPrereqs", "-EXECUTESYSPREREQS", "execute prereqs"},
    {"NoConsole", "-NOCONSOLE", "no console"},
    {"OneClick", "-ONECLICK", "one click"},
};

class OptionRow : public OptionsTest, public testing::WithParamInterface<Row> {};

TEST_P(OptionRow, HasItsEffectAndNoOther) {
    EXPECT_EQ(effects_of({GetParam().text}), GetParam().effects);
}

TEST_P(OptionRow, IsRecognisedInSmallLetters) {
    EXPECT_EQ(effects_of({lower(GetParam().text)}), GetParam().effects);
}

TEST_P(OptionRow, IsRecognisedInsideALongerArgument) {
    EXPECT_EQ(effects_of({std::string("x") + GetParam().text + "x"}), GetParam().effects);
}

TEST_P(OptionRow, IsRecognisedInArgument0) {
    std::string name = std::string("/stage/") + GetParam().text + "/setupLauncher";
    char* vector[] = {name.data()};
    CommandLine command_line = read_arguments(1, vector);
    EXPECT_EQ(scan_arguments(command_line), 0);
    EXPECT_EQ(effects(command_line), GetParam().effects);
}

TEST_P(OptionRow, ReachesTheInstallerAsTyped) {
    const Words arguments{lower(GetParam().text), "behind"};
    EXPECT_EQ(passed(arguments), arguments);
}

INSTANTIATE_TEST_SUITE_P(EveryOption, OptionRow, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

// The session variables stand among the options: their place in the order counts too.
const Row kSessionVariables[] = {
    {"BootstrapLoc", "BOOTSTRAP_LOC=/b", "bootstrap to=/b"},
    {"JvmOptions", "JVM_OPTIONS=-Da=b", "jvm options=-Da=b"},
    {"PrereqConfigLocation", "PREREQ_CONFIG_LOCATION=/no/such", "prereq location=/no/such"},
    {"InventoryLocation", "INVENTORY_LOCATION=/no/inv", "inventory given, inventory=/no/inv"},
    {"FromLocation", "FROM_LOCATION=/no/stage/products",
     "prereqs from stage, prereq location=/no/stage/prereq"},
};

class SessionVariable : public OptionsTest, public testing::WithParamInterface<Row> {};

TEST_P(SessionVariable, HasItsEffectAndNoOther) {
    EXPECT_EQ(effects_of({GetParam().text}), GetParam().effects);
}

TEST_P(SessionVariable, IsRecognisedInSmallLettersWithItsValueAsTyped) {
    EXPECT_EQ(effects_of({lower(GetParam().text)}), lower(GetParam().effects));
}

TEST_P(SessionVariable, ReachesTheInstaller) {
    EXPECT_EQ(passed({GetParam().text}), Words{GetParam().text});
}

INSTANTIATE_TEST_SUITE_P(EverySessionVariable, SessionVariable,
                         testing::ValuesIn(kSessionVariables),
                         [](const auto& row) { return row.param.name; });

TEST_F(OptionsTest, OfTwoOptionsInOneArgumentTheEarlierRowDecides) {
    const char* order[] = {"-PRECLONESETUP",
                           "-UPDATENODELIST",
                           "-ATTACHHOME",
                           "-INSTALLADDONS",
                           "-ATTACHSUITE",
                           "-RELINK",
                           "-CLEANUP",
                           "-SAVEINVENTORY",
                           "-REMOVEHOME",
                           "-BOOTSTRAPONLY",
                           "-NOBOOTSTRAP",
                           "BOOTSTRAP_LOC",
                           "JVM_OPTIONS",
                           "-PRINTTIME",
                           "-DETACHHOME",
                           "-DETACHSUITE",
                           "-SUITEDEINSTALL",
                           "-UPDATEHOMEDEPS",
                           "-ADDNODE",
                           "-PREREQCHECKER",
                           "-SILENT",
                           "-WAITFORCOMPLETION",
                           "-NOWAIT",
                           "-NOCLEANUPONEXIT",
                           "-TESTFORAUTOUPDATES",
                           "-HELP",
                           "-H",
                           "-DEBUG",
                           "-MEMORY",
                           "-IGNORESYSPREREQS",
                           "-EXECUTESYSPREREQS",
                           "-NOCONSOLE",
                           "PREREQ_CONFIG_LOCATION",
                           "INVENTORY_LOCATION",
                           "-ONECLICK",
                           "FROM_LOCATION"};
    for (std::size_t earlier = 0; earlier < std::size(order); ++earlier) {
        const std::string expected = effects_of({order[earlier]});
        for (std::size_t later = earlier + 1; later < std::size(order); ++later) {
            const std::string both = std::string(order[later]) + order[earlier];
            // In debug mode a location that cannot be resolved is complained of.
            complained_by([&] { EXPECT_EQ(effects_of({both}), expected) << both; });
        }
    }
}

TEST_F(OptionsTest, AnArgumentThatMatchesNoRowChangesNothing) {
    EXPECT_EQ(effects_of({"-sil ent", "plain", "", "-", "--", "silent", "-j-Xmx512m", "ONECLICK"}),
              "");
}

TEST_F(OptionsTest, OnlyAsciiLettersAreFolded) {
    EXPECT_EQ(effects_of({"-s\xEDlent", "-\xDF"
                                        "ebug"}),
              "");
}

TEST_F(OptionsTest, NobootstrapNeverCountsAsBootstraponly) {
    EXPECT_EQ(effects_of({"-nobootstraponly"}), "no bootstrap");
}

TEST_F(OptionsTest, APathWithACapitalHBehindAHyphenTurnsOnHelp) {
    EXPECT_EQ(effects_of({"INVENTORY_LOCATION=/opt/Kelvane-Home"}), "help, silent");
}

TEST_F(OptionsTest, APathThatWasTakenAsAValueIsNotScanned) {
    EXPECT_EQ(effects_of({"-scratchPath", "/opt/Kelvane-Home"}), "scratch=/opt/Kelvane-Home");
}

TEST_F(OptionsTest, AttachhomeThenDetachhomeKeepsBothCommandsAndTheLaterLogName) {
    EXPECT_EQ(effects_of({"-ATTACHHOME", "-DETACHHOME"}),
              "attach home, detach homes, silent, log=/DetachHome");
}

// --- Options with a value

struct ValueRow {
    const char* name;
    const char* text;
    const char* effect; // without the value
};

void PrintTo(const ValueRow& row, std::ostream* out) {
    *out << row.text;
}

class ValueOption : public OptionsTest, public testing::WithParamInterface<ValueRow> {};

TEST_P(ValueOption, TakesTheNextArgument) {
    const std::string expected = std::string(GetParam().effect) + "=/x-DEBUG";
    EXPECT_EQ(effects_of({GetParam().text, "/x-DEBUG"}), expected);
    EXPECT_EQ(effects_of({lower(GetParam().text), "/x-DEBUG"}), expected);
}

TEST_P(ValueOption, GoesOnWithTheArgumentBehindTheValue) {
    EXPECT_EQ(effects_of({GetParam().text, "/x", "-DEBUG"}),
              std::string("debug, ") + GetParam().effect + "=/x");
}

TEST_P(ValueOption, KeepsItsLastValue) {
    EXPECT_EQ(effects_of({GetParam().text, "/x", GetParam().text, "/y"}),
              std::string(GetParam().effect) + "=/y");
}

TEST_P(ValueOption, IsIgnoredAsTheLastArgument) {
    EXPECT_EQ(effects_of({GetParam().text}), "");
}

TEST_P(ValueOption, AsTheLastArgumentLeavesTheLaterRowsToDecide) {
    EXPECT_EQ(effects_of({std::string(GetParam().text) + "-DEBUG"}), "debug");
}

TEST_P(ValueOption, ReachesTheInstallerWithItsValue) {
    const Words arguments{lower(GetParam().text), "/x"};
    EXPECT_EQ(passed(arguments), arguments);
}

const ValueRow kValueRows[] = {
    {"InvPtrLoc", "-INVPTRLOC", "pointer"},
    {"PrereqLogLoc", "-PREREQLOGLOC", "prereq log"},
    {"ScratchPath", "-SCRATCHPATH", "scratch"},
};

INSTANTIATE_TEST_SUITE_P(EveryValueOption, ValueOption, testing::ValuesIn(kValueRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(OptionsTest, AScratchpathInsideALongerArgumentSetsNothingAndTakesNothing) {
    EXPECT_EQ(effects_of({"-scratchPathX", "/x"}), "");
    EXPECT_EQ(passed({"-scratchPathX", "/x"}), (Words{"-scratchPathX", "/x"}));
    EXPECT_EQ(effects_of({"x-scratchPath-debug", "-silent"}), "silent");
}

TEST_F(OptionsTest, APrereqloglocInsideALongerArgumentSetsNothingAndTakesNothing) {
    EXPECT_EQ(effects_of({"-prereqLogLocX-debug", "-silent"}), "silent");
}

TEST_F(OptionsTest, AnInvptrlocInsideALongerArgumentEndsTheLaunchWithALoggedMessage) {
    make_directory("scratch");
    openLog(room.file("scratch"), room.file("none"), "STAMP", "/log");
    CommandLine command_line = read({"-invPtrLocX", "/x", "-debug"});
    const Said said = said_by([&] { EXPECT_EQ(scan_arguments(command_line), -1); });
    EXPECT_EQ(said.out, shown("S_INVALID_INVPTRLOC_ARG", {"-invPtrLocX"}));
    EXPECT_EQ(said.err, "");
    EXPECT_EQ(bytes_of(sLogLoc), shown("S_INVALID_INVPTRLOC_ARG", {"-invPtrLocX"}));
    EXPECT_EQ(effects(command_line), "");
}

// --- Java options

TEST_F(OptionsTest, AnArgumentThatBeginsWithCapitalJIsAnOptionOfTheJvm) {
    const CommandLine command_line = scanned({"a", "-J-Xmx512m", "-j-Xmx512m", "x-J-Xmx512m"});
    EXPECT_EQ(command_line.is_java_option, (std::vector<bool>{false, false, true, false, false}));
    EXPECT_EQ(effects(command_line), "java options=1");
    EXPECT_EQ(pass_through_arguments(command_line), (Words{"a", "-j-Xmx512m", "x-J-Xmx512m"}));
}

TEST_F(OptionsTest, JMxStandsInForTheHeapOfTheParameterFile) {
    EXPECT_EQ(effects_of({"-J-mx256m"}), "heap given, java options=1");
    EXPECT_EQ(effects_of({"-J-MX256m"}), "java options=1");
    EXPECT_EQ(effects_of({"-j-mx256m"}), "");
}

TEST_F(OptionsTest, JXbootclasspathStandsInForTheBootOptionOfTheParameterFile) {
    EXPECT_EQ(effects_of({"-J-Xbootclasspath/a:x.jar"}), "boot path given, java options=1");
    EXPECT_EQ(effects_of({"-J-xbootclasspath/a:x.jar"}), "java options=1");
}

TEST_F(OptionsTest, AJvmOptionIsStillLookedForInTheTable) {
    EXPECT_EQ(effects_of({"-J-debug"}), "debug, java options=1");
}

TEST_F(OptionsTest, JrelocTakesTheNextArgumentAsTheJavaHome) {
    EXPECT_EQ(effects_of({"-jreLoc", "/java-DEBUG"}), "java given, java home=/java-DEBUG");
    EXPECT_EQ(passed({"-jreLoc", "/java"}), (Words{"-jreLoc", "/java"}));
}

TEST_F(OptionsTest, JrelocInCapitalsIsAnOptionOfTheJvmAsWell) {
    EXPECT_EQ(effects_of({"-JRELOC", "/java"}), "java given, java options=1, java home=/java");
    EXPECT_EQ(passed({"-JRELOC", "/java"}), Words{"/java"});
}

TEST_F(OptionsTest, JrelocInsideALongerArgumentSaysThatThereIsAJavaHomeAndTakesNothing) {
    EXPECT_EQ(effects_of({"-jreLocX", "-debug"}), "debug, java given");
}

TEST_F(OptionsTest, JrelocAsTheLastArgumentIsIgnored) {
    EXPECT_EQ(effects_of({"-jreLoc"}), "");
}

TEST_F(OptionsTest, JrelocBehindABootClassPathIsPartOfThatOption) {
    EXPECT_EQ(effects_of({"-J-Xbootclasspath-jreloc", "x"}), "boot path given, java options=1");
}

TEST_F(OptionsTest, AJrelocWithAnOptionBehindItStillReachesTheTable) {
    EXPECT_EQ(effects_of({"-jreLoc-silent", "x"}), "silent, java given");
}

// --- Session variables that know of each other

TEST_F(OptionsTest, FromLocationGivesWayToAPrereqConfigLocationBeforeIt) {
    EXPECT_EQ(effects_of({"PREREQ_CONFIG_LOCATION=/p", "FROM_LOCATION=/s/products"}),
              "prereq location=/p");
}

TEST_F(OptionsTest, PrereqConfigLocationReplacesAFromLocationBeforeIt) {
    EXPECT_EQ(effects_of({"FROM_LOCATION=/s/products", "PREREQ_CONFIG_LOCATION=/p"}),
              "prereq location=/p");
}

TEST_F(OptionsTest, OfTwoFromLocationsTheFirstCounts) {
    EXPECT_EQ(effects_of({"FROM_LOCATION=/s/products", "FROM_LOCATION=/t/products"}),
              "prereqs from stage, prereq location=/s/prereq");
}

TEST_F(OptionsTest, ASessionVariableWithoutAValueLeavesTheLocationEmpty) {
    EXPECT_EQ(effects_of({"INVENTORY_LOCATION"}), "inventory given");
    EXPECT_EQ(effects_of({"BOOTSTRAP_LOC=", "JVM_OPTIONS", "PREREQ_CONFIG_LOCATION="}), "");
}

// --- The super-user

TEST_F(OptionsTest, TheSuperUserIsRefusedBeforeAnyOption) {
    user_of_the_launch = 0;
    CommandLine command_line = read({"-debug", "-invPtrLocX", "/x"});
    const Said said = said_by([&] { EXPECT_EQ(scan_arguments(command_line), -1); });
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_ERPERROT") + "\n");
    EXPECT_EQ(effects(command_line), "");
}

TEST_F(OptionsTest, TheSuperUserIsRefusedWithoutAnyArgument) {
    user_of_the_launch = 0;
    CommandLine command_line = read({});
    complained_by([&] { EXPECT_EQ(scan_arguments(command_line), -1); });
}

// --- bigCluster

TEST_F(OptionsTest, TheFirstBigclusterReachesTheInstallerAsSetcustomnodelist) {
    EXPECT_EQ(passed({"a", "-bigCluster", "-bigCluster"}),
              (Words{"a", "-setCustomNodelist", "-bigCluster"}));
}

TEST_F(OptionsTest, BigclusterIsReplacedOnlyAsAWholeArgumentInThisCase) {
    const Words arguments{"-bigcluster", "-bigClusterX", "x-bigCluster"};
    EXPECT_EQ(passed(arguments), arguments);
}

TEST_F(OptionsTest, ABigclusterIsReplacedInArgument0Too) {
    std::string name = "-bigCluster";
    std::string first = "-bigCluster";
    char* vector[] = {name.data(), first.data()};
    const CommandLine command_line = read_arguments(2, vector);
    EXPECT_EQ(command_line.arguments, (Words{"-setCustomNodelist", "-bigCluster"}));
}

// --- What reaches the installer

class DroppedArgument : public OptionsTest, public testing::WithParamInterface<Row> {};

TEST_P(DroppedArgument, GoesTogetherWithTheArgumentBehindIt) {
    EXPECT_EQ(passed({"a", GetParam().text, "value", "b"}), (Words{"a", "b"}));
}

TEST_P(DroppedArgument, GoesAloneAtTheEnd) {
    EXPECT_EQ(passed({"a", GetParam().text}), Words{"a"});
}

TEST_P(DroppedArgument, TakesAnotherOfItsKindForItsValue) {
    EXPECT_EQ(passed({GetParam().text, GetParam().text, "kept"}), Words{"kept"});
}

TEST_P(DroppedArgument, StaysInOtherLettersAndInsideALongerArgument) {
    const Words arguments{upper(GetParam().text), "value", std::string(GetParam().text) + "X"};
    EXPECT_EQ(passed(arguments), arguments);
}

const Row kDropped[] = {
    {"RStartupLoc", "-rstartupLoc", ""},
    {"RScratchPath", "-rscratchPath", ""},
    {"RTimestamp", "-rtimestamp", ""},
    {"ShipHomeLoc", "-shipHomeLoc", ""},
};

INSTANTIATE_TEST_SUITE_P(EveryDroppedArgument, DroppedArgument, testing::ValuesIn(kDropped),
                         [](const auto& row) { return row.param.name; });

TEST_F(OptionsTest, NobootstrapIsDroppedAloneAndTheArgumentBehindItIsLookedAtInTurn) {
    EXPECT_EQ(passed({"-nobootStrap", "x"}), Words{"x"});
    EXPECT_EQ(passed({"-nobootStrap", "-nobootStrap", "-rtimestamp", "t", "y"}), Words{"y"});
    EXPECT_EQ(passed({"-noBootstrap", "x"}), (Words{"-noBootstrap", "x"}));
}

TEST_F(OptionsTest, EverythingElseReachesTheInstallerInItsOrder) {
    const Words arguments{"-silent",
                          "-debug",
                          "-timestamp",
                          "t",
                          "-paramFile",
                          "/p.ini",
                          "FROM_LOCATION=/some/path",
                          "-scratchPath",
                          "/s",
                          "",
                          "with blank"};
    EXPECT_EQ(passed(arguments), arguments);
}

TEST_F(OptionsTest, Argument0NeverReachesTheInstaller) {
    EXPECT_EQ(passed({}), Words{});
}

// --- The look at the whole line

struct PreScan {
    std::string time_stamp;
    CommandLine command_line;
};

PreScan pre_scanned(const Words& arguments) {
    PreScan found;
    found.command_line.arguments = arguments;
    found.command_line.arguments.insert(found.command_line.arguments.begin(), "./setupLauncher");
    pre_scan(found.command_line);
    found.time_stamp = state::gsTimeStamp;
    return found;
}

TEST_F(OptionsTest, WithoutArgumentsThePreScanFindsNothing) {
    const PreScan found = pre_scanned({});
    EXPECT_EQ(found.time_stamp, "STAMP");
    EXPECT_EQ(found.command_line.sParamFile, "");
    EXPECT_EQ(found.command_line.sAlternativeScratch, "");
    EXPECT_EQ(found.command_line.sAlternativeStartupLoc, "");
    EXPECT_EQ(effects(found.command_line), "");
}

TEST_F(OptionsTest, TimestampReplacesTheLaunchsOwn) {
    EXPECT_EQ(pre_scanned({"-timestamp", "2024-01-31_09-05-07PM", "-x"}).time_stamp,
              "2024-01-31_09-05-07PM");
}

TEST_F(OptionsTest, RtimestampWinsOverTimestampInEitherOrder) {
    EXPECT_EQ(pre_scanned({"-timestamp", "a", "-rtimestamp", "b"}).time_stamp, "b");
    EXPECT_EQ(pre_scanned({"-rtimestamp", "b", "-timestamp", "a"}).time_stamp, "b");
}

TEST_F(OptionsTest, ParamfileRunsToTheNextBlank) {
    EXPECT_EQ(pre_scanned({"-paramFile", "/stage/x.ini", "more"}).command_line.sParamFile,
              "/stage/x.ini");
}

TEST_F(OptionsTest, TheOtherValuesRunToTheNextHyphenBehindABlank) {
    const PreScan found = pre_scanned({"-rscratchPath", "/a dir", "more", "-shipHomeLoc", "/b c"});
    EXPECT_EQ(found.command_line.sAlternativeScratch, "/a dir more");
    EXPECT_EQ(found.command_line.sAlternativeStartupLoc, "/b c");
    EXPECT_EQ(effects(found.command_line), "rscratch, ship home");
}

TEST_F(OptionsTest, RstartuplocOverridesShiphomelocInTheSharedLocation) {
    const PreScan found = pre_scanned({"-rstartupLoc", "/r", "-shipHomeLoc", "/s"});
    EXPECT_EQ(found.command_line.sAlternativeStartupLoc, "/r");
    EXPECT_EQ(effects(found.command_line), "ship home, rstartup");
}

TEST_F(OptionsTest, TheNamesOfThePreScanAreMatchedInThisCaseOnly) {
    const PreScan found =
        pre_scanned({"-TIMESTAMP", "t", "-PARAMFILE", "p", "-RSCRATCHPATH", "s", "-SHIPHOMELOC",
                     "h", "-RSTARTUPLOC", "r", "-RTIMESTAMP", "t"});
    EXPECT_EQ(found.time_stamp, "STAMP");
    EXPECT_EQ(found.command_line.sParamFile, "");
    EXPECT_EQ(effects(found.command_line), "");
}

TEST_F(OptionsTest, TheNamesOfThePreScanAreFoundInsideLongerArguments) {
    const PreScan found = pre_scanned({"x-rscratchPath/s", "x-paramFile=/p", "-q"});
    EXPECT_EQ(found.command_line.sAlternativeScratch, "/s x-paramFile=/p");
    EXPECT_EQ(found.command_line.sParamFile, "=/p");
    EXPECT_EQ(effects(found.command_line), "rscratch");
}

TEST_F(OptionsTest, ThePreScanLooksIntoArgument0) {
    CommandLine command_line;
    command_line.arguments = {"/s-timestampX/setupLauncher", "-silent"};
    pre_scan(command_line);
    EXPECT_EQ(state::gsTimeStamp, "X/setupLauncher");
}

TEST_F(OptionsTest, ThePreScanTakesNothingFromAPathWithoutArguments) {
    for (const char* name : {"-timestamp", "-paramFile", "-rscratchPath", "-shipHomeLoc",
                             "-rstartupLoc", "-rtimestamp"}) {
        CommandLine command_line;
        command_line.arguments = {std::string("/opt/a") + name + "/bin/setupLauncher"};
        const std::string before = state::gsTimeStamp;
        pre_scan(command_line);
        EXPECT_EQ(state::gsTimeStamp, before) << name;
        EXPECT_EQ(command_line.sParamFile + command_line.sAlternativeScratch +
                      command_line.sAlternativeStartupLoc,
                  "")
            << name;
        EXPECT_FALSE(command_line.bScratchPath || command_line.bShipHomeLocation ||
                     command_line.bStartupLocation)
            << name;
    }
}

TEST_F(OptionsTest, TheScanSeesTheArgumentsOfThePreScanAgain) {
    EXPECT_EQ(effects_of({"-shipHomeLoc", "/Kelvane-Home"}), "help, silent");
}

TEST_F(OptionsTest, AnOptionIsNamedWhereverTheScanFindsIt) {
    EXPECT_EQ(option_in("-silent", false), "-SILENT");
    EXPECT_EQ(option_in("/opt/a-jreLoc/bin", true), "-JRELOC");
    EXPECT_EQ(option_in("/opt/a-jreLoc/bin", false), "");
    EXPECT_EQ(option_in("/opt/kelvane", true), "");
}

} // namespace
