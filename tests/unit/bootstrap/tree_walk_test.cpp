#include "bootstrap/tree_walk.h"

#include "base/paths.h"
#include "tree_fixture.h"

#include <dlfcn.h>

namespace {

using WalkOverATree = Tree;

// How the directories of this system behave.
bool tells_kinds = true;
int entries_before_an_error = -1; // below 0: as many as there are

// Every step of a walk, in order: what it met and where, below the root.
std::vector<std::string> steps_of(TreeWalk walk) {
    std::vector<std::string> steps;
    while (next_step(walk)) {
        const std::string directory = path_in_list(walk, walk.directory, "");
        switch (walk.step) {
        case WalkStep::kDirectoryOpened:
            steps.push_back("open " + directory);
            break;
        case WalkStep::kDirectory:
            steps.push_back("directory " + joined_path(directory, walk.name));
            break;
        case WalkStep::kFile:
            steps.push_back("file " + joined_path(directory, walk.name));
            break;
        case WalkStep::kWayBack:
            steps.push_back("back " + joined_path(directory, walk.name));
            break;
        }
    }
    return steps;
}

using Steps = std::vector<std::string>;

} // namespace

// Stands before the C library's: for directories as other systems have them, and for broken ones.
extern "C" dirent* readdir(DIR* directory) {
    using Readdir = dirent* (*)(DIR*);
    static const auto of_the_system = reinterpret_cast<Readdir>(dlsym(RTLD_NEXT, "readdir"));
    if (entries_before_an_error == 0) {
        errno = EIO;
        return nullptr;
    }
    if (entries_before_an_error > 0)
        --entries_before_an_error;
    dirent* entry = of_the_system(directory);
    if (entry != nullptr && !tells_kinds)
        entry->d_type = DT_UNKNOWN;
    return entry;
}

TEST_F(WalkOverATree, OpensEachDirectoryAfterAllEntriesOfTheOneAboveIt) {
    make_file("tree/a/b/c/file");
    EXPECT_EQ(steps_of(walk_over(tree)),
              (Steps{"open ", "directory /a", "open /a", "directory /a/b", "open /a/b",
                     "directory /a/b/c", "open /a/b/c", "file /a/b/c/file"}));
}

TEST_F(WalkOverATree, TakesTheDirectoriesInTheOrderInWhichItMetThem) {
    for (const char* name : {"tree/1/x/file", "tree/2/y/file", "tree/3/z/file"})
        make_file(name);
    std::vector<std::string> met;
    std::vector<std::string> opened{"/"}; // the root is met by nobody
    for (const std::string& step : steps_of(walk_over(tree))) {
        if (step.starts_with("directory "))
            met.push_back(step.substr(10));
        else if (step.starts_with("open /"))
            opened.push_back(step.substr(5));
    }
    met.insert(met.begin(), "/");
    EXPECT_EQ(met.size(), 7U);
    EXPECT_EQ(opened, met);
}

TEST_F(WalkOverATree, MeetsWhatALinkLeadsTo) {
    make_file("elsewhere/file");
    make_link("tree/link", "../elsewhere");
    EXPECT_EQ(steps_of(walk_over(tree)),
              (Steps{"open ", "directory /link", "open /link", "file /link/file"}));
}

TEST_F(WalkOverATree, TakesForAFileWhateverIsNoDirectory) {
    make_file("tree/a/file");
    make_link("tree/a/b/dangling", "nowhere");
    make_link("tree/a/b/c/self", "self");
    EXPECT_EQ(steps_of(walk_over(tree + "/a/b/c")), (Steps{"open ", "file /self"}));
    std::filesystem::remove_all(tree + "/a/b/c");
    EXPECT_EQ(steps_of(walk_over(tree + "/a/b")), (Steps{"open ", "file /dangling"}));
    std::filesystem::remove_all(tree + "/a/b");
    EXPECT_EQ(steps_of(walk_over(tree + "/a")), (Steps{"open ", "file /file"}));
}

