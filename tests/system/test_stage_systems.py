"""Stages for other systems than the one that builds them."""

import os
import subprocess

import pytest

from elf import (FREEBSD, GNU, I386, LINUX_C, LINUX_LOADER, LINUX_NOTE, RELOCATABLE, SOLARIS,
                 SOLARIS_C, SOLARIS_LOADER, SPARCV9, elf_program)
from harness import OPERATOR_HOME, read_file, tool, write_file

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools")
STAGE = f"{OPERATOR_HOME}/built"
LAUNCHER, UNZIP = f"{OPERATOR_HOME}/launcher", f"{OPERATOR_HOME}/unzip"
X86_64 = "Advanced Micro Devices X86-64, ELF64"

FOR_SOLARIS = elf_program(SOLARIS_LOADER, [SOLARIS_C])
FOR_LINUX = elf_program(LINUX_LOADER, [LINUX_C])


def build(launcher, unzip, *, path=None):
    write_file(LAUNCHER, launcher, 0o755)
    write_file(UNZIP, unzip, 0o755)
    write_file(f"{OPERATOR_HOME}/own/zul/jlib/a.jar", "x")
    environment = dict(os.environ, **({"PATH": path} if path else {}))
    return subprocess.run(
        [f"{TOOLS}/build-stage", "--launcher", LAUNCHER, "--catalogues", tool("CATALOGUES"),
         "--unzip", UNZIP, "--unchecked", STAGE, f"talvex.swd.zul:1={OPERATOR_HOME}/own"],
        capture_output=True, text=True, check=False, env=environment)


def assert_built(done, *warnings):
    assert done.stderr.splitlines() == ["build-stage: warning: " + line for line in warnings]
    assert (done.returncode, done.stdout) == (0, "")
    assert read_file(STAGE + "/install/setupLauncher") == read_file(LAUNCHER)
    assert read_file(STAGE + "/install/unzip") == read_file(UNZIP)


def assert_refused(done, said):
    assert (done.returncode, done.stdout, done.stderr) == (1, "", f"build-stage: {said}\n")
    assert [name for name in os.listdir(OPERATOR_HOME) if name.startswith("built")] == []


def short(value):
    """Bytes in the name of a test help nobody."""
    return "program" if isinstance(value, bytes) else None


@pytest.fixture(autouse=True)
def new_root(root_as_new):
    del root_as_new


@pytest.mark.parametrize("launcher, unzip", [
    (FOR_SOLARIS, FOR_SOLARIS),
    (FOR_SOLARIS, elf_program("/usr/lib/amd64/ld.so.1", ["libm.so.2", SOLARIS_C], abi=SOLARIS)),
    (elf_program("/lib/64/ld.so.1", [], abi=SOLARIS), elf_program("/usr/lib/amd64/ld.so.1")),
    (elf_program(abi=SOLARIS), FOR_SOLARIS),
    (FOR_LINUX, elf_program(LINUX_LOADER, ["libm.so.6", "libpthread.so.0", "libdl.so.2", "librt.so.1",
                                           LINUX_C, "ld-linux-x86-64.so.2"], abi=GNU)),
    (FOR_LINUX, elf_program(abi=GNU)),
    (FOR_LINUX, elf_program(note=LINUX_NOTE)),
    (FOR_LINUX, elf_program("/lib/ld-musl-x86_64.so.1", ["libc.musl-x86_64.so.1"])),
    (FOR_SOLARIS, b"#!/bin/sh\nexit 0\n"),
    (elf_program("/usr/lib/ld.so.1", [SOLARIS_C], machine=I386, bits=32),
     elf_program("/usr/lib/ld.so.1", [SOLARIS_C], machine=I386, bits=32)),
], ids=short)
def test_a_stage_is_built_of_a_launcher_and_an_unzip_for_one_system(launcher, unzip):
    assert_built(build(launcher, unzip))


