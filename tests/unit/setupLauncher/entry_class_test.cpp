#include "setupLauncher/options_fixture.h"

namespace {

struct EntryRow {
    const char* name;
    const char* option;
    const char* class_name;
    char bootstrap_in_home;  // what becomes of BOOTSTRAP=T
    char bootstrap_on_stage; // 0: refused there
};

void PrintTo(const EntryRow& row, std::ostream* out) {
    *out << row.option;
}

const EntryRow kEntryRows[] = {
    {"PreCloneSetup", "-preCloneSetup", "talvex.admkit.kst.kstc.KstcPreCloneSetup", 'T', 0},
    {"PrereqChecker", "-prereqChecker", "talvex.admkit.kpr.kprc.kprcc.KprccPrereqApp", 'F', 'T'},
    {"UpdateNodeList", "-updateNodeList", "talvex.admkit.kst.kstc.KstcUpdateNodeList", 'F', 0},
    {"AttachHome", "-attachHome", "talvex.admkit.kst.kstc.KstcAttachHome", 'F', 'T'},
    {"AttachSuite", "-attachSuite", "talvex.admkit.kst.kstc.KstcAttachSuite", 'F', 0},
    {"InstallAddOns", "-installAddOns", "talvex.admkit.kst.kstc.KstcInstallAddOn", 'T', 'T'},
    {"Relink", "-relink", "talvex.admkit.kst.ksts.KstsMakeDeps", 'T', 'T'},
    {"RemoveHome", "-removeHome", "talvex.admkit.kst.kstc.KstcRemoveHome", 'F', 0},
    {"DetachHome", "-detachHome", "talvex.admkit.kst.kstc.KstcDetachHome", 'F', 0},
    {"DetachSuite", "-detachSuite", "talvex.admkit.kst.kstc.KstcDetachSuite", 'F', 0},
    {"SuiteDeinstall", "-suiteDeinstall", "talvex.admkit.kst.kstc.KstcSuiteDeinstall", 'F', 0},
    {"UpdateHomeDeps", "-updateHomeDeps", "talvex.admkit.kst.kstc.KstcUpdateHomeDeps", 'T', 'T'},
    {"AddNode", "-addNode", "class.of.the.File", 'F', 0},
    {"Cleanup", "-cleanup", "talvex.admkit.kst.kstc.KstcCleanup", 'T', 'T'},
    {"SaveInventory", "-saveInventory", "talvex.admkit.kst.kstc.KstcSaveInventory", 'T', 'T'},
    {"OneClick", "-oneClick", "one.click.Class", 'T', 'T'},
};

class EntryClassTest : public OptionsTest {
  protected:
    // Settings as the parameter file of a home or a stage gives them.
    Settings settings_of(bool distribution) {
        state::_bDistribution = distribution;
        Settings settings;
        settings.paramFileLocation = room.write(
            "talparam.ini", distribution ? "[Talvex]\nDISTRIBUTION=TRUE\n" : "[Talvex]\nA=B\n");
        settings.bootStrap = "T";
        settings.sEntryPoint = "class.of.the.File";
        settings.sOneClickEntryPoint = "one.click.Class";
        settings.prereqConfigLoc = room.path();
        return settings;
    }
};

class EntryClassRow : public EntryClassTest, public testing::WithParamInterface<EntryRow> {};

TEST_P(EntryClassRow, RunsItsClassFromAnInstalledHome) {
    const CommandLine command_line = scanned({GetParam().option});
    Settings settings = settings_of(false);
    const Said said = said_by([&] { EXPECT_EQ(choose_entry_class(command_line, settings), 0); });
    EXPECT_EQ(settings.sEntryPoint, GetParam().class_name);
    EXPECT_EQ(settings.bootStrap, std::string(1, GetParam().bootstrap_in_home));
    EXPECT_EQ(said.out + said.err, "");
}

TEST_P(EntryClassRow, RunsFromADistributionOnlyWhenItNeedsNoHome) {
    const CommandLine command_line = scanned({GetParam().option});
    Settings settings = settings_of(true);
    const bool refused = GetParam().bootstrap_on_stage == 0;
    const Said said =
        said_by([&] { EXPECT_EQ(choose_entry_class(command_line, settings), refused ? -1 : 0); });
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err,
              refused ? shown("S_ERRORINVOKINGFROMCD", {upper(GetParam().option)}) + "\n" : "");
    if (!refused) {
        EXPECT_EQ(settings.sEntryPoint, GetParam().class_name);
        EXPECT_EQ(settings.bootStrap, std::string(1, GetParam().bootstrap_on_stage));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, EntryClassRow, testing::ValuesIn(kEntryRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(EntryClassTest, WithoutACommandTheClassOfTheParameterFileStays) {
    for (const bool distribution : {false, true}) {
        Settings settings = settings_of(distribution);
        EXPECT_EQ(choose_entry_class(scanned({"-silent"}), settings), 0);
        EXPECT_EQ(settings.sEntryPoint, "class.of.the.File");
        EXPECT_EQ(settings.bootStrap, "T");
    }
}

TEST_F(EntryClassTest, OfTwoCommandsTheOneChosenFirstDecides) {
    for (std::size_t first = 0; first < std::size(kEntryRows); ++first) {
        for (std::size_t second = first + 1; second < std::size(kEntryRows); ++second) {
            SCOPED_TRACE(std::string(kEntryRows[second].option) + kEntryRows[first].option);
            reset_state();
            const CommandLine command_line =
                scanned({kEntryRows[second].option, kEntryRows[first].option});
            Settings settings = settings_of(false);
            EXPECT_EQ(choose_entry_class(command_line, settings), 0);
            EXPECT_EQ(settings.sEntryPoint, kEntryRows[first].class_name);
        }
    }
}

TEST_F(EntryClassTest, ARefusalNamesTheLastArgumentThatWasExaminedInCapitals) {
    const struct {
        Words arguments;
        const char* named;
    } cases[] = {
        {{"-detachHome", "last"}, "LAST"},
        {{"-detachHome", "-scratchPath", "/x"}, "-SCRATCHPATH"},
        {{"-detachHome", "-jreLoc", "/x"}, "-JRELOC"},
        {{"-detachHome", "-scratchPathX", "/x"}, "/X"},
    };
    for (const auto& one : cases) {
        reset_state();
        const CommandLine command_line = scanned(one.arguments);
        Settings settings = settings_of(true);
        EXPECT_EQ(complained_by([&] { choose_entry_class(command_line, settings); }),
                  shown("S_ERRORINVOKINGFROMCD", {one.named}) + "\n");
    }
}

TEST_F(EntryClassTest, AddnodeMakesTheLaunchSilent) {
    Settings settings = settings_of(false);
    EXPECT_EQ(choose_entry_class(scanned({"-addNode"}), settings), 0);
    EXPECT_TRUE(state::_bSilent);
}

TEST_F(EntryClassTest, OneclickInHelpModeRunsTheInstallersOwnClass) {
    Settings settings = settings_of(false);
    EXPECT_EQ(choose_entry_class(scanned({"-oneClick", "-help"}), settings), 0);
    EXPECT_EQ(settings.sEntryPoint, "talvex.admkit.kst.kstc.KstcInstaller");
}

TEST_F(EntryClassTest, AttachhomeLooksIntoTheParameterFileItself) {
    const struct {
        const char* line;
        const char* bootstrap;
    } cases[] = {
        {"DISTRIBUTION=FALSE", "F"}, {"DISTRIBUTION=F", "F"},   {"OTHER=x", "F"},
        {"DISTRIBUTION=TRUE", "T"},  {"DISTRIBUTION=yes", "T"}, {"DISTRIBUTION=false", "T"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.line);
        reset_state();
        const CommandLine command_line = scanned({"-attachHome"});
        Settings settings = settings_of(false);
        room.write("talparam.ini", std::string("[Talvex]\n") + one.line + "\n");
        EXPECT_EQ(choose_entry_class(command_line, settings), 0);
        EXPECT_EQ(settings.bootStrap, one.bootstrap);
    }
}

TEST_F(EntryClassTest, APrerequisiteSessionNeedsALocation) {
    const CommandLine command_line = scanned({"-prereqChecker"});
    Settings settings = settings_of(true);
    settings.prereqConfigLoc.clear();
    const Said said = said_by([&] { EXPECT_EQ(choose_entry_class(command_line, settings), -1); });
    EXPECT_EQ(said.out, shown("S_ERR_PREREQ_CONFIG_LOC"));
    EXPECT_EQ(said.err, "");
}

TEST_F(EntryClassTest, ThePrerequisiteLocationMustExist) {
    const CommandLine command_line = scanned({"-prereqChecker"});
    Settings settings = settings_of(false);
    settings.prereqConfigLoc = "/no/such";
    const Said said = said_by([&] { EXPECT_EQ(choose_entry_class(command_line, settings), -1); });
    EXPECT_EQ(said.out, shown("S_ERR_INVALID_PREREQ_CONFIG_LOC", {"/no/such"}));
    EXPECT_EQ(said.err, "");
}

TEST_F(EntryClassTest, WithoutAPrerequisiteSessionTheLocationDoesNotMatter) {
    Settings settings = settings_of(false);
    settings.prereqConfigLoc = "/no/such";
    EXPECT_EQ(choose_entry_class(scanned({"-cleanup"}), settings), 0);
}

} // namespace
