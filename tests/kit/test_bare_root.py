"""The launcher as it ships, on a machine that has nothing but a C library and a shell."""

import os
import re
import shutil
import subprocess

import pytest

from kit import KIT, LAUNCHER, loader, needed, run

AS_USER = ("chroot", "--userspec=65534:65534") if os.getuid() == 0 else \
    ("unshare", "--user", "--map-user=12345", "--map-group=12345", "--root")

if subprocess.run([*AS_USER, "/", "true"], capture_output=True, check=False).returncode != 0:
    pytest.exit("This machine allows no other root directory.", 77)


def put(root, source, path=None):
    target = root + (path or source)
    os.makedirs(os.path.dirname(target), exist_ok=True)
    shutil.copy(source, target)


def put_with_libraries(root, program, path):
    """A program, its loader and the libraries it names; returns where those came from."""
    put(root, program, path)
    listed = run("ldd", program)
    libraries = {found for name in needed(program)
                 for found in re.findall(rf"{re.escape(name)} => (\S+)", listed)}
    for library in libraries | {loader(program)}:
        put(root, library)
    return libraries


@pytest.fixture(name="bare")
def fixture_bare():
    """A root with the launcher, one catalogue, a parameter file, java, sh and what those are linked
    to; no program is called by a name that is not below."""
    root = run("mktemp", "-d", "/tmp/bare.XXXXXX").strip()
    os.chmod(root, 0o755)
    libraries = put_with_libraries(root, LAUNCHER, "/home/bin/setupLauncher")
    libraries |= put_with_libraries(root, os.path.realpath("/bin/sh"), "/bin/sh")
    assert {os.path.basename(path) for path in libraries} <= {"libc.so.6", "libm.so.6"}
    put(root, KIT + "/lib/setupLauncher/resource/cons.nls", "/home/bin/resource/cons.nls")
    put(root, os.environ["STATIC_JAVA"], "/jre/bin/java")
    os.mkdir(root + "/tmp")
    os.chmod(root + "/tmp", 0o1777)
    with open(root + "/home/bin/talparam.ini", "w", encoding="ascii") as out:
        out.write("[Talvex]\nDISTRIBUTION=FALSE\nBOOTSTRAP=FALSE\nMULTICD=FALSE\nJRE_LOCATION=/jre\n"
                  "[Generic Prereqs]\nPACKAGES=SUNWcsr\n")
    yield root
    shutil.rmtree(root)


def launch(root, *arguments):
    command = ("/home/bin/setupLauncher", "-silent", *arguments)
    return subprocess.run([*AS_USER, root, *command], env={"PATH": os.environ["PATH"], "TEMP": "/tmp"},
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)


def test_it_starts_java_where_there_is_only_the_c_library_and_a_shell(bare):
    # The shell answers for the one command that the check asks.
    os.makedirs(bare + "/usr/bin")
    with open(bare + "/usr/bin/pkginfo", "w", encoding="ascii") as out:
        out.write('#!/bin/sh\necho "system      $1 Core Solaris, (Root)"\n')
    os.chmod(bare + "/usr/bin/pkginfo", 0o755)
    done = launch(bare)
    assert (done.returncode, done.stderr) == (7, ""), done.stdout
    assert "/jre/bin/java\n" in done.stdout
    assert "talvex.admkit.kst.kstc.KstcInstaller\n" in done.stdout
    assert os.listdir(bare + "/tmp") == []


def test_the_shell_there_is_asked_and_believed(bare):
    done = launch(bare)
    assert done.returncode == 255
    assert "/jre/bin/java\n" not in done.stdout
