#include "setupLauncher/scratch.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "unit_surroundings.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace {

constexpr const char* kStamp = "2026-03-01_04-05-06PM";

// A launch state with its defaults and a fixed time stamp, and no TEMP or TMP.
class Scratch : public testing::Test {
  protected:
    Scratch() {
        launcher_state::reset();
        launcher_state::gsTimeStamp = kStamp;
    }

    Variable no_temp{"TEMP", std::nullopt};
    Variable no_tmp{"TMP", std::nullopt};
    Catalogue catalogue{{"S_ERPERDIR", "no scratch directory for %s"},
                        {"S_ERBOOTSTRAP", "cannot create %s of %d MB"},
                        {"S_ERGOSLST", "%s failed with %d"}};
};

using TemporaryBase = Scratch;
using GetScratchPathTest = Scratch;
using CurrentDirectory = Scratch;

std::string temp_dir() {
    std::string base = "before";
    GetTempDir(base);
    return base;
}

struct Made {
    int status;
    std::string path;
    std::string complaint;
};

Made made_scratch() {
    Made made{0, "before", ""};
    made.complaint = complained_by([&made] { made.status = GetScratchPath(made.path); });
    return made;
}

std::string scratch_name(const std::string& base) {
    return base + "/TalInstall" + kStamp;
}

// Takes the name of the scratch directory and its suffixes up to `last`.
void take_names(const TemporaryDirectory& here, int last) {
    const std::string taken = here.write(std::string("TalInstall") + kStamp, "");
    for (int suffix = 1; suffix <= last; ++suffix) {
        const std::string name = taken + "_" + std::to_string(suffix);
        EXPECT_EQ(link(taken.c_str(), name.c_str()), 0) << name;
    }
}

std::string stamp_of(std::time_t moment) {
    std::tm local{};
    localtime_r(&moment, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d_%I-%M-%S%p", &local)};
}

} // namespace

TEST(ComputeTimeStamp, IsTheLocalTimeOnATwelveHourClock) {
    // Where it is three in the afternoon now, so that the clock shows.
    const std::time_t now = std::time(nullptr);
    const long hours_west = now / 3600 % 24 - 15;
    const Variable zone("TZ", "XYZ" + std::to_string(hours_west));
    tzset();
    std::vector<std::string> possible;
    computeTimeStamp();
    for (std::time_t moment = now; moment <= std::time(nullptr); ++moment)
        possible.push_back(stamp_of(moment));
    EXPECT_NE(std::find(possible.begin(), possible.end(), launcher_state::gsTimeStamp),
              possible.end())
        << launcher_state::gsTimeStamp;
    EXPECT_TRUE(launcher_state::gsTimeStamp.ends_with("PM")) << launcher_state::gsTimeStamp;
    EXPECT_EQ(launcher_state::gsTimeStamp.size(), std::string(kStamp).size());
}

TEST_F(TemporaryBase, IsTheScratchPathOfTheCommandLineFirst) {
    const Variable temp("TEMP", "/var/tmp");
    launcher_state::scratchPath = "/scratch/";
    EXPECT_EQ(temp_dir(), "/scratch");
}

TEST_F(TemporaryBase, IsTempWithoutAUsableScratchPath) {
    const Variable temp("TEMP", "/var/tmp");
    const Variable tmp("TMP", "/usr/tmp");
    for (const char* path :
         {"", "relative", "/a;b", "/a:b", "/a\\b", "/a*b", "/a?b", "/a<b", "/a>b", "/a|b"}) {
        launcher_state::scratchPath = path;
        EXPECT_EQ(temp_dir(), "/var/tmp") << path;
    }
}

TEST_F(TemporaryBase, IsTmpOnlyWithoutTemp) {
    const Variable tmp("TMP", "/var/tmp/");
    EXPECT_EQ(temp_dir(), "/var/tmp");
}

