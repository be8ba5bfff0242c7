"""What the launches share whose surroundings, arguments or streams are not as
they should be: places, and what such a launch owes."""

import os
import re

import pytest

from harness import TIME_STAMP, assert_same, en, set_inventory

FAILED, NO_PARAMETER_FILE, NO_CATALOGUE = 255, 254, 1
# In a text expected, for what differs from launch to launch.
SCRATCH = "/tmp/TalInstall{TIME}"


def place_with(kind):
    """A home or a stage with an inventory. No launch there may take longer than
    five seconds."""
    set_inventory()
    place = kind()
    place.patience = 5
    return place


def fixture_of(name, *kinds):
    """A fixture that is a place of each of the kinds in turn."""
    @pytest.fixture(name=name, params=kinds, ids=lambda kind: kind.__name__.lower())
    def fixture_place(root_as_new, request):
        del root_as_new
        place = place_with(request.param)
        yield place
        place.end()
    return fixture_place


def told(key, *arguments):
    """A message on standard error."""
    return en(key, *arguments) + b"\n"


def without_time(text):
    return re.sub(TIME_STAMP.pattern.encode(), b"{TIME}", text)


def ends(launch, status, stderr=b"", left=False):
    """The status, every byte of standard error, and whether the scratch
    directory stays."""
    assert_same(words_before(launch, status, stderr, left), b"")
    return launch


def words_before(launch, status, stderr=b"", left=False):
    """The same where another program may have its say before the launcher's own
    words; returns what it said."""
    launch.assert_status(status)
    shown = without_time(launch.stderr)
    if not shown.endswith(stderr):
        assert_same(shown, stderr)
    assert bool(launch.scratches) == left, launch.scratches
    return shown.removesuffix(stderr)


def runs(launch, stderr=b""):
    """The installer is started, waited for, and nothing but `stderr` is told."""
    ends(launch, 0, stderr)
    assert launch.record is not None
    return launch


def listed(directory):
    """The names in a directory, also in one that is not there."""
    return os.listdir(directory) if os.path.isdir(directory) else []
