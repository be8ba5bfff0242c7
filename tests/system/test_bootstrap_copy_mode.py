"""The bootstrap from an installed home copies directory trees; a bootstrap
without an installer; the question for a Java runtime."""

import os
import shutil
import time

import pytest

from harness import (OPERATOR_HOME, assert_same, de, en, read_file, set_inventory, tree, write_file)
from stage import COMPONENTS, JRE, MEDIA, ZUL, CopyHome, Stage, java_program, write_jar


@pytest.fixture(name="copies")
def fixture_copies(root_as_new):
    del root_as_new
    set_inventory()
    made = CopyHome()
    yield made
    made.end()


@pytest.fixture(name="stage")
def fixture_stage(root_as_new):
    del root_as_new
    set_inventory()
    made = Stage()
    yield made
    made.end()


DIRECTORY = ("dir", 0o770)


def file(content, mode=0o770):
    return ("file", mode, content)


COPIED = {
    ".": ("dir", 0o750),
    "jre": DIRECTORY, "jre/bin": DIRECTORY, "jre/bin/java": file(java_program(), 0o755),
    "zul": DIRECTORY, "zul/jlib": DIRECTORY, "zul/jlib/zul.jar": file(b"zul"),
    "zul/jlib/core.jar": file(b"core"), "zul/jlib/min.jar": file(b"min"),
    "Tessel": DIRECTORY, "Tessel/jlib": DIRECTORY, "Tessel/jlib/tessel.jar": file(b"tessel"),
}

STARTED = en("S_STARTINSTALLERMSG", "Kelvane Installer") + b"\n"


# ---- copy mode ------------------------------------------------------------

def test_the_trees_of_a_home_are_copied_and_java_runs_from_them(copies):
    launch = copies.launch("-silent", java={"exit": 6})
    launch.assert_status(6)
    record = launch.record
    assert_same(record.tree, COPIED)
    assert launch.plain(record.argv[0]) == "{SCRATCH}/jre/bin/java"
    assert launch.plain(record.properties["zul_loc"]) == "{SCRATCH}/zul"
    assert launch.plain(record.properties["library_loc"]) == "{SCRATCH}/zul/lib/intelsolaris"
    assert launch.plain(record.class_path[2]) == "{SCRATCH}/zul/jlib/TalInstaller.jar"
    assert "{SCRATCH}/Tessel/jlib/tessel.jar" in [launch.plain(jar) for jar in record.class_path]
    assert record.properties["jre_loc"] == "../../jdk/jre"
    assert launch.scratches == []


def test_no_bootstrap_does_not_keep_the_trees_from_being_copied(copies):
    assert_same(copies.launch("-silent", "-nobootStrap").record.tree, COPIED)


def test_the_list_of_components_plays_no_part_but_for_unknown_ones(copies):
    shutil.copy(os.path.realpath("/usr/bin/unzip"), copies.dir + "/unzip")
    write_jar(f"{copies.top}/talui/stage/Components/my.own/1/1/DataFiles/x.jar", {"own/x": b"x"})
    copies.ini(BOOTSTRAP_COMPS="my.own:1")
    found = copies.launch("-silent").record.tree
    assert found["own/x"] == file(b"x", 0o750)
    assert found["Tessel/jlib/tessel.jar"] == file(b"tessel")


def test_copied_files_have_mode_0770_whatever_the_source_has(copies):
    for name, mode in (("read-only", 0o400), ("for others", 0o604)):
        write_file(f"{copies.trees}/zul/{name}", "x", mode)
    found = copies.launch("-silent").record.tree
    assert found["zul/read-only"] == found["zul/for others"] == file(b"x")


def test_later_trees_overwrite_files_of_the_same_name(copies):
    for name in ("zul", "core", "min"):
        write_file(f"{copies.trees}/{name}/same", name)
    assert copies.launch("-silent").record.tree["zul/same"] == file(b"min")


def test_a_tree_that_is_missing_is_no_failure(copies):
    shutil.rmtree(copies.trees + "/tessel")
    launch = copies.launch("-silent")
    launch.assert_status(0)
    assert "Tessel" not in launch.record.tree


@pytest.mark.parametrize("name", ["zul", "core", "min", "tessel"])
def test_a_file_that_cannot_be_copied_ends_with_255(copies, name):
    write_file(f"{copies.trees}/{name}/closed", "x", 0o000)
    launch = copies.launch("-silent")
    launch.assert_status(255)
    assert launch.record is None and len(launch.scratches) == 1


