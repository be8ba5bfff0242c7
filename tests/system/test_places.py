"""Where a launch finds its parameter file, puts its scratch directory and its
log, and what environment the installer gets."""

import os
import resource

import pytest

from harness import (INVENTORY, KELVANE, OPERATOR_HOME, POINTER_FILE, assert_same, de, en,
                     set_inventory, write_file)


def tried(*paths):
    return b"".join(en("S_ERTALPARAMNFD_LOC", path) for path in paths)


# ---- the parameter file ---------------------------------------------------

def test_the_file_beside_the_launcher_comes_first(home):
    home.ini(path=f"{KELVANE}/talui/talparam.ini")
    launch = home.launch("-silent")
    assert launch.log.startswith(en("S_USING_PARAMFILE", home.ini_path))


def test_the_file_one_level_above_the_launcher_comes_next(home):
    os.rename(home.ini_path, f"{KELVANE}/talui/talparam.ini")
    launch = home.launch("-silent")
    launch.assert_status(0)
    assert launch.log.startswith(tried(home.ini_path)
                                 + en("S_USING_PARAMFILE", f"{KELVANE}/talui/talparam.ini"))


def test_the_current_directory_and_the_one_above_it_come_last(home):
    os.makedirs(f"{OPERATOR_HOME}/a/b")
    os.rename(home.ini_path, f"{OPERATOR_HOME}/a/b/talparam.ini")
    first = [home.ini_path, f"{home.dir}/../talparam.ini"]
    launch = home.launch("-silent", cwd=f"{OPERATOR_HOME}/a/b")
    assert launch.log.startswith(
        tried(*first) + en("S_USING_PARAMFILE", f"{OPERATOR_HOME}/a/b/talparam.ini"))
    os.rename(f"{OPERATOR_HOME}/a/b/talparam.ini", f"{OPERATOR_HOME}/a/talparam.ini")
    launch = home.launch("-silent", cwd=f"{OPERATOR_HOME}/a/b")
    assert launch.log.startswith(
        tried(*first, f"{OPERATOR_HOME}/a/b/talparam.ini")
        + en("S_USING_PARAMFILE", f"{OPERATOR_HOME}/a/talparam.ini"))


def test_a_file_given_on_the_command_line_is_used_and_named_by_its_absolute_path(home):
    os.rename(home.ini_path, f"{OPERATOR_HOME}/given.ini")
    launch = home.launch("-silent", "-paramFile", "../operator/given.ini", cwd=OPERATOR_HOME)
    launch.assert_status(0)
    assert launch.log.startswith(en("S_USING_PARAMFILE", f"{OPERATOR_HOME}/given.ini"))


def test_a_given_file_that_is_missing_is_told_and_gives_way_to_the_default_one(home, german):
    launch = home.launch("-silent", "-paramFile", "/nowhere/x.ini", env=german)
    launch.assert_status(0)
    assert launch.stdout.startswith(de("S_ERUSR_PARAMFILE_NOT_FOUND", "/nowhere/x.ini")
                                    + de("S_DEF_PARAMFILE", home.ini_path))
    assert launch.log.startswith(en("S_ERUSR_PARAMFILE_NOT_FOUND", "/nowhere/x.ini")
                                 + en("S_DEF_PARAMFILE", home.ini_path) + b"\n")


def test_the_test_for_automatic_updates_is_recorded_before_the_parameter_file(home):
    launch = home.launch("-silent", "-testForAutoUpdates")
    assert launch.log.startswith(en("S_TEST_AUTO_UPDATES")
                                 + en("S_USING_PARAMFILE", home.ini_path))


def test_a_byte_255_ends_the_parameter_file(home):
    home.ini_raw(b"[Talvex]\nJRE_LOCATION=../../jdk/jre\nCOPY_THREADS=4\n\xff\nNLS_ENABLED=no\n")
    record = home.launch("-silent").record
    assert record.properties["copythreads"] == "4"
    assert record.properties["nlsEnabled"] == '"TRUE"'


# ---- the scratch directory ------------------------------------------------

def base_of(launch):
    return os.path.dirname(launch.record.scratch)


