"""The launch from an installed home, stage by stage: what ends it, with which
status, and what is shown and recorded in which order."""

import errno
import os
import signal
import time

import pytest

from harness import (INVENTORY, KELVANE, MOUNT_TABLE, OPERATOR_HOME, POINTER_FILE, TIME_STAMP,
                     assert_same, de, en, no_catalogue_in, read_file, signal_mask, tree, write_file,
                     write_script)

VERSION_LINE = b"INFO: " + en("S_ZUL") + b" Version 1.7.0.0.0 \n"


def started(name="Kelvane Installer"):
    return en("S_STARTINSTALLERMSG", name) + b"\n"


def listing(record):
    return en("S_EXECVP_ARGS", record.argv[0]) + b"".join(
        os.fsencode(argument) + b"\n" for argument in record.argv)


def java_that_is_no_program(home):
    os.unlink(home.jre + "/bin/java")
    os.mkdir(home.jre + "/bin/java")


def log_of(launch, home, *middle):
    """The whole install log of a launch that started java."""
    return b"".join([en("S_USING_PARAMFILE", home.ini_path), b"\n", *middle, VERSION_LINE,
                     listing(launch.record)])


# ---- the plain launch -----------------------------------------------------

def test_a_plain_launch_shows_the_start_runs_java_and_removes_its_scratch_directory(home):
    launch = home.launch()
    launch.assert_status(0)
    assert_same(launch.stdout, started())
    assert launch.stderr == b""
    assert launch.record.argv[0] == "../../jdk/jre/bin/java"
    assert launch.scratches == []


def test_the_log_names_the_parameter_file_the_version_and_the_whole_command(home):
    launch = home.launch("-silent")
    assert_same(launch.log, log_of(launch, home))
    assert launch.log_path == f"{INVENTORY}/logs/installActions{launch.time_stamp}.log"


def test_the_installers_exit_code_becomes_the_launchers(home):
    for code in (0, 1, 3, 127, 255):
        home.launch("-silent", java={"exit": code}).assert_status(code)


def test_an_installer_ended_by_a_signal_gives_status_0_and_a_message_with_the_signal(home):
    launch = home.launch("-silent", java={"signal": 9})
    launch.assert_status(0)
    assert_same(launch.stderr, en("S_CHILD_SIGNALLED", "SIGKILL", 9) + b"\n")


def test_the_time_stamp_is_the_launch_time_on_a_twelve_hour_clock(home):
    before = time.time()
    launch = home.launch("-silent")
    stamps = {time.strftime("%Y-%m-%d_%I-%M-%S%p", time.gmtime(at))
              for at in range(int(before), int(time.time()) + 1)}
    assert launch.record.after("-timestamp") in stamps
    assert TIME_STAMP.fullmatch(launch.record.after("-timestamp"))


def test_rtimestamp_wins_over_timestamp_and_names_scratch_directory_and_log(home):
    launch = home.launch("-silent", "-rtimestamp", "outer", "-timestamp", "inner")
    assert launch.record.after("-timestamp") == "outer"
    assert launch.record.scratch == "/tmp/TalInstallouter"
    assert launch.log_path == f"{INVENTORY}/logs/installActionsouter.log"


def test_timestamp_alone_replaces_the_launch_time(home):
    assert home.launch("-silent", "-timestamp", "given").record.scratch == "/tmp/TalInstallgiven"


def test_only_the_first_big_cluster_is_replaced(home):
    record = home.launch("-silent", "-bigCluster", "-bigCluster").record
    assert record.passed_through == ["-silent", "-setCustomNodelist", "-bigCluster"]


def test_a_message_key_that_the_catalogue_lacks_shows_and_records_nothing(home):
    home.set_texts(S_STARTINSTALLERMSG=None, S_USING_PARAMFILE=None, S_ZUL=None, S_EXECVP_ARGS=None)
    launch = home.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.stdout, b"\n")
    argv = b"".join(os.fsencode(argument) + b"\n" for argument in launch.record.argv)
    assert_same(launch.log, b"\n" + b"INFO:  Version 1.7.0.0.0 \n" + argv)


