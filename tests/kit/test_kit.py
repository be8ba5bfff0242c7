"""What the kit holds, that it is made alike everywhere, and that it needs nothing but itself."""

import glob
import os
import shutil
import subprocess
import tarfile

import pytest

from kit import EPOCH, FIRST, KIT, KITS, REPO, SECOND, archive, files, ordinary, read, run, version

DEMO = "share/setupLauncher/demo/"


@pytest.fixture(name="moved")
def fixture_moved():
    """The kit at another place, under a path without a hyphen, and a directory for an ordinary user."""
    top = run("mktemp", "-d", "/tmp/kit.XXXXXX").strip()
    os.chmod(top, 0o755)
    shutil.copytree(KIT, top + "/kit")
    os.mkdir(top + "/temp")
    os.chmod(top + "/temp", 0o1777)
    yield top
    shutil.rmtree(top)


def launch(moved, program, *arguments):
    return subprocess.run(ordinary(program, *arguments), cwd=moved, capture_output=True, text=True,
                          env={"PATH": "/usr/bin:/bin", "TEMP": moved + "/temp"}, check=False)


def below(directory, *, without=()):
    return {os.path.relpath(path, REPO + "/" + directory)
            for path in glob.glob(f"{REPO}/{directory}/**", recursive=True)
            if os.path.isfile(path) and not any(part in path for part in without)}


def test_the_kit_holds_launcher_catalogues_tools_sample_installer_pages_and_documents():
    languages = [name[:-3] for name in os.listdir(REPO + "/resource") if name.endswith(".po")]
    programs = {"lib/setupLauncher/setupLauncher", "lib/setupLauncher/unzip",
                "bin/build-stage", "bin/catalogue-text", "bin/check-stage",
                DEMO + "make-home", DEMO + "make-jar", DEMO + "make-stage"}
    others = {"lib/setupLauncher/resource/cons.nls", DEMO + "README.md",
              "share/doc/setupLauncher/README.md", "share/doc/setupLauncher/CHANGELOG.md",
              "share/doc/setupLauncher/CONTRIBUTING.md"}
    others |= {f"lib/setupLauncher/resource/cons_{language}.nls" for language in languages}
    others |= {DEMO + "src/" + name for name in below("demo/src")}
    others |= {"share/doc/setupLauncher/docs/" + name for name in below("docs", without=["/man/"])}
    pages = {name for name in below("docs/man") if name[-1].isdigit()}
    others |= {f"share/man/man{name[-1]}/{name}" for name in pages}
    assert languages and len(pages) == 8
    assert files(KIT) == {name: 0o755 if name in programs else 0o644 for name in programs | others}


def test_two_builds_in_two_directories_make_the_same_archive():
    assert read(archive(FIRST)) == read(archive(SECOND))


def test_the_archive_is_named_and_holds_the_kit_of_no_owner_at_one_time_in_order():
    top = os.path.basename(archive(FIRST))[:-len(".tar.gz")]
    with tarfile.open(archive(FIRST)) as packed:
        entries = packed.getmembers()
    assert {(entry.uid, entry.gid, entry.uname, entry.gname, entry.mtime)
            for entry in entries} == {(0, 0, "", "", EPOCH)}
    names = [entry.name for entry in entries]
    assert names[0] == top
    assert names == sorted(names, key=lambda name: name.split("/"))
    assert {entry.mode for entry in entries if entry.isdir()} == {0o755}
    assert {os.path.relpath(entry.name, top): entry.mode
            for entry in entries if entry.isfile()} == files(KIT)


@pytest.fixture(name="made")
def fixture_made(tmp_path):
    """What cpack has laid out when it calls the script that packs."""
    (tmp_path / "made").mkdir()
    (tmp_path / "made/file").write_text("x")
    return tmp_path / "made"


