"""One call after the other fails in a launch from a stage: whatever the system
refuses, the launch ends by itself, does not claim an installer that did not
run, and leaves everything alone that is not its own.

There is no test of malloc where the launcher carries AddressSanitizer, whose own
malloc nothing can stand before."""

import errno
import os
import subprocess
import time

import pytest

from harness import (INVENTORY, OPERATOR_HOME, assert_no_sanitizer_report, en,
                     end_group, group_lives, ini_text, is_sanitized, read_file,
                     set_inventory, tool, write_file)
from stage import COMPONENTS, CORE, JRE, MINIMAL, TESSEL, ZUL, Stage

MARKS = "/var/marks"
FIRED = MARKS + "/fired"
JAVA_RAN = MARKS + "/java"

# What the stage's java ends with: nothing else in a launch gives it.
JAVA_STATUS = 7
JAVA = f"#!/bin/sh\n: > {JAVA_RAN}\nexit {JAVA_STATUS}\n"
FAILED, NO_PARAMETER_FILE, NO_CATALOGUE = 255, 254, 1
UNZIPS = 5  # one for each component of the stage

# What a function leaves behind when the system is short of something.
ERRORS = {
    "open": errno.EMFILE, "read": errno.EIO, "write": errno.ENOSPC, "close": errno.EIO,
    "mkdir": errno.ENOSPC, "chmod": errno.EPERM, "unlink": errno.EBUSY, "rmdir": errno.EBUSY,
    "fork": errno.EAGAIN, "waitpid": errno.ECHILD, "pipe": errno.EMFILE, "opendir": errno.ENFILE,
    "readdir": errno.EIO,
    "stat": errno.EACCES, "chdir": errno.EACCES, "getcwd": errno.ENOENT, "statvfs": errno.EIO,
    "iconv_open": errno.EINVAL, "malloc": errno.ENOMEM,
}
# A shortage that stays from one call on, and one that strikes between fork and exec.
LASTING = ("open", "write", "mkdir", "iconv_open")
IN_CHILD = {"write": errno.ENOSPC, "execv": errno.ENOMEM}

# A failure of these may keep the scratch directory from going.
OF_THE_CLEAN_UP = ("stat", "opendir", "readdir", "unlink", "rmdir", "malloc")
# Failures of these are not reported: the status alone tells.
WITHOUT_A_WORD = ("fork", "pipe", "waitpid")


@pytest.fixture(name="stage")
def fixture_stage(root_as_new):
    """A stage with a step for every function: an image directory and a tree to
    copy, a free-space check, all components to unpack."""
    del root_as_new
    set_inventory()
    os.makedirs(MARKS)
    made = Stage()
    made.component(JRE, "1.0", {"jre/1.0/bin/java": JAVA})
    made.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": b"zul"},
                   expanded={"zul/more/readme": b"readme"})
    write_file(made.dir + "/images/splash", b"splash")
    made.ini_raw(ini_text(("Generic Prereqs", {"TEMP_SPACE": "1"}), **made.DEFAULTS))
    yield made
    made.end()


def others():
    """Everything of the operator's that a launch has no business with."""
    found = {}
    for top in ("/home", "/var", "/tmp", "/small", "/cdrom"):
        for directory, directories, files in os.walk(top):
            directories[:] = [name for name in directories
                              if f"{directory}/{name}" not in (MARKS, INVENTORY, "/var/pytest")
                              and not name.startswith(("TalInstall", ".sanitizer"))
                              and not os.path.ismount(f"{directory}/{name}")]
            for name in directories + files:
                if name in (".out", ".err"):
                    continue
                path = f"{directory}/{name}"
                info = os.lstat(path)
                found[path] = (info.st_mode, info.st_ino) + (
                    () if name in directories else (info.st_size, info.st_mtime_ns))
    return found


