"""The stage builder, and launches of its stages in a real JVM."""

import os
import subprocess
import zipfile

import pytest

from checked import jar_bytes
from harness import (OPERATOR_HOME, Place, java_home, read_file, set_inventory, tool, tree, write_file)
from stage import USUAL_UNZIP, CopyHome, java_program, unzip_program

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools")
STAGE = f"{OPERATOR_HOME}/built"


def build_stage(*arguments):
    return subprocess.run(
        [f"{TOOLS}/build-stage", "--launcher", tool("LAUNCHER"), "--catalogues",
         tool("CATALOGUES"), "--check-stage", tool("CHECK_STAGE"), *arguments],
        capture_output=True, text=True, check=False)


@pytest.fixture(name="components")
def fixture_components(root_as_new):
    """Component directories of one's own: {name: NAME:VERSION=DIRECTORY}."""
    del root_as_new
    set_inventory()
    top = f"{OPERATOR_HOME}/own"
    os.makedirs(top)
    write_file(f"{top}/zul/zul/jlib/TalInstaller.jar", read_file(tool("DEMO_JAR")))
    write_file(f"{top}/zul/Expanded/zul/plain.txt", "as it is")
    write_file(f"{top}/core/zul/lib/README", "x")
    write_file(f"{top}/tessel/Tessel/jlib/tessel.jar", jar_bytes({"x": "x"}))
    write_file(f"{top}/jre/jre/1/bin/java", java_program(), 0o755)
    return {"zul": f"talvex.swd.zul:1.7.0.0.0={top}/zul",
            "core": f"talvex.swd.zul.core:1.7.0.0.0={top}/core",
            "tessel": f"talvex.swd.tessel:2.0={top}/tessel",
            "jre": f"talvex.swd.jre:1={top}/jre"}


class BuiltStage(Place):
    """The stage as the builder made it: nothing is laid out."""

    def use_marked_catalogues(self):
        pass


def launched(arguments):
    launcher = read_file(STAGE + "/install/setupLauncher")
    stage = BuiltStage(STAGE + "/install")
    assert read_file(stage.launcher) == launcher
    return stage.launch(*arguments, timeout=60)


def test_a_stage_holds_launcher_unzip_catalogues_parameter_file_and_components(components):
    done = build_stage("--param", "MULTICD=FALSE", "--param", "JRE_MEMORY_OPTIONS=-Xmx64m -Xms8m",
                       STAGE, *components.values())
    assert done.returncode == 0, done.stderr
    assert done.stdout.splitlines()[-1].startswith("0 errors, ")
    # The machine's unzip and a launcher with checks inside need more libraries than those that ship.
    assert {line.split(" the ")[0] for line in done.stderr.splitlines()} <= {"build-stage: warning:"}
    found = tree(STAGE)
    for name in ("install/setupLauncher", "install/unzip"):
        assert found[name][1] == 0o755
    assert read_file(STAGE + "/install/setupLauncher") == read_file(tool("LAUNCHER"))
    assert read_file(STAGE + "/install/unzip") == read_file(unzip_program())
    assert {name for name in found if name.endswith(".nls")} == {
        "install/resource/" + name for name in os.listdir(tool("CATALOGUES")) if name.endswith(".nls")}
    assert found["install/talparam.ini"][2].decode().splitlines() == [
        "[Talvex]", "DISTRIBUTION=TRUE", "ZUL_VERSION=1.7.0.0.0",
        "JRE_LOCATION=../stage/Components/talvex.swd.jre/1/1/DataFiles",
        "BOOTSTRAP_COMPS=talvex.swd.zul:1.7.0.0.0,talvex.swd.zul.core:1.7.0.0.0,"
        "talvex.swd.tessel:2.0,talvex.swd.jre:1",
        "MULTICD=FALSE", "JRE_MEMORY_OPTIONS=-Xmx64m -Xms8m"]
    data = "stage/Components/{}/1/DataFiles/{}"
    for name, version in (("talvex.swd.zul", "1.7.0.0.0"), ("talvex.swd.zul.core", "1.7.0.0.0"),
                          ("talvex.swd.tessel", "2.0"),
                          ("talvex.swd.jre", "1")):
        assert data.format(f"{name}/{version}", name + ".jar") in found
    assert found[data.format("talvex.swd.zul/1.7.0.0.0", "Expanded/zul/plain.txt")][2] == b"as it is"
    assert [name for name in os.listdir(OPERATOR_HOME) if name.startswith("built")] == ["built"]


def test_a_built_stage_launches(components):
    build_stage("--param", "MULTICD=FALSE", STAGE, *components.values())
    launch = launched(["-silent", "-waitForCompletion"])
    launch.assert_status(0)
    assert launch.record.tree["zul/plain.txt"][2] == b"as it is"
    assert launch.plain(launch.record.argv[0]) == "{SCRATCH}/jre/1/bin/java"
    assert launch.scratches == []


