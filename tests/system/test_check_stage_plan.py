"""check-stage --plan: what it says a launch would do is what the launch then does."""

import os
import re
import resource
import shutil
import subprocess

import pytest

from archives import Entry, archive_bytes, link
from checked import (CleanStage, check, everything_of, made_in_tmp, no_file_above,
                     run_check)
from harness import (INVENTORY, MOUNT_TABLE, OPERATOR_HOME, POINTER_FILE, TIME_STAMP, Home, assert_same,
                     read_file, set_inventory, tool, write_file)
from stage import COMPONENTS, CORE, JDK, JRE, MINIMAL, TESSEL, ZUL, CopyHome, Stage, java_program

ESCAPE = re.compile(r"\\(n|t|\\|x[0-9a-f]{2})")


def unescaped(text):
    def byte(found):
        what = found.group(1)
        return {"n": "\n", "t": "\t", "\\": "\\"}.get(what) or os.fsdecode(bytes([int(what[1:], 16)]))
    return ESCAPE.sub(byte, text)


def without_time(text):
    return TIME_STAMP.sub("{TIMESTAMP}", text)


class Plan:
    """What check-stage --plan says behind its findings."""

    def __init__(self, place, *arguments, cwd=None, env=None, directory=None):
        lines = check(directory or place.dir, *arguments, plan=True, cwd=cwd or place.dir,
                      env=place.environment(env), looked_at=place.top)
        first = next(at for at, line in enumerate(lines) if line.startswith("plan of "))
        self.lines = lines[first:]

    def below(self, headline):
        """The lines between a headline that begins so and the next blank line."""
        starts = [at for at, line in enumerate(self.lines) if line.startswith(headline)]
        assert starts, "\n".join(self.lines)
        lines = self.lines[starts[0] + 1:]
        return lines[:lines.index("")] if "" in lines else lines

    @property
    def command(self):
        lines = self.below("  command of ")
        counted = int(next(line for line in self.lines if "command of" in line).split()[2])
        command = [unescaped(line[4:]) for line in lines if line.startswith("    ")]
        assert len(command) == counted
        return command

    @property
    def waits(self):
        return any(line.endswith("the launcher waits for it; its status is the launch's")
                   for line in self.lines)

    @property
    def end(self):
        """(where, status, message) of a launch that ends before java."""
        line = next(line for line in self.lines if line.startswith("The launch ends "))
        where, status = re.fullmatch(r"The launch ends (.*), with status (\d+):", line).groups()
        message = [unescaped(text[4:]) for text in self.below("The launch ends ")
                   if text.startswith("  | ")]
        return where, int(status), message

    def setting(self, key):
        return next(line for line in self.lines if line.startswith(f"  {key}="))[2:]


def home(change=None, **keys):
    def make():
        place = Home()
        place.ini(**keys)
        if change:
            change(place)
        return place
    return make


def copy_home(change=None, **keys):
    def make():
        place = CopyHome()
        place.ini(**keys)
        if change:
            change(place)
        return place
    return make


def stage(change=None, **keys):
    def make():
        place = Stage()
        place.ini(**keys)
        if change:
            change(place)
        return place
    return make


def with_prereq(place):
    write_file(place.top + "/prereq/rules.xml", "x")


def spoil(path):
    """Gives the first entry of an archive another checksum."""
    content = bytearray(read_file(path))
    content[14] ^= 1
    content[content.index(b"PK\x01\x02") + 16] ^= 1
    write_file(path, bytes(content))


def with_kit(place):
    place.remove(JRE)
    place.component(JDK, "1.0", {"jdk/bin/java": java_program(), "jre/x": b"x"})


def with_extension(place):
    write_file(place.top + "/extra/a.jar", "x")


