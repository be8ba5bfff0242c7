"""However a signal reaches a launch, and whenever: what it started has ended,
what it made is gone, and the caller learns which signal it was or, once java
runs, what java says."""

import concurrent.futures
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

from harness import (INVENTORY, RECORDS, Home, Record, assert_no_sanitizer_report, assert_same,
                     en, group_lives, is_sanitized, read_file, set_inventory, tool, write_file,
                     write_script)
from prereq_texts import (CERTIFIED, GENERIC, PKGINFO, PSRINFO, SHOWREV, SWAP, XDPYINFO, prints)
from stage import CORE, JRE, MINIMAL, TESSEL, ZUL, CopyHome, Stage

HUP, INT, QUIT, TERM, PIPE, XFSZ = (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM,
                                    signal.SIGPIPE, signal.SIGXFSZ)
# How a signal is sent, and which ones come that way.
WAYS = {"terminal": (HUP, INT, QUIT), "pid": (HUP, INT, QUIT, TERM, PIPE, XFSZ),
        "group": (HUP, INT, QUIT, TERM)}
HANDED_ON = (HUP, INT, QUIT, TERM)
KEYS = {INT: b"\x03", QUIT: b"\x1c"}

MARKS = "/var/marks"
READY, GOT, GO_ON = (f"{MARKS}/{name}" for name in ("ready", "got", "go_on"))
PAUSED = GO_ON + ".awaited"
JAVA_STATUS = 7
TRAPPED = 5
JVM = ("-silent", "DEMO_WRITE=ready", "DEMO_SLEEP=60")


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
            "FAULT_FUNCTION": function, "FAULT_CALL": "1", "FAULT_MARKER": MARKS + "/fired",
            "FAULT_PAUSE": GO_ON}


# {moment: (the place, what the launch shows when it is there, or the environment in
# which it makes READY or PAUSED)}
MOMENTS = {
    "check": (make_check, {}),
    "question": (make_question, en("S_CONTINUE").strip()),
    "prompt": (make_prompt, en("S_SPECIFY_JRE_LOCATION").strip()),
    "unzip": (make_unzip, {}),
    "copy": (CopyHome, pausing("chmod")),
    "before fork": (CopyHome, pausing("fork")),
    "before exec": (CopyHome, pausing("execv", "child")),
    "java": (make_java, {}),
    "removal": (CopyHome, pausing("unlink")),
}
LISTENING = ("check", "unzip", "java")
BEFORE_JAVA = ("check", "question", "prompt", "unzip", "copy", "before fork")


# ---- one launch -----------------------------------------------------------

def wait_for(condition, what):
    end = time.monotonic() + 30
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
            mark = PAUSED if arrival else READY
            wait_for(lambda: os.path.exists(mark), "the launch does not come to the moment")
        else:
            self.terminal.expect(arrival)

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

    def end(self, left=()):
        """The status; nothing of the launch is left but these scratch directories."""
        self.output = b""
        if not self.hung_up:
            while self.terminal.read_more():
                pass
            self.output = self.terminal.output.replace(b"\r\n", b"\n")
        status = self.process.wait(10)
        assert not group_lives(self.process.pid), "a process is left"
        assert glob.glob("/tmp/TalInstall*") == list(left)
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


# {setting: (its value, the command that the check runs)}
CHECKS = {"PACKAGES": ("SUNWcsr", PKGINFO), "PATCHES": ("100000-01", SHOWREV),
          "CPU": ("100", PSRINFO), "SWAP_SPACE": ("1", SWAP),
          "MIN_DISPLAY_COLORS": ("256", XDPYINFO)}


@pytest.mark.parametrize("does", ["dies", "ignores"])
@pytest.mark.parametrize("setting", CHECKS)
def test_a_signal_ends_a_check_without_a_verdict(home, setting, does):
    value, command = CHECKS[setting]
    put_listener(command)
    home.ini((GENERIC, {setting: value, "PROCESSOR": "none"}))
    trial = Trial(home, {}, does)
    trial.send(TERM, "pid")
    if does == "ignores":
        wait_for(lambda: trial.got, "the command does not get the signal")
        trial.release()
    assert trial.end() == -TERM
    assert trial.output.endswith(ended_by(TERM))
    for verdict in ("S_SPASSED", "S_SFAILED", "S_CHECKING_FOR_PROCESSOR"):
        assert en(verdict) not in trial.output


