"""The stage's own unzip beside the usual one: the same archives give the same trees, byte for byte,
with modes, times and links, the same statuses and the same lists."""

import os
import shutil
import struct
import subprocess
import zipfile

import pytest

from archives import (DEFLATED, DOS, USUAL, Entry, assert_alike, link, ours, run_unzip, unpacked,
                      write_archive)
from harness import read_file, write_file

JARS = "/tmp/jars"
ALL = JARS + "/*.jar"
TREE = "/tmp/packed"


@pytest.fixture(name="packed")
def fixture_packed(root_as_new):
    """A tree with everything that a runtime has."""
    del root_as_new
    os.makedirs(JARS)
    write_file(f"{TREE}/bin/java", b"\x7fELF" + bytes(50_000), 0o755)
    write_file(f"{TREE}/lib/text", "line\n" * 1000, 0o640)
    write_file(f"{TREE}/lib/random", os.urandom(70_000), 0o444)
    write_file(f"{TREE}/lib/empty", b"", 0o600)
    write_file(f"{TREE}/lib/a name with blanks", b"x")
    os.makedirs(f"{TREE}/lib/nothing")
    os.chmod(f"{TREE}/lib/nothing", 0o700)
    os.symlink("../bin/java", f"{TREE}/lib/link")
    os.symlink("nowhere", f"{TREE}/lib/dangling")
    os.symlink("/etc/passwd", f"{TREE}/lib/absolute")
    for number, (path, _, files) in enumerate(os.walk(TREE, topdown=False)):
        for name in files:
            if not os.path.islink(f"{path}/{name}"):
                os.utime(f"{path}/{name}", (1_600_000_000 + number, 1_500_000_001 + 2 * number))
        os.utime(path, (1_600_000_000, 1_400_000_001 + 2 * number))
    return TREE


ARCHIVERS = {
    "zip": ["zip", "-q", "-r", "-y", JARS + "/a.jar", "."],
    "zip without extra fields": ["zip", "-q", "-r", "-y", "-X", JARS + "/a.jar", "."],
    "zip without directories": ["zip", "-q", "-r", "-y", "-D", JARS + "/a.jar", "."],
    "zip stored": ["zip", "-q", "-0", "-r", "-y", JARS + "/a.jar", "."],
    "zip with links followed": ["zip", "-q", "-r", JARS + "/a.jar", "bin", "lib/text"],
    "zip with data descriptors": ["sh", "-c", f"zip -q -r - bin lib/text | cat >{JARS}/a.jar"],
    "jar": ["jar", "cf", JARS + "/a.jar", "bin", "lib/text", "lib/random", "lib/empty", "lib/nothing"],
    "jar stored": ["jar", "c0f", JARS + "/a.jar", "bin", "lib/text", "lib/nothing"],
    "bsdtar": ["bsdtar", "-a", "-cf", JARS + "/a.zip", "."],
    "bsdtar stored": ["bsdtar", "--format", "zip", "--options", "zip:compression=store", "-cf",
                      JARS + "/a.jar", "bin", "lib"],
}


@pytest.mark.parametrize("umask", [0o022, 0o077, 0o007])
@pytest.mark.parametrize("archiver", ARCHIVERS)
def test_what_an_archiver_packed_comes_out_alike(packed, archiver, umask):
    subprocess.run(ARCHIVERS[archiver], cwd=packed, check=True)
    if os.path.exists(JARS + "/a.zip"):
        os.rename(JARS + "/a.zip", JARS + "/a.jar")
    found = assert_alike(ALL, umask=umask)
    assert len(found) > 3


@pytest.mark.parametrize("archiver", ["zip", "zip stored", "jar", "bsdtar stored"])
@pytest.mark.parametrize("options", [("-o",), ("-qo",), ("-q", "-q", "-o"), ("-oqqq",)])
def test_the_list_of_what_is_done_is_alike(packed, archiver, options):
    subprocess.run(ARCHIVERS[archiver], cwd=packed, check=True)
    assert_alike(ALL, options=options)


