"""What the system tests stand on: homes laid out for the shipped launcher,
launches of it, and what each left behind.

Runs only in the throw-away root that in-root makes. The fixtures are in
conftest.py. The programs and files under test are named by the environment:

    LAUNCHER             the launcher as built
    CATALOGUES           directory of the compiled catalogues, cons.nls
    RECORDER             the program that stands where java is
    LISTENER             the same, and where others are, listening for signals
    CATALOGUE_COMPILER   the catalogue compiler
    DEMO_JAR             the sample installer, TalInstaller.jar
    STAGE_UNZIP          the stage's own unzip, where it was built
    TEST_JAVA_HOME       a Java runtime; otherwise the one of the java command
"""

import dataclasses
import fcntl
import glob
import os
import re
import resource
import select
import shutil
import signal
import subprocess
import termios
import time

# Tests take everything from here.
# pylint: disable=unused-import
from harness_catalogues import (bootstrap_failed, compile_locale, de, en, marked,  # noqa: F401
                                no_catalogue_in, read_catalogue, write_catalogue)
from harness_files import (as_bytes, assert_golden, assert_same, ini_text,  # noqa: F401
                           java_home, read_file, tool, tree, write_file, write_script)
from harness_record import Record, file_crc, signal_mask  # noqa: F401
from harness_root import OPERATOR_HOME, RECORDS, SANITIZER_REPORTS, CleanRoot  # noqa: F401

KELVANE = OPERATOR_HOME + "/kelvane"
INVENTORY = OPERATOR_HOME + "/inventory"
POINTER_FILE = "/var/opt/talvex/talInst.loc"
MOUNT_TABLE = "/etc/mnttab"
RECORD = RECORDS + "/record.json"

TIME_STAMP = re.compile(r"\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d[AP]M")


# ---- what a launch gives -------------------------------------------------

def group_lives(leader):
    try:
        os.killpg(leader, 0)
    except ProcessLookupError:
        return False
    return True


def end_group(process):
    """Kills a launch and whatever it started, and waits until all are gone."""
    if group_lives(process.pid):
        os.killpg(process.pid, signal.SIGKILL)
    process.wait()
    while group_lives(process.pid):
        time.sleep(0.005)


@dataclasses.dataclass
class Launch:
    """One launch that has ended (java may run on, see `running`)."""

    status: int                # exit status, or -N for signal N
    stdout: bytes
    stderr: bytes
    command: list
    leader: int                # process group of the launch
    temp: str                  # where the launch was told to put its scratch
    logs: dict                 # {path: what this launch added}, everywhere it may be
    scratches: list            # scratch directories of this launch that are still there
    hidden_environment: tuple = ()

    @property
    def running(self):
        """Whether any process of the launch is still there."""
        return group_lives(self.leader)

    @property
    def log(self):
        """The text of the one install log; None if there is none."""
        assert len(self.logs) < 2, f"more than one log: {sorted(self.logs)}"
        return next(iter(self.logs.values()), None)

    @property
    def log_path(self):
        assert len(self.logs) == 1, f"not one log: {sorted(self.logs)}"
        return next(iter(self.logs))

    @property
    def records(self):
        """Every start of the recorder, oldest first. Waits for a java that the
        launcher started without waiting."""
        while self.running and not os.path.exists(RECORD):
            time.sleep(0.005)
        paths = [RECORD] + [f"{RECORD}.{n}" for n in range(1, 1000)]
        return [Record(read_file(path), self.hidden_environment)
                for path in paths if os.path.exists(path)]

    @property
    def record(self):
        """What java was given, or None if it was not started."""
        records = self.records
        assert len(records) < 2, "java was started more than once"
        return records[0] if records else None

    @property
    def scratch(self):
        """The scratch directory: of the record or else the one left behind."""
        if self.record:
            return self.record.scratch
        assert len(self.scratches) == 1, f"not one scratch directory: {self.scratches}"
        return self.scratches[0]

    @property
    def time_stamp(self):
        if self.record:
            return self.record.after("-timestamp")
        return TIME_STAMP.search(" ".join([*self.scratches, *self.logs])).group()

    def plain(self, value):
        """A text, bytes, list or tree with the parts that differ from launch
        to launch named: {SCRATCH}, {TIMESTAMP}."""
        if isinstance(value, dict):
            return {self.plain(name): tuple(self.plain(part) if isinstance(part, (str, bytes))
                                            else part for part in entry)
                    for name, entry in value.items()}
        if isinstance(value, (list, tuple)):
            return [self.plain(item) for item in value]
        names = [(self.scratch, "{SCRATCH}")] if self.record or self.scratches else []
        names.append((self.time_stamp, "{TIMESTAMP}"))
        for text, name in names:
            if isinstance(value, bytes):
                value = value.replace(os.fsencode(text), name.encode())
            else:
                value = value.replace(text, name)
        return value

    def assert_status(self, status):
        assert self.status == status, (
            f"status {self.status}, not {status}\n--- command\n{self.command}\n"
            f"--- standard output\n{self.stdout.decode(errors='replace')}"
            f"--- standard error\n{self.stderr.decode(errors='replace')}"
            f"--- logs\n{self.logs}")
        return self


