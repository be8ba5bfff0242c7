"""check-stage: each finding on a stage or home that has just this fault, word for word."""

import os
import shutil
import zipfile

import pytest

from archives import Entry, archive_bytes, link
from checked import (CleanStage, assert_found, fixture_of, installer_files, jar_bytes,
                     patch_tool_files, program)
from harness import OPERATOR_HOME, ini_text, read_catalogue, read_file, write_catalogue, write_file
from stage import CORE, JDK, JRE, TESSEL, ZUL

INI = "install/talparam.ini"
LISTED = CleanStage.DEFAULTS["BOOTSTRAP_COMPS"]

fixture_stage = fixture_of("stage", CleanStage)


def ini_lines(**keys):
    return ini_text(**{**CleanStage.DEFAULTS, **keys}).splitlines()


# ---- program files -------------------------------------------------------

PROGRAMS = {
    "no launcher": (
        lambda stage: os.unlink(stage.install + "/setupLauncher"), [
        "install/setupLauncher: error: the program setupLauncher is missing: put the "
         "launcher there"]),
    "no unpacker": (
        lambda stage: os.unlink(stage.install + "/unzip"), [
        "install/unzip: error: the program unzip is missing: put the unpacker beside the "
         "launcher, or no component can be unpacked"]),
    "a launcher that is not executable": (
        lambda stage: os.chmod(stage.install + "/setupLauncher", 0o644), [
        "install/setupLauncher: error: the program is not executable: give it the mode 755"]),
    "a launcher that only its owner may run": (
        lambda stage: os.chmod(stage.install + "/setupLauncher", 0o744), [
        "install/setupLauncher: error: the program is not executable: give it the mode 755"]),
    "an unpacker that only its group may run, too": (
        lambda stage: os.chmod(stage.install + "/unzip", 0o774), [
        "install/unzip: error: the program is not executable: give it the mode 755"]),
    "an unpacker for another machine": (
        lambda stage: write_file(stage.install + "/unzip", program(machine=43)), [
        "install/unzip: error: this program is 64-bit SPARC for Linux, the launcher 64-bit "
         "x86-64 for Linux: put the unpacker of the launcher's system there"]),
    "an unpacker for another system": (
        lambda stage: write_file(stage.install + "/unzip", program(abi=6)), [
        "install/unzip: error: this program is 64-bit x86-64 for Solaris, the launcher "
         "64-bit x86-64 for Linux: put the unpacker of the launcher's system there"]),
    "an empty launcher": (
        lambda stage: write_file(stage.install + "/setupLauncher", b""), [
        "install/setupLauncher: error: the program is empty: put the launcher there"]),
    "a launcher that is no program": (
        lambda stage: write_file(stage.install + "/setupLauncher", b"hello"), [
        "install/setupLauncher: error: this is no program: put the launcher there"]),
    "a launcher that is broken off": (
        lambda stage: write_file(stage.install + "/setupLauncher", program()[:30]), [
        "install/setupLauncher: error: the program file is broken off or damaged: put the "
         "launcher there"]),
    "a launcher that is a script": (
        lambda stage: write_file(stage.install + "/setupLauncher", b"#!/bin/sh\n"), [
        "install/setupLauncher: note: this is a script, which can be checked no further"]),
    "a launcher that is a directory": (
        lambda stage: (os.unlink(stage.install + "/setupLauncher"),
                       os.mkdir(stage.install + "/setupLauncher")), [
        "install/setupLauncher: error: this is no file: put the launcher there"]),
}

# ---- the parameter file --------------------------------------------------


def with_line(*lines, at=None, **keys):
    """The parameter file with further lines, at the end or before line `at`."""
    def change(stage):
        written = ini_lines(**keys)
        place = len(written) if at is None else at - 1
        stage.ini_raw(b"\n".join(line if isinstance(line, bytes) else line.encode()
                                 for line in [*written[:place], *lines, *written[place:]]) + b"\n")
    return change


def with_keys(*sections, **keys):
    return lambda stage: stage.ini(*sections, **keys)