@pytest.mark.parametrize("options", [["-l"], ["-lq"], ["-l", "-q", "-q"], ["-t"], ["-tq"], ["-tqq"]])
@pytest.mark.parametrize("archiver", ["zip", "zip stored", "jar"])
def test_listing_and_checking_are_alike(packed, archiver, options):
    subprocess.run(ARCHIVERS[archiver], cwd=packed, check=True)
    usual, own = (run_unzip(program, *options, JARS + "/a.jar") for program in (USUAL, ours()))
    assert (own.returncode, own.stdout, own.stderr) == (usual.returncode, usual.stdout, b"")
    assert own.returncode == 0


def test_files_packed_by_python_come_out_alike(packed):
    with zipfile.ZipFile(JARS + "/a.jar", "w", zipfile.ZIP_DEFLATED) as jar:
        for name in ("bin/java", "lib/text", "lib/random", "lib/empty", "lib/nothing/"):
            jar.write(f"{packed}/{name}", name)
        jar.writestr("without/attributes", b"x")
        for host in (0, 3, 10, 11, 14, 19):
            for attributes in (0, 1, 0x20, 0o100711 << 16, 0o100600 << 16 | 0x20, 0o100444 << 16 | 1):
                made = zipfile.ZipInfo(f"host{host}/{attributes:x}", (1999, 12, 31, 23, 59, 58))
                made.create_system, made.external_attr = host, attributes
                jar.writestr(made, b"data")
    assert_alike(ALL, umask=0o027)


def test_an_archive_without_permissions_takes_those_of_the_mask(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [
        Entry(b"plain", b"x", host=DOS, attributes=0), Entry(b"readonly", b"x", host=DOS, attributes=1),
        Entry(b"d/", host=DOS, attributes=0), Entry(b"e/", host=DOS, attributes=0x10)])
    for umask in (0, 0o022, 0o077, 0o7):
        found = assert_alike(ALL, umask=umask)
        assert found[b"plain"][1] == 0o666 & ~umask
        assert found[b"readonly"][1] == 0o444 & ~umask
        assert found[b"d"][1] == found[b"e"][1] == 0o777 & ~umask


def test_modes_lose_their_special_bits_and_types(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [
        Entry(b"setuid", b"x", 0o104755), Entry(b"sticky/", b"", 0o041777), Entry(b"fifo", b"x", 0o010644),
        Entry(b"device", b"x", 0o020600), Entry(b"none", b"x", 0), Entry(b"closed/", b"", 0o040000),
        Entry(b"closed/in", b"x")])
    os.makedirs("/tmp/look")
    found = {}
    for program in (USUAL, ours()):
        top = f"/tmp/look/{os.path.basename(os.path.dirname(program))}"
        run_unzip(program, "-qqqo", ALL, "-d", top)
        found[program] = {name: os.lstat(f"{top}/{name}").st_mode for name in os.listdir(top)}
        os.chmod(top + "/closed", 0o700)
        assert read_file(top + "/closed/in") == b"x"
    assert found[ours()] == found[USUAL]
    assert found[ours()]["setuid"] == 0o100755


@pytest.mark.parametrize("field, modified, accessed", [
    (struct.pack("<HHBii", 0x5455, 9, 3, 1_234_567_891, 1_234_567_893), 1_234_567_891, 1_234_567_893),
    (struct.pack("<HHBi", 0x5455, 5, 1, 1_234_567_891), 1_234_567_891, None),
    (struct.pack("<HHBi", 0x5455, 5, 1, -5), None, None),
    (struct.pack("<HHii", 0x5855, 8, 1_234_567_893, 1_234_567_891), 1_234_567_891, 1_234_567_893),
    (struct.pack("<HHiiHH", 0x000d, 12, 1_234_567_893, 1_234_567_891, 0, 0), 1_234_567_891, 1_234_567_893),
    (struct.pack("<HH2s", 0x7855, 2, b"xx"), None, None),
    (b"\x55\x54\xff\xff\x01", None, None),
])
def test_times_of_extra_fields_are_restored(root_as_new, field, modified, accessed):
    del root_as_new
    write_archive(JARS + "/a.jar", [Entry(b"file", b"x", local_extra=field),
                                    Entry(b"d/", b"", 0o040755, local_extra=field)])
    found = assert_alike(ALL)
    if modified is not None:
        assert found[b"file"][2] == [modified, modified if accessed is None else accessed]


