"""The bootstrap from a distribution: components are unpacked into the scratch
directory and the installer runs from there."""

import os
import shutil

import pytest

from harness import (INVENTORY, OPERATOR_HOME, assert_same, bootstrap_failed, de, en, set_inventory, write_file,
                     write_script)
from stage import (COMPONENTS, CORE, JDK, JRE, MINIMAL, TESSEL, ZUL, Stage, java_program)

# Unpacked with mode 0750 like everything else, then made executable for all.
JAVA = ("file", 0o755, java_program())


@pytest.fixture(name="stage")
def fixture_stage(root_as_new):
    del root_as_new
    set_inventory()
    made = Stage()
    yield made
    made.end()


def started():
    return en("S_STARTINSTALLERMSG", "Kelvane Installer") + b"\n"


def announced(scratch="{SCRATCH}"):
    return en("S_BOOTSTRAPMSG") + f" {scratch}. ".encode() + en("S_WAITMSG")


def unpacked(stage, name, version="1.7.0.0.0", absolute=False):
    """What the log says of one unpacked component."""
    source = stage.data_files(name, version) if absolute else f"{COMPONENTS}/{name}/{version}/1/DataFiles"
    return (en("S_UNZIP_COMMANDLINE")
            + f"{stage.dir}/unzip -qqqo {source}/\\*.jar -d {{SCRATCH}} ".encode())


def counted(jre, zul):
    return (en("S_NUMBER_OF_FILES_BOOTSTRAPPED", "jre", jre)
            + en("S_NUMBER_OF_FILES_BOOTSTRAPPED", "zul", zul))


def directory(mode=0o750):
    return ("dir", mode)


def file(content, mode=0o750):
    return ("file", mode, content)


ALL_FIVE = {
    ".": directory(),
    "jre": directory(), "jre/1.0": directory(), "jre/1.0/bin": directory(), "jre/1.0/bin/java": JAVA,
    "zul": directory(), "zul/jlib": directory(), "zul/jlib/zul.jar": file(b"zul"),
    "zul/jlib/core.jar": file(b"core"), "zul/jlib/min.jar": file(b"min"),
    "Tessel": directory(), "Tessel/jlib": directory(), "Tessel/jlib/tessel.jar": file(b"tessel"),
}


def assert_tree(record, expected):
    assert_same(record.tree, expected, "the scratch directory")


# ---- the whole launch -----------------------------------------------------

def test_all_five_components_are_unpacked_and_java_runs_from_the_scratch_directory(stage):
    launch = stage.launch("-silent", java={"exit": 4})
    launch.assert_status(4)
    record = launch.record
    assert_tree(record, ALL_FIVE)
    assert_same(launch.plain(launch.stdout), started() + announced())
    assert launch.stderr == b""
    assert record.argv[0] == f"{record.scratch}/jre/1.0/bin/java"
    assert record.cwd == "/tmp"
    assert launch.scratches == []


def test_the_log_shows_every_unpacking_the_counts_the_mask_and_the_version(stage):
    launch = stage.launch("-silent")
    before_command = launch.plain(launch.log).partition(en("S_EXECVP_ARGS", "{SCRATCH}/jre/1.0/bin/java"))[0]
    assert_same(before_command, b"".join([
        en("S_USING_PARAMFILE", stage.ini_path), b"\n",
        unpacked(stage, JRE, "1.0"), unpacked(stage, ZUL), unpacked(stage, CORE),
        unpacked(stage, MINIMAL), unpacked(stage, TESSEL), counted(1, 3),
        en("S_UMASK_NOT_AVAILABLE"), b"INFO: " + en("S_ZUL") + b" Version 1.7.0.0.0 \n"]))


def test_the_java_command_shows_the_rewritten_locations(stage):
    launch = stage.launch("-silent")
    record = launch.record
    properties = {name: launch.plain(value) for name, value in record.properties.items()}
    assert_same(sorted(properties.items()), sorted({
        "library_loc": "{SCRATCH}/zul/lib/intelsolaris", "zul_loc": "{SCRATCH}/zul",
        "bootstrap": "TRUE", "startup_location": stage.dir, "jre_loc": "{SCRATCH}/jre/1.0",
        "nlsEnabled": '"TRUE"', "prereqConfigLoc": " ",
        "unixVersion": os.uname().release}.items()))
    jars = launch.plain(":".join(record.class_path)).split(":")
    assert jars[0] == "{SCRATCH}" and jars[2] == "{SCRATCH}/zul/jlib/TalInstaller.jar"
    assert "{SCRATCH}/Tessel/jlib/tessel.jar" in jars and jars[-1] == "{SCRATCH}/zul/jlib/nodemgrasm.jar"


