"""The throw-away root, made as new between two tests."""

import os
import stat

from harness_catalogues import LOCALES
from harness_files import read_file, write_file

OPERATOR_HOME = "/home/operator"
RECORDS = OPERATOR_HOME + "/.recorder"
SANITIZER_REPORTS = OPERATOR_HOME + "/.sanitizer"

KEPT = ("/proc", "/dev", "/sys", "/.machine", LOCALES)


class CleanRoot:
    """The root as it was before the first test."""

    LINKED = ("/usr/bin", "/usr/sbin", "/usr", "/etc")

    def __init__(self, kept=()):
        self.kept = (*KEPT, *kept)
        self.entries = {top: self.content(top) for top in self.LINKED}
        self.top = set(os.listdir("/"))

    @staticmethod
    def content(top):
        """{name: ("link", target) or ("file", bytes, mode) or ("dir",)}"""
        found = {}
        with os.scandir(top) as entries:
            for entry in entries:
                if entry.is_symlink():
                    found[entry.name] = ("link", os.readlink(entry.path))
                elif entry.is_dir():
                    found[entry.name] = ("dir",)
                else:
                    found[entry.name] = ("file", read_file(entry.path), entry.stat().st_mode)
        return found

    def restore(self):
        for top, wanted in self.entries.items():
            os.chmod(top, 0o755)
            present = self.content(top)
            for name in present.keys() | wanted.keys():
                if present.get(name) != wanted.get(name):
                    self.restore_entry(f"{top}/{name}", wanted.get(name))
        for name in set(os.listdir("/")) - self.top:
            self.remove("/" + name)
        for top in ("/tmp", "/var", "/home", "/cdrom", "/small", "/fewfiles", "/noexec"):
            self.empty(top)
        for path, mode in (("/var/opt", 0o755), ("/var/tmp", 0o1777), (OPERATOR_HOME, 0o755),
                           ("/tmp", 0o1777), ("/cdrom", 0o755), ("/small", 0o755),
                           ("/fewfiles", 0o755), ("/noexec", 0o755),
                           (RECORDS, 0o777), (SANITIZER_REPORTS, 0o777)):
            os.makedirs(path, exist_ok=True)
            os.chmod(path, mode)

    def restore_entry(self, path, wanted):
        self.remove(path)
        if wanted and wanted[0] == "link":
            os.symlink(wanted[1], path)
        elif wanted and wanted[0] == "file":
            write_file(path, wanted[1], stat.S_IMODE(wanted[2]))

    def remove(self, path):
        """Removes path and what is below it, but nothing that is mounted."""
        if path in self.kept or not os.path.lexists(path) or os.path.ismount(path):
            return
        if os.path.islink(path) or not os.path.isdir(path):
            os.unlink(path)
            return
        self.empty(path)
        if not os.listdir(path):
            os.rmdir(path)

    def empty(self, path):
        if stat.S_IMODE(os.stat(path).st_mode) & 0o700 != 0o700:
            os.chmod(path, 0o700)
        for name in os.listdir(path):
            self.remove(f"{path}/{name}")
