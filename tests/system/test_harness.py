"""The ground the other system tests stand on holds."""

import os
import resource
import signal
import socket
import subprocess

import pytest

import harness
from harness import signal_mask, write_file, write_script


@pytest.fixture(name="stand_in")
def fixture_stand_in(home):
    """A home whose launcher is a script given by the test."""
    def make(script):
        write_script(home.launcher, script)
        return home
    return make


START_JAVA = 'exec ../../jdk/jre/bin/java "$@"\n'


def test_the_user_of_the_root_is_an_ordinary_one():
    assert os.getuid() == 12345
    assert os.getresuid() == (12345,) * 3
    assert os.getresgid() == (12345,) * 3
    status = harness.read_file("/proc/self/status").decode()
    assert "CapEff:\t0000000000000000" in status


def test_the_environment_of_the_root_holds_only_what_was_asked_for():
    allowed = {"PATH", "HOME", "LANG", "LAUNCHER", "CATALOGUES", "RECORDER", "LISTENER",
               "CATALOGUE_COMPILER", "DEMO_JAR", "TEST_JAVA_HOME", "TEST_LOCALES", "FAULT_INJECTION",
               "STAGE_UNZIP", "CHECK_STAGE",
               "PYTHONDONTWRITEBYTECODE", "PYTEST_CURRENT_TEST", "LC_CTYPE"}
    assert set(os.environ) <= allowed


@pytest.mark.parametrize("path", [
    "/etc/mnttab", "/usr/bin/pkginfo", "/usr/sbin/swap", "/usr/openwin/bin/xdpyinfo",
    "/var/opt/talvex/talInst.loc", "/cdrom/disk1/setupLauncher", "/tmp/x", "/var/tmp/x", "/home/x",
    "/u01/inventory/x", "/dev/shm/x"])
def test_a_file_can_be_made_at(path):
    write_file(path, "x")
    assert harness.read_file(path) == b"x"


def test_a_command_of_the_machine_can_be_replaced_and_comes_back(clean_root):
    write_script("/usr/bin/uname", "echo replaced\n")
    assert subprocess.check_output(["uname"]) == b"replaced\n"
    clean_root.restore()
    assert subprocess.check_output(["uname"]) == b"Linux\n"


def test_what_a_test_made_is_gone_in_the_next(clean_root):
    made = ["/etc/mnttab", "/usr/bin/pkginfo", "/usr/openwin/bin/x", "/var/opt/talvex/talInst.loc",
            "/tmp/TalInstall/a/b", "/home/operator/f", "/small/f", "/fewfiles/f", "/noexec/f",
            "/u01/f"]
    for path in made:
        write_file(path)
    os.chmod("/tmp/TalInstall/a", 0)
    os.symlink("/etc", "/tmp/link")
    clean_root.restore()
    assert [path for path in made + ["/tmp/link"] if os.path.lexists(path)] == []
    assert os.path.exists("/etc/passwd")


@pytest.mark.parametrize("path", ["/.machine", "/.machine/tmp", "/.machine/var/tmp", "/usr/lib",
                                  os.path.dirname(os.path.abspath(__file__))])
def test_nothing_of_the_machine_can_be_written(path):
    with pytest.raises(OSError):
        write_file(path + "/written-by-a-test")


def test_the_small_file_system_runs_full():
    with pytest.raises(OSError, match="No space left"):
        write_file("/small/file", bytes(3 << 20))


def test_the_file_system_of_few_files_runs_out_of_them():
    with pytest.raises(OSError, match="No space left"):
        for number in range(24):
            write_file(f"/fewfiles/{number}")


def test_no_program_starts_from_the_file_system_without_programs():
    program = write_script("/noexec/program", "exit 0\n")
    with pytest.raises(PermissionError):
        subprocess.run([program], check=False)


def test_the_read_only_file_system_refuses_writes():
    with pytest.raises(OSError, match="Read-only"):
        write_file("/readonly/directory/file")
    assert harness.read_file("/readonly/file") == b"read only\n"


def test_the_record_holds_arguments_byte_for_byte(stand_in):
    arguments = ["", " ", "a b", '"', "\\", "\n", "\t", "*", "%s%n", "=", "-cp",
                 bytes(range(1, 256)), "\u00e4\u20ac"]
    done = stand_in(START_JAVA).launch(*arguments)
    assert [os.fsencode(argument) for argument in done.record.argv[1:]] == [
        os.fsencode(argument) for argument in arguments]


