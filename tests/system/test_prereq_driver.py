"""The prerequisite driver: which phases run, what a failed one leads to in each
mode, and in which order all of it is shown and recorded."""

import os
import stat

import pytest

from harness import OPERATOR_HOME, assert_same, de, en, read_file, write_script
from prereq_texts import (CERTIFIED, GENERIC, MACHINE, OPTIONAL, PKGINFO, RELEASE, REQUIRED, Said,
                          certified_host, has_display, has_packages, has_patches, has_processors,
                          has_swap)

FAILING = {"PROCESSOR": "sun4u,sun4v"}
PASSING = {"PROCESSOR": MACHINE}
UNCERTIFIED = (CERTIFIED, {"Solaris": "5.8,5.9"})


def failing(said=None):
    """What the failing check says."""
    return (said or Said()).processor("sun4u or sun4v", passed=False)


def required_passed(said=None):
    """A required phase without checks of its own."""
    return (said or Said()).certified_host().report("S_PRE_REQREQ_PASSED")


# ---- phases ---------------------------------------------------------------

def test_a_parameter_file_without_prerequisites_checks_nothing(home):
    home.ini()
    Said().assert_went_on(home.launch(), home)


@pytest.mark.parametrize("setting, runs", [
    (None, False), ("FALSE", False), ("", False), ("true", False), ("XTRUE", False),
    ("TRUE", True), ("T", True), ("Tuesday", True)])
def test_a_platform_setting_that_begins_with_t_turns_the_platforms_phases_on(home, setting, runs):
    home.ini((GENERIC, PASSING), (CERTIFIED, {"Solaris": RELEASE}), (REQUIRED, PASSING),
             (OPTIONAL, PASSING), PLATFORM_PREREQS=setting)
    said = Said().processor(MACHINE)
    if runs:
        said.certified_host().processor(MACHINE).report("S_PRE_REQREQ_PASSED").processor(MACHINE)
    said.assert_went_on(home.launch(), home)


def test_the_phases_run_in_their_own_order_and_the_checks_in_that_of_the_file(home):
    has_packages("SUNWcsr")
    certified_host(home,
                   (OPTIONAL, [("PACKAGES", "SUNWcsr"), ("TEMP_SPACE", "0")]),
                   (REQUIRED, [("TEMP_SPACE", "-1"), ("PACKAGES", "SUNWcsr"),
                               ("TEMP_SPACE", "-2")]),
                   (GENERIC, [("PROCESSOR", MACHINE), ("PACKAGES", "SUNWcsr")]))
    (Said().processor(MACHINE).packages("SUNWcsr")
     .certified_host().temp_space("-1", 0).packages("SUNWcsr").temp_space("-2", 0)
     .report("S_PRE_REQREQ_PASSED").packages("SUNWcsr").temp_space("0", 0)
     .assert_went_on(home.launch(), home))


def test_only_the_sections_of_the_matching_release_run(home):
    home.ini((CERTIFIED, {"Solaris": f"5.9,{RELEASE}"}), ("Solaris-5.9-required", FAILING),
             ("Solaris-5.9-optional", FAILING), (REQUIRED, {"TEMP_SPACE": "0"}),
             PLATFORM_PREREQS="TRUE")
    (Said().certified(f"5.9 or {RELEASE}").temp_space("0", 0).report("S_PRE_REQREQ_PASSED")
     .assert_went_on(home.launch(), home))


def test_without_certified_releases_no_required_check_runs_and_nothing_has_passed(home):
    for sections in ([], [(CERTIFIED, {"Other": "5.9"})], [(CERTIFIED, {"Solaris": ""})]):
        home.ini((GENERIC, PASSING), *sections, (REQUIRED, FAILING), (OPTIONAL, FAILING),
                 PLATFORM_PREREQS="TRUE")
        (Said().processor(MACHINE).report("S_NO_PREQ_RUN").assert_went_on(home.launch(), home))


def test_a_certified_release_without_sections_passes(home):
    certified_host(home)
    required_passed().assert_went_on(home.launch(), home)


def test_keys_that_name_no_check_and_empty_values_are_skipped(home):
    home.ini((GENERIC, [("processor", "sun4u"), ("PROCESSORS", "sun4u"), ("PROCESSOR", ""),
                        ("PACKAGES", " "), ("OTHER", "x"), ("TEMP_SPACE", "0")]))
    Said().temp_space("0", 0).assert_went_on(home.launch(), home)


