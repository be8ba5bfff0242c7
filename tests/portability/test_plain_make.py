"""The lines for make of docs/solaris.md, run where they can be."""

import os
import re
import subprocess

REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def read(path):
    with open(path, encoding="utf-8") as stream:
        return stream.read()


def test_the_plain_make_builds_the_launcher_of_this_version(tmp_path):
    lines = re.search(r"^```make\n(.*?)^```$", read(REPO + "/docs/solaris.md"), re.M | re.S).group(1)
    (tmp_path / "Makefile").write_text(lines)
    (tmp_path / "c").symlink_to(REPO + "/c")
    made = subprocess.run(
        ["make", "OTHER_TABLE=solaris", "SYSTEM=here", "CXXFLAGS=-O0", "LDFLAGS="],
        cwd=tmp_path, capture_output=True, text=True, check=False)
    assert made.returncode == 0, made.stderr
    version = re.search(r"^project\(setupLauncher VERSION (\S+) ", read(REPO + "/CMakeLists.txt"), re.M)
    program = (tmp_path / "setupLauncher").read_bytes()
    assert f"@(#)setupLauncher {version.group(1)} here\0".encode() in program
    needed = subprocess.run(["readelf", "-d", "setupLauncher"], cwd=tmp_path, capture_output=True,
                            text=True, check=True, env={**os.environ, "LC_ALL": "C"}).stdout
    assert "[libc.so" in needed and "libstdc++" not in needed and "libgcc_s" not in needed
