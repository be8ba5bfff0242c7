#include "bootstrap/report.h"

#include "base/launcher_state.h"
#include "log/install_log.h"
#include "unit_surroundings.h"

#include <sys/stat.h>

namespace {

void write_files(const TemporaryDirectory& here, const std::string& directory, int count) {
    std::filesystem::create_directories(here.file(directory));
    for (int i = 0; i < count; ++i)
        here.write(directory + "/file" + std::to_string(i), "");
}

int counted(const std::string& directory) {
    return CountAndLogFilesExtracted(directory.c_str());
}

std::string logged_about(const std::string& scratch) {
    const TemporaryDirectory logs;
    const Catalogue catalogue{{"S_NUMBER_OF_FILES_BOOTSTRAPPED", "%s: %d files\n"}};
    launcher_state::reset();
    openLog(logs.path(), logs.file("none"), "", "/log");
    EXPECT_EQ(shown_by([&] { logBootStrapInformation(scratch); }), "");
    closeLog();
    return bytes_of(logs.file("log.log"));
}

} // namespace

TEST(CountAndLogFilesExtracted, CountsTheFilesOfADirectory) {
    const TemporaryDirectory here;
    write_files(here, "tree", 3);
    here.write("tree/.hidden", "");
    EXPECT_EQ(counted(here.file("tree")), 4);
    EXPECT_EQ(counted(here.file("tree/")), 4);
}

TEST(CountAndLogFilesExtracted, CountsFilesAtAnyDepth) {
    const TemporaryDirectory here;
    write_files(here, "tree", 1);
    write_files(here, "tree/a", 2);
    write_files(here, "tree/a/b/c/d/e/f", 3);
    write_files(here, "tree/z", 4);
    EXPECT_EQ(counted(here.file("tree")), 10);
}

TEST(CountAndLogFilesExtracted, CountsNoDirectories) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("tree/a/b"));
    std::filesystem::create_directories(here.file("tree/empty"));
    EXPECT_EQ(counted(here.file("tree")), 0);
}

TEST(CountAndLogFilesExtracted, CountsLinksAsWhatTheyLeadTo) {
    const TemporaryDirectory here;
    write_files(here, "elsewhere", 5);
    std::filesystem::create_directory(here.file("tree"));
    std::filesystem::create_symlink("../elsewhere", here.file("tree/directory"));
    std::filesystem::create_symlink("../elsewhere/file0", here.file("tree/file"));
    EXPECT_EQ(counted(here.file("tree")), 6);
}

TEST(CountAndLogFilesExtracted, CountsAPipeAsAFile) {
    const TemporaryDirectory here;
    ASSERT_EQ(mkfifo(here.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(counted(here.path()), 1);
}

TEST(CountAndLogFilesExtracted, CountsADanglingLinkAsAFile) {
    const TemporaryDirectory here;
    std::filesystem::create_symlink("nowhere", here.file("dangling"));
    EXPECT_EQ(counted(here.path()), 1);
}

TEST(CountAndLogFilesExtracted, EndsInATreeWithALinkBackIntoIt) {
    const TemporaryDirectory here;
    write_files(here, "tree/a", 2);
    std::filesystem::create_symlink("..", here.file("tree/a/up"));
    std::filesystem::create_symlink(".", here.file("tree/a/self"));
    EXPECT_EQ(counted(here.file("tree")), 2);
}

TEST(CountAndLogFilesExtracted, IsZeroForNoDirectoryAMissingOneAndAFile) {
    const TemporaryDirectory here;
    EXPECT_EQ(CountAndLogFilesExtracted(nullptr), 0);
    EXPECT_EQ(counted(""), 0);
    EXPECT_EQ(counted(here.file("missing")), 0);
    EXPECT_EQ(counted(here.write("file", "")), 0);
}

TEST(CountAndLogFilesExtracted, WritesNothing) {
    const TemporaryDirectory here;
    write_files(here, "tree", 2);
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(complained_by([&] { counted(here.file("tree")); }), ""); }),
              "");
}

TEST(LogBootStrapInformation, RecordsTheRuntimeFirstAndThenTheInstaller) {
    const TemporaryDirectory scratch;
    write_files(scratch, "jre/bin", 2);
    write_files(scratch, "zul/jlib", 3);
    write_files(scratch, "other", 7);
    EXPECT_EQ(logged_about(scratch.path()), "jre: 2 files\nzul: 3 files\n");
    EXPECT_EQ(logged_about(scratch.path() + "/"), "jre: 2 files\nzul: 3 files\n");
}

TEST(LogBootStrapInformation, RecordsZeroForAMissingRuntime) {
    const TemporaryDirectory scratch;
    write_files(scratch, "zul", 1);
    EXPECT_EQ(logged_about(scratch.path()), "jre: 0 files\nzul: 1 files\n");
}

TEST(LogBootStrapInformation, AlwaysRecordsTwoLines) {
    const TemporaryDirectory here;
    EXPECT_EQ(logged_about(here.path()), "jre: 0 files\nzul: 0 files\n");
    EXPECT_EQ(logged_about(here.file("missing")), "jre: 0 files\nzul: 0 files\n");
}
