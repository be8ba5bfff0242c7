"""A place that cannot be written: where room is the matter, the operator reads the
directory, what is free there and what is needed, in megabytes and in inodes, and
-scratchPath; where it is not, the reason in the system's words and no guess."""

import os

import pytest

from harness import Home, bootstrap_failed, en, write_file
from hostile import FAILED, ends, fixture_of, told, words_before
from stage import ZUL, CopyHome, Stage

fixture_home = fixture_of("home", Home)
fixture_stage = fixture_of("stage", Stage)
fixture_copy_home = fixture_of("copy_home", CopyHome)
fixture_place = fixture_of("place", Home, Stage)

NO_SPACE = "No space left on device"


def free(path):
    """What is free: megabytes, inodes."""
    volume = os.statvfs(path)
    return volume.f_bavail * volume.f_frsize >> 20, volume.f_favail


def use_up_files(path, left=0):
    count = os.statvfs(path).f_favail - left
    for number in range(count):
        write_file(f"{path}/file{number}")
    assert os.statvfs(path).f_favail == left


def no_room(directory, free_megabytes, free_files, megabytes, files):
    return told("S_ROOM", directory, NO_SPACE, free_megabytes, free_files, megabytes, files)


# ---- the scratch directory cannot be made -----------------------------------

def test_a_scratch_directory_for_which_no_inode_is_left(place):
    use_up_files("/fewfiles")
    launch = place.launch("-silent", env={"TEMP": "/fewfiles"})
    scratch = "/fewfiles/TalInstall{TIME}"
    ends(launch, FAILED, told("S_ERBOOTSTRAP", scratch, 69)
         + no_room(scratch, free("/fewfiles")[0], 0, 69, 1000))


def test_a_temporary_directory_for_which_no_inode_is_left(place):
    use_up_files("/fewfiles")
    launch = place.launch("-silent", "-scratchPath", "/fewfiles/one/two/three")
    ends(launch, FAILED, told("S_ERPERDIR", "/fewfiles/one/two/three")
         + no_room("/fewfiles/one/two/three", free("/fewfiles")[0], 0, 69, 1000))


@pytest.mark.parametrize("base, obstacle, why", [
    ("/readonly", "/readonly", "Read-only file system"),
    ("/readonly/directory/new", "/readonly/directory/new", "Read-only file system"),
    ("/readonly/one/two/three", "/readonly/one/two/three", "Read-only file system"),
    ("/var/file", "/var/file", "Permission denied"),
    ("/var/file/below", "/var/file", "Not a directory"),
    ("/var/closed/below", "/var/closed", "Permission denied"),
    ("/var/closed", "/var/closed", "Permission denied"),
    ("/proc/1/new", "/proc/1/new", "No such file or directory"),
])
def test_a_temporary_directory_that_cannot_be_used_for_another_reason(place, base, obstacle, why):
    write_file("/var/file")
    os.mkdir("/var/closed", 0)
    launch = place.launch("-silent", "-scratchPath", base)
    os.chmod("/var/closed", 0o700)
    ends(launch, FAILED, told("S_ERPERDIR", base) + told("S_REASON", obstacle, why))


def test_a_file_in_the_place_of_the_temporary_directory_that_anybody_may_use(place):
    write_file("/var/file", "", 0o777)
    launch = place.launch("-silent", "-scratchPath", "/var/file")
    scratch = "/var/file/TalInstall{TIME}"
    ends(launch, FAILED, told("S_ERBOOTSTRAP", scratch, 69)
         + told("S_REASON", "/var/file", "Not a directory"))


# ---- nothing is begun ---------------------------------------------------------

def test_a_stage_that_needs_more_than_there_is(stage):
    stage.ini(BOOTSTRAP_SIZE="3")
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    scratch = "/small/TalInstall{TIME}"
    ends(launch, FAILED, no_room(scratch, *free("/small"), 3, 1000)
         + bootstrap_failed(scratch, "SPACE", "BOOTSTRAP_SIZE"), left=True)


# ---- unpacking ------------------------------------------------------------------

def unpacked_to(stage, base, files):
    stage.ini(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=ZUL, JRE_LOCATION="/var/java")
    stage.component(ZUL, "1.7.0.0.0", files)
    return stage.launch("-silent", env={"TEMP": base})


def assert_no_room_to_unpack(launch, base, *figures):
    scratch = base + "/TalInstall{TIME}"
    words = words_before(launch, FAILED, bootstrap_failed(scratch, "UNPACKING", ZUL), left=True)
    assert words.endswith(no_room(scratch, *figures)), words
    assert launch.record is None


