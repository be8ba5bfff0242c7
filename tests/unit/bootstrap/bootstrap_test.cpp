#include "bootstrap/bootstrap_fixture.h"

namespace {

// --- Component mode

TEST_F(BootstrapTest, AnEmptyListBringsAllFiveKnownComponents) {
    make_known_components();
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(arrived(), (Lines{"Tessel/tool=" + jar("talvex.swd.tessel", "4.0"),
                                "jre/1.8/bin/java=" + jar("talvex.swd.jre", "5.0"),
                                "zul/core=" + jar("talvex.swd.zul.core", "2.0"),
                                "zul/installer=" + jar("talvex.swd.zul", "1.0"),
                                "zul/minimal=" + jar("talvex.swd.zul.core.min", "3.0")}));
    EXPECT_EQ(unzip_runs(), (Lines{unzip_run("original", payload("talvex.swd.jre", "5.0")),
                                   unzip_run("original", payload("talvex.swd.zul", "1.0")),
                                   unzip_run("original", payload("talvex.swd.zul.core", "2.0")),
                                   unzip_run("original", payload("talvex.swd.zul.core.min", "3.0")),
                                   unzip_run("original", payload("talvex.swd.tessel", "4.0"))}));
    EXPECT_EQ(zul, in_scratch("zul"));
    EXPECT_EQ(core, in_scratch("zul"));
    EXPECT_EQ(minimal, in_scratch("zul"));
    EXPECT_EQ(tessel, in_scratch("Tessel"));
    EXPECT_EQ(jre, in_scratch("jre/1.8"));
    EXPECT_EQ(images + prereq, "");
    EXPECT_EQ(said.out + said.err, "");
}

TEST_F(BootstrapTest, TheLogTellsEveryUnpackingAndTheCountsAndIsClosed) {
    make_known_components();
    run();
    const std::string expected =
        unzip_logged("original", payload("talvex.swd.jre", "5.0")) +
        unzip_logged("original", payload("talvex.swd.zul", "1.0")) +
        unzip_logged("original", payload("talvex.swd.zul.core", "2.0")) +
        unzip_logged("original", payload("talvex.swd.zul.core.min", "3.0")) +
        unzip_logged("original", payload("talvex.swd.tessel", "4.0")) + counted(1, 3);
    EXPECT_EQ(log(), expected);
    writeToInstallLog("behind");
    EXPECT_EQ(log(), expected);
}

TEST_F(BootstrapTest, EveryKnownComponentIsTimedWithTwoBlanks) {
    make_known_components();
    run();
    EXPECT_EQ(times(), known_time("talvex.swd.jre") + known_time("talvex.swd.zul") +
                           known_time("talvex.swd.zul.core") +
                           known_time("talvex.swd.zul.core.min") + known_time("talvex.swd.tessel"));
}

TEST_F(BootstrapTest, WithoutAnInventoryTheLogLiesInTheScratchDirectory) {
    state::inventoryLocation.clear();
    components = {"talvex.swd.zul.core"};
    make_known_components();
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(bytes_of(in_scratch("logSTAMP.log")),
              unzip_logged("original", payload("talvex.swd.zul.core", "2.0")) + counted(0, 1));
}

TEST_F(BootstrapTest, AKnownLocationThatExistsIsTakenBeforeTheHighestVersion) {
    make_known_components();
    for (const char* name : {"zul", "core", "minimal", "tessel", "jre"})
        make_file("given/" + std::string(name) + "/p.jar",
                  std::string(name) == "jre" ? "jre/given/java\n" : "zul/x\n");
    zul = room.file("given/zul");
    core = room.file("given/core");
    minimal = room.file("given/minimal");
    tessel = room.file("given/tessel");
    jre = room.file("given/jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), (Lines{unzip_run("original", room.file("given/jre")),
                                   unzip_run("original", room.file("given/zul")),
                                   unzip_run("original", room.file("given/core")),
                                   unzip_run("original", room.file("given/minimal")),
                                   unzip_run("original", room.file("given/tessel"))}));
    EXPECT_EQ(jre, in_scratch("jre/given"));
}

