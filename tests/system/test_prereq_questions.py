"""The two questions of the prerequisite checks: every answer, terminals, and
standard input that ends or is closed."""

import time

import pytest

from harness import assert_same, de, en
from prereq_texts import CERTIFIED, GENERIC, MACHINE, OPTIONAL, REQUIRED, Said, certified_host

FAILING = {"PROCESSOR": "sun4u"}

YES = [b"y\n", b"Y\n", b"yes\n", b"Yellow\n", b"y", b"y\r\n"]
NO = [b"n\n", b"N\n", b"no\n", b"Never\n", b"n", b"\n"]
# Each of these lines is no answer.
NEITHER = [b"maybe\n", b" y\n", b" \n", b"\ty\n", b"0\n", b"\xc3\xbf\n", b"\r\n", b"j\n"]


def failed(said=None):
    return (said or Said()).processor("sun4u", passed=False)


# ---- after a failed phase -------------------------------------------------

@pytest.mark.parametrize("answer", YES)
def test_yes_after_a_failed_generic_phase_skips_the_other_phases(home, answer):
    certified_host(home, (GENERIC, FAILING), (REQUIRED, FAILING), (OPTIONAL, FAILING))
    (failed().required_failed().report("S_CONTINUE").report("S_IGNORE_REQ_SYS_PREREQ")
     .assert_went_on(home.launch(stdin=answer), home, closed_by=""))


@pytest.mark.parametrize("answer", [b"y\n", b"Y\n"])
def test_yes_after_a_failed_required_phase_skips_the_optional_one(home, answer):
    certified_host(home, (REQUIRED, FAILING), (OPTIONAL, FAILING))
    (failed(Said().certified_host()).required_failed().report("S_CONTINUE")
     .report("S_IGNORE_REQ_SYS_PREREQ")
     .assert_went_on(home.launch(stdin=answer), home, closed_by=""))


@pytest.mark.parametrize("answer", [b"y\n", b"Y\n"])
def test_yes_after_a_failed_optional_phase_is_not_told(home, answer):
    certified_host(home, (OPTIONAL, FAILING))
    (failed(Said().certified_host().report("S_PRE_REQREQ_PASSED")).report("S_FAILED_OPTIONAL")
     .report("S_CONTINUE").assert_went_on(home.launch(stdin=answer), home, closed_by=""))


@pytest.mark.parametrize("answer", NO)
@pytest.mark.parametrize("section", [GENERIC, REQUIRED, OPTIONAL])
def test_no_after_a_failed_phase_ends_the_launch(home, section, answer):
    certified_host(home, (section, FAILING))
    said = Said() if section == GENERIC else Said().certified_host()
    if section == OPTIONAL:
        failed(said.report("S_PRE_REQREQ_PASSED")).report("S_FAILED_OPTIONAL")
    else:
        failed(said).required_failed()
    (said.report("S_CONTINUE").report("S_CONTINUE_NO")
     .assert_ended(home.launch(stdin=answer), home))


@pytest.mark.parametrize("line", NEITHER)
def test_any_other_answer_asks_again(home, line):
    home.ini((GENERIC, FAILING))
    (failed().required_failed().report("S_CONTINUE").report("S_CONTINUE").report("S_CONTINUE_NO")
     .assert_ended(home.launch(stdin=line + b"n\ny\n"), home))


def test_the_question_is_asked_until_it_is_answered(home):
    home.ini((GENERIC, FAILING))
    said = failed().required_failed()
    for _ in range(len(NEITHER) + 1):
        said.report("S_CONTINUE")
    said.report("S_IGNORE_REQ_SYS_PREREQ").assert_went_on(
        home.launch(stdin=b"".join(NEITHER) + b"y\nn\n"), home, closed_by="")


def test_an_answer_of_a_thousand_characters_counts_by_its_first(home):
    home.ini((GENERIC, FAILING))
    said = failed().required_failed().report("S_CONTINUE")
    said.report("S_IGNORE_REQ_SYS_PREREQ").assert_went_on(
        home.launch(stdin=b"y" + b"n" * 999 + b"\n"), home, closed_by="")