def test_a_line_without_a_key_ends_a_section(home):
    home.ini((GENERIC, "TEMP_SPACE=0\n=x\nPROCESSOR=sun4u\n"))
    Said().temp_space("0", 0).assert_went_on(home.launch(), home)


def test_swap_and_display_are_checked_in_the_generic_phase_alone(home):
    checks = {"SWAP_SPACE": "1", "MIN_DISPLAY_COLORS": "2"}
    has_swap("1m", "1m")
    has_display(8)
    certified_host(home, (GENERIC, checks), (REQUIRED, checks), (OPTIONAL, checks))
    said = Said().swap("1", 2).display("2", 256)
    required_passed(said).assert_went_on(home.launch(), home)


def test_a_silent_launch_checks_swap_and_no_display(home):
    has_swap("1m", "1m")
    home.ini((GENERIC, {"MIN_DISPLAY_COLORS": "2", "SWAP_SPACE": "1"}))
    Said().swap("1", 2).assert_went_on(home.launch("-silent"), home)


def test_a_check_that_passes_later_does_not_undo_a_failure(home):
    home.ini((GENERIC, [("PROCESSOR", "sun4u,sun4v"), ("TEMP_SPACE", "0")]))
    (failing().temp_space("0", 0).required_failed()
     .assert_ended(home.launch("-noConsole"), home))


def test_all_checks_of_a_phase_run_after_a_failure(home):
    home.ini((GENERIC, [("PROCESSOR", "sun4u,sun4v"), ("TEMP_SPACE", "0"),
                        ("PROCESSOR", "sparc")]))
    (failing().temp_space("0", 0).processor("sparc", passed=False).required_failed()
     .assert_ended(home.launch("-noConsole"), home))


def test_a_parameter_file_that_cannot_be_read_has_no_prerequisites(home):
    home.ini((GENERIC, FAILING))
    os.chmod(home.ini_path, 0)
    Said().assert_ended(home.launch("-executeSysPrereqs"), home,
                        stderr=en("S_ERPARAMFILE_READ", home.ini_path) + b": Permission denied\n")


# ---- failures without a question ------------------------------------------

@pytest.mark.parametrize("option", ["-noConsole", "-silent"])
@pytest.mark.parametrize("section", [GENERIC, REQUIRED])
def test_a_failed_generic_or_required_phase_ends_the_launch(home, section, option):
    certified_host(home, (section, FAILING), (OPTIONAL, {"TEMP_SPACE": "0"}))
    said = Said() if section == GENERIC else Said().certified_host()
    failing(said).required_failed().assert_ended(home.launch(option), home)


@pytest.mark.parametrize("option", ["-noConsole", "-silent"])
def test_a_failed_optional_phase_ends_the_launch(home, option):
    certified_host(home, (OPTIONAL, FAILING))
    (failing(required_passed()).report("S_FAILED_OPTIONAL")
     .assert_ended(home.launch(option), home))


def test_failure_messages_are_collected_in_the_order_of_the_checks(home):
    certified_host(home, (REQUIRED, [
        ("TEMP_SPACE_FAILURE_MESSAGE", "No room."), ("PROCESSOR", "sun4u,sun4v"),
        ("PROCESSOR_FAILURE_MESSAGE", "Wrong machine."), ("TEMP_SPACE", "1e18")]))
    launch = home.launch("-noConsole", env={"TEMP": "/small"})
    (failing(Said().certified_host()).no_temp_space("1e18", 2)
     .required_failed("Wrong machine.", "No room.").assert_ended(launch, home))


def test_the_message_of_a_check_that_passed_is_not_shown(home):
    certified_host(home, (REQUIRED, [
        ("PROCESSOR", "sun4u,sun4v"), ("TEMP_SPACE", "0"),
        ("TEMP_SPACE_FAILURE_MESSAGE", "No room.")]))
    (failing(Said().certified_host()).temp_space("0", 0).required_failed()
     .assert_ended(home.launch("-noConsole"), home))