TEST_F(TemporaryBase, IsNotTmpWhenTempIsSetButUnusable) {
    const Variable tmp("TMP", "/var/tmp");
    for (const char* value :
         {"relative/dir", "", "/a;b", "/a:b", "/a\\b", "/a*b", "/a?b", "/a<b", "/a>b", "/a|b"}) {
        const Variable temp("TEMP", value);
        EXPECT_EQ(temp_dir(), "/tmp") << value;
    }
}

TEST_F(TemporaryBase, IsTheSystemsForAnUnusableTmp) {
    for (const char* value : {"relative/dir", "", "/a;b"}) {
        const Variable tmp("TMP", value);
        EXPECT_EQ(temp_dir(), "/tmp") << value;
    }
}

TEST_F(TemporaryBase, IsTheSystemsWithoutAnySetting) {
    EXPECT_EQ(temp_dir(), "/tmp");
}

TEST_F(TemporaryBase, LosesOneTrailingSlashOnly) {
    const Variable temp("TEMP", "/var/tmp//");
    EXPECT_EQ(temp_dir(), "/var/tmp/");
}

TEST_F(TemporaryBase, NeedNotExistAndIsNotCreated) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.file("missing");
    EXPECT_EQ(temp_dir(), here.file("missing"));
    EXPECT_FALSE(std::filesystem::exists(here.file("missing")));
}

TEST_F(GetScratchPathTest, MakesADirectoryNamedAfterTheTimeStamp) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path() + "/";
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kOk);
    EXPECT_EQ(made.path, scratch_name(here.path()));
    EXPECT_EQ(made.complaint, "");
    EXPECT_TRUE(std::filesystem::is_directory(made.path));
}

TEST_F(GetScratchPathTest, GivesTheDirectoryMode0750LessTheMask) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    {
        const Mask mask(0);
        EXPECT_EQ(mode_of(made_scratch().path), 0750U);
    }
    const Mask mask(077);
    EXPECT_EQ(mode_of(made_scratch().path), 0700U);
}

TEST_F(GetScratchPathTest, CreatesTheWholeChainOfMissingBaseDirectoriesWithMode0777) {
    const TemporaryDirectory here;
    const Mask mask(0);
    launcher_state::scratchPath = here.file("a/b/c/d");
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kOk);
    EXPECT_EQ(made.path, scratch_name(here.file("a/b/c/d")));
    for (const char* directory : {"a", "a/b", "a/b/c", "a/b/c/d"})
        EXPECT_EQ(mode_of(here.file(directory)), 0777U) << directory;
}

TEST_F(GetScratchPathTest, FailsForABaseThatIsAFile) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.write("file", "");
    EXPECT_EQ(chmod(launcher_state::scratchPath.c_str(), 0700), 0);
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kFailed);
    EXPECT_EQ(made.path, "before");
    EXPECT_TRUE(std::filesystem::is_empty(here.file("file")));
}

TEST_F(GetScratchPathTest, FailsForABaseThatCannotBeCreated) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.write("file", "") + "/a/b/c";
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kFailed);
    EXPECT_EQ(made.path, "before");
    EXPECT_EQ(made.complaint, "<no scratch directory for " + here.file("file/a/b/c") + ">\n");
}

TEST_F(GetScratchPathTest, FailsForABaseThatDoesNotAllowReadingWritingAndSearching) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const std::string base = here.file("base");
        std::filesystem::create_directory(base);
        launcher_state::scratchPath = base;
        for (const mode_t mode : {0300U, 0500U, 0600U}) {
            EXPECT_EQ(chmod(base.c_str(), mode), 0);
            const Made made = made_scratch();
            EXPECT_EQ(made.status, kFailed) << mode;
            EXPECT_EQ(made.complaint, "<no scratch directory for " + base + ">\n") << mode;
        }
        EXPECT_EQ(chmod(base.c_str(), 0700), 0);
        EXPECT_TRUE(std::filesystem::is_empty(base));
    });
}

TEST_F(GetScratchPathTest, FailsForARootDirectoryAsBaseBecauseItsNameIsEmptied) {
    const Variable temp("TEMP", "/");
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kFailed);
    EXPECT_EQ(made.complaint, "<no scratch directory for >\n");
}

