"""Whole launches where something around the launcher is not as it should be:
each ends with its settled status and, where it fails, says on which path, and
takes away the scratch directory wherever a launch that got that far does. No
surroundings keep a launch from ending: five seconds are enough for each."""

import os
import random
import resource

import pytest

from harness import (INVENTORY, KELVANE, MOUNT_TABLE, OPERATOR_HOME, POINTER_FILE, Home,
                     set_inventory, write_file)
from stage import CORE, JRE, ZUL, Stage

FAILED, NO_PARAMETER_FILE, NO_CATALOGUE = 255, 254, 1
# The size of /small.
SMALL = 2 << 20


def place_with(kind):
    set_inventory()
    place = kind()
    place.use_shipped_catalogues()
    place.patience = 5
    return place


@pytest.fixture(name="home")
def fixture_home(root_as_new):
    del root_as_new
    made = place_with(Home)
    yield made
    made.end()


@pytest.fixture(name="stage")
def fixture_stage(root_as_new):
    del root_as_new
    made = place_with(Stage)
    yield made
    made.end()


# ---- how files and directories can be bad ---------------------------------

def remove_file(path):
    os.unlink(path)


def make_empty(path):
    mode = os.stat(path).st_mode
    os.unlink(path)
    write_file(path, b"", mode & 0o777)


def make_directory_of(path):
    os.unlink(path)
    os.mkdir(path)


def make_unreadable(path):
    os.chmod(path, 0)


def make_binary(path):
    """Bytes of every value, with the start of a program of another machine."""
    mode = os.stat(path).st_mode
    write_file(path, b"\x7fELF\0\0\0" + random.Random(1).randbytes(65536), mode & 0o777)


def make_one_long_line(path):
    write_file(path, b"x" * (1 << 20))


def make_dangling(path):
    os.unlink(path)
    os.symlink("/nowhere/at/all", path)


FILES = {"missing": remove_file, "empty": make_empty, "a directory": make_directory_of,
         "unreadable": make_unreadable, "binary": make_binary, "one long line": make_one_long_line,
         "a dangling link": make_dangling}


def leave_missing(path):
    os.rmdir(path)


def make_read_only(path):
    os.chmod(path, 0o500)


def make_full(path):
    """A link to a directory on a file system without one free block."""
    os.rmdir(path)
    os.makedirs("/small/directory")
    os.symlink("/small/directory", path)
    with open("/small/filling", "wb", buffering=0) as filling:
        try:
            while True:
                filling.write(bytes(4096))
        except OSError:
            pass


def make_file_of(path):
    os.rmdir(path)
    write_file(path, b"file")


def make_dangling_directory(path):
    os.rmdir(path)
    os.symlink("/nowhere/at/all", path)


DIRECTORIES = {"missing": leave_missing, "read-only": make_read_only, "full": make_full,
               "a file": make_file_of, "a dangling link": make_dangling_directory}


def ends(launch, status, *said, left=False):
    """The status, what the operator reads, and whether the scratch directory
    stays."""
    launch.assert_status(status)
    shown = launch.stdout + launch.stderr
    for text in said:
        assert os.fsencode(text) in shown, shown[-2000:]
    if status == 0:
        assert launch.record is not None
    assert bool(launch.scratches) == left, launch.scratches
    return launch


def runs(launch):
    return ends(launch, 0)


# ---- files that are read --------------------------------------------------

NO_TEXTS = (NO_CATALOGUE, "Could not read any NLS message catalogue!")
NO_JAVA = (FAILED, "bin/java")
MALFORMED = (0, "WARNING: Ignoring malformed message")
PLAIN = (0,)


def table(**rows):
    """(file or directory, how it is bad, outcome) of every row."""
    return [pytest.param(name, how, outcome, id=f"{name} {how}")
            for name, outcomes in rows.items() for how, outcome in outcomes.items()]


def all_of(kinds, outcome, **others):
    outcomes = {how: outcome for how in kinds}
    outcomes.update({how.replace("_", " "): other for how, other in others.items()})
    return outcomes


HOME_FILES = {
    "catalogue": KELVANE + "/talui/bin/resource/cons.nls",
    "parameters": KELVANE + "/talui/bin/talparam.ini",
    "pointer": POINTER_FILE,
    "mounts": MOUNT_TABLE,
    "java": KELVANE + "/jdk/jre/bin/java",
}


@pytest.mark.parametrize("name, how, outcome", table(
    catalogue=all_of(FILES, PLAIN, missing=NO_TEXTS, unreadable=NO_TEXTS, a_dangling_link=NO_TEXTS,
                     binary=MALFORMED, one_long_line=MALFORMED),
    # Without a word of a parameter the runtime is not known.
    parameters=all_of(FILES, NO_JAVA,
                      a_directory=(*NO_JAVA, "talui/bin/talparam.ini", ": Is a directory\n"),
                      unreadable=(*NO_JAVA, "talui/bin/talparam.ini", ": Permission denied\n"),
                      missing=(NO_PARAMETER_FILE, "talui/bin/../talparam.ini"),
                      a_dangling_link=(NO_PARAMETER_FILE, "talui/bin/../talparam.ini")),
    pointer=all_of(FILES, PLAIN),
    mounts=all_of(FILES, PLAIN),
))
def test_a_home_with_a_bad_file(home, name, how, outcome):
    home.ini(MULTICD="TRUE")
    if name == "mounts":
        if os.path.lexists(MOUNT_TABLE):
            os.unlink(MOUNT_TABLE)
        write_file(MOUNT_TABLE, "/dev/dsk/c0t0d0s0\t/\tufs\trw\t0\n")
    FILES[how](HOME_FILES[name])
    launch = home.launch("-silent")
    if os.path.isfile(MOUNT_TABLE):
        os.chmod(MOUNT_TABLE, 0o644)
    ends(launch, *outcome, left=outcome[0] == NO_PARAMETER_FILE)


