"""The command line of the stage's own unzip: what launchers and operators type, and how all else is
refused."""

import os

import pytest

from archives import DEFLATED, Entry, ours, run_unzip, write_archive
from harness import read_file

JAR = "/tmp/jars/a.jar"
DEST = "/tmp/dest"


@pytest.fixture(autouse=True)
def archive(root_as_new):
    del root_as_new
    write_archive(JAR, [Entry(b"file", b"text"), Entry(b"packed", b"text" * 99, method=DEFLATED)])


@pytest.mark.parametrize("arguments", [
    ["-qqqo", "/tmp/jars/*.jar", "-d", DEST],
    ["-o", "/tmp/jars/*.jar", "-d", DEST],
    ["-q", "-q", "-q", "-o", JAR, "-d", DEST],
    ["-oqqq", JAR, "-d" + DEST],
    ["-qo", "-d", DEST, JAR],
    ["-qod", DEST, JAR],
    ["-qod" + DEST, JAR],
    ["-d", DEST + "///", JAR],
    ["-qo", "/tmp/jars/?.jar", "-d", DEST],
    ["-qo", "/tmp/jars/[a-b].jar", "-d", DEST],
    ["-qo", "/tmp/jars//*.jar", "-d", DEST],
    [JAR, "-d", DEST],
])
def test_the_same_letters_mean_the_same_apart_and_together(arguments):
    done = run_unzip(ours(), *arguments)
    assert (done.returncode, done.stderr) == (0, b"")
    assert sorted(os.listdir(DEST)) == ["file", "packed"]
    assert read_file(DEST + "/packed") == b"text" * 99


def test_a_name_is_also_tried_with_the_ending_of_archives():
    os.rename(JAR, "/tmp/jars/a.zip")
    assert run_unzip(ours(), "-t", "/tmp/jars/a").stdout.endswith(b"data of /tmp/jars/a.zip.\n")


def test_without_d_the_current_directory_takes_everything():
    os.makedirs(DEST)
    done = run_unzip(ours(), "-o", JAR, cwd=DEST)
    assert (done.returncode, done.stderr) == (0, b"")
    assert done.stdout == (b"Archive:  /tmp/jars/a.jar\n extracting: file                    \n"
                           b"  inflating: packed                  \n")
    assert sorted(os.listdir(DEST)) == ["file", "packed"]


@pytest.mark.parametrize("arguments, said", [
    (["-x", JAR], "the option -x is not known; see unzip --help"),
    (["-qqn", JAR], "the option -n is not known; see unzip --help"),
    (["-oj", JAR], "the option -j is not known; see unzip --help"),
    (["-p", JAR, "file"], "the option -p is not known; see unzip --help"),
    (["-v"], "the option -v is not known; see unzip --help"),
    (["-Z", JAR], "the option -Z is not known; see unzip --help"),
    (["--quiet", JAR], "the option --quiet is not known; see unzip --help"),
    (["--", JAR], "the option -- is not known; see unzip --help"),
    ([JAR, "file"], "file is one name too many: entries cannot be chosen, and options other than -d "
                    "stand before the archive"),
    ([JAR, "-o"], "-o is one name too many: entries cannot be chosen, and options other than -d stand "
                  "before the archive"),
    ([JAR, JAR], JAR + " is one name too many: entries cannot be chosen, and options other than -d stand "
                       "before the archive"),
    (["-o", JAR, "-d"], "the option -d needs the directory to unpack into"),
    (["-o", JAR, "-d", ""], "the option -d needs the directory to unpack into"),
    (["-d", "a", "-d", "b", JAR], "the option -d is given twice"),
    (["-o"], "no archive is named; see unzip --help"),
    (["-o", ""], "an empty word names nothing; see unzip --help"),
    (["", JAR], "an empty word names nothing; see unzip --help"),
    ([JAR, "", "-d", "a"], "an empty word names nothing; see unzip --help"),
    (["--help", JAR], JAR + " is one name too many: --help takes none"),
    ([JAR, "--version"], JAR + " is one name too many: --version takes none"),
    (["--version", "-d", "a"], "the option -d is one too many: --version takes none"),
    (["--help", "-x"], "the option -x is not known; see unzip --help"),
    (["--help", ""], "an empty word names nothing; see unzip --help"),
])
def test_anything_else_is_refused_in_one_line_with_10(arguments, said):
    os.makedirs(DEST)
    done = run_unzip(ours(), *arguments, cwd=DEST)
    assert (done.returncode, done.stdout, done.stderr.decode()) == (10, b"", f"unzip: {said}\n")
    assert os.listdir(DEST) == []


