"""Every single check of the prerequisites but the patches: what it reads, shows
and records, and when it passes."""

import os

import pytest

from harness import OPERATOR_HOME, en, read_file, write_file, write_script
from prereq_texts import (CERTIFIED, GENERIC, MACHINE, OPENWIN_XDPYINFO, PKGINFO, PSRINFO, RELEASE,
                          SWAP, XDPYINFO, Said, assert_check, assert_fails, assert_passes, checked,
                          has_display, has_packages, has_processors, has_swap, prints)

CALLS = OPERATOR_HOME + "/calls"


def counts_calls(path, body):
    """A command that notes its name, arguments and language before body runs."""
    return write_script(path, f'echo "$0 $*|${{LC_ALL-unset}}" >> {CALLS}\n{body}')


def calls():
    return read_file(CALLS).decode().splitlines() if os.path.exists(CALLS) else []


# ---- certified release ----------------------------------------------------

@pytest.mark.parametrize("value, words", [
    (RELEASE, RELEASE),
    (f"5.9,{RELEASE}", f"5.9 or {RELEASE}"),
    (f"{RELEASE},5.9,5.8", f"{RELEASE}, 5.9 or 5.8"),
    (f",,5.9,,{RELEASE},", f"5.9 or {RELEASE}"),
], ids=["alone", "last of two", "first of three", "among empty items"])
def test_the_release_in_the_list_is_certified(home, value, words):
    home.ini((CERTIFIED, {"Solaris": value}), PLATFORM_PREREQS="TRUE")
    Said().certified(words).report("S_PRE_REQREQ_PASSED").assert_went_on(home.launch(), home)


@pytest.mark.parametrize("value, words", [
    ("5.8,5.9", "5.8 or 5.9"),
    (f"5.9, {RELEASE}", f"5.9 or  {RELEASE}"),
    (RELEASE + ".1", RELEASE + ".1"),
    (RELEASE[:-1], RELEASE[:-1]),
    (",,", ""),
], ids=["others", "after a blank", "longer", "shorter", "no item"])
def test_a_list_without_exactly_the_release_does_not_certify_it(home, value, words):
    home.ini((CERTIFIED, {"Solaris": value}), PLATFORM_PREREQS="TRUE")
    Said().certified(words, passed=False).assert_ended(home.launch(), home)


# ---- packages -------------------------------------------------------------

def test_installed_packages_pass(home):
    has_packages("SUNWcsr", "SUNWcsu")
    assert_passes(home, "PACKAGES", "SUNWcsr,SUNWcsu", Said().packages("SUNWcsr,SUNWcsu"))


def test_every_missing_package_is_named_and_the_others_are_still_looked_at(home):
    has_packages("SUNWcsr", "SUNWcsu")
    value = "SUNWone,SUNWcsr,SUNWtwo,SUNWcsu,SUNWthree"
    assert_fails(home, "PACKAGES", value,
                 Said().packages(value, "SUNWone", "SUNWtwo", "SUNWthree"))


def test_each_package_is_asked_for_by_itself_in_the_c_locale(home):
    counts_calls(PKGINFO, 'echo "system $1"\n')
    assert_passes(home, "PACKAGES", "SUNWcsr,SUNWcsu", Said().packages("SUNWcsr,SUNWcsu"))
    assert calls() == [f"{PKGINFO} SUNWcsr|C", f"{PKGINFO} SUNWcsu|C"]


@pytest.mark.parametrize("name", ["SUNW$(touch${IFS}/tmp/x)", "SUNWx; touch /tmp/x", "it's",
                                  "SUNWx>/tmp/x"])
def test_a_package_name_with_characters_of_the_shell_is_asked_for_as_it_stands(home, name):
    counts_calls(PKGINFO, 'printf "%s\\n" "$1"\n')
    assert_passes(home, "PACKAGES", name, Said().packages(name))
    assert calls() == [f"{PKGINFO} {name}|C"]
    assert not os.path.exists("/tmp/x")


def test_empty_items_of_a_package_list_vanish(home):
    counts_calls(PKGINFO, 'echo "system $1"\n')
    assert_passes(home, "PACKAGES", ",,SUNWcsr,,SUNWcsu,", Said().packages(",,SUNWcsr,,SUNWcsu,"))
    assert calls() == [f"{PKGINFO} SUNWcsr|C", f"{PKGINFO} SUNWcsu|C"]


def test_a_package_list_of_commas_asks_for_nothing_and_passes(home):
    counts_calls(PKGINFO, "exit 1\n")
    assert_passes(home, "PACKAGES", ",,", Said().packages(",,"))
    assert calls() == []


