#include "setupLauncher/settings_fixture.h"

namespace {

// --- Where the parameter file is looked for

TEST_F(SettingsTest, TheGivenParameterFileIsTakenBeforeAllOthers) {
    settings.paramFileLocation = make_file("given/my.ini", "[Talvex]\nJRE_LOCATION=given\n");
    make_file("start/bin/talparam.ini", "[Talvex]\nJRE_LOCATION=beside\n");
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "given");
    EXPECT_EQ(settings.paramFileLocation, room.file("given/my.ini"));
    EXPECT_EQ(settings.paramLoc, room.file("given"));
    EXPECT_EQ(said.out + said.err, "");
    EXPECT_EQ(log(), logged("S_USING_PARAMFILE", {room.file("given/my.ini")}));
}

TEST_F(SettingsTest, AGivenParameterFileIsRelativeToTheCurrentDirectory) {
    make_file("elsewhere/my.ini", "[Talvex]\nJRE_LOCATION=here\n");
    settings.paramFileLocation = "my.ini";
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "here");
    EXPECT_EQ(settings.paramFileLocation, room.file("elsewhere/my.ini"));
    EXPECT_EQ(settings.paramLoc, "my.ini");
}

TEST_F(SettingsTest, TheFileBesideTheLauncherComesFirst) {
    make_file("start/bin/talparam.ini", "[Talvex]\nJRE_LOCATION=beside\n");
    make_file("start/talparam.ini", "[Talvex]\nJRE_LOCATION=above\n");
    make_file("elsewhere/talparam.ini", "[Talvex]\nJRE_LOCATION=current\n");
    make_file("talparam.ini", "[Talvex]\nJRE_LOCATION=above current\n");
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "beside");
    EXPECT_EQ(settings.paramFileLocation, room.file("start/bin/talparam.ini"));
    EXPECT_EQ(settings.paramLoc, ".");
    EXPECT_EQ(log(), logged("S_USING_PARAMFILE", {room.file("start/bin/talparam.ini")}));
}

TEST_F(SettingsTest, TheFileAboveTheLauncherComesSecond) {
    make_file("start/talparam.ini", "[Talvex]\nJRE_LOCATION=above\n");
    make_file("elsewhere/talparam.ini", "[Talvex]\nJRE_LOCATION=current\n");
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "above");
    EXPECT_EQ(settings.paramFileLocation, room.file("start/talparam.ini"));
    EXPECT_EQ(settings.paramLoc, "..");
    EXPECT_EQ(log(), logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/talparam.ini")}) +
                         logged("S_USING_PARAMFILE", {room.file("start/talparam.ini")}));
}

TEST_F(SettingsTest, TheFileOfTheCurrentDirectoryComesThirdAndLeavesItsDirectoryUnsaid) {
    make_file("elsewhere/talparam.ini", "[Talvex]\nJRE_LOCATION=current\n");
    make_file("talparam.ini", "[Talvex]\nJRE_LOCATION=above current\n");
    settings.paramLoc = "as it was";
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "current");
    EXPECT_EQ(settings.paramFileLocation, room.file("elsewhere/talparam.ini"));
    EXPECT_EQ(settings.paramLoc, "as it was");
    EXPECT_EQ(log(), logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/../talparam.ini")}) +
                         logged("S_USING_PARAMFILE", {room.file("elsewhere/talparam.ini")}));
}

TEST_F(SettingsTest, TheFileAboveTheCurrentDirectoryComesLast) {
    make_file("talparam.ini", "[Talvex]\nJRE_LOCATION=above current\n");
    settings.paramLoc = "as it was";
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.jreDirLoc, "above current");
    EXPECT_EQ(settings.paramFileLocation, room.file("talparam.ini"));
    EXPECT_EQ(settings.paramLoc, "as it was");
    EXPECT_EQ(log(), logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/../talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {room.file("elsewhere/talparam.ini")}) +
                         logged("S_USING_PARAMFILE", {room.file("talparam.ini")}));
}

