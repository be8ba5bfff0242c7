"""The examples of the manual pages do what the pages say: each is run as it stands in a shell, on a
stage and in a home with the sample installer, and shows what the page shows.

The mark above an example says where: "run on the stage" and "run in the home" in an empty directory
beside them, "run in resource" among the stage's catalogues. "file NAME" is a file for the example
below it, "parameter file of ..." one for a launch from there. "..." stands for whatever is there."""

import os
import re
import shutil
import subprocess

import pytest

import manual
from harness import (OPERATOR_HOME, TIME_STAMP, Home, compile_locale, java_home, read_file, tool,
                     write_file)
from prereq_texts import MACHINE, RELEASE, has_display, has_packages, has_patches, has_swap

STAGE = "/stage"
HOME = "/u01/kelvane"
WORK = OPERATOR_HOME + "/work"

EXAMPLES = [example for page in manual.load().values() for example in manual.examples(page)]
PLACES = {"run on the stage": WORK, "run in the home": WORK, "run in resource": STAGE + "/install/resource"}
RUN = [example for example in EXAMPLES if example.mark in PLACES]
FILES = {id(after): example for example, after in zip(EXAMPLES, EXAMPLES[1:])
         if example.mark.startswith("file ")}


# ---- the stage and the home ------------------------------------------------

@pytest.fixture(scope="session", name="components")
def fixture_components(tmp_path_factory):
    """What the stage is built of, with a Java runtime."""
    top = str(tmp_path_factory.mktemp("components"))
    write_file(f"{top}/zul/zul/jlib/TalInstaller.jar", read_file(tool("DEMO_JAR")))
    write_file(f"{top}/core/zul/lib/intelsolaris/README", "x")
    write_file(f"{top}/tessel/Tessel/jlib/README", "x")
    subprocess.run([f"{java_home()}/bin/jlink", "--add-modules", "java.base", "--strip-debug",
                    "--output", f"{top}/jre/jre/17"], check=True, capture_output=True)
    return top


@pytest.fixture(scope="session", name="kit")
def fixture_kit(tmp_path_factory):
    """The tools, and the launcher's directory as the kit has it."""
    kit = str(tmp_path_factory.mktemp("kit"))
    shutil.copytree(manual.TOP + "/tools", kit + "/bin")
    shutil.copy(tool("CHECK_STAGE"), kit + "/bin")
    os.makedirs(kit + "/lib/setupLauncher")
    shutil.copy(tool("LAUNCHER"), kit + "/lib/setupLauncher")
    # Where it cannot be built, the usual one has to do: the examples hold for both.
    unzip = os.environ["STAGE_UNZIP"]
    shutil.copy(unzip if os.path.exists(unzip) else "/usr/bin/unzip", kit + "/lib/setupLauncher/unzip")
    shutil.copytree(tool("CATALOGUES"), kit + "/lib/setupLauncher/resource")
    return kit


@pytest.fixture(scope="session", name="built")
def fixture_built(kit, components, tmp_path_factory):
    stage = str(tmp_path_factory.mktemp("built")) + "/stage"
    subprocess.run([f"{kit}/bin/build-stage", "--param", "MULTICD=FALSE", stage,
                    f"talvex.swd.zul:1.7.0.0.0={components}/zul",
                    f"talvex.swd.zul.core:1.7.0.0.0={components}/core",
                    f"talvex.swd.tessel:1.7.0.0.0={components}/tessel",
                    f"talvex.swd.jre:17={components}/jre"], check=True)
    return stage


@pytest.fixture(name="surroundings")
def fixture_surroundings(root_as_new, kit, built, components):
    """The machine on which the pages' examples are at home; the variables of its shell."""
    del root_as_new
    shutil.copytree(built, STAGE)
    home = Home(HOME)
    home.use_shipped_catalogues()
    home.use_real_java()
    os.symlink(java_home(), "/usr/java")
    shutil.copytree(components, f"{WORK}/components", symlinks=True)
    path = compile_locale("de_DE.UTF-8")["LOCPATH"]
    compile_locale("fr_CA.UTF-8")
    return {"PATH": f"{kit}/bin:/usr/bin:/bin:/usr/sbin:/sbin", "HOME": OPERATOR_HOME, "LANG": "C",
            "LOCPATH": path}