def test_a_signal_ends_the_question_for_an_uncertified_release(home):
    home.ini((CERTIFIED, {"Solaris": "5.8", "CERTIFIED_VERSION_WARN": "TRUE"}),
             PLATFORM_PREREQS="TRUE")
    trial = Trial(home, b"Do you want to continue? (y/n) [n]: ")
    trial.send(TERM, "pid")
    assert trial.end() == -TERM
    assert trial.output.endswith(b"[n]: \n" + ended_by(TERM))


# ---- a real JVM -----------------------------------------------------------

@pytest.mark.parametrize("way, number", [pair for pair in ways() if pair[1] in (HUP, INT, TERM)])
def test_a_jvm_ends_by_itself_and_its_status_is_the_launchers(home, way, number):
    home.use_real_java()
    trial = Trial(home, "wrote: ready", arguments=JVM)
    trial.send(number, way)
    assert trial.end() == 128 + number


@pytest.mark.parametrize("way", WAYS)
def test_quit_gives_a_thread_dump_of_the_jvm_and_the_launch_goes_on(home, way):
    home.use_real_java()
    trial = Trial(home, "wrote: ready", arguments=JVM)
    trial.send(QUIT, way)
    trial.terminal.expect("Full thread dump")
    trial.send(TERM, "pid")
    assert trial.end() == 128 + TERM


# ---- what is the launch's own ---------------------------------------------

def interrupted(place, moment, *arguments):
    """A launch with these arguments that a signal ends at a moment."""
    trial = Trial(place, MOMENTS[moment][1], "dies", arguments)
    trial.send(TERM, "pid")
    trial.release()
    return trial


@pytest.fixture(name="copy_home")
def fixture_copy_home(root_as_new):
    del root_as_new
    set_inventory()
    place = CopyHome()
    yield place
    place.end()


@pytest.mark.parametrize("moment", ["copy", "before fork"])
def test_a_scratch_directory_of_another_launch_stays(copy_home, moment):
    write_file("/var/given/theirs", "theirs")
    trial = interrupted(copy_home, moment, "-rscratchPath", "/var/given")
    assert trial.end() == -TERM
    assert os.path.exists("/var/given/theirs")


def test_a_directory_to_unpack_to_stays(copy_home):
    os.mkdir("/var/unpacked")
    trial = interrupted(copy_home, "copy", "-bootstrapOnly", "BOOTSTRAP_LOC=/var/unpacked")
    assert trial.end() == -TERM
    assert os.listdir("/var/unpacked") != []


def test_a_scratch_directory_that_is_to_be_kept_stays(copy_home):
    trial = interrupted(copy_home, "copy", "-noCleanupOnExit", "-timestamp", "kept")
    assert trial.end(left=["/tmp/TalInstallkept"]) == -TERM


def test_the_signal_is_recorded_in_the_log_where_that_stays(copy_home):
    trial = interrupted(copy_home, "copy", "-timestamp", "T")
    assert trial.end() == -TERM
    log = read_file(f"{INVENTORY}/logs/installActionsT.log")
    assert log.endswith(b"\n" + en("S_LAUNCH_SIGNALLED", "SIGTERM", 15) + b"\n")


def test_a_copy_ends_with_the_file_that_it_has_come_to(copy_home):
    write_file(copy_home.trees + "/zul/jlib/more.jar", "more")
    os.mkdir("/var/given")
    trial = interrupted(copy_home, "copy", "-rscratchPath", "/var/given")
    assert trial.end() == -TERM
    assert [names for _, _, names in os.walk("/var/given") if names] == [["java"]]


# ---- what java is told, and what not --------------------------------------

