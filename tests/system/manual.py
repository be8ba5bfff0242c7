"""The manual pages as the tests read them: sections, what their lists name, quoted messages and
examples, each with the line where it stands."""

import os
import re

TOP = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../.."))
PAGES = TOP + "/docs/man"

FONT = re.compile(r"\\f[A-Z]")
ESCAPES = {r"\&": "", r"\e": "\\", r"\-": "-", r"\(dq": '"', r"\ ": " "}
ESCAPE = re.compile("|".join(re.escape(escape) for escape in ESCAPES))


def plain(text):
    """The text that an escaped one shows."""
    return ESCAPE.sub(lambda match: ESCAPES[match.group()], text)


class Line:
    """One line of a page."""

    def __init__(self, page, number, text):
        self.page, self.number, self.text = page, number, text
        self.place = f"{page}:{number}"
        words = text[1:].split() if text.startswith(".") and not text.startswith('.\\"') else []
        self.macro, self.words = (words[0], words[1:]) if words else ("", [])


class Page:
    """One page: its source, and the lines of its parts."""

    def __init__(self, name, source):
        self.name = name
        self.lines = [Line(name, number, text)
                      for number, text in enumerate(source.splitlines(), 1)]
        self.source = source

    def part(self, heading, last=None):
        """The lines below the section or subsection of that heading, a section with its
        subsections; up to another heading when one is given."""
        macros = ("Sh", "Ss")
        start = level = None
        found = []
        for line in self.lines:
            if start is None:
                if line.macro in macros and " ".join(line.words) == heading:
                    start, level = line, macros.index(line.macro)
            elif line.macro in macros[:level + 1] or (last and " ".join(line.words) == last):
                break
            else:
                found.append(line)
        assert start is not None, f"{self.name}: no part is called {heading}"
        return found


def load(directory=PAGES):
    """{name: Page} of every page in the directory."""
    pages = {}
    for name in sorted(os.listdir(directory)):
        if re.search(r"\.\d$", name):
            with open(f"{directory}/{name}", encoding="utf-8") as stream:
                pages[name] = Page(name, stream.read())
    return pages


# ---- what lists name -------------------------------------------------------

def items(lines):
    """The lines that head the items of lists."""
    return [line for line in lines if line.macro == "It"]


def named(lines, macro):
    """{name: Line} of everything that stands behind the macro in these lines."""
    found = {}
    for line in lines:
        words = [line.macro, *line.words]
        for at, word in enumerate(words[:-1]):
            if word == macro:
                found.setdefault(plain(words[at + 1]), line)
    return found


def arguments(lines, macro):
    """{name: Line} of every argument of lines that begin with the macro, punctuation aside."""
    found = {}
    for line in lines:
        if line.macro == macro:
            for word in line.words:
                if word not in (",", ";", ".", ":"):
                    found.setdefault(plain(word), line)
    return found


def default_of(line):
    """What stands behind "default:" in the head of an item; None for "no default"."""
    head = plain(" ".join(line.words))
    if head.endswith(" Pq no default"):
        return None
    _, found, value = head.partition(" Pq default: ")
    assert found, f"{line.place}: {line.words[1]} tells no default"
    words = [word for word in value.split() if word not in ("Li", "Ic", "Ns")]
    return words[-1] if "Ns" not in value else "".join(words)


def table(lines):
    """(Line, cells) of the rows of the first table with columns, its heading left out."""
    rows = []
    for line in items(lines):
        if "Ta" in line.words:
            cells = " ".join(line.words).split("Ta")
            rows.append((line, [plain(cell.strip()) for cell in cells]))
    return rows[1:]


# ---- quoted messages -------------------------------------------------------

class Quote:
    """A message of the DIAGNOSTICS, marked with its key in the line above it."""

    def __init__(self, key, line):
        self.key, self.place = key, line.place
        head = line.text.removeprefix(".It ").removeprefix('"').removesuffix('"')
        self.text = plain(re.sub(r"\\fI.*?\\fP", "\0", head))


def quotes(page):
    found = []
    key = None
    if not any(line.text == ".Sh DIAGNOSTICS" for line in page.lines):
        return found
    for line in page.part("DIAGNOSTICS"):
        if line.text.startswith('.\\" '):
            key = line.text[4:]
        elif line.macro == "It":
            assert key is not None, f"{line.place}: no line above names the message's key"
            found.append(Quote(key, line))
            key = None
    return found


# ---- examples --------------------------------------------------------------

class Example:
    """A literal block of the EXAMPLES and the mark above it, which says where it is run."""

    def __init__(self, mark, line):
        self.mark, self.line, self.lines = mark, line, []

    def __repr__(self):
        return f"{self.line.page}:{self.line.number}"

    @property
    def text(self):
        return "".join(line + "\n" for line in self.lines)

    @property
    def steps(self):
        """(command, output) of every line that begins with "$ ", and what is shown below it. A
        command goes on where a line ends with a backslash, and in lines that begin with "> "."""
        steps = []
        going_on = False
        for line in self.lines:
            if line.startswith("$ "):
                steps.append([line[2:], ""])
            elif going_on or line.startswith("> "):
                steps[-1][0] += "\n" + line.removeprefix("> ")
            else:
                assert steps, f"{self!r}: the first line is no command"
                steps[-1][1] += line + "\n"
                continue
            going_on = line.endswith("\\")
        return [tuple(step) for step in steps]


def examples(page):
    found = []
    mark, current = None, None
    if not any(line.text == ".Sh EXAMPLES" for line in page.lines):
        return found
    for line in page.part("EXAMPLES"):
        if line.text.startswith('.\\" '):
            mark = line.text[4:]
        elif line.macro == "Bd":
            assert mark is not None, f"{line.place}: no line above says where the example is run"
            current = Example(mark, line)
        elif line.macro == "Ed":
            found.append(current)
            mark = current = None
        elif current is not None:
            current.lines.append(plain(line.text))
    return found