def test_without_waiting_the_launcher_ends_with_0_and_the_scratch_directory_stays(stage):
    stage.ini(WAIT_FOR_COMPLETION=None)
    launch = stage.launch("-silent", java={"exit": 3, "sleep": 0.3}, wait_for_java=False)
    launch.assert_status(0)
    assert launch.records[0].ppid != os.getpid()
    assert len(launch.scratches) == 1


@pytest.mark.parametrize("argument", ["-waitForCompletion", "-cleanup", "-saveInventory"])
def test_options_that_wait(stage, argument):
    stage.ini(WAIT_FOR_COMPLETION=None)
    launch = stage.launch("-silent", argument, java={"exit": 3})
    launch.assert_status(3)
    assert launch.scratches == []


def test_a_distribution_bootstraps_even_when_told_not_to(stage):
    stage.ini(BOOTSTRAP="F")
    assert stage.launch("-silent").record.properties["bootstrap"] == "TRUE"


def test_debug_lets_unzip_list_what_it_extracts(stage):
    launch = stage.launch("-silent", "-debug")
    assert b"zul/jlib/zul.jar" in launch.stdout
    assert f"{stage.dir}/unzip -o {COMPONENTS}/".encode() in launch.log


# ---- components -----------------------------------------------------------

def test_without_a_known_location_the_highest_version_is_taken(stage):
    stage.component(ZUL, "1.7.0.0.10", {"zul/jlib/zul.jar": b"newer"})
    stage.component(ZUL, "1.7.0.0.9", {"zul/jlib/zul.jar": b"older"})
    stage.ini(ZUL_LOCATION="nowhere")
    tree = stage.launch("-silent").record.tree
    assert tree["zul/jlib/zul.jar"] == file(b"newer")


def test_the_stage_above_the_one_above_is_the_second_place(stage):
    os.makedirs(f"{OPERATOR_HOME}/deep")
    shutil.move(stage.dir, f"{OPERATOR_HOME}/media/disk/install")
    moved = Stage.__new__(Stage)
    moved.__dict__.update(stage.__dict__, dir=f"{OPERATOR_HOME}/media/disk/install")
    moved.launcher, moved.ini_path = moved.dir + "/setupLauncher", moved.dir + "/talparam.ini"
    moved.ini(JRE_LOCATION="nowhere")
    launch = moved.launch("-silent")
    launch.assert_status(0)
    assert_tree(launch.record, ALL_FIVE)
    assert b"-qqqo ../../stage/Components/talvex.swd.zul/" in launch.log


def test_a_list_brings_what_it_names_in_the_version_it_names(stage):
    stage.component(CORE, "11.2.0.1.0", {"zul/jlib/core.jar": b"listed"})
    stage.component(CORE, "11.2.0.3.0", {"zul/jlib/core.jar": b"higher"})
    stage.component("my.own", "9.9", {"own/old": b"old"})
    stage.component("my.own", "10.0", {"own/new": b"new"})
    stage.ini(BOOTSTRAP_COMPS=f"{ZUL},{CORE}:11.2.0.1.0,,my.own,{JRE}:77")
    record = stage.launch("-silent").record
    assert_tree(record, {
        ".": directory(), "own": directory(), "own/new": file(b"new"),
        "jre": directory(), "jre/1.0": directory(), "jre/1.0/bin": directory(), "jre/1.0/bin/java": JAVA,
        "zul": directory(), "zul/jlib": directory(), "zul/jlib/zul.jar": file(b"zul"),
        "zul/jlib/core.jar": file(b"listed")})
    # The patch tool was not brought, so its jars stay where the stage has them.
    assert f"{COMPONENTS}/{TESSEL}/1.7.0.0.0/1/DataFiles/jlib/tessel.jar" in record.class_path