class TimedOut(AssertionError):
    pass


# ---- launching -----------------------------------------------------------

# A launcher that counts its lines would cut its counters off under a limit of file sizes.
UNCOUNTED = {"GCOV_PREFIX": "/var/uncounted", "GCOV_ERROR_FILE": "/dev/null"}


def is_sanitized(program):
    return b"__asan_init" in read_file(program)


def sanitizer_environment(program):
    """Any report ends the program with 99 and lies in a file of its own, so
    that no expected status or text can hide it."""
    if not is_sanitized(program):
        return {}
    return {"ASAN_OPTIONS": f"exitcode=99:log_path={SANITIZER_REPORTS}/asan:detect_leaks=1",
            "UBSAN_OPTIONS": f"print_stacktrace=1:halt_on_error=1:log_path={SANITIZER_REPORTS}/ubsan",
            "LSAN_OPTIONS": "exitcode=99"}


def assert_no_sanitizer_report(*streams):
    for path in glob.glob(SANITIZER_REPORTS + "/*"):
        raise AssertionError("sanitizer report:\n" + read_file(path).decode(errors="replace"))
    for stream in streams:
        for mark in (b"ERROR: AddressSanitizer", b"ERROR: LeakSanitizer", b"runtime error:"):
            assert mark not in stream, stream.decode(errors="replace")