LAUNCHES = {
    "a home": (home(), []),
    "a silent home": (home(), ["-silent"]),
    "a home with options of the JVM": (
        home(JRE_MEMORY_OPTIONS="-Xmx64m -Xms8m", JRE_BOOT_OPTIONS="-Xshare:off", JRE_OSDPARAM="-d64"), []),
    "options of the JVM replaced": (
        home(JRE_MEMORY_OPTIONS="-Xmx64m", JRE_BOOT_OPTIONS="-Xshare:off"),
        ["-J-mx32m", "-J-Xbootclasspath/a:x", "JVM_OPTIONS=-Da=b -Dc=d", "-memory"]),
    "a home with a source": (home(SOURCE="../stage/products.xml"), []),
    "a home with a source on the web": (home(SOURCE="http://host/products.xml"), []),
    "a home whose arguments are odd": (
        home(), ["a b", "c\nd", "e\\f", "\u00e4", b"\xff", "*", "", "-silent"]),
    "a home with another runtime": (home(), ["-jreLoc", "../../jdk/jre"]),
    "a home with copy threads and NLS": (home(COPY_THREADS="4", NLS_ENABLED="FALSE"), []),
    "a home with added jars": (home(ADDTO_CLASSPATH="a.jar:b.jar"), []),
    "an attached home": (home(), ["-attachHome", "HOME=/x"]),
    "a detached home": (home(), ["-detachHome"]),
    "an added node": (home(), ["-addNode", "x"]),
    "a clean-up": (home(), ["-cleanup"]),
    "a one-click launch": (home(INSTALL_ONECLICK_CLASS="my.OneClick"), ["-oneclick"]),
    "a silent one-click launch": (home(), ["-oneclick", "-silent"]),
    "help": (home(), ["-help"]),
    "a cluster": (home(), ["-bigCluster", "-bigCluster"]),
    "what a parent launcher hands on": (
        home(), ["-rtimestamp", "now", "-rscratchPath", "/tmp/given", "-rstartupLoc", "/start"]),
    "a time stamp": (home(), ["-timestamp", "then"]),
    "another scratch directory": (home(), ["-scratchPath", "/var/tmp"]),
    "an inventory of the command line": (home(), [f"INVENTORY_LOCATION={INVENTORY}"]),
    "a prerequisite session": (
        home(with_prereq), ["-prereqChecker", "PREREQ_CONFIG_LOCATION=../../prereq"]),
    "prerequisites from a file's place": (
        home(with_prereq, PREREQ_CONFIG_LOCATION="/x"), ["FROM_LOCATION=../../products.xml"]),
    "a home with another parameter file": (
        home(lambda place: place.ini(COPY_THREADS="7", path=place.top + "/other.ini")),
        ["-paramFile", "../../other.ini"]),
    "a parameter file above": (
        home(lambda place: os.rename(place.ini_path, place.top + "/talui/talparam.ini")), []),
    "a home that copies": (copy_home(), []),
    "a home that copies with extensions": (
        copy_home(with_extension, EXT_JLIB="../../extra", EXT_LIB="../../extra"), []),
    "a home that copies with prerequisites": (
        copy_home(with_prereq, PREREQ_CONFIG_LOCATION="../../prereq"), []),
    "a stage": (stage(), []),
    "a silent stage": (stage(), ["-silent", "A=b"]),
    "a stage with a list": (stage(BOOTSTRAP_COMPS=f"{ZUL},{CORE}:1.7.0.0.0,{TESSEL},{JRE}"), []),
    "a stage without its patch tool": (stage(BOOTSTRAP_COMPS=f"{ZUL},{CORE},{JRE}"), []),
    "a stage without its core": (
        stage(lambda place: place.remove(CORE), BOOTSTRAP_COMPS=f"{ZUL},{CORE},{TESSEL},{JRE}"), []),
    "a stage whose core is broken": (
        stage(lambda place: write_file(place.data_files(CORE, "1.7.0.0.0") + f"/{CORE}.jar", "x")), []),
    "a stage whose core has a wrong checksum": (
        stage(lambda place: spoil(place.data_files(CORE, "1.7.0.0.0") + f"/{CORE}.jar")), []),
    "a stage whose core has no archive": (
        stage(lambda place: os.unlink(place.data_files(CORE, "1.7.0.0.0") + f"/{CORE}.jar")), []),
    "a stage with a name that only looks like a drive": (
        stage(lambda place: with_installer(Entry(b"1:/x", b"x"))(place)), []),
    "a stage without minimal core": (stage(lambda place: place.remove(MINIMAL)), []),
    "a stage with two versions": (
        stage(lambda place: place.component(ZUL, "1.10", {"zul/jlib/new.jar": b"x"}),
              BOOTSTRAP_COMPS=f"{ZUL},{CORE},{TESSEL},{JRE}"), []),
    "a stage with a kit": (
        stage(with_kit, JRE_LOCATION="../nowhere"), []),
    "a stage with a runtime given beforehand": (
        stage(lambda place: place.component("my.runtime", "1", {"own/bin/java": java_program()}),
              BOOTSTRAP_COMPS=f"my.runtime:1,{ZUL},{CORE},{TESSEL},{JRE}", JRE_SCRATCH_LOC="own"), []),
    "a stage with access files and images": (
        stage(lambda place: (write_file(place.dir + "/images/a.gif", "x"),
                             write_file(place.top + "/access/zul/x", "x")),
              ACCESS_DIR="../access"), []),
    "a stage with an extension": (stage(with_extension, EXT_JLIB="../extra"), []),
    "a stage with added jars": (stage(ADDTO_CLASSPATH="zul/jlib/zul.jar"), []),
    "a stage without waiting": (stage(WAIT_FOR_COMPLETION=None), []),
    "a stage with waiting": (stage(WAIT_FOR_COMPLETION=None), ["-waitForCompletion"]),
    "a stage with prerequisites beside its products": (
        stage(lambda place: write_file(place.top + "/stage/prereq/x", "x")),
        ["FROM_LOCATION=../stage/products.xml"]),
    "a stage on a runtime of the operator's": (
        stage(lambda place: write_file(OPERATOR_HOME + "/java/bin/java", java_program(), 0o755)),
        ["-jreLoc", OPERATOR_HOME + "/java"]),
}


