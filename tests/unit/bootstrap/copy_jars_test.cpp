#include "base/launcher_state.h"
#include "log/install_log.h"
#include "noted_signal.h"
#include "tree_fixture.h"

namespace {

// What an unpacking leads to.
struct Unpacked {
    int status = 0;
    std::string shown;
    std::string complaint;
    std::string logged;
};

class CopyJarsTest : public Tree {
  protected:
    CopyJarsTest() {
        launcher_state::reset();
        make_file("jars/a.jar");
        make_file("jars/b.jar");
        make_directory("dest");
    }
    ~CopyJarsTest() override {
        launcher_state::reset();
    }

    // Puts a program in the place of unzip in `directory`: it stores its arguments beside itself
    // and then runs `script`, in which $dest is where to unpack.
    std::string make_unzip(const std::string& directory, const std::string& script = "") const {
        const std::string program = make_file(
            directory + "/unzip", "#!/bin/sh\n"
                                  "for dest; do printf '<%s>' \"$dest\"; done >\"$0.args\"\n" +
                                      script + "\n");
        set_mode(program, 0755);
        return here.file(directory);
    }
    std::string arguments(const std::string& directory) const {
        return bytes_of(here.file(directory + "/unzip.args"));
    }

    Unpacked unpacked(const std::string& source, const std::string& target,
                      const std::string& startup) const {
        const TemporaryDirectory logs;
        openLog(logs.path(), logs.file("none"), "", "/log");
        Unpacked result;
        result.complaint = complained_by([&] {
            result.shown = shown_by([&] { result.status = CopyJars(source, target, startup); });
        });
        closeLog();
        result.logged = bytes_of(logs.file("log.log"));
        return result;
    }

    std::string jars = here.file("jars");
    std::string dest = here.file("dest");
    Catalogue catalogue{{"S_UNZIP_COMMANDLINE", "unzip command: "},
                        {"S_COMMAND_SIGNALLED", "[%s (%d): %s]"},
                        {"S_UNZIP_FAILED", "[cannot unpack %s]"},
                        {"S_ERPERM_1", "cannot change %s"}};
};

} // namespace

TEST_F(CopyJarsTest, RunsTheUnzipOfTheGivenDirectorySilently) {
    const std::string start = make_unzip("start");
    const Unpacked result = unpacked(jars, dest, start);
    EXPECT_EQ(result.status, kOk);
    EXPECT_EQ(result.shown, "");
    EXPECT_EQ(result.complaint, "");
    EXPECT_EQ(result.logged,
              "unzip command: " + start + "/unzip -qqqo " + jars + "/\\*.jar -d " + dest + " ");
    EXPECT_EQ(arguments("start"), "<-qqqo><" + jars + "/*.jar><-d><" + dest + ">");
}

TEST_F(CopyJarsTest, LetsUnzipListWhatItExtractsInDebugMode) {
    const std::string start = make_unzip("start", "echo listed");
    launcher_state::_bDebug = true;
    const Unpacked result = unpacked(jars, dest, start);
    EXPECT_EQ(result.status, kOk);
    EXPECT_EQ(result.shown, "listed\n");
    EXPECT_EQ(result.logged,
              "unzip command: " + start + "/unzip -o " + jars + "/\\*.jar -d " + dest + " ");
    EXPECT_EQ(arguments("start"), "<-o><" + jars + "/*.jar><-d><" + dest + ">");
}

TEST_F(CopyJarsTest, RunsNothingFromTheSearchPath) {
    const std::string path = make_unzip("path", "exit 0");
    const Variable search("PATH", path + ":" + std::getenv("PATH"));
    make_directory("start");
    EXPECT_EQ(unpacked(jars, dest, here.file("start")).status, kFailed);
    EXPECT_FALSE(exists(here.file("path/unzip.args")));
}

TEST_F(CopyJarsTest, RunsTheUnzipOfARelativeDirectory) {
    make_unzip("start");
    const WorkingDirectory inside(here.path());
    const Unpacked result = unpacked("jars", "dest", ".");
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(result.logged, "unzip command: ./unzip -qqqo jars/\\*.jar -d dest ");
    EXPECT_EQ(unpacked("jars", "dest", "start").status, kOk);
    EXPECT_EQ(arguments("start"), "<-qqqo><jars/*.jar><-d><dest>");
}

TEST_F(CopyJarsTest, GivesEverythingUnpackedMode0750WhateverTheStatus) {
    const std::string unpack = "mkdir -p \"$dest/a/b\"; umask 0; echo >\"$dest/file\"; "
                               "echo >\"$dest/a/b/file\"; chmod 0 \"$dest/file\"; exit ";
    for (const char* status : {"0", "1", "9"}) {
        const std::string start = make_unzip("start", unpack + status);
        set_mode(dest, 0700);
        EXPECT_EQ(unpacked(jars, dest, start).status, *status == '0' ? kOk : kFailed);
        for (const char* name : {"", "/file", "/a", "/a/b", "/a/b/file"}) {
            EXPECT_EQ(mode_of(dest + name), 0750U) << status << name;
            if (*name != '\0')
                set_mode(dest + name, 0700);
        }
    }
}

