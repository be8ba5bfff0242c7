"""check-stage: homes with one fault each, stages with what needs more laying out, and many faults at
once."""

import os
import shutil
import struct

import pytest

from checked import (CleanHome, CleanStage, assert_found, check, fixture_of, installer_files,
                     jar_bytes, patch_tool_files, program)
from harness import OPERATOR_HOME, write_file
from stage import CORE, JRE, TESSEL, ZUL

INI = "talui/bin/talparam.ini"

fixture_stage = fixture_of("stage", CleanStage)


def home(change=None, **keys):
    def make():
        made = CleanHome()
        made.ini(**keys)
        if change:
            change(made)
        return made
    return make


def copied(change=None, **keys):
    """A home whose launches copy it to a scratch directory."""
    def make():
        made = CleanHome()
        # What lies beside the launcher goes before all that is written in the settings.
        shutil.rmtree(made.top + "/talui/jlib")
        shutil.rmtree(made.bin + "/jlib")
        for tree, files in (("zul", installer_files()), ("tessel", patch_tool_files())):
            for name, content in files.items():
                write_file(f"{made.top}/trees/{tree}/jlib/{name}", content)
        made.ini(**{"BOOTSTRAP": "TRUE", "ZUL_LOCATION": "../../trees/zul",
                    "ZUL_CORE_LOCATION": "../../trees/zul", "ZUL_CORE_MIN_LOCATION": "../../trees/zul",
                    "TESSEL_LOCATION": "../../trees/tessel", **keys})
        if change:
            change(made)
        return made
    return make


HOMES = {
    "a home that copies, without a fault": (copied(), []),
    "a copied tree, named twice, with a file that cannot be read": (
        copied(lambda made: write_file(made.top + "/trees/zul/lib/x", "x", 0o000)), [
        "trees/zul/lib/x: error: ordinary users cannot read this file: give it the mode 644"]),
    "no Java location": (home(JRE_LOCATION=None), [
        "talui/bin/talparam.ini: error: no Java runtime is known, and every launch ends: "
         "write the runtime's home as JRE_LOCATION"]),
    "a Java location that leads nowhere": (home(JRE_LOCATION="../../jdk"), [
        "talui/bin/talparam.ini:5: error: JRE_LOCATION leads to no Java runtime: there is no "
         "../../jdk/bin/java; correct it"]),
    "a runtime for another machine": (
        home(lambda made: write_file(made.top + "/jdk/jre/bin/java", program(machine=43))), [
        "jdk/jre/bin/java: error: this program is 64-bit SPARC for Linux, the launcher "
         "64-bit x86-64 for Linux: ship a runtime for the launcher's system"]),
    "no installer": (home(lambda made: os.unlink(made.top + "/talui/jlib/TalInstaller.jar")), [
        "talui/bin/talparam.ini: error: the class talvex.admkit.kst.kstc.KstcInstaller of "
         "INSTALL_CLASS, its default, is in no jar of the class path: bring the jar that "
         "holds it, or correct the name",
        "talui/bin/talparam.ini: note: the class "
         "talvex.admkit.kon.konc.KoncOneClickInstaller of INSTALL_ONECLICK_CLASS, its "
         "default, is in no jar of the class path: launches with -oneclick fail",
        "talui/bin/talparam.ini: note: nothing brings 1 jar of the class path: "
         "TalInstaller.jar"]),
    "no unpacker, which nothing needs": (home(lambda made: os.unlink(made.bin + "/unzip")), []),
    "a copied home without room": (copied(BOOTSTRAP_SIZE="0"), [
        "talui/bin/talparam.ini:10: warning: BOOTSTRAP_SIZE is 0, but a launch brings 1 MB "
         "to its scratch directory: write BOOTSTRAP_SIZE=1"]),
    "a copied home with extensions that need room": (
        copied(lambda made: write_file(made.top + "/extra/x", bytes(3 << 20)),
               BOOTSTRAP_SIZE="1", EXT_LIB="../../extra"), [
        "talui/bin/talparam.ini:10: warning: BOOTSTRAP_SIZE is 1, but a launch brings 4 MB "
         "to its scratch directory: write BOOTSTRAP_SIZE=4"]),
    "a copied home with a Java location that leads nowhere": (copied(JRE_LOCATION="../../x"), [
        "talui/bin/talparam.ini:5: error: JRE_LOCATION leads to no Java runtime: there is no "
         "../../x/bin/java; correct it"]),
    "a file that its owner cannot read": (
        home(lambda made: os.chmod(write_file(made.top + "/x", "x"), 0o044)), [
        "x: warning: ordinary users cannot read this file: give it the mode 644"]),
    "a file that others cannot read, as homes may have": (
        home(lambda made: os.chmod(write_file(made.top + "/x", "x"), 0o600)), []),
    "a link to the runtime, as homes have": (
        home(lambda made: os.symlink("/nowhere/jdk", made.top + "/java")), []),
    "a demand that the runtime fails": (home(USEJREONLY="TRUE"), [
        "talui/bin/talparam.ini:6: warning: USEJREONLY is TRUE, but the runtime that is "
         "shipped has neither lib/rt.jar nor lib/core.jar: named by an operator, it would be "
         "refused itself"]),
}


