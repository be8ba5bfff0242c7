#include "setupLauncher/settings_fixture.h"

namespace {

// --- The keys

struct KeyRow {
    const char* key;
    std::string Settings::*field;
    const char* by_default; // "START" stands for the start directory
    bool one_character;
};

void PrintTo(const KeyRow& row, std::ostream* out) {
    *out << row.key;
}

const KeyRow kKeyRows[] = {
    {"JRE_LOCATION", &Settings::jreDirLoc, "", false},
    {"ACCESS_DIR", &Settings::access, "", false},
    {"JRE_MEMORY_OPTIONS", &Settings::jreOptions, "", false},
    {"JRE_BOOT_OPTIONS", &Settings::jreBootOptions, "", false},
    {"ZUL_VERSION", &Settings::zulVersion, "1.7.0.0.0", false},
    {"JRE_VERSION", &Settings::jreVersion, "", false},
    {"ZUL_LOCATION", &Settings::zulLoc, "START", false},
    {"ZUL_CORE_LOCATION", &Settings::zulCoreLoc, "START", false},
    {"ZUL_CORE_MIN_LOCATION", &Settings::zulCoreMinLoc, "START", false},
    {"TESSEL_LOCATION", &Settings::tesselLoc, "START", false},
    {"BOOTSTRAP", &Settings::bootStrap, "F", true},
    {"BOOTSTRAP_SIZE", &Settings::bootStrapSz, "69", false},
    {"MULTICD", &Settings::multiCD, "T", true},
    {"JRE_OSDPARAM", &Settings::osdParam, "", false},
    {"ADDTO_CLASSPATH", &Settings::addtoClasspathString, "", false},
    {"INSTALL_CLASS", &Settings::sEntryPoint, "talvex.admkit.kst.kstc.KstcInstaller", false},
    {"INSTALL_ONECLICK_CLASS", &Settings::sOneClickEntryPoint,
     "talvex.admkit.kon.konc.KoncOneClickInstaller", false},
    {"PREREQ_CONFIG_LOCATION", &Settings::prereqConfigLoc, "", false},
    {"WAIT_FOR_COMPLETION", &Settings::bWaitSync, "F", true},
    {"COPY_THREADS", &Settings::sCopyThreads, "0", false},
    {"EXT_JLIB", &Settings::extJlibString, "", false},
    {"EXT_LIB", &Settings::extLibString, "", false},
    {"EXT_BIN", &Settings::extBinString, "", false},
};

class SettingsKey : public SettingsTest, public testing::WithParamInterface<KeyRow> {
  protected:
    std::string expected_default() const {
        const std::string by_default = GetParam().by_default;
        return by_default == "START" ? room.file("start/bin") : by_default;
    }
    const std::string& value() const {
        return settings.*GetParam().field;
    }
};

TEST_P(SettingsKey, GivesItsValue) {
    read_lines(std::string(GetParam().key) + "=Xyz -1 /a,b");
    EXPECT_EQ(value(), GetParam().one_character ? "X" : "Xyz -1 /a,b");
}

TEST_P(SettingsKey, TakesItsDefaultWhenItIsMissing) {
    read_lines("OTHER=x");
    EXPECT_EQ(value(), expected_default());
}

TEST_P(SettingsKey, TakesItsDefaultWhenItIsEmpty) {
    read_lines(std::string(GetParam().key) + "=\"\"");
    EXPECT_EQ(value(), expected_default());
}

TEST_P(SettingsKey, TakesItsDefaultWhenItIsMalformed) {
    read_lines(std::string(GetParam().key) + " = x");
    EXPECT_EQ(value(), expected_default());
}

TEST_P(SettingsKey, TakesItsDefaultInAFileWithoutTheSection) {
    settings.paramFileLocation =
        make_file("given/talparam.ini", std::string("[Other]\n") + GetParam().key + "=x\n");
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(value(), expected_default());
}

TEST_P(SettingsKey, IsNotCutWhateverItsLength) {
    const std::string path = "/" + std::string(5000, 'p');
    read_lines(std::string(GetParam().key) + "=" + path);
    EXPECT_EQ(value(), GetParam().one_character ? "/" : path);
}

INSTANTIATE_TEST_SUITE_P(Every, SettingsKey, testing::ValuesIn(kKeyRows),
                         [](const auto& row) { return std::string(row.param.key); });

struct LaunchWideRow {
    const char* key;
    std::string* text;
};

TEST_F(SettingsTest, TheLaunchWideTextsAreReadWholeAndDefaultToFalse) {
    const LaunchWideRow rows[] = {{"USEJREONLY", &state::useJreOnly},
                                  {"USEJDKONLY", &state::useJdkOnly},
                                  {"DISABLE_JRE_PROMPT", &state::disableJrePrompt}};
    for (const LaunchWideRow& row : rows) {
        SCOPED_TRACE(row.key);
        read_lines("OTHER=x");
        EXPECT_EQ(*row.text, "FALSE");
        read_lines(std::string(row.key) + "=\"\"");
        EXPECT_EQ(*row.text, "FALSE");
        read_lines(std::string(row.key) + "=TRUE");
        EXPECT_EQ(*row.text, "TRUE");
        read_lines(std::string(row.key) + "=True ");
        EXPECT_EQ(*row.text, "True");
    }
}

TEST_F(SettingsTest, EveryKeyIsReadAtOnceFromOneFile) {
    std::string lines = "USEJREONLY=a\nUSEJDKONLY=b\nDISABLE_JRE_PROMPT=c\nDISTRIBUTION=T\n";
    for (const KeyRow& row : kKeyRows)
        lines += std::string(row.key) + "=v_" + row.key + "\n";
    read_lines(lines);
    for (const KeyRow& row : kKeyRows) {
        if (std::string_view(row.key) == "BOOTSTRAP")
            continue; // a stage decides that itself
        EXPECT_EQ(settings.*row.field, row.one_character ? "v" : std::string("v_") + row.key);
    }
    EXPECT_EQ(settings.bootStrap, "TRUE");
    EXPECT_EQ(state::useJreOnly + state::useJdkOnly + state::disableJrePrompt, "abc");
}

TEST_F(SettingsTest, DistributionCountsByItsFirstCharacter) {
    const struct {
        const char* line;
        bool distribution;
    } cases[] = {
        {"DISTRIBUTION=TRUE", true},     {"DISTRIBUTION=True", true},   {"DISTRIBUTION=T", true},
        {"DISTRIBUTION=Tomorrow", true}, {"DISTRIBUTION=False", false}, {"DISTRIBUTION=yes", false},
        {"DISTRIBUTION=true", false},    {"DISTRIBUTION=", false},      {"OTHER=T", false},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.line);
        state::_bDistribution = false;
        read_lines(std::string(one.line) + "\nBOOTSTRAP=F");
        EXPECT_EQ(state::_bDistribution, one.distribution);
        EXPECT_EQ(settings.bootStrap, one.distribution ? "TRUE" : "F");
    }
}