def test_every_check_has_a_failure_message_of_its_own(home):
    write_script(PKGINFO, "exit 1\n")
    has_patches()
    has_processors(1)
    certified_host(home, (REQUIRED, [
        ("PACKAGES", "SUNWcsr"), ("PACKAGES_FAILURE_MESSAGE", "a"),
        ("PROCESSOR", "sun4u,sun4v"), ("PROCESSOR_FAILURE_MESSAGE", "b"),
        ("TEMP_SPACE", "1e18"), ("TEMP_SPACE_FAILURE_MESSAGE", "c"),
        ("PATCHES", "1-1"), ("PATCHES_FAILURE_MESSAGE", "d"),
        ("CPU", "2"), ("CPU_FAILURE_MESSAGE", "e")]))
    launch = home.launch("-noConsole", env={"TEMP": "/small"})
    (failing(Said().certified_host().packages("SUNWcsr", "SUNWcsr")).no_temp_space("1e18", 2)
     .patches("1-1", ("1-1", ("S_NOT_FOUND_PATCH",), ("S_SFAILED",)), passed=False)
     .cpu("2", 1, passed=False).required_failed("a", "b", "c", "d", "e")
     .assert_ended(launch, home))


def test_failure_messages_are_looked_up_in_the_required_section_and_then_in_the_optional_one(home):
    certified_host(home, (REQUIRED, FAILING),
                   (OPTIONAL, {"PROCESSOR_FAILURE_MESSAGE": "Optional."}))
    (failing(Said().certified_host()).required_failed("Optional.")
     .assert_ended(home.launch("-noConsole"), home))
    certified_host(home, (OPTIONAL, {**FAILING, "PROCESSOR_FAILURE_MESSAGE": "Optional."}),
                   (REQUIRED, {"PROCESSOR_FAILURE_MESSAGE": "Required."}))
    (failing(required_passed()).plain("\n\nRequired.")
     .assert_ended(home.launch("-noConsole"), home))


def test_a_generic_check_has_no_failure_message(home):
    message = {"PROCESSOR_FAILURE_MESSAGE": "Wrong machine."}
    certified_host(home, (GENERIC, {**FAILING, **message}), (REQUIRED, message),
                   (OPTIONAL, message))
    failing().required_failed().assert_ended(home.launch("-noConsole"), home)


def test_a_failed_optional_phase_with_a_message_shows_nothing_else(home):
    certified_host(home, (OPTIONAL, {**FAILING, "PROCESSOR_FAILURE_MESSAGE": "Too slow."}))
    (failing(required_passed()).plain("\n\nToo slow.")
     .assert_ended(home.launch("-silent"), home))


# ---- failures ignored -----------------------------------------------------

def test_ignored_failures_are_told_phase_by_phase_and_the_launch_goes_on(home):
    certified_host(home, (GENERIC, FAILING), (REQUIRED, FAILING), (OPTIONAL, FAILING))
    said = failing().report("S_IGNORE_REQ_SYS_PREREQ").certified_host()
    said = failing(said).report("S_IGNORE_REQ_SYS_PREREQ")
    (failing(said).report("S_IGNORE_OPT_SYS_PREREQ")
     .assert_went_on(home.launch("-ignoreSysPrereqs"), home))


def test_ignored_failures_show_no_failure_message_and_no_question(home):
    certified_host(home, (REQUIRED, {**FAILING, "PROCESSOR_FAILURE_MESSAGE": "Wrong machine."}))
    (failing(Said().certified_host()).report("S_IGNORE_REQ_SYS_PREREQ")
     .assert_went_on(home.launch("-ignoreSysPrereqs", stdin=b"n\n"), home))


def test_failure_messages_of_one_phase_are_forgotten_in_the_next(home):
    home.set_texts(S_FAILED_PATCHES_1="Patches are missing.")
    certified_host(home,
                   (REQUIRED, {**FAILING, "PROCESSOR_FAILURE_MESSAGE": "Patches are missing."}),
                   (OPTIONAL, {"TEMP_SPACE": "1e18"}))
    launch = home.launch("-ignoreSysPrereqs", env={"TEMP": "/small"})
    (failing(Said().certified_host()).report("S_IGNORE_REQ_SYS_PREREQ").no_temp_space("1e18", 2)
     .report("S_IGNORE_OPT_SYS_PREREQ").assert_went_on(launch, home))


def test_nothing_is_ignored_where_nothing_fails(home):
    certified_host(home, (GENERIC, PASSING))
    required_passed(Said().processor(MACHINE)).assert_went_on(
        home.launch("-ignoreSysPrereqs", "-silent"), home)


