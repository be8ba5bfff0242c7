"""Launches with a catalogue that is broken, missing or anything at all, and
the launcher started by a bare name."""

import os
import random

import pytest

from harness import (OPERATOR_HOME, assert_same, de, en, no_catalogue_in, read_catalogue,
                     read_file, tool, write_file)

START = b"S_STARTINSTALLERMSG"


def warning(record):
    return b'WARNING: Ignoring malformed message "' + record + b'" in catalogue!\n'


def launched(home, content, **options):
    """A launch with these bytes as the default catalogue, the only one."""
    for name in os.listdir(home.resource):
        os.unlink(f"{home.resource}/{name}")
    write_file(home.resource + "/cons.nls", content)
    launch = home.launch("-silent", **options)
    launch.assert_status(0)
    assert launch.record
    return launch


def assert_shows(home, content, shown, *malformed):
    """What a launch shows in place of the start message. The catalogue is read
    twice, for the console and for the log, and complains each time."""
    launch = launched(home, content)
    assert_same(launch.stdout, shown + b"\n")
    assert_same(launch.stderr, b"".join(map(warning, malformed)) * 2)


def assert_no_launch(launch, resource):
    launch.assert_status(1)
    assert_same(launch.stderr, no_catalogue_in(resource))
    assert (launch.stdout, launch.record, launch.logs, launch.scratches) == (b"", None, {}, [])


# ---- records --------------------------------------------------------------

def test_a_record_ends_at_its_nul_and_nowhere_else(home):
    assert_shows(home, START + b"=one\ntwo\r\n three \t\0", b"one\ntwo\r\n three \t")


def test_the_first_equals_sign_parts_key_and_text(home):
    assert_shows(home, START + b"=a=b==\0", b"a=b==")


def test_a_text_may_be_empty(home):
    assert_shows(home, START + b"=\0", b"")


def test_of_a_repeated_key_the_first_record_wins_without_a_word(home):
    assert_shows(home, START + b"=first\0S_X=x\0" + START + b"=second\0", b"first")
    assert_shows(home, START + b"=\0" + START + b"=second\0", b"")


@pytest.mark.parametrize("key", [
    START.lower(), b" " + START, b"\n" + START, START + b" ", START[:-1], START + b"X", b"",
], ids=["other case", "blank before", "line end before", "blank behind", "shorter", "longer",
        "empty"])
def test_keys_are_compared_exactly(home, key):
    assert_shows(home, key + b"=not this\0", b"")
    assert_shows(home, key + b"=not this\0" + START + b"=this\0", b"this")


@pytest.mark.parametrize("record", [b"no equals sign", b"", b"%s%n%d", b"line\nend", b"\xff\xfe"],
                         ids=["words", "empty", "directives", "line end", "no UTF-8"])
def test_a_record_without_an_equals_sign_is_told_and_skipped(home, record):
    assert_shows(home, record + b"\0" + START + b"=text\0", b"text", record)


def test_every_record_without_an_equals_sign_is_told(home):
    assert_shows(home, b"a\0\0b\0" + START + b"=text\0\0", b"text", b"a", b"", b"b", b"")


def test_bytes_behind_the_last_nul_are_dropped_without_a_word(home):
    assert_shows(home, b"S_X=x\0" + START + b"=text", b"")
    assert_shows(home, START + b"=text\0no equals sign", b"text")
    assert_shows(home, START + b"=text\0" + START, b"text")


def test_lines_without_a_nul_are_no_records(home):
    assert_shows(home, START + b"=text\nS_X=x\n", b"")


def test_a_long_file_of_lines_is_cut_into_pieces_whose_keys_nobody_knows(home):
    lines = b"S_X=x\n" + START + b"=text\n" + b"S_Y=y\n" * 400
    assert_shows(home, lines, b"")


def test_the_first_line_of_a_long_file_of_lines_takes_the_rest_as_its_text(home):
    lines = START + b"=text\n" + b"S_Y=y\n" * 400
    assert_shows(home, lines, lines[:1023].partition(b"=")[2])


def test_lines_without_equals_signs_are_told_in_pieces_of_1023_bytes(home):
    assert_shows(home, b"x" * 3000, b"", b"x" * 1023, b"x" * 1023)


# ---- 1023 bytes -----------------------------------------------------------

def test_a_text_of_1500_bytes_is_cut_and_its_rest_told_as_malformed(home):
    record = START + b"=" + b"a" * 1000 + b"b" * 500
    assert_shows(home, record + b"\0S_X=x\0", record[len(START) + 1:1023], record[1023:])


def test_the_rest_of_a_long_text_may_be_a_record_of_its_own(home):
    record = b"S_X=" + b"a" * 1019 + START + b"=in the rest"
    assert_shows(home, record + b"\0", b"in the rest")


def test_a_record_of_1022_bytes_is_whole(home):
    text = b"a" * (1022 - len(START) - 1)
    assert_shows(home, START + b"=" + text + b"\0S_X=x\0", text)