def test_a_dangling_link_cannot_be_copied(copies):
    os.symlink("/nowhere", copies.trees + "/zul/dangling")
    copies.launch("-silent").assert_status(255)


def test_links_are_followed_and_one_into_its_own_parents_ends(copies):
    write_file(f"{OPERATOR_HOME}/elsewhere/file", "linked")
    os.symlink(f"{OPERATOR_HOME}/elsewhere", copies.trees + "/zul/linked")
    os.symlink("..", copies.trees + "/zul/jlib/loop")
    found = copies.launch("-silent").record.tree
    assert found["zul/linked"] == DIRECTORY and found["zul/linked/file"] == file(b"linked")
    assert "zul/jlib/loop" not in found


def test_a_full_disk_ends_with_255(copies):
    write_file(copies.trees + "/zul/large", os.urandom(3_000_000))
    copies.ini(BOOTSTRAP_SIZE="0")
    launch = copies.launch("-silent", env={"TEMP": "/small"})
    launch.assert_status(255)
    assert launch.record is None


def test_more_directories_than_2048_are_copied_and_deleted(copies):
    for number in range(2100):
        os.makedirs(f"{copies.trees}/zul/d{number}")
    launch = copies.launch("-silent")
    launch.assert_status(0)
    assert sum(name.startswith("zul/d") for name in launch.record.tree) == 2100
    assert launch.scratches == []


def test_a_launch_may_start_without_bootstrap_for_a_value_that_is_not_true(copies):
    for value in ("F", "no", "f", ""):
        copies.ini(BOOTSTRAP=value)
        launch = copies.launch("-silent", java={"exit": 2})
        launch.assert_status(2)
        assert launch.record.tree == {".": ("dir", 0o750)}


# ---- bootstrap only -------------------------------------------------------

def test_a_bootstrap_only_launch_fills_its_location_and_starts_nothing(stage):
    os.makedirs(f"{OPERATOR_HOME}/boot")
    stage.ini(BOOTSTRAP_COMPS=f"{ZUL},{JRE}")
    launch = stage.launch("-bootstrapOnly", f"BOOTSTRAP_LOC={OPERATOR_HOME}/boot",
                          env={"DISPLAY": None})
    launch.assert_status(0)
    assert_same(launch.stdout, b"\n" + en("S_BOOTSTRAPONLYMSG") + b"  " + en("S_WAITMSG")
                + f"\nBootStrap To {OPERATOR_HOME}/boot Completed\n".encode())
    assert launch.record is None and launch.scratches == []
    found = tree(f"{OPERATOR_HOME}/boot")
    assert found["zul/jlib/zul.jar"] == file(b"zul", 0o750)
    # The runtime is unpacked like any other component of the list.
    assert found["jre/1.0/bin/java"][1] == 0o750


def test_a_bootstrap_only_launch_brings_all_components_without_a_list(stage):
    os.makedirs(f"{OPERATOR_HOME}/boot")
    stage.launch("-bootstrapOnly", f'BOOTSTRAP_LOC="{OPERATOR_HOME}/boot"  ').assert_status(0)
    assert {"jre", "zul", "Tessel"} <= set(os.listdir(f"{OPERATOR_HOME}/boot"))


def test_a_percent_sign_in_the_location_is_shown_as_it_is(stage):
    os.makedirs(f"{OPERATOR_HOME}/100%s")
    launch = stage.launch("-bootstrapOnly", f"BOOTSTRAP_LOC={OPERATOR_HOME}/100%s")
    assert launch.stdout.endswith(f"\nBootStrap To {OPERATOR_HOME}/100%s Completed\n".encode())


def test_a_bootstrap_only_launch_without_a_location_ends_with_255(stage):
    before = tree(MEDIA)
    for size in ("1", "0"):
        stage.ini(BOOTSTRAP_SIZE=size, ACCESS_DIR=f"{OPERATOR_HOME}/access")
        write_file(f"{OPERATOR_HOME}/access/file", "kept")
        launch = stage.launch("-bootstrapOnly")
        assert launch.record is None
        assert os.listdir(f"{OPERATOR_HOME}/access") == ["file"]
        launch.assert_status(255)
    stage.ini()
    assert_same(tree(MEDIA), before)


# ---- the question for a Java runtime --------------------------------------

