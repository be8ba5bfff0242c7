#include "noted_signal.h"
#include "tree_fixture.h"

namespace {

int copied_tree(const std::string& source, const std::string& dest) {
    return CopyDirRecursive(source.c_str(), dest.c_str());
}

int deleted_tree(const std::string& tree) {
    return CopyDirRecursive(tree.c_str(), nullptr);
}

using CopyOfATree = Tree;
using DeletionOfATree = Tree;

} // namespace

TEST_F(CopyOfATree, HoldsEveryFileAndDirectory) {
    make_file("tree/file", "1");
    make_file("tree/.hidden", "2");
    make_file("tree/a/b/c/file", std::string("3\0\xff", 3));
    make_directory("tree/empty");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"file", "1"},
                                           {".hidden", "2"},
                                           {"a/", ""},
                                           {"a/b/", ""},
                                           {"a/b/c/", ""},
                                           {"a/b/c/file", std::string("3\0\xff", 3)},
                                           {"empty/", ""}}));
}

TEST_F(CopyOfATree, LeavesItsSourceAsItWas) {
    make_file("tree/a/file", "1");
    const Contents before = contents_of(tree);
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(tree), before);
}

TEST_F(CopyOfATree, TakesPathsThatEndInASlash) {
    make_file("tree/a/file", "1");
    EXPECT_EQ(copied_tree(tree + "/", copy + "/"), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"a/", ""}, {"a/file", "1"}}));
}

TEST_F(CopyOfATree, GivesFilesMode0770AndDirectories0777LessTheMask) {
    set_mode(make_file("tree/a/file"), 0444);
    set_mode(make_directory("tree/a"), 0700);
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(mode_of(copy), 0755U);
    EXPECT_EQ(mode_of(copy + "/a"), 0755U);
    EXPECT_EQ(mode_of(copy + "/a/file"), 0770U);
}

TEST_F(CopyOfATree, OfAMissingTreeSucceedsAndCreatesNothing) {
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_FALSE(exists(copy));
}

TEST_F(CopyOfATree, MergesWithWhatIsThere) {
    make_file("tree/same", "new");
    make_file("tree/a/file", "new");
    make_file("copy/same", "a longer old text");
    make_file("copy/other", "old");
    make_file("copy/a/other", "old");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(
        contents_of(copy),
        (Contents{
            {"same", "new"}, {"other", "old"}, {"a/", ""}, {"a/file", "new"}, {"a/other", "old"}}));
}

TEST_F(CopyOfATree, OntoItselfByWhateverPathCopiesNothingAndSucceeds) {
    make_file("tree/a/file", "1");
    set_mode(here.file("tree/a/file"), 0604);
    make_link("link", "tree");
    const Contents before = contents_of(tree);
    for (const std::string& same : {tree, tree + "/", tree + "/a/..", here.file("link")}) {
        EXPECT_EQ(copied_tree(tree, same), kOk) << same;
        EXPECT_EQ(copied_tree(same, tree), kOk) << same;
        EXPECT_EQ(contents_of(tree), before) << same;
        EXPECT_EQ(mode_of(here.file("tree/a/file")), 0604U) << same;
    }
}

TEST_F(CopyOfATree, LeavesADirectoryInItThatIsItsOwnDestinationAsItIs) {
    make_file("copy/a/file", "1");
    make_link("tree/a", copy + "/a");
    make_file("tree/other", "2");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"a/", ""}, {"a/file", "1"}, {"other", "2"}}));
}

TEST_F(CopyOfATree, TellsTheFirstDirectoryThatCouldNotBeMadeForAFileInIt) {
    make_file("tree/a/b/file", "1");
    EXPECT_EQ(copied_tree(tree, "/proc/copy"), kFailed);
    EXPECT_EQ(last_copy_failure().path, "/proc/copy");
    EXPECT_EQ(last_copy_failure().error, ENOENT);
}

TEST_F(CopyOfATree, HoldsWhatLinksLeadTo) {
    make_file("elsewhere/file", "1");
    make_link("tree/file", "../elsewhere/file");
    make_link("tree/directory", "../elsewhere");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy),
              (Contents{{"file", "1"}, {"directory/", ""}, {"directory/file", "1"}}));
}

