"""Zip archives for the tests of unzip, written by hand where no archiver writes such ones, and runs
of the stage's own unzip and of the usual one."""

import dataclasses
import os
import stat
import struct
import subprocess
import time
import zlib

from harness import tool

STORED, DEFLATED = 0, 8
UNIX, DOS = 3, 0
ENCRYPTED, UTF8 = 1, 1 << 11
WHEN = (2024 - 1980) << 25 | 1 << 21 | 31 << 16 | 9 << 11 | 5 << 5 | 8
USUAL = "/usr/bin/unzip"


def ours():
    return tool("STAGE_UNZIP")


@dataclasses.dataclass
class Entry:
    """An entry and what its two headers tell of it; what is None is what is true."""

    name: bytes
    data: bytes = b""
    mode: int = 0o100644
    method: int = STORED
    host: int = UNIX
    flags: int = 0
    when: int = WHEN
    crc: int = None
    packed: bytes = None
    size: int = None
    packed_size: int = None
    offset: int = None
    attributes: int = None
    extra: bytes = b""
    local_extra: bytes = b""
    local_name: bytes = None
    local_size: int = None
    local_method: int = None


def link(name, target):
    return Entry(name, target, 0o120777)


def deflated(data):
    packer = zlib.compressobj(6, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


def archive_bytes(entries, told=None, comment=b""):
    """The archive of the entries; `told` is the number that its end tells."""
    body, directory = b"", b""
    for entry in entries:
        packed = entry.packed
        if packed is None:
            packed = deflated(entry.data) if entry.method == DEFLATED else entry.data
        crc = zlib.crc32(entry.data) if entry.crc is None else entry.crc
        size = len(entry.data) if entry.size is None else entry.size
        packed_size = len(packed) if entry.packed_size is None else entry.packed_size
        offset = len(body) if entry.offset is None else entry.offset
        attributes = entry.mode << 16 if entry.attributes is None else entry.attributes
        local_name = entry.name if entry.local_name is None else entry.local_name
        local_size = size if entry.local_size is None else entry.local_size
        local_method = entry.method if entry.local_method is None else entry.local_method
        body += struct.pack("<IHHHIIIIHH", 0x04034b50, 20, entry.flags, local_method, entry.when, crc,
                            packed_size, local_size, len(local_name), len(entry.local_extra))
        body += local_name + entry.local_extra + packed
        directory += struct.pack("<IHHHHIIIIHHHHHII", 0x02014b50, entry.host << 8 | 20, 20,
                                 entry.flags, entry.method, entry.when, crc, packed_size, size,
                                 len(entry.name), len(entry.extra), 0, 0, 0, attributes, offset)
        directory += entry.name + entry.extra
    count = (len(entries) if told is None else told) & 0xffff
    return body + directory + struct.pack("<IHHHHIIH", 0x06054b50, 0, 0, count, count, len(directory),
                                          len(body), len(comment)) + comment


def write_archive(path, entries, **told):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.write(archive_bytes(entries, **told))
    return path


def run_unzip(program, *arguments, **more):
    return subprocess.run([program, *arguments], capture_output=True, check=False, timeout=120,
                          stdin=subprocess.DEVNULL, **more)


def timed_tree(top, start):
    """{path: what lies there, with contents, modes, times and links}; a time since `start` is "now".
    The times are taken first: to read a file changes them."""
    found = {}
    for directory, directories, files in os.walk(os.fsencode(top)):
        for name in directories + files:
            path = os.path.join(directory, name)
            info = os.lstat(path)
            times = ["now" if moment >= int(start) else moment
                     for moment in (info.st_mtime, info.st_atime)]
            entry = [stat.S_IFMT(info.st_mode), stat.S_IMODE(info.st_mode), times]
            if stat.S_ISLNK(info.st_mode):
                entry = [stat.S_IFLNK, os.readlink(path)]
            elif stat.S_ISDIR(info.st_mode):
                entry[2] = times[0]
            found[os.path.relpath(path, os.fsencode(top))] = entry
    for path, entry in found.items():
        if entry[0] == stat.S_IFREG:
            mode = entry[1]
            whole = os.path.join(os.fsencode(top), path)
            os.chmod(whole, 0o600)
            with open(whole, "rb") as stream:
                entry.append(stream.read())
            os.chmod(whole, mode)
    return found


def unpacked(program, pattern, *, options=("-qqqo",), prepare=None, top="/tmp/unpacked", umask=0o022):
    """A run that unpacks into a new directory, and the tree that came of it."""
    start = time.time()
    os.makedirs(top)
    if prepare:
        prepare(top)
    done = run_unzip(program, *options, pattern, "-d", top, umask=umask)
    found = timed_tree(top, start)
    os.rename(top, f"{top}.{os.path.basename(program)}.{time.time_ns()}")
    return done, found


def assert_alike(pattern, **how):
    """Both programs end with the same status, the same tree and the same list of what they did."""
    usual, wanted = unpacked(USUAL, pattern, **how)
    own, found = unpacked(ours(), pattern, **how)
    assert found == wanted
    assert (own.returncode, own.stdout) == (usual.returncode, usual.stdout)
    assert own.stderr == b""
    return found
