"""An installer that cannot be started: after the settled line the operator reads the
program's whole path, the reason in the system's words, what lies behind it and
what to do."""

import errno
import os
import re
import resource

import pytest

from harness import OPERATOR_HOME, Home, en, read_file, tool, write_file
from hostile import FAILED, ends, fixture_of, runs, told
from stage import JRE, CopyHome, Stage, java_program

fixture_home = fixture_of("home", Home)
fixture_stage = fixture_of("stage", Stage)
fixture_copy_home = fixture_of("copy_home", CopyHome)

JAVA_HOME = OPERATOR_HOME + "/java"
JAVA = JAVA_HOME + "/bin/java"


def settled(error):
    return told("S_ERGOSLST", "CreateZULProcess()", error)


def because(key, *arguments, remedies=("JRELOC",)):
    """The line after the settled one."""
    added = b"".join(b" " + en("S_REMEDY_" + remedy) for remedy in remedies)
    return en(key, *arguments) + added + b"\n"


def started_with(home, java_home=JAVA_HOME, **options):
    return home.launch("-silent", "-jreLoc", java_home, **options)


def assert_not_started(launch, error, key, *more, java=JAVA, remedies=("JRELOC",)):
    ends(launch, FAILED, settled(error) + because(key, java, os.strerror(error), *more,
                                                  remedies=remedies))
    assert launch.record is None


def machine_of(content, machine):
    """A program of another machine: the field e_machine."""
    return content[:18] + machine.to_bytes(2, "little") + content[20:]


def class_of(content, width):
    """A program of another class, 32 or 64 bits; the field EI_CLASS."""
    return content[:4] + bytes([width]) + content[5:]


# ---- bytes that are no program --------------------------------------------

NO_PROGRAMS = {
    "an empty file": lambda: b"",
    "zeros": lambda: bytes(5000),
    "the stump of a program": lambda: java_program()[:5],
    "a program cut short": lambda: java_program()[:60],
    "a program of another machine": lambda: machine_of(java_program(), 2),
    "a program of another class": lambda: class_of(machine_of(java_program(), 8), 1),
    "a class file": lambda: b"\xca\xfe\xba\xbe\0\0\0\x34echo ran > /tmp/ran\n",
    "commands behind a NUL": lambda: b"\0\necho ran > /tmp/ran\n",
    "commands behind a control character": lambda: b"\x01\necho ran > /tmp/ran\n",
}


@pytest.mark.parametrize("what", NO_PROGRAMS)
def test_bytes_that_are_no_program_and_no_text_never_reach_the_shell(home, what):
    write_file(JAVA, NO_PROGRAMS[what](), 0o755)
    assert_not_started(started_with(home), errno.ENOEXEC, "S_START_NO_PROGRAM")
    assert not os.path.exists("/tmp/ran")


@pytest.mark.parametrize("script", [
    b"exit 7\n", b"exit 7", b"\n\n# \xc3\xbc\xe4\nexit 7\n", b"\texit 7 # \x1b\a\b\f\v\r\n",
    b"#!\nexit 7\n", b":" + b" " * 5000 + b"\nexit 7\n",
])
def test_a_plain_text_goes_to_the_shell_with_its_own_name_and_all_arguments(home, script):
    write_file(JAVA, b'echo "$0" "$1" >&2\n' + script, 0o755)
    launch = started_with(home)
    ends(launch, 7, f"{JAVA} -Dtalvex.installer.library_loc=../lib/intelsolaris\n".encode())


def test_a_program_that_the_shell_reads_from_its_own_end_may_hold_bytes_behind_its_text(home):
    write_file(JAVA, b"exit 7\n" + b" " * 512 + bytes(100), 0o755)
    ends(started_with(home), 7)


# ---- why the system refuses ------------------------------------------------

def test_a_program_that_may_not_be_executed(home):
    """The launcher helps where it may; here the file system is read-only."""
    os.makedirs(JAVA_HOME + "/bin")
    os.symlink("/readonly/file", JAVA)
    assert_not_started(started_with(home), errno.EACCES, "S_START_NOT_EXECUTABLE")