TEST_F(SettingsTest, ADistributionLooksForItsComponentsOnTheStage) {
    read_lines("DISTRIBUTION=TRUE\nBOOTSTRAP=F");
    EXPECT_EQ(settings.zulLoc, "../stage/Components/talvex.swd.zul/1.7.0.0.0/1/DataFiles");
    EXPECT_EQ(settings.zulCoreLoc, "../stage/Components/talvex.swd.zul.core/1.7.0.0.0/1/DataFiles");
    EXPECT_EQ(settings.zulCoreMinLoc,
              "../stage/Components/talvex.swd.zul.core.min/1.7.0.0.0/1/DataFiles");
    EXPECT_EQ(settings.tesselLoc, "../stage/Components/talvex.swd.tessel/1.7.0.0.0/1/DataFiles");
    EXPECT_EQ(settings.bootStrap, "TRUE");
}

TEST_F(SettingsTest, TheVersionFillsTheStagesPaths) {
    read_lines("TESSEL_LOCATION=/mine\nZUL_VERSION=10.2.0.4.0\nDISTRIBUTION=T");
    EXPECT_EQ(settings.zulLoc, "../stage/Components/talvex.swd.zul/10.2.0.4.0/1/DataFiles");
    EXPECT_EQ(settings.zulCoreLoc,
              "../stage/Components/talvex.swd.zul.core/10.2.0.4.0/1/DataFiles");
    EXPECT_EQ(settings.zulCoreMinLoc,
              "../stage/Components/talvex.swd.zul.core.min/10.2.0.4.0/1/DataFiles");
    EXPECT_EQ(settings.tesselLoc, "/mine");
}

TEST_F(SettingsTest, TheScratchRuntimeLiesInTheScratchDirectory) {
    read_lines("JRE_SCRATCH_LOC=jre/1.8");
    EXPECT_EQ(settings.jreFullLoc, room.file("tmp/TalInstallSTAMP/jre/1.8"));
}

TEST_F(SettingsTest, TheScratchRuntimeIsAppendedToWhatTheLocationHolds) {
    settings.jreFullLoc = "before";
    read_lines("JRE_SCRATCH_LOC=jre");
    EXPECT_EQ(settings.jreFullLoc, "before" + room.file("tmp/TalInstallSTAMP/jre"));
}

TEST_F(SettingsTest, WithoutAScratchRuntimeTheLocationStaysAsItWas) {
    settings.jreFullLoc = "before";
    read_lines("JRE_SCRATCH_LOC=\"\"");
    EXPECT_EQ(settings.jreFullLoc, "before");
}

