"""Archives that were made to do harm, or that were harmed: the stage's own unzip names archive and
entry, ends with the status for it, unpacks the rest and touches nothing outside."""

import os
import struct
import subprocess
import time

import pytest

from archives import (DEFLATED, ENCRYPTED, USUAL, Entry, archive_bytes, deflated, link, ours,
                      run_unzip, timed_tree, write_archive)
from harness import read_file, write_file

DEST = "/tmp/place/dest"
OUTSIDE = "/tmp/place/outside"
JAR = "/tmp/jars/a.jar"
BEFORE, BEHIND = Entry(b"before", b"first"), Entry(b"behind", b"last")


@pytest.fixture(autouse=True)
def place(root_as_new):
    """A destination with a sibling that has to stay as it is."""
    del root_as_new
    os.makedirs(DEST)
    write_file(OUTSIDE + "/secret", b"kept", 0o640)
    os.utime(OUTSIDE + "/secret", (1, 1))
    os.utime(OUTSIDE, (1, 1))


def surroundings():
    """What lies around the destination, without the times of access, which looking changes."""
    found = timed_tree("/tmp/place", 2 << 40)
    return {name: [part[:1] if isinstance(part, list) else part for part in entry]
            for name, entry in found.items() if not name.startswith(b"dest")}


def assert_only(entries, said, status, rest=(b"before", b"behind"), options=("-qqqo",), told=None):
    """Unpacks `entries` between two plain ones: exactly what is said is said, the rest is there, and
    nothing around the destination has changed."""
    around = surroundings()
    found = set(os.listdir(DEST))
    write_archive(JAR, [BEFORE, *entries, BEHIND], told=told)
    done = run_unzip(ours(), *options, "/tmp/jars/*.jar", "-d", DEST)
    lines = done.stderr.decode(errors="surrogateescape").splitlines()
    assert lines == [f"unzip: {JAR}: {line}" for line in said]
    assert done.returncode == status
    assert set(map(os.fsencode, set(os.listdir(DEST)) - found)) == set(rest)
    assert read_file(DEST + "/before") == b"first" and read_file(DEST + "/behind") == b"last"
    assert surroundings() == around
    return done


def assert_a_check_says(said, status):
    done = run_unzip(ours(), "-tqq", JAR)
    assert done.stderr.decode(errors="surrogateescape").splitlines() == [
        f"unzip: {JAR}: {line}" for line in said]
    assert (done.returncode, done.stdout) == (status, b"")


UPWARDS, ROOTED = "its name leads upwards", "its name begins at the root directory"
DRIVE, BACKSLASH = "its name begins with a drive letter", "its name has a backslash in it"
CONTROL, EMPTY = "its name has a control character in it", "its name is empty"


@pytest.mark.parametrize("name, shown, reason", [
    (b"../outside/secret", "../outside/secret", UPWARDS),
    (b"a/../../outside/secret", "a/../../outside/secret", UPWARDS),
    (b"..", "..", UPWARDS),
    (b"a/..", "a/..", UPWARDS),
    (b"../", "../", UPWARDS),
    (b"a/../b", "a/../b", UPWARDS),
    (b"/tmp/place/outside/secret", "/tmp/place/outside/secret", ROOTED),
    (b"//tmp/x", "//tmp/x", ROOTED),
    (b"/", "/", ROOTED),
    (b"C:/windows", "C:/windows", DRIVE),
    (b"c:x", "c:x", DRIVE),
    (b"..\\outside\\secret", "..\\outside\\secret", BACKSLASH),
    (b"\\\\server\\share", "\\\\server\\share", BACKSLASH),
    (b"new\nline", "new^Jline", CONTROL),
    (b"nul\0byte", "nul^@byte", CONTROL),
    (b"carriage\rreturn", "carriage^Mreturn", CONTROL),
    (b"escape\x1b[2J", "escape^[[2J", CONTROL),
    (b"delete\x7f", "delete^?", CONTROL),
    (b"", "", EMPTY),
    (b".", ".", "its name is that of a directory"),
    (b"./.", "./.", "its name is that of a directory"),
])
@pytest.mark.parametrize("options", [("-qqqo",), ("-o",)])
def test_a_name_that_leads_elsewhere_is_refused(name, shown, reason, options):
    assert_only([Entry(name, b"harm")], [f"{shown}: {reason}"], 2, options=options)
    assert_a_check_says([f"{shown}: {reason}"], 2)