TEST_F(BootstrapTest, TheHighestVersionIsFoundByNumbersNotByText) {
    const struct {
        Lines versions;
        const char* highest;
    } cases[] = {
        {{"10.2.0.4.0", "10.2.0.3.5"}, "10.2.0.4.0"},
        {{"9.9", "10.0"}, "10.0"},
        {{"1.0", "latest", "0.9"}, "1.0"},
    };
    for (const auto& one : cases) {
        std::filesystem::remove_all(room.file("stage"));
        std::filesystem::remove(room.file("unzip_runs"));
        for (const std::string& version : one.versions)
            make_component("talvex.swd.zul", version, "zul/x\n");
        components = {"talvex.swd.zul"};
        zul.clear();
        EXPECT_EQ(run(), 10);
        EXPECT_EQ(unzip_runs(),
                  Lines{unzip_run("original", payload("talvex.swd.zul", one.highest))});
    }
}

TEST_F(BootstrapTest, AFileIsNoVersionDirectory) {
    make_component("talvex.swd.zul", "1.0", "zul/x\n");
    make_file("stage/Components/talvex.swd.zul/2.0");
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("original", payload("talvex.swd.zul", "1.0"))});
}

TEST_F(BootstrapTest, WithoutAFirstStageTheSecondIsUsed) {
    std::filesystem::create_directories(room.file("deep/start"));
    std::filesystem::current_path(room.file("deep/start"));
    make_component("talvex.swd.zul", "1.0", "zul/x\n");
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(),
              Lines{unzip_run("original", "../../stage/Components/talvex.swd.zul/1.0/1/DataFiles",
                              "deep/start")});
}

TEST_F(BootstrapTest, ExpandedTreesOfInstallerAndCoreAreCopiedIntoTheScratchRoot) {
    make_known_components();
    for (const char* name :
         {"talvex.swd.zul/1.0", "talvex.swd.zul.core/2.0", "talvex.swd.zul.core.min/3.0",
          "talvex.swd.tessel/4.0", "talvex.swd.jre/5.0"})
        make_file(std::string("stage/Components/") + name + "/1/DataFiles/Expanded/sub/" +
                      std::filesystem::path(name).parent_path().string(),
                  "expanded");
    EXPECT_EQ(run(), 10);
    Lines expanded;
    for (const std::string& file : arrived()) {
        if (file.starts_with("sub/"))
            expanded.push_back(file);
    }
    EXPECT_EQ(expanded, (Lines{"sub/talvex.swd.zul.core=expanded", "sub/talvex.swd.zul=expanded"}));
}

TEST_F(BootstrapTest, AnExpandedTreeThatCannotBeCopiedDoesNotMatter) {
    make_known_components();
    for (const char* name : {"talvex.swd.zul/1.0", "talvex.swd.zul.core/2.0"})
        make_file(std::string("stage/Components/") + name + "/1/DataFiles/Expanded/blocked");
    make_directory("scratch/blocked"); // no file can take this name
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(zul, in_scratch("zul"));
    EXPECT_EQ(core, in_scratch("zul"));
}

// --- The component list

TEST_F(BootstrapTest, AListedComponentWithAVersionIsTakenInThatVersion) {
    make_component("talvex.swd.zul.core", "11.2.0.1.0", "zul/x\n");
    make_component("talvex.swd.zul.core", "11.2.0.2.0", "zul/x\n");
    components = {"talvex.swd.zul.core:11.2.0.1.0"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(),
              Lines{unzip_run("original", payload("talvex.swd.zul.core", "11.2.0.1.0"))});
    EXPECT_EQ(core, in_scratch("zul"));
}

TEST_F(BootstrapTest, AListedComponentWithoutAVersionIsTakenInItsHighest) {
    make_component("talvex.swd.zul.core", "9.9", "zul/x\n");
    make_component("talvex.swd.zul.core", "10.0", "zul/x\n");
    components = {"talvex.swd.zul.core"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("original", payload("talvex.swd.zul.core", "10.0"))});
}

TEST_F(BootstrapTest, ComponentsAreBroughtInTheirOwnOrderNotInThatOfTheList) {
    make_known_components();
    components = {"talvex.swd.tessel", "talvex.swd.zul.core.min", "talvex.swd.zul.core",
                  "talvex.swd.zul", "talvex.swd.jre"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), (Lines{unzip_run("original", payload("talvex.swd.jre", "5.0")),
                                   unzip_run("original", payload("talvex.swd.zul", "1.0")),
                                   unzip_run("original", payload("talvex.swd.zul.core", "2.0")),
                                   unzip_run("original", payload("talvex.swd.zul.core.min", "3.0")),
                                   unzip_run("original", payload("talvex.swd.tessel", "4.0"))}));
}

