"""The launcher refuses the super-user. Runs with user id 0."""

import os

import pytest

from harness import assert_same, en


@pytest.mark.parametrize("arguments", [
    (), ("-silent",), ("-help",), ("-invPtrLocX", "y"), ("-bootstrapOnly", "BOOTSTRAP_LOC=/tmp/b"),
    ("-detachHome",), ("-prereqChecker",), ("-executeSysPrereqs",)])
def test_the_super_user_is_refused_before_anything_else_happens(home, arguments):
    assert os.getuid() == 0
    home.ini(DISTRIBUTION="TRUE")
    launch = home.launch(*arguments)
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERPERROT") + b"\n")
    assert (launch.stdout, launch.record, launch.logs, launch.scratches) == (b"", None, {}, [])


def test_without_a_catalogue_even_the_super_user_gets_status_1(home):
    os.rename(home.resource, home.resource + ".away")
    home.launch().assert_status(1)
