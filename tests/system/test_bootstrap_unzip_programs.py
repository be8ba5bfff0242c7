"""The launcher and the unzip beside it: each kind of launch with the usual unzip as well as with the
stage's own, and what the launcher tells it."""

import os

import pytest

from harness import (INVENTORY, OPERATOR_HOME, en, read_file, set_inventory, write_file, write_script)
from stage import JRE, USUAL_UNZIP, ZUL, Stage, java_program, unzip_program

PROGRAMS = {"usual": os.path.realpath(USUAL_UNZIP), "own": unzip_program()}
NOTED = "/tmp/noted"


@pytest.fixture(name="stage", params=PROGRAMS)
def fixture_stage(root_as_new, request):
    del root_as_new
    set_inventory()
    made = Stage(unzip=PROGRAMS[request.param])
    yield made
    made.end()


def test_a_launch_unpacks_all_components(stage):
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert launch.stderr == b""
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")
    assert launch.record.tree["Tessel/jlib/tessel.jar"] == ("file", 0o750, b"tessel")
    assert launch.scratches == []


def test_a_debug_launch_lists_what_is_unpacked(stage):
    launch = stage.launch("-silent", "-debug")
    launch.assert_status(0)
    assert launch.stdout.count(b"Archive:  ") == 5
    assert f".jar\n extracting: {launch.scratch}/zul/jlib/zul.jar  \n".encode() in launch.stdout


def test_a_launch_that_only_unpacks_leaves_the_components(stage):
    os.makedirs(OPERATOR_HOME + "/only")
    launch = stage.launch("-silent", "-bootstrapOnly", f"BOOTSTRAP_LOC={OPERATOR_HOME}/only")
    launch.assert_status(0)
    assert read_file(OPERATOR_HOME + "/only/zul/jlib/zul.jar") == b"zul"


def test_a_broken_archive_ends_the_launch(stage):
    path = f"{stage.data_files(ZUL, '1.7.0.0.0')}/{ZUL}.jar"
    write_file(path, read_file(path)[:-30])
    launch = stage.launch("-silent")
    launch.assert_status(255)
    assert launch.record is None
    # The usual unzip says nothing when it is told to be quiet to this degree, but for the worst.
    assert b"DataFiles" in launch.stderr


def test_a_later_archive_of_a_component_replaces_files_of_an_earlier_one(stage):
    data = stage.component(ZUL, "1.7.0.0.0", {"zul/who": b"first"})
    os.rename(f"{data}/{ZUL}.jar", f"{data}/a.jar")
    stage.component(ZUL, "1.7.0.0.0", {"zul/other": b"second"})
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert {"zul/who", "zul/other"} <= set(launch.record.tree)


def note_the_variable(stage):
    """An unzip that notes what it is told and then does its work."""
    os.rename(stage.dir + "/unzip", stage.dir + "/unzip.real")
    write_script(stage.dir + "/unzip",
                 f'echo "${{LAUNCHER_UNPACKING-unset}}" >>{NOTED}\nexec "$0.real" "$@"\n')


def test_at_a_terminal_the_unzip_is_told_what_it_unpacks_and_the_installer_is_not(stage):
    note_the_variable(stage)
    stage.ini(BOOTSTRAP_COMPS=f"{JRE},{ZUL},listed")
    stage.component("listed", "1.0", {"listed/file": b"x"})
    terminal = stage.terminal("-noConsole", "-ignoreSysPrereqs", env={"DISPLAY": ":0"})
    launch = terminal.finish()
    assert read_file(NOTED).decode().split() == ["listed", JRE, ZUL]
    assert not any(entry.startswith("LAUNCHER_UNPACKING") for entry in launch.record.environ_list)
    assert b"LAUNCHER_UNPACKING" not in b"".join(launch.logs.values())


def test_a_silent_launch_at_a_terminal_tells_nothing(stage):
    note_the_variable(stage)
    launch = stage.terminal("-silent").finish()
    launch.assert_status(0)
    assert set(read_file(NOTED).decode().split()) == {"unset"}


def test_a_launch_whose_standard_error_is_a_file_tells_nothing(stage):
    note_the_variable(stage)
    stage.launch("-noConsole", "-ignoreSysPrereqs", env={"DISPLAY": ":0"})
    assert set(read_file(NOTED).decode().split()) == {"unset"}
