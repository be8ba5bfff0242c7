"""Whole launches with arguments, an environment or standard streams that nobody
would choose: what is handed on arrives as it is, and what cannot be used is told
by its name. Each launch ends within five seconds."""

import os
import resource
import subprocess

import pytest

from harness import (INVENTORY, OPERATOR_HOME, Home, assert_same, bootstrap_failed, en,
                     write_file)
from hostile import (FAILED, ends, fixture_of, listed, runs, told, without_time,
                     words_before)
from stage import Stage


fixture_home = fixture_of("home", Home)
fixture_stage = fixture_of("stage", Stage)
fixture_place = fixture_of("place", Home, Stage)


# ---- arguments that are handed on -----------------------------------------

@pytest.mark.parametrize("arguments", [
    ["", "", ""],
    ["A=" + "x" * 100_000],
    [b"\xff\xfe", b"NAME=\xe4\x80", b"\xc0\xaf"],
    [f"KEY{number}=value" for number in range(5000)],
    ["\n", "\t", "%s%n%d", "$HOME `id`", "'\"\\", "*", "-", "="],
], ids=["empty", "100 KB", "not UTF-8", "5000", "odd"])
def test_any_arguments_reach_the_installer_as_they_are(place, arguments):
    launch = runs(place.launch("-silent", *arguments))
    assert list(map(os.fsencode, launch.record.passed_through)) == [
        b"-silent", *map(os.fsencode, arguments)]


def test_arguments_that_the_system_cannot_hand_on_are_told_of(home):
    limit = {resource.RLIMIT_STACK: (1 << 20, 1 << 20)}
    fits = None  # what the launcher adds is too much then
    for count in range(1500, 0, -4):
        try:
            fits = home.launch("-silent", *["x" * 180] * count, limits=limit)
        except OSError:
            continue
        break
    java = home.jre + "/bin/java"
    assert words_before(fits, FAILED).startswith(told("S_ERGOSLST", "CreateZULProcess()", 7)
        + f"[en S_START_TOO_LONG|{java}|Argument list too long|".encode())
    assert en("S_EXECVP_ARGS", "../../jdk/jre/bin/java") in fits.log


# ---- arguments that are values of options ---------------------------------

DEEP = "/var/deep"
VALUES = {
    "empty": "",
    "a 100 KB name": "/" + "x" * 100_000,
    "100 KB of names": DEEP + "/x" * 50_000,
    "not UTF-8": b"/var/\xff\xfe",
}


@pytest.fixture(name="value", params=VALUES)
def fixture_value(root_as_new, request):
    """The value of an option. However long it is, nothing is made of a path
    that cannot be made as a whole."""
    del root_as_new
    yield VALUES[request.param]
    made = os.path.lexists(DEEP)
    subprocess.run(["rm", "-rf", DEEP], check=True)  # too deep for Python
    assert not made


def is_too_long(value):
    return len(value) > 1000


def with_value(text, value):
    return text.replace(b"{VALUE}", os.fsencode(value))


def test_a_given_parameter_file_is_named_however_odd_and_gives_way_to_the_default_one(
        place, value):
    launch = runs(place.launch("-silent", "-paramFile", value))
    told_of = with_value(en("S_ERUSR_PARAMFILE_NOT_FOUND", "{VALUE}")
                         + en("S_DEF_PARAMFILE", place.ini_path), value)
    start = en("S_STARTINSTALLERMSG", "Kelvane Installer")
    assert launch.stdout.startswith(told_of + start if value else start)
    assert launch.log.startswith(told_of if value else en("S_USING_PARAMFILE", place.ini_path))


def test_a_given_temporary_directory_is_used_or_named_however_odd(place, value):
    launch = place.launch("-silent", "-scratchPath", value)
    if is_too_long(value):
        reason = told("S_REASON", "{VALUE}", "File name too long")
        ends(launch, FAILED, with_value(told("S_ERPERDIR", "{VALUE}") + reason, value))
        return
    runs(launch)
    base = os.path.dirname(os.fsencode(launch.record.scratch))
    assert base == os.fsencode(value or "/tmp")
    assert not value or os.listdir(value) == []


def test_a_given_java_home_without_java_is_named_however_odd(place, value):
    launch = place.launch("-silent", "-jreLoc", value)
    java = "{VALUE}/bin/java" if value else "bin/java"
    ends(launch, FAILED, with_value(told("S_ERJRENFD", java, "1.4"), value))
    assert launch.record is None