def test_directives_of_a_text_without_their_argument_print_nothing(home):
    home.set_texts(S_STARTINSTALLERMSG="%2$s|%s|%n%s%d%x\n")
    launch = home.launch("-silent")
    launch.assert_status(0)
    assert_same(launch.stdout, b"|Kelvane Installer|\n\n")


# ---- the reasons to end ---------------------------------------------------

def test_a_launcher_without_catalogue_ends_with_1_before_anything_else(home):
    os.rename(home.resource, home.resource + ".away")
    launch = home.launch("-silent")
    launch.assert_status(1)
    assert launch.stdout == b""
    assert_same(launch.stderr, no_catalogue_in(home.resource))
    assert launch.record is None and launch.scratches == [] and launch.logs == {}


def test_an_inventory_that_cannot_be_used_ends_the_launch_before_a_scratch_directory(home):
    write_file(POINTER_FILE, "inventory_loc=relative/inv\n")
    launch = home.launch("-silent")
    launch.assert_status(255)
    assert_same(launch.stderr,
                en("S_ERRINVPATH", "relative/inv", "inventory_loc", POINTER_FILE) + b"\n")
    assert launch.record is None and launch.scratches == []


def test_a_prerequisite_session_does_not_ask_for_the_inventory(home):
    write_file(POINTER_FILE, "inventory_loc=relative/inv\n")
    launch = home.launch("-silent", "-prereqChecker", "PREREQ_CONFIG_LOCATION=/tmp")
    launch.assert_status(0)
    assert launch.record.umask == 0o077


def test_a_launch_leaves_the_mask_at_007_for_the_installer(home):
    assert home.launch("-silent", umask=0o022).record.umask == 0o007


def test_no_parameter_file_ends_with_254_after_the_start_message(home):
    os.unlink(home.ini_path)
    launch = home.launch("-silent")
    launch.assert_status(254)
    tried = [f"{home.dir}/talparam.ini", f"{home.dir}/../talparam.ini"] * 2
    assert_same(launch.stdout, started())
    assert_same(launch.stderr, en("S_ERTALPARAMNFD", tried[3]) + b"\n")
    assert_same(launch.log, b"".join(en("S_ERTALPARAMNFD_LOC", path) for path in tried)
                + en("S_ERTALPARAMNFD", tried[3]) + b"\n")
    assert launch.record is None and len(launch.scratches) == 1


def test_a_scratch_base_that_cannot_be_made_ends_with_255(home):
    write_file("/tmp/file")
    launch = home.launch("-silent", env={"TEMP": "/tmp/file/below"})
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERPERDIR", "/tmp/file/below") + b"\n"
                + en("S_REASON", "/tmp/file", "Not a directory") + b"\n")
    assert launch.record is None


def test_a_command_for_a_home_is_refused_from_a_distribution_with_the_last_argument(home):
    home.ini(DISTRIBUTION="TRUE")
    for last, shown in (("-detachHome", "-DETACHHOME"), ("other", "OTHER"),
                        ("-scratchPath=/tmp", "-SCRATCHPATH=/TMP")):
        launch = home.launch("-detachHome", last)
        launch.assert_status(255)
        assert_same(launch.stderr, en("S_ERRORINVOKINGFROMCD", shown) + b"\n")
    launch = home.launch("-removeHome", "-prereqLogLoc", "/tmp")
    assert_same(launch.stderr, en("S_ERRORINVOKINGFROMCD", "-PREREQLOGLOC") + b"\n")
    assert launch.record is None


def test_a_prerequisite_session_needs_its_location(home):
    launch = home.launch("-silent", "-prereqChecker")
    launch.assert_status(255)
    assert_same(launch.stdout, en("S_ERR_PREREQ_CONFIG_LOC"))
    launch = home.launch("-silent", "-prereqChecker", "PREREQ_CONFIG_LOCATION=/tmp/nowhere")
    launch.assert_status(255)
    assert_same(launch.stdout, en("S_ERR_INVALID_PREREQ_CONFIG_LOC", "/tmp/nowhere"))
    assert launch.stderr == b"" and launch.record is None