@pytest.mark.parametrize("launcher, for_launcher, unzip, for_unzip", [
    (FOR_SOLARIS, f"Solaris ({X86_64})", FOR_LINUX, f"Linux ({X86_64})"),
    (FOR_LINUX, f"Linux ({X86_64})", FOR_SOLARIS, f"Solaris ({X86_64})"),
    (FOR_SOLARIS, f"Solaris ({X86_64})", elf_program(note=LINUX_NOTE), f"Linux ({X86_64})"),
    (FOR_SOLARIS, f"Solaris ({X86_64})", elf_program(abi=GNU), f"Linux ({X86_64})"),
    (elf_program(abi=SOLARIS), f"Solaris ({X86_64})", FOR_LINUX, f"Linux ({X86_64})"),
    (FOR_LINUX, f"Linux ({X86_64})", elf_program(abi=FREEBSD), f"FreeBSD ({X86_64})"),
    (FOR_SOLARIS, f"Solaris ({X86_64})",
     elf_program("/usr/lib/sparcv9/ld.so.1", [SOLARIS_C], machine=SPARCV9),
     "Solaris (Sparc v9, ELF64)"),
    (FOR_SOLARIS, f"Solaris ({X86_64})",
     elf_program("/usr/lib/ld.so.1", [SOLARIS_C], machine=I386, bits=32),
     "Solaris (Intel 80386, ELF32)"),
], ids=short)
def test_a_launcher_and_an_unzip_for_different_systems_or_machines_are_refused_by_name(
        launcher, for_launcher, unzip, for_unzip):
    assert_refused(build(launcher, unzip),
                   f"the launcher {LAUNCHER} is for {for_launcher} and the unzip {UNZIP} for "
                   f"{for_unzip}; name an unzip for the launcher's with --unzip")


def test_machines_are_told_apart_even_where_a_system_is_unknown():
    done = build(elf_program(), elf_program(SOLARIS_LOADER, [SOLARIS_C], machine=SPARCV9))
    assert done.stderr.splitlines()[-1] == (
        f"build-stage: the launcher {LAUNCHER} is for an unknown system ({X86_64}) and the unzip "
        f"{UNZIP} for Solaris (Sparc v9, ELF64); name an unzip for the launcher's with --unzip")
    assert (done.returncode, os.path.exists(STAGE)) == (1, False)


def test_shared_libraries_beyond_the_c_library_are_said_in_a_warning():
    done = build(elf_program(SOLARIS_LOADER, ["libstdc++.so.6", "libm.so.2", "libgcc_s.so.1",
                                              "libsocket.so.1", SOLARIS_C]),
                 elf_program(SOLARIS_LOADER, ["libbz2.so.1", SOLARIS_C]))
    assert_built(done, f"the launcher {LAUNCHER} needs shared libraries beyond the C library: "
                       "libstdc++.so.6 libgcc_s.so.1 libsocket.so.1",
                 f"the unzip {UNZIP} needs shared libraries beyond the C library: libbz2.so.1")


def test_a_program_that_tells_no_system_is_said_in_a_warning():
    assert_built(build(FOR_SOLARIS, elf_program()),
                 f"nothing in the unzip {UNZIP} tells which system it is for")


@pytest.mark.parametrize("unzip, said", [
    (b"", "is neither a program nor a script"),
    (b"PK\x03\x04 an archive", "is neither a program nor a script"),
    (FOR_SOLARIS[:4], "is a damaged program"),
    (FOR_SOLARIS[:60], "is a damaged program"),
    (FOR_SOLARIS[:-20], "is a damaged program"),
    (elf_program(kind=RELOCATABLE), "is no program that can be started"),
], ids=short)
def test_what_is_no_program_is_refused(unzip, said):
    assert_refused(build(FOR_SOLARIS, unzip), f"the unzip {UNZIP} {said}")


def test_without_the_program_that_reads_programs_nothing_is_built():
    os.makedirs("/tmp/path")
    for name in ("dash", "sh", "dirname", "readlink", "zip", "env"):
        os.symlink(f"/usr/bin/{name}", f"/tmp/path/{name}")
    assert_refused(build(FOR_SOLARIS, FOR_SOLARIS, path="/tmp/path"),
                   "no readelf program on the search path; install the package binutils")


@pytest.mark.parametrize("option, said", [
    ("--launcher", "no launcher at /tmp that can be read and started"),
    ("--unzip", "no unzip program at /tmp that can be read and started; name one with --unzip"),
])
def test_a_directory_is_no_program(option, said):
    write_file(f"{OPERATOR_HOME}/own/a", "x")
    done = subprocess.run(
        [f"{TOOLS}/build-stage", "--launcher", tool("LAUNCHER"), "--catalogues", tool("CATALOGUES"),
         "--unchecked", option, "/tmp", STAGE, f"talvex.swd.zul:1={OPERATOR_HOME}/own"],
        capture_output=True, text=True, check=False)
    assert_refused(done, said)