@pytest.mark.parametrize("variables, base", [
    ({"TEMP": "/var/tmp/"}, "/var/tmp"),
    ({"TEMP": None, "TMP": "/var/tmp/"}, "/var/tmp"),
    ({"TEMP": "relative/dir", "TMP": "/var/tmp"}, "/tmp"),
    ({"TEMP": "", "TMP": "/var/tmp"}, "/tmp"),
    ({"TEMP": "/a;b", "TMP": "/var/tmp"}, "/tmp"),
    ({"TEMP": None}, "/tmp"),
    ({"TEMP": "/tmp/quo\"te $HOME `x`'"}, "/tmp/quo\"te $HOME `x`'"),
], ids=["TEMP", "TMP", "relative TEMP", "empty TEMP", "invalid TEMP", "neither", "odd TEMP"])
def test_the_base_of_the_scratch_directory(home, variables, base):
    assert base_of(home.launch("-silent", env=variables)) == base


def test_scratchpath_wins_over_temp_and_missing_directories_are_made(home):
    launch = home.launch("-silent", "-scratchPath", f"{OPERATOR_HOME}/a/b/c/d/")
    launch.assert_status(0)
    assert base_of(launch) == f"{OPERATOR_HOME}/a/b/c/d"
    assert os.listdir(f"{OPERATOR_HOME}/a/b/c/d") == []


def test_an_invalid_scratchpath_gives_way_to_temp(home):
    assert base_of(home.launch("-silent", "-scratchPath", "rel", env={"TEMP": "/var/tmp"})) == "/var/tmp"


def test_a_scratch_directory_of_a_parent_launcher_is_used_as_it_is(home):
    os.makedirs("/tmp/parent")
    launch = home.launch("-silent", "-rscratchPath", "/tmp/parent", "-noCleanupOnExit")
    assert launch.record.scratch == "/tmp/parent"
    assert launch.record.passed_through == ["-silent", "-noCleanupOnExit"]


def test_a_full_name_space_is_told_and_ends_the_launch_though_one_more_name_is_tried(home):
    os.makedirs("/tmp/TalInstallsame")
    for suffix in range(1, 1024):
        os.mkdir(f"/tmp/TalInstallsame_{suffix}")
    launch = home.launch("-silent", "-timestamp", "same")
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERPERDIR", "/tmp/TalInstallsame") + b"\n"
                + en("S_REASON", "/tmp/TalInstallsame", "File exists") + b"\n")
    assert os.path.isdir("/tmp/TalInstallsame_1024")
    os.rmdir("/tmp/TalInstallsame_1023")
    launch = home.launch("-silent", "-timestamp", "same")
    assert launch.record.scratch == "/tmp/TalInstallsame_1023"


def test_a_scratch_directory_that_cannot_be_made_is_told_with_the_default_size(home):
    launch = home.launch("-silent", "-timestamp", "no/such/parent")
    launch.assert_status(255)
    assert_same(launch.stderr, en("S_ERBOOTSTRAP", "/tmp/TalInstallno/such/parent", 69) + b"\n"
                + en("S_REASON", "/tmp/TalInstallno", "No such file or directory") + b"\n")


def test_a_dangling_link_with_the_scratch_directorys_name_counts_as_taken(home):
    os.symlink("/nowhere", "/tmp/TalInstallsame")
    assert home.launch("-silent", "-timestamp", "same").record.scratch == "/tmp/TalInstallsame_1"


def test_what_the_installer_wrote_goes_with_the_scratch_directory(home):
    home.use_real_java()
    launch = home.launch("-silent", "DEMO_WRITE=a/b/file:text", timeout=60)
    launch.assert_status(0)
    assert launch.scratches == []
    launch = home.launch("-silent", "DEMO_WRITE=a/b/file:text", "-noCleanupOnExit", timeout=60)
    [scratch] = launch.scratches
    with open(f"{scratch}/a/b/file", encoding="ascii") as written:
        assert written.read().rstrip("\n") == "text"


# ---- the log --------------------------------------------------------------

