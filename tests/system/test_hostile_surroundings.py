"""Whole launches where a file or a directory around the launcher is not as it
should be: each ends with its settled status and, where it fails, says on which
path, and takes away the scratch directory wherever a launch that got that far
does. Nothing keeps a launch from ending: five seconds are enough for each."""

import errno
import os
import random
import re
import shutil

import pytest

from harness import (INVENTORY, MOUNT_TABLE, OPERATOR_HOME, POINTER_FILE, Home, assert_same,
                     bootstrap_failed, compile_locale, de, en, no_catalogue_in, read_file,
                     write_file)
from hostile import (FAILED, NO_CATALOGUE, NO_PARAMETER_FILE, SCRATCH, ends, fixture_of, listed,
                     runs, told, without_time, words_before)
from stage import COMPONENTS, CORE, JRE, ZUL, CopyHome, Stage

# The size of /small.
SMALL = 2 << 20

fixture_home = fixture_of("home", Home)
fixture_stage = fixture_of("stage", Stage)
fixture_copy_home = fixture_of("copy_home", CopyHome)
fixture_place = fixture_of("place", Home, Stage)


# ---- how files and directories can be bad ---------------------------------

# Bytes of every value, with the start of a program of another machine.
BINARY = b"\x7fELF\0\0\0" + random.Random(1).randbytes(65536)
LONG_LINE = b"x" * (1 << 20)


def put(content):
    """Replaces what is in a file; its mode stays."""
    def replace(path):
        mode = os.stat(path).st_mode
        write_file(path, content, mode & 0o777)
    return replace


def make_directory_of(path):
    os.unlink(path)
    os.mkdir(path)


def make_unreadable(path):
    os.chmod(path, 0)


def make_dangling(path):
    os.unlink(path)
    os.symlink("/nowhere/at/all", path)


FILES = {"missing": os.unlink, "empty": put(b""), "a directory": make_directory_of,
         "unreadable": make_unreadable, "binary": put(BINARY), "one long line": put(LONG_LINE),
         "a dangling link": make_dangling}
GONE = ("missing", "a dangling link")


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
    shutil.rmtree(path)
    write_file(path, b"file")


def make_dangling_directory(path):
    shutil.rmtree(path)
    os.symlink("/nowhere/at/all", path)


DIRECTORIES = {"missing": os.rmdir, "read-only": make_read_only, "full": make_full,
               "a file": make_file_of, "a dangling link": make_dangling_directory}


# ---- files that are read --------------------------------------------------

def no_java(java="bin/java"):
    return told("S_ERJRENFD", java, "1.4")


def assert_no_settings(launch, how, file):
    """Without a word of a parameter the runtime is not known. A file that cannot
    be read is told, and the log names every other."""
    error = {"a directory": errno.EISDIR, "unreadable": errno.EACCES}.get(how)
    why = b""
    if error:
        why = en("S_ERPARAMFILE_READ", file) + f": {os.strerror(error)}\n".encode()
    ends(launch, FAILED, why + no_java())
    assert launch.log.startswith(en("S_USING_PARAMFILE", file))


@pytest.mark.parametrize("how", FILES)
def test_a_bad_parameter_file_ends_the_launch(place, how):
    FILES[how](place.ini_path)
    launch = place.launch("-silent")
    if how in GONE:
        last = place.dir + "/../talparam.ini"
        ends(launch, NO_PARAMETER_FILE, told("S_ERTALPARAMNFD", last), left=True)
        assert launch.record is None
    else:
        assert_no_settings(launch, how, place.ini_path)


@pytest.mark.parametrize("how", FILES)
def test_a_bad_parameter_file_of_the_command_line_gives_way_only_when_it_is_not_there(home, how):
    given = write_file(OPERATOR_HOME + "/given.ini", read_file(home.ini_path))
    FILES[how](given)
    launch = home.launch("-silent", "-paramFile", given)
    if how in GONE:
        instead = (en("S_ERUSR_PARAMFILE_NOT_FOUND", given)
                   + en("S_DEF_PARAMFILE", home.ini_path))
        runs(launch)
        assert launch.stdout.startswith(instead) and launch.log.startswith(instead)
    else:
        assert_no_settings(launch, how, given)


