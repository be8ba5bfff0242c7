#include "noted_signal.h"
#include "prereqchecks/prereq_fixture.h"
#include "terminal.h"

#include <sys/resource.h>

namespace {

// --- An uncertified version, and the whole driver: both may end the process

class PrereqEndTest : public PrereqDriverTest {
  protected:
    PrereqEndTest() {
        closeLog();
    }

    // Runs the driver in a process of its own; status 0 is a launch that goes on.
    ChildEnd drive(const std::string& text, const std::string& input_lines = "") {
        write_file(text);
        std::error_code ignored;
        std::filesystem::remove(log_file(), ignored);
        const ChildEnd end = end_of_child([&] {
            const StandardInput input(pipe_of(input_lines));
            checkPreReqs({file, scratch, "STAMP", "/log", silent, room.file("none"), execute,
                          ignore, no_console, platform});
            writeToInstallLog("the log is still open");
            std::ofstream(room.file("rest")) << rest_of(STDIN_FILENO);
            return 0;
        });
        EXPECT_EQ(end.err, "");
        return end;
    }

    std::string log_file() const {
        return scratch + "/logSTAMP.log";
    }
    std::string log_text() const {
        return bytes_of(log_file());
    }

    static std::string uncertified(const std::string& more = "") {
        return "[Certified Versions]\nSolaris=no.such\n" + more;
    }
    static std::string certified(const std::string& required_lines,
                                 const std::string& optional_lines = "") {
        return "[Certified Versions]\nSolaris=" + release() + "\n[Solaris-" + release() +
               "-required]\n" + required_lines + "[Solaris-" + release() + "-optional]\n" +
               optional_lines;
    }

    // A message on both sides; <...> and [...] are the only difference between them.
    void expect_said(const ChildEnd& end, const std::string& console_text,
                     const std::string& log_text_expected, int status) const {
        EXPECT_EQ(end.out, console_text);
        EXPECT_EQ(log_text(), log_text_expected);
        EXPECT_EQ(WEXITSTATUS(end.status), status);
    }

    std::string uncertified_on_console() const {
        return shown("S_CHECKING_REQ_PREREQ") + shown("S_CHECKING_FOR_OS_VERSION") + "no.such" +
               shown("S_ACTUAL", {release()}) + shown("S_SFAILED_ON_NEWLINE");
    }
    std::string uncertified_in_log() const {
        return logged("S_CHECKING_REQ_PREREQ") + logged("S_CHECKING_FOR_OS_VERSION") + "no.such" +
               logged("S_ACTUAL", {release()}) + logged("S_SFAILED_ON_NEWLINE");
    }
    std::string exit_on_console() const {
        return shown("S_EXIT_MSG", {log_file()});
    }
    std::string exit_in_log() const {
        return logged("S_EXIT_MSG", {log_file()});
    }

    bool execute = false;
    bool no_console = false;
    bool platform = true;
};

const std::string kWarning = "\nThe version of this operating system is not certified.\n";
const std::string kQuestion = "\nDo you want to continue? (y/n) [n]: ";
const std::string kAccepted = "The user has verified that the product can be installed on this "
                              "platform. Continuing with the install...\n";
const std::string kRefused = "The user has verified that the product cannot be installed on this "
                             "platform. Quitting the install...\n";

TEST_F(PrereqEndTest, AnUncertifiedVersionEndsTheProcessWith255) {
    expect_said(drive(uncertified("CERTIFIED_VERSION_FAILURE_MESSAGE=too old\n"), "y\n"),
                uncertified_on_console() + "\n\ntoo old" + exit_on_console(),
                uncertified_in_log() + "\n\ntoo old" + exit_in_log(), 255);
}

TEST_F(PrereqEndTest, WarnModeIsExactlyTRUE) {
    for (const char* value : {"true", "True", "T", "TRUE1", "FALSE"})
        expect_said(
            drive(uncertified(std::string("CERTIFIED_VERSION_WARN=") + value + "\n"), "y\n"),
            uncertified_on_console() + exit_on_console(), uncertified_in_log() + exit_in_log(),
            255);
}

TEST_F(PrereqEndTest, InWarnModeAYesPassesTheRequiredPhase) {
    for (const char* yes : {"y\n", "Y\n", "yes\n", "yellow"})
        expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), yes),
                    uncertified_on_console() + "\n\n" + kWarning + kQuestion + kAccepted +
                        shown("S_PRE_REQREQ_PASSED") + "\n",
                    uncertified_in_log() + kWarning + kQuestion + kAccepted +
                        logged("S_PRE_REQREQ_PASSED") + "\n",
                    0);
}

