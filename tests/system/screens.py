"""The screens of launches on which several messages stand together, as an
operator of each language sees them on a terminal of 80 columns.

tools/show-screens prints them; test_catalogue_screens.py reads them. They are
made by the launcher itself, so they cannot differ from what it shows.
"""

import os
import signal
import sys
import unicodedata

from harness import (INVENTORY, MOUNT_TABLE, OPERATOR_HOME, CleanRoot, Home, compile_locale,
                     read_catalogue, recorder_as_java, set_inventory, tool, write_file,
                     write_script)
from prereq_texts import (CERTIFIED, GENERIC, MACHINE, OPENWIN_XDPYINFO, OPTIONAL, PKGINFO, PSRINFO,
                          REQUIRED, SHOWREV, XDPYINFO, certified_host, has_display,
                          has_packages, has_patches, has_processors, has_swap, missing, prints)
from stage import CORE, JDK, JRE, ZUL, CopyHome, Stage, java_program

COLUMNS = 80

# The locale that speaks each language, and the name of its character set in Python.
LOCALES = {
    "en": ("C", "ascii"),
    "de": ("de_DE.UTF-8", "utf-8"),
    "es": ("es_MX.ISO-8859-1", "iso8859-1"),
    "fr": ("fr_CA.UTF-8", "utf-8"),
    "it": ("it_CH.ISO-8859-1", "iso8859-1"),
    "ja": ("ja_JP.UTF-8", "utf-8"),
    "ko": ("ko_KR.EUC-KR", "euc_kr"),
    "pt_BR": ("pt_BR.UTF-8", "utf-8"),
    "zh_CN": ("zh_CN.GB18030", "gb18030"),
    "zh_TW": ("zh_TW.BIG5", "big5"),
}

END_OF_INPUT = "\x04"
INTERRUPT = "\x03"

# Asked in English whatever the language.
UNCERTIFIED_QUESTION = "Do you want to continue? (y/n) [n]: "
UNZIP_QUESTION = "Continue? (y/n/^C) "


class Operator:
    """Somebody at a terminal who reads one language."""

    def __init__(self, language):
        locale, self.charset = LOCALES[language]
        self.variables = {"LC_ALL": "C"} if locale == "C" else compile_locale(locale)
        suffix = "" if language == "en" else "_" + language
        self.texts = read_catalogue(f"{tool('CATALOGUES')}/cons{suffix}.nls")

    @staticmethod
    def use_catalogues(place):
        place.use_shipped_catalogues()

    def sees(self, place, *arguments, answers=(), env=None, **more):
        """The screen of a launch; answers are (key of the question, or one that is
        no message, what is typed)."""
        self.use_catalogues(place)
        terminal = place.terminal(*arguments, env={**self.variables, **(env or {})}, **more)
        for question, answer in answers:
            text = self.texts.get(question, question)
            terminal.expect(text.rpartition("\n")[2].encode(self.charset))
            terminal.wait_until_it_reads()
            terminal.type(answer)
        return terminal.finish().stdout.decode(self.charset)


# ---- hosts and places -----------------------------------------------------

CHECKS = {"PACKAGES": "SUNWrcmds,SUNWlibC", "PROCESSOR": f"i86pc,{MACHINE}", "CPU": "2000",
          "TEMP_SPACE": "1", "SWAP_SPACE": "500", "MIN_DISPLAY_COLORS": "256",
          "PATCHES": "112233-05,118855-36"}
WRONG_PROCESSOR = {"PROCESSOR": "i86pc,sun4u"}


def good_host():
    has_packages("SUNWrcmds", "SUNWlibC")
    has_processors(2400)
    has_swap("1200k", "2048m")
    has_display(24)
    has_patches("112233-05", ("118999-02", "118855-36"))


def bad_host():
    has_packages("SUNWrcmds")
    has_processors(1000)
    has_swap("1200k", "100m")
    has_display(4)
    has_patches("112233-03", ("118999-02", "118855-20"))


def checked_home(*sections, host=bad_host):
    """A home that makes these checks on a certified release."""
    host()
    home = Home()
    certified_host(home, *sections)
    return home


def uncertified_home(**certified):
    home = Home()
    home.ini((CERTIFIED, {"Solaris": "5.10,5.11", **certified}), PLATFORM_PREREQS="TRUE")
    return home


