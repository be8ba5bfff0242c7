"""The shortest proof that the launcher as built starts an installer."""

import os
import shutil

from harness import assert_golden, assert_same, no_catalogue_in, read_file


def test_a_launch_from_an_installed_home_starts_the_whole_java_command(home):
    launch = home.launch("-x", "y z", env={"DISPLAY": "operator:0"})
    launch.assert_status(0)
    release = "-Dtalvex.installer.unixVersion=" + os.uname().release
    command = ["-Dtalvex.installer.unixVersion={RELEASE}" if argument == release else argument
               for argument in launch.plain(launch.record.argv)]
    at = command.index("-cp") + 1
    command[at:at + 1] = command[at].replace(":", "\n:").split("\n")
    assert_golden(command, "installed_home.txt", "the java command")


def test_the_installers_exit_status_becomes_the_launchers(home):
    home.launch("-silent", java={"exit": 3}).assert_status(3)


def test_without_a_catalogue_nothing_starts_and_the_status_is_1(home):
    shutil.rmtree(home.resource)
    launch = home.launch("-silent")
    launch.assert_status(1)
    assert_same(launch.stderr, no_catalogue_in(home.resource))
    assert (launch.stdout, launch.record, launch.logs, launch.scratches) == (b"", None, {}, [])


def test_the_sample_installer_runs_in_a_real_java_runtime(home):
    home.use_real_java()
    home.use_shipped_catalogues()
    launch = home.launch("-silent", timeout=60)
    launch.assert_status(0)
    assert b"talvex.admkit.kst.kstc.KstcInstaller" in launch.stdout
    assert read_file(launch.log_path)