TEST_F(PrereqEndTest, InWarnModeANoOrAnEmptyLineEndsTheProcess) {
    for (const char* no : {"n\n", "N\n", "no\n", "\n"})
        expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), no),
                    uncertified_on_console() + "\n\n" + kWarning + kQuestion + kRefused +
                        exit_on_console(),
                    uncertified_in_log() + kWarning + kQuestion + kRefused + exit_in_log(), 255);
}

TEST_F(PrereqEndTest, InWarnModeAnyOtherAnswerIsAskedAgain) {
    expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), "x\n y\n1\nn\n"),
                uncertified_on_console() + "\n\n" + kWarning + kQuestion + kQuestion + kQuestion +
                    kQuestion + kRefused + exit_on_console(),
                uncertified_in_log() + kWarning + kQuestion + kQuestion + kQuestion + kQuestion +
                    kRefused + exit_in_log(),
                255);
}

TEST_F(PrereqEndTest, TheWarningNamesTheListOfCertifiedVersions) {
    const std::string warning = "\nThe version of this operating system is not certified.Check "
                                "'/docs/list' for a list of certified versions.\n";
    expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"
                                  "CERTIFIED_VERSION_FAILURE_MESSAGE=too old\n"
                                  "CERTIFIED_VERSION_LOCATION=/docs/list\n"),
                      "y\n"),
                uncertified_on_console() + "\n\ntoo old" + "\n\n" + warning + kQuestion +
                    kAccepted + shown("S_PRE_REQREQ_PASSED") + "\n",
                uncertified_in_log() + "\n\ntoo old" + warning + kQuestion + kAccepted +
                    logged("S_PRE_REQREQ_PASSED") + "\n",
                0);
}

TEST_F(PrereqEndTest, InASilentRunTheWarningIsFollowedByTheExit) {
    silent = true;
    expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), "y\n"),
                uncertified_on_console() + "\n\n" + kWarning + exit_on_console(),
                uncertified_in_log() + kWarning + exit_in_log(), 255);
}

TEST_F(PrereqEndTest, WarnModeAsksEvenWithoutAConsole) {
    no_console = true;
    expect_said(drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), "y\n"),
                uncertified_on_console() + "\n\n" + kWarning + kQuestion + kAccepted +
                    shown("S_PRE_REQREQ_PASSED") + "\n",
                uncertified_in_log() + kWarning + kQuestion + kAccepted +
                    logged("S_PRE_REQREQ_PASSED") + "\n",
                0);
}

TEST_F(PrereqEndTest, WhatFollowsAnAnswerStaysForTheInstaller) {
    drive(uncertified("CERTIFIED_VERSION_WARN=TRUE\n"), "y\nfor the installer\n");
    EXPECT_EQ(bytes_of(room.file("rest")), "for the installer\n");
}

// --- The driver

TEST_F(PrereqEndTest, AFileWithoutCertifiedVersionsRunsTheOptionalPhaseOnNothing) {
    expect_said(drive("[Other]\n"), shown("S_NO_PREQ_RUN") + "\n", logged("S_NO_PREQ_RUN") + "\n",
                0);
}

TEST_F(PrereqEndTest, WithoutThePlatformChecksTheGenericPhaseIsTheOnlyOne) {
    platform = false;
    expect_said(drive("[Generic Prereqs]\nTEMP_SPACE=0\n" + certified(kFailingProcessor)),
                shown("S_CHECKING_FOR_TEMP_SPACE", {"0"}) + shown("S_ACTUAL_TEMP_SPACE", {"0"}) +
                    shown("S_SPASSED") + "\n",
                logged("S_CHECKING_FOR_TEMP_SPACE", {"0"}) + logged("S_ACTUAL_TEMP_SPACE", {"0"}) +
                    logged("S_SPASSED") + "\n",
                0);
}