@pytest.mark.parametrize("fault", HOMES)
def test_a_home_with_one_fault_has_just_its_finding(root_as_new, fault):
    del root_as_new
    make, findings = HOMES[fault]
    assert_found(make().check(), *findings)


def dynamic_program(*libraries):
    """A program file that needs shared libraries."""
    names = b"\0" + b"\0".join(name.encode() for name in libraries) + b"\0"
    at = [names.index(name.encode()) for name in libraries]
    dynamic = b"".join(struct.pack("<QQ", 1, offset) for offset in at)
    dynamic += struct.pack("<QQQQ", 5, 0x1000, 0, 0)
    start = 64 + 2 * 56
    load = struct.pack("<IIQQQQQQ", 1, 4, start, 0x1000, 0x1000, len(names), len(names), 1)
    tags = struct.pack("<IIQQQQQQ", 2, 4, start + len(names), 0x9000, 0x9000, len(dynamic),
                       len(dynamic), 1)
    head = b"\x7fELF" + bytes([2, 1, 1, 3]) + bytes(8)
    head += struct.pack("<HHIQQQIHHHHHH", 2, 62, 1, 0, 64, 0, 0, 64, 56, 2, 0, 0, 0)
    return head + load + tags + names + dynamic


def test_a_program_that_needs_libraries_of_its_own_is_warned_of(stage):
    write_file(stage.install + "/unzip", dynamic_program("libbz2.so.1.0", "libc.so.6", "libstdc++.so.6"))
    assert_found(stage.check(),
                 "install/unzip: warning: the program needs libbz2.so.1.0, libstdc++.so.6, which a bare "
                 "machine does not have: link it statically")


def test_the_c_library_and_its_parts_are_on_every_machine(stage):
    write_file(stage.install + "/unzip", dynamic_program("libc.so.6", "libm.so.2", "libpthread.so.0"))
    assert_found(stage.check())


def test_a_path_with_an_options_text_is_warned_of(root_as_new):
    del root_as_new
    stage = CleanStage(OPERATOR_HOME + "/my-home")
    assert_found(stage.check(),
                 "install/setupLauncher: warning: the path /home/operator/my-home/install/setupLauncher "
                 "contains \"-H\" (in any letters), and a launch by that path takes it for the option: "
                 "rename the directory")


def test_a_path_with_a_name_that_parents_hand_on_is_warned_of(root_as_new):
    del root_as_new
    stage = CleanStage(OPERATOR_HOME + "/x-timestamp")
    assert_found(stage.check(),
                 "install/setupLauncher: warning: the path "
                 "/home/operator/x-timestamp/install/setupLauncher contains \"-timestamp\" (in any "
                 "letters), and a launch by that path takes it for the option: rename the directory")