# A machine on which nothing was installed yet has no pointer file. One that says
# nothing means the same, no inventory: there is nothing to tell, and the log lies
# in the scratch directory and goes with it.
@pytest.mark.parametrize("how", FILES)
@pytest.mark.parametrize("pointer, arguments", [
    (POINTER_FILE, ()),
    (OPERATOR_HOME + "/given.loc", ("-invPtrLoc", OPERATOR_HOME + "/given.loc")),
], ids=["the system's", "the command line's"])
def test_a_bad_pointer_file_means_no_inventory(home, pointer, arguments, how):
    write_file(pointer, f"inventory_loc={INVENTORY}\n")
    assert len(runs(home.launch("-silent", *arguments)).logs) == 1
    FILES[how](pointer)
    assert runs(home.launch("-silent", *arguments)).logs == {}


# Only a table that names the launcher's own drive speaks against a launch. Many
# systems have none at all, and a launch there has nothing to report.
@pytest.mark.parametrize("how", FILES)
def test_a_bad_mount_table_speaks_against_no_launch(home, how):
    home.ini(MULTICD="TRUE")
    if os.path.lexists(MOUNT_TABLE):
        os.unlink(MOUNT_TABLE)
    write_file(MOUNT_TABLE, "/dev/dsk/c0t0d0s0\t/\tufs\trw\t0\n")
    FILES[how](MOUNT_TABLE)
    launch = home.launch("-silent")
    if os.path.isfile(MOUNT_TABLE):
        os.chmod(MOUNT_TABLE, 0o644)
    runs(launch)


# ---- catalogues -----------------------------------------------------------

START = "S_STARTINSTALLERMSG", "Kelvane Installer"


def complaints(how):
    """What reading a bad catalogue tells of: every record without "=", where
    1023 bytes without a NUL are one. A file that is there and says nothing is a
    catalogue without texts, one that is not there is completed from the others:
    neither is told."""
    content = {"binary": BINARY, "one long line": LONG_LINE}.get(how, b"")
    records = re.findall(rb"[^\0]{0,1022}\0|[^\0]{1023}", content)
    return b"".join(b'WARNING: Ignoring malformed message "' + record.rstrip(b"\0")
                    + b'" in catalogue!\n' for record in records if b"=" not in record)


@pytest.mark.parametrize("how", FILES)
def test_a_bad_catalogue_that_is_the_only_one(home, how):
    FILES[how](home.resource + "/cons.nls")
    launch = home.launch("-silent")
    if how in (*GONE, "unreadable"):
        ends(launch, NO_CATALOGUE, no_catalogue_in(home.resource))
        assert launch.record is None and launch.logs == {}
        return
    runs(launch, complaints(how) * 2)  # for the console and for the log
    assert_same(launch.stdout, b"\n")


@pytest.mark.parametrize("how", FILES)
def test_a_bad_catalogue_beside_a_translation_leaves_only_the_log_without_texts(home, how):
    FILES[how](home.resource + "/cons.nls")
    launch = runs(home.launch("-silent", env=compile_locale("de_DE.UTF-8")), complaints(how) * 2)
    assert_same(launch.stdout, de(*START) + b"\n")
    assert launch.log.startswith(b"\nINFO:  Version ")


@pytest.mark.parametrize("how", FILES)
def test_a_bad_translation_gives_way_to_the_default_catalogue(home, how):
    FILES[how](home.resource + "/cons_de.nls")
    launch = runs(home.launch("-silent", env=compile_locale("de_DE.UTF-8")), complaints(how))
    assert_same(launch.stdout, en(*START) + b"\n")


# ---- java -----------------------------------------------------------------

