#include "base/directory.h"

#include "tree_fixture.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>

namespace {

std::vector<std::string> sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return names;
}

// The names as the system lists them.
std::vector<std::string> listed(const std::string& path) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    return names;
}

DirectoryIdentity identity_of(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(stat(path.c_str(), &found), 0) << path;
    return {found.st_dev, found.st_ino};
}

} // namespace

TEST(DirectoryEntries, NamesEveryEntryButTheDirectoryItselfAndItsParent) {
    const TemporaryDirectory here;
    here.write("file", "");
    here.write(".hidden", "");
    here.write("...", "");
    std::filesystem::create_directory(here.file("directory"));
    std::filesystem::create_symlink("nowhere", here.file("dangling"));
    const DirectoryEntries entries = directory_entries(here.path());
    EXPECT_TRUE(entries.opened);
    EXPECT_FALSE(entries.empty);
    EXPECT_EQ(sorted(entries.names),
              (std::vector<std::string>{"...", ".hidden", "dangling", "directory", "file"}));
}

TEST(DirectoryEntries, AreTheSameWithFurtherFlagsForTheOpening) {
    const TemporaryDirectory directory;
    directory.write("file", "x");
    directory_flags = O_NOFOLLOW;
    EXPECT_EQ(directory_entries(directory.path()).names, std::vector<std::string>{"file"});
    EXPECT_FALSE(directory_entries(directory.file("file")).opened);
    EXPECT_FALSE(directory_entries(directory.file("missing")).opened);
    directory_flags = 0;
}

TEST(DirectoryEntries, KeepsTheOrderInWhichTheDirectoryListsThem) {
    const TemporaryDirectory here;
    for (int i = 0; i < 100; ++i)
        here.write("entry" + std::to_string(i * 7919 % 1009), "");
    EXPECT_EQ(directory_entries(here.path()).names.size(), 100U);
    EXPECT_EQ(directory_entries(here.path()).names, listed(here.path()));
}

TEST(DirectoryEntries, OfADirectoryWithoutFilesAreNoNamesButNotAnEmptyFirstRead) {
    const TemporaryDirectory here;
    const DirectoryEntries entries = directory_entries(here.path());
    EXPECT_TRUE(entries.opened);
    EXPECT_FALSE(entries.empty);
    EXPECT_TRUE(entries.names.empty());
}

TEST(DirectoryEntries, OfADirectoryThatWasRemovedWhileOpenIsAnEmptyFirstRead) {
    const TemporaryDirectory here;
    std::filesystem::create_directory(here.file("gone"));
    const int open_directory = open(here.file("gone").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(open_directory, 0);
    std::filesystem::remove(here.file("gone"));
    const DirectoryEntries entries =
        directory_entries("/proc/self/fd/" + std::to_string(open_directory));
    close(open_directory);
    EXPECT_TRUE(entries.opened);
    EXPECT_TRUE(entries.empty);
    EXPECT_TRUE(entries.names.empty());
}

TEST(DirectoryEntries, OfAMissingDirectoryOrAFileAreNotOpened) {
    const TemporaryDirectory here;
    for (const std::string& path : {here.file("missing"), here.write("file", ""), std::string()}) {
        const DirectoryEntries entries = directory_entries(path);
        EXPECT_FALSE(entries.opened) << path;
        EXPECT_TRUE(entries.empty) << path;
        EXPECT_TRUE(entries.names.empty()) << path;
    }
}

TEST(DirectoryEntries, OfADirectoryThatMayNotBeReadAreNotOpened) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        std::filesystem::create_directory(here.file("closed"));
        here.write("closed/file", "");
        EXPECT_EQ(chmod(here.file("closed").c_str(), 0300), 0);
        EXPECT_FALSE(directory_entries(here.file("closed")).opened);
        EXPECT_EQ(chmod(here.file("closed").c_str(), 0700), 0);
    });
}