def test_versions_that_only_a_sixth_number_tells_apart_are_warned_of(stage):
    os.rename(f"{stage.components}/{CORE}/1.0", f"{stage.components}/{CORE}/1.0.0.0.0.1")
    shutil.copytree(f"{stage.components}/{CORE}/1.0.0.0.0.1", f"{stage.components}/{CORE}/1.0.0.0.0.2")
    stage.ini(BOOTSTRAP_COMPS=f"{ZUL}:1.0,{CORE},{TESSEL}:1.0,{JRE}:1.0")
    lines = stage.check()
    assert lines[0] == (
        "stage/Components/talvex.swd.zul.core: warning: to a launch the versions 1.0.0.0.0.1, "
        "1.0.0.0.0.2 are alike, and the file system decides which is taken: only five numbers count; "
        "name the version in BOOTSTRAP_COMPS, or remove the other")
    assert lines[1].startswith("stage/Components: note: no launch brings 1 payload that lies here: ")
    assert lines[2:] == ["0 errors, 1 warning, 1 note"]


def test_the_size_to_write_holds_all_that_a_launch_brings(stage):
    for name, megabytes in (("images/a", 2), ("images/b", 3)):
        write_file(f"{stage.install}/{name}", os.urandom(megabytes << 20))
    write_file(stage.top + "/access/c", bytes(5 << 20))
    write_file(stage.top + "/prereq/d", bytes(7 << 20))
    write_file(stage.top + "/extra/e", bytes(11 << 20))
    write_file(stage.data_files(CORE) + "/Expanded/f", bytes(13 << 20))
    stage.component(TESSEL, "1.0", {"Tessel/g": bytes(17 << 20),
                                    **{f"Tessel/jlib/{name}": content
                                       for name, content in patch_tool_files().items()}})
    stage.ini(BOOTSTRAP_SIZE="58", ACCESS_DIR="../access", PREREQ_CONFIG_LOCATION="../prereq",
              EXT_BIN="../extra")
    assert_found(stage.check(),
                 "install/talparam.ini:4: warning: BOOTSTRAP_SIZE is 58, but a launch brings 59 MB to its "
                 "scratch directory: write BOOTSTRAP_SIZE=59")
    stage.ini(BOOTSTRAP_SIZE="59", ACCESS_DIR="../access", PREREQ_CONFIG_LOCATION="../prereq",
              EXT_BIN="../extra")
    assert_found(stage.check())


def test_a_size_that_is_not_given_is_69(stage):
    write_file(stage.install + "/images/a", bytes(70 << 20))
    stage.ini(BOOTSTRAP_SIZE=None)
    assert_found(stage.check(),
                 "install/talparam.ini: warning: BOOTSTRAP_SIZE is 69 when it is not given, but a launch "
                 "brings 71 MB to its scratch directory: write BOOTSTRAP_SIZE=71")


def test_a_parameter_file_one_level_above_is_as_good(stage):
    os.rename(stage.ini_path, stage.top + "/talparam.ini")
    assert_found(stage.check())
    assert_found(check(stage.install, looked_at=stage.top))