TEST_F(WalkOverATree, DoesNotFollowALinkBack) {
    make_link("tree/a/up", "..");
    EXPECT_EQ(steps_of(walk_over(tree)), (Steps{"open ", "directory /a", "open /a", "back /a/up"}));
}

TEST_F(WalkOverATree, DoesNotFollowALinkAboveItsRoot) {
    make_link("tree/above", "/");
    EXPECT_EQ(steps_of(walk_over(tree)), (Steps{"open ", "back /above"}));
}

TEST_F(WalkOverATree, KnowsNothingOfTheDirectoryLeftOut) {
    make_file("tree/a/b/file");
    make_link("tree/a/link", "b");
    TreeWalk walk = walk_over(tree);
    walk.left_out = directory_identity(tree + "/a/b");
    EXPECT_EQ(steps_of(walk), (Steps{"open ", "directory /a", "open /a"}));
}

TEST_F(WalkOverATree, KeepsOutOfADirectoryPassedOver) {
    make_file("tree/a/b/file");
    TreeWalk walk = walk_over(tree);
    Steps names;
    while (next_step(walk)) {
        names.push_back(walk.name);
        if (walk.step == WalkStep::kDirectory && walk.name == "b")
            pass_over_directory(walk);
    }
    EXPECT_EQ(names, (Steps{"", "a", "a", "b"}));
    EXPECT_EQ(directory_count(walk), 2U);
}

TEST_F(WalkOverATree, OfAFileOrAMissingPathHasNoSteps) {
    make_file("file");
    EXPECT_EQ(steps_of(walk_over(here.file("file"))), Steps{});
    EXPECT_EQ(steps_of(walk_over(tree)), Steps{});
}

TEST_F(WalkOverATree, NamesEntriesByTheRootAsItWasGiven) {
    make_file("tree/a/file");
    const WorkingDirectory inside(here.path());
    TreeWalk walk = walk_over("tree/");
    Steps paths;
    while (next_step(walk)) {
        if (walk.step != WalkStep::kDirectoryOpened)
            paths.push_back(entry_path(walk));
    }
    EXPECT_EQ(paths, (Steps{"tree/a", "tree/a/file"}));
}

