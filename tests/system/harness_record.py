"""What the recorder stored in place of java."""

import json
import os
import zlib


def unescaped(value):
    """The recorder's texts hold one character per byte."""
    if isinstance(value, str):
        return os.fsdecode(value.encode("latin-1"))
    if isinstance(value, list):
        return [unescaped(item) for item in value]
    if isinstance(value, dict):
        return {key: item.encode("latin-1") if key in ("content", "stdin") else unescaped(item)
                for key, item in value.items()}
    return value


class Record:
    """What the recorder was given in place of java. Bytes that are no UTF-8
    appear as surrogates, as everywhere in Python; os.fsencode restores them."""

    def __init__(self, text, hidden_environment=()):
        data = unescaped(json.loads(text))
        self.argv = data["argv"]
        self.environ_list = [entry for entry in data["env"] if entry not in hidden_environment]
        self.environ = {}
        for entry in self.environ_list:
            name, _, value = entry.partition("=")
            self.environ.setdefault(name, value)
        self.cwd = data["cwd"]
        self.umask = data["umask"]
        self.nofile = tuple(data["nofile"])
        self.fds = data["fds"]
        self.signals_blocked = int(data["signals_blocked"], 16)
        self.signals_ignored = int(data["signals_ignored"], 16)
        self.pid, self.ppid, self.uid = data["pid"], data["ppid"], data["uid"]
        self.scratch = data["scratch"]
        self.stdin = data.get("stdin")
        self.tree = {entry["path"]: self.entry(entry) for entry in data["tree"]}

    @staticmethod
    def entry(entry):
        if entry["type"] == "link":
            return ("link", entry["target"])
        if entry["type"] == "file":
            return ("file", entry["mode"], entry.get("content", (entry["size"], entry["crc"])))
        return (entry["type"], entry["mode"])

    def after(self, option):
        """The argument that follows the given one."""
        return self.argv[self.argv.index(option) + 1]

    @property
    def class_path(self):
        return self.after("-cp").split(":")

    @property
    def entry_class(self):
        return self.argv[self.argv.index("-cp") + 2]

    @property
    def properties(self):
        """{name: value} of the -Dtalvex.installer. properties."""
        prefix = "-Dtalvex.installer."
        return dict(argument[len(prefix):].split("=", 1)
                    for argument in self.argv if argument.startswith(prefix))

    @property
    def jvm_options(self):
        """What stands between the last property and -cp."""
        before = self.argv[:self.argv.index("-cp")]
        last = max(i for i, text in enumerate(before) if text.startswith("-Dtalvex.installer."))
        return before[last + 1:]

    @property
    def installer_arguments(self):
        """What follows the entry class."""
        return self.argv[self.argv.index("-cp") + 3:]

    @property
    def passed_through(self):
        """What follows the time stamp, the last element of the launcher's own."""
        at = self.argv.index("-timestamp", self.argv.index("-sourceType"))
        return self.argv[at + 2:]


def signal_mask(*signals):
    """The mask of these signals, as a Record holds it."""
    return sum(1 << (number - 1) for number in signals)


def file_crc(content):
    """What a Record's tree holds for a file of more than 1 MB."""
    return (len(content), zlib.crc32(content))
