"""What a launch must not take away: trees and files that are their own destination,
directories that only have the name of the scratch directory, and the time of
whoever waits for it."""

import os
import shutil
import signal
import socket

import pytest

from harness import OPERATOR_HOME, Home, tree, write_file, write_script
from hostile import fixture_of, runs, told
from stage import COMPONENTS, CORE, CopyHome, Stage

fixture_home = fixture_of("home", Home)
fixture_stage = fixture_of("stage", Stage)
fixture_copy_home = fixture_of("copy_home", CopyHome)

SHARED = OPERATOR_HOME + "/shared"


# ---- its own destination ----------------------------------------------------

def keeps(launch, top, before):
    runs(launch)
    assert launch.record.after("-scratchPath") == SHARED
    assert tree(top) == before


@pytest.mark.parametrize("given", [SHARED + "/prereq", SHARED + "/prereq/",
                                   SHARED + "/../shared/./prereq", OPERATOR_HOME + "/link/prereq",
                                   OPERATOR_HOME + "/prereq"])
def test_a_prerequisite_tree_that_lies_in_the_scratch_directory_already_stays_as_it_is(
        copy_home, given):
    write_file(SHARED + "/prereq/refhost.xml", "held", 0o640)
    write_file(SHARED + "/prereq/deep/er/file", "deep", 0o400)
    os.symlink(SHARED, OPERATOR_HOME + "/link")
    os.symlink(SHARED + "/prereq", OPERATOR_HOME + "/prereq")
    before = tree(SHARED + "/prereq")
    launch = copy_home.launch("-silent", "-nobootStrap", "PREREQ_CONFIG_LOCATION=" + given,
                              "-rscratchPath", SHARED, "-noCleanupOnExit")
    keeps(launch, SHARED + "/prereq", before)


def test_a_file_that_leads_to_its_own_destination_stays_as_it_is(copy_home):
    """Once by a link, once by a second name of the same file."""
    write_file(SHARED + "/prereq/linked", "linked", 0o640)
    write_file(SHARED + "/prereq/named", "named", 0o604)
    source = OPERATOR_HOME + "/source"
    os.mkdir(source)
    os.symlink(SHARED + "/prereq/linked", source + "/linked")
    os.link(SHARED + "/prereq/named", source + "/named")
    write_file(source + "/other", "other")
    launch = copy_home.launch("-silent", "-nobootStrap", "PREREQ_CONFIG_LOCATION=" + source,
                              "-rscratchPath", SHARED, "-noCleanupOnExit")
    runs(launch)
    assert tree(SHARED + "/prereq") == {
        ".": ("dir", 0o755), "linked": ("file", 0o640, b"linked"),
        "named": ("file", 0o604, b"named"), "other": ("file", 0o770, b"other")}


# ---- a relative -rscratchPath ------------------------------------------------

DECOYS = (OPERATOR_HOME + "/given", "/tmp/given", "/var/tmp/given")


def place_decoys(*more):
    for decoy in (*DECOYS, *more):
        write_file(decoy + "/held", "held")


@pytest.mark.parametrize("given", ["given", "./given", "../here/given"])
def test_a_relative_scratch_directory_is_the_one_below_the_directory_of_the_call(
        copy_home, given):
    place_decoys(copy_home.dir + "/given")
    os.makedirs("/var/here/given")
    launch = runs(copy_home.launch("-silent", "-rscratchPath", given, cwd="/var/here"))
    assert os.listdir("/var/here") == []
    for decoy in (*DECOYS, copy_home.dir + "/given"):
        assert os.listdir(decoy) == ["held"], decoy
    record = launch.record
    assert record.after("-scratchPath") == given
    assert f"-Dtalvex.installer.zul_loc={given}/zul" in record.argv
    assert record.class_path[0] == given and given + "/zul/jlib/TalInstaller.jar" in record.class_path
    assert not any("/var/here" in argument for argument in record.argv[1:])


def test_only_a_path_of_its_own_is_told_to_java_as_the_scratch_directory_was_given(home):
    """A longer path that ends like the scratch directory is another one."""
    inventory = "/var/here/var/here/given/inv"
    os.makedirs(inventory)
    os.makedirs("/var/here/given")
    launch = runs(home.launch("-silent", "-rscratchPath", "given", "INVENTORY_LOCATION=" + inventory,
                              cwd="/var/here"))
    assert launch.record.properties["custom_inventory"] == inventory