def test_a_record_of_1023_bytes_is_whole_and_its_nul_makes_an_empty_one(home):
    text = b"a" * (1023 - len(START) - 1)
    assert_shows(home, START + b"=" + text + b"\0S_X=x\0", text, b"")


def test_a_record_of_1023_bytes_needs_no_nul(home):
    text = b"a" * (1023 - len(START) - 1)
    assert_shows(home, START + b"=" + text, text)


# ---- texts as formats -----------------------------------------------------

@pytest.mark.parametrize("text, shown", [
    (b"100%% of it\n", b"100% of it\n"),
    (b"[%d] [%s] [%n]\n", b"[] [] []\n"),
    (b"%%d %%%d %%s\n", b"%d % %s\n"),
    (b"%9999999999d|%*d|%99999$s|\n", b"|||\n"),
], ids=["percent sign", "directives", "percent signs before directives", "large numbers"])
def test_a_text_without_arguments_is_a_format_without_arguments(home, text, shown):
    home.set_texts(S_ERPERDSP=text)
    launch = home.launch(env={"DISPLAY": None})
    launch.assert_status(255)
    assert launch.stdout.startswith(en(START.decode(), "Kelvane Installer") + b"\n" + shown
                                    + en("S_ERPERDSP_1"))


@pytest.mark.parametrize("text, shown", [
    (b"%s", b"Kelvane Installer"),
    (b"%1$s and %1$s", b"Kelvane Installer and Kelvane Installer"),
    (b"%1$.7s|%1$20s|", b"Kelvane|   Kelvane Installer|"),
    (b"%s %s %d %n", b"Kelvane Installer   "),
    (b"%s 100%%%%", b"Kelvane Installer 100%"),
    (b"%%s of %s", b" of Kelvane Installer"),
], ids=["as it is", "by position", "precision and width", "more than there are", "percent sign",
        "a directive after the first pass"])
def test_a_text_with_an_argument_is_filled_and_then_printed_as_a_format(home, text, shown):
    assert_shows(home, START + b"=" + text + b"\0", shown)


def test_texts_with_more_directives_than_arguments_show_nothing_of_the_memory(home):
    texts = read_catalogue(tool("CATALOGUES") + "/cons.nls")
    greedy = "%s%d%x%p%n%f%c" * 20
    content = b"".join(f"{key}={greedy}\n\0".encode() for key in texts)
    launch = launched(home, content)
    assert_same(launch.stdout, b"Kelvane Installer\n\n")
    assert launch.stderr == b""


# ---- files ----------------------------------------------------------------

def test_an_empty_catalogue_is_one_and_the_launch_goes_on_without_texts(home):
    launch = launched(home, b"")
    assert_same(launch.stdout, b"\n")
    assert launch.stderr == b""
    arguments = "".join(argument + "\n" for argument in launch.record.argv)
    assert_same(launch.log, b"\nINFO:  Version 1.7.0.0.0 \n" + arguments.encode())


@pytest.mark.parametrize("size", [1, 100, 1022, 1023, 1024, 1025, 2500])
def test_a_truncated_catalogue_keeps_its_whole_records(home, size):
    whole = read_file(home.resource + "/cons.nls")
    records = whole[:size].split(b"\0")[:-1]
    filled = {key: text for key, _, text in (record.partition(b"=") for record in records)}
    shown = filled.get(START, b"").replace(b"%s", b"Kelvane Installer")
    assert_shows(home, whole[:size], shown)


def test_a_catalogue_truncated_just_before_and_behind_the_nul_of_a_record(home):
    whole = read_file(home.resource + "/cons.nls")
    end = whole.index(b"\0", whole.index(START))
    assert_shows(home, whole[:end], b"")
    assert_shows(home, whole[:end + 1], en(START.decode(), "Kelvane Installer"))


def test_a_directory_in_the_place_of_the_catalogue_is_read_as_an_empty_one(home):
    for name in os.listdir(home.resource):
        os.unlink(f"{home.resource}/{name}")
    os.mkdir(home.resource + "/cons.nls")
    launch = home.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.stdout, b"\n")
    assert launch.stderr == b""


def test_a_catalogue_that_nobody_may_read_is_none(home):
    os.chmod(home.resource + "/cons.nls", 0)
    assert_no_launch(home.launch("-silent"), home.resource)


def test_a_translation_that_nobody_may_read_gives_way_to_the_default_one(home, german):
    os.chmod(home.resource + "/cons_de.nls", 0)
    launch = home.launch("-silent", env=german)
    launch.assert_status(0)
    assert_same(launch.stdout, en(START.decode(), "Kelvane Installer") + b"\n")
    assert launch.stderr == b""


def test_a_broken_translation_is_completed_from_the_default_catalogue(home, german):
    write_file(home.resource + "/cons_de.nls", b"broken\0S_X=" + START + b"=text\0")
    launch = home.launch("-silent", env=german)
    launch.assert_status(0)
    assert_same(launch.stdout, en(START.decode(), "Kelvane Installer") + b"\n")
    assert_same(launch.stderr, warning(b"broken"))