TEST_F(SettingsTest, InABootstrapOnlyLaunchTheScratchRuntimeBeginsWithASlash) {
    make_file("start/bin/talparam.ini", "[Talvex]\nJRE_SCRATCH_LOC=jre\n");
    EXPECT_EQ(get_params(true), 0);
    EXPECT_EQ(settings.jreFullLoc, "/jre");
}

TEST_F(SettingsTest, AJavaHomeOfTheCommandLineMakesTheFilesRuntimesIgnored) {
    state::_bJreLocation = true;
    settings.jreDirLoc = "/mine";
    read_lines("JRE_LOCATION=/theirs\nJRE_SCRATCH_LOC=jre");
    EXPECT_EQ(settings.jreDirLoc, "/mine");
    EXPECT_EQ(settings.jreFullLoc, "");
}

TEST_F(SettingsTest, APrerequisiteLocationOfTheCommandLineIsKept) {
    settings.prereqConfigLoc = "/mine";
    read_lines("PREREQ_CONFIG_LOCATION=/theirs");
    EXPECT_EQ(settings.prereqConfigLoc, "/mine");
}

TEST_F(SettingsTest, APrerequisiteLocationOfTheStageGivesWayToTheFiles) {
    settings.prereqConfigLoc = "/stage/prereq";
    state::useFromLocForPrereq = true;
    read_lines("PREREQ_CONFIG_LOCATION=/theirs");
    EXPECT_EQ(settings.prereqConfigLoc, "/theirs");
}

TEST_F(SettingsTest, APrerequisiteLocationOfTheStageStaysWhenTheFileHasNone) {
    for (const char* lines : {"OTHER=x", "PREREQ_CONFIG_LOCATION=\"\""}) {
        settings.prereqConfigLoc = "/stage/prereq";
        state::useFromLocForPrereq = true;
        read_lines(lines);
        EXPECT_EQ(settings.prereqConfigLoc, "/stage/prereq");
    }
}

TEST_F(SettingsTest, BootstrapCompsIsSplitAtCommasAndEmptyPiecesAreDropped) {
    const struct {
        const char* line;
        std::vector<std::string> components;
    } cases[] = {
        {"OTHER=x", {}},
        {"BOOTSTRAP_COMPS=\"\"", {}},
        {"BOOTSTRAP_COMPS=a", {"a"}},
        {"BOOTSTRAP_COMPS=a,,b", {"a", "b"}},
        {"BOOTSTRAP_COMPS=,a, b:1.2 ,", {"a", " b:1.2 "}},
    };
    for (const auto& one : cases) {
        read_lines(one.line);
        EXPECT_EQ(settings.sBootStrapComps, one.components) << one.line;
    }
}

TEST_F(SettingsTest, BootstrapCompsHoldsMoreThan50Names) {
    std::string line = "BOOTSTRAP_COMPS=c0";
    for (int i = 1; i < 120; ++i)
        line += ",c" + std::to_string(i);
    read_lines(line);
    ASSERT_EQ(settings.sBootStrapComps.size(), 120U);
    EXPECT_EQ(settings.sBootStrapComps.back(), "c119");
}

// --- Single keys

TEST_F(SettingsTest, ASingleKeyIsReadWholeOrByItsFirstCharacter) {
    const std::string file = room.write("p.ini", "[Talvex]\nUMASK=022\nDISTRIBUTION=True\n[X]\n"
                                                 "OTHER=x\n");
    const struct {
        const char* key;
        const char* by_default;
        int vartype;
        const char* value;
    } cases[] = {
        {"UMASK", "", 0, "022"},       {"UMASK", "", 1, "022"},  {"UMASK", "", 2, "022"},
        {"DISTRIBUTION", "F", 3, "T"}, {"MISSING", "F", 3, "F"}, {"MISSING", "FALSE", 0, "FALSE"},
        {"MISSING", "FALSE", 3, "F"},  {"MISSING", "", 3, ""},   {"OTHER", "mine", 0, "mine"},
    };
    for (const auto& one : cases) {
        std::string value = "before";
        GetParamInformation(one.key, value, one.by_default, file, one.vartype);
        EXPECT_EQ(value, one.value) << one.key << " " << one.vartype;
    }
}

TEST_F(SettingsTest, ASingleKeyOfAFileThatIsNotThereTakesItsDefault) {
    std::string value = "before";
    GetParamInformation("UMASK", value, "022", room.file("no_such.ini"), 0);
    EXPECT_EQ(value, "022");
}

// --- Derived locations

class DerivedTest : public SettingsTest {
  protected:
    DerivedTest() {
        settings.jreDirLoc = "/j";
        settings.zulLoc = "/z";
        settings.zulCoreLoc = "/c";
        settings.tesselLoc = "/t";
        settings.paramFileLocation = room.file("none.ini");
    }
    DerivedLocations derived(const std::string& lines) {
        settings.paramFileLocation = room.write("d.ini", "[Talvex]\n" + lines + "\n");
        DerivedLocations locations;
        GetRestOfParams(settings, locations);
        return locations;
    }
};

