"""What the prerequisite checks show and record, as one text per stream, and
the system commands that they read."""

import os

from harness import as_bytes, assert_same, en, write_file, write_script

PKGINFO = "/usr/bin/pkginfo"
SHOWREV = "/usr/bin/showrev"
PSRINFO = "/usr/sbin/psrinfo"
SWAP = "/usr/sbin/swap"
OPENWIN_XDPYINFO = "/usr/openwin/bin/xdpyinfo"
XDPYINFO = "/usr/bin/xdpyinfo"

RELEASE = os.uname().release
MACHINE = os.uname().machine
GENERIC = "Generic Prereqs"
CERTIFIED = "Certified Versions"
REQUIRED = f"Solaris-{RELEASE}-required"
OPTIONAL = f"Solaris-{RELEASE}-optional"

# What a host prints.
SHOWREV_LINE = "Patch: {} Obsoletes: {} Requires:  Incompatibles:  Packages: SUNWrcmds\n"
PSRINFO_TEXT = """Status of virtual processor {} as of: 11/21/2026 10:15:00
  on-line since 11/20/2026 08:00:01.
  The i386 processor operates at {} MHz,
\tand has an i387 compatible floating point processor.
"""
SWAP_TEXT = "total: 1000k bytes allocated + 200k reserved = {} used, {} available\n"
XDPYINFO_TEXT = """name of display:    operator:0.0
screen #0:
  dimensions:    1280x1024 pixels (361x289 millimeters)
  depths (2):    1, 8
  depth of root window:    {} planes
  visual:
    visual id:    0x21
    depth:    2 planes
"""


def prints(path, text):
    """Puts a command at path that prints text."""
    write_file(path + ".text", text)
    return write_script(path, f"exec cat {path}.text\n")


def missing(path):
    """Makes sure that there is no such command, whatever the machine has."""
    if os.path.lexists(path):
        os.unlink(path)


def has_packages(*names):
    """A pkginfo that knows these packages."""
    known = " ".join(names)
    return write_script(PKGINFO, f"""for known in {known}; do
    if [ "$1" = "$known" ]; then
        printf '%-11s %s Core Solaris, (Root)\\n' system "$1"
        exit 0
    fi
done
printf 'ERROR: information for "%s" was not found\\n' "$1" >&2
exit 1
""")


def has_patches(*patches):
    """A showrev of a host with these patches: an id each, or (id, what it
    obsoletes)."""
    pairs = [(patch, "") if isinstance(patch, str) else patch for patch in patches]
    return prints(SHOWREV, "".join(SHOWREV_LINE.format(*pair) for pair in pairs))


def has_processors(*speeds):
    return prints(PSRINFO, "".join(PSRINFO_TEXT.format(*pair) for pair in enumerate(speeds)))


def has_swap(used, available):
    return prints(SWAP, SWAP_TEXT.format(used, available))


def has_display(depth, path=OPENWIN_XDPYINFO):
    return prints(path, XDPYINFO_TEXT.format(depth))