def callers(place, *words):
    """The launches of a place are made by a script with these words before exec."""
    real = place.launcher
    place.launcher = write_script(place.dir + "/caller", "\n".join(
        (*words[:-1], f'{words[-1]} {real} "$@"\n')))


def wait_for_record():
    wait_for(lambda: os.path.exists(RECORDS + "/record.json"), "java is not started")
    return Record(read_file(RECORDS + "/record.json"))


def masks(*numbers):
    return sum(1 << number - 1 for number in numbers)


def test_what_the_caller_ignores_or_holds_back_stays_so_for_launcher_and_java(copy_home):
    callers(copy_home, "exec env --ignore-signal=HUP,PIPE --block-signal=TERM,USR1")
    os.makedirs(MARKS)
    terminal = copy_home.terminal(java={"exit": JAVA_STATUS, "wait_for": GO_ON})
    record = wait_for_record()
    assert record.signals_ignored & masks(*signal.Signals) == masks(HUP, PIPE)
    assert record.signals_blocked == masks(TERM, signal.SIGUSR1)
    for number in (HUP, PIPE, TERM):
        terminal.process.send_signal(number)
    open(GO_ON, "wb").close()
    terminal.finish().assert_status(JAVA_STATUS)


def test_java_gets_every_disposition_and_mask_of_an_ordinary_launch(copy_home):
    launch = copy_home.launch("-silent")
    assert (launch.record.signals_blocked, launch.record.signals_ignored) == (0, 0)


def test_children_of_the_calling_script_are_reaped_and_passed_over(copy_home):
    os.makedirs(MARKS)
    callers(copy_home, "sh -c 'exit 3' &", f"echo $! > {MARKS}/other", "exec")
    terminal = copy_home.terminal(java={"exit": JAVA_STATUS, "wait_for": GO_ON})
    record = wait_for_record()
    other = int(content_of(MARKS + "/other"))
    wait_for(lambda: not os.path.exists(f"/proc/{other}"), "the other child is not reaped")
    assert terminal.process.poll() is None and os.path.exists(record.scratch)
    open(GO_ON, "wb").close()
    terminal.finish().assert_status(JAVA_STATUS)
    assert glob.glob("/tmp/TalInstall*") == []


def test_a_launch_that_does_not_wait_leaves_java_alone(copy_home):
    os.makedirs(MARKS)
    put_listener(copy_home.jre + "/bin/java")
    copy_home.ini(WAIT_FOR_COMPLETION=None)
    launch = copy_home.launch("-silent", wait_for_java=False, env={
        "LISTENER_DIRECTORY": MARKS, "LISTENER_DOES": "ignores"})
    launch.assert_status(0)
    wait_for(lambda: os.path.exists(READY), "java is not started")
    assert launch.running and content_of(GOT) == b""
    open(GO_ON, "wb").close()
    wait_for(lambda: not launch.running, "java does not end")


def test_a_storm_of_signals_ends_nothing_that_ignores_them(at):
    trial = at("java", "ignores")
    for _ in range(50):
        for number in (INT, QUIT, HUP, TERM, PIPE, XFSZ):
            trial.send(number, "pid")
        trial.send(INT, "terminal")
    wait_for(lambda: trial.got, "java does not get a signal")
    trial.release()
    assert trial.end() == JAVA_STATUS


def test_the_callers_options_for_unzip_reach_java_alone(root_as_new):
    del root_as_new
    set_inventory()
    stage = Stage()
    options = {"UNZIP": "-l", "UNZIPOPT": "-x *"}
    launch = stage.launch("-silent", env=options)
    launch.assert_status(0)
    assert launch.record.tree["zul/jlib/core.jar"] == ("file", 0o750, b"core")
    assert options.items() <= launch.record.environ.items()


# ---- shells ---------------------------------------------------------------

class Shell:
    """A shell on a terminal, in which the launcher of a place is a job."""

    def __init__(self, place, *words, **changes):
        self.place = place
        self.real = place.launcher
        place.launcher = "/bin/bash"
        os.makedirs(MARKS, exist_ok=True)
        self.terminal = place.terminal(*words, argv0="bash", env={
            "PS1": "$ ", "LISTENER_DIRECTORY": MARKS, "LISTENER_DOES": "ignores",
            "LISTENER_EXIT": str(JAVA_STATUS), **changes})

    def type(self, text):
        self.terminal.type(text)


