#include "bootstrap/bootstrap_fixture.h"

namespace {

// --- Copy mode

class CopyModeTest : public BootstrapTest {
  protected:
    CopyModeTest() {
        distribution = false;
        make_file("home/zul/installer", "i");
        make_file("home/core/sub/core", "c");
        make_file("home/min/minimal", "m");
        make_file("home/tessel/tool", "t");
        make_file("home/jre/bin/java", "j");
        zul = room.file("home/zul");
        core = room.file("home/core");
        minimal = room.file("home/min");
        tessel = room.file("home/tessel");
        jre = room.file("home/jre");
    }
};

TEST_F(CopyModeTest, TheTreesAreCopiedIntoTheScratchDirectory) {
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(arrived(), (Lines{"Tessel/tool=t", "jre/bin/java=j", "zul/installer=i",
                                "zul/minimal=m", "zul/sub/core=c"}));
    EXPECT_EQ(zul, in_scratch("zul"));
    EXPECT_EQ(core, in_scratch("zul"));
    EXPECT_EQ(minimal, in_scratch("zul"));
    EXPECT_EQ(tessel, in_scratch("Tessel"));
    EXPECT_EQ(jre, in_scratch("jre"));
    EXPECT_EQ(unzip_runs(), Lines{});
    EXPECT_EQ(times(), "");
    EXPECT_EQ(log(), counted(1, 3));
}

TEST_F(CopyModeTest, CopiedFilesHaveMode770AndDirectories777LessTheMask) {
    std::filesystem::permissions(room.file("home/zul/installer"), std::filesystem::perms(0400));
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(mode_of(in_scratch("zul/installer")), 0770U);
    EXPECT_EQ(mode_of(in_scratch("zul/sub/core")), 0770U);
    EXPECT_EQ(mode_of(in_scratch("zul/sub")), 0755U);
}

TEST_F(CopyModeTest, TheRuntimeIsCopiedOnlyWhenItIsWanted) {
    brings_jre = false;
    EXPECT_EQ(run(), 10);
    EXPECT_FALSE(std::filesystem::exists(in_scratch("jre")));
    EXPECT_EQ(jre, room.file("home/jre"));
    EXPECT_EQ(log(), counted(0, 3));
}

TEST_F(CopyModeTest, TheComponentListSelectsNothing) {
    make_component("my.own", "1.0", "mine/file\n");
    components = {"my.own"};
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(arrived(),
              (Lines{"Tessel/tool=t", "jre/bin/java=j", "mine/file=" + jar("my.own", "1.0"),
                     "zul/installer=i", "zul/minimal=m", "zul/sub/core=c"}));
}

TEST_F(CopyModeTest, NoBootstrapDoesNotKeepTheTreesFromBeingCopied) {
    nothing = true;
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(arrived().size(), 5U);
    EXPECT_EQ(zul, in_scratch("zul"));
}

TEST_F(CopyModeTest, AMissingTreeIsNoFailure) {
    zul = room.file("no_such");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(zul, in_scratch("zul"));
}

TEST_F(CopyModeTest, ATreeThatCannotBeCopiedEndsWith30AndLeavesTheLocationsBehindIt) {
    const struct {
        const char* blocked;
        std::vector<std::string> moved; // jre, zul, core, minimal, tessel: which got there
    } cases[] = {
        {"scratch/jre/bin/java", {}},
        {"scratch/zul/installer", {"jre"}},
        {"scratch/zul/sub/core", {"jre", "zul"}},
        {"scratch/zul/minimal", {"jre", "zul", "core"}},
        {"scratch/Tessel/tool", {"jre", "zul", "core", "minimal"}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.blocked);
        std::filesystem::remove_all(scratch);
        make_directory(one.blocked); // no file can take this name
        jre = room.file("home/jre");
        zul = room.file("home/zul");
        core = room.file("home/core");
        minimal = room.file("home/min");
        tessel = room.file("home/tessel");
        EXPECT_EQ(run(), 30);
        std::vector<std::string> moved;
        const std::pair<const char*, const std::string*> locations[] = {{"jre", &jre},
                                                                        {"zul", &zul},
                                                                        {"core", &core},
                                                                        {"minimal", &minimal},
                                                                        {"tessel", &tessel}};
        for (const auto& [name, location] : locations) {
            if (location->starts_with(scratch))
                moved.emplace_back(name);
        }
        EXPECT_EQ(moved, one.moved);
        EXPECT_EQ(log(), "");
    }
}

TEST_F(CopyModeTest, AGivenRuntimeReplacesTheCopiedOne) {
    make_file("my_jre/java");
    jre_full = room.file("my_jre");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(jre, room.file("my_jre"));
    EXPECT_EQ(bytes_of(in_scratch("jre/bin/java")), "j");
}

// --- What comes with both modes

TEST_F(CopyModeTest, ImagesAreCopiedAndTheirLocationIsRewritten) {
    make_file("home/images/logo", "x");
    images = room.file("home/images");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(images, in_scratch("images"));
    EXPECT_EQ(bytes_of(in_scratch("images/logo")), "x");
}

TEST_F(CopyModeTest, ImagesThatCannotBeCopiedDoNotMatter) {
    make_file("home/images/logo", "x");
    make_directory("scratch/images/logo");
    images = room.file("home/images");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(images, in_scratch("images"));
}

TEST_F(CopyModeTest, AccessFilesAreCopiedIntoTheScratchRootAndTimed) {
    make_file("home/access/sub/key", "k");
    access = room.file("home/access");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(bytes_of(in_scratch("sub/key")), "k");
    EXPECT_EQ(times(), known_time("Access Files"));
}

TEST_F(CopyModeTest, AccessFilesThatCannotBeCopiedEndWith30) {
    make_file("home/access/key", "k");
    make_directory("scratch/key");
    access = room.file("home/access");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(times(), "");
    EXPECT_EQ(log(), "");
}

TEST_F(CopyModeTest, ThePrerequisiteConfigurationIsCopiedAndItsLocationIsRewritten) {
    make_file("home/prereq/conf", "p");
    prereq = room.file("home/prereq");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(prereq, in_scratch("prereq"));
    EXPECT_EQ(bytes_of(in_scratch("prereq/conf")), "p");
}

TEST_F(CopyModeTest, APrerequisiteConfigurationThatCannotBeCopiedEndsWith30) {
    make_file("home/prereq/conf", "p");
    make_directory("scratch/prereq/conf");
    prereq = room.file("home/prereq");
    EXPECT_EQ(run(), 30);
    EXPECT_EQ(prereq, room.file("home/prereq"));
}

TEST_F(CopyModeTest, TheThreeExtraDirectoriesAreCopiedBelowExt) {
    ext_jlib = make_file("home/j/a.jar", "a").substr(0, room.file("home/j").size());
    ext_lib = make_file("home/l/b.so", "b").substr(0, room.file("home/l").size());
    ext_bin = make_file("home/b/c", "c").substr(0, room.file("home/b").size());
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(bytes_of(in_scratch("ext/jlib/a.jar")), "a");
    EXPECT_EQ(bytes_of(in_scratch("ext/lib/b.so")), "b");
    EXPECT_EQ(bytes_of(in_scratch("ext/bin/c")), "c");
    for (const char* made : {"ext", "ext/jlib", "ext/lib", "ext/bin"})
        EXPECT_EQ(mode_of(in_scratch(made)), 0755U) << made; // 0777 less the mask
}

TEST_F(CopyModeTest, ExtraDirectoriesThatDoNotExistAreNotMade) {
    ext_jlib = room.file("no_such");
    EXPECT_EQ(run(), 10);
    EXPECT_FALSE(std::filesystem::exists(in_scratch("ext")));
    make_directory("home/l");
    ext_lib = room.file("home/l");
    EXPECT_EQ(run(), 10);
    EXPECT_TRUE(std::filesystem::is_directory(in_scratch("ext/lib")));
    EXPECT_FALSE(std::filesystem::exists(in_scratch("ext/jlib")));
    EXPECT_FALSE(std::filesystem::exists(in_scratch("ext/bin")));
}

TEST_F(CopyModeTest, AnExtraDirectoryThatCannotBeCopiedDoesNotMatter) {
    make_file("home/j/a.jar", "a");
    make_file("home/b/c", "c");
    make_directory("scratch/ext/jlib/a.jar");
    ext_jlib = room.file("home/j");
    ext_bin = room.file("home/b");
    EXPECT_EQ(run(), 10);
    EXPECT_EQ(bytes_of(in_scratch("ext/bin/c")), "c");
}

} // namespace
