"""The tables of the launcher's sources, read off the sources themselves: what an operator can say,
set, read or meet. A table that has another shape than the one known here fails the reading."""

import os
import re

from manual import TOP

OPTIONS = "c/setupLauncher/options.cpp"
SETTINGS = "c/setupLauncher/settings.cpp"
SETTINGS_HEADER = "c/setupLauncher/settings.h"
COMMAND = "c/setupLauncher/installer_command.cpp"
PREREQS = "c/prereqchecks/prereq_driver.cpp"
COMPONENTS = "c/bootstrap/stage_layout.h"
CATALOGUE = "c/nls/catalogue.cpp"
STATUS = "c/base/status.h"
UNZIP_STATUS = "unzip/status.h"
UNZIP_OPTIONS = "unzip/command_line.cpp"
STAGE_CHECKER = "check-stage/main.cpp"
STAGE_BUILDER = "tools/build-stage"
TEXTS = "resource/cons.pot"

# Statuses that stay between the launcher's rooms.
INTERNAL_STATUSES = {"kNoCertifiedVersions", "kBootstrapDone", "kBootstrapFailed"}

COMMENT = re.compile(r"//[^\n]*")
STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')
ESCAPES = {"\\n": "\n", '\\"': '"', "\\\\": "\\"}


def load():
    """{path below the repository: text} of the programs' sources and of the message texts."""
    sources = {}
    for top in ("c", "check-stage", "resource", "tools", "unzip"):
        for directory, _, names in os.walk(f"{TOP}/{top}"):
            for name in names:
                path = f"{directory}/{name}"
                with open(path, encoding="utf-8") as stream:
                    sources[os.path.relpath(path, TOP)] = stream.read()
    return sources


def code_of(sources, top="c/"):
    """{path: text without comments} of the sources below a directory, the launcher's without one."""
    return {path: COMMENT.sub("", text) for path, text in sources.items()
            if path.startswith(top) and path.endswith((".cpp", ".h"))}


def unquoted(text):
    """The value of a string literal, or of several in a row."""
    parts = STRING.findall(text)
    assert parts, f"{text!r} is no string literal"
    return re.sub(r'\\.', lambda match: ESCAPES.get(match.group(), match.group()), "".join(parts))


def rows(sources, path, name):
    """The fields of every row of the array of that name."""
    text = COMMENT.sub("", sources[path])
    block = re.search(rf"\b{name}\[\] = \{{\n(.*?)\n?\}};", text, re.S)
    assert block, f"{path}: there is no table {name}"
    found = [[" ".join(field.split()) for field in row.split(",")]
             for row in re.findall(r"\{([^{}]*)\}", block.group(1))]
    rest = re.sub(r"\{[^{}]*\}|[,\s]", "", block.group(1))
    assert found and not rest, f"{path}: {name} holds more than rows: {rest!r}"
    return found


def text_or_none(field):
    return None if field == "nullptr" else unquoted(field)


# ---- the command line ------------------------------------------------------

class Option:
    def __init__(self, fields):
        text, _, flag, _, silent, log = fields
        self.text, self.flag = unquoted(text), flag
        self.silent = silent == "true"
        self.log = (text_or_none(log) or "").removeprefix("/")


def options(sources):
    """The options and session variables in the order in which they are tested."""
    return [Option(fields) for fields in rows(sources, OPTIONS, "kOptions")]


class Command:
    """A command, and what the table of classes and the one of options say about it."""

    def __init__(self, fields, known):
        flag, name, bootstrap, home = fields
        # The prerequisite session is no field of the command line.
        row = next(option for option in known
                   if (option.text == "-PREREQCHECKER" if flag == "kNone" else option.flag == flag))
        self.option, self.log = row.text, row.log
        self.class_name = text_or_none(name) or ""
        # The command that adds a node becomes silent when its row is chosen.
        silent = row.silent or flag == "&CommandLine::bAddNode"
        self.rules = " ".join(letter for letter, holds in (
            ("s", silent), ("h", home == "true"), ("b", bootstrap == "BootstrapRule::off")) if holds)