def test_the_record_holds_the_environment_in_its_order_and_without_the_orders(stand_in):
    done = stand_in('exec env -i B=2 A= "C=x=y" RECORDER_EXIT=4 ../../jdk/jre/bin/java\n').launch()
    assert done.status == 4
    assert done.record.environ_list == ["B=2", "A=", "C=x=y"]
    assert done.record.environ == {"B": "2", "A": "", "C": "x=y"}


def test_the_record_holds_directory_mask_limit_and_descriptors(stand_in):
    place = stand_in('umask 027; cd /tmp; exec 7</etc/passwd; exec "$OLDPWD/../../jdk/jre/bin/java"\n')
    record = place.launch(limits={resource.RLIMIT_NOFILE: (100, 200)}).record
    assert (record.cwd, record.umask, record.nofile, record.fds) == ("/tmp", 0o027, (100, 200), [7])


def test_the_record_holds_which_signals_are_ignored_and_which_are_held(stand_in):
    record = stand_in("trap '' HUP QUIT\n" + START_JAVA).launch().record
    assert record.signals_ignored == signal_mask(signal.SIGHUP, signal.SIGQUIT)
    assert record.signals_blocked == 0
    held = stand_in("exec python3 -c 'import os, signal; signal.pthread_sigmask(signal.SIG_BLOCK,"
                    " [signal.SIGTERM]); os.execv(\"../../jdk/jre/bin/java\", [\"java\"])'\n")
    assert held.launch().record.signals_blocked == signal_mask(signal.SIGTERM)


def test_a_launch_inherits_no_descriptor_of_the_tests(stand_in):
    with socket.socket() as other:
        os.set_inheritable(other.fileno(), True)
        assert stand_in(START_JAVA).launch().record.fds == []


def test_the_record_holds_the_scratch_tree(stand_in):
    place = stand_in("mkdir -m 750 /tmp/s; mkdir -m 700 /tmp/s/d; printf 'a\\000\\377' > /tmp/s/d/f\n"
                     "chmod 640 /tmp/s/d/f; ln -s d/f /tmp/s/l\n" + START_JAVA)
    record = place.launch("-scratchPath", "/tmp/s").record
    harness.assert_same(record.tree, {
        ".": ("dir", 0o750), "d": ("dir", 0o700), "d/f": ("file", 0o640, b"a\0\xff"),
        "l": ("link", "d/f")})
    assert record.tree == harness.tree("/tmp/s")


def test_a_large_file_is_recorded_by_size_and_sum(stand_in):
    content = bytes(range(256)) * 8192
    write_file("/tmp/s/f", content, 0o644)
    record = stand_in(START_JAVA).launch("-scratchPath", "/tmp/s").record
    assert record.tree["f"] == ("file", 0o644, harness.file_crc(content))


def test_the_recorder_prints_and_exits_as_ordered(stand_in):
    done = stand_in(START_JAVA).launch(java={"stdout": "out\n", "stderr": "err\n", "exit": 3})
    assert (done.status, done.stdout, done.stderr) == (3, b"out\n", b"err\n")


def test_the_recorder_ends_by_the_ordered_signal(stand_in):
    assert stand_in(START_JAVA).launch(java={"signal": 15}).status == -signal.SIGTERM


def test_the_recorder_stores_standard_input(stand_in):
    assert stand_in("read line\n" + START_JAVA).launch(
        stdin=b"one\ntwo\n\0three", java={"stdin": 1}).record.stdin == b"two\n\0three"


def test_every_start_of_java_has_its_own_record(stand_in):
    done = stand_in("../../jdk/jre/bin/java first; ../../jdk/jre/bin/java second\n").launch()
    assert [record.argv[1] for record in done.records] == ["first", "second"]
    with pytest.raises(AssertionError, match="more than once"):
        done.record  # pylint: disable=pointless-statement


def test_a_launch_without_java_has_no_record(stand_in):
    done = stand_in("echo no; exit 7\n").launch()
    assert (done.status, done.stdout, done.record) == (7, b"no\n", None)


def test_a_record_of_an_earlier_launch_is_not_taken_for_a_new_one(stand_in):
    assert stand_in(START_JAVA).launch().record
    assert stand_in("exit 0\n").launch().record is None


def test_running_out_of_time_ends_every_process_and_fails(stand_in):
    place = stand_in("sleep 1000 & echo $! > /tmp/pid; wait\n")
    with pytest.raises(harness.TimedOut):
        place.launch(timeout=0.5)
    assert not os.path.exists("/proc/" + harness.read_file("/tmp/pid").decode().strip())