class Said:
    """What is shown on the console and recorded in the install log, in order.
    `shown` makes the console's texts of keys, in the operator's language."""

    def __init__(self, shown=en):
        self.shown = shown
        self.console = b""
        self.log = b""

    def show(self, key, *arguments):
        self.console += self.shown(key, *arguments)
        return self

    def record(self, key, *arguments):
        self.log += en(key, *arguments)
        return self

    def report(self, key, *arguments):
        return self.show(key, *arguments).record(key, *arguments)

    def plain(self, text):
        """A text that is no message, shown and recorded as it is."""
        self.console += as_bytes(text)
        self.log += as_bytes(text)
        return self

    def show_plain(self, text):
        self.console += as_bytes(text)
        return self

    def record_plain(self, text):
        self.log += as_bytes(text)
        return self

    # -- checks

    def found_wrong(self, *reasons):
        """A failed check: each reason, a key with its arguments, is shown as it
        is found; the verdict follows, and behind it the reasons are recorded."""
        for reason in reasons:
            self.show(*reason)
        self.report("S_SFAILED")
        for reason in reasons:
            self.record(*reason)
        return self

    def verdict(self, passed):
        return self.report("S_SPASSED" if passed else "S_SFAILED")

    def certified(self, words, passed=True):
        return (self.report("S_CHECKING_REQ_PREREQ").report("S_CHECKING_FOR_OS_VERSION")
                .plain(words).report("S_ACTUAL", RELEASE)
                .report("S_SPASSED_ON_NEWLINE" if passed else "S_SFAILED_ON_NEWLINE"))

    def certified_host(self):
        return self.certified(RELEASE)

    def packages(self, value, *missing):
        self.report("S_CHECKING_FOR_PACKAGES").plain(value)
        if not missing:
            return self.verdict(True)
        return self.found_wrong(*(("S_CHECK_FOR_PACKAGE_FAILED", name) for name in missing))

    def processor(self, words, passed=True):
        return self.report("S_CHECKING_FOR_PROCESSOR").plain(words).verdict(passed)

    def cpu(self, value, speed, passed=True):
        return (self.report("S_CHECKING_FOR_CPU", value).report("S_ACTUAL", f"{speed} MHz")
                .verdict(passed))

    def display(self, value, colours, passed=True):
        return (self.report("S_CHECKING_FOR_DISP_COL", value).report("S_ACTUAL", colours)
                .verdict(passed))

    def temp_space(self, value, free):
        return (self.report("S_CHECKING_FOR_TEMP_SPACE", value)
                .report("S_ACTUAL_TEMP_SPACE", free).verdict(True))

    def no_temp_space(self, value, free):
        return self.report("S_FAIL_CHECKING_FOR_TEMP_SPACE", free, value).verdict(False)

    def swap(self, value, found):
        return (self.report("S_CHECKING_FOR_SWAP", value).report("S_ACTUAL_SWAP", found)
                .verdict(True))

    def no_swap(self, value, found):
        return self.report("S_FAIL_CHECKING_FOR_SWAP", found, value).verdict(False)

    def patches(self, value, *patches, passed=True, value_shown=True, reasons=()):
        """Each patch is its id and what was found: (key, argument) pairs, the
        argument of S_FOUND_PATCH being the patch that follows the message. The
        reasons come before the patches; all of it is recorded behind the verdict."""
        self.report("S_CHECKING_FOR_PATCHES").record_plain(value)
        if value_shown:
            self.show_plain(value)
        lines = Said(self.shown)
        for reason in reasons:
            lines.report(*reason)
        for patch, *findings in patches:
            lines.report("S_CHECKING_FOR_PATCH").plain(patch)
            for key, *arguments in findings:
                if key == "S_FOUND_PATCH":
                    lines.report(key).plain(arguments[0])
                else:
                    lines.report(key, *arguments)
        return self.show_plain(lines.console).verdict(passed).record_plain(lines.log)

    # -- what a failed phase leads to

    def required_failed(self, *messages):
        """What is said of a generic or required phase that failed, with the
        failure messages of its checks."""
        self.plain("".join("\n\n" + message for message in messages))
        self.report("S_FAILED_PRE_REQ_1").report("S_FAILED_PRE_REQ_2")
        return self.show_plain("\n\n" if messages else "")

    def assert_went_on(self, launch, home, closed_by="\n", stderr=b""):
        """The launch said this and started java. A run of all phases closes
        with an empty line."""
        launch.assert_status(0)
        record = launch.record
        closing = as_bytes(closed_by)
        assert_same(launch.stdout, self.started() + self.console + closing, "the console")
        assert_same(launch.log, self.parameter_file(home) + self.log + closing
                    + b"INFO: " + en("S_ZUL") + b" Version 1.7.0.0.0 \n"
                    + en("S_EXECVP_ARGS", record.argv[0])
                    + b"".join(os.fsencode(text) + b"\n" for text in record.argv), "the log")
        assert_same(launch.stderr, stderr, "standard error")

    def assert_ended(self, launch, home, stderr=b""):
        """The launch said this and ended after naming its log."""
        launch.assert_status(255)
        path = launch.log_path
        assert_same(launch.stdout,
                    self.started() + self.console + self.shown("S_EXIT_MSG", path), "the console")
        assert_same(launch.log,
                    self.parameter_file(home) + self.log + en("S_EXIT_MSG", path), "the log")
        assert_same(launch.stderr, stderr, "standard error")
        assert launch.record is None

    def started(self):
        return self.shown("S_STARTINSTALLERMSG", "Kelvane Installer")

    @staticmethod
    def parameter_file(home):
        return en("S_USING_PARAMFILE", home.ini_path)


def certified_host(home, *sections, **certified):
    """A parameter file that certifies this very release, with the platform's
    checks on."""
    home.ini((CERTIFIED, {"Solaris": RELEASE, **certified}), *sections, PLATFORM_PREREQS="TRUE")


# ---- one check in the generic phase ---------------------------------------

def checked(home, key, value, *arguments, **more):
    """A launch without questions that makes one check."""
    home.ini((GENERIC, {key: value}))
    return home.launch("-noConsole", *arguments, **more)


def assert_check(home, key, value, said, passed, stderr=b"", **more):
    launch = checked(home, key, value, **more)
    if passed:
        said.assert_went_on(launch, home, stderr=stderr)
    else:
        said.required_failed().assert_ended(launch, home, stderr)
    return launch


def assert_passes(home, key, value, said, **more):
    return assert_check(home, key, value, said, True, **more)


def assert_fails(home, key, value, said, **more):
    return assert_check(home, key, value, said, False, **more)
