#include "base/directory.h"
#include "noted_signal.h"
#include "tree_fixture.h"
#include "volume_stand_in.h"

#include <csignal>
#include <sys/resource.h>

namespace {

int copied_file(const std::string& source, const std::string& dest) {
    return copyFile(source.c_str(), dest.c_str());
}

using CopyFile = Tree;
using MakingADirectory = Tree;

class SetPermission : public Tree {
  protected:
    Catalogue catalogue{{"S_ERPERM_1", "cannot change %s"},
                        {"S_ERPERM_2", "cannot change file %s"},
                        {"S_ERFILE_MISSING", "cannot open %s"}};
};

long free_space(unsigned long blocks, unsigned long fragment) {
    set_free_space(blocks, fragment);
    return getFreeSpace(kVolume);
}

} // namespace

TEST_F(CopyFile, GivesEveryByteAtAnyLength) {
    for (const std::size_t length : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 131072U, 300001U}) {
        std::string bytes;
        for (std::size_t i = 0; i < length; ++i)
            bytes += static_cast<char>(i * 7 + i / 1024);
        EXPECT_EQ(copied_file(here.write("from", bytes), here.file("to")), kOk);
        EXPECT_EQ(bytes_of(here.file("to")) == bytes, true) << length;
    }
}

TEST_F(CopyFile, LeavesAFileThatIsItsOwnDestinationAsItIs) {
    const std::string file = here.write("file", "bytes");
    set_mode(file, 0604);
    make_link("link", "file");
    std::filesystem::create_hard_link(file, here.file("name"));
    for (const char* name : {"file", "link", "name"}) {
        EXPECT_EQ(copied_file(here.file(name), file), kOk) << name;
        EXPECT_EQ(copied_file(file, here.file(name)), kOk) << name;
        EXPECT_EQ(bytes_of(file), "bytes") << name;
        EXPECT_EQ(mode_of(file), 0604U) << name;
    }
}

TEST_F(CopyFile, LeavesADirectoryThatIsItsOwnDestinationAsItIs) {
    const std::string directory = make_directory("directory");
    set_mode(directory, 0705);
    for (const std::string& dest : {directory, directory + "/", directory + "/."}) {
        EXPECT_EQ(copied_file(directory, dest), kOk) << dest;
        EXPECT_EQ(mode_of(directory), 0705U) << dest;
    }
}