PARAMETER_FILE = {
    "no parameter file": (
        lambda stage: os.unlink(stage.ini_path), [
        "install/talparam.ini: error: there is no parameter file beside the launcher and "
         "none one level above: put one there"]),
    "an unknown key": (with_line("FROBNICATE=1"), [
        "install/talparam.ini:7: warning: no launcher reads the key FROBNICATE: remove it, "
         "or begin the line with #"]),
    "a mistyped key": (with_line("UMASKK=022"), [
        "install/talparam.ini:7: warning: no launcher reads the key UMASKK: did you mean "
         "UMASK?"]),
    "a key in the wrong letters": (with_line("umask=022"), [
        "install/talparam.ini:7: warning: no launcher reads the key umask: did you mean "
         "UMASK?"]),
    "a check among the settings": (with_line("SWAP_SPACE=100"), [
        "install/talparam.ini:7: warning: no launcher reads the key SWAP_SPACE in [Talvex]: "
         "it belongs in [Generic Prereqs] or a version's sections"]),
    "a setting among the checks": (with_line("[Generic Prereqs]", "UMASK=022"), [
        "install/talparam.ini:8: warning: no launcher reads the key UMASK in [Generic "
         "Prereqs]: it belongs in [Talvex]"]),
    "a key given twice": (with_line("MULTICD=TRUE"), [
        "install/talparam.ini:7: warning: the key MULTICD is given already in line 3, which "
         "alone counts: remove one"]),
    "a key above the first section": (with_line("UMASK=022", at=1), [
        "install/talparam.ini:1: warning: the key UMASK stands above the first section and "
         "is not read: move it into its section"]),
    "a section given twice": (with_line("[Talvex]", "UMASK=022"), [
        "install/talparam.ini:7: warning: the section [Talvex] is there already in line 1, "
         "and only that one is read: move its keys there"]),
    "an unknown section": (with_line("[Product]", "NAME=x"), [
        "install/talparam.ini:7: warning: no launcher reads the section [Product]: remove it"]),
    "a mistyped section": (with_line("[Generic Prereq]", "CPU=1"), [
        "install/talparam.ini:7: warning: no launcher reads the section [Generic Prereq]: "
         "did you mean [Generic Prereqs]?"]),
    "an indented section": (with_line("  [Generic Prereqs]", "CPU=1"), [
        "install/talparam.ini:7: warning: no launcher finds this section: [Generic Prereqs] "
         "has to stand alone in its line, from its first column on, without a line of blanks "
         "above it"]),
    "a section below a line of blanks": (with_line("  ", "[Generic Prereqs]", "CPU=1"), [
        "install/talparam.ini:8: warning: no launcher finds this section: [Generic Prereqs] "
         "has to stand alone in its line, from its first column on, without a line of blanks "
         "above it"]),
    "a section with text behind it": (with_line("[Generic Prereqs] x", "CPU=1"), [
        "install/talparam.ini:7: warning: no launcher finds this section: [Generic Prereqs] "
         "has to stand alone in its line, from its first column on, without a line of blanks "
         "above it"]),
    "a section without its bracket": (with_line("[Generic Prereqs", "UMASK=022"), [
        "install/talparam.ini:7: warning: this is no section but a key of [Talvex]: a "
         "section's name ends with \"]\" in its line"]),
    "a blank before the equal sign": (with_line("UMASK =022"), [
        'install/talparam.ini:7: warning: UMASK: the blank before "=" makes the value '
         "unusable, and the key counts as not given: remove the blank"]),
    "a quoted key": (with_line('"UMASK"=022'), [
        "install/talparam.ini:7: warning: UMASK: the quotes around the key make the value "
         "unusable, and the key counts as not given: remove them"]),
    "a line that begins with an equal sign": (with_line("=x"), [
        'install/talparam.ini:7: warning: a line that begins with "=" ends the section '
         "[Talvex] for every look-up: remove the line"]),
    "keys below a line that begins with an equal sign": (with_line("=x", "UMASK=022", "# x"), [
        'install/talparam.ini:7: warning: a line that begins with "=" ends the section '
         "[Talvex] for every look-up: 1 key below it is not read; remove the line"]),
    "a Java location below a line that begins with an equal sign": (with_line("=x", at=6), [
        "install/talparam.ini: warning: there is no JRE_LOCATION, so a launch asks for a "
         "Java runtime instead of bringing the one that is shipped: write its payload there",
        'install/talparam.ini:6: warning: a line that begins with "=" ends the section '
         "[Talvex] for every look-up: 1 key below it is not read; remove the line"]),
    "a quote that is never closed at the start of a line": (with_line('"x'), [
        "install/talparam.ini:7: warning: a line whose closing quote is missing ends the "
         "section [Talvex] for every look-up: remove the line"]),
    "a byte 255": (with_line(b"# \xff", "UMASK=022"), [
        "install/talparam.ini:7: warning: the byte 255 ends the file for every launcher: "
         "nothing behind it is read; write the file in ASCII or UTF-8"]),
    "a byte 0": (with_line(b"UMASK=022\0x"), [
        "install/talparam.ini:7: warning: a byte 0 ends this line: what stands behind it is "
         "not read"]),
    "a quoted value that is not closed": (with_line('UMASK="022'), [
        "install/talparam.ini:7: warning: UMASK: the value's closing quote is missing, and "
         "the key counts as not given: add it"]),
    "text behind a quoted value": (with_line('UMASK="022" x'), [
        "install/talparam.ini:7: warning: UMASK: what stands behind the closing quote is not "
         "read: write the whole value in one pair of double quotes"]),
    "two equal signs": (with_line("UMASK==022"), [
        'install/talparam.ini:7: warning: UMASK: the value begins with "=" and is unusable, '
         'and the key counts as not given: write one "=", or the value in double quotes']),
    "a value with an equal sign": (with_line("JRE_MEMORY_OPTIONS=-Da=b"), [
        'install/talparam.ini:7: warning: JRE_MEMORY_OPTIONS: the value ends before its "=", '
         'it is read as "-Da": write the whole value in double quotes']),
    "quotes inside a value": (with_line('JRE_MEMORY_OPTIONS=-Da "b"'), [
        "install/talparam.ini:7: warning: JRE_MEMORY_OPTIONS: the double quotes stay in the "
         "value: only quotes around the whole value are taken off"]),
    "a blank inside a value": (with_line("JRE_OSDPARAM=-a -b"), [
        'install/talparam.ini:7: warning: JRE_OSDPARAM is "-a -b": the blank stays in the '
         "value; remove it"]),
    "a flag that is neither": (with_line("WAIT_FOR_COMPLETION=yes"), [
        'install/talparam.ini:7: warning: WAIT_FOR_COMPLETION is "yes", which does not begin '
         "with T and counts as FALSE: write TRUE"]),
    "a flag in small letters": (with_line("WAIT_FOR_COMPLETION=true"), [
        'install/talparam.ini:7: warning: WAIT_FOR_COMPLETION is "true", which does not '
         "begin with T and counts as FALSE: write TRUE"]),
    "an exact flag that is not exact": (with_line("DISABLE_JRE_PROMPT=True"), [
        'install/talparam.ini:7: warning: DISABLE_JRE_PROMPT is "True", which counts as '
         "FALSE: only TRUE, in capitals, turns it on"]),
    "another exact flag that is not exact": (with_line("USEJREONLY=T"), [
        'install/talparam.ini:7: warning: USEJREONLY is "T", which counts as FALSE: only '
         "TRUE, in capitals, turns it on"]),
    "a number with letters": (with_keys(BOOTSTRAP_SIZE="69MB"), [
        'install/talparam.ini:4: warning: BOOTSTRAP_SIZE is "69MB", which counts as 69: '
         "write a whole number and nothing else"]),
    "a number out of range": (with_keys(BOOTSTRAP_SIZE="-1"), [
        "install/talparam.ini:4: error: BOOTSTRAP_SIZE is out of range, and a launch brings "
         "nothing to its scratch directory: write megabytes from 0 to 8796093022207"]),
    "a bootstrap size that is too small": (with_keys(BOOTSTRAP_SIZE="0"), [
        "install/talparam.ini:4: warning: BOOTSTRAP_SIZE is 0, but a launch brings 1 MB to "
         "its scratch directory: write BOOTSTRAP_SIZE=1"]),
    "a mask out of form": (with_line("UMASK=22"), [
        'install/talparam.ini:7: warning: UMASK is "22", and 007 is used instead: write '
         "three octal digits, such as 022"]),
    "MULTICD of a stage of one disk": (with_keys(MULTICD="TRUE"), [
        "install/talparam.ini:3: warning: MULTICD is T, but the stage has one disk, and a "
         "launch from a mounted CD is refused: write MULTICD=FALSE"]),
    "MULTICD of a stage of two disks": (
        lambda stage: (os.rename(stage.top, OPERATOR_HOME + "/one"), os.mkdir(stage.top),
                       os.rename(OPERATOR_HOME + "/one", stage.top + "/Disk1"),
                       os.mkdir(stage.top + "/Disk2")), [
        "Disk1/install/talparam.ini:3: warning: MULTICD is not T, but the stage has 2 disks, "
         "and a launch from the first would keep it in its drive: write MULTICD=TRUE"]),
    "no MULTICD in a stage of one disk": (with_keys(MULTICD=None), [
        "install/talparam.ini: warning: MULTICD is T when it is not given, but the stage has "
         "one disk, and a launch from a mounted CD is refused: write MULTICD=FALSE"]),
    "a Java location that leads nowhere": (with_keys(JRE_LOCATION="../nowhere"), [
        "install/talparam.ini:6: warning: JRE_LOCATION leads nowhere, and a launch takes "
         "stage/Components/talvex.swd.jre/1.0/1/DataFiles instead: correct it"]),
    "no Java location": (with_keys(JRE_LOCATION=None), [
        "install/talparam.ini: warning: there is no JRE_LOCATION, so a launch asks for a "
         "Java runtime instead of bringing the one that is shipped: write its payload there"]),
    "a class that is in no jar": (with_line("INSTALL_CLASS=my.Class"), [
        "install/talparam.ini:7: error: the class my.Class of INSTALL_CLASS is in no jar of "
         "the class path: bring the jar that holds it, or correct the name"]),
    "a one-click class that is in no jar": (with_line("INSTALL_ONECLICK_CLASS=my.Class"), [
        "install/talparam.ini:7: warning: the class my.Class of INSTALL_ONECLICK_CLASS is in "
         "no jar of the class path, and launches with -oneclick fail: bring the jar that "
         "holds it, or correct the name"]),
    "no section of settings": (lambda stage: stage.ini_raw("DISTRIBUTION=TRUE\n"), [
        "install/talparam.ini: error: there is no section [Talvex], so every setting has its "
         "default: write it above the settings"]),
    "a byte order mark": (
        lambda stage: stage.ini_raw(b"\xef\xbb\xbf" + read_file(stage.ini_path)), [
        "install/talparam.ini:1: error: a byte order mark stands before the first section, "
         "which no launcher finds for that: write the file without one"]),
    "a distribution that is not switched on": (with_keys(DISTRIBUTION=None), [
        "install/talparam.ini: error: there are components, but DISTRIBUTION is not T, so a "
         "launch takes this for an installed home and brings none of them: write "
         "DISTRIBUTION=TRUE"]),
    "a distribution switched on in small letters": (with_keys(DISTRIBUTION="true"), [
        "install/talparam.ini:2: error: there are components, but DISTRIBUTION is not T, so "
         "a launch takes this for an installed home and brings none of them: write "
         "DISTRIBUTION=TRUE"]),
}

