"""Commands of the system that print nothing useful: the check fails with a
message, and the launch never crashes or hangs."""

import pytest

from harness import en, write_script
from prereq_texts import (OPENWIN_XDPYINFO, PKGINFO, PSRINFO, SHOWREV, SWAP, XDPYINFO, Said,
                          assert_fails, assert_passes, missing, prints)

MEGABYTE = 1048576
KILLED = en("S_COMMAND_SIGNALLED", "SIGKILL", 9, PKGINFO + " SUNWcsr")
NO_NUL = bytes(range(1, 256)) * 16

# {name of the output: (what makes the command at a path print it, whether it
# says that the command cannot be run)}
USELESS = {
    "not found": (lambda path: prints(path, f"sh: {path}: not found\n"), True),
    "cannot execute": (lambda path: prints(path, f"{path}: cannot execute [Permission denied]\n"),
                       True),
    "not found, on standard error": (
        lambda path: write_script(path, "echo ': not found' >&2\nexit 127\n"), True),
    "missing command": (missing, True),
    "empty": (lambda path: prints(path, b""), False),
    "blanks": (lambda path: prints(path, b" \t\n \n"), False),
    "binary": (lambda path: prints(path, NO_NUL), False),
    "nul first": (lambda path: prints(path, b"\0" + NO_NUL), False),
    "a megabyte without a line feed": (lambda path: prints(path, b"x" * MEGABYTE), False),
    "a megabyte of line feeds": (lambda path: prints(path, b"\n" * MEGABYTE), False),
    "a megabyte of commas": (lambda path: prints(path, b"," * MEGABYTE), False),
    "failed without a word": (lambda path: write_script(path, "exit 1\n"), False),
}

# A command that takes its output away: no text at all is left, not even an
# empty one.
VANISHED = "rm -f /tmp/TalInstall*/command_output_*\n"


@pytest.fixture(name="useless", params=list(USELESS))
def fixture_useless(request):
    return USELESS[request.param]


def test_packages_fail_by_useless_output(home, useless):
    make, cannot_run = useless
    make(PKGINFO)
    reasons = [("S_EXEC_FAILURE", f"{PKGINFO} {name}") if cannot_run
               else ("S_CHECK_FOR_PACKAGE_FAILED", name) for name in ("SUNWcsr", "SUNWcsu")]
    assert_fails(home, "PACKAGES", "SUNWcsr,SUNWcsu", Said().report("S_CHECKING_FOR_PACKAGES")
                 .plain("SUNWcsr,SUNWcsu").found_wrong(*reasons))


def test_patches_fail_by_useless_output(home, useless):
    make, cannot_run = useless
    make(SHOWREV)
    nothing = ("S_NOT_FOUND_PATCH",), ("S_SFAILED",)
    assert_fails(home, "PATCHES", "112233-05,445566-01", Said().patches(
        "112233-05,445566-01", ("112233-05", *nothing), ("445566-01", *nothing), passed=False,
        reasons=[("S_EXEC_FAILURE", SHOWREV + " -p")] if cannot_run else []))


def test_the_processor_speed_fails_by_useless_output(home, useless):
    make, cannot_run = useless
    make(PSRINFO)
    key = "S_EXEC_FAILURE" if cannot_run else "S_AUTO_CHECK_FOR_CPU_FAILED"
    assert_fails(home, "CPU", "1",
                 Said().report("S_CHECKING_FOR_CPU", "1").found_wrong((key, PSRINFO + " -v")))


def test_swap_fails_by_useless_output_without_naming_the_command(home, useless):
    useless[0](SWAP)
    assert_fails(home, "SWAP_SPACE", "1", Said().no_swap("1", 0))


def test_the_display_fails_by_useless_output(home, useless):
    make, cannot_run = useless
    make(XDPYINFO)
    key = "S_EXEC_FAILURE" if cannot_run else "S_AUTO_CHECK_FOR_DISPLAY_FAILED"
    assert_fails(home, "MIN_DISPLAY_COLORS", "2",
                 Said().report("S_CHECKING_FOR_DISP_COL", "2").found_wrong((key, XDPYINFO)))


def test_the_first_display_program_fails_unless_it_is_missing(home):
    for name, (make, cannot_run) in USELESS.items():
        if "not found" in name or "missing" in name:
            continue
        make(OPENWIN_XDPYINFO)
        key = "S_EXEC_FAILURE" if cannot_run else "S_AUTO_CHECK_FOR_DISPLAY_FAILED"
        assert_fails(home, "MIN_DISPLAY_COLORS", "2", Said().report(
            "S_CHECKING_FOR_DISP_COL", "2").found_wrong((key, OPENWIN_XDPYINFO)))


