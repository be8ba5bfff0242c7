"""Stages and homes without any fault, and what check-stage says of them."""

import glob
import os
import re
import resource
import shutil
import stat
import struct
import subprocess
import zipfile

import pytest

from harness import (KELVANE, OPERATOR_HOME, assert_no_sanitizer_report, assert_same, ini_text,
                     read_file, sanitizer_environment, tool, write_file)
from stage import CORE, JRE, TESSEL, ZUL

MEDIA = OPERATOR_HOME + "/media"
CLEAN = ["0 errors, 0 warnings, 0 notes"]
INSTALLER_CLASS = "talvex/admkit/kst/kstc/KstcInstaller.class"
ONE_CLICK_CLASS = "talvex/admkit/kon/konc/KoncOneClickInstaller.class"
SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                      "../../c/setupLauncher/installer_command.cpp")


def program(machine=62, bits=64, abi=3):
    """A program file that says for which machine and system it is."""
    head = b"\x7fELF" + bytes([2 if bits == 64 else 1, 1, 1, abi]) + bytes(8)
    if bits == 64:
        return head + struct.pack("<HHIQQQIHHHHHH", 2, machine, 1, 0, 0, 0, 0, 64, 56, 0, 0, 0, 0)
    return head + struct.pack("<HHIIIIIHHHHHH", 2, machine, 1, 0, 0, 0, 0, 52, 32, 0, 0, 0, 0)


def jar_bytes(files):
    """An archive with the given {name: content}, the same bytes each time."""
    path = OPERATOR_HOME + "/.jar"
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as jar:
        for name, content in files.items():
            entry = zipfile.ZipInfo(name, (2024, 1, 31, 9, 5, 16))
            entry.external_attr = 0o100644 << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            jar.writestr(entry, content)
    content = read_file(path)
    os.unlink(path)
    return content


def class_path_jars():
    """{place: [jar]} of the launcher's own table."""
    places = {}
    for place, jar in re.findall(r'\{Jars::(\w+), "([^"]+)"\}', read_file(SOURCE).decode()):
        places.setdefault(place, []).append(jar)
    assert sum(map(len, places.values())) > 40
    return places


def installer_files():
    """What zul/jlib of a complete installer holds."""
    jars = class_path_jars()
    files = {name: jar_bytes({f"x/{name}.class": "x"})
             for name in jars["back_end"] + jars["front_end"]}
    files["TalInstaller.jar"] = jar_bytes({INSTALLER_CLASS: "x", ONE_CLICK_CLASS: "x"})
    return files


def patch_tool_files():
    return {name: jar_bytes({f"x/{name}.class": "x"}) for name in class_path_jars()["patch_tool"]}


class Checked:
    """Something that check-stage is called with."""

    DEFAULTS = {}
    top = ini_path = None

    def lay_out_launcher(self, directory):
        write_file(directory + "/setupLauncher", program(), 0o755)
        write_file(directory + "/unzip", program(), 0o755)
        os.makedirs(directory + "/resource")
        for path in glob.glob(tool("CATALOGUES") + "/*.nls"):
            shutil.copy(path, directory + "/resource")
        self.ini_path = directory + "/talparam.ini"
        self.ini()

    def ini(self, *sections, **keys):
        write_file(self.ini_path, ini_text(*sections, **{**self.DEFAULTS, **keys}))

    def ini_raw(self, text):
        write_file(self.ini_path, text)

    def check(self, *arguments, directory=None, status=None, **options):
        """The lines that check-stage prints."""
        return check(directory or self.top, *arguments, status=status, **options)


class CleanStage(Checked):
    """A stage without a fault: its launches would bring every jar of the class path."""

    DEFAULTS = {"DISTRIBUTION": "TRUE", "MULTICD": "FALSE", "BOOTSTRAP_SIZE": "69",
                "BOOTSTRAP_COMPS": f"{ZUL}:1.0,{CORE}:1.0,{TESSEL}:1.0,{JRE}:1.0",
                "JRE_LOCATION": f"../stage/Components/{JRE}/1.0/1/DataFiles"}

    def __init__(self, top=MEDIA):
        self.top = top
        self.install = top + "/install"
        self.components = top + "/stage/Components"
        self.lay_out_launcher(self.install)
        self.component(JRE, "1.0", {"jre/1.0/bin/java": program()})
        self.component(ZUL, "1.0", {f"zul/jlib/{name}": content
                                    for name, content in installer_files().items()})
        self.component(CORE, "1.0", {"zul/lib/README": "x"})
        self.component(TESSEL, "1.0", {f"Tessel/jlib/{name}": content
                                       for name, content in patch_tool_files().items()})

    def data_files(self, name, version="1.0"):
        return f"{self.components}/{name}/{version}/1/DataFiles"

    def component(self, name, version, files):
        return write_file(f"{self.data_files(name, version)}/{name}.jar", jar_bytes(files))