@pytest.mark.parametrize("moment", ["java", "question"])
def test_a_launch_can_be_stopped_and_go_on_in_the_foreground(root_as_new, moment):
    del root_as_new
    set_inventory()
    place = MOMENTS[moment][0]()
    shell = Shell(place, "--norc", "-i")
    shell.type(f"{shell.real}\n")
    if moment == "java":
        wait_for(lambda: os.path.exists(READY), "java is not started")
    else:
        shell.terminal.expect(MOMENTS[moment][1])
    shell.type("\x1a")
    shell.terminal.expect("Stopped")
    shell.type("fg; echo status $?\n")
    shell.terminal.expect("setupLauncher\r\n")
    if moment == "java":
        open(GO_ON, "wb").close()
        shell.terminal.expect(f"status {JAVA_STATUS}\r\n")
    else:
        shell.type("n\n")
        shell.terminal.expect("status 255\r\n")
    shell.type("exit 0\n")
    shell.terminal.finish()
    place.end()


def launchers():
    """{process: state} of all launchers."""
    found = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                stat = read_file(f"/proc/{entry}/stat")
            except OSError:
                continue  # it has ended since
            if b" (setupLauncher) " in stat:
                found[int(entry)] = stat.rsplit(b") ", 1)[1][:1]
    return found


def launcher_is_stopped():
    """Asked of the system: a shell tells of a job when it comes to it."""
    return b"T" in launchers().values()


def test_a_question_of_a_job_in_the_background_stops_it(root_as_new):
    del root_as_new
    set_inventory()
    place = make_question()
    shell = Shell(place, "--norc", "-i")
    shell.type(f"{shell.real} &\n")
    wait_for(launcher_is_stopped, "the launch is not stopped")
    shell.type("fg\n")
    shell.terminal.expect("setupLauncher\r\n")
    shell.type("\x03")
    shell.terminal.expect("$ ")
    shell.type("echo status $?\n")
    shell.terminal.expect("status 130\r\n")
    shell.type("exit 0\n")
    shell.terminal.finish()
    place.end()


@pytest.mark.parametrize("moment, does", [("unzip", "traps"), ("java", "dies")])
def test_a_script_ends_with_the_launch_that_the_operator_interrupts(root_as_new, moment, does):
    del root_as_new
    set_inventory()
    place = MOMENTS[moment][0]()
    shell = Shell(place, "-c", f"{place.launcher}; echo the script goes on", LISTENER_DOES=does)
    wait_for(lambda: os.path.exists(READY), "the launch does not come to the moment")
    shell.type("\x03")
    launch = shell.terminal.finish()
    assert launch.status == -INT
    assert b"the script goes on" not in launch.stdout
    assert glob.glob("/tmp/TalInstall*") == []
    place.end()


def test_a_hangup_of_the_terminal_of_a_script_reaches_java_once(root_as_new):
    """The script leads the session; with its end the system tells the launcher and java."""
    del root_as_new
    set_inventory()
    place = make_java()
    shell = Shell(place, "-c", f"{place.launcher}; true")
    wait_for(lambda: os.path.exists(READY), "java is not started")
    (launcher,) = launchers()
    os.close(shell.terminal.ours)
    assert shell.terminal.process.wait(10) == -HUP
    wait_for(lambda: content_of(GOT), "java is not told of the hangup")
    # Handed on after all that came before.
    os.kill(launcher, TERM)
    wait_for(lambda: len(content_of(GOT)) >= 2, "java is not told of the other signal")
    open(GO_ON, "wb").close()
    wait_for(lambda: not group_lives(shell.terminal.process.pid), "a process is left")
    assert len(content_of(GOT)) == 2
    assert glob.glob("/tmp/TalInstall*") == []
    place.end()