def test_a_launch_can_end_before_the_java_it_started(stand_in):
    place = stand_in('../../jdk/jre/bin/java "$@" & exit 0\n')
    done = place.launch("x", java={"wait_for": "/tmp/go"}, wait_for_java=False)
    assert done.status == 0
    assert done.record.argv[1:] == ["x"]
    assert done.running
    place.end()
    assert not done.running


def test_a_sanitizer_report_fails_the_launch(stand_in):
    place = stand_in("echo 'x.cpp:1:1: runtime error: shift' >&2; exit 0\n")
    with pytest.raises(AssertionError, match="runtime error"):
        place.launch()
    place = stand_in("echo report > $HOME/.sanitizer/asan.1; exit 0\n")
    with pytest.raises(AssertionError, match="report"):
        place.launch()


def test_descriptors_can_be_closed_at_the_start(stand_in):
    done = stand_in('[ -e /proc/$$/fd/0 ] || echo 0; [ -e /proc/$$/fd/2 ] || echo 2\n').launch(
        stdin=None, closed=(2,))
    assert done.stdout == b"0\n2\n"


def test_endless_output_can_be_read_in_part(stand_in):
    done = stand_in("while :; do echo x; done\n").launch(read_at_most=1000)
    assert done.stdout == b"x\n" * 500
    assert not done.running


def test_a_launch_on_a_terminal_can_be_answered(stand_in):
    place = stand_in('[ -t 0 ] && [ -t 1 ] && printf "name? " && read a && echo "got $a"; exit 5\n')
    screen = place.terminal()
    screen.expect("name? ")
    screen.type("abc\n")
    done = screen.finish()
    assert (done.status, done.stdout) == (5, b"name? abc\ngot abc\n")


def test_logs_and_scratch_directories_of_a_launch_are_found(stand_in):
    write_file(harness.INVENTORY + "/logs/installActionsX.log", "before\n")
    os.mkdir("/tmp/TalInstallold")
    done = stand_in("mkdir /tmp/TalInstall2026-03-01_04-05-06PM\n"
                    "echo after >> /home/operator/inventory/logs/installActionsX.log\n").launch()
    assert done.log == b"after\n"
    assert done.scratches == ["/tmp/TalInstall2026-03-01_04-05-06PM"]
    assert done.time_stamp == "2026-03-01_04-05-06PM"
    assert done.plain(["/tmp/TalInstall2026-03-01_04-05-06PM/zul"]) == ["{SCRATCH}/zul"]


def test_marked_catalogues_name_the_keys_and_keep_the_directives(home):
    shipped = harness.read_catalogue(harness.tool("CATALOGUES") + "/cons.nls")
    english = harness.read_catalogue(home.resource + "/cons.nls")
    german = harness.read_catalogue(home.resource + "/cons_de.nls")
    assert english.keys() == german.keys() == shipped.keys()
    assert english["S_INVALID_INVPTRLOC_ARG"] == "[en S_INVALID_INVPTRLOC_ARG|%s]\n"
    assert german["S_INVALID_INVPTRLOC_ARG"] == "[de S_INVALID_INVPTRLOC_ARG|%s]\n"
    assert harness.en("S_INVALID_INVPTRLOC_ARG", "-x") == b"[en S_INVALID_INVPTRLOC_ARG|-x]\n"


def test_directives_are_recognised_in_every_form():
    texts = harness.marked("en", {"K": "a %s %% %5.2f %-3d %2$s %lu x%c% %"})
    assert texts == {"K": "[en K|%s|%5.2f|%-3d|%2$s|%lu|%c]\n"}


def test_a_compiled_locale_is_in_force(german):
    shown = subprocess.check_output(["locale", "-k", "LC_MESSAGES", "charmap"],
                                    env={**os.environ, **german}, text=True)
    assert 'charmap="UTF-8"' in shown
    assert "jJyY" in shown


def test_a_difference_is_shown_line_by_line():
    with pytest.raises(AssertionError) as failure:
        harness.assert_same(["java", "-cp", "a"], ["java", "-cp", "b"], "the command")
    assert str(failure.value).splitlines()[0] == "the command differs:"
    assert str(failure.value).splitlines()[-2:] == ["-b", "+a"]


def test_a_parameter_file_has_its_keys_in_order(home):
    path = home.ini(("Certified Versions", {"Solaris": "5.10"}), ("Raw", "x\ny\n"), MULTICD=None,
                    DISTRIBUTION="T", COPY_THREADS=3)
    assert harness.read_file(path) == (
        b"[Talvex]\nDISTRIBUTION=T\nBOOTSTRAP=FALSE\nJRE_LOCATION=../../jdk/jre\nCOPY_THREADS=3\n"
        b"[Certified Versions]\nSolaris=5.10\n[Raw]\nx\ny\n")
