#include "bootstrap/bootstrap_fixture.h"

#include <climits>

namespace {

// --- Failures of component mode

TEST_F(BootstrapTest, AFailedUnpackingOfAnUnknownNameEndsWith30BeforeAnythingElse) {
    make_known_components();
    make_component("my.own", "1.0", "mine/a\nBROKEN\n");
    make_file("access/file");
    access = room.file("access");
    components = {"talvex.swd.zul", "my.own", "talvex.swd.tessel"};
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("start", payload("my.own", "1.0"))});
    EXPECT_EQ(zul, payload("talvex.swd.zul", "1.0"));
    EXPECT_EQ(tessel, "");
    EXPECT_EQ(log(), unzip_logged("start", payload("my.own", "1.0")));
    EXPECT_EQ(times(), "");
    EXPECT_EQ(said.out + said.err, "");
}

TEST_F(BootstrapTest, AFailureLeavesTheLogOpen) {
    make_component("my.own", "1.0", "BROKEN\n");
    components = {"my.own"};
    EXPECT_EQ(run(), 30);
    writeToInstallLog("behind");
    EXPECT_EQ(log(), unzip_logged("start", payload("my.own", "1.0")) + "behind");
}

TEST_F(BootstrapTest, AFailedUnpackingOfRuntimeInstallerOrPatchToolEndsWith30) {
    for (const char* name : {"talvex.swd.jre", "talvex.swd.zul", "talvex.swd.tessel"}) {
        SCOPED_TRACE(name);
        std::filesystem::remove_all(room.file("stage"));
        make_known_components();
        const std::string version =
            std::filesystem::directory_iterator(room.file(std::string("stage/Components/") + name))
                ->path()
                .filename()
                .string();
        make_component(name, version, "jre/part/file\nBROKEN\n");
        components = {name};
        jre.clear();
        zul.clear();
        tessel.clear();
        EXPECT_EQ(run(), 30);
        EXPECT_EQ(jre + zul + tessel, payload(name, version));
        EXPECT_EQ(said.out + said.err, "");
    }
}

TEST_F(BootstrapTest, AFailedUnpackingOfTheCoreIsSkipped) {
    make_known_components();
    make_component("talvex.swd.zul.core", "2.0", "zul/part\nBROKEN\n");
    make_file("stage/Components/talvex.swd.zul.core/2.0/1/DataFiles/Expanded/file", "expanded");
    components = {"talvex.swd.zul.core", "talvex.swd.tessel"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(core, payload("talvex.swd.zul.core", "2.0"));
    EXPECT_EQ(bytes_of(in_scratch("file")), "expanded");
    EXPECT_EQ(tessel, in_scratch("Tessel"));
    EXPECT_EQ(times(), known_time("talvex.swd.tessel"));
}

TEST_F(BootstrapTest, AFailedUnpackingOfTheMinimalCoreIsSkipped) {
    make_component("talvex.swd.zul.core.min", "3.0", "BROKEN\n");
    components = {"talvex.swd.zul.core.min"};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(minimal, payload("talvex.swd.zul.core.min", "3.0"));
    EXPECT_EQ(times(), "");
}

TEST_F(BootstrapTest, AMissingComponentIsNamedWithTheLowestVersion) {
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 30);
    const std::string missing = payload("talvex.swd.zul", "0.0.0.0.0");
    EXPECT_EQ(zul, "../" + missing); // no first stage: the second one is not looked at
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_UNZIP_FAILED", {"../" + missing}) + "\n");
    EXPECT_TRUE(log().ends_with(logged("S_UNZIP_FAILED", {"../" + missing}))) << log();
}

TEST_F(BootstrapTest, AnEntryOfColonsAloneIsAMissingComponentWithoutAName) {
    make_known_components();
    components = {"::"};
    EXPECT_EQ(run(), 30);
    const std::string missing = payload("", "0.0.0.0.0");
    EXPECT_EQ(unzip_runs(), Lines{unzip_run("start", missing)});
    EXPECT_EQ(said.err, shown("S_UNZIP_FAILED", {missing}) + "\n");
    EXPECT_EQ(arrived(), Lines{});
}

TEST_F(BootstrapTest, AMissingUnzipEndsWith30) {
    make_known_components();
    std::filesystem::remove(room.file("original/unzip"));
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(arrived(), Lines{});
}

// --- Room

TEST_F(BootstrapTest, TooLittleRoomEndsWith30AfterTheExtraDirectoriesAndTheReport) {
    make_known_components();
    make_file("images/logo", "x");
    make_file("more/a.jar", "a");
    images = room.file("images");
    ext_jlib = room.file("more");
    size = LONG_MAX;
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(arrived(), Lines{"ext/jlib/a.jar=a"});
    EXPECT_EQ(images, room.file("images"));
    EXPECT_EQ(zul + jre, "");
    EXPECT_EQ(log(), counted(0, 0));
    EXPECT_EQ(said.out, "");
    EXPECT_TRUE(said.err.starts_with("<S_ROOM|" + scratch + "|No space left on device|"));
    EXPECT_EQ(std::string(last_bootstrap_failure().step) + last_bootstrap_failure().component,
              "S_STEP_SPACEBOOTSTRAP_SIZE");
    writeToInstallLog("behind");
    EXPECT_EQ(log(), counted(0, 0)) << "the log is closed";
}

TEST_F(BootstrapTest, AFileSystemThatCannotBeAskedHasNoRoom) {
    scratch = room.file("no_such_directory");
    components = {"talvex.swd.zul"};
    size = 1;
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(said.err, shown("S_REASON", {scratch, "No such file or directory"}) + "\n");
    EXPECT_EQ(log(), counted(0, 0));
    EXPECT_EQ(unzip_runs(), Lines{});
}

TEST_F(BootstrapTest, ABootstrapThatNeedsNoRoomDoesNotDependOnTheAnswer) {
    make_known_components();
    scratch = room.file("no_such_directory");
    components = {"talvex.swd.zul"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(zul, in_scratch("zul"));
}

} // namespace