TEST_F(SettingsTest, WithoutAnyFileTheResultIsMinus2AfterAMessage) {
    settings.paramLoc = "as it was";
    EXPECT_EQ(get_params(), -2);
    const std::string last = room.file("elsewhere/../talparam.ini");
    EXPECT_EQ(settings.paramLoc, "");
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_ERTALPARAMNFD", {last}) + "\n");
    EXPECT_EQ(log(), logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {room.file("start/bin/../talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {room.file("elsewhere/talparam.ini")}) +
                         logged("S_ERTALPARAMNFD_LOC", {last}) + logged("S_ERTALPARAMNFD", {last}));
    writeToInstallLog("behind");
    EXPECT_FALSE(log().ends_with("behind")) << "the log is closed";
}

TEST_F(SettingsTest, AGivenFileThatIsMissingGivesWayToTheOneBesideTheLauncherAfterTwoMessages) {
    settings.paramFileLocation = "/no/such.ini";
    make_file("start/bin/talparam.ini", "[Talvex]\nJRE_LOCATION=beside\n");
    EXPECT_EQ(get_params(false, false, false, true), 0);
    const std::string used = room.file("start/bin/talparam.ini");
    EXPECT_EQ(settings.jreDirLoc, "beside");
    EXPECT_EQ(settings.paramFileLocation, used);
    EXPECT_EQ(said.out, shown("S_ERUSR_PARAMFILE_NOT_FOUND", {"/no/such.ini"}) +
                            shown("S_DEF_PARAMFILE", {used}));
    EXPECT_EQ(said.err, "");
    EXPECT_EQ(log(), logged("S_ERUSR_PARAMFILE_NOT_FOUND", {"/no/such.ini"}) +
                         logged("S_DEF_PARAMFILE", {used}));
}

TEST_F(SettingsTest, AGivenFileThatIsMissingEndsInMinus2WhenThereIsNoOther) {
    settings.paramFileLocation = "/no/such.ini";
    EXPECT_EQ(get_params(), -2);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_ERTALPARAMNFD", {room.file("elsewhere/../talparam.ini")}) + "\n");
}

TEST_F(SettingsTest, AFileThatCannotBeReadIsNamedWithTheReasonAndCountsAsOneWithoutKeys) {
    make_directory("start/bin/talparam.ini");
    const std::string directory = room.file("start/bin/talparam.ini");
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.bootStrapSz, "69");
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_ERPARAMFILE_READ", {directory}) + ": Is a directory\n");
    EXPECT_EQ(log(), logged("S_USING_PARAMFILE", {directory}));
}

TEST_F(SettingsTest, ATestForUpdatesIsLoggedBeforeTheFile) {
    make_file("start/bin/talparam.ini", "[Talvex]\n");
    EXPECT_EQ(get_params(false, false, false, true), 0);
    const std::string used = room.file("start/bin/talparam.ini");
    EXPECT_EQ(said.out + said.err, "");
    EXPECT_EQ(log(), logged("S_TEST_AUTO_UPDATES", {used}) + logged("S_USING_PARAMFILE", {used}));
}

TEST_F(SettingsTest, TheLogIsClosedAfterwards) {
    read_lines("");
    const std::string before = log();
    writeToInstallLog("behind");
    EXPECT_EQ(log(), before);
}

// --- Directories

TEST_F(SettingsTest, AScratchDirectoryIsMadeAndTakesTheLog) {
    read_lines("");
    EXPECT_EQ(settings.scratchLoc, room.file("tmp/TalInstallSTAMP"));
    EXPECT_TRUE(std::filesystem::is_directory(settings.scratchLoc));
    EXPECT_EQ(sLogLoc, room.file("tmp/TalInstallSTAMP/installActionsSTAMP.log"));
}

TEST_F(SettingsTest, NoScratchDirectoryIsMadeForABootstrapOnlyLaunch) {
    make_file("start/bin/talparam.ini", "[Talvex]\n");
    EXPECT_EQ(get_params(true), 0);
    EXPECT_EQ(settings.scratchLoc, "");
    EXPECT_TRUE(std::filesystem::is_empty(room.file("tmp")));
}

TEST_F(SettingsTest, AScratchDirectoryGivenBeforehandIsKept) {
    make_file("start/bin/talparam.ini", "[Talvex]\n");
    make_directory("mine");
    settings.scratchLoc = room.file("mine");
    EXPECT_EQ(get_params(false, true), 0);
    EXPECT_EQ(settings.scratchLoc, room.file("mine"));
    EXPECT_EQ(sLogLoc, room.file("mine/installActionsSTAMP.log"));
    EXPECT_TRUE(std::filesystem::is_empty(room.file("tmp")));
}

TEST_F(SettingsTest, AScratchDirectoryThatCannotBeMadeEndsInMinus1) {
    make_file("start/bin/talparam.ini", "[Talvex]\nJRE_LOCATION=x\n");
    state::scratchPath = make_file("a_file") + "/below";
    EXPECT_EQ(get_params(), -1);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, shown("S_ERPERDIR", {state::scratchPath}) + "\n" +
                            shown("S_REASON", {room.file("a_file"), "Not a directory"}) + "\n");
    EXPECT_EQ(settings.jreDirLoc, "");
}

TEST_F(SettingsTest, TheProcessEndsUpInTheStartDirectoryWhichBecomesAbsolute) {
    make_file("start/bin/talparam.ini", "[Talvex]\n");
    settings.startupLoc = "../start/bin/";
    EXPECT_EQ(get_params(), 0);
    EXPECT_EQ(settings.startupLoc, room.file("start/bin"));
    EXPECT_EQ(std::filesystem::current_path(), room.file("start/bin"));
    EXPECT_EQ(settings.paramFileLocation, room.file("start/bin/talparam.ini"));
}

TEST_F(SettingsTest, AShipHomeLaunchKeepsTheStartDirectoryAsGiven) {
    make_file("start/bin/talparam.ini", "[Talvex]\n");
    settings.startupLoc = "../start/bin";
    EXPECT_EQ(get_params(false, false, true), 0);
    EXPECT_EQ(settings.startupLoc, "../start/bin");
    EXPECT_EQ(settings.zulLoc, "../start/bin");
    EXPECT_EQ(std::filesystem::current_path(), room.file("start/bin"));
}

TEST_F(SettingsTest, ACurrentDirectoryThatIsGoneIsSaidAndEndsInMinus1) {
    settings.paramFileLocation = make_file("given/my.ini", "[Talvex]\nJRE_LOCATION=x\n");
    settings.startupLoc = room.file("no_such_directory");
    make_directory("gone");
    std::filesystem::current_path(room.file("gone"));
    std::filesystem::remove(room.file("gone"));
    EXPECT_EQ(get_params(), -1);
    const std::string message = shown("S_ERGOSLST", {"GetCurrentDir()", std::to_string(ENOENT)});
    EXPECT_EQ(said.out, message + message); // at the start and behind the change of directory
    EXPECT_EQ(said.err, "");
    EXPECT_EQ(settings.jreDirLoc, "");
}

} // namespace
