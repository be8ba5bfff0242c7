"""Bad days of the stage's own unzip: a full disk, little memory, interruptions, a terminal to keep
informed. Whatever comes, no file looks whole that is not."""

import fcntl
import os
import pty
import random
import resource
import select
import signal
import struct
import subprocess
import termios
import time
import zipfile

import pytest

from archives import DEFLATED, Entry, ours, run_unzip, write_archive
from harness import is_sanitized, read_file, write_file

JAR = "/tmp/jars/a.jar"
MEGABYTE = 1 << 20


def noise(size, seed=1):
    return random.Random(seed).randbytes(size)


def in_blocks(size, disk):
    return -(-size // disk.f_frsize) * disk.f_frsize


@pytest.mark.parametrize("method", [0, DEFLATED])
def test_a_full_disk_ends_with_50_names_the_directory_and_what_is_missing(root_as_new, method):
    del root_as_new
    contents = {b"f%d" % number: noise(300_000, number) for number in range(20)}
    write_archive(JAR, [Entry(name, data, method=method) for name, data in contents.items()])
    write_archive("/tmp/jars/b.jar", [Entry(b"more", noise(1_000_000))])
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/*.jar", "-d", "/small/dest")
    assert done.returncode == 50
    words = done.stderr.decode().split()
    assert done.stderr.decode() == (f"unzip: /small/dest: No space left on device; {words[7]} KB more "
                                    "are needed there\n")
    there = os.listdir("/small/dest")
    for name in there:
        assert read_file(f"/small/dest/{name}") == contents[os.fsencode(name)]
    disk = os.statvfs("/small")
    needed = (20 - len(there)) * in_blocks(300_000, disk) + in_blocks(1_000_000, disk)
    assert int(words[7]) == -(-(needed - disk.f_bavail * disk.f_frsize) // 1024)
    assert 3 <= len(there) <= 6


def test_many_small_files_are_missing_the_blocks_that_they_take(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"f%d" % number, b"x" * 100) for number in range(600)])
    write_archive("/tmp/jars/b.jar", [Entry(b"more%d" % number, b"x" * 100) for number in range(200)])
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/*.jar", "-d", "/small/dest")
    assert done.returncode == 50
    disk = os.statvfs("/small")
    missing = (800 - len(os.listdir("/small/dest"))) * in_blocks(100, disk) - disk.f_bavail * disk.f_frsize
    assert missing > 1_000_000
    assert done.stderr.decode() == (f"unzip: /small/dest: No space left on device; {missing // 1024} KB "
                                    "more are needed there\n")


def test_a_disk_that_is_full_of_names_ends_with_50(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"d%d/file" % number, b"x" * 4096) for number in range(3000)])
    done = run_unzip(ours(), "-qqqo", JAR, "-d", "/small/dest")
    assert done.returncode == 50
    assert done.stderr.startswith(b"unzip: /small/dest: No space left on device")
    assert done.stderr.count(b"\n") == 1
    for directory, _, files in os.walk("/small/dest"):
        for name in files:
            assert name == "file" and os.path.getsize(f"{directory}/{name}") == 4096


def test_a_file_that_was_there_stays_whole_when_the_disk_is_full(root_as_new):
    del root_as_new
    write_file("/small/dest/old", b"the old one")
    write_archive(JAR, [Entry(b"old", noise(3_000_000))])
    done = run_unzip(ours(), "-qqqo", JAR, "-d", "/small/dest")
    assert done.returncode == 50
    assert os.listdir("/small/dest") == ["old"] and read_file("/small/dest/old") == b"the old one"


def test_a_read_only_disk_ends_with_50_and_is_told_once(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"%d" % number, b"x") for number in range(50)])
    done = run_unzip(ours(), "-qqqo", JAR, "-d", "/readonly/directory")
    assert (done.returncode, done.stderr) == (
        50, b"unzip: /readonly/directory: Read-only file system\n")


def test_a_directory_that_may_not_be_written_ends_with_50_and_names_each_entry(root_as_new):
    del root_as_new
    os.makedirs("/tmp/closed")
    os.chmod("/tmp/closed", 0o500)
    write_archive(JAR, [Entry(b"a", b"x"), Entry(b"d/b", b"x")])
    done = run_unzip(ours(), "-qqqo", JAR, "-d", "/tmp/closed")
    assert (done.returncode, done.stderr.decode()) == (
        50, f"unzip: {JAR}: a: Permission denied\nunzip: {JAR}: d/b: Permission denied\n")
    os.chmod("/tmp/closed", 0o700)


def test_a_limit_on_the_size_of_files_is_a_failure_that_is_told(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"small", b"x"), Entry(b"large", noise(200_000))])
    done = run_unzip(ours(), "-qqqo", JAR, "-d", "/tmp/dest",
                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000)))
    assert (done.returncode, done.stderr.decode()) == (50, f"unzip: {JAR}: large: File too large\n")
    assert os.listdir("/tmp/dest") == ["small"]


def test_standard_output_that_cannot_be_written_is_told(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"file", b"x")])
    reading, writing = os.pipe()
    os.close(reading)
    done = subprocess.run([ours(), "-o", JAR, "-d", "/tmp/dest"], stdout=writing, stderr=subprocess.PIPE,
                          check=False)
    os.close(writing)
    assert (done.returncode, done.stderr) == (50, b"unzip: standard output: Broken pipe\n")
    assert read_file("/tmp/dest/file") == b"x"


# ---- memory --------------------------------------------------------------

def peak_memory(*arguments):
    """The most memory, in bytes, that a run that succeeds had in use: the last of many looks at a mark
    that only rises."""
    peak = 0
    with subprocess.Popen([ours(), *arguments]) as process:
        while process.poll() is None:
            status = read_file(f"/proc/{process.pid}/status")
            if status.startswith(b"Name:\tunzip\n") and b"VmHWM:" in status:
                peak = int(status.partition(b"VmHWM:")[2].split()[0]) * 1024
            time.sleep(0.0005)
    assert process.returncode == 0 and peak > 0
    return peak


def packed_zeros(path, sizes):
    """Entries of zeros, which pack a thousandfold."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with zipfile.ZipFile(path, "w") as jar:
        for number, size in enumerate(sizes):
            entry = zipfile.ZipInfo(f"zeros{number}", (2020, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            with jar.open(entry, "w") as stream:
                for _ in range(size):
                    stream.write(bytes(MEGABYTE))


# AddressSanitizer has a memory of its own, which says nothing of the program's and cannot be limited.
if not is_sanitized(ours()):
    @pytest.mark.parametrize("option", ["-tqq", "-qqqo"])
    def test_entries_above_256_mb_are_streamed_in_bounded_memory(root_as_new, option):
        del root_as_new
        packed_zeros(JAR, [257, 300])
        assert peak_memory(option, JAR, *(["-d", "/tmp/dest"] if "o" in option else [])) < 16 * MEGABYTE

    @pytest.mark.parametrize("sizes", [[60, 60, 60, 60], [100, 1, 1, 1, 1, 50]])
    def test_memory_is_at_most_the_largest_entry_and_16_mb(root_as_new, sizes):
        del root_as_new
        packed_zeros(JAR, sizes)
        with zipfile.ZipFile(JAR) as jar:
            largest = max(entry.file_size + entry.compress_size for entry in jar.infolist())
        assert peak_memory("-qqqo", JAR, "-d", "/tmp/dest") <= largest + 16 * MEGABYTE

    def test_20000_entries_need_at_most_16_mb(root_as_new):
        del root_as_new
        write_archive(JAR, [Entry(b"d%d/a name of some length %d" % (number // 100, number), b"x")
                            for number in range(20000)])
        assert peak_memory("-tqq", JAR) <= 16 * MEGABYTE

    def test_an_entry_for_which_there_is_no_memory_is_streamed(root_as_new):
        del root_as_new
        packed_zeros(JAR, [200])
        limit = 100 * MEGABYTE
        done = run_unzip(ours(), "-qqqo", JAR, "-d", "/tmp/dest",
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
        assert (done.returncode, done.stderr) == (0, b"")
        assert os.path.getsize("/tmp/dest/zeros0") == 200 * MEGABYTE

    def test_no_memory_for_the_directory_ends_with_4_and_a_word(root_as_new):
        del root_as_new
        write_archive(JAR, [Entry(b"%d" % number) for number in range(60000)])
        limit = 8 * MEGABYTE
        done = run_unzip(ours(), "-qqqo", JAR, "-d", "/tmp/dest",
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
        assert (done.returncode, done.stderr) == (4, b"unzip: there is not enough memory\n")


# ---- interruption --------------------------------------------------------

def working_files(top):
    return [name for name in os.listdir(top) if name.startswith(".unzip-")]


def started_on_large_entries(**more):
    """A run in the midst of several large entries, stopped."""
    packed_zeros(JAR, [240, 240, 240])
    write_archive("/tmp/jars/0.jar", [Entry(b"first", b"whole")])
    os.makedirs("/tmp/dest")
    process = subprocess.Popen([ours(), "-qqqo", "/tmp/jars/*.jar", "-d", "/tmp/dest"], **more)
    while not (os.path.exists("/tmp/dest/first") and working_files("/tmp/dest")):
        assert process.poll() is None
    os.kill(process.pid, signal.SIGSTOP)
    return process


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_an_interruption_ends_with_80_and_leaves_only_what_is_whole(root_as_new, number):
    del root_as_new
    process = started_on_large_entries(stderr=subprocess.PIPE)
    process.send_signal(number)
    process.send_signal(signal.SIGCONT)
    _, said = process.communicate(timeout=60)
    assert (process.returncode, said) == (80, f"unzip: {JAR}: interrupted\n".encode())
    for name in os.listdir("/tmp/dest"):
        assert name == "first" or os.path.getsize("/tmp/dest/" + name) == 240 * MEGABYTE
    assert len(os.listdir("/tmp/dest")) < 4


def test_a_kill_leaves_nothing_that_looks_whole(root_as_new):
    del root_as_new
    process = started_on_large_entries()
    process.kill()
    process.wait()
    for name in os.listdir("/tmp/dest"):
        assert name == "first" or name.startswith(".unzip-") or \
            os.path.getsize("/tmp/dest/" + name) == 240 * MEGABYTE
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/*.jar", "-d", "/tmp/dest")
    assert done.returncode == 0


def test_a_signal_that_the_caller_ignores_is_ignored(root_as_new):
    del root_as_new
    process = started_on_large_entries(
        stderr=subprocess.PIPE, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    process.send_signal(signal.SIGHUP)
    process.send_signal(signal.SIGCONT)
    assert process.communicate(timeout=60)[1] == b""
    assert process.returncode == 0


# ---- progress ------------------------------------------------------------

class Screen:
    """A terminal of 60 columns, and all that is written to it."""

    def __init__(self):
        self.ours, self.theirs = pty.openpty()
        fcntl.ioctl(self.theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 60, 0, 0))
        self.written = b""

    def read_until_end_of(self, process):
        while process.poll() is None or select.select([self.ours], [], [], 0)[0]:
            if select.select([self.ours], [], [], 0.02)[0]:
                self.written += os.read(self.ours, 4096)
        return self.written

    def line(self):
        """What stands in the cursor's line at the end."""
        shown = [" "] * 60
        at = 0
        for character in self.written.decode().rpartition("\n")[2]:
            if character == "\r":
                at = 0
            else:
                shown[at] = character
                at += 1
        return "".join(shown).rstrip()


def on_a_screen(subject, pause):
    """Unpacks 720 MB; one pause of `pause` seconds is made in the midst of it."""
    screen = Screen()
    environment = {} if subject is None else {"LAUNCHER_UNPACKING": subject}

    def take_terminal():
        os.setsid()
        fcntl.ioctl(screen.theirs, termios.TIOCSCTTY, 0)
    process = started_on_large_entries(stderr=screen.theirs, stdout=subprocess.PIPE, env=environment,
                                       preexec_fn=take_terminal)
    time.sleep(pause)
    process.send_signal(signal.SIGCONT)
    screen.read_until_end_of(process)
    assert process.returncode == 0
    assert process.stdout.read() == b""
    return screen


def test_a_long_unpacking_on_a_terminal_shows_one_line_that_goes_away(root_as_new):
    del root_as_new
    start = time.monotonic()
    screen = on_a_screen("talvex.swd.jre", 1.2)
    seconds = time.monotonic() - start
    lines = [line.rstrip() for line in screen.written.decode().split("\r")]
    assert "\n" not in screen.written.decode()
    shown = [line for line in lines if line]
    assert 1 <= len(shown) <= 10 * seconds
    percent = -1
    for line in shown:
        amount, megabytes, unit, subject = line.split()
        assert int(amount.rstrip("%")) >= percent
        percent = int(amount.rstrip("%"))
        done, total = megabytes.split("/")
        assert 0 <= int(done) <= int(total) == 754
        assert (unit, subject) == ("MB", "talvex.swd.jre")
    assert percent <= 100
    assert screen.line() == ""


def test_a_subject_longer_than_the_terminal_is_cut(root_as_new):
    del root_as_new
    screen = on_a_screen("x" * 200 + "\x1b[2J", 1.2)
    shown = [line.rstrip() for line in screen.written.decode().split("\r")]
    assert max(map(len, shown)) == 59
    assert screen.line() == ""


@pytest.mark.parametrize("subject, pause", [(None, 1.2), ("", 1.2)])
def test_without_the_wish_of_the_launcher_nothing_is_shown(root_as_new, subject, pause):
    del root_as_new
    assert on_a_screen(subject, pause).written == b""


def test_a_short_unpacking_shows_nothing(root_as_new):
    del root_as_new
    screen = Screen()
    write_archive(JAR, [Entry(b"file", b"x" * 100_000)])
    process = subprocess.Popen([ours(), "-qqqo", JAR, "-d", "/tmp/dest"], stderr=screen.theirs,
                               env={"LAUNCHER_UNPACKING": "talvex.swd.jre"})
    assert screen.read_until_end_of(process) == b""
    assert process.returncode == 0


def test_nothing_is_shown_where_standard_error_is_no_terminal(root_as_new):
    del root_as_new
    process = started_on_large_entries(stderr=subprocess.PIPE, stdout=subprocess.PIPE,
                                       env={"LAUNCHER_UNPACKING": "talvex.swd.jre"})
    time.sleep(1.2)
    process.send_signal(signal.SIGCONT)
    assert process.communicate(timeout=60) == (b"", b"")
    assert process.returncode == 0


def test_nothing_is_shown_by_a_run_in_the_background(root_as_new):
    del root_as_new
    screen = Screen()
    process = started_on_large_entries(stderr=screen.theirs, start_new_session=True,
                                       env={"LAUNCHER_UNPACKING": "talvex.swd.jre"})
    time.sleep(1.2)
    process.send_signal(signal.SIGCONT)
    assert screen.read_until_end_of(process) == b""
    assert process.returncode == 0