def test_a_directory_in_the_programs_place(home):
    os.makedirs(JAVA)
    assert_not_started(started_with(home), errno.EACCES, "S_START_DIRECTORY")


def test_a_device_in_the_programs_place(home):
    os.makedirs(JAVA_HOME + "/bin")
    os.symlink("/dev/null", JAVA)
    assert_not_started(started_with(home), errno.EACCES, "S_START_NO_PROGRAM")


def test_a_program_on_a_file_system_without_programs(home):
    write_file("/noexec/java/bin/java", java_program(), 0o755)
    assert_not_started(started_with(home, "/noexec/java"), errno.EACCES, "S_START_NOEXEC",
                       java="/noexec/java/bin/java")


def test_a_script_on_a_file_system_without_programs(home):
    write_file("/noexec/java/bin/java", b"#!/bin/sh\nexit 0\n", 0o755)
    assert_not_started(started_with(home, "/noexec/java"), errno.EACCES, "S_START_NOEXEC",
                       java="/noexec/java/bin/java")


def test_a_loader_that_is_missing(home):
    program = read_file(tool("RECORDER"))
    loader = b"/lib64/ld-linux-x86-64.so.2\0"
    assert loader in program
    write_file(JAVA, program.replace(loader, b"/lib64/no-such-loader.so.2\0\0"), 0o755)
    assert_not_started(started_with(home), errno.ENOENT, "S_START_NO_RUNNER",
                       "/lib64/no-such-loader.so.2")


@pytest.mark.parametrize("line", [b"#!/no/such/shell\n", b"#! \t/no/such/shell -e\n",
                                  b"#!/no/such/shell"])
def test_an_interpreter_that_is_missing(home, line):
    write_file(JAVA, line, 0o755)
    assert_not_started(started_with(home), errno.ENOENT, "S_START_NO_RUNNER", "/no/such/shell")


def test_an_interpreter_that_may_not_be_executed(home):
    write_file(OPERATOR_HOME + "/shell", b"", 0o644)
    write_file(JAVA, f"#!{OPERATOR_HOME}/shell\n", 0o755)
    assert_not_started(started_with(home), errno.EACCES, "S_START_NO_RUNNER",
                       OPERATOR_HOME + "/shell")


def test_a_script_with_the_line_ends_of_another_system(home):
    write_file(JAVA, b"#!/bin/sh\r\nexit 0\r\n", 0o755)
    assert_not_started(started_with(home), errno.ENOENT, "S_START_CARRIAGE_RETURN")


def test_a_program_that_is_being_written(home):
    write_file(JAVA, java_program(), 0o755)
    with open(JAVA, "r+b"):
        assert_not_started(started_with(home), errno.ETXTBSY, "S_START_BUSY", remedies=())


def test_a_relative_program_is_told_with_its_whole_path(home):
    write_file(home.jre + "/bin/java", b"", 0o755)
    launch = home.launch("-silent")
    assert en("S_EXECVP_ARGS", "../../jdk/jre/bin/java") in launch.log
    assert_not_started(launch, errno.ENOEXEC, "S_START_NO_PROGRAM", java=home.jre + "/bin/java")


def test_a_launch_that_does_not_wait_tells_the_same(home):
    write_file(JAVA, b"", 0o755)
    home.ini(BOOTSTRAP="TRUE", WAIT_FOR_COMPLETION="FALSE")
    launch = started_with(home)
    shown = settled(errno.ENOEXEC) + because("S_START_NO_PROGRAM", JAVA, "Exec format error")
    launch.assert_status(0)
    assert launch.stderr == shown and launch.record is None


def test_a_program_in_the_scratch_directory_has_another_one_for_a_remedy(copy_home):
    """Only a stage launch proves beforehand that programs can run there."""
    launch = copy_home.launch("-silent", env={"TEMP": "/noexec"})
    ends(launch, FAILED, settled(errno.EACCES)
         + because("S_START_NOEXEC", "/noexec/TalInstall{TIME}/jre/bin/java", "Permission denied",
                   remedies=("SCRATCHPATH", "JRELOC")))
    assert os.listdir("/noexec") == [] and launch.record is None