# What the system cannot execute, the search along the path hands to the shell.
@pytest.mark.parametrize("how, status, said", [
    ("missing", FAILED, "../../jdk/jre/bin/java"),
    ("a dangling link", FAILED, "../../jdk/jre/bin/java"),
    ("a directory", FAILED, "CreateZULProcess()"),
    ("empty", 0, ""),
    ("binary", None, "jdk/jre/bin/java"),
    ("one long line", None, "jdk/jre/bin/java"),
])
def test_a_home_whose_java_is_bad(home, how, status, said):
    FILES[how](HOME_FILES["java"])
    launch = home.launch("-silent")
    assert launch.record is None and launch.scratches == []
    assert launch.status == status or (status is None and launch.status in (2, 126, 127))
    assert os.fsencode(said) in launch.stderr


def test_a_home_whose_java_may_not_be_executed_is_helped_to_it(home):
    make_unreadable(HOME_FILES["java"])
    runs(home.launch("-silent"))


# ---- files that are unpacked ----------------------------------------------

def stage_file(stage, name):
    if name == "unzip":
        return stage.dir + "/unzip"
    component, version = {"runtime": (JRE, "1.0"), "installer": (ZUL, "1.7.0.0.0"),
                          "core": (CORE, "1.7.0.0.0")}[name]
    return f"{stage.data_files(component, version)}/{component}.jar"


@pytest.mark.parametrize("how", FILES)
@pytest.mark.parametrize("name", ["unzip", "runtime", "installer"])
def test_a_stage_with_a_bad_file_ends_after_the_bootstrap(stage, name, how):
    path = stage_file(stage, name)
    FILES[how](path)
    ends(stage.launch("-silent"), FAILED, left=True)


@pytest.mark.parametrize("how", FILES)
def test_a_stage_with_a_bad_core_component_still_starts_the_installer(stage, how):
    FILES[how](stage_file(stage, "core"))
    runs(stage.launch("-silent"))


@pytest.mark.parametrize("how", FILES)
def test_a_stage_with_a_bad_parameter_file_does_not_start_the_installer(stage, how):
    FILES[how](stage.ini_path)
    gone = how in ("missing", "a dangling link")
    ends(stage.launch("-silent"), *((NO_PARAMETER_FILE, "../talparam.ini") if gone else NO_JAVA),
         left=gone)


# ---- directories that are written -----------------------------------------

TEMP = "/var/temporary"


@pytest.mark.parametrize("how, outcome", [
    ("missing", PLAIN),
    ("read-only", (FAILED, TEMP)),
    ("full", PLAIN),  # nothing of a home is copied
    ("a file", (FAILED, TEMP)),
    ("a dangling link", (FAILED, TEMP)),
])
@pytest.mark.parametrize("by", ["TEMP", "-scratchPath"])
def test_a_bad_temporary_directory(home, by, how, outcome):
    os.mkdir(TEMP)
    DIRECTORIES[how](TEMP)
    if by == "TEMP":
        launch = home.launch("-silent", env={"TEMP": TEMP})
    else:
        launch = home.launch("-silent", "-scratchPath", TEMP)
    ends(launch, *outcome)
    assert not os.path.isdir(TEMP) or os.listdir(TEMP) == []


@pytest.mark.parametrize("how, outcome", [
    ("missing", PLAIN),
    ("read-only", (FAILED, INVENTORY)),
    ("full", PLAIN),
    ("a file", (FAILED, INVENTORY)),
    ("a dangling link", (FAILED, INVENTORY)),
])
def test_a_bad_inventory(home, how, outcome):
    os.rmdir(INVENTORY + "/logs")
    DIRECTORIES[how](INVENTORY)
    ends(home.launch("-silent"), *outcome)


@pytest.mark.parametrize("how, outcome", [
    ("missing", PLAIN),
    ("read-only", (FAILED, INVENTORY + "/logs")),
    ("full", PLAIN),
    ("a file", PLAIN),
    ("a dangling link", (FAILED, INVENTORY + "/logs")),
])
def test_a_bad_log_directory(home, how, outcome):
    DIRECTORIES[how](INVENTORY + "/logs")
    ends(home.launch("-silent"), *outcome)