def home_with(**keys):
    home = Home()
    home.ini(**keys)
    return home


def stage_with(**keys):
    stage = Stage()
    stage.ini(**keys)
    return stage


# ---- the situations -------------------------------------------------------

def checks_fail(operator):
    home = checked_home((GENERIC, {**CHECKS, **WRONG_PROCESSOR, "TEMP_SPACE": "1000000000"}))
    return operator.sees(home, answers=[("S_CONTINUE", "x\n"), ("S_CONTINUE", "n\n")])


def commands_tell_nothing(operator):
    home = checked_home((GENERIC, {"CPU": "2000", "MIN_DISPLAY_COLORS": "256"}))
    prints(PSRINFO, "nothing\n")
    prints(OPENWIN_XDPYINFO, "nothing\n")
    return operator.sees(home, "-noConsole")


def commands_are_missing(operator):
    home = checked_home((GENERIC, {"PACKAGES": "SUNWrcmds", "PATCHES": "112233-05", "CPU": "2000",
                                   "MIN_DISPLAY_COLORS": "256"}))
    for command in (SHOWREV, PKGINFO, PSRINFO, OPENWIN_XDPYINFO, XDPYINFO):
        missing(command)
    return operator.sees(home, "-noConsole")


def colours_beyond_counting(operator):
    home = checked_home((GENERIC, {"MIN_DISPLAY_COLORS": "256"}))
    has_display(33)
    return operator.sees(home)


def no_runtime_on_the_media(operator):
    stage = Stage()
    stage.remove(JRE)
    return operator.sees(stage)


def no_kit_on_the_media(operator):
    stage = Stage()
    stage.remove(JRE)
    stage.component(JDK, "1", {"jdk/bin/java": b""})
    return operator.sees(stage)


def empty_runtime_on_the_media(operator):
    stage = Stage()
    stage.component(JRE, "1.0", {"jre/": b""})
    return operator.sees(stage)


def prompt(operator, kind, answer, **keys):
    """A wrong answer to the question for a runtime of this kind, then this one."""
    return operator.sees(stage_with(JRE_LOCATION=None, **keys),
                         answers=[(f"S_SPECIFY_{kind}_LOCATION", "/nowhere\n"),
                                  (f"S_SPECIFY_VALID_{kind}_LOCATION", answer)])


def no_parameter_file(operator):
    home = Home()
    os.unlink(home.ini_path)
    return operator.sees(home, "-silent")


def unreadable_parameter_file(operator):
    home = Home()
    os.chmod(home.ini_path, 0)
    return operator.sees(home, "-silent")


def inventory_at(operator, location):
    pointer = write_file(OPERATOR_HOME + "/inventory.loc", f"inventory_loc={location}\n")
    return operator.sees(Home(), "-silent", "-invPtrLoc", pointer)


def inventory_of_somebody_else(operator):
    home = Home()
    set_inventory()
    os.chmod(INVENTORY, 0o500)
    return operator.sees(home, "-silent")


def launch_from_a_cd(operator):
    os.makedirs("/cdrom/x")
    write_file(MOUNT_TABLE, "/dev/dsk/c1t0d0s0 /cdrom/cdrom0 hsfs ro,dev=1 1383668431\n")
    return operator.sees(home_with(MULTICD="TRUE"), "-silent", cwd="/cdrom/x")


def home_of_another_kind(operator, **keys):
    home = home_with(**keys)
    if "USEJDKONLY" in keys:
        write_file(home.jre + "/lib/rt.jar")
    return operator.sees(home, "-silent", "-jreLoc", home.jre)


# ---- what cannot be started

JAVA_HOME = OPERATOR_HOME + "/java"
JAVA = JAVA_HOME + "/bin/java"


def started_with(operator, java_home=JAVA_HOME):
    return operator.sees(Home(), "-silent", "-jreLoc", java_home)


def java_that_is(operator, content):
    write_file(JAVA, content, 0o755)
    return started_with(operator)


def java_is_a_directory(operator):
    os.makedirs(JAVA)
    return started_with(operator)


def java_is_not_executable(operator):
    """The launcher helps where it may; here the file system is read-only."""
    os.makedirs(JAVA_HOME + "/bin")
    os.symlink("/readonly/file", JAVA)
    return started_with(operator)