def test_eight_faults_at_once_are_all_found(stage):
    write_file(stage.install + "/unzip", program(machine=43))
    os.unlink(stage.install + "/resource/cons.nls")
    stage.component(CORE, "1.0", {"../x": "x", "zul/jlib/SetupHelp.jar": jar_bytes({"x": "y"})})
    os.symlink("/etc", stage.top + "/out")
    stage.ini(("Generic Prereqs", {"SWAP_SPACE": "0"}), UMASK="22", FROBNICATE="1",
              BOOTSTRAP_SIZE="x", INSTALL_CLASS="my.Class")
    core = "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar"
    ini = "install/talparam.ini"
    assert_found(
        stage.check(),
        "install/resource/cons.nls: error: the English catalogue is missing, and launches end with "
        "status 1 where there is no other: put the launcher's catalogue there",
        f"{ini}:9: error: the class my.Class of INSTALL_CLASS is in no jar of the class path: bring the "
        "jar that holds it, or correct the name",
        "install/unzip: error: this program is 64-bit SPARC for Linux, the launcher 64-bit x86-64 for "
        "Linux: put the unpacker of the launcher's system there",
        f"{core}: error: entry ../x: its name leads upwards; pack it under another name",
        f"{ini}:4: warning: BOOTSTRAP_SIZE is \"x\", which counts as 0: write a whole number and "
        "nothing else",
        f"{ini}:4: warning: BOOTSTRAP_SIZE is 0, but a launch brings 1 MB to its scratch directory: "
        "write BOOTSTRAP_SIZE=1",
        f"{ini}:7: warning: UMASK is \"22\", and 007 is used instead: write three octal digits, such as "
        "022",
        f"{ini}:8: warning: no launcher reads the key FROBNICATE: remove it, or begin the line with #",
        f"{ini}:11: warning: SWAP_SPACE is \"0\", with which the check always fails: write a number "
        "above 0, or remove the line",
        "out: warning: this link leads to an absolute path, which is another thing on other machines "
        "(/etc): put what it should lead to in its place",
        f"{core}: warning: it overwrites 1 file of "
        "stage/Components/talvex.swd.zul/1.0/1/DataFiles/talvex.swd.zul.jar with other contents: "
        "zul/jlib/SetupHelp.jar; ship each file once")


def test_everything_broken_at_once_is_said_and_ends(stage):
    for directory, _, files in os.walk(stage.top):
        for name in files:
            write_file(f"{directory}/{name}", b"\xff\0=[\n" * 100)
    lines = stage.check()
    errors = [line for line in lines if ": error: " in line]
    for name in ("install/setupLauncher", "install/unzip", "install/talparam.ini",
                 "stage/Components/talvex.swd.zul/1.0/1/DataFiles/talvex.swd.zul.jar"):
        assert any(line.startswith(name + ": ") for line in errors), (name, lines)


def test_a_stage_of_which_nothing_can_be_read_is_said_and_ends(stage):
    for directory, _, files in os.walk(stage.top, topdown=False):
        for name in files:
            os.chmod(f"{directory}/{name}", 0)
    lines = stage.check()
    assert ("install/talparam.ini: error: the parameter file cannot be read, so every setting has its "
            "default: Permission denied; put a readable file there") in lines
    assert ("install/setupLauncher: error: ordinary users cannot read this file: give it the mode 644"
            in lines)


def test_a_directory_that_cannot_be_read_is_said(stage):
    os.chmod(stage.top, 0)
    lines = stage.check()
    os.chmod(stage.top, 0o755)
    assert_found(lines, ".: error: this directory cannot be read here, and nothing in it was checked: "
                        "Permission denied")


def test_components_out_of_sight_are_not_taken_for_missing(stage):
    os.chmod(stage.components, 0)
    lines = stage.check()
    os.chmod(stage.components, 0o755)
    assert_found(lines,
                 "stage/Components: error: ordinary users cannot read this directory: give it the mode "
                 "755",
                 "stage/Components: note: what lies in this directory was not checked: it cannot be "
                 "read here")


def test_a_component_out_of_sight_is_not_taken_for_missing(stage):
    core = f"{stage.components}/{CORE}"
    os.chmod(core, 0)
    lines = stage.check()
    os.chmod(core, 0o755)
    assert_found(lines,
                 'install/talparam.ini:5: error: BOOTSTRAP_COMPS names "talvex.swd.zul.core:1.0": it '
                 "cannot be looked into here: see its mode",
                 "stage/Components/talvex.swd.zul.core: error: ordinary users cannot read this "
                 "directory: give it the mode 755",
                 "stage/Components/talvex.swd.zul.core: note: what lies in this directory was not "
                 "checked: it cannot be read here")


def test_names_of_the_longest_kind_are_checked(stage):
    deep = stage.top
    for _ in range(20):
        deep += "/" + "d" * 200
    try:
        os.makedirs(deep)
    except OSError:
        pass  # as deep as the system allows
    write_file(stage.top + "/" + "f" * 255, "x", 0o600)
    assert stage.check()[0] == ("f" * 255 + ": warning: ordinary users cannot read this file: give it the "
                                "mode 644")