def test_an_unknown_component_that_cannot_be_unpacked_ends_with_255(stage):
    stage.ini(BOOTSTRAP_COMPS=f"{ZUL},no.such")
    launch = stage.launch("-silent")
    launch.assert_status(255)
    missing = f"{COMPONENTS}/no.such/0.0.0.0.0/1/DataFiles"
    assert_same(launch.plain(launch.stderr), en("S_UNZIP_FAILED", missing) + b"\n"
                + bootstrap_failed("{SCRATCH}", "UNPACKING", "no.such"))
    assert en("S_UNZIP_FAILED", missing) in launch.log
    assert launch.record is None and len(launch.scratches) == 1


def test_without_the_runtime_component_the_development_kit_takes_its_place(stage):
    stage.remove(JRE)
    stage.component(JDK, "1", {"jdk/bin/java": java_program(), "jre/marker": b""})
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/jdk/bin/java"
    assert launch.plain(launch.record.properties["jre_loc"]) == "{SCRATCH}/jdk/"


def test_a_development_kit_without_the_jre_directory_ends_with_255(stage):
    stage.remove(JRE)
    stage.component(JDK, "1", {"jdk/bin/java": java_program()})
    launch = stage.launch("-silent")
    launch.assert_status(255)
    assert launch.plain(launch.stdout).endswith(en("S_EROPEN", "{SCRATCH}/jre"))
    assert launch.record is None


def test_no_runtime_component_at_all_is_told_and_ends_with_255(stage, german):
    stage.remove(JRE)
    launch = stage.launch("-silent", env=german)
    launch.assert_status(255)
    assert launch.stdout.endswith(de("S_JRELOC_ERROR_NOCONSOLE_WIN"))
    assert launch.record is None and len(launch.scratches) == 1


def test_an_empty_runtime_directory_is_told_and_ends_with_255(stage):
    stage.component(JRE, "1.0", {"jre/": b""})
    launch = stage.launch("-silent")
    launch.assert_status(255)
    assert launch.stdout.endswith(en("S_ERJRE_MISSING"))


@pytest.mark.parametrize("component, fatal", [
    (ZUL, True), (CORE, False), (MINIMAL, False), (TESSEL, True), (JRE, True)])
def test_a_broken_jar_ends_the_launch_or_leaves_the_stages_location(stage, component, fatal):
    version = "1.0" if component == JRE else "1.7.0.0.0"
    write_file(stage.data_files(component, version) + f"/{component}.jar", b"no archive")
    launch = stage.launch("-silent")
    launch.assert_status(255 if fatal else 0)
    assert (launch.record is None) == fatal
    if component == CORE:
        jar = f"{COMPONENTS}/{CORE}/1.7.0.0.0/1/DataFiles/jlib/TalInstaller.jar"
        assert launch.record.class_path[2] == jar
        assert "zul/jlib/core.jar" not in launch.record.tree


def test_an_unzip_that_is_missing_ends_with_255(stage):
    os.unlink(stage.dir + "/unzip")
    launch = stage.launch("-silent")
    launch.assert_status(255)
    assert b"unzip" in launch.stderr
    assert launch.record is None


def test_the_unzip_beside_the_launcher_is_used_and_no_other(stage):
    write_script("/usr/bin/unzip", "exit 9\n")
    stage.launch("-silent").assert_status(0)


def test_an_expanded_tree_is_copied_as_it_is(stage):
    stage.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": b"zul"}, {"x/after": b"1"})
    stage.component(CORE, "1.7.0.0.0", {"zul/jlib/core.jar": b"core"}, {"x/before": b"2"})
    tree = stage.launch("-silent").record.tree
    # Every later unpacking gives all that is there its mode.
    assert_same({name: tree[name] for name in tree if name.startswith("x")},
                {"x": directory(), "x/after": file(b"1"), "x/before": file(b"2")})


# ---- given runtimes -------------------------------------------------------