TEST_F(GetScratchPathTest, IsTheLogLocationOfAPrerequisiteSessionWithoutOne) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    launcher_state::_bPrereqSession = true;
    EXPECT_EQ(made_scratch().status, kOk);
    EXPECT_EQ(launcher_state::prereqLogLocation, here.path());
}

TEST_F(GetScratchPathTest, KeepsALogLocationThatAPrerequisiteSessionHas) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    launcher_state::_bPrereqSession = true;
    launcher_state::prereqLogLocation = "/tmp/pre";
    EXPECT_EQ(made_scratch().status, kOk);
    EXPECT_EQ(launcher_state::prereqLogLocation, "/tmp/pre");
}

TEST_F(GetScratchPathTest, SetsNoLogLocationInAnyOtherLaunch) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    EXPECT_EQ(made_scratch().status, kOk);
    EXPECT_EQ(launcher_state::prereqLogLocation, "");
}

TEST_F(GetScratchPathTest, SetsNoLogLocationForAnUnusableBase) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.write("file", "") + "/a";
    launcher_state::_bPrereqSession = true;
    EXPECT_EQ(made_scratch().status, kFailed);
    EXPECT_EQ(launcher_state::prereqLogLocation, "");
}

TEST_F(GetScratchPathTest, TakesTheFirstSuffixThatIsFree) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    EXPECT_EQ(made_scratch().path, scratch_name(here.path()));
    EXPECT_EQ(made_scratch().path, scratch_name(here.path()) + "_1");
    EXPECT_EQ(made_scratch().path, scratch_name(here.path()) + "_2");
    std::filesystem::remove(scratch_name(here.path()) + "_1");
    EXPECT_EQ(made_scratch().path, scratch_name(here.path()) + "_1");
}

TEST_F(GetScratchPathTest, CountsAFileOfTheNameAsTaken) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    here.write(std::string("TalInstall") + kStamp, "kept");
    EXPECT_EQ(made_scratch().path, scratch_name(here.path()) + "_1");
    EXPECT_EQ(bytes_of(scratch_name(here.path())), "kept");
}

TEST_F(GetScratchPathTest, CountsANameAsTakenThatOnlyItsCreationFindsTaken) {
    // A dangling link is not there for a look at it, and there for whoever creates it.
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    std::filesystem::create_symlink("nowhere", scratch_name(here.path()));
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kOk);
    EXPECT_EQ(made.path, scratch_name(here.path()) + "_1");
    EXPECT_EQ(made.complaint, "");
}

TEST_F(GetScratchPathTest, NeverSharesADirectoryWithALaunchOfTheSameSecond) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    std::vector<pid_t> launches;
    for (int launch = 0; launch < 4; ++launch) {
        const pid_t child = fork();
        if (child == 0) {
            bool all_made = true;
            std::string path;
            for (int i = 0; i < 8; ++i)
                all_made = GetScratchPath(path) == kOk && all_made;
            _exit(all_made ? 0 : 1);
        }
        launches.push_back(child);
    }
    for (const pid_t child : launches) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_TRUE(std::filesystem::is_directory(scratch_name(here.path())));
    for (int suffix = 1; suffix < 4 * 8; ++suffix)
        EXPECT_TRUE(std::filesystem::is_directory(scratch_name(here.path()) + "_" +
                                                  std::to_string(suffix)));
}

TEST_F(GetScratchPathTest, TakesTheSuffix1023AsTheLast) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    take_names(here, 1022);
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kOk);
    EXPECT_EQ(made.path, scratch_name(here.path()) + "_1023");
}

TEST_F(GetScratchPathTest, FailsWhenEverySuffixIsTakenAlthoughItTriesOneMore) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    take_names(here, 1023);
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kFailed);
    EXPECT_EQ(made.path, "before");
    EXPECT_EQ(made.complaint, "<no scratch directory for " + scratch_name(here.path()) + ">\n");
    EXPECT_TRUE(std::filesystem::is_directory(scratch_name(here.path()) + "_1024"));

    const Made again = made_scratch();
    EXPECT_EQ(again.status, kFailed);
    EXPECT_EQ(again.complaint, "<no scratch directory for " + scratch_name(here.path()) +
                                   ">\n<cannot create " + scratch_name(here.path()) +
                                   "_1024 of 69 MB>\n");
}