# ---- running ---------------------------------------------------------------

def run_steps(commands, directory, variables):
    """[(status, output)] of the commands, one after the other in one shell."""
    script = "".join(f"{command}\n_s=$?; printf '\\001%s\\001' $_s; (exit $_s)\n" for command in commands)
    done = subprocess.run(["/bin/sh", "-c", script], cwd=directory, env=variables, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=120, check=False)
    parts = done.stdout.split("\1")
    return [(int(status), as_shipped(output)) for output, status in zip(parts[::2], parts[1::2])]


# Of libraries that a program that ships has inside.
NOT_SHIPPED = re.compile(r": warning: the program needs lib(asan|stdc\+\+)")


def as_shipped(output):
    """The output without the warnings that only programs with checks or counters inside are given."""
    lines = output.splitlines(keepends=True)
    kept = [line for line in lines if not NOT_SHIPPED.search(line)]
    removed = len(lines) - len(kept)

    def fewer(match):
        count = int(match[1]) - removed
        return f"{count} warning" + ("" if count == 1 else "s")
    return re.sub(r"(\d+) warnings?", fewer, "".join(kept)) if removed else output


def matches(shown, output):
    """Whether the output is what is shown; there "..." stands for part of a line, and alone on a line
    for any lines."""
    pattern = ""
    for line in shown.splitlines():
        if line == "...":
            pattern += r"(?:[^\n]*\n)*?"
        else:
            pattern += r"[^\n]*".join(re.escape(part) for part in line.split("...")) + r"\n"
    return re.fullmatch(pattern, output) is not None


def problems(example, results):
    """What went another way than the page says."""
    steps = example.steps
    found = []
    for at, (command, shown) in enumerate(steps):
        if at >= len(results):
            found.append(f"{example!r}: {command!r} did not run")
            continue
        status, output = results[at]
        asked = at + 1 < len(steps) and steps[at + 1][0] == "echo $?"
        if status != 0 and not asked:
            found.append(f"{example!r}: {command!r} ends with {status}:\n{output}")
        if not matches(shown, output):
            found.append(f"{example!r}: {command!r} shows\n{output}--- and not\n{shown}")
    return found


@pytest.mark.parametrize("example", RUN, ids=repr)
def test_an_example_runs_and_shows_what_the_page_shows(example, surroundings):
    directory = PLACES[example.mark]
    if id(example) in FILES:
        file = FILES[id(example)]
        write_file(f"{directory}/{file.mark.removeprefix('file ')}", file.text)
    results = run_steps([command for command, _ in example.steps], directory, surroundings)
    found = problems(example, results)
    assert not found, "\n".join(found)


def test_the_launch_in_the_readme_shows_what_it_shows_there(surroundings):
    lines = read_file(manual.TOP + "/README.md").decode().splitlines()
    start = next(at for at, line in enumerate(lines) if line.startswith("    $ /stage/"))
    example = manual.Example("run on the stage", manual.Line("README.md", start + 1, ""))
    for line in lines[start:]:
        if line and not line.startswith("    "):
            break
        example.lines.append(TIME_STAMP.sub("...", line[4:]))
    example.lines = example.lines[:-1]  # the empty line behind it
    found = problems(example, run_steps([command for command, _ in example.steps], WORK, surroundings))
    assert len(example.steps) == 2 and not found, "\n".join(found)


def test_what_a_page_shows_as_typed_stands_among_its_examples():
    for page in manual.load().values():
        has_examples = any(line.text == ".Sh EXAMPLES" for line in page.lines)
        run = {line.place for line in page.part("EXAMPLES")} if has_examples else set()
        typed = [line.place for line in page.lines if re.match(r"(\.Dl )?\$ ", line.text)]
        assert [place for place in typed if place not in run] == []