def test_a_runtime_of_the_operator_is_used_and_none_is_brought(stage):
    runtime = f"{OPERATOR_HOME}/java"
    write_file(runtime + "/bin/java", java_program(), 0o755)
    launch = stage.launch("-silent", "-jreLoc", runtime)
    launch.assert_status(0)
    assert launch.record.argv[0] == runtime + "/bin/java"
    assert launch.record.properties["extjre"] == "true"
    assert "jre" not in launch.record.tree


def test_a_usable_runtime_in_the_scratch_directory_replaces_the_unpacked_one(stage):
    stage.component("my.own", "1", {"given/bin/java": java_program()})
    stage.ini(JRE_SCRATCH_LOC="given", BOOTSTRAP_COMPS=f"my.own,{ZUL},{JRE}")
    launch = stage.launch("-silent")
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/given/bin/java"
    assert "jre/1.0/bin/java" in launch.record.tree


def test_a_runtime_in_the_scratch_directory_is_enough_to_know_one(stage):
    stage.component("my.own", "1", {"given/bin/java": java_program()})
    stage.ini(JRE_LOCATION=None, JRE_SCRATCH_LOC="given", DISABLE_JRE_PROMPT="TRUE",
              BOOTSTRAP_COMPS=f"my.own,{ZUL},{JRE}")
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.plain(launch.stdout), started() + announced())
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/given/bin/java"


def test_a_given_runtime_that_cannot_be_opened_is_recorded_and_ignored(stage, german):
    stage.ini(JRE_SCRATCH_LOC="given")
    launch = stage.launch("-silent", env=german)
    launch.assert_status(0)
    assert launch.plain(launch.log).find(de("S_EROPEN", "{SCRATCH}/given")) > 0
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/jre/1.0/bin/java"
    # The log is closed behind that look: what the rest of the bootstrap records goes nowhere.
    assert en("S_UNZIP_COMMANDLINE") not in launch.log
    assert en("S_NUMBER_OF_FILES_BOOTSTRAPPED", "jre", 1) not in launch.log


def test_an_empty_given_runtime_is_recorded_and_ignored(stage):
    stage.component("my.own", "1", {"given/": b""})
    stage.ini(JRE_SCRATCH_LOC="given", BOOTSTRAP_COMPS=f"my.own,{ZUL},{JRE}")
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert en("S_ERJRE_MISSING") in launch.log


def test_a_disabled_prompt_without_a_runtime_ends_with_0_and_says_so(stage):
    stage.ini(JRE_LOCATION=None, DISABLE_JRE_PROMPT="TRUE")
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.plain(launch.stdout),
                started() + announced() + b"\n\n" + en("S_JRELOC_ERROR_NOCONSOLE_WIN"))
    assert launch.log.endswith(en("S_JRELOC_ERROR_NOCONSOLE_WIN"))
    assert launch.record is None and len(launch.scratches) == 1


# ---- options --------------------------------------------------------------

def test_no_bootstrap_unpacks_nothing_yet_rewrites_the_locations(stage):
    write_file(f"{OPERATOR_HOME}/access/file", "a")
    write_file(f"{OPERATOR_HOME}/ext/lib/file", "e")
    write_file(f"{OPERATOR_HOME}/pre/file", "p")
    write_file(stage.dir + "/images/i.gif", "i")
    stage.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": b"zul"}, {"x": b"1"})
    stage.ini(ACCESS_DIR=f"{OPERATOR_HOME}/access", EXT_LIB=f"{OPERATOR_HOME}/ext/lib",
              PREREQ_CONFIG_LOCATION=f"{OPERATOR_HOME}/pre", BOOTSTRAP_COMPS=ZUL)
    runtime = f"{OPERATOR_HOME}/java"
    write_file(runtime + "/bin/java", java_program(), 0o755)
    launch = stage.launch("-silent", "-nobootStrap", "-jreLoc", runtime)
    launch.assert_status(0)
    assert_tree(launch.record, {
        ".": directory(), "x": file(b"1", 0o770), "images": directory(0o770),
        "images/i.gif": file(b"i", 0o770), "prereq": directory(0o770),
        "prereq/file": file(b"p", 0o770)})
    assert launch.plain(launch.record.properties["zul_loc"]) == "{SCRATCH}/zul"
    assert launch.plain(launch.record.properties["prereqConfigLoc"]) == "{SCRATCH}/prereq "