TEST_F(GetScratchPathTest, NamesTheDirectoryThatCannotBeCreatedAndTheDefaultSize) {
    const TemporaryDirectory here;
    launcher_state::scratchPath = here.path();
    launcher_state::gsTimeStamp = std::string(300, 'x'); // a name too long for a file system
    const std::string name = here.path() + "/TalInstall" + launcher_state::gsTimeStamp;
    const Made made = made_scratch();
    EXPECT_EQ(made.status, kFailed);
    EXPECT_EQ(made.path, "before");
    EXPECT_EQ(made.complaint, "<cannot create " + name + " of 69 MB>\n");
}

TEST_F(CurrentDirectory, IsTheWorkingDirectory) {
    const TemporaryDirectory here;
    const WorkingDirectory inside(here.path());
    std::string path = "before";
    EXPECT_EQ(GetCurrentDir(path), kOk);
    EXPECT_EQ(path, here.path());
}

TEST_F(CurrentDirectory, IsEmptyForTheRootDirectory) {
    const WorkingDirectory inside("/");
    std::string path = "before";
    EXPECT_EQ(GetCurrentDir(path), kOk);
    EXPECT_EQ(path, "");
}

TEST_F(CurrentDirectory, IsNotCutWhateverItsLength) {
    const TemporaryDirectory here;
    const std::string name(250, 'd');
    std::string deep = here.path();
    for (int depth = 0; depth < 10; ++depth)
        deep += "/" + name;
    std::filesystem::create_directories(deep);
    const WorkingDirectory inside(deep);
    std::string path;
    EXPECT_EQ(GetCurrentDir(path), kOk);
    EXPECT_EQ(path, deep);
}

TEST_F(CurrentDirectory, ThatCannotBeReadIsShownWithTheSystemsError) {
    const TemporaryDirectory here;
    std::filesystem::create_directory(here.file("gone"));
    const WorkingDirectory back_here(here.path());
    ASSERT_EQ(chdir(here.file("gone").c_str()), 0);
    std::filesystem::remove(here.file("gone"));
    std::string path = "/before/";
    int status = 0;
    EXPECT_EQ(shown_by([&] { status = GetCurrentDir(path); }),
              "<GetCurrentDir() failed with " + std::to_string(ENOENT) + ">");
    EXPECT_EQ(status, kFailed);
    EXPECT_EQ(path, "/before");
}

TEST_F(GetScratchPathTest, MakesWhatIsRemovedAsTheLaunchesOwn) {
    const TemporaryDirectory base;
    const Variable temp("TEMP", base.path());
    removeMadeScratch(); // of another test, which is gone
    std::string scratch;
    EXPECT_EQ(GetScratchPath(scratch), kOk);
    std::filesystem::create_directory(base.file("kept"));
    EXPECT_TRUE(std::filesystem::exists(scratch));
    removeMadeScratch();
    EXPECT_FALSE(std::filesystem::exists(scratch));
    EXPECT_TRUE(std::filesystem::exists(base.file("kept")));
}

TEST(CleanupScratchPath, DeletesTheTreeWithItsRootWithoutAWord) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("scratch/a/b"));
    here.write("scratch/a/b/file", "");
    here.write("scratch/file", "");
    here.write("beside", "");
    EXPECT_EQ(shown_by([&] { cleanupScratchPath(here.file("scratch")); }), "");
    EXPECT_FALSE(std::filesystem::exists(here.file("scratch")));
    EXPECT_TRUE(std::filesystem::exists(here.file("beside")));
}

TEST(CleanupScratchPath, OfAMissingTreeDoesNothing) {
    const TemporaryDirectory here;
    EXPECT_EQ(complained_by([&] { cleanupScratchPath(here.file("missing")); }), "");
    EXPECT_TRUE(std::filesystem::is_empty(here.path()));
}