TEST(DirectoryEntries, HoldNoDescriptorAfterwards) {
    const TemporaryDirectory here;
    const int before = lowest_free_descriptor();
    directory_entries(here.path());
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST(NextEntries, NameEveryEntryOnceHoweverManyThereAre) {
    const TemporaryDirectory here;
    for (int i = 0; i < 9000; ++i)
        here.write(std::to_string(i), "");
    DIR* directory = opendir(here.path().c_str());
    ASSERT_NE(directory, nullptr);
    std::vector<DirectoryEntry> entries;
    std::vector<std::string> names;
    int rounds = 0;
    while (next_entries(entries, directory)) {
        ++rounds;
        for (const DirectoryEntry& entry : entries)
            names.push_back(entry.name);
    }
    EXPECT_TRUE(entries.empty());
    closedir(directory);
    EXPECT_GT(rounds, 1);
    EXPECT_EQ(names, listed(here.path()));
}

TEST(NextEntries, TakeNothingButAPlainFileForOne) {
    const TemporaryDirectory here;
    here.write("file", "");
    std::filesystem::create_directory(here.file("directory"));
    std::filesystem::create_symlink("file", here.file("link"));
    ASSERT_EQ(mkfifo(here.file("pipe").c_str(), 0600), 0);
    DIR* directory = opendir(here.path().c_str());
    ASSERT_NE(directory, nullptr);
    std::vector<DirectoryEntry> entries;
    EXPECT_TRUE(next_entries(entries, directory));
    closedir(directory);
    EXPECT_EQ(entries.size(), 4U);
    // A system whose directories do not tell takes not even the file for one.
    for (const DirectoryEntry& entry : entries)
        EXPECT_TRUE(entry.name == "file" || !entry.is_plain_file) << entry.name;
}

TEST(DirectoryIdentity, IsThatOfWhatALinkLeadsTo) {
    const TemporaryDirectory here;
    std::filesystem::create_symlink(".", here.file("link"));
    EXPECT_EQ(directory_identity(here.file("link")), identity_of(here.path()));
    EXPECT_EQ(directory_identity(here.file("missing")), DirectoryIdentity{});
}

TEST(DirectoriesAbove, AreThoseThatAPathLiesInUpToTheRootDirectory) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("a/b"));
    std::vector<DirectoryIdentity> expected{identity_of(here.file("a"))};
    for (std::filesystem::path above = here.path(); above != above.root_path();
         above = above.parent_path())
        expected.push_back(identity_of(above));
    expected.push_back(identity_of("/"));
    const std::vector<DirectoryIdentity> above = directories_above(here.file("a/b"));
    EXPECT_TRUE(std::is_permutation(expected.begin(), expected.end(), above.begin(), above.end()));
}

TEST(DirectoriesAbove, OfALinkAreThoseOfWhatItLeadsTo) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("a/b"));
    std::filesystem::create_symlink("a/b", here.file("link"));
    EXPECT_EQ(directories_above(here.file("link")), directories_above(here.file("a/b")));
}

TEST(DirectoriesAbove, AreFoundAlsoForAPathTooLongToBeResolvedAsAWhole) {
    const TemporaryDirectory here;
    const WorkingDirectory inside(here.path());
    const std::string name(250, 'd');
    for (int depth = 0; depth < 20; ++depth) {
        ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
        ASSERT_EQ(chdir(name.c_str()), 0);
    }
    const std::vector<DirectoryIdentity> above = directories_above(".");
    EXPECT_EQ(std::count(above.begin(), above.end(), identity_of(here.path())), 1);
    EXPECT_EQ(above.back(), identity_of("/"));
}

TEST(DirectoriesAbove, OfTheRootDirectoryAreNone) {
    EXPECT_TRUE(directories_above("/").empty());
}

TEST(DirectoriesAbove, OfAMissingOrEmptyPathAreNone) {
    const TemporaryDirectory here;
    EXPECT_TRUE(directories_above(here.file("missing")).empty());
    EXPECT_TRUE(directories_above("").empty());
}

TEST(IsDirectory, HoldsForADirectoryAndALinkToOne) {
    const TemporaryDirectory here;
    std::filesystem::create_directory(here.file("directory"));
    std::filesystem::create_symlink("directory", here.file("link"));
    EXPECT_TRUE(is_directory(here.file("directory")));
    EXPECT_TRUE(is_directory(here.file("link")));
}

TEST(IsDirectory, DoesNotHoldForAFileADanglingLinkAndAMissingPath) {
    const TemporaryDirectory here;
    std::filesystem::create_symlink("nowhere", here.file("dangling"));
    EXPECT_FALSE(is_directory(here.write("file", "")));
    EXPECT_FALSE(is_directory(here.file("dangling")));
    EXPECT_FALSE(is_directory(here.file("missing")));
    EXPECT_FALSE(is_directory(""));
}

TEST(EnterIfPossible, GoesThere) {
    const TemporaryDirectory here;
    const WorkingDirectory before(here.path());
    std::filesystem::create_directory(here.file("inside"));
    enter_if_possible("inside");
    EXPECT_EQ(std::filesystem::current_path(), here.file("inside"));
}

TEST(EnterIfPossible, StaysWhereItIsWhenItCannot) {
    const TemporaryDirectory here;
    const WorkingDirectory before(here.path());
    here.write("file", "");
    for (const char* path : {"missing", "file", ""}) {
        enter_if_possible(path);
        EXPECT_EQ(std::filesystem::current_path(), here.path()) << path;
    }
}