def test_a_prerequisite_session_calls_itself_prerequisite_checker(home):
    launch = home.launch("-silent", "-prereqChecker", "PREREQ_CONFIG_LOCATION=/tmp")
    assert_same(launch.stdout, started("Prerequisite Checker"))


CD = "/dev/dsk/c1t0d0s0 /cdrom/cdrom0 hsfs ro,dev=1 1383668431\n"


def test_a_current_directory_on_a_mounted_cd_ends_with_253_when_discs_are_changed(home):
    os.makedirs("/cdrom/x")
    home.ini(MULTICD="TRUE")
    write_file(MOUNT_TABLE, "swap /tmp tmpfs xattr 1\n" + CD)
    launch = home.launch("-silent", cwd="/cdrom/x")
    launch.assert_status(253)
    assert_same(launch.stdout, started() + en("S_ERRORUNIXCDMOUNT") + b"\n")
    assert launch.record is None


@pytest.mark.parametrize("table, multicd, cwd, option", [
    (CD, "FALSE", "/cdrom/x", None),
    (CD.replace("ro,", "ro,ignore,"), "TRUE", "/cdrom/x", None),
    (CD.replace("hsfs", "ufs"), "TRUE", "/cdrom/x", None),
    (CD, "TRUE", OPERATOR_HOME, None),
    (CD, "TRUE", "/cdrom/x", "-help"),
    (None, "TRUE", "/cdrom/x", None),
    ("too few fields\n" + "x" * 2000 + "\n", "TRUE", "/cdrom/x", None),
], ids=["one disc", "ignored mount", "no cd", "elsewhere", "help", "no table", "malformed table"])
def test_a_launch_is_not_taken_for_one_from_a_cd(home, table, multicd, cwd, option):
    os.makedirs("/cdrom/x")
    home.ini(MULTICD=multicd)
    if table is not None:
        write_file(MOUNT_TABLE, table)
    home.launch("-silent", *([option] if option else []), cwd=cwd).assert_status(0)


def test_a_cd_of_type_cdfs_counts_between_other_lines(home):
    os.makedirs("/cdrom/x")
    home.ini(MULTICD="TRUE")
    write_file(MOUNT_TABLE, "a b c\n\n# comment\n1 2 3 4 5 6\n" + CD.replace("hsfs", "cdfs")
               + "swap /cdrom/y tmpfs xattr 1\n")
    home.launch("-silent", cwd="/cdrom/x").assert_status(253)


def test_help_is_silent_and_runs_no_prerequisites(home):
    home.ini(("Generic Prereqs", {"PROCESSOR": "no such machine"}))
    launch = home.launch("-help", env={"DISPLAY": None})
    launch.assert_status(0)
    assert launch.stdout == b""
    assert launch.record.passed_through == ["-help"]


def test_a_launch_without_display_ends_with_255_and_the_fifteen_messages(home):
    keys = ["S_ERPERDSP"] + [f"S_ERPERDSP_{number}" for number in range(1, 14)]
    for display in (None, ""):
        launch = home.launch(env={"DISPLAY": display})
        launch.assert_status(255)
        assert_same(launch.stdout, started() + b"".join(en(key) for key in keys)
                    + en("S_ERPERDSPXCLOCKLOC", "/usr/openwin/bin/xclock"))
        assert launch.record is None and len(launch.scratches) == 1
    home.launch("-silent", env={"DISPLAY": None}).assert_status(0)


def test_a_missing_java_program_ends_with_255_and_still_removes_the_scratch_directory(home):
    home.ini(JRE_LOCATION="/nowhere/jre")
    launch = home.launch("-silent")
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERJRENFD", "/nowhere/jre/bin/java", "1.4") + b"\n")
    assert launch.record is None and launch.scratches == []