TEST_F(BootstrapTest, ComponentsThatAreNotListedAreNotBrought) {
    make_known_components();
    components = {"talvex.swd.zul"};
    core = "/stage/core";
    tessel = "/stage/tessel";
    jre = "/stage/jre";
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("original", payload("talvex.swd.zul", "1.0"))});
    EXPECT_EQ(core, "/stage/core");
    EXPECT_EQ(minimal, "");
    EXPECT_EQ(tessel, "/stage/tessel");
    EXPECT_EQ(jre, "/stage/jre");
}

TEST_F(BootstrapTest, AnUnknownNameIsUnpackedAtOnceWithTheUnzipOfTheStartDirectory) {
    make_known_components();
    make_component("my.own", "1.5", "mine/file\n");
    components = {"talvex.swd.zul", "my.own", "TALVEX.SWD.ZUL", "talvex.swd.zu"};
    make_component("TALVEX.SWD.ZUL", "1.0", "other/a\n");
    make_component("talvex.swd.zu", "1.0", "other/b\n");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), (Lines{unzip_run("start", payload("my.own", "1.5")),
                                   unzip_run("start", payload("TALVEX.SWD.ZUL", "1.0")),
                                   unzip_run("start", payload("talvex.swd.zu", "1.0")),
                                   unzip_run("original", payload("talvex.swd.zul", "1.0"))}));
    EXPECT_EQ(arrived()[0], "mine/file=" + jar("my.own", "1.5"));
    EXPECT_EQ(times(), listed_time("my.own") + listed_time("TALVEX.SWD.ZUL") +
                           listed_time("talvex.swd.zu") + known_time("talvex.swd.zul"));
}

TEST_F(BootstrapTest, AVersionListedForTheRuntimeHasNoEffect) {
    make_component("talvex.swd.jre", "5.0", "jre/five/java\n");
    make_component("talvex.swd.jre", "6.0", "jre/six/java\n");
    components = {"talvex.swd.jre:5.0"};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("original", payload("talvex.swd.jre", "6.0"))});
    EXPECT_EQ(jre, in_scratch("jre/six"));
}

TEST_F(BootstrapTest, WithoutTheInstallerComponentTheResultIs0UnlessSomethingElseWasBrought) {
    make_known_components();
    make_component("my.own", "1.0", "mine/file\n");
    make_directory("prereqs");
    const struct {
        Lines list;
        const char* prereq;
        int result;
    } cases[] = {
        {{"talvex.swd.jre"}, "", 0},       {{"my.own"}, "", 0},
        {{"talvex.swd.zul.core"}, "", 10}, {{"talvex.swd.zul.core.min"}, "", 10},
        {{"talvex.swd.tessel"}, "", 10},   {{"talvex.swd.jre"}, "prereqs", 10},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.list.front());
        components = one.list;
        jre.clear();
        prereq = *one.prereq == '\0' ? "" : room.file(one.prereq);
        EXPECT_EQ(run(), one.result);
    }
}

TEST_F(BootstrapTest, ABootstrapOnlyLaunchUnpacksTheRuntimeLikeAnUnknownName) {
    make_known_components();
    components = {"talvex.swd.jre"};
    only = true;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("start", payload("talvex.swd.jre", "5.0"))});
    EXPECT_EQ(jre, "");
    EXPECT_EQ(times(), listed_time("talvex.swd.jre"));
}

TEST_F(BootstrapTest, ABootstrapOnlyLaunchTakesTheListedVersionOfTheRuntime) {
    make_component("talvex.swd.jre", "5.0", "jre/five/java\n");
    make_component("talvex.swd.jre", "6.0", "jre/six/java\n");
    components = {"talvex.swd.jre:5.0"};
    only = true;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("start", payload("talvex.swd.jre", "5.0"))});
}

TEST_F(BootstrapTest, ABootstrapOnlyLaunchWithoutAListBringsTheRuntimeLikeAnyLaunch) {
    make_known_components();
    only = true;
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, in_scratch("jre/1.8"));
}

// --- The runtime

TEST_F(BootstrapTest, ARuntimeThatIsNotWantedStaysWhereItIs) {
    make_known_components();
    brings_jre = false;
    jre = "/my/jre";
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, "/my/jre");
    EXPECT_EQ(unzip_runs().front(), unzip_run("original", payload("talvex.swd.zul", "1.0")));
}