def test_everything_beside_the_components_arrives_in_its_place(stage):
    for part in ("access/a", "ext/jlib/j.jar", "ext/lib/l.so", "ext/bin/b", "pre/p"):
        write_file(f"{OPERATOR_HOME}/src/{part}", part, 0o400)
    write_file(stage.top + "/images/i.gif", "i")
    src = f"{OPERATOR_HOME}/src"
    stage.ini(ACCESS_DIR=src + "/access", EXT_JLIB=src + "/ext/jlib", EXT_LIB=src + "/ext/lib",
              EXT_BIN=src + "/ext/bin", PREREQ_CONFIG_LOCATION=src + "/pre")
    launch = stage.launch("-silent")
    launch.assert_status(0)
    late = 0o770  # copied behind the last unpacking
    assert_tree(launch.record, {
        **ALL_FIVE, "images": directory(), "images/i.gif": file(b"i"),
        "a": file(b"access/a", late), "prereq": directory(late), "prereq/p": file(b"pre/p", late),
        "ext": directory(late), "ext/jlib": directory(late), "ext/lib": directory(late),
        "ext/bin": directory(late), "ext/jlib/j.jar": file(b"ext/jlib/j.jar", late),
        "ext/lib/l.so": file(b"ext/lib/l.so", late), "ext/bin/b": file(b"ext/bin/b", late)})
    assert launch.plain(launch.record.environ["LD_LIBRARY_PATH"]) == "{SCRATCH}/ext/bin:{SCRATCH}/ext/lib"
    assert launch.plain(launch.record.class_path[2]) == "{SCRATCH}/ext/jlib/j.jar"


def test_a_missing_access_directory_is_no_failure(stage):
    stage.ini(ACCESS_DIR="/nowhere")
    stage.launch("-silent").assert_status(0)


@pytest.mark.parametrize("option, value", [("ACCESS_DIR", "access"), ("PREREQ_CONFIG_LOCATION", "pre")])
def test_access_files_and_prerequisites_that_cannot_be_copied_end_with_255(stage, option, value):
    write_file(f"{OPERATOR_HOME}/{value}/closed", "x", 0o000)
    stage.ini(**{option: f"{OPERATOR_HOME}/{value}"})
    launch = stage.launch("-silent")
    launch.assert_status(255)
    assert launch.record is None


def test_images_and_extra_directories_that_cannot_be_copied_are_done_without(stage):
    write_file(stage.dir + "/images/closed", "x", 0o000)
    write_file(f"{OPERATOR_HOME}/ext/closed", "x", 0o000)
    stage.ini(EXT_LIB=f"{OPERATOR_HOME}/ext")
    stage.launch("-silent").assert_status(0)


@pytest.mark.parametrize("text, mask, shown", [
    ("022", 0o022, None), ("000", 0o000, None),
    ("0228", 0o007, "0228"), ("08", 0o007, "08"), ("abc", 0o007, "abc"), ("028", 0o007, "028"),
    (None, 0o007, None)])
def test_the_mask_of_the_parameter_file(stage, text, mask, shown):
    stage.ini(UMASK=text)
    launch = stage.launch("-silent")
    assert launch.record.umask == mask
    invalid = en("S_UMASK_INVALID", shown)
    assert launch.stdout.endswith(invalid) == (shown is not None)
    recorded = (invalid if shown else en("S_UMASK_VALID", text) if text
                else en("S_UMASK_NOT_AVAILABLE"))
    assert recorded + b"INFO: " in launch.log


def test_the_mask_message_is_shown_localised_and_recorded_in_english(stage, german):
    stage.ini(UMASK="x")
    launch = stage.launch("-silent", env=german)
    assert launch.stdout.endswith(de("S_UMASK_INVALID", "x"))
    assert en("S_UMASK_INVALID", "x") in launch.log


# ---- space ----------------------------------------------------------------