TEST_F(PrereqEndTest, ThePhasesRunInTheirOrder) {
    const ChildEnd end = drive("[Generic Prereqs]\nTEMP_SPACE=-1\n" +
                               certified("TEMP_SPACE=-2\n", "TEMP_SPACE=-3\n"));
    const auto space = [](const char* value) {
        return shown("S_CHECKING_FOR_TEMP_SPACE", {value}) + shown("S_ACTUAL_TEMP_SPACE", {"0"}) +
               shown("S_SPASSED");
    };
    EXPECT_EQ(end.out, space("-1") + certified_on_console() + space("-2") +
                           shown("S_PRE_REQREQ_PASSED") + space("-3") + "\n");
    EXPECT_EQ(end.status, 0);
}

TEST_F(PrereqEndTest, TheLogIsClosedWhenTheDriverIsDone) {
    drive("[Other]\n");
    EXPECT_EQ(log_text(), logged("S_NO_PREQ_RUN") + "\n");
}

std::string question_on_console() {
    return shown("S_FAILED_PRE_REQ_1") + shown("S_FAILED_PRE_REQ_2");
}
std::string question_in_log() {
    return logged("S_FAILED_PRE_REQ_1") + logged("S_FAILED_PRE_REQ_2");
}

TEST_F(PrereqEndTest, AFailedGenericPhaseIsAskedAboutAndAYesEndsTheChecks) {
    for (const char* yes : {"y\n", "Y\n", "yes\n"})
        expect_said(
            drive("[Generic Prereqs]\n" + kFailingProcessor + certified(kFailingProcessor), yes),
            failing_processor_on_console() + question_on_console() + shown("S_CONTINUE") +
                shown("S_IGNORE_REQ_SYS_PREREQ"),
            failing_processor_in_log() + question_in_log() + logged("S_CONTINUE") +
                logged("S_IGNORE_REQ_SYS_PREREQ"),
            0);
}

TEST_F(PrereqEndTest, AFailedPhaseAndANoOrAnEmptyLineEndTheProcess) {
    for (const char* no : {"n\n", "N\n", "nobody\n", "\n"})
        expect_said(drive("[Generic Prereqs]\n" + kFailingProcessor, no),
                    failing_processor_on_console() + question_on_console() + shown("S_CONTINUE") +
                        shown("S_CONTINUE_NO") + exit_on_console(),
                    failing_processor_in_log() + question_in_log() + logged("S_CONTINUE") +
                        logged("S_CONTINUE_NO") + exit_in_log(),
                    255);
}

TEST_F(PrereqEndTest, AnyOtherAnswerIsAskedAgain) {
    expect_said(drive("[Generic Prereqs]\n" + kFailingProcessor, "x\nn\n"),
                failing_processor_on_console() + question_on_console() + shown("S_CONTINUE") +
                    shown("S_CONTINUE") + shown("S_CONTINUE_NO") + exit_on_console(),
                failing_processor_in_log() + question_in_log() + logged("S_CONTINUE") +
                    logged("S_CONTINUE") + logged("S_CONTINUE_NO") + exit_in_log(),
                255);
}

TEST_F(PrereqEndTest, WithoutAConsoleOrInASilentRunAFailureEndsTheProcessWithoutAQuestion) {
    for (const bool silently : {true, false}) {
        silent = silently;
        no_console = !silently;
        expect_said(drive("[Generic Prereqs]\n" + kFailingProcessor, "y\n"),
                    failing_processor_on_console() + question_on_console() + exit_on_console(),
                    failing_processor_in_log() + question_in_log() + exit_in_log(), 255);
    }
}