# A text that the system cannot execute is a script for the shell, and its status
# and its words are the shell's; any other bytes are no program at all.
SHELL = (2, 126, 127)


def not_started(error, key, path):
    """What is told of a program that cannot be started, and why."""
    return (told("S_ERGOSLST", "CreateZULProcess()", error)
            + en(key, path, os.strerror(error)) + b" " + told("S_REMEDY_JRELOC"))


def assert_java_is_bad(launch, how, java, path):
    """`java` is its path on the command line of the installer, `path` its whole path."""
    assert launch.record is None and launch.scratches == []
    if how in GONE:
        ends(launch, FAILED, no_java(java))
    elif how == "a directory":
        ends(launch, FAILED, not_started(errno.EACCES, "S_START_DIRECTORY", path))
    elif how in ("empty", "binary"):
        ends(launch, FAILED, not_started(errno.ENOEXEC, "S_START_NO_PROGRAM", path))
    else:
        assert launch.status in SHELL
        assert without_time(launch.stderr).startswith(java.encode() + b": ")
    if how not in GONE:
        assert en("S_EXECVP_ARGS", java) in without_time(launch.log)


@pytest.mark.parametrize("how", [how for how in FILES if how != "unreadable"])
def test_a_home_whose_java_is_bad(home, how):
    FILES[how](home.jre + "/bin/java")
    assert_java_is_bad(home.launch("-silent"), how, "../../jdk/jre/bin/java",
                       home.jre + "/bin/java")


def test_a_home_whose_java_may_not_be_executed_is_helped_to_it(home):
    make_unreadable(home.jre + "/bin/java")
    runs(home.launch("-silent"))


@pytest.mark.parametrize("how, files", [
    ("missing", {"jre/1.0/lib/rt.jar": b""}),
    ("empty", {"jre/1.0/bin/java": b""}),
    ("a directory", {"jre/1.0/bin/java/file": b""}),
    ("binary", {"jre/1.0/bin/java": BINARY}),
    ("one long line", {"jre/1.0/bin/java": LONG_LINE}),
])
def test_a_stage_whose_java_is_bad(stage, how, files):
    stage.component(JRE, "1.0", files)
    java = SCRATCH + "/jre/1.0/bin/java"
    assert_java_is_bad(stage.launch("-silent"), how, java, java)


# ---- files that are unpacked ----------------------------------------------

VERSIONS = {JRE: "1.0", ZUL: "1.7.0.0.0", CORE: "1.7.0.0.0"}


def payload(component):
    return f"{COMPONENTS}/{component}/{VERSIONS[component]}/1/DataFiles"


def jar_of(stage, component):
    return f"{stage.data_files(component, VERSIONS[component])}/{component}.jar"


def unpacking(stage, component):
    """What the log tells of a component."""
    return (en("S_UNZIP_COMMANDLINE").decode() + f"{stage.dir}/unzip -qqqo {payload(component)}"
            f"/\\*.jar -d {SCRATCH} ").encode()


def assert_unzip_tells(words, how, component):
    """unzip passes over what is no file without a word and names any other."""
    if how in (*GONE, "a directory"):
        assert words == b""
    else:
        assert f"{payload(component)}/{component}.jar".encode() in words


@pytest.mark.parametrize("how", FILES)
@pytest.mark.parametrize("component", [JRE, ZUL])
def test_a_stage_with_a_bad_archive_ends_after_the_bootstrap(stage, component, how):
    FILES[how](jar_of(stage, component))
    launch = stage.launch("-silent")
    words = words_before(launch, FAILED, bootstrap_failed(SCRATCH, "UNPACKING", component),
                         left=True)
    assert_unzip_tells(words, how, component)
    assert without_time(launch.log).endswith(unpacking(stage, component)
                                             + en("S_UMASK_NOT_AVAILABLE"))