TEST_F(DerivedTest, TheLocationsLieBelowTheComponents) {
    const DerivedLocations locations = derived("OTHER=x");
    EXPECT_EQ(locations.jreLoc, "/j/bin");
    EXPECT_EQ(locations.instLibLoc, "/c/lib/intelsolaris");
    EXPECT_EQ(locations.instJarBELoc, "/c/jlib");
    EXPECT_EQ(locations.instJarFELoc, "/z/jlib");
    EXPECT_EQ(locations.tesselJarLoc, "/t/jlib");
    EXPECT_EQ(locations.helpJarLoc, "/z/jlib");
    EXPECT_EQ(locations.uitkJarLoc, "/z/jlib");
    EXPECT_EQ(locations.srcJarLoc, "");
    EXPECT_EQ(locations.nlsEnable, "TRUE");
}

TEST_F(DerivedTest, FourOfThemCanBeSet) {
    const DerivedLocations locations = derived(
        "HLP_LOCATION=/h\nUITK_LOCATION=/u\nSOURCE=../stage/products.xml\nNLS_ENABLED=FALSE");
    EXPECT_EQ(locations.helpJarLoc, "/h");
    EXPECT_EQ(locations.uitkJarLoc, "/u");
    EXPECT_EQ(locations.srcJarLoc, "../stage/products.xml");
    EXPECT_EQ(locations.nlsEnable, "FALSE");
}

TEST_F(DerivedTest, EmptyOnesTakeTheirDefaults) {
    const DerivedLocations locations =
        derived("HLP_LOCATION=\"\"\nUITK_LOCATION=\"\"\nSOURCE=\"\"\nNLS_ENABLED=\"\"");
    EXPECT_EQ(locations.helpJarLoc, "/z/jlib");
    EXPECT_EQ(locations.uitkJarLoc, "/z/jlib");
    EXPECT_EQ(locations.srcJarLoc, "");
    EXPECT_EQ(locations.nlsEnable, "TRUE");
}

TEST_F(DerivedTest, TheBinDirectoryIsJoinedWithoutASecondSlash) {
    settings.jreDirLoc = "/j/";
    EXPECT_EQ(derived("").jreLoc, "/j/bin");
    settings.jreDirLoc = "";
    EXPECT_EQ(derived("").jreLoc, "bin");
}

TEST_F(DerivedTest, TheJarDirectoriesAreJoinedWithASlashInAnyCase) {
    settings.zulLoc = "";
    settings.zulCoreLoc = "/c/";
    const DerivedLocations locations = derived("");
    EXPECT_EQ(locations.instJarFELoc, "/jlib");
    EXPECT_EQ(locations.instJarBELoc, "/c//jlib");
    EXPECT_EQ(locations.instLibLoc, "/c//lib/intelsolaris");
}

// --- Images, the installer's own place, parents

TEST_F(SettingsTest, TheImagesLieInTheCurrentDirectory) {
    make_directory("start/bin/images");
    make_directory("start/images");
    std::string images = "before";
    GetImageLoc(room.file("start/bin"), images);
    EXPECT_EQ(images, room.file("start/bin/images"));
}

TEST_F(SettingsTest, OrTheImagesLieOneLevelUp) {
    make_directory("start/images");
    std::string images = "before";
    GetImageLoc(room.file("start/bin"), images);
    EXPECT_EQ(images, room.file("start/bin/../images"));
}

TEST_F(SettingsTest, OrThereAreNoImages) {
    std::string images = "before";
    GetImageLoc(room.file("start/bin"), images);
    EXPECT_EQ(images, "");
}

TEST_F(SettingsTest, AJlibBesideTheStartDirectoryMovesTheInstallersLocations) {
    std::string zul = "/z";
    std::string core = "/c";
    recomputeZulLoc(room.file("start/bin"), zul, core);
    EXPECT_EQ(zul, "/z");
    EXPECT_EQ(core, "/c");
    make_directory("start/jlib");
    recomputeZulLoc(room.file("start/bin"), zul, core);
    EXPECT_EQ(zul, "..");
    EXPECT_EQ(core, "..");
}

TEST_F(SettingsTest, TheParentIsThePathUpToItsLastSlash) {
    const struct {
        const char* path;
        const char* parent;
    } cases[] = {
        {"/a/b/c", "/a/b"}, {"/a/b/", "/a/b"}, {"/a", ""}, {"a", "a"}, {"a/b", "a"}, {"", "before"},
    };
    for (const auto& one : cases) {
        std::string parent = "before";
        GetParentDir(one.path, parent);
        EXPECT_EQ(parent, one.parent) << one.path;
    }
}

} // namespace