def test_an_ignored_uncertified_release_runs_none_of_its_sections(home):
    home.ini((CERTIFIED, {"Solaris": "5.8,5.9", "CERTIFIED_VERSION_FAILURE_MESSAGE": "Not for you.",
                          "CERTIFIED_VERSION_WARN": "TRUE"}),
             ("Solaris-5.9-required", FAILING), ("Solaris-5.9-optional", FAILING),
             PLATFORM_PREREQS="TRUE")
    (Said().certified("5.8 or 5.9", passed=False).plain("\n\nNot for you.")
     .report("S_IGNORE_REQ_SYS_PREREQ").assert_went_on(home.launch("-ignoreSysPrereqs"), home))


# ---- uncertified releases -------------------------------------------------

@pytest.mark.parametrize("options", [[], ["-silent"], ["-noConsole"]])
@pytest.mark.parametrize("warn", [None, "true", "T", "FALSE", "TRUE1"])
def test_an_uncertified_release_ends_the_launch_without_a_question(home, warn, options):
    home.ini((CERTIFIED, {"Solaris": "5.8,5.9", "CERTIFIED_VERSION_WARN": warn}),
             PLATFORM_PREREQS="TRUE")
    (Said().certified("5.8 or 5.9", passed=False)
     .assert_ended(home.launch(*options, stdin=b"y\n"), home))


def test_an_uncertified_release_shows_its_failure_message(home):
    home.ini((GENERIC, PASSING),
             (CERTIFIED, {"Solaris": "5.8", "CERTIFIED_VERSION_FAILURE_MESSAGE": "Not for you."}),
             PLATFORM_PREREQS="TRUE")
    (Said().processor(MACHINE).certified("5.8", passed=False).plain("\n\nNot for you.")
     .assert_ended(home.launch(), home))


# ---- execute-only mode ----------------------------------------------------

def test_execute_only_mode_ends_with_255_even_when_all_is_well(home):
    certified_host(home, (GENERIC, PASSING), (REQUIRED, FAILING))
    Said().processor(MACHINE).assert_ended(home.launch("-executeSysPrereqs"), home)


def test_execute_only_mode_without_generic_checks_only_names_the_log(home):
    home.ini()
    Said().assert_ended(home.launch("-executeSysPrereqs"), home)


def test_execute_only_mode_shows_the_checks_and_neither_failure_text_nor_question(home):
    certified_host(home, (GENERIC, FAILING), (REQUIRED, FAILING))
    for options in ([], ["-silent"], ["-noConsole"]):
        failing().assert_ended(home.launch("-executeSysPrereqs", *options, stdin=b"y\n"), home)


def test_execute_only_mode_can_ignore_a_failure_and_still_ends(home):
    home.ini((GENERIC, FAILING))
    launch = home.launch("-executeSysPrereqs", "-ignoreSysPrereqs")
    failing().report("S_IGNORE_REQ_SYS_PREREQ").assert_ended(launch, home)
    home.ini((GENERIC, PASSING))
    launch = home.launch("-executeSysPrereqs", "-ignoreSysPrereqs")
    Said().processor(MACHINE).assert_ended(launch, home)


# ---- surroundings ---------------------------------------------------------

def test_a_prerequisite_session_runs_the_checks_too(home):
    home.ini((GENERIC, FAILING))
    launch = home.launch("-prereqChecker", "-silent", "PREREQ_CONFIG_LOCATION=/tmp")
    launch.assert_status(255)
    said = failing().required_failed()
    assert_same(launch.stdout, en("S_STARTINSTALLERMSG", "Prerequisite Checker") + said.console
                + en("S_EXIT_MSG", launch.log_path))


def test_without_an_inventory_the_log_that_is_named_lies_in_the_scratch_directory(bare_home):
    bare_home.ini((GENERIC, FAILING))
    launch = bare_home.launch("-noConsole")
    assert launch.log_path == f"{launch.scratch}/installActions{launch.time_stamp}.log"
    failing().required_failed().assert_ended(launch, bare_home)


def test_without_a_log_everything_is_shown_and_the_log_named_is_empty(home):
    home.ini((GENERIC, FAILING))
    launch = home.launch("-noConsole", "-prereqLogLoc", "/readonly")
    launch.assert_status(255)
    said = failing().required_failed()
    assert_same(launch.stdout, said.started() + said.console + en("S_EXIT_MSG", ""))
    assert launch.logs == {} and launch.stderr == b""


def test_the_commands_inherit_nothing_but_the_standard_streams(home):
    seen = OPERATOR_HOME + "/descriptors"
    write_script(PKGINFO, f"ls /proc/$$/fd > {seen}\necho $1\n")
    home.ini((GENERIC, {"PACKAGES": "SUNWcsr"}))
    home.launch("-silent").assert_status(0)
    assert {name for name in read_file(seen).split() if int(name) < 10} == {b"0", b"1", b"2"}