class CleanHome(Checked):
    """An installed home without a fault."""

    DEFAULTS = {"DISTRIBUTION": "FALSE", "BOOTSTRAP": "FALSE", "MULTICD": "FALSE",
                "JRE_LOCATION": "../../jdk/jre"}

    def __init__(self, top=KELVANE):
        self.top = top
        self.bin = top + "/talui/bin"
        self.lay_out_launcher(self.bin)
        for name, content in {**installer_files(), **patch_tool_files()}.items():
            write_file(f"{top}/talui/jlib/{name}", content)
        # Without a component of its own the patch tool is looked for beside the launcher.
        for name, content in patch_tool_files().items():
            write_file(f"{self.bin}/jlib/{name}", content)
        write_file(top + "/jdk/jre/bin/java", program(), 0o755)


def fixture_of(name, kind):
    """A fixture that is a stage or home of that kind, without a fault."""
    @pytest.fixture(name=name)
    def fixture_place(root_as_new):
        del root_as_new
        return kind()
    return fixture_place


def everything_of(top):
    """Names, kinds, modes and all times of a tree, read without changing them. Only a link's time of
    access is left out: no system lets anybody follow a link without noting it."""
    info = os.lstat(top)
    is_link = stat.S_ISLNK(info.st_mode)
    found = {top: (info.st_mode, info.st_size, 0 if is_link else info.st_atime_ns, info.st_mtime_ns,
                   info.st_ctime_ns, info.st_nlink, info.st_ino)}
    if stat.S_ISDIR(info.st_mode) and os.access(top, os.R_OK | os.X_OK):
        directory = os.open(top, os.O_RDONLY | os.O_DIRECTORY | os.O_NOATIME)
        for name in os.listdir(directory):
            found.update(everything_of(f"{top}/{name}"))
        os.close(directory)
    return found


def make_old(top):
    """Gives everything times at which a file system would note the next reading."""
    for directory, _, files in os.walk(top, topdown=False):
        for path in [f"{directory}/{name}" for name in files] + [directory]:
            if not os.path.islink(path) and os.access(path, os.R_OK):
                os.utime(path, (1_000_000_000, 1_600_000_000))


def env_changed(environment, changes):
    """An environment given whole counts as it is; else its variables are added."""
    return changes if changes and "PATH" in changes else {**environment, **(changes or {})}


def run_check(*arguments, cwd=OPERATOR_HOME, env=None, **options):
    checker = tool("CHECK_STAGE")
    environment = {"PATH": "/usr/bin:/bin", "LANG": "C", "DISPLAY": "operator:0", "TEMP": "/tmp",
                   **sanitizer_environment(checker)}
    environment = env_changed(environment, env)
    done = subprocess.run([checker, *arguments], cwd=cwd, env=environment, capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=60, check=False, **options)
    assert_no_sanitizer_report(done.stdout, done.stderr)
    return done


def no_file_above(size):
    """Options of run_check with which no file gets larger, as on a full disk."""
    return {"restore_signals": False,  # Python ignores the signal that would end the checker
            "preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))}


def check(directory, *arguments, plan=False, status=None, cwd=OPERATOR_HOME, env=None,
          looked_at=None):
    """The lines that check-stage prints for a directory, which it has to leave as it was."""
    looked_at = looked_at or os.path.join(cwd, directory)
    before, temporary = everything_of(looked_at), sorted(os.listdir("/tmp"))
    done = run_check(*(["--plan"] if plan else []), directory, *arguments, cwd=cwd, env=env)
    after = everything_of(looked_at)
    assert after == before, [(path, before.get(path), after.get(path))
                             for path in before.keys() | after.keys()
                             if before.get(path) != after.get(path)]
    assert sorted(os.listdir("/tmp")) == temporary, "something was left behind"
    assert done.stderr == b""
    lines = done.stdout.decode().splitlines()
    counts = next(line for line in lines if re.fullmatch(r"\d+ errors?, \d+ warnings?, \d+ notes?", line))
    expected = 0 if counts.startswith("0 errors") else 1
    assert done.returncode == (expected if status is None else status), lines
    return lines


def assert_found(lines, *findings):
    """The findings and their counts are all that was said; order counts."""
    grades = [sum(1 for line in findings if f": {grade}: " in line)
              for grade in ("error", "warning", "note")]
    counts = ", ".join(f"{number} {grade}" + ("" if number == 1 else "s")
                       for number, grade in zip(grades, ("error", "warning", "note")))
    assert_same(lines, [*findings, counts], "what check-stage says")


# The checkout may lie there.
TMP_BEFORE = set(os.listdir("/tmp"))


def made_in_tmp():
    """What has come to lie in /tmp since the tests began."""
    return sorted(set(os.listdir("/tmp")) - TMP_BEFORE)