def pack(script, made, **variables):
    environment = {name: value for name, value in os.environ.items() if name != "SOURCE_DATE_EPOCH"}
    return subprocess.run(
        ["cmake", f"-DCPACK_PACKAGE_DIRECTORY={made.parent}", "-DCPACK_PACKAGE_FILE_NAME=name",
         f"-DCPACK_TEMPORARY_DIRECTORY={made}", "-P", script], env={**environment, **variables},
        capture_output=True, text=True, check=False)


def times_of(path):
    with tarfile.open(path) as packed:
        return {entry.mtime for entry in packed.getmembers()}


def test_without_a_date_of_its_own_the_archive_has_that_of_the_last_commit(made):
    shutil.copytree(REPO + "/cmake", made.parent / "repository")
    git = ["git", "-C", str(made.parent / "repository"), "-c", "user.name=x", "-c", "user.email=x@x"]
    run(*git, "init")
    run(*git, "commit", "--allow-empty", "--date", "@1500000000 +0000", "-m", "x",
        env={**os.environ, "GIT_COMMITTER_DATE": "@1600000000 +0000"})
    done = pack(str(made.parent / "repository/pack-kit.cmake"), made)
    assert done.returncode == 0, done.stderr
    assert times_of(made.parent / "name.tar.gz") == {1600000000}


def test_outside_a_repository_the_archive_has_a_date_of_1980(made):
    shutil.copytree(REPO + "/cmake", made.parent / "sources")
    done = pack(str(made.parent / "sources/pack-kit.cmake"), made)
    assert done.returncode == 0, done.stderr
    assert times_of(made.parent / "name.tar.gz") == {315532800}


def test_a_date_that_is_no_number_is_named_and_no_archive_stays_behind(made):
    (made.parent / "name.tar.gz").write_text("an older one")
    done = pack(REPO + "/cmake/pack-kit.cmake", made, SOURCE_DATE_EPOCH="yesterday")
    assert done.returncode != 0
    assert 'SOURCE_DATE_EPOCH is "yesterday", which is no number of seconds since 1970' in \
        " ".join(done.stderr.split())
    assert os.listdir(made.parent) == ["made"]


def test_nothing_in_the_kit_names_a_place_of_the_build():
    for name in files(KIT):
        content = read(f"{KIT}/{name}")
        assert not [place for place in (REPO + "/", KITS) if place.encode() in content], name


def test_the_version_is_that_of_the_changelogs_first_heading():
    headings = [line.split()[1] for line in read(REPO + "/CHANGELOG.md").decode().splitlines()
                if line.startswith("## ")]
    assert headings[0] == version()


def test_the_program_tells_its_version_to_those_who_look_for_it():
    content = read(KIT + "/lib/setupLauncher/setupLauncher")
    # What what(1) prints: from behind the mark to the first of these.
    found = [text.split(b"\0")[0].split(b'"')[0].split(b">")[0].split(b"\n")[0]
             for text in content.split(b"@(#)")[1:]]
    name = os.path.basename(archive(FIRST))[:-len(".tar.gz")]
    assert found == [name.replace("-", " ", 2).encode()]
    assert f"@(#){found[0].decode()}" in run("strings", KIT + "/lib/setupLauncher/setupLauncher").splitlines()


def test_the_launcher_runs_where_it_lies(moved):
    done = launch(moved, moved + "/kit/lib/setupLauncher/setupLauncher", "-silent")
    # The catalogue was found; what a home or stage has beside it was not.
    assert done.returncode == 254
    assert "talparam.ini" in done.stderr + done.stdout


def test_the_kit_lays_out_a_home_that_launches(moved):
    run(f"{moved}/kit/{DEMO}make-home", moved + "/home")
    done = launch(moved, moved + "/home/talui/bin/setupLauncher", "-silent", "DEMO_EXIT=3")
    assert done.returncode == 3, done.stderr
    assert "sample installer: talvex.admkit.kst.kstc.KstcInstaller\n" in done.stdout
    assert os.listdir(moved + "/temp") == []
    assert read(moved + "/home/talui/bin/setupLauncher") == read(
        KIT + "/lib/setupLauncher/setupLauncher")