PROMPTS = [
    (None, None, "S_SPECIFY_JRE_LOCATION", "S_SPECIFY_VALID_JRE_LOCATION"),
    (None, "TRUE", "S_SPECIFY_JRE_ONLY_LOCATION", "S_SPECIFY_VALID_JRE_ONLY_LOCATION"),
    ("TRUE", None, "S_SPECIFY_JDK_ONLY_LOCATION", "S_SPECIFY_VALID_JDK_ONLY_LOCATION"),
    ("TRUE", "TRUE", "S_SPECIFY_JDK_ONLY_LOCATION", "S_SPECIFY_VALID_JRE_ONLY_LOCATION"),
    ("true", "True", "S_SPECIFY_JRE_LOCATION", "S_SPECIFY_VALID_JRE_LOCATION"),
]


def runtime(name="java", **files):
    top = f"{OPERATOR_HOME}/{name}"
    write_file(top + "/bin/java", java_program(), 0o755)
    for path, content in files.items():
        write_file(f"{top}/{path}", content)
    return top


@pytest.mark.parametrize("jdk_only, jre_only, first, retry", PROMPTS)
def test_the_wording_of_the_question(stage, german, jdk_only, jre_only, first, retry):
    stage.ini(JRE_LOCATION=None, USEJDKONLY=jdk_only, USEJREONLY=jre_only)
    launch = stage.launch("-silent", stdin=b"\n/nowhere\n", env=german)
    launch.assert_status(255)
    asked = launch.stdout.partition(de("S_WAITMSG"))[2]
    assert_same(asked, b"\n" + de(first) + b"\n" + de(retry) + b"\n" + de(retry)
                + de("S_JRELOC_ERROR_NOCONSOLE_WIN"))
    assert launch.record is None


def test_the_answer_is_used_as_typed_and_no_runtime_is_brought(stage):
    top = runtime()
    stage.ini(JRE_LOCATION=None)
    launch = stage.launch("-silent", stdin=f"/nowhere\n{top}/\nline for the installer\n".encode(),
                          java={"stdin": 1})
    launch.assert_status(0)
    assert launch.record.argv[0] == f"{top}/bin/java"
    assert launch.record.properties["jre_loc"] == top + "/"
    assert launch.record.properties["extjre"] == "true"
    assert "jre" not in launch.record.tree
    assert launch.record.stdin == b"line for the installer\n"


def test_a_last_line_without_line_feed_is_an_answer(stage):
    top = runtime()
    stage.ini(JRE_LOCATION=None)
    stage.launch("-silent", stdin=top.encode()).assert_status(0)


def test_an_answer_of_the_wrong_kind_is_taken_and_then_rejected(stage):
    top = runtime(**{"lib/rt.jar": ""})
    stage.ini(JRE_LOCATION=None, USEJDKONLY="TRUE")
    launch = stage.launch("-silent", stdin=f"{top}\n".encode())
    launch.assert_status(255)
    assert launch.stdout.endswith(b"\n\n" + en("S_INVALID_JDK_HOME"))
    assert launch.record is None


def test_what_is_typed_ahead_on_a_terminal_is_dropped(stage):
    top = runtime()
    stage.ini(JRE_LOCATION=None)
    terminal = stage.terminal("-silent", typed=f"{top}/ahead\n".encode())
    terminal.expect(en("S_SPECIFY_JRE_LOCATION").rstrip(b"\n"))
    terminal.wait_until_it_reads()
    terminal.type("\n")
    terminal.expect(en("S_SPECIFY_VALID_JRE_LOCATION").rstrip(b"\n"))
    terminal.wait_until_it_reads()
    terminal.type(f"{top}\n")
    launch = terminal.finish()
    launch.assert_status(0)
    assert launch.record.argv[0] == f"{top}/bin/java"


def test_an_answer_ends_at_a_nul_byte(stage):
    top = runtime()
    stage.ini(JRE_LOCATION=None)
    launch = stage.launch("-silent", stdin=f"/none\0{top}\n{top}\0/nowhere\n".encode())
    launch.assert_status(0)
    assert launch.stdout.count(en("S_SPECIFY_VALID_JRE_LOCATION")) == 1
    assert launch.record.argv[0] == f"{top}/bin/java"


def test_the_end_of_the_input_ends_with_255_and_starts_nothing(stage):
    stage.ini(JRE_LOCATION=None)
    for stdin in (b"", None):
        launch = stage.launch("-silent", stdin=stdin)
        launch.assert_status(255)
        assert launch.stdout.endswith(en("S_JRELOC_ERROR_NOCONSOLE_WIN"))
        assert launch.record is None


def test_the_runtime_of_the_stage_is_found_where_the_parameter_file_says(stage):
    stage.ini(JRE_LOCATION=f"{COMPONENTS}/{JRE}/0.0/1/DataFiles")
    launch = stage.launch("-silent")
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/jre/1.0/bin/java"