def test_a_package_after_a_blank_is_found_because_the_output_has_one_too(home):
    has_packages("SUNWcsr", "SUNWcsu")
    assert_passes(home, "PACKAGES", "SUNWcsr, SUNWcsu", Said().packages("SUNWcsr, SUNWcsu"))
    has_packages("SUNWcsr")
    assert_fails(home, "PACKAGES", "SUNWcsr, SUNWcsu",
                 Said().packages("SUNWcsr, SUNWcsu", " SUNWcsu"))


def test_output_that_does_not_name_the_package_fails_it(home):
    prints(PKGINFO, "system      SUNWother Other\n")
    assert_fails(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr", "SUNWcsr"))


def test_a_package_that_is_named_and_not_found_fails(home):
    prints(PKGINFO, "system      SUNWcsr Core\nthe rest was not found\n")
    assert_fails(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr", "SUNWcsr"))


# ---- processor type -------------------------------------------------------

@pytest.mark.parametrize("value, words, passed", [
    (MACHINE, MACHINE, True),
    (f"sun4u,sun4v,{MACHINE}", f"sun4u, sun4v or {MACHINE}", True),
    (f"{MACHINE}, sun4u", f"{MACHINE} or  sun4u", True),
    (f",{MACHINE},,", MACHINE, True),
    (f"sun4u, {MACHINE}", f"sun4u or  {MACHINE}", False),
    ("sun4u,sun4v", "sun4u or sun4v", False),
    (MACHINE.upper(), MACHINE.upper(), False),
    (",", "", False),
], ids=["alone", "last", "blank elsewhere", "empty items", "after a blank", "others", "other case",
        "no item"])
def test_the_machine_must_be_exactly_an_item_of_the_processor_list(home, value, words, passed):
    assert_check(home, "PROCESSOR", value, Said().processor(words, passed), passed)


# ---- processor speed ------------------------------------------------------

@pytest.mark.parametrize("value, passed", [
    ("1", True), ("2399", True), ("2400", True), ("2401", False), ("0", False), ("-1", False),
    ("fast", False), ("2400.9 MHz", True), ("99999999999999999999", False)])
def test_the_processor_must_have_at_least_the_required_speed_above_0(home, value, passed):
    has_processors(2400)
    assert_check(home, "CPU", value, Said().cpu(value, 2400, passed), passed)


def test_only_the_first_processor_is_measured(home):
    has_processors(1000, 2400)
    assert_fails(home, "CPU", "2000", Said().cpu("2000", 1000, passed=False))
    has_processors(2400, 1000)
    assert_passes(home, "CPU", "2000", Said().cpu("2000", 2400))


def test_a_first_processor_without_a_frequency_fails_whatever_follows(home):
    prints(PSRINFO, "  The i386 processor operates at an unknown frequency,\n"
                    "  The i386 processor operates at 2400 MHz,\n")
    assert_fails(home, "CPU", "1", Said().report("S_CHECKING_FOR_CPU", "1").found_wrong(
        ("S_AUTO_CHECK_FOR_CPU_FAILED", PSRINFO + " -v")))


@pytest.mark.parametrize("speed", ["0", "-2400", "MHz", ""])
def test_a_speed_that_is_no_positive_number_fails(home, speed):
    has_processors(speed)
    assert_fails(home, "CPU", "1", Said().report("S_CHECKING_FOR_CPU", "1").found_wrong(
        ("S_AUTO_CHECK_FOR_CPU_FAILED", PSRINFO + " -v")))


def test_the_speed_is_asked_for_once_in_the_c_locale(home):
    counts_calls(PSRINFO, 'echo "The i386 processor operates at 2400 MHz,"\n')
    checked(home, "CPU", "1").assert_status(0)
    assert calls() == [f"{PSRINFO} -v|C"]


# ---- display colours ------------------------------------------------------

@pytest.mark.parametrize("depth, colours", [
    (1, 2), (2, 4), (4, 16), (8, 256), (15, 32768), (16, 65536), (24, 16777216), (30, 1073741824),
    (31, 2147483648), (32, 4294967296), (48, 281474976710656), (64, 18446744073709551616)])
def test_the_colours_of_a_depth_are_counted(home, depth, colours):
    has_display(depth)
    assert_passes(home, "MIN_DISPLAY_COLORS", "2", Said().display("2", colours))


@pytest.mark.parametrize("depth", [33, 47, 100])
def test_a_depth_beyond_counting_has_more_colours_than_required(home, depth):
    has_display(depth)
    higher = en("S_HIGHER_THAN", "256").decode()
    assert_passes(home, "MIN_DISPLAY_COLORS", "256", Said().display("256", higher))


@pytest.mark.parametrize("value, passed", [
    ("16777216", True), ("16777217", False), ("16777216.5", False), ("1.6e7", True), ("1", True),
    ("0.5", True), ("0", False), ("-1", False), ("many", False)])
def test_a_display_must_have_at_least_the_required_colours_above_0(home, value, passed):
    has_display(24)
    assert_check(home, "MIN_DISPLAY_COLORS", value, Said().display(value, 16777216, passed),
                 passed)


@pytest.mark.parametrize("value, passed", [("1e30", True), ("0", False)])
def test_a_display_of_32_planes_or_more_is_enough_for_all_but_0(home, value, passed):
    has_display(32)
    assert_check(home, "MIN_DISPLAY_COLORS", value, Said().display(value, 4294967296, passed),
                 passed)


def test_the_depth_may_follow_its_label_without_a_blank(home):
    prints(OPENWIN_XDPYINFO, "  depth of root window:24 planes\n")
    assert_passes(home, "MIN_DISPLAY_COLORS", "16777216", Said().display("16777216", 16777216))


def test_a_depth_is_cut_to_a_whole_number(home):
    has_display("8.9")
    assert_passes(home, "MIN_DISPLAY_COLORS", "256", Said().display("256", 256))


@pytest.mark.parametrize("depth", ["0", "0.9", "-8", "many", "", "2147483647", "9" * 20])
def test_a_depth_that_is_not_positive_or_beyond_every_display_fails(home, depth):
    has_display(depth)
    assert_fails(home, "MIN_DISPLAY_COLORS", "2",
                 Said().report("S_CHECKING_FOR_DISP_COL", "2").found_wrong(
                     ("S_AUTO_CHECK_FOR_DISPLAY_FAILED", OPENWIN_XDPYINFO)))


def test_a_display_that_cannot_be_opened_fails(home):
    write_script(OPENWIN_XDPYINFO, "echo 'xdpyinfo:  unable to open display \"\".' >&2\nexit 1\n")
    assert_fails(home, "MIN_DISPLAY_COLORS", "2",
                 Said().report("S_CHECKING_FOR_DISP_COL", "2").found_wrong(
                     ("S_AUTO_CHECK_FOR_DISPLAY_FAILED", OPENWIN_XDPYINFO)))


def test_the_display_program_runs_twice_in_the_c_locale_and_the_second_run_counts(home):
    counts_calls(OPENWIN_XDPYINFO,
                 f'echo "depth of root window:    $(wc -l < {CALLS}) planes"\n')
    counts_calls(XDPYINFO, "exit 1\n")
    assert_passes(home, "MIN_DISPLAY_COLORS", "4", Said().display("4", 4))
    assert calls() == [f"{OPENWIN_XDPYINFO} |C"] * 2


@pytest.mark.parametrize("complaint", ["No such file or directory", "command not found", None])
def test_without_its_first_display_program_the_second_runs_twice(home, complaint):
    if complaint:
        counts_calls(OPENWIN_XDPYINFO, f"echo '{complaint}' >&2\nexit 1\n")
    counts_calls(XDPYINFO, 'echo "  depth of root window:    8 planes"\n')
    assert_passes(home, "MIN_DISPLAY_COLORS", "256", Said().display("256", 256))
    assert calls() == [f"{OPENWIN_XDPYINFO} |C"] * bool(complaint) + [f"{XDPYINFO} |C"] * 2


def test_the_second_display_program_is_named_when_it_fails_too(home):
    prints(XDPYINFO, "xdpyinfo:  unable to open display \"\".\n")
    assert_fails(home, "MIN_DISPLAY_COLORS", "2",
                 Said().report("S_CHECKING_FOR_DISP_COL", "2").found_wrong(
                     ("S_AUTO_CHECK_FOR_DISPLAY_FAILED", XDPYINFO)))


def test_a_silent_launch_checks_no_display(home):
    counts_calls(OPENWIN_XDPYINFO, "exit 1\n")
    home.ini((GENERIC, {"MIN_DISPLAY_COLORS": "256"}))
    Said().assert_went_on(home.launch("-silent"), home)
    assert calls() == []


# ---- temporary space ------------------------------------------------------

SMALL = {"TEMP": "/small"}  # a file system of 2 MB


def test_a_scratch_directory_with_enough_room_passes(home):
    for value in ("2", "2.0", "0.5", " 1e0"):
        assert_passes(home, "TEMP_SPACE", value, Said().temp_space(value.strip(), 2), env=SMALL)


def test_a_scratch_directory_with_too_little_room_fails(home):
    for value in ("2.001", "3", "1e18"):
        assert_fails(home, "TEMP_SPACE", value, Said().no_temp_space(value, 2), env=SMALL)


def test_room_is_cut_for_the_eye_and_compared_as_it_is(home):
    write_file("/small/page", b"x")
    room = os.statvfs("/small")
    assert 1.9 * 1048576 < room.f_bavail * room.f_frsize < 2 * 1048576
    assert_passes(home, "TEMP_SPACE", "1.9", Said().temp_space("1.9", 1), env=SMALL)
    assert_fails(home, "TEMP_SPACE", "2", Said().no_temp_space("2", 1), env=SMALL)


@pytest.mark.parametrize("value", ["0", "-1", "plenty", "0.0"])
def test_a_requirement_of_no_room_passes_without_a_measure(home, value):
    assert_passes(home, "TEMP_SPACE", value, Said().temp_space(value, 0), env=SMALL)


# ---- swap space -----------------------------------------------------------

@pytest.mark.parametrize("used, available, found, least, too_much", [
    ("1200k", "2048m", 2049, "2049.17", "2049.18"),
    ("1200k", "2048k", 3, "3.171875", "3.172"),
    ("1g", "1g", 2048, "2048", "2048.1"),
    ("1.5g", "512m", 2048, "2048", "2049"),
    ("1024k", "7", 1, "1", "1.1"),
    ("5", "1024k", 1, "1", "1.1"),
    ("-1g", "1m", 1, "1", "1.1"),
    ("1e30g", "1m", 9223372036854775807, "1e33", "1e300"),
], ids=["k and m", "k and k", "g and g", "fractions", "available without letter",
        "used without letter", "negative", "beyond counting"])
def test_used_and_available_swap_count_together(home, used, available, found, least, too_much):
    has_swap(used, available)
    assert_passes(home, "SWAP_SPACE", least, Said().swap(least, found))
    assert_fails(home, "SWAP_SPACE", too_much, Said().no_swap(too_much, found))


@pytest.mark.parametrize("value", ["0", "-1", "plenty"])
def test_a_requirement_of_no_swap_fails_without_a_measure(home, value):
    counts_calls(SWAP, "echo 'total: = 1g used, 1g available'\n")
    assert_fails(home, "SWAP_SPACE", value, Said().no_swap(value, 0))
    assert calls() == []


def test_swap_is_asked_for_once_in_the_c_locale(home):
    counts_calls(SWAP, "echo 'total: = 1g used, 1g available'\n")
    assert_passes(home, "SWAP_SPACE", "2048", Said().swap("2048", 2048))
    assert calls() == [f"{SWAP} -s|C"]


def test_swap_output_that_ends_at_a_label_adds_nothing(home):
    prints(SWAP, "total: = 1024k used,")
    assert_passes(home, "SWAP_SPACE", "1", Said().swap("1", 1))
    prints(SWAP, "total: =")
    assert_fails(home, "SWAP_SPACE", "1", Said().no_swap("1", 0))


# ---- surroundings ---------------------------------------------------------

def test_the_last_output_of_a_command_lies_in_the_scratch_directory(home):
    prints(PKGINFO, "system SUNWcsr SUNWcsu\n")
    launch = checked(home, "PACKAGES", "SUNWcsr,SUNWcsu")
    launch.assert_status(0)
    outputs = {name: entry[-1] for name, entry in launch.record.tree.items() if name != "."}
    assert outputs == {f"command_output_{launch.leader}": b"system SUNWcsr SUNWcsu\n"}
    assert launch.scratches == []


def test_lc_all_gets_its_value_back_or_ends_up_empty(home, german):
    has_packages("SUNWcsr")
    launch = checked(home, "PACKAGES", "SUNWcsr", env=german)
    assert launch.record.environ["LC_ALL"] == "de_DE.UTF-8"
    launch = checked(home, "PACKAGES", "SUNWcsr")
    assert launch.record.environ["LC_ALL"] == ""
    launch = checked(home, "PROCESSOR", MACHINE)
    assert "LC_ALL" not in launch.record.environ


def test_a_shown_value_passes_through_percent_processing_and_a_recorded_one_does_not(home):
    write_script(PKGINFO, 'echo "$1"\n')
    launch = checked(home, "PACKAGES", "a%%b")
    Said().report("S_CHECKING_FOR_PACKAGES").show_plain("a%b").record_plain("a%%b").verdict(
        True).assert_went_on(launch, home)