# ---- a stage proves it before it unpacks ------------------------------------

def refused(directory):
    return because("S_START_NOEXEC", directory, "Permission denied",
                   remedies=("SCRATCHPATH", "JRELOC"))


@pytest.mark.parametrize("settings", [
    {}, {"BOOTSTRAP_COMPS": f"talvex.swd.zul,{JRE}"}, {"BOOTSTRAP_COMPS": f"{JRE}:1.0"},
    {"BOOTSTRAP_COMPS": "talvex.swd.zul", "JRE_SCRATCH_LOC": "jre/1.0"},
])
def test_a_stage_whose_runtime_could_not_run_ends_before_anything_is_unpacked(stage, settings):
    stage.ini(**settings)
    launch = stage.launch("-silent", env={"TEMP": "/noexec"})
    ends(launch, FAILED, refused("/noexec/TalInstall{TIME}"), left=True)
    assert os.listdir(launch.scratch) == [] and launch.record is None
    assert en("S_UNZIP_COMMANDLINE") not in launch.log


@pytest.mark.parametrize("arguments, settings", [
    (("-jreLoc", JAVA_HOME), {}),
    ((), {"BOOTSTRAP_COMPS": "talvex.swd.zul", "JRE_LOCATION": JAVA_HOME}),
], ids=["-jreLoc", "no component"])
def test_a_stage_whose_runtime_lies_elsewhere_needs_no_programs_in_its_scratch_directory(
        stage, arguments, settings):
    write_file(JAVA, java_program(), 0o755)
    stage.ini(**settings)
    runs(stage.launch("-silent", *arguments, env={"TEMP": "/noexec"}))


def test_a_bootstrap_alone_starts_nothing_and_needs_no_programs(stage):
    os.mkdir("/noexec/target")
    launch = stage.launch("-bootstrapOnly", "BOOTSTRAP_LOC=/noexec/target")
    ends(launch, 0)
    assert os.path.exists("/noexec/target/jre/1.0/bin/java")


def test_a_stage_leaves_nothing_of_the_proof(stage):
    names = set(runs(stage.launch("-silent")).record.tree)
    assert not any(name.startswith(".") and name != "." for name in names)


# The search for leaks would need a thread of its own.
NO_LEAK_SEARCH = {"ASAN_OPTIONS": "detect_leaks=0"}


# ---- no process -------------------------------------------------------------

@pytest.mark.parametrize("wait, status", [("TRUE", FAILED), ("FALSE", 0)])
def test_a_process_that_cannot_be_made_is_told_of(home, wait, status):
    home.ini(BOOTSTRAP="TRUE", BOOTSTRAP_SIZE="1", WAIT_FOR_COMPLETION=wait)
    launch = home.launch("-silent", limits={resource.RLIMIT_NPROC: (0, 0)},
                         env=NO_LEAK_SEARCH)
    launch.assert_status(status)
    assert re.fullmatch(rb"\[en S_FORK_FAILED\|/tmp/TalInstall[^/|]*/jre/bin/java\|"
                        rb"Resource temporarily unavailable\]\n\n", launch.stderr), launch.stderr
    assert launch.record is None


def test_an_unpacking_without_a_process_is_told_of(root_as_new):
    del root_as_new
    stage = Stage()
    launch = stage.launch("-silent", "-waitForCompletion", limits={resource.RLIMIT_NPROC: (0, 0)},
                         env=NO_LEAK_SEARCH)
    launch.assert_status(FAILED)
    assert launch.stderr.startswith(b"[en S_FORK_FAILED|" + os.fsencode(stage.dir) + b"/unzip -qqqo ")
    assert b"|Resource temporarily unavailable]\n\n[en S_BOOTSTRAP_FAILED|" in launch.stderr
    assert launch.record is None