def test_a_stage_built_with_the_usual_unzip_ships_it_and_launches(components):
    build_stage("--unzip", USUAL_UNZIP, "--param", "MULTICD=FALSE", STAGE, *components.values())
    assert read_file(STAGE + "/install/unzip") == read_file(USUAL_UNZIP)
    launch = launched(["-silent", "-waitForCompletion"])
    launch.assert_status(0)
    assert launch.record.tree["zul/plain.txt"][2] == b"as it is"


def test_a_launcher_without_an_unzip_of_its_own_gets_the_usual_one(components):
    write_file("/tmp/elsewhere/bin/intelsolaris/setupLauncher", read_file(tool("LAUNCHER")), 0o755)
    done = build_stage("--launcher", "/tmp/elsewhere/bin/intelsolaris/setupLauncher", STAGE,
                       *components.values())
    assert done.returncode == 0, done.stderr
    # The machine's unzip may need more libraries than one that ships.
    assert {line.split(" the ")[0] for line in done.stderr.splitlines()} <= {"build-stage: warning:"}
    assert read_file(STAGE + "/install/unzip") == read_file(USUAL_UNZIP)


@pytest.mark.parametrize("level", range(10))
def test_a_stage_is_packed_as_hard_as_its_level_says(components, level):
    text = write_file(f"{OPERATOR_HOME}/own/zul/zul/text", b"".join(b"%d " % (n * n) for n in range(20000)))
    subprocess.run(["zip", "-q", "-j", f"-{level}", "/tmp/alone.zip", text], check=True)
    assert build_stage("--unchecked", "--level", str(level), STAGE, components["zul"]).returncode == 0
    with zipfile.ZipFile(f"{STAGE}/stage/Components/talvex.swd.zul/1.7.0.0.0/1/DataFiles/"
                         "talvex.swd.zul.jar") as jar, zipfile.ZipFile("/tmp/alone.zip") as alone:
        packed, wanted = jar.getinfo("zul/text"), alone.getinfo("text")
    assert (packed.compress_type, packed.compress_size) == (wanted.compress_type, wanted.compress_size)
    assert (packed.compress_type == zipfile.ZIP_STORED) == (level == 0)


def test_the_sample_installer_runs_from_a_stage_on_the_unpacked_runtime(components):
    runtime = f"{OPERATOR_HOME}/runtime"
    subprocess.run([f"{java_home()}/bin/jlink", "--add-modules", "java.base", "--strip-debug",
                    "--output", f"{runtime}/jre/17"], check=True, capture_output=True)
    # The installer's main jar is looked for where the core component is brought to.
    done = build_stage("--param", "MULTICD=FALSE", STAGE, components["zul"], components["core"],
                       f"talvex.swd.jre:17={runtime}")
    assert done.returncode == 0, done.stderr
    launch = launched(["-silent", "-waitForCompletion", "DEMO_EXIT=5", "-rtimestamp", "now"])
    launch.assert_status(5)
    assert b"java home: [/tmp/TalInstallnow/jre/17]\n" in launch.stdout
    assert b"sample installer: talvex.admkit.kst.kstc.KstcInstaller\n" in launch.stdout
    assert launch.scratches == []


def test_the_sample_installer_runs_from_copied_trees_in_a_real_jvm(root_as_new):
    del root_as_new
    set_inventory()
    home = CopyHome()
    os.unlink(home.jre + "/bin/java")
    write_file(f"{home.trees}/zul/jlib/TalInstaller.jar", read_file(tool("DEMO_JAR")))
    launch = home.launch("-silent", "-jreLoc", java_home(), "DEMO_EXIT=6", timeout=60)
    launch.assert_status(6)
    assert b"sample installer: talvex.admkit.kst.kstc.KstcInstaller\n" in launch.stdout
    home.end()


