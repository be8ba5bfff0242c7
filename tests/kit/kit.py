"""The kits that make-kits has made, and what a program of them says of itself."""

import os
import re
import subprocess

REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
KITS = os.environ["KITS"]
KIT = KITS + "/kit"
FIRST, SECOND = KITS + "/first", KITS + "/second/build"
LAUNCHER = KIT + "/lib/setupLauncher/setupLauncher"
EPOCH = 1700000000
PLATFORM = f"{os.uname().sysname}-{os.uname().machine}"

# What may be there at run time: the C library, of which the loader is a part, and the math library.
C_LIBRARY = re.compile(r"lib[cm]\.so\.\d+|ld-linux-.*\.so\.\d+")


def read(path):
    with open(path, "rb") as stream:
        return stream.read()


def version():
    """The version of CMakeLists.txt."""
    text = read(REPO + "/CMakeLists.txt").decode()
    return re.search(r"^project\(setupLauncher VERSION ([0-9.]+) ", text, re.M).group(1)


def archive(build):
    return f"{build}/setupLauncher-{version()}-{PLATFORM}.tar.gz"


def run(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def elf(what, program):
    """What readelf prints of a program."""
    return run("readelf", what, "-W", program, env={"LC_ALL": "C", "PATH": os.environ["PATH"]})


def needed(program):
    return re.findall(r"\(NEEDED\) .*\[(.*)\]", elf("-d", program))


def loader(program):
    return re.search(r"program interpreter: (.*)\]", elf("-l", program)).group(1)


def files(top):
    """{path: mode} of every file at and below top."""
    return {os.path.relpath(f"{place}/{name}", top): os.stat(f"{place}/{name}").st_mode & 0o7777
            for place, _, names in os.walk(top) for name in names}


def ordinary(*command):
    """The command as an ordinary user runs it: the launcher refuses the super-user."""
    return (REPO + "/tools/unprivileged", *command)