@pytest.mark.parametrize("what", LAUNCHES)
def test_the_command_of_the_plan_is_the_one_that_java_is_started_with(root_as_new, what):
    del root_as_new
    set_inventory()
    make, arguments = LAUNCHES[what]
    place = make()
    plan = Plan(place, *arguments)
    launch = place.launch(*arguments, java={"exit": 7})
    assert launch.record is not None, launch
    assert_same([without_time(argument) for argument in plan.command],
                [without_time(argument) for argument in launch.record.argv], "the command")
    launch.assert_status(7 if plan.waits else 0)
    place.end()


def present_and_missing(plan):
    marked = [line.split(None, 1) for line in plan.below("class path:")]
    return {without_time(path): mark for mark, path in marked}


@pytest.mark.parametrize("what", ["a home", "a stage", "a stage with an extension", "a home that copies",
                                  "a stage with added jars", "a stage without minimal core"])
def test_what_the_plan_marks_present_on_the_class_path_is_there_when_java_starts(root_as_new, what):
    del root_as_new
    make, arguments = LAUNCHES[what]
    place = make()
    marks = present_and_missing(Plan(place, *arguments))
    launch = place.launch(*arguments, "-noCleanupOnExit")
    for entry in filter(None, launch.record.class_path):
        path = os.path.join(launch.record.cwd, entry)
        assert marks[without_time(entry)] == ("present" if os.path.exists(path) else "missing"), entry
    assert "present" in marks.values()
    place.end()


@pytest.mark.parametrize("what", ["a stage", "a stage with access files and images",
                                  "a home that copies with extensions"])
def test_the_plan_counts_the_files_that_arrive(root_as_new, what):
    del root_as_new
    set_inventory()
    make, arguments = LAUNCHES[what]
    place = make()
    plan = Plan(place, *arguments)
    launch = place.launch(*arguments)
    arrived = [name for name, entry in launch.record.tree.items() if entry[0] == "file"]
    line = next(line for line in plan.lines if line.startswith("  in all "))
    assert int(line.split()[2]) == len(arrived), (line, arrived)
    place.end()


# ---- launches that end before java ---------------------------------------


def unwritable_base(place):
    del place
    os.makedirs("/tmp/closed", 0o555)


def without_parameter_file(place):
    os.unlink(place.ini_path)


def with_section(*lines):
    def change(place):
        with open(place.ini_path, "a", encoding="ascii") as file:
            file.write("\n".join(lines) + "\n")
    return change


def cd_in_home(place):
    del place
    write_file(MOUNT_TABLE, "cd\t/home/cd\thsfs\tro\t0\n")


def with_installer(*entries):
    """A second archive of the installer with these entries, and the stage's own unzip to unpack it."""
    def change(place):
        os.unlink(place.dir + "/unzip")
        shutil.copy(tool("STAGE_UNZIP"), place.dir + "/unzip")
        write_file(place.data_files(ZUL, "1.7.0.0.0") + "/other.jar", archive_bytes(entries))
    return change