def test_an_archive_with_more_files_than_there_are_inodes(stage):
    """The figures are those before unzip left there what it could."""
    use_up_files("/fewfiles", left=8)
    launch = unpacked_to(stage, "/fewfiles", {f"zul/{number}": b"x" for number in range(20)})
    # The scratch directory has taken one.
    assert_no_room_to_unpack(launch, "/fewfiles", free("/fewfiles")[0], 7, 1, 20)


def test_an_archive_that_is_larger_than_the_room(stage):
    files = {"zul/large": os.urandom(3 << 20), "zul/small": b"x"}
    launch = unpacked_to(stage, "/small", files)
    free_files = os.statvfs("/small").f_files - 2
    assert_no_room_to_unpack(launch, "/small", 2, free_files, 4, 2)


def test_an_archive_that_would_fit_and_is_broken_is_no_matter_of_room(stage):
    stage.component(ZUL, "1.7.0.0.0", {"zul/jar": os.urandom(1 << 20)})
    archive = f"{stage.data_files(ZUL, '1.7.0.0.0')}/{ZUL}.jar"
    with open(archive, "r+b") as jar:
        jar.seek(1000)
        jar.write(bytes(1000))
    stage.ini(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=ZUL)
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    scratch = "/small/TalInstall{TIME}"
    words = words_before(launch, FAILED, bootstrap_failed(scratch, "UNPACKING", ZUL), left=True)
    assert b"bad CRC" in words and b"S_ROOM" not in words and b"S_REASON" not in words


def test_an_archive_that_cannot_be_unpacked_to_a_file_system_that_refuses_writes(stage):
    stage.ini(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=ZUL)
    launch = stage.launch("-silent", "-rscratchPath", "/readonly")
    words = words_before(launch, FAILED, bootstrap_failed("/readonly", "UNPACKING", ZUL))
    assert words.endswith(told("S_REASON", "/readonly", "Read-only file system"))


def test_a_component_that_is_not_fatal_is_told_with_the_room_that_is_missing(stage):
    core = "talvex.swd.zul.core"
    stage.component(core, "1.7.0.0.0", {"zul/core": os.urandom(3 << 20)})
    stage.ini(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=core, JRE_LOCATION="/var/java")
    launch = stage.launch("-silent", env={"TEMP": "/small"})
    data = f"../stage/Components/{core}/1.7.0.0.0/1/DataFiles"
    room = no_room("/small/TalInstall{TIME}", 2, os.statvfs("/small").f_files - 2, 3, 1)
    told_of_java = told("S_ERJRENFD", "/var/java/bin/java", "1.4")
    words = words_before(launch, FAILED, room + told("S_CORE_NOT_UNPACKED", core, data)
                         + told_of_java)
    assert b"write error" in words


# ---- copying ----------------------------------------------------------------------

def test_a_tree_with_more_files_than_there_are_inodes(copy_home):
    use_up_files("/fewfiles", left=9)
    for number in range(20):
        write_file(f"{copy_home.trees}/zul/{number}")
    copy_home.ini(BOOTSTRAP_SIZE="0")
    launch = copy_home.launch("-silent", env={"TEMP": "/fewfiles"})
    scratch = "/fewfiles/TalInstall{TIME}"
    # The tree: itself, one directory in it and 21 files.
    ends(launch, FAILED, no_room(scratch, free("/fewfiles")[0], 0, 1, 23)
         + bootstrap_failed(scratch, "COPYING", "../trees/zul"), left=True)


def test_a_directory_that_cannot_be_made_is_the_reason_for_what_cannot_lie_in_it(copy_home):
    copy_home.ini(BOOTSTRAP_SIZE="0")
    launch = copy_home.launch("-silent", "-rscratchPath", "/readonly")
    ends(launch, FAILED, told("S_REASON", "/readonly/jre", "Read-only file system")
         + bootstrap_failed("/readonly", "COPYING", "../../jdk/jre"))


# ---- as the operator reads it -------------------------------------------------------

def test_the_words_of_a_full_disk(stage):
    stage.use_shipped_catalogues()
    write_file("/small/filling", bytes((1 << 20) + 1))
    free_files = os.statvfs("/small").f_favail - 1  # which the scratch directory takes
    launch = unpacked_to(stage, "/small", {"zul/large": os.urandom(3 << 20)})
    assert launch.stderr.endswith((
        f"There is not enough room in {launch.scratch} (No space left on device). Free: 0 MB, "
        f"{free_files} inodes; needed: 3 MB, 1 inodes. Free the room or specify a temporary "
        "directory on another file system with -scratchPath.\n"
        f"The installer could not be copied to {launch.scratch}. The step that failed: unpacking "
        f"({ZUL}). If no message above gives the reason, check that the installation media are "
        "complete and readable. The install log shows what was done.\n").encode())
    assert en("S_ROOM") not in launch.stderr
