"""The programs as they ship, read off the built files and their build: what they need and how they
are protected."""

import json
import os
import re

import pytest

from kit import C_LIBRARY, FIRST, KIT, LAUNCHER, REPO, elf, files, needed, read, run

PROGRAMS = sorted(name for name in files(KIT) if read(f"{KIT}/{name}").startswith(b"\x7fELF"))
of_every_program = pytest.mark.parametrize("program", [f"{KIT}/{name}" for name in PROGRAMS], ids=PROGRAMS)
DISASSEMBLY = run("objdump", "-d", "--no-show-raw-insn", LAUNCHER)
X86_64 = os.uname().machine == "x86_64"


def commands(build):
    """{source: its compiler command} of the launcher's sources."""
    ninja = read(build + "/build.ninja").decode()
    found = {}
    for block in ninja.split("\n\n"):
        source = re.match(r"build \S+: CXX_COMPILER\S* (\S*/c/\S+\.cpp) ", block)
        if source:
            found[source.group(1)] = re.search(r"^  FLAGS = (.*)$", block, re.M).group(1).split()
    return found


def test_the_launcher_is_among_them():
    assert os.path.relpath(LAUNCHER, KIT) in PROGRAMS


@of_every_program
def test_it_needs_the_c_library_and_nothing_else(program):
    libraries = needed(program)
    assert "libc.so.6" in libraries
    assert [name for name in libraries if not C_LIBRARY.fullmatch(name)] == []


@of_every_program
def test_it_can_lie_anywhere_in_memory(program):
    assert re.search(r"Type: +DYN \(Position-Independent Executable file\)", elf("-h", program))
    assert re.search(r"FLAGS_1\) +Flags:.* PIE", elf("-d", program))


@of_every_program
def test_its_tables_are_bound_at_the_start_and_read_only_from_then_on(program):
    assert "GNU_RELRO" in elf("-l", program)
    assert re.search(r"\(FLAGS\) +BIND_NOW", elf("-d", program))
    assert re.search(r"FLAGS_1\) +Flags: NOW", elf("-d", program))


@of_every_program
def test_its_stack_cannot_be_executed(program):
    assert re.search(r"GNU_STACK .* RW +0x", elf("-l", program))


@of_every_program
def test_its_stack_is_protected(program):
    assert "__stack_chk_fail" in elf("--dyn-syms", program)


@pytest.mark.skipif(not X86_64, reason="the probes and the landing pads of one machine")
def test_large_frames_are_probed_page_by_page_and_functions_begin_with_landing_pads():
    main = re.search(r"<main>:\n +[0-9a-f]+:\t(\w+)", DISASSEMBLY).group(1)
    assert main == "endbr64"
    assert re.search(r"orq +\$0x0,\(%rsp\)", DISASSEMBLY)


def test_every_source_is_compiled_with_all_protections_and_warnings_stop_nothing():
    found = commands(FIRST)
    sources = {os.path.join(place, name) for place, _, names in os.walk(REPO + "/c")
               for name in names if name.endswith(".cpp")}
    assert found.keys() == sources - {REPO + "/c/platform/mount_table_solaris.cpp"}
    for source, flags in found.items():
        assert {"-fstack-protector-strong", "-fstack-clash-protection", "-D_FORTIFY_SOURCE=2"} <= \
            set(flags), source
        assert flags.index("-U_FORTIFY_SOURCE") < flags.index("-D_FORTIFY_SOURCE=2")
        assert ("-fcf-protection" in flags) or not X86_64
        assert "-fPIC" in flags or "-fPIE" in flags
        assert "-Wall" in flags and "-Werror" not in flags


def test_calls_of_the_c_library_that_could_overrun_are_checked_ones(tmp_path):
    # The launcher has no buffer whose size is not known at the call, so none of its calls shows it.
    (tmp_path / "probe.cpp").write_text(
        "#include <unistd.h>\n"
        "int main(int count, char**) { char text[8]; return (int)read(0, text, (size_t)count); }\n")
    flags = commands(FIRST)[REPO + "/c/setupLauncher.cpp"]
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", read(FIRST + "/CMakeCache.txt").decode(),
                         re.M).group(1)
    run(compiler, *flags, str(tmp_path / "probe.cpp"), "-o", str(tmp_path / "probe"))
    assert "__read_chk" in elf("--dyn-syms", str(tmp_path / "probe"))


@pytest.mark.parametrize("preset", ["test", "sanitize"])
def test_a_developers_warnings_are_errors(preset, tmp_path):
    with open(REPO + "/CMakePresets.json", encoding="utf-8") as stream:
        presets = {entry["name"]: entry for entry in json.load(stream)["configurePresets"]}
    assert presets["sanitize"]["inherits"] == "test"
    run("cmake", "--preset", preset, "-B", str(tmp_path), "-DLAUNCHER_TOOLS=OFF",
        "-DLAUNCHER_TESTS=OFF", cwd=REPO)
    assert all("-Werror" in flags for flags in commands(str(tmp_path)).values())