def commands(sources):
    known = options(sources)
    return [Command(fields, known) for fields in rows(sources, OPTIONS, "kEntryClasses")]


def spelt_options(sources):
    """What is looked for in the one spelling that the sources have."""
    text = COMMENT.sub("", sources[OPTIONS])
    found = re.findall(r'GetCommandLineArgValue(?:SpaceDelim)?\("(-\w+)"', text)
    found += re.findall(r'starts_with\("(-J[^"]*)"\)', text)
    found += re.findall(r'argument == "(-\w+)"', text)
    found += re.findall(r'argument = "(-\w+)"', text)
    assert len(found) > 10, f"{OPTIONS}: {found}"
    return found


def folded_options(sources):
    """What is looked for in any letter case besides the table."""
    text = COMMENT.sub("", sources[OPTIONS])
    found = re.findall(r'string_view \w+ = "(-[A-Z]+)"', text)
    assert found, OPTIONS
    return found


# ---- the parameter file ----------------------------------------------------

def constants(sources, top="c/"):
    """{name: text} of the constants that are texts."""
    found = {}
    for text in code_of(sources, top).values():
        for name, value in re.findall(
                r'constexpr (?:const char\*|std::string_view) (k\w+) =\s*("[^;]*");', text):
            found[name] = unquoted(value)
    return found


def text_of(field, named):
    """The text of a literal or of a constant."""
    return unquoted(field) if field.startswith('"') else named[field]


class Key:
    def __init__(self, default, kind):
        self.default, self.kind = default or None, kind


def keys(sources):
    """{key: Key} of the launcher's section, with None for no default. A default directory that is
    derived from a key is that key with the rest of the path. The kinds are flag, strict flag and other."""
    named = constants(sources)
    found = {}
    for key, default, rule, _, launch_wide in rows(sources, SETTINGS, "kKeys"):
        kind = "flag" if rule == "Rule::first_character" else "other"
        found[unquoted(key)] = Key(text_of(default, named),
                                   "strict flag" if launch_wide != "nullptr" else kind)
    for key, default, form in rows(sources, SETTINGS, "kOtherKeys"):
        found[unquoted(key)] = Key(text_of(default, named),
                                   "flag" if form == "ValueForm::flag" else "other")
    # Those of the second table, where they are read.
    reads = []
    for text in code_of(sources).values():
        reads += re.findall(r'looked_up\(("\w+"),\s*("[^"]*"|locations\.\w+),', text)
        reads += re.findall(r'GetParamInformation\(("\w+"|k\w+),\s*[\w:.]+,\s*("[^"]*")', text)
    assert len(reads) > 6, reads
    derived = {"locations.instJarFELoc": "ZUL_LOCATION/jlib"}
    for field, default in reads:
        key = text_of(field, named)
        if key not in found:
            found[key] = Key(None, "other")
        if default in derived:
            found[key].default = derived[default]
        else:
            assert (unquoted(default) or None) == found[key].default, f"{key} has two defaults"
    return found


def checks(sources):
    """{key: only in the generic section} of the prerequisite checks. The key of a failure's text is
    the check's with the same ending for all."""
    found = {}
    for key, failure, phases, _ in rows(sources, PREREQS, "kChecks"):
        assert unquoted(failure) == unquoted(key) + "_FAILURE_MESSAGE", failure
        found[unquoted(key)] = phases != "Phases::all"
    return found


def certified_keys(sources):
    text = COMMENT.sub("", sources[PREREQS])
    named = constants(sources)
    found = re.findall(r'value_in\(phase, kCertifiedSection, ("\w+"|k\w+)\)', text)
    assert len(found) > 3, found
    return {text_of(field, named) for field in found}


def version_keys(sources):
    """The keys of the release's sections that are no checks."""
    named = constants(sources)
    found = re.findall(r'value_in_version_sections\(phase, ("\w+"|k\w+)\)', sources[PREREQS])
    assert found, PREREQS
    return {text_of(field, named) for field in found}


# ---- surroundings ----------------------------------------------------------