def test_without_an_inventory_the_log_lies_in_the_scratch_directory_itself(bare_home):
    launch = bare_home.launch("-silent", "-noCleanupOnExit")
    assert launch.log_path == f"{launch.record.scratch}/installActions{launch.time_stamp}.log"


def test_a_pointer_file_without_the_key_means_no_inventory(bare_home):
    write_file(POINTER_FILE, "other=x\n")
    launch = bare_home.launch("-silent", "-noCleanupOnExit")
    assert os.path.dirname(launch.log_path) == launch.record.scratch


def test_a_missing_logs_directory_of_the_inventory_is_made(bare_home):
    os.makedirs(INVENTORY)
    write_file(POINTER_FILE, f"inventory_loc={INVENTORY}\n")
    launch = bare_home.launch("-silent")
    assert os.path.dirname(launch.log_path) == INVENTORY + "/logs"


def test_a_prerequisite_log_location_comes_before_every_inventory(home):
    launch = home.launch("-silent", "-prereqLogLoc", "/tmp/pre", f"INVENTORY_LOCATION={INVENTORY}")
    stamp = launch.record.after("-timestamp")
    assert os.listdir("/tmp/pre/logs") == [f"installActions{stamp}.log"]
    assert os.listdir(INVENTORY + "/logs") == []


def test_a_prerequisite_session_logs_under_the_temporary_base(home):
    launch = home.launch("-silent", "-prereqChecker", "PREREQ_CONFIG_LOCATION=/tmp",
                         env={"TEMP": "/var/tmp"})
    stamp = launch.record.after("-timestamp")
    assert os.listdir("/var/tmp/logs") == [f"installActions{stamp}.log"]


def test_another_pointer_file_can_be_named(home):
    other = set_inventory(f"{OPERATOR_HOME}/other")
    os.rename(POINTER_FILE, f"{OPERATOR_HOME}/my.loc")
    launch = home.launch("-silent", "-invPtrLoc", f"{OPERATOR_HOME}/my.loc")
    launch.assert_status(0)
    assert len(os.listdir(other + "/logs")) == 1


def test_a_misspelt_pointer_file_option_ends_the_launch(home):
    launch = home.launch("-silent", "-invPtrLocX", "/a")
    launch.assert_status(255)
    assert_same(launch.stdout, en("S_INVALID_INVPTRLOC_ARG", "-invPtrLocX"))
    assert launch.record is None and launch.logs == {}


def test_a_log_that_cannot_be_written_is_done_without_and_without_a_word(bare_home):
    os.makedirs(f"{OPERATOR_HOME}/pre/logs", 0o500)
    os.chmod(f"{OPERATOR_HOME}/pre/logs", 0o500)
    launch = bare_home.launch("-silent", "-prereqLogLoc", f"{OPERATOR_HOME}/pre")
    launch.assert_status(0)
    assert launch.stderr == b"" and launch.logs == {}
    assert os.listdir(f"{OPERATOR_HOME}/pre/logs") == []


# ---- the inventory --------------------------------------------------------

def refused(launch, *complaint):
    launch.assert_status(255)
    assert_same(launch.stderr, en(*complaint) + b"\n")
    assert launch.record is None and launch.scratches == []


def test_an_inventory_with_a_forbidden_character_is_refused(home):
    write_file(POINTER_FILE, "inventory_loc=/u01/inv:x\n")
    refused(home.launch("-silent"), "S_ERRINVCHARINPATH", "/u01/inv:x", "inventory_loc",
            POINTER_FILE)


def test_an_inventory_with_a_read_only_file_is_refused_by_the_files_name(home):
    write_file(INVENTORY + "/contents/list.xml", mode=0o400)
    home.launch("-silent").assert_status(0)  # only the directory's own entries count
    write_file(INVENTORY + "/zul.loc", mode=0o400)
    refused(home.launch("-silent"), "S_ERRINVPRM", INVENTORY + "/zul.loc")


def test_an_inventory_with_a_directory_that_cannot_be_searched_is_refused(home):
    os.chmod(INVENTORY + "/logs", 0o600)
    refused(home.launch("-silent"), "S_ERRINVPRM", INVENTORY + "/logs")