def java_is_being_written(operator):
    write_file(JAVA, java_program(), 0o755)
    with open(JAVA, "r+b"):
        return started_with(operator)


def java_on_a_file_system_without_programs(operator):
    write_file("/noexec/java/bin/java", java_program(), 0o755)
    return started_with(operator, "/noexec/java")


def no_more_processes(operator):
    home = Home()
    home.launcher = write_script(home.dir + "/caller",
                                 f'exec prlimit --nproc=0:0 {home.launcher} "$@"\n')
    return operator.sees(home, "-silent")


# ---- what cannot be written

def no_inode_for_the_temporary_directory(operator):
    for number in range(os.statvfs("/fewfiles").f_favail):
        write_file(f"/fewfiles/file{number}")
    return operator.sees(Home(), "-silent", "-scratchPath", "/fewfiles/one/two/three")


def no_room_to_unpack(operator, component=ZUL):
    stage = stage_with(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=component)
    stage.component(component, "1.7.0.0.0", {"zul/large": os.urandom(3 << 20)})
    return operator.sees(stage, "-silent", env={"TEMP": "/small"},
                         answers=[(UNZIP_QUESTION, "n\n")])


def no_room_to_copy(operator):
    home = CopyHome()
    home.ini(BOOTSTRAP_SIZE="0")
    write_file(home.trees + "/zul/large", bytes(3 << 20))
    return operator.sees(home, "-silent", env={"TEMP": "/small"})


def links_out_of_a_given_scratch_directory(operator):
    given = OPERATOR_HOME + "/given"
    os.mkdir(given)
    os.symlink("/readonly/file", given + "/file")
    os.symlink("/nowhere", given + "/lost")
    return operator.sees(Stage(), "-silent", "-rscratchPath", given)


# ---- what goes on without something, and what is ended

def broken_core(operator):
    stage = Stage()
    write_file(f"{stage.data_files(CORE, '1.7.0.0.0')}/{CORE}.jar", "no archive")
    return operator.sees(stage, "-silent")


def pipe_in_a_copied_tree(operator):
    home = CopyHome()
    os.mkfifo(home.trees + "/zul/pipe")
    return operator.sees(home, "-silent")


def killed_command(operator):
    home = checked_home((GENERIC, {"PACKAGES": "SUNWrcmds"}))
    write_script(PKGINFO, "kill -KILL $$\n")
    return operator.sees(home, "-silent")


NO_DISPLAY = "no display"