@pytest.mark.parametrize("how", FILES)
def test_a_stage_with_a_bad_unzip_ends_after_the_bootstrap(stage, how):
    FILES[how](stage.dir + "/unzip")
    launch = stage.launch("-silent")
    step = "RUNTIME" if how == "empty" else "UNPACKING"
    words = words_before(launch, FAILED, bootstrap_failed(SCRATCH, step, JRE), left=True)
    if how == "empty":  # which does nothing, and does it well
        assert words == b""
        assert without_time(launch.stdout).endswith(en("S_EROPEN", SCRATCH + "/jre"))
    else:
        assert (stage.dir + "/unzip: ").encode() in words
    assert without_time(launch.log).endswith(unpacking(stage, JRE)
                                             + en("S_UMASK_NOT_AVAILABLE"))


# A core that cannot be unpacked ends no bootstrap: the installer is told its place
# on the stage instead, and only the installer knows whether it misses anything.
# unzip has told what it met, the launcher that the component is not there, and the
# log what was to be done.
@pytest.mark.parametrize("how", FILES)
def test_a_stage_with_a_bad_core_component_starts_the_installer_with_its_place_there(stage, how):
    FILES[how](jar_of(stage, CORE))
    launch = stage.launch("-silent")
    words = words_before(launch, 0, told("S_CORE_NOT_UNPACKED", CORE, payload(CORE)))
    assert_unzip_tells(words, how, CORE)
    assert unpacking(stage, CORE) in without_time(launch.log)
    assert payload(CORE) + "/jlib/TalInstaller.jar" in launch.record.class_path


# ---- trees that are copied ------------------------------------------------

def make_held_file_unreadable(path):
    os.chmod(path + "/held", 0)


TREES = {"missing": shutil.rmtree, "unreadable": make_unreadable, "a file": make_file_of,
         "a dangling link": make_dangling_directory}

# A parameter file may name trees that only some media carry, so one that cannot
# be opened is as good as one that has nothing in it. The installer, which knows
# what it needs, tells what it misses.
COPIES = {"images": "images/held", "ACCESS_DIR": "held", "PREREQ_CONFIG_LOCATION": "prereq/held",
          "EXT_JLIB": "ext/jlib/held", "EXT_LIB": "ext/lib/held", "EXT_BIN": "ext/bin/held"}
NEEDED = ("ACCESS_DIR", "PREREQ_CONFIG_LOCATION")


def not_copied(tree):
    """What is told of a tree with an unreadable file."""
    return (told("S_REASON", tree + "/held", "Permission denied")
            + bootstrap_failed(SCRATCH, "COPYING", tree))


def named_tree(stage, name):
    if name == "images":
        return os.path.dirname(write_file(stage.dir + "/images/held", b"held"))
    tree = os.path.dirname(write_file(OPERATOR_HOME + "/ext/held", b"held"))
    stage.ini(**{name: tree})
    return tree


@pytest.mark.parametrize("how", [None, *TREES])
@pytest.mark.parametrize("name", COPIES)
def test_a_stage_with_a_bad_tree_to_copy_does_without_it(stage, name, how):
    tree = named_tree(stage, name)
    if how is not None:
        TREES[how](tree)
    launch = runs(stage.launch("-silent"))
    assert (COPIES[name] in launch.record.tree) == (how is None)


@pytest.mark.parametrize("name", COPIES)
def test_a_file_that_cannot_be_copied_ends_a_bootstrap_unless_it_is_an_extra(stage, name):
    tree = named_tree(stage, name)
    make_held_file_unreadable(tree)
    launch = stage.launch("-silent")
    if name in NEEDED:
        ends(launch, FAILED, not_copied(tree), left=True)
        assert launch.record is None
    else:
        assert runs(launch).record.tree[COPIES[name]][2] == b""


HOME_TREES = {"zul": "zul/held", "core": "zul/held", "min": "zul/held", "tessel": "Tessel/held"}


@pytest.mark.parametrize("how", [None, *TREES])
@pytest.mark.parametrize("name", HOME_TREES)
def test_a_home_with_a_bad_tree_to_copy_does_without_it(copy_home, name, how):
    tree = f"{copy_home.trees}/{name}"
    write_file(tree + "/held", b"held")
    if how is not None:
        TREES[how](tree)
    launch = runs(copy_home.launch("-silent"))
    assert (HOME_TREES[name] in launch.record.tree) == (how is None)


