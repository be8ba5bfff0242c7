"""Many launches at once that share one time stamp, and so the name of the
scratch directory and the log."""

import glob
import os
import subprocess
import time

import pytest

from harness import (INVENTORY, RECORDS, Record, assert_no_sanitizer_report, end_group, en,
                     read_file, set_inventory)
from stage import Stage

LAUNCHES = 200
STAMP = "same"
GO_ON = "/var/goon"


@pytest.fixture(name="stage")
def fixture_stage(root_as_new):
    del root_as_new
    set_inventory()
    made = Stage()
    yield made
    made.end()


def start(place, number):
    return subprocess.Popen(
        [place.launcher, "-silent", f"NUMBER={number:03d}", "-waitForCompletion", "-timestamp",
         STAMP],
        cwd=place.dir, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        env=place.environment(java={"wait_for": GO_ON, "exit": 7}), start_new_session=True)


def finished_records():
    return [f"{RECORDS}/{name}" for name in os.listdir(RECORDS) if "unfinished" not in name]


def launch_at_once(place, count):
    """Lets every java wait until all of them run; gives the records and what
    each launch ended with."""
    processes = [start(place, number) for number in range(count)]
    try:
        end = time.monotonic() + 240
        while len(finished_records()) < count:
            ended = [process.args for process in processes if process.poll() is not None]
            assert not ended, f"ended before the others had started: {ended}"
            assert time.monotonic() < end, "not all launches start java"
            time.sleep(0.02)
        found = [Record(read_file(path)) for path in finished_records()]
        with open(GO_ON, "wb"):
            pass
        results = [(*process.communicate(timeout=60), process.returncode) for process in processes]
    finally:
        for process in processes:
            end_group(process)
    for stdout, stderr, _ in results:
        assert_no_sanitizer_report(stdout, stderr)
    return found, results


def test_two_hundred_launches_of_one_second_share_nothing_but_the_log_and_lose_none_of_it(home):
    found, results = launch_at_once(home, LAUNCHES)
    assert [status for _, _, status in results] == [7] * LAUNCHES
    assert {stderr for _, stderr, _ in results} == {b""}

    base = "/tmp/TalInstall" + STAMP
    assert {record.scratch for record in found} == {
        base, *(f"{base}_{number}" for number in range(1, LAUNCHES))}
    assert glob.glob("/tmp/Tal*") == []

    assert os.listdir(INVENTORY + "/logs") == [f"installActions{STAMP}.log"]
    log = read_file(f"{INVENTORY}/logs/installActions{STAMP}.log")
    every_launch = [en("S_USING_PARAMFILE", home.ini_path), b"\n",
                    b"INFO: " + en("S_ZUL") + b" Version 1.7.0.0.0 \n"]
    pieces = LAUNCHES * every_launch
    for record in found:
        pieces += [en("S_EXECVP_ARGS", record.argv[0])]
        pieces += [os.fsencode(argument) + b"\n" for argument in record.argv]
    # The launches take turns between pieces, never inside one.
    for piece in set(pieces):
        if len(piece) > 8:
            assert log.count(piece) >= pieces.count(piece), piece
    for number in range(LAUNCHES):
        assert log.count(b"NUMBER=%03d\n" % number) == 1
    assert len(log) == sum(map(len, pieces))


def test_launches_from_one_stage_at_once_bootstrap_into_scratch_directories_of_their_own(stage):
    count = 20
    found, results = launch_at_once(stage, count)
    assert [(stderr, status) for _, stderr, status in results] == [(b"", 7)] * count
    assert len({record.scratch for record in found}) == count
    assert len({str(sorted(record.tree.items())) for record in found}) == 1
    assert glob.glob("/tmp/Tal*") == []