def environment(sources, top="c/"):
    """The variables that a program reads, sets or hides by name."""
    named = constants(sources, top)
    found = set()
    for text in code_of(sources, top).values():
        for hidden in re.findall(r'\brun_shell_command\([^;{]*\{([^}]*)\}\)', text):
            found.update(STRING.findall(hidden))
        for field in re.findall(r'\b(?:getenv|setenv|unsetenv|prefixToEnv)\(("\w+"|k\w+)', text):
            found.add(text_of(field, named))
    return found


def statuses(sources):
    """What the launcher's own statuses are to the shell."""
    found = dict(re.findall(r"constexpr int (k\w+) = (-?\d+);", sources[STATUS]))
    assert set(found) >= INTERNAL_STATUSES, found
    return {int(number) % 256 for name, number in found.items() if name not in INTERNAL_STATUSES}


def unzip_statuses(sources):
    found = re.findall(r"constexpr int k\w+ =\s*(\d+);", COMMENT.sub("", sources[UNZIP_STATUS]))
    assert len(found) > 10, found
    return {int(number) for number in found}


def unzip_options(sources):
    text = COMMENT.sub("", sources[UNZIP_OPTIONS])
    found = re.findall(r"case '(\w)':", text) + re.findall(r'word == "-(-\w+)"', text)
    assert len(found) > 6, found
    return set(found)


def checker_options(sources):
    found = re.findall(r'option [!=]= "-(-\w+|\w)"', sources[STAGE_CHECKER])
    assert len(found) > 2, found
    return set(found)


def builder_options(sources):
    found = re.findall(r"^ *-(-[\w-]+)\)\s", sources[STAGE_BUILDER], re.M)
    assert len(found) > 3, found
    return set(found)


def jars(sources):
    return {unquoted(jar) for _, jar in rows(sources, COMMAND, "kClassPath") if jar != "nullptr"}


def components(sources):
    found = {value for value in constants(sources).values()
             if re.fullmatch(r"talvex\.(?:swd|jdk)[\w.]*", value)}
    assert len(found) > 5, found
    return found


def languages(sources):
    return {path.removeprefix("resource/").removesuffix(".po")
            for path in sources if path.endswith(".po")}


# ---- messages --------------------------------------------------------------

ENTRY = re.compile(r'((?:#[^\n]*\n)+)msgctxt "(\w+)"\nmsgid ((?:"[^\n]*"\n)+)')


def messages(sources):
    """{key: English text} of the catalogue."""
    found = {key: unquoted(text) for _, key, text in ENTRY.findall(sources[TEXTS])}
    assert len(found) == sources[TEXTS].count("\nmsgctxt "), TEXTS
    return found


def error_messages(sources):
    """The keys of what goes to standard error: what the code complains with, and what the
    catalogue's comments say about it."""
    found = set()
    for comment, key, _ in ENTRY.findall(sources[TEXTS]):
        words = " ".join(comment.replace("#.", "").split()).lower()
        # A part of another message stands in none of its own.
        if "standard error" in words and not re.search("as a part of|added to a message", words):
            found.add(key)
    for text in code_of(sources).values():
        found.update(re.findall(r'\bcomplain\w*\([^;]*?"(S_\w+)"', text))
    return found


def fixed_messages(sources):
    """The texts that do not come from a catalogue, with a mark where an argument is. They are
    written in pieces, the last of which ends the line."""
    pieces = re.findall(r"std::fputs\(([^;]*),\s*stderr\);", COMMENT.sub("", sources[CATALOGUE]))
    assert pieces, CATALOGUE
    text = "".join(unquoted(piece) if piece.startswith('"') else "\0" for piece in pieces)
    return {line for line in text.split("\n") if line}


def capitals(sources):
    """{word: path} of every text in capitals that the sources spell, names of messages, signals and
    file formats aside: the name of a key, a variable or a value that somebody outside writes."""
    found = {}
    for path, text in code_of(sources).items():
        for word in STRING.findall(text):
            if re.fullmatch(r"(?!S_|SIG|ELF$)[A-Z][A-Z_]{2,}", word):
                found[word] = path
    return found