TEST_F(CopyFile, LeavesNoDescriptorOpenWhicheverWayItEnds) {
    const std::string file = here.write("file", "bytes");
    const int before = lowest_free_descriptor();
    copied_file(file, file);
    copied_file(file, here.file("new"));
    copied_file(file, here.file("new"));
    copied_file(here.file("missing"), file);
    copied_file(here.file("new"), here.file("no/to"));
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(CopyFile, PassesOverAPipeASocketAndADeviceAndNamesThem) {
    const Catalogue catalogue{{"S_FILE_PASSED_OVER", "%s is no file"}};
    mkfifo(here.file("pipe").c_str(), 0600);
    for (const std::string& source : {here.file("pipe"), std::string("/dev/null")}) {
        int status = 99;
        EXPECT_EQ(complained_by([&] { status = copied_file(source, here.file("to")); }),
                  "<" + source + " is no file>\n");
        EXPECT_EQ(status, kOk);
        EXPECT_FALSE(exists(here.file("to")));
    }
}

TEST_F(CopyFile, DoesNotWaitForTheReaderOfAPipeInTheDestinationsPlace) {
    mkfifo(here.file("pipe").c_str(), 0600);
    EXPECT_EQ(copied_file(here.write("from", std::string(100000, 'x')), here.file("pipe")),
              kFailed);
    EXPECT_EQ(last_copy_failure().path, here.file("pipe"));
    EXPECT_EQ(last_copy_failure().error, EEXIST);
}

TEST_F(CopyFile, TellsWhereItFailedAndWhy) {
    const auto expect_failure = [](const std::string& path, int error) {
        EXPECT_EQ(last_copy_failure().path, path);
        EXPECT_EQ(last_copy_failure().error, error);
    };
    const std::string from = here.write("from", "bytes");
    EXPECT_EQ(copied_file(here.file("missing"), here.file("to")), kFailed);
    expect_failure(here.file("missing"), ENOENT);
    EXPECT_EQ(copied_file(from, here.file("no/to")), kFailed);
    expect_failure(here.file("no/to"), ENOENT);
    EXPECT_EQ(copied_file(here.path(), here.file("to")), kFailed);
    expect_failure(here.path(), EISDIR);
}

TEST_F(CopyFile, TellsOfADeviceThatIsFull) {
    as_ordinary_user([] { // who cannot give the device itself another mode
        const TemporaryDirectory inside;
        EXPECT_EQ(copied_file(inside.write("from", "bytes"), "/dev/full"), kFailed);
        EXPECT_EQ(last_copy_failure().path, "/dev/full");
        EXPECT_EQ(last_copy_failure().error, ENOSPC) << "see whether everybody may write it";
    });
}

TEST_F(CopyFile, GivesTheCopyMode0770WhateverTheSourcesModeAndTheMask) {
    const Mask closed(077);
    for (const mode_t mode : {0400U, 0444U, 0401U, 0777U, 0600U}) {
        set_mode(here.write("from", "x"), mode);
        EXPECT_EQ(copied_file(here.file("from"), here.file("to")), kOk);
        EXPECT_EQ(mode_of(here.file("to")), 0770U) << mode;
        set_mode(here.file("from"), 0600);
    }
}

TEST_F(CopyFile, GivesMode0770AlsoForASourceThatOnlyOthersMayExecute) {
    set_mode(here.write("from", "x"), 0001);
    copied_file(here.file("from"), here.file("to"));
    EXPECT_EQ(mode_of(here.file("to")), 0770U);
}

TEST_F(CopyFile, ReplacesALongerFile) {
    here.write("to", "a much longer text");
    EXPECT_EQ(copied_file(here.write("from", "short"), here.file("to")), kOk);
    EXPECT_EQ(bytes_of(here.file("to")), "short");
}

TEST_F(CopyFile, GivesAnExistingFileMode0770) {
    set_mode(here.write("to", ""), 0600);
    EXPECT_EQ(copied_file(here.write("from", "x"), here.file("to")), kOk);
    EXPECT_EQ(mode_of(here.file("to")), 0770U);
}

TEST_F(CopyFile, EmptiesTheDestinationAlsoForAMissingSource) {
    here.write("to", "before");
    EXPECT_EQ(copied_file(here.file("missing"), here.file("to")), kFailed);
    EXPECT_EQ(bytes_of(here.file("to")), "");
    EXPECT_EQ(mode_of(here.file("to")), 0770U);
    EXPECT_EQ(copied_file(here.file("missing"), here.file("new")), kFailed);
    EXPECT_EQ(mode_of(here.file("new")), 0770U);
}

TEST_F(CopyFile, FailsForAMissingSourceAlsoWhereItWouldBecomeItsOwnDestination) {
    EXPECT_EQ(copied_file(here.file("file"), here.file("file")), kFailed);
    make_link("link", "elsewhere");
    EXPECT_EQ(copied_file(here.file("link"), here.file("elsewhere")), kFailed);
}

TEST_F(CopyFile, FollowsALinkThatLeadsToNoFileYet) {
    make_link("link", "elsewhere");
    EXPECT_EQ(copied_file(here.write("from", "x"), here.file("link")), kOk);
    EXPECT_EQ(bytes_of(here.file("elsewhere")), "x");
    EXPECT_TRUE(std::filesystem::is_symlink(here.file("link")));
}

TEST_F(CopyFile, FailsWhenTheDestinationCannotBeOpened) {
    EXPECT_EQ(complained_by([&] {
                  EXPECT_EQ(copied_file(here.write("from", "x"), here.file("missing/to")), kFailed);
              }),
              "");
    EXPECT_EQ(copied_file(here.file("from"), make_directory("directory")), kFailed);
}

TEST_F(CopyFile, FailsForAReadOnlyDestinationButGivesItMode0770) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        set_mode(inside.write("to", "kept"), 0400);
        EXPECT_EQ(copied_file(inside.write("from", "x"), inside.file("to")), kFailed);
        EXPECT_EQ(bytes_of(inside.file("to")), "kept");
        EXPECT_EQ(mode_of(inside.file("to")), 0770U);
    });
}