TEST_F(CopyJarsTest, LogsOnlyTheCommandWhenUnpackingAnExistingDirectoryFails) {
    for (const char* failure : {"exit 1", "exit 82"}) {
        const std::string start = make_unzip("start", failure);
        const Unpacked result = unpacked(jars, dest, start);
        EXPECT_EQ(result.status, kFailed) << failure;
        EXPECT_EQ(result.shown, "") << failure;
        EXPECT_EQ(result.logged,
                  "unzip command: " + start + "/unzip -qqqo " + jars + "/\\*.jar -d " + dest + " ")
            << failure;
    }
    make_unzip("start", "exit 1");
    EXPECT_EQ(unpacked(jars, dest, here.file("start")).complaint, "");
}

TEST_F(CopyJarsTest, NamesTheSignalThatEndedUnzipInTheLogAndOnStandardError) {
    const std::string start = make_unzip("start", "kill -KILL $$");
    const std::string command = start + "/unzip -qqqo " + jars + "/\\*.jar -d " + dest + " ";
    const std::string told = "[SIGKILL (9): " + command + "]";
    const Unpacked result = unpacked(jars, dest, start);
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(result.shown, "");
    EXPECT_EQ(result.complaint, "<" + told + ">\n");
    EXPECT_EQ(result.logged, "unzip command: " + command + "\n" + told);
}

TEST_F(CopyJarsTest, KeepsTheCallersOptionsForUnzipFromUnzipAlone) {
    const std::string start =
        make_unzip("start", "echo ${UNZIP-none} ${UNZIPOPT-none} ${UNZIPPED-none}");
    const Variable options("UNZIP", "-l");
    const Variable more_options("UNZIPOPT", "-x *");
    const Variable other("UNZIPPED", "stays");
    EXPECT_EQ(unpacked(jars, dest, start).shown, "none none stays\n");
    EXPECT_STREQ(std::getenv("UNZIP"), "-l");
    EXPECT_STREQ(std::getenv("UNZIPOPT"), "-x *");
}

TEST_F(CopyJarsTest, RunsNothingAndComplainsOfNothingOnceASignalIsNoted) {
    const std::string start = make_unzip("start");
    const NotedSignal signal;
    const Unpacked result = unpacked(here.file("missing"), dest, start);
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(result.shown + result.complaint, "");
    EXPECT_FALSE(exists(here.file("start/unzip.args")));
}

TEST_F(CopyJarsTest, NamesASourceThatDoesNotExistInTheLogAndOnStandardError) {
    const std::string start = make_unzip("start", "exit 9");
    const std::string missing = here.file("missing");
    const Unpacked result = unpacked(missing, dest, start);
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(result.shown, "");
    EXPECT_EQ(result.complaint, "<[cannot unpack " + missing + "]>\n");
    EXPECT_EQ(result.logged, "unzip command: " + start + "/unzip -qqqo " + missing +
                                 "/\\*.jar -d " + dest + " [cannot unpack " + missing + "]");
}

TEST_F(CopyJarsTest, LetsTheStatusOfUnzipDecideAndNotTheSource) {
    const std::string start = make_unzip("start", "exit 0");
    const Unpacked result = unpacked(here.file("missing"), dest, start);
    EXPECT_EQ(result.status, kOk);
    EXPECT_EQ(result.complaint, "");
}

TEST_F(CopyJarsTest, NamesADestinationThatIsNotThereAfterwards) {
    const std::string start = make_unzip("start", "exit 9");
    const std::string missing = here.file("missing");
    EXPECT_EQ(unpacked(jars, missing, start).complaint,
              "<cannot change " + missing + ">: No such file or directory\n");
}

TEST_F(CopyJarsTest, FailsWithoutAnUnzipAndStillLogsTheCommand) {
    const std::string start = make_directory("start");
    const Unpacked result = unpacked(jars, dest, start);
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(result.logged,
              "unzip command: " + start + "/unzip -qqqo " + jars + "/\\*.jar -d " + dest + " ");
}

TEST_F(CopyJarsTest, QuotesPathsThatHoldWhatTheShellTreatsSpecially) {
    const std::string start = make_unzip("it's a start");
    const std::string source = make_directory("$HOME; jars");
    const std::string target = make_directory("\"dest\" `id`");
    const Unpacked result = unpacked(source, target, start);
    EXPECT_EQ(result.status, kOk);
    EXPECT_EQ(arguments("it's a start"), "<-qqqo><" + source + "/*.jar><-d><" + target + ">");
    EXPECT_EQ(result.logged, "unzip command: '" + here.path() + "/it'\\''s a start/unzip' -qqqo '" +
                                 source + "'/\\*.jar -d '" + target + "' ");
}

TEST_F(CopyJarsTest, LetsUnzipWriteBehindWhatWasShownBefore) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        inside.write("unzip", "#!/bin/sh\necho unzip\n");
        set_mode(inside.file("unzip"), 0755);
        ASSERT_NE(std::freopen(inside.file("console").c_str(), "w", stdout), nullptr);
        std::fputs("shown ", stdout);
        EXPECT_EQ(CopyJars(inside.path(), inside.path(), inside.path()), kOk);
        EXPECT_EQ(bytes_of(inside.file("console")), "shown unzip\n");
    });
}