def test_a_java_home_of_the_wrong_kind_ends_with_255_and_removes_the_scratch_directory(home):
    home.ini(USEJREONLY="TRUE")
    launch = home.launch("-silent", "-jreLoc", home.jre)
    launch.assert_status(255)
    assert_same(launch.stdout, started() + b"\n\n" + en("S_INVALID_JRE_HOME"))
    assert launch.log.endswith(VERSION_LINE + en("S_INVALID_JRE_HOME"))
    assert launch.record is None and launch.scratches == []
    write_file(home.jre + "/lib/core.jar")
    home.launch("-silent", "-jreLoc", home.jre).assert_status(0)


def test_a_program_that_cannot_be_executed_is_reported_and_ends_with_255(home):
    java_that_is_no_program(home)
    launch = home.launch("-silent")
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERGOSLST", "CreateZULProcess()", errno.EACCES) + b"\n"
                + en("S_START_DIRECTORY", home.jre + "/bin/java", "Permission denied") + b" "
                + en("S_REMEDY_JRELOC") + b"\n")
    assert launch.scratches == []


def test_a_command_too_long_for_the_system_is_reported_like_any_program_that_does_not_start(home):
    home.ini(JRE_MEMORY_OPTIONS="-X" + "y" * 150_000)  # one element holds 128 KB at the most
    launch = home.launch("-silent")
    launch.assert_status(255)
    told = en("S_ERGOSLST", "CreateZULProcess()", errno.E2BIG) + b"\n"
    assert launch.stderr.startswith(told + b"[en S_START_TOO_LONG|" + home.jre.encode()
                                    + b"/bin/java|Argument list too long|")
    bytes_of_all, longest, allowed = map(int, launch.stderr.rstrip(b"]\n").split(b"|")[-3:])
    assert longest == 150_003 and longest < bytes_of_all < allowed
    assert launch.scratches == []


# ---- waiting --------------------------------------------------------------

def test_no_cleanup_on_exit_keeps_the_scratch_directory(home):
    launch = home.launch("-silent", "-noCleanupOnExit")
    assert launch.scratches == [launch.record.scratch]


def test_the_installer_starts_with_no_signal_held_or_ignored(home):
    record = home.launch("-silent").record
    assert (record.signals_blocked, record.signals_ignored) == (0, 0)


def test_what_the_caller_ignores_is_ignored_in_the_installer_too(home):
    write_script("/tmp/ignoring", f"trap '' HUP QUIT\nexec {home.launcher} \"$@\"\n")
    record = home.launch("-silent", program="/tmp/ignoring").record
    assert record.signals_ignored == signal_mask(signal.SIGHUP, signal.SIGQUIT)
    assert record.signals_blocked == 0


def test_a_home_launch_waits_for_the_installer_whatever_nowait_says(home):
    home.launch("-silent", "-nowait", java={"exit": 5, "sleep": 0.2}).assert_status(5)


# ---- debug ----------------------------------------------------------------

def test_debug_lists_the_command_on_the_console_and_the_fork_in_the_log(home):
    launch = home.launch("-silent", "-debug", env={"LD_LIBRARY_PATH": "/some/lib"})
    record = launch.record
    dashes = b"-" * 55 + b"\n"
    elements = b"".join(f"Arg:{number}:{argument}:\n".encode()
                        for number, argument in enumerate(record.argv))
    assert_same(launch.stdout,
                started() + en("S_LDLIBPATH_VAR") + b"/some/lib" + b"\n"
                + dashes + en("S_TOTAL_ARGS", len(record.argv)) + en("S_CMDLINE_ARG_ELTS")
                + elements + dashes + en("S_JVMLOADMSG", record.argv[0]))
    log = launch.log
    for fork_result in (record.pid, 0):
        line = en("S_FORK_RET", fork_result)
        assert log.count(line) == 1
        log = log.replace(line, b"")
    assert_same(log, log_of(launch, home))


