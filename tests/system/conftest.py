"""Fixtures of the system tests. Every test begins in a root as new."""

import os

import pytest

import harness

BASETEMP = "/var/pytest"

# These need a root of their own, in which the user is another one.
if os.getuid() != 0:
    collect_ignore_glob = ["test_super_user*.py"]


def pytest_configure(config):
    if not os.path.isdir("/.machine"):
        pytest.exit("The system tests change files such as /etc/mnttab; "
                    "start them with tests/system/run.", 2)
    if config.option.basetemp is None:
        config.option.basetemp = BASETEMP


@pytest.fixture(scope="session", name="clean_root")
def fixture_clean_root():
    return harness.CleanRoot(kept=(BASETEMP,))


@pytest.fixture(autouse=True)
def root_as_new(clean_root):
    """Restores the commands, /etc, /tmp, /var/opt, the user's home and the rest."""
    clean_root.restore()
    os.chdir(harness.OPERATOR_HOME)
    os.umask(0o022)


@pytest.fixture
def home(root_as_new):
    """An installed home at /home/operator/kelvane, with an inventory whose logs
    directory takes the install log."""
    harness.set_inventory()
    made = harness.Home()
    yield made
    made.end()


@pytest.fixture
def bare_home(root_as_new):
    """The same without an inventory: the log lies in the scratch directory."""
    made = harness.Home()
    yield made
    made.end()


@pytest.fixture
def german():
    """Variables of a launch in German and UTF-8."""
    return harness.compile_locale("de_DE.UTF-8")