# ---- components ----------------------------------------------------------


def payload_of(stage, name, version="1.0"):
    return f"{stage.data_files(name, version)}/{name}.jar"


def with_version(name, version, listed):
    """One more version of a component, with the component list as given."""
    def change(stage):
        shutil.copytree(f"{stage.components}/{name}/1.0", f"{stage.components}/{name}/{version}")
        stage.ini(BOOTSTRAP_COMPS=listed)
    return change


COMPONENTS = {
    "an entry without a component": (with_keys(BOOTSTRAP_COMPS=LISTED + ",my.component"), [
        'install/talparam.ini:5: error: BOOTSTRAP_COMPS names "my.component": the stage has '
         "no such component"]),
    "an entry like a component": (with_keys(BOOTSTRAP_COMPS=LISTED + ",talvex.swd.tesel"), [
        'install/talparam.ini:5: error: BOOTSTRAP_COMPS names "talvex.swd.tesel": the stage '
         "has no such component; did you mean talvex.swd.tessel?"]),
    "an entry without its version": (
        with_keys(BOOTSTRAP_COMPS=LISTED.replace("tessel:1.0", "tessel:2.0")), [
        'install/talparam.ini:5: error: BOOTSTRAP_COMPS names "talvex.swd.tessel:2.0": it '
         "has no version 2.0, but 1.0"]),
    "an entry without a payload directory": (
        lambda stage: shutil.rmtree(f"{stage.components}/{CORE}/1.0/1"), [
        'install/talparam.ini:5: error: BOOTSTRAP_COMPS names "talvex.swd.zul.core:1.0": it '
         "has no payload directory 1/DataFiles in version 1.0"]),
    "an entry with a blank": (
        with_keys(BOOTSTRAP_COMPS=LISTED.replace(f",{TESSEL}", f", {TESSEL}")), [
        'install/talparam.ini:5: error: BOOTSTRAP_COMPS names " talvex.swd.tessel:1.0": the '
         "blank belongs to the name, and there is no such component; remove it"]),
    "an entry given twice": (with_keys(BOOTSTRAP_COMPS=f"{LISTED},{CORE}:1.0"), [
        'install/talparam.ini:5: warning: BOOTSTRAP_COMPS names "talvex.swd.zul.core:1.0": '
         "the component is named twice; name it once"]),
    "no list of components and no minimal core": (with_keys(BOOTSTRAP_COMPS=None), [
        "install/talparam.ini: warning: there is no BOOTSTRAP_COMPS, so "
         "talvex.swd.zul.core.min is to be brought, but it has no payload: ship it, or list "
         "what is to be brought"]),
    "a version that only a person ranks higher": (
        with_version(CORE, "v2.0", LISTED.replace(f"{CORE}:1.0", CORE)), [
        "stage/Components/talvex.swd.zul.core: warning: a launch takes version 1.0 for the "
         "highest, not v2.0: a version begins with a number, and no number is above "
         "2147483647; name the version in BOOTSTRAP_COMPS, or remove the other",
        "stage/Components: note: no launch brings 1 payload that lies here: "
         "talvex.swd.zul.core/v2.0; list in BOOTSTRAP_COMPS what the launcher is to bring"]),
    "versions of which the higher is taken": (
        lambda stage: (with_version(CORE, "1.0.1", LISTED.replace(f"{CORE}:1.0", CORE))(stage),
                       shutil.rmtree(f"{stage.components}/{CORE}/1.0")), []),
    "a version of the runtime without effect": (
        with_version(JRE, "2.0", LISTED.replace(f"{JRE}:1.0", f"{JRE}:2.0")), [
        'install/talparam.ini:5: warning: BOOTSTRAP_COMPS names "talvex.swd.jre:2.0": the '
         "version of the runtime has no effect here, and "
         "stage/Components/talvex.swd.jre/1.0/1/DataFiles is taken; write its payload as "
         "JRE_LOCATION",
        "stage/Components: note: no launch brings 1 payload that lies here: "
         "talvex.swd.jre/2.0; list in BOOTSTRAP_COMPS what the launcher is to bring"]),
    "a payload that nothing names": (
        lambda stage: stage.component("my.product", "3.1", {"x": "x"}), [
        "stage/Components: note: no launch brings 1 payload that lies here: my.product/3.1; "
         "list in BOOTSTRAP_COMPS what the launcher is to bring"]),
    "two payloads that nothing names": (
        lambda stage: (stage.component("my.product", "3.1", {"x": "x"}),
                       stage.component("my.product", "3.2", {"x": "x"})), [
        "stage/Components: note: no launch brings 2 payloads that lie here: my.product/3.1, "
         "my.product/3.2; list in BOOTSTRAP_COMPS what the launcher is to bring"]),
    "no runtime at all": (
        lambda stage: shutil.rmtree(f"{stage.components}/{JRE}"), [
        "install/talparam.ini:5: error: the component talvex.swd.jre is to be brought, but "
         "neither it nor talvex.jdk has a payload, and every launch ends: ship a runtime"]),
    "a runtime without java": (
        lambda stage: stage.component(JRE, "1.0", {"jre/1.0/lib/x": "x"}), [
        "stage/Components/talvex.swd.jre/1.0/1/DataFiles: error: the runtime brings no "
         "jre/1.0/bin/java, and every launch ends: pack a whole runtime"]),
    "a runtime at another place": (
        lambda stage: stage.component(JRE, "1.0", {"bin/java": program()}), [
        "stage/Components/talvex.swd.jre/1.0/1/DataFiles: error: the runtime brings nothing "
         "below jre/, and every launch ends: pack the runtime's home as jre/NAME/"]),
    "a runtime for another machine": (
        lambda stage: stage.component(JRE, "1.0", {"jre/1.0/bin/java": program(machine=183)}), [
        "stage/Components/talvex.swd.jre/1.0/1/DataFiles: error: this program is 64-bit "
         "AArch64 for Linux, the launcher 64-bit x86-64 for Linux: ship a runtime for the "
         "launcher's system"]),
    "a runtime with two entries": (
        lambda stage: stage.component(JRE, "1.0", {"jre/1.0/bin/java": program(), "jre/README": "x"}),
        [
        "stage/Components/talvex.swd.jre/1.0/1/DataFiles: error: the runtime brings 2 "
         "entries below jre/ (1.0, README), and the file system decides which of them is "
         "started: leave one"]),
    "a runtime that USEJREONLY would refuse": (with_line("USEJREONLY=TRUE"), [
        "install/talparam.ini:7: warning: USEJREONLY is TRUE, but the runtime that is "
         "shipped has neither lib/rt.jar nor lib/core.jar: named by an operator, it would be "
         "refused itself"]),
    "a runtime that USEJDKONLY would refuse": (
        lambda stage: (stage.component(JRE, "1.0", {"jre/1.0/bin/java": program(),
                                                    "jre/1.0/lib/rt.jar": "x"}),
                       with_line("USEJDKONLY=TRUE")(stage)), [
        "install/talparam.ini:7: warning: USEJDKONLY is TRUE, but the runtime that is "
         "shipped is no development kit: operators have to name a kit where the shipped "
         "runtime would do"]),
    "both demands on the runtime": (with_line("USEJREONLY=TRUE", "USEJDKONLY=TRUE"), [
        "install/talparam.ini:8: warning: USEJREONLY and USEJDKONLY are both TRUE, and every "
         "runtime that an operator names is refused: leave one"]),
    "a file that is overwritten": (
        lambda stage: stage.component(CORE, "1.0", {"zul/lib/README": "x",
                                                    "zul/jlib/SetupHelp.jar": jar_bytes({"x": "y"})}),
        [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "warning: it overwrites 1 file of "
         "stage/Components/talvex.swd.zul/1.0/1/DataFiles/talvex.swd.zul.jar with other "
         "contents: zul/jlib/SetupHelp.jar; ship each file once"]),
    "a jar that nothing brings": (
        lambda stage: stage.component(ZUL, "1.0", {
            f"zul/jlib/{name}": content for name, content in installer_files().items()
            if name != "hlpj.jar"}), [
        "install/talparam.ini: note: nothing brings 1 jar of the class path: hlpj.jar"]),
    "a jar that is none": (
        lambda stage: stage.component(TESSEL, "1.0", {
            f"Tessel/jlib/{name}": content for name, content in
            {**patch_tool_files(), "tessel.jar": b"x"}.items()}), [
        "stage/Components/talvex.swd.tessel/1.0/1/DataFiles/talvex.swd.tessel.jar: warning: "
         "the jar tessel.jar of the class path cannot be read, and Java passes over it: put a "
         "sound one there"]),
}