@pytest.mark.parametrize("line, questions", [
    (b"x" * 1022 + b"\ny\n", 2),             # a whole line of 1023 bytes
    (b"x" * 1023 + b"y\n", 2),                # its last byte is the next answer
    (b"x" * 1023 + b" more\ny\n", 3),
], ids=["longest line", "a byte too long", "much too long"])
def test_what_an_answer_has_beyond_1023_bytes_is_the_next_answer(home, line, questions):
    home.ini((GENERIC, FAILING))
    said = failed().required_failed()
    for _ in range(questions):
        said.report("S_CONTINUE")
    said.report("S_IGNORE_REQ_SYS_PREREQ").assert_went_on(
        home.launch(stdin=line + b"n\n"), home, closed_by="")


def test_the_line_feed_behind_an_answer_of_1023_bytes_is_an_empty_answer(home):
    home.ini((GENERIC, FAILING))
    (failed().required_failed().report("S_CONTINUE").report("S_CONTINUE").report("S_CONTINUE_NO")
     .assert_ended(home.launch(stdin=b"x" * 1023 + b"\ny\n"), home))


def test_the_failure_texts_stand_between_the_checks_and_the_question(home):
    certified_host(home, (REQUIRED, {**FAILING, "PROCESSOR_FAILURE_MESSAGE": "Wrong machine."}))
    (failed(Said().certified_host()).required_failed("Wrong machine.").report("S_CONTINUE")
     .report("S_CONTINUE_NO").assert_ended(home.launch(stdin=b"n\n"), home))


def test_the_installer_gets_the_input_behind_the_answer(home):
    home.ini((GENERIC, FAILING))
    launch = home.launch(stdin=b"y\nfor the installer\n", java={"stdin": 1})
    launch.assert_status(0)
    assert launch.record.stdin == b"for the installer\n"


def test_the_question_is_shown_in_the_operators_language_and_recorded_in_english(home, german):
    home.ini((GENERIC, FAILING))
    said = failed(Said(de)).required_failed().report("S_CONTINUE").report("S_CONTINUE")
    said.report("S_CONTINUE_NO").assert_ended(home.launch(stdin=b"j\nn\n", env=german), home)


def test_percent_signs_of_the_question_are_shown_once(home):
    home.ini((GENERIC, FAILING))
    home.set_texts(S_CONTINUE="100%% sure? ", S_CONTINUE_NO="0%%\n")
    launch = home.launch(stdin=b"n\n")
    said = failed().required_failed().plain("100% sure? ").plain("0%\n")
    said.assert_ended(launch, home)


# ---- an uncertified release as a warning ----------------------------------

NOT_CERTIFIED = b"\nThe version of this operating system is not certified.\n"
QUESTION = b"\nDo you want to continue? (y/n) [n]: "
GOES_ON = (b"The user has verified that the product can be installed on this platform. "
           b"Continuing with the install...\n")
QUITS = (b"The user has verified that the product cannot be installed on this platform. "
         b"Quitting the install...\n")


def uncertified(home, **certified):
    home.ini((GENERIC, {"PROCESSOR": MACHINE}),
             (CERTIFIED, {"Solaris": "5.8,5.9", "CERTIFIED_VERSION_WARN": "TRUE", **certified}),
             ("Solaris-5.9-required", FAILING), ("Solaris-5.9-optional", FAILING),
             (REQUIRED, FAILING), (OPTIONAL, FAILING), PLATFORM_PREREQS="TRUE")


def warned(said=None, message=b"", warning=NOT_CERTIFIED):
    return ((said or Said()).processor(MACHINE).certified("5.8 or 5.9", passed=False)
            .plain(message).show_plain("\n\n").plain(warning))


@pytest.mark.parametrize("answer", YES)
def test_yes_to_the_warning_passes_the_required_phase_without_its_checks(home, answer):
    uncertified(home)
    (warned().plain(QUESTION).plain(GOES_ON).report("S_PRE_REQREQ_PASSED")
     .assert_went_on(home.launch(stdin=answer), home))


@pytest.mark.parametrize("answer", NO)
def test_no_to_the_warning_ends_the_launch(home, answer):
    uncertified(home)
    warned().plain(QUESTION).plain(QUITS).assert_ended(home.launch(stdin=answer), home)


@pytest.mark.parametrize("line", NEITHER)
def test_any_other_answer_to_the_warning_asks_again(home, line):
    uncertified(home)
    (warned().plain(QUESTION).plain(QUESTION).plain(QUITS)
     .assert_ended(home.launch(stdin=line + b"n\ny\n"), home))


