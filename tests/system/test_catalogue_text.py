"""The tool that turns a catalogue into text and back."""

import os
import random
import stat
import subprocess

import pytest

from harness import assert_same, read_file, tool, write_file

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/catalogue-text")
LANGUAGES = ["de", "es", "fr", "it", "ja", "ko", "pt_BR", "zh_CN", "zh_TW"]


def run(*arguments):
    return subprocess.run([TOOL, *arguments], capture_output=True, check=False)


def show(catalogue):
    """What the tool prints of a sound catalogue."""
    done = run("show", write_file("/tmp/shown.nls", catalogue))
    assert (done.stderr, done.returncode) == (b"", 0)
    return done.stdout


def make(text):
    """The catalogue that the tool makes of right lines."""
    done = run("make", write_file("/tmp/made.txt", text), "-o", "/tmp/made.nls")
    assert (done.stdout, done.stderr, done.returncode) == (b"", b"", 0)
    return read_file("/tmp/made.nls")


def assert_refused(text, *reports):
    write_file("/tmp/wrong.txt", text)
    write_file("/tmp/old.nls", b"S_OLD=as it was\0")
    done = run("make", "/tmp/wrong.txt", "-o", "/tmp/old.nls")
    assert_same(done.stderr.decode(), "".join(f"/tmp/wrong.txt:{report}\n" for report in reports))
    assert (done.stdout, done.returncode) == (b"", 1)
    assert read_file("/tmp/old.nls") == b"S_OLD=as it was\0"


# ---- there and back -------------------------------------------------------

@pytest.mark.parametrize("name", ["cons.nls"] + [f"cons_{language}.nls" for language in LANGUAGES])
def test_every_shipped_catalogue_comes_back_byte_for_byte(name):
    catalogue = read_file(f"{tool('CATALOGUES')}/{name}")
    text = show(catalogue)
    assert text.count(b"\n") == catalogue.count(b"\0")
    assert make(text) == catalogue


def test_every_byte_but_nul_comes_back():
    every = bytes(range(1, 256))
    catalogue = b"S_ALL=" + every + b"\0" + b"S_REVERSED=" + every[::-1] + b"\0"
    assert make(show(catalogue)) == catalogue


@pytest.mark.parametrize("seed", range(4))
def test_any_sound_catalogue_comes_back_byte_for_byte(seed):
    chance = random.Random(seed)
    alphabets = [bytes(range(1, 256)), b"\\xn0=\n", "aä語😀 \u200b\ufeff\\".encode()]

    def piece(most):
        alphabet = chance.choice(alphabets)
        return bytes(chance.choice(alphabet) for _ in range(chance.randint(0, most)))

    records = {}
    for number in range(200):
        key = piece(20).replace(b"=", b"#") + b"%d" % number
        records.setdefault(key, piece(chance.choice([0, 40, 1023 - 1 - len(key)])))
    catalogue = b"".join(key + b"=" + text + b"\0" for key, text in records.items())
    assert make(show(catalogue)) == catalogue


def test_an_empty_catalogue_is_an_empty_text_and_back():
    assert show(b"") == b""
    assert make(b"") == b""


# ---- what the lines look like ---------------------------------------------

def test_a_record_is_a_line_and_only_what_has_no_shape_is_escaped():
    catalogue = ("S_ONE=Grüße, 語 = \"100%\"\n\0"
                 "S_TWO=\r\t\\n\x01\u00a0\0").encode() + b"S_THREE=\xffA\0S_FOUR=\0"
    assert_same(show(catalogue), ("S_ONE=Grüße, 語 = \"100%\"\\n\n"
                                  "S_TWO=\\r\\t\\\\n\\x01\\xc2\\xa0\n"
                                  "S_THREE=\\xffA\n"
                                  "S_FOUR=\n").encode())


def test_lines_keep_their_order_and_the_last_may_lack_its_line_end():
    assert make("S_B=b=b\nS_A=\\x41\\u0020\\n".replace("\\u0020", " ")) == b"S_B=b=b\0S_A=A \n\0"


def test_hexadecimal_digits_may_be_large_or_small():
    assert make("S_A=\\xC3\\xbc") == "S_A=ü\0".encode()


def test_the_catalogue_replaces_the_old_one_and_leaves_nothing_beside_it():
    os.mkdir("/tmp/place", 0o755)
    write_file("/tmp/place/cons.nls", b"S_OLD=old\0")
    write_file("/tmp/place/cons.txt", "S_NEW=new\n")
    assert run("make", "/tmp/place/cons.txt", "-o", "/tmp/place/cons.nls").returncode == 0
    assert read_file("/tmp/place/cons.nls") == b"S_NEW=new\0"
    assert sorted(os.listdir("/tmp/place")) == ["cons.nls", "cons.txt"]
    assert stat.S_IMODE(os.stat("/tmp/place/cons.nls").st_mode) == 0o644