# ---- archives ------------------------------------------------------------


def changed_archive(name, change):
    """The archive of a component with its bytes changed."""
    def apply(stage):
        path = payload_of(stage, name)
        write_file(path, change(bytearray(read_file(path))))
    return apply


def broken_sum(content):
    content[content.index(b"PK\x01\x02") + 16] ^= 1
    content[14] ^= 1
    return bytes(content)


def other_method(content):
    content[8] = 12
    content[content.index(b"PK\x01\x02") + 10] = 12
    return bytes(content)


def encrypted(content):
    content[6] |= 1
    content[content.index(b"PK\x01\x02") + 8] |= 1
    return bytes(content)


def with_entry(name):
    def change(stage):
        with zipfile.ZipFile(payload_of(stage, CORE), "a") as jar:
            jar.writestr(name, "x")
    return change


def with_entries(*entries, component=CORE):
    def change(stage):
        write_file(payload_of(stage, component), archive_bytes(entries))
    return change


CORE_JAR = "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar"
ZUL_JAR = "stage/Components/talvex.swd.zul/1.0/1/DataFiles/talvex.swd.zul.jar"

ARCHIVES = {
    "a name with a control character": (with_entries(Entry(b"zul/a\nb", b"x")), [
        f"{CORE_JAR}: error: entry zul/a\\nb: its name has a control character in it; pack it under "
        "another name"]),
    "a file through a link": (with_entries(link(b"zul/l", b"lib"), Entry(b"zul/l/x", b"x")), [
        f"{CORE_JAR}: error: entry zul/l/x: its way leads through a symbolic link of the archive; pack "
        "the archive anew"]),
    "a file and a directory of one name": (with_entries(Entry(b"zul/x", b"x"), Entry(b"zul/x/y", b"x")), [
        f"{CORE_JAR}: error: entry zul/x/y: its way leads through a file of the archive; pack the "
        "archive anew"]),
    "a name that is too long": (with_entries(Entry(b"zul/" + b"a" * 256, b"x")), [
        f"{CORE_JAR}: error: entry zul/{'a' * 256}: File name too long; pack the archive anew"]),
    "a link without a target": (with_entries(link(b"zul/l", b"")), [
        f"{CORE_JAR}: error: entry zul/l: it is a symbolic link without a usable target; pack the archive "
        "anew"]),
    "a file that replaces a link": (with_entries(link(b"zul/l", b"lib"), Entry(b"zul/l", b"x")), [
        f"{CORE_JAR}: error: entry zul/l: it replaces a symbolic link; pack the archive anew"]),
    "a name that only looks like a drive": (with_entries(Entry(b"1:/x", b"x")), []),
    "a name of the greatest length": (with_entries(Entry(b"zul/" + b"a" * 255, b"x")), []),
    "a file where another component has a directory": (with_entries(Entry(b"zul/jlib", b"x")), [
        f"{CORE_JAR}: error: it brings a file zul/jlib, where {ZUL_JAR} has brought a directory before: "
        "ship only one of them"]),
    "a directory where another component has a file": (
        with_entries(Entry(b"zul/jlib/TalInstaller.jar/x", b"x"), Entry(b"zul/jlib/TalInstaller.jar/y", b"x")), [
        f"{CORE_JAR}: error: it brings a directory zul/jlib/TalInstaller.jar, where {ZUL_JAR} has brought a "
        "file before: ship only one of them"]),
    "a file where another component has a link": (
        lambda stage: (with_entries(link(b"zul/l", b"x"))(stage),
                       write_file(stage.data_files(CORE) + "/z.jar",
                                  archive_bytes([Entry(b"zul/l", b"x")]))), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/z.jar: error: it brings a file zul/l, where "
        f"{CORE_JAR} has brought a symbolic link before: ship only one of them"]),
    "a directory that is called like an archive": (
        lambda stage: os.mkdir(stage.data_files(CORE) + "/dir.jar"), []),
    "an archive that is none": (changed_archive(CORE, lambda content: b"hello"), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: this archive cannot be opened: not a zip archive, or its end is missing; put "
         "a sound one there"]),
    "an archive that is broken off": (changed_archive(CORE, lambda content: bytes(content[:60])), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: this archive cannot be opened: not a zip archive, or its end is missing; put "
         "a sound one there"]),
    "an empty archive file": (changed_archive(CORE, lambda content: b""), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: this archive cannot be opened: not a zip archive, or its end is missing; put "
         "a sound one there"]),
    "an archive without entries": (changed_archive(CORE, lambda content: jar_bytes({})), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: the archive itself: holds no entries; pack the archive anew"]),
    "a wrong checksum": (changed_archive(CORE, broken_sum), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry zul/lib/README: bad CRC 8cdc1683 (should be 8cdc1682); pack the "
         "archive anew"]),
    "a method that is not unpacked": (changed_archive(CORE, other_method), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry zul/lib/README: it is packed with a method that is not known here; "
         "pack it with the method deflated or stored"]),
    "an encrypted entry": (changed_archive(CORE, encrypted), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry zul/lib/README: it is encrypted; pack it without a password"]),
    "a name that leads outside": (with_entry("../../outside"), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry ../../outside: its name leads upwards; pack it under another name"]),
    "an absolute name": (with_entry("/etc/motd"), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry /etc/motd: its name begins at the root directory; pack it under another "
         "name"]),
    "a name with a drive": (with_entry("C:\\autoexec.bat"), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: entry C:\\\\autoexec.bat: its name has a backslash in it; pack it under another "
         "name"]),
}

