#include "prereqchecks/patch_check.h"
#include "prereqchecks/prereq_fixture.h"

#include "platform/signals.h"

namespace {

constexpr const char* kTooMuch = "1e18";

// Every check of the launcher fails with the same number, so one check stands in here.
int result_of_patches = 0;
// And a signal may come while it runs.
bool signal_comes = false;

} // namespace

// Found before the launcher's own.
int CheckPatchesInstalled(const std::string& /*value*/, const std::string& /*version*/,
                          const std::string& /*scratchLoc*/, int /*bLogToConsole*/) {
    if (signal_comes)
        kill(getpid(), SIGTERM);
    return result_of_patches;
}

namespace {

// --- One phase: the generic one

TEST_F(PrereqDriverTest, AFileThatCannotBeOpenedPassesWithoutAWord) {
    file = room.file("no_such.ini");
    EXPECT_EQ(run_phase(), 0);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(log(), "");
    EXPECT_EQ(genericBuffer, "Generic Prereqs");
}

TEST_F(PrereqDriverTest, AMissingSectionPassesWithoutAWord) {
    write_file("[Other]\n" + kFailingProcessor);
    EXPECT_EQ(run_phase(), 0);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(log(), "");
}

TEST_F(PrereqDriverTest, TheGenericPhaseChecksItsSectionAlone) {
    EXPECT_EQ(generic_phase("PROCESSOR=" + machine() + "\n[Other]\n" + kFailingProcessor), 0);
    EXPECT_EQ(said.out, processor_check(on_console, machine(), true));
    EXPECT_EQ(log(), processor_check(in_log, machine(), true));
    EXPECT_EQ(buffer + optBuffer + texts, "");
    EXPECT_EQ(genericBuffer, "Generic Prereqs");
}

TEST_F(PrereqDriverTest, TheChecksRunInTheOrderOfTheFile) {
    EXPECT_EQ(generic_phase("TEMP_SPACE=0\n" + kFailingProcessor + "TEMP_SPACE=-1\n"), 1);
    EXPECT_EQ(said.out, shown("S_CHECKING_FOR_TEMP_SPACE", {"0"}) +
                            shown("S_ACTUAL_TEMP_SPACE", {"0"}) + shown("S_SPASSED") +
                            failing_processor_on_console() +
                            shown("S_CHECKING_FOR_TEMP_SPACE", {"-1"}) +
                            shown("S_ACTUAL_TEMP_SPACE", {"0"}) + shown("S_SPASSED"));
    EXPECT_EQ(log(), logged("S_CHECKING_FOR_TEMP_SPACE", {"0"}) +
                         logged("S_ACTUAL_TEMP_SPACE", {"0"}) + logged("S_SPASSED") +
                         failing_processor_in_log() + logged("S_CHECKING_FOR_TEMP_SPACE", {"-1"}) +
                         logged("S_ACTUAL_TEMP_SPACE", {"0"}) + logged("S_SPASSED"));
}

TEST_F(PrereqDriverTest, ALaterPassedCheckDoesNotClearAFailure) {
    EXPECT_EQ(generic_phase(kFailingProcessor + "TEMP_SPACE=0\n"), 1);
}

TEST_F(PrereqDriverTest, ALaterFailureTakesThePlaceOfTheFirst) {
    result_of_patches = 7;
    EXPECT_EQ(generic_phase(kFailingProcessor + "PATCHES=1\n"), 7);
    EXPECT_EQ(generic_phase("PATCHES=1\n" + kFailingProcessor), 1);
    EXPECT_EQ(generic_phase("PATCHES=1\nTEMP_SPACE=0\n"), 7);
}

TEST_F(PrereqDriverTest, ATempSpaceOf0PassesWithoutMeasuring) {
    scratch = room.file("no_such_directory");
    EXPECT_EQ(generic_phase("TEMP_SPACE=0\n"), 0); // the measure would complain on standard error
    EXPECT_EQ(said.out, shown("S_CHECKING_FOR_TEMP_SPACE", {"0"}) +
                            shown("S_ACTUAL_TEMP_SPACE", {"0"}) + shown("S_SPASSED"));
}

TEST_F(PrereqDriverTest, TooLittleTempSpaceFails) {
    EXPECT_EQ(generic_phase(std::string("TEMP_SPACE=") + kTooMuch + "\n"), 1);
    EXPECT_TRUE(said.out.starts_with("<S_FAIL_CHECKING_FOR_TEMP_SPACE|")) << said.out;
    EXPECT_TRUE(said.out.ends_with(std::string("|") + kTooMuch + "|>" + shown("S_SFAILED")))
        << said.out;
}

TEST_F(PrereqDriverTest, ASwapSpaceOf0FailsInTheGenericPhase) {
    EXPECT_EQ(generic_phase("SWAP_SPACE=0\n"), 1);
    EXPECT_EQ(said.out, shown("S_FAIL_CHECKING_FOR_SWAP", {"0", "0"}) + shown("S_SFAILED"));
}

TEST_F(PrereqDriverTest, AKeyWithAnEmptyValueIsSkipped) {
    EXPECT_EQ(generic_phase("PROCESSOR=\"\"\nTEMP_SPACE=\nPROCESSOR =x\n"), 0);
    EXPECT_EQ(said.out, "");
}

TEST_F(PrereqDriverTest, OtherKeysAreIgnored) {
    EXPECT_EQ(generic_phase("processor=x\nPROCESSORS=x\nXPROCESSOR=x\nTemp_Space=1e18\nDISK=9\n"),
              0);
    EXPECT_EQ(said.out, "");
}

TEST_F(PrereqDriverTest, DisplayColoursAreNotCheckedInASilentRun) {
    silent = true;
    EXPECT_EQ(generic_phase("MIN_DISPLAY_COLORS=256\n"), 0);
    EXPECT_EQ(said.out, "");
}

TEST_F(PrereqDriverTest, DisplayColoursAreCheckedInAGenericPhaseThatIsNotSilent) {
    EXPECT_EQ(generic_phase("MIN_DISPLAY_COLORS=0\n"), 1); // 0 fails on every display
    EXPECT_TRUE(said.out.starts_with(shown("S_CHECKING_FOR_DISP_COL", {"0"}))) << said.out;
    EXPECT_TRUE(said.out.ends_with(shown("S_SFAILED"))) << said.out;
}

TEST_F(PrereqDriverTest, AGenericCheckHasNoFailureTextOfItsOwn) {
    EXPECT_EQ(generic_phase(kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=get another\n"), 1);
    EXPECT_EQ(texts, "");
    EXPECT_EQ(said.out, failing_processor_on_console());
}

// --- The required phase

TEST_F(PrereqDriverTest, WithoutCertifiedVersionsTheRequiredPhaseEndsWith3) {
    generic = false;
    for (const char* lines :
         {"[Other]\n", "[Certified Versions]\nOther=x\n", "[Certified Versions]\nSolaris=\n"}) {
        closeLog();
        std::filesystem::remove(sLogLoc);
        open_log();
        write_file(lines);
        EXPECT_EQ(run_phase(), 3) << lines;
        EXPECT_EQ(said.out, shown("S_NO_PREQ_RUN"));
        EXPECT_EQ(log(), logged("S_NO_PREQ_RUN"));
        EXPECT_EQ(buffer + optBuffer + genericBuffer, "");
    }
}

TEST_F(PrereqDriverTest, ACertifiedVersionNamesTheSections) {
    EXPECT_EQ(required_phase("TEMP_SPACE=0\n"), 0);
    EXPECT_EQ(buffer, "Solaris-" + release() + "-required");
    EXPECT_EQ(optBuffer, "Solaris-" + release() + "-optional");
    EXPECT_EQ(genericBuffer, "Generic Prereqs");
    EXPECT_EQ(said.out, certified_on_console() + shown("S_CHECKING_FOR_TEMP_SPACE", {"0"}) +
                            shown("S_ACTUAL_TEMP_SPACE", {"0"}) + shown("S_SPASSED"));
}

TEST_F(PrereqDriverTest, ACertifiedVersionWithoutASectionPasses) {
    write_file("[Certified Versions]\nSolaris=" + release() + "\n");
    generic = false;
    EXPECT_EQ(run_phase(), 0);
    EXPECT_EQ(said.out, certified_on_console());
}

TEST_F(PrereqDriverTest, ChecksOfTheGenericPhaseAloneDoNotRunInTheRequiredPhase) {
    EXPECT_EQ(required_phase("MIN_DISPLAY_COLORS=0\nSWAP_SPACE=0\n"), 0);
    EXPECT_EQ(said.out, certified_on_console());
}

TEST_F(PrereqDriverTest, AFailureTextOfTheRequiredSectionIsCollected) {
    EXPECT_EQ(required_phase(kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=get another\n"), 1);
    EXPECT_EQ(texts, "\n\nget another");
    EXPECT_EQ(said.out, certified_on_console() + failing_processor_on_console());
}

TEST_F(PrereqDriverTest, AFailureTextOfTheOptionalSectionServesTheRequiredPhaseToo) {
    EXPECT_EQ(required_phase(kFailingProcessor + "[Solaris-" + release() +
                             "-optional]\nPROCESSOR_FAILURE_MESSAGE=from optional\n"),
              1);
    EXPECT_EQ(texts, "\n\nfrom optional");
}

TEST_F(PrereqDriverTest, TheRequiredSectionsFailureTextComesBeforeTheOptionalOnes) {
    EXPECT_EQ(required_phase("PROCESSOR_FAILURE_MESSAGE=from required\n" + kFailingProcessor +
                             "[Solaris-" + release() +
                             "-optional]\nPROCESSOR_FAILURE_MESSAGE=from optional\n"),
              1);
    EXPECT_EQ(texts, "\n\nfrom required");
}

TEST_F(PrereqDriverTest, EveryFailedCheckAppendsItsText) {
    EXPECT_EQ(
        required_phase("TEMP_SPACE=1e18\n" + kFailingProcessor +
                       "PROCESSOR_FAILURE_MESSAGE=processor\nTEMP_SPACE_FAILURE_MESSAGE=space\n"),
        1);
    EXPECT_EQ(texts, "\n\nspace\n\nprocessor");
}

TEST_F(PrereqDriverTest, APassedCheckAppendsNothing) {
    EXPECT_EQ(required_phase("TEMP_SPACE=0\nTEMP_SPACE_FAILURE_MESSAGE=space\n"), 0);
    EXPECT_EQ(texts, "");
}

TEST_F(PrereqDriverTest, AnUncertifiedVersionFailsWhenFailuresAreIgnored) {
    ignore = true;
    generic = false;
    write_file("[Certified Versions]\nSolaris=no.such\nCERTIFIED_VERSION_FAILURE_MESSAGE=too old\n"
               "CERTIFIED_VERSION_WARN=TRUE\n[Solaris-no.such-required]\n" +
               kFailingProcessor);
    EXPECT_EQ(run_phase(), 1);
    EXPECT_EQ(said.out, shown("S_CHECKING_REQ_PREREQ") + shown("S_CHECKING_FOR_OS_VERSION") +
                            "no.such" + shown("S_ACTUAL", {release()}) +
                            shown("S_SFAILED_ON_NEWLINE") + "\n\ntoo old");
    EXPECT_EQ(log(), logged("S_CHECKING_REQ_PREREQ") + logged("S_CHECKING_FOR_OS_VERSION") +
                         "no.such" + logged("S_ACTUAL", {release()}) +
                         logged("S_SFAILED_ON_NEWLINE") + "\n\ntoo old");
    EXPECT_EQ(buffer + optBuffer + texts, "");
}

// --- The optional phase

TEST_F(PrereqDriverTest, TheOptionalPhaseChecksTheSectionThatTheRequiredPhaseNamed) {
    write_file("[Mine]\n" + kFailingProcessor + "PROCESSOR_FAILURE_MESSAGE=optional\n");
    generic = required = false;
    optBuffer = "Mine";
    EXPECT_EQ(run_phase(), 1);
    EXPECT_EQ(said.out, failing_processor_on_console());
    EXPECT_EQ(texts, "\n\noptional");
}

TEST_F(PrereqDriverTest, TheOptionalPhaseOfNoVersionLooksForASectionWithoutAName) {
    write_file("[]\n" + kFailingProcessor);
    generic = required = false;
    EXPECT_EQ(run_phase(), 1);
    EXPECT_EQ(said.out, failing_processor_on_console());
}

TEST_F(PrereqDriverTest, TheOptionalPhaseRunsAlsoWhenNoVersionMatched) {
    write_file("[]\n" + kFailingProcessor);
    closeLog();
    const Said all = said_by([&] {
        checkPreReqs({.paramLoc = file,
                      .scratchLoc = scratch,
                      .gsTimeStamp = "STAMP",
                      .gsLogFileName = "/log",
                      .silent = true,
                      .invPtrLocation = room.file("none"),
                      .bExecSysPreReqs = false,
                      .bIgnorePreReqs = true,
                      ._bNoConsole = false,
                      ._bPlatPrereqs = true});
    });
    EXPECT_EQ(all.out, shown("S_NO_PREQ_RUN") + failing_processor_on_console() +
                           shown("S_IGNORE_OPT_SYS_PREREQ") + "\n");
}

TEST_F(PrereqDriverTest, NothingIsExplainedOfPatchesThatASignalKeptFromBeingLookedFor) {
    write_file("[Mine]\nPATCHES=1\n");
    generic = required = false;
    optBuffer = "Mine";
    result_of_patches = 1;
    EXPECT_EQ(run_phase(), 1);
    EXPECT_NE(said.out, "");
    note_signals();
    signal_comes = true;
    run_phase();
    signal_comes = false;
    forget_noted_signal();
    EXPECT_EQ(said.out, "");
}

TEST_F(PrereqDriverTest, TheOptionalPhaseOfNoVersionPasses) {
    write_file("[Generic Prereqs]\n" + kFailingProcessor);
    generic = required = false;
    EXPECT_EQ(run_phase(), 0);
    EXPECT_EQ(said.out, "");
}

} // namespace