# ---- parameter files -------------------------------------------------------

def parameter_file(of):
    return next(example for example in EXAMPLES if example.mark == "parameter file of " + of).text


def launch(launcher, variables):
    return subprocess.run([launcher, "-silent", "-waitForCompletion"], cwd=WORK, env=variables,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120, check=False)


def test_the_homes_parameter_file_does_what_its_lines_say(surroundings):
    write_file(HOME + "/talui/bin/talparam.ini", parameter_file("the home"))
    done = launch(HOME + "/talui/bin/setupLauncher", surroundings)
    assert done.returncode == 0, done.stdout + done.stderr
    assert "temporary space: 20 MB" in done.stdout
    for line in ("talvex.installer.copythreads=[4]", "talvex.installer.prereqConfigLoc=[../prereq ]"):
        assert line in done.stdout, done.stdout


def test_the_stages_parameter_file_does_what_its_lines_say(surroundings):
    text = parameter_file("the stage").replace("5.11", RELEASE).replace("i86pc", MACHINE)
    os.unlink(STAGE + "/install/talparam.ini")
    write_file(STAGE + "/install/talparam.ini", text)
    has_swap("500m", "500m")
    has_display(24)
    has_packages("SUNWlibm")
    has_patches("112233-07")
    done = launch(STAGE + "/install/setupLauncher", surroundings)
    assert done.returncode == 0, done.stdout + done.stderr
    assert "packages: SUNWlibm" in done.stdout and "patches: 112233-05" not in done.stdout
    has_packages("SUNWother")
    done = launch(STAGE + "/install/setupLauncher", surroundings)
    assert done.returncode == 255, done.stdout + done.stderr
    assert "Install the mathematics library first." in done.stdout


# ---- the comparison itself -------------------------------------------------

def example_of(*lines):
    page = manual.Page("x.1", "\n".join([".Sh EXAMPLES", '.\\" run on the stage', ".Bd -literal",
                                         *lines, ".Ed"]))
    return manual.examples(page)[0]


@pytest.mark.parametrize("lines, results, problem", [
    (["$ true"], [(0, "")], None),
    (["$ true"], [(1, "")], "ends with 1"),
    (["$ true"], [(0, "more\n")], "shows"),
    (["$ true"], [], "did not run"),
    (["$ x", "a...b"], [(0, "a more b\n")], None),
    (["$ x", "a...b"], [(0, "a\nb\n")], "shows"),
    (["$ x", "a", "\\&...", "b"], [(0, "a\n1\n2\nb\n")], None),
    (["$ x", "a", "\\&...", "b"], [(0, "a\nb\n")], None),
    (["$ x", "a", "\\&...", "b"], [(0, "a\n1\n2\n")], "shows"),
    (["$ x", "$ echo $?", "3"], [(3, ""), (0, "3\n")], None),
    (["$ x", "$ echo $?", "3"], [(3, ""), (0, "4\n")], "shows"),
])
def test_an_example_that_goes_another_way_is_named(lines, results, problem):
    found = problems(example_of(*lines), results)
    if problem is None:
        assert found == []
    else:
        assert len(found) == 1 and problem in found[0] and found[0].startswith("x.1:3: ")


def test_a_command_goes_on_behind_a_backslash_and_in_lines_of_the_second_prompt():
    assert example_of("$ a \\e", "    b", "out").steps == [("a \\\n    b", "out\n")]
    assert example_of("$ a", "> b", "> c", "out").steps == [("a\nb\nc", "out\n")]


def test_every_example_has_a_mark_that_is_known():
    known = {*PLACES, "parameter file of the home", "parameter file of the stage"}
    wrong = [repr(example) for example in EXAMPLES
             if example.mark not in known and not example.mark.startswith("file ")]
    assert wrong == [] and len(RUN) > 10