class Place:
    """A directory with a launcher in it: the file itself, its catalogues and a
    parameter file. A launch may take `patience` seconds."""

    patience = 20

    def __init__(self, directory, name="setupLauncher"):
        self.dir = directory
        self.launcher = f"{directory}/{name}"
        self.resource = directory + "/resource"
        self.ini_path = directory + "/talparam.ini"
        self.started = []
        os.makedirs(directory, exist_ok=True)
        shutil.copy(tool("LAUNCHER"), self.launcher)
        os.chmod(self.launcher, 0o755)
        self.use_marked_catalogues()

    # -- what the launcher finds

    def use_shipped_catalogues(self):
        """The catalogues as built, all languages."""
        shutil.rmtree(self.resource, ignore_errors=True)
        os.makedirs(self.resource)
        for path in glob.glob(tool("CATALOGUES") + "/*.nls"):
            shutil.copy(path, self.resource)

    def use_marked_catalogues(self):
        """cons.nls with texts that only name their keys (see en) and
        cons_de.nls with the same in "German" (see de)."""
        shutil.rmtree(self.resource, ignore_errors=True)
        texts = read_catalogue(tool("CATALOGUES") + "/cons.nls")
        write_catalogue(self.resource + "/cons.nls", marked("en", texts))
        write_catalogue(self.resource + "/cons_de.nls", marked("de", texts))

    def set_texts(self, file="cons.nls", **texts):
        """Replaces single texts of a catalogue; None removes the key."""
        path = f"{self.resource}/{file}"
        known = read_catalogue(path) if os.path.exists(path) else {}
        known.update(texts)
        write_catalogue(path, {key: text for key, text in known.items() if text is not None})

    def ini(self, *sections, path=None, **keys):
        """Writes the parameter file: DEFAULTS of this kind of place, changed by
        the keys given (None leaves one out), then further (name, keys)
        sections. Returns its path."""
        return self.ini_raw(ini_text(*sections, **{**self.DEFAULTS, **keys}), path)

    def ini_raw(self, text, path=None):
        return write_file(path or self.ini_path, text)

    DEFAULTS = {}

    # -- launches

    def environment(self, changes=None, java=None):
        """The environment of a launch: a small fixed one with changes (None
        removes a variable) and orders for the recorder."""
        variables = {"PATH": "/usr/bin:/bin", "HOME": OPERATOR_HOME, "LANG": "C",
                     "DISPLAY": "operator:0", "TEMP": "/tmp"}
        variables.update(sanitizer_environment(self.launcher))
        variables.update(changes or {})
        for name, value in (java or {}).items():
            variables["RECORDER_" + name.upper()] = str(value)
        return {name: value for name, value in variables.items() if value is not None}

    def command(self, arguments, argv0):
        return [self.launcher if argv0 is None else argv0, *arguments]

    def prepare(self):
        """Clears the records and remembers what is there already."""
        for path in glob.glob(RECORDS + "/*"):
            os.unlink(path)

    def launch(self, *args, argv0=None, program=None, cwd=None, env=None, java=None, stdin=b"",
               umask=0o022, timeout=None, merged=False, limits=None, closed=(),
               wait_for_java=True, read_at_most=None):
        """Starts the launcher and waits for its end.

        args          arguments, texts or bytes
        argv0         argument 0; the launcher's absolute path without it
        program       file to execute; the launcher without it
        cwd           working directory; the launcher's without it
        env           changes to the small fixed environment
        java          orders for the recorder: {"exit": 3, "stdout": "text",
                      "stderr": "text", "signal": 9, "sleep": 1, "write": "file",
                      "wait_for": "/path", "stdin": 1}
        stdin         bytes (through a pipe), an open file, or None: closed
        merged        both outputs in one stream, stdout
        limits        {resource.RLIMIT_X: (soft, hard)}
        closed        descriptors closed at the start
        wait_for_java False: return when the launcher has ended, whatever it
                      started may run on; the test's end ends it
        timeout       seconds; the place's patience without it
        read_at_most  ends everything after so many bytes of output

        Time running out ends every process of the launch and fails the test.
        """
        self.prepare()
        timeout = timeout or self.patience
        if resource.RLIMIT_FSIZE in (limits or {}):
            env = {**(env or {}), **UNCOUNTED}
        before = self.surroundings(env)
        command = self.command(args, argv0)
        variables = self.environment(env, java)
        files = [open(f"{OPERATOR_HOME}/.{name}", "w+b", buffering=0) for name in ("out", "err")]
        limited = read_at_most is not None
        out, err = (subprocess.PIPE if limited else files[0]), files[1]
        process = subprocess.Popen(
            command, executable=program or self.launcher, cwd=cwd or self.dir, env=variables,
            stdin=subprocess.PIPE if isinstance(stdin, bytes) else stdin,
            stdout=out, stderr=subprocess.STDOUT if merged else err,
            start_new_session=True,
            preexec_fn=lambda: self.in_child(umask, limits, (*closed, *([0] if stdin is None else ()))))
        self.started.append(process)
        end = time.monotonic() + timeout
        output = b""
        try:
            if isinstance(stdin, bytes):
                self.feed(process, stdin)
            if limited:
                output = self.read_bounded(process, read_at_most, end)
            process.wait(max(0.0, end - time.monotonic()))
            while wait_for_java and group_lives(process.pid):
                if time.monotonic() > end:
                    raise subprocess.TimeoutExpired(command, timeout)
                time.sleep(0.002)
        except subprocess.TimeoutExpired:
            end_group(process)
            raise TimedOut(f"no end after {timeout} s: {command}\n"
                           f"--- standard output\n{self.content(files[0])!r}\n"
                           f"--- standard error\n{self.content(files[1])!r}") from None
        stdout, stderr = (output if limited else self.content(files[0])), self.content(files[1])
        for file in files:
            file.close()
        assert_no_sanitizer_report(stdout, stderr)
        return self.result(process.returncode, stdout, stderr, command, process.pid, before, env)

    def terminal(self, *args, argv0=None, cwd=None, env=None, java=None, typed=b"", timeout=60):
        """Starts the launcher with a terminal of its own; see Terminal."""
        self.prepare()
        return Terminal(self, self.command(args, argv0), cwd or self.dir, env, java, typed, timeout)

    # -- inside a launch

    @staticmethod
    def in_child(umask, limits, closed):
        os.umask(umask)
        for which, values in (limits or {}).items():
            resource.setrlimit(which, values)
        for number in closed:
            os.close(number)

    @staticmethod
    def feed(process, data):
        try:
            process.stdin.write(data)
        except BrokenPipeError:
            pass
        try:
            process.stdin.close()
        except BrokenPipeError:
            pass

    @staticmethod
    def read_bounded(process, limit, end):
        output = b""
        while len(output) < limit:
            if not select.select([process.stdout], [], [], max(0.0, end - time.monotonic()))[0]:
                raise subprocess.TimeoutExpired(process.args, 0)
            piece = os.read(process.stdout.fileno(), min(65536, limit - len(output)))
            if not piece:
                break
            output += piece
        process.stdout.close()
        if len(output) == limit:
            end_group(process)
        return output

    @staticmethod
    def content(file):
        file.seek(0)
        return file.read()

    def surroundings(self, env):
        """The logs and scratch directories that are there now."""
        temp = (env or {}).get("TEMP") or "/tmp"
        tops = {temp if temp.startswith("/") else "/tmp", "/tmp", "/var/tmp", INVENTORY,
                OPERATOR_HOME, KELVANE}
        scratches = {path for top in tops for path in glob.glob(glob.escape(top) + "/TalInstall*")}
        logs = {path for top in tops | scratches for pattern in ("*.log", "logs/*.log")
                for path in glob.glob(f"{glob.escape(top)}/{pattern}")}
        return temp, scratches, {path: os.path.getsize(path) for path in logs}

    def result(self, status, stdout, stderr, command, leader, before, env):
        temp, old_scratches, old_logs = before
        _, scratches, logs = self.surroundings(env)
        hidden = tuple(f"{name}={value}" for name, value in sanitizer_environment(self.launcher).items())
        return Launch(status, stdout, stderr, command, leader, temp,
                      {path: read_file(path)[old_logs.get(path, 0):] for path in sorted(logs)
                       if logs[path] > old_logs.get(path, -1)},
                      sorted(scratches - old_scratches), hidden)

    def end(self):
        """Ends whatever the launches left running."""
        for process in self.started:
            end_group(process)