def test_a_long_name_is_refused_and_nothing_else(root_as_new):
    del root_as_new
    assert_only([Entry(b"x" * 256, b"harm")], ["x" * 256 + ": File name too long"], 50)


def test_a_path_longer_than_the_system_takes_at_once_is_made_step_by_step():
    name = b"/".join([b"d" * 200] * 40)
    write_archive(JAR, [Entry(name + b"/file", b"deep")])
    try:
        done = run_unzip(ours(), "-qqqo", JAR, "-d", DEST)
        assert (done.returncode, done.stderr) == (0, b"")
        os.chdir(DEST)
        for step in name.split(b"/"):
            os.chdir(step)
        assert read_file("file") == b"deep"
    finally:
        os.chdir("/")
        subprocess.run(["rm", "-rf", DEST], check=True)


def test_a_file_through_a_link_of_the_archive_is_refused():
    assert_only([link(b"out", OUTSIDE.encode()), Entry(b"out/secret", b"harm"), Entry(b"out/new", b"harm")],
                ["out/secret: its way leads through a symbolic link of the archive",
                 "out/new: its way leads through a symbolic link of the archive"], 2,
                rest=(b"before", b"behind", b"out"))
    assert os.readlink(DEST + "/out") == OUTSIDE
    assert_a_check_says(["out/secret: its way leads through a symbolic link of the archive",
                         "out/new: its way leads through a symbolic link of the archive"], 2)


def test_a_check_of_a_refused_entry_says_first_what_is_wrong_with_its_data():
    write_archive(JAR, [BEFORE, Entry(b"../x", b"data", crc=1), Entry(b"/y", b"data", method=12),
                        Entry(b"../z", b"data")])
    assert_a_check_says(["../x: bad CRC adf3f363 (should be 00000001)",
                         "/y: it is packed with a method that is not known here",
                         "../z: its name leads upwards"], 81)


def test_a_file_through_a_link_in_a_linked_directory_is_refused():
    assert_only([link(b"up", b".."), link(b"up2", b"up/outside"), Entry(b"up2/secret", b"harm"),
                 Entry(b"up/outside/secret", b"harm")],
                ["up2/secret: its way leads through a symbolic link of the archive",
                 "up/outside/secret: its way leads through a symbolic link of the archive"], 2,
                rest=(b"before", b"behind", b"up", b"up2"))


def test_a_directory_that_is_a_link_already_is_refused():
    os.symlink(OUTSIDE, DEST + "/out")
    assert_only([Entry(b"out/secret", b"harm"), Entry(b"out/d/", b"", 0o040700), Entry(b"out/", b"", 0o040700)],
                ["out/secret: its way leads through the symbolic link out",
                 "out/d/: its way leads through the symbolic link out",
                 "out/: its way leads through the symbolic link out"], 2)
    assert os.readlink(DEST + "/out") == OUTSIDE


def test_a_link_of_an_earlier_archive_leads_nowhere_for_a_later_one():
    write_archive("/tmp/jars/1.jar", [link(b"out", OUTSIDE.encode())])
    assert_only([Entry(b"out/secret", b"harm")], ["out/secret: its way leads through the symbolic link out"],
                2, rest=(b"before", b"behind", b"out"))


def test_a_file_over_a_link_replaces_the_link_and_says_so():
    os.symlink(OUTSIDE + "/secret", DEST + "/over")
    assert_only([Entry(b"over", b"new")], ["over: it replaces a symbolic link"], 1)
    assert not os.path.islink(DEST + "/over") and read_file(DEST + "/over") == b"new"