# ---- prerequisites -------------------------------------------------------

ON = {"PLATFORM_PREREQS": "TRUE"}
CERTIFIED = ("Certified Versions", {"Solaris": "5.10,5.11"})
REQUIRED = [("Solaris-5.10-required", {"CPU": "1000"}), ("Solaris-5.11-required", {"CPU": "1000"})]


def checks(*sections, **keys):
    return with_keys(*sections, **{**ON, **keys})


def generic(**keys):
    return with_keys(("Generic Prereqs", keys))


PREREQUISITES = {
    "a section that no version names": (
        checks(CERTIFIED, *REQUIRED, ("Solaris-5.9-optional", {"CPU": "1000"})), [
        "install/talparam.ini:14: warning: no certified version names "
         "[Solaris-5.9-optional], and it is not read: add 5.9 to Solaris in [Certified "
         "Versions]"]),
    "a version without section": (checks(CERTIFIED, REQUIRED[0]), [
        "install/talparam.ini:9: note: the certified version 5.11 has no section "
         "[Solaris-5.11-required], and nothing is checked for it"]),
    "versions without the switch": (with_keys(CERTIFIED, *REQUIRED), [
        "install/talparam.ini:8: warning: certified versions and their sections are read "
         "only with PLATFORM_PREREQS=TRUE in [Talvex]: write it"]),
    "versions with a blank": (
        checks(("Certified Versions", {"Solaris": "5.10, 5.11"}), *REQUIRED), [
        'install/talparam.ini:9: warning: Solaris is "5.10, 5.11": the blank belongs to the '
         'item " 5.11", which then fits nothing; remove it']),
    "an unknown check": (generic(SWAPSPACE="100"), [
        "install/talparam.ini:8: warning: no launcher reads the key SWAPSPACE: did you mean "
         "SWAP_SPACE?"]),
    "swap in a version's section": (
        checks(CERTIFIED, REQUIRED[0], ("Solaris-5.11-required", {"SWAP_SPACE": "100"})), [
        "install/talparam.ini:13: warning: SWAP_SPACE is not checked in "
         "[Solaris-5.11-required]: move it to [Generic Prereqs]"]),
    "colours in a version's section": (
        checks(CERTIFIED, REQUIRED[0], ("Solaris-5.11-required", {"MIN_DISPLAY_COLORS": "256"})), [
        "install/talparam.ini:13: warning: MIN_DISPLAY_COLORS is not checked in "
         "[Solaris-5.11-required]: move it to [Generic Prereqs]"]),
    "a text that is not read": (generic(CPU="1000", CPU_FAILURE_MESSAGE="too slow"), [
        "install/talparam.ini:9: warning: CPU_FAILURE_MESSAGE is not read in [Generic "
         "Prereqs]: the checks of that section have no text of their own; remove it"]),
    "swap with a unit": (generic(SWAP_SPACE="100MB"), [
        'install/talparam.ini:8: warning: SWAP_SPACE is "100MB", of which the check reads '
         "only the number at its start: write a number and nothing else"]),
    "swap in base 16": (generic(SWAP_SPACE="0x400"), []),
    "no swap": (generic(SWAP_SPACE="0"), [
        'install/talparam.ini:8: warning: SWAP_SPACE is "0", with which the check always '
         "fails: write a number above 0, or remove the line"]),
    "no temporary space": (generic(TEMP_SPACE="0"), [
        'install/talparam.ini:8: warning: TEMP_SPACE is "0", with which the check always '
         "passes: write a number above 0, or remove the line"]),
    "speed with a unit": (generic(CPU="1000MHz"), [
        'install/talparam.ini:8: warning: CPU is "1000MHz", of which the check reads only '
         "the number at its start: write a whole number and nothing else"]),
    "colours in words": (generic(MIN_DISPLAY_COLORS="many"), [
        'install/talparam.ini:8: warning: MIN_DISPLAY_COLORS is "many", of which the check '
         "reads only the number at its start: write a number and nothing else"]),
    "processors with a blank": (generic(PROCESSOR="i86pc, sun4u"), [
        'install/talparam.ini:8: warning: PROCESSOR is "i86pc, sun4u": the blank belongs to '
         'the item " sun4u", which then fits nothing; remove it']),
    "a patch out of form": (generic(PATCHES="112233-05,SUN4711"), [
        'install/talparam.ini:8: warning: PATCHES is "112233-05,SUN4711": "SUN4711" is no '
         "patch id, and the check fails; write NUMBER-REVISION, such as 112233-05"]),
    "a package with a character of the shell": (generic(PACKAGES="SUNWcsr,SUNW$x"), [
        'install/talparam.ini:8: warning: PACKAGES is "SUNWcsr,SUNW$x": "SUNW$x" has '
         "characters that no package's name has; correct it"]),
    "a warning that is not exact": (
        checks(("Certified Versions", {"Solaris": "5.10,5.11", "CERTIFIED_VERSION_WARN": "true"}),
               *REQUIRED), [
        'install/talparam.ini:10: warning: CERTIFIED_VERSION_WARN is "true", which counts as '
         "FALSE: only TRUE, in capitals, makes an uncertified version a warning"]),
    "a list of patches that is neither": (
        checks(CERTIFIED, REQUIRED[0],
               ("Solaris-5.11-required", {"PATCHES": "1-1", "LOG_PATCHES_TO_CONSOLE": "no"})), [
        'install/talparam.ini:14: warning: LOG_PATCHES_TO_CONSOLE is "no", which does not '
         "begin with F and counts as TRUE: write TRUE or FALSE"]),
}