ENDS = {
    "an installer with a backslash in a name": (
        stage(with_installer(Entry(b"zul\\x", b"x"))), [], {}, "in the bootstrap"),
    "an installer with a control character in a name": (
        stage(with_installer(Entry(b"zul/\x01", b"x"))), [], {}, "in the bootstrap"),
    "an installer with a way through a link": (
        stage(with_installer(link(b"zul/l", b"jlib"), Entry(b"zul/l/x", b"x"))), [], {}, "in the bootstrap"),
    "an installer with a file and a directory of one name": (
        stage(with_installer(Entry(b"zul/x", b"x"), Entry(b"zul/x/y", b"x"))), [], {}, "in the bootstrap"),
    "an installer with a name that is too long": (
        stage(with_installer(Entry(b"zul/" + b"a" * 256, b"x"))), [], {}, "in the bootstrap"),
    "an installer with a link without a target": (
        stage(with_installer(link(b"zul/l", b""))), [], {}, "in the bootstrap"),
    "an installer with a file that replaces a link": (
        stage(with_installer(link(b"zul/l", b"x"), Entry(b"zul/l", b"x"))), [], {}, "in the bootstrap"),
    "an installer with a file where the runtime has a directory": (
        stage(with_installer(Entry(b"jre", b"x"))), [], {}, "in the bootstrap"),
    "no catalogue": (
        home(lambda place: shutil.rmtree(place.resource)), [], {}, "at once"),
    "a misspelt pointer option": (
        home(), ["-invPtrLocation", "/x"], {}, "at the reading of the command line"),
    "an inventory that is no absolute path": (
        home(lambda place: write_file(POINTER_FILE, "inventory_loc=inv\n")), [], {},
        "at the check of the inventory"),
    "an inventory that cannot be made": (
        home(lambda place: write_file(POINTER_FILE, "inventory_loc=/readonly/inv\n")), [], {},
        "at the check of the inventory"),
    "a temporary base that cannot be written": (
        home(unwritable_base), ["-silent"], {"TEMP": "/tmp/closed"}, "at the reading of the settings"),
    "no parameter file": (home(without_parameter_file), [], {}, "at the reading of the settings"),
    "a command that needs a home": (
        stage(), ["-removeHome"], {}, "at the choice of the entry class"),
    "a prerequisite session without its place": (
        home(), ["-prereqChecker"], {}, "at the choice of the entry class"),
    "a prerequisite session whose place is missing": (
        home(), ["-prereqChecker", "PREREQ_CONFIG_LOCATION=/nowhere"], {},
        "at the choice of the entry class"),
    "a processor that fails": (
        home(with_section("[Generic Prereqs]", "PROCESSOR=pdp11")), ["-silent"], {},
        "at the prerequisites"),
    "a version that is not certified": (
        home(with_section("[Certified Versions]", "Solaris=1.0"), PLATFORM_PREREQS="TRUE"), ["-silent"],
        {}, "at the prerequisites"),
    "checks only": (home(), ["-executeSysPrereqs", "-silent"], {}, "at the prerequisites"),
    "a CD that has to be changed": (
        home(cd_in_home, MULTICD="TRUE"), [], {}, "at the look for a CD"),
    "no display": (home(), [], {"DISPLAY": None}, "before the installer is started"),
    "no Java program": (
        home(JRE_LOCATION="../../nowhere"), [], {}, "before the installer is started"),
    "a Java home of the wrong kind": (
        home(USEJREONLY="TRUE"), ["-jreLoc", "../../jdk/jre"], {}, "at the look at the Java home"),
    "no runtime known and no question allowed": (
        stage(JRE_LOCATION=None, DISABLE_JRE_PROMPT="TRUE"), [], {},
        "at the choice of a Java runtime"),
    "a stage larger than the disk": (
        stage(BOOTSTRAP_SIZE="100000000"), [], {}, "in the bootstrap"),
    "a stage without its installer": (
        stage(lambda place: place.remove(ZUL)), [], {}, "in the bootstrap"),
    "a stage whose installer is broken": (
        stage(lambda place: spoil(place.data_files(ZUL, "1.7.0.0.0") + f"/{ZUL}.jar")), [], {},
        "in the bootstrap"),
    "an access file that cannot be read": (
        stage(lambda place: write_file(place.top + "/access/x", "x", 0o000), ACCESS_DIR="../access"), [], {},
        "in the bootstrap (ACCESS_DIR cannot be copied)"),
    "a prerequisite file that cannot be read": (
        stage(lambda place: write_file(place.top + "/prereq/x", "x", 0o000),
              PREREQ_CONFIG_LOCATION="../prereq"), [], {},
        "in the bootstrap (PREREQ_CONFIG_LOCATION cannot be copied)"),
    "an access file that is a link to nowhere": (
        stage(lambda place: (os.mkdir(place.top + "/access"), os.symlink("x", place.top + "/access/x")),
              ACCESS_DIR="../access"), [], {}, "in the bootstrap (ACCESS_DIR cannot be copied)"),
    "a copied runtime with a file that cannot be read": (
        copy_home(lambda place: write_file(place.top + "/jdk/jre/lib/x", "x", 0o000)), [], {},
        "in the bootstrap (JRE_LOCATION cannot be copied)"),
    "a stage without a runtime": (
        stage(lambda place: place.remove(JRE), JRE_LOCATION="../nowhere"), [], {},
        "in the bootstrap (there is no runtime to bring)"),
    "a stage whose kit is broken": (
        stage(lambda place: (with_kit(place), spoil(place.data_files(JDK, "1.0") + f"/{JDK}.jar")),
              JRE_LOCATION="../nowhere"), [], {}, "in the bootstrap (talvex.jdk cannot be unpacked)"),
    "a runtime without a home and a broken installer": (
        stage(lambda place: (place.component(JRE, "1.0", {"x": b"x"}),
                             spoil(place.data_files(ZUL, "1.7.0.0.0") + f"/{ZUL}.jar"))), [], {},
        "in the bootstrap (the runtime brings nothing below jre/)"),
    "a runtime without a home": (
        stage(lambda place: place.component(JRE, "1.0", {"x": b"x"})), [], {}, "in the bootstrap"),
    "a relative Java home of a launch that leaves the stage": (
        copy_home(BOOTSTRAP_SIZE="-1"), [], {}, "at the start of the installer"),
    "only unpacking": (
        stage(lambda place: os.makedirs("/tmp/unpacked")),
        ["-bootstrapOnly", "BOOTSTRAP_LOC=/tmp/unpacked"], {}, "when all is unpacked"),
}