TEST_F(BootstrapTest, ADevelopmentKitStandsInForAMissingRuntime) {
    make_component("talvex.jdk", "7.0", "jdk/bin/javac\njre/x/java\n");
    components = {"talvex.swd.jre"};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("original", payload("talvex.jdk", "7.0"))});
    EXPECT_EQ(jre, in_scratch("jdk/"));
    EXPECT_EQ(times(), known_time("talvex.swd.jre"));
}

TEST_F(BootstrapTest, ADevelopmentKitWithoutAScratchRuntimeEndsWith30) {
    make_component("talvex.jdk", "7.0", "jdk/bin/javac\n");
    components = {"talvex.swd.jre"};
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.out, shown("S_EROPEN", {in_scratch("jre")}));
}

TEST_F(BootstrapTest, NeitherRuntimeNorDevelopmentKitEndsWith30) {
    make_component("talvex.swd.zul", "1.0", "zul/x\n");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.out, shown("S_JRELOC_ERROR_NOCONSOLE_WIN"));
    EXPECT_EQ(said.err, "");
    EXPECT_EQ(unzip_runs(), Lines{});
    EXPECT_EQ(log(), "");
}

TEST_F(BootstrapTest, ARuntimeWithoutItsDirectoryEndsWith30) {
    make_component("talvex.swd.jre", "5.0", "elsewhere/java\n");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.out, shown("S_EROPEN", {in_scratch("jre")}));
    EXPECT_EQ(jre, in_scratch("jre"));
}

TEST_F(BootstrapTest, ARuntimeDirectoryThatYieldsNothingEndsWith30) {
    make_known_components();
    make_directory("scratch/jre");
    unreadable_directory = in_scratch("jre");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.out, shown("S_ERFINDFILE"));
}

TEST_F(BootstrapTest, AnEmptyRuntimeDirectoryEndsWith30) {
    make_component("talvex.swd.jre", "5.0", "");
    make_directory("scratch/jre");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.out, shown("S_ERJRE_MISSING"));
}