@pytest.mark.parametrize("when", [0, 0x21, 0xffffffff, 30 << 25 | 2 << 21 | 31 << 16])
def test_impossible_dates_come_out_alike(root_as_new, when):
    del root_as_new
    write_archive(JARS + "/a.jar", [Entry(b"file", b"x", when=when)])
    assert_alike(ALL)


def test_names_in_utf_8_come_out_as_the_bytes_they_are(root_as_new):
    del root_as_new
    names = ["grün/Größe", "日本語/名前", "emoji😀"]
    for name in names:
        write_file(f"/tmp/unicode/{name}", name)
    os.makedirs(JARS)
    subprocess.run(["jar", "cf", JARS + "/a.jar", "."], cwd="/tmp/unicode", check=True,
                   env={**os.environ, "LC_ALL": "C.UTF-8"})
    for locale in ("C", "C.UTF-8"):
        done = run_unzip(ours(), "-qqqo", ALL, "-d", "/tmp/" + locale, env={"LC_ALL": locale})
        assert (done.returncode, done.stderr) == (0, b"")
        for name in names:
            assert read_file(f"/tmp/{locale}/{name}") == name.encode()
        for archiver in (["zip", "-q", "-r"], ["bsdtar", "--format", "zip", "-cf"]):
            made = f"/tmp/{archiver[0]}.{locale}.zip"
            subprocess.run([*archiver, made, "."], cwd="/tmp/unicode", check=True,
                           env={**os.environ, "LC_ALL": locale})
            top = f"/tmp/{archiver[0]}.{locale}"
            done = run_unzip(ours(), "-qqqo", made, "-d", top)
            assert (done.returncode, done.stderr) == (0, b"")
            for name in names:
                assert read_file(f"{top}/{name}") == name.encode()


def test_later_archives_replace_files_of_earlier_ones_in_the_order_of_their_names(root_as_new):
    del root_as_new
    for name in ("m", "z", "a", "B", ".hidden"):
        write_archive(f"{JARS}/{name}.jar", [Entry(b"d/", b"", 0o040755), Entry(b"d/who", name.encode()),
                                             Entry(b"d/" + name.encode(), b"x")])
    write_archive(JARS + "/later.zip", [Entry(b"d/who", b"not asked for")])
    done, found = unpacked(ours(), ALL)
    assert (done.returncode, done.stderr) == (0, b"")
    assert found[b"d/who"][3] == b"z"
    assert sorted(found) == [b"d", b"d/B", b"d/a", b"d/m", b"d/who", b"d/z"]


def test_several_archives_come_out_alike(packed):
    for name in ("bin", "lib"):
        subprocess.run(["zip", "-q", "-r", "-y", f"{JARS}/{name}.jar", name], cwd=packed, check=True)
    assert_alike(ALL)


def test_files_that_are_there_already_come_out_alike(packed):
    subprocess.run(ARCHIVERS["zip"], cwd=packed, check=True)

    def prepare(top):
        shutil.copytree(packed, top, symlinks=True, dirs_exist_ok=True)
        os.chmod(top + "/lib/random", 0o600)
        write_file(top + "/lib/random", b"old and longer than the new one" * 10_000, 0o400)
        write_file(top + "/lib/mine", b"kept", 0o640)
        os.utime(top + "/lib/mine", (1_000_000_000, 1_000_000_000))
        os.chmod(top + "/lib", 0o711)
    found = assert_alike(ALL, prepare=prepare)
    assert found[b"lib/mine"][3] == b"kept"
    assert found[b"lib"][1] == 0o711


def test_the_last_of_several_entries_of_a_name_wins(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [Entry(b"f", bytes([n]) * 3_000_000, 0o100600 + n, method=DEFLATED)
                                    for n in range(7)])
    found = assert_alike(ALL)
    assert found[b"f"][1] == 0o606 and found[b"f"][3][0] == 6


def test_odd_ways_of_writing_a_name_come_out_alike(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [Entry(b"./a", b"1"), Entry(b"b//c", b"2"), Entry(b"./d/./e", b"3"),
                                    Entry(b"*.star", b"4"), Entry(b"-dash", b"5"), Entry(b"...", b"6")])
    assert_alike(ALL, options=("-qqqo",))