@pytest.mark.parametrize("how", TREES)
def test_a_home_whose_runtime_cannot_be_copied_names_the_java_that_is_missing(copy_home, how):
    TREES[how](copy_home.jre)
    launch = ends(copy_home.launch("-silent"), FAILED, no_java(SCRATCH + "/jre/bin/java"))
    assert launch.record is None


@pytest.mark.parametrize("name", [*HOME_TREES, "jre"])
def test_a_home_with_a_file_that_cannot_be_copied_ends_after_the_bootstrap(copy_home, name):
    tree = copy_home.jre if name == "jre" else f"{copy_home.trees}/{name}"
    given = "../../jdk/jre" if name == "jre" else f"../trees/{name}"
    write_file(tree + "/held", b"held")
    make_held_file_unreadable(tree)
    ends(copy_home.launch("-silent"), FAILED, not_copied(given), left=True)


# ---- directories that are written -----------------------------------------

TEMP = "/var/temporary"

# Why a directory cannot be used, where it is not for want of room.
UNUSABLE = {"read-only": (TEMP, "Permission denied"), "a file": (TEMP, "Permission denied"),
            "a dangling link": (TEMP, "No such file or directory")}


def assert_no_room(words, directory, megabytes):
    """The one line about the room: none is free."""
    line = re.fullmatch(rb"\[en S_ROOM\|(.*)\|No space left on device\|0\|\d+\|(\d+)\|\d+\]\n\n",
                        words)
    assert line, words
    assert line.groups() == (directory.encode(), str(megabytes).encode())


@pytest.mark.parametrize("how", DIRECTORIES)
@pytest.mark.parametrize("by", ["TEMP", "TMP", "-scratchPath"])
def test_a_bad_temporary_directory(place, by, how):
    os.mkdir(TEMP)
    DIRECTORIES[how](TEMP)
    variables = {"TEMP": None if by == "TMP" else "/tmp"}
    if by == "-scratchPath":
        launch = place.launch("-silent", by, TEMP, env=variables)
    else:
        launch = place.launch("-silent", env={**variables, by: TEMP})
    scratches = listed(TEMP)
    if how == "full" and isinstance(place, Stage):
        assert without_time("\n".join(scratches).encode()) == b"TalInstall{TIME}"
        scratch = TEMP + "/TalInstall{TIME}"
        words = words_before(launch, FAILED, bootstrap_failed(scratch, "SPACE", "BOOTSTRAP_SIZE"),
                             left=by == "TEMP")  # where the harness looks for it
        assert_no_room(words, scratch, 1)
        return
    assert scratches == []
    if how in ("missing", "full"):  # it is made; nothing of a home is copied
        runs(launch)
    else:
        path, why = UNUSABLE[how]
        ends(launch, FAILED, told("S_ERPERDIR", TEMP) + told("S_REASON", path, why))


# What lies in /tmp keeps it from being anything else.
def test_a_read_only_directory_of_last_resort(place):
    make_read_only("/tmp")
    launch = place.launch("-silent", env={"TEMP": None})
    os.chmod("/tmp", 0o1777)
    ends(launch, FAILED, told("S_ERPERDIR", "/tmp") + told("S_REASON", "/tmp", "Permission denied"))


def test_a_stage_that_runs_out_of_space_halfway_ends_without_java(stage):
    stage.ini(BOOTSTRAP_SIZE="0")  # otherwise nothing is even begun
    stage.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": random.Random(1).randbytes(SMALL)})
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    words = words_before(launch, FAILED,
                         bootstrap_failed("/small/TalInstall{TIME}", "UNPACKING", ZUL), left=True)
    assert b"/small/TalInstall{TIME}/zul/jlib/zul.jar:  write error" in words
    room = words[words.index(b"[en S_ROOM"):]
    assert re.fullmatch(rb"\[en S_ROOM\|/small/TalInstall\{TIME\}\|No space left on device"
                        rb"\|1\|\d+\|2\|1\]\n\n", room), room
    assert launch.record is None