TEST_F(WalkOverATree, HoldsOneDescriptorHoweverDeepAndNoneAfterItsEnd) {
    make_file("tree/a/b/c/d/e/file");
    const int before = lowest_free_descriptor();
    TreeWalk walk = walk_over(tree);
    ASSERT_TRUE(next_step(walk));
    const int inside = lowest_free_descriptor();
    EXPECT_GT(inside, before);
    while (next_step(walk))
        EXPECT_EQ(lowest_free_descriptor(), inside);
    EXPECT_EQ(lowest_free_descriptor(), before);
    walk = walk_over(tree);
    EXPECT_TRUE(next_step(walk));
    end_walk(walk);
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(WalkOverATree, MeetsTheSameWhereDirectoriesDoNotTellWhatTheirEntriesAre) {
    make_file("tree/a/b/file");
    const std::vector<std::string> steps = steps_of(walk_over(tree));
    tells_kinds = false;
    const std::vector<std::string> asked = steps_of(walk_over(tree));
    tells_kinds = true;
    EXPECT_EQ(asked, steps);
    EXPECT_EQ(asked.back(), "file /a/b/file");
}

// --- Depth first

TreeWalk deep_walk_over(const std::string& root) {
    TreeWalk walk = walk_over(root);
    walk.depth_first = true;
    return walk;
}

// What a recursion over the directories in `path` meets, in the order of steps_of.
void add_recursively(Steps& steps, const std::string& root, const std::string& below) {
    steps.push_back("open " + below);
    for (const std::string& name : directory_entries(root + below).names) {
        const std::string entry = joined_path(below.empty() ? "/" : below, name);
        const bool deeper = is_directory(root + entry);
        steps.push_back((deeper ? "directory " : "file ") + entry);
        if (deeper)
            add_recursively(steps, root, entry);
    }
}

TEST_F(WalkOverATree, InDepthDoesADirectoryWholeBeforeTheEntryAfterIt) {
    for (const char* name : {"tree/a/x/1", "tree/a/y/2", "tree/a/3", "tree/b/z/4", "tree/b/w/v/5",
                             "tree/6", "tree/c/7", "tree/d/8"})
        make_file(name);
    make_directory("tree/empty");
    Steps expected;
    add_recursively(expected, tree, "");
    ASSERT_EQ(expected.size(), 29U);
    EXPECT_EQ(steps_of(deep_walk_over(tree)), expected);
    tells_kinds = false;
    const Steps asked = steps_of(deep_walk_over(tree));
    tells_kinds = true;
    EXPECT_EQ(asked, expected);
}

TEST_F(WalkOverATree, InDepthComesBackToALargeDirectoryWhereItLeftIt) {
    for (std::size_t i = 0; i < 2 * kEntriesAtOnce + 10; ++i)
        make_file("tree/" + std::to_string(i) + (i % 1000 == 7 ? "/file" : ""));
    Steps expected;
    add_recursively(expected, tree, "");
    EXPECT_EQ(steps_of(deep_walk_over(tree)), expected);
}

TEST_F(WalkOverATree, InDepthDoesNotFollowALinkBackAndKeepsOutOfADirectoryPassedOver) {
    make_link("tree/a/b/up", "..");
    EXPECT_EQ(
        steps_of(deep_walk_over(tree)),
        (Steps{"open ", "directory /a", "open /a", "directory /a/b", "open /a/b", "back /a/b/up"}));
    TreeWalk walk = deep_walk_over(tree);
    Steps names;
    while (next_step(walk)) {
        names.push_back(walk.name);
        if (walk.step == WalkStep::kDirectory && walk.name == "b")
            pass_over_directory(walk);
    }
    EXPECT_EQ(names, (Steps{"", "a", "a", "b"}));
}

TEST_F(WalkOverATree, InDepthOfAFileOrAMissingPathHasNoSteps) {
    make_file("file");
    EXPECT_EQ(steps_of(deep_walk_over(here.file("file"))), Steps{});
    EXPECT_EQ(steps_of(deep_walk_over(tree)), Steps{});
}

TEST_F(WalkOverATree, InDepthHoldsOneDescriptorHoweverDeepAndNoneAfterItsEnd) {
    make_file("tree/a/b/c/d/e/file");
    const int before = lowest_free_descriptor();
    TreeWalk walk = deep_walk_over(tree);
    while (next_step(walk))
        EXPECT_LE(lowest_free_descriptor(), before + 1);
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(WalkOverATree, InDepthThatCannotOpenADirectoryAgainIsIncomplete) {
    for (std::size_t i = 0; i < kEntriesAtOnce + 10; ++i)
        make_file("tree/" + std::to_string(i) + (i % 50 == 0 ? "/file" : ""));
    TreeWalk walk = deep_walk_over(tree);
    std::size_t met = 0;
    while (next_step(walk)) {
        if (walk.step == WalkStep::kDirectory && ++met == 1)
            std::filesystem::rename(tree, tree + ".away");
    }
    EXPECT_TRUE(walk.incomplete);
    EXPECT_EQ(met, 1U);
}

TEST_F(WalkOverATree, ThatCannotReadADirectoryToItsEndIsIncomplete) {
    make_file("tree/file");
    TreeWalk walk = walk_over(tree);
    while (next_step(walk)) {
    }
    EXPECT_FALSE(walk.incomplete);
    for (int entries = 0; entries < 3; ++entries) {
        walk = walk_over(tree);
        entries_before_an_error = entries;
        while (next_step(walk)) {
        }
        entries_before_an_error = -1;
        EXPECT_TRUE(walk.incomplete) << entries;
    }
}

TEST_F(WalkOverATree, ThatIsIncompleteMakesACopyFail) {
    make_file("tree/file");
    entries_before_an_error = 2;
    const int copied = CopyDirRecursive(tree.c_str(), copy.c_str());
    entries_before_an_error = -1;
    EXPECT_EQ(copied, kFailed);
}