def test_an_archive_without_entries_is_a_warning(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [])
    usual, wanted = unpacked(USUAL, ALL)
    own, found = unpacked(ours(), ALL)
    assert (own.returncode, found) == (usual.returncode, wanted) == (1, {})
    assert own.stderr == f"unzip: {JARS}/a.jar: holds no entries\n".encode()


@pytest.mark.parametrize("count", [65534, 65535, 65536, 70000])
def test_more_entries_than_the_old_format_counts_come_out_alike(root_as_new, count):
    del root_as_new
    os.makedirs(JARS)
    with zipfile.ZipFile(JARS + "/a.jar", "w") as jar:
        for number in range(count):
            jar.writestr(zipfile.ZipInfo(f"d{number // 1000}/{number}", (2020, 1, 1, 0, 0, 0)), b"")
    usual, own = (run_unzip(program, "-qqt", ALL) for program in (USUAL, ours()))
    assert (own.returncode, own.stdout, own.stderr) == (usual.returncode, b"", b"") == (0, b"", b"")
    if count == 70000:
        assert len(assert_alike(ALL)) == count + 70


def test_entries_that_are_counted_modulo_65536_are_all_there(root_as_new):
    del root_as_new
    count = 65536 + 3
    write_archive(JARS + "/a.jar", [Entry(b"%d" % number) for number in range(count)], told=3)
    done, found = unpacked(ours(), ALL)
    assert (done.returncode, done.stderr, len(found)) == (0, b"", count)


@pytest.fixture(name="beyond")
def fixture_beyond(root_as_new):
    """An archive with an entry of 4 GB and 5 bytes that is a hole in the file, and one behind it."""
    del root_as_new
    os.makedirs(JARS)
    size = (4 << 30) + 5
    with zipfile.ZipFile(JARS + "/a.jar", "w") as jar:
        first = zipfile.ZipInfo("hole", (2020, 1, 1, 0, 0, 0))
        first.external_attr = 0o100644 << 16
        with jar.open(first, "w", force_zip64=True) as stream:
            stream.write(b"")
        at = jar.fp.tell()
        jar.fp.truncate(at + size)
        jar.fp.seek(at + size)
        jar.start_dir = at + size
        zeros = 0
        for _ in range(4 << 10):
            zeros = zipfile.crc32(bytes(1 << 20), zeros)
        first.CRC = zipfile.crc32(bytes(5), zeros)
        first.file_size = first.compress_size = size
        jar.fp.seek(first.header_offset)
        jar.fp.write(first.FileHeader(zip64=True))
        jar.fp.seek(at + size)
        jar.writestr(zipfile.ZipInfo("behind", (2020, 1, 1, 0, 0, 0)), b"here")
    return JARS + "/a.jar"


def test_entries_beyond_4_gb_are_listed_and_checked_alike(beyond):
    for option in ("-t", "-l"):
        usual, own = (run_unzip(program, option, beyond) for program in (USUAL, ours()))
        assert (own.returncode, own.stdout, own.stderr) == (usual.returncode, usual.stdout, b"")
        assert own.returncode == 0
    assert str((4 << 30) + 5).encode() in own.stdout


def test_an_entry_beyond_4_gb_is_unpacked_whole(beyond):
    """By our own program only: what it writes is no hole, and takes 4 GB of the disk while this runs."""
    done = run_unzip(ours(), "-qqqo", beyond, "-d", "/tmp/dest")
    try:
        assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")
        assert os.path.getsize("/tmp/dest/hole") == (4 << 30) + 5
        zeros = bytes(1 << 24)
        with open("/tmp/dest/hole", "rb") as stream:
            while piece := stream.read(len(zeros)):
                assert piece == zeros[:len(piece)]
        assert read_file("/tmp/dest/behind") == b"here"
    finally:
        shutil.rmtree("/tmp/dest")


def test_links_come_out_alike_wherever_they_lead(root_as_new):
    del root_as_new
    write_archive(JARS + "/a.jar", [link(b"a", b"b"), link(b"d/up", b"../../.."), link(b"abs", b"/etc"),
                                    Entry(b"deflated", b"x" * 500, 0o120777, DEFLATED), Entry(b"b", b"x")])
    found = assert_alike(ALL)
    assert found[b"d/up"][1] == b"../../.."
    assert_alike(ALL, options=("-o",))