TEST_F(PrereqEndTest, CollectedTextsComeBeforeTheQuestionAndTwoLineFeedsBehindThem) {
    expect_said(
        drive(certified(kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=get another\n"), "n\n"),
        certified_on_console() + failing_processor_on_console() + "\n\nget another" +
            question_on_console() + "\n\n" + shown("S_CONTINUE") + shown("S_CONTINUE_NO") +
            exit_on_console(),
        logged("S_CHECKING_REQ_PREREQ") + logged("S_CHECKING_FOR_OS_VERSION") + release() +
            logged("S_ACTUAL", {release()}) + logged("S_SPASSED_ON_NEWLINE") +
            failing_processor_in_log() + "\n\nget another" + question_in_log() +
            logged("S_CONTINUE") + logged("S_CONTINUE_NO") + exit_in_log(),
        255);
}

TEST_F(PrereqEndTest, AYesAfterTheRequiredPhaseSkipsTheOptionalOne) {
    const ChildEnd end = drive(certified(kFailingProcessor, kFailingProcessor), "y\ny\n");
    EXPECT_EQ(end.out, certified_on_console() + failing_processor_on_console() +
                           question_on_console() + shown("S_CONTINUE") +
                           shown("S_IGNORE_REQ_SYS_PREREQ"));
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(bytes_of(room.file("rest")), "y\n");
}

TEST_F(PrereqEndTest, AFailedOptionalPhaseHasAMessageOfItsOwn) {
    const ChildEnd end = drive(certified("", kFailingProcessor), "y\n");
    EXPECT_EQ(end.out, certified_on_console() + shown("S_PRE_REQREQ_PASSED") +
                           failing_processor_on_console() + shown("S_FAILED_OPTIONAL") +
                           shown("S_CONTINUE"));
    EXPECT_EQ(end.status, 0);
}

TEST_F(PrereqEndTest, AFailedOptionalPhaseWithATextShowsThatAlone) {
    const ChildEnd end =
        drive(certified("", kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=get another\n"), "n\n");
    EXPECT_EQ(end.out, certified_on_console() + shown("S_PRE_REQREQ_PASSED") +
                           failing_processor_on_console() + "\n\nget another" +
                           shown("S_CONTINUE") + shown("S_CONTINUE_NO") + exit_on_console());
    EXPECT_EQ(WEXITSTATUS(end.status), 255);
}

TEST_F(PrereqEndTest, IgnoredFailuresLetEveryPhaseRun) {
    ignore = true;
    const ChildEnd end =
        drive("[Generic Prereqs]\n" + kFailingProcessor +
              certified(kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=text\n", kFailingProcessor));
    EXPECT_EQ(end.out, failing_processor_on_console() + shown("S_IGNORE_REQ_SYS_PREREQ") +
                           certified_on_console() + failing_processor_on_console() +
                           shown("S_IGNORE_REQ_SYS_PREREQ") + failing_processor_on_console() +
                           shown("S_IGNORE_OPT_SYS_PREREQ") + "\n");
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(log_text().ends_with(logged("S_IGNORE_OPT_SYS_PREREQ") + "\n")) << log_text();
}

TEST_F(PrereqEndTest, AnIgnoredUncertifiedVersionGoesOnWithTheOptionalPhaseOfNoVersion) {
    ignore = true;
    expect_said(drive(uncertified("[Solaris-no.such-optional]\n" + kFailingProcessor)),
                uncertified_on_console() + shown("S_IGNORE_REQ_SYS_PREREQ") + "\n",
                uncertified_in_log() + logged("S_IGNORE_REQ_SYS_PREREQ") + "\n", 0);
}

TEST_F(PrereqEndTest, AnOptionalTextWithTheUnfilledPatchTextIsIgnoredAsPatches) {
    ignore = true;
    // The catalogue's own text, as a parameter file may quote it; with placeholders it is not what
    // the patch check itself collects.
    const ChildEnd end = drive(certified(
        "", kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=<S_FAILED_PATCHES_1|%s|%s|%s>\n"));
    EXPECT_TRUE(end.out.ends_with(shown("S_IGNORE_PATCH_SYS_PREREQ") + "\n")) << end.out;
}

TEST_F(PrereqEndTest, TheTextsOfOnePhaseAreForgottenInTheNext) {
    ignore = true;
    const ChildEnd end = drive(
        certified("TEMP_SPACE=1e18\nTEMP_SPACE_FAILURE_MESSAGE=<S_FAILED_PATCHES_1|%s|%s|%s>\n",
                  kFailingProcessor));
    EXPECT_TRUE(end.out.ends_with(shown("S_IGNORE_OPT_SYS_PREREQ") + "\n")) << end.out;
}

TEST_F(PrereqEndTest, ExecuteOnlyModeRunsTheGenericPhaseAndEndsTheProcess) {
    execute = true;
    expect_said(drive("[Generic Prereqs]\nTEMP_SPACE=0\n" + certified(kFailingProcessor)),
                shown("S_CHECKING_FOR_TEMP_SPACE", {"0"}) + shown("S_ACTUAL_TEMP_SPACE", {"0"}) +
                    shown("S_SPASSED") + exit_on_console(),
                logged("S_CHECKING_FOR_TEMP_SPACE", {"0"}) + logged("S_ACTUAL_TEMP_SPACE", {"0"}) +
                    logged("S_SPASSED") + exit_in_log(),
                255);
}

TEST_F(PrereqEndTest, ExecuteOnlyModeAsksNothingAfterAFailure) {
    execute = true;
    expect_said(drive("[Generic Prereqs]\n" + kFailingProcessor, "y\n"),
                failing_processor_on_console() + exit_on_console(),
                failing_processor_in_log() + exit_in_log(), 255);
}

TEST_F(PrereqEndTest, ExecuteOnlyModeSaysThatAFailureIsIgnored) {
    execute = true;
    ignore = true;
    expect_said(
        drive("[Generic Prereqs]\n" + kFailingProcessor),
        failing_processor_on_console() + shown("S_IGNORE_REQ_SYS_PREREQ") + exit_on_console(),
        failing_processor_in_log() + logged("S_IGNORE_REQ_SYS_PREREQ") + exit_in_log(), 255);
}

TEST_F(PrereqEndTest, TheEndOfTheInputIsNoAnswerAndWhatIsTypedBehindItIsOne) {
    write_file("[Generic Prereqs]\n" + kFailingProcessor);
    const Terminal terminal;
    terminal.type("\x04y\n");
    const ChildEnd end = end_of_child([&] {
        const StandardInput input(terminal.open_other_side());
        checkPreReqs(
            {file, scratch, "STAMP", "/log", false, room.file("none"), false, false, false, false});
        return 0;
    });
    EXPECT_EQ(end.out, failing_processor_on_console() + question_on_console() +
                           shown("S_CONTINUE") + shown("S_CONTINUE") +
                           shown("S_IGNORE_REQ_SYS_PREREQ"));
    EXPECT_EQ(end.status, 0);
}

TEST_F(PrereqEndTest, OnceASignalIsNotedNothingIsCheckedAskedOrSaid) {
    write_file("[Generic Prereqs]\n" + kFailingProcessor);
    for (const bool only_execute : {false, true}) {
        const ChildEnd end = end_of_child([&] {
            const NotedSignal signal;
            checkPreReqs({file, scratch, "STAMP", "/log", true, room.file("none"), only_execute,
                          true, false, true});
            return noted_signal();
        });
        EXPECT_EQ(WEXITSTATUS(end.status), SIGTERM);
        EXPECT_EQ(end.out + end.err, "");
    }
}

TEST_F(PrereqEndTest, AClosedStandardInputRepeatsTheQuestionOnceASecondWithoutEnd) {
    write_file("[Generic Prereqs]\n" + kFailingProcessor);
    const ChildEnd end = end_of_child([&] {
        const StandardInput input(pipe_of(""));
        alarm(3);
        checkPreReqs(
            {file, scratch, "STAMP", "/log", false, room.file("none"), false, false, false, false});
        return 0;
    });
    EXPECT_EQ(WTERMSIG(end.status), SIGALRM);
    const std::string before = failing_processor_on_console() + question_on_console();
    ASSERT_TRUE(end.out.starts_with(before));
    std::string questions = end.out.substr(before.size());
    std::size_t asked = 0;
    while (questions.starts_with(shown("S_CONTINUE"))) {
        questions.erase(0, shown("S_CONTINUE").size());
        ++asked;
    }
    EXPECT_TRUE(asked >= 2 && asked <= 4) << asked << " in three seconds";
    EXPECT_EQ(questions, "");
}

} // namespace