TEST_F(CopyFile, FailsWhenTheDestinationHasNoRoomForAllOfIt) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        inside.write("from", std::string(500'000, 'x'));
        inside.write("small", std::string(5000, 'x'));
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit room{4096, 4096};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &room), 0);
        EXPECT_EQ(copied_file(inside.file("from"), inside.file("to")), kFailed);
        EXPECT_EQ(mode_of(inside.file("to")), 0770U);
        EXPECT_EQ(copied_file(inside.file("small"), inside.file("to")), kFailed);
        EXPECT_EQ(mode_of(inside.file("to")), 0770U);
    });
}

TEST_F(CopyFile, HoldsNoDescriptorAfterwards) {
    const int before = lowest_free_descriptor();
    copied_file(here.write("from", "x"), here.file("to"));
    copied_file(here.file("missing"), here.file("to"));
    copied_file(here.file("from"), here.file("missing/to"));
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(SetPermission, ChangesTheTopPathOnlyWithoutTheRecursiveFlag) {
    set_mode(make_file("tree/file"), 0600);
    set_mode(tree, 0700);
    for (const int flag : {0, -1}) {
        setPermission(tree.c_str(), 0750, flag);
        EXPECT_EQ(mode_of(tree), 0750U) << flag;
        EXPECT_EQ(mode_of(tree + "/file"), 0600U) << flag;
        set_mode(tree, 0700);
    }
}

TEST_F(SetPermission, ChangesEverythingBelowWithTheRecursiveFlag) {
    for (const char* name : {"tree/file", "tree/.hidden", "tree/a/b/file"})
        set_mode(make_file(name), 0600);
    set_mode(make_directory("tree/empty"), 0700);
    setPermission(tree.c_str(), 0751, 1);
    for (const char* name : {"", "/file", "/.hidden", "/a", "/a/b", "/a/b/file", "/empty"})
        EXPECT_EQ(mode_of(tree + name), 0751U) << name;
}

TEST_F(CopyFile, FailsOnceASignalIsNoted) {
    const std::string source = make_file("source", std::string(500000, 'x'));
    const NotedSignal signal;
    EXPECT_EQ(copied_file(source, here.file("dest")), kFailed);
    EXPECT_EQ(bytes_of(here.file("dest")).size(), 131072U); // what was on its way
}

TEST_F(SetPermission, ChangesNothingBelowOnceASignalIsNoted) {
    const std::string file = make_file("top/file");
    set_mode(file, 0600);
    const NotedSignal signal;
    setPermission(here.file("top").c_str(), 0750, 1);
    EXPECT_EQ(mode_of(here.file("top")), 0750U);
    EXPECT_EQ(mode_of(file), 0600U);
}

TEST_F(SetPermission, ChangesAFileGivenAsItsTop) {
    const std::string file = make_file("file");
    setPermission(file.c_str(), 0440, 1);
    EXPECT_EQ(mode_of(file), 0440U);
}

TEST_F(SetPermission, DoesNothingForNoPathAndAnEmptyOne) {
    EXPECT_EQ(complained_by([] {
                  setPermission(nullptr, 0750, 1);
                  setPermission("", 0750, 1);
              }),
              "");
}

TEST_F(SetPermission, DoesNothingForAModeAbove0777) {
    set_mode(make_file("tree/file"), 0600);
    set_mode(tree, 0700);
    EXPECT_EQ(complained_by([&] {
                  for (const int mode : {01000, 01750, 04755, -1}) {
                      setPermission(tree.c_str(), mode, 1);
                      setPermission(here.file("missing").c_str(), mode, 1);
                  }
              }),
              "");
    EXPECT_EQ(mode_of(tree), 0700U);
    EXPECT_EQ(mode_of(tree + "/file"), 0600U);
    setPermission(tree.c_str(), 0777, 1);
    EXPECT_EQ(mode_of(tree + "/file"), 0777U);
}

TEST_F(SetPermission, NamesATopPathThatCannotBeChangedWithTheSystemsReason) {
    const std::string missing = here.file("missing");
    EXPECT_EQ(complained_by([&] { setPermission(missing.c_str(), 0750, 1); }),
              "<cannot change " + missing + ">: No such file or directory\n");
}

TEST_F(SetPermission, StopsAtATopPathThatCannotBeChanged) {
    as_ordinary_user([] {
        EXPECT_EQ(complained_by([] { setPermission("/etc", 0750, 1); }),
                  "<cannot change /etc>: Operation not permitted\n");
    });
}

TEST_F(SetPermission, NamesAFileThatCannotBeChangedAndGoesOn) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_symlink("/etc/passwd", inside.file("foreign"));
        set_mode(inside.write("a", ""), 0600);
        set_mode(inside.write("z", ""), 0600);
        EXPECT_EQ(complained_by([&] { setPermission(inside.path().c_str(), 0750, 1); }),
                  "<cannot change file " + inside.file("foreign") + ">: Operation not permitted\n");
        EXPECT_EQ(mode_of(inside.file("a")), 0750U);
        EXPECT_EQ(mode_of(inside.file("z")), 0750U);
    });
}