# (title, what makes the screen for an operator)
SITUATIONS = [
    (NO_DISPLAY, lambda operator: operator.sees(Home(), env={"DISPLAY": None})),

    ("prerequisites: every check passes", lambda operator: operator.sees(checked_home(
        (GENERIC, CHECKS), (REQUIRED, {"PATCHES": "112233-05"}),
        (OPTIONAL, {"PACKAGES": "SUNWlibC"}), host=good_host))),
    ("prerequisites: checks fail; an answer that is none, then no", checks_fail),
    ("prerequisites: a required check fails; yes", lambda operator: operator.sees(
        checked_home((REQUIRED, {**WRONG_PROCESSOR, "PROCESSOR_FAILURE_MESSAGE":
                                 "<a text of the parameter file>"})),
        answers=[("S_CONTINUE", "y\n")])),
    ("prerequisites: an optional check fails; no", lambda operator: operator.sees(
        checked_home((OPTIONAL, {"PACKAGES": "SUNWlibC"})), answers=[("S_CONTINUE", "n\n")])),
    ("prerequisites: recommended patches are missing; yes", lambda operator: operator.sees(
        checked_home((OPTIONAL, {"PATCHES": "112233-05,118855-36,119999-01"})),
        answers=[("S_CONTINUE", "y\n")])),
    ("prerequisites: failures with -ignoreSysPrereqs", lambda operator: operator.sees(
        checked_home((REQUIRED, WRONG_PROCESSOR), (OPTIONAL, {"PATCHES": "119999-01"})),
        "-ignoreSysPrereqs")),
    ("prerequisites: missing recommended patches with -ignoreSysPrereqs",
     lambda operator: operator.sees(checked_home((OPTIONAL, {"PATCHES": "119999-01"})),
                                    "-ignoreSysPrereqs")),
    ("prerequisites: a failure with -silent", lambda operator: operator.sees(
        checked_home((GENERIC, WRONG_PROCESSOR)), "-silent")),
    ("prerequisites: only the checks", lambda operator: operator.sees(
        checked_home((GENERIC, {"PROCESSOR": MACHINE})), "-executeSysPrereqs")),
    ("prerequisites: commands tell nothing", commands_tell_nothing),
    ("prerequisites: commands are missing", commands_are_missing),
    ("prerequisites: colors beyond counting", colours_beyond_counting),
    ("prerequisites: no certified releases", lambda operator: operator.sees(
        home_with(PLATFORM_PREREQS="TRUE"))),
    ("prerequisites: this release is not certified", lambda operator: operator.sees(
        uncertified_home())),
    ("prerequisites: this release is not certified; yes", lambda operator: operator.sees(
        uncertified_home(CERTIFIED_VERSION_WARN="TRUE"), answers=[(UNCERTIFIED_QUESTION, "y\n")])),

    ("bootstrap, and a wrong UMASK", lambda operator: operator.sees(stage_with(UMASK="088"))),
    ("bootstrap alone", lambda operator: operator.sees(
        Stage(), "-bootstrapOnly", f"BOOTSTRAP_LOC={OPERATOR_HOME}/unpacked")),
    ("bootstrap of an impossible size", lambda operator: operator.sees(
        stage_with(BOOTSTRAP_SIZE="-1"))),
    ("bootstrap of a component that is not there", lambda operator: operator.sees(
        stage_with(BOOTSTRAP_COMPS=f"{ZUL},no.such"))),
    ("bootstrap without a runtime", no_runtime_on_the_media),
    ("bootstrap with a development kit that has none", no_kit_on_the_media),
    ("bootstrap of an empty runtime", empty_runtime_on_the_media),

    ("question for a Java runtime", lambda operator: prompt(
        operator, "JRE", recorder_as_java(OPERATOR_HOME + "/java") + "\n")),
    ("question for a Java runtime: Control-D", lambda operator: prompt(
        operator, "JRE", END_OF_INPUT)),
    ("question for a Java runtime: Control-C", lambda operator: prompt(
        operator, "JRE", INTERRUPT)),
    ("question for a JRE", lambda operator: prompt(
        operator, "JRE_ONLY", END_OF_INPUT, USEJREONLY="TRUE")),
    ("question for a JDK", lambda operator: prompt(
        operator, "JDK_ONLY", END_OF_INPUT, USEJDKONLY="TRUE")),
    ("question for a Java runtime that is not to be asked", lambda operator: operator.sees(
        stage_with(JRE_LOCATION=None, DISABLE_JRE_PROMPT="TRUE"))),

    ("failed start: no parameter file", no_parameter_file),
    ("start with another parameter file than the one named", lambda operator: operator.sees(
        Home(), "-silent", "-paramFile", "/nowhere/my.ini")),
    ("start with a parameter file that cannot be read", unreadable_parameter_file),
    ("failed start: wrong -invPtrLoc", lambda operator: operator.sees(Home(), "-invPtrLocX", "/a")),
    ("failed start: relative inventory", lambda operator: inventory_at(operator, "inventory")),
    ("failed start: inventory with odd characters", lambda operator: inventory_at(
        operator, OPERATOR_HOME + "/a*b")),
    ("failed start: inventory of somebody else", inventory_of_somebody_else),
    ("failed start: temporary directory that is not writable", lambda operator: operator.sees(
        Home(), "-silent", env={"TEMP": "/readonly"})),
    ("failed start: scratch directory that cannot be created", lambda operator: operator.sees(
        Home(), "-silent", "-timestamp", "no/such/parent")),
    ("failed start: operation for an installed home", lambda operator: operator.sees(
        Stage(), "-silent", "-detachHome", "HOME=/x")),
    ("failed start: Prerequisite Checker without configuration", lambda operator: operator.sees(
        Home(), "-prereqChecker", "-silent")),
    ("failed start: Prerequisite Checker, wrong configuration", lambda operator: operator.sees(
        Home(), "-prereqChecker", "-silent", "PREREQ_CONFIG_LOCATION=/nowhere")),
    ("failed start: from a CD that has to be changed", launch_from_a_cd),
    ("failed start: no Java program", lambda operator: operator.sees(
        home_with(JRE_LOCATION="/nowhere/jre"), "-silent")),
    ("failed start: Java home that is none of a JRE", lambda operator: home_of_another_kind(
        operator, USEJREONLY="TRUE")),
    ("failed start: Java home that is none of a JDK", lambda operator: home_of_another_kind(
        operator, USEJDKONLY="TRUE")),
    ("failed start: Java program that is a directory", java_is_a_directory),
    ("failed start: Java program that is not executable", java_is_not_executable),
    ("failed start: Java program that is none", lambda operator: java_that_is(operator, b"")),
    ("failed start: script with a carriage return", lambda operator: java_that_is(
        operator, b"#!/bin/sh\r\nexit 0\r\n")),
    ("failed start: script without its interpreter", lambda operator: java_that_is(
        operator, b"#!/no/such/shell\n")),
    ("failed start: script that is its own interpreter", lambda operator: java_that_is(
        operator, f"#!{JAVA}\n")),
    ("failed start: Java program that is being written", java_is_being_written),
    ("failed start: file system without programs", java_on_a_file_system_without_programs),
    ("failed start: arguments that are too long", lambda operator: operator.sees(
        home_with(JRE_MEMORY_OPTIONS="-X" + "y" * 150_000), "-silent")),
    ("failed start: no more processes", no_more_processes),
    ("bootstrap to a file system without programs", lambda operator: operator.sees(
        Stage(), "-silent", env={"TEMP": "/noexec"})),

    ("failed start: no inode for the temporary directory", no_inode_for_the_temporary_directory),
    ("bootstrap that needs more than there is", lambda operator: operator.sees(
        stage_with(BOOTSTRAP_SIZE="3"), "-silent", env={"TEMP": "/small"})),
    ("bootstrap that fills a volume: unpacking", no_room_to_unpack),
    ("bootstrap that fills a volume: copying", no_room_to_copy),
    ("bootstrap that fills a volume: a component that is not needed",
     lambda operator: no_room_to_unpack(operator, CORE)),
    ("bootstrap to a file system that refuses writes", lambda operator: operator.sees(
        stage_with(BOOTSTRAP_SIZE="0", BOOTSTRAP_COMPS=ZUL), "-silent", "-rscratchPath",
        "/readonly")),
    ("bootstrap to a directory with links that lead out of it",
     links_out_of_a_given_scratch_directory),
    ("bootstrap with a broken core", broken_core),
    ("bootstrap of a tree with a pipe", pipe_in_a_copied_tree),

    ("prerequisites: a command that a signal ends", killed_command),
    ("an installer that a signal ends", lambda operator: operator.sees(
        Home(), "-silent", java={"signal": 9})),
    ("start with -debug and a path that leads nowhere", lambda operator: operator.sees(
        Home(), "-debug", "-prereqChecker", "-silent", "PREREQ_CONFIG_LOCATION=/nowhere")),
    ("start with -debug", lambda operator: operator.sees(Home(), "-silent", "-debug")),
]


# ---- columns --------------------------------------------------------------

def width(text):
    """The columns that a text takes on a terminal."""
    return sum(2 if unicodedata.east_asian_width(character) in "WF" else 1 for character in text)


def wrapped(line):
    """A line as the terminal breaks it."""
    lines = [""]
    for character in line:
        if width(lines[-1] + character) > COLUMNS:
            lines.append("")
        lines[-1] += character
    return lines


def all_screens(operator, clean_root):
    """(title, screen) of every situation, each in a root as new."""
    for title, situation in SITUATIONS:
        clean_root.restore()
        os.chdir(OPERATOR_HOME)
        yield title, situation(operator)
    clean_root.restore()


def show(title, screen):
    print(f"==== {title} ".ljust(COLUMNS, "="))
    for line in screen.split("\n"):
        print("\n".join(wrapped(line)))


def main(arguments):
    if len(arguments) != 1 or arguments[0] not in LOCALES:
        print(f"usage: show-screens LANGUAGE    one of {' '.join(LOCALES)}", file=sys.stderr)
        return 2
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # a pager may be left early
    sys.stdout.reconfigure(encoding="utf-8")
    for title, screen in all_screens(Operator(arguments[0]), CleanRoot()):
        show(title, screen)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