@pytest.mark.parametrize("option", ["-t", "-l", "-tq", "-lqq"])
def test_checking_and_listing_unpack_nothing_and_say_that_d_is_not_looked_at(option):
    done = run_unzip(ours(), option, JAR, "-d", DEST)
    assert done.returncode == 0
    assert done.stderr == b"unzip: -d /tmp/dest: not looked at, since nothing is unpacked\n"
    assert not os.path.exists(DEST)


@pytest.mark.parametrize("arguments", [["-h"], ["--help"], [], ["-oh", JAR], ["-q", "--help", "-t"]])
def test_help_goes_to_standard_output(arguments):
    done = run_unzip(ours(), *arguments)
    assert (done.returncode, done.stderr) == (0, b"")
    assert done.stdout.startswith(b"usage: unzip [-q]... [-o] ARCHIVE [-d DIRECTORY]\n")


def test_the_version_is_told():
    done = run_unzip(ours(), "--version")
    assert (done.returncode, done.stdout, done.stderr) == (
        0, b"unzip of setupLauncher, for the archives of installation stages\n", b"")


def test_what_is_not_there_ends_with_9_and_a_pattern_that_fits_nothing_with_11():
    for quiet in ("-o", "-qqqo"):
        done = run_unzip(ours(), quiet, "/tmp/jars/b.jar", "-d", DEST)
        assert (done.returncode, done.stdout, done.stderr) == (
            9, b"", b"unzip: /tmp/jars/b.jar: No such file or directory\n")
        for pattern in ("/tmp/jars/*.zip", "/tmp/nowhere/*.jar"):
            done = run_unzip(ours(), quiet, pattern, "-d", DEST)
            assert (done.returncode, done.stdout, done.stderr.decode()) == (
                11, "".encode(), f"unzip: {pattern}: no file fits this pattern\n")
    assert not os.path.exists(DEST)


def test_a_file_of_the_very_name_of_a_pattern_is_found():
    os.rename(JAR, "/tmp/jars/a[1].jar")
    assert run_unzip(ours(), "-qo", "/tmp/jars/a[1].jar", "-d", DEST).returncode == 0
    assert os.path.exists(DEST + "/file")


def test_wildcards_in_a_directory_s_name_are_plain_characters():
    os.rename("/tmp/jars", "/tmp/j*[r]?")
    assert run_unzip(ours(), "-qo", "/tmp/j*[r]?/*.jar", "-d", DEST).returncode == 0
    assert os.path.exists(DEST + "/file")


@pytest.mark.parametrize("missing", ["/tmp/no/dest", "/tmp/jars/a.jar", "/tmp/jars/a.jar/dest"])
def test_a_destination_that_cannot_be_is_named(missing):
    done = run_unzip(ours(), "-qqqo", JAR, "-d", missing)
    reason = "No such file or directory" if missing == "/tmp/no/dest" else "Not a directory"
    assert (done.returncode, done.stdout, done.stderr.decode()) == (2, b"", f"unzip: {missing}: {reason}\n")


def test_variables_mean_nothing():
    environment = {"UNZIP": "-t", "UNZIPOPT": "-l", "ZIPINFO": "-v", "ZIPINFOOPT": "-v"}
    done = run_unzip(ours(), "-qqqo", JAR, "-d", DEST, env=environment)
    assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")
    assert sorted(os.listdir(DEST)) == ["file", "packed"]


def test_a_destination_that_is_a_link_to_a_directory_is_used():
    os.makedirs("/tmp/real")
    os.symlink("real", DEST)
    assert run_unzip(ours(), "-qqqo", JAR, "-d", DEST).returncode == 0
    assert sorted(os.listdir("/tmp/real")) == ["file", "packed"]