TEST_F(BootstrapTest, AGivenRuntimeWithAnythingInItReplacesTheOneThatWasBrought) {
    make_known_components();
    make_file("my_jre/.hidden");
    jre_full = room.file("my_jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, room.file("my_jre"));
    EXPECT_EQ(unzip_runs().front(), unzip_run("original", payload("talvex.swd.jre", "5.0")));
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(log(), "") << "the log is closed for good behind the look at the given runtime";
}

TEST_F(BootstrapTest, AnEmptyGivenRuntimeIsLoggedAndIgnored) {
    make_known_components();
    make_directory("my_jre");
    jre_full = room.file("my_jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, in_scratch("jre/1.8"));
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(log(), shown("S_ERJRE_MISSING")); // the log gets the operator's language here
}

TEST_F(BootstrapTest, AGivenRuntimeThatCannotBeOpenedIsLoggedAndIgnored) {
    make_known_components();
    jre_full = room.file("my_jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, in_scratch("jre/1.8"));
    EXPECT_EQ(log(), shown("S_EROPEN", {jre_full}));
}

TEST_F(BootstrapTest, AGivenRuntimeThatYieldsNothingIsLoggedAndIgnored) {
    make_known_components();
    make_file("my_jre/java");
    jre_full = unreadable_directory = room.file("my_jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, in_scratch("jre/1.8"));
    EXPECT_EQ(log(), shown("S_ERFINDFILE"));
}

// --- Nothing to be unpacked

TEST_F(BootstrapTest, NoBootstrapUnpacksNothingYetRewritesEveryLocation) {
    make_known_components();
    make_component("my.own", "1.0", "mine/file\n");
    make_file("stage/Components/talvex.swd.zul/1.0/1/DataFiles/Expanded/file", "expanded");
    make_file("images/logo", "x");
    make_file("access/key", "k");
    make_file("prereqs/conf", "p");
    make_file("more/a.jar", "a");
    make_file("scratch/jre/there/java", "j");
    images = room.file("images");
    access = room.file("access");
    prereq = room.file("prereqs");
    ext_jlib = ext_lib = ext_bin = room.file("more");
    components = {"talvex.swd.zul",    "talvex.swd.zul.core", "talvex.swd.zul.core.min",
                  "talvex.swd.tessel", "talvex.swd.jre",      "my.own"};
    nothing = true;
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(unzip_runs(), Lines{});
    EXPECT_EQ(arrived(),
              (Lines{"file=expanded", "images/logo=x", "jre/there/java=j", "prereq/conf=p"}));
    EXPECT_EQ(zul, in_scratch("zul"));
    EXPECT_EQ(core, in_scratch("zul"));
    EXPECT_EQ(minimal, in_scratch("zul"));
    EXPECT_EQ(tessel, in_scratch("Tessel"));
    EXPECT_EQ(jre, in_scratch("jre/there"));
    EXPECT_EQ(images, in_scratch("images"));
    EXPECT_EQ(prereq, in_scratch("prereq"));
    EXPECT_EQ(times(), listed_time("my.own") + known_time("talvex.swd.jre") +
                           known_time("talvex.swd.zul") + known_time("talvex.swd.zul.core") +
                           known_time("talvex.swd.zul.core.min") + known_time("talvex.swd.tessel") +
                           known_time("Access Files"));
    EXPECT_EQ(log(), counted(1, 0));
}

// --- Working directories

TEST_F(BootstrapTest, WithoutAShipHomeTheWorkingDirectoryStays) {
    make_known_components();
    std::filesystem::create_directory(room.file("third"));
    std::filesystem::current_path(room.file("third"));
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(std::filesystem::current_path(), room.file("third"));
    EXPECT_EQ(unzip_runs().front(),
              unzip_run("original", payload("talvex.swd.jre", "5.0"), "third"));
}

TEST_F(BootstrapTest, AShipHomeWorksInTheOriginalDirectoryAndEndsInTheStartDirectory) {
    make_known_components();
    make_component("my.own", "1.0", "mine/file\n");
    components = {"my.own", "talvex.swd.zul"};
    ship_home = true;
    std::filesystem::create_directory(room.file("third"));
    std::filesystem::current_path(room.file("third"));
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(std::filesystem::current_path(), room.file("start"));
    EXPECT_EQ(unzip_runs(),
              (Lines{unzip_run("start", payload("my.own", "1.0"), "third"),
                     unzip_run("original", payload("talvex.swd.zul", "1.0"), "original")}));
}

TEST_F(BootstrapTest, AFailureOnTheWayDoesNotChangeBackFromTheOriginalDirectory) {
    make_component("talvex.swd.zul", "1.0", "BROKEN\n");
    components = {"talvex.swd.zul"};
    ship_home = true;
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(std::filesystem::current_path(), room.file("original"));
}

// --- Times and debug

TEST_F(BootstrapTest, PrinttimeClosesTheTimeLogBehindTheAccessFiles) {
    make_known_components();
    make_directory("access");
    access = room.file("access");
    components = {"talvex.swd.zul"};
    state::_bPrintTime = true;
    EXPECT_EQ(run(), 10);
    writeToTimeLog("behind");
    EXPECT_EQ(times(), known_time("talvex.swd.zul") + known_time("Access Files"));
    EXPECT_EQ(log(), unzip_logged("original", payload("talvex.swd.zul", "1.0")) + counted(0, 1));
}

TEST_F(BootstrapTest, WithoutPrinttimeTheTimeLogStaysOpen) {
    make_known_components();
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 10);
    writeToTimeLog("behind");
    EXPECT_EQ(times(), known_time("talvex.swd.zul") + "behind");
}

TEST_F(BootstrapTest, EverythingThatWasUnpackedHasMode750) {
    make_known_components();
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(mode_of(in_scratch("zul")), 0750U);
    EXPECT_EQ(mode_of(in_scratch("zul/installer")), 0750U);
    EXPECT_EQ(mode_of(scratch), 0750U);
}

TEST_F(BootstrapTest, APayloadInAPathWithBlanksAndQuotesIsUnpacked) {
    make_file("with 'quotes' $and blanks/p.jar", "zul/x\n");
    make_directory("scr atch");
    zul = room.file("with 'quotes' $and blanks");
    scratch = room.file("scr atch");
    components.clear();
    brings_jre = false;
    make_known_components();
    run();
    EXPECT_EQ(unzip_runs().front(), unzip_run("original", room.file("with 'quotes' $and blanks")));
}

} // namespace