def test_the_warning_names_where_the_certified_releases_are_listed(home):
    uncertified(home, CERTIFIED_VERSION_LOCATION="http://example.com/list",
                CERTIFIED_VERSION_FAILURE_MESSAGE="Not for you.")
    warning = (b"\nThe version of this operating system is not certified."
               b"Check 'http://example.com/list' for a list of certified versions.\n")
    (warned(message=b"\n\nNot for you.", warning=warning).plain(QUESTION).plain(QUITS)
     .assert_ended(home.launch(stdin=b"n\n"), home))


def test_a_silent_launch_is_warned_and_ends(home):
    uncertified(home)
    warned().assert_ended(home.launch("-silent", stdin=b"y\n"), home)


def test_a_launch_without_console_is_asked_all_the_same(home):
    uncertified(home)
    (warned().plain(QUESTION).plain(GOES_ON).report("S_PRE_REQREQ_PASSED")
     .assert_went_on(home.launch("-noConsole", stdin=b"y\n"), home))


def test_the_warning_is_english_in_every_language(home, german):
    uncertified(home)
    (warned(Said(de)).plain(QUESTION).plain(GOES_ON).report("S_PRE_REQREQ_PASSED")
     .assert_went_on(home.launch(env=german, stdin=b"Y\n"), home))


# ---- terminals ------------------------------------------------------------

def test_a_terminal_shows_the_question_before_it_waits_for_the_answer(home):
    home.ini((GENERIC, FAILING))
    home.set_texts(S_CONTINUE="Continue? ")
    terminal = home.terminal()
    for answer in ("perhaps", "y"):
        terminal.expect("Continue? ")
        terminal.type(answer + "\n")
    launch = terminal.finish()
    launch.assert_status(0)
    said = failed().required_failed()
    assert_same(launch.stdout, said.started() + said.console + b"Continue? perhaps\nContinue? y\n"
                + en("S_IGNORE_REQ_SYS_PREREQ"))
    assert said.log + b"Continue? Continue? " + en("S_IGNORE_REQ_SYS_PREREQ") in launch.log


def test_a_terminal_shows_the_warnings_question_before_it_waits_for_the_answer(home):
    uncertified(home)
    terminal = home.terminal()
    terminal.expect(QUESTION)
    terminal.type("\n")
    launch = terminal.finish()
    launch.assert_status(255)
    said = warned().plain(QUESTION).show_plain("\n").plain(QUITS)
    assert_same(launch.stdout, said.started() + said.console + en("S_EXIT_MSG", launch.log_path))


# ---- no more input --------------------------------------------------------

ASKED = 3


def repeated(home, said, question, recorded, stdin, **options):
    """A launch whose question repeats at the end of its input, once a second, until
    somebody ends it; a line before the end is answered at once."""
    opening = said.started() + said.console
    before = time.monotonic()
    launch = home.launch(read_at_most=len(opening + question * ASKED), stdin=stdin, **options)
    passed = time.monotonic() - before
    seconds = ASKED - 1 - (stdin or b"").count(b"\n")
    assert seconds <= passed < seconds + 4 and launch.status != 0
    assert_same(launch.stdout, opening + question * ASKED)
    assert_same(launch.log.partition(said.log)[2], recorded * ASKED)
    assert not launch.running and launch.record is None


@pytest.mark.parametrize("stdin", [b"", None, b"x\n"],
                         ids=["ended", "closed", "ended after a line"])
def test_the_end_of_the_input_repeats_the_question_without_end(home, stdin):
    home.ini((GENERIC, FAILING))
    question = en("S_CONTINUE")
    repeated(home, failed().required_failed(), question, question, stdin=stdin)


@pytest.mark.parametrize("stdin", [b"", None], ids=["ended", "closed"])
def test_the_end_of_the_input_repeats_the_warnings_question_without_end(home, stdin):
    uncertified(home)
    repeated(home, warned(), QUESTION, QUESTION, stdin=stdin)


def test_the_question_repeats_in_the_operators_language_and_in_the_log_in_english(home, german):
    home.ini((GENERIC, FAILING))
    repeated(home, failed(Said(de)).required_failed(), de("S_CONTINUE"), en("S_CONTINUE"),
             stdin=b"", env=german)


def test_launches_that_ask_nothing_need_no_input(home):
    home.ini((GENERIC, FAILING))
    for option in ("-silent", "-noConsole"):
        failed().required_failed().assert_ended(home.launch(option, stdin=None), home)
    failed().report("S_IGNORE_REQ_SYS_PREREQ").assert_went_on(
        home.launch("-ignoreSysPrereqs", stdin=None), home)