def test_a_relative_scratch_directory_of_a_home_without_bootstrap_goes_too(home):
    place_decoys()
    write_file("/var/here/given/mine", "mine")
    runs(home.launch("-silent", "-rscratchPath", "given", cwd="/var/here"))
    assert os.listdir("/var/here") == []
    assert all(os.listdir(decoy) == ["held"] for decoy in DECOYS)


def test_a_relative_scratch_directory_stays_with_nocleanuponexit(copy_home):
    os.makedirs("/var/here/given")
    runs(copy_home.launch("-silent", "-rscratchPath", "given", "-noCleanupOnExit",
                          cwd="/var/here"))
    assert set(os.listdir("/var/here/given")) == {"Tessel", "jre", "zul"}


def test_without_a_directory_in_which_it_was_meant_nothing_is_removed(home):
    place_decoys(home.dir + "/given")
    gone = OPERATOR_HOME + "/gone"
    os.mkdir(gone)
    script = write_file(OPERATOR_HOME + "/start", "#!/bin/sh\nrmdir ../gone\nexec "
                        f"{home.launcher} -silent -rscratchPath given\n", 0o755)
    launch = home.launch(program=script, cwd=gone)
    launch.assert_status(0)
    for decoy in (*DECOYS, home.dir + "/given"):
        assert os.listdir(decoy) == ["held"], decoy


# ---- a path that only looks like an option -----------------------------------

NAMES = ("-timestamp", "-paramFile", "-rscratchPath", "-shipHomeLoc", "-rstartupLoc",
         "-rtimestamp")


@pytest.mark.parametrize("name", NAMES)
def test_a_launcher_started_without_arguments_takes_nothing_from_its_own_path(home, name):
    """Its own path once named the scratch directory that it removed at its end."""
    directory = f"{OPERATOR_HOME}/a{name}"
    shutil.copytree(home.top, directory, symlinks=True)
    bin_directory = directory + home.dir.removeprefix(home.top)
    launch = home.launch(argv0=bin_directory + "/setupLauncher", cwd="/tmp")
    record = runs(launch).record
    assert record.scratch.startswith("/tmp/TalInstall20")
    assert os.path.exists(bin_directory + "/setupLauncher")


# ---- what is no file ----------------------------------------------------------

def test_what_is_no_file_in_a_copied_tree_is_named_and_passed_over(copy_home):
    top = copy_home.trees + "/zul"
    os.mkfifo(top + "/pipe")
    with socket.socket(socket.AF_UNIX) as listening:
        listening.bind(top + "/socket")
    os.symlink("/dev/zero", top + "/device")
    launch = copy_home.launch("-silent")
    launch.assert_status(0)
    assert sorted(launch.stderr.splitlines(keepends=True)) == sorted(b"".join(
        told("S_FILE_PASSED_OVER", f"../trees/zul/{name}")
        for name in ("pipe", "socket", "device")).splitlines(keepends=True))
    assert sorted(name for name in launch.record.tree if name.startswith("zul/")) == [
        "zul/jlib", "zul/jlib/core.jar", "zul/jlib/min.jar", "zul/jlib/zul.jar"]


def test_a_pipe_in_the_place_of_a_copy_ends_the_copy_and_does_not_wait_for_a_reader(copy_home):
    os.makedirs(SHARED + "/zul/jlib")
    os.mkfifo(SHARED + "/zul/jlib/zul.jar")
    launch = copy_home.launch("-silent", "-rscratchPath", SHARED)
    launch.assert_status(255)
    assert told("S_REASON", SHARED + "/zul/jlib/zul.jar", "File exists") in launch.stderr


# ---- half an installer ----------------------------------------------------------

def test_a_core_that_cannot_be_unpacked_is_told_of_in_the_operators_language(stage):
    stage.use_shipped_catalogues()
    data = stage.data_files(CORE, "1.7.0.0.0")
    write_file(f"{data}/{CORE}.jar", "no archive")
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert (f"The component {CORE} could not be unpacked from "
            f"{COMPONENTS}/{CORE}/1.7.0.0.0/1/DataFiles. The installer is started without it and "
            "may be incomplete.").encode() in launch.stderr


@pytest.mark.parametrize("component", ["talvex.swd.zul", CORE])
def test_a_signal_during_unpacking_is_the_only_reason_that_is_told(stage, component):
    stage.ini(BOOTSTRAP_COMPS=component)
    write_script(stage.dir + "/unzip", "kill -TERM $PPID\nexec sleep 10\n")
    launch = stage.launch("-silent")
    assert launch.status == -signal.SIGTERM
    assert launch.stderr == told("S_LAUNCH_SIGNALLED", "SIGTERM", int(signal.SIGTERM))