def test_debug_logs_the_result_of_a_failed_start(home):
    java_that_is_no_program(home)
    launch = home.launch("-silent", "-debug")
    launch.assert_status(255)
    assert launch.log.count(en("S_EXECVP_RET", -1) + b"\n") == 1


# ---- languages ------------------------------------------------------------

def test_what_is_shown_is_localised_and_what_is_recorded_is_english(home, german):
    launch = home.launch("-silent", env=german)
    launch.assert_status(0)
    assert_same(launch.stdout, de("S_STARTINSTALLERMSG", "Kelvane Installer") + b"\n")
    assert_same(launch.log, log_of(launch, home))


def test_errors_are_shown_in_the_operators_language(home, german):
    os.unlink(home.ini_path)
    launch = home.launch("-silent", env=german)
    assert_same(launch.stderr, de("S_ERTALPARAMNFD", f"{home.dir}/../talparam.ini") + b"\n")
    assert en("S_ERTALPARAMNFD", f"{home.dir}/../talparam.ini") in launch.log


# ---- order and surroundings -----------------------------------------------

def test_output_in_one_file_stands_in_the_order_in_which_it_happened(home):
    launch = home.launch("-silent", merged=True, java={"stdout": "from java\n"})
    assert_same(launch.stdout, started() + b"from java\n")
    home.ini(JRE_LOCATION="/nowhere")
    launch = home.launch("-silent", merged=True)
    assert_same(launch.stdout, started() + en("S_ERJRENFD", "/nowhere/bin/java", "1.4") + b"\n")


def test_no_descriptor_leaks_into_the_installer(home):
    assert home.launch("-silent", "-debug").record.fds == []


def test_closed_standard_streams_do_not_take_in_the_log(home):
    launch = home.launch("-silent", closed=(0, 1, 2))
    launch.assert_status(0)
    assert_same(launch.log, log_of(launch, home))


def test_the_scratch_directory_is_fresh_and_private_to_owner_and_group(home):
    launch = home.launch("-silent", "-noCleanupOnExit")
    assert launch.record.tree["."] == ("dir", 0o750)


def test_two_launches_with_one_time_stamp_have_two_scratch_directories(home):
    os.makedirs("/tmp/TalInstallsame")
    os.makedirs("/tmp/TalInstallsame_1")
    assert home.launch("-silent", "-timestamp", "same").record.scratch == "/tmp/TalInstallsame_2"


def test_an_empty_environment_is_enough_for_a_silent_launch(home):
    everything = {name: None for name in ("PATH", "HOME", "LANG", "DISPLAY", "TEMP")}
    home.launch("-silent", env=everything).assert_status(0)


def test_a_launcher_started_through_the_search_path_looks_below_the_current_directory(home):
    launch = home.launch("-silent", argv0="setupLauncher", cwd=OPERATOR_HOME)
    launch.assert_status(1)
    launch = home.launch("-silent", argv0="setupLauncher", cwd=home.dir)
    launch.assert_status(0)
    assert launch.record.properties["startup_location"] == home.dir


def test_a_deleted_current_directory_is_reported_and_does_not_stop_a_launch(home):
    os.makedirs("/tmp/gone")
    script = write_file("/tmp/start", "#!/bin/sh\ncd /tmp/gone; rmdir /tmp/gone; exec \"$@\"\n", 0o755)
    launch = home.launch(home.launcher, "-silent", program=script, argv0=script, cwd="/tmp")
    launch.assert_status(0)
    assert launch.stdout.count(en("S_ERGOSLST", "GetCurrentDir()", 2)) == 3
    assert launch.record.cwd == home.dir


def test_a_launch_touches_nothing_but_scratch_directory_and_log(home):
    before, temporary = tree(KELVANE), os.listdir("/tmp")
    home.launch("-silent")
    assert_same(tree(KELVANE), before)
    assert os.listdir("/tmp") == temporary
    assert read_file(POINTER_FILE) == f"inventory_loc={INVENTORY}\n".encode()