def test_a_file_over_a_link_of_the_same_archive_replaces_it_and_says_so():
    assert_only([link(b"over", (OUTSIDE + "/secret").encode()), Entry(b"over", b"new")],
                ["over: it replaces a symbolic link"], 1, rest=(b"before", b"behind", b"over"))
    assert read_file(DEST + "/over") == b"new"


def test_a_link_over_a_link_replaces_it():
    os.symlink(OUTSIDE, DEST + "/over")
    assert_only([link(b"over", b"before")], [], 0)
    assert os.readlink(DEST + "/over") == "before"


def test_without_o_what_is_there_stays():
    os.symlink(OUTSIDE + "/secret", DEST + "/link")
    write_file(DEST + "/file", b"mine")
    stays = "it is there already and left as it is; -o replaces it"
    assert_only([Entry(b"link", b"new"), Entry(b"file", b"new"), link(b"file2", b"x")],
                [f"link: {stays}", f"file: {stays}"], 1, options=("-q",),
                rest=(b"before", b"behind", b"file2"))
    assert read_file(DEST + "/file") == b"mine"
    assert os.readlink(DEST + "/link") == OUTSIDE + "/secret"


@pytest.mark.parametrize("target", [b"", b"nul\0byte", b"x" * 4096])
def test_a_link_without_a_usable_target_is_refused(target):
    reason = "its text is too long" if len(target) > 4000 else "it is a symbolic link without a usable target"
    assert_only([link(b"odd", target)], [f"odd: {reason}"], 2)
    assert_a_check_says([f"odd: {reason}"], 2)


def test_a_file_in_the_place_of_a_directory_and_the_other_way_round_are_refused():
    os.makedirs(DEST + "/there/in")
    write_file(DEST + "/file", b"mine")
    assert_only([Entry(b"there", b"x"), Entry(b"file/x", b"x"), Entry(b"a", b"1"), Entry(b"a/b", b"2"),
                 Entry(b"c/d", b"3"), Entry(b"c", b"4"), Entry(b"e/", b"", 0o040755), Entry(b"e", b"5"),
                 Entry(b"f", b"6"), Entry(b"f/", b"", 0o040755)],
                ["there: a directory is in its place",
                 "file/x: its way leads through file, which is no directory",
                 "a/b: its way leads through a file of the archive",
                 "c: the archive has a directory of that name before it",
                 "e: the archive has a directory of that name before it",
                 "f/: the archive has a file of that name before it"], 50,
                rest=(b"before", b"behind", b"a", b"c", b"e", b"f"))
    assert read_file(DEST + "/a") == b"1" and read_file(DEST + "/c/d") == b"3"
    assert os.path.isdir(DEST + "/e") and read_file(DEST + "/f") == b"6"
    assert_a_check_says(["a/b: its way leads through a file of the archive",
                         "c: the archive has a directory of that name before it",
                         "e: the archive has a directory of that name before it",
                         "f/: the archive has a file of that name before it"], 2)


DISAGREE = "its own header and the archive's directory disagree"