# ---- output that is gone --------------------------------------------------

@pytest.mark.parametrize("key, value, path, opening, command", [
    ("PACKAGES", "SUNWcsr", PKGINFO, [("S_CHECKING_FOR_PACKAGES",), "SUNWcsr"],
     PKGINFO + " SUNWcsr"),
    ("PATCHES", "112233-05", SHOWREV, [("S_CHECKING_FOR_PATCHES",), "112233-05"], SHOWREV + " -p"),
    ("CPU", "1", PSRINFO, [("S_CHECKING_FOR_CPU", "1")], PSRINFO + " -v"),
    ("MIN_DISPLAY_COLORS", "2", OPENWIN_XDPYINFO, [("S_CHECKING_FOR_DISP_COL", "2")],
     OPENWIN_XDPYINFO),
], ids=["packages", "patches", "processor speed", "display"])
def test_a_command_without_any_output_file_cannot_be_run(home, key, value, path, opening, command):
    write_script(path, VANISHED)
    said = Said()
    for part in opening:
        said = said.plain(part) if isinstance(part, str) else said.report(*part)
    assert_fails(home, key, value, said.found_wrong(("S_EXEC_FAILURE", command)))


def test_swap_without_any_output_file_is_0(home):
    write_script(SWAP, VANISHED)
    assert_fails(home, "SWAP_SPACE", "1", Said().no_swap("1", 0))


# ---- useful output all the same -------------------------------------------

def test_what_follows_a_megabyte_is_still_read(home):
    prints(PKGINFO, b"x" * MEGABYTE + b"SUNWcsr\n")
    assert_passes(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr"))
    prints(PSRINFO, b"x" * MEGABYTE + b" processor operates at 2400 MHz,\n")
    assert_passes(home, "CPU", "2400", Said().cpu("2400", 2400))
    prints(SWAP, b"x " * MEGABYTE + b"= 1m used, 1m available\n")
    assert_passes(home, "SWAP_SPACE", "2", Said().swap("2", 2))
    prints(XDPYINFO, b"x" * MEGABYTE + b"depth of root window:    8 planes\n")
    assert_passes(home, "MIN_DISPLAY_COLORS", "256", Said().display("256", 256))
    prints(SHOWREV, b"x" * MEGABYTE + b"Patch: 112233-05 Obsoletes:  Requires: \n")
    assert_passes(home, "PATCHES", "112233-05",
                  Said().patches("112233-05", ("112233-05", ("S_FOUND_PATCH", "112233-05"))))


def test_what_follows_a_nul_is_not_read(home):
    prints(PKGINFO, b"system \0 SUNWcsr\n")
    assert_fails(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr", "SUNWcsr"))
    prints(PKGINFO, b"SUNWcsr\0: not found\n")
    assert_passes(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr"))


def test_output_counts_when_a_signal_ends_the_command_behind_it(home):
    write_script(PKGINFO, "echo system SUNWcsr\nkill -9 $$\n")
    assert_passes(home, "PACKAGES", "SUNWcsr", stderr=KILLED + b"\n",
                  said=Said().report("S_CHECKING_FOR_PACKAGES").plain("SUNWcsr")
                  .record_plain(b"\n" + KILLED).verdict(True))


def test_a_command_that_a_signal_ends_without_output_fails_the_check(home):
    write_script(PKGINFO, "kill -9 $$\n")
    assert_fails(home, "PACKAGES", "SUNWcsr", stderr=KILLED + b"\n",
                 said=Said().report("S_CHECKING_FOR_PACKAGES").plain("SUNWcsr")
                 .record_plain(b"\n" + KILLED)
                 .found_wrong(("S_CHECK_FOR_PACKAGE_FAILED", "SUNWcsr")))


def test_both_streams_of_a_command_are_its_output(home):
    write_script(PKGINFO, "echo system\necho SUNWcsr >&2\n")
    assert_passes(home, "PACKAGES", "SUNWcsr", Said().packages("SUNWcsr"))


def test_a_list_of_patches_is_read_behind_a_complaint_and_still_fails(home):
    prints(SHOWREV, "tool: not found\nPatch: 112233-05 Obsoletes:  Requires: \n")
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", ("S_FOUND_PATCH", "112233-05")), passed=False,
        reasons=[("S_EXEC_FAILURE", SHOWREV + " -p")]))