class Faults:
    """Launches of one stage, each with one call that fails."""

    def __init__(self, stage, function, error, process="launcher", lasting=False):
        self.stage, self.function, self.process = stage, function, process
        self.command = [stage.launcher, "-silent", "-waitForCompletion"]
        self.environment = stage.environment({
            "LD_PRELOAD": tool("FAULT_INJECTION"), "FAULT_PROGRAM": stage.launcher,
            "FAULT_PROCESS": process, "FAULT_FUNCTION": function, "FAULT_ERRNO": str(error),
            "FAULT_MARKER": FIRED, "FAULT_LASTS": "yes" if lasting else "no"})
        if is_sanitized(stage.launcher):
            self.environment["ASAN_OPTIONS"] += ":verify_asan_link_order=0"
        if b"gcov_exit" in read_file(stage.launcher):
            # What a coverage build writes at its end is nobody's concern here.
            self.environment["FAULT_STOP"] = "exit"
        self.before = others()
        self.call = 0
        self.status = self.stdout = self.stderr = None

    def run(self):
        """The next launch; whether a call of it failed."""
        self.call += 1
        for mark in (FIRED, JAVA_RAN):
            if os.path.exists(mark):
                os.unlink(mark)
        process = subprocess.Popen(
            [*self.command, "-timestamp", self.stamp],
            cwd=self.stage.dir, env={**self.environment, "FAULT_CALL": str(self.call)},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            start_new_session=True)
        try:
            self.stdout, self.stderr = process.communicate(timeout=20)
            end = time.monotonic() + 20
            while group_lives(process.pid):
                assert time.monotonic() < end, self.told("leaves a process running")
                time.sleep(0.001)
        except subprocess.TimeoutExpired:
            end_group(process)
            raise AssertionError(self.told("does not end")) from None
        finally:
            end_group(process)
        self.status = process.returncode
        return os.path.exists(FIRED)

    @property
    def stamp(self):
        return f"{self.function}{self.call}"

    @property
    def scratch(self):
        return "/tmp/TalInstall" + self.stamp

    @property
    def java_ran(self):
        return os.path.exists(JAVA_RAN)

    def told(self, what):
        return (f"a launch whose {self.function} number {self.call} fails in the {self.process} "
                f"{what}\nstatus {self.status}, java "
                f"{'ran' if self.java_ran else 'did not run'}\n{self.stdout}\n{self.stderr}")

    def check(self):
        """What every one of these launches owes."""
        assert_no_sanitizer_report(self.stdout, self.stderr)
        assert self.status >= 0, self.told("is ended by a signal")
        if self.java_ran:
            expected = (JAVA_STATUS,)
            if self.function in ("waitpid", "malloc"):
                expected += (FAILED,)  # the launcher may not learn of java's end
        else:
            expected = (FAILED, NO_PARAMETER_FILE, NO_CATALOGUE)
        assert self.status in expected, self.told("has a wrong status")
        assert (self.java_ran or self.stdout + self.stderr
                or self.function in WITHOUT_A_WORD), self.told("does not say why")
        if self.status == JAVA_STATUS and self.function not in OF_THE_CLEAN_UP:
            assert not os.path.exists(self.scratch), self.told("leaves its scratch directory")
        after = others()
        assert after == self.before, self.told(
            f"touches {sorted(set(after.items()) ^ set(self.before.items()))}")

    def every_call(self):
        """Runs until the launch no longer reaches the call; yields after each run."""
        while self.run():
            self.check()
            yield self
        self.check()
        assert self.status == JAVA_STATUS, self.told("is not even reached")


def step_through(faults):
    calls = sum(1 for _ in faults.every_call())
    assert calls > 0, f"the launch never calls {faults.function} in the {faults.process}"
    return calls


@pytest.mark.parametrize("function", [name for name in ERRORS if name != "malloc"])
def test_a_launch_in_which_one_call_fails_ends_with_a_true_status(stage, function):
    step_through(Faults(stage, function, ERRORS[function]))


@pytest.mark.parametrize("function", LASTING)
def test_a_launch_in_which_a_call_fails_for_good_ends_with_a_true_status(stage, function):
    step_through(Faults(stage, function, ERRORS[function], lasting=True))


@pytest.mark.parametrize("function", IN_CHILD)
def test_a_call_that_fails_on_the_way_to_java_is_no_success(stage, function):
    step_through(Faults(stage, function, IN_CHILD[function], "child"))


if not is_sanitized(tool("LAUNCHER")):

    @pytest.mark.parametrize("process", ["launcher", "child"])
    def test_a_launch_without_memory_ends_with_a_message_and_a_true_status(stage, process):
        faults = Faults(stage, "malloc", ERRORS["malloc"], process)
        told = 0
        for _ in faults.every_call():
            told += b"not enough memory" in faults.stderr
        assert faults.call > 20 and told > 10


def test_an_installer_that_cannot_be_started_is_told_of_with_the_systems_error(stage):
    faults = Faults(stage, "execv", errno.ENOMEM, "child")
    assert faults.run()
    assert (faults.status, faults.stderr) == (
        FAILED, en("S_ERGOSLST", "CreateZULProcess()", errno.ENOMEM) + b"\n"
        + en("S_START_OTHER", faults.scratch + "/jre/1.0/bin/java", "Cannot allocate memory")
        + b"\n")


def test_a_scratch_directory_without_room_is_told_of_by_its_name(stage):
    faults = Faults(stage, "mkdir", errno.ENOSPC)
    assert faults.run()
    told = en("S_ERBOOTSTRAP", faults.scratch, 69) + b"\n[en S_ROOM|" + faults.scratch.encode()
    assert faults.status == FAILED
    assert faults.stderr.startswith(told + b"|No space left on device|")
    assert faults.stderr.endswith(b"|69|1000]\n\n")


def test_an_unzip_that_cannot_be_started_ends_the_launch(stage):
    faults = Faults(stage, "fork", errno.EAGAIN)
    assert faults.run() and not faults.java_ran
    assert faults.status == FAILED
    assert faults.stdout.startswith(en("S_STARTINSTALLERMSG", "Kelvane Installer"))


def test_a_fork_that_fails_is_told_of_by_a_launch_that_waits_and_by_one_that_does_not(stage):
    """As nobody waits for the installer in the second, its fate is not the launcher's status. The
    forks before it are those of unzip."""
    faults = Faults(stage, "fork", errno.EAGAIN)

    def told():
        return en("S_FORK_FAILED", faults.scratch + "/jre/1.0/bin/java",
                  "Resource temporarily unavailable") + b"\n"
    faults.call = UNZIPS
    assert faults.run() and (faults.status, faults.stderr) == (FAILED, told())
    stage.ini_raw(read_file(stage.ini_path).replace(b"WAIT_FOR_COMPLETION=TRUE\n", b""))
    faults.command.remove("-waitForCompletion")
    faults.call = UNZIPS
    assert faults.run() and (faults.status, faults.stderr) == (0, told()) and not faults.java_ran