@pytest.mark.parametrize("how", DIRECTORIES)
def test_a_log_directory_of_the_command_line_that_is_bad_is_done_without(home, how):
    os.makedirs(OPERATOR_HOME + "/logging/logs")
    DIRECTORIES[how](OPERATOR_HOME + "/logging/logs")
    runs(home.launch("-silent", "-prereqLogLoc", OPERATOR_HOME + "/logging"))


TARGET = "/var/target"


# Where no space can be found, as where there is no directory, the attempt ends
# without a word of its own: the log alone tells that nothing arrived.
@pytest.mark.parametrize("how, said", [
    ("missing", ""), ("read-only", TARGET), ("full", ""), ("a file", TARGET),
    ("a dangling link", ""),
])
def test_a_bootstrap_into_a_bad_directory_does_not_claim_to_be_complete(stage, how, said):
    os.mkdir(TARGET)
    DIRECTORIES[how](TARGET)
    launch = ends(stage.launch("-bootstrapOnly", "BOOTSTRAP_LOC=" + TARGET), FAILED, said)
    assert launch.record is None and b"Completed" not in launch.stdout
    assert said or b": 0\n" in launch.log


def test_a_stage_without_a_free_block_to_bootstrap_into_ends_without_java(stage):
    os.mkdir(TEMP)
    make_full(TEMP)
    ends(stage.launch("-silent", env={"TEMP": TEMP}), FAILED, TEMP + "/TalInstall", left=True)


def test_a_bootstrap_that_runs_out_of_space_halfway_ends_without_java(stage):
    stage.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": random.Random(1).randbytes(SMALL)})
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    ends(launch, FAILED, "/small/TalInstall", left=True)


# ---- arguments, environment, streams --------------------------------------

@pytest.mark.parametrize("arguments", [
    ["", "", ""],
    ["A=" + "x" * 100_000],
    [b"\xff\xfe", b"NAME=\xe4\x80", b"\xc0\xaf"],
    [f"KEY{number}=value" for number in range(5000)],
    ["\n", "\t", "%s%n%d", "$HOME `id`", "'\"\\", "*", "-", "="],
], ids=["empty", "100 KB", "not UTF-8", "5000", "odd"])
@pytest.mark.parametrize("kind", [Home, Stage], ids=["home", "stage"])
def test_any_arguments_reach_the_installer_as_they_are(root_as_new, kind, arguments):
    del root_as_new
    place = place_with(kind)
    launch = runs(place.launch("-silent", *arguments))
    assert list(map(os.fsencode, launch.record.passed_through)) == [
        b"-silent", *map(os.fsencode, arguments)]


def test_arguments_that_the_system_cannot_hand_on_are_told_of(home):
    limit = {resource.RLIMIT_STACK: (1 << 20, 1 << 20)}
    fits = 0  # what the launcher adds is too much then
    for count in range(1500, 0, -4):
        try:
            launch = home.launch("-silent", *["x" * 180] * count, limits=limit)
        except OSError:
            continue
        fits = count
        break
    assert fits > 0
    ends(launch, FAILED, "CreateZULProcess()")


@pytest.mark.parametrize("base", ["/var/a b", "/var/a'b", '/var/a"b', "/var/$HOME", "/var/`id`",
                                  "/var/a&b", "/var/(a)", "/var/a\nb", "/var/%s%n",
                                  "/var/a#~ b'\"$"])
def test_a_stage_bootstraps_below_any_temporary_directory(stage, base):
    launch = runs(stage.launch("-silent", env={"TEMP": base}))
    assert launch.record.scratch.startswith(base + "/TalInstall")
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")
    assert os.listdir(base) == []


@pytest.mark.parametrize("closed", [(0,), (1,), (2,), (0, 1), (1, 2), (0, 1, 2)],
                         ids=lambda closed: "".join(map(str, closed)))
@pytest.mark.parametrize("kind", [Home, Stage], ids=["home", "stage"])
def test_a_launch_with_closed_streams_runs_and_spoils_no_file(root_as_new, kind, closed):
    del root_as_new
    place = place_with(kind)
    whole = runs(place.launch())
    launch = runs(place.launch(closed=closed))
    assert launch.log.count(b"\n") == whole.log.count(b"\n")
    assert launch.record.tree.keys() - launch.logs.keys() == whole.record.tree.keys()


def test_a_caller_that_ignores_the_end_of_its_children_learns_the_installers_status(stage):
    """What ignores it hands that on, and then a process cannot wait for its
    own children: neither for unzip nor for java."""
    caller = OPERATOR_HOME + "/caller"
    write_file(caller, f"#!/bin/bash\ntrap '' CHLD\nexec {stage.launcher} \"$@\"\n", 0o755)
    launch = stage.launch("-silent", "-waitForCompletion", program=caller, java={"exit": 7})
    ends(launch, 7)
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")


@pytest.mark.parametrize("kind", [Home, Stage], ids=["home", "stage"])
def test_an_empty_environment_is_enough_for_a_silent_launch(root_as_new, kind):
    del root_as_new
    place = place_with(kind)
    names = ("PATH", "HOME", "LANG", "DISPLAY", "TEMP")
    launch = runs(place.launch("-silent", env=dict.fromkeys(names)))
    assert set(launch.record.environ) - {"CLASSPATH", "JAVA_HOME"} == set()