@pytest.mark.parametrize("what", ENDS)
def test_where_the_plan_ends_the_launch_ends_with_its_status_and_message(root_as_new, what):
    del root_as_new
    make, arguments, env, expected = ENDS[what]
    place = make()
    where, status, message = Plan(place, *arguments, env=env).end
    assert where.startswith(expected), (where, status, message)
    launch = place.launch(*arguments, env=env, merged=True)
    launch.assert_status(status)
    assert launch.record is None
    said = without_time(launch.stdout.decode())
    for line in message:
        assert without_time(line) in said, (line, said)
    assert message, "nothing was said"
    place.end()


# ---- settings and their origins ------------------------------------------


def test_each_setting_has_its_value_and_where_it_comes_from(root_as_new):
    del root_as_new
    place = stage(COPY_THREADS="4", ZUL_VERSION="1.8", USEJDKONLY="TRUE")()
    plan = Plan(place, "-attachHome", "-jreLoc", "/java")
    ini = place.ini_path
    for expected in (f"DISTRIBUTION=T   ({ini}:2)", f"COPY_THREADS=4   ({ini}:7)",
                     f"USEJDKONLY=TRUE   ({ini}:9)", "USEJREONLY=FALSE   (default)",
                     "JRE_LOCATION=/java   (command line)",
                     f"ZUL_LOCATION={COMPONENTS}/{ZUL}/1.8/1/DataFiles   (computed)",
                     "INSTALL_CLASS=talvex.admkit.kst.kstc.KstcAttachHome   (command line)",
                     "BOOTSTRAP=TRUE   (computed, a distribution always brings the installer)",
                     "UMASK=   (default)"):
        assert plan.setting(expected.split("=", maxsplit=1)[0]) == expected
    place.end()


def test_the_launchs_own_values_have_origins_too(root_as_new):
    del root_as_new
    place = home()()
    plan = Plan(place, "-silent", "-timestamp", "then", env={"TEMP": "/var/tmp"})
    for expected in ("time stamp=then   (command line)",
                     "scratch directory=/var/tmp/TalInstallthen   (environment, TEMP)",
                     "silent=yes (command line)", "help=no (default)",
                     f"parameter file={place.ini_path}   (computed)"):
        assert plan.setting(expected.split("=", maxsplit=1)[0]) == expected
    place.end()