TEST_F(CopyOfATree, FailsAtADanglingLinkBecauseItCountsAsAFile) {
    make_link("tree/dangling", "nowhere");
    EXPECT_EQ(copied_tree(tree, copy), kFailed);
    EXPECT_EQ(contents_of(copy), (Contents{{"dangling", ""}}));
}

TEST_F(CopyOfATree, EndsAtTheFirstFileThatCannotBeCopied) {
    // Subdirectories come after all files of the directory they lie in.
    make_link("tree/dangling", "nowhere");
    make_file("tree/a/file", "1");
    EXPECT_EQ(copied_tree(tree, copy), kFailed);
    EXPECT_FALSE(exists(copy + "/a"));
}

TEST_F(CopyOfATree, FailsWhenItsPlaceCannotBeCreated) {
    make_file("tree/file");
    EXPECT_EQ(copied_tree(tree, here.file("missing/copy")), kFailed);
    EXPECT_FALSE(exists(here.file("missing")));
    make_file("copy", "kept");
    EXPECT_EQ(copied_tree(tree, copy), kFailed);
    EXPECT_EQ(bytes_of(copy), "kept");
}

TEST_F(CopyOfATree, SkipsADirectoryThatMayNotBeRead) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directories(inside.file("tree/closed"));
        inside.write("tree/closed/file", "");
        inside.write("tree/file", "1");
        set_mode(inside.file("tree/closed"), 0300);
        EXPECT_EQ(complained_by([&] {
                      EXPECT_EQ(copied_tree(inside.file("tree"), inside.file("copy")), kOk);
                  }),
                  "");
        EXPECT_EQ(contents_of(inside.file("copy")), (Contents{{"file", "1"}}));
        set_mode(inside.file("tree/closed"), 0700);
    });
}

TEST_F(CopyOfATree, FailsAtAFileThatMayNotBeRead) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directory(inside.file("tree"));
        set_mode(inside.write("tree/file", "1"), 0300);
        EXPECT_EQ(complained_by([&] {
                      EXPECT_EQ(copied_tree(inside.file("tree"), inside.file("copy")), kFailed);
                  }),
                  "");
        EXPECT_EQ(contents_of(inside.file("copy")), (Contents{{"file", ""}}));
    });
}

TEST_F(CopyOfATree, EndsForALinkBackIntoItsOwnParents) {
    make_file("tree/a/b/file", "1");
    make_link("tree/self", ".");
    make_link("tree/a/b/up", "..");
    make_link("tree/a/b/root", "../..");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"a/", ""}, {"a/b/", ""}, {"a/b/file", "1"}}));
}

TEST_F(CopyOfATree, EndsForALinkIntoADirectoryAboveItsRoot) {
    make_file("tree/a/file", "1");
    make_file("beside", "2");
    make_link("tree/a/above", "../..");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"a/", ""}, {"a/file", "1"}}));
}

TEST_F(CopyOfATree, EndsForDirectoriesThatLinkToEachOther) {
    make_file("tree/a/file", "1");
    make_file("tree/b/file", "2");
    make_link("tree/a/to_b", "../b");
    make_link("tree/b/to_a", "../a");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy), (Contents{{"a/", ""},
                                           {"a/file", "1"},
                                           {"a/to_b/", ""},
                                           {"a/to_b/file", "2"},
                                           {"b/", ""},
                                           {"b/file", "2"},
                                           {"b/to_a/", ""},
                                           {"b/to_a/file", "1"}}));
}

TEST_F(CopyOfATree, MayLieInsideItsSource) {
    make_file("tree/a/file", "1");
    EXPECT_EQ(copied_tree(tree, tree + "/copy"), kOk);
    EXPECT_EQ(
        contents_of(tree),
        (Contents{
            {"a/", ""}, {"a/file", "1"}, {"copy/", ""}, {"copy/a/", ""}, {"copy/a/file", "1"}}));
}

