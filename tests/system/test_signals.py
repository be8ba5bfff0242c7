"""However a signal reaches a launch, and whenever: what it started has ended,
what it made is gone, and the caller learns which signal it was or, once java
runs, what java says."""

import concurrent.futures
import fcntl
import glob
import os
import random
import resource
import shutil
import signal
import subprocess
import termios
import time

import pytest

from harness import (RECORDS, Home, assert_no_sanitizer_report, assert_same, en, group_lives,
                     is_sanitized, set_inventory, tool, write_file, write_script)
from prereq_texts import GENERIC, PKGINFO
from stage import CORE, MINIMAL, TESSEL, CopyHome, Stage

HUP, INT, QUIT, TERM, PIPE, XFSZ = (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM,
                                    signal.SIGPIPE, signal.SIGXFSZ)
# How a signal is sent, and which ones come that way.
WAYS = {"terminal": (HUP, INT, QUIT), "pid": (HUP, INT, QUIT, TERM, PIPE, XFSZ),
        "group": (HUP, INT, QUIT, TERM)}
HANDED_ON = (HUP, INT, QUIT, TERM)
KEYS = {INT: b"\x03", QUIT: b"\x1c"}

MARKS = "/var/marks"
READY, GOT, GO_ON = (f"{MARKS}/{name}" for name in ("ready", "got", "go_on"))
JAVA_STATUS = 7
TRAPPED = 5


# ---- places ---------------------------------------------------------------

def put_listener(path):
    if os.path.lexists(path):
        os.unlink(path)
    shutil.copy(tool("LISTENER"), path)
    os.chmod(path, 0o755)


def make_check():
    place = Home()
    put_listener(PKGINFO)
    place.ini((GENERIC, {"PACKAGES": "SUNWcsr"}))
    return place


def make_question():
    place = Home()
    place.ini((GENERIC, {"PROCESSOR": "none"}))
    return place


def make_prompt():
    place = CopyHome()
    place.ini(JRE_LOCATION=None)
    return place


def make_unzip():
    place = Stage()
    put_listener(place.dir + "/unzip")
    return place


def make_java():
    place = CopyHome()
    put_listener(place.jre + "/bin/java")
    return place


def pausing(function, process="launcher"):
    """What makes a launch wait in a call of a function."""
    return {"LD_PRELOAD": tool("FAULT_INJECTION"), "FAULT_PROCESS": process,
            "FAULT_FUNCTION": function, "FAULT_CALL": "1", "FAULT_MARKER": READY,
            "FAULT_PAUSE": GO_ON}


# {moment: (the place, what the launch shows when it is there, or the environment in
# which it makes READY)}
MOMENTS = {
    "check": (make_check, {}),
    "question": (make_question, "S_CONTINUE"),
    "prompt": (make_prompt, "S_SPECIFY_JRE_LOCATION"),
    "unzip": (make_unzip, {}),
    "copy": (CopyHome, pausing("chmod")),
    "before fork": (CopyHome, pausing("fork")),
    "before exec": (CopyHome, pausing("execvp", "child")),
    "java": (make_java, {}),
    "removal": (CopyHome, pausing("unlink")),
}
LISTENING = ("check", "unzip", "java")
BEFORE_JAVA = ("check", "question", "prompt", "unzip", "copy", "before fork")


# ---- one launch -----------------------------------------------------------

def wait_for(condition, what):
    end = time.monotonic() + 10
    while not condition():
        assert time.monotonic() < end, what
        time.sleep(0.001)


def content_of(path):
    return open(path, "rb").read() if os.path.exists(path) else b""