def test_a_scratch_name_that_is_taken_gets_the_suffix_that_a_launch_gives(root_as_new):
    del root_as_new
    os.makedirs("/tmp/TalInstallthen")
    os.makedirs("/tmp/TalInstallthen_1")
    place = home()()
    assert Plan(place, "-timestamp", "then").setting("scratch directory").startswith(
        "scratch directory=/tmp/TalInstallthen_2 ")
    assert place.launch("-timestamp", "then").record.scratch == "/tmp/TalInstallthen_2"
    place.end()


def test_the_plan_writes_nothing_anywhere(root_as_new):
    del root_as_new
    set_inventory("/home/operator/inv")
    os.rmdir("/home/operator/inv/logs")
    os.rmdir("/home/operator/inv")
    place = copy_home()()
    def written():
        # Every time but that of access, which the harness itself changes.
        return {path: entry[:2] + entry[3:] for top in ("/home/operator", "/var/opt")
                for path, entry in everything_of(top).items()}
    before = written()
    Plan(place, "-silent")
    assert written() == before
    assert made_in_tmp() == []
    place.end()


@pytest.mark.parametrize("check, verdict", [
    ("CPU=1", "needs a command, assumed to pass"),
    ("CPU=0x400", "fails"), ("CPU=0.5", "fails"), ("CPU=inf", "fails"),
    ("SWAP_SPACE=0x400", "needs a command, assumed to pass"),
    ("SWAP_SPACE=0.5", "needs a command, assumed to pass"), ("SWAP_SPACE=0", "fails")])
def test_numbers_are_read_as_their_checks_read_them(root_as_new, check, verdict):
    del root_as_new
    place = stage(with_section("[Generic Prereqs]", check))()
    lines = run_check("--plan", place.top, "-silent").stdout.decode().splitlines()
    assert f"  [Generic Prereqs] {check}: {verdict}" in lines
    place.end()


def test_neither_checks_nor_plan_start_a_process(root_as_new):
    del root_as_new
    place = stage(with_section("[Generic Prereqs]", "SWAP_SPACE=1", "PACKAGES=SUNWcsr"))()
    done = subprocess.run(
        [tool("CHECK_STAGE"), "--plan", place.top, "-silent"],
        # The search for leaks would start a process of its own; other tests have it.
        env=place.environment({"ASAN_OPTIONS": "detect_leaks=0"}),
        capture_output=True, check=False,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NPROC, (0, 0)))
    assert done.stderr == b""
    lines = done.stdout.decode().splitlines()
    assert "  [Generic Prereqs] SWAP_SPACE=1: needs a command, assumed to pass" in lines
    assert any(line.startswith("  command of ") for line in lines)
    place.end()


def test_without_a_temporary_directory_there_is_no_plan(root_as_new):
    del root_as_new
    lines = CleanStage().check(plan=True, env={"TMPDIR": "/nowhere"})
    assert lines[-1] == "no plan: no temporary directory can be made; name one in TMPDIR"


def test_without_room_for_a_copy_of_the_settings_there_is_no_plan(root_as_new):
    del root_as_new
    done = run_check("--plan", CleanStage().top, **no_file_above(1))
    assert done.stdout.decode().splitlines()[-1] == (
        "no plan: the temporary directory cannot be written to (File too large); name another one in TMPDIR")
    assert "DISTRIBUTION" not in done.stdout.decode()


def test_from_a_directory_that_cannot_be_read_there_is_no_plan(root_as_new):
    del root_as_new
    os.makedirs("/tmp/closed")
    os.chmod("/tmp/closed", 0o311)
    done = run_check("--plan", CleanStage().top, cwd="/tmp/closed")
    assert done.stdout == b"0 errors, 0 warnings, 0 notes\n"
    assert done.stderr == (b"check-stage: no plan: the current directory cannot be read: Permission denied; "
                           b"call check-stage from another one\n")
    assert done.returncode == 2


def test_the_operators_answer_is_left_open(root_as_new):
    del root_as_new
    place = stage(JRE_LOCATION=None)()
    plan = Plan(place)
    assert "  the operator is asked for its home, which is called ANSWER here" in plan.lines
    assert plan.command[0] == "ANSWER/bin/java"
    place.end()


def test_the_plan_follows_the_findings(root_as_new):
    del root_as_new
    lines = CleanStage().check("-silent", plan=True)
    assert lines[:3] == ["0 errors, 0 warnings, 0 notes", "",
                         "plan of /home/operator/media/install/setupLauncher -silent"]
