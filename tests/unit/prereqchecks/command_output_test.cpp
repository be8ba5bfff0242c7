#include "prereqchecks/command_output.h"

#include "log/install_log.h"
#include "noted_signal.h"
#include "unit_surroundings.h"
#include "volume_stand_in.h"

#include <sys/resource.h>

namespace {

std::string output_file(const std::string& scratch) {
    return scratch + "/command_output_" + std::to_string(getpid());
}

double free_space(unsigned long blocks, unsigned long fragment) {
    set_free_space(blocks, fragment);
    return getFreeSpaceForVolume(kVolume);
}

} // namespace

TEST(GetCommandOutput, IsEverythingThatTheCommandPrints) {
    const TemporaryDirectory scratch;
    EXPECT_EQ(GetCommandOutput("printf 'one\\n two\\n'", scratch.path()), "one\n two\n");
}

TEST(GetCommandOutput, HoldsBothStreamsInTheirOrder) {
    const TemporaryDirectory scratch;
    EXPECT_EQ(GetCommandOutput("sh -c 'echo out; echo err >&2; echo more'", scratch.path()),
              "out\nerr\nmore\n");
}

TEST(GetCommandOutput, IsEmptyForASilentCommand) {
    const TemporaryDirectory scratch;
    EXPECT_EQ(GetCommandOutput("true", scratch.path()), "");
}

TEST(GetCommandOutput, CountsAlsoWhenTheCommandFails) {
    const TemporaryDirectory scratch;
    EXPECT_EQ(GetCommandOutput("sh -c 'echo out; exit 3'", scratch.path()), "out\n");
}

TEST(GetCommandOutput, OfAMissingCommandIsWhatTheShellSays) {
    const TemporaryDirectory scratch;
    const std::optional<std::string> output =
        GetCommandOutput("/no/such/command -v", scratch.path());
    ASSERT_TRUE(output);
    EXPECT_NE(output->find(": not found"), std::string::npos) << *output;
}

TEST(GetCommandOutput, StaysInTheScratchDirectoryUnderTheProcessId) {
    const TemporaryDirectory scratch;
    GetCommandOutput("echo kept", scratch.path());
    EXPECT_EQ(bytes_of(output_file(scratch.path())), "kept\n");
}

TEST(GetCommandOutput, ReplacesThatOfTheCommandBefore) {
    const TemporaryDirectory scratch;
    GetCommandOutput("echo a long first output", scratch.path());
    EXPECT_EQ(GetCommandOutput("echo second", scratch.path()), "second\n");
    EXPECT_EQ(bytes_of(output_file(scratch.path())), "second\n");
}

TEST(GetCommandOutput, IsCutAtNoLength) {
    const TemporaryDirectory scratch;
    const std::string big(100'000, 'x');
    const std::string file = scratch.write("big", big);
    EXPECT_EQ(GetCommandOutput("cat " + file, scratch.path()), big);
}

TEST(GetCommandOutput, EndsAtItsFirstNul) {
    const TemporaryDirectory scratch;
    EXPECT_EQ(GetCommandOutput("printf 'kept\\000lost'", scratch.path()), "kept");
}

TEST(GetCommandOutput, GoesToAScratchDirectoryOfAnyName) {
    const TemporaryDirectory here;
    const std::string scratch = here.file("it's $HOME & more");
    std::filesystem::create_directory(scratch);
    EXPECT_EQ(GetCommandOutput("echo text", scratch), "text\n");
    EXPECT_EQ(bytes_of(output_file(scratch)), "text\n");
}

TEST(GetCommandOutput, IsNothingWhenTheFileForItIsMissing) {
    const TemporaryDirectory here;
    std::optional<std::string> output = "before";
    complained_by([&] { output = GetCommandOutput("echo text", here.file("missing")); });
    EXPECT_EQ(output, std::nullopt);
}

TEST(GetCommandOutput, IsNothingWhenNoProcessCanBeStarted) {
    as_ordinary_user([] {
        const TemporaryDirectory scratch;
        std::ofstream(output_file(scratch.path())) << "of another time";
        const rlimit none{0, 0};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        EXPECT_EQ(GetCommandOutput("echo text", scratch.path()), std::nullopt);
    });
}

TEST(GetCommandOutput, IsNothingOnceASignalIsNoted) {
    const TemporaryDirectory scratch;
    const NotedSignal signal;
    EXPECT_EQ(GetCommandOutput("echo text", scratch.path()), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(output_file(scratch.path())));
}

TEST(GetCommandOutput, CountsWhenASignalEndsTheCommandWhichIsTold) {
    const Catalogue catalogue{{"S_COMMAND_SIGNALLED", "[%s (%d): %s]"}};
    const TemporaryDirectory scratch;
    const std::string command = "sh -c 'echo out; kill -KILL $$'";
    const std::string told = "[SIGKILL (9): " + command + "]";
    openLog(scratch.path(), scratch.file("none"), "", "/log");
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(GetCommandOutput(command, scratch.path()), "out\n"); }),
              "<" + told + ">\n");
    closeLog();
    EXPECT_EQ(bytes_of(scratch.file("log.log")), "\n" + told);
}