def test_the_largest_size_is_accepted_and_then_there_is_no_room(stage):
    write_file(f"{OPERATOR_HOME}/ext/file", "e")
    stage.ini(BOOTSTRAP_SIZE="8796093022207", EXT_LIB=f"{OPERATOR_HOME}/ext")
    launch = stage.launch("-silent")
    launch.assert_status(255)
    words = launch.plain(launch.stderr)
    assert words.startswith(b"[en S_ROOM|{SCRATCH}|No space left on device|")
    assert words.endswith(b"|8796093022207|1000]\n\n"
                          + bootstrap_failed("{SCRATCH}", "SPACE", "BOOTSTRAP_SIZE"))
    assert launch.record is None
    assert en("S_NUMBER_OF_FILES_BOOTSTRAPPED", "zul", 0) in launch.log
    with open(f"{launch.scratches[0]}/ext/lib/file", encoding="ascii") as copied:
        assert copied.read() == "e"


@pytest.mark.parametrize("size", ["8796093022208", "-1", "99999999999999999999999"])
def test_a_size_out_of_range_is_told_and_the_launch_goes_on_without_bootstrap(stage, size):
    stage.ini(BOOTSTRAP_SIZE=size, JRE_LOCATION=f"{OPERATOR_HOME}/java")
    write_file(f"{OPERATOR_HOME}/java/bin/java", java_program(), 0o755)
    launch = stage.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.stderr, en("S_ERBOOTSTRAP_RANGE", 8796093022207) + b"\n")
    assert_same(launch.stdout, started())
    assert launch.record.tree == {".": directory()}


def test_a_full_disk_ends_with_255_and_no_java(stage):
    stage.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": os.urandom(3_000_000)})
    stage.ini(BOOTSTRAP_SIZE="0")
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    launch.assert_status(255)
    assert launch.record is None


def test_a_scratch_directory_that_cannot_be_written_ends_with_255(stage):
    # A directory of the operator's own would not do: the unpacking gives it a mode to write in.
    stage.ini(BOOTSTRAP_SIZE="0")
    launch = stage.launch("-silent", "-rscratchPath", "/readonly")
    launch.assert_status(255)
    assert launch.record is None


# ---- a parent's stage -----------------------------------------------------

def test_a_ship_home_works_in_the_directory_it_was_started_in(stage):
    ship = f"{OPERATOR_HOME}/ship/start"
    os.makedirs(ship)
    shutil.copy(stage.ini_path, ship + "/talparam.ini")
    launch = stage.launch("-silent", "-shipHomeLoc", f'"{ship}"', cwd=stage.dir)
    launch.assert_status(0)
    assert_tree(launch.record, ALL_FIVE)
    assert launch.record.properties["startup_location"] == ship
    assert launch.record.passed_through == ["-silent"]


def test_a_ship_home_that_is_missing_leaves_the_launch_where_it_is(stage):
    launch = stage.launch("-silent", "-shipHomeLoc", "/nowhere", cwd=stage.dir)
    launch.assert_status(0)
    assert_tree(launch.record, ALL_FIVE)
    assert launch.record.properties["startup_location"] == "/nowhere"


def test_a_ship_home_started_in_a_deleted_directory_unpacks_with_its_own_unzip(stage):
    os.makedirs("/tmp/gone")
    script = write_script("/tmp/start", 'cd /tmp/gone; rmdir /tmp/gone; exec "$@"\n')
    launch = stage.launch(stage.launcher, "-silent", "-shipHomeLoc", stage.dir, program=script,
                          argv0=script, cwd="/tmp")
    launch.assert_status(0)
    assert_tree(launch.record, ALL_FIVE)
    assert unpacked(stage, ZUL) in launch.plain(launch.log)


def test_the_inventory_log_directory_takes_the_log_of_a_stage(stage):
    assert stage.launch("-silent").log_path.startswith(INVENTORY + "/logs/installActions")


def test_paths_with_characters_of_the_shell_are_quoted(root_as_new):
    del root_as_new
    set_inventory()
    odd = Stage(f"{OPERATOR_HOME}/odd $HOME 'media' & co")
    temp = "/tmp/a b$(touch x)`y`"
    launch = odd.launch("-silent", env={"TEMP": temp})
    launch.assert_status(0)
    assert_tree(launch.record, ALL_FIVE)
    assert launch.record.scratch.startswith(temp + "/TalInstall")
    quoted = odd.dir.replace("'", "'\\''")
    assert f"'{quoted}/unzip' -qqqo ".encode() in launch.log
    odd.end()