@pytest.mark.parametrize("entry, reason, status", [
    (Entry(b"name", b"x", local_name=b"mane"), "its own header has another name", 2),
    (Entry(b"name", b"x", local_name=b"../name"), "its own header has another name", 2),
    (Entry(b"name", b"x", local_name=b""), "its own header has another name", 2),
    (Entry(b"name", b"x", local_size=2), DISAGREE, 2),
    (Entry(b"name", b"x", local_method=DEFLATED), DISAGREE, 2),
    (Entry(b"name", b"x", size=2), "it is stored, but told to have two sizes", 2),
    (Entry(b"name", b"data", crc=1), "bad CRC adf3f363 (should be 00000001)", 2),
    (Entry(b"name", b"data" * 9, crc=1, method=DEFLATED), "bad CRC 96ff40a7 (should be 00000001)", 2),
    (Entry(b"name", b"data" * 9, method=DEFLATED, size=35), "its data is longer than the directory tells", 2),
    (Entry(b"name", b"data" * 9, method=DEFLATED, size=37), "its data is shorter than the directory tells", 2),
    (Entry(b"name", b"x", method=DEFLATED, size=0xfffffff0), "its data is shorter than the directory tells", 2),
    (Entry(b"name", b"data", method=DEFLATED, packed=b"\xff\xff\xff"), "its packed data is broken", 2),
    (Entry(b"name", b"data" * 99, method=DEFLATED, packed=deflated(b"data" * 99)[:-4]),
     "its packed data is broken", 2),
    (Entry(b"name", b"x", method=12), "it is packed with a method that is not known here", 81),
    (Entry(b"name", b"x", method=99), "it is packed with a method that is not known here", 81),
    (Entry(b"name", b"x", flags=ENCRYPTED), "it is encrypted", 82),
    (Entry(b"name", b"x", offset=0x7fffffff), "the archive ends before its header", 51),
    (Entry(b"name", b"x", offset=3), DISAGREE, 2),
    (Entry(b"name", b"x", packed_size=100_000, size=100_000, local_size=100_000),
     "the archive ends before its data", 51),
])
def test_an_entry_that_is_broken_is_named_and_the_rest_is_unpacked(entry, reason, status):
    assert_only([entry], [f"name: {reason}"], status)
    for option in ("-t", "-tq", "-tqq"):
        done = run_unzip(ours(), option, JAR)
        assert done.stderr.decode() == f"unzip: {JAR}: name: {reason}\n"
        assert done.returncode == status
        told = f"At least one error was detected in {JAR}.\n" if option != "-tqq" else ""
        assert done.stdout.decode().endswith(told)
        assert b"No errors" not in done.stdout


def test_entries_that_overlap_are_refused_but_for_the_first():
    inner = Entry(b"inner", b"harm")
    hidden = archive_bytes([inner])[:30 + 5 + 4]
    outer = Entry(b"outer", hidden)
    at = len(archive_bytes([BEFORE])) - 46 - len(b"before") - 22 + 30 + len(b"outer")
    assert_only([outer, Entry(b"inner", b"harm", offset=at, packed=b"harm")],
                ["inner: its data lies in that of another entry"], 12,
                rest=(b"before", b"behind", b"outer"))


def test_many_entries_of_the_same_data_are_no_bomb():
    bomb = Entry(b"bomb0", bytes(1_000_000), method=DEFLATED)
    entries = [bomb]
    data = bytearray(archive_bytes([BEFORE, *entries, BEHIND]))
    record = data.index(b"PK\1\2", data.index(b"PK\1\2") + 4)
    copies = b"".join(data[record:record + 46 + 5] for _ in range(1000))
    end = data.index(b"PK\5\6")
    data[record + 51:record + 51] = copies
    end += len(copies)
    data[end + 8:end + 16] = struct.pack("<HHI", 1003, 1003, struct.unpack_from("<I", data, end + 12)[0] + len(copies))
    write_file(JAR, bytes(data))
    done = run_unzip(ours(), "-qqqo", JAR, "-d", DEST)
    assert done.returncode == 12
    assert done.stderr.decode().splitlines() == [
        f"unzip: {JAR}: bomb0: its data lies in that of another entry"] * 1000
    assert sorted(os.listdir(DEST)) == ["before", "behind", "bomb0"]


def test_a_directory_that_tells_of_more_entries_than_it_has_is_broken():
    write_archive(JAR, [BEFORE], told=2)
    done = run_unzip(ours(), "-qqqo", JAR, "-d", DEST)
    assert (done.returncode, done.stderr.decode()) == (
        3, f"unzip: {JAR}: its directory is broken: it tells of 2 entries and holds 1\n")
    assert os.listdir(DEST) == ["before"]