def test_a_missing_inventory_is_made_with_all_its_parents(home):
    write_file(POINTER_FILE, f"inventory_loc={OPERATOR_HOME}/x/y/z\n")
    launch = home.launch("-silent")
    launch.assert_status(0)
    assert os.listdir(f"{OPERATOR_HOME}/x/y/z") == ["logs"]
    assert os.stat(f"{OPERATOR_HOME}/x/y/z").st_mode & 0o777 == 0o770


def test_an_inventory_that_cannot_be_made_is_refused(home):
    os.mkdir(f"{OPERATOR_HOME}/closed", 0o500)
    write_file(POINTER_FILE, f"inventory_loc={OPERATOR_HOME}/closed/inv\n")
    refused(home.launch("-silent"), "S_ERRINVPRM", f"{OPERATOR_HOME}/closed/inv")


def test_an_inventory_location_of_the_command_line_is_the_one_checked(home):
    write_file(POINTER_FILE, "inventory_loc=relative\n")
    os.makedirs(f"{OPERATOR_HOME}/mine")
    home.launch("-silent", f"INVENTORY_LOCATION={OPERATOR_HOME}/mine").assert_status(0)
    refused(home.launch("-silent", "INVENTORY_LOCATION=nowhere/at/all"), "S_ERRINVPATH",
            "nowhere/at/all", "inventory_loc", POINTER_FILE)


# ---- the environment ------------------------------------------------------

def test_class_path_and_java_home_of_the_operator_do_not_reach_the_installer(home):
    record = home.launch("-silent", env={"CLASSPATH": "/mine", "JAVA_HOME": "/mine"}).record
    assert record.environ["CLASSPATH"] == "" and record.environ["JAVA_HOME"] == ""


def test_everything_else_reaches_the_installer_as_it_is(home):
    record = home.launch("-silent", env={"ODD": "a=b c\n\u00e9", "EMPTY": ""}).record
    assert record.environ["ODD"] == "a=b c\n\u00e9" and record.environ["EMPTY"] == ""
    assert set(record.environ) == {"PATH", "HOME", "LANG", "DISPLAY", "TEMP", "ODD", "EMPTY",
                                   "CLASSPATH", "JAVA_HOME"}


@pytest.mark.parametrize("lib, bin_, before, after", [
    ("/stage/ext/lib", None, None, "{S}/ext/lib"),
    ("/stage/ext/lib", None, "/old", "{S}/ext/lib:/old"),
    ("/stage/ext/lib", "/stage/ext/bin", "/old", "{S}/ext/bin:{S}/ext/lib:/old"),
    ("/no/such/part", None, "/old", "/old"),
    (None, None, None, None),
])
def test_the_library_path_begins_with_the_extension_directories(home, lib, bin_, before, after):
    home.ini(EXT_LIB=lib, EXT_BIN=bin_)
    record = home.launch("-silent", env={"LD_LIBRARY_PATH": before}).record
    assert record.environ.get("LD_LIBRARY_PATH") == (after and after.replace("{S}", record.scratch))


def test_the_open_files_limit_is_raised_to_its_hard_value(home):
    record = home.launch("-silent", limits={resource.RLIMIT_NOFILE: (64, 512)}).record
    assert record.nofile == (512, 512)


def test_the_java_programs_are_made_executable(home):
    write_file(home.jre + "/bin/sparc/green_threads/java", mode=0o600)
    write_file(home.jre + "/bin/sparc/native_threads/java", mode=0o600)
    os.chmod(home.jre + "/bin/java", 0o600)
    home.launch("-silent").assert_status(0)
    for place in ("java", "sparc/green_threads/java", "sparc/native_threads/java"):
        assert os.stat(f"{home.jre}/bin/{place}").st_mode & 0o777 == 0o755


def test_the_installer_starts_in_the_start_directory_of_a_home(home):
    assert home.launch("-silent", cwd="/tmp").record.cwd == home.dir


def test_a_silent_launch_needs_no_display(home):
    home.launch("-silent", env={"DISPLAY": None}).assert_status(0)