def test_a_launch_that_ends_here_leaves_its_scratch_directory(home):
    write_script(PKGINFO, "echo other\n")
    home.ini((GENERIC, {"PACKAGES": "SUNWcsr"}))
    launch = home.launch("-noConsole")
    Said().packages("SUNWcsr", "SUNWcsr").required_failed().assert_ended(launch, home)
    assert stat.S_ISDIR(os.lstat(launch.scratch).st_mode)
    assert read_file(f"{launch.scratch}/command_output_{launch.leader}") == b"other\n"


# ---- one long run ---------------------------------------------------------

def host_with_everything():
    has_packages("SUNWcsr", "SUNWcsu")
    has_patches("112233-07", ("445566-01", "223344-09"))
    has_processors(2400, 1000)
    has_swap("1200k", "2048m")
    has_display(24)


def long_run(home, stdin, env=None):
    certified_host(
        home,
        (GENERIC, [("PACKAGES", "SUNWcsr,SUNWcsu"), ("PROCESSOR", f"sun4u,{MACHINE}"),
                   ("TEMP_SPACE", "1.5"), ("SWAP_SPACE", "2000"), ("PATCHES", "112233-05"),
                   ("CPU", "1000"), ("MIN_DISPLAY_COLORS", "256")]),
        (REQUIRED, [("PATCHES", "112233-05,223344-09"), ("LOG_PATCHES_TO_CONSOLE", "FALSE"),
                    ("PACKAGES", "SUNWcsr"), ("SWAP_SPACE", "99999999"), ("CPU", "2400")]),
        (OPTIONAL, [("PACKAGES", "SUNWcsr,SUNWextra"), ("PATCHES", "999999-01,112233-09"),
                    ("TEMP_SPACE", "100"), ("TEMP_SPACE_FAILURE_MESSAGE", "No room."),
                    ("PROCESSOR", MACHINE)]))
    return home.launch(stdin=stdin, env={"TEMP": "/small", **(env or {})})


def said_in_long_run(said, log_path):
    said.packages("SUNWcsr,SUNWcsu").processor(f"sun4u or {MACHINE}").temp_space("1.5", 1)
    said.swap("2000", 2049).patches("112233-05", ("112233-05", ("S_FOUND_PATCH", "112233-07")))
    said.cpu("1000", 2400).display("256", 16777216).certified_host()
    said.patches("112233-05,223344-09", ("112233-05", ("S_FOUND_PATCH", "112233-07")),
                 ("223344-09", ("S_OBSOLETED_PATCH", "223344-09")), value_shown=False)
    said.packages("SUNWcsr").cpu("2400", 2400).report("S_PRE_REQREQ_PASSED")
    said.packages("SUNWcsr,SUNWextra", "SUNWextra")
    said.patches("999999-01,112233-09", ("999999-01", ("S_NOT_FOUND_PATCH",), ("S_SFAILED",)),
                 ("112233-09", ("S_FOUND_PATCH", "112233-07"), ("S_SFAILED",)),
                 passed=False, value_shown=False)
    said.show("S_FAILED_PATCHES_1", log_path).show("S_FAILED_PATCHES_2")
    said.show("S_FAILED_PATCHES_SOLARIS").record("S_FAILED_PATCHES_SOLARIS")
    said.no_temp_space("100", 1).processor(MACHINE)
    return said.plain(en("S_FAILED_PATCHES_1", log_path) + en("S_FAILED_PATCHES_2")
                      + b"\n\nNo room.")


@pytest.mark.parametrize("language", [en, de])
def test_one_run_through_every_phase_shows_and_records_all_in_order(home, german, language):
    host_with_everything()
    launch = long_run(home, b"\xff\nwell\n y\nyes\n", german if language is de else None)
    said = said_in_long_run(Said(language), launch.log_path)
    for _ in range(4):
        said.report("S_CONTINUE")
    said.assert_went_on(launch, home, closed_by="")


def test_one_run_through_every_phase_ends_when_the_operator_refuses(home, german):
    host_with_everything()
    launch = long_run(home, b"\n", german)
    said = said_in_long_run(Said(de), launch.log_path)
    said.report("S_CONTINUE").report("S_CONTINUE_NO").assert_ended(launch, home)