class Terminal:
    """A launch whose standard streams are a terminal. `typed` is typed ahead,
    before the launcher starts."""

    def __init__(self, place, command, cwd, env, java, typed, timeout):
        self.place, self.command, self.env = place, command, env
        self.before = place.surroundings(env)
        self.end = time.monotonic() + timeout
        self.output = b""
        self.seen = 0
        self.ours, theirs = os.openpty()
        if typed:
            os.write(self.ours, typed)

        self.process = subprocess.Popen(
            command, executable=place.launcher, cwd=cwd, env=place.environment(env, java),
            stdin=theirs, stdout=theirs, stderr=theirs, start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        place.started.append(self.process)
        os.close(theirs)

    def read_more(self):
        left = self.end - time.monotonic()
        if left <= 0 or not select.select([self.ours], [], [], left)[0]:
            end_group(self.process)
            raise TimedOut(f"the terminal shows only {self.output!r}")
        try:
            piece = os.read(self.ours, 65536)
        except OSError:
            piece = b""
        self.output += piece
        return bool(piece)

    def expect(self, text):
        """Waits until text appears after what was waited for before."""
        text = as_bytes(text)
        while (at := self.output.find(text, self.seen)) < 0:
            assert self.read_more(), f"{text!r} did not appear: {self.output!r}"
        self.seen = at + len(text)

    def wait_until_it_reads(self):
        """What is typed between a question and the reading may be dropped as
        typed ahead."""
        asleep = 0
        while asleep < 3:
            state = read_file(f"/proc/{self.process.pid}/stat").rpartition(b") ")[2][:1]
            asleep = asleep + 1 if state == b"S" else 0
            time.sleep(0.01)

    def type(self, text):
        os.write(self.ours, as_bytes(text))

    def finish(self):
        """Waits for the end; stdout of the result is all the terminal showed,
        with the terminal's line ends turned back into plain ones."""
        while self.read_more():
            pass
        status = self.process.wait(max(0.0, self.end - time.monotonic()))
        os.close(self.ours)
        stdout = self.output.replace(b"\r\n", b"\n")
        assert_no_sanitizer_report(stdout)
        return self.place.result(status, stdout, b"", self.command, self.process.pid, self.before,
                                 self.env)


def recorder_as_java(directory):
    """Makes directory look like a Java runtime whose java is the recorder."""
    os.makedirs(directory + "/bin", exist_ok=True)
    shutil.copy(tool("RECORDER"), directory + "/bin/java")
    os.chmod(directory + "/bin/java", 0o755)
    return directory


class Home(Place):
    """An installed home: talui/bin with the launcher, talui/jlib, and jdk/jre
    with the recorder as java. The parameter file has the least that works."""

    DEFAULTS = {"DISTRIBUTION": "FALSE", "BOOTSTRAP": "FALSE", "MULTICD": "FALSE",
                "JRE_LOCATION": "../../jdk/jre"}

    def __init__(self, top=KELVANE):
        self.top = top
        self.jre = top + "/jdk/jre"
        super().__init__(top + "/talui/bin")
        os.makedirs(top + "/talui/jlib")
        recorder_as_java(self.jre)
        self.ini()

    def use_real_java(self):
        """The real Java runtime in place of the recorder, and the sample
        installer on the class path."""
        shutil.rmtree(self.jre)
        os.symlink(java_home(), self.jre)
        shutil.copy(tool("DEMO_JAR"), self.top + "/talui/jlib/TalInstaller.jar")


def set_inventory(directory=INVENTORY):
    """Writes the pointer file and makes the inventory with its logs."""
    os.makedirs(directory + "/logs", exist_ok=True)
    write_file(POINTER_FILE, f"inventory_loc={directory}\n")
    return directory