def test_a_home_that_runs_out_of_space_halfway_ends_without_java(copy_home):
    copy_home.ini(BOOTSTRAP_SIZE="0")
    write_file(copy_home.trees + "/zul/jlib/zul.jar", bytes(SMALL))
    launch = copy_home.launch("-silent", env={"TEMP": "/small"})
    scratch = "/small/TalInstall{TIME}"
    words = words_before(launch, FAILED, bootstrap_failed(scratch, "COPYING", "../trees/zul"),
                         left=True)
    assert_no_room(words, scratch, 2)
    assert launch.record is None


# A launch that cannot log still installs: where there is room for nothing more,
# or where something else has the name, the log is done without, and a word of it
# on the console would be no help to the installation.
@pytest.mark.parametrize("how, refused, logged", [
    ("missing", False, True),
    ("read-only", True, False),
    ("full", False, False),
    ("a file", True, False),
    ("a dangling link", True, False),
])
def test_a_bad_inventory(home, how, refused, logged):
    os.rmdir(INVENTORY + "/logs")
    DIRECTORIES[how](INVENTORY)
    launch = home.launch("-silent")
    if refused:
        ends(launch, FAILED, told("S_ERRINVPRM", INVENTORY))
        assert launch.record is None
    else:
        runs(launch)
    assert any(launch.logs.values()) == logged


@pytest.mark.parametrize("how, refused, logged", [
    ("missing", False, True),
    ("read-only", True, False),
    ("full", False, False),
    ("a file", False, False),
    ("a dangling link", True, False),
])
def test_a_bad_log_directory_of_the_inventory(home, how, refused, logged):
    DIRECTORIES[how](INVENTORY + "/logs")
    launch = home.launch("-silent")
    if refused:
        ends(launch, FAILED, told("S_ERRINVPRM", INVENTORY + "/logs"))
        assert launch.record is None
    else:
        runs(launch)
    assert any(launch.logs.values()) == logged


@pytest.mark.parametrize("how", DIRECTORIES)
def test_a_bad_log_directory_of_the_command_line_is_done_without(home, how):
    logs = OPERATOR_HOME + "/logging/logs"
    os.makedirs(logs)
    DIRECTORIES[how](logs)
    runs(home.launch("-silent", "-prereqLogLoc", OPERATOR_HOME + "/logging"))
    written = [name for name in listed(logs) if os.path.getsize(f"{logs}/{name}") > 0]
    assert len(written) == (1 if how == "missing" else 0)


TARGET = "/var/target"


@pytest.mark.parametrize("how", DIRECTORIES)
def test_a_bootstrap_into_a_bad_directory_does_not_claim_to_be_complete(stage, how):
    os.mkdir(TARGET)
    DIRECTORIES[how](TARGET)
    launch = stage.launch("-bootstrapOnly", "BOOTSTRAP_LOC=" + TARGET)
    step, component = (("UNPACKING", JRE) if how in ("read-only", "a file")
                       else ("SPACE", "BOOTSTRAP_SIZE"))
    words = words_before(launch, FAILED, bootstrap_failed(TARGET, step, component))
    if how == "full":
        assert_no_room(words, TARGET, 1)
    elif how == "read-only":  # until unzip has failed, and told why; then it gets its mode
        assert f"cannot create {TARGET}/jre\n".encode() in words and b"Permission denied" in words
    else:
        why = "Not a directory" if how == "a file" else "No such file or directory"
        reason = told("S_REASON", TARGET, why)
        assert words.endswith(reason)
        # Only what has room is given to unzip.
        assert (words == reason) == (step == "SPACE")
    assert launch.record is None and b"Completed" not in launch.stdout
    assert listed(TARGET) == []