class Trial:
    """A launch on a terminal that waits at a moment."""

    def __init__(self, place, arrival, does="", arguments=()):
        os.makedirs(MARKS, exist_ok=True)
        self.place = place
        changes = {"LISTENER_DIRECTORY": MARKS, "LISTENER_DOES": does,
                   "LISTENER_EXIT": str(JAVA_STATUS)}
        if isinstance(arrival, dict):
            changes.update(arrival)
            changes["FAULT_PROGRAM"] = place.launcher
            if arrival and is_sanitized(place.launcher):
                options = place.environment()["ASAN_OPTIONS"]
                changes["ASAN_OPTIONS"] = options + ":verify_asan_link_order=0"
        self.terminal = place.terminal(*arguments, env=changes, java={"exit": JAVA_STATUS})
        self.process = self.terminal.process
        self.modes = termios.tcgetattr(self.terminal.ours)
        self.hung_up = False
        if isinstance(arrival, dict):
            wait_for(lambda: os.path.exists(READY), "the launch does not come to the moment")
        else:
            self.terminal.expect(en(arrival).strip())

    def send(self, number, way):
        if way == "pid":
            self.process.send_signal(number)
        elif way == "group":
            os.killpg(self.process.pid, number)
        elif number == HUP:
            os.close(self.terminal.ours)
            self.hung_up = True
        else:
            self.terminal.type(KEYS[number])

    @property
    def got(self):
        return len(content_of(GOT))

    def release(self):
        open(GO_ON, "wb").close()

    def end(self):
        """The status; nothing of the launch is left."""
        self.output = b""
        if not self.hung_up:
            while self.terminal.read_more():
                pass
            self.output = self.terminal.output.replace(b"\r\n", b"\n")
        status = self.process.wait(10)
        assert not group_lives(self.process.pid), "a process is left"
        assert glob.glob("/tmp/TalInstall*") == []
        if not self.hung_up:
            assert termios.tcgetattr(self.terminal.ours) == self.modes
            os.close(self.terminal.ours)
        assert_no_sanitizer_report(self.output)
        return status


def ended_by(number):
    return en("S_LAUNCH_SIGNALLED", number.name, int(number)) + b"\n"


def ways():
    return [(way, number) for way, numbers in WAYS.items() for number in numbers]


def table():
    for moment in MOMENTS:
        for way, number in ways():
            for does in ("dies", "traps", "ignores") if moment in LISTENING else ("",):
                yield pytest.param(moment, way, number, does,
                                   id=" ".join(filter(None, (moment, number.name, way, does))))


def expected_status(moment, number, does):
    if moment in BEFORE_JAVA:
        return -number
    if moment == "removal" or number not in HANDED_ON:
        return JAVA_STATUS
    return {"traps": TRAPPED, "ignores": JAVA_STATUS}.get(does, -number)


def expected_counts(way, number, does):
    """How often a child that counts gets the signal. Who signals the whole group
    has told the child himself."""
    if does == "dies" or number not in HANDED_ON:
        return (0,)
    return (1, 2) if way == "group" else (1,)


@pytest.fixture(name="at")
def fixture_at(root_as_new):
    """Makes a place and a trial at a moment there."""
    del root_as_new
    set_inventory()
    places = []

    def start(moment, does=""):
        make, arrival = MOMENTS[moment]
        places.append(make())
        return Trial(places[-1], arrival, does)
    yield start
    for place in places:
        place.end()


@pytest.mark.parametrize("moment, way, number, does", table())
def test_a_signal_ends_what_it_has_to_and_leaves_nothing(at, moment, way, number, does):
    trial = at(moment, does)
    trial.send(number, way)
    counts = expected_counts(way, number, does)
    if does == "ignores" and counts != (0,):
        wait_for(lambda: trial.got, "the child does not get the signal")
    if does == "ignores" or number not in HANDED_ON or moment not in LISTENING:
        trial.release()
    assert trial.end() == expected_status(moment, number, does)
    if moment in LISTENING:
        assert trial.got in counts
    if moment in BEFORE_JAVA and not trial.hung_up:
        assert trial.output.count(ended_by(number)) == 1
        assert en("S_BOOTSTRAP_FAILED") not in trial.output
    if moment == "removal":
        assert ended_by(number) not in trial.output