TEST_F(SetPermission, NamesADirectoryBelowThatCannotBeChangedAndLeavesItsEntries) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_symlink("/etc", inside.file("foreign"));
        EXPECT_EQ(complained_by([&] { setPermission(inside.path().c_str(), 0750, 1); }),
                  "<cannot change " + inside.file("foreign") + ">: Operation not permitted\n");
    });
}

TEST_F(SetPermission, NamesAnEntryThatCannotBeOpenedAndGoesOn) {
    make_link("tree/dangling", "nowhere");
    set_mode(make_file("tree/a"), 0600);
    set_mode(make_file("tree/z"), 0600);
    EXPECT_EQ(complained_by([&] { setPermission(tree.c_str(), 0750, 1); }),
              "<cannot open " + tree + "/dangling>: No such file or directory\n");
    EXPECT_EQ(mode_of(tree + "/a"), 0750U);
    EXPECT_EQ(mode_of(tree + "/z"), 0750U);
}

TEST_F(SetPermission, NamesASubdirectoryThatMayNotBeReadAndLeavesIt) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directory(inside.file("closed"));
        set_mode(inside.file("closed"), 0300);
        EXPECT_EQ(complained_by([&] { setPermission(inside.path().c_str(), 0750, 1); }),
                  "<cannot open " + inside.file("closed") + ">: Permission denied\n");
        EXPECT_EQ(mode_of(inside.file("closed")), 0300U);
        set_mode(inside.file("closed"), 0700);
    });
}

TEST_F(SetPermission, SetsADirectorysOwnModeBeforeItsEntriesAreVisited) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directory(inside.file("tree"));
        set_mode(inside.write("tree/file", ""), 0600);
        EXPECT_EQ(complained_by([&] { setPermission(inside.file("tree").c_str(), 0, 1); }), "");
        EXPECT_EQ(mode_of(inside.file("tree")), 0U);
        EXPECT_EQ(complained_by([&] { setPermission(inside.file("tree").c_str(), 0400, 1); }),
                  "<cannot open " + inside.file("tree/file") + ">: Permission denied\n");
        set_mode(inside.file("tree"), 0700);
        EXPECT_EQ(mode_of(inside.file("tree/file")), 0600U);
    });
}

TEST_F(SetPermission, ComplainsOfWhatADirectoryHoldsBeforeItGoesOnToTheEntryAfterIt) {
    for (const char* name :
         {"tree/1/x/bad", "tree/1/bad", "tree/2/bad", "tree/3/y/bad", "tree/bad"})
        make_link(name, "nowhere");
    std::string expected;
    const auto add_complaints = [&](const auto& add, const std::string& directory) -> void {
        for (const std::string& name : directory_entries(directory).names) {
            const std::string entry = directory + "/" + name;
            if (is_directory(entry))
                add(add, entry);
            else
                expected += "<cannot open " + entry + ">: No such file or directory\n";
        }
    };
    add_complaints(add_complaints, tree);
    EXPECT_EQ(complained_by([&] { setPermission(tree.c_str(), 0750, 1); }), expected);
}