def test_the_kit_builds_a_stage_that_launches(moved):
    # A tool may be called by a link to it.
    os.symlink(f"{moved}/kit/{DEMO}make-stage", moved + "/linked")
    run(moved + "/linked", moved + "/stage")
    done = launch(moved, moved + "/stage/install/setupLauncher", "-silent", "-waitForCompletion",
                  "DEMO_EXIT=4")
    assert done.returncode == 4, done.stderr
    assert os.listdir(moved + "/temp") == []
    assert sorted(os.listdir(moved)) == ["kit", "linked", "stage", "temp"]


def test_the_stage_builder_of_the_kit_takes_launcher_and_catalogues_from_it(moved):
    os.makedirs(moved + "/own/zul")
    os.symlink(moved + "/kit/bin/build-stage", moved + "/linked")
    run(moved + "/linked", "--unchecked", moved + "/stage", f"talvex.swd.zul:1={moved}/own")
    install = moved + "/stage/install/"
    assert read(install + "setupLauncher") == read(KIT + "/lib/setupLauncher/setupLauncher")
    assert files(install + "resource") == files(KIT + "/lib/setupLauncher/resource")


def test_the_catalogue_tool_of_the_kit_reads_the_kits_catalogues(moved):
    catalogues = moved + "/kit/lib/setupLauncher/resource"
    shown = run(moved + "/kit/bin/catalogue-text", "show", catalogues + "/cons_de.nls")
    with open(moved + "/text", "w", encoding="utf-8") as out:
        out.write(shown)
    run(moved + "/kit/bin/catalogue-text", "make", moved + "/text", "-o", moved + "/cons.nls")
    assert read(moved + "/cons.nls") == read(catalogues + "/cons_de.nls")


@pytest.mark.parametrize("script, arguments, said", [
    ("make-home", [], "make-home: usage: make-home HOME_DIR [JAVA_HOME]"),
    ("make-home", ["/nowhere/home"], "make-home: the directory /nowhere for the home does not exist"),
    ("make-home", ["{}/home", "/nowhere"], "make-home: no Java runtime at /nowhere: it has no bin/java"),
    ("make-home", ["{}/temp"], "make-home: {}/temp is there already; name a home that does not exist"),
    ("make-stage", [], "make-stage: usage: make-stage STAGE_DIR"),
    ("make-stage", ["{}/temp"], "build-stage: {}/temp is there already; name a stage that does not exist"),
    ("make-jar", [], "make-jar: usage: make-jar JAR [JAVAC_OPTION]..."),
    ("make-jar", ["/nowhere/jar"], "make-jar: the directory /nowhere for the jar does not exist"),
    ("make-jar", ["{}/temp"], "make-jar: {}/temp is a directory; name the file to make"),
])
def test_a_wrong_call_is_said_in_one_line_and_leaves_nothing(moved, script, arguments, said):
    done = subprocess.run([f"{moved}/kit/{DEMO}{script}"] + [text.format(moved) for text in arguments],
                          capture_output=True, text=True, check=False)
    assert done.returncode == 1
    assert [line for line in done.stderr.splitlines() if "warning" not in line] == [said.format(moved)]
    assert sorted(os.listdir(moved)) == ["kit", "temp"]
    assert os.listdir(moved + "/temp") == []


def test_sources_that_java_refuses_leave_no_jar_and_no_home(moved):
    with open(f"{moved}/kit/{DEMO}src/talvex/Wrong.java", "w", encoding="ascii") as out:
        out.write("class Other {\n")
    for script, name in (("make-jar", "jar"), ("make-home", "home")):
        done = subprocess.run([f"{moved}/kit/{DEMO}{script}", f"{moved}/{name}"],
                              capture_output=True, text=True, check=False)
        assert done.returncode == 1
        assert done.stderr.splitlines()[-1] == \
            f"make-jar: cannot compile the sources in {moved}/kit/{DEMO}src"
        assert sorted(os.listdir(moved)) == ["kit", "temp"]
