"""check-stage: stages and homes without a fault, the call, and what it leaves behind."""

import os
import random
import shutil
import signal
import subprocess
import time

import pytest

from checked import (CLEAN, CleanHome, CleanStage, assert_found, fixture_of, installer_files,
                     jar_bytes, made_in_tmp, make_old, no_file_above, run_check)
from harness import OPERATOR_HOME, tool, write_file
from stage import ZUL

fixture_stage = fixture_of("stage", CleanStage)
fixture_home = fixture_of("home", CleanHome)


def test_a_stage_without_a_fault_has_no_findings(stage):
    assert stage.check() == CLEAN


def test_a_home_without_a_fault_has_no_findings(home):
    assert home.check() == CLEAN


def test_a_stage_may_be_named_by_the_directory_in_which_the_launcher_lies(stage):
    assert stage.check(directory=stage.install) == CLEAN


def test_a_home_may_be_named_by_the_directory_in_which_the_launcher_lies(home):
    assert home.check(directory=home.bin) == CLEAN


def test_a_stage_may_be_named_by_the_directory_above_its_disks(root_as_new):
    del root_as_new
    stage = CleanStage(f"{OPERATOR_HOME}/media/Disk1")
    os.makedirs(f"{OPERATOR_HOME}/media/Disk2/stage/Components")
    stage.ini(MULTICD="TRUE")
    assert stage.check(directory=f"{OPERATOR_HOME}/media") == CLEAN


def test_a_directory_may_be_given_relative_to_the_current_one(stage):
    assert stage.check(directory="media", looked_at=stage.top) == CLEAN
    assert stage.check(directory=".", cwd=stage.install) == CLEAN


def test_no_time_of_access_changes_of_what_this_user_owns(stage):
    make_old(stage.top)
    assert stage.check() == CLEAN  # which compares every time
    assert stage.check(plan=True)[0] == CLEAN[0]


def test_files_of_findings_are_relative_to_the_directory_that_was_named(stage):
    os.unlink(stage.components + "/talvex.swd.tessel/1.0/1/DataFiles/talvex.swd.tessel.jar")
    said = ("talparam.ini:5: error: BOOTSTRAP_COMPS names \"talvex.swd.tessel:1.0\": its payload in "
            "version 1.0 has no archive, no file *.jar")
    assert stage.check()[0] == "install/" + said
    assert stage.check(directory=stage.install)[0] == said


@pytest.mark.parametrize("arguments, said", [
    ([], "name the directory of a stage or a home"),
    (["--what", "/tmp"], "the option --what is not known"),
    (["/nowhere"], "there is no directory /nowhere"),
    (["/etc/passwd"], "/etc/passwd is no directory"),
    (["/no\nwhere"], "there is no directory /no\\nwhere"),
])
def test_a_wrong_call_is_said_in_one_line_and_has_status_2(root_as_new, arguments, said):
    del root_as_new
    done = run_check(*arguments)
    assert (done.returncode, done.stdout, done.stderr.decode().splitlines()) == (
        2, b"", [f"check-stage: {said}",
                 "usage: check-stage [--plan] DIRECTORY [LAUNCHER ARGUMENT...]"])


def test_help_says_what_the_lines_and_statuses_mean(root_as_new):
    del root_as_new
    done = run_check("--help")
    assert (done.returncode, done.stderr) == (0, b"")
    assert b"Status: 0 without errors, 1 with errors, 2 for a wrong call or when nothing can" in done.stdout


def fill(path):
    """Takes all the room of a small file system."""
    with open(path, "wb", buffering=0) as file:
        try:
            while file.write(bytes(4096)):
                pass
        except OSError:
            pass


def test_findings_that_cannot_be_printed_are_not_taken_for_none(stage):
    with open("/small/findings", "wb") as full:
        fill("/small/rest")
        done = subprocess.run([tool("CHECK_STAGE"), stage.top], stdout=full, stderr=subprocess.PIPE,
                              check=False)
    assert (done.returncode, done.stderr) == (
        2, b"check-stage: the findings cannot be written: No space left on device\n")


def test_an_interrupted_check_dies_of_the_signal_and_leaves_nothing(stage):
    stage.component(ZUL, "1.0", {"x": os.urandom(1_000_000)})
    for number in range(300):
        shutil.copytree(f"{stage.components}/{ZUL}", f"{stage.components}/x{number}")
    stage.ini(BOOTSTRAP_COMPS=",".join(f"x{number}:1.0" for number in range(300)))
    with subprocess.Popen([tool("CHECK_STAGE"), stage.top], stdout=subprocess.DEVNULL) as check_stage:
        while not made_in_tmp() and check_stage.poll() is None:
            time.sleep(0.001)
        check_stage.send_signal(signal.SIGTERM)
        assert check_stage.wait(20) == -signal.SIGTERM
    assert made_in_tmp() == []