def test_a_reader_that_has_seen_enough_is_no_error_worth_a_word():
    big = b"".join(b"S_%d=" % number + b"x" * 900 + b"\0" for number in range(500))
    write_file("/tmp/big.nls", big)
    process = subprocess.Popen([TOOL, "show", "/tmp/big.nls"], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
    assert process.stdout.readline().startswith(b"S_0=x")
    process.stdout.close()
    assert process.stderr.read() == b""
    process.wait()
    process.stderr.close()


# ---- what is refused ------------------------------------------------------

@pytest.mark.parametrize("text, report", [
    ("S_A=a\nS_B\n", '2: there is no "=" between a key and a text'),
    ("S_A=a\n\nS_B=b\n", '2: there is no "=" between a key and a text'),
    ("=a\n", '1: there is no key before the "="'),
    ("S_A=a\nS_B=b\nS_A=c\n", '3: "S_A" is repeated; it stands first in line 1'),
    ("S_A=a\nS_\\x41=c\n", '2: "S_A" is repeated; it stands first in line 1'),
    ("S_\\x3dA=a\n", '1: a key cannot contain "="'),
    ("S_A=a\\x00b\n", "1: a record cannot contain \\x00"),
    ("S_A=a\\qb\n", '1: "\\q" is no escape'),
    ("S_A=a\\x1\n", '1: "\\x" is no escape'),
    ("S_A=a\\\n", '1: "\\" is no escape'),
    ("S_A=\\ä\n", '1: "\\ä" is no escape'),
    ("S_A=a\r\n", "1: a control character is written as an escape, here \\x0d"),
    ("S_A=a\tb\n", "1: a control character is written as an escape, here \\x09"),
    ("\ufeffS_A=a\n", "1: a control character is written as an escape, here \\xef\\xbb\\xbf"),
    (b"S_A=\xe4\n", "1: this line is not UTF-8"),
    ("S_A=" + "x" * 1020, '1: "S_A" and its text have 1024 bytes; the launcher reads 1023'),
    ("S_A=" + "ä" * 510, '1: "S_A" and its text have 1024 bytes; the launcher reads 1023'),
], ids=["no equals sign", "empty line", "no key", "repeated key", "repeated through an escape",
        "equals sign in a key", "NUL", "unknown escape", "half an escape", "escaped line end",
        "escaped letter", "carriage return", "tab", "byte order mark", "other encoding",
        "too long", "too long in bytes"])
def test_a_wrong_line_is_refused_by_its_number_and_nothing_is_written(text, report):
    assert_refused(text, report)


def test_every_wrong_line_is_reported():
    assert_refused("S_A\nS_B=b\nS_C=\\q\n",
                   '1: there is no "=" between a key and a text', '3: "\\q" is no escape')


def test_a_record_of_1023_bytes_is_the_longest():
    assert make("S_A=" + "x" * 1019) == b"S_A=" + b"x" * 1019 + b"\0"


def test_a_catalogue_does_not_replace_its_own_text():
    write_file("/tmp/one.txt", "S_A=a\n")
    done = run("make", "/tmp/one.txt", "-o", "/tmp/../tmp/one.txt")
    assert_same(done.stderr, b"/tmp/one.txt: the catalogue would replace its own text\n")
    assert done.returncode == 1
    assert read_file("/tmp/one.txt") == b"S_A=a\n"


# ---- what the launcher would not take as it stands ------------------------

@pytest.mark.parametrize("catalogue, lines, report", [
    (b"S_A=a\0broken\0", "S_A=a\nbroken\n",
     'record 2: there is no "=" between a key and a text'),
    (b"S_A=a\0\0", "S_A=a\n\n", 'record 2: there is no "=" between a key and a text'),
    (b"S_A=a\0S_A=b\0", "S_A=a\nS_A=b\n",
     'record 2: "S_A" is repeated; it stands first in record 1'),
    (b"S_A=a\0S_B=b", "S_A=a\nS_B=b\n",
     "record 2: there is no NUL byte at its end; the launcher ignores it"),
    (b"S_A=" + b"x" * 1500 + b"\0", "S_A=" + "x" * 1500 + "\n",
     'record 1: "S_A" and its text have 1504 bytes; the launcher reads 1023'),
], ids=["no equals sign", "empty record", "repeated key", "no NUL", "too long"])
def test_a_broken_catalogue_is_shown_whole_and_reported(catalogue, lines, report):
    done = run("show", write_file("/tmp/broken.nls", catalogue))
    assert_same(done.stdout.decode(), lines)
    assert_same(done.stderr.decode(), f"/tmp/broken.nls: {report}\n")
    assert done.returncode == 1


# ---- calls ----------------------------------------------------------------

@pytest.mark.parametrize("arguments", [
    [], ["show"], ["show", "a", "b"], ["make", "a"], ["make", "a", "-o"], ["make", "a", "-x", "b"],
    ["print", "a"],
], ids=" ".join)
def test_a_wrong_call_tells_the_right_one(arguments):
    done = run(*arguments)
    assert_same(done.stderr, b"usage: catalogue-text show CATALOGUE\n"
                             b"       catalogue-text make TEXT -o CATALOGUE\n")
    assert (done.stdout, done.returncode) == (b"", 2)


@pytest.mark.parametrize("arguments, report", [
    (["show", "/tmp/none"], "/tmp/none: No such file or directory"),
    (["show", "/tmp"], "/tmp: Is a directory"),
    (["make", "/tmp/none", "-o", "/tmp/out.nls"], "/tmp/none: No such file or directory"),
    (["make", "/tmp/right.txt", "-o", "/tmp/none/out.nls"], "/tmp/none/out.nls: No such file or directory"),
    (["make", "/tmp/right.txt", "-o", "/tmp"], "/tmp: it is not a file"),
    (["make", "/tmp/right.txt", "-o", "/dev/null"], "/dev/null: it is not a file"),
], ids=["no catalogue", "a directory to show", "no text", "no directory for the catalogue",
        "a directory to make", "a device to make"])
def test_a_file_that_cannot_be_used_is_told(arguments, report):
    write_file("/tmp/right.txt", "S_A=a\n")
    done = run(*arguments)
    assert_same(done.stderr.decode(), report + "\n")
    assert (done.stdout, done.returncode) == (b"", 1)
    assert not os.path.exists("/tmp/out.nls")