TEST(GetCommandOutput, IsNothingWhenTheFileForItMayNotBeRead) {
    as_ordinary_user([] {
        const TemporaryDirectory scratch;
        const Mask all(0777);
        EXPECT_EQ(GetCommandOutput("echo text", scratch.path()), std::nullopt);
        EXPECT_EQ(mode_of(output_file(scratch.path())), 0U);
    });
}

TEST(GetCommandOutput, ComesAfterWhatWasShownBefore) {
    as_ordinary_user([] {
        const TemporaryDirectory scratch;
        const std::string console = scratch.file("console");
        ASSERT_NE(std::freopen(console.c_str(), "w", stdout), nullptr);
        std::fputs("shown ", stdout);
        EXPECT_EQ(GetCommandOutput("cat " + console, scratch.path()), "shown ");
    });
}

TEST(GetCommandOutputInEnglish, RunsTheCommandInTheLocaleC) {
    const TemporaryDirectory scratch;
    const Variable locale("LC_ALL", "de_DE.UTF-8");
    EXPECT_EQ(GetCommandOutput("printenv LC_ALL", scratch.path()), "de_DE.UTF-8\n");
    EXPECT_EQ(GetCommandOutputInEnglish("printenv LC_ALL", scratch.path()), "C\n");
}

TEST(GetCommandOutputInEnglish, GivesTheLocaleItsValueBack) {
    const TemporaryDirectory scratch;
    for (const std::string& value :
         {std::string("de_DE.UTF-8"), std::string(), std::string(300, 'x')}) {
        const Variable locale("LC_ALL", value);
        GetCommandOutputInEnglish("true", scratch.path());
        EXPECT_STREQ(std::getenv("LC_ALL"), value.c_str());
    }
}

TEST(GetCommandOutputInEnglish, LeavesAnUnsetLocaleSetAndEmpty) {
    const TemporaryDirectory scratch;
    const Variable locale("LC_ALL", std::nullopt);
    EXPECT_EQ(GetCommandOutputInEnglish("printenv LC_ALL", scratch.path()), "C\n");
    EXPECT_STREQ(std::getenv("LC_ALL"), "");
}

TEST(GetCommandOutputInEnglish, GivesTheLocaleBackAlsoWithoutOutput) {
    const TemporaryDirectory here;
    const Variable locale("LC_ALL", "de_DE.UTF-8");
    std::optional<std::string> output = "before";
    complained_by([&] { output = GetCommandOutputInEnglish("true", here.file("missing")); });
    EXPECT_EQ(output, std::nullopt);
    EXPECT_STREQ(std::getenv("LC_ALL"), "de_DE.UTF-8");
}

TEST(IsUnusable, HoldsForNoOutputAndForWhatAShellSaysThatCannotRunTheCommand) {
    EXPECT_TRUE(is_unusable(std::nullopt));
    EXPECT_TRUE(is_unusable("sh: 1: pkginfo: not found\n"));
    EXPECT_TRUE(is_unusable("sh: /usr/bin/pkginfo: cannot execute\n"));
}

TEST(IsUnusable, DoesNotHoldForAnyOtherOutput) {
    EXPECT_FALSE(is_unusable(""));
    EXPECT_FALSE(is_unusable("ERROR: information for \"X\" was not found"));
    EXPECT_FALSE(is_unusable("system      SUNWcar      Core Architecture"));
}

TEST(GetFreeSpaceForVolume, IsTheRoomForOrdinaryUsersInMegabytes) {
    EXPECT_EQ(free_space(256, 4096), 1.0);
    EXPECT_EQ(free_space(3, 512 * 1024), 1.5);
    EXPECT_EQ(free_space(0, 4096), 0.0);
}

TEST(GetFreeSpaceForVolume, DoesNotOverflowForTheLargestVolume) {
    EXPECT_EQ(free_space(1UL << 62, 1UL << 20), 4611686018427387904.0);
}

TEST(GetFreeSpaceForVolume, IsZeroForAVolumeThatCannotBeQueriedWithTheSystemsReason) {
    const Catalogue catalogue{{"S_ERROR64RET", "cannot query %s"}};
    double space = 1;
    EXPECT_EQ(complained_by([&] { space = getFreeSpaceForVolume("/other"); }),
              "<cannot query /other>: No such file or directory\n");
    EXPECT_EQ(space, 0.0);
}