# ---- catalogues ----------------------------------------------------------


def texts(file="cons.nls", **changes):
    def change(stage):
        path = f"{stage.install}/resource/{file}"
        known = {**read_catalogue(path), **changes}
        write_catalogue(path, {key: text for key, text in known.items() if text is not None})
    return change


def longer_text(stage):
    path = stage.install + "/resource/cons_de.nls"
    known = read_catalogue(path)
    known["S_WAITMSG"] = known["S_WAITMSG"].replace(" ", " " + "x" * 1100, 1)
    write_catalogue(path, known)


def appended(content, file="cons.nls"):
    def change(stage):
        path = f"{stage.install}/resource/{file}"
        write_file(path, read_file(path) + content)
    return change


CATALOGUES = {
    "no English catalogue": (lambda stage: os.unlink(stage.install + "/resource/cons.nls"), [
        "install/resource/cons.nls: error: the English catalogue is missing, and launches "
         "end with status 1 where there is no other: put the launcher's catalogue there"]),
    "no German catalogue": (lambda stage: os.unlink(stage.install + "/resource/cons_de.nls"), [
        "install/resource: note: 1 language of the launcher is not there, and messages are "
         "in English: cons_de.nls"]),
    "a missing key": (texts(S_EXIT_MSG=None), [
        "install/resource/cons.nls: warning: it lacks 1 key, whose messages are empty: "
         "S_EXIT_MSG; ship the catalogue of the launcher"]),
    "a key that is missing in German": (texts("cons_de.nls", S_EXIT_MSG=None), [
        "install/resource/cons_de.nls: note: it lacks 1 key, whose messages are in English: "
         "S_EXIT_MSG"]),
    "an unknown key": (texts(S_WHAT="what"), [
        "install/resource/cons.nls: warning: no launcher of this version looks up 1 key of "
         "it: S_WHAT; ship the catalogues of the launcher"]),
    "fewer placeholders than in English": (texts("cons_de.nls", S_EXIT_MSG="\nEnde.\n"), [
        "install/resource/cons_de.nls: warning: S_EXIT_MSG: the translation has 0 "
         "placeholders and the English text 1: correct the text"]),
    "a placeholder of another kind": (texts("cons_de.nls", S_EROPEN="%d"), [
        'install/resource/cons_de.nls: warning: S_EROPEN: placeholder 1 is of type "d" in '
         'the translation and of type "s" in the English text: correct the text']),
    "a directive that is none": (texts("cons_de.nls", S_WAITMSG="100 % da"), [
        "install/resource/cons_de.nls: warning: S_WAITMSG: the translation has 1 "
         "placeholders and the English text 0: correct the text"]),
    "a text that is too long": (longer_text, [
        "install/resource/cons_de.nls: warning: S_WAITMSG: the record has 1161 bytes, and a "
         "launch cuts it after 1023: shorten the text"]),
    "a text that is not UTF-8": (texts("cons_de.nls", S_WAITMSG=b"\xe4"), [
        "install/resource/cons_de.nls: warning: S_WAITMSG: the text is not UTF-8: compile it "
         "anew from a source in UTF-8"]),
    "a record without an equal sign": (appended(b"hello\0"), [
        'install/resource/cons.nls: warning: "hello": this record has no "=", and every '
         "launch warns of it: write KEY=text"]),
    "a record that is broken off": (appended(b"S_X=y"), [
        "install/resource/cons.nls: warning: the last record: it has no byte 0 at its end "
         "and is not read: the file is broken off; compile it anew"]),
    "a key given twice": (appended(b"S_WAITMSG=y\0"), [
        "install/resource/cons.nls: warning: S_WAITMSG: the key is there twice, and the "
         "first one counts: remove one"]),
    "a catalogue that is a directory": (
        lambda stage: (os.unlink(stage.install + "/resource/cons_de.nls"),
                       os.mkdir(stage.install + "/resource/cons_de.nls")), [
        "install/resource/cons_de.nls: warning: this catalogue cannot be read: it is no "
         "file; launches in this language are in English"]),
}