def test_an_empty_translation_counts_as_a_catalogue(home, german):
    write_file(home.resource + "/cons_de.nls")
    os.unlink(home.resource + "/cons.nls")
    launch = home.launch("-silent", env=german)
    launch.assert_status(0)
    assert_same(launch.stdout, b"\n")
    assert launch.stderr == b""


def test_catalogues_of_other_languages_are_no_catalogue(home):
    os.unlink(home.resource + "/cons.nls")
    assert_no_launch(home.launch("-silent"), home.resource)


@pytest.mark.parametrize("place", ["nothing", "a file", "closed", "a dead link"])
def test_without_a_directory_of_catalogues_there_is_no_launch(home, place):
    os.rename(home.resource, home.resource + ".away")
    if place == "a file":
        write_file(home.resource, b"S_X=x\0")
    elif place == "closed":
        os.rename(home.resource + ".away", home.resource)
        os.chmod(home.resource, 0o600)
    elif place == "a dead link":
        os.symlink("nowhere", home.resource)
    assert_no_launch(home.launch("-silent"), home.resource)


def test_the_directory_of_catalogues_may_be_a_link(home):
    os.rename(home.resource, OPERATOR_HOME + "/texts")
    os.symlink(OPERATOR_HOME + "/texts", home.resource)
    assert_same(home.launch("-silent").stdout, en(START.decode(), "Kelvane Installer") + b"\n")


@pytest.mark.parametrize("seed", range(6))
def test_any_bytes_are_a_catalogue_that_a_launch_survives(home, seed):
    chance = random.Random(seed)
    alphabet = [bytes(range(256)), b"\0=S_%sdn$*.19\n", b"=\xc3\xbc\xe8\xaa\x9e\0"][seed % 3]
    content = bytes(chance.choice(alphabet) for _ in range(chance.randint(1, 20000)))
    records, piece = [], b""
    for byte in content:
        piece += bytes([byte])
        if byte == 0 or len(piece) == 1023:
            records.append(piece.rstrip(b"\0") if byte == 0 else piece)
            piece = b""
    assert_shows(home, content, b"", *(record for record in records if b"=" not in record))


# ---- a bare name ----------------------------------------------------------

def test_a_bare_name_takes_the_catalogues_below_the_current_directory(home):
    write_file("/tmp/here/resource/cons.nls", START + b"=the current directory's\0")
    launch = home.launch("-silent", argv0="setupLauncher", cwd="/tmp/here")
    assert launch.stdout.startswith(b"the current directory's\n")
    assert b"any NLS message catalogue" not in launch.stderr


def test_a_bare_name_finds_no_catalogue_beside_the_launcher(home):
    os.mkdir("/tmp/here")
    assert_no_launch(home.launch("-silent", argv0="setupLauncher", cwd="/tmp/here"),
                     "/tmp/here/resource")


def test_a_shell_that_finds_the_launcher_on_its_path_hands_over_whatever_name_it_has(home):
    write_file("/tmp/here/resource/cons.nls", START + b"=the current directory's\0")
    script = write_file("/tmp/start", b"#!/bin/bash\nexec -a setupLauncher setupLauncher \"$@\"\n",
                        0o755)
    launch = home.launch("-silent", program=script, argv0=script, cwd="/tmp/here",
                         env={"PATH": f"{home.dir}:/usr/bin:/bin"})
    assert launch.stdout.startswith(b"the current directory's\n")


@pytest.mark.parametrize("name, cwd", [
    ("./setupLauncher", "{dir}"), ("bin/setupLauncher", "{dir}/.."),
    ("../bin/setupLauncher", "{dir}"), ("{dir}/setupLauncher", "/tmp"), ("./another", "{dir}"),
    ("{dir}//setupLauncher", "/tmp"), ("{dir}/", "/tmp"),
])
def test_a_name_with_a_slash_takes_the_catalogues_beside_what_it_names(home, name, cwd):
    launch = home.launch("-silent", argv0=name.format(dir=home.dir), cwd=cwd.format(dir=home.dir))
    assert launch.stdout.startswith(en(START.decode(), "Kelvane Installer"))


def test_a_link_to_the_launcher_takes_the_catalogues_beside_the_link(home):
    os.mkdir("/tmp/links")
    os.symlink(home.launcher, "/tmp/links/setupLauncher")
    assert_no_launch(home.launch("-silent", argv0="/tmp/links/setupLauncher"),
                     "/tmp/links/resource")
    write_file("/tmp/links/resource/cons.nls", START + b"=the link's\0")
    launch = home.launch("-silent", argv0="/tmp/links/setupLauncher")
    assert launch.stdout.startswith(b"the link's\n")


def test_the_marked_catalogues_are_read_where_nothing_is_broken(home, german):
    assert_same(home.launch("-silent").stdout, en(START.decode(), "Kelvane Installer") + b"\n")
    assert_same(home.launch("-silent", env=german).stdout,
                de(START.decode(), "Kelvane Installer") + b"\n")