@pytest.mark.parametrize("wrong, said", [
    (["name=/tmp"], "name=/tmp is not NAME:VERSION=DIRECTORY"),
    (["a/b:1=/tmp"], "a/b is not a name of a component"),
    (["name:x=/tmp"], "x is not a version: it must begin with a digit"),
    (["name:1a=/tmp"], "1a is not a version (digits and dots)"),
    (["name:1=/nowhere"], "the directory /nowhere of name does not exist"),
    (["name:1=/tmp/empty"], "cannot pack /tmp/empty (is it empty?)"),
    (["name:1=/tmp/full", "name:2=/tmp/full"], "the component name is named twice"),
    (["name:1=/tmp/broken"], "the directory /tmp/broken holds what cannot be packed: /tmp/broken/sub/link"),
    (["name:1=/tmp/queue"], "the directory /tmp/queue holds what cannot be packed: /tmp/queue/pipe"),
    (["name:1=/tmp/circle"], "the directory /tmp/circle holds what cannot be packed: "),
    (["name:1=/tmp/closed"], "cannot pack /tmp/closed (is it empty?): "),
])
def test_what_cannot_be_built_is_said_in_one_line_and_leaves_nothing(root_as_new, wrong, said):
    del root_as_new
    for name in ("empty", "broken/sub", "queue", "circle"):
        os.makedirs("/tmp/" + name)
    write_file("/tmp/full/file", "x")
    write_file("/tmp/closed/file", "x", 0)
    os.symlink("nowhere", "/tmp/broken/sub/link")
    os.mkfifo("/tmp/queue/pipe")
    os.symlink("../circle", "/tmp/circle/round")
    done = build_stage(STAGE, *wrong)
    assert done.returncode == 1
    lines = [line for line in done.stderr.splitlines()
             if not line.startswith("build-stage: warning: ")]
    assert len(lines) == 1, done.stderr
    assert lines[0].startswith("build-stage: " + said)
    assert [name for name in os.listdir(OPERATOR_HOME) if name.startswith("built")] == []


@pytest.mark.parametrize("options, said", [
    (["--launcher", "/nowhere"], "no launcher at /nowhere that can be read and started"),
    (["--catalogues", "/nowhere"], "no message catalogue at /nowhere/cons.nls"),
    (["--unzip", "/nowhere"], "no unzip program at /nowhere that can be read and started; name one with --unzip"),
    (["--level", "10"], "10 is not a level of packing: 0 to 9"),
    (["--level", ""], " is not a level of packing: 0 to 9"),
    (["--param", "no line"], "no line is not a line KEY=VALUE of talparam.ini"),
    (["--param", "A=1\nB=2"], "A=1\nB=2 is not a line KEY=VALUE of talparam.ini"),
    (["--check-stage", "/nowhere"],
     "no check-stage at /nowhere; name one with --check-stage, or build --unchecked"),
    (["--what"], "the option --what is not known"),
])
def test_a_wrong_option_is_said_and_leaves_nothing(components, options, said):
    done = build_stage(*options, STAGE, components["zul"])
    assert (done.returncode, done.stderr.splitlines()[-1 - said.count("\n"):]) == (
        1, f"build-stage: {said}".split("\n"))
    assert not os.path.exists(STAGE)


def test_a_file_system_that_is_full_is_said_in_one_line_and_emptied_again(components):
    write_file(f"{OPERATOR_HOME}/own/zul/large", os.urandom(3 << 20))
    done = build_stage("/small/stage", components["zul"])
    assert done.returncode == 1
    assert done.stderr.splitlines()[-1].startswith("build-stage: cannot ")
    assert done.stderr.count("build-stage: cannot ") == 1
    assert os.listdir("/small") == []


def test_the_stage_may_be_named_from_where_one_is(components):
    name = os.path.basename(STAGE)
    done = build_stage(name, *(entry.replace(OPERATOR_HOME, ".") for entry in components.values()))
    assert done.returncode == 0, done.stderr
    assert os.path.exists(STAGE + "/stage/Components/talvex.swd.zul/1.7.0.0.0/1/DataFiles/"
                          "talvex.swd.zul.jar")
def test_a_stage_with_errors_is_refused_and_leaves_nothing(components):
    done = build_stage("--param", "INSTALL_CLASS=my.Class", STAGE, *components.values())
    assert (done.returncode, done.stdout) == (1, "")
    assert ("install/talparam.ini:6: error: the class my.Class of INSTALL_CLASS is in no jar of the "
            "class path: bring the jar that holds it, or correct the name") in done.stderr.splitlines()
    assert done.stderr.splitlines()[-1] == "build-stage: the stage has errors"
    assert [name for name in os.listdir(OPERATOR_HOME) if name.startswith("built")] == []


def test_a_stage_with_errors_is_built_when_nobody_checks_it(components):
    done = build_stage("--unchecked", "--param", "INSTALL_CLASS=my.Class", STAGE, *components.values())
    assert (done.returncode, done.stdout) == (0, "")
    assert {line.split(" the ")[0] for line in done.stderr.splitlines()} <= {"build-stage: warning:"}
    assert os.path.exists(STAGE + "/install/talparam.ini")


def test_a_stage_that_is_there_already_is_not_touched(components):
    write_file(STAGE + "/mine", "kept")
    done = build_stage(STAGE, components["zul"])
    assert done.returncode == 1
    assert done.stderr == (f"build-stage: {STAGE} is there already; name a stage that does not "
                           "exist\n")
    assert os.listdir(STAGE) == ["mine"]