# ---- everything ----------------------------------------------------------

def with_unreadable(name, **keys):
    def change(stage):
        stage.ini(**keys)
        write_file(f"{stage.top}/{name}", "x", 0o000)
    return change


def leads_nowhere(key, location):
    return (lambda stage: stage.ini(**{key: location}), [
        f"install/talparam.ini:7: warning: {key} leads nowhere, and a launch copies nothing from "
        f"{location}: correct it, or remove the line"])


EVERYTHING = {
    "an access directory that is not there": leads_nowhere("ACCESS_DIR", "../access"),
    "an extension that is not there": leads_nowhere("EXT_LIB", "/nowhere"),
    "prerequisites that are not there": leads_nowhere("PREREQ_CONFIG_LOCATION", "../prereq"),
    "a runtime in the scratch directory that nothing brings": (
        lambda stage: stage.ini(JRE_SCRATCH_LOC="own"), [
        "install/talparam.ini:7: warning: JRE_SCRATCH_LOC has no effect: nothing lies there in the "
         "scratch directory when the runtime is looked for; list the component that brings it in "
         "BOOTSTRAP_COMPS, or remove the line"]),
    "a runtime in the scratch directory that a component brings": (
        lambda stage: (stage.component("my.runtime", "1", {"own/bin/java": program()}),
                       stage.ini(JRE_SCRATCH_LOC="own", BOOTSTRAP_COMPS="my.runtime:1," + LISTED)), []),
    "a runtime that is not listed": (
        lambda stage: stage.ini(BOOTSTRAP_COMPS=LISTED.replace(f",{JRE}:1.0", "")), [
        "install/talparam.ini:5: error: BOOTSTRAP_COMPS does not name talvex.swd.jre, so a launch does "
         "not unpack the runtime of JRE_LOCATION, and ends: add talvex.swd.jre to the list"]),
    "an access file that nobody can read": (
        with_unreadable("access/x", ACCESS_DIR="../access"), [
        "access/x: error: ordinary users cannot read this file: give it the mode 644"]),
    "a prerequisite file that nobody can read": (
        with_unreadable("prereq/x", PREREQ_CONFIG_LOCATION="../prereq"), [
        "prereq/x: error: ordinary users cannot read this file: give it the mode 644"]),
    "an extension that nobody can read": (
        with_unreadable("extra/x", EXT_LIB="../extra"), [
        "extra/x: warning: ordinary users cannot read this file: give it the mode 644"]),
    "an access file that is a link to nowhere": (
        lambda stage: (stage.ini(ACCESS_DIR="../access"), os.mkdir(stage.top + "/access"),
                       os.symlink("nowhere", stage.top + "/access/x")), [
        "access/x: error: this link leads nowhere (nowhere), and the launch that copies it ends: put "
        "what it should lead to in its place"]),
    "a file that others cannot read": (
        lambda stage: (write_file(stage.top + "/README", "x", 0o640)), [
        "README: warning: ordinary users cannot read this file: give it the mode 644"]),
    "a payload that others cannot read": (
        lambda stage: os.chmod(payload_of(stage, CORE), 0o600), [
        "stage/Components/talvex.swd.zul.core/1.0/1/DataFiles/talvex.swd.zul.core.jar: "
         "error: ordinary users cannot read this file: give it the mode 644"]),
    "a directory that others cannot search": (
        lambda stage: os.chmod(f"{stage.components}/{CORE}", 0o754), [
        "stage/Components/talvex.swd.zul.core: error: ordinary users cannot read this "
         "directory: give it the mode 755"]),
    "a parameter file that others cannot read": (lambda stage: os.chmod(stage.ini_path, 0o600), [
        "install/talparam.ini: error: ordinary users cannot read this file: give it the mode "
         "644"]),
    "a parameter file that nobody can read": (lambda stage: os.chmod(stage.ini_path, 0), [
        "install/talparam.ini: error: the parameter file cannot be read, so every setting "
         "has its default: Permission denied; put a readable file there",
        "install/talparam.ini: error: ordinary users cannot read this file: give it the mode "
         "644"]),
    "a directory that nobody can read": (
        lambda stage: os.makedirs(stage.top + "/closed", 0o000), [
        "closed: warning: ordinary users cannot read this directory: give it the mode 755",
        "closed: note: what lies in this directory was not checked: it cannot be read here"]),
    "a link out of the stage": (lambda stage: os.symlink("../..", stage.top + "/out"), [
        "out: warning: this link leads outside of the stage (../..): put what it should lead "
         "to in its place"]),
    "an absolute link": (lambda stage: os.symlink("/etc/passwd", stage.top + "/out"), [
        "out: warning: this link leads to an absolute path, which is another thing on other "
         "machines (/etc/passwd): put what it should lead to in its place"]),
    "a pipe": (lambda stage: os.mkfifo(stage.top + "/pipe"), [
        "pipe: warning: this is neither a file nor a directory nor a link: remove it"]),
    "another launcher": (
        lambda stage: write_file(stage.top + "/other/setupLauncher", program(), 0o755), [
        "other: note: another launcher lies here, which was not checked: name its directory "
         "to check it"]),
}

ALL = {f"{group}: {name}": case for group, cases in (
    ("program files", PROGRAMS), ("parameter file", PARAMETER_FILE), ("components", COMPONENTS),
    ("archives", ARCHIVES), ("prerequisites", PREREQUISITES), ("catalogues", CATALOGUES),
    ("everything", EVERYTHING)) for name, case in cases.items()}


@pytest.mark.parametrize("fault", ALL)
def test_a_stage_with_one_fault_has_just_its_finding(stage, fault):
    change, findings = ALL[fault]
    change(stage)
    assert_found(stage.check(), *findings)


def test_a_file_of_an_expanded_tree_stays_when_an_archive_brings_it_too(stage):
    content = jar_bytes({"x": "other"})
    path = write_file(stage.data_files(CORE) + "/Expanded/zul/jlib/TalInstaller.jar", content)
    stage.component(CORE, "1.0", {"zul/jlib/TalInstaller.jar": installer_files()["TalInstaller.jar"]})
    stage.check()
    assert read_file(path) == content
