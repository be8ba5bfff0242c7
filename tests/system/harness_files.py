"""Files, trees and parameter files of the tests, and how to compare what came out."""

import difflib
import os
import shutil
import stat


def tool(name):
    """The path in an environment variable that the build sets."""
    path = os.environ.get(name)
    assert path and os.path.exists(path), f"{name} names no file: {path!r}"
    return path


def java_home():
    """A real Java runtime."""
    if os.environ.get("TEST_JAVA_HOME"):
        return os.environ["TEST_JAVA_HOME"]
    java = shutil.which("java")
    assert java, "no java on the search path and TEST_JAVA_HOME is not set"
    return os.path.dirname(os.path.dirname(os.path.realpath(java)))


def as_bytes(text):
    return text if isinstance(text, bytes) else os.fsencode(text)


def write_file(path, content=b"", mode=None):
    """Writes a file, making the directories above it; returns the path."""
    os.makedirs(os.path.dirname(path) or ".", exist_ok=True)
    with open(path, "wb") as out:
        out.write(as_bytes(content))
    if mode is not None:
        os.chmod(path, mode)
    return path


def write_script(path, body):
    """A shell script, for instance in place of a system command."""
    if os.path.islink(path):
        os.unlink(path)
    return write_file(path, b"#!/bin/sh\n" + as_bytes(body), 0o755)


def read_file(path):
    with open(path, "rb") as stream:
        return stream.read()


def tree(top):
    """Everything at and below top: {relative path: ("dir", mode) or
    ("file", mode, content) or ("link", target) or ("other", mode)}; the top
    itself is ".". Links are not followed."""
    found = {}

    def add(path, name):
        info = os.lstat(path)
        mode = stat.S_IMODE(info.st_mode)
        if stat.S_ISLNK(info.st_mode):
            found[name] = ("link", os.readlink(path))
        elif stat.S_ISREG(info.st_mode):
            found[name] = ("file", mode, read_file(path))
        elif stat.S_ISDIR(info.st_mode):
            found[name] = ("dir", mode)
            for child in sorted(os.listdir(path)):
                add(f"{path}/{child}", child if name == "." else f"{name}/{child}")
        else:
            found[name] = ("other", mode)

    if os.path.lexists(top):
        add(top, ".")
    return found


def tree_lines(entries):
    """A tree as lines to compare: "dir 0750 ./x", "file 0644 ./y: b'...'"."""
    lines = []
    for name in sorted(entries):
        kind, *rest = entries[name]
        if kind == "link":
            lines.append(f"link {name} -> {rest[0]}")
        elif kind == "file":
            lines.append(f"file {rest[0]:04o} {name}: {rest[1]!r}")
        else:
            lines.append(f"{kind} {rest[0]:04o} {name}")
    return lines


def ini_text(*sections, **keys):
    """The text of a parameter file: first the section Talvex with the given
    keys in their order, then every (name, keys) pair. A key whose value is
    None is left out; a section's keys may be a dict, pairs or raw text."""
    lines = []
    for name, values in (("Talvex", keys), *sections):
        lines.append(f"[{name}]")
        if isinstance(values, str):
            lines.append(values.rstrip("\n"))
            continue
        pairs = values.items() if isinstance(values, dict) else values
        lines.extend(f"{key}={value}" for key, value in pairs if value is not None)
    return "\n".join(lines) + "\n"


def lines_of(value):
    if isinstance(value, dict):
        return tree_lines(value)
    if isinstance(value, bytes):
        return [repr(line)[2:-1] for line in value.splitlines(keepends=True)]
    if isinstance(value, str):
        return value.splitlines()
    return [item if isinstance(item, str) else repr(item) for item in value]


def assert_same(actual, expected, what="the result"):
    """Compares texts, bytes, lists of arguments or trees; the failure shows a
    line-by-line difference."""
    if actual == expected:
        return
    difference = "\n".join(difflib.unified_diff(
        lines_of(expected), lines_of(actual), "expected", "actual", lineterm="", n=2))
    raise AssertionError(f"{what} differs:\n{difference or f'{actual!r} != {expected!r}'}")


def assert_golden(actual, path, what="the result"):
    """Compares lines with a file beside the tests, one line each."""
    golden = os.path.join(os.path.dirname(os.path.abspath(__file__)), "golden", path)
    if not os.path.exists(golden):
        raise AssertionError(f"there is no golden/{path}; it would be:\n" + "\n".join(actual))
    assert_same(list(actual), read_file(golden).decode().splitlines(), what)