# Whoever has no inventory yet has no pointer file either. The log then lies in
# the scratch directory, and goes with it.
def test_a_given_pointer_file_that_is_not_there_means_no_inventory(place, value):
    launch = runs(place.launch("-silent", "-invPtrLoc", value))
    assert launch.logs == {}


def test_a_given_inventory_is_made_or_named_however_odd(place, value):
    launch = place.launch("-silent", b"INVENTORY_LOCATION=" + os.fsencode(value))
    if is_too_long(value):
        ends(launch, FAILED, with_value(told("S_ERRINVPRM", "{VALUE}"), value))
        assert launch.record is None
        return
    runs(launch)
    assert len(listed(os.fsencode(value or INVENTORY) + b"/logs")) == 1


# A launch that cannot log still installs; where no log can be, nothing can be
# missed in it.
def test_a_given_log_directory_is_used_or_done_without_however_odd(place, value):
    launch = runs(place.launch("-silent", "-prereqLogLoc", value))
    if is_too_long(value):
        assert launch.logs == {} and listed(INVENTORY + "/logs") == []
    else:
        assert len(listed(os.fsencode(value or INVENTORY) + b"/logs")) == 1


def test_a_target_that_is_not_there_is_named_however_odd(stage, value):
    launch = stage.launch("-bootstrapOnly", b"BOOTSTRAP_LOC=" + os.fsencode(value))
    words = words_before(launch, FAILED, with_value(
        bootstrap_failed("{VALUE}", "SPACE", "BOOTSTRAP_SIZE"), value))
    assert words.startswith(b"[en S_REASON|")
    assert launch.record is None and b"Completed" not in launch.stdout


def test_a_target_whose_name_is_no_utf_8_takes_the_installer(stage):
    target = VALUES["not UTF-8"]
    os.mkdir(target)
    launch = ends(stage.launch("-bootstrapOnly", b"BOOTSTRAP_LOC=" + target), 0)
    assert launch.stdout.endswith(b"\nBootStrap To " + target + b" Completed\n")
    assert os.path.isfile(target + b"/zul/jlib/core.jar")


def test_java_options_reach_java_however_odd(place, value):
    launch = runs(place.launch("-silent", b"JVM_OPTIONS=" + os.fsencode(value)))
    assert list(map(os.fsencode, launch.record.jvm_options)) == ([os.fsencode(value)] if value
                                                                 else [])


# ---- the environment ------------------------------------------------------

@pytest.mark.parametrize("base", ["/var/a b", "/var/a'b", '/var/a"b', "/var/$HOME", "/var/`id`",
                                  "/var/a&b", "/var/(a)", "/var/a\nb", "/var/%s%n",
                                  "/var/a#~ b'\"$"])
def test_a_stage_bootstraps_below_any_temporary_directory(stage, base):
    launch = runs(stage.launch("-silent", env={"TEMP": base}))
    assert launch.record.scratch.startswith(base + "/TalInstall")
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")
    assert os.listdir(base) == []


def test_an_empty_environment_is_enough_for_a_silent_launch(place):
    names = ("PATH", "HOME", "LANG", "DISPLAY", "TEMP")
    launch = runs(place.launch("-silent", env=dict.fromkeys(names)))
    assert set(launch.record.environ) - {"CLASSPATH", "JAVA_HOME"} == set()


# ---- the streams ----------------------------------------------------------

@pytest.mark.parametrize("closed", [(0,), (1,), (2,), (0, 1), (0, 2), (1, 2), (0, 1, 2)],
                         ids=lambda closed: "".join(map(str, closed)))
def test_a_launch_with_closed_streams_runs_and_spoils_no_file(place, closed):
    whole = runs(place.launch())
    tree = whole.record.tree
    launch = runs(place.launch(closed=closed))
    assert_same(without_time(launch.stdout), b"" if 1 in closed else without_time(whole.stdout))
    assert_same(without_time(launch.log), without_time(whole.log))
    assert_same(launch.record.tree, tree)


def test_a_caller_that_ignores_the_end_of_its_children_learns_the_installers_status(stage):
    """Ignored signals are inherited. A process that ignores this one cannot wait
    for its own children, neither for unzip nor for java."""
    caller = OPERATOR_HOME + "/caller"
    write_file(caller, f"#!/bin/bash\ntrap '' CHLD\nexec {stage.launcher} \"$@\"\n", 0o755)
    launch = stage.launch("-silent", "-waitForCompletion", program=caller, java={"exit": 7})
    ends(launch, 7)
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")