TEST_F(SetPermission, ChangesWhatLinksLeadTo) {
    set_mode(make_file("elsewhere/file"), 0600);
    set_mode(make_file("single"), 0600);
    make_link("tree/directory", "../elsewhere");
    make_link("tree/file", "../single");
    setPermission(tree.c_str(), 0750, 1);
    EXPECT_EQ(mode_of(here.file("elsewhere")), 0750U);
    EXPECT_EQ(mode_of(here.file("elsewhere/file")), 0750U);
    EXPECT_EQ(mode_of(here.file("single")), 0750U);
}

TEST_F(SetPermission, EndsForALinkBackIntoItsOwnParents) {
    set_mode(make_file("tree/a/file"), 0600);
    make_link("tree/self", ".");
    make_link("tree/a/up", "..");
    setPermission(tree.c_str(), 0750, 1);
    EXPECT_EQ(mode_of(tree + "/a/file"), 0750U);
}

TEST_F(SetPermission, DoesNotFollowALinkIntoADirectoryAboveItsTop) {
    set_mode(make_file("beside"), 0600);
    set_mode(make_file("tree/a/file"), 0600);
    make_link("tree/a/above", "../..");
    setPermission(tree.c_str(), 0750, 1);
    EXPECT_EQ(mode_of(tree + "/a/file"), 0750U);
    EXPECT_EQ(mode_of(here.file("beside")), 0600U);
    EXPECT_EQ(mode_of(here.path()), 0750U); // the entry itself, like every other
}

TEST_F(SetPermission, LeavesEverythingBelowADirectoryThatItCouldNotOpen) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directories(inside.file("tree/directory"));
        set_mode(inside.file("tree/directory"), 0700);
        set_mode(inside.write("tree/directory/file", ""), 0600);
        rlimit before{};
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
        EXPECT_EQ(complained_by([&] {
                      // One descriptor is free: for the tree, not for the look at what lies in it.
                      const int free = lowest_free_descriptor();
                      const rlimit one{static_cast<rlim_t>(free) + 1, before.rlim_max};
                      EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &one), 0);
                      setPermission(inside.file("tree").c_str(), 0750, 1);
                      EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
                  }),
                  "<cannot open " + inside.file("tree/directory") + ">: Too many open files\n");
        EXPECT_EQ(mode_of(inside.file("tree/directory")), 0700U);
        EXPECT_EQ(mode_of(inside.file("tree/directory/file")), 0600U);
    });
}

TEST_F(MakingADirectory, GivesItMode0777LessTheMask) {
    CreateDir(here.file("new"));
    EXPECT_EQ(mode_of(here.file("new")), 0755U);
    const Mask open(0);
    CreateDir(here.file("open"));
    EXPECT_EQ(mode_of(here.file("open")), 0777U);
}

TEST_F(MakingADirectory, IsSilentWhenItFails) {
    EXPECT_EQ(complained_by([&] {
                  CreateDir(here.file("missing/new"));
                  CreateDir(here.path());
              }),
              "");
    EXPECT_FALSE(exists(here.file("missing")));
}

TEST(GetFreeSpace, IsTheRoomForOrdinaryUsersInKilobytes) {
    EXPECT_EQ(free_space(1024, 4096), 4096);
    EXPECT_EQ(free_space(1024 * 1024, 512), 524288);
    EXPECT_EQ(free_space(0, 4096), 0);
}

TEST(GetFreeSpace, RoundsTheBlocksDownToWholeThousandsOf1024) {
    EXPECT_EQ(free_space(1023, 4096), 0);
    EXPECT_EQ(free_space(1025, 4096), 4096);
    EXPECT_EQ(free_space(2047, 4096), 4096);
    EXPECT_EQ(free_space(2048, 4096), 8192);
}

TEST(GetFreeSpace, IsZeroWithoutAMessageForAVolumeThatCannotBeQueried) {
    long space = 1;
    EXPECT_EQ(complained_by([&space] { space = getFreeSpace("/other"); }), "");
    EXPECT_EQ(space, 0);
}