TEST_F(CopyOfATree, IsNotCopiedIntoItselfWhenItAlreadyLiesInItsSource) {
    make_file("tree/a/file", "1");
    make_file("tree/copy/old", "2");
    EXPECT_EQ(copied_tree(tree, tree + "/copy"), kOk);
    EXPECT_EQ(contents_of(tree + "/copy"), (Contents{{"a/", ""}, {"a/file", "1"}, {"old", "2"}}));
}

TEST_F(CopyOfATree, LikeItsDeletionHasNoLargestNumberOfEntriesInADirectory) {
    const int count = 4200; // more than are read at a time
    for (int i = 0; i < count; ++i)
        make_link("tree/" + std::to_string(i), "../file");
    make_link("tree/directory", "../directory");
    make_file("file", "1");
    make_file("directory/file", "2");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    const Contents copied = contents_of(copy);
    EXPECT_EQ(copied.size(), count + 2U);
    EXPECT_TRUE(copied.contains(std::to_string(count - 1)));
    EXPECT_TRUE(copied.contains("directory/file"));
    EXPECT_EQ(deleted_tree(copy), kOk);
    EXPECT_FALSE(exists(copy));
}

TEST_F(CopyOfATree, EndsForALinkIntoWhatIsBeingMade) {
    make_file("tree/a/file", "1");
    make_link("tree/a/link", copy + "/a");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(contents_of(copy),
              (Contents{{"a/", ""}, {"a/file", "1"}, {"a/link/", ""}, {"a/link/file", "1"}}));
}

TEST_F(CopyOfATree, CutsNoPathWhateverItsLength) {
    std::string deep;
    for (int depth = 0; depth < 9; ++depth)
        deep += "/" + std::string(200, 'd');
    make_file("tree" + deep + "/file", "1");
    EXPECT_EQ(copied_tree(tree, copy), kOk);
    EXPECT_EQ(bytes_of(copy + deep + "/file"), "1");
    EXPECT_EQ(deleted_tree(copy), kOk);
    EXPECT_FALSE(exists(copy));
}

TEST_F(CopyOfATree, HasNoLargestNumberOfDirectories) {
    // In memory where there is room: thousands of directories take their time on a disk.
    std::string base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    base += "/launcher_unit_XXXXXX";
    ASSERT_NE(mkdtemp(base.data()), nullptr);
    const int count = 2100;
    for (int i = 0; i < count; ++i)
        std::filesystem::create_directories(base + "/tree/" + std::to_string(i) + "/below");
    EXPECT_EQ(copied_tree(base + "/tree", base + "/copy"), kOk);
    EXPECT_EQ(contents_of(base + "/copy"), contents_of(base + "/tree"));
    EXPECT_EQ(contents_of(base + "/copy").size(), 2U * count);
    EXPECT_EQ(deleted_tree(base), kOk);
    EXPECT_FALSE(exists(base));
    std::filesystem::remove_all(base);
}

TEST_F(CopyOfATree, HoldsNoDescriptorAfterwardsAlsoWhenItFails) {
    make_file("tree/a/file", "1");
    make_link("tree/b/dangling", "nowhere");
    const int before = lowest_free_descriptor();
    EXPECT_EQ(copied_tree(tree, copy), kFailed);
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(DeletionOfATree, RemovesEveryFileAndDirectoryAndTheRoot) {
    make_file("tree/file");
    make_file("tree/.hidden");
    make_file("tree/a/b/c/file");
    make_directory("tree/empty/e");
    make_file("beside", "kept");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_EQ(contents_of(here.path()), (Contents{{"beside", "kept"}}));
}

TEST_F(DeletionOfATree, TakesAPathThatEndsInASlash) {
    make_file("tree/a/file");
    EXPECT_EQ(deleted_tree(tree + "/"), kOk);
    EXPECT_FALSE(exists(tree));
}

TEST_F(DeletionOfATree, OfAMissingTreeSucceeds) {
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_TRUE(std::filesystem::is_empty(here.path()));
}

TEST_F(DeletionOfATree, LeavesAFileGivenAsItsRoot) {
    make_file("tree", "kept");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_EQ(bytes_of(tree), "kept");
}

TEST_F(DeletionOfATree, LeavesTheDirectoryOfAFileThatCannotBeRemovedWithoutAMessage) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directories(inside.file("tree/a/closed"));
        std::filesystem::create_directories(inside.file("tree/b/c"));
        inside.write("tree/a/closed/file", "kept");
        inside.write("tree/a/file", "");
        inside.write("tree/b/c/file", "");
        set_mode(inside.file("tree/a/closed"), 0500);
        EXPECT_EQ(complained_by([&] { EXPECT_EQ(deleted_tree(inside.file("tree")), kOk); }), "");
        EXPECT_EQ(contents_of(inside.file("tree")),
                  (Contents{{"a/", ""}, {"a/closed/", ""}, {"a/closed/file", "kept"}}));
        set_mode(inside.file("tree/a/closed"), 0700);
    });
}

