"""The launcher's sources against headers with the peculiarities of Solaris, by both compilers, and
each peculiarity for itself: what would not compile there is refused here."""

import concurrent.futures
import glob
import os
import shutil
import subprocess

import pytest

from hazards import HAZARDS, PORTABLE, REFUSED_THERE

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
HEADERS = HERE + "/include"
COMPILERS = ["g++", "clang++"]

# What a compiler there says of its system; the plain words only in the gnu dialect.
TARGET = ["-D__sun", "-D__SVR4", "-D__svr4__", "-Dsun", "-Dunix", "-U__linux__", "-U__linux", "-U__gnu_linux__",
          "-isystem", HEADERS]


def compiled(compiler, *arguments, code=None):
    """The messages of a compiler that was to make nothing; None when it found nothing wrong."""
    assert shutil.which(compiler), f"no {compiler} on the search path"
    done = subprocess.run([compiler, "-std=c++20", "-fsyntax-only", *arguments], input=code, text=True,
                          capture_output=True, env={**os.environ, "LC_ALL": "C"}, check=False)
    return done.stderr if done.returncode != 0 else None


def snippet(compiler, headers, code, *options):
    text = "".join(f"#include <{header}>\n" for header in headers.split()) + code + "\n"
    return compiled(compiler, *options, "-x", "c++", "-", code=text)


@pytest.mark.parametrize("compiler", COMPILERS)
def test_every_source_of_the_launcher_compiles(compiler):
    sources = glob.glob(REPO + "/c/**/*.cpp", recursive=True)
    assert REPO + "/c/platform/mount_table_solaris.cpp" in sources

    def complaints(source):
        return compiled(compiler, *TARGET, "-I", REPO + "/c", '-DLAUNCHER_VERSION="1"',
                        '-DLAUNCHER_PLATFORM="SunOS-x86_64"', source)

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        assert [text for text in pool.map(complaints, sources) if text] == []


@pytest.mark.parametrize("compiler", COMPILERS)
@pytest.mark.parametrize("word, headers, code", HAZARDS, ids=[code for _, _, code in HAZARDS])
def test_what_compiles_on_linux_only_is_refused(compiler, word, headers, code):
    assert snippet(compiler, headers, code) is None
    said = snippet(compiler, headers, code, *TARGET)
    assert said is not None, "it compiles against the stand-ins, too"
    assert word in said


@pytest.mark.parametrize("compiler", COMPILERS)
@pytest.mark.parametrize("headers, code", PORTABLE, ids=[code for _, code in PORTABLE])
def test_what_is_right_on_solaris_compiles(compiler, headers, code):
    assert snippet(compiler, headers, code, *TARGET) is None


@pytest.mark.parametrize("compiler", COMPILERS)
@pytest.mark.parametrize("word, headers, code", REFUSED_THERE, ids=[code for _, _, code in REFUSED_THERE])
def test_what_the_mount_tables_header_does_not_allow_is_refused(compiler, word, headers, code):
    said = snippet(compiler, headers, code, *TARGET)
    assert said is not None and word in said


def test_every_stand_in_is_held_to_a_hazard():
    named = {header for _, headers, _ in HAZARDS for header in headers.split()}
    named |= {header for headers, _ in PORTABLE for header in headers.split()}
    named |= {name[1:] + ".h" for name in named if name[0] == "c" and "." not in name}
    present = {os.path.relpath(path, HEADERS)
               for path in glob.glob(HEADERS + "/**/*.h", recursive=True)}
    assert present - named == set()