# ---- signals of the kernel ------------------------------------------------

def assert_ended_unread(place):
    """A launch to whose output nobody listens."""
    reading, writing = os.pipe()
    os.close(reading)
    process = subprocess.Popen(
        [place.launcher, "-silent"], cwd=place.dir, env=place.environment(),
        stdin=subprocess.DEVNULL, stdout=writing, stderr=subprocess.PIPE)
    os.close(writing)
    _, stderr = process.communicate(timeout=20)
    assert_same(stderr, ended_by(PIPE))
    assert process.returncode == -PIPE
    assert glob.glob("/tmp/TalInstall*") == [] and os.listdir(RECORDS) == []


def test_an_output_that_nobody_reads_ends_the_launch_before_java(copy_home):
    assert_ended_unread(copy_home)


def test_an_output_that_nobody_reads_ends_a_launch_that_fails(home):
    home.ini((GENERIC, {"PROCESSOR": "none"}))
    assert_ended_unread(home)


def test_a_limit_of_file_sizes_ends_the_launch_before_java(copy_home):
    launch = copy_home.launch("-silent", limits={resource.RLIMIT_FSIZE: (4096, 4096)})
    launch.assert_status(-XFSZ)
    assert_same(launch.stderr, ended_by(XFSZ))
    assert launch.scratches == [] and launch.record is None


def test_a_log_that_cannot_take_the_command_does_not_keep_java_from_starting(home):
    write_file(home.jre + "/bin/java", f"#!/bin/sh\nexit {JAVA_STATUS}\n", 0o755)
    log = home.launch("-silent", "-timestamp", "one").assert_status(JAVA_STATUS).log
    limit = log.index(en("S_EXECVP_ARGS", home.jre + "/bin/java")[:10]) + 20
    launch = home.launch("-silent", "-timestamp", "two",
                         limits={resource.RLIMIT_FSIZE: (limit, limit)})
    launch.assert_status(JAVA_STATUS)
    assert len(launch.log) == limit and launch.stderr == b""


# ---- at any moment --------------------------------------------------------

LAUNCHES = 500


def launch_and_signal(place, number, temp, longest):
    """One launch that gets a signal at a random moment; what it ended with and
    what is left of it."""
    process = subprocess.Popen(
        [place.launcher, "-silent", "-waitForCompletion"], cwd=place.dir,
        env=place.environment({"TEMP": temp}), stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    time.sleep(random.uniform(0, longest))
    try:
        random.choice((os.kill, os.killpg))(process.pid, number)
    except ProcessLookupError:
        pass
    status = process.wait(30)
    return status, group_lives(process.pid), os.listdir(temp)


def test_five_hundred_launches_with_a_signal_at_any_moment_leave_nothing(root_as_new):
    del root_as_new
    set_inventory()
    stage = Stage()
    for name in (CORE, MINIMAL, TESSEL):
        stage.remove(name)
    stage.component(JRE, "1.0", {"jre/1.0/bin/java": "#!/bin/sh\nexec sleep 0.02\n"})
    stage.ini((GENERIC, {"PACKAGES": "SUNWcsr"}), BOOTSTRAP_COMPS=f"{ZUL},{JRE}")
    prints(PKGINFO, "system SUNWcsr")
    begun = time.monotonic()
    stage.launch("-silent", "-waitForCompletion").assert_status(0)
    longest = (time.monotonic() - begun) * 1.5
    temps = [f"/tmp/{number}" for number in range(LAUNCHES)]
    for temp in temps:
        os.mkdir(temp)
    with concurrent.futures.ThreadPoolExecutor(3) as pool:
        ends = list(pool.map(lambda temp: (number := random.choice(HANDED_ON),
                                           launch_and_signal(stage, number, temp, longest)), temps))
    assert {end for _, end in ends if end[1:] != (False, [])} == set()
    assert {(number.name, end[0]) for number, end in ends if end[0] not in (0, -number)} == set()
    assert {end[0] for _, end in ends} >= {0, -HUP, -INT, -QUIT, -TERM}
    stage.end()