TEST_F(DeletionOfATree, LeavesADirectoryThatMayNotBeRead) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directories(inside.file("tree/closed"));
        inside.write("tree/closed/file", "kept");
        inside.write("tree/file", "");
        set_mode(inside.file("tree/closed"), 0300);
        EXPECT_EQ(deleted_tree(inside.file("tree")), kOk);
        set_mode(inside.file("tree/closed"), 0700);
        EXPECT_EQ(contents_of(inside.file("tree")),
                  (Contents{{"closed/", ""}, {"closed/file", "kept"}}));
    });
}

TEST_F(DeletionOfATree, RemovesADirectoryThatMayNotBeReadWhenItIsEmpty) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        std::filesystem::create_directories(inside.file("tree/closed"));
        set_mode(inside.file("tree/closed"), 0300);
        EXPECT_EQ(deleted_tree(inside.file("tree")), kOk);
        EXPECT_FALSE(exists(inside.file("tree")));
    });
}

TEST_F(DeletionOfATree, RemovesAPipe) {
    make_directory("tree");
    ASSERT_EQ(mkfifo((tree + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_FALSE(exists(tree));
}

TEST_F(DeletionOfATree, RemovesALinkToAFileAndADanglingOneButNotTheFile) {
    make_file("elsewhere", "kept");
    make_link("tree/file", "../elsewhere");
    make_link("tree/dangling", "nowhere");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_EQ(contents_of(here.path()), (Contents{{"elsewhere", "kept"}}));
}

TEST_F(DeletionOfATree, FollowsALinkToADirectoryAndLeavesTheLink) {
    make_file("elsewhere/file");
    make_file("tree/a/file");
    make_link("tree/directory", "../elsewhere");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_EQ(contents_of(here.path()),
              (Contents{{"elsewhere/", ""}, {"tree/", ""}, {"tree/directory", "-> ../elsewhere"}}));
}

TEST_F(DeletionOfATree, RemovesALinkBackIntoItsOwnParents) {
    make_file("tree/a/b/file");
    make_link("tree/self", ".");
    make_link("tree/a/b/up", "..");
    make_link("tree/a/b/root", "../..");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_FALSE(exists(tree));
}

TEST_F(CopyOfATree, EndsAndFailsOnceASignalIsNoted) {
    make_file("tree/a/file", "bytes");
    const NotedSignal signal;
    EXPECT_EQ(CopyDirRecursive(tree.c_str(), here.file("copy").c_str()), kFailed);
    EXPECT_FALSE(exists(here.file("copy")));
}

TEST_F(DeletionOfATree, IsDoneWholeAlsoOnceASignalIsNoted) {
    make_file("tree/a/b/file");
    const NotedSignal signal;
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_FALSE(exists(tree));
}

TEST_F(DeletionOfATree, DoesNotFollowALinkIntoADirectoryAboveItsRoot) {
    make_file("tree/a/file");
    make_file("beside", "kept");
    make_file("other/file", "kept");
    make_link("tree/a/above", "../..");
    EXPECT_EQ(deleted_tree(tree), kOk);
    EXPECT_EQ(contents_of(here.path()),
              (Contents{{"beside", "kept"}, {"other/", ""}, {"other/file", "kept"}}));
}