def test_findings_that_nobody_reads_leave_nothing_behind(stage):
    reader, writer = os.pipe()
    os.close(reader)
    with subprocess.Popen([tool("CHECK_STAGE"), stage.top], stdout=writer, stderr=subprocess.PIPE) as checker:
        os.close(writer)
        said = checker.communicate(timeout=20)[1]
    assert said == b"check-stage: the findings cannot be written: Broken pipe\n"
    assert checker.returncode == 2
    assert made_in_tmp() == []


def test_a_jar_that_finds_no_room_is_not_called_unreadable(stage):
    large = jar_bytes({"x": random.Random(1).randbytes(100_000)})
    stage.component(ZUL, "1.0", {f"zul/jlib/{name}": content for name, content in
                                 {**installer_files(), "SetupHelp.jar": large}.items()})
    done = run_check(stage.top, **no_file_above(50_000))
    assert_found(done.stdout.decode().splitlines(),
                 f"stage/Components/{ZUL}/1.0/1/DataFiles/{ZUL}.jar: note: entry zul/jlib/SetupHelp.jar "
                 "could not be looked into: File too large; name a directory with more room in TMPDIR")
    assert (done.returncode, done.stderr) == (0, b"")


def test_an_empty_directory_is_no_stage(root_as_new):
    del root_as_new
    os.makedirs("/tmp/empty")
    done = run_check("/tmp/empty")
    assert done.stdout.decode().splitlines() == [
        ".: error: there is neither a launcher nor a parameter file in this directory: name a stage, "
        "an installed home, or the directory in which the launcher lies",
        "1 error, 0 warnings, 0 notes"]
    assert (done.returncode, done.stderr) == (1, b"")


def test_odd_characters_of_names_are_escaped(stage):
    os.symlink("nowhere", stage.top + "/a\nb\\c:d\x7f\udce9")
    assert_found(stage.check(),
                 "a\\nb\\\\c\\x3ad\\x7f\\xe9: warning: this link leads nowhere (nowhere): put what it "
                 "should lead to in its place")


def test_where_there_is_no_temporary_directory_the_rest_is_checked(stage):
    os.unlink(stage.install + "/unzip")
    assert_found(stage.check(env={"TMPDIR": "/nowhere"}),
                 "install/unzip: error: the program unzip is missing: put the unpacker beside the "
                 "launcher, or no component can be unpacked",
                 "install/talparam.ini: note: nothing that depends on the settings was checked: no "
                 "temporary directory can be made; name one in TMPDIR")


def test_a_pipe_that_bears_a_files_name_is_never_waited_for(stage):
    for path in (stage.ini_path, stage.install + "/resource/cons.nls", stage.install + "/unzip",
                 stage.data_files("talvex.swd.zul") + "/talvex.swd.zul.jar"):
        os.unlink(path)
        os.mkfifo(path)
    lines = stage.check()
    assert ("install/talparam.ini: error: the parameter file cannot be read, so every setting has its "
            "default: it is no file; put a readable file there") in lines
    assert "install/unzip: error: this is no file: put the unpacker beside the launcher" in "\n".join(lines)


def test_links_in_a_circle_end_nothing(stage):
    os.symlink(".", stage.components + "/talvex.swd.zul/1.0/1/DataFiles/Expanded")
    os.symlink("b", stage.top + "/a")
    os.symlink("a", stage.top + "/b")
    assert_found(stage.check(),
                 "a: warning: this link leads in a circle (b): put what it should lead to in its place",
                 "b: warning: this link leads in a circle (a): put what it should lead to in its place")


def test_a_parameter_file_of_100_megabytes_is_checked_as_far_as_16(stage):
    line = b"# " + b"x" * 1021 + b"\n"
    with open(stage.ini_path, "ab") as file:
        for _ in range(100):
            file.write(line * 1024)
    assert_found(stage.check(),
                 "install/talparam.ini: warning: the parameter file has more than 16 MB, and what "
                 "stands behind them was not checked: shorten it")


def test_a_line_of_a_megabyte_is_checked_like_any_other(stage):
    with open(stage.ini_path, "ab") as file:
        file.write(b"K" * 1_000_000 + b"=1\n")
    lines = stage.check()
    assert len(lines) == 2 and lines[1] == "0 errors, 1 warning, 0 notes"
    assert lines[0].startswith("install/talparam.ini:7: warning: no launcher reads the key KKK")


def test_a_file_in_place_of_the_catalogues_directory_is_a_missing_catalogue(stage):
    shutil.rmtree(stage.install + "/resource")
    write_file(stage.install + "/resource", "x")
    assert ("install/resource/cons.nls: error: the English catalogue is missing, and launches end with "
            "status 1 where there is no other: put the launcher's catalogue there") in stage.check()