@pytest.mark.parametrize("content", [b"", b"PK", b"no archive at all" * 100, archive_bytes([BEFORE])[:-30]])
def test_what_is_no_archive_is_named_and_the_others_are_unpacked(content):
    write_file("/tmp/jars/0.jar", content)
    write_archive(JAR, [BEFORE])
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/*.jar", "-d", DEST)
    assert (done.returncode, done.stderr) == (
        9, b"unzip: /tmp/jars/0.jar: not a zip archive, or its end is missing\n")
    assert os.listdir(DEST) == ["before"]


def test_what_bears_the_name_of_an_archive_and_is_no_file_is_never_waited_for():
    os.makedirs("/tmp/jars/directory.jar")
    os.mkfifo("/tmp/jars/fifo.jar")
    os.symlink("/dev/zero", "/tmp/jars/device.jar")
    os.symlink("nowhere", "/tmp/jars/dangling.jar")
    write_archive(JAR, [BEFORE])
    write_archive("/tmp/jars/closed.jar", [BEHIND])
    os.chmod("/tmp/jars/closed.jar", 0)
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/*.jar", "-d", DEST)
    assert done.stderr.decode().splitlines() == [
        "unzip: /tmp/jars/closed.jar: Permission denied",
        "unzip: /tmp/jars/dangling.jar: No such file or directory",
        "unzip: /tmp/jars/device.jar: not a regular file",
        "unzip: /tmp/jars/fifo.jar: not a regular file"]
    assert done.returncode == 9
    assert os.listdir(DEST) == ["before"]


def test_a_directory_that_fits_a_pattern_is_passed_over_unless_nothing_else_fits():
    os.makedirs("/tmp/jars/b.jar")
    os.symlink("b.jar", "/tmp/jars/c.jar")
    write_archive(JAR, [BEFORE])
    for program in (USUAL, ours()):
        done = run_unzip(program, "-qqqo", "/tmp/jars/*.jar", "-d", DEST)
        assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")
    assert os.listdir(DEST) == ["before"]
    for pattern in ("/tmp/jars/b.*", "/tmp/jars/b.jar"):
        assert run_unzip(USUAL, "-qqqo", pattern, "-d", DEST).returncode == 9
        done = run_unzip(ours(), "-qqqo", pattern, "-d", DEST)
        assert (done.returncode, done.stderr) == (9, b"unzip: /tmp/jars/b.jar: not a regular file\n")
    done = run_unzip(ours(), "-qqqo", "/tmp/jars/[bc].jar", "-d", DEST)
    assert (done.returncode, done.stderr) == (9, b"unzip: /tmp/jars/b.jar: not a regular file\n"
                                                 b"unzip: /tmp/jars/c.jar: not a regular file\n")


def test_a_pipe_in_the_place_of_a_file_or_a_directory_is_not_written_to():
    os.mkfifo(DEST + "/pipe")
    os.mkfifo(DEST + "/way")
    assert_only([Entry(b"pipe", b"new"), Entry(b"way/x", b"x")],
                ["way/x: its way leads through way, which is no directory"], 2)
    assert read_file(DEST + "/pipe") == b"new"


def test_every_cut_of_an_archive_ends_with_a_status_and_without_a_truncated_file():
    whole = archive_bytes([BEFORE, Entry(b"d/text", b"some text " * 50, method=DEFLATED), BEHIND])
    contents = {b"before": b"first", b"behind": b"last", b"d/text": b"some text " * 50}
    for length in range(0, len(whole), 7):
        write_file(JAR, whole[:length])
        top = f"{DEST}/{length}"
        done = run_unzip(ours(), "-qqqo", JAR, "-d", top)
        assert done.returncode in (2, 3, 9, 51)
        assert done.stderr
        for name, entry in timed_tree(top, time.time()).items():
            assert entry[0] == 0o040000 or entry[3] == contents[name]
